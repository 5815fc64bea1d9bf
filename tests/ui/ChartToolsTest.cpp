// The chart tools of a shown data document window, driven as a person uses them: the wheel
// and the mouse on the real chart, key presses in the table, context menus opened with the
// right button and an item clicked, the Export chart dialog filled in and its buttons
// clicked, the file dialog answered by the scripted prompter. The pictures are checked by
// reading them back (PNG), with xmllint (SVG) and with pdfinfo and pdftoppm (PDF).

// Mouse events go through the window as the platform delivers them, so that a right-click
// opens the context menu and two clicks make a double-click, as they do for a person.
#define QTEST_QPA_MOUSE_HANDLING

#include "UiTestSupport.h"

#include "document/ChartExportSetup.h"
#include "document/ChartReadout.h"
#include "document/ChartView.h"
#include "document/DataDocument.h"
#include "document/frmData.h"
#include "document/frmExport.h"
#include "resources/Constant.h"
#include "resources/ResID.h"
#include "support/PaintedPixels.h"
#include "support/ScriptedPrompter.h"
#include "support/TestHelpers.h"
#include "support/WidgetSteps.h"

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QFont>
#include <QFontMetricsF>
#include <QHeaderView>
#include <QImage>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QScrollBar>
#include <QStandardPaths>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolTip>
#include <QWheelEvent>

#include <functional>
#include <memory>

using namespace quvo;
using namespace quvo::test;

namespace {

QString timeOf(int i)
{
    return QStringLiteral("10:%1:%2").arg(i / 60 % 60, 2, 10, QLatin1Char('0')).arg(i % 60, 2, 10, QLatin1Char('0'));
}

class ChartToolsTest : public UiTest {
protected:
    void SetUp() override
    {
        UiTest::SetUp();
        ASSERT_TRUE(dir.isValid());
        programState().WorkPath = dir.filePath(WorkFileName);
        window = std::make_unique<frmData>();
        window->setPrompter(&prompter);
        doc = window->document();
        chart = window->chart();
    }
    void TearDown() override
    {
        window.reset();
        UiTest::TearDown();
    }

    // A realtime document of `count` readings (value i, "ERROR" at the rows in `gaps`), all of
    // them across the chart unless `points` says otherwise, shown in a window.
    void show(int count, QList<int> gaps = {}, int points = 0)
    {
        doc->OpenNew(DataKinds::Realtime);
        for (int i = 1; i <= count; ++i) {
            ASSERT_TRUE(doc->AddGridrow());
            const QString value = gaps.contains(i) ? ErrorReading : QString::number(i % 7 + i / 10.0);
            doc->AddRealtimedata(timeOf(i), value, QStringLiteral("VDC"), DataDocument::IsReadingValue(value), value);
        }
        doc->SetGraphcount(static_cast<std::int16_t>(points > 0 ? points : count));
        doc->PaintGraphtop();
        window->resize(1100, 650);
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        chart->refreshNow();
    }

    // The chart's pixel of a point of the time axis, at a value (the middle of the view when
    // none is given).
    QPoint at(double point, double value = qQNaN()) const
    {
        const double y = std::isnan(value) ? chart->yAxis->range().center() : value;
        return QPoint(qRound(chart->xAxis->coordToPixel(point)), qRound(chart->yAxis->coordToPixel(y)));
    }

    void wheel(const QPoint& position, int steps, Qt::KeyboardModifiers modifiers = {})
    {
        QWheelEvent event(position, chart->mapToGlobal(position), QPoint(), QPoint(0, 120 * steps), Qt::NoButton,
                          modifiers, Qt::NoScrollPhase, false);
        QApplication::sendEvent(chart, &event);
        QApplication::processEvents();
    }

    void drag(const QPoint& from, const QPoint& to, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::mousePress(chart, Qt::LeftButton, modifiers, from);
        for (int i = 1; i <= 8; ++i)
            QTest::mouseMove(chart, from + (to - from) * i / 8);
        QTest::mouseRelease(chart, Qt::LeftButton, modifiers, to);
        QApplication::processEvents();
    }

