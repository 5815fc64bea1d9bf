// New workbooks written through the workbook interface, read back by an independent
// reader: realtime-like, LOGGING-like and SAVE-like sheets, texts that must stay texts,
// when files are written and when not, and where they go.

#include "SheetExpectations.h"
#include "WorkbookTestSupport.h"

#include "forward/XlsxBackend.h"
#include "forward/XlsxFiles.h"
#include "resources/RuntimeError.h"

#include <QDate>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace quvo {
namespace {

using test::SheetContent;
using test::TableRow;

class NewWorkbookTest : public ::testing::Test {
protected:
    XlsxSettings settingsHere()
    {
        XlsxSettings settings;
        settings.newWorkbookLocation = m_dir.path();
        settings.reportFailure = [this](const QString& message) { m_failures.append(message); };
        return settings;
    }

    // Whole-document forwarding into a new workbook: hidden while written, shown at the end.
    QString forwardWhole(const SheetContent& content, XlsxConnector& connector)
    {
        const QStringList filesBefore = test::folderEntries(m_dir.path());
        auto app = connector.CreateObject();
        app->setVisible(true); // a freshly started application is made visible first
        app->setVisible(false);
        auto workbook = app->Workbooks()->Add();
        auto sheet = workbook->Worksheets()->Item(1);
        test::writeWholeDocument(*sheet, content);
        EXPECT_EQ(test::folderEntries(m_dir.path()), filesBefore) << "nothing is written before the hand-back";
        app->setVisible(true);
        return workbook->FullName();
    }

    QTemporaryDir m_dir;
    QStringList m_failures;
};

TEST_F(NewWorkbookTest, RealtimeRecordingIsWrittenWhenTheApplicationBecomesInteractive)
{
    XlsxConnector connector(settingsHere());
    SheetContent content;
    content.title = QStringLiteral("Bench supply");
    content.rows = test::realtimeRows(23);

    EXPECT_THROW(connector.GetObject(), RuntimeError);
    auto app = connector.CreateObject();
    EXPECT_FALSE(app->Visible());
    app->setVisible(true);
    app->setInteractive(false);
    auto workbook = app->Workbooks()->Add();
    EXPECT_EQ(workbook->FullName(), QStringLiteral("Book1"));
    EXPECT_EQ(app->Workbooks()->Count(), 1);
    auto sheet = workbook->Worksheets()->Item(1);
    for (int count = 1; count <= static_cast<int>(content.rows.size()); ++count)
        test::appendRealtimeRow(*sheet, content, count);
    test::writeTableFrame(*sheet, content, 23);
    test::addDataChart(*sheet, content.title, 23);
    EXPECT_TRUE(test::folderEntries(m_dir.path()).isEmpty());
    app->setInteractive(true);

    const QStringList files = test::folderEntries(m_dir.path());
    ASSERT_EQ(files.size(), 1);
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^Bench supply \\d{4}-\\d\\d-\\d\\d \\d\\d-\\d\\d-\\d\\d\\.xlsx$"))
                    .match(files[0])
                    .hasMatch())
        << files[0].toStdString();
    const QString path = QDir(m_dir.path()).filePath(files[0]);
    EXPECT_EQ(workbook->FullName(), path);
    EXPECT_EQ(connector.writtenFiles(), QStringList{path});

    const QJsonObject described = test::describeWorkbook(path);
    EXPECT_EQ(test::sheetNames(described), QStringList{QStringLiteral("Sheet1")});
    test::expectForwardedSheet(test::sheetNamed(described, QStringLiteral("Sheet1")), content);
    EXPECT_TRUE(m_failures.isEmpty());

    // A second hand-back with nothing new writes nothing.
    app->setInteractive(true);
    EXPECT_EQ(test::folderEntries(m_dir.path()).size(), 1);
    EXPECT_EQ(connector.writtenFiles().size(), 1);
}

