#pragma once
// The program folder of the command-line program: the same folder as the desktop program's
// (QUVOLINK_HOME, a portable install, else the per-user folder), so that settings, the work
// file and recording journals are shared.

#include <QString>

namespace quvo::cli {

QString programFolder();

// Makes sure the folder exists, points IniPath and WorkPath at the files in it and removes
// what a crash left there (removeLeftoversOfCrash). False, with the reason in `error`, when
// the folder cannot be made.
bool useProgramFolder(QString& error);

} // namespace quvo::cli
