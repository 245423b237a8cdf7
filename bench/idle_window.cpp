// What an idle window costs at 100,000 reports: the catalog kept current by its folder watch (the
// system's notices and the periodic look, as the main window runs them), in an event loop that
// does nothing else, while other positions refresh their marks in msg.d/.inuse every 3 seconds.
// Measured once with the notices the folder delivers and once with them ignored (as on a share
// without notices), after a start-up of a few seconds (the first looks): the process's CPU time
// (user and system) as a percentage of one core, the looks that listed the folder and those that
// found it as it was, and the CPU time of one look that lists it.
//
//   idle_window [--seconds S] [--reports N] [--home DIR] [--make DIR]
//
// --make writes N reports into DIR/msg.d and stops (scripts/bench-share.sh puts them under a
// FUSE mount); --home uses the reports already in DIR/msg.d. Prints, last, the figure without
// notices.

#include "common/SampleReport.h"
#include "store/CatalogUpdates.h"
#include "store/ReportFolderWatch.h"
#include "store/SharedFolder.h"
#include "support/SafeFile.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

double cpuSeconds()
{
    rusage use {};
    ::getrusage(RUSAGE_SELF, &use);
    return use.ru_utime.tv_sec + use.ru_utime.tv_usec / 1e6 + use.ru_stime.tv_sec + use.ru_stime.tv_usec / 1e6;
}

void makeReports(const QString &home, int count)
{
    QDir(home).mkpath(QStringLiteral("msg.d"));
    const timespec when{time_t(QDateTime::currentSecsSinceEpoch() - 3600), 0};
    const timespec times[2] = {when, when};
    for (int i = 0; i < count; ++i) {
        const ZelvatMsg m = SampleReport::make(home, i, qint16(i % 3 == 0 ? 6 : 2));
        const QString path = m.pathFor(m.EID());
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly))
            qFatal("cannot write %s", qPrintable(path));
        f.write(m.fileContent(QStringLiteral("1.0.0/26320:143207")));
        f.close();
        ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0);
    }
}

// The marks of 20 positions, each refreshed in turn: the mark is written anew, as a position with
// a form open keeps its mark.
struct Marks {
    QString folder;
    int next = 0;
    explicit Marks(const QString &messageFolder)
        : folder(SharedFolder::marks(messageFolder))
    {
        RunError error;
        SharedFolder::ensure(folder, &error);
        for (int i = 0; i < 20; ++i)
            refresh();
    }
    void refresh()
    {
        RunError error;
        SafeFile::writeAtomically(folder + QStringLiteral("/ABC26320.%1").arg(next++ % 20, 6, 10, QLatin1Char('0')),
                                  "NRT\tKN1ABC\tEOC\thost\t4242\t" + QByteArray::number(QDateTime::currentSecsSinceEpoch()) + "\n",
                                  &error, SafeFile::Flush::Later);
    }
};

struct Figures {
    double percent = 0;
    int wholeLooks = 0, skippedLooks = 0;
    double listingCpuMs = 0;
};

Figures idle(const QString &home, bool ignoreNotices, int seconds, bool *noticesDelivered)
{
    ReportCatalog catalog(home);
    CatalogUpdates updates(&catalog);
    updates.start();
    updates.watch()->ignoreNotices(ignoreNotices);
    *noticesDelivered = updates.watch()->noticesDelivered();
    updates.update(); // the window fills its list at start
    Marks marks(catalog.messageFolder());
    QTimer markTimer;
    QObject::connect(&markTimer, &QTimer::timeout, [&] { marks.refresh(); });
    markTimer.start(3000);

    // The start-up: the first looks list the folder until its identity has settled.
    QEventLoop loop;
    QTimer::singleShot(5000, &loop, &QEventLoop::quit);
    loop.exec();

    Figures f;
    const int wholeBefore = updates.watch()->wholeLooks(), skippedBefore = updates.watch()->skippedLooks();
    const double cpuBefore = cpuSeconds();
    QElapsedTimer wall;
    wall.start();
    QTimer::singleShot(seconds * 1000, &loop, &QEventLoop::quit);
    loop.exec();
    f.percent = (cpuSeconds() - cpuBefore) * 100.0 / (wall.nsecsElapsed() / 1e9);
    f.wholeLooks = updates.watch()->wholeLooks() - wholeBefore;
    f.skippedLooks = updates.watch()->skippedLooks() - skippedBefore;

    // One look that lists the folder, as the periodic look makes it, and the catalog taking it in.
    const double cpu = cpuSeconds();
    catalog.apply(ReportCatalog::listFolder(catalog.messageFolder()));
    f.listingCpuMs = (cpuSeconds() - cpu) * 1000;
    return f;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    int seconds = 60, reports = 100000;
    QString home, make;
    const QStringList args = app.arguments();
    for (int i = 1; i + 1 < args.size(); i += 2) {
        if (args[i] == QLatin1String("--seconds"))
            seconds = args[i + 1].toInt();
        else if (args[i] == QLatin1String("--reports"))
            reports = args[i + 1].toInt();
        else if (args[i] == QLatin1String("--home"))
            home = args[i + 1];
        else if (args[i] == QLatin1String("--make"))
            make = args[i + 1];
    }
    if (!make.isEmpty()) {
        makeReports(make, reports);
        return 0;
    }
    QTemporaryDir scratch;
    if (home.isEmpty()) {
        home = scratch.path();
        makeReports(home, reports);
    }
    const int count = int(QDir(home + QStringLiteral("/msg.d")).entryList({QStringLiteral("*.911")}, QDir::Files).size());
    for (bool ignore : {false, true}) {
        bool delivered = false;
        const Figures f = idle(home, ignore, seconds, &delivered);
        std::printf("reports=%d seconds=%d notices=%s cpu_percent_of_core=%.2f whole_looks=%d skipped_looks=%d "
                    "cpu_ms_per_whole_look=%.0f\n",
                    count, seconds, delivered ? "delivered" : "none", f.percent, f.wholeLooks, f.skippedLooks, f.listingCpuMs);
        if (ignore)
            std::printf("idle_cpu_percent_without_notices=%.2f\n", f.percent);
    }
    return 0;
}
