// What a crash leaves in the program folder is removed at the next start, by the desktop
// program and by the command-line program alike, and nothing that is still in use or still
// worth something (a recording journal) is touched.

#include "app/Settings.h"
#include "document/DurableFile.h"
#include "document/Other.h"
#include "resources/Constant.h"
#include "support/TestHelpers.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

#include <csignal>

using namespace quvo;
using namespace std::chrono_literals;

namespace {

QStringList entries(const QString& folder)
{
    QStringList list = QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System);
    list.sort();
    return list;
}

void touch(const QString& path)
{
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly)) << path.toStdString();
    f.write("x");
}

// A process id that no process has: the kernel hands out ids below pid_max.
qint64 deadProcessId()
{
    QFile f(QStringLiteral("/proc/sys/kernel/pid_max"));
    if (f.open(QIODevice::ReadOnly)) {
        bool ok = false;
        const qint64 max = f.readAll().trimmed().toLongLong(&ok);
        if (ok)
            return max;
    }
    return 4194304;
}

QString helper()
{
    return test::builtProgram(QStringLiteral("tests/faults/save_crash_helper"));
}

// Runs the crash helper's journal writer, killed at `point`: a journal (or only its lock)
// left by a recording that crashed.
void crashedRecording(const QString& folder, const QString& point)
{
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QUVO_CRASH_AT"), point);
    p.setProcessEnvironment(env);
    p.start(helper(), {QStringLiteral("journal"), folder, QStringLiteral("3")});
    ASSERT_TRUE(p.waitForFinished(30000));
    ASSERT_EQ(p.exitStatus(), QProcess::CrashExit) << point.toStdString();
}

// A folder with everything a crash can leave, and things that must stay. Returns the names
// that must stay.
QStringList makeLeftovers(const QString& folder, bool withJournal)
{
    const QString dead = QString::number(deadProcessId());
    touch(folder + QStringLiteral("/.QUVO.INI.quvolink-") + dead + QStringLiteral("-1a2b3c.tmp"));
    touch(folder + QStringLiteral("/.data.CSV.quvolink-") + dead + QStringLiteral("-77.tmp"));
    touch(folder + QStringLiteral("/.book.xlsx.quvolink-") + dead + QStringLiteral("-Ab12Cd"));
    touch(folder + QStringLiteral("/.book.xlsx.quvolink-") + dead + QStringLiteral("-Ab12Cd.x9Y8z7")); // libzip's own
    touch(folder + QStringLiteral("/WORK.~~~"));
    crashedRecording(folder, QStringLiteral("before:Create:1")); // a journal lock without its journal
    QStringList stay;
    // Not ours, or not stale: a file whose name only looks similar, one of a running process
    // (process 1 always runs), the settings file.
    touch(folder + QStringLiteral("/notes.quvolink-12-3.tmp"));
    touch(folder + QStringLiteral("/.QUVO.INI.quvolink-1-4d5e6f.tmp"));
    touch(folder + QStringLiteral("/QUVO.INI"));
    stay << QStringLiteral("notes.quvolink-12-3.tmp") << QStringLiteral(".QUVO.INI.quvolink-1-4d5e6f.tmp")
         << QStringLiteral("QUVO.INI");
    if (withJournal) {
        // An interrupted recording with rows: offered for restoring, never removed here.
        const QStringList before = entries(folder);
        crashedRecording(folder, QStringLiteral("after:Sync:4"));
        for (const QString& name : entries(folder))
            if (!before.contains(name))
                stay << name;
    }
    stay.sort();
    return stay;
}

} // namespace

TEST(StaleTemporaryNames, OnlyTheProgramsOwnNamesOfEndedProcesses)
{
    const QString dead = QString::number(deadProcessId());
    EXPECT_TRUE(isStaleTemporaryName(QStringLiteral(".a.CSV.quvolink-") + dead + QStringLiteral("-ff.tmp")));
    EXPECT_TRUE(isStaleTemporaryName(QStringLiteral(".x.quvolink-y.CSV.quvolink-") + dead + QStringLiteral("-1")));
    EXPECT_FALSE(isStaleTemporaryName(QStringLiteral(".a.CSV.quvolink-1-ff.tmp")));   // process 1 runs
    EXPECT_FALSE(isStaleTemporaryName(temporaryNamePrefix(QStringLiteral("a.CSV")) + QStringLiteral("1.tmp"))); // ours
    EXPECT_FALSE(isStaleTemporaryName(QStringLiteral("a.CSV.quvolink-") + dead + QStringLiteral("-ff.tmp"))); // not hidden
    EXPECT_FALSE(isStaleTemporaryName(QStringLiteral(".a.CSV.quvolink--ff.tmp")));
    EXPECT_FALSE(isStaleTemporaryName(QStringLiteral(".a.CSV.quvolink-12x-ff.tmp")));
    EXPECT_FALSE(isStaleTemporaryName(QStringLiteral(".a.CSV.quvolink-") + dead + QStringLiteral("-")));
    EXPECT_FALSE(isStaleTemporaryName(QStringLiteral(".a.CSV.tmp")));
    EXPECT_TRUE(temporaryNamePrefix(QStringLiteral("QUVO.INI"))
                    .startsWith(QStringLiteral(".QUVO.INI.quvolink-%1-").arg(QCoreApplication::applicationPid())));
}

