#include "forward/XlsxBackend.h"

#include "forward/XlsxFiles.h"
#include "forward/XlsxModel.h"
#include "forward/XlsxPackage.h"
#include "forward/XlsxSheetWriter.h"
#include "resources/RuntimeError.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <cmath>
#include <optional>
#include <thread>
#include <vector>

namespace quvo {

using xlsx::SheetModel;

struct XlsxConnector::Shared {
    XlsxSettings settings;
    QStringList written;
};

namespace {

// --- State behind the objects ------------------------------------------------------------

struct WorkbookState;
class ApplicationImpl;

struct SheetState {
    std::shared_ptr<SheetModel> model; // the sheet's content; for a sheet of the file only its name
    bool inFile = false;               // the sheet was already in the opened file
    bool grafted = false;              // added to the file by an earlier hand-back
    std::weak_ptr<WorkbookState> workbook;
};

struct WorkbookState {
    bool isNew = true;
    QString fullName;                  // "Book1" until a new workbook is written; the file of an opened one
    QString writtenPath;               // where a new workbook was written
    std::vector<std::shared_ptr<SheetState>> sheets;
    std::size_t active = 0;
    std::weak_ptr<ApplicationImpl> application;

    QStringList sheetNames() const
    {
        QStringList names;
        for (const auto& sheet : sheets)
            names.append(sheet->model->name());
        return names;
    }
    bool hasNewContent() const
    {
        return std::any_of(sheets.begin(), sheets.end(), [&](const auto& sheet) {
            return !sheet->inFile && sheet->model->changed() && sheet->model->hasContent();
        });
    }
};

RuntimeError outOfRange(const QString& what, int index, int count)
{
    return RuntimeError(QStringLiteral("%1(%2) does not exist; there are %3.").arg(what).arg(index).arg(count));
}

// --- Cells, borders, charts --------------------------------------------------------------

class BorderImpl : public ExcelBorder {
public:
    BorderImpl(std::shared_ptr<SheetModel> sheet, xlsx::CellRect rect, std::int16_t index)
        : m_sheet(std::move(sheet)), m_rect(rect), m_index(index)
    {
    }

    void setWeight(std::int16_t weight) override
    {
        xlsx::Line line = xlsx::Line::None;
        switch (weight) {
        case xl::xlHairline: line = xlsx::Line::Hairline; break;
        case xl::xlThin: line = xlsx::Line::Thin; break;
        case xl::xlMedium: line = xlsx::Line::Medium; break;
        case xl::xlThick: line = xlsx::Line::Thick; break;
        default:
            throw RuntimeError(QStringLiteral("%1 is not a border weight (hairline 1, thin 2, medium -4138, thick 4).")
                                   .arg(weight));
        }
        m_sheet->setBorder(m_rect, m_index, line);
    }

private:
    std::shared_ptr<SheetModel> m_sheet;
    xlsx::CellRect m_rect;
    std::int16_t m_index;
};

class InteriorImpl : public ExcelInterior {
public:
    InteriorImpl(std::shared_ptr<SheetModel> sheet, xlsx::CellRect rect) : m_sheet(std::move(sheet)), m_rect(rect) {}

    void setColor(std::int32_t color) override
    {
        if (color < 0 || color > 0xFFFFFF)
            throw RuntimeError(QStringLiteral("%1 is not a colour (red + green * 256 + blue * 65536).").arg(color));
        const auto c = static_cast<std::uint32_t>(color);
        // The automation order (blue highest) turned into the file's 0xRRGGBB.
        m_sheet->setFill(m_rect, ((c & 0xFF) << 16) | (c & 0xFF00) | ((c >> 16) & 0xFF));
    }

private:
    std::shared_ptr<SheetModel> m_sheet;
    xlsx::CellRect m_rect;
};

class RangeImpl : public ExcelRange {
public:
    RangeImpl(std::shared_ptr<SheetModel> sheet, xlsx::CellRect rect) : m_sheet(std::move(sheet)), m_rect(rect) {}

    const SheetModel* sheet() const { return m_sheet.get(); }
    const xlsx::CellRect& rect() const { return m_rect; }

