#include "support/SafeFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#ifdef Q_OS_UNIX
#include <QRandomGenerator>

#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#else
#include <QDateTime>
#include <QDirIterator>
#include <QSaveFile>
#endif
#ifdef Q_OS_WIN
#include "support/WindowsFiles.h"
#endif

namespace SafeFile {

QString describe(Kind kind)
{
    static const char *const words[] = {"missing", "a regular file", "a folder", "a symbolic link",
                                        "a named pipe (FIFO)", "a socket", "a device", "neither a file nor a folder"};
    return QLatin1String(words[int(kind)]);
}

namespace {

QString native(const QString &path)
{
    return QDir::toNativeSeparators(path);
}

bool fail(RunError *error, const RunError &what)
{
    if (error)
        *error = what;
    return false;
}

RunError notRegular(const QString &path, Kind kind)
{
    return RunError::make(RunError::PathFileAccessError,
                          native(path) + QStringLiteral(" is ") + describe(kind) + QStringLiteral(", not a regular file"));
}

[[maybe_unused]] RunError tooLarge(const QString &path, qint64 maxBytes)
{
    return RunError::make(RunError::InvalidFileFormat,
                          native(path) + QStringLiteral(" is larger than %1 bytes, more than a file of its kind can be").arg(maxBytes));
}

// For the paths that must not be opened: refuses anything but a regular file (or a missing one,
// when `missingOk`), with the error that names what it is.
bool acceptable(Kind kind, bool missingOk, const QString &path, RunError *error)
{
    if (kind == Kind::Regular || (kind == Kind::Missing && missingOk))
        return true;
    if (kind == Kind::Missing)
        return fail(error, RunError::make(RunError::FileNotFound, native(path) + QStringLiteral(" does not exist")));
    return fail(error, notRegular(path, kind));
}

} // namespace

#ifdef Q_OS_UNIX

namespace {

QString leftAlone(bool existed)
{
    return existed ? QStringLiteral(", which was left as it was") : QStringLiteral("; nothing was written");
}

Kind kindOfMode(mode_t mode)
{
    if (S_ISREG(mode)) return Kind::Regular;
    if (S_ISDIR(mode)) return Kind::Directory;
    if (S_ISLNK(mode)) return Kind::SymbolicLink;
    if (S_ISFIFO(mode)) return Kind::Fifo;
    if (S_ISSOCK(mode)) return Kind::Socket;
    if (S_ISCHR(mode) || S_ISBLK(mode)) return Kind::Device;
    return Kind::Other;
}

// The system's error number in plain words, with the run-time error it stands for, then what
// could not be done.
RunError fromErrno(int err, const QString &what)
{
    RunError::Number number = RunError::DeviceIoError;
    QString why;
    switch (err) {
    case ENOSPC: case EDQUOT: number = RunError::DiskFull; why = QStringLiteral("the disk is full"); break;
    case EIO: why = QStringLiteral("the disk reported an input/output error"); break;
    case EROFS: number = RunError::PermissionDenied; why = QStringLiteral("the folder is read-only"); break;
    case EACCES: case EPERM: number = RunError::PermissionDenied; why = QStringLiteral("permission denied"); break;
    case ENOENT: number = RunError::PathNotFound; why = QStringLiteral("the folder does not exist"); break;
    case ENOTDIR: number = RunError::PathNotFound; why = QStringLiteral("a part of the path is not a folder"); break;
    case ENAMETOOLONG: number = RunError::BadFileName; why = QStringLiteral("the name is too long"); break;
    case ELOOP: number = RunError::PathFileAccessError; why = QStringLiteral("it is a symbolic link"); break;
    default: why = qt_error_string(err); break;
    }
    return RunError::make(number, why + QStringLiteral(": ") + what);
}

// Closes the descriptor it holds when it goes out of scope, for the paths that give up early.
struct Descriptor {
    int fd = -1;
    ~Descriptor() { if (fd >= 0) ::close(fd); }
    // Closes now and tells the close's own error (0 when none): on a network file system a
    // close is where a failed write may first show.
    int close() { const int rc = ::close(fd); fd = -1; return rc == 0 ? 0 : errno; }
};

// Writes every byte, going on after a short write; 0 or the error number.
int writeAll(int fd, const QByteArray &bytes)
{
    const char *p = bytes.constData();
    size_t left = size_t(bytes.size());
    while (left > 0) {
        const ssize_t n = ::write(fd, p, left);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return n < 0 ? errno : EIO;
        p += n;
        left -= size_t(n);
    }
    return 0;
}

// What stands at `name` in the folder `dirFd` (or at a path, with AT_FDCWD), link not followed;
// `err` is set when the look itself fails.
Kind lookAt(int dirFd, const QByteArray &name, struct stat *st, int *err)
{
    *err = 0;
    if (::fstatat(dirFd, name.constData(), st, AT_SYMLINK_NOFOLLOW) == 0)
        return kindOfMode(st->st_mode);
    if (errno != ENOENT)
        *err = errno;
    return Kind::Missing;
}

// Opens a regular file for reading or appending: `name` within the folder `dirFd` (or a path,
// with AT_FDCWD); `path` is what messages call it and `what()` what could not be done. What is
// not a regular file is refused before it is opened (a device may act on an open); the open
// neither follows a link nor waits for a FIFO's other end, and what was opened is checked again,
// so a swap between the look and the open is caught.
// With `looked` the caller has just looked at it (a folder listing) and the look is not repeated.
template <typename What>
bool openRegular(int dirFd, const QByteArray &name, const QString &path, int flags, Descriptor *file, struct stat *st,
                 What &&what, RunError *error, bool looked = false)
{
    int err = 0;
    Kind kind = looked ? Kind::Regular : lookAt(dirFd, name, st, &err);
    if (err)
        return fail(error, fromErrno(err, what()));
    if (!acceptable(kind, flags & O_CREAT, path, error))
        return false;
    file->fd = ::openat(dirFd, name.constData(), flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
    if (file->fd < 0)
        return fail(error, fromErrno(errno, what()));
    if (::fstat(file->fd, st) != 0)
        st->st_mode = 0;
    kind = kindOfMode(st->st_mode);
    return kind == Kind::Regular || fail(error, notRegular(path, kind));
}

// readAll of `name` within the folder `dirFd`, read straight into `bytes` (the size the file had
// when opened, and more should it have grown since). With `listed` a listing found it a regular
// file of that inode: no look before the open, and another file opened is refused.
bool readIn(int dirFd, const QByteArray &name, const QString &path, qint64 maxBytes, QByteArray *bytes, RunError *error,
            const quint64 *listed = nullptr)
{
    bytes->truncate(0);
    const auto what = [&path] { return QStringLiteral("could not read ") + native(path); };
    Descriptor file;
    struct stat st {};
    if (!openRegular(dirFd, name, path, O_RDONLY, &file, &st, what, error, listed != nullptr))
        return false;
    if (listed && quint64(st.st_ino) != *listed)
        return fail(error, RunError::make(RunError::PathFileAccessError,
                                          native(path) + QStringLiteral(" was replaced while the folder was read")));
    if (st.st_size > maxBytes)
        return fail(error, tooLarge(path, maxBytes));
    // One byte more than the file holds, so that a file that grew is seen to have grown.
    bytes->resize(qsizetype(st.st_size) + 1);
    qsizetype have = 0;
    for (;;) {
        if (have == bytes->size()) {
            if (have > maxBytes) { // it grew after the look
                bytes->truncate(0);
                return fail(error, tooLarge(path, maxBytes));
            }
            bytes->resize(have + 16384);
        }
        const ssize_t n = ::read(file.fd, bytes->data() + have, size_t(bytes->size() - have));
        if (n == 0)
            break;
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            bytes->truncate(0);
            return fail(error, fromErrno(errno, what()));
        }
        have += n;
        // Every byte the file held when opened, and not the one more asked for: that is the end,
        // without a read to be told so.
        if (have == st.st_size && have < bytes->size())
            break;
    }
    bytes->truncate(have);
    if (have > maxBytes) {
        bytes->truncate(0);
        return fail(error, tooLarge(path, maxBytes));
    }
    return true;
}

} // namespace

Kind kindOf(const QString &path)
{
    struct stat st {};
    int err = 0;
    const Kind kind = lookAt(AT_FDCWD, QFile::encodeName(path), &st, &err);
    return err ? Kind::Other : kind;
}

bool readAll(const QString &path, qint64 maxBytes, QByteArray *bytes, RunError *error)
{
    return readIn(AT_FDCWD, QFile::encodeName(path), path, maxBytes, bytes, error);
}

Folder::Folder(const QString &path)
    : m_path(path)
    , m_fd(::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
}

Folder::~Folder()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

bool Folder::readAll(const QString &fileName, qint64 maxBytes, QByteArray *bytes, RunError *error) const
{
    const QString path = m_path + QLatin1Char('/') + fileName;
    if (m_fd < 0 || fileName.contains(QLatin1Char('/')))
        return SafeFile::readAll(path, maxBytes, bytes, error);
    return readIn(m_fd, QFile::encodeName(fileName), path, maxBytes, bytes, error);
}

namespace {

Kind kindOfListed(unsigned char type)
{
    switch (type) {
    case DT_REG: return Kind::Regular;
    case DT_DIR: return Kind::Directory;
    case DT_LNK: return Kind::SymbolicLink;
    case DT_FIFO: return Kind::Fifo;
    case DT_SOCK: return Kind::Socket;
    case DT_CHR: case DT_BLK: return Kind::Device;
    default: return Kind::Other;
    }
}

void fillIdentity(const struct stat &st, Entry *entry)
{
    entry->kind = kindOfMode(st.st_mode);
    entry->inode = quint64(st.st_ino);
    entry->size = entry->kind == Kind::Regular ? qint64(st.st_size) : -1;
#ifdef Q_OS_DARWIN
    entry->modifiedNs = qint64(st.st_mtimespec.tv_sec) * 1000000000 + st.st_mtimespec.tv_nsec;
#else
    entry->modifiedNs = qint64(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
#endif
}

} // namespace

bool Folder::list(QByteArrayView suffix, Look look, QList<Entry> *entries, RunError *error) const
{
    entries->clear();
    // A descriptor of the listing's own: a listing has a position, which the folder's must not share.
    const int fd = m_fd >= 0 ? ::openat(m_fd, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1;
    DIR *dir = fd >= 0 ? ::fdopendir(fd) : nullptr;
    if (!dir) {
        const int err = m_fd >= 0 ? errno : ENOENT;
        if (fd >= 0)
            ::close(fd);
        return fail(error, fromErrno(err, QStringLiteral("could not list ") + native(m_path)));
    }
    while (const dirent *e = ::readdir(dir)) {
        const QByteArrayView name(e->d_name);
        if (!name.endsWith(suffix) || name == "." || name == "..")
            continue;
        Entry entry;
        if (look == Look::Identity) {
            struct stat st {};
            if (::fstatat(::dirfd(dir), e->d_name, &st, AT_SYMLINK_NOFOLLOW) != 0)
                continue; // gone since the list was read
            fillIdentity(st, &entry);
        } else {
            entry.kind = kindOfListed(e->d_type);
            entry.inode = quint64(e->d_ino);
        }
        entry.fileName = QFile::decodeName(e->d_name);
        entries->append(std::move(entry));
    }
    ::closedir(dir);
    return true;
}

FolderIdentity folderIdentity(const QString &path)
{
    FolderIdentity id;
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0)
        return id;
    id.kind = kindOfMode(st.st_mode);
    id.inode = quint64(st.st_ino);
#ifdef Q_OS_DARWIN
    id.modifiedNs = qint64(st.st_mtimespec.tv_sec) * 1000000000 + st.st_mtimespec.tv_nsec;
    id.changedNs = qint64(st.st_ctimespec.tv_sec) * 1000000000 + st.st_ctimespec.tv_nsec;
#else
    id.modifiedNs = qint64(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
    id.changedNs = qint64(st.st_ctim.tv_sec) * 1000000000 + st.st_ctim.tv_nsec;
#endif
    return id;
}

bool Folder::lookUp(const QString &fileName, Entry *entry) const
{
    struct stat st {};
    int err = 0;
    if (m_fd < 0 || fileName.contains(QLatin1Char('/'))
        || lookAt(m_fd, QFile::encodeName(fileName), &st, &err) == Kind::Missing)
        return false;
    const QString name = fileName; // `fileName` may be the entry's own, which is cleared next
    *entry = Entry{};
    entry->fileName = name;
    fillIdentity(st, entry);
    return true;
}

bool Folder::readListed(const QString &fileName, quint64 inode, qint64 maxBytes, QByteArray *bytes, RunError *error) const
{
    if (m_fd < 0 || fileName.contains(QLatin1Char('/')))
        return readAll(fileName, maxBytes, bytes, error);
    return readIn(m_fd, QFile::encodeName(fileName), m_path + QLatin1Char('/') + fileName, maxBytes, bytes, error, &inode);
}

bool writeAtomically(const QString &path, const QByteArray &bytes, RunError *error, Flush flush)
{
    const QFileInfo info(path);
    const QByteArray name = QFile::encodeName(info.fileName());
    if (name.isEmpty())
        return fail(error, RunError::make(RunError::BadFileName, native(path) + QStringLiteral(" names no file")));
    // Everything below happens in this one folder, even should its path be changed meanwhile.
    Descriptor folder{::open(QFile::encodeName(info.path()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (folder.fd < 0)
        return fail(error, fromErrno(errno, QStringLiteral("could not open the folder of ") + native(path)));

    struct stat old {};
    int err = 0;
    const Kind kind = lookAt(folder.fd, name, &old, &err);
    if (err)
        return fail(error, fromErrno(err, QStringLiteral("could not look at ") + native(path)));
    if (!acceptable(kind, true, path, error))
        return false;
    const bool existed = kind == Kind::Regular;
    const QString what = QStringLiteral("could not save ") + native(path) + leftAlone(existed);

    // Created exclusively: an existing file or link of that name is never opened.
    QByteArray temp;
    Descriptor file;
    for (int attempt = 0; file.fd < 0 && attempt < 20; ++attempt) {
        const quint32 draw = QRandomGenerator::global()->bounded(2176782336u); // 36 to the 6th
        temp = name + ".~" + QByteArray::number(draw, 36).rightJustified(6, '0');
        file.fd = ::openat(folder.fd, temp.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
        if (file.fd < 0 && errno != EEXIST)
            break;
    }
    if (file.fd < 0)
        return fail(error, fromErrno(errno, what));
    if (existed) {
        // Best effort: a file system without owners or modes (a FAT stick) refuses, and the
        // save goes on with the usual permissions.
        if (old.st_uid != ::geteuid() || old.st_gid != ::getegid())
            (void)!::fchown(file.fd, old.st_uid, old.st_gid);
        (void)!::fchmod(file.fd, old.st_mode & 07777);
    }

    err = writeAll(file.fd, bytes);
    if (!err && flush == Flush::Now && ::fsync(file.fd) != 0)
        err = errno;
    const int closeErr = file.close();
    if (!err)
        err = closeErr;
    if (!err && ::renameat(folder.fd, temp.constData(), folder.fd, name.constData()) != 0)
        err = errno;
    if (err) {
        ::unlinkat(folder.fd, temp.constData(), 0);
        return fail(error, fromErrno(err, what));
    }
    if (flush == Flush::Now && ::fsync(folder.fd) != 0 && errno != EINVAL)
        return fail(error, fromErrno(errno, native(path) + QStringLiteral(" was replaced, but the folder could not be "
                                                                          "flushed: the change may not survive a power cut")));
    return true;
}

bool moveNew(const QString &from, const QString &to, RunError *error)
{
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    const QString what = QStringLiteral("could not move ") + native(from) + QStringLiteral(" to ") + native(to);
    struct stat st {};
    int err = 0;
    const Kind kind = lookAt(AT_FDCWD, source, &st, &err);
    if (err)
        return fail(error, fromErrno(err, what));
    if (!acceptable(kind, false, from, error))
        return false;
    // A rename that refuses to replace; where the file system cannot do that, a hard link (which
    // never replaces either) and the removal of the old name.
#ifdef RENAME_NOREPLACE
    int rc = ::renameat2(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE);
#else
    int rc = -1;
    errno = ENOSYS;
#endif
    if (rc != 0 && (errno == EINVAL || errno == ENOSYS || errno == ENOTSUP)) {
        rc = ::link(source.constData(), target.constData());
        if (rc == 0)
            ::unlink(source.constData());
    }
    if (rc != 0) {
        if (errno == EEXIST)
            return fail(error, RunError::make(RunError::PathFileAccessError,
                                              native(to) + QStringLiteral(" already exists; it was left as it was")));
        return fail(error, fromErrno(errno, what));
    }
    Descriptor folder{::open(QFile::encodeName(QFileInfo(to).path()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (folder.fd < 0 || (::fsync(folder.fd) != 0 && errno != EINVAL))
        return fail(error, fromErrno(errno, native(to) + QStringLiteral(" is in place, but its folder could not be "
                                                                       "flushed: it may not survive a power cut")));
    return true;
}

bool append(const QString &path, const QByteArray &bytes, RunError *error)
{
    const QString what = QStringLiteral("could not add to ") + native(path) + leftAlone(kindOf(path) == Kind::Regular);
    Descriptor file;
    struct stat st {};
    if (!openRegular(AT_FDCWD, QFile::encodeName(path), path, O_WRONLY | O_APPEND | O_CREAT, &file, &st,
                     [&what] { return what; }, error))
        return false;
    if (int err = writeAll(file.fd, bytes)) {
        (void)!::ftruncate(file.fd, st.st_size); // no half line stays behind
        return fail(error, fromErrno(err, what));
    }
    const int err = file.close();
    return err == 0 || fail(error, fromErrno(err, what));
}

#else // Qt's own file classes, where the calls above do not exist.

Kind kindOf(const QString &path)
{
    const QFileInfo info(path);
    if (info.isSymbolicLink() || info.isShortcut() || info.isJunction()) return Kind::SymbolicLink;
    if (!info.exists()) return Kind::Missing;
    if (info.isDir()) return Kind::Directory;
    return info.isFile() ? Kind::Regular : Kind::Other;
}

bool readAll(const QString &path, qint64 maxBytes, QByteArray *bytes, RunError *error)
{
    bytes->clear();
    if (!acceptable(kindOf(path), false, path, error))
        return false;
#ifdef Q_OS_WIN
    return WindowsFiles::read(path, maxBytes, bytes, error);
#else
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(error, RunError::fromFile(file));
    if (file.size() > maxBytes)
        return fail(error, tooLarge(path, maxBytes));
    *bytes = file.readAll();
    return file.error() == QFileDevice::NoError || fail(error, RunError::fromFile(file));
#endif
}

Folder::Folder(const QString &path)
    : m_path(path)
{
}

Folder::~Folder() = default;

bool Folder::readAll(const QString &fileName, qint64 maxBytes, QByteArray *bytes, RunError *error) const
{
    return SafeFile::readAll(m_path + QLatin1Char('/') + fileName, maxBytes, bytes, error);
}

bool Folder::readListed(const QString &fileName, quint64, qint64 maxBytes, QByteArray *bytes, RunError *error) const
{
    return readAll(fileName, maxBytes, bytes, error);
}

bool Folder::list(QByteArrayView suffix, Look look, QList<Entry> *entries, RunError *) const
{
    entries->clear();
    const QString ending = QFile::decodeName(suffix.toByteArray());
    QDirIterator it(m_path, QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot);
    while (it.hasNext()) {
        it.next();
        Entry entry;
        entry.fileName = it.fileName();
        if (entry.fileName.endsWith(ending) && (look == Look::Names || lookUp(entry.fileName, &entry)))
            entries->append(std::move(entry));
    }
    return true;
}

FolderIdentity folderIdentity(const QString &path)
{
    FolderIdentity id;
    const QFileInfo info(path);
    if (!info.exists())
        return id;
    id.kind = info.isDir() ? Kind::Directory : Kind::Other;
    id.modifiedNs = info.lastModified().toMSecsSinceEpoch() * 1000000;
    id.changedNs = info.metadataChangeTime().toMSecsSinceEpoch() * 1000000;
    return id;
}

bool Folder::lookUp(const QString &fileName, Entry *entry) const
{
    const QFileInfo info(m_path + QLatin1Char('/') + fileName);
    if (!info.exists() && !info.isSymLink())
        return false;
    const QString name = fileName; // `fileName` may be the entry's own, which is cleared next
    *entry = Entry{};
    entry->fileName = name;
    entry->kind = kindOf(info.filePath());
    entry->size = entry->kind == Kind::Regular ? info.size() : -1;
    entry->modifiedNs = info.lastModified().toMSecsSinceEpoch() * 1000000;
#ifdef Q_OS_WIN
    // The file index stands for the inode, and the write time is kept to 100 ns.
    qint64 size = 0;
    if (entry->kind == Kind::Regular)
        WindowsFiles::identity(info.filePath(), &entry->inode, &entry->modifiedNs, &size);
#endif
    return true;
}

bool writeAtomically(const QString &path, const QByteArray &bytes, RunError *error, Flush flush)
{
    if (!acceptable(kindOf(path), true, path, error))
        return false;
#ifdef Q_OS_WIN
    return WindowsFiles::replace(path, bytes, flush == Flush::Now, error);
#else
    Q_UNUSED(flush);
    QSaveFile file(path);
    file.setDirectWriteFallback(false);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        return fail(error, RunError::fromFile(file));
    return true;
#endif
}

bool moveNew(const QString &from, const QString &to, RunError *error)
{
    if (!acceptable(kindOf(from), false, from, error))
        return false;
    if (kindOf(to) != Kind::Missing)
        return fail(error, RunError::make(RunError::PathFileAccessError,
                                          native(to) + QStringLiteral(" already exists; it was left as it was")));
    QFile file(from);
    return file.rename(to) || fail(error, RunError::fromFile(file));
}

bool append(const QString &path, const QByteArray &bytes, RunError *error)
{
    QFile file(path);
    if (!acceptable(kindOf(path), true, path, error))
        return false;
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered) || file.write(bytes) != bytes.size())
        return fail(error, RunError::fromFile(file));
    return true;
}

#endif

} // namespace SafeFile
