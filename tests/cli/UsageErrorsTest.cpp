// Every usage mistake of every command of quvolink-cli ends with exit code 2, a message on
// stderr, nothing on stdout and no file written.

#include "CliTestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace quvo::test;

namespace {

TEST(UsageErrors, EveryCommandEndsWithTwo)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString home = dir.filePath(QStringLiteral("home"));
    const QString out = dir.filePath(QStringLiteral("x.csv"));
    const QString book = dir.filePath(QStringLiteral("x.xlsx"));
    const QString data = dir.filePath(QStringLiteral("data.csv"));
    {
        QFile f(data);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write("21,0\r\n9000,6000,0\r\n00,00,00,05\r\nTrue,00,01,00,00\r\n20\r\nTrue,1,1\r\nTrue,0,10,1,1\r\n"
                "12:00:00,1.5,VDC,1.5\r\n");
    }
    const QString I = QStringLiteral("--interval");
    const QString O = QStringLiteral("--out");
    const QList<QStringList> cases = {
        // The program itself
        {},
        {QStringLiteral("frobnicate")},
        {QStringLiteral("--bogus"), QStringLiteral("info")},
        {QStringLiteral("--port"), QStringLiteral("0"), QStringLiteral("info")},
        {QStringLiteral("--port"), QStringLiteral("17"), QStringLiteral("monitor")},
        {QStringLiteral("--port"), QStringLiteral("2.5"), QStringLiteral("record"), I, QStringLiteral("1"), O, out},
        {QStringLiteral("--home"), QString(), QStringLiteral("info")},
        // info
        {QStringLiteral("info"), QStringLiteral("extra")},
        {QStringLiteral("info"), QStringLiteral("--bogus")},
        {QStringLiteral("info"), QStringLiteral("--port")},
        // monitor
        {QStringLiteral("monitor"), QStringLiteral("--count"), QStringLiteral("0")},
        {QStringLiteral("monitor"), QStringLiteral("--count"), QStringLiteral("many")},
        {QStringLiteral("monitor"), QStringLiteral("--count"), QStringLiteral("2147483648")},
        {QStringLiteral("monitor"), QStringLiteral("--count")},
        {QStringLiteral("monitor"), QStringLiteral("extra")},
        // record
        {QStringLiteral("record"), O, out},
        {QStringLiteral("record"), I, QStringLiteral("5")},
        {QStringLiteral("record"), I, QStringLiteral("5"), O, QString()},
        {QStringLiteral("record"), I, QStringLiteral("5"), O, out, QStringLiteral("more")},
        {QStringLiteral("record"), I, QStringLiteral("0"), O, out},
        {QStringLiteral("record"), I, QStringLiteral("00:00:00:60"), O, out},
        {QStringLiteral("record"), I, QStringLiteral("5"), QStringLiteral("--period"), QStringLiteral("0"), O, out},
        {QStringLiteral("record"), I, QStringLiteral("5"), O, out, QStringLiteral("--document-limit"), QStringLiteral("0")},
        {QStringLiteral("record"), I, QStringLiteral("5"), O, out, QStringLiteral("--document-limit"), QStringLiteral("32768")},
        {QStringLiteral("record"), I, QStringLiteral("5"), O, out, QStringLiteral("--document-limit"), QStringLiteral("x")},
        {QStringLiteral("record"), I, QStringLiteral("5"), O, out, QStringLiteral("--xlsx"), dir.filePath(QStringLiteral("x.txt"))},
        {QStringLiteral("record"), I, QStringLiteral("5"), O, out, QStringLiteral("--xlsx"), book, QStringLiteral("--into"), book},
        {QStringLiteral("record"), I, QStringLiteral("5"), O, out, QStringLiteral("--title"), QStringLiteral("T")},
        {QStringLiteral("record"), I, QStringLiteral("5"), O, out, QStringLiteral("--force")},
        {QStringLiteral("record"), I, QStringLiteral("5"), O, out, QStringLiteral("--into"), book, QStringLiteral("--force")},
        {QStringLiteral("record"), I, QStringLiteral("5"), O, out, QStringLiteral("--xlsx"), QString()},
        // download
        {QStringLiteral("download"), O, out},
        {QStringLiteral("download"), QStringLiteral("memory"), O, out},
        {QStringLiteral("download"), QStringLiteral("logging")},
        {QStringLiteral("download"), QStringLiteral("logging"), QStringLiteral("save"), O, out},
        {QStringLiteral("download"), QStringLiteral("logging"), O, out, QStringLiteral("--xlsx"), book, QStringLiteral("--into"), book},
        {QStringLiteral("download"), QStringLiteral("save"), O, out, QStringLiteral("--title"), QStringLiteral("T")},
        {QStringLiteral("download"), QStringLiteral("save"), O, out, QStringLiteral("--xlsx"), dir.filePath(QStringLiteral("x.xls"))},
        {QStringLiteral("download"), QStringLiteral("save"), O, out, QStringLiteral("--continue")},
        // recover
        {QStringLiteral("recover")},
        {QStringLiteral("recover"), O, out, QStringLiteral("more")},
        {QStringLiteral("recover"), O, out, QStringLiteral("--interval"), QStringLiteral("5")},
        // stats
        {QStringLiteral("stats")},
        {QStringLiteral("stats"), data, data},
        {QStringLiteral("stats"), data, QStringLiteral("--bogus")},
        // forward
        {QStringLiteral("forward"), QStringLiteral("--xlsx"), book},
        {QStringLiteral("forward"), data},
        {QStringLiteral("forward"), data, QStringLiteral("--xlsx"), book, QStringLiteral("--into"), book},
        {QStringLiteral("forward"), data, data, QStringLiteral("--xlsx"), book},
        {QStringLiteral("forward"), data, QStringLiteral("--into"), book, QStringLiteral("--force")},
        // plot
        {QStringLiteral("plot")},
        {QStringLiteral("plot"), data},
        {QStringLiteral("plot"), data, O},
        {QStringLiteral("plot"), data, O, QString()},
        {QStringLiteral("plot"), data, data, O, dir.filePath(QStringLiteral("x.png"))},
        {QStringLiteral("plot"), data, O, dir.filePath(QStringLiteral("x.png")), QStringLiteral("--width"), QStringLiteral("15")},
        {QStringLiteral("plot"), data, O, dir.filePath(QStringLiteral("x.png")), QStringLiteral("--height"), QStringLiteral("8001")},
        {QStringLiteral("plot"), data, O, dir.filePath(QStringLiteral("x.png")), QStringLiteral("--width"), QStringLiteral("wide")},
        {QStringLiteral("plot"), data, O, dir.filePath(QStringLiteral("x.png")), QStringLiteral("--bogus")},
        // decode
        {QStringLiteral("decode")},
        {QStringLiteral("decode"), QStringLiteral("RR\\y")},
        {QStringLiteral("decode"), QStringLiteral("--count"), QStringLiteral("1"), QStringLiteral("RR")},
        // simulate
        {QStringLiteral("simulate"), QStringLiteral("--bogus")},
        {QStringLiteral("simulate"), QStringLiteral("extra")},
        {QStringLiteral("simulate"), QStringLiteral("--garble"), QStringLiteral("2")},
        {QStringLiteral("simulate"), QStringLiteral("--model"), QStringLiteral("12")},
        {QStringLiteral("simulate"), QStringLiteral("--function"), QStringLiteral("XYZ")},
        {QStringLiteral("simulate"), QStringLiteral("--memory"), dir.filePath(QStringLiteral("no-such-memory.txt"))},
        {QStringLiteral("simulate"), QStringLiteral("--simulate")},
        {QStringLiteral("--port"), QStringLiteral("/dev/ttyUSB0"), QStringLiteral("simulate")},
    };
    for (const QStringList& arguments : cases) {
        const CliOutcome r = runCli(arguments, home);
        const std::string shown = arguments.join(u' ').toStdString();
        EXPECT_EQ(r.exitCode, 2) << shown << "\n" << r.err.toStdString();
        EXPECT_FALSE(r.err.isEmpty()) << shown;
        EXPECT_TRUE(r.out.isEmpty()) << shown << "\n" << r.out.toStdString();
    }
    EXPECT_FALSE(QFile::exists(out));
    EXPECT_FALSE(QFile::exists(book));
    EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("x.png"))));
    // Nothing was recorded: no journal in the program folder.
    EXPECT_TRUE(QDir(home).entryList({QStringLiteral("RECORDING-*")}, QDir::Files).isEmpty());
}

