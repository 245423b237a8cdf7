#pragma once

#include "support/Platform.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

// Captures what core code says to the event log and to the operator, for the lifetime of the
// object, instead of letting it reach syslog and standard error.
class Capture : public EventLog, public Notifier {
public:
    Capture()
        : m_log(this)
        , m_notifier(this)
    {
    }

    void error(const QString &text) override { events.append(text); }
    void show(const Notice &notice) override { notices.append(notice); }

    QStringList noticeTexts() const;

    QStringList events;
    QList<Notice> notices;

private:
    ScopedEventLog m_log;
    ScopedNotifier m_notifier;
};

// File helpers for tests.
QByteArray readFile(const QString &path);
void writeFile(const QString &path, const QByteArray &bytes);
