// What keeping the situation summary costs at 100,000 reports spread over the last two days, in
// every state and type: the first count of the whole catalog, and a refresh after one report
// changed (saved again with another city and time, then taken into the catalog by name, as the
// folder watch names it): the catalog's part and the summary's own. Prints, last, the summary's
// refresh after one change (median), the figure its target is stated in.

#include "common/Files.h"
#include "common/SampleReport.h"
#include "store/ReportCatalog.h"
#include "store/SituationSummary.h"
#include "support/SafeFile.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

const qint16 kStates[] = {2, 6, 8, 9};

// Report `i`, dated `i` minutes (modulo two days) before `now`.
ZelvatMsg reportOf(const QString &folder, int i, const QDateTime &now)
{
    ZelvatMsg m = SampleReport::make(folder, i, kStates[i % 4]);
    const QDateTime when = now.addSecs(-60 * qint64(i % (48 * 60)));
    SampleReport::change(m, {QStringLiteral("ADT=") + when.toString(QStringLiteral("yyMMdd")),
                             QStringLiteral("ATM=") + when.toString(QStringLiteral("HHmm"))});
    return m;
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const int count = 100000;
    const QDateTime now = QDateTime(QDate(2026, 11, 16), QTime(23, 30));
    QTemporaryDir dir;
    QDir(dir.path()).mkpath(QStringLiteral("msg.d"));
    QDir(dir.path()).mkpath(QStringLiteral("logs"));
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        const ZelvatMsg m = reportOf(dir.path(), i, now);
        paths << m.pathFor(m.EID());
        QFile f(paths.last());
        if (!f.open(QIODevice::WriteOnly))
            qFatal("cannot write %s", qPrintable(paths.last()));
        f.write(m.fileContent(QStringLiteral("1.0.0/26320:143207")));
    }
    // Dated an hour back, as reports written earlier are: the catalog trusts them at once.
    for (const QString &path : paths)
        TestFiles::dateBack(path, 3600);

    ReportCatalog catalog(dir.path());
    catalog.refresh();
    SituationSummary summary(&catalog);
    QElapsedTimer t;
    t.start();
    summary.refresh(now);
    const double firstMs = t.nsecsElapsed() / 1e6;
    std::printf("reports=%d counted_24h=%d first_count_ms=%.1f\n", count, summary.counts().reports, firstMs);

    std::vector<double> catalogPart, summaryPart, unchanged;
    for (int r = 0; r < 21; ++r) {
        const int i = (r * 7919) % count;
        ZelvatMsg m = reportOf(dir.path(), i, now);
        SampleReport::change(m, {QStringLiteral("CTY=Town %1").arg(r), QStringLiteral("ATM=2315")});
        RunError error;
        if (!SafeFile::writeAtomically(paths[i], m.fileContent(QStringLiteral("1.0.0/26320:143207")), &error))
            qFatal("cannot write %s", qPrintable(paths[i]));
        t.restart();
        catalog.refresh({QFileInfo(paths[i]).fileName()});
        const double catalogMs = t.nsecsElapsed() / 1e6;
        t.restart();
        summary.refresh(now);
        const double summaryMs = t.nsecsElapsed() / 1e6;
        t.restart();
        summary.refresh(now);
        const double unchangedMs = t.nsecsElapsed() / 1e6;
        if (r > 0) { // the first round warms the caches
            catalogPart.push_back(catalogMs);
            summaryPart.push_back(summaryMs);
            unchanged.push_back(unchangedMs);
        }
    }
    std::printf("reports=%d one_changed catalog_median_ms=%.2f summary_median_ms=%.2f summary_max_ms=%.2f "
                "nothing_changed_median_ms=%.2f\n",
                count, median(catalogPart), median(summaryPart), *std::max_element(summaryPart.begin(), summaryPart.end()),
                median(unchanged));
    std::printf("summary_refresh_one_changed_ms=%.2f\n", median(summaryPart));
    return 0;
}
