// The main window on the offscreen platform: menus and tool bars found by their names, the
// enabling rules for every kind of active window and every link state, the close refusal,
// the placement kept between runs, and a recording and a download against the simulated
// meter driven through the menus.

// Mouse events go through the window as the platform delivers them (WidgetSteps.h).
#define QTEST_QPA_MOUSE_HANDLING

#include "app/frmMain.h"

#include "acquisition/ContinuedRecording.h"
#include "acquisition/IntervalRules.h"
#include "acquisition/IntervalSetup.h"
#include "acquisition/Realtime.h"
#include "acquisition/frmMoniter.h"
#include "app/MainMenus.h"
#include "app/Settings.h"
#include "document/DataDocument.h"
#include "document/frmData.h"
#include "link/Comm.h"
#include "metersim/MeterSimulator.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "support/ScriptedPrompter.h"
#include "support/TestHelpers.h"
#include "support/WidgetSteps.h"

#include "WindowHand.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QDir>
#include <QMdiArea>
#include <QMenuBar>
#include <QMdiSubWindow>
#include <QMenu>
#include <QPushButton>
#include <QSettings>
#include <QStatusBar>
#include <QStyle>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolBar>

#include <gtest/gtest.h>

#include <memory>

using namespace quvo;

namespace {

class MainWindowTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        resetProgramState();
        ASSERT_TRUE(home.isValid());
        ASSERT_TRUE(store.isValid());
        qputenv(HomeEnvVar, QFile::encodeName(home.path()));
        setSettingsStoreFolder(store.path());
        window = std::make_unique<frmMain>();
        window->setPrompter(&prompter);
    }

    void TearDown() override
    {
        m_hand.reset();
        programState().CommState = CommStates::Idle;
        if (window) {
            discarding.answers = QList<PromptAnswer>(20, PromptAnswer::No); // leave documents unsaved
            window->setPrompter(&discarding);
            window->close();
            window.reset();
        }
        setSettingsStoreFolder(QString());
        qunsetenv(HomeEnvVar);
        resetProgramState();
    }

    void load(const QString& port = QString())
    {
        window->Load(port);
        window->show();
    }

    QAction* item(const char* name) const { return window->action(QLatin1String(name)); }
    QMenu* menu(const char* name) const { return window->menu(QLatin1String(name)); }
    QToolBar* bar(const char* name) const { return window->findChild<QToolBar*>(QLatin1String(name)); }

    // A person's hand on the window: the menu dropped down from the menu bar and closed
    // again; an item chosen from its menu; a tool-bar button clicked. True when the item or
    // button was enabled.
    void dropDown(const char* name)
    {
        ASSERT_TRUE(hand().dropDown(menu(name))) << name;
        hand().closeMenus();
    }
    bool choose(const char* menuName, const char* itemName) { return hand().choose(menu(menuName), item(itemName)); }
    bool click(const char* key)
    {
        QToolBar* tb = bar(QLatin1String(key) == QLatin1String("Stop") ? "tbSub" : "tbMain");
        return hand().click(tb, item(key));
    }
    test::WindowHand& hand()
    {
        if (!m_hand)
            m_hand = std::make_unique<test::WindowHand>(*window);
        return *m_hand;
    }
    // Activates a child window as a click on it would.
    void activate(QWidget* child)
    {
        auto* frame = qobject_cast<QMdiSubWindow*>(child->parentWidget());
        ASSERT_TRUE(frame);
        window->mdiArea()->setActiveSubWindow(frame);
        QApplication::processEvents();
    }
    // Waits until the operation under way has ended.
    bool waitUntilIdle(std::chrono::milliseconds limit = std::chrono::seconds(10))
    {
        return test::waitFor([] { return programState().CommState == CommStates::Idle; }, limit);
    }

    // A saved document file of the kind, with some readings.
    QString documentFile(int kind, const QString& name, int readings = 3)
    {
        DataDocument document;
        document.OpenNew(kind);
        for (int i = 0; i < readings; ++i) {
            document.AddGridrow();
            document.AddData(QStringLiteral("00:00:0%1").arg(i), QStringLiteral("1.5"), QStringLiteral("VDC"),
                             QStringLiteral("1.5"));
        }
        const QString path = home.filePath(name);
        EXPECT_TRUE(document.SaveFile(path));
        return path;
    }

    DataDocument* open(const QString& path)
    {
        window->fileCommands().openFile(path);
        return window->activeDocument();
    }

    QTemporaryDir home;
    QTemporaryDir store;
    test::ScriptedPrompter prompter;
    test::ScriptedPrompter discarding;
    std::unique_ptr<frmMain> window;
    std::unique_ptr<test::WindowHand> m_hand;
};

// Answers the Interval dialog that opens next: an interval of one second, then OK.
void answerIntervalDialogWithOneSecond()
{
    test::whenDialogOpens(QStringLiteral("frmInterval"), [](QWidget* dialog) {
        test::typeInto(dialog, "tbIsec", QStringLiteral("1"));
        test::clickButton(dialog, "btOk");
    });
}

// Answers the next dialog of that name with a click on one of its buttons; `seen` counts it.
void answerDialog(const char* name, const char* button, int* seen = nullptr)
{
    test::whenDialogOpens(QLatin1String(name), [button, seen](QWidget* dialog) {
        if (seen)
            ++*seen;
        test::clickButton(dialog, button);
    });
}

} // namespace

TEST_F(MainWindowTest, MenusCarryTheirNamesAndCaptions)
{
    load();
    const QList<std::pair<const char*, const char*>> items = {
        {"mnuFile", "&File"},
        {"mnuFileOpen", "&Open..."},
        {"mnuFileClose", "&Close"},
        {"mnuFileSave", "&Save"},
        {"mnuFileSaveAs", "Save &As..."},
        {"mnuFileForward", "&Forward to Microsoft Excel..."},
        {"mnuFileExport", "Export c&hart..."},
        {"mnuFileExit", "E&xit"},
        {"mnuRealtime", "&Realtime data receive"},
        {"mnuRealtimeNew", "&New"},
        {"mnuRealtimeStart", "Star&t"},
        {"mnuRealtimeStop", "Sto&p"},
        {"mnuData", "&Data receive"},
        {"mnuDataLoging", "&LOGGING-mode"},
        {"mnuDataSave", "&SAVE-mode"},
        {"mnuMoniter", "&Monitor receive"},
        {"mnuMoniterStart", "Star&t"},
        {"mnuMoniterStop", "Sto&p"},
        {"mnuSetup", "&Settings"},
        {"mnuSetupCommport", "&Communications Port..."},
        {"mnuSetupInterval", "&Interval and Period..."},
        {"mnuSetupGraph", "&Graph..."},
        {"mnuView", "&View"},
        {"mnuViewToolbar", "&Tool bar"},
        {"mnuViewStatusbar", "&Status bar"},
        {"mnuViewMoniter", "&Monitor"},
        {"mnuHelp", "&Help"},
        {"mnuHelpAbout", "&About Quvolink..."},
    };
    for (const auto& [name, caption] : items) {
        QMenu* m = window->findChild<QMenu*>(QLatin1String(name));
        const QString text = m ? m->title() : window->action(QLatin1String(name))->text();
        EXPECT_EQ(text, QString::fromUtf8(caption)) << name;
    }
    for (const char* separator : {"mnuFileBar1", "mnuFileBar2", "mnuFileBar3", "mnuRealtimeBar1", "mnuViewBar1"})
        EXPECT_TRUE(window->action(QLatin1String(separator))->isSeparator()) << separator;
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Quvolink"));
}

TEST_F(MainWindowTest, ToolBarButtonsCarryTheirKeysAndToolTips)
{
    load();
    const QList<std::pair<const char*, const char*>> buttons = {
        {"Open", "Open"},
        {"Save", "Save"},
        {"Forward", "Forward to Microsoft Excel"},
        {"New", "New"},
        {"Start", "Start realtime data receive"},
        {"Ldata", "Start LOGGING-mode data receive"},
        {"Sdata", "Start SAVE-mode data receive"},
        {"Mstart", "Start monitor"},
        {"Interval", "Interval and Period setup"},
        {"Graph", "Graph setup"},
        {"Moniter", "Monitor"},
    };
    auto* tbMain = window->findChild<QToolBar*>(QStringLiteral("tbMain"));
    auto* tbSub = window->findChild<QToolBar*>(QStringLiteral("tbSub"));
    ASSERT_TRUE(tbMain && tbSub);
    for (const auto& [key, tip] : buttons) {
        QAction* button = window->action(QLatin1String(key));
        ASSERT_TRUE(button) << key;
        EXPECT_TRUE(tbMain->actions().contains(button)) << key;
        EXPECT_EQ(button->toolTip(), QString::fromUtf8(tip)) << key;
        EXPECT_FALSE(button->icon().isNull()) << key;
    }
    QAction* stop = window->action(QStringLiteral("Stop"));
    EXPECT_TRUE(tbSub->actions().contains(stop));
    EXPECT_EQ(stop->toolTip(), QStringLiteral("Stop"));
    EXPECT_TRUE(tbMain->isVisible());
    EXPECT_FALSE(tbSub->isVisible());
    EXPECT_TRUE(window->findChild<QLabel*>(QStringLiteral("Msg")));
    EXPECT_EQ(window->statusBar()->objectName(), QStringLiteral("sbMain"));
}

