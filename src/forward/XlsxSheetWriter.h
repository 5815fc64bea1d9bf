#pragma once
// Writes recorded sheets as a complete .xlsx file with libxlsxwriter: cells (numbers as
// numbers, texts always as strings, never formulas), one cell format per combination of
// number format, alignment and the four border lines, the column widths of the layout,
// the active cell, and the line charts.

#include "forward/XlsxModel.h"

#include <QString>

#include <vector>

namespace quvo::xlsx {

// Writes `sheets` in this order into a new file at `path` (which must not exist yet);
// `activeSheet` is the 0-based sheet shown first. Throws RuntimeError when the file
// cannot be written; a partly written file is removed.
void writeWorkbookFile(const QString& path, const std::vector<const SheetModel*>& sheets, int activeSheet);

// A cell text made safe for the file: a literal "_xHHHH_" (which readers decode as an
// escaped character) and characters XML cannot hold are escaped in that same notation.
QString cellTextForFile(const QString& text);
// A chart title made safe: characters XML cannot hold are dropped.
QString plainTextForFile(const QString& text);

} // namespace quvo::xlsx
