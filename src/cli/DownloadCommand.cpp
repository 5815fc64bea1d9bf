// quvolink-cli download logging|save --out FILE.csv: reads the meter's LOGGING or SAVE
// memory into a new document, as the Data menu does, and saves it as a data file the way
// the program's File › Save does. On failure the rows read so far are saved all the same.

#include "acquisition/Download.h"
#include "acquisition/HeadlessHost.h"
#include "cli/CliCommand.h"
#include "cli/MeterSession.h"
#include "cli/StderrProgress.h"
#include "document/DataDocument.h"
#include "link/Comm.h"

#include <QCommandLineParser>

namespace quvo::cli {

namespace {

QString downloadHelp()
{
    return QStringLiteral("Usage: quvolink-cli [options] download logging|save --out FILE.csv\n"
                          "\n"
                          "Reads one of the meter's memories into a new document and saves it as the data\n"
                          "file FILE.csv:\n"
                          "  logging   the LOGGING memory: records taken at the meter's logging interval\n"
                          "  save      the SAVE memory: the slots saved by hand (an empty slot is an empty row)\n"
                          "Every command waits 5 seconds for its answer and is sent up to five times. When\n"
                          "the download fails, the message goes to stderr and the rows read so far are saved.\n"
                          "A progress bar is drawn on stderr when it is a terminal.\n"
                          "\n"
                          "Options:\n"
                          "  --out FILE    the data file to write\n"
                          "\n")
        + QString::fromLatin1(GlobalOptionsHelp)
        + QStringLiteral("\n"
                         "Exit codes: 0 every record read and saved, 1 the download or the save failed\n"
                         "(message on stderr), 2 wrong arguments.\n"
                         "\n"
                         "Example:\n"
                         "  quvolink-cli download logging --out memory.csv\n");
}

} // namespace

int runDownload(const QStringList& arguments)
{
    const QString help = downloadHelp();
    QCommandLineParser parser;
    const QCommandLineOption outOption(QStringLiteral("out"), QStringLiteral("The data file."), QStringLiteral("FILE"));
    parser.addOption(outOption);
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
        return usageError(QStringLiteral("--out is needed."), help);

    MeterSession session;
    QString error;
    if (!session.start(&error)) {
        printMessage(error);
        return ExitFailed;
    }
    HeadlessHost& host = session.host();
    const bool drawProgress = StderrProgress::stderrIsTerminal();
    host.setProgressFactory([drawProgress] { return std::make_unique<StderrProgress>(drawProgress); });

    Download download(session.comm(), host);
    // No workbook forwarding here: the question is answered No. Forwarding options plug in
    // through the host: setQuestionAnswer(Yes), setForwardConfirmed(true) and
    // setDocumentForwarder(...), which then forwards the downloaded document.
    if (memory == QLatin1String("logging"))
        download.mnuDataLoging();
    else
        download.mnuDataSave();

    if (download.lastOutcome() == DownloadOutcome::NotRun)
        return ExitFailed; // the port did not open (message on stderr)
    DataDocument* document = host.activeDocument();
    const bool saved = document->SaveFile(parser.value(outOption));
    return download.lastOutcome() == DownloadOutcome::Succeeded && saved ? ExitOk : ExitFailed;
}

} // namespace quvo::cli
