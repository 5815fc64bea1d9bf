// The meter link over a real pseudo-terminal. The far end is a PtyPeer, which writes exact
// bytes (one burst per send) and logs every byte the link wrote.

#include "link/Comm.h"

#include "link/ReadingDecoder.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/ProgressView.h"
#include "resources/ResID.h"
#include "support/ScriptedPrompter.h"
#include "support/TestHelpers.h"

#include "PtyPeer.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QFile>
#include <QSignalSpy>
#include <QTimer>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

using namespace quvo;
using namespace std::chrono_literals;

namespace {

// A progress dialog that only remembers what the link asked of it.
class RecordingProgress : public ProgressView {
public:
    QList<bool> cancelEnabled;
    void show() override {}
    void unload() override {}
    void SetCaption(const QString&) override {}
    void SetMessage(const QString&) override {}
    void RenProgress(bool, std::int16_t, std::int16_t) override {}
    void setCancelEnabled(bool enabled) override { cancelEnabled.append(enabled); }
};

// A time-out long enough that a wait which ends well before it cannot have ended by it.
constexpr int LongTimeoutMs = 20000;
constexpr qint64 WellUnderLongTimeoutMs = LongTimeoutMs / 2;

const QByteArray GoodReading = "RR,N,+01.234mVDC7"; // "RR,N,+01.234mVDC" adds up to 0x3E7

class CommTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        resetProgramState();
        QString error;
        ASSERT_TRUE(peer.open(&error)) << error.toStdString();
        comm.setCommPort(peer.devicePath());
        ASSERT_TRUE(comm.OpenPort()) << programState().LastError.toStdString();
        ASSERT_TRUE(prompter.messages.isEmpty());
    }
    void TearDown() override
    {
        comm.closePort();
        resetProgramState();
    }

    test::ScriptedPrompter prompter;
    test::PtyPeer peer;
    Comm comm{&prompter};
};

} // namespace

// --- Port naming and opening ---------------------------------------------------------------

TEST(CommPort, NumbersNameTheSerialPortsAndOtherTextIsADeviceName)
{
    EXPECT_EQ(Comm::portNameFor(QStringLiteral("1")), QStringLiteral("/dev/ttyS0"));
    EXPECT_EQ(Comm::portNameFor(QStringLiteral("16")), QStringLiteral("/dev/ttyS15"));
    // Numbers outside 1..16 are still given to the port as numbers.
    EXPECT_EQ(Comm::portNameFor(QStringLiteral("0")), QStringLiteral("/dev/ttyS-1"));
    EXPECT_EQ(Comm::portNameFor(QStringLiteral("17")), QStringLiteral("/dev/ttyS16"));
    EXPECT_EQ(Comm::portNameFor(QStringLiteral("/dev/ttyUSB0")), QStringLiteral("/dev/ttyUSB0"));
    EXPECT_EQ(Comm::portNameFor(QStringLiteral("/dev/pts/4")), QStringLiteral("/dev/pts/4"));
    EXPECT_EQ(Comm::portNameFor(QStringLiteral("COM17")), QStringLiteral("COM17"));

    Comm comm;
    EXPECT_EQ(comm.CommPort(), QStringLiteral("1"));
    EXPECT_EQ(comm.portName(), QStringLiteral("/dev/ttyS0"));
    comm.setCommPort(QStringLiteral("17"));
    EXPECT_EQ(comm.CommPort(), QStringLiteral("17"));
    EXPECT_EQ(comm.portName(), QStringLiteral("/dev/ttyS16"));
    EXPECT_EQ(comm.Settings(), QStringLiteral("9600,n,8,2"));
    EXPECT_EQ(comm.answerTimeoutMs(), AnswerTimeoutMs);
}

TEST(CommPort, AnUnopenablePortShowsTheSystemsReason)
{
    resetProgramState();
    test::ScriptedPrompter prompter;
    Comm comm(&prompter);
    comm.setCommPort(QStringLiteral("/dev/quvolink-no-such-port"));
    EXPECT_FALSE(comm.OpenPort());
    EXPECT_FALSE(comm.PortOpen());
    ASSERT_EQ(prompter.messages.size(), 1);
    const auto& box = prompter.messages.front();
    EXPECT_EQ(box.icon, PromptIcon::Exclamation);
    EXPECT_EQ(box.buttons, PromptButtons::Ok);
    // The system's reason, then (on Linux) where to look for the port.
    const QStringList lines = box.text.split(QStringLiteral("\r\n"));
    EXPECT_EQ(lines.front(), QString::fromLocal8Bit(std::strerror(ENOENT)));
#ifdef Q_OS_LINUX
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(lines[1].startsWith(QStringLiteral("There is no /dev/quvolink-no-such-port."))) << lines[1].toStdString();
    EXPECT_TRUE(lines[1].contains(QStringLiteral("ls /dev/ttyUSB*"))) << lines[1].toStdString();
#endif
    EXPECT_EQ(programState().LastError, box.text);
}

