#include "resources/TextNumber.h"

#include "resources/RuntimeError.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

namespace quvo {

namespace {

RuntimeError notANumber(const QString& text)
{
    return RuntimeError(QStringLiteral("\"%1\" is not a number.").arg(text));
}

RuntimeError outOfRange(const QString& text)
{
    return RuntimeError(QStringLiteral("The number \"%1\" is out of range.").arg(text));
}

double roundHalfEven(double value)
{
    return std::nearbyint(value); // the default rounding mode rounds halves to even
}

// The decimal digits of |value| to 15 significant digits: value = 0.d1d2...d15 × 10^(exp+1).
struct DecimalDigits {
    std::string digits; // 15 digits, the first one non-zero unless the value is 0
    int exponent = 0;   // power of ten of the first digit
};

DecimalDigits decimalDigits(double value)
{
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, std::fabs(value),
                                      std::chars_format::scientific, 14);
    const std::string text(buffer, result.ptr);
    // text is "d.dddddddddddddde±XX"
    DecimalDigits out;
    out.digits.push_back(text[0]);
    const auto ePos = text.find('e');
    out.digits.append(text, 2, ePos - 2);
    out.exponent = std::stoi(text.substr(ePos + 1));
    return out;
}

// Adds one to a string of decimal digits ("199" gives "200", "99" gives "100").
void incrementDigits(std::string& digits)
{
    for (auto it = digits.rbegin(); it != digits.rend(); ++it) {
        if (*it == '9') {
            *it = '0';
        } else {
            ++*it;
            return;
        }
    }
    digits.insert(digits.begin(), '1');
}

// The integer round(|value| × 10^decimals), halves away from zero, as decimal digits.
std::string scaledRoundedDigits(double value, int decimals)
{
    const DecimalDigits d = decimalDigits(value);
    if (d.digits.front() == '0')
        return "0";
    const int shift = d.exponent - 14 + decimals; // value × 10^decimals = digits × 10^shift
    if (shift >= 0)
        return d.digits + std::string(static_cast<std::size_t>(shift), '0');
    const int keep = 15 + shift;
    if (keep < 0)
        return "0";
    std::string kept = d.digits.substr(0, static_cast<std::size_t>(keep));
    const char firstDropped = d.digits[static_cast<std::size_t>(keep)];
    if (kept.empty())
        kept = "0";
    if (firstDropped >= '5')
        incrementDigits(kept);
    const auto firstNonZero = kept.find_first_not_of('0');
    return firstNonZero == std::string::npos ? std::string("0") : kept.substr(firstNonZero);
}

QString dropTrailingZerosAfterFirstDecimal(QString text)
{
    const auto point = text.indexOf(QLatin1Char('.'));
    if (point < 0)
        return text;
    auto end = text.size();
    while (end > point + 2 && text.at(end - 1) == QLatin1Char('0'))
        --end;
    text.truncate(end);
    return text;
}

} // namespace

bool parseNumber(const QString& text, double& value)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return false;
    // Only the plain decimal form is a number here: no hexadecimal, no "inf"/"nan".
    for (const QChar c : trimmed) {
        if (!(c.isDigit() || c == QLatin1Char('.') || c == QLatin1Char('+') || c == QLatin1Char('-')
              || c == QLatin1Char('e') || c == QLatin1Char('E')))
            return false;
    }
    bool ok = false;
    const double parsed = trimmed.toDouble(&ok); // QString::toDouble always uses the C locale
    if (!ok || !std::isfinite(parsed))
        return false;
    value = parsed;
    return true;
}

namespace {

char16_t unitOf(QChar c) { return c.unicode(); }
char16_t unitOf(char c) { return static_cast<unsigned char>(c); }

bool isNumberCharacter(char16_t u)
{
    return (u >= u'0' && u <= u'9') || u == u'.' || u == u'+' || u == u'-' || u == u'e' || u == u'E';
}

} // namespace

