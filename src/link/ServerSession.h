#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <QList>

class QEventLoop;
class QTcpSocket;
class ZelvatIni;

// One TCP client to the message server, and the session that sends one add-on envelope over it:
// connect, send the envelope as one line, wait for "OK>", send "QUIT", close. Every wait is
// cooperative: a nested event loop keeps the window live until a flag, a state or a timer ends
// it. Status texts go out through the `status` signal (the report form's "Status" panel, the
// headless client's output); log lines go to the session log.
class ServerSession : public QObject {
    Q_OBJECT

public:
    // Host, port and time-out are read from the station settings at every connect.
    explicit ServerSession(const ZelvatIni *station, QObject *parent = nullptr);
    ~ServerSession() override;

    // Prompt states of the data-arrival handler.
    enum Prompt { PromptNone = 0, PromptOk = 2, PromptListEnd = 4, PromptQuit = 5 };

    bool SeqTndirect(const QString &message, const QString &subject);
    bool ConnectToServer();
    bool SendToServer(const QString &message, const QString &subject);
    void DisconnectFromServer();
    void AbortSession(const QString &reason);
    void WinSend(const QString &text);
    void CheckReply(const QString &chunk);
    bool TndirectTest(const QString &text);

    // Waits `ms` milliseconds while events run.
    void Pause(int ms);
    // Arms the one-shot general-purpose timer, capped at 65535 ms; callers poll gpTimerRunning.
    void StartGpTimer(int ms);
    bool gpTimerRunning() const { return m_gpTimer.isActive(); }
    int gpTimerInterval() const { return m_gpTimer.interval(); }

    // Ends every wait at once and closes the socket: the owner is going away, the client was
    // interrupted or its time ran out. Logs `why`; the running session then fails.
    void cancel(const QString &why);
    bool cancelled() const { return m_cancelled; }

    // What went wrong with the last session, in words, naming the server: "127.0.0.1:9334: the
    // connection was refused", or why it was cancelled. Empty after a session that went well.
    QString failure() const { return m_failure; }

    // The server the session talks to ("host:port") and the station it talks for.
    QString server() const { return where(); }
    const ZelvatIni *station() const { return m_station; }

    bool busy() const { return m_busy; }
    // True while any session of this program runs: the program holds one session at a time.
    static bool anyBusy();
    bool replyFlag() const { return m_reply; }
    int promptState() const { return m_prompt; }
    void setPromptState(int state) { m_prompt = state; }
    // What was received since the last send (its last megabyte, for a server that floods).
    QString receiveBuffer() const { return m_buffer; }
    int step() const { return m_step; }

    // Sends a status text to whoever shows them.
    void showStatus(const QString &text) { emit status(text); }

signals:
    void status(const QString &text);

private:
    void WNS_DataArrival();
    void setBusy(bool busy);
    void waitUntil(const std::function<bool()> &done);
    void wake();
    bool startConnect(int limitMs);
    QString where() const;
    bool portNumber(quint16 *port) const;

    const ZelvatIni *m_station;
    QTcpSocket *m_socket;
    QTimer m_pauseTimer;
    QTimer m_gpTimer;
    QString m_buffer;
    qsizetype m_searchedUpTo = 0;
    bool m_reply = false;
    int m_prompt = PromptNone;
    bool m_busy = false;
    bool m_cancelled = false;
    bool m_socketError = false;
    QString m_failure;
    int m_step = 0;
    QList<QEventLoop *> m_loops;
};