    void setNumberFormat(const QString& format) override
    {
        checkSize();
        m_sheet->setNumberFormat(m_rect, format.isEmpty() ? xl::GeneralFormat : format);
    }
    void setValue(const QString& value) override
    {
        checkSize();
        m_sheet->setValue(m_rect, value);
    }
    std::shared_ptr<ExcelBorder> Borders(std::int16_t index) override
    {
        if (index < xl::xlEdgeLeft || index > xl::xlInsideHorizontal)
            throw RuntimeError(QStringLiteral("Borders(%1) does not exist; the border indexes are 7 to 12.").arg(index));
        return std::make_shared<BorderImpl>(m_sheet, m_rect, index);
    }
    std::shared_ptr<ExcelInterior> Interior() override
    {
        checkSize();
        return std::make_shared<InteriorImpl>(m_sheet, m_rect);
    }
    void setHorizontalAlignment(std::int16_t alignment) override
    {
        if (alignment != xl::xlGeneralAlignment && alignment != xl::xlLeft && alignment != xl::xlCenter
            && alignment != xl::xlRight)
            throw RuntimeError(QStringLiteral("%1 is not a horizontal alignment this workbook writer knows.").arg(alignment));
        checkSize();
        m_sheet->setAlignment(m_rect, alignment);
    }
    void Activate() override { m_sheet->setActiveCell(m_rect.firstRow, m_rect.firstColumn); }
    double Left() const override { return xlsx::columnLeftPoints(m_rect.firstColumn); }
    double Top() const override { return xlsx::rowTopPoints(m_rect.firstRow); }

private:
    // Ranges are recorded cell by cell; a whole-sheet range would not fit in memory.
    void checkSize() const
    {
        const qint64 cells = qint64(m_rect.lastRow - m_rect.firstRow + 1) * (m_rect.lastColumn - m_rect.firstColumn + 1);
        if (cells > 4'000'000)
            throw RuntimeError(QStringLiteral("The range %1 is too large to be formatted.").arg(xlsx::referenceText(m_rect)));
    }

    std::shared_ptr<SheetModel> m_sheet;
    xlsx::CellRect m_rect;
};

class AxisImpl : public ExcelAxis {
public:
    AxisImpl(std::shared_ptr<SheetModel> sheet, std::size_t chart, std::int16_t index)
        : m_sheet(std::move(sheet)), m_chart(chart), m_index(index)
    {
    }
    void setHasMajorGridlines(bool on) override
    {
        xlsx::ChartModel& chart = m_sheet->chart(m_chart);
        (m_index == xl::xlCategory ? chart.categoryGridlines : chart.valueGridlines) = on;
        m_sheet->touch();
    }

private:
    std::shared_ptr<SheetModel> m_sheet;
    std::size_t m_chart;
    std::int16_t m_index;
};

class ChartImpl : public ExcelChart {
public:
    ChartImpl(std::shared_ptr<SheetModel> sheet, std::size_t chart) : m_sheet(std::move(sheet)), m_chart(chart) {}

    void ChartWizard(const ChartWizardArguments& arguments) override
    {
        const auto* source = dynamic_cast<const RangeImpl*>(arguments.Source.get());
        if (!source || source->sheet() != m_sheet.get())
            throw RuntimeError(QStringLiteral("The chart's source must be a range of the chart's own sheet."));
        if (arguments.Gallery != xl::xlLine)
            throw RuntimeError(QStringLiteral("Only line charts (gallery 4) can be written; gallery %1 was asked for.")
                                   .arg(arguments.Gallery));
        if (arguments.PlotBy != xl::xlColumns)
            throw RuntimeError(QStringLiteral("Chart series can only be taken from columns (PlotBy 2)."));
        if (arguments.CategoryLabels < 0 || arguments.CategoryLabels > 1 || arguments.SeriesLabels < 0
            || arguments.SeriesLabels > 1)
            throw RuntimeError(QStringLiteral("At most one column of category labels and one row of series names "
                                              "can be used."));
        xlsx::ChartModel& chart = m_sheet->chart(m_chart);
        chart.hasSource = true;
        chart.source = source->rect();
        chart.gallery = arguments.Gallery;
        chart.format = arguments.Format;
        chart.plotBy = arguments.PlotBy;
        chart.categoryLabels = arguments.CategoryLabels;
        chart.seriesLabels = arguments.SeriesLabels;
        chart.hasLegend = arguments.HasLegend;
        chart.title = arguments.Title;
        m_sheet->touch();
    }

