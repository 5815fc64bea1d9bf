#pragma once
// The commands of quvolink-cli. Each command lives in its own source file and is listed
// once in Commands.cpp; main.cpp only finds the command by name and runs it.

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

namespace quvo::cli {

// Exit codes of every command.
constexpr int ExitOk = 0;
constexpr int ExitFailed = 1; // the command could not do its work (message on stderr)
constexpr int ExitUsage = 2;  // wrong arguments (usage on stderr)
constexpr int ExitOutOfLimits = 3; // done, and some reading was out of the limits given

struct CliCommand {
    QString name;     // "stats"
    QString synopsis; // "stats FILE"
    QString summary;  // one line for the general help
    // Runs with the arguments after the command's name; returns the exit code.
    std::function<int(const QStringList& arguments)> run;
};

const std::vector<CliCommand>& cliCommands();

// Output helpers: text as UTF-8, lines ended by "\n".
void printOut(const QString& text);
void printError(const QString& text);

// The commands.
int runStats(const QStringList& arguments);
int runInfo(const QStringList& arguments);
int runMonitor(const QStringList& arguments);
int runRecord(const QStringList& arguments);
int runDownload(const QStringList& arguments);
int runRecover(const QStringList& arguments);
int runForward(const QStringList& arguments);
int runDecode(const QStringList& arguments);
int runSimulate(const QStringList& arguments);
int runPlot(const QStringList& arguments); // starts quvolink-plot (PlotLauncher.cpp)

} // namespace quvo::cli
