// A program that saves one file the way Quvolink does and, when told, kills itself (SIGKILL,
// nothing is cleaned up, nothing flushed) at a chosen step of that save: what a crash or a
// power cut between two steps leaves on the disk. The tests run it and look at the files.
//
// Usage: save_crash_helper WRITER ARGUMENTS...  (the writers are in SaveWriters.h)
//   data FOLDER TARGET ROWS          a realtime document of ROWS readings saved to TARGET
//                                    (the work file in FOLDER)
//   settings FOLDER PORT FILE TITLE  the settings file QUVO.INI in FOLDER
//   journal FOLDER ROWS              a recording journal in FOLDER with ROWS rows
//   forward FILE.csv --xlsx|--into WORKBOOK
//                                    quvolink-cli's forward command (QUVOLINK_HOME names the
//                                    program folder)
//
// QUVO_CRASH_AT=WHEN:STEP:N selects the crash: the N-th time (from 1) that STEP (Create,
// Write, Sync, Replace) is about to run (WHEN = before) or has been done (WHEN = after); with
// WHEN = short, the N-th Write takes only half of its bytes (a full disk) and the process
// dies right after. Without it the save runs to its end. The exit code is 0 when the save
// succeeded, 1 when it reported a failure, 2 for wrong arguments.

#include "SaveWriters.h"

#include "document/DurableFile.h"

#include <QCoreApplication>
#include <QDir>
#include <QStringList>

#include <csignal>
#include <cstdio>

using namespace quvo;

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

// Reads QUVO_CRASH_AT and kills the process at that point of the save.
class CrashAt : public FileFaultInjector {
public:
    CrashAt()
    {
        const QStringList parts = qEnvironmentVariable("QUVO_CRASH_AT").split(QLatin1Char(':'));
        if (parts.size() == 3) {
            m_when = parts[0];
            m_step = parts[1];
            m_count = parts[2].toInt();
        }
    }
    bool active() const { return m_count > 0; }

    QString failure(FileStep step, const QString&, qint64& acceptedBytes) override
    {
        if (!matches(step))
            return {};
        if (m_when == QLatin1String("before") && ++m_seen == m_count)
            die(step);
        if (m_when == QLatin1String("short") && step == FileStep::Write && ++m_seen == m_count) {
            acceptedBytes /= 2;
            m_dieAfterWrite = true;
            return QStringLiteral("No space left on device");
        }
        return {};
    }

    void done(FileStep step, const QString&) override
    {
        if (m_dieAfterWrite && step == FileStep::Write)
            die(step);
        if (matches(step) && m_when == QLatin1String("after") && ++m_seen == m_count)
            die(step);
    }

private:
    bool matches(FileStep step) const { return active() && m_step == QLatin1String(stepName(step)); }
    [[noreturn]] static void die(FileStep step)
    {
        std::fprintf(stderr, "killed at %s\n", stepName(step));
        std::fflush(stderr);
        std::raise(SIGKILL);
        std::abort(); // not reached
    }

    QString m_when;
    QString m_step;
    int m_count = 0;
    int m_seen = 0;
    bool m_dieAfterWrite = false;
};

// QUVO_TRACE_STEPS=1: prints every step as it is about to run and once it is done,
// "before Write <path>" and "after Write <path>", so that a test can list the points where a
// crash can happen.
class StepTrace : public FileFaultInjector {
public:
    QString failure(FileStep step, const QString& path, qint64&) override
    {
        std::printf("before %s %s\n", stepName(step), qPrintable(path));
        return {};
    }
    void done(FileStep step, const QString& path) override
    {
        std::printf("after %s %s\n", stepName(step), qPrintable(path));
    }
};

int usage()
{
    std::fprintf(stderr, "usage: save_crash_helper data|settings|journal|forward ARGUMENTS...\n");
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    qputenv("QUVOLINK_NO_DESKTOP_OPEN", "1");
    QStringList args = app.arguments().mid(1);
    if (args.isEmpty())
        return usage();
    const QString writer = args.takeFirst();

    CrashAt crash;
    if (crash.active())
        setFileFaultInjector(&crash);
    StepTrace trace;
    if (qEnvironmentVariableIsSet("QUVO_TRACE_STEPS"))
        setFileFaultInjector(&trace);

    QString error;
    int result = 2;
    if (writer == QLatin1String("data") && args.size() == 3)
        result = faults::saveDataFile(args[0], args[1], args[2].toInt(), error);
    else if (writer == QLatin1String("settings") && args.size() == 4)
        result = faults::saveSettingsFile(args[0], args[1], args[2], args[3]);
    else if (writer == QLatin1String("journal") && args.size() == 2)
        result = faults::writeJournal(args[0], args[1].toInt(), error);
    else if (writer == QLatin1String("forward"))
        result = faults::forwardToWorkbook(args);
    else
        return usage();
    if (!error.isEmpty())
        std::fprintf(stderr, "%s\n", qPrintable(error));
    return result;
}
