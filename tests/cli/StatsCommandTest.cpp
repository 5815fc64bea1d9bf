// quvolink-cli stats, run as a program: the four lines, the exit codes, the messages.

#include "resources/Version.h"
#include "support/TestHelpers.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <ostream>

inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

using namespace quvo::test;

namespace {

struct Outcome {
    int exitCode = -1;
    QString out;
    QString err;
};

class StatsCommandTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        m_home = m_dir.filePath(QStringLiteral("home"));
    }

    Outcome run(const QStringList& arguments, const QString& locale = QString())
    {
        QProcess p;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QUVOLINK_HOME"), m_home);
        if (!locale.isEmpty()) {
            env.insert(QStringLiteral("LC_ALL"), locale);
            env.insert(QStringLiteral("LANG"), locale);
        }
        p.setProcessEnvironment(env);
        p.start(builtProgram(QStringLiteral("src/cli/quvolink-cli")), arguments);
        EXPECT_TRUE(p.waitForFinished(60000));
        Outcome r;
        r.exitCode = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
        r.out = QString::fromUtf8(p.readAllStandardOutput());
        r.err = QString::fromUtf8(p.readAllStandardError());
        return r;
    }

    QString write(const QString& name, const QByteArray& bytes)
    {
        const QString path = m_dir.filePath(name);
        QFile f(path);
        EXPECT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(bytes);
        return path;
    }

    QTemporaryDir m_dir;
    QString m_home;
};

// A realtime file: readings 1.5, ERROR, 2.25, 0.75 V DC without exponents (range 1).
const QByteArray GoodFile = "21,0\r\n9000,6000,0\r\n00,00,00,05\r\nTrue,00,01,00,00\r\n20\r\nTrue,1,1\r\n"
                            "True,0,10,1,1\r\n12:00:00,1.5,VDC,1.5\r\n12:00:05,ERROR,,ERROR\r\n"
                            "12:00:10,2.25,VDC,2.25\r\n12:00:15,0.75,VDC,0.75\r\n";

} // namespace

TEST_F(StatsCommandTest, PrintsTheFourLines)
{
    const QString file = write(QStringLiteral("good.CSV"), GoodFile);
    const Outcome r = run({QStringLiteral("stats"), file});
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    // MAX: row 3 (2.25); MIN: row 4 (0.75); AVG: (1.5 + 2.25 + 0.75) / 3 = 1.5 with "0.000000";
    // COUNT: four readings, the ERROR row included.
    EXPECT_EQ(r.out, QStringLiteral("MAX No.[ 3 ]   TIME[ 12:00:10 ]   DATA[ 2.25 ]   MODE[ VDC ]\n"
                                    "MIN No.[ 4 ]   TIME[ 12:00:15 ]   DATA[ 0.75 ]   MODE[ VDC ]\n"
                                    "AVG 1.500000\n"
                                    "COUNT 4\n"));
    EXPECT_EQ(r.err, QString());
    EXPECT_FALSE(QFile::exists(QDir(m_home).filePath(QStringLiteral("WORK.~~~"))));
}

TEST_F(StatsCommandTest, SameOutputUnderDecimalCommaLocale)
{
    const QString file = write(QStringLiteral("good.CSV"), GoodFile);
    const Outcome plain = run({QStringLiteral("stats"), file});
    const Outcome german = run({QStringLiteral("stats"), file}, QStringLiteral("de_DE.UTF-8"));
    EXPECT_EQ(german.exitCode, 0);
    EXPECT_EQ(german.out, plain.out);
}

TEST_F(StatsCommandTest, EmptyTextsForAFileWithoutNumbers)
{
    const QString file = write(QStringLiteral("empty.CSV"),
                               "01,3\r\n9000,6000,0\r\n,,,10\r\nFalse,00,01,00,00\r\n20\r\nTrue,1,1\r\nTrue,0,10,1,1\r\n"
                               "00:00:00,+OL,VDC,+OL\r\n,,,\r\n");
    const Outcome r = run({QStringLiteral("stats"), file});
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, QStringLiteral("MAX \nMIN \nAVG \nCOUNT 1\n"));
}

TEST_F(StatsCommandTest, RefusedFileExitsWithOne)
{
    const QString file = write(QStringLiteral("refused.CSV"), QByteArray(GoodFile).replace("21,0", "2,0"));
    const Outcome r = run({QStringLiteral("stats"), file});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, QString());
    EXPECT_EQ(r.err, QStringLiteral("This file is a different data type.\n") + file + QLatin1Char('\n'));
}

TEST_F(StatsCommandTest, UnreadableFileExitsWithOne)
{
    const QString file = m_dir.filePath(QStringLiteral("missing.CSV"));
    const Outcome r = run({QStringLiteral("stats"), file});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("No such file or directory"))) << r.err.toStdString();
    EXPECT_TRUE(r.err.contains(file));
}

TEST_F(StatsCommandTest, UsageErrorsExitWithTwo)
{
    Outcome r = run({});
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_TRUE(r.err.contains(QStringLiteral("No command given."))) << r.err.toStdString();
    r = run({QStringLiteral("stats")});
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_TRUE(r.err.contains(QStringLiteral("No data file given."))) << r.err.toStdString();
    r = run({QStringLiteral("stats"), QStringLiteral("a"), QStringLiteral("b")});
    EXPECT_EQ(r.exitCode, 2);
    r = run({QStringLiteral("stats"), QStringLiteral("--bogus"), QStringLiteral("a")});
    EXPECT_EQ(r.exitCode, 2);
    r = run({QStringLiteral("frobnicate")});
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_TRUE(r.err.contains(QStringLiteral("Unknown command \"frobnicate\"."))) << r.err.toStdString();
    r = run({QStringLiteral("--bogus")});
    EXPECT_EQ(r.exitCode, 2);
}

TEST_F(StatsCommandTest, HelpAndVersion)
{
    Outcome r = run({QStringLiteral("--help")});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_TRUE(r.out.startsWith(QStringLiteral("Usage: quvolink-cli"))) << r.out.toStdString();
    EXPECT_TRUE(r.out.contains(QStringLiteral("stats FILE")));
    EXPECT_TRUE(r.out.contains(QStringLiteral("Example:")));
    r = run({QStringLiteral("stats"), QStringLiteral("--help")});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_TRUE(r.out.startsWith(QStringLiteral("Usage: quvolink-cli stats FILE")));
    EXPECT_TRUE(r.out.contains(QStringLiteral("Example:")));
    r = run({QStringLiteral("--version")});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, QStringLiteral("quvolink-cli %1\n").arg(QString::fromLatin1(quvo::VersionString)));
}