    std::shared_ptr<ExcelAxis> Axes(std::int16_t index) override
    {
        if (index != xl::xlCategory && index != xl::xlValue)
            throw RuntimeError(QStringLiteral("Axes(%1) does not exist; a line chart has axes 1 (category) and 2 (value).")
                                   .arg(index));
        return std::make_shared<AxisImpl>(m_sheet, m_chart, index);
    }

private:
    std::shared_ptr<SheetModel> m_sheet;
    std::size_t m_chart;
};

class ChartObjectImpl : public ExcelChartObject {
public:
    ChartObjectImpl(std::shared_ptr<SheetModel> sheet, std::size_t chart) : m_sheet(std::move(sheet)), m_chart(chart) {}
    std::shared_ptr<ExcelChart> Chart() override { return std::make_shared<ChartImpl>(m_sheet, m_chart); }

private:
    std::shared_ptr<SheetModel> m_sheet;
    std::size_t m_chart;
};

class ChartObjectsImpl : public ExcelChartObjects {
public:
    explicit ChartObjectsImpl(std::shared_ptr<SheetModel> sheet) : m_sheet(std::move(sheet)) {}
    std::shared_ptr<ExcelChartObject> Add(double left, double top, double width, double height) override
    {
        const auto valid = [](double v) { return std::isfinite(v) && v >= 0 && v <= 169'000; };
        if (!valid(left) || !valid(top) || !valid(width) || !valid(height) || width == 0 || height == 0)
            throw RuntimeError(QStringLiteral("A chart cannot be placed at %1, %2 with the size %3 x %4 points.")
                                   .arg(left)
                                   .arg(top)
                                   .arg(width)
                                   .arg(height));
        m_sheet->addChart(left, top, width, height);
        return std::make_shared<ChartObjectImpl>(m_sheet, m_sheet->charts().size() - 1);
    }

private:
    std::shared_ptr<SheetModel> m_sheet;
};

// --- Sheets and workbooks ------------------------------------------------------------------

class WorksheetImpl : public ExcelWorksheet {
public:
    explicit WorksheetImpl(std::shared_ptr<SheetState> state) : m_state(std::move(state)) {}

    const std::shared_ptr<SheetState>& state() const { return m_state; }

    void Move(const std::shared_ptr<ExcelWorksheet>& after) override
    {
        const auto* target = dynamic_cast<const WorksheetImpl*>(after.get());
        const auto workbook = m_state->workbook.lock();
        if (!target || !workbook || target->state()->workbook.lock() != workbook)
            throw RuntimeError(QStringLiteral("A sheet can only be moved behind a sheet of its own workbook."));
        if (target->state() == m_state)
            return;
        if (m_state->inFile || m_state->grafted)
            throw RuntimeError(QStringLiteral("The sheet \"%1\" is part of the workbook file and keeps its place; only "
                                              "new sheets can be moved.")
                                   .arg(m_state->model->name()));
        auto& sheets = workbook->sheets;
        const auto activeSheet = sheets[workbook->active];
        sheets.erase(std::find(sheets.begin(), sheets.end(), m_state));
        const auto behind = std::find(sheets.begin(), sheets.end(), target->state()) + 1;
        sheets.insert(behind, m_state);
        workbook->active = static_cast<std::size_t>(std::find(sheets.begin(), sheets.end(), activeSheet) - sheets.begin());
    }

    void Delete() override
    {
        const auto workbook = m_state->workbook.lock();
        if (!workbook)
            throw RuntimeError(QStringLiteral("The sheet \"%1\" belongs to no workbook any more.").arg(m_state->model->name()));
        if (m_state->inFile || m_state->grafted)
            throw RuntimeError(QStringLiteral("The sheet \"%1\" is part of the workbook file and is not deleted by this "
                                              "program.")
                                   .arg(m_state->model->name()));
        auto& sheets = workbook->sheets;
        const auto it = std::find(sheets.begin(), sheets.end(), m_state);
        if (it == sheets.end())
            return; // deleted before
        if (sheets.size() == 1)
            throw RuntimeError(QStringLiteral("A workbook keeps at least one sheet; close the workbook instead."));
        const auto index = static_cast<std::size_t>(it - sheets.begin());
        sheets.erase(it);
        // The active sheet stays active; when it was this one, the sheet before it becomes so.
        if (workbook->active >= index && workbook->active > 0)
            --workbook->active;
    }

    std::shared_ptr<ExcelWorkbook> Parent() override;

