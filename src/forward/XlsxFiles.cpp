#include "forward/XlsxFiles.h"

#include "document/DurableFile.h"
#include "resources/RuntimeError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quvo::xlsx {

namespace {

constexpr int MaxStemLength = 100;

QString systemError(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

} // namespace

QString safeFileStem(const QString& title)
{
    QString stem;
    stem.reserve(title.size());
    for (const QChar c : title) {
        const bool refused = c.unicode() < 0x20 || c == QChar(0x7F) || QStringLiteral("/\\:*?\"<>|").contains(c);
        stem += refused ? QLatin1Char('_') : c;
    }
    stem = stem.trimmed();
    if (stem.size() > MaxStemLength)
        stem = stem.left(MaxStemLength).trimmed();
    // A name of only dots would be the folder itself or its parent; trailing dots and
    // blanks are dropped by some file systems.
    while (stem.endsWith(QLatin1Char('.')) || stem.endsWith(QLatin1Char(' ')))
        stem.chop(1);
    while (stem.startsWith(QLatin1Char('.')))
        stem.remove(0, 1);
    return stem.isEmpty() ? QStringLiteral("Quvolink") : stem;
}

QString newWorkbookPath(const QString& folder, const QString& title, const QDateTime& when)
{
    const QString stem = safeFileStem(title) + QLatin1Char(' ') + when.toString(QStringLiteral("yyyy-MM-dd HH-mm-ss"));
    const QDir dir(folder);
    QString candidate = dir.filePath(stem + QStringLiteral(".xlsx"));
    for (int n = 2; QFileInfo::exists(candidate) || QFileInfo(candidate).isSymLink(); ++n)
        candidate = dir.filePath(QStringLiteral("%1 (%2).xlsx").arg(stem).arg(n));
    return candidate;
}

QString lockFileOf(const QString& workbookPath)
{
    const QFileInfo info(workbookPath);
    const QDir dir = info.dir();
    const QString name = info.fileName();
    const QString candidates[] = {
        QStringLiteral("~$") + name,
        QStringLiteral(".~lock.") + name + QLatin1Char('#'),
    };
    for (const QString& candidate : candidates) {
        const QString lock = dir.filePath(candidate);
        if (QFileInfo::exists(lock))
            return lock;
    }
    return {};
}

QString lockedMessage(const QString& workbookPath, const QString& lock)
{
    return QStringLiteral("The workbook \"%1\" is open in another program: its lock file \"%2\" is beside it. "
                          "Close the workbook in that program and try again. If no program has it open, the lock "
                          "file was left behind and may be deleted.")
        .arg(QDir::toNativeSeparators(workbookPath), QDir::toNativeSeparators(lock));
}

QString folderGivenMessage(const QString& path)
{
    return QStringLiteral("\"%1\" is a folder, not a workbook. Choose a workbook file (.xlsx).")
        .arg(QDir::toNativeSeparators(path));
}

void keepOwnerAndMode(const QString& original, const QString& copy)
{
    const QByteArray from = QFile::encodeName(original);
    const QByteArray to = QFile::encodeName(copy);
    struct stat status {};
    if (::stat(from.constData(), &status) != 0)
        return;
    // The owner first: changing it may clear the set-id bits, which the mode then restores.
    // Where neither owner nor group may be given, the copy stays the user's own.
    const bool owned = ::chown(to.constData(), status.st_uid, status.st_gid) == 0
        || ::chown(to.constData(), static_cast<uid_t>(-1), status.st_gid) == 0;
    Q_UNUSED(owned);
    ::chmod(to.constData(), status.st_mode & 07777);
}

QString createTemporaryBeside(const QString& folder, const QString& baseName)
{
    removeStaleTemporaries(folder);
    const QString pattern = QDir(folder).filePath(temporaryNamePrefix(baseName) + QStringLiteral("XXXXXX"));
    const QString failure = injectedFileFailure(FileStep::Create, pattern);
    if (!failure.isEmpty())
        throw RuntimeError(QStringLiteral("No file can be created in the folder \"%1\": %2")
                               .arg(QDir::toNativeSeparators(folder), failure));
    QTemporaryFile file(pattern);
    file.setAutoRemove(false);
    if (!file.open())
        throw RuntimeError(QStringLiteral("No file can be created in the folder \"%1\": %2")
                               .arg(QDir::toNativeSeparators(folder), file.errorString()));
    const QString path = file.fileName();
    file.close();
    fileStepDone(FileStep::Create, path);
    return path;
}

void temporaryWritten(const QString& temporary)
{
    const QString failure = injectedFileFailure(FileStep::Write, temporary);
    fileStepDone(FileStep::Write, temporary);
    if (!failure.isEmpty())
        throw RuntimeError(
            QStringLiteral("\"%1\" cannot be written: %2").arg(QDir::toNativeSeparators(temporary), failure));
}

void syncToDisk(const QString& path)
{
    const QString failure = injectedFileFailure(FileStep::Sync, path);
    if (!failure.isEmpty())
        throw RuntimeError(QStringLiteral("\"%1\" could not be written to the disk: %2")
                               .arg(QDir::toNativeSeparators(path), failure));
    const QByteArray name = QFile::encodeName(path);
    const int fd = ::open(name.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        throw RuntimeError(QStringLiteral("\"%1\" cannot be opened: %2").arg(QDir::toNativeSeparators(path), systemError(errno)));
    const bool ok = ::fsync(fd) == 0;
    const int error = errno;
    ::close(fd);
    if (!ok)
        throw RuntimeError(QStringLiteral("\"%1\" could not be written to the disk: %2")
                               .arg(QDir::toNativeSeparators(path), systemError(error)));
    fileStepDone(FileStep::Sync, path);
}

void syncFolder(const QString& folder)
{
    const QByteArray name = QFile::encodeName(folder);
    const int fd = ::open(name.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return; // some file systems do not open folders; the rename itself was done
    ::fsync(fd);
    ::close(fd);
}

void moveIntoPlace(const QString& temporary, const QString& target, bool replace)
{
    const QString failure = injectedFileFailure(FileStep::Replace, target);
    if (!failure.isEmpty())
        throw RuntimeError(QStringLiteral("\"%1\" could not be replaced: %2")
                               .arg(QDir::toNativeSeparators(target), failure));
    const QByteArray from = QFile::encodeName(temporary);
    const QByteArray to = QFile::encodeName(target);
    if (replace) {
        if (std::rename(from.constData(), to.constData()) != 0)
            throw RuntimeError(QStringLiteral("\"%1\" could not be replaced: %2")
                                   .arg(QDir::toNativeSeparators(target), systemError(errno)));
    } else {
        // A hard link fails when the target exists, so a file that appeared meanwhile
        // is never overwritten; the temporary name is removed afterwards.
        if (::link(from.constData(), to.constData()) == 0) {
            ::unlink(from.constData());
        } else {
            const int error = errno;
            // File systems without hard links: check, then rename.
            const bool noLinks = error == EPERM || error == EOPNOTSUPP || error == ENOSYS;
            if (!noLinks || QFileInfo::exists(target))
                throw RuntimeError(QStringLiteral("\"%1\" could not be created: %2")
                                       .arg(QDir::toNativeSeparators(target), systemError(noLinks ? EEXIST : error)));
            if (std::rename(from.constData(), to.constData()) != 0)
                throw RuntimeError(QStringLiteral("\"%1\" could not be created: %2")
                                       .arg(QDir::toNativeSeparators(target), systemError(errno)));
        }
    }
    fileStepDone(FileStep::Replace, target);
    syncFolder(QFileInfo(target).absolutePath());
}

bool desktopOpenSuppressed()
{
    return qEnvironmentVariableIsSet("QUVOLINK_NO_DESKTOP_OPEN");
}

} // namespace quvo::xlsx
