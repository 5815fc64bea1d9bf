// The rules of the chart tools without a display: the view zoomed into and moved, the reading
// under the cursor and its text, the rows copied from the table, and what the Export chart
// dialog accepts.

#include "UiTestSupport.h"

#include "document/ChartExportSetup.h"
#include "document/ChartReadout.h"
#include "document/ChartZoom.h"
#include "document/DataDocument.h"
#include "document/RowsText.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/ResID.h"

#include <QDir>

#include <cmath>
#include <limits>
#include <vector>

using namespace quvo;
using namespace quvo::test;

namespace {

constexpr float Gap = std::numeric_limits<float>::quiet_NaN();

class ChartToolsLogicTest : public UiTest {};

ChartZoom zoomOf(int points, AxisSpan scale = {0, 10})
{
    ChartZoom zoom;
    zoom.follow(points, scale);
    return zoom;
}

// A document of realtime readings "t<i>" with the given value texts, mode VDC.
void fill(DataDocument& doc, const QStringList& values, const QString& mode = QStringLiteral("VDC"))
{
    doc.OpenNew(DataKinds::Realtime);
    for (int i = 0; i < values.size(); ++i) {
        ASSERT_TRUE(doc.AddGridrow());
        doc.AddRealtimedata(QStringLiteral("10:00:%1").arg(i, 2, 10, QLatin1Char('0')), values.at(i), mode,
                            DataDocument::IsReadingValue(values.at(i)), values.at(i));
    }
}

} // namespace

// --- The view -------------------------------------------------------------------------------------

TEST_F(ChartToolsLogicTest, TheDefaultViewIsTheWholeChartWindowAndTheDocumentsScale)
{
    const ChartZoom zoom = zoomOf(20, {-1, 4});
    EXPECT_FALSE(zoom.isZoomed());
    EXPECT_EQ(zoom.time(), (AxisSpan{0.5, 20.5}));
    EXPECT_EQ(zoom.value(), (AxisSpan{-1, 4}));
}

TEST_F(ChartToolsLogicTest, AWheelStepZoomsAroundTheCursorWhichStaysWhereItIs)
{
    ChartZoom zoom = zoomOf(100);
    const double anchor = 30.5;
    const AxisSpan before = zoom.time();
    const double share = (anchor - before.lower) / before.size();
    zoom.wheel(1, anchor);
    ASSERT_TRUE(zoom.timeZoomed());
    EXPECT_FALSE(zoom.valueZoomed());
    EXPECT_NEAR(zoom.time().size(), before.size() * ChartZoom::WheelStepFactor, 1e-9);
    EXPECT_NEAR((anchor - zoom.time().lower) / zoom.time().size(), share, 1e-9);
    // Two more steps, then three back out: the whole window again, and no zoom left.
    zoom.wheel(2, anchor);
    EXPECT_NEAR(zoom.time().size(), before.size() * std::pow(ChartZoom::WheelStepFactor, 3), 1e-9);
    zoom.wheel(-3, anchor);
    EXPECT_FALSE(zoom.isZoomed());
    EXPECT_EQ(zoom.time(), before);
}

TEST_F(ChartToolsLogicTest, ZoomingOutNeverShowsMoreThanTheChartWindow)
{
    ChartZoom zoom = zoomOf(50);
    zoom.wheel(4, 45);
    zoom.wheel(-40, 2);
    EXPECT_FALSE(zoom.timeZoomed());
    EXPECT_EQ(zoom.time(), ChartZoom::wholeTime(50));
}

TEST_F(ChartToolsLogicTest, ZoomingInStopsAtTwoPointsAcross)
{
    ChartZoom zoom = zoomOf(32767);
    for (int i = 0; i < 200; ++i)
        zoom.wheel(1, 16000.3);
    EXPECT_NEAR(zoom.time().size(), ChartZoom::LeastPoints, 1e-9);
    EXPECT_LE(zoom.time().lower, 16000.3);
    EXPECT_GE(zoom.time().upper, 16000.3);
    // Near the end the least span stays inside the window.
    ChartZoom end = zoomOf(20);
    for (int i = 0; i < 50; ++i)
        end.wheel(1, 20.5);
    EXPECT_NEAR(end.time().size(), ChartZoom::LeastPoints, 1e-9);
    EXPECT_DOUBLE_EQ(end.time().upper, 20.5);
}

