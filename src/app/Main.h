#pragma once
// The program's start: one running copy only, the splash box, the main window and the
// Monitor, and the offer to restore a recording that a crash interrupted.

#include <QStringList>

namespace quvo {

// Runs the desktop program; the exit code.
int Main(int argc, char** argv);

} // namespace quvo
