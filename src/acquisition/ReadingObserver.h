#pragma once
// Readings as they are taken, for what the program does with them beyond the document and
// the Monitor: publishing them to a message broker. A host that has an observer
// (CommandHost::readingObserver) is told what the meter link is busy with and every reading:
//   - each answer shown in monitor mode, and in the seconds between the samples of a
//     recording (kind Monitor);
//   - each recorded row (Realtime) and each downloaded record (Logging, Save), read back from
//     the document as its table shows it.
// The observer is called inside the sample second on the user-interface thread, so it must
// return at once: it hands the reading on and never waits.

#include <QDateTime>
#include <QString>

#include <optional>

namespace quvo {

class DataDocument;

// What the meter link is busy with.
enum class MeterActivity { Idle, Monitoring, Recording, Downloading };

// How a reading came.
enum class ReadingKind { Monitor, Realtime, Logging, Save };

struct TakenReading {
    ReadingKind kind = ReadingKind::Monitor;
    // The second the reading belongs to, local time: the one a recorded row's TIME label
    // stands for, the one a monitor reading was asked for, the one a record was read in.
    QDateTime time;
    // The row's TIME text: "12:00:05" (realtime), "00:00:10" (LOGGING-mode, the time since the
    // first record); empty for monitor readings and SAVE-mode records.
    QString timeText;
    // The row's number as the table's "No." column shows it; none for a monitor reading.
    std::optional<int> row;
    // The value as the program shows it: the table's DATA text for a row ("1.234E-3", "+OL",
    // "ERROR", empty for an empty SAVE slot), the Monitor's text for a monitor reading
    // ("1.234mVDC", "ERROR").
    QString text;
    // The value as a decimal number text ("1.234E-3") when the reading is a number; empty
    // for an error, an overload or an empty slot.
    QString number;
    // The value as a document row holds it, for judging it against limits: a decimal number
    // text, "+OL", "-OL", "ERROR", or empty for an empty slot.
    QString value;
    QString unit; // "VDC", "OHM", ...; empty for errors
};

class ReadingObserver {
public:
    virtual ~ReadingObserver() = default;
    virtual void activityChanged(MeterActivity activity) = 0;
    virtual void readingTaken(const TakenReading& reading) = 0;
};

// The instant without its milliseconds.
QDateTime wholeSecond(const QDateTime& instant);

// The moment a "hh:mm:ss" label stands for: that time of day on the latest day on which it
// is not after `now` (a label of 23:59:59 read at 00:00:01 belongs to the day before).
QDateTime labelledTime(const QString& label, const QDateTime& now);

// A monitor reading: an answer line (or "ERROR") as the Monitor shows it.
TakenReading readingOfAnswer(const QString& answer, const QDateTime& second);

// The document's last row as its table shows it.
TakenReading readingOfLastRow(const DataDocument& document, ReadingKind kind, const QDateTime& second);

} // namespace quvo
