#pragma once
// The rules of the interval and period of a realtime recording, without widgets: the check
// of one time field with its correction, the checks of a whole interval and period, the one
// message that reports a correction, and the transfer to and from a document. QtCore only,
// so the Interval and period dialog (frmInterval) and the command-line program can share them.

#include "document/DataDocument.h"

#include <QString>

namespace quvo {

class Prompter;

// Limits of the four time fields (interval and period alike).
namespace TimeFieldLimits {
constexpr int DaysMax = 99;
constexpr int HoursMax = 23;
constexpr int MinutesMax = 59;
constexpr int SecondsMax = 59;
} // namespace TimeFieldLimits

// One field check. The text is converted to a 16-bit integer; a text that does not convert
// or a value below the minimum becomes the minimum, a value above the maximum becomes the
// maximum, an accepted value is rewritten: always as at least two digits ("7" gives "07").
// True when the text was a value in range.
bool CheckTimeField(QString& text, int minimum, int maximum);

// The sum of four checked fields (days + hours + minutes + seconds, as numbers).
int timeFieldSum(const TimeTexts& t);

// The checks of the OK button, in order, every one of them run: the interval's four fields;
// a zero interval becomes five seconds; with a period (periodNone false) the period's four
// fields, and a zero period becomes one second. The corrections are written into the texts.
// True when nothing had to be corrected.
bool checkIntervalAndPeriod(TimeTexts& interval, bool periodNone, TimeTexts& period);

// The message shown after a correction: the correction sentence, the input ranges of the
// four fields and the request for at least one second.
QString intervalRangeMessage();

// The dialog's boxes and option buttons.
struct IntervalSetupFields {
    TimeTexts interval;
    TimeTexts period;
    bool periodNone = true; // obNone selected (else obUser)
    friend bool operator==(const IntervalSetupFields&, const IntervalSetupFields&) = default;
};

class IntervalSetup {
public:
    IntervalSetupFields fields;

    // The boxes as the dialog opens on a document.
    void load(const DataDocument& document);
    // The interval of a document that holds readings cannot change.
    static bool intervalEditable(const DataDocument& document);

    // Checks and corrects; on a correction shows the message (false, nothing stored);
    // otherwise stores the interval and the period (the period texts as typed, also with
    // no period) and returns true.
    bool accept(DataDocument& document, Prompter& prompter);
    void store(DataDocument& document) const;
};

} // namespace quvo
