#pragma once
// Clock times as the program shows them: "hh:mm:ss" labels that wrap at midnight, and the
// count of whole-second boundaries between two instants.

#include <QDateTime>
#include <QString>

#include <cstdint>

namespace quvo {

// "hh:mm:ss" of the local time of day.
QString timeLabel(const QDateTime& instant);

// A "hh:mm:ss" label moved on by days, hours, minutes and seconds, wrapping at midnight
// ("23:59:58" + 7 s gives "00:00:05"). A label that does not read as a time counts as
// "00:00:00".
QString addToTimeLabel(const QString& label, std::int64_t days, std::int64_t hours, std::int64_t minutes,
                       std::int64_t seconds);

// Whole-second boundaries crossed from `from` to `to`: both are cut to the second first, so
// 10.9 s to 11.0 s is 1 and 10.0 s to 10.9 s is 0. Negative when the clock went back.
std::int64_t secondBoundariesBetween(const QDateTime& from, const QDateTime& to);

} // namespace quvo
