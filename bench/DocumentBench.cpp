// Benchmarks of the data document: opening and saving a full realtime data file, adding a
// realtime reading with the whole document across the chart, and the memory a full
// document holds. The data file is generated here; with QUVO_BENCH_FILE set, it is also
// written to that path (bench/run_document_bench.sh reads it with Python for comparison).

#include "document/DataDocument.h"
#include "document/DataFile.h"
#include "document/Limits.h"
#include "resources/ProgramState.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>

using namespace quvo;

namespace {

// A realtime data file of `rows` readings: times one second apart, millivolt and volt
// readings with their exponents, now and then an "ERROR" row, as a recording makes them.
QByteArray realtimeFile(int rows, int graphCount)
{
    QByteArray out;
    out.reserve(rows * 40 + 200);
    out += "21,3\r\n9000,6000,0\r\n00,00,00,01\r\nTrue,00,01,00,00\r\n";
    out += QByteArray::number(graphCount) + "\r\nTrue,1,1\r\nTrue,-6,6,1,1\r\n";
    std::uint32_t seed = 12345;
    const auto next = [&seed] {
        seed = seed * 1664525u + 1013904223u;
        return seed >> 8;
    };
    char line[96];
    for (int i = 0; i < rows; ++i) {
        const int t = i % 86400;
        const std::uint32_t r = next();
        int n = 0;
        if (r % 100 == 0) {
            n = std::snprintf(line, sizeof line, "%02d:%02d:%02d,ERROR,,ERROR\r\n", t / 3600, (t / 60) % 60, t % 60);
        } else {
            const int milli = static_cast<int>(r % 10000) - 5000;
            const bool volts = (r / 10000) % 4 == 0;
            const char* exponent = volts ? "" : "E-3";
            const char* sign = milli < 0 ? "-" : "";
            const int a = milli < 0 ? -milli : milli;
            n = std::snprintf(line, sizeof line, "%02d:%02d:%02d,%s%d.%03d%s,VDC,%s%d.%03d%s\r\n", t / 3600,
                              (t / 60) % 60, t % 60, sign, a / 1000, a % 1000, exponent, sign, a / 1000, a % 1000,
                              exponent);
        }
        out.append(line, n);
    }
    return out;
}

struct Files {
    QTemporaryDir dir;
    QString full;        // 32767 readings, graph count 20
    QString almostFull;  // 32766 readings, graph count 32767
    QString program;     // the program folder (work file)
    QString documents;   // where saved files go

    Files()
    {
        program = dir.filePath(QStringLiteral("program"));
        documents = dir.filePath(QStringLiteral("documents"));
        QDir().mkpath(program);
        QDir().mkpath(documents);
        programState().WorkPath = QDir(program).filePath(WorkFileName);
        full = dir.filePath(QStringLiteral("full.CSV"));
        almostFull = dir.filePath(QStringLiteral("almost.CSV"));
        write(full, realtimeFile(MaxReadings, 20));
        write(almostFull, realtimeFile(MaxReadings - 1, MaxReadings));
        const QByteArray copyTo = qgetenv("QUVO_BENCH_FILE");
        if (!copyTo.isEmpty()) {
            QFile::remove(QString::fromLocal8Bit(copyTo));
            QFile::copy(full, QString::fromLocal8Bit(copyTo));
        }
    }

    static void write(const QString& path, const QByteArray& bytes)
    {
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly) || f.write(bytes) != bytes.size())
            std::abort();
    }
};

Files& files()
{
    static Files f;
    return f;
}

std::unique_ptr<DataDocument> openDocument(const QString& path)
{
    auto doc = std::make_unique<DataDocument>();
    doc->OpenNew(DataDocument::KindBeforeOpen);
    if (!doc->OpenFile(path))
        return nullptr;
    return doc;
}

