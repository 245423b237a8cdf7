#pragma once

#include "store/Position.h"
#include "support/RunError.h"
#include "support/SafeFile.h"

#include <QString>
#include <optional>

// Who wrote each report last, for the positions that share its message folder: after every save a
// note in msg.d/.writers/NAME names the position that wrote it and the identity (size,
// modification time, inode) its file had then. A note whose identity is not the file's as it
// stands now says nothing: the file was written since by a program that leaves no note.
namespace ReportWriters {

// The note for the report `name` of `messageFolder`, just written by this program: the file is
// looked up for its identity. The note is a convenience, not the report: it is replaced whole
// but not flushed at once, and a note that cannot be written is reported in `error` only.
bool record(const QString &messageFolder, const QString &name, RunError *error = nullptr);

// The position whose note matches `file`, the report file as a look at the folder found it;
// nullopt when no note matches ("another program").
std::optional<Position> writerOf(const QString &messageFolder, const QString &name, const SafeFile::Entry &file);

} // namespace ReportWriters
