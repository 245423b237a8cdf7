#pragma once

#include "support/RunError.h"

#include <QByteArray>
#include <QString>

// The Windows calls behind SafeFile where Qt's own file classes do not say enough: another program
// (a virus scanner, a backup, a second position reading the same report) may hold a file open for
// a moment without sharing it, and a save or a read then waits a little and tries again rather
// than fail at once. Only the Windows build has this file.
namespace WindowsFiles {

// How long a save or a read tries again while the file is held by another program.
constexpr int SharingRetryMs = 2000;

// Writes `bytes` to a new temporary file beside `path` ("NAME.~XXXXXX"), flushed to the disk when
// `flushNow`, and puts it in the place of `path` in one step (MoveFileExW, replacing, written
// through). On any failure the temporary file is removed and `path` is left as it was; a file held
// by another program is named with the reason.
bool replace(const QString &path, const QByteArray &bytes, bool flushNow, RunError *error);

// Reads a whole file opened for reading while others may read, write and rename it. Fails on a
// file of more than `maxBytes` (RunError::InvalidFileFormat) and on a missing one (FileNotFound).
bool read(const QString &path, qint64 maxBytes, QByteArray *bytes, RunError *error);

// The file's identity where Windows keeps it: its file index (for SafeFile's inode) and its last
// write time in nanoseconds since 1970. False when it cannot be opened.
bool identity(const QString &path, quint64 *fileIndex, qint64 *modifiedNs, qint64 *size);

} // namespace WindowsFiles
