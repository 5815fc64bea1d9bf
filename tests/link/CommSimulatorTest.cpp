// The meter link against the meter simulator on a real pseudo-terminal: the exchange as the
// meter really makes it (echo, check character, faults).

#include "link/Comm.h"

#include "link/ReadingDecoder.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/ResID.h"
#include "support/ScriptedPrompter.h"
#include "support/TestHelpers.h"

#include <QMap> // before the simulator header, which uses it

#include "MeterSimulator.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTimer>

#include <gtest/gtest.h>

#include <memory>

using namespace quvo;
using namespace std::chrono_literals;

namespace {

constexpr int LongTimeoutMs = 20000;
constexpr qint64 WellUnderLongTimeoutMs = LongTimeoutMs / 2;

class CommSimulatorTest : public ::testing::Test {
protected:
    void SetUp() override { resetProgramState(); }
    void TearDown() override
    {
        if (comm)
            comm->closePort();
        comm.reset();
        simulator.reset();
        resetProgramState();
    }

    // Starts a simulator with these options and opens the link to it.
    void startSimulator(const sim::SimulatorOptions& options)
    {
        simulator = std::make_unique<sim::SimulatorThread>(options);
        QString error;
        ASSERT_TRUE(simulator->start(&error)) << error.toStdString();
        comm = std::make_unique<Comm>(&prompter);
        comm->setCommPort(simulator->devicePath());
        ASSERT_TRUE(comm->OpenPort()) << programState().LastError.toStdString();
    }

    QStringList commandsSeen(int count)
    {
        test::waitFor([&] { return simulator->commandCount() >= count; }, 5s);
        return simulator->commandLog();
    }

    test::ScriptedPrompter prompter;
    std::unique_ptr<sim::SimulatorThread> simulator;
    std::unique_ptr<Comm> comm;
};

} // namespace

TEST_F(CommSimulatorTest, TheEchoIsSkippedAndTheAnswerLineKept)
{
    sim::SimulatorOptions options;
    options.model = QLatin1Char('4');
    startSimulator(options);
    programState().CommState = CommStates::Download;
    ASSERT_TRUE(comm->SendCommand(Commands::Model, 5));
    QString answer = programState().RecvBuffer;
    EXPECT_TRUE(VerifyChecksum(answer)) << answer.toStdString();
    EXPECT_TRUE(answer.startsWith(QStringLiteral("RM,")));
    EXPECT_EQ(answer.mid(3, 1), QStringLiteral("4")); // the model, 4th character
    EXPECT_EQ(commandsSeen(1), QStringList{QStringLiteral("RM")});
}

TEST_F(CommSimulatorTest, ALiveReadingDecodes)
{
    sim::SimulatorOptions options;
    options.function = QStringLiteral("VDC");
    startSimulator(options);
    programState().CommState = CommStates::MonitorCommand;
    ASSERT_TRUE(comm->SendCommand(Commands::Reading, 1));
    const QString answer = programState().RecvBuffer;
    EXPECT_EQ(answer.size(), 17) << answer.toStdString(); // 16 characters and the check
    const RealtimeAnswer row = ParseRealtimeAnswer(answer);
    EXPECT_TRUE(row.valid) << answer.toStdString();
    EXPECT_EQ(row.unit, QStringLiteral("VDC"));
    EXPECT_EQ(row.display, row.numeric);
    EXPECT_TRUE(MonitorText(answer).endsWith(QStringLiteral("VDC")));
}

TEST_F(CommSimulatorTest, PacedCharactersAreCollectedIntoOneAnswer)
{
    sim::SimulatorOptions options;
    options.pacing = true;
    startSimulator(options);
    programState().CommState = CommStates::RealtimeCommand;
    ASSERT_TRUE(comm->SendCommand(Commands::Reading, 1));
    EXPECT_TRUE(ParseRealtimeAnswer(programState().RecvBuffer).valid) << programState().RecvBuffer.toStdString();
}

