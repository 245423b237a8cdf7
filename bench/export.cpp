// What the hand-over costs: report sheets of 1,000 reports rendered as one PDF, and the CSV
// export of 100,000 reports (the whole message folder, each file read once, rows in the list's
// order, the file saved through SafeFile) against a plain read of the same files (open, read
// all, close each) in the same run; beside them the report loader alone (the file list and a
// load of every report), the floor under the export. Prints the figures and, last, csv_ratio.

#include "common/SampleReport.h"
#include "sheet/PageSetup.h"
#include "sheet/ReportSheet.h"
#include "store/ReportCsv.h"
#include "support/SafeFile.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
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

// A program folder with `count` report files; returns their paths.
QStringList fill(const QString &folder, int count)
{
    QDir(folder).mkpath(QStringLiteral("msg.d"));
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        const ZelvatMsg m = SampleReport::make(folder, i, qint16(i % 3 == 0 ? 2 : 6));
        const QString path = folder + QStringLiteral("/msg.d/") + m.EID() + QStringLiteral(".911");
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly))
            qFatal("cannot write %s", qPrintable(path));
        f.write(m.fileContent(QStringLiteral("1.0.0/26320:143207")));
        paths << path;
    }
    return paths;
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);

    {
        QTemporaryDir dir;
        const QStringList paths = fill(dir.path(), 1000);
        QStringList names;
        for (const QString &p : paths)
            names << QFileInfo(p).completeBaseName();
        QElapsedTimer t;
        t.start();
        QStringList unreadable;
        const QList<SheetReport> reports = ReportSheet::fromFiles(dir.path(), names, &unreadable);
        RunError sheetError;
        const QByteArray pdf = ReportSheet::pdf(reports, SheetStation{QStringLiteral("Pat Smith"), QStringLiteral("KN1ABC"),
                                                                      QStringLiteral("EOC Main")},
                                                PageSetup::fallback(), &sheetError);
        RunError error;
        if (pdf.isEmpty() || !SafeFile::writeAtomically(dir.filePath(QStringLiteral("sheets.pdf")), pdf, &error))
            qFatal("no PDF: %s %s", qPrintable(sheetError.description), qPrintable(error.text()));
        const double ms = t.nsecsElapsed() / 1e6;
        std::printf("pdf reports=%lld bytes=%lld total_ms=%.0f per_report_ms=%.2f\n", qlonglong(reports.size()),
                    qlonglong(pdf.size()), ms, ms / reports.size());
    }

    QTemporaryDir dir;
    const int count = 100000;
    const QStringList paths = fill(dir.path(), count);
    const QString out = dir.filePath(QStringLiteral("all.csv"));
    std::vector<double> csv, plain, loader;
    qint64 checksum = 0;
    qint64 bytes = 0;
    for (int r = 0; r < 6; ++r) { // the first round only warms the caches
        QElapsedTimer t;
        t.start();
        ZelvatMsg reader(dir.path());
        const ReportCsv::Export e = ReportCsv::fromFolder(reader, 0);
        RunError error;
        if (e.rows != count || !SafeFile::writeAtomically(out, e.bytes, &error))
            qFatal("export of %d rows failed: %s", e.rows, qPrintable(error.text()));
        bytes = e.bytes.size();
        const double csvMs = t.nsecsElapsed() / 1e6;

        t.restart();
        {
            ZelvatMsg reader(dir.path());
            for (const QString &name : reader.fileNames())
                checksum += reader.Load(name);
        }
        const double loaderMs = t.nsecsElapsed() / 1e6;

        t.restart();
        for (const QString &path : paths) {
            QFile f(path);
            f.open(QIODevice::ReadOnly);
            checksum += f.readAll().size();
        }
        const double plainMs = t.nsecsElapsed() / 1e6;
        if (r > 0) {
            csv.push_back(csvMs);
            plain.push_back(plainMs);
            loader.push_back(loaderMs);
        }
    }
    if (checksum == 0)
        std::puts("nothing was read");
    std::printf("csv reports=%d bytes=%lld csv_median_ms=%.0f loader_median_ms=%.0f plain_read_median_ms=%.0f "
                "loader_ratio=%.2f\n",
                count, bytes, median(csv), median(loader), median(plain), median(loader) / median(plain));
    std::printf("csv_ratio=%.2f\n", median(csv) / median(plain));
    return 0;
}
