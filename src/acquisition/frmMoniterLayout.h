#pragma once
// The Monitor window's design and its size rule, in twips. The window is sized to its value
// label when it loads: width = label left + label width + 240, height = label top + label
// height + 540 (the height covers the window's caption and border).

#include <QRectF>
#include <QSizeF>

namespace quvo::MoniterLayout {

constexpr double RightMargin = 240;
constexpr double BottomMargin = 540;

// The comparator frame on top, the value label under it.
inline QRectF comparatorFrame()
{
    return {120, 60, 4800, 780};
}
inline QRectF valueLabel()
{
    return {120, 900, 4800, 840};
}

inline QSizeF windowSize(const QRectF& label)
{
    return {label.left() + label.width() + RightMargin, label.top() + label.height() + BottomMargin};
}

} // namespace quvo::MoniterLayout
