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
}

WorkFileLock::~WorkFileLock() = default; // unlocks

QString WorkFileLock::inUseText(const QString& workPath)
{
    return QStringLiteral("The work file %1 is in use by another Quvolink program. Try again in a moment.")
        .arg(QDir::toNativeSeparators(workPath));
}

} // namespace quvo
