// tndirect-sim: a loopback stand-in for the suite's message server, for drills, demonstrations
// and tests. It speaks the add-on dialogue: after a complete envelope (text up to "!/ADDON!"
// and CR LF) it stores it and answers "OK>" CR LF; to "QUIT" it answers "QUITING>" CR LF and
// closes. Modes make it misbehave the ways a real server can.
//
//   tndirect-sim [--host 127.0.0.1] [--port 9334] [--outbox DIR]
//                [--mode normal|silent|split|drop|garbage|flood]
//   tndirect-sim --help | --version
//
// The first line of standard output is "listening on HOST:PORT"; then one line per message.

#include "support/CodePage.h"
#include "support/CommonConst.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <cstdio>

namespace {

enum class Mode { Normal, Silent, Split, Drop, Garbage, Flood };

struct Options {
    Mode mode = Mode::Normal;
    QString outbox;
    int received = 0;
};

void say(const QString &line)
{
    std::printf("%s\n", line.toLocal8Bit().constData());
    std::fflush(stdout);
}

void store(Options &o, const QByteArray &envelope)
{
    ++o.received;
    const int at = envelope.indexOf("<AOSUB>");
    const int end = envelope.indexOf("</AOSUB>");
    const QString subject = (at >= 0 && end > at) ? CodePage::decode(envelope.mid(at + 7, end - at - 7)) : QString();
    say(QStringLiteral("message %1: %2 bytes, subject \"%3\"").arg(o.received).arg(envelope.size()).arg(subject));
    if (o.outbox.isEmpty())
        return;
    QFile f(QDir(o.outbox).filePath(QStringLiteral("msg%1.txt").arg(o.received, 5, 10, QLatin1Char('0'))));
    if (f.open(QIODevice::WriteOnly))
        f.write(envelope);
}

void serve(QTcpSocket *socket, Options *o)
{
    auto buffer = std::make_shared<QByteArray>();
    QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    QObject::connect(socket, &QTcpSocket::readyRead, socket, [socket, o, buffer] {
        *buffer += socket->readAll();
        for (;;) {
            const int marker = buffer->indexOf("!/ADDON!\r\n");
            const int quit = buffer->indexOf("QUIT\r\n");
            if (quit == 0) {
                buffer->remove(0, 6);
                socket->write("QUITING>\r\n");
                socket->disconnectFromHost();
                return;
            }
            if (marker < 0)
                return;
            const QByteArray envelope = buffer->left(marker + 8);
            buffer->remove(0, marker + 10);
            store(*o, envelope);
            switch (o->mode) {
            case Mode::Normal:
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
                const QByteArray line(1023, 'x');
                for (int i = 0; i < 10 * 1024; ++i)
                    socket->write(line + '\n');
                break;
            }
            }
        }
    });
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationVersion(Zelvat::VersionText());
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Loopback stand-in for the packet message server"));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOption({QStringLiteral("host"), QStringLiteral("Address to listen on."), QStringLiteral("host"),
                      QStringLiteral("127.0.0.1")});
    parser.addOption({QStringLiteral("port"), QStringLiteral("Port (0 picks one)."), QStringLiteral("port"),
                      QStringLiteral("9334")});
    parser.addOption({QStringLiteral("outbox"), QStringLiteral("Folder for one file per envelope."), QStringLiteral("dir")});
    parser.addOption({QStringLiteral("mode"), QStringLiteral("normal, silent, split, drop, garbage or flood."),
                      QStringLiteral("mode"), QStringLiteral("normal")});
    parser.process(app);

    static Options options;
    const QString mode = parser.value(QStringLiteral("mode"));
    const QHash<QString, Mode> modes = {{QStringLiteral("normal"), Mode::Normal}, {QStringLiteral("silent"), Mode::Silent},
                                        {QStringLiteral("split"), Mode::Split},   {QStringLiteral("drop"), Mode::Drop},
                                        {QStringLiteral("garbage"), Mode::Garbage}, {QStringLiteral("flood"), Mode::Flood}};
    if (!modes.contains(mode)) {
        std::fprintf(stderr, "tndirect-sim: unknown mode %s\n", qPrintable(mode));
        return 2;
    }
    options.mode = modes.value(mode);
    options.outbox = parser.value(QStringLiteral("outbox"));
    if (!options.outbox.isEmpty() && !QDir().mkpath(options.outbox)) {
        std::fprintf(stderr, "tndirect-sim: cannot create %s\n", qPrintable(options.outbox));
        return 1;
    }
    bool portOk = false;
    const int port = parser.value(QStringLiteral("port")).toInt(&portOk);
    const QHostAddress host(parser.value(QStringLiteral("host")));
    if (!portOk || port < 0 || port > 65535 || host.isNull()) {
        std::fprintf(stderr, "tndirect-sim: bad --host or --port\n");
        return 2;
    }
    QTcpServer server;
    if (!server.listen(host, quint16(port))) {
        std::fprintf(stderr, "tndirect-sim: cannot listen on %s:%d: %s\n", qPrintable(host.toString()), port,
                     qPrintable(server.errorString()));
        return 1;
    }
    QObject::connect(&server, &QTcpServer::newConnection, &server, [&server] {
        while (QTcpSocket *s = server.nextPendingConnection())
            serve(s, &options);
    });
    say(QStringLiteral("listening on %1:%2").arg(host.toString()).arg(server.serverPort()));
    return app.exec();
}
