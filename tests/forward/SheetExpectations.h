#pragma once
// What a forwarded sheet must look like to an independent reader, derived from the
// layout rules (formats, frame, summary, chart), not from what the writer produced.

#include "WorkbookTestSupport.h"

#include <QJsonObject>

namespace quvo {
class DataDocument;
}

namespace quvo::test {

// What forwarding `doc` with `title` must put on the sheet, by the layout rules: the
// heading row and the rows from the grid (the row number in B for a SAVE-mode document),
// the statistics texts.
SheetContent contentOf(DataDocument& doc, const QString& title);

// Checks one sheet of describeWorkbook()'s result against `content`.
void expectForwardedSheet(const QJsonObject& sheet, const SheetContent& content);

// The sheet of that name in a describeWorkbook() result (empty when missing).
QJsonObject sheetNamed(const QJsonObject& workbook, const QString& name);
QStringList sheetNames(const QJsonObject& workbook);

} // namespace quvo::test
