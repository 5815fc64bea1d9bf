// The Interval and period dialog, driven by its controls.

#include "UiTestSupport.h"

#include "acquisition/IntervalSetup.h"
#include "acquisition/frmInterval.h"
#include "document/DataDocument.h"
#include "resources/Constant.h"
#include "support/ScriptedPrompter.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

#include <memory>

using namespace quvo;
using namespace quvo::test;

namespace {

const QString RangeMessage = QStringLiteral(
    "Input value was changed automatically because it was outside the input range.\r\n\r\nInput range\r\n"
    "<Day> : 0 - 99\r\n<Hour> : 0 - 23\r\n<Minute> : 0 - 59\r\n<Second> : 0 - 59\r\n\r\n"
    "Input one second and more value.");

class IntervalDialogTest : public UiTest {
protected:
    void SetUp() override
    {
        UiTest::SetUp();
        doc.OpenNew(DataKinds::Realtime);
    }
    void open()
    {
        dialog = std::make_unique<frmInterval>(&doc, &prompter);
        dialog->show();
    }
    template <class T = QWidget>
    T* child(const char* name) const
    {
        return dialog->findChild<T*>(QString::fromLatin1(name));
    }
    QLineEdit* box(const char* name) const { return child<QLineEdit>(name); }
    void type(const char* name, const QString& text) const
    {
        box(name)->selectAll();
        box(name)->insert(text);
    }
    void setInterval(const char* d, const char* h, const char* m, const char* s) const
    {
        type("tbIday", QString::fromLatin1(d));
        type("tbIhour", QString::fromLatin1(h));
        type("tbImin", QString::fromLatin1(m));
        type("tbIsec", QString::fromLatin1(s));
    }
    void ok() const { child<QPushButton>("btOk")->click(); }

    DataDocument doc;
    ScriptedPrompter prompter;
    std::unique_ptr<frmInterval> dialog;
};

} // namespace

TEST_F(IntervalDialogTest, CaptionsComeFromTheStringTable)
{
    open();
    EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Interval and period setup"));
    EXPECT_EQ(child<QGroupBox>("frInterval")->title(), QStringLiteral("Interval"));
    EXPECT_EQ(child<QGroupBox>("frPeriod")->title(), QStringLiteral("Period"));
    EXPECT_EQ(child<QRadioButton>("obNone")->text(), QStringLiteral("None"));
    EXPECT_EQ(child<QRadioButton>("obUser")->text(), QStringLiteral("Custom"));
    EXPECT_EQ(child<QPushButton>("btCancel")->text(), QStringLiteral("Cancel"));
    const struct {
        const char* name;
        const char* text;
    } labels[] = {{"llIday", "Day"},  {"llIhour", "Hour"}, {"llImin", "Minute"}, {"llIsec", "Second"},
                  {"llPday", "Day"},  {"llPhour", "Hour"}, {"llPmin", "Minute"}, {"llPsec", "Second"}};
    for (const auto& l : labels)
        EXPECT_EQ(child<QLabel>(l.name)->text(), QString::fromLatin1(l.text)) << l.name;
    for (const char* name : {"Label1", "Label2", "Label3"})
        EXPECT_NE(child<QLabel>(name), nullptr) << name;
}

TEST_F(IntervalDialogTest, TheBoxesShowTheDocumentsValues)
{
    doc.SetInterval(QStringLiteral("00"), QStringLiteral("01"), QStringLiteral("02"), QStringLiteral("03"));
    doc.SetPeriod(false, QStringLiteral("01"), QStringLiteral("00"), QStringLiteral("30"), QStringLiteral("00"));
    open();
    EXPECT_EQ(box("tbIday")->text(), QStringLiteral("00"));
    EXPECT_EQ(box("tbIhour")->text(), QStringLiteral("01"));
    EXPECT_EQ(box("tbImin")->text(), QStringLiteral("02"));
    EXPECT_EQ(box("tbIsec")->text(), QStringLiteral("03"));
    EXPECT_EQ(box("tbPday")->text(), QStringLiteral("01"));
    EXPECT_EQ(box("tbPmin")->text(), QStringLiteral("30"));
    EXPECT_TRUE(child<QRadioButton>("obUser")->isChecked());

    doc.SetPeriod(true, {}, {}, {}, {});
    open();
    EXPECT_TRUE(child<QRadioButton>("obNone")->isChecked()); // the stored flag wins over the boxes' change
    EXPECT_EQ(box("tbPday")->text(), QStringLiteral("01"));   // the period texts are kept
}

TEST_F(IntervalDialogTest, AZeroIntervalBecomesFiveSeconds)
{
    open();
    setInterval("00", "00", "00", "00");
    ok();
    EXPECT_EQ(box("tbIsec")->text(), QStringLiteral("05"));
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages.first().text, RangeMessage);
    EXPECT_EQ(prompter.messages.first().icon, PromptIcon::Exclamation);
    EXPECT_TRUE(dialog->isVisible());

    doc.SetInterval(QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("09"));
    ok(); // the second OK stores 5 s
    EXPECT_EQ(prompter.messages.size(), 1);
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    EXPECT_EQ(doc.GetIntervalcount(), 5);
}

TEST_F(IntervalDialogTest, SecondsAboveRangeAreCut)
{
    open();
    setInterval("00", "00", "00", "75");
    ok();
    EXPECT_EQ(box("tbIsec")->text(), QStringLiteral("59"));
    EXPECT_EQ(prompter.messages.size(), 1);
    EXPECT_TRUE(dialog->isVisible());
}

