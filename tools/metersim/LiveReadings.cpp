#include "LiveReadings.h"

#include "resources/TextNumber.h"

#include <algorithm>
#include <cmath>

namespace quvo::sim {

namespace {

struct FunctionRanges {
    const char* name; // the function name as options and the command line give it
    QList<LiveRange> ranges;
};

LiveRange range(const char* unit, char prefix, int decimals, double centre, double amplitude,
                bool bipolar = false, bool blankPadded = false)
{
    return LiveRange{QString::fromLatin1(unit), QLatin1Char(prefix), decimals, centre, amplitude,
                     bipolar, blankPadded};
}

// Every function of the meter with its ranges, main range first. Centre and amplitude keep
// each ramp inside what its 6-character field can show.
const QList<FunctionRanges>& functionTable()
{
    static const QList<FunctionRanges> table = {
        {"VDC", {range("VDC", ' ', 3, 0, 15, true), range("VDC", 'm', 2, 0, 350, true)}},
        {"VAC", {range("VAC", ' ', 2, 230, 20), range("VAC", 'm', 2, 400, 300)}},
        {"V", {range("V  ", ' ', 4, 0, 2.5, true)}},
        {"OHM", {range("OHM", ' ', 2, 470, 300), range("OHM", 'k', 3, 47, 30), range("OHM", 'M', 4, 2.2, 1.5)}},
        {"F", {range("F  ", 'n', 2, 470, 300), range("F  ", 'u', 3, 22, 15), range("F  ", 'm', 4, 4.7, 3)}},
        {"ADC", {range("ADC", 'm', 3, 0, 40, true), range("ADC", 'u', 1, 0, 2500, true), range("ADC", ' ', 4, 0, 5, true)}},
        {"AAC", {range("AAC", 'm', 3, 50, 40), range("AAC", 'u', 1, 3000, 2000), range("AAC", ' ', 4, 5, 4)}},
        {"A", {range("A  ", 'm', 3, 0, 40, true), range("A  ", 'u', 1, 0, 2500, true), range("A  ", ' ', 4, 0, 5, true)}},
        {"Vd", {range("Vd ", ' ', 4, 0.6, 0.15)}},
        {"C", {range("C  ", ' ', 2, 5, 25, true)}},
        {"Hz", {range("Hz ", ' ', 2, 50, 10), range("Hz ", 'k', 4, 1, 0.5)}},
        {"lx", {range("lx ", ' ', 1, 450, 300, false, true)}},
        {"%", {range("%  ", ' ', 2, 50, 40, false, true)}},
        {"AC", {range(" AC", ' ', 3, 5, 3)}},
        {"DC", {range(" DC", ' ', 3, 0, 5, true)}},
    };
    return table;
}

const FunctionRanges* findFunction(const QString& name)
{
    // " AC" and "V  " are accepted as well as "AC" and "V": the unit word as sent.
    const QString key = name.trimmed();
    for (const FunctionRanges& f : functionTable()) {
        if (key == QLatin1String(f.name))
            return &f;
    }
    return nullptr;
}

// The ramp runs through 40 readings from its bottom to just below its top, then starts over.
constexpr int RampSteps = 40;
constexpr double NoiseShare = 0.02; // noise is at most this share of the amplitude

// What the meter sends in the number field of an overloaded reading.
const QString OverloadField = QStringLiteral("0.L   ");

} // namespace

double SeededRandom::uniform()
{
    // 32 random bits scaled into [0, 1).
    return static_cast<double>(m_engine()) / 4294967296.0;
}

int SeededRandom::below(int n)
{
    if (n <= 1)
        return 0;
    return std::min(n - 1, static_cast<int>(uniform() * n));
}

QList<LiveRange> liveRanges(const QString& function)
{
    const FunctionRanges* f = findFunction(function);
    return f ? f->ranges : QList<LiveRange>{};
}

QList<LiveRange> cycleRanges()
{
    QList<LiveRange> all;
    for (const FunctionRanges& f : functionTable())
        all += f.ranges;
    return all;
}

QString unitWordOf(const QString& function)
{
    const FunctionRanges* f = findFunction(function);
    return f ? f->ranges.front().unit : QString();
}

QStringList liveFunctionNames()
{
    QStringList names;
    for (const FunctionRanges& f : functionTable())
        names << QString::fromLatin1(f.name);
    names << QStringLiteral("cycle");
    return names;
}

bool isLiveFunction(const QString& name)
{
    return name == QLatin1String("cycle") || findFunction(name) != nullptr;
}

QString numberField(double value, const LiveRange& range)
{
    const int decimals = std::clamp(range.decimals, 1, 4);
    const double largest = std::pow(10.0, 5 - decimals) - std::pow(10.0, -decimals);
    const QString digits = formatFixed(std::min(std::fabs(value), largest), decimals);
    return digits.rightJustified(6, range.blankPadded ? QLatin1Char(' ') : QLatin1Char('0'), true);
}

MeterValue LiveReadings::next(const QString& function, int overloadEvery)
{
    ++m_count;
    LiveRange r;
    if (function == QLatin1String("cycle")) {
        static const QList<LiveRange> all = cycleRanges();
        r = all.at((m_count - 1) % all.size());
    } else {
        const QList<LiveRange> ranges = liveRanges(function);
        r = ranges.isEmpty() ? liveRanges(QStringLiteral("VDC")).front() : ranges.front();
    }

    const double phase = static_cast<double>((m_count - 1) % RampSteps) / (RampSteps / 2.0) - 1.0;
    const double noise = r.amplitude * NoiseShare * (2.0 * m_random.uniform() - 1.0);
    double value = r.centre + r.amplitude * phase + noise;
    if (!r.bipolar)
        value = std::max(value, 0.0);

    MeterValue v;
    v.prefix = r.prefix;
    v.unit = r.unit;
    v.number = numberField(value, r);
    // A reading that rounds to zero is sent as "+": the meter shows no "-0".
    const bool zero = v.number.count(QLatin1Char('0')) + v.number.count(QLatin1Char(' ')) == 5;
    v.sign = (value < 0 && !zero) ? QLatin1Char('-') : QLatin1Char('+');
    if (overloadEvery > 0 && m_count % overloadEvery == 0) {
        v.overload = true;
        v.number = OverloadField;
    }
    return v;
}

} // namespace quvo::sim
