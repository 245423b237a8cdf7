#include "support/Platform.h"

#include "support/CommonConst.h"
#include "support/SystemEventLog.h"

#include <QMutex>
#include <QSet>

#include <cstdio>

namespace {

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

StderrNotifier g_stderr;
EventLog *g_eventLog = nullptr; // the system's, until another is installed
Notifier *g_notifier = &g_stderr;

} // namespace

EventLog &EventLog::current()
{
    return g_eventLog ? *g_eventLog : systemEventLog();
}

void EventLog::errorOnce(const QString &what, const QString &text)
{
    static QMutex lock;
    static QSet<QString> named;
    {
        const QMutexLocker guard(&lock);
        if (named.contains(what))
            return;
        named.insert(what);
    }
    error(text);
}

void EventLog::install(EventLog *log)
{
    g_eventLog = log;
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
