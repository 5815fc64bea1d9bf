// The Forward dialog's logic without widgets: what it shows when it opens, the path box
// and Browse..., the OK rules with the remembered values, Cancel, and the modal call.

#include "forward/ForwardSetup.h"
#include "resources/ProgramState.h"
#include "support/ScriptedPrompter.h"

#include <QFile>
#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <ostream>

inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace quvo {
namespace {

class ForwardSetupTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        resetProgramState();
        ASSERT_TRUE(m_dir.isValid());
        m_workbook = m_dir.filePath(QStringLiteral("Bench.xlsx"));
        QFile file(m_workbook);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("PK");
    }
    void TearDown() override { resetProgramState(); }

    // Values a previous forwarding left, to see what OK and Cancel change.
    static void earlierValues()
    {
        ProgramState& s = programState();
        s.ExcelFile = QStringLiteral("/earlier/file.xlsx");
        s.ExcelTitle = QStringLiteral("earlier title");
    }

    QTemporaryDir m_dir;
    QString m_workbook;
    test::ScriptedPrompter prompter;
};

TEST_F(ForwardSetupTest, OpensWithNewWhenNothingIsRemembered)
{
    ForwardSetup setup(prompter);
    setup.Load();
    EXPECT_TRUE(setup.obNew());
    EXPECT_FALSE(setup.obOpen());
    EXPECT_TRUE(setup.tbFile().isEmpty());
    EXPECT_TRUE(setup.tbTitle().isEmpty());
    EXPECT_FALSE(setup.cbFile());
    EXPECT_FALSE(setup.cbTitle());
}

TEST_F(ForwardSetupTest, OpensWithCustomWhenAPathIsRemembered)
{
    programState().ForwardFile = m_workbook;
    programState().ForwardTitle = QStringLiteral("Bench supply");
    ForwardSetup setup(prompter);
    setup.Load();
    EXPECT_TRUE(setup.obOpen());
    EXPECT_EQ(setup.tbFile(), m_workbook);
    EXPECT_EQ(setup.tbTitle(), QStringLiteral("Bench supply"));
    EXPECT_TRUE(setup.cbFile());
    EXPECT_TRUE(setup.cbTitle());
}

TEST_F(ForwardSetupTest, RememberedTitleAloneKeepsNew)
{
    programState().ForwardTitle = QStringLiteral("T");
    ForwardSetup setup(prompter);
    setup.Load();
    EXPECT_TRUE(setup.obNew());
    EXPECT_FALSE(setup.cbFile());
    EXPECT_TRUE(setup.cbTitle());
}

TEST_F(ForwardSetupTest, TypingAPathSelectsCustom)
{
    ForwardSetup setup(prompter);
    setup.Load();
    QSignalSpy options(&setup, &ForwardSetup::optionChanged);
    setup.setTbFile(QStringLiteral("/x"));
    EXPECT_TRUE(setup.obOpen());
    ASSERT_EQ(options.size(), 1);
    EXPECT_FALSE(options[0][0].toBool());
}

TEST_F(ForwardSetupTest, BrowseAsksForAnExistingWorkbookAndPutsItInThePathBox)
{
    prompter.fileNames = {m_workbook};
    ForwardSetup setup(prompter);
    setup.Load();
    setup.btBrawseClick();
    ASSERT_EQ(prompter.fileRequests.size(), 1);
    const FileDialogRequest& request = prompter.fileRequests[0];
    EXPECT_EQ(request.mode, FileDialogRequest::Mode::Open);
    EXPECT_EQ(request.filter, QStringLiteral("Microsoft Excel Files (*.xls; *.xlsx)|*.xls;*.xlsx|"));
    EXPECT_TRUE(request.fileName.isEmpty());
    EXPECT_TRUE(request.fileMustExist);
    EXPECT_EQ(setup.tbFile(), m_workbook);
    EXPECT_TRUE(setup.obOpen());
}

TEST_F(ForwardSetupTest, CancellingBrowseEmptiesThePathBox)
{
    programState().ForwardFile = m_workbook;
    ForwardSetup setup(prompter);
    setup.Load();
    setup.btBrawseClick(); // no file name scripted: the dialog is cancelled
    EXPECT_TRUE(setup.tbFile().isEmpty());
    EXPECT_TRUE(setup.obOpen());
}

