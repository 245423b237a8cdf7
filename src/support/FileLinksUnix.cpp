#include "support/FileLinks.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

FileLinks::Result FileLinks::hardLink(const QString &existing, const QString &newPath, RunError *error)
{
    // linkat without AT_SYMLINK_FOLLOW links a symbolic link itself, never what it points at.
    if (::linkat(AT_FDCWD, QFile::encodeName(existing).constData(), AT_FDCWD, QFile::encodeName(newPath).constData(), 0) == 0)
        return Result::Made;
    const int err = errno;
    if (err == EEXIST)
        return Result::Exists;
    if (error) {
        const RunError::Number number = err == ENOSPC || err == EDQUOT ? RunError::DiskFull
                                        : err == EACCES || err == EPERM ? RunError::PermissionDenied
                                                                        : RunError::PathFileAccessError;
        *error = RunError::make(number, QStringLiteral("could not link %1 to %2: %3")
                                            .arg(QDir::toNativeSeparators(newPath), QDir::toNativeSeparators(existing),
                                                 QString::fromLocal8Bit(std::strerror(err))));
    }
    return Result::Failed;
}
