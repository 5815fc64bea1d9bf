#pragma once
// The desktop program's command line: which port for this run, the built-in simulated meter,
// the program folder. Parsed before any window exists.

#include <QString>
#include <QStringList>

#include <optional>

namespace quvo {

struct StartOptions {
    QString port;          // --port: a number 1..16 or a device name, for this run only
    bool simulate = false; // --simulate: talk to the built-in simulated meter
    QString home;          // --home: the program folder
    QStringList files;     // data files to open
    QString screenshots;   // --screenshots: show the windows, save pictures there, end
    bool dark = false;     // --dark: the colours of a dark desktop
};

// The options, or std::nullopt after printing help, the version or a usage error (then
// *exitCode says how to end: 0 for help and version, 2 for a usage error).
std::optional<StartOptions> parseStartOptions(const QStringList& arguments, int* exitCode);

// True when this process can show windows: a display is named, or a window system plug-in
// that needs none was chosen (tests use "offscreen").
bool hasDisplay();

} // namespace quvo