TEST(Leftovers, RemovedAtStartWhatStillMattersStays)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QStringList stay = makeLeftovers(dir.path(), true);
    const QStringList removed = removeLeftoversOfCrash(dir.path());
    EXPECT_EQ(entries(dir.path()), stay);
    EXPECT_EQ(removed.size(), 6) << removed.join(QLatin1Char(' ')).toStdString();
    EXPECT_TRUE(removed.contains(QStringLiteral("WORK.~~~")));
}

TEST(Leftovers, AWorkFileInUseIsLeftAlone)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString work = dir.filePath(WorkFileName);
    touch(work);
    {
        const WorkFileLock busy(work, 0); // a save or open of a running program
        ASSERT_TRUE(busy.isLocked());
        EXPECT_EQ(removeLeftoversOfCrash(dir.path()), QStringList());
        EXPECT_TRUE(QFileInfo::exists(work));
        // Another program waits for it, then says so.
        const WorkFileLock other(work, 50);
        EXPECT_FALSE(other.isLocked());
    }
    EXPECT_EQ(removeLeftoversOfCrash(dir.path()), QStringList{WorkFileName});
    EXPECT_EQ(entries(dir.path()), QStringList());
}

// The lock is the system's lock on the program folder: another process holding it (here the
// system's flock(1) tool) keeps a save or open out, and its end, even by SIGKILL, frees
// the lock at once, with no lock file to clean up.
TEST(Leftovers, TheWorkFileLockOfAnotherProcessEndsWithIt)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString work = dir.filePath(WorkFileName);
    // One process that opens the folder, locks it and then sleeps with the lock held.
    QProcess holder;
    holder.start(QStringLiteral("sh"), {QStringLiteral("-c"), QStringLiteral("exec 9<\"$1\" && flock -x 9 && exec sleep 60"),
                                        QStringLiteral("sh"), dir.path()});
    ASSERT_TRUE(holder.waitForStarted(10000));
    ASSERT_TRUE(test::waitFor([&] { return !WorkFileLock(work, 0).isLocked(); }))
        << "flock(1) from util-linux is needed";

    const WorkFileLock waiting(work, 100);
    EXPECT_FALSE(waiting.isLocked());
    EXPECT_EQ(entries(dir.path()), QStringList());

    ::kill(static_cast<pid_t>(holder.processId()), SIGKILL); // the tool and its lock end together
    ASSERT_TRUE(holder.waitForFinished(10000));
    const WorkFileLock free(work, 0);
    EXPECT_TRUE(free.isLocked());
    EXPECT_EQ(entries(dir.path()), QStringList());
}

TEST(Leftovers, TheCommandLineProgramCleansAtStart)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString home = dir.filePath(QStringLiteral("home"));
    ASSERT_TRUE(QDir().mkpath(home));
    const QStringList stay = makeLeftovers(home, true);

    // Any command that uses the program folder: here the statistics of a data file that
    // does not exist (the command fails, after the start).
    QProcess cli;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QString::fromLatin1(HomeEnvVar), home);
    cli.setProcessEnvironment(env);
    cli.start(test::builtProgram(QStringLiteral("src/cli/quvolink-cli")),
              {QStringLiteral("stats"), dir.filePath(QStringLiteral("missing.CSV"))});
    ASSERT_TRUE(cli.waitForFinished(30000));
    EXPECT_EQ(entries(home), stay);
}

TEST(Leftovers, TheDesktopProgramCleansAtStart)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString home = dir.filePath(QStringLiteral("home"));
    const QString runtime = dir.filePath(QStringLiteral("runtime"));
    ASSERT_TRUE(QDir().mkpath(home));
    ASSERT_TRUE(QDir().mkpath(runtime));
    QFile::setPermissions(runtime, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    const QStringList stay = makeLeftovers(home, false); // a journal would be offered in a dialog

    QProcess desktop;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QString::fromLatin1(HomeEnvVar), home);
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), dir.filePath(QStringLiteral("config")));
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    desktop.setProcessEnvironment(env);
    desktop.start(test::builtProgram(QStringLiteral("src/app/quvolink")), QStringList());
    ASSERT_TRUE(desktop.waitForStarted(10000));
    // Another process changes the folder: look again every tenth of a second.
    QTimer look;
    look.start(100);
    const bool cleaned = test::waitFor([&] { return entries(home) == stay; }, 30s);
    desktop.terminate();
    if (!desktop.waitForFinished(10000)) {
        desktop.kill();
        desktop.waitForFinished();
    }
    EXPECT_TRUE(cleaned) << entries(home).join(QLatin1Char(' ')).toStdString();
}
