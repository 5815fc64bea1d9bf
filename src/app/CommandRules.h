#pragma once
// The main window's command rules that do not need a window: which menu items a drop-down
// offers for the active child window, which command a tool-bar key stands for, and the
// filter of the data file dialogs. The main window applies the results.

#include <QString>
#include <QStringList>

namespace quvo {

// The File menu when it drops down. Open and Exit are always offered.
struct FileMenuState {
    bool close = false;
    bool save = false;
    bool saveAs = false;
    bool forward = false;
};
// `activeKind` is ParseDataKind of the active child window's Tag; without an active child
// pass hasActiveChild = false.
FileMenuState fileMenuState(bool hasActiveChild, int activeKind);

// The Settings menu when it drops down. Communications Port is left as it is.
struct SettingsMenuState {
    bool interval = false;
    bool graph = false;
};
SettingsMenuState settingsMenuState(bool hasActiveChild, int activeKind);

// The tool-bar keys of tbMain in the order a click is matched against them.
const QStringList& toolbarKeys();
// True when the key is one of them (an unknown key does nothing).
bool isToolbarKey(const QString& key);

// The filter of the data file dialogs: "CSV Files (*.CSV)|*.CSV|".
QString dataFileFilter();

} // namespace quvo
