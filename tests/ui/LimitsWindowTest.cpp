// Limits in a document window: the "Judge" panel, the marks of the rows judged HI and LO as
// they are painted in the table, and the limit lines drawn across the chart, on a light and
// on a dark palette.

#include "UiTestSupport.h"

#include "app/DarkPalette.h"
#include "document/ChartColours.h"
#include "document/ChartLimitLines.h"
#include "document/ChartView.h"
#include "document/DataDocument.h"
#include "document/JudgementMarks.h"
#include "document/frmData.h"
#include "support/TestHelpers.h"

#include <QHeaderView>
#include <QImage>
#include <QLabel>
#include <QMdiSubWindow>
#include <QMdiArea>
#include <QTableView>
#include <QTest>

#include <memory>

using namespace quvo;
using namespace quvo::test;

namespace {

class LimitsWindowTest : public UiTest {
protected:
    void SetUp() override
    {
        UiTest::SetUp();
        window = std::make_unique<frmData>();
        doc = window->document();
        doc->OpenNew(DataKinds::Realtime);
    }
    void TearDown() override
    {
        window.reset();
        UiTest::TearDown();
    }

    void addReading(int i, const QString& value, const QString& mode = QStringLiteral("VDC"))
    {
        ASSERT_TRUE(doc->AddGridrow());
        const QString time = QStringLiteral("10:00:%1").arg(i, 2, 10, QLatin1Char('0'));
        doc->AddRealtimedata(time, value, mode, DataDocument::IsReadingValue(value), value);
    }

    // Readings 1.0, 2.0, ... 6.0 V.
    void addRamp()
    {
        for (int i = 1; i <= 6; ++i)
            addReading(i, QString::number(i) + QStringLiteral(".000"));
    }

    static Limits twoToFiveVolts()
    {
        Limits limits;
        limits.upper = 5;
        limits.lower = 2;
        limits.unit = QStringLiteral("VDC");
        return limits;
    }

    // The colour painted in the middle of a table cell's left part (where no text is).
    QColor cellColour(int row, int column)
    {
        QTableView* grid = window->grid();
        const QRect rect = grid->visualRect(grid->model()->index(row, column));
        const QImage image = grid->viewport()->grab().toImage();
        const qreal ratio = image.devicePixelRatio();
        return image.pixelColor(static_cast<int>((rect.left() + 2) * ratio), static_cast<int>(rect.center().y() * ratio));
    }

    // How many pixels of the chart's grab along one row have the limit lines' colour.
    int limitPixelsAt(double value)
    {
        ChartView* chart = window->chart();
        chart->refreshNow();
        chart->replot(QCustomPlot::rpImmediateRefresh);
        const QImage image = chart->grab().toImage();
        const qreal ratio = image.devicePixelRatio();
        const QColor colour = ChartLimitLines::lineColour(isDarkPalette(chart->palette()));
        const int y = static_cast<int>(std::lround(chart->yAxis->coordToPixel(value) * ratio));
        int count = 0;
        for (int dy = -1; dy <= 1; ++dy) {
            for (int x = static_cast<int>(chart->axisRect()->left() * ratio);
                 x < static_cast<int>(chart->axisRect()->right() * ratio); ++x) {
                const QColor c = image.pixelColor(x, y + dy);
                if (std::abs(c.red() - colour.red()) < 40 && std::abs(c.green() - colour.green()) < 40
                    && std::abs(c.blue() - colour.blue()) < 40)
                    ++count;
            }
        }
        return count;
    }

    QList<QCPItemStraightLine*> shownLines() const
    {
        QList<QCPItemStraightLine*> lines;
        ChartView* chart = window->chart();
        for (int i = 0; i < chart->itemCount(); ++i) {
            if (auto* line = qobject_cast<QCPItemStraightLine*>(chart->item(i)); line && line->visible())
                lines << line;
        }
        return lines;
    }

    std::unique_ptr<frmData> window;
    DataDocument* doc = nullptr;
};

} // namespace

TEST_F(LimitsWindowTest, WithoutLimitsTheWindowIsAsItWas)
{
    addRamp();
    window->resize(1000, 500);
    window->show();
    ASSERT_NE(window->panel(QStringLiteral("Judge")), nullptr);
    EXPECT_FALSE(window->panel(QStringLiteral("Judge"))->isVisible());
    EXPECT_FALSE(window->findChild<QLabel*>(QStringLiteral("JudgeCaption"))->isVisible());
    EXPECT_TRUE(shownLines().isEmpty());
    EXPECT_EQ(cellColour(5, 1), window->grid()->palette().color(QPalette::Base));
}

