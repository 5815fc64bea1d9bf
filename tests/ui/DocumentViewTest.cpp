// The document window's rules without widgets: layout in twips and document buttons.

#include "UiTestSupport.h"

#include "acquisition/frmMoniterLayout.h"
#include "document/DocumentView.h"
#include "resources/Constant.h"

using namespace quvo;
using namespace quvo::test;

namespace {

class DocumentViewTest : public UiTest {};

DocumentDesign design()
{
    DocumentDesign d;
    d.gridLeft = 60;
    d.gridTop = 1000;
    d.gridWidth = 4500;
    d.chartLeft = 4620;
    d.chartTop = 1000;
    d.scrollHeight = 240;
    d.progressGap = 60;
    d.progressHeight = 240;
    return d;
}

} // namespace

TEST_F(DocumentViewTest, GridChartAndScrollBarFollowTheWindowSize)
{
    const DocumentPlacement p = arrangeDocument(9000, 6000, design());
    EXPECT_EQ(p.grid, QRectF(60, 1000, 4500, 6000 - 1000 - 480));
    EXPECT_EQ(p.chart, QRectF(4620, 1000, 9000 - 4620 - 240, 4520));
    EXPECT_EQ(p.scroll, QRectF(4620, 1000 + 4520, 4140, 240));
    EXPECT_EQ(p.progress, QRectF(60, 5520 + 60, 4500, 240));

    const DocumentPlacement wider = arrangeDocument(12000, 8000, design());
    EXPECT_EQ(wider.grid, QRectF(60, 1000, 4500, 6520)); // keeps left, top, width
    EXPECT_EQ(wider.chart, QRectF(4620, 1000, 7140, 6520));
    EXPECT_EQ(wider.scroll.top(), wider.chart.bottom());
    EXPECT_EQ(wider.scroll.width(), wider.chart.width());
}

TEST_F(DocumentViewTest, ATinyWindowGivesEmptyControlsNotNegativeOnes)
{
    const DocumentPlacement p = arrangeDocument(1000, 900, design());
    EXPECT_EQ(p.grid.height(), 0);
    EXPECT_EQ(p.chart.height(), 0);
    EXPECT_EQ(p.chart.width(), 0);
}

TEST_F(DocumentViewTest, RealtimeDocumentsOfferAllFiveButtons)
{
    EXPECT_EQ(documentButtons(true, DataKinds::Realtime), (DocumentButtons{true, true, true, true, true}));
    EXPECT_EQ(documentButtons(false, DataKinds::Realtime), (DocumentButtons{false, false, false, false, false}));
}

TEST_F(DocumentViewTest, RecordDocumentsOfferSaveForwardAndGraph)
{
    for (const int kind : {DataKinds::Logging, DataKinds::Save, DataKinds::Unknown}) {
        EXPECT_EQ(documentButtons(true, kind), (DocumentButtons{true, true, false, false, true})) << kind;
        EXPECT_EQ(documentButtons(false, kind), (DocumentButtons{false, false, false, false, false})) << kind;
    }
}

TEST_F(DocumentViewTest, SwitchingFromARealtimeToASaveModeDocument)
{
    // The realtime window stops being active, then the SAVE-mode window becomes active.
    DocumentButtons shown = documentButtons(false, DataKinds::Realtime);
    shown = documentButtons(true, DataKinds::Save);
    EXPECT_FALSE(shown.start);
    EXPECT_FALSE(shown.interval);
    EXPECT_TRUE(shown.save);
    EXPECT_TRUE(shown.forward);
    EXPECT_TRUE(shown.graph);
    // The last document closes.
    shown = documentButtons(false, DataKinds::Save);
    EXPECT_EQ(shown, DocumentButtons{});
}

TEST_F(DocumentViewTest, TheMonitorIsSizedToItsValueLabel)
{
    EXPECT_EQ(MoniterLayout::windowSize(QRectF(120, 900, 4800, 840)), QSizeF(120 + 4800 + 240, 900 + 840 + 540));
}
