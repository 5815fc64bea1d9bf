#include "cli/MeterSession.h"

#include "acquisition/HeadlessHost.h"
#include "app/Settings.h"
#include "cli/CliCommand.h"
#include "cli/ProgramFolder.h"
#include "link/Comm.h"
#include "resources/Constant.h"
#include "resources/ProgramState.h"
#include "resources/Prompter.h"
#include "resources/TextNumber.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFile>

#ifdef QUVO_HAVE_SIMULATOR
#include "metersim/MeterSimulator.h"
#endif

namespace quvo::cli {

namespace {
const QString PortOption = QStringLiteral("port");
const QString HomeOption = QStringLiteral("home");
const QString SimulateOption = QStringLiteral("simulate");
} // namespace

const char* const GlobalOptionsHelp =
    "Options for every command (before or after the command's name):\n"
    "  --port PORT   the meter's serial port: a number from 1 to 16 (the n-th serial port)\n"
    "                or a device name such as /dev/ttyUSB0; default: the port in the\n"
    "                settings file QUVO.INI of the program folder\n"
    "  --home DIR    the program folder for this run (settings file, work file, recording\n"
    "                journals); the same as setting QUVOLINK_HOME\n"
    "  --simulate    talk to a simulated meter (model 1) started inside the program\n";

GlobalOptions& globalOptions()
{
    static GlobalOptions options;
    return options;
}

void addGlobalOptions(QCommandLineParser& parser)
{
    parser.addOption({PortOption, QStringLiteral("Serial port: a number from 1 to 16 or a device name."),
                      QStringLiteral("PORT")});
    parser.addOption({HomeOption, QStringLiteral("Program folder (settings file, work file, journals)."),
                      QStringLiteral("DIR")});
    parser.addOption({SimulateOption, QStringLiteral("Talk to a simulated meter inside this program.")});
}

bool isValidPortOption(const QString& text, QString* error)
{
    double value = 0;
    if (text.trimmed().isEmpty() || (parseNumber(text, value) && (value < 1 || value > 16 || value != int(value)))) {
        if (error)
            *error = QStringLiteral("--port: \"%1\" is neither a port number from 1 to 16 nor a device name.").arg(text);
        return false;
    }
    return true;
}

bool takeGlobalOptions(const QCommandLineParser& parser, QString* error)
{
    GlobalOptions& options = globalOptions();
    if (parser.isSet(PortOption)) {
        const QString port = parser.value(PortOption);
        if (!isValidPortOption(port, error))
            return false;
        options.port = port;
    }
    if (parser.isSet(HomeOption)) {
        const QString home = parser.value(HomeOption);
        if (home.trimmed().isEmpty()) {
            if (error)
                *error = QStringLiteral("--home: a folder is needed.");
            return false;
        }
        options.home = QDir(home).absolutePath();
        qputenv(HomeEnvVar, QFile::encodeName(options.home));
    }
    if (parser.isSet(SimulateOption))
        options.simulate = true;
    return true;
}

void printMessage(const QString& text)
{
    QString shown = text;
    shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    printError(shown.endsWith(QLatin1Char('\n')) ? shown : shown + QLatin1Char('\n'));
}

int usageError(const QString& message, const QString& help)
{
    printError(message + QStringLiteral("\n\n") + help);
    return ExitUsage;
}

std::optional<int> parseCommand(QCommandLineParser& parser, const QString& name, const QStringList& arguments,
                                const QString& help)
{
    const QCommandLineOption helpOption({QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help."));
    parser.addOption(helpOption);
    addGlobalOptions(parser);
    if (!parser.parse(QStringList{name} + arguments))
        return usageError(parser.errorText(), help);
    if (parser.isSet(helpOption)) {
        printOut(help);
        return ExitOk;
    }
    QString error;
    if (!takeGlobalOptions(parser, &error))
        return usageError(error, help);
    return std::nullopt;
}

#ifdef QUVO_HAVE_SIMULATOR
struct MeterSession::Simulator {
    sim::SimulatorThread thread{sim::SimulatorOptions{}};
};
#else
struct MeterSession::Simulator {};
#endif

// The link's only message is a port that cannot be opened: the system's reason and, for a
// port that is missing or not allowed, what to do (the same text the desktop program shows).
// On the command line it starts by naming the port.
class MeterSession::PortPrompter : public Prompter {
public:
    const Comm* comm = nullptr;
    PromptAnswer message(const QString& text, PromptButtons, PromptIcon, PromptAnswer defaultAnswer) override
    {
        printMessage(comm ? QStringLiteral("The port %1 cannot be opened: %2").arg(comm->portName(), text) : text);
        return defaultAnswer;
    }
    QString chooseFile(const FileDialogRequest&) override { return {}; }
};

MeterSession::MeterSession()
    : m_host(std::make_unique<HeadlessHost>()), m_portPrompter(std::make_unique<PortPrompter>())
{
    m_host->setMessageHandler(printMessage);
    m_comm = std::make_unique<Comm>(m_portPrompter.get());
    m_portPrompter->comm = m_comm.get();
}

MeterSession::~MeterSession()
{
    m_comm.reset(); // the port closes before the simulated meter goes
    m_simulator.reset();
}

Comm& MeterSession::comm()
{
    return *m_comm;
}

HeadlessHost& MeterSession::host()
{
    return *m_host;
}

bool MeterSession::start(QString* error)
{
    QString folderError;
    if (!useProgramFolder(folderError)) {
        if (error)
            *error = folderError;
        return false;
    }
    m_folder = cli::programFolder();
    ProgramState& s = programState();
    s.IniPath = settingsFilePath(m_folder);
    s.WorkPath = workFilePath(m_folder);
    ReadSettings(); // port "1" when there is no settings file

    const GlobalOptions& options = globalOptions();
    QString port = options.port.isEmpty() ? s.PortNumber : options.port;
    if (options.simulate) {
#ifdef QUVO_HAVE_SIMULATOR
        m_simulator = std::make_unique<Simulator>();
        QString simulatorError;
        if (!m_simulator->thread.start(&simulatorError)) {
            if (error)
                *error = QStringLiteral("The simulated meter cannot be started: %1").arg(simulatorError);
            return false;
        }
        port = m_simulator->thread.devicePath();
#else
        if (error)
            *error = QStringLiteral("--simulate is not available on this system.");
        return false;
#endif
    }
    s.PortNumber = port;
    m_comm->setCommPort(port);
    return true;
}

} // namespace quvo::cli
