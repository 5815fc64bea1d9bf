// Adding a forwarded sheet to an existing workbook: the new sheet is last with the next
// free name, every untouched entry stays byte for byte, and every file that cannot be
// extended is refused with a clear message, leaving it exactly as it was.

#include "SheetExpectations.h"
#include "WorkbookTestSupport.h"

#include "forward/XlsxBackend.h"
#include "forward/XlsxPackage.h"
#include "resources/RuntimeError.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <xlsxwriter.h>
#include <zip.h>

#include <set>
#include <unistd.h>

namespace quvo {
namespace {

using test::SheetContent;

// A workbook as another program would leave it: two sheets (the second one named
// "Sheet2"), strings, a custom number format, a chart and defined names.
void makeLibxlsxwriterWorkbook(const QString& path, const char* secondName = "Sheet2")
{
    lxw_workbook* workbook = workbook_new(QFile::encodeName(path).constData());
    lxw_worksheet* data = workbook_add_worksheet(workbook, "Data");
    lxw_worksheet* second = workbook_add_worksheet(workbook, secondName);
    lxw_format* fixed = workbook_add_format(workbook);
    format_set_num_format(fixed, "0.000");
    lxw_format* bold = workbook_add_format(workbook);
    format_set_bold(bold);
    worksheet_write_string(data, 0, 0, "Value", bold);
    for (int i = 1; i <= 5; ++i)
        worksheet_write_number(data, static_cast<lxw_row_t>(i), 0, i * 1.5, fixed);
    worksheet_write_string(second, 0, 0, "remarks", nullptr);
    lxw_chart* chart = workbook_add_chart(workbook, LXW_CHART_COLUMN);
    chart_add_series(chart, nullptr, "=Data!$A$2:$A$6");
    worksheet_insert_chart(data, 1, 3, chart);
    workbook_define_name(workbook, "Values", "=Data!$A$2:$A$6");
    workbook_define_name(workbook, "Data!Local", "=Data!$A$1");
    ASSERT_EQ(workbook_close(workbook), LXW_NO_ERROR);
}

// Forwards `content` into the workbook file the way forwarding does: look among the open
// workbooks by full name, else open it; add a sheet and move it behind the last one.
QString forwardInto(XlsxConnector& connector, const QString& file, const SheetContent& content)
{
    auto app = connector.CreateObject();
    app->setVisible(true);
    app->setVisible(false);
    auto workbooks = app->Workbooks();
    std::shared_ptr<ExcelWorkbook> workbook;
    for (int i = 1; i <= workbooks->Count() && !workbook; ++i) {
        if (workbooks->Item(i)->FullName() == file)
            workbook = workbooks->Item(i);
    }
    if (!workbook)
        workbook = workbooks->Open(file);
    auto sheets = workbook->Worksheets();
    auto sheet = sheets->Add();
    sheet->Move(sheets->Item(sheets->Count()));
    test::writeWholeDocument(*sheet, content);
    app->setVisible(true);
    return workbook->FullName();
}

// The parts that adding a sheet may change; everything else stays byte for byte.
const std::set<QString>& patchedParts()
{
    static const std::set<QString> parts = {QStringLiteral("[Content_Types].xml"), QStringLiteral("xl/workbook.xml"),
                                            QStringLiteral("xl/_rels/workbook.xml.rels"), QStringLiteral("xl/styles.xml"),
                                            QStringLiteral("docProps/app.xml")};
    return parts;
}

class ExtendWorkbookTest : public ::testing::Test {
protected:
    XlsxSettings settingsHere()
    {
        XlsxSettings settings;
        settings.newWorkbookLocation = m_dir.path();
        settings.reportFailure = [this](const QString& message) { m_failures.append(message); };
        return settings;
    }
    QString pathOf(const QString& name) const { return QDir(m_dir.path()).filePath(name); }

