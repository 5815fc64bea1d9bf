// The main window walked by random steps, as a person might use it, against the simulated
// meter: menus dropped down and closed, any menu item chosen and any tool-bar button
// clicked, child windows activated, maximised, minimised, restored and closed, dialogs and
// message boxes answered at random (Cancel included), the meter's cable pulled and put back,
// and time let pass. After every step the invariants are checked:
//   - an enabled menu item or button had its visible effect;
//   - CommState is 7 again once an operation has ended, and the window is back at rest;
//   - the Monitor is in view while monitoring;
//   - no document lost a row, and a recording holds every sample it reported;
// (a crash or a sanitizer finding ends the run by itself).
//
// The seeds are fixed, plus one random seed; every seed is printed, and a failing step is
// reported with its seed, its number and the steps that led to it. QUVO_SCENARIO_SEED runs
// one given seed, QUVO_SCENARIO_STEPS sets the steps per seed, QUVO_SCENARIO_VERBOSE prints
// every step with the state it left. Each seed's run prints what it went through (commands,
// recordings, downloads, ...); the whole run ends with one line "scenario: N steps, M failed".
//
// The meter's clock runs fast (a meter second is a fifth of a real one) and answers are
// waited for briefly, so that thousands of steps take a minute or two.

#include "acquisition/Realtime.h"
#include "acquisition/frmMoniter.h"
#include "app/MainMenus.h"
#include "app/Settings.h"
#include "app/frmMain.h"
#include "document/DataDocument.h"
#include "document/DocumentView.h"
#include "document/frmData.h"
#include "link/Comm.h"
#include "metersim/MeterSimulator.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/Prompter.h"
#include "resources/ResID.h"
#include "support/TestHelpers.h"

#include "WindowHand.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QStatusBar>
#include <QStyle>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolBar>

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <memory>
#include <random>

using namespace quvo;
using namespace std::chrono_literals;

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool SanitizedBuild = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool SanitizedBuild = true;
#else
constexpr bool SanitizedBuild = false;
#endif
#else
constexpr bool SanitizedBuild = false;
#endif

// How long the run is and how long it waits, per build. A step mostly waits for the meter
// and the event loop, so the sanitizer build, whose code runs several times slower, takes
// about as long per step (measured: 2000 steps in about 65 s in either build on a lightly
// loaded machine); it gets the same number of steps, and longer time-outs for answers and
// for an operation to come to rest, so that its slowness is not taken for a fault.
struct ScenarioSize {
    int stepsPerSeed;
    int answerTimeoutMs;      // the link's answer time-out (the program's is 5000 ms)
    int operationEndLimitMs;  // a stopped or finished operation is at rest within this
};
constexpr ScenarioSize ReleaseSize{500, 300, 3000};
constexpr ScenarioSize SanitizedSize{500, 1500, 12000};
constexpr double ClockSpeed = 5.0; // meter seconds per real second
const QList<unsigned> FixedSeeds = {1, 2, 3};

// The meter's clock, running ClockSpeed times faster than the real one.
class FastClock : public RealtimeClock {
public:
    FastClock() { m_real.start(); }
    QDateTime now() const override
    {
        return m_start.addMSecs(static_cast<qint64>(static_cast<double>(m_real.elapsed()) * ClockSpeed));
    }

private:
    QDateTime m_start = QDateTime::currentDateTime();
    QElapsedTimer m_real;
};

// One random source for the whole of a seed's run.
class Dice {
public:
    explicit Dice(unsigned seed) : m_engine(seed) {}
    int below(int n) { return n <= 1 ? 0 : static_cast<int>(m_engine() % static_cast<unsigned>(n)); }
    bool chance(int percent) { return below(100) < percent; }
    template <class T>
    const T& pick(const QList<T>& list)
    {
        return list.at(below(static_cast<int>(list.size())));
    }

private:
    std::mt19937 m_engine;
};

// Message boxes and file dialogs answered at random, each one counted.
class ScenarioPrompter : public Prompter {
public:
    ScenarioPrompter(Dice& dice, QString folder) : m_dice(dice), m_folder(std::move(folder)) {}

    int messages = 0;
    int fileRequests = 0;
    QString lastMessage;
    QStringList texts; // every message, in order

    PromptAnswer message(const QString& text, PromptButtons buttons, PromptIcon, PromptAnswer) override
    {
        ++messages;
        lastMessage = text;
        texts.append(text);
        switch (buttons) {
        case PromptButtons::Ok:
            return PromptAnswer::Ok;
        case PromptButtons::YesNo:
            return m_dice.chance(50) ? PromptAnswer::Yes : PromptAnswer::No;
        case PromptButtons::YesNoCancel:
            return m_dice.pick(QList<PromptAnswer>{PromptAnswer::Yes, PromptAnswer::No, PromptAnswer::No,
                                                   PromptAnswer::Cancel});
        }
        return PromptAnswer::Cancel;
    }

    QString chooseFile(const FileDialogRequest& request) override
    {
        ++fileRequests;
        if (m_dice.chance(25))
            return {}; // Cancel
        if (request.mode == FileDialogRequest::Mode::Save) {
            const QString name = m_dice.pick(QList<QString>{QStringLiteral("a.CSV"), QStringLiteral("b.CSV"),
                                                            QStringLiteral("c.CSV"), QStringLiteral("readonly.CSV")});
            return QDir(m_folder).filePath(name);
        }
        QStringList files = QDir(m_folder).entryList({QStringLiteral("*.CSV"), QStringLiteral("*.csv")}, QDir::Files);
        if (files.isEmpty())
            return {};
        return QDir(m_folder).filePath(m_dice.pick(files));
    }

private:
    Dice& m_dice;
    QString m_folder;
};

