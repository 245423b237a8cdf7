#include "support/Processes.h"

#include <cerrno>
#include <csignal>

bool Processes::running(qint64 pid)
{
    if (pid <= 0)
        return false;
    // Signal 0 is no signal: it only asks whether the process exists. EPERM means it does,
    // under another user.
    return ::kill(pid_t(pid), 0) == 0 || errno == EPERM;
}
