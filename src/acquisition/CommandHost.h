#pragma once
// What meter operations ask of the program around them. The desktop program's main window
// answers with windows and dialogs; the command-line program and the tests answer without
// any (HeadlessHost). Acquisition code never touches a widget: it calls these.

#include <QString>

#include <memory>

namespace quvo {

class DataDocument;
class Prompter;
class ProgressView;
class ReadingObserver;

// Receives one meter answer line (or "ERROR") for the live reading display: the Monitor
// window's SetData.
class MonitorSink {
public:
    virtual ~MonitorSink() = default;
    // Shows the answer as the Monitor does (MonitorText of the line, then a blank).
    virtual void SetData(const QString& answer) = 0;
};

// Realtime rows forwarded to a workbook while they are recorded.
class RealtimeForwarder {
public:
    virtual ~RealtimeForwarder() = default;
    // Opens the sheet for the rows to come. False with LastError set when forwarding could
    // not start; an empty LastError means the user gave up.
    virtual bool BeginRealtimeForward() = 0;
    // Appends one recorded row. False with LastError set when it could not be written.
    virtual bool AppendRealtimeRow(const QString& timeText, const QString& displayText, const QString& unitText) = 0;
    // The recording ended: frame, summary and chart, then the workbook is handed to the user.
    // Also called after a BeginRealtimeForward that failed while NoForward stayed false,
    // so it must be harmless when nothing is held.
    virtual void EndRealtimeForward() = 0;
    // Drops the workbook objects after a failed row (recording goes on without forwarding).
    virtual void releaseRealtimeForward() = 0;
    // The recording goes on in a new document (its document was full): the sheet so far is
    // finished (frame, summary and chart) and the rows to come go to a new sheet of the same
    // workbook, behind the last one. False with LastError set when that failed. A forwarder
    // that cannot do it keeps the rows on the one sheet.
    virtual bool nextRealtimeSheet() { return true; }
};

// Which operation the tool bar's Stop button (and the Stop menu items) ended.
enum class StopTarget { Realtime, Monitor };

class CommandHost {
public:
    virtual ~CommandHost() = default;

    // Every message box and question of an operation.
    virtual Prompter& prompter() = 0;

    // Switches menus and tool bars (and the recording document's own controls) between the
    // idle state and a running recording (SetRealtimeCommands) or monitor mode
    // (SetMonitorCommands). Switching back also enables again what disableStopCommands
    // disabled.
    virtual void SetRealtimeCommands(bool running) = 0;
    virtual void SetMonitorCommands(bool running) = 0;

    // Stop was chosen: disables the mnuRealtime menu (StopTarget::Realtime) or the mnuMoniter
    // menu (StopTarget::Monitor) and the tool bar's "Stop" button, so that Stop cannot be
    // pressed twice while the operation winds down at the next second.
    virtual void disableStopCommands(StopTarget target) = 0;

    // The main status text (the "Msg" panel).
    virtual void setStatusMessage(const QString& text) = 0;

    // The Monitor when it is shown; with createIfNeeded it is shown (and brought forward)
    // first. Null when there is none (a host without a Monitor).
    virtual MonitorSink* monitor(bool createIfNeeded) = 0;
    // Monitor › Start: the Monitor shown (made when needed) and brought to the front, above
    // every document, also when it is shown already.
    virtual MonitorSink* bringMonitorForward() { return monitor(true); }

    // A new progress and cancel dialog for a download or a forwarding, not yet shown.
    virtual std::unique_ptr<ProgressView> openProgress() = 0;

    // A new document (its window, in the desktop program) already made with OpenNew(kind)
    // and made the active one. The host owns it.
    virtual DataDocument* newDocument(int kind) = 0;
    // The document of the active window, or null (also when the active window is the Monitor).
    virtual DataDocument* activeDocument() = 0;

    // The Interval and period dialog for a document, modal.
    virtual void showIntervalDialog(DataDocument& document) = 0;
    // The Forward dialog, modal: leaves NoForward false when confirmed, true when cancelled
    // (ExcelFile and ExcelTitle then say where the rows go).
    virtual void showForwardDialog() = 0;
    // Forwards the current document (programState().CurrentDoc) whole, with its own progress
    // dialog and messages.
    virtual void forwardCurrentDocument() = 0;

    // Forwarding of realtime rows.
    virtual RealtimeForwarder& realtimeForwarder() = 0;

    // A recording whose document goes on in a new one when full (the document's
    // continueWhenFull option) is about to start in `first`: the host sets up where its parts
    // go (the desktop program asks for the folder). False when the person cancelled: the
    // recording does not start. endContinuedRecording follows every true answer, once the
    // recording has ended (or could not begin), with the document it ended in.
    virtual bool beginContinuedRecording(DataDocument& first)
    {
        (void)first;
        return true;
    }
    virtual void endContinuedRecording(DataDocument& last) { (void)last; }

    // Who else is told of every reading and of what the link is busy with (publishing to a
    // message broker, ReadingObserver.h); null when nobody is.
    virtual ReadingObserver* readingObserver() { return nullptr; }
};

} // namespace quvo
