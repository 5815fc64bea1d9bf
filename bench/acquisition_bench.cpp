// Timing program for acquisition (results and commands in docs/BENCHMARKS.md):
//
//   acquisition_bench cpu [SECONDS]         CPU of this process while recording one reading
//                                           a second (journal on) from a simulator that runs
//                                           in another process; default 60 s
//   acquisition_bench download [--pace] [N] a LOGGING-mode download of N records (default
//                                           2000) from a simulator in another process
//   acquisition_bench timing [SAMPLES]      how long after the second boundary each "RR,1"
//                                           reaches the simulator; default 120 samples
//   acquisition_bench journal [ROWS]        cost of one journal row (write + fdatasync)
//   acquisition_bench publish [MESSAGES]    CPU of publishing one reading to a broker, from a
//                                           burst of MESSAGES readings (default 20000)
//
// `cpu` takes --limits: the recording's document judges its rows against limits, and every
// answer goes through the Monitor's comparator as the window would show it.
// `cpu` and `timing` take --mqtt: the readings are also published to a broker of the
// benchmark's own (mosquitto on 127.0.0.1 at a free port, its CPU not counted); with
// --mqtt-down that broker is stopped once publishing has connected, so that the readings
// queue up while the client library tries again and again to reconnect.
//
// The simulator runs as the program quvolink-metersim (another process), except for
// `timing`, where it runs in a thread of this process so that it can stamp each request the
// moment it reads it.

#include "acquisition/Comparator.h"
#include "acquisition/Download.h"
#include "acquisition/HeadlessHost.h"
#include "acquisition/Realtime.h"
#include "acquisition/RecordingJournal.h"
#include "document/DataDocument.h"
#include "link/Comm.h"
#include "resources/Constant.h"
#include "resources/EventWait.h"
#include "resources/ProgramState.h"

#include "metersim/MeterSimulator.h"
#include "publish/Publishing.h"
#include "BrokerSupport.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QElapsedTimer>
#include <QMutex>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <numeric>
#include <memory>
#include <vector>

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace quvo;

namespace {

double cpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_utime.tv_sec + usage.ru_utime.tv_usec / 1e6 + usage.ru_stime.tv_sec + usage.ru_stime.tv_usec / 1e6;
}

// CPU seconds of this process's threads other than the calling one (the client library's
// network thread, the simulator's), from /proc.
double otherThreadsCpuSeconds()
{
    const long ticks = sysconf(_SC_CLK_TCK);
    const QString self = QString::number(syscall(SYS_gettid));
    double seconds = 0;
    for (const QString& task : QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (task == self)
            continue;
        QFile stat(QStringLiteral("/proc/self/task/%1/stat").arg(task));
        if (!stat.open(QIODevice::ReadOnly))
            continue;
        const QByteArray text = stat.readAll();
        // Fields after the command's closing parenthesis: state is field 3, utime 14, stime 15.
        const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
        if (fields.size() > 12)
            seconds += (fields[11].toDouble() + fields[12].toDouble()) / ticks;
    }
    return seconds;
}

// A broker of the benchmark's own and the publishing to it (--mqtt, --mqtt-down).
class BenchBroker {
public:
    bool start(bool stopAfterConnecting)
    {
        QString error;
        if (!m_broker.start(&error)) {
            std::fprintf(stderr, "the broker did not start: %s\n", qPrintable(error));
            return false;
        }
        PublishSettings settings;
        settings.enabled = true;
        settings.url = m_broker.url();
        settings.topicPrefix = QStringLiteral("bench");
        m_publishing.setTuning(PublisherOptions::DefaultQueueCapacity, 30);
        if (!m_publishing.apply(settings, &error) || !(error = m_publishing.waitForBroker(std::chrono::seconds(10))).isEmpty()) {
            std::fprintf(stderr, "publishing did not start: %s\n", qPrintable(error));
            return false;
        }
        if (stopAfterConnecting) {
            m_broker.stop();
            waitUntil([this] { return m_publishing.publisher().state() != BrokerState::Connected; });
        }
        return true;
    }
    Publishing& publishing() { return m_publishing; }
    void report() const
    {
        std::printf("publishing: %s; %zu messages waiting, %llu dropped\n", qPrintable(m_publishing.statusText()),
                    m_publishing.publisher().waiting(),
                    static_cast<unsigned long long>(m_publishing.publisher().dropped()));
    }

private:
    test::TestBroker m_broker;
    Publishing m_publishing;
};

// The broker of --mqtt (1) or --mqtt-down (2); none for 0. False when it could not start.
bool startBroker(int mqtt, std::unique_ptr<BenchBroker>& broker)
{
    if (mqtt == 0)
        return true;
    broker = std::make_unique<BenchBroker>();
    return broker->start(mqtt == 2);
}

