// Settings › Publishing... in the main window, used as a person does: the Settings menu
// dropped down with a click, the item clicked, the fields typed into, OK or Cancel clicked,
// with a broker the test starts for itself. Then monitor mode started from the tool bar
// publishes its readings.

#include "BrokerSupport.h"

#include "app/frmMain.h"
#include "publish/Publishing.h"
#include "publish/PublishSettings.h"
#include "publish/frmPublishing.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/SettingsStore.h"
#include "support/DialogDriving.h"
#include "support/ScriptedPrompter.h"
#include "support/TestHelpers.h"

#include "metersim/MeterSimulator.h"

#include <QApplication>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QStatusBar>
#include <QTest>
#include <QTimer>
#include <QToolBar>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

using namespace quvo;
using namespace quvo::test;
using namespace std::chrono_literals;

namespace {

class PublishingDialogTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        resetProgramState();
        qputenv(HomeEnvVar, QFile::encodeName(home.path()));
        setSettingsStoreFolder(store.path());
        window = std::make_unique<frmMain>();
        window->setPrompter(&prompter);
    }

    void TearDown() override
    {
        if (window) {
            window->close();
            window.reset();
        }
        setSettingsStoreFolder(QString());
        qunsetenv(HomeEnvVar);
        resetProgramState();
    }

    void load()
    {
        window->Load();
        window->show();
    }

    void startBroker()
    {
        QString error;
        ASSERT_TRUE(broker.start(&error)) << error.toStdString();
    }

    // Drops the Settings menu down with a click on the menu bar and clicks "Publishing..."; the
    // dialog that opens is handed to `inDialog`, which must close it. True when it ran.
    bool useDialog(std::function<void(frmPublishing&)> inDialog)
    {
        bool opened = false;
        whenModalOpens<frmPublishing>(std::move(inDialog), opened);
        return chooseMenuItem(window->menuBar(), window->menu(QStringLiteral("mnuSetup")),
                              window->action(QStringLiteral("mnuSetupPublishing")))
            && opened;
    }

    QLabel* statusPanel() const { return window->statusBar()->findChild<QLabel*>(QStringLiteral("Publishing")); }

    QTemporaryDir home;
    QTemporaryDir store;
    ScriptedPrompter prompter;
    TestBroker broker;
    std::unique_ptr<frmMain> window;
};

} // namespace

