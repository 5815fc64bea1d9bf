#pragma once
// The simulated meter as a program in the foreground: its command-line options and its run.
// quvolink-metersim and `quvolink-cli simulate` both call these, so the two take exactly
// the same options and behave the same way.

#include "MeterSimulator.h"

#include <QString>

#include <optional>

class QCommandLineParser;

namespace quvo::sim {

// What the options ask for.
struct ProgramSettings {
    SimulatorOptions options;
    bool verbose = false;    // every command and answer on standard error
    int replugAfterMs = -1;  // a new terminal this long after the old one closed (-1: never)
};

// Adds the simulator's options (--model, --no-echo, ... --verbose; not --help or --version)
// to a parser.
void addProgramOptions(QCommandLineParser& parser);

// The settings a parsed command line gives. std::nullopt with *error (a usage mistake, said
// in a sentence that names the option) when a value is not allowed or a memory file cannot
// be read.
std::optional<ProgramSettings> programSettings(const QCommandLineParser& parser, QString* error);

// The "Examples:" block of the help, each example started with `invocation`
// ("quvolink-metersim" or "quvolink-cli simulate").
QString programExamples(const QString& invocation);

// Runs a simulator until SIGINT (Ctrl+C) or SIGTERM. The device path is the first line on
// standard output, written and flushed before anything is answered; after a replug the
// new path follows as another line. Messages start with `programName` and a colon.
// Needs a QCoreApplication. Returns the exit code: 0 after a signal, 1 when no terminal
// could be made.
int runProgram(const ProgramSettings& settings, const QString& programName);

} // namespace quvo::sim