// quvolink-metersim in its own process; its first line of output is the device path.
class SimulatorProcess {
public:
    explicit SimulatorProcess(const QStringList& arguments)
    {
        m_process.start(QStringLiteral(QUVO_METERSIM_PATH), arguments);
        m_process.waitForStarted(10000);
        while (!m_process.canReadLine() && m_process.waitForReadyRead(10000)) {
        }
        m_device = QString::fromLocal8Bit(m_process.readLine()).trimmed();
    }
    ~SimulatorProcess()
    {
        m_process.terminate();
        m_process.waitForFinished(10000);
    }
    QString device() const { return m_device; }

private:
    QProcess m_process;
    QString m_device;
};

// The Monitor's comparator without its window: every answer shown is judged.
class JudgingMonitor : public MonitorSink {
public:
    explicit JudgingMonitor(const Limits& limits) { m_comparator.setLimits(limits); }
    void SetData(const QString& answer) override
    {
        m_comparator.show(answer);
        m_lit.add(m_comparator.lit());
    }
    const JudgementCounts& lit() const { return m_lit; }

private:
    Comparator m_comparator;
    JudgementCounts m_lit;
};

// Limits the simulator's ramp (-15 .. +15 V) falls on both sides of.
Limits benchLimits()
{
    Limits limits;
    limits.upper = 10;
    limits.lower = -10;
    limits.unit = QStringLiteral("VDC");
    limits.buzzer = true;
    return limits;
}

int benchCpu(int seconds, int mqtt, bool withLimits)
{
    std::unique_ptr<BenchBroker> broker;
    if (!startBroker(mqtt, broker))
        return 1;
    SimulatorProcess simulator({});
    if (simulator.device().isEmpty()) {
        std::fprintf(stderr, "the simulator did not start\n");
        return 1;
    }
    QTemporaryDir home;
    HeadlessHost host;
    Comm comm(&host.prompter());
    comm.setCommPort(simulator.device());
    Realtime realtime(comm, host);
    realtime.setJournalFolder(home.path());
    if (broker) {
        host.setReadingObserver(&broker->publishing());
        if (withLimits)
            broker->publishing().setLimits(benchLimits());
    }
    JudgingMonitor monitor(benchLimits());
    if (withLimits)
        host.setMonitor(&monitor);
    DataDocument* document = host.newDocument(DataKinds::Realtime);
    if (withLimits)
        document->setLimits(benchLimits());
    document->SetInterval(QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("01"));
    const int minutes = seconds / 60;
    document->SetPeriod(false, QStringLiteral("00"), QStringLiteral("00"), QString::number(minutes),
                        QString::number(seconds % 60));

    const double cpuBefore = cpuSeconds();
    const double otherBefore = otherThreadsCpuSeconds();
    QElapsedTimer wall;
    wall.start();
    realtime.mnuRealtimeStart();
    waitUntil([] { return programState().CommState == CommStates::Idle; });
    const double elapsed = wall.nsecsElapsed() / 1e9;
    const double cpu = cpuSeconds() - cpuBefore;
    const double other = otherThreadsCpuSeconds() - otherBefore;
    std::printf("recording%s%s: %d rows in %.1f s wall, %.3f s CPU of this process: %.3f %% of one core "
                "(%.2f ms CPU per second; other threads %.3f s)\n",
                mqtt == 1 ? " with publishing" : (mqtt == 2 ? " with publishing, broker stopped" : ""),
                withLimits ? " with limits" : "", document->GetDatacount(), elapsed, cpu, 100.0 * cpu / elapsed,
                1000.0 * cpu / elapsed, other);
    if (withLimits) {
        const JudgementCounts& rows = document->judgementCounts();
        std::printf("rows judged: HI %d, LO %d, PASS %d; answers on the comparator: HI %d, LO %d, PASS %d\n", rows.hi,
                    rows.lo, rows.pass, monitor.lit().hi, monitor.lit().lo, monitor.lit().pass);
    }
    if (broker)
        broker->report();
    host.setReadingObserver(nullptr);
    return 0;
}

