#include "forward/XlsxSheetWriter.h"

#include "forward/ExcelObjects.h"
#include "forward/XlsxFiles.h"
#include "resources/RuntimeError.h"

#include <QFile>
#include <QRegularExpression>

#include <pugixml.hpp>
#include <xlsxwriter.h>
#include <zip.h>

#include <cmath>
#include <map>
#include <optional>
#include <tuple>

namespace quvo::xlsx {

namespace {

// The chart size libxlsxwriter starts from, in pixels at 96 dpi; x_scale and y_scale are
// relative to it.
constexpr double DefaultChartWidthPixels = 480;
constexpr double DefaultChartHeightPixels = 288;
constexpr std::uint8_t TextFormatIndex = 49; // the built-in number format "@"

// The chart's colours, all written out: a chart that leaves them to the workbook's theme
// draws no line and no gridlines in a workbook without a theme part (as some spreadsheet
// programs save them), and looks different from one program to the next.
namespace ChartColour {
constexpr lxw_color_t Series = 0x0000FF; // the document window's line
constexpr lxw_color_t Gridlines = 0xD9D9D9;
constexpr lxw_color_t Axes = 0x808080;
constexpr lxw_color_t Text = 0x404040;
constexpr lxw_color_t Background = 0xFFFFFF;
constexpr lxw_color_t Frame = 0xA6A6A6;
} // namespace ChartColour
constexpr float SeriesLineWidth = 1.5f; // points: 2 pixels, as in the document window
constexpr std::uint8_t MarkerSize = 5;

// What is added to a chart part once libxlsxwriter has written it: the points of each
// series that get a marker of their own (see seriesMarkers()).
struct ChartFinish {
    std::vector<std::vector<int>> markedPoints; // per series, in the order of the series
};

bool isXmlCharacter(char32_t c)
{
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD)
        || (c >= 0x10000 && c <= 0x10FFFF);
}

QString hexEscape(char32_t c)
{
    return QStringLiteral("_x%1_").arg(QString::number(static_cast<uint>(c), 16).toUpper().rightJustified(4, QLatin1Char('0')));
}

std::uint8_t borderStyle(Line line)
{
    switch (line) {
    case Line::None: return LXW_BORDER_NONE;
    case Line::Hairline: return LXW_BORDER_HAIR;
    case Line::Thin: return LXW_BORDER_THIN;
    case Line::Medium: return LXW_BORDER_MEDIUM;
    case Line::Thick: return LXW_BORDER_THICK;
    }
    return LXW_BORDER_NONE;
}

std::uint8_t alignmentStyle(std::int16_t alignment)
{
    switch (alignment) {
    case xl::xlCenter: return LXW_ALIGN_CENTER;
    case xl::xlLeft: return LXW_ALIGN_LEFT;
    case xl::xlRight: return LXW_ALIGN_RIGHT;
    default: return LXW_ALIGN_NONE;
    }
}

void check(lxw_error error, const QString& what)
{
    if (error != LXW_NO_ERROR)
        throw RuntimeError(QStringLiteral("%1: %2").arg(what, QString::fromUtf8(lxw_strerror(error))));
}

// One libxlsxwriter format per distinct look of a cell.
class FormatCache {
public:
    explicit FormatCache(lxw_workbook* workbook) : m_workbook(workbook) {}

