// Settings › Limits... in the main window, used as a person does: the Settings menu dropped
// down with a click or the tool-bar button clicked, the fields typed into, OK or Cancel
// clicked. Then a recording from the simulated meter started from the tool bar: the Monitor
// lights LO, PASS and HI as the readings climb through the limits, the document marks and
// counts them, and the limits are there again after a restart.

#include "app/frmMain.h"

#include "acquisition/frmInterval.h"
#include "acquisition/frmMoniter.h"
#include "document/DataDocument.h"
#include "document/DocumentTableModel.h"
#include "document/LimitSettings.h"
#include "document/frmData.h"
#include "document/frmLimits.h"
#include "metersim/MeterSimulator.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/SettingsStore.h"
#include "support/DialogDriving.h"
#include "support/ScriptedPrompter.h"
#include "support/TestHelpers.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolBar>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

using namespace quvo;
using namespace quvo::test;
using namespace std::chrono_literals;

inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace {

class LimitsMainWindowTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        resetProgramState();
        ASSERT_TRUE(home.isValid());
        ASSERT_TRUE(store.isValid());
        qputenv(HomeEnvVar, QFile::encodeName(home.path()));
        setSettingsStoreFolder(store.path());
        makeWindow();
    }

    void TearDown() override
    {
        programState().CommState = CommStates::Idle;
        closeWindow();
        setSettingsStoreFolder(QString());
        qunsetenv(HomeEnvVar);
        resetProgramState();
    }

    void makeWindow(const QString& port = QString())
    {
        window = std::make_unique<frmMain>();
        window->setPrompter(&prompter);
        window->Load(port);
        window->show();
    }

    void closeWindow()
    {
        if (!window)
            return;
        discarding.answers = QList<PromptAnswer>(20, PromptAnswer::No); // leave documents unsaved
        window->setPrompter(&discarding);
        window->close();
        window.reset();
    }

    // Settings menu dropped down with a click, "Limits..." clicked; `inDialog` answers the
    // dialog that opens.
    bool useDialogFromMenu(std::function<void(frmLimits&)> inDialog)
    {
        bool opened = false;
        whenModalOpens<frmLimits>(std::move(inDialog), opened);
        QAction* item = window->action(QStringLiteral("mnuSetupLimits"));
        EXPECT_EQ(item->text(), QStringLiteral("&Limits..."));
        return chooseMenuItem(window->menuBar(), window->menu(QStringLiteral("mnuSetup")), item) && opened;
    }

    // The tool-bar button clicked.
    bool useDialogFromToolBar(std::function<void(frmLimits&)> inDialog)
    {
        bool opened = false;
        whenModalOpens<frmLimits>(std::move(inDialog), opened);
        clickToolButton("tbMain", "Limits");
        return opened;
    }

    void clickToolButton(const char* bar, const char* key)
    {
        auto* toolBar = window->findChild<QToolBar*>(QLatin1String(bar));
        ASSERT_NE(toolBar, nullptr);
        auto* button = qobject_cast<QAbstractButton*>(toolBar->widgetForAction(window->action(QLatin1String(key))));
        ASSERT_NE(button, nullptr) << key;
        ASSERT_TRUE(button->isEnabled()) << key;
        clickOn(button);
    }

    // Picks a unit in the drop-down list as a hand does: the list focused, the word typed.
    static void chooseUnit(QWidget& dialog, const QString& unit)
    {
        QComboBox* box = field<QComboBox>(dialog, "cbUnit");
        box->setFocus();
        QTest::keyClicks(box, unit);
        EXPECT_EQ(box->currentText(), unit);
    }

    QLabel* monitorLabel(const char* name) const
    {
        return window->monitorWindow() ? window->monitorWindow()->findChild<QLabel*>(QLatin1String(name)) : nullptr;
    }
    // The comparator label lit now: "HI", "PASS", "LO", or empty.
    QString litLabel() const
    {
        for (const char* name : {"llHi", "llMiddle", "llLo"}) {
            const QLabel* label = monitorLabel(name);
            if (label && label->autoFillBackground())
                return label->text();
        }
        return {};
    }

    QTemporaryDir home;
    QTemporaryDir store;
    ScriptedPrompter prompter;
    ScriptedPrompter discarding;
    std::unique_ptr<frmMain> window;
};

} // namespace

