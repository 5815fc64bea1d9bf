#include "resources/TimeText.h"

#include <gtest/gtest.h>

using namespace quvo;

TEST(TimeText, AddsInDaysHoursMinutesSeconds)
{
    EXPECT_EQ(addToTimeLabel(QStringLiteral("10:00:00"), 0, 0, 0, 5), QStringLiteral("10:00:05"));
    EXPECT_EQ(addToTimeLabel(QStringLiteral("10:00:00"), 0, 1, 2, 3), QStringLiteral("11:02:03"));
    EXPECT_EQ(addToTimeLabel(QStringLiteral("10:00:00"), 1, 0, 0, 0), QStringLiteral("10:00:00"));
}

TEST(TimeText, WrapsAtMidnight)
{
    EXPECT_EQ(addToTimeLabel(QStringLiteral("23:59:58"), 0, 0, 0, 7), QStringLiteral("00:00:05"));
    EXPECT_EQ(addToTimeLabel(QStringLiteral("00:00:00"), 0, 0, 0, 90000), QStringLiteral("01:00:00"));
}

TEST(TimeText, SecondBoundaries)
{
    const QDateTime base = QDateTime::fromMSecsSinceEpoch(1'700'000'000'000);
    EXPECT_EQ(secondBoundariesBetween(base.addMSecs(900), base.addMSecs(1000)), 1);
    EXPECT_EQ(secondBoundariesBetween(base, base.addMSecs(999)), 0);
    EXPECT_EQ(secondBoundariesBetween(base.addMSecs(999), base.addMSecs(3001)), 3);
    EXPECT_EQ(secondBoundariesBetween(base.addMSecs(3001), base.addMSecs(999)), -3);
}

TEST(TimeText, LabelOfAnInstant)
{
    const QDateTime t(QDate(2026, 1, 2), QTime(13, 4, 5, 678));
    EXPECT_EQ(timeLabel(t), QStringLiteral("13:04:05"));
}
