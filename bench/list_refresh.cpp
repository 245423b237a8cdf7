// What keeping the main window's report list costs, offscreen, for 10,000 and 100,000 reports of
// the Ready folder: the time from start to the station dialog without the index file and with it;
// a full refill (BuildNewMsgList after every report changed: each file read again, the rows, the
// default order, the view) against a plain read of the same files in the same run; a refill
// after one report changed (a save in the form) and after nothing changed; and the peak memory
// of the program with 100,000 reports against the empty program (VmHWM of a child process).
// Prints, last, refresh_ratio (the full refill against the plain read) for 10,000.
//
// With --shared: only the 100,000, on a message folder that other positions share: 20 marks in
// msg.d/.inuse (one written anew before each refill, as positions with a form open refresh
// theirs) and 2,000 kept versions in msg.d/.versions (just files); prints, last, the refill after
// one change.
//
// The reports are written, then dated an hour back, as reports written earlier are: the list
// reads a file again at every refill while its modification time is within a few seconds of now.

#include "app/frmZelvatmain.h"
#include "common/Files.h"
#include "common/SampleReport.h"
#include "store/SharedFolder.h"
#include "support/SafeFile.h"

#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QProcess>
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

qint64 peakKb()
{
    QFile status(QStringLiteral("/proc/self/status"));
    status.open(QIODevice::ReadOnly);
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toLongLong();
    }
    return -1;
}

// Every file's modification time set to `secondsAgo` before `from` (now by default).
void dateBack(const QStringList &paths, qint64 secondsAgo, qint64 from = QDateTime::currentSecsSinceEpoch())
{
    for (const QString &path : paths)
        TestFiles::setModifiedNs(path, (from - secondsAgo) * 1000000000);
}

QStringList makeReports(const QString &folder, int count)
{
    QDir(folder).mkpath(QStringLiteral("msg.d"));
    QDir(folder).mkpath(QStringLiteral("logs"));
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        const ZelvatMsg m = SampleReport::make(folder, i, 2);
        const QString path = m.pathFor(m.EID());
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly))
            qFatal("cannot write %s", qPrintable(path));
        f.write(m.fileContent(QStringLiteral("1.0.0/26320:143207")));
        paths << path;
    }
    dateBack(paths, 3600);
    return paths;
}

// What positions keep beside the reports: 20 marks, 2,000 earlier versions of 200 reports.
bool g_shared = false;

void refreshMark(const QString &folder, int i)
{
    RunError error;
    SafeFile::writeAtomically(SharedFolder::marks(folder + QStringLiteral("/msg.d")) + QStringLiteral("/ABC26320.%1").arg(i % 20, 6, 10, QLatin1Char('0')),
                              "NRT\tKN1ABC\tEOC\thost\t4242\t" + QByteArray::number(QDateTime::currentSecsSinceEpoch()) + "\n", &error,
                              SafeFile::Flush::Later);
}

void addShared(const QString &folder, const QStringList &paths)
{
    const QString msg = folder + QStringLiteral("/msg.d");
    RunError error;
    SharedFolder::ensure(SharedFolder::marks(msg), &error);
    SharedFolder::ensure(SharedFolder::versions(msg), &error);
    for (int i = 0; i < 20; ++i)
        refreshMark(folder, i);
    QFile first(paths.first());
    first.open(QIODevice::ReadOnly);
    const QByteArray bytes = first.readAll();
    for (int r = 0; r < 200; ++r) {
        const QString versions = SharedFolder::versionsOf(msg, QFileInfo(paths[r]).completeBaseName());
        SharedFolder::ensure(versions, &error);
        for (int v = 0; v < 10; ++v)
            SafeFile::writeAtomically(versions + QStringLiteral("/%1.911").arg(v), bytes, &error, SafeFile::Flush::Later);
    }
}

double plainRead(const QStringList &paths)
{
    QElapsedTimer t;
    t.start();
    qint64 bytes = 0;
    for (const QString &path : paths) {
        QFile f(path);
        f.open(QIODevice::ReadOnly);
        bytes += f.readAll().size();
    }
    if (bytes == 0)
        std::puts("nothing was read");
    return t.nsecsElapsed() / 1e6;
}

// Start-up up to the station dialog, which every start shows.
std::unique_ptr<frmZelvatmain> start(const QString &folder, double *ms)
{
    QElapsedTimer t;
    t.start();
    auto window = std::make_unique<frmZelvatmain>(folder);
    window->showStationDialog = [&] { *ms = t.nsecsElapsed() / 1e6; };
    window->Form_Load();
    return window;
}

struct Figures {
    double startColdMs, startIndexedMs;
    double fullMs, plainMs;
    double oneChangedMs, nothingChangedMs;
};