TEST_F(PublishingDialogTest, TurnedOnItKeepsTheSettingsConnectsAndPublishesTheMonitor)
{
    startBroker();
    TestSubscriber subscriber(broker.port(), QStringLiteral("gui/bench/#"));
    QString error;
    ASSERT_TRUE(subscriber.connect(&error)) << error.toStdString();
    load();
    EXPECT_FALSE(statusPanel()->isVisible()); // off by default: nothing in the status bar

    const bool opened = useDialog([&](frmPublishing& dialog) {
        EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Publishing"));
        EXPECT_FALSE(field<QCheckBox>(dialog, "cbEnabled")->isChecked());
        EXPECT_FALSE(field<QGroupBox>(dialog, "frBroker")->isEnabled());
        EXPECT_EQ(field<QLineEdit>(dialog, "tbPassword")->echoMode(), QLineEdit::Password);
        EXPECT_TRUE(field<QLabel>(dialog, "llPasswordNote")->text().contains(QDir::toNativeSeparators(settingsStoreFile())));
        clickOn(dialog, "cbEnabled");
        EXPECT_TRUE(field<QGroupBox>(dialog, "frBroker")->isEnabled());
        typeInto(dialog, "tbUrl", broker.url());
        EXPECT_FALSE(field<QLineEdit>(dialog, "tbCaFile")->isEnabled()); // mqtt:// has no CA file
        typeInto(dialog, "tbTopic", QStringLiteral("gui/bench"));
        EXPECT_TRUE(field<QLabel>(dialog, "llTopics")->text().startsWith(QStringLiteral("Readings go to gui/bench/reading;")));
        clickOn(dialog, "btOk");
        EXPECT_FALSE(dialog.isVisible());
    });
    ASSERT_TRUE(opened);
    EXPECT_TRUE(prompter.messages.isEmpty()) << prompter.messageTexts().join(u'|').toStdString();

    PublishSettings expected;
    expected.enabled = true;
    expected.url = broker.url();
    expected.topicPrefix = QStringLiteral("gui/bench");
    EXPECT_EQ(readPublishSettings(), expected);
    ASSERT_TRUE(waitFor([&] { return statusPanel()->isVisible()
                                     && statusPanel()->text() == QStringLiteral("Publishing: connected to %1").arg(broker.url()); },
                        10s))
        << statusPanel()->text().toStdString();
    ASSERT_TRUE(subscriber.waitForLast(QStringLiteral("gui/bench/status"), "online"));

    // Monitor mode from the tool bar: its readings go to the broker.
    sim::SimulatorThread simulator{sim::SimulatorOptions{}};
    ASSERT_TRUE(simulator.start(&error)) << error.toStdString();
    window->link().setCommPort(simulator.devicePath());
    auto* tbMain = window->findChild<QToolBar*>(QStringLiteral("tbMain"));
    QWidget* start = tbMain->widgetForAction(window->action(QStringLiteral("Mstart")));
    QTest::mouseClick(start, Qt::LeftButton, {}, start->rect().center());
    ASSERT_TRUE(subscriber.waitForLast(QStringLiteral("gui/bench/state"), "monitoring"));
    ASSERT_TRUE(subscriber.waitForCount(QStringLiteral("gui/bench/reading"), 2, 15s));
    auto* tbSub = window->findChild<QToolBar*>(QStringLiteral("tbSub"));
    QWidget* stop = tbSub->widgetForAction(window->action(QStringLiteral("Stop")));
    QTest::mouseClick(stop, Qt::LeftButton, {}, stop->rect().center());
    ASSERT_TRUE(waitFor([] { return programState().CommState == CommStates::Idle; }, 10s));
    EXPECT_TRUE(subscriber.waitForLast(QStringLiteral("gui/bench/state"), "idle"));

    // Closing the window says goodbye.
    window->close();
    EXPECT_TRUE(subscriber.waitForLast(QStringLiteral("gui/bench/status"), "offline"));
}

TEST_F(PublishingDialogTest, CancelChangesNothing)
{
    PublishSettings kept;
    kept.url = QStringLiteral("mqtt://lab:1883");
    ASSERT_TRUE(writePublishSettings(kept));
    load();
    ASSERT_TRUE(useDialog([&](frmPublishing& dialog) {
        EXPECT_EQ(field<QLineEdit>(dialog, "tbUrl")->text(), QStringLiteral("mqtt://lab:1883"));
        clickOn(dialog, "cbEnabled");
        typeInto(dialog, "tbUrl", QStringLiteral("mqtt://elsewhere"));
        clickOn(dialog, "btCancel");
        EXPECT_FALSE(dialog.isVisible());
    }));
    EXPECT_EQ(readPublishSettings(), kept);
    EXPECT_FALSE(window->publishing().active());
    EXPECT_FALSE(statusPanel()->isVisible());
}

TEST_F(PublishingDialogTest, AUrlThatDoesNotReadIsSaidAndTheCursorGoesThere)
{
    load();
    ASSERT_TRUE(useDialog([&](frmPublishing& dialog) {
        clickOn(dialog, "cbEnabled");
        typeInto(dialog, "tbUrl", QStringLiteral("http://lab"));
        clickOn(dialog, "btOk");
        ASSERT_EQ(prompter.messages.size(), 1);
        EXPECT_EQ(prompter.messages[0].text, QStringLiteral("\"http://lab\" is not a broker URL: \"http://\" is not "
                                                            "mqtt:// or mqtts://. A broker is given as mqtt://host:1883 "
                                                            "or mqtts://host:8883."));
        EXPECT_EQ(prompter.messages[0].icon, PromptIcon::Exclamation);
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_EQ(dialog.focusWidget(), field<QLineEdit>(dialog, "tbUrl"));

        // A topic prefix with a wildcard: the cursor goes to the prefix.
        typeInto(dialog, "tbUrl", QStringLiteral("mqtt://lab"));
        typeInto(dialog, "tbTopic", QStringLiteral("lab/+"));
        clickOn(dialog, "btOk");
        ASSERT_EQ(prompter.messages.size(), 2);
        EXPECT_TRUE(prompter.messages[1].text.contains(QStringLiteral("\"+\" or \"#\"")));
        EXPECT_EQ(dialog.focusWidget(), field<QLineEdit>(dialog, "tbTopic"));
        clickOn(dialog, "btCancel");
    }));
    EXPECT_EQ(readPublishSettings(), PublishSettings{});
}