    std::shared_ptr<ExcelRange> Cells(int row, const QString& columnLetter) override
    {
        const int column = xlsx::columnNumber(columnLetter);
        if (row < 1 || row > xlsx::MaxRows || column == 0)
            throw RuntimeError(QStringLiteral("Cells(%1, \"%2\") is not a cell of the sheet.").arg(row).arg(columnLetter));
        return std::make_shared<RangeImpl>(writableModel(), xlsx::CellRect{row, column, row, column});
    }

    std::shared_ptr<ExcelRange> Range(const QString& reference) override
    {
        const auto rect = xlsx::parseReference(reference);
        if (!rect)
            throw RuntimeError(QStringLiteral("\"%1\" is not a cell reference such as \"B4:D27\".").arg(reference));
        return std::make_shared<RangeImpl>(writableModel(), *rect);
    }

    std::shared_ptr<ExcelChartObjects> ChartObjects() override
    {
        return std::make_shared<ChartObjectsImpl>(writableModel());
    }

private:
    const std::shared_ptr<SheetModel>& writableModel() const
    {
        if (m_state->inFile)
            throw RuntimeError(QStringLiteral("The sheet \"%1\" was already in the workbook file; only new sheets can be "
                                              "written.")
                                   .arg(m_state->model->name()));
        return m_state->model;
    }

    std::shared_ptr<SheetState> m_state;
};

class WorksheetsImpl : public ExcelWorksheets {
public:
    explicit WorksheetsImpl(std::shared_ptr<WorkbookState> workbook) : m_workbook(std::move(workbook)) {}

    int Count() const override { return static_cast<int>(m_workbook->sheets.size()); }

    std::shared_ptr<ExcelWorksheet> Item(int index) override
    {
        if (index < 1 || index > Count())
            throw outOfRange(QStringLiteral("Worksheets"), index, Count());
        return std::make_shared<WorksheetImpl>(m_workbook->sheets[static_cast<std::size_t>(index - 1)]);
    }

