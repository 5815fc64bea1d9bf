#pragma once
// The colours of a document's chart, from the palette of the desktop it is shown on.
//
// On a light palette the chart is drawn as it has always been: a white backdrop, a blue line
// of readings, red MAX and green MIN markers, a light grey dotted minor grid. On a dark
// palette the backdrop takes the palette's base colour and the series and grid lines take
// lighter colours that read on it. Texts (tick labels) are the palette's text colour.

#include <QColor>

class QPalette;

namespace quvo {

struct ChartColours {
    QColor backdrop;   // the plot area and the widget around it
    QColor text;       // tick labels
    QColor axis;       // the axis lines
    QColor majorGrid;  // Y axis major divisions, solid
    QColor minorGrid;  // Y axis minor divisions, dotted
    QColor tickGrid;   // X axis tick-mark divisions, solid
    QColor line;       // series 1
    QColor max;        // series 2
    QColor min;        // series 3
};

// Whether the palette draws dark text on light ground (the usual desktop) or the reverse.
bool isDarkPalette(const QPalette& palette);

ChartColours chartColours(const QPalette& palette);

// The contrast ratio of two colours (1 to 21), as accessibility guidelines measure it.
double contrastRatio(const QColor& a, const QColor& b);

} // namespace quvo