// The modal dialogs answered at random, each one counted by its name; a download's progress
// dialog is cancelled now and then.
class DialogAnswerer : public QObject {
public:
    DialogAnswerer(Dice& dice, QString meterDevice) : m_dice(dice), m_device(std::move(meterDevice))
    {
        m_poll.setInterval(3);
        QObject::connect(&m_poll, &QTimer::timeout, this, [this] { look(); });
        m_poll.start();
    }

    QHash<QString, int> seen;

private:
    void look()
    {
        if (m_busy)
            return;
        m_busy = true;
        if (QWidget* dialog = QApplication::activeModalWidget(); dialog && dialog->isVisible())
            answer(dialog);
        else
            maybeCancelProgress();
        m_busy = false;
    }

    void answer(QWidget* dialog)
    {
        const QString name = dialog->objectName();
        if (dialog != m_last) {
            m_last = dialog;
            ++seen[name];
        }
        if (name == QLatin1String("frmInterval")) {
            if (m_dice.chance(20)) {
                test::clickButton(dialog, "btCancel");
                return;
            }
            const bool garbage = m_dice.chance(15);
            if (dialog->findChild<QLineEdit*>(QStringLiteral("tbIsec"))->isEnabled()) {
                test::typeInto(dialog, "tbIday", QStringLiteral("0"));
                test::typeInto(dialog, "tbIhour", garbage ? QStringLiteral("abc") : QStringLiteral("0"));
                test::typeInto(dialog, "tbImin", QStringLiteral("0"));
                test::typeInto(dialog, "tbIsec", garbage ? QStringLiteral("0") : QString::number(1 + m_dice.below(2)));
            }
            if (m_dice.chance(50)) {
                QTest::mouseClick(dialog->findChild<QRadioButton*>(QStringLiteral("obNone")), Qt::LeftButton);
            } else {
                test::typeInto(dialog, "tbPday", QStringLiteral("0"));
                test::typeInto(dialog, "tbPhour", QStringLiteral("0"));
                test::typeInto(dialog, "tbPmin", QStringLiteral("0"));
                test::typeInto(dialog, "tbPsec", QString::number(2 + m_dice.below(8)));
            }
            test::clickButton(dialog, "btOk"); // after a correction the dialog stays and is answered again
        } else if (name == QLatin1String("frmPort")) {
            auto* list = dialog->findChild<QComboBox*>(QStringLiteral("cbPort"));
            const int choice = m_dice.below(10);
            if (choice < 2) {
                test::clickButton(dialog, "btCancel");
                return;
            }
            if (choice == 2) {
                list->setCurrentIndex(15); // "16": a port without a meter
            } else if (choice == 3) {
                list->setFocus();
                list->lineEdit()->selectAll();
                QTest::keyClicks(list->lineEdit(), m_device); // the meter's device typed back in
            }
            test::clickButton(dialog, "btOk");
        } else if (name == QLatin1String("frmExport")) {
            test::clickButton(dialog, "btCancel"); // pictures are tested on their own
        } else if (name == QLatin1String("frmLimits")) {
            test::clickButton(dialog, "btCancel"); // limits are tested on their own
        } else if (name == QLatin1String("frmPublishing")) {
            test::clickButton(dialog, "btCancel"); // the scenario never publishes
        } else if (name == QLatin1String("frmForward")) {
            test::clickButton(dialog, m_dice.chance(30) ? "btOk" : "btCancel");
        } else if (name == QLatin1String("frmSetting")) {
            test::clickButton(dialog, m_dice.pick(QList<const char*>{"btOk", "btCancel", "btApply"}));
            if (dialog->isVisible() && m_dice.chance(50))
                test::clickButton(dialog, "btCancel");
        } else {
            // The About box and anything else: its OK, else its Cancel, else Escape.
            if (!test::clickButton(dialog, "btOk") && !test::clickButton(dialog, "btCancel"))
                QTest::keyClick(dialog, Qt::Key_Escape);
        }
    }

    void maybeCancelProgress()
    {
        for (QWidget* top : QApplication::topLevelWidgets()) {
            if (top->objectName() != QLatin1String("frmCancel") || !top->isVisible())
                continue;
            if (top != m_lastProgress) {
                m_lastProgress = top;
                ++seen[QStringLiteral("frmCancel shown")];
            }
            if (m_dice.chance(2)) {
                ++seen[QStringLiteral("frmCancel cancelled")];
                test::clickButton(top, "btCancel");
            }
        }
    }

    Dice& m_dice;
    QString m_device;
    QTimer m_poll;
    QPointer<QWidget> m_last;
    QPointer<QWidget> m_lastProgress;
    bool m_busy = false;
};

// What is observed of the window before a step, to see what the step changed.
struct Snapshot {
    int messages = 0;
    int fileRequests = 0;
    QHash<QString, int> dialogs;
    qsizetype documents = 0;
    QPointer<QMdiSubWindow> activeChild;
    DataDocument* activeDocument = nullptr;
    int activeKind = DataKinds::Unknown;
    int activeRows = 0;
    QString activeFile;
    bool monitorShown = false;
    bool toolbarShown = false;
    bool statusbarShown = false;
    int commState = CommStates::Idle;
    QDateTime time;
};

class Scenario {
public:
    Scenario(unsigned seed, const ScenarioSize& size) : m_seed(seed), m_size(size), m_dice(seed) {}

