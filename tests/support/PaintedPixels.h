#pragma once
// Pixels of a picture that are not fully transparent: how much of an icon was drawn.

#include <QImage>

namespace quvo::test {

inline int paintedPixels(const QImage& image)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += qAlpha(image.pixel(x, y)) > 0 ? 1 : 0;
    return count;
}

} // namespace quvo::test
