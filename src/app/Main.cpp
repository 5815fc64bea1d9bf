#include "app/Main.h"

#include "acquisition/Realtime.h"
#include "app/DarkPalette.h"
#include "app/Settings.h"
#include "app/StartOptions.h"
#include "app/ScreenshotTour.h"
#include "app/frmMain.h"
#include "app/frmSplash.h"
#include "metersim/MeterSimulator.h"
#include "resources/Constant.h"
#include "resources/EventWait.h"
#include "resources/Version.h"

#include <QApplication>
#include <QFileInfo>

#include <cstdio>
#include <memory>

namespace quvo {

namespace {

// The built-in simulated meter of --simulate: live readings that walk through the
// functions, an overload now and then, both memories filled.
std::unique_ptr<sim::SimulatorThread> startSimulator(QString* devicePath)
{
    sim::SimulatorOptions options;
    options.model = QLatin1Char('1');
    options.function = QStringLiteral("VDC");
    options.overloadEvery = 0;
    options.loggingCount = 120;
    auto simulator = std::make_unique<sim::SimulatorThread>(options);
    QString error;
    if (!simulator->start(&error)) {
        std::fprintf(stderr, "The simulated meter could not be started: %s\n", qPrintable(error));
        return nullptr;
    }
    *devicePath = simulator->devicePath();
    return simulator;
}

} // namespace

int Main(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    int exitCode = 0;
    const std::optional<StartOptions> options = parseStartOptions(arguments, &exitCode);
    if (!options)
        return exitCode;

    if (!hasDisplay()) {
        std::fputs("Quvolink needs a display for its windows, and none was found (DISPLAY is not set).\n"
                   "Without a screen use the command-line program, for example:\n"
                   "  quvolink-cli monitor --simulate --count 5\n"
                   "  quvolink-cli --help\n",
                   stderr);
        return 1;
    }
    if (!options->home.isEmpty())
        qputenv(HomeEnvVar, QFileInfo(options->home).absoluteFilePath().toLocal8Bit());

    QApplication app(argc, argv);
    QApplication::setApplicationName(AppTitle);
    QApplication::setOrganizationName(SettingsOrganisation);
    QApplication::setApplicationVersion(QString::fromLatin1(VersionString));
    if (options->dark) {
        QApplication::setStyle(QStringLiteral("Fusion"));
        QApplication::setPalette(darkPalette());
    }

    // 1. One running copy: a second start ends before any window appears.
    if (!acquireSingleInstance())
        return 0;

    QString port = options->port;
    std::unique_ptr<sim::SimulatorThread> simulator;
    if (options->simulate) {
        simulator = startSimulator(&port);
        if (!simulator)
            return 1;
    }

    // 2. The splash box stands while start-up goes on.
    frmSplash splash;
    splash.show();
    waitUntil([&] { return !splash.waitEnabled(); });

    // 3. The main window and the Monitor.
    frmMain mainWindow;
    mainWindow.Load(port);
    if (simulator)
        mainWindow.setSimulatorPort(port);
    mainWindow.show();
    mainWindow.showMonitor();

    // 4. The splash box stays on top for one more period, 5. then goes.
    splash.raise();
    splash.repaint();
    splash.enableWait();
    waitUntil([&] { return !splash.waitEnabled(); });
    splash.close();

    // A recording that a crash interrupted can be restored into a new document.
    mainWindow.realtime().restoreInterruptedRecordings();

    for (const QString& file : options->files)
        mainWindow.fileCommands().openFile(QFileInfo(file).absoluteFilePath());

    if (!options->screenshots.isEmpty())
        return runScreenshotTour(mainWindow, options->screenshots);

    return QApplication::exec();
}

} // namespace quvo
