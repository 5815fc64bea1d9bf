#pragma once
// A short tour of the real program for its documentation: a sample realtime document of a
// few hundred readings (with a gap where the meter did not answer and an overload), the
// Monitor, and each dialog, each saved as a PNG picture; then the README's five-minute tour
// done for real with the simulated meter, a picture at every step ("tour-1-monitor" ...
// "tour-6-downloaded"). Started by the hidden --screenshots option together with
// --simulate; the script scripts/screenshots.sh runs it under a virtual display.

#include <QString>

namespace quvo {

class frmMain;

// Saves the pictures into `folder` and returns the process exit code (0 when all were saved).
int runScreenshotTour(frmMain& mainWindow, const QString& folder);

} // namespace quvo