    lxw_format* get(const QString& numberFormat, std::int16_t alignment, Line top, Line bottom, Line left, Line right,
                    std::optional<std::uint32_t> fill)
    {
        const std::uint8_t align = alignmentStyle(alignment);
        if (numberFormat.isEmpty() && align == LXW_ALIGN_NONE && top == Line::None && bottom == Line::None
            && left == Line::None && right == Line::None && !fill)
            return nullptr;
        const auto key = std::make_tuple(numberFormat, align, top, bottom, left, right, fill);
        const auto it = m_formats.find(key);
        if (it != m_formats.end())
            return it->second;
        lxw_format* format = workbook_add_format(m_workbook);
        if (!format)
            throw RuntimeError(QStringLiteral("Out of memory while preparing the cell formats."));
        if (numberFormat == xl::TextFormat)
            format_set_num_format_index(format, TextFormatIndex);
        else if (!numberFormat.isEmpty())
            format_set_num_format(format, numberFormat.toUtf8().constData());
        if (align != LXW_ALIGN_NONE)
            format_set_align(format, align);
        format_set_top(format, borderStyle(top));
        format_set_bottom(format, borderStyle(bottom));
        format_set_left(format, borderStyle(left));
        format_set_right(format, borderStyle(right));
        if (fill) {
            format_set_pattern(format, LXW_PATTERN_SOLID);
            format_set_bg_color(format, static_cast<lxw_color_t>(*fill));
        }
        m_formats.emplace(key, format);
        return format;
    }

private:
    lxw_workbook* m_workbook;
    std::map<std::tuple<QString, std::uint8_t, Line, Line, Line, Line, std::optional<std::uint32_t>>, lxw_format*>
        m_formats;
};

// The cell holding a point of the sheet, and the point's offset inside it in pixels.
struct Anchor {
    int row = 1, column = 1;
    int xOffset = 0, yOffset = 0;
};

Anchor anchorAt(double left, double top)
{
    Anchor anchor;
    left = std::max(0.0, left);
    top = std::max(0.0, top);
    while (anchor.column < MaxColumns && columnLeftPoints(anchor.column + 1) <= left)
        ++anchor.column;
    anchor.row = std::min(MaxRows, static_cast<int>(std::floor(top / DefaultRowHeightPoints)) + 1);
    anchor.xOffset = static_cast<int>(std::lround((left - columnLeftPoints(anchor.column)) / PointsPerPixel));
    anchor.yOffset = static_cast<int>(std::lround((top - rowTopPoints(anchor.row)) / PointsPerPixel));
    return anchor;
}

class SheetWriter {
public:
    SheetWriter(lxw_workbook* workbook, FormatCache& formats, const SheetModel& sheet, std::vector<ChartFinish>& finishes)
        : m_workbook(workbook), m_formats(formats), m_sheet(sheet), m_name(sheet.name().toUtf8()), m_finishes(finishes)
    {
    }

    lxw_worksheet* write()
    {
        m_worksheet = workbook_add_worksheet(m_workbook, m_name.constData());
        if (!m_worksheet)
            throw RuntimeError(QStringLiteral("The sheet name \"%1\" cannot be used.").arg(m_sheet.name()));
        for (int column = 1; column <= 7; ++column)
            check(worksheet_set_column(m_worksheet, column - 1, column - 1, columnWidth(column), nullptr),
                  QStringLiteral("Setting the column widths failed"));
        writeCells();
        for (const ChartModel& chart : m_sheet.charts())
            writeChart(chart);
        writeMirrors();
        const lxw_row_t row = static_cast<lxw_row_t>(m_sheet.activeRow() - 1);
        const lxw_col_t column = static_cast<lxw_col_t>(m_sheet.activeColumn() - 1);
        worksheet_set_selection(m_worksheet, row, column, row, column);
        return m_worksheet;
    }

private:
    void writeCells()
    {
        for (const auto& [key, cell] : m_sheet.cells()) {
            const int r = SheetModel::rowOf(key);
            const int c = SheetModel::columnOf(key);
            lxw_format* format = m_formats.get(cell.numberFormat, cell.alignment, m_sheet.topEdge(r, c),
                                               m_sheet.topEdge(r + 1, c), m_sheet.leftEdge(r, c),
                                               m_sheet.leftEdge(r, c + 1), cell.fill);
            const lxw_row_t row = static_cast<lxw_row_t>(r - 1);
            const lxw_col_t column = static_cast<lxw_col_t>(c - 1);
            switch (cell.kind) {
            case Cell::Kind::Number:
                check(worksheet_write_number(m_worksheet, row, column, cell.number, format),
                      QStringLiteral("Writing cell %1%2 failed").arg(columnLetters(c)).arg(r));
                break;
            case Cell::Kind::Text:
                // Always a string, whatever it begins with: nothing a reading holds is
                // ever taken as a formula.
                check(worksheet_write_string(m_worksheet, row, column, cellTextForFile(cell.text).toUtf8().constData(),
                                             format),
                      QStringLiteral("Writing cell %1%2 failed").arg(columnLetters(c)).arg(r));
                break;
            case Cell::Kind::Empty:
                if (format)
                    check(worksheet_write_blank(m_worksheet, row, column, format),
                          QStringLiteral("Writing cell %1%2 failed").arg(columnLetters(c)).arg(r));
                break;
            }
        }
    }

