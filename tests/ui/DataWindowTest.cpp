// The data document window: grid, chart, scroll bar, status bars and progress bar over a
// document, its layout, its close question and its seams to the main window.

#include "UiTestSupport.h"

#include "app/DarkPalette.h"
#include "document/ChartColours.h"
#include "document/ChartView.h"
#include "document/DataDocument.h"
#include "document/DocumentTableModel.h"
#include "document/frmData.h"
#include "resources/Constant.h"
#include "resources/ResID.h"
#include "resources/TextNumber.h"
#include "resources/Twips.h"
#include "support/ScriptedPrompter.h"
#include "support/TestHelpers.h"

#include <QHeaderView>
#include <QImage>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QProgressBar>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTableView>
#include <QTemporaryDir>

#include <cmath>
#include <memory>

using namespace quvo;
using namespace quvo::test;

namespace {

QString timeOf(int i)
{
    return QStringLiteral("10:%1:%2").arg(i / 60 % 60, 2, 10, QLatin1Char('0')).arg(i % 60, 2, 10, QLatin1Char('0'));
}

class DataWindowTest : public UiTest {
protected:
    void SetUp() override
    {
        UiTest::SetUp();
        window = std::make_unique<frmData>();
        window->setPrompter(&prompter);
        doc = window->document();
    }
    void TearDown() override
    {
        window.reset();
        UiTest::TearDown();
    }

    // A realtime reading as acquisition adds it; value(i) gives the i-th value text.
    void addReading(int i, const QString& value)
    {
        ASSERT_TRUE(doc->AddGridrow());
        const bool numeric = DataDocument::IsReadingValue(value);
        doc->AddRealtimedata(timeOf(i), value, QStringLiteral("VDC"), numeric, value);
    }
    void addReadings(int count)
    {
        for (int i = 1; i <= count; ++i)
            addReading(i, QString::number(i));
    }

    template <class T>
    T* child(const char* name) const
    {
        return window->findChild<T*>(QString::fromLatin1(name));
    }

    // Pixels of the chart's grab in one column, between two rows, that have the colour of
    // series 1 (mostly blue).
    static int linePixels(const QImage& image, int x, int top, int bottom)
    {
        int count = 0;
        for (int y = std::max(0, top); y <= std::min(image.height() - 1, bottom); ++y) {
            const QColor c = image.pixelColor(x, y);
            if (c.blue() > 180 && c.red() < 120 && c.green() < 120)
                ++count;
        }
        return count;
    }

    // The minor divisions (grid lines) the axis's ticker makes for its present range.
    static QVector<double> subTicks(QCPAxis* axis)
    {
        QVector<double> ticks, subs;
        QVector<QString> labels;
        axis->ticker()->generate(axis->range(), QLocale::c(), QLatin1Char('g'), 6, ticks, &subs, &labels);
        return subs;
    }

    ScriptedPrompter prompter;
    std::unique_ptr<frmData> window;
    DataDocument* doc = nullptr;
};

} // namespace

TEST_F(DataWindowTest, ControlsAreFoundByTheirNames)
{
    ASSERT_NE(child<QTableView>("fgData"), nullptr);
    ASSERT_NE(child<QCustomPlot>("chData"), nullptr);
    ASSERT_NE(child<QScrollBar>("sbData"), nullptr);
    ASSERT_NE(child<QProgressBar>("pbData"), nullptr);
    for (const char* bar : {"stBar1", "stBar2", "stBar3"})
        EXPECT_NE(child<QWidget>(bar), nullptr) << bar;
    EXPECT_EQ(window->grid(), child<QTableView>("fgData"));
    EXPECT_EQ(window->chart(), child<QCustomPlot>("chData"));
}

TEST_F(DataWindowTest, StatusPanelsHaveTheirKeysAndFixedCaptions)
{
    doc->OpenNew(DataKinds::Realtime);
    const struct {
        const char* bar;
        const char* key;
        const char* caption; // nullptr: none
    } panels[] = {
        {"stBar1", "Label", nullptr},     {"stBar1", "Max", "MAX "},      {"stBar2", "Interval", "INTERVAL "},
        {"stBar2", "Min", "MIN "},        {"stBar3", "Period", "PERIOD "}, {"stBar3", "Avg", "AVG "},
        {"stBar3", "X", "X axis "},       {"stBar3", "Y", "Y axis "},
    };
    for (const auto& p : panels) {
        SCOPED_TRACE(p.key);
        QWidget* bar = child<QWidget>(p.bar);
        ASSERT_NE(bar, nullptr);
        auto* value = bar->findChild<QLabel*>(QString::fromLatin1(p.key));
        ASSERT_NE(value, nullptr);
        EXPECT_EQ(value, window->panel(QString::fromLatin1(p.key)));
        EXPECT_EQ(value->text(), doc->panelText(QString::fromLatin1(p.key)));
        if (p.caption) {
            auto* caption = bar->findChild<QLabel*>(QString::fromLatin1(p.key) + QStringLiteral("Caption"));
            ASSERT_NE(caption, nullptr);
            EXPECT_EQ(caption->text(), QString::fromLatin1(p.caption));
        }
    }
    EXPECT_EQ(window->panel(QStringLiteral("Label"))->text(), QStringLiteral("REALTIME DATA"));
    EXPECT_EQ(window->panel(QStringLiteral("Interval"))->text(), QStringLiteral("00d +00h +00m +05s"));
    EXPECT_EQ(window->panel(QStringLiteral("X"))->text(), QStringLiteral("Automatic"));
    EXPECT_EQ(window->panel(QStringLiteral("Y"))->text(), QStringLiteral("Automatic"));

    addReadings(3);
    EXPECT_FALSE(window->panel(QStringLiteral("Max"))->text().isEmpty());
    EXPECT_EQ(window->panel(QStringLiteral("Max"))->text(), doc->GetDispmax(true));
    EXPECT_EQ(window->panel(QStringLiteral("Avg"))->text(), doc->GetDispavg());
}

