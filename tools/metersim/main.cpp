// quvolink-metersim: the simulated meter as a program of its own. It prints the device
// path of its pseudo-terminal as the first line on standard output and answers the meter's
// commands there until it is interrupted (Ctrl+C) or terminated. The options and the run
// are in SimulatorProgram.h, shared with `quvolink-cli simulate`.

#include "SimulatorProgram.h"

#include "resources/Version.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdio>

namespace {

constexpr int ExitBadOption = 2;

void printLine(std::FILE* stream, const QString& text)
{
    std::fputs(text.toLocal8Bit().constData(), stream);
    std::fputc('\n', stream);
    std::fflush(stream);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quvolink-metersim"));
    QCoreApplication::setApplicationVersion(QString::fromLatin1(quvo::VersionString));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "A simulated multimeter on a pseudo-terminal. Prints the device path as its first line, "
        "then answers the meter's commands there until Ctrl+C or SIGTERM."));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    quvo::sim::addProgramOptions(parser);

    if (!parser.parse(QCoreApplication::arguments())) {
        printLine(stderr, QStringLiteral("quvolink-metersim: %1\nTry --help.").arg(parser.errorText()));
        return ExitBadOption;
    }
    if (parser.isSet(help)) {
        std::fputs(parser.helpText().toLocal8Bit().constData(), stdout);
        std::fputs(quvo::sim::programExamples(QStringLiteral("quvolink-metersim")).toLocal8Bit().constData(), stdout);
        std::fflush(stdout);
        return 0;
    }
    if (parser.isSet(version)) {
        printLine(stdout, QStringLiteral("quvolink-metersim %1").arg(QCoreApplication::applicationVersion()));
        return 0;
    }
    if (!parser.positionalArguments().isEmpty()) {
        printLine(stderr, QStringLiteral("quvolink-metersim: unexpected argument \"%1\".\nTry --help.")
                              .arg(parser.positionalArguments().front()));
        return ExitBadOption;
    }

    QString error;
    const std::optional<quvo::sim::ProgramSettings> settings = quvo::sim::programSettings(parser, &error);
    if (!settings) {
        printLine(stderr, QStringLiteral("quvolink-metersim: %1\nTry --help.").arg(error));
        return ExitBadOption;
    }
    return quvo::sim::runProgram(*settings, QStringLiteral("quvolink-metersim"));
}