    QString exportedPath(const char* name) const { return dir.filePath(QString::fromLatin1(name)); }

    QTemporaryDir dir;
    ScriptedPrompter prompter;
    std::unique_ptr<frmData> window;
    DataDocument* doc = nullptr;
    ChartView* chart = nullptr;
};

} // namespace

// --- Zoom, move, reset ------------------------------------------------------------------------------

TEST_F(ChartToolsTest, TheWheelZoomsTheTimeAxisAroundTheCursor)
{
    show(200);
    const QCPRange whole = chart->xAxis->range();
    const QPoint cursor = at(150);
    const double under = chart->xAxis->pixelToCoord(cursor.x());
    wheel(cursor, 2);
    const QCPRange zoomed = chart->xAxis->range();
    EXPECT_NEAR(zoomed.size(), whole.size() * 0.64, 1e-6);
    EXPECT_NEAR(chart->xAxis->pixelToCoord(cursor.x()), under, 1e-6); // the reading under the cursor stays
    EXPECT_TRUE(chart->zoom().timeZoomed());
    EXPECT_FALSE(chart->zoom().valueZoomed());
    // The tick labels follow the view: none of them is before the first point shown.
    for (const double tick : chart->xAxis->tickVector())
        EXPECT_GE(tick, zoomed.lower);
    wheel(cursor, -2);
    EXPECT_FALSE(chart->zoom().isZoomed());
    EXPECT_EQ(chart->xAxis->range(), whole);
}

TEST_F(ChartToolsTest, ADragMovesTheViewAndCtrlDragZoomsIntoARectangle)
{
    show(200);
    wheel(at(100), 5);
    const QCPRange before = chart->xAxis->range();
    // Dragging to the left brings later readings into view.
    drag(at(110), at(100));
    EXPECT_NEAR(chart->xAxis->range().lower - before.lower, 10, 0.6);
    EXPECT_NEAR(chart->xAxis->range().size(), before.size(), 1e-9);

    chart->resetView();
    const QCPRange values = chart->yAxis->range();
    const double low = values.lower + values.size() * 0.25;
    const double high = values.lower + values.size() * 0.75;
    drag(at(40, high), at(80, low), Qt::ControlModifier);
    EXPECT_TRUE(chart->zoom().timeZoomed());
    EXPECT_TRUE(chart->zoom().valueZoomed());
    EXPECT_NEAR(chart->xAxis->range().lower, 40, 0.6);
    EXPECT_NEAR(chart->xAxis->range().upper, 80, 0.6);
    EXPECT_NEAR(chart->yAxis->range().lower, low, values.size() * 0.01);
    EXPECT_NEAR(chart->yAxis->range().upper, high, values.size() * 0.01);
    // Shift does the same; a rectangle of a slip of the hand does nothing.
    chart->resetView();
    drag(at(20, high), at(20.05, high), Qt::ShiftModifier);
    EXPECT_FALSE(chart->zoom().isZoomed());
}


TEST_F(ChartToolsTest, ADoubleClickAndResetViewReturnToTheWholeChart)
{
    show(120);
    const QCPRange whole = chart->xAxis->range();
    const QCPRange values = chart->yAxis->range();
    wheel(at(60), 4);
    QTest::mouseDClick(chart, Qt::LeftButton, {}, at(60));
    EXPECT_FALSE(chart->zoom().isZoomed());
    EXPECT_EQ(chart->xAxis->range(), whole);

    drag(at(30, values.lower + values.size() * 0.8), at(50, values.lower + values.size() * 0.2), Qt::ControlModifier);
    ASSERT_TRUE(chart->zoom().isZoomed());
    chooseInNextMenu(QStringLiteral("mnuChartResetView"));
    QTest::mouseClick(chart, Qt::RightButton, {}, at(40));
    EXPECT_FALSE(chart->zoom().isZoomed());
    EXPECT_EQ(chart->xAxis->range(), whole);
    EXPECT_EQ(chart->yAxis->range(), values);
}

