#pragma once
// Forward: writes a data document into a spreadsheet sheet (a title, a framed table of the
// readings, the MAX/MIN/AVG block and a line chart beside the table), either whole
// (ForwardToExcel, under the progress dialog) or row by row while a realtime recording
// runs (BeginRealtimeForward, AppendRealtimeRow, EndRealtimeForward).
//
// The sheet layout, N data rows:
//   B2            the title (ExcelTitle), as text
//   B4:D4         the grid's heading row ("TIME", "DATA", "MODE"; "No." in B for SAVE-mode)
//   B5:D(N+4)     time (SAVE-mode: the row number, as a number), reading (number or word),
//                 unit word
//   F4:G6         "MAX", "MIN", "AVG" and the document's statistics texts, as text
//   I4:K7         with limits (beyond the original program), when the document holds
//                 readings of their unit: "UPPER" and "LOWER" with each limit as a number
//                 ("-----" when unset) and its unit, "HI" and "LO" with their counts;
//                 the readings judged HI and LO in C have a red and a blue background
//   frame         medium lines round B4:D(N+4) and under the heading, thin lines inside
//   chart         400 x 200 points with its corner at F8, a line of B5:D(N+4)
//
// Everything goes through the workbook objects of ExcelObjects.h, reached through the
// injected connector; the engine does not know which backend is behind them. Each step
// returns false when a call fails and leaves the call's description in LastError
// (programState()); the steps that run long let other events run between rows and
// between workbooks (at most every EventSlice) and stop, returning false, as soon as
// NoForward is set (the Cancel button of the progress dialog, the Stop command of a
// recording starting up), which they look at after every row.
//
// A whole-document forwarding that is cancelled or fails leaves nothing behind: its new
// sheet is deleted again (a new workbook is closed without saving) before the application
// is handed back, so the person's workbook stays as it was and no new file appears. The
// rows of a realtime recording are the person's data and stay, also when it stops early.
//
// The current document is programState().CurrentDoc (realtime forwarding falls back to
// RealtimeDoc when no current document is set).
//
// Everything runs on the user-interface thread.

#include "acquisition/CommandHost.h"
#include "forward/ExcelObjects.h"

#include <QElapsedTimer>
#include <QString>
#include <QStringList>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

namespace quvo {

class DataDocument;
class ProgressView;
class Prompter;

class Forward : public RealtimeForwarder {
public:
    // Pause between two looks at a spreadsheet application that runs hidden.
    static constexpr std::chrono::milliseconds HiddenInstancePoll{250};
    // The long steps let events run at most this often: often enough for the progress
    // dialog to move and for Cancel to be answered at once, seldom enough that a full
    // document is not slowed down by painting the dialog after every row.
    static constexpr std::chrono::milliseconds EventSlice{15};

    explicit Forward(ExcelConnector* connector = nullptr);
    ~Forward() override;
    Forward(const Forward&) = delete;
    Forward& operator=(const Forward&) = delete;

    // --- Seams -------------------------------------------------------------------------
    // How the spreadsheet application is reached. Without one, forwarding fails with a
    // message saying so.
    void setConnector(ExcelConnector* connector);
    // Message boxes (the failure of a whole-document forwarding). Without one nothing is shown.
    void setPrompter(Prompter* prompter);
    // Makes the progress and cancel dialog of a whole-document forwarding. Without one no
    // progress is shown.
    void setProgressFactory(std::function<std::unique_ptr<ProgressView>()> factory);
    // Bring the document window, and the main window, to the front again after the progress
    // dialog has gone. No-ops without a screen.
    void setActivateDocumentWindow(std::function<void()> hook);
    void setActivateMainWindow(std::function<void()> hook);
    // How long to let events run between two looks at a hidden running application.
    void setHiddenInstancePoll(std::chrono::milliseconds interval);
    // How often the long steps let events run (EventSlice; 0: after every row).
    void setEventSlice(std::chrono::milliseconds slice);

