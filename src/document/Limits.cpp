#include "document/Limits.h"

#include "resources/TextNumber.h"

#include <QLocale>

#include <cmath>
#include <limits>

namespace quvo {

namespace {

const QString Overload = QStringLiteral("+OL");
const QString Underload = QStringLiteral("-OL");

// The power of ten of an SI prefix letter, or std::nullopt for a letter that is none.
std::optional<int> prefixPower(QChar c)
{
    switch (c.unicode()) {
    case u'n':
        return -9;
    case u'u':
    case u'\u00B5': // micro sign
    case u'\u03BC': // Greek small mu
        return -6;
    case u'm':
        return -3;
    case u'k':
    case u'K':
        return 3;
    case u'M':
        return 6;
    default:
        return std::nullopt;
    }
}

QString typingHelp()
{
    return QStringLiteral("A limit is a number in the unit's base (volts, ohms, amperes) with \".\" as its decimal "
                          "point, optionally followed by an SI prefix: 0.005, 5E-3 and 5m are the same limit.");
}

} // namespace

QString judgementText(Judgement judgement)
{
    switch (judgement) {
    case Judgement::Hi:
        return QStringLiteral("HI");
    case Judgement::Lo:
        return QStringLiteral("LO");
    case Judgement::Pass:
        return QStringLiteral("PASS");
    case Judgement::None:
        break;
    }
    return QStringLiteral("-");
}

bool isSameUnit(QStringView mode, QStringView unit)
{
    return mode.trimmed().compare(unit.trimmed(), Qt::CaseInsensitive) == 0;
}

namespace {

template <class View>
Judgement judgeAnyReading(const Limits& limits, View value, View mode)
{
    if (!limits.active() || mode.trimmed().compare(QStringView(limits.unit).trimmed(), Qt::CaseInsensitive) != 0)
        return Judgement::None;
    if (value == Overload)
        return judgeNumber(limits, std::numeric_limits<double>::infinity());
    if (value == Underload)
        return judgeNumber(limits, -std::numeric_limits<double>::infinity());
    double number = 0;
    if (!parseNumber(value, number)) // "ERROR", an empty slot
        return Judgement::None;
    return judgeNumber(limits, number);
}

} // namespace

Judgement judgeReading(const Limits& limits, QStringView value, QStringView mode)
{
    return judgeAnyReading(limits, value, mode);
}

Judgement judgeReading(const Limits& limits, QLatin1StringView value, QLatin1StringView mode)
{
    return judgeAnyReading(limits, value, mode);
}

template <class View>
Judgement ReadingJudge::judgeAny(View value, View mode)
{
    if (!m_limits.active())
        return Judgement::None;
    if (m_limits.unit.isEmpty()) {
        const View unit = mode.trimmed();
        if (unit.isEmpty())
            return Judgement::None; // an error row says nothing about the unit
        m_limits.unit = unit.toString();
    }
    return judgeReading(m_limits, value, mode);
}

Judgement ReadingJudge::judge(QStringView value, QStringView mode)
{
    return judgeAny(value, mode);
}

Judgement ReadingJudge::judge(QLatin1StringView value, QLatin1StringView mode)
{
    return judgeAny(value, mode);
}

QString judgementCountsText(const JudgementCounts& counts)
{
    return QStringLiteral("HI %1   LO %2   PASS %3").arg(counts.hi).arg(counts.lo).arg(counts.pass);
}

// --- Texts ----------------------------------------------------------------------------------

std::optional<double> parseLimit(QStringView text)
{
    QStringView t = text.trimmed();
    if (t.isEmpty())
        return std::nullopt;
    int power = 0;
    if (const std::optional<int> prefix = prefixPower(t.back())) {
        power = *prefix;
        t = t.chopped(1).trimmed();
        if (t.isEmpty())
            return std::nullopt;
    }
    double value = 0;
    if (power == 0)
        return parseNumber(t, value) ? std::optional<double>(value) : std::nullopt;

    // The prefix joins the exponent, so "5m" reads as "5E-3" and rounds exactly as that text
    // (and as "0.005") does: one correctly rounded conversion, no multiplication after it.
    QStringView mantissa = t;
    int exponent = 0;
    const qsizetype e = t.indexOf(QLatin1Char('e'), 0, Qt::CaseInsensitive);
    if (e >= 0) {
        mantissa = t.left(e);
        bool ok = false;
        exponent = t.mid(e + 1).toInt(&ok);
        if (!ok || std::abs(exponent) > 10000)
            return std::nullopt;
    }
    if (mantissa.isEmpty() || mantissa.contains(QLatin1Char('e'), Qt::CaseInsensitive))
        return std::nullopt;
    const QString joined = mantissa.toString() + QLatin1Char('E') + QString::number(exponent + power);
    return parseNumber(joined, value) ? std::optional<double>(value) : std::nullopt;
}

QString limitText(double value)
{
    if (value == 0)
        return QStringLiteral("0"); // also for -0
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

QString limitDisplayText(double value, const QString& unit)
{
    static constexpr struct {
        int power;
        char prefix;
    } Prefixes[] = {{6, 'M'}, {3, 'k'}, {0, 0}, {-3, 'm'}, {-6, 'u'}, {-9, 'n'}};
    const double magnitude = std::fabs(value);
    int power = 0;
    char prefix = 0;
    if (magnitude != 0) {
        // The largest prefix that leaves at least 1 before the point; the smallest for less.
        power = Prefixes[std::size(Prefixes) - 1].power;
        prefix = Prefixes[std::size(Prefixes) - 1].prefix;
        for (const auto& p : Prefixes) {
            if (magnitude >= std::pow(10.0, p.power) * (1 - 1e-12)) {
                power = p.power;
                prefix = p.prefix;
                break;
            }
        }
    }
    // Six significant digits at most, without trailing zeros: the limit as it was typed in
    // all usual cases ("1.5k", "5m"), and never a long tail of a binary fraction.
    QString number = QString::number(value / std::pow(10.0, power), 'g', 6);
    if (number == QLatin1String("-0"))
        number = QStringLiteral("0");
    if (prefix)
        number += QLatin1Char(prefix);
    return number + unit;
}

const QStringList& limitUnits()
{
    static const QStringList units = {
        QStringLiteral("VDC"), QStringLiteral("VAC"), QStringLiteral("V"),  QStringLiteral("ADC"),
        QStringLiteral("AAC"), QStringLiteral("A"),   QStringLiteral("OHM"), QStringLiteral("F"),
        QStringLiteral("Hz"),  QStringLiteral("C"),   QStringLiteral("Vd"), QStringLiteral("lx"),
        QStringLiteral("%"),   QStringLiteral("DC"),  QStringLiteral("AC"),
    };
    return units;
}

// --- Checking what a person typed ----------------------------------------------------------

std::variant<Limits, LimitsProblem> checkLimits(const QString& upperText, const QString& lowerText,
                                                const QString& unit, bool buzzer, bool unitMayFollow)
{
    Limits limits;
    limits.buzzer = buzzer;
    limits.unit = unit.trimmed();
    const auto read = [](const QString& text, LimitField field, const QString& name,
                         std::optional<double>& target) -> std::optional<LimitsProblem> {
        if (text.trimmed().isEmpty())
            return std::nullopt; // no such limit
        target = parseLimit(text);
        if (target)
            return std::nullopt;
        return LimitsProblem{field, QStringLiteral("The %1 limit \"%2\" is not a number.\r\n\r\n%3")
                                        .arg(name, text.trimmed(), typingHelp())};
    };
    if (auto problem = read(upperText, LimitField::Upper, QStringLiteral("upper"), limits.upper))
        return *problem;
    if (auto problem = read(lowerText, LimitField::Lower, QStringLiteral("lower"), limits.lower))
        return *problem;
    if (limits.upper && limits.lower && !(*limits.lower < *limits.upper))
        return LimitsProblem{LimitField::Lower,
                             QStringLiteral("The lower limit (%1) must be below the upper limit (%2).")
                                 .arg(limitText(*limits.lower), limitText(*limits.upper))};
    if (limits.active() && limits.unit.isEmpty() && !unitMayFollow)
        return LimitsProblem{LimitField::Unit,
                             QStringLiteral("Choose the unit the limits are for, such as VDC or OHM: readings of "
                                            "other units are not judged.")};
    if (limits.unit.contains(QLatin1Char(',')) || limits.unit.size() > 3)
        return LimitsProblem{LimitField::Unit,
                             QStringLiteral("\"%1\" is not a unit the meter sends. The units are: %2.")
                                 .arg(limits.unit, limitUnits().join(QStringLiteral(", ")))};
    return limits;
}

} // namespace quvo
