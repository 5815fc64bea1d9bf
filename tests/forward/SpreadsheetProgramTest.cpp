// Every kind of workbook the program makes, opened by a real spreadsheet program
// (LibreOffice Calc, headless): a new workbook; a sheet added to workbooks made by
// openpyxl, by libxlsxwriter and by LibreOffice itself (formulas, several sheets, a chart of
// its own, no theme part); a realtime recording; a SAVE-mode memory with empty slots; one
// row; a full document of 32767 rows; a recording in three parts, a sheet for each.
//
// For each: the program opens it without complaint, shows every value of the new sheet,
// keeps the results of the old sheets' formulas, opens the workbook on the new sheet, and
// draws the chart's line (pixels of the line's colour inside the chart's frame on the
// rendered page).
//
// The workbooks are made once and converted in a few runs of the program (CSV of every
// sheet, one PDF page per sheet, the paginated PDF of the full document, the workbook saved
// again), each run with a user profile of its own. Run alone with: ctest -L spreadsheet
// With QUVO_SPREADSHEET_PAGES set to a folder, the rendered pages are kept there to be
// looked at.

#include "LibreOffice.h"
#include "SheetExpectations.h"
#include "WorkbookTestSupport.h"

#include "document/DataDocument.h"
#include "forward/Forward.h"
#include "forward/XlsxBackend.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/TextNumber.h"
#include "resources/TimeText.h"
#include "support/ScriptedPrompter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <memory>
#include <ostream>
#include <vector>

inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace quvo {
namespace {

using test::LibreOffice;
using test::SheetContent;
using test::contentOf;

constexpr int RenderDpi = 100;
constexpr double ChartWidthPoints = 400;

// One workbook as the tests expect to find it.
struct Kind {
    QString file;            // the workbook forwarded into
    QString pristineBase;    // a copy of the workbook before the sheet was added ("" for a new one)
    QStringList oldSheets;   // the sheets it had
    QString newSheet;        // the sheet forwarding made
    SheetContent content;    // what the new sheet holds
    int minimumLinePixels = 100;
};

// "hh:mm:ss" of a second of the day, as a recording labels its rows.
QString timeText(int second)
{
    return addToTimeLabel(QStringLiteral("00:00:00"), 0, 0, 0, second);
}

// A recording with words among the readings, so that the line has gaps and some readings
// stand alone between two of them.
std::unique_ptr<DataDocument> recording(int rows)
{
    static const char* const readings[] = {"1.25", "1.5", "ERROR", "0.75", "ERROR", "1.75", "2", "1.5E-1", "+OL", "1"};
    auto doc = std::make_unique<DataDocument>();
    doc->OpenNew(DataKinds::Realtime);
    for (int i = 0; i < rows; ++i) {
        const QString value = QString::fromLatin1(readings[i % 10]);
        const bool numeric = value != QStringLiteral("ERROR") && !value.endsWith(QStringLiteral("OL"));
        EXPECT_TRUE(doc->AddGridrow());
        doc->AddRealtimedata(timeText(36000 + i), value, numeric ? QStringLiteral("VDC") : QString(), numeric, value);
    }
    return doc;
}

// A full document: millivolts, an ERROR in a hundred.
std::unique_ptr<DataDocument> fullDocument()
{
    auto doc = std::make_unique<DataDocument>();
    doc->OpenNew(DataKinds::Realtime);
    for (int i = 0; i < MaxReadings; ++i) {
        const QString value = i % 100 == 99 ? QString(ErrorReading) : QString::number(100 + i % 900) + QStringLiteral("E-3");
        EXPECT_TRUE(doc->AddGridrow());
        doc->AddRealtimedata(timeText(i), value, QStringLiteral("VDC"), i % 100 != 99, value);
    }
    return doc;
}

// A SAVE-mode memory of 50 slots, most of them empty: every reading stands alone or in a
// short run.
std::unique_ptr<DataDocument> saveMemory()
{
    auto doc = std::make_unique<DataDocument>();
    doc->OpenNew(DataKinds::Save);
    programState().MeterModel = QStringLiteral("1");
    const std::map<int, QString> stored = {{1, QStringLiteral("10.5")}, {4, QStringLiteral("12")},
                                           {5, QStringLiteral("12.25")}, {9, QStringLiteral("9.75")},
                                           {20, QStringLiteral("11")}, {33, QStringLiteral("10")},
                                           {50, QStringLiteral("13.5")}};
    for (int slot = 1; slot <= 50; ++slot) {
        EXPECT_TRUE(doc->AddGridrow());
        const auto it = stored.find(slot);
        if (it == stored.end())
            doc->AddData(QString(), QString(), QString(), QString());
        else
            doc->AddData(QString(), it->second, QStringLiteral("OHM"), it->second);
    }
    doc->DispCalculation();
    return doc;
}

// A forwarding engine on the .xlsx backend, wired as the program wires it; a new workbook is
// written exactly at `file`.
struct WiredEngine {
    Forward engine;
    XlsxConnector connector;

    WiredEngine(const QString& file, test::ScriptedPrompter& prompter) : connector(settingsFor(engine, file))
    {
        engine.setConnector(&connector);
        engine.setPrompter(&prompter);
    }

    static XlsxSettings settingsFor(Forward& engine, const QString& file)
    {
        XlsxSettings settings;
        settings.newWorkbookLocation = file;
        settings.reportFailure = engine.handBackFailureReporter();
        settings.waitForWrite = engine.handBackWaiter();
        return settings;
    }
};

// Whole-document forwarding of `doc` into `file` (ExcelFile when `into`, otherwise a new
// workbook written exactly at `file`), as File > Forward runs it.
void forwardWhole(DataDocument& doc, const QString& file, bool into, const QString& title, test::ScriptedPrompter& prompter)
{
    WiredEngine wired(file, prompter);
    ProgramState& state = programState();
    state.ExcelFile = into ? file : QString();
    state.ExcelTitle = title;
    state.CurrentDoc = &doc;
    wired.engine.ForwardToExcel();
    state.CurrentDoc = nullptr;
    EXPECT_EQ(wired.connector.writtenFiles(), QStringList{file}) << prompter.messageTexts().join(QLatin1Char('\n')).toStdString();
}

// A recording forwarded row by row as it runs, into a new workbook at `file`.
void forwardRecording(DataDocument& doc, const QString& file, const QString& title, test::ScriptedPrompter& prompter)
{
    WiredEngine wired(file, prompter);
    ProgramState& state = programState();
    state.ExcelFile.clear();
    state.ExcelTitle = title;
    state.RealtimeDoc = &doc;
    state.NoForward = false;
    ASSERT_TRUE(wired.engine.BeginRealtimeForward());
    for (int row = 1; row <= doc.GetDatacount(); ++row)
        ASSERT_TRUE(wired.engine.AppendRealtimeRow(doc.TextMatrix(row, 1), doc.TextMatrix(row, 2), doc.TextMatrix(row, 3)));
    wired.engine.EndRealtimeForward();
    state.RealtimeDoc = nullptr;
    EXPECT_EQ(wired.connector.writtenFiles(), QStringList{file});
}

// A recording that went on in new documents when each was full, forwarded as it ran: each
// document on a sheet of its own in one new workbook at `file`.
void forwardRecordingInParts(const std::vector<DataDocument*>& parts, const QString& file, const QString& title,
                             test::ScriptedPrompter& prompter)
{
    WiredEngine wired(file, prompter);
    ProgramState& state = programState();
    state.ExcelFile.clear();
    state.ExcelTitle = title;
    state.RealtimeDoc = parts.front();
    state.NoForward = false;
    ASSERT_TRUE(wired.engine.BeginRealtimeForward());
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i > 0) {
            ASSERT_TRUE(wired.engine.nextRealtimeSheet()); // the full part's sheet finished
            state.RealtimeDoc = parts[i];
        }
        DataDocument& doc = *parts[i];
        for (int row = 1; row <= doc.GetDatacount(); ++row)
            ASSERT_TRUE(wired.engine.AppendRealtimeRow(doc.TextMatrix(row, 1), doc.TextMatrix(row, 2), doc.TextMatrix(row, 3)));
    }
    wired.engine.EndRealtimeForward();
    state.RealtimeDoc = nullptr;
    EXPECT_EQ(wired.connector.writtenFiles(), QStringList{file});
}

class SpreadsheetProgramTest : public ::testing::Test {
protected:
    struct Suite {
        QTemporaryDir dir;
        std::map<QString, Kind> kinds;
        bool converted = false;
        QString log;
        QString path(const QString& name) const { return QDir(dir.path()).filePath(name); }
    };

