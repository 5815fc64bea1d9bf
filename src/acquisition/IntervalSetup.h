#pragma once
// The Interval and period dialog without widgets: its boxes, loading them from a document,
// and OK's checks (the rules in IntervalRules.h, shared with the command-line program) with
// the transfer to the document. QtCore only; frmInterval is the view.

#include "document/DataDocument.h"

#include <QString>

#include <functional>

namespace quvo {

class Prompter;

// The text of the option that lets a recording go on when its document is full.
inline const QString ContinueWhenFullText = QStringLiteral("When the document is full, continue in a new document");

// The dialog's boxes and option buttons.
struct IntervalSetupFields {
    TimeTexts interval;
    TimeTexts period;
    bool periodNone = true; // obNone selected (else obUser)
    bool continueWhenFull = false; // chkContinue: a full document goes on in a new one
    friend bool operator==(const IntervalSetupFields&, const IntervalSetupFields&) = default;
};

class IntervalSetup {
public:
    IntervalSetupFields fields;

    // The boxes as the dialog opens on a document.
    void load(const DataDocument& document);
    // The interval of a document that holds readings cannot change.
    static bool intervalEditable(const DataDocument& document);

    // Checks and corrects, then hands the corrected fields to showCorrected (the dialog
    // writes them back into its boxes) before anything else happens; on a correction shows
    // the message (false, nothing stored), so the person reads it beside the corrected
    // values; otherwise stores the interval and the period (the period texts as typed, also
    // with no period) and returns true.
    bool accept(DataDocument& document, Prompter& prompter,
                const std::function<void(const IntervalSetupFields&)>& showCorrected = {});
    void store(DataDocument& document) const;
};

} // namespace quvo
