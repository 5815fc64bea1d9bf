// The interval and period rules shared by the Interval and period dialog and the
// command-line program.

#include "acquisition/IntervalRules.h"

#include "resources/ResID.h"

#include <gtest/gtest.h>

using namespace quvo;

namespace {

TimeTexts t(const char* d, const char* h, const char* m, const char* s)
{
    return {QString::fromLatin1(d), QString::fromLatin1(h), QString::fromLatin1(m), QString::fromLatin1(s)};
}

const TimeTexts Zero = t("00", "00", "00", "00");

TEST(IntervalRules, FieldCheckCorrectsInPlace)
{
    QString text = QStringLiteral("7");
    EXPECT_TRUE(CheckTimeField(text, SecondRange));
    EXPECT_EQ(text, QStringLiteral("07"));
    text = QStringLiteral("75");
    EXPECT_FALSE(CheckTimeField(text, SecondRange));
    EXPECT_EQ(text, QStringLiteral("59"));
    text = QStringLiteral("-1");
    EXPECT_FALSE(CheckTimeField(text, HourRange));
    EXPECT_EQ(text, QStringLiteral("00"));
    text = QStringLiteral("abc");
    EXPECT_FALSE(CheckTimeField(text, HourRange));
    EXPECT_EQ(text, QStringLiteral("00"));
    text = QStringLiteral("99");
    EXPECT_TRUE(CheckTimeField(text, DayRange));
    EXPECT_EQ(text, QStringLiteral("99"));
    text = QStringLiteral("100");
    EXPECT_FALSE(CheckTimeField(text, DayRange));
    EXPECT_EQ(text, QStringLiteral("99"));
    text = QStringLiteral("40000"); // not a 16-bit integer
    EXPECT_FALSE(CheckTimeField(text, DayRange));
    EXPECT_EQ(text, QStringLiteral("00"));
}

TEST(IntervalRules, AZeroIntervalBecomesFiveSeconds)
{
    TimeTexts interval = Zero;
    TimeTexts period = Zero;
    EXPECT_FALSE(CheckIntervalAndPeriod(interval, false, period));
    EXPECT_EQ(interval, t("00", "00", "00", "05"));
    // A second OK stores five seconds.
    EXPECT_TRUE(CheckIntervalAndPeriod(interval, false, period));
}

TEST(IntervalRules, SeventyFiveSecondsBecomeFiftyNineAndNoFive)
{
    TimeTexts interval = t("00", "00", "00", "75");
    TimeTexts period = Zero;
    EXPECT_FALSE(CheckIntervalAndPeriod(interval, false, period));
    EXPECT_EQ(interval, t("00", "00", "00", "59"));
}

TEST(IntervalRules, TextInHoursBecomesZero)
{
    TimeTexts interval = t("00", "abc", "00", "05");
    TimeTexts period = Zero;
    EXPECT_FALSE(CheckIntervalAndPeriod(interval, false, period));
    EXPECT_EQ(interval.hours, QStringLiteral("00"));
}

TEST(IntervalRules, NoPeriodIsNotChecked)
{
    TimeTexts interval = t("0", "0", "0", "5");
    TimeTexts period = Zero;
    EXPECT_TRUE(CheckIntervalAndPeriod(interval, false, period));
    EXPECT_EQ(interval, t("00", "00", "00", "05"));
    EXPECT_EQ(period, Zero);
}

TEST(IntervalRules, AZeroCustomPeriodBecomesOneSecond)
{
    TimeTexts interval = t("00", "00", "00", "05");
    TimeTexts period = Zero;
    EXPECT_FALSE(CheckIntervalAndPeriod(interval, true, period));
    EXPECT_EQ(period, t("00", "00", "00", "01"));
    EXPECT_EQ(interval, t("00", "00", "00", "05"));
}

TEST(IntervalRules, EveryCheckRunsAfterAFailure)
{
    TimeTexts interval = t("100", "24", "60", "60");
    TimeTexts period = t("x", "25", "61", "99");
    EXPECT_FALSE(CheckIntervalAndPeriod(interval, true, period));
    EXPECT_EQ(interval, t("99", "23", "59", "59"));
    EXPECT_EQ(period, t("00", "23", "59", "59"));
}

TEST(IntervalRules, TheMessage)
{
    const QString expected = ResID(243) + QStringLiteral("\r\n\r\n") + ResID(185) + QStringLiteral("\r\n") + ResID(181)
        + QStringLiteral("0 - 99\r\n") + ResID(182) + QStringLiteral("0 - 23\r\n") + ResID(183)
        + QStringLiteral("0 - 59\r\n") + ResID(184) + QStringLiteral("0 - 59\r\n\r\n") + ResID(186);
    EXPECT_EQ(IntervalRangeMessage(), expected);
    EXPECT_EQ(IntervalRangeMessage(),
              QStringLiteral("Input value was changed automatically because it was outside the input range.\r\n\r\n"
                             "Input range\r\n<Day> : 0 - 99\r\n<Hour> : 0 - 23\r\n<Minute> : 0 - 59\r\n"
                             "<Second> : 0 - 59\r\n\r\nInput one second and more value."));
}

TEST(IntervalRules, DurationTexts)
{
    TimeTexts f;
    ASSERT_TRUE(ParseDurationText(QStringLiteral("90"), f));
    EXPECT_EQ(f, t("00", "00", "01", "30"));
    ASSERT_TRUE(ParseDurationText(QStringLiteral("90061"), f)); // 1 d 1 h 1 min 1 s
    EXPECT_EQ(f, t("01", "01", "01", "01"));
    ASSERT_TRUE(ParseDurationText(QStringLiteral("00:00:00:75"), f));
    EXPECT_EQ(f, t("00", "00", "00", "75")); // as typed: the check corrects and complains
    ASSERT_TRUE(ParseDurationText(QStringLiteral("1:2:3:4"), f));
    EXPECT_EQ(f, t("1", "2", "3", "4"));
    ASSERT_TRUE(ParseDurationText(QStringLiteral("8640000"), f)); // 100 days
    TimeTexts period = Zero;
    EXPECT_FALSE(CheckIntervalAndPeriod(f, false, period));
    for (const char* bad : {"", "-5", "1.5", "abc", "1:2:3", "1:2:3:4:5", "1::2:3", "5s"})
        EXPECT_FALSE(ParseDurationText(QString::fromLatin1(bad), f)) << bad;
}

} // namespace
