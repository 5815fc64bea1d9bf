#include "cli/CliCommand.h"

namespace quvo::cli {

const std::vector<CliCommand>& cliCommands()
{
    static const std::vector<CliCommand> commands = {
        {QStringLiteral("info"), QStringLiteral("info"), QStringLiteral("Print the meter's model."), runInfo},
        {QStringLiteral("monitor"), QStringLiteral("monitor [--count N] [--upper X] [--lower X] [--format F] [--mqtt URL]"),
         QStringLiteral("Print the meter's reading once a second."), runMonitor},
        {QStringLiteral("record"),
         QStringLiteral("record --interval T [--period T] --out FILE [--continue] [--xlsx NEW | --into OLD] [--upper X] "
                        "[--lower X] [--format F] [--mqtt URL]"),
         QStringLiteral("Record readings at an interval into a data file (and a workbook)."), runRecord},
        {QStringLiteral("download"), QStringLiteral("download logging|save --out FILE [--xlsx NEW | --into OLD] [--mqtt URL]"),
         QStringLiteral("Read the meter's LOGGING or SAVE memory into a data file (and a workbook)."), runDownload},
        {QStringLiteral("recover"), QStringLiteral("recover --out FILE"),
         QStringLiteral("Restore a recording interrupted by a crash into a data file."), runRecover},
        {QStringLiteral("stats"), QStringLiteral("stats FILE [--upper X] [--lower X] [--unit WORD]"),
         QStringLiteral("Print MAX, MIN, AVG and the reading count of a data file (and HI, LO, PASS counts)."), runStats},
        {QStringLiteral("forward"), QStringLiteral("forward FILE (--xlsx NEW | --into OLD) [--title TEXT] [--upper X] [--lower X]"),
         QStringLiteral("Forward a data file to a workbook (.xlsx)."), runForward},
        {QStringLiteral("plot"),
         QStringLiteral("plot FILE --out CHART.png|.svg|.pdf [--width PX --height PX] [--title TEXT] [--all]"),
         QStringLiteral("Draw the chart of a data file as a picture (PNG, SVG or PDF)."), runPlot},
        {QStringLiteral("decode"), QStringLiteral("decode LINE..."),
         QStringLiteral("Show how an answer line of the meter is read (Monitor text, DATA, MODE)."), runDecode},
        {QStringLiteral("simulate"), QStringLiteral("simulate [options]"),
         QStringLiteral("Run a simulated meter and print its device path, to try Quvolink without a meter."),
         runSimulate},
    };
    return commands;
}

} // namespace quvo::cli
