#pragma once
// The receive handler's rules for RecvBuffer, apart from the port: what becomes of text
// that arrives, by CommState, and how a waiting command's answer line is cut out of it.
// Comm applies them to the characters its port delivers; they touch no port and no timer,
// so every rule can be driven with plain text.

#include <QString>

namespace quvo {

struct ProgramState;

// What RecvBuffer holds after a waiting command received more than RecvBufferLimit
// characters without completing a line: a single "?". An answer line always ends in a check
// character "0".."9" or "A".."F", so this text never passes VerifyChecksum and the caller
// reports the answer as a data error ("ERROR" on displays); it is neither "CMD,ERR" nor a
// reading, and it has no fourth character (an "RM" answer's model). LastError is set to
// "Data error occurred." and the text still arriving is dropped until the next command.
inline const QString GarbledAnswer = QStringLiteral("?");

// What became of received text.
enum class ReceiveResult {
    NotRead,  // a streaming mode while TickArmed is false: the text stays in the port
    Replaced, // idle or forwarding: RecvBuffer is the newest text
    Appended, // appended to RecvBuffer; no answer completed by it
    Answered, // the waiting command's answer is complete: RecvBuffer is the answer line
    Garbled,  // too much text without a line end for the waiting command: GarbledAnswer
    Dropped,  // the rest of a garbled answer, dropped until the next command
};

// False in the streaming modes (realtime and monitor running) while TickArmed is false:
// the sampling tick is working on RecvBuffer, so the port's text is not read now.
bool ReceiveTakesText(const ProgramState& s);

// The receive handler's treatment of `text` by CommState:
// - download and the command phases of realtime and monitor: appended; while a command
//   waits (LinkState Waiting) a complete answer line ends the wait (LinkState Complete,
//   RecvBuffer the answer), and more than RecvBufferLimit characters without one end it
//   as a garbled answer. `dropUntilNextSend` is set then, and while it is set text is
//   dropped; the next send clears it.
// - realtime and monitor running: appended while TickArmed (NotRead otherwise).
// - every other state: RecvBuffer replaced by the text.
// RecvBuffer never holds more than the newest RecvBufferLimit characters.
ReceiveResult ReceiveText(ProgramState& s, const QString& text, bool& dropUntilNextSend);

// IsAnswerComplete's rule: skips complete lines equal to `lastCommand` (the meter's echo)
// and keeps the first other complete line less its last two characters (meant to be CR LF;
// "AB\n" gives "A"), dropping whatever follows it. False, with the echoes removed, while no
// such line has arrived.
bool ExtractAnswerLine(QString& buffer, const QString& lastCommand);

} // namespace quvo
