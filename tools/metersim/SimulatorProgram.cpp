#include "SimulatorProgram.h"

#include "resources/TextNumber.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QEventLoop>
#include <QSocketNotifier>
#include <QTimer>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <sys/socket.h>
#include <unistd.h>

namespace quvo::sim {

namespace {

constexpr int ExitNoTerminal = 1;

const char* const Examples = R"(
Examples:
  @PROGRAM@
      A model "1" meter: prints its device path (e.g. /dev/pts/5) and answers there.
      Talk to it by hand:  socat - /dev/pts/5,raw,echo=0,crlf   then type RM and Enter.
  @PROGRAM@ --model 4 --logging-count 250 --logging-interval 2
      A model "4" meter with 250 LOGGING records taken every 2 seconds.
  @PROGRAM@ --function cycle --overload-every 10 --verbose
      Live readings that walk through every function; every 10th is an overload;
      every command and answer is shown on standard error.
  @PROGRAM@ --memory my-memory.txt --link /tmp/meter
      Memories from a file (format: man quvolink-metersim); the port is also /tmp/meter.
  @PROGRAM@ --garble 0.01 --drop 0.01 --bad-check 0.05 --pace --seed 7
      A noisy line at real speed, the same noise on every run with seed 7.
  @PROGRAM@ --disconnect-after 20 --replug-after 3000 --link /tmp/meter
      Pulls the cable after 20 commands and puts it back 3 seconds later.
)";

// Ends the event loop on SIGINT and SIGTERM: the handler only writes a byte to a socket
// pair, which a notifier in the loop reads (the one thing a signal handler may safely do).
int signalFds[2] = {-1, -1};

void onSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t n = ::write(signalFds[1], &byte, 1);
}

void printLine(std::FILE* stream, const QString& text)
{
    std::fputs(text.toLocal8Bit().constData(), stream);
    std::fputc('\n', stream);
    std::fflush(stream);
}

// A received or sent text with its control characters made visible.
QString visible(const QByteArray& bytes)
{
    QString out;
    for (const char c : bytes) {
        if (c == '\r')
            out += QStringLiteral("\\r");
        else if (c == '\n')
            out += QStringLiteral("\\n");
        else if (c < 0x20 || c > 0x7e)
            out += QStringLiteral("\\x%1").arg(static_cast<unsigned char>(c), 2, 16, QLatin1Char('0'));
        else
            out += QLatin1Char(c);
    }
    return out;
}

struct OptionError {
    QString text;
};

int intValue(const QCommandLineParser& p, const QString& name, int low, int high)
{
    bool ok = false;
    const QString text = p.value(name);
    const int value = text.toInt(&ok);
    if (!ok || value < low || value > high)
        throw OptionError{QStringLiteral("--%1: \"%2\" is not a whole number from %3 to %4.").arg(name, text).arg(low).arg(high)};
    return value;
}

double rateValue(const QCommandLineParser& p, const QString& name)
{
    double value = 0;
    const QString text = p.value(name);
    if (!parseNumber(text, value) || !(value >= 0 && value <= 1))
        throw OptionError{QStringLiteral("--%1: \"%2\" is not a rate from 0 to 1 (e.g. 0.05).").arg(name, text)};
    return value;
}

QStringList commandList(const QCommandLineParser& p, const QString& name)
{
    QStringList list = p.value(name).split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (QString& s : list)
        s = s.trimmed();
    list.removeAll(QString());
    if (list.isEmpty())
        throw OptionError{QStringLiteral("--%1: give one or more commands separated by commas, e.g. RN,RI.").arg(name)};
    return list;
}

