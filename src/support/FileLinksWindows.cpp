#include "support/FileLinks.h"

#include <QDir>

#include <windows.h>

FileLinks::Result FileLinks::hardLink(const QString &existing, const QString &newPath, RunError *error)
{
    const std::wstring from = QDir::toNativeSeparators(existing).toStdWString();
    const std::wstring to = QDir::toNativeSeparators(newPath).toStdWString();
    if (CreateHardLinkW(to.c_str(), from.c_str(), nullptr))
        return Result::Made;
    const DWORD err = GetLastError();
    if (err == ERROR_ALREADY_EXISTS || err == ERROR_FILE_EXISTS)
        return Result::Exists;
    if (error) {
        const RunError::Number number = err == ERROR_DISK_FULL || err == ERROR_HANDLE_DISK_FULL ? RunError::DiskFull
                                        : err == ERROR_ACCESS_DENIED                          ? RunError::PermissionDenied
                                                                                               : RunError::PathFileAccessError;
        *error = RunError::make(number, QStringLiteral("could not link %1 to %2 (system error %3)")
                                            .arg(QDir::toNativeSeparators(newPath), QDir::toNativeSeparators(existing))
                                            .arg(err));
    }
    return Result::Failed;
}
