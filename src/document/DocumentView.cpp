#include "document/DocumentView.h"

#include "resources/Constant.h"

#include <algorithm>

namespace quvo {

DocumentPlacement arrangeDocument(double windowWidth, double windowHeight, const DocumentDesign& design)
{
    DocumentPlacement p;
    const double gridHeight = std::max(0.0, windowHeight - design.gridTop - GridBottomMargin);
    p.grid = QRectF(design.gridLeft, design.gridTop, design.gridWidth, gridHeight);

    const double chartWidth = std::max(0.0, windowWidth - design.chartLeft - ChartRightMargin);
    p.chart = QRectF(design.chartLeft, design.chartTop, chartWidth, gridHeight);

    p.scroll = QRectF(p.chart.left(), p.chart.bottom(), p.chart.width(), design.scrollHeight);
    p.progress = QRectF(p.grid.left(), p.grid.bottom() + design.progressGap, p.grid.width(), design.progressHeight);
    return p;
}

DocumentButtons documentButtons(bool enabled, int kind)
{
    DocumentButtons b;
    b.save = enabled;
    b.forward = enabled;
    const bool realtime = kind == DataKinds::Realtime;
    b.start = realtime && enabled;
    b.interval = realtime && enabled;
    b.graph = enabled;
    return b;
}

} // namespace quvo
