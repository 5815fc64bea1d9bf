// Saves that cannot corrupt. Every writer of the program (a data file through the work
// file, the settings file, a recording journal, a new workbook and a sheet grafted into an
// existing one) is
//   - killed (SIGKILL, in a helper program) before and after every step of its save, and
//     with half of a write done: the file must then be the previous one, whole, or the new
//     one, whole; after the next start (and the next save into the same folder) no
//     temporary file is left;
//   - made to fail at every step (a failing create, a short write on a full disk, a failing
//     sync, a failing rename): the previous file stays whole and nothing is left behind;
//   - run on a really full disk (a small tmpfs) where that can be mounted.
// The steps come from the writers themselves (the helper lists them), so a new step is
// covered without touching this test. Each test also writes what it saw to a results file
// beside the build, for docs/RELIABILITY.md.

#include "SaveWriters.h"

#include "acquisition/HeadlessHost.h"
#include "acquisition/Realtime.h"
#include "acquisition/RecordingJournal.h"
#include "app/Settings.h"
#include "document/DataDocument.h"
#include "document/DurableFile.h"
#include "forward/XlsxPackage.h"
#include "link/Comm.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/RuntimeError.h"
#include "support/TestHelpers.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <sys/mount.h>

using namespace quvo;
using namespace quvo::faults;

namespace {

const QString Helper = QStringLiteral("tests/faults/save_crash_helper");
constexpr int DataRows = 12;
constexpr int JournalRows = 5;


// The program's temporary files (and stray locks) among a folder's entries.
QStringList leftovers(const QString& folder, const QStringList& expected)
{
    QStringList extra;
    for (const QString& name : test::folderEntries(folder))
        if (!expected.contains(name))
            extra << name;
    return extra;
}

// Shortens a temporary file name for the report: the process id and random part go.
QString shortName(QString name)
{
    const qsizetype mark = name.lastIndexOf(QLatin1String(".quvolink-"));
    if (mark > 0)
        name = name.left(mark) + QStringLiteral(".quvolink-…");
    return name;
}

struct HelperRun {
    int exitCode = -1;
    bool killed = false;
    QString out;
    QString err;
};

HelperRun runHelper(const QStringList& arguments, const QString& crashAt, const QString& home = {},
                    bool trace = false)
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("QUVO_CRASH_AT"));
    if (!crashAt.isEmpty())
        env.insert(QStringLiteral("QUVO_CRASH_AT"), crashAt);
    if (trace)
        env.insert(QStringLiteral("QUVO_TRACE_STEPS"), QStringLiteral("1"));
    if (!home.isEmpty())
        env.insert(QString::fromLatin1(HomeEnvVar), home);
    env.insert(QStringLiteral("QUVOLINK_NO_DESKTOP_OPEN"), QStringLiteral("1"));
    process.setProcessEnvironment(env);
    process.start(test::builtProgram(Helper), arguments);
    HelperRun run;
    if (!process.waitForFinished(60000)) {
        process.kill();
        process.waitForFinished();
        ADD_FAILURE() << "the helper did not end";
        return run;
    }
    run.killed = process.exitStatus() == QProcess::CrashExit;
    run.exitCode = process.exitCode();
    run.out = QString::fromLocal8Bit(process.readAllStandardOutput());
    run.err = QString::fromLocal8Bit(process.readAllStandardError());
    return run;
}

// Every point of a save where a crash can happen: before and after each step, and half of
// each write. Listed by the helper itself ("before Write <path>" ...).
QStringList crashPoints(const QStringList& arguments, const QString& home = {})
{
    const HelperRun run = runHelper(arguments, {}, home, true);
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    QStringList points;
    std::map<QString, int> seen;
    for (const QString& line : run.out.split(QLatin1Char('\n'))) {
        const QStringList words = line.split(QLatin1Char(' '));
        if (words.size() < 2 || (words[0] != QLatin1String("before") && words[0] != QLatin1String("after")))
            continue;
        const QString key = words[0] + QLatin1Char(':') + words[1];
        const int n = ++seen[key];
        points << key + QLatin1Char(':') + QString::number(n);
        if (words[0] == QLatin1String("before") && words[1] == QLatin1String("Write"))
            points << QStringLiteral("short:Write:%1").arg(n);
    }
    return points;
}

