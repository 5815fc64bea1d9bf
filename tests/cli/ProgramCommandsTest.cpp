// quvolink-cli run as a program against the simulated meter: a recording that goes on in new
// data files across the document limit, recordings and downloads forwarded to workbooks
// (read back by an independent reader), the simulate command, and the message for a port
// the user may not open.

#include "CliTestSupport.h"

#include "SheetExpectations.h"
#include "WorkbookTestSupport.h"

#include "document/DataDocument.h"
#include "resources/ProgramState.h"
#include "support/TestHelpers.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

using namespace quvo;
using namespace quvo::test;

namespace {

class ProgramCommandsTest : public CliProgramTest {
protected:
    QStringList journals() const
    {
        return QDir(m_home).entryList({QStringLiteral("RECORDING-*")}, QDir::Files);
    }

    // Every label one interval after the one before (across midnight too).
    static void expectConsecutive(const QStringList& rows, int intervalSeconds)
    {
        for (int i = 1; i < rows.size(); ++i) {
            const int before = labelSeconds(rows[i - 1].section(QLatin1Char('\t'), 0, 0));
            const int now = labelSeconds(rows[i].section(QLatin1Char('\t'), 0, 0));
            ASSERT_GE(before, 0) << rows[i - 1].toStdString();
            ASSERT_GE(now, 0) << rows[i].toStdString();
            EXPECT_EQ(now, (before + intervalSeconds) % 86400) << rows[i - 1].toStdString() << " -> " << rows[i].toStdString();
        }
    }