TEST_F(CommSimulatorTest, ARejectedCommandComesBackAsCmdErr)
{
    sim::SimulatorOptions options;
    options.errorCommands = QStringList{QStringLiteral("RR")};
    startSimulator(options);
    programState().CommState = CommStates::MonitorCommand;
    ASSERT_TRUE(comm->SendCommand(Commands::Reading, 1));
    EXPECT_EQ(CheckLiveAnswer(programState().RecvBuffer).kind, LiveAnswerKind::CommandRejected);
    const RealtimeAnswer row = ParseRealtimeAnswer(programState().RecvBuffer);
    EXPECT_EQ(row.display, QStringLiteral("ERROR"));
    EXPECT_EQ(row.numeric, QStringLiteral("ERROR"));
    EXPECT_FALSE(row.valid);
}

TEST_F(CommSimulatorTest, AWrongCheckCharacterMakesAGarbledReading)
{
    sim::SimulatorOptions options;
    options.badCheckRate = 1.0;
    startSimulator(options);
    programState().CommState = CommStates::MonitorCommand;
    ASSERT_TRUE(comm->SendCommand(Commands::Reading, 1));
    const RealtimeAnswer row = ParseRealtimeAnswer(programState().RecvBuffer);
    EXPECT_EQ(row.display, QStringLiteral("ERROR"));
    EXPECT_EQ(row.numeric, QString());
    EXPECT_EQ(MonitorText(programState().RecvBuffer), QStringLiteral("ERROR"));
}

TEST_F(CommSimulatorTest, FiveAttemptsAgainstASilentMeterWriteTheCommandFiveTimes)
{
    sim::SimulatorOptions options;
    options.silent = true;
    startSimulator(options);
    comm->setAnswerTimeoutMs(150);
    programState().CommState = CommStates::Download;
    EXPECT_FALSE(comm->SendCommand(Commands::RecordCount, 5));
    EXPECT_EQ(programState().LastError, ResID(Res::TimeoutError));
    EXPECT_EQ(commandsSeen(5), QStringList(5, QStringLiteral("RN")));
}

TEST_F(CommSimulatorTest, OutsideADownloadASilentMeterGivesTrueWithAnEmptyBuffer)
{
    sim::SimulatorOptions options;
    options.silentCommands = QStringList{QStringLiteral("PL")};
    startSimulator(options);
    comm->setAnswerTimeoutMs(150);
    programState().CommState = CommStates::RealtimeCommand;
    EXPECT_TRUE(comm->SendCommand(Commands::RemoteOn, 1));
    EXPECT_EQ(programState().RecvBuffer, QString());
    EXPECT_EQ(programState().LinkState, LinkStates::TimedOut);
}

TEST_F(CommSimulatorTest, StopEndsTheWaitAtOnce)
{
    sim::SimulatorOptions options;
    options.silent = true;
    startSimulator(options);
    comm->setAnswerTimeoutMs(LongTimeoutMs);
    programState().CommState = CommStates::MonitorCommand;
    QTimer::singleShot(100, [] { programState().StopRequested = true; });
    QElapsedTimer clock;
    clock.start();
    EXPECT_FALSE(comm->SendCommand(Commands::Start, 1));
    EXPECT_LT(clock.elapsed(), WellUnderLongTimeoutMs);
}

TEST_F(CommSimulatorTest, CancelEndsTheWaitAtOnce)
{
    sim::SimulatorOptions options;
    options.silent = true;
    startSimulator(options);
    comm->setAnswerTimeoutMs(LongTimeoutMs);
    programState().CommState = CommStates::Download;
    QTimer::singleShot(100, [this] {
        comm->stopAnswerTimer();
        programState().CancelRequested = true;
    });
    QElapsedTimer clock;
    clock.start();
    EXPECT_FALSE(comm->SendCommand(Commands::Start, 5));
    EXPECT_LT(clock.elapsed(), WellUnderLongTimeoutMs);
}

