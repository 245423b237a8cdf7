#include "support/WindowsFiles.h"

#include <QDir>
#include <QRandomGenerator>
#include <QThread>

#include <windows.h>

namespace {

std::wstring wide(const QString &path)
{
    return QDir::toNativeSeparators(path).toStdWString();
}

QString systemMessage(DWORD code)
{
    wchar_t *text = nullptr;
    FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                   code, 0, reinterpret_cast<wchar_t *>(&text), 0, nullptr);
    QString message = text ? QString::fromWCharArray(text).trimmed() : QStringLiteral("system error %1").arg(code);
    LocalFree(text);
    return message;
}

bool held(DWORD code)
{
    return code == ERROR_SHARING_VIOLATION || code == ERROR_LOCK_VIOLATION || code == ERROR_ACCESS_DENIED;
}

bool fail(RunError *error, const QString &path, DWORD code)
{
    if (error) {
        RunError::Number number = RunError::PathFileAccessError;
        if (code == ERROR_DISK_FULL || code == ERROR_HANDLE_DISK_FULL)
            number = RunError::DiskFull;
        else if (code == ERROR_FILE_NOT_FOUND)
            number = RunError::FileNotFound;
        else if (code == ERROR_PATH_NOT_FOUND)
            number = RunError::PathNotFound;
        QString why = systemMessage(code);
        if (held(code))
            why = QStringLiteral("another program holds it open (%1); tried for %2 seconds")
                      .arg(why)
                      .arg(WindowsFiles::SharingRetryMs / 1000);
        *error = RunError::make(number, QDir::toNativeSeparators(path) + QStringLiteral(": ") + why);
    }
    return false;
}

// Calls `attempt` until it succeeds or fails for another reason than the file being held, for at
// most SharingRetryMs; the last error code, or 0.
template <typename Attempt>
DWORD retried(Attempt attempt)
{
    for (int waited = 0;; waited += 50) {
        if (attempt())
            return 0;
        const DWORD code = GetLastError();
        if (!held(code) || waited >= WindowsFiles::SharingRetryMs)
            return code;
        QThread::msleep(50);
    }
}

} // namespace

namespace WindowsFiles {

bool replace(const QString &path, const QByteArray &bytes, bool flushNow, RunError *error)
{
    HANDLE file = INVALID_HANDLE_VALUE;
    QString temp;
    for (int tries = 0; file == INVALID_HANDLE_VALUE && tries < 100; ++tries) {
        temp = path + QStringLiteral(".~%1").arg(QRandomGenerator::global()->generate() % 1000000, 6, 10, QLatin1Char('0'));
        file = CreateFileW(wide(temp).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file == INVALID_HANDLE_VALUE && GetLastError() != ERROR_FILE_EXISTS)
            return fail(error, temp, GetLastError());
    }
    if (file == INVALID_HANDLE_VALUE)
        return fail(error, temp, GetLastError());
    DWORD written = 0;
    bool ok = bytes.isEmpty() || (WriteFile(file, bytes.constData(), DWORD(bytes.size()), &written, nullptr)
                                  && written == DWORD(bytes.size()));
    DWORD code = ok ? 0 : GetLastError();
    if (ok && flushNow && !FlushFileBuffers(file)) {
        ok = false;
        code = GetLastError();
    }
    CloseHandle(file);
    if (ok) {
        const DWORD flags = MOVEFILE_REPLACE_EXISTING | (flushNow ? MOVEFILE_WRITE_THROUGH : 0);
        code = retried([&] { return MoveFileExW(wide(temp).c_str(), wide(path).c_str(), flags) != 0; });
        ok = code == 0;
    }
    if (!ok) {
        DeleteFileW(wide(temp).c_str());
        return fail(error, ok ? temp : path, code ? code : ERROR_WRITE_FAULT);
    }
    return true;
}

bool read(const QString &path, qint64 maxBytes, QByteArray *bytes, RunError *error)
{
    bytes->clear();
    HANDLE file = INVALID_HANDLE_VALUE;
    const DWORD code = retried([&] {
        file = CreateFileW(wide(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                           nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        return file != INVALID_HANDLE_VALUE;
    });
    if (code)
        return fail(error, path, code);
    LARGE_INTEGER size {};
    bool ok = GetFileSizeEx(file, &size);
    if (ok && size.QuadPart > maxBytes) {
        CloseHandle(file);
        if (error)
            *error = RunError::make(RunError::InvalidFileFormat,
                                    QDir::toNativeSeparators(path)
                                        + QStringLiteral(" is larger than %1 bytes, more than a file of its kind can be").arg(maxBytes));
        return false;
    }
    if (ok) {
        bytes->resize(qsizetype(size.QuadPart));
        DWORD got = 0;
        ok = bytes->isEmpty() || (ReadFile(file, bytes->data(), DWORD(bytes->size()), &got, nullptr) && got == DWORD(bytes->size()));
    }
    const DWORD last = ok ? 0 : GetLastError();
    CloseHandle(file);
    if (!ok) {
        bytes->clear();
        return fail(error, path, last ? last : ERROR_READ_FAULT);
    }
    return true;
}

bool identity(const QString &path, quint64 *fileIndex, qint64 *modifiedNs, qint64 *size)
{
    // Opened for no access at all: only its attributes are read, whoever holds it.
    HANDLE file = CreateFileW(wide(path).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    BY_HANDLE_FILE_INFORMATION info {};
    const bool ok = GetFileInformationByHandle(file, &info);
    CloseHandle(file);
    if (!ok)
        return false;
    *fileIndex = (quint64(info.nFileIndexHigh) << 32) | info.nFileIndexLow;
    // FILETIME counts 100 ns from 1601; 11,644,473,600 seconds lie between 1601 and 1970.
    const qint64 ticks = (qint64(info.ftLastWriteTime.dwHighDateTime) << 32) | info.ftLastWriteTime.dwLowDateTime;
    *modifiedNs = (ticks - 116444736000000000LL) * 100;
    *size = (qint64(info.nFileSizeHigh) << 32) | info.nFileSizeLow;
    return true;
}

} // namespace WindowsFiles
