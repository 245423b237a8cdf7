#pragma once
// What the suites make in a folder beyond plain files, on each system: links, named pipes, and
// a file's last-change time to the file system's own resolution (nanoseconds on Linux, 100 ns
// ticks on Windows), read and set: the catalog's notion of a file's identity rests on it, and
// QFileInfo stops at milliseconds.

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QString>

#include <filesystem>

#ifdef Q_OS_WIN
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#endif

namespace TestFiles {

#ifdef Q_OS_WIN
// 100 ns ticks between 1601-01-01 (Windows' epoch) and 1970-01-01.
constexpr qint64 kEpochTicks = 116444736000000000LL;

inline HANDLE openForTimes(const QString &path, DWORD access)
{
    return CreateFileW(reinterpret_cast<const wchar_t *>(QDir::toNativeSeparators(path).utf16()), access,
                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                       FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}
#endif

// Nanoseconds since the epoch of the file's last change (0 when it cannot be read).
inline qint64 modifiedNs(const QString &path)
{
#ifdef Q_OS_WIN
    const HANDLE h = openForTimes(path, FILE_READ_ATTRIBUTES);
    if (h == INVALID_HANDLE_VALUE)
        return 0;
    FILETIME written{};
    GetFileTime(h, nullptr, nullptr, &written);
    CloseHandle(h);
    const qint64 ticks = (qint64(written.dwHighDateTime) << 32) | written.dwLowDateTime;
    return (ticks - kEpochTicks) * 100;
#else
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0)
        return 0;
    return qint64(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
#endif
}

inline bool setModifiedNs(const QString &path, qint64 ns)
{
#ifdef Q_OS_WIN
    const HANDLE h = openForTimes(path, FILE_WRITE_ATTRIBUTES);
    if (h == INVALID_HANDLE_VALUE)
        return false;
    const quint64 ticks = quint64(ns / 100 + kEpochTicks);
    const FILETIME t{DWORD(ticks & 0xffffffffu), DWORD(ticks >> 32)};
    const bool ok = SetFileTime(h, nullptr, &t, &t);
    CloseHandle(h);
    return ok;
#else
    const timespec t{time_t(ns / 1000000000), long(ns % 1000000000)};
    const timespec times[2] = {t, t};
    return ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0) == 0;
#endif
}

// Dated `secondsAgo` back from now, as files written in an earlier shift are.
inline bool dateBack(const QString &path, qint64 secondsAgo)
{
    return setModifiedNs(path, (QDateTime::currentSecsSinceEpoch() - secondsAgo) * 1000000000);
}

// A symbolic link at `path` to `target`. Windows lets only some accounts make one, and Wine none.
inline bool makeLink(const QString &target, const QString &path)
{
#ifdef Q_OS_WIN
    std::error_code failed;
    std::filesystem::create_symlink(target.toStdWString(), path.toStdWString(), failed);
    return !failed;
#else
    return QFile::link(target, path);
#endif
}

// A named pipe (FIFO) at `path`; Windows has none in its file system.
inline bool makeFifo([[maybe_unused]] const QString &path)
{
#ifdef Q_OS_UNIX
    return ::mkfifo(QFile::encodeName(path).constData(), 0600) == 0;
#else
    return false;
#endif
}

} // namespace TestFiles

// In a test function: the link or pipe is made, or the row is skipped where the system cannot
// make one (and fails where it should have).
#ifdef Q_OS_UNIX
#define MAKE_LINK_OR_SKIP(target, path) QVERIFY(TestFiles::makeLink(target, path))
#define MAKE_FIFO_OR_SKIP(path) QVERIFY(TestFiles::makeFifo(path))
#else
#define MAKE_LINK_OR_SKIP(target, path) \
    do { if (!TestFiles::makeLink(target, path)) QSKIP("this account cannot make a symbolic link here (Wine makes none)"); } while (false)
#define MAKE_FIFO_OR_SKIP(path) \
    do { Q_UNUSED((path)); QSKIP("Windows has no named pipes (FIFOs) in its file system"); } while (false)
#endif
