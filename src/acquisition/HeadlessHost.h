#pragma once
// A CommandHost without windows, for the command-line program and the tests.
//
// - Questions are answered without asking: by the answer set with setQuestionAnswer (No
//   unless told otherwise; the command-line program answers Yes only to a forwarding
//   question when forwarding is configured). Messages go to the message handler (the
//   command-line program writes them to stderr) and are kept in messages().
// - Documents have no windows: newDocument makes one, owned here, and makes it active.
// - The progress dialog comes from a factory (the command-line program draws a bar on
//   stderr); without one, progress is not shown.
// - Nothing is forwarded unless a forwarder is given: the Forward dialog counts as
//   cancelled (NoForward true), forwardCurrentDocument does nothing. Workbook forwarding
//   plugs in here: setRealtimeForwarder() for rows during a recording, and
//   setDocumentForwarder() for a whole document after a download; with either set,
//   setForwardConfirmed(true) makes the Forward dialog count as confirmed.

#include "acquisition/CommandHost.h"
#include "resources/Prompter.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

namespace quvo {

class HeadlessHost : public CommandHost {
public:
    HeadlessHost();
    ~HeadlessHost() override;

    HeadlessHost(const HeadlessHost&) = delete;
    HeadlessHost& operator=(const HeadlessHost&) = delete;

    // --- Configuration ------------------------------------------------------------------
    // The answer to every Yes/No question (Cancel is never given).
    void setQuestionAnswer(PromptAnswer answer);
    // Receives every message box's text (CR LF already turned into LF).
    void setMessageHandler(std::function<void(const QString& text)> handler);
    // Makes the progress dialogs of downloads.
    void setProgressFactory(std::function<std::unique_ptr<ProgressView>()> factory);
    // The Monitor: null means there is none. Not owned.
    void setMonitor(MonitorSink* monitor);
    // Forwarding of realtime rows; null means none (BeginRealtimeForward fails). Not owned.
    void setRealtimeForwarder(RealtimeForwarder* forwarder);
    // Who else is told of every reading (publishing); null means nobody. Not owned.
    void setReadingObserver(ReadingObserver* observer);
    // Forwarding of a whole document (the current document); empty means none.
    void setDocumentForwarder(std::function<void()> forward);
    // Whether the Forward dialog counts as confirmed (NoForward false) or cancelled.
    void setForwardConfirmed(bool confirmed);
    // Makes a document of this host (or null) the active one.
    void setActiveDocument(DataDocument* document);

    // --- What happened -------------------------------------------------------------------
    QStringList messages() const;          // texts of the message boxes, as shown
    QStringList questions() const;         // texts of the questions asked
    QString statusMessage() const { return m_status; }
    bool realtimeCommandsRunning() const { return m_realtimeRunning; }
    bool monitorCommandsRunning() const { return m_monitorRunning; }
    bool stopEnabled() const { return m_stopEnabled; }
    int forwardDialogCount() const { return m_forwardDialogs; }
    int intervalDialogCount() const { return m_intervalDialogs; }
    const std::vector<std::unique_ptr<DataDocument>>& documents() const { return m_documents; }

    // --- CommandHost ---------------------------------------------------------------------
    Prompter& prompter() override;
    void SetRealtimeCommands(bool running) override;
    void SetMonitorCommands(bool running) override;
    void disableStopCommands(StopTarget target) override;
    void setStatusMessage(const QString& text) override;
    MonitorSink* monitor(bool createIfNeeded) override;
    std::unique_ptr<ProgressView> openProgress() override;
    DataDocument* newDocument(int kind) override;
    DataDocument* activeDocument() override;
    void showIntervalDialog(DataDocument& document) override;
    void showForwardDialog() override;
    void forwardCurrentDocument() override;
    RealtimeForwarder& realtimeForwarder() override;
    ReadingObserver* readingObserver() override;

private:
    class AnsweringPrompter;
    class NoForwarder;

    std::unique_ptr<AnsweringPrompter> m_prompter;
    std::unique_ptr<NoForwarder> m_noForwarder;
    std::function<std::unique_ptr<ProgressView>()> m_progressFactory;
    std::function<void()> m_documentForwarder;
    MonitorSink* m_monitor = nullptr;
    RealtimeForwarder* m_forwarder = nullptr;
    ReadingObserver* m_readingObserver = nullptr;
    bool m_forwardConfirmed = false;
    std::vector<std::unique_ptr<DataDocument>> m_documents;
    DataDocument* m_active = nullptr;
    QString m_status;
    bool m_realtimeRunning = false;
    bool m_monitorRunning = false;
    bool m_stopEnabled = false;
    int m_forwardDialogs = 0;
    int m_intervalDialogs = 0;
};

} // namespace quvo