TEST(CommPort, PortNumberZeroIsTriedAndFailsWithTheSystemsReason)
{
    resetProgramState();
    test::ScriptedPrompter prompter;
    Comm comm(&prompter);
    comm.setCommPort(QStringLiteral("0"));
    EXPECT_FALSE(comm.OpenPort());
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_FALSE(prompter.messages.front().text.isEmpty());
    EXPECT_EQ(programState().LastError, prompter.messages.front().text);
}

// Runs this test case again in a copy of this program as the unprivileged user "nobody".
// The copy sits in a folder everyone may enter, because the build folder may be private.
// Skips (with the reason) when the system does not let the test become that user.
static void runPermissionCaseAsOrdinaryUser()
{
    const QString setpriv = QStandardPaths::findExecutable(QStringLiteral("setpriv"));
    if (::geteuid() != 0 || setpriv.isEmpty())
        GTEST_SKIP() << "this user may open any device, and cannot become an ordinary user";
    QTemporaryDir folder(QDir::temp().filePath(QStringLiteral("quvolink-comm-XXXXXX")));
    ASSERT_TRUE(folder.isValid());
    const auto everyone = QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner
                          | QFileDevice::ReadGroup | QFileDevice::ExeGroup | QFileDevice::ReadOther
                          | QFileDevice::ExeOther;
    ASSERT_TRUE(QFile::setPermissions(folder.path(), everyone));
    const QString copy = folder.filePath(QStringLiteral("comm-test"));
    ASSERT_TRUE(QFile::copy(QCoreApplication::applicationFilePath(), copy));
    ASSERT_TRUE(QFile::setPermissions(copy, everyone));

    QProcess child;
    child.setProcessChannelMode(QProcess::MergedChannels);
    child.setWorkingDirectory(folder.path());
    child.start(setpriv, {QStringLiteral("--reuid=65534"), QStringLiteral("--regid=65534"),
                          QStringLiteral("--clear-groups"), copy,
                          QStringLiteral("--gtest_filter=CommPort.PermissionDeniedAddsTheDialoutAdvice")});
    ASSERT_TRUE(child.waitForFinished(60000));
    const QString output = QString::fromLocal8Bit(child.readAll());
    if (!output.contains(QStringLiteral("[ RUN      ] CommPort.PermissionDeniedAddsTheDialoutAdvice")))
        GTEST_SKIP() << "the system did not run the case as an ordinary user: " << output.toStdString();
    if (output.contains(QStringLiteral("[  SKIPPED ]")))
        GTEST_SKIP() << "the ordinary user may open any device too: " << output.toStdString();
    EXPECT_EQ(child.exitCode(), 0) << output.toStdString();
    EXPECT_TRUE(output.contains(QStringLiteral("[  PASSED  ] 1 test."))) << output.toStdString();
}

