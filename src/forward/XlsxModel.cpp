#include "forward/XlsxModel.h"

#include "forward/ExcelObjects.h"
#include "resources/RuntimeError.h"
#include "resources/TextNumber.h"

#include <QStringList>

#include <algorithm>
#include <cmath>

namespace quvo::xlsx {

int columnNumber(const QString& letters)
{
    if (letters.isEmpty() || letters.size() > 3)
        return 0;
    int column = 0;
    for (const QChar c : letters) {
        const QChar upper = c.toUpper();
        if (upper < QLatin1Char('A') || upper > QLatin1Char('Z'))
            return 0;
        column = column * 26 + (upper.unicode() - 'A' + 1);
    }
    return column <= MaxColumns ? column : 0;
}

QString columnLetters(int column)
{
    QString letters;
    while (column > 0) {
        const int digit = (column - 1) % 26;
        letters.prepend(QChar('A' + digit));
        column = (column - 1) / 26;
    }
    return letters;
}

namespace {

// One corner: optional "$", letters, optional "$", digits.
bool parseCorner(const QString& text, int& row, int& column)
{
    int i = 0;
    const int n = static_cast<int>(text.size());
    if (i < n && text[i] == QLatin1Char('$'))
        ++i;
    const int lettersStart = i;
    while (i < n && text[i].isLetter() && text[i].unicode() < 128)
        ++i;
    column = columnNumber(text.mid(lettersStart, i - lettersStart));
    if (i < n && text[i] == QLatin1Char('$'))
        ++i;
    const QString digits = text.mid(i);
    if (column == 0 || digits.isEmpty() || digits.size() > 7 || digits[0] == QLatin1Char('0'))
        return false;
    for (const QChar c : digits) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return false;
    }
    row = digits.toInt();
    return row >= 1 && row <= MaxRows;
}

} // namespace

std::optional<CellRect> parseReference(const QString& text)
{
    const QStringList corners = text.trimmed().split(QLatin1Char(':'));
    if (corners.isEmpty() || corners.size() > 2)
        return std::nullopt;
    int r1 = 0, c1 = 0;
    if (!parseCorner(corners[0], r1, c1))
        return std::nullopt;
    int r2 = r1, c2 = c1;
    if (corners.size() == 2 && !parseCorner(corners[1], r2, c2))
        return std::nullopt;
    return CellRect{std::min(r1, r2), std::min(c1, c2), std::max(r1, r2), std::max(c1, c2)};
}

QString referenceText(const CellRect& rect)
{
    const QString first = columnLetters(rect.firstColumn) + QString::number(rect.firstRow);
    if (rect.firstRow == rect.lastRow && rect.firstColumn == rect.lastColumn)
        return first;
    return first + QLatin1Char(':') + columnLetters(rect.lastColumn) + QString::number(rect.lastRow);
}

// --- SheetModel --------------------------------------------------------------------------

Cell& SheetModel::cellAt(int row, int column)
{
    m_lastColumn = std::max(m_lastColumn, column);
    return m_cells[key(row, column)];
}

const Cell* SheetModel::cell(int row, int column) const
{
    const auto it = m_cells.find(key(row, column));
    return it == m_cells.end() ? nullptr : &it->second;
}

void SheetModel::setNumberFormat(const CellRect& rect, const QString& format)
{
    // "General" is the default and kept as "no format" (its text is matched in any case).
    const QString kept = format.compare(xl::GeneralFormat, Qt::CaseInsensitive) == 0 ? QString() : format;
    for (int r = rect.firstRow; r <= rect.lastRow; ++r) {
        for (int c = rect.firstColumn; c <= rect.lastColumn; ++c)
            cellAt(r, c).numberFormat = kept;
    }
    m_changed = true;
}

void SheetModel::setValue(const CellRect& rect, const QString& value)
{
    if (value.size() > MaxTextLength)
        throw RuntimeError(QStringLiteral("A cell holds at most %1 characters; the text has %2.")
                               .arg(MaxTextLength)
                               .arg(value.size()));
    double number = 0;
    const bool isNumber = parseNumber(value, number);
    for (int r = rect.firstRow; r <= rect.lastRow; ++r) {
        for (int c = rect.firstColumn; c <= rect.lastColumn; ++c) {
            Cell& cell = cellAt(r, c);
            if (value.isEmpty()) {
                cell.kind = Cell::Kind::Empty;
                cell.text.clear();
            } else if (isNumber && cell.numberFormat != xl::TextFormat) {
                cell.kind = Cell::Kind::Number;
                cell.number = number;
                cell.text.clear();
            } else {
                cell.kind = Cell::Kind::Text;
                cell.text = value;
            }
        }
    }
    m_changed = true;
}

