// Forwarding end to end: documents built with DataDocument (or read from data files),
// forwarded by the engine through the .xlsx backend, and the files read back by an
// independent reader. Realtime, LOGGING-mode and SAVE-mode documents, realtime rows as
// they arrive, new sheets of existing workbooks, every refusal and failed write, texts
// that look like formulas, titles with XML specials.

#include "SheetExpectations.h"
#include "WorkbookTestSupport.h"

#include "document/DataDocument.h"
#include "document/Limits.h"
#include "forward/Forward.h"
#include "forward/XlsxBackend.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/ProgressView.h"
#include "resources/RuntimeError.h"
#include "resources/TextNumber.h"
#include "support/ScriptedPrompter.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <ostream>
#include <set>

inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace quvo {
namespace {

using test::SheetContent;
using test::contentOf;

// Readings of a recording: millivolts with exponents, words among them.
const char* const Readings[][3] = {
    {"1.234E-3", "VDC", "1.234E-3"}, {"-0.5", "VDC", "-0.5"}, {"ERROR", "", "ERROR"}, {"12", "VDC", "12"},
    {"+OL", "VDC", "+OL"},           {"2.5", "VDC", "2.5"},   {"-OL", "VDC", "-OL"},   {"0.001", "VDC", "0.001"},
};

QString timeOf(int i)
{
    const int second = 30 + i;
    return QStringLiteral("10:%1:%2").arg(15 + second / 60, 2, 10, QLatin1Char('0')).arg(second % 60, 2, 10, QLatin1Char('0'));
}

class ForwardWorkbookTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        resetProgramState();
        m_out = m_dir.filePath(QStringLiteral("out"));
        ASSERT_TRUE(QDir().mkpath(m_out));
        programState().WorkPath = m_dir.filePath(QStringLiteral("WORK.~~~"));
    }
    void TearDown() override { resetProgramState(); }

    // A connector writing new workbooks into out/, its failures shown by the engine.
    std::unique_ptr<XlsxConnector> connectorFor(Forward& engine, XlsxSettings settings = {})
    {
        if (settings.newWorkbookLocation.isEmpty())
            settings.newWorkbookLocation = m_out;
        settings.reportFailure = engine.handBackFailureReporter();
        auto connector = std::make_unique<XlsxConnector>(settings);
        engine.setConnector(connector.get());
        engine.setPrompter(&prompter);
        return connector;
    }

    // Whole-document forwarding of `doc` the way File > Forward runs it.
    QStringList forward(DataDocument& doc, XlsxSettings settings = {})
    {
        Forward engine;
        auto connector = connectorFor(engine, std::move(settings));
        programState().CurrentDoc = &doc;
        engine.ForwardToExcel();
        programState().CurrentDoc = nullptr;
        EXPECT_EQ(programState().CommState, CommStates::Idle);
        return connector->writtenFiles();
    }

    std::unique_ptr<DataDocument> realtimeDocument(int rows)
    {
        auto doc = std::make_unique<DataDocument>();
        doc->OpenNew(DataKinds::Realtime);
        for (int i = 0; i < rows; ++i) {
            const auto& r = Readings[i % 8];
            EXPECT_TRUE(doc->AddGridrow());
            const QString value = QString::fromLatin1(r[0]);
            const bool numeric = value != QStringLiteral("ERROR") && !value.endsWith(QStringLiteral("OL"));
            doc->AddRealtimedata(timeOf(i), value, QString::fromLatin1(r[1]), numeric, QString::fromLatin1(r[2]));
        }
        return doc;
    }

    std::unique_ptr<DataDocument> storedDocument(int kind, int rows)
    {
        auto doc = std::make_unique<DataDocument>();
        doc->OpenNew(kind);
        programState().MeterModel = QStringLiteral("1");
        for (int i = 0; i < rows; ++i) {
            const auto& r = Readings[i % 8];
            EXPECT_TRUE(doc->AddGridrow());
            doc->AddData(kind == DataKinds::Save ? QString() : timeOf(i), QString::fromLatin1(r[0]),
                         QString::fromLatin1(r[1]), QString::fromLatin1(r[2]));
        }
        doc->DispCalculation();
        return doc;
    }

    // Realtime recording with forwarding: each reading added to the document, then its row
    // appended to the sheet, as acquisition does.
    static void recordWhileForwarding(DataDocument& doc, Forward& engine, int rows)
    {
        for (int i = 0; i < rows; ++i) {
            const auto& r = Readings[i % 8];
            const QString value = QString::fromLatin1(r[0]);
            const bool numeric = value != QStringLiteral("ERROR") && !value.endsWith(QStringLiteral("OL"));
            ASSERT_TRUE(doc.AddGridrow());
            doc.AddRealtimedata(timeOf(i), value, QString::fromLatin1(r[1]), numeric, QString::fromLatin1(r[2]));
            ASSERT_TRUE(engine.AppendRealtimeRow(timeOf(i), value, QString::fromLatin1(r[1])));
        }
    }

    QString inDir(const QString& name) const { return m_dir.filePath(name); }

    // Forwarding into `file` is refused: the message names the reason, the file and its
    // folder stay as they were, nothing is written.
    void expectRefused(const QString& file, const QString& reason)
    {
        const QString folder = QFileInfo(file).absolutePath();
        const QStringList entries = test::folderEntries(folder);
        const QByteArray bytes = test::fileBytes(file);
        auto doc = realtimeDocument(5);
        programState().ExcelFile = file;
        const QStringList written = forward(*doc);
        EXPECT_TRUE(written.isEmpty());
        ASSERT_EQ(prompter.messages.size(), 1) << prompter.messageTexts().join(QLatin1Char('\n')).toStdString();
        EXPECT_TRUE(prompter.messages[0].text.contains(reason)) << prompter.messages[0].text.toStdString();
        EXPECT_EQ(prompter.messages[0].text, programState().LastError);
        EXPECT_EQ(prompter.messages[0].icon, PromptIcon::Exclamation);
        EXPECT_EQ(test::fileBytes(file), bytes);
        EXPECT_EQ(test::folderEntries(folder), entries);
        EXPECT_TRUE(test::folderEntries(m_out).isEmpty());
    }

    QTemporaryDir m_dir;
    QString m_out;
    test::ScriptedPrompter prompter;
};

