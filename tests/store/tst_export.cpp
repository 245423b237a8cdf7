// Reports leaving and entering the message folder: the CSV export read back by a strict RFC 4180
// parser, the clipboard's rows, and the import of report files with every way a file can be
// refused or skipped.

#include "common/Capture.h"
#include "common/Csv.h"
#include "common/ProgramHome.h"
#include "common/SampleReport.h"
#include "store/ReportCsv.h"
#include "store/ReportImport.h"
#include "store/ReportList.h"
#include "store/SaveStamps.h"
#include "support/SafeFile.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>

using Key = ZelvatMsg::Key;
using Outcome = ReportImport::Result;

class TestExport : public QObject {
    Q_OBJECT

private slots:
    void csvGivesEveryFieldExactly_data();
    void csvGivesEveryFieldExactly();
    void csvLeavesOutWhatCannotBeRead();
    void csvOfAFolderFollowsTheList();
    void clipboardRows();

    void importOne_data();
    void importOne();
    void importGivesOneOfEachOutcome();
    void moveNeverReplaces();

private:
    // Every file and folder under `folder` with its size and time; without the message folder and
    // its reports when `withReports` is false: what import must not touch.
    static QStringList snapshot(const QString &folder, bool withReports);
};

void TestExport::csvGivesEveryFieldExactly_data()
{
    QTest::addColumn<QStringList>("changes");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("expected"); // the cell of `key` as a spreadsheet must show it

    QTest::newRow("plain") << QStringList{} << "ISS" << "Person down near the library";
    QTest::newRow("comma") << QStringList{"AD1=12 Oak St, rear"} << "AD1" << "12 Oak St, rear";
    QTest::newRow("quotes") << QStringList{"ISS=He said \"stop\""} << "ISS" << "He said \"stop\"";
    QTest::newRow("quote only") << QStringList{"RPN=\""} << "RPN" << "\"";
    QTest::newRow("line breaks in details") << QStringList{"DTL=first\\nsecond, \"third\"\\n"} << "DTL"
                                            << "first\nsecond, \"third\"\n";
    QTest::newRow("line breaks in person description") << QStringList{"TYP=MED+LAW", "PDE=tall\\nred jacket"} << "PDE"
                                                       << "tall\nred jacket";
    QTest::newRow("windows-1252 letters") << QStringList{"RPN=Zoë Šmith-Œuvre", "CTY=Düsseldorf"} << "RPN"
                                          << "Zoë Šmith-Œuvre";
    QTest::newRow("euro sign and dashes") << QStringList{"TYP=LAW", "WEA=€ 5 — knife"} << "WEA" << "€ 5 — knife";
    QTest::newRow("empty") << QStringList{"AD2=", "RPA="} << "AD2" << "";
    QTest::newRow("unanswered question") << QStringList{"CON=-1"} << "CON" << "-1";
    QTest::newRow("state name") << QStringList{"AST=9"} << "State" << "Submitted";
    QTest::newRow("state without a name") << QStringList{"AST=1"} << "State" << "";
    QTest::newRow("spreadsheet formula stays text") << QStringList{"ISS==1+1"} << "ISS" << "=1+1";
}

void TestExport::csvGivesEveryFieldExactly()
{
    QFETCH(QStringList, changes);
    QFETCH(QString, key);
    QFETCH(QString, expected);
    ProgramHome home;
    const QString name = SampleReport::save(home.path(), changes);
    ZelvatMsg reader(home.path());
    const ReportCsv::Export e = ReportCsv::fromNames(reader, {name});

    QVERIFY(e.bytes.startsWith("\xEF\xBB\xBF"));
    QList<QStringList> rows;
    QVERIFY2(Csv::parse(QString::fromUtf8(e.bytes.mid(3)), &rows), e.bytes.constData());
    QCOMPARE(rows.size(), 2);
    const QStringList header = rows[0];
    QCOMPARE(header.mid(0, 5), (QStringList{"File", "State", "TYP", "EID", "MID"}));
    QCOMPARE(header.size(), 31);
    QCOMPARE(rows[1].size(), 31);
    QCOMPARE(rows[1][header.indexOf(key)], expected);

    // Every other cell is the field as the report file holds it.
    QVERIFY(reader.Load(name));
    QCOMPARE(rows[1][0], name);
    for (Key k : ZelvatMsg::allKeys()) {
        const QString cell = rows[1][header.indexOf(ZelvatMsg::keyName(k))];
        if (ZelvatMsg::isIntegerKey(k))
            QCOMPARE(cell, QString::number(reader.number(k)));
        else
            QCOMPARE(cell, unescapeBreaks(reader.text(k)));
    }
}