TEST_F(ChartToolsLogicTest, MovingKeepsTheViewInsideTheChartWindow)
{
    ChartZoom zoom = zoomOf(100);
    zoom.pan(10, 3); // the default view does not move
    EXPECT_FALSE(zoom.isZoomed());
    zoom.zoomTo({20.5, 40.5}, {2, 6});
    zoom.pan(5, 1);
    EXPECT_EQ(zoom.time(), (AxisSpan{25.5, 45.5}));
    EXPECT_EQ(zoom.value(), (AxisSpan{3, 7}));
    zoom.pan(-1000, 0);
    EXPECT_EQ(zoom.time(), (AxisSpan{0.5, 20.5}));
    zoom.pan(1000, 0);
    EXPECT_EQ(zoom.time(), (AxisSpan{80.5, 100.5}));
}

TEST_F(ChartToolsLogicTest, ARectangleZoomsBothAxesWhicheverWayItWasDrawn)
{
    ChartZoom zoom = zoomOf(100, {0, 10});
    zoom.zoomTo({60.2, 30.7}, {8, 2});
    EXPECT_TRUE(zoom.timeZoomed());
    EXPECT_TRUE(zoom.valueZoomed());
    EXPECT_EQ(zoom.time(), (AxisSpan{30.7, 60.2}));
    EXPECT_EQ(zoom.value(), (AxisSpan{2, 8}));
    // Only the value axis: the whole time span stays the default time span.
    zoom.zoomTo({-5, 500}, {1, 2});
    EXPECT_FALSE(zoom.timeZoomed());
    EXPECT_TRUE(zoom.valueZoomed());
    zoom.reset();
    EXPECT_FALSE(zoom.isZoomed());
    EXPECT_EQ(zoom.value(), (AxisSpan{0, 10}));
}

TEST_F(ChartToolsLogicTest, AnotherDataRangeEndsTheZoomButAnotherScaleDoesNot)
{
    ChartZoom zoom = zoomOf(100, {0, 10});
    zoom.wheel(3, 50);
    zoom.follow(100, {0, 12}); // the automatic scale grew with a new reading
    EXPECT_TRUE(zoom.timeZoomed());
    EXPECT_EQ(zoom.value(), (AxisSpan{0, 12}));
    zoom.follow(20, {0, 12}); // Graph setup: another data range
    EXPECT_FALSE(zoom.isZoomed());
    EXPECT_EQ(zoom.time(), ChartZoom::wholeTime(20));
}

TEST_F(ChartToolsLogicTest, NothingThatIsNotANumberMovesTheView)
{
    ChartZoom zoom = zoomOf(100);
    zoom.wheel(std::nan(""), 3);
    zoom.wheel(1, std::nan(""));
    zoom.zoomTo({std::nan(""), 4}, {1, 2});
    EXPECT_FALSE(zoom.isZoomed());
    zoom.wheel(1, 50);
    const AxisSpan before = zoom.time();
    zoom.pan(std::nan(""), 0);
    EXPECT_EQ(zoom.time(), before);
}

// --- The reading under the cursor ----------------------------------------------------------------

TEST_F(ChartToolsLogicTest, TheCursorReadsTheNearestPoint)
{
    const std::vector<float> values = {1, 2, 3, 4, 5};
    const ReadableArea all{1, 5, -100, 100};
    EXPECT_EQ(nearestReading(values, 3.0, all, 1), 3);
    EXPECT_EQ(nearestReading(values, 3.4, all, 1), 3);
    EXPECT_EQ(nearestReading(values, 3.6, all, 1), 4);
    EXPECT_EQ(nearestReading(values, 3.5, all, 1), 3); // equally near: the earlier one
    EXPECT_EQ(nearestReading(values, 0.6, all, 1), 1);
    EXPECT_EQ(nearestReading(values, 5.4, all, 1), 5);
    EXPECT_EQ(nearestReading(values, 7.0, all, 1), 0); // too far from every reading
}

