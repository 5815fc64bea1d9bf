#pragma once
// Memory download: the Data menu's LOGGING-mode and SAVE-mode commands read one of the
// meter's two memories, record by record, into a new document, with the progress and
// cancel dialog on screen, and may forward the result afterwards.
//
// Every command is sent through Comm::SendCommand with five attempts; CommState is 1 for
// the whole download. Whatever happens, the download ends the same way: "PL,0", the port
// closed, the progress dialog unloaded, the chart set up for the rows read, the failure
// (if any) shown once, CommState 7. Rows read before a failure, a Cancel or a lost port
// stay in the document.

#include "acquisition/CommandHost.h"

#include <QChar>
#include <QString>

#include <cstdint>
#include <optional>

namespace quvo {

class Comm;
class DataDocument;
class ProgressView;

// How a meter model numbers its memories.
struct MemoryNumbering {
    int countWidth = 0;   // characters of the "RN" answer's count
    int recordWidth = 0;  // digits of an "RL," record number
    int firstRecord = 0;  // LOGGING records are numbered firstRecord .. firstRecord + count - 1
    int firstSlot = 0;    // SAVE slots firstSlot .. lastSlot ("RS," + two digits)
    int lastSlot = 0;
    bool padding = false; // 20 padding rows before the records
};

// Models "0" and "1": 3-character count, records 1 … count, slots 01 … 50, no padding.
// Models "2" and "3": 5 characters, records 0 … count − 1, slots 00 … 99, padding.
// Models "4" and "5": 4 characters, records 0 … count − 1, slots 00 … 99, padding.
// Any other model: std::nullopt (the meter's memory cannot be read).
std::optional<MemoryNumbering> MemoryNumberingFor(const QString& model);

// The command for a record or slot ("RL,0007", "RS,05").
QString LoggingRecordCommand(const MemoryNumbering& numbering, int record);
QString SaveRecordCommand(int slot);

// One downloaded reading as the document receives it (AddData's value, mode and raw texts).
struct DownloadedRecord {
    QString display;
    QString unit;
    QString numeric;
};

// A LOGGING record answer: false with LastError "Data error occurred." when its check
// character is wrong, "Command error occurred." for "CMD,ERR"; otherwise the reading (an
// overload keeps its value as the numeric text).
bool ParseLoggingRecord(QString answer, DownloadedRecord& record);
// A SAVE slot answer: as ParseLoggingRecord, and exactly "RS" is an empty slot (all texts
// empty).
bool ParseSaveRecord(QString answer, DownloadedRecord& record);

// What the last menu command did.
enum class DownloadOutcome {
    NotRun,    // cancelled at the question or the Forward dialog, or the port did not open
    Succeeded, // every record was read
    Failed,    // the download ended early (its message was shown); the rows read so far stay
};

class Download {
public:
    Download(Comm& comm, CommandHost& host);
    ~Download();

    Download(const Download&) = delete;
    Download& operator=(const Download&) = delete;

    // The Data menu's commands: ask about forwarding, make the document, open the port,
    // download, forward when asked. The document stays, whatever happened.
    void mnuDataLoging();
    void mnuDataSave();

    // The downloads into RealtimeDoc, on an open port. True when every record was read.
    bool DownloadLogging();
    bool DownloadSave();

    DownloadOutcome lastOutcome() const { return m_outcome; }

private:
    void menuCommand(int kind);
    bool beginDownload(int captionId);
    bool endDownload(bool succeeded, bool logging, const QString& intervalText);
    bool readStart(std::optional<MemoryNumbering>& numbering);
    bool send(const QString& command);
    bool readLoggingRecords(QString& intervalText);
    bool readSaveSlots();
    void progress(bool throttle, int current, int total);

    Comm& m_comm;
    CommandHost& m_host;
    std::unique_ptr<ProgressView> m_progress;
    DownloadOutcome m_outcome = DownloadOutcome::NotRun;
};

} // namespace quvo
