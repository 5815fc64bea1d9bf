// quvolink-cli simulate [options]: the simulated meter in the foreground, with exactly the
// options of quvolink-metersim (both call the simulator library's program functions). The
// first line on stdout is the device path, for `quvolink --port PATH` or `--port PATH` of
// the other commands; Ctrl+C ends it.

#include "cli/CliCommand.h"
#include "cli/MeterSession.h"

#include <QCommandLineParser>

#ifdef QUVO_HAVE_SIMULATOR
#include "metersim/SimulatorProgram.h"
#endif

namespace quvo::cli {

#ifdef QUVO_HAVE_SIMULATOR

namespace {

// The options block of the simulator's own parser help ("Options:" to the end).
QString simulatorOptionLines()
{
    QCommandLineParser parser;
    sim::addProgramOptions(parser);
    const QString text = parser.helpText();
    const qsizetype options = text.indexOf(QStringLiteral("Options:"));
    return options < 0 ? text : text.mid(options);
}

QString simulateHelp()
{
    return QStringLiteral(
               "Usage: quvolink-cli simulate [options]\n"
               "\n"
               "Runs a simulated meter in the foreground, so that Quvolink can be tried without a\n"
               "meter. The simulator makes a pseudo-terminal and prints its device path as the first\n"
               "line, for example /dev/pts/5; it then answers the meter's commands there until Ctrl+C\n"
               "(or SIGTERM). In another terminal, point the program at that path:\n"
               "  quvolink --port /dev/pts/5\n"
               "  quvolink-cli --port /dev/pts/5 monitor --count 5\n"
               "The options are those of quvolink-metersim (see 'man quvolink-metersim'); by default\n"
               "the meter is model 1 with live readings in VDC, 10 LOGGING records and a SAVE memory.\n"
               "\n")
        + simulatorOptionLines()
        + QStringLiteral("\n"
                         "Exit codes: 0 ended by Ctrl+C or SIGTERM, 1 no pseudo-terminal could be made\n"
                         "(message on stderr), 2 wrong arguments.\n")
        + sim::programExamples(QStringLiteral("quvolink-cli simulate")).replace(QStringLiteral("Examples:"),
                                                                                 QStringLiteral("Example:"));
}

} // namespace

int runSimulate(const QStringList& arguments)
{
    const QString help = simulateHelp();
    QCommandLineParser parser;
    sim::addProgramOptions(parser);
    if (const auto exitCode = parseCommand(parser, QStringLiteral("simulate"), arguments, help))
        return *exitCode;
    if (!parser.positionalArguments().isEmpty())
        return usageError(QStringLiteral("simulate takes no arguments besides its options: \"%1\".")
                              .arg(parser.positionalArguments().constFirst()),
                          help);
    const GlobalOptions& global = globalOptions();
    if (global.simulate || !global.port.isEmpty())
        return usageError(QStringLiteral("simulate is the meter itself: --port and --simulate belong to the commands "
                                         "that talk to a meter."),
                          help);
    QString error;
    const std::optional<sim::ProgramSettings> settings = sim::programSettings(parser, &error);
    if (!settings)
        return usageError(error, help);
    return sim::runProgram(*settings, QStringLiteral("quvolink-cli simulate"));
}

#else

int runSimulate(const QStringList&)
{
    printError(QStringLiteral("The simulated meter needs pseudo-terminals, which this system does not have.\n"));
    return ExitFailed;
}

#endif

} // namespace quvo::cli
