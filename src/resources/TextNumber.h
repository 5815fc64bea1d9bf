#pragma once
// Conversions between texts and numbers with the program's fixed rules. None of them
// depends on the user's locale: the decimal separator is always ".".
//
// The to...() conversions throw RuntimeError with a description a user can act on when a
// text is not a number or does not fit the target type.

#include <QLatin1StringView>
#include <QString>

#include <cstdint>

namespace quvo {

// A number in text: optional blanks around it, an optional sign, digits with at most one
// ".", an optional exponent ("1.5E-3"). Integer conversions round halves to the even
// neighbour ("2.5" gives 2, "3.5" gives 4) and refuse values outside their range.
std::int16_t toInt16(const QString& text);
std::int32_t toInt32(const QString& text);
float toSingle(const QString& text);
double toDouble(const QString& text);

// Rounds to the nearest integer with halves to the even neighbour, then checks the range.
std::int16_t roundToInt16(double value);
std::int32_t roundToInt32(double value);

// Parses a number as above; false (value untouched) when the text is not one.
bool parseNumber(const QString& text, double& value);
// The same rules on a view, without the detour through QString::toDouble: for reading
// many numbers quickly (a data file holds up to 32767 of them).
bool parseNumber(QStringView text, double& value);
inline bool parseNumber(QLatin1StringView text, double& value);

// "True" / "False" in any letter case, or a number (non-zero is true).
bool toBoolean(const QString& text);
QString booleanText(bool value);

// The leading number of a text: blanks anywhere are skipped, reading stops at the first
// character that cannot continue a number, and a text without one gives 0. "12abc" is 12.
double leadingNumber(const QString& text);

// A whole number with a leading blank when it is not negative: 20 gives " 20".
QString signedCountText(long long value);

// A fixed number of decimals ("0.000" is 3), halves rounded away from zero. The value
// is first taken to 15 significant digits, so 2.675 rounds to 2.68 as written.
QString formatFixed(double value, int decimals);

// At least two digits: 7 gives "07", 123 gives "123".
QString twoDigits(int value);

// Tick labels of a value axis. Plain: one to four decimals, trailing zeros after the
// first decimal dropped (2 gives "2.0", 0.12345 gives "0.1235"). Scientific: the same
// mantissa between 1 and 10, then "E" and the exponent with a "-" only when negative
// (0.0025 gives "2.5E-3", 12000 gives "1.2E4", 0 gives "0.0E0").
QString formatAxisPlain(double value);
QString formatAxisScientific(double value);

// The shortest text that reads back as the same single-precision number ("59999", "0.1").
QString shortestSingleText(float value);

namespace detail {
// The usual short decimal ("2.626E-3", "-0.154": up to 15 digits, an exponent within ±22,
// no blanks, no "+" in front) in one pass; false for anything else.
bool parseShortDecimal(const char* first, const char* last, double& value);
// parseNumber on single-byte text the general way: blanks trimmed, characters checked.
bool parseNumberInFull(QLatin1StringView text, double& value);
} // namespace detail

// In the header, as a data file's reader calls it for every row: the usual reading in one
// call. What the short form takes would pass the general way's checks unchanged and come to
// the same conversion; anything else takes the general way.
inline bool parseNumber(QLatin1StringView text, double& value)
{
    return (!text.isEmpty() && detail::parseShortDecimal(text.data(), text.data() + text.size(), value))
           || detail::parseNumberInFull(text, value);
}

} // namespace quvo
