#pragma once
// Small file helpers shared by the data file code: can a file be read, and the work file
// ("WORK.~~~" in the program folder, path in programState().WorkPath) through which every
// data file is saved and opened.

#include <QString>

namespace quvo {

// True when the file can be opened for reading (it is closed again at once).
bool CanOpenForInput(const QString& path);

// Creates the work file, empty, when it cannot be opened for reading. Errors are ignored:
// the write that follows reports them.
void EnsureWorkFile();

// Deletes the work file; errors (no such file) are ignored.
void DeleteWorkFile();

// The work file is one per program folder, and the desktop program and the command-line
// program share that folder. A save or an open holds this lock while it uses the work file,
// so that two programs never mix their data in it, and a program starting up never removes
// a work file that is in use. The lock is the system's advisory lock (flock) on the program
// folder itself: no lock file is written or synced, and the system releases the lock when
// its program ends, however it ends. A lock that the system cannot give (a folder that
// cannot be opened, a file system without locks) does not count as held: the work file's own
// write then fails with the system's reason, or goes on unlocked where locks are missing.
class WorkFileLock {
public:
    // Waits up to `waitMs` milliseconds for the lock (another program's save is short).
    explicit WorkFileLock(const QString& workPath, int waitMs = 10000);
    ~WorkFileLock();
    WorkFileLock(const WorkFileLock&) = delete;
    WorkFileLock& operator=(const WorkFileLock&) = delete;

    bool isLocked() const { return m_locked; }
    // The reason of a lock that could not be had.
    static QString inUseText(const QString& workPath);

private:
    int m_folder = -1; // the locked folder, open while the lock is held
    bool m_locked = false;
};

} // namespace quvo