    // The hidden column that mirrors the numbers of source column `column` (see
    // mirrorColumn()); allocated on first use.
    int mirrorFor(int column)
    {
        const auto it = m_mirrors.find(column);
        if (it != m_mirrors.end())
            return it->second;
        const int mirror = mirrorColumn(m_sheet, static_cast<int>(m_mirrors.size()));
        m_mirrors.emplace(column, mirror);
        return mirror;
    }

    bool columnHasNumber(int column, int firstRow, int lastRow) const
    {
        for (int r = firstRow; r <= lastRow; ++r) {
            const Cell* cell = m_sheet.cell(r, column);
            if (cell && cell->kind == Cell::Kind::Number)
                return true;
        }
        return false;
    }

    void writeChart(const ChartModel& model)
    {
        // A chart object that never got its data stays an empty frame in a spreadsheet
        // program; there is nothing to draw, so it is left out of the file.
        if (!model.hasSource)
            return;
        lxw_chart* chart = workbook_add_chart(m_workbook, LXW_CHART_LINE);
        if (!chart)
            throw RuntimeError(QStringLiteral("Out of memory while preparing the chart."));

        const CellRect& source = model.source;
        const int categoryColumns = source.firstColumn + model.categoryLabels <= source.lastColumn ? model.categoryLabels : 0;
        const int firstDataRow = std::min(source.lastRow, source.firstRow + model.seriesLabels);
        const int firstSeriesColumn = source.firstColumn + categoryColumns;

        // Series are the columns that hold at least one number; a column of words (the
        // unit) has nothing to draw. With no number anywhere the first column still
        // gives an empty line, so the chart keeps its axes.
        std::vector<int> plotted;
        for (int c = firstSeriesColumn; c <= source.lastColumn; ++c) {
            if (columnHasNumber(c, firstDataRow, source.lastRow))
                plotted.push_back(c);
        }
        if (plotted.empty())
            plotted.push_back(firstSeriesColumn);

        const char* sheetName = m_name.constData();
        ChartFinish finish;
        for (const int column : plotted) {
            lxw_chart_series* series = chart_add_series(chart, nullptr, nullptr);
            if (!series)
                throw RuntimeError(QStringLiteral("Out of memory while preparing the chart."));
            // The values come from the hidden mirror of the column: numbers where the
            // reading is a number, blank where it is a word, and blanks are gaps.
            const int mirror = mirrorFor(column);
            chart_series_set_values(series, sheetName, static_cast<lxw_row_t>(firstDataRow - 1),
                                    static_cast<lxw_col_t>(mirror - 1), static_cast<lxw_row_t>(source.lastRow - 1),
                                    static_cast<lxw_col_t>(mirror - 1));
            if (categoryColumns > 0)
                chart_series_set_categories(series, sheetName, static_cast<lxw_row_t>(firstDataRow - 1),
                                            static_cast<lxw_col_t>(source.firstColumn - 1),
                                            static_cast<lxw_row_t>(source.lastRow - 1),
                                            static_cast<lxw_col_t>(source.firstColumn - 1));
            if (model.seriesLabels > 0)
                chart_series_set_name_range(series, sheetName, static_cast<lxw_row_t>(source.firstRow - 1),
                                            static_cast<lxw_col_t>(column - 1));
            styleSeries(series);
            const SeriesMarkers markers = seriesMarkers(numberFlags(column, firstDataRow, source.lastRow));
            if (markers.everyPoint)
                setMarkers(series);
            finish.markedPoints.push_back(markers.points);
        }
        m_mirrorRows.push_back({firstDataRow, source.lastRow, plotted});
        m_finishes.push_back(std::move(finish));

        const QString title = plainTextForFile(model.title);
        if (title.isEmpty())
            chart_title_off(chart);
        else if (title.startsWith(QLatin1Char('=')))
            // libxlsxwriter reads a name that begins with "=" as a cell reference; such a
            // title is written through a hidden cell that holds it as text.
            setTitleThroughCell(chart, title);
        else
            chart_title_set_name(chart, title.toUtf8().constData());
        if (!model.hasLegend)
            chart_legend_set_position(chart, LXW_CHART_LEGEND_NONE);
        chart_axis_major_gridlines_set_visible(chart->x_axis, model.categoryGridlines ? LXW_TRUE : LXW_FALSE);
        chart_axis_major_gridlines_set_visible(chart->y_axis, model.valueGridlines ? LXW_TRUE : LXW_FALSE);
        styleChart(chart, !title.isEmpty());
        chart_show_blanks_as(chart, LXW_CHART_BLANKS_AS_GAP);
        chart_show_hidden_data(chart);

        const Anchor anchor = anchorAt(model.left, model.top);
        lxw_chart_options options{};
        options.x_offset = anchor.xOffset;
        options.y_offset = anchor.yOffset;
        options.x_scale = model.width / PointsPerPixel / DefaultChartWidthPixels;
        options.y_scale = model.height / PointsPerPixel / DefaultChartHeightPixels;
        check(worksheet_insert_chart_opt(m_worksheet, static_cast<lxw_row_t>(anchor.row - 1),
                                         static_cast<lxw_col_t>(anchor.column - 1), chart, &options),
              QStringLiteral("Placing the chart failed"));
    }

