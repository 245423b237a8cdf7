#include "support/RunError.h"

#include <QFileInfo>

namespace {

QString standardDescription(RunError::Number n)
{
    switch (n) {
    case RunError::Overflow: return QStringLiteral("Overflow");
    case RunError::SubscriptOutOfRange: return QStringLiteral("Subscript out of range");
    case RunError::TypeMismatch: return QStringLiteral("Type mismatch");
    case RunError::BadFileName: return QStringLiteral("Bad file name or number");
    case RunError::FileNotFound: return QStringLiteral("File not found");
    case RunError::DeviceIoError: return QStringLiteral("Device I/O error");
    case RunError::DiskFull: return QStringLiteral("Disk full");
    case RunError::PermissionDenied: return QStringLiteral("Permission denied");
    case RunError::PathFileAccessError: return QStringLiteral("Path/File access error");
    case RunError::PathNotFound: return QStringLiteral("Path not found");
    case RunError::InvalidFileFormat: return QStringLiteral("Invalid file format");
    }
    return QStringLiteral("Application-defined or object-defined error");
}

} // namespace

QString RunError::text() const
{
    return QString::number(number) + QStringLiteral(", ") + description;
}

RunError RunError::make(Number n, const QString &detail)
{
    RunError e;
    e.number = n;
    e.description = standardDescription(n);
    if (!detail.isEmpty())
        e.description += QStringLiteral(" (") + detail + QLatin1Char(')');
    return e;
}

RunError RunError::fromFile(const QFileDevice &file)
{
    Number n = DeviceIoError;
    switch (file.error()) {
    case QFileDevice::OpenError:
        n = QFileInfo::exists(file.fileName()) ? PermissionDenied : FileNotFound;
        break;
    case QFileDevice::PermissionsError:
        n = PermissionDenied;
        break;
    case QFileDevice::ResourceError:
        n = DiskFull;
        break;
    case QFileDevice::RenameError:
    case QFileDevice::RemoveError:
    case QFileDevice::CopyError:
        n = PathFileAccessError;
        break;
    default:
        n = DeviceIoError;
        break;
    }
    return make(n, file.errorString());
}
