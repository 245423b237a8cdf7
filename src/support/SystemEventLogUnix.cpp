#include "support/SystemEventLog.h"

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

} // namespace

EventLog &systemEventLog()
{
    static SyslogEventLog log;
    return log;
}
