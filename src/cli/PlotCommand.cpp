// quvolink-cli plot FILE --out CHART.png|.svg|.pdf [--width PX --height PX] [--title TEXT]
// [--all]: opens a data file as a document window does and saves the picture of its chart,
// drawn by the window's own chart widget on the offscreen platform (no display needed).

#include "cli/PlotCommand.h"

#include "cli/CliCommand.h"
#include "cli/DataFileDocument.h"
#include "document/ChartExport.h"
#include "document/ChartExportSetup.h"
#include "document/ChartView.h"
#include "document/DataDocument.h"
#include "resources/ResID.h"

#include <QCommandLineParser>
#include <QDir>

namespace quvo::cli {

namespace {

constexpr int DefaultWidth = 960;
constexpr int DefaultHeight = 540;

QString plotHelp()
{
    return QStringLiteral(
               "Usage: quvolink-cli plot FILE --out CHART.png|.svg|.pdf [--width PX --height PX]\n"
               "                         [--title TEXT] [--all]\n"
               "\n"
               "Opens the data file FILE (a .CSV file saved by Quvolink) the way a document window\n"
               "does and saves the picture of its chart: the readings the window shows first (the\n"
               "file's data range from the first reading, its X and Y axis settings), the MAX and\n"
               "MIN markers, and a title line above the chart. It is drawn by the desktop program's\n"
               "chart without a display.\n"
               "\n"
               "Options:\n"
               "  --out CHART     The picture to write; its extension chooses the format: .png (an\n"
               "                  image), .svg (a drawing) or .pdf (a document of one page). An\n"
               "                  existing file is replaced.\n"
               "  --width PX      Width of the picture in pixels, %1 to %2 (default %3).\n"
               "  --height PX     Height of the picture in pixels, %1 to %2 (default %4).\n"
               "                  SVG and PDF count pixels of 1/96 inch.\n"
               "  --title TEXT    The title line (default: the data file's name; \"\" for none).\n"
               "  --all           Every reading across the chart, as Graph setup's Automatic data\n"
               "                  range shows them. The data file is not changed.\n"
               "\n"
               "Exit codes: 0 done, 1 the data file is refused or holds no readings, the picture's\n"
               "extension is not one of the three, or the picture cannot be written (message on\n"
               "stderr), 2 wrong arguments.\n"
               "\n"
               "Examples:\n"
               "  quvolink-cli plot recording.CSV --out recording.png\n"
               "  quvolink-cli plot recording.CSV --out report.pdf --all --width 1200 --height 600 \\\n"
               "      --title \"Bench supply, 3 March\"\n")
        .arg(LeastChartSide)
        .arg(LargestChartSide)
        .arg(DefaultWidth)
        .arg(DefaultHeight);
}

int usageError(const QString& text)
{
    printError(text + QStringLiteral("\n\n") + plotHelp());
    return ExitUsage;
}

} // namespace

int drawPlot(const QStringList& arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help."));
    const QCommandLineOption out(QStringLiteral("out"), QStringLiteral("The picture to write."), QStringLiteral("CHART"));
    const QCommandLineOption width(QStringLiteral("width"), QStringLiteral("Width in pixels."), QStringLiteral("PX"));
    const QCommandLineOption height(QStringLiteral("height"), QStringLiteral("Height in pixels."), QStringLiteral("PX"));
    const QCommandLineOption title(QStringLiteral("title"), QStringLiteral("The title line."), QStringLiteral("TEXT"));
    const QCommandLineOption all(QStringLiteral("all"), QStringLiteral("Every reading across the chart."));
    parser.addOptions({help, out, width, height, title, all});
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The data file."));
    if (!parser.parse(QStringList{QStringLiteral("plot")} + arguments))
        return usageError(parser.errorText());
    if (parser.isSet(help)) {
        printOut(plotHelp());
        return ExitOk;
    }
    const QStringList files = parser.positionalArguments();
    if (files.size() != 1)
        return usageError(files.isEmpty() ? QStringLiteral("No data file given.") : QStringLiteral("Only one data file, please."));
    if (!parser.isSet(out) || parser.value(out).trimmed().isEmpty())
        return usageError(QStringLiteral("No picture given: --out CHART.png, .svg or .pdf."));
    QSize pixels(DefaultWidth, DefaultHeight);
    for (const auto& [option, side] : {std::pair{&width, &pixels.rwidth()}, std::pair{&height, &pixels.rheight()}}) {
        if (!parser.isSet(*option))
            continue;
        const std::optional<int> value = chartSide(parser.value(*option));
        if (!value) {
            return usageError(QStringLiteral("--%1: \"%2\" is not a whole number of pixels from %3 to %4.")
                                  .arg(option->names().constFirst(), parser.value(*option))
                                  .arg(LeastChartSide)
                                  .arg(LargestChartSide));
        }
        *side = *value;
    }

    const QString picturePath = parser.value(out);
    const std::optional<ChartFormat> format = chartFormatOf(picturePath);
    if (!format) {
        printError(QStringLiteral("\"%1\": %2\n").arg(QDir::toNativeSeparators(picturePath), ResID(Res::UnknownChartFormat)));
        return ExitFailed;
    }

    ErrorStreamPrompter prompter;
    DataDocument document;
    if (!openDataFile(document, prompter, files.first()))
        return ExitFailed; // the document showed why
    if (document.GetDatacount() == 0) {
        printError(QStringLiteral("\"%1\" holds no readings; there is nothing to draw.\n")
                       .arg(QDir::toNativeSeparators(files.first())));
        return ExitFailed;
    }
    if (parser.isSet(all) && document.GetDatacount() > 1) {
        document.SetGraphcount(document.GetDatacount());
        document.PaintGraphtop();
    }

    ChartView chart;
    chart.resize(pixels);
    chart.setDocument(&document);
    ChartPicture picture;
    picture.format = *format;
    picture.pixels = pixels;
    picture.title = parser.isSet(title) ? parser.value(title) : defaultChartTitle(document);
    QString error;
    if (!saveChartPicture(chart, picturePath, picture, error)) {
        printError(ResID(Res::ChartNotSaved) + QLatin1Char('\n') + error + QLatin1Char('\n'));
        return ExitFailed;
    }
    return ExitOk;
}

} // namespace quvo::cli
