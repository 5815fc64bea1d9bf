// The Graph setup rules without the dialog: checks, corrections, the first-error message,
// what reaches the document.

#include "UiTestSupport.h"

#include "document/DataDocument.h"
#include "document/GraphSetup.h"
#include "resources/Constant.h"
#include "support/ScriptedPrompter.h"

using namespace quvo;
using namespace quvo::test;

namespace {

const QString Opening = QStringLiteral("Input value was changed automatically because it was outside the input range.");

QString expectedMessage(const QString& field, const QString& range)
{
    return Opening + CrLf + CrLf + field + CrLf + QStringLiteral("Input range : ") + range;
}

GraphSetupFields customX(const QString& end, const QString& tick, const QString& label)
{
    GraphSetupFields f;
    f.xUser = true;
    f.end = end;
    f.tick = tick;
    f.label = label;
    f.minimum = QStringLiteral("junk"); // Y is automatic: never looked at
    return f;
}

GraphSetupFields customY(const QString& minimum, const QString& maximum, const QString& major, const QString& minor)
{
    GraphSetupFields f;
    f.yUser = true;
    f.minimum = minimum;
    f.maximum = maximum;
    f.major = major;
    f.minor = minor;
    f.end = QStringLiteral("junk"); // X is automatic: never looked at
    return f;
}

class GraphSetupTest : public UiTest {};

} // namespace

TEST_F(GraphSetupTest, MinimumSpacingIsARoundedHundredthOfTheRangeAtLeastOne)
{
    EXPECT_EQ(GraphSetup::minimumSpacing(250), 2);   // 2.5 goes to the even 2
    EXPECT_EQ(GraphSetup::minimumSpacing(350), 4);   // 3.5 goes to the even 4
    EXPECT_EQ(GraphSetup::minimumSpacing(99), 1);    // 0.99
    EXPECT_EQ(GraphSetup::minimumSpacing(150), 2);   // 1.5 goes to the even 2
    EXPECT_EQ(GraphSetup::minimumSpacing(50), 1);    // 0.5 goes to 0, raised to 1
    EXPECT_EQ(GraphSetup::minimumSpacing(2), 1);
    EXPECT_EQ(GraphSetup::minimumSpacing(32767), 328);
}

TEST_F(GraphSetupTest, NotANumberInTheDataRangeBecomesTheMaximum)
{
    GraphSetup s;
    s.fields = customX(QStringLiteral("abc"), QStringLiteral("400"), QStringLiteral("400"));
    int spacing = 0;
    EXPECT_EQ(s.check(&spacing), GraphFields::DataRange);
    EXPECT_EQ(s.fields.end, QStringLiteral("32767"));
    EXPECT_EQ(spacing, 328); // from the corrected range
    EXPECT_EQ(GraphSetup::message(GraphFields::DataRange, spacing),
              expectedMessage(QStringLiteral("<X axis - Data range>"), QStringLiteral("2 - 32767")));
}

TEST_F(GraphSetupTest, ADataRangeOfOneBecomesTwoAndTheSpacingMinimumIsOne)
{
    GraphSetup s;
    s.fields = customX(QStringLiteral("1"), QStringLiteral("1"), QStringLiteral("1"));
    int spacing = 0;
    EXPECT_EQ(s.check(&spacing), GraphFields::DataRange);
    EXPECT_EQ(s.fields.end, QStringLiteral("2"));
    EXPECT_EQ(spacing, 1);
    EXPECT_EQ(s.fields.tick, QStringLiteral("1")); // accepted against m = 1
    EXPECT_EQ(s.fields.label, QStringLiteral("1"));
}

