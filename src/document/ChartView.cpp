#include "document/ChartView.h"

#include "document/ChartReadout.h"
#include "document/DataDocument.h"
#include "resources/ResID.h"
#include "resources/TextNumber.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QFontMetrics>
#include <QMenu>
#include <QMouseEvent>
#include <QRubberBand>
#include <QToolTip>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace quvo {

namespace {

// Marks of the category axis closer than this are spread apart.
constexpr double MinimumTickPixels = 8;

// The cursor reads a reading up to this far from it along the time axis, in pixels.
constexpr double ReadoutReachPixels = 24;
// One step of a sideways wheel moves the view by this share of the span shown.
constexpr double WheelPanShare = 0.1;
// Wheel angle of one step, in eighths of a degree.
constexpr double WheelStepAngle = 120;

// Key to pixel of a linear axis as one multiplication and one addition (the axis's own
// conversion checks its orientation and scale for every point).
struct LinearMap {
    double scale = 1;
    double offset = 0;
    explicit LinearMap(const QCPAxis* axis)
    {
        const double p0 = axis->coordToPixel(0);
        const double p1 = axis->coordToPixel(1);
        scale = p1 - p0;
        offset = p0;
        linear = axis->scaleType() == QCPAxis::stLinear;
        m_axis = axis;
    }
    double operator()(double coordinate) const
    {
        return linear ? coordinate * scale + offset : m_axis->coordToPixel(coordinate);
    }
    bool linear = true;
    const QCPAxis* m_axis;
};

// Rewrites the values of a series with keys 1..n, keeping its container when it already has
// n points.
void ensurePoints(QCPGraph* graph, int n)
{
    const QSharedPointer<QCPGraphDataContainer> data = graph->data();
    if (data->size() == n)
        return;
    QVector<QCPGraphData> points(n);
    for (int i = 0; i < n; ++i)
        points[i] = QCPGraphData(i + 1, qQNaN());
    data->set(points, true);
}

void fillConstant(QCPGraph* graph, double value)
{
    const QSharedPointer<QCPGraphDataContainer> data = graph->data();
    for (auto it = data->begin(); it != data->end(); ++it)
        it->value = value;
}

// Keeps the markers of a series at least their own size apart: one that would be drawn over
// the one before it is left out.
class MarkerSpacing {
public:
    MarkerSpacing(const QCPAxis* keyAxis, const QCPAxis* valueAxis, double size)
        : m_toX(keyAxis), m_toY(valueAxis), m_spacing(std::max(1.0, size))
    {
    }
    bool take(const QCPGraphData& point)
    {
        const double x = m_toX(point.key);
        const double y = m_toY(point.value);
        if (m_any && std::abs(x - m_lastX) < m_spacing && std::abs(y - m_lastY) < m_spacing)
            return false;
        m_lastX = x;
        m_lastY = y;
        m_any = true;
        return true;
    }

private:
    LinearMap m_toX;
    LinearMap m_toY;
    double m_spacing;
    double m_lastX = 0, m_lastY = 0;
    bool m_any = false;
};

// The plot area grown by what a series draws around a point on its edge: half its line,
// or half its marker and the marker's outline.
QRect clipAroundPlot(const QRect& plot, const QCPGraph& graph)
{
    double reach = graph.pen().widthF() / 2;
    const QCPScatterStyle& scatter = graph.scatterStyle();
    if (!scatter.isNone()) {
        const double outline = scatter.isPenDefined() ? scatter.pen().widthF() : graph.pen().widthF();
        reach = std::max(reach, scatter.size() / 2 + std::max(1.0, outline));
    }
    const int r = static_cast<int>(std::ceil(reach)) + 1;
    return plot.adjusted(-r, -r, r, r);
}

} // namespace

bool isLonePoint(const QCPGraphDataContainer& data, int index)
{
    const int size = data.size();
    if (index < 0 || index >= size)
        return false;
    const auto at = [&data](int i) { return (data.constBegin() + i)->value; };
    if (qIsNaN(at(index)))
        return false;
    return (index == 0 || qIsNaN(at(index - 1))) && (index == size - 1 || qIsNaN(at(index + 1)));
}

// --- CategoryTicker ------------------------------------------------------------------------

CategoryTicker::CategoryTicker(QCPAxis* axis) : m_axis(axis) {}

void CategoryTicker::setLabelSource(std::function<QString(int)> source)
{
    m_label = std::move(source);
}

