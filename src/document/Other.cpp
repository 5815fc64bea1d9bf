#include "document/Other.h"

#include "resources/ProgramState.h"

#include <QFile>

namespace quvo {

bool CanOpenForInput(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    file.close();
    return true;
}

void EnsureWorkFile()
{
    const QString& path = programState().WorkPath;
    if (CanOpenForInput(path))
        return;
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.close();
}

void DeleteWorkFile()
{
    const QString& path = programState().WorkPath;
    if (!path.isEmpty())
        QFile::remove(path);
}

} // namespace quvo
