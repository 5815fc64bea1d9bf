#pragma once
// The File menu's commands at the main-window level: Open (with the already-open check),
// Save and Save As (with the read-only and already-open refusals), Forward. They work on
// documents and talk to the user only through the Prompter, so tests drive them without
// windows.

#include <QList>
#include <QString>

#include <functional>

namespace quvo {

class CommandHost;
class DataDocument;
class Prompter;

// The document windows the commands work with.
class DocumentWindows {
public:
    virtual ~DocumentWindows() = default;
    // Every open data document (kinds 0, 2 and 4), in window order.
    virtual QList<DataDocument*> openDocuments() const = 0;
    // A new document window, its document made with OpenNew(DataDocument::KindBeforeOpen).
    virtual DataDocument* createDocumentWindow() = 0;
    // Closes a document window without asking (used after a failed open).
    virtual void discardDocumentWindow(DataDocument* document) = 0;
    // The document was saved to its data file.
    virtual void documentSaved(DataDocument* document) = 0;
};

// True when the file exists and is not a plain writable file: read-only, a folder, or (on
// platforms that have them) hidden or system. Such a file is never saved over.
bool hasSpecialAttributes(const QString& path);

class FileCommands {
public:
    FileCommands(Prompter& prompter, DocumentWindows& windows, CommandHost& host);

    // Where the commands' messages and file dialogs go from now on.
    void setPrompter(Prompter& prompter) { m_prompter = &prompter; }

    // True when a data document shows this file: the names are compared exactly, letter case
    // included.
    bool IsFileAlreadyOpen(const QString& name) const;

    // File › Open: the data file dialog, then a new document window for the file unless it is
    // already open (then nothing happens, silently). A file that cannot be opened is reported
    // by the document; its empty window is closed again.
    void FileOpen();
    // Opens one named file the same way (start-up arguments, tests).
    void openFile(const QString& name);

    // File › Save on a document: Save As when it has no file name yet.
    void FileSave(DataDocument& document);
    // File › Save As on a document.
    void FileSaveAs(DataDocument& document);

    // File › Forward: the Forward dialog and, when confirmed, forwarding of the document.
    void FileForward(DataDocument& document);

private:
    bool refuseReadOnly(const QString& name);
    void save(DataDocument& document, const QString& name);

    Prompter* m_prompter;
    DocumentWindows& m_windows;
    CommandHost& m_host;
};

} // namespace quvo