// --- New workbooks ----------------------------------------------------------------------------------

TEST_F(ForwardWorkbookTest, RealtimeDocument)
{
    auto doc = realtimeDocument(23);
    programState().ExcelTitle = QStringLiteral("Bench supply");
    const QStringList written = forward(*doc);
    ASSERT_EQ(written.size(), 1);
    EXPECT_TRUE(prompter.messages.isEmpty()) << prompter.messageTexts().join(QLatin1Char('\n')).toStdString();
    EXPECT_EQ(QFileInfo(written[0]).absolutePath(), QFileInfo(m_out).absoluteFilePath());
    EXPECT_TRUE(QFileInfo(written[0]).fileName().startsWith(QStringLiteral("Bench supply ")));
    const QJsonObject book = test::describeWorkbook(written[0]);
    EXPECT_EQ(test::sheetNames(book), QStringList{QStringLiteral("Sheet1")});
    test::expectForwardedSheet(test::sheetNamed(book, QStringLiteral("Sheet1")), contentOf(*doc, QStringLiteral("Bench supply")));
}

TEST_F(ForwardWorkbookTest, LoggingModeDocument)
{
    auto doc = storedDocument(DataKinds::Logging, 17);
    programState().ExcelTitle = QStringLiteral("Logged");
    const QStringList written = forward(*doc);
    ASSERT_EQ(written.size(), 1);
    const QJsonObject book = test::describeWorkbook(written[0]);
    test::expectForwardedSheet(test::sheetNamed(book, QStringLiteral("Sheet1")), contentOf(*doc, QStringLiteral("Logged")));
}

TEST_F(ForwardWorkbookTest, SaveModeDocumentHasNumberedRows)
{
    auto doc = storedDocument(DataKinds::Save, 9);
    programState().ExcelTitle = QStringLiteral("Saved slots");
    const QStringList written = forward(*doc);
    ASSERT_EQ(written.size(), 1);
    const QJsonObject book = test::describeWorkbook(written[0]);
    const QJsonObject sheet = test::sheetNamed(book, QStringLiteral("Sheet1"));
    const SheetContent content = contentOf(*doc, QStringLiteral("Saved slots"));
    ASSERT_TRUE(content.saveMode);
    test::expectForwardedSheet(sheet, content);
    // Row numbers are numbers in column B; its heading is text.
    const QJsonObject cells = sheet.value(QStringLiteral("cells")).toObject();
    EXPECT_EQ(cells.value(QStringLiteral("B5")).toObject().value(QStringLiteral("type")).toString(), QStringLiteral("n"));
    EXPECT_EQ(cells.value(QStringLiteral("B4")).toObject().value(QStringLiteral("value")).toString(), QStringLiteral("No."));
}

TEST_F(ForwardWorkbookTest, OneRow)
{
    auto doc = realtimeDocument(1);
    const QStringList written = forward(*doc);
    ASSERT_EQ(written.size(), 1);
    const QJsonObject book = test::describeWorkbook(written[0]);
    test::expectForwardedSheet(test::sheetNamed(book, QStringLiteral("Sheet1")), contentOf(*doc, QString()));
}

TEST_F(ForwardWorkbookTest, TitleWithXmlSpecialsSurvives)
{
    auto doc = realtimeDocument(4);
    const QString title = QStringLiteral("Ripple <5 mV> & \"noise\" 'test' / ]]>");
    programState().ExcelTitle = title;
    const QStringList written = forward(*doc);
    ASSERT_EQ(written.size(), 1);
    const QJsonObject book = test::describeWorkbook(written[0]);
    const QJsonObject sheet = test::sheetNamed(book, QStringLiteral("Sheet1"));
    test::expectForwardedSheet(sheet, contentOf(*doc, title));
    EXPECT_EQ(sheet[QStringLiteral("cells")].toObject()[QStringLiteral("B2")].toObject()[QStringLiteral("value")].toString(), title);
    EXPECT_EQ(sheet[QStringLiteral("charts")].toArray()[0].toObject()[QStringLiteral("title")].toString(), title);
}

// --- Texts that look like formulas ------------------------------------------------------------------

TEST_F(ForwardWorkbookTest, FormulaLikeTextsFromADataFileStayText)
{
    // A realtime data file whose time and mode fields hold formula-like texts.
    const QByteArray file = "21,0\r\n9000,6000,0\r\n00,00,00,05\r\nTrue,00,01,00,00\r\n20\r\nTrue,1,1\r\n"
                            "True,0,10,1,1\r\n"
                            "=1+1,1.5,@SUM(A1),1.5\r\n"
                            "@SUM(A1),2.25,=1+1,2.25\r\n"
                            "+cmd|' /C calc'!A0,0.75,+cmd|' /C calc'!A0,0.75\r\n"
                            "-2+3,ERROR,=HYPERLINK(\"x\"),ERROR\r\n";
    const QString path = inDir(QStringLiteral("injected.CSV"));
    {
        QFile f(path);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(file);
    }
    DataDocument doc;
    doc.setPrompter(&prompter);
    doc.OpenNew(DataDocument::KindBeforeOpen);
    ASSERT_TRUE(doc.OpenFile(path)) << prompter.messageTexts().join(QLatin1Char('\n')).toStdString();
    ASSERT_EQ(doc.GetDatacount(), 4);
    ASSERT_EQ(doc.TextMatrix(1, 1), QStringLiteral("=1+1"));

    const QStringList written = forward(doc);
    ASSERT_EQ(written.size(), 1);
    const QJsonObject sheet = test::sheetNamed(test::describeWorkbook(written[0]), QStringLiteral("Sheet1"));
    test::expectForwardedSheet(sheet, contentOf(doc, QString()));
    EXPECT_EQ(sheet[QStringLiteral("formula_elements")].toInt(), 0);
    const QJsonObject cells = sheet[QStringLiteral("cells")].toObject();
    const std::pair<const char*, const char*> expected[] = {
        {"B5", "=1+1"},        {"D5", "@SUM(A1)"}, {"B6", "@SUM(A1)"}, {"D6", "=1+1"}, {"B7", "+cmd|' /C calc'!A0"},
        {"D7", "+cmd|' /C calc'!A0"}, {"B8", "-2+3"}, {"D8", "=HYPERLINK(\"x\")"},
    };
    for (const auto& [name, text] : expected) {
        const QJsonObject cell = cells[QString::fromLatin1(name)].toObject();
        EXPECT_EQ(cell[QStringLiteral("type")].toString(), QStringLiteral("s")) << name;
        EXPECT_EQ(cell[QStringLiteral("value")].toString(), QString::fromLatin1(text)) << name;
    }
}