    // Adds a sheet to `file` and checks it against everything the file held before.
    void extendAndCheck(const QString& file, const QStringList& namesBefore, const QString& newName)
    {
        const QJsonObject entriesBefore = test::workbookEntries(file);
        const QJsonObject before = test::describeWorkbook(file);
        ASSERT_EQ(test::sheetNames(before), namesBefore);

        XlsxConnector connector(settingsHere());
        SheetContent content;
        content.title = QStringLiteral("Added <&> sheet");
        content.rows = test::realtimeRows(17);
        EXPECT_EQ(forwardInto(connector, file, content), file);
        EXPECT_TRUE(m_failures.isEmpty()) << m_failures.join(QLatin1Char('\n')).toStdString();
        EXPECT_EQ(connector.writtenFiles(), QStringList{file});

        const QJsonObject entriesAfter = test::workbookEntries(file);
        // The sheets of the file that were selected are selected no more; their parts change
        // in that mark only (the sheets read the same otherwise, below).
        std::set<QString> deselected;
        for (const QString& name : namesBefore) {
            const QJsonObject old = test::sheetNamed(before, name);
            if (old[QStringLiteral("tab_selected")].toBool())
                deselected.insert(old[QStringLiteral("part")].toString());
        }
        QStringList added;
        for (auto it = entriesAfter.begin(); it != entriesAfter.end(); ++it) {
            if (!entriesBefore.contains(it.key())) {
                added.append(it.key());
            } else if (!patchedParts().count(it.key()) && !deselected.count(it.key())) {
                EXPECT_EQ(it.value(), entriesBefore.value(it.key())) << it.key().toStdString() << " changed";
            }
        }
        for (auto it = entriesBefore.begin(); it != entriesBefore.end(); ++it)
            EXPECT_TRUE(entriesAfter.contains(it.key())) << it.key().toStdString() << " is gone";
        added.sort();
        EXPECT_EQ(added.size(), 5) << added.join(QStringLiteral(", ")).toStdString();
        for (const QString& part : added) {
            EXPECT_TRUE(part.startsWith(QStringLiteral("xl/worksheets/")) || part.startsWith(QStringLiteral("xl/drawings/"))
                        || part.startsWith(QStringLiteral("xl/charts/")))
                << part.toStdString();
        }

        const QJsonObject after = test::describeWorkbook(file); // the reader loads it
        EXPECT_EQ(test::sheetNames(after), namesBefore + QStringList{newName});
        const QJsonObject sheet = test::sheetNamed(after, newName);
        test::expectForwardedSheet(sheet, content);
        EXPECT_EQ(sheet[QStringLiteral("shared_string_cells")].toInt(), 0);
        // The workbook opens on the new sheet, the only one selected.
        EXPECT_TRUE(sheet[QStringLiteral("tab_selected")].toBool());
        EXPECT_EQ(after[QStringLiteral("active_tab")].toInt(), namesBefore.size());
        // The sheets that were there read exactly as before, charts included, but for the
        // selection.
        for (const QString& name : namesBefore) {
            QJsonObject old = test::sheetNamed(before, name);
            old[QStringLiteral("tab_selected")] = false;
            EXPECT_EQ(test::sheetNamed(after, name), old) << name.toStdString();
        }
        EXPECT_EQ(after[QStringLiteral("defined_names")], before[QStringLiteral("defined_names")]);
        // The application properties list the new sheet after the other worksheets.
        const QJsonObject appBefore = before[QStringLiteral("app")].toObject();
        if (!appBefore.isEmpty()) {
            QJsonArray headings = appBefore[QStringLiteral("headings")].toArray();
            QJsonArray titles = appBefore[QStringLiteral("titles")].toArray();
            ASSERT_EQ(headings[0].toArray()[0].toString(), QStringLiteral("Worksheets"));
            const int sheetsBefore = headings[0].toArray()[1].toInt();
            titles.insert(sheetsBefore, newName);
            headings[0] = QJsonArray{QStringLiteral("Worksheets"), sheetsBefore + 1};
            const QJsonObject appAfter = after[QStringLiteral("app")].toObject();
            EXPECT_EQ(appAfter[QStringLiteral("headings")].toArray(), headings);
            EXPECT_EQ(appAfter[QStringLiteral("titles")].toArray(), titles);
            EXPECT_EQ(appAfter[QStringLiteral("size")].toInt(), titles.size());
        }
        EXPECT_EQ(test::folderEntries(m_dir.path()), QStringList{QFileInfo(file).fileName()});
    }

