#include "support/SystemEventLog.h"

#include <windows.h>

namespace {

// An error entry of the source "Zelvatcts" in the Windows application event log. The source is
// registered once per run; an entry that cannot be written is let go, as syslog lets it go.
class WindowsEventLog final : public EventLog {
public:
    ~WindowsEventLog() override
    {
        if (m_source)
            DeregisterEventSource(m_source);
    }
    void error(const QString &text) override
    {
        if (!m_source)
            m_source = RegisterEventSourceW(nullptr, L"Zelvatcts");
        if (!m_source)
            return;
        const std::wstring wide = text.toStdWString();
        const wchar_t *strings[] = {wide.c_str()};
        ReportEventW(m_source, EVENTLOG_ERROR_TYPE, 0, 0, nullptr, 1, 0, strings, nullptr);
    }

private:
    HANDLE m_source = nullptr;
};

} // namespace

EventLog &systemEventLog()
{
    static WindowsEventLog log;
    return log;
}