TEST_F(NewWorkbookTest, LoggingDocumentIsWrittenWhenTheApplicationBecomesVisible)
{
    XlsxConnector connector(settingsHere());
    SheetContent content;
    content.title = QStringLiteral("LOGGING-mode data");
    for (int i = 0; i < 40; ++i)
        content.rows.push_back({QStringLiteral("00:%1:00").arg(i, 2, 10, QLatin1Char('0')),
                             i % 7 == 3 ? QStringLiteral("-OL") : QString::number(0.125 * i - 2), QStringLiteral("OHM")});
    const QString path = forwardWhole(content, connector);
    const QJsonObject described = test::describeWorkbook(path);
    test::expectForwardedSheet(test::sheetNamed(described, QStringLiteral("Sheet1")), content);
}

TEST_F(NewWorkbookTest, SaveDocumentKeepsRowNumbersAsNumbers)
{
    XlsxConnector connector(settingsHere());
    SheetContent content;
    content.title = QStringLiteral("SAVE-mode data");
    content.saveMode = true;
    content.header[0] = QStringLiteral("No.");
    for (int i = 1; i <= 12; ++i)
        content.rows.push_back({QString::number(i), i == 5 ? QStringLiteral("ERROR") : QStringLiteral("1.5E%1").arg(i % 3),
                             QStringLiteral("Hz")});
    const QString path = forwardWhole(content, connector);
    const QJsonObject described = test::describeWorkbook(path);
    test::expectForwardedSheet(test::sheetNamed(described, QStringLiteral("Sheet1")), content);
}

TEST_F(NewWorkbookTest, OneDataRowGivesTheSmallestFrame)
{
    XlsxConnector connector(settingsHere());
    SheetContent content;
    content.title = QStringLiteral("One");
    content.rows = test::realtimeRows(1);
    const QString path = forwardWhole(content, connector);
    const QJsonObject sheet = test::sheetNamed(test::describeWorkbook(path), QStringLiteral("Sheet1"));
    test::expectForwardedSheet(sheet, content);
    const QJsonObject line = sheet[QStringLiteral("charts")][0][QStringLiteral("series")][0].toObject();
    EXPECT_EQ(line[QStringLiteral("cat")].toString(), QStringLiteral("Sheet1!$B$5"));
}

TEST_F(NewWorkbookTest, TextsThatLookLikeFormulasStayTexts)
{
    XlsxConnector connector(settingsHere());
    SheetContent content;
    content.title = QStringLiteral("Specials <&>\"' here");
    content.rows = {
        {QStringLiteral("=1+1"), QStringLiteral("=1+1"), QStringLiteral("=SUM(A1:A2)")},
        {QStringLiteral("@SUM(A1)"), QStringLiteral("@SUM(A1)"), QStringLiteral("VDC")},
        {QStringLiteral("+cmd|' /C calc'!A0"), QStringLiteral("+cmd|' /C calc'!A0"), QStringLiteral("VDC")},
        {QStringLiteral("-2+3"), QStringLiteral("-2+3"), QStringLiteral("VDC")},
        {QStringLiteral("<b>&amp;</b>"), QStringLiteral("1.234E-3"), QStringLiteral("a\"b'c")},
        {QStringLiteral("tab\there"), QStringLiteral("_x0041_"), QStringLiteral("line\nbreak")},
        {QStringLiteral("bell\u0007end"), QStringLiteral("12"), QStringLiteral("\u00b5A \u2126")},
    };
    const QString path = forwardWhole(content, connector);
    const QJsonObject described = test::describeWorkbook(path);
    const QJsonObject sheet = test::sheetNamed(described, QStringLiteral("Sheet1"));
    // The bell is no XML character; it is kept in the file's escape notation "_x0007_"
    // (which the reader used here reports as it stands).
    test::expectForwardedSheet(sheet, content);
    EXPECT_EQ(sheet[QStringLiteral("formula_elements")].toInt(), 0);
}

TEST_F(NewWorkbookTest, TitleThatBeginsWithEqualsIsShownAsText)
{
    XlsxConnector connector(settingsHere());
    SheetContent content;
    content.title = QStringLiteral("=Sheet1!A1");
    content.rows = test::realtimeRows(3);
    const QString path = forwardWhole(content, connector);
    const QJsonObject sheet = test::sheetNamed(test::describeWorkbook(path), QStringLiteral("Sheet1"));
    EXPECT_EQ(sheet[QStringLiteral("cells")][QStringLiteral("B2")][QStringLiteral("value")].toString(), content.title);
    EXPECT_EQ(sheet[QStringLiteral("charts")][0][QStringLiteral("title")].toString(), content.title);
    EXPECT_EQ(sheet[QStringLiteral("formula_elements")].toInt(), 0);
}