    // The sheet a forwarding of these rows must give, with the summary of the saved document.
    static SheetContent contentFor(const QString& title, const QStringList& rows, const QString& dataFile)
    {
        SheetContent content;
        content.title = title;
        for (const QString& row : rows) {
            const QStringList f = row.split(QLatin1Char('\t'));
            content.rows.push_back({f.value(0), f.value(1), f.value(2)});
        }
        DataDocument document;
        document.OpenNew(DataDocument::KindBeforeOpen);
        EXPECT_TRUE(document.OpenFile(dataFile));
        content.stats[0] = document.GetDispmax(false);
        content.stats[1] = document.GetDispmin(false);
        content.stats[2] = document.GetDispavg();
        return content;
    }
};

// --- record --continue -------------------------------------------------------------------

TEST_F(ProgramCommandsTest, AFullDocumentIsSavedAndTheRecordingGoesOnInTheNextFile)
{
    // 3 readings make a document full; a period of 6 seconds gives 7 samples: 3 + 3 + 1.
    const QString file = path(QStringLiteral("rec.csv"));
    const CliOutcome r = run({QStringLiteral("--simulate"), QStringLiteral("record"), QStringLiteral("--interval"),
                              QStringLiteral("1"), QStringLiteral("--period"), QStringLiteral("00:00:00:06"),
                              QStringLiteral("--continue"), QStringLiteral("--document-limit"), QStringLiteral("3"),
                              QStringLiteral("--out"), file});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QStringList printed = textLines(r.out);
    ASSERT_EQ(printed.size(), 7) << r.out.toStdString();

    const QString second = path(QStringLiteral("rec-002.csv"));
    const QString third = path(QStringLiteral("rec-003.csv"));
    const QStringList first = dataFileRows(file);
    const QStringList middle = dataFileRows(second);
    const QStringList last = dataFileRows(third);
    EXPECT_EQ(first, printed.mid(0, 3));
    EXPECT_EQ(middle, printed.mid(3, 3));
    EXPECT_EQ(last, printed.mid(6, 1));
    EXPECT_FALSE(QFile::exists(path(QStringLiteral("rec-004.csv"))));
    // Timing goes on across the files: each first row is the next sample.
    expectConsecutive(first + middle + last, 1);

    EXPECT_TRUE(r.err.contains(QStringLiteral("3 readings saved in %1; the recording goes on in %2.")
                                   .arg(QDir::toNativeSeparators(file), QDir::toNativeSeparators(second))))
        << r.err.toStdString();
    EXPECT_TRUE(r.err.contains(QStringLiteral("1 reading saved in %1.").arg(QDir::toNativeSeparators(third))))
        << r.err.toStdString();
    EXPECT_TRUE(journals().isEmpty()) << journals().join(u' ').toStdString();
}

TEST_F(ProgramCommandsTest, WithoutContinueAFullDocumentEndsTheRecording)
{
    const QString file = path(QStringLiteral("once.csv"));
    const CliOutcome r = run({QStringLiteral("--simulate"), QStringLiteral("record"), QStringLiteral("--interval"),
                              QStringLiteral("1"), QStringLiteral("--document-limit"), QStringLiteral("2"),
                              QStringLiteral("--out"), file});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_EQ(textLines(r.out).size(), 2);
    EXPECT_EQ(dataFileRows(file), textLines(r.out));
    EXPECT_FALSE(QFile::exists(path(QStringLiteral("once-002.csv"))));
}

TEST_F(ProgramCommandsTest, AFileWithoutExtensionGetsItsNumberAtTheEnd)
{
    // 2 readings a document, 4 samples: the period ends as the second document fills, so
    // there is no third, empty file.
    const QString file = path(QStringLiteral("plain"));
    const CliOutcome r = run({QStringLiteral("--simulate"), QStringLiteral("record"), QStringLiteral("--interval"),
                              QStringLiteral("1"), QStringLiteral("--period"), QStringLiteral("3"),
                              QStringLiteral("--continue"), QStringLiteral("--document-limit"), QStringLiteral("2"),
                              QStringLiteral("--out"), file});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QStringList printed = textLines(r.out);
    ASSERT_EQ(printed.size(), 4);
    EXPECT_EQ(dataFileRows(file), printed.mid(0, 2));
    EXPECT_EQ(dataFileRows(path(QStringLiteral("plain-002"))), printed.mid(2, 2));
    EXPECT_FALSE(QFile::exists(path(QStringLiteral("plain-003"))));
}

TEST_F(ProgramCommandsTest, AContinuedRecordingKilledHardInPartTwoLosesNothing)
{
    // Three readings a part; killed once the fourth row was printed, in the middle of part
    // 2: part 1 is on the disk, and restoring the journal gives back part 2's rows.
    const QString file = path(QStringLiteral("long.csv"));
    QProcess p;
    QString out;
    ASSERT_TRUE(startUntilLines(p, cliProgram(),
                                {QStringLiteral("--simulate"), QStringLiteral("record"), QStringLiteral("--interval"),
                                 QStringLiteral("1"), QStringLiteral("--continue"), QStringLiteral("--document-limit"),
                                 QStringLiteral("3"), QStringLiteral("--out"), file},
                                m_home, 4, out));
    p.kill(); // SIGKILL: no handler, no cleanup
    ASSERT_TRUE(p.waitForFinished(15000));
    out += QString::fromUtf8(p.readAllStandardOutput());
    const QStringList printed = textLines(out);
    ASSERT_GE(printed.size(), 4);
    ASSERT_LE(printed.size(), 5); // part 2 was not full yet

    const QStringList part1 = dataFileRows(file);
    EXPECT_EQ(part1, printed.mid(0, 3));
    EXPECT_FALSE(QFile::exists(path(QStringLiteral("long-002.csv"))));
    const QStringList left = QDir(m_home).entryList({QStringLiteral("RECORDING-*.JNL")}, QDir::Files);
    ASSERT_EQ(left.size(), 1) << left.join(u' ').toStdString(); // part 1's went with its save

    const QString rescued = path(QStringLiteral("rescued.csv"));
    const CliOutcome r = run({QStringLiteral("recover"), QStringLiteral("--out"), rescued});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QStringList part2 = dataFileRows(rescued);
    // Every printed row of part 2; at most the row in flight when the process died was
    // recorded and not printed.
    ASSERT_GE(part2.size(), printed.size() - 3);
    EXPECT_LE(part2.size(), printed.size() - 3 + 1);
    EXPECT_EQ(part2.mid(0, printed.size() - 3), printed.mid(3));
    expectConsecutive(part1 + part2, 1);
    EXPECT_TRUE(journals().isEmpty()) << journals().join(u' ').toStdString();
}

// --- Forwarding to workbooks ------------------------------------------------------------

TEST_F(ProgramCommandsTest, ARecordingIsForwardedToANewWorkbook)
{
    const QString file = path(QStringLiteral("bench.csv"));
    const QString book = path(QStringLiteral("bench.xlsx"));
    const CliOutcome r = run({QStringLiteral("--simulate"), QStringLiteral("record"), QStringLiteral("--interval"),
                              QStringLiteral("1"), QStringLiteral("--period"), QStringLiteral("00:00:00:02"),
                              QStringLiteral("--out"), file, QStringLiteral("--xlsx"), book, QStringLiteral("--title"),
                              QStringLiteral("Bench supply")});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QStringList printed = textLines(r.out);
    ASSERT_EQ(printed.size(), 3);
    EXPECT_EQ(dataFileRows(file), printed);
    EXPECT_EQ(r.err, QStringLiteral("The workbook %1 was written.\n").arg(QDir::toNativeSeparators(book)));

    const QJsonObject workbook = describeWorkbook(book);
    ASSERT_EQ(sheetNames(workbook), QStringList{QStringLiteral("Sheet1")});
    expectForwardedSheet(sheetNamed(workbook, QStringLiteral("Sheet1")),
                         contentFor(QStringLiteral("Bench supply"), printed, file));
    EXPECT_TRUE(journals().isEmpty());
}

TEST_F(ProgramCommandsTest, AContinuedRecordingForwardsEachFileToASheetOfItsOwn)
{
    // 3 readings a document, 7 samples: three files, three sheets of one workbook.
    const QString file = path(QStringLiteral("parts.csv"));
    const QString book = path(QStringLiteral("parts.xlsx"));
    const CliOutcome r = run({QStringLiteral("--simulate"), QStringLiteral("record"), QStringLiteral("--interval"),
                              QStringLiteral("1"), QStringLiteral("--period"), QStringLiteral("6"),
                              QStringLiteral("--continue"), QStringLiteral("--document-limit"), QStringLiteral("3"),
                              QStringLiteral("--out"), file, QStringLiteral("--xlsx"), book, QStringLiteral("--title"),
                              QStringLiteral("Long run")});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QStringList printed = textLines(r.out);
    ASSERT_EQ(printed.size(), 7);
    const QStringList files = {file, path(QStringLiteral("parts-002.csv")), path(QStringLiteral("parts-003.csv"))};
    const QList<QStringList> rows = {printed.mid(0, 3), printed.mid(3, 3), printed.mid(6, 1)};
    EXPECT_TRUE(r.err.contains(QStringLiteral("The workbook %1 was written.").arg(QDir::toNativeSeparators(book))))
        << r.err.toStdString();

    const QJsonObject workbook = describeWorkbook(book);
    const QStringList sheets = {QStringLiteral("Sheet1"), QStringLiteral("Sheet2"), QStringLiteral("Sheet3")};
    ASSERT_EQ(sheetNames(workbook), sheets);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(dataFileRows(files[i]), rows[i]) << i;
        expectForwardedSheet(sheetNamed(workbook, sheets[i]), contentFor(QStringLiteral("Long run"), rows[i], files[i]));
    }
    EXPECT_TRUE(journals().isEmpty());
}

