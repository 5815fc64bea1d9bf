#include "document/ChartColours.h"

#include <QPalette>

#include <algorithm>
#include <cmath>

namespace quvo {

namespace {

QColor mix(const QColor& from, const QColor& to, double share)
{
    const auto channel = [share](int a, int b) { return static_cast<int>(std::lround(a + (b - a) * share)); };
    return QColor(channel(from.red(), to.red()), channel(from.green(), to.green()), channel(from.blue(), to.blue()));
}

double relativeLuminance(const QColor& c)
{
    const auto linear = [](double channel) {
        channel /= 255.0;
        return channel <= 0.03928 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(c.red()) + 0.7152 * linear(c.green()) + 0.0722 * linear(c.blue());
}

} // namespace

bool isDarkPalette(const QPalette& palette)
{
    return palette.color(QPalette::Active, QPalette::Base).lightness()
           < palette.color(QPalette::Active, QPalette::Text).lightness();
}

ChartColours chartColours(const QPalette& palette)
{
    ChartColours c;
    c.text = palette.color(QPalette::Active, QPalette::Text);
    if (!isDarkPalette(palette)) {
        c.backdrop = Qt::white;
        if (contrastRatio(c.text, c.backdrop) < 4.5)
            c.text = Qt::black;
        c.axis = QColor(0, 0, 0);
        c.majorGrid = QColor(160, 160, 160);
        c.minorGrid = QColor(200, 200, 200);
        c.tickGrid = QColor(225, 225, 225);
        c.line = QColor(0, 0, 255);
        c.max = QColor(220, 0, 0);
        c.min = QColor(0, 150, 0);
        return c;
    }
    c.backdrop = palette.color(QPalette::Active, QPalette::Base);
    c.axis = mix(c.backdrop, c.text, 0.7);
    c.majorGrid = mix(c.backdrop, c.text, 0.4);
    c.minorGrid = mix(c.backdrop, c.text, 0.28);
    c.tickGrid = mix(c.backdrop, c.text, 0.14);
    c.line = QColor(110, 170, 255);
    c.max = QColor(255, 110, 110);
    c.min = QColor(90, 215, 90);
    return c;
}

double contrastRatio(const QColor& a, const QColor& b)
{
    const double la = relativeLuminance(a);
    const double lb = relativeLuminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

} // namespace quvo
