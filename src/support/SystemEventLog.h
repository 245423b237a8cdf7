#pragma once

#include "support/Platform.h"

// The system's own application event log, where a failed file operation is recorded: syslog
// (ident "Zelvatcts", facility user, priority err) on Unix, the Windows event log (source
// "Zelvatcts", an error entry) on Windows. One file per system implements it.
EventLog &systemEventLog();
