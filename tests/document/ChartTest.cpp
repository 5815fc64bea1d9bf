// The chart side of a document as data: the sliding window of points, the MAX/MIN series,
// the scroll range, axis settings and label formats, the automatic Y scale, progress.

#include "DocumentTestSupport.h"

#include "document/ChartScale.h"
#include "resources/RuntimeError.h"

#include <QSignalSpy>

#include <cmath>

using namespace quvo;
using namespace quvo::test;

namespace {

class ChartTest : public DocumentTest {
protected:
    // Readings 1..count with time "t<i>" and value i (so row r shows value r).
    void fillRealtime(DataDocument& doc, int count)
    {
        for (int i = 1; i <= count; ++i)
            addRealtime(doc, QStringLiteral("t%1").arg(i), QString::number(i), QStringLiteral("VDC"), true,
                        QString::number(i));
    }
};

} // namespace

TEST_F(ChartTest, FifteenReadingsOnTwentyPointsLeaveFiveEmptyPoints)
{
    auto doc = newDocument(DataKinds::Realtime);
    fillRealtime(*doc, 15);
    doc->PaintGraphtop();
    const ChartFrame& f = doc->chart();
    EXPECT_EQ(f.pointCount, 20);
    EXPECT_EQ(f.shownCount, 15);
    EXPECT_EQ(f.firstRow, 1);
    for (int p = 1; p <= 15; ++p) {
        EXPECT_EQ(doc->chartLabel(p), QStringLiteral("t%1").arg(p));
        EXPECT_EQ(doc->chartValue(p), static_cast<float>(p));
    }
    for (int p = 16; p <= 20; ++p) {
        EXPECT_EQ(doc->chartLabel(p), QString()) << p;
        EXPECT_TRUE(std::isnan(doc->chartValue(p))) << p;
    }
    EXPECT_EQ(doc->chartValues().size(), 15u);
    EXPECT_FALSE(doc->scrollRange().enabled);
    EXPECT_EQ(doc->scrollRange().value, 0);
    // MAX and MIN at every point, the empty ones included.
    EXPECT_TRUE(f.hasMax);
    EXPECT_TRUE(f.hasMin);
    EXPECT_EQ(f.maxValue, 15.0f);
    EXPECT_EQ(f.minValue, 1.0f);
}

TEST_F(ChartTest, TwentyFiveReadingsScrollByFive)
{
    auto doc = newDocument(DataKinds::Logging);
    programState().MeterModel = QStringLiteral("1");
    for (int i = 1; i <= 25; ++i)
        addStored(*doc, QStringLiteral("t%1").arg(i), QString::number(i), QStringLiteral("VDC"), QString::number(i));
    doc->PaintGraphtop();
    EXPECT_TRUE(doc->scrollRange().enabled);
    EXPECT_EQ(doc->scrollRange().maximum, 5);
    EXPECT_EQ(doc->scrollRange().value, 0);
    EXPECT_EQ(doc->chartLabel(1), QStringLiteral("t1"));

    QSignalSpy chart(doc.get(), &DataDocument::chartChanged);
    doc->setScrollValue(5);
    EXPECT_EQ(chart.size(), 1);
    EXPECT_EQ(doc->chart().firstRow, 6);
    EXPECT_EQ(doc->chart().shownCount, 20);
    for (int p = 1; p <= 20; ++p) {
        EXPECT_EQ(doc->chartLabel(p), QStringLiteral("t%1").arg(p + 5));
        EXPECT_EQ(doc->chartValue(p), static_cast<float>(p + 5));
    }
    doc->setScrollValue(99); // clamped to the maximum
    EXPECT_EQ(doc->scrollRange().value, 5);
}

TEST_F(ChartTest, RealtimeReadingsPastTheWindowScrollTheChartAlong)
{
    auto doc = newDocument(DataKinds::Realtime);
    fillRealtime(*doc, 20);
    EXPECT_FALSE(doc->scrollRange().enabled);
    addRealtime(*doc, QStringLiteral("t21"), QStringLiteral("21"), QStringLiteral("VDC"), true, QStringLiteral("21"));
    EXPECT_EQ(doc->scrollRange().maximum, 1);
    EXPECT_EQ(doc->scrollRange().value, 1);
    EXPECT_TRUE(doc->scrollRange().enabled);
    addRealtime(*doc, QStringLiteral("t22"), QStringLiteral("22"), QStringLiteral("VDC"), true, QStringLiteral("22"));
    EXPECT_EQ(doc->scrollRange().maximum, 2);
    EXPECT_EQ(doc->chart().firstRow, 3);
    EXPECT_EQ(doc->chartLabel(20), QStringLiteral("t22"));
    EXPECT_EQ(doc->chartValue(20), 22.0f);
    EXPECT_EQ(doc->chart().maxValue, 22.0f);
}

