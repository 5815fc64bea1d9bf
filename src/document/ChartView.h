#pragma once
// chData: the chart of a data document window. It draws what the document's chart frame
// holds (DataDocument::chart(), chartValues(), chartLabel()) and keeps no readings of its
// own:
//   series 1  the readings of the sliding window, pen width 2; a reading that is not a number
//             is a NaN point and breaks the line there; a reading with no reading on either
//             side (between two gaps, or alone) has no line to show it and gets a dot;
//   series 2  the chart MAX value at every point, markers only, shown when there is one;
//   series 3  the chart MIN value at every point, markers only, shown when there is one.
// The X axis is a category axis (one category per point, labelled with the TIME text, or
// the number of a SAVE-mode reading); the Y axis follows the document's scale, automatic or
// custom, with the document's tick-label format.
//
// A window of 32767 points is redrawn in a few milliseconds: the three series keep their
// data containers and only their values are rewritten; the category axis makes tick labels
// only for the categories it labels (never one per point); and series 1 is thinned per pixel
// column while keeping every gap.
//
// Beyond the chart's original behaviour, which stays its default view, the person can look
// closer (the rules are ChartZoom's):
//   - the mouse wheel zooms the time axis around the cursor (a sideways wheel, or the wheel
//     with Shift, moves the view along it);
//   - a drag with the left button moves the view;
//   - a drag with Ctrl (or Shift) held draws a rectangle and zooms into it on both axes;
//   - a double-click, or "Reset view" in the context menu, returns to the default view;
//   - hovering over the line marks the nearest reading and shows its number, time, value
//     and unit in a tool tip;
//   - "Export chart..." in the context menu asks for a picture of the chart (exportRequested).
// None of them changes the document.

#include "document/ChartColours.h"
#include "document/ChartZoom.h"
#include "document/DataDocument.h"

#include <QPointer>
#include <QString>

#include <qcustomplot.h>

#include <functional>

class QRubberBand;

namespace quvo {

// The category axis: a tick mark every `perTick` categories and a label every `perLabel`
// categories (1 and 1 when automatic), both spread further apart when the axis is too short
// to show them all without overlapping. The spacing is worked out for the axis length at
// the time the ticks are made (axisPixels()); the chart lays itself out again when that
// length has changed since (a resize, a maximise, a restore, another scale).
class CategoryTicker : public QCPAxisTicker {
public:
    explicit CategoryTicker(QCPAxis* axis);

    void setLabelSource(std::function<QString(int point)> source);
    void setCategories(int pointCount, int shownCount);
    void setDivisions(bool automatic, int perLabel, int perTick);

    // The spacing in categories actually used at the last generate() (for tests and views),
    // and the axis length in pixels it was worked out for.
    int labelStride() const { return m_labelStride; }
    int tickStride() const { return m_tickStride; }
    double axisPixels() const { return m_axisPixels; }

    // The width in pixels the chart keeps free for one label: the widest of the labels that
    // stand for all of them (the first and the last one shown), at least four digits.
    int labelWidth(int first, int last) const;

    // Ticks carry the labels; sub-ticks mark the tick-mark divisions (drawn as grid lines).
    void generate(const QCPRange& range, const QLocale& locale, QChar formatChar, int precision,
                  QVector<double>& ticks, QVector<double>* subTicks, QVector<QString>* tickLabels) override;

    // The smallest stride, a multiple of `step`, that puts at least `minimumPixels` between
    // two marks `pixelsPerCategory` apart.
    static int strideFor(int step, double pixelsPerCategory, double minimumPixels);

private:
    QCPAxis* m_axis;
    std::function<QString(int)> m_label;
    int m_pointCount = 0;
    int m_shownCount = 0;
    bool m_automatic = true;
    int m_perLabel = 1;
    int m_perTick = 1;
    int m_labelStride = 1;
    int m_tickStride = 1;
    double m_axisPixels = -1;
};

// The value axis: automatic (readable steps chosen by the chart) or custom (the scale split
// into `major` divisions, each split into `minor` divisions); labels in the document's
// format: "" the chart's own, "0.0###" plain, "0.0###E-#" scientific.
//
// Labels closer together than a line of text (many divisions on a low chart) are thinned to
// every second, third, ... division, counted from the minimum; every division keeps its grid
// line.
class ValueTicker : public QCPAxisTicker {
public:
    explicit ValueTicker(QCPAxis* axis = nullptr);

    void setScale(bool automatic, double minimum, double maximum, int major, int minor);
    void setLabelFormat(const QString& format);
    const QString& labelFormat() const { return m_format; }

    // The label of one tick value in a format.
    static QString labelText(double value, const QString& format);

    void generate(const QCPRange& range, const QLocale& locale, QChar formatChar, int precision,
                  QVector<double>& ticks, QVector<double>* subTicks, QVector<QString>* tickLabels) override;

    // The axis length in pixels the labels were thinned for at the last generate().
    double axisPixels() const { return m_axisPixels; }

protected:
    QString getTickLabel(double tick, const QLocale& locale, QChar formatChar, int precision) override;

private:
    void thinLabels(const QCPRange& range, const QVector<double>& ticks, QVector<QString>& labels);