    std::vector<bool> numberFlags(int column, int firstRow, int lastRow) const
    {
        std::vector<bool> flags;
        flags.reserve(static_cast<std::size_t>(lastRow - firstRow + 1));
        for (int r = firstRow; r <= lastRow; ++r) {
            const Cell* cell = m_sheet.cell(r, column);
            flags.push_back(cell && cell->kind == Cell::Kind::Number);
        }
        return flags;
    }

    static void styleSeries(lxw_chart_series* series)
    {
        lxw_chart_line line{};
        line.color = ChartColour::Series;
        line.width = SeriesLineWidth;
        chart_series_set_line(series, &line);
        chart_series_set_marker_type(series, LXW_CHART_MARKER_NONE);
    }

    static void setMarkers(lxw_chart_series* series)
    {
        chart_series_set_marker_type(series, LXW_CHART_MARKER_CIRCLE);
        chart_series_set_marker_size(series, MarkerSize);
        lxw_chart_line outline{};
        outline.color = ChartColour::Series;
        outline.width = 0.75f;
        chart_series_set_marker_line(series, &outline);
        lxw_chart_fill fill{};
        fill.color = ChartColour::Series;
        chart_series_set_marker_fill(series, &fill);
    }

    // Text, axes, gridlines, the chart's background and frame in colours of their own.
    static void styleChart(lxw_chart* chart, bool titled)
    {
        lxw_chart_font text{};
        text.color = ChartColour::Text;
        if (titled) {
            lxw_chart_font titleFont = text;
            titleFont.bold = LXW_TRUE;
            titleFont.size = 12;
            chart_title_set_name_font(chart, &titleFont);
        }
        lxw_chart_line axis{};
        axis.color = ChartColour::Axes;
        axis.width = 0.75f;
        lxw_chart_line gridlines{};
        gridlines.color = ChartColour::Gridlines;
        gridlines.width = 0.75f;
        for (lxw_chart_axis* each : {chart->x_axis, chart->y_axis}) {
            chart_axis_set_major_tick_mark(each, LXW_CHART_AXIS_TICK_MARK_OUTSIDE);
            chart_axis_set_minor_tick_mark(each, LXW_CHART_AXIS_TICK_MARK_NONE);
            chart_axis_set_num_font(each, &text);
            chart_axis_set_line(each, &axis);
            chart_axis_major_gridlines_set_line(each, &gridlines);
        }
        lxw_chart_fill background{};
        background.color = ChartColour::Background;
        lxw_chart_line frame{};
        frame.color = ChartColour::Frame;
        frame.width = 0.75f;
        chart_chartarea_set_fill(chart, &background);
        chart_chartarea_set_line(chart, &frame);
        chart_plotarea_set_fill(chart, &background);
    }

