// Realtime recording driven second by second: a clock the test moves, the tick called by
// the test, a scripted meter on a real pseudo-terminal answering each request.

#include "AcquisitionTestSupport.h"

#include "acquisition/HeadlessHost.h"
#include "acquisition/RecordingJournal.h"
#include "acquisition/Realtime.h"
#include "document/DataDocument.h"
#include "link/Comm.h"
#include "link/ReadingDecoder.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/ResID.h"
#include "support/TestHelpers.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using namespace quvo;
using namespace quvo::test;
using namespace std::chrono_literals;

namespace {

const TimeTexts NoTime{QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00")};

TimeTexts seconds(int s)
{
    return {QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QString::number(s).rightJustified(2, u'0')};
}

class RealtimeTest : public SteppedRealtimeTest {
protected:
    // A realtime document with this interval and period (none when period is empty), made
    // active.
    DataDocument* makeDocument(const TimeTexts& interval, std::optional<TimeTexts> period)
    {
        DataDocument* document = host.newDocument(DataKinds::Realtime);
        document->SetInterval(interval.days, interval.hours, interval.minutes, interval.seconds);
        const TimeTexts p = period.value_or(NoTime);
        document->SetPeriod(!period.has_value(), p.days, p.hours, p.minutes, p.seconds);
        return document;
    }

    // Start as the menu does, answering No to the forwarding question.
    DataDocument* startRecording(const TimeTexts& interval, std::optional<TimeTexts> period)
    {
        DataDocument* document = makeDocument(interval, period);
        realtime.mnuRealtimeStart();
        return document;
    }

    // Adds readings to a document directly (as a data file would have brought them).
    static void fill(DataDocument& document, int rows)
    {
        for (int i = 0; i < rows; ++i) {
            ASSERT_TRUE(document.AddGridrow());
            document.AddData(QStringLiteral("10:00:00"), QStringLiteral("1.5"), QStringLiteral("VDC"),
                             QStringLiteral("1.5"));
        }
    }

    // Seconds until the recording ends (at most `limit`).
    int runToEnd(int limit)
    {
        int n = 0;
        while (programState().CommState != CommStates::Idle && n < limit) {
            second();
            ++n;
        }
        return n;
    }

    static QString label(int h, int m, int s) { return QTime(h, m, s).toString(QStringLiteral("hh:mm:ss")); }
};

TEST_F(RealtimeTest, IntervalFivePeriodTwentyGivesFiveRowsAndOnlyRefreshesTheMonitorBetween)
{
    DataDocument* document = startRecording(seconds(5), seconds(20));
    ASSERT_EQ(programState().CommState, CommStates::Realtime);
    EXPECT_EQ(document->progressMaximum(), 20 / 5 + 1);
    EXPECT_EQ(meter.count("SC,123"), 1);
    EXPECT_EQ(meter.count("PL,1"), 1);
    EXPECT_EQ(meter.count("RM"), 1);
    EXPECT_EQ(programState().MeterModel, QStringLiteral("1"));

    runToEnd(40);
    ASSERT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_EQ(realtime.lastEnd(), RealtimeEnd::PeriodOver);

    // The first boundary after the start (12:00:01) labels the first sample; then every 5 s.
    ASSERT_EQ(document->GetDatacount(), 5);
    const QStringList labels = {label(12, 0, 1), label(12, 0, 6), label(12, 0, 11), label(12, 0, 16),
                                label(12, 0, 21)};
    for (int row = 1; row <= 5; ++row) {
        EXPECT_EQ(document->TextMatrix(row, 1), labels[row - 1]) << row;
        // The sample of second k is the answer to the k-th request (requests count from 0).
        const int request = (row - 1) * 5;
        EXPECT_EQ(document->TextMatrix(row, 2), GetValueText(ScriptedMeter::indexReading(request))) << row;
        EXPECT_EQ(document->TextMatrix(row, 3), QStringLiteral("VDC"));
    }
    // Every second's answer reached the Monitor (21 seconds: 0 … 20), the recorded ones too.
    ASSERT_EQ(monitor.answers.size(), 21);
    for (int k = 0; k <= 20; ++k)
        EXPECT_EQ(monitor.answers[k], QString::fromLatin1(ScriptedMeter::line(ScriptedMeter::indexReading(k)).chopped(2)))
            << k;
    EXPECT_EQ(document->progressValue(), 5);
    // The end: "PL,0", the port closed, the commands back to idle.
    EXPECT_TRUE(waitFor([&] { return meter.count("PL,0") == 1; }, 5s));
    EXPECT_FALSE(comm.PortOpen());
    EXPECT_FALSE(host.realtimeCommandsRunning());
    EXPECT_FALSE(realtime.tmRealtimeEnabled());
    EXPECT_TRUE(host.messages().isEmpty());
}

TEST_F(RealtimeTest, WithoutPeriodProgressMaximumIsWhatTheDocumentCanStillHold)
{
    DataDocument* document = makeDocument(seconds(5), std::nullopt);
    fill(*document, 100);
    programState().RealtimeDoc = document;
    realtime.IniRealtimeProgress();
    EXPECT_EQ(document->progressMaximum(), MaxReadings - 100);
}

TEST_F(RealtimeTest, NearlyFullDocumentGetsTheRestAsProgressMaximum)
{
    // Interval 1 s, period 9 s: k = 9 / 1 + 1 = 10 samples, but only 7 rows are left.
    DataDocument* document = makeDocument(seconds(1), seconds(9));
    fill(*document, 32760);
    programState().RealtimeDoc = document;
    realtime.IniRealtimeProgress();
    EXPECT_EQ(document->progressMaximum(), 7);
}

TEST_F(RealtimeTest, StartingOnAFullDocumentDoesNothing)
{
    DataDocument* document = makeDocument(seconds(5), std::nullopt);
    fill(*document, MaxReadings);
    realtime.mnuRealtimeStart();
    EXPECT_TRUE(host.questions().isEmpty());
    EXPECT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_FALSE(comm.PortOpen());
    EXPECT_FALSE(host.realtimeCommandsRunning());
    EXPECT_EQ(meter.peer.received(), QByteArray());
}

TEST_F(RealtimeTest, TheForwardingQuestionIsAskedWithNoAsDefault)
{
    startRecording(seconds(5), std::nullopt);
    ASSERT_EQ(host.questions(), QStringList{AskForwardRealtime});
    EXPECT_TRUE(programState().NoForward);
    EXPECT_EQ(host.forwardDialogCount(), 0);
}

TEST_F(RealtimeTest, ATickThreeSecondsLateRecordsErrorRowsForMissedSampleSeconds)
{
    DataDocument* document = startRecording(seconds(1), std::nullopt);
    second(); // first boundary: request
    second(); // row 1
    ASSERT_EQ(document->GetDatacount(), 1);
    second(3); // row 2 is the answer; seconds 2 and 3 were missed and are sample seconds
    ASSERT_EQ(document->GetDatacount(), 4);
    EXPECT_EQ(document->TextMatrix(2, 2), GetValueText(ScriptedMeter::indexReading(1)));
    EXPECT_EQ(document->TextMatrix(3, 2), ErrorReading);
    EXPECT_EQ(document->TextMatrix(4, 2), ErrorReading);
    EXPECT_EQ(document->TextMatrix(3, 1), label(12, 0, 3));
    EXPECT_EQ(document->TextMatrix(4, 1), label(12, 0, 4));
    second(); // the recording goes on with the next request's answer
    EXPECT_EQ(document->GetDatacount(), 5);
    EXPECT_EQ(document->TextMatrix(5, 2), GetValueText(ScriptedMeter::indexReading(2)));
}

TEST_F(RealtimeTest, ALateTickRecordsErrorRowsOnlyForSampleSeconds)
{
    DataDocument* document = startRecording(seconds(2), std::nullopt);
    second(); // request for second 0 (a sample)
    second(); // row 1; request for second 1 (display only)
    second(3); // second 1 shown; missed seconds 2 (sample) and 3 (display only)
    ASSERT_EQ(document->GetDatacount(), 2);
    EXPECT_EQ(document->TextMatrix(2, 2), ErrorReading);
    EXPECT_EQ(document->TextMatrix(2, 1), label(12, 0, 3)); // start 12:00:01 + 2 s
    // The Monitor got the second-1 answer, then "ERROR" for the display-only second 3.
    ASSERT_GE(monitor.answers.size(), 3);
    EXPECT_EQ(monitor.answers.last(), ErrorReading);
}

TEST_F(RealtimeTest, RecordingPastMidnightWrapsTheLabels)
{
    clock.t = QDateTime(QDate(2024, 12, 31), QTime(23, 59, 54, 500));
    DataDocument* document = startRecording(seconds(5), seconds(10));
    runToEnd(30);
    ASSERT_EQ(document->GetDatacount(), 3);
    EXPECT_EQ(document->TextMatrix(1, 1), label(23, 59, 55));
    EXPECT_EQ(document->TextMatrix(2, 1), label(0, 0, 0));
    EXPECT_EQ(document->TextMatrix(3, 1), label(0, 0, 5));
}

TEST_F(RealtimeTest, OfTwoCompleteLinesTheSecondIsUsed)
{
    meter.readingReplies = {ScriptedMeter::line(QStringLiteral("RR,N,+01.111 VDC"))
                            + ScriptedMeter::line(QStringLiteral("RR,N,+02.222 VAC"))};
    DataDocument* document = startRecording(seconds(1), std::nullopt);
    second();
    second();
    ASSERT_EQ(document->GetDatacount(), 1);
    EXPECT_EQ(document->TextMatrix(1, 2), QStringLiteral("2.222"));
    EXPECT_EQ(document->TextMatrix(1, 3), QStringLiteral("VAC"));
}

TEST_F(RealtimeTest, ATrailingPartialLineGivesError)
{
    meter.readingReplies = {ScriptedMeter::line(QStringLiteral("RR,N,+01.111 VDC")) + QByteArray("RR,N,+0")};
    DataDocument* document = startRecording(seconds(1), std::nullopt);
    second();
    second();
    ASSERT_EQ(document->GetDatacount(), 1);
    EXPECT_EQ(document->TextMatrix(1, 2), ErrorReading);
    EXPECT_EQ(document->TextMatrix(1, 3), QString());
    EXPECT_EQ(document->rawText(1), ErrorReading);
    EXPECT_EQ(document->statistics().numericCount, 0);
}

TEST_F(RealtimeTest, TakeAnswerLineRules)
{
    ProgramState& s = programState();
    s.RecvBuffer = QStringLiteral("RR,1\r\nRR,N,+01.000 VDC7\r\n");
    EXPECT_EQ(realtime.TakeAnswerLine(), QStringLiteral("RR,N,+01.000 VDC7"));
    s.RecvBuffer = QStringLiteral("RR,N,+01.000 VDC7\r\nRR,N");
    EXPECT_EQ(realtime.TakeAnswerLine(), ErrorReading);
    s.RecvBuffer.clear();
    EXPECT_EQ(realtime.TakeAnswerLine(), ErrorReading);
    s.RecvBuffer = QStringLiteral("\n");
    EXPECT_EQ(realtime.TakeAnswerLine(), QString());
}

TEST_F(RealtimeTest, NoAnswerGarbledAnswerAndRejectedCommandAreErrorRows)
{
    meter.silentRequests = {0}; // no answer at all, not even the echo
    meter.readingReplies = {QByteArray("RR,N,+01.000 VDCX\r\n"), // wrong check character
                            ScriptedMeter::line(QStringLiteral("CMD,ERR")),
                            ScriptedMeter::line(QStringLiteral("RS,N,+01.000 VDC")), // not "RR"
                            ScriptedMeter::line(QStringLiteral("RR,O,+0.L   kOHM"))}; // overload
    DataDocument* document = startRecording(seconds(1), std::nullopt);
    for (int i = 0; i < 6; ++i)
        second();
    ASSERT_EQ(document->GetDatacount(), 5);
    for (int row = 1; row <= 4; ++row) {
        EXPECT_EQ(document->TextMatrix(row, 2), ErrorReading) << row;
        EXPECT_EQ(document->TextMatrix(row, 3), QString()) << row;
    }
    EXPECT_EQ(document->rawText(1), ErrorReading); // no answer
    EXPECT_EQ(document->rawText(2), QString());    // the check failed
    EXPECT_EQ(document->rawText(3), ErrorReading); // CMD,ERR
    EXPECT_EQ(document->rawText(4), ErrorReading); // not a live reading
    // The overload keeps its unit and its value (value text and exponent) as raw text, and
    // does not count.
    const QString overload = QStringLiteral("RR,O,+0.L   kOHM");
    EXPECT_EQ(document->TextMatrix(5, 2), QStringLiteral("+OL"));
    EXPECT_EQ(document->TextMatrix(5, 3), QStringLiteral("OHM"));
    EXPECT_EQ(document->rawText(5), GetValueText(overload) + QStringLiteral("E+3"));
    EXPECT_EQ(document->statistics().numericCount, 0);
    EXPECT_EQ(programState().CommState, CommStates::Realtime); // recording goes on
}

TEST_F(RealtimeTest, StopIsHonouredAtTheNextSecond)
{
    DataDocument* document = startRecording(seconds(1), std::nullopt);
    second();
    second();
    second();
    ASSERT_EQ(document->GetDatacount(), 2);
    EXPECT_TRUE(host.stopEnabled());
    realtime.StopButton(); // CommState 3: the realtime stop
    EXPECT_TRUE(programState().StopRequested);
    EXPECT_FALSE(host.stopEnabled());
    EXPECT_EQ(programState().CommState, CommStates::Realtime);
    EXPECT_EQ(meter.count("PL,0"), 0);

    second(); // the answer of this second is still recorded, then the stop
    EXPECT_EQ(document->GetDatacount(), 3);
    EXPECT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_EQ(realtime.lastEnd(), RealtimeEnd::Stopped);
    EXPECT_FALSE(comm.PortOpen());
    EXPECT_TRUE(waitFor([&] { return meter.count("PL,0") == 1; }, 5s)) << meter.peer.received().toStdString();
    EXPECT_FALSE(host.realtimeCommandsRunning());
    EXPECT_FALSE(programState().RealtimeCommandsOn);
    EXPECT_TRUE(host.messages().isEmpty());
    // Ticks after the end do nothing.
    second();
    EXPECT_EQ(document->GetDatacount(), 3);
}

TEST_F(RealtimeTest, AFailedRemoteOnDoesNotStartTheRecording)
{
    // The meter leaves "PL,1" unanswered and Stop is pressed while the program waits: the
    // command fails and the start goes straight back to idle.
    meter.silentCommands = {QByteArray("PL,1")};
    meter.onCommand = [this](const QByteArray& command) {
        if (command == "PL,1")
            QTimer::singleShot(0, &realtime, [this] { realtime.mnuRealtimeStop(); });
    };
    DataDocument* document = startRecording(seconds(1), std::nullopt);
    EXPECT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_EQ(realtime.lastEnd(), RealtimeEnd::StartFailed);
    EXPECT_EQ(meter.count("RM"), 0);
    EXPECT_FALSE(realtime.tmRealtimeEnabled());
    EXPECT_EQ(document->GetDatacount(), 0);
    EXPECT_FALSE(comm.PortOpen());
    EXPECT_TRUE(waitFor([&] { return meter.count("PL,0") == 1; }, 5s));
    EXPECT_TRUE(host.messages().isEmpty()); // no message from the recording
    EXPECT_FALSE(host.realtimeCommandsRunning());
}

TEST_F(RealtimeTest, AnUnansweredRemoteOnStillStartsOutsideADownload)
{
    // Outside a download a silent meter is not an error of the exchange: the recording
    // starts and records "ERROR" rows until the meter answers.
    comm.setAnswerTimeoutMs(100);
    meter.silentCommands = {QByteArray("PL,1"), QByteArray("RM"), QByteArray("RR,1")};
    DataDocument* document = startRecording(seconds(1), std::nullopt);
    ASSERT_EQ(programState().CommState, CommStates::Realtime);
    EXPECT_EQ(programState().MeterModel, QString());
    clock.advance(1000);
    realtime.tmRealtime_Timer();
    ASSERT_TRUE(waitFor([&] { return meter.count("RR,1") == 1; }, 5s));
    clock.advance(1000);
    realtime.tmRealtime_Timer();
    ASSERT_EQ(document->GetDatacount(), 1);
    EXPECT_EQ(document->TextMatrix(1, 2), ErrorReading);
    realtime.mnuRealtimeStop();
    clock.advance(1000);
    realtime.tmRealtime_Timer();
    EXPECT_EQ(programState().CommState, CommStates::Idle);
}

TEST_F(RealtimeTest, ALostPortDuringRecordingStopsAtOnceAndKeepsTheRows)
{
    DataDocument* document = startRecording(seconds(1), std::nullopt);
    second();
    second();
    second();
    ASSERT_EQ(document->GetDatacount(), 2);
    QSignalSpy ended(&realtime, &Realtime::operationEnded);
    meter.peer.hangUp();
    ASSERT_TRUE(ended.wait(5000)); // no tick needed: the link's signal stops it
    EXPECT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_EQ(realtime.lastEnd(), RealtimeEnd::PortLost);
    EXPECT_FALSE(comm.PortOpen());
    // The third second's request was answered before the cable went: that reading is kept,
    // as a Stop would keep it.
    ASSERT_EQ(document->GetDatacount(), 3);
    EXPECT_EQ(document->TextMatrix(3, 2), GetValueText(ScriptedMeter::indexReading(2)));
    ASSERT_EQ(host.messages().size(), 1);
    EXPECT_TRUE(host.messages().first().startsWith(QStringLiteral("The connection to the meter on")))
        << host.messages().first().toStdString();
    EXPECT_FALSE(host.realtimeCommandsRunning());
    second();
    EXPECT_EQ(host.messages().size(), 1);
}

TEST_F(RealtimeTest, ALostPortNoticedByTheTickStopsAndShowsTheMessageOnce)
{
    DataDocument* document = startRecording(seconds(1), std::nullopt);
    second();
    second();
    QSignalSpy lost(&comm, &Comm::portLost);
    // The loss comes while a tick is busy (TickArmed false, as inside a nested wait): the
    // link's signal leaves it to the next tick.
    programState().TickArmed = false;
    meter.peer.hangUp();
    ASSERT_TRUE(lost.wait(5000));
    EXPECT_EQ(programState().CommState, CommStates::Realtime);
    EXPECT_TRUE(host.messages().isEmpty());
    programState().TickArmed = true;
    clock.advance(1000);
    realtime.tmRealtime_Timer();
    EXPECT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_EQ(realtime.lastEnd(), RealtimeEnd::PortLost);
    ASSERT_EQ(host.messages().size(), 1);
    EXPECT_TRUE(host.messages().first().startsWith(QStringLiteral("The connection to the meter on")));
    // The request of the second second was answered before the loss: kept.
    ASSERT_EQ(document->GetDatacount(), 2);
    EXPECT_EQ(document->TextMatrix(2, 2), GetValueText(ScriptedMeter::indexReading(1)));
}

TEST_F(RealtimeTest, APortLostDuringTheStartIsReportedOnce)
{
    meter.onCommand = [this](const QByteArray& command) {
        if (command == "PL,1")
            meter.peer.hangUp();
    };
    meter.silentCommands = {QByteArray("PL,1")};
    QSignalSpy lost(&comm, &Comm::portLost);
    DataDocument* document = startRecording(seconds(1), std::nullopt);
    EXPECT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_EQ(realtime.lastEnd(), RealtimeEnd::PortLost);
    EXPECT_EQ(document->GetDatacount(), 0);
    ASSERT_TRUE(lost.count() > 0 || lost.wait(5000));
    ASSERT_EQ(host.messages().size(), 1);
    EXPECT_TRUE(host.messages().first().startsWith(QStringLiteral("The connection to the meter on")));
}

TEST_F(RealtimeTest, ForwardingThatFailsToStartWithAReasonIsReportedAndRecordingGoesOn)
{
    FakeForwarder forwarder;
    forwarder.beginResult = false;
    forwarder.beginError = QStringLiteral("The workbook is locked.");
    host.setRealtimeForwarder(&forwarder);
    host.setQuestionAnswer(PromptAnswer::Yes);
    host.setForwardConfirmed(true);

    DataDocument* document = startRecording(seconds(1), std::nullopt);
    EXPECT_EQ(host.forwardDialogCount(), 1);
    EXPECT_EQ(forwarder.beginCalls, 1);
    EXPECT_EQ(forwarder.beginCommState, CommStates::RealtimeForward);
    EXPECT_EQ(host.statusMessage(), ResID(Res::ForwardError) + QStringLiteral(" (The workbook is locked.)"));
    EXPECT_TRUE(programState().NoForward);
    ASSERT_EQ(programState().CommState, CommStates::Realtime);
    second();
    second();
    second();
    EXPECT_EQ(document->GetDatacount(), 2);
    EXPECT_EQ(forwarder.appendCalls, 0);
    realtime.mnuRealtimeStop();
    second();
    EXPECT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_EQ(forwarder.endCalls, 0);
}

TEST_F(RealtimeTest, ForwardingTheUserAbandonsStopsTheStart)
{
    FakeForwarder forwarder;
    forwarder.beginResult = false; // and LastError stays empty: the user gave up
    host.setRealtimeForwarder(&forwarder);
    host.setQuestionAnswer(PromptAnswer::Yes);
    host.setForwardConfirmed(true);
    programState().LastError = QStringLiteral("an older failure");

    DataDocument* document = startRecording(seconds(1), std::nullopt);
    EXPECT_EQ(forwarder.beginCalls, 1);
    EXPECT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_EQ(realtime.lastEnd(), RealtimeEnd::ForwardAbandoned);
    EXPECT_FALSE(realtime.tmRealtimeEnabled());
    EXPECT_EQ(document->GetDatacount(), 0);
    EXPECT_TRUE(host.messages().isEmpty());
    EXPECT_TRUE(waitFor([&] { return meter.count("PL,0") == 1; }, 5s));
    // NoForward stayed false, so the stop ends the forwarding as it ends any other.
    EXPECT_EQ(forwarder.endCalls, 1);
}

TEST_F(RealtimeTest, StopWhileForwardingStartsAbandonsTheForwarding)
{
    FakeForwarder forwarder;
    host.setRealtimeForwarder(&forwarder);
    host.setQuestionAnswer(PromptAnswer::Yes);
    host.setForwardConfirmed(true);
    programState().CommState = CommStates::RealtimeForward;
    realtime.StopButton();
    EXPECT_TRUE(programState().NoForward);
    EXPECT_FALSE(programState().StopRequested);
    programState().CommState = CommStates::Idle;
}

TEST_F(RealtimeTest, ForwardedRowsAndAFailedRowThatEndsTheForwarding)
{
    FakeForwarder forwarder;
    forwarder.failAppendAt = 2;
    forwarder.appendError = QStringLiteral("The disk is full.");
    host.setRealtimeForwarder(&forwarder);
    host.setQuestionAnswer(PromptAnswer::Yes);
    host.setForwardConfirmed(true);

    DataDocument* document = startRecording(seconds(1), std::nullopt);
    ASSERT_EQ(programState().CommState, CommStates::Realtime);
    EXPECT_FALSE(programState().NoForward);
    second();
    second(); // row 1 forwarded
    ASSERT_EQ(forwarder.rows.size(), 1);
    EXPECT_EQ(forwarder.rows[0], (FakeForwarder::Row{document->TextMatrix(1, 1), document->TextMatrix(1, 2),
                                                     document->TextMatrix(1, 3)}));
    second(); // row 2 fails to forward
    EXPECT_EQ(host.statusMessage(), ResID(Res::ForwardError) + QStringLiteral(" (The disk is full.)"));
    EXPECT_EQ(forwarder.releaseCalls, 1);
    EXPECT_TRUE(programState().NoForward);
    second(); // row 3 is recorded, not forwarded
    EXPECT_EQ(document->GetDatacount(), 3);
    EXPECT_EQ(forwarder.appendCalls, 2);
    realtime.mnuRealtimeStop();
    second();
    EXPECT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_EQ(forwarder.endCalls, 0);
}

TEST_F(RealtimeTest, SuccessfulForwardingEndsWithTheRecording)
{
    FakeForwarder forwarder;
    host.setRealtimeForwarder(&forwarder);
    host.setQuestionAnswer(PromptAnswer::Yes);
    host.setForwardConfirmed(true);
    DataDocument* document = startRecording(seconds(1), seconds(2));
    runToEnd(10);
    ASSERT_EQ(document->GetDatacount(), 3);
    ASSERT_EQ(forwarder.rows.size(), 3);
    for (int row = 1; row <= 3; ++row)
        EXPECT_EQ(forwarder.rows[row - 1].display, document->TextMatrix(row, 2));
    EXPECT_EQ(forwarder.endCalls, 1);
}

TEST_F(RealtimeTest, CancelAtTheForwardingQuestionDoesNothing)
{
    host.setQuestionAnswer(PromptAnswer::Cancel);
    makeDocument(seconds(1), std::nullopt);
    realtime.mnuRealtimeStart();
    EXPECT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_FALSE(comm.PortOpen());
}

TEST_F(RealtimeTest, FirstTickLateRecordsErrorRowsFromTheStartLabel)
{
    DataDocument* document = startRecording(seconds(1), std::nullopt);
    const QString startLabel = realtime.StartTimeText();
    EXPECT_EQ(startLabel, label(12, 0, 0));
    second(2); // two boundaries at once: both seconds are samples without an answer
    ASSERT_EQ(document->GetDatacount(), 2);
    EXPECT_EQ(document->TextMatrix(1, 1), startLabel);
    EXPECT_EQ(document->TextMatrix(2, 1), label(12, 0, 1));
    EXPECT_EQ(document->TextMatrix(1, 2), ErrorReading);
    second();
    EXPECT_EQ(document->GetDatacount(), 3);
    EXPECT_EQ(document->TextMatrix(3, 2), GetValueText(ScriptedMeter::indexReading(0)));
}

TEST_F(RealtimeTest, AZeroIntervalIsRefusedBeforeAnythingIsSent)
{
    makeDocument(NoTime, std::nullopt);
    realtime.mnuRealtimeStart();
    EXPECT_EQ(programState().CommState, CommStates::Idle);
    ASSERT_EQ(host.messages().size(), 1);
    EXPECT_TRUE(host.messages().first().endsWith(ResID(Res::InputOneSecond)));
    EXPECT_EQ(meter.peer.received(), QByteArray());
}

TEST_F(RealtimeTest, NewMakesARealtimeDocumentAndShowsTheIntervalDialog)
{
    realtime.mnuRealtimeNew();
    ASSERT_EQ(host.documents().size(), 1u);
    EXPECT_EQ(host.documents().front()->kind(), DataKinds::Realtime);
    EXPECT_EQ(programState().RealtimeDoc, host.documents().front().get());
    EXPECT_EQ(host.intervalDialogCount(), 1);
}

TEST(RealtimeMenus, DropDownRules)
{
    EXPECT_EQ(RealtimeMenuOnDropDown(CommStates::Idle, true, DataKinds::Realtime), (RealtimeMenuState{true, true, false}));
    EXPECT_EQ(RealtimeMenuOnDropDown(CommStates::Idle, true, DataKinds::Logging), (RealtimeMenuState{true, false, false}));
    EXPECT_EQ(RealtimeMenuOnDropDown(CommStates::Idle, true, DataKinds::Monitor), (RealtimeMenuState{true, false, false}));
    EXPECT_EQ(RealtimeMenuOnDropDown(CommStates::Idle, false, DataKinds::Realtime), (RealtimeMenuState{true, false, false}));
    for (int state = 0; state < 7; ++state) {
        EXPECT_FALSE(RealtimeMenuOnDropDown(state, true, DataKinds::Realtime).has_value()) << state;
        EXPECT_FALSE(MoniterMenuOnDropDown(state).has_value()) << state;
    }
    EXPECT_EQ(MoniterMenuOnDropDown(CommStates::Idle), (MoniterMenuState{true, false}));
}

TEST(RealtimeMenus, StopButtonTargets)
{
    for (int state = 0; state <= 7; ++state) {
        const bool realtime = state == 2 || state == 3 || state == 4;
        EXPECT_EQ(StopButtonTarget(state), realtime ? StopTarget::Realtime : StopTarget::Monitor) << state;
    }
}

// --- Monitor mode -----------------------------------------------------------------------------

using MonitorModeTest = RealtimeTest;

TEST_F(MonitorModeTest, StartsShowsEveryAnswerAndStopsAtTheNextSecond)
{
    realtime.mnuMoniterStart();
    ASSERT_EQ(programState().CommState, CommStates::Monitor);
    EXPECT_TRUE(host.monitorCommandsRunning());
    EXPECT_EQ(meter.count("SC,123"), 1);
    EXPECT_EQ(meter.count("PL,1"), 1);
    EXPECT_EQ(meter.count("RM"), 0);
    second(); // first boundary: request
    EXPECT_TRUE(monitor.answers.isEmpty());
    second();
    second();
    ASSERT_EQ(monitor.answers.size(), 2);
    EXPECT_EQ(MonitorText(monitor.answers[0]), QStringLiteral("0.000VDC"));
    EXPECT_EQ(MonitorText(monitor.answers[1]), QStringLiteral("1.000VDC"));

    realtime.StopButton(); // CommState 5: the monitor stop
    EXPECT_TRUE(programState().StopRequested);
    EXPECT_FALSE(host.stopEnabled());
    EXPECT_EQ(programState().CommState, CommStates::Monitor);
    second();
    EXPECT_EQ(monitor.answers.size(), 3);
    EXPECT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_EQ(realtime.lastEnd(), RealtimeEnd::Stopped);
    EXPECT_FALSE(comm.PortOpen());
    EXPECT_TRUE(waitFor([&] { return meter.count("PL,0") == 1; }, 5s));
    EXPECT_FALSE(host.monitorCommandsRunning());
}

TEST_F(MonitorModeTest, OverloadTextIsShown)
{
    meter.readingReplies = {ScriptedMeter::line(QStringLiteral("RR,O,-0.L   mVDC"))};
    realtime.mnuMoniterStart();
    second();
    second();
    ASSERT_EQ(monitor.answers.size(), 1);
    // The overload text (sign and "OL"), then the prefix and unit.
    EXPECT_EQ(MonitorText(monitor.answers[0]), QStringLiteral("-OLmVDC"));
}

TEST_F(MonitorModeTest, ALateTickEndsWithErrorAfterAGoodAnswer)
{
    realtime.mnuMoniterStart();
    second();
    second(2);
    ASSERT_EQ(monitor.answers.size(), 2);
    EXPECT_EQ(MonitorText(monitor.answers[0]), QStringLiteral("0.000VDC"));
    EXPECT_EQ(monitor.answers[1], ErrorReading);
    // Monitoring goes on with the next request.
    second();
    EXPECT_EQ(MonitorText(monitor.answers.last()), QStringLiteral("1.000VDC"));
}

TEST_F(MonitorModeTest, AFirstTickLaterThanOneSecondShowsErrorAndAsks)
{
    realtime.mnuMoniterStart();
    second(3);
    ASSERT_EQ(monitor.answers.size(), 1);
    EXPECT_EQ(monitor.answers[0], ErrorReading);
    EXPECT_EQ(meter.readingRequests(), 1);
    second();
    EXPECT_EQ(MonitorText(monitor.answers.last()), QStringLiteral("0.000VDC"));
}

TEST_F(MonitorModeTest, NoAnswerShowsErrorAndMonitoringGoesOn)
{
    meter.silentRequests = {0};
    realtime.mnuMoniterStart();
    second();
    second();
    second();
    ASSERT_EQ(monitor.answers.size(), 2);
    EXPECT_EQ(monitor.answers[0], ErrorReading);
    EXPECT_EQ(MonitorText(monitor.answers[1]), QStringLiteral("1.000VDC"));
    EXPECT_EQ(programState().CommState, CommStates::Monitor);
}

TEST_F(MonitorModeTest, AFailedRemoteOnGoesBackToIdle)
{
    meter.silentCommands = {QByteArray("PL,1")};
    meter.onCommand = [this](const QByteArray& command) {
        if (command == "PL,1")
            QTimer::singleShot(0, &realtime, [this] { realtime.mnuMoniterStop(); });
    };
    realtime.mnuMoniterStart();
    EXPECT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_EQ(realtime.lastEnd(), RealtimeEnd::StartFailed);
    EXPECT_FALSE(realtime.tmRealtimeEnabled());
    EXPECT_FALSE(comm.PortOpen());
    EXPECT_TRUE(host.messages().isEmpty());
}

TEST_F(MonitorModeTest, ALostPortEndsMonitoringWithOneMessage)
{
    realtime.mnuMoniterStart();
    second();
    second();
    QSignalSpy ended(&realtime, &Realtime::operationEnded);
    meter.peer.hangUp();
    ASSERT_TRUE(ended.wait(5000));
    EXPECT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_EQ(realtime.lastEnd(), RealtimeEnd::PortLost);
    EXPECT_FALSE(comm.PortOpen());
    ASSERT_EQ(host.messages().size(), 1);
    EXPECT_TRUE(host.messages().first().startsWith(QStringLiteral("The connection to the meter on")));
}

TEST_F(MonitorModeTest, ARecordingShowsEveryAnswerOnTheMonitor)
{
    // Interval 2: the display-only seconds reach the Monitor, the samples too.
    DataDocument* document = startRecording(seconds(2), seconds(2));
    runToEnd(10);
    EXPECT_EQ(document->GetDatacount(), 2);
    ASSERT_EQ(monitor.answers.size(), 3);
    for (int k = 0; k < 3; ++k)
        EXPECT_EQ(MonitorText(monitor.answers[k]), QStringLiteral("%1.000VDC").arg(k));
}

// --- The recording journal while recording ---------------------------------------------------

class JournalRecordingTest : public RealtimeTest {
protected:
    void SetUp() override
    {
        RealtimeTest::SetUp();
        ASSERT_TRUE(home.isValid());
        realtime.setJournalFolder(home.path());
    }
    QStringList journals() const
    {
        return QDir(home.path()).entryList({QStringLiteral("RECORDING-*.JNL")}, QDir::Files);
    }
    static QList<JournalRow> rowsOf(const DataDocument& document)
    {
        QList<JournalRow> rows;
        for (int row = 1; row <= document.GetDatacount(); ++row)
            rows.append({document.TextMatrix(row, 1), document.TextMatrix(row, 2), document.TextMatrix(row, 3),
                         DataDocument::IsReadingValue(document.TextMatrix(row, 2)), document.rawText(row)});
        return rows;
    }
    QTemporaryDir home;
};

TEST_F(JournalRecordingTest, EveryRowIsInTheJournalAndTheJournalGoesWithTheSave)
{
    meter.readingReplies = {ScriptedMeter::line(QStringLiteral("RR,N,+01.500 VDC")),
                            ScriptedMeter::line(QStringLiteral("RR,O,+0.L   kOHM"))};
    meter.silentRequests = {2};
    DataDocument* document = startRecording(seconds(1), seconds(3));
    ASSERT_EQ(journals().size(), 1);
    const QString path = realtime.journalPath(document);
    ASSERT_FALSE(path.isEmpty());
    runToEnd(10);
    ASSERT_EQ(document->GetDatacount(), 4);

    // The journal outlives the recording until the document is saved; a later restore sees
    // exactly what the document holds.
    ASSERT_TRUE(QFileInfo::exists(path));
    EXPECT_EQ(journals().size(), 1);
    {
        HeadlessHost otherHost;
        otherHost.setQuestionAnswer(PromptAnswer::Yes);
        Comm otherComm(&otherHost.prompter());
        Realtime other(otherComm, otherHost);
        other.setJournalFolder(home.path());
        EXPECT_EQ(other.restoreInterruptedRecordings(), 0); // its owner is alive: not touched
    }
    realtime.releaseJournal(document); // after a successful save
    EXPECT_FALSE(QFileInfo::exists(path));
    EXPECT_TRUE(journals().isEmpty());
    EXPECT_TRUE(QDir(home.path()).entryList(QDir::Files).isEmpty());
}

TEST_F(RealtimeTest, ALowerDocumentLimitEndsTheRecordingWhenReached)
{
    realtime.setDocumentLimit(3);
    DataDocument* document = startRecording(seconds(1), std::nullopt);
    EXPECT_EQ(document->progressMaximum(), 3); // what the document can still hold
    runToEnd(10);
    ASSERT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_EQ(realtime.lastEnd(), RealtimeEnd::PeriodOver);
    EXPECT_EQ(document->GetDatacount(), 3);
    // Out of range limits are brought back to 1 .. MaxReadings.
    realtime.setDocumentLimit(0);
    EXPECT_EQ(realtime.documentLimit(), 1);
    realtime.setDocumentLimit(MaxReadings + 1);
    EXPECT_EQ(realtime.documentLimit(), MaxReadings);
}

TEST_F(JournalRecordingTest, AFullDocumentHandedOverGoesOnInTheNextDocument)
{
    // Limit 2, interval 1 s, period 4 s: samples at 0 .. 4 s, five in all: 2 + 2 + 1.
    realtime.setDocumentLimit(2);
    std::vector<std::unique_ptr<DataDocument>> made;
    QList<const DataDocument*> handedOver;
    QStringList journalsWhenFull;
    realtime.setDocumentFullHandler([&](DataDocument& full) -> DataDocument* {
        handedOver.append(&full);
        EXPECT_EQ(full.GetDatacount(), 2);
        journalsWhenFull.append(realtime.journalPath(&full));
        realtime.releaseJournal(&full); // as after a successful save
        auto next = std::make_unique<DataDocument>();
        next->OpenNew(DataKinds::Realtime);
        next->SetInterval(QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("01"));
        next->SetPeriod(false, QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("04"));
        made.push_back(std::move(next));
        return made.back().get();
    });
    DataDocument* first = startRecording(seconds(1), seconds(4));
    ASSERT_EQ(programState().CommState, CommStates::Realtime);
    runToEnd(20);
    ASSERT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_EQ(realtime.lastEnd(), RealtimeEnd::PeriodOver);

    // Two documents filled and were handed over; the third holds the last sample.
    ASSERT_EQ(handedOver.size(), 2);
    ASSERT_EQ(made.size(), 2u);
    EXPECT_EQ(handedOver[0], first);
    EXPECT_EQ(handedOver[1], made[0].get());
    EXPECT_EQ(programState().RealtimeDoc, made[1].get());
    QStringList labels;
    QStringList values;
    for (const DataDocument* document : {first, made[0].get(), made[1].get()}) {
        for (int row = 1; row <= document->GetDatacount(); ++row) {
            labels << document->TextMatrix(row, 1);
            values << document->TextMatrix(row, 2);
        }
    }
    EXPECT_EQ(first->GetDatacount(), 2);
    EXPECT_EQ(made[0]->GetDatacount(), 2);
    EXPECT_EQ(made[1]->GetDatacount(), 1);
    // One sample a second from the first boundary after the start, without a gap or a
    // repeat across the documents; the k-th sample is the answer to the k-th request.
    EXPECT_EQ(labels, (QStringList{label(12, 0, 1), label(12, 0, 2), label(12, 0, 3), label(12, 0, 4), label(12, 0, 5)}));
    for (int k = 0; k < values.size(); ++k)
        EXPECT_EQ(values[k], GetValueText(ScriptedMeter::indexReading(k))) << k;

    // Each full document had its own journal, released by the handler; the last one has
    // its journal until it is saved.
    ASSERT_EQ(journalsWhenFull.size(), 2);
    EXPECT_FALSE(journalsWhenFull[0].isEmpty());
    EXPECT_NE(journalsWhenFull[0], journalsWhenFull[1]);
    EXPECT_FALSE(QFileInfo::exists(journalsWhenFull[0]));
    EXPECT_FALSE(QFileInfo::exists(journalsWhenFull[1]));
    ASSERT_EQ(journals().size(), 1);
    realtime.releaseJournal(made[1].get());
    EXPECT_TRUE(journals().isEmpty());
    programState().RealtimeDoc = nullptr;
    programState().CurrentDoc = nullptr;
}

TEST_F(RealtimeTest, AHandlerThatGivesNoDocumentEndsTheRecording)
{
    realtime.setDocumentLimit(2);
    int calls = 0;
    realtime.setDocumentFullHandler([&](DataDocument&) -> DataDocument* {
        ++calls;
        return nullptr; // e.g. the full document could not be saved
    });
    DataDocument* document = startRecording(seconds(1), std::nullopt);
    runToEnd(10);
    ASSERT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(realtime.lastEnd(), RealtimeEnd::PeriodOver);
    EXPECT_EQ(document->GetDatacount(), 2);
    EXPECT_EQ(programState().RealtimeDoc, document);
}

TEST_F(JournalRecordingTest, ARestoreRebuildsWhatWasRecorded)
{
    std::unique_ptr<HeadlessHost> crashedHost = std::make_unique<HeadlessHost>();
    QList<JournalRow> recorded;
    QString path;
    {
        // A program that records and then ends without saving or removing its journal: its
        // journal object is let go, as at a crash (the lock goes with the process).
        Comm crashedComm(&crashedHost->prompter());
        crashedComm.setCommPort(meter.devicePath());
        auto crashed = std::make_unique<Realtime>(crashedComm, *crashedHost);
        crashed->setClock(&clock);
        crashed->setAutomaticTicks(false);
        crashed->setJournalFolder(home.path());
        DataDocument* document = crashedHost->newDocument(DataKinds::Realtime);
        document->SetInterval(QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("01"));
        crashed->mnuRealtimeStart();
        ASSERT_EQ(programState().CommState, CommStates::Realtime);
        for (int i = 0; i < 4; ++i) {
            clock.advance(1000);
            const int before = meter.readingRequests();
            crashed->tmRealtime_Timer();
            ASSERT_TRUE(waitFor([&] { return meter.readingRequests() > before; }, 5s));
            ASSERT_TRUE(waitFor([&] { return programState().RecvBuffer == QString::fromLatin1(meter.lastReply()); }, 5s));
        }
        recorded = rowsOf(*document);
        ASSERT_EQ(recorded.size(), 3);
        path = crashed->journalPath(document);
        // Still recording when it "crashes": the destructor keeps a running recording's journal.
        crashed.reset();
        crashedComm.closePort();
    }
    programState().CommState = CommStates::Idle;
    ASSERT_TRUE(QFileInfo::exists(path));

    host.setQuestionAnswer(PromptAnswer::Yes);
    EXPECT_EQ(realtime.restoreInterruptedRecordings(), 1);
    ASSERT_EQ(host.questions().size(), 1);
    EXPECT_TRUE(host.questions().first().contains(QStringLiteral("3 readings")));
    ASSERT_EQ(host.documents().size(), 1u);
    DataDocument* restored = host.documents().front().get();
    EXPECT_EQ(restored->kind(), DataKinds::Realtime);
    EXPECT_EQ(rowsOf(*restored), recorded);
    EXPECT_EQ(restored->GetIntervalcount(), 1);
    EXPECT_TRUE(restored->GetPeriodnone());
    EXPECT_EQ(programState().MeterModel, QStringLiteral("1"));
    // Kept until the restored document is saved or closed.
    EXPECT_EQ(realtime.journalPath(restored), path);
    EXPECT_TRUE(QFileInfo::exists(path));
    realtime.releaseJournal(restored);
    EXPECT_FALSE(QFileInfo::exists(path));
}

TEST_F(JournalRecordingTest, DiscardingALeftOverRemovesIt)
{
    {
        auto journal = RecordingJournal::create(home.path(), nullptr);
        ASSERT_TRUE(journal);
        JournalStart start;
        start.interval = seconds(1);
        ASSERT_TRUE(journal->writeStart(start));
        ASSERT_TRUE(journal->appendRow({QStringLiteral("10:00:00"), QStringLiteral("1"), QStringLiteral("VDC"), true,
                                        QStringLiteral("1")}));
    } // let go without removing: a left-over
    ASSERT_EQ(journals().size(), 1);
    host.setQuestionAnswer(PromptAnswer::No);
    EXPECT_EQ(realtime.restoreInterruptedRecordings(), 0);
    EXPECT_EQ(host.questions().size(), 1);
    EXPECT_TRUE(host.documents().empty());
    EXPECT_TRUE(QDir(home.path()).entryList(QDir::Files).isEmpty());
}

TEST_F(JournalRecordingTest, ALeftOverWithoutRowsGoesWithoutAQuestion)
{
    {
        auto journal = RecordingJournal::create(home.path(), nullptr);
        ASSERT_TRUE(journal);
        ASSERT_TRUE(journal->writeStart(JournalStart{}));
    }
    EXPECT_EQ(realtime.restoreInterruptedRecordings(), 0);
    EXPECT_TRUE(host.questions().isEmpty());
    EXPECT_TRUE(QDir(home.path()).entryList(QDir::Files).isEmpty());
}

TEST_F(JournalRecordingTest, ARecordingContinuedInTheSameDocumentKeepsOneJournal)
{
    DataDocument* document = startRecording(seconds(1), seconds(1));
    runToEnd(10);
    ASSERT_EQ(document->GetDatacount(), 2);
    const QString path = realtime.journalPath(document);
    realtime.mnuRealtimeStart();
    runToEnd(10);
    ASSERT_EQ(document->GetDatacount(), 4);
    EXPECT_EQ(realtime.journalPath(document), path);
    EXPECT_EQ(journals().size(), 1);
    // What a restore would get.
    realtime.keepJournal(document);
    auto found = RecordingJournal::takeLeftovers(home.path());
    ASSERT_EQ(found.size(), 1u);
    const auto contents = found[0]->read(nullptr);
    ASSERT_TRUE(contents);
    EXPECT_EQ(contents->rows, rowsOf(*document));
}

TEST_F(JournalRecordingTest, ADocumentWithRowsFromBeforeIsJournalledWhole)
{
    DataDocument* document = makeDocument(seconds(1), seconds(1));
    fill(*document, 3);
    realtime.mnuRealtimeStart();
    runToEnd(10);
    ASSERT_EQ(document->GetDatacount(), 5);
    realtime.keepJournal(document);
    auto found = RecordingJournal::takeLeftovers(home.path());
    ASSERT_EQ(found.size(), 1u);
    const auto contents = found[0]->read(nullptr);
    ASSERT_TRUE(contents);
    EXPECT_EQ(contents->rows, rowsOf(*document));
}

TEST_F(JournalRecordingTest, ClosingTheDocumentRemovesItsJournal)
{
    auto document = std::make_unique<DataDocument>();
    document->OpenNew(DataKinds::Realtime);
    document->SetInterval(QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("01"));
    document->SetPeriod(false, QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("01"));
    host.setActiveDocument(document.get());
    realtime.mnuRealtimeStart();
    runToEnd(10);
    ASSERT_EQ(document->GetDatacount(), 2);
    ASSERT_EQ(journals().size(), 1);
    document.reset();
    EXPECT_TRUE(journals().isEmpty());
}

TEST_F(JournalRecordingTest, ACleanExitLeavesNoJournal)
{
    {
        Realtime second(comm, host);
        second.setClock(&clock);
        second.setAutomaticTicks(false);
        second.setJournalFolder(home.path());
        makeDocument(seconds(1), seconds(1));
        second.mnuRealtimeStart();
        int n = 0;
        while (programState().CommState != CommStates::Idle && n++ < 10) {
            clock.advance(1000);
            const int before = meter.readingRequests();
            second.tmRealtime_Timer();
            if (programState().CommState == CommStates::Realtime) {
                ASSERT_TRUE(waitFor([&] {
                    return meter.readingRequests() > before
                        && programState().RecvBuffer == QString::fromLatin1(meter.lastReply());
                }, 5s));
            }
        }
        ASSERT_EQ(journals().size(), 1);
    }
    EXPECT_TRUE(journals().isEmpty());
}

TEST_F(JournalRecordingTest, AJournalThatCannotBeWrittenIsReportedAndRecordingGoesOn)
{
    realtime.setJournalFolder(home.filePath(QStringLiteral("missing")));
    DataDocument* document = startRecording(seconds(1), seconds(2));
    EXPECT_TRUE(host.statusMessage().contains(QStringLiteral("without a journal"))) << host.statusMessage().toStdString();
    runToEnd(10);
    EXPECT_EQ(document->GetDatacount(), 3);
    EXPECT_EQ(realtime.lastEnd(), RealtimeEnd::PeriodOver);
}

} // namespace
