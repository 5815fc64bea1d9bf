// The progress and cancel rules without the window.

#include "UiTestSupport.h"

#include "acquisition/CancelDialog.h"
#include "resources/Constant.h"

using namespace quvo;
using namespace quvo::test;

namespace {
class CancelDialogTest : public UiTest {};
} // namespace

TEST_F(CancelDialogTest, TheThrottleStepGrowsWithTheTotal)
{
    const std::pair<int, int> rows[] = {{1, 1},     {99, 1},    {100, 10},  {999, 10},  {1000, 20},
                                        {1999, 20}, {2000, 30}, {2999, 30}, {3000, 40}, {3999, 40},
                                        {4000, 50}, {32767, 50}};
    for (const auto& [total, step] : rows)
        EXPECT_EQ(CancelDialog::throttleStep(total), step) << total;
}

TEST_F(CancelDialogTest, ThrottledProgressMovesTheBarOnlyAtItsSteps)
{
    CancelDialog d;
    double lastBar = 0;
    for (int current = 1; current <= 35; ++current) {
        EXPECT_TRUE(d.RenProgress(true, static_cast<std::int16_t>(current), 250));
        EXPECT_EQ(d.countText(), QStringLiteral(" %1/ 250").arg(current));
        if (current % 10 == 0)
            EXPECT_DOUBLE_EQ(d.barValue(), 100.0 * current / 250) << current;
        else
            EXPECT_DOUBLE_EQ(d.barValue(), lastBar) << current;
        lastBar = d.barValue();
    }
    EXPECT_DOUBLE_EQ(lastBar, 12.0); // set at 30
}

TEST_F(CancelDialogTest, UnthrottledProgressMovesTheBarEveryTime)
{
    CancelDialog d;
    for (int current = 1; current <= 15; ++current) {
        d.RenProgress(false, static_cast<std::int16_t>(current), 250);
        EXPECT_DOUBLE_EQ(d.barValue(), 100.0 * current / 250);
    }
    d.RenProgress(false, 20, 150);
    EXPECT_EQ(d.countText(), QStringLiteral(" 20/ 150"));
}

TEST_F(CancelDialogTest, NothingHappensWithoutACurrentOrATotal)
{
    CancelDialog d;
    EXPECT_FALSE(d.RenProgress(false, 0, 250));
    EXPECT_FALSE(d.RenProgress(false, 5, 0));
    EXPECT_EQ(d.countText(), QString());
    EXPECT_DOUBLE_EQ(d.barValue(), 0);
    d.RenProgress(false, 5, 10);
    EXPECT_FALSE(d.RenProgress(false, 0, 10));
    EXPECT_EQ(d.countText(), QStringLiteral(" 5/ 10"));
    EXPECT_DOUBLE_EQ(d.barValue(), 50);
}

TEST_F(CancelDialogTest, AShortMessageKeepsTheDesignWidth)
{
    const CancelLayout l = CancelDialog::layout(3000, 240, 1500, 240, 1200, 360);
    EXPECT_DOUBLE_EQ(l.windowWidth, 6000);
    EXPECT_DOUBLE_EQ(l.bar.width(), 6000 - 480);
    EXPECT_DOUBLE_EQ(l.bar.left(), 240);                // centred
    EXPECT_DOUBLE_EQ(l.bar.top(), 240 + 240 + 180);     // under the message
    EXPECT_DOUBLE_EQ(l.count.top(), l.bar.bottom() + 180);
    EXPECT_DOUBLE_EQ(l.button.top(), l.bar.bottom() + 180);
    EXPECT_DOUBLE_EQ(l.count.left(), l.bar.left());
    EXPECT_DOUBLE_EQ(l.button.right(), l.bar.right());
    EXPECT_DOUBLE_EQ(l.windowHeight, l.button.bottom() + 240);
}

TEST_F(CancelDialogTest, AWideMessageWidensTheWindow)
{
    const CancelLayout exactly = CancelDialog::layout(5400, 240, 1500, 240, 1200, 360);
    EXPECT_DOUBLE_EQ(exactly.windowWidth, 6000);
    const CancelLayout wide = CancelDialog::layout(7000, 240, 1500, 240, 1200, 360);
    EXPECT_DOUBLE_EQ(wide.windowWidth, 7600);
    EXPECT_DOUBLE_EQ(wide.bar.width(), 7120);
    EXPECT_DOUBLE_EQ(wide.bar.left(), 240);
    EXPECT_DOUBLE_EQ(wide.button.right(), 240 + 7120);
}

TEST_F(CancelDialogTest, CancelOfADownloadStopsTheTimeOutAndAsksForTheEnd)
{
    programState().CommState = CommStates::Download;
    programState().NoForward = false;
    CancelDialog d;
    int stops = 0;
    EXPECT_EQ(d.cancel([&stops] { ++stops; }), QStringLiteral("Canceling..."));
    EXPECT_EQ(stops, 1);
    EXPECT_EQ(programState().LastError, QStringLiteral("Canceled."));
    EXPECT_TRUE(programState().CancelRequested);
    EXPECT_FALSE(programState().NoForward);

    EXPECT_EQ(d.cancel([&stops] { ++stops; }), QString()); // once only
    EXPECT_EQ(stops, 1);
}

TEST_F(CancelDialogTest, CancelOfAForwardingStopsTheRows)
{
    programState().CommState = CommStates::Forwarding;
    programState().NoForward = false;
    CancelDialog d;
    int stops = 0;
    EXPECT_EQ(d.cancel([&stops] { ++stops; }), QStringLiteral("Canceling..."));
    EXPECT_EQ(stops, 0);
    EXPECT_EQ(programState().LastError, QStringLiteral("Canceled."));
    EXPECT_TRUE(programState().NoForward);
    EXPECT_FALSE(programState().CancelRequested);
}
