// A recording that goes on for days (results and command in docs/BENCHMARKS.md):
//
//   recording_soak_bench [DAYS]   a recording at one reading a second for DAYS days (default
//                                 7: 604,801 readings, 19 documents of at most 32767), each
//                                 full document saved as a data file the moment it is full
//                                 and the recording going on in a new one
//
// The clock is one the benchmark moves: each simulated second it moves on by one second,
// the tick runs, and the benchmark waits for the meter's answer before the next second. So
// a week takes minutes, and everything the program does for a reading is done for each of
// them: the request, the answer, the row in the document, the row in the recording journal
// (with its fdatasync), and at each full document the save of a data file. The meter is the
// simulator program quvolink-metersim in a process of its own (not counted).
//
// Measured: resident memory (VmRSS) once the first document was full and saved, and the
// highest it reached after that; CPU time of the program's thread (user + system) per
// simulated second, which is its share of one core when the recording runs at real speed.

#include "acquisition/HeadlessHost.h"
#include "acquisition/Realtime.h"
#include "acquisition/RecordingParts.h"
#include "document/DataDocument.h"
#include "link/Comm.h"
#include "resources/Constant.h"
#include "resources/EventWait.h"
#include "resources/ProgramState.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <memory>

#include <sys/resource.h>

using namespace quvo;

namespace {

// CPU seconds of the calling thread.
double threadCpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_utime.tv_sec + usage.ru_utime.tv_usec / 1e6 + usage.ru_stime.tv_sec + usage.ru_stime.tv_usec / 1e6;
}

// Resident memory of this process in MiB.
double residentMiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024.0;
    }
    return -1;
}

class SteppedClock : public RealtimeClock {
public:
    QDateTime now() const override { return t; }
    QDateTime t = QDateTime(QDate(2026, 3, 2), QTime(0, 0, 0, 500));
};

// quvolink-metersim in its own process; its first line of output is the device path.
QString startSimulator(QProcess& process)
{
    process.start(QStringLiteral(QUVO_METERSIM_PATH), {});
    process.waitForStarted(10000);
    while (!process.canReadLine() && process.waitForReadyRead(10000)) {
    }
    return QString::fromLocal8Bit(process.readLine()).trimmed();
}

int soak(int days)
{
    QProcess simulator;
    const QString device = startSimulator(simulator);
    if (device.isEmpty()) {
        std::fprintf(stderr, "the simulator did not start\n");
        return 1;
    }
    QTemporaryDir home;
    const QString folder = home.filePath(QStringLiteral("parts"));
    QDir().mkpath(folder);
    programState().WorkPath = home.filePath(WorkFileName);

    HeadlessHost host;
    Comm comm(&host.prompter());
    comm.setCommPort(device);
    Realtime realtime(comm, host);
    realtime.setJournalFolder(home.path());
    SteppedClock clock;
    realtime.setClock(&clock);
    realtime.setAutomaticTicks(false);

    // As quvolink-cli record --continue: the running document and the one before it are kept.
    std::unique_ptr<DataDocument> current;
    std::unique_ptr<DataDocument> previous;
    double afterFirst = -1;
    double peak = 0;
    int failures = 0;
    RecordingParts::Hooks hooks;
    hooks.newDocument = [&]() -> DataDocument* {
        previous = std::move(current);
        current = std::make_unique<DataDocument>();
        current->OpenNew(DataKinds::Realtime);
        return current.get();
    };
    hooks.partSaved = [&](DataDocument&, int number, const QString&) {
        const double rss = residentMiB();
        if (number == 1)
            afterFirst = rss;
        peak = std::max(peak, rss);
        std::printf("part %2d saved: %.1f MiB resident\n", number, rss);
        std::fflush(stdout);
    };
    hooks.partNotSaved = [&](DataDocument&, int, const QString& message) {
        ++failures;
        std::fprintf(stderr, "%s\n", qPrintable(message));
    };
    RecordingParts parts(realtime, QDir(folder).filePath(QStringLiteral("SOAK.CSV")), std::move(hooks));

    DataDocument* first = host.newDocument(DataKinds::Realtime);
    first->SetInterval(QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("01"));
    first->SetPeriod(false, QString::number(days).rightJustified(2, u'0'), QStringLiteral("00"), QStringLiteral("00"),
                     QStringLiteral("00"));
    const double startRss = residentMiB();

    // Wakes the wait below now and then, so that a lost answer cannot stop the run.
    QTimer wake;
    wake.start(50);
    const ProgramState& s = programState();
    const double cpuBefore = threadCpuSeconds();
    QElapsedTimer wall;
    wall.start();
    realtime.mnuRealtimeStart();
    long long seconds = 0;
    while (s.CommState != CommStates::Idle) {
        clock.t = clock.t.addSecs(1);
        ++seconds;
        realtime.tmRealtime_Timer();
        if (s.CommState == CommStates::Idle)
            break;
        // The echo and the answer of the request just sent, or 2 s.
        QElapsedTimer waited;
        waited.start();
        waitUntil([&] { return s.RecvBuffer.count(QLatin1Char('\n')) >= 2 || waited.elapsed() > 2000; });
        if (seconds % 50000 == 0) {
            std::printf("%lld simulated seconds, %.0f s wall\n", seconds, wall.elapsed() / 1000.0);
            std::fflush(stdout);
        }
    }
    const double cpu = threadCpuSeconds() - cpuBefore;
    const double elapsed = wall.elapsed() / 1000.0;
    parts.finish(*s.RealtimeDoc);
    peak = std::max(peak, residentMiB());

    long long rows = 0;
    int errors = 0;
    for (const QString& file : parts.savedFiles()) {
        DataDocument check;
        check.OpenNew(DataDocument::KindBeforeOpen);
        if (!check.OpenFile(file)) {
            std::fprintf(stderr, "%s cannot be read: %s\n", qPrintable(file), qPrintable(s.LastError));
            return 1;
        }
        rows += check.GetDatacount();
        for (int row = 1; row <= check.GetDatacount(); ++row)
            errors += check.TextMatrix(row, 2) == QLatin1String("ERROR") ? 1 : 0;
    }
    programState().RealtimeDoc = nullptr;
    programState().CurrentDoc = nullptr;

    std::printf("%d days at 1 s: %lld simulated seconds, %lld readings in %lld files (%d ERROR rows, %d parts not "
                "saved), %.0f s wall\n",
                days, seconds, rows, static_cast<long long>(parts.savedFiles().size()), errors, failures, elapsed);
    std::printf("resident memory: %.1f MiB at the start, %.1f MiB once the first document was full, at most "
                "%.1f MiB after that: %.1f MiB beyond the first document\n",
                startRss, afterFirst, peak, peak - afterFirst);
    std::printf("CPU of the program's thread: %.1f s for %lld simulated seconds = %.3f ms a second = %.3f %% of "
                "one core at real speed\n",
                cpu, seconds, 1000.0 * cpu / seconds, 100.0 * cpu / seconds);
    simulator.terminate();
    simulator.waitForFinished(10000);
    return failures == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    const int days = arguments.isEmpty() ? 7 : arguments.first().toInt();
    if (days < 1 || days > 99) {
        std::fprintf(stderr, "usage: recording_soak_bench [DAYS]   (1 to 99, default 7)\n");
        return 2;
    }
    return soak(days);
}