TEST_F(NewWorkbookTest, EmptyTitleGivesAnUntitledChartAndTheProgramName)
{
    XlsxConnector connector(settingsHere());
    SheetContent content;
    content.rows = test::realtimeRows(4);
    const QString path = forwardWhole(content, connector);
    EXPECT_TRUE(QFileInfo(path).fileName().startsWith(QStringLiteral("Quvolink ")));
    test::expectForwardedSheet(test::sheetNamed(test::describeWorkbook(path), QStringLiteral("Sheet1")), content);
}

TEST_F(NewWorkbookTest, NoRowMeansNoFile)
{
    XlsxConnector connector(settingsHere());
    auto app = connector.CreateObject();
    app->setVisible(true);
    app->setInteractive(false);
    auto workbook = app->Workbooks()->Add();
    auto sheet = workbook->Worksheets()->Item(1);
    sheet->Cells(4, QStringLiteral("B"))->Activate(); // moving the cursor is no content
    app->setInteractive(true);
    app.reset();
    EXPECT_TRUE(test::folderEntries(m_dir.path()).isEmpty());
    EXPECT_TRUE(connector.writtenFiles().isEmpty());
}

TEST_F(NewWorkbookTest, ExistingFileIsNeverOverwritten)
{
    XlsxConnector connector(settingsHere());
    SheetContent content;
    content.title = QStringLiteral("Same/title");
    content.rows = test::realtimeRows(2);
    const QString first = forwardWhole(content, connector);
    const QString second = forwardWhole(content, connector);
    const QString third = forwardWhole(content, connector);
    EXPECT_EQ(QFileInfo(first).fileName().left(11), QStringLiteral("Same_title "));
    EXPECT_NE(first, second);
    EXPECT_NE(second, third);
    EXPECT_EQ(test::folderEntries(m_dir.path()).size(), 3);
    // Names differ by a counter only when they were taken within the same second.
    for (const QString& path : {second, third}) {
        const QString name = QFileInfo(path).completeBaseName();
        EXPECT_TRUE(name.endsWith(QStringLiteral(" (2)")) || name.endsWith(QStringLiteral(" (3)"))
                    || !name.contains(QLatin1Char('(')))
            << name.toStdString();
    }
}

TEST_F(NewWorkbookTest, ConfiguredFileIsWrittenThere)
{
    XlsxSettings settings = settingsHere();
    settings.newWorkbookLocation = QDir(m_dir.path()).filePath(QStringLiteral("sub/out.xlsx"));
    QDir(m_dir.path()).mkdir(QStringLiteral("sub"));
    XlsxConnector connector(settings);
    SheetContent content;
    content.title = QStringLiteral("Chosen");
    content.rows = test::realtimeRows(5);
    const QString path = forwardWhole(content, connector);
    EXPECT_EQ(path, settings.newWorkbookLocation);
    EXPECT_EQ(test::folderEntries(QDir(m_dir.path()).filePath(QStringLiteral("sub"))), QStringList{QStringLiteral("out.xlsx")});
    test::expectForwardedSheet(test::sheetNamed(test::describeWorkbook(path), QStringLiteral("Sheet1")), content);
}

