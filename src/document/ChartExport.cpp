#include "document/ChartExport.h"

#include "document/ChartView.h"
#include "document/DurableFile.h"
#include "resources/Constant.h"
#include "resources/RuntimeError.h"

#include <QBuffer>
#include <QImage>
#include <QPageSize>
#include <QPdfWriter>
#include <QSvgGenerator>

#include <algorithm>
#include <cmath>

namespace quvo {

namespace {

constexpr double ScreenDpi = 96;        // the pixel of SVG drawings and of the layout
constexpr double PointsPerPixel = 0.75; // 72 points per inch

QByteArray pngBytes(ChartView& chart, const ChartPicture& picture)
{
    const double scale = std::max(0.25, picture.scale);
    const QSize layout(std::max(1, static_cast<int>(std::lround(picture.pixels.width() / scale))),
                       std::max(1, static_cast<int>(std::lround(picture.pixels.height() / scale))));
    QImage image(picture.pixels, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(chart.colours().backdrop);
    {
        // The image's device pixel ratio makes the painter draw the layout's pixels at scale;
        // its resolution stays the screen's 96 dots per inch meanwhile, as text in points is
        // measured by it (the ratio would be applied twice otherwise).
        QCPPainter painter(&image);
        chart.drawPicture(painter, layout, picture.title);
    }
    // The file says how large the picture is meant to be shown: its layout's size.
    const int dotsPerMeter = static_cast<int>(std::lround(ScreenDpi * scale / 0.0254));
    image.setDotsPerMeterX(dotsPerMeter);
    image.setDotsPerMeterY(dotsPerMeter);
    if (!picture.title.isEmpty())
        image.setText(QStringLiteral("Title"), picture.title);
    image.setText(QStringLiteral("Software"), AppTitle);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, "PNG"))
        throw RuntimeError(QStringLiteral("The PNG image could not be made."));
    return bytes;
}

QByteArray svgBytes(ChartView& chart, const ChartPicture& picture)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QSvgGenerator svg;
    svg.setOutputDevice(&buffer);
    svg.setSize(picture.pixels);
    svg.setViewBox(QRect(QPoint(), picture.pixels));
    svg.setResolution(static_cast<int>(ScreenDpi));
    svg.setTitle(picture.title);
    svg.setDescription(AppTitle);
    QCPPainter painter;
    if (!painter.begin(&svg))
        throw RuntimeError(QStringLiteral("The SVG drawing could not be made."));
    painter.setMode(QCPPainter::pmVectorized);
    chart.drawPicture(painter, picture.pixels, picture.title);
    painter.end();
    return bytes;
}

QByteArray pdfBytes(ChartView& chart, const ChartPicture& picture)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    {
        QPdfWriter pdf(&buffer);
        pdf.setResolution(static_cast<int>(ScreenDpi));
        pdf.setPageSize(QPageSize(QSizeF(picture.pixels) * PointsPerPixel, QPageSize::Point, QString(),
                                  QPageSize::ExactMatch));
        pdf.setPageMargins(QMarginsF(0, 0, 0, 0));
        pdf.setTitle(picture.title);
        pdf.setCreator(AppTitle);
        QCPPainter painter;
        if (!painter.begin(&pdf))
            throw RuntimeError(QStringLiteral("The PDF document could not be made."));
        painter.setMode(QCPPainter::pmVectorized);
        // The page holds exactly the drawing, whatever rounding the page size took.
        painter.setWindow(QRect(QPoint(), picture.pixels));
        chart.drawPicture(painter, picture.pixels, picture.title);
        painter.end();
    }
    return bytes;
}

} // namespace

QByteArray chartPictureBytes(ChartView& chart, const ChartPicture& picture)
{
    switch (picture.format) {
    case ChartFormat::Png:
        return pngBytes(chart, picture);
    case ChartFormat::Svg:
        return svgBytes(chart, picture);
    case ChartFormat::Pdf:
        return pdfBytes(chart, picture);
    }
    return {};
}

bool saveChartPicture(ChartView& chart, const QString& path, const ChartPicture& picture, QString& error)
{
    try {
        writeFileAtomically(path, chartPictureBytes(chart, picture));
        return true;
    } catch (const RuntimeError& e) {
        error = e.description();
        return false;
    }
}

} // namespace quvo