    std::shared_ptr<ExcelWorksheet> Add() override
    {
        auto sheet = std::make_shared<SheetState>();
        sheet->model = std::make_shared<SheetModel>(xlsx::nextSheetName(m_workbook->sheetNames()));
        sheet->workbook = m_workbook;
        auto& sheets = m_workbook->sheets;
        const std::size_t index = std::min(m_workbook->active, sheets.size());
        sheets.insert(sheets.begin() + static_cast<std::ptrdiff_t>(index), sheet);
        m_workbook->active = index;
        return std::make_shared<WorksheetImpl>(sheet);
    }

private:
    std::shared_ptr<WorkbookState> m_workbook;
};

class WorkbookImpl : public ExcelWorkbook {
public:
    explicit WorkbookImpl(std::shared_ptr<WorkbookState> state) : m_state(std::move(state)) {}
    QString FullName() const override { return m_state->fullName; }
    std::shared_ptr<ExcelWorksheets> Worksheets() override { return std::make_shared<WorksheetsImpl>(m_state); }
    void Close(bool saveChanges) override;

private:
    std::shared_ptr<WorkbookState> m_state;
};

// --- Writing at hand-back ------------------------------------------------------------------

QString defaultFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
}

QFileDevice::Permissions newFilePermissions()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    const mode_t mode = 0666 & ~mask;
    QFileDevice::Permissions permissions;
    if (mode & S_IRUSR) permissions |= QFileDevice::ReadOwner | QFileDevice::ReadUser;
    if (mode & S_IWUSR) permissions |= QFileDevice::WriteOwner | QFileDevice::WriteUser;
    if (mode & S_IRGRP) permissions |= QFileDevice::ReadGroup;
    if (mode & S_IWGRP) permissions |= QFileDevice::WriteGroup;
    if (mode & S_IROTH) permissions |= QFileDevice::ReadOther;
    if (mode & S_IWOTH) permissions |= QFileDevice::WriteOther;
    return permissions;
}

QString titleOf(const WorkbookState& workbook)
{
    for (const auto& sheet : workbook.sheets) {
        if (!sheet->model->hasContent())
            continue;
        const xlsx::Cell* b2 = sheet->model->cell(2, 2);
        if (!b2)
            return {};
        return b2->kind == xlsx::Cell::Kind::Number ? QString::number(b2->number, 'g', 15) : b2->text;
    }
    return {};
}

// Where a new workbook goes, and whether a file there may be replaced.
struct NewTarget {
    QString path;
    bool replace = false;
};

NewTarget newWorkbookTarget(const WorkbookState& workbook, const XlsxSettings& settings)
{
    if (!workbook.writtenPath.isEmpty())
        return {workbook.writtenPath, true}; // a second hand-back rewrites the same file
    const QString location = settings.newWorkbookLocation;
    const QFileInfo info(location);
    const bool isFolder = location.isEmpty() || location.endsWith(QLatin1Char('/')) || info.isDir();
    if (!isFolder)
        return {info.absoluteFilePath(), settings.replaceNamedFile};
    const QString folder = location.isEmpty() ? defaultFolder() : location;
    if (!QDir().mkpath(folder))
        throw RuntimeError(QStringLiteral("The folder \"%1\" cannot be created.").arg(QDir::toNativeSeparators(folder)));
    return {xlsx::newWorkbookPath(folder, titleOf(workbook), QDateTime::currentDateTime()), false};
}

// The new workbook complete and synced beside its place; returns the temporary file.
QString writeNewWorkbookAside(const WorkbookState& workbook, const NewTarget& target)
{
    const QString folder = QFileInfo(target.path).absolutePath();
    const QString temporary = xlsx::createTemporaryBeside(folder, QFileInfo(target.path).fileName());
    try {
        QFile::remove(temporary); // libxlsxwriter creates the file itself
        std::vector<const SheetModel*> sheets;
        for (const auto& sheet : workbook.sheets)
            sheets.push_back(sheet->model.get());
        xlsx::writeWorkbookFile(temporary, sheets, static_cast<int>(workbook.active));
        xlsx::temporaryWritten(temporary);
        QFile::setPermissions(temporary, newFilePermissions());
        // A file that is replaced keeps who may read and write it.
        if (target.replace && QFileInfo(target.path).isFile())
            xlsx::keepOwnerAndMode(target.path, temporary);
        xlsx::syncToDisk(temporary);
    } catch (...) {
        QFile::remove(temporary);
        throw;
    }
    return temporary;
}

// The sheets of an opened workbook that are to be added to its file.
std::vector<SheetModel*> sheetsToAdd(const WorkbookState& workbook)
{
    std::vector<SheetModel*> added;
    for (const auto& sheet : workbook.sheets) {
        if (sheet->inFile || !sheet->model->changed() || !sheet->model->hasContent())
            continue;
        if (sheet->grafted)
            throw RuntimeError(QStringLiteral("The sheet \"%1\" was already added to \"%2\"; what was written to it "
                                              "afterwards is not saved.")
                                   .arg(sheet->model->name(), QDir::toNativeSeparators(workbook.fullName)));
        added.push_back(sheet->model.get());
    }
    return added;
}

// The index in `added` of the workbook's active sheet, -1 when it is not one of them.
int activeAmong(const WorkbookState& workbook, const std::vector<SheetModel*>& added)
{
    if (workbook.active >= workbook.sheets.size())
        return -1;
    const auto it = std::find(added.begin(), added.end(), workbook.sheets[workbook.active]->model.get());
    return it == added.end() ? -1 : static_cast<int>(it - added.begin());
}

// Runs the long part of writing a workbook (`write`, which leaves a complete file beside its
// place). With a waitForWrite hook it runs on a worker thread while the hook lets the
// program go on; nothing but the worker touches the sheets meanwhile, since the caller of
// the hand-back waits for it. Returns nothing when the user abandoned the forwarding
// meanwhile; `discard` has then removed what was written.
template <class Result>
std::optional<Result> writeAside(const XlsxSettings& settings, const std::function<Result()>& write,
                                 const std::function<void(const Result&)>& discard)
{
    if (!settings.waitForWrite || !QCoreApplication::instance())
        return write();
    std::optional<Result> result;
    std::exception_ptr failure;
    std::atomic<bool> finished{false};
    std::thread worker([&] {
        try {
            result = write();
        } catch (...) {
            failure = std::current_exception();
        }
        finished = true;
        // The waiting thread is woken to look again.
        QMetaObject::invokeMethod(QCoreApplication::instance(), [] {}, Qt::QueuedConnection);
    });
    const bool abandoned = settings.waitForWrite([&finished] { return finished.load(); });
    worker.join();
    if (!abandoned) {
        if (failure)
            std::rethrow_exception(failure);
        return result;
    }
    if (result) {
        try {
            discard(*result);
        } catch (const std::exception&) {
            // abandoned anyway: a failure of the unwanted write is not the user's concern
        }
    }
    return std::nullopt;
}

// --- The application -----------------------------------------------------------------------

class ApplicationImpl : public ExcelApplication, public std::enable_shared_from_this<ApplicationImpl> {
public:
    explicit ApplicationImpl(std::shared_ptr<XlsxConnector::Shared> shared) : m_shared(std::move(shared)) {}

