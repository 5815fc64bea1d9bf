#pragma once
// Everything the program keeps between runs, and the check that only one copy runs:
//
// - the program folder, which holds the settings file QUVO.INI and the work file WORK.~~~;
// - the settings file: three text lines (port, remembered workbook, remembered title),
//   read once at start and written once at exit;
// - the per-user settings store: the main window's placement, in twips, kept as the text of
//   single-precision numbers (the Monitor keeps its own position: acquisition/MoniterPosition.h);
// - the single-instance lock.
//
// QtCore only: the main window calls these, tests drive them without a display.

#include "resources/SettingsStore.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <memory>
#include <optional>

class QSettings;

namespace quvo {

// --- Program folder and file paths ------------------------------------------------------

// The folder of the settings and work files: the folder named by QUVOLINK_HOME when set;
// else the executable's folder when it is a portable install; else the per-user data folder.
// The desktop program and the command-line program share it, so a recording journal or a
// port setting of one is seen by the other.
QString chooseProgramFolder(const QString& homeVariable, const QString& executableFolder,
                            bool executableFolderIsPortable, const QString& appDataFolder);
// A portable install is a writable program folder that already holds a QUVO.INI: copy the
// program and a settings file onto a stick and it keeps everything there. Writability alone
// is not enough: the superuser can write into /usr/bin, which must never fill up with
// settings files.
bool isPortableFolder(const QString& executableFolder);
// The per-user folder: <user data folder>/Quvolink (~/.local/share/Quvolink here).
QString perUserProgramFolder();
// The folder for this process (the per-user folder is created when it is chosen).
QString programFolder();

// A file in a folder: appended directly when the folder text already ends in a separator
// ("C:\" or "/tmp/x/"), otherwise with one separator in between ("/tmp/x" + "/QUVO.INI").
QString programFilePath(const QString& folder, const QString& fileName);
QString settingsFilePath(const QString& folder); // folder + QUVO.INI
QString workFilePath(const QString& folder);     // folder + WORK.~~~

// Sets IniPath and WorkPath from the program folder.
void setupProgramPaths();

// Removes what a crash or a power cut can leave behind in the program folder: the program's
// temporary files whose process has ended (a settings file or a data file half replaced),
// the work file when no running program is saving or opening through it, and the lock files
// of recording journals that are gone. Recording journals themselves stay: they are offered
// for restoring. Both programs call this at start, once the folder is known. Returns the
// names removed.
QStringList removeLeftoversOfCrash(const QString& folder);

// --- The settings file --------------------------------------------------------------------

// Reads IniPath's three lines into PortNumber, ForwardFile and ForwardTitle. A missing file
// or one of fewer than three lines gives "1", "" and "" without a word. Lines may end in
// CR LF, LF or CR.
void ReadSettings();

// Writes PortNumber, ForwardFile and ForwardTitle to IniPath, each line ended by CR LF. The
// file is replaced whole or not at all (a crash never leaves half a file). Once the first
// line is written, a PortNumber that is a number below 1 or above 16 is reset to "1" in
// memory (the file keeps the text written); a device name is kept. Failures are silent.
void WriteSettings();

// True when the text is a number outside the serial port numbers 1 to 16.
bool isPortNumberOutOfRange(const QString& portNumber);

// --- The per-user settings store ------------------------------------------------------------

// setSettingsStoreFolder (tests) is in resources/SettingsStore.h.
// The store, with the group "Settings" begun.
std::unique_ptr<QSettings> openSettingsStore();

enum class WindowState : std::int16_t { Normal = 0, Minimised = 1, Maximised = 2 };

// A window's placement in twips.
struct Placement {
    float left = 0;
    float top = 0;
    float width = 0;
    float height = 0;
    bool operator==(const Placement&) const = default;
};

// The main window's placement when nothing is stored.
inline constexpr Placement DefaultMainPlacement{1000, 1000, 10000, 6500};

// The texts written at exit. MainState is absent when the window was minimised, so the
// state of the previous exit stays.
struct MainPlacementRecord {
    std::optional<QString> MainState;
    QString MainLeft, MainTop, MainWidth, MainHeight;
    bool operator==(const MainPlacementRecord&) const = default;
};

// What to write for the main window, by its state at exit: normal writes state "0" and the
// current placement; maximised writes "2" and the last normal placement; minimised writes
// the last normal placement and no state.
MainPlacementRecord mainPlacementToWrite(WindowState state, const Placement& current, const Placement& normal);
void writeMainPlacement(const MainPlacementRecord& record);

// The stored placement. An absent value gives its default; a value that is not a number
// (or, for the state, not 0, 1 or 2) is absent here: the window keeps what it has.
struct StoredMainPlacement {
    std::optional<float> left, top, width, height;
    std::optional<WindowState> state;
};
StoredMainPlacement readMainPlacement();

// --- Single instance ----------------------------------------------------------------------

// The lock file in the user's runtime folder (the temporary folder when there is none).
QString singleInstanceLockPath();

// Takes the lock that marks a running program; false when another running program holds it.
// A lock left behind by a program that no longer runs is taken over. The lock is held until
// releaseSingleInstance() or the end of the process. An empty path means
// singleInstanceLockPath().
bool acquireSingleInstance(const QString& lockPath = QString());
void releaseSingleInstance();

} // namespace quvo
