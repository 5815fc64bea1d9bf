// quvolink-cli forward, run as a program: a data file into a new workbook and into an
// existing one, refusals (exit 1), usage mistakes (exit 2), and Ctrl+C / SIGTERM as Cancel
// (exit 1, the workbook byte for byte as it was, no file left).

#include "SheetExpectations.h"
#include "WorkbookTestSupport.h"

#include "support/TestHelpers.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>
#include <functional>

#include <ostream>

inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace quvo {
namespace {

struct Outcome {
    int exitCode = -1;
    QString out;
    QString err;
};

// A realtime file: 1.5, ERROR, 2.25, 0.75 V DC, the last with a formula-like time.
const QByteArray GoodFile = "21,0\r\n9000,6000,0\r\n00,00,00,05\r\nTrue,00,01,00,00\r\n20\r\nTrue,1,1\r\n"
                            "True,0,10,1,1\r\n12:00:00,1.5,VDC,1.5\r\n12:00:05,ERROR,,ERROR\r\n"
                            "12:00:10,2.25,VDC,2.25\r\n=1+1,0.75,VDC,0.75\r\n";

class ForwardCommandTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        m_home = m_dir.filePath(QStringLiteral("home"));
        m_data = write(QStringLiteral("recording.CSV"), GoodFile);
    }

    Outcome run(const QStringList& arguments)
    {
        QProcess p;
        start(p, arguments);
        return outcomeOf(p);
    }

    void start(QProcess& p, const QStringList& arguments)
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QUVOLINK_HOME"), m_home);
        env.remove(QStringLiteral("QUVOLINK_NO_DESKTOP_OPEN")); // the command itself never opens one
        p.setProcessEnvironment(env);
        p.setWorkingDirectory(m_dir.path());
        p.start(test::builtProgram(QStringLiteral("src/cli/quvolink-cli")), QStringList{QStringLiteral("forward")} + arguments);
    }

    static Outcome outcomeOf(QProcess& p)
    {
        EXPECT_TRUE(p.waitForFinished(60000));
        Outcome r;
        r.exitCode = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
        r.out = QString::fromUtf8(p.readAllStandardOutput());
        r.err = QString::fromUtf8(p.readAllStandardError());
        return r;
    }

    // Starts the command, sends `signal` once `ready` holds (looked at every millisecond),
    // and waits for the end.
    Outcome runInterrupted(const QStringList& arguments, int signal, const std::function<bool(qint64 pid)>& ready)
    {
        QProcess p;
        start(p, arguments);
        EXPECT_TRUE(p.waitForStarted(10000));
        bool sent = false;
        for (int i = 0; i < 60000 && p.state() == QProcess::Running; ++i) {
            if (ready(p.processId())) {
                ::kill(static_cast<pid_t>(p.processId()), signal);
                sent = true;
                break;
            }
            QThread::msleep(1);
        }
        EXPECT_TRUE(sent) << "the moment to interrupt never came";
        return outcomeOf(p);
    }

    // True once a file that was not among `before` has content: the new version of the
    // workbook being written beside it (not the empty probe that checks the folder takes
    // new files, which is gone at once).
    std::function<bool(qint64)> newFileBeingWritten(const QStringList& before) const
    {
        const QString folder = m_dir.path();
        return [folder, before](qint64) {
            for (const QString& name : test::folderEntries(folder)) {
                if (!before.contains(name) && QFileInfo(QDir(folder).filePath(name)).size() > 0)
                    return true;
            }
            return false;
        };
    }

    // A realtime data file of `rows` readings, so that forwarding takes a while. (The
    // program folder is made first, so that only the forwarding changes the folder.)
    QString writeLongFile(int rows)
    {
        EXPECT_TRUE(QDir().mkpath(m_home));
        QByteArray bytes = "21,0\r\n9000,6000,0\r\n00,00,00,01\r\nTrue,00,01,00,00\r\n20\r\nTrue,1,1\r\nTrue,0,10,1,1\r\n";
        for (int i = 0; i < rows; ++i) {
            const int t = i % 86400;
            const QByteArray value = QByteArray::number(100 + i % 900) + "E-3";
            bytes += QStringLiteral("%1:%2:%3,").arg(t / 3600, 2, 10, QLatin1Char('0')).arg(t / 60 % 60, 2, 10, QLatin1Char('0'))
                         .arg(t % 60, 2, 10, QLatin1Char('0')).toLatin1()
                + value + ",VDC," + value + "\r\n";
        }
        return write(QStringLiteral("long.CSV"), bytes);
    }

    QString write(const QString& name, const QByteArray& bytes)
    {
        const QString path = m_dir.filePath(name);
        QFile f(path);
        EXPECT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(bytes);
        return path;
    }

    // The sheet the rules give for GoodFile.
    static test::SheetContent goodContent(const QString& title)
    {
        test::SheetContent content;
        content.title = title;
        content.rows = {{QStringLiteral("12:00:00"), QStringLiteral("1.5"), QStringLiteral("VDC")},
                        {QStringLiteral("12:00:05"), QStringLiteral("ERROR"), QString()},
                        {QStringLiteral("12:00:10"), QStringLiteral("2.25"), QStringLiteral("VDC")},
                        {QStringLiteral("=1+1"), QStringLiteral("0.75"), QStringLiteral("VDC")}};
        return content;
    }

    QTemporaryDir m_dir;
    QString m_home;
    QString m_data;
};