TEST(CommPort, PermissionDeniedAddsTheDialoutAdvice)
{
    resetProgramState();
    test::PtyPeer peer;
    ASSERT_TRUE(peer.open());
    const QByteArray path = QFile::encodeName(peer.devicePath());
    ASSERT_EQ(::chmod(path.constData(), 0), 0);
    // Only a user the system refuses sees the message. The superuser, or a user allowed to
    // override file modes, opens the device all the same: then the case runs as "nobody".
    const int probe = ::open(path.constData(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (probe >= 0) {
        ::close(probe);
        ::chmod(path.constData(), 0620);
        runPermissionCaseAsOrdinaryUser();
        return;
    }
    test::ScriptedPrompter prompter;
    Comm comm(&prompter);
    comm.setCommPort(peer.devicePath());
    EXPECT_FALSE(comm.OpenPort());
    ::chmod(path.constData(), 0620);
    ASSERT_EQ(prompter.messages.size(), 1);
    const QStringList lines = prompter.messages.front().text.split(QStringLiteral("\r\n"));
    ASSERT_EQ(lines.size(), 2);
    EXPECT_EQ(lines[0], QString::fromLocal8Bit(std::strerror(EACCES)));
    EXPECT_TRUE(lines[1].startsWith(QStringLiteral("You are not allowed to use %1.").arg(peer.devicePath())))
        << lines[1].toStdString();
    EXPECT_TRUE(lines[1].contains(QStringLiteral("sudo usermod -aG dialout $USER")));
    EXPECT_TRUE(lines[1].contains(QStringLiteral("log out and log in again")));
}

TEST_F(CommTest, OpensWithTheMetersLineSettingsAndNoHandshake)
{
    EXPECT_TRUE(comm.PortOpen());
    termios t{};
    ASSERT_TRUE(peer.lineSettings(&t));
    EXPECT_EQ(cfgetospeed(&t), static_cast<speed_t>(B9600));
    EXPECT_EQ(cfgetispeed(&t), static_cast<speed_t>(B9600));
    EXPECT_EQ(t.c_cflag & CSIZE, static_cast<tcflag_t>(CS8));
    EXPECT_NE(t.c_cflag & CSTOPB, 0u);      // two stop bits
    EXPECT_EQ(t.c_cflag & PARENB, 0u);      // no parity
    EXPECT_EQ(t.c_cflag & CRTSCTS, 0u);     // no hardware handshake
    EXPECT_EQ(t.c_iflag & (IXON | IXOFF), 0u); // no software handshake
    // Opening an open port changes nothing and shows nothing.
    EXPECT_TRUE(comm.OpenPort());
    EXPECT_TRUE(prompter.messages.isEmpty());
    comm.closePort();
    EXPECT_FALSE(comm.PortOpen());
}

TEST_F(CommTest, AModemLineRequestThePortRefusesIsNotFatal)
{
    // A pseudo-terminal has no modem lines: asking for one is refused as an unsupported
    // operation, which must neither close the port nor disturb the exchange.
    auto* port = comm.findChild<QSerialPort*>(QStringLiteral("serialPort"));
    ASSERT_NE(port, nullptr);
    QSignalSpy errors(port, &QSerialPort::errorOccurred);
    port->setDataTerminalReady(true);
    QList<QSerialPort::SerialPortError> codes;
    for (const QList<QVariant>& e : errors)
        codes.append(e.front().value<QSerialPort::SerialPortError>());
    EXPECT_TRUE(codes.contains(QSerialPort::UnsupportedOperationError));
    EXPECT_EQ(port->error(), QSerialPort::NoError); // cleared
    EXPECT_TRUE(comm.PortOpen());

    peer.setResponder([](const QByteArray& line) { return line + "\r\n" + GoodReading + "\r\n"; });
    programState().CommState = CommStates::MonitorCommand;
    EXPECT_TRUE(comm.SendCommand(QStringLiteral("RR,1"), 1));
    EXPECT_EQ(programState().RecvBuffer, QString::fromLatin1(GoodReading));
}

// --- The handshake -------------------------------------------------------------------------

TEST_F(CommTest, EchoAndAnswerInOneBurstLeaveTheAnswerAlone)
{
    peer.setResponder([](const QByteArray& line) { return line + "\r\n" + GoodReading + "\r\n"; });
    programState().CommState = CommStates::RealtimeCommand;
    EXPECT_TRUE(comm.SendCommand(QStringLiteral("RR,1"), 1));
    EXPECT_EQ(programState().RecvBuffer, QString::fromLatin1(GoodReading));
    EXPECT_EQ(programState().LinkState, LinkStates::Complete);
    EXPECT_EQ(programState().LastCommand, QStringLiteral("RR,1"));
    EXPECT_FALSE(comm.answerTimerActive());
    EXPECT_EQ(peer.received(), QByteArray("RR,1\r\n"));
}

TEST_F(CommTest, AnAnswerInPiecesIsCollectedUntilItsLineEnd)
{
    peer.setResponder([this](const QByteArray& line) {
        QTimer::singleShot(30, [this] { peer.send("+01.234m"); });
        QTimer::singleShot(60, [this] { peer.send("VDC7\r"); });
        QTimer::singleShot(90, [this] { peer.send("\nRR,N,junk\r\n"); });
        return line + "\r\nRR,N,";
    });
    programState().CommState = CommStates::Download;
    EXPECT_TRUE(comm.SendCommand(QStringLiteral("RR,1"), 1));
    EXPECT_EQ(programState().RecvBuffer, QString::fromLatin1(GoodReading)); // the rest is dropped
}

TEST_F(CommTest, AnAnswerEqualToTheCommandIsTakenForAnEchoAndTheWaitEndsByTimeOut)
{
    comm.setAnswerTimeoutMs(300);
    peer.setResponder([](const QByteArray& line) { return line + "\r\n" + line + "\r\n"; });
    programState().CommState = CommStates::RealtimeCommand;
    EXPECT_TRUE(comm.SendCommand(QStringLiteral("SC,123"), 1)); // outside a download: true
    EXPECT_EQ(programState().LinkState, LinkStates::TimedOut);
    EXPECT_EQ(programState().RecvBuffer, QString());

    programState().CommState = CommStates::Download;
    EXPECT_FALSE(comm.SendCommand(QStringLiteral("SC,123"), 1));
    EXPECT_EQ(programState().LinkState, LinkStates::TimedOut);
    EXPECT_EQ(programState().LastError, ResID(Res::TimeoutError));
}

TEST_F(CommTest, FiveAttemptsAgainstASilentMeterWriteTheCommandFiveTimes)
{
    comm.setAnswerTimeoutMs(150);
    RecordingProgress progress;
    comm.setProgressView(&progress);
    programState().CommState = CommStates::Download;
    QElapsedTimer clock;
    clock.start();
    EXPECT_FALSE(comm.SendCommand(QStringLiteral("RN"), 5));
    EXPECT_GE(clock.elapsed(), 5 * 140); // each send waited its period (four would be 600 ms)
    EXPECT_TRUE(test::waitFor([&] { return peer.receivedLines().size() >= 5; }, 2s));
    EXPECT_EQ(peer.received(), QByteArray("RN\r\nRN\r\nRN\r\nRN\r\nRN\r\n"));
    EXPECT_EQ(programState().LastError, ResID(Res::TimeoutError));
    EXPECT_EQ(programState().LastError, QStringLiteral("Timeout error occurred."));
    EXPECT_EQ(progress.cancelEnabled, QList<bool>{false});
}

TEST_F(CommTest, AResendIsAnsweredOnItsSecondAttempt)
{
    comm.setAnswerTimeoutMs(200);
    int seen = 0;
    peer.setResponder([&](const QByteArray& line) { return ++seen == 2 ? line + "\r\nRM,46\r\n" : QByteArray(); });
    programState().CommState = CommStates::Download;
    EXPECT_TRUE(comm.SendCommand(QStringLiteral("RM"), 5));
    EXPECT_EQ(peer.lineCount("RM"), 2);
    EXPECT_EQ(programState().RecvBuffer, QStringLiteral("RM,46"));
}

TEST_F(CommTest, OutsideADownloadASilentMeterGivesTrueWithAnEmptyBuffer)
{
    comm.setAnswerTimeoutMs(100);
    for (const int state : {CommStates::Forwarding, CommStates::RealtimeForward, CommStates::Realtime,
                            CommStates::RealtimeCommand, CommStates::Monitor, CommStates::MonitorCommand,
                            CommStates::Idle}) {
        SCOPED_TRACE(state);
        programState().CommState = state;
        programState().RecvBuffer = QStringLiteral("left from before");
        EXPECT_TRUE(comm.SendCommand(QStringLiteral("PL,1"), 1));
        EXPECT_EQ(programState().RecvBuffer, QString());
        EXPECT_EQ(programState().LinkState, LinkStates::TimedOut);
    }
}

TEST_F(CommTest, InADownloadASilentMeterIsATimeOutError)
{
    comm.setAnswerTimeoutMs(100);
    RecordingProgress progress;
    comm.setProgressView(&progress);
    programState().CommState = CommStates::Download;
    EXPECT_FALSE(comm.SendCommand(QStringLiteral("SC,123"), 1));
    EXPECT_EQ(programState().LastError, ResID(56));
    EXPECT_EQ(progress.cancelEnabled, QList<bool>{false});

    comm.setProgressView(nullptr); // no dialog: nothing to switch off, same result
    EXPECT_FALSE(comm.SendCommand(QStringLiteral("SC,123"), 1));
    EXPECT_EQ(progress.cancelEnabled, QList<bool>{false});
}

TEST_F(CommTest, StopEndsAWaitAtOnceOutsideADownload)
{
    comm.setAnswerTimeoutMs(LongTimeoutMs);
    programState().CommState = CommStates::RealtimeCommand;
    QTimer::singleShot(100, [] { programState().StopRequested = true; });
    QElapsedTimer clock;
    clock.start();
    EXPECT_FALSE(comm.SendCommand(QStringLiteral("PL,1"), 5));
    EXPECT_LT(clock.elapsed(), WellUnderLongTimeoutMs);
    EXPECT_EQ(peer.received(), QByteArray("PL,1\r\n")); // not sent again
}

TEST_F(CommTest, StopDoesNotEndADownloadsWait)
{
    comm.setAnswerTimeoutMs(300);
    programState().CommState = CommStates::Download;
    programState().StopRequested = true;
    EXPECT_FALSE(comm.SendCommand(QStringLiteral("PL,1"), 1));
    EXPECT_EQ(programState().LinkState, LinkStates::TimedOut); // it waited for the time-out
    EXPECT_EQ(programState().LastError, ResID(Res::TimeoutError));
}

TEST_F(CommTest, CancelEndsADownloadsWaitAtOnce)
{
    comm.setAnswerTimeoutMs(LongTimeoutMs);
    programState().CommState = CommStates::Download;
    programState().LastError.clear();
    // What the progress dialog's Cancel does: the time-out off, the flag set.
    QTimer::singleShot(100, [this] {
        comm.stopAnswerTimer();
        programState().CancelRequested = true;
    });
    QElapsedTimer clock;
    clock.start();
    EXPECT_FALSE(comm.SendCommand(QStringLiteral("RL,001"), 5));
    EXPECT_LT(clock.elapsed(), WellUnderLongTimeoutMs);
    EXPECT_FALSE(comm.answerTimerActive());
    EXPECT_EQ(peer.received(), QByteArray("RL,001\r\n"));
    EXPECT_EQ(programState().LastError, QString()); // the canceller says why, not the link
}

TEST_F(CommTest, CancelDoesNotEndAWaitOutsideADownload)
{
    comm.setAnswerTimeoutMs(300);
    programState().CommState = CommStates::MonitorCommand;
    programState().CancelRequested = true;
    EXPECT_TRUE(comm.SendCommand(QStringLiteral("PL,0"), 1));
    EXPECT_EQ(programState().LinkState, LinkStates::TimedOut);
}

TEST_F(CommTest, APulledPlugEndsTheWaitWithAnErrorNotAHang)
{
    comm.setAnswerTimeoutMs(LongTimeoutMs);
    QSignalSpy lost(&comm, &Comm::portLost);
    peer.setResponder([this](const QByteArray&) {
        peer.hangUp();
        return QByteArray();
    });
    programState().CommState = CommStates::Download;
    QElapsedTimer clock;
    clock.start();
    EXPECT_FALSE(comm.SendCommand(QStringLiteral("RN"), 5));
    EXPECT_LT(clock.elapsed(), WellUnderLongTimeoutMs);
    const QString error = programState().LastError;
    EXPECT_TRUE(error.startsWith(QStringLiteral("The connection to the meter on ") + peer.devicePath()
                                 + QStringLiteral(" was lost: ")))
        << error.toStdString();
    // The cable and the adapter are named, and the system's reason comes last.
    EXPECT_TRUE(error.contains(QStringLiteral("cable"))) << error.toStdString();
    EXPECT_TRUE(error.contains(QStringLiteral("adapter"))) << error.toStdString();
    EXPECT_TRUE(error.endsWith(QStringLiteral(".)")));
    EXPECT_GT(error.size(), Comm::LinkLostText(peer.devicePath(), QString()).size());

    EXPECT_TRUE(lost.count() == 1 || lost.wait(5000));
    EXPECT_EQ(lost.count(), 1);
    EXPECT_FALSE(comm.PortOpen());
    EXPECT_EQ(peer.lineCount("RN"), 1);

    // The stop sequence that follows fails at once with the same reason.
    programState().LastError.clear();
    EXPECT_FALSE(comm.SendCommand(QStringLiteral("PL,0"), 5));
    EXPECT_EQ(programState().LastError, error);
    EXPECT_FALSE(comm.writeLine(QStringLiteral("RR,1")));
}

TEST_F(CommTest, APulledPlugOutsideADownloadIsAnErrorToo)
{
    comm.setAnswerTimeoutMs(LongTimeoutMs);
    QSignalSpy lost(&comm, &Comm::portLost);
    QTimer::singleShot(100, [this] { peer.hangUp(); });
    programState().CommState = CommStates::RealtimeCommand;
    EXPECT_FALSE(comm.SendCommand(QStringLiteral("SC,123"), 5));
    EXPECT_TRUE(programState().LastError.contains(QStringLiteral(" was lost: ")));
    EXPECT_TRUE(lost.count() == 1 || lost.wait(5000));
}

TEST_F(CommTest, APulledPlugWhileStreamingIsReportedBySignal)
{
    QSignalSpy lost(&comm, &Comm::portLost);
    programState().CommState = CommStates::Realtime;
    programState().TickArmed = true;
    peer.hangUp();
    EXPECT_TRUE(lost.wait(5000));
    EXPECT_FALSE(comm.PortOpen());
    EXPECT_TRUE(programState().LastError.contains(peer.devicePath()));
}

TEST_F(CommTest, SendingOnAClosedPortFailsAtOnce)
{
    comm.closePort();
    programState().CommState = CommStates::Download;
    EXPECT_FALSE(comm.SendCommand(QStringLiteral("SC,123"), 5));
    EXPECT_EQ(programState().LastError, QStringLiteral("The port %1 is not open.").arg(peer.devicePath()));
    EXPECT_FALSE(comm.writeLine(QStringLiteral("RR,1")));
}

TEST_F(CommTest, WriteLineWritesWithoutWaitingAndChangesNothingElse)
{
    ProgramState& s = programState();
    s.RecvBuffer = QStringLiteral("kept");
    s.LastCommand = QStringLiteral("PL,1");
    s.LinkState = LinkStates::Complete;
    EXPECT_TRUE(comm.writeLine(QStringLiteral("RR,1")));
    EXPECT_EQ(s.RecvBuffer, QStringLiteral("kept"));
    EXPECT_EQ(s.LastCommand, QStringLiteral("PL,1"));
    EXPECT_EQ(s.LinkState, LinkStates::Complete);
    EXPECT_FALSE(comm.answerTimerActive());
    EXPECT_TRUE(test::waitFor([&] { return peer.received().size() >= 6; }, 2s));
    EXPECT_EQ(peer.received(), QByteArray("RR,1\r\n"));
}

// --- Bounded buffers -----------------------------------------------------------------------

TEST_F(CommTest, TextWithoutLineEndsEndsAWaitAsAGarbledAnswer)
{
    comm.setAnswerTimeoutMs(LongTimeoutMs);
    peer.setResponder([](const QByteArray&) { return QByteArray(RecvBufferLimit + 5000, 'x'); });
    for (const int state : {CommStates::Download, CommStates::RealtimeCommand, CommStates::MonitorCommand}) {
        SCOPED_TRACE(state);
        programState().CommState = state;
        programState().LastError.clear();
        QElapsedTimer clock;
        clock.start();
        EXPECT_TRUE(comm.SendCommand(QStringLiteral("RL,001"), 5));
        EXPECT_LT(clock.elapsed(), WellUnderLongTimeoutMs);
        EXPECT_EQ(programState().RecvBuffer, GarbledAnswer);
        EXPECT_EQ(programState().LastError, ResID(Res::DataError));
        QString answer = programState().RecvBuffer;
        EXPECT_FALSE(VerifyChecksum(answer));
        EXPECT_EQ(ParseRealtimeAnswer(programState().RecvBuffer).display, ErrorReading);
        EXPECT_EQ(MonitorText(programState().RecvBuffer), ErrorReading);
        // The rest of the stream is dropped until the next command.
        EXPECT_TRUE(test::waitFor([&] { return peer.allSent() && comm.bytesWaiting() == 0; }, 10s));
        EXPECT_EQ(programState().RecvBuffer, GarbledAnswer);
    }
}

TEST_F(CommTest, EveryModeKeepsOnlyABoundedTailOfABigBurst)
{
    ProgramState& s = programState();
    const QByteArray tail = "RR,N,+01.234mVDC7\r\n";
    for (const int state : {CommStates::Realtime, CommStates::Monitor, CommStates::Idle, CommStates::Forwarding,
                            CommStates::RealtimeForward, CommStates::Download}) {
        SCOPED_TRACE(state);
        // Let a burst of three times the limit gather in the port, then hand it over at once.
        s.CommState = CommStates::Realtime;
        s.TickArmed = false;
        s.LinkState = LinkStates::Complete;
        s.RecvBuffer.clear();
        peer.send(QByteArray(3 * RecvBufferLimit, 'x') + tail);
        ASSERT_TRUE(test::waitFor([&] { return comm.bytesWaiting() == 3 * RecvBufferLimit + tail.size(); }, 10s));
        s.CommState = state;
        s.TickArmed = true;
        comm.OnComm(CommEvents::Receive);
        EXPECT_EQ(comm.bytesWaiting(), 0);
        EXPECT_EQ(s.RecvBuffer.size(), RecvBufferLimit);
        EXPECT_TRUE(s.RecvBuffer.endsWith(QString::fromLatin1(tail)));
    }
}

// --- The receive handler -------------------------------------------------------------------

TEST_F(CommTest, ReplaceModesKeepOnlyTheLatestText)
{
    for (const int state : {CommStates::Forwarding, CommStates::RealtimeForward, CommStates::Idle}) {
        SCOPED_TRACE(state);
        programState().CommState = state;
        programState().RecvBuffer = QStringLiteral("old");
        peer.send("abc");
        ASSERT_TRUE(test::waitFor([] { return programState().RecvBuffer == QStringLiteral("abc"); }, 2s));
        peer.send("de");
        ASSERT_TRUE(test::waitFor([] { return programState().RecvBuffer == QStringLiteral("de"); }, 2s));
    }
}

TEST_F(CommTest, StreamingModesAppendWhileTickArmed)
{
    for (const int state : {CommStates::Realtime, CommStates::Monitor}) {
        SCOPED_TRACE(state);
        programState().CommState = state;
        programState().TickArmed = true;
        programState().RecvBuffer = QStringLiteral("old,");
        peer.send("abc");
        ASSERT_TRUE(test::waitFor([] { return programState().RecvBuffer == QStringLiteral("old,abc"); }, 2s));
        peer.send("de");
        ASSERT_TRUE(test::waitFor([] { return programState().RecvBuffer == QStringLiteral("old,abcde"); }, 2s));
        EXPECT_TRUE(programState().TickArmed);
    }
}

TEST_F(CommTest, WithTickArmedClearedNothingIsReadAndTakePendingInputPicksItUpLater)
{
    for (const int state : {CommStates::Realtime, CommStates::Monitor}) {
        SCOPED_TRACE(state);
        ProgramState& s = programState();
        s.CommState = state;
        s.TickArmed = false;
        s.RecvBuffer = QStringLiteral("tick's");
        peer.send(GoodReading + "\r\n");
        // The characters reach the port and stay there.
        ASSERT_TRUE(test::waitFor([&] { return comm.bytesWaiting() == GoodReading.size() + 2; }, 2s));
        EXPECT_EQ(s.RecvBuffer, QStringLiteral("tick's"));
        comm.takePendingInput(); // still disarmed: nothing is taken
        EXPECT_EQ(s.RecvBuffer, QStringLiteral("tick's"));
        EXPECT_EQ(comm.bytesWaiting(), GoodReading.size() + 2);
        EXPECT_FALSE(s.TickArmed);

        s.TickArmed = true;
        s.RecvBuffer.clear();
        EXPECT_TRUE(comm.takePendingInput());
        EXPECT_EQ(s.RecvBuffer, QString::fromLatin1(GoodReading + "\r\n"));
        EXPECT_EQ(comm.bytesWaiting(), 0);
        EXPECT_TRUE(s.TickArmed);
        EXPECT_FALSE(comm.takePendingInput()); // nothing left
    }
}

TEST_F(CommTest, AReceiveEventWithAnotherCodeLeavesTheBufferUntouched)
{
    ProgramState& s = programState();
    s.CommState = CommStates::Realtime;
    s.TickArmed = false; // keeps the characters waiting in the port
    peer.send("RR,N,+01.234mVDC7\r\n");
    ASSERT_TRUE(test::waitFor([&] { return comm.bytesWaiting() == 19; }, 2s));
    s.TickArmed = true;
    for (const int state : {CommStates::Forwarding, CommStates::Download, CommStates::Realtime, CommStates::Idle}) {
        s.CommState = state;
        s.LinkState = LinkStates::Waiting;
        for (const int code : {0, CommEvents::Send, 3, 4, 7, 1001}) {
            SCOPED_TRACE(state * 10000 + code);
            s.RecvBuffer = QStringLiteral("untouched");
            comm.OnComm(code);
            EXPECT_EQ(s.RecvBuffer, QStringLiteral("untouched"));
            EXPECT_EQ(comm.bytesWaiting(), 19);
            EXPECT_EQ(s.LinkState, LinkStates::Waiting);
        }
    }
    // The same characters with the receive code are taken.
    s.CommState = CommStates::Idle;
    comm.OnComm(CommEvents::Receive);
    EXPECT_EQ(s.RecvBuffer, QStringLiteral("RR,N,+01.234mVDC7\r\n"));
}

TEST_F(CommTest, WaitingModesAppendAndCompleteOnlyWhileWaiting)
{
    ProgramState& s = programState();
    s.CommState = CommStates::MonitorCommand;
    s.LinkState = LinkStates::Complete;
    s.LastCommand = QStringLiteral("PL,1");
    s.RecvBuffer = QStringLiteral("answer");
    peer.send("more\r\n");
    ASSERT_TRUE(test::waitFor([&] { return s.RecvBuffer == QStringLiteral("answermore\r\n"); }, 2s));
    EXPECT_EQ(s.LinkState, LinkStates::Complete);
}

// --- Echo removal --------------------------------------------------------------------------

TEST(CommAnswer, IsAnswerCompleteTable)
{
    struct Row {
        const char* buffer;
        bool complete;
        const char* after;
    } rows[] = {
        {"AB\n", true, "A"},                            // two characters always go
        {"OK\r\n", true, "OK"},
        {"SC,123\r\nOK7\r\n", true, "OK7"},             // the echo is skipped
        {"SC,123\r\nSC,123\r\nX\r\n", true, "X"},       // every echo line is skipped
        {"SC,123\r\n", false, ""},                      // only the echo so far
        {"SC,123\r\nOK", false, "OK"},                  // the answer is not complete yet
        {"sc,123\r\nOK\r\n", true, "sc,123"},           // the echo test is case-sensitive
        {"SC,123 \r\nOK\r\n", true, "SC,123 "},
        {"OK\r\nMORE\r\n", true, "OK"},                 // what follows the line is dropped
        {"\n", true, ""},                               // a bare line end is an empty answer
        {"\r\n", true, ""},
        {"no line end", false, "no line end"},
        {"", false, ""},
        {"SC,123\n", true, "SC,12"},                    // "SC,12" is not the command
    };
    Comm comm;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.buffer);
        resetProgramState();
        programState().LastCommand = QStringLiteral("SC,123");
        programState().RecvBuffer = QString::fromLatin1(row.buffer);
        EXPECT_EQ(comm.IsAnswerComplete(), row.complete);
        EXPECT_EQ(programState().RecvBuffer, QString::fromLatin1(row.after));
    }
}

