// quvolink-cli forward FILE (--xlsx NEW.xlsx | --into EXISTING.xlsx) [--title TEXT]:
// opens a data file as a document window does and forwards it whole, as File > Forward
// does, into a new workbook or as a new sheet of an existing one. Ctrl+C (SIGINT) and
// SIGTERM are the progress dialog's Cancel: the workbook stays as it was, no new file is
// left, "Canceled." is shown and the exit code is 1.

#include "cli/CliCommand.h"
#include "cli/DataFileDocument.h"
#include "cli/ForwardOptions.h"
#include "acquisition/CancelDialog.h"
#include "cli/LimitOptions.h"
#include "cli/SignalWatcher.h"
#include "document/DataDocument.h"
#include "forward/Forward.h"
#include "forward/XlsxBackend.h"
#include "resources/ProgramState.h"
#include "resources/ProgressView.h"
#include "resources/Prompter.h"
#include "resources/ResID.h"
#include "resources/TextNumber.h"

#include <QCommandLineParser>
#include <QDir>

#include <cstdio>
#include <unistd.h>

namespace quvo::cli {

namespace {

// The progress dialog on a terminal: one line on stderr, redrawn in place. Nothing at
// all when stderr is not a terminal (a log file gets no progress lines).
class TerminalProgress : public ProgressView {
public:
    TerminalProgress() : m_terminal(::isatty(::fileno(stderr)) == 1) {}

    void show() override {}
    void unload() override
    {
        if (m_drawn)
            printError(QStringLiteral("\n"));
        m_drawn = false;
    }
    void SetCaption(const QString&) override {}
    void SetMessage(const QString& text) override { m_message = text; }
    void setCancelEnabled(bool) override {}

    // The dialog's rule: nothing for a zero count; the bar only every step-th row while
    // throttled, the step growing with the total.
    void RenProgress(bool throttle, std::int16_t current, std::int16_t total) override
    {
        if (!m_terminal || current == 0 || total == 0)
            return;
        const int step = total < 100 ? 1 : total < 1000 ? 10 : total < 2000 ? 20 : total < 3000 ? 30 : total < 4000 ? 40 : 50;
        if (throttle && current % step != 0)
            return;
        constexpr int Width = 30;
        const int filled = static_cast<int>(qint64(Width) * current / total);
        const QString bar = QString(filled, QLatin1Char('#')) + QString(Width - filled, QLatin1Char('.'));
        printError(QStringLiteral("\r%1 [%2] %3/%4")
                       .arg(m_message, bar, signedCountText(current), signedCountText(total)));
        m_drawn = true;
    }

private:
    bool m_terminal;
    bool m_drawn = false;
    QString m_message;
};

QString forwardHelp()
{
    return QStringLiteral(
               "Usage: quvolink-cli forward FILE (--xlsx NEW.xlsx | --into EXISTING.xlsx) [--title TEXT] [--force]\n"
               "                    [--upper X] [--lower X] [--unit WORD]\n"
               "\n"
               "Opens the data file FILE (a .CSV file saved by Quvolink) the way a document window\n"
               "does and forwards it whole to a workbook: the title in B2, the table of readings\n"
               "from B4 with its frame, MAX, MIN and AVG in F4:G6 and a line chart at F8. With\n"
               "limits, the limits and the HI and LO counts stand in I4:K7 and the readings judged\n"
               "HI and LO are highlighted.\n"
               "\n")
        + ForwardOptions::helpLines() + QStringLiteral("\n") + LimitOptions::helpLines()
        + QStringLiteral(
               "\n"
               "Prints the path of the workbook written. The workbook is not opened on the desktop.\n"
               "\n"
               "Ctrl+C or SIGTERM cancels: the workbook is left as it was and no new file remains.\n"
               "\n"
               "Exit codes: 0 done, 1 the data file or the workbook is refused or cannot be\n"
               "written, or the forwarding was cancelled (message on stderr), 2 wrong arguments.\n"
               "\n"
               "Examples:\n"
               "  quvolink-cli forward recording.CSV --xlsx recording.xlsx --title \"Bench supply\"\n"
               "  quvolink-cli forward recording.CSV --into measurements.xlsx\n");
}

int usageError(const QString& text)
{
    printError(text + QStringLiteral("\n\n") + forwardHelp());
    return ExitUsage;
}

} // namespace

int runForward(const QStringList& arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help."));
    parser.addOption(help);
    ForwardOptions forwarding;
    forwarding.addTo(parser);
    LimitOptions limits;
    limits.addTo(parser);
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The data file."));
    if (!parser.parse(QStringList{QStringLiteral("forward")} + arguments))
        return usageError(parser.errorText());
    if (parser.isSet(help)) {
        printOut(forwardHelp());
        return ExitOk;
    }
    const QStringList files = parser.positionalArguments();
    if (files.size() != 1)
        return usageError(files.isEmpty() ? QStringLiteral("No data file given.") : QStringLiteral("Only one data file, please."));
    QString error;
    if (!forwarding.read(parser, ForwardOptions::Need::Required, error) || !limits.read(parser, error))
        return usageError(error);

    // From here on Ctrl+C and SIGTERM are Cancel, answered whenever the event loop runs
    // (between rows, and while the workbook is written).
    SignalWatcher watcher;
    CancelDialog cancel;
    ProgramState& state = programState();
    QObject::connect(&watcher, &SignalWatcher::interrupted, [&cancel] { cancel.cancel({}); });

    ErrorStreamPrompter prompter;
    DataDocument document;
    document.setLimits(limits.limits());
    if (!openDataFile(document, prompter, files.first()))
        return ExitFailed; // the document showed why
    if (document.GetDatacount() == 0) {
        printError(QStringLiteral("\"%1\" holds no readings; there is nothing to forward.\n")
                       .arg(QDir::toNativeSeparators(files.first())));
        return ExitFailed;
    }

    XlsxSettings settings;
    if (!forwarding.apply(settings, error)) {
        printError(error + QLatin1Char('\n'));
        return ExitFailed;
    }
    Forward engine;
    settings.reportFailure = engine.handBackFailureReporter();
    settings.waitForWrite = engine.handBackWaiter();
    XlsxConnector connector(settings);
    engine.setConnector(&connector);
    engine.setPrompter(&prompter);
    engine.setProgressFactory([] { return std::make_unique<TerminalProgress>(); });

    if (watcher.count() > 0 || cancel.canceled()) { // interrupted while the data file was read
        printError(ResID(Res::Canceled) + QLatin1Char('\n'));
        return ExitFailed;
    }
    state.CurrentDoc = &document;
    const int messagesBefore = prompter.count();
    engine.ForwardToExcel();
    state.CurrentDoc = nullptr;

    const QStringList written = connector.writtenFiles();
    for (const QString& path : written)
        printOut(QDir::toNativeSeparators(path) + QLatin1Char('\n'));
    if (prompter.count() != messagesBefore)
        return ExitFailed; // the failure was shown
    if (written.isEmpty()) {
        printError(QStringLiteral("No workbook was written.\n"));
        return ExitFailed;
    }
    return ExitOk;
}

} // namespace quvo::cli
