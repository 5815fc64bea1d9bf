#pragma once
// The widest texts the status panels of a document window show: what the window's default
// size is made for, so that a new document shows its MAX, MIN and AVG lines whole.
//
// A meter reading is a sign, at most five digits and a point, and an exponent of the unit's
// prefix ("E-3"); the AVG text writes the average with the pattern of its unit class and
// range (up to nine decimals) and that exponent again. The widest readings are therefore
// the negative five-digit ones of each function word and prefix that the statistics tell
// apart, and the widest MAX and MIN lines name such a reading in the last row a document
// can have.

#include <QString>
#include <QStringList>

#include <vector>

namespace quvo {

// One reading a meter can send, with the meter model under which its average is written
// at its widest (models "2" and "3" give "V" and "A" more decimals).
struct WidestReading {
    QString mode;       // the function word, "VDC"
    QString value;      // the value text with its exponent, "-99999E-3"; also its raw text
    QString meterModel; // MeterModel while it is averaged
};

// Every function word of the unit classification with each prefix the meter gives it.
const std::vector<WidestReading>& widestReadings();

// The MAX / MIN line (a realtime document, the reading in row 32767 at "00:00:00") and the
// AVG text of each of those readings, as DataDocument writes them.
QStringList widestExtremeTexts();
QStringList widestAverageTexts();

} // namespace quvo
