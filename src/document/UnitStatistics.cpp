#include "document/UnitStatistics.h"

#include "resources/RuntimeError.h"
#include "resources/TextNumber.h"

#include <QStringList>

#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>

namespace quvo {

namespace {

// One character of either kind of text, as UTF-16: the rules below read both the texts
// the program passes around (UTF-16) and the single-byte fields of a data file line.
inline char16_t at(QStringView text, qsizetype i)
{
    return text.utf16()[i];
}

inline char16_t at(QLatin1StringView text, qsizetype i)
{
    return static_cast<unsigned char>(text.data()[i]);
}

template <class View>
bool isReadingValue(View value)
{
    // Exactly "ERROR", "", "+OL" or "-OL" (case counts); compared by hand, this runs per row.
    switch (value.size()) {
    case 0:
        return false;
    case 3:
        return !((at(value, 0) == u'+' || at(value, 0) == u'-') && at(value, 1) == u'O' && at(value, 2) == u'L');
    case 5:
        return !(at(value, 0) == u'E' && at(value, 1) == u'R' && at(value, 2) == u'R' && at(value, 3) == u'O'
                 && at(value, 4) == u'R');
    default:
        return true;
    }
}

// Exact comparison with a word; MODE words are short, so by hand (this runs per row).
template <class View, std::size_t N>
bool is(View text, const char16_t (&word)[N])
{
    if (text.size() != static_cast<qsizetype>(N - 1))
        return false;
    for (std::size_t i = 0; i + 1 < N; ++i) {
        if (at(text, static_cast<qsizetype>(i)) != word[i])
            return false;
    }
    return true;
}

// Whether the raw text holds a three-character exponent mark such as "E-3". Searched from
// the back: where a raw text has a mark, it ends with it.
template <class View>
bool has(View raw, const char16_t (&mark)[4])
{
    for (qsizetype i = raw.size() - 3; i >= 0; --i) {
        if (at(raw, i) == mark[0] && at(raw, i + 1) == mark[1] && at(raw, i + 2) == mark[2])
            return true;
    }
    return false;
}

// "0 if it contains E-6; else 1 if it contains E-3; else 2" (the current words).
template <class View>
std::int16_t currentRange(View raw)
{
    if (has(raw, u"E-6"))
        return 0;
    if (has(raw, u"E-3"))
        return 1;
    return 2;
}

template <class View>
UnitClass classify(View mode, View raw, QStringView meterModel)
{
    using namespace UnitCodes;
    if (is(mode, u"VAC"))
        return {Vac, static_cast<std::int16_t>(has(raw, u"E-3") ? 0 : 1)};
    if (is(mode, u"VDC"))
        return {Vdc, static_cast<std::int16_t>(has(raw, u"E-3") ? 0 : 1)};
    if (is(mode, u"V"))
        return {Volt, 0};
    if (is(mode, u"OHM")) {
        if (has(raw, u"E+3"))
            return {Ohm, 1};
        if (has(raw, u"E+6"))
            return {Ohm, 2};
        if (is(meterModel, u"4") || is(meterModel, u"5"))
            return {Ohm, 0};
        // Characters after the first ".": length - position of "." counted from 1, where a
        // text without "." has position 0 (so the whole length counts).
        qsizetype point = 0;
        for (qsizetype i = 0; i < raw.size(); ++i) {
            if (at(raw, i) == u'.') {
                point = i + 1;
                break;
            }
        }
        const qsizetype following = raw.size() - point;
        return {following < 2 ? OhmCoarse : Ohm, 0};
    }
    if (is(mode, u"F")) {
        if (has(raw, u"E-9"))
            return {Farad, 0};
        if (has(raw, u"E-6"))
            return {Farad, 1};
        if (has(raw, u"E-3"))
            return {Farad, 2};
        return {Celsius, 0};
    }
    if (is(mode, u"ADC"))
        return {Adc, currentRange(raw)};
    if (is(mode, u"AAC"))
        return {Aac, currentRange(raw)};
    if (is(mode, u"A"))
        return {Ampere, currentRange(raw)};
    if (is(mode, u"Vd"))
        return {DiodeVolt, 0};
    if (is(mode, u"C"))
        return {Celsius, 0};
    if (is(mode, u"Hz"))
        return {Hertz, 0};
    if (is(mode, u"lx"))
        return {Lux, 0};
    if (is(mode, u"%"))
        return {Percent, 0};
    if (is(mode, u" AC"))
        return {PlainAc, 0};
    if (is(mode, u" DC"))
        return {PlainDc, 0};
    return {Vac, 0}; // any other word
}

} // namespace

bool IsReadingValue(QStringView value)
{
    return isReadingValue(value);
}

bool IsReadingValue(QLatin1StringView value)
{
    return isReadingValue(value);
}

namespace {

template <class View>
double readingNumberOf(View value)
{
    double number = 0;
    if (!parseNumber(value, number))
        throw RuntimeError(QStringLiteral("The reading \"%1\" is not a number.").arg(value));
    if (std::fabs(number) > std::numeric_limits<float>::max())
        throw RuntimeError(QStringLiteral("The reading \"%1\" is out of range.").arg(value));
    return number;
}

} // namespace

double readingNumber(QStringView value)
{
    return readingNumberOf(value);
}

void refuseReading(QLatin1StringView value)
{
    readingNumberOf(value); // throws the reason: not a number, or out of range
    throw RuntimeError(QStringLiteral("The reading \"%1\" is not a number.").arg(value));
}

UnitClass classifyUnit(QStringView mode, QStringView raw, QStringView meterModel)
{
    return classify(mode, raw, meterModel);
}

UnitClass classifyUnit(QLatin1StringView mode, QLatin1StringView raw, QStringView meterModel)
{
    return classify(mode, raw, meterModel);
}

AverageFormat averageFormat(int unitCode, int rangeIndex, QStringView meterModel)
{
    using namespace UnitCodes;
    const auto plain = [](const char* pattern) { return AverageFormat{QString::fromLatin1(pattern), 0, {}}; };
    const auto scaled = [](const char* pattern, int power, const char* suffix) {
        return AverageFormat{QString::fromLatin1(pattern), power, QString::fromLatin1(suffix)};
    };
    const AverageFormat empty;
    const bool models01 = meterModel == u"0" || meterModel == u"1";
    const bool models23 = meterModel == u"2" || meterModel == u"3";

    switch (unitCode) {
    case Vac:
        return rangeIndex == 0 ? scaled("0.000", 3, "E-3") : plain("0.00000");
    case Vdc:
        return rangeIndex == 0 ? scaled("0.000", 3, "E-3") : plain("0.000000");
    case Volt:
        if (models01)
            return plain("0.000");
        if (models23)
            return plain("0.0000");
        return empty;
    case Ohm:
        if (rangeIndex == 0)
            return plain("0.000");
        if (rangeIndex == 1)
            return scaled("0.00000", -3, "E+3");
        return scaled("0.00000000", -6, "E+6");
    case Farad:
        if (rangeIndex == 0)
            return scaled("0.000", 9, "E-9");
        if (rangeIndex == 1)
            return scaled("0.000000", 6, "E-6");
        return scaled("0.000000000", 3, "E-3");
    case Adc:
    case Aac:
        if (rangeIndex == 0)
            return scaled("0.000", 6, "E-6");
        if (rangeIndex == 1)
            return scaled("0.00000", 3, "E-3");
        return plain("0.00000000");
    case Ampere:
        if (rangeIndex == 0) {
            if (models01)
                return scaled("0.0", 6, "E-6");
            if (models23)
                return scaled("0.00", 6, "E-6");
            return empty;
        }
        if (rangeIndex == 1)
            return scaled("0.0000", 3, "E-3");
        return plain("0.0000000");
    case OhmCoarse:
        return plain("0.0");
    case DiodeVolt:
        return plain("0.0000");
    case Celsius:
    case Hertz:
    case Lux:
    case Percent:
    case PlainAc:
    case PlainDc:
        return plain("0.000");
    default: // None, or anything else
        return empty;
    }
}

int patternDecimals(const QString& pattern)
{
    const auto point = pattern.indexOf(QLatin1Char('.'));
    return point < 0 ? 0 : static_cast<int>(pattern.size() - point - 1);
}

QString averageText(double average, bool statisticsByUnit, int unitCode, int rangeIndex, QStringView meterModel)
{
    if (!statisticsByUnit)
        return formatFixed(average, 4);
    const AverageFormat format = averageFormat(unitCode, rangeIndex, meterModel);
    if (format.pattern.isEmpty())
        return {};
    double scaled = average;
    // Whole powers of ten, multiplied or divided exactly rather than by a rounded 10^-k.
    if (format.scalePower > 0)
        scaled = average * std::pow(10.0, format.scalePower);
    else if (format.scalePower < 0)
        scaled = average / std::pow(10.0, -format.scalePower);
    return formatFixed(scaled, patternDecimals(format.pattern)) + format.suffix;
}

std::int32_t shownRowNumber(std::int32_t row, QStringView meterModel)
{
    const bool fromOne = meterModel.isEmpty() || meterModel == u"0" || meterModel == u"1";
    return fromOne ? row : row - 1;
}

QString extremeText(int kind, bool withNumber, const std::array<QString, 4>& headings, std::int32_t shownNumber,
                    QStringView time, QStringView value, QStringView mode)
{
    const auto field = [](const QString& heading, QStringView text) {
        QString f = heading;
        f.append(QStringLiteral("[ ")).append(text).append(QStringLiteral(" ]"));
        return f;
    };
    const QString separator = QStringLiteral("   ");
    const QString number = QString::number(shownNumber);
    QStringList fields;
    if (kind == 4) { // SAVE-mode records carry no time: always the number, never the time
        fields << field(headings[0], number) << field(headings[2], value) << field(headings[3], mode);
    } else {
        if (withNumber)
            fields << field(headings[0], number);
        fields << field(headings[1], time) << field(headings[2], value) << field(headings[3], mode);
    }
    return fields.join(separator);
}

void ReadingStatistics::tooManyToCount()
{
    throw RuntimeError(QStringLiteral("Too many readings to count."));
}

} // namespace quvo
