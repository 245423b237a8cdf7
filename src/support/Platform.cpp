#include "support/Platform.h"

#include "support/CommonConst.h"

#include <cstdio>
#include <syslog.h>

namespace {

class SyslogEventLog final : public EventLog {
public:
    void error(const QString &text) override
    {
        static const bool opened = [] {
            openlog("Zelvatcts", LOG_PID, LOG_USER);
            return true;
        }();
        Q_UNUSED(opened);
        syslog(LOG_ERR, "%s", text.toUtf8().constData());
    }
};

class StderrNotifier final : public Notifier {
public:
    void show(const Notice &notice) override
    {
        // For the person at the terminal, in the terminal's own encoding.
        QByteArray text = notice.text.toLocal8Bit();
        text.replace("\r\n", "\n");
        std::fwrite(text.constData(), 1, size_t(text.size()), stderr);
        std::fputc('\n', stderr);
        std::fflush(stderr);
    }
};

SyslogEventLog g_syslog;
StderrNotifier g_stderr;
EventLog *g_eventLog = &g_syslog;
Notifier *g_notifier = &g_stderr;

} // namespace

EventLog &EventLog::current()
{
    return *g_eventLog;
}

void EventLog::install(EventLog *log)
{
    g_eventLog = log ? log : &g_syslog;
}

Notifier &Notifier::current()
{
    return *g_notifier;
}

void Notifier::install(Notifier *notifier)
{
    g_notifier = notifier ? notifier : &g_stderr;
}

void notify(const QString &text, Notice::Icon icon, const QString &title)
{
    Notifier::current().show(Notice{title.isEmpty() ? QString::fromLatin1(Zelvat::Title) : title, text, icon});
}

ScopedNotifier::ScopedNotifier(Notifier *notifier)
    : m_previous(&Notifier::current())
{
    Notifier::install(notifier);
}

ScopedNotifier::~ScopedNotifier()
{
    Notifier::install(m_previous);
}

ScopedEventLog::ScopedEventLog(EventLog *log)
    : m_previous(&EventLog::current())
{
    EventLog::install(log);
}

ScopedEventLog::~ScopedEventLog()
{
    EventLog::install(m_previous);
}
