// The forwarding engine against a fake spreadsheet application that logs every call: the
// exact order of the calls of each step, the waits, the abandon flag, the failures and
// the messages.

#include "FakeExcel.h"

#include "document/DataDocument.h"
#include "document/Limits.h"
#include "forward/Forward.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMetaObject>
#include <QThread>
#include <QTimer>

#include <gtest/gtest.h>

#include <ostream>

inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace quvo {
namespace {

using test::FakeExcel;
using test::LoggedProgress;
using test::LoggedPrompter;

const QString Medium = QStringLiteral("-4138");
const QString Thin = QStringLiteral("2");

// What one cell gets: its number format, then its value.
QStringList cell(int row, const char* column, const QString& format, const QString& value)
{
    const QString name = QStringLiteral("Cells(%1,%2)").arg(row).arg(QLatin1String(column));
    return {name + QStringLiteral(".NumberFormat=") + format, name + QStringLiteral(".Value=") + value};
}

// The rows a whole-document forwarding writes, with the progress after each row.
QStringList expectedRows(DataDocument& doc, bool saveMode)
{
    QStringList calls;
    const int n = doc.GetDatacount();
    for (int i = 0; i <= n; ++i) {
        const int row = i + 4;
        if (saveMode)
            calls << cell(row, "B", i == 0 ? QStringLiteral("@") : QStringLiteral("General"), doc.TextMatrix(i, 0));
        else
            calls << cell(row, "B", QStringLiteral("@"), doc.TextMatrix(i, 1));
        calls << cell(row, "C", i == 0 ? QStringLiteral("@") : QStringLiteral("General"), doc.TextMatrix(i, 2));
        calls << cell(row, "D", QStringLiteral("@"), doc.TextMatrix(i, 3));
        calls << QStringLiteral("Progress.RenProgress(%1,%2,%3)").arg(i == n ? QStringLiteral("False") : QStringLiteral("True")).arg(i).arg(n);
    }
    return calls;
}

// Title, frame in the order top, bottom, left, right, heading, body, then the summary.
QStringList expectedFrame(int n, const QString& title, DataDocument& doc)
{
    const QString last = QString::number(n + 4);
    const QString frame = QStringLiteral("Range(B4:D%1)").arg(last);
    const QString body = QStringLiteral("Range(B5:D%1)").arg(last);
    QStringList calls = {
        QStringLiteral("Range(B2).NumberFormat=@"),
        QStringLiteral("Range(B2).Value=") + title,
        frame + QStringLiteral(".Borders(8).Weight=") + Medium,
        frame + QStringLiteral(".Borders(9).Weight=") + Medium,
        frame + QStringLiteral(".Borders(7).Weight=") + Medium,
        frame + QStringLiteral(".Borders(10).Weight=") + Medium,
        QStringLiteral("Range(B4:D4).Borders(9).Weight=") + Medium,
        QStringLiteral("Range(B4:D4).Borders(11).Weight=") + Thin,
        QStringLiteral("Range(B4:D4).HorizontalAlignment=-4108"),
        body + QStringLiteral(".Borders(12).Weight=") + Thin,
        body + QStringLiteral(".Borders(11).Weight=") + Thin,
        QStringLiteral("Cells(4,F).Activate"),
    };
    calls << cell(4, "F", QStringLiteral("@"), QStringLiteral("MAX")) << cell(4, "G", QStringLiteral("@"), doc.GetDispmax(false));
    calls << cell(5, "F", QStringLiteral("@"), QStringLiteral("MIN")) << cell(5, "G", QStringLiteral("@"), doc.GetDispmin(false));
    calls << cell(6, "F", QStringLiteral("@"), QStringLiteral("AVG")) << cell(6, "G", QStringLiteral("@"), doc.GetDispavg());
    return calls;
}

QStringList expectedChart(int n, const QString& title, const QString& position)
{
    return {
        QStringLiteral("Range(F8).Left"),
        QStringLiteral("Range(F8).Top"),
        QStringLiteral("ChartObjects.Add(%1,400,200)").arg(position),
        QStringLiteral("Chart.ChartWizard(Source=Range(B5:D%1),Gallery=4,Format=2,PlotBy=2,CategoryLabels=1,"
                       "SeriesLabels=0,HasLegend=False,Title=%2)")
            .arg(n + 4)
            .arg(title),
        QStringLiteral("Chart.Axes(1).HasMajorGridlines=True"),
        QStringLiteral("Chart.Axes(2).HasMajorGridlines=True"),
    };
}

const QStringList ProgressOpened = {QStringLiteral("Progress.show"),
                                    QStringLiteral("Progress.SetCaption(Forward data to Microsoft Excel)"),
                                    QStringLiteral("Progress.SetMessage(Forwarding...)")};

// No application runs: one is started and made visible.
const QStringList StartedApplication = {QStringLiteral("GetObject"), QStringLiteral("CreateObject"),
                                        QStringLiteral("App.Visible=True"), QStringLiteral("App.Visible")};

class ForwardEngineTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        resetProgramState();
        excel.f8Left = 300.5;
        excel.f8Top = 120.25;
        engine.setConnector(&excel);
        engine.setPrompter(&prompter);
        engine.setProgressFactory([this] { return std::make_unique<LoggedProgress>(excel); });
        engine.setActivateDocumentWindow([this] { excel.log.append(QStringLiteral("ActivateDocument")); });
        engine.setActivateMainWindow([this] { excel.log.append(QStringLiteral("ActivateMain")); });
        engine.setHiddenInstancePoll(std::chrono::milliseconds(5));
        // Events run after every row here, so a click queued at a row is seen at that row.
        engine.setEventSlice(std::chrono::milliseconds(0));
    }
    void TearDown() override { resetProgramState(); }

    // A realtime document: one-second readings in volts with an "ERROR" among them.
    std::unique_ptr<DataDocument> realtimeDocument(int rows)
    {
        auto doc = std::make_unique<DataDocument>();
        doc->OpenNew(DataKinds::Realtime);
        for (int i = 0; i < rows; ++i) {
            const QString time = QStringLiteral("10:15:%1").arg(i % 60, 2, 10, QLatin1Char('0'));
            EXPECT_TRUE(doc->AddGridrow());
            if (i % 5 == 2) {
                doc->AddRealtimedata(time, QStringLiteral("ERROR"), QString(), false, QStringLiteral("ERROR"));
            } else {
                const QString value = QString::number(0.25 * (i % 7) - 0.5);
                doc->AddRealtimedata(time, value, QStringLiteral("VDC"), true, value);
            }
        }
        programState().CurrentDoc = doc.get();
        return doc;
    }

    // A SAVE-mode document: numbered slots without times.
    std::unique_ptr<DataDocument> saveModeDocument(int rows)
    {
        auto doc = std::make_unique<DataDocument>();
        doc->OpenNew(DataKinds::Save);
        programState().MeterModel = QStringLiteral("1");
        for (int i = 0; i < rows; ++i) {
            EXPECT_TRUE(doc->AddGridrow());
            const QString value = QString::number(1.5 + i);
            doc->AddData(QString(), value, QStringLiteral("OHM"), value);
        }
        doc->DispCalculation();
        programState().CurrentDoc = doc.get();
        return doc;
    }

    FakeExcel excel;
    LoggedPrompter prompter{excel};
    Forward engine;
};