TEST_F(DataWindowTest, TheGridShowsHeadingsLabelsAndReadings)
{
    doc->OpenNew(DataKinds::Realtime);
    QTableView* grid = window->grid();
    QAbstractItemModel* model = grid->model();
    EXPECT_EQ(model->rowCount(), 20);
    EXPECT_EQ(model->headerData(0, Qt::Horizontal).toString(), QStringLiteral("TIME"));
    EXPECT_EQ(model->headerData(1, Qt::Horizontal).toString(), QStringLiteral("DATA"));
    EXPECT_EQ(model->headerData(2, Qt::Horizontal).toString(), QStringLiteral("MODE"));
    EXPECT_EQ(static_cast<DocumentTableModel*>(model)->cornerText(), QStringLiteral("No."));
    for (int r = 0; r < 20; ++r)
        EXPECT_EQ(model->headerData(r, Qt::Vertical).toString(), QString::number(r + 1));
    addReading(1, QStringLiteral("1.5"));
    EXPECT_EQ(model->data(model->index(0, 0)).toString(), timeOf(1));
    EXPECT_EQ(model->data(model->index(0, 1)).toString(), QStringLiteral("1.5"));
    EXPECT_EQ(model->data(model->index(0, 2)).toString(), QStringLiteral("VDC"));
}

TEST_F(DataWindowTest, ANewDocumentPutsTheCurrentCellAtRowOneColumnOne)
{
    doc->OpenNew(DataKinds::Realtime);
    window->grid()->setCurrentIndex(window->grid()->model()->index(7, 2));
    doc->OpenNew(DataKinds::Logging);
    const QModelIndex current = window->grid()->currentIndex();
    EXPECT_EQ(DocumentTableModel::gridRow(current.row()), 1);
    EXPECT_EQ(current.column() + 1, 1); // the TIME column is grid column 1
}

TEST_F(DataWindowTest, ResizingLaysTheControlsOutInTwips)
{
    doc->OpenNew(DataKinds::Realtime);
    window->resize(900, 600);
    window->show();
    ASSERT_TRUE(waitFor([&] { return window->size() == QSize(900, 600); }));
    const double dpiX = window->logicalDpiX();
    const double dpiY = window->logicalDpiY();
    const double w = pixelsToTwips(900, dpiX);
    const double h = pixelsToTwips(600, dpiY);
    const DocumentDesign& d = window->design();

    const double gridHeight = h - d.gridTop - 480;
    const double chartWidth = w - d.chartLeft - 240;
    const QRect grid = window->grid()->geometry();
    EXPECT_EQ(grid.left(), twipsToPixels(d.gridLeft, dpiX));
    EXPECT_EQ(grid.top(), twipsToPixels(d.gridTop, dpiY));
    EXPECT_EQ(grid.width(), twipsToPixels(d.gridWidth, dpiX));
    EXPECT_EQ(grid.height(), twipsToPixels(gridHeight, dpiY));
    const QRect chart = window->chart()->geometry();
    EXPECT_EQ(chart.left(), twipsToPixels(d.chartLeft, dpiX));
    EXPECT_EQ(chart.height(), twipsToPixels(gridHeight, dpiY));
    EXPECT_EQ(chart.width(), twipsToPixels(chartWidth, dpiX));
    const QRect scroll = window->scrollBar()->geometry();
    EXPECT_EQ(scroll.top(), twipsToPixels(d.chartTop + gridHeight, dpiY)); // directly under the chart
    EXPECT_EQ(scroll.left(), chart.left());
    EXPECT_EQ(scroll.width(), chart.width());
    // The normal size was remembered for the data file.
    EXPECT_FLOAT_EQ(doc->windowWidth(), static_cast<float>(w));
    EXPECT_FLOAT_EQ(doc->windowHeight(), static_cast<float>(h));

    // The status bars stay above the grid.
    for (const char* bar : {"stBar1", "stBar2", "stBar3"})
        EXPECT_LE(child<QWidget>(bar)->geometry().bottom(), grid.top()) << bar;
}

TEST_F(DataWindowTest, FifteenReadingsOnTwentyPointsLeaveFiveEmptyPoints)
{
    doc->OpenNew(DataKinds::Realtime);
    addReadings(15);
    window->resize(2600, 700); // room for every label
    window->show();
    window->chart()->refreshNow();

    QCPGraph* line = window->chart()->series(1);
    const auto data = line->data();
    ASSERT_EQ(data->size(), 20);
    for (int p = 1; p <= 20; ++p) {
        const auto point = data->at(p - 1);
        EXPECT_EQ(point->key, p);
        if (p <= 15)
            EXPECT_EQ(point->value, p) << p;
        else
            EXPECT_TRUE(std::isnan(point->value)) << p;
    }
    // One label per point: the readings' times, then empty labels.
    const QVector<double> ticks = window->chart()->xAxis->tickVector();
    const QVector<QString> labels = window->chart()->xAxis->tickVectorLabels();
    ASSERT_EQ(ticks.size(), 20);
    for (int p = 1; p <= 20; ++p) {
        EXPECT_EQ(ticks.at(p - 1), p);
        EXPECT_EQ(labels.at(p - 1), p <= 15 ? timeOf(p) : QString()) << p;
    }
    EXPECT_FALSE(window->scrollBar()->isEnabled());
}

