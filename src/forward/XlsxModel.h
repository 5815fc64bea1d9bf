#pragma once
// What forwarding has done to a sheet, kept in memory until the workbook is written:
// cell values and formats, border edges, the active cell and the chart objects, plus the
// sheet geometry (column widths, row height) that positions are computed from.
//
// Rows and columns count from 1 here, as in A1 notation; the writer converts.

#include <QString>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

namespace quvo::xlsx {

constexpr int MaxRows = 1048576;
constexpr int MaxColumns = 16384;
constexpr int MaxTextLength = 32767; // characters a cell can hold

// A rectangle of cells, 1-based and inclusive.
struct CellRect {
    int firstRow = 1;
    int firstColumn = 1;
    int lastRow = 1;
    int lastColumn = 1;
    bool operator==(const CellRect&) const = default;
};

// "A" is 1, "Z" 26, "AA" 27; 0 when the text is not a column of the sheet.
int columnNumber(const QString& letters);
QString columnLetters(int column);
// "F8", "B4:D27", "$B$4:$D$27" (either corner first); nullopt when not a reference.
std::optional<CellRect> parseReference(const QString& text);
QString referenceText(const CellRect& rect);

// Border weights as kept in the model (the automation weights are mapped on entry).
enum class Line : std::uint8_t { None, Hairline, Thin, Medium, Thick };

struct Cell {
    enum class Kind : std::uint8_t { Empty, Number, Text };
    Kind kind = Kind::Empty;
    double number = 0;
    QString text;
    QString numberFormat;        // empty: General
    std::int16_t alignment = 0;  // automation HorizontalAlignment value; 0: not set
    std::optional<std::uint32_t> fill; // solid background, 0xRRGGBB; none: no fill
};

struct ChartModel {
    double left = 0, top = 0, width = 0, height = 0; // points
    bool hasSource = false;                          // ChartWizard was called
    CellRect source;
    std::int16_t gallery = 0;
    std::int16_t format = 0;
    std::int16_t plotBy = 0;
    std::int16_t categoryLabels = 0;
    std::int16_t seriesLabels = 0;
    bool hasLegend = true;
    QString title;
    bool categoryGridlines = false;
    bool valueGridlines = false;
};

class SheetModel {
public:
    explicit SheetModel(QString name) : m_name(std::move(name)) {}

    const QString& name() const { return m_name; }
    void setName(const QString& name) { m_name = name; }

    // --- Recording (each marks the sheet as changed) ---------------------------------
    void setNumberFormat(const CellRect& rect, const QString& format);
    // Takes the text as Range.Value does: a number in a General cell when it is a plain
    // decimal number, otherwise text; "" empties the cell.
    void setValue(const CellRect& rect, const QString& value);
    void setBorder(const CellRect& rect, std::int16_t index, Line line);
    void setAlignment(const CellRect& rect, std::int16_t alignment);
    void setFill(const CellRect& rect, std::uint32_t rgb);
    void setActiveCell(int row, int column) { m_activeRow = row; m_activeColumn = column; }
    ChartModel& addChart(double left, double top, double width, double height);
    ChartModel& chart(std::size_t index) { return m_charts[index]; }
    void touch() { m_changed = true; }

    // --- Reading ---------------------------------------------------------------------
    // Cells that something was set on, in row-major order (key: row << 16 | column).
    const std::map<std::uint64_t, Cell>& cells() const { return m_cells; }
    static int rowOf(std::uint64_t key) { return static_cast<int>(key >> 16); }
    static int columnOf(std::uint64_t key) { return static_cast<int>(key & 0xFFFF); }
    const Cell* cell(int row, int column) const;
    // The line above cell (row, column) and the line left of it.
    Line topEdge(int row, int column) const;
    Line leftEdge(int row, int column) const;
    int activeRow() const { return m_activeRow; }
    int activeColumn() const { return m_activeColumn; }
    const std::vector<ChartModel>& charts() const { return m_charts; }
    int lastUsedColumn() const { return m_lastColumn; }

    // True when anything was recorded since the last markWritten().
    bool changed() const { return m_changed; }
    bool hasContent() const { return !m_cells.empty() || !m_charts.empty(); }
    void markWritten() { m_changed = false; }

private:
    Cell& cellAt(int row, int column);
    void recordCells(const CellRect& rect);
    static std::uint64_t key(int row, int column)
    {
        return (static_cast<std::uint64_t>(row) << 16) | static_cast<std::uint64_t>(column);
    }

    QString m_name;
    std::map<std::uint64_t, Cell> m_cells;
    std::unordered_map<std::uint64_t, Line> m_horizontal; // line above (row, column)
    std::unordered_map<std::uint64_t, Line> m_vertical;   // line left of (row, column)
    std::vector<ChartModel> m_charts;
    int m_activeRow = 1;
    int m_activeColumn = 1;
    int m_lastColumn = 0;
    bool m_changed = false;
};

// --- Geometry ---------------------------------------------------------------------------
// Column widths in characters of the default font, as the sheet is written. The table
// B:D, the summary F:G and narrow margins A and E; every other column has the default.
double columnWidth(int column);
// Width in pixels at 96 dpi (7 pixels a character plus 5 pixels of padding, the rule the
// writer and spreadsheet programs share); 0 for the hidden chart-data column.
int columnPixels(int column);
constexpr double DefaultRowHeightPoints = 15.0;
constexpr double PointsPerPixel = 0.75;
double columnLeftPoints(int column);
double rowTopPoints(int row);

// The hidden column that mirrors a plotted column's numbers for the chart, so that a
// text reading ("ERROR", "+OL") is a gap in the line and not a zero: column Z, or the
// second column after the last one used when the sheet is wider than that.
int mirrorColumn(const SheetModel& sheet, int plottedIndex);

// --- Markers ------------------------------------------------------------------------------
// A line series draws a reading only as part of a line to its neighbour, so a reading with
// no neighbour (between two gaps, next to a gap at either end, or the only one) would not
// be seen. Such points get a marker; when there are more than MaxMarkedPoints of them the
// readings are sparse, and every point gets one.
constexpr int MaxMarkedPoints = 200;
struct SeriesMarkers {
    bool everyPoint = false;
    std::vector<int> points; // the points standing alone, counted from 0 (when not everyPoint)
};
// `hasNumber`: for each point of the series, whether it holds a number (otherwise a gap).
SeriesMarkers seriesMarkers(const std::vector<bool>& hasNumber);

} // namespace quvo::xlsx
