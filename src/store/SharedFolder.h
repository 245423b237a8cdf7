#pragma once

#include "support/RunError.h"

#include <QString>

// The folders positions share in the message folder beside the report files: what one position
// must see of another lives there. Their names begin with "." and end in no ".911", so that the
// list, the client, the export and the import never take them for reports. Every file in them is
// read and written through SafeFile, as the reports are.
namespace SharedFolder {

// msg.d/.versions: the kept earlier versions, a folder per report (versionsOf).
QString versions(const QString &messageFolder);
QString versionsOf(const QString &messageFolder, const QString &name);
// msg.d/.inuse: a mark per report open in a form, per position.
QString marks(const QString &messageFolder);
// msg.d/.writers: who wrote each report last, a note per report.
QString writers(const QString &messageFolder);

// Makes the folder `path` when it is missing (its parent must exist). True when a real folder
// stands there afterwards; false, naming what stands there instead, for anything else (a link, a
// file, a named pipe): nothing is made in it or followed through it.
bool ensure(const QString &path, RunError *error);

} // namespace SharedFolder