TEST_F(GraphSetupTest, SpacingsAreCheckedAgainstTheRangeAndCorrected)
{
    GraphSetup s;
    s.fields = customX(QStringLiteral("1000"), QStringLiteral("5"), QStringLiteral("abc"));
    int spacing = 0;
    EXPECT_EQ(s.check(&spacing), GraphFields::TickMarks);
    EXPECT_EQ(spacing, 10);
    EXPECT_EQ(s.fields.tick, QStringLiteral("10"));  // below m
    EXPECT_EQ(s.fields.label, QStringLiteral("10")); // not a number: m
    EXPECT_EQ(GraphSetup::message(GraphFields::TickMarks, spacing),
              expectedMessage(QStringLiteral("<X axis - Number of categories between tick marks>"),
                              QStringLiteral("10 - 32767")));
    EXPECT_EQ(GraphSetup::message(GraphFields::TickLabels, spacing),
              expectedMessage(QStringLiteral("<X axis - Number of categories between tick-mark labels>"),
                              QStringLiteral("10 - 32767")));
}

TEST_F(GraphSetupTest, IntegersConvertAsThirtyTwoBitsAndAreWrittenBackCanonically)
{
    GraphSetup s;
    s.fields = customX(QStringLiteral(" 0250 "), QStringLiteral("40000"), QStringLiteral("007"));
    EXPECT_EQ(s.check(), GraphFields::TickMarks);
    EXPECT_EQ(s.fields.end, QStringLiteral("250"));
    EXPECT_EQ(s.fields.tick, QStringLiteral("32767")); // above the range, not "not a number"
    EXPECT_EQ(s.fields.label, QStringLiteral("7"));
}

TEST_F(GraphSetupTest, EqualMinimumAndMaximumMakeTheMinimumOneLess)
{
    GraphSetup s;
    s.fields = customY(QStringLiteral("100"), QStringLiteral("100"), QStringLiteral("5"), QStringLiteral("2"));
    EXPECT_EQ(s.check(), GraphFields::Minimum);
    EXPECT_EQ(s.fields.minimum, QStringLiteral("99"));
    EXPECT_EQ(s.fields.maximum, QStringLiteral("100")); // accepted: left as typed
    EXPECT_EQ(GraphSetup::message(GraphFields::Minimum, 1),
              expectedMessage(QStringLiteral("<Y axis - Minimum>"), QStringLiteral("-60001 - 59999")) + CrLf + CrLf
                  + QStringLiteral("Input smaller value than <Y axis - Maximum>"));
}

TEST_F(GraphSetupTest, AMaximumAboveRangeIsCorrectedFirstAndTheMinimumFollowsIt)
{
    GraphSetup s;
    s.fields = customY(QStringLiteral("65000"), QStringLiteral("70000"), QStringLiteral("1"), QStringLiteral("1"));
    EXPECT_EQ(s.check(), GraphFields::Maximum);
    EXPECT_EQ(s.fields.maximum, QStringLiteral("60000"));
    EXPECT_EQ(s.fields.minimum, QStringLiteral("59999"));
    EXPECT_EQ(GraphSetup::message(GraphFields::Maximum, 1),
              expectedMessage(QStringLiteral("<Y axis - Maximum>"), QStringLiteral("-60000 - 60000")));
}

TEST_F(GraphSetupTest, YFieldsOutOfRangeGetTheirReplacements)
{
    GraphSetup s;
    s.fields = customY(QStringLiteral("x"), QStringLiteral("-70000"), QStringLiteral("0"), QStringLiteral("51"));
    EXPECT_EQ(s.check(), GraphFields::Maximum);
    EXPECT_EQ(s.fields.maximum, QStringLiteral("-60000"));
    EXPECT_EQ(s.fields.minimum, QStringLiteral("-60001"));
    EXPECT_EQ(s.fields.major, QStringLiteral("1"));
    EXPECT_EQ(s.fields.minor, QStringLiteral("50"));
    EXPECT_EQ(GraphSetup::message(GraphFields::Major, 1),
              expectedMessage(QStringLiteral("<Y axis - Major division>"), QStringLiteral("1 - 50")));
    EXPECT_EQ(GraphSetup::message(GraphFields::Minor, 1),
              expectedMessage(QStringLiteral("<Y axis - Minor division>"), QStringLiteral("1 - 50")));

    s.fields = customY(QStringLiteral("-70000"), QStringLiteral("abc"), QStringLiteral("x"), QStringLiteral("3"));
    EXPECT_EQ(s.check(), GraphFields::Maximum);
    EXPECT_EQ(s.fields.maximum, QStringLiteral("60000"));
    EXPECT_EQ(s.fields.minimum, QStringLiteral("-60001"));
    EXPECT_EQ(s.fields.major, QStringLiteral("1"));
}

