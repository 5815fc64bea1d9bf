// quvolink-cli record --interval T [--period T] --out FILE.csv: a realtime recording into a
// new realtime document, printed row by row and saved as a data file when it ends (period
// over, document full, Ctrl+C, or a lost port). The recording journal protects it against a
// crash; after a normal end and a successful save the journal is removed.
//
// With --continue a full document does not end the recording: it is saved, and the
// recording goes on in a new document saved under the next file name (RecordingParts.h, the
// same procedure as the main window's "continue in a new document" option).
// With --xlsx or --into the rows are also forwarded to a workbook as they come, written when
// the recording ends (with --continue, a sheet for each data file). With limits every row
// printed carries its judgement, the workbook its counts, and the exit code says whether a
// reading was out of limits.

#include "acquisition/HeadlessHost.h"
#include "acquisition/IntervalRules.h"
#include "acquisition/Realtime.h"
#include "acquisition/RecordingParts.h"
#include "cli/CliCommand.h"
#include "cli/ForwardOptions.h"
#include "cli/LimitOptions.h"
#include "cli/MeterSession.h"
#include "cli/MqttOptions.h"
#include "cli/ReadingFormat.h"
#include "cli/SignalWatcher.h"
#include "document/DataDocument.h"
#include "forward/Forward.h"
#include "forward/XlsxBackend.h"
#include "link/Comm.h"
#include "resources/Constant.h"
#include "resources/EventWait.h"
#include "resources/ProgramState.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>

#include <memory>
#include <optional>

