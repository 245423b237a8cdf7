#pragma once

#include "link/Outbox.h"
#include "link/OutboxFile.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QStringList>
#include <QTimer>
#include <functional>

class OutboxHost;
class QAction;
class QLabel;
class QMainWindow;
class QPushButton;
class ServerSession;

// The main window's outbox: the "Send Ready Reports" command (File menu and a button beside
// Delete), the automatic resend of the Ready reports on the retry schedule, and the status-bar
// panel that says how many reports are Ready and when the next try is. The sending itself is
// the core's Outbox; this only wires it to the window. One session at a time in the program: no
// run starts while another session is busy (the report form's), and the form's Submit waits for
// a run to end.
class OutboxControl : public QObject {
    Q_OBJECT

public:
    // Its command goes beside `cmdDelete`, into the File menu and the status bar of `window`;
    // closing the window ends a run.
    OutboxControl(OutboxHost *host, QMainWindow *window, QPushButton *cmdDelete);
    ~OutboxControl() override;

    // The window's way of opening a report form, kept from opening the report being sent.
    std::function<void(const QString &name)> guardOpening(std::function<void(const QString &name)> open);

    // After start-up: the Ready reports are counted and the automatic resend begins to plan.
    void start();
    // "Send Ready Reports": every Ready report now, with a progress dialog that can cancel. While
    // a run goes on, the same command stops it.
    void cmdSendReady_Click();

    OutboxFile::Settings settings() const { return m_settings; }
    // Keeps new settings in the outbox file and plans with them.
    void setSettings(const OutboxFile::Settings &settings);

    bool running() const { return m_running; }
    const RetrySchedule &schedule() const { return m_schedule; }
    // The Ready reports as last counted (in no order: they are sorted when sent), and counts them again.
    QStringList ready() const { return m_ready; }
    void recount();
    // The automatic resend looks at the clock and the Ready reports (every second).
    void tick();

    QPushButton *cmdSendReady = nullptr;
    QAction *mnuSendReady = nullptr;
    QLabel *sbrOutbox = nullptr; // status-bar panel "Outbox"

    // A session the server has not finished within this time is cancelled; the report stays Ready.
    static constexpr int SessionLimitSeconds = 60;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void run(bool byOperator);
    bool isOpen(const QString &name) const;
    QStringList sendable() const;
    void showStatus();

    OutboxHost *m_host;
    QMainWindow *m_window;
    QTimer m_clock;
    quint64 m_countedAt = ~quint64(0); // the catalog's change count when the Ready reports were counted
    OutboxFile::Settings m_settings;
    RetrySchedule m_schedule;
    QStringList m_ready;
    QSet<QString> m_needOperator; // Ready reports the last run could not send without the operator
    bool m_running = false;
    bool m_stopped = false; // the operator stopped the run: they need no telling how it went
    bool m_waitingForSession = false;
    QPointer<ServerSession> m_session;
    QString m_sending; // the report being sent
    QString m_progress;
    QString m_lastRun; // what the last run did
};