// --- Whole-document forwarding --------------------------------------------------------------

TEST_F(ForwardEngineTest, NewWorkbookWholeSequence)
{
    auto doc = realtimeDocument(23);
    programState().ExcelTitle = QStringLiteral("Bench supply");
    programState().LastError = QStringLiteral("left from before");
    std::vector<int> commStateAtCalls;
    excel.onCall = [&](const QString&) { commStateAtCalls.push_back(programState().CommState); };

    engine.ForwardToExcel();

    QStringList expected = ProgressOpened;
    expected << StartedApplication;
    expected << QStringLiteral("App.Visible=False") << QStringLiteral("Workbooks.Add") << QStringLiteral("Worksheets.Item(1)");
    expected << expectedRows(*doc, false);
    expected << expectedFrame(23, QStringLiteral("Bench supply"), *doc);
    expected << expectedChart(23, QStringLiteral("Bench supply"), QStringLiteral("300.5,120.25"));
    // Shown again (the workbook written) while the progress dialog is still there.
    expected << QStringLiteral("App.Visible=True") << QStringLiteral("Progress.unload") << QStringLiteral("ActivateDocument");
    EXPECT_EQ(excel.log, expected);

    // CommState 0 for every call, 7 afterwards; no message after success.
    ASSERT_FALSE(commStateAtCalls.empty());
    for (const int state : commStateAtCalls)
        EXPECT_EQ(state, CommStates::Forwarding);
    EXPECT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_FALSE(programState().NoForward);
    EXPECT_TRUE(prompter.texts.isEmpty());
    EXPECT_EQ(programState().LastError, QStringLiteral("left from before"));
    ASSERT_EQ(excel.created.size(), 1u);
    EXPECT_TRUE(excel.created[0]->visible);
    // The rule's own texts, so the string table is checked too.
    EXPECT_TRUE(excel.log.contains(QStringLiteral("Range(B4:D27).Borders(8).Weight=-4138")));
    EXPECT_TRUE(excel.log.contains(QStringLiteral("Cells(4,B).Value=TIME")));
    EXPECT_TRUE(excel.log.contains(QStringLiteral("Cells(4,C).Value=DATA")));
    EXPECT_TRUE(excel.log.contains(QStringLiteral("Cells(4,D).Value=MODE")));
}

TEST_F(ForwardEngineTest, NoForwardIsClearedAtTheStart)
{
    auto doc = realtimeDocument(2);
    programState().NoForward = true;
    engine.ForwardToExcel();
    EXPECT_TRUE(excel.log.contains(QStringLiteral("Chart.Axes(2).HasMajorGridlines=True")));
    EXPECT_TRUE(prompter.texts.isEmpty());
}

TEST_F(ForwardEngineTest, WriteDataRowsSaveModeColumnB)
{
    auto doc = saveModeDocument(4);
    ASSERT_EQ(doc->TextMatrix(0, 0), QStringLiteral("No."));
    bool number = false;
    doc->TextMatrix(1, 0).toInt(&number);
    ASSERT_TRUE(number) << "a SAVE-mode row is numbered";
    std::shared_ptr<ExcelApplication> app = excel.CreateObject();
    auto sheet = app->Workbooks()->Add()->Worksheets()->Item(1);
    excel.log.clear();
    programState().NoForward = false; // as whole-document forwarding sets it

    ASSERT_TRUE(engine.WriteDataRows(*sheet));

    QStringList expected;
    for (int i = 0; i <= 4; ++i) {
        expected << cell(i + 4, "B", i == 0 ? QStringLiteral("@") : QStringLiteral("General"), doc->TextMatrix(i, 0));
        expected << cell(i + 4, "C", i == 0 ? QStringLiteral("@") : QStringLiteral("General"), doc->TextMatrix(i, 2));
        expected << cell(i + 4, "D", QStringLiteral("@"), doc->TextMatrix(i, 3));
    }
    EXPECT_EQ(excel.log, expected) << "without a progress dialog nothing else is called";
    EXPECT_EQ(excel.log[1], QStringLiteral("Cells(4,B).Value=No."));
    EXPECT_EQ(excel.log[7], QStringLiteral("Cells(5,B).Value=") + doc->TextMatrix(1, 0));
}