TEST_F(MainWindowTest, TheFileMenuWithoutAChildOffersOpenAndExitOnly)
{
    load();
    dropDown("mnuFile");
    EXPECT_TRUE(item("mnuFileOpen")->isEnabled());
    EXPECT_TRUE(item("mnuFileExit")->isEnabled());
    for (const char* name : {"mnuFileClose", "mnuFileSave", "mnuFileSaveAs", "mnuFileForward", "mnuFileExport"})
        EXPECT_FALSE(item(name)->isEnabled()) << name;
}

TEST_F(MainWindowTest, TheFileMenuWithOnlyTheMonitorOffersOpenAndExitOnly)
{
    load();
    window->showMonitor();
    dropDown("mnuFile");
    EXPECT_TRUE(item("mnuFileOpen")->isEnabled());
    EXPECT_TRUE(item("mnuFileExit")->isEnabled());
    for (const char* name : {"mnuFileClose", "mnuFileSave", "mnuFileSaveAs", "mnuFileForward", "mnuFileExport"})
        EXPECT_FALSE(item(name)->isEnabled()) << name;
}

TEST_F(MainWindowTest, FileExportChartSavesThePictureOfTheActiveDocumentsChart)
{
    load();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    DataDocument* document = open(documentFile(DataKinds::Realtime, QStringLiteral("bench.csv"), 30));
    ASSERT_TRUE(document);
    const QString picture = home.filePath(QStringLiteral("bench.svg"));
    test::answerDialog(QStringLiteral("frmExport"), [&](QDialog& dialog) {
        // Offered first: the data file's name, as a PNG image beside it.
        EXPECT_EQ(test::childOf<QLineEdit>(dialog, "tbFile")->text(),
                  QDir::toNativeSeparators(home.filePath(QStringLiteral("bench.png"))));
        test::typeInto(dialog, "tbFile", picture);
        test::clickOn(dialog, "btOk");
    });
    // The File menu dropped down with a click on its title, and its item clicked.
    QMenuBar* bar = window->menuBar();
    QMenu* file = menu("mnuFile");
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->actionGeometry(file->menuAction()).center());
    ASSERT_TRUE(test::waitFor([&] { return file->isVisible(); }));
    QTest::mouseClick(file, Qt::LeftButton, {}, file->actionGeometry(item("mnuFileExport")).center());
    EXPECT_TRUE(prompter.messages.isEmpty()) << prompter.messageTexts().join(u'|').toStdString();
    const QByteArray svg = test::fileBytes(picture);
    EXPECT_TRUE(svg.startsWith("<?xml")) << svg.left(100).toStdString();
    EXPECT_TRUE(svg.contains("<title>bench.csv</title>"));
    EXPECT_TRUE(document->isUnchanged());
}

TEST_F(MainWindowTest, EachDocumentKindSetsTheFileAndSettingsMenus)
{
    load();
    struct Row {
        int kind;
        bool settings;
    };
    for (const Row row : {Row{DataKinds::Realtime, true}, Row{DataKinds::Logging, false}, Row{DataKinds::Save, false}}) {
        DataDocument* document = open(documentFile(row.kind, QStringLiteral("kind%1.csv").arg(row.kind)));
        ASSERT_TRUE(document);
        ASSERT_EQ(document->kind(), row.kind);
        dropDown("mnuFile");
        for (const char* name : {"mnuFileClose", "mnuFileSave", "mnuFileSaveAs", "mnuFileForward", "mnuFileExport"})
            EXPECT_TRUE(item(name)->isEnabled()) << name << " kind " << row.kind;
        dropDown("mnuSetup");
        EXPECT_EQ(item("mnuSetupInterval")->isEnabled(), row.settings) << row.kind;
        EXPECT_EQ(item("mnuSetupGraph")->isEnabled(), row.settings) << row.kind;
    }
}

TEST_F(MainWindowTest, TheRealtimeMenuOffersStartOnlyOnARealtimeDocument)
{
    load();
    dropDown("mnuRealtime");
    EXPECT_TRUE(item("mnuRealtimeNew")->isEnabled());
    EXPECT_FALSE(item("mnuRealtimeStart")->isEnabled());
    EXPECT_FALSE(item("mnuRealtimeStop")->isEnabled());

    open(documentFile(DataKinds::Logging, QStringLiteral("logging.csv")));
    dropDown("mnuRealtime");
    EXPECT_FALSE(item("mnuRealtimeStart")->isEnabled());

    open(documentFile(DataKinds::Realtime, QStringLiteral("realtime.csv")));
    dropDown("mnuRealtime");
    EXPECT_TRUE(item("mnuRealtimeStart")->isEnabled());
    EXPECT_FALSE(item("mnuRealtimeStop")->isEnabled());
}

TEST_F(MainWindowTest, DropDownsChangeNothingWhileAnOperationRuns)
{
    load();
    open(documentFile(DataKinds::Realtime, QStringLiteral("realtime.csv")));
    for (int state = 0; state <= 6; ++state) {
        item("mnuRealtimeStart")->setEnabled(false);
        item("mnuRealtimeStop")->setEnabled(true);
        item("mnuMoniterStart")->setEnabled(false);
        item("mnuMoniterStop")->setEnabled(true);
        programState().CommState = state;
        dropDown("mnuRealtime");
        dropDown("mnuMoniter");
        EXPECT_FALSE(item("mnuRealtimeStart")->isEnabled()) << state;
        EXPECT_TRUE(item("mnuRealtimeStop")->isEnabled()) << state;
        EXPECT_FALSE(item("mnuMoniterStart")->isEnabled()) << state;
        EXPECT_TRUE(item("mnuMoniterStop")->isEnabled()) << state;
    }
    programState().CommState = CommStates::Idle;
    dropDown("mnuRealtime");
    dropDown("mnuMoniter");
    EXPECT_TRUE(item("mnuRealtimeStart")->isEnabled());
    EXPECT_FALSE(item("mnuRealtimeStop")->isEnabled());
    EXPECT_TRUE(item("mnuMoniterStart")->isEnabled());
    EXPECT_FALSE(item("mnuMoniterStop")->isEnabled());
}

TEST_F(MainWindowTest, DocumentButtonsFollowTheActiveDocument)
{
    load();
    const auto buttons = [&] {
        return QList<bool>{item("Save")->isEnabled(), item("Forward")->isEnabled(), item("Start")->isEnabled(),
                           item("Interval")->isEnabled(), item("Graph")->isEnabled()};
    };
    EXPECT_EQ(buttons(), (QList<bool>{false, false, false, false, false}));

    DataDocument* realtime = open(documentFile(DataKinds::Realtime, QStringLiteral("r.csv")));
    ASSERT_TRUE(test::waitFor([&] { return item("Start")->isEnabled(); }));
    EXPECT_EQ(buttons(), (QList<bool>{true, true, true, true, true}));

    DataDocument* save = open(documentFile(DataKinds::Save, QStringLiteral("s.csv")));
    ASSERT_TRUE(test::waitFor([&] { return !item("Start")->isEnabled(); }));
    EXPECT_EQ(buttons(), (QList<bool>{true, true, false, false, true}));

    for (DataDocument* document : {save, realtime}) {
        QMdiSubWindow* frame = qobject_cast<QMdiSubWindow*>(window->windowOf(document)->parentWidget());
        window->mdiArea()->setActiveSubWindow(frame);
        frame->close();
        QApplication::processEvents();
    }
    ASSERT_TRUE(test::waitFor([&] { return window->openDocuments().isEmpty(); }));
    EXPECT_EQ(buttons(), (QList<bool>{false, false, false, false, false}));
}

TEST_F(MainWindowTest, TheStopButtonWhileIdleRunsTheMonitorStop)
{
    load();
    bar("tbSub")->show();
    item("Stop")->setEnabled(true);
    ASSERT_TRUE(click("Stop"));
    EXPECT_TRUE(programState().StopRequested);
    EXPECT_FALSE(menu("mnuMoniter")->menuAction()->isEnabled());
    EXPECT_TRUE(menu("mnuRealtime")->menuAction()->isEnabled());
    EXPECT_FALSE(item("Stop")->isEnabled());
}

TEST_F(MainWindowTest, TheStopButtonDuringARecordingRunsTheRealtimeStop)
{
    load();
    for (int state : {CommStates::RealtimeForward, CommStates::Realtime, CommStates::RealtimeCommand}) {
        resetProgramState();
        menu("mnuRealtime")->menuAction()->setEnabled(true);
        menu("mnuMoniter")->menuAction()->setEnabled(true);
        programState().CommState = state;
        bar("tbSub")->show();
        item("Stop")->setEnabled(true);
        ASSERT_TRUE(click("Stop")) << state;
        EXPECT_FALSE(menu("mnuRealtime")->menuAction()->isEnabled()) << state;
        EXPECT_TRUE(menu("mnuMoniter")->menuAction()->isEnabled()) << state;
        // In the forwarding start (2) the stop abandons the forwarding; otherwise it asks
        // the recording to stop at the next second.
        if (state == CommStates::RealtimeForward)
            EXPECT_TRUE(programState().NoForward);
        else
            EXPECT_TRUE(programState().StopRequested);
    }
}