void CategoryTicker::setCategories(int pointCount, int shownCount)
{
    m_pointCount = pointCount;
    m_shownCount = shownCount;
}

void CategoryTicker::setDivisions(bool automatic, int perLabel, int perTick)
{
    m_automatic = automatic;
    m_perLabel = std::max(1, perLabel);
    m_perTick = std::max(1, perTick);
}

int CategoryTicker::labelWidth(int first, int last) const
{
    const QFontMetrics metrics(m_axis ? m_axis->tickLabelFont() : QFont());
    int widest = metrics.horizontalAdvance(QStringLiteral("0000"));
    if (m_label && m_shownCount > 0 && first <= last) {
        widest = std::max(widest, metrics.horizontalAdvance(m_label(std::clamp(first, 1, m_shownCount))));
        widest = std::max(widest, metrics.horizontalAdvance(m_label(std::clamp(last, 1, m_shownCount))));
    }
    return widest;
}

int CategoryTicker::strideFor(int step, double pixelsPerCategory, double minimumPixels)
{
    step = std::max(1, step);
    const double span = pixelsPerCategory * step;
    if (span >= minimumPixels)
        return step;
    if (!(span > 0))
        return std::numeric_limits<int>::max() / 2;
    const double factor = std::ceil(minimumPixels / span);
    if (factor * step > std::numeric_limits<int>::max() / 2)
        return std::numeric_limits<int>::max() / 2;
    return step * static_cast<int>(factor);
}

void CategoryTicker::generate(const QCPRange& range, const QLocale&, QChar, int, QVector<double>& ticks,
                              QVector<double>* subTicks, QVector<QString>* tickLabels)
{
    ticks.clear();
    if (subTicks)
        subTicks->clear();
    if (tickLabels)
        tickLabels->clear();
    double pixels = 0;
    if (m_axis && m_axis->axisRect())
        pixels = m_axis->orientation() == Qt::Horizontal ? m_axis->axisRect()->width() : m_axis->axisRect()->height();
    m_axisPixels = pixels;
    if (m_pointCount < 1)
        return;
    const int first = std::max(1, static_cast<int>(std::ceil(range.lower)));
    const int last = std::min(m_pointCount, static_cast<int>(std::floor(range.upper)));
    if (first > last)
        return;

    const double perCategory = range.size() > 0 ? pixels / range.size() : 0;

    const QFontMetrics metrics(m_axis ? m_axis->tickLabelFont() : QFont());
    const int gap = metrics.horizontalAdvance(QStringLiteral("  "));
    double labelPixels = labelWidth(first, last) + gap;

    // Marks count from the first category.
    const auto firstMark = [first](int stride) {
        const int k = (first - 1 + stride - 1) / stride;
        return 1 + k * stride;
    };
    const auto labelOf = [this](long long p) {
        return m_label && p <= m_shownCount ? m_label(static_cast<int>(p)) : QString();
    };
    // Labels of one document are alike (times, or record numbers), so the first and the
    // last one shown give the spacing. A wider label among them (a file may hold any time
    // text) spreads them further.
    for (int attempt = 0; attempt < 3; ++attempt) {
        m_labelStride = strideFor(m_automatic ? 1 : m_perLabel, perCategory, labelPixels);
        int widest = 0;
        for (long long p = firstMark(m_labelStride); p <= last && tickLabels; p += m_labelStride)
            widest = std::max(widest, metrics.horizontalAdvance(labelOf(p)));
        if (widest + gap <= labelPixels)
            break;
        labelPixels = widest + gap;
    }
    m_tickStride = strideFor(m_automatic ? 1 : m_perTick, perCategory, MinimumTickPixels);

    for (long long p = firstMark(m_labelStride); p <= last; p += m_labelStride) {
        ticks.append(static_cast<double>(p));
        if (tickLabels)
            tickLabels->append(labelOf(p));
    }
    if (subTicks) {
        for (long long p = firstMark(m_tickStride); p <= last; p += m_tickStride)
            subTicks->append(static_cast<double>(p));
    }
}

// --- ValueTicker -----------------------------------------------------------------------------

ValueTicker::ValueTicker(QCPAxis* axis) : m_axis(axis) {}

void ValueTicker::setScale(bool automatic, double minimum, double maximum, int major, int minor)
{
    m_automatic = automatic;
    m_minimum = minimum;
    m_maximum = maximum;
    m_major = std::max(1, major);
    m_minor = std::max(1, minor);
}

