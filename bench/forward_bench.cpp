// Forwarding a full document (32767 rows), from the first cell to the written .xlsx file:
// through the workbook interface alone into a new workbook and as a new sheet of an
// existing one, and through the forwarding engine from a data document (whole, and row by
// row as a recording does). Goal: at most 2 s each.
//
//   build/bench/forward_bench --benchmark_min_time=1

#include "document/DataDocument.h"
#include "forward/Forward.h"
#include "forward/XlsxBackend.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/ProgressView.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace {

constexpr int FullDocument = 32767;

// The calls forwarding makes for one whole document: table, frame, summary, chart.
void writeSheet(quvo::ExcelWorksheet& sheet, int rows)
{
    using namespace quvo;
    static const QString readings[] = {QStringLiteral("1.234E-3"), QStringLiteral("-0.5"), QStringLiteral("ERROR"),
                                       QStringLiteral("12"), QStringLiteral("+OL"), QStringLiteral("2.5")};
    for (int i = 0; i <= rows; ++i) {
        const int row = i + 4;
        const int second = i % 86400;
        const QString time = QStringLiteral("%1:%2:%3")
                                 .arg(second / 3600, 2, 10, QLatin1Char('0'))
                                 .arg(second / 60 % 60, 2, 10, QLatin1Char('0'))
                                 .arg(second % 60, 2, 10, QLatin1Char('0'));
        auto b = sheet.Cells(row, QStringLiteral("B"));
        b->setNumberFormat(xl::TextFormat);
        b->setValue(i == 0 ? QStringLiteral("TIME") : time);
        auto c = sheet.Cells(row, QStringLiteral("C"));
        c->setNumberFormat(i == 0 ? xl::TextFormat : xl::GeneralFormat);
        c->setValue(i == 0 ? QStringLiteral("DATA") : readings[i % 6]);
        auto d = sheet.Cells(row, QStringLiteral("D"));
        d->setNumberFormat(xl::TextFormat);
        d->setValue(i == 0 ? QStringLiteral("MODE") : QStringLiteral("VDC"));
    }
    const QString last = QString::number(rows + 4);
    auto title = sheet.Range(QStringLiteral("B2"));
    title->setNumberFormat(xl::TextFormat);
    title->setValue(QStringLiteral("Benchmark"));
    auto frame = sheet.Range(QStringLiteral("B4:D") + last);
    for (const std::int16_t edge : {xl::xlEdgeTop, xl::xlEdgeBottom, xl::xlEdgeLeft, xl::xlEdgeRight})
        frame->Borders(edge)->setWeight(xl::xlMedium);
    auto header = sheet.Range(QStringLiteral("B4:D4"));
    header->Borders(xl::xlEdgeBottom)->setWeight(xl::xlMedium);
    header->Borders(xl::xlInsideVertical)->setWeight(xl::xlThin);
    header->setHorizontalAlignment(xl::xlCenter);
    auto body = sheet.Range(QStringLiteral("B5:D") + last);
    body->Borders(xl::xlInsideHorizontal)->setWeight(xl::xlThin);
    body->Borders(xl::xlInsideVertical)->setWeight(xl::xlThin);
    sheet.Cells(4, QStringLiteral("F"))->Activate();
    const QString labels[] = {QStringLiteral("MAX"), QStringLiteral("MIN"), QStringLiteral("AVG")};
    for (int i = 0; i < 3; ++i) {
        auto label = sheet.Cells(4 + i, QStringLiteral("F"));
        label->setNumberFormat(xl::TextFormat);
        label->setValue(labels[i]);
        auto value = sheet.Cells(4 + i, QStringLiteral("G"));
        value->setNumberFormat(xl::TextFormat);
        value->setValue(QStringLiteral("No.[ 4 ]   TIME[ 00:00:03 ]   DATA[ 12 ]   MODE[ VDC ]"));
    }
    auto anchor = sheet.Range(QStringLiteral("F8"));
    auto chart = sheet.ChartObjects()->Add(anchor->Left(), anchor->Top(), 400, 200)->Chart();
    ChartWizardArguments arguments;
    arguments.Source = sheet.Range(QStringLiteral("B5:D") + last);
    arguments.Format = 2;
    arguments.HasLegend = false;
    arguments.Title = QStringLiteral("Benchmark");
    chart->ChartWizard(arguments);
    chart->Axes(xl::xlCategory)->setHasMajorGridlines(true);
    chart->Axes(xl::xlValue)->setHasMajorGridlines(true);
}

void NewWorkbook(benchmark::State& state)
{
    QTemporaryDir dir;
    quvo::XlsxSettings settings;
    settings.newWorkbookLocation = dir.path() + QLatin1Char('/');
    quvo::XlsxConnector connector(settings);
    const int rows = static_cast<int>(state.range(0));
    for (auto _ : state) {
        auto app = connector.CreateObject();
        app->setVisible(false);
        auto sheet = app->Workbooks()->Add()->Worksheets()->Item(1);
        writeSheet(*sheet, rows);
        app->setVisible(true); // the file is written here
        state.PauseTiming();
        for (const QString& file : connector.writtenFiles())
            QFile::remove(file);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * rows);
}
BENCHMARK(NewWorkbook)->Arg(FullDocument)->Unit(benchmark::kMillisecond)->UseRealTime();

