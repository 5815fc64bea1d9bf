#include "cli/ProgramFolder.h"

#include "app/Settings.h"

#include <QDir>

namespace quvo::cli {

QString programFolder()
{
    return quvo::programFolder();
}

bool useProgramFolder(QString& error)
{
    const QString folder = programFolder();
    if (!QDir().mkpath(folder)) {
        error = QStringLiteral("The program folder %1 cannot be created.").arg(QDir::toNativeSeparators(folder));
        return false;
    }
    setupProgramPaths();
    removeLeftoversOfCrash(folder);
    return true;
}

} // namespace quvo::cli
