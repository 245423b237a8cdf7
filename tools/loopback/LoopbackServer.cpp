#include "LoopbackServer.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QTcpSocket>
#include <QTimer>
#include <memory>

std::optional<LoopbackServer::Mode> LoopbackServer::modeNamed(const QString &name)
{
    static const QHash<QString, Mode> modes = {
        {QStringLiteral("normal"), Mode::Normal}, {QStringLiteral("silent"), Mode::Silent},
        {QStringLiteral("split"), Mode::Split},   {QStringLiteral("drop"), Mode::Drop},
        {QStringLiteral("garbage"), Mode::Garbage}, {QStringLiteral("flood"), Mode::Flood},
        {QStringLiteral("alternate"), Mode::Alternate},
    };
    const auto it = modes.find(name);
    return it == modes.end() ? std::nullopt : std::optional<Mode>(*it);
}

LoopbackServer::LoopbackServer(Mode mode, QObject *parent)
    : QObject(parent)
    , m_mode(mode)
{
    connect(&m_server, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket *s = m_server.nextPendingConnection())
            serve(s);
    });
}

bool LoopbackServer::listen(const QHostAddress &host, quint16 port)
{
    return m_server.listen(host, port);
}

void LoopbackServer::serve(QTcpSocket *socket)
{
    ++m_connections;
    connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    if (m_mode == Mode::Alternate && m_connections % 2 == 1) {
        socket->disconnectFromHost();
        return;
    }
    auto buffer = std::make_shared<QByteArray>();
    connect(socket, &QTcpSocket::readyRead, this, [this, socket, buffer] { onData(socket, *buffer); });
}

void LoopbackServer::onData(QTcpSocket *socket, QByteArray &buffer)
{
    const QByteArray data = socket->readAll();
    m_received += data;
    buffer += data;
    for (;;) {
        if (buffer.startsWith("QUIT\r\n")) {
            buffer.remove(0, 6);
            socket->write("QUITING>\r\n");
            socket->disconnectFromHost();
            return;
        }
        const qsizetype marker = buffer.indexOf("!/ADDON!\r\n");
        if (marker < 0)
            return;
        const QByteArray envelope = buffer.left(marker + 8);
        buffer.remove(0, marker + 10);
        keep(envelope);
        switch (m_mode) {
        case Mode::Normal:
        case Mode::Alternate:
            socket->write("OK>\r\n");
            break;
        case Mode::Silent:
            break;
        case Mode::Split:
            socket->write("O");
            socket->flush();
            QTimer::singleShot(50, socket, [socket] { socket->write("K>\r\n"); });
            break;
        case Mode::Drop:
            socket->disconnectFromHost();
            return;
        case Mode::Garbage:
            socket->write("Hmm? K> O K >\r\nERROR\r\n");
            break;
        case Mode::Flood: {
            const QByteArray line = QByteArray(1023, 'x') + '\n';
            for (int i = 0; i < 10 * 1024; ++i)
                socket->write(line);
            break;
        }
        }
    }
}

void LoopbackServer::keep(const QByteArray &envelope)
{
    ++m_messages;
    if (!m_outbox.isEmpty()) {
        QFile f(QDir(m_outbox).filePath(QStringLiteral("msg%1.txt").arg(m_messages, 5, 10, QLatin1Char('0'))));
        if (f.open(QIODevice::WriteOnly))
            f.write(envelope);
    }
    emit messageReceived(m_messages, envelope);
}