TEST_F(ChartToolsTest, LookingCloserNeverChangesTheDocumentOrItsGraphSetup)
{
    show(300, {50, 51});
    doc->SetAxisY(false, QStringLiteral("-1"), QStringLiteral("40"), 4, 2);
    const QString before = exportedPath("before.CSV");
    ASSERT_TRUE(doc->SaveFile(before));
    ASSERT_TRUE(doc->isUnchanged());
    const QString graphCount = doc->GetGraphcount();
    const AxisXTexts x = doc->GetAxisX();
    const AxisYTexts y = doc->GetAxisY();

    wheel(at(100), 3);
    drag(at(120), at(90));
    drag(at(90, 30), at(130, 5), Qt::ControlModifier);
    QTest::mouseMove(chart, at(110));
    QTest::mouseDClick(chart, Qt::LeftButton, {}, at(100));
    wheel(at(280), 6);

    EXPECT_TRUE(doc->isUnchanged());
    EXPECT_EQ(doc->GetGraphcount(), graphCount);
    EXPECT_EQ(doc->GetAxisX().automatic, x.automatic);
    EXPECT_EQ(doc->GetAxisX().perLabel, x.perLabel);
    EXPECT_EQ(doc->GetAxisY().minimum, y.minimum);
    EXPECT_EQ(doc->GetAxisY().maximum, y.maximum);
    EXPECT_EQ(doc->GetAxisY().major, y.major);
    const QString after = exportedPath("after.CSV");
    ASSERT_TRUE(doc->SaveFile(after));
    EXPECT_EQ(fileBytes(after), fileBytes(before)); // byte for byte
}

TEST_F(ChartToolsTest, TheScrollBarKeepsMovingTheReadingsUnderAZoomedView)
{
    show(60, {}, 20);
    window->SetRealtimeCommands(false);
    QScrollBar* bar = window->scrollBar();
    ASSERT_TRUE(bar->isEnabled());
    // The recording followed the newest reading: the window shows readings 41 to 60.
    ASSERT_EQ(doc->chart().firstRow, 41);
    wheel(at(10), 3);
    const QCPRange zoomed = chart->xAxis->range();
    // The left arrow of the scroll bar, clicked.
    QTest::mouseClick(bar, Qt::LeftButton, {}, QPoint(3, bar->height() / 2));
    ASSERT_TRUE(waitFor([&] { return doc->chart().firstRow == 40; }));
    EXPECT_EQ(chart->xAxis->range(), zoomed); // the same part of the window, one reading earlier
    EXPECT_EQ(chart->series(1)->data()->at(0)->value, doc->rowNumber(40));
}

// --- The reading under the cursor ---------------------------------------------------------------

TEST_F(ChartToolsTest, HoveringReadsTheNearestReadingAndMarksIt)
{
    show(30, {10, 11});
    QTest::mouseMove(chart, at(5));
    ASSERT_TRUE(waitFor([&] { return chart->readoutRow() == 5; }));
    EXPECT_EQ(chart->readout(), readoutText(*doc, 5));
    EXPECT_EQ(chart->readout(), QStringLiteral("No. 5\nTIME ") + timeOf(5) + QStringLiteral("\nDATA ")
                                    + doc->TextMatrix(5, 2) + QStringLiteral(" VDC"));
    EXPECT_TRUE(waitFor([&] { return QToolTip::isVisible() && QToolTip::text() == chart->readout(); }));
    // Near the gap of rows 10 and 11 the reading beside it is read.
    QTest::mouseMove(chart, at(10));
    ASSERT_TRUE(waitFor([&] { return chart->readoutRow() == 9; }));
    QTest::mouseMove(chart, at(11));
    ASSERT_TRUE(waitFor([&] { return chart->readoutRow() == 12; }));
    EXPECT_TRUE(waitFor([&] { return QToolTip::text() == readoutText(*doc, 12); }));
    // Leaving the chart takes the readout away.
    QTest::mouseMove(window->grid(), QPoint(10, 10));
    EXPECT_TRUE(waitFor([&] { return chart->readoutRow() == 0; }));
    EXPECT_TRUE(waitFor([&] { return !QToolTip::isVisible(); }));
}