TEST_F(LimitsMainWindowTest, TheMenuItemOpensTheDialogWhichChecksItsFieldsAndKeepsTheLimits)
{
    window->showMonitor();
    EXPECT_EQ(monitorLabel("llHlim")->text(), QStringLiteral("-----"));

    ASSERT_TRUE(useDialogFromMenu([&](frmLimits& dialog) {
        EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Limits"));
        EXPECT_TRUE(field<QLineEdit>(dialog, "tbUpper")->text().isEmpty());
        EXPECT_TRUE(field<QLineEdit>(dialog, "tbLower")->text().isEmpty());
        EXPECT_FALSE(field<QCheckBox>(dialog, "cbBuzzer")->isChecked());

        typeInto(dialog, "tbUpper", QStringLiteral("five"));
        clickOn(dialog, "btOk");
        ASSERT_EQ(prompter.messages.size(), 1);
        EXPECT_TRUE(prompter.messages[0].text.startsWith(QStringLiteral("The upper limit \"five\" is not a number.")))
            << prompter.messages[0].text.toStdString();
        EXPECT_EQ(prompter.messages[0].icon, PromptIcon::Exclamation);
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_EQ(dialog.focusWidget(), field<QLineEdit>(dialog, "tbUpper"));

        typeInto(dialog, "tbUpper", QStringLiteral("5m"));
        typeInto(dialog, "tbLower", QStringLiteral("0.006"));
        clickOn(dialog, "btOk");
        ASSERT_EQ(prompter.messages.size(), 2);
        EXPECT_EQ(prompter.messages[1].text, QStringLiteral("The lower limit (0.006) must be below the upper limit (0.005)."));
        EXPECT_EQ(dialog.focusWidget(), field<QLineEdit>(dialog, "tbLower"));
        EXPECT_TRUE(dialog.isVisible());

        typeInto(dialog, "tbLower", QStringLiteral("1E-3"));
        chooseUnit(dialog, QStringLiteral("VAC"));
        clickOn(dialog, "cbBuzzer");
        clickOn(dialog, "btOk");
        EXPECT_FALSE(dialog.isVisible());
    }));
    EXPECT_EQ(prompter.messages.size(), 2);

    Limits expected;
    expected.upper = 0.005;
    expected.lower = 0.001;
    expected.unit = QStringLiteral("VAC");
    expected.buzzer = true;
    EXPECT_EQ(window->limits(), expected);
    EXPECT_EQ(readLimitSettings(), expected);
    // The Monitor shows them at once.
    EXPECT_TRUE(window->monitorWindow()->findChild<QGroupBox*>(QStringLiteral("frCompa"))->isEnabled());
    EXPECT_EQ(monitorLabel("llHlim")->text(), QStringLiteral("5mVAC"));
    EXPECT_EQ(monitorLabel("llLlim")->text(), QStringLiteral("1mVAC"));
    EXPECT_EQ(monitorLabel("llBuzzer")->text(), QStringLiteral("ON"));

    // Kept for the next run.
    closeWindow();
    makeWindow();
    EXPECT_EQ(window->limits(), expected);
}

TEST_F(LimitsMainWindowTest, TheToolBarButtonOpensTheDialogAndCancelChangesNothing)
{
    Limits kept;
    kept.upper = 2;
    kept.unit = QStringLiteral("OHM");
    ASSERT_TRUE(writeLimitSettings(kept));
    closeWindow();
    makeWindow();
    ASSERT_TRUE(useDialogFromToolBar([&](frmLimits& dialog) {
        EXPECT_EQ(field<QLineEdit>(dialog, "tbUpper")->text(), QStringLiteral("2"));
        EXPECT_EQ(field<QComboBox>(dialog, "cbUnit")->currentText(), QStringLiteral("OHM"));
        typeInto(dialog, "tbUpper", QStringLiteral("7"));
        clickOn(dialog, "btCancel");
        EXPECT_FALSE(dialog.isVisible());
    }));
    EXPECT_EQ(window->limits(), kept);
    EXPECT_EQ(readLimitSettings(), kept);
    EXPECT_TRUE(prompter.messages.isEmpty());
}

TEST_F(LimitsMainWindowTest, NoLimitsTakesThemAwayFromEveryWindow)
{
    Limits kept;
    kept.upper = 2;
    kept.lower = 1;
    kept.unit = QStringLiteral("VDC");
    ASSERT_TRUE(writeLimitSettings(kept));
    closeWindow();
    makeWindow();
    DataDocument* document = window->newDocument(DataKinds::Realtime);
    frmData* data = window->windowOf(document);
    ASSERT_TRUE(waitFor([&] { return data->panel(QStringLiteral("Judge"))->isVisible(); }));

    ASSERT_TRUE(useDialogFromToolBar([&](frmLimits& dialog) {
        clickOn(dialog, "btClear");
        EXPECT_TRUE(field<QLineEdit>(dialog, "tbUpper")->text().isEmpty());
        EXPECT_TRUE(field<QLineEdit>(dialog, "tbLower")->text().isEmpty());
        clickOn(dialog, "btOk");
        EXPECT_FALSE(dialog.isVisible());
    }));
    EXPECT_FALSE(window->limits().active());
    EXPECT_FALSE(readLimitSettings().active());
    EXPECT_FALSE(document->limits().active());
    EXPECT_FALSE(data->panel(QStringLiteral("Judge"))->isVisible());
}