TEST_F(ForwardCommandTest, NewWorkbook)
{
    const QString target = m_dir.filePath(QStringLiteral("result.xlsx"));
    const Outcome r = run({m_data, QStringLiteral("--xlsx"), target, QStringLiteral("--title"), QStringLiteral("Bench <1>")});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, QDir::toNativeSeparators(target) + QLatin1Char('\n'));
    EXPECT_TRUE(r.err.isEmpty()) << r.err.toStdString() << " (stderr is no terminal: no progress line)";
    const QJsonObject book = test::describeWorkbook(target);
    EXPECT_EQ(test::sheetNames(book), QStringList{QStringLiteral("Sheet1")});
    const QJsonObject sheet = test::sheetNamed(book, QStringLiteral("Sheet1"));
    // MAX: row 3 (2.25), MIN: row 4 (0.75), both without the row number; AVG: (1.5 + 2.25 +
    // 0.75) / 3 = 1.5 with "0.000000".
    test::SheetContent content = goodContent(QStringLiteral("Bench <1>"));
    content.stats[0] = QStringLiteral("TIME[ 12:00:10 ]   DATA[ 2.25 ]   MODE[ VDC ]");
    content.stats[1] = QStringLiteral("TIME[ =1+1 ]   DATA[ 0.75 ]   MODE[ VDC ]");
    content.stats[2] = QStringLiteral("1.500000");
    test::expectForwardedSheet(sheet, content);
    EXPECT_EQ(test::folderEntries(m_dir.path()),
              (QStringList{QStringLiteral("home"), QStringLiteral("recording.CSV"), QStringLiteral("result.xlsx")}));
}

TEST_F(ForwardCommandTest, RelativePathIsWrittenWhereTheCommandRuns)
{
    const Outcome r = run({QStringLiteral("recording.CSV"), QStringLiteral("--xlsx"), QStringLiteral("rel.xlsx")});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_TRUE(QFile::exists(m_dir.filePath(QStringLiteral("rel.xlsx"))));
}

TEST_F(ForwardCommandTest, ExistingFileIsNotReplacedWithoutForce)
{
    const QString target = write(QStringLiteral("taken.xlsx"), "keep me");
    Outcome r = run({m_data, QStringLiteral("--xlsx"), target});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("already exists"))) << r.err.toStdString();
    EXPECT_TRUE(r.out.isEmpty());
    EXPECT_EQ(test::fileBytes(target), QByteArray("keep me"));

    r = run({m_data, QStringLiteral("--xlsx"), target, QStringLiteral("--force")});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_EQ(test::sheetNames(test::describeWorkbook(target)), QStringList{QStringLiteral("Sheet1")});
}

