#include "AcquisitionTestSupport.h"

#include "link/Comm.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "support/TestHelpers.h"
#include "resources/ResID.h"

#include <QTimer>

#include <gtest/gtest.h>

#include "metersim/MeterSimulator.h"

namespace quvo::test {

bool FakeForwarder::BeginRealtimeForward()
{
    ++beginCalls;
    beginCommState = programState().CommState;
    if (!beginResult)
        programState().LastError = beginError;
    return beginResult;
}

bool FakeForwarder::AppendRealtimeRow(const QString& timeText, const QString& displayText, const QString& unitText)
{
    ++appendCalls;
    if (appendCalls == failAppendAt) {
        programState().LastError = appendError;
        return false;
    }
    rows.append({timeText, displayText, unitText});
    return true;
}

void ProgressRecorder::RenProgress(bool throttle, std::int16_t current, std::int16_t total)
{
    m_log.calls.append({throttle, current, total});
    if (m_cancelAt != 0 && current == m_cancelAt) {
        m_cancelAt = 0;
        Comm* comm = m_comm;
        Log* log = &m_log;
        QTimer::singleShot(0, [comm, log] {
            log->messages.append(ResID(Res::Canceling));
            if (comm)
                comm->stopAnswerTimer();
            programState().LastError = ResID(Res::Canceled);
            programState().CancelRequested = true;
        });
    }
}

bool ScriptedMeter::open(QString* error)
{
    if (!peer.open(error))
        return false;
    peer.setResponder([this](const QByteArray& command) { return respond(command); });
    return true;
}

QByteArray ScriptedMeter::line(const QString& body)
{
    return (body + sim::checkCharacter(body)).toLatin1() + "\r\n";
}

QString ScriptedMeter::indexReading(int index)
{
    return QStringLiteral("RR,N,+%1.000 VDC").arg(index % 100, 2, 10, QLatin1Char('0'));
}

QByteArray ScriptedMeter::respond(const QByteArray& command)
{
    if (onCommand)
        onCommand(command);
    if (silentCommands.contains(command))
        return {};
    const QByteArray echo = command + "\r\n";
    QByteArray reply;
    if (command == "SC,123")
        reply = line(QStringLiteral("SC,OK"));
    else if (command == "PL,1" || command == "PL,0")
        reply = line(QStringLiteral("PL,OK"));
    else if (command == "RM")
        reply = line(QStringLiteral("RM,") + model);
    else if (command == "RR,1") {
        const int index = m_readings++;
        if (silentRequests.contains(index)) {
            m_lastReply.clear();
            return {};
        }
        reply = readingReplies.isEmpty() ? line(indexReading(index)) : readingReplies.takeFirst();
        m_lastReply = echo + reply;
    } else
        reply = line(QStringLiteral("CMD,ERR"));
    return echo + reply;
}

void advanceSecond(FakeClock& clock, Realtime& realtime, const ScriptedMeter& meter, int count)
{
    using namespace std::chrono_literals;
    clock.advance(count * 1000);
    const int before = meter.readingRequests();
    realtime.tmRealtime_Timer();
    const ProgramState& s = programState();
    if (s.CommState != CommStates::Realtime && s.CommState != CommStates::Monitor)
        return;
    if (s.LastCommand != Commands::Reading || !s.RecvBuffer.isEmpty())
        return;
    ASSERT_TRUE(waitFor([&] { return meter.readingRequests() > before; }, 5s)) << "no request reached the meter";
    ASSERT_TRUE(waitFor([&] { return s.RecvBuffer == QString::fromLatin1(meter.lastReply()); }, 5s))
        << "the reply did not arrive: " << s.RecvBuffer.toStdString();
}

void SteppedRealtimeTest::SetUp()
{
    resetProgramState();
    QString error;
    ASSERT_TRUE(meter.open(&error)) << error.toStdString();
    comm.setCommPort(meter.devicePath());
    comm.setAnswerTimeoutMs(2000);
    realtime.setClock(&clock);
    realtime.setAutomaticTicks(false);
    host.setMonitor(&monitor);
    clock.t = QDateTime(QDate(2024, 3, 5), QTime(12, 0, 0, 500));
}

void SteppedRealtimeTest::TearDown()
{
    comm.closePort();
    resetProgramState();
}

} // namespace quvo::test
