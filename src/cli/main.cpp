// quvolink-cli: Quvolink's command-line program. `quvolink-cli COMMAND [ARGUMENTS]`; the
// commands are listed in Commands.cpp.

#include "cli/CliCommand.h"
#include "cli/MeterSession.h"
#include "resources/Version.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QCoreApplication>

#include <memory>

using namespace quvo::cli;

namespace {

struct MainOptions {
    QCommandLineOption help{{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help.")};
    QCommandLineOption version{{QStringLiteral("v"), QStringLiteral("version")}, QStringLiteral("Show the version.")};
};

void setUpParser(QCommandLineParser& parser, const MainOptions& options)
{
    parser.setApplicationDescription(QStringLiteral("Quvolink on the command line: the multimeter and its data files."));
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    parser.addOption(options.help);
    parser.addOption(options.version);
    addGlobalOptions(parser);
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("The command to run (see below)."),
                                 QStringLiteral("COMMAND [ARGUMENTS]"));
}

// True when the command line names a command that draws charts. It is read before the
// application object exists, because that command needs a graphical one.
bool drawsCharts(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    QCommandLineParser parser;
    const MainOptions options;
    setUpParser(parser, options);
    if (!parser.parse(arguments) || parser.positionalArguments().isEmpty())
        return false;
    const QString name = parser.positionalArguments().constFirst();
    for (const CliCommand& c : cliCommands()) {
        if (c.name == name)
            return c.drawsCharts;
    }
    return false;
}

QString generalHelp(const QCommandLineParser& parser)
{
    // The usage line names the program as it is installed, not by the path it was started with.
    QString text = parser.helpText();
    const qsizetype endOfFirstLine = text.indexOf(QLatin1Char('\n'));
    text.replace(0, endOfFirstLine, QStringLiteral("Usage: quvolink-cli [options] COMMAND [ARGUMENTS]"));
    text += QStringLiteral("\nCommands:\n");
    for (const CliCommand& c : cliCommands())
        text += QStringLiteral("  %1\n      %2\n").arg(c.synopsis, c.summary);
    text += QStringLiteral("\n'quvolink-cli COMMAND --help' explains a command.\n"
                           "\nExample:\n  quvolink-cli stats recording.CSV\n"
                           "  quvolink-cli --port /dev/ttyUSB0 record --interval 5 --out bench.csv\n"
                           "  quvolink-cli --simulate download logging --out memory.csv\n"
                           "  quvolink-cli plot recording.CSV --out recording.png\n");
    return text;
}

} // namespace

int main(int argc, char** argv)
{
    // A command that draws charts uses the desktop program's chart widget, drawn in memory on
    // the offscreen platform: no display is needed, and the others never load a platform.
    std::unique_ptr<QCoreApplication> app;
    if (drawsCharts(argc, argv)) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        app = std::make_unique<QApplication>(argc, argv);
    } else {
        app = std::make_unique<QCoreApplication>(argc, argv);
    }
    QCoreApplication::setApplicationName(QStringLiteral("quvolink-cli"));
    QCoreApplication::setApplicationVersion(QString::fromLatin1(quvo::VersionString));

    QCommandLineParser parser;
    const MainOptions options;
    setUpParser(parser, options);
    const QCommandLineOption& help = options.help;
    const QCommandLineOption& version = options.version;

    if (!parser.parse(QCoreApplication::arguments())) {
        printError(parser.errorText() + QStringLiteral("\n\n") + generalHelp(parser));
        return ExitUsage;
    }
    if (parser.isSet(version)) {
        printOut(QStringLiteral("quvolink-cli %1\n").arg(QCoreApplication::applicationVersion()));
        return ExitOk;
    }
    QString optionError;
    if (!takeGlobalOptions(parser, &optionError)) {
        printError(optionError + QStringLiteral("\n\n") + generalHelp(parser));
        return ExitUsage;
    }
    QStringList arguments = parser.positionalArguments();
    if (parser.isSet(help)) {
        printOut(generalHelp(parser));
        return ExitOk;
    }
    if (arguments.isEmpty()) {
        printError(QStringLiteral("No command given.\n\n") + generalHelp(parser));
        return ExitUsage;
    }
    const QString name = arguments.takeFirst();
    for (const CliCommand& c : cliCommands()) {
        if (c.name == name)
            return c.run(arguments);
    }
    printError(QStringLiteral("Unknown command \"%1\".\n\n").arg(name) + generalHelp(parser));
    return ExitUsage;
}
