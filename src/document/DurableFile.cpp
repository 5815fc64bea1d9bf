#include "document/DurableFile.h"

#include "resources/RuntimeError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <algorithm>
#include <cerrno>
#include <cstring>

#ifdef Q_OS_WIN
#include <io.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace quvo {

namespace {

FileFaultInjector* g_injector = nullptr;

// The injected failure of a step, if any.
QString injected(FileStep step, const QString& path, qint64& acceptedBytes)
{
    return g_injector ? g_injector->failure(step, path, acceptedBytes) : QString();
}

QString injected(FileStep step, const QString& path)
{
    qint64 unused = 0;
    return injected(step, path, unused);
}

RuntimeError cannotWrite(const QString& path, const QString& reason)
{
    return RuntimeError(QStringLiteral("Cannot write \"%1\": %2").arg(QDir::toNativeSeparators(path), reason));
}

RuntimeError cannotRead(const QString& path, const QString& reason)
{
    return RuntimeError(QStringLiteral("Cannot read \"%1\": %2").arg(QDir::toNativeSeparators(path), reason));
}

QString systemError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

// Flushes Qt's buffer and asks the system to put the file on the disk.
bool syncToDisk(QFile& file, QString& reason)
{
    if (!file.flush()) {
        reason = file.errorString();
        return false;
    }
#ifdef Q_OS_WIN
    if (_commit(file.handle()) != 0) {
        reason = systemError();
        return false;
    }
#else
    if (::fsync(file.handle()) != 0) {
        reason = systemError();
        return false;
    }
#endif
    return true;
}

// Writes all bytes or throws; honours an injected short write.
void writeAll(QFile& file, const QString& path, const QByteArray& bytes)
{
    qint64 accepted = bytes.size();
    const QString failure = injected(FileStep::Write, path, accepted);
    const qint64 toWrite = failure.isEmpty() ? bytes.size() : std::clamp<qint64>(accepted, 0, bytes.size());
    if (toWrite > 0 && file.write(bytes.constData(), toWrite) != toWrite)
        throw cannotWrite(path, file.errorString());
    if (!failure.isEmpty())
        throw cannotWrite(path, failure);
}

void syncFile(QFile& file, const QString& path)
{
    QString reason = injected(FileStep::Sync, path);
    if (reason.isEmpty() && !syncToDisk(file, reason))
        throw cannotWrite(path, reason);
    if (!reason.isEmpty())
        throw cannotWrite(path, reason);
}

// Renames `from` over `to` in one step, replacing it.
void renameOver(const QString& from, const QString& to)
{
    const QString failure = injected(FileStep::Replace, to);
    if (!failure.isEmpty())
        throw cannotWrite(to, failure);
#ifdef Q_OS_WIN
    if (!MoveFileExW(reinterpret_cast<const wchar_t*>(QDir::toNativeSeparators(from).utf16()),
                     reinterpret_cast<const wchar_t*>(QDir::toNativeSeparators(to).utf16()),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        throw cannotWrite(to, QStringLiteral("the file could not be replaced (error %1)").arg(GetLastError()));
#else
    if (::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) != 0)
        throw cannotWrite(to, systemError());
#endif
}

// After a rename the folder's entry must reach the disk too. Not every file system can sync
// a folder; that is no reason to call a save failed.
void syncFolder(const QString& folder)
{
#ifndef Q_OS_WIN
    const int fd = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
#else
    Q_UNUSED(folder);
#endif
}

QByteArray readAll(const QString& path)
{
    const QString failure = injected(FileStep::Read, path);
    if (!failure.isEmpty())
        throw cannotRead(path, failure);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw cannotRead(path, file.errorString());
    QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        throw cannotRead(path, file.errorString());
    return bytes;
}

// A new file beside `target` that nobody else uses.
QString createSibling(const QString& target, QFile& file)
{
    const QFileInfo info(target);
    for (int attempt = 0; attempt < 16; ++attempt) {
        const QString name = info.absolutePath() + QStringLiteral("/.") + info.fileName() + QStringLiteral(".")
            + QString::number(QRandomGenerator::global()->generate(), 16) + QStringLiteral(".tmp");
        const QString failure = injected(FileStep::Create, name);
        if (!failure.isEmpty())
            throw cannotWrite(target, failure);
        file.setFileName(name);
        if (file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered))
            return name;
        if (QFileInfo::exists(name))
            continue; // taken: try another name
        throw cannotWrite(target, file.errorString());
    }
    throw cannotWrite(target, QStringLiteral("no free temporary name"));
}

} // namespace

