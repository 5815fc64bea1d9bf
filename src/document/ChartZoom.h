#pragma once
// The part of a document's chart that the person looks at. By default it is the whole chart
// window: every point across the time axis and the document's value scale, exactly as the
// chart has always been drawn. With the mouse the person may look closer: the wheel zooms
// the time axis around the cursor, a drag moves the view, a rectangle zooms both axes, and
// "Reset view" returns to the default.
//
// The view is kept in the chart's own coordinates: the time axis counts points 1..n (the
// chart window spans 0.5 .. n + 0.5), the value axis is in the readings' values. It belongs
// to the chart widget alone: it never changes the document, its Graph setup or its data
// file. The scroll bar keeps moving the document's window of readings under it.
//
// No widget here, so every rule can be tested without a display.

namespace quvo {

struct AxisSpan {
    double lower = 0;
    double upper = 0;

    double size() const { return upper - lower; }
    double centre() const { return (lower + upper) / 2; }
    friend bool operator==(const AxisSpan&, const AxisSpan&) = default;
};

class ChartZoom {
public:
    // One wheel step towards the chart shows this share of the time span before it.
    static constexpr double WheelStepFactor = 0.8;
    // Zooming in stops when this many points are across the chart.
    static constexpr double LeastPoints = 2;
    // A value span is never made smaller than this share of the document's value scale.
    static constexpr double LeastValueShare = 1e-6;

    // The time span of a chart window of `pointCount` points: 0.5 .. pointCount + 0.5.
    static AxisSpan wholeTime(int pointCount);

    // The chart window the view belongs to, and its value scale (automatic or custom). A
    // window of another point count (Graph setup changed the data range, another file was
    // opened) ends any zoom: its points are other points.
    void follow(int pointCount, const AxisSpan& valueScale);

    bool isZoomed() const { return m_timeZoomed || m_valueZoomed; }
    bool timeZoomed() const { return m_timeZoomed; }
    bool valueZoomed() const { return m_valueZoomed; }

    // The spans to draw.
    AxisSpan time() const;
    AxisSpan value() const;

    // Wheel steps (positive: closer; fractions from fine-grained wheels) around the point
    // `anchor` of the time axis, which stays where it is on the screen. Zooming out as far as
    // the whole chart window ends the time zoom.
    void wheel(double steps, double anchor);

    // Moves the view by these amounts (time in points, value in the value's unit): the time
    // span only while it is zoomed and never past either end of the chart window, the value
    // span only once it is zoomed.
    void pan(double timeDelta, double valueDelta);

    // Shows the rectangle of these two spans (the ends in either order). The time span is kept
    // inside the chart window and at least LeastPoints wide.
    void zoomTo(AxisSpan time, AxisSpan value);

    // The default view again.
    void reset();

private:
    AxisSpan fitTime(AxisSpan span) const;

    int m_pointCount = 0;
    AxisSpan m_scale{0, 10};
    bool m_timeZoomed = false;
    bool m_valueZoomed = false;
    AxisSpan m_time;
    AxisSpan m_value;
};

} // namespace quvo