TEST_F(DataWindowTest, TheScrollBarSlidesTheWindowOverTheReadings)
{
    doc->OpenNew(DataKinds::Realtime);
    addReadings(25);
    window->resize(2600, 700);
    window->show();
    QScrollBar* bar = window->scrollBar();
    EXPECT_TRUE(bar->isEnabled());
    EXPECT_EQ(bar->minimum(), 0);
    EXPECT_EQ(bar->maximum(), 5);
    EXPECT_EQ(bar->value(), 5); // the recording followed the newest reading

    const auto shownFrom = [&](int first) {
        window->chart()->refreshNow();
        const auto data = window->chart()->series(1)->data();
        ASSERT_EQ(data->size(), 20);
        for (int p = 1; p <= 20; ++p)
            EXPECT_EQ(data->at(p - 1)->value, first + p - 1) << p;
        const QVector<QString> labels = window->chart()->xAxis->tickVectorLabels();
        ASSERT_EQ(labels.size(), 20);
        EXPECT_EQ(labels.first(), timeOf(first));
        EXPECT_EQ(labels.last(), timeOf(first + 19));
    };

    bar->setValue(0); // as the user drags it
    EXPECT_EQ(doc->scrollRange().value, 0);
    shownFrom(1);
    bar->setValue(bar->maximum());
    EXPECT_EQ(doc->scrollRange().value, 5);
    shownFrom(6); // readings 6 to 25
}

TEST_F(DataWindowTest, AnErrorReadingBreaksTheLineWhileTheMarkersStay)
{
    doc->OpenNew(DataKinds::Realtime);
    doc->SetAxisY(false, QStringLiteral("0"), QStringLiteral("10"), 5, 1);
    for (int i = 1; i <= 20; ++i)
        addReading(i, i == 10 ? QStringLiteral("ERROR") : (i % 2 ? QStringLiteral("4") : QStringLiteral("6")));
    window->resize(1600, 700);
    window->show();
    ChartView* chart = window->chart();
    chart->refreshNow();

    // The data: a NaN at point 10, the MAX and MIN series at every point.
    const auto line = chart->series(1)->data();
    ASSERT_EQ(line->size(), 20);
    EXPECT_TRUE(std::isnan(line->at(9)->value));
    EXPECT_EQ(line->at(8)->value, 4);
    EXPECT_EQ(line->at(10)->value, 4);
    ASSERT_TRUE(chart->series(2)->visible());
    ASSERT_TRUE(chart->series(3)->visible());
    const auto max = chart->series(2)->data();
    const auto min = chart->series(3)->data();
    ASSERT_EQ(max->size(), 20);
    ASSERT_EQ(min->size(), 20);
    for (int p = 1; p <= 20; ++p) {
        EXPECT_EQ(max->at(p - 1)->value, 6) << p;
        EXPECT_EQ(min->at(p - 1)->value, 4) << p;
    }
    EXPECT_EQ(chart->series(2)->lineStyle(), QCPGraph::lsNone);
    EXPECT_EQ(chart->series(3)->lineStyle(), QCPGraph::lsNone);
    EXPECT_EQ(chart->series(1)->pen().widthF(), 2);

    // The picture: between points 9 and 11 no line is drawn; elsewhere it is.
    const QImage image = chart->grab().toImage();
    const int top = static_cast<int>(chart->yAxis->coordToPixel(6.5));
    const int bottom = static_cast<int>(chart->yAxis->coordToPixel(3.5));
    const auto column = [&](double key) { return static_cast<int>(std::lround(chart->xAxis->coordToPixel(key))); };
    EXPECT_GT(linePixels(image, column(3.5), top, bottom), 0);
    EXPECT_GT(linePixels(image, column(8.5), top, bottom), 0);
    EXPECT_EQ(linePixels(image, column(9.5), top, bottom), 0);
    EXPECT_EQ(linePixels(image, column(10.5), top, bottom), 0);
    EXPECT_GT(linePixels(image, column(11.5), top, bottom), 0);
    // The MAX marker is drawn at point 10 as at every other point.
    const auto redAround = [&](double key, double value) {
        const int x = column(key);
        const int y = static_cast<int>(std::lround(chart->yAxis->coordToPixel(value)));
        int count = 0;
        for (int dx = -4; dx <= 4; ++dx)
            for (int dy = -4; dy <= 4; ++dy) {
                const QColor c = image.pixelColor(x + dx, y + dy);
                if (c.red() > 180 && c.green() < 100 && c.blue() < 100)
                    ++count;
            }
        return count;
    };
    EXPECT_GT(redAround(10, 6), 0);
    EXPECT_GT(redAround(1, 6), 0);
    EXPECT_EQ(redAround(9.5, 6), 0);
}