void ValueTicker::setLabelFormat(const QString& format)
{
    m_format = format;
}

QString ValueTicker::labelText(double value, const QString& format)
{
    if (format == QLatin1String("0.0###"))
        return formatAxisPlain(value);
    if (format == QLatin1String("0.0###E-#"))
        return formatAxisScientific(value);
    return QString::number(value, 'g', 6);
}

void ValueTicker::generate(const QCPRange& range, const QLocale& locale, QChar formatChar, int precision,
                           QVector<double>& ticks, QVector<double>* subTicks, QVector<QString>* tickLabels)
{
    if (m_automatic) {
        QCPAxisTicker::generate(range, locale, formatChar, precision, ticks, subTicks, tickLabels);
        if (tickLabels)
            thinLabels(range, ticks, *tickLabels);
        return;
    }
    ticks.clear();
    const double step = (m_maximum - m_minimum) / m_major;
    for (int i = 0; i <= m_major; ++i)
        ticks.append(i == m_major ? m_maximum : m_minimum + i * step);
    if (subTicks) {
        subTicks->clear();
        for (int i = 0; i < m_major; ++i)
            for (int j = 1; j < m_minor; ++j)
                subTicks->append(m_minimum + (i + static_cast<double>(j) / m_minor) * step);
    }
    if (tickLabels) {
        tickLabels->clear();
        for (const double t : std::as_const(ticks))
            tickLabels->append(getTickLabel(t, locale, formatChar, precision));
        thinLabels(range, ticks, *tickLabels);
    }
}

void ValueTicker::thinLabels(const QCPRange& range, const QVector<double>& ticks, QVector<QString>& labels)
{
    m_axisPixels = -1;
    if (!m_axis || !m_axis->axisRect() || ticks.size() < 2 || range.size() <= 0)
        return;
    const bool vertical = m_axis->orientation() == Qt::Vertical;
    m_axisPixels = vertical ? m_axis->axisRect()->height() : m_axis->axisRect()->width();
    const double spacing = std::abs(ticks.at(1) - ticks.at(0)) / range.size() * m_axisPixels;
    const QFontMetrics metrics(m_axis->tickLabelFont());
    int need = metrics.height() + 2;
    if (!vertical) {
        for (const QString& label : std::as_const(labels))
            need = std::max(need, metrics.horizontalAdvance(label) + metrics.horizontalAdvance(QStringLiteral("  ")));
    }
    const int stride = CategoryTicker::strideFor(1, spacing, need);
    if (stride <= 1)
        return;
    for (qsizetype i = 0; i < labels.size(); ++i) {
        if (i % stride != 0)
            labels[i].clear();
    }
}

QString ValueTicker::getTickLabel(double tick, const QLocale& locale, QChar formatChar, int precision)
{
    if (m_format.isEmpty())
        return QCPAxisTicker::getTickLabel(tick, locale, formatChar, precision);
    return labelText(tick, m_format);
}

// --- GapGraph ----------------------------------------------------------------------------------

GapGraph::GapGraph(QCPAxis* keyAxis, QCPAxis* valueAxis) : QCPGraph(keyAxis, valueAxis) {}

void GapGraph::getOptimizedLineData(QVector<QCPGraphData>* lineData,
                                    const QCPGraphDataContainer::const_iterator& begin,
                                    const QCPGraphDataContainer::const_iterator& end) const
{
    if (!lineData)
        return;
    const QCPAxis* keyAxis = mKeyAxis.data();
    if (!keyAxis || !mValueAxis || begin == end) {
        QCPGraph::getOptimizedLineData(lineData, begin, end);
        return;
    }
    const double keyPixelSpan = qAbs(keyAxis->coordToPixel(begin->key) - keyAxis->coordToPixel((end - 1)->key));
    const auto count = end - begin;
    if (!mAdaptiveSampling || static_cast<double>(count) < 2 * keyPixelSpan + 2) {
        QCPGraph::getOptimizedLineData(lineData, begin, end); // every point as it is
        return;
    }

    lineData->clear();
    lineData->reserve(static_cast<int>(4 * keyPixelSpan) + 16);

    // The points of one pixel column: first, lowest, highest and last, in data order.
    struct Column {
        bool open = false;
        int pixel = 0;
        QCPGraphDataContainer::const_iterator first, low, high, last;
    } column;
    const auto flush = [&]() {
        if (!column.open)
            return;
        QCPGraphDataContainer::const_iterator marks[4] = {column.first, column.low, column.high, column.last};
        std::sort(std::begin(marks), std::end(marks));
        const auto* previous = static_cast<const QCPGraphData*>(nullptr);
        for (const auto& m : marks) {
            if (&*m != previous)
                lineData->append(*m);
            previous = &*m;
        }
        column.open = false;
    };

    const LinearMap toX(keyAxis);
    for (auto it = begin; it != end; ++it) {
        if (qIsNaN(it->value)) {
            // A gap: the line stops here, whatever else the column holds.
            flush();
            if (!lineData->isEmpty() && !qIsNaN(lineData->constLast().value))
                lineData->append(QCPGraphData(it->key, qQNaN()));
            continue;
        }
        const int pixel = static_cast<int>(std::floor(toX(it->key)));
        if (column.open && pixel != column.pixel)
            flush();
        if (!column.open) {
            column.open = true;
            column.pixel = pixel;
            column.first = column.low = column.high = column.last = it;
            continue;
        }
        if (it->value < column.low->value)
            column.low = it;
        if (it->value > column.high->value)
            column.high = it;
        column.last = it;
    }
    flush();
}

