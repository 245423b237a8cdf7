#pragma once

#include "support/RunError.h"

#include <QString>

// A second name for an existing file, on the same file system: one file per system implements it.
namespace FileLinks {

enum class Result {
    Made,     // `newPath` now names the file `existing` names
    Exists,   // something already stands at `newPath`: it was left as it was
    Failed,   // no link could be made (a file system without links, no room, no right): see `error`
};

// Makes the hard link `newPath` to the regular file `existing`. Never replaces anything that
// stands at `newPath`, and never follows a symbolic link at `existing`.
Result hardLink(const QString &existing, const QString &newPath, RunError *error);

} // namespace FileLinks