    static void SetUpTestSuite()
    {
        s = std::make_unique<Suite>();
        if (!LibreOffice::available())
            return;
        resetProgramState();
        programState().WorkPath = s->path(QStringLiteral("WORK.~~~"));
        qputenv("QUVOLINK_NO_DESKTOP_OPEN", "1");
        test::ScriptedPrompter prompter;
        const LibreOffice office(s->dir.path());

        // A workbook saved by LibreOffice itself: formulas on two sheets and a chart, made
        // with openpyxl and saved again by the program.
        const QString formulas = s->path(QStringLiteral("formulas.xlsx"));
        test::makeWorkbook(QStringLiteral("formulas"), formulas);
        QString log;
        if (!office.convert({formulas}, LibreOffice::savedAsXlsx(), s->path(QStringLiteral("saved-by-office")), log)) {
            s->log = log;
            return;
        }

        const auto addTo = [&](const QString& name, const QString& base, const QStringList& sheets, const QString& newSheet) {
            Kind kind;
            kind.file = s->path(name + QStringLiteral(".xlsx"));
            kind.pristineBase = s->path(QStringLiteral("base-") + name + QStringLiteral(".xlsx"));
            QFile::copy(base, kind.file);
            QFile::copy(base, kind.pristineBase);
            kind.oldSheets = sheets;
            kind.newSheet = newSheet;
            auto doc = recording(40);
            kind.content = contentOf(*doc, QStringLiteral("Added to ") + name);
            forwardWhole(*doc, kind.file, true, kind.content.title, prompter);
            s->kinds[name] = kind;
        };

        // A new workbook of `doc`, forwarded whole (or row by row as a recording).
        const auto addNew = [&](const QString& name, DataDocument& doc, const QString& title, int minimumLinePixels,
                                bool asRecording) {
            Kind kind;
            kind.file = s->path(name + QStringLiteral(".xlsx"));
            kind.newSheet = QStringLiteral("Sheet1");
            kind.content = contentOf(doc, title);
            kind.minimumLinePixels = minimumLinePixels;
            if (asRecording)
                forwardRecording(doc, kind.file, title, prompter);
            else
                forwardWhole(doc, kind.file, false, title, prompter);
            s->kinds[name] = kind;
        };

        addNew(QStringLiteral("new"), *recording(60), QStringLiteral("Bench supply"), 100, false);
        // Sheets added to workbooks of three makers.
        const QString openpyxlBase = s->path(QStringLiteral("made-by-openpyxl.xlsx"));
        test::makeWorkbook(QStringLiteral("openpyxl"), openpyxlBase);
        addTo(QStringLiteral("into-openpyxl"), openpyxlBase, {QStringLiteral("Readings"), QStringLiteral("Sheet2")},
              QStringLiteral("Sheet3"));
        const QString libxlsxwriterBase = s->path(QStringLiteral("made-by-libxlsxwriter.xlsx"));
        {
            auto earlier = recording(12);
            forwardWhole(*earlier, libxlsxwriterBase, false, QStringLiteral("Earlier"), prompter);
        }
        addTo(QStringLiteral("into-libxlsxwriter"), libxlsxwriterBase, {QStringLiteral("Sheet1")}, QStringLiteral("Sheet2"));
        addTo(QStringLiteral("into-libreoffice"), s->path(QStringLiteral("saved-by-office/formulas.xlsx")),
              {QStringLiteral("Prices"), QStringLiteral("Notes")}, QStringLiteral("Sheet3"));
        // A recording, a SAVE-mode memory, one row, a full document.
        addNew(QStringLiteral("realtime"), *recording(45), QStringLiteral("Recorded"), 100, true);
        // Mostly markers: without them only one short line is drawn.
        addNew(QStringLiteral("save"), *saveMemory(), QStringLiteral("Memory"), 150, false);
        addNew(QStringLiteral("one-row"), *recording(1), QStringLiteral("One"), 20, false); // a single marker
        addNew(QStringLiteral("full"), *fullDocument(), QStringLiteral("Full document"), 100, false);
        {
            // A recording in three parts: a sheet for each, one workbook.
            const std::unique_ptr<DataDocument> parts[] = {recording(20), recording(25), recording(12)};
            const QString file = s->path(QStringLiteral("parts.xlsx"));
            forwardRecordingInParts({parts[0].get(), parts[1].get(), parts[2].get()}, file, QStringLiteral("Week"), prompter);
            for (int i = 0; i < 3; ++i) {
                Kind kind;
                kind.file = file;
                kind.newSheet = QStringLiteral("Sheet%1").arg(i + 1);
                kind.content = contentOf(*parts[i], QStringLiteral("Week"));
                s->kinds[QStringLiteral("parts-%1").arg(i + 1)] = kind;
            }
        }
        if (!prompter.messages.isEmpty()) {
            s->log = prompter.messageTexts().join(QLatin1Char('\n'));
            return;
        }

        // The conversions, each of all files in one run.
        QStringList all, pristine, small;
        for (const auto& [name, kind] : s->kinds) {
            all.append(kind.file);
            if (!kind.pristineBase.isEmpty())
                pristine.append(kind.pristineBase);
            if (name != QStringLiteral("full"))
                small.append(kind.file);
        }
        all.removeDuplicates(); // the parts of one recording share a workbook
        small.removeDuplicates();
        const struct {
            QStringList files;
            QString target;
            const char* folder;
        } runs[] = {
            {all + pristine, LibreOffice::everySheetAsCsv(), "csv"},
            {small, LibreOffice::onePagePerSheetPdf(), "pages"},
            {{s->kinds[QStringLiteral("full")].file}, LibreOffice::pagedPdf(), "paged"},
            {all, LibreOffice::savedAsXlsx(), "saved"},
        };
        for (const auto& run : runs) {
            if (!office.convert(run.files, run.target, s->path(QLatin1String(run.folder)), log)) {
                s->log = log;
                return;
            }
        }
        s->converted = true;
    }

