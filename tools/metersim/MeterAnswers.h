#pragma once
// The meter's side of the conversation without any I/O: which answer line body a command
// gets, the record numbering of each model, and the two memories (given or generated).

#include "LiveReadings.h"
#include "MeterSimulator.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace quvo::sim {

// How a model numbers its LOGGING records and SAVE slots.
struct RecordNumbering {
    int countWidth = 3;    // digits of the "RN" answer
    bool hasRecords = false;
    int recordWidth = 3;   // digits of the number in "RL," commands
    int firstRecord = 1;   // number of the first LOGGING record
    bool hasSlots = false;
    int firstSlot = 1;     // SAVE slots firstSlot .. lastSlot, two digits each
    int lastSlot = 50;
};

RecordNumbering numberingFor(QChar model);

// True when the command begins with one of the texts (empty texts match nothing): how the
// fault lists (silentCommands, errorCommands) pick their commands.
bool startsWithAnyOf(const QString& command, const QStringList& starts);

class MeterAnswers {
public:
    explicit MeterAnswers(const SimulatorOptions& options);

    void setOptions(const SimulatorOptions& options);
    const SimulatorOptions& options() const { return m_options; }

    // The answer line body (without check character and CR LF) for a command line.
    QString answer(const QString& command);

    // The memories as the meter holds them now.
    int loggingCount() const;                          // records the meter reports
    MeterValue loggingRecord(int index) const;         // index 0 .. loggingCount() - 1
    std::optional<MeterValue> saveSlot(int slot) const; // std::nullopt: empty slot

    int liveReadingCount() const { return m_live.count(); }

private:
    QString loggingAnswer(const QString& number) const;
    QString saveAnswer(const QString& number) const;

    SimulatorOptions m_options;
    LiveReadings m_live;
};

// The generated memories (used when the options give none).
MeterValue generatedLoggingRecord(int index);
std::optional<MeterValue> generatedSaveSlot(QChar model, int slot);

} // namespace quvo::sim