TEST_F(DataWindowTest, ThinnedDataKeepsItsGaps)
{
    // Many more points than pixels: the line is drawn per pixel column, and a gap still
    // breaks it.
    doc->OpenNew(DataKinds::Realtime);
    doc->SetGraphcount(4000);
    doc->SetAxisY(false, QStringLiteral("0"), QStringLiteral("10"), 5, 1);
    for (int i = 1; i <= 4000; ++i)
        addReading(i, (i >= 1950 && i <= 2050) ? QStringLiteral("ERROR") : QStringLiteral("5"));
    doc->PaintGraphtop();
    window->resize(1000, 600);
    window->show();
    ChartView* chart = window->chart();
    chart->refreshNow();
    ASSERT_LT(chart->axisRect()->width(), 2000); // so the thinning is in use

    const QImage image = chart->grab().toImage();
    const int y = static_cast<int>(std::lround(chart->yAxis->coordToPixel(5)));
    const auto column = [&](double key) { return static_cast<int>(std::lround(chart->xAxis->coordToPixel(key))); };
    EXPECT_GT(linePixels(image, column(1000), y - 3, y + 3), 0);
    EXPECT_EQ(linePixels(image, column(2000), y - 3, y + 3), 0);
    EXPECT_GT(linePixels(image, column(3000), y - 3, y + 3), 0);
}

namespace {
// Series 1's line data as the chart draws it.
class LineProbe : public GapGraph {
public:
    using GapGraph::GapGraph;
    QVector<QCPGraphData> lineData()
    {
        QVector<QCPGraphData> out;
        getOptimizedLineData(&out, data()->constBegin(), data()->constEnd());
        return out;
    }
};
} // namespace

TEST_F(DataWindowTest, EverySingleGapSurvivesThinning)
{
    QCustomPlot plot;
    plot.resize(400, 300);
    auto* probe = new LineProbe(plot.xAxis, plot.yAxis);
    QVector<QCPGraphData> points;
    for (int i = 1; i <= 10000; ++i)
        points.append(QCPGraphData(i, (i == 5000 || i == 7777) ? qQNaN() : (i % 7)));
    probe->data()->set(points, true);
    plot.xAxis->setRange(0.5, 10000.5);
    plot.yAxis->setRange(-1, 8);
    plot.replot();
    const QVector<QCPGraphData> drawn = probe->lineData();
    ASSERT_LT(drawn.size(), 5000); // thinned
    int gaps = 0;
    for (const QCPGraphData& d : drawn)
        gaps += std::isnan(d.value) ? 1 : 0;
    EXPECT_EQ(gaps, 2);
    // Each pixel column keeps its lowest and highest value.
    double low = 100, high = -100;
    for (const QCPGraphData& d : drawn) {
        if (!std::isnan(d.value)) {
            low = std::min(low, d.value);
            high = std::max(high, d.value);
        }
    }
    EXPECT_EQ(low, 0);
    EXPECT_EQ(high, 6);
}

TEST_F(DataWindowTest, CustomYLabelsFollowTheDocumentsFormat)
{
    doc->OpenNew(DataKinds::Realtime);
    addReadings(3);
    window->resize(1200, 700);
    window->show();
    ChartView* chart = window->chart();

    doc->SetAxisY(false, QStringLiteral("0.001"), QStringLiteral("0.005"), 4, 2);
    chart->refreshNow();
    EXPECT_EQ(chart->yAxis->range().lower, 0.001);
    EXPECT_EQ(chart->yAxis->range().upper, 0.005);
    EXPECT_EQ(chart->yAxis->tickVectorLabels(),
              (QVector<QString>{QStringLiteral("1.0E-3"), QStringLiteral("2.0E-3"), QStringLiteral("3.0E-3"),
                                QStringLiteral("4.0E-3"), QStringLiteral("5.0E-3")}));
    EXPECT_EQ(subTicks(chart->yAxis).size(), 4); // one minor division inside each major one

    doc->SetAxisY(false, QStringLiteral("0"), QStringLiteral("10"), 5, 1);
    chart->refreshNow();
    EXPECT_EQ(chart->yAxis->tickVectorLabels(),
              (QVector<QString>{QStringLiteral("0.0"), QStringLiteral("2.0"), QStringLiteral("4.0"),
                                QStringLiteral("6.0"), QStringLiteral("8.0"), QStringLiteral("10.0")}));
    EXPECT_TRUE(subTicks(chart->yAxis).isEmpty());
}

TEST_F(DataWindowTest, AutomaticYUsesTheDocumentsScale)
{
    doc->OpenNew(DataKinds::Realtime);
    addReadings(7);
    window->resize(1200, 700);
    window->show();
    window->chart()->refreshNow();
    EXPECT_EQ(window->chart()->yAxis->range().lower, doc->chart().yMinimum);
    EXPECT_EQ(window->chart()->yAxis->range().upper, doc->chart().yMaximum);
    EXPECT_FALSE(window->chart()->yAxis->tickVectorLabels().isEmpty());
}

TEST_F(DataWindowTest, TheChartIsDrawnOnWhiteWithALightGreyDottedMinorGrid)
{
    ChartView* chart = window->chart();
    EXPECT_EQ(chart->axisRect()->backgroundBrush().color(), QColor(Qt::white));
    EXPECT_EQ(chart->yAxis->grid()->subGridPen().color(), QColor(200, 200, 200));
    EXPECT_EQ(chart->yAxis->grid()->subGridPen().style(), Qt::DotLine);
    EXPECT_TRUE(chart->yAxis->grid()->subGridVisible());
}