TEST_F(ForwardEngineTest, WholeSaveModeDocumentUsesRowNumbers)
{
    auto doc = saveModeDocument(3);
    engine.ForwardToExcel();
    const QStringList rows = expectedRows(*doc, true);
    const qsizetype start = excel.log.indexOf(rows.first());
    ASSERT_GE(start, 0);
    EXPECT_EQ(excel.log.mid(start, rows.size()), rows);
}

TEST_F(ForwardEngineTest, OneRowFramesB4ToD5)
{
    auto doc = realtimeDocument(1);
    programState().ExcelTitle = QStringLiteral("One");
    engine.ForwardToExcel();
    const QStringList frame = expectedFrame(1, QStringLiteral("One"), *doc);
    const QStringList chart = expectedChart(1, QStringLiteral("One"), QStringLiteral("300.5,120.25"));
    EXPECT_TRUE(frame.contains(QStringLiteral("Range(B4:D5).Borders(8).Weight=-4138")));
    EXPECT_TRUE(frame.contains(QStringLiteral("Range(B5:D5).Borders(12).Weight=2")));
    EXPECT_TRUE(chart.contains(QStringLiteral("Chart.ChartWizard(Source=Range(B5:D5),Gallery=4,Format=2,PlotBy=2,"
                                              "CategoryLabels=1,SeriesLabels=0,HasLegend=False,Title=One)")));
    const qsizetype start = excel.log.indexOf(frame.first());
    ASSERT_GE(start, 0);
    EXPECT_EQ(excel.log.mid(start, frame.size() + chart.size()), frame + chart);
}

TEST_F(ForwardEngineTest, TwentyThreeRowsGiveB4ToD27)
{
    auto doc = realtimeDocument(23);
    std::shared_ptr<ExcelApplication> app = excel.CreateObject();
    auto sheet = app->Workbooks()->Add()->Worksheets()->Item(1);
    excel.log.clear();
    programState().ExcelTitle = QStringLiteral("T");
    ASSERT_TRUE(engine.WriteTableFrame(*sheet, 23));
    ASSERT_TRUE(engine.AddDataChart(*sheet, 23));
    EXPECT_EQ(excel.log, expectedFrame(23, QStringLiteral("T"), *doc) + expectedChart(23, QStringLiteral("T"), QStringLiteral("300.5,120.25")));
    EXPECT_TRUE(excel.log.contains(QStringLiteral("Range(B4:D27).Borders(10).Weight=-4138")));
    EXPECT_TRUE(excel.log.contains(QStringLiteral("Range(B5:D27).Borders(11).Weight=2")));
}

// --- Choosing the workbook ----------------------------------------------------------------------

TEST_F(ForwardEngineTest, OpenWorkbookWithTheSameFullNameGetsANewLastSheet)
{
    auto doc = realtimeDocument(2);
    excel.running = std::make_shared<test::FakeApplicationState>();
    excel.running->visible = true;
    auto other = test::fakeWorkbook(QStringLiteral("/data/other.xlsx"), 1);
    auto book = test::fakeWorkbook(QStringLiteral("/data/Bench.xlsx"), 3);
    excel.running->workbooks = {other, book};
    programState().ExcelFile = QStringLiteral("/data/Bench.xlsx");

    engine.ForwardToExcel();

    QStringList expected = ProgressOpened;
    expected << QStringLiteral("GetObject") << QStringLiteral("App.Visible") << QStringLiteral("App.Visible=False")
             << QStringLiteral("Workbooks.Count") << QStringLiteral("Workbooks.Item(1)")
             << QStringLiteral("Workbook(/data/other.xlsx).FullName") << QStringLiteral("Workbooks.Item(2)")
             << QStringLiteral("Workbook(/data/Bench.xlsx).FullName") << QStringLiteral("Worksheets.Add")
             << QStringLiteral("Worksheets.Count") << QStringLiteral("Worksheets.Item(4)")
             << QStringLiteral("Sheet4.Move(After=Sheet3)");
    EXPECT_EQ(excel.log.mid(0, expected.size()), expected);
    EXPECT_TRUE(excel.entriesStartingWith(QStringLiteral("Workbooks.Open")).isEmpty());
    EXPECT_TRUE(excel.entriesStartingWith(QStringLiteral("CreateObject")).isEmpty());
    EXPECT_EQ(book->sheets, (QStringList{"Sheet1", "Sheet2", "Sheet3", "Sheet4"}));
    EXPECT_EQ(book->values[QStringLiteral("Sheet4")][QStringLiteral("B4")], QStringLiteral("TIME"));
    EXPECT_EQ(excel.running->workbooks.size(), 2u);
    EXPECT_TRUE(prompter.texts.isEmpty());
}

TEST_F(ForwardEngineTest, DifferentLetterCaseOpensTheWorkbookAgain)
{
    auto doc = realtimeDocument(2);
    excel.running = std::make_shared<test::FakeApplicationState>();
    excel.running->visible = true;
    auto book = test::fakeWorkbook(QStringLiteral("/data/Bench.xlsx"), 3);
    excel.running->workbooks = {book};
    programState().ExcelFile = QStringLiteral("/data/bench.xlsx");

    engine.ForwardToExcel();

    QStringList expected = {QStringLiteral("Workbooks.Count"), QStringLiteral("Workbooks.Item(1)"),
                            QStringLiteral("Workbook(/data/Bench.xlsx).FullName"),
                            QStringLiteral("Workbooks.Open(/data/bench.xlsx)"), QStringLiteral("Worksheets.Add"),
                            QStringLiteral("Worksheets.Count"), QStringLiteral("Worksheets.Item(4)"),
                            QStringLiteral("Sheet4.Move(After=Sheet3)")};
    const qsizetype start = excel.log.indexOf(expected.first());
    ASSERT_GE(start, 0);
    EXPECT_EQ(excel.log.mid(start, expected.size()), expected);
    ASSERT_EQ(excel.running->workbooks.size(), 2u);
    EXPECT_EQ(excel.running->workbooks[1]->sheets.last(), QStringLiteral("Sheet4"));
    EXPECT_TRUE(book->values.isEmpty()) << "the workbook open under the other name is not written";
}

