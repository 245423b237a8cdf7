#include "store/SharedFolder.h"

#include "support/SafeFile.h"

#include <QDir>

QString SharedFolder::versions(const QString &messageFolder)
{
    return messageFolder + QStringLiteral("/.versions");
}

QString SharedFolder::versionsOf(const QString &messageFolder, const QString &name)
{
    return versions(messageFolder) + QLatin1Char('/') + name;
}

QString SharedFolder::marks(const QString &messageFolder)
{
    return messageFolder + QStringLiteral("/.inuse");
}

QString SharedFolder::writers(const QString &messageFolder)
{
    return messageFolder + QStringLiteral("/.writers");
}

bool SharedFolder::ensure(const QString &path, RunError *error)
{
    SafeFile::Kind kind = SafeFile::kindOf(path);
    // Another position may make it at the same moment: whoever made it, a folder is what counts.
    if (kind == SafeFile::Kind::Missing) {
        QDir().mkdir(path);
        kind = SafeFile::kindOf(path);
    }
    if (kind == SafeFile::Kind::Directory)
        return true;
    if (error) {
        *error = kind == SafeFile::Kind::Missing
                     ? RunError::make(RunError::PathFileAccessError, QStringLiteral("%1 could not be made").arg(path))
                     : RunError::make(RunError::PathFileAccessError,
                                      QStringLiteral("%1 is %2, not a folder").arg(path, SafeFile::describe(kind)));
    }
    return false;
}