int benchDownload(bool pace, int count)
{
    QStringList arguments = {QStringLiteral("--model"), QStringLiteral("4"), QStringLiteral("--logging-count"),
                             QString::number(count)};
    if (pace)
        arguments << QStringLiteral("--pace");
    SimulatorProcess simulator(arguments);
    if (simulator.device().isEmpty()) {
        std::fprintf(stderr, "the simulator did not start\n");
        return 1;
    }
    HeadlessHost host;
    Comm comm(&host.prompter());
    comm.setCommPort(simulator.device());
    Download download(comm, host);
    DataDocument* document = host.newDocument(DataKinds::Logging);
    programState().RealtimeDoc = document;
    if (!comm.OpenPort())
        return 1;

    // The records alone, besides the whole download: from the first record's row to the
    // last one (count − 1 records; the start and end commands are left out).
    QElapsedTimer wall;
    qint64 firstRecordNs = -1;
    qint64 lastRecordNs = -1;
    QObject::connect(document, &DataDocument::rowsChanged, [&](int, int) {
        if (programState().PadRecords)
            return;
        if (document->GetDatacount() == 1)
            firstRecordNs = wall.nsecsElapsed();
        lastRecordNs = wall.nsecsElapsed();
    });
    const double cpuBefore = cpuSeconds();
    wall.start();
    const bool ok = download.DownloadLogging();
    const double total = wall.nsecsElapsed() / 1e9;
    const double cpu = cpuSeconds() - cpuBefore;
    if (!ok || document->GetDatacount() != count) {
        std::fprintf(stderr, "the download failed: %s (%d rows)\n", qPrintable(host.messages().join(u'|')),
                     document->GetDatacount());
        return 1;
    }
    const double recordsOnly = (count - 1) / ((lastRecordNs - firstRecordNs) / 1e9);
    std::printf("%s download of %d records: %.3f s in all, %.0f records/s (records alone: %.1f records/s, "
                "%.3f ms a record); CPU of this process %.3f s (%.3f ms a record)\n",
                pace ? "paced (9600-8N2)" : "unpaced", count, total, count / total, recordsOnly, 1000.0 / recordsOnly,
                cpu, 1000.0 * cpu / count);
    if (pace) {
        // On the wire per record: "RL,nnnn" CR LF (9 characters) to the meter; its echo (9)
        // and the answer "RL,N,+dd.ddd VDC" + check + CR LF (19) back. The answer cannot
        // start before the command has arrived, so the 37 characters follow one another.
        const double characterMs = 11.0 / 9600.0 * 1000.0;
        const double lineRate = 1000.0 / (37 * characterMs);
        std::printf("the line allows %.2f records/s (37 characters of %.4f ms); reached %.1f %% over the whole "
                    "download, %.1f %% over the records alone\n",
                    lineRate, characterMs, 100.0 * (count / total) / lineRate, 100.0 * recordsOnly / lineRate);
    }
    return 0;
}

// The simulator in a thread of this process, stamping each "RR,1" as it reads it.
int benchTiming(int samples, int mqtt)
{
    std::unique_ptr<BenchBroker> broker;
    if (!startBroker(mqtt, broker))
        return 1;
    QThread thread;
    thread.start();
    QObject inThread;
    inThread.moveToThread(&thread);
    sim::MeterSimulator* simulator = nullptr;
    QMutex mutex;
    std::vector<int> offsets; // milliseconds after the last whole second
    QString device;
    QMetaObject::invokeMethod(
        &inThread,
        [&] {
            simulator = new sim::MeterSimulator(sim::SimulatorOptions{});
            simulator->open();
            device = simulator->devicePath();
            QObject::connect(
                simulator, &sim::MeterSimulator::commandReceived, simulator,
                [&](const QString& command) {
                    if (command != Commands::Reading)
                        return;
                    const qint64 ms = QDateTime::currentMSecsSinceEpoch() % 1000;
                    QMutexLocker lock(&mutex);
                    offsets.push_back(static_cast<int>(ms));
                },
                Qt::DirectConnection);
        },
        Qt::BlockingQueuedConnection);

    HeadlessHost host;
    Comm comm(&host.prompter());
    comm.setCommPort(device);
    Realtime realtime(comm, host);
    if (broker)
        host.setReadingObserver(&broker->publishing());
    DataDocument* document = host.newDocument(DataKinds::Realtime);
    document->SetInterval(QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("01"));
    realtime.mnuRealtimeStart();
    waitUntil([&] {
        QMutexLocker lock(&mutex);
        return static_cast<int>(offsets.size()) >= samples;
    });
    realtime.mnuRealtimeStop();
    waitUntil([] { return programState().CommState == CommStates::Idle; });

    QMetaObject::invokeMethod(&inThread, [&] { delete simulator; }, Qt::BlockingQueuedConnection);
    thread.quit();
    thread.wait();

    std::vector<int> sorted(offsets.begin(), offsets.begin() + samples);
    std::sort(sorted.begin(), sorted.end());
    const int within = static_cast<int>(std::count_if(sorted.begin(), sorted.end(), [](int ms) { return ms <= 20; }));
    const auto at = [&](double q) { return sorted[static_cast<std::size_t>(q * (samples - 1))]; };
    std::printf("%d requests%s: ms after the second boundary when the simulator read them: min %d, median %d, "
                "p99 %d, max %d; within 20 ms: %d (%.1f %%)\n",
                samples, mqtt == 1 ? " with publishing" : (mqtt == 2 ? " with publishing, broker stopped" : ""),
                sorted.front(), at(0.5), at(0.99), sorted.back(), within, 100.0 * within / samples);
    if (broker)
        broker->report();
    host.setReadingObserver(nullptr);
    return 0;
}

