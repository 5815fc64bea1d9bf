// quvolink-cli download logging|save --out FILE.csv: reads the meter's LOGGING or SAVE
// memory into a new document, as the Data menu does, and saves it as a data file the way
// the program's File › Save does. On failure the rows read so far are saved all the same.
// With --xlsx or --into a successful download is also forwarded whole to a workbook.

#include "acquisition/Download.h"
#include "acquisition/HeadlessHost.h"
#include "cli/CliCommand.h"
#include "cli/ForwardOptions.h"
#include "cli/MeterSession.h"
#include "cli/MqttOptions.h"
#include "cli/StderrProgress.h"
#include "document/DataDocument.h"
#include "forward/Forward.h"
#include "forward/XlsxBackend.h"
#include "link/Comm.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"

#include <QCommandLineParser>
#include <QDir>

#include <memory>

namespace quvo::cli {

namespace {

QString downloadHelp()
{
    return QStringLiteral("Usage: quvolink-cli [options] download logging|save --out FILE.csv\n"
                          "                    [--xlsx NEW.xlsx | --into EXISTING.xlsx] [--title TEXT]\n"
                          "                    [--mqtt URL [--topic PREFIX]]\n"
                          "\n"
                          "Reads one of the meter's memories into a new document and saves it as the data\n"
                          "file FILE.csv (an existing file is replaced):\n"
                          "  logging   the LOGGING memory: records taken at the meter's logging interval\n"
                          "  save      the SAVE memory: the slots saved by hand (an empty slot is an empty row)\n"
                          "Every command waits 5 seconds for its answer and is sent up to five times. When\n"
                          "the download fails, the message goes to stderr and the rows read so far are saved.\n"
                          "A progress bar is drawn on stderr when it is a terminal.\n"
                          "\n"
                          "Options:\n"
                          "  --out FILE    the data file to write\n"
                          "\n"
                          "Forwarding: after a successful download the document also goes whole to a new\n"
                          "sheet of a workbook, with its table, MAX, MIN, AVG and chart, and the workbook's\n"
                          "path is printed (an empty LOGGING memory is not forwarded).\n")
        + ForwardOptions::helpLines()
        + QStringLiteral("\n")
        + MqttOptions::helpLines()
        + QStringLiteral("\n")
        + QString::fromLatin1(GlobalOptionsHelp)
        + QStringLiteral("\n"
                         "Exit codes: 0 every record read and saved (and forwarded), 1 the download, the save\n"
                         "or the workbook failed, or the broker could not be used at the start (message on\n"
                         "stderr), 2 wrong arguments.\n"
                         "\n"
                         "Example:\n"
                         "  quvolink-cli download logging --out memory.csv\n"
                         "  quvolink-cli download save --out slots.csv --into measurements.xlsx --title \"Slots\"\n");
}

} // namespace

int runDownload(const QStringList& arguments)
{
    const QString help = downloadHelp();
    QCommandLineParser parser;
    const QCommandLineOption outOption(QStringLiteral("out"), QStringLiteral("The data file."), QStringLiteral("FILE"));
    parser.addOption(outOption);
    ForwardOptions forwarding;
    forwarding.addTo(parser);
    MqttOptions mqtt;
    mqtt.addTo(parser);
    parser.addPositionalArgument(QStringLiteral("memory"), QStringLiteral("logging or save"));
    if (const auto exitCode = parseCommand(parser, QStringLiteral("download"), arguments, help))
        return *exitCode;
    const QStringList positional = parser.positionalArguments();
    if (positional.size() != 1)
        return usageError(positional.isEmpty() ? QStringLiteral("Which memory: logging or save?")
                                               : QStringLiteral("Only one memory, please: logging or save."),
                          help);
    const QString memory = positional.first().toLower();
    if (memory != QLatin1String("logging") && memory != QLatin1String("save"))
        return usageError(QStringLiteral("\"%1\" is not a memory: logging or save.").arg(positional.first()), help);
    if (!parser.isSet(outOption) || parser.value(outOption).isEmpty())
        return usageError(QStringLiteral("--out is needed: the data file to write, such as --out memory.csv."), help);
    QString error;
    if (!forwarding.read(parser, ForwardOptions::Need::Optional, error) || !mqtt.read(parser, error))
        return usageError(error, help);

    MeterSession session;
    if (!session.start(&error) || !mqtt.start(session.host(), error)) {
        printMessage(error);
        return ExitFailed;
    }
    HeadlessHost& host = session.host();
    const bool drawProgress = StderrProgress::stderrIsTerminal();
    const auto progress = [drawProgress] { return std::make_unique<StderrProgress>(drawProgress); };
    host.setProgressFactory(progress);

    // Forwarding: the question "forward?" is answered Yes, the Forward dialog counts as
    // confirmed, and the downloaded document goes to the engine whole.
    Forward engine;
    std::unique_ptr<XlsxConnector> connector;
    bool forwarded = false;
    if (forwarding.wanted()) {
        XlsxSettings settings;
        if (!forwarding.apply(settings, error)) {
            printMessage(error);
            return ExitFailed;
        }
        settings.reportFailure = engine.handBackFailureReporter();
        connector = std::make_unique<XlsxConnector>(settings);
        engine.setConnector(connector.get());
        engine.setPrompter(&host.prompter());
        engine.setProgressFactory(progress);
        host.setQuestionAnswer(PromptAnswer::Yes);
        host.setForwardConfirmed(true);
        host.setDocumentForwarder([&engine, &forwarded] {
            forwarded = true;
            engine.ForwardToExcel();
        });
    }

    Download download(session.comm(), host);
    const qsizetype messagesBefore = host.messages().size();
    if (memory == QLatin1String("logging"))
        download.mnuDataLoging();
    else
        download.mnuDataSave();

    if (download.lastOutcome() == DownloadOutcome::NotRun)
        return ExitFailed; // the port did not open (message on stderr)
    DataDocument* document = host.activeDocument();
    const bool saved = document->SaveFile(parser.value(outOption));
    const bool succeeded = download.lastOutcome() == DownloadOutcome::Succeeded;

    bool workbookFailed = false;
    if (connector && succeeded) {
        const QStringList written = connector->writtenFiles();
        for (const QString& path : written)
            printOut(QDir::toNativeSeparators(path) + QLatin1Char('\n'));
        if (!forwarded) {
            printMessage(QStringLiteral("The memory holds no readings: no workbook was written."));
        } else if (written.isEmpty()) {
            workbookFailed = true;
            if (host.messages().size() == messagesBefore)
                printMessage(QStringLiteral("No workbook was written."));
        }
    }
    programState().RealtimeDoc = nullptr;
    programState().CurrentDoc = nullptr;
    return succeeded && saved && !workbookFailed ? ExitOk : ExitFailed;
}

} // namespace quvo::cli
