#pragma once
// The data file ("CSV Files"): seven header lines, then one line per grid row; single-byte
// text (Latin-1), fields separated by "," without quoting, every line ended by CR LF.
// docs/data-file-format.md describes it line by line.
//
// The reader and writer themselves are members of DataDocument (ReadDataFile,
// WriteDataFile, OpenFile, SaveFile; defined in DataFile.cpp); this header holds the field
// rules they share and the limits of what a reader accepts.

#include "resources/Constant.h"

#include <QLatin1StringView>
#include <QString>
#include <QStringList>
#include <QStringView>

namespace quvo {

constexpr int DataFileHeaderLines = 7;
// A longer line is refused: no meter reading comes near it, and it bounds what a broken
// file can make the reader hold.
constexpr int DataFileMaxLineLength = 4096; // characters, without CR LF
// Nothing larger can be a data file: every line at its longest, every row filled.
constexpr qint64 DataFileMaxBytes = qint64(DataFileHeaderLines + MaxReadings) * (DataFileMaxLineLength + 2);

// The window size on line 2, in twips, is written within 0..32767: the range of the 16-bit
// numbers every reader of these files takes. A window larger than that (about 2185 pixels
// at 96 DPI) is written as 32767. On reading, any number is taken and brought into the same
// range, so files that hold a larger size (written before the size was kept in range) open;
// the window then makes itself no larger than the room it has.
constexpr float DataFileMaxWindowTwips = 32767;
float windowTwipsInRange(double twips);

// Splits a line at "," into `count` fields. When the line has fewer fields than asked, the
// next fields start again from the beginning of the line: "a,b" split into 4 gives "a",
// "b", "a", "b". A line ending in "," gives an empty field before the wrap.
QStringList SplitFields(const QString& line, int count);
// The same into `fields` (room for `count`), as views of `line`.
void splitFields(QStringView line, int count, QStringView* fields);
void splitFields(QLatin1StringView line, int count, QLatin1StringView* fields);

// Checks days 0-99, hours 0-23, minutes 0-59, seconds 0-59 (16-bit numbers) and a total
// that is not zero; on success writes each back with at least two digits ("1" gives "01").
bool CheckTimeFields(QString& days, QString& hours, QString& minutes, QString& seconds);

} // namespace quvo
