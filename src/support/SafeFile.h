#pragma once

#include "support/RunError.h"

#include <QByteArray>
#include <QList>
#include <QString>

// The one way the program reads and writes its files (reports, settings, the session log).
// Nothing here blocks on a named pipe or a device, writes through a symbolic link, or replaces
// anything that is not a regular file; a failed save leaves the old file as it was.
namespace SafeFile {

// What stands at a path, looked at without opening it and without following a symbolic link.
enum class Kind { Missing, Regular, Directory, SymbolicLink, Fifo, Socket, Device, Other };
Kind kindOf(const QString &path);
// For messages: "a folder", "a symbolic link", "a named pipe (FIFO)", ...
QString describe(Kind kind);

// Reads a whole regular file. Anything else (a symbolic link included) is refused without being
// opened; the opened file is checked again, so a swap between the look and the open is caught.
// A file over maxBytes is refused without being read. A missing file gives FileNotFound.
bool readAll(const QString &path, qint64 maxBytes, QByteArray *bytes, RunError *error);

// One entry of a folder, looked at without following a link. A regular file's identity (size,
// modification time, inode) tells one version of it from another.
struct Entry {
    QString fileName;
    Kind kind = Kind::Other;
    qint64 size = -1;      // of a regular file; -1 for anything else
    qint64 modifiedNs = 0; // the last modification, since the epoch; 0 when not looked at
    quint64 inode = 0;     // 0 when not known
};

// A folder's own identity, looked at without listing it. Every entry made, removed or renamed in
// the folder moves its modification time (a save ends in a rename, so every save does); a file
// rewritten in place does not, nor does anything made inside a folder within it. A link standing
// for the folder is followed, as Folder follows it.
struct FolderIdentity {
    Kind kind = Kind::Missing;
    quint64 inode = 0;     // 0 when not known
    qint64 modifiedNs = 0; // since the epoch
    qint64 changedNs = 0;  // the last change of its status (entries, owner, permissions); 0 when not known
    friend bool operator==(const FolderIdentity &, const FolderIdentity &) = default;
};
FolderIdentity folderIdentity(const QString &path);

// A folder whose files are listed and read one after another, as the list and the export read
// thousands: each file is looked up by its name within the folder, whose path is walked once, and
// read as readAll reads it. `bytes` keeps its room from one file to the next.
class Folder {
public:
    explicit Folder(const QString &path);
    ~Folder();
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;

    // How much a listing tells of each entry. Names: only what the folder's own list says, the
    // kind and inode where the system gives them there (Kind::Other, 0 where not). Identity:
    // every entry is looked at (kind, size, modification time, inode), and one gone since the
    // list was read is left out.
    enum class Look { Names, Identity };
    // The entries whose names end in `suffix` (the name's bytes as the system keeps them), in the
    // order the folder lists them; never "." or "..". A folder that cannot be read lists nothing.
    bool list(QByteArrayView suffix, Look look, QList<Entry> *entries, RunError *error = nullptr) const;
    // The entry `fileName`, as a listing of its identity finds it; false when nothing stands there
    // or the folder cannot be opened.
    bool lookUp(const QString &fileName, Entry *entry) const;

    bool readAll(const QString &fileName, qint64 maxBytes, QByteArray *bytes, RunError *error) const;
    // readAll of a file a listing of the folder has just found to be a regular file (no link)
    // with the inode `inode`: that look stands for readAll's own, and the file is refused, as
    // readAll refuses, when what was opened is not that file.
    bool readListed(const QString &fileName, quint64 inode, qint64 maxBytes, QByteArray *bytes, RunError *error) const;

private:
    QString m_path;
    int m_fd = -1; // the open folder, or -1: each file is then read by its path
};

// Replaces the file at `path` with `bytes`, all or nothing. The bytes go to a temporary file
// "NAME.~XXXXXX" beside it (so a listing of "*.911" never shows one), which takes the old file's
// permissions, is flushed to the disk and then renamed over the old file; the folder is flushed
// last. On any failure before the rename the temporary file is removed and the old file is left
// exactly as it was. Should only the last flush of the folder fail, the new file is in place but
// may not survive a power cut: that too returns false, and the error says so.
// A `path` that exists and is not a regular file is refused: nothing is written through it and
// nothing replaces it.
// With Flush::Later nothing is flushed: the file is still replaced whole or not at all, and it
// survives the program being killed, but the system writes it to the disk in its own time (a few
// seconds). For files rewritten every few seconds while the operator types, whose write must not
// hold up the typing.
enum class Flush { Now, Later };
bool writeAtomically(const QString &path, const QByteArray &bytes, RunError *error, Flush flush = Flush::Now);

// Moves the regular file `from` to `to`, a path on the same file system, without ever replacing
// anything: when something already stands at `to` (even if it appeared a moment ago) nothing is
// moved and the error says so (PathFileAccessError, "already exists"). The folder of `to` is
// flushed after the move.
bool moveNew(const QString &from, const QString &to, RunError *error);

// Appends `bytes` to a regular file, created when missing (for the session log). Unbuffered and
// checked; when the bytes cannot all be written the file is cut back to its old length, so a
// line is added whole or not at all. Anything but a regular file is refused without blocking.
bool append(const QString &path, const QByteArray &bytes, RunError *error);

} // namespace SafeFile