TEST_F(ForwardSetupTest, CustomWithEmptyPathShowsTheMessageWithAnEmptySecondLine)
{
    earlierValues();
    ForwardSetup setup(prompter);
    setup.Load();
    setup.selectOpen();
    QSignalSpy focus(&setup, &ForwardSetup::focusFileRequested);
    QSignalSpy closed(&setup, &ForwardSetup::closed);
    EXPECT_FALSE(setup.btOkClick());
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages[0].text, QStringLiteral("This file cannot be found.\r\n"));
    EXPECT_EQ(prompter.messages[0].icon, PromptIcon::Exclamation);
    EXPECT_EQ(prompter.messages[0].buttons, PromptButtons::Ok);
    EXPECT_EQ(focus.size(), 1);
    EXPECT_EQ(closed.size(), 0);
    EXPECT_FALSE(setup.isClosed());
    EXPECT_EQ(programState().ExcelFile, QStringLiteral("/earlier/file.xlsx"));
    EXPECT_EQ(programState().ExcelTitle, QStringLiteral("earlier title"));
    EXPECT_TRUE(programState().NoForward);
}

TEST_F(ForwardSetupTest, CustomWithAMissingFileNamesIt)
{
    ForwardSetup setup(prompter);
    setup.Load();
    const QString missing = m_dir.filePath(QStringLiteral("gone.xlsx"));
    setup.setTbFile(missing);
    EXPECT_FALSE(setup.btOkClick());
    EXPECT_EQ(prompter.messageTexts(), QStringList{QStringLiteral("This file cannot be found.\r\n") + missing});
}

TEST_F(ForwardSetupTest, CustomWithAFolderSaysItIsAFolder)
{
    ForwardSetup setup(prompter);
    setup.Load();
    setup.setTbFile(m_dir.path());
    QSignalSpy focus(&setup, &ForwardSetup::focusFileRequested);
    EXPECT_FALSE(setup.btOkClick());
    ASSERT_EQ(prompter.messages.size(), 1);
    const QString text = prompter.messages[0].text;
    EXPECT_TRUE(text.contains(QStringLiteral("is a folder, not a workbook"))) << text.toStdString();
    EXPECT_TRUE(text.contains(QDir::toNativeSeparators(m_dir.path()))) << text.toStdString();
    EXPECT_FALSE(text.contains(QStringLiteral("cannot be found")));
    EXPECT_EQ(prompter.messages[0].icon, PromptIcon::Exclamation);
    EXPECT_EQ(focus.size(), 1);
    EXPECT_FALSE(setup.isClosed());
    EXPECT_TRUE(programState().NoForward);
}

TEST_F(ForwardSetupTest, CustomWithAnExistingFile)
{
    ForwardSetup setup(prompter);
    setup.Load();
    setup.setTbFile(m_workbook);
    setup.setCbFile(true);
    setup.setTbTitle(QStringLiteral("Bench supply"));
    setup.setCbTitle(true);
    QSignalSpy closed(&setup, &ForwardSetup::closed);
    EXPECT_TRUE(setup.btOkClick());
    ASSERT_EQ(closed.size(), 1);
    EXPECT_TRUE(closed[0][0].toBool());
    const ProgramState& s = programState();
    EXPECT_EQ(s.ExcelFile, m_workbook);
    EXPECT_EQ(s.ForwardFile, m_workbook);
    EXPECT_EQ(s.ExcelTitle, QStringLiteral("Bench supply"));
    EXPECT_EQ(s.ForwardTitle, QStringLiteral("Bench supply"));
    EXPECT_FALSE(s.NoForward);
    EXPECT_TRUE(prompter.messages.isEmpty());
}

TEST_F(ForwardSetupTest, NewWithAlwaysShowThisFileRemembersTheTypedPathButUsesANewWorkbook)
{
    earlierValues();
    ForwardSetup setup(prompter);
    setup.Load();
    setup.setTbFile(QStringLiteral("/typed/path.xlsx")); // selects Custom ...
    setup.selectNew();                                   // ... and the user goes back to New
    setup.setCbFile(true);
    EXPECT_TRUE(setup.btOkClick());
    EXPECT_TRUE(programState().ExcelFile.isEmpty());
    EXPECT_EQ(programState().ForwardFile, QStringLiteral("/typed/path.xlsx"));
    EXPECT_TRUE(prompter.messages.isEmpty()) << "a new workbook needs no existing file";
}

TEST_F(ForwardSetupTest, UncheckingAlwaysShowThisFileForgetsThePath)
{
    programState().ForwardFile = m_workbook;
    programState().ForwardTitle = QStringLiteral("kept?");
    ForwardSetup setup(prompter);
    setup.Load();
    setup.setCbFile(false);
    setup.setCbTitle(false);
    EXPECT_TRUE(setup.btOkClick());
    EXPECT_EQ(setup.tbFile(), m_workbook);
    EXPECT_EQ(programState().ExcelFile, m_workbook);
    EXPECT_TRUE(programState().ForwardFile.isEmpty());
    EXPECT_EQ(programState().ExcelTitle, QStringLiteral("kept?"));
    EXPECT_TRUE(programState().ForwardTitle.isEmpty());
}

