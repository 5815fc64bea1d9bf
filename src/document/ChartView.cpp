#include "document/ChartView.h"

#include "document/DataDocument.h"
#include "resources/TextNumber.h"

#include <QFontMetrics>

#include <algorithm>
#include <cmath>
#include <limits>

namespace quvo {

namespace {

// Marks of the category axis closer than this are spread apart.
constexpr double MinimumTickPixels = 8;

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
    xAxis->setRange(0.5, std::max(1, f.pointCount) + 0.5);

    const AxisY& y = m_document->axisY();
    for (const auto& ticker : {m_yTicker, m_y2Ticker}) {
        ticker->setScale(y.automatic, y.minimum, y.maximum, y.major, y.minor);
        ticker->setLabelFormat(y.labelFormat);
    }
    yAxis->setRange(f.yMinimum, f.yMaximum);
    yAxis2->setRange(f.yMinimum, f.yMaximum);

    // Smooth edges cost most of a redraw when the line is drawn per pixel column; there
    // they are not seen anyway.
    const bool dense = f.pointCount > std::max(1, axisRect()->width());
    m_line->setAntialiased(!dense);
    m_max->setAntialiasedScatters(!dense);
    m_min->setAntialiasedScatters(!dense);
}

} // namespace quvo
