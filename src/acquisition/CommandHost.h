#pragma once
// What meter operations ask of the program around them. The desktop program's main window
// answers with windows and dialogs; the command-line program and the tests answer without
// any. Acquisition code never touches a widget: it calls these.

#include <QString>

#include <memory>

namespace quvo {

class DataDocument;
class Prompter;
class ProgressView;

// Receives one meter answer line (or "ERROR") for the live reading display.
class MonitorSink {
public:
    virtual ~MonitorSink() = default;
    virtual void SetData(const QString& answer) = 0;
};

// Realtime rows forwarded to a workbook while they are recorded.
class RealtimeForwarder {
public:
    virtual ~RealtimeForwarder() = default;
    // False with LastError set when forwarding could not start; an empty LastError means
    // the user gave up.
    virtual bool BeginRealtimeForward() = 0;
    virtual bool AppendRealtimeRow(const QString& timeText, const QString& displayText, const QString& unitText) = 0;
    virtual void EndRealtimeForward() = 0;
    // Drops the workbook objects after a failed row (recording goes on without forwarding).
    virtual void releaseRealtimeForward() = 0;
};

class CommandHost {
public:
    virtual ~CommandHost() = default;

    virtual Prompter& prompter() = 0;

    // Switches menus and tool bars (and the recording document's own controls) between the
    // idle state and a running operation.
    virtual void SetRealtimeCommands(bool running) = 0;
    virtual void SetMonitorCommands(bool running) = 0;

    // The main status text (the "Msg" panel).
    virtual void setStatusMessage(const QString& text) = 0;

    // The Monitor when it is shown; with createIfNeeded, shown first. Null when there is none.
    virtual MonitorSink* monitor(bool createIfNeeded) = 0;

    // A new progress and cancel dialog for a download or a forwarding.
    virtual std::unique_ptr<ProgressView> openProgress() = 0;

    // A new document (its window, in the desktop program) already made with OpenNew(kind).
    virtual DataDocument* newDocument(int kind) = 0;
    // The document of the active window, or null.
    virtual DataDocument* activeDocument() = 0;

    // The Interval and period dialog for a document, modal.
    virtual void showIntervalDialog(DataDocument& document) = 0;
    // The Forward dialog, modal: leaves NoForward false when confirmed, true when cancelled.
    virtual void showForwardDialog() = 0;
    // Forwards the current document whole (progress dialog, messages included).
    virtual void forwardCurrentDocument() = 0;

    // Forwarding of realtime rows.
    virtual RealtimeForwarder& realtimeForwarder() = 0;
};

} // namespace quvo