TEST_F(ForwardCommandTest, IntoExistingWorkbook)
{
    const QString book = m_dir.filePath(QStringLiteral("Bench.xlsx"));
    test::makeWorkbook(QStringLiteral("openpyxl"), book);
    const Outcome r = run({m_data, QStringLiteral("--into"), book, QStringLiteral("--title"), QStringLiteral("Added")});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, QDir::toNativeSeparators(book) + QLatin1Char('\n'));
    const QJsonObject after = test::describeWorkbook(book);
    EXPECT_EQ(test::sheetNames(after), (QStringList{"Readings", "Sheet2", "Sheet3"}));
    const QJsonObject sheet = test::sheetNamed(after, QStringLiteral("Sheet3"));
    EXPECT_EQ(sheet[QStringLiteral("cells")].toObject()[QStringLiteral("B2")].toObject()[QStringLiteral("value")].toString(),
              QStringLiteral("Added"));
    EXPECT_EQ(sheet[QStringLiteral("cells")].toObject()[QStringLiteral("B8")].toObject()[QStringLiteral("value")].toString(),
              QStringLiteral("=1+1"));
    EXPECT_EQ(sheet[QStringLiteral("formula_elements")].toInt(), 0);
}

// True once the process catches SIGINT and SIGTERM (its Cancel is in place).
bool catchesInterrupts(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return false;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (!line.startsWith("SigCgt:"))
            continue;
        const qulonglong caught = line.mid(7).trimmed().toULongLong(nullptr, 16);
        const qulonglong wanted = (1ULL << (SIGINT - 1)) | (1ULL << (SIGTERM - 1));
        return (caught & wanted) == wanted;
    }
    return false;
}

QByteArray sha256Of(const QString& path)
{
    return QCryptographicHash::hash(test::fileBytes(path), QCryptographicHash::Sha256).toHex();
}

TEST_F(ForwardCommandTest, InterruptedWhileForwardingLeavesTheWorkbookAsItWas)
{
    const QString data = writeLongFile(32767);
    const QString book = m_dir.filePath(QStringLiteral("Bench.xlsx"));
    test::makeWorkbook(QStringLiteral("openpyxl"), book);
    const QByteArray before = sha256Of(book);
    const QStringList entries = test::folderEntries(m_dir.path());
    for (const int signal : {SIGTERM, SIGINT}) {
        SCOPED_TRACE(signal);
        const Outcome r = runInterrupted({data, QStringLiteral("--into"), book}, signal, catchesInterrupts);
        EXPECT_EQ(r.exitCode, 1) << r.err.toStdString();
        EXPECT_TRUE(r.err.contains(QStringLiteral("Canceled."))) << r.err.toStdString();
        EXPECT_TRUE(r.out.isEmpty());
        EXPECT_EQ(sha256Of(book), before);
        EXPECT_EQ(test::folderEntries(m_dir.path()), entries);
    }
}

TEST_F(ForwardCommandTest, InterruptedWhileTheWorkbookIsWrittenLeavesItAsItWas)
{
    // Ctrl+C when the new version of the workbook is being written beside it (its temporary
    // file has appeared): it is not put in place.
    const QString data = writeLongFile(32767);
    const QString book = m_dir.filePath(QStringLiteral("Bench.xlsx"));
    test::makeWorkbook(QStringLiteral("openpyxl"), book);
    const QByteArray before = sha256Of(book);
    const QStringList entries = test::folderEntries(m_dir.path());
    const Outcome r = runInterrupted({data, QStringLiteral("--into"), book}, SIGINT, newFileBeingWritten(entries));
    EXPECT_EQ(r.exitCode, 1) << r.err.toStdString();
    EXPECT_TRUE(r.err.contains(QStringLiteral("Canceled."))) << r.err.toStdString();
    EXPECT_EQ(sha256Of(book), before);
    EXPECT_EQ(test::folderEntries(m_dir.path()), entries);
}

TEST_F(ForwardCommandTest, InterruptedNewWorkbookLeavesNoFile)
{
    const QString data = writeLongFile(32767);
    const QString target = m_dir.filePath(QStringLiteral("new.xlsx"));
    const QStringList entries = test::folderEntries(m_dir.path());
    const Outcome r = runInterrupted({data, QStringLiteral("--xlsx"), target}, SIGINT, newFileBeingWritten(entries));
    EXPECT_EQ(r.exitCode, 1) << r.err.toStdString();
    EXPECT_TRUE(r.err.contains(QStringLiteral("Canceled."))) << r.err.toStdString();
    EXPECT_FALSE(QFileInfo::exists(target));
    EXPECT_EQ(test::folderEntries(m_dir.path()), entries);
}

