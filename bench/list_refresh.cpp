// What a refill of the main window's report list costs: BuildNewMsgList (file list, a load of
// every report, the rows, the default order, the view) of the Ready folder, offscreen, against a
// plain read of the same files in the same run. Prints medians for 10,000 and 100,000 reports,
// the time from start to the station dialog shown, and, last, refresh_ratio for 10,000.

#include "app/frmZelvatmain.h"
#include "common/SampleReport.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

struct Figures {
    double refreshMs;
    double plainMs;
    double startMs;
};

Figures measure(int count, int repeats)
{
    QTemporaryDir dir;
    QDir(dir.path()).mkpath(QStringLiteral("msg.d"));
    QDir(dir.path()).mkpath(QStringLiteral("logs"));
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        const ZelvatMsg m = SampleReport::make(dir.path(), i, 2);
        const QString path = m.pathFor(m.EID());
        QFile f(path);
        f.open(QIODevice::WriteOnly);
        f.write(m.fileContent(QStringLiteral("1.0.0/26320:143207")));
        paths << path;
    }

    QElapsedTimer start;
    start.start();
    frmZelvatmain window(dir.path());
    double startMs = 0;
    window.showStationDialog = [&] { startMs = start.nsecsElapsed() / 1e6; };
    window.Form_Load();

    std::vector<double> refresh, plain;
    qint64 bytes = 0;
    for (int r = 0; r < repeats + 1; ++r) { // the first round warms the caches
        QElapsedTimer t;
        t.start();
        window.BuildNewMsgList();
        QApplication::processEvents();
        const double refreshMs = t.nsecsElapsed() / 1e6;
        t.restart();
        for (const QString &path : std::as_const(paths)) {
            QFile f(path);
            f.open(QIODevice::ReadOnly);
            bytes += f.readAll().size();
        }
        const double plainMs = t.nsecsElapsed() / 1e6;
        if (r > 0) {
            refresh.push_back(refreshMs);
            plain.push_back(plainMs);
        }
    }
    if (bytes == 0)
        std::puts("nothing was read");
    window.close();
    return {median(refresh), median(plain), startMs};
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true); // the benchmark's window leaves the operator's settings alone
    const Figures large = measure(100000, 3);
    std::printf("reports=100000 refresh_median_ms=%.1f plain_median_ms=%.1f ratio=%.2f start_to_station_dialog_ms=%.1f\n",
                large.refreshMs, large.plainMs, large.refreshMs / large.plainMs, large.startMs);
    const Figures f = measure(10000, 9);
    std::printf("reports=10000 refresh_median_ms=%.1f plain_median_ms=%.1f start_to_station_dialog_ms=%.1f\n", f.refreshMs,
                f.plainMs, f.startMs);
    std::printf("refresh_ratio=%.2f\n", f.refreshMs / f.plainMs);
    return 0;
}
