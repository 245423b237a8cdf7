// The communications log of a long operation: 10,000 tries appended one by one through SafeFile,
// then the period read back and saved as CSV, and drawn as the PDF "Communications Log", each
// timed (median of three; the append once). Prints the figures and, last, pdf_ms.

#include "link/CommLog.h"
#include "sheet/CommLogSheet.h"
#include "sheet/PageSetup.h"
#include "support/SafeFile.h"

#include <QElapsedTimer>
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

double msSince(const QElapsedTimer &t)
{
    return double(t.nsecsElapsed()) / 1e6;
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    constexpr int kTries = 10000;
    QTemporaryDir dir;
    const QDateTime start = QDateTime::fromSecsSinceEpoch(QDateTime::currentSecsSinceEpoch() - kTries);
    const char *why[] = {"", "refused", "no answer", "required fields missing"};

    QElapsedTimer t;
    t.start();
    for (int i = 0; i < kTries; ++i) {
        const CommLog::Entry e{start.addSecs(i), QStringLiteral("SPF26330.%1").arg(100 + i), QString::number(i),
                               QStringLiteral("SPF-%1 / MED+FIRE / Springfield -- UPDATE").arg(100 + i),
                               QStringLiteral("127.0.0.1:9334"), i % 4 ? QStringLiteral("not sent") : QStringLiteral("sent"),
                               QString::fromLatin1(why[i % 4]), QStringLiteral("Pat Smith"), QStringLiteral("KN1ABC"),
                               QStringLiteral("EOC")};
        RunError error;
        if (!CommLog::append(dir.path(), e, &error))
            qFatal("append: %s", qPrintable(error.text()));
    }
    const double appendMs = msSince(t);

    std::vector<double> read, csv, pdf;
    qsizetype csvBytes = 0, pdfBytes = 0;
    for (int round = 0; round < 3; ++round) {
        CommLog::Period period;
        t.restart();
        if (!CommLog::read(dir.path(), start, start.addSecs(kTries), &period, nullptr) || period.entries.size() != kTries)
            qFatal("read back %d tries", int(period.entries.size()));
        read.push_back(msSince(t));

        t.restart();
        const QByteArray bytes = CommLog::csv(period.entries);
        RunError error;
        if (!SafeFile::writeAtomically(dir.filePath(QStringLiteral("log.csv")), bytes, &error))
            qFatal("csv: %s", qPrintable(error.text()));
        csv.push_back(read.back() + msSince(t));
        csvBytes = bytes.size();

        t.restart();
        const CommLogHeader head{QStringLiteral("Exercise"), start, start.addSecs(kTries), QStringLiteral("Pat Smith"),
                                 QStringLiteral("KN1ABC"), QStringLiteral("EOC")};
        const QByteArray sheet = CommLogSheet::pdf(head, period.entries, PageSetup::fallback(), &error);
        if (sheet.isEmpty() || !SafeFile::writeAtomically(dir.filePath(QStringLiteral("log.pdf")), sheet, &error))
            qFatal("pdf: %s", qPrintable(error.text()));
        pdf.push_back(read.back() + msSince(t));
        pdfBytes = sheet.size();
    }
    std::printf("tries: %d\n", kTries);
    std::printf("append_each_us: %.1f\n", appendMs * 1000 / kTries);
    std::printf("read_ms: %.1f\n", median(read));
    std::printf("csv_ms: %.1f (%lld bytes, read and saved)\n", median(csv), static_cast<long long>(csvBytes));
    std::printf("pdf_ms: %.1f (%lld bytes, read and saved)\n", median(pdf), static_cast<long long>(pdfBytes));
    return 0;
}