void TestExport::csvLeavesOutWhatCannotBeRead()
{
    ProgramHome home;
    Capture capture;
    const QString good = SampleReport::save(home.path());
    home.writeReport("broken", "[911 DEFINITION]\r\nEID=broken\r\nCON=abc\r\n");
    ZelvatMsg reader(home.path());
    const ReportCsv::Export e = ReportCsv::fromNames(reader, {"gone", good, "broken"});
    QCOMPARE(e.rows, 1);
    QCOMPARE(e.unreadable.size(), 2);
    QVERIFY(e.unreadable[0].startsWith("gone.911: no longer"));
    QVERIFY2(e.unreadable[1].startsWith("broken.911: 13,"), qPrintable(e.unreadable[1]));
    QVERIFY(capture.notices.isEmpty()); // told once, by the caller
    QList<QStringList> rows;
    QVERIFY(Csv::parse(QString::fromUtf8(e.bytes.mid(3)), &rows));
    QCOMPARE(rows.size(), 2);
    QCOMPARE(rows[1][0], good);
}

void TestExport::csvOfAFolderFollowsTheList()
{
    ProgramHome home;
    for (int i = 0; i < 12; ++i) // five cities, three states
        SampleReport::save(home.path(), {QStringLiteral("AST=%1").arg(i % 3 == 0 ? 2 : i % 3 == 1 ? 6 : 9)}, i);
    ZelvatMsg reader(home.path());
    for (int folder : {0, 2, 6, 9}) {
        QList<ReportList::Row> shown = ReportList::build(reader, folder);
        ReportList::sortDefault(shown);
        QStringList expected;
        for (const auto &row : std::as_const(shown))
            expected << row.cells[ReportList::Idx];
        const ReportCsv::Export e = ReportCsv::fromFolder(reader, folder);
        QList<QStringList> rows;
        QVERIFY(Csv::parse(QString::fromUtf8(e.bytes.mid(3)), &rows));
        QStringList names;
        for (const QStringList &r : rows.mid(1))
            names << r[0];
        QCOMPARE(names, expected);
        QCOMPARE(e.rows, expected.size());
        // The same reports named one by one give the same bytes.
        QCOMPARE(ReportCsv::fromNames(reader, expected).bytes, e.bytes);
    }
}

void TestExport::clipboardRows()
{
    ReportList::Row a, b;
    a.cells = {"A", "Ready", "SPF1", "MED", "Fall\tdown", "12 Oak St", "Springfield", "11/16/26 14:05"};
    b.cells = {"B", "Draft", "SPF2", "LAW", "Theft", "1 Elm Rd\nrear", "Riverside", "// :"};
    QCOMPARE(ReportCsv::tabText({a, b}),
             QString("State\tEvent ID\tType\tIssue\tLocation\tCity\tDate/Time\n"
                     "Ready\tSPF1\tMED\tFall down\t12 Oak St\tSpringfield\t11/16/26 14:05\n"
                     "Draft\tSPF2\tLAW\tTheft\t1 Elm Rd rear\tRiverside\t// :\n"));
}

QStringList TestExport::snapshot(const QString &folder, bool withReports)
{
    // The folder itself: a scratch folder made and removed beside the message folder shows here.
    QStringList entries{folder + QLatin1Char(' ') + QString::number(QFileInfo(folder).lastModified().toMSecsSinceEpoch())};
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QFileInfo info = it.fileInfo();
        if (!withReports && (info.path().endsWith("/msg.d") || path.endsWith("/msg.d")))
            continue; // the message folder itself and what is in it
        entries << path + QLatin1Char(' ') + QString::number(info.size()) + QLatin1Char(' ')
                + QString::number(info.lastModified().toMSecsSinceEpoch());
    }
    entries.sort();
    return entries;
}

void TestExport::importOne_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("kind"); // file, fifo, link, folder
    QTest::addColumn<int>("result");
    QTest::addColumn<QString>("why");

    const QByteArray good = SampleReport::make(".", 7).fileContent("1.0.0/26320:140500");
    QTest::newRow("good report") << "ABC26320.000007.911" << good << "file" << int(Outcome::Imported) << "";
    QTest::newRow("name already there") << "ABC26320.000001.911" << good << "file" << int(Outcome::Skipped)
                                        << "already in the message folder";
    QTest::newRow("control characters") << "bin.911" << QByteArray("[911 DEFINITION]\r\nEID=x\x01y\r\n") << "file"
                                        << int(Outcome::Refused) << "control characters";
    QTest::newRow("number that is no number") << "bad.911" << QByteArray("EID=bad\r\nAST=ready\r\n") << "file"
                                              << int(Outcome::Refused) << "AST=ready";
    QTest::newRow("no event number") << "notes.911" << QByteArray("shopping list\r\n") << "file"
                                     << int(Outcome::Refused) << "no event number";
    QTest::newRow("not .911") << "ABC.txt" << good << "file" << int(Outcome::Refused) << "does not end in .911";
    QTest::newRow("extension only") << ".911" << good << "file" << int(Outcome::Refused) << "only the extension";
    QTest::newRow(".911 twice") << "x.911.911" << good << "file" << int(Outcome::Refused) << "more than once";
    QTest::newRow("blank at the end") << "ABC .911" << good << "file" << int(Outcome::Refused) << "blank";
    QTest::newRow("backslash") << "a\\b.911" << good << "file" << int(Outcome::Refused) << "cannot hold";
    QTest::newRow("named pipe") << "pipe.911" << QByteArray() << "fifo" << int(Outcome::Refused) << "named pipe";
    QTest::newRow("symbolic link") << "link.911" << good << "link" << int(Outcome::Refused) << "symbolic link";
    QTest::newRow("folder") << "dir.911" << QByteArray() << "folder" << int(Outcome::Refused) << "a folder";
    QTest::newRow("too large") << "big.911" << QByteArray(ReportImport::MaxBytes + 1, 'x') << "file"
                               << int(Outcome::Refused) << "larger than";
}