TEST_F(DataWindowTest, ManyPointsGetLabelsThatDoNotOverlap)
{
    doc->OpenNew(DataKinds::Realtime);
    doc->SetGraphcount(32767);
    addReadings(500);
    doc->PaintGraphtop();
    window->resize(1200, 600);
    window->show();
    ChartView* chart = window->chart();
    chart->refreshNow();
    const QVector<double> ticks = chart->xAxis->tickVector();
    ASSERT_GE(ticks.size(), 2);
    const double spacing = chart->xAxis->coordToPixel(ticks.at(1)) - chart->xAxis->coordToPixel(ticks.at(0));
    const int labelWidth = QFontMetrics(chart->xAxis->tickLabelFont()).horizontalAdvance(timeOf(1));
    EXPECT_GT(spacing, labelWidth);
    EXPECT_LT(ticks.size(), chart->axisRect()->width() / labelWidth + 2);
}

TEST_F(DataWindowTest, AManualXAxisLabelsEveryNthCategory)
{
    doc->OpenNew(DataKinds::Realtime);
    addReadings(20);
    doc->SetAxisX(false, 5, 2);
    window->resize(2600, 700);
    window->show();
    window->chart()->refreshNow();
    EXPECT_EQ(window->chart()->xAxis->tickVector(), (QVector<double>{1, 6, 11, 16}));
    EXPECT_EQ(window->chart()->xAxis->tickVectorLabels(),
              (QVector<QString>{timeOf(1), timeOf(6), timeOf(11), timeOf(16)}));
    EXPECT_EQ(subTicks(window->chart()->xAxis), (QVector<double>{1, 3, 5, 7, 9, 11, 13, 15, 17, 19}));
}

TEST_F(DataWindowTest, ANewRealtimeRowThatIsNotVisibleBecomesTheTopRow)
{
    doc->OpenNew(DataKinds::Realtime);
    window->resize(900, 260);
    window->show();
    QTableView* grid = window->grid();
    const int rowHeight = grid->rowHeight(0);
    const int visibleRows = grid->viewport()->height() / rowHeight;
    ASSERT_GE(visibleRows, 2);
    ASSERT_LE(2 * visibleRows + 1, 20); // room below for the new row to be the top row

    const int first = visibleRows + 1; // the first row that does not fit
    addReadings(first - 1);
    EXPECT_EQ(grid->rowAt(0), 0); // every new row so far was visible: no scrolling
    addReading(first, QStringLiteral("1"));
    EXPECT_EQ(grid->rowAt(0), first - 1); // the new row is the top row
    // Past the prefilled rows every new row is the last one: it is scrolled into view.
    for (int i = first + 1; i <= 60; ++i) {
        addReading(i, QStringLiteral("1"));
        const int r = i - 1;
        const int y = grid->rowViewportPosition(r);
        EXPECT_GE(y, 0) << i;
        EXPECT_LE(y + grid->rowHeight(r), grid->viewport()->height()) << i;
    }
}

TEST_F(DataWindowTest, RecordingShowsTheProgressBarAndLocksTheScrollBar)
{
    doc->OpenNew(DataKinds::Realtime);
    addReadings(25);
    window->show();
    EXPECT_FALSE(window->progressBar()->isVisible());
    EXPECT_TRUE(window->scrollBar()->isEnabled());

    doc->IniProgress(10);
    window->SetRealtimeCommands(true);
    EXPECT_TRUE(window->progressBar()->isVisible());
    EXPECT_FALSE(window->scrollBar()->isEnabled());
    EXPECT_EQ(window->progressBar()->maximum(), 10);
    addReading(26, QStringLiteral("1"));
    addReading(27, QStringLiteral("1"));
    EXPECT_EQ(window->progressBar()->value(), 2);
    EXPECT_FALSE(window->scrollBar()->isEnabled()); // still, as the chart follows

    window->SetRealtimeCommands(false);
    EXPECT_FALSE(window->progressBar()->isVisible());
    EXPECT_TRUE(window->scrollBar()->isEnabled());
}

TEST_F(DataWindowTest, ClosingAChangedDocumentDuringARecordingDoesNothing)
{
    doc->OpenNew(DataKinds::Realtime);
    addReadings(2);
    window->show();
    programState().CommState = CommStates::Realtime;
    EXPECT_FALSE(window->close());
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(prompter.messages.isEmpty());
}

TEST_F(DataWindowTest, ClosingAChangedDocumentWhenIdleAsksOnce)
{
    doc->OpenNew(DataKinds::Realtime);
    addReadings(2);
    window->show();
    prompter.answers = {PromptAnswer::Cancel, PromptAnswer::No};
    EXPECT_FALSE(window->close()); // Cancel keeps it
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_EQ(prompter.messages.first().text,
              doc->caption() + CrLf + QStringLiteral("Do you want to save the changes you made to this file?"));
    EXPECT_EQ(prompter.messages.first().buttons, PromptButtons::YesNoCancel);
    EXPECT_EQ(prompter.messages.first().icon, PromptIcon::Exclamation);

    EXPECT_TRUE(window->close()); // No lets it close
    EXPECT_EQ(prompter.messages.size(), 2);
}

TEST_F(DataWindowTest, YesRunsTheMainWindowsSaveAndClosesOnlyWhenSaved)
{
    doc->OpenNew(DataKinds::Realtime);
    addReadings(1);
    window->show();
    int saves = 0;
    window->setSaveAction([&saves] { ++saves; }); // a save that was cancelled
    prompter.answers = {PromptAnswer::Yes};
    EXPECT_FALSE(window->close());
    EXPECT_EQ(saves, 1);
}

TEST_F(DataWindowTest, AnUnchangedDocumentClosesWithoutAQuestion)
{
    doc->OpenNew(DataKinds::Realtime);
    window->show();
    EXPECT_TRUE(window->close());
    EXPECT_TRUE(prompter.messages.isEmpty());
}

