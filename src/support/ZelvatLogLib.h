#pragma once

#include <QString>

// The daily session log: program folder + "/logs/Zelvat_" + yymmdd + ".log", 8-bit text,
// CR LF after every line, always appended. The file is opened and closed around every write,
// so it is complete on disk after each call.
namespace ZelvatLogLib {

// Fixes the log path for the rest of the session (the day it runs on names the file), opens
// the file for appending, writes the session header when asked, and enables logging. On
// failure the operator is told and logging stays disabled.
void SetupLog(const QString &programFolder, bool writeHeader);

// Appends "dd-mmm-yy hh:mm:ss: " + text, with every CR LF pair removed and blanks trimmed.
// Does nothing while logging is disabled. A failed write tells the operator once and
// disables logging for the rest of the session.
void WriteLogLine(const QString &text);

bool loggingEnabled();
QString logPath();

// Disables logging and forgets the path (tests start each case afresh with it).
void resetLog();

} // namespace ZelvatLogLib
