#include "LibreOffice.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUrl>

#include <algorithm>

namespace quvo::test {

namespace {

// The chart's own colours as the workbook writer sets them: the frame round the chart and
// the series' line.
constexpr QRgb FrameColour = 0xA6A6A6;
constexpr int FrameTolerance = 24; // anti-aliasing of a thin line against white
constexpr int ConversionTimeoutMs = 240000;

bool isFrameColour(QRgb pixel)
{
    const int r = qRed(pixel), g = qGreen(pixel), b = qBlue(pixel);
    const int level = qRed(FrameColour);
    return std::abs(r - g) <= 6 && std::abs(g - b) <= 6 && std::abs(r - level) <= FrameTolerance;
}

// The line's blue (0000FF), also where the line's edge is blended with the background.
bool isSeriesColour(QRgb pixel)
{
    return qBlue(pixel) >= 200 && qRed(pixel) <= 110 && qGreen(pixel) <= 110;
}

QByteArray runTool(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return {};
    return process.readAllStandardOutput();
}

} // namespace

LibreOffice::LibreOffice(const QString& folder)
{
    const QString profile = QDir(folder).filePath(QStringLiteral("profile"));
    QDir().mkpath(profile);
    m_profileUrl = QUrl::fromLocalFile(profile).toString();
}

bool LibreOffice::available()
{
    return !QStandardPaths::findExecutable(QStringLiteral("soffice")).isEmpty()
        && !QStandardPaths::findExecutable(QStringLiteral("pdftoppm")).isEmpty()
        && !QStandardPaths::findExecutable(QStringLiteral("pdftotext")).isEmpty();
}

bool LibreOffice::convert(const QStringList& files, const QString& target, const QString& outFolder, QString& log) const
{
    QDir().mkpath(outFolder);
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral("soffice"),
                  QStringList{QStringLiteral("-env:UserInstallation=") + m_profileUrl, QStringLiteral("--headless"),
                              QStringLiteral("--norestore"), QStringLiteral("--nolockcheck"), QStringLiteral("--convert-to"),
                              target, QStringLiteral("--outdir"), outFolder}
                      + files);
    const bool finished = process.waitForFinished(ConversionTimeoutMs);
    if (!finished)
        process.kill(); // never left running
    process.waitForFinished(5000);
    log = QString::fromLocal8Bit(process.readAll());
    if (!finished || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return false;
    // The program says "Error:" for a file it could not load or convert, and goes on.
    return !log.contains(QStringLiteral("Error"));
}

QString LibreOffice::everySheetAsCsv()
{
    // Field separator ",", text delimiter '"', UTF-8, texts as shown, every sheet (-1).
    return QStringLiteral("csv:Text - txt - csv (StarCalc):44,34,76,1,,0,false,true,false,false,false,-1");
}

QString LibreOffice::onePagePerSheetPdf()
{
    return QStringLiteral("pdf:calc_pdf_Export:{\"SinglePageSheets\":{\"type\":\"boolean\",\"value\":\"true\"}}");
}

QString LibreOffice::pagedPdf()
{
    return QStringLiteral("pdf:calc_pdf_Export");
}

QString LibreOffice::savedAsXlsx()
{
    return QStringLiteral("xlsx:Calc MS Excel 2007 XML");
}

QList<QStringList> readCsv(const QString& path)
{
    QFile file(path);
    QList<QStringList> rows;
    if (!file.open(QIODevice::ReadOnly))
        return rows;
    const QString text = QString::fromUtf8(file.readAll());
    QStringList row;
    QString cell;
    bool quoted = false;
    bool cellStarted = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (quoted) {
            if (c == QLatin1Char('"')) {
                if (i + 1 < text.size() && text[i + 1] == QLatin1Char('"')) {
                    cell += c;
                    ++i;
                } else {
                    quoted = false;
                }
            } else {
                cell += c;
            }
        } else if (c == QLatin1Char('"') && !cellStarted) {
            quoted = true;
            cellStarted = true;
        } else if (c == QLatin1Char(',')) {
            row.append(cell);
            cell.clear();
            cellStarted = false;
        } else if (c == QLatin1Char('\n') || c == QLatin1Char('\r')) {
            if (c == QLatin1Char('\r') && i + 1 < text.size() && text[i + 1] == QLatin1Char('\n'))
                ++i;
            row.append(cell);
            rows.append(row);
            row.clear();
            cell.clear();
            cellStarted = false;
        } else {
            cell += c;
            cellStarted = true;
        }
    }
    if (cellStarted || !row.isEmpty()) {
        row.append(cell);
        rows.append(row);
    }
    return rows;
}

int pageCount(const QString& pdf)
{
    const QString info = QString::fromUtf8(runTool(QStringLiteral("pdfinfo"), {pdf}));
    for (const QString& line : info.split(QLatin1Char('\n'))) {
        if (line.startsWith(QStringLiteral("Pages:")))
            return line.mid(6).trimmed().toInt();
    }
    return 0;
}

QStringList pageTexts(const QString& pdf)
{
    QStringList pages = QString::fromUtf8(runTool(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), pdf, QStringLiteral("-")}))
                            .split(QLatin1Char('\f'));
    if (!pages.isEmpty() && pages.last().trimmed().isEmpty())
        pages.removeLast();
    return pages;
}

QImage renderPage(const QString& pdf, int page, int dpi)
{
    QTemporaryDir dir;
    if (!dir.isValid())
        return {};
    const QString stem = dir.filePath(QStringLiteral("page"));
    runTool(QStringLiteral("pdftoppm"), {QStringLiteral("-png"), QStringLiteral("-r"), QString::number(dpi), QStringLiteral("-f"),
                                         QString::number(page), QStringLiteral("-l"), QString::number(page),
                                         QStringLiteral("-singlefile"), pdf, stem});
    return QImage(stem + QStringLiteral(".png"));
}

std::optional<ChartOnPage> findChart(const QImage& page, int minimumWidth)
{
    if (page.isNull())
        return std::nullopt;
    const QImage image = page.convertToFormat(QImage::Format_RGB32);
    // Rows that hold a long run of the frame's colour: the top and the bottom of the frame.
    int top = -1, bottom = -1, left = image.width(), right = -1;
    for (int y = 0; y < image.height(); ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        int runStart = 0;
        for (int x = 0; x <= image.width(); ++x) {
            const bool frame = x < image.width() && isFrameColour(line[x]);
            if (frame)
                continue;
            if (x - runStart >= minimumWidth) {
                top = top < 0 ? y : top;
                bottom = y;
                left = std::min(left, runStart);
                right = std::max(right, x - 1);
            }
            runStart = x + 1;
        }
    }
    if (top < 0 || bottom - top < 10)
        return std::nullopt;
    ChartOnPage chart;
    chart.frame = QRect(QPoint(left, top), QPoint(right, bottom));
    for (int y = top + 1; y < bottom; ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = left + 1; x < right; ++x)
            chart.seriesPixels += isSeriesColour(line[x]) ? 1 : 0;
    }
    return chart;
}

} // namespace quvo::test
