#include "app/Settings.h"

#include "document/DurableFile.h"
#include "document/Other.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/RuntimeError.h"
#include "resources/TextNumber.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSettings>
#include <QStandardPaths>
#include <QStringList>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

namespace quvo {

namespace {

const QString CrLf = QStringLiteral("\r\n");

// Splits a text file into lines ended by CR LF, LF or CR; a last line without an end
// counts too.
QStringList splitLines(const QString& text)
{
    QStringList lines;
    QString line;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == QLatin1Char('\r') || c == QLatin1Char('\n')) {
            lines.append(line);
            line.clear();
            if (c == QLatin1Char('\r') && i + 1 < text.size() && text.at(i + 1) == QLatin1Char('\n'))
                ++i;
        } else {
            line.append(c);
        }
    }
    if (!line.isEmpty())
        lines.append(line);
    return lines;
}

// The text without the byte-order marks an editor may have put at its start (some put one
// before one that is there already): they are no part of the port, and a port that began
// with one would lose it when the file is read again.
QString withoutByteOrderMarks(QString text)
{
    qsizetype marks = 0;
    while (marks < text.size() && text.at(marks) == QChar(0xFEFF))
        ++marks;
    text.remove(0, marks);
    return text;
}

} // namespace

// --- Program folder and file paths ------------------------------------------------------

QString chooseProgramFolder(const QString& homeVariable, const QString& executableFolder,
                            bool executableFolderIsPortable, const QString& appDataFolder)
{
    if (!homeVariable.isEmpty())
        return homeVariable;
    if (executableFolderIsPortable)
        return executableFolder;
    return appDataFolder;
}

bool isPortableFolder(const QString& executableFolder)
{
    if (executableFolder.isEmpty())
        return false;
    const QFileInfo settings(settingsFilePath(executableFolder));
    return settings.exists() && QFileInfo(executableFolder).isWritable();
}

QString perUserProgramFolder()
{
    QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (data.isEmpty())
        data = QDir::homePath();
    return QDir(data).filePath(SettingsOrganisation);
}

QString programFolder()
{
    const QString home = qEnvironmentVariable(HomeEnvVar);
    const QString executableFolder = QCoreApplication::applicationDirPath();
    const bool portable = home.isEmpty() && isPortableFolder(executableFolder);
    QString perUser;
    if (home.isEmpty() && !portable) {
        perUser = perUserProgramFolder();
        QDir().mkpath(perUser);
    }
    return chooseProgramFolder(home, executableFolder, portable, perUser);
}

QString programFilePath(const QString& folder, const QString& fileName)
{
    if (folder.endsWith(QLatin1Char('/')) || folder.endsWith(QLatin1Char('\\')))
        return folder + fileName;
    return folder + QDir::separator() + fileName;
}

QString settingsFilePath(const QString& folder)
{
    return programFilePath(folder, SettingsFileName);
}

QString workFilePath(const QString& folder)
{
    return programFilePath(folder, WorkFileName);
}

void setupProgramPaths()
{
    const QString folder = programFolder();
    programState().IniPath = settingsFilePath(folder);
    programState().WorkPath = workFilePath(folder);
}

QStringList removeLeftoversOfCrash(const QString& folder)
{
    QStringList removed = removeStaleTemporaries(folder);

    // The work file of a save or open that was killed.
    const QString work = workFilePath(folder);
    if (QFileInfo::exists(work)) {
        const WorkFileLock lock(work, 0); // held by a running save or open: left alone
        if (lock.isLocked() && QFile::remove(work))
            removed << QFileInfo(work).fileName();
    }

    // "RECORDING-<process>-<n>.JNL.lock" without its journal: the journal was removed and the
    // program ended before it could remove the lock. A lock whose program still runs cannot
    // be taken and stays.
    const QFileInfo journalName(JournalFileName);
    const QDir dir(folder);
    const QString lockPattern
        = journalName.completeBaseName() + QStringLiteral("-*.") + journalName.suffix() + QStringLiteral(".lock");
    for (const QString& name : dir.entryList({lockPattern}, QDir::Files | QDir::Hidden)) {
        const QString journal = dir.filePath(name.chopped(5));
        if (QFileInfo::exists(journal))
            continue;
        QLockFile lock(dir.filePath(name));
        lock.setStaleLockTime(0);
        if (lock.tryLock(0)) {
            lock.unlock(); // removes the file
            removed << name;
        }
    }
    return removed;
}

// --- The settings file --------------------------------------------------------------------