TEST_F(GraphSetupTest, MaximumMinusOneIsTheShortestSingleText)
{
    GraphSetup s;
    s.fields = customY(QStringLiteral("0.5"), QStringLiteral("0.25"), QStringLiteral("1"), QStringLiteral("1"));
    EXPECT_EQ(s.check(), GraphFields::Minimum);
    EXPECT_EQ(s.fields.minimum, QStringLiteral("-0.75"));
}

TEST_F(GraphSetupTest, EveryFieldIsCheckedAndTheMessageNamesTheFirst)
{
    GraphSetup s;
    s.fields = customX(QStringLiteral("abc"), QStringLiteral("400"), QStringLiteral("400"));
    s.fields.yUser = true;
    s.fields.maximum = QStringLiteral("10");
    s.fields.minimum = QStringLiteral("0");
    s.fields.major = QStringLiteral("99");
    s.fields.minor = QStringLiteral("0");
    EXPECT_EQ(s.check(), GraphFields::DataRange);
    EXPECT_EQ(s.fields.major, QStringLiteral("50")); // corrected although not the first
    EXPECT_EQ(s.fields.minor, QStringLiteral("1"));
}

TEST_F(GraphSetupTest, WithBothAxesAutomaticNoFieldIsLookedAt)
{
    GraphSetup s;
    s.fields.end = QStringLiteral("abc");
    s.fields.tick = QStringLiteral("-1");
    s.fields.label = QStringLiteral("x");
    s.fields.minimum = QStringLiteral("?");
    s.fields.maximum = QStringLiteral("999999");
    s.fields.major = QStringLiteral("0");
    s.fields.minor = QStringLiteral("");
    const GraphSetupFields before = s.fields;
    EXPECT_EQ(s.check(), GraphFields::None);
    EXPECT_EQ(s.fields, before);

    DataDocument doc;
    doc.OpenNew(DataKinds::Realtime);
    ScriptedPrompter prompter;
    EXPECT_TRUE(s.ApplyGraphSetup(doc, prompter));
    EXPECT_TRUE(prompter.messages.isEmpty());
}

TEST_F(GraphSetupTest, AutomaticYHandsOneToTenWithSingleDivisions)
{
    GraphSetup s;
    s.fields.xUser = false;
    s.fields.yUser = false;
    const GraphTransfer t = s.transfer(50);
    EXPECT_TRUE(t.yAutomatic);
    EXPECT_EQ(t.minimum, QStringLiteral("1"));
    EXPECT_EQ(t.maximum, QStringLiteral("10"));
    EXPECT_EQ(t.major, 1);
    EXPECT_EQ(t.minor, 1);
    EXPECT_TRUE(t.xAutomatic);
    EXPECT_EQ(t.perLabel, 1);
    EXPECT_EQ(t.perTick, 1);
    EXPECT_TRUE(t.setCount); // 50 readings: the data range follows them
    EXPECT_EQ(t.count, 50);
}

TEST_F(GraphSetupTest, AutomaticXWithTwoReadingsLeavesTheDataRange)
{
    GraphSetup s;
    EXPECT_FALSE(s.transfer(2).setCount);
    EXPECT_FALSE(s.transfer(0).setCount);
    EXPECT_TRUE(s.transfer(3).setCount);

    DataDocument doc;
    doc.OpenNew(DataKinds::Save);
    doc.SetGraphcount(30);
    for (int i = 1; i <= 2; ++i) {
        ASSERT_TRUE(doc.AddGridrow());
        doc.AddData(QString(), QStringLiteral("1.0"), QStringLiteral("VDC"), QStringLiteral("1.0"));
    }
    ScriptedPrompter prompter;
    s.load(doc);
    s.fields.xUser = false;
    EXPECT_TRUE(s.ApplyGraphSetup(doc, prompter));
    EXPECT_EQ(doc.graphCount(), 30);
}