TEST_F(ForwardEngineTest, EmptyExcelFileMakesANewWorkbookAndUsesItsFirstSheet)
{
    auto doc = realtimeDocument(2);
    programState().ExcelFile.clear();
    engine.ForwardToExcel();
    EXPECT_EQ(excel.entriesStartingWith(QStringLiteral("Workbooks.")), QStringList{QStringLiteral("Workbooks.Add")});
    EXPECT_EQ(excel.entriesStartingWith(QStringLiteral("Worksheets.")), QStringList{QStringLiteral("Worksheets.Item(1)")});
    EXPECT_TRUE(excel.entriesStartingWith(QStringLiteral("Sheet")).isEmpty()) << "no sheet is moved";
    ASSERT_EQ(excel.created.size(), 1u);
    ASSERT_EQ(excel.created[0]->workbooks.size(), 1u);
    EXPECT_EQ(excel.created[0]->workbooks[0]->sheets, QStringList{QStringLiteral("Sheet1")});
    EXPECT_EQ(excel.created[0]->workbooks[0]->values[QStringLiteral("Sheet1")][QStringLiteral("B4")], QStringLiteral("TIME"));
}

TEST_F(ForwardEngineTest, AbandonedWhileLookingAtOpenWorkbooks)
{
    auto doc = realtimeDocument(2);
    excel.running = std::make_shared<test::FakeApplicationState>();
    excel.running->visible = true;
    excel.running->workbooks = {test::fakeWorkbook(QStringLiteral("/a.xlsx"), 1), test::fakeWorkbook(QStringLiteral("/b.xlsx"), 1)};
    programState().ExcelFile = QStringLiteral("/b.xlsx");
    programState().LastError = QStringLiteral("Canceled.");
    // The Cancel click arrives while the first workbook is looked at.
    excel.onCall = [](const QString& entry) {
        if (entry == QStringLiteral("Workbook(/a.xlsx).FullName"))
            QMetaObject::invokeMethod(QCoreApplication::instance(), [] { programState().NoForward = true; }, Qt::QueuedConnection);
    };

    engine.ForwardToExcel();

    EXPECT_FALSE(excel.log.contains(QStringLiteral("Workbooks.Item(2)")));
    EXPECT_TRUE(excel.entriesStartingWith(QStringLiteral("Workbooks.Open")).isEmpty());
    EXPECT_TRUE(excel.entriesStartingWith(QStringLiteral("Cells")).isEmpty());
    EXPECT_EQ(excel.log.last(), QStringLiteral("Message(Canceled.)"));
    EXPECT_TRUE(excel.running->visible);
}

// --- Cancel, failures, messages --------------------------------------------------------------------

TEST_F(ForwardEngineTest, CancelDuringRowsClosesTheNewWorkbookWithoutSavingAndShowsThePreviousLastError)
{
    auto doc = realtimeDocument(23);
    programState().LastError = QStringLiteral("An earlier failure.");
    // The Cancel button is pressed while row 5 is written; the click is handled when the
    // forwarding lets events run.
    excel.onCall = [](const QString& entry) {
        if (entry == QStringLiteral("Progress.RenProgress(True,5,23)"))
            QMetaObject::invokeMethod(QCoreApplication::instance(), [] { programState().NoForward = true; }, Qt::QueuedConnection);
    };

    engine.ForwardToExcel();

    const QStringList rows = expectedRows(*doc, false);
    const qsizetype rowsStart = excel.log.indexOf(rows.first());
    ASSERT_GE(rowsStart, 0);
    const qsizetype rowsWritten = rows.indexOf(QStringLiteral("Progress.RenProgress(True,5,23)")) + 1;
    QStringList expected = rows.mid(0, rowsWritten);
    // The half-written new workbook is dropped before the application is shown again, so
    // nothing of it is kept.
    expected << QStringLiteral("Sheet1.Parent") << QStringLiteral("Workbook(Book1).Close(SaveChanges=False)")
             << QStringLiteral("App.Visible=True") << QStringLiteral("Progress.unload") << QStringLiteral("ActivateDocument")
             << QStringLiteral("ActivateMain") << QStringLiteral("Message(An earlier failure.)");
    EXPECT_EQ(excel.log.mid(rowsStart), expected);
    EXPECT_TRUE(excel.created[0]->workbooks[0]->closed);
    EXPECT_TRUE(excel.created[0]->visible) << "hidden while written, shown again";
    ASSERT_EQ(prompter.icons.size(), 1);
    EXPECT_EQ(prompter.icons[0], PromptIcon::Exclamation);
    EXPECT_EQ(prompter.buttons[0], PromptButtons::Ok);
    EXPECT_EQ(programState().CommState, CommStates::Idle);
    EXPECT_TRUE(programState().NoForward);
}

TEST_F(ForwardEngineTest, CancelDuringRowsDeletesTheNewSheetOfAnExistingWorkbook)
{
    auto doc = realtimeDocument(12);
    programState().ExcelFile = QStringLiteral("/data/book.xlsx");
    programState().LastError = QStringLiteral("Canceled.");
    excel.onCall = [](const QString& entry) {
        if (entry == QStringLiteral("Progress.RenProgress(True,3,12)"))
            QMetaObject::invokeMethod(QCoreApplication::instance(), [] { programState().NoForward = true; }, Qt::QueuedConnection);
    };

    engine.ForwardToExcel();

    ASSERT_EQ(excel.created.size(), 1u);
    ASSERT_EQ(excel.created[0]->workbooks.size(), 1u);
    // The workbook keeps exactly the sheets it had; the new one went before it was shown.
    EXPECT_EQ(excel.created[0]->workbooks[0]->sheets,
              QStringList({QStringLiteral("Sheet1"), QStringLiteral("Sheet2"), QStringLiteral("Sheet3")}));
    EXPECT_FALSE(excel.created[0]->workbooks[0]->closed) << "the person's workbook itself stays open";
    const qsizetype deleted = excel.log.indexOf(QStringLiteral("Sheet4.Delete"));
    ASSERT_GE(deleted, 0);
    EXPECT_LT(deleted, excel.log.lastIndexOf(QStringLiteral("App.Visible=True")));
    EXPECT_EQ(excel.log.last(), QStringLiteral("Message(Canceled.)"));
}

