#pragma once
// Writing files so that a failure never damages what is already there: the bytes go to a
// file that is flushed and synced to the disk, and only then replace the target in one
// rename. Every failure throws RuntimeError with the file and the system's reason
// ("No space left on device"); whatever was half written is removed again.

#include <QByteArray>
#include <QString>

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
};

// Installs the injector (nullptr: none) and returns the one before.
FileFaultInjector* setFileFaultInjector(FileFaultInjector* injector);

// Writes `bytes` to `path` (replacing its content), flushes and syncs it. Throws RuntimeError.
void writeFileSynced(const QString& path, const QByteArray& bytes);

// Replaces `target` by the content of `source` without ever leaving a half-written target:
// in the same folder `source` is renamed over it; elsewhere it is first copied to a new
// file beside the target, synced, and that is renamed over it. The folder is synced after
// the rename. An existing target keeps its permissions. Throws RuntimeError; the target is
// then as it was.
void replaceFileWith(const QString& source, const QString& target);

// Copies `source` over `target` (plain, no sync: a staging copy for reading). Refuses a
// source larger than maxBytes. Throws RuntimeError.
void copyFileLimited(const QString& source, const QString& target, qint64 maxBytes);

} // namespace quvo
