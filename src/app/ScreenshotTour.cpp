#include "app/ScreenshotTour.h"

#include "acquisition/frmCancel.h"
#include "acquisition/frmInterval.h"
#include "acquisition/frmMoniter.h"
#include "app/frmAbout.h"
#include "app/Settings.h"
#include "app/frmMain.h"
#include "app/frmSplash.h"
#include "document/ChartColours.h"
#include "document/ChartExport.h"
#include "document/ChartView.h"
#include "document/DataDocument.h"
#include "document/frmData.h"
#include "document/frmExport.h"
#include "document/frmLimits.h"
#include "document/frmSetting.h"
#include "forward/ForwardSetup.h"
#include "forward/frmForward.h"
#include "link/frmPort.h"
#include "publish/Publishing.h"
#include "publish/frmPublishing.h"
#include "metersim/MeterSimulator.h"
#include "resources/Constant.h"
#include "resources/EventWait.h"
#include "resources/ProgramState.h"
#include "resources/Prompter.h"
#include "resources/ResID.h"
#include "resources/TextNumber.h"
#include "resources/TimeText.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCursor>
#include <QDialogButtonBox>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMessageBox>
#include <QPixmap>
#include <QPushButton>
#include <QScreen>
#include <QStatusBar>
#include <QTableView>
#include <QTimer>
#include <QWheelEvent>

#include <cmath>
#include <cstdio>
#include <functional>