TEST_F(ChartTest, ScrollingWhileRealtimeCommandsAreOnKeepsTheChartStill)
{
    auto doc = newDocument(DataKinds::Realtime);
    fillRealtime(*doc, 30);
    programState().RealtimeCommandsOn = true;
    QSignalSpy chart(doc.get(), &DataDocument::chartChanged);
    doc->setScrollValue(0);
    EXPECT_EQ(doc->scrollRange().value, 0);
    EXPECT_EQ(chart.size(), 0);
    EXPECT_EQ(doc->chart().firstRow, 11);
    programState().RealtimeCommandsOn = false;
    doc->setScrollValue(3);
    EXPECT_EQ(chart.size(), 1);
    EXPECT_EQ(doc->chart().firstRow, 4);
}

TEST_F(ChartTest, AnErrorReadingIsAGapWhileMaxAndMinSeriesKeepTheirValues)
{
    auto doc = newDocument(DataKinds::Realtime);
    addRealtime(*doc, QStringLiteral("t1"), QStringLiteral("2.5"), QStringLiteral("VDC"), true, QStringLiteral("2.5"));
    addRealtime(*doc, QStringLiteral("t2"), QStringLiteral("ERROR"), QString(), false, QStringLiteral("ERROR"));
    addRealtime(*doc, QStringLiteral("t3"), QStringLiteral("-1.5"), QStringLiteral("VDC"), true, QStringLiteral("-1.5"));
    addRealtime(*doc, QStringLiteral("t4"), QStringLiteral("+OL"), QStringLiteral("VDC"), false, QStringLiteral("+OL"));
    const ChartFrame& f = doc->chart();
    EXPECT_EQ(doc->chartValue(1), 2.5f);
    EXPECT_TRUE(std::isnan(doc->chartValue(2)));
    EXPECT_EQ(doc->chartLabel(2), QStringLiteral("t2")); // the gap keeps its label
    EXPECT_EQ(doc->chartValue(3), -1.5f);
    EXPECT_TRUE(std::isnan(doc->chartValue(4)));
    EXPECT_TRUE(f.hasMax);
    EXPECT_TRUE(f.hasMin);
    EXPECT_EQ(f.maxValue, 2.5f);
    EXPECT_EQ(f.minValue, -1.5f);
}

TEST_F(ChartTest, NoMaxOrMinSeriesWithoutANumericReading)
{
    auto doc = newDocument(DataKinds::Realtime);
    addRealtime(*doc, QStringLiteral("t1"), QStringLiteral("ERROR"), QString(), false, QStringLiteral("ERROR"));
    EXPECT_FALSE(doc->chart().hasMax);
    EXPECT_FALSE(doc->chart().hasMin);
}

TEST_F(ChartTest, SaveModePointsAreLabelledWithTheirNumber)
{
    auto doc = newDocument(DataKinds::Save);
    programState().MeterModel = QStringLiteral("3");
    addStored(*doc, QString(), QStringLiteral("1.5"), QStringLiteral("V"), QStringLiteral("1.5"));
    addStored(*doc, QString(), QStringLiteral("2.5"), QStringLiteral("V"), QStringLiteral("2.5"));
    doc->PaintGraphtop();
    EXPECT_EQ(doc->chartLabel(1), QStringLiteral("0"));
    EXPECT_EQ(doc->chartLabel(2), QStringLiteral("1"));
    EXPECT_EQ(doc->chartLabel(3), QString());
}

TEST_F(ChartTest, YLabelFormatFollowsTheCustomRange)
{
    auto doc = newDocument(DataKinds::Realtime);
    doc->SetAxisY(false, QStringLiteral("0.001"), QStringLiteral("0.005"), 2, 4);
    EXPECT_EQ(doc->axisY().labelFormat, QStringLiteral("0.0###E-#"));
    EXPECT_EQ(doc->panelText(QStringLiteral("Y")), QString());
    const AxisYTexts t = doc->GetAxisY();
    EXPECT_EQ(t.automatic, QStringLiteral("False"));
    EXPECT_EQ(t.minimum, QStringLiteral("0.001"));
    EXPECT_EQ(t.maximum, QStringLiteral("0.005"));
    EXPECT_EQ(t.major, QStringLiteral("2"));
    EXPECT_EQ(t.minor, QStringLiteral("4"));
    EXPECT_DOUBLE_EQ(doc->chart().yMinimum, 0.001);
    EXPECT_DOUBLE_EQ(doc->chart().yMaximum, 0.005);

    doc->SetAxisY(false, QStringLiteral("0"), QStringLiteral("10"), 1, 1);
    EXPECT_EQ(doc->axisY().labelFormat, QStringLiteral("0.0###"));
    doc->SetAxisY(false, QStringLiteral("1"), QStringLiteral("1.0099"), 1, 1); // just below 0.01
    EXPECT_EQ(doc->axisY().labelFormat, QStringLiteral("0.0###E-#"));
    doc->SetAxisY(false, QStringLiteral("-0.005"), QStringLiteral("0.005"), 1, 1); // exactly 0.01
    EXPECT_EQ(doc->axisY().labelFormat, QStringLiteral("0.0###"));

    doc->SetAxisY(true, QStringLiteral("1"), QStringLiteral("10"), 1, 1);
    EXPECT_EQ(doc->axisY().labelFormat, QString());
    EXPECT_EQ(doc->panelText(QStringLiteral("Y")), QStringLiteral("Automatic"));
    // The custom texts stay for the next custom scale; GetAxisY gives the automatic scale.
    EXPECT_EQ(doc->axisY().minimumText, QStringLiteral("-0.005"));
    EXPECT_EQ(doc->GetAxisY().minimum, QStringLiteral("0"));
    EXPECT_EQ(doc->GetAxisY().maximum, QStringLiteral("10"));
}