void GapGraph::getOptimizedScatterData(QVector<QCPGraphData>* scatterData, QCPGraphDataContainer::const_iterator begin,
                                       QCPGraphDataContainer::const_iterator end) const
{
    if (!scatterData)
        return;
    scatterData->clear();
    if (!mKeyAxis || !mValueAxis || mScatterStyle.isNone())
        return;
    const QCPGraphDataContainer& data = *mDataContainer;
    MarkerSpacing spacing(mKeyAxis.data(), mValueAxis.data(), mScatterStyle.size());
    for (auto it = begin; it != end; ++it) {
        if (isLonePoint(data, static_cast<int>(it - data.constBegin())) && spacing.take(*it))
            scatterData->append(*it);
    }
}

QRect GapGraph::clipRect() const
{
    return clipAroundPlot(QCPGraph::clipRect(), *this);
}

// --- MarkerGraph ---------------------------------------------------------------------------------

MarkerGraph::MarkerGraph(QCPAxis* keyAxis, QCPAxis* valueAxis) : QCPGraph(keyAxis, valueAxis) {}

void MarkerGraph::getOptimizedScatterData(QVector<QCPGraphData>* scatterData,
                                          QCPGraphDataContainer::const_iterator begin,
                                          QCPGraphDataContainer::const_iterator end) const
{
    if (!scatterData)
        return;
    scatterData->clear();
    const QCPAxis* keyAxis = mKeyAxis.data();
    const QCPAxis* valueAxis = mValueAxis.data();
    if (!keyAxis || !valueAxis)
        return;
    MarkerSpacing spacing(keyAxis, valueAxis, mScatterStyle.size());
    for (auto it = begin; it != end; ++it) {
        if (!qIsNaN(it->value) && spacing.take(*it))
            scatterData->append(*it);
    }
}

QRect MarkerGraph::clipRect() const
{
    return clipAroundPlot(QCPGraph::clipRect(), *this);
}

// --- ChartView -----------------------------------------------------------------------------------

