#include "support/Interruption.h"

#include <QSocketNotifier>

#include <csignal>
#include <unistd.h>

namespace {

// The handler only writes the signal's number to a pipe that the event loop watches.
int g_pipe[2] = {-1, -1};

void onSignal(int signal)
{
    const char c = char(signal);
    [[maybe_unused]] const auto n = ::write(g_pipe[1], &c, 1);
}

} // namespace

struct Interruption::Watch {
    std::unique_ptr<QSocketNotifier> notifier;
};

Interruption::Interruption()
    : m_watch(std::make_unique<Watch>())
{
    if (::pipe(g_pipe) != 0)
        return;
    m_watch->notifier = std::make_unique<QSocketNotifier>(g_pipe[0], QSocketNotifier::Read);
    connect(m_watch->notifier.get(), &QSocketNotifier::activated, this, [this] {
        char c = 0;
        [[maybe_unused]] const auto n = ::read(g_pipe[0], &c, 1);
        emit requested(c == SIGINT ? QStringLiteral("SIGINT") : QStringLiteral("SIGTERM"));
    });
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
}

Interruption::~Interruption()
{
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    m_watch->notifier.reset();
    for (int &fd : g_pipe) {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
}