TEST_F(ChartTest, CustomYAxisWithTextsThatAreNotNumbersIsRefused)
{
    auto doc = newDocument(DataKinds::Realtime);
    EXPECT_THROW(doc->SetAxisY(false, QStringLiteral("low"), QStringLiteral("10"), 1, 1), RuntimeError);
    EXPECT_THROW(doc->SetAxisY(false, QStringLiteral("0"), QStringLiteral("10"), 0, 1), RuntimeError);
    EXPECT_TRUE(doc->axisY().automatic);
    EXPECT_TRUE(doc->isUnchanged());
    // Automatic: the texts are not looked at.
    doc->SetAxisY(true, QStringLiteral("low"), QStringLiteral("high"), 1, 1);
    EXPECT_TRUE(doc->axisY().automatic);
}

TEST_F(ChartTest, XAxisSettingsAndCancelXauto)
{
    auto doc = newDocument(DataKinds::Realtime);
    doc->SetAxisX(false, 3, 2);
    AxisXTexts t = doc->GetAxisX();
    EXPECT_EQ(t.automatic + QLatin1Char(',') + t.perLabel + QLatin1Char(',') + t.perTick, QStringLiteral("False,3,2"));
    EXPECT_EQ(doc->panelText(QStringLiteral("X")), QString());
    doc->SetAxisX(true, 7, 7); // automatic: the divisions stay as they were
    t = doc->GetAxisX();
    EXPECT_EQ(t.automatic + QLatin1Char(',') + t.perLabel + QLatin1Char(',') + t.perTick, QStringLiteral("True,3,2"));
    EXPECT_EQ(doc->panelText(QStringLiteral("X")), QStringLiteral("Automatic"));
    doc->CancelXauto();
    EXPECT_FALSE(doc->axisX().automatic);
    EXPECT_EQ(doc->axisX().perLabel, 3);
    EXPECT_EQ(doc->panelText(QStringLiteral("X")), QString());
    EXPECT_THROW(doc->SetAxisX(false, 0, 1), RuntimeError);
}

TEST_F(ChartTest, GraphCountBelowOneIsRefused)
{
    auto doc = newDocument(DataKinds::Realtime);
    EXPECT_THROW(doc->SetGraphcount(0), RuntimeError);
    EXPECT_THROW(doc->SetGraphcount(-5), RuntimeError);
    EXPECT_EQ(doc->GetGraphcount(), QStringLiteral("20"));
    doc->SetGraphcount(32767);
    EXPECT_EQ(doc->GetGraphcount(), QStringLiteral("32767"));
}

TEST_F(ChartTest, AutomaticScaleAroundThePlottedValues)
{
    auto doc = newDocument(DataKinds::Realtime);
    EXPECT_DOUBLE_EQ(doc->chart().yMinimum, 0); // nothing plotted
    EXPECT_DOUBLE_EQ(doc->chart().yMaximum, 10);
    for (const char* v : {"1.5", "2.25", "0.75"})
        addRealtime(*doc, QStringLiteral("t"), QString::fromLatin1(v), QStringLiteral("VDC"), true, QString::fromLatin1(v));
    // Range 0.75..2.25: a fifth of it is 0.3, the step 0.5; whole steps around it.
    EXPECT_DOUBLE_EQ(doc->chart().yMinimum, 0.5);
    EXPECT_DOUBLE_EQ(doc->chart().yMaximum, 2.5);
    EXPECT_EQ(doc->GetAxisY().minimum, QStringLiteral("0.5"));
    EXPECT_EQ(doc->GetAxisY().maximum, QStringLiteral("2.5"));
}

TEST(AutomaticScale, Rule)
{
    const auto check = [](double lo, double hi, double min, double max) {
        const ValueScale s = automaticScale(lo, hi);
        EXPECT_DOUBLE_EQ(s.minimum, min) << lo << ".." << hi;
        EXPECT_DOUBLE_EQ(s.maximum, max) << lo << ".." << hi;
    };
    check(1, 0, 0, 10);             // nothing plotted
    check(1, 5, 1, 5);              // a fifth of 4 is 0.8: step 1
    check(0, 100, 0, 100);          // step 20
    check(-3, 7, -4, 8);            // step 2
    check(0.001, 0.005, 0.001, 0.005); // step 0.001
    check(0.0012, 0.0047, 0.001, 0.005);
    check(5, 5, 4.4, 5.6);          // one value: 4.5..5.5 (a tenth either side), step 0.2
    check(0, 0, -0.6, 0.6);         // zero alone: half a unit either side, step 0.2
    check(-12, -12, -13.5, -10.5);  // step 0.5
    check(123456, 123789, 123400, 123800); // step 100 (a fifth of 333 is 66.6)
}
