// Realtime recording and monitor mode in real time: the computer's clock, the product's
// timers, the meter simulator on a pseudo-terminal.

#include "AcquisitionTestSupport.h"

#include "acquisition/HeadlessHost.h"
#include "acquisition/Realtime.h"
#include "document/DataDocument.h"
#include "link/Comm.h"
#include "link/ReadingDecoder.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/TimeText.h"
#include "support/TestHelpers.h"

#include "metersim/MeterSimulator.h"

#include <gtest/gtest.h>

using namespace quvo;
using namespace quvo::test;
using namespace std::chrono_literals;

namespace {

class RealtimeSimulatorTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        resetProgramState();
        QString error;
        ASSERT_TRUE(simulator.start(&error)) << error.toStdString();
        comm.setCommPort(simulator.devicePath());
        host.setMonitor(&monitor);
    }
    void TearDown() override
    {
        comm.closePort();
        resetProgramState();
    }

    sim::SimulatorThread simulator{sim::SimulatorOptions{}};
    HeadlessHost host;
    RecordingMonitor monitor;
    Comm comm{&host.prompter()};
    Realtime realtime{comm, host};
};

TEST_F(RealtimeSimulatorTest, AShortRecordingAtIntervalOne)
{
    DataDocument* document = host.newDocument(DataKinds::Realtime);
    document->SetInterval(QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("01"));
    document->SetPeriod(false, QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("03"));
    realtime.mnuRealtimeStart();
    ASSERT_EQ(programState().CommState, CommStates::Realtime);
    ASSERT_TRUE(waitFor([] { return programState().CommState == CommStates::Idle; }, 15s));
    EXPECT_EQ(realtime.lastEnd(), RealtimeEnd::PeriodOver);

    // Period 3 s at 1 s: samples at seconds 0, 1, 2 and 3, one second apart.
    ASSERT_EQ(document->GetDatacount(), 4);
    for (int row = 1; row <= 4; ++row) {
        EXPECT_EQ(document->TextMatrix(row, 1), addToTimeLabel(document->TextMatrix(1, 1), 0, 0, 0, row - 1)) << row;
        EXPECT_TRUE(DataDocument::IsReadingValue(document->TextMatrix(row, 2))) << document->TextMatrix(row, 2).toStdString();
        EXPECT_EQ(document->TextMatrix(row, 3), QStringLiteral("VDC"));
    }
    // Every recorded answer was shown on the Monitor as well.
    ASSERT_EQ(monitor.answers.size(), 4);
    for (int k = 0; k < 4; ++k)
        EXPECT_EQ(MonitorText(monitor.answers[k]), document->TextMatrix(k + 1, 2) + QStringLiteral("VDC")) << k;

    ASSERT_TRUE(waitFor([&] { return simulator.commandLog().endsWith(QStringLiteral("PL,0")); }, 5s));
    EXPECT_EQ(simulator.commandLog(),
              (QStringList{QStringLiteral("SC,123"), QStringLiteral("PL,1"), QStringLiteral("RM"), QStringLiteral("RR,1"),
                           QStringLiteral("RR,1"), QStringLiteral("RR,1"), QStringLiteral("RR,1"), QStringLiteral("PL,0")}));
    EXPECT_FALSE(comm.PortOpen());
}

TEST_F(RealtimeSimulatorTest, MonitorModeForAFewSeconds)
{
    realtime.mnuMoniterStart();
    ASSERT_EQ(programState().CommState, CommStates::Monitor);
    ASSERT_TRUE(waitFor([&] { return monitor.answers.size() >= 3; }, 10s));
    realtime.mnuMoniterStop();
    ASSERT_TRUE(waitFor([] { return programState().CommState == CommStates::Idle; }, 5s));
    EXPECT_EQ(realtime.lastEnd(), RealtimeEnd::Stopped);
    for (const QString& answer : monitor.answers)
        EXPECT_TRUE(MonitorText(answer).endsWith(QStringLiteral("VDC"))) << answer.toStdString();
    ASSERT_TRUE(waitFor([&] { return simulator.commandLog().endsWith(QStringLiteral("PL,0")); }, 5s));
    EXPECT_EQ(simulator.commandLog().count(QStringLiteral("RR,1")), monitor.answers.size());
    EXPECT_FALSE(comm.PortOpen());
}

} // namespace