void SheetModel::setBorder(const CellRect& rect, std::int16_t index, Line line)
{
    // Each line is kept in the grid of edges, and the cells of the range beside it are
    // recorded, since they carry the line when the sheet is written: the rim of the range
    // for an edge, every cell of it for the inside lines.
    const auto horizontal = [&](int row, int column) { m_horizontal[key(row, column)] = line; };
    const auto vertical = [&](int row, int column) { m_vertical[key(row, column)] = line; };
    switch (index) {
    case xl::xlEdgeTop:
    case xl::xlEdgeBottom: {
        const int row = index == xl::xlEdgeTop ? rect.firstRow : rect.lastRow;
        for (int c = rect.firstColumn; c <= rect.lastColumn; ++c)
            horizontal(index == xl::xlEdgeTop ? row : row + 1, c);
        recordCells({row, rect.firstColumn, row, rect.lastColumn});
        break;
    }
    case xl::xlEdgeLeft:
    case xl::xlEdgeRight: {
        const int column = index == xl::xlEdgeLeft ? rect.firstColumn : rect.lastColumn;
        for (int r = rect.firstRow; r <= rect.lastRow; ++r)
            vertical(r, index == xl::xlEdgeLeft ? column : column + 1);
        recordCells({rect.firstRow, column, rect.lastRow, column});
        break;
    }
    case xl::xlInsideHorizontal:
        for (int r = rect.firstRow + 1; r <= rect.lastRow; ++r) {
            for (int c = rect.firstColumn; c <= rect.lastColumn; ++c)
                horizontal(r, c);
        }
        recordCells(rect);
        break;
    case xl::xlInsideVertical:
        for (int r = rect.firstRow; r <= rect.lastRow; ++r) {
            for (int c = rect.firstColumn + 1; c <= rect.lastColumn; ++c)
                vertical(r, c);
        }
        recordCells(rect);
        break;
    default:
        break;
    }
    m_changed = true;
}

void SheetModel::recordCells(const CellRect& rect)
{
    if (rect.lastRow == rect.firstRow && rect.lastColumn == rect.firstColumn) {
        cellAt(rect.firstRow, rect.firstColumn);
        return;
    }
    // Row by row, each cell found from the one before: a table's cells follow each other.
    auto next = m_cells.lower_bound(key(rect.firstRow, rect.firstColumn));
    for (int r = rect.firstRow; r <= rect.lastRow; ++r) {
        for (int c = rect.firstColumn; c <= rect.lastColumn; ++c)
            next = std::next(m_cells.try_emplace(next, key(r, c)));
    }
    m_lastColumn = std::max(m_lastColumn, rect.lastColumn);
}

void SheetModel::setAlignment(const CellRect& rect, std::int16_t alignment)
{
    for (int r = rect.firstRow; r <= rect.lastRow; ++r) {
        for (int c = rect.firstColumn; c <= rect.lastColumn; ++c)
            cellAt(r, c).alignment = alignment;
    }
    m_changed = true;
}

void SheetModel::setFill(const CellRect& rect, std::uint32_t rgb)
{
    for (int r = rect.firstRow; r <= rect.lastRow; ++r) {
        for (int c = rect.firstColumn; c <= rect.lastColumn; ++c)
            cellAt(r, c).fill = rgb;
    }
    m_changed = true;
}

ChartModel& SheetModel::addChart(double left, double top, double width, double height)
{
    ChartModel chart;
    chart.left = left;
    chart.top = top;
    chart.width = width;
    chart.height = height;
    m_charts.push_back(chart);
    m_changed = true;
    return m_charts.back();
}

Line SheetModel::topEdge(int row, int column) const
{
    const auto it = m_horizontal.find(key(row, column));
    return it == m_horizontal.end() ? Line::None : it->second;
}

Line SheetModel::leftEdge(int row, int column) const
{
    const auto it = m_vertical.find(key(row, column));
    return it == m_vertical.end() ? Line::None : it->second;
}

// --- Geometry ------------------------------------------------------------------------------

namespace {
constexpr double DefaultColumnWidth = 8.43;
constexpr int PixelsPerCharacter = 7;
constexpr int ColumnPadding = 5;
} // namespace

double columnWidth(int column)
{
    switch (column) {
    case 1: return 3;   // A: margin before the table
    case 2: return 12;  // B: times ("10:15:30") or row numbers
    case 3: return 14;  // C: readings ("-1.2345E-3", "+OL")
    case 4: return 8;   // D: unit words ("VDC", "OHM")
    case 5: return 3;   // E: gap between table and summary
    case 6: return 6;   // F: "MAX", "MIN", "AVG"
    case 7: return 58;  // G: "No.[ 12 ]   TIME[ 10:15:30 ]   DATA[ 1.234 ]   MODE[ VDC ]"
    default: return DefaultColumnWidth;
    }
}

int columnPixels(int column)
{
    const double width = columnWidth(column);
    return static_cast<int>(width * PixelsPerCharacter + 0.5) + ColumnPadding;
}

double columnLeftPoints(int column)
{
    // Columns past G all have the default width.
    int pixels = 0;
    const int explicitColumns = std::min(column - 1, 7);
    for (int c = 1; c <= explicitColumns; ++c)
        pixels += columnPixels(c);
    if (column - 1 > 7)
        pixels += (column - 1 - 7) * columnPixels(8);
    return pixels * PointsPerPixel;
}

double rowTopPoints(int row)
{
    return (row - 1) * DefaultRowHeightPoints;
}

int mirrorColumn(const SheetModel& sheet, int plottedIndex)
{
    constexpr int Z = 26;
    return std::max(Z, sheet.lastUsedColumn() + 2) + plottedIndex;
}

SeriesMarkers seriesMarkers(const std::vector<bool>& hasNumber)
{
    SeriesMarkers markers;
    const int count = static_cast<int>(hasNumber.size());
    for (int i = 0; i < count; ++i) {
        const bool before = i > 0 && hasNumber[static_cast<std::size_t>(i - 1)];
        const bool after = i + 1 < count && hasNumber[static_cast<std::size_t>(i + 1)];
        if (hasNumber[static_cast<std::size_t>(i)] && !before && !after)
            markers.points.push_back(i);
    }
    if (static_cast<int>(markers.points.size()) > MaxMarkedPoints) {
        markers.everyPoint = true;
        markers.points.clear();
    }
    return markers;
}

} // namespace quvo::xlsx
