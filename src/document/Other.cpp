#include "document/Other.h"

#include "resources/ProgramState.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <algorithm>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

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
    const QByteArray folder = QFile::encodeName(QFileInfo(workPath).absolutePath());
    m_folder = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (m_folder < 0) {
        m_locked = true; // says nothing about other programs; the work file's write will tell
        return;
    }
    // Another program's save or open is short: ask again after a pause that grows, as long
    // as the caller is willing to wait.
    QElapsedTimer waited;
    waited.start();
    int pause = 5;
    for (;;) {
        if (::flock(m_folder, LOCK_EX | LOCK_NB) == 0) {
            m_locked = true;
            return;
        }
        if (errno == EINTR)
            continue;
        if (errno != EWOULDBLOCK) {
            m_locked = true; // no locks on this file system
            return;
        }
        const qint64 left = waitMs - waited.elapsed();
        if (left <= 0)
            break;
        QThread::msleep(static_cast<unsigned long>(std::min<qint64>(pause, left)));
        pause = std::min(pause * 2, 100);
    }
    ::close(m_folder);
    m_folder = -1;
}

WorkFileLock::~WorkFileLock()
{
    if (m_folder >= 0)
        ::close(m_folder); // releases the lock
}

QString WorkFileLock::inUseText(const QString& workPath)
{
    return QStringLiteral("The work file %1 is in use by another Quvolink program. Try again in a moment.")
        .arg(QDir::toNativeSeparators(workPath));
}

} // namespace quvo
