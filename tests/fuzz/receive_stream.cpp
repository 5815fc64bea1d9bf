// Fuzz target: the receive path. Text arrives in arbitrary pieces in every CommState and
// goes through the receive handler's rules (ReceiveTakesText and ReceiveText, which the
// link's OnComm applies to what its port delivers), with commands sent in between, the
// sampling tick taking its answer line (Realtime::TakeAnswerLine), echoes of the command
// and pieces far beyond the 64 KiB limit.
//
// Input: byte 0 the CommState; byte 1 the length of LastCommand, then its characters; then
// operations, each one byte followed by its operands:
//   op % 8 = 0..3  a piece of text: a length byte, that many bytes; with op >= 0x80 a count
//                  byte follows and the piece arrives repeated 1 + count * 1024 times at
//                  once (a flood; all the text of one input is bounded)
//   op % 8 = 4     a command is sent: RecvBuffer cleared, the wait begins; a length byte and
//                  the new command follow
//   op % 8 = 5     CommState changes to the next byte % 8
//   op % 8 = 6     TickArmed flips; armed again, the text left in the port is taken
//   op % 8 = 7     the sampling tick: TakeAnswerLine, then the next "RR,1" request
//
// Invariants:
// - RecvBuffer never holds more than RecvBufferLimit characters;
// - idle and forwarding states replace RecvBuffer with the newest text; the streaming modes
//   and the command phases when nobody waits append and keep the newest tail; a disarmed
//   streaming mode reads nothing;
// - while a command waits: an answer line never contains a line feed and is never the echo
//   of LastCommand, and it is exactly the first complete line since the send that is not an
//   echo, less its last two characters; text that is not yet an answer holds no line end; more
//   than the limit without an answer is the garbled answer "?" with "Data error occurred.",
//   after which text is dropped until the next send;
// - TakeAnswerLine gives the last line less its last two characters when the buffer ends
//   with a line end and "ERROR" otherwise, never containing a line feed; and the echo of a
//   command the program sends is never taken for a reading.

#include "FuzzSupport.h"

#include "acquisition/HeadlessHost.h"
#include "acquisition/Realtime.h"
#include "link/Comm.h"
#include "link/ReadingDecoder.h"
#include "link/ReceiveBuffer.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/ResID.h"

#include <algorithm>
#include <memory>
#include <optional>

using namespace quvo;
using quvo::fuzz::printable;

namespace {

// The most text one input may hand over in all, so that every run stays quick.
constexpr qsizetype MaxTotalText = 4 * RecvBufferLimit;

// A command the program itself sends (the record commands with any record number).
bool isProgramCommand(const QString& text)
{
    for (const QString& command : {Commands::Start, Commands::RemoteOn, Commands::RemoteOff, Commands::Model,
                                   Commands::RecordCount, Commands::LoggingInterval, Commands::Reading}) {
        if (text == command)
            return true;
    }
    for (const QString& prefix : {Commands::LoggingRecord, Commands::SaveRecord}) {
        if (!text.startsWith(prefix))
            continue;
        bool number = false;
        text.mid(prefix.size()).toInt(&number);
        if (number)
            return true;
    }
    return false;
}

bool isWaitingMode(int state)
{
    return state == CommStates::Download || state == CommStates::RealtimeCommand
        || state == CommStates::MonitorCommand;
}

bool isStreamingMode(int state)
{
    return state == CommStates::Realtime || state == CommStates::Monitor;
}

// The answer the rules give for the text received since a send: the first complete line
// that is not an echo of the command, less its last two characters. Empty optional while
// there is none.
std::optional<QString> answerOf(const QString& sinceSend, const QString& command)
{
    qsizetype start = 0;
    for (;;) {
        const qsizetype lf = sinceSend.indexOf(QLatin1Char('\n'), start);
        if (lf < 0)
            return std::nullopt;
        const QString line = sinceSend.mid(start, lf + 1 - start);
        const QString body = line.left(std::max<qsizetype>(0, line.size() - 2));
        if (body != command)
            return body;
        start = lf + 1;
    }
}

// The text since a send less its complete leading echo lines: what a waiting command holds.
QString withoutEchoes(const QString& sinceSend, const QString& command)
{
    qsizetype start = 0;
    for (;;) {
        const qsizetype lf = sinceSend.indexOf(QLatin1Char('\n'), start);
        if (lf < 0)
            return sinceSend.mid(start);
        const QString line = sinceSend.mid(start, lf + 1 - start);
        if (line.left(std::max<qsizetype>(0, line.size() - 2)) != command)
            return sinceSend.mid(start);
        start = lf + 1;
    }
}

struct Harness {
    HeadlessHost host;
    Comm comm;
    Realtime realtime{comm, host};

