#include "acquisition/Download.h"

#include "acquisition/ReadingObserver.h"
#include "document/DataDocument.h"
#include "link/Comm.h"
#include "link/ReadingDecoder.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/ProgressView.h"
#include "resources/Prompter.h"
#include "resources/ResID.h"
#include "resources/RuntimeError.h"
#include "resources/TextNumber.h"
#include "resources/TimeText.h"

namespace quvo {

namespace {

constexpr int Attempts = 5;  // every command of a download
constexpr int PaddingRows = 20;
const QString FirstRecordTime = QStringLiteral("00:00:00");
const QString EmptySlot = QStringLiteral("RS");

// PadRecords is true exactly while the padding rows are added, even when one of them fails.
class PaddingScope {
public:
    PaddingScope() { programState().PadRecords = true; }
    ~PaddingScope() { programState().PadRecords = false; }
    PaddingScope(const PaddingScope&) = delete;
    PaddingScope& operator=(const PaddingScope&) = delete;
};

// The fields of a verified record answer (stripped of its check character).
void readRecord(const QString& line, DownloadedRecord& record)
{
    const QString value = GetValueText(line) + GetPrefixExponent(line);
    record.unit = GetUnitText(line);
    if (line.mid(3, 1) == QLatin1String("O")) {
        record.display = GetOverloadText(line);
        record.numeric = value;
    } else {
        record.display = value;
        record.numeric = value;
    }
}

// The answers to "RM", "RN" and "RI" give the model, the record count and the interval. One
// that was damaged on the line, rejected ("CMD,ERR"), or that belongs to another command (a
// late answer to an earlier send arriving after a resend) would give a wrong model or count,
// and a count read as 0 would end the download as if the memory were empty, without a word.
// Such an answer ends the download with the reason instead. The check is the one every
// reading gets (the check character), and the answer must carry its command's tag.
bool isSoundAnswerTo(const QString& command)
{
    ProgramState& s = programState();
    QString line = s.RecvBuffer;
    if (!VerifyChecksum(line)) {
        s.LastError = ResID(Res::DataError);
        return false;
    }
    if (line == Commands::CommandRejected) {
        s.LastError = ResID(Res::CommandError);
        return false;
    }
    if (!line.startsWith(command + QLatin1Char(','))) {
        s.LastError = ResID(Res::DataError);
        return false;
    }
    return true;
}

// Tells the host's reading observer, when it has one.
void reportActivity(CommandHost& host, MeterActivity activity)
{
    if (ReadingObserver* observer = host.readingObserver())
        observer->activityChanged(activity);
}

// The record just added, as the table shows it, in the second it was read.
void reportRecord(CommandHost& host, const DataDocument& document, ReadingKind kind)
{
    if (ReadingObserver* observer = host.readingObserver())
        observer->readingTaken(readingOfLastRow(document, kind, wholeSecond(QDateTime::currentDateTime())));
}

// A model whose memory this program cannot read: the reason as the person reads it.
QString unsupportedModelText(const QString& model)
{
    return QStringLiteral("The meter reports the model code \"%1\". This meter model is not supported: "
                          "its memory cannot be read.")
        .arg(model);
}

} // namespace

std::optional<MemoryNumbering> MemoryNumberingFor(const QString& model)
{
    if (model == QLatin1String("0") || model == QLatin1String("1"))
        return MemoryNumbering{3, 3, 1, 1, 50, false};
    if (model == QLatin1String("2") || model == QLatin1String("3"))
        return MemoryNumbering{5, 5, 0, 0, 99, true};
    if (model == QLatin1String("4") || model == QLatin1String("5"))
        return MemoryNumbering{4, 4, 0, 0, 99, true};
    return std::nullopt;
}

QString LoggingRecordCommand(const MemoryNumbering& numbering, int record)
{
    return Commands::LoggingRecord + QString::number(record).rightJustified(numbering.recordWidth, QLatin1Char('0'));
}

QString SaveRecordCommand(int slot)
{
    return Commands::SaveRecord + twoDigits(slot);
}

bool ParseLoggingRecord(QString answer, DownloadedRecord& record)
{
    if (!VerifyChecksum(answer)) {
        programState().LastError = ResID(Res::DataError);
        return false;
    }
    if (answer == Commands::CommandRejected) {
        programState().LastError = ResID(Res::CommandError);
        return false;
    }
    readRecord(answer, record);
    return true;
}

bool ParseSaveRecord(QString answer, DownloadedRecord& record)
{
    if (!VerifyChecksum(answer)) {
        programState().LastError = ResID(Res::DataError);
        return false;
    }
    if (answer == Commands::CommandRejected) {
        programState().LastError = ResID(Res::CommandError);
        return false;
    }
    if (answer == EmptySlot) {
        record = {};
        return true;
    }
    readRecord(answer, record);
    return true;
}

Download::Download(Comm& comm, CommandHost& host) : m_comm(comm), m_host(host) {}

Download::~Download() = default;

void Download::mnuDataLoging()
{
    menuCommand(DataKinds::Logging);
}

void Download::mnuDataSave()
{
    menuCommand(DataKinds::Save);
}

void Download::menuCommand(int kind)
{
    ProgramState& s = programState();
    m_outcome = DownloadOutcome::NotRun;
    const PromptAnswer answer = m_host.prompter().message(AskForwardDownload, PromptButtons::YesNoCancel,
                                                          PromptIcon::Question, PromptAnswer::Yes);
    if (answer == PromptAnswer::Cancel)
        return;
    if (answer == PromptAnswer::Yes) {
        m_host.showForwardDialog();
        if (s.NoForward)
            return; // the Forward dialog was cancelled
    }

    DataDocument* document = m_host.newDocument(kind);
    if (!document)
        return;
    s.RealtimeDoc = document;
    s.CurrentDoc = document;
    if (!m_comm.OpenPort())
        return;

    const bool succeeded = kind == DataKinds::Logging ? DownloadLogging() : DownloadSave();
    m_outcome = succeeded ? DownloadOutcome::Succeeded : DownloadOutcome::Failed;
    if (succeeded && answer == PromptAnswer::Yes && (kind != DataKinds::Logging || document->GetDatacount() >= 1)) {
        s.CurrentDoc = document;
        m_host.forwardCurrentDocument();
    }
}

bool Download::DownloadLogging()
{
    beginDownload(Res::ReceiveLoggingMode);
    QString intervalText;
    bool succeeded = false;
    try {
        succeeded = readLoggingRecords(intervalText);
    } catch (const RuntimeError& e) {
        // A count too large for the document, a row past its last one, an interval that is
        // not a number: the download ends with the reason, the rows read so far stay.
        programState().LastError = e.description();
    }
    return endDownload(succeeded, true, intervalText);
}

bool Download::DownloadSave()
{
    beginDownload(Res::ReceiveSaveMode);
    bool succeeded = false;
    try {
        succeeded = readSaveSlots();
    } catch (const RuntimeError& e) {
        programState().LastError = e.description();
    }
    return endDownload(succeeded, false, QString());
}

bool Download::beginDownload(int captionId)
{
    ProgramState& s = programState();
    s.CommState = CommStates::Download;
    s.CancelRequested = false;
    reportActivity(m_host, MeterActivity::Downloading);
    s.LastError.clear(); // a failure of this download says why; no earlier reason is shown
    m_progress = m_host.openProgress();
    if (m_progress) {
        m_progress->SetCaption(ResID(captionId));
        m_progress->SetMessage(ResID(Res::Receiving));
        m_progress->show();
    }
    m_comm.setProgressView(m_progress.get());
    return true;
}

bool Download::send(const QString& command)
{
    return m_comm.SendCommand(command, Attempts);
}

bool Download::readStart(std::optional<MemoryNumbering>& numbering)
{
    ProgramState& s = programState();
    if (!send(Commands::Start) || !send(Commands::RemoteOn) || !send(Commands::Model)
        || !isSoundAnswerTo(Commands::Model))
        return false;
    s.MeterModel = s.RecvBuffer.mid(3, 1);
    numbering = MemoryNumberingFor(s.MeterModel);
    if (numbering && numbering->padding) {
        DataDocument& document = *s.RealtimeDoc;
        const PaddingScope padding;
        for (int i = 0; i < PaddingRows; ++i)
            document.AddData(QString(), QString(), QString(), QString());
    }
    return true;
}

bool Download::readLoggingRecords(QString& intervalText)
{
    ProgramState& s = programState();
    std::optional<MemoryNumbering> numbering;
    if (!readStart(numbering))
        return false;

    if (!send(Commands::RecordCount) || !isSoundAnswerTo(Commands::RecordCount))
        return false;
    std::int16_t count = 0;
    if (numbering)
        count = roundToInt16(leadingNumber(s.RecvBuffer.mid(3, numbering->countWidth))); // throws on overflow
    if (count > 0) {
        if (!send(Commands::LoggingInterval) || !isSoundAnswerTo(Commands::LoggingInterval))
            return false;
        intervalText = s.RecvBuffer.mid(3, 4);
    }
    if (!numbering) {
        s.LastError = unsupportedModelText(s.MeterModel);
        return false;
    }

    DataDocument& document = *s.RealtimeDoc;
    const int first = numbering->firstRecord;
    QString time;
    for (int number = first; number < first + count; ++number) {
        if (!send(LoggingRecordCommand(*numbering, number)))
            return false;
        DownloadedRecord record;
        if (!ParseLoggingRecord(s.RecvBuffer, record))
            return false;
        if (!document.AddGridrow())
            return false;
        // Elapsed time from the first record, wrapping after 24 hours.
        time = number == first ? FirstRecordTime : addToTimeLabel(time, 0, 0, 0, toInt32(intervalText));
        document.AddData(time, record.display, record.unit, record.numeric);
        reportRecord(m_host, document, ReadingKind::Logging);
        // Models numbering from 0 show the record number + 1, so their last call is never
        // throttled; the dialog only shows the count then.
        const int shown = first == 1 ? number : number + 1;
        progress(number == count, shown, count);
    }
    return true;
}

bool Download::readSaveSlots()
{
    ProgramState& s = programState();
    std::optional<MemoryNumbering> numbering;
    if (!readStart(numbering))
        return false;
    if (!numbering) {
        s.LastError = unsupportedModelText(s.MeterModel);
        return false;
    }

    DataDocument& document = *s.RealtimeDoc;
    const bool fiftySlots = numbering->lastSlot == 50;
    for (int slot = numbering->firstSlot; slot <= numbering->lastSlot; ++slot) {
        if (!send(SaveRecordCommand(slot)))
            return false;
        DownloadedRecord record;
        if (!ParseSaveRecord(s.RecvBuffer, record))
            return false;
        if (!document.AddGridrow())
            return false;
        document.AddData(QString(), record.display, record.unit, record.numeric); // SAVE records have no time
        reportRecord(m_host, document, ReadingKind::Save);
        if (fiftySlots)
            progress(slot == 50, slot, 50);
        else if (slot == 50)
            progress(true, 50, 99); // the 100-slot models flag slot 50 and show a total of 99
        else
            progress(false, slot, 99);
    }
    return true;
}

void Download::progress(bool throttle, int current, int total)
{
    if (m_progress)
        m_progress->RenProgress(throttle, static_cast<std::int16_t>(current), static_cast<std::int16_t>(total));
}

bool Download::endDownload(bool succeeded, bool logging, const QString& intervalText)
{
    ProgramState& s = programState();
    QString message = s.LastError;
    if (!succeeded && message.isEmpty())
        message = QStringLiteral("The download ended before the last record was read.");
    m_comm.SendCommand(Commands::RemoteOff, Attempts); // always, whatever happened
    m_comm.closePort();
    if (m_progress)
        m_progress->unload();
    m_comm.setProgressView(nullptr);
    m_progress.reset();
    reportActivity(m_host, MeterActivity::Idle); // the link is free again

    DataDocument& document = *s.RealtimeDoc;
    const int rows = document.GetDatacount();
    if (rows > 2) {
        document.SetGraphcount(static_cast<std::int16_t>(rows));
        if (logging)
            document.DispInterval(intervalText);
    }
    document.PaintGraphtop();
    document.DispCalculation();

    if (!succeeded)
        m_host.prompter().warn(message); // after a Cancel: "Canceled."
    s.CommState = CommStates::Idle;
    return succeeded;
}

} // namespace quvo
