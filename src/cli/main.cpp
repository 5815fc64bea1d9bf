// quvolink-cli: Quvolink's command-line program. `quvolink-cli COMMAND [ARGUMENTS]`; the
// commands are listed in Commands.cpp.

#include "cli/CliCommand.h"
#include "cli/MeterSession.h"
#include "resources/Version.h"

#include <QCommandLineParser>
#include <QCoreApplication>

using namespace quvo::cli;

namespace {

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
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quvolink-cli"));
    QCoreApplication::setApplicationVersion(QString::fromLatin1(quvo::VersionString));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Quvolink on the command line: the multimeter and its data files."));
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help."));
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Show the version."));
    parser.addOption(help);
    parser.addOption(version);
    addGlobalOptions(parser);
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("The command to run (see below)."),
                                 QStringLiteral("COMMAND [ARGUMENTS]"));

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