TEST_F(ForwardEngineTest, FailingCallEndsTheForwardingWithItsDescription)
{
    auto doc = realtimeDocument(10);
    excel.failAt = QStringLiteral("Cells(7,C).Value=*");
    excel.failDescription = QStringLiteral("The cell refused the value.");

    engine.ForwardToExcel();

    EXPECT_EQ(programState().LastError, QStringLiteral("The cell refused the value."));
    EXPECT_FALSE(excel.log.contains(QStringLiteral("Cells(7,D).NumberFormat=@")));
    EXPECT_TRUE(excel.entriesStartingWith(QStringLiteral("Range(")).isEmpty());
    const QStringList tail = {QStringLiteral("Sheet1.Parent"), QStringLiteral("Workbook(Book1).Close(SaveChanges=False)"),
                              QStringLiteral("App.Visible=True"), QStringLiteral("Progress.unload"),
                              QStringLiteral("ActivateDocument"), QStringLiteral("ActivateMain"),
                              QStringLiteral("Message(The cell refused the value.)")};
    EXPECT_EQ(excel.log.mid(excel.log.size() - tail.size()), tail);
    EXPECT_EQ(programState().CommState, CommStates::Idle);
}

TEST_F(ForwardEngineTest, WithTheDefaultSliceEventsRunWhileRowsAreWritten)
{
    // Rows that take a millisecond each: within the default slice of events a Cancel queued
    // at row 5 is answered long before the last of 200 rows.
    Forward sliced(&excel);
    sliced.setProgressFactory([this] { return std::make_unique<LoggedProgress>(excel); });
    auto doc = realtimeDocument(200);
    excel.onCall = [](const QString& entry) {
        if (entry.startsWith(QStringLiteral("Progress.RenProgress(")))
            QThread::usleep(1000);
        if (entry == QStringLiteral("Progress.RenProgress(True,5,200)"))
            QMetaObject::invokeMethod(QCoreApplication::instance(), [] { programState().NoForward = true; }, Qt::QueuedConnection);
    };
    sliced.ForwardToExcel();
    EXPECT_TRUE(programState().NoForward);
    EXPECT_FALSE(excel.log.contains(QStringLiteral("Progress.RenProgress(False,200,200)")));
    // Every row written still renews the progress dialog's count, one after the other.
    const QStringList progress = excel.entriesStartingWith(QStringLiteral("Progress.RenProgress("));
    ASSERT_GE(progress.size(), 6);
    for (qsizetype i = 0; i < progress.size(); ++i)
        EXPECT_EQ(progress[i], QStringLiteral("Progress.RenProgress(True,%1,200)").arg(i));
}

TEST_F(ForwardEngineTest, TheHandBackWaiterWaitsOnlyAtTheEndOfAWholeDocumentForwarding)
{
    auto doc = realtimeDocument(3);
    const auto waiter = engine.handBackWaiter();
    // Outside a forwarding (the end of a recording) it does not wait.
    int asked = 0;
    EXPECT_FALSE(waiter([&asked] {
        ++asked;
        return false;
    }));
    EXPECT_EQ(asked, 0);

    // At the hand-back of a forwarding it lets events run until the writing is done, and a
    // Cancel meanwhile tells the backend to put nothing in place.
    bool waitedResult = false;
    bool doneSeen = false;
    excel.onCall = [&](const QString& entry) {
        if (entry != QStringLiteral("App.Visible=True") || excel.log.count(entry) != 2)
            return; // the first one is the started application's own
        bool done = false;
        QTimer::singleShot(20, [] { programState().NoForward = true; });
        QTimer::singleShot(40, [&done] { done = true; });
        waitedResult = waiter([&] {
            doneSeen = done;
            return done;
        });
    };
    engine.ForwardToExcel();
    EXPECT_TRUE(doneSeen);
    EXPECT_TRUE(waitedResult);
    EXPECT_EQ(prompter.texts.size(), 1) << "cancelled while written: the message is shown";
}

TEST_F(ForwardEngineTest, FailuresOfEachStepAreReported)
{
    struct Case {
        const char* failAt;
        const char* notReached;
    };
    const Case cases[] = {
        {"Workbooks.Add", "Cells(4,B).NumberFormat=@"},
        {"Range(B4:D7).Borders(9).Weight=-4138", "Range(B4:D4).Borders(9).Weight=-4138"},
        {"ChartObjects.Add*", "Chart.ChartWizard*"},
        {"Chart.Axes(1).HasMajorGridlines=True", "Chart.Axes(2).HasMajorGridlines=True"},
        {"App.Visible=False", "Workbooks.Add"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.failAt);
        excel.log.clear();
        excel.created.clear();
        prompter.texts.clear();
        auto doc = realtimeDocument(3);
        excel.failAt = QString::fromLatin1(c.failAt);
        excel.failDescription = QStringLiteral("Refused: ") + QString::fromLatin1(c.failAt);
        engine.ForwardToExcel();
        EXPECT_EQ(prompter.texts, QStringList{excel.failDescription});
        const QString notReached = QString::fromLatin1(c.notReached);
        EXPECT_TRUE(notReached.endsWith(QLatin1Char('*')) ? excel.entriesStartingWith(notReached.chopped(1)).isEmpty()
                                                          : !excel.log.contains(notReached));
        EXPECT_EQ(excel.log.last(), QStringLiteral("Message(") + excel.failDescription + QLatin1Char(')'));
        EXPECT_TRUE(excel.created[0]->visible);
        programState().CurrentDoc = nullptr;
    }
}

