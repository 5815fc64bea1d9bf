// Benchmarks of the data document window on the offscreen platform: one realtime reading
// added to a window whose document holds 32766 readings with all 32767 points across the
// chart, with the chart redrawn, and with everything the event loop then does for the
// window (chart, grid and status bars painted).

#include "document/ChartView.h"
#include "document/DataDocument.h"
#include "document/frmData.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"

#include <QApplication>
#include <QDir>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>

using namespace quvo;

namespace {

QString timeText(int second)
{
    const int t = second % 86400;
    return QStringLiteral("%1:%2:%3")
        .arg(t / 3600, 2, 10, QLatin1Char('0'))
        .arg(t / 60 % 60, 2, 10, QLatin1Char('0'))
        .arg(t % 60, 2, 10, QLatin1Char('0'));
}

// Millivolt readings of a slow wave with an "ERROR" now and then, as a recording makes them.
QString valueText(int i)
{
    if (i % 100 == 99)
        return ErrorReading;
    const int milli = (i * 37) % 5000 - 2500;
    return QString::number(milli / 1000.0, 'f', 3) + QStringLiteral("E-3");
}

void addReading(DataDocument& doc, int i)
{
    doc.AddGridrow();
    const QString value = valueText(i);
    doc.AddRealtimedata(timeText(i), value, QStringLiteral("VDC"), DataDocument::IsReadingValue(value), value);
}

// The data file of a realtime document of 32766 readings showing 32767 points.
struct AlmostFull {
    QTemporaryDir dir;
    QString path;

    AlmostFull()
    {
        programState().WorkPath = QDir(dir.path()).filePath(WorkFileName);
        path = QDir(dir.path()).filePath(QStringLiteral("almost.CSV"));
        DataDocument doc;
        doc.OpenNew(DataKinds::Realtime);
        doc.SetGraphcount(MaxReadings);
        for (int i = 0; i < MaxReadings - 1; ++i)
            addReading(doc, i);
        doc.PaintGraphtop();
        if (!doc.SaveFile(path) || doc.GetDatacount() != MaxReadings - 1) {
            std::fprintf(stderr, "cannot write %s: %s\n", qPrintable(path), qPrintable(programState().LastError));
            std::abort();
        }
    }
};

AlmostFull& almostFull()
{
    static AlmostFull f;
    return f;
}

// A shown document window, 1200 × 700 pixels, holding the almost full document.
struct Window {
    frmData window;

    Window()
    {
        window.resize(1200, 700);
        window.show();
        window.SetRealtimeCommands(true);
        reload();
    }

    void reload()
    {
        DataDocument* doc = window.document();
        doc->OpenNew(DataDocument::KindBeforeOpen);
        if (!doc->OpenFile(almostFull().path) || doc->graphCount() != MaxReadings
            || doc->GetDatacount() != MaxReadings - 1)
            std::abort();
        QCoreApplication::processEvents(); // the window settles before timing
    }
};

bool full(const frmData& window)
{
    return window.document()->GetDatacount() == MaxReadings && window.document()->chart().shownCount == MaxReadings;
}

// AddGridrow + AddRealtimedata (grid row, statistics, chart window, grid scrolled to the
// new row, chart data taken) and the chart redrawn at once.
void BM_AddRealtimedataChartRedraw(benchmark::State& state)
{
    Window w;
    for (auto _ : state) {
        state.PauseTiming();
        w.reload();
        state.ResumeTiming();
        addReading(*w.window.document(), MaxReadings - 1);
        w.window.chart()->replot(QCustomPlot::rpImmediateRefresh);
        state.PauseTiming();
        if (!full(w.window)) {
            state.SkipWithError("add failed");
            break;
        }
        state.ResumeTiming();
    }
}
BENCHMARK(BM_AddRealtimedataChartRedraw)->Unit(benchmark::kMillisecond)->Iterations(60);

// The same, then everything the event loop does for the window: the queued chart redraw,
// the grid's layout and the painting of every changed control.
void BM_AddRealtimedataWindowPainted(benchmark::State& state)
{
    Window w;
    for (auto _ : state) {
        state.PauseTiming();
        w.reload();
        state.ResumeTiming();
        addReading(*w.window.document(), MaxReadings - 1);
        QCoreApplication::processEvents();
        state.PauseTiming();
        if (!full(w.window)) {
            state.SkipWithError("add failed");
            break;
        }
        state.ResumeTiming();
    }
}
BENCHMARK(BM_AddRealtimedataWindowPainted)->Unit(benchmark::kMillisecond)->Iterations(60);

// AddGridrow + AddRealtimedata alone, with the window's grid, scroll bar, panels and chart
// taking the change (the chart's redraw is queued and not run).
void BM_AddRealtimedataNoRedraw(benchmark::State& state)
{
    Window w;
    for (auto _ : state) {
        state.PauseTiming();
        w.reload();
        state.ResumeTiming();
        addReading(*w.window.document(), MaxReadings - 1);
        state.PauseTiming();
        if (!full(w.window)) {
            state.SkipWithError("add failed");
            break;
        }
        state.ResumeTiming();
    }
}
BENCHMARK(BM_AddRealtimedataNoRedraw)->Unit(benchmark::kMillisecond)->Iterations(60);

// A chart redraw alone with 32767 points across it (the scroll bar's redraw).
void BM_ChartRedraw32767Points(benchmark::State& state)
{
    Window w;
    addReading(*w.window.document(), MaxReadings - 1);
    for (auto _ : state) {
        w.window.chart()->refreshNow();
    }
}
BENCHMARK(BM_ChartRedraw32767Points)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// Its two halves: the chart taking the document's frame (data and axes) ...
void BM_ChartTakesTheFrame(benchmark::State& state)
{
    Window w;
    addReading(*w.window.document(), MaxReadings - 1);
    for (auto _ : state)
        w.window.chart()->refresh(); // the redraw itself is queued and never run here
}
BENCHMARK(BM_ChartTakesTheFrame)->Unit(benchmark::kMillisecond)->MinTime(1.0);

// ... and the drawing.
void BM_ChartDraws(benchmark::State& state)
{
    Window w;
    addReading(*w.window.document(), MaxReadings - 1);
    w.window.chart()->refreshNow();
    for (auto _ : state)
        w.window.chart()->replot(QCustomPlot::rpImmediateRefresh);
}
BENCHMARK(BM_ChartDraws)->Unit(benchmark::kMillisecond)->MinTime(1.0);


} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    almostFull(); // the data file before any timing
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
