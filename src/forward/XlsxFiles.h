#pragma once
// File-system rules of the workbook writer: names of new workbooks, signs that another
// program holds a workbook open, temporary files beside a target, and the durable
// replace (write, sync, rename) that leaves either the old file or the new one.

#include <QDateTime>
#include <QString>

namespace quvo::xlsx {

// The deflate level of the parts this program compresses itself (added and changed parts
// of a workbook, completed charts). The fastest: workbook XML repeats itself so much that
// zlib's usual level 6 makes a full document's file only about 3 % smaller, at three times
// the time, and the person waits for it.
constexpr int DeflateLevel = 1;

// A sheet title as part of a file name: characters that file systems refuse or that
// have a meaning in paths become "_", blanks and dots at the ends are dropped, the
// length is limited; "Quvolink" when nothing is left.
QString safeFileStem(const QString& title);

// "<folder>/<title> 2026-11-21 14-03-05.xlsx", or with " (2)", " (3)", ... before the
// extension when that name is taken: an existing file is never overwritten.
QString newWorkbookPath(const QString& folder, const QString& title, const QDateTime& when);

// The lock file that a spreadsheet program keeps beside a workbook it has open
// ("~$name.xlsx" or ".~lock.name.xlsx#"), or "" when there is none.
QString lockFileOf(const QString& workbookPath);

// What the user is told when a workbook cannot be written because of the lock file `lock`
// beside it: the workbook and the lock file by name, that another program has the
// workbook open, and that the lock file may be deleted when no program has it open.
QString lockedMessage(const QString& workbookPath, const QString& lock);

// What the user is told when a folder is given where a workbook file belongs.
QString folderGivenMessage(const QString& path);

// Gives `copy` the owner, group and mode of `original` as far as the system allows (an
// ordinary user cannot give a file away; the group is then kept when the user is in it).
// Used before a workbook is replaced by its new version, so that the replacement keeps
// who may read and write it.
void keepOwnerAndMode(const QString& original, const QString& copy);

// A new, empty file in `folder` with a hidden name derived from `baseName`, named like every
// temporary file of the program (temporaryNamePrefix in document/DurableFile.h); stale
// temporary files in the folder are removed first. Throws RuntimeError when the folder does
// not take new files.
QString createTemporaryBeside(const QString& folder, const QString& baseName);

// The temporary file is complete: the step where a write fails on a full disk (an injected
// fault, see FileFaultInjector), and where a test may stop the process. Throws RuntimeError.
void temporaryWritten(const QString& temporary);

// Flushes a file (or a folder's entries) to the disk; throws RuntimeError on failure.
void syncToDisk(const QString& path);
void syncFolder(const QString& folder);

// Moves `temporary` to `target`: over an existing target when `replace`, otherwise
// failing when the target exists. Syncs the folder afterwards. Throws RuntimeError.
void moveIntoPlace(const QString& temporary, const QString& target, bool replace);

// True when the environment asks not to open finished workbooks on the desktop
// (QUVOLINK_NO_DESKTOP_OPEN is set: tests and unattended runs).
bool desktopOpenSuppressed();

} // namespace quvo::xlsx