// A results file beside the build: one Markdown table per writer.
class Report {
public:
    explicit Report(const QString& name) : m_path(QDir(QStringLiteral(QUVO_FAULT_RESULTS)).filePath(name)) {}
    void header(const QString& title, const QStringList& columns)
    {
        m_lines << QStringLiteral("#### ") + title << QString()
                << QStringLiteral("| ") + columns.join(QStringLiteral(" | ")) + QStringLiteral(" |")
                << QStringLiteral("|") + QStringLiteral("---|").repeated(columns.size());
    }
    void row(const QStringList& cells) { m_lines << QStringLiteral("| ") + cells.join(QStringLiteral(" | ")) + QStringLiteral(" |"); }
    void note(const QString& text) { m_lines << QString() << text; }
    ~Report()
    {
        QDir().mkpath(QFileInfo(m_path).absolutePath());
        QFile f(m_path);
        if (f.open(QIODevice::WriteOnly | QIODevice::Truncate))
            f.write((m_lines.join(QLatin1Char('\n')) + QLatin1Char('\n')).toUtf8());
    }

private:
    QString m_path;
    QStringList m_lines;
};

QString listOrNone(const QStringList& names)
{
    QStringList shortNames;
    for (const QString& n : names)
        shortNames << shortName(n);
    return shortNames.isEmpty() ? QStringLiteral("nothing") : shortNames.join(QStringLiteral(", "));
}

class CrashSafeSave : public ::testing::Test {
protected:
    void SetUp() override
    {
        resetProgramState();
        ASSERT_TRUE(m_root.isValid());
    }
    void TearDown() override
    {
        qunsetenv(HomeEnvVar);
        resetProgramState();
    }

    // A fresh pair of folders for one crash point: the program folder and the user's.
    void freshFolders(int n)
    {
        m_home = m_root.filePath(QStringLiteral("case%1/home").arg(n));
        m_docs = m_root.filePath(QStringLiteral("case%1/docs").arg(n));
        ASSERT_TRUE(QDir().mkpath(m_home));
        ASSERT_TRUE(QDir().mkpath(m_docs));
    }

    QTemporaryDir m_root;
    QString m_home;
    QString m_docs;
};

// --- Data files ---------------------------------------------------------------------------------