ChartView::ChartView(QWidget* parent) : QCustomPlot(parent)
{
    setObjectName(QStringLiteral("chData"));
    setLocale(QLocale::c());
    setPlottingHints(QCP::phCacheLabels | QCP::phFastPolylines);

    // Series 2 and 3: MAX and MIN at every point, as markers without a line. They are made
    // first so that the readings' line is drawn over them.
    m_max = new MarkerGraph(xAxis, yAxis);
    m_max->setName(QStringLiteral("MAX"));
    m_max->setLineStyle(QCPGraph::lsNone);
    m_min = new MarkerGraph(xAxis, yAxis);
    m_min->setName(QStringLiteral("MIN"));
    m_min->setLineStyle(QCPGraph::lsNone);
    m_max->setVisible(false);
    m_min->setVisible(false);

    // Series 1: the readings, pen width 2; a dot for a reading without neighbours.
    m_line = new GapGraph(xAxis, yAxis);
    m_line->setName(QStringLiteral("Data"));
    m_line->setLineStyle(QCPGraph::lsLine);
    m_line->setAdaptiveSampling(true);

    // X axis: categories; no tick marks (the divisions show as grid lines), labels under them.
    m_xTicker = QSharedPointer<CategoryTicker>::create(xAxis);
    m_xTicker->setLabelSource([this](int point) { return m_document ? m_document->chartLabel(point) : QString(); });
    xAxis->setTicker(m_xTicker);
    xAxis->setTickLength(0, 0);
    xAxis->setSubTickLength(0, 0);
    xAxis->setSubTicks(true);
    xAxis->grid()->setPen(Qt::NoPen);
    xAxis->grid()->setZeroLinePen(Qt::NoPen);
    xAxis->grid()->setSubGridVisible(true);

    // Y axis: value scale; major grid lines solid, minor ones dotted.
    m_yTicker = QSharedPointer<ValueTicker>::create(yAxis);
    yAxis->setTicker(m_yTicker);
    yAxis->setNumberFormat(QStringLiteral("g"));
    yAxis->setNumberPrecision(6);
    yAxis->setTickLength(0, 0);
    yAxis->setSubTickLength(0, 0);
    yAxis->grid()->setZeroLinePen(Qt::NoPen);
    yAxis->grid()->setSubGridVisible(true);

    // The second Y axis follows the first one; it carries no series and is not shown.
    m_y2Ticker = QSharedPointer<ValueTicker>::create();
    yAxis2->setTicker(m_y2Ticker);
    yAxis2->setTickLength(0, 0);
    yAxis2->setSubTickLength(0, 0);
    yAxis2->setVisible(false);

    xAxis->setRange(0.5, 20.5);
    yAxis->setRange(0, 10);

    // The mark of the reading under the cursor, on the layer that is drawn on its own, so
    // that moving it does not draw the readings again.
    m_mark = new QCPItemTracer(this);
    m_mark->setLayer(QStringLiteral("overlay"));
    m_mark->setStyle(QCPItemTracer::tsCircle);
    m_mark->setSize(11);
    m_mark->setVisible(false);
    m_mark->position->setAxes(xAxis, yAxis);
    setMouseTracking(true);

    applyColours();
    applyFont();
}

void ChartView::applyColours()
{
    m_colours = chartColours(palette());
    const ChartColours& c = m_colours;
    setBackground(c.backdrop);
    axisRect()->setBackground(c.backdrop); // the plot backdrop
    for (QCPAxis* axis : {xAxis, yAxis, xAxis2, yAxis2}) {
        axis->setBasePen(QPen(c.axis, 0));
        axis->setTickLabelColor(c.text);
        axis->setLabelColor(c.text);
    }
    xAxis->grid()->setSubGridPen(QPen(c.tickGrid, 0, Qt::SolidLine));
    yAxis->grid()->setPen(QPen(c.majorGrid, 0, Qt::SolidLine));
    yAxis->grid()->setSubGridPen(QPen(c.minorGrid, 0, Qt::DotLine));

    m_line->setPen(QPen(c.line, 2));
    m_line->setScatterStyle(QCPScatterStyle(QCPScatterStyle::ssDisc, c.line, c.line, 6));
    m_max->setPen(QPen(c.max, 1));
    m_max->setScatterStyle(QCPScatterStyle(QCPScatterStyle::ssTriangle, c.max, c.max, 6));
    m_min->setPen(QPen(c.min, 1));
    m_min->setScatterStyle(QCPScatterStyle(QCPScatterStyle::ssTriangleInverted, c.min, c.min, 6));
    m_mark->setPen(QPen(c.text, 2));
    m_mark->setBrush(Qt::NoBrush);
}

void ChartView::applyFont()
{
    for (QCPAxis* axis : {xAxis, yAxis, xAxis2, yAxis2}) {
        axis->setTickLabelFont(font());
        axis->setLabelFont(font());
    }
}

void ChartView::changeEvent(QEvent* event)
{
    QCustomPlot::changeEvent(event);
    switch (event->type()) {
    case QEvent::PaletteChange:
    case QEvent::StyleChange:
        applyColours();
        replot(rpQueuedReplot);
        break;
    case QEvent::FontChange:
        applyFont();
        replot(rpQueuedReplot);
        break;
    default:
        break;
    }
}

void ChartView::paintEvent(QPaintEvent* event)
{
    // On another screen, or at another scale, the chart is drawn again at the new pixel
    // density rather than stretched.
    if (!qFuzzyCompare(bufferDevicePixelRatio(), devicePixelRatioF())) {
        setBufferDevicePixelRatio(devicePixelRatioF());
        replot(rpQueuedRefresh);
    }
    QCustomPlot::paintEvent(event);
}

