#include "cli/ProgramFolder.h"

#include "resources/Constant.h"
#include "resources/ProgramState.h"

#include <QDir>
#include <QStandardPaths>

namespace quvo::cli {

QString programFolder()
{
    const QString home = qEnvironmentVariable(HomeEnvVar);
    if (!home.isEmpty())
        return QDir(home).absolutePath();
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/")
        + SettingsOrganisation;
}

bool useProgramFolder(QString& error)
{
    const QString folder = programFolder();
    if (!QDir().mkpath(folder)) {
        error = QStringLiteral("The program folder %1 cannot be created.").arg(QDir::toNativeSeparators(folder));
        return false;
    }
    programState().WorkPath = QDir(folder).filePath(WorkFileName);
    return true;
}

} // namespace quvo::cli
