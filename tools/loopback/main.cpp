// tndirect-sim: a loopback stand-in for the suite's message server, for drills, demonstrations
// and tests. It speaks the add-on dialogue (see LoopbackServer.h); its modes make it misbehave
// the ways a real server can.
//
//   tndirect-sim [--host 127.0.0.1] [--port 9334] [--outbox DIR]
//                [--mode normal|silent|split|drop|garbage|flood|alternate]
//   tndirect-sim --help | --version
//
// The first line of standard output is "listening on HOST:PORT"; then one line per message.

#include "LoopbackServer.h"

#include "support/CodePage.h"
#include "support/CommonConst.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <cstdio>

namespace {

void say(const QString &line)
{
    std::printf("%s\n", line.toLocal8Bit().constData());
    std::fflush(stdout);
}

QString subjectOf(const QByteArray &envelope)
{
    const qsizetype at = envelope.indexOf("<AOSUB>");
    const qsizetype end = envelope.indexOf("</AOSUB>");
    return (at >= 0 && end > at) ? CodePage::decode(envelope.mid(at + 7, end - at - 7)) : QString();
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationVersion(Zelvat::versionText());
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Loopback stand-in for the packet message server"));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOption({QStringLiteral("host"), QStringLiteral("Address to listen on."), QStringLiteral("host"),
                      QStringLiteral("127.0.0.1")});
    parser.addOption({QStringLiteral("port"), QStringLiteral("Port (0 picks one)."), QStringLiteral("port"),
                      QStringLiteral("9334")});
    parser.addOption({QStringLiteral("outbox"), QStringLiteral("Folder for one file per envelope."), QStringLiteral("dir")});
    parser.addOption({QStringLiteral("mode"), QStringLiteral("normal, silent, split, drop, garbage, flood or alternate (hangs up on every other connection)."),
                      QStringLiteral("mode"), QStringLiteral("normal")});
    parser.process(app);

    const auto mode = LoopbackServer::modeNamed(parser.value(QStringLiteral("mode")));
    if (!mode) {
        std::fprintf(stderr, "tndirect-sim: unknown mode %s\n", qPrintable(parser.value(QStringLiteral("mode"))));
        return 2;
    }
    const QString outbox = parser.value(QStringLiteral("outbox"));
    if (!outbox.isEmpty() && !QDir().mkpath(outbox)) {
        std::fprintf(stderr, "tndirect-sim: cannot create %s\n", qPrintable(outbox));
        return 1;
    }
    bool portOk = false;
    const int port = parser.value(QStringLiteral("port")).toInt(&portOk);
    const QHostAddress host(parser.value(QStringLiteral("host")));
    if (!portOk || port < 0 || port > 65535 || host.isNull()) {
        std::fprintf(stderr, "tndirect-sim: bad --host or --port\n");
        return 2;
    }
    LoopbackServer server(*mode);
    server.setOutbox(outbox);
    if (!server.listen(host, quint16(port))) {
        std::fprintf(stderr, "tndirect-sim: cannot listen on %s:%d: %s\n", qPrintable(host.toString()), port,
                     qPrintable(server.errorString()));
        return 1;
    }
    QObject::connect(&server, &LoopbackServer::messageReceived, [](int number, const QByteArray &envelope) {
        say(QStringLiteral("message %1: %2 bytes, subject \"%3\"").arg(number).arg(envelope.size()).arg(subjectOf(envelope)));
    });
    say(QStringLiteral("listening on %1:%2").arg(host.toString()).arg(server.port()));
    return app.exec();
}