TEST_F(ForwardCommandTest, IntoAnOldBinaryWorkbookIsRefused)
{
    const QString book = write(QStringLiteral("old.xls"), QByteArray::fromHex("D0CF11E0A1B11AE1") + QByteArray(504, '\0'));
    const QByteArray before = test::fileBytes(book);
    const Outcome r = run({m_data, QStringLiteral("--into"), book});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("save it as .xlsx first"))) << r.err.toStdString();
    EXPECT_EQ(test::fileBytes(book), before);
}

TEST_F(ForwardCommandTest, IntoAMissingWorkbookIsRefused)
{
    const Outcome r = run({m_data, QStringLiteral("--into"), m_dir.filePath(QStringLiteral("none.xlsx"))});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("cannot be found"))) << r.err.toStdString();
    EXPECT_FALSE(QFile::exists(m_dir.filePath(QStringLiteral("none.xlsx"))));
}

TEST_F(ForwardCommandTest, RefusedDataFile)
{
    const QString bad = write(QStringLiteral("other.CSV"), "91,0\r\n9000,6000,0\r\n");
    const QString target = m_dir.filePath(QStringLiteral("never.xlsx"));
    const Outcome r = run({bad, QStringLiteral("--xlsx"), target});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("This file is a different data type."))) << r.err.toStdString();
    EXPECT_FALSE(QFile::exists(target));
}

TEST_F(ForwardCommandTest, MissingDataFile)
{
    const Outcome r = run({m_dir.filePath(QStringLiteral("gone.CSV")), QStringLiteral("--xlsx"), m_dir.filePath(QStringLiteral("x.xlsx"))});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_FALSE(r.err.isEmpty());
}

TEST_F(ForwardCommandTest, DataFileWithoutReadings)
{
    const QString empty = write(QStringLiteral("empty.CSV"), "21,0\r\n9000,6000,0\r\n00,00,00,05\r\nTrue,00,01,00,00\r\n20\r\n"
                                                             "True,1,1\r\nTrue,0,10,1,1\r\n,,,\r\n");
    const Outcome r = run({empty, QStringLiteral("--xlsx"), m_dir.filePath(QStringLiteral("x.xlsx"))});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("nothing to forward"))) << r.err.toStdString();
    EXPECT_FALSE(QFile::exists(m_dir.filePath(QStringLiteral("x.xlsx"))));
}

TEST_F(ForwardCommandTest, NewWorkbookInAFolderThatDoesNotExist)
{
    const Outcome r = run({m_data, QStringLiteral("--xlsx"), m_dir.filePath(QStringLiteral("no/such/folder/x.xlsx"))});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("does not exist"))) << r.err.toStdString();
}

TEST_F(ForwardCommandTest, UsageMistakes)
{
    const QString book = m_dir.filePath(QStringLiteral("a.xlsx"));
    const QList<QStringList> cases = {
        {m_data, QStringLiteral("--xlsx"), book, QStringLiteral("--into"), book}, // both
        {m_data},                                                                 // neither
        {QStringLiteral("--xlsx"), book},                                         // no data file
        {m_data, m_data, QStringLiteral("--xlsx"), book},                         // two data files
        {m_data, QStringLiteral("--xlsx"), m_dir.filePath(QStringLiteral("a.csv"))}, // not .xlsx
        {m_data, QStringLiteral("--into"), book, QStringLiteral("--force")},      // --force with --into
        {m_data, QStringLiteral("--xlsx")},                                       // option without value
        {m_data, QStringLiteral("--bogus"), QStringLiteral("--xlsx"), book},      // unknown option
    };
    for (const QStringList& arguments : cases) {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        const Outcome r = run(arguments);
        EXPECT_EQ(r.exitCode, 2);
        EXPECT_TRUE(r.err.contains(QStringLiteral("Usage: quvolink-cli forward"))) << r.err.toStdString();
        EXPECT_TRUE(r.out.isEmpty());
    }
    EXPECT_FALSE(QFile::exists(book));
}

TEST_F(ForwardCommandTest, HelpAndGeneralList)
{
    Outcome r = run({QStringLiteral("--help")});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_TRUE(r.out.contains(QStringLiteral("--into FILE")));
    QProcess p;
    p.start(test::builtProgram(QStringLiteral("src/cli/quvolink-cli")), {QStringLiteral("--help")});
    ASSERT_TRUE(p.waitForFinished(60000));
    EXPECT_TRUE(QString::fromUtf8(p.readAllStandardOutput()).contains(QStringLiteral("forward FILE")));
}

} // namespace
} // namespace quvo
