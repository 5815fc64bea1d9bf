// The Monitor's comparator without its window: what it shows for limits and readings, and
// when the buzzer sounds.

#include "acquisition/Comparator.h"

#include "metersim/MeterSimulator.h"

#include <gtest/gtest.h>

using namespace quvo;

namespace {

// A live reading line with its check character.
QString answer(const QString& body)
{
    return body + sim::checkCharacter(body);
}

QString volts(const char* number)
{
    return answer(QStringLiteral("RR,N,+%1 VDC").arg(QLatin1String(number)));
}

Limits oneToTwoVolts(bool buzzer)
{
    Limits limits;
    limits.upper = 2;
    limits.lower = 1;
    limits.unit = QStringLiteral("VDC");
    limits.buzzer = buzzer;
    return limits;
}

} // namespace

TEST(ComparatorTest, WithoutLimitsTheDisplayIsOffAndNeverSounds)
{
    Comparator c;
    EXPECT_FALSE(c.active());
    EXPECT_FALSE(c.show(volts("09.999")));
    EXPECT_EQ(c.lit(), Judgement::None);
    EXPECT_EQ(c.upperText(), QStringLiteral("-----"));
    EXPECT_EQ(c.lowerText(), QStringLiteral("-----"));
    EXPECT_EQ(c.buzzerText(), QStringLiteral("OFF"));
}

TEST(ComparatorTest, ShowsTheLimitsWithTheirUnit)
{
    Comparator c;
    Limits limits = oneToTwoVolts(true);
    limits.lower.reset();
    limits.upper = 0.005;
    c.setLimits(limits);
    EXPECT_TRUE(c.active());
    EXPECT_EQ(c.upperText(), QStringLiteral("5mVDC"));
    EXPECT_EQ(c.lowerText(), QStringLiteral("-----"));
    EXPECT_EQ(c.buzzerText(), QStringLiteral("ON"));
}

TEST(ComparatorTest, LightsTheJudgementOfTheLastReading)
{
    Comparator c;
    c.setLimits(oneToTwoVolts(false));
    const struct {
        QString answer;
        Judgement lit;
    } steps[] = {
        {volts("01.500"), Judgement::Pass},
        {volts("02.000"), Judgement::Pass}, // equal to the upper limit
        {volts("02.001"), Judgement::Hi},
        {volts("00.999"), Judgement::Lo},
        {answer(QStringLiteral("RR,O,+  0.L  VDC")), Judgement::Hi}, // +OL
        {answer(QStringLiteral("RR,O,-  0.L  VDC")), Judgement::Lo}, // -OL
        {QStringLiteral("ERROR"), Judgement::None},
        {answer(QStringLiteral("CMD,ERR")), Judgement::None},
        {answer(QStringLiteral("RR,N,+01.500 VAC")), Judgement::None}, // another unit
        {answer(QStringLiteral("RR,N,+01.500mVDC")), Judgement::Lo},   // 1.5 mV
    };
    for (const auto& step : steps) {
        EXPECT_FALSE(c.show(step.answer)); // the buzzer is off
        EXPECT_EQ(c.lit(), step.lit) << step.answer.toStdString();
    }
}

TEST(ComparatorTest, TheBuzzerSoundsOnEachChangeOutOfLimits)
{
    Comparator c;
    c.setLimits(oneToTwoVolts(true));
    const struct {
        QString answer;
        bool sound;
    } steps[] = {
        {volts("02.500"), false}, // the first reading has nothing to change from
        {volts("01.500"), false}, // back to PASS
        {volts("02.500"), true},  // PASS to HI
        {volts("02.600"), false}, // still HI
        {volts("01.500"), false},
        {QStringLiteral("ERROR"), false},
        {volts("00.500"), true}, // PASS (before the error) to LO
        {volts("02.500"), true}, // LO to HI
        {answer(QStringLiteral("RR,N,+01.500 OHM")), false},
        {volts("02.500"), false}, // HI before the other unit: no change
    };
    int n = 0;
    for (const auto& step : steps)
        EXPECT_EQ(c.show(step.answer), step.sound) << "step " << ++n;
}

TEST(ComparatorTest, NewLimitsStartOver)
{
    Comparator c;
    c.setLimits(oneToTwoVolts(true));
    c.show(volts("01.500"));
    c.setLimits(oneToTwoVolts(true));
    EXPECT_EQ(c.lit(), Judgement::None);
    EXPECT_FALSE(c.show(volts("02.500"))); // nothing to change from since the new limits
}
