#include "link/ReceiveBuffer.h"

#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/ResID.h"

namespace quvo {

namespace {

// Keeps only the newest RecvBufferLimit characters of a buffer that outgrew the limit.
void keepTail(QString& buffer)
{
    if (buffer.size() > RecvBufferLimit)
        buffer.remove(0, buffer.size() - RecvBufferLimit);
}

bool isStreaming(int commState)
{
    return commState == CommStates::Realtime || commState == CommStates::Monitor;
}

} // namespace

bool ReceiveTakesText(const ProgramState& s)
{
    return !isStreaming(s.CommState) || s.TickArmed;
}

ReceiveResult ReceiveText(ProgramState& s, const QString& text, bool& dropUntilNextSend)
{
    switch (s.CommState) {
    case CommStates::Download:
    case CommStates::RealtimeCommand:
    case CommStates::MonitorCommand:
        if (dropUntilNextSend)
            return ReceiveResult::Dropped;
        if (s.RecvBuffer.size() + text.size() > RecvBufferLimit) {
            if (s.LinkState == LinkStates::Waiting) {
                // So much text without a complete line is not an answer.
                s.RecvBuffer = GarbledAnswer;
                s.LastError = ResID(Res::DataError);
                s.LinkState = LinkStates::Complete;
                dropUntilNextSend = true; // whatever else the stream brings is not part of any answer
                return ReceiveResult::Garbled;
            }
            s.RecvBuffer += text;
            keepTail(s.RecvBuffer);
            return ReceiveResult::Appended;
        }
        s.RecvBuffer += text;
        if (s.LinkState == LinkStates::Waiting && ExtractAnswerLine(s.RecvBuffer, s.LastCommand)) {
            s.LinkState = LinkStates::Complete;
            return ReceiveResult::Answered;
        }
        return ReceiveResult::Appended;
    case CommStates::Realtime:
    case CommStates::Monitor:
        if (!s.TickArmed)
            return ReceiveResult::NotRead;
        s.TickArmed = false;
        s.RecvBuffer += text;
        keepTail(s.RecvBuffer);
        s.TickArmed = true;
        return ReceiveResult::Appended;
    default:
        s.RecvBuffer = text;
        keepTail(s.RecvBuffer);
        return ReceiveResult::Replaced;
    }
}

bool ExtractAnswerLine(QString& buffer, const QString& lastCommand)
{
    for (;;) {
        const qsizetype lf = buffer.indexOf(QLatin1Char('\n'));
        if (lf < 0)
            return false;
        const qsizetype lineLength = lf + 1;
        // The line less its last two characters, meant to be CR LF; a lone LF takes the
        // character before it along ("AB\n" gives "A").
        QString body = buffer.left(qMax<qsizetype>(0, lineLength - 2));
        if (body == lastCommand) {
            buffer.remove(0, lineLength); // the meter's echo of the command
            continue;
        }
        buffer = std::move(body);
        return true;
    }
}

} // namespace quvo