TEST_F(ForwardWorkbookTest, FormulaLikeReadingsInTheGeneralColumnStayText)
{
    auto doc = std::make_unique<DataDocument>();
    doc->OpenNew(DataKinds::Realtime);
    programState().RealtimeDoc = doc.get();
    Forward engine;
    auto connector = connectorFor(engine);
    programState().NoForward = false; // the Forward dialog was confirmed
    ASSERT_TRUE(engine.BeginRealtimeForward());
    const QString texts[] = {QStringLiteral("=1+1"), QStringLiteral("@SUM(A1)"), QStringLiteral("+cmd|' /C calc'!A0"),
                             QStringLiteral("-2+3")};
    int row = 0;
    for (const QString& text : texts)
        ASSERT_TRUE(engine.AppendRealtimeRow(timeOf(row++), text, text));
    engine.EndRealtimeForward();
    ASSERT_EQ(connector->writtenFiles().size(), 1);
    const QJsonObject sheet = test::sheetNamed(test::describeWorkbook(connector->writtenFiles()[0]), QStringLiteral("Sheet1"));
    EXPECT_EQ(sheet[QStringLiteral("formula_elements")].toInt(), 0);
    const QJsonObject cells = sheet[QStringLiteral("cells")].toObject();
    for (int i = 0; i < 4; ++i) {
        for (const char* column : {"C", "D"}) {
            const QJsonObject cell = cells[QString::fromLatin1(column) + QString::number(i + 5)].toObject();
            EXPECT_EQ(cell[QStringLiteral("type")].toString(), QStringLiteral("s")) << column << i;
            EXPECT_EQ(cell[QStringLiteral("value")].toString(), texts[i]) << column << i;
        }
    }
}

// --- Realtime forwarding -------------------------------------------------------------------------------

TEST_F(ForwardWorkbookTest, RealtimeRowsAsTheyArriveThenEnd)
{
    auto doc = std::make_unique<DataDocument>();
    doc->OpenNew(DataKinds::Realtime);
    programState().RealtimeDoc = doc.get();
    programState().ExcelTitle = QStringLiteral("Live");
    Forward engine;
    auto connector = connectorFor(engine);

    programState().NoForward = false; // the Forward dialog was confirmed
    ASSERT_TRUE(engine.BeginRealtimeForward());
    recordWhileForwarding(*doc, engine, 12);
    EXPECT_TRUE(test::folderEntries(m_out).isEmpty()) << "written when the recording ends";
    engine.EndRealtimeForward();

    ASSERT_EQ(connector->writtenFiles().size(), 1);
    EXPECT_TRUE(prompter.messages.isEmpty());
    EXPECT_FALSE(engine.RealtimeExcel());
    const QJsonObject book = test::describeWorkbook(connector->writtenFiles()[0]);
    test::expectForwardedSheet(test::sheetNamed(book, QStringLiteral("Sheet1")), contentOf(*doc, QStringLiteral("Live")));
}

// --- Limits ------------------------------------------------------------------------------------------

namespace {

Limits zeroToTwoVolts()
{
    Limits limits;
    limits.upper = 2;
    limits.lower = 0;
    limits.unit = QStringLiteral("VDC");
    return limits;
}

// What the rules say of the readings of `doc` against 0 .. 2 V, and how the sheet must
// show it: the limits and the counts in I4:K7, the readings judged HI and LO highlighted.
void expectJudgementOnSheet(const QJsonObject& sheet, DataDocument& doc, const Limits& limits)
{
    const QJsonObject cells = sheet.value(QStringLiteral("cells")).toObject();
    const auto cell = [&](const QString& name) { return cells.value(name).toObject(); };
    const QString hiFill = QStringLiteral("FFC7CE");
    const QString loFill = QStringLiteral("BDD7EE");

    JudgementCounts counts;
    for (int row = 1; row <= doc.GetDatacount(); ++row) {
        const QString value = doc.TextMatrix(row, 2);
        double number = 0;
        Judgement j = Judgement::None;
        if (value == QLatin1String("+OL"))
            j = Judgement::Hi;
        else if (value == QLatin1String("-OL"))
            j = Judgement::Lo;
        else if (parseNumber(value, number))
            j = number > *limits.upper ? Judgement::Hi : number < *limits.lower ? Judgement::Lo : Judgement::Pass;
        counts.add(j);
        const QString name = QStringLiteral("C%1").arg(row + 4);
        const QJsonValue fill = cell(name).value(QStringLiteral("fill"));
        if (j == Judgement::Hi)
            EXPECT_EQ(fill.toString(), hiFill) << name.toStdString();
        else if (j == Judgement::Lo)
            EXPECT_EQ(fill.toString(), loFill) << name.toStdString();
        else
            EXPECT_TRUE(fill.isUndefined()) << name.toStdString();
    }
    ASSERT_GT(counts.hi, 0);
    ASSERT_GT(counts.lo, 0);

    EXPECT_EQ(cell(QStringLiteral("I4")).value(QStringLiteral("value")).toString(), QStringLiteral("UPPER"));
    EXPECT_EQ(cell(QStringLiteral("I4")).value(QStringLiteral("format")).toString(), QStringLiteral("@"));
    EXPECT_EQ(cell(QStringLiteral("J4")).value(QStringLiteral("type")).toString(), QStringLiteral("n"));
    EXPECT_EQ(cell(QStringLiteral("J4")).value(QStringLiteral("value")).toDouble(), *limits.upper);
    EXPECT_EQ(cell(QStringLiteral("K4")).value(QStringLiteral("value")).toString(), limits.unit);
    EXPECT_EQ(cell(QStringLiteral("I5")).value(QStringLiteral("value")).toString(), QStringLiteral("LOWER"));
    EXPECT_EQ(cell(QStringLiteral("J5")).value(QStringLiteral("value")).toDouble(), *limits.lower);
    EXPECT_EQ(cell(QStringLiteral("K5")).value(QStringLiteral("value")).toString(), limits.unit);
    EXPECT_EQ(cell(QStringLiteral("I6")).value(QStringLiteral("value")).toString(), QStringLiteral("HI"));
    EXPECT_EQ(cell(QStringLiteral("J6")).value(QStringLiteral("type")).toString(), QStringLiteral("n"));
    EXPECT_EQ(cell(QStringLiteral("J6")).value(QStringLiteral("value")).toInt(), counts.hi);
    EXPECT_EQ(cell(QStringLiteral("I7")).value(QStringLiteral("value")).toString(), QStringLiteral("LO"));
    EXPECT_EQ(cell(QStringLiteral("J7")).value(QStringLiteral("value")).toInt(), counts.lo);
    for (const char* name : {"I6", "J6"})
        EXPECT_EQ(cell(QLatin1String(name)).value(QStringLiteral("fill")).toString(), hiFill) << name;
    for (const char* name : {"I7", "J7"})
        EXPECT_EQ(cell(QLatin1String(name)).value(QStringLiteral("fill")).toString(), loFill) << name;
    // Above the chart, which starts in row 8; values only.
    for (const char* name : {"I8", "J8", "K8", "K6", "K7"})
        EXPECT_FALSE(cells.contains(QLatin1String(name))) << name;
    EXPECT_EQ(sheet.value(QStringLiteral("formula_elements")).toInt(), 0);
}

} // namespace

