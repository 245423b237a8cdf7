#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QObject>
#include <QTcpServer>
#include <optional>

class QTcpSocket;

// A loopback stand-in for the suite's message server, speaking the add-on dialogue: after a
// complete envelope (text up to "!/ADDON!" and CR LF) it keeps it and answers "OK>" CR LF; to
// "QUIT" it answers "QUITING>" CR LF and closes. Its modes misbehave the ways a real server can.
// tndirect-sim runs one for drills and demonstrations; the tests run one in-process.
class LoopbackServer : public QObject {
    Q_OBJECT

public:
    enum class Mode {
        Normal,  // answers "OK>"
        Silent,  // never answers
        Split,   // sends "O", and "K>" a moment later
        Drop,    // hangs up after the envelope without answering
        Garbage, // answers text that holds no prompt
        Flood,   // answers 10 MB without a prompt
        Alternate, // hangs up on every other connection as soon as it is made (the first, the
                   // third, ...); answers "OK>" on the others
    };
    // "normal", "silent", "split", "drop", "garbage", "flood", "alternate"; nullopt for any other name.
    static std::optional<Mode> modeNamed(const QString &name);

    explicit LoopbackServer(Mode mode = Mode::Normal, QObject *parent = nullptr);

    // Listens on `host`:`port` (0 picks a free port). False, with errorString(), when it cannot.
    bool listen(const QHostAddress &host = QHostAddress::LocalHost, quint16 port = 0);
    quint16 port() const { return m_server.serverPort(); }
    QString errorString() const { return m_server.errorString(); }
    // Stops listening: connections to the port are refused from now on.
    void close() { m_server.close(); }

    // Each envelope received is also written to this folder, bytes as received, as msg00001.txt...
    void setOutbox(const QString &folder) { m_outbox = folder; }

    // Every byte received, on every connection, in order; the connections and envelopes so far.
    const QByteArray &received() const { return m_received; }
    int connections() const { return m_connections; }
    int messages() const { return m_messages; }

signals:
    void messageReceived(int number, const QByteArray &envelope);

private:
    void serve(QTcpSocket *socket);
    void onData(QTcpSocket *socket, QByteArray &buffer);
    void keep(const QByteArray &envelope);

    Mode m_mode;
    QTcpServer m_server;
    QString m_outbox;
    QByteArray m_received;
    int m_connections = 0;
    int m_messages = 0;
};
