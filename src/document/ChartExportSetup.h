#pragma once
// The rules of saving a document's chart as a picture, without any widget: the three file
// formats and how a file name chooses one, the sizes a picture may have, the file name and
// title offered first, and the check of what the person entered in the Export chart
// dialog. The desktop program's dialog and `quvolink-cli plot` both follow them.

#include <QSize>
#include <QString>

#include <optional>

namespace quvo {

class DataDocument;

enum class ChartFormat { Png, Svg, Pdf };

// The format a file name asks for by its extension (any letter case); none for another one.
std::optional<ChartFormat> chartFormatOf(const QString& path);

// Width and height of a picture, in pixels.
constexpr int LeastChartSide = 16;
constexpr int LargestChartSide = 8000;

// A whole number of pixels from LeastChartSide to LargestChartSide; none otherwise.
std::optional<int> chartSide(const QString& text);

// The file offered first: the document's data file with the extension ".png", or for a
// document without a file its caption ("New3.png") in `folder`.
QString defaultChartPath(const DataDocument& document, const QString& folder);

// The title offered first: the name of the document's data file ("bench.CSV"), or its
// caption for a document without a file ("New3").
QString defaultChartTitle(const DataDocument& document);

// What the Export chart dialog holds.
struct ChartExportFields {
    QString path;
    QString title;
    bool screenSize = true; // the chart's size on the screen, else width x height
    QString width;
    QString height;
};

// The outcome of checking them: the format and size to save, or the message that says what
// is wrong (one of the string-table texts; nothing is saved then).
struct ChartExportCheck {
    bool ok = false;
    QString message;
    ChartFormat format = ChartFormat::Png;
    // The picture's size (see ChartPicture): for a PNG image its pixels, for SVG and PDF the
    // drawing's size in pixels of 1/96 inch.
    QSize pixels;
    // PNG only: image pixels per pixel of the chart's layout, the screen's device pixel ratio,
    // so that text and lines keep the proportions they have on the screen.
    double scale = 1;
};

// `screenSize`: the chart's size on the screen in device independent pixels, shown on a
// screen of that device pixel ratio. "As on the screen" saves a PNG image with every device
// pixel of the chart (screen size x ratio), a drawing of the screen size.
ChartExportCheck checkChartExport(const ChartExportFields& fields, const QSize& screenSize, double devicePixelRatio);

// The PNG image of the chart as on the screen: its size in device pixels.
QSize screenPixels(const QSize& screenSize, double devicePixelRatio);

} // namespace quvo