    static void TearDownTestSuite()
    {
        s.reset();
        resetProgramState();
    }

    void SetUp() override
    {
        ASSERT_TRUE(LibreOffice::available())
            << "LibreOffice Calc (soffice) or poppler-utils are not installed: run scripts/install-deps.sh";
        ASSERT_TRUE(s->converted) << s->log.toStdString();
    }

    static QString csvOf(const QString& workbook, const QString& sheet)
    {
        return s->path(QStringLiteral("csv/%1-%2.csv").arg(QFileInfo(workbook).completeBaseName(), sheet));
    }

    // The program shows every value of the new sheet: title, heading, every row, the
    // statistics, and nothing below the table.
    static void expectValuesShown(const Kind& kind)
    {
        const QList<QStringList> rows = test::readCsv(csvOf(kind.file, kind.newSheet));
        const SheetContent& content = kind.content;
        const int n = static_cast<int>(content.rows.size());
        ASSERT_GE(rows.size(), n + 4);
        const auto cell = [&](int row, int column) { return rows[row - 1].value(column - 1); };
        EXPECT_EQ(cell(2, 2), content.title);
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(cell(4, 2 + c), content.header[c]);
        const QString labels[] = {QStringLiteral("MAX"), QStringLiteral("MIN"), QStringLiteral("AVG")};
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(cell(4 + i, 6), labels[i]);
            EXPECT_EQ(cell(4 + i, 7), content.stats[i]);
        }
        int wrong = 0;
        for (int i = 0; i < n && wrong < 10; ++i) {
            const test::TableRow& expected = content.rows[static_cast<std::size_t>(i)];
            const int row = 5 + i;
            const auto sameNumber = [](const QString& shown, const QString& written) {
                double a = 0, b = 0;
                return parseNumber(shown, a) && parseNumber(written, b) && std::abs(a - b) <= 1e-9 * std::max(1.0, std::abs(b));
            };
            double number = 0;
            const bool bOk = content.saveMode ? sameNumber(cell(row, 2), expected.b) : cell(row, 2) == expected.b;
            const bool cOk = parseNumber(expected.c, number) ? sameNumber(cell(row, 3), expected.c) : cell(row, 3) == expected.c;
            const bool dOk = cell(row, 4) == expected.d;
            if (!bOk || !cOk || !dOk) {
                ++wrong;
                ADD_FAILURE() << "row " << row << ": shown " << cell(row, 2).toStdString() << " | " << cell(row, 3).toStdString()
                              << " | " << cell(row, 4).toStdString() << ", written " << expected.b.toStdString() << " | "
                              << expected.c.toStdString() << " | " << expected.d.toStdString();
            }
        }
        for (int row = n + 5; row <= rows.size(); ++row) {
            for (int column = 2; column <= 4; ++column)
                EXPECT_TRUE(cell(row, column).isEmpty()) << "below the table: row " << row;
        }
    }

    // The sheets the workbook had show the same values as before the sheet was added
    // (formula results included), and the program lists exactly the sheets expected.
    static void expectOldSheetsKept(const Kind& kind)
    {
        for (const QString& sheet : kind.oldSheets) {
            const QList<QStringList> before = test::readCsv(csvOf(kind.pristineBase, sheet));
            EXPECT_FALSE(before.isEmpty()) << sheet.toStdString();
            EXPECT_EQ(test::readCsv(csvOf(kind.file, sheet)), before) << sheet.toStdString();
        }
        QStringList shown;
        const QString prefix = QFileInfo(kind.file).completeBaseName() + QLatin1Char('-');
        for (const QString& name : QDir(s->path(QStringLiteral("csv"))).entryList({prefix + QStringLiteral("*.csv")}))
            shown.append(name.mid(prefix.size()).chopped(4));
        QStringList expected = kind.oldSheets + QStringList{kind.newSheet};
        expected.sort();
        shown.sort();
        EXPECT_EQ(shown, expected);
    }

    // Saved again by the program, the workbook is open on the new sheet, the only one
    // selected.
    static void expectOpenedOnTheNewSheet(const Kind& kind)
    {
        const QJsonObject saved = test::workbookViews(s->path(QStringLiteral("saved/") + QFileInfo(kind.file).fileName()));
        const QJsonArray sheets = saved[QStringLiteral("sheets")].toArray();
        ASSERT_EQ(sheets.size(), kind.oldSheets.size() + 1);
        EXPECT_EQ(saved[QStringLiteral("active_tab")].toInt(), kind.oldSheets.size());
        for (qsizetype i = 0; i < sheets.size(); ++i) {
            const QJsonObject sheet = sheets[i].toObject();
            EXPECT_EQ(sheet[QStringLiteral("tab_selected")].toBool(), i == kind.oldSheets.size())
                << sheet[QStringLiteral("name")].toString().toStdString();
        }
    }

    // The new sheet's page (the last one, a page per sheet) shows the chart with its line.
    static void expectChartDrawn(const Kind& kind)
    {
        const QString pdf = s->path(QStringLiteral("pages/") + QFileInfo(kind.file).completeBaseName() + QStringLiteral(".pdf"));
        const int pages = test::pageCount(pdf);
        ASSERT_EQ(pages, kind.oldSheets.size() + 1);
        expectChartOnPage(pdf, pages, kind.minimumLinePixels);
    }

    static void expectChartOnPage(const QString& pdf, int page, int minimumLinePixels)
    {
        const QImage image = test::renderPage(pdf, page, RenderDpi);
        ASSERT_FALSE(image.isNull()) << pdf.toStdString() << " page " << page;
        if (const QString keep = qEnvironmentVariable("QUVO_SPREADSHEET_PAGES"); !keep.isEmpty()) {
            QDir().mkpath(keep);
            image.save(QDir(keep).filePath(QFileInfo(pdf).completeBaseName() + QStringLiteral(".png")));
        }
        const int frameWidth = static_cast<int>(ChartWidthPoints * RenderDpi / 72 * 0.8);
        const std::optional<test::ChartOnPage> chart = test::findChart(image, frameWidth);
        ASSERT_TRUE(chart.has_value()) << "no chart frame on " << pdf.toStdString() << " page " << page;
        EXPECT_GE(chart->seriesPixels, minimumLinePixels) << pdf.toStdString() << " page " << page;
    }

    static inline std::unique_ptr<Suite> s;
};

