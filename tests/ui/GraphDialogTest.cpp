// The Graph setup dialog, driven by its controls.

#include "UiTestSupport.h"

#include "document/DataDocument.h"
#include "document/frmSetting.h"
#include "resources/Constant.h"
#include "support/ScriptedPrompter.h"

#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

#include <memory>

using namespace quvo;
using namespace quvo::test;

namespace {

const QString Opening = QStringLiteral("Input value was changed automatically because it was outside the input range.");

class GraphDialogTest : public UiTest {
protected:
    void SetUp() override
    {
        UiTest::SetUp();
        doc.OpenNew(DataKinds::Realtime);
    }

    void open()
    {
        dialog = std::make_unique<frmSetting>(&doc, &prompter);
        dialog->show();
    }

    QLineEdit* box(const char* name) const { return dialog->findChild<QLineEdit*>(QString::fromLatin1(name)); }
    QRadioButton* option(const char* name) const
    {
        return dialog->findChild<QRadioButton*>(QString::fromLatin1(name));
    }
    void click(const char* name) const { dialog->findChild<QPushButton*>(QString::fromLatin1(name))->click(); }
    void type(const char* name, const QString& text) const
    {
        QLineEdit* b = box(name);
        b->selectAll();
        b->insert(text);
    }

    DataDocument doc;
    ScriptedPrompter prompter;
    std::unique_ptr<frmSetting> dialog;
};

} // namespace

TEST_F(GraphDialogTest, CaptionsComeFromTheStringTable)
{
    open();
    EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Graph setup"));
    const struct {
        const char* name;
        const char* text;
    } labels[] = {{"llCount", "Data range"},
                  {"llTick", "Number of categories between tick marks"},
                  {"llLabel", "Number of categories between tick-mark labels"},
                  {"llMin", "Minimum"},
                  {"llMax", "Maximum"},
                  {"llMajor", "Major division"},
                  {"llMinor", "Minor division"}};
    for (const auto& l : labels)
        EXPECT_EQ(dialog->findChild<QLabel*>(QString::fromLatin1(l.name))->text(), QString::fromLatin1(l.text));
    EXPECT_EQ(dialog->findChild<QGroupBox*>(QStringLiteral("frXaxis"))->title(), QStringLiteral("X axis"));
    EXPECT_EQ(dialog->findChild<QGroupBox*>(QStringLiteral("frYaxis"))->title(), QStringLiteral("Y axis"));
    for (const char* name : {"obXauto", "obYauto"})
        EXPECT_EQ(option(name)->text(), QStringLiteral("Automatic"));
    for (const char* name : {"obXuser", "obYuser"})
        EXPECT_EQ(option(name)->text(), QStringLiteral("Custom"));
    EXPECT_EQ(dialog->findChild<QPushButton*>(QStringLiteral("btApply"))->text(), QStringLiteral("Apply"));
    EXPECT_EQ(dialog->findChild<QPushButton*>(QStringLiteral("btCancel"))->text(), QStringLiteral("Cancel"));
    EXPECT_NE(dialog->findChild<QPushButton*>(QStringLiteral("btOk")), nullptr);
}

TEST_F(GraphDialogTest, LoadingShowsTheDocumentAndTheStoredFlagsWin)
{
    doc.SetGraphcount(40);
    doc.SetAxisX(true, 1, 1);
    doc.SetAxisY(false, QStringLiteral("-2"), QStringLiteral("8"), 5, 2);
    open();
    EXPECT_EQ(box("tbEnd")->text(), QStringLiteral("40"));
    EXPECT_EQ(box("tbLabel")->text(), QStringLiteral("1"));
    EXPECT_EQ(box("tbTick")->text(), QStringLiteral("1"));
    EXPECT_EQ(box("tbMin")->text(), QStringLiteral("-2"));
    EXPECT_EQ(box("tbMax")->text(), QStringLiteral("8"));
    EXPECT_EQ(box("tbMajor")->text(), QStringLiteral("5"));
    EXPECT_EQ(box("tbMinor")->text(), QStringLiteral("2"));
    // Filling the X boxes selected Custom X; the stored automatic flag was set after them.
    EXPECT_TRUE(option("obXauto")->isChecked());
    EXPECT_TRUE(option("obYuser")->isChecked());
}

TEST_F(GraphDialogTest, TypingInABoxSelectsItsFramesCustomOption)
{
    open();
    ASSERT_TRUE(option("obXauto")->isChecked());
    ASSERT_TRUE(option("obYauto")->isChecked());
    type("tbTick", QStringLiteral("3"));
    EXPECT_TRUE(option("obXuser")->isChecked());
    EXPECT_TRUE(option("obYauto")->isChecked());
    type("tbMinor", QStringLiteral("2"));
    EXPECT_TRUE(option("obYuser")->isChecked());
}

TEST_F(GraphDialogTest, NotANumberInTheDataRangeShowsTheMaximum)
{
    open();
    type("tbEnd", QStringLiteral("abc"));
    click("btOk");
    EXPECT_EQ(box("tbEnd")->text(), QStringLiteral("32767"));
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages.first().text,
              Opening + CrLf + CrLf + QStringLiteral("<X axis - Data range>") + CrLf
                  + QStringLiteral("Input range : 2 - 32767"));
    EXPECT_TRUE(dialog->isVisible()); // stays open with the corrected values
    EXPECT_EQ(doc.graphCount(), 20);
}