TEST_F(MainWindowTest, RunningCommandsSwapTheToolBarsAndLockTheOtherMenus)
{
    load();
    auto* tbMain = window->findChild<QToolBar*>(QStringLiteral("tbMain"));
    auto* tbSub = window->findChild<QToolBar*>(QStringLiteral("tbSub"));
    window->SetRealtimeCommands(true);
    for (const char* name : {"mnuFile", "mnuData", "mnuMoniter", "mnuSetup", "mnuView", "mnuHelp"})
        EXPECT_FALSE(menu(name)->menuAction()->isEnabled()) << name;
    EXPECT_TRUE(menu("mnuRealtime")->menuAction()->isEnabled());
    EXPECT_FALSE(item("mnuRealtimeNew")->isEnabled());
    EXPECT_FALSE(item("mnuRealtimeStart")->isEnabled());
    EXPECT_TRUE(item("mnuRealtimeStop")->isEnabled());
    EXPECT_FALSE(tbMain->isVisible());
    EXPECT_TRUE(tbSub->isVisible());
    EXPECT_TRUE(item("Stop")->isEnabled());
    EXPECT_TRUE(programState().RealtimeCommandsOn);

    window->SetRealtimeCommands(false);
    for (const char* name : {"mnuFile", "mnuRealtime", "mnuData", "mnuMoniter", "mnuSetup", "mnuView", "mnuHelp"})
        EXPECT_TRUE(menu(name)->menuAction()->isEnabled()) << name;
    EXPECT_TRUE(tbMain->isVisible());
    EXPECT_FALSE(tbSub->isVisible());

    window->SetMonitorCommands(true);
    EXPECT_FALSE(menu("mnuRealtime")->menuAction()->isEnabled());
    EXPECT_TRUE(menu("mnuMoniter")->menuAction()->isEnabled());
    EXPECT_FALSE(item("mnuMoniterStart")->isEnabled());
    EXPECT_TRUE(item("mnuMoniterStop")->isEnabled());
    window->SetMonitorCommands(false);
    EXPECT_TRUE(menu("mnuRealtime")->menuAction()->isEnabled());
}

TEST_F(MainWindowTest, WithTheToolBarSwitchedOffRunningCommandsLeaveBothBarsHidden)
{
    load();
    ASSERT_TRUE(choose("mnuView", "mnuViewToolbar"));
    auto* tbMain = window->findChild<QToolBar*>(QStringLiteral("tbMain"));
    auto* tbSub = window->findChild<QToolBar*>(QStringLiteral("tbSub"));
    EXPECT_FALSE(tbMain->isVisible());
    EXPECT_FALSE(item("mnuViewToolbar")->isChecked());
    window->SetRealtimeCommands(true);
    EXPECT_FALSE(tbSub->isVisible());
    EXPECT_FALSE(tbMain->isVisible());
    window->SetRealtimeCommands(false);
    EXPECT_FALSE(tbMain->isVisible());
}

TEST_F(MainWindowTest, ViewTogglesFlipTheirBarAndCheckMark)
{
    load();
    ASSERT_TRUE(choose("mnuView", "mnuViewStatusbar"));
    EXPECT_FALSE(window->statusBar()->isVisible());
    EXPECT_FALSE(item("mnuViewStatusbar")->isChecked());
    ASSERT_TRUE(choose("mnuView", "mnuViewStatusbar"));
    EXPECT_TRUE(window->statusBar()->isVisible());
    EXPECT_TRUE(item("mnuViewStatusbar")->isChecked());
    // The tool-bar toggle concerns tbMain only.
    ASSERT_TRUE(choose("mnuView", "mnuViewToolbar"));
    EXPECT_FALSE(bar("tbMain")->isVisible());
    ASSERT_TRUE(choose("mnuView", "mnuViewToolbar"));
    EXPECT_TRUE(window->findChild<QToolBar*>(QStringLiteral("tbMain"))->isVisible());
    EXPECT_TRUE(item("mnuViewToolbar")->isChecked());
}

TEST_F(MainWindowTest, TheMonitorItemAndButtonMirrorTheMonitorWindow)
{
    load();
    EXPECT_FALSE(item("mnuViewMoniter")->isChecked());
    ASSERT_TRUE(choose("mnuView", "mnuViewMoniter"));
    EXPECT_TRUE(programState().MonitorShown);
    EXPECT_TRUE(item("mnuViewMoniter")->isChecked());
    EXPECT_TRUE(item("Moniter")->isChecked());

    ASSERT_TRUE(click("Moniter"));
    ASSERT_TRUE(test::waitFor([] { return !programState().MonitorShown; }));
    EXPECT_FALSE(item("mnuViewMoniter")->isChecked());
    EXPECT_FALSE(item("Moniter")->isChecked());

    // While an operation runs the Monitor cannot be closed, and the mark stays.
    window->showMonitor();
    programState().CommState = CommStates::Monitor;
    ASSERT_TRUE(choose("mnuView", "mnuViewMoniter"));
    QApplication::processEvents();
    EXPECT_TRUE(programState().MonitorShown);
    EXPECT_TRUE(item("mnuViewMoniter")->isChecked());
    programState().CommState = CommStates::Idle;
}

TEST_F(MainWindowTest, ToolBarKeysRunTheirMenuCommands)
{
    load();
    ASSERT_TRUE(click("Open"));
    EXPECT_EQ(prompter.fileRequests.size(), 1);
    window->runToolbarKey(QStringLiteral("Unknown"));
    window->runToolbarKey(QStringLiteral("Stop")); // not a tbMain key
    EXPECT_EQ(prompter.fileRequests.size(), 1);
    EXPECT_TRUE(prompter.messages.isEmpty());
}

TEST_F(MainWindowTest, OpeningAFileAlreadyShownDoesNothing)
{
    load();
    const QString path = documentFile(DataKinds::Realtime, QStringLiteral("twice.csv"));
    prompter.fileNames = {path, path};
    ASSERT_TRUE(choose("mnuFile", "mnuFileOpen"));
    ASSERT_TRUE(click("Open"));
    EXPECT_EQ(window->openDocuments().size(), 1);
    EXPECT_TRUE(prompter.messages.isEmpty());
}

TEST_F(MainWindowTest, ClosingIsRefusedWhileAnOperationRuns)
{
    load();
    for (int state = 0; state <= 6; ++state) {
        programState().CommState = state;
        EXPECT_FALSE(window->close()) << state;
        EXPECT_TRUE(window->isVisible()) << state;
    }
    EXPECT_FALSE(QFile::exists(home.filePath(QStringLiteral("QUVO.INI"))));
    EXPECT_TRUE(prompter.messages.isEmpty());
    programState().CommState = CommStates::Idle;
    EXPECT_TRUE(window->close());
    EXPECT_TRUE(QFile::exists(home.filePath(QStringLiteral("QUVO.INI"))));
}

TEST_F(MainWindowTest, AnUnsavedDocumentAsksOnceAndCancelKeepsTheProgramOpen)
{
    load();
    DataDocument* document = window->newDocument(DataKinds::Realtime);
    document->AddGridrow();
    document->AddRealtimedata(QStringLiteral("10:00:00"), QStringLiteral("1"), QStringLiteral("VDC"), true,
                              QStringLiteral("1"));
    prompter.answers = {PromptAnswer::Cancel};
    EXPECT_FALSE(window->close());
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_TRUE(prompter.messages.first().text.endsWith(
        QStringLiteral("\r\nDo you want to save the changes you made to this file?")));
    EXPECT_EQ(window->openDocuments().size(), 1);
}

TEST_F(MainWindowTest, ExitWritesTheSettingsFileAndResetsAnOutOfRangePort)
{
    QFile ini(home.filePath(QStringLiteral("QUVO.INI")));
    ASSERT_TRUE(ini.open(QIODevice::WriteOnly));
    ini.write("17\r\n/tmp/book.xlsx\r\nTitle\r\n");
    ini.close();
    load();
    EXPECT_EQ(programState().PortNumber, QStringLiteral("17"));
    EXPECT_EQ(window->link().CommPort(), QStringLiteral("17"));
    EXPECT_TRUE(window->close());
    ASSERT_TRUE(ini.open(QIODevice::ReadOnly));
    EXPECT_EQ(ini.readAll(), QByteArray("17\r\n/tmp/book.xlsx\r\nTitle\r\n"));
    EXPECT_EQ(programState().PortNumber, QStringLiteral("1"));
}

TEST_F(MainWindowTest, APortGivenForTheRunOverridesTheSettingsFileButIsNotSaved)
{
    load(QStringLiteral("/dev/pts/99"));
    EXPECT_EQ(window->link().CommPort(), QStringLiteral("/dev/pts/99"));
    EXPECT_EQ(programState().PortNumber, QStringLiteral("1"));
}

TEST_F(MainWindowTest, PlacementOfANormalWindowIsWrittenAndRestored)
{
    load();
    window->setGeometry(120, 80, 700, 500);
    QApplication::processEvents();
    const Placement normal = window->normalPlacement();
    EXPECT_TRUE(window->close());
    const StoredMainPlacement stored = readMainPlacement();
    ASSERT_TRUE(stored.state && stored.width && stored.height && stored.left && stored.top);
    EXPECT_EQ(*stored.state, WindowState::Normal);
    EXPECT_FLOAT_EQ(*stored.width, normal.width);
    EXPECT_FLOAT_EQ(*stored.height, normal.height);
    EXPECT_FLOAT_EQ(*stored.left, normal.left);

    window = std::make_unique<frmMain>();
    window->setPrompter(&prompter);
    load();
    EXPECT_FLOAT_EQ(window->normalPlacement().width, normal.width);
    EXPECT_EQ(window->width(), 700);
    EXPECT_EQ(window->height(), 500);
}