TEST(UsageErrors, EveryCommandExplainsItselfWithAnExample)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString home = dir.filePath(QStringLiteral("home"));
    for (const char* command :
         {"info", "monitor", "record", "download", "recover", "stats", "forward", "plot", "decode", "simulate"}) {
        const CliOutcome r = runCli({QString::fromLatin1(command), QStringLiteral("--help")}, home);
        EXPECT_EQ(r.exitCode, 0) << command;
        EXPECT_TRUE(r.out.startsWith(QStringLiteral("Usage: quvolink-cli "))) << r.out.toStdString();
        EXPECT_TRUE(r.out.contains(QStringLiteral(" ") + QString::fromLatin1(command))) << command;
        EXPECT_TRUE(r.out.contains(QStringLiteral("Example"))) << command;
        EXPECT_TRUE(r.out.contains(QStringLiteral("Exit codes: 0"))) << command;
        EXPECT_TRUE(r.err.isEmpty()) << command;
    }
    const CliOutcome r = runCli({QStringLiteral("--help")}, home);
    EXPECT_EQ(r.exitCode, 0);
    for (const char* command :
         {"info", "monitor", "record", "download", "recover", "stats", "forward", "plot", "decode", "simulate"})
        EXPECT_TRUE(r.out.contains(QStringLiteral("\n  ") + QString::fromLatin1(command))) << command;
}

} // namespace
