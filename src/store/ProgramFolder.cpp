#include "store/ProgramFolder.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace ProgramFolder {

QString Resolve(const QString &executableFolder)
{
    const QFileInfo exe(executableFolder);
    if (exe.isDir() && exe.isWritable())
        return exe.absoluteFilePath();
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Zelvatcts");
}

bool Prepare(const QString &folder, QString *why)
{
    const QDir dir(folder);
    for (const QString &sub : {QStringLiteral("msg.d"), QStringLiteral("logs")}) {
        if (!dir.mkpath(sub)) {
            *why = QStringLiteral("The folder %1 could not be created.").arg(dir.filePath(sub));
            return false;
        }
    }
    return true;
}

QString StationFile(const QString &folder)
{
    return QDir(folder).filePath(QStringLiteral("Zelvatcts.ini"));
}

} // namespace ProgramFolder