TEST_F(MainWindowTest, AMaximisedWindowKeepsItsNormalPlacementAndReopensMaximised)
{
    load();
    window->setGeometry(100, 100, 640, 480);
    QApplication::processEvents();
    const Placement normal = window->normalPlacement();
    window->showMaximized();
    QApplication::processEvents();
    EXPECT_TRUE(window->close());
    const StoredMainPlacement stored = readMainPlacement();
    ASSERT_TRUE(stored.state && stored.width);
    EXPECT_EQ(*stored.state, WindowState::Maximised);
    EXPECT_FLOAT_EQ(*stored.width, normal.width);

    window = std::make_unique<frmMain>();
    window->setPrompter(&prompter);
    window->Load();
    EXPECT_TRUE(window->windowState() & Qt::WindowMaximized);
}

TEST_F(MainWindowTest, ClosingMinimisedLeavesTheStoredStateAsItWas)
{
    // The previous exit was maximised.
    {
        auto settings = openSettingsStore();
        settings->setValue(Keys::MainState, QStringLiteral("2"));
    }
    load();
    window->setGeometry(50, 60, 600, 400);
    QApplication::processEvents();
    const Placement normal = window->normalPlacement();
    window->showMinimized();
    QApplication::processEvents();
    EXPECT_TRUE(window->close());
    const StoredMainPlacement stored = readMainPlacement();
    ASSERT_TRUE(stored.state && stored.width);
    EXPECT_EQ(*stored.state, WindowState::Maximised);
    EXPECT_FLOAT_EQ(*stored.width, normal.width);
}

TEST_F(MainWindowTest, TheDefaultPlacementIsUsedOnAFirstRun)
{
    load();
    const Placement normal = window->normalPlacement();
    EXPECT_FLOAT_EQ(normal.left, 1000);
    EXPECT_FLOAT_EQ(normal.top, 1000);
    EXPECT_FLOAT_EQ(normal.width, 10000);
    EXPECT_FLOAT_EQ(normal.height, 6500);
}

// --- Against the simulated meter ---------------------------------------------------------------

TEST_F(MainWindowTest, ARecordingStartedFromTheMenusRecordsUntilStop)
{
    sim::SimulatorThread meter(sim::SimulatorOptions{});
    QString error;
    ASSERT_TRUE(meter.start(&error)) << error.toStdString();
    load(meter.devicePath());
    window->showMonitor();

    // Realtime › New: the Interval dialog is answered with an interval of one second.
    answerIntervalDialogWithOneSecond();
    ASSERT_TRUE(choose("mnuRealtime", "mnuRealtimeNew"));
    DataDocument* document = window->activeDocument();
    ASSERT_TRUE(document);
    EXPECT_EQ(document->GetIntervalcount(), 1);

    // Realtime › Start: no forwarding.
    prompter.answers = {PromptAnswer::No};
    ASSERT_TRUE(choose("mnuRealtime", "mnuRealtimeStart"));
    EXPECT_EQ(programState().CommState, CommStates::Realtime);
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages.first().text, AskForwardRealtime);
    EXPECT_FALSE(window->findChild<QToolBar*>(QStringLiteral("tbMain"))->isVisible());

    ASSERT_TRUE(test::waitFor([&] { return document->GetDatacount() >= 3; }, std::chrono::seconds(15)));
    EXPECT_FALSE(window->close()); // refused while recording

    ASSERT_TRUE(click("Stop"));
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_FALSE(window->link().PortOpen());
    EXPECT_TRUE(window->findChild<QToolBar*>(QStringLiteral("tbMain"))->isVisible());
    EXPECT_EQ(meter.commandLog().last(), Commands::RemoteOff);
    // Every row is a reading in volts DC, or "ERROR" for a second whose answer came too late
    // (a heavily loaded machine can delay a tick past the next second).
    int readings = 0;
    for (int row = 1; row <= document->GetDatacount(); ++row) {
        if (document->TextMatrix(row, 2) == ErrorReading)
            continue;
        ++readings;
        EXPECT_EQ(document->TextMatrix(row, 3), QStringLiteral("VDC")) << row;
    }
    EXPECT_GE(readings, 2);
    // The Monitor showed the readings too: the last one, or "ERROR" when it came too late.
    auto* value = window->monitorWindow()->findChild<QLabel*>(QStringLiteral("llValue"));
    if (document->TextMatrix(document->GetDatacount(), 2) == ErrorReading)
        EXPECT_TRUE(value->text().contains(ErrorReading)) << value->text().toStdString();
    else
        EXPECT_TRUE(value->text().endsWith(QStringLiteral("VDC "))) << value->text().toStdString();
}

TEST_F(MainWindowTest, ADownloadFromTheMenusFillsANewDocument)
{
    sim::SimulatorOptions options;
    options.model = QLatin1Char('4');
    options.loggingCount = 6;
    sim::SimulatorThread meter(options);
    QString error;
    ASSERT_TRUE(meter.start(&error)) << error.toStdString();
    load(meter.devicePath());
    prompter.answers = {PromptAnswer::No};
    ASSERT_TRUE(choose("mnuData", "mnuDataLoging"));
    EXPECT_EQ(programState().CommState, CommStates::Idle);
    DataDocument* document = window->activeDocument();
    ASSERT_TRUE(document);
    EXPECT_EQ(document->kind(), DataKinds::Logging);
    // Model 4: 20 padding rows numbered 0..19 are relabelled, then the six records.
    EXPECT_EQ(document->GetDatacount(), 6);
    EXPECT_EQ(document->TextMatrix(1, 0), QStringLiteral("0"));
    EXPECT_EQ(document->TextMatrix(1, 1), QStringLiteral("00:00:00"));
    EXPECT_EQ(prompter.messages.size(), 1); // only the forwarding question
    EXPECT_FALSE(window->link().PortOpen());
}

// --- Every enabled button works, whatever the menus were left at ----------------------------------

namespace {

// A simulated meter for one test, with its device.
struct Meter {
    explicit Meter(sim::SimulatorOptions options = {}) : thread(std::move(options))
    {
        QString error;
        started = thread.start(&error);
        EXPECT_TRUE(started) << error.toStdString();
    }
    sim::SimulatorThread thread;
    bool started = false;
};

} // namespace

TEST_F(MainWindowTest, EveryButtonRunsItsCommandWhateverTheStateOfItsMenuItem)
{
    load(QStringLiteral("/dev/quvolink-no-such-port"));
    window->link().setAnswerTimeoutMs(200);
    const QString realtimeFile = documentFile(DataKinds::Realtime, QStringLiteral("buttons.csv"));
    DataDocument* document = open(realtimeFile);
    ASSERT_TRUE(document);
    ASSERT_TRUE(test::waitFor([&] { return item("Start")->isEnabled(); }));
    const auto disableMenuItem = [&](const char* key) {
        item(qPrintable(menuItemOfToolbarKey(QLatin1String(key))))->setEnabled(false);
    };

    // Open: the file dialog.
    disableMenuItem("Open");
    ASSERT_TRUE(click("Open"));
    EXPECT_EQ(prompter.fileRequests.size(), 1);

    // Save: the document is written to its file again.
    disableMenuItem("Save");
    QFile::remove(realtimeFile);
    ASSERT_TRUE(click("Save"));
    EXPECT_TRUE(QFile::exists(realtimeFile));

    // A button whose command opens a dialog: the dialog opens (and is cancelled).
    const auto opensItsDialog = [&](const char* key, const char* dialog) {
        disableMenuItem(key);
        int opened = 0;
        answerDialog(dialog, "btCancel", &opened);
        EXPECT_TRUE(click(key)) << key;
        EXPECT_EQ(opened, 1) << key;
    };

    // Forward: the Forward dialog.
    opensItsDialog("Forward", "frmForward");

    // Start: the forwarding question (Cancel: nothing starts).
    disableMenuItem("Start");
    prompter.answers = {PromptAnswer::Cancel};
    ASSERT_TRUE(click("Start"));
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages.last().text, AskForwardRealtime);

    // Ldata and Sdata: the forwarding question of a download (Cancel).
    for (const char* key : {"Ldata", "Sdata"}) {
        disableMenuItem(key);
        prompter.answers = {PromptAnswer::Cancel};
        const qsizetype before = prompter.messages.size();
        ASSERT_TRUE(click(key)) << key;
        ASSERT_EQ(prompter.messages.size(), before + 1) << key;
        EXPECT_EQ(prompter.messages.last().text, AskForwardDownload) << key;
    }

    // Interval and Graph: their dialogs.
    opensItsDialog("Interval", "frmInterval");
    opensItsDialog("Graph", "frmSetting");

    // Moniter: the Monitor window shown.
    disableMenuItem("Moniter");
    ASSERT_TRUE(click("Moniter"));
    EXPECT_TRUE(programState().MonitorShown);

    // Mstart: monitor mode starts (here on a port that does not exist: its message).
    disableMenuItem("Mstart");
    const qsizetype before = prompter.messages.size();
    ASSERT_TRUE(click("Mstart"));
    EXPECT_EQ(prompter.messages.size(), before + 1);

    // New: a new realtime document with its Interval dialog.
    const qsizetype documents = window->openDocuments().size();
    opensItsDialog("New", "frmInterval");
    EXPECT_EQ(window->openDocuments().size(), documents + 1);
}