TEST_F(LimitsMainWindowTest, ARecordingFromTheSimulatorShowsHiPassAndLoInTheMonitorAndTheDocument)
{
    // The simulated meter's readings climb from -15 V by 0.75 V a second: below, inside and
    // above these limits within a few seconds.
    sim::SimulatorThread meter(sim::SimulatorOptions{});
    QString error;
    ASSERT_TRUE(meter.start(&error)) << error.toStdString();
    closeWindow();
    makeWindow(meter.devicePath());
    window->showMonitor();
    int beeps = 0;
    window->monitorWindow()->setBeeper([&beeps] { ++beeps; });

    ASSERT_TRUE(useDialogFromToolBar([&](frmLimits& dialog) {
        typeInto(dialog, "tbUpper", QStringLiteral("-12.8"));
        typeInto(dialog, "tbLower", QStringLiteral("-14500m"));
        chooseUnit(dialog, QStringLiteral("VDC"));
        clickOn(dialog, "cbBuzzer");
        clickOn(dialog, "btOk");
    }));
    ASSERT_TRUE(prompter.messages.isEmpty()) << prompter.messageTexts().join(u'|').toStdString();

    // A new realtime document from the tool bar, its Interval dialog answered with 1 s;
    // Start from the tool bar, no forwarding.
    bool intervalAnswered = false;
    whenModalOpens<frmInterval>(
        [](frmInterval& dialog) {
            typeInto(dialog, "tbIsec", QStringLiteral("1"));
            clickOn(dialog, "btOk");
        },
        intervalAnswered);
    clickToolButton("tbMain", "New");
    ASSERT_TRUE(intervalAnswered);
    DataDocument* document = window->activeDocument();
    ASSERT_TRUE(document);
    prompter.answers = {PromptAnswer::No};
    clickToolButton("tbMain", "Start");
    ASSERT_EQ(programState().CommState, CommStates::Realtime);

    // What the Monitor lights, second after second.
    QStringList lit;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        const QString now = litLabel();
        if (!now.isEmpty() && (lit.isEmpty() || lit.last() != now))
            lit << now;
    });
    watch.start(20);
    ASSERT_TRUE(waitFor([&] { return lit.contains(QStringLiteral("HI")) && document->GetDatacount() >= 5; }, 30s))
        << lit.join(u' ').toStdString() << " after " << document->GetDatacount() << " rows";
    clickToolButton("tbSub", "Stop");
    ASSERT_TRUE(waitFor([] { return programState().CommState == CommStates::Idle; }, 10s));
    watch.stop();

    EXPECT_TRUE(lit.contains(QStringLiteral("LO"))) << lit.join(u' ').toStdString();
    EXPECT_TRUE(lit.contains(QStringLiteral("PASS"))) << lit.join(u' ').toStdString();
    EXPECT_GE(beeps, 1); // PASS to HI

    // The document judged every reading as the rules say, marked the rows out of limits and
    // counted them.
    JudgementCounts counted;
    for (int row = 1; row <= document->GetDatacount(); ++row) {
        const QString value = document->TextMatrix(row, 2);
        Judgement expected = Judgement::None;
        if (value != ErrorReading) {
            const double volts = value.toDouble();
            expected = volts > -12.8 ? Judgement::Hi : volts < -14.5 ? Judgement::Lo : Judgement::Pass;
        }
        EXPECT_EQ(document->judgement(row), expected) << "row " << row << " " << value.toStdString();
        counted.add(expected);
    }
    EXPECT_EQ(document->judgementCounts(), counted);
    EXPECT_GE(counted.hi, 1);
    EXPECT_GE(counted.pass, 1);
    frmData* data = window->windowOf(document);
    EXPECT_EQ(data->panel(QStringLiteral("Judge"))->text(), judgementCountsText(counted));
    const QAbstractItemModel* model = data->grid()->model();
    for (int row = 1; row <= document->GetDatacount(); ++row) {
        const Judgement j = document->judgement(row);
        const QVariant mark = model->data(model->index(row - 1, 1), DocumentTableModel::JudgementRole);
        EXPECT_EQ(mark.isValid(), j == Judgement::Hi || j == Judgement::Lo) << row;
    }
}
