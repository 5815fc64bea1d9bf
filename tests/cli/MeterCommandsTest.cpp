// quvolink-cli's meter commands run as a program against the simulated meter (--simulate):
// info, monitor, record, download, recover; exit codes, usage errors, the interval
// message, Ctrl+C, and a recording killed hard and restored from its journal.

#include "document/DataDocument.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "support/TestHelpers.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <ostream>

inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

using namespace quvo;
using namespace quvo::test;

namespace {

// The simulated meter in a process of its own, with these options: its device, or an empty
// text when it did not start.
QString startMeterProcess(QProcess& meter, const QStringList& options)
{
    meter.start(builtProgram(QStringLiteral("tools/metersim/quvolink-metersim")), options);
    if (!meter.waitForStarted(10000))
        return {};
    while (!meter.canReadLine() && meter.waitForReadyRead(10000)) {
    }
    return QString::fromLocal8Bit(meter.readLine()).trimmed();
}

struct Outcome {
    int exitCode = -1;
    QString out;
    QString err;
};

class MeterCommandsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        resetProgramState();
        ASSERT_TRUE(m_dir.isValid());
        m_home = m_dir.filePath(QStringLiteral("home"));
        ASSERT_TRUE(QDir().mkpath(m_home));
        programState().WorkPath = m_dir.filePath(QStringLiteral("WORK.~~~"));
    }

    void prepare(QProcess& p) const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QUVOLINK_HOME"), m_home);
        p.setProcessEnvironment(env);
    }

    Outcome run(const QStringList& arguments) const
    {
        QProcess p;
        prepare(p);
        p.start(builtProgram(QStringLiteral("src/cli/quvolink-cli")), arguments);
        EXPECT_TRUE(p.waitForFinished(60000));
        Outcome r;
        r.exitCode = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
        r.out = QString::fromUtf8(p.readAllStandardOutput());
        r.err = QString::fromUtf8(p.readAllStandardError());
        return r;
    }

    // Starts the program and returns once it has printed `lines` lines (or has ended).
    void startUntilLines(QProcess& p, const QStringList& arguments, int lines, QString& out) const
    {
        prepare(p);
        p.start(builtProgram(QStringLiteral("src/cli/quvolink-cli")), arguments);
        ASSERT_TRUE(p.waitForStarted(10000));
        while (out.count(QLatin1Char('\n')) < lines && p.state() == QProcess::Running) {
            if (p.waitForReadyRead(15000))
                out += QString::fromUtf8(p.readAllStandardOutput());
            else
                break;
        }
        ASSERT_GE(out.count(QLatin1Char('\n')), lines) << p.readAllStandardError().toStdString();
    }

    // The rows of a data file as "time<tab>value<tab>mode" lines.
    static QStringList rowsOf(const QString& path)
    {
        DataDocument document;
        document.OpenNew(DataDocument::KindBeforeOpen);
        EXPECT_TRUE(document.OpenFile(path)) << programState().LastError.toStdString();
        QStringList rows;
        for (int row = 1; row <= document.GetDatacount(); ++row)
            rows << document.TextMatrix(row, 1) + QLatin1Char('\t') + document.TextMatrix(row, 2) + QLatin1Char('\t')
                    + document.TextMatrix(row, 3);
        return rows;
    }

    QStringList journals() const
    {
        return QDir(m_home).entryList({QStringLiteral("RECORDING-*")}, QDir::Files);
    }

    QString path(const QString& name) const { return m_dir.filePath(name); }

    static QStringList lines(const QString& text) { return text.split(QLatin1Char('\n'), Qt::SkipEmptyParts); }

    QTemporaryDir m_dir;
    QString m_home;
};

const QRegularExpression ReadingLine(QStringLiteral("^-?\\d+\\.\\d+VDC$"));
const QRegularExpression RecordedLine(QStringLiteral("^\\d\\d:\\d\\d:\\d\\d\\t-?\\d+\\.\\d+\\tVDC$"));

TEST_F(MeterCommandsTest, InfoPrintsTheModel)
{
    const Outcome r = run({QStringLiteral("--simulate"), QStringLiteral("info")});
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, QStringLiteral("model 1\n"));
    EXPECT_EQ(r.err, QString());
}

