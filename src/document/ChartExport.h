#pragma once
// Saving a document's chart as a picture: a PNG image, an SVG drawing or a PDF document. The
// chart is drawn as it is shown (the part zoomed into, every series and marker, and whatever
// else the chart carries), with a title line above it, laid out for the picture's size. The
// file is written whole or not at all: a failure leaves an existing file as it was.

#include "document/ChartExportSetup.h"

#include <QByteArray>
#include <QSize>
#include <QString>

namespace quvo {

class ChartView;

struct ChartPicture {
    ChartFormat format = ChartFormat::Png;
    // The picture's size: pixels of a PNG image; for SVG and PDF the drawing's size in
    // pixels of 1/96 inch (a PDF page of 0.75 points per pixel).
    QSize pixels{800, 500};
    // PNG only: image pixels per pixel of the chart's layout. The screen's device pixel ratio
    // draws the chart with the proportions of text and lines it has on that screen.
    double scale = 1;
    QString title;
};

// The picture's file content.
QByteArray chartPictureBytes(ChartView& chart, const ChartPicture& picture);

// Writes the picture to `path`. False with the reason in `error` ("Cannot write ...: No
// space left on device").
bool saveChartPicture(ChartView& chart, const QString& path, const ChartPicture& picture, QString& error);

} // namespace quvo
