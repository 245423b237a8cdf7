// What the search of the report list and the repeat-caller look-up cost with 100,000 reports, in
// the main window offscreen: each keystroke of a search typed into the search box (the filter,
// the count, the view), and a look-up of an address and a phone over every report. The reports
// are of 5,000 addresses, 20,000 phone numbers and 60 days. Prints the medians and, last,
// keystroke_median_ms.

#include "app/frmZelvatmain.h"
#include "common/SampleReport.h"
#include "store/RepeatCallers.h"
#include "support/DatetimeLib.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
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

const char *const kStreets[] = {"Oak Street", "Elm Road", "Main St", "Cedar Avenue", "Lake Drive", "Hill Lane"};
const char *const kPeople[] = {"Jordan Smith", "Lee Chan", "Pat Reyes", "Sam Okafor", "Alex Novak", "Kim Larsen"};
const char *const kIssues[] = {"Person Down", "Smoke In Building", "Hit And Run", "Water Main Break", "Chest Pain"};

void makeReports(const QString &folder, int count)
{
    QDir(folder).mkpath(QStringLiteral("msg.d"));
    QDir(folder).mkpath(QStringLiteral("logs"));
    const QDateTime now = QDateTime::currentDateTime();
    for (int i = 0; i < count; ++i) {
        ZelvatMsg m = SampleReport::make(folder, i, qint16(i % 3 == 0 ? 2 : 9));
        const QDateTime when = now.addSecs(-qint64(i % (60 * 24 * 12)) * 300); // every five minutes, 60 days back
        m.setAD1(QStringLiteral("%1 %2").arg(1 + i % 833).arg(QLatin1String(kStreets[i % 6])));
        m.setRPP(QStringLiteral("555-%1").arg(i % 20000, 5, 10, QLatin1Char('0')));
        m.setRPN(QLatin1String(kPeople[(i / 7) % 6]));
        m.setISS(QLatin1String(kIssues[(i / 3) % 5]));
        m.setADT(DatetimeLib::yymmdd(when));
        m.setATM(DatetimeLib::hhmm(when));
        QFile f(m.pathFor(m.EID()));
        if (!f.open(QIODevice::WriteOnly))
            qFatal("cannot write %s", qPrintable(f.fileName()));
        f.write(m.fileContent(QStringLiteral("1.0.0/26320:143207")));
    }
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    QTemporaryDir dir;
    makeReports(dir.path(), 100000);

    frmZelvatmain window(dir.path());
    window.showStationDialog = [] {};
    window.Form_Load();
    QApplication::processEvents();

    // Typed one key at a time, then taken back one key at a time, in the All folder.
    window.cmdFolder_Click(0);
    std::vector<double> keys;
    for (const QString &typed : {QStringLiteral("oak street 12"), QStringLiteral("jordan 555-01"),
                                 QStringLiteral("smoke cedar"), QStringLiteral("chest pain 7")}) {
        QString text;
        const auto key = [&](const QString &now) {
            QElapsedTimer t;
            t.start();
            window.txtSearch->setText(now);
            QApplication::processEvents();
            keys.push_back(t.nsecsElapsed() / 1e6);
        };
        for (QChar c : typed)
            key(text += c);
        while (!text.isEmpty()) {
            text.chop(1);
            key(text);
        }
    }
    std::printf("reports=100000 keystrokes=%zu shown_at_end=%s\n", keys.size(), qPrintable(window.statusText()));

    std::vector<double> lookups;
    std::size_t found = 0;
    const QDateTime now = DatetimeLib::now();
    for (int i = 0; i < 200; ++i) {
        const QString address = QStringLiteral("%1 %2").arg(1 + (i * 37) % 833).arg(QLatin1String(kStreets[i % 6])).toUpper();
        const QString phone = QStringLiteral("(555) %1").arg((i * 97) % 20000, 5, 10, QLatin1Char('0'));
        QElapsedTimer t;
        t.start();
        const RepeatCallers::Found f = RepeatCallers::find(window.catalog(), address, phone, now);
        lookups.push_back(t.nsecsElapsed() / 1e6);
        found += f.atAddress.size() + f.fromPhone.size();
    }
    std::printf("reports=100000 lookup_median_ms=%.2f lookup_max_ms=%.2f reports_named=%zu\n", median(lookups),
                *std::max_element(lookups.begin(), lookups.end()), found);
    std::printf("keystroke_median_ms=%.1f keystroke_max_ms=%.1f\n", median(keys), *std::max_element(keys.begin(), keys.end()));
    window.close();
    return 0;
}
