#pragma once
// Writing files so that a failure never damages what is already there: the bytes go to a
// file that is flushed and synced to the disk, and only then replace the target in one
// rename. Every failure throws RuntimeError with the file and the system's reason
// ("No space left on device"); whatever was half written is removed again.

#include <QByteArray>
#include <QByteArrayView>
#include <QFile>
#include <QString>
#include <QStringList>

#include <functional>

namespace quvo {

// The steps of writing one file, as a fault injector sees them.
enum class FileStep {
    Create,  // open the file for writing
    Write,   // write the bytes
    Sync,    // flush and sync to the disk
    Replace, // rename over the target
    Read,    // open and read a file (copying)
};

// Test seam: makes a step fail as the system would (a full disk, a folder without write
// permission) where tests cannot arrange the real condition. The program never installs one.
class FileFaultInjector {
public:
    virtual ~FileFaultInjector() = default;
    // Called before each step on `path`. A non-empty result fails the step with that reason.
    // For FileStep::Write, `acceptedBytes` (all of them on entry) may be lowered to the bytes
    // the system takes before it fails: a short write.
    virtual QString failure(FileStep step, const QString& path, qint64& acceptedBytes) = 0;
    // Called once a step is done; for FileStep::Write once the bytes it took are written,
    // also when it then fails. A test can end the process here to see what a crash between
    // two steps leaves on the disk.
    virtual void done(FileStep step, const QString& path)
    {
        (void)step;
        (void)path;
    }
};

// Installs the injector (nullptr: none) and returns the one before.
FileFaultInjector* setFileFaultInjector(FileFaultInjector* injector);

// The same seam for writers that do their own writing (the recording journal, the workbook
// files): the reason an injected step fails (empty: it does not), and the step done.
QString injectedFileFailure(FileStep step, const QString& path);
QString injectedFileFailure(FileStep step, const QString& path, qint64& acceptedBytes);
void fileStepDone(FileStep step, const QString& path);

// Writes all `size` bytes to an open file. A short write (the disk filled during it) is
// followed by a write of the rest, so that the system says why it takes no more ("No space
// left on device") instead of the write ending without a reason. False with that reason.
bool writeWhole(QFile& file, const char* data, qint64 size, QString& reason);

// --- Temporary files ----------------------------------------------------------------------
// Every temporary file the program makes beside a file it writes is named
// ".<file name>.quvolink-<process id>-<random part>", perhaps with further suffixes
// (".tmp"). The name says whose it is, and whether the process that made it still runs: one
// whose process has ended was left behind by a crash or a power cut and is stale.

// ".<fileName>.quvolink-<this process's id>-"
QString temporaryNamePrefix(const QString& fileName);
// True for a temporary file name of this program whose process no longer runs.
bool isStaleTemporaryName(const QString& fileName);
// Removes the stale temporary files in a folder; returns their names.
QStringList removeStaleTemporaries(const QString& folder);

// Makes the entries of a folder (a new or renamed file) durable: on POSIX systems a rename
// or a new file reaches the disk only once its folder is synced. Failures are ignored (not
// every file system syncs folders).
void syncFolder(const QString& folder);

// Writes `bytes` to `path` (replacing its content), flushes and syncs it. Throws RuntimeError.
void writeFileSynced(const QString& path, const QByteArray& bytes);

// Makes `bytes` the content of `path` without ever leaving a half-written file: a temporary
// file beside it is written, synced and renamed over it, then the folder is synced. Stale
// temporary files in that folder are removed first. An existing file keeps its permissions;
// a symbolic link stays a link (the file it points to is replaced). Throws RuntimeError;
// `path` is then as it was and no temporary file is left.
void writeFileAtomically(const QString& path, const QByteArray& bytes);

// Replaces `target` by the content of `source` without ever leaving a half-written target:
// in the same folder `source` is renamed over it; elsewhere it is first copied to a new
// file beside the target, synced, and that is renamed over it. The folder is synced after
// the rename. An existing target keeps its permissions. Throws RuntimeError; the target is
// then as it was.
void replaceFileWith(const QString& source, const QString& target);

// Copies `source` over `target` (plain, no sync: a staging copy for reading). Refuses a
// source larger than maxBytes. `inspect`, when given, sees every block as it is copied and
// may throw RuntimeError to refuse the file at once. Throws RuntimeError.
void copyFileLimited(const QString& source, const QString& target, qint64 maxBytes,
                     const std::function<void(QByteArrayView block)>& inspect = {});

} // namespace quvo