void AddToExistingWorkbook(benchmark::State& state)
{
    QTemporaryDir dir;
    quvo::XlsxSettings settings;
    settings.newWorkbookLocation = dir.filePath(QStringLiteral("base.xlsx"));
    const int rows = static_cast<int>(state.range(0));
    {
        // A workbook to extend: one forwarded sheet already in it.
        quvo::XlsxConnector maker(settings);
        auto app = maker.CreateObject();
        writeSheet(*app->Workbooks()->Add()->Worksheets()->Item(1), 100);
        app->setVisible(true);
    }
    const QString base = settings.newWorkbookLocation;
    const QString work = dir.filePath(QStringLiteral("work.xlsx"));
    quvo::XlsxConnector connector(settings);
    for (auto _ : state) {
        state.PauseTiming();
        QFile::remove(work);
        QFile::copy(base, work);
        state.ResumeTiming();
        auto app = connector.CreateObject();
        app->setVisible(false);
        auto sheets = app->Workbooks()->Open(work)->Worksheets();
        auto sheet = sheets->Add();
        sheet->Move(sheets->Item(sheets->Count()));
        writeSheet(*sheet, rows);
        app->setVisible(true); // the sheet is grafted into the file here
    }
    state.SetItemsProcessed(state.iterations() * rows);
}
BENCHMARK(AddToExistingWorkbook)->Arg(FullDocument)->Unit(benchmark::kMillisecond)->UseRealTime();

// A realtime document of 32767 readings (one a second, millivolts, an ERROR now and
// then), as a full recording leaves it.
std::unique_ptr<quvo::DataDocument> fullDocument()
{
    using namespace quvo;
    auto doc = std::make_unique<DataDocument>();
    doc->OpenNew(DataKinds::Realtime);
    for (int i = 0; i < FullDocument; ++i) {
        const int second = i % 86400;
        const QString time = QStringLiteral("%1:%2:%3")
                                 .arg(second / 3600, 2, 10, QLatin1Char('0'))
                                 .arg(second / 60 % 60, 2, 10, QLatin1Char('0'))
                                 .arg(second % 60, 2, 10, QLatin1Char('0'));
        doc->AddGridrow();
        if (i % 100 == 99)
            doc->AddData(time, QStringLiteral("ERROR"), QString(), QStringLiteral("ERROR"));
        else
            doc->AddData(time, QString::number(100 + i % 900) + QStringLiteral("E-3"), QStringLiteral("VDC"),
                         QString::number(100 + i % 900) + QStringLiteral("E-3"));
    }
    doc->DispCalculation();
    return doc;
}

// The progress dialog's calls, counted (what a dialog costs is the dialog's own business).
class CountingProgress : public quvo::ProgressView {
public:
    void show() override {}
    void unload() override {}
    void SetCaption(const QString&) override {}
    void SetMessage(const QString&) override {}
    void RenProgress(bool, std::int16_t, std::int16_t) override { ++calls; }
    void setCancelEnabled(bool) override {}
    int calls = 0;
};

// File > Forward of a full document: the engine reads the document's grid and statistics
// and writes through the workbook objects into a new .xlsx file.
void ForwardDocument(benchmark::State& state)
{
    QTemporaryDir dir;
    const auto doc = fullDocument();
    quvo::programState().CurrentDoc = doc.get();
    quvo::XlsxSettings settings;
    settings.newWorkbookLocation = dir.path() + QLatin1Char('/');
    quvo::Forward engine;
    QStringList failures;
    settings.reportFailure = [&failures](const QString& message) { failures.append(message); };
    quvo::XlsxConnector connector(settings);
    engine.setConnector(&connector);
    engine.setProgressFactory([] { return std::make_unique<CountingProgress>(); });
    quvo::programState().ExcelTitle = QStringLiteral("Benchmark");
    for (auto _ : state) {
        const auto writtenBefore = connector.writtenFiles().size();
        engine.ForwardToExcel(); // the file is written when the application is shown again
        state.PauseTiming();
        if (connector.writtenFiles().size() != writtenBefore + 1 || !failures.isEmpty()) {
            state.SkipWithError("the workbook was not written");
            break;
        }
        QFile::remove(connector.writtenFiles().last());
        state.ResumeTiming();
    }
    quvo::programState().CurrentDoc = nullptr;
    state.SetItemsProcessed(state.iterations() * FullDocument);
}
BENCHMARK(ForwardDocument)->Unit(benchmark::kMillisecond)->UseRealTime();

// A full recording forwarded row by row, then framed and charted at its end.
void ForwardRealtime(benchmark::State& state)
{
    QTemporaryDir dir;
    const auto doc = fullDocument();
    quvo::programState().RealtimeDoc = doc.get();
    quvo::XlsxSettings settings;
    settings.newWorkbookLocation = dir.path() + QLatin1Char('/');
    quvo::XlsxConnector connector(settings);
    quvo::Forward engine(&connector);
    for (auto _ : state) {
        if (!engine.BeginRealtimeForward()) {
            state.SkipWithError("forwarding did not start");
            break;
        }
        for (int row = 1; row <= FullDocument; ++row)
            engine.AppendRealtimeRow(doc->TextMatrix(row, 1), doc->TextMatrix(row, 2), doc->TextMatrix(row, 3));
        engine.EndRealtimeForward();
        state.PauseTiming();
        for (const QString& file : connector.writtenFiles())
            QFile::remove(file);
        state.ResumeTiming();
    }
    quvo::programState().RealtimeDoc = nullptr;
    state.SetItemsProcessed(state.iterations() * FullDocument);
}
BENCHMARK(ForwardRealtime)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    qputenv("QUVOLINK_NO_DESKTOP_OPEN", "1");
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