TEST_F(ProgramCommandsTest, ARecordingIsForwardedIntoAnExistingWorkbook)
{
    const QString file = path(QStringLiteral("added.csv"));
    const QString book = path(QStringLiteral("Bench.xlsx"));
    makeWorkbook(QStringLiteral("openpyxl"), book);
    const CliOutcome r = run({QStringLiteral("--simulate"), QStringLiteral("record"), QStringLiteral("--interval"),
                              QStringLiteral("2"), QStringLiteral("--period"), QStringLiteral("2"),
                              QStringLiteral("--out"), file, QStringLiteral("--into"), book});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QStringList printed = textLines(r.out);
    ASSERT_EQ(printed.size(), 2);
    expectConsecutive(printed, 2);
    const QJsonObject workbook = describeWorkbook(book);
    EXPECT_EQ(sheetNames(workbook), (QStringList{QStringLiteral("Readings"), QStringLiteral("Sheet2"), QStringLiteral("Sheet3")}));
    expectForwardedSheet(sheetNamed(workbook, QStringLiteral("Sheet3")), contentFor(QString(), printed, file));
}

TEST_F(ProgramCommandsTest, AMissingWorkbookIsReportedBeforeAnythingIsRecorded)
{
    const QString file = path(QStringLiteral("never.csv"));
    const QString book = path(QStringLiteral("none.xlsx"));
    const CliOutcome r = run({QStringLiteral("--simulate"), QStringLiteral("record"), QStringLiteral("--interval"),
                              QStringLiteral("1"), QStringLiteral("--out"), file, QStringLiteral("--into"), book});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("cannot be found"))) << r.err.toStdString();
    EXPECT_TRUE(r.out.isEmpty());
    EXPECT_FALSE(QFile::exists(file));
    EXPECT_FALSE(QFile::exists(book));
    EXPECT_TRUE(journals().isEmpty());

    const CliOutcome d = run({QStringLiteral("--simulate"), QStringLiteral("download"), QStringLiteral("save"),
                              QStringLiteral("--out"), file, QStringLiteral("--into"), book});
    EXPECT_EQ(d.exitCode, 1);
    EXPECT_TRUE(d.err.contains(QStringLiteral("cannot be found"))) << d.err.toStdString();
    EXPECT_FALSE(QFile::exists(file));
}

