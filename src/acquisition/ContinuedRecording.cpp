#include "acquisition/ContinuedRecording.h"

#include "document/DataDocument.h"
#include "resources/Constant.h"
#include "resources/Prompter.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace quvo {

ContinuedRecording::ContinuedRecording(Realtime& realtime, Window window)
    : m_realtime(realtime), m_window(std::move(window))
{
}

ContinuedRecording::~ContinuedRecording() = default;

QString ContinuedRecording::firstFileName(const DataDocument& first)
{
    if (!first.GetFilename().isEmpty())
        return QFileInfo(first.GetFilename()).fileName();
    return first.caption() + QStringLiteral(".CSV");
}

QString ContinuedRecording::recordingTitle(const QString& path, int number)
{
    return QStringLiteral("%1 (part %2, recording)").arg(QFileInfo(path).fileName()).arg(number);
}

bool ContinuedRecording::begin(DataDocument& first, Prompter& prompter)
{
    m_parts.reset();
    m_partDocuments.clear();
    FileDialogRequest request;
    request.mode = FileDialogRequest::Mode::Folder;
    if (!m_folder.isEmpty())
        request.fileName = m_folder;
    else if (!first.GetFilename().isEmpty())
        request.fileName = QFileInfo(first.GetFilename()).absolutePath();
    else
        request.fileName = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    const QString folder = prompter.chooseFile(request);
    if (folder.isEmpty())
        return false;
    m_folder = folder;

    RecordingParts::Hooks hooks;
    hooks.newDocument = [this]() -> DataDocument* {
        DataDocument* next = m_window.newDocument ? m_window.newDocument() : nullptr;
        if (next)
            next->setContinueWhenFull(true);
        return next;
    };
    hooks.partSaved = [this](DataDocument&, int number, const QString& path) {
        if (m_window.status)
            m_window.status(QStringLiteral("Part %1 saved as %2.").arg(number).arg(QDir::toNativeSeparators(path)));
    };
    hooks.partNotSaved = [this](DataDocument& part, int number, const QString& message) {
        if (m_window.partTitle)
            m_window.partTitle(&part, QStringLiteral("%1 (part %2, not saved)")
                                          .arg(QFileInfo(m_parts->pathOf(number)).fileName())
                                          .arg(number));
        if (m_window.status)
            m_window.status(message);
        if (m_window.warnLater)
            m_window.warnLater(message);
    };
    hooks.partStarted = [this](DataDocument& next, int number) { partStarted(next, number); };
    m_parts = std::make_unique<RecordingParts>(m_realtime, QDir(folder).filePath(firstFileName(first)),
                                               std::move(hooks));
    m_partDocuments.append(&first);
    if (m_window.partTitle)
        m_window.partTitle(&first, recordingTitle(m_parts->pathOf(1), 1));
    return true;
}

void ContinuedRecording::partStarted(DataDocument& next, int number)
{
    m_partDocuments.append(&next);
    while (m_partDocuments.size() > KeptPartWindows) {
        const QPointer<DataDocument> oldest = m_partDocuments.takeFirst();
        // A part that could not be saved stays open: its rows are nowhere else but its journal.
        if (oldest && oldest->isUnchanged() && m_window.closeDocument)
            m_window.closeDocument(oldest.data());
    }
    if (m_window.partTitle)
        m_window.partTitle(&next, recordingTitle(m_parts->pathOf(number), number));
    if (m_window.status)
        m_window.status(QStringLiteral("Recording part %1 into %2.")
                            .arg(number)
                            .arg(QDir::toNativeSeparators(m_parts->pathOf(number))));
}

void ContinuedRecording::end(DataDocument& last)
{
    if (!m_parts)
        return;
    if (m_parts->number() > 1 || last.GetDatacount() > 0) {
        m_parts->finish(last);
        if (!m_parts->anyFailed() && m_window.status)
            m_window.status(QStringLiteral("The recording was saved in %1 part%2 in %3.")
                                .arg(m_parts->savedFiles().size())
                                .arg(m_parts->savedFiles().size() == 1 ? QString() : QStringLiteral("s"))
                                .arg(QDir::toNativeSeparators(m_folder)));
    }
    m_parts.reset();
    m_partDocuments.clear();
}

} // namespace quvo