TEST_F(LimitsWindowTest, TheJudgePanelCountsTheRowsAndIsShownOnlyWithLimits)
{
    addRamp();
    window->resize(1000, 500);
    window->show();
    doc->setLimits(twoToFiveVolts());
    QLabel* judge = window->panel(QStringLiteral("Judge"));
    ASSERT_TRUE(waitFor([&] { return judge->isVisible(); }));
    EXPECT_TRUE(window->findChild<QLabel*>(QStringLiteral("JudgeCaption"))->isVisible());
    EXPECT_EQ(window->findChild<QLabel*>(QStringLiteral("JudgeCaption"))->text(), QStringLiteral("JUDGE "));
    EXPECT_EQ(judge->text(), QStringLiteral("HI 1   LO 1   PASS 4"));
    addReading(7, QStringLiteral("+OL"));
    EXPECT_EQ(judge->text(), QStringLiteral("HI 2   LO 1   PASS 4"));

    doc->setLimits(Limits{});
    EXPECT_FALSE(judge->isVisible());
}

TEST_F(LimitsWindowTest, LimitsSetOnAShownWindowLeaveTheStatisticsWhole)
{
    // A document window of the default size in a document area, as the program shows one.
    // Megohm readings give MAX, MIN and AVG texts about as wide as any; the default size
    // shows them whole.
    QMdiArea area;
    area.resize(2000, 1200);
    auto* shown = new frmData;
    QMdiSubWindow* frame = area.addSubWindow(shown);
    area.show();
    frame->show();
    DataDocument* document = shown->document();
    document->OpenNew(DataKinds::Realtime);
    for (int i = 1; i <= 6; ++i) {
        ASSERT_TRUE(document->AddGridrow());
        const QString value = QStringLiteral("-9999.%1E+6").arg(i);
        document->AddRealtimedata(QStringLiteral("10:00:0%1").arg(i), value, QStringLiteral("OHM"), true, value);
    }
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&area));
    const auto whole = [&](const char* key) { return !shown->panel(QString::fromLatin1(key))->isElided(); };
    ASSERT_TRUE(waitFor([&] { return whole("Max") && whole("Min") && whole("Avg"); }))
        << shown->panel(QStringLiteral("Max"))->shownText().toStdString();
    const int widthBefore = shown->width();

    Limits limits;
    limits.upper = -9999.2e6;
    limits.unit = QStringLiteral("OHM");
    document->setLimits(limits);
    ASSERT_TRUE(waitFor([&] { return shown->panel(QStringLiteral("Judge"))->isVisible(); }));
    EXPECT_GT(shown->width(), widthBefore);
    EXPECT_TRUE(waitFor([&] { return whole("Max") && whole("Min") && whole("Avg") && whole("Judge"); }))
        << shown->panel(QStringLiteral("Max"))->shownText().toStdString();
}

TEST_F(LimitsWindowTest, AWindowMadeNarrowStaysNarrowWhenLimitsAreSet)
{
    addRamp();
    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    window->resize(window->minimumWidth() + 40, window->height());
    ASSERT_TRUE(waitFor([&] { return window->width() == window->minimumWidth() + 40; }));
    const int narrow = window->width();
    doc->setLimits(twoToFiveVolts());
    ASSERT_TRUE(waitFor([&] { return window->panel(QStringLiteral("Judge"))->isVisible(); }));
    // Only as much wider as the counts' own least room asks, never to the default width.
    EXPECT_EQ(window->width(), std::max(window->minimumWidth(), narrow));
}