    ~ApplicationImpl() override
    {
        // Released without being handed back (forwarding stopped on an error): what it
        // holds is written all the same, as a spreadsheet program would keep showing it.
        try {
            handBack();
        } catch (const RuntimeError&) {
            // already reported through reportFailure
        } catch (...) {
        }
    }

    bool Visible() const override { return m_visible; }
    void setVisible(bool visible) override
    {
        m_visible = visible;
        if (visible)
            handBack();
    }
    void setInteractive(bool interactive) override
    {
        m_interactive = interactive;
        if (interactive)
            handBack();
    }
    std::shared_ptr<ExcelWorkbooks> Workbooks() override;

    std::vector<std::shared_ptr<WorkbookState>>& workbooks() { return m_workbooks; }
    int nextBookNumber() { return ++m_books; }
    const XlsxSettings& settings() const { return m_shared->settings; }

    // Writes one workbook: a new file, or the new sheets added to its file. False when the
    // user abandoned the forwarding while it was written (nothing was put in place).
    bool write(WorkbookState& workbook)
    {
        const XlsxSettings& settings = m_shared->settings;
        if (workbook.isNew) {
            const NewTarget target = newWorkbookTarget(workbook, settings);
            const std::optional<QString> temporary = writeAside<QString>(
                settings, [&] { return writeNewWorkbookAside(workbook, target); },
                [](const QString& file) { QFile::remove(file); });
            if (!temporary)
                return false;
            try {
                if (settings.beforeCommit)
                    settings.beforeCommit();
                xlsx::moveIntoPlace(*temporary, target.path, target.replace);
            } catch (...) {
                QFile::remove(*temporary);
                throw;
            }
            workbook.writtenPath = target.path;
            workbook.fullName = target.path;
            markWritten(workbook);
            return true;
        }
        const std::vector<SheetModel*> added = sheetsToAdd(workbook);
        const int active = activeAmong(workbook, added);
        const std::optional<xlsx::PreparedWorkbook> prepared = writeAside<xlsx::PreparedWorkbook>(
            settings, [&] { return xlsx::prepareSheetsForWorkbookFile(workbook.fullName, added, active, settings.limits); },
            [](const xlsx::PreparedWorkbook& file) { xlsx::discardPreparedWorkbook(file); });
        if (!prepared)
            return false;
        xlsx::commitPreparedWorkbook(*prepared, settings.beforeCommit);
        for (const auto& sheet : workbook.sheets) {
            if (std::find(added.begin(), added.end(), sheet->model.get()) != added.end()) {
                sheet->grafted = true;
                sheet->model->markWritten();
            }
        }
        return true;
    }

    // Drops a workbook from the application (Workbook.Close without saving).
    void forget(const std::shared_ptr<WorkbookState>& workbook)
    {
        m_workbooks.erase(std::remove(m_workbooks.begin(), m_workbooks.end(), workbook), m_workbooks.end());
    }

private:
    // Writes every workbook with something new; reports and then throws the failures.
    void handBack()
    {
        QStringList failures;
        for (const auto& workbook : m_workbooks) {
            if (!workbook->hasNewContent())
                continue;
            bool written = false;
            try {
                written = write(*workbook);
            } catch (const RuntimeError& error) {
                failures.append(error.description());
                // Reported once; the same content is not tried again on release.
                markWritten(*workbook);
                if (m_shared->settings.reportFailure)
                    m_shared->settings.reportFailure(error.description());
                continue;
            }
            if (!written) {
                markWritten(*workbook); // abandoned by the user: nothing to write on release either
                continue;
            }
            m_shared->written.append(workbook->fullName);
            if (m_shared->settings.openFile && !xlsx::desktopOpenSuppressed())
                m_shared->settings.openFile(workbook->fullName);
        }
        if (!failures.isEmpty())
            throw RuntimeError(failures.join(QLatin1Char('\n')));
    }