TEST_F(ForwardWorkbookTest, WithLimitsTheSummaryCarriesTheLimitsAndCountsAndTheReadingsAreMarked)
{
    auto doc = realtimeDocument(16);
    doc->setLimits(zeroToTwoVolts());
    programState().ExcelTitle = QStringLiteral("Judged");
    const QStringList written = forward(*doc);
    ASSERT_EQ(written.size(), 1);
    EXPECT_TRUE(prompter.messages.isEmpty()) << prompter.messageTexts().join(QLatin1Char('\n')).toStdString();
    const QJsonObject sheet = test::sheetNamed(test::describeWorkbook(written[0]), QStringLiteral("Sheet1"));
    // Everything of before stays as it was.
    test::expectForwardedSheet(sheet, contentOf(*doc, QStringLiteral("Judged")));
    expectJudgementOnSheet(sheet, *doc, zeroToTwoVolts());
    EXPECT_EQ(doc->judgementCounts(), (JudgementCounts{6, 4, 4}));

    // LibreOffice reads the same: it opens the workbook and saves what it read.
    const QString resaved = test::resaveWithLibreOffice(written[0], m_dir.path());
    ASSERT_FALSE(resaved.isEmpty());
    const QJsonObject read = test::sheetNamed(test::describeWorkbook(resaved), QStringLiteral("Sheet1"));
    ASSERT_FALSE(read.isEmpty());
    expectJudgementOnSheet(read, *doc, zeroToTwoVolts());
    const QJsonObject cells = read.value(QStringLiteral("cells")).toObject();
    EXPECT_EQ(cells.value(QStringLiteral("G6")).toObject().value(QStringLiteral("value")).toString(), doc->GetDispavg());
}

TEST_F(ForwardWorkbookTest, AnUnsetLimitIsDashesAndLimitsOfAnotherUnitAddNothing)
{
    auto doc = realtimeDocument(8);
    Limits upperOnly = zeroToTwoVolts();
    upperOnly.lower.reset();
    doc->setLimits(upperOnly);
    QStringList written = forward(*doc);
    ASSERT_EQ(written.size(), 1);
    QJsonObject cells = test::sheetNamed(test::describeWorkbook(written[0]), QStringLiteral("Sheet1"))
                            .value(QStringLiteral("cells"))
                            .toObject();
    EXPECT_EQ(cells.value(QStringLiteral("J5")).toObject().value(QStringLiteral("value")).toString(), QStringLiteral("-----"));
    EXPECT_EQ(cells.value(QStringLiteral("J5")).toObject().value(QStringLiteral("format")).toString(), QStringLiteral("@"));
    // Without a lower limit nothing is LO, "-OL" included; 12, "+OL" and 2.5 are HI.
    EXPECT_EQ(cells.value(QStringLiteral("J7")).toObject().value(QStringLiteral("value")).toInt(), 0);
    EXPECT_EQ(cells.value(QStringLiteral("J6")).toObject().value(QStringLiteral("value")).toInt(), 3);

    Limits ohms = zeroToTwoVolts();
    ohms.unit = QStringLiteral("OHM");
    doc->setLimits(ohms);
    written = forward(*doc);
    ASSERT_EQ(written.size(), 1);
    cells = test::sheetNamed(test::describeWorkbook(written[0]), QStringLiteral("Sheet1")).value(QStringLiteral("cells")).toObject();
    for (const QString& name : cells.keys()) {
        EXPECT_FALSE(name.startsWith(QLatin1Char('I')) || name.startsWith(QLatin1Char('J')) || name.startsWith(QLatin1Char('K')))
            << name.toStdString();
        EXPECT_FALSE(cells.value(name).toObject().contains(QStringLiteral("fill"))) << name.toStdString();
    }
}

TEST_F(ForwardWorkbookTest, RealtimeRowsWithLimitsAreMarkedAndCountedWhenTheRecordingEnds)
{
    auto doc = std::make_unique<DataDocument>();
    doc->OpenNew(DataKinds::Realtime);
    doc->setLimits(zeroToTwoVolts());
    programState().RealtimeDoc = doc.get();
    programState().ExcelTitle = QStringLiteral("Live judged");
    Forward engine;
    auto connector = connectorFor(engine);
    programState().NoForward = false;
    ASSERT_TRUE(engine.BeginRealtimeForward());
    recordWhileForwarding(*doc, engine, 12);
    engine.EndRealtimeForward();
    programState().RealtimeDoc = nullptr;
    ASSERT_EQ(connector->writtenFiles().size(), 1);
    const QJsonObject sheet = test::sheetNamed(test::describeWorkbook(connector->writtenFiles()[0]), QStringLiteral("Sheet1"));
    test::expectForwardedSheet(sheet, contentOf(*doc, QStringLiteral("Live judged")));
    expectJudgementOnSheet(sheet, *doc, zeroToTwoVolts());
}