    // Failures of the last step of a forwarding, when the application is handed back to
    // the user (the .xlsx backend writes its files then). The forwarding itself ignores
    // errors of that step, so the backend reports them here (XlsxSettings::reportFailure
    // = handBackFailureReporter()) and the engine shows them once, in a message box, at the
    // end of the operation that caused them. The reporter stays safe to call after the
    // engine is gone.
    std::function<void(const QString& message)> handBackFailureReporter();
    // The reports not shown yet, taken away (the engine shows them itself when it has a
    // prompter).
    QStringList takeHandBackFailures();
    // How the backend waits for a workbook it writes at hand-back (XlsxSettings::waitForWrite
    // = handBackWaiter()). At the end of a whole-document forwarding the workbook is written
    // while the progress dialog is still shown: the waiter lets events run until the writing
    // is done, so the dialog moves and Cancel is answered, and tells the backend to put
    // nothing in place when NoForward was set meanwhile. At any other hand-back (the end of
    // a recording, whose rows must be kept) it does not wait. Safe to call after the engine
    // is gone.
    std::function<bool(const std::function<bool()>& done)> handBackWaiter();

    // --- Whole-document forwarding ------------------------------------------------------
    // The current document into the workbook named by ExcelFile (a new one when empty),
    // titled ExcelTitle, under the progress dialog; CommState is 0 meanwhile and 7 after.
    // The application is handed back (the workbook written) before the dialog goes. A
    // failure or a Cancel discards the new sheet and is shown in a message box with
    // LastError.
    void ForwardToExcel();

    // The steps, each true when done (false: LastError says why, or NoForward was set).
    // Attaches to a running application or starts one; waits while a running one is hidden.
    bool GetExcelApplication(std::shared_ptr<ExcelApplication>& app);
    // A fresh sheet: the first sheet of a new workbook when ExcelFile is empty, otherwise a
    // new last sheet of that workbook (opened unless already open under exactly that name).
    bool OpenWorkbookSheet(ExcelApplication& app, std::shared_ptr<ExcelWorksheet>& sheet);
    // The heading row and every data row of the current document.
    bool WriteDataRows(ExcelWorksheet& sheet);
    // Title, frame lines, heading alignment and the MAX/MIN/AVG block for `rowCount` rows.
    bool WriteTableFrame(ExcelWorksheet& sheet, std::int32_t rowCount);
    // The line chart of B5:D(rowCount+4).
    bool AddDataChart(ExcelWorksheet& sheet, std::int32_t rowCount);
    // With limits: the limits and the counts beside the summary, and the readings judged HI
    // and LO highlighted. Nothing without limits, or when no reading is of their unit.
    bool WriteJudgement(ExcelWorksheet& sheet, std::int32_t rowCount);

    // The backgrounds of the readings judged HI and LO (xl::rgb).
    static constexpr std::int32_t HiFill = xl::rgb(255, 199, 206);
    static constexpr std::int32_t LoFill = xl::rgb(189, 215, 238);

    // --- Realtime forwarding -------------------------------------------------------------
    bool BeginRealtimeForward() override;
    bool AppendRealtimeRow(const QString& timeText, const QString& displayText, const QString& unitText) override;
    void EndRealtimeForward() override;
    void releaseRealtimeForward() override;
    bool nextRealtimeSheet() override;

    const std::shared_ptr<ExcelApplication>& RealtimeExcel() const { return m_realtimeExcel; }
    const std::shared_ptr<ExcelWorksheet>& RealtimeSheet() const { return m_realtimeSheet; }
    std::int32_t RealtimeRowCount() const { return m_realtimeRowCount; }

private:
    struct Shared;

    void letOtherEventsRun();
    void waitForHiddenInstance();
    void showHandBackFailures();
    void discardSheet(std::shared_ptr<ExcelWorksheet>& sheet);
    static DataDocument* currentDocument();
    static DataDocument* realtimeDocument();

    ExcelConnector* m_connector = nullptr;
    Prompter* m_prompter = nullptr;
    std::function<std::unique_ptr<ProgressView>()> m_progressFactory;
    std::function<void()> m_activateDocument;
    std::function<void()> m_activateMain;
    std::chrono::milliseconds m_hiddenPoll = HiddenInstancePoll;
    std::shared_ptr<Shared> m_shared;

    ProgressView* m_progress = nullptr; // the dialog while ForwardToExcel runs
    std::chrono::milliseconds m_eventSlice = EventSlice;
    QElapsedTimer m_sinceEvents; // since events last ran

    std::shared_ptr<ExcelApplication> m_realtimeExcel;
    std::shared_ptr<ExcelWorksheet> m_realtimeSheet;
    std::int32_t m_realtimeRowCount = 0;
};

} // namespace quvo