FileFaultInjector* setFileFaultInjector(FileFaultInjector* injector)
{
    FileFaultInjector* before = g_injector;
    g_injector = injector;
    return before;
}

void writeFileSynced(const QString& path, const QByteArray& bytes)
{
    const QString failure = injected(FileStep::Create, path);
    if (!failure.isEmpty())
        throw cannotWrite(path, failure);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
        throw cannotWrite(path, file.errorString());
    writeAll(file, path, bytes);
    syncFile(file, path);
    file.close();
    if (file.error() != QFileDevice::NoError)
        throw cannotWrite(path, file.errorString());
}

void replaceFileWith(const QString& source, const QString& target)
{
    if (target.isEmpty())
        throw RuntimeError(QStringLiteral("No file name was given."));
    // A link is kept: the file it points to is the one replaced.
    QString realTarget = QFileInfo(target).absoluteFilePath();
    const QFileInfo targetInfo(realTarget);
    if (targetInfo.isSymLink() && targetInfo.exists())
        realTarget = targetInfo.canonicalFilePath();
    const QString folder = QFileInfo(realTarget).absolutePath();

    const QString sourceFolder = QFileInfo(source).canonicalPath();
    const QString targetFolder = QFileInfo(folder).canonicalFilePath();
    if (!sourceFolder.isEmpty() && sourceFolder == targetFolder) {
        if (QFileInfo::exists(realTarget))
            QFile::setPermissions(source, QFile::permissions(realTarget));
        renameOver(source, realTarget);
        syncFolder(folder);
        return;
    }

    const QByteArray bytes = readAll(source);
    QFile temporary;
    const QString temporaryPath = createSibling(realTarget, temporary);
    try {
        writeAll(temporary, realTarget, bytes);
        syncFile(temporary, realTarget);
        temporary.close();
        if (temporary.error() != QFileDevice::NoError)
            throw cannotWrite(realTarget, temporary.errorString());
        if (QFileInfo::exists(realTarget))
            QFile::setPermissions(temporaryPath, QFile::permissions(realTarget));
        renameOver(temporaryPath, realTarget);
    } catch (...) {
        temporary.close();
        QFile::remove(temporaryPath);
        throw;
    }
    syncFolder(folder);
}

void copyFileLimited(const QString& source, const QString& target, qint64 maxBytes)
{
    QString failure = injected(FileStep::Read, source);
    if (!failure.isEmpty())
        throw cannotRead(source, failure);
    QFile in(source);
    if (!in.open(QIODevice::ReadOnly))
        throw cannotRead(source, in.errorString());
    const auto tooLarge = [&] {
        return RuntimeError(
            QStringLiteral("The file is too large to be a data file (more than %1 bytes).").arg(maxBytes));
    };
    if (in.size() > maxBytes)
        throw tooLarge();

    failure = injected(FileStep::Create, target);
    if (!failure.isEmpty())
        throw cannotWrite(target, failure);
    QFile out(target);
    // Opened without truncating and cut to length at the end: on ext4 a file truncated to
    // nothing and written again is flushed when it is closed, which would double the time
    // of the copy for a work file that is deleted right after it is read.
    if (!out.open(QIODevice::ReadWrite))
        throw cannotWrite(target, out.errorString());
    QByteArray chunk(256 * 1024, Qt::Uninitialized);
    qint64 total = 0;
    for (;;) {
        const qint64 n = in.read(chunk.data(), chunk.size());
        if (n < 0)
            throw cannotRead(source, in.errorString());
        if (n == 0)
            break;
        total += n;
        if (total > maxBytes) // a file that grows while it is read
            throw tooLarge();
        if (out.write(chunk.constData(), n) != n)
            throw cannotWrite(target, out.errorString());
    }
    if (out.size() != total && !out.resize(total))
        throw cannotWrite(target, out.errorString());
    out.close();
    if (out.error() != QFileDevice::NoError)
        throw cannotWrite(target, out.errorString());
}

} // namespace quvo