int benchJournal(int rows)
{
    QTemporaryDir home;
    QString error;
    auto journal = RecordingJournal::create(home.path(), &error);
    if (!journal) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 1;
    }
    journal->writeStart(JournalStart{});
    std::vector<double> us;
    for (int i = 0; i < rows; ++i) {
        const JournalRow row{QStringLiteral("12:00:00"), QStringLiteral("1.234E-3"), QStringLiteral("VDC"), true,
                             QStringLiteral("1.234E-3")};
        QElapsedTimer t;
        t.start();
        if (!journal->appendRow(row)) {
            std::fprintf(stderr, "%s\n", qPrintable(journal->lastError()));
            return 1;
        }
        us.push_back(t.nsecsElapsed() / 1e3);
    }
    journal->remove();
    std::sort(us.begin(), us.end());
    std::printf("journal row (write + fdatasync), %d rows: median %.0f us, p99 %.0f us, max %.0f us\n", rows,
                us[us.size() / 2], us[static_cast<std::size_t>(0.99 * (us.size() - 1))], us.back());
    return 0;
}

// CPU of publishing one reading: a burst of readings handed to a connected publisher, from
// the first until the broker acknowledged the last, over the number of readings. The
// window's thread (JSON, queue, hand-over) and the client library's thread (writing,
// acknowledgements) are counted apart.
int benchPublish(int messages)
{
    BenchBroker broker;
    if (!broker.start(false))
        return 1;
    Publishing& publishing = broker.publishing();
    TakenReading reading;
    reading.kind = ReadingKind::Realtime;
    reading.unit = QStringLiteral("VDC");
    const double cpuBefore = cpuSeconds();
    const double otherBefore = otherThreadsCpuSeconds();
    QElapsedTimer wall;
    wall.start();
    for (int i = 1; i <= messages; ++i) {
        reading.time = QDateTime::currentDateTime();
        reading.timeText = reading.time.toString(QStringLiteral("HH:mm:ss"));
        reading.row = i;
        reading.text = reading.number = QStringLiteral("%1.%2E-3").arg(i % 100).arg(i % 1000, 3, 10, QLatin1Char('0'));
        publishing.readingTaken(reading);
    }
    const double handedNs = static_cast<double>(wall.nsecsElapsed());
    waitUntil([&] { return publishing.publisher().waiting() == 0; });
    const double elapsed = wall.nsecsElapsed() / 1e9;
    const double cpu = cpuSeconds() - cpuBefore;
    const double other = otherThreadsCpuSeconds() - otherBefore;
    std::printf("%d readings published in %.2f s: %.1f us CPU a reading in all (window's thread %.1f us, library's "
                "thread %.1f us); wall time of a hand-over %.1f us\n",
                messages, elapsed, 1e6 * cpu / messages, 1e6 * (cpu - other) / messages, 1e6 * other / messages,
                handedNs / 1e3 / messages);
    std::printf("at one reading a second: %.4f %% of one core\n", 100.0 * cpu / messages);
    broker.report();
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QStringList arguments = QCoreApplication::arguments().mid(1);
    const QString what = arguments.isEmpty() ? QString() : arguments.takeFirst();
    // --mqtt: publish to a broker of our own; --mqtt-down: and stop it once connected.
    const int mqtt = arguments.removeAll(QStringLiteral("--mqtt-down")) > 0 ? 2
                   : arguments.removeAll(QStringLiteral("--mqtt")) > 0   ? 1
                                                                          : 0;
    if (what == QLatin1String("cpu")) {
        const bool limits = arguments.removeAll(QStringLiteral("--limits")) > 0;
        return benchCpu(arguments.isEmpty() ? 60 : arguments.first().toInt(), mqtt, limits);
    }
    if (what == QLatin1String("download")) {
        const bool pace = arguments.removeAll(QStringLiteral("--pace")) > 0;
        return benchDownload(pace, arguments.isEmpty() ? 2000 : arguments.first().toInt());
    }
    if (what == QLatin1String("timing"))
        return benchTiming(arguments.isEmpty() ? 120 : arguments.first().toInt(), mqtt);
    if (what == QLatin1String("publish"))
        return benchPublish(arguments.isEmpty() ? 20000 : arguments.first().toInt());
    if (what == QLatin1String("journal"))
        return benchJournal(arguments.isEmpty() ? 300 : arguments.first().toInt());
    std::fprintf(stderr, "usage: acquisition_bench cpu [SECONDS] [--limits] [--mqtt|--mqtt-down] | download [--pace] [N] | "
                         "timing [SAMPLES] [--mqtt|--mqtt-down] | journal [ROWS] | publish [MESSAGES]\n");
    return 2;
}
