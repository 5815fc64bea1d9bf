#include "app/StartOptions.h"

#include "resources/Version.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdio>

namespace quvo {

std::optional<StartOptions> parseStartOptions(const QStringList& arguments, int* exitCode)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Quvolink logs a handheld digital multimeter over its serial line.\n"
                       "Example: quvolink --simulate   (try it with the built-in simulated meter)"));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help."));
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Show the version."));
    const QCommandLineOption port(QStringLiteral("port"),
                                  QStringLiteral("Serial port for this run: a number 1..16 or a device name "
                                                 "such as /dev/ttyUSB0."),
                                  QStringLiteral("PORT"));
    const QCommandLineOption simulate(QStringLiteral("simulate"),
                                      QStringLiteral("Talk to the built-in simulated meter instead of a real one."));
    const QCommandLineOption home(QStringLiteral("home"),
                                  QStringLiteral("Program folder holding QUVO.INI and the work file."),
                                  QStringLiteral("DIR"));
    QCommandLineOption screenshots(QStringLiteral("screenshots"),
                                   QStringLiteral("Show a sample document, the Monitor and every dialog, save a "
                                                  "picture of each into DIR, then end."),
                                   QStringLiteral("DIR"));
    screenshots.setFlags(QCommandLineOption::HiddenFromHelp);
    QCommandLineOption dark(QStringLiteral("dark"),
                            QStringLiteral("Show the windows in the colours of a dark desktop theme."));
    dark.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOptions({help, version, port, simulate, home, screenshots});
    parser.addOption(dark);
    parser.addPositionalArgument(QStringLiteral("files"), QStringLiteral("Data files to open."),
                                 QStringLiteral("[FILE.csv...]"));

    if (!parser.parse(arguments)) {
        std::fprintf(stderr, "%s\nTry 'quvolink --help'.\n", qPrintable(parser.errorText()));
        *exitCode = 2;
        return std::nullopt;
    }
    if (parser.isSet(help)) {
        // Parsed before the application object exists, the parser does not know the
        // program's name and would print a placeholder.
        QString text = parser.helpText();
        text.replace(QStringLiteral("<executable_name>"), QStringLiteral("quvolink"));
        std::fputs(qPrintable(text), stdout);
        *exitCode = 0;
        return std::nullopt;
    }
    if (parser.isSet(version)) {
        std::printf("quvolink %s\n", VersionString);
        *exitCode = 0;
        return std::nullopt;
    }
    if (parser.isSet(port) && parser.isSet(simulate)) {
        std::fputs("--port and --simulate cannot be used together.\nTry 'quvolink --help'.\n", stderr);
        *exitCode = 2;
        return std::nullopt;
    }
    StartOptions options;
    options.port = parser.value(port);
    options.simulate = parser.isSet(simulate);
    options.home = parser.value(home);
    options.files = parser.positionalArguments();
    options.screenshots = parser.value(screenshots);
    options.dark = parser.isSet(dark);
    return options;
}

bool hasDisplay()
{
#if defined(Q_OS_LINUX) || defined(Q_OS_FREEBSD)
    return !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") || !qEnvironmentVariableIsEmpty("DISPLAY")
           || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
#else
    return true;
#endif
}

} // namespace quvo
