// Saves that fail: every step of every writer made to fail (a file that cannot be created,
// a short write on a full disk, a failing sync, a failing rename) through the file fault
// injector, and the same writers on a really full disk (a small tmpfs, where this process may
// mount one). The previous file must stay whole, the writer must say why, and nothing may be
// left behind, not even until the next start.

#include "SaveWriters.h"

#include "acquisition/RecordingJournal.h"
#include "app/Settings.h"
#include "document/DurableFile.h"
#include "forward/XlsxPackage.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/RuntimeError.h"
#include "support/TestHelpers.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <map>
#include <sys/mount.h>

using namespace quvo;
using namespace quvo::faults;

namespace {


const char* stepName(FileStep step)
{
    switch (step) {
    case FileStep::Create: return "Create";
    case FileStep::Write: return "Write";
    case FileStep::Sync: return "Sync";
    case FileStep::Replace: return "Replace";
    case FileStep::Read: return "Read";
    }
    return "?";
}

// The reason a failing step gives, as the system would.
QString reasonFor(FileStep step)
{
    switch (step) {
    case FileStep::Create: return QStringLiteral("Permission denied");
    case FileStep::Write: return QStringLiteral("No space left on device");
    case FileStep::Sync: return QStringLiteral("Input/output error");
    case FileStep::Replace: return QStringLiteral("Device or resource busy");
    case FileStep::Read: return QStringLiteral("Input/output error");
    }
    return {};
}

class StepList : public FileFaultInjector {
public:
    std::vector<std::pair<FileStep, int>> steps; // each step with its occurrence number
    QString failure(FileStep step, const QString&, qint64&) override
    {
        steps.emplace_back(step, ++m_seen[static_cast<int>(step)]);
        return {};
    }

private:
    std::map<int, int> m_seen;
};

// Fails the n-th time a step runs; a write then takes half of its bytes (a full disk).
class FailAt : public FileFaultInjector {
public:
    FailAt(FileStep step, int n) : m_step(step), m_n(n) {}
    QString failure(FileStep step, const QString&, qint64& acceptedBytes) override
    {
        if (step != m_step || ++m_seen != m_n)
            return {};
        if (step == FileStep::Write)
            acceptedBytes /= 2;
        return reasonFor(step);
    }

private:
    FileStep m_step;
    int m_n;
    int m_seen = 0;
};

class Injecting {
public:
    explicit Injecting(FileFaultInjector* injector) : m_before(setFileFaultInjector(injector)) {}
    ~Injecting() { setFileFaultInjector(m_before); }

private:
    FileFaultInjector* m_before;
};

class FailedSave : public ::testing::Test {
protected:
    void SetUp() override
    {
        resetProgramState();
        ASSERT_TRUE(m_root.isValid());
        m_input = m_root.filePath(QStringLiteral("input"));
        ASSERT_TRUE(QDir().mkpath(m_input));
    }
    void TearDown() override
    {
        setFileFaultInjector(nullptr);
        qunsetenv(HomeEnvVar);
        resetProgramState();
    }

    void freshFolders(const QString& name)
    {
        m_home = m_root.filePath(name + QStringLiteral("/home"));
        m_docs = m_root.filePath(name + QStringLiteral("/docs"));
        ASSERT_TRUE(QDir().mkpath(m_home));
        ASSERT_TRUE(QDir().mkpath(m_docs));
        qputenv(HomeEnvVar, QFile::encodeName(m_home));
    }

    // Runs `save` once to list its steps, then once failing at each of them; `check` looks at
    // the outcome of each failed save (the save's result, the reason shown).
    void failEveryStep(const std::function<void()>& prepare, const std::function<int(QString&)>& save,
                       const std::function<void(const QString& what, int result, const QString& error)>& check)
    {
        StepList list;
        {
            freshFolders(QStringLiteral("list"));
            prepare();
            const Injecting scope(&list);
            QString error;
            ASSERT_EQ(save(error), 0) << error.toStdString();
        }
        ASSERT_FALSE(list.steps.empty());
        int n = 0;
        for (const auto& [step, occurrence] : list.steps) {
            const QString what = QStringLiteral("%1 #%2").arg(QLatin1String(stepName(step))).arg(occurrence);
            SCOPED_TRACE(what.toStdString());
            freshFolders(QStringLiteral("case%1").arg(++n));
            prepare();
            FailAt fail(step, occurrence);
            QString error;
            int result = 0;
            {
                const Injecting scope(&fail);
                result = save(error);
            }
            check(what, result, error);
        }
    }

