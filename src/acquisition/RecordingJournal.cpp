#include "acquisition/RecordingJournal.h"

#include "document/DurableFile.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/RuntimeError.h"
#include "resources/TextNumber.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>

#include <algorithm>
#include <atomic>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <cstring>
#include <unistd.h>
#endif

namespace quvo {

namespace {

const QByteArray Magic = QByteArrayLiteral("QUVOLINK-JOURNAL");
const QByteArray FormatVersion = QByteArrayLiteral("1");
const QString LockSuffix = QStringLiteral(".lock");

// "RECORDING" and ".JNL" from the journal file name.
QString journalBaseName()
{
    return QFileInfo(JournalFileName).completeBaseName();
}
QString journalSuffix()
{
    return QLatin1Char('.') + QFileInfo(JournalFileName).suffix();
}

QByteArray escapeField(const QString& text)
{
    QByteArray out;
    const QByteArray utf8 = text.toUtf8();
    out.reserve(utf8.size());
    for (const char c : utf8) {
        switch (c) {
        case '\\': out += "\\\\"; break;
        case '\t': out += "\\t"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        default: out += c;
        }
    }
    return out;
}

QString unescapeField(QByteArrayView field)
{
    QByteArray out;
    out.reserve(field.size());
    for (qsizetype i = 0; i < field.size(); ++i) {
        const char c = field[i];
        if (c == '\\' && i + 1 < field.size()) {
            const char next = field[++i];
            out += next == 't' ? '\t' : next == 'n' ? '\n' : next == 'r' ? '\r' : next;
        } else {
            out += c;
        }
    }
    return QString::fromUtf8(out);
}

// One journal line: the fields, then the check of everything before it, then LF.
QByteArray journalLine(const QList<QByteArray>& fields)
{
    QByteArray line = fields.join('\t');
    const quint16 crc = qChecksum(line);
    line += '\t';
    line += QByteArray::number(crc, 16);
    line += '\n';
    return line;
}

// The fields of a line whose check matches; std::nullopt otherwise.
std::optional<QList<QByteArray>> checkedFields(const QByteArray& line)
{
    const qsizetype tab = line.lastIndexOf('\t');
    if (tab < 0)
        return std::nullopt;
    bool ok = false;
    const uint crc = line.mid(tab + 1).toUInt(&ok, 16);
    const QByteArray body = line.left(tab);
    if (!ok || crc != qChecksum(body))
        return std::nullopt;
    return body.split('\t');
}

QByteArray rowLine(const JournalRow& row)
{
    return journalLine({QByteArrayLiteral("R"), escapeField(row.time), escapeField(row.display), escapeField(row.unit),
                        row.valid ? QByteArrayLiteral("1") : QByteArrayLiteral("0"), escapeField(row.numeric)});
}

std::atomic<int> journalSerial{0};

} // namespace

RecordingJournal::RecordingJournal(QString path, std::unique_ptr<QLockFile> lock)
    : m_path(std::move(path)), m_lock(std::move(lock))
{
}

RecordingJournal::~RecordingJournal()
{
    close();
}

std::unique_ptr<RecordingJournal> RecordingJournal::create(const QString& folder, QString* error)
{
    const QDir dir(folder);
    if (!dir.exists()) {
        if (error)
            *error = QStringLiteral("The folder %1 does not exist.").arg(QDir::toNativeSeparators(folder));
        return nullptr;
    }
    // A name no other journal has: this process's id and a serial number.
    for (int attempt = 0; attempt < 1000; ++attempt) {
        const QString name = journalBaseName() + QStringLiteral("-%1-%2").arg(QCoreApplication::applicationPid()).arg(++journalSerial)
            + journalSuffix();
        const QString path = dir.absoluteFilePath(name);
        if (QFileInfo::exists(path))
            continue;
        // The lock first: a journal file is never without its owner's lock while it is written.
        auto lock = std::make_unique<QLockFile>(path + LockSuffix);
        lock->setStaleLockTime(0);
        if (!lock->tryLock(0)) {
            if (lock->error() == QLockFile::LockFailedError)
                continue;
            if (error)
                *error = QStringLiteral("The recording journal %1 cannot be made (no permission to write in the folder).")
                             .arg(QDir::toNativeSeparators(path));
            return nullptr;
        }
        std::unique_ptr<RecordingJournal> journal(new RecordingJournal(path, std::move(lock)));
        if (!journal->openForAppend()
            || !journal->writeLines(journalLine({Magic, FormatVersion}))) {
            if (error)
                *error = journal->lastError();
            journal->remove();
            return nullptr;
        }
        // The new file's entry in the folder must survive a power cut as well as its lines.
        syncFolder(dir.absolutePath());
        return journal;
    }
    if (error)
        *error = QStringLiteral("No free name for a recording journal in %1.").arg(QDir::toNativeSeparators(folder));
    return nullptr;
}

std::vector<std::unique_ptr<RecordingJournal>> RecordingJournal::takeLeftovers(const QString& folder)
{
    std::vector<std::unique_ptr<RecordingJournal>> found;
    QDir dir(folder);
    const QStringList names = dir.entryList({journalBaseName() + QStringLiteral("-*") + journalSuffix()}, QDir::Files,
                                            QDir::Time | QDir::Reversed); // oldest first
    for (const QString& name : names) {
        const QString path = dir.absoluteFilePath(name);
        auto lock = std::make_unique<QLockFile>(path + LockSuffix);
        // Never stale by age: a recording may run for weeks. A lock whose process is gone
        // (or that was written before the machine last started) is stale and taken over.
        lock->setStaleLockTime(0);
        if (!lock->tryLock(0))
            continue; // a running program's journal
        found.emplace_back(new RecordingJournal(path, std::move(lock)));
    }
    return found;
}

bool RecordingJournal::isOpen() const
{
    return m_file && m_file->isOpen();
}

bool RecordingJournal::openForAppend()
{
    if (isOpen())
        return true;
    const auto cannotWrite = [this](const QString& reason) {
        m_error = QStringLiteral("The recording journal %1 cannot be written (%2).")
                      .arg(QDir::toNativeSeparators(m_path), reason);
        m_file.reset();
        return false;
    };
    const QString failure = injectedFileFailure(FileStep::Create, m_path);
    if (!failure.isEmpty())
        return cannotWrite(failure);
    m_file = std::make_unique<QFile>(m_path);
    if (!m_file->open(QIODevice::ReadWrite | QIODevice::Append | QIODevice::Unbuffered))
        return cannotWrite(m_file->errorString());
    fileStepDone(FileStep::Create, m_path);
    // A journal taken over after a crash may end in the line that was being written: it is
    // cut off, so that the next line does not run on from it and get lost with it.
    const qint64 size = m_file->size();
    if (size > 0) {
        qint64 keep = size;
        QByteArray tail;
        while (keep > 0) {
            const qint64 block = std::min<qint64>(keep, 4096);
            if (!m_file->seek(keep - block))
                return cannotWrite(m_file->errorString());
            tail = m_file->read(block);
            const qsizetype lf = tail.lastIndexOf('\n');
            if (lf >= 0) {
                keep = keep - block + lf + 1;
                break;
            }
            keep -= block;
        }
        if (keep != size && !m_file->resize(keep))
            return cannotWrite(m_file->errorString());
        m_file->seek(m_file->size());
    }
    return true;
}

bool RecordingJournal::writeLines(const QByteArray& lines)
{
    if (!openForAppend())
        return false;
    const auto failed = [this](const QString& reason) {
        m_error = QStringLiteral("The recording journal %1 cannot be written (%2).")
                      .arg(QDir::toNativeSeparators(m_path), reason);
        m_file->close();
        m_file.reset();
        return false;
    };
    qint64 accepted = lines.size();
    QString failure = injectedFileFailure(FileStep::Write, m_path, accepted);
    const qint64 toWrite = failure.isEmpty() ? lines.size() : std::clamp<qint64>(accepted, 0, lines.size());
    QString reason;
    if (toWrite > 0 && !writeWhole(*m_file, lines.constData(), toWrite, reason))
        return failed(reason);
    fileStepDone(FileStep::Write, m_path);
    if (!failure.isEmpty())
        return failed(failure);
    failure = injectedFileFailure(FileStep::Sync, m_path);
    if (!failure.isEmpty())
        return failed(failure);
#ifdef Q_OS_UNIX
    // The row is on the disk before the next reading is asked for: a power cut loses at most
    // the row being written.
    if (::fdatasync(m_file->handle()) != 0)
        return failed(QString::fromLocal8Bit(std::strerror(errno)));
#else
    if (!m_file->flush())
        return failed(m_file->errorString());
#endif
    fileStepDone(FileStep::Sync, m_path);
    return true;
}

bool RecordingJournal::writeStart(const JournalStart& start)
{
    const QList<QByteArray> fields = {
        QByteArrayLiteral("S"),
        escapeField(start.interval.days),
        escapeField(start.interval.hours),
        escapeField(start.interval.minutes),
        escapeField(start.interval.seconds),
        escapeField(booleanText(start.periodNone)),
        escapeField(start.period.days),
        escapeField(start.period.hours),
        escapeField(start.period.minutes),
        escapeField(start.period.seconds),
        escapeField(start.meterModel),
        escapeField(start.startLabel),
        escapeField(start.documentName),
    };
    return writeLines(journalLine(fields));
}

bool RecordingJournal::appendRow(const JournalRow& row)
{
    return writeLines(rowLine(row));
}

bool RecordingJournal::appendRows(const QList<JournalRow>& rows)
{
    QByteArray lines;
    for (const JournalRow& row : rows)
        lines += rowLine(row);
    return lines.isEmpty() || writeLines(lines);
}

void RecordingJournal::close()
{
    if (m_file) {
        m_file->close();
        m_file.reset();
    }
}

void RecordingJournal::remove()
{
    close();
    QFile::remove(m_path);
    if (m_lock)
        m_lock->unlock(); // removes the lock file
}

std::optional<JournalContents> RecordingJournal::read(QString* error) const
{
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (error)
            *error = QStringLiteral("The recording journal %1 cannot be read (%2).")
                         .arg(QDir::toNativeSeparators(m_path), file.errorString());
        return std::nullopt;
    }
    // A journal holds at most one document's rows (32767) and its start lines: far less than
    // this. A larger file is no journal of this program and is not read into memory.
    constexpr qint64 JournalMaxBytes = 64LL * 1024 * 1024;
    if (file.size() > JournalMaxBytes) {
        if (error)
            *error = QStringLiteral("The recording journal %1 is too large to be one (more than %2 bytes).")
                         .arg(QDir::toNativeSeparators(m_path))
                         .arg(JournalMaxBytes);
        return std::nullopt;
    }
    const QByteArray all = file.readAll();
    JournalContents contents;
    bool haveStart = false;
    qsizetype from = 0;
    for (;;) {
        const qsizetype lf = all.indexOf('\n', from);
        if (lf < 0)
            break; // the rest, if any, is the line that was being written
        const QByteArray line = all.mid(from, lf - from);
        from = lf + 1;
        const auto fields = checkedFields(line);
        if (!fields) {
            if (!line.isEmpty())
                ++contents.damagedLines;
            continue;
        }
        const QList<QByteArray>& f = *fields;
        if (f.size() == 6 && f[0] == "R") {
            contents.rows.append(
                {unescapeField(f[1]), unescapeField(f[2]), unescapeField(f[3]), f[4] == "1", unescapeField(f[5])});
        } else if (f.size() == 13 && f[0] == "S") {
            JournalStart& s = contents.start;
            s.interval = {unescapeField(f[1]), unescapeField(f[2]), unescapeField(f[3]), unescapeField(f[4])};
            s.periodNone = toBoolean(unescapeField(f[5]));
            s.period = {unescapeField(f[6]), unescapeField(f[7]), unescapeField(f[8]), unescapeField(f[9])};
            s.meterModel = unescapeField(f[10]);
            s.startLabel = unescapeField(f[11]);
            s.documentName = unescapeField(f[12]);
            haveStart = true;
        } else if (!(f.size() == 2 && f[0] == Magic)) {
            ++contents.damagedLines;
        }
    }
    if (!haveStart && contents.rows.isEmpty() && contents.damagedLines == 0)
        return contents; // made, then ended before its first start line: nothing to restore
    if (!haveStart) {
        if (error)
            *error = QStringLiteral("The recording journal %1 holds no recording.").arg(QDir::toNativeSeparators(m_path));
        return std::nullopt;
    }
    return contents;
}

bool RecordingJournal::rebuildDocument(const JournalContents& contents, DataDocument& document)
{
    const JournalStart& s = contents.start;
    document.SetInterval(s.interval.days, s.interval.hours, s.interval.minutes, s.interval.seconds);
    document.SetPeriod(s.periodNone, s.period.days, s.period.hours, s.period.minutes, s.period.seconds);
    programState().MeterModel = s.meterModel;
    try {
        for (const JournalRow& row : contents.rows) {
            if (!document.AddGridrow())
                return false;
            document.AddRealtimedata(row.time, row.display, row.unit, row.valid, row.numeric);
        }
    } catch (const RuntimeError& e) {
        programState().LastError = e.description();
        return false;
    }
    document.PaintGraphtop();
    document.DispCalculation();
    return true;
}

} // namespace quvo
