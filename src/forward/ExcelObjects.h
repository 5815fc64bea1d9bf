#pragma once
// The objects of a spreadsheet application's automation interface, cut down to the
// members that forwarding uses and named after them (Workbooks, Item, Cells, Range,
// Borders(...).Weight, ChartWizard, ...). Forwarding is written against these classes
// only, so the backend behind them can be exchanged: the .xlsx file writer of this folder
// (XlsxBackend.h), an automation bridge on a platform that has one, or a fake in tests.
//
// Every call can fail the way an automation call fails: it throws RuntimeError with a
// description a user can read, and the caller keeps that description in LastError.
//
// Objects are handed out as shared pointers; holding one keeps what it needs alive, and
// letting go of it is "releasing" the object. Collections count from 1. Positions and
// sizes are in points (1/72 inch).

#include <QString>

#include <cstdint>
#include <memory>

namespace quvo {

// The constants forwarding passes, with their automation values.
namespace xl {
// Border index of Range.Borders(index).
constexpr std::int16_t xlEdgeLeft = 7;
constexpr std::int16_t xlEdgeTop = 8;
constexpr std::int16_t xlEdgeBottom = 9;
constexpr std::int16_t xlEdgeRight = 10;
constexpr std::int16_t xlInsideVertical = 11;
constexpr std::int16_t xlInsideHorizontal = 12;
// Border weights.
constexpr std::int16_t xlHairline = 1;
constexpr std::int16_t xlThin = 2;
constexpr std::int16_t xlMedium = -4138;
constexpr std::int16_t xlThick = 4;
// Horizontal alignment.
constexpr std::int16_t xlGeneralAlignment = 1;
constexpr std::int16_t xlLeft = -4131;
constexpr std::int16_t xlCenter = -4108;
constexpr std::int16_t xlRight = -4152;
// ChartWizard: gallery and the direction of the series.
constexpr std::int16_t xlLine = 4;
constexpr std::int16_t xlRows = 1;
constexpr std::int16_t xlColumns = 2;
// Chart.Axes(index).
constexpr std::int16_t xlCategory = 1;
constexpr std::int16_t xlValue = 2;
// Interior.Color of a colour: red in the lowest byte, then green, then blue.
constexpr std::int32_t rgb(int red, int green, int blue)
{
    return red + green * 256 + blue * 65536;
}
// Range.NumberFormat texts.
inline const QString TextFormat = QStringLiteral("@");
inline const QString GeneralFormat = QStringLiteral("General");
} // namespace xl

class ExcelApplication;
class ExcelWorkbooks;
class ExcelWorkbook;
class ExcelWorksheets;
class ExcelWorksheet;
class ExcelRange;
class ExcelBorder;
class ExcelInterior;
class ExcelChartObjects;
class ExcelChartObject;
class ExcelChart;
class ExcelAxis;

// How an application is reached: attach to one that runs, or start a new one.
class ExcelConnector {
public:
    virtual ~ExcelConnector() = default;
    // The running application; throws when there is none to attach to.
    virtual std::shared_ptr<ExcelApplication> GetObject() = 0;
    // A newly started application, not visible yet; throws when it cannot be started.
    virtual std::shared_ptr<ExcelApplication> CreateObject() = 0;
};

class ExcelApplication {
public:
    virtual ~ExcelApplication() = default;
    virtual bool Visible() const = 0;
    virtual void setVisible(bool visible) = 0;
    virtual void setInteractive(bool interactive) = 0;
    virtual std::shared_ptr<ExcelWorkbooks> Workbooks() = 0;
};

class ExcelWorkbooks {
public:
    virtual ~ExcelWorkbooks() = default;
    virtual int Count() const = 0;
    virtual std::shared_ptr<ExcelWorkbook> Item(int index) = 0; // 1-based
    virtual std::shared_ptr<ExcelWorkbook> Open(const QString& path) = 0;
    virtual std::shared_ptr<ExcelWorkbook> Add() = 0;
};

class ExcelWorkbook {
public:
    virtual ~ExcelWorkbook() = default;
    virtual QString FullName() const = 0;
    virtual std::shared_ptr<ExcelWorksheets> Worksheets() = 0;
    // Closes the workbook; with saveChanges false whatever was done to it since it was
    // opened or added is dropped (a workbook added and closed so leaves nothing behind).
    virtual void Close(bool saveChanges) = 0;
};

class ExcelWorksheets {
public:
    virtual ~ExcelWorksheets() = default;
    virtual int Count() const = 0;
    virtual std::shared_ptr<ExcelWorksheet> Item(int index) = 0; // 1-based
    // A new sheet, placed before the active sheet, which it then becomes.
    virtual std::shared_ptr<ExcelWorksheet> Add() = 0;
};

class ExcelWorksheet {
public:
    virtual ~ExcelWorksheet() = default;
    // Moves this sheet behind `after`, a sheet of the same workbook.
    virtual void Move(const std::shared_ptr<ExcelWorksheet>& after) = 0;
    // Removes this sheet from its workbook (never the workbook's only sheet).
    virtual void Delete() = 0;
    // The workbook the sheet belongs to.
    virtual std::shared_ptr<ExcelWorkbook> Parent() = 0;
    // One cell: Cells(4, "B") is B4.
    virtual std::shared_ptr<ExcelRange> Cells(int row, const QString& columnLetter) = 0;
    // A cell or a rectangle in A1 notation: "F8", "B4:D27".
    virtual std::shared_ptr<ExcelRange> Range(const QString& reference) = 0;
    virtual std::shared_ptr<ExcelChartObjects> ChartObjects() = 0;
};

class ExcelRange {
public:
    virtual ~ExcelRange() = default;
    virtual void setNumberFormat(const QString& format) = 0;
    // The default member: a text, taken as a number where the cell's format and the
    // text allow it, otherwise kept as text. Never a formula.
    virtual void setValue(const QString& value) = 0;
    virtual std::shared_ptr<ExcelBorder> Borders(std::int16_t index) = 0;
    // The cells' background.
    virtual std::shared_ptr<ExcelInterior> Interior() = 0;
    virtual void setHorizontalAlignment(std::int16_t alignment) = 0;
    virtual void Activate() = 0;
    // Distance of the range's top-left corner from the sheet's top-left corner, in points.
    virtual double Left() const = 0;
    virtual double Top() const = 0;
};

class ExcelBorder {
public:
    virtual ~ExcelBorder() = default;
    virtual void setWeight(std::int16_t weight) = 0;
};

class ExcelInterior {
public:
    virtual ~ExcelInterior() = default;
    // A solid fill of the colour, as the automation interface gives colours: red + green
    // * 256 + blue * 65536 (xl::rgb).
    virtual void setColor(std::int32_t color) = 0;
};

class ExcelChartObjects {
public:
    virtual ~ExcelChartObjects() = default;
    virtual std::shared_ptr<ExcelChartObject> Add(double left, double top, double width, double height) = 0;
};

class ExcelChartObject {
public:
    virtual ~ExcelChartObject() = default;
    virtual std::shared_ptr<ExcelChart> Chart() = 0;
};

// The arguments of Chart.ChartWizard, which the automation interface passes by name.
struct ChartWizardArguments {
    std::shared_ptr<ExcelRange> Source;
    std::int16_t Gallery = xl::xlLine;
    std::int16_t Format = 0;
    std::int16_t PlotBy = xl::xlColumns;
    std::int16_t CategoryLabels = 1; // leading columns (rows) that give the category labels
    std::int16_t SeriesLabels = 0;   // leading rows (columns) that give the series names
    bool HasLegend = true;
    QString Title;
};

class ExcelChart {
public:
    virtual ~ExcelChart() = default;
    virtual void ChartWizard(const ChartWizardArguments& arguments) = 0;
    virtual std::shared_ptr<ExcelAxis> Axes(std::int16_t index) = 0;
};

class ExcelAxis {
public:
    virtual ~ExcelAxis() = default;
    virtual void setHasMajorGridlines(bool on) = 0;
};

} // namespace quvo
