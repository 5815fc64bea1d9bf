// What a person reads in a document window at its default size and after resizing it: the
// status panels show their texts whole (or cut with "…" and the whole text as tool tip), and
// the chart's time labels never print over each other. These tests also run at
// QT_SCALE_FACTOR=2 (see CMakeLists.txt).

#include "UiTestSupport.h"

#include "document/ChartView.h"
#include "document/DataDocument.h"
#include "document/StatusPanel.h"
#include "document/WidestTexts.h"
#include "document/frmData.h"
#include "resources/Constant.h"
#include "resources/Twips.h"
#include "support/TestHelpers.h"

#include <QFontMetrics>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QTableView>

#include <memory>

using namespace quvo;
using namespace quvo::test;

namespace {

// A document window as the main window shows a new one: in a document area, at the size
// the window asks for.
class DocumentTextsTest : public UiTest {
protected:
    void SetUp() override
    {
        UiTest::SetUp();
        area = std::make_unique<QMdiArea>();
        area->resize(2000, 1200);
        window = new frmData;
        frame = area->addSubWindow(window);
        area->show();
        frame->show();
        doc = window->document();
    }
    void TearDown() override
    {
        area.reset();
        UiTest::TearDown();
    }

    // The pixels a panel has for its text, and the text's width in the panel's font.
    static int room(const StatusPanel* panel) { return panel->textRect().width(); }
    static int widthOf(const QLabel* label, const QString& text)
    {
        return QFontMetrics(label->font()).horizontalAdvance(text);
    }

    void expectWhole(const char* key)
    {
        SCOPED_TRACE(key);
        const StatusPanel* panel = window->panel(QString::fromLatin1(key));
        ASSERT_NE(panel, nullptr);
        EXPECT_FALSE(panel->text().isEmpty());
        EXPECT_LE(widthOf(panel, panel->text()), room(panel)) << panel->text().toStdString();
        EXPECT_EQ(panel->shownText(), panel->text());
        EXPECT_TRUE(panel->toolTip().isEmpty());
    }

    // A realtime reading as acquisition adds it.
    void addReading(const QString& time, const QString& value, const QString& mode)
    {
        ASSERT_TRUE(doc->AddGridrow());
        doc->AddRealtimedata(time, value, mode, DataDocument::IsReadingValue(value), value);
    }

    std::unique_ptr<QMdiArea> area;
    frmData* window = nullptr;
    QMdiSubWindow* frame = nullptr;
    DataDocument* doc = nullptr;
};

// The X axis labels as the chart draws them: centred on their ticks, as wide as their text.
struct LabelBox {
    QString text;
    double left, right;
};

QVector<LabelBox> categoryLabels(const ChartView* chart)
{
    QVector<LabelBox> boxes;
    const QVector<double> ticks = chart->xAxis->tickVector();
    const QVector<QString> labels = chart->xAxis->tickVectorLabels();
    const QFontMetrics metrics(chart->xAxis->tickLabelFont());
    for (int i = 0; i < ticks.size() && i < labels.size(); ++i) {
        if (labels.at(i).isEmpty())
            continue;
        const double centre = chart->xAxis->coordToPixel(ticks.at(i));
        const double width = metrics.boundingRect(labels.at(i)).width();
        boxes.append({labels.at(i), centre - width / 2, centre + width / 2});
    }
    return boxes;
}

} // namespace

TEST_F(DocumentTextsTest, ANewWindowIsSizedByTheDocument)
{
    doc->OpenNew(DataKinds::Realtime);
    // The size a new window asks for: the default, wider where the texts need it.
    EXPECT_EQ(window->size(), window->sizeHint());
    EXPECT_EQ(window->width(), twipsToPixels(window->defaultWidthTwips(), window->logicalDpiX()));
    EXPECT_EQ(window->height(), twipsToPixels(DefaultDocumentHeight, window->logicalDpiY()));
    EXPECT_FLOAT_EQ(doc->windowWidth(), static_cast<float>(window->widthTwips()));
}

TEST_F(DocumentTextsTest, TheDefaultWindowShowsTheWidestStatisticsOfEveryUnitClassWhole)
{
    // One document per function word and prefix, each reading the widest a meter sends.
    for (const WidestReading& r : widestReadings()) {
        SCOPED_TRACE((r.mode + QLatin1Char(' ') + r.value).toStdString());
        doc->OpenNew(DataKinds::Realtime);
        programState().MeterModel = r.meterModel;
        addReading(QStringLiteral("23:59:59"), r.value, r.mode);
        expectWhole("Max");
        expectWhole("Min");
        expectWhole("Avg");
    }
}

