#include "document/ChartExportSetup.h"

#include "document/DataDocument.h"
#include "resources/ResID.h"

#include <QDir>
#include <QFileInfo>

#include <cmath>

namespace quvo {

std::optional<ChartFormat> chartFormatOf(const QString& path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == QLatin1String("png"))
        return ChartFormat::Png;
    if (suffix == QLatin1String("svg"))
        return ChartFormat::Svg;
    if (suffix == QLatin1String("pdf"))
        return ChartFormat::Pdf;
    return std::nullopt;
}

std::optional<int> chartSide(const QString& text)
{
    bool ok = false;
    const int value = text.trimmed().toInt(&ok);
    if (!ok || value < LeastChartSide || value > LargestChartSide)
        return std::nullopt;
    return value;
}

QString defaultChartPath(const DataDocument& document, const QString& folder)
{
    const QString file = document.GetFilename();
    if (!file.isEmpty()) {
        const QFileInfo info(file);
        return info.dir().filePath(info.completeBaseName() + QStringLiteral(".png"));
    }
    return QDir(folder).filePath(document.caption() + QStringLiteral(".png"));
}

QString defaultChartTitle(const DataDocument& document)
{
    const QString file = document.GetFilename();
    return file.isEmpty() ? document.caption() : QFileInfo(file).fileName();
}

QSize screenPixels(const QSize& screenSize, double devicePixelRatio)
{
    const double ratio = devicePixelRatio > 0 ? devicePixelRatio : 1;
    return QSize(static_cast<int>(std::lround(screenSize.width() * ratio)),
                 static_cast<int>(std::lround(screenSize.height() * ratio)));
}

ChartExportCheck checkChartExport(const ChartExportFields& fields, const QSize& screenSize, double devicePixelRatio)
{
    ChartExportCheck check;
    if (fields.path.trimmed().isEmpty()) {
        check.message = ResID(Res::NoExportFile);
        return check;
    }
    const std::optional<ChartFormat> format = chartFormatOf(fields.path.trimmed());
    if (!format) {
        check.message = ResID(Res::UnknownChartFormat);
        return check;
    }
    check.format = *format;
    const bool image = *format == ChartFormat::Png;
    check.scale = image && devicePixelRatio > 0 ? devicePixelRatio : 1;
    if (fields.screenSize) {
        const QSize size = image ? screenPixels(screenSize, devicePixelRatio) : screenSize;
        check.pixels = size.boundedTo(QSize(LargestChartSide, LargestChartSide))
                           .expandedTo(QSize(LeastChartSide, LeastChartSide));
    } else {
        const std::optional<int> width = chartSide(fields.width);
        const std::optional<int> height = chartSide(fields.height);
        if (!width || !height) {
            check.message = ResID(Res::ExportSizeRange).arg(LeastChartSide).arg(LargestChartSide);
            return check;
        }
        check.pixels = QSize(*width, *height);
    }
    check.ok = true;
    return check;
}

} // namespace quvo