    QTemporaryDir m_dir;
    QStringList m_failures;
};

TEST_F(ExtendWorkbookTest, WorkbookMadeByLibxlsxwriterGetsANewLastSheet)
{
    const QString file = pathOf(QStringLiteral("book.xlsx"));
    makeLibxlsxwriterWorkbook(file);
    extendAndCheck(file, {QStringLiteral("Data"), QStringLiteral("Sheet2")}, QStringLiteral("Sheet3"));
}

TEST_F(ExtendWorkbookTest, RelationshipsLeftWithoutTheirPartAreNotOverwritten)
{
    // The relationships of a drawing and a sheet that the package does not hold (left over
    // by some other program): the new sheet's parts take other numbers, and the leftovers
    // stay byte for byte.
    const QString file = pathOf(QStringLiteral("book.xlsx"));
    makeLibxlsxwriterWorkbook(file);
    const QByteArray orphan = QByteArrayLiteral(
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
        "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\"/>");
    int error = 0;
    zip_t* zip = zip_open(QFile::encodeName(file).constData(), 0, &error);
    ASSERT_NE(zip, nullptr) << error;
    for (const char* name : {"xl/drawings/_rels/drawing2.xml.rels", "xl/worksheets/_rels/sheet3.xml.rels"}) {
        zip_source_t* source = zip_source_buffer(zip, orphan.constData(), static_cast<zip_uint64_t>(orphan.size()), 0);
        ASSERT_GE(zip_file_add(zip, name, source, ZIP_FL_ENC_UTF_8), 0) << name;
    }
    ASSERT_EQ(zip_close(zip), 0);
    extendAndCheck(file, {QStringLiteral("Data"), QStringLiteral("Sheet2")}, QStringLiteral("Sheet3"));
}

TEST_F(ExtendWorkbookTest, WorkbookMadeByOpenpyxlGetsANewLastSheet)
{
    const QString file = pathOf(QStringLiteral("openpyxl.xlsx"));
    test::makeWorkbook(QStringLiteral("openpyxl"), file);
    extendAndCheck(file, {QStringLiteral("Readings"), QStringLiteral("Sheet2")}, QStringLiteral("Sheet3"));
}

TEST_F(ExtendWorkbookTest, NewNameSkipsNamesTakenInAnyLetterCase)
{
    const QString file = pathOf(QStringLiteral("taken.xlsx"));
    makeLibxlsxwriterWorkbook(file, "sheet3");
    extendAndCheck(file, {QStringLiteral("Data"), QStringLiteral("sheet3")}, QStringLiteral("Sheet4"));
}

TEST_F(ExtendWorkbookTest, ForwardingTwiceAddsTwoSheets)
{
    const QString file = pathOf(QStringLiteral("twice.xlsx"));
    makeLibxlsxwriterWorkbook(file);
    XlsxConnector connector(settingsHere());
    SheetContent first, second;
    first.title = QStringLiteral("First");
    first.rows = test::realtimeRows(4);
    second.title = QStringLiteral("Second");
    second.rows = test::realtimeRows(9);
    forwardInto(connector, file, first);
    forwardInto(connector, file, second);
    const QJsonObject after = test::describeWorkbook(file);
    EXPECT_EQ(test::sheetNames(after), (QStringList{QStringLiteral("Data"), QStringLiteral("Sheet2"),
                                                    QStringLiteral("Sheet3"), QStringLiteral("Sheet4")}));
    test::expectForwardedSheet(test::sheetNamed(after, QStringLiteral("Sheet3")), first);
    test::expectForwardedSheet(test::sheetNamed(after, QStringLiteral("Sheet4")), second);
    EXPECT_TRUE(m_failures.isEmpty());
}

TEST_F(ExtendWorkbookTest, OpenWorkbookIsFoundByItsFullName)
{
    const QString file = pathOf(QStringLiteral("open.xlsx"));
    makeLibxlsxwriterWorkbook(file);
    XlsxConnector connector(settingsHere());
    auto app = connector.CreateObject();
    auto workbook = app->Workbooks()->Open(file);
    EXPECT_EQ(workbook->FullName(), file);
    EXPECT_EQ(app->Workbooks()->Open(file)->FullName(), file);
    EXPECT_EQ(app->Workbooks()->Count(), 1);
    auto sheets = workbook->Worksheets();
    EXPECT_EQ(sheets->Count(), 2);
    // The sheets of the file can be named but not written or moved.
    EXPECT_THROW(sheets->Item(1)->Range(QStringLiteral("A1")), RuntimeError);
    EXPECT_THROW(sheets->Item(1)->Move(sheets->Item(2)), RuntimeError);
    // The added sheet goes before the active (first) one until it is moved to the end.
    auto added = sheets->Add();
    EXPECT_EQ(sheets->Count(), 3);
    added->Move(sheets->Item(3));
    added->Range(QStringLiteral("B2"))->setValue(QStringLiteral("moved"));
    app->setVisible(true);
    EXPECT_EQ(test::sheetNames(test::describeWorkbook(file)),
              (QStringList{QStringLiteral("Data"), QStringLiteral("Sheet2"), QStringLiteral("Sheet3")}));
}

TEST_F(ExtendWorkbookTest, AddedSheetWithoutContentLeavesTheFileAlone)
{
    const QString file = pathOf(QStringLiteral("quiet.xlsx"));
    makeLibxlsxwriterWorkbook(file);
    const QByteArray before = test::fileBytes(file);
    const QDateTime modified = QFileInfo(file).lastModified();
    XlsxConnector connector(settingsHere());
    auto app = connector.CreateObject();
    app->setInteractive(false);
    auto sheets = app->Workbooks()->Open(file)->Worksheets();
    sheets->Add()->Move(sheets->Item(sheets->Count()));
    app->setInteractive(true);
    app.reset();
    EXPECT_EQ(test::fileBytes(file), before);
    EXPECT_EQ(QFileInfo(file).lastModified(), modified);
    EXPECT_TRUE(connector.writtenFiles().isEmpty());
}

// --- Files that cannot be extended ---------------------------------------------------------

struct Refusal {
    const char* name;
    const char* file;   // created in the test folder (see makeCandidate)
    const char* reason; // a part of the message
};

void PrintTo(const Refusal& refusal, std::ostream* out)
{
    *out << refusal.name;
}

class RefusedWorkbookTest : public ExtendWorkbookTest, public ::testing::WithParamInterface<Refusal> {
protected:
    QString makeCandidate(const Refusal& refusal)
    {
        const QString kind = QString::fromLatin1(refusal.name);
        const QString file = pathOf(QString::fromLatin1(refusal.file));
        if (kind == QLatin1String("xls")) {
            QFile f(file);
            EXPECT_TRUE(f.open(QIODevice::WriteOnly));
            f.write(QByteArray::fromHex("D0CF11E0A1B11AE1") + QByteArray(504, '\0'));
        } else if (kind == QLatin1String("missing")) {
            // nothing
        } else if (kind == QLatin1String("garbage")) {
            QFile f(file);
            EXPECT_TRUE(f.open(QIODevice::WriteOnly));
            f.write(QByteArray("this is no workbook at all, only text\n").repeated(20));
        } else if (kind == QLatin1String("truncated")) {
            makeLibxlsxwriterWorkbook(file);
            QByteArray bytes = test::fileBytes(file);
            QFile f(file);
            EXPECT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
            f.write(bytes.left(bytes.size() / 2));
        } else if (kind == QLatin1String("lock-tilde") || kind == QLatin1String("lock-dot")) {
            makeLibxlsxwriterWorkbook(file);
            const QString lock = kind == QLatin1String("lock-tilde") ? QStringLiteral("~$book.xlsx")
                                                                     : QStringLiteral(".~lock.book.xlsx#");
            QFile f(pathOf(lock));
            EXPECT_TRUE(f.open(QIODevice::WriteOnly));
            f.write("user");
        } else {
            test::makeWorkbook(kind, file);
        }
        return file;
    }
};

TEST_P(RefusedWorkbookTest, IsRefusedWithAClearMessageAndLeftAsItWas)
{
    const Refusal refusal = GetParam();
    const QString file = makeCandidate(refusal);
    const QByteArray bytes = test::fileBytes(file);
    const QStringList folder = test::folderEntries(m_dir.path());

    XlsxConnector connector(settingsHere());
    auto app = connector.CreateObject();
    try {
        app->Workbooks()->Open(file);
        ADD_FAILURE() << "the workbook was accepted";
    } catch (const RuntimeError& error) {
        EXPECT_TRUE(error.description().contains(QString::fromUtf8(refusal.reason)))
            << error.description().toStdString();
        EXPECT_TRUE(error.description().contains(QString::fromLatin1(refusal.file))) << error.description().toStdString();
    }
    EXPECT_EQ(app->Workbooks()->Count(), 0);
    app->setVisible(true);
    app.reset();
    EXPECT_EQ(test::fileBytes(file), bytes);
    EXPECT_EQ(test::folderEntries(m_dir.path()), folder);
    EXPECT_TRUE(connector.writtenFiles().isEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Files, RefusedWorkbookTest,
    ::testing::Values(Refusal{"xls", "old.xls", "save it as .xlsx first"},
                      Refusal{"missing", "missing.xlsx", "cannot be found"},
                      Refusal{"garbage", "garbage.xlsx", "not a zip package"},
                      Refusal{"truncated", "truncated.xlsx", "not a zip package"},
                      Refusal{"lock-tilde", "book.xlsx", "open in another program"},
                      Refusal{"lock-dot", "book.xlsx", "open in another program"},
                      Refusal{"strict", "strict.xlsx", "Strict Open XML"},
                      Refusal{"doctype", "doctype.xlsx", "document type declaration"},
                      Refusal{"badprefix", "badprefix.xlsx", "xl/workbook.xml: the namespace prefix \"2\" is not a name"},
                      Refusal{"undeclared", "undeclared.xlsx", "xl/workbook.xml: the namespace prefix of \""},
                      Refusal{"slip", "slip.xlsx", "unsafe name (\"../evil.txt\")"},
                      Refusal{"huge", "huge.xlsx", "unpacks to more than this program reads"},
                      Refusal{"encrypted", "locked.xlsx", "encrypted with a password"},
                      Refusal{"notworkbook", "plain.xlsx", "without the parts of a workbook"},
                      Refusal{"docx", "text.xlsx", "main part is \"application/vnd.openxmlformats-officedocument.wordprocessingml"}),
    [](const ::testing::TestParamInfo<Refusal>& info) {
        std::string name = info.param.name;
        std::replace(name.begin(), name.end(), '-', '_');
        return name;
    });

// --- Failures after the workbook was opened -------------------------------------------------

class FailedWriteTest : public ExtendWorkbookTest {
protected:
    // Opens the workbook, writes a sheet, runs `meanwhile`, hands back; the write must
    // fail with `reason` and leave the file and its folder as they were.
    void expectFailedWrite(const std::function<void(const QString& file)>& meanwhile, const QString& reason,
                           XlsxSettings settings)
    {
        const QString file = pathOf(QStringLiteral("book.xlsx"));
        makeLibxlsxwriterWorkbook(file);
        const QByteArray bytes = test::fileBytes(file);
        XlsxConnector connector(settings);
        auto app = connector.CreateObject();
        auto sheets = app->Workbooks()->Open(file)->Worksheets();
        auto sheet = sheets->Add();
        sheet->Move(sheets->Item(sheets->Count()));
        SheetContent content;
        content.rows = test::realtimeRows(6);
        test::writeWholeDocument(*sheet, content);
        meanwhile(file);
        const QStringList expectedFolder = test::folderEntries(m_dir.path());
        EXPECT_THROW(app->setVisible(true), RuntimeError);
        ASSERT_EQ(m_failures.size(), 1);
        EXPECT_TRUE(m_failures[0].contains(reason)) << m_failures[0].toStdString();
        app.reset();
        EXPECT_EQ(m_failures.size(), 1);
        if (QFile::exists(file)) {
            EXPECT_EQ(test::fileBytes(file), bytes);
        }
        EXPECT_EQ(test::folderEntries(m_dir.path()), expectedFolder);
        EXPECT_TRUE(connector.writtenFiles().isEmpty());
    }
};

TEST_F(FailedWriteTest, LockTakenAfterOpening)
{
    expectFailedWrite(
        [&](const QString&) {
            QFile lock(pathOf(QStringLiteral("~$book.xlsx")));
            ASSERT_TRUE(lock.open(QIODevice::WriteOnly));
        },
        QStringLiteral("open in another program"), settingsHere());
}

TEST_F(FailedWriteTest, FileRemovedAfterOpening)
{
    expectFailedWrite([](const QString& file) { QFile::remove(file); }, QStringLiteral("cannot be found"), settingsHere());
}

TEST_F(FailedWriteTest, FailureJustBeforeReplacingKeepsTheOriginal)
{
    XlsxSettings settings = settingsHere();
    settings.beforeCommit = [] { throw RuntimeError(QStringLiteral("No space left on the device.")); };
    expectFailedWrite([](const QString&) {}, QStringLiteral("No space left"), settings);
}

TEST_F(ExtendWorkbookTest, FolderThatTakesNoNewFileIsRefusedOnOpening)
{
    const QString folder = pathOf(QStringLiteral("shelf"));
    ASSERT_TRUE(QDir().mkpath(folder));
    const QString file = QDir(folder).filePath(QStringLiteral("book.xlsx"));
    makeLibxlsxwriterWorkbook(file);
    const QByteArray bytes = test::fileBytes(file);
    test::ReadOnlyFolder readOnly(folder);
    if (!readOnly.done())
        GTEST_SKIP() << "this file system cannot make a folder read-only for the user running the tests";
    XlsxConnector connector(settingsHere());
    auto app = connector.CreateObject();
    try {
        app->Workbooks()->Open(file);
        ADD_FAILURE() << "the workbook was accepted";
    } catch (const RuntimeError& error) {
        EXPECT_TRUE(error.description().contains(QStringLiteral("No file can be created in the folder")))
            << error.description().toStdString();
    }
    EXPECT_EQ(test::fileBytes(file), bytes);
    EXPECT_EQ(test::folderEntries(folder), QStringList{QStringLiteral("book.xlsx")});
}

TEST(SheetNames, NextFreeNameAndValidity)
{
    using xlsx::nextSheetName;
    EXPECT_EQ(nextSheetName({QStringLiteral("Sheet1")}), QStringLiteral("Sheet2"));
    EXPECT_EQ(nextSheetName({QStringLiteral("Data"), QStringLiteral("Notes")}), QStringLiteral("Sheet3"));
    EXPECT_EQ(nextSheetName({QStringLiteral("Data"), QStringLiteral("SHEET3")}), QStringLiteral("Sheet4"));
    EXPECT_EQ(nextSheetName({}), QStringLiteral("Sheet1"));
    EXPECT_TRUE(xlsx::isValidSheetName(QStringLiteral("Sheet12")));
    EXPECT_TRUE(xlsx::isValidSheetName(QString(31, QLatin1Char('x'))));
    EXPECT_FALSE(xlsx::isValidSheetName(QString(32, QLatin1Char('x'))));
    EXPECT_FALSE(xlsx::isValidSheetName(QString()));
    for (const char* bad : {"a[b", "a]b", "a:b", "a*b", "a?b", "a/b", "a\\b", "'quoted'"})
        EXPECT_FALSE(xlsx::isValidSheetName(QString::fromLatin1(bad))) << bad;
}

} // namespace
} // namespace quvo