TEST_F(DataWindowTest, WithoutAPrompterUnsavedReadingsAreKept)
{
    doc->OpenNew(DataKinds::Realtime);
    addReadings(1);
    window->setPrompter(nullptr);
    window->show();
    EXPECT_FALSE(window->close());
}

TEST_F(DataWindowTest, ActivationAsksForTheDocumentButtons)
{
    QMdiArea area;
    area.resize(1200, 900);
    auto* realtime = new frmData;
    auto* saveMode = new frmData;
    realtime->setPrompter(&prompter);
    saveMode->setPrompter(&prompter);
    realtime->document()->OpenNew(DataKinds::Realtime);
    saveMode->document()->OpenNew(DataKinds::Save);
    QSignalSpy realtimeSpy(realtime, &frmData::documentButtonsRequested);
    QSignalSpy saveSpy(saveMode, &frmData::documentButtonsRequested);
    // What the main window shows, applied from the requests as they come.
    DocumentButtons shown;
    const auto apply = [&shown](bool enabled, int kind) { shown = documentButtons(enabled, kind); };
    QObject::connect(realtime, &frmData::documentButtonsRequested, &area, apply);
    QObject::connect(saveMode, &frmData::documentButtonsRequested, &area, apply);

    QMdiSubWindow* first = area.addSubWindow(realtime);
    QMdiSubWindow* second = area.addSubWindow(saveMode);
    area.show();
    first->show();
    second->show();
    area.setActiveSubWindow(first);
    ASSERT_TRUE(waitFor([&] { return area.activeSubWindow() == first; }));
    EXPECT_EQ(shown, documentButtons(true, DataKinds::Realtime));
    EXPECT_TRUE(shown.start);
    EXPECT_TRUE(shown.interval);

    area.setActiveSubWindow(second);
    ASSERT_TRUE(waitFor([&] { return area.activeSubWindow() == second; }));
    EXPECT_FALSE(shown.start);
    EXPECT_FALSE(shown.interval);
    EXPECT_TRUE(shown.save);
    EXPECT_TRUE(shown.forward);
    EXPECT_TRUE(shown.graph);
    ASSERT_FALSE(realtimeSpy.isEmpty());
    EXPECT_EQ(realtimeSpy.last().at(0).toBool(), false);
    EXPECT_EQ(realtimeSpy.last().at(1).toInt(), DataKinds::Realtime);

    // Closing the active window activates the other one; closing the last one leaves
    // nothing offered.
    second->close();
    EXPECT_TRUE(waitFor([&] { return shown == documentButtons(true, DataKinds::Realtime); }));
    EXPECT_EQ(saveSpy.last().at(0).toBool(), false);
    first->close();
    EXPECT_EQ(shown, DocumentButtons{});
    EXPECT_FALSE(saveSpy.isEmpty());
}

TEST_F(DataWindowTest, TheFramesStateAndNormalSizeReachTheDocument)
{
    QMdiArea area;
    area.resize(1400, 1000);
    auto* win = new frmData;
    win->document()->OpenNew(DataKinds::Realtime);
    QMdiSubWindow* sub = area.addSubWindow(win);
    area.show();
    sub->show();
    sub->resize(700, 500);
    ASSERT_TRUE(waitFor([&] { return sub->size() == QSize(700, 500); }));
    const QSize normal = win->size();
    const float normalWidth = static_cast<float>(pixelsToTwips(normal.width(), win->logicalDpiX()));
    const float normalHeight = static_cast<float>(pixelsToTwips(normal.height(), win->logicalDpiY()));
    EXPECT_FLOAT_EQ(win->document()->windowWidth(), normalWidth);
    EXPECT_FLOAT_EQ(win->document()->windowHeight(), normalHeight);
    EXPECT_EQ(win->document()->windowState(), 0);

    sub->showMaximized();
    ASSERT_TRUE(waitFor([&] { return win->document()->windowState() == 2; }));
    EXPECT_NE(win->size(), normal);
    EXPECT_FLOAT_EQ(win->document()->windowWidth(), normalWidth); // the normal size is kept
    EXPECT_FLOAT_EQ(win->document()->windowHeight(), normalHeight);

    sub->showMinimized();
    ASSERT_TRUE(waitFor([&] { return win->document()->windowState() == 1; }));
    sub->showNormal();
    ASSERT_TRUE(waitFor([&] { return win->document()->windowState() == 0; }));
}

TEST_F(DataWindowTest, AStoredSizeResizesTheFrame)
{
    QMdiArea area;
    area.resize(1400, 1000);
    auto* win = new frmData;
    win->document()->OpenNew(DataKinds::Realtime);
    QMdiSubWindow* sub = area.addSubWindow(win);
    area.show();
    sub->show();
    // What opening a data file leaves in the document.
    win->document()->setNormalSize(9000, 5400);
    win->document()->setWindowState(0);
    emit win->document()->windowSizeChanged();
    const QSize wanted(twipsToPixels(9000, win->logicalDpiX()), twipsToPixels(5400, win->logicalDpiY()));
    ASSERT_TRUE(waitFor([&] { return win->size() == wanted; }));

    win->document()->setWindowState(2);
    emit win->document()->windowSizeChanged();
    EXPECT_TRUE(sub->isMaximized());
}

TEST_F(DataWindowTest, TheWindowForgetsTheProgramWideReferencesToItsDocument)
{
    doc->OpenNew(DataKinds::Realtime);
    programState().RealtimeDoc = doc;
    programState().CurrentDoc = doc;
    window.reset();
    EXPECT_EQ(programState().RealtimeDoc, nullptr);
    EXPECT_EQ(programState().CurrentDoc, nullptr);
}

