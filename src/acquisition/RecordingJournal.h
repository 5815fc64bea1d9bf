#pragma once
// The recording journal: a long realtime recording survives a crash or a power cut.
//
// While a recording runs, every recorded row is appended to a journal file in the program
// folder and forced to the disk (fdatasync) before the next reading is asked for. The
// journal starts with what the document needs to be rebuilt (interval, period, meter
// model, the label of the first sample, the document's name); a recording that continues
// an earlier one in the same document adds a new start line.
//
// Each journal has a lock file beside it (QLockFile) held by the process that writes it,
// for as long as the journal belongs to a document of that process. A journal whose lock
// can be taken belongs to no running program: it was left behind by a crash. Finding such
// journals takes their locks, so two programs never restore the same journal, and a
// running recorder's journal is never touched.
//
// Files: <program folder>/RECORDING-<process id>-<n>.JNL and the same name + ".lock".
//
// Line format (UTF-8, LF line ends; fields separated by a tab; a backslash, tab, CR or LF
// inside a field is written as \\, \t, \r, \n; the last field of every line is the CRC-16 of
// the line before it, in hexadecimal):
//   QUVOLINK-JOURNAL<tab>1<tab>crc
//   S<tab>interval d<tab>h<tab>m<tab>s<tab>period-none (True/False)<tab>d<tab>h<tab>m<tab>s
//        <tab>meter model<tab>start label<tab>document name<tab>crc
//   R<tab>time<tab>display<tab>unit<tab>valid (1/0)<tab>numeric<tab>crc
// A last line without its line end (the write in flight at the crash) and lines whose CRC
// does not match are left out when the journal is read.

#include "document/DataDocument.h" // TimeTexts

#include <QList>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

class QFile;
class QLockFile;

namespace quvo {

// One recorded row as the document received it (AddRealtimedata's arguments).
struct JournalRow {
    QString time;
    QString display;
    QString unit;
    bool valid = false;
    QString numeric;
    friend bool operator==(const JournalRow&, const JournalRow&) = default;
};

// What a recording starts with.
struct JournalStart {
    TimeTexts interval;
    bool periodNone = true;
    TimeTexts period;
    QString meterModel;
    QString startLabel;
    QString documentName; // caption or file name of the document, for the restore question
};

// A journal as read back.
struct JournalContents {
    JournalStart start; // the last start line
    QList<JournalRow> rows;
    int damagedLines = 0; // complete lines left out because their check did not match
};

class RecordingJournal {
public:
    ~RecordingJournal(); // closes the file and releases the lock; the journal file stays
    RecordingJournal(const RecordingJournal&) = delete;
    RecordingJournal& operator=(const RecordingJournal&) = delete;

    // A new, empty journal (and its lock) in the folder. Null with *error when it cannot be
    // made (folder missing or not writable, disk full).
    static std::unique_ptr<RecordingJournal> create(const QString& folder, QString* error);

    // Journals in the folder left behind by programs that no longer run, oldest first, each
    // now locked by this process. Journals of running programs are not listed.
    static std::vector<std::unique_ptr<RecordingJournal>> takeLeftovers(const QString& folder);

    // Appends a start line, or rows, and forces them to the disk. False with lastError()
    // when the write or the sync failed (the journal is then of no further use).
    bool writeStart(const JournalStart& start);
    bool appendRow(const JournalRow& row);
    bool appendRows(const QList<JournalRow>& rows);

    // The recording ended: the file is closed; the lock stays until remove() or destruction.
    void close();
    // The data is safe elsewhere (saved, or the document was closed or discarded): the
    // journal and its lock are removed.
    void remove();

    // Reads the journal back (the own file, open or closed). std::nullopt with *error when
    // it cannot be read or holds rows (or damaged lines) but no start line. A journal that
    // ended before its first start line (the program was killed as it made it) reads as one
    // without rows: there is nothing to restore.
    std::optional<JournalContents> read(QString* error) const;

    QString path() const { return m_path; }
    QString lastError() const { return m_error; }
    bool isOpen() const;

    // Rebuilds a recording in a fresh realtime document: interval, period, MeterModel, then
    // every row through AddGridrow and AddRealtimedata. False with LastError when the
    // document refused a row (the rows before it stay).
    static bool rebuildDocument(const JournalContents& contents, DataDocument& document);

private:
    RecordingJournal(QString path, std::unique_ptr<QLockFile> lock);
    bool openForAppend();
    bool writeLines(const QByteArray& lines);

    QString m_path;
    std::unique_ptr<QLockFile> m_lock;
    std::unique_ptr<QFile> m_file;
    QString m_error;
};

} // namespace quvo