void ReadSettings()
{
    ProgramState& s = programState();
    QFile file(s.IniPath);
    QStringList lines;
    // Three short lines: what lies beyond the first SettingsFileMaxBytes is never read, so
    // a damaged or foreign file of any size costs no more than that.
    constexpr qint64 SettingsFileMaxBytes = 64 * 1024;
    if (file.open(QIODevice::ReadOnly))
        lines = splitLines(withoutByteOrderMarks(QString::fromUtf8(file.read(SettingsFileMaxBytes))));
    if (lines.size() < 3) {
        s.PortNumber = QStringLiteral("1");
        s.ForwardFile.clear();
        s.ForwardTitle.clear();
        return;
    }
    s.PortNumber = lines.at(0);
    s.ForwardFile = lines.at(1);
    s.ForwardTitle = lines.at(2);
}

bool isPortNumberOutOfRange(const QString& portNumber)
{
    double value = 0;
    return parseNumber(portNumber, value) && (value < 1 || value > 16);
}

void WriteSettings()
{
    ProgramState& s = programState();
    QByteArray bytes = (s.PortNumber + CrLf).toUtf8();
    if (isPortNumberOutOfRange(s.PortNumber))
        s.PortNumber = QStringLiteral("1");
    bytes += (s.ForwardFile + CrLf).toUtf8();
    bytes += (s.ForwardTitle + CrLf).toUtf8();
    try {
        // A new file beside the settings file, synced and renamed over it, the folder synced:
        // a crash or a full disk leaves the previous file as it was.
        writeFileAtomically(s.IniPath, bytes);
    } catch (const RuntimeError&) {
        // Silent: the program ends all the same, and the previous file stays.
    }
}

// --- The per-user settings store ------------------------------------------------------------

std::unique_ptr<QSettings> openSettingsStore()
{
    return openSettingsSection(SettingsSection);
}

MainPlacementRecord mainPlacementToWrite(WindowState state, const Placement& current, const Placement& normal)
{
    const Placement& written = state == WindowState::Normal ? current : normal;
    MainPlacementRecord record;
    if (state == WindowState::Normal)
        record.MainState = QStringLiteral("0");
    else if (state == WindowState::Maximised)
        record.MainState = QStringLiteral("2");
    record.MainLeft = storedSingleText(written.left);
    record.MainTop = storedSingleText(written.top);
    record.MainWidth = storedSingleText(written.width);
    record.MainHeight = storedSingleText(written.height);
    return record;
}

void writeMainPlacement(const MainPlacementRecord& record)
{
    auto store = openSettingsStore();
    if (record.MainState)
        store->setValue(Keys::MainState, *record.MainState);
    store->setValue(Keys::MainLeft, record.MainLeft);
    store->setValue(Keys::MainTop, record.MainTop);
    store->setValue(Keys::MainWidth, record.MainWidth);
    store->setValue(Keys::MainHeight, record.MainHeight);
    store->sync();
}

StoredMainPlacement readMainPlacement()
{
    auto store = openSettingsStore();
    StoredMainPlacement placement;
    placement.left = readStoredSingle(*store, Keys::MainLeft, DefaultMainPlacement.left);
    placement.top = readStoredSingle(*store, Keys::MainTop, DefaultMainPlacement.top);
    placement.width = readStoredSingle(*store, Keys::MainWidth, DefaultMainPlacement.width);
    placement.height = readStoredSingle(*store, Keys::MainHeight, DefaultMainPlacement.height);
    if (!store->contains(Keys::MainState)) {
        placement.state = WindowState::Normal;
    } else {
        try {
            const std::int16_t value = toInt16(store->value(Keys::MainState).toString());
            if (value >= 0 && value <= 2)
                placement.state = static_cast<WindowState>(value);
        } catch (const RuntimeError&) {
            // not a number: ignored
        }
    }
    return placement;
}

// --- Single instance ----------------------------------------------------------------------

namespace {
std::unique_ptr<QLockFile>& instanceLock()
{
    static std::unique_ptr<QLockFile> lock;
    return lock;
}
} // namespace

QString singleInstanceLockPath()
{
    const QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (!runtime.isEmpty() && QDir().mkpath(runtime))
        return programFilePath(runtime, AppTitle + QStringLiteral(".lock"));
    // The temporary folder is shared by every user: the lock names its user.
#ifdef Q_OS_UNIX
    const QString user = QString::number(::getuid());
#else
    const QString user = qEnvironmentVariable("USERNAME");
#endif
    return programFilePath(QDir::tempPath(), AppTitle + QLatin1Char('-') + user + QStringLiteral(".lock"));
}

bool acquireSingleInstance(const QString& lockPath)
{
    auto& lock = instanceLock();
    if (lock && lock->isLocked())
        return true;
    lock = std::make_unique<QLockFile>(lockPath.isEmpty() ? singleInstanceLockPath() : lockPath);
    // Never take over a lock because of its age: only a lock whose program has ended is stale.
    lock->setStaleLockTime(0);
    if (lock->tryLock(0))
        return true;
    lock.reset();
    return false;
}

void releaseSingleInstance()
{
    instanceLock().reset(); // unlocks
}

} // namespace quvo
