#pragma once
// The rules behind MAX, MIN and AVG, apart from any document: which readings count, the
// unit class of a reading (its function word and the decimal exponent of its raw text),
// the running maxima, minima and sum, and how the average and the MAX/MIN lines are
// written. DataDocument keeps one ReadingStatistics and calls these.

#include "resources/TextNumber.h"

#include <QLatin1StringView>
#include <QString>
#include <QStringView>

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

namespace quvo {

// A reading counts as a number unless it is exactly "ERROR", "", "+OL" or "-OL".
bool IsReadingValue(QStringView value);
bool IsReadingValue(QLatin1StringView value);

// The number of a reading that passed IsReadingValue, as the statistics and the chart use
// it. Throws RuntimeError when the text is not a number or lies outside single precision.
double readingNumber(QStringView value);
inline double readingNumber(QLatin1StringView value);

// Unit classes of the readings being summed (`UnitCode`).
namespace UnitCodes {
constexpr int Vac = 0;
constexpr int Vdc = 1;
constexpr int Volt = 2;
constexpr int Ohm = 3;
constexpr int Farad = 4;
constexpr int Adc = 5;
constexpr int Aac = 6;
constexpr int Ampere = 7;
constexpr int OhmCoarse = 8;   // "OHM" with fewer than two digits after the point
constexpr int DiodeVolt = 9;   // "Vd"
constexpr int Celsius = 10;    // "C", and "F" without an exponent
constexpr int Hertz = 11;
constexpr int None = 12;       // no unit yet; never produced by the classification
constexpr int Lux = 13;
constexpr int Percent = 14;
constexpr int PlainAc = 15;    // " AC"
constexpr int PlainDc = 16;    // " DC"
} // namespace UnitCodes

struct UnitClass {
    int unitCode = UnitCodes::None;
    std::int16_t rangeIndex = 0; // 0..2, the exponent class within the unit
    friend bool operator==(const UnitClass&, const UnitClass&) = default;
};

// The unit class of a reading from its MODE word and its raw text (`ClassifyUnit`). The
// meter model decides the "OHM" rule: models "4" and "5" never give the coarse class.
UnitClass classifyUnit(QStringView mode, QStringView raw, QStringView meterModel);
// The same on the single-byte fields of a data file line.
UnitClass classifyUnit(QLatin1StringView mode, QLatin1StringView raw, QStringView meterModel);

// How an average is written for a unit class: the fixed pattern ("0.000"), the power of ten
// the average is multiplied by first, and the text appended directly after it ("E-3").
// An empty pattern means the average is shown as an empty text.
struct AverageFormat {
    QString pattern;
    int scalePower = 0;
    QString suffix;
};
AverageFormat averageFormat(int unitCode, int rangeIndex, QStringView meterModel);

// The AVG text of an average (`GetDispavg` without the empty-count case). Without
// statistics by unit the average is written with "0.0000".
QString averageText(double average, bool statisticsByUnit, int unitCode, int rangeIndex, QStringView meterModel);

// Decimals of a fixed pattern: "0.000" has 3, "0.0" has 1, "0" has 0.
int patternDecimals(const QString& pattern);

// The row number a MAX or MIN line names: rows count from 0 in the record modes of meter
// models other than "", "0" and "1".
std::int32_t shownRowNumber(std::int32_t row, QStringView meterModel);

// The MAX or MIN line: fields "heading[ text ]" joined by three blanks. SAVE-mode documents
// (kind 4) show No., DATA and MODE; other kinds No. (only with the number), TIME, DATA, MODE.
// headings are the texts of grid row 0: "No.", "TIME", "DATA", "MODE".
QString extremeText(int kind, bool withNumber, const std::array<QString, 4>& headings, std::int32_t shownNumber,
                    QStringView time, QStringView value, QStringView mode);

// The running figures of one document: the chart markers over every numeric reading, and
// the MAX/MIN/AVG figures since the last change of unit class.
struct ReadingStatistics {
    std::int32_t chartMaxRow = 0;   // 0 = none
    std::int32_t chartMinRow = 0;
    float chartMaxValue = 0;
    float chartMinValue = 0;
    std::int32_t statusMaxRow = 0;  // 0 = none
    std::int32_t statusMinRow = 0;
    float statusMaxValue = 0;
    float statusMinValue = 0;
    double sum = 0;
    std::int32_t numericCount = 0;
    int unitCode = UnitCodes::None;
    std::int16_t rangeIndex = 0;

    // One numeric reading at `row` (`AccumulateStatistics`): compared in single precision,
    // ties keep the earlier row, the sum takes the unrounded value. Throws RuntimeError when
    // the numeric count would overflow. (In the header: it runs for every row of a file.)
    void accumulate(double value, std::int32_t row)
    {
        if (numericCount == std::numeric_limits<std::int32_t>::max())
            tooManyToCount();
        const auto single = static_cast<float>(value);
        if (chartMaxRow == 0 || single > chartMaxValue) {
            chartMaxRow = row;
            chartMaxValue = single;
        }
        if (chartMinRow == 0 || single < chartMinValue) {
            chartMinRow = row;
            chartMinValue = single;
        }
        if (statusMaxRow == 0 || single > statusMaxValue) {
            statusMaxRow = row;
            statusMaxValue = single;
        }
        if (statusMinRow == 0 || single < statusMinValue) {
            statusMinRow = row;
            statusMinValue = single;
        }
        sum += value;
        ++numericCount;
    }

    // A reading of unit class `unit` arrives (`SetUnitRange` after the classification). A new
    // class clears the sum, the count and the MAX/MIN rows (not the chart markers) and
    // returns true; the same class only ever raises the range index.
    bool enterUnit(UnitClass unit)
    {
        if (unit.unitCode != unitCode) {
            sum = 0;
            numericCount = 0;
            statusMaxRow = 0;
            statusMinRow = 0;
            unitCode = unit.unitCode;
            rangeIndex = unit.rangeIndex;
            return true;
        }
        if (unit.rangeIndex > rangeIndex)
            rangeIndex = unit.rangeIndex;
        return false;
    }

private:
    [[noreturn]] static void tooManyToCount();
};

// The error of a reading that readingNumber does not take.
[[noreturn]] void refuseReading(QLatin1StringView value);

// In the header, as a data file's reader calls it for every row.
inline double readingNumber(QLatin1StringView value)
{
    double number = 0;
    if (parseNumber(value, number) && std::fabs(number) <= std::numeric_limits<float>::max())
        return number;
    refuseReading(value);
}

} // namespace quvo