TEST_F(GraphDialogTest, ADataRangeOfOneBecomesTwo)
{
    open();
    type("tbEnd", QStringLiteral("1"));
    click("btApply");
    EXPECT_EQ(box("tbEnd")->text(), QStringLiteral("2"));
    EXPECT_EQ(box("tbTick")->text(), QStringLiteral("1")); // the minimum spacing is then 1
    EXPECT_EQ(box("tbLabel")->text(), QStringLiteral("1"));
    ASSERT_EQ(prompter.messages.size(), 1);
    // A second try with the corrected values goes through.
    click("btApply");
    EXPECT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(doc.graphCount(), 2);
}

TEST_F(GraphDialogTest, AMinimumEqualToTheMaximumBecomesOneLess)
{
    open();
    type("tbMax", QStringLiteral("100"));
    type("tbMin", QStringLiteral("100"));
    click("btOk");
    EXPECT_EQ(box("tbMin")->text(), QStringLiteral("99"));
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages.first().text,
              Opening + CrLf + CrLf + QStringLiteral("<Y axis - Minimum>") + CrLf
                  + QStringLiteral("Input range : -60001 - 59999") + CrLf + CrLf
                  + QStringLiteral("Input smaller value than <Y axis - Maximum>"));
}

TEST_F(GraphDialogTest, AMaximumAboveRangeIsNamedFirst)
{
    open();
    type("tbMax", QStringLiteral("70000"));
    type("tbMin", QStringLiteral("65000"));
    click("btOk");
    EXPECT_EQ(box("tbMax")->text(), QStringLiteral("60000"));
    EXPECT_EQ(box("tbMin")->text(), QStringLiteral("59999"));
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages.first().text,
              Opening + CrLf + CrLf + QStringLiteral("<Y axis - Maximum>") + CrLf
                  + QStringLiteral("Input range : -60000 - 60000"));
}

TEST_F(GraphDialogTest, AutomaticXWithTwoReadingsKeepsTheDataRange)
{
    doc.SetGraphcount(35);
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(doc.AddGridrow());
        doc.AddRealtimedata(QStringLiteral("10:00:0%1").arg(i), QStringLiteral("1.0"), QStringLiteral("VDC"), true,
                            QStringLiteral("1.0"));
    }
    open();
    option("obXauto")->setChecked(true);
    click("btOk");
    EXPECT_TRUE(prompter.messages.isEmpty());
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    EXPECT_EQ(doc.graphCount(), 35);
}

TEST_F(GraphDialogTest, AutomaticXFollowsTheReadingCount)
{
    for (int i = 0; i < 7; ++i) {
        ASSERT_TRUE(doc.AddGridrow());
        doc.AddRealtimedata(QStringLiteral("10:00:0%1").arg(i), QStringLiteral("1.0"), QStringLiteral("VDC"), true,
                            QStringLiteral("1.0"));
    }
    open();
    click("btOk");
    EXPECT_EQ(doc.graphCount(), 7);
    EXPECT_TRUE(doc.axisX().automatic);
}

TEST_F(GraphDialogTest, AutomaticYGoesToTheDocumentAsAutomatic)
{
    doc.SetAxisY(false, QStringLiteral("0"), QStringLiteral("5"), 5, 5);
    open();
    option("obYauto")->setChecked(true);
    click("btOk");
    EXPECT_TRUE(doc.axisY().automatic);
    EXPECT_EQ(doc.panelText(QStringLiteral("Y")), QStringLiteral("Automatic"));
    EXPECT_EQ(doc.axisY().labelFormat, QString());
}

TEST_F(GraphDialogTest, WithBothAxesAutomaticTheBoxesAreIgnored)
{
    open();
    type("tbEnd", QStringLiteral("abc"));
    type("tbTick", QStringLiteral("-5"));
    type("tbMax", QStringLiteral("x"));
    type("tbMajor", QStringLiteral("0"));
    option("obXauto")->setChecked(true);
    option("obYauto")->setChecked(true);
    click("btOk");
    EXPECT_TRUE(prompter.messages.isEmpty());
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(box("tbEnd")->text(), QStringLiteral("abc")); // not looked at
    EXPECT_EQ(box("tbMajor")->text(), QStringLiteral("0"));
}

TEST_F(GraphDialogTest, ApplyStaysOpenAndCancelKeepsWhatWasApplied)
{
    open();
    type("tbEnd", QStringLiteral("50"));
    type("tbLabel", QStringLiteral("5"));
    type("tbTick", QStringLiteral("1"));
    click("btApply");
    EXPECT_TRUE(prompter.messages.isEmpty());
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_EQ(doc.graphCount(), 50);
    EXPECT_EQ(doc.axisX().perLabel, 5);

    type("tbEnd", QStringLiteral("60"));
    click("btCancel");
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(dialog->result(), QDialog::Rejected);
    EXPECT_EQ(doc.graphCount(), 50); // Apply's values stay, the later typing does not
}

TEST_F(GraphDialogTest, CustomYReachesTheDocumentWithItsLabelFormat)
{
    open();
    type("tbMin", QStringLiteral("0.001"));
    type("tbMax", QStringLiteral("0.005"));
    type("tbMajor", QStringLiteral("4"));
    type("tbMinor", QStringLiteral("1"));
    click("btOk");
    EXPECT_TRUE(prompter.messages.isEmpty());
    EXPECT_FALSE(doc.axisY().automatic);
    EXPECT_EQ(doc.axisY().labelFormat, QStringLiteral("0.0###E-#"));
    EXPECT_EQ(doc.GetAxisY().minimum, QStringLiteral("0.001"));
}
