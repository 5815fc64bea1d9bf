#include "CliTestSupport.h"

#include "document/DataDocument.h"
#include "resources/ProgramState.h"
#include "support/TestHelpers.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace quvo::test {

QString cliProgram()
{
    return builtProgram(QStringLiteral("src/cli/quvolink-cli"));
}

QString simulatorProgram()
{
    return builtProgram(QStringLiteral("tools/metersim/quvolink-metersim"));
}

namespace {

void prepare(QProcess& process, const QString& home)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QUVOLINK_HOME"), home);
    // A desktop session has a runtime folder; a test run may have none (a container, root).
    // Qt's graphical start-up (quvolink-cli plot) would warn about it on stderr.
    if (env.value(QStringLiteral("XDG_RUNTIME_DIR")).isEmpty()) {
        static const QTemporaryDir runtime;
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime.path());
    }
    process.setProcessEnvironment(env);
}

} // namespace

CliOutcome runCli(const QStringList& arguments, const QString& home, const QString& workingFolder)
{
    QProcess process;
    prepare(process, home);
    if (!workingFolder.isEmpty())
        process.setWorkingDirectory(workingFolder);
    process.start(cliProgram(), arguments);
    EXPECT_TRUE(process.waitForFinished(60000)) << arguments.join(u' ').toStdString();
    CliOutcome r;
    r.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    r.out = QString::fromUtf8(process.readAllStandardOutput());
    r.err = QString::fromUtf8(process.readAllStandardError());
    return r;
}

bool startUntilLines(QProcess& process, const QString& program, const QStringList& arguments, const QString& home,
                     int lines, QString& out)
{
    prepare(process, home);
    process.start(program, arguments);
    if (!process.waitForStarted(10000))
        return false;
    const QDeadlineTimer deadline(30000);
    while (out.count(QLatin1Char('\n')) < lines && process.state() == QProcess::Running && !deadline.hasExpired()) {
        if (process.waitForReadyRead(static_cast<int>(deadline.remainingTime())))
            out += QString::fromUtf8(process.readAllStandardOutput());
    }
    out += QString::fromUtf8(process.readAllStandardOutput());
    return out.count(QLatin1Char('\n')) >= lines;
}

QStringList dataFileRows(const QString& path)
{
    DataDocument document;
    document.OpenNew(DataDocument::KindBeforeOpen);
    EXPECT_TRUE(document.OpenFile(path)) << path.toStdString() << ": " << programState().LastError.toStdString();
    QStringList rows;
    for (int row = 1; row <= document.GetDatacount(); ++row)
        rows << document.TextMatrix(row, 1) + QLatin1Char('\t') + document.TextMatrix(row, 2) + QLatin1Char('\t')
                + document.TextMatrix(row, 3);
    return rows;
}

void CliProgramTest::SetUp()
{
    resetProgramState();
    ASSERT_TRUE(m_dir.isValid());
    m_home = m_dir.filePath(QStringLiteral("home"));
    ASSERT_TRUE(QDir().mkpath(m_home));
    programState().WorkPath = m_dir.filePath(QStringLiteral("WORK.~~~"));
}

void CliProgramTest::TearDown()
{
    resetProgramState();
}

QStringList textLines(const QString& text)
{
    return text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

int labelSeconds(const QString& label)
{
    static const QRegularExpression pattern(QStringLiteral("^(\\d\\d):(\\d\\d):(\\d\\d)$"));
    const QRegularExpressionMatch m = pattern.match(label);
    if (!m.hasMatch())
        return -1;
    return m.captured(1).toInt() * 3600 + m.captured(2).toInt() * 60 + m.captured(3).toInt();
}

} // namespace quvo::test
