// quvolink-cli plot: runs the program quvolink-plot, which draws the chart with the
// document window's chart widget, and passes on its output and exit code. Keeping the chart
// widget and its libraries (Qt Widgets, Qt GUI, QCustomPlot, ...) out of quvolink-cli keeps
// the start of every other command as short as it was: loading them would double it.

#include "cli/CliCommand.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>

namespace quvo::cli {

namespace {

// Beside this program (the build tree, a portable install), else in the folder of the
// installed helper programs (bin/../libexec/quvolink/).
QString plotProgram()
{
#ifdef Q_OS_WIN
    const QString name = QStringLiteral("quvolink-plot.exe");
#else
    const QString name = QStringLiteral("quvolink-plot");
#endif
    const QDir here(QCoreApplication::applicationDirPath());
    for (const QString& candidate : {here.filePath(name), here.filePath(QStringLiteral("../libexec/quvolink/") + name)}) {
        const QFileInfo info(candidate);
        if (info.isFile() && info.isExecutable())
            return info.canonicalFilePath();
    }
    return {};
}

} // namespace

int runPlot(const QStringList& arguments)
{
    const QString program = plotProgram();
    if (program.isEmpty()) {
        printError(QStringLiteral("The chart program quvolink-plot is missing: it belongs beside quvolink-cli or in "
                                  "../libexec/quvolink/ from it (%1). Reinstall Quvolink.\n")
                       .arg(QDir::toNativeSeparators(QCoreApplication::applicationDirPath())));
        return ExitFailed;
    }
    QProcess plot;
    plot.setProcessChannelMode(QProcess::ForwardedChannels);
    plot.setInputChannelMode(QProcess::ForwardedInputChannel);
    plot.start(program, arguments);
    if (!plot.waitForFinished(-1) || plot.exitStatus() != QProcess::NormalExit) {
        printError(QStringLiteral("The chart program %1 ended without finishing: %2\n")
                       .arg(QDir::toNativeSeparators(program), plot.errorString()));
        return ExitFailed;
    }
    return plot.exitCode();
}

} // namespace quvo::cli