TEST_F(ForwardSetupTest, UncheckingForgetsWithNewToo)
{
    programState().ForwardFile = m_workbook;
    ForwardSetup setup(prompter);
    setup.Load();
    setup.selectNew();
    setup.setCbFile(false);
    EXPECT_TRUE(setup.btOkClick());
    EXPECT_TRUE(programState().ForwardFile.isEmpty());
    EXPECT_TRUE(programState().ExcelFile.isEmpty());
}

TEST_F(ForwardSetupTest, EmptyTitleIsAllowed)
{
    ForwardSetup setup(prompter);
    setup.Load();
    EXPECT_TRUE(setup.btOkClick());
    EXPECT_TRUE(programState().ExcelTitle.isEmpty());
    EXPECT_FALSE(programState().NoForward);
}

TEST_F(ForwardSetupTest, CancelLeavesTheFourValuesAndSetsNoForward)
{
    ProgramState& s = programState();
    s.ForwardFile = m_workbook;
    s.ForwardTitle = QStringLiteral("remembered");
    earlierValues();
    s.NoForward = false;
    ForwardSetup setup(prompter);
    setup.Load();
    setup.setTbFile(QStringLiteral("/other.xlsx"));
    setup.setTbTitle(QStringLiteral("other"));
    setup.setCbFile(false);
    QSignalSpy closed(&setup, &ForwardSetup::closed);
    setup.btCancelClick();
    ASSERT_EQ(closed.size(), 1);
    EXPECT_FALSE(closed[0][0].toBool());
    EXPECT_EQ(s.ForwardFile, m_workbook);
    EXPECT_EQ(s.ForwardTitle, QStringLiteral("remembered"));
    EXPECT_EQ(s.ExcelFile, QStringLiteral("/earlier/file.xlsx"));
    EXPECT_EQ(s.ExcelTitle, QStringLiteral("earlier title"));
    EXPECT_TRUE(s.NoForward);
}

// A view that plays the user's part on the dialog.
class ScriptedView : public ForwardDialogView {
public:
    ScriptedView(ForwardSetup& setup, std::function<void(ForwardSetup&)> script) : m_setup(setup), m_script(std::move(script)) {}
    void exec() override { m_script(m_setup); }

private:
    ForwardSetup& m_setup;
    std::function<void(ForwardSetup&)> m_script;
};

ForwardDialogFactory scripted(std::function<void(ForwardSetup&)> script, bool* loaded = nullptr)
{
    return [script, loaded](ForwardSetup& setup) -> std::unique_ptr<ForwardDialogView> {
        if (loaded)
            *loaded = setup.obOpen() && !setup.tbFile().isEmpty();
        return std::make_unique<ScriptedView>(setup, script);
    };
}

TEST_F(ForwardSetupTest, ShowForwardDialogLoadsThenRunsTheView)
{
    programState().ForwardFile = m_workbook;
    bool loadedWithCustom = false;
    const bool confirmed = ShowForwardDialog(scripted([](ForwardSetup& s) {
                                                 s.setTbTitle(QStringLiteral("From the dialog"));
                                                 s.btOkClick();
                                             },
                                                      &loadedWithCustom),
                                             prompter);
    EXPECT_TRUE(loadedWithCustom);
    EXPECT_TRUE(confirmed);
    EXPECT_EQ(programState().ExcelFile, m_workbook);
    EXPECT_EQ(programState().ExcelTitle, QStringLiteral("From the dialog"));
    EXPECT_FALSE(programState().NoForward);
}

TEST_F(ForwardSetupTest, ShowForwardDialogStaysUntilOkSucceeds)
{
    // OK on a missing file keeps the dialog; the user then picks New and confirms.
    const bool confirmed = ShowForwardDialog(scripted([](ForwardSetup& s) {
                                                 s.setTbFile(QStringLiteral("/no/such.xlsx"));
                                                 EXPECT_FALSE(s.btOkClick());
                                                 s.selectNew();
                                                 EXPECT_TRUE(s.btOkClick());
                                             }),
                                             prompter);
    EXPECT_TRUE(confirmed);
    EXPECT_EQ(prompter.messages.size(), 1);
    EXPECT_TRUE(programState().ExcelFile.isEmpty());
}

TEST_F(ForwardSetupTest, ClosingTheViewWithoutOkCountsAsCancel)
{
    programState().NoForward = false;
    EXPECT_FALSE(ShowForwardDialog(scripted([](ForwardSetup&) {}), prompter));
    EXPECT_TRUE(programState().NoForward);
    programState().NoForward = false;
    EXPECT_FALSE(ShowForwardDialog(ForwardDialogFactory(), prompter));
    EXPECT_TRUE(programState().NoForward);
}

} // namespace
} // namespace quvo