// OpenNew and OpenFile of a 32767-row realtime file: copy to the work file, read, parse,
// classify and accumulate every reading, statistics and chart.
void BM_OpenRealtimeFile(benchmark::State& state)
{
    const QString path = files().full;
    for (auto _ : state) {
        auto doc = openDocument(path);
        if (!doc || doc->GetDatacount() != MaxReadings) {
            state.SkipWithError("open failed");
            break;
        }
        benchmark::DoNotOptimize(doc.get());
    }
}
BENCHMARK(BM_OpenRealtimeFile)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// SaveFile of the same document into another folder: work file written and synced, copied
// beside the target, synced, renamed over it.
void BM_SaveRealtimeFile(benchmark::State& state)
{
    auto doc = openDocument(files().full);
    const QString target = QDir(files().documents).filePath(QStringLiteral("saved.CSV"));
    for (auto _ : state) {
        if (!doc || !doc->SaveFile(target)) {
            state.SkipWithError("save failed");
            break;
        }
    }
}
BENCHMARK(BM_SaveRealtimeFile)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// The same with the target in the program folder: the synced work file is renamed over
// it, no copy beside the target.
void BM_SaveRealtimeFileSameFolder(benchmark::State& state)
{
    auto doc = openDocument(files().full);
    const QString target = QDir(files().program).filePath(QStringLiteral("saved.CSV"));
    for (auto _ : state) {
        if (!doc || !doc->SaveFile(target)) {
            state.SkipWithError("save failed");
            break;
        }
    }
}
BENCHMARK(BM_SaveRealtimeFileSameFolder)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// One AddGridrow + AddRealtimedata into a document of 32766 readings whose chart shows
// 32767 points: grid row, statistics, scroll range, chart window and its automatic scale.
void BM_AddRealtimedataFullChart(benchmark::State& state)
{
    for (auto _ : state) {
        state.PauseTiming();
        auto doc = openDocument(files().almostFull);
        if (!doc || doc->graphCount() != MaxReadings) {
            state.SkipWithError("setup failed");
            break;
        }
        state.ResumeTiming();
        const bool ok = doc->AddGridrow();
        doc->AddRealtimedata(QStringLiteral("09:06:06"), QStringLiteral("1.234E-3"), QStringLiteral("VDC"), true,
                             QStringLiteral("1.234E-3"));
        state.PauseTiming();
        if (!ok || doc->GetDatacount() != MaxReadings || doc->chart().shownCount != MaxReadings) {
            state.SkipWithError("add failed");
            break;
        }
        doc.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_AddRealtimedataFullChart)->Unit(benchmark::kMicrosecond)->Iterations(300);

// --- Limits ---------------------------------------------------------------------------------------

// Limits that the generated readings fall on both sides of (millivolts and volts, -5 .. +5).
Limits benchLimits()
{
    Limits limits;
    limits.upper = 2.5;
    limits.lower = -1.5E-3;
    limits.unit = QStringLiteral("VDC");
    return limits;
}

// The judgement of one reading as the Monitor, the CLI and publishing judge it: the DATA
// text and the unit word, from the program's own (UTF-16) texts. Eight typical readings in
// turn; the time is per reading.
void BM_JudgeReading(benchmark::State& state)
{
    const Limits limits = benchLimits();
    const QString values[] = {QStringLiteral("1.234E-3"), QStringLiteral("-4.321"), QStringLiteral("2.500"),
                              QStringLiteral("+OL"),      QStringLiteral("ERROR"),  QStringLiteral("0.000E-3"),
                              QStringLiteral("3.1"),      QStringLiteral("-0.002")};
    const QString units[] = {QStringLiteral("VDC"), QStringLiteral("VDC"), QStringLiteral("VDC"), QStringLiteral("VDC"),
                             QString(),             QStringLiteral("VDC"), QStringLiteral("OHM"), QStringLiteral("VDC")};
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(judgeReading(limits, values[i], units[i]));
        i = (i + 1) % std::size(values);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_JudgeReading)->Unit(benchmark::kNanosecond);

// OpenFile of the full file with limits set: every row judged and counted while it is read.
void BM_OpenRealtimeFileWithLimits(benchmark::State& state)
{
    const QString path = files().full;
    for (auto _ : state) {
        auto doc = std::make_unique<DataDocument>();
        doc->OpenNew(DataDocument::KindBeforeOpen);
        doc->setLimits(benchLimits());
        if (!doc->OpenFile(path) || doc->judgementCounts().judged() == 0) {
            state.SkipWithError("open failed");
            break;
        }
        benchmark::DoNotOptimize(doc.get());
    }
}
BENCHMARK(BM_OpenRealtimeFileWithLimits)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// New limits on a full document: all 32767 rows judged again, the counts, the panel and the
// chart frame.
void BM_SetLimitsOnFullDocument(benchmark::State& state)
{
    auto doc = openDocument(files().full);
    Limits a = benchLimits();
    Limits b = a;
    b.upper = 1.0;
    bool flip = false;
    for (auto _ : state) {
        doc->setLimits((flip = !flip) ? a : b);
        benchmark::DoNotOptimize(doc->judgementCounts());
    }
}
BENCHMARK(BM_SetLimitsOnFullDocument)->Unit(benchmark::kMillisecond)->MinTime(1.0);

// A recording's rows as they come, one AddGridrow + AddRealtimedata each, into a new
// realtime document (the usual 20 points across the chart), 2000 rows per document:
// without limits (argument 0) and with limits (1), where each row is also judged, counted
// and its count shown. The time is per row.
void BM_AddRealtimeRows(benchmark::State& state)
{
    const bool withLimits = state.range(0) != 0;
    constexpr int RowsPerDocument = 2000;
    const QString times[] = {QStringLiteral("09:06:06"), QStringLiteral("09:06:07")};
    const QString values[] = {QStringLiteral("1.234E-3"), QStringLiteral("3.1"), QStringLiteral("-2.000"),
                              QStringLiteral("ERROR")};
    auto doc = std::make_unique<DataDocument>();
    int rows = RowsPerDocument;
    for (auto _ : state) {
        if (rows == RowsPerDocument) {
            state.PauseTiming();
            doc = std::make_unique<DataDocument>();
            doc->OpenNew(DataKinds::Realtime);
            if (withLimits)
                doc->setLimits(benchLimits());
            rows = 0;
            state.ResumeTiming();
        }
        const QString& value = values[rows % 4];
        const bool numeric = rows % 4 != 3;
        doc->AddGridrow();
        doc->AddRealtimedata(times[rows % 2], value, numeric ? QStringLiteral("VDC") : QString(), numeric, value);
        ++rows;
    }
    if (withLimits && doc->judgementCounts().judged() == 0)
        state.SkipWithError("nothing judged");
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_AddRealtimeRows)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond)->Iterations(20000);

