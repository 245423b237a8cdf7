// What a submission costs beyond its designed pauses: `zelvatcts-cli resend` of 100 Ready
// reports against tndirect-sim. A session pauses 400 ms by design (100 ms after connecting, 100
// before the envelope, 100 before sending it, 100 before closing); the time each report takes,
// taken from when its line appears, minus those 400 ms is the overhead. Prints the median time per
// report and, last, overhead_ms.

#include "common/SampleReport.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <vector>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QString bin = QCoreApplication::applicationDirPath() + QStringLiteral("/..");
    const QString cli = bin + QStringLiteral("/tools/cli/zelvatcts-cli");
    const QString simPath = bin + QStringLiteral("/tools/loopback/tndirect-sim");

    QProcess sim;
    sim.start(simPath, {QStringLiteral("--port"), QStringLiteral("0")});
    if (!sim.waitForReadyRead(10000)) {
        std::fprintf(stderr, "tndirect-sim did not start\n");
        return 1;
    }
    const QByteArray first = sim.readLine().trimmed();
    const QByteArray port = first.mid(first.lastIndexOf(':') + 1);

    QTemporaryDir dir;
    QDir(dir.path()).mkpath(QStringLiteral("msg.d"));
    QFile ini(dir.path() + QStringLiteral("/Zelvatcts.ini"));
    ini.open(QIODevice::WriteOnly);
    ini.write("[GENERAL OPTIONS]\r\nUid=KN1ABC\r\nLoc=EOC\r\nLid=SPF\r\nPrt=" + port + "\r\n");
    ini.close();
    constexpr int reports = 100;
    for (int i = 0; i < reports; ++i) {
        ZelvatMsg m = SampleReport::make(dir.path(), i, 2);
        m.setTYP(QStringLiteral("MED"));
        m.Fadd();
    }

    QProcess resend;
    QElapsedTimer clock;
    std::vector<double> perReport;
    double last = 0;
    clock.start();
    resend.start(cli, {QStringLiteral("--home"), dir.path(), QStringLiteral("resend")});
    QByteArray pending;
    while (resend.state() != QProcess::NotRunning || resend.bytesAvailable() > 0) {
        resend.waitForReadyRead(100);
        pending += resend.readAllStandardOutput();
        qsizetype nl;
        while ((nl = pending.indexOf('\n')) >= 0) {
            const QByteArray line = pending.left(nl);
            pending.remove(0, nl + 1);
            if (!line.contains("\tSubmitted") && !line.contains("\tstill Ready"))
                continue;
            const double now = clock.nsecsElapsed() / 1e6;
            perReport.push_back(now - last);
            last = now;
        }
    }
    sim.kill();
    sim.waitForFinished();
    if (perReport.size() != size_t(reports)) {
        std::fprintf(stderr, "resend reported %zu of %d reports\n", perReport.size(), reports);
        return 1;
    }
    std::sort(perReport.begin(), perReport.end());
    const double median = perReport[perReport.size() / 2];
    std::printf("reports=%d total_ms=%.0f median_ms_per_report=%.1f min_ms=%.1f max_ms=%.1f designed_pauses_ms=400\n",
                reports, last, median, perReport.front(), perReport.back());
    std::printf("overhead_ms=%.1f\n", median - 400);
    return 0;
}
