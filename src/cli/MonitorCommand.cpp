// quvolink-cli monitor [--count N]: monitor mode. The meter is asked for its reading every
// second and the Monitor's text is printed once a second, N lines or until Ctrl+C, which
// stops monitor mode as the Stop button does (at the next second, with "PL,0"). With limits
// each line also carries the reading's judgement, and the exit code says whether a reading
// was out of limits.

#include "acquisition/CommandHost.h"
#include "acquisition/HeadlessHost.h"
#include "acquisition/Realtime.h"
#include "acquisition/ReadingObserver.h"
#include "cli/CliCommand.h"
#include "cli/LimitOptions.h"
#include "cli/MeterSession.h"
#include "cli/MqttOptions.h"
#include "cli/ReadingFormat.h"
#include "cli/SignalWatcher.h"
#include "link/Comm.h"
#include "link/ReadingDecoder.h"
#include "resources/Constant.h"
#include "resources/EventWait.h"
#include "resources/ProgramState.h"

#include <QCommandLineParser>
#include <QTimer>

namespace quvo::cli {

namespace {

QString monitorHelp()
{
    return QStringLiteral("Usage: quvolink-cli [options] monitor [--count N] [--upper X] [--lower X] [--unit WORD]\n"
                          "                    [--format tsv|csv|jsonl] [--mqtt URL [--topic PREFIX]]\n"
                          "\n"
                          "Monitor mode: the meter is asked for its reading once a second and the text the\n"
                          "Monitor window would show is printed, one line a second (\"ERROR\" when no good\n"
                          "answer came). Runs until N lines are printed or until Ctrl+C, which stops at the\n"
                          "next second and switches the meter back from remote mode (\"PL,0\").\n"
                          "\n"
                          "Options:\n"
                          "  --count N     stop after N lines (N from 1 to 2147483647)\n"
                          "\n")
        + LimitOptions::helpLines() + QStringLiteral("\n") + ReadingFormat::helpLines() + QStringLiteral("\n")
        + MqttOptions::helpLines() + QStringLiteral("\n")
        + QString::fromLatin1(GlobalOptionsHelp)
        + QStringLiteral("\n"
                         "Exit codes: 0 done, 1 the port could not be opened or was lost, or the broker\n"
                         "could not be used at the start (message on stderr), 2 wrong arguments,\n"
                         "3 done, and a reading printed was out of the limits (HI or LO).\n"
                         "\n"
                         "Example:\n"
                         "  quvolink-cli monitor --count 3\n"
                         "  1.234VDC\n"
                         "  1.236VDC\n"
                         "  1.235VDC\n"
                         "  quvolink-cli monitor --count 2 --upper 1.235 --lower 1.2 --unit VDC\n"
                         "  1.234VDC\tPASS\n"
                         "  1.236VDC\tHI\n");
}

// The Monitor on stdout: what the window shows at the end of each second, one line each,
// printed by `print` (given the answer line, or "ERROR").
class PrintingMonitor : public MonitorSink {
public:
    PrintingMonitor(qint64 limit, std::function<void(const QString& answer)> print)
        : m_limit(limit), m_print(std::move(print))
    {
    }

    void SetData(const QString& answer) override
    {
        m_answer = answer;
        if (m_pending || done())
            return;
        // A late second shows two texts in a row; the line is written once the tick is over.
        m_pending = true;
        QTimer::singleShot(0, &m_context, [this] {
            m_pending = false;
            if (done())
                return;
            m_print(m_answer);
            ++m_printed;
            if (done() && m_onDone)
                m_onDone();
        });
    }

    bool done() const { return m_limit > 0 && m_printed >= m_limit; }
    void onDone(std::function<void()> f) { m_onDone = std::move(f); }

private:
    qint64 m_limit;
    std::function<void(const QString&)> m_print;
    qint64 m_printed = 0;
    bool m_pending = false;
    QString m_answer;
    std::function<void()> m_onDone;
    QObject m_context; // pending lines are dropped with the monitor
};

} // namespace

int runMonitor(const QStringList& arguments)
{
    const QString help = monitorHelp();
    QCommandLineParser parser;
    const QCommandLineOption countOption(QStringLiteral("count"), QStringLiteral("Lines to print."), QStringLiteral("N"));
    parser.addOption(countOption);
    LimitOptions limits;
    limits.addTo(parser);
    ReadingFormat format;
    format.addTo(parser);
    MqttOptions mqtt;
    mqtt.addTo(parser);
    if (const auto exitCode = parseCommand(parser, QStringLiteral("monitor"), arguments, help))
        return *exitCode;
    if (!parser.positionalArguments().isEmpty())
        return usageError(QStringLiteral("monitor takes no arguments besides its options."), help);
    qint64 count = 0;
    if (parser.isSet(countOption)) {
        bool ok = false;
        count = parser.value(countOption).toLongLong(&ok);
        if (!ok || count < 1 || count > 2147483647)
            return usageError(QStringLiteral("--count: \"%1\" is not a number of lines from 1 to 2147483647.")
                                  .arg(parser.value(countOption)),
                              help);
    }
    QString error;
    if (!limits.read(parser, error) || !format.read(parser, error) || !mqtt.read(parser, error))
        return usageError(error, help);
    mqtt.setLimits(limits.limits());

    MeterSession session;
    if (!session.start(&error) || !mqtt.start(session.host(), error)) {
        printMessage(error);
        return ExitFailed;
    }
    const QString heading = format.heading(limits.wanted());
    if (!heading.isEmpty())
        printOut(heading + QLatin1Char('\n'));
    ReadingJudge judge(limits.limits());
    PrintingMonitor monitor(count, [&](const QString& answer) {
        const TakenReading reading = readingOfAnswer(answer, wholeSecond(QDateTime::currentDateTime()));
        const Judgement judgement = judge.judge(reading.value, reading.unit);
        limits.count(judgement);
        printOut(format.line(reading, {reading.text}, limits.wanted(), judgement) + QLatin1Char('\n'));
    });
    session.host().setMonitor(&monitor);
    Realtime realtime(session.comm(), session.host());
    monitor.onDone([&realtime] { realtime.mnuMoniterStop(); });
    SignalWatcher watcher;
    QObject::connect(&watcher, &SignalWatcher::interrupted, &realtime, [&realtime] { realtime.mnuMoniterStop(); });

    realtime.mnuMoniterStart();
    waitUntil([] { return programState().CommState == CommStates::Idle; });

    switch (realtime.lastEnd()) {
    case RealtimeEnd::None:        // the port did not open (message on stderr)
    case RealtimeEnd::PortLost:    // message on stderr
    case RealtimeEnd::Failed:
        return ExitFailed;
    case RealtimeEnd::StartFailed:
        if (watcher.count() > 0)
            return ExitOk; // Ctrl+C while the meter was being switched to remote mode
        printMessage(QStringLiteral("Monitor mode could not be started."));
        return ExitFailed;
    default:
        return limits.exitCode(ExitOk);
    }
}

} // namespace quvo::cli
