#pragma once
// Pixels of a picture: how much of an icon was drawn (not fully transparent), and how much
// of a part of a picture has a colour (a chart's line, its markers, its text).

#include <QColor>
#include <QImage>
#include <QRect>

#include <cstdlib>

namespace quvo::test {

inline int paintedPixels(const QImage& image)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += qAlpha(image.pixel(x, y)) > 0 ? 1 : 0;
    return count;
}

// Pixels in `part` whose red, green and blue differ from `colour` by less than `tolerance`
// together (smoothed edges of a line still count).
inline int pixelsOfColour(const QImage& image, const QColor& colour, const QRect& part, int tolerance = 60)
{
    int count = 0;
    const QRect area = part.intersected(image.rect());
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            const QColor c = image.pixelColor(x, y);
            if (std::abs(c.red() - colour.red()) + std::abs(c.green() - colour.green())
                    + std::abs(c.blue() - colour.blue())
                < tolerance)
                ++count;
        }
    }
    return count;
}

} // namespace quvo::test
