// The string table holds every numbered text exactly as the program shows it.
#include "resources/ResID.h"

#include <gtest/gtest.h>

#include <string>

using namespace quvo;

namespace {

struct Sample {
    int id;
    const char* text;
};

// Expected texts are copied from the program's own message and caption lists, not from
// the table under test.
const Sample samples[] = {
    {10, "&File"},
    {11, "&Realtime data receive"},
    {13, "&Monitor receive"},
    {20, "Save &As..."},
    {21, "&Forward to Microsoft Excel..."},
    {22, "E&xit"},
    {26, "&LOGGING-mode"},
    {36, "&About Quvolink..."},
    {39, "Forward to Microsoft Excel"},
    {42, "Start LOGGING-mode data receive"},
    {48, "Stop"},
    {51, "CSV Files"},
    {52, "This file is a read-only file; you cannot save data to it."},
    {53, "Specify a different filename."},
    {54, "This file is already open."},
    {56, "Timeout error occurred."},
    {100, "About Quvolink"},
    {102, "This Computer Program is protected by copyright law and international treaties."},
    {104, "(Microsoft Excel is a registered trademark of Microsoft Corporation in the United States.)"},
    {115, "Canceled."},
    {116, "Cancel"},
    {117, "Canceling..."},
    {120, "Do you want to save the changes you made to this file?"},
    {121, "This file is a different data type."},
    {122, "MAX"},
    {125, "INTERVAL"},
    {127, "REALTIME DATA"},
    {128, "SAVE-mode DATA"},
    {129, "LOGGING-mode DATA"},
    {132, "MODE"},
    {150, "Forward to Microsoft Excel"},
    {155, "Browse..."},
    {158, "Microsoft Excel Files"},
    {159, "This file cannot be found."},
    {170, "Interval and period setup"},
    {173, "None"},
    {180, "Second"},
    {186, "Input one second and more value."},
    {200, "Monitor"},
    {220, "Communications Port setup"},
    {232, "Automatic"},
    {240, "Number of categories between tick marks"},
    {243, "Input value was changed automatically because it was outside the input range."},
    {246, "<X axis - Number of categories between tick-mark labels>"},
    {251, "Input range : "},
    {252, "Input smaller value than <Y axis - Maximum>"},
    {300, "Receiving..."},
    {301, "Command error occurred."},
    {302, "Data error occurred."},
    {303, "Forward data to Microsoft Excel"},
    {305, "Forward error occurred."},
    {306, "Receive SAVE-mode data"},
    {307, "Receive LOGGING-mode data"},
};

class ResIDSample : public ::testing::TestWithParam<Sample> {};

} // namespace

TEST_P(ResIDSample, HoldsTheTextUnderItsNumber)
{
    const Sample s = GetParam();
    EXPECT_TRUE(HasResID(s.id));
    EXPECT_EQ(ResID(s.id), QString::fromUtf8(s.text));
}

INSTANTIATE_TEST_SUITE_P(Texts, ResIDSample, ::testing::ValuesIn(samples),
                         [](const ::testing::TestParamInfo<Sample>& info) { return "Id" + std::to_string(info.param.id); });

TEST(ResID, UnknownNumberGivesEmptyText)
{
    EXPECT_FALSE(HasResID(9999));
    EXPECT_TRUE(ResID(9999).isEmpty());
}

TEST(ResID, AboutWarningIsThreeTextsJoined)
{
    const QString joined = ResID(Res::Warning1) + ResID(Res::Warning2) + ResID(Res::Warning3);
    EXPECT_TRUE(joined.startsWith(QStringLiteral("This Computer Program")));
    EXPECT_TRUE(joined.contains(QStringLiteral("treaties.Unauthorized")));
    EXPECT_TRUE(joined.endsWith(QStringLiteral("United States.)")));
}
