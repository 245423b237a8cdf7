// What a save of one 700-byte report costs through SafeFile::writeAtomically (temporary file,
// fsync, rename, fsync of the folder), against QSaveFile (no folder flush) and a plain overwrite
// without fsync, in the same folder and run; and a readAll and a 60-byte log append of the same
// file. The folder is a new one inside the current folder (or the one given as first argument), so
// run it from a folder on the disk the program folder lives on.
// Prints the median and the 90th percentile of each in microseconds and, last, write_atomic_us.

#include "support/SafeFile.h"

#include <QElapsedTimer>
#include <QFile>
#include <QSaveFile>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

struct Figures {
    double median;
    double p90;
};

Figures measure(int rounds, const std::function<bool()> &once)
{
    std::vector<double> us;
    for (int r = 0; r < rounds + 3; ++r) { // the first rounds only warm up
        QElapsedTimer t;
        t.start();
        if (!once())
            qFatal("a round failed");
        if (r >= 3)
            us.push_back(t.nsecsElapsed() / 1e3);
    }
    std::sort(us.begin(), us.end());
    return {us[us.size() / 2], us[us.size() * 9 / 10]};
}

} // namespace

int main(int argc, char **argv)
{
    QTemporaryDir dir(QString::fromLocal8Bit(argc > 1 ? argv[1] : ".") + QStringLiteral("/safefile_write-XXXXXX"));
    if (!dir.isValid())
        qFatal("cannot create a folder to write in");
    const QString path = dir.filePath(QStringLiteral("ABC26320.001.911"));
    const QByteArray report = QByteArray("[ADMIN DEFINITION]\r\nAST=6\r\n").repeated(26); // 702 bytes
    const QByteArray line(58, 'L');
    const int rounds = 200;
    RunError error;

    const Figures atomic = measure(rounds, [&] { return SafeFile::writeAtomically(path, report, &error); });
    const Figures saveFile = measure(rounds, [&] {
        QSaveFile f(path);
        return f.open(QIODevice::WriteOnly) && f.write(report) == report.size() && f.commit();
    });
    const Figures plain = measure(rounds, [&] {
        QFile f(path);
        return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(report) == report.size();
    });
    QByteArray bytes;
    const Figures read = measure(rounds, [&] { return SafeFile::readAll(path, 65536, &bytes, &error); });
    const Figures append = measure(rounds, [&] { return SafeFile::append(dir.filePath(QStringLiteral("log")), line + "\r\n", &error); });

    std::printf("folder: %s, %d rounds, %lld-byte report\n", qPrintable(dir.path()), rounds, qint64(report.size()));
    std::printf("%-44s %10s %10s\n", "", "median us", "p90 us");
    std::printf("%-44s %10.1f %10.1f\n", "SafeFile::writeAtomically (fsync file+folder)", atomic.median, atomic.p90);
    std::printf("%-44s %10.1f %10.1f\n", "QSaveFile (fdatasync, no folder flush)", saveFile.median, saveFile.p90);
    std::printf("%-44s %10.1f %10.1f\n", "QFile overwrite, no sync", plain.median, plain.p90);
    std::printf("%-44s %10.1f %10.1f\n", "SafeFile::readAll", read.median, read.p90);
    std::printf("%-44s %10.1f %10.1f\n", "SafeFile::append (60 bytes, no sync)", append.median, append.p90);
    std::printf("write_atomic_us %.1f\n", atomic.median);
    return 0;
}
