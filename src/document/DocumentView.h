#pragma once
// What the data document window decides without any widget: where its grid, chart, scroll
// bar and progress bar go when the window is resized (in twips), and which tool-bar buttons
// of the main window follow the document window when it becomes or stops being the active
// window. The window (frmData) only applies these results.

#include <QRectF>

namespace quvo {

// The placement the window is designed with, in twips. The grid keeps its left, top and
// width whatever the window's size; the chart keeps its left and top.
struct DocumentDesign {
    double gridLeft = 60;
    double gridTop = 60;      // the window puts it under its status bars
    double gridWidth = 4500;
    double chartLeft = 4620;  // grid left + grid width + 60
    double chartTop = 60;     // level with the grid
    double scrollHeight = 240;
    double progressGap = 60;  // between the grid's bottom and the progress bar
    double progressHeight = 240;
};

// The size of a new document window, in twips. The window makes itself wider where its
// font needs more room for the widest MAX, MIN and AVG texts.
constexpr double DefaultDocumentWidth = 9000;
constexpr double DefaultDocumentHeight = 6000;

// Room left under the grid, and right of the chart, in twips.
constexpr double GridBottomMargin = 480;
constexpr double ChartRightMargin = 240;

struct DocumentPlacement {
    QRectF grid;
    QRectF chart;
    QRectF scroll;   // directly under the chart, as wide as the chart
    QRectF progress; // in the room under the grid, as wide as the grid
};

// The layout of a window of that size (twips):
//   grid height  = window height - grid top - 480
//   chart height = grid height
//   chart width  = window width - chart left - 240
// A window too small for them gives sizes of 0 rather than negative ones.
DocumentPlacement arrangeDocument(double windowWidth, double windowHeight, const DocumentDesign& design);

// The five document buttons of the main tool bar ("Save", "Forward", "Start", "Interval",
// "Graph") as a document window leaves them. A document window asks for them with true when
// it becomes the active window and with false when it stops being active and when it closes.
// "Start" and "Interval" belong to realtime documents only: for every other kind they are
// switched off whatever the flag.
struct DocumentButtons {
    bool save = false;
    bool forward = false;
    bool start = false;
    bool interval = false;
    bool graph = false;
    friend bool operator==(const DocumentButtons&, const DocumentButtons&) = default;
};

DocumentButtons documentButtons(bool enabled, int kind);

} // namespace quvo
