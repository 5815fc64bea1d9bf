#include "acquisition/ReadingObserver.h"

#include "document/DataDocument.h"
#include "link/ReadingDecoder.h"

#include <QTime>

namespace quvo {

QDateTime wholeSecond(const QDateTime& instant)
{
    QDateTime cut = instant;
    const QTime t = instant.time();
    cut.setTime(QTime(t.hour(), t.minute(), t.second()));
    return cut;
}

QDateTime labelledTime(const QString& label, const QDateTime& now)
{
    const QTime timeOfDay = QTime::fromString(label, QStringLiteral("HH:mm:ss"));
    if (!timeOfDay.isValid())
        return wholeSecond(now);
    QDateTime moment(now.date(), timeOfDay, now.timeSpec());
    if (moment > now)
        moment = QDateTime(now.date().addDays(-1), timeOfDay, now.timeSpec());
    return moment;
}

TakenReading readingOfAnswer(const QString& answer, const QDateTime& second)
{
    const RealtimeAnswer parsed = ParseRealtimeAnswer(answer);
    TakenReading reading;
    reading.kind = ReadingKind::Monitor;
    reading.time = second;
    reading.text = MonitorText(answer);
    reading.number = parsed.valid ? parsed.numeric : QString();
    reading.value = parsed.display;
    reading.unit = parsed.unit;
    return reading;
}

TakenReading readingOfLastRow(const DataDocument& document, ReadingKind kind, const QDateTime& second)
{
    const int row = document.GetDatacount();
    TakenReading reading;
    reading.kind = kind;
    reading.time = second;
    reading.timeText = document.TextMatrix(row, 1);
    bool numbered = false;
    const int number = document.TextMatrix(row, 0).toInt(&numbered);
    if (numbered)
        reading.row = number;
    reading.text = document.TextMatrix(row, 2);
    reading.number = DataDocument::IsReadingValue(reading.text) ? reading.text : QString();
    reading.value = reading.text;
    reading.unit = document.TextMatrix(row, 3);
    return reading;
}

} // namespace quvo
