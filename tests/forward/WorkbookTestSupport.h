#pragma once
// Helpers of the workbook tests: a driver that fills a sheet through the workbook
// interface in the order forwarding does (table, frame, summary, chart), and the bridge
// to the independent reader (check_workbook.py, run with the system's Python and
// openpyxl).

#include "forward/ExcelObjects.h"
#include "support/TestHelpers.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <vector>

namespace quvo::test {

struct TableRow {
    QString b, c, d;
};

// What one forwarded sheet holds: title, header row, data rows, the statistics texts.
struct SheetContent {
    QString title;
    QString header[3] = {QStringLiteral("TIME"), QStringLiteral("DATA"), QStringLiteral("MODE")};
    std::vector<TableRow> rows;
    bool saveMode = false; // column B holds row numbers, "General" on the data rows
    QString stats[3] = {QStringLiteral("No.[ 2 ]   TIME[ 10:15:31 ]   DATA[ 2.5 ]   MODE[ VDC ]"),
                        QStringLiteral("No.[ 1 ]   TIME[ 10:15:30 ]   DATA[ -0.5 ]   MODE[ VDC ]"),
                        QStringLiteral("1.0000")};
};

// Whole-document order: every row with its number formats, then frame and summary, then
// the chart.
void writeWholeDocument(ExcelWorksheet& sheet, const SheetContent& content);
// Realtime order: the header with the first row, the active cell following each new row;
// frame, summary and chart at the end (only when a row arrived).
void appendRealtimeRow(ExcelWorksheet& sheet, const SheetContent& content, int rowCount);
void writeTableFrame(ExcelWorksheet& sheet, const SheetContent& content, int rowCount);
void addDataChart(ExcelWorksheet& sheet, const QString& title, int rowCount);

// The reader's verdict on a workbook (see check_workbook.py); fails the running test
// and returns an empty object when the reader fails.
QJsonObject describeWorkbook(const QString& path);
// The tab the workbook opens on ("active_tab") and each sheet's name and "tab_selected",
// read without the cells (fast for large sheets).
QJsonObject workbookViews(const QString& path);
// Every zip entry of the file with the SHA-256 of its unpacked content.
QJsonObject workbookEntries(const QString& path);
// Writes a workbook with the reader's own library or a damaged one ("openpyxl",
// "strict", "doctype", "slip", "huge", "encrypted", "notworkbook", "docx").
void makeWorkbook(const QString& kind, const QString& path);

// LibreOffice Calc, headless, opens the workbook and saves it again as .xlsx into
// `folder` (with a user profile of its own there): what it read, in a form the reader
// above reads. Returns the new file's path; fails the running test and returns an empty
// text when LibreOffice is missing or fails.
QString resaveWithLibreOffice(const QString& path, const QString& folder);

// Writes a workbook with openpyxl whose sheets have these names (each name in its A1).
void makeWorkbookWithSheets(const QString& path, const QStringList& names);

// Makes a folder take no new files for the object's lifetime: by permissions for ordinary
// users; root passes permission checks, so there the folder is made immutable when the
// file system allows it. done() is false when neither works.
class ReadOnlyFolder {
public:
    explicit ReadOnlyFolder(const QString& folder);
    ~ReadOnlyFolder();
    ReadOnlyFolder(const ReadOnlyFolder&) = delete;
    ReadOnlyFolder& operator=(const ReadOnlyFolder&) = delete;
    bool done() const { return m_done; }

private:
    QString m_folder;
    bool m_done = false;
    bool m_byPermissions = false;
};

// Rows of a realtime recording with words among the readings.
std::vector<TableRow> realtimeRows(int count);

} // namespace quvo::test