    // Runs the steps; returns the number of failed steps (each already reported).
    int run(int steps)
    {
        if (!setUp())
            return 1;
        for (m_step = 1; m_step <= steps; ++m_step) {
            const QString failure = oneStep();
            if (!failure.isEmpty())
                fail(failure);
        }
        tearDown();
        printCoverage();
        return m_failed;
    }

    // Operations that really began in this step (not only the commands that could start them).
    void countOperations(const Snapshot& before)
    {
        const int now = programState().CommState;
        if (before.commState == CommStates::Idle && now == CommStates::Realtime)
            ++m_recordings;
        if (before.commState == CommStates::Idle && now == CommStates::Monitor)
            ++m_monitorRuns;
        if (m_window && m_window->isVisible() && m_window->openDocuments().size() > before.documents
            && before.dialogs.value(QStringLiteral("frmCancel shown")) < m_answerer->seen.value(QStringLiteral("frmCancel shown")))
            ++m_downloads;
    }

    // What the run went through, so that a reader sees it did more than open menus.
    void printCoverage() const
    {
        int commands = 0;
        for (int n : m_commandsRun)
            commands += n;
        const auto count = [this](const char* command) { return m_commandsRun.value(QLatin1String(command)); };
        std::printf("seed %u: %d commands run; %d recordings (%d rows), %d monitor runs, %d downloads, %d stops, "
                    "%d opens, %d saves; %d dialogs answered, %d messages, %d progress cancels, %d restarts\n",
                    m_seed, commands, m_recordings, m_rowsRecorded, m_monitorRuns, m_downloads,
                    count("Stop") + count("mnuRealtimeStop") + count("mnuMoniterStop"), count("mnuFileOpen"),
                    count("mnuFileSave") + count("mnuFileSaveAs"), dialogCount(), m_messages,
                    m_answererSeen.value(QStringLiteral("frmCancel cancelled")), m_restarts);
    }

    int dialogCount() const
    {
        int n = 0;
        for (auto it = m_answererSeen.cbegin(); it != m_answererSeen.cend(); ++it) {
            if (!it.key().startsWith(QLatin1String("frmCancel")))
                n += it.value();
        }
        return n;
    }

private:
    // --- Set-up --------------------------------------------------------------------------------

