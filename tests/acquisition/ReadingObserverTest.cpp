// What acquisition tells its host's reading observer (the publishing to a message broker
// listens there): what the link is busy with, and every reading as the program shows it,
// with the second it belongs to. Recording and monitor mode run on a clock the test moves,
// downloads against the meter simulator.

#include "AcquisitionTestSupport.h"

#include "acquisition/Download.h"
#include "acquisition/HeadlessHost.h"
#include "acquisition/ReadingObserver.h"
#include "acquisition/Realtime.h"
#include "document/DataDocument.h"
#include "link/Comm.h"
#include "link/ReadingDecoder.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "support/TestHelpers.h"

#include "metersim/MeterSimulator.h"

#include <gtest/gtest.h>

#include <memory>

using namespace quvo;
using namespace quvo::test;
using namespace std::chrono_literals;

namespace {

class ObserverLog : public ReadingObserver {
public:
    QList<MeterActivity> activities;
    QList<TakenReading> readings;
    void activityChanged(MeterActivity activity) override { activities.append(activity); }
    void readingTaken(const TakenReading& reading) override { readings.append(reading); }
};

QDateTime at(int h, int m, int s)
{
    return QDateTime(QDate(2024, 3, 5), QTime(h, m, s));
}

// The texts of the answer to the request with this index, as the Monitor shows them.
void expectMonitorReading(const TakenReading& r, int request, const QDateTime& time)
{
    const QString line = QString::fromLatin1(ScriptedMeter::line(ScriptedMeter::indexReading(request)).chopped(2));
    EXPECT_EQ(r.kind, ReadingKind::Monitor);
    EXPECT_EQ(r.time, time);
    EXPECT_EQ(r.text, MonitorText(line));
    EXPECT_EQ(r.number, GetValueText(ScriptedMeter::indexReading(request)));
    EXPECT_EQ(r.unit, QStringLiteral("VDC"));
    EXPECT_FALSE(r.row.has_value());
    EXPECT_TRUE(r.timeText.isEmpty());
}

class ObservedRealtimeTest : public SteppedRealtimeTest {
protected:
    void SetUp() override
    {
        SteppedRealtimeTest::SetUp();
        host.setReadingObserver(&observer);
    }

    ObserverLog observer;
};

} // namespace

TEST(ReadingTimes, ALabelStandsForItsTimeOnTheLatestDayNotAfterNow)
{
    EXPECT_EQ(labelledTime(QStringLiteral("12:00:05"), QDateTime(QDate(2024, 3, 5), QTime(12, 0, 6, 300))),
              at(12, 0, 5));
    // Read just after midnight, a label of the evening before belongs to the day before.
    EXPECT_EQ(labelledTime(QStringLiteral("23:59:59"), QDateTime(QDate(2024, 3, 6), QTime(0, 0, 1))),
              at(23, 59, 59));
    EXPECT_EQ(labelledTime(QStringLiteral("12:00:06"), at(12, 0, 6)), at(12, 0, 6));
    // A text that is no time stands for the present second.
    EXPECT_EQ(labelledTime(QStringLiteral("ERROR"), QDateTime(QDate(2024, 3, 5), QTime(8, 1, 2, 999))), at(8, 1, 2));
    EXPECT_EQ(wholeSecond(QDateTime(QDate(2024, 3, 5), QTime(8, 1, 2, 999))), at(8, 1, 2));
}

TEST(ReadingTimes, AnAnswerIsReadAsTheMonitorShowsIt)
{
    const QString overload = QString::fromLatin1(ScriptedMeter::line(QStringLiteral("RR,O,+0.L   MOHM")).chopped(2));
    const TakenReading r = readingOfAnswer(overload, at(9, 0, 0));
    EXPECT_EQ(r.kind, ReadingKind::Monitor);
    EXPECT_EQ(r.text, MonitorText(overload));
    EXPECT_TRUE(r.number.isEmpty()); // an overload is no number
    EXPECT_EQ(r.value, QStringLiteral("+OL")); // as a document row would hold it
    EXPECT_EQ(r.unit, QStringLiteral("OHM"));
    const TakenReading error = readingOfAnswer(ErrorReading, at(9, 0, 0));
    EXPECT_EQ(error.text, ErrorReading);
    EXPECT_TRUE(error.number.isEmpty());
    EXPECT_EQ(error.value, ErrorReading);
    EXPECT_TRUE(error.unit.isEmpty());
}

