#pragma once
// Small file helpers shared by the data file code: can a file be read, and the work file
// ("WORK.~~~" in the program folder, path in programState().WorkPath) through which every
// data file is saved and opened.

#include <QString>

namespace quvo {

// True when the file can be opened for reading (it is closed again at once).
bool CanOpenForInput(const QString& path);

// Creates the work file, empty, when it cannot be opened for reading. Errors are ignored:
// the write that follows reports them.
void EnsureWorkFile();

// Deletes the work file; errors (no such file) are ignored.
void DeleteWorkFile();

} // namespace quvo