void ChartView::keepRoomForLabels()
{
    // The first and the last label stand centred on the first and last category, half a
    // category inside the plot: room for half a label on either side keeps them inside the
    // chart, and half a line of text above keeps the top value label whole.
    const QFontMetrics metrics(xAxis->tickLabelFont());
    const int shown = m_document ? m_document->chart().shownCount : 0;
    const int half = (m_xTicker->labelWidth(1, std::max(1, shown)) + 1) / 2 + 2;
    const int top = metrics.height() / 2 + 4;
    constexpr int Least = 15; // the chart's own smallest margin
    axisRect()->setMinimumMargins(QMargins(std::max(Least, half), std::max(Least, top), std::max(Least, half), Least));
}

void ChartView::updateLayout()
{
    keepRoomForLabels();
    QCustomPlot::updateLayout();
    // The axes make their ticks before the layout gives the plot its size. When the plot's
    // size is not the one the labels were spread for (the chart was resized, maximised,
    // restored or moved to another scale), lay it out once more for the size it has now.
    const auto stale = [this] {
        return m_xTicker->axisPixels() != axisRect()->width()
               || (m_yTicker->axisPixels() >= 0 && m_yTicker->axisPixels() != axisRect()->height());
    };
    for (int pass = 0; pass < 2 && stale(); ++pass)
        QCustomPlot::updateLayout();
}

ChartView::~ChartView() = default;

void ChartView::setDocument(DataDocument* document)
{
    if (m_document)
        disconnect(m_document, nullptr, this, nullptr);
    m_document = document;
    m_markerPoints = -1;
    if (document) {
        connect(document, &DataDocument::chartChanged, this, &ChartView::refresh);
        connect(document, &DataDocument::axisChanged, this, &ChartView::refresh);
    }
    refresh();
}

QCPGraph* ChartView::series(int number) const
{
    switch (number) {
    case 1:
        return m_line;
    case 2:
        return m_max;
    case 3:
        return m_min;
    default:
        return nullptr;
    }
}

void ChartView::refresh()
{
    updateData();
    updateAxes();
    replot(QCustomPlot::rpQueuedReplot);
    if (m_hovering)
        showReadout(m_hoverPosition); // the point under the cursor may show another reading now
}

void ChartView::refreshNow()
{
    updateData();
    updateAxes();
    replot(QCustomPlot::rpImmediateRefresh);
}

void ChartView::updateData()
{
    if (!m_document) {
        m_line->data()->clear();
        m_max->setVisible(false);
        m_min->setVisible(false);
        return;
    }
    const ChartFrame& f = m_document->chart();
    const int n = std::max(0, f.pointCount);

    ensurePoints(m_line, n);
    const std::span<const float> shown = m_document->chartValues();
    const std::size_t shownCount = std::min(shown.size(), static_cast<std::size_t>(n));
    auto it = m_line->data()->begin();
    for (std::size_t i = 0; i < static_cast<std::size_t>(n); ++i, ++it)
        it->value = i < shownCount ? static_cast<double>(shown[i]) : qQNaN();

    // The marker series change only with the point count or the MAX / MIN value.
    if (m_markerPoints != n) {
        ensurePoints(m_max, n);
        ensurePoints(m_min, n);
        m_markerPoints = n;
        m_maxFilled = false;
        m_minFilled = false;
    }
    m_max->setVisible(f.hasMax);
    if (f.hasMax && (!m_maxFilled || f.maxValue != m_maxValue)) {
        fillConstant(m_max, f.maxValue);
        m_maxValue = f.maxValue;
        m_maxFilled = true;
    }
    m_min->setVisible(f.hasMin);
    if (f.hasMin && (!m_minFilled || f.minValue != m_minValue)) {
        fillConstant(m_min, f.minValue);
        m_minValue = f.minValue;
        m_minFilled = true;
    }
}