TEST_F(MeterCommandsTest, MonitorPrintsThreeLines)
{
    const Outcome r = run({QStringLiteral("monitor"), QStringLiteral("--simulate"), QStringLiteral("--count"),
                           QStringLiteral("3")});
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QStringList printed = lines(r.out);
    ASSERT_EQ(printed.size(), 3) << r.out.toStdString();
    for (const QString& line : printed)
        EXPECT_TRUE(ReadingLine.match(line).hasMatch()) << line.toStdString();
}

TEST_F(MeterCommandsTest, RecordPrintsAndSavesEveryRow)
{
    const QString file = path(QStringLiteral("recorded.csv"));
    const Outcome r = run({QStringLiteral("--simulate"), QStringLiteral("record"), QStringLiteral("--interval"),
                           QStringLiteral("1"), QStringLiteral("--period"), QStringLiteral("00:00:00:02"),
                           QStringLiteral("--out"), file});
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QStringList printed = lines(r.out);
    ASSERT_EQ(printed.size(), 3) << r.out.toStdString();
    for (const QString& line : printed)
        EXPECT_TRUE(RecordedLine.match(line).hasMatch()) << line.toStdString();
    EXPECT_EQ(rowsOf(file), printed);
    EXPECT_TRUE(journals().isEmpty()) << journals().join(u' ').toStdString();
}

TEST_F(MeterCommandsTest, DownloadLoggingAndSave)
{
    const QString logging = path(QStringLiteral("logging.csv"));
    Outcome r = run({QStringLiteral("--simulate"), QStringLiteral("download"), QStringLiteral("logging"),
                     QStringLiteral("--out"), logging});
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_EQ(r.err, QString()); // stderr is not a terminal: no progress bar
    // The simulated meter's LOGGING memory: 10 records of i × 0.125 V, 5 s apart.
    const QStringList rows = rowsOf(logging);
    ASSERT_EQ(rows.size(), 10);
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(rows[i], QStringLiteral("00:00:%1\t%2\tVDC").arg(5 * i, 2, 10, QLatin1Char('0')).arg(i * 0.125, 0, 'f', 3));

    const QString save = path(QStringLiteral("save.csv"));
    r = run({QStringLiteral("download"), QStringLiteral("save"), QStringLiteral("--out"), save, QStringLiteral("--simulate")});
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QStringList saveRows = rowsOf(save);
    ASSERT_EQ(saveRows.size(), 50);
    EXPECT_EQ(saveRows[0], QStringLiteral("\t1.037\tVDC"));
    EXPECT_EQ(saveRows[1], QStringLiteral("\t\t"));
    EXPECT_EQ(saveRows[3], QStringLiteral("\t4.148E-3\tVAC"));
}

TEST_F(MeterCommandsTest, ADownloadWithoutAPortWritesNoFile)
{
    // No meter behind the port at all: nothing to save, the reason on stderr.
    const QString file = path(QStringLiteral("nothing.csv"));
    const Outcome r = run({QStringLiteral("--port"), QStringLiteral("/dev/quvolink-no-such-port"),
                           QStringLiteral("download"), QStringLiteral("logging"), QStringLiteral("--out"), file});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_FALSE(r.err.isEmpty());
    EXPECT_FALSE(QFile::exists(file));
}

TEST_F(MeterCommandsTest, AFailedDownloadSavesTheRowsReadSoFar)
{
    // A meter in another process whose cable is pulled after the start sequence, "RN",
    // "RI" and four records.
    QProcess meter;
    const QString device = startMeterProcess(meter, {QStringLiteral("--disconnect-after"), QStringLiteral("9")});
    ASSERT_FALSE(device.isEmpty());

    const QString file = path(QStringLiteral("partial.csv"));
    const Outcome r = run({QStringLiteral("--port"), device, QStringLiteral("download"), QStringLiteral("logging"),
                           QStringLiteral("--out"), file});
    meter.terminate();
    meter.waitForFinished(10000);
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_TRUE(r.err.startsWith(QStringLiteral("The connection to the meter on"))) << r.err.toStdString();
    const QStringList rows = rowsOf(file);
    ASSERT_EQ(rows.size(), 4);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(rows[i], QStringLiteral("00:00:%1\t%2\tVDC").arg(5 * i, 2, 10, QLatin1Char('0')).arg(i * 0.125, 0, 'f', 3));
}