TEST_F(ProgramCommandsTest, ADownloadIsForwardedWhole)
{
    const QString file = path(QStringLiteral("memory.csv"));
    const QString book = path(QStringLiteral("memory.xlsx"));
    const CliOutcome r = run({QStringLiteral("--simulate"), QStringLiteral("download"), QStringLiteral("logging"),
                              QStringLiteral("--out"), file, QStringLiteral("--xlsx"), book, QStringLiteral("--title"),
                              QStringLiteral("Memory")});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, QDir::toNativeSeparators(book) + QLatin1Char('\n'));
    EXPECT_TRUE(r.err.isEmpty()) << r.err.toStdString();
    // The simulated meter's LOGGING memory: 10 records of i x 0.125 V, 5 s apart.
    QStringList rows;
    for (int i = 0; i < 10; ++i)
        rows << QStringLiteral("00:00:%1\t%2\tVDC").arg(5 * i, 2, 10, QLatin1Char('0')).arg(i * 0.125, 0, 'f', 3);
    EXPECT_EQ(dataFileRows(file), rows);
    const QJsonObject workbook = describeWorkbook(book);
    ASSERT_EQ(sheetNames(workbook), QStringList{QStringLiteral("Sheet1")});
    expectForwardedSheet(sheetNamed(workbook, QStringLiteral("Sheet1")), contentFor(QStringLiteral("Memory"), rows, file));
}

// --- simulate ------------------------------------------------------------------------------

