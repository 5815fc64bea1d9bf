#include "acquisition/RecordingParts.h"

#include "acquisition/Realtime.h"
#include "document/DataDocument.h"
#include "resources/ProgramState.h"

#include <QDir>

namespace quvo {

QString recordingPartFileName(const QString& path, int number)
{
    if (number <= 1)
        return path;
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    const qsizetype nameStart = slash + 1;
    const qsizetype dot = path.lastIndexOf(QLatin1Char('.'));
    const bool hasExtension = dot > nameStart; // a name that starts with its only "." has none
    const qsizetype stemEnd = hasExtension ? dot : path.size();
    return path.left(stemEnd) + QStringLiteral("-%1").arg(number, 3, 10, QLatin1Char('0')) + path.mid(stemEnd);
}

RecordingParts::RecordingParts(Realtime& realtime, QString firstPath, Hooks hooks)
    : m_realtime(realtime), m_firstPath(std::move(firstPath)), m_hooks(std::move(hooks))
{
    m_realtime.setDocumentFullHandler([this](DataDocument& full) { return documentFull(full); });
}

RecordingParts::~RecordingParts()
{
    m_realtime.setDocumentFullHandler({});
}

bool RecordingParts::savePart(DataDocument& part, int number)
{
    const QString path = pathOf(number);
    // The failure is told through partNotSaved, not by a message box that would hold up the
    // recording while it waits for OK.
    Prompter* prompter = part.prompter();
    part.setPrompter(nullptr);
    const bool saved = part.SaveFile(path);
    part.setPrompter(prompter);
    if (saved) {
        m_realtime.releaseJournal(&part);
        m_saved.append(path);
        if (m_hooks.partSaved)
            m_hooks.partSaved(part, number, path);
        return true;
    }
    m_failed = true;
    const QString reason = programState().LastError;
    const QString journal = m_realtime.journalPath(&part);
    m_realtime.keepJournal(&part); // on the disk for a restore, also once the document goes
    QString message = QStringLiteral("Part %1 of the recording could not be saved in %2: %3")
                          .arg(number)
                          .arg(QDir::toNativeSeparators(path), reason);
    if (!journal.isEmpty())
        message += QStringLiteral(" Its readings are kept in the recording journal %1 and are offered for restoring "
                                  "at the next start.")
                       .arg(QDir::toNativeSeparators(journal));
    if (m_hooks.partNotSaved)
        m_hooks.partNotSaved(part, number, message);
    return false;
}

DataDocument* RecordingParts::documentFull(DataDocument& full)
{
    savePart(full, m_number); // a part that could not be saved does not end the recording
    DataDocument* next = m_hooks.newDocument ? m_hooks.newDocument() : nullptr;
    if (!next)
        return nullptr;
    const TimeTexts interval = full.GetInterval();
    next->SetInterval(interval.days, interval.hours, interval.minutes, interval.seconds);
    const PeriodTexts period = full.GetPeriod();
    next->SetPeriod(full.GetPeriodnone(), period.days, period.hours, period.minutes, period.seconds);
    // The same limits, with the unit the first part settled on when it was left open.
    next->setLimits(full.limits());
    ++m_number;
    if (m_hooks.partStarted)
        m_hooks.partStarted(*next, m_number);
    return next;
}

bool RecordingParts::finish(DataDocument& last)
{
    if (m_number > 1 && last.GetDatacount() == 0) {
        m_realtime.releaseJournal(&last); // stopped right after a part was full: nothing to keep
        return !m_failed;
    }
    savePart(last, m_number);
    return !m_failed;
}

} // namespace quvo
