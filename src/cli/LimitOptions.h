#pragma once
// The limits of monitor, record and stats (beyond the original program; without them the
// commands print what they always printed):
//
//   --upper X     readings of the unit above X are HI
//   --lower X     readings of the unit below X are LO; the others PASS
//   --unit WORD   the unit the limits are for (default: the unit of the first reading)
// X as the Limits dialog takes it: 0.005, 5E-3 or 5m.
//
// Use in a command:
//   LimitOptions limits;  limits.addTo(parser);
//   if (!limits.read(parser, error))  -> usage error, exit 2
//   ... judge with limits.limits() and count with limits.count(judgement) ...
//   return limits.exitCode(code);     -> 3 instead of 0 when a reading was out of limits

#include "document/Limits.h"

#include <QCommandLineOption>
#include <QString>

class QCommandLineParser;

namespace quvo::cli {

class LimitOptions {
public:
    LimitOptions();

    void addTo(QCommandLineParser& parser) const;
    // Takes the options; false with the reason for a usage mistake (a limit that is not a
    // number, the lower limit not below the upper one, --unit without a limit).
    bool read(const QCommandLineParser& parser, QString& error);
    bool wanted() const { return m_limits.active(); }
    const Limits& limits() const { return m_limits; }

    // Counts one judged reading (for the exit code).
    void count(Judgement judgement) { m_counts.add(judgement); }
    const JudgementCounts& counts() const { return m_counts; }
    // ExitOk becomes ExitOutOfLimits when a counted reading was HI or LO; other codes stay.
    int exitCode(int code) const;

    static QString helpLines();

private:
    QCommandLineOption m_upperOption;
    QCommandLineOption m_lowerOption;
    QCommandLineOption m_unitOption;
    Limits m_limits;
    JudgementCounts m_counts;
};

} // namespace quvo::cli
