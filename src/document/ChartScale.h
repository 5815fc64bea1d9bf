#pragma once
// The automatic Y scale of a document's chart.
//
// Rule: the scale runs from the lowest to the highest plotted value (series 1 in the
// window and the MAX and MIN series), widened to whole steps of 1, 2 or 5 times a power of
// ten chosen so that about five steps span the range. All plotted values equal: the range
// is widened by a tenth of the value on each side (half a unit around 0). Nothing plotted:
// 0 to 10.

namespace quvo {

struct ValueScale {
    double minimum = 0;
    double maximum = 10;
};

// lowest > highest means nothing is plotted. Both must be finite otherwise.
ValueScale automaticScale(double lowest, double highest);

} // namespace quvo