TEST_F(ChartToolsLogicTest, AGapIsNoReadingSoTheReadingBesideItIsRead)
{
    // Points 3 and 4 are gaps ("ERROR", "+OL"), 7 and 8 empty points after the last reading.
    const std::vector<float> values = {1, 2, Gap, Gap, 5, 6};
    const ReadableArea all{1, 8, -100, 100};
    EXPECT_EQ(nearestReading(values, 3.0, all, 3), 2);
    EXPECT_EQ(nearestReading(values, 3.4, all, 3), 2);
    EXPECT_EQ(nearestReading(values, 4.0, all, 3), 5);
    EXPECT_EQ(nearestReading(values, 3.5, all, 3), 2); // equally near 2 and 5
    EXPECT_EQ(nearestReading(values, 8.0, all, 3), 6);
    EXPECT_EQ(nearestReading(values, 3.5, all, 1), 0); // the gap is wider than the reach
    const std::vector<float> onlyGaps = {Gap, Gap, Gap};
    EXPECT_EQ(nearestReading(onlyGaps, 2, all, 1e9), 0);
}

TEST_F(ChartToolsLogicTest, OnlyReadingsInViewAreRead)
{
    const std::vector<float> values = {1, 9, 2, 3, 4};
    // Points 2..4 and values 0..5 are shown: point 2 (9) is above the view, point 1 left of it.
    const ReadableArea view{2, 4, 0, 5};
    EXPECT_EQ(nearestReading(values, 2.0, view, 3), 3);
    EXPECT_EQ(nearestReading(values, 1.0, view, 3), 3);
    EXPECT_EQ(nearestReading(values, 5.0, view, 3), 4);
    EXPECT_EQ(nearestReading(values, 2.0, ReadableArea{2, 4, 8, 10}, 3), 2);
}

TEST_F(ChartToolsLogicTest, TheReadoutNamesNumberTimeValueAndUnit)
{
    DataDocument doc;
    fill(doc, {QStringLiteral("1.5"), QStringLiteral("ERROR"), QStringLiteral("-0.25")});
    EXPECT_EQ(readoutText(doc, 1), QStringLiteral("No. 1\nTIME 10:00:00\nDATA 1.5 VDC"));
    EXPECT_EQ(readoutText(doc, 3), QStringLiteral("No. 3\nTIME 10:00:02\nDATA -0.25 VDC"));

    // A SAVE-mode record has no time; a unit with a leading blank (" AC") reads without it.
    DataDocument save;
    save.OpenNew(DataKinds::Save);
    programState().MeterModel = QStringLiteral("3"); // records numbered from 0
    ASSERT_TRUE(save.AddGridrow());
    save.AddData(QString(), QStringLiteral("12.5"), QStringLiteral(" AC"), QStringLiteral("12.5"));
    EXPECT_EQ(readoutText(save, 1), QStringLiteral("No. 0\nDATA 12.5 AC"));
}

// --- Rows copied from the table ------------------------------------------------------------------

TEST_F(ChartToolsLogicTest, CopiedRowsAreTabSeparatedWithTheHeadingRow)
{
    DataDocument doc;
    fill(doc, {QStringLiteral("1.5"), QStringLiteral("ERROR"), QStringLiteral("-0.25"), QStringLiteral("+OL")});
    EXPECT_EQ(rowsAsText(doc, {4, 2, 2, 99, 0, -1}),
              QStringLiteral("No.\tTIME\tDATA\tMODE\n"
                             "2\t10:00:01\tERROR\tVDC\n"
                             "4\t10:00:03\t+OL\tVDC\n"));
    EXPECT_EQ(rowsAsText(doc, {}), QStringLiteral("No.\tTIME\tDATA\tMODE\n"));
}

TEST_F(ChartToolsLogicTest, ATabOrLineBreakInATextCannotSplitACopiedRow)
{
    DataDocument doc;
    fill(doc, {QStringLiteral("1")}, QStringLiteral("V\tDC"));
    EXPECT_EQ(rowsAsText(doc, {1}), QStringLiteral("No.\tTIME\tDATA\tMODE\n1\t10:00:00\t1\tV DC\n"));
}

// --- Export chart ----------------------------------------------------------------------------------

