// Live readings ("RR,1"): the fixed-column layout, movement, every function and prefix in
// "cycle", overloads, and reproducibility by seed.

#include "PtyClient.h"

#include "metersim/MeterSimulator.h"

#include <QRegularExpression>
#include <QSet>

#include <gtest/gtest.h>

namespace quvo::sim::test {
namespace {

// The unit words of the meter's functions as they stand in columns 14-16.
const QStringList UnitWords = {QStringLiteral("VDC"), QStringLiteral("VAC"), QStringLiteral("V  "),
                               QStringLiteral("OHM"), QStringLiteral("F  "), QStringLiteral("ADC"),
                               QStringLiteral("AAC"), QStringLiteral("A  "), QStringLiteral("Vd "),
                               QStringLiteral("C  "), QStringLiteral("Hz "), QStringLiteral("lx "),
                               QStringLiteral("%  "), QStringLiteral(" AC"), QStringLiteral(" DC")};

// Checks one live reading line (CR LF removed) against the layout: 16 characters and the
// check character. Returns an empty text when it fits, else what is wrong.
QString layoutProblem(const QString& line)
{
    if (line.size() != 17)
        return QStringLiteral("length %1").arg(line.size());
    const QString body = line.left(16);
    if (line.at(16) != ruleCheck(body))
        return QStringLiteral("check character");
    if (!body.startsWith(QLatin1String("RR,")) || body.at(4) != QLatin1Char(','))
        return QStringLiteral("tag or separators");
    if (body.at(3) != QLatin1Char('N') && body.at(3) != QLatin1Char('O'))
        return QStringLiteral("status");
    if (body.at(5) != QLatin1Char('+') && body.at(5) != QLatin1Char('-'))
        return QStringLiteral("sign");
    if (!QStringLiteral(" numkM").contains(body.at(12)))
        return QStringLiteral("prefix");
    if (!UnitWords.contains(body.mid(13, 3)))
        return QStringLiteral("unit");
    if (body.at(3) == QLatin1Char('N')) {
        // Digits with at most one ".", blanks or zeros only in front, at least one digit.
        static const QRegularExpression number(QStringLiteral("^ *[0-9]*\\.?[0-9]*$"));
        const QString field = body.mid(6, 6);
        if (!number.match(field).hasMatch() || !field.contains(QRegularExpression(QStringLiteral("[0-9]"))))
            return QStringLiteral("number field \"%1\"").arg(field);
    }
    return {};
}

// The signed value of a normal reading's number field, without its prefix.
double valueOf(const QString& line)
{
    const double magnitude = line.mid(6, 6).trimmed().toDouble();
    return line.at(5) == QLatin1Char('+') ? magnitude : -magnitude;
}

struct LiveRig {
    explicit LiveRig(SimulatorOptions o) : sim((o.echo = false, o))
    {
        EXPECT_TRUE(sim.open());
        EXPECT_TRUE(client.open(sim.devicePath()));
    }
    // Asks for n readings at once and returns them in order.
    QStringList readings(int n)
    {
        client.clear();
        for (int i = 0; i < n; ++i)
            client.send(QStringLiteral("RR,1"));
        EXPECT_TRUE(client.waitForLines(n));
        return client.lines();
    }
    MeterSimulator sim;
    PtyClient client;
};

TEST(LiveReadings, HaveTheFixedLayoutAndAValidCheckCharacter)
{
    LiveRig rig{SimulatorOptions{}};
    const QStringList lines = rig.readings(60);
    ASSERT_EQ(lines.size(), 60);
    for (const QString& line : lines)
        EXPECT_EQ(layoutProblem(line), QString()) << line.toStdString();
    EXPECT_TRUE(rig.client.everyLineEndsWithCrLf());
}

TEST(LiveReadings, Move)
{
    LiveRig rig{SimulatorOptions{}};
    const QStringList lines = rig.readings(20);
    ASSERT_EQ(lines.size(), 20);
    // A rising ramp with a little noise: consecutive readings differ, and most steps go up.
    int rises = 0;
    QSet<QString> distinct;
    for (int i = 0; i < lines.size(); ++i) {
        EXPECT_TRUE(lines.at(i).mid(13, 3) == QLatin1String("VDC")) << lines.at(i).toStdString();
        distinct.insert(lines.at(i).left(16));
        if (i > 0 && valueOf(lines.at(i)) > valueOf(lines.at(i - 1)))
            ++rises;
    }
    EXPECT_GE(distinct.size(), 18);
    EXPECT_GE(rises, 15);
}

struct FunctionCase {
    const char* name; // as the options take it
    const char* word; // the unit word in the reading line
};

void PrintTo(const FunctionCase& c, std::ostream* os)
{
    *os << c.name;
}

class FixedFunction : public ::testing::TestWithParam<FunctionCase> {};

TEST_P(FixedFunction, StaysInItsUnit)
{
    SimulatorOptions o;
    o.function = QString::fromLatin1(GetParam().name);
    LiveRig rig{o};
    const QStringList lines = rig.readings(5);
    ASSERT_EQ(lines.size(), 5);
    for (const QString& line : lines) {
        EXPECT_EQ(layoutProblem(line), QString()) << line.toStdString();
        EXPECT_EQ(line.mid(13, 3), QString::fromLatin1(GetParam().word)) << line.toStdString();
    }
}

INSTANTIATE_TEST_SUITE_P(
    EveryFunction, FixedFunction,
    ::testing::Values(FunctionCase{"VDC", "VDC"}, FunctionCase{"VAC", "VAC"}, FunctionCase{"V", "V  "},
                      FunctionCase{"OHM", "OHM"}, FunctionCase{"F", "F  "}, FunctionCase{"ADC", "ADC"},
                      FunctionCase{"AAC", "AAC"}, FunctionCase{"A", "A  "}, FunctionCase{"Vd", "Vd "},
                      FunctionCase{"C", "C  "}, FunctionCase{"Hz", "Hz "}, FunctionCase{"lx", "lx "},
                      FunctionCase{"%", "%  "}, FunctionCase{"AC", " AC"}, FunctionCase{"DC", " DC"},
                      FunctionCase{" AC", " AC"}),
    [](const ::testing::TestParamInfo<FunctionCase>& info) {
        std::string name;
        for (const char* p = info.param.name; *p; ++p) {
            if (*p == '%')
                name += "Percent";
            else if (*p == ' ')
                name += "Blank";
            else
                name += *p;
        }
        return name;
    });

TEST(LiveReadings, FunctionNamesAreKnown)
{
    for (const char* name : {"VDC", "VAC", "V", "OHM", "F", "ADC", "AAC", "A", "Vd", "C", "Hz", "lx", "%", "AC", "DC",
                             " AC", " DC", "cycle"})
        EXPECT_TRUE(isLiveFunction(QString::fromLatin1(name))) << name;
    for (const char* name : {"", "vdc", "Ohm", "X", "cycles"})
        EXPECT_FALSE(isLiveFunction(QString::fromLatin1(name))) << name;
    EXPECT_TRUE(liveFunctionNames().contains(QStringLiteral("cycle")));
}

TEST(LiveReadings, CycleCoversEveryUnitWordAndItsPrefixes)
{
    SimulatorOptions o;
    o.function = QStringLiteral("cycle");
    LiveRig rig{o};
    const QStringList lines = rig.readings(120);
    ASSERT_EQ(lines.size(), 120);
    QSet<QString> units;
    QSet<QString> prefixedUnits; // prefix + unit, e.g. "mVDC", " OHM"
    for (const QString& line : lines) {
        ASSERT_EQ(layoutProblem(line), QString()) << line.toStdString();
        units.insert(line.mid(13, 3));
        prefixedUnits.insert(line.mid(12, 4));
    }
    for (const QString& word : UnitWords)
        EXPECT_TRUE(units.contains(word)) << "missing unit \"" << word.toStdString() << '"';
    const QStringList usual = {
        QStringLiteral("mVDC"), QStringLiteral(" VDC"), QStringLiteral("mVAC"), QStringLiteral(" VAC"),
        QStringLiteral(" OHM"), QStringLiteral("kOHM"), QStringLiteral("MOHM"), QStringLiteral("nF  "),
        QStringLiteral("uF  "), QStringLiteral("mF  "), QStringLiteral("uADC"), QStringLiteral("mADC"),
        QStringLiteral(" ADC"), QStringLiteral("uAAC"), QStringLiteral("mAAC"), QStringLiteral(" AAC"),
        QStringLiteral("uA  "), QStringLiteral("mA  "), QStringLiteral(" A  ")};
    for (const QString& pu : usual)
        EXPECT_TRUE(prefixedUnits.contains(pu)) << "missing \"" << pu.toStdString() << '"';
    // One step per reading: consecutive readings are never in the same range.
    for (int i = 1; i < lines.size(); ++i)
        EXPECT_NE(lines.at(i).mid(12, 4), lines.at(i - 1).mid(12, 4)) << i;
}

TEST(LiveReadings, EveryNthReadingIsAnOverload)
{
    SimulatorOptions o;
    o.overloadEvery = 3;
    o.function = QStringLiteral("OHM");
    LiveRig rig{o};
    const QStringList lines = rig.readings(12);
    ASSERT_EQ(lines.size(), 12);
    for (int i = 0; i < lines.size(); ++i) {
        const QString& line = lines.at(i);
        EXPECT_EQ(layoutProblem(line), QString()) << line.toStdString();
        const bool overload = (i + 1) % 3 == 0;
        EXPECT_EQ(line.at(3), overload ? QLatin1Char('O') : QLatin1Char('N')) << i;
        EXPECT_EQ(line.mid(13, 3), QStringLiteral("OHM"));
    }
}

TEST(LiveReadings, TheSameSeedGivesTheSameReadings)
{
    SimulatorOptions o;
    o.function = QStringLiteral("cycle");
    o.seed = 42;
    LiveRig first{o};
    LiveRig second{o};
    o.seed = 43;
    LiveRig other{o};
    const QStringList a = first.readings(30);
    const QStringList b = second.readings(30);
    const QStringList c = other.readings(30);
    ASSERT_EQ(a.size(), 30);
    EXPECT_EQ(a, b);
    EXPECT_NE(a, c);
}

} // namespace
} // namespace quvo::sim::test
