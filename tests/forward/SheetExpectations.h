#pragma once
// What a forwarded sheet must look like to an independent reader, derived from the
// layout rules (formats, frame, summary, chart), not from what the writer produced.

#include "WorkbookTestSupport.h"

#include <QJsonObject>

namespace quvo::test {

// Checks one sheet of describeWorkbook()'s result against `content`.
void expectForwardedSheet(const QJsonObject& sheet, const SheetContent& content);

// The sheet of that name in a describeWorkbook() result (empty when missing).
QJsonObject sheetNamed(const QJsonObject& workbook, const QString& name);
QStringList sheetNames(const QJsonObject& workbook);

} // namespace quvo::test
