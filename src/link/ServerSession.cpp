#include "link/ServerSession.h"

#include "settings/ZelvatIni.h"
#include "support/CodePage.h"
#include "support/Platform.h"
#include "support/StringLib.h"
#include "support/ZelvatLogLib.h"

#include <QEventLoop>
#include <QTcpSocket>

using ZelvatLogLib::WriteLogLine;

namespace {

int g_busySessions = 0;

} // namespace

bool ServerSession::anyBusy()
{
    return g_busySessions > 0;
}

void ServerSession::setBusy(bool busy)
{
    if (busy != m_busy)
        g_busySessions += busy ? 1 : -1;
    m_busy = busy;
}

ServerSession::ServerSession(const ZelvatIni *station, QObject *parent)
    : QObject(parent)
    , m_station(station)
    , m_socket(new QTcpSocket(this))
{
    // The designed waits are exact: a coarse timer may end them a little early.
    m_pauseTimer.setSingleShot(true);
    m_pauseTimer.setTimerType(Qt::PreciseTimer);
    m_gpTimer.setSingleShot(true);
    m_gpTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_pauseTimer, &QTimer::timeout, this, &ServerSession::wake);
    connect(&m_gpTimer, &QTimer::timeout, this, &ServerSession::wake);
    connect(m_socket, &QTcpSocket::readyRead, this, &ServerSession::WNS_DataArrival);
    connect(m_socket, &QTcpSocket::stateChanged, this, &ServerSession::wake);
    connect(m_socket, &QTcpSocket::errorOccurred, this, [this] {
        m_socketError = true;
        wake();
    });
}

ServerSession::~ServerSession()
{
    setBusy(false);
    // A wait still on the stack (the owner was destroyed from inside it) must end at once.
    m_cancelled = true;
    wake();
}

// Runs events until `done` holds or the session is cancelled. Anything that may change the
// answer (data, socket state, a timer, a cancel) quits the innermost loops, which look again.
void ServerSession::waitUntil(const std::function<bool()> &done)
{
    QPointer<ServerSession> self(this);
    while (self && !m_cancelled && !done()) {
        QEventLoop loop;
        m_loops.append(&loop);
        loop.exec();
        if (!self)
            return;
        m_loops.removeOne(&loop);
    }
}

void ServerSession::wake()
{
    for (QEventLoop *loop : std::as_const(m_loops))
        loop->quit();
}

void ServerSession::cancel(const QString &why)
{
    if (m_cancelled)
        return;
    m_cancelled = true;
    m_failure = where() + QStringLiteral(": the session was cancelled: ") + why;
    WriteLogLine(QStringLiteral("Session aborted: ") + why);
    m_socket->abort();
    wake();
}

void ServerSession::Pause(int ms)
{
    m_pauseTimer.stop();
    m_pauseTimer.setInterval(std::max(0, ms));
    m_pauseTimer.start();
    waitUntil([this] { return !m_pauseTimer.isActive(); });
}

void ServerSession::StartGpTimer(int ms)
{
    m_gpTimer.stop();
    m_gpTimer.setInterval(std::clamp(ms, 0, 65535));
    m_gpTimer.start();
}

bool ServerSession::portNumber(quint16 *port) const
{
    const auto value = StringLib::toInteger(m_station->Prt, 1, 65535, QString(), nullptr);
    if (!value)
        return false;
    *port = quint16(*value);
    return true;
}

QString ServerSession::where() const
{
    return m_station->Hst + QLatin1Char(':') + m_station->Prt;
}