// --- The receive rules without a port --------------------------------------------------------

TEST(ReceiveRules, EachStateTreatsTextAsTheReceiveHandlerDoes)
{
    resetProgramState();
    ProgramState& s = programState();
    bool dropping = false;

    // Idle and forwarding replace; what is too long keeps its newest characters.
    for (const int state : {CommStates::Idle, CommStates::Forwarding, CommStates::RealtimeForward}) {
        s.CommState = state;
        s.RecvBuffer = QStringLiteral("old");
        EXPECT_EQ(ReceiveText(s, QStringLiteral("new"), dropping), ReceiveResult::Replaced);
        EXPECT_EQ(s.RecvBuffer, QStringLiteral("new"));
        const QString flood = QString(RecvBufferLimit, QLatin1Char('x')) + QStringLiteral("tail");
        EXPECT_EQ(ReceiveText(s, flood, dropping), ReceiveResult::Replaced);
        EXPECT_EQ(s.RecvBuffer, flood.right(RecvBufferLimit));
    }

    // Streaming modes append while TickArmed and read nothing while it is cleared.
    for (const int state : {CommStates::Realtime, CommStates::Monitor}) {
        s.CommState = state;
        s.TickArmed = false;
        s.RecvBuffer = QStringLiteral("tick's");
        EXPECT_FALSE(ReceiveTakesText(s));
        EXPECT_EQ(ReceiveText(s, QStringLiteral("x"), dropping), ReceiveResult::NotRead);
        EXPECT_EQ(s.RecvBuffer, QStringLiteral("tick's"));
        s.TickArmed = true;
        EXPECT_TRUE(ReceiveTakesText(s));
        EXPECT_EQ(ReceiveText(s, QStringLiteral("RR,1\r\n"), dropping), ReceiveResult::Appended);
        EXPECT_EQ(s.RecvBuffer, QStringLiteral("tick'sRR,1\r\n"));
        EXPECT_TRUE(s.TickArmed);
    }
}

