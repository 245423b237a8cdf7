#pragma once

#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

// A message server on a free loopback port that records what it receives and answers as told.
class LoopbackServer : public QObject {
public:
    enum Mode { Ok, Silent, Split, DropAfterEnvelope, Refuse, Garbage, Flood };
    explicit LoopbackServer(Mode mode)
        : m_mode(mode)
    {
        m_server.listen(QHostAddress::LocalHost, 0);
        port = m_server.serverPort();
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *s = m_server.nextPendingConnection()) {
                ++connections;
                connect(s, &QTcpSocket::readyRead, this, [this, s] { onData(s); });
                connect(s, &QTcpSocket::disconnected, s, &QObject::deleteLater);
            }
        });
        if (mode == Refuse)
            m_server.close(); // the port is free again: connections are refused
    }
    quint16 port = 0;
    int connections = 0;
    QByteArray received;

private:
    void onData(QTcpSocket *s)
    {
        const QByteArray data = s->readAll();
        received += data;
        if (!data.contains("!/ADDON!\r\n"))
            return;
        switch (m_mode) {
        case Ok: s->write("OK>\r\n"); break;
        case Split:
            s->write("O");
            s->flush();
            QTimer::singleShot(30, s, [s] { s->write("K>\r\n"); });
            break;
        case DropAfterEnvelope: s->disconnectFromHost(); break;
        case Garbage: s->write("K> O K > ok> OK >\r\n"); break;
        case Flood: {
            const QByteArray line(1023, 'x');
            for (int i = 0; i < 10 * 1024; ++i) // 10 MB without a prompt
                s->write(line + '\n');
            break;
        }
        default: break;
        }
    }
    Mode m_mode;
    QTcpServer m_server;
};