// Starts connecting to Hst:Prt and waits until connected, refused, or `limitMs` elapsed.
bool ServerSession::startConnect(int limitMs)
{
    m_socket->abort();
    m_socketError = false;
    m_failure.clear();
    quint16 port = 0;
    if (!portNumber(&port)) {
        m_failure = where() + QStringLiteral(": the port is no number from 1 to 65535");
        notify(QStringLiteral("The message server port \"%1\" is not a port number (1 to 65535). "
                              "Correct it under Setup, Preferences.")
                   .arg(m_station->Prt),
               Notice::Exclamation);
        return false;
    }
    m_socket->connectToHost(m_station->Hst, port);
    StartGpTimer(limitMs);
    waitUntil([this] {
        return !m_gpTimer.isActive() || m_socket->state() == QAbstractSocket::ConnectedState || m_socketError;
    });
    const bool timedOut = !m_gpTimer.isActive();
    m_gpTimer.stop();
    if (m_cancelled)
        return false;
    if (m_socket->state() == QAbstractSocket::ConnectedState)
        return true;
    switch (m_socketError ? m_socket->error() : QAbstractSocket::SocketTimeoutError) {
    case QAbstractSocket::ConnectionRefusedError:
        m_failure = where() + QStringLiteral(": the connection was refused (is the message server running?)");
        break;
    case QAbstractSocket::HostNotFoundError:
        m_failure = where() + QStringLiteral(": the host name was not found");
        break;
    case QAbstractSocket::SocketTimeoutError:
        m_failure = where() + (timedOut ? QStringLiteral(": no connection within %1 ms").arg(limitMs)
                                        : QStringLiteral(": the connection timed out"));
        break;
    default:
        m_failure = where() + QStringLiteral(": ") + m_socket->errorString();
        break;
    }
    if (m_socketError && (m_socket->error() == QAbstractSocket::UnsupportedSocketOperationError
                          || m_socket->error() == QAbstractSocket::NetworkError))
        notify(QStringLiteral("Network error.  Confirm this is a networked PC"));
    return false;
}

bool ServerSession::SeqTndirect(const QString &message, const QString &subject)
{
    setBusy(true);
    if (!ConnectToServer()) {
        AbortSession(QStringLiteral("Connect"));
        setBusy(false);
        return false;
    }
    Pause(100);
    bool ok = false;
    if (SendToServer(message, subject)) {
        DisconnectFromServer();
        ok = true;
    } else {
        AbortSession(QStringLiteral("Sending messages"));
    }
    setBusy(false);
    return ok && !m_cancelled;
}

bool ServerSession::ConnectToServer()
{
    m_reply = false;
    showStatus(QStringLiteral("Trying to Connect..."));
    if (startConnect(m_station->Nto)) {
        showStatus(QStringLiteral("Trying to Connect... connected!"));
        Pause(100);
        return true;
    }
    showStatus(QStringLiteral("Trying to Connect... failed"));
    WriteLogLine(QStringLiteral("Connection Failed"));
    return false;
}

bool ServerSession::SendToServer(const QString &message, const QString &subject)
{
    m_reply = false;
    showStatus(QStringLiteral("Sending message..."));
    WriteLogLine(QStringLiteral("Msg2Tndirect: ") + message);
    Pause(100);
    m_prompt = PromptOk;
    WinSend(message);
    if (!m_reply) {
        if (m_failure.isEmpty())
            m_failure = where() + QStringLiteral(": the line was lost before the server answered");
        showStatus(QStringLiteral("SendMessages: Lost connection"));
        WriteLogLine(QStringLiteral("SendMessage: Lost connection when sending message '") + subject + QLatin1Char('\''));
        Pause(100);
        return false;
    }
    showStatus(QStringLiteral("Sending message... sent"));
    WriteLogLine(QStringLiteral("SendMessage: Sent message titled: ") + subject);
    WriteLogLine(QStringLiteral("SendMessage: END"));
    return true;
}

