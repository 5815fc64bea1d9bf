#pragma once
// The fault matrix: every meter operation against every fault the simulated meter can
// inject. One table says which faults exist, how each is set up in the simulator and what
// the rules make of it; the matrix test runs every pair as a CTest case of its own, and the
// report program turns the results of a run into one table.

#include "metersim/MeterSimulator.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace quvo::faults {

enum class Operation { Realtime, Monitor, Logging, Save };

QString operationName(Operation operation);  // "Realtime" ... (case names)
QString operationTitle(Operation operation); // "Realtime recording" ... (report)

// How an operation is expected to end under a fault, by the program's rules.
enum class Ending {
    Completed, // recording: period over; monitor: stopped; download: every record read
    Failed,    // a download that ended early with its message
    PortLost,  // the link was lost: the link's message
};

// The message expected at the end of an operation.
enum class Message {
    None,          // nothing shown ("ERROR" rows or "ERROR" on the Monitor where answers were bad)
    Timeout,       // "Timeout error occurred."
    DataError,     // "Data error occurred."
    CommandError,  // "Command error occurred."
    LinkLost,      // "The connection to the meter on <port> was lost: <the cable, the adapter> (<reason>.)"
    DamageDecides, // random damage: "Data error occurred." when an examined answer arrived
                   // damaged and fails its check, otherwise none
};

struct Expectation {
    bool applies = true; // false: the operation sends no command the fault is aimed at
    Ending ending = Ending::Completed;
    Message message = Message::None;
};

struct Fault {
    QString name;        // case name, e.g. "NoAnswer"
    QString title;       // for the report
    Expectation realtime, monitor, logging, save;
    // True for the case that pulls the cable and puts it back: the operation is then run
    // again while unplugged (the port cannot be opened) and after the replug (it works).
    bool replug = false;

    const Expectation& expectation(Operation operation) const;
};

// The short answer time-out every case uses instead of the product's 5000 ms.
constexpr int ShortAnswerTimeoutMs = 400;
constexpr unsigned Seed = 7;

// Sizes of the runs: a recording at 1 s for 4 s (5 rows), four monitor readings, a LOGGING
// memory of 20 records (model 1), a SAVE memory of 50 slots (model 1).
constexpr int RecordingPeriodSeconds = 4;
constexpr int MonitorReadings = 4;
constexpr int LoggingRecords = 20;

// The commands an operation sends before its first reading or record: SC,123 PL,1 RM for
// recording and downloads, SC,123 PL,1 for the monitor; a LOGGING download adds RN and RI.
int commandsBeforeFirstReading(Operation operation);
// The command after which the cable goes (disconnect, unplug): the third reading or the
// fourth or tenth record.
int cableCommand(Operation operation);

const std::vector<Fault>& faultTable();
const std::vector<Operation>& operations();

// The simulator set up for a fault and an operation.
sim::SimulatorOptions simulatorOptions(const Fault& fault, Operation operation);

// "Realtime_NoAnswer": the name of a case and of its result file.
QString caseName(Operation operation, const Fault& fault);

// One case's result, as the test writes it and the report reads it (one line,
// tab-separated fields).
struct CaseResult {
    QString operation;
    QString fault;
    QString ending;      // how it ended, in words
    QString messages;    // the messages shown, " | " between two, "-" for none
    int expected = 0;    // readings the meter sent intact (the rows or displays owed)
    int kept = 0;        // of those, found in the document or on the Monitor
    int lost = 0;        // expected - kept
    int errorRows = 0;   // "ERROR" rows (recording) or "ERROR" displays (monitor)
    int undetected = 0;  // damaged answers that passed the check character (kept as sent)
    bool portClosed = false;
    int commState = -1;
    qint64 milliseconds = 0;
    bool passed = false;

    QString toLine() const;
    static bool fromLine(const QString& line, CaseResult& result);
};

} // namespace quvo::faults
