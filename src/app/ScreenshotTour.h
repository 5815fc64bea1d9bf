#pragma once
// A short tour of the real program for its documentation: a sample realtime document of a
// few hundred readings (with a gap where the meter did not answer and an overload), the
// Monitor, and each dialog, each saved as a PNG picture. Started by the hidden --screenshots
// option; the script scripts/screenshots.sh runs it under a virtual display.

#include <QString>

namespace quvo {

class frmMain;

// Saves the pictures into `folder` and returns the process exit code (0 when all were saved).
int runScreenshotTour(frmMain& mainWindow, const QString& folder);

} // namespace quvo
