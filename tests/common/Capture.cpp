#include "common/Capture.h"
#include "common/Loopback.h"

#include <QFile>
#include <QTest>

QStringList Capture::noticeTexts() const
{
    QStringList texts;
    for (const Notice &n : notices)
        texts.append(n.text);
    return texts;
}

QByteArray readFile(const QString &path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return f.readAll();
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("cannot write %s", qPrintable(path));
    f.write(bytes);
}

std::unique_ptr<LoopbackServer> Loopback::start(LoopbackServer::Mode mode)
{
    auto server = std::make_unique<LoopbackServer>(mode);
    if (!server->listen())
        qFatal("no free loopback port: %s", qPrintable(server->errorString()));
    return server;
}

quint16 Loopback::refusedPort()
{
    LoopbackServer server;
    server.listen();
    const quint16 port = server.port();
    server.close();
    return port;
}
