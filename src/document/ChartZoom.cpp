#include "document/ChartZoom.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace quvo {

AxisSpan ChartZoom::wholeTime(int pointCount)
{
    return {0.5, std::max(1, pointCount) + 0.5};
}

void ChartZoom::follow(int pointCount, const AxisSpan& valueScale)
{
    if (pointCount != m_pointCount)
        reset();
    m_pointCount = pointCount;
    m_scale = valueScale;
}

AxisSpan ChartZoom::time() const
{
    return m_timeZoomed ? m_time : wholeTime(m_pointCount);
}

AxisSpan ChartZoom::value() const
{
    return m_valueZoomed ? m_value : m_scale;
}

AxisSpan ChartZoom::fitTime(AxisSpan span) const
{
    const AxisSpan whole = wholeTime(m_pointCount);
    const double least = std::min(LeastPoints, whole.size());
    if (span.size() < least) {
        const double centre = span.centre();
        span = {centre - least / 2, centre + least / 2};
    }
    if (span.size() >= whole.size())
        return whole;
    if (span.lower < whole.lower)
        span = {whole.lower, whole.lower + span.size()};
    if (span.upper > whole.upper)
        span = {whole.upper - span.size(), whole.upper};
    return span;
}

void ChartZoom::wheel(double steps, double anchor)
{
    if (!std::isfinite(steps) || !std::isfinite(anchor) || steps == 0)
        return;
    const AxisSpan now = time();
    const AxisSpan whole = wholeTime(m_pointCount);
    anchor = std::clamp(anchor, now.lower, now.upper);
    const double factor = std::pow(WheelStepFactor, steps);
    AxisSpan next{anchor - (anchor - now.lower) * factor, anchor + (now.upper - anchor) * factor};
    const double least = std::min(LeastPoints, whole.size());
    if (next.size() < least) {
        // As close as it goes: the least span, with the anchor where it was on the screen.
        const double share = now.size() > 0 ? (anchor - now.lower) / now.size() : 0.5;
        next = {anchor - share * least, anchor + (1 - share) * least};
    }
    next = fitTime(next);
    m_timeZoomed = next != whole;
    m_time = next;
}

void ChartZoom::pan(double timeDelta, double valueDelta)
{
    if (m_timeZoomed && std::isfinite(timeDelta))
        m_time = fitTime({m_time.lower + timeDelta, m_time.upper + timeDelta});
    if (m_valueZoomed && std::isfinite(valueDelta))
        m_value = {m_value.lower + valueDelta, m_value.upper + valueDelta};
}

void ChartZoom::zoomTo(AxisSpan time, AxisSpan value)
{
    if (!std::isfinite(time.lower) || !std::isfinite(time.upper) || !std::isfinite(value.lower)
        || !std::isfinite(value.upper))
        return;
    if (time.lower > time.upper)
        std::swap(time.lower, time.upper);
    if (value.lower > value.upper)
        std::swap(value.lower, value.upper);
    const AxisSpan whole = wholeTime(m_pointCount);
    time = fitTime(time);
    m_timeZoomed = time != whole;
    m_time = time;

    const double least = std::abs(m_scale.size()) * LeastValueShare;
    if (value.size() < least || value.size() <= 0) {
        const double half = std::max(least, std::abs(value.centre()) * LeastValueShare) / 2;
        const double centre = value.centre();
        value = {centre - (half > 0 ? half : 0.5), centre + (half > 0 ? half : 0.5)};
    }
    m_valueZoomed = true;
    m_value = value;
}

void ChartZoom::reset()
{
    m_timeZoomed = false;
    m_valueZoomed = false;
}

} // namespace quvo