TEST_F(MainWindowTest, AfterAMonitorSessionTheMonitorStartButtonStartsItAgain)
{
    Meter meter;
    ASSERT_TRUE(meter.started);
    load(meter.thread.devicePath());
    for (int session = 1; session <= 2; ++session) {
        ASSERT_TRUE(click("Mstart")) << session;
        ASSERT_EQ(programState().CommState, CommStates::Monitor) << session;
        EXPECT_TRUE(bar("tbSub")->isVisible());
        auto* value = window->monitorWindow()->findChild<QLabel*>(QStringLiteral("llValue"));
        ASSERT_TRUE(test::waitFor([&] { return value->text().endsWith(QStringLiteral("VDC ")); })) << session;
        ASSERT_TRUE(click("Stop")) << session;
        ASSERT_TRUE(waitUntilIdle()) << session;
        EXPECT_TRUE(bar("tbMain")->isVisible());
        value->clear();
    }
}

TEST_F(MainWindowTest, AfterARecordingStopsNewAndStartWork)
{
    Meter meter;
    ASSERT_TRUE(meter.started);
    load(meter.thread.devicePath());

    answerIntervalDialogWithOneSecond();
    ASSERT_TRUE(click("New"));
    DataDocument* first = window->activeDocument();
    ASSERT_TRUE(first);
    prompter.answers = {PromptAnswer::No};
    ASSERT_TRUE(click("Start"));
    ASSERT_EQ(programState().CommState, CommStates::Realtime);
    ASSERT_TRUE(test::waitFor([&] { return first->GetDatacount() >= 1; }, std::chrono::seconds(15)));
    ASSERT_TRUE(click("Stop"));
    ASSERT_TRUE(waitUntilIdle());

    // New: a second document; Start on it: a second recording.
    answerIntervalDialogWithOneSecond();
    ASSERT_TRUE(click("New"));
    DataDocument* second = window->activeDocument();
    ASSERT_TRUE(second);
    EXPECT_NE(second, first);
    prompter.answers = {PromptAnswer::No};
    ASSERT_TRUE(click("Start"));
    ASSERT_EQ(programState().CommState, CommStates::Realtime);
    ASSERT_TRUE(test::waitFor([&] { return second->GetDatacount() >= 1; }, std::chrono::seconds(15)));
    ASSERT_TRUE(click("Stop"));
    ASSERT_TRUE(waitUntilIdle());
}

TEST_F(MainWindowTest, StartWorksAfterTheRealtimeMenuWasOpenedOnTheMonitor)
{
    load();
    DataDocument* document = open(documentFile(DataKinds::Realtime, QStringLiteral("realtime.csv")));
    activate(window->showMonitor());
    dropDown("mnuRealtime"); // on the Monitor: Start is not offered
    EXPECT_FALSE(item("mnuRealtimeStart")->isEnabled());
    activate(window->windowOf(document));
    ASSERT_TRUE(test::waitFor([&] { return item("Start")->isEnabled(); }));
    prompter.answers = {PromptAnswer::Cancel};
    ASSERT_TRUE(click("Start"));
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages.first().text, AskForwardRealtime);
}

TEST_F(MainWindowTest, SaveAndForwardWorkAfterTheFileMenuWasOpenedOnTheMonitor)
{
    load();
    DataDocument* document = window->newDocument(DataKinds::Realtime);
    document->AddGridrow();
    document->AddRealtimedata(QStringLiteral("10:00:00"), QStringLiteral("1.5"), QStringLiteral("VDC"), true,
                              QStringLiteral("1.5"));
    activate(window->showMonitor());
    dropDown("mnuFile"); // on the Monitor: Open and Exit only
    EXPECT_FALSE(item("mnuFileSave")->isEnabled());
    EXPECT_FALSE(item("mnuFileForward")->isEnabled());
    activate(window->windowOf(document));
    ASSERT_TRUE(test::waitFor([&] { return item("Save")->isEnabled(); }));

    // Save on a document without a file: the Save As dialog, here answered with a name.
    const QString path = home.filePath(QStringLiteral("saved.CSV"));
    prompter.fileNames = {path};
    ASSERT_TRUE(click("Save"));
    ASSERT_EQ(prompter.fileRequests.size(), 1);
    EXPECT_EQ(prompter.fileRequests.first().mode, FileDialogRequest::Mode::Save);
    EXPECT_TRUE(QFile::exists(path));

    int forwardDialogs = 0;
    answerDialog("frmForward", "btCancel", &forwardDialogs);
    ASSERT_TRUE(click("Forward"));
    EXPECT_EQ(forwardDialogs, 1);
}

TEST_F(MainWindowTest, GraphOnALoggingDocumentWorksAfterTheSettingsMenuDroppedDownOnIt)
{
    load();
    open(documentFile(DataKinds::Logging, QStringLiteral("logging.csv")));
    dropDown("mnuSetup"); // Graph is not offered in the menu for this kind
    EXPECT_FALSE(item("mnuSetupGraph")->isEnabled());
    ASSERT_TRUE(item("Graph")->isEnabled()); // the button is
    int graphDialogs = 0;
    answerDialog("frmSetting", "btCancel", &graphDialogs);
    ASSERT_TRUE(click("Graph"));
    EXPECT_EQ(graphDialogs, 1);
}

// --- Monitor › Start brings the readings into view ------------------------------------------------

namespace {

QMdiSubWindow* frameOf(QWidget* child)
{
    return qobject_cast<QMdiSubWindow*>(child->parentWidget());
}

// True when the child's frame is shown, not minimised, and no other child window lies over it.
bool inView(QMdiArea* area, QWidget* child)
{
    QMdiSubWindow* frame = frameOf(child);
    if (!frame || !frame->isVisible() || frame->isMinimized())
        return false;
    const QList<QMdiSubWindow*> stack = area->subWindowList(QMdiArea::StackingOrder);
    for (qsizetype i = stack.indexOf(frame) + 1; i < stack.size(); ++i) {
        if (stack[i]->isVisible() && !stack[i]->isMinimized() && stack[i]->geometry().intersects(frame->geometry()))
            return false;
    }
    return true;
}

} // namespace

TEST_F(MainWindowTest, MonitorStartBringsTheMonitorToTheFrontOverAMaximisedDocument)
{
    Meter meter;
    ASSERT_TRUE(meter.started);
    load(meter.thread.devicePath());
    frmMoniter* monitor = window->showMonitor();
    DataDocument* document = open(documentFile(DataKinds::Realtime, QStringLiteral("big.csv")));
    frameOf(window->windowOf(document))->showMaximized();
    QApplication::processEvents();
    ASSERT_FALSE(inView(window->mdiArea(), monitor));

    ASSERT_TRUE(choose("mnuMoniter", "mnuMoniterStart"));
    ASSERT_EQ(programState().CommState, CommStates::Monitor);
    EXPECT_TRUE(inView(window->mdiArea(), monitor));
    EXPECT_EQ(window->mdiArea()->activeSubWindow(), frameOf(monitor));
    // The document keeps its maximised state behind the Monitor; the Monitor is not maximised.
    EXPECT_TRUE(frameOf(window->windowOf(document))->isMaximized());
    EXPECT_FALSE(frameOf(monitor)->isMaximized());

    // While monitoring, the readings stay in view: a document activated and maximised does
    // not cover them, and a minimise of the Monitor is undone.
    activate(window->windowOf(document));
    frameOf(window->windowOf(document))->showMaximized();
    QApplication::processEvents();
    EXPECT_TRUE(inView(window->mdiArea(), monitor));
    frameOf(monitor)->showMinimized();
    ASSERT_TRUE(test::waitFor([&] { return inView(window->mdiArea(), monitor); }));

    ASSERT_TRUE(click("Stop"));
    ASSERT_TRUE(waitUntilIdle());
    // After monitoring, the Monitor is an ordinary window again.
    activate(window->windowOf(document));
    frameOf(window->windowOf(document))->showMaximized();
    QApplication::processEvents();
    EXPECT_FALSE(inView(window->mdiArea(), monitor));
}

TEST_F(MainWindowTest, MonitorStartBringsAMinimisedMonitorBack)
{
    Meter meter;
    ASSERT_TRUE(meter.started);
    load(meter.thread.devicePath());
    frmMoniter* monitor = window->showMonitor();
    open(documentFile(DataKinds::Logging, QStringLiteral("logging.csv")));
    frameOf(monitor)->showMinimized();
    QApplication::processEvents();
    ASSERT_FALSE(inView(window->mdiArea(), monitor));

    ASSERT_TRUE(click("Mstart"));
    ASSERT_EQ(programState().CommState, CommStates::Monitor);
    EXPECT_TRUE(inView(window->mdiArea(), monitor));
    ASSERT_TRUE(click("Stop"));
    ASSERT_TRUE(waitUntilIdle());
}

// --- Exit with unsaved documents ---------------------------------------------------------------------

