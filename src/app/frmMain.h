#pragma once
// frmMain: the program's main window. It is the frame around the child windows (data
// documents and the Monitor), carries the menus, the two tool bars (tbMain with the ordinary
// commands, tbSub with the single Stop button) and the status bar sbMain, and owns the meter
// link. It decides nothing itself that a test could not check without a screen: the menu
// rules are in CommandRules, the file commands in FileCommands, the meter operations in
// Realtime and Download, forwarding in Forward. Here they are wired to widgets.
//
// The window is also the CommandHost of the meter operations (dialogs, child windows,
// progress dialog, status text) and the DocumentWindows of the file commands.

#include "acquisition/CommandHost.h"
#include "acquisition/frmMoniter.h"
#include "app/FileCommands.h"
#include "app/QtPrompter.h"
#include "app/Settings.h"
#include "document/Limits.h"
#include "link/Comm.h"

#include <QHash>
#include <QMainWindow>
#include <QPointer>

#include <functional>
#include <memory>

class QAction;
class QLabel;
class QMdiArea;
class QMdiSubWindow;
class QMenu;
class QToolBar;

namespace quvo {

class ContinuedRecording;
class Download;
class Forward;
class Publishing;
class Realtime;
class XlsxConnector;
class frmData;

class frmMain : public QMainWindow, public CommandHost, public DocumentWindows {
    Q_OBJECT

public:
    explicit frmMain(QWidget* parent = nullptr);
    ~frmMain() override;

    // The window's load: caption, menu captions and tool tips, the idle state, the program
    // paths, the settings file, the serial port (portOverride, when given, instead of the
    // settings file's port for this run) and the stored placement.
    void Load(const QString& portOverride = QString());

    // The run talks to the built-in simulated meter on this device: the status bar says so
    // while the port is that device.
    void setSimulatorPort(const QString& device);

    // Message boxes and file dialogs (tests put a scripted prompter here).
    void setPrompter(Prompter* prompter);

    Comm& link() { return coComm; }
    Realtime& realtime() { return *m_realtime; }
    Download& download() { return *m_download; }
    Publishing& publishing() { return *m_publishing; }
    FileCommands& fileCommands() { return m_files; }
    QMdiArea* mdiArea() const { return m_mdi; }

    // The Monitor window, shown (made when needed) and brought forward.
    frmMoniter* showMonitor();
    frmMoniter* monitorWindow() const { return m_monitor; }

    // The data window of a document, or null.
    frmData* windowOf(const DataDocument* document) const;

    // A menu item or tool-bar button by its name ("mnuFileOpen") or key ("Stop").
    QAction* action(const QString& name) const;
    QMenu* menu(const QString& name) const;

    // The placement kept while the window was last in its normal state, in twips.
    Placement normalPlacement() const { return m_normal; }

    // The limits every document, the Monitor and publishing judge readings against (none
    // unless the person set some in Settings › Limits..., which keeps them in the per-user
    // store). useLimits hands other limits to every window for this run only.
    const Limits& limits() const { return m_limits; }
    void useLimits(const Limits& limits);

    // The tool-bar dispatch: the command of a tbMain key; an unknown key does nothing.
    void runToolbarKey(const QString& key);
    // Runs the procedure of a menu item's command ("mnuFileSave"); an unknown name does nothing.
    void runCommand(const QString& item);

    // --- CommandHost ------------------------------------------------------------------------
    Prompter& prompter() override;
    void SetRealtimeCommands(bool running) override;
    void SetMonitorCommands(bool running) override;
    void disableStopCommands(StopTarget target) override;
    void setStatusMessage(const QString& text) override;
    MonitorSink* monitor(bool createIfNeeded) override;
    MonitorSink* bringMonitorForward() override;
    std::unique_ptr<ProgressView> openProgress() override;
    DataDocument* newDocument(int kind) override;
    DataDocument* activeDocument() override;
    void showIntervalDialog(DataDocument& document) override;
    void showForwardDialog() override;
    void forwardCurrentDocument() override;
    RealtimeForwarder& realtimeForwarder() override;
    ReadingObserver* readingObserver() override;
    bool beginContinuedRecording(DataDocument& first) override;
    void endContinuedRecording(DataDocument& last) override;

    // --- DocumentWindows --------------------------------------------------------------------
    QList<DataDocument*> openDocuments() const override;
    DataDocument* createDocumentWindow() override;
    void discardDocumentWindow(DataDocument* document) override;
    void documentSaved(DataDocument* document) override;

protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void moveEvent(QMoveEvent* event) override;

private:
    void buildMenus();
    void buildToolbars();
    void buildStatusBar();
    void SetMenuCaptions();
    void SetToolTips();
    void updatePortNote();

    // What each menu offers when it drops down.
    void onFileMenu();
    void onRealtimeMenu();
    void onMoniterMenu();
    void onSetupMenu();

    // Menu and button commands.
    void mnuFileClose();
    void mnuFileSave();
    void mnuFileSaveAs();
    void mnuFileForward();
    void mnuSetupCommport();
    void mnuSetupInterval();
    void mnuSetupGraph();
    void mnuViewToolbar();
    void mnuViewStatusbar();
    void mnuViewMoniter();
    void mnuHelpAbout();
    void stopButton();

    // Publishing to a message broker: Settings › Publishing... and its status bar panel.
    void buildPublishing();
    void mnuSetupPublishing();
    void showPublishingStatus();

    // Limits: Settings › Limits... (and its tool-bar button), handed to every window.
    void mnuSetupLimits();

    void Resize();
    void Unload();
    // The exit's save questions, one per document with unsaved changes, before anything
    // closes; false when one of them was cancelled (or its save did not happen).
    bool answerCloseQuestions();
    Placement currentPlacement() const;
    void applyStoredPlacement();
    void setRunningCommands(bool running, QMenu* operationMenu, QAction* startItem, QAction* stopItem,
                            QAction* secondStartItem);
    void applyDocumentButtons(bool enabled, int kind);
    void onMonitorShownChanged(bool shown);
    frmData* activeDataWindow() const;
    frmData* makeDataWindow();
    QMdiSubWindow* addChild(QWidget* child);

    Comm coComm;
    QtPrompter m_qtPrompter;
    Prompter* m_prompter;
    FileCommands m_files;
    std::unique_ptr<Realtime> m_realtime;
    std::unique_ptr<Download> m_download;
    std::unique_ptr<XlsxConnector> m_workbooks;
    std::unique_ptr<Forward> m_forward;
    std::unique_ptr<Publishing> m_publishing;
    std::unique_ptr<ContinuedRecording> m_continued; // a recording that goes on past a full document

    QMdiArea* m_mdi = nullptr;
    QToolBar* tbMain = nullptr;
    QToolBar* tbSub = nullptr;
    QLabel* m_msg = nullptr;
    QLabel* m_publishingStatus = nullptr;
    QLabel* m_portNote = nullptr; // the port of this run, or the simulated meter
    QHash<QString, QMenu*> m_menus;
    QHash<QString, QAction*> m_actions;
    QHash<QString, std::function<void()>> m_commands; // menu item name -> its procedure
    QPointer<frmMoniter> m_monitor;
    Limits m_limits;
    Placement m_normal = DefaultMainPlacement;
    bool m_loaded = false;
    QString m_simulatorPort; // the simulated meter's device, when this run has one
    bool m_monitoring = false; // monitor mode runs: the Monitor is kept in view
};

} // namespace quvo
