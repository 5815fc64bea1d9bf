#pragma once
// The reading under the cursor of a document's chart: which point the cursor stands nearest
// to, and the text the chart shows for it (number, time, value and unit).
//
// Only a point that holds a reading can be read: a gap (a reading that is not a number, such
// as "ERROR" or "+OL") and the empty points after the last reading are not readings on the
// line, so the cursor next to a gap reads the nearest reading beside it.

#include <QString>

#include <span>

namespace quvo {

class DataDocument;

// The part of the chart in view: points first..last (1-based) of the time axis and values
// lowest..highest of the value axis. A reading outside it is not on the screen.
struct ReadableArea {
    int first = 1;
    int last = 0;
    double lowest = 0;
    double highest = 0;
};

// Of the readings in view, the one nearest to the time-axis coordinate `key`, no further than
// `reach` points from it; 0 when there is none. `values` are the points 1..values.size() of
// the chart (NaN: no reading). Of two equally near points the earlier one.
int nearestReading(std::span<const float> values, double key, const ReadableArea& area, double reach);

// The readout of a grid row, one line each: "No. 12", "TIME 10:15:30" (only when the row has
// a time), "DATA 1.234 VDC" (value and unit). The headings are the grid's own.
QString readoutText(const DataDocument& document, int row);

} // namespace quvo