TEST_F(ForwardEngineTest, WithLimitsTheJudgementComesBetweenTheSummaryAndTheChart)
{
    auto doc = realtimeDocument(7); // -0.5, -0.25, ERROR, 0.25, 0.5, 0.75, 1.0 V
    Limits limits;
    limits.upper = 0.5;
    limits.lower = -0.3;
    limits.unit = QStringLiteral("VDC");
    doc->setLimits(limits);
    programState().ExcelTitle = QStringLiteral("Judged");

    engine.ForwardToExcel();

    const int frameEnd = static_cast<int>(excel.log.indexOf(QStringLiteral("Cells(6,G).Value=") + doc->GetDispavg()));
    const int chartStart = static_cast<int>(excel.log.indexOf(QStringLiteral("Range(F8).Left")));
    ASSERT_GT(frameEnd, 0);
    ASSERT_GT(chartStart, frameEnd);
    QStringList expected;
    expected << cell(4, "I", QStringLiteral("@"), QStringLiteral("UPPER")) << cell(4, "J", QStringLiteral("General"), QStringLiteral("0.5"))
             << cell(4, "K", QStringLiteral("@"), QStringLiteral("VDC"));
    expected << cell(5, "I", QStringLiteral("@"), QStringLiteral("LOWER")) << cell(5, "J", QStringLiteral("General"), QStringLiteral("-0.3"))
             << cell(5, "K", QStringLiteral("@"), QStringLiteral("VDC"));
    expected << cell(6, "I", QStringLiteral("@"), QStringLiteral("HI")) << cell(6, "J", QStringLiteral("General"), QStringLiteral("2"))
             << QStringLiteral("Range(I6:J6).Interior.Color=%1").arg(Forward::HiFill);
    expected << cell(7, "I", QStringLiteral("@"), QStringLiteral("LO")) << cell(7, "J", QStringLiteral("General"), QStringLiteral("1"))
             << QStringLiteral("Range(I7:J7).Interior.Color=%1").arg(Forward::LoFill);
    expected << QStringLiteral("Range(C5:C5).Interior.Color=%1").arg(Forward::LoFill)
             << QStringLiteral("Range(C10:C11).Interior.Color=%1").arg(Forward::HiFill); // one run of two rows
    EXPECT_EQ(excel.log.mid(frameEnd + 1, chartStart - frameEnd - 1), expected);
    EXPECT_TRUE(prompter.texts.isEmpty());
    // Pink and light blue, in the automation's colour order (red lowest).
    EXPECT_EQ(Forward::HiFill, 255 + 199 * 256 + 206 * 65536);
    EXPECT_EQ(Forward::LoFill, 189 + 215 * 256 + 238 * 65536);

    // A refused highlight ends the forwarding with its description, before the chart.
    excel.log.clear();
    prompter.texts.clear();
    excel.failAt = QStringLiteral("Range(C10:C11).Interior.Color=*");
    excel.failDescription = QStringLiteral("No colours here.");
    engine.ForwardToExcel();
    EXPECT_EQ(prompter.texts, QStringList{QStringLiteral("No colours here.")});
    EXPECT_TRUE(excel.entriesStartingWith(QStringLiteral("ChartObjects.Add")).isEmpty());
}

TEST_F(ForwardEngineTest, WithoutLimitsNothingIsWrittenBesideTheSummary)
{
    auto doc = realtimeDocument(7);
    engine.ForwardToExcel();
    EXPECT_TRUE(excel.entriesStartingWith(QStringLiteral("Cells(4,I)")).isEmpty());
    EXPECT_TRUE(excel.log.filter(QStringLiteral("Interior")).isEmpty());
}

TEST_F(ForwardEngineTest, ApplicationThatCannotBeStarted)
{
    auto doc = realtimeDocument(3);
    excel.canCreate = false;
    engine.ForwardToExcel();
    EXPECT_EQ(prompter.texts, QStringList{QStringLiteral("The application cannot be started.")});
    EXPECT_EQ(excel.entriesStartingWith(QStringLiteral("App")), QStringList{});
    EXPECT_EQ(programState().CommState, CommStates::Idle);
}

TEST_F(ForwardEngineTest, WithoutAConnectorForwardingFailsWithAReason)
{
    auto doc = realtimeDocument(3);
    Forward bare;
    bare.setPrompter(&prompter);
    bare.ForwardToExcel();
    ASSERT_EQ(prompter.texts.size(), 1);
    EXPECT_FALSE(prompter.texts[0].isEmpty());
    EXPECT_EQ(programState().LastError, prompter.texts[0]);
}

TEST_F(ForwardEngineTest, HandBackFailureIsShownOnceAfterASuccessfulForwarding)
{
    auto doc = realtimeDocument(3);
    excel.running = std::make_shared<test::FakeApplicationState>();
    excel.running->visible = true;
    const auto report = engine.handBackFailureReporter();
    // The backend writes its file when it is shown again, fails, reports and throws.
    excel.onCall = [&](const QString& entry) {
        if (entry == QStringLiteral("App.Visible=True"))
            report(QStringLiteral("\"/data/x.xlsx\" could not be created: No space left on device"));
    };
    excel.failAt = QStringLiteral("App.Visible=True");

    engine.ForwardToExcel();

    EXPECT_EQ(prompter.texts, QStringList{QStringLiteral("\"/data/x.xlsx\" could not be created: No space left on device")});
    EXPECT_EQ(excel.log.last(), QStringLiteral("Message(\"/data/x.xlsx\" could not be created: No space left on device)"));
    EXPECT_EQ(programState().CommState, CommStates::Idle);

    excel.onCall = nullptr;
    excel.running->visible = true; // the failed call left it hidden
    prompter.texts.clear();
    engine.ForwardToExcel();
    EXPECT_TRUE(prompter.texts.isEmpty()) << "shown once";
}