    bool setUp()
    {
        resetProgramState();
        if (!m_home.isValid() || !m_store.isValid() || !m_files.isValid())
            return setUpFailed(QStringLiteral("no temporary folder"));
        qputenv(HomeEnvVar, QFile::encodeName(m_home.path()));
        // New workbooks go to the documents folder: the temporary one.
        m_previousHome = qgetenv("HOME");
        qputenv("HOME", QFile::encodeName(m_files.path()));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_files.filePath(QStringLiteral(".config"))));
        setSettingsStoreFolder(m_store.path());

        sim::SimulatorOptions options;
        options.model = QLatin1Char('1');
        options.loggingCount = 12;
        options.linkPath = m_files.filePath(QStringLiteral("meter"));
        options.seed = m_seed;
        m_meter = std::make_unique<sim::SimulatorThread>(options);
        QString error;
        if (!m_meter->start(&error))
            return setUpFailed(error);
        m_prompter = std::make_unique<ScenarioPrompter>(m_dice, m_files.path());
        m_answerer = std::make_unique<DialogAnswerer>(m_dice, m_meter->devicePath());
        startProgram();
        writeSampleFiles(); // with the program's paths set: a save goes through its work file
        return true;
    }

    bool setUpFailed(const QString& why)
    {
        ADD_FAILURE() << "seed " << m_seed << ": the scenario could not be set up: " << why.toStdString();
        return false;
    }

    // Data files of each kind to open, and one that cannot be saved over.
    void writeSampleFiles()
    {
        for (int kind : {DataKinds::Logging, DataKinds::Realtime, DataKinds::Save}) {
            DataDocument document;
            document.OpenNew(kind);
            for (int i = 0; i < 4; ++i) {
                document.AddGridrow();
                document.AddData(QStringLiteral("00:00:0%1").arg(i), QStringLiteral("1.25"), QStringLiteral("VDC"),
                                 QStringLiteral("1.25"));
            }
            document.SaveFile(m_files.filePath(QStringLiteral("kind%1.csv").arg(kind)));
        }
        const QString readOnly = m_files.filePath(QStringLiteral("readonly.CSV"));
        QFile::copy(m_files.filePath(QStringLiteral("kind2.csv")), readOnly);
        QFile::setPermissions(readOnly, QFile::ReadOwner | QFile::ReadUser);
    }

    // The program as Main starts it: the main window loaded on the meter's port, then the Monitor.
    void startProgram()
    {
        m_hand.reset();
        m_window.reset();
        resetProgramState();
        m_window = std::make_unique<frmMain>();
        m_window->setPrompter(m_prompter.get());
        m_window->Load(m_meter->devicePath());
        m_window->setSimulatorPort(m_meter->devicePath());
        m_window->link().setAnswerTimeoutMs(m_size.answerTimeoutMs);
        m_window->realtime().setClock(&m_clock);
        m_window->resize(1000, 700);
        m_window->show();
        m_window->showMonitor();
        m_hand = std::make_unique<test::WindowHand>(*m_window);
        QObject::connect(&m_window->realtime(), &Realtime::sampleRecorded, m_window.get(), [this] {
            ++m_rowsRecorded;
            if (DataDocument* document = programState().RealtimeDoc) {
                auto found = m_recorded.find(document);
                m_recorded[document] = found == m_recorded.end() ? document->GetDatacount() : found->second + 1;
            }
        });
        m_rowsSeen.clear();
        m_recorded.clear();
        settle();
    }

    void tearDown()
    {
        if (m_window) {
            waitForRest();
            m_window->setPrompter(&m_discarding);
            m_window->close();
            m_hand.reset();
            m_window.reset();
        }
        m_answererSeen = m_answerer->seen;
        m_messages = m_prompter->messages;
        m_answerer.reset();
        m_meter.reset();
        setSettingsStoreFolder(QString());
        qunsetenv(HomeEnvVar);
        qputenv("HOME", m_previousHome);
        qunsetenv("XDG_CONFIG_HOME");
        resetProgramState();
    }

    // --- Steps ----------------------------------------------------------------------------------

    // One random step and the invariants after it; an empty text when every one holds.
    QString oneStep()
    {
        const Snapshot before = snapshot();
        QString failure;
        const int roll = m_dice.below(100);
        const bool running = before.commState == CommStates::Realtime || before.commState == CommStates::Monitor;
        if (!m_meter->isPlugged() && m_dice.chance(15))
            pullOrPlugTheCable(); // put back after a while
        else if (m_meter->isPlugged() && m_dice.chance(1))
            pullOrPlugTheCable();
        else if (running && m_dice.chance(before.commState == CommStates::Realtime ? 85 : 60))
            letTimePass(true); // a recording (longer) or the Monitor is watched for a while
        else if (roll < 30)
            failure = chooseMenuItem(before);
        else if (roll < 60)
            failure = clickButton(before);
        else if (roll < 68)
            dropDownAndClose();
        else if (roll < 76)
            clickTitleBar(QStyle::SC_TitleBarLabel);
        else if (roll < 82)
            clickTitleBar(m_dice.pick(QList<QStyle::SubControl>{QStyle::SC_TitleBarMaxButton, QStyle::SC_TitleBarMinButton,
                                                                QStyle::SC_TitleBarNormalButton}));
        else if (roll < 85)
            clickTitleBar(QStyle::SC_TitleBarCloseButton);
        else
            letTimePass(running);
        countOperations(before);

        if (!m_window->isVisible()) {
            // File › Exit went through: the person starts the program again.
            log(QStringLiteral("the program ended; started again"));
            ++m_restarts;
            startProgram();
            return failure;
        }
        if (failure.isEmpty())
            failure = checkInvariants(before);
        return failure;
    }

    // A menu dropped down and one of its items clicked; mostly an enabled one, as a person
    // looks before clicking, now and then any.
    QString chooseMenuItem(const Snapshot& before)
    {
        QList<QMenu*> menus;
        QList<QMenu*> enabledMenus;
        for (const MenuDefinition& definition : mainMenus()) {
            QMenu* menu = m_window->menu(QLatin1String(definition.name));
            menus.append(menu);
            if (menu->menuAction()->isEnabled())
                enabledMenus.append(menu);
        }
        QMenu* menu = m_dice.pick(!enabledMenus.isEmpty() && m_dice.chance(85) ? enabledMenus : menus);
        if (!m_hand->dropDown(menu)) {
            log(QStringLiteral("click the disabled menu %1").arg(menu->objectName()));
            return {};
        }
        QList<QAction*> items;
        QList<QAction*> enabledItems;
        for (QAction* action : menu->actions()) {
            if (action->isSeparator())
                continue;
            items.append(action);
            if (action->isEnabled())
                enabledItems.append(action);
        }
        QAction* item = m_dice.pick(!enabledItems.isEmpty() && m_dice.chance(85) ? enabledItems : items);
        log(QStringLiteral("choose %1 › %2%3")
                .arg(menu->objectName(), item->objectName(), item->isEnabled() ? QString() : QStringLiteral(" (disabled)")));
        const bool ran = m_hand->clickItem(menu, item);
        settle();
        if (!ran)
            return {};
        ++m_commandsRun[item->objectName()];
        return effectOf(item->objectName(), before);
    }

    QString clickButton(const Snapshot& before)
    {
        QToolBar* tbMain = m_window->findChild<QToolBar*>(QStringLiteral("tbMain"));
        QToolBar* tbSub = m_window->findChild<QToolBar*>(QStringLiteral("tbSub"));
        QList<std::pair<QToolBar*, QString>> buttons;
        for (QToolBar* bar : {tbMain, tbSub}) {
            if (!bar->isVisible())
                continue;
            for (QAction* a : bar->actions()) {
                if (!a->isSeparator())
                    buttons.append({bar, a->objectName()});
            }
        }
        if (buttons.isEmpty())
            return chooseMenuItem(before); // no tool bar shown: the person uses the menus
        QList<std::pair<QToolBar*, QString>> enabledButtons;
        for (const auto& button : std::as_const(buttons)) {
            if (m_window->action(button.second)->isEnabled())
                enabledButtons.append(button);
        }
        const auto& [bar, key] = m_dice.pick(!enabledButtons.isEmpty() && m_dice.chance(85) ? enabledButtons : buttons);
        QAction* action = m_window->action(key);
        log(QStringLiteral("click %1%2").arg(key, action->isEnabled() ? QString() : QStringLiteral(" (disabled)")));
        const bool ran = m_hand->click(bar, action);
        settle();
        if (!ran)
            return {};
        const QString command = key == QLatin1String("Stop") ? key : menuItemOfToolbarKey(key);
        ++m_commandsRun[command];
        return effectOf(command, before);
    }

    void dropDownAndClose()
    {
        QList<MenuDefinition> menus(mainMenus().begin(), mainMenus().end());
        QMenu* menu = m_window->menu(QLatin1String(m_dice.pick(menus).name));
        log(QStringLiteral("drop down %1 and close it").arg(menu->objectName()));
        m_hand->dropDown(menu);
        m_hand->closeMenus();
        settle();
    }

    QList<QMdiSubWindow*> children() const { return m_window->mdiArea()->subWindowList(); }

    // The child windows' title bars, as a hand clicks them: the caption (which activates the
    // window), or its maximise, minimise, restore or close box (a document with unsaved
    // changes asks; the Monitor refuses while an operation runs). A window whose title bar
    // is covered cannot be reached, and the step does nothing.
    void clickTitleBar(QStyle::SubControl control)
    {
        const QList<QMdiSubWindow*> list = children();
        if (list.isEmpty())
            return;
        QMdiSubWindow* frame = m_dice.pick(list);
        static const QHash<int, QString> verbs = {{QStyle::SC_TitleBarLabel, QStringLiteral("click the title of")},
                                                  {QStyle::SC_TitleBarMaxButton, QStringLiteral("maximise")},
                                                  {QStyle::SC_TitleBarMinButton, QStringLiteral("minimise")},
                                                  {QStyle::SC_TitleBarNormalButton, QStringLiteral("restore")},
                                                  {QStyle::SC_TitleBarCloseButton, QStringLiteral("close")}};
        const QString what = describe(frame);
        const bool reached = control == QStyle::SC_TitleBarLabel ? m_hand->clickTitle(frame)
                                                                 : m_hand->clickTitleButton(frame, control);
        log(QStringLiteral("%1 %2%3").arg(verbs.value(control), what, reached ? QString() : QStringLiteral(" (out of reach)")));
        settle();
    }

    // A moment, or, while an operation runs, about a second of the meter's fast clock.
    void letTimePass(bool running)
    {
        const int ms = running ? 30 + m_dice.below(70) : 10 + m_dice.below(50);
        log(QStringLiteral("wait %1 ms").arg(ms));
        test::waitFor([] { return false; }, std::chrono::milliseconds(ms));
    }

    void pullOrPlugTheCable()
    {
        if (m_meter->isPlugged()) {
            log(QStringLiteral("pull the meter's cable"));
            m_meter->unplug();
        } else {
            log(QStringLiteral("plug the meter's cable back in"));
            m_meter->replug();
        }
        settle();
    }

    // --- Effects --------------------------------------------------------------------------------

    // What an enabled item or button must have done; an empty text when it did.
    QString effectOf(const QString& command, const Snapshot& before)
    {
        const Snapshot after = snapshot();
        const auto dialogOpened = [&](const char* name) {
            return after.dialogs.value(QLatin1String(name)) > before.dialogs.value(QLatin1String(name));
        };
        const bool asked = after.messages > before.messages;
        const bool fileDialog = after.fileRequests > before.fileRequests;
        const auto missing = [&](const QString& what) {
            return QStringLiteral("%1 was enabled and did nothing visible: %2").arg(command, what);
        };

        if (command == QLatin1String("mnuFileOpen"))
            return fileDialog ? QString() : missing(QStringLiteral("no Open dialog"));
        if (command == QLatin1String("mnuFileClose")) {
            const bool closed = !before.activeChild || !children().contains(before.activeChild.data());
            return closed || asked ? QString() : missing(QStringLiteral("the window stayed, nothing asked"));
        }
        if (command == QLatin1String("mnuFileSave")) {
            const bool written = !before.activeFile.isEmpty()
                && QFileInfo(before.activeFile).lastModified() >= before.time.addSecs(-1);
            return fileDialog || asked || written ? QString() : missing(QStringLiteral("no save, dialog or message"));
        }
        if (command == QLatin1String("mnuFileSaveAs"))
            return fileDialog ? QString() : missing(QStringLiteral("no Save As dialog"));
        if (command == QLatin1String("mnuFileForward")) {
            if (before.activeRows == 0)
                return {}; // an empty document is not forwarded, by rule
            return dialogOpened("frmForward") ? QString() : missing(QStringLiteral("no Forward dialog"));
        }
        if (command == QLatin1String("mnuFileExit"))
            return !m_window->isVisible() || asked ? QString() : missing(QStringLiteral("still open, nothing asked"));
        if (command == QLatin1String("mnuRealtimeNew"))
            return after.documents > before.documents && dialogOpened("frmInterval")
                ? QString()
                : missing(QStringLiteral("no new document with its Interval dialog"));
        if (command == QLatin1String("mnuRealtimeStart")) {
            if (before.activeDocument && before.activeRows >= MaxReadings)
                return {}; // a full document records nothing, by rule
            return asked ? QString() : missing(QStringLiteral("no forwarding question"));
        }
        if (command == QLatin1String("mnuRealtimeStop") || command == QLatin1String("mnuMoniterStop")
            || command == QLatin1String("Stop"))
            return stopEffect(command);
        if (command == QLatin1String("mnuDataLoging") || command == QLatin1String("mnuDataSave"))
            return asked ? QString() : missing(QStringLiteral("no forwarding question"));
        if (command == QLatin1String("mnuMoniterStart")) {
            if (!monitorInView())
                return missing(QStringLiteral("the Monitor is not in view"));
            return programState().CommState == CommStates::Monitor || asked
                ? QString()
                : missing(QStringLiteral("monitoring did not start and nothing was said"));
        }
        if (command == QLatin1String("mnuSetupCommport"))
            return dialogOpened("frmPort") ? QString() : missing(QStringLiteral("no Port dialog"));
        if (command == QLatin1String("mnuSetupInterval"))
            return dialogOpened("frmInterval") ? QString() : missing(QStringLiteral("no Interval dialog"));
        if (command == QLatin1String("mnuSetupGraph"))
            return dialogOpened("frmSetting") ? QString() : missing(QStringLiteral("no Graph dialog"));
        if (command == QLatin1String("mnuFileExport"))
            return dialogOpened("frmExport") ? QString() : missing(QStringLiteral("no Export chart dialog"));
        if (command == QLatin1String("mnuSetupLimits"))
            return dialogOpened("frmLimits") ? QString() : missing(QStringLiteral("no Limits dialog"));
        if (command == QLatin1String("mnuSetupPublishing"))
            return dialogOpened("frmPublishing") ? QString() : missing(QStringLiteral("no Publishing dialog"));
        if (command == QLatin1String("mnuViewToolbar"))
            return after.toolbarShown != before.toolbarShown ? QString() : missing(QStringLiteral("tool bar unchanged"));
        if (command == QLatin1String("mnuViewStatusbar"))
            return after.statusbarShown != before.statusbarShown ? QString()
                                                                 : missing(QStringLiteral("status bar unchanged"));
        if (command == QLatin1String("mnuViewMoniter"))
            return after.monitorShown != before.monitorShown ? QString() : missing(QStringLiteral("Monitor unchanged"));
        if (command == QLatin1String("mnuHelpAbout"))
            return dialogOpened("frmAbout") ? QString() : missing(QStringLiteral("no About box"));
        return QStringLiteral("%1: no effect known to the scenario").arg(command);
    }

    // A Stop asks the operation to end at the next second: it must be at rest soon.
    QString stopEffect(const QString& command)
    {
        const ProgramState& s = programState();
        const bool pending = s.StopRequested || s.NoForward || s.CommState == CommStates::Idle;
        if (!pending)
            return QStringLiteral("%1 was enabled and did not ask the operation to stop").arg(command);
        if (!waitForRest())
            return QStringLiteral("%1: the operation did not end within %2 ms (CommState %3)")
                .arg(command)
                .arg(m_size.operationEndLimitMs)
                .arg(s.CommState);
        return {};
    }

    bool waitForRest()
    {
        return test::waitFor([] { return programState().CommState == CommStates::Idle; },
                             std::chrono::milliseconds(m_size.operationEndLimitMs));
    }

    // --- Invariants -----------------------------------------------------------------------------

    QString checkInvariants(const Snapshot& before)
    {
        // The simulated meter is sound: nothing it says is garbled or rejected. (Its cable
        // may be pulled; that has messages of its own.)
        for (qsizetype i = before.messages; i < m_prompter->texts.size(); ++i) {
            const QString& text = m_prompter->texts.at(i);
            if (text == ResID(Res::DataError) || text == ResID(Res::CommandError))
                return QStringLiteral("the sound meter's answers were taken for faulty ones: \"%1\"").arg(text);
        }

        const ProgramState& s = programState();
        QToolBar* tbMain = m_window->findChild<QToolBar*>(QStringLiteral("tbMain"));
        QToolBar* tbSub = m_window->findChild<QToolBar*>(QStringLiteral("tbSub"));
        const bool toolbarOn = m_window->action(QStringLiteral("mnuViewToolbar"))->isChecked();

        // Between steps an operation either runs (recording or monitoring, its timer on) or
        // has ended, leaving CommState at 7 and the window at rest.
        const bool running = s.CommState == CommStates::Realtime || s.CommState == CommStates::Monitor;
        if (running != m_window->realtime().tmRealtimeEnabled())
            return QStringLiteral("CommState %1 with the reading timer %2")
                .arg(s.CommState)
                .arg(m_window->realtime().tmRealtimeEnabled() ? QStringLiteral("on") : QStringLiteral("off"));
        if (!running && s.CommState != CommStates::Idle && !waitForRest())
            return QStringLiteral("no operation runs, yet CommState stays %1").arg(s.CommState);
        if (s.CommState == CommStates::Idle) {
            if (m_window->link().PortOpen())
                return QStringLiteral("at rest with the port still open");
            if (tbSub->isVisible())
                return QStringLiteral("at rest with the Stop tool bar shown");
            if (tbMain->isVisible() != toolbarOn)
                return QStringLiteral("at rest, the tool bar's visibility does not follow View › Tool bar");
            for (const MenuDefinition& definition : mainMenus()) {
                if (!m_window->menu(QLatin1String(definition.name))->menuAction()->isEnabled())
                    return QStringLiteral("at rest with the menu %1 disabled").arg(QLatin1String(definition.name));
            }
            if (s.RealtimeCommandsOn)
                return QStringLiteral("at rest with the realtime commands still switched on");
            if (!m_window->isEnabled())
                return QStringLiteral("at rest with the main window disabled");
            for (QWidget* top : QApplication::topLevelWidgets()) {
                if (top->objectName() == QLatin1String("frmCancel") && top->isVisible())
                    return QStringLiteral("at rest with a progress dialog still shown");
            }
            for (QMdiSubWindow* frame : children()) {
                if (auto* data = qobject_cast<frmData*>(frame->widget()); data && data->realtimeCommandsOn())
                    return QStringLiteral("at rest with %1 still switched for recording").arg(describe(frame));
            }
            // The document buttons follow the active child window.
            auto* active = m_window->mdiArea()->activeSubWindow();
            auto* data = active ? qobject_cast<frmData*>(active->widget()) : nullptr;
            const DocumentButtons expected = documentButtons(data != nullptr, data ? data->document()->kind() : DataKinds::Unknown);
            const DocumentButtons shown{m_window->action(QStringLiteral("Save"))->isEnabled(),
                                        m_window->action(QStringLiteral("Forward"))->isEnabled(),
                                        m_window->action(QStringLiteral("Start"))->isEnabled(),
                                        m_window->action(QStringLiteral("Interval"))->isEnabled(),
                                        m_window->action(QStringLiteral("Graph"))->isEnabled()};
            if (shown.save != expected.save || shown.forward != expected.forward || shown.start != expected.start
                || shown.interval != expected.interval || shown.graph != expected.graph)
                return QStringLiteral("the document buttons (Save %1, Forward %2, Start %3, Interval %4, Graph %5) do "
                                      "not follow the active window, %6")
                    .arg(shown.save)
                    .arg(shown.forward)
                    .arg(shown.start)
                    .arg(shown.interval)
                    .arg(shown.graph)
                    .arg(active ? describe(active) : QStringLiteral("none"));
        } else if (s.CommState == CommStates::Realtime || s.CommState == CommStates::Monitor) {
            if (tbMain->isVisible())
                return QStringLiteral("an operation runs (CommState %1) with the ordinary tool bar shown").arg(s.CommState);
            if (toolbarOn && !tbSub->isVisible())
                return QStringLiteral("an operation runs (CommState %1) without its Stop button").arg(s.CommState);
        }

        // The status bar names the port of this run.
        const QString port = m_window->link().CommPort();
        const QString note = port == m_meter->devicePath() ? QStringLiteral("Simulated meter on %1").arg(port)
                                                           : QStringLiteral("Port %1").arg(m_window->link().portName());
        if (m_window->findChild<QLabel*>(QStringLiteral("Port"))->text() != note)
            return QStringLiteral("the status bar says \"%1\" on the port %2")
                .arg(m_window->findChild<QLabel*>(QStringLiteral("Port"))->text(), port);

        // The View menu's marks and the Monitor button follow what they stand for.
        if (m_window->action(QStringLiteral("mnuViewMoniter"))->isChecked() != s.MonitorShown
            || m_window->action(QStringLiteral("Moniter"))->isChecked() != s.MonitorShown)
            return QStringLiteral("View › Monitor and the Monitor button do not follow the Monitor window");
        if (m_window->action(QStringLiteral("mnuViewStatusbar"))->isChecked() != m_window->statusBar()->isVisible())
            return QStringLiteral("View › Status bar does not follow the status bar");
        if ((running || s.CommState == CommStates::Idle) && !s.StopRequested && tbSub->isVisible()
            && !m_window->action(QStringLiteral("Stop"))->isEnabled())
            return QStringLiteral("the Stop button is shown disabled while nothing has asked to stop");

        // The readings are in view while monitoring.
        if (s.CommState == CommStates::Monitor && !monitorInView())
            return QStringLiteral("monitoring with the Monitor out of view");

        // No document lost a row; a recording holds every sample it reported. (Closed
        // documents are forgotten: their addresses may come back for new ones.)
        const QList<DataDocument*> documents = m_window->openDocuments();
        std::erase_if(m_rowsSeen, [&](const auto& entry) { return !documents.contains(entry.first); });
        std::erase_if(m_recorded, [&](const auto& entry) { return !documents.contains(entry.first); });
        for (DataDocument* document : documents) {
            const int rows = document->GetDatacount();
            auto seen = m_rowsSeen.find(document);
            if (seen != m_rowsSeen.end() && rows < seen->second)
                return QStringLiteral("%1 had %2 rows and now has %3").arg(document->caption()).arg(seen->second).arg(rows);
            m_rowsSeen[document] = rows;
            auto recorded = m_recorded.find(document);
            if (recorded != m_recorded.end() && rows != recorded->second)
                return QStringLiteral("%1 reported %2 recorded rows and holds %3")
                    .arg(document->caption())
                    .arg(recorded->second)
                    .arg(rows);
        }
        return {};
    }

    bool monitorInView() const
    {
        frmMoniter* monitor = m_window->monitorWindow();
        if (!monitor || !programState().MonitorShown)
            return false;
        auto* frame = qobject_cast<QMdiSubWindow*>(monitor->parentWidget());
        if (!frame || !frame->isVisible() || frame->isMinimized())
            return false;
        const QList<QMdiSubWindow*> stack = m_window->mdiArea()->subWindowList(QMdiArea::StackingOrder);
        for (qsizetype i = stack.indexOf(frame) + 1; i < stack.size(); ++i) {
            if (stack[i]->isVisible() && !stack[i]->isMinimized() && stack[i]->geometry().intersects(frame->geometry()))
                return false;
        }
        return true;
    }

    // --- Helpers --------------------------------------------------------------------------------

    Snapshot snapshot() const
    {
        Snapshot s;
        s.messages = m_prompter->messages;
        s.fileRequests = m_prompter->fileRequests;
        s.dialogs = m_answerer->seen;
        s.documents = m_window->openDocuments().size();
        if (QMdiSubWindow* active = m_window->mdiArea()->activeSubWindow())
            s.activeChild = active;
        s.activeDocument = m_window->activeDocument();
        if (s.activeDocument) {
            s.activeKind = s.activeDocument->kind();
            s.activeRows = s.activeDocument->GetDatacount();
            s.activeFile = s.activeDocument->GetFilename();
        }
        s.monitorShown = programState().MonitorShown;
        s.toolbarShown = m_window->findChild<QToolBar*>(QStringLiteral("tbMain"))->isVisible();
        s.statusbarShown = m_window->statusBar()->isVisible();
        s.commState = programState().CommState;
        s.time = QDateTime::currentDateTime();
        return s;
    }

    QString describe(QMdiSubWindow* frame) const
    {
        QString name = QStringLiteral("a window");
        if (qobject_cast<frmMoniter*>(frame->widget()))
            name = QStringLiteral("the Monitor");
        else if (auto* data = qobject_cast<frmData*>(frame->widget()))
            name = QStringLiteral("document %1").arg(data->document()->caption());
        if (frame->isMinimized())
            name += QStringLiteral(" (minimised)");
        else if (frame->isMaximized())
            name += QStringLiteral(" (maximised)");
        if (frame == m_window->mdiArea()->activeSubWindow())
            name += QStringLiteral(" (active)");
        return name;
    }

    // Lets the window finish what the step started, as the event loop would (windows closed
    // with deleteLater go too).
    void settle()
    {
        for (int i = 0; i < 3; ++i) {
            QApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
    }

    void log(const QString& step)
    {
        if (qEnvironmentVariableIsSet("QUVO_SCENARIO_VERBOSE")) {
            QMdiSubWindow* active = m_window->mdiArea()->activeSubWindow();
            std::printf("%d: %s [CommState %d, messages %d: %s] [active %s, Save %d]\n", m_step, qPrintable(step),
                        programState().CommState, m_prompter->messages,
                        qPrintable(m_prompter->lastMessage.left(60).replace(QLatin1Char('\n'), QLatin1Char(' '))),
                        qPrintable(active ? describe(active) : QStringLiteral("none")),
                        m_window->action(QStringLiteral("Save"))->isEnabled());
        }
        m_history.append(QStringLiteral("%1: %2").arg(m_step).arg(step));
        if (m_history.size() > 15)
            m_history.removeFirst();
    }

    void fail(const QString& failure)
    {
        ++m_failed;
        if (m_failed <= 10) {
            ADD_FAILURE() << "seed " << m_seed << ", step " << m_step << ": " << failure.toStdString()
                          << "\nthe steps before:\n  " << m_history.join(QStringLiteral("\n  ")).toStdString();
        }
        // Go on from a state at rest.
        waitForRest();
    }

    unsigned m_seed;
    ScenarioSize m_size;
    Dice m_dice;
    FastClock m_clock;
    QTemporaryDir m_home;
    QTemporaryDir m_store;
    QTemporaryDir m_files;
    QByteArray m_previousHome;
    std::unique_ptr<sim::SimulatorThread> m_meter;
    std::unique_ptr<ScenarioPrompter> m_prompter;
    std::unique_ptr<DialogAnswerer> m_answerer;
    std::unique_ptr<frmMain> m_window;
    std::unique_ptr<test::WindowHand> m_hand;
    class Discarding : public Prompter {
    public:
        PromptAnswer message(const QString&, PromptButtons, PromptIcon, PromptAnswer) override { return PromptAnswer::No; }
        QString chooseFile(const FileDialogRequest&) override { return {}; }
    } m_discarding;
    std::map<const DataDocument*, int> m_rowsSeen;
    std::map<const DataDocument*, int> m_recorded;
    QStringList m_history;
    QHash<QString, int> m_commandsRun;
    QHash<QString, int> m_answererSeen;
    int m_messages = 0;
    int m_restarts = 0;
    int m_recordings = 0;
    int m_monitorRuns = 0;
    int m_downloads = 0;
    int m_rowsRecorded = 0;
    int m_step = 0;
    int m_failed = 0;
};

