#include "link/ReadingDecoder.h"

#include "resources/Constant.h"
#include "resources/TextNumber.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace quvo {

namespace {

// Field positions of the stripped reading line, counted from 1.
constexpr qsizetype StatusPos = 4;
constexpr qsizetype SignPos = 6;
constexpr qsizetype NumberPos = 7;
constexpr qsizetype NumberWidth = 6;
constexpr qsizetype PrefixPos = 13;
constexpr qsizetype PrefixUnitWidth = 4; // prefix and unit, positions 13 to 16
constexpr qsizetype UnitWidth = 3;

const QChar Space = QLatin1Char(' ');

// `count` characters from 1-based position `pos`; fewer (or none) past the end of the text.
QStringView cut(const QString& text, qsizetype pos, qsizetype count)
{
    const qsizetype start = pos - 1;
    if (start >= text.size())
        return {};
    return QStringView(text).mid(start, qMin(count, text.size() - start));
}

QChar charAt(const QString& text, qsizetype pos)
{
    return pos - 1 < text.size() ? text.at(pos - 1) : QChar();
}

// Blanks removed at both ends (only blanks: other white space is part of the text).
QString trimBlanks(QStringView text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && text.at(begin) == Space)
        ++begin;
    while (end > begin && text.at(end - 1) == Space)
        --end;
    return text.mid(begin, end - begin).toString();
}

QString trimTrailingBlanks(QStringView text)
{
    qsizetype end = text.size();
    while (end > 0 && text.at(end - 1) == Space)
        --end;
    return text.first(end).toString();
}

// A text that a data file line can carry as one field.
bool storableText(const QString& text)
{
    for (const QChar c : text) {
        if (c == QLatin1Char(',') || c == QLatin1Char('\r') || c == QLatin1Char('\n') || c.unicode() > 0xFF)
            return false;
    }
    return true;
}

// The 8-bit code of a character as the meter's check sum counts it.
int characterCode(QChar c)
{
    return c.unicode() <= 0xFF ? c.unicode() : '?';
}

} // namespace

bool VerifyChecksum(QString& line)
{
    std::int32_t sum = 0; // kept within the range of a signed 16-bit sum
    for (qsizetype i = 0; i + 1 < line.size(); ++i) {
        sum += characterCode(line.at(i));
        if (sum > std::numeric_limits<std::int16_t>::max())
            return false;
    }
    const int n = sum & 0x0F;
    const QChar expected = n < 10 ? QChar(u'0' + n) : QChar(u'A' + (n - 10));
    if (line.isEmpty() || line.back() != expected)
        return false;
    line.chop(1);
    return true;
}

QString GetValueText(const QString& line)
{
    const QStringView field = cut(line, NumberPos, NumberWidth);
    const qsizetype p = field.indexOf(QLatin1Char('.')) + 1; // 1-based, 0 when absent

    // How many leading zeros or blanks may go: one digit always stays before the point,
    // and without a point (or with one at either end) the last character always stays.
    int k = 5;
    if (p >= 2 && p <= 5)
        k = static_cast<int>(p) - 2;

    QString result;
    result.reserve(1 + NumberWidth);
    if (charAt(line, SignPos) != QLatin1Char('+'))
        result.append(QLatin1Char('-'));
    for (const QChar c : field) {
        if (k > 0) {
            if (c == QLatin1Char('0') || c == Space) {
                --k;
                continue;
            }
            k = 0;
        }
        result.append(c);
    }
    return result;
}

QString GetPrefixExponent(const QString& line)
{
    switch (charAt(line, PrefixPos).unicode()) {
    case u'n':
        return QStringLiteral("E-9");
    case u'u':
        return QStringLiteral("E-6");
    case u'm':
        return QStringLiteral("E-3");
    case u'k':
        return QStringLiteral("E+3");
    case u'M':
        return QStringLiteral("E+6");
    default:
        return {};
    }
}

QString GetUnitText(const QString& line)
{
    return trimTrailingBlanks(QStringView(line).last(qMin(UnitWidth, line.size())));
}

QString GetOverloadText(const QString& line)
{
    return cut(line, SignPos, 1).toString() + QStringLiteral("OL");
}

MeterReading DecodeReading(const QString& line)
{
    MeterReading reading;
    reading.ValueText = GetValueText(line);
    reading.Exponent = GetPrefixExponent(line);
    reading.UnitText = GetUnitText(line);
    reading.Overload = charAt(line, StatusPos) == QLatin1Char('O');
    reading.OverloadText = GetOverloadText(line);
    return reading;
}

QString ScientificValueText(const MeterReading& reading)
{
    return reading.ValueText + reading.Exponent;
}

QString DisplayValueText(const QString& line)
{
    const bool overload = charAt(line, StatusPos) == QLatin1Char('O');
    return (overload ? GetOverloadText(line) : GetValueText(line))
        + trimBlanks(cut(line, PrefixPos, PrefixUnitWidth));
}

bool IsUsableReading(const QString& line)
{
    const MeterReading reading = DecodeReading(line);
    const QString value = ScientificValueText(reading);
    if (!reading.Overload) {
        double number = 0;
        if (!parseNumber(value, number) || std::fabs(number) > std::numeric_limits<float>::max())
            return false;
    }
    return storableText(value) && storableText(reading.UnitText) && storableText(reading.OverloadText);
}

LiveAnswer CheckLiveAnswer(const QString& answer)
{
    LiveAnswer result;
    result.line = answer;
    if (answer == ErrorReading) {
        result.kind = LiveAnswerKind::NoAnswer;
        return result;
    }
    if (!VerifyChecksum(result.line)) {
        result.kind = LiveAnswerKind::ChecksumFailed;
        return result;
    }
    if (result.line == Commands::CommandRejected)
        result.kind = LiveAnswerKind::CommandRejected;
    else if (!result.line.startsWith(ReadingTag))
        result.kind = LiveAnswerKind::NotAReading;
    else
        result.kind = LiveAnswerKind::Reading;
    return result;
}

QString MonitorText(const QString& answer)
{
    const LiveAnswer checked = CheckLiveAnswer(answer);
    if (checked.kind != LiveAnswerKind::Reading)
        return ErrorReading;
    return DisplayValueText(checked.line);
}

RealtimeAnswer ParseRealtimeAnswer(const QString& answer)
{
    const LiveAnswer checked = CheckLiveAnswer(answer);
    RealtimeAnswer row;
    switch (checked.kind) {
    case LiveAnswerKind::ChecksumFailed:
        row.display = ErrorReading; // a garbled line has no value at all
        return row;
    case LiveAnswerKind::NoAnswer:
    case LiveAnswerKind::CommandRejected:
    case LiveAnswerKind::NotAReading:
        row.display = ErrorReading;
        row.numeric = ErrorReading;
        return row;
    case LiveAnswerKind::Reading:
        break;
    }
    if (!IsUsableReading(checked.line)) {
        // Garbled although its check character matched: the document could not take the
        // row, and the recording would end on it. It becomes an error row instead.
        row.display = ErrorReading;
        return row;
    }
    const MeterReading reading = DecodeReading(checked.line);
    row.unit = reading.UnitText;
    row.numeric = ScientificValueText(reading);
    row.display = reading.Overload ? reading.OverloadText : row.numeric;
    row.valid = !reading.Overload;
    return row;
}

} // namespace quvo