    QCPAxis* m_axis;
    double m_axisPixels = -1;
    bool m_automatic = true;
    double m_minimum = 0;
    double m_maximum = 10;
    int m_major = 1;
    int m_minor = 1;
    QString m_format;
};

// True when the point at `index` holds a number and neither neighbour does (or it has
// none): a line cannot show it, so it is drawn as a dot.
bool isLonePoint(const QCPGraphDataContainer& data, int index);

// Series 1: a line that breaks at every NaN. When there are more points than pixels, each
// pixel column is drawn from its first, lowest, highest and last values, and a NaN anywhere
// in the column still breaks the line there. Its scatter style marks the lone points only
// (isLonePoint), each drawn once per marker width.
//
// Every series is clipped a few pixels outside the plot area rather than at its edge: a
// value on the edge of the scale (the automatic scale often ends on the MAX or MIN value)
// shows its whole marker and the full width of the line.
class GapGraph : public QCPGraph {
public:
    GapGraph(QCPAxis* keyAxis, QCPAxis* valueAxis);

protected:
    void getOptimizedLineData(QVector<QCPGraphData>* lineData, const QCPGraphDataContainer::const_iterator& begin,
                              const QCPGraphDataContainer::const_iterator& end) const override;
    void getOptimizedScatterData(QVector<QCPGraphData>* scatterData, QCPGraphDataContainer::const_iterator begin,
                                 QCPGraphDataContainer::const_iterator end) const override;
    QRect clipRect() const override;
};

// Series 2 and 3: markers without a line. Markers that would fall on top of the one drawn
// before them (closer than their size) are not drawn again, so a window of many points
// shows a row of markers at the cost of one per marker width.
class MarkerGraph : public QCPGraph {
public:
    MarkerGraph(QCPAxis* keyAxis, QCPAxis* valueAxis);

protected:
    void getOptimizedScatterData(QVector<QCPGraphData>* scatterData, QCPGraphDataContainer::const_iterator begin,
                                 QCPGraphDataContainer::const_iterator end) const override;
    QRect clipRect() const override;
};

class ChartView : public QCustomPlot {
    Q_OBJECT

public:
    explicit ChartView(QWidget* parent = nullptr);
    ~ChartView() override;

    void setDocument(DataDocument* document);
    DataDocument* document() const { return m_document; }

    // Series 1, 2 and 3.
    QCPGraph* series(int number) const;
    CategoryTicker* categoryTicker() const { return m_xTicker.data(); }
    ValueTicker* valueTicker() const { return m_yTicker.data(); }

    // Takes the document's chart frame and axes and asks for a redraw (coalesced).
    void refresh();
    // The same, drawn at once.
    void refreshNow();

    // The colours in use (from the palette, see ChartColours.h).
    const ChartColours& colours() const { return m_colours; }

    // The part of the chart window shown (the default view unless zoomed), and the way back
    // to the default view.
    const ChartZoom& zoom() const { return m_zoom; }
    void resetView();

    // The reading under the cursor: its grid row (0: none) and the text of its tool tip.
    int readoutRow() const { return m_readoutRow; }
    const QString& readout() const { return m_readout; }

    // Draws the chart as it is shown now, with `title` (when not empty) in a line above it,
    // laid out for `size` pixels, into an active painter: the picture of an export. The
    // cursor's mark is left out.
    void drawPicture(QCPPainter& painter, const QSize& size, const QString& title);

signals:
    // "Export chart..." was chosen in the context menu.
    void exportRequested();

protected:
    // Lays the chart out; again when the ticks were made for another axis length.
    void updateLayout() override;
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    enum class Drag { None, Pressed, Move, Rectangle };

    void updateData();
    void updateAxes();
    void applyColours();
    void applyFont();
    void keepRoomForLabels();
    void applyView();
    void showReadout(const QPoint& position);
    void hideReadout();
    QRect rectangleOf(const QPoint& from, const QPoint& to) const;

    QPointer<DataDocument> m_document;
    GapGraph* m_line = nullptr;
    MarkerGraph* m_max = nullptr;
    MarkerGraph* m_min = nullptr;
    QSharedPointer<CategoryTicker> m_xTicker;
    QSharedPointer<ValueTicker> m_yTicker;
    QSharedPointer<ValueTicker> m_y2Ticker;
    ChartColours m_colours;
    // What the marker series hold now, so that they are rewritten only when it changes.
    int m_markerPoints = -1;
    float m_maxValue = 0;
    float m_minValue = 0;
    bool m_maxFilled = false;
    bool m_minFilled = false;

    ChartZoom m_zoom;
    Drag m_drag = Drag::None;
    QPoint m_pressPosition;
    QPoint m_lastPosition;
    QRubberBand* m_band = nullptr;
    QCPItemTracer* m_mark = nullptr; // the reading under the cursor
    int m_readoutRow = 0;
    QString m_readout;
    bool m_hovering = false;
    QPoint m_hoverPosition;
};

} // namespace quvo