TEST_F(ObservedRealtimeTest, ARecordingReportsEveryRowAndTheSecondsBetweenAsMonitorReadings)
{
    DataDocument* document = host.newDocument(DataKinds::Realtime);
    document->SetInterval(QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("02"));
    document->SetPeriod(false, QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("04"));
    realtime.mnuRealtimeStart();
    ASSERT_EQ(observer.activities, QList<MeterActivity>{MeterActivity::Recording});
    for (int i = 0; i < 10 && programState().CommState != CommStates::Idle; ++i)
        second();
    ASSERT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_EQ(observer.activities, (QList<MeterActivity>{MeterActivity::Recording, MeterActivity::Idle}));

    // Samples at seconds 0, 2, 4 (labels 12:00:01, :03, :05); the answers of seconds 1 and 3
    // are shown only, and reported as monitor readings of the second they were asked for.
    ASSERT_EQ(document->GetDatacount(), 3);
    ASSERT_EQ(observer.readings.size(), 5);
    const QList<int> rowAt = {0, -1, 1, -1, 2};
    for (int k = 0; k < 5; ++k) {
        const TakenReading& r = observer.readings[k];
        if (rowAt[k] < 0) {
            expectMonitorReading(r, k, at(12, 0, 1 + k));
            continue;
        }
        const int row = rowAt[k] + 1;
        EXPECT_EQ(r.kind, ReadingKind::Realtime) << k;
        EXPECT_EQ(r.time, at(12, 0, 1 + k)) << k;
        EXPECT_EQ(r.timeText, document->TextMatrix(row, 1)) << k;
        EXPECT_EQ(r.row, row) << k;
        EXPECT_EQ(r.text, document->TextMatrix(row, 2)) << k;
        EXPECT_EQ(r.number, GetValueText(ScriptedMeter::indexReading(k))) << k;
        EXPECT_EQ(r.unit, QStringLiteral("VDC")) << k;
    }
}

TEST_F(ObservedRealtimeTest, AMissedSampleIsReportedAsItsErrorRow)
{
    DataDocument* document = host.newDocument(DataKinds::Realtime);
    document->SetInterval(QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("01"));
    document->SetPeriod(true, QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"));
    realtime.mnuRealtimeStart();
    second();  // the first request
    second();  // row 1
    second(3); // row 2 is the answer; seconds 2 and 3 were missed: two "ERROR" rows
    ASSERT_EQ(document->GetDatacount(), 4);
    ASSERT_EQ(observer.readings.size(), 4);
    for (int row = 3; row <= 4; ++row) {
        const TakenReading& r = observer.readings[row - 1];
        EXPECT_EQ(r.kind, ReadingKind::Realtime);
        EXPECT_EQ(r.row, row);
        EXPECT_EQ(r.text, ErrorReading);
        EXPECT_TRUE(r.number.isEmpty());
        EXPECT_EQ(r.time, at(12, 0, row)); // its label's second
    }
    realtime.mnuRealtimeStop();
    second();
    EXPECT_EQ(observer.activities.last(), MeterActivity::Idle);
}

TEST_F(ObservedRealtimeTest, MonitorModeReportsEachAnswerAndTheErrorOfALateTick)
{
    realtime.mnuMoniterStart();
    ASSERT_EQ(observer.activities, QList<MeterActivity>{MeterActivity::Monitoring});
    second(); // the first request, at 12:00:01
    second(); // its answer
    second(); // the next
    ASSERT_EQ(observer.readings.size(), 2);
    expectMonitorReading(observer.readings[0], 0, at(12, 0, 1));
    expectMonitorReading(observer.readings[1], 1, at(12, 0, 2));
    second(3); // late: the answer, then "ERROR", as the Monitor shows them
    ASSERT_EQ(observer.readings.size(), 4);
    expectMonitorReading(observer.readings[2], 2, at(12, 0, 3));
    EXPECT_EQ(observer.readings[3].text, ErrorReading);
    EXPECT_EQ(observer.readings[3].time, at(12, 0, 3));
    realtime.mnuMoniterStop();
    second();
    EXPECT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_EQ(observer.activities, (QList<MeterActivity>{MeterActivity::Monitoring, MeterActivity::Idle}));
}

TEST_F(ObservedRealtimeTest, WithoutAnObserverNothingIsReported)
{
    host.setReadingObserver(nullptr);
    realtime.mnuMoniterStart();
    second();
    second();
    realtime.mnuMoniterStop();
    second();
    EXPECT_TRUE(observer.activities.isEmpty());
    EXPECT_TRUE(observer.readings.isEmpty());
}

namespace {

class ObservedDownloadTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        resetProgramState();
        comm.setAnswerTimeoutMs(2000);
        host.setReadingObserver(&observer);
    }
    void TearDown() override
    {
        comm.closePort();
        simulator.reset();
        resetProgramState();
    }
    void startSimulator(QChar model, int loggingCount, bool silent = false)
    {
        sim::SimulatorOptions options;
        options.model = model;
        options.loggingCount = loggingCount;
        options.loggingIntervalSeconds = 7;
        options.silent = silent;
        simulator = std::make_unique<sim::SimulatorThread>(options);
        QString error;
        ASSERT_TRUE(simulator->start(&error)) << error.toStdString();
        comm.setCommPort(simulator->devicePath());
    }
    DataDocument* document() const { return host.documents().empty() ? nullptr : host.documents().back().get(); }

    // Every reading reported is the document's row with the same number, as the table shows it.
    void expectRowsAsShown(ReadingKind kind, const QDateTime& before, const QDateTime& after)
    {
        DataDocument* doc = document();
        ASSERT_NE(doc, nullptr);
        ASSERT_EQ(observer.readings.size(), doc->GetDatacount());
        for (int i = 0; i < observer.readings.size(); ++i) {
            const TakenReading& r = observer.readings[i];
            const int row = i + 1;
            EXPECT_EQ(r.kind, kind) << i;
            EXPECT_EQ(r.row, doc->TextMatrix(row, 0).toInt()) << i;
            EXPECT_EQ(r.timeText, doc->TextMatrix(row, 1)) << i;
            EXPECT_EQ(r.text, doc->TextMatrix(row, 2)) << i;
            EXPECT_EQ(r.unit, doc->TextMatrix(row, 3)) << i;
            EXPECT_EQ(r.number, DataDocument::IsReadingValue(r.text) ? r.text : QString()) << i;
            EXPECT_EQ(r.value, r.text) << i;
            EXPECT_GE(r.time, wholeSecond(before)) << i;
            EXPECT_LE(r.time, after) << i;
        }
    }

    HeadlessHost host;
    Comm comm{&host.prompter()};
    Download download{comm, host};
    ObserverLog observer;
    std::unique_ptr<sim::SimulatorThread> simulator;
};

} // namespace

