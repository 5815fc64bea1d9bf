#include "acquisition/Comparator.h"

#include "link/ReadingDecoder.h"

namespace quvo {

void Comparator::setLimits(const Limits& limits)
{
    m_judge = ReadingJudge(limits);
    m_lit = Judgement::None;
    m_lastJudged = Judgement::None;
}

bool Comparator::show(const QString& answer)
{
    if (!active()) {
        m_lit = Judgement::None;
        return false;
    }
    // The reading as a document row would hold it: a decimal number, "+OL", "-OL" or "ERROR".
    const RealtimeAnswer reading = ParseRealtimeAnswer(answer);
    m_lit = m_judge.judge(reading.display, reading.unit);
    if (m_lit == Judgement::None)
        return false;
    const bool outOfLimits = m_lit == Judgement::Hi || m_lit == Judgement::Lo;
    const bool sound = limits().buzzer && outOfLimits && m_lastJudged != Judgement::None && m_lastJudged != m_lit;
    m_lastJudged = m_lit;
    return sound;
}

QString Comparator::upperText() const
{
    const Limits& l = limits();
    return l.upper ? limitDisplayText(*l.upper, l.unit) : unsetText();
}

QString Comparator::lowerText() const
{
    const Limits& l = limits();
    return l.lower ? limitDisplayText(*l.lower, l.unit) : unsetText();
}

QString Comparator::buzzerText() const
{
    return active() && limits().buzzer ? QStringLiteral("ON") : QStringLiteral("OFF");
}

} // namespace quvo