    static void markWritten(WorkbookState& workbook)
    {
        for (const auto& sheet : workbook.sheets)
            sheet->model->markWritten();
    }

    std::shared_ptr<XlsxConnector::Shared> m_shared;
    std::vector<std::shared_ptr<WorkbookState>> m_workbooks;
    bool m_visible = false;
    bool m_interactive = true;
    int m_books = 0;
};

class WorkbooksImpl : public ExcelWorkbooks {
public:
    explicit WorkbooksImpl(std::shared_ptr<ApplicationImpl> application) : m_application(std::move(application)) {}

    int Count() const override { return static_cast<int>(m_application->workbooks().size()); }

    std::shared_ptr<ExcelWorkbook> Item(int index) override
    {
        if (index < 1 || index > Count())
            throw outOfRange(QStringLiteral("Workbooks"), index, Count());
        return std::make_shared<WorkbookImpl>(m_application->workbooks()[static_cast<std::size_t>(index - 1)]);
    }

    std::shared_ptr<ExcelWorkbook> Open(const QString& path) override
    {
        const QFileInfo info(path);
        for (const auto& workbook : m_application->workbooks()) {
            if (!workbook->isNew && (workbook->fullName == info.absoluteFilePath() || workbook->fullName == info.canonicalFilePath()))
                return std::make_shared<WorkbookImpl>(workbook);
        }
        const xlsx::WorkbookFileInfo file = xlsx::inspectWorkbookFile(path, m_application->settings().limits);
        auto workbook = std::make_shared<WorkbookState>();
        workbook->application = m_application;
        workbook->isNew = false;
        workbook->fullName = file.path;
        for (const QString& name : file.sheetNames) {
            auto sheet = std::make_shared<SheetState>();
            sheet->model = std::make_shared<SheetModel>(name);
            sheet->inFile = true;
            sheet->workbook = workbook;
            workbook->sheets.push_back(sheet);
        }
        m_application->workbooks().push_back(workbook);
        return std::make_shared<WorkbookImpl>(workbook);
    }

    std::shared_ptr<ExcelWorkbook> Add() override
    {
        auto workbook = std::make_shared<WorkbookState>();
        workbook->application = m_application;
        workbook->fullName = QStringLiteral("Book%1").arg(m_application->nextBookNumber());
        auto sheet = std::make_shared<SheetState>();
        sheet->model = std::make_shared<SheetModel>(QStringLiteral("Sheet1"));
        sheet->workbook = workbook;
        workbook->sheets.push_back(sheet);
        m_application->workbooks().push_back(workbook);
        return std::make_shared<WorkbookImpl>(workbook);
    }

private:
    std::shared_ptr<ApplicationImpl> m_application;
};

std::shared_ptr<ExcelWorkbooks> ApplicationImpl::Workbooks()
{
    return std::make_shared<WorkbooksImpl>(shared_from_this());
}

std::shared_ptr<ExcelWorkbook> WorksheetImpl::Parent()
{
    const auto workbook = m_state->workbook.lock();
    if (!workbook)
        throw RuntimeError(QStringLiteral("The sheet \"%1\" belongs to no workbook any more.").arg(m_state->model->name()));
    return std::make_shared<WorkbookImpl>(workbook);
}

// Closing with saveChanges writes what is new now (a failure throws, and the workbook stays
// open); without, what was done to the workbook is dropped and nothing is written.
void WorkbookImpl::Close(bool saveChanges)
{
    const auto application = m_state->application.lock();
    if (!application)
        return; // already closed with its application
    if (saveChanges && m_state->hasNewContent())
        application->write(*m_state);
    application->forget(m_state);
    for (const auto& sheet : m_state->sheets)
        sheet->model->markWritten();
    m_state->application.reset();
}

} // namespace

XlsxConnector::XlsxConnector(XlsxSettings settings) : m_shared(std::make_shared<Shared>())
{
    m_shared->settings = std::move(settings);
}

XlsxConnector::~XlsxConnector() = default;

std::shared_ptr<ExcelApplication> XlsxConnector::GetObject()
{
    throw RuntimeError(QStringLiteral("No spreadsheet application is running to attach to."));
}

std::shared_ptr<ExcelApplication> XlsxConnector::CreateObject()
{
    return std::make_shared<ApplicationImpl>(m_shared);
}

QStringList XlsxConnector::writtenFiles() const
{
    return m_shared->written;
}

} // namespace quvo
