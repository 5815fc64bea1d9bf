#pragma once
// Adding sheets to an existing .xlsx workbook without rewriting the rest of it.
//
// The new sheets are written by libxlsxwriter as a workbook of their own (with their
// final names, so the chart references are right), and their parts are then grafted into
// the existing package: worksheet, drawing and chart parts under the next free numbers,
// shared strings turned into inline strings, styles merged into the existing styles part,
// and the content types, the workbook's relationships, the workbook part (a new last
// <sheet>) and the application properties patched. Every other entry is copied byte for
// byte. The result is written beside the original and renamed over it only when complete.
//
// Reading an existing file is guarded: size and entry-count caps against zip bombs, no
// absolute or ".." entry names, no DOCTYPE in the parts that are parsed.

#include "forward/XlsxModel.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

namespace quvo::xlsx {

struct PackageLimits {
    qint64 maxEntrySize = 200LL * 1024 * 1024;   // uncompressed bytes of one entry
    qint64 maxTotalSize = 1024LL * 1024 * 1024;  // uncompressed bytes of all entries
    int maxEntries = 10000;
    // Uncompressed bytes of a part that is unpacked and parsed (content types, relationships,
    // the workbook part, styles, document properties). Those parts are small in any real
    // workbook; parsing one takes a few times its size in memory.
    qint64 maxParsedPartSize = 32LL * 1024 * 1024;
};

// What adding sheets needs to know about an existing workbook file.
struct WorkbookFileInfo {
    QString path;           // the file itself (symbolic links resolved)
    QStringList sheetNames; // in the workbook's order
};

// Checks that sheets can be added to the workbook at `path` and reads its sheet names.
// Throws RuntimeError saying why not: an old binary .xls file, a missing file, a file
// another program holds open, not a zip archive or not a workbook, Strict Open XML, an
// encrypted file, damaged or unsafe content, a folder that takes no new files.
WorkbookFileInfo inspectWorkbookFile(const QString& path, const PackageLimits& limits = {});

// Adds `sheets` in this order after the last sheet of the workbook at `path`. A sheet
// whose name is taken in the file meanwhile gets the next free "SheetN" (the model is
// renamed). `activeSheet` (an index into `sheets`) is the sheet the workbook then opens
// on, active and the only one selected; -1 leaves the workbook's own choice. `beforeCommit`
// runs after the new file is complete and synced and before it replaces the original.
// Throws RuntimeError; the original is then untouched and no temporary file remains.
// The same in two steps, prepare and commit, below.
void addSheetsToWorkbookFile(const QString& path, const std::vector<SheetModel*>& sheets,
                             const std::function<void()>& beforeCommit = {}, const PackageLimits& limits = {},
                             int activeSheet = -1);

// A workbook with its new sheets, complete and synced under a temporary name beside the
// original, not yet in its place.
struct PreparedWorkbook {
    QString file;      // the workbook (symbolic links resolved)
    QString temporary; // the new file, with the workbook's owner, group and mode where allowed
};

// The long part of adding sheets: everything but putting the new file in place (so that it
// can run on a worker thread while the program waits for it). Throws RuntimeError; nothing
// is left behind then.
PreparedWorkbook prepareSheetsForWorkbookFile(const QString& path, const std::vector<SheetModel*>& sheets,
                                              int activeSheet = -1, const PackageLimits& limits = {});
// Puts the new file in place of the workbook: `beforeCommit` runs, the lock files are
// looked at again and the new file is renamed over the workbook. Throws RuntimeError; the
// workbook is then untouched and the new file removed.
void commitPreparedWorkbook(const PreparedWorkbook& prepared, const std::function<void()>& beforeCommit = {});
// Removes a new file that is not wanted (the forwarding was cancelled while it was written).
void discardPreparedWorkbook(const PreparedWorkbook& prepared);

// The name a newly added sheet gets: "SheetN" with N from the number of sheets plus
// one upwards, the first one not taken (names compare without regard to letter case).
QString nextSheetName(const QStringList& taken);

// At most 31 characters, none of []:*?/\, not empty, not starting or ending with "'".
bool isValidSheetName(const QString& name);

} // namespace quvo::xlsx
