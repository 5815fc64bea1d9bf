// The Forward dialog's window, offscreen: control names and captions, the state it opens
// with, and that clicks and edits reach the dialog's logic.

#include "forward/frmForward.h"
#include "resources/ProgramState.h"
#include "support/ScriptedPrompter.h"
#include "support/TestHelpers.h"

#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <ostream>

inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace quvo {
namespace {

class frmForwardTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        resetProgramState();
        ASSERT_TRUE(m_dir.isValid());
        m_workbook = m_dir.filePath(QStringLiteral("Bench.xlsx"));
        QFile file(m_workbook);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    void TearDown() override { resetProgramState(); }

    template <class W>
    static W* child(QWidget& dialog, const char* name)
    {
        W* widget = dialog.findChild<W*>(QString::fromLatin1(name));
        EXPECT_NE(widget, nullptr) << name;
        return widget;
    }

    QTemporaryDir m_dir;
    QString m_workbook;
    test::ScriptedPrompter prompter;
};

TEST_F(frmForwardTest, ControlsCarryTheirNamesAndCaptions)
{
    ForwardSetup setup(prompter);
    setup.Load();
    frmForward dialog(setup);
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Forward to Microsoft Excel"));
    EXPECT_EQ(child<QGroupBox>(dialog, "frFile")->title(), QStringLiteral("Microsoft Excel File"));
    EXPECT_EQ(child<QRadioButton>(dialog, "obNew")->text(), QStringLiteral("New"));
    EXPECT_EQ(child<QRadioButton>(dialog, "obOpen")->text(), QStringLiteral("Custom"));
    EXPECT_EQ(child<QPushButton>(dialog, "btBrawse")->text(), QStringLiteral("Browse..."));
    EXPECT_EQ(child<QCheckBox>(dialog, "cbFile")->text(), QStringLiteral("Always show this file"));
    EXPECT_EQ(child<QGroupBox>(dialog, "frTitle")->title(), QStringLiteral("Title"));
    EXPECT_EQ(child<QCheckBox>(dialog, "cbTitle")->text(), QStringLiteral("Always show this title"));
    EXPECT_EQ(child<QPushButton>(dialog, "btOk")->text(), QStringLiteral("OK"));
    EXPECT_EQ(child<QPushButton>(dialog, "btCancel")->text(), QStringLiteral("Cancel"));
    child<QLineEdit>(dialog, "tbFile");
    child<QLineEdit>(dialog, "tbTitle");
    child<QLabel>(dialog, "llExcel");
    // The option buttons and the path box are inside the file frame.
    EXPECT_EQ(child<QRadioButton>(dialog, "obNew")->parentWidget()->objectName(), QStringLiteral("frFile"));
    EXPECT_EQ(child<QLineEdit>(dialog, "tbTitle")->parentWidget()->objectName(), QStringLiteral("frTitle"));
}

TEST_F(frmForwardTest, OpensWithTheRememberedValues)
{
    programState().ForwardFile = m_workbook;
    programState().ForwardTitle = QStringLiteral("Bench supply");
    ForwardSetup setup(prompter);
    setup.Load();
    frmForward dialog(setup);
    EXPECT_TRUE(child<QRadioButton>(dialog, "obOpen")->isChecked());
    EXPECT_FALSE(child<QRadioButton>(dialog, "obNew")->isChecked());
    EXPECT_EQ(child<QLineEdit>(dialog, "tbFile")->text(), m_workbook);
    EXPECT_EQ(child<QLineEdit>(dialog, "tbTitle")->text(), QStringLiteral("Bench supply"));
    EXPECT_TRUE(child<QCheckBox>(dialog, "cbFile")->isChecked());
    EXPECT_TRUE(child<QCheckBox>(dialog, "cbTitle")->isChecked());
}

TEST_F(frmForwardTest, OpensWithNewAndUncheckedBoxesWhenNothingIsRemembered)
{
    ForwardSetup setup(prompter);
    setup.Load();
    frmForward dialog(setup);
    EXPECT_TRUE(child<QRadioButton>(dialog, "obNew")->isChecked());
    EXPECT_FALSE(child<QCheckBox>(dialog, "cbFile")->isChecked());
    EXPECT_FALSE(child<QCheckBox>(dialog, "cbTitle")->isChecked());
}

TEST_F(frmForwardTest, TypingAPathSelectsCustomAndOkConfirms)
{
    ForwardSetup setup(prompter);
    setup.Load();
    frmForward dialog(setup);
    dialog.show();
    auto* tbFile = child<QLineEdit>(dialog, "tbFile");
    QTest::keyClicks(tbFile, m_workbook);
    EXPECT_TRUE(child<QRadioButton>(dialog, "obOpen")->isChecked());
    EXPECT_EQ(setup.tbFile(), m_workbook);
    QTest::keyClicks(child<QLineEdit>(dialog, "tbTitle"), QStringLiteral("Typed"));
    child<QCheckBox>(dialog, "cbTitle")->click();
    child<QPushButton>(dialog, "btOk")->click();
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(programState().ExcelFile, m_workbook);
    EXPECT_EQ(programState().ExcelTitle, QStringLiteral("Typed"));
    EXPECT_EQ(programState().ForwardTitle, QStringLiteral("Typed"));
    EXPECT_TRUE(programState().ForwardFile.isEmpty());
    EXPECT_FALSE(programState().NoForward);
}

TEST_F(frmForwardTest, MissingFileKeepsTheDialogOpenAndFocusesThePathBox)
{
    ForwardSetup setup(prompter);
    setup.Load();
    frmForward dialog(setup);
    dialog.show();
    QApplication::setActiveWindow(&dialog);
    auto* tbTitle = child<QLineEdit>(dialog, "tbTitle");
    tbTitle->setFocus();
    child<QRadioButton>(dialog, "obOpen")->click();
    child<QPushButton>(dialog, "btOk")->click();
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_EQ(prompter.messageTexts(), QStringList{QStringLiteral("This file cannot be found.\r\n")});
    EXPECT_TRUE(test::waitFor([&] { return dialog.focusWidget() == child<QLineEdit>(dialog, "tbFile"); }));
}

TEST_F(frmForwardTest, BrowseFillsThePathBox)
{
    prompter.fileNames = {m_workbook};
    ForwardSetup setup(prompter);
    setup.Load();
    frmForward dialog(setup);
    child<QPushButton>(dialog, "btBrawse")->click();
    EXPECT_EQ(child<QLineEdit>(dialog, "tbFile")->text(), m_workbook);
    EXPECT_TRUE(child<QRadioButton>(dialog, "obOpen")->isChecked());
}

TEST_F(frmForwardTest, EscapeCancels)
{
    programState().NoForward = false;
    programState().ExcelTitle = QStringLiteral("before");
    ForwardSetup setup(prompter);
    setup.Load();
    frmForward dialog(setup);
    dialog.show();
    QTest::keyClicks(child<QLineEdit>(dialog, "tbTitle"), QStringLiteral("x"));
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
    EXPECT_TRUE(programState().NoForward);
    EXPECT_EQ(programState().ExcelTitle, QStringLiteral("before"));
}

TEST_F(frmForwardTest, ModalDialogThroughTheFactory)
{
    programState().ForwardTitle = QStringLiteral("Remembered");
    // The user presses OK once the modal dialog is up.
    QTimer::singleShot(0, [] {
        QWidget* dialog = QApplication::activeModalWidget();
        ASSERT_NE(dialog, nullptr);
        EXPECT_EQ(dialog->objectName(), QStringLiteral("frmForward"));
        dialog->findChild<QPushButton*>(QStringLiteral("btOk"))->click();
    });
    EXPECT_TRUE(ShowForwardDialog(frmForward::factory(nullptr), prompter));
    EXPECT_EQ(programState().ExcelTitle, QStringLiteral("Remembered"));
    EXPECT_EQ(programState().ForwardTitle, QStringLiteral("Remembered"));
    EXPECT_TRUE(programState().ExcelFile.isEmpty());
}

TEST_F(frmForwardTest, ModalDialogClosedByItsCloseBoxCancels)
{
    programState().NoForward = false;
    QTimer::singleShot(0, [] {
        QWidget* dialog = QApplication::activeModalWidget();
        ASSERT_NE(dialog, nullptr);
        dialog->close();
    });
    EXPECT_FALSE(ShowForwardDialog(frmForward::factory(nullptr), prompter));
    EXPECT_TRUE(programState().NoForward);
}

} // namespace
} // namespace quvo
