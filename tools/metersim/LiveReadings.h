#pragma once
// The simulated meter's live reading: what "RR,1" answers. Each reading is one step of a
// slow sawtooth ramp plus a little seeded noise, in the chosen function and range; in
// "cycle" the function and range change with every reading, so that a short run shows
// every unit word and the usual SI prefixes of each.

#include "MeterSimulator.h"

#include <QList>
#include <QString>

#include <random>

namespace quvo::sim {

// One measuring range: the unit word as sent (3 characters), its SI prefix, the decimals
// of the 6-character number field and the values the ramp moves through.
struct LiveRange {
    QString unit;         // "VDC", "V  ", " AC", ...
    QChar prefix;         // n u m k M or blank
    int decimals = 3;     // 1..4: the field holds 5 digits and one "."
    double centre = 0;    // middle of the ramp
    double amplitude = 1; // the ramp runs from centre - amplitude to centre + amplitude
    bool bipolar = false; // readings may be negative
    bool blankPadded = false; // leading blanks instead of leading zeros (" 0.123")
};

// Every range of one function, its main range first (the one a fixed function stays in).
QList<LiveRange> liveRanges(const QString& function);

// All ranges that "cycle" walks through, in order.
QList<LiveRange> cycleRanges();

// The canonical unit word for a function name ("V" gives "V  ", "AC" gives " AC"), or an
// empty text when the name is unknown. "cycle" is not a unit word.
QString unitWordOf(const QString& function);

// A small deterministic random source: the same seed gives the same numbers on every
// platform. std::mt19937 yields the same sequence everywhere, the standard library's
// distributions do not, so the conversion to [0, 1) is done here.
class SeededRandom {
public:
    explicit SeededRandom(unsigned seed = 1) : m_engine(seed) {}
    void reseed(unsigned seed) { m_engine.seed(seed); }
    double uniform(); // [0, 1)
    bool chance(double probability) { return probability > 0 && uniform() < probability; }
    int below(int n); // 0 .. n-1

private:
    std::mt19937 m_engine;
};

class LiveReadings {
public:
    explicit LiveReadings(unsigned seed) : m_random(seed) {}
    void reseed(unsigned seed) { m_random.reseed(seed); }

    // The next live reading. overloadEvery n > 0 makes every n-th reading an overload.
    // An unknown function reads as "VDC".
    MeterValue next(const QString& function, int overloadEvery);

    int count() const { return m_count; }

private:
    SeededRandom m_random;
    int m_count = 0; // readings made so far
};

// The 6-character number field of |value| in a range: leading zeros (or blanks), the
// range's decimals, clamped to what the field can hold.
QString numberField(double value, const LiveRange& range);

} // namespace quvo::sim
