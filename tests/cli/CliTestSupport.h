#pragma once
// Running quvolink-cli as a program in the tests: its exit code and both output streams, a
// program folder of its own, and the data files it writes read back as documents.

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <ostream>

inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace quvo::test {

struct CliOutcome {
    int exitCode = -1; // -1 when the program crashed or did not end
    QString out;
    QString err;
};

// The built quvolink-cli and quvolink-metersim.
QString cliProgram();
QString simulatorProgram();

// Runs quvolink-cli with QUVOLINK_HOME = home (and in `workingFolder` when given) and waits
// for its end (one minute at most).
CliOutcome runCli(const QStringList& arguments, const QString& home, const QString& workingFolder = QString());

// Starts a program with QUVOLINK_HOME = home; returns once it has printed `lines` lines on
// stdout, or has ended, or 30 seconds went by. What it printed is appended to `out`; false
// when fewer lines came.
bool startUntilLines(QProcess& process, const QString& program, const QStringList& arguments, const QString& home,
                     int lines, QString& out);

// The rows of a data file as "time<tab>value<tab>mode" lines (empty and a failed test when
// the file cannot be opened).
QStringList dataFileRows(const QString& path);

// Non-empty lines of a text.
QStringList textLines(const QString& text);

// Seconds since midnight of a time label "hh:mm:ss" (-1 when it is not one).
int labelSeconds(const QString& label);

// A test of quvolink-cli as a program: a program folder (m_home) and a working folder
// (m_dir) of its own, the program-wide values reset, and the work file set so that the
// test can read the data files the program wrote.
class CliProgramTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    CliOutcome run(const QStringList& arguments) const { return runCli(arguments, m_home, m_dir.path()); }
    QString path(const QString& name) const { return m_dir.filePath(name); }

    QTemporaryDir m_dir;
    QString m_home;
};

} // namespace quvo::test
