#pragma once
// The program folder of the command-line program: where the work file lives. The folder
// named by QUVOLINK_HOME when it is set, else the per-user data folder of Quvolink.

#include <QString>

namespace quvo::cli {

QString programFolder();

// Makes sure the folder exists and points programState().WorkPath at the work file in it.
// False, with the reason in `error`, when the folder cannot be made.
bool useProgramFolder(QString& error);

} // namespace quvo::cli