namespace {

DataDocument* unsavedDocument(frmMain& window)
{
    DataDocument* document = window.newDocument(DataKinds::Realtime);
    document->AddGridrow();
    document->AddRealtimedata(QStringLiteral("10:00:00"), QStringLiteral("1"), QStringLiteral("VDC"), true,
                              QStringLiteral("1"));
    return document;
}

} // namespace

TEST_F(MainWindowTest, ACancelOnTheFirstSaveQuestionStopsTheExitBeforeAnythingCloses)
{
    load();
    window->showMonitor();
    DataDocument* first = unsavedDocument(*window);
    DataDocument* second = unsavedDocument(*window);
    prompter.answers = {PromptAnswer::Cancel};
    ASSERT_TRUE(choose("mnuFile", "mnuFileExit"));
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(prompter.messages.size(), 1); // the second document is not asked about
    EXPECT_EQ(window->openDocuments(), (QList<DataDocument*>{first, second}));
    EXPECT_TRUE(programState().MonitorShown);
    ASSERT_TRUE(window->monitorWindow());
    EXPECT_TRUE(window->monitorWindow()->isVisible());
    EXPECT_FALSE(first->isUnchanged());
    EXPECT_FALSE(second->isUnchanged());
}

TEST_F(MainWindowTest, ACancelOnALaterSaveQuestionLeavesEveryWindowAsItWas)
{
    load();
    window->showMonitor();
    DataDocument* first = unsavedDocument(*window);
    DataDocument* second = unsavedDocument(*window);
    prompter.answers = {PromptAnswer::No, PromptAnswer::Cancel};
    ASSERT_TRUE(choose("mnuFile", "mnuFileExit"));
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(prompter.messages.size(), 2);
    EXPECT_EQ(window->openDocuments(), (QList<DataDocument*>{first, second}));
    ASSERT_TRUE(window->monitorWindow());
    EXPECT_TRUE(window->monitorWindow()->isVisible());
    // "No" for the first document counts only for an exit that happens: it is still unsaved,
    // and closing it later asks again.
    EXPECT_FALSE(first->isUnchanged());

    // Answered No twice, the exit goes through, with no further question.
    prompter.messages.clear();
    prompter.answers = {PromptAnswer::No, PromptAnswer::No};
    ASSERT_TRUE(choose("mnuFile", "mnuFileExit"));
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(prompter.messages.size(), 2);
}

// --- The port of this run ------------------------------------------------------------------------------

TEST_F(MainWindowTest, ThePortDialogShowsThePortOfThisRunAndOkKeepsIt)
{
    Meter meter;
    ASSERT_TRUE(meter.started);
    load(meter.thread.devicePath());
    window->setSimulatorPort(meter.thread.devicePath());
    QString shown;
    test::whenDialogOpens(QStringLiteral("frmPort"), [&shown](QWidget* dialog) {
        shown = dialog->findChild<QComboBox*>(QStringLiteral("cbPort"))->currentText();
        test::clickButton(dialog, "btOk");
    });
    ASSERT_TRUE(choose("mnuSetup", "mnuSetupCommport"));
    EXPECT_EQ(shown, meter.thread.devicePath());
    EXPECT_EQ(window->link().CommPort(), meter.thread.devicePath());
    EXPECT_EQ(programState().PortNumber, QStringLiteral("1")); // the settings file's port is untouched
    EXPECT_EQ(window->findChild<QLabel*>(QStringLiteral("Port"))->text(),
              QStringLiteral("Simulated meter on %1").arg(meter.thread.devicePath()));

    // Readings still come from the simulated meter.
    ASSERT_TRUE(click("Mstart"));
    auto* value = window->monitorWindow()->findChild<QLabel*>(QStringLiteral("llValue"));
    ASSERT_TRUE(test::waitFor([&] { return value->text().endsWith(QStringLiteral("VDC ")); }));
    ASSERT_TRUE(click("Stop"));
    ASSERT_TRUE(waitUntilIdle());

    // Another port chosen: the run moves there, and the note says so.
    test::whenDialogOpens(QStringLiteral("frmPort"), [](QWidget* dialog) {
        auto* list = dialog->findChild<QComboBox*>(QStringLiteral("cbPort"));
        list->setCurrentIndex(2);
        test::clickButton(dialog, "btOk");
    });
    ASSERT_TRUE(choose("mnuSetup", "mnuSetupCommport"));
    EXPECT_EQ(programState().PortNumber, QStringLiteral("3"));
    EXPECT_EQ(window->link().CommPort(), QStringLiteral("3"));
    EXPECT_EQ(window->findChild<QLabel*>(QStringLiteral("Port"))->text(),
              QStringLiteral("Port %1").arg(Comm::portNameFor(QStringLiteral("3"))));
}

TEST_F(MainWindowTest, ThePortNoteStaysThroughARecording)
{
    Meter meter;
    ASSERT_TRUE(meter.started);
    load(meter.thread.devicePath());
    window->setSimulatorPort(meter.thread.devicePath());
    auto* note = window->findChild<QLabel*>(QStringLiteral("Port"));
    const QString simulated = QStringLiteral("Simulated meter on %1").arg(meter.thread.devicePath());
    EXPECT_EQ(note->text(), simulated);
    EXPECT_TRUE(note->isVisible());

    answerIntervalDialogWithOneSecond();
    ASSERT_TRUE(choose("mnuRealtime", "mnuRealtimeNew"));
    DataDocument* document = window->activeDocument();
    prompter.answers = {PromptAnswer::No};
    ASSERT_TRUE(choose("mnuRealtime", "mnuRealtimeStart"));
    ASSERT_TRUE(test::waitFor([&] { return document->GetDatacount() >= 1; }, std::chrono::seconds(15)));
    EXPECT_EQ(note->text(), simulated);
    EXPECT_TRUE(note->isVisible());
    ASSERT_TRUE(choose("mnuRealtime", "mnuRealtimeStop"));
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_EQ(note->text(), simulated);
    EXPECT_TRUE(note->isVisible());
}

TEST_F(MainWindowTest, WithoutASimulatorTheNoteNamesThePort)
{
    load(QStringLiteral("/dev/ttyUSB7"));
    EXPECT_EQ(window->findChild<QLabel*>(QStringLiteral("Port"))->text(), QStringLiteral("Port /dev/ttyUSB7"));
}

// --- The Interval dialog's corrections -------------------------------------------------------------------

TEST_F(MainWindowTest, TheIntervalDialogShowsTheCorrectedValuesWhileItsMessageIsUp)
{
    load();
    QStringList boxesWhileShown;
    prompter.whileShown = [&boxesWhileShown](const QString&) {
        QWidget* dialog = QApplication::activeModalWidget();
        if (!dialog || dialog->objectName() != QLatin1String("frmInterval"))
            return;
        for (const char* name : {"tbIday", "tbIhour", "tbImin", "tbIsec"})
            boxesWhileShown.append(dialog->findChild<QLineEdit*>(QLatin1String(name))->text());
    };
    QStringList boxesAfter;
    test::whenDialogOpens(QStringLiteral("frmInterval"), [&boxesAfter](QWidget* dialog) {
        test::typeInto(dialog, "tbIhour", QStringLiteral("abc"));
        test::typeInto(dialog, "tbIsec", QStringLiteral("75"));
        test::clickButton(dialog, "btOk"); // the message; the dialog stays
        for (const char* name : {"tbIday", "tbIhour", "tbImin", "tbIsec"})
            boxesAfter.append(dialog->findChild<QLineEdit*>(QLatin1String(name))->text());
        test::clickButton(dialog, "btOk"); // the corrected values are stored
    });
    ASSERT_TRUE(choose("mnuRealtime", "mnuRealtimeNew"));
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages.first().text, IntervalRangeMessage());
    const QStringList corrected = {QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("59")};
    EXPECT_EQ(boxesWhileShown, corrected);
    EXPECT_EQ(boxesAfter, corrected);
    ASSERT_TRUE(window->activeDocument());
    EXPECT_EQ(window->activeDocument()->GetIntervalcount(), 59);
}

// --- Messages a person reads ----------------------------------------------------------------------------

TEST_F(MainWindowTest, ADownloadFromAnUnsupportedModelSaysSo)
{
    sim::SimulatorOptions options;
    options.model = QLatin1Char('7');
    Meter meter(options);
    ASSERT_TRUE(meter.started);
    load(meter.thread.devicePath());
    prompter.answers = {PromptAnswer::No};
    ASSERT_TRUE(click("Sdata"));
    ASSERT_EQ(prompter.messages.size(), 2);
    EXPECT_EQ(prompter.messages.last().text, QStringLiteral("The meter reports the model code \"7\". This meter model "
                                                            "is not supported: its memory cannot be read."));
    EXPECT_EQ(programState().CommState, CommStates::Idle);
}

TEST_F(MainWindowTest, ALostConnectionNamesTheCableAndTheAdapter)
{
    Meter meter;
    ASSERT_TRUE(meter.started);
    load(meter.thread.devicePath());
    ASSERT_TRUE(click("Mstart"));
    ASSERT_EQ(programState().CommState, CommStates::Monitor);
    meter.thread.unplug();
    ASSERT_TRUE(waitUntilIdle());
    ASSERT_EQ(prompter.messages.size(), 1);
    const QString text = prompter.messages.first().text;
    EXPECT_TRUE(text.startsWith(QStringLiteral("The connection to the meter on %1 was lost: the meter's cable or "
                                               "its USB serial adapter was unplugged")
                                    .arg(meter.thread.devicePath())))
        << text.toStdString();
    EXPECT_TRUE(bar("tbMain")->isVisible());
}

