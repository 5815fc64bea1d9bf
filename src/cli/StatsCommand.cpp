// quvolink-cli stats FILE: opens a data file as a document window does and prints its
// MAX, MIN and AVG texts and its reading count.

#include "cli/CliCommand.h"
#include "cli/DataFileDocument.h"
#include "document/DataDocument.h"

#include <QCommandLineParser>

namespace quvo::cli {

namespace {

const char* const StatsHelp =
    "Usage: quvolink-cli stats FILE\n"
    "\n"
    "Opens the data file FILE (a .CSV file saved by Quvolink) the way a document window\n"
    "does and prints four lines: the MAX and MIN texts (row number, time, value and mode of\n"
    "the largest and smallest reading since the last change of unit), the AVG text and the\n"
    "number of readings. A line's text is empty when there is nothing to show.\n"
    "\n"
    "The file is read through the work file WORK.~~~ in the program folder ($QUVOLINK_HOME,\n"
    "else the per-user data folder of Quvolink).\n"
    "\n"
    "Exit codes: 0 done, 1 the file cannot be read or is refused (message on stderr),\n"
    "2 wrong arguments.\n"
    "\n"
    "Example:\n"
    "  quvolink-cli stats recording.CSV\n"
    "  MAX No.[ 3 ]   TIME[ 12:00:10 ]   DATA[ 2.25 ]   MODE[ VDC ]\n"
    "  MIN No.[ 4 ]   TIME[ 12:00:15 ]   DATA[ 0.75 ]   MODE[ VDC ]\n"
    "  AVG 1.500000\n"
    "  COUNT 4\n";

} // namespace

int runStats(const QStringList& arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help."));
    parser.addOption(help);
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The data file."));
    if (!parser.parse(QStringList{QStringLiteral("stats")} + arguments)) {
        printError(parser.errorText() + QStringLiteral("\n\n") + QString::fromLatin1(StatsHelp));
        return ExitUsage;
    }
    if (parser.isSet(help)) {
        printOut(QString::fromLatin1(StatsHelp));
        return ExitOk;
    }
    const QStringList files = parser.positionalArguments();
    if (files.size() != 1) {
        printError((files.isEmpty() ? QStringLiteral("No data file given.") : QStringLiteral("Only one data file, please."))
                   + QStringLiteral("\n\n") + QString::fromLatin1(StatsHelp));
        return ExitUsage;
    }

    ErrorStreamPrompter prompter;
    DataDocument document;
    if (!openDataFile(document, prompter, files.first()))
        return ExitFailed;

    printOut(QStringLiteral("MAX ") + document.GetDispmax(true) + QLatin1Char('\n'));
    printOut(QStringLiteral("MIN ") + document.GetDispmin(true) + QLatin1Char('\n'));
    printOut(QStringLiteral("AVG ") + document.GetDispavg() + QLatin1Char('\n'));
    printOut(QStringLiteral("COUNT ") + QString::number(document.GetDatacount()) + QLatin1Char('\n'));
    return ExitOk;
}

} // namespace quvo::cli
