#pragma once

#include <QtGlobal>

// Whether a process of this machine still runs: one file per system implements it.
namespace Processes {

// True when a process with the ID `pid` runs on this machine (or cannot be told apart from one
// that does: a process of another user counts as running).
bool running(qint64 pid);

} // namespace Processes