// --- Child windows closed by their close box --------------------------------------------------------

TEST_F(MainWindowTest, ClosingAnotherDocumentByItsCloseBoxLeavesTheButtonsOfTheActiveOne)
{
    load();
    DataDocument* logging = open(documentFile(DataKinds::Logging, QStringLiteral("other.csv")));
    DataDocument* realtime = open(documentFile(DataKinds::Realtime, QStringLiteral("active.csv")));
    ASSERT_TRUE(logging && realtime);
    QMdiSubWindow* other = qobject_cast<QMdiSubWindow*>(window->windowOf(logging)->parentWidget());
    // Side by side, the other one's close box in view and free to click.
    qobject_cast<QMdiSubWindow*>(window->windowOf(realtime)->parentWidget())->setGeometry(0, 0, 240, 300);
    other->setGeometry(250, 100, 300, 200);
    QApplication::processEvents();
    ASSERT_EQ(window->activeDocument(), realtime);
    ASSERT_TRUE(test::waitFor([&] { return item("Start")->isEnabled(); }));

    ASSERT_TRUE(hand().clickTitleButton(other, QStyle::SC_TitleBarCloseButton));
    ASSERT_TRUE(test::waitFor([&] { return window->openDocuments().size() == 1; }));
    ASSERT_EQ(window->activeDocument(), realtime);
    for (const char* key : {"Save", "Forward", "Start", "Interval", "Graph"})
        EXPECT_TRUE(item(key)->isEnabled()) << key;
}

TEST_F(MainWindowTest, TheTitleBarButtonsOfAChildWindowWorkAsAHandClicksThem)
{
    load();
    DataDocument* document = open(documentFile(DataKinds::Logging, QStringLiteral("frame.csv")));
    auto* frame = qobject_cast<QMdiSubWindow*>(window->windowOf(document)->parentWidget());
    frame->setGeometry(20, 20, 300, 220);
    QApplication::processEvents();
    ASSERT_TRUE(hand().clickTitleButton(frame, QStyle::SC_TitleBarMaxButton));
    ASSERT_TRUE(test::waitFor([&] { return frame->isMaximized(); }));
    ASSERT_TRUE(hand().clickTitleButton(frame, QStyle::SC_TitleBarNormalButton));
    ASSERT_TRUE(test::waitFor([&] { return !frame->isMaximized(); }));
    ASSERT_TRUE(hand().clickTitleButton(frame, QStyle::SC_TitleBarMinButton));
    ASSERT_TRUE(test::waitFor([&] { return frame->isMinimized(); }));
    ASSERT_TRUE(hand().clickTitleButton(frame, QStyle::SC_TitleBarCloseButton));
    ASSERT_TRUE(test::waitFor([&] { return window->openDocuments().isEmpty(); }));
}

TEST_F(MainWindowTest, AnotherDocumentClosedWithUnsavedChangesLeavesTheButtonsOfTheActiveOne)
{
    // Found by the scenario test: a click on the close box of a document that is not the
    // active one may close it without activating it first; its window then withdrew the
    // active document's buttons.
    load();
    DataDocument* other = unsavedDocument(*window);
    DataDocument* active = open(documentFile(DataKinds::Realtime, QStringLiteral("active.csv")));
    ASSERT_EQ(window->activeDocument(), active);
    ASSERT_TRUE(test::waitFor([&] { return item("Start")->isEnabled(); }));
    prompter.answers = {PromptAnswer::No};
    qobject_cast<QMdiSubWindow*>(window->windowOf(other)->parentWidget())->close();
    ASSERT_TRUE(test::waitFor([&] { return window->openDocuments().size() == 1; }));
    EXPECT_EQ(prompter.messages.size(), 1);
    ASSERT_EQ(window->activeDocument(), active);
    for (const char* key : {"Save", "Forward", "Start", "Interval", "Graph"})
        EXPECT_TRUE(item(key)->isEnabled()) << key;
}

// --- A reading on its way when monitoring stops --------------------------------------------------------

namespace {

// A clock that moves only when the test says so.
class SteppedClock : public RealtimeClock {
public:
    QDateTime now() const override { return m_now; }
    void advance(int seconds) { m_now = m_now.addSecs(seconds); }

private:
    QDateTime m_now = QDateTime(QDate(2024, 5, 1), QTime(10, 0, 0));
};

} // namespace

TEST_F(MainWindowTest, AReadingOnItsWayWhenMonitoringStopsDoesNotSpoilTheNextDownload)
{
    // Found by the scenario test: the meter's answer to the last "RR,1" was still on the
    // line when the stop sequence sent "PL,0", and its lines were taken for the answer to
    // "PL,0". The port closed before the real answer came; a download started at once
    // read it as the answer to its first command, and every later answer one line late:
    // it failed with "Data error occurred." after "RM". Here the meter takes 60 ms over
    // each answer, and the second that stops monitoring comes before the reading's answer.
    sim::SimulatorOptions options;
    options.answerDelayMs = 60;
    options.loggingCount = 3;
    Meter meter(options);
    ASSERT_TRUE(meter.started);
    load(meter.thread.devicePath());
    SteppedClock clock;
    window->realtime().setClock(&clock);
    window->realtime().setAutomaticTicks(false);

    ASSERT_TRUE(click("Mstart"));
    ASSERT_EQ(programState().CommState, CommStates::Monitor);
    ASSERT_TRUE(click("Stop")); // honoured at the next second that takes an answer
    clock.advance(1);
    window->realtime().tmRealtime_Timer(); // the first second: "RR,1" is sent
    clock.advance(1);
    window->realtime().tmRealtime_Timer(); // the next second comes before its answer: stop
    ASSERT_EQ(programState().CommState, CommStates::Idle);

    prompter.messages.clear();
    prompter.answers = {PromptAnswer::No};
    ASSERT_TRUE(click("Ldata"));
    EXPECT_EQ(prompter.messageTexts().join(QLatin1Char('|')).toStdString(), AskForwardDownload.toStdString());
    ASSERT_TRUE(window->activeDocument());
    EXPECT_EQ(window->activeDocument()->GetDatacount(), 3);
}

// --- A recording that goes on when its document is full ---------------------------------------------------

namespace {

// The meter's clock, running five times faster than the real one, so that parts of a few
// readings fill in a fraction of a second.
class FiveTimesClock : public RealtimeClock {
public:
    FiveTimesClock() { m_real.start(); }
    QDateTime now() const override { return m_start.addMSecs(m_real.elapsed() * 5); }

private:
    QDateTime m_start = QDateTime(QDate(2024, 5, 1), QTime(10, 0, 0, 500));
    QElapsedTimer m_real;
};

// Answers the Interval dialog that opens next: an interval of one second, the period typed
// (none when empty) and the option "continue in a new document" ticked with a click.
void answerIntervalDialogContinuing(const QString& periodSeconds)
{
    test::whenDialogOpens(QStringLiteral("frmInterval"), [periodSeconds](QWidget* dialog) {
        test::typeInto(dialog, "tbIsec", QStringLiteral("1"));
        if (!periodSeconds.isEmpty()) {
            // Typing selects Custom.
            for (const char* box : {"tbPday", "tbPhour", "tbPmin"})
                test::typeInto(dialog, box, QStringLiteral("0"));
            test::typeInto(dialog, "tbPsec", periodSeconds);
        }
        auto* option = dialog->findChild<QCheckBox*>(QStringLiteral("chkContinue"));
        ASSERT_TRUE(option);
        EXPECT_FALSE(option->isChecked()); // off unless chosen
        EXPECT_EQ(option->text(), ContinueWhenFullText);
        QTest::mouseClick(option, Qt::LeftButton);
        EXPECT_TRUE(option->isChecked());
        test::clickButton(dialog, "btOk");
    });
}

// With QUVO_PART_WINDOWS_SHOTS set to a folder, a picture of the main window goes there to
// be looked at.
void saveLook(const QString& name)
{
    const QString folder = qEnvironmentVariable("QUVO_PART_WINDOWS_SHOTS");
    if (folder.isEmpty())
        return;
    QDir().mkpath(folder);
    for (QWidget* top : QApplication::topLevelWidgets()) {
        if (top->objectName() == QLatin1String("frmMain") && top->isVisible())
            top->grab().save(QDir(folder).filePath(name + QStringLiteral(".png")));
    }
}

// The time labels of a data file's rows.
QStringList labelsIn(const QString& path)
{
    DataDocument document;
    document.OpenNew(DataDocument::KindBeforeOpen);
    if (!document.OpenFile(path))
        return {QStringLiteral("(cannot be read: %1)").arg(programState().LastError)};
    QStringList labels;
    for (int row = 1; row <= document.GetDatacount(); ++row)
        labels << document.TextMatrix(row, 1);
    return labels;
}

// True when every label is one second after the one before.
bool oneSecondApart(const QStringList& labels)
{
    for (qsizetype i = 1; i < labels.size(); ++i) {
        const QTime before = QTime::fromString(labels[i - 1], QStringLiteral("hh:mm:ss"));
        const QTime after = QTime::fromString(labels[i], QStringLiteral("hh:mm:ss"));
        if (!before.isValid() || before.secsTo(after) != 1)
            return false;
    }
    return true;
}

} // namespace

