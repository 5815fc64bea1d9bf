#pragma once
// A recording that goes on after its document is full: the parts. When the realtime
// document of a recording reaches the full count, the part is saved at once as a data file
// and the recording goes on, without a gap, in a new realtime document with the same
// interval and period (Realtime's document-full handler). Both the main window (the
// Interval and period dialog's "continue in a new document" option) and
// `quvolink-cli record --continue` use this one procedure, so that the same readings give
// the same files.
//
// The parts are named after the first file: NAME.CSV, NAME-002.CSV, NAME-003.CSV, ...
// Saving a part goes through the work file and replaces the target in one step, so a file
// of a part is either whole or not there. A part that cannot be saved (disk full, folder
// gone) keeps its recording journal on the disk, where the next start (or
// `quvolink-cli recover`) finds it; the person is told, and the recording goes on.

#include <QString>
#include <QStringList>

#include <functional>

namespace quvo {

class DataDocument;
class Realtime;

// The file of the n-th part of a recording whose first part is `path`. The first is `path`
// itself. The n-th (n >= 2) puts "-" and n with at least three digits between the file
// name's stem and its extension (the part from the last "." of the file name on; a name
// that starts with its only "." has none): bench.csv -> bench-002.csv, bench-1000.csv;
// bench -> bench-002; run.2024.CSV -> run.2024-002.CSV. The folder part is kept as it is.
QString recordingPartFileName(const QString& path, int number);

class RecordingParts {
public:
    struct Hooks {
        // A new, empty realtime document for the next part (the caller owns it); null ends
        // the recording.
        std::function<DataDocument*()> newDocument;
        // A part was saved (number, file). Optional.
        std::function<void(DataDocument& part, int number, const QString& path)> partSaved;
        // A part could not be saved: the message for the person (what, where, why, and
        // where its readings are kept). Optional.
        std::function<void(DataDocument& part, int number, const QString& message)> partNotSaved;
        // The recording goes on in this document, part `number`. Optional.
        std::function<void(DataDocument& next, int number)> partStarted;
    };

    // `firstPath`: the data file of part 1. Sets the realtime's document-full handler,
    // and takes it away again when this object goes.
    RecordingParts(Realtime& realtime, QString firstPath, Hooks hooks);
    ~RecordingParts();

    RecordingParts(const RecordingParts&) = delete;
    RecordingParts& operator=(const RecordingParts&) = delete;

    // The document-full handler: saves `full` as the running part and returns the document
    // of the next part (null when none could be made: the recording ends).
    DataDocument* documentFull(DataDocument& full);

    // The recording has ended in `last`: saves it as the running part. A later part that
    // holds nothing (stopped right after a part was full) is not saved and its journal is
    // let go. True when nothing failed in the whole recording.
    bool finish(DataDocument& last);

    // The part being recorded (1 for the first).
    int number() const { return m_number; }
    QString pathOf(int number) const { return recordingPartFileName(m_firstPath, number); }
    // The files saved so far, in order.
    const QStringList& savedFiles() const { return m_saved; }
    // True once a part could not be saved.
    bool anyFailed() const { return m_failed; }

private:
    bool savePart(DataDocument& part, int number);

    Realtime& m_realtime;
    QString m_firstPath;
    Hooks m_hooks;
    int m_number = 1;
    QStringList m_saved;
    bool m_failed = false;
};

} // namespace quvo