TEST_F(ForwardWorkbookTest, RealtimeStoppedBeforeAnyRowWritesNothing)
{
    auto doc = std::make_unique<DataDocument>();
    doc->OpenNew(DataKinds::Realtime);
    programState().RealtimeDoc = doc.get();
    Forward engine;
    auto connector = connectorFor(engine);
    programState().NoForward = false; // the Forward dialog was confirmed
    ASSERT_TRUE(engine.BeginRealtimeForward());
    engine.EndRealtimeForward();
    EXPECT_TRUE(connector->writtenFiles().isEmpty());
    EXPECT_TRUE(test::folderEntries(m_out).isEmpty());
    EXPECT_TRUE(prompter.messages.isEmpty());
    EXPECT_FALSE(engine.RealtimeExcel());
}

TEST_F(ForwardWorkbookTest, RealtimeIntoAnExistingWorkbook)
{
    const QString file = inDir(QStringLiteral("Bench.xlsx"));
    test::makeWorkbook(QStringLiteral("openpyxl"), file);
    auto doc = std::make_unique<DataDocument>();
    doc->OpenNew(DataKinds::Realtime);
    programState().RealtimeDoc = doc.get();
    programState().ExcelFile = file;
    Forward engine;
    auto connector = connectorFor(engine);
    programState().NoForward = false; // the Forward dialog was confirmed
    ASSERT_TRUE(engine.BeginRealtimeForward());
    for (int i = 0; i < 5; ++i) {
        ASSERT_TRUE(doc->AddGridrow());
        doc->AddRealtimedata(timeOf(i), QStringLiteral("1.5"), QStringLiteral("VDC"), true, QStringLiteral("1.5"));
        ASSERT_TRUE(engine.AppendRealtimeRow(timeOf(i), QStringLiteral("1.5"), QStringLiteral("VDC")));
    }
    engine.EndRealtimeForward();
    EXPECT_EQ(connector->writtenFiles(), QStringList{file});
    const QJsonObject book = test::describeWorkbook(file);
    EXPECT_EQ(test::sheetNames(book), (QStringList{"Readings", "Sheet2", "Sheet3"}));
    test::expectForwardedSheet(test::sheetNamed(book, QStringLiteral("Sheet3")), contentOf(*doc, QString()));
}

// --- Existing workbooks -----------------------------------------------------------------------------------

TEST_F(ForwardWorkbookTest, NewLastSheetOfAnExistingWorkbookKeepsTheRest)
{
    const QString file = inDir(QStringLiteral("Bench.xlsx"));
    test::makeWorkbook(QStringLiteral("openpyxl"), file);
    const QJsonObject before = test::describeWorkbook(file);
    const QJsonObject entriesBefore = test::workbookEntries(file);
    auto doc = realtimeDocument(8);
    programState().ExcelFile = file;
    programState().ExcelTitle = QStringLiteral("Added");

    EXPECT_EQ(forward(*doc), QStringList{file});
    EXPECT_TRUE(prompter.messages.isEmpty()) << prompter.messageTexts().join(QLatin1Char('\n')).toStdString();

    const QJsonObject after = test::describeWorkbook(file);
    EXPECT_EQ(test::sheetNames(after), (QStringList{"Readings", "Sheet2", "Sheet3"}));
    test::expectForwardedSheet(test::sheetNamed(after, QStringLiteral("Sheet3")), contentOf(*doc, QStringLiteral("Added")));
    for (const QString& name : {QStringLiteral("Readings"), QStringLiteral("Sheet2")})
        EXPECT_EQ(test::sheetNamed(after, name), test::sheetNamed(before, name)) << name.toStdString();
    // The workbook opens on the new sheet, selected, as the spreadsheet program shows it.
    EXPECT_EQ(after[QStringLiteral("active_tab")].toInt(), 2);
    EXPECT_TRUE(test::sheetNamed(after, QStringLiteral("Sheet3"))[QStringLiteral("tab_selected")].toBool());
    // Parts that adding a sheet does not need to touch are byte for byte the same.
    const std::set<QString> patched = {QStringLiteral("[Content_Types].xml"), QStringLiteral("xl/workbook.xml"),
                                       QStringLiteral("xl/_rels/workbook.xml.rels"), QStringLiteral("xl/styles.xml"),
                                       QStringLiteral("docProps/app.xml")};
    const QJsonObject entriesAfter = test::workbookEntries(file);
    for (auto it = entriesBefore.begin(); it != entriesBefore.end(); ++it) {
        if (!patched.count(it.key())) {
            EXPECT_EQ(entriesAfter.value(it.key()), it.value()) << it.key().toStdString();
        }
    }
    EXPECT_EQ(test::folderEntries(m_dir.path()),
              (QStringList{QStringLiteral("Bench.xlsx"), QStringLiteral("out")}));
}

TEST_F(ForwardWorkbookTest, SheetNameTakenInAnotherLetterCaseIsSkipped)
{
    const QString file = inDir(QStringLiteral("Names.xlsx"));
    test::makeWorkbookWithSheets(file, {QStringLiteral("Data"), QStringLiteral("sheet3")});
    auto doc = realtimeDocument(3);
    programState().ExcelFile = file;
    EXPECT_EQ(forward(*doc), QStringList{file});
    EXPECT_TRUE(prompter.messages.isEmpty());
    const QJsonObject book = test::describeWorkbook(file);
    EXPECT_EQ(test::sheetNames(book), (QStringList{"Data", "sheet3", "Sheet4"}));
    test::expectForwardedSheet(test::sheetNamed(book, QStringLiteral("Sheet4")), contentOf(*doc, QString()));
}