TEST_F(MainWindowTest, WithTheContinueOptionTheRecordingGoesOnInNewPartWindowsUntilThePeriodEnds)
{
    Meter meter;
    ASSERT_TRUE(meter.started);
    load(meter.thread.devicePath());
    FiveTimesClock clock;
    window->realtime().setClock(&clock);
    window->realtime().setDocumentLimit(3);
    const QString folder = home.filePath(QStringLiteral("parts"));
    ASSERT_TRUE(QDir().mkpath(folder));

    // New: 1 s, a period of 7 s (8 readings: 3 + 3 + 2), the option ticked.
    answerIntervalDialogContinuing(QStringLiteral("7"));
    ASSERT_TRUE(click("New"));
    DataDocument* first = window->activeDocument();
    ASSERT_TRUE(first);
    EXPECT_TRUE(first->continueWhenFull());
    EXPECT_FALSE(first->GetPeriodnone());
    EXPECT_EQ(first->GetPeriodcount(), 7);
    const QString name = ContinuedRecording::firstFileName(*first);
    const QString stem = name.chopped(4);

    // Start: the forwarding question (No), then the folder of the parts.
    prompter.answers = {PromptAnswer::No};
    prompter.fileNames = {folder};
    ASSERT_TRUE(click("Start"));
    ASSERT_EQ(prompter.fileRequests.size(), 1);
    EXPECT_EQ(prompter.fileRequests.first().mode, FileDialogRequest::Mode::Folder);
    ASSERT_TRUE(waitUntilIdle(std::chrono::seconds(30)))
        << programState().CommState << " " << (programState().RealtimeDoc ? programState().RealtimeDoc->GetDatacount() : -1)
        << " " << window->openDocuments().size() << " " << prompter.messageTexts().join(u'|').toStdString();
    EXPECT_EQ(window->realtime().lastEnd(), RealtimeEnd::PeriodOver);

    // Three files, every second once.
    const QString part1 = QDir(folder).filePath(name);
    const QString part2 = QDir(folder).filePath(stem + QStringLiteral("-002.CSV"));
    const QString part3 = QDir(folder).filePath(stem + QStringLiteral("-003.CSV"));
    const QStringList labels1 = labelsIn(part1);
    const QStringList labels2 = labelsIn(part2);
    const QStringList labels3 = labelsIn(part3);
    EXPECT_EQ(labels1.size(), 3) << labels1.join(u' ').toStdString();
    EXPECT_EQ(labels2.size(), 3) << labels2.join(u' ').toStdString();
    EXPECT_EQ(labels3.size(), 2) << labels3.join(u' ').toStdString();
    EXPECT_TRUE(oneSecondApart(labels1 + labels2 + labels3)) << (labels1 + labels2 + labels3).join(u' ').toStdString();
    EXPECT_FALSE(QFile::exists(QDir(folder).filePath(stem + QStringLiteral("-004.CSV"))));

    // Only the windows of the last two parts are open, titled with their files; the last
    // part's is the active one. No message box came up.
    const QList<DataDocument*> open = window->openDocuments();
    ASSERT_EQ(open.size(), 2);
    QStringList titles;
    for (DataDocument* document : open)
        titles << window->windowOf(document)->windowTitle();
    titles.sort();
    EXPECT_EQ(titles, (QStringList{part2, part3})) << titles.join(u'|').toStdString();
    EXPECT_EQ(window->activeDocument()->GetFilename(), part3);
    EXPECT_EQ(prompter.messages.size(), 1); // the forwarding question only
    auto* msg = window->findChild<QLabel*>(QStringLiteral("Msg"));
    ASSERT_TRUE(msg);
    EXPECT_TRUE(msg->text().contains(QStringLiteral("3 parts"))) << msg->text().toStdString();
}

TEST_F(MainWindowTest, StopInTheMiddleOfPartTwoSavesBothParts)
{
    Meter meter;
    ASSERT_TRUE(meter.started);
    load(meter.thread.devicePath());
    FiveTimesClock clock;
    window->realtime().setClock(&clock);
    window->realtime().setDocumentLimit(3);
    window->resize(1400, 900);
    const QString folder = home.filePath(QStringLiteral("stopped"));
    ASSERT_TRUE(QDir().mkpath(folder));

    answerIntervalDialogContinuing(QString()); // no period: until Stop
    ASSERT_TRUE(click("New"));
    DataDocument* first = window->activeDocument();
    ASSERT_TRUE(first);
    const QString name = ContinuedRecording::firstFileName(*first);
    prompter.answers = {PromptAnswer::No};
    prompter.fileNames = {folder};
    ASSERT_TRUE(click("Start"));
    ASSERT_TRUE(test::waitFor(
        [&] {
            const DataDocument* running = programState().RealtimeDoc;
            return running && running != first && running->GetDatacount() >= 1;
        },
        std::chrono::seconds(30)));
    // Part 2 is recorded in the active window; part 1's, saved, stays open beside it.
    ASSERT_EQ(window->openDocuments().size(), 2);
    EXPECT_EQ(window->activeDocument(), programState().RealtimeDoc);
    EXPECT_EQ(window->windowOf(programState().RealtimeDoc)->windowTitle(),
              ContinuedRecording::recordingTitle(name.chopped(4) + QStringLiteral("-002.CSV"), 2));
    EXPECT_EQ(window->windowOf(first)->windowTitle(), QDir(folder).filePath(name));
    saveLook(QStringLiteral("parts-recording"));
    ASSERT_TRUE(click("Stop"));
    ASSERT_TRUE(waitUntilIdle());
    saveLook(QStringLiteral("parts-stopped"));

    const QString part1 = QDir(folder).filePath(name);
    const QString part2 = QDir(folder).filePath(name.chopped(4) + QStringLiteral("-002.CSV"));
    const QStringList labels1 = labelsIn(part1);
    const QStringList labels2 = labelsIn(part2);
    EXPECT_EQ(labels1.size(), 3);
    EXPECT_GE(labels2.size(), 1);
    EXPECT_LE(labels2.size(), 2); // Stop is honoured at the next second
    EXPECT_TRUE(oneSecondApart(labels1 + labels2)) << (labels1 + labels2).join(u' ').toStdString();
    EXPECT_FALSE(QFile::exists(QDir(folder).filePath(name.chopped(4) + QStringLiteral("-003.CSV"))));
    // Both parts' windows stay open (the running one and the one before it), both saved.
    const QList<DataDocument*> open = window->openDocuments();
    ASSERT_EQ(open.size(), 2);
    for (DataDocument* document : open)
        EXPECT_TRUE(document->isUnchanged()) << document->GetFilename().toStdString();
}

TEST_F(MainWindowTest, PartsThatCannotBeSavedStayOpenAreReportedAndKeepTheirJournals)
{
    Meter meter;
    ASSERT_TRUE(meter.started);
    load(meter.thread.devicePath());
    FiveTimesClock clock;
    window->realtime().setClock(&clock);
    window->realtime().setDocumentLimit(3);
    const QString folder = home.filePath(QStringLiteral("stick"));
    ASSERT_TRUE(QDir().mkpath(folder));

    answerIntervalDialogContinuing(QStringLiteral("7")); // 8 readings: 3 + 3 + 2
    ASSERT_TRUE(click("New"));
    prompter.answers = {PromptAnswer::No};
    prompter.fileNames = {folder};
    ASSERT_TRUE(click("Start"));
    ASSERT_EQ(programState().CommState, CommStates::Realtime);
    ASSERT_TRUE(QDir(folder).removeRecursively()); // the stick is pulled once the recording runs
    ASSERT_TRUE(waitUntilIdle(std::chrono::seconds(30)));
    EXPECT_EQ(window->realtime().lastEnd(), RealtimeEnd::PeriodOver); // a failed save did not end it
    QApplication::processEvents(); // the message boxes come once the second's work is done

    // Each part was reported in a message box, and none of them was lost: every part's
    // window is still open with its rows, and its journal is on the disk.
    const QStringList texts = prompter.messageTexts();
    ASSERT_EQ(texts.size(), 4) << texts.join(u'|').toStdString(); // the forwarding question and three parts
    for (int part = 1; part <= 3; ++part)
        EXPECT_TRUE(texts[part].startsWith(QStringLiteral("Part %1 of the recording could not be saved").arg(part)))
            << texts[part].toStdString();
    const QList<DataDocument*> open = window->openDocuments();
    ASSERT_EQ(open.size(), 3);
    int rows = 0;
    QStringList titles;
    for (DataDocument* document : open) {
        rows += document->GetDatacount();
        titles << window->windowOf(document)->windowTitle();
    }
    EXPECT_EQ(rows, 8);
    titles.sort();
    for (const QString& title : titles)
        EXPECT_TRUE(title.endsWith(QStringLiteral("not saved)"))) << title.toStdString();
    EXPECT_EQ(QDir(home.path()).entryList({QStringLiteral("RECORDING-*.JNL")}, QDir::Files).size(), 3);
    EXPECT_FALSE(QDir(folder).exists()); // nothing half-written in its place
}
