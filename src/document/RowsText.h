#pragma once
// Rows of a document's table as text for the clipboard: the heading row (No., TIME, DATA,
// MODE) and one line per row, the fields separated by tabs and every line ended by a line
// feed, which every spreadsheet takes as rows and columns when it is pasted.

#include <QList>
#include <QString>

namespace quvo {

class DataDocument;

// The grid rows (1-based, in any order, repeats allowed) in ascending order after the
// heading row. Rows outside the grid are left out. A tab or line break inside a text (a
// data file may carry any text) becomes a blank, so that it cannot split a row.
QString rowsAsText(const DataDocument& document, QList<int> gridRows);

} // namespace quvo