// The common short numbers ("2.626E-3", "-0.154") without the general algorithm: up to
// 15 digits make an integer a double holds exactly, and a power of ten up to 1e22 is exact
// too, so one multiplication or division rounds once, correctly. Anything else (a long
// mantissa, a large exponent, an unusual form) is left to std::from_chars.
bool detail::parseShortDecimal(const char* first, const char* last, double& value)
{
    static constexpr double PowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                             1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    const char* p = first;
    const bool negative = p != last && *p == '-';
    if (negative)
        ++p;
    std::uint64_t mantissa = 0;
    int digits = 0;
    int scale = 0; // digits after the decimal point
    for (; p != last && *p >= '0' && *p <= '9'; ++p, ++digits)
        mantissa = mantissa * 10 + std::uint64_t(*p - '0');
    if (p != last && *p == '.') {
        for (++p; p != last && *p >= '0' && *p <= '9'; ++p, ++digits, ++scale)
            mantissa = mantissa * 10 + std::uint64_t(*p - '0');
    }
    if (digits == 0 || digits > 15)
        return false;
    int exponent = 0;
    if (p != last && (*p == 'e' || *p == 'E')) {
        ++p;
        const bool negativeExponent = p != last && *p == '-';
        if (p != last && (*p == '-' || *p == '+'))
            ++p;
        if (p == last || last - p > 3)
            return false;
        for (; p != last && *p >= '0' && *p <= '9'; ++p)
            exponent = exponent * 10 + (*p - '0');
        if (negativeExponent)
            exponent = -exponent;
    }
    if (p != last)
        return false;
    exponent -= scale;
    if (exponent < -22 || exponent > 22)
        return false;
    double result = static_cast<double>(mantissa);
    result = exponent < 0 ? result / PowersOfTen[-exponent] : result * PowersOfTen[exponent];
    value = negative ? -result : result;
    return true;
}

namespace {

// The plain decimal form on ASCII characters, for std::from_chars.
bool parseAscii(const char* first, const char* last, double& value)
{
    // from_chars takes no "+" sign; QString::toDouble takes one in front of the number.
    if (*first == '+') {
        ++first;
        if (first == last || *first == '+' || *first == '-')
            return false;
    }
    double parsed = 0;
    if (detail::parseShortDecimal(first, last, parsed) && std::isfinite(parsed)) {
        value = parsed;
        return true;
    }
    const auto result = std::from_chars(first, last, parsed, std::chars_format::general);
    if (result.ec != std::errc() || result.ptr != last || !std::isfinite(parsed))
        return false;
    value = parsed;
    return true;
}

// Blanks around the number are allowed, as QString::trimmed takes them away.
template <class Char>
void trimBlanks(const Char*& chars, qsizetype& size)
{
    while (size > 0 && QChar(unitOf(chars[0])).isSpace()) {
        ++chars;
        --size;
    }
    while (size > 0 && QChar(unitOf(chars[size - 1])).isSpace())
        --size;
}

} // namespace

bool parseNumber(QStringView text, double& value)
{
    const QChar* chars = text.data();
    qsizetype size = text.size();
    trimBlanks(chars, size);
    if (size == 0 || size > 512)
        return false;
    // The same characters as above, narrowed to ASCII.
    char buffer[512];
    for (qsizetype i = 0; i < size; ++i) {
        const char16_t u = chars[i].unicode();
        if (!isNumberCharacter(u))
            return false;
        buffer[i] = static_cast<char>(u);
    }
    return parseAscii(buffer, buffer + size, value);
}

bool detail::parseNumberInFull(QLatin1StringView text, double& value)
{
    const char* chars = text.data();
    qsizetype size = text.size();
    trimBlanks(chars, size);
    if (size == 0 || size > 512)
        return false;
    // Single-byte text is parsed where it stands.
    for (qsizetype i = 0; i < size; ++i) {
        if (!isNumberCharacter(unitOf(chars[i])))
            return false;
    }
    return parseAscii(chars, chars + size, value);
}

double toDouble(const QString& text)
{
    double value = 0;
    if (!parseNumber(text, value))
        throw notANumber(text);
    return value;
}

float toSingle(const QString& text)
{
    const double value = toDouble(text);
    if (std::fabs(value) > std::numeric_limits<float>::max())
        throw outOfRange(text);
    return static_cast<float>(value);
}

std::int16_t roundToInt16(double value)
{
    const double rounded = roundHalfEven(value);
    if (!(rounded >= std::numeric_limits<std::int16_t>::min() && rounded <= std::numeric_limits<std::int16_t>::max()))
        throw RuntimeError(QStringLiteral("The number %1 is out of range.").arg(value, 0, 'g', 15));
    return static_cast<std::int16_t>(rounded);
}

std::int32_t roundToInt32(double value)
{
    const double rounded = roundHalfEven(value);
    if (!(rounded >= std::numeric_limits<std::int32_t>::min() && rounded <= std::numeric_limits<std::int32_t>::max()))
        throw RuntimeError(QStringLiteral("The number %1 is out of range.").arg(value, 0, 'g', 15));
    return static_cast<std::int32_t>(rounded);
}

