#pragma once
// Window sizes and positions are kept in twips (1/1440 inch), as the settings and data
// files store them. One pixel is 1440 / logical DPI twips.

#include <cmath>

namespace quvo {

constexpr double TwipsPerInch = 1440.0;

inline double pixelsToTwips(double pixels, double logicalDpi)
{
    return pixels * TwipsPerInch / logicalDpi;
}

inline int twipsToPixels(double twips, double logicalDpi)
{
    return static_cast<int>(std::lround(twips * logicalDpi / TwipsPerInch));
}

} // namespace quvo