TEST_F(ChartToolsTest, TheReadoutFollowsTheReadingsOfARecordingUnderTheCursor)
{
    show(60, {}, 20);
    // The window of readings follows the newest one: readings 41 to 60 are shown.
    QTest::mouseMove(chart, at(3));
    ASSERT_TRUE(waitFor([&] { return chart->readoutRow() == 43; }));
    ASSERT_TRUE(doc->AddGridrow());
    doc->AddRealtimedata(timeOf(61), QStringLiteral("2.5"), QStringLiteral("VDC"), true, QStringLiteral("2.5"));
    EXPECT_TRUE(waitFor([&] { return chart->readoutRow() == 44; }));
    EXPECT_TRUE(waitFor([&] { return QToolTip::text() == readoutText(*doc, 44); }));
}

// --- Export ---------------------------------------------------------------------------------------

TEST_F(ChartToolsTest, ExportFromTheContextMenuWritesAPngOfTheChosenSize)
{
    show(200, {100});
    wheel(at(50), 2); // a picture of what is shown
    const QString path = exportedPath("chart.png");
    chooseInNextMenu(QStringLiteral("mnuChartExport"));
    answerDialog(QStringLiteral("frmExport"), [&](QDialog& dialog) {
        EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Export chart"));
        typeInto(dialog, "tbFile", path);
        typeInto(dialog, "tbTitle", QStringLiteral("Bench supply"));
        clickOn(dialog, "obCustomSize");
        typeInto(dialog, "tbWidth", QStringLiteral("640"));
        typeInto(dialog, "tbHeight", QStringLiteral("360"));
        clickOn(dialog, "btOk");
    });
    QTest::mouseClick(chart, Qt::RightButton, {}, at(60));
    EXPECT_TRUE(prompter.messages.isEmpty()) << prompter.messageTexts().join(u'|').toStdString();

    QImage image(path);
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(image.size(), QSize(640, 360));
    const ChartColours& c = chart->colours();
    // The readings' line, the MAX and MIN markers inside the plot area; the title above it.
    const QRect plot(image.width() / 10, image.height() / 8, image.width() * 8 / 10, image.height() * 3 / 4);
    EXPECT_GT(pixelsOfColour(image, c.line, plot), 200);
    EXPECT_GT(pixelsOfColour(image, c.max, image.rect()), 20);
    EXPECT_GT(pixelsOfColour(image, c.min, image.rect()), 20);
    EXPECT_GT(pixelsOfColour(image, c.text, QRect(image.width() / 3, 0, image.width() / 3, 20)), 10);
    EXPECT_EQ(image.text(QStringLiteral("Title")), QStringLiteral("Bench supply"));
    // The picture was made for the file: the window's chart is as it was.
    EXPECT_TRUE(chart->zoom().timeZoomed());
    EXPECT_TRUE(folderEntries(dir.path()).filter(QStringLiteral("quvolink-")).isEmpty()); // no temporary left
}