TEST_F(LimitsWindowTest, RowsOutOfLimitsAreMarkedInEveryCell)
{
    addRamp();
    window->resize(1000, 500);
    window->show();
    doc->setLimits(twoToFiveVolts());
    window->grid()->clearSelection(); // a selected cell shows the selection instead
    const JudgementMarks marks = judgementMarks(window->grid()->palette());
    for (int column = 0; column < 3; ++column) {
        EXPECT_EQ(cellColour(0, column), marks.lo) << column; // 1 V
        EXPECT_EQ(cellColour(5, column), marks.hi) << column; // 6 V
        EXPECT_EQ(cellColour(2, column), window->grid()->palette().color(QPalette::Base)) << column; // 3 V passes
    }
    // The limit itself passes: 2 V and 5 V are not marked.
    EXPECT_EQ(cellColour(1, 1), window->grid()->palette().color(QPalette::Base));
    EXPECT_EQ(cellColour(4, 1), window->grid()->palette().color(QPalette::Base));
}

TEST_F(LimitsWindowTest, TheMarksReadOnLightAndDarkPalettes)
{
    for (const QPalette& palette : {QPalette(), darkPalette()}) {
        const JudgementMarks marks = judgementMarks(palette);
        const QColor base = palette.color(QPalette::Base);
        EXPECT_GE(contrastRatio(marks.text, marks.hi), 4.5);
        EXPECT_GE(contrastRatio(marks.text, marks.lo), 4.5);
        // Told apart from an unmarked row and from each other.
        EXPECT_GE(contrastRatio(marks.hi, base), 1.2) << base.name().toStdString();
        EXPECT_GE(contrastRatio(marks.lo, base), 1.2) << base.name().toStdString();
        EXPECT_NE(marks.hi, marks.lo);
    }
    // On the dark palette the table paints them as it paints the light one.
    addRamp();
    window->setPalette(darkPalette());
    window->resize(1000, 500);
    window->show();
    doc->setLimits(twoToFiveVolts());
    window->grid()->clearSelection();
    EXPECT_EQ(cellColour(5, 1), judgementMarks(darkPalette()).hi);
    EXPECT_EQ(cellColour(0, 1), judgementMarks(darkPalette()).lo);
}

TEST_F(LimitsWindowTest, TheChartDrawsBothLimitsAsLinesOfItsPlot)
{
    addRamp();
    window->resize(1000, 500);
    window->show();
    EXPECT_EQ(limitPixelsAt(5), 0);
    doc->setLimits(twoToFiveVolts());
    const QList<QCPItemStraightLine*> lines = shownLines();
    ASSERT_EQ(lines.size(), 2);
    QList<double> at;
    for (QCPItemStraightLine* line : lines) {
        EXPECT_EQ(line->point1->coords().y(), line->point2->coords().y());
        at << line->point1->coords().y();
    }
    std::sort(at.begin(), at.end());
    EXPECT_EQ(at, (QList<double>{2, 5}));
    EXPECT_GT(limitPixelsAt(5), 50);
    EXPECT_GT(limitPixelsAt(2), 50);

    // Another unit: the lines go.
    Limits ohms = twoToFiveVolts();
    ohms.unit = QStringLiteral("OHM");
    doc->setLimits(ohms);
    EXPECT_TRUE(shownLines().isEmpty());
    EXPECT_EQ(limitPixelsAt(5), 0);
}

TEST_F(LimitsWindowTest, LimitsOutsideTheReadingsAreKeptInView)
{
    for (int i = 1; i <= 5; ++i)
        addReading(i, QStringLiteral("3.000"));
    window->resize(1000, 500);
    window->show();
    Limits limits;
    limits.upper = 12;
    limits.lower = -4;
    limits.unit = QStringLiteral("VDC");
    doc->setLimits(limits);
    window->chart()->refreshNow();
    EXPECT_LE(window->chart()->yAxis->range().lower, -4);
    EXPECT_GE(window->chart()->yAxis->range().upper, 12);
    EXPECT_GT(limitPixelsAt(12), 50);
    EXPECT_GT(limitPixelsAt(-4), 50);
}

TEST_F(LimitsWindowTest, OnADarkPaletteTheLinesReadOnTheBackdrop)
{
    addRamp();
    window->setPalette(darkPalette());
    window->resize(1000, 500);
    window->show();
    doc->setLimits(twoToFiveVolts());
    const ChartColours colours = window->chart()->colours();
    const QColor line = ChartLimitLines::lineColour(true);
    EXPECT_GE(contrastRatio(line, colours.backdrop), 3.0);
    EXPECT_GE(contrastRatio(ChartLimitLines::lineColour(false), QColor(Qt::white)), 3.0);
    EXPECT_GT(limitPixelsAt(5), 50);
}