    void setTitleThroughCell(lxw_chart* chart, const QString& title)
    {
        const int column = mirrorFor(-1 - static_cast<int>(m_titles.size()));
        m_titles.push_back({column, title});
        chart_title_set_name_range(chart, m_name.constData(), 0, static_cast<lxw_col_t>(column - 1));
    }

    void writeMirrors()
    {
        lxw_row_col_options hidden{};
        hidden.hidden = LXW_TRUE;
        for (const auto& [source, mirror] : m_mirrors) {
            check(worksheet_set_column_opt(m_worksheet, static_cast<lxw_col_t>(mirror - 1),
                                           static_cast<lxw_col_t>(mirror - 1), LXW_DEF_COL_WIDTH, nullptr, &hidden),
                  QStringLiteral("Preparing the chart data failed"));
        }
        for (const MirrorRows& rows : m_mirrorRows) {
            for (const int column : rows.columns) {
                const auto mirror = static_cast<lxw_col_t>(m_mirrors.at(column) - 1);
                for (int r = rows.firstRow; r <= rows.lastRow; ++r) {
                    const Cell* cell = m_sheet.cell(r, column);
                    if (cell && cell->kind == Cell::Kind::Number)
                        check(worksheet_write_number(m_worksheet, static_cast<lxw_row_t>(r - 1), mirror, cell->number,
                                                     nullptr),
                              QStringLiteral("Preparing the chart data failed"));
                }
            }
        }
        for (const auto& [column, title] : m_titles)
            check(worksheet_write_string(m_worksheet, 0, static_cast<lxw_col_t>(column - 1),
                                         cellTextForFile(title).toUtf8().constData(), nullptr),
                  QStringLiteral("Preparing the chart title failed"));
    }

    struct MirrorRows {
        int firstRow, lastRow;
        std::vector<int> columns;
    };

    lxw_workbook* m_workbook;
    FormatCache& m_formats;
    const SheetModel& m_sheet;
    QByteArray m_name;
    lxw_worksheet* m_worksheet = nullptr;
    std::map<int, int> m_mirrors; // source column (negative: a title cell) -> hidden column
    std::vector<MirrorRows> m_mirrorRows;
    std::vector<std::pair<int, QString>> m_titles;
    std::vector<ChartFinish>& m_finishes; // of every chart of the workbook, in the order written
};

} // namespace

QString cellTextForFile(const QString& text)
{
    static const QRegularExpression literalEscape(QStringLiteral("_(x[0-9A-Fa-f]{4}_)"));
    QString safe = text;
    safe.replace(literalEscape, QStringLiteral("_x005F_\\1"));
    QString result;
    result.reserve(safe.size());
    for (const char32_t c : safe.toUcs4()) {
        // Characters XML cannot hold (control characters, U+FFFE, U+FFFF) are written
        // in the escape notation that readers decode. Doing it here rather than leaving
        // it to libxlsxwriter also covers the copies of texts in the chart's cache.
        if ((c >= 0xD800 && c <= 0xDFFF) || c > 0x10FFFF)
            result += QChar(0xFFFD);
        else if (!isXmlCharacter(c))
            result += hexEscape(c);
        else
            result += QString::fromUcs4(&c, 1);
    }
    return result;
}

QString plainTextForFile(const QString& text)
{
    QString result;
    result.reserve(text.size());
    for (const char32_t c : text.toUcs4()) {
        if (isXmlCharacter(c))
            result += QString::fromUcs4(&c, 1);
    }
    return result;
}