TEST_F(ChartToolsLogicTest, TheExtensionChoosesTheFormat)
{
    EXPECT_EQ(chartFormatOf(QStringLiteral("/a/b.png")), ChartFormat::Png);
    EXPECT_EQ(chartFormatOf(QStringLiteral("B.PNG")), ChartFormat::Png);
    EXPECT_EQ(chartFormatOf(QStringLiteral("c.Svg")), ChartFormat::Svg);
    EXPECT_EQ(chartFormatOf(QStringLiteral("d.pdf")), ChartFormat::Pdf);
    for (const char* other : {"e.jpg", "f", "g.png.txt", "h.", ""})
        EXPECT_FALSE(chartFormatOf(QString::fromLatin1(other)).has_value()) << other;
}

TEST_F(ChartToolsLogicTest, SidesAreWholePixelsWithinTheRange)
{
    EXPECT_EQ(chartSide(QStringLiteral("16")), 16);
    EXPECT_EQ(chartSide(QStringLiteral(" 8000 ")), 8000);
    for (const char* bad : {"15", "8001", "0", "-20", "12.5", "abc", ""})
        EXPECT_FALSE(chartSide(QString::fromLatin1(bad)).has_value()) << bad;
}

TEST_F(ChartToolsLogicTest, TheFileAndTitleOfferedFirstComeFromTheDocument)
{
    DataDocument fresh;
    fresh.OpenNew(DataKinds::Realtime);
    EXPECT_EQ(defaultChartPath(fresh, QStringLiteral("/home/me/Documents")),
              QStringLiteral("/home/me/Documents/") + fresh.caption() + QStringLiteral(".png"));
    EXPECT_EQ(defaultChartTitle(fresh), fresh.caption());

    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    programState().WorkPath = dir.filePath(WorkFileName);
    DataDocument saved;
    fill(saved, {QStringLiteral("1")});
    const QString path = dir.filePath(QStringLiteral("bench.run.CSV"));
    ASSERT_TRUE(saved.SaveFile(path));
    EXPECT_EQ(defaultChartPath(saved, QStringLiteral("/elsewhere")), dir.filePath(QStringLiteral("bench.run.png")));
    EXPECT_EQ(defaultChartTitle(saved), QStringLiteral("bench.run.CSV"));
}

TEST_F(ChartToolsLogicTest, AsOnTheScreenAPngHasEveryDevicePixelAndADrawingTheScreensSize)
{
    ChartExportFields fields;
    fields.path = QStringLiteral("/tmp/chart.png");
    const ChartExportCheck png = checkChartExport(fields, QSize(600, 400), 2);
    ASSERT_TRUE(png.ok);
    EXPECT_EQ(png.format, ChartFormat::Png);
    EXPECT_EQ(png.pixels, QSize(1200, 800));
    EXPECT_EQ(png.scale, 2);

    fields.path = QStringLiteral("/tmp/chart.svg");
    const ChartExportCheck svg = checkChartExport(fields, QSize(600, 400), 2);
    ASSERT_TRUE(svg.ok);
    EXPECT_EQ(svg.pixels, QSize(600, 400));
    EXPECT_EQ(svg.scale, 1);

    fields.path = QStringLiteral("/tmp/chart.pdf");
    fields.screenSize = false;
    fields.width = QStringLiteral("1000");
    fields.height = QStringLiteral("300");
    const ChartExportCheck pdf = checkChartExport(fields, QSize(600, 400), 1.5);
    ASSERT_TRUE(pdf.ok);
    EXPECT_EQ(pdf.format, ChartFormat::Pdf);
    EXPECT_EQ(pdf.pixels, QSize(1000, 300));
}

TEST_F(ChartToolsLogicTest, WrongEntriesAreRefusedWithTheirMessage)
{
    ChartExportFields fields;
    EXPECT_EQ(checkChartExport(fields, QSize(600, 400), 1).message, ResID(Res::NoExportFile));
    fields.path = QStringLiteral("/tmp/chart.jpg");
    EXPECT_EQ(checkChartExport(fields, QSize(600, 400), 1).message, ResID(Res::UnknownChartFormat));
    fields.path = QStringLiteral("/tmp/chart.png");
    fields.screenSize = false;
    fields.width = QStringLiteral("10");
    fields.height = QStringLiteral("300");
    const ChartExportCheck check = checkChartExport(fields, QSize(600, 400), 1);
    EXPECT_FALSE(check.ok);
    EXPECT_EQ(check.message, QStringLiteral("Width and height are whole numbers of pixels from 16 to 8000."));
}