TEST_F(ProgramCommandsTest, SimulateRunsAMeterTheOtherCommandsCanUse)
{
    QProcess meter;
    QString out;
    ASSERT_TRUE(startUntilLines(meter, cliProgram(),
                                {QStringLiteral("simulate"), QStringLiteral("--model"), QStringLiteral("4"),
                                 QStringLiteral("--logging-count"), QStringLiteral("3")},
                                m_home, 1, out))
        << meter.readAllStandardError().toStdString();
    const QString device = textLines(out).value(0);
    ASSERT_TRUE(device.startsWith(QStringLiteral("/dev/"))) << device.toStdString();

    const CliOutcome info = run({QStringLiteral("--port"), device, QStringLiteral("info")});
    EXPECT_EQ(info.exitCode, 0) << info.err.toStdString();
    EXPECT_EQ(info.out, QStringLiteral("model 4\n"));
    const QString file = path(QStringLiteral("three.csv"));
    const CliOutcome download = run({QStringLiteral("download"), QStringLiteral("logging"), QStringLiteral("--port"),
                                     device, QStringLiteral("--out"), file});
    EXPECT_EQ(download.exitCode, 0) << download.err.toStdString();
    EXPECT_EQ(dataFileRows(file).size(), 3);

    ::kill(static_cast<pid_t>(meter.processId()), SIGINT); // Ctrl+C
    ASSERT_TRUE(meter.waitForFinished(10000));
    EXPECT_EQ(meter.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(meter.exitCode(), 0);
    out += QString::fromUtf8(meter.readAllStandardOutput());
    EXPECT_EQ(out, device + QLatin1Char('\n')); // the device path is all it prints
}

// The option names in a help text between two headings.
QSet<QString> optionNames(const QString& help, const QString& from, const QString& to)
{
    const qsizetype begin = help.indexOf(from);
    const qsizetype end = help.indexOf(to, begin);
    EXPECT_GE(begin, 0) << help.toStdString();
    EXPECT_GT(end, begin) << help.toStdString();
    QSet<QString> names;
    static const QRegularExpression option(QStringLiteral("(?<![\\w-])--[a-z][a-z-]*"));
    auto it = option.globalMatch(help.mid(begin, end - begin));
    while (it.hasNext())
        names.insert(it.next().captured());
    // The help and version options every program has (Qt adds --help-all to --help).
    names.remove(QStringLiteral("--help"));
    names.remove(QStringLiteral("--help-all"));
    names.remove(QStringLiteral("--version"));
    return names;
}

TEST_F(ProgramCommandsTest, SimulateTakesExactlyTheSimulatorsOptions)
{
    const CliOutcome mine = run({QStringLiteral("simulate"), QStringLiteral("--help")});
    ASSERT_EQ(mine.exitCode, 0);
    QProcess simulator;
    simulator.start(simulatorProgram(), {QStringLiteral("--help")});
    ASSERT_TRUE(simulator.waitForFinished(10000));
    const QString theirs = QString::fromLocal8Bit(simulator.readAllStandardOutput());
    const QSet<QString> simulatorOptions = optionNames(theirs, QStringLiteral("Options:"), QStringLiteral("Examples:"));
    EXPECT_GE(simulatorOptions.size(), 19);
    EXPECT_EQ(optionNames(mine.out, QStringLiteral("Options:"), QStringLiteral("Exit codes:")), simulatorOptions);
}

// --- A port the user may not open ------------------------------------------------------------

TEST_F(ProgramCommandsTest, APortThatIsNotAllowedSaysWhatToDo)
{
    // A real terminal device (the simulator's) that only its owner may open, tried by a
    // user who does not own it and belongs to no group.
    QProcess meter;
    QString out;
    ASSERT_TRUE(startUntilLines(meter, simulatorProgram(), {}, m_home, 1, out));
    const QString device = textLines(out).value(0);
    ASSERT_FALSE(device.isEmpty());
    const QByteArray devicePath = QFile::encodeName(device);

    QProcess p;
    QStringList arguments{QStringLiteral("--port"), device, QStringLiteral("info")};
    if (::geteuid() == 0) {
        // The superuser is never refused a device: run the program as "nobody".
        const QString setpriv = QStandardPaths::findExecutable(QStringLiteral("setpriv"));
        if (setpriv.isEmpty())
            GTEST_SKIP() << "running as the superuser and setpriv is not available";
        ASSERT_EQ(::chmod(devicePath.constData(), 0600), 0);
        // The program folder, and the way to it, open to that user.
        ASSERT_EQ(::chmod(QFile::encodeName(m_dir.path()).constData(), 0755), 0);
        ASSERT_EQ(::chmod(QFile::encodeName(m_home).constData(), 0777), 0);
        p.setWorkingDirectory(m_home);
        arguments = QStringList{QStringLiteral("--reuid=65534"), QStringLiteral("--regid=65534"),
                                QStringLiteral("--clear-groups"), cliProgram()}
            + arguments;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QUVOLINK_HOME"), m_home);
        p.setProcessEnvironment(env);
        p.start(setpriv, arguments);
    } else {
        ASSERT_EQ(::chmod(devicePath.constData(), 0), 0);
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QUVOLINK_HOME"), m_home);
        p.setProcessEnvironment(env);
        p.start(cliProgram(), arguments);
    }
    ASSERT_TRUE(p.waitForFinished(30000));
    meter.terminate();
    meter.waitForFinished(10000);
    const QString err = QString::fromUtf8(p.readAllStandardError());
    EXPECT_EQ(p.exitCode(), 1) << err.toStdString();
    EXPECT_TRUE(p.readAllStandardOutput().isEmpty());
    const QStringList lines = textLines(err);
    ASSERT_EQ(lines.size(), 2) << err.toStdString();
    // The device and the system's reason, then what to do, with the exact command.
    EXPECT_EQ(lines[0], QStringLiteral("The port %1 cannot be opened: %2")
                            .arg(device, QString::fromLocal8Bit(std::strerror(EACCES))));
    EXPECT_TRUE(lines[1].startsWith(QStringLiteral("You are not allowed to use %1.").arg(device))) << lines[1].toStdString();
    EXPECT_TRUE(lines[1].contains(QStringLiteral("\"dialout\""))) << lines[1].toStdString();
    EXPECT_TRUE(lines[1].contains(QStringLiteral("sudo usermod -aG dialout $USER"))) << lines[1].toStdString();
    EXPECT_TRUE(lines[1].contains(QStringLiteral("then log out and log in again."))) << lines[1].toStdString();
}

TEST_F(ProgramCommandsTest, APortThatIsNotThereSaysWhereToLook)
{
    const CliOutcome r = run({QStringLiteral("--port"), QStringLiteral("/dev/ttyUSB-quvolink-none"), QStringLiteral("monitor")});
    EXPECT_EQ(r.exitCode, 1);
    const QStringList lines = textLines(r.err);
    ASSERT_EQ(lines.size(), 2) << r.err.toStdString();
    EXPECT_EQ(lines[0], QStringLiteral("The port /dev/ttyUSB-quvolink-none cannot be opened: %1")
                            .arg(QString::fromLocal8Bit(std::strerror(ENOENT))));
    EXPECT_TRUE(lines[1].startsWith(QStringLiteral("There is no /dev/ttyUSB-quvolink-none."))) << lines[1].toStdString();
    EXPECT_TRUE(lines[1].contains(QStringLiteral("ls /dev/ttyUSB*"))) << lines[1].toStdString();
}

} // namespace