namespace {

// Sets `<c:NAME val="VALUE"/>` as a child of `parent`, after `after` when it is newly made
// (or first when `after` is empty); an existing one keeps its place.
pugi::xml_node setValueChild(pugi::xml_node parent, const char* name, const char* value, pugi::xml_node after)
{
    pugi::xml_node node = parent.child(name);
    if (!node)
        node = after ? parent.insert_child_after(name, after) : parent.prepend_child(name);
    node.remove_attribute("val");
    node.append_attribute("val") = value;
    return node;
}

// What libxlsxwriter cannot write is added to its chart part here:
// - settings it leaves to the reader's defaults, in which readers differ (a spreadsheet
//   program may take the defaults of the program that saved the workbook, so the same
//   chart changes when it is added to another program's workbook): whether hidden cells
//   are plotted and whether blank cells are gaps (the readings' numbers are in a hidden
//   column and the words are blank cells there: plot hidden cells, blanks as gaps), one
//   colour for the whole line, no smoothing of the line, both axes shown;
// - a marker on each point that stands alone (libxlsxwriter formats points, but not their
//   markers), in the series' colour.
QByteArray completeChart(const QByteArray& xml, const ChartFinish& finish)
{
    pugi::xml_document doc;
    if (!doc.load_buffer(xml.constData(), static_cast<size_t>(xml.size()), pugi::parse_default | pugi::parse_declaration))
        throw RuntimeError(QStringLiteral("The chart could not be completed."));
    pugi::xml_node chart = doc.document_element().child("c:chart");
    pugi::xml_node anchor = chart.child("c:legend");
    if (!anchor)
        anchor = chart.child("c:plotArea");
    if (!anchor)
        throw RuntimeError(QStringLiteral("The chart could not be completed."));
    chart.remove_child("c:plotVisOnly");
    chart.remove_child("c:dispBlanksAs");
    pugi::xml_node visibleOnly = chart.insert_child_after("c:plotVisOnly", anchor);
    visibleOnly.append_attribute("val") = "0";
    chart.insert_child_after("c:dispBlanksAs", visibleOnly).append_attribute("val") = "gap";

    pugi::xml_node lineChart = chart.child("c:plotArea").child("c:lineChart");
    setValueChild(lineChart, "c:varyColors", "0", lineChart.child("c:grouping"));
    for (const char* axisName : {"c:catAx", "c:valAx", "c:dateAx"}) {
        for (pugi::xml_node axis : chart.child("c:plotArea").children(axisName)) {
            if (!axis.child("c:delete"))
                setValueChild(axis, "c:delete", "0", axis.child("c:scaling"));
        }
    }

    std::size_t seriesIndex = 0;
    const std::string colour = QString::number(ChartColour::Series, 16).rightJustified(6, QLatin1Char('0')).toUpper().toStdString();
    for (pugi::xml_node series : lineChart.children("c:ser")) {
        setValueChild(series, "c:smooth", "0", series.child("c:val"));
        if (seriesIndex >= finish.markedPoints.size())
            continue;
        // A data point's settings follow the series' own marker.
        pugi::xml_node after = series.child("c:marker");
        if (!after)
            after = series.child("c:spPr");
        for (const int point : finish.markedPoints[seriesIndex]) {
            pugi::xml_node dataPoint = after ? series.insert_child_after("c:dPt", after) : series.prepend_child("c:dPt");
            after = dataPoint;
            dataPoint.append_child("c:idx").append_attribute("val") = point;
            pugi::xml_node marker = dataPoint.append_child("c:marker");
            marker.append_child("c:symbol").append_attribute("val") = "circle";
            marker.append_child("c:size").append_attribute("val") = MarkerSize;
            pugi::xml_node shape = marker.append_child("c:spPr");
            shape.append_child("a:solidFill").append_child("a:srgbClr").append_attribute("val") = colour.c_str();
            pugi::xml_node outline = shape.append_child("a:ln");
            outline.append_attribute("w") = 9525;
            outline.append_child("a:solidFill").append_child("a:srgbClr").append_attribute("val") = colour.c_str();
            dataPoint.append_child("c:bubble3D").append_attribute("val") = "0";
        }
        ++seriesIndex;
    }
    struct Writer : pugi::xml_writer {
        QByteArray bytes;
        void write(const void* data, size_t size) override { bytes.append(static_cast<const char*>(data), static_cast<qsizetype>(size)); }
    } writer;
    doc.save(writer, "", pugi::format_raw, pugi::encoding_utf8);
    return writer.bytes;
}

// Completes the chart parts of the workbook just written: chartN.xml is the N-th chart
// written (libxlsxwriter numbers them in the order of the sheets and of their charts).
void completeCharts(const QString& path, const std::vector<ChartFinish>& finishes)
{
    int error = 0;
    zip_t* zip = zip_open(QFile::encodeName(path).constData(), 0, &error);
    if (!zip)
        throw RuntimeError(QStringLiteral("The workbook could not be reopened to complete its charts."));
    static const QRegularExpression chartPart(QStringLiteral("^xl/charts/chart(\\d+)\\.xml$"));
    std::vector<QByteArray> replaced; // kept until the archive is closed
    const zip_int64_t count = zip_get_num_entries(zip, 0);
    replaced.reserve(static_cast<std::size_t>(count));
    const auto fail = [&](const QString& reason) {
        zip_discard(zip);
        throw RuntimeError(QStringLiteral("The charts could not be completed: %1").arg(reason));
    };
    for (zip_int64_t i = 0; i < count; ++i) {
        const auto index = static_cast<zip_uint64_t>(i);
        const QString name = QString::fromUtf8(zip_get_name(zip, index, 0));
        const QRegularExpressionMatch match = chartPart.match(name);
        if (!match.hasMatch())
            continue;
        const std::size_t number = match.captured(1).toUInt();
        if (number == 0 || number > finishes.size())
            fail(QStringLiteral("%1 was not written by this program").arg(name));
        zip_stat_t st;
        zip_stat_init(&st);
        zip_file_t* file = zip_stat_index(zip, index, 0, &st) == 0 ? zip_fopen_index(zip, index, 0) : nullptr;
        if (!file)
            fail(QString::fromUtf8(zip_strerror(zip)));
        QByteArray xml(static_cast<qsizetype>(st.size), Qt::Uninitialized);
        const zip_int64_t read = zip_fread(file, xml.data(), st.size);
        zip_fclose(file);
        if (read != static_cast<zip_int64_t>(st.size))
            fail(name);
        replaced.push_back(completeChart(xml, finishes[number - 1]));
        // Removed and added again rather than replaced: libzip compresses a replacement at
        // its slowest level whatever is asked, and a chart of a full document holds the
        // cached texts and numbers of every point (DeflateLevel is asked instead).
        const QByteArray entryName = name.toUtf8();
        zip_source_t* source = zip_source_buffer(zip, replaced.back().constData(), static_cast<zip_uint64_t>(replaced.back().size()), 0);
        if (!source)
            fail(QString::fromUtf8(zip_strerror(zip)));
        if (zip_delete(zip, index) != 0) {
            zip_source_free(source);
            fail(QString::fromUtf8(zip_strerror(zip)));
        }
        const zip_int64_t added = zip_file_add(zip, entryName.constData(), source, ZIP_FL_ENC_UTF_8);
        if (added < 0) {
            zip_source_free(source); // not taken over by the archive
            fail(QString::fromUtf8(zip_strerror(zip)));
        }
        if (zip_set_file_compression(zip, static_cast<zip_uint64_t>(added), ZIP_CM_DEFLATE, DeflateLevel) != 0)
            fail(QString::fromUtf8(zip_strerror(zip)));
    }
    if (zip_close(zip) != 0)
        fail(QString::fromUtf8(zip_strerror(zip)));
}

} // namespace

