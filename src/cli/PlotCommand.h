#pragma once
// The drawing half of `quvolink-cli plot`, run by the program quvolink-plot (plot_main.cpp)
// inside a graphical application object on the offscreen platform. quvolink-cli itself only
// starts that program (PlotLauncher.cpp): it does not load the chart widget and its
// libraries, so that its other commands start as fast as ever.

#include <QStringList>

namespace quvo::cli {

// Runs `plot` with the arguments after the command's name; returns the exit code.
int drawPlot(const QStringList& arguments);

} // namespace quvo::cli
