#include "FaultTable.h"

namespace quvo::faults {

namespace {

// Shorthands for the table below.
constexpr Expectation completed{true, Ending::Completed, Message::None};
constexpr Expectation notAimedAt{false, Ending::Completed, Message::None};
constexpr Expectation failedWith(Message message)
{
    return {true, Ending::Failed, message};
}
constexpr Expectation damageDecides{true, Ending::Completed, Message::DamageDecides};
constexpr Expectation linkLost{true, Ending::PortLost, Message::LinkLost};

} // namespace

QString operationName(Operation operation)
{
    switch (operation) {
    case Operation::Realtime: return QStringLiteral("Realtime");
    case Operation::Monitor: return QStringLiteral("Monitor");
    case Operation::Logging: return QStringLiteral("Logging");
    case Operation::Save: return QStringLiteral("Save");
    }
    return {};
}

QString operationTitle(Operation operation)
{
    switch (operation) {
    case Operation::Realtime: return QStringLiteral("Realtime recording");
    case Operation::Monitor: return QStringLiteral("Monitor mode");
    case Operation::Logging: return QStringLiteral("LOGGING-mode download");
    case Operation::Save: return QStringLiteral("SAVE-mode download");
    }
    return {};
}

const Expectation& Fault::expectation(Operation operation) const
{
    switch (operation) {
    case Operation::Realtime: return realtime;
    case Operation::Monitor: return monitor;
    case Operation::Logging: return logging;
    case Operation::Save: break;
    }
    return save;
}

int commandsBeforeFirstReading(Operation operation)
{
    switch (operation) {
    case Operation::Realtime: return 3; // SC,123 PL,1 RM
    case Operation::Monitor: return 2;  // SC,123 PL,1
    case Operation::Logging: return 5;  // SC,123 PL,1 RM RN RI
    case Operation::Save: return 3;     // SC,123 PL,1 RM
    }
    return 0;
}

int cableCommand(Operation operation)
{
    switch (operation) {
    case Operation::Realtime:
    case Operation::Monitor: return commandsBeforeFirstReading(operation) + 3;
    case Operation::Logging: return commandsBeforeFirstReading(operation) + 4;
    case Operation::Save: return commandsBeforeFirstReading(operation) + 10;
    }
    return 0;
}

// What the rules make of each fault:
// - Recording and monitor mode never stop for a bad answer: a second without a good reading
//   is an "ERROR" row (an "ERROR" display), and the answers to "SC,123" and "PL,1" are not
//   examined; a silent meter is not an error outside a download.
// - A download ends at the first examined answer that is missing after five sends
//   ("Timeout error occurred."), damaged ("Data error occurred.") or rejected ("Command
//   error occurred."), keeping the rows read so far. Examined are the answers to "RM",
//   "RN", "RI" and every record; "SC,123" and "PL,1" are not.
// - A lost link ends every operation with the link's message, keeping what was read.
// - With answers slower than the time-out a download's answers fall one command behind
//   after the first resend: the answer taken for "RM" is the echo of "PL,1", whose check
//   character fails.
const std::vector<Fault>& faultTable()
{
    static const std::vector<Fault> table = {
        {QStringLiteral("None"), QStringLiteral("no fault"), completed, completed, completed, completed},
        {QStringLiteral("NoAnswer"), QStringLiteral("no answer"), completed, completed,
         failedWith(Message::Timeout), failedWith(Message::Timeout)},
        {QStringLiteral("SlowUnderTimeout"), QStringLiteral("answers just inside the time-out (70 %)"), completed,
         completed, completed, completed},
        {QStringLiteral("SlowOverTimeout"), QStringLiteral("answers just past the time-out (130 %)"), completed,
         completed, failedWith(Message::DataError), failedWith(Message::DataError)},
        {QStringLiteral("Garbled"), QStringLiteral("1 % garbled characters"), completed, completed, damageDecides,
         damageDecides},
        {QStringLiteral("Dropped"), QStringLiteral("1 % dropped characters"), completed, completed, damageDecides,
         damageDecides},
        {QStringLiteral("WrongCheck"), QStringLiteral("wrong check character on 20 % of the answers"), completed,
         completed, damageDecides, damageDecides},
        {QStringLiteral("CmdErrStart"), QStringLiteral("CMD,ERR to SC,123, PL,1 and RM"), completed, completed,
         failedWith(Message::CommandError), failedWith(Message::CommandError)},
        {QStringLiteral("CmdErrCount"), QStringLiteral("CMD,ERR to RN and RI"), notAimedAt, notAimedAt,
         failedWith(Message::CommandError), notAimedAt},
        {QStringLiteral("CmdErrReadings"), QStringLiteral("CMD,ERR to RR,1, RL and RS"), completed, completed,
         failedWith(Message::CommandError), failedWith(Message::CommandError)},
        {QStringLiteral("Disconnect"), QStringLiteral("disconnect after N commands"), linkLost, linkLost, linkLost,
         linkLost},
        {QStringLiteral("UnplugReplug"), QStringLiteral("device path vanishes mid-operation and comes back"),
         linkLost, linkLost, linkLost, linkLost, true},
    };
    return table;
}

const std::vector<Operation>& operations()
{
    static const std::vector<Operation> list = {Operation::Realtime, Operation::Monitor, Operation::Logging,
                                                Operation::Save};
    return list;
}

sim::SimulatorOptions simulatorOptions(const Fault& fault, Operation operation)
{
    sim::SimulatorOptions o;
    o.model = QLatin1Char('1');
    o.loggingCount = LoggingRecords;
    o.loggingIntervalSeconds = 2;
    o.seed = Seed;
    const QString& f = fault.name;
    if (f == QLatin1String("NoAnswer"))
        o.silent = true;
    else if (f == QLatin1String("SlowUnderTimeout"))
        o.answerDelayMs = ShortAnswerTimeoutMs * 7 / 10;
    else if (f == QLatin1String("SlowOverTimeout"))
        o.answerDelayMs = ShortAnswerTimeoutMs * 13 / 10;
    else if (f == QLatin1String("Garbled"))
        o.garbleRate = 0.01;
    else if (f == QLatin1String("Dropped"))
        o.dropRate = 0.01;
    else if (f == QLatin1String("WrongCheck"))
        o.badCheckRate = 0.2;
    else if (f == QLatin1String("CmdErrStart"))
        o.errorCommands = {QStringLiteral("SC"), QStringLiteral("PL,1"), QStringLiteral("RM")};
    else if (f == QLatin1String("CmdErrCount"))
        o.errorCommands = {QStringLiteral("RN"), QStringLiteral("RI")};
    else if (f == QLatin1String("CmdErrReadings"))
        o.errorCommands = {QStringLiteral("RR"), QStringLiteral("RL"), QStringLiteral("RS")};
    else if (f == QLatin1String("Disconnect"))
        o.disconnectAfter = cableCommand(operation);
    else if (f == QLatin1String("UnplugReplug"))
        o.unplugAtCommand = cableCommand(operation);
    return o;
}

QString caseName(Operation operation, const Fault& fault)
{
    return operationName(operation) + QLatin1Char('_') + fault.name;
}

QString CaseResult::toLine() const
{
    QStringList f = {operation,
                     fault,
                     ending,
                     messages,
                     QString::number(expected),
                     QString::number(kept),
                     QString::number(lost),
                     QString::number(errorRows),
                     QString::number(undetected),
                     portClosed ? QStringLiteral("1") : QStringLiteral("0"),
                     QString::number(commState),
                     QString::number(milliseconds),
                     passed ? QStringLiteral("1") : QStringLiteral("0")};
    for (QString& field : f)
        field.replace(QLatin1Char('\t'), QLatin1Char(' ')).replace(QLatin1Char('\n'), QLatin1Char(' '));
    return f.join(QLatin1Char('\t'));
}

bool CaseResult::fromLine(const QString& line, CaseResult& r)
{
    const QStringList f = line.trimmed().split(QLatin1Char('\t'));
    if (f.size() != 13)
        return false;
    r.operation = f[0];
    r.fault = f[1];
    r.ending = f[2];
    r.messages = f[3];
    r.expected = f[4].toInt();
    r.kept = f[5].toInt();
    r.lost = f[6].toInt();
    r.errorRows = f[7].toInt();
    r.undetected = f[8].toInt();
    r.portClosed = f[9] == QLatin1String("1");
    r.commState = f[10].toInt();
    r.milliseconds = f[11].toLongLong();
    r.passed = f[12] == QLatin1String("1");
    return true;
}

} // namespace quvo::faults
