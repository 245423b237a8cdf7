#include "support/Interruption.h"

#include <QMetaObject>
#include <QPointer>

#include <windows.h>

namespace {

// The console's handler runs on a thread of its own: it hands the request to the object's thread.
QPointer<Interruption> g_current;

BOOL WINAPI onConsoleEvent(DWORD type)
{
    QString what;
    switch (type) {
    case CTRL_C_EVENT: what = QStringLiteral("Ctrl+C"); break;
    case CTRL_BREAK_EVENT: what = QStringLiteral("Ctrl+Break"); break;
    case CTRL_CLOSE_EVENT: what = QStringLiteral("the console closing"); break;
    default: return FALSE;
    }
    if (Interruption *current = g_current.data()) {
        QMetaObject::invokeMethod(current, [current, what] { emit current->requested(what); }, Qt::QueuedConnection);
        return TRUE;
    }
    return FALSE;
}

} // namespace

struct Interruption::Watch {};

Interruption::Interruption()
{
    g_current = this;
    SetConsoleCtrlHandler(onConsoleEvent, TRUE);
}

Interruption::~Interruption()
{
    SetConsoleCtrlHandler(onConsoleEvent, FALSE);
    g_current = nullptr;
}