TEST(ReceiveRules, AWaitingCommandTakesItsAnswerOrEndsGarbled)
{
    resetProgramState();
    ProgramState& s = programState();
    bool dropping = false;
    s.CommState = CommStates::Download;
    s.LastCommand = QStringLiteral("RL,001");
    s.LinkState = LinkStates::Waiting;

    EXPECT_EQ(ReceiveText(s, QStringLiteral("RL,001\r\nRL,N,+0"), dropping), ReceiveResult::Appended);
    EXPECT_EQ(s.RecvBuffer, QStringLiteral("RL,N,+0")); // the echo is gone, the answer not complete
    EXPECT_EQ(ReceiveText(s, QStringLiteral("1.234mVDC6\r\nrest"), dropping), ReceiveResult::Answered);
    EXPECT_EQ(s.RecvBuffer, QStringLiteral("RL,N,+01.234mVDC6"));
    EXPECT_EQ(s.LinkState, LinkStates::Complete);
    // Nobody waits any more: later text is only appended.
    EXPECT_EQ(ReceiveText(s, QStringLiteral("\r\n"), dropping), ReceiveResult::Appended);
    EXPECT_EQ(s.RecvBuffer, QStringLiteral("RL,N,+01.234mVDC6\r\n"));

    // More than the limit without a line end: the garbled answer, then nothing until a send.
    s.RecvBuffer.clear();
    s.LinkState = LinkStates::Waiting;
    EXPECT_EQ(ReceiveText(s, QString(RecvBufferLimit, QLatin1Char('x')), dropping), ReceiveResult::Appended);
    EXPECT_EQ(ReceiveText(s, QStringLiteral("y"), dropping), ReceiveResult::Garbled);
    EXPECT_EQ(s.RecvBuffer, GarbledAnswer);
    EXPECT_EQ(s.LinkState, LinkStates::Complete);
    EXPECT_EQ(s.LastError, ResID(Res::DataError));
    EXPECT_TRUE(dropping);
    EXPECT_EQ(ReceiveText(s, QStringLiteral("OK\r\n"), dropping), ReceiveResult::Dropped);
    EXPECT_EQ(s.RecvBuffer, GarbledAnswer);
}