TEST_F(ForwardEngineTest, HandBackReporterOutlivesTheEngine)
{
    std::function<void(const QString&)> report;
    {
        Forward shortLived;
        report = shortLived.handBackFailureReporter();
    }
    report(QStringLiteral("nobody listens")); // must not touch the engine that is gone
    SUCCEED();
}

// --- Waiting for the application ------------------------------------------------------------------

class HiddenInstanceTest : public ForwardEngineTest {
protected:
    void SetUp() override
    {
        ForwardEngineTest::SetUp();
        excel.running = std::make_shared<test::FakeApplicationState>();
        excel.running->visible = false; // another program drives it, hidden
        programState().NoForward = false;  // forwarding has started
    }
    int lookCount() const { return static_cast<int>(excel.entriesStartingWith(QStringLiteral("GetObject")).size()); }
};

TEST_F(HiddenInstanceTest, WaitsUntilTheInstanceBecomesVisible)
{
    QTimer::singleShot(60, [this] { excel.running->visible = true; });
    std::shared_ptr<ExcelApplication> app;
    QElapsedTimer clock;
    clock.start();
    ASSERT_TRUE(engine.GetExcelApplication(app));
    const qint64 elapsed = clock.elapsed();
    ASSERT_TRUE(app);
    EXPECT_GE(lookCount(), 2);
    EXPECT_TRUE(excel.entriesStartingWith(QStringLiteral("CreateObject")).isEmpty()) << "no second application";
    // Each look but the first follows a pause of 5 ms with the event loop running, so the
    // wait does not spin (a spinning wait looks thousands of times; the bound leaves room
    // for timers that fire a little early).
    EXPECT_LE(lookCount(), elapsed / 3 + 3);
    EXPECT_EQ(excel.log.last(), QStringLiteral("App.Visible"));
}

TEST_F(HiddenInstanceTest, EndsWithTheErrorWhenTheInstanceIsGone)
{
    programState().LastError.clear();
    QTimer::singleShot(40, [this] { excel.running.reset(); });
    std::shared_ptr<ExcelApplication> app;
    EXPECT_FALSE(engine.GetExcelApplication(app));
    EXPECT_FALSE(app);
    EXPECT_EQ(programState().LastError, QStringLiteral("No application is running."));
    EXPECT_TRUE(excel.entriesStartingWith(QStringLiteral("CreateObject")).isEmpty())
        << "after the first look a missing application ends the attempt";
}

TEST_F(HiddenInstanceTest, UserAbandonsTheWait)
{
    programState().LastError = QStringLiteral("before");
    QTimer::singleShot(40, [] { programState().NoForward = true; });
    std::shared_ptr<ExcelApplication> app;
    QElapsedTimer clock;
    clock.start();
    EXPECT_FALSE(engine.GetExcelApplication(app));
    const qint64 elapsed = clock.elapsed();
    EXPECT_FALSE(app);
    EXPECT_EQ(programState().LastError, QStringLiteral("before")) << "giving up is no error";
    EXPECT_GE(lookCount(), 2);
    EXPECT_LE(lookCount(), elapsed / 3 + 3);
}

TEST_F(HiddenInstanceTest, ForwardingWaitsUnderTheProgressDialogUntilCancelled)
{
    auto doc = realtimeDocument(3);
    programState().LastError = QStringLiteral("Canceled.");
    QTimer::singleShot(40, [] { programState().NoForward = true; });
    engine.ForwardToExcel();
    EXPECT_TRUE(excel.entriesStartingWith(QStringLiteral("Cells")).isEmpty());
    EXPECT_TRUE(excel.entriesStartingWith(QStringLiteral("App.Visible=")).isEmpty()) << "a hidden application is not touched";
    const QStringList tail = {QStringLiteral("Progress.unload"), QStringLiteral("ActivateDocument"),
                              QStringLiteral("ActivateMain"), QStringLiteral("Message(Canceled.)")};
    EXPECT_EQ(excel.log.mid(excel.log.size() - tail.size()), tail);
    EXPECT_FALSE(excel.running->visible);
}

TEST_F(HiddenInstanceTest, AbandonedBeforeTheFirstLook)
{
    programState().NoForward = true;
    std::shared_ptr<ExcelApplication> app;
    EXPECT_FALSE(engine.GetExcelApplication(app));
    EXPECT_TRUE(excel.log.isEmpty());
}

// --- Realtime forwarding ------------------------------------------------------------------------------