TEST_F(DocumentTextsTest, MaxAndMinNamingTheLastRowAreShownWhole)
{
    // A full document whose largest and smallest readings are in the last rows: the MAX and
    // MIN lines name rows 32766 and 32767.
    doc->OpenNew(DataKinds::Realtime);
    programState().MeterModel = QStringLiteral("0");
    const QString time = QStringLiteral("23:59:59");
    const QString mode = QStringLiteral("OHM");
    for (int row = 1; row <= MaxReadings - 2; ++row) {
        ASSERT_TRUE(doc->AddGridrow());
        doc->AddData(time, QStringLiteral("-9999.8E+6"), mode, QStringLiteral("-9999.8E+6"));
    }
    addReading(time, QStringLiteral("-9999.7E+6"), mode);
    addReading(time, QStringLiteral("-99999E+6"), mode);
    ASSERT_EQ(doc->GetDatacount(), MaxReadings);
    EXPECT_TRUE(window->panel(QStringLiteral("Max"))->text().startsWith(QStringLiteral("No.[ 32766 ]")));
    EXPECT_TRUE(window->panel(QStringLiteral("Min"))->text().startsWith(QStringLiteral("No.[ 32767 ]")));
    expectWhole("Max");
    expectWhole("Min");
    expectWhole("Avg");
}

TEST_F(DocumentTextsTest, EveryFixedTextFitsItsWidget)
{
    for (const int kind : {DataKinds::Realtime, DataKinds::Logging, DataKinds::Save}) {
        doc->OpenNew(kind);
        doc->SetInterval(QStringLiteral("99"), QStringLiteral("23"), QStringLiteral("59"), QStringLiteral("59"));
        doc->SetPeriod(false, QStringLiteral("99"), QStringLiteral("23"), QStringLiteral("59"), QStringLiteral("59"));
        for (QLabel* label : window->findChildren<QLabel*>()) {
            SCOPED_TRACE(label->objectName().toStdString());
            if (label->text().isEmpty())
                continue;
            if (auto* panel = qobject_cast<StatusPanel*>(label)) {
                EXPECT_LE(widthOf(panel, panel->text()), room(panel)) << panel->text().toStdString();
                EXPECT_FALSE(panel->isElided());
            } else {
                EXPECT_LE(widthOf(label, label->text()), label->contentsRect().width()) << label->text().toStdString();
            }
        }
    }
    // The grid's headings and widest cells fit their columns.
    QTableView* grid = window->grid();
    const QFontMetrics metrics(grid->font());
    EXPECT_LT(metrics.horizontalAdvance(QStringLiteral("23:59:59")), grid->columnWidth(0));
    for (const WidestReading& r : widestReadings())
        EXPECT_LT(metrics.horizontalAdvance(r.value), grid->columnWidth(1)) << r.value.toStdString();
    EXPECT_LT(metrics.horizontalAdvance(QStringLiteral("OHM")), grid->columnWidth(2));
}

TEST_F(DocumentTextsTest, ANarrowWindowEndsTheTextWithAnEllipsisAndTellsItInTheToolTip)
{
    doc->OpenNew(DataKinds::Realtime);
    programState().MeterModel = QStringLiteral("0");
    addReading(QStringLiteral("12:00:00"), QStringLiteral("-2.5E+6"), QStringLiteral("OHM"));
    const QString avg = QStringLiteral("-2.50000000E+6");
    StatusPanel* panel = window->panel(QStringLiteral("Avg"));
    ASSERT_EQ(panel->text(), avg);

    // As narrow as the window goes.
    const int wide = frame->width();
    frame->resize(1, frame->height());
    ASSERT_TRUE(waitFor([&] { return panel->isElided(); }));
    EXPECT_EQ(window->width(), window->minimumWidth());
    EXPECT_GT(panel->shownText().size(), 4);
    EXPECT_TRUE(panel->shownText().endsWith(QChar(0x2026))) << panel->shownText().toStdString();
    EXPECT_LE(widthOf(panel, panel->shownText()), room(panel));
    EXPECT_EQ(panel->toolTip(), avg);
    for (const char* key : {"Max", "Min", "Avg"}) {
        const StatusPanel* p = window->panel(QString::fromLatin1(key));
        EXPECT_EQ(p->toolTip(), p->isElided() ? p->text() : QString()) << key;
    }

    // Wide enough again: whole, and no tool tip.
    frame->resize(wide, frame->height());
    ASSERT_TRUE(waitFor([&] { return !panel->isElided(); }));
    EXPECT_EQ(panel->shownText(), avg);
    EXPECT_TRUE(panel->toolTip().isEmpty());

    // A new text in a narrow window is cut at once.
    frame->resize(1, frame->height());
    ASSERT_TRUE(waitFor([&] { return panel->isElided(); }));
    addReading(QStringLiteral("12:00:01"), QStringLiteral("-3.5E+6"), QStringLiteral("OHM"));
    EXPECT_EQ(panel->text(), QStringLiteral("-3.00000000E+6"));
    EXPECT_EQ(panel->toolTip(), panel->text());
}