TEST_F(ForwardWorkbookTest, SheetNameTakenWhileRecordingGetsTheNextName)
{
    const QString file = inDir(QStringLiteral("Shared.xlsx"));
    test::makeWorkbookWithSheets(file, {QStringLiteral("Data"), QStringLiteral("Notes")});
    auto doc = std::make_unique<DataDocument>();
    doc->OpenNew(DataKinds::Realtime);
    programState().RealtimeDoc = doc.get();
    programState().ExcelFile = file;
    Forward engine;
    auto connector = connectorFor(engine);
    programState().NoForward = false; // the Forward dialog was confirmed
    ASSERT_TRUE(engine.BeginRealtimeForward()); // the new sheet is "Sheet3" for now
    ASSERT_TRUE(doc->AddGridrow());
    doc->AddRealtimedata(timeOf(0), QStringLiteral("2"), QStringLiteral("VDC"), true, QStringLiteral("2"));
    ASSERT_TRUE(engine.AppendRealtimeRow(timeOf(0), QStringLiteral("2"), QStringLiteral("VDC")));
    // Meanwhile another program saves the workbook with a sheet of that name.
    test::makeWorkbookWithSheets(file, {QStringLiteral("Data"), QStringLiteral("Notes"), QStringLiteral("SHEET3")});
    engine.EndRealtimeForward();
    EXPECT_TRUE(prompter.messages.isEmpty()) << prompter.messageTexts().join(QLatin1Char('\n')).toStdString();
    const QJsonObject book = test::describeWorkbook(file);
    EXPECT_EQ(test::sheetNames(book), (QStringList{"Data", "Notes", "SHEET3", "Sheet4"}));
    test::expectForwardedSheet(test::sheetNamed(book, QStringLiteral("Sheet4")), contentOf(*doc, QString()));
}

// --- Cancel: the person's workbook stays byte for byte, no new file is left ---------------------------

// What the progress dialog's Cancel does to a forwarding (the dialog's model sets both).
void pressCancel()
{
    programState().LastError = QStringLiteral("Canceled.");
    programState().NoForward = true;
}

// The progress dialog, its Cancel clicked at one moment of the forwarding.
class CancellingProgress : public ProgressView {
public:
    enum class When { OnShow, AtRow, Never };
    CancellingProgress(When when, int row) : m_when(when), m_row(row) {}
    void show() override
    {
        // Clicked as soon as the dialog is up; the click is handled when events first run.
        if (m_when == When::OnShow)
            QMetaObject::invokeMethod(QCoreApplication::instance(), [] { pressCancel(); }, Qt::QueuedConnection);
    }
    void unload() override {}
    void SetCaption(const QString&) override {}
    void SetMessage(const QString&) override {}
    void setCancelEnabled(bool) override {}
    void RenProgress(bool, std::int16_t current, std::int16_t) override
    {
        if (m_when == When::AtRow && current == m_row)
            pressCancel();
    }

private:
    When m_when;
    int m_row;
};

QByteArray sha256Of(const QString& path)
{
    return QCryptographicHash::hash(test::fileBytes(path), QCryptographicHash::Sha256).toHex();
}

struct CancelPoint {
    const char* name;
    CancellingProgress::When when;
    int row;                 // with AtRow
    bool whileWritten;       // Cancel while the workbook is being written at the end
};

const CancelPoint CancelPoints[] = {
    {"as the dialog appears", CancellingProgress::When::OnShow, 0, false},
    {"at the first row", CancellingProgress::When::AtRow, 1, false},
    {"in the middle of the rows", CancellingProgress::When::AtRow, 150, false},
    {"at the last row", CancellingProgress::When::AtRow, 300, false},
    {"while the workbook is written", CancellingProgress::When::Never, 0, true},
};

// File > Forward of a 300-row document as the program wires it (the workbook written at
// the end while events run), cancelled at `point`.
QStringList forwardCancelled(DataDocument& doc, const QString& out, test::ScriptedPrompter& prompter, const CancelPoint& point)
{
    Forward engine;
    XlsxSettings settings;
    settings.newWorkbookLocation = out;
    settings.reportFailure = engine.handBackFailureReporter();
    const auto waiter = engine.handBackWaiter();
    settings.waitForWrite = [&](const std::function<bool()>& done) {
        if (point.whileWritten) // clicked while the worker writes the new file
            QMetaObject::invokeMethod(QCoreApplication::instance(), [] { pressCancel(); }, Qt::QueuedConnection);
        return waiter(done);
    };
    XlsxConnector connector(settings);
    engine.setConnector(&connector);
    engine.setPrompter(&prompter);
    engine.setProgressFactory([&point] { return std::make_unique<CancellingProgress>(point.when, point.row); });
    programState().CurrentDoc = &doc;
    engine.ForwardToExcel();
    programState().CurrentDoc = nullptr;
    EXPECT_EQ(programState().CommState, CommStates::Idle);
    return connector.writtenFiles();
}

TEST_F(ForwardWorkbookTest, CancelAtAnyMomentLeavesTheExistingWorkbookByteForByte)
{
    const QString file = inDir(QStringLiteral("Bench.xlsx"));
    test::makeWorkbook(QStringLiteral("openpyxl"), file);
    const QByteArray before = sha256Of(file);
    const QStringList folderBefore = test::folderEntries(m_dir.path());
    auto doc = realtimeDocument(300);
    for (const CancelPoint& point : CancelPoints) {
        SCOPED_TRACE(point.name);
        prompter.messages.clear();
        programState().ExcelFile = file;
        EXPECT_TRUE(forwardCancelled(*doc, m_out, prompter, point).isEmpty());
        EXPECT_EQ(sha256Of(file), before);
        EXPECT_EQ(test::folderEntries(m_dir.path()), folderBefore) << "no temporary file is left";
        EXPECT_EQ(prompter.messageTexts(), QStringList{QStringLiteral("Canceled.")});
    }
    // Not cancelled, the same forwarding adds its sheet: the points above were real ones.
    prompter.messages.clear();
    programState().ExcelFile = file;
    const CancelPoint none{"never", CancellingProgress::When::Never, 0, false};
    EXPECT_EQ(forwardCancelled(*doc, m_out, prompter, none), QStringList{file});
    EXPECT_NE(sha256Of(file), before);
    EXPECT_EQ(test::sheetNames(test::describeWorkbook(file)), (QStringList{"Readings", "Sheet2", "Sheet3"}));
}

