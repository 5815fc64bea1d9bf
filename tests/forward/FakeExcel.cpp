#include "FakeExcel.h"

#include "resources/RuntimeError.h"

#include <algorithm>

namespace quvo::test {

QString booleanEntry(bool value)
{
    return value ? QStringLiteral("True") : QStringLiteral("False");
}

namespace {

QString numberEntry(double value)
{
    return QString::number(value, 'g', 12);
}

class FakeAxis : public ExcelAxis {
public:
    FakeAxis(FakeExcel& excel, std::int16_t index) : m_excel(excel), m_index(index) {}
    void setHasMajorGridlines(bool on) override
    {
        m_excel.call(QStringLiteral("Chart.Axes(%1).HasMajorGridlines=%2").arg(m_index).arg(booleanEntry(on)));
    }

private:
    FakeExcel& m_excel;
    std::int16_t m_index;
};

class FakeRange;

class FakeChart : public ExcelChart {
public:
    explicit FakeChart(FakeExcel& excel) : m_excel(excel) {}
    void ChartWizard(const ChartWizardArguments& a) override;
    std::shared_ptr<ExcelAxis> Axes(std::int16_t index) override { return std::make_shared<FakeAxis>(m_excel, index); }

private:
    FakeExcel& m_excel;
};

class FakeChartObject : public ExcelChartObject {
public:
    explicit FakeChartObject(FakeExcel& excel) : m_excel(excel) {}
    std::shared_ptr<ExcelChart> Chart() override { return std::make_shared<FakeChart>(m_excel); }

private:
    FakeExcel& m_excel;
};

class FakeChartObjects : public ExcelChartObjects {
public:
    explicit FakeChartObjects(FakeExcel& excel) : m_excel(excel) {}
    std::shared_ptr<ExcelChartObject> Add(double left, double top, double width, double height) override
    {
        m_excel.call(QStringLiteral("ChartObjects.Add(%1,%2,%3,%4)")
                         .arg(numberEntry(left), numberEntry(top), numberEntry(width), numberEntry(height)));
        return std::make_shared<FakeChartObject>(m_excel);
    }

private:
    FakeExcel& m_excel;
};

class FakeBorder : public ExcelBorder {
public:
    FakeBorder(FakeExcel& excel, QString range, std::int16_t index) : m_excel(excel), m_range(std::move(range)), m_index(index) {}
    void setWeight(std::int16_t weight) override
    {
        m_excel.call(QStringLiteral("%1.Borders(%2).Weight=%3").arg(m_range).arg(m_index).arg(weight));
    }

private:
    FakeExcel& m_excel;
    QString m_range;
    std::int16_t m_index;
};

class FakeInterior : public ExcelInterior {
public:
    FakeInterior(FakeExcel& excel, QString range) : m_excel(excel), m_range(std::move(range)) {}
    void setColor(std::int32_t color) override
    {
        m_excel.call(QStringLiteral("%1.Interior.Color=%2").arg(m_range).arg(color));
    }

private:
    FakeExcel& m_excel;
    QString m_range;
};

class FakeRange : public ExcelRange {
public:
    FakeRange(FakeExcel& excel, std::shared_ptr<FakeWorkbookState> book, QString sheet, QString label, QString cell)
        : m_excel(excel), m_book(std::move(book)), m_sheet(std::move(sheet)), m_label(std::move(label)), m_cell(std::move(cell))
    {
    }
    const QString& label() const { return m_label; }