void ChartView::updateAxes()
{
    if (!m_document)
        return;
    const ChartFrame& f = m_document->chart();
    const AxisX& x = m_document->axisX();
    m_xTicker->setDivisions(x.automatic, x.perLabel, x.perTick);
    m_xTicker->setCategories(f.pointCount, f.shownCount);

    // The view: the whole chart window and the document's scale unless zoomed into.
    m_zoom.follow(f.pointCount, {f.yMinimum, f.yMaximum});
    const AxisSpan time = m_zoom.time();
    const AxisSpan value = m_zoom.value();
    xAxis->setRange(time.lower, time.upper);

    // A value axis zoomed into gets the chart's own readable steps: the custom divisions
    // are spread over the document's whole scale.
    const AxisY& y = m_document->axisY();
    const bool valueZoomed = m_zoom.valueZoomed();
    for (const auto& ticker : {m_yTicker, m_y2Ticker}) {
        ticker->setScale(y.automatic || valueZoomed, y.minimum, y.maximum, y.major, y.minor);
        ticker->setLabelFormat(valueZoomed ? QString() : y.labelFormat);
    }
    yAxis->setRange(value.lower, value.upper);
    yAxis2->setRange(value.lower, value.upper);

    // Smooth edges cost most of a redraw when the line is drawn per pixel column; there
    // they are not seen anyway.
    const bool dense = time.size() > std::max(1, axisRect()->width());
    m_line->setAntialiased(!dense);
    m_max->setAntialiasedScatters(!dense);
    m_min->setAntialiasedScatters(!dense);
}

// --- Looking closer ------------------------------------------------------------------------------

void ChartView::applyView()
{
    updateAxes();
    replot(QCustomPlot::rpQueuedReplot);
    if (m_hovering)
        showReadout(m_hoverPosition);
}

void ChartView::resetView()
{
    if (!m_zoom.isZoomed())
        return;
    m_zoom.reset();
    applyView();
}

void ChartView::wheelEvent(QWheelEvent* event)
{
    if (!m_document) {
        event->ignore();
        return;
    }
    const QPoint angle = event->angleDelta();
    const bool sideways = angle.x() != 0 || event->modifiers().testFlag(Qt::ShiftModifier);
    if (sideways) {
        // A sideways wheel (or Shift with the wheel) moves along the time axis.
        const double steps = (angle.x() != 0 ? angle.x() : angle.y()) / WheelStepAngle;
        m_zoom.pan(-steps * WheelPanShare * xAxis->range().size(), 0);
    } else {
        m_zoom.wheel(angle.y() / WheelStepAngle, xAxis->pixelToCoord(event->position().x()));
    }
    event->accept();
    applyView();
}

QRect ChartView::rectangleOf(const QPoint& from, const QPoint& to) const
{
    return QRect(from, to).normalized().intersected(axisRect()->rect());
}

void ChartView::mousePressEvent(QMouseEvent* event)
{
    QCustomPlot::mousePressEvent(event);
    if (event->button() != Qt::LeftButton || !m_document || !axisRect()->rect().contains(event->position().toPoint()))
        return;
    m_pressPosition = m_lastPosition = event->position().toPoint();
    const bool rectangle = event->modifiers() & (Qt::ControlModifier | Qt::ShiftModifier);
    m_drag = rectangle ? Drag::Rectangle : Drag::Pressed;
    hideReadout();
}

void ChartView::mouseMoveEvent(QMouseEvent* event)
{
    QCustomPlot::mouseMoveEvent(event);
    const QPoint position = event->position().toPoint();
    switch (m_drag) {
    case Drag::None:
        m_hovering = true;
        m_hoverPosition = position;
        showReadout(position);
        return;
    case Drag::Pressed:
        if ((position - m_pressPosition).manhattanLength() < QApplication::startDragDistance())
            return;
        m_drag = Drag::Move;
        setCursor(Qt::ClosedHandCursor);
        [[fallthrough]];
    case Drag::Move: {
        // The chart follows the hand: the point under the cursor stays under it.
        const double time = xAxis->pixelToCoord(m_lastPosition.x()) - xAxis->pixelToCoord(position.x());
        const double value = yAxis->pixelToCoord(m_lastPosition.y()) - yAxis->pixelToCoord(position.y());
        m_lastPosition = position;
        m_zoom.pan(time, value);
        applyView();
        return;
    }
    case Drag::Rectangle:
        if (!m_band) {
            m_band = new QRubberBand(QRubberBand::Rectangle, this);
            m_band->setObjectName(QStringLiteral("chartZoomRectangle"));
        }
        m_band->setGeometry(rectangleOf(m_pressPosition, position));
        m_band->show();
        return;
    }
}

void ChartView::mouseReleaseEvent(QMouseEvent* event)
{
    QCustomPlot::mouseReleaseEvent(event);
    if (event->button() != Qt::LeftButton)
        return;
    const Drag drag = std::exchange(m_drag, Drag::None);
    unsetCursor();
    if (m_band)
        m_band->hide();
    if (drag != Drag::Rectangle)
        return;
    const QRect r = rectangleOf(m_pressPosition, event->position().toPoint());
    // A rectangle of a few pixels is a click that slipped, not a choice.
    const int least = QApplication::startDragDistance();
    if (r.width() < least || r.height() < least)
        return;
    m_zoom.zoomTo({xAxis->pixelToCoord(r.left()), xAxis->pixelToCoord(r.right())},
                  {yAxis->pixelToCoord(r.bottom()), yAxis->pixelToCoord(r.top())});
    applyView();
}