TEST_F(ForwardWorkbookTest, CancelAtAnyMomentOfANewForwardLeavesNoFile)
{
    auto doc = realtimeDocument(300);
    for (const CancelPoint& point : CancelPoints) {
        SCOPED_TRACE(point.name);
        prompter.messages.clear();
        programState().ExcelFile.clear();
        EXPECT_TRUE(forwardCancelled(*doc, m_out, prompter, point).isEmpty());
        EXPECT_TRUE(test::folderEntries(m_out).isEmpty()) << test::folderEntries(m_out).join(QLatin1Char(' ')).toStdString();
        EXPECT_EQ(prompter.messageTexts(), QStringList{QStringLiteral("Canceled.")});
    }
    const CancelPoint none{"never", CancellingProgress::When::Never, 0, false};
    EXPECT_EQ(forwardCancelled(*doc, m_out, prompter, none).size(), 1);
    EXPECT_EQ(test::folderEntries(m_out).size(), 1);
}

TEST_F(ForwardWorkbookTest, FailedRecordingForwardStillWritesTheRowsCollected)
{
    // Realtime forwarding that fails after some rows (the caller releases it): the rows are
    // the person's data and are written, as when the recording is stopped.
    auto doc = std::make_unique<DataDocument>();
    doc->OpenNew(DataKinds::Realtime);
    programState().RealtimeDoc = doc.get();
    Forward engine;
    auto connector = connectorFor(engine);
    programState().NoForward = false;
    ASSERT_TRUE(engine.BeginRealtimeForward());
    for (int i = 0; i < 4; ++i) {
        ASSERT_TRUE(doc->AddGridrow());
        doc->AddRealtimedata(timeOf(i), QStringLiteral("1.5"), QStringLiteral("VDC"), true, QStringLiteral("1.5"));
        ASSERT_TRUE(engine.AppendRealtimeRow(timeOf(i), QStringLiteral("1.5"), QStringLiteral("VDC")));
    }
    // A text longer than a cell holds: the append fails, and the recording lets go.
    EXPECT_FALSE(engine.AppendRealtimeRow(timeOf(4), QString(40000, QLatin1Char('x')), QStringLiteral("VDC")));
    engine.releaseRealtimeForward();
    ASSERT_EQ(connector->writtenFiles().size(), 1);
    const QJsonObject book = test::describeWorkbook(connector->writtenFiles().first());
    const QJsonObject cells = test::sheetNamed(book, QStringLiteral("Sheet1"))[QStringLiteral("cells")].toObject();
    for (int row = 5; row <= 8; ++row)
        EXPECT_EQ(cells[QStringLiteral("C%1").arg(row)].toObject()[QStringLiteral("value")].toDouble(), 1.5) << row;
}

// --- Refusals: the message says why, nothing is changed ------------------------------------------------

TEST_F(ForwardWorkbookTest, OldBinaryWorkbookIsRefused)
{
    const QString file = inDir(QStringLiteral("old.xls"));
    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(QByteArray::fromHex("D0CF11E0A1B11AE1") + QByteArray(504, '\0'));
    f.close();
    expectRefused(file, QStringLiteral("save it as .xlsx first"));
}

TEST_F(ForwardWorkbookTest, MissingWorkbookIsRefused)
{
    expectRefused(inDir(QStringLiteral("missing.xlsx")), QStringLiteral("cannot be found"));
}

TEST_F(ForwardWorkbookTest, WorkbookOpenInAnotherProgramIsRefused)
{
    for (const QString& lock : {QStringLiteral("~$Bench.xlsx"), QStringLiteral(".~lock.Bench.xlsx#")}) {
        SCOPED_TRACE(lock.toStdString());
        prompter.messages.clear();
        const QString file = inDir(QStringLiteral("Bench.xlsx"));
        test::makeWorkbook(QStringLiteral("openpyxl"), file);
        QFile lockFile(inDir(lock));
        ASSERT_TRUE(lockFile.open(QIODevice::WriteOnly));
        lockFile.close();
        expectRefused(file, QStringLiteral("is open in another program"));
        // The message names the workbook and the lock file, and says what to do with a lock
        // that no program holds.
        const QString text = prompter.messages.value(0).text;
        EXPECT_TRUE(text.contains(QDir::toNativeSeparators(file))) << text.toStdString();
        EXPECT_TRUE(text.contains(QDir::toNativeSeparators(inDir(lock)))) << text.toStdString();
        EXPECT_TRUE(text.contains(QStringLiteral("If no program has it open, the lock file was left behind and may be deleted.")))
            << text.toStdString();
        QFile::remove(inDir(lock));
    }
}

TEST_F(ForwardWorkbookTest, FolderGivenAsTheWorkbookIsReportedAsAFolder)
{
    const QString folder = inDir(QStringLiteral("Bench.xlsx"));
    ASSERT_TRUE(QDir().mkpath(folder));
    expectRefused(folder, QStringLiteral("is a folder, not a workbook"));
    EXPECT_FALSE(prompter.messages.value(0).text.contains(QStringLiteral("cannot be found")));
}

TEST_F(ForwardWorkbookTest, ExtendedWorkbookKeepsItsModeAndGroup)
{
    const QString file = inDir(QStringLiteral("Shared.xlsx"));
    test::makeWorkbook(QStringLiteral("openpyxl"), file);
    const QByteArray name = QFile::encodeName(file);
    ASSERT_EQ(::chmod(name.constData(), 0640), 0);
    // A group the user is in, other than the file's own when there is one.
    gid_t groups[64];
    const int count = ::getgroups(64, groups);
    struct stat before {};
    ASSERT_EQ(::stat(name.constData(), &before), 0);
    gid_t group = before.st_gid;
    for (int i = 0; i < count; ++i) {
        if (groups[i] != before.st_gid)
            group = groups[i];
    }
    ASSERT_EQ(::chown(name.constData(), static_cast<uid_t>(-1), group), 0);
    // Who may give files away (the administrator) gives this one to another user: the new
    // version must keep that owner too.
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(name.constData(), 4242, 4343), 0);
    }
    ASSERT_EQ(::stat(name.constData(), &before), 0);

    auto doc = realtimeDocument(5);
    programState().ExcelFile = file;
    EXPECT_EQ(forward(*doc), QStringList{file});
    struct stat after {};
    ASSERT_EQ(::stat(name.constData(), &after), 0);
    EXPECT_NE(after.st_ino, before.st_ino) << "replaced by a new file";
    EXPECT_EQ(after.st_mode & 07777, 0640u);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
}