ProgramSettings settingsFrom(const QCommandLineParser& p)
{
    ProgramSettings s;
    SimulatorOptions& o = s.options;
    if (p.isSet(QStringLiteral("memory"))) {
        QString error;
        const std::optional<SimulatorOptions> loaded = loadMemoryFile(p.value(QStringLiteral("memory")), o, &error);
        if (!loaded)
            throw OptionError{QStringLiteral("--memory: %1").arg(error)};
        o = *loaded;
    }
    // Options given on the command line win over the memory file's model and interval.
    if (p.isSet(QStringLiteral("model"))) {
        const QString model = p.value(QStringLiteral("model"));
        if (model.size() != 1)
            throw OptionError{QStringLiteral("--model: \"%1\" is not one character (0 to 5 are real models).").arg(model)};
        o.model = model.front();
    }
    o.echo = !p.isSet(QStringLiteral("no-echo"));
    if (p.isSet(QStringLiteral("logging-count"))) {
        if (!o.logging.isEmpty())
            throw OptionError{QStringLiteral("--logging-count: the memory file already gives the LOGGING records.")};
        o.loggingCount = intValue(p, QStringLiteral("logging-count"), 0, 99999);
    }
    if (p.isSet(QStringLiteral("logging-interval")))
        o.loggingIntervalSeconds = intValue(p, QStringLiteral("logging-interval"), 0, 9999);
    if (p.isSet(QStringLiteral("function"))) {
        const QString function = p.value(QStringLiteral("function"));
        if (!isLiveFunction(function))
            throw OptionError{QStringLiteral("--function: \"%1\" is not one of %2.")
                                  .arg(function, liveFunctionNames().join(QLatin1Char(' ')))};
        o.function = function;
    }
    if (p.isSet(QStringLiteral("overload-every")))
        o.overloadEvery = intValue(p, QStringLiteral("overload-every"), 0, 1000000);
    o.silent = p.isSet(QStringLiteral("silent"));
    if (p.isSet(QStringLiteral("silent-for")))
        o.silentCommands = commandList(p, QStringLiteral("silent-for"));
    if (p.isSet(QStringLiteral("delay")))
        o.answerDelayMs = intValue(p, QStringLiteral("delay"), 0, 600000);
    if (p.isSet(QStringLiteral("garble")))
        o.garbleRate = rateValue(p, QStringLiteral("garble"));
    if (p.isSet(QStringLiteral("drop")))
        o.dropRate = rateValue(p, QStringLiteral("drop"));
    o.garbleLineEnds = p.isSet(QStringLiteral("garble-line-ends"));
    if (p.isSet(QStringLiteral("bad-check")))
        o.badCheckRate = rateValue(p, QStringLiteral("bad-check"));
    if (p.isSet(QStringLiteral("cmd-err")))
        o.errorCommands = commandList(p, QStringLiteral("cmd-err"));
    if (p.isSet(QStringLiteral("disconnect-after")))
        o.disconnectAfter = intValue(p, QStringLiteral("disconnect-after"), 0, 1000000000);
    if (p.isSet(QStringLiteral("replug-after")))
        s.replugAfterMs = intValue(p, QStringLiteral("replug-after"), 0, 3600000);
    o.pacing = p.isSet(QStringLiteral("pace"));
    if (p.isSet(QStringLiteral("seed"))) {
        bool ok = false;
        const QString text = p.value(QStringLiteral("seed"));
        const uint seed = text.toUInt(&ok);
        if (!ok)
            throw OptionError{QStringLiteral("--seed: \"%1\" is not a whole number from 0 to 4294967295.").arg(text)};
        o.seed = seed;
    }
    if (p.isSet(QStringLiteral("link"))) {
        o.linkPath = p.value(QStringLiteral("link"));
        if (o.linkPath.isEmpty())
            throw OptionError{QStringLiteral("--link: give a path, e.g. /tmp/meter.")};
    }
    s.verbose = p.isSet(QStringLiteral("verbose"));
    return s;
}

void addOptionsTo(QCommandLineParser& p)
{
    const auto add = [&](const QString& name, const QString& help, const QString& valueName = {}) {
        p.addOption(QCommandLineOption(name, help, valueName));
    };
    add(QStringLiteral("model"), QStringLiteral("Model code answered to RM (default 1). 0..5 are real models; any "
                                                "other character tests the program, e.g. --model 7."),
        QStringLiteral("C"));
    add(QStringLiteral("no-echo"), QStringLiteral("Do not echo command lines before the answer."));
    add(QStringLiteral("logging-count"), QStringLiteral("Records in the generated LOGGING memory (default 10), "
                                                        "e.g. --logging-count 250."),
        QStringLiteral("N"));
    add(QStringLiteral("logging-interval"), QStringLiteral("LOGGING interval in seconds answered to RI (default 5)."),
        QStringLiteral("S"));
    add(QStringLiteral("memory"), QStringLiteral("Read the LOGGING and SAVE memories (and optionally model and "
                                                 "interval) from a memory file, e.g. --memory mine.txt."),
        QStringLiteral("FILE"));
    add(QStringLiteral("function"), QStringLiteral("Function of the live readings (RR,1): VDC VAC V OHM F ADC AAC A Vd "
                                                   "C Hz lx % AC DC, or cycle to walk through all (default VDC)."),
        QStringLiteral("NAME"));
    add(QStringLiteral("overload-every"), QStringLiteral("Every N-th live reading is an overload, e.g. "
                                                         "--overload-every 5 (default 0: never)."),
        QStringLiteral("N"));
    add(QStringLiteral("silent"), QStringLiteral("Read commands but never answer (not even the echo)."));
    add(QStringLiteral("silent-for"), QStringLiteral("No answer to commands beginning with one of these, e.g. "
                                                     "--silent-for RN,RL."),
        QStringLiteral("CMDS"));
    add(QStringLiteral("delay"), QStringLiteral("Wait this many milliseconds before echo and answer, e.g. --delay 300."),
        QStringLiteral("MS"));
    add(QStringLiteral("garble"), QStringLiteral("Probability per answer character of replacing it by another, "
                                                 "e.g. --garble 0.01."),
        QStringLiteral("RATE"));
    add(QStringLiteral("drop"), QStringLiteral("Probability per answer character of leaving it out, e.g. --drop 0.01."),
        QStringLiteral("RATE"));
    add(QStringLiteral("garble-line-ends"), QStringLiteral("Let --garble and --drop hit the CR LF of answers too "
                                                           "(by default line ends stay intact)."));
    add(QStringLiteral("bad-check"), QStringLiteral("Probability per answer line of a wrong check character, "
                                                    "e.g. --bad-check 0.1."),
        QStringLiteral("RATE"));
    add(QStringLiteral("cmd-err"), QStringLiteral("Answer CMD,ERR to commands beginning with one of these, e.g. "
                                                  "--cmd-err RI,RL,009."),
        QStringLiteral("CMDS"));
    add(QStringLiteral("disconnect-after"), QStringLiteral("Close the terminal after answering N commands (the "
                                                           "program sees the port fail), e.g. --disconnect-after 12."),
        QStringLiteral("N"));
    add(QStringLiteral("replug-after"), QStringLiteral("After the terminal was closed, make a new one MS milliseconds "
                                                       "later and print its path as a new line (use with --link)."),
        QStringLiteral("MS"));
    add(QStringLiteral("pace"), QStringLiteral("Real line speed: 9600 baud 8N2, about 1.146 ms per character in "
                                               "both directions."));
    add(QStringLiteral("seed"), QStringLiteral("Seed of the noise and fault source (default 1): the same seed gives "
                                               "the same run."),
        QStringLiteral("N"));
    add(QStringLiteral("link"), QStringLiteral("Also make PATH a symbolic link to the terminal; it is removed on "
                                               "exit and re-pointed after a replug, e.g. --link /tmp/meter."),
        QStringLiteral("PATH"));
    add(QStringLiteral("verbose"), QStringLiteral("Show every command and answer on standard error."));
}

} // namespace