TEST_F(ForwardEngineTest, RealtimeRowsThenFrameAndChart)
{
    auto doc = std::make_unique<DataDocument>();
    doc->OpenNew(DataKinds::Realtime);
    programState().RealtimeDoc = doc.get();
    programState().ExcelTitle = QStringLiteral("Live");

    programState().NoForward = false; // the Forward dialog was confirmed
    ASSERT_TRUE(engine.BeginRealtimeForward());
    const QStringList started = StartedApplication
                                + QStringList{QStringLiteral("App.Interactive=False"), QStringLiteral("Workbooks.Add"),
                                              QStringLiteral("Worksheets.Item(1)")};
    EXPECT_EQ(excel.log, started);
    EXPECT_EQ(engine.RealtimeRowCount(), 0);
    EXPECT_TRUE(engine.RealtimeExcel());
    EXPECT_TRUE(engine.RealtimeSheet());
    EXPECT_FALSE(excel.created[0]->interactive);

    excel.log.clear();
    const QString rows[3][3] = {{"10:00:00", "1.5", "VDC"}, {"10:00:01", "+OL", "VDC"}, {"10:00:02", "-2.5E-3", "VDC"}};
    for (const auto& r : rows) {
        ASSERT_TRUE(doc->AddGridrow());
        doc->AddRealtimedata(r[0], r[1], r[2], r[1] != QStringLiteral("+OL"), r[1]);
        ASSERT_TRUE(engine.AppendRealtimeRow(r[0], r[1], r[2]));
    }
    QStringList expected = {QStringLiteral("Cells(4,B).Activate")};
    expected << cell(4, "B", QStringLiteral("@"), QStringLiteral("TIME")) << cell(4, "C", QStringLiteral("@"), QStringLiteral("DATA"))
             << cell(4, "D", QStringLiteral("@"), QStringLiteral("MODE"));
    for (int i = 0; i < 3; ++i) {
        expected << QStringLiteral("Cells(%1,B).Activate").arg(i + 5);
        expected << cell(i + 5, "B", QStringLiteral("@"), rows[i][0]) << cell(i + 5, "C", QStringLiteral("General"), rows[i][1])
                 << cell(i + 5, "D", QStringLiteral("@"), rows[i][2]);
    }
    EXPECT_EQ(excel.log, expected);
    EXPECT_EQ(engine.RealtimeRowCount(), 3);

    excel.log.clear();
    engine.EndRealtimeForward();
    EXPECT_EQ(excel.log, expectedFrame(3, QStringLiteral("Live"), *doc)
                             + expectedChart(3, QStringLiteral("Live"), QStringLiteral("300.5,120.25"))
                             + QStringList{QStringLiteral("App.Interactive=True")});
    EXPECT_FALSE(engine.RealtimeExcel());
    EXPECT_FALSE(engine.RealtimeSheet());
    EXPECT_TRUE(excel.created[0]->interactive);
    EXPECT_TRUE(prompter.texts.isEmpty());
}

TEST_F(ForwardEngineTest, RealtimeStopBeforeAnyRow)
{
    auto doc = std::make_unique<DataDocument>();
    doc->OpenNew(DataKinds::Realtime);
    programState().RealtimeDoc = doc.get();
    programState().NoForward = false; // the Forward dialog was confirmed
    ASSERT_TRUE(engine.BeginRealtimeForward());
    excel.log.clear();
    engine.EndRealtimeForward();
    EXPECT_EQ(excel.log, QStringList{QStringLiteral("App.Interactive=True")});
    EXPECT_FALSE(engine.RealtimeExcel());
    EXPECT_FALSE(engine.RealtimeSheet());
    EXPECT_TRUE(excel.created[0]->interactive);
}

TEST_F(ForwardEngineTest, RealtimeStartFailsWhenTheWorkbookCannotBeOpened)
{
    programState().ExcelFile = QStringLiteral("/data/missing.xlsx");
    excel.failAt = QStringLiteral("Workbooks.Open(/data/missing.xlsx)");
    excel.failDescription = QStringLiteral("\"/data/missing.xlsx\" cannot be found.");
    programState().NoForward = false;
    EXPECT_FALSE(engine.BeginRealtimeForward());
    EXPECT_EQ(programState().LastError, excel.failDescription);
    EXPECT_EQ(excel.log.last(), QStringLiteral("App.Interactive=True"));
    EXPECT_FALSE(engine.RealtimeExcel());
    EXPECT_FALSE(engine.RealtimeSheet());
    EXPECT_TRUE(prompter.texts.isEmpty()) << "realtime callers show the reason in the status text";
}

TEST_F(ForwardEngineTest, RealtimeStartAbandonedLeavesLastErrorEmpty)
{
    excel.running = std::make_shared<test::FakeApplicationState>(); // hidden
    programState().LastError.clear();
    programState().NoForward = false;
    QTimer::singleShot(30, [] { programState().NoForward = true; });
    EXPECT_FALSE(engine.BeginRealtimeForward());
    EXPECT_TRUE(programState().LastError.isEmpty());
    EXPECT_FALSE(engine.RealtimeExcel());
}

TEST_F(ForwardEngineTest, RealtimeRowFailureAndRelease)
{
    auto doc = std::make_unique<DataDocument>();
    doc->OpenNew(DataKinds::Realtime);
    programState().RealtimeDoc = doc.get();
    programState().NoForward = false; // the Forward dialog was confirmed
    ASSERT_TRUE(engine.BeginRealtimeForward());
    excel.failAt = QStringLiteral("Cells(5,C).Value=*");
    excel.failDescription = QStringLiteral("Too long.");
    EXPECT_FALSE(engine.AppendRealtimeRow(QStringLiteral("10:00:00"), QStringLiteral("1"), QStringLiteral("VDC")));
    EXPECT_EQ(programState().LastError, QStringLiteral("Too long."));
    engine.releaseRealtimeForward();
    EXPECT_FALSE(engine.RealtimeExcel());
    EXPECT_FALSE(engine.RealtimeSheet());
}

TEST_F(ForwardEngineTest, RealtimeHeaderComesFromTheCurrentDocument)
{
    auto doc = saveModeDocument(0); // CurrentDoc: its heading row is "No.", "TIME", "DATA", "MODE"
    programState().NoForward = false; // the Forward dialog was confirmed
    ASSERT_TRUE(engine.BeginRealtimeForward());
    excel.log.clear();
    ASSERT_TRUE(engine.AppendRealtimeRow(QStringLiteral("t"), QStringLiteral("1"), QStringLiteral("u")));
    EXPECT_EQ(excel.log.mid(1, 6), cell(4, "B", QStringLiteral("@"), doc->TextMatrix(0, 1))
                                       + cell(4, "C", QStringLiteral("@"), doc->TextMatrix(0, 2))
                                       + cell(4, "D", QStringLiteral("@"), doc->TextMatrix(0, 3)));
}

} // namespace
} // namespace quvo
