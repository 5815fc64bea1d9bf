#include "cli/CliCommand.h"

#include <cstdio>

namespace quvo::cli {

const std::vector<CliCommand>& cliCommands()
{
    static const std::vector<CliCommand> commands = {
        {QStringLiteral("stats"), QStringLiteral("stats FILE"),
         QStringLiteral("Print MAX, MIN, AVG and the reading count of a data file."), runStats},
        {QStringLiteral("forward"), QStringLiteral("forward FILE"), QStringLiteral("Forward a data file to a workbook (.xlsx)."), runForward},
    };
    return commands;
}

void printOut(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stdout);
    std::fflush(stdout);
}

void printError(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stderr);
    std::fflush(stderr);
}

} // namespace quvo::cli
