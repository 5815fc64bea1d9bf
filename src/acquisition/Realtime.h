#pragma once
// Realtime recording and monitor mode: the meter is asked for its reading ("RR,1") once a
// second, and the answer is read at the next second. In a recording every interval-th
// answer becomes a row of the realtime document (RealtimeDoc), the others only refresh the
// Monitor; in monitor mode every answer goes to the Monitor.
//
// Timing. The tick (tmRealtime_Timer) does its work only when the clock has crossed a
// whole-second boundary since the last tick. Two timers call it: tmRealtime every 100 ms,
// which bounds how late a second can be handled, and tmBoundary, a precise single-shot
// timer set anew every second to fire BoundaryDelayMs after the next boundary, so that the
// request of a second normally leaves within a few milliseconds of it. The clock is
// injectable; tests use a fake clock, switch the timers off (setAutomaticTicks) and call
// the tick themselves.
//
// Program-wide values (CommState, RecvBuffer, TickArmed, StopRequested, NoForward,
// LastError, MeterModel, RealtimeDoc) are in programState(); the values that only this
// module uses (StartTimeText, LastSampleTimeText, SecondCount, LastTickTime, FirstTick,
// DisplayOnly) are members here.
//
// A lost port (cable pulled, adapter gone) during a recording or monitor mode ends the
// operation as a Stop would, at once: "PL,0" cannot be sent, the port is closed, the rows
// recorded so far stay, CommState goes back to 7 and the link's message is shown once.
// StopRealtime and StopMonitor show that message themselves whenever the link was lost, so
// it appears once whichever way the loss is noticed (the tick, the link's signal, a failed
// command of the start or stop sequence).
//
// How the main window uses it: one Realtime with the program's Comm and the window as its
// CommandHost; setJournalFolder(program folder); restoreInterruptedRecordings() once the
// windows are up; the menu items and the tool bar's Stop button call the mnu... functions and
// StopButton(); when the Realtime or Monitor menu drops down, RealtimeMenuOnDropDown or
// MoniterMenuOnDropDown says what to enable; after a successful save of a realtime document
// it calls releaseJournal(document) (a closed, destroyed document is handled here).
//
// A document whose continueWhenFull option is on goes on in a new document when full: at
// Start the host's beginContinuedRecording sets up the parts (RecordingParts, which installs
// the document-full handler below), and when the recording ends endContinuedRecording is
// given the document it ended in. With forwarding, each document gets a sheet of its own.

#include "acquisition/CommandHost.h"
#include "acquisition/ReadingObserver.h"

#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace quvo {

class Comm;
class DataDocument;
class RecordingJournal;

// Where the tick reads the time from.
class RealtimeClock {
public:
    virtual ~RealtimeClock() = default;
    virtual QDateTime now() const = 0;
};

// The computer's clock (local time).
class SystemClock : public RealtimeClock {
public:
    QDateTime now() const override { return QDateTime::currentDateTime(); }
};

// --- Drop-down menus and the Stop button (pure rules; the main window applies them) ------

// Enabled items of the Realtime menu when it drops down.
struct RealtimeMenuState {
    bool New = false;
    bool Start = false;
    bool Stop = false;
    friend bool operator==(const RealtimeMenuState&, const RealtimeMenuState&) = default;
};
// Only while idle (CommState 7) does the drop-down change anything (std::nullopt otherwise):
// New enabled; Start enabled when a document is open and the active window is a realtime
// document (kind 2); Stop disabled.
std::optional<RealtimeMenuState> RealtimeMenuOnDropDown(int commState, bool documentOpen, int activeKind);

// Enabled items of the Monitor menu when it drops down: while idle Start enabled and Stop
// disabled; otherwise std::nullopt (unchanged).
struct MoniterMenuState {
    bool Start = false;
    bool Stop = false;
    friend bool operator==(const MoniterMenuState&, const MoniterMenuState&) = default;
};
std::optional<MoniterMenuState> MoniterMenuOnDropDown(int commState);

// The tool bar's Stop button stops a recording in CommState 2, 3 and 4 and monitor mode in
// every other state.
StopTarget StopButtonTarget(int commState);

// How the last recording or monitor run ended.
enum class RealtimeEnd {
    None,            // nothing has run yet
    StartFailed,     // "PL,1" failed: the operation did not start
    ForwardAbandoned,// the user gave up forwarding while it was being started
    PeriodOver,      // the period is over, or the document is full
    Stopped,         // Stop
    Failed,          // the document refused a row, or its interval or period is unusable
                     // (message shown)
    PortLost,        // the link was lost (message shown)
};

class Realtime : public QObject {
    Q_OBJECT
public:
    // Lateness of the precise wake-up after a second boundary.
    static constexpr int BoundaryDelayMs = 2;

    Realtime(Comm& comm, CommandHost& host, QObject* parent = nullptr);
    ~Realtime() override; // removes the journals of finished recordings (a clean exit)

    Realtime(const Realtime&) = delete;
    Realtime& operator=(const Realtime&) = delete;

    // --- Set-up ------------------------------------------------------------------------
    // The clock of the tick; null means the computer's clock. Not owned.
    void setClock(const RealtimeClock* clock);
    // With false the timers never run; the caller calls tmRealtime_Timer() itself (tests).
    void setAutomaticTicks(bool on);
    // The folder for recording journals; empty (the default) records without a journal.
    void setJournalFolder(const QString& folder);
    // What a recording does when its document is full. Without a handler (the default) the
    // recording ends there. With one, the handler is given the full document right after
    // its last row was recorded and returns the realtime document the recording goes on
    // in (a new, empty one with the same interval and period), or null to end the
    // recording. The next sample goes into the new document with the next time label, so
    // the recording goes on without a gap; a period counts from the recording's start.
    // The full document's journal is closed before the handler runs: the handler calls
    // releaseJournal(full) once the document is saved, keepJournal(full) when it could not
    // be. The new document gets a journal of its own.
    void setDocumentFullHandler(std::function<DataDocument*(DataDocument& full)> handler);
    // How many readings make a document full: MaxReadings unless set lower (1 at least).
    void setDocumentLimit(int readings);
    int documentLimit() const { return m_documentLimit; }