    QTemporaryDir m_root;
    QString m_input;
    QString m_home;
    QString m_docs;
};

TEST_F(FailedSave, DataFileFailingAtEveryStepKeepsThePreviousFile)
{
    const QByteArray oldBytes = "the previous data file\r\n";
    failEveryStep([&] { test::writeFileBytes(m_docs + QStringLiteral("/data.CSV"), oldBytes); },
                  [&](QString& error) { return saveDataFile(m_home, m_docs + QStringLiteral("/data.CSV"), 12, error); },
                  [&](const QString& what, int result, const QString& error) {
                      EXPECT_EQ(result, 1);
                      const QString reason = reasonFor(what.startsWith(QLatin1String("Create")) ? FileStep::Create
                                                       : what.startsWith(QLatin1String("Write")) ? FileStep::Write
                                                       : what.startsWith(QLatin1String("Sync"))  ? FileStep::Sync
                                                       : what.startsWith(QLatin1String("Replace")) ? FileStep::Replace
                                                                                                   : FileStep::Read);
                      EXPECT_TRUE(error.contains(reason)) << error.toStdString();
                      EXPECT_EQ(test::fileBytes(m_docs + QStringLiteral("/data.CSV")), oldBytes);
                      EXPECT_EQ(test::folderEntries(m_docs), QStringList{QStringLiteral("data.CSV")});
                      EXPECT_EQ(test::folderEntries(m_home), QStringList()); // no work file, no lock
                  });
}

TEST_F(FailedSave, SettingsFileFailingAtEveryStepKeepsThePreviousFile)
{
    const QByteArray oldBytes = "1\r\nold.xlsx\r\nOld\r\n";
    failEveryStep([&] { test::writeFileBytes(m_home + QStringLiteral("/QUVO.INI"), oldBytes); },
                  [&](QString&) {
                      saveSettingsFile(m_home, QStringLiteral("5"), QStringLiteral("new.xlsx"), QStringLiteral("New"));
                      return 0;
                  },
                  [&](const QString&, int, const QString&) {
                      // WriteSettings is silent by design (the program is ending): the file is
                      // the judge.
                      EXPECT_EQ(test::fileBytes(m_home + QStringLiteral("/QUVO.INI")), oldBytes);
                      EXPECT_EQ(test::folderEntries(m_home), QStringList{QStringLiteral("QUVO.INI")});
                  });
}

TEST_F(FailedSave, JournalFailingAtEveryStepKeepsEveryWholeRow)
{
    constexpr int Rows = 4;
    failEveryStep([] {}, [&](QString& error) { return writeJournal(m_home, Rows, error); },
                  [&](const QString& what, int result, const QString& error) {
                      EXPECT_EQ(result, 1);
                      EXPECT_FALSE(error.isEmpty());
                      // Rows written before the failing write are whole; the failing one is not
                      // there, not even half: writes are format line, start line, then rows.
                      const QStringList parts = what.split(QStringLiteral(" #"));
                      const int n = parts[1].toInt();
                      const bool writeDone = parts[0] == QLatin1String("Sync");
                      const int rows = parts[0] == QLatin1String("Create") ? 0 : std::max(0, (writeDone ? n : n - 1) - 2);
                      auto journals = RecordingJournal::takeLeftovers(m_home);
                      if (parts[0] == QLatin1String("Create") || n == 1) {
                          // The journal could not be made (its first line is part of making
                          // it): it is removed again at once, with its lock.
                          EXPECT_TRUE(journals.empty());
                          EXPECT_EQ(test::folderEntries(m_home), QStringList());
                          return;
                      }
                      ASSERT_EQ(journals.size(), 1u);
                      QString readError;
                      const auto contents = journals.front()->read(&readError);
                      ASSERT_TRUE(contents.has_value()) << readError.toStdString();
                      EXPECT_EQ(contents->damagedLines, 0);
                      ASSERT_EQ(contents->rows.size(), rows);
                      for (int k = 0; k < rows; ++k)
                          EXPECT_EQ(contents->rows[k].display, newValue(k));
                      journals.front()->remove();
                  });
}

TEST_F(FailedSave, NewWorkbookFailingAtEveryStepLeavesNothing)
{
    QString error;
    const QString csv = m_input + QStringLiteral("/readings.CSV");
    ASSERT_EQ(saveDataFile(m_input, csv, 8, error), 0) << error.toStdString();
    failEveryStep([] {},
                  [&](QString&) {
                      return forwardToWorkbook({csv, QStringLiteral("--xlsx"), m_docs + QStringLiteral("/book.xlsx")});
                  },
                  [&](const QString&, int result, const QString&) {
                      EXPECT_EQ(result, 1);
                      EXPECT_EQ(test::folderEntries(m_docs), QStringList());
                      EXPECT_EQ(test::folderEntries(m_home), QStringList());
                  });
}

TEST_F(FailedSave, GraftFailingAtEveryStepKeepsTheWorkbookByteForByte)
{
    QString error;
    const QString csv = m_input + QStringLiteral("/readings.CSV");
    ASSERT_EQ(saveDataFile(m_input, csv, 8, error), 0) << error.toStdString();
    const QString original = m_input + QStringLiteral("/original.xlsx");
    freshFolders(QStringLiteral("original"));
    ASSERT_EQ(forwardToWorkbook({csv, QStringLiteral("--xlsx"), original}), 0);
    const QByteArray oldBytes = test::fileBytes(original);
    failEveryStep([&] { ASSERT_TRUE(QFile::copy(original, m_docs + QStringLiteral("/book.xlsx"))); },
                  [&](QString&) {
                      return forwardToWorkbook({csv, QStringLiteral("--into"), m_docs + QStringLiteral("/book.xlsx")});
                  },
                  [&](const QString&, int result, const QString&) {
                      EXPECT_EQ(result, 1);
                      EXPECT_EQ(test::fileBytes(m_docs + QStringLiteral("/book.xlsx")), oldBytes);
                      EXPECT_EQ(test::folderEntries(m_docs), QStringList{QStringLiteral("book.xlsx")});
                      EXPECT_EQ(test::folderEntries(m_home), QStringList());
                  });
}

// --- A really full disk -----------------------------------------------------------------------

// A small tmpfs at a folder, when this process may mount one (root in CI); unmounted again.
class SmallDisk {
public:
    explicit SmallDisk(const QString& folder) : m_folder(folder)
    {
        QDir().mkpath(folder);
        m_mounted = ::mount("tmpfs", QFile::encodeName(folder).constData(), "tmpfs", 0, "size=64k,mode=0700") == 0;
        if (!m_mounted)
            m_reason = QString::fromLocal8Bit(std::strerror(errno));
    }
    ~SmallDisk()
    {
        if (m_mounted)
            ::umount2(QFile::encodeName(m_folder).constData(), MNT_DETACH);
    }
    bool mounted() const { return m_mounted; }
    QString reason() const { return m_reason; }

