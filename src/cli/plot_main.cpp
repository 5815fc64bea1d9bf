// quvolink-plot: draws the chart of a data file for `quvolink-cli plot`, which starts it with
// the arguments after "plot". It always runs on the offscreen platform: no display is needed.

#include "cli/PlotCommand.h"
#include "resources/Version.h"

#include <QApplication>

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quvolink-cli"));
    QCoreApplication::setApplicationVersion(QString::fromLatin1(quvo::VersionString));
    return quvo::cli::drawPlot(QCoreApplication::arguments().mid(1));
}