TEST_F(SpreadsheetProgramTest, NewWorkbook)
{
    const Kind& kind = s->kinds.at(QStringLiteral("new"));
    expectValuesShown(kind);
    expectOldSheetsKept(kind);
    expectOpenedOnTheNewSheet(kind);
    expectChartDrawn(kind);
}

TEST_F(SpreadsheetProgramTest, SheetAddedToAWorkbookMadeByOpenpyxl)
{
    const Kind& kind = s->kinds.at(QStringLiteral("into-openpyxl"));
    expectValuesShown(kind);
    expectOldSheetsKept(kind);
    expectOpenedOnTheNewSheet(kind);
    expectChartDrawn(kind);
}

TEST_F(SpreadsheetProgramTest, SheetAddedToAWorkbookMadeByLibxlsxwriter)
{
    const Kind& kind = s->kinds.at(QStringLiteral("into-libxlsxwriter"));
    expectValuesShown(kind);
    expectOldSheetsKept(kind);
    expectOpenedOnTheNewSheet(kind);
    expectChartDrawn(kind);
}

TEST_F(SpreadsheetProgramTest, SheetAddedToAWorkbookSavedByTheSpreadsheetProgramItself)
{
    const Kind& kind = s->kinds.at(QStringLiteral("into-libreoffice"));
    // Saved without a theme part: the chart must not depend on one.
    EXPECT_FALSE(test::workbookEntries(kind.pristineBase).contains(QStringLiteral("xl/theme/theme1.xml")));
    expectValuesShown(kind);
    expectOldSheetsKept(kind);
    // The formulas' results, as the program computes them.
    const QList<QStringList> prices = test::readCsv(csvOf(kind.file, QStringLiteral("Prices")));
    const QList<QStringList> notes = test::readCsv(csvOf(kind.file, QStringLiteral("Notes")));
    ASSERT_GE(prices.size(), 9);
    ASSERT_GE(notes.size(), 2);
    EXPECT_EQ(prices[0].value(5), QStringLiteral("108"));  // F1 = SUM(C2:C9), C = B * 1.2
    EXPECT_EQ(prices[8].value(2), QStringLiteral("24"));   // C9 = 20 * 1.2
    EXPECT_EQ(notes[0].value(1), QStringLiteral("115.5")); // Prices!F1 + 7.5
    EXPECT_EQ(notes[1].value(1), QStringLiteral("8"));     // COUNTA(Prices!A2:A9)
    expectOpenedOnTheNewSheet(kind);
    expectChartDrawn(kind);
}

