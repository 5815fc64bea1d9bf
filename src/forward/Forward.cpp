#include "forward/Forward.h"

#include "document/DataDocument.h"
#include "document/Limits.h"
#include "resources/Constant.h"
#include "resources/EventWait.h"
#include "resources/ProgramState.h"
#include "resources/ProgressView.h"
#include "resources/Prompter.h"
#include "resources/ResID.h"
#include "resources/RuntimeError.h"

#include <QCoreApplication>
#include <QTimer>

#include <memory>

#include <exception>

namespace quvo {

struct Forward::Shared {
    QStringList pending;           // hand-back failures not shown yet
    bool forwardingHandBack = false; // the hand-back at the end of ForwardToExcel runs
};

namespace {

const QString ColumnB = QStringLiteral("B");
const QString ColumnC = QStringLiteral("C");
const QString ColumnD = QStringLiteral("D");
const QString ColumnF = QStringLiteral("F");
const QString ColumnG = QStringLiteral("G");
const QString ColumnI = QStringLiteral("I");
const QString ColumnJ = QStringLiteral("J");
const QString ColumnK = QStringLiteral("K");

// Runs one step; a failing call ends it with false and its description in LastError.
template <class Step>
bool guarded(Step&& step)
{
    try {
        return step();
    } catch (const RuntimeError& error) {
        programState().LastError = error.description();
    } catch (const std::exception& error) {
        programState().LastError = QString::fromLocal8Bit(error.what());
    }
    return false;
}

// Runs a call whose failure does not matter (handing the application back).
template <class Call>
void ignoringErrors(Call&& call)
{
    try {
        call();
    } catch (const std::exception&) {
    }
}

void setText(ExcelRange& cell, const QString& format, const QString& value)
{
    cell.setNumberFormat(format);
    cell.setValue(value);
}

QString lastRowText(std::int32_t rowCount)
{
    return QString::number(static_cast<qint64>(rowCount) + 4);
}

RuntimeError noDocument()
{
    return RuntimeError(QStringLiteral("There is no data document to forward."));
}

} // namespace

Forward::Forward(ExcelConnector* connector) : m_connector(connector), m_shared(std::make_shared<Shared>()) {}

Forward::~Forward() = default;

void Forward::setConnector(ExcelConnector* connector)
{
    m_connector = connector;
}

void Forward::setPrompter(Prompter* prompter)
{
    m_prompter = prompter;
}

void Forward::setProgressFactory(std::function<std::unique_ptr<ProgressView>()> factory)
{
    m_progressFactory = std::move(factory);
}

void Forward::setActivateDocumentWindow(std::function<void()> hook)
{
    m_activateDocument = std::move(hook);
}

void Forward::setActivateMainWindow(std::function<void()> hook)
{
    m_activateMain = std::move(hook);
}

void Forward::setHiddenInstancePoll(std::chrono::milliseconds interval)
{
    m_hiddenPoll = interval;
}

void Forward::setEventSlice(std::chrono::milliseconds slice)
{
    m_eventSlice = slice;
}

std::function<void(const QString&)> Forward::handBackFailureReporter()
{
    std::weak_ptr<Shared> shared = m_shared;
    return [shared](const QString& message) {
        if (const auto alive = shared.lock())
            alive->pending.append(message);
    };
}

QStringList Forward::takeHandBackFailures()
{
    QStringList taken;
    taken.swap(m_shared->pending);
    return taken;
}

std::function<bool(const std::function<bool()>&)> Forward::handBackWaiter()
{
    std::weak_ptr<Shared> shared = m_shared;
    return [shared](const std::function<bool()>& done) {
        const auto alive = shared.lock();
        if (!alive || !alive->forwardingHandBack || !QCoreApplication::instance())
            return false;
        // The progress dialog keeps every other window disabled meanwhile, so nothing else
        // can start while the events run.
        waitUntil(done);
        return programState().NoForward;
    };
}

void Forward::showHandBackFailures()
{
    if (!m_prompter || m_shared->pending.isEmpty())
        return;
    const QStringList failures = takeHandBackFailures();
    if (m_activateMain)
        m_activateMain();
    m_prompter->warn(failures.join(QStringLiteral("\r\n")));
}

DataDocument* Forward::currentDocument()
{
    return programState().CurrentDoc;
}

DataDocument* Forward::realtimeDocument()
{
    ProgramState& state = programState();
    return state.CurrentDoc ? state.CurrentDoc : state.RealtimeDoc;
}

// A pass of the event loop, when the last one is at least an event slice ago: the Cancel
// button, the sampling timer and the received characters are handled, the progress dialog
// is painted, then forwarding goes on. The first call always lets events run.
void Forward::letOtherEventsRun()
{
    if (!QCoreApplication::instance())
        return;
    if (m_sinceEvents.isValid() && m_sinceEvents.elapsed() < m_eventSlice.count())
        return;
    QCoreApplication::processEvents();
    m_sinceEvents.start();
}

// Between two looks at a hidden application the event loop runs (so Cancel and Stop
// work), without spinning: it sleeps until an event or the end of the pause.
void Forward::waitForHiddenInstance()
{
    if (!QCoreApplication::instance())
        return;
    bool due = false;
    QTimer pause;
    pause.setSingleShot(true);
    QObject::connect(&pause, &QTimer::timeout, [&due] { due = true; });
    pause.start(m_hiddenPoll);
    waitUntil([&due] { return due || programState().NoForward; });
}

bool Forward::GetExcelApplication(std::shared_ptr<ExcelApplication>& app)
{
    ProgramState& state = programState();
    for (bool firstPass = true;; firstPass = false) {
        if (firstPass)
            letOtherEventsRun();
        else
            waitForHiddenInstance();
        if (state.NoForward)
            return false;
        try {
            if (!m_connector)
                throw RuntimeError(QStringLiteral("Forwarding to a spreadsheet is not available in this program."));
            bool attached = false;
            if (firstPass) {
                // A running application first; when there is none, a new one, made visible.
                try {
                    app = m_connector->GetObject();
                    attached = true;
                } catch (const std::exception&) {
                }
                if (!attached) {
                    app = m_connector->CreateObject();
                    ignoringErrors([&] { app->setVisible(true); });
                }
            } else {
                // Later looks only attach: the hidden one may have become visible or gone.
                app = m_connector->GetObject();
            }
            if (app->Visible())
                return true;
            // Running, but hidden (another program drives it): wait until the user can see
            // it, or it is gone, or the user gives up.
            app.reset();
        } catch (const RuntimeError& error) {
            app.reset();
            state.LastError = error.description();
            return false;
        } catch (const std::exception& error) {
            app.reset();
            state.LastError = QString::fromLocal8Bit(error.what());
            return false;
        }
    }
}

bool Forward::OpenWorkbookSheet(ExcelApplication& app, std::shared_ptr<ExcelWorksheet>& sheet)
{
    return guarded([&] {
        ProgramState& state = programState();
        const auto workbooks = app.Workbooks();
        if (state.ExcelFile.isEmpty()) {
            const auto workbook = workbooks->Add();
            sheet = workbook->Worksheets()->Item(1);
            return true;
        }
        std::shared_ptr<ExcelWorkbook> workbook;
        const int count = workbooks->Count();
        for (int i = 1; i <= count; ++i) {
            auto candidate = workbooks->Item(i);
            // The same file only under exactly the same name, letter case included.
            if (candidate->FullName() == state.ExcelFile) {
                workbook = std::move(candidate);
                break;
            }
            letOtherEventsRun();
            if (state.NoForward)
                return false;
        }
        if (!workbook)
            workbook = workbooks->Open(state.ExcelFile);
        const auto worksheets = workbook->Worksheets();
        sheet = worksheets->Add();
        sheet->Move(worksheets->Item(worksheets->Count()));
        return true;
    });
}

bool Forward::WriteDataRows(ExcelWorksheet& sheet)
{
    return guarded([&] {
        ProgramState& state = programState();
        DataDocument* document = currentDocument();
        if (!document)
            throw noDocument();
        const bool saveMode = ParseDataKind(document->Tag()) == DataKinds::Save;
        const std::int16_t count = document->GetDatacount();
        for (int i = 0; i <= count; ++i) {
            const int row = i + 4;
            // Each format before its value, so times and units stay text and readings
            // become numbers.
            const auto b = sheet.Cells(row, ColumnB);
            if (saveMode)
                setText(*b, i == 0 ? xl::TextFormat : xl::GeneralFormat, document->TextMatrix(i, 0));
            else
                setText(*b, xl::TextFormat, document->TextMatrix(i, 1));
            setText(*sheet.Cells(row, ColumnC), i == 0 ? xl::TextFormat : xl::GeneralFormat, document->TextMatrix(i, 2));
            setText(*sheet.Cells(row, ColumnD), xl::TextFormat, document->TextMatrix(i, 3));
            if (m_progress)
                m_progress->RenProgress(i != count, static_cast<std::int16_t>(i), count);
            letOtherEventsRun();
            if (state.NoForward)
                return false;
        }
        return true;
    });
}

bool Forward::WriteTableFrame(ExcelWorksheet& sheet, std::int32_t rowCount)
{
    return guarded([&] {
        DataDocument* document = realtimeDocument();
        if (!document)
            throw noDocument();
        const QString last = lastRowText(rowCount);
        setText(*sheet.Range(QStringLiteral("B2")), xl::TextFormat, programState().ExcelTitle);

        const auto frame = sheet.Range(QStringLiteral("B4:D") + last);
        for (const std::int16_t edge : {xl::xlEdgeTop, xl::xlEdgeBottom, xl::xlEdgeLeft, xl::xlEdgeRight})
            frame->Borders(edge)->setWeight(xl::xlMedium);

        const auto heading = sheet.Range(QStringLiteral("B4:D4"));
        heading->Borders(xl::xlEdgeBottom)->setWeight(xl::xlMedium);
        heading->Borders(xl::xlInsideVertical)->setWeight(xl::xlThin);
        heading->setHorizontalAlignment(xl::xlCenter);

        const auto body = sheet.Range(QStringLiteral("B5:D") + last);
        body->Borders(xl::xlInsideHorizontal)->setWeight(xl::xlThin);
        body->Borders(xl::xlInsideVertical)->setWeight(xl::xlThin);

        sheet.Cells(4, ColumnF)->Activate();
        const QString labels[] = {ResID(Res::Max), ResID(Res::Min), ResID(Res::Avg)};
        const QString values[] = {document->GetDispmax(false), document->GetDispmin(false), document->GetDispavg()};
        for (int i = 0; i < 3; ++i) {
            setText(*sheet.Cells(4 + i, ColumnF), xl::TextFormat, labels[i]);
            setText(*sheet.Cells(4 + i, ColumnG), xl::TextFormat, values[i]);
        }
        return true;
    });
}

bool Forward::WriteJudgement(ExcelWorksheet& sheet, std::int32_t rowCount)
{
    return guarded([&] {
        const DataDocument* document = realtimeDocument();
        if (!document)
            throw noDocument();
        const Limits& limits = document->limits();
        const JudgementCounts& counts = document->judgementCounts();
        if (!limits.active() || counts.judged() == 0)
            return true;

        // Beside MAX, MIN and AVG: the limits with their unit, and the counts. Numbers go
        // in as numbers, never as a formula.
        const auto limitRow = [&](int row, const QString& label, const std::optional<double>& limit) {
            setText(*sheet.Cells(row, ColumnI), xl::TextFormat, label);
            if (limit)
                setText(*sheet.Cells(row, ColumnJ), xl::GeneralFormat, limitText(*limit));
            else
                setText(*sheet.Cells(row, ColumnJ), xl::TextFormat, QStringLiteral("-----"));
            setText(*sheet.Cells(row, ColumnK), xl::TextFormat, limits.unit);
        };
        limitRow(4, QStringLiteral("UPPER"), limits.upper);
        limitRow(5, QStringLiteral("LOWER"), limits.lower);
        const auto countRow = [&](int row, Judgement judgement, int count, std::int32_t fill) {
            setText(*sheet.Cells(row, ColumnI), xl::TextFormat, judgementText(judgement));
            setText(*sheet.Cells(row, ColumnJ), xl::GeneralFormat, QString::number(count));
            sheet.Range(QStringLiteral("I%1:J%1").arg(row))->Interior()->setColor(fill);
        };
        countRow(6, Judgement::Hi, counts.hi, HiFill);
        countRow(7, Judgement::Lo, counts.lo, LoFill);

        // The readings out of limits, each run of rows of one judgement as one range.
        const std::int32_t last = std::min<std::int32_t>(rowCount, document->GetDatacount());
        for (std::int32_t row = 1; row <= last;) {
            const Judgement judgement = document->judgement(row);
            std::int32_t end = row;
            while (end < last && document->judgement(end + 1) == judgement)
                ++end;
            if (judgement == Judgement::Hi || judgement == Judgement::Lo) {
                const QString range = QStringLiteral("C%1:C%2").arg(row + 4).arg(end + 4);
                sheet.Range(range)->Interior()->setColor(judgement == Judgement::Hi ? HiFill : LoFill);
            }
            row = end + 1;
        }
        return true;
    });
}

bool Forward::AddDataChart(ExcelWorksheet& sheet, std::int32_t rowCount)
{
    return guarded([&] {
        const auto corner = sheet.Range(QStringLiteral("F8"));
        const double left = corner->Left();
        const double top = corner->Top();
        const auto chartObject = sheet.ChartObjects()->Add(left, top, 400, 200);
        const auto chart = chartObject->Chart();
        ChartWizardArguments arguments;
        arguments.Source = sheet.Range(QStringLiteral("B5:D") + lastRowText(rowCount));
        arguments.Gallery = xl::xlLine;
        arguments.Format = 2;
        arguments.PlotBy = xl::xlColumns;
        arguments.CategoryLabels = 1; // column B gives the categories
        arguments.SeriesLabels = 0;   // the heading row is outside the source
        arguments.HasLegend = false;
        arguments.Title = programState().ExcelTitle;
        chart->ChartWizard(arguments);
        chart->Axes(xl::xlCategory)->setHasMajorGridlines(true);
        chart->Axes(xl::xlValue)->setHasMajorGridlines(true);
        return true;
    });
}

// The new sheet of a forwarding that did not finish goes again: deleted from an existing
// workbook, or its new workbook closed without saving. So a Cancel or a failure never
// changes the person's workbook and leaves no new file. (This departs from the original
// program, where the rows written so far stayed in the spreadsheet program's window.)
void Forward::discardSheet(std::shared_ptr<ExcelWorksheet>& sheet)
{
    if (!sheet)
        return;
    ignoringErrors([&] {
        if (programState().ExcelFile.isEmpty())
            sheet->Parent()->Close(false);
        else
            sheet->Delete();
    });
    sheet.reset();
}

void Forward::ForwardToExcel()
{
    ProgramState& state = programState();
    state.CommState = CommStates::Forwarding;
    state.NoForward = false;
    m_sinceEvents.invalidate();

    std::unique_ptr<ProgressView> progress = m_progressFactory ? m_progressFactory() : nullptr;
    if (progress) {
        progress->show();
        progress->SetCaption(ResID(Res::ForwardProgressCaption));
        progress->SetMessage(ResID(Res::Forwarding));
    }
    m_progress = progress.get();

    bool ok = false;
    std::shared_ptr<ExcelApplication> app;
    std::shared_ptr<ExcelWorksheet> sheet;
    if (GetExcelApplication(app)) {
        // Hidden while it is written, so nobody sees a half-built sheet.
        const bool hidden = guarded([&] {
            app->setVisible(false);
            return true;
        });
        if (hidden && OpenWorkbookSheet(*app, sheet) && WriteDataRows(*sheet)) {
            DataDocument* document = currentDocument();
            const std::int32_t count = document ? document->GetDatacount() : 0;
            ok = WriteTableFrame(*sheet, count) && WriteJudgement(*sheet, count) && AddDataChart(*sheet, count);
        }
    }
    if (!ok)
        discardSheet(sheet);

    // Shown again whatever happened, so no hidden application is left behind; this is when
    // the workbook is written, still under the progress dialog, where Cancel goes on working
    // until the new file is in place.
    if (app) {
        m_shared->forwardingHandBack = true;
        ignoringErrors([&] { app->setVisible(true); });
        m_shared->forwardingHandBack = false;
        if (state.NoForward)
            ok = false; // cancelled while the workbook was written: nothing was put in place
    }

    m_progress = nullptr;
    if (progress)
        progress->unload();
    progress.reset();
    if (m_activateDocument)
        m_activateDocument();

    if (!ok) {
        // After Cancel this shows what LastError held before (the dialog sets "Canceled.").
        if (m_activateMain)
            m_activateMain();
        if (m_prompter)
            m_prompter->warn(state.LastError);
    }

    state.CommState = CommStates::Idle;
    sheet.reset();
    app.reset();
    showHandBackFailures();
}

bool Forward::BeginRealtimeForward()
{
    if (GetExcelApplication(m_realtimeExcel)) {
        // Rows arrive while the application stays visible; the user cannot edit it meanwhile.
        const bool locked = guarded([&] {
            m_realtimeExcel->setInteractive(false);
            return true;
        });
        if (locked && OpenWorkbookSheet(*m_realtimeExcel, m_realtimeSheet)) {
            m_realtimeRowCount = 0;
            return true;
        }
        ignoringErrors([&] { m_realtimeExcel->setInteractive(true); });
    }
    m_realtimeSheet.reset();
    m_realtimeExcel.reset();
    showHandBackFailures();
    return false;
}

bool Forward::AppendRealtimeRow(const QString& timeText, const QString& displayText, const QString& unitText)
{
    return guarded([&] {
        if (!m_realtimeSheet)
            throw RuntimeError(QStringLiteral("Realtime forwarding has not been started."));
        ExcelWorksheet& sheet = *m_realtimeSheet;
        m_realtimeRowCount += 1;
        const int row = m_realtimeRowCount + 4;
        if (m_realtimeRowCount == 1) {
            DataDocument* document = realtimeDocument();
            if (!document)
                throw noDocument();
            sheet.Cells(4, ColumnB)->Activate();
            setText(*sheet.Cells(4, ColumnB), xl::TextFormat, document->TextMatrix(0, 1));
            setText(*sheet.Cells(4, ColumnC), xl::TextFormat, document->TextMatrix(0, 2));
            setText(*sheet.Cells(4, ColumnD), xl::TextFormat, document->TextMatrix(0, 3));
        }
        // The view follows the newest row.
        sheet.Cells(row, ColumnB)->Activate();
        setText(*sheet.Cells(row, ColumnB), xl::TextFormat, timeText);
        setText(*sheet.Cells(row, ColumnC), xl::GeneralFormat, displayText);
        setText(*sheet.Cells(row, ColumnD), xl::TextFormat, unitText);
        return true;
    });
}

void Forward::EndRealtimeForward()
{
    if (m_realtimeSheet && m_realtimeRowCount > 0) {
        // Results not looked at: whatever could be built stays.
        WriteTableFrame(*m_realtimeSheet, m_realtimeRowCount);
        WriteJudgement(*m_realtimeSheet, m_realtimeRowCount);
        AddDataChart(*m_realtimeSheet, m_realtimeRowCount);
    }
    if (m_realtimeExcel)
        ignoringErrors([&] { m_realtimeExcel->setInteractive(true); });
    m_realtimeSheet.reset();
    m_realtimeExcel.reset();
    showHandBackFailures();
}

bool Forward::nextRealtimeSheet()
{
    if (!m_realtimeSheet)
        return false;
    if (m_realtimeRowCount > 0) {
        // As at the end of a recording: whatever could be built stays.
        WriteTableFrame(*m_realtimeSheet, m_realtimeRowCount);
        AddDataChart(*m_realtimeSheet, m_realtimeRowCount);
    }
    return guarded([&] {
        const auto worksheets = m_realtimeSheet->Parent()->Worksheets();
        auto sheet = worksheets->Add();
        sheet->Move(worksheets->Item(worksheets->Count()));
        m_realtimeSheet = std::move(sheet);
        m_realtimeRowCount = 0;
        return true;
    });
}

void Forward::releaseRealtimeForward()
{
    m_realtimeSheet.reset();
    m_realtimeExcel.reset();
    showHandBackFailures();
}

} // namespace quvo
