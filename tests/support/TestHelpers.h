#pragma once
// Small helpers for tests: waiting on a condition with a deadline (never a fixed sleep),
// switching the C library and Qt locale for a test, process CPU time, and files.

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>

namespace quvo::test {

// Runs the event loop until done() holds or the time is up; true when it held.
bool waitFor(const std::function<bool()>& done, std::chrono::milliseconds limit = std::chrono::seconds(10));

// Switches LC_ALL and QLocale's default for the lifetime of the object.
class LocaleGuard {
public:
    explicit LocaleGuard(const char* name);
    ~LocaleGuard();
    LocaleGuard(const LocaleGuard&) = delete;
    LocaleGuard& operator=(const LocaleGuard&) = delete;
    bool active() const { return m_active; }

private:
    QString m_previousC;
    bool m_active = false;
};

// CPU time used by this process so far (user + system).
std::chrono::microseconds processCpuTime();

// Absolute path of a built program next to the test executables' build tree.
QString builtProgram(const QString& relativePath);

// A file's bytes; empty when it cannot be read.
QByteArray fileBytes(const QString& path);
// Writes a file's bytes (a failed write fails the test).
void writeFileBytes(const QString& path, const QByteArray& bytes);
// Names of the entries of a folder, hidden ones included, sorted by name.
QStringList folderEntries(const QString& folder);

// Runs a program of the system (xmllint, pdfinfo, ...) to its end, at most 30 seconds: its
// exit code (-1 when it did not end normally) and its output, stdout and stderr together.
struct ProgramRun {
    int exitCode = -1;
    QString output;
};
ProgramRun runProgram(const QString& program, const QStringList& arguments);

} // namespace quvo::test