TEST_F(CommSimulatorTest, UnpluggingDuringAWaitGivesFalseAndAnError)
{
    sim::SimulatorOptions options;
    options.silentCommands = QStringList{QStringLiteral("RN")};
    startSimulator(options);
    comm->setAnswerTimeoutMs(LongTimeoutMs);
    QSignalSpy lost(comm.get(), &Comm::portLost);
    programState().CommState = CommStates::Download;
    QTimer::singleShot(200, [this] { simulator->unplug(); });
    QElapsedTimer clock;
    clock.start();
    EXPECT_FALSE(comm->SendCommand(Commands::RecordCount, 5));
    EXPECT_LT(clock.elapsed(), WellUnderLongTimeoutMs);
    EXPECT_TRUE(programState().LastError.contains(QStringLiteral(" was lost: "))) << programState().LastError.toStdString();
    EXPECT_TRUE(programState().LastError.contains(simulator->devicePath()));
    EXPECT_TRUE(lost.count() == 1 || lost.wait(5000));
    EXPECT_FALSE(comm->PortOpen());
}

TEST_F(CommSimulatorTest, ADisconnectAfterSomeCommandsEndsTheExchangeWithAnError)
{
    sim::SimulatorOptions options;
    options.disconnectAfter = 2;
    startSimulator(options);
    comm->setAnswerTimeoutMs(LongTimeoutMs);
    programState().CommState = CommStates::Download;
    QElapsedTimer clock;
    clock.start();
    bool failed = false;
    for (const QString& command : {Commands::Start, Commands::RemoteOn, Commands::Model, Commands::RecordCount}) {
        if (!comm->SendCommand(command, 5)) {
            failed = true;
            break;
        }
    }
    EXPECT_TRUE(failed);
    EXPECT_LT(clock.elapsed(), WellUnderLongTimeoutMs);
    EXPECT_TRUE(programState().LastError.contains(QStringLiteral(" was lost: "))) << programState().LastError.toStdString();
}

TEST_F(CommSimulatorTest, StreamingWithTickArmedClearedLeavesTheAnswerInThePort)
{
    startSimulator(sim::SimulatorOptions{});
    ProgramState& s = programState();
    s.CommState = CommStates::Realtime;
    s.TickArmed = false;
    ASSERT_TRUE(comm->writeLine(Commands::Reading));
    // Echo "RR,1" CR LF and a 17-character reading line with CR LF.
    ASSERT_TRUE(test::waitFor([&] { return comm->bytesWaiting() == 6 + 19; }, 5s));
    EXPECT_EQ(s.RecvBuffer, QString());

    s.TickArmed = true;
    EXPECT_TRUE(comm->takePendingInput());
    EXPECT_EQ(comm->bytesWaiting(), 0);
    ASSERT_TRUE(s.RecvBuffer.startsWith(QStringLiteral("RR,1\r\n")));
    ASSERT_TRUE(s.RecvBuffer.endsWith(QStringLiteral("\r\n")));
    const QString answer = s.RecvBuffer.mid(6, 17);
    EXPECT_TRUE(ParseRealtimeAnswer(answer).valid) << answer.toStdString();
}

TEST_F(CommSimulatorTest, AnAnswerStillComingWhenThePortClosesIsNotTheNextOperationsAnswer)
{
    // A Stop ends the wait for "PL,0" at once; the meter, which takes 60 ms over its answer,
    // answers after that. The close lets the line go quiet first, so the next operation,
    // started at once, reads its own answers.
    sim::SimulatorOptions options;
    options.answerDelayMs = 60;
    startSimulator(options);
    programState().CommState = CommStates::MonitorCommand;
    programState().StopRequested = true;
    EXPECT_FALSE(comm->SendCommand(Commands::RemoteOff, 1));
    comm->closePort();
    EXPECT_GE(simulator->answerLog().size(), 1); // answered while the port was still open
    programState().StopRequested = false;

    programState().CommState = CommStates::Download;
    ASSERT_TRUE(comm->OpenPort());
    ASSERT_TRUE(comm->SendCommand(Commands::Model, 5));
    QString answer = programState().RecvBuffer;
    EXPECT_TRUE(answer.startsWith(QStringLiteral("RM,"))) << answer.toStdString();
}