void addProgramOptions(QCommandLineParser& parser)
{
    addOptionsTo(parser);
}

std::optional<ProgramSettings> programSettings(const QCommandLineParser& parser, QString* error)
{
    try {
        return settingsFrom(parser);
    } catch (const OptionError& e) {
        if (error)
            *error = e.text;
        return std::nullopt;
    }
}

QString programExamples(const QString& invocation)
{
    QString text = QString::fromLatin1(Examples);
    text.replace(QStringLiteral("@PROGRAM@"), invocation);
    return text;
}

int runProgram(const ProgramSettings& settings, const QString& programName)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, signalFds) != 0) {
        printLine(stderr, QStringLiteral("%1: a signal pipe cannot be made: %2")
                              .arg(programName, QString::fromLocal8Bit(std::strerror(errno))));
        return ExitNoTerminal;
    }
    QSocketNotifier signalNotifier(signalFds[0], QSocketNotifier::Read);
    QEventLoop loop;
    QObject::connect(&signalNotifier, &QSocketNotifier::activated, &loop, [&loop] {
        char byte = 0;
        [[maybe_unused]] const ssize_t n = ::read(signalFds[0], &byte, 1);
        loop.quit();
    });
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    struct sigaction previousInt {};
    struct sigaction previousTerm {};
    struct sigaction previousPipe {};
    ::sigaction(SIGINT, &action, &previousInt);
    ::sigaction(SIGTERM, &action, &previousTerm);
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN; // a reader of our output that went away is not our end
    sigemptyset(&ignore.sa_mask);
    ::sigaction(SIGPIPE, &ignore, &previousPipe);
    const auto restore = [&] {
        ::sigaction(SIGINT, &previousInt, nullptr);
        ::sigaction(SIGTERM, &previousTerm, nullptr);
        ::sigaction(SIGPIPE, &previousPipe, nullptr);
        ::close(signalFds[0]);
        ::close(signalFds[1]);
        signalFds[0] = signalFds[1] = -1;
    };

    int exitCode = 0;
    {
        MeterSimulator simulator(settings.options);
        QString error;
        if (!simulator.open(&error)) {
            printLine(stderr, QStringLiteral("%1: %2").arg(programName, error));
            exitCode = ExitNoTerminal;
        } else {
            printLine(stdout, simulator.devicePath());

            if (settings.verbose) {
                QObject::connect(&simulator, &MeterSimulator::commandReceived, &loop,
                                 [](const QString& command) { printLine(stderr, QStringLiteral("<- %1").arg(command)); });
                QObject::connect(&simulator, &MeterSimulator::answered, &loop,
                                 [](const QString&, const QByteArray& output) {
                                     printLine(stderr, output.isEmpty() ? QStringLiteral("-> (no answer)")
                                                                        : QStringLiteral("-> %1").arg(visible(output)));
                                 });
            }
            QObject::connect(&simulator, &MeterSimulator::plugChanged, &loop, [&](bool plugged) {
                if (plugged) {
                    printLine(stdout, simulator.devicePath());
                    if (settings.verbose)
                        printLine(stderr, QStringLiteral("-- terminal plugged: %1").arg(simulator.devicePath()));
                    return;
                }
                printLine(stderr, QStringLiteral("-- terminal closed after %1 commands").arg(simulator.commandCount()));
                if (settings.replugAfterMs >= 0) {
                    QTimer::singleShot(settings.replugAfterMs, &simulator, [&] {
                        QString reason;
                        if (!simulator.replug(&reason))
                            printLine(stderr, QStringLiteral("%1: %2").arg(programName, reason));
                    });
                }
            });
            loop.exec();
        } // the simulator's destructor closes the terminal and removes the link path
    }
    restore();
    return exitCode;
}

} // namespace quvo::sim
