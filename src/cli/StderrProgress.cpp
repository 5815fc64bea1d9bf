#include "cli/StderrProgress.h"

#include "cli/CliCommand.h"

#include <cstdio>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

namespace quvo::cli {

namespace {
constexpr int BarWidth = 30;
constexpr int RedrawMs = 100;
} // namespace

StderrProgress::StderrProgress(bool enabled) : m_enabled(enabled) {}

bool StderrProgress::stderrIsTerminal()
{
#ifdef Q_OS_UNIX
    return ::isatty(STDERR_FILENO) == 1;
#else
    return false;
#endif
}

void StderrProgress::show()
{
    m_shown = true;
}

void StderrProgress::unload()
{
    if (m_enabled && m_drawn) {
        draw();
        printError(QStringLiteral("\n"));
    }
    m_shown = false;
    m_drawn = false;
}

void StderrProgress::SetCaption(const QString& text)
{
    m_caption = text;
}

void StderrProgress::SetMessage(const QString&) {}

void StderrProgress::RenProgress(bool, std::int16_t current, std::int16_t total)
{
    if (current == 0 || total == 0)
        return; // as the dialog: nothing to show
    m_current = current;
    m_total = total;
    if (!m_enabled || !m_shown)
        return;
    if (m_drawn && m_sinceDraw.isValid() && m_sinceDraw.elapsed() < RedrawMs && current != total)
        return;
    draw();
}

void StderrProgress::setCancelEnabled(bool) {}

void StderrProgress::draw()
{
    if (!m_enabled || m_total == 0)
        return;
    const int filled = qBound(0, static_cast<int>(static_cast<long long>(BarWidth) * m_current / m_total), BarWidth);
    const QString bar = QString(filled, QLatin1Char('#')) + QString(BarWidth - filled, QLatin1Char('-'));
    printError(QStringLiteral("\r%1  [%2]  %3/%4").arg(m_caption, bar).arg(m_current).arg(m_total));
    m_drawn = true;
    m_sinceDraw.start();
}

} // namespace quvo::cli
