#include "app/FileCommands.h"

#include "acquisition/CommandHost.h"
#include "app/CommandRules.h"
#include "document/DataDocument.h"
#include "resources/ProgramState.h"
#include "resources/Prompter.h"
#include "resources/ResID.h"

#include <QFileInfo>

namespace quvo {

namespace {
const QString CrLf = QStringLiteral("\r\n");
}

bool hasSpecialAttributes(const QString& path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return false;
    if (info.isDir())
        return true;
    // The owner's write permission stands for the read-only attribute; a check of "may I
    // write" would say yes to the superuser even for a file its owner marked read-only.
    if (!(info.permissions() & QFileDevice::WriteOwner))
        return true;
#ifdef Q_OS_WIN
    if (info.isHidden())
        return true;
#endif
    return false;
}

FileCommands::FileCommands(Prompter& prompter, DocumentWindows& windows, CommandHost& host)
    : m_prompter(&prompter), m_windows(windows), m_host(host)
{
}

bool FileCommands::IsFileAlreadyOpen(const QString& name) const
{
    for (const DataDocument* document : m_windows.openDocuments()) {
        if (document->GetFilename() == name)
            return true;
    }
    return false;
}

void FileCommands::FileOpen()
{
    FileDialogRequest request;
    request.mode = FileDialogRequest::Mode::Open;
    request.filter = dataFileFilter();
    request.fileMustExist = true;
    const QString name = m_prompter->chooseFile(request);
    if (name.isEmpty())
        return;
    openFile(name);
}

void FileCommands::openFile(const QString& name)
{
    if (IsFileAlreadyOpen(name))
        return;
    DataDocument* document = m_windows.createDocumentWindow();
    if (!document)
        return;
    if (!document->OpenFile(name))
        m_windows.discardDocumentWindow(document);
}

bool FileCommands::refuseReadOnly(const QString& name)
{
    if (!hasSpecialAttributes(name))
        return false;
    m_prompter->warn(name + CrLf + ResID(Res::ReadOnlyFile) + CrLf + ResID(Res::SpecifyDifferentName));
    return true;
}

void FileCommands::FileSave(DataDocument& document)
{
    const QString name = document.GetFilename();
    if (name.isEmpty()) {
        FileSaveAs(document);
        return;
    }
    if (refuseReadOnly(name))
        return;
    save(document, name);
}

void FileCommands::save(DataDocument& document, const QString& name)
{
    if (document.SaveFile(name))
        m_windows.documentSaved(&document);
}

void FileCommands::FileSaveAs(DataDocument& document)
{
    FileDialogRequest request;
    request.mode = FileDialogRequest::Mode::Save;
    request.filter = dataFileFilter();
    request.fileName = document.GetFilename();
    request.defaultExtension = QStringLiteral("CSV");
    request.overwritePrompt = true;
    request.pathMustExist = true;
    const QString name = m_prompter->chooseFile(request);
    if (name.isEmpty())
        return;
    if (name != document.GetFilename() && IsFileAlreadyOpen(name)) {
        m_prompter->warn(name + CrLf + ResID(Res::FileAlreadyOpen) + CrLf + ResID(Res::SpecifyDifferentName2));
        return;
    }
    if (refuseReadOnly(name))
        return;
    save(document, name);
}

void FileCommands::FileForward(DataDocument& document)
{
    programState().CurrentDoc = &document;
    if (document.GetDatacount() == 0)
        return;
    m_host.showForwardDialog();
    if (!programState().NoForward)
        m_host.forwardCurrentDocument();
}

} // namespace quvo
