#include "support/TestHelpers.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QLocale>
#include <QProcess>
#include <QTimer>

#include "resources/EventWait.h"

#include <gtest/gtest.h>

#include <clocale>
#include <sys/resource.h>

namespace quvo::test {

bool waitFor(const std::function<bool()>& done, std::chrono::milliseconds limit)
{
    QDeadlineTimer deadline(limit);
    QTimer wake; // makes sure the loop looks at the deadline even when nothing else happens
    wake.setSingleShot(true);
    wake.setTimerType(Qt::PreciseTimer);
    // A timer may fire a little before the deadline: then it is set again for the rest.
    QObject::connect(&wake, &QTimer::timeout, [&] {
        if (!deadline.hasExpired())
            wake.start(std::chrono::milliseconds(qMax<qint64>(1, deadline.remainingTime())));
    });
    wake.start(limit);
    waitUntil([&] { return done() || deadline.hasExpired(); });
    return done();
}

LocaleGuard::LocaleGuard(const char* name)
{
    if (const char* current = std::setlocale(LC_ALL, nullptr))
        m_previousC = QString::fromLatin1(current);
    m_active = std::setlocale(LC_ALL, name) != nullptr;
    QLocale::setDefault(QLocale(QString::fromLatin1(name).section(QLatin1Char('.'), 0, 0)));
}

LocaleGuard::~LocaleGuard()
{
    std::setlocale(LC_ALL, m_previousC.isEmpty() ? "C" : m_previousC.toLatin1().constData());
    QLocale::setDefault(QLocale::c());
}

std::chrono::microseconds processCpuTime()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto toMicro = [](const timeval& t) {
        return std::chrono::seconds(t.tv_sec) + std::chrono::microseconds(t.tv_usec);
    };
    return toMicro(usage.ru_utime) + toMicro(usage.ru_stime);
}

QString builtProgram(const QString& relativePath)
{
    return QDir(QStringLiteral(QUVO_BUILD_ROOT)).absoluteFilePath(relativePath);
}

QByteArray fileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFileBytes(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate)) << path.toStdString();
    ASSERT_EQ(file.write(bytes), bytes.size()) << path.toStdString();
    file.close();
    ASSERT_EQ(file.error(), QFileDevice::NoError) << path.toStdString();
}

QStringList folderEntries(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

ProgramRun runProgram(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(30000)) {
        process.kill();
        process.waitForFinished();
        return {};
    }
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAll())};
}

} // namespace quvo::test