    ProgramState& s = programState();
    bool dropUntilNextSend = false;
    QString inPort;        // text that arrived while the streaming mode was disarmed
    QString sinceSend;     // text appended while the command waited, since the send
    bool traced = false;   // sinceSend holds everything the waiting command received
    qsizetype total = 0;

    void reset()
    {
        resetProgramState();
        dropUntilNextSend = false;
        inPort.clear();
        sinceSend.clear();
        traced = false;
        total = 0;
    }

    QString context() const
    {
        return QStringLiteral(" [CommState %1, LinkState %2, TickArmed %3, LastCommand \"%4\", RecvBuffer \"%5\"]")
            .arg(s.CommState)
            .arg(s.LinkState)
            .arg(s.TickArmed)
            .arg(printable(s.LastCommand), printable(s.RecvBuffer));
    }

    void checkBound() const
    {
        FUZZ_CHECK(s.RecvBuffer.size() <= RecvBufferLimit,
                   QStringLiteral("RecvBuffer holds %1 characters").arg(s.RecvBuffer.size()) + context());
    }

    // Text arrives at the port; the receive handler runs as OnComm does.
    void arrive(const QString& text)
    {
        if (!ReceiveTakesText(s)) {
            FUZZ_CHECK(isStreamingMode(s.CommState) && !s.TickArmed,
                       QStringLiteral("text not read") + context());
            inPort += text;
            return;
        }
        const QString all = inPort + text;
        inPort.clear();
        receive(all);
    }

    void receive(const QString& text)
    {
        const QString before = s.RecvBuffer;
        const int linkBefore = s.LinkState;
        const bool droppingBefore = dropUntilNextSend;
        const int state = s.CommState;
        const QString command = s.LastCommand;
        s.LastError.clear();

        const ReceiveResult result = ReceiveText(s, text, dropUntilNextSend);
        checkBound();
        const QString tail = (before + text).right(RecvBufferLimit);

        if (isWaitingMode(state)) {
            if (droppingBefore) {
                FUZZ_CHECK(result == ReceiveResult::Dropped && s.RecvBuffer == before,
                           QStringLiteral("text after a garbled answer was not dropped") + context());
                return;
            }
            if (linkBefore != LinkStates::Waiting) {
                FUZZ_CHECK(result == ReceiveResult::Appended && s.RecvBuffer == tail && s.LinkState == linkBefore,
                           QStringLiteral("text with nobody waiting was not appended") + context());
                return;
            }
            if (traced)
                sinceSend += text;
            if (before.size() + text.size() > RecvBufferLimit) {
                FUZZ_CHECK(result == ReceiveResult::Garbled && s.RecvBuffer == GarbledAnswer
                               && s.LinkState == LinkStates::Complete && dropUntilNextSend
                               && s.LastError == ResID(Res::DataError),
                           QStringLiteral("more than the limit did not end the wait as garbled") + context());
                traced = false;
                return;
            }
            const std::optional<QString> expected = traced ? answerOf(sinceSend, command) : std::nullopt;
            if (result == ReceiveResult::Answered) {
                FUZZ_CHECK(s.LinkState == LinkStates::Complete, QStringLiteral("answered, still waiting") + context());
                FUZZ_CHECK(!s.RecvBuffer.contains(QLatin1Char('\n')),
                           QStringLiteral("the answer holds a line feed") + context());
                FUZZ_CHECK(s.RecvBuffer != command, QStringLiteral("the echo was taken for the answer") + context());
                if (traced)
                    FUZZ_CHECK(expected && *expected == s.RecvBuffer,
                               QStringLiteral("the answer should be \"%1\"").arg(printable(expected.value_or(QStringLiteral("(none)"))))
                                   + context());
                traced = false;
                return;
            }
            FUZZ_CHECK(result == ReceiveResult::Appended && s.LinkState == LinkStates::Waiting,
                       QStringLiteral("unexpected result %1").arg(static_cast<int>(result)) + context());
            FUZZ_CHECK(!s.RecvBuffer.contains(QLatin1Char('\n')),
                       QStringLiteral("a complete line is left unanswered") + context());
            if (traced) {
                FUZZ_CHECK(!expected, QStringLiteral("the answer \"%1\" was missed").arg(printable(*expected)) + context());
                FUZZ_CHECK(s.RecvBuffer == withoutEchoes(sinceSend, command),
                           QStringLiteral("the waiting text is not what arrived since the send") + context());
            }
            return;
        }
        if (isStreamingMode(state)) {
            FUZZ_CHECK(result == ReceiveResult::Appended && s.RecvBuffer == tail && s.TickArmed,
                       QStringLiteral("a streaming mode did not append") + context());
            return;
        }
        FUZZ_CHECK(result == ReceiveResult::Replaced && s.RecvBuffer == text.right(RecvBufferLimit),
                   QStringLiteral("state %1 did not replace").arg(state) + context());
    }