Figures measure(const QString &folder, const QStringList &paths, int repeats)
{
    Figures f {};
    QFile::remove(folder + QStringLiteral("/Zelvatcts.idx"));
    auto window = start(folder, &f.startColdMs);

    // Every report changed (dated anew, a second further back each round, counted from one
    // moment: counted from now, a round a second later would date them as before): every file
    // is read again.
    std::vector<double> full, plain;
    const qint64 from = QDateTime::currentSecsSinceEpoch();
    for (int r = 0; r < repeats + 1; ++r) { // the first round warms the caches
        dateBack(paths, 7200 + r, from);
        QElapsedTimer t;
        t.start();
        window->BuildNewMsgList();
        QApplication::processEvents();
        const double fullMs = t.nsecsElapsed() / 1e6;
        const double plainMs = plainRead(paths);
        if (r > 0) {
            full.push_back(fullMs);
            plain.push_back(plainMs);
        }
    }
    f.fullMs = median(full);
    f.plainMs = median(plain);

    // One report saved again, as the report form saves it (its City changes, so its row moves).
    std::vector<double> one, none;
    for (int r = 0; r < 4 * repeats + 1; ++r) {
        const int i = (r * 7919) % int(paths.size());
        ZelvatMsg m = SampleReport::make(folder, i, 2);
        m.setCTY(QStringLiteral("Town %1").arg(r));
        RunError error;
        SafeFile::writeAtomically(paths[i], m.fileContent(QStringLiteral("1.0.0/26320:143207")), &error);
        if (g_shared)
            refreshMark(folder, r);
        QElapsedTimer t;
        t.start();
        window->BuildNewMsgList();
        QApplication::processEvents();
        const double oneMs = t.nsecsElapsed() / 1e6;
        t.restart();
        window->BuildNewMsgList();
        QApplication::processEvents();
        if (r > 0) {
            one.push_back(oneMs);
            none.push_back(t.nsecsElapsed() / 1e6);
        }
    }
    f.oneChangedMs = median(one);
    f.nothingChangedMs = median(none);
    window->close(); // writes the index
    window.reset();

    std::vector<double> indexed;
    for (int r = 0; r < 3; ++r) {
        double ms = 0;
        auto again = start(folder, &ms);
        indexed.push_back(ms);
        again->close();
    }
    f.startIndexedMs = median(indexed);
    return f;
}

// The child's part of the memory figure: start on a folder, refill, search, and say the peak.
int peakChild(const QString &folder)
{
    double ms = 0;
    auto window = start(folder, &ms);
    window->BuildNewMsgList();
    window->txtSearch->setText(QStringLiteral("oak"));
    QApplication::processEvents();
    window->txtSearch->clear();
    QApplication::processEvents();
    std::printf("%lld\n", peakKb());
    window->close();
    return 0;
}

qint64 peakOf(const QString &folder)
{
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--peak"), folder});
    child.waitForFinished(600000);
    return child.readAllStandardOutput().trimmed().toLongLong();
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true); // the benchmark's window leaves the operator's settings alone
    if (argc == 3 && QByteArray(argv[1]) == "--peak")
        return peakChild(QString::fromLocal8Bit(argv[2]));

    QTemporaryDir large;
    const QStringList largePaths = makeReports(large.path(), 100000);
    if (argc == 2 && QByteArray(argv[1]) == "--shared") {
        g_shared = true;
        addShared(large.path(), largePaths);
        const Figures f = measure(large.path(), largePaths, 3);
        std::printf("reports=100000 marks=20 versions=2000 nothing_changed_median_ms=%.1f start_to_station_dialog_ms=%.1f "
                    "without_index_ms=%.1f\n", f.nothingChangedMs, f.startIndexedMs, f.startColdMs);
        std::printf("one_changed_median_ms=%.1f\n", f.oneChangedMs);
        return 0;
    }
    const Figures l = measure(large.path(), largePaths, 3);
    std::printf("reports=100000 refresh_median_ms=%.1f plain_median_ms=%.1f ratio=%.2f\n", l.fullMs, l.plainMs,
                l.fullMs / l.plainMs);
    std::printf("reports=100000 one_changed_median_ms=%.1f nothing_changed_median_ms=%.1f\n", l.oneChangedMs,
                l.nothingChangedMs);
    std::printf("reports=100000 start_to_station_dialog_ms=%.1f without_index_ms=%.1f\n", l.startIndexedMs, l.startColdMs);

    QTemporaryDir empty;
    makeReports(empty.path(), 0);
    QFile::remove(large.path() + QStringLiteral("/Zelvatcts.idx"));
    const qint64 emptyKb = peakOf(empty.path());
    const qint64 coldKb = peakOf(large.path()); // reads every file, writes the index at its close
    const qint64 indexedKb = peakOf(large.path());
    std::printf("peak_kb empty=%lld reports=100000 without_index=%lld with_index=%lld per_report_bytes=%.0f (%.0f with index)\n",
                emptyKb, coldKb, indexedKb, (coldKb - emptyKb) * 1024.0 / 100000, (indexedKb - emptyKb) * 1024.0 / 100000);

    QTemporaryDir small;
    const QStringList smallPaths = makeReports(small.path(), 10000);
    const Figures s = measure(small.path(), smallPaths, 9);
    std::printf("reports=10000 refresh_median_ms=%.1f plain_median_ms=%.1f one_changed_median_ms=%.1f "
                "start_to_station_dialog_ms=%.1f without_index_ms=%.1f\n",
                s.fullMs, s.plainMs, s.oneChangedMs, s.startIndexedMs, s.startColdMs);
    std::printf("refresh_ratio=%.2f\n", s.fullMs / s.plainMs);
    return 0;
}
