// The situation summary against the reports of a folder: what counts where (types, states, the
// period by each report's own date and time, cities, hours), and a summary kept through changes
// against one made afresh from the same catalog.

#include "common/SampleReport.h"
#include "store/ReportCatalog.h"
#include "store/SituationSummary.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QDateTime kNow(QDate(2026, 11, 16), QTime(15, 0));

// Report `i` with "KEY=value" changes joined by '|'; dated 16 Nov 2026 14:32 unless they say otherwise.
void save(const QString &folder, int i, const QString &changes)
{
    SampleReport::save(folder, QStringList{QStringLiteral("EID=R%1").arg(i)} + changes.split('|', Qt::SkipEmptyParts), i);
}

} // namespace

class TestSummary : public QObject {
    Q_OBJECT

private slots:
    void counts_data()
    {
        QTest::addColumn<QStringList>("reports");
        QTest::addColumn<int>("hours");
        QTest::addColumn<QStringList>("lines"); // after the header: the four types, "City\tTotal", the cities
        QTest::addColumn<QString>("medPerHour");
        const QString none = "0\t0\t0\t0\t0";
        QTest::newRow("several types count in each; each state its column, Total last")
            << QStringList{"TYP=MED+LAW|AST=2", "TYP=FIREMED|AST=6", "TYP=FIRE|AST=9", "TYP=LGOV|AST=8", "TYP=|AST=2"} << 24
            << QStringList{"MED\t1\t1\t0\t0\t2", "FIRE\t0\t1\t1\t0\t2", "LAW\t1\t0\t0\t0\t1", "LGOV\t0\t0\t0\t1\t1", "City\tTotal",
                           "Fairview\t1", "Georgetown\t1", "Madison\t1", "Riverside\t1", "Springfield\t1"}
            << QString();
        QTest::newRow("a state outside the table, and a report without a date, count nowhere")
            << QStringList{"AST=1", "AST=7", "ADT=|ATM=", "ADT=261399"} << 24
            << QStringList{"MED\t" + none, "FIRE\t" + none, "LAW\t" + none, "LGOV\t" + none, "City\tTotal"} << QString();
        QTest::newRow("the period: from exactly N hours before now up to now")
            << QStringList{"TYP=MED|ATM=1300", "TYP=MED|ATM=1259", "TYP=MED|ADT=261115", "TYP=MED|ATM=1501", "TYP=MED|ATM=1500",
                           "TYP=MED|ATM=1359"}
            << 2 << QStringList{"MED\t3\t0\t0\t0\t3", "FIRE\t" + none, "LAW\t" + none, "LGOV\t" + none, "City\tTotal", "Springfield\t2",
                                 "Georgetown\t1"}
            << "2 0 1";
        QTest::newRow("cities: one case, most reports first, then by name; a blank one named")
            << QStringList{"CTY=Town", "CTY=TOWN", "CTY=Abbey", "CTY=", "CTY=town"} << 24
            << QStringList{"MED\t5\t0\t0\t0\t5", "FIRE\t" + none, "LAW\t" + none, "LGOV\t" + none, "City\tTotal", "TOWN\t3",
                           "(no city)\t1", "Abbey\t1"}
            << QString();
    }

    void counts()
    {
        QFETCH(QStringList, reports);
        QFETCH(int, hours);
        QFETCH(QStringList, lines);
        QFETCH(QString, medPerHour);
        QTemporaryDir dir;
        QVERIFY(QDir().mkpath(dir.filePath("msg.d")));
        for (int i = 0; i < reports.size(); ++i)
            save(dir.path(), i, (reports[i].contains("TYP=") ? "" : "TYP=MED|") + reports[i]);
        ReportCatalog catalog(dir.path());
        catalog.refresh();
        SituationSummary summary(&catalog);
        summary.setHours(hours);
        summary.refresh(kNow);
        QCOMPARE(summary.lines().first(), QString("Type\tReady\tDraft\tSubmitted\tDeleted\tTotal"));
        QCOMPARE(summary.lines().mid(1), lines);
        QStringList bars;
        for (const auto &hour : summary.counts().perHour)
            bars << QString::number(hour[0]);
        if (!medPerHour.isEmpty())
            QCOMPARE(bars.join(' '), medPerHour);
        QCOMPARE(summary.counts().firstHour, kNow.addSecs(-3600 * hours)); // now is on the hour
    }

    void followsTheCatalogAsReportsChange()
    {
        QTemporaryDir dir;
        QVERIFY(QDir().mkpath(dir.filePath("msg.d")));
        for (int i = 0; i < 6; ++i)
            save(dir.path(), i, "TYP=MED|AST=2");
        ReportCatalog catalog(dir.path());
        catalog.refresh();
        SituationSummary kept(&catalog);
        kept.refresh(kNow);
        const QStringList before = kept.lines();
        // A report submitted, one removed, one added in another city, one moved out of the period.
        save(dir.path(), 1, "TYP=MED|AST=9");
        QVERIFY(QFile::remove(dir.filePath("msg.d/R2.911")));
        save(dir.path(), 7, "TYP=FIRE|AST=6|CTY=Abbey");
        save(dir.path(), 3, "TYP=MED|AST=2|ADT=261114");
        catalog.refresh();
        kept.refresh(kNow);
        SituationSummary afresh(&catalog);
        afresh.refresh(kNow);
        QVERIFY(kept.lines() != before);
        QCOMPARE(kept.lines(), afresh.lines());
        QCOMPARE(kept.lines().mid(1, 2), (QStringList{"MED\t3\t0\t1\t0\t4", "FIRE\t0\t1\t0\t0\t1"}));
    }
};

QTEST_GUILESS_MAIN(TestSummary)
#include "tst_summary.moc"