TEST_F(IntervalDialogTest, NotANumberBecomesZero)
{
    open();
    setInterval("00", "abc", "00", "10");
    ok();
    EXPECT_EQ(box("tbIhour")->text(), QStringLiteral("00"));
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages.first().text, RangeMessage);
}

TEST_F(IntervalDialogTest, CorrectValuesAreWrittenWithTwoDigits)
{
    open();
    setInterval("0", "0", "1", "7");
    child<QRadioButton>("obUser")->setChecked(true);
    type("tbPday", QStringLiteral("1"));
    type("tbPhour", QStringLiteral("2"));
    type("tbPmin", QStringLiteral("3"));
    type("tbPsec", QStringLiteral("4"));
    ok();
    EXPECT_TRUE(prompter.messages.isEmpty());
    EXPECT_EQ(box("tbIsec")->text(), QStringLiteral("07"));
    EXPECT_EQ(box("tbPday")->text(), QStringLiteral("01"));
    EXPECT_EQ(doc.GetInterval(), (TimeTexts{QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("01"),
                                            QStringLiteral("07")}));
    EXPECT_FALSE(doc.GetPeriodnone());
    EXPECT_EQ(doc.GetPeriodcount(), 93784);
}

TEST_F(IntervalDialogTest, NoPeriodWithZeroPeriodBoxesIsAccepted)
{
    open();
    type("tbPday", QStringLiteral("00"));
    type("tbPhour", QStringLiteral("00"));
    type("tbPmin", QStringLiteral("00"));
    type("tbPsec", QStringLiteral("00"));
    ASSERT_TRUE(child<QRadioButton>("obUser")->isChecked()); // typing selected Custom
    child<QRadioButton>("obNone")->setChecked(true);
    ok();
    EXPECT_TRUE(prompter.messages.isEmpty());
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_TRUE(doc.GetPeriodnone());
}

TEST_F(IntervalDialogTest, AZeroPeriodBecomesOneSecond)
{
    open();
    child<QRadioButton>("obUser")->setChecked(true);
    type("tbPday", QStringLiteral("0"));
    type("tbPhour", QStringLiteral("0"));
    type("tbPmin", QStringLiteral("0"));
    type("tbPsec", QStringLiteral("0"));
    ok();
    EXPECT_EQ(box("tbPsec")->text(), QStringLiteral("01"));
    EXPECT_EQ(prompter.messages.size(), 1);
}

TEST_F(IntervalDialogTest, ADocumentWithReadingsKeepsItsInterval)
{
    doc.SetInterval(QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("10"));
    ASSERT_TRUE(doc.AddGridrow());
    doc.AddRealtimedata(QStringLiteral("10:00:00"), QStringLiteral("1.0"), QStringLiteral("VDC"), true,
                        QStringLiteral("1.0"));
    open();
    for (const char* name : {"frInterval", "llIday", "llIhour", "llImin", "llIsec", "tbIday", "tbIhour", "tbImin",
                             "tbIsec", "Label1", "Label2", "Label3"})
        EXPECT_FALSE(child(name)->isEnabled()) << name;
    EXPECT_EQ(box("tbIsec")->text(), QStringLiteral("10"));
    EXPECT_TRUE(child("frPeriod")->isEnabled());
    EXPECT_TRUE(box("tbPday")->isEnabled());
    EXPECT_TRUE(child("obUser")->isEnabled());
}

TEST_F(IntervalDialogTest, CancelChangesNothing)
{
    doc.SetPeriod(false, QStringLiteral("00"), QStringLiteral("02"), QStringLiteral("00"), QStringLiteral("00"));
    const TimeTexts interval = doc.GetInterval();
    open();
    setInterval("00", "00", "00", "00");
    child<QRadioButton>("obNone")->setChecked(true);
    child<QPushButton>("btCancel")->click();
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(dialog->result(), QDialog::Rejected);
    EXPECT_TRUE(prompter.messages.isEmpty());
    EXPECT_EQ(doc.GetInterval(), interval);
    EXPECT_FALSE(doc.GetPeriodnone());
    EXPECT_EQ(doc.GetPeriodcount(), 7200);
}

TEST_F(IntervalDialogTest, TheContinueOptionIsOffUntilClickedAndBelongsToTheDocument)
{
    open();
    auto* option = child<QCheckBox>("chkContinue");
    ASSERT_TRUE(option);
    EXPECT_EQ(option->text(), ContinueWhenFullText);
    EXPECT_FALSE(option->isChecked()); // a full document ends the recording unless chosen
    QTest::mouseClick(option, Qt::LeftButton);
    EXPECT_TRUE(option->isChecked());
    setInterval("00", "00", "00", "01");
    ok();
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    EXPECT_TRUE(doc.continueWhenFull());

    // Shown ticked when the dialog opens again; Cancel keeps it.
    open();
    option = child<QCheckBox>("chkContinue");
    EXPECT_TRUE(option->isChecked());
    QTest::mouseClick(option, Qt::LeftButton);
    child<QPushButton>("btCancel")->click();
    EXPECT_TRUE(doc.continueWhenFull());

    // Unticked and OK: off again.
    open();
    QTest::mouseClick(child<QCheckBox>("chkContinue"), Qt::LeftButton);
    ok();
    EXPECT_FALSE(doc.continueWhenFull());
}