TEST_F(ChartToolsTest, AsOnTheScreenAPngHasEveryDevicePixelOfTheChart)
{
    show(100);
    // A font in points, as a desktop gives it, is measured by the resolution of what it is
    // drawn on.
    chart->setFont(QFont(QStringLiteral("DejaVu Sans"), 9));
    const QString path = exportedPath("screen.png");
    chooseInNextMenu(QStringLiteral("mnuChartExport"));
    answerDialog(QStringLiteral("frmExport"), [&](QDialog& dialog) {
        typeInto(dialog, "tbFile", path);
        auto* screen = childOf<QRadioButton>(dialog, "obScreenSize");
        EXPECT_TRUE(screen && screen->isChecked());
        clickOn(dialog, "btOk");
    });
    QTest::mouseClick(chart, Qt::RightButton, {}, at(50));
    QImage image(path);
    ASSERT_FALSE(image.isNull());
    const double ratio = chart->devicePixelRatioF();
    EXPECT_EQ(image.size(), QSize(qRound(chart->width() * ratio), qRound(chart->height() * ratio)));
    EXPECT_EQ(image.dotsPerMeterX(), qRound(96 * ratio / 0.0254));
    EXPECT_GT(pixelsOfColour(image, chart->colours().line, image.rect().adjusted(40, 40, -40, -40)), 100);
    // Text and lines keep their proportions to the chart: the value axis, right of its
    // labels, stands where it stands on the screen (a twice-scaled text would push it right).
    const QRect band(0, image.height() / 3, image.width() / 3, image.height() / 3);
    int axisColumn = -1;
    int longest = 0;
    for (int x = band.left(); x <= band.right(); ++x) {
        const int run = pixelsOfColour(image, chart->colours().axis, QRect(x, band.top(), 1, band.height()));
        if (run > longest) {
            longest = run;
            axisColumn = x;
        }
    }
    EXPECT_GT(longest, band.height() / 2);
    EXPECT_NEAR(axisColumn, chart->axisRect()->left() * ratio, 2 * ratio);
    // The title's letters are as tall as the title's font makes them at that ratio: the
    // first block of rows with ink of the text colour, in the middle of the picture's top.
    QFont titleFont = chart->font();
    titleFont.setBold(true);
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.2);
    const QRect middle(image.width() / 3, 0, image.width() / 3, image.height() / 4);
    int first = -1;
    int last = -1;
    for (int y = middle.top(); y <= middle.bottom(); ++y) {
        const bool ink = pixelsOfColour(image, chart->colours().text, QRect(middle.left(), y, middle.width(), 1)) > 0;
        if (ink && first < 0)
            first = y;
        if (ink)
            last = y;
        if (!ink && first >= 0)
            break;
    }
    ASSERT_GE(first, 0);
    EXPECT_GT(first, 0) << "the title is cut at the top";
    const double letters = QFontMetricsF(titleFont).tightBoundingRect(defaultChartTitle(*doc)).height();
    EXPECT_NEAR(last - first + 1, letters * ratio, 2 * ratio) << "the title is drawn at another size";
}

TEST_F(ChartToolsTest, BrowseChoosesAnSvgDrawingThatParses)
{
    show(150, {70});
    const QString path = exportedPath("drawing.svg");
    prompter.fileNames = {path};
    chooseInNextMenu(QStringLiteral("mnuChartExport"));
    answerDialog(QStringLiteral("frmExport"), [&](QDialog& dialog) {
        clickOn(dialog, "btBrowse");
        EXPECT_EQ(childOf<QLineEdit>(dialog, "tbFile")->text(), QDir::toNativeSeparators(path));
        clickOn(dialog, "btOk");
    });
    QTest::mouseClick(chart, Qt::RightButton, {}, at(50));
    ASSERT_EQ(prompter.fileRequests.size(), 1);
    EXPECT_EQ(prompter.fileRequests.first().mode, FileDialogRequest::Mode::Save);
    EXPECT_EQ(prompter.fileRequests.first().filter, ResID(Res::ChartFiles));
    EXPECT_TRUE(prompter.fileRequests.first().overwritePrompt);
    EXPECT_TRUE(prompter.messages.isEmpty()) << prompter.messageTexts().join(u'|').toStdString();

    const ProgramRun lint = runProgram(QStringLiteral("xmllint"), {QStringLiteral("--noout"), path});
    EXPECT_EQ(lint.exitCode, 0) << lint.output.toStdString();
    const QString svg = QString::fromUtf8(fileBytes(path));
    const QString title = defaultChartTitle(*doc);
    EXPECT_TRUE(svg.contains(QStringLiteral("<title>") + title + QStringLiteral("</title>")));
    EXPECT_GE(svg.count(title), 2) << "the title is drawn above the chart";
    EXPECT_TRUE(svg.contains(chart->colours().line.name(), Qt::CaseInsensitive)); // the readings' line
    EXPECT_TRUE(svg.contains(chart->colours().max.name(), Qt::CaseInsensitive)); // MAX markers
    EXPECT_TRUE(svg.contains(chart->colours().min.name(), Qt::CaseInsensitive)); // MIN markers
    EXPECT_TRUE(svg.contains(timeOf(1)));                                       // the time axis labels
}