TEST_F(CrashSafeSave, DataFileKilledAtEveryStep)
{
    // The previous and the new content, made by the same writer.
    const QString ref = m_root.filePath(QStringLiteral("ref"));
    ASSERT_TRUE(QDir().mkpath(ref));
    QString error;
    ASSERT_EQ(saveDataFile(ref, ref + QStringLiteral("/old.CSV"), 3, error), 0) << error.toStdString();
    ASSERT_EQ(saveDataFile(ref, ref + QStringLiteral("/new.CSV"), DataRows, error), 0) << error.toStdString();
    const QByteArray oldBytes = test::fileBytes(ref + QStringLiteral("/old.CSV"));
    const QByteArray newBytes = test::fileBytes(ref + QStringLiteral("/new.CSV"));
    ASSERT_NE(oldBytes, newBytes);

    freshFolders(0);
    const QStringList points = crashPoints(
        {QStringLiteral("data"), m_home, m_docs + QStringLiteral("/data.CSV"), QString::number(DataRows)});
    ASSERT_TRUE(points.contains(QStringLiteral("after:Replace:1"))) << points.join(QLatin1Char(' ')).toStdString();

    Report report(QStringLiteral("crash-data-file.md"));
    report.header(QStringLiteral("Data file (work file in the program folder, target in another folder)"),
                  {QStringLiteral("Killed"), QStringLiteral("Target afterwards"), QStringLiteral("Left behind"),
                   QStringLiteral("After the next start and save")});
    int n = 0;
    for (const QString& point : points) {
        SCOPED_TRACE(point.toStdString());
        freshFolders(++n);
        const QString target = m_docs + QStringLiteral("/data.CSV");
        test::writeFileBytes(target, oldBytes);
        const HelperRun run = runHelper({QStringLiteral("data"), m_home, target, QString::number(DataRows)}, point);
        EXPECT_TRUE(run.killed) << run.err.toStdString();

        const bool replaced = point == QLatin1String("after:Replace:1");
        const QByteArray now = test::fileBytes(target);
        EXPECT_EQ(now, replaced ? newBytes : oldBytes);
        const QStringList left = leftovers(m_home, {}) + leftovers(m_docs, {QStringLiteral("data.CSV")});

        // The next start cleans the program folder; the next save into the folder cleans it.
        removeLeftoversOfCrash(m_home);
        EXPECT_EQ(test::folderEntries(m_home), QStringList());
        EXPECT_EQ(saveDataFile(m_home, target, DataRows, error), 0) << error.toStdString();
        EXPECT_EQ(test::folderEntries(m_docs), QStringList{QStringLiteral("data.CSV")});
        EXPECT_EQ(test::fileBytes(target), newBytes);
        EXPECT_EQ(test::folderEntries(m_home), QStringList());
        report.row({point, now == oldBytes ? QStringLiteral("previous, whole")
                           : now == newBytes ? QStringLiteral("new, whole")
                                             : QStringLiteral("**mixed**"),
                    listOrNone(left),
                    test::folderEntries(m_home).isEmpty() && test::folderEntries(m_docs) == QStringList{QStringLiteral("data.CSV")}
                        ? QStringLiteral("clean")
                        : QStringLiteral("**not clean**")});
    }
}

// --- The settings file ------------------------------------------------------------------------

TEST_F(CrashSafeSave, SettingsFileKilledAtEveryStep)
{
    const QByteArray oldBytes = "1\r\nold.xlsx\r\nOld\r\n";
    const QByteArray newBytes = "5\r\nnew.xlsx\r\nNew\r\n";
    freshFolders(0);
    const QStringList args = {QStringLiteral("settings"), m_home, QStringLiteral("5"), QStringLiteral("new.xlsx"),
                              QStringLiteral("New")};
    const QStringList points = crashPoints(args);
    ASSERT_TRUE(points.contains(QStringLiteral("after:Replace:1"))) << points.join(QLatin1Char(' ')).toStdString();

    Report report(QStringLiteral("crash-settings-file.md"));
    report.header(QStringLiteral("Settings file QUVO.INI"),
                  {QStringLiteral("Killed"), QStringLiteral("QUVO.INI afterwards"), QStringLiteral("Left behind"),
                   QStringLiteral("After the next start")});
    int n = 0;
    for (const QString& point : points) {
        SCOPED_TRACE(point.toStdString());
        freshFolders(++n);
        QStringList caseArgs = args;
        caseArgs[1] = m_home;
        const QString ini = m_home + QStringLiteral("/QUVO.INI");
        test::writeFileBytes(ini, oldBytes);
        const HelperRun run = runHelper(caseArgs, point);
        EXPECT_TRUE(run.killed) << run.err.toStdString();
        const bool replaced = point == QLatin1String("after:Replace:1");
        const QByteArray now = test::fileBytes(ini);
        EXPECT_EQ(now, replaced ? newBytes : oldBytes);
        const QStringList left = leftovers(m_home, {QStringLiteral("QUVO.INI")});
        removeLeftoversOfCrash(m_home);
        EXPECT_EQ(test::folderEntries(m_home), QStringList{QStringLiteral("QUVO.INI")});
        report.row({point, now == oldBytes ? QStringLiteral("previous, whole")
                           : now == newBytes ? QStringLiteral("new, whole")
                                             : QStringLiteral("**mixed**"),
                    listOrNone(left),
                    test::folderEntries(m_home) == QStringList{QStringLiteral("QUVO.INI")} ? QStringLiteral("clean")
                                                                               : QStringLiteral("**not clean**")});
    }
}