TEST_F(SpreadsheetProgramTest, RealtimeRecording)
{
    const Kind& kind = s->kinds.at(QStringLiteral("realtime"));
    expectValuesShown(kind);
    expectOpenedOnTheNewSheet(kind);
    expectChartDrawn(kind);
}

TEST_F(SpreadsheetProgramTest, RealtimeRecordingInPartsShowsEachPartOnASheetWithItsChart)
{
    const QString pdf = s->path(QStringLiteral("pages/parts.pdf"));
    ASSERT_EQ(test::pageCount(pdf), 3);
    for (int part = 1; part <= 3; ++part) {
        const Kind& kind = s->kinds.at(QStringLiteral("parts-%1").arg(part));
        SCOPED_TRACE(kind.newSheet.toStdString());
        expectValuesShown(kind); // its own rows and its own MAX, MIN and AVG
        expectChartOnPage(pdf, part, 100);
    }
}

TEST_F(SpreadsheetProgramTest, SaveModeMemoryWithEmptySlotsNeverLooksEmpty)
{
    const Kind& kind = s->kinds.at(QStringLiteral("save"));
    expectValuesShown(kind);
    expectOpenedOnTheNewSheet(kind);
    expectChartDrawn(kind);
}

TEST_F(SpreadsheetProgramTest, OneRowShowsItsReading)
{
    const Kind& kind = s->kinds.at(QStringLiteral("one-row"));
    expectValuesShown(kind);
    expectChartDrawn(kind);
}

TEST_F(SpreadsheetProgramTest, FullDocument)
{
    const Kind& kind = s->kinds.at(QStringLiteral("full"));
    expectValuesShown(kind);
    expectOpenedOnTheNewSheet(kind);
    // Paginated, the chart (right of the table) is on the page with the statistics texts
    // and the chart's title.
    const QString pdf = s->path(QStringLiteral("paged/full.pdf"));
    const QStringList texts = test::pageTexts(pdf);
    int page = 0;
    for (qsizetype i = 0; i < texts.size() && page == 0; ++i) {
        if (texts[i].contains(kind.content.title) && texts[i].contains(QStringLiteral("TIME[")))
            page = static_cast<int>(i) + 1;
    }
    ASSERT_GT(page, 0) << "no page shows the chart";
    expectChartOnPage(pdf, page, kind.minimumLinePixels);
}

} // namespace
} // namespace quvo