    // What SendCommand does before it waits.
    void send(const QString& command)
    {
        s.LinkState = LinkStates::Waiting;
        s.RecvBuffer.clear();
        dropUntilNextSend = false;
        s.LastCommand = command;
        sinceSend.clear();
        traced = isWaitingMode(s.CommState);
    }

    void setState(int state)
    {
        if (state != s.CommState)
            traced = false; // the text of the wait is no longer all in one mode
        s.CommState = state;
    }

    void armTick(bool armed)
    {
        s.TickArmed = armed;
        if (armed && !inPort.isEmpty())
            arrive(QString()); // takePendingInput
    }

    // The sampling tick: the answer of the last second, then the next request. It does
    // nothing while TickArmed is false, and keeps the receive handler out while it works.
    void tick()
    {
        if (!s.TickArmed)
            return;
        s.TickArmed = false;
        const QString before = s.RecvBuffer;
        const QString answer = realtime.TakeAnswerLine();
        QString expected = ErrorReading;
        if (before.endsWith(QLatin1Char('\n'))) {
            // The line end before the last one (a negative start would count from the end).
            const qsizetype previous =
                before.size() >= 2 ? before.lastIndexOf(QLatin1Char('\n'), before.size() - 2) : -1;
            const QString line = before.mid(previous + 1);
            expected = line.left(std::max<qsizetype>(0, line.size() - 2));
        }
        FUZZ_CHECK(answer == expected, QStringLiteral("TakeAnswerLine gave \"%1\", not \"%2\"")
                                           .arg(printable(answer), printable(expected)) + context());
        FUZZ_CHECK(!answer.contains(QLatin1Char('\n')), QStringLiteral("the answer holds a line feed") + context());
        // The echo of a command the program sends is never a reading. (An input may make any
        // text the command; its echo is then like any answer line, which passes the 4-bit
        // check character by chance: "RR,0" is a well-formed reading with no value.)
        if (answer == s.LastCommand && isProgramCommand(answer))
            FUZZ_CHECK(!ParseRealtimeAnswer(answer).valid && MonitorText(answer) == ErrorReading,
                       QStringLiteral("the echo counted as a reading") + context());
        // RequestReading: the buffer is cleared and "RR,1" written.
        s.RecvBuffer.clear();
        s.LastCommand = Commands::Reading;
        traced = false;
        armTick(true);
    }
};

QString textOf(const QByteArray& bytes)
{
    return QString::fromLatin1(bytes); // one character per byte, as the port delivers them
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    quvo::fuzz::ensureApplication();
    static Harness* const harness = new Harness; // lives for the whole run
    Harness& h = *harness;
    h.reset();

    fuzz::InputReader in(data, size);
    h.s.CommState = in.byte() % 8;
    h.s.TickArmed = true;
    h.send(textOf(in.bytes(in.byte() % 24)));
    h.s.LinkState = isWaitingMode(h.s.CommState) ? LinkStates::Waiting : LinkStates::Complete;

    while (!in.atEnd()) {
        const std::uint8_t op = in.byte();
        switch (op % 8) {
        case 0:
        case 1:
        case 2:
        case 3: {
            QString piece = textOf(in.bytes(in.byte()));
            if (op >= 0x80) {
                // A flood arrives as one long text: the checks after each arrival cost as
                // much as the buffer is long, so a thousand small arrivals would make each
                // run take seconds.
                const qsizetype count = 1 + qsizetype(in.byte()) * 1024;
                const qsizetype room = std::max<qsizetype>(0, MaxTotalText - h.total);
                piece = piece.repeated(std::min(count, piece.isEmpty() ? 1 : room / piece.size() + 1));
            }
            if (h.total < MaxTotalText) {
                h.total += piece.size() + 1;
                h.arrive(piece);
            }
            break;
        }
        case 4:
            h.send(textOf(in.bytes(in.byte() % 24)));
            break;
        case 5:
            h.setState(in.byte() % 8);
            break;
        case 6:
            h.armTick(!h.s.TickArmed);
            break;
        case 7:
            h.tick();
            break;
        }
        h.checkBound();
    }
    return 0;
}
