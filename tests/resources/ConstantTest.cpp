#include "resources/Constant.h"

#include <gtest/gtest.h>

using namespace quvo;

TEST(ParseDataKind, KnownTagsGiveThemselves)
{
    EXPECT_EQ(ParseDataKind(QStringLiteral("0")), 0);
    EXPECT_EQ(ParseDataKind(QStringLiteral("2")), 2);
    EXPECT_EQ(ParseDataKind(QStringLiteral("3")), 3);
    EXPECT_EQ(ParseDataKind(QStringLiteral("4")), 4);
}

TEST(ParseDataKind, AnyOtherTextGivesOne)
{
    for (const char* tag : {"", "1", "5", "02", " 2", "x", "22"})
        EXPECT_EQ(ParseDataKind(QString::fromLatin1(tag)), 1) << tag;
}
