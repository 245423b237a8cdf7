#pragma once

#include "support/RunError.h"

#include <QString>

// The program folder: where the station file, the suite's global file, the message folder
// "msg.d", the session logs "logs" and the guide "docs" live.
namespace ProgramFolder {

// The executable's folder when it is writable and not the installed programs' folder (a
// portable installation beside the suite; on Windows one with no "Zelvatcts.installed" marker,
// which the installer leaves); otherwise the per-user data folder.
QString resolve(const QString &executableFolder);

// Creates the folder with its "msg.d" and "logs" sub-folders where missing. False, with the
// reason in `error`, when one cannot be created.
bool prepare(const QString &folder, RunError *error);

// The station settings file of a program folder: folder + "/Zelvatcts.ini".
QString stationFile(const QString &folder);

} // namespace ProgramFolder