TEST_F(ChartToolsTest, APdfDocumentHasOnePageOfTheChartsSize)
{
    show(150, {70});
    const QString path = exportedPath("report.pdf");
    chooseInNextMenu(QStringLiteral("mnuChartExport"));
    answerDialog(QStringLiteral("frmExport"), [&](QDialog& dialog) {
        typeInto(dialog, "tbFile", path);
        typeInto(dialog, "tbTitle", QStringLiteral("Report"));
        clickOn(dialog, "obCustomSize");
        typeInto(dialog, "tbWidth", QStringLiteral("800"));
        typeInto(dialog, "tbHeight", QStringLiteral("400"));
        clickOn(dialog, "btOk");
    });
    QTest::mouseClick(chart, Qt::RightButton, {}, at(50));
    const ProgramRun info = runProgram(QStringLiteral("pdfinfo"), {path});
    ASSERT_EQ(info.exitCode, 0) << info.output.toStdString();
    EXPECT_TRUE(info.output.contains(QRegularExpression(QStringLiteral("Pages:\\s+1\\n")))) << info.output.toStdString();
    EXPECT_TRUE(info.output.contains(QRegularExpression(QStringLiteral("Page size:\\s+600 x 300 pts"))))
        << info.output.toStdString();
    EXPECT_TRUE(info.output.contains(QRegularExpression(QStringLiteral("Title:\\s+Report\\n")))) << info.output.toStdString();
    // Drawn again by another program, the page shows the readings' line.
    const QString rendered = exportedPath("report-page");
    const ProgramRun draw = runProgram(QStringLiteral("pdftoppm"),
                                       {QStringLiteral("-png"), QStringLiteral("-r"), QStringLiteral("96"),
                                        QStringLiteral("-singlefile"), path, rendered});
    ASSERT_EQ(draw.exitCode, 0) << draw.output.toStdString();
    const QImage page(rendered + QStringLiteral(".png"));
    ASSERT_FALSE(page.isNull());
    EXPECT_EQ(page.size(), QSize(800, 400));
    EXPECT_GT(pixelsOfColour(page, chart->colours().line, page.rect().adjusted(80, 50, -40, -50)), 200);
    EXPECT_GT(pixelsOfColour(page, chart->colours().text, QRect(page.width() / 3, 0, page.width() / 3, 20)), 10); // title
}