// --- The recording journal ---------------------------------------------------------------------

// Rows a journal holds when its writer was killed at `point`: its writes are the format
// line, the start line, then one write per row; a write counts once it is done (a killed
// process loses nothing it has written, a power cut loses nothing it has synced), half a
// write does not count.
int journalRowsAt(const QString& point)
{
    const QStringList p = point.split(QLatin1Char(':'));
    const int n = p[2].toInt();
    if (p[1] == QLatin1String("Create"))
        return 0;
    const bool writeDone = p[1] == QLatin1String("Sync") || (p[1] == QLatin1String("Write") && p[0] == QLatin1String("after"));
    const int writes = writeDone ? n : n - 1;
    return std::max(0, writes - 2);
}

TEST_F(CrashSafeSave, JournalKilledAtEveryStepRestoresEveryWholeRow)
{
    freshFolders(0);
    const QStringList points
        = crashPoints({QStringLiteral("journal"), m_home, QString::number(JournalRows)});
    ASSERT_FALSE(points.isEmpty());

    Report report(QStringLiteral("crash-journal.md"));
    report.header(QStringLiteral("Recording journal (5 rows)"),
                  {QStringLiteral("Killed"), QStringLiteral("Rows restored at the next start"),
                   QStringLiteral("Left behind"), QStringLiteral("After restoring and saving")});
    int n = 0;
    for (const QString& point : points) {
        SCOPED_TRACE(point.toStdString());
        freshFolders(++n);
        const HelperRun run = runHelper({QStringLiteral("journal"), m_home, QString::number(JournalRows)}, point);
        EXPECT_TRUE(run.killed) << run.err.toStdString();
        const QStringList left = test::folderEntries(m_home);

        // The next start: left-overs removed, interrupted recordings offered and restored.
        removeLeftoversOfCrash(m_home);
        resetProgramState();
        HeadlessHost host;
        host.setQuestionAnswer(PromptAnswer::Yes);
        Comm comm(&host.prompter());
        int rows = -1;
        {
            Realtime realtime(comm, host);
            realtime.setJournalFolder(m_home);
            const int restored = realtime.restoreInterruptedRecordings();
            EXPECT_EQ(host.messages(), QStringList());
            const int expected = journalRowsAt(point);
            if (expected == 0) {
                EXPECT_EQ(restored, 0);
                rows = 0;
            } else {
                ASSERT_EQ(restored, 1);
                const DataDocument& doc = *host.documents().back();
                rows = doc.GetDatacount();
                EXPECT_EQ(rows, expected);
                for (int r = 1; r <= rows; ++r)
                    EXPECT_EQ(doc.TextMatrix(r, 2), newValue(r - 1)) << r;
                realtime.releaseJournal(&doc); // saved: the journal goes
            }
        }
        EXPECT_EQ(test::folderEntries(m_home), QStringList());
        report.row({point, QString::number(rows), listOrNone(left),
                    test::folderEntries(m_home).isEmpty() ? QStringLiteral("clean") : QStringLiteral("**not clean**")});
    }
}