TEST(ReceiveRules, ExtractAnswerLineSkipsEchoesAndTakesTheFirstOtherLine)
{
    QString buffer = QStringLiteral("RM\r\nRM\r\nRM,4\r\nMORE\r\n");
    EXPECT_TRUE(ExtractAnswerLine(buffer, QStringLiteral("RM")));
    EXPECT_EQ(buffer, QStringLiteral("RM,4"));
    buffer = QStringLiteral("RM\r\nRM,");
    EXPECT_FALSE(ExtractAnswerLine(buffer, QStringLiteral("RM")));
    EXPECT_EQ(buffer, QStringLiteral("RM,"));
}

// --- Waiting costs nothing -----------------------------------------------------------------

TEST_F(CommTest, WaitingForASilentMeterUsesLittleCpu)
{
    comm.setAnswerTimeoutMs(3000);
    programState().CommState = CommStates::RealtimeCommand;
    const auto cpuBefore = test::processCpuTime();
    QElapsedTimer wall;
    wall.start();
    EXPECT_TRUE(comm.SendCommand(QStringLiteral("SC,123"), 1));
    const double wallMs = static_cast<double>(wall.elapsed());
    const double cpuMs = std::chrono::duration<double, std::milli>(test::processCpuTime() - cpuBefore).count();
    EXPECT_GE(wallMs, 2900.0); // it did wait for the time-out
    EXPECT_LT(cpuMs, 0.1 * wallMs);
}