void TestExport::importOne()
{
    QFETCH(QString, fileName);
    QFETCH(QByteArray, content);
    QFETCH(QString, kind);
    QFETCH(int, result);
    QFETCH(QString, why);
    ProgramHome home;
    Capture capture;
    const QString existing = SampleReport::save(home.path(), {}, 1);
    const QByteArray existingBytes = home.readReport(existing);
    QTemporaryDir source;
    const QString path = source.filePath(fileName);
    if (kind == "file") {
        writeFile(path, content);
    } else if (kind == "fifo") {
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    } else if (kind == "link") {
        writeFile(source.filePath("target"), content);
        QVERIFY(QFile::link(source.filePath("target"), path));
    } else {
        QVERIFY(QDir(source.path()).mkdir(fileName));
    }
    const QStringList outside = snapshot(home.path(), false);
    const QStringList sources = snapshot(source.path(), true);
    const QStringList before = home.reportFiles();

    const QList<ReportImport::Outcome> outcomes = ReportImport::importFiles(home.path(), {path});

    QCOMPARE(outcomes.size(), 1);
    QCOMPARE(int(outcomes[0].result), result);
    QVERIFY2(outcomes[0].why.contains(why), qPrintable(outcomes[0].why));
    QCOMPARE(snapshot(home.path(), false), outside);
    QCOMPARE(snapshot(source.path(), true), sources);
    QCOMPARE(home.readReport(existing), existingBytes);
    QStringList after = before;
    if (result == int(Outcome::Imported)) {
        after = (after << fileName);
        after.sort();
        QCOMPARE(home.readReport(fileName.chopped(4)), content);
    }
    QCOMPARE(home.reportFiles(), after);
    QCOMPARE(QDir(home.path() + "/msg.d").entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot), QStringList());
    QVERIFY(capture.notices.isEmpty());
    QVERIFY(capture.events.isEmpty());
}

void TestExport::importGivesOneOfEachOutcome()
{
    ProgramHome home;
    QTemporaryDir source;
    const QString existing = SampleReport::save(home.path(), {}, 1);
    writeFile(source.filePath("broken.911"), "[911 DEFINITION]\r\nEID=broken\r\nBRE=yes\r\n");
    writeFile(source.filePath(existing + ".911"), "[911 DEFINITION]\r\nEID=other\r\n");
    writeFile(source.filePath("SPF26320.200.911"), SampleReport::make(".", 200).fileContent("1.0.0/26320:140500"));
    const QList<ReportImport::Outcome> outcomes = ReportImport::importFiles(
        home.path(), {source.filePath("broken.911"), source.filePath(existing + ".911"), source.filePath("SPF26320.200.911")});

    QCOMPARE(int(outcomes[0].result), int(Outcome::Refused));
    QCOMPARE(int(outcomes[1].result), int(Outcome::Skipped));
    QCOMPARE(int(outcomes[2].result), int(Outcome::Imported));
    const QString text = ReportImport::summary(outcomes);
    QVERIFY2(text.startsWith("1 imported, 1 skipped, 1 refused."), qPrintable(text));
    QVERIFY(text.contains("Imported:\r\n  SPF26320.200\r\n"));
    QVERIFY(text.contains("Skipped:\r\n  " + source.filePath(existing + ".911") + ": a report of that name"));
    QVERIFY(text.contains("Refused:\r\n  " + source.filePath("broken.911") + ": 13,"));

    // A second import of the same files finds the good one there now.
    const auto again = ReportImport::importFiles(home.path(), {source.filePath("SPF26320.200.911")});
    QCOMPARE(int(again[0].result), int(Outcome::Skipped));
}

void TestExport::moveNeverReplaces()
{
    // Another position saves a report of the same name between import's look and its move.
    QTemporaryDir dir;
    writeFile(dir.filePath("new"), "imported");
    writeFile(dir.filePath("there"), "saved meanwhile");
    RunError error;
    QVERIFY(!SafeFile::moveNew(dir.filePath("new"), dir.filePath("there"), &error));
    QVERIFY2(error.description.contains("already exists"), qPrintable(error.description));
    QCOMPARE(readFile(dir.filePath("there")), QByteArray("saved meanwhile"));
    QCOMPARE(readFile(dir.filePath("new")), QByteArray("imported"));
    QVERIFY(SafeFile::moveNew(dir.filePath("new"), dir.filePath("free"), &error));
    QCOMPARE(readFile(dir.filePath("free")), QByteArray("imported"));
    QVERIFY(!QFileInfo::exists(dir.filePath("new")));
}

QTEST_GUILESS_MAIN(TestExport)
#include "tst_export.moc"
