#include "document/Other.h"

#include "resources/ProgramState.h"

#include <QDir>
#include <QFile>
#include <QLockFile>

namespace quvo {

bool CanOpenForInput(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    file.close();
    return true;
}

void EnsureWorkFile()
{
    const QString& path = programState().WorkPath;
    if (CanOpenForInput(path))
        return;
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.close();
}

void DeleteWorkFile()
{
    const QString& path = programState().WorkPath;
    if (!path.isEmpty())
        QFile::remove(path);
}

WorkFileLock::WorkFileLock(const QString& workPath, int waitMs)
{
    if (workPath.isEmpty()) {
        m_locked = true; // no work file to share
        return;
    }
    m_lock = std::make_unique<QLockFile>(workPath + QStringLiteral(".lock"));
    m_lock->setStaleLockTime(0); // stale only when its program has ended, never by age
    m_locked = m_lock->tryLock(waitMs);
    // Only a lock that another running program holds keeps this one out. A lock file that
    // cannot be made at all (a full disk, a folder without write permission) says nothing
    // about other programs, and the work file cannot be written there either: the save or
    // open goes on and fails with the system's own reason ("No space left on device").
    if (!m_locked && m_lock->error() != QLockFile::LockFailedError)
        m_locked = true;
}

WorkFileLock::~WorkFileLock() = default; // unlocks

QString WorkFileLock::inUseText(const QString& workPath)
{
    return QStringLiteral("The work file %1 is in use by another Quvolink program. Try again in a moment.")
        .arg(QDir::toNativeSeparators(workPath));
}

} // namespace quvo