TEST_F(ForwardWorkbookTest, CorruptWorkbookIsRefused)
{
    const QString file = inDir(QStringLiteral("garbage.xlsx"));
    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write("this is not a workbook at all");
    f.close();
    expectRefused(file, QStringLiteral("not a zip package"));
}

TEST_F(ForwardWorkbookTest, StrictOpenXmlWorkbookIsRefused)
{
    const QString file = inDir(QStringLiteral("strict.xlsx"));
    test::makeWorkbook(QStringLiteral("strict"), file);
    expectRefused(file, QStringLiteral("Strict Open XML"));
}

TEST_F(ForwardWorkbookTest, WorkbookInAFolderThatTakesNoNewFileIsRefused)
{
    const QString folder = inDir(QStringLiteral("shelf"));
    ASSERT_TRUE(QDir().mkpath(folder));
    const QString file = QDir(folder).filePath(QStringLiteral("Bench.xlsx"));
    test::makeWorkbook(QStringLiteral("openpyxl"), file);
    test::ReadOnlyFolder readOnly(folder);
    if (!readOnly.done())
        GTEST_SKIP() << "this file system cannot make a folder read-only for the user running the tests";
    expectRefused(file, QStringLiteral("No file can be created in the folder"));
}

// --- Failures when the workbook is written at the end: shown once ----------------------------------------

TEST_F(ForwardWorkbookTest, NewWorkbookInAFolderThatTakesNoNewFileIsReportedOnce)
{
    test::ReadOnlyFolder readOnly(m_out);
    if (!readOnly.done())
        GTEST_SKIP() << "this file system cannot make a folder read-only for the user running the tests";
    auto doc = realtimeDocument(5);
    EXPECT_TRUE(forward(*doc).isEmpty());
    ASSERT_EQ(prompter.messages.size(), 1) << prompter.messageTexts().join(QLatin1Char('\n')).toStdString();
    EXPECT_FALSE(prompter.messages[0].text.isEmpty());
    EXPECT_TRUE(prompter.messages[0].text.contains(QDir::toNativeSeparators(m_out))) << prompter.messages[0].text.toStdString();
    EXPECT_TRUE(test::folderEntries(m_out).isEmpty());
}

TEST_F(ForwardWorkbookTest, FullDiskWhenTheNewWorkbookIsWrittenIsReportedOnce)
{
    auto doc = realtimeDocument(5);
    XlsxSettings settings;
    settings.beforeCommit = [] { throw RuntimeError(QStringLiteral("No space left on device")); };
    EXPECT_TRUE(forward(*doc, settings).isEmpty());
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_TRUE(prompter.messages[0].text.contains(QStringLiteral("No space left on device")));
    EXPECT_TRUE(test::folderEntries(m_out).isEmpty()) << "no half-written file";
}

TEST_F(ForwardWorkbookTest, FullDiskWhenAddingToAnExistingWorkbookKeepsIt)
{
    const QString file = inDir(QStringLiteral("Bench.xlsx"));
    test::makeWorkbook(QStringLiteral("openpyxl"), file);
    const QByteArray bytes = test::fileBytes(file);
    auto doc = realtimeDocument(5);
    programState().ExcelFile = file;
    XlsxSettings settings;
    settings.beforeCommit = [] { throw RuntimeError(QStringLiteral("No space left on device")); };
    EXPECT_TRUE(forward(*doc, settings).isEmpty());
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_TRUE(prompter.messages[0].text.contains(QStringLiteral("No space left on device")));
    EXPECT_EQ(test::fileBytes(file), bytes);
    EXPECT_EQ(test::folderEntries(m_dir.path()), (QStringList{QStringLiteral("Bench.xlsx"), QStringLiteral("out")}));
}

TEST_F(ForwardWorkbookTest, LockTakenDuringARecordingIsReportedAtTheEnd)
{
    const QString file = inDir(QStringLiteral("Bench.xlsx"));
    test::makeWorkbook(QStringLiteral("openpyxl"), file);
    const QByteArray bytes = test::fileBytes(file);
    auto doc = std::make_unique<DataDocument>();
    doc->OpenNew(DataKinds::Realtime);
    programState().RealtimeDoc = doc.get();
    programState().ExcelFile = file;
    Forward engine;
    auto connector = connectorFor(engine);
    programState().NoForward = false; // the Forward dialog was confirmed
    ASSERT_TRUE(engine.BeginRealtimeForward());
    ASSERT_TRUE(doc->AddGridrow());
    doc->AddRealtimedata(timeOf(0), QStringLiteral("2"), QStringLiteral("VDC"), true, QStringLiteral("2"));
    ASSERT_TRUE(engine.AppendRealtimeRow(timeOf(0), QStringLiteral("2"), QStringLiteral("VDC")));
    QFile lock(inDir(QStringLiteral("~$Bench.xlsx")));
    ASSERT_TRUE(lock.open(QIODevice::WriteOnly));
    lock.close();
    engine.EndRealtimeForward();
    ASSERT_EQ(prompter.messages.size(), 1);
    EXPECT_TRUE(prompter.messages[0].text.contains(QStringLiteral("open in another program")));
    EXPECT_EQ(test::fileBytes(file), bytes);
    EXPECT_TRUE(connector->writtenFiles().isEmpty());
    EXPECT_FALSE(engine.RealtimeExcel());
}

TEST_F(ForwardWorkbookTest, RealtimeStartRefusedWithAReason)
{
    const QString file = inDir(QStringLiteral("old.xls"));
    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write("old");
    f.close();
    auto doc = std::make_unique<DataDocument>();
    doc->OpenNew(DataKinds::Realtime);
    programState().RealtimeDoc = doc.get();
    programState().ExcelFile = file;
    programState().LastError.clear();
    Forward engine;
    auto connector = connectorFor(engine);
    programState().NoForward = false;
    EXPECT_FALSE(engine.BeginRealtimeForward());
    EXPECT_TRUE(programState().LastError.contains(QStringLiteral("save it as .xlsx first")));
    EXPECT_FALSE(engine.RealtimeExcel());
    EXPECT_TRUE(prompter.messages.isEmpty());
    EXPECT_EQ(test::fileBytes(file), QByteArray("old"));
}

} // namespace
} // namespace quvo