void ServerSession::WinSend(const QString &text)
{
    m_buffer.clear();
    m_searchedUpTo = 0;
    WriteLogLine(QStringLiteral("***WinSend: sent ") + text + QStringLiteral("\r\n"));
    const QByteArray bytes = CodePage::encode(text + QStringLiteral("\r\n"));
    if (m_cancelled || m_socket->state() != QAbstractSocket::ConnectedState || m_socket->write(bytes) != bytes.size()) {
        if (m_socket->state() != QAbstractSocket::ConnectedState)
            WriteLogLine(QStringLiteral("WinSend: Lost Telnet connection"));
        else
            WriteLogLine(QStringLiteral("WinSend App Error %1, %2, step=%3")
                             .arg(int(m_socket->error()))
                             .arg(m_socket->errorString())
                             .arg(m_step));
        m_reply = false;
        return;
    }
    // Only the awaited prompt ends this wait (or the session being cancelled): a server that
    // stays silent, or drops the line after taking the envelope, leaves it waiting.
    waitUntil([this] { return m_reply; });
    if (m_cancelled)
        m_reply = false;
}

void ServerSession::WNS_DataArrival()
{
    CheckReply(CodePage::decode(m_socket->readAll()));
}

void ServerSession::CheckReply(const QString &chunk)
{
    m_buffer += chunk;
    // Only the part that can hold a prompt not seen before is searched, so a flood of text
    // costs no more than reading it once.
    const auto seen = [this](QLatin1StringView prompt) {
        const qsizetype from = std::max<qsizetype>(0, m_searchedUpTo - (prompt.size() - 1));
        return m_buffer.indexOf(prompt, from) >= 0;
    };
    switch (m_prompt) {
    case PromptOk:
        if (seen(QLatin1StringView("OK>")))
            m_reply = true;
        break;
    case PromptListEnd:
        if (seen(QLatin1StringView("!/ICS213!")))
            m_reply = true;
        if (seen(QLatin1StringView("NOMORE>")))
            m_reply = true;
        break;
    case PromptQuit:
        if (seen(QLatin1StringView("QUITING>")))
            m_reply = true;
        break;
    default:
        break;
    }
    m_searchedUpTo = m_buffer.size();
    // A server that never stops talking must not use up the memory: only the end of what it
    // said is kept, enough for a prompt split across the cut.
    constexpr qsizetype keep = 1024 * 1024;
    if (m_buffer.size() > 2 * keep) {
        m_buffer.remove(0, m_buffer.size() - keep);
        m_searchedUpTo = m_buffer.size();
    }
    wake();
}

void ServerSession::DisconnectFromServer()
{
    m_reply = true; // the QUIT line is sent without waiting for an answer
    showStatus(QStringLiteral("Disconnecting... "));
    WinSend(QStringLiteral("QUIT"));
    Pause(100);
    m_socket->close();
    showStatus(QStringLiteral("Zelvat Call Taking Ready"));
}

void ServerSession::AbortSession(const QString &reason)
{
    m_reply = true;
    showStatus(QStringLiteral("Disconnecting... "));
    m_socket->abort();
    showStatus(QStringLiteral("Disconnecting, error during ") + reason);
}

bool ServerSession::TndirectTest(const QString &text)
{
    m_step = 801;
    setBusy(true);
    m_step = 803;
    showStatus(QStringLiteral("Passing Test message..."));
    const bool connected = startConnect(5000);
    m_step = 804;
    const QString where = m_station->Hst + QLatin1Char(':') + m_station->Prt;
    bool ok = false;
    if (connected) {
        m_step = 805;
        QString rest = text;
        while (!rest.isEmpty() && !m_cancelled) {
            m_socket->write(CodePage::encode(StringLib::GetBuffer(75, rest)));
            Pause(10);
            m_step = 806;
        }
        showStatus(QStringLiteral("Passing message... sent"));
        WriteLogLine(QStringLiteral("Link Test with Tndirect... passed (") + where + QLatin1Char(')'));
        ok = true;
    } else {
        showStatus(QStringLiteral("Passing message... failed"));
        WriteLogLine(QStringLiteral("Link Test with Tndirect... failed (") + where + QLatin1Char(')'));
    }
    m_step = 806;
    m_socket->disconnectFromHost();
    waitUntil([this] { return m_socket->state() == QAbstractSocket::UnconnectedState; });
    setBusy(false);
    return ok && !m_cancelled;
}
