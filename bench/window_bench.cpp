// Benchmarks of the data document window on the offscreen platform: one realtime reading
// added to a window whose document holds 32766 readings with all 32767 points across the
// chart, with the chart redrawn, and with everything the event loop then does for the
// window (chart, grid and status bars painted). Then the chart tools on a full document:
// one wheel step of zoom and one step of a drag, each from the event posted to the chart to
// the chart painted on the screen.

#include "document/ChartView.h"
#include "document/DataDocument.h"
#include "document/frmData.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"

#include <QApplication>
#include <QDir>
#include <QMouseEvent>
#include <QTemporaryDir>
#include <QWheelEvent>

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

// --- Chart tools ----------------------------------------------------------------------------------

// Counts the chart's paint events: an event handed to the chart has been answered once the
// chart has painted itself after it.
class PaintCounter : public QObject {
public:
    explicit PaintCounter(QWidget* widget) { widget->installEventFilter(this); }
    int paints = 0;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            ++paints;
        return false;
    }
};

// Posts the event to the chart and runs the event loop until the chart has painted.
bool deliverUntilPainted(QWidget* chart, PaintCounter& counter, QEvent* event)
{
    const int before = counter.paints;
    QCoreApplication::postEvent(chart, event);
    for (int pass = 0; pass < 1000 && counter.paints == before; ++pass)
        QCoreApplication::processEvents(QEventLoop::AllEvents);
    return counter.paints != before;
}

// A shown window of a full document: 32767 readings, all of them across the chart.
struct FullWindow : Window {
    FullWindow()
    {
        window.SetRealtimeCommands(false);
        addReading(*window.document(), MaxReadings - 1);
        window.chart()->refreshNow();
        QCoreApplication::processEvents();
    }
    ChartView* chart() { return window.chart(); }
    QPoint centre() { return chart()->axisRect()->rect().center(); }
};

QWheelEvent* wheelStep(QWidget* chart, const QPoint& at, int direction)
{
    return new QWheelEvent(at, chart->mapToGlobal(at), QPoint(), QPoint(0, 120 * direction), Qt::NoButton,
                           Qt::NoModifier, Qt::NoScrollPhase, false);
}

// One wheel step of zoom, in and out by turns, from the whole chart window of 32767 points
// (the densest drawing) to a window of 26214 points.
void BM_WheelZoomStepRepainted(benchmark::State& state)
{
    FullWindow w;
    PaintCounter counter(w.chart());
    int direction = 1;
    for (auto _ : state) {
        if (!deliverUntilPainted(w.chart(), counter, wheelStep(w.chart(), w.centre(), direction))) {
            state.SkipWithError("the chart did not paint");
            break;
        }
        direction = -direction;
    }
    state.counters["zoomed"] = w.chart()->zoom().isZoomed() ? 1 : 0;
}
BENCHMARK(BM_WheelZoomStepRepainted)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// One step of a drag (the mouse moved 20 pixels with the button down), back and forth, with
// a tenth of the 32767 points in view, and with all of them zoomed into by one wheel step.
void BM_DragStepRepainted(benchmark::State& state)
{
    FullWindow w;
    PaintCounter counter(w.chart());
    const QPoint at = w.centre();
    for (int i = 0; i < state.range(0); ++i)
        deliverUntilPainted(w.chart(), counter, wheelStep(w.chart(), at, 1));
    const auto mouse = [&](QEvent::Type type, const QPoint& p, Qt::MouseButtons buttons) {
        return new QMouseEvent(type, p, w.chart()->mapToGlobal(p), Qt::LeftButton, buttons, Qt::NoModifier);
    };
    QCoreApplication::postEvent(w.chart(), mouse(QEvent::MouseButtonPress, at, Qt::LeftButton));
    // Past the drag distance first, so that every step afterwards moves the view.
    deliverUntilPainted(w.chart(), counter, mouse(QEvent::MouseMove, at + QPoint(40, 0), Qt::LeftButton));
    int step = 20;
    QPoint position = at + QPoint(40, 0);
    for (auto _ : state) {
        position += QPoint(step, 0);
        if (!deliverUntilPainted(w.chart(), counter, mouse(QEvent::MouseMove, position, Qt::LeftButton))) {
            state.SkipWithError("the chart did not paint");
            break;
        }
        step = -step;
    }
    QCoreApplication::postEvent(w.chart(), mouse(QEvent::MouseButtonRelease, position, Qt::NoButton));
    QCoreApplication::processEvents();
    state.counters["pointsInView"] = w.chart()->xAxis->range().size();
}
BENCHMARK(BM_DragStepRepainted)->Arg(10)->Arg(1)->Unit(benchmark::kMillisecond)->MinTime(2.0);

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