TEST_F(PublishingDialogTest, ABrokerThatCannotBeReachedIsNamedAndThePersonChooses)
{
    const int port = freeLocalPort();
    const QString url = QStringLiteral("mqtt://127.0.0.1:%1").arg(port);
    const QString question = QStringLiteral("Cannot publish to %1: connection refused.\r\n\r\nKeep these settings all "
                                            "the same?")
                                 .arg(url);
    load();
    prompter.answers = {PromptAnswer::No, PromptAnswer::Yes};
    ASSERT_TRUE(useDialog([&](frmPublishing& dialog) {
        clickOn(dialog, "cbEnabled");
        typeInto(dialog, "tbUrl", url);
        clickOn(dialog, "btOk"); // No: the dialog stays
        ASSERT_EQ(prompter.messageTexts(), QStringList{question});
        EXPECT_EQ(prompter.messages[0].buttons, PromptButtons::YesNo);
        EXPECT_EQ(prompter.messages[0].defaultAnswer, PromptAnswer::No);
        EXPECT_TRUE(dialog.isVisible());
        clickOn(dialog, "btOk"); // Yes: kept all the same
        EXPECT_FALSE(dialog.isVisible());
    }));
    EXPECT_EQ(prompter.messages.size(), 2);
    EXPECT_TRUE(readPublishSettings().enabled);
    EXPECT_EQ(readPublishSettings().url, url);
    // The window keeps trying and says so.
    ASSERT_TRUE(waitFor([&] { return statusPanel()->text().contains(QStringLiteral("trying again")); }, 10s))
        << statusPanel()->text().toStdString();
}

TEST_F(PublishingDialogTest, AWrongPasswordGetsAClearMessage)
{
    QString error;
    ASSERT_TRUE(broker.requirePassword(QStringLiteral("alice"), QStringLiteral("secret"), &error)) << error.toStdString();
    startBroker();
    load();
    prompter.answers = {PromptAnswer::No};
    ASSERT_TRUE(useDialog([&](frmPublishing& dialog) {
        clickOn(dialog, "cbEnabled");
        typeInto(dialog, "tbUrl", broker.url());
        typeInto(dialog, "tbUserName", QStringLiteral("alice"));
        typeInto(dialog, "tbPassword", QStringLiteral("secert"));
        clickOn(dialog, "btOk");
        ASSERT_EQ(prompter.messages.size(), 1);
        EXPECT_EQ(prompter.messages[0].text,
                  QStringLiteral("Cannot publish to %1: the broker refused the connection: the user name or password "
                                 "is wrong or missing (not authorised).\r\n\r\nKeep these settings all the same?")
                      .arg(broker.url()));
        EXPECT_TRUE(dialog.isVisible());
        typeInto(dialog, "tbPassword", QStringLiteral("secret"));
        clickOn(dialog, "btOk");
        EXPECT_FALSE(dialog.isVisible());
    }));
    EXPECT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(readPublishSettings().password, QStringLiteral("secret"));
    EXPECT_TRUE(waitFor([&] { return statusPanel()->text().startsWith(QStringLiteral("Publishing: connected")); }, 10s))
        << statusPanel()->text().toStdString();
}

TEST_F(PublishingDialogTest, StoredSettingsThatCannotBeUsedAreSaidInTheStatusBar)
{
    PublishSettings kept;
    kept.enabled = true;
    kept.url = QStringLiteral("mqtts://lab");
    kept.caFile = home.filePath(QStringLiteral("gone.pem"));
    ASSERT_TRUE(writePublishSettings(kept));
    load();
    EXPECT_TRUE(statusPanel()->isVisible());
    EXPECT_EQ(statusPanel()->text(),
              QStringLiteral("Publishing is off: The CA file %1 does not exist.").arg(kept.caFile));
    EXPECT_FALSE(window->publishing().active());
}