TEST_F(DataWindowTest, TheCaptionAndTagFollowTheDocument)
{
    doc->OpenNew(DataKinds::Save);
    EXPECT_EQ(window->windowTitle(), doc->caption());
    EXPECT_TRUE(window->windowTitle().startsWith(QStringLiteral("New")));
    EXPECT_EQ(window->Tag(), QStringLiteral("4"));
}

namespace {
// Pixels of a colour (within a tolerance) in a square around a point of the chart.
int pixelsNear(const QImage& image, QPoint centre, int radius, const QColor& colour)
{
    int count = 0;
    for (int dx = -radius; dx <= radius; ++dx)
        for (int dy = -radius; dy <= radius; ++dy) {
            const QPoint p = centre + QPoint(dx, dy);
            if (!image.rect().contains(p))
                continue;
            const QColor c = image.pixelColor(p);
            if (std::abs(c.red() - colour.red()) < 40 && std::abs(c.green() - colour.green()) < 40
                && std::abs(c.blue() - colour.blue()) < 40)
                ++count;
        }
    return count;
}

QPoint pixelOf(const ChartView* chart, double key, double value, qreal ratio)
{
    return QPoint(static_cast<int>(std::lround(chart->xAxis->coordToPixel(key) * ratio)),
                  static_cast<int>(std::lround(chart->yAxis->coordToPixel(value) * ratio)));
}
} // namespace

TEST_F(DataWindowTest, AReadingBetweenTwoGapsIsDrawnAsADot)
{
    doc->OpenNew(DataKinds::Realtime);
    doc->SetAxisY(false, QStringLiteral("0"), QStringLiteral("10"), 5, 1);
    // Points 1-2 a line, 4 alone between gaps, 6-7 a line, 9 alone at the end of the readings.
    const char* values[] = {"2", "3", "ERROR", "5", "ERROR", "7", "8", "+OL", "4"};
    int i = 0;
    for (const char* v : values)
        addReading(++i, QString::fromLatin1(v));
    window->resize(1200, 600);
    window->show();
    ChartView* chart = window->chart();
    chart->refreshNow();

    // Only the lone readings get a dot.
    QCPGraph* line = chart->series(1);
    const auto& data = *line->data();
    for (int p = 1; p <= 20; ++p)
        EXPECT_EQ(isLonePoint(data, p - 1), p == 4 || p == 9) << p;
    EXPECT_FALSE(line->scatterStyle().isNone());

    const QImage image = chart->grab().toImage();
    const qreal ratio = image.devicePixelRatio();
    const QColor blue = chart->colours().line;
    EXPECT_GT(pixelsNear(image, pixelOf(chart, 4, 5, ratio), 3, blue), 6);
    EXPECT_GT(pixelsNear(image, pixelOf(chart, 9, 4, ratio), 3, blue), 6);
    // A point on a line has no dot: the line's pixels only.
    EXPECT_LT(pixelsNear(image, pixelOf(chart, 1.5, 2.5, ratio) + QPoint(0, 8), 2, blue), 1);
    // No dot where nothing was read.
    EXPECT_EQ(pixelsNear(image, pixelOf(chart, 3, 4, ratio), 4, blue), 0);
}

TEST_F(DataWindowTest, ASingleReadingAndASaveModeMemoryWithEmptySlotsAreVisible)
{
    doc->OpenNew(DataKinds::Realtime);
    addReading(1, QStringLiteral("1.5"));
    window->resize(1000, 500);
    window->show();
    ChartView* chart = window->chart();
    chart->refreshNow();
    QImage image = chart->grab().toImage();
    EXPECT_GT(pixelsNear(image, pixelOf(chart, 1, 1.5, image.devicePixelRatio()), 3, chart->colours().line), 6);

    // SAVE-mode slots: a reading, an empty slot, a reading, ...
    doc->OpenNew(DataKinds::Save);
    for (int slot = 1; slot <= 10; ++slot) {
        ASSERT_TRUE(doc->AddGridrow());
        const bool filled = slot % 2 == 1;
        const QString value = filled ? QString::number(slot) : QString();
        doc->AddData(QString(), value, filled ? QStringLiteral("VDC") : QString(), value);
    }
    doc->SetAxisY(false, QStringLiteral("0"), QStringLiteral("10"), 5, 1);
    doc->PaintGraphtop();
    chart->refreshNow();
    image = chart->grab().toImage();
    for (int slot = 1; slot <= 9; slot += 2)
        EXPECT_GT(pixelsNear(image, pixelOf(chart, slot, slot, image.devicePixelRatio()), 3, chart->colours().line), 6)
            << slot;
}

