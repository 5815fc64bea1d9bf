#pragma once
// The payloads of the messages published:
//
//   <prefix>/reading   one JSON object per reading, for example
//     {"kind":"realtime","label":"12:00:05","row":5,"text":"1.234E-3",
//      "time":"2024-11-21T12:00:05+01:00","unit":"VDC","value":0.001234}
//       time      the second the reading belongs to, ISO 8601 with the offset from UTC
//       value     the reading as a number; null when it is none ("ERROR", "+OL", an empty slot)
//       text      the value as the program shows it (the table's DATA text; for a monitor
//                 reading the Monitor's text, such as "1.234mVDC")
//       unit      "VDC", "OHM", ...; empty for errors
//       kind      "monitor", "realtime", "logging" or "save"
//       row       the row's number in the document (its "No."); null for a monitor reading
//       label     the row's TIME text, only for rows that have one (realtime, logging)
//       judgement the reading's judgement against limits, only when there is one
//   <prefix>/state     "idle", "monitoring", "recording" or "downloading" (retained)
//   <prefix>/status    "online"; the broker sends "offline" when the program is gone (retained)
//
// Numbers are written without regard to the user's locale.

#include "acquisition/ReadingObserver.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <optional>

namespace quvo {

namespace Topics {
inline const QString Reading = QStringLiteral("reading");
inline const QString State = QStringLiteral("state");
inline const QString Status = QStringLiteral("status");
} // namespace Topics

inline const QByteArray StatusOnline = QByteArrayLiteral("online");
inline const QByteArray StatusOffline = QByteArrayLiteral("offline");

// "2024-11-21T12:00:05+01:00": local time to the second, and its offset from UTC.
QString isoTimeWithOffset(const QDateTime& instant);

// "monitor", "realtime", "logging", "save".
QString readingKindName(ReadingKind kind);

// The JSON object of one reading, compact, in UTF-8. `judgement` is for readings judged
// against limits; without one the field is left out.
QByteArray readingPayload(const TakenReading& reading, const std::optional<QString>& judgement = std::nullopt);

// "idle", "monitoring", "recording", "downloading".
QByteArray statePayload(MeterActivity activity);

} // namespace quvo
