#pragma once
// A simulated multimeter on a real pseudo-terminal. It answers the meter's command set the
// way the meter does (echo, answer line with check character, CR LF), holds a LOGGING and
// a SAVE memory, produces moving live readings, and can inject faults. The program under
// test opens devicePath() like any serial port.
//
// A MeterSimulator lives in the thread that created it and is driven by that thread's event
// loop. SimulatorThread runs one in a thread of its own, which is what the program's
// --simulate option and most tests use.

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QThread>

#include <memory>
#include <optional>

namespace quvo::sim {

// One stored or live reading in the meter's fixed-column layout, without tag and check
// character: status, sign, 6-character number field, prefix, 3-character unit.
// readingLine() pads a shorter number on the left with blanks and a shorter unit on the
// right with blanks; longer fields are sent as they are, so a test can make a malformed
// line on purpose.
struct MeterValue {
    bool overload = false;
    QChar sign = QLatin1Char('+');
    QString number = QStringLiteral("00.000"); // exactly 6 characters
    QChar prefix = QLatin1Char(' ');           // n u m k M or blank
    QString unit = QStringLiteral("VDC");      // exactly 3 characters, padded with blanks
};

struct SimulatorOptions {
    QChar model = QLatin1Char('1');   // answer to "RM"; '0'..'5' are real models, others test the program
    bool echo = true;                 // echo every command line before its answer

    // LOGGING memory: records and their interval in seconds. Empty = generated from
    // loggingCount (a ramp in VDC).
    QList<MeterValue> logging;
    int loggingCount = 10;
    int loggingIntervalSeconds = 5;
    // SAVE memory: slot number -> reading; absent slots answer "RS" (empty slot).
    // Empty map and saveGenerate = true: every third slot filled.
    QMap<int, MeterValue> save;
    bool saveGenerate = true;

    // Live readings ("RR,1"): the function shown. "cycle" walks through every function and
    // prefix, one step per reading; otherwise one of VDC VAC V OHM F ADC AAC A Vd C Hz lx %
    // " AC" " DC" (the unit word as the program's MODE column shows it).
    QString function = QStringLiteral("VDC");
    int overloadEvery = 0;            // every n-th live reading is an overload (0 = never)

    // Fault injection. Rates are probabilities per character (0..1).
    bool silent = false;              // read commands, never answer
    QStringList silentCommands;       // no answer to commands starting with one of these
    int answerDelayMs = 0;            // wait this long before echo + answer
    double garbleRate = 0;            // replace an answer character by another
    double dropRate = 0;              // leave an answer character out
    bool garbleLineEnds = false;      // garbleRate and dropRate also hit the CR LF of answers
    double badCheckRate = 0;          // send a wrong check character for an answer line
    QStringList errorCommands;        // answer "CMD,ERR" to commands starting with one of these
    int disconnectAfter = 0;          // close the terminal after answering this many commands
                                      // since it was plugged (0 = never)
    int unplugAtCommand = 0;          // pull the cable as this command (counted since the terminal
                                      // was made) arrives: it is logged, not answered, and the
                                      // terminal closes at once (0 = never). Counting starts again
                                      // with a replug, so clear it before replugging.
    bool pacing = false;              // 9600 baud 8N2: about 1.146 ms per character, both directions
    unsigned seed = 1;                // random source of noise and faults

    // Optional stable path: a symbolic link to the current terminal, kept across unplug/replug.
    QString linkPath;
};

// What the simulator did with one command: what it meant to answer and what left it. Tests
// count with it which readings reached the program unharmed.
struct AnswerRecord {
    QString command;       // the command line, without CR LF
    QString line;          // the answer line as the meter meant it: body and check character,
                           // without CR LF; empty when the command was not answered
    QByteArray output;     // what was queued for the line: echo and answer, faults included
    bool damaged = false;  // a fault changed the answer line (a garbled or dropped character,
                           // a wrong check character)
    bool sent = false;     // every byte of `output` was written to the terminal; false when the
                           // terminal closed first (or the command was not answered)
};

// The check character of an answer line: the low four bits of the sum of its character
// codes, as "0".."9", "A".."F".
QChar checkCharacter(const QString& line);

// The answer line body for a reading, e.g. "RR,N,+01.234mVDC" for tag "RR".
QString readingLine(const QString& tag, const MeterValue& value);

// Reads a memory file (format in docs/metersim.md). std::nullopt and *error on failure.
std::optional<SimulatorOptions> loadMemoryFile(const QString& path, SimulatorOptions base, QString* error);

// The names SimulatorOptions::function accepts: the unit words, "AC" and "DC" as short
// forms of " AC" and " DC", and "cycle".
QStringList liveFunctionNames();
bool isLiveFunction(const QString& name);

class MeterSimulator : public QObject {
    Q_OBJECT
public:
    explicit MeterSimulator(SimulatorOptions options, QObject* parent = nullptr);
    ~MeterSimulator() override;

    // Creates the pseudo-terminal. False with *error when that fails.
    bool open(QString* error = nullptr);
    // The device path to open as a serial port (the link path when one was given).
    QString devicePath() const;
    // Pulls the cable: the terminal closes (and the link path disappears).
    void unplug();
    // Puts the cable back: a new terminal (and the link path points at it again).
    bool replug(QString* error = nullptr);
    bool isPlugged() const;

    // Changes the behaviour from now on (thread-safe when called through SimulatorThread).
    void setOptions(const SimulatorOptions& options);
    SimulatorOptions options() const;

    // Every command line received, without CR LF, in order.
    QStringList commandLog() const;
    int commandCount() const;
    // One record per command of commandLog(), in the same order.
    QList<AnswerRecord> answerLog() const;

signals:
    void commandReceived(const QString& command);
    // What was queued for the line in answer to a command, faults included (empty when
    // the command is not answered).
    void answered(const QString& command, const QByteArray& output);
    // The terminal was made (open(), replug()) or closed (unplug(), disconnectAfter).
    void plugChanged(bool plugged);

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};

// The simulator's signals, delivered in the thread that made the SimulatorThread. Each one
// is an event in that thread's loop, so a wait there (waitFor, QSignalSpy::wait) looks at
// its condition again whenever a command arrives.
class SimulatorEvents : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
signals:
    void commandReceived(const QString& command);
    void plugChanged(bool plugged);
};

// A MeterSimulator running in a thread of its own. Its accessors are thread-safe.
class SimulatorThread {
public:
    explicit SimulatorThread(SimulatorOptions options);
    ~SimulatorThread();
    SimulatorThread(const SimulatorThread&) = delete;
    SimulatorThread& operator=(const SimulatorThread&) = delete;

    bool start(QString* error = nullptr);
    QString devicePath() const;
    void unplug();
    bool replug(QString* error = nullptr);
    bool isPlugged() const;
    void setOptions(const SimulatorOptions& options);
    SimulatorOptions options() const;
    QStringList commandLog() const;
    int commandCount() const;
    QList<AnswerRecord> answerLog() const;
    SimulatorEvents* events() const;

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};

} // namespace quvo::sim
