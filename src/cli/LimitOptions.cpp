#include "cli/LimitOptions.h"

#include "cli/CliCommand.h"

#include <QCommandLineParser>

#include <variant>

namespace quvo::cli {

LimitOptions::LimitOptions()
    : m_upperOption(QStringLiteral("upper"), QStringLiteral("Readings above X are HI."), QStringLiteral("X")),
      m_lowerOption(QStringLiteral("lower"), QStringLiteral("Readings below X are LO."), QStringLiteral("X")),
      m_unitOption(QStringLiteral("unit"), QStringLiteral("The unit the limits are for."), QStringLiteral("WORD"))
{
}

void LimitOptions::addTo(QCommandLineParser& parser) const
{
    parser.addOption(m_upperOption);
    parser.addOption(m_lowerOption);
    parser.addOption(m_unitOption);
}

bool LimitOptions::read(const QCommandLineParser& parser, QString& error)
{
    m_limits = {};
    for (const QCommandLineOption* option : {&m_upperOption, &m_lowerOption, &m_unitOption}) {
        if (parser.values(*option).size() > 1) {
            error = QStringLiteral("Give --%1 only once.").arg(option->names().constFirst());
            return false;
        }
    }
    const bool anyLimit = parser.isSet(m_upperOption) || parser.isSet(m_lowerOption);
    if (parser.isSet(m_unitOption) && !anyLimit) {
        error = QStringLiteral("--unit names the unit of the limits: give --upper X or --lower X too.");
        return false;
    }
    for (const QCommandLineOption* option : {&m_upperOption, &m_lowerOption}) {
        if (parser.isSet(*option) && parser.value(*option).trimmed().isEmpty()) {
            error = QStringLiteral("--%1: a limit is needed, such as --%1 5m.").arg(option->names().constFirst());
            return false;
        }
    }
    if (parser.isSet(m_unitOption) && parser.value(m_unitOption).trimmed().isEmpty()) {
        error = QStringLiteral("--unit: a unit is needed, such as --unit VDC.");
        return false;
    }
    const auto checked = checkLimits(parser.value(m_upperOption), parser.value(m_lowerOption),
                                     parser.value(m_unitOption), false, true);
    if (const auto* problem = std::get_if<LimitsProblem>(&checked)) {
        error = problem->message;
        error.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
        return false;
    }
    m_limits = std::get<Limits>(checked);
    return true;
}

int LimitOptions::exitCode(int code) const
{
    return code == ExitOk && m_counts.outOfLimits() > 0 ? ExitOutOfLimits : code;
}

QString LimitOptions::helpLines()
{
    return QStringLiteral(
        "Limits (readings of one unit judged HI, PASS or LO):\n"
        "  --upper X     readings above X are HI (\"+OL\" too)\n"
        "  --lower X     readings below X are LO (\"-OL\" too); the others are PASS, a reading\n"
        "                equal to a limit included\n"
        "  --unit WORD   the unit the limits are for, such as VDC or OHM (default: the unit of\n"
        "                the first reading); readings of other units and errors are not judged\n"
        "X is a number in the unit's base with \".\" as its decimal point, optionally with an SI\n"
        "prefix: 0.005, 5E-3 and 5m are the same limit.\n");
}

} // namespace quvo::cli