TEST_F(GraphSetupTest, CustomValuesReachTheDocument)
{
    DataDocument doc;
    doc.OpenNew(DataKinds::Realtime);
    GraphSetup s;
    s.fields = customX(QStringLiteral("300"), QStringLiteral("4"), QStringLiteral("6"));
    s.fields.yUser = true;
    s.fields.minimum = QStringLiteral("-2.5");
    s.fields.maximum = QStringLiteral("7.5");
    s.fields.major = QStringLiteral("4");
    s.fields.minor = QStringLiteral("2");
    ScriptedPrompter prompter;
    EXPECT_TRUE(s.ApplyGraphSetup(doc, prompter));
    EXPECT_TRUE(prompter.messages.isEmpty());
    EXPECT_EQ(doc.graphCount(), 300);
    EXPECT_FALSE(doc.axisX().automatic);
    EXPECT_EQ(doc.axisX().perLabel, 6);
    EXPECT_EQ(doc.axisX().perTick, 4);
    EXPECT_FALSE(doc.axisY().automatic);
    EXPECT_EQ(doc.axisY().minimumText, QStringLiteral("-2.5"));
    EXPECT_EQ(doc.axisY().maximumText, QStringLiteral("7.5"));
    EXPECT_EQ(doc.axisY().major, 4);
    EXPECT_EQ(doc.axisY().minor, 2);
}

TEST_F(GraphSetupTest, AWrongFieldTransfersNothingAndShowsOneMessage)
{
    DataDocument doc;
    doc.OpenNew(DataKinds::Realtime);
    GraphSetup s;
    s.fields = customX(QStringLiteral("500"), QStringLiteral("5"), QStringLiteral("5"));
    s.fields.yUser = true;
    s.fields.minimum = QStringLiteral("0");
    s.fields.maximum = QStringLiteral("10");
    s.fields.major = QStringLiteral("0"); // wrong
    s.fields.minor = QStringLiteral("1");
    ScriptedPrompter prompter;
    EXPECT_FALSE(s.ApplyGraphSetup(doc, prompter));
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages.first().text,
              expectedMessage(QStringLiteral("<Y axis - Major division>"), QStringLiteral("1 - 50")));
    EXPECT_EQ(prompter.messages.first().icon, PromptIcon::Exclamation);
    EXPECT_EQ(prompter.messages.first().buttons, PromptButtons::Ok);
    EXPECT_EQ(doc.graphCount(), 20); // the valid X fields were not transferred either
    EXPECT_TRUE(doc.axisX().automatic);
    EXPECT_TRUE(doc.axisY().automatic);
}

TEST_F(GraphSetupTest, LoadTakesTheDocumentsSettings)
{
    DataDocument doc;
    doc.OpenNew(DataKinds::Realtime);
    doc.SetGraphcount(40);
    doc.SetAxisX(false, 3, 2);
    doc.SetAxisY(true, QStringLiteral("0"), QStringLiteral("10"), 1, 1);
    GraphSetup s;
    s.load(doc);
    EXPECT_EQ(s.fields.end, QStringLiteral("40"));
    EXPECT_EQ(s.fields.label, QStringLiteral("3"));
    EXPECT_EQ(s.fields.tick, QStringLiteral("2"));
    EXPECT_TRUE(s.fields.xUser);
    EXPECT_FALSE(s.fields.yUser);
    EXPECT_EQ(s.fields.major, QStringLiteral("1"));

    doc.SetAxisY(false, QStringLiteral("-1"), QStringLiteral("3"), 4, 5);
    s.load(doc);
    EXPECT_TRUE(s.fields.yUser);
    EXPECT_EQ(s.fields.minimum, QStringLiteral("-1"));
    EXPECT_EQ(s.fields.maximum, QStringLiteral("3"));
    EXPECT_EQ(s.fields.major, QStringLiteral("4"));
    EXPECT_EQ(s.fields.minor, QStringLiteral("5"));
}