TEST_F(DocumentTextsTest, TimeLabelsNeverOverlapAfterResizeMaximiseAndRestore)
{
    doc->OpenNew(DataKinds::Realtime);
    for (int i = 0; i < 20; ++i)
        addReading(QStringLiteral("12:00:%1").arg(i, 2, 10, QLatin1Char('0')), QString::number(i % 7),
                   QStringLiteral("VDC"));
    ChartView* chart = window->chart();

    const auto check = [&](const char* step) {
        SCOPED_TRACE(step);
        // The chart has drawn itself for the size it has now.
        ASSERT_TRUE(waitFor([&] { return chart->axisRect()->outerRect() == chart->rect(); }));
        const QVector<LabelBox> labels = categoryLabels(chart);
        ASSERT_GE(labels.size(), 2);
        for (int i = 1; i < labels.size(); ++i)
            EXPECT_LT(labels.at(i - 1).right, labels.at(i).left) << labels.at(i - 1).text.toStdString() << " and "
                                                                  << labels.at(i).text.toStdString();
        // Inside the chart, evenly spread (the same number of categories apart).
        EXPECT_GE(labels.first().left, 0);
        EXPECT_LE(labels.last().right, chart->width());
        const QVector<double> ticks = chart->xAxis->tickVector();
        for (int i = 2; i < ticks.size(); ++i)
            EXPECT_EQ(ticks.at(i) - ticks.at(i - 1), ticks.at(1) - ticks.at(0));
    };

    frame->resize(1900, 700);
    check("wide");
    const int wide = static_cast<int>(categoryLabels(chart).size());
    EXPECT_EQ(wide, 20); // room for every label
    frame->resize(700, 500);
    check("narrow");
    EXPECT_LT(categoryLabels(chart).size(), wide);
    frame->showMaximized();
    check("maximised");
    frame->showNormal();
    check("restored");
    frame->resize(520, 400);
    check("narrower");
    frame->resize(1900, 700);
    check("wide again");
    EXPECT_EQ(categoryLabels(chart).size(), wide);
}

TEST_F(DocumentTextsTest, ValueLabelsNeverOverlapHoweverManyDivisions)
{
    doc->OpenNew(DataKinds::Realtime);
    for (int i = 0; i < 20; ++i)
        addReading(QStringLiteral("12:00:%1").arg(i, 2, 10, QLatin1Char('0')), QString::number(i), QStringLiteral("VDC"));
    doc->SetAxisY(false, QStringLiteral("0"), QStringLiteral("50"), 50, 1); // a label every 1
    ChartView* chart = window->chart();
    const QFontMetrics metrics(chart->yAxis->tickLabelFont());

    const auto check = [&](const char* step) {
        SCOPED_TRACE(step);
        ASSERT_TRUE(waitFor([&] { return chart->axisRect()->outerRect() == chart->rect(); }));
        const QVector<double> ticks = chart->yAxis->tickVector();
        const QVector<QString> labels = chart->yAxis->tickVectorLabels();
        ASSERT_EQ(ticks.size(), 51); // every division keeps its grid line
        double previousTop = 1e9;
        int shown = 0;
        for (int i = 0; i < ticks.size(); ++i) {
            if (labels.at(i).isEmpty())
                continue;
            const double centre = chart->yAxis->coordToPixel(ticks.at(i));
            const double bottom = centre + metrics.height() / 2.0;
            EXPECT_LT(bottom, previousTop) << labels.at(i).toStdString();
            previousTop = centre - metrics.height() / 2.0;
            ++shown;
        }
        EXPECT_GE(shown, 2);
        EXPECT_EQ(labels.first(), QStringLiteral("0.0")); // counted from the minimum
    };
    frame->resize(900, 300);
    check("low");
    frame->showMaximized();
    check("maximised");
    frame->showNormal();
    check("restored");
}