TEST_F(DataWindowTest, MarkersOnTheEdgeOfTheAutomaticScaleAreDrawnWhole)
{
    // Readings of 4 and 6: the automatic scale ends exactly on the MAX and MIN values.
    doc->OpenNew(DataKinds::Realtime);
    for (int i = 1; i <= 20; ++i)
        addReading(i, i % 2 ? QStringLiteral("4") : QStringLiteral("6"));
    window->resize(1200, 600);
    window->show();
    ChartView* chart = window->chart();
    chart->refreshNow();
    ASSERT_EQ(chart->yAxis->range().upper, 6);
    ASSERT_EQ(chart->yAxis->range().lower, 4);

    const QImage image = chart->grab().toImage();
    const qreal ratio = image.devicePixelRatio();
    const int top = static_cast<int>(chart->axisRect()->top() * ratio);
    const int bottom = static_cast<int>(chart->axisRect()->bottom() * ratio);
    // The halves of the markers outside the plot area are drawn too.
    const auto countOutside = [&](const QColor& colour, bool above) {
        int count = 0;
        for (int x = static_cast<int>(chart->axisRect()->left() * ratio);
             x < static_cast<int>(chart->axisRect()->right() * ratio); ++x) {
            for (int dy = 1; dy <= static_cast<int>(3 * ratio); ++dy) {
                const QColor c = image.pixelColor(x, above ? top - dy : bottom + dy);
                if (std::abs(c.red() - colour.red()) < 40 && std::abs(c.green() - colour.green()) < 40
                    && std::abs(c.blue() - colour.blue()) < 40)
                    ++count;
            }
        }
        return count;
    };
    EXPECT_GT(countOutside(chart->colours().max, true), 20);
    EXPECT_GT(countOutside(chart->colours().min, false), 20);
}

TEST_F(DataWindowTest, AScrollBarWithNothingToScrollHasNoThumbOfAnEarlierRange)
{
    doc->OpenNew(DataKinds::Realtime);
    addReadings(30);
    window->show();
    ASSERT_TRUE(window->scrollBar()->isEnabled());
    EXPECT_EQ(window->scrollBar()->maximum(), 10);
    doc->SetGraphcount(50); // now every reading fits the chart
    doc->PaintGraphtop();
    EXPECT_FALSE(window->scrollBar()->isEnabled());
    EXPECT_EQ(window->scrollBar()->maximum(), 0);
    EXPECT_EQ(window->scrollBar()->value(), 0);
}

TEST_F(DataWindowTest, ADocumentSavedFromAHugeWindowOpensAgain)
{
    // A maximised window's normal size on a 4K screen, 3000 x 2000 pixels.
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    programState().WorkPath = folder.filePath(WorkFileName);
    doc->OpenNew(DataKinds::Realtime);
    addReadings(5);
    window->resize(3000, 2000);
    window->show();
    ASSERT_TRUE(waitFor([&] { return window->size() == QSize(3000, 2000); }));
    const QString path = folder.filePath(QStringLiteral("huge.CSV"));
    ASSERT_TRUE(doc->SaveFile(path)) << programState().LastError.toStdString();
    EXPECT_TRUE(prompter.messages.isEmpty());
    const QByteArray sizes = fileBytes(path).split('\n').value(1);
    const double dpiX = window->logicalDpiX();
    const double dpiY = window->logicalDpiY();
    EXPECT_EQ(sizes, QStringLiteral("%1,%2,0\r")
                         .arg(shortestSingleText(static_cast<float>(std::min(32767.0, pixelsToTwips(3000, dpiX)))),
                              shortestSingleText(static_cast<float>(std::min(32767.0, pixelsToTwips(2000, dpiY)))))
                         .toLatin1());

    QMdiArea area;
    area.resize(1200, 800);
    auto* opened = new frmData;
    opened->setPrompter(&prompter);
    QMdiSubWindow* sub = area.addSubWindow(opened);
    area.show();
    sub->show();
    opened->document()->OpenNew(DataDocument::KindBeforeOpen);
    ASSERT_TRUE(opened->document()->OpenFile(path));
    EXPECT_TRUE(prompter.messages.isEmpty());
    EXPECT_EQ(opened->document()->GetDatacount(), 5);
    // The window takes no more than the room the document area has.
    ASSERT_TRUE(waitFor([&] { return sub->size() == area.viewport()->size(); }));
    EXPECT_LE(sub->width(), area.viewport()->width());
    EXPECT_LE(sub->height(), area.viewport()->height());
}

TEST_F(DataWindowTest, OnADarkPaletteTheChartIsDarkAndEveryColourReadsOnIt)
{
    doc->OpenNew(DataKinds::Realtime);
    addReadings(5);
    window->resize(1000, 500);
    window->show();
    ChartView* chart = window->chart();
    const ChartColours light = chart->colours();
    EXPECT_EQ(light.backdrop, QColor(Qt::white));
    EXPECT_EQ(light.line, QColor(0, 0, 255));

    const QPalette dark = darkPalette(); // what --dark gives the program
    window->setPalette(dark);
    const ChartColours c = chart->colours();
    EXPECT_EQ(c.backdrop, dark.color(QPalette::Base));
    EXPECT_GE(contrastRatio(c.text, c.backdrop), 4.5);
    for (const QColor& series : {c.line, c.max, c.min, c.majorGrid})
        EXPECT_GE(contrastRatio(series, c.backdrop), 3.0) << series.name().toStdString();
    for (const QColor& series : {light.line, light.max, light.min})
        EXPECT_GE(contrastRatio(series, light.backdrop), 3.0) << series.name().toStdString();

    // What is drawn: the dark backdrop, and the tick labels in the palette's text colour.
    chart->refreshNow();
    const QImage image = chart->grab().toImage();
    const qreal ratio = image.devicePixelRatio();
    const QPoint inside(static_cast<int>((chart->axisRect()->left() + 3) * ratio),
                        static_cast<int>((chart->axisRect()->top() + 3) * ratio));
    EXPECT_EQ(image.pixelColor(inside), c.backdrop);
    EXPECT_EQ(chart->xAxis->tickLabelColor(), c.text);
    EXPECT_EQ(chart->yAxis->tickLabelColor(), c.text);
}
