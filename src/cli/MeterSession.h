#pragma once
// What every meter command of quvolink-cli needs: the global options (--port, --home,
// --simulate), the program folder with its settings file, the meter link, a window-less
// host, and the simulated meter when asked for.

#include <QString>

#include <memory>
#include <optional>

#include <QStringList>

class QCommandLineParser;

namespace quvo {
class Comm;
class HeadlessHost;
} // namespace quvo

namespace quvo::cli {

// The help text of the global options, for the commands' help.
extern const char* const GlobalOptionsHelp;

// The options every command takes, before the command's name or among its own arguments.
struct GlobalOptions {
    QString port;          // --port: "1".."16" or a device name; empty: the settings file's port
    QString home;          // --home: the program folder for this run (sets QUVOLINK_HOME)
    bool simulate = false; // --simulate: a simulated meter inside this process
};
GlobalOptions& globalOptions();

// Adds --port, --home and --simulate to a command's parser.
void addGlobalOptions(QCommandLineParser& parser);
// Takes the global options a parser found (given after the command, they win over those
// given before it) and applies --home. False with *error for a bad value (a usage error).
bool takeGlobalOptions(const QCommandLineParser& parser, QString* error);
// --port: a number from 1 to 16, or a device name (any text that is not a number).
bool isValidPortOption(const QString& text, QString* error);

// Writes a message box's text to stderr as the command-line program shows it.
void printMessage(const QString& text);

// Parses a command's arguments with its own options plus the global ones, and handles
// --help. Returns std::nullopt when the command may go on; otherwise the exit code (0 after
// --help, ExitUsage after a usage error, whose message and the help are on stderr).
std::optional<int> parseCommand(QCommandLineParser& parser, const QString& name, const QStringList& arguments,
                                const QString& help);
// A usage error: the message, an empty line and the help on stderr; ExitUsage.
int usageError(const QString& message, const QString& help);

class MeterSession {
public:
    MeterSession();
    ~MeterSession();
    MeterSession(const MeterSession&) = delete;
    MeterSession& operator=(const MeterSession&) = delete;

    // Sets up the program folder (work file, settings file), reads the port from the
    // settings file unless --port gave one, starts the simulated meter for --simulate and
    // points the link at the port. False with *error when something cannot be set up.
    bool start(QString* error);

    Comm& comm();
    HeadlessHost& host();
    QString programFolder() const { return m_folder; }

private:
    struct Simulator;
    class PortPrompter;
    std::unique_ptr<HeadlessHost> m_host;
    std::unique_ptr<PortPrompter> m_portPrompter;
    std::unique_ptr<Comm> m_comm;
    std::unique_ptr<Simulator> m_simulator;
    QString m_folder;
};

} // namespace quvo::cli
