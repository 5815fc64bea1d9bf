#pragma once
// The program's saves, one call each, as the crash helper program and the save tests run
// them: a data file through the work file, the settings file, a recording journal, a
// workbook (new, or a sheet grafted into an existing one) through quvolink-cli's forward
// command. Each returns 0 when the save succeeded and 1 when it failed (with the reason in
// `error` where there is one).

#include <QString>
#include <QStringList>

namespace quvo::faults {

// The value of row k of the content these writers save ("100.5", "101.5", ...), so that old
// and new content are told apart.
QString newValue(int k);

// A realtime document of `rows` readings saved to `target`, the work file in `programFolder`.
int saveDataFile(const QString& programFolder, const QString& target, int rows, QString& error);
// The settings file QUVO.INI in `folder` with these three lines.
int saveSettingsFile(const QString& folder, const QString& port, const QString& file, const QString& title);
// A new recording journal in `folder`: its start line and `rows` rows. Prints its path.
int writeJournal(const QString& folder, int rows, QString& error);
// quvolink-cli forward ARGUMENTS (the program folder from QUVOLINK_HOME).
int forwardToWorkbook(const QStringList& arguments);

} // namespace quvo::faults
