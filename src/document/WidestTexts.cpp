#include "document/WidestTexts.h"

#include "document/UnitStatistics.h"
#include "resources/Constant.h"
#include "resources/ResID.h"

#include <array>

namespace quvo {

const std::vector<WidestReading>& widestReadings()
{
    static const std::vector<WidestReading> readings = [] {
        struct Word {
            const char* mode;
            std::initializer_list<const char*> exponents;
            const char* model;
        };
        // Prefixes as the meter's functions use them: milli for volts, kilo and mega for
        // ohms, nano to milli for farads, micro and milli for amperes.
        const Word words[] = {
            {"VAC", {"E-3", ""}, "0"},         {"VDC", {"E-3", ""}, "0"},
            {"V", {""}, "2"},                  {"OHM", {"", "E+3", "E+6"}, "0"},
            {"F", {"E-9", "E-6", "E-3", ""}, "0"}, {"ADC", {"E-6", "E-3", ""}, "0"},
            {"AAC", {"E-6", "E-3", ""}, "0"},  {"A", {"E-6", "E-3", ""}, "2"},
            {"Vd", {""}, "0"},                 {"C", {""}, "0"},
            {"Hz", {""}, "0"},                 {"lx", {""}, "0"},
            {"%", {""}, "0"},                  {" AC", {""}, "0"},
            {" DC", {""}, "0"},
        };
        std::vector<WidestReading> out;
        for (const Word& w : words) {
            for (const char* exponent : w.exponents)
                out.push_back({QString::fromLatin1(w.mode), QStringLiteral("-99999") + QString::fromLatin1(exponent),
                               QString::fromLatin1(w.model)});
        }
        // Ohms with one decimal are the coarse class, written "0.0".
        out.push_back({QStringLiteral("OHM"), QStringLiteral("-9999.9"), QStringLiteral("0")});
        return out;
    }();
    return readings;
}

QStringList widestExtremeTexts()
{
    const std::array<QString, 4> headings = {QStringLiteral("No."), ResID(Res::HeadingTime), ResID(Res::HeadingData),
                                             ResID(Res::HeadingMode)};
    QStringList texts;
    for (const WidestReading& r : widestReadings())
        texts << extremeText(DataKinds::Realtime, true, headings, MaxReadings, QStringLiteral("00:00:00"), r.value,
                             r.mode);
    return texts;
}

QStringList widestAverageTexts()
{
    QStringList texts;
    for (const WidestReading& r : widestReadings()) {
        const UnitClass unit = classifyUnit(r.mode, r.value, r.meterModel);
        texts << averageText(readingNumber(r.value), true, unit.unitCode, unit.rangeIndex, r.meterModel);
    }
    return texts;
}

} // namespace quvo
