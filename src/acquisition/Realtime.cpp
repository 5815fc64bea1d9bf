#include "acquisition/Realtime.h"

#include "acquisition/IntervalRules.h"
#include "acquisition/ReadingObserver.h"
#include "acquisition/RecordingJournal.h"
#include "document/DataDocument.h"
#include "link/Comm.h"
#include "link/ReadingDecoder.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/Prompter.h"
#include "resources/ResID.h"
#include "resources/RuntimeError.h"
#include "resources/TextNumber.h"
#include "resources/TimeText.h"

#include <QFileInfo>

namespace quvo {

// --- Drop-down menus and the Stop button --------------------------------------------------------

std::optional<RealtimeMenuState> RealtimeMenuOnDropDown(int commState, bool documentOpen, int activeKind)
{
    if (commState != CommStates::Idle)
        return std::nullopt;
    return RealtimeMenuState{true, documentOpen && activeKind == DataKinds::Realtime, false};
}

std::optional<MoniterMenuState> MoniterMenuOnDropDown(int commState)
{
    if (commState != CommStates::Idle)
        return std::nullopt;
    return MoniterMenuState{true, false};
}

StopTarget StopButtonTarget(int commState)
{
    switch (commState) {
    case CommStates::RealtimeForward:
    case CommStates::Realtime:
    case CommStates::RealtimeCommand:
        return StopTarget::Realtime;
    default:
        return StopTarget::Monitor;
    }
}

namespace {

// "Forward error occurred. (<reason>)"
QString forwardErrorText()
{
    return ResID(Res::ForwardError) + QStringLiteral(" (") + programState().LastError + QStringLiteral(")");
}

} // namespace

// --- Set-up ---------------------------------------------------------------------------------------

Realtime::Realtime(Comm& comm, CommandHost& host, QObject* parent)
    : QObject(parent), m_comm(comm), m_host(host), m_documentLimit(MaxReadings)
{
    setObjectName(QStringLiteral("Realtime"));
    tmRealtime.setObjectName(QStringLiteral("tmRealtime"));
    tmRealtime.setInterval(RealtimeTickMs);
    tmBoundary.setObjectName(QStringLiteral("tmBoundary"));
    tmBoundary.setSingleShot(true);
    tmBoundary.setTimerType(Qt::PreciseTimer);
    connect(&tmRealtime, &QTimer::timeout, this, &Realtime::tmRealtime_Timer);
    connect(&tmBoundary, &QTimer::timeout, this, &Realtime::onBoundaryTimer);
    connect(&comm, &Comm::portLost, this, &Realtime::onPortLost);
}

Realtime::~Realtime()
{
    // Journals of finished recordings are not needed after a clean exit: the documents were
    // saved or deliberately discarded. A recording still running here keeps its journal.
    for (auto& [document, journal] : m_journals) {
        if (journal.get() != m_journal)
            journal->remove();
    }
}

void Realtime::setClock(const RealtimeClock* clock)
{
    m_clock = clock ? clock : &m_systemClock;
}

void Realtime::setAutomaticTicks(bool on)
{
    m_automaticTicks = on;
    enableTimer(m_timerEnabled);
}

void Realtime::setJournalFolder(const QString& folder)
{
    m_journalFolder = folder;
}

void Realtime::setDocumentFullHandler(std::function<DataDocument*(DataDocument& full)> handler)
{
    m_fullHandler = std::move(handler);
}

void Realtime::setDocumentLimit(int readings)
{
    m_documentLimit = qBound(1, readings, static_cast<int>(MaxReadings));
}

QDateTime Realtime::now() const
{
    return m_clock->now();
}

// --- Timers ------------------------------------------------------------------------------------------

void Realtime::enableTimer(bool on)
{
    m_timerEnabled = on;
    if (on && m_automaticTicks) {
        if (!tmRealtime.isActive())
            tmRealtime.start();
        armBoundaryTimer();
    } else {
        tmRealtime.stop();
        tmBoundary.stop();
    }
}

void Realtime::armBoundaryTimer()
{
    if (!m_timerEnabled || !m_automaticTicks)
        return;
    // A few milliseconds after the next whole second of the clock. Should the timer fire
    // early, the tick finds no boundary crossed and the timer is set again for the
    // boundary just ahead.
    const int msec = now().time().msec();
    tmBoundary.start(1000 - msec + BoundaryDelayMs);
}

void Realtime::onBoundaryTimer()
{
    tmRealtime_Timer();
    armBoundaryTimer();
}

// --- The tick ------------------------------------------------------------------------------------------

void Realtime::tmRealtime_Timer()
{
    ProgramState& s = programState();
    if (!s.TickArmed)
        return;
    s.TickArmed = false;
    m_inTick = true;

    const QDateTime t = now();
    const std::int64_t elapsed = secondBoundariesBetween(m_lastTickTime, t);
    m_lastTickTime = t;

    const bool recording = s.CommState == CommStates::Realtime;
    const bool monitoring = s.CommState == CommStates::Monitor;
    if ((recording || monitoring) && !stopIfLinkLost() && elapsed >= 1) {
        try {
            if (m_firstTick) {
                m_firstTick = false;
                recording ? OnRealtimeFirstTick(elapsed) : OnMonitorFirstTick(elapsed);
            } else {
                recording ? OnRealtimeTick(elapsed) : OnMonitorTick(elapsed);
            }
        } catch (const RuntimeError& e) {
            // The document's interval or period cannot be used any more: end with its reason.
            s.LastError = e.description();
            if (s.CommState == CommStates::Realtime) {
                endRealtime(RealtimeEnd::Failed, true);
            } else if (s.CommState == CommStates::Monitor) {
                m_pendingEnd = RealtimeEnd::Failed;
                StopMonitor();
            }
        }
    }

    m_inTick = false;
    s.TickArmed = true;
    // Text that arrived while TickArmed was false is still waiting in the port.
    m_comm.takePendingInput();
}

bool Realtime::stopIfLinkLost()
{
    if (!m_comm.isLinkLost())
        return false;
    const int state = programState().CommState;
    if (state == CommStates::Realtime) {
        keepAnswerBeforeLoss();
        endRealtime(RealtimeEnd::PortLost, true);
        return true;
    }
    if (state == CommStates::Monitor) {
        keepAnswerBeforeLoss();
        m_pendingEnd = RealtimeEnd::PortLost;
        StopMonitor();
        return true;
    }
    return false;
}

// A meter unplugged right after answering: the answer to the last request came complete
// before the port failed. It is this second's reading and is kept, as a Stop would keep it
// (a Stop ends the operation at the next second, after taking that answer). Without a
// complete answer line nothing is added: that second is not over, and no answer is lost.
void Realtime::keepAnswerBeforeLoss()
{
    if (!m_answerPending)
        return;
    m_answerPending = false;
    // Characters that arrived while a tick held TickArmed are still in the port (when it
    // has not been closed yet): the receive handler takes them only while the flag is set.
    ProgramState& s = programState();
    const bool armed = s.TickArmed;
    s.TickArmed = true;
    m_comm.takePendingInput();
    s.TickArmed = armed;
    const QString answer = TakeAnswerLine();
    if (answer == ErrorReading || answer == Commands::Reading)
        return; // no answer line, or only the echo of the request
    if (s.CommState == CommStates::Realtime && !m_displayOnly) {
        RecordRealtimeSample(answer); // a refused row ends the recording all the same
    } else {
        showReading(answer, s.CommState == CommStates::Monitor);
    }
}

void Realtime::onPortLost()
{
    // In a command phase (CommState 2, 4, 6) the waiting command fails and the procedure that
    // sent it ends the operation; inside a tick the next tick does. Otherwise stop now
    // rather than at the next tick.
    if (m_inTick || !programState().TickArmed)
        return;
    stopIfLinkLost();
}

// --- Menu commands ---------------------------------------------------------------------------------------

void Realtime::mnuRealtimeNew()
{
    DataDocument* document = m_host.newDocument(DataKinds::Realtime);
    programState().RealtimeDoc = document;
    if (document)
        m_host.showIntervalDialog(*document);
}

void Realtime::mnuRealtimeStart()
{
    ProgramState& s = programState();
    DataDocument* document = m_host.activeDocument();
    s.RealtimeDoc = document;
    if (!document || document->kind() != DataKinds::Realtime)
        return;
    if (document->GetDatacount() >= m_documentLimit)
        return; // full: nothing to record into

    // Every second of the recording divides by the interval: a document whose interval is
    // not a positive number of seconds is refused before anything is sent.
    try {
        if (document->GetIntervalcount() < 1) {
            m_host.prompter().warn(IntervalRangeMessage());
            return;
        }
        if (!document->GetPeriodnone())
            (void)document->GetPeriodcount();
    } catch (const RuntimeError& e) {
        s.LastError = e.description();
        m_host.prompter().warn(e.description());
        return;
    }

    const PromptAnswer answer = m_host.prompter().message(AskForwardRealtime, PromptButtons::YesNoCancel,
                                                          PromptIcon::Question, PromptAnswer::No);
    if (answer == PromptAnswer::Yes)
        m_host.showForwardDialog();
    else if (answer == PromptAnswer::No)
        s.NoForward = true;
    else
        return;

    if ((answer == PromptAnswer::Yes && !s.NoForward) || answer == PromptAnswer::No) {
        if (document->continueWhenFull()) {
            if (!m_host.beginContinuedRecording(*document))
                return;
            m_continuedRecording = true;
        }
        s.CurrentDoc = document; // the forwarding engine takes the table's headings from it
        if (m_comm.OpenPort())
            StartRealtime();
        else
            endContinuedRecording(); // the port did not open: nothing was recorded
    }
}

void Realtime::mnuRealtimeStop()
{
    ProgramState& s = programState();
    m_host.disableStopCommands(StopTarget::Realtime);
    if (s.CommState == CommStates::Realtime || s.CommState == CommStates::RealtimeCommand)
        s.StopRequested = true; // honoured at the next second
    else
        s.NoForward = true; // Stop while forwarding starts abandons the forwarding
}

void Realtime::mnuMoniterStart()
{
    m_host.bringMonitorForward();
    if (m_comm.OpenPort())
        StartMonitor();
}

void Realtime::mnuMoniterStop()
{
    m_host.disableStopCommands(StopTarget::Monitor);
    programState().StopRequested = true; // honoured at the next second
}

void Realtime::StopButton()
{
    if (StopButtonTarget(programState().CommState) == StopTarget::Realtime)
        mnuRealtimeStop();
    else
        mnuMoniterStop();
}

// --- Realtime procedures --------------------------------------------------------------------------------

void Realtime::IniRealtimeProgress()
{
    DataDocument& document = *programState().RealtimeDoc;
    const int held = document.GetDatacount();
    if (!document.GetPeriodnone()) {
        const std::int64_t samples = document.GetPeriodcount() / document.GetIntervalcount() + 1;
        if (held + samples < m_documentLimit + 1) {
            document.IniProgress(static_cast<std::int16_t>(samples));
            return;
        }
    }
    document.IniProgress(static_cast<std::int16_t>(qMax(0, m_documentLimit - held)));
}

void Realtime::StartRealtime()
{
    ProgramState& s = programState();
    s.CommState = CommStates::RealtimeCommand;
    s.StopRequested = false;
    m_pendingEnd = RealtimeEnd::None;
    m_answerPending = false;
    m_requestedAt = QDateTime();
    DataDocument& document = *s.RealtimeDoc;
    try {
        IniRealtimeProgress();
    } catch (const RuntimeError& e) {
        s.LastError = e.description();
        SetRealtimeCommands(true);
        endRealtime(RealtimeEnd::Failed, true);
        return;
    }
    SetRealtimeCommands(true);

    m_comm.SendCommand(Commands::Start, 5); // the answer is not examined
    if (!m_comm.SendCommand(Commands::RemoteOn, 1)) {
        endRealtime(RealtimeEnd::StartFailed, false);
        return;
    }
    if (m_comm.SendCommand(Commands::Model, 1))
        s.MeterModel = s.RecvBuffer.mid(3, 1);

    m_host.setStatusMessage(QString());

    if (!s.NoForward) {
        s.CommState = CommStates::RealtimeForward;
        // Only a reason set by the forwarding itself may tell a failure from giving up.
        s.LastError.clear();
        if (!m_host.realtimeForwarder().BeginRealtimeForward()) {
            if (s.LastError.isEmpty()) {
                endRealtime(RealtimeEnd::ForwardAbandoned, false);
                return;
            }
            m_host.setStatusMessage(forwardErrorText());
            s.NoForward = true;
        }
    }

    s.CommState = CommStates::Realtime;
    s.TickArmed = true;
    document.CancelXauto();
    m_lastSampleTimeText.clear();
    m_secondCount = 0;
    m_lastTickTime = now();
    m_startTimeText = timeLabel(m_lastTickTime);
    m_firstTick = true;
    beginJournal(document);
    enableTimer(true);
}

void Realtime::OnRealtimeFirstTick(std::int64_t elapsed)
{
    ProgramState& s = programState();
    if (elapsed == 1) {
        // The first sample is labelled with the first boundary, not with the press of Start.
        m_startTimeText = timeLabel(m_lastTickTime);
        RequestRealtimeReading();
        return;
    }
    const std::int32_t interval = s.RealtimeDoc->GetIntervalcount();
    for (std::int64_t i = 0; i < elapsed; ++i) {
        if (m_secondCount % interval != 0) {
            showReading(ErrorReading, false);
        } else if (!RecordRealtimeSample(ErrorReading)) {
            endRealtime(RealtimeEnd::Failed, true);
            return;
        }
        if (!AdvanceRealtimeCount()) {
            endRealtime(RealtimeEnd::PeriodOver, false);
            return;
        }
    }
    if (s.StopRequested)
        endRealtime(RealtimeEnd::Stopped, false);
    else
        RequestRealtimeReading();
}

bool Realtime::takeSecond(const QString& answer, bool sampleSecond)
{
    if (sampleSecond) {
        if (!RecordRealtimeSample(answer)) {
            endRealtime(RealtimeEnd::Failed, true);
            return false;
        }
    } else {
        showReading(answer, false);
    }
    if (!AdvanceRealtimeCount()) {
        endRealtime(RealtimeEnd::PeriodOver, false);
        return false;
    }
    return true;
}

void Realtime::OnRealtimeTick(std::int64_t elapsed)
{
    ProgramState& s = programState();
    m_answerPending = false;
    if (!takeSecond(TakeAnswerLine(), !m_displayOnly))
        return;

    // The seconds that were missed: a sample second becomes an "ERROR" row, so the time
    // column stays regular.
    const std::int32_t interval = s.RealtimeDoc->GetIntervalcount();
    for (std::int64_t i = 1; i < elapsed; ++i) {
        if (!takeSecond(ErrorReading, m_secondCount % interval == 0))
            return;
    }

    if (s.StopRequested)
        endRealtime(RealtimeEnd::Stopped, false);
    else
        RequestRealtimeReading();
}

void Realtime::RequestRealtimeReading()
{
    // The meter is asked every second; only every interval-th answer is recorded.
    m_displayOnly = m_secondCount % programState().RealtimeDoc->GetIntervalcount() != 0;
    RequestReading();
}

void Realtime::RequestReading()
{
    ProgramState& s = programState();
    if (!m_timerEnabled) {
        enableTimer(true);
        m_lastTickTime = now();
    }
    s.RecvBuffer.clear();
    m_requestedAt = wholeSecond(m_lastTickTime);
    m_answerPending = m_comm.writeLine(Commands::Reading); // no wait: the answer is read at the next second
    s.LastCommand = Commands::Reading;
}

QString Realtime::TakeAnswerLine()
{
    QString& buffer = programState().RecvBuffer;
    for (;;) {
        const qsizetype lf = buffer.indexOf(QLatin1Char('\n'));
        if (lf < 0)
            return ErrorReading;
        if (lf == buffer.size() - 1)
            return buffer.left(qMax<qsizetype>(0, lf - 1)); // the line without CR LF
        buffer.remove(0, lf + 1);
    }
}

bool Realtime::AdvanceRealtimeCount()
{
    const DataDocument& document = *programState().RealtimeDoc;
    ++m_secondCount;
    if (!document.GetPeriodnone() && m_secondCount > document.GetPeriodcount())
        return false;
    if (document.GetDatacount() < m_documentLimit)
        return true;
    return continueInNewDocument();
}

bool Realtime::continueInNewDocument()
{
    if (!m_fullHandler)
        return false;
    ProgramState& s = programState();
    DataDocument* full = s.RealtimeDoc;
    finishJournal(); // the handler releases or keeps it once it knows whether the save worked
    DataDocument* next = m_fullHandler(*full);
    if (!next || next == full)
        return false;
    if (!s.NoForward) {
        // Each document of the recording gets a sheet of its own in the same workbook; the
        // full one's sheet is finished with its own statistics before the switch.
        RealtimeForwarder& forwarder = m_host.realtimeForwarder();
        if (!forwarder.nextRealtimeSheet()) {
            m_host.setStatusMessage(forwardErrorText());
            forwarder.releaseRealtimeForward();
            s.NoForward = true;
        }
    }
    s.RealtimeDoc = next;
    if (s.CurrentDoc == full)
        s.CurrentDoc = next;
    next->CancelXauto();
    IniRealtimeProgress();
    beginJournal(*next);
    return true;
}

bool Realtime::RecordRealtimeSample(const QString& answer)
{
    ProgramState& s = programState();
    DataDocument& document = *s.RealtimeDoc;
    if (!document.AddGridrow())
        return false;

    RealtimeAnswer row;
    QString label;
    try {
        // Labels are nominal: the first sample's label, then one interval more each time.
        if (m_lastSampleTimeText.isEmpty()) {
            label = m_startTimeText;
        } else {
            const TimeTexts interval = document.GetInterval();
            label = addToTimeLabel(m_lastSampleTimeText, toInt32(interval.days), toInt32(interval.hours),
                                   toInt32(interval.minutes), toInt32(interval.seconds));
        }
        m_lastSampleTimeText = label;
        row = ParseRealtimeAnswer(answer);
        document.AddRealtimedata(label, row.display, row.unit, row.valid, row.numeric);
    } catch (const RuntimeError& e) {
        s.LastError = e.description();
        return false;
    }
    journalRow(label, row.display, row.unit, row.valid, row.numeric);
    emit sampleRecorded(label, row.display, row.unit);
    if (ReadingObserver* observer = m_host.readingObserver())
        observer->readingTaken(readingOfLastRow(document, ReadingKind::Realtime, labelledTime(label, now())));

    showOnMonitor(answer, false);

    if (!s.NoForward) {
        RealtimeForwarder& forwarder = m_host.realtimeForwarder();
        if (!forwarder.AppendRealtimeRow(label, row.display, row.unit)) {
            m_host.setStatusMessage(forwardErrorText());
            forwarder.releaseRealtimeForward();
            s.NoForward = true;
        }
    }
    return true;
}

void Realtime::endRealtime(RealtimeEnd reason, bool showMessage)
{
    m_pendingEnd = reason;
    StopRealtime(showMessage);
}

void Realtime::StopRealtime(bool showMessage)
{
    ProgramState& s = programState();
    enableTimer(false);
    QString message = s.LastError;
    s.CommState = CommStates::RealtimeCommand;

    if (!m_comm.SendCommand(Commands::RemoteOff, 1) && m_comm.isLinkLost()) {
        // The port is gone: its message is what the user must see, once.
        message = s.LastError;
        showMessage = true;
        m_pendingEnd = RealtimeEnd::PortLost;
    }
    m_comm.closePort();

    if (!s.NoForward)
        m_host.realtimeForwarder().EndRealtimeForward();
    finishJournal();

    if (showMessage)
        m_host.prompter().warn(message);

    endContinuedRecording();
    SetRealtimeCommands(false);
    s.CommState = CommStates::Idle;
    m_lastEnd = m_pendingEnd == RealtimeEnd::None ? RealtimeEnd::Stopped : m_pendingEnd;
    m_pendingEnd = RealtimeEnd::None;
    emit operationEnded();
}

void Realtime::endContinuedRecording()
{
    if (!m_continuedRecording)
        return;
    m_continuedRecording = false;
    if (DataDocument* last = programState().RealtimeDoc)
        m_host.endContinuedRecording(*last);
}

void Realtime::SetRealtimeCommands(bool running)
{
    // Documents keep their chart still while the commands are switched for recording.
    programState().RealtimeCommandsOn = running;
    m_host.SetRealtimeCommands(running);
    reportActivity(running ? MeterActivity::Recording : MeterActivity::Idle);
}

void Realtime::showOnMonitor(const QString& answer, bool createIfNeeded)
{
    if (MonitorSink* monitor = m_host.monitor(createIfNeeded))
        monitor->SetData(answer);
}

// A reading that is only shown (monitor mode, and the seconds between the samples of a
// recording): on the Monitor, and to the observer as the reading of the second it was asked
// for (before the first request of a run, of the present second).
void Realtime::showReading(const QString& answer, bool createIfNeeded)
{
    showOnMonitor(answer, createIfNeeded);
    if (ReadingObserver* observer = m_host.readingObserver())
        observer->readingTaken(readingOfAnswer(answer, m_requestedAt.isValid() ? m_requestedAt : wholeSecond(now())));
}

void Realtime::reportActivity(MeterActivity activity)
{
    if (ReadingObserver* observer = m_host.readingObserver())
        observer->activityChanged(activity);
}

// --- Monitor procedures ------------------------------------------------------------------------------------

void Realtime::StartMonitor()
{
    ProgramState& s = programState();
    s.CommState = CommStates::MonitorCommand;
    s.StopRequested = false;
    m_pendingEnd = RealtimeEnd::None;
    m_answerPending = false;
    m_requestedAt = QDateTime();
    SetMonitorCommands(true);

    m_comm.SendCommand(Commands::Start, 1); // the answer is not examined
    if (!m_comm.SendCommand(Commands::RemoteOn, 1)) {
        m_pendingEnd = RealtimeEnd::StartFailed;
        StopMonitor();
        return;
    }

    s.CommState = CommStates::Monitor;
    s.TickArmed = true;
    m_lastTickTime = now();
    m_firstTick = true;
    enableTimer(true);
}

void Realtime::RequestMonitorReading()
{
    m_displayOnly = true;
    RequestReading();
}

void Realtime::OnMonitorFirstTick(std::int64_t elapsed)
{
    if (elapsed == 1) {
        RequestMonitorReading();
        return;
    }
    showReading(ErrorReading, true);
    if (programState().StopRequested) {
        m_pendingEnd = RealtimeEnd::Stopped;
        StopMonitor();
    } else {
        RequestMonitorReading();
    }
}

void Realtime::OnMonitorTick(std::int64_t elapsed)
{
    m_answerPending = false;
    showReading(TakeAnswerLine(), true);
    if (elapsed > 1)
        showReading(ErrorReading, true); // a late tick leaves "ERROR" on display
    if (programState().StopRequested) {
        m_pendingEnd = RealtimeEnd::Stopped;
        StopMonitor();
    } else {
        RequestMonitorReading();
    }
}

void Realtime::StopMonitor()
{
    ProgramState& s = programState();
    enableTimer(false);
    s.CommState = CommStates::MonitorCommand;
    const bool lost = !m_comm.SendCommand(Commands::RemoteOff, 1) && m_comm.isLinkLost();
    const QString message = s.LastError;
    m_comm.closePort();
    if (lost) {
        m_pendingEnd = RealtimeEnd::PortLost;
        m_host.prompter().warn(message);
    }
    SetMonitorCommands(false);
    s.CommState = CommStates::Idle;
    m_lastEnd = m_pendingEnd == RealtimeEnd::None ? RealtimeEnd::Stopped : m_pendingEnd;
    m_pendingEnd = RealtimeEnd::None;
    emit operationEnded();
}

void Realtime::SetMonitorCommands(bool running)
{
    m_host.SetMonitorCommands(running);
    reportActivity(running ? MeterActivity::Monitoring : MeterActivity::Idle);
}

// --- Recording journals ---------------------------------------------------------------------------------------

void Realtime::beginJournal(DataDocument& document)
{
    m_journal = nullptr;
    if (m_journalFolder.isEmpty())
        return;

    RecordingJournal* journal = nullptr;
    QList<JournalRow> held;
    const auto found = m_journals.find(&document);
    if (found != m_journals.end()) {
        journal = found->second.get(); // a recording that goes on in the same document
    } else {
        QString error;
        std::unique_ptr<RecordingJournal> created = RecordingJournal::create(m_journalFolder, &error);
        if (!created) {
            m_host.setStatusMessage(error + QStringLiteral(" The recording goes on without a journal."));
            return;
        }
        // The rows the document holds already belong to the recording as well.
        for (int row = 1; row <= document.GetDatacount(); ++row) {
            const QString display = document.TextMatrix(row, 2);
            held.append({document.TextMatrix(row, 1), display, document.TextMatrix(row, 3),
                         DataDocument::IsReadingValue(display), document.rawText(row)});
        }
        journal = created.get();
        m_journals[&document] = std::move(created);
        connect(&document, &QObject::destroyed, this, [this, doc = &document] { releaseJournal(doc); });
    }

    const PeriodTexts period = document.GetPeriod();
    const JournalStart start{document.GetInterval(),
                             document.GetPeriodnone(),
                             {period.days, period.hours, period.minutes, period.seconds},
                             programState().MeterModel,
                             m_startTimeText,
                             document.GetFilename().isEmpty() ? document.caption() : document.GetFilename()};
    m_journal = journal;
    if (!journal->writeStart(start) || !journal->appendRows(held))
        dropJournal(journal->lastError());
}

void Realtime::journalRow(const QString& label, const QString& display, const QString& unit, bool valid,
                          const QString& numeric)
{
    if (m_journal && !m_journal->appendRow({label, display, unit, valid, numeric}))
        dropJournal(m_journal->lastError());
}

void Realtime::dropJournal(const QString& reason)
{
    // A journal that cannot be written is of no use: it goes, and the user learns that the
    // recording now has no protection against a crash. The document keeps every row.
    m_host.setStatusMessage(reason + QStringLiteral(" The recording goes on without a journal."));
    for (auto it = m_journals.begin(); it != m_journals.end(); ++it) {
        if (it->second.get() == m_journal) {
            it->second->remove();
            m_journals.erase(it);
            break;
        }
    }
    m_journal = nullptr;
}

void Realtime::finishJournal()
{
    if (m_journal)
        m_journal->close();
    m_journal = nullptr;
}

void Realtime::releaseJournal(const DataDocument* document)
{
    const auto found = m_journals.find(document);
    if (found == m_journals.end() || found->second.get() == m_journal)
        return; // none, or its recording still runs
    found->second->remove();
    m_journals.erase(found);
}

void Realtime::keepJournal(const DataDocument* document)
{
    const auto found = m_journals.find(document);
    if (found == m_journals.end() || found->second.get() == m_journal)
        return;
    m_journals.erase(found); // closed and unlocked, not removed
}

QString Realtime::journalPath(const DataDocument* document) const
{
    const auto found = m_journals.find(document);
    return found == m_journals.end() ? QString() : found->second->path();
}

int Realtime::restoreInterruptedRecordings()
{
    if (m_journalFolder.isEmpty())
        return 0;
    int restored = 0;
    for (std::unique_ptr<RecordingJournal>& journal : RecordingJournal::takeLeftovers(m_journalFolder)) {
        QString error;
        const std::optional<JournalContents> contents = journal->read(&error);
        if (!contents || contents->rows.isEmpty()) {
            // Nothing to restore (the program ended before the first row), or the file went
            // away meanwhile. A journal that exists but cannot be read is left alone.
            if (contents || !QFileInfo::exists(journal->path()))
                journal->remove();
            else
                m_host.prompter().warn(error);
            continue;
        }
        const JournalRow& first = contents->rows.constFirst();
        const JournalRow& last = contents->rows.constLast();
        const QString question
            = QStringLiteral("A realtime recording was interrupted before it was saved: %1 readings from %2 to %3 (%4).")
                  .arg(contents->rows.size())
                  .arg(first.time, last.time, contents->start.documentName)
            + QStringLiteral("\r\n") + QStringLiteral("Do you want to restore it into a new document? (No discards it.)");
        const PromptAnswer answer
            = m_host.prompter().message(question, PromptButtons::YesNo, PromptIcon::Question, PromptAnswer::Yes);
        if (answer != PromptAnswer::Yes) {
            journal->remove();
            continue;
        }
        DataDocument* document = m_host.newDocument(DataKinds::Realtime);
        if (!document)
            continue; // the journal stays for the next start
        if (!RecordingJournal::rebuildDocument(*contents, *document))
            m_host.prompter().warn(programState().LastError);
        // The journal now protects the restored document until it is saved or closed.
        m_journals[document] = std::move(journal);
        connect(document, &QObject::destroyed, this, [this, document] { releaseJournal(document); });
        ++restored;
    }
    return restored;
}

} // namespace quvo