    // Fills what is left of the disk with one file.
    void fill() const
    {
        QFile filler(m_folder + QStringLiteral("/filler"));
        ASSERT_TRUE(filler.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered));
        const QByteArray block(1024, 'x');
        while (filler.write(block) == block.size()) {
        }
        while (filler.write(block.left(1)) == 1) {
        }
    }

private:
    QString m_folder;
    bool m_mounted = false;
    QString m_reason;
};

void recordFullDisk(const QString& how)
{
    const QString folder = QStringLiteral(QUVO_FAULT_RESULTS);
    QDir().mkpath(folder);
    QFile f(QDir(folder).filePath(QStringLiteral("full-disk.txt")));
    if (f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        f.write(how.toUtf8() + '\n');
}

class FullDisk : public FailedSave {
protected:
    void SetUp() override
    {
        FailedSave::SetUp();
        m_disk = std::make_unique<SmallDisk>(m_root.filePath(QStringLiteral("disk")));
        if (!m_disk->mounted()) {
            recordFullDisk(QStringLiteral("injected ENOSPC only: a tmpfs could not be mounted (%1)").arg(m_disk->reason()));
            GTEST_SKIP() << "no tmpfs (" << m_disk->reason().toStdString()
                         << "): a full disk is covered by the injected short writes of FailedSave";
        }
        recordFullDisk(QStringLiteral("a real full disk: a 64 KiB tmpfs, filled up"));
        m_full = m_root.filePath(QStringLiteral("disk"));
        const QString csv = m_input + QStringLiteral("/readings.CSV");
        QString error;
        ASSERT_EQ(saveDataFile(m_input, csv, 8, error), 0) << error.toStdString();
        m_csv = csv;
    }
    void TearDown() override
    {
        m_disk.reset();
        FailedSave::TearDown();
    }

    std::unique_ptr<SmallDisk> m_disk;
    QString m_full;
    QString m_csv;
};

TEST_F(FullDisk, DataFileWithTheProgramFolderOnIt)
{
    const QString home = m_full + QStringLiteral("/home");
    ASSERT_TRUE(QDir().mkpath(home));
    const QString target = m_full + QStringLiteral("/data.CSV");
    test::writeFileBytes(target, "the previous data file\r\n");
    m_disk->fill();
    QString error;
    EXPECT_EQ(saveDataFile(home, target, 200, error), 1);
    EXPECT_TRUE(error.contains(QLatin1String("No space left on device"))) << error.toStdString();
    EXPECT_EQ(test::fileBytes(target), QByteArray("the previous data file\r\n"));
    EXPECT_EQ(test::folderEntries(m_full), (QStringList{QStringLiteral("data.CSV"), QStringLiteral("filler"), QStringLiteral("home")}));
    EXPECT_EQ(test::folderEntries(home), QStringList());
}

TEST_F(FullDisk, DataFileWithOnlyTheTargetOnIt)
{
    freshFolders(QStringLiteral("elsewhere"));
    const QString target = m_full + QStringLiteral("/data.CSV");
    test::writeFileBytes(target, "the previous data file\r\n");
    m_disk->fill();
    QString error;
    EXPECT_EQ(saveDataFile(m_home, target, 200, error), 1);
    EXPECT_TRUE(error.contains(QLatin1String("No space left on device"))) << error.toStdString();
    EXPECT_EQ(test::fileBytes(target), QByteArray("the previous data file\r\n"));
    EXPECT_EQ(test::folderEntries(m_full), (QStringList{QStringLiteral("data.CSV"), QStringLiteral("filler")}));
    EXPECT_EQ(test::folderEntries(m_home), QStringList());
}

TEST_F(FullDisk, SettingsFile)
{
    const QByteArray oldBytes = "1\r\nold.xlsx\r\nOld\r\n";
    test::writeFileBytes(m_full + QStringLiteral("/QUVO.INI"), oldBytes);
    m_disk->fill();
    saveSettingsFile(m_full, QStringLiteral("5"), QString(200, QLatin1Char('n')), QStringLiteral("New"));
    EXPECT_EQ(test::fileBytes(m_full + QStringLiteral("/QUVO.INI")), oldBytes);
    EXPECT_EQ(test::folderEntries(m_full), (QStringList{QStringLiteral("QUVO.INI"), QStringLiteral("filler")}));
}

TEST_F(FullDisk, JournalKeepsEveryRowWrittenBeforeTheDiskFilled)
{
    QString error;
    auto journal = RecordingJournal::create(m_full, &error);
    ASSERT_TRUE(journal) << error.toStdString();
    JournalStart start;
    start.interval = {QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("01")};
    start.period = start.interval;
    start.startLabel = QStringLiteral("12:00:00");
    ASSERT_TRUE(journal->writeStart(start));
    m_disk->fill();
    int written = 0;
    bool failed = false;
    for (int k = 0; k < 2000 && !failed; ++k) {
        if (journal->appendRow({QStringLiteral("12:00:00"), newValue(k), QStringLiteral("VDC"), true, newValue(k)}))
            ++written;
        else
            failed = true;
    }
    ASSERT_TRUE(failed) << "the disk never filled";
    EXPECT_TRUE(journal->lastError().contains(QLatin1String("No space left on device")))
        << journal->lastError().toStdString();
    const auto contents = journal->read(&error);
    ASSERT_TRUE(contents.has_value()) << error.toStdString();
    EXPECT_EQ(contents->damagedLines, 0);
    ASSERT_EQ(contents->rows.size(), written);
    for (int k = 0; k < written; ++k)
        EXPECT_EQ(contents->rows[k].display, newValue(k));
    journal->remove();
}

TEST_F(FullDisk, NewWorkbook)
{
    freshFolders(QStringLiteral("program"));
    m_disk->fill();
    EXPECT_EQ(forwardToWorkbook({m_csv, QStringLiteral("--xlsx"), m_full + QStringLiteral("/book.xlsx")}), 1);
    EXPECT_EQ(test::folderEntries(m_full), QStringList{QStringLiteral("filler")});
    EXPECT_EQ(test::folderEntries(m_home), QStringList());
}

TEST_F(FullDisk, GraftKeepsTheWorkbookByteForByte)
{
    freshFolders(QStringLiteral("program"));
    const QString book = m_full + QStringLiteral("/book.xlsx");
    ASSERT_EQ(forwardToWorkbook({m_csv, QStringLiteral("--xlsx"), book}), 0);
    const QByteArray oldBytes = test::fileBytes(book);
    m_disk->fill();
    EXPECT_EQ(forwardToWorkbook({m_csv, QStringLiteral("--into"), book}), 1);
    EXPECT_EQ(test::fileBytes(book), oldBytes);
    EXPECT_EQ(test::folderEntries(m_full), (QStringList{QStringLiteral("book.xlsx"), QStringLiteral("filler")}));
    EXPECT_EQ(xlsx::inspectWorkbookFile(book).sheetNames.size(), 1);
}

} // namespace