TEST_F(MeterCommandsTest, ADownloadFromAnUnsupportedModelSaysSo)
{
    QProcess meter;
    const QString device = startMeterProcess(meter, {QStringLiteral("--model"), QStringLiteral("7")});
    ASSERT_FALSE(device.isEmpty());

    const QString file = path(QStringLiteral("unsupported.csv"));
    const Outcome r = run({QStringLiteral("--port"), device, QStringLiteral("download"), QStringLiteral("save"),
                           QStringLiteral("--out"), file});
    meter.terminate();
    meter.waitForFinished(10000);
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_TRUE(r.err.startsWith(QStringLiteral("The meter reports the model code \"7\". This meter model is not "
                                                "supported: its memory cannot be read.\n")))
        << r.err.toStdString();
}

TEST_F(MeterCommandsTest, UsageErrorsExitWithTwo)
{
    const QString out = path(QStringLiteral("x.csv"));
    const QList<QStringList> cases = {
        {},
        {QStringLiteral("frobnicate")},
        {QStringLiteral("--bogus"), QStringLiteral("info")},
        {QStringLiteral("info"), QStringLiteral("extra")},
        {QStringLiteral("info"), QStringLiteral("--bogus")},
        {QStringLiteral("--port"), QStringLiteral("0"), QStringLiteral("info")},
        {QStringLiteral("--port"), QStringLiteral("17"), QStringLiteral("info")},
        {QStringLiteral("info"), QStringLiteral("--port"), QStringLiteral("2.5")},
        {QStringLiteral("--home"), QString(), QStringLiteral("info")},
        {QStringLiteral("monitor"), QStringLiteral("--count"), QStringLiteral("0")},
        {QStringLiteral("monitor"), QStringLiteral("--count"), QStringLiteral("abc")},
        {QStringLiteral("monitor"), QStringLiteral("--count")},
        {QStringLiteral("record"), QStringLiteral("--out"), out},
        {QStringLiteral("record"), QStringLiteral("--interval"), QStringLiteral("5")},
        {QStringLiteral("record"), QStringLiteral("--interval"), QStringLiteral("5"), QStringLiteral("--out"), out,
         QStringLiteral("more")},
        {QStringLiteral("download"), QStringLiteral("--out"), out},
        {QStringLiteral("download"), QStringLiteral("memory"), QStringLiteral("--out"), out},
        {QStringLiteral("download"), QStringLiteral("logging")},
        {QStringLiteral("download"), QStringLiteral("logging"), QStringLiteral("save"), QStringLiteral("--out"), out},
        {QStringLiteral("recover")},
        {QStringLiteral("recover"), QStringLiteral("--out"), out, QStringLiteral("more")},
    };
    for (const QStringList& arguments : cases) {
        const Outcome r = run(arguments);
        EXPECT_EQ(r.exitCode, 2) << arguments.join(u' ').toStdString() << "\n" << r.err.toStdString();
        EXPECT_FALSE(r.err.isEmpty()) << arguments.join(u' ').toStdString();
        EXPECT_EQ(r.out, QString()) << arguments.join(u' ').toStdString();
    }
    EXPECT_FALSE(QFile::exists(out));
}