    void setNumberFormat(const QString& format) override { m_excel.call(m_label + QStringLiteral(".NumberFormat=") + format); }
    void setValue(const QString& value) override
    {
        m_excel.call(m_label + QStringLiteral(".Value=") + value);
        m_book->values[m_sheet][m_cell] = value;
    }
    std::shared_ptr<ExcelBorder> Borders(std::int16_t index) override
    {
        return std::make_shared<FakeBorder>(m_excel, m_label, index);
    }
    std::shared_ptr<ExcelInterior> Interior() override { return std::make_shared<FakeInterior>(m_excel, m_label); }
    void setHorizontalAlignment(std::int16_t alignment) override
    {
        m_excel.call(QStringLiteral("%1.HorizontalAlignment=%2").arg(m_label).arg(alignment));
    }
    void Activate() override { m_excel.call(m_label + QStringLiteral(".Activate")); }
    double Left() const override
    {
        m_excel.call(m_label + QStringLiteral(".Left"));
        return m_cell == QStringLiteral("F8") ? m_excel.f8Left : 0;
    }
    double Top() const override
    {
        m_excel.call(m_label + QStringLiteral(".Top"));
        return m_cell == QStringLiteral("F8") ? m_excel.f8Top : 0;
    }

private:
    FakeExcel& m_excel;
    std::shared_ptr<FakeWorkbookState> m_book;
    QString m_sheet;
    QString m_label;
    QString m_cell;
};

void FakeChart::ChartWizard(const ChartWizardArguments& a)
{
    const auto* source = dynamic_cast<const FakeRange*>(a.Source.get());
    m_excel.call(QStringLiteral("Chart.ChartWizard(Source=%1,Gallery=%2,Format=%3,PlotBy=%4,CategoryLabels=%5,"
                                "SeriesLabels=%6,HasLegend=%7,Title=%8)")
                     .arg(source ? source->label() : QStringLiteral("?"))
                     .arg(a.Gallery)
                     .arg(a.Format)
                     .arg(a.PlotBy)
                     .arg(a.CategoryLabels)
                     .arg(a.SeriesLabels)
                     .arg(booleanEntry(a.HasLegend), a.Title));
}

class FakeWorksheet : public ExcelWorksheet {
public:
    FakeWorksheet(FakeExcel& excel, std::shared_ptr<FakeWorkbookState> book, QString name)
        : m_excel(excel), m_book(std::move(book)), m_name(std::move(name))
    {
    }
    const QString& name() const { return m_name; }