TEST_F(NewWorkbookTest, FolderThatCannotBeCreatedIsReportedAndNothingIsLeft)
{
    QFile blocker(QDir(m_dir.path()).filePath(QStringLiteral("plain-file")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    XlsxSettings settings = settingsHere();
    settings.newWorkbookLocation = blocker.fileName() + QStringLiteral("/inside/");
    XlsxConnector connector(settings);
    auto app = connector.CreateObject();
    auto sheet = app->Workbooks()->Add()->Worksheets()->Item(1);
    SheetContent content;
    content.rows = test::realtimeRows(2);
    test::writeWholeDocument(*sheet, content);
    try {
        app->setVisible(true);
        ADD_FAILURE() << "the hand-back should report the failure";
    } catch (const RuntimeError& error) {
        EXPECT_TRUE(error.description().contains(QStringLiteral("cannot be created"))) << error.description().toStdString();
    }
    ASSERT_EQ(m_failures.size(), 1);
    EXPECT_TRUE(m_failures[0].contains(QStringLiteral("plain-file")));
    app.reset(); // not tried again on release
    EXPECT_EQ(m_failures.size(), 1);
    EXPECT_EQ(test::folderEntries(m_dir.path()), QStringList{QStringLiteral("plain-file")});
}

TEST_F(NewWorkbookTest, FailureJustBeforeTheFileTakesItsPlaceLeavesNothing)
{
    XlsxSettings settings = settingsHere();
    settings.beforeCommit = [] { throw RuntimeError(QStringLiteral("The disk is full.")); };
    XlsxConnector connector(settings);
    auto app = connector.CreateObject();
    auto sheet = app->Workbooks()->Add()->Worksheets()->Item(1);
    SheetContent content;
    content.rows = test::realtimeRows(2);
    test::writeWholeDocument(*sheet, content);
    EXPECT_THROW(app->setVisible(true), RuntimeError);
    EXPECT_EQ(m_failures, QStringList{QStringLiteral("The disk is full.")});
    EXPECT_TRUE(test::folderEntries(m_dir.path()).isEmpty());
}

TEST_F(NewWorkbookTest, ReleasedWithoutHandBackStillWritesWhatItHolds)
{
    XlsxConnector connector(settingsHere());
    SheetContent content;
    content.title = QStringLiteral("Interrupted");
    content.rows = test::realtimeRows(3);
    {
        auto app = connector.CreateObject();
        app->setInteractive(false);
        auto sheet = app->Workbooks()->Add()->Worksheets()->Item(1);
        for (int count = 1; count <= 3; ++count)
            test::appendRealtimeRow(*sheet, content, count);
    }
    const QStringList files = test::folderEntries(m_dir.path());
    ASSERT_EQ(files.size(), 1);
    const QJsonObject sheet = test::sheetNamed(test::describeWorkbook(QDir(m_dir.path()).filePath(files[0])), QStringLiteral("Sheet1"));
    EXPECT_EQ(sheet[QStringLiteral("cells")][QStringLiteral("B7")][QStringLiteral("value")].toString(), content.rows[2].b);
    EXPECT_EQ(sheet[QStringLiteral("active_cell")].toString(), QStringLiteral("B7"));
}

TEST_F(NewWorkbookTest, DesktopOpenHookRunsUnlessSwitchedOff)
{
    QStringList opened;
    XlsxSettings settings = settingsHere();
    settings.openFile = [&](const QString& path) { opened.append(path); };
    XlsxConnector connector(settings);
    SheetContent content;
    content.rows = test::realtimeRows(2);

    const bool wasSet = qEnvironmentVariableIsSet("QUVOLINK_NO_DESKTOP_OPEN");
    const QByteArray saved = qgetenv("QUVOLINK_NO_DESKTOP_OPEN");
    qputenv("QUVOLINK_NO_DESKTOP_OPEN", "1");
    EXPECT_TRUE(xlsx::desktopOpenSuppressed());
    forwardWhole(content, connector);
    EXPECT_TRUE(opened.isEmpty());

    qunsetenv("QUVOLINK_NO_DESKTOP_OPEN");
    EXPECT_FALSE(xlsx::desktopOpenSuppressed());
    const QString path = forwardWhole(content, connector);
    if (wasSet)
        qputenv("QUVOLINK_NO_DESKTOP_OPEN", saved);
    EXPECT_EQ(opened, QStringList{path});
}

TEST_F(NewWorkbookTest, SheetsAddedToANewWorkbookAreWrittenInTheirOrder)
{
    XlsxConnector connector(settingsHere());
    auto app = connector.CreateObject();
    auto workbook = app->Workbooks()->Add();
    auto sheets = workbook->Worksheets();
    auto first = sheets->Item(1);
    auto added = sheets->Add(); // before the active sheet, and then the active one
    EXPECT_EQ(sheets->Count(), 2);
    added->Move(sheets->Item(sheets->Count()));
    SheetContent content;
    content.title = QStringLiteral("Second");
    content.rows = test::realtimeRows(3);
    test::writeWholeDocument(*added, content);
    first->Range(QStringLiteral("A1"))->setValue(QStringLiteral("first sheet"));
    app->setVisible(true);
    const QJsonObject described = test::describeWorkbook(workbook->FullName());
    EXPECT_EQ(test::sheetNames(described), (QStringList{QStringLiteral("Sheet1"), QStringLiteral("Sheet2")}));
    test::expectForwardedSheet(test::sheetNamed(described, QStringLiteral("Sheet2")), content);
}

// --- The interface refuses what it cannot do, with a description --------------------------

TEST_F(NewWorkbookTest, CallsOutsideTheSheetFailWithADescription)
{
    XlsxConnector connector(settingsHere());
    auto app = connector.CreateObject();
    auto workbook = app->Workbooks()->Add();
    auto sheet = workbook->Worksheets()->Item(1);
    const auto fails = [](const std::function<void()>& call) {
        try {
            call();
        } catch (const RuntimeError& error) {
            return !error.description().isEmpty();
        }
        return false;
    };
    EXPECT_TRUE(fails([&] { sheet->Cells(0, QStringLiteral("B")); }));
    EXPECT_TRUE(fails([&] { sheet->Cells(4, QStringLiteral("B4")); }));
    EXPECT_TRUE(fails([&] { sheet->Range(QStringLiteral("B4:")); }));
    EXPECT_TRUE(fails([&] { sheet->Range(QStringLiteral("B0")); }));
    EXPECT_TRUE(fails([&] { sheet->Range(QStringLiteral("B4"))->Borders(13); }));
    EXPECT_TRUE(fails([&] { sheet->Range(QStringLiteral("B4"))->Borders(xl::xlEdgeTop)->setWeight(3); }));
    EXPECT_TRUE(fails([&] { sheet->Range(QStringLiteral("B4"))->setHorizontalAlignment(77); }));
    EXPECT_TRUE(fails([&] { sheet->Range(QStringLiteral("A1:XFD1048576"))->setValue(QStringLiteral("x")); }));
    EXPECT_TRUE(fails([&] { sheet->Range(QStringLiteral("B4"))->setValue(QString(40000, QLatin1Char('x'))); }));
    EXPECT_TRUE(fails([&] { app->Workbooks()->Item(2); }));
    EXPECT_TRUE(fails([&] { workbook->Worksheets()->Item(0); }));
    EXPECT_TRUE(fails([&] { sheet->ChartObjects()->Add(-1, 0, 400, 200); }));
    auto chart = sheet->ChartObjects()->Add(0, 0, 400, 200)->Chart();
    EXPECT_TRUE(fails([&] { chart->Axes(3); }));
    ChartWizardArguments arguments;
    arguments.Source = sheet->Range(QStringLiteral("B5:D9"));
    arguments.Gallery = 5;
    EXPECT_TRUE(fails([&] { chart->ChartWizard(arguments); }));
    arguments.Gallery = xl::xlLine;
    arguments.PlotBy = xl::xlRows;
    EXPECT_TRUE(fails([&] { chart->ChartWizard(arguments); }));
    auto other = app->Workbooks()->Add()->Worksheets()->Item(1);
    arguments.PlotBy = xl::xlColumns;
    arguments.Source = other->Range(QStringLiteral("B5:D9"));
    EXPECT_TRUE(fails([&] { chart->ChartWizard(arguments); }));
    EXPECT_TRUE(fails([&] { sheet->Move(other); }));
    // Positions are points from the sheet's corner, by the written column widths.
    EXPECT_DOUBLE_EQ(sheet->Range(QStringLiteral("A1"))->Left(), 0.0);
    EXPECT_DOUBLE_EQ(sheet->Range(QStringLiteral("F8"))->Top(), 7 * 15.0);
    EXPECT_DOUBLE_EQ(sheet->Range(QStringLiteral("F8:G9"))->Left(), (26 + 89 + 103 + 61 + 26) * 0.75);
}

} // namespace
} // namespace quvo
