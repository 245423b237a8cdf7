// What the outbox costs beyond the designed pauses of its sessions: N Ready reports (1000 unless
// given as first argument) sent by the outbox, one session at a time, to tndirect-sim. A session
// pauses 400 ms by design (100 ms after connecting, 100 before the envelope, 100 before sending
// it, 100 before closing); each report's time, from the start of its try to the next, minus those
// 400 ms is the outbox's overhead: loading, the send lock, two saves of the report, the outbox
// file, the connection and the server's answer. Prints the figures and, last, overhead_ms (the
// median per report). Takes about seven minutes for 1000 reports.

#include "common/SampleReport.h"
#include "link/Outbox.h"
#include "link/ServerSession.h"
#include "settings/ZelvatIni.h"
#include "store/ProgramFolder.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTimer>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <vector>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const int reports = argc > 1 ? QByteArray(argv[1]).toInt() : 1000;
    const QString simPath = QCoreApplication::applicationDirPath() + QStringLiteral("/../tools/loopback/tndirect-sim");
    QProcess sim;
    sim.start(simPath, {QStringLiteral("--port"), QStringLiteral("0")});
    if (!sim.waitForReadyRead(10000)) {
        std::fprintf(stderr, "tndirect-sim did not start\n");
        return 1;
    }
    const QByteArray first = sim.readLine().trimmed();

    QTemporaryDir dir;
    RunError error;
    if (!ProgramFolder::prepare(dir.path(), &error))
        qFatal("%s", qPrintable(error.description));
    ZelvatIni station(ProgramFolder::stationFile(dir.path()));
    station.load();
    station.Prt = QString::fromLatin1(first.mid(first.lastIndexOf(':') + 1));
    for (int i = 0; i < reports; ++i) {
        ZelvatMsg m = SampleReport::make(dir.path(), i, 2);
        m.setTYP(QStringLiteral("MED"));
        if (!m.Fadd())
            qFatal("cannot write the reports");
    }

    ServerSession session(&station);
    Outbox::Hooks hooks;
    QElapsedTimer clock;
    std::vector<double> perReport;
    double started = 0;
    int sent = 0;
    hooks.starting = [&](int, int, const QString &) { started = clock.nsecsElapsed() / 1e6; };
    hooks.tried = [&](const Outbox::Try &t) {
        perReport.push_back(clock.nsecsElapsed() / 1e6 - started);
        sent += t.result == Outbox::Result::Sent;
    };
    clock.start();
    const Outbox::Run run = Outbox(dir.path(), station).sendReady(session, hooks);
    const double total = clock.nsecsElapsed() / 1e6;

    // The server says a line for each envelope it took.
    QTimer::singleShot(500, &app, &QCoreApplication::quit);
    app.exec();
    const int received = int(sim.readAllStandardOutput().count("message "));
    sim.kill();
    sim.waitForFinished();
    if (sent != reports || run.sent != reports || received != reports) {
        std::fprintf(stderr, "sent %d of %d, the server took %d\n", sent, reports, received);
        return 1;
    }
    std::sort(perReport.begin(), perReport.end());
    const auto at = [&](double q) { return perReport[size_t(q * (perReport.size() - 1))]; };
    std::printf("reports=%d total_s=%.1f (listing the Ready reports included) designed_pauses_ms=400\n", reports,
                total / 1000);
    std::printf("per report ms: median=%.1f p90=%.1f max=%.1f min=%.1f\n", at(0.5), at(0.9), perReport.back(),
                perReport.front());
    std::printf("overhead above the pauses ms: median=%.1f p90=%.1f max=%.1f\n", at(0.5) - 400, at(0.9) - 400,
                perReport.back() - 400);
    std::printf("overhead_ms=%.1f\n", at(0.5) - 400);
    return 0;
}
