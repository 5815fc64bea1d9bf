// The in-memory sheet: references, how values are taken, border edges, geometry, and
// the file-name rules of new workbooks.

#include "forward/ExcelObjects.h"
#include "forward/XlsxFiles.h"
#include "forward/XlsxModel.h"
#include "forward/XlsxSheetWriter.h"
#include "resources/RuntimeError.h"
#include "support/TestHelpers.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace quvo::xlsx {
namespace {

TEST(CellReferences, ColumnsAndRanges)
{
    EXPECT_EQ(columnNumber(QStringLiteral("A")), 1);
    EXPECT_EQ(columnNumber(QStringLiteral("z")), 26);
    EXPECT_EQ(columnNumber(QStringLiteral("AA")), 27);
    EXPECT_EQ(columnNumber(QStringLiteral("XFD")), 16384);
    EXPECT_EQ(columnNumber(QStringLiteral("XFE")), 0);
    EXPECT_EQ(columnNumber(QStringLiteral("B4")), 0);
    EXPECT_EQ(columnNumber(QString()), 0);
    EXPECT_EQ(columnLetters(1), QStringLiteral("A"));
    EXPECT_EQ(columnLetters(26), QStringLiteral("Z"));
    EXPECT_EQ(columnLetters(27), QStringLiteral("AA"));
    EXPECT_EQ(columnLetters(16384), QStringLiteral("XFD"));

    EXPECT_EQ(parseReference(QStringLiteral("B4:D27")), (CellRect{4, 2, 27, 4}));
    EXPECT_EQ(parseReference(QStringLiteral("$D$27:$B$4")), (CellRect{4, 2, 27, 4}));
    EXPECT_EQ(parseReference(QStringLiteral("F8")), (CellRect{8, 6, 8, 6}));
    EXPECT_EQ(referenceText(CellRect{4, 2, 27, 4}), QStringLiteral("B4:D27"));
    EXPECT_EQ(referenceText(CellRect{8, 6, 8, 6}), QStringLiteral("F8"));
    for (const char* bad : {"", "B", "4", "B0", "B04", "B4:", "B4:D27:E3", "B1048577", "1B", "B-4", "\u00c44"})
        EXPECT_FALSE(parseReference(QString::fromUtf8(bad))) << bad;
}

TEST(SheetModelValues, GeneralTakesPlainNumbersTextFormatKeepsTexts)
{
    test::LocaleGuard german("de_DE.UTF-8"); // the decimal point stays "."
    SheetModel sheet(QStringLiteral("Sheet1"));
    const CellRect c5{5, 3, 5, 3};
    struct Case {
        const char* text;
        bool number;
        double value;
    };
    for (const Case& item : {Case{"1.234E-3", true, 1.234e-3}, Case{"-0.5", true, -0.5}, Case{"12", true, 12},
                             Case{" 7 ", true, 7}, Case{"+OL", false, 0}, Case{"ERROR", false, 0},
                             Case{"-2+3", false, 0}, Case{"=1+1", false, 0}, Case{"1,5", false, 0},
                             Case{"0x10", false, 0}, Case{"inf", false, 0}, Case{"1E999", false, 0}}) {
        SCOPED_TRACE(item.text);
        sheet.setNumberFormat(c5, xl::GeneralFormat);
        sheet.setValue(c5, QString::fromLatin1(item.text));
        const Cell* cell = sheet.cell(5, 3);
        ASSERT_NE(cell, nullptr);
        EXPECT_EQ(cell->kind, item.number ? Cell::Kind::Number : Cell::Kind::Text);
        if (item.number)
            EXPECT_DOUBLE_EQ(cell->number, item.value);
        else
            EXPECT_EQ(cell->text, QString::fromLatin1(item.text));
        EXPECT_TRUE(cell->numberFormat.isEmpty());

        sheet.setNumberFormat(c5, xl::TextFormat);
        sheet.setValue(c5, QString::fromLatin1(item.text));
        EXPECT_EQ(sheet.cell(5, 3)->kind, Cell::Kind::Text);
        EXPECT_EQ(sheet.cell(5, 3)->numberFormat, QStringLiteral("@"));
    }
    sheet.setValue(c5, QString());
    EXPECT_EQ(sheet.cell(5, 3)->kind, Cell::Kind::Empty);
    // A format set after the value does not change what the cell holds.
    sheet.setNumberFormat(c5, xl::GeneralFormat);
    sheet.setValue(c5, QStringLiteral("3"));
    sheet.setNumberFormat(c5, xl::TextFormat);
    EXPECT_EQ(sheet.cell(5, 3)->kind, Cell::Kind::Number);
    EXPECT_THROW(sheet.setValue(c5, QString(MaxTextLength + 1, QLatin1Char('x'))), RuntimeError);
}

TEST(SheetModelBorders, LaterSettingsOverrideEarlierOnesEdgeByEdge)
{
    SheetModel sheet(QStringLiteral("Sheet1"));
    const CellRect frame{4, 2, 6, 4}; // B4:D6
    for (const std::int16_t edge : {xl::xlEdgeTop, xl::xlEdgeBottom, xl::xlEdgeLeft, xl::xlEdgeRight})
        sheet.setBorder(frame, edge, Line::Medium);
    sheet.setBorder(CellRect{5, 2, 6, 4}, xl::xlInsideHorizontal, Line::Thin);
    sheet.setBorder(CellRect{5, 2, 6, 4}, xl::xlInsideVertical, Line::Thin);
    sheet.setBorder(CellRect{4, 2, 4, 4}, xl::xlEdgeBottom, Line::Medium);
    EXPECT_EQ(sheet.topEdge(4, 3), Line::Medium);    // frame top
    EXPECT_EQ(sheet.topEdge(5, 3), Line::Medium);    // header bottom
    EXPECT_EQ(sheet.topEdge(6, 3), Line::Thin);      // inside horizontal of the body
    EXPECT_EQ(sheet.topEdge(7, 3), Line::Medium);    // frame bottom
    EXPECT_EQ(sheet.leftEdge(5, 2), Line::Medium);   // frame left
    EXPECT_EQ(sheet.leftEdge(5, 3), Line::Thin);
    EXPECT_EQ(sheet.leftEdge(5, 5), Line::Medium);   // frame right
    EXPECT_EQ(sheet.leftEdge(4, 3), Line::None);     // header inside vertical not set yet
    // An outer edge set later wins over the inside line it shares.
    sheet.setBorder(CellRect{6, 2, 6, 4}, xl::xlEdgeTop, Line::Thick);
    EXPECT_EQ(sheet.topEdge(6, 3), Line::Thick);
    EXPECT_EQ(sheet.topEdge(5, 3), Line::Medium);
    // Cells of a bordered range are part of the sheet; the cells beside it are not.
    EXPECT_NE(sheet.cell(6, 4), nullptr);
    EXPECT_EQ(sheet.cell(6, 5), nullptr);
    EXPECT_EQ(sheet.cell(7, 2), nullptr);
}

TEST(SheetGeometry, PositionsFollowTheColumnWidths)
{
    // 7 pixels a character plus 5 of padding; points are 3/4 of a pixel.
    EXPECT_EQ(columnPixels(1), 26);
    EXPECT_EQ(columnPixels(2), 89);
    EXPECT_EQ(columnPixels(7), 411);
    EXPECT_EQ(columnPixels(8), 64); // default 8.43
    EXPECT_DOUBLE_EQ(columnLeftPoints(1), 0);
    EXPECT_DOUBLE_EQ(columnLeftPoints(6), (26 + 89 + 103 + 61 + 26) * 0.75);
    EXPECT_DOUBLE_EQ(columnLeftPoints(10), (26 + 89 + 103 + 61 + 26 + 47 + 411 + 2 * 64) * 0.75);
    EXPECT_DOUBLE_EQ(rowTopPoints(8), 105);
    SheetModel sheet(QStringLiteral("Sheet1"));
    EXPECT_EQ(mirrorColumn(sheet, 0), 26); // Z
    sheet.setValue(CellRect{1, 30, 1, 30}, QStringLiteral("far"));
    EXPECT_EQ(mirrorColumn(sheet, 0), 32);
}

TEST(WorkbookFiles, NamesOfNewWorkbooks)
{
    EXPECT_EQ(safeFileStem(QStringLiteral("Bench supply")), QStringLiteral("Bench supply"));
    EXPECT_EQ(safeFileStem(QStringLiteral("a/b\\c:d*e?f\"g<h>i|j")), QStringLiteral("a_b_c_d_e_f_g_h_i_j"));
    EXPECT_EQ(safeFileStem(QStringLiteral("  ..hidden. ")), QStringLiteral("hidden"));
    EXPECT_EQ(safeFileStem(QStringLiteral("tab\there")), QStringLiteral("tab_here"));
    EXPECT_EQ(safeFileStem(QString()), QStringLiteral("Quvolink"));
    EXPECT_EQ(safeFileStem(QStringLiteral("..")), QStringLiteral("Quvolink"));
    EXPECT_EQ(safeFileStem(QString(300, QLatin1Char('x'))).size(), 100);

    QTemporaryDir dir;
    const QDateTime when(QDate(2026, 11, 21), QTime(14, 3, 5));
    const QString first = newWorkbookPath(dir.path(), QStringLiteral("Run"), when);
    EXPECT_EQ(QFileInfo(first).fileName(), QStringLiteral("Run 2026-11-21 14-03-05.xlsx"));
    QFile(first).open(QIODevice::WriteOnly);
    const QString second = newWorkbookPath(dir.path(), QStringLiteral("Run"), when);
    EXPECT_EQ(QFileInfo(second).fileName(), QStringLiteral("Run 2026-11-21 14-03-05 (2).xlsx"));
    QFile(second).open(QIODevice::WriteOnly);
    EXPECT_EQ(QFileInfo(newWorkbookPath(dir.path(), QStringLiteral("Run"), when)).fileName(),
              QStringLiteral("Run 2026-11-21 14-03-05 (3).xlsx"));
}

TEST(WorkbookFiles, LockFilesOfOtherPrograms)
{
    QTemporaryDir dir;
    const QString book = QDir(dir.path()).filePath(QStringLiteral("book.xlsx"));
    EXPECT_TRUE(lockFileOf(book).isEmpty());
    QFile(QDir(dir.path()).filePath(QStringLiteral("~$other.xlsx"))).open(QIODevice::WriteOnly);
    EXPECT_TRUE(lockFileOf(book).isEmpty());
    QFile(QDir(dir.path()).filePath(QStringLiteral(".~lock.book.xlsx#"))).open(QIODevice::WriteOnly);
    EXPECT_EQ(QFileInfo(lockFileOf(book)).fileName(), QStringLiteral(".~lock.book.xlsx#"));
}

TEST(WorkbookFiles, CellTextsAreMadeSafeForTheFile)
{
    EXPECT_EQ(cellTextForFile(QStringLiteral("plain <&>")), QStringLiteral("plain <&>"));
    // A literal escape sequence is itself escaped, so readers give back the same text.
    EXPECT_EQ(cellTextForFile(QStringLiteral("_x0041_")), QStringLiteral("_x005F_x0041_"));
    EXPECT_EQ(cellTextForFile(QStringLiteral("a_b_x12_")), QStringLiteral("a_b_x12_"));
    EXPECT_EQ(cellTextForFile(QString(QChar(0)) + QStringLiteral("z")), QStringLiteral("_x0000_z"));
    EXPECT_EQ(cellTextForFile(QString(QChar(0xFFFF))), QStringLiteral("_xFFFF_"));
    EXPECT_EQ(plainTextForFile(QStringLiteral("T\u0001itle\n")), QStringLiteral("Title\n"));
}

TEST(ChartMarkers, ReadingsWithoutANeighbourAreMarked)
{
    // true: a number; false: a gap (a word, an empty SAVE-mode slot).
    EXPECT_TRUE(seriesMarkers({}).points.empty());
    EXPECT_EQ(seriesMarkers({true}).points, std::vector<int>{0}); // the only reading
    EXPECT_TRUE(seriesMarkers({true, true, true}).points.empty());
    // Between two gaps, and next to a gap at either end.
    EXPECT_EQ(seriesMarkers({true, false, true, true, false, true, false, false, true}).points, (std::vector<int>{0, 5, 8}));
    EXPECT_FALSE(seriesMarkers({true, false, true}).everyPoint);
    EXPECT_TRUE(seriesMarkers({false, false}).points.empty());
}

TEST(ChartMarkers, SparseReadingsAreMarkedThroughout)
{
    // A SAVE-mode memory with every other slot empty: each reading stands alone.
    std::vector<bool> everyOther;
    for (int i = 0; i < 2 * MaxMarkedPoints; ++i)
        everyOther.push_back(i % 2 == 0);
    const SeriesMarkers atLimit = seriesMarkers(everyOther);
    EXPECT_FALSE(atLimit.everyPoint);
    EXPECT_EQ(atLimit.points.size(), static_cast<std::size_t>(MaxMarkedPoints));
    everyOther.push_back(false);
    everyOther.push_back(true);
    const SeriesMarkers beyond = seriesMarkers(everyOther);
    EXPECT_TRUE(beyond.everyPoint);
    EXPECT_TRUE(beyond.points.empty());
}

TEST(SheetModelBorders, AnEdgeOfALargeRangeRecordsOnlyTheCellsBesideIt)
{
    SheetModel sheet(QStringLiteral("Sheet1"));
    const CellRect range{5, 2, 1004, 4};
    sheet.setBorder(range, xl::xlEdgeTop, Line::Medium);
    sheet.setBorder(range, xl::xlEdgeLeft, Line::Medium);
    EXPECT_EQ(sheet.cells().size(), 3u + 1000u - 1u); // the top row and the left column
    EXPECT_EQ(sheet.topEdge(5, 3), Line::Medium);
    EXPECT_EQ(sheet.leftEdge(600, 2), Line::Medium);
    EXPECT_EQ(sheet.topEdge(6, 3), Line::None);
    sheet.setBorder(range, xl::xlInsideHorizontal, Line::Thin);
    EXPECT_EQ(sheet.cells().size(), 3000u);
}

} // namespace
} // namespace quvo::xlsx
