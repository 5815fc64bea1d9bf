// The interval and period rules without the dialog.

#include "UiTestSupport.h"

#include "acquisition/IntervalRules.h"
#include "acquisition/IntervalSetup.h"
#include "document/DataDocument.h"
#include "resources/Constant.h"
#include "support/ScriptedPrompter.h"

using namespace quvo;
using namespace quvo::test;

namespace {

const QString RangeMessage = QStringLiteral(
    "Input value was changed automatically because it was outside the input range.\r\n"
    "\r\n"
    "Input range\r\n"
    "<Day> : 0 - 99\r\n"
    "<Hour> : 0 - 23\r\n"
    "<Minute> : 0 - 59\r\n"
    "<Second> : 0 - 59\r\n"
    "\r\n"
    "Input one second and more value.");

TimeTexts times(const char* d, const char* h, const char* m, const char* s)
{
    return {QString::fromLatin1(d), QString::fromLatin1(h), QString::fromLatin1(m), QString::fromLatin1(s)};
}

class IntervalSetupTest : public UiTest {};

} // namespace

TEST_F(IntervalSetupTest, OneFieldIsCorrectedAndWrittenWithTwoDigits)
{
    struct Row {
        const char* text;
        int minimum, maximum;
        const char* after;
        bool valid;
    } rows[] = {
        {"7", 0, 59, "07", true},
        {"07", 0, 59, "07", true},
        {" 7 ", 0, 59, "07", true},
        {"99", 0, 99, "99", true},
        {"abc", 0, 23, "00", false},
        {"", 0, 23, "00", false},
        {"75", 0, 59, "59", false},
        {"-3", 0, 59, "00", false},
        {"40000", 0, 99, "00", false}, // not a 16-bit integer: the minimum
        {"5.5", 0, 59, "06", true},    // converted with halves to the even neighbour
        {"4", 5, 9, "05", false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        QString text = QString::fromLatin1(row.text);
        EXPECT_EQ(CheckTimeField(text, TimeFieldRange{row.minimum, row.maximum}), row.valid);
        EXPECT_EQ(text, QString::fromLatin1(row.after));
    }
}

TEST_F(IntervalSetupTest, TheMessageListsEveryRange)
{
    EXPECT_EQ(IntervalRangeMessage(), RangeMessage);
}

TEST_F(IntervalSetupTest, AZeroIntervalBecomesFiveSeconds)
{
    TimeTexts interval = times("00", "00", "00", "00");
    TimeTexts period = times("00", "00", "00", "00");
    EXPECT_FALSE(CheckIntervalAndPeriod(interval, false, period));
    EXPECT_EQ(interval, times("00", "00", "00", "05"));
    EXPECT_EQ(period, times("00", "00", "00", "00")); // no period: not looked at
    EXPECT_TRUE(CheckIntervalAndPeriod(interval, false, period));
}

TEST_F(IntervalSetupTest, SecondsAboveRangeAreCutWithoutTheFiveSecondRule)
{
    TimeTexts interval = times("00", "00", "00", "75");
    TimeTexts period;
    EXPECT_FALSE(CheckIntervalAndPeriod(interval, false, period));
    EXPECT_EQ(interval, times("00", "00", "00", "59"));
}

TEST_F(IntervalSetupTest, AZeroPeriodBecomesOneSecond)
{
    TimeTexts interval = times("0", "0", "0", "5");
    TimeTexts period = times("0", "0", "0", "0");
    EXPECT_FALSE(CheckIntervalAndPeriod(interval, true, period));
    EXPECT_EQ(interval, times("00", "00", "00", "05"));
    EXPECT_EQ(period, times("00", "00", "00", "01"));
}

TEST_F(IntervalSetupTest, EveryCheckRunsAfterAFailure)
{
    TimeTexts interval = times("abc", "24", "60", "x");
    TimeTexts period = times("100", "1", "2", "-1");
    EXPECT_FALSE(CheckIntervalAndPeriod(interval, true, period));
    EXPECT_EQ(interval, times("00", "23", "59", "00"));
    EXPECT_EQ(period, times("99", "01", "02", "00"));
}

TEST_F(IntervalSetupTest, AcceptStoresOrShowsTheMessage)
{
    DataDocument doc;
    doc.OpenNew(DataKinds::Realtime);
    ScriptedPrompter prompter;
    IntervalSetup setup;
    setup.load(doc);
    EXPECT_EQ(setup.fields.interval, times("00", "00", "00", "05"));
    EXPECT_TRUE(setup.fields.periodNone);

    setup.fields.interval = times("00", "00", "00", "00");
    EXPECT_FALSE(setup.accept(doc, prompter));
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages.first().text, RangeMessage);
    EXPECT_EQ(prompter.messages.first().icon, PromptIcon::Exclamation);
    EXPECT_EQ(setup.fields.interval.seconds, QStringLiteral("05"));

    doc.SetInterval(QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("09"));
    EXPECT_TRUE(setup.accept(doc, prompter)); // the second OK stores 5 s
    EXPECT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(doc.GetIntervalcount(), 5);
}

TEST_F(IntervalSetupTest, NoPeriodWithZeroPeriodBoxesIsAccepted)
{
    DataDocument doc;
    doc.OpenNew(DataKinds::Realtime);
    ScriptedPrompter prompter;
    IntervalSetup setup;
    setup.fields.interval = times("00", "00", "01", "00");
    setup.fields.period = times("00", "00", "00", "00");
    setup.fields.periodNone = true;
    EXPECT_TRUE(setup.accept(doc, prompter));
    EXPECT_TRUE(prompter.messages.isEmpty());
    EXPECT_TRUE(doc.GetPeriodnone());
    EXPECT_EQ(doc.GetIntervalcount(), 60);
}

TEST_F(IntervalSetupTest, APeriodIsStored)
{
    DataDocument doc;
    doc.OpenNew(DataKinds::Realtime);
    ScriptedPrompter prompter;
    IntervalSetup setup;
    setup.fields.interval = times("00", "00", "00", "10");
    setup.fields.period = times("1", "2", "3", "4");
    setup.fields.periodNone = false;
    EXPECT_TRUE(setup.accept(doc, prompter));
    EXPECT_FALSE(doc.GetPeriodnone());
    EXPECT_EQ(doc.GetPeriodcount(), 93784);
    EXPECT_EQ(doc.GetPeriod().days, QStringLiteral("01"));
}

TEST_F(IntervalSetupTest, TheIntervalOfADocumentWithReadingsIsFixed)
{
    DataDocument doc;
    doc.OpenNew(DataKinds::Realtime);
    EXPECT_TRUE(IntervalSetup::intervalEditable(doc));
    ASSERT_TRUE(doc.AddGridrow());
    doc.AddRealtimedata(QStringLiteral("10:00:00"), QStringLiteral("1.0"), QStringLiteral("VDC"), true,
                        QStringLiteral("1.0"));
    EXPECT_FALSE(IntervalSetup::intervalEditable(doc));
}