    void Move(const std::shared_ptr<ExcelWorksheet>& after) override
    {
        const auto* target = dynamic_cast<const FakeWorksheet*>(after.get());
        const QString afterName = target ? target->name() : QStringLiteral("?");
        m_excel.call(QStringLiteral("%1.Move(After=%2)").arg(m_name, afterName));
        QStringList& sheets = m_book->sheets;
        if (afterName == m_name)
            return;
        sheets.removeAll(m_name);
        sheets.insert(sheets.indexOf(afterName) + 1, m_name);
    }
    void Delete() override
    {
        m_excel.call(QStringLiteral("%1.Delete").arg(m_name));
        m_book->sheets.removeAll(m_name);
    }
    std::shared_ptr<ExcelWorkbook> Parent() override;
    std::shared_ptr<ExcelRange> Cells(int row, const QString& column) override
    {
        return std::make_shared<FakeRange>(m_excel, m_book, m_name, QStringLiteral("Cells(%1,%2)").arg(row).arg(column),
                                           column + QString::number(row));
    }
    std::shared_ptr<ExcelRange> Range(const QString& reference) override
    {
        return std::make_shared<FakeRange>(m_excel, m_book, m_name, QStringLiteral("Range(%1)").arg(reference), reference);
    }
    std::shared_ptr<ExcelChartObjects> ChartObjects() override { return std::make_shared<FakeChartObjects>(m_excel); }

private:
    FakeExcel& m_excel;
    std::shared_ptr<FakeWorkbookState> m_book;
    QString m_name;
};

class FakeWorksheets : public ExcelWorksheets {
public:
    FakeWorksheets(FakeExcel& excel, std::shared_ptr<FakeWorkbookState> book) : m_excel(excel), m_book(std::move(book)) {}
    int Count() const override
    {
        m_excel.call(QStringLiteral("Worksheets.Count"));
        return static_cast<int>(m_book->sheets.size());
    }
    std::shared_ptr<ExcelWorksheet> Item(int index) override
    {
        m_excel.call(QStringLiteral("Worksheets.Item(%1)").arg(index));
        if (index < 1 || index > m_book->sheets.size())
            throw RuntimeError(QStringLiteral("Worksheets(%1) does not exist.").arg(index));
        return std::make_shared<FakeWorksheet>(m_excel, m_book, m_book->sheets[index - 1]);
    }
    std::shared_ptr<ExcelWorksheet> Add() override
    {
        m_excel.call(QStringLiteral("Worksheets.Add"));
        // A new sheet goes before the active one; here the first sheet is the active one.
        QString name;
        int number = static_cast<int>(m_book->sheets.size());
        do {
            name = QStringLiteral("Sheet%1").arg(++number);
        } while (m_book->sheets.contains(name));
        m_book->sheets.prepend(name);
        return std::make_shared<FakeWorksheet>(m_excel, m_book, name);
    }

private:
    FakeExcel& m_excel;
    std::shared_ptr<FakeWorkbookState> m_book;
};

class FakeWorkbook : public ExcelWorkbook {
public:
    FakeWorkbook(FakeExcel& excel, std::shared_ptr<FakeWorkbookState> book) : m_excel(excel), m_book(std::move(book)) {}
    QString FullName() const override
    {
        m_excel.call(QStringLiteral("Workbook(%1).FullName").arg(m_book->fullName));
        return m_book->fullName;
    }
    std::shared_ptr<ExcelWorksheets> Worksheets() override { return std::make_shared<FakeWorksheets>(m_excel, m_book); }
    void Close(bool saveChanges) override
    {
        m_excel.call(QStringLiteral("Workbook(%1).Close(SaveChanges=%2)").arg(m_book->fullName, booleanEntry(saveChanges)));
        m_book->closed = true;
    }

private:
    FakeExcel& m_excel;
    std::shared_ptr<FakeWorkbookState> m_book;
};

std::shared_ptr<ExcelWorkbook> FakeWorksheet::Parent()
{
    m_excel.call(QStringLiteral("%1.Parent").arg(m_name));
    return std::make_shared<FakeWorkbook>(m_excel, m_book);
}

class FakeWorkbooks : public ExcelWorkbooks {
public:
    FakeWorkbooks(FakeExcel& excel, std::shared_ptr<FakeApplicationState> app) : m_excel(excel), m_app(std::move(app)) {}
    int Count() const override
    {
        m_excel.call(QStringLiteral("Workbooks.Count"));
        return static_cast<int>(m_app->workbooks.size());
    }
    std::shared_ptr<ExcelWorkbook> Item(int index) override
    {
        m_excel.call(QStringLiteral("Workbooks.Item(%1)").arg(index));
        if (index < 1 || index > static_cast<int>(m_app->workbooks.size()))
            throw RuntimeError(QStringLiteral("Workbooks(%1) does not exist.").arg(index));
        return std::make_shared<FakeWorkbook>(m_excel, m_app->workbooks[static_cast<std::size_t>(index - 1)]);
    }
    std::shared_ptr<ExcelWorkbook> Open(const QString& path) override
    {
        m_excel.call(QStringLiteral("Workbooks.Open(%1)").arg(path));
        auto book = fakeWorkbook(path, 3);
        m_app->workbooks.push_back(book);
        return std::make_shared<FakeWorkbook>(m_excel, book);
    }
    std::shared_ptr<ExcelWorkbook> Add() override
    {
        m_excel.call(QStringLiteral("Workbooks.Add"));
        auto book = fakeWorkbook(QStringLiteral("Book%1").arg(++m_app->booksMade), 1);
        m_app->workbooks.push_back(book);
        return std::make_shared<FakeWorkbook>(m_excel, book);
    }

private:
    FakeExcel& m_excel;
    std::shared_ptr<FakeApplicationState> m_app;
};

class FakeApplication : public ExcelApplication {
public:
    FakeApplication(FakeExcel& excel, std::shared_ptr<FakeApplicationState> state) : m_excel(excel), m_state(std::move(state)) {}
    bool Visible() const override
    {
        m_excel.call(QStringLiteral("App.Visible"));
        return m_state->visible;
    }
    void setVisible(bool visible) override
    {
        m_excel.call(QStringLiteral("App.Visible=") + booleanEntry(visible));
        m_state->visible = visible;
    }
    void setInteractive(bool interactive) override
    {
        m_excel.call(QStringLiteral("App.Interactive=") + booleanEntry(interactive));
        m_state->interactive = interactive;
    }
    std::shared_ptr<ExcelWorkbooks> Workbooks() override { return std::make_shared<FakeWorkbooks>(m_excel, m_state); }

private:
    FakeExcel& m_excel;
    std::shared_ptr<FakeApplicationState> m_state;
};

} // namespace

std::shared_ptr<FakeWorkbookState> fakeWorkbook(const QString& fullName, int sheetCount)
{
    auto book = std::make_shared<FakeWorkbookState>();
    book->fullName = fullName;
    for (int i = 1; i <= sheetCount; ++i)
        book->sheets.append(QStringLiteral("Sheet%1").arg(i));
    return book;
}

std::shared_ptr<ExcelApplication> FakeExcel::GetObject()
{
    call(QStringLiteral("GetObject"));
    if (!running)
        throw RuntimeError(QStringLiteral("No application is running."));
    return std::make_shared<FakeApplication>(*this, running);
}

std::shared_ptr<ExcelApplication> FakeExcel::CreateObject()
{
    call(QStringLiteral("CreateObject"));
    if (!canCreate)
        throw RuntimeError(QStringLiteral("The application cannot be started."));
    auto state = std::make_shared<FakeApplicationState>();
    created.push_back(state);
    return std::make_shared<FakeApplication>(*this, state);
}

void FakeExcel::call(const QString& entry)
{
    log.append(entry);
    if (onCall)
        onCall(entry);
    if (failAt.isEmpty())
        return;
    const bool matches = failAt.endsWith(QLatin1Char('*')) ? entry.startsWith(failAt.chopped(1)) : entry == failAt;
    if (!matches)
        return;
    if (failOnce)
        failAt.clear();
    throw RuntimeError(failDescription);
}

QStringList FakeExcel::entriesStartingWith(const QString& prefix) const
{
    QStringList found;
    for (const QString& entry : log) {
        if (entry.startsWith(prefix))
            found.append(entry);
    }
    return found;
}

void LoggedProgress::show()
{
    m_excel.log.append(QStringLiteral("Progress.show"));
}

void LoggedProgress::unload()
{
    m_excel.log.append(QStringLiteral("Progress.unload"));
}

void LoggedProgress::SetCaption(const QString& text)
{
    m_excel.log.append(QStringLiteral("Progress.SetCaption(%1)").arg(text));
}

void LoggedProgress::SetMessage(const QString& text)
{
    m_excel.log.append(QStringLiteral("Progress.SetMessage(%1)").arg(text));
}

void LoggedProgress::RenProgress(bool throttle, std::int16_t current, std::int16_t total)
{
    m_excel.log.append(QStringLiteral("Progress.RenProgress(%1,%2,%3)").arg(booleanEntry(throttle)).arg(current).arg(total));
    if (m_excel.onCall)
        m_excel.onCall(m_excel.log.last());
}

void LoggedProgress::setCancelEnabled(bool enabled)
{
    m_excel.log.append(QStringLiteral("Progress.setCancelEnabled(%1)").arg(booleanEntry(enabled)));
}

PromptAnswer LoggedPrompter::message(const QString& text, PromptButtons buttons_, PromptIcon icon, PromptAnswer defaultAnswer)
{
    QString shown = text;
    shown.replace(QStringLiteral("\r\n"), QStringLiteral("|"));
    m_excel.log.append(QStringLiteral("Message(%1)").arg(shown));
    texts.append(text);
    icons.append(icon);
    buttons.append(buttons_);
    return defaultAnswer;
}

} // namespace quvo::test
