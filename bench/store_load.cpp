// What a refill of the report list costs in the store: BuildFileList plus a Load of every name,
// against a plain read of the same files (open, read all, close each) in the same run.
// Prints the medians for 10,000 and 100,000 report files and, last, load_ratio for 10,000.

#include "common/SampleReport.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
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
    double storeMs;
    double plainMs;
    qint64 bytes;
};

Figures measure(int count, int repeats)
{
    QTemporaryDir dir;
    QDir(dir.path()).mkpath(QStringLiteral("msg.d"));
    QStringList paths;
    qint64 bytes = 0;
    for (int i = 0; i < count; ++i) {
        const QByteArray content =
            SampleReport::make(dir.path(), i, qint16(i % 3 == 0 ? 2 : 6)).fileContent(QStringLiteral("1.0.0/26320:143207"));
        const QString path = dir.path() + QStringLiteral("/msg.d/ABC26320.%1.911").arg(i, 6, 10, QLatin1Char('0'));
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly))
            qFatal("cannot write %s", qPrintable(path));
        f.write(content);
        bytes += content.size();
        paths.append(path);
    }

    std::vector<double> store, plain;
    qint64 checksum = 0;
    for (int r = 0; r < repeats + 1; ++r) { // the first round only warms the caches
        QElapsedTimer t;
        t.start();
        ZelvatMsg reader(dir.path());
        const QStringList names = reader.fileNames();
        for (const QString &name : names) {
            reader.Load(name);
            checksum += reader.AST();
        }
        const double storeMs = t.nsecsElapsed() / 1e6;

        t.restart();
        for (const QString &path : std::as_const(paths)) {
            QFile f(path);
            f.open(QIODevice::ReadOnly);
            checksum += f.readAll().size();
        }
        const double plainMs = t.nsecsElapsed() / 1e6;
        if (r > 0) {
            store.push_back(storeMs);
            plain.push_back(plainMs);
        }
    }
    if (checksum == 0)
        std::puts("nothing was read");
    return {median(store), median(plain), bytes / count};
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const Figures large = measure(100000, 3);
    std::printf("files=100000 bytes_per_file=%lld store_median_ms=%.1f plain_median_ms=%.1f ratio=%.2f\n",
                large.bytes, large.storeMs, large.plainMs, large.storeMs / large.plainMs);
    const Figures f = measure(10000, 9);
    std::printf("files=10000 bytes_per_file=%lld store_median_ms=%.1f plain_median_ms=%.1f\n", f.bytes, f.storeMs,
                f.plainMs);
    std::printf("load_ratio=%.2f\n", f.storeMs / f.plainMs);
    return 0;
}