void writeWorkbookFile(const QString& path, const std::vector<const SheetModel*>& sheets, int activeSheet)
{
    const QByteArray fileName = QFile::encodeName(path);
    lxw_workbook* workbook = workbook_new(fileName.constData());
    if (!workbook)
        throw RuntimeError(QStringLiteral("Out of memory while preparing the workbook."));
    std::vector<ChartFinish> finishes;
    try {
        FormatCache formats(workbook);
        std::vector<lxw_worksheet*> written;
        for (const SheetModel* sheet : sheets)
            written.push_back(SheetWriter(workbook, formats, *sheet, finishes).write());
        if (activeSheet >= 0 && activeSheet < static_cast<int>(written.size()))
            worksheet_activate(written[static_cast<std::size_t>(activeSheet)]);
    } catch (...) {
        // Closing is the only way to free a libxlsxwriter workbook; its file goes too.
        workbook_close(workbook);
        QFile::remove(path);
        throw;
    }
    const lxw_error error = workbook_close(workbook);
    if (error != LXW_NO_ERROR) {
        QFile::remove(path);
        throw RuntimeError(QStringLiteral("The workbook \"%1\" could not be written: %2")
                               .arg(path, QString::fromUtf8(lxw_strerror(error))));
    }
    try {
        completeCharts(path, finishes);
    } catch (...) {
        QFile::remove(path);
        throw;
    }
}

} // namespace quvo::xlsx
