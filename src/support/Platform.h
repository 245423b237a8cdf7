#pragma once

#include <QString>

// The two ways core code speaks to the outside world without knowing who listens:
// the operating system's application event log, and the operator's message boxes.
// The window installs a notifier that shows QMessageBox; the headless client one that
// prints to standard error; tests install their own to capture what was said.

// One error entry for the operating system's application event log.
class EventLog {
public:
    virtual ~EventLog() = default;
    virtual void error(const QString &text) = 0;
    // error(text) the first time this run that `what` (a path) is named, nothing after: a bad
    // file that every look finds again is told once, not at every look. Safe on any thread.
    void errorOnce(const QString &what, const QString &text);

    // The log in force: syslog (ident "Zelvatcts", facility user, priority err) unless
    // something else was installed. Passing nullptr restores syslog.
    static EventLog &current();
    static void install(EventLog *log);
};

// A message box raised by core code: an OK button, a caption, a text and an icon.
struct Notice {
    enum Icon { NoIcon, Exclamation, Critical, Information };
    QString title;
    QString text;
    Icon icon = NoIcon;
};

class Notifier {
public:
    virtual ~Notifier() = default;
    virtual void show(const Notice &notice) = 0;

    // The notifier in force: standard error unless something else was installed.
    static Notifier &current();
    static void install(Notifier *notifier);
};

// Shorthand for Notifier::current().show(...).
void notify(const QString &text, Notice::Icon icon = Notice::NoIcon, const QString &title = {});

// Installs a notifier for the lifetime of the object and puts the previous one back after.
class ScopedNotifier {
public:
    explicit ScopedNotifier(Notifier *notifier);
    ~ScopedNotifier();
    ScopedNotifier(const ScopedNotifier &) = delete;
    ScopedNotifier &operator=(const ScopedNotifier &) = delete;

private:
    Notifier *m_previous;
};

// Installs an event log for the lifetime of the object and puts the previous one back after.
class ScopedEventLog {
public:
    explicit ScopedEventLog(EventLog *log);
    ~ScopedEventLog();
    ScopedEventLog(const ScopedEventLog &) = delete;
    ScopedEventLog &operator=(const ScopedEventLog &) = delete;

private:
    EventLog *m_previous;
};
