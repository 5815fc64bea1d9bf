#include "app/ScreenshotTour.h"

#include "acquisition/frmCancel.h"
#include "acquisition/frmInterval.h"
#include "acquisition/frmMoniter.h"
#include "app/frmAbout.h"
#include "app/frmMain.h"
#include "app/frmSplash.h"
#include "document/DataDocument.h"
#include "document/frmData.h"
#include "document/frmSetting.h"
#include "forward/ForwardSetup.h"
#include "forward/frmForward.h"
#include "link/frmPort.h"
#include "publish/Publishing.h"
#include "publish/frmPublishing.h"
#include "metersim/MeterSimulator.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/Prompter.h"
#include "resources/ResID.h"
#include "resources/TextNumber.h"
#include "resources/TimeText.h"

#include <QApplication>
#include <QDir>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPixmap>
#include <QStatusBar>
#include <QTimer>

#include <cmath>
#include <cstdio>

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

    // The sample document is not to be kept: leave answering No to the save question.
    DiscardingPrompter discarding;
    mainWindow.setPrompter(&discarding);
    mainWindow.close();
    mainWindow.setPrompter(nullptr);
    return ok ? 0 : 1;
}

} // namespace quvo