    // --- Menu commands -------------------------------------------------------------------
    void mnuRealtimeNew();
    void mnuRealtimeStart();
    void mnuRealtimeStop();
    void mnuMoniterStart();
    void mnuMoniterStop();
    // The tool bar's "Stop" button.
    void StopButton();

    // --- Realtime procedures -----------------------------------------------------------------
    void IniRealtimeProgress();
    void StartRealtime();
    void OnRealtimeFirstTick(std::int64_t elapsed);
    void OnRealtimeTick(std::int64_t elapsed);
    void RequestRealtimeReading();
    void RequestReading();
    QString TakeAnswerLine();
    bool AdvanceRealtimeCount();
    bool RecordRealtimeSample(const QString& answer);
    void StopRealtime(bool showMessage);
    void SetRealtimeCommands(bool running);

    // --- Monitor procedures --------------------------------------------------------------------
    void StartMonitor();
    void RequestMonitorReading();
    void OnMonitorFirstTick(std::int64_t elapsed);
    void OnMonitorTick(std::int64_t elapsed);
    void StopMonitor();
    void SetMonitorCommands(bool running);

    // --- The tick ------------------------------------------------------------------------------
    // tmRealtime's timer event (also tmBoundary's).
    void tmRealtime_Timer();
    bool tmRealtimeEnabled() const { return m_timerEnabled; }

    // --- Module state --------------------------------------------------------------------------
    QString StartTimeText() const { return m_startTimeText; }
    QString LastSampleTimeText() const { return m_lastSampleTimeText; }
    std::int32_t SecondCount() const { return m_secondCount; }
    QDateTime LastTickTime() const { return m_lastTickTime; }
    bool FirstTick() const { return m_firstTick; }
    bool DisplayOnly() const { return m_displayOnly; }
    RealtimeEnd lastEnd() const { return m_lastEnd; }

    // --- Recording journals --------------------------------------------------------------------
    // The document was saved to a data file, or closed: the journal of its recordings is no
    // longer needed and is removed. The window calls this after a successful SaveFile and
    // when the document closes (a destroyed document is handled by itself).
    void releaseJournal(const DataDocument* document);
    // The document could not be saved: its journal stays on the disk (unlocked once this
    // object lets go of it) so that a later restore finds it.
    void keepJournal(const DataDocument* document);
    // The journal of a document's recordings, or empty.
    QString journalPath(const DataDocument* document) const;
    // At start: journals left behind by a crash are offered one by one ("restore or
    // discard", through the prompter). A restored recording becomes a new realtime document
    // whose journal is kept until it is saved or closed. Returns the number restored.
    int restoreInterruptedRecordings();

signals:
    // A row was recorded (and, with a journal, is on the disk): its time label, value and unit.
    void sampleRecorded(const QString& label, const QString& display, const QString& unit);
    // A recording or monitor run has ended (CommState is 7 again).
    void operationEnded();

private:
    QDateTime now() const;
    void enableTimer(bool on);
    void armBoundaryTimer();
    void onBoundaryTimer();
    void onPortLost();
    bool stopIfLinkLost();
    void keepAnswerBeforeLoss();
    void endRealtime(RealtimeEnd reason, bool showMessage);
    // One second of the recording: the answer recorded as a row on a sample second (only
    // shown on the Monitor otherwise), then the count advanced. False when that ended the
    // recording.
    bool takeSecond(const QString& answer, bool sampleSecond);
    void showOnMonitor(const QString& answer, bool createIfNeeded);
    void showReading(const QString& answer, bool createIfNeeded);
    void reportActivity(MeterActivity activity);
    void beginJournal(DataDocument& document);
    void finishJournal();
    void journalRow(const QString& label, const QString& display, const QString& unit, bool valid,
                    const QString& numeric);
    void dropJournal(const QString& reason);
    bool continueInNewDocument();
    void endContinuedRecording();

    Comm& m_comm;
    CommandHost& m_host;
    SystemClock m_systemClock;
    const RealtimeClock* m_clock = &m_systemClock;
    QTimer tmRealtime{this};
    QTimer tmBoundary{this};
    bool m_automaticTicks = true;
    bool m_timerEnabled = false;
    bool m_inTick = false;

    QString m_startTimeText;
    QString m_lastSampleTimeText;
    std::int32_t m_secondCount = 0;
    QDateTime m_lastTickTime;
    bool m_firstTick = false;
    bool m_displayOnly = false;
    bool m_answerPending = false; // a request was written and no tick has taken its answer yet
    QDateTime m_requestedAt;      // the second of the last request (invalid before the first of a run)
    RealtimeEnd m_lastEnd = RealtimeEnd::None;
    RealtimeEnd m_pendingEnd = RealtimeEnd::None; // why the stop now under way happens

    std::function<DataDocument*(DataDocument&)> m_fullHandler;
    int m_documentLimit;
    bool m_continuedRecording = false; // the host's beginContinuedRecording said yes

    QString m_journalFolder;
    RecordingJournal* m_journal = nullptr; // the running recording's journal (owned by m_journals)
    std::map<const DataDocument*, std::unique_ptr<RecordingJournal>> m_journals;
};

} // namespace quvo
