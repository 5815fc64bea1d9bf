#include "app/frmMain.h"

#include "acquisition/ContinuedRecording.h"
#include "acquisition/Download.h"
#include "acquisition/Realtime.h"
#include "acquisition/frmCancel.h"
#include "acquisition/frmInterval.h"
#include "acquisition/frmMoniter.h"
#include "app/CommandRules.h"
#include "app/MainMenus.h"
#include "app/frmAbout.h"
#include "document/DataDocument.h"
#include "document/DocumentView.h"
#include "document/LimitSettings.h"
#include "document/frmData.h"
#include "document/frmLimits.h"
#include "document/frmSetting.h"
#include "forward/Forward.h"
#include "forward/ForwardSetup.h"
#include "forward/frmForward.h"
#include "forward/XlsxBackend.h"
#include "link/frmPort.h"
#include "publish/Publishing.h"
#include "publish/frmPublishing.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/ResID.h"
#include "resources/Twips.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QIcon>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>
#include <QUrl>

#include <functional>
#include <type_traits>

namespace quvo {

namespace {

QIcon toolIcon(const char* name)
{
    return QIcon(QStringLiteral(":/icons/%1.svg").arg(QLatin1String(name)));
}

WindowState windowStateOf(const QWidget* window)
{
    if (window->isMinimized())
        return WindowState::Minimised;
    if (window->isMaximized())
        return WindowState::Maximised;
    return WindowState::Normal;
}

} // namespace

frmMain::frmMain(QWidget* parent)
    : QMainWindow(parent),
      coComm(nullptr, this),
      m_qtPrompter(this),
      m_prompter(&m_qtPrompter),
      m_files(m_qtPrompter, *this, *this)
{
    setObjectName(QStringLiteral("frmMain"));
    setWindowIcon(QIcon(QStringLiteral(":/icons/quvolink.svg")));
    coComm.setPrompter(m_prompter);

    m_mdi = new QMdiArea(this);
    m_mdi->setObjectName(QStringLiteral("mdiArea"));
    setCentralWidget(m_mdi);

    buildMenus();
    buildToolbars();
    buildStatusBar();

    m_realtime = std::make_unique<Realtime>(coComm, *this);
    m_download = std::make_unique<Download>(coComm, *this);
    ContinuedRecording::Window partWindows;
    partWindows.newDocument = [this] { return newDocument(DataKinds::Realtime); };
    partWindows.closeDocument = [this](DataDocument* document) {
        // A saved part: nothing to ask. Its window goes although the recording runs (which
        // refuses an ordinary close).
        if (frmData* part = windowOf(document)) {
            if (auto* frame = qobject_cast<QMdiSubWindow*>(part->parentWidget()))
                frame->deleteLater();
        }
    };
    partWindows.status = [this](const QString& text) { setStatusMessage(text); };
    partWindows.partTitle = [this](DataDocument* document, const QString& title) {
        if (frmData* part = windowOf(document))
            part->setWindowTitle(title);
    };
    partWindows.warnLater = [this](const QString& text) {
        QTimer::singleShot(0, this, [this, text] { m_prompter->warn(text); });
    };
    m_continued = std::make_unique<ContinuedRecording>(*m_realtime, std::move(partWindows));
    buildPublishing();

    // Forwarding writes .xlsx workbooks and hands each finished one to the desktop's
    // spreadsheet program; a workbook that cannot be written is reported by the engine.
    m_forward = std::make_unique<Forward>();
    XlsxSettings workbookSettings;
    workbookSettings.openFile = [](const QString& path) { QDesktopServices::openUrl(QUrl::fromLocalFile(path)); };
    workbookSettings.reportFailure = m_forward->handBackFailureReporter();
    workbookSettings.waitForWrite = m_forward->handBackWaiter(); // the dialog stays alive while it is written
    m_workbooks = std::make_unique<XlsxConnector>(workbookSettings);
    m_forward->setConnector(m_workbooks.get());
    m_forward->setPrompter(m_prompter);
    m_forward->setProgressFactory([this] { return openProgress(); });
    m_forward->setActivateDocumentWindow([this] {
        if (frmData* window = windowOf(programState().CurrentDoc))
            m_mdi->setActiveSubWindow(qobject_cast<QMdiSubWindow*>(window->parentWidget()));
    });
    m_forward->setActivateMainWindow([this] { activateWindow(); });

    connect(m_mdi, &QMdiArea::subWindowActivated, this, [this](QMdiSubWindow*) {
        // With no active child left, no document button stays on.
        if (!m_mdi->activeSubWindow() && !activeDataWindow())
            applyDocumentButtons(false, DataKinds::Unknown);
    });
}

frmMain::~frmMain()
{
    // The child windows go first, while the meter operations they report to still exist,
    // and each on its own while the area is whole: a closing document asks for the active
    // one, which a half-destroyed area cannot answer.
    disconnect(m_mdi, nullptr, this, nullptr);
    qDeleteAll(m_mdi->subWindowList());
    delete m_mdi;
    m_mdi = nullptr;
}

void frmMain::setPrompter(Prompter* prompter)
{
    m_prompter = prompter ? prompter : &m_qtPrompter;
    coComm.setPrompter(m_prompter);
    m_files.setPrompter(*m_prompter);
    if (m_forward)
        m_forward->setPrompter(m_prompter);
    for (DataDocument* document : openDocuments()) {
        if (frmData* window = windowOf(document))
            window->setPrompter(m_prompter);
    }
}

Prompter& frmMain::prompter()
{
    return *m_prompter;
}

// --- Building the window ------------------------------------------------------------------------

void frmMain::buildMenus()
{
    for (const MenuDefinition& definition : mainMenus()) {
        QMenu* menu = menuBar()->addMenu(QString());
        menu->setObjectName(QLatin1String(definition.name));
        menu->menuAction()->setObjectName(QLatin1String(definition.name));
        m_menus.insert(menu->objectName(), menu);
        for (const MenuItem& item : definition.items) {
            QAction* action = item.text ? menu->addAction(QString()) : menu->addSeparator();
            action->setObjectName(QLatin1String(item.name));
            m_actions.insert(action->objectName(), action);
        }
    }
    connect(menu(QStringLiteral("mnuFile")), &QMenu::aboutToShow, this, &frmMain::onFileMenu);
    connect(menu(QStringLiteral("mnuRealtime")), &QMenu::aboutToShow, this, &frmMain::onRealtimeMenu);
    connect(menu(QStringLiteral("mnuMoniter")), &QMenu::aboutToShow, this, &frmMain::onMoniterMenu);
    connect(menu(QStringLiteral("mnuSetup")), &QMenu::aboutToShow, this, &frmMain::onSetupMenu);

    action(QStringLiteral("mnuViewToolbar"))->setCheckable(true);
    action(QStringLiteral("mnuViewToolbar"))->setChecked(true);
    action(QStringLiteral("mnuViewStatusbar"))->setCheckable(true);
    action(QStringLiteral("mnuViewStatusbar"))->setChecked(true);
    action(QStringLiteral("mnuViewMoniter"))->setCheckable(true);

    // The table of commands: each menu item's procedure, kept by the item's name. The menu
    // item calls it, and so does a tool-bar button of the same command (runToolbarKey),
    // directly: a button never goes through its menu item, whose enabled state belongs to
    // the menus (drop-downs, the running-commands switch) and not to the button.
    const auto on = [this](const char* name, auto handler) {
        const QString item = QLatin1String(name);
        std::function<void()> procedure;
        if constexpr (std::is_member_function_pointer_v<decltype(handler)>)
            procedure = [this, handler] { (this->*handler)(); };
        else
            procedure = handler;
        m_commands.insert(item, procedure);
        connect(action(item), &QAction::triggered, this, [this, item] { runCommand(item); });
    };
    on("mnuFileOpen", [this] { m_files.FileOpen(); });
    on("mnuFileClose", &frmMain::mnuFileClose);
    on("mnuFileSave", &frmMain::mnuFileSave);
    on("mnuFileSaveAs", &frmMain::mnuFileSaveAs);
    on("mnuFileForward", &frmMain::mnuFileForward);
    on("mnuFileExport", [this] {
        if (frmData* window = activeDataWindow())
            window->exportChart();
    });
    on("mnuFileExit", [this] { close(); });
    on("mnuRealtimeNew", [this] { m_realtime->mnuRealtimeNew(); });
    on("mnuRealtimeStart", [this] { m_realtime->mnuRealtimeStart(); });
    on("mnuRealtimeStop", [this] { m_realtime->mnuRealtimeStop(); });
    on("mnuDataLoging", [this] { m_download->mnuDataLoging(); });
    on("mnuDataSave", [this] { m_download->mnuDataSave(); });
    on("mnuMoniterStart", [this] { m_realtime->mnuMoniterStart(); });
    on("mnuMoniterStop", [this] { m_realtime->mnuMoniterStop(); });
    on("mnuSetupCommport", &frmMain::mnuSetupCommport);
    on("mnuSetupInterval", &frmMain::mnuSetupInterval);
    on("mnuSetupGraph", &frmMain::mnuSetupGraph);
    on("mnuSetupPublishing", &frmMain::mnuSetupPublishing);
    on("mnuSetupLimits", &frmMain::mnuSetupLimits);
    on("mnuViewToolbar", &frmMain::mnuViewToolbar);
    on("mnuViewStatusbar", &frmMain::mnuViewStatusbar);
    on("mnuViewMoniter", &frmMain::mnuViewMoniter);
    on("mnuHelpAbout", &frmMain::mnuHelpAbout);
}

void frmMain::buildToolbars()
{
    tbMain = addToolBar(QString());
    tbMain->setObjectName(QStringLiteral("tbMain"));
    tbMain->setMovable(false);
    tbMain->toggleViewAction()->setVisible(false);
    for (const ToolButton& button : mainToolButtons()) {
        const QString key = QLatin1String(button.key);
        QAction* action = tbMain->addAction(toolIcon(button.icon), QString());
        action->setObjectName(key);
        action->setData(key);
        m_actions.insert(key, action);
        connect(action, &QAction::triggered, this, [this, key] { runToolbarKey(key); });
        if (separatorAfterToolButton(key))
            tbMain->addSeparator();
    }
    action(QStringLiteral("Moniter"))->setCheckable(true);
    // The document buttons wait for a document window.
    applyDocumentButtons(false, DataKinds::Unknown);

    tbSub = addToolBar(QString());
    tbSub->setObjectName(QStringLiteral("tbSub"));
    tbSub->setMovable(false);
    tbSub->toggleViewAction()->setVisible(false);
    QAction* stop = tbSub->addAction(toolIcon(stopToolButton().icon), QString());
    stop->setObjectName(QLatin1String(stopToolButton().key));
    stop->setData(QLatin1String(stopToolButton().key));
    m_actions.insert(stop->objectName(), stop);
    connect(stop, &QAction::triggered, this, &frmMain::stopButton);
    tbSub->setVisible(false);
}

void frmMain::buildStatusBar()
{
    statusBar()->setObjectName(QStringLiteral("sbMain"));
    m_msg = new QLabel(this);
    m_msg->setObjectName(QStringLiteral("Msg"));
    statusBar()->addWidget(m_msg, 1);
    // Which meter this run talks to: kept apart from "Msg", which operations clear and fill.
    m_portNote = new QLabel(this);
    m_portNote->setObjectName(QStringLiteral("Port"));
    statusBar()->addPermanentWidget(m_portNote);
}

void frmMain::setSimulatorPort(const QString& device)
{
    m_simulatorPort = device;
    updatePortNote();
}

void frmMain::updatePortNote()
{
    const bool simulated = !m_simulatorPort.isEmpty() && coComm.CommPort() == m_simulatorPort;
    m_portNote->setText(simulated ? QStringLiteral("Simulated meter on %1").arg(m_simulatorPort)
                                  : QStringLiteral("Port %1").arg(coComm.portName()));
}

void frmMain::SetMenuCaptions()
{
    for (const MenuDefinition& definition : mainMenus()) {
        menu(QLatin1String(definition.name))->setTitle(ResID(definition.text));
        for (const MenuItem& item : definition.items) {
            if (item.text)
                action(QLatin1String(item.name))->setText(ResID(item.text));
        }
    }
}

void frmMain::SetToolTips()
{
    for (const ToolButton& button : mainToolButtons()) {
        QAction* a = action(QLatin1String(button.key));
        a->setToolTip(ResID(button.tip));
        a->setText(ResID(button.tip));
    }
    QAction* stop = action(QLatin1String(stopToolButton().key));
    stop->setToolTip(ResID(stopToolButton().tip));
    stop->setText(ResID(stopToolButton().tip));
}

QAction* frmMain::action(const QString& name) const
{
    return m_actions.value(name);
}

QMenu* frmMain::menu(const QString& name) const
{
    return m_menus.value(name);
}

// --- Load, resize, close ------------------------------------------------------------------------

void frmMain::Load(const QString& portOverride)
{
    setWindowTitle(AppTitle);
    SetMenuCaptions();
    SetToolTips();

    ProgramState& state = programState();
    state.CommState = CommStates::Idle;
    state.MonitorShown = false;
    state.RealtimeCommandsOn = false;

    setupProgramPaths();
    removeLeftoversOfCrash(programFolder());
    ReadSettings();
    m_realtime->setJournalFolder(programFolder());
    coComm.setCommPort(portOverride.isEmpty() ? state.PortNumber : portOverride);
    updatePortNote();

    applyStoredPlacement();
    QString publishingError;
    if (!m_publishing->apply(readPublishSettings(), &publishingError)) {
        m_publishingStatus->setText(QStringLiteral("Publishing is off: ") + publishingError);
        m_publishingStatus->setVisible(true);
    }
    useLimits(readLimitSettings());
    m_loaded = true;
}

void frmMain::applyStoredPlacement()
{
    const double dpiX = logicalDpiX();
    const double dpiY = logicalDpiY();
    const StoredMainPlacement stored = readMainPlacement();
    Placement placement = m_normal;
    if (stored.left)
        placement.left = *stored.left;
    if (stored.top)
        placement.top = *stored.top;
    if (stored.width)
        placement.width = *stored.width;
    if (stored.height)
        placement.height = *stored.height;
    move(twipsToPixels(placement.left, dpiX), twipsToPixels(placement.top, dpiY));
    resize(std::max(1, twipsToPixels(placement.width, dpiX)), std::max(1, twipsToPixels(placement.height, dpiY)));
    m_normal = placement;
    if (stored.state == WindowState::Maximised)
        setWindowState(Qt::WindowMaximized);
    else if (stored.state == WindowState::Minimised)
        setWindowState(Qt::WindowMinimized);
}

Placement frmMain::currentPlacement() const
{
    const double dpiX = logicalDpiX();
    const double dpiY = logicalDpiY();
    return {static_cast<float>(pixelsToTwips(x(), dpiX)), static_cast<float>(pixelsToTwips(y(), dpiY)),
            static_cast<float>(pixelsToTwips(width(), dpiX)), static_cast<float>(pixelsToTwips(height(), dpiY))};
}

void frmMain::Resize()
{
    if (m_loaded && windowStateOf(this) == WindowState::Normal && isVisible())
        m_normal = currentPlacement();
}

void frmMain::resizeEvent(QResizeEvent* event)
{
    QMainWindow::resizeEvent(event);
    Resize();
}

void frmMain::moveEvent(QMoveEvent* event)
{
    QMainWindow::moveEvent(event);
    Resize();
}

void frmMain::closeEvent(QCloseEvent* event)
{
    // QueryUnload: no close while a meter operation runs, and nothing is said.
    if (programState().CommState != CommStates::Idle) {
        event->ignore();
        return;
    }
    // Every question is answered before anything closes: a Cancel on any of them stops the
    // whole exit and leaves every window as it was.
    if (!answerCloseQuestions()) {
        event->ignore();
        return;
    }
    m_mdi->closeAllSubWindows();
    if (!m_mdi->subWindowList().isEmpty()) {
        event->ignore();
        return;
    }
    Unload();
    event->accept();
}

bool frmMain::answerCloseQuestions()
{
    QList<DataDocument*> discarded;
    for (DataDocument* document : openDocuments()) {
        const auto save = [this, document] { m_files.FileSave(*document); };
        switch (document->askClose(*m_prompter, save)) {
        case DataDocument::CloseAnswer::Keep:
            return false;
        case DataDocument::CloseAnswer::Discard:
            discarded.append(document);
            break;
        case DataDocument::CloseAnswer::Close:
            break;
        }
    }
    for (DataDocument* document : std::as_const(discarded))
        document->discardChanges();
    return true;
}

void frmMain::Unload()
{
    m_publishing->stop(); // "idle" and "offline" reach the broker while it is there
    WriteSettings();
    writeMainPlacement(mainPlacementToWrite(windowStateOf(this), currentPlacement(), m_normal));
}

// --- Child windows --------------------------------------------------------------------------

QMdiSubWindow* frmMain::addChild(QWidget* child)
{
    QMdiSubWindow* frame = m_mdi->addSubWindow(child);
    frame->setAttribute(Qt::WA_DeleteOnClose);
    return frame;
}

frmData* frmMain::activeDataWindow() const
{
    QMdiSubWindow* active = m_mdi->activeSubWindow();
    return active ? qobject_cast<frmData*>(active->widget()) : nullptr;
}

frmData* frmMain::windowOf(const DataDocument* document) const
{
    if (!document)
        return nullptr;
    for (QMdiSubWindow* frame : m_mdi->subWindowList()) {
        auto* window = qobject_cast<frmData*>(frame->widget());
        if (window && window->document() == document)
            return window;
    }
    return nullptr;
}

QList<DataDocument*> frmMain::openDocuments() const
{
    QList<DataDocument*> documents;
    for (QMdiSubWindow* frame : m_mdi->subWindowList()) {
        if (auto* window = qobject_cast<frmData*>(frame->widget())) {
            const int kind = ParseDataKind(window->Tag());
            if (kind == DataKinds::Logging || kind == DataKinds::Realtime || kind == DataKinds::Save)
                documents.append(window->document());
        }
    }
    return documents;
}

frmData* frmMain::makeDataWindow()
{
    auto* window = new frmData;
    window->setPrompter(m_prompter);
    connect(window, &frmData::documentButtonsRequested, this, [this, window](bool enabled, int kind) {
        // The buttons belong to the active document. A document closed by its close box
        // while another one is active withdraws nothing: the active one keeps its buttons.
        const frmData* active = activeDataWindow();
        if (!enabled && active && active != window)
            return;
        applyDocumentButtons(enabled, kind);
    });
    window->setSaveAction([this, window] { m_files.FileSave(*window->document()); });
    // A closed document no longer needs the journal of its recording.
    connect(window, &QObject::destroyed, this, [this, document = window->document()] {
        m_realtime->releaseJournal(document);
    });
    window->document()->setBusyHook([](bool busy) {
        if (busy)
            QApplication::setOverrideCursor(Qt::WaitCursor);
        else
            QApplication::restoreOverrideCursor();
    });
    window->document()->setLimits(m_limits); // before it is shown: it opens wide enough for the counts
    addChild(window)->show();
    return window;
}

DataDocument* frmMain::createDocumentWindow()
{
    DataDocument* document = makeDataWindow()->document();
    document->OpenNew(DataDocument::KindBeforeOpen);
    return document;
}

void frmMain::discardDocumentWindow(DataDocument* document)
{
    if (frmData* window = windowOf(document)) {
        if (auto* frame = qobject_cast<QMdiSubWindow*>(window->parentWidget()))
            frame->close();
    }
}

void frmMain::documentSaved(DataDocument* document)
{
    // Saved to its data file: the journal of its recording is no longer needed.
    m_realtime->releaseJournal(document);
}

DataDocument* frmMain::newDocument(int kind)
{
    DataDocument* document = makeDataWindow()->document();
    document->OpenNew(kind);
    return document;
}

DataDocument* frmMain::activeDocument()
{
    frmData* window = activeDataWindow();
    return window ? window->document() : nullptr;
}

frmMoniter* frmMain::showMonitor()
{
    if (!m_monitor || !programState().MonitorShown) {
        auto* window = new frmMoniter;
        window->setLimits(m_limits);
        connect(window, &frmMoniter::monitorShownChanged, this, &frmMain::onMonitorShownChanged);
        addChild(window);
        m_monitor = window;
        onMonitorShownChanged(true);
        m_monitor->setKeptInView(m_monitoring);
    }
    // In front, also over a maximised or minimised document: the area would maximise the
    // window it activates while a maximised one is active, so it is told not to for the Monitor.
    auto* frame = qobject_cast<QMdiSubWindow*>(m_monitor->parentWidget());
    if (frame->isMinimized())
        frame->showNormal();
    else
        frame->show();
    const bool maximiseOnActivation = !m_mdi->testOption(QMdiArea::DontMaximizeSubWindowOnActivation);
    m_mdi->setOption(QMdiArea::DontMaximizeSubWindowOnActivation, true);
    m_mdi->setActiveSubWindow(frame);
    m_mdi->setOption(QMdiArea::DontMaximizeSubWindowOnActivation, !maximiseOnActivation);
    frame->raise();
    return m_monitor;
}

MonitorSink* frmMain::bringMonitorForward()
{
    return showMonitor();
}

MonitorSink* frmMain::monitor(bool createIfNeeded)
{
    if (m_monitor && programState().MonitorShown)
        return m_monitor.data();
    return createIfNeeded ? showMonitor() : nullptr;
}

void frmMain::onMonitorShownChanged(bool shown)
{
    action(QStringLiteral("mnuViewMoniter"))->setChecked(shown);
    action(QStringLiteral("Moniter"))->setChecked(shown);
}

// --- Menus when they drop down ------------------------------------------------------------------

void frmMain::onFileMenu()
{
    const frmData* window = activeDataWindow();
    const bool hasChild = m_mdi->activeSubWindow() != nullptr;
    const int kind = window ? ParseDataKind(window->Tag()) : (hasChild ? DataKinds::Monitor : DataKinds::Unknown);
    const FileMenuState state = fileMenuState(hasChild, kind);
    action(QStringLiteral("mnuFileClose"))->setEnabled(state.close);
    action(QStringLiteral("mnuFileSave"))->setEnabled(state.save);
    action(QStringLiteral("mnuFileSaveAs"))->setEnabled(state.saveAs);
    action(QStringLiteral("mnuFileForward"))->setEnabled(state.forward);
    action(QStringLiteral("mnuFileExport"))->setEnabled(window != nullptr);
}

void frmMain::onSetupMenu()
{
    const frmData* window = activeDataWindow();
    const bool hasChild = m_mdi->activeSubWindow() != nullptr;
    const int kind = window ? ParseDataKind(window->Tag()) : (hasChild ? DataKinds::Monitor : DataKinds::Unknown);
    const SettingsMenuState state = settingsMenuState(hasChild, kind);
    action(QStringLiteral("mnuSetupInterval"))->setEnabled(state.interval);
    action(QStringLiteral("mnuSetupGraph"))->setEnabled(state.graph);
}

void frmMain::onRealtimeMenu()
{
    const frmData* window = activeDataWindow();
    const int kind = window ? ParseDataKind(window->Tag()) : DataKinds::Unknown;
    const std::optional<RealtimeMenuState> state =
        RealtimeMenuOnDropDown(programState().CommState, !openDocuments().isEmpty(), kind);
    if (!state)
        return;
    action(QStringLiteral("mnuRealtimeNew"))->setEnabled(state->New);
    action(QStringLiteral("mnuRealtimeStart"))->setEnabled(state->Start);
    action(QStringLiteral("mnuRealtimeStop"))->setEnabled(state->Stop);
}

void frmMain::onMoniterMenu()
{
    const std::optional<MoniterMenuState> state = MoniterMenuOnDropDown(programState().CommState);
    if (!state)
        return;
    action(QStringLiteral("mnuMoniterStart"))->setEnabled(state->Start);
    action(QStringLiteral("mnuMoniterStop"))->setEnabled(state->Stop);
}

// --- Commands -----------------------------------------------------------------------------------

void frmMain::runCommand(const QString& item)
{
    const auto procedure = m_commands.constFind(item);
    if (procedure != m_commands.cend())
        (*procedure)();
}

void frmMain::runToolbarKey(const QString& key)
{
    // The button's own command, whatever state its menu item was left in.
    if (isToolbarKey(key))
        runCommand(menuItemOfToolbarKey(key));
}

void frmMain::stopButton()
{
    m_realtime->StopButton();
}

void frmMain::disableStopCommands(StopTarget target)
{
    menu(target == StopTarget::Realtime ? QStringLiteral("mnuRealtime") : QStringLiteral("mnuMoniter"))
        ->menuAction()
        ->setEnabled(false);
    action(QStringLiteral("Stop"))->setEnabled(false);
}

void frmMain::mnuFileClose()
{
    if (QMdiSubWindow* active = m_mdi->activeSubWindow())
        active->close();
}

void frmMain::mnuFileSave()
{
    if (DataDocument* document = activeDocument())
        m_files.FileSave(*document);
}

void frmMain::mnuFileSaveAs()
{
    if (DataDocument* document = activeDocument())
        m_files.FileSaveAs(*document);
}

void frmMain::mnuFileForward()
{
    if (DataDocument* document = activeDocument())
        m_files.FileForward(*document);
}

void frmMain::mnuSetupCommport()
{
    frmPort dialog(&coComm, this);
    dialog.exec();
    updatePortNote();
}

void frmMain::mnuSetupInterval()
{
    DataDocument* document = activeDocument();
    if (!document)
        return;
    programState().CurrentDoc = document;
    showIntervalDialog(*document);
}

void frmMain::mnuSetupGraph()
{
    DataDocument* document = activeDocument();
    if (!document)
        return;
    programState().CurrentDoc = document;
    frmSetting dialog(document, m_prompter, this);
    dialog.exec();
}

void frmMain::mnuViewToolbar()
{
    QAction* item = action(QStringLiteral("mnuViewToolbar"));
    tbMain->setVisible(!tbMain->isVisible());
    item->setChecked(tbMain->isVisible());
}

void frmMain::mnuViewStatusbar()
{
    QAction* item = action(QStringLiteral("mnuViewStatusbar"));
    statusBar()->setVisible(!statusBar()->isVisible());
    item->setChecked(statusBar()->isVisible());
}

void frmMain::mnuViewMoniter()
{
    if (programState().MonitorShown && m_monitor) {
        if (QWidget* frame = m_monitor->frame())
            frame->close(); // refused while a meter operation runs
    } else {
        showMonitor();
    }
    // The item and the button follow the window, also when its close was refused.
    onMonitorShownChanged(programState().MonitorShown);
}

void frmMain::mnuHelpAbout()
{
    frmAbout about(this);
    about.exec();
}

void frmMain::showIntervalDialog(DataDocument& document)
{
    frmInterval dialog(&document, m_prompter, this);
    dialog.exec();
}

void frmMain::showForwardDialog()
{
    ShowForwardDialog(frmForward::factory(this), *m_prompter);
}

void frmMain::forwardCurrentDocument()
{
    m_forward->ForwardToExcel();
}

RealtimeForwarder& frmMain::realtimeForwarder()
{
    return *m_forward;
}

ReadingObserver* frmMain::readingObserver()
{
    return m_publishing->active() ? m_publishing.get() : nullptr;
}

bool frmMain::beginContinuedRecording(DataDocument& first)
{
    return m_continued->begin(first, *m_prompter);
}

void frmMain::endContinuedRecording(DataDocument& last)
{
    m_continued->end(last);
}

// --- Publishing -----------------------------------------------------------------------------------

void frmMain::buildPublishing()
{
    m_publishing = std::make_unique<Publishing>();
    m_publishingStatus = new QLabel(this);
    m_publishingStatus->setObjectName(QStringLiteral("Publishing"));
    m_publishingStatus->setVisible(false);
    statusBar()->addPermanentWidget(m_publishingStatus);
    connect(m_publishing.get(), &Publishing::statusChanged, this, &frmMain::showPublishingStatus);
}

void frmMain::showPublishingStatus()
{
    m_publishingStatus->setText(m_publishing->statusText());
    m_publishingStatus->setVisible(!m_publishingStatus->text().isEmpty());
}

void frmMain::mnuSetupPublishing()
{
    frmPublishing dialog(readPublishSettings(), m_prompter, this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    const PublishSettings settings = dialog.settings();
    QString error;
    if (!writePublishSettings(settings, &error))
        m_prompter->warn(error);
    if (!m_publishing->apply(settings, &error))
        m_prompter->warn(error);
    showPublishingStatus();
}

// --- Limits --------------------------------------------------------------------------------------

void frmMain::mnuSetupLimits()
{
    frmLimits dialog(m_limits, m_prompter, this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    QString error;
    if (!writeLimitSettings(dialog.limits(), &error))
        m_prompter->warn(error); // they apply to this run all the same
    useLimits(dialog.limits());
}

void frmMain::useLimits(const Limits& limits)
{
    m_limits = limits;
    for (DataDocument* document : openDocuments())
        document->setLimits(m_limits);
    if (m_monitor)
        m_monitor->setLimits(m_limits);
    m_publishing->setLimits(m_limits);
}

std::unique_ptr<ProgressView> frmMain::openProgress()
{
    auto dialog = std::make_unique<frmCancel>(this);
    dialog->setComm(&coComm);
    return dialog;
}

void frmMain::setStatusMessage(const QString& text)
{
    m_msg->setText(text);
}

// --- Switching the commands for a running operation -----------------------------------------------

void frmMain::applyDocumentButtons(bool enabled, int kind)
{
    const DocumentButtons buttons = documentButtons(enabled, kind);
    action(QStringLiteral("Save"))->setEnabled(buttons.save);
    action(QStringLiteral("Forward"))->setEnabled(buttons.forward);
    action(QStringLiteral("Start"))->setEnabled(buttons.start);
    action(QStringLiteral("Interval"))->setEnabled(buttons.interval);
    action(QStringLiteral("Graph"))->setEnabled(buttons.graph);
}

void frmMain::setRunningCommands(bool running, QMenu* operationMenu, QAction* startItem, QAction* stopItem,
                                 QAction* secondStartItem)
{
    for (QMenu* m : std::as_const(m_menus)) {
        if (m != operationMenu)
            m->menuAction()->setEnabled(!running);
    }
    if (running) {
        startItem->setEnabled(false);
        if (secondStartItem)
            secondStartItem->setEnabled(false);
        stopItem->setEnabled(true);
    } else {
        operationMenu->menuAction()->setEnabled(true);
    }
    if (action(QStringLiteral("mnuViewToolbar"))->isChecked()) {
        tbMain->setVisible(!running);
        tbSub->setVisible(running);
        action(QStringLiteral("Stop"))->setEnabled(true);
    }
}

void frmMain::SetRealtimeCommands(bool running)
{
    setRunningCommands(running, menu(QStringLiteral("mnuRealtime")), action(QStringLiteral("mnuRealtimeStart")),
                       action(QStringLiteral("mnuRealtimeStop")), action(QStringLiteral("mnuRealtimeNew")));
    programState().RealtimeCommandsOn = running;
    if (frmData* window = windowOf(programState().RealtimeDoc))
        window->SetRealtimeCommands(running);
}

void frmMain::SetMonitorCommands(bool running)
{
    setRunningCommands(running, menu(QStringLiteral("mnuMoniter")), action(QStringLiteral("mnuMoniterStart")),
                       action(QStringLiteral("mnuMoniterStop")), nullptr);
    // The View menu is off while monitoring: the readings must stay in view by themselves.
    m_monitoring = running;
    if (m_monitor && programState().MonitorShown)
        m_monitor->setKeptInView(running);
}

} // namespace quvo
