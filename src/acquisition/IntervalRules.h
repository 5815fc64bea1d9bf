#pragma once
// The rules of a recording's interval and period: each a number of days (0-99), hours
// (0-23), minutes (0-59) and seconds (0-59), kept as two-digit texts; a zero interval and a
// zero custom period are refused. The Interval and period dialog and the command-line
// program check what the user typed with these same functions and show the same message.
//
// Pure functions: no widget, no document, no program-wide value.

#include "document/DataDocument.h" // TimeTexts

#include <QString>

namespace quvo {

struct TimeFieldRange {
    int minimum;
    int maximum;
};
inline constexpr TimeFieldRange DayRange{0, 99};
inline constexpr TimeFieldRange HourRange{0, 23};
inline constexpr TimeFieldRange MinuteRange{0, 59};
inline constexpr TimeFieldRange SecondRange{0, 59};

// One field check. The text is converted to a 16-bit integer; a text that does not convert
// or a value below the minimum becomes the minimum, a value above the maximum becomes the
// maximum; the text is always written back with at least two digits ("7" gives "07").
// True when the value was in range as typed.
bool CheckTimeField(QString& text, TimeFieldRange range);

// The four fields of an interval or period checked in the order days, hours, minutes,
// seconds (every field is checked and corrected even after a failure). True when all four
// were in range.
bool CheckTimeFieldSet(TimeTexts& fields);

// The OK button's checks: the interval's fields, then a zero interval (corrected to five
// seconds), then, only for a custom period, the period's fields and a zero period
// (corrected to one second). Every check runs; the texts are corrected in place. True when
// nothing had to be corrected, i.e. the values may be stored.
bool CheckIntervalAndPeriod(TimeTexts& interval, bool customPeriod, TimeTexts& period);

// The message shown once when any check failed; lines separated by CR LF:
//   Input value was changed automatically because it was outside the input range.
//   (empty line)
//   Input range
//   <Day> : 0 - 99
//   <Hour> : 0 - 23
//   <Minute> : 0 - 59
//   <Second> : 0 - 59
//   (empty line)
//   Input one second and more value.
QString IntervalRangeMessage();

// The range lines of that message, without the claim that a value was changed:
//   Input range
//   <Day> : 0 - 99   (and so on, one line per field)
QString InputRangeText();

// A duration as the command-line program takes it: whole seconds ("90", split into
// 00 days, 00 hours, 01 minute, 30 seconds) or "DD:HH:MM:SS" (each part one or more
// digits, kept as typed). False when the text has neither form; the caller then shows
// IntervalRangeMessage() just as for a value out of range.
bool ParseDurationText(const QString& text, TimeTexts& fields);

// The command-line program's message for the duration given to an option ("--interval",
// "--period"), or an empty text when it can be used. The command line corrects nothing, so
// the message says what is wrong (not a duration; a field out of its range; zero), then
// gives the input range (InputRangeText). Lines separated by CR LF.
QString DurationOptionProblem(const QString& option, const QString& text);

} // namespace quvo
