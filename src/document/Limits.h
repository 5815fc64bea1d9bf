#pragma once
// Limits and judgement (beyond the original program; without limits nothing here is used
// and every window behaves as it always has).
//
// A person sets an upper and a lower limit, each optional, for one unit (a MODE word such
// as "VDC" or "OHM"), and whether the Monitor sounds when a reading leaves the band. Every
// reading of that unit is then judged:
//   HI    above the upper limit        "+OL" counts as above every number
//   LO    below the lower limit        "-OL" counts as below every number
//   PASS  otherwise; a reading equal to a limit passes
//   none  "ERROR", an empty reading, a reading of another unit, or no limit set
// So "+OL" is HI whenever there is an upper limit, and passes when there is only a lower
// one (an open circuit passes a "more than 1 MOHM" test).
//
// Limits are numbers in the unit's base (volts, ohms, amperes), typed with a "." whatever
// the desktop's language, and may carry an SI prefix as the meter shows them: "5m", "5 m",
// "5E-3" and "0.005" are the same limit. Readings and limits are compared as the decimal
// numbers they are written as: "5.000E-3" from the meter is equal to a limit of "5m".
//
// Pure logic, no widgets: the Monitor's comparator, the documents' table, chart and status
// panel, the workbook summary, the published messages and quvolink-cli all judge with it.

#include <QLatin1StringView>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <cstdint>
#include <optional>
#include <variant>

namespace quvo {

struct Limits {
    std::optional<double> upper;
    std::optional<double> lower;
    // The MODE word the limits are for, without blanks around it ("VDC", "AC"). Empty: the
    // unit of the first reading judged (the command-line program's default).
    QString unit;
    bool buzzer = false;

    // True when at least one limit is set: readings are judged.
    bool active() const { return upper.has_value() || lower.has_value(); }
    friend bool operator==(const Limits&, const Limits&) = default;
};

enum class Judgement : std::uint8_t { None, Pass, Hi, Lo };

// "HI", "PASS", "LO"; "-" for no judgement.
QString judgementText(Judgement judgement);

// True when the MODE word names the unit (blanks around both ignored, letter case too:
// "VDC" and " vdc" are the same unit; no two MODE words differ only by case).
bool isSameUnit(QStringView mode, QStringView unit);

// The judgement of a number against the limits, ignoring units.
inline Judgement judgeNumber(const Limits& limits, double value)
{
    if (limits.upper && value > *limits.upper)
        return Judgement::Hi;
    if (limits.lower && value < *limits.lower)
        return Judgement::Lo;
    return limits.active() ? Judgement::Pass : Judgement::None;
}

// The judgement of a reading given as a document row holds it: its DATA text (a decimal
// number such as "1.234E-3", "+OL", "-OL", "ERROR" or empty) and its MODE word, against
// limits whose unit is set.
Judgement judgeReading(const Limits& limits, QStringView value, QStringView mode);

// The same on the single-byte texts of a document's rows.
Judgement judgeReading(const Limits& limits, QLatin1StringView value, QLatin1StringView mode);

// Judges a run of readings against limits whose unit may be left to the first reading:
// that reading's MODE word (the first that has one) becomes the unit of all that follow.
class ReadingJudge {
public:
    explicit ReadingJudge(Limits limits = {}) : m_limits(std::move(limits)) {}

    Judgement judge(QStringView value, QStringView mode);
    Judgement judge(QLatin1StringView value, QLatin1StringView mode);
    // The limits with their unit, once it is known.
    const Limits& limits() const { return m_limits; }

private:
    template <class View>
    Judgement judgeAny(View value, View mode);

    Limits m_limits;
};

// How many readings of a run were judged HI, LO and PASS.
struct JudgementCounts {
    int hi = 0;
    int lo = 0;
    int pass = 0;

    int judged() const { return hi + lo + pass; }
    int outOfLimits() const { return hi + lo; }
    void add(Judgement judgement, int step = 1)
    {
        if (judgement == Judgement::Hi)
            hi += step;
        else if (judgement == Judgement::Lo)
            lo += step;
        else if (judgement == Judgement::Pass)
            pass += step;
    }
    friend bool operator==(const JudgementCounts&, const JudgementCounts&) = default;
};

// The counts as a document's status panel shows them: "HI 2   LO 1   PASS 17".
QString judgementCountsText(const JudgementCounts& counts);

// --- Texts ----------------------------------------------------------------------------------

// Reads a limit: blanks around it ignored, a number with "." as its decimal point and an
// optional exponent, then optionally an SI prefix (n, u or µ, m, k or K, M), with or without
// a blank before it. std::nullopt for anything else, also an empty text.
std::optional<double> parseLimit(QStringView text);

// The shortest text that reads back as the same number ("0.005", "1500", "1e-07").
QString limitText(double value);

// A limit as the meter would show it: the number with an SI prefix so that at most three
// digits stand before the point, then the unit ("5mVDC", "1.5kOHM", "-2VDC", "0VDC").
QString limitDisplayText(double value, const QString& unit);

// The MODE words a meter sends, for choosing the unit of the limits (without blanks: the
// document's " AC" and " DC" are "AC" and "DC" here).
const QStringList& limitUnits();

// --- Checking what a person typed ----------------------------------------------------------

// The field a check found wrong.
enum class LimitField { Upper, Lower, Unit };

struct LimitsProblem {
    LimitField field;
    QString message;
};

// Checks the texts of a Limits dialog or of the command line's options: each limit empty or
// a number (parseLimit), the lower below the upper when both are given, and a unit when a
// limit is (unless `unitMayFollow`: the first reading then gives it). Returns the limits, or
// the first problem with a message that says what to type.
std::variant<Limits, LimitsProblem> checkLimits(const QString& upperText, const QString& lowerText,
                                                const QString& unit, bool buzzer, bool unitMayFollow = false);

} // namespace quvo