namespace quvo {

namespace {

// Lets the windows lay themselves out and paint.
void settle()
{
    for (int i = 0; i < 5; ++i)
        QApplication::processEvents();
}

bool save(QWidget* widget, const QString& folder, const QString& name)
{
    settle();
    const QString path = QDir(folder).filePath(name + QStringLiteral(".png"));
    if (!widget->grab().save(path)) {
        std::fprintf(stderr, "Could not save %s\n", qPrintable(path));
        return false;
    }
    std::printf("%s\n", qPrintable(path));
    return true;
}

// Waits while the event loop runs (a pointer moved on the display reaches the program
// through it).
void wait(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

// The chart tools on the sample document: the chart zoomed into around the gap with the
// reading under the pointer read out (a picture of the screen, so that the tool tip shows),
// the Export chart dialog, and the chart exported as on the screen.
bool saveChartTools(frmData* window, Prompter& prompter, const QString& folder)
{
    ChartView* chart = window->chart();
    const QPoint centre(qRound(chart->xAxis->coordToPixel(30)), chart->axisRect()->center().y());
    QWheelEvent wheel(centre, chart->mapToGlobal(centre), QPoint(), QPoint(0, 3 * 120), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(chart, &wheel);
    settle();
    // The pointer on the last reading before the gap.
    const int point = 25;
    const double value = window->document()->chartValue(point);
    QCursor::setPos(chart->mapToGlobal(
        QPoint(qRound(chart->xAxis->coordToPixel(point)), qRound(chart->yAxis->coordToPixel(value)))));
    wait(400);
    bool ok = true;
    const QRect area(window->window()->mapToGlobal(QPoint()), window->window()->size());
    const QString path = QDir(folder).filePath(QStringLiteral("chart-tools.png"));
    QScreen* screen = window->screen();
    if (chart->readoutRow() == 0 || !screen || !screen->grabWindow(0, area.x(), area.y(), area.width(), area.height()).save(path)) {
        std::fprintf(stderr, "Could not save %s (the reading under the pointer was %s)\n", qPrintable(path),
                     chart->readoutRow() ? "read" : "not read");
        ok = false;
    } else {
        std::printf("%s\n", qPrintable(path));
    }
    QCursor::setPos(area.bottomRight() + QPoint(40, 40));
    wait(100);
    {
        frmExport dialog(chart, &prompter, window);
        dialog.show();
        ok &= save(&dialog, folder, QStringLiteral("export-dialog"));
    }
    ChartPicture picture;
    picture.pixels = QSize(qRound(chart->width() * chart->devicePixelRatioF()),
                           qRound(chart->height() * chart->devicePixelRatioF()));
    picture.scale = chart->devicePixelRatioF();
    picture.title = QStringLiteral("Bench supply, 14:05 to 14:10");
    QString error;
    const QString exported = QDir(folder).filePath(QStringLiteral("chart-export.png"));
    if (saveChartPicture(*chart, exported, picture, error)) {
        std::printf("%s\n", qPrintable(exported));
    } else {
        std::fprintf(stderr, "Could not save %s: %s\n", qPrintable(exported), qPrintable(error));
        ok = false;
    }
    chart->resetView();
    return ok;
}

// A realtime document of 300 readings a second apart: a slow wave in volts DC, one second
// without an answer and one overload.
void fillSampleDocument(DataDocument& document)
{
    document.SetInterval(QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("00"), QStringLiteral("01"));
    document.SetGraphcount(120);
    QString label = QStringLiteral("14:05:00");
    for (int i = 0; i < 300; ++i) {
        document.AddGridrow();
        QString value = formatFixed(2.5 + 1.2 * std::sin(i / 18.0) + 0.08 * std::sin(i * 1.7), 3);
        QString mode = QStringLiteral("VDC");
        bool numeric = true;
        if (i == 205) {
            value = ErrorReading;
            mode.clear();
            numeric = false;
        } else if (i == 250) {
            value = QStringLiteral("+OL");
            numeric = false;
        }
        document.AddRealtimedata(label, value, mode, numeric, value);
        label = addToTimeLabel(label, 0, 0, 0, 1);
    }
    document.DispCalculation();
    document.PaintGraphtop();
}

// Runs the event loop until done() holds or the time is up; true when it held.
bool waitFor(const std::function<bool()>& done, int milliseconds)
{
    QElapsedTimer clock;
    clock.start();
    QTimer look; // wakes the wait to look at the clock when nothing else happens
    look.start(50);
    waitUntil([&] { return done() || clock.elapsed() >= milliseconds; });
    return done();
}

void pause(int milliseconds)
{
    waitFor([] { return false; }, milliseconds);
}

// Runs step(window) from the event loop of the next modal window (a message box, a dialog)
// once it is up, as a person answers it.
void onNextModal(std::function<void(QWidget*)> step)
{
    auto* poll = new QTimer(qApp);
    poll->setInterval(20);
    QObject::connect(poll, &QTimer::timeout, poll, [poll, step = std::move(step)] {
        QWidget* modal = QApplication::activeModalWidget();
        if (!modal || !modal->isVisible())
            return;
        poll->stop();
        poll->deleteLater();
        settle();
        step(modal);
    });
    poll->start();
}

void setText(QWidget* dialog, const char* name, const QString& text)
{
    if (auto* box = dialog->findChild<QLineEdit*>(QLatin1String(name)))
        box->setText(text);
}

void click(QWidget* dialog, const char* name)
{
    if (auto* button = dialog->findChild<QAbstractButton*>(QLatin1String(name)))
        button->click();
}

// A message box's button: Yes, No, OK.
void answer(QWidget* modal, QMessageBox::StandardButton choice)
{
    if (auto* box = qobject_cast<QMessageBox*>(modal)) {
        if (QAbstractButton* button = box->button(choice))
            button->click();
    }
}

// The file dialog, shown on `folder`, with `name` typed; its picture is taken, then it is
// accepted.
void chooseInFileDialog(QWidget* modal, const QString& folder, const QString& name, const QString& picture,
                        const QString& pictures, bool* ok)
{
    auto* dialog = qobject_cast<QFileDialog*>(modal);
    if (!dialog) {
        *ok = false;
        modal->close();
        return;
    }
    dialog->setDirectory(folder);
    settle();
    if (auto* nameBox = dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit")))
        nameBox->setText(name);
    *ok &= save(dialog, pictures, picture);
    // Its Save or Open button.
    if (auto* buttons = dialog->findChild<QDialogButtonBox*>()) {
        const auto role = dialog->acceptMode() == QFileDialog::AcceptSave ? QDialogButtonBox::Save : QDialogButtonBox::Open;
        if (QPushButton* button = buttons->button(role))
            button->click();
    }
}

QString monitorText(frmMain& mainWindow)
{
    frmMoniter* monitor = mainWindow.monitorWindow();
    auto* value = monitor ? monitor->findChild<QLabel*>(QStringLiteral("llValue")) : nullptr;
    return value ? value->text() : QString();
}

// A step of the tour that must have worked; says which one did not.
bool expect(bool done, const char* what)
{
    if (!done)
        std::fprintf(stderr, "The tour's step did not work: %s\n", what);
    return done;
}

bool idle()
{
    return programState().CommState == CommStates::Idle;
}

// The README's five-minute tour, done for real with the simulated meter: the commands the
// tour names, the dialogs answered as it says, a picture at every step ("tour-<step>-...").
// The workbook of step 5 is not written: its dialog is pictured and cancelled, so a run of
// the script leaves nothing in the documents folder.
bool runReadmeTour(frmMain& mainWindow, const QString& pictures)
{
    bool ok = true;
    const QString folder = programFolder();

    // 1. Watch the live reading: Monitor receive > Start, a few readings, Stop.
    const QString before = monitorText(mainWindow);
    mainWindow.runCommand(QStringLiteral("mnuMoniterStart"));
    ok &= expect(waitFor([&] { return monitorText(mainWindow) != before; }, 10000), "the Monitor shows the meter's reading");
    pause(2500);
    ok &= save(&mainWindow, pictures, QStringLiteral("tour-1-monitor"));
    mainWindow.runCommand(QStringLiteral("mnuMoniterStop"));
    ok &= expect(waitFor(idle, 10000), "the operation ends after Stop");

    // 2. Record: New with a reading every second for a minute, Start without forwarding.
    onNextModal([&](QWidget* dialog) {
        setText(dialog, "tbIday", QStringLiteral("00"));
        setText(dialog, "tbIhour", QStringLiteral("00"));
        setText(dialog, "tbImin", QStringLiteral("00"));
        setText(dialog, "tbIsec", QStringLiteral("01"));
        click(dialog, "obUser");
        setText(dialog, "tbPday", QStringLiteral("00"));
        setText(dialog, "tbPhour", QStringLiteral("00"));
        setText(dialog, "tbPmin", QStringLiteral("01"));
        setText(dialog, "tbPsec", QStringLiteral("00"));
        ok &= save(dialog, pictures, QStringLiteral("tour-2-interval"));
        click(dialog, "btOk");
    });
    mainWindow.runCommand(QStringLiteral("mnuRealtimeNew"));
    DataDocument* recording = mainWindow.activeDocument();
    onNextModal([&](QWidget* question) {
        ok &= save(question, pictures, QStringLiteral("tour-2-forward-question"));
        answer(question, QMessageBox::No);
    });
    mainWindow.runCommand(QStringLiteral("mnuRealtimeStart"));
    ok &= expect(recording && waitFor([&] { return recording->GetDatacount() >= 8; }, 20000), "eight rows recorded");
    ok &= save(&mainWindow, pictures, QStringLiteral("tour-2-recording"));
    mainWindow.runCommand(QStringLiteral("mnuRealtimeStop"));
    ok &= expect(waitFor(idle, 10000), "the operation ends after Stop");

    // 3. Save As "tour".
    onNextModal([&](QWidget* modal) {
        chooseInFileDialog(modal, folder, QStringLiteral("tour"), QStringLiteral("tour-3-save-as"), pictures, &ok);
    });
    mainWindow.runCommand(QStringLiteral("mnuFileSaveAs"));
    ok &= expect(QFileInfo::exists(QDir(folder).filePath(QStringLiteral("tour.CSV"))), "tour.CSV saved");

    // 4. Close the document, then Open tour.CSV again.
    mainWindow.runCommand(QStringLiteral("mnuFileClose"));
    settle();
    onNextModal([&](QWidget* modal) {
        chooseInFileDialog(modal, folder, QStringLiteral("tour.CSV"), QStringLiteral("tour-4-open"), pictures, &ok);
    });
    mainWindow.runCommand(QStringLiteral("mnuFileOpen"));
    ok &= expect(mainWindow.activeDocument() != nullptr, "tour.CSV opened");
    ok &= save(&mainWindow, pictures, QStringLiteral("tour-4-opened"));

    // 5. Forward to a workbook: New, a title; the picture, then Cancel (see above).
    onNextModal([&](QWidget* dialog) {
        click(dialog, "obNew");
        setText(dialog, "tbTitle", QStringLiteral("My first recording"));
        ok &= save(dialog, pictures, QStringLiteral("tour-5-forward"));
        click(dialog, "btCancel");
    });
    mainWindow.runCommand(QStringLiteral("mnuFileForward"));

    // 6. Download the LOGGING memory: No to forwarding; the progress dialog while it runs.
    onNextModal([](QWidget* question) { answer(question, QMessageBox::No); });
    bool progressPictured = false;
    QTimer watch;
    watch.setInterval(10);
    QObject::connect(&watch, &QTimer::timeout, [&] {
        for (QWidget* top : QApplication::topLevelWidgets()) {
            auto* progress = qobject_cast<frmCancel*>(top);
            if (progressPictured || !progress || !progress->isVisible())
                continue;
            // Some way into the 120 records ("40/ 120").
            auto* count = progress->findChild<QLabel*>(QStringLiteral("DataCount"));
            if (count && count->text().section(QLatin1Char('/'), 0, 0).trimmed().toInt() >= 40) {
                progressPictured = save(progress, pictures, QStringLiteral("tour-6-download"));
                watch.stop();
            }
        }
    });
    watch.start();
    mainWindow.runCommand(QStringLiteral("mnuDataLoging"));
    watch.stop();
    ok &= expect(progressPictured, "a picture of the progress dialog");

    ok &= save(&mainWindow, pictures, QStringLiteral("tour-6-downloaded"));
    return ok;
}

// Answers No to every question: the tour's sample document is closed without saving.
class DiscardingPrompter : public Prompter {
public:
    PromptAnswer message(const QString&, PromptButtons, PromptIcon, PromptAnswer) override { return PromptAnswer::No; }
    QString chooseFile(const FileDialogRequest&) override { return {}; }
};

} // namespace

int runScreenshotTour(frmMain& mainWindow, const QString& folder)
{
    QDir().mkpath(folder);
    bool ok = true;
    mainWindow.resize(1180, 720);

    DataDocument* document = mainWindow.newDocument(DataKinds::Realtime);
    fillSampleDocument(*document);
    frmData* window = mainWindow.windowOf(document);
    if (auto* frame = qobject_cast<QMdiSubWindow*>(window->parentWidget())) {
        frame->resize(830, 460);
        frame->move(0, 0);
    }

    frmMoniter* monitor = mainWindow.showMonitor();
    sim::MeterValue reading;
    reading.number = QStringLiteral("01.234");
    const QString answer = sim::readingLine(QStringLiteral("RR"), reading);
    monitor->SetData(answer + sim::checkCharacter(answer));
    if (QWidget* frame = monitor->frame())
        frame->move(834, 0);
    if (auto* frame = qobject_cast<QMdiSubWindow*>(window->parentWidget()))
        mainWindow.mdiArea()->setActiveSubWindow(frame);

    ok &= save(&mainWindow, folder, QStringLiteral("main-window"));
    ok &= save(window, folder, QStringLiteral("data-window"));
    ok &= save(monitor->frame(), folder, QStringLiteral("monitor"));
    ok &= saveChartTools(window, mainWindow.prompter(), folder);

    {
        frmInterval dialog(document, &mainWindow.prompter(), &mainWindow);
        dialog.show();
        ok &= save(&dialog, folder, QStringLiteral("interval-dialog"));
    }
    {
        frmSetting dialog(document, &mainWindow.prompter(), &mainWindow);
        dialog.show();
        ok &= save(&dialog, folder, QStringLiteral("graph-dialog"));
    }
    {
        frmPort dialog(&mainWindow.link(), &mainWindow);
        dialog.show();
        ok &= save(&dialog, folder, QStringLiteral("port-dialog"));
    }
    {
        ForwardSetup setup(mainWindow.prompter());
        setup.Load();
        frmForward dialog(setup, &mainWindow);
        dialog.show();
        ok &= save(&dialog, folder, QStringLiteral("forward-dialog"));
    }
    {
        frmCancel progress(&mainWindow);
        progress.show();
        progress.SetCaption(ResID(Res::ReceiveLoggingMode));
        progress.SetMessage(ResID(Res::Receiving));
        progress.RenProgress(false, 20, 150);
        ok &= save(&progress, folder, QStringLiteral("progress-dialog"));
        progress.unload();
    }
    {
        frmAbout about(&mainWindow);
        about.show();
        ok &= save(&about, folder, QStringLiteral("about-box"));
    }
    {
        frmSplash splash;
        splash.show();
        ok &= save(&splash, folder, QStringLiteral("splash"));
    }
    {
        PublishSettings example;
        example.enabled = true;
        example.url = QStringLiteral("mqtts://broker.lab:8883");
        example.userName = QStringLiteral("bench");
        example.password = QStringLiteral("secret");
        example.topicPrefix = QStringLiteral("lab/bench1");
        frmPublishing dialog(example, &mainWindow.prompter(), &mainWindow);
        dialog.show();
        ok &= save(&dialog, folder, QStringLiteral("publishing-dialog"));
    }
    // The status bar while publishing to a real broker, when the script started one.
    const QString broker = qEnvironmentVariable("QUVOLINK_SCREENSHOT_BROKER");
    if (!broker.isEmpty()) {
        PublishSettings settings;
        settings.enabled = true;
        settings.url = broker;
        settings.topicPrefix = QStringLiteral("lab/bench1");
        Publishing& publishing = mainWindow.publishing();
        const QString problem = publishing.apply(settings) ? publishing.waitForBroker(std::chrono::seconds(5))
                                                            : QStringLiteral("the settings were refused");
        if (!problem.isEmpty()) {
            std::fprintf(stderr, "Publishing to %s: %s\n", qPrintable(broker), qPrintable(problem));
            ok = false;
        }
        ok &= save(mainWindow.statusBar(), folder, QStringLiteral("publishing-status"));
        publishing.stop();
    }

    // Limits: the dialog, then the document, its chart and the Monitor judging against them
    // (for this run only: nothing is kept in the person's settings).
    Limits limits;
    limits.upper = 3.5;
    limits.lower = 1.5;
    limits.unit = QStringLiteral("VDC");
    limits.buzzer = true;
    {
        frmLimits dialog(limits, &mainWindow.prompter(), &mainWindow);
        dialog.show();
        ok &= save(&dialog, folder, QStringLiteral("limits-dialog"));
    }
    mainWindow.useLimits(limits);
    // The table scrolled to the first rows above the upper limit.
    for (int row = 1; row <= document->GetDatacount(); ++row) {
        if (document->judgement(row) == Judgement::Hi) {
            QTableView* grid = window->grid();
            grid->scrollTo(grid->model()->index(row - 1 + 4, 0), QAbstractItemView::PositionAtBottom);
            grid->clearSelection();
            break;
        }
    }
    reading.number = QStringLiteral("03.712");
    const QString high = sim::readingLine(QStringLiteral("RR"), reading);
    monitor->SetData(answer + sim::checkCharacter(answer));
    monitor->SetData(high + sim::checkCharacter(high));
    QWidget* monitorFrame = monitor->frame();
    const QPoint monitorPlace = monitorFrame ? monitorFrame->pos() : QPoint();
    if (auto* frame = qobject_cast<QMdiSubWindow*>(window->parentWidget())) {
        mainWindow.mdiArea()->setActiveSubWindow(frame);
        // The Monitor below the document, where the picture shows its comparator lit.
        if (monitorFrame && monitorFrame->parentWidget() == frame->parentWidget())
            monitorFrame->move(frame->geometry().right() - monitorFrame->width(), frame->geometry().bottom() + 4);
        settle();
    }
    ok &= save(&mainWindow, folder, QStringLiteral("main-window-limits"));
    if (monitorFrame)
        monitorFrame->move(monitorPlace);
    ok &= save(window, folder, QStringLiteral("data-window-limits"));
    ok &= save(monitor->frame(), folder, QStringLiteral("monitor-limits"));
    mainWindow.useLimits(Limits{});

    // The README's tour, on a main window with only the Monitor (the sample document is
    // not to be kept: it is closed answering No to the save question).
    DiscardingPrompter discarding;
    mainWindow.setPrompter(&discarding);
    if (auto* frame = qobject_cast<QMdiSubWindow*>(window->parentWidget()))
        frame->close();
    mainWindow.setPrompter(nullptr);
    settle();
    // The README's tour is pictured once, as most desktops show it: at the normal scale and
    // in light colours.
    if (qApp->devicePixelRatio() == 1.0 && !isDarkPalette(qApp->palette()))
        ok &= runReadmeTour(mainWindow, folder);

    mainWindow.setPrompter(&discarding);
    mainWindow.close();
    mainWindow.setPrompter(nullptr);
    return ok ? 0 : 1;
}

} // namespace quvo
