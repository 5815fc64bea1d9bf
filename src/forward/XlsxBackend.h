#pragma once
// The workbook objects of ExcelObjects.h, backed by .xlsx files.
//
// Everything forwarding does is recorded in memory (XlsxModel.h). The files are written
// when forwarding hands the application back to the user: when it sets Visible or
// Interactive to true (the end of a whole-document forwarding, the end of a realtime
// recording). At that moment every workbook with something new is written, once:
//   - a new workbook (Workbooks.Add) becomes a new file, named from the title in B2 of
//     its first sheet and the date and time, in the user's documents folder unless
//     another place is set;
//   - an existing workbook (Workbooks.Open) gets its new sheets added at its end, every
//     other part of the file kept byte for byte.
// A workbook whose new sheet received nothing is not written, and neither is a workbook
// closed without saving or a sheet deleted before the hand-back (a forwarding that did not
// finish discards its sheet that way, so it leaves nothing behind). An application released
// without being handed back writes what it holds the same way, so nothing recorded is
// lost. Each written file is then offered to the desktop (see XlsxSettings::openFile).
//
// There is no running application to attach to: GetObject always fails, and every
// CreateObject starts an application of its own.

#include "forward/ExcelObjects.h"
#include "forward/XlsxPackage.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

namespace quvo {

struct XlsxSettings {
    // Where a new workbook goes: empty for the user's documents folder; a folder (one
    // that exists, or a path ending in "/") to name the file there by title and time;
    // otherwise the file itself, replaced when it exists.
    QString newWorkbookLocation;
    // When newWorkbookLocation names a file: replace a file of that name (true) or refuse
    // to write when one exists (false; checked in the same step that puts the new file in
    // place, so a file that appears meanwhile is not overwritten either).
    bool replaceNamedFile = true;
    // Opens a written workbook with the desktop's spreadsheet program. The program sets
    // it (the desktop services live in the GUI library); nothing happens when it is
    // empty or when desktopOpenSuppressed() (xlsx::desktopOpenSuppressed) holds.
    std::function<void(const QString& path)> openFile;
    // Told the reason when a workbook cannot be written at hand-back. Forwarding ignores
    // errors of that last step, so this is where the user learns about a full disk.
    std::function<void(const QString& message)> reportFailure;
    // Runs when a new file is complete and synced, just before it takes its place
    // (a fault can be injected here to check that nothing is left behind).
    std::function<void()> beforeCommit;
    // Keeps the program alive while a workbook is written at hand-back. When set, the
    // writing runs on a worker thread and this is called on the calling thread with a test
    // that tells when the writing is done. It may wait for that with the event loop running
    // (the progress dialog repaints, its Cancel is answered) and returns true when the user
    // abandoned the forwarding meanwhile: the new file is then removed, nothing is put in
    // place and nothing is reported. It may also return false at once; the writing is then
    // waited for without the event loop. Empty: the writing runs on the calling thread.
    // Forward::handBackWaiter() is the engine's.
    std::function<bool(const std::function<bool()>& done)> waitForWrite;
    xlsx::PackageLimits limits;
};

class XlsxConnector : public ExcelConnector {
public:
    explicit XlsxConnector(XlsxSettings settings = {});
    ~XlsxConnector() override;

    std::shared_ptr<ExcelApplication> GetObject() override;
    std::shared_ptr<ExcelApplication> CreateObject() override;

    // The files written by this connector's applications, in order.
    QStringList writtenFiles() const;

    struct Shared;

private:
    std::shared_ptr<Shared> m_shared;
};

} // namespace quvo