TEST_F(ObservedDownloadTest, EveryLoggingRecordIsReportedWithItsRowAndElapsedTime)
{
    startSimulator(QLatin1Char('1'), 3);
    const QDateTime before = QDateTime::currentDateTime();
    download.mnuDataLoging();
    ASSERT_EQ(download.lastOutcome(), DownloadOutcome::Succeeded);
    EXPECT_EQ(observer.activities, (QList<MeterActivity>{MeterActivity::Downloading, MeterActivity::Idle}));
    expectRowsAsShown(ReadingKind::Logging, before, QDateTime::currentDateTime());
    ASSERT_EQ(observer.readings.size(), 3);
    EXPECT_EQ(observer.readings[1].timeText, QStringLiteral("00:00:07"));
    EXPECT_EQ(observer.readings[2].row, 3);
}

TEST_F(ObservedDownloadTest, PaddingRowsAreNotReportedOnlyTheRecords)
{
    // Model "4" adds 20 padding records before the records and numbers its rows from 0.
    startSimulator(QLatin1Char('4'), 2);
    const QDateTime before = QDateTime::currentDateTime();
    download.mnuDataLoging();
    ASSERT_EQ(download.lastOutcome(), DownloadOutcome::Succeeded);
    ASSERT_EQ(observer.readings.size(), 2);
    expectRowsAsShown(ReadingKind::Logging, before, QDateTime::currentDateTime());
    EXPECT_EQ(observer.readings[0].row, 0);
    EXPECT_EQ(observer.readings[1].row, 1);
}

TEST_F(ObservedDownloadTest, EverySaveSlotIsReportedEmptySlotsToo)
{
    startSimulator(QLatin1Char('1'), 0);
    const QDateTime before = QDateTime::currentDateTime();
    download.mnuDataSave();
    ASSERT_EQ(download.lastOutcome(), DownloadOutcome::Succeeded);
    expectRowsAsShown(ReadingKind::Save, before, QDateTime::currentDateTime());
    ASSERT_EQ(observer.readings.size(), 50);
    EXPECT_TRUE(observer.readings[1].text.isEmpty()); // slot 2 is empty: every third slot is filled
    EXPECT_TRUE(observer.readings[1].number.isEmpty());
    EXPECT_FALSE(observer.readings[0].number.isEmpty());
    EXPECT_EQ(observer.activities, (QList<MeterActivity>{MeterActivity::Downloading, MeterActivity::Idle}));
}

TEST_F(ObservedDownloadTest, AFailedDownloadStillEndsIdle)
{
    // The meter never answers: the start sequence fails after its attempts.
    startSimulator(QLatin1Char('1'), 3, true);
    comm.setAnswerTimeoutMs(100);
    download.mnuDataLoging();
    ASSERT_EQ(download.lastOutcome(), DownloadOutcome::Failed);
    EXPECT_EQ(observer.activities, (QList<MeterActivity>{MeterActivity::Downloading, MeterActivity::Idle}));
    EXPECT_TRUE(observer.readings.isEmpty());
}