TEST_F(MeterCommandsTest, ABadIntervalOrPeriodSaysWhatIsWrongAndGivesTheRange)
{
    const QString range = QStringLiteral("Input range\n<Day> : 0 - 99\n<Hour> : 0 - 23\n<Minute> : 0 - 59\n"
                                         "<Second> : 0 - 59\n");
    const QString out = path(QStringLiteral("x.csv"));
    struct Case {
        QStringList options;
        QString problem;
    };
    const QList<Case> cases = {
        {{QStringLiteral("--interval"), QStringLiteral("0")},
         QStringLiteral("--interval 0 is out of range: it must be one second or more.")},
        {{QStringLiteral("--interval"), QStringLiteral("00:00:00:75")},
         QStringLiteral("--interval 00:00:00:75 is out of range: the seconds must be from 0 to 59.")},
        {{QStringLiteral("--interval"), QStringLiteral("00:24:00:00")},
         QStringLiteral("--interval 00:24:00:00 is out of range: the hours must be from 0 to 23.")},
        {{QStringLiteral("--interval"), QStringLiteral("100:00:00:00")},
         QStringLiteral("--interval 100:00:00:00 is out of range: the days must be from 0 to 99.")},
        {{QStringLiteral("--interval"), QStringLiteral("8640000")}, // 100 days
         QStringLiteral("--interval 8640000 is out of range: the days must be from 0 to 99.")},
        {{QStringLiteral("--interval"), QStringLiteral("abc")},
         QStringLiteral("--interval \"abc\" is not a duration: give whole seconds (90) or days, hours, minutes and "
                        "seconds as DD:HH:MM:SS (00:00:01:30).")},
        {{QStringLiteral("--interval"), QStringLiteral("5"), QStringLiteral("--period"), QStringLiteral("0")},
         QStringLiteral("--period 0 is out of range: it must be one second or more.")},
        {{QStringLiteral("--interval"), QStringLiteral("5"), QStringLiteral("--period"), QStringLiteral("00:00:60:00")},
         QStringLiteral("--period 00:00:60:00 is out of range: the minutes must be from 0 to 59.")},
    };
    for (const Case& c : cases) {
        const Outcome r = run(QStringList{QStringLiteral("record")} + c.options
                              + QStringList{QStringLiteral("--simulate"), QStringLiteral("--out"), out});
        EXPECT_EQ(r.exitCode, 2) << c.options.join(u' ').toStdString();
        EXPECT_EQ(r.err, c.problem + QStringLiteral("\n\n") + range) << c.options.join(u' ').toStdString();
        // Nothing was changed: the command line corrects nothing.
        EXPECT_FALSE(r.err.contains(QStringLiteral("changed automatically"))) << c.options.join(u' ').toStdString();
    }
    EXPECT_FALSE(QFile::exists(out));
}