int environmentNumber(const char* name, int fallback)
{
    bool ok = false;
    const int value = qEnvironmentVariableIntValue(name, &ok);
    return ok && value > 0 ? value : fallback;
}

} // namespace

TEST(MainWindowScenario, RandomStepsKeepEveryInvariant)
{
    const ScenarioSize size = SanitizedBuild ? SanitizedSize : ReleaseSize;
    const int stepsPerSeed = environmentNumber("QUVO_SCENARIO_STEPS", size.stepsPerSeed);
    QList<unsigned> seeds;
    if (qEnvironmentVariableIsSet("QUVO_SCENARIO_SEED")) {
        seeds = {static_cast<unsigned>(environmentNumber("QUVO_SCENARIO_SEED", 1))};
    } else {
        seeds = FixedSeeds;
        seeds.append(std::random_device{}() % 1000000u + 4u);
    }
    QStringList seedTexts;
    for (unsigned seed : seeds)
        seedTexts.append(QString::number(seed));
    std::printf("seeds %s, %d steps each%s\n", qPrintable(seedTexts.join(QLatin1Char(' '))), stepsPerSeed,
                SanitizedBuild ? " (sanitizer build)" : "");

    int steps = 0;
    int failed = 0;
    for (unsigned seed : seeds) {
        Scenario scenario(seed, size);
        failed += scenario.run(stepsPerSeed);
        steps += stepsPerSeed;
    }
    std::printf("scenario: %d steps, %d failed\n", steps, failed);
    std::fflush(stdout);
    EXPECT_EQ(failed, 0);
}