std::int16_t toInt16(const QString& text)
{
    const double value = toDouble(text);
    try {
        return roundToInt16(value);
    } catch (const RuntimeError&) {
        throw outOfRange(text);
    }
}

std::int32_t toInt32(const QString& text)
{
    const double value = toDouble(text);
    try {
        return roundToInt32(value);
    } catch (const RuntimeError&) {
        throw outOfRange(text);
    }
}

bool toBoolean(const QString& text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.compare(QLatin1String("True"), Qt::CaseInsensitive) == 0)
        return true;
    if (trimmed.compare(QLatin1String("False"), Qt::CaseInsensitive) == 0)
        return false;
    double value = 0;
    if (parseNumber(trimmed, value))
        return value != 0;
    throw RuntimeError(QStringLiteral("\"%1\" is neither True nor False.").arg(text));
}

QString booleanText(bool value)
{
    return value ? QStringLiteral("True") : QStringLiteral("False");
}

double leadingNumber(const QString& text)
{
    std::string number;
    bool seenDigit = false, seenPoint = false, seenExponent = false;
    for (const QChar c : text) {
        if (c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\n') || c == QLatin1Char('\r'))
            continue;
        const char ch = static_cast<char>(c.unicode() < 128 ? c.unicode() : 0);
        if (ch >= '0' && ch <= '9') {
            number.push_back(ch);
            seenDigit = true;
        } else if ((ch == '+' || ch == '-') && (number.empty() || (seenExponent && (number.back() == 'e')))) {
            number.push_back(ch);
        } else if (ch == '.' && !seenPoint && !seenExponent) {
            number.push_back(ch);
            seenPoint = true;
        } else if ((ch == 'e' || ch == 'E' || ch == 'd' || ch == 'D') && seenDigit && !seenExponent) {
            number.push_back('e');
            seenExponent = true;
        } else {
            break;
        }
    }
    // Trim an exponent or sign left without digits ("12e", "12e-").
    while (!number.empty() && (number.back() == 'e' || number.back() == '+' || number.back() == '-'))
        number.pop_back();
    if (!seenDigit)
        return 0;
    double value = 0;
    const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
    if (result.ec != std::errc())
        return 0;
    return value;
}

QString signedCountText(long long value)
{
    return value < 0 ? QString::number(value) : QLatin1Char(' ') + QString::number(value);
}

QString formatFixed(double value, int decimals)
{
    if (!std::isfinite(value))
        return std::isnan(value) ? QStringLiteral("NaN") : (value > 0 ? QStringLiteral("Infinity") : QStringLiteral("-Infinity"));
    std::string digits = scaledRoundedDigits(value, decimals);
    const bool negative = value < 0 && digits != "0";
    if (decimals > 0) {
        if (digits.size() <= static_cast<std::size_t>(decimals))
            digits.insert(0, static_cast<std::size_t>(decimals) + 1 - digits.size(), '0');
        digits.insert(digits.size() - static_cast<std::size_t>(decimals), 1, '.');
    }
    if (negative)
        digits.insert(0, 1, '-');
    return QString::fromStdString(digits);
}

QString twoDigits(int value)
{
    return value < 0 ? QString::number(value) : QStringLiteral("%1").arg(value, 2, 10, QLatin1Char('0'));
}

QString formatAxisPlain(double value)
{
    return dropTrailingZerosAfterFirstDecimal(formatFixed(value, 4));
}

QString formatAxisScientific(double value)
{
    if (!std::isfinite(value))
        return formatFixed(value, 0);
    if (value == 0)
        return QStringLiteral("0.0E0");
    const DecimalDigits d = decimalDigits(value);
    // Mantissa with four decimals: the first five significant digits, rounded half away.
    std::string mantissa = d.digits.substr(0, 5);
    int exponent = d.exponent;
    if (d.digits[5] >= '5') {
        incrementDigits(mantissa);
        if (mantissa.size() > 5) { // 9.99995 became 10.0000
            mantissa.pop_back();
            ++exponent;
        }
    }
    QString text = QString::fromLatin1(mantissa.substr(0, 1) + "." + mantissa.substr(1));
    text = dropTrailingZerosAfterFirstDecimal(text);
    if (value < 0)
        text.prepend(QLatin1Char('-'));
    return text + QStringLiteral("E") + QString::number(exponent);
}

QString shortestSingleText(float value)
{
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    QString text = QString::fromLatin1(buffer, static_cast<int>(result.ptr - buffer));
    text.replace(QLatin1Char('e'), QLatin1Char('E'));
    return text;
}

} // namespace quvo