TEST_F(MeterCommandsTest, APortThatDoesNotExistFails)
{
    const Outcome r = run({QStringLiteral("--port"), QStringLiteral("/dev/quvolink-no-such-port"), QStringLiteral("info")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_FALSE(r.err.isEmpty());
    EXPECT_EQ(r.out, QString());
}

TEST_F(MeterCommandsTest, ThePortComesFromTheSettingsFile)
{
    QFile ini(QDir(m_home).filePath(SettingsFileName));
    ASSERT_TRUE(ini.open(QIODevice::WriteOnly));
    ini.write("/dev/quvolink-port-from-settings\r\n\r\n\r\n");
    ini.close();
    const Outcome r = run({QStringLiteral("info")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("quvolink-port-from-settings"))) << r.err.toStdString();
    // --home names the program folder for one run, with its own settings file.
    const QString other = path(QStringLiteral("other"));
    ASSERT_TRUE(QDir().mkpath(other));
    QFile otherIni(QDir(other).filePath(SettingsFileName));
    ASSERT_TRUE(otherIni.open(QIODevice::WriteOnly));
    otherIni.write("/dev/quvolink-port-of-other-home\r\n\r\n\r\n");
    otherIni.close();
    const Outcome r2 = run({QStringLiteral("--home"), other, QStringLiteral("info")});
    EXPECT_EQ(r2.exitCode, 1);
    EXPECT_TRUE(r2.err.contains(QStringLiteral("quvolink-port-of-other-home"))) << r2.err.toStdString();
    // --port wins over the settings file.
    const Outcome r3 = run({QStringLiteral("info"), QStringLiteral("--port"), QStringLiteral("/dev/quvolink-given-port")});
    EXPECT_EQ(r3.exitCode, 1);
    EXPECT_TRUE(r3.err.contains(QStringLiteral("quvolink-given-port"))) << r3.err.toStdString();
}

TEST_F(MeterCommandsTest, SigtermStopsTheRecordingAndSavesIt)
{
    const QString file = path(QStringLiteral("stopped.csv"));
    QProcess p;
    QString out;
    startUntilLines(p, {QStringLiteral("--simulate"), QStringLiteral("record"), QStringLiteral("--interval"),
                        QStringLiteral("1"), QStringLiteral("--out"), file},
                    2, out);
    p.terminate(); // SIGTERM: handled as Ctrl+C is
    ASSERT_TRUE(p.waitForFinished(15000));
    out += QString::fromUtf8(p.readAllStandardOutput());
    EXPECT_EQ(p.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(p.exitCode(), 0) << p.readAllStandardError().toStdString();
    const QStringList printed = lines(out);
    EXPECT_GE(printed.size(), 2);
    EXPECT_EQ(rowsOf(file), printed);
    EXPECT_TRUE(journals().isEmpty());
}

TEST_F(MeterCommandsTest, SigtermStopsMonitorMode)
{
    QProcess p;
    QString out;
    startUntilLines(p, {QStringLiteral("--simulate"), QStringLiteral("monitor")}, 2, out);
    p.terminate();
    ASSERT_TRUE(p.waitForFinished(15000));
    out += QString::fromUtf8(p.readAllStandardOutput());
    EXPECT_EQ(p.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(p.exitCode(), 0) << p.readAllStandardError().toStdString();
    for (const QString& line : lines(out))
        EXPECT_TRUE(ReadingLine.match(line).hasMatch()) << line.toStdString();
}

TEST_F(MeterCommandsTest, ARecordingKilledHardIsRecoveredFromItsJournal)
{
    QProcess p;
    QString out;
    startUntilLines(p, {QStringLiteral("--simulate"), QStringLiteral("record"), QStringLiteral("--interval"),
                        QStringLiteral("1"), QStringLiteral("--out"), path(QStringLiteral("never.csv"))},
                    3, out);
    p.kill(); // SIGKILL: no handler, no cleanup
    ASSERT_TRUE(p.waitForFinished(15000));
    out += QString::fromUtf8(p.readAllStandardOutput());
    const QStringList printed = lines(out);
    ASSERT_GE(printed.size(), 3);
    EXPECT_FALSE(QFile::exists(path(QStringLiteral("never.csv"))));
    ASSERT_FALSE(journals().isEmpty());

    const QString file = path(QStringLiteral("rescued.csv"));
    const Outcome r = run({QStringLiteral("recover"), QStringLiteral("--out"), file});
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QStringList rows = rowsOf(file);
    // Every printed row is back (a row is printed only once it is in the journal); at most
    // the row in flight when the process died was recorded and not printed.
    ASSERT_GE(rows.size(), printed.size());
    EXPECT_LE(rows.size(), printed.size() + 1);
    EXPECT_EQ(rows.mid(0, printed.size()), printed);
    EXPECT_TRUE(r.out.startsWith(QStringLiteral("Restored %1 readings").arg(rows.size()))) << r.out.toStdString();
    EXPECT_TRUE(journals().isEmpty()) << journals().join(u' ').toStdString();

    const Outcome again = run({QStringLiteral("recover"), QStringLiteral("--out"), path(QStringLiteral("again.csv"))});
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_TRUE(again.err.startsWith(QStringLiteral("No interrupted recording"))) << again.err.toStdString();
}

TEST_F(MeterCommandsTest, RecoverLeavesARunningRecordingAlone)
{
    const QString file = path(QStringLiteral("running.csv"));
    QProcess p;
    QString out;
    startUntilLines(p, {QStringLiteral("--simulate"), QStringLiteral("record"), QStringLiteral("--interval"),
                        QStringLiteral("1"), QStringLiteral("--out"), file},
                    2, out);
    ASSERT_EQ(journals().size(), 2); // the journal and its lock
    const Outcome r = run({QStringLiteral("recover"), QStringLiteral("--out"), path(QStringLiteral("stolen.csv"))});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_FALSE(QFile::exists(path(QStringLiteral("stolen.csv"))));
    EXPECT_EQ(journals().size(), 2);
    p.terminate();
    ASSERT_TRUE(p.waitForFinished(15000));
    EXPECT_EQ(p.exitCode(), 0);
    EXPECT_TRUE(journals().isEmpty());
    EXPECT_GE(rowsOf(file).size(), 2);
}

TEST_F(MeterCommandsTest, EveryCommandHasHelp)
{
    for (const char* command : {"info", "monitor", "record", "download", "recover"}) {
        const Outcome r = run({QString::fromLatin1(command), QStringLiteral("--help")});
        EXPECT_EQ(r.exitCode, 0) << command;
        EXPECT_TRUE(r.out.startsWith(QStringLiteral("Usage: quvolink-cli [options] ") + QString::fromLatin1(command)))
            << r.out.toStdString();
        EXPECT_TRUE(r.out.contains(QStringLiteral("Example:"))) << command;
        EXPECT_TRUE(r.out.contains(QStringLiteral("--simulate"))) << command;
    }
    const Outcome r = run({QStringLiteral("--help")});
    for (const char* command : {"info", "monitor [--count N]", "record --interval T", "download logging|save", "recover"})
        EXPECT_TRUE(r.out.contains(QString::fromLatin1(command))) << command;
}

} // namespace
