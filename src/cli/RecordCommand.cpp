// quvolink-cli record --interval T [--period T] --out FILE.csv: a realtime recording into a
// new realtime document, printed row by row and saved as a data file when it ends (period
// over, document full, Ctrl+C, or a lost port). The recording journal protects it against a
// crash; after a normal end and a successful save the journal is removed.

#include "acquisition/HeadlessHost.h"
#include "acquisition/IntervalRules.h"
#include "acquisition/Realtime.h"
#include "cli/CliCommand.h"
#include "cli/MeterSession.h"
#include "cli/SignalWatcher.h"
#include "document/DataDocument.h"
#include "link/Comm.h"
#include "resources/Constant.h"
#include "resources/EventWait.h"
#include "resources/ProgramState.h"

#include <QCommandLineParser>

namespace quvo::cli {

namespace {

QString recordHelp()
{
    return QStringLiteral(
               "Usage: quvolink-cli [options] record --interval T [--period T] --out FILE.csv\n"
               "\n"
               "Records the meter's reading every T seconds into a new realtime document, prints\n"
               "each recorded row (time, value and unit, separated by tabs) and saves the document\n"
               "as the data file FILE.csv when the recording ends: when the period is over, when\n"
               "the document is full (32767 readings), on Ctrl+C (at the next second) or when the\n"
               "port is lost. The meter is asked every second; a missed sample is recorded as\n"
               "ERROR.\n"
               "\n"
               "While recording, every row is also written to a recording journal in the program\n"
               "folder. Should the program end without saving (a crash, a power cut), \n"
               "'quvolink-cli recover --out FILE.csv' restores the recording.\n"
               "\n"
               "Options:\n"
               "  --interval T  time between samples\n"
               "  --period T    how long to record; without it, until Ctrl+C\n"
               "  --out FILE    the data file to write\n"
               "T is a number of seconds (90) or days, hours, minutes and seconds as DD:HH:MM:SS\n"
               "(00:00:01:30); days 0-99, hours 0-23, minutes 0-59, seconds 0-59, not zero.\n"
               "\n")
        + QString::fromLatin1(GlobalOptionsHelp)
        + QStringLiteral("\n"
                         "Exit codes: 0 recorded and saved, 1 the recording or the save failed (message on\n"
                         "stderr; the rows recorded so far are saved when possible), 2 wrong arguments.\n"
                         "\n"
                         "Example:\n"
                         "  quvolink-cli record --interval 5 --period 00:00:01:00 --out bench.csv\n"
                         "  12:00:01\t1.234\tVDC\n"
                         "  12:00:06\t1.236\tVDC\n");
}

} // namespace

int runRecord(const QStringList& arguments)
{
    const QString help = recordHelp();
    QCommandLineParser parser;
    const QCommandLineOption intervalOption(QStringLiteral("interval"), QStringLiteral("Time between samples."),
                                            QStringLiteral("T"));
    const QCommandLineOption periodOption(QStringLiteral("period"), QStringLiteral("How long to record."),
                                          QStringLiteral("T"));
    const QCommandLineOption outOption(QStringLiteral("out"), QStringLiteral("The data file."), QStringLiteral("FILE"));
    parser.addOptions({intervalOption, periodOption, outOption});
    if (const auto exitCode = parseCommand(parser, QStringLiteral("record"), arguments, help))
        return *exitCode;
    if (!parser.positionalArguments().isEmpty())
        return usageError(QStringLiteral("record takes no arguments besides its options."), help);
    if (!parser.isSet(intervalOption))
        return usageError(QStringLiteral("--interval is needed."), help);
    if (!parser.isSet(outOption) || parser.value(outOption).isEmpty())
        return usageError(QStringLiteral("--out is needed."), help);

    // The Interval and period dialog's rules and message.
    TimeTexts interval;
    TimeTexts period{QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00")};
    const bool customPeriod = parser.isSet(periodOption);
    bool valid = ParseDurationText(parser.value(intervalOption), interval);
    if (customPeriod)
        valid = ParseDurationText(parser.value(periodOption), period) && valid;
    if (!valid || !CheckIntervalAndPeriod(interval, customPeriod, period)) {
        printMessage(IntervalRangeMessage());
        return ExitUsage;
    }
    const QString outPath = parser.value(outOption);

    MeterSession session;
    QString error;
    if (!session.start(&error)) {
        printMessage(error);
        return ExitFailed;
    }
    HeadlessHost& host = session.host();
    Realtime realtime(session.comm(), host);
    realtime.setJournalFolder(session.programFolder());

    DataDocument* document = host.newDocument(DataKinds::Realtime);
    document->SetInterval(interval.days, interval.hours, interval.minutes, interval.seconds);
    document->SetPeriod(!customPeriod, period.days, period.hours, period.minutes, period.seconds);

    QObject::connect(&realtime, &Realtime::sampleRecorded, [](const QString& label, const QString& value, const QString& unit) {
        printOut(label + QLatin1Char('\t') + value + QLatin1Char('\t') + unit + QLatin1Char('\n'));
    });
    SignalWatcher watcher;
    QObject::connect(&watcher, &SignalWatcher::interrupted, &realtime, [&realtime] { realtime.mnuRealtimeStop(); });

    realtime.mnuRealtimeStart(); // no forwarding: the question is answered No
    waitUntil([] { return programState().CommState == CommStates::Idle; });

    const RealtimeEnd end = realtime.lastEnd();
    if (end == RealtimeEnd::None)
        return ExitFailed; // the port did not open (message on stderr)
    if (end == RealtimeEnd::StartFailed && document->GetDatacount() == 0) {
        if (watcher.count() > 0)
            return ExitOk; // Ctrl+C before the recording began: nothing to save
        printMessage(QStringLiteral("The recording could not be started."));
        return ExitFailed;
    }

    if (!document->SaveFile(outPath)) {
        // The reason and the path are on stderr; the journal keeps the rows.
        const QString journal = realtime.journalPath(document);
        realtime.keepJournal(document);
        if (!journal.isEmpty())
            printMessage(QStringLiteral("The recording is kept in %1; 'quvolink-cli recover --out FILE.csv' restores it.")
                             .arg(journal));
        return ExitFailed;
    }
    realtime.releaseJournal(document);
    return end == RealtimeEnd::PortLost || end == RealtimeEnd::Failed ? ExitFailed : ExitOk;
}

} // namespace quvo::cli