namespace quvo::cli {

namespace {

QString recordHelp()
{
    return QStringLiteral(
               "Usage: quvolink-cli [options] record --interval T [--period T] --out FILE.csv\n"
               "                    [--continue] [--xlsx NEW.xlsx | --into EXISTING.xlsx] [--title TEXT]\n"
               "                    [--upper X] [--lower X] [--unit WORD] [--format tsv|csv|jsonl]\n"
               "                    [--mqtt URL [--topic PREFIX]]\n"
               "\n"
               "Records the meter's reading every T seconds into a new realtime document, prints\n"
               "each recorded row (time, value and unit, separated by tabs) and saves the document\n"
               "as the data file FILE.csv when the recording ends: when the period is over, when\n"
               "the document is full (32767 readings), on Ctrl+C (at the next second) or when the\n"
               "port is lost. The meter is asked every second; a missed sample is recorded as\n"
               "ERROR. An existing FILE.csv is replaced.\n"
               "\n"
               "While recording, every row is also written to a recording journal in the program\n"
               "folder. Should the program end without saving (a crash, a power cut),\n"
               "'quvolink-cli recover --out FILE.csv' restores the recording.\n"
               "\n"
               "Options:\n"
               "  --interval T  time between samples\n"
               "  --period T    how long to record; without it, until Ctrl+C\n"
               "  --out FILE    the data file to write\n"
               "  --continue    when the document is full, save it and go on in a new data file,\n"
               "                so that a recording can run for weeks: FILE.csv, then FILE-002.csv,\n"
               "                FILE-003.csv, ... (\"-\" and the file's number, at least three digits,\n"
               "                before the extension; without an extension at the end: FILE-002).\n"
               "                Each file is complete on its own and saved as soon as it is full; the\n"
               "                next file's first row is the next sample. A period counts from the\n"
               "                start of the recording. A note on stderr names each file saved. A file\n"
               "                that cannot be saved (disk full, folder gone) is named on stderr with\n"
               "                its recording journal, and the recording goes on (exit code 1 at the end).\n"
               "T is a number of seconds (90) or days, hours, minutes and seconds as DD:HH:MM:SS\n"
               "(00:00:01:30); days 0-99, hours 0-23, minutes 0-59, seconds 0-59, not zero.\n"
               "\n"
               "Forwarding: each row also goes to a new sheet of a workbook as it is recorded; the\n"
               "workbook, with the table's frame, MAX, MIN, AVG and the chart, is written when the\n"
               "recording ends and its path is printed on stderr. With --continue each data file's\n"
               "rows go to a sheet of their own, one after the other, in the same workbook.\n")
        + ForwardOptions::helpLines()
        + QStringLiteral("\n")
        + LimitOptions::helpLines()
        + QStringLiteral("With limits the workbook's summary also holds the limits and the HI and LO counts.\n\n")
        + ReadingFormat::helpLines()
        + QStringLiteral("\n")
        + MqttOptions::helpLines()
        + QStringLiteral("\n")
        + QString::fromLatin1(GlobalOptionsHelp)
        + QStringLiteral("\n"
                         "Exit codes: 0 recorded and saved, 1 the recording, the save or the workbook failed,\n"
                         "or the broker could not be used at the start (message on stderr; the rows\n"
                         "recorded so far are saved when possible), 2 wrong arguments, 3 recorded and\n"
                         "saved, and a reading was out of the limits (HI or LO).\n"
                         "\n"
                         "Example:\n"
                         "  quvolink-cli record --interval 5 --period 00:00:01:00 --out bench.csv\n"
                         "  12:00:01\t1.234\tVDC\n"
                         "  12:00:06\t1.236\tVDC\n"
                         "  quvolink-cli --port /dev/ttyUSB0 record --interval 1 --continue --out week.csv\n"
                         "  quvolink-cli record --interval 10 --period 3600 --out hour.csv --xlsx hour.xlsx --title \"Bench supply\"\n"
                         "  quvolink-cli record --interval 60 --out battery.csv --lower 11.8 --unit VDC --format jsonl\n");
}

// "1 reading", "2 readings".
QString readingsText(int count)
{
    return count == 1 ? QStringLiteral("1 reading") : QStringLiteral("%1 readings").arg(count);
}

// Forwarding of the rows to a workbook: the engine on an .xlsx connector.
struct RealtimeWorkbook {
    Forward engine;
    std::unique_ptr<XlsxConnector> connector;
};

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
    const QCommandLineOption continueOption(QStringLiteral("continue"),
                                            QStringLiteral("Go on in a new data file when the document is full."));
    // How many readings fill a document, lower than the real 32767 so that tests cross the
    // boundary in seconds. Not in the help.
    QCommandLineOption limitOption(QStringLiteral("document-limit"), QStringLiteral("Readings per document."),
                                   QStringLiteral("N"));
    limitOption.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOptions({intervalOption, periodOption, outOption, continueOption, limitOption});
    ForwardOptions forwarding;
    forwarding.addTo(parser);
    LimitOptions limits;
    limits.addTo(parser);
    ReadingFormat format;
    format.addTo(parser);
    MqttOptions mqtt;
    mqtt.addTo(parser);
    if (const auto exitCode = parseCommand(parser, QStringLiteral("record"), arguments, help))
        return *exitCode;
    if (!parser.positionalArguments().isEmpty())
        return usageError(QStringLiteral("record takes no arguments besides its options: \"%1\".")
                              .arg(parser.positionalArguments().constFirst()),
                          help);
    if (!parser.isSet(intervalOption))
        return usageError(QStringLiteral("--interval is needed: the time between samples, such as --interval 5."), help);
    if (!parser.isSet(outOption) || parser.value(outOption).isEmpty())
        return usageError(QStringLiteral("--out is needed: the data file to write, such as --out bench.csv."), help);
    QString error;
    if (!forwarding.read(parser, ForwardOptions::Need::Optional, error) || !limits.read(parser, error)
        || !format.read(parser, error) || !mqtt.read(parser, error))
        return usageError(error, help);
    mqtt.setLimits(limits.limits());
    const bool continueRecording = parser.isSet(continueOption);
    int documentLimit = MaxReadings;
    if (parser.isSet(limitOption)) {
        bool ok = false;
        documentLimit = parser.value(limitOption).toInt(&ok);
        if (!ok || documentLimit < 1 || documentLimit > MaxReadings)
            return usageError(QStringLiteral("--document-limit: \"%1\" is not a number of readings from 1 to %2.")
                                  .arg(parser.value(limitOption))
                                  .arg(MaxReadings),
                              help);
    }