TEST_F(ChartToolsTest, AnUnknownExtensionOrAFolderThatIsNotThereSavesNothing)
{
    show(50);
    const QString jpg = exportedPath("chart.jpg");
    const QString nowhere = exportedPath("no-such-folder/chart.png");
    chooseInNextMenu(QStringLiteral("mnuChartExport"));
    answerDialog(QStringLiteral("frmExport"), [&](QDialog& dialog) {
        typeInto(dialog, "tbFile", jpg);
        clickOn(dialog, "btOk"); // refused: the dialog stays
        typeInto(dialog, "tbFile", nowhere);
        clickOn(dialog, "btOk"); // cannot be written: the dialog stays
        EXPECT_TRUE(dialog.isVisible());
        clickOn(dialog, "btCancel");
    });
    QTest::mouseClick(chart, Qt::RightButton, {}, at(20));
    ASSERT_EQ(prompter.messages.size(), 2);
    EXPECT_EQ(prompter.messages.at(0).text, ResID(Res::UnknownChartFormat));
    EXPECT_TRUE(prompter.messages.at(1).text.startsWith(ResID(Res::ChartNotSaved) + CrLf))
        << prompter.messages.at(1).text.toStdString();
    EXPECT_TRUE(prompter.messages.at(1).text.contains(QStringLiteral("no-such-folder")));
    EXPECT_FALSE(QFile::exists(jpg));
    EXPECT_FALSE(QFile::exists(nowhere));
}

TEST_F(ChartToolsTest, AnExistingFileIsReplacedOnlyWhenThePersonSaysYes)
{
    show(50);
    const QString path = exportedPath("kept.png");
    writeFileBytes(path, "mine");
    prompter.answers = {PromptAnswer::No, PromptAnswer::Yes};
    chooseInNextMenu(QStringLiteral("mnuChartExport"));
    answerDialog(QStringLiteral("frmExport"), [&](QDialog& dialog) {
        typeInto(dialog, "tbFile", path);
        clickOn(dialog, "btOk"); // No: nothing is written, the dialog stays
        EXPECT_EQ(fileBytes(path), QByteArray("mine"));
        EXPECT_TRUE(dialog.isVisible());
        clickOn(dialog, "btOk"); // Yes
    });
    QTest::mouseClick(chart, Qt::RightButton, {}, at(20));
    ASSERT_EQ(prompter.messages.size(), 2);
    EXPECT_EQ(prompter.messages.at(0).text, QDir::toNativeSeparators(path) + CrLf + ResID(Res::ReplaceFile));
    EXPECT_EQ(prompter.messages.at(0).buttons, PromptButtons::YesNo);
    EXPECT_FALSE(QImage(path).isNull());
}

// --- Copy -----------------------------------------------------------------------------------------

TEST_F(ChartToolsTest, CtrlCCopiesTheSelectedRowsWithTheHeadingRow)
{
    show(12, {4});
    QTableView* grid = window->grid();
    const auto cell = [grid](int row, int column) {
        return grid->visualRect(grid->model()->index(row, column)).center();
    };
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, cell(2, 0));
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, Qt::ShiftModifier, cell(4, 1));
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, Qt::ControlModifier, cell(8, 2));
    QGuiApplication::clipboard()->clear();
    QTest::keyClick(grid, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(),
              QStringLiteral("No.\tTIME\tDATA\tMODE\n") + QStringLiteral("3\t%1\t%2\tVDC\n").arg(timeOf(3), doc->TextMatrix(3, 2))
                  + QStringLiteral("4\t%1\tERROR\tVDC\n").arg(timeOf(4))
                  + QStringLiteral("5\t%1\t%2\tVDC\n").arg(timeOf(5), doc->TextMatrix(5, 2))
                  + QStringLiteral("9\t%1\t%2\tVDC\n").arg(timeOf(9), doc->TextMatrix(9, 2)));
}

TEST_F(ChartToolsTest, TheTablesContextMenuCopiesTheRowOfTheCurrentCell)
{
    show(6);
    QTableView* grid = window->grid();
    const QPoint second = grid->visualRect(grid->model()->index(1, 1)).center();
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, second);
    QGuiApplication::clipboard()->clear();
    chooseInNextMenu(QStringLiteral("mnuGridCopy"));
    QTest::mouseClick(grid->viewport(), Qt::RightButton, {}, second);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("No.\tTIME\tDATA\tMODE\n2\t%1\t%2\tVDC\n")
                                                         .arg(timeOf(2), doc->TextMatrix(2, 2)));
}