void ChartView::mouseDoubleClickEvent(QMouseEvent* event)
{
    QCustomPlot::mouseDoubleClickEvent(event);
    if (event->button() == Qt::LeftButton)
        resetView();
}

void ChartView::contextMenuEvent(QContextMenuEvent* event)
{
    hideReadout();
    QMenu menu(this);
    menu.setObjectName(QStringLiteral("chartMenu"));
    QAction* reset = menu.addAction(ResID(Res::ResetView));
    reset->setObjectName(QStringLiteral("mnuChartResetView"));
    reset->setEnabled(m_zoom.isZoomed());
    QAction* save = menu.addAction(ResID(Res::ExportChartItem));
    save->setObjectName(QStringLiteral("mnuChartExport"));
    save->setEnabled(m_document != nullptr);
    QAction* chosen = menu.exec(event->globalPos());
    if (chosen == reset)
        resetView();
    else if (chosen == save)
        emit exportRequested();
}

void ChartView::leaveEvent(QEvent* event)
{
    QCustomPlot::leaveEvent(event);
    m_hovering = false;
    hideReadout();
}

// --- The reading under the cursor ---------------------------------------------------------------

void ChartView::showReadout(const QPoint& position)
{
    int point = 0;
    if (m_document && axisRect()->rect().contains(position)) {
        const QCPRange shown = xAxis->range();
        const QCPRange values = yAxis->range();
        const double pixelsPerPoint = axisRect()->width() / std::max(shown.size(), 1e-9);
        // A reading on the edge of the value scale (the automatic scale ends on MAX and MIN)
        // is in view.
        const double edge = values.size() * 0.01;
        const ReadableArea area{static_cast<int>(std::ceil(shown.lower)), static_cast<int>(std::floor(shown.upper)),
                                values.lower - edge, values.upper + edge};
        point = nearestReading(m_document->chartValues(), xAxis->pixelToCoord(position.x()), area,
                               ReadoutReachPixels / std::max(pixelsPerPoint, 1e-9));
    }
    if (point == 0) {
        hideReadout();
        return;
    }
    const int row = m_document->chart().firstRow + point - 1;
    const QString text = readoutText(*m_document, row);
    const double value = m_document->chartValue(point);
    const bool moved = !m_mark->visible() || m_mark->position->key() != point || m_mark->position->value() != value;
    if (moved) {
        m_mark->position->setCoords(point, value);
        m_mark->setVisible(true);
        m_mark->layer()->replot();
    }
    if (text != m_readout || row != m_readoutRow || !QToolTip::isVisible())
        QToolTip::showText(mapToGlobal(position), text, this);
    m_readoutRow = row;
    m_readout = text;
}

void ChartView::hideReadout()
{
    if (m_mark->visible()) {
        m_mark->setVisible(false);
        m_mark->layer()->replot();
    }
    if (m_readoutRow != 0)
        QToolTip::hideText();
    m_readoutRow = 0;
    m_readout.clear();
}

// --- Pictures -----------------------------------------------------------------------------------

void ChartView::drawPicture(QCPPainter& painter, const QSize& size, const QString& title)
{
    const bool markShown = m_mark->visible();
    m_mark->setVisible(false);
    QCPTextElement* heading = nullptr;
    if (!title.isEmpty()) {
        QFont font = this->font();
        font.setBold(true);
        if (font.pointSizeF() > 0)
            font.setPointSizeF(font.pointSizeF() * 1.2);
        else
            font.setPixelSize(qRound(font.pixelSize() * 1.2));
        plotLayout()->insertRow(0);
        heading = new QCPTextElement(this, title, font);
        heading->setTextColor(m_colours.text);
        plotLayout()->addElement(0, 0, heading);
    }
    toPainter(&painter, size.width(), size.height());
    if (heading) {
        plotLayout()->remove(heading);
        plotLayout()->simplify();
    }
    m_mark->setVisible(markShown);
    // The layout back to the widget's own size.
    replot(QCustomPlot::rpQueuedReplot);
}

} // namespace quvo
