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
// renamed). `beforeCommit` runs after the new file is complete and synced and before it
// replaces the original. Throws RuntimeError; the original is then untouched and no
// temporary file remains.
void addSheetsToWorkbookFile(const QString& path, const std::vector<SheetModel*>& sheets,
                             const std::function<void()>& beforeCommit = {}, const PackageLimits& limits = {});

// The name a newly added sheet gets: "SheetN" with N from the number of sheets plus
// one upwards, the first one not taken (names compare without regard to letter case).
QString nextSheetName(const QStringList& taken);

// At most 31 characters, none of []:*?/\, not empty, not starting or ending with "'".
bool isValidSheetName(const QString& name);

} // namespace quvo::xlsx
