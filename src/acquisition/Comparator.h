#pragma once
// The Monitor's comparator display without its widgets (beyond the original program, whose
// comparator labels were never written): what frCompa shows for the limits and for the
// last reading shown, and when the buzzer sounds.
//
//   llHlim, llLlim   the upper and lower limit with their unit ("5mVDC"), "-----" when unset
//   llHi, llMiddle,  the judgement of the last reading shown: one of them lit, none for a
//   llLo             reading without a judgement ("ERROR", another unit)
//   llBuzzer         "ON" or "OFF"
// Without limits the display is off (greyed), as it always was.
//
// The buzzer sounds, when it is on, each time a reading is judged HI or LO and the judged
// reading before it was not on that side: a change from PASS to HI or LO, or from one side
// to the other. Readings without a judgement in between do not count, and the first reading
// after the limits were set does not sound (it has nothing to change from).

#include "document/Limits.h"

#include <QString>

namespace quvo {

class Comparator {
public:
    // New limits: the display starts over with nothing lit.
    void setLimits(const Limits& limits);
    const Limits& limits() const { return m_judge.limits(); }

    // The display is on when a limit is set.
    bool active() const { return m_judge.limits().active(); }

    // One answer line shown on the Monitor (or "ERROR"): judges it and lights its
    // judgement. True when the buzzer must sound now.
    bool show(const QString& answer);

    Judgement lit() const { return m_lit; }
    QString upperText() const;
    QString lowerText() const;
    QString buzzerText() const;

    // The text of an unset limit.
    static QString unsetText() { return QStringLiteral("-----"); }

private:
    ReadingJudge m_judge;
    Judgement m_lit = Judgement::None;
    Judgement m_lastJudged = Judgement::None;
};

} // namespace quvo