// A journal taken over after a crash in the middle of a line is cut back to its last whole
// line before anything is added: the new start line does not run on from the torn one.
TEST_F(CrashSafeSave, JournalContinuedAfterATornLineKeepsItsNewLines)
{
    freshFolders(0);
    // Writes: format line, start line, first row, second row (torn: half of it on the disk).
    const HelperRun run = runHelper({QStringLiteral("journal"), m_home, QString::number(JournalRows)},
                                    QStringLiteral("short:Write:4"));
    ASSERT_TRUE(run.killed) << run.err.toStdString();
    auto journals = RecordingJournal::takeLeftovers(m_home);
    ASSERT_EQ(journals.size(), 1u);
    RecordingJournal& journal = *journals.front();
    JournalStart start;
    start.interval = {QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("02")};
    start.period = {QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00")};
    start.meterModel = QStringLiteral("1");
    start.startLabel = QStringLiteral("13:00:00");
    start.documentName = QStringLiteral("Restored");
    ASSERT_TRUE(journal.writeStart(start)) << journal.lastError().toStdString();
    ASSERT_TRUE(journal.appendRow({QStringLiteral("13:00:00"), QStringLiteral("7.5"), QStringLiteral("VDC"), true,
                                   QStringLiteral("7.5")}));
    QString error;
    const auto contents = journal.read(&error);
    ASSERT_TRUE(contents.has_value()) << error.toStdString();
    EXPECT_EQ(contents->damagedLines, 0);
    EXPECT_EQ(contents->start.startLabel, QStringLiteral("13:00:00"));
    EXPECT_EQ(contents->start.interval.seconds, QStringLiteral("02"));
    // The whole first row stays, the torn second one is gone, the new row follows.
    ASSERT_EQ(contents->rows.size(), 2);
    EXPECT_EQ(contents->rows[0].display, newValue(0));
    EXPECT_EQ(contents->rows[1].display, QStringLiteral("7.5"));
    journal.remove();
}

// --- Workbooks ------------------------------------------------------------------------------------

class CrashSafeWorkbook : public CrashSafeSave {
protected:
    void SetUp() override
    {
        CrashSafeSave::SetUp();
        const QString input = m_root.filePath(QStringLiteral("input"));
        ASSERT_TRUE(QDir().mkpath(input));
        m_csv = input + QStringLiteral("/readings.CSV");
        QString error;
        ASSERT_EQ(saveDataFile(input, m_csv, 8, error), 0) << error.toStdString();
    }

    static QStringList sheetsOf(const QString& workbook)
    {
        try {
            return xlsx::inspectWorkbookFile(workbook).sheetNames;
        } catch (const RuntimeError& e) {
            ADD_FAILURE() << "not a whole workbook: " << e.description().toStdString();
            return {};
        }
    }

    // Temporary files of the program in a folder (anything beside the expected names).
    static QStringList temporaries(const QString& folder)
    {
        QStringList found;
        for (const QString& name : test::folderEntries(folder))
            if (name.contains(QLatin1String(".quvolink-")))
                found << name;
        return found;
    }

    QString m_csv;
};

TEST_F(CrashSafeWorkbook, NewWorkbookKilledAtEveryStep)
{
    freshFolders(0);
    const auto args = [&](const QString& target) {
        return QStringList{QStringLiteral("forward"), m_csv, QStringLiteral("--xlsx"), target, QStringLiteral("--title"),
                           QStringLiteral("Crash")};
    };
    const QStringList points = crashPoints(args(m_docs + QStringLiteral("/book.xlsx")), m_home);
    ASSERT_TRUE(points.contains(QStringLiteral("after:Replace:1"))) << points.join(QLatin1Char(' ')).toStdString();

    Report report(QStringLiteral("crash-workbook-new.md"));
    report.header(QStringLiteral("New workbook (quvolink-cli forward --xlsx)"),
                  {QStringLiteral("Killed"), QStringLiteral("Workbook afterwards"), QStringLiteral("Left behind"),
                   QStringLiteral("After the next start and save")});
    int n = 0;
    for (const QString& point : points) {
        SCOPED_TRACE(point.toStdString());
        freshFolders(++n);
        const QString target = m_docs + QStringLiteral("/book.xlsx");
        const HelperRun run = runHelper(args(target), point, m_home);
        EXPECT_TRUE(run.killed) << run.err.toStdString();
        // The step counts include those of opening the data file (its work file copy).
        const bool replaced = point == QLatin1String("after:Replace:1");
        QString state;
        if (replaced) {
            EXPECT_EQ(sheetsOf(target).size(), 1);
            state = QStringLiteral("new, whole");
        } else {
            EXPECT_FALSE(QFileInfo::exists(target));
            state = QStringLiteral("not there (as before)");
        }
        const QStringList left = test::folderEntries(m_home) + temporaries(m_docs);

        removeLeftoversOfCrash(m_home);
        EXPECT_EQ(test::folderEntries(m_home), QStringList());
        const HelperRun next = runHelper(args(m_docs + QStringLiteral("/next.xlsx")), {}, m_home);
        EXPECT_EQ(next.exitCode, 0) << next.err.toStdString();
        EXPECT_EQ(temporaries(m_docs), QStringList());
        EXPECT_EQ(test::folderEntries(m_home), QStringList());
        report.row({point, state, listOrNone(left),
                    temporaries(m_docs).isEmpty() && test::folderEntries(m_home).isEmpty() ? QStringLiteral("clean")
                                                                               : QStringLiteral("**not clean**")});
    }
}

TEST_F(CrashSafeWorkbook, GraftKilledAtEveryStep)
{
    freshFolders(0);
    const QString original = m_root.filePath(QStringLiteral("original.xlsx"));
    const HelperRun made = runHelper({QStringLiteral("forward"), m_csv, QStringLiteral("--xlsx"), original,
                                      QStringLiteral("--title"), QStringLiteral("First")},
                                     {}, m_home);
    ASSERT_EQ(made.exitCode, 0) << made.err.toStdString();
    const QByteArray oldBytes = test::fileBytes(original);
    ASSERT_EQ(sheetsOf(original).size(), 1);

    const auto args = [&](const QString& target) {
        return QStringList{QStringLiteral("forward"), m_csv, QStringLiteral("--into"), target};
    };
    const QString probe = m_docs + QStringLiteral("/book.xlsx");
    ASSERT_TRUE(QFile::copy(original, probe));
    const QStringList points = crashPoints(args(probe), m_home);
    ASSERT_TRUE(points.contains(QStringLiteral("after:Replace:1"))) << points.join(QLatin1Char(' ')).toStdString();

    Report report(QStringLiteral("crash-workbook-graft.md"));
    report.header(QStringLiteral("Sheet added to an existing workbook (quvolink-cli forward --into)"),
                  {QStringLiteral("Killed"), QStringLiteral("Workbook afterwards"), QStringLiteral("Left behind"),
                   QStringLiteral("After the next start and save")});
    int n = 0;
    for (const QString& point : points) {
        SCOPED_TRACE(point.toStdString());
        freshFolders(++n);
        const QString target = m_docs + QStringLiteral("/book.xlsx");
        ASSERT_TRUE(QFile::copy(original, target));
        const HelperRun run = runHelper(args(target), point, m_home);
        EXPECT_TRUE(run.killed) << run.err.toStdString();
        const bool replaced = point == QLatin1String("after:Replace:1");
        QString state;
        if (replaced) {
            EXPECT_EQ(sheetsOf(target).size(), 2);
            state = QStringLiteral("new (2 sheets), whole");
        } else {
            EXPECT_EQ(test::fileBytes(target), oldBytes);
            state = QStringLiteral("previous, byte for byte");
        }
        const QStringList left = test::folderEntries(m_home) + temporaries(m_docs);

        removeLeftoversOfCrash(m_home);
        EXPECT_EQ(test::folderEntries(m_home), QStringList());
        const int sheetsBefore = static_cast<int>(sheetsOf(target).size());
        const HelperRun next = runHelper(args(target), {}, m_home);
        EXPECT_EQ(next.exitCode, 0) << next.err.toStdString();
        EXPECT_EQ(sheetsOf(target).size(), sheetsBefore + 1);
        EXPECT_EQ(temporaries(m_docs), QStringList());
        report.row({point, state, listOrNone(left),
                    temporaries(m_docs).isEmpty() && test::folderEntries(m_home).isEmpty() ? QStringLiteral("clean")
                                                                               : QStringLiteral("**not clean**")});
    }
}

} // namespace