    // The Interval and period dialog's rules; a duration that cannot be used is refused
    // with what is wrong with it and the input range.
    TimeTexts interval;
    TimeTexts period{QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00")};
    const bool customPeriod = parser.isSet(periodOption);
    QString problem = DurationOptionProblem(QStringLiteral("--interval"), parser.value(intervalOption));
    if (problem.isEmpty() && customPeriod)
        problem = DurationOptionProblem(QStringLiteral("--period"), parser.value(periodOption));
    if (!problem.isEmpty()) {
        printMessage(problem);
        return ExitUsage;
    }
    ParseDurationText(parser.value(intervalOption), interval);
    if (customPeriod)
        ParseDurationText(parser.value(periodOption), period);
    CheckIntervalAndPeriod(interval, customPeriod, period); // two digits in every field
    const QString outPath = parser.value(outOption);

    MeterSession session;
    if (!session.start(&error) || !mqtt.start(session.host(), error)) {
        printMessage(error);
        return ExitFailed;
    }
    HeadlessHost& host = session.host();
    Realtime realtime(session.comm(), host);
    realtime.setJournalFolder(session.programFolder());
    realtime.setDocumentLimit(documentLimit);

    // The limits of the recording; a unit left open is the first document's first unit, and
    // stays the unit of the documents that follow it (RecordingParts carries it on).
    DataDocument* document = host.newDocument(DataKinds::Realtime);
    document->SetInterval(interval.days, interval.hours, interval.minutes, interval.seconds);
    document->SetPeriod(!customPeriod, period.days, period.hours, period.minutes, period.seconds);
    document->setLimits(limits.limits());

    std::optional<RealtimeWorkbook> workbook;
    if (forwarding.wanted()) {
        XlsxSettings settings;
        if (!forwarding.apply(settings, error)) {
            printMessage(error);
            return ExitFailed;
        }
        workbook.emplace();
        settings.reportFailure = workbook->engine.handBackFailureReporter();
        workbook->connector = std::make_unique<XlsxConnector>(settings);
        workbook->engine.setConnector(workbook->connector.get());
        workbook->engine.setPrompter(&host.prompter());
        // The question "forward?" is answered Yes and the Forward dialog counts as confirmed.
        host.setRealtimeForwarder(&workbook->engine);
        host.setForwardConfirmed(true);
        host.setQuestionAnswer(PromptAnswer::Yes);
    }

    // --continue: a full document is saved and the recording goes on in a new one. Only the
    // document being recorded and the one before it are kept in memory.
    std::unique_ptr<DataDocument> current;
    std::unique_ptr<DataDocument> previous;
    struct ForgetDocuments {
        ~ForgetDocuments()
        {
            programState().RealtimeDoc = nullptr;
            programState().CurrentDoc = nullptr;
        }
    } forgetDocuments; // before the documents above go
    std::optional<RecordingParts> parts;
    if (continueRecording) {
        RecordingParts::Hooks hooks;
        hooks.newDocument = [&]() -> DataDocument* {
            auto next = std::make_unique<DataDocument>();
            next->setPrompter(&host.prompter());
            next->OpenNew(DataKinds::Realtime);
            previous = std::move(current);
            current = std::move(next);
            document = current.get();
            return document;
        };
        hooks.partSaved = [&](DataDocument& part, int number, const QString& path) {
            if (programState().CommState != CommStates::Idle)
                printMessage(QStringLiteral("%1 saved in %2; the recording goes on in %3.")
                                 .arg(readingsText(part.GetDatacount()))
                                 .arg(QDir::toNativeSeparators(path),
                                      QDir::toNativeSeparators(recordingPartFileName(outPath, number + 1))));
            else
                printMessage(QStringLiteral("%1 saved in %2.")
                                 .arg(readingsText(part.GetDatacount()))
                                 .arg(QDir::toNativeSeparators(path)));
        };
        hooks.partNotSaved = [](DataDocument&, int, const QString& message) { printMessage(message); };
        parts.emplace(realtime, outPath, std::move(hooks));
    }

    const QString heading = format.heading(limits.wanted());
    if (!heading.isEmpty())
        printOut(heading + QLatin1Char('\n'));
    QObject::connect(&realtime, &Realtime::sampleRecorded,
                     [&](const QString& label, const QString& value, const QString& unit) {
                         const int row = document->GetDatacount();
                         const Judgement judgement = document->judgement(row);
                         limits.count(judgement);
                         const TakenReading reading = readingOfLastRow(
                             *document, ReadingKind::Realtime, labelledTime(label, QDateTime::currentDateTime()));
                         printOut(format.line(reading, {label, value, unit}, limits.wanted(), judgement)
                                  + QLatin1Char('\n'));
                     });
    SignalWatcher watcher;
    QObject::connect(&watcher, &SignalWatcher::interrupted, &realtime, [&realtime] { realtime.mnuRealtimeStop(); });

    const int messagesBefore = static_cast<int>(host.messages().size());
    realtime.mnuRealtimeStart(); // "forward?" is answered No unless a workbook was named
    waitUntil([] { return programState().CommState == CommStates::Idle; });

    const RealtimeEnd end = realtime.lastEnd();
    if (end == RealtimeEnd::None)
        return ExitFailed; // the port did not open (message on stderr)
    if ((end == RealtimeEnd::StartFailed || end == RealtimeEnd::ForwardAbandoned) && document->GetDatacount() == 0) {
        if (watcher.count() > 0)
            return ExitOk; // Ctrl+C before the recording began: nothing to save
        if (end == RealtimeEnd::StartFailed)
            printMessage(QStringLiteral("The recording could not be started: the meter did not answer. Is it "
                                        "switched on and connected to %1?")
                             .arg(session.comm().portName()));
        else
            printMessage(QStringLiteral("The recording was not started: forwarding to the workbook could not begin."));
        return ExitFailed;
    }

    // The workbook is written when the recording ends; say where it went, or why not.
    bool workbookFailed = false;
    if (workbook) {
        const QStringList written = workbook->connector->writtenFiles();
        for (const QString& path : written)
            printMessage(QStringLiteral("The workbook %1 was written.").arg(QDir::toNativeSeparators(path)));
        const bool messageShown = host.messages().size() > messagesBefore;
        if (written.isEmpty() && document->GetDatacount() > 0) {
            workbookFailed = true;
            if (!host.statusMessage().isEmpty())
                printMessage(host.statusMessage());
            else if (!messageShown)
                printMessage(QStringLiteral("No workbook was written."));
        } else if (!host.statusMessage().isEmpty()) {
            workbookFailed = true; // forwarding stopped on the way
            printMessage(host.statusMessage());
        }
    } else if (!host.statusMessage().isEmpty()) {
        printMessage(host.statusMessage()); // e.g. the journal could not be written
    }

    bool partsFailed = false;
    if (parts) {
        partsFailed = !parts->finish(*document);
    } else if (!document->SaveFile(outPath)) {
        // The reason and the path are on stderr; the journal keeps the rows.
        const QString journal = realtime.journalPath(document);
        realtime.keepJournal(document);
        if (!journal.isEmpty())
            printMessage(QStringLiteral("The recording is kept in %1; 'quvolink-cli recover --out FILE.csv' restores "
                                        "it.")
                             .arg(journal));
        return ExitFailed;
    } else {
        realtime.releaseJournal(document);
    }
    if (partsFailed || workbookFailed)
        return ExitFailed;
    return end == RealtimeEnd::PortLost || end == RealtimeEnd::Failed || end == RealtimeEnd::ForwardAbandoned
        ? ExitFailed
        : limits.exitCode(ExitOk);
}

} // namespace quvo::cli