// Memory of a full document over an empty one: heap bytes in use (glibc mallinfo2) after
// opening the full file minus after OpenNew alone, and the document's own count of the
// bytes its row buffers hold.
void BM_MemoryFullDocument(benchmark::State& state)
{
    long long heapDelta = 0;
    std::size_t modelBytes = 0;
    for (auto _ : state) {
        malloc_trim(0);
        const auto before = mallinfo2().uordblks;
        DataDocument empty;
        empty.OpenNew(DataDocument::KindBeforeOpen);
        const auto emptyHeap = mallinfo2().uordblks;
        auto doc = openDocument(files().full);
        const auto fullHeap = mallinfo2().uordblks;
        heapDelta = static_cast<long long>(fullHeap - emptyHeap) - static_cast<long long>(emptyHeap - before);
        modelBytes = doc ? doc->bytesHeld() : 0;
    }
    state.counters["heap_MB"] = static_cast<double>(heapDelta) / (1024.0 * 1024.0);
    state.counters["rows_MB"] = static_cast<double>(modelBytes) / (1024.0 * 1024.0);
}
BENCHMARK(BM_MemoryFullDocument)->Unit(benchmark::kMillisecond)->Iterations(3);

// Opens the full file once per line read from standard input and answers with the time the
// open took, in milliseconds: OpenNew and OpenFile, as in BM_OpenRealtimeFile, but without
// the document's destruction afterwards (the Python reader's time leaves out freeing its
// rows, too). bench/run_document_bench.sh drives it to time the open and a Python reader in
// alternation, one of each a few milliseconds apart.
int openOnRequest()
{
    const QString path = files().full;
    std::printf("ready\n");
    std::fflush(stdout);
    char request[64];
    while (std::fgets(request, sizeof request, stdin)) {
        const auto start = std::chrono::steady_clock::now();
        const auto doc = openDocument(path);
        const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
        if (!doc || doc->GetDatacount() != MaxReadings) {
            std::fprintf(stderr, "open failed\n");
            return 1;
        }
        std::printf("%.4f\n", took.count());
        std::fflush(stdout);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    files(); // generate the files before any timing
    if (argc == 2 && std::strcmp(argv[1], "--open-on-request") == 0)
        return openOnRequest();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
