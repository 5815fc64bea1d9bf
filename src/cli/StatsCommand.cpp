// quvolink-cli stats FILE: opens a data file as a document window does and prints its
// MAX, MIN and AVG texts and its reading count; with limits also how many readings were
// judged HI, LO and PASS, and exit code 3 when any was out of limits.

#include "cli/CliCommand.h"
#include "cli/DataFileDocument.h"
#include "cli/LimitOptions.h"
#include "document/DataDocument.h"

#include <QCommandLineParser>

namespace quvo::cli {

namespace {

QString statsHelp()
{
    return QStringLiteral(
               "Usage: quvolink-cli stats FILE [--upper X] [--lower X] [--unit WORD]\n"
               "\n"
               "Opens the data file FILE (a .CSV file saved by Quvolink) the way a document window\n"
               "does and prints four lines: the MAX and MIN texts (row number, time, value and mode of\n"
               "the largest and smallest reading since the last change of unit), the AVG text and the\n"
               "number of readings. A line's text is empty when there is nothing to show. With limits\n"
               "three more lines follow: how many readings were judged HI, LO and PASS.\n"
               "\n"
               "The file is read through the work file WORK.~~~ in the program folder ($QUVOLINK_HOME,\n"
               "else the per-user data folder of Quvolink).\n"
               "\n")
        + LimitOptions::helpLines()
        + QStringLiteral("\n"
                         "Exit codes: 0 done, 1 the file cannot be read or is refused (message on stderr),\n"
                         "2 wrong arguments, 3 done, and a reading was out of the limits (HI or LO).\n"
                         "\n"
                         "Example:\n"
                         "  quvolink-cli stats recording.CSV\n"
                         "  MAX No.[ 3 ]   TIME[ 12:00:10 ]   DATA[ 2.25 ]   MODE[ VDC ]\n"
                         "  MIN No.[ 4 ]   TIME[ 12:00:15 ]   DATA[ 0.75 ]   MODE[ VDC ]\n"
                         "  AVG 1.500000\n"
                         "  COUNT 4\n"
                         "  quvolink-cli stats recording.CSV --upper 2 --lower 1\n"
                         "  ...\n"
                         "  COUNT 4\n"
                         "  HI 1\n"
                         "  LO 1\n"
                         "  PASS 2\n");
}

} // namespace

int runStats(const QStringList& arguments)
{
    const QString statsHelpText = statsHelp();
    QCommandLineParser parser;
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help."));
    parser.addOption(help);
    LimitOptions limits;
    limits.addTo(parser);
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The data file."));
    if (!parser.parse(QStringList{QStringLiteral("stats")} + arguments)) {
        printError(parser.errorText() + QStringLiteral("\n\n") + statsHelpText);
        return ExitUsage;
    }
    if (parser.isSet(help)) {
        printOut(statsHelpText);
        return ExitOk;
    }
    const QStringList files = parser.positionalArguments();
    if (files.size() != 1) {
        printError((files.isEmpty() ? QStringLiteral("No data file given.") : QStringLiteral("Only one data file, please."))
                   + QStringLiteral("\n\n") + statsHelpText);
        return ExitUsage;
    }
    QString limitsError;
    if (!limits.read(parser, limitsError)) {
        printError(limitsError + QStringLiteral("\n\n") + statsHelpText);
        return ExitUsage;
    }

    ErrorStreamPrompter prompter;
    DataDocument document;
    document.setLimits(limits.limits());
    if (!openDataFile(document, prompter, files.first()))
        return ExitFailed;

    printOut(QStringLiteral("MAX ") + document.GetDispmax(true) + QLatin1Char('\n'));
    printOut(QStringLiteral("MIN ") + document.GetDispmin(true) + QLatin1Char('\n'));
    printOut(QStringLiteral("AVG ") + document.GetDispavg() + QLatin1Char('\n'));
    printOut(QStringLiteral("COUNT ") + QString::number(document.GetDatacount()) + QLatin1Char('\n'));
    if (!limits.wanted())
        return ExitOk;
    const JudgementCounts& counts = document.judgementCounts();
    printOut(QStringLiteral("HI %1\nLO %2\nPASS %3\n").arg(counts.hi).arg(counts.lo).arg(counts.pass));
    return counts.outOfLimits() > 0 ? ExitOutOfLimits : ExitOk;
}

} // namespace quvo::cli
