#include "AcquisitionTestSupport.h"

#include "link/Comm.h"
#include "resources/ProgramState.h"
#include "resources/ResID.h"

#include <QTimer>

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

} // namespace quvo::test
