// The catalog of report rows against a full read of the same folder: after random changes of
// every kind (a change that keeps the size, a file replaced by another of the same name, files
// added, removed, broken), beside a link named like a report, through its index file, for every
// column's order; the search; the repeat-caller look-up; the folder watch. Reports leaving and
// entering the message folder: the CSV export read back by a strict RFC 4180 parser, the import
// of report files in every way a file can be taken, skipped or refused, and the client's pdf,
// export and import as a script sees them.

#include "common/Capture.h"
#include "common/Csv.h"
#include "common/Files.h"
#include "common/ProgramHome.h"
#include "common/ReferenceList.h"
#include "common/SampleReport.h"
#include "store/RepeatCallers.h"
#include "store/ReportCatalog.h"
#include "store/ReportCsv.h"
#include "store/ReportFolderWatch.h"
#include "store/ReportImport.h"
#include "store/ReportList.h"
#include "store/SaveStamps.h"
#include "store/SharedFolder.h"
#include "support/CodePage.h"
#include "support/CommonConst.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <filesystem>

namespace {

using TestFiles::modifiedNs;
using TestFiles::setModifiedNs;

// Dates a file an hour back, give or take its own nanoseconds: written long before the catalog looks.
void age(const QString &path, int salt)
{
    setModifiedNs(path, (QDateTime::currentSecsSinceEpoch() - 3600) * 1000000000 + salt * 1009);
}

// The rows of a folder as a full read gives them, and as the catalog gives them: one line per row,
// ordered by name, then the loader's messages of the files that cannot be read.
QString line(const ReportList::Row &row)
{
    return QStringList(row.cells.begin(), row.cells.end()).join('|') + '|' + QString::number(row.state);
}

QStringList fullRead(const QString &home)
{
    Capture capture;
    ZelvatMsg reader(home);
    QStringList rows, unreadable;
    for (const ReportList::Row &row : ReferenceList::build(reader, 0))
        rows << line(row);
    // The catalog never tries to load what is no report file: its row says what it is.
    for (const QString &text : capture.noticeTexts())
        if (!text.contains(" not a regular file)"))
            unreadable << text;
    rows.sort();
    unreadable.sort();
    return rows << unreadable;
}

QStringList held(const ReportCatalog &catalog)
{
    QStringList rows, unreadable;
    for (int slot : catalog.liveSlots())
        rows << line(catalog.row(slot));
    for (const Notice &n : catalog.unreadable())
        unreadable << n.text;
    rows.sort();
    unreadable.sort();
    return rows << unreadable;
}

QList<QStringList> rowsOf(const QByteArray &csv)
{
    QList<QStringList> rows;
    if (!csv.startsWith("\xEF\xBB\xBF") || !Csv::parse(QString::fromUtf8(csv.mid(3)), &rows))
        qWarning("no byte-order mark, or no RFC 4180: %s", csv.constData());
    return rows;
}
// The folder and all under it with size and time; without the message folder unless `withReports`.
QStringList snapshot(const QString &folder, bool withReports)
{
    QStringList entries{folder + ' ' + QString::number(QFileInfo(folder).lastModified().toMSecsSinceEpoch())};
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (withReports || !(it.fileInfo().path().endsWith("/msg.d") || path.endsWith("/msg.d")))
            entries << path + ' ' + QString::number(it.fileInfo().size()) + ' '
                    + QString::number(it.fileInfo().lastModified().toMSecsSinceEpoch());
    }
    entries.sort();
    return entries;
}

} // namespace

class TestCatalog : public QObject {
    Q_OBJECT

private slots:
    void sameAsAFullReadAfterRandomChanges()
    {
        ProgramHome home;
        QRandomGenerator random(20261116);
        QStringList names;
        for (int i = 0; i < 30; ++i) {
            names << SampleReport::save(home.path(), {}, i);
            age(home.reportPath(names.last()), i);
        }
        // A link named like a report is never followed, to a good report or, later, to none.
        MAKE_LINK_OR_SKIP(home.reportPath(names[0]), home.reportPath("LINK"));
        ReportCatalog catalog(home.path());
        Capture quiet;
        catalog.refresh();
        QCOMPARE(catalog.filesRead(), 31); // the link looked at too, once
        int next = 30;
        for (int step = 0; step < 300; ++step) {
            const QString name = names[random.bounded(int(names.size()))];
            const QString file = home.reportPath(name);
            QByteArray bytes = readFile(file);
            const qint64 was = modifiedNs(file);
            int changed = 1;
            switch (random.bounded(8)) {
            case 0: // a new report
                names << SampleReport::save(home.path(), {QStringLiteral("CTY=Town%1").arg(next)}, next);
                age(home.reportPath(names.last()), next++);
                break;
            case 1: // gone
                QFile::remove(file);
                names.removeAll(name);
                changed = 0;
                break;
            case 2: // rewritten in place, the same size, one tick of the clock later (100 ns: Windows counts no finer)
                bytes[bytes.indexOf("ISS=") + 4] = bytes[bytes.indexOf("ISS=") + 4] == 'P' ? 'Q' : 'P';
                writeFile(file, bytes);
                setModifiedNs(file, was + 100);
                break;
            case 3: // replaced by another file of the same name, size and time
                bytes[bytes.indexOf("AST=") + 4] = bytes[bytes.indexOf("AST=") + 4] == '2' ? '9' : '2';
                writeFile(file + ".new", bytes);
                setModifiedNs(file + ".new", was);
                std::filesystem::rename((file + ".new").toStdWString(), file.toStdWString()); // over the old one, on every system
                break;
            case 4: { // saved again in another state, as the program saves
                ZelvatMsg m = SampleReport::make(home.path(), name.section('.', 1).toInt(), qint16(random.bounded(10)));
                m.setEID(name);
                QVERIFY(m.Fadd());
                age(file, step + 1000);
                break;
            }
            case 5: // broken
                writeFile(file, "AST=2\r\nCTY=Broken\r\nCON=what\r\n");
                age(file, step + 2000);
                break;
            case 6: // written by another program, with blanks around a value
                writeFile(file, bytes.replace("\r\nCTY=", "\r\nCTY=  ").replace("\r\nAD2=", "  \r\nAD2="));
                age(file, step + 3000);
                break;
            default: // nothing
                changed = 0;
            }
            catalog.refresh();
            QCOMPARE(catalog.filesRead(), changed);
            const QStringList actual = held(catalog), expected = fullRead(home.path());
            QVERIFY2(actual == expected,
                     qPrintable(QString("step %1:\n%2\n--- full read:\n%3").arg(step).arg(actual.join('\n'), expected.join('\n'))));
        }
    }

    void aChangeWithinTheClocksResolutionIsRead()
    {
        // A file changed twice within one tick of its file system's clock keeps its identity; the
        // catalog reads a file again while its time is that close to now.
        ProgramHome home;
        const QString name = SampleReport::save(home.path(), {"CTY=Before"});
        const QString file = home.reportPath(name);
        ReportCatalog catalog(home.path());
        catalog.refresh();
        const qint64 was = modifiedNs(file);
        writeFile(file, readFile(file).replace("CTY=Before", "CTY=Behind"));
        setModifiedNs(file, was);
        catalog.refresh();
        QCOMPARE(catalog.field(catalog.slotOf(name + ".911"), ReportCatalog::City), QString("Behind"));
    }

    void indexIsCheckedAgainstTheFiles_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<bool>("trusted");
        QTest::addColumn<int>("read");
        QTest::newRow("nothing changed: nothing is read") << "" << true << 0;
        QTest::newRow("a report changed: it is read") << "change" << true << 1;
        QTest::newRow("a report added: it is read") << "add" << true << 1;
        QTest::newRow("a report removed: its row goes") << "remove" << true << 0;
        QTest::newRow("an unreadable report is read again, and said again") << "broken" << true << 1;
        QTest::newRow("a damaged index is not used") << "damage" << false << 5;
        QTest::newRow("a cut-off index is not used") << "cut" << false << 5;
        QTest::newRow("an index of another version is not used") << "version" << false << 5;
        QTest::newRow("no index") << "delete" << false << 5;
    }

    void indexIsCheckedAgainstTheFiles()
    {
        QFETCH(QString, change);
        QFETCH(bool, trusted);
        QFETCH(int, read);
        ProgramHome home;
        QStringList names;
        for (int i = 0; i < 5; ++i) {
            names << SampleReport::save(home.path(), {}, i);
            age(home.reportPath(names.last()), i);
        }
        if (change == "broken") {
            writeFile(home.reportPath(names[4]), "AST=2\r\nCON=x\r\n");
            age(home.reportPath(names[4]), 9);
        }
        Capture capture;
        {
            ReportCatalog first(home.path());
            first.refresh();
            RunError error;
            QVERIFY2(first.saveIndex(&error), qPrintable(error.text()));
        }
        const QString index = home.path() + "/Zelvatcts.idx";
        QByteArray bytes = readFile(index);
        if (change == "change") {
            SampleReport::save(home.path(), {"ISS=Changed"}, 1);
            age(home.reportPath(names[1]), 11);
        } else if (change == "add") {
            SampleReport::save(home.path(), {}, 7);
        } else if (change == "remove") {
            QFile::remove(home.reportPath(names[2]));
        } else if (change == "damage") { // a letter of a row changed: only the checksum can tell
            writeFile(index, bytes.replace("Springfield", "Springfielt"));
        } else if (change == "cut") {
            writeFile(index, bytes.left(bytes.size() - 100));
        } else if (change == "version") {
            writeFile(index, bytes.replace(Zelvat::versionText().toUtf8(), "0.0.1"));
        } else if (change == "delete") {
            QFile::remove(index);
        }
        capture.notices.clear();
        ReportCatalog catalog(home.path());
        QCOMPARE(catalog.loadIndex(), trusted);
        catalog.refresh();
        QCOMPARE(catalog.filesRead(), read);
        QCOMPARE(held(catalog), fullRead(home.path()));
        QVERIFY(change != "broken" || !catalog.unreadable().isEmpty());
    }

    void orderIsTheListsOrder_data()
    {
        QTest::addColumn<int>("column");
        for (int c = 0; c < ReportList::ColumnCount; ++c)
            QTest::newRow(qPrintable(ReportList::headers()[c])) << c;
    }

    void orderIsTheListsOrder()
    {
        // Cells that tie, that differ only in case, and that hold letters beyond plain ASCII whose
        // code-page bytes do not follow their characters' order (Š is 0x8A, Á is 0xC1).
        QFETCH(int, column);
        ProgramHome home;
        static const char *cities[] = {"Springfield", "springfield", "\xc1vila", "\x8aibenik", "\xe1vila", "Zug", "\xb5nster",
                                       "", "Stra\xdf" "e", "STRASSE"};
        QRandomGenerator random(column + 7);
        for (int i = 0; i < 60; ++i) {
            ZelvatMsg m = SampleReport::make(home.path(), i, qint16(QList<int>{1, 2, 6, 8, 9}[random.bounded(5)]));
            m.setCTY(CodePage::decode(cities[random.bounded(10)]));
            m.setISS(CodePage::decode(cities[random.bounded(10)]));
            m.setTYP(QList<QString>{"MED", "med", "LAW", "", "FIRE+LAW"}[random.bounded(5)]);
            m.setADT(QString::number(260101 + random.bounded(3)));
            m.setATM(QList<QString>{"0900", "1405", "", "2359"}[random.bounded(4)]);
            m.setEID(QStringLiteral("%1%2").arg(QString(QChar(random.bounded(2) ? u'a' : u'B'))).arg(i));
            QVERIFY(m.Fadd());
        }
        ReportCatalog catalog(home.path());
        catalog.refresh();
        ZelvatMsg reader(home.path());
        QList<ReportList::Row> rows = ReferenceList::build(reader, 0);
        ReferenceList::sortRows(rows, column, Qt::AscendingOrder);
        QStringList expected, actual;
        for (const ReportList::Row &r : rows)
            expected << r.cells[ReportList::Idx];
        for (int slot : catalog.sorted(catalog.liveSlots(), column))
            actual << catalog.name(slot);
        QCOMPARE(actual, expected);
        // Slot by slot, compare() agrees with the keys.
        const QList<int> live = catalog.liveSlots();
        for (int i = 0; i + 1 < live.size(); ++i) {
            const int a = live[i], b = live[i + 1];
            QCOMPARE(catalog.compare(a, b, column) < 0, expected.indexOf(catalog.name(a)) < expected.indexOf(catalog.name(b)));
        }
    }

    void search_data()
    {
        QTest::addColumn<QString>("words");
        QTest::addColumn<QStringList>("found");
        // A: Oak Street, Springfield, Jordan Smith, 555-0100; B: Elm Road, Riverside, Lee Chan.
        QTest::newRow("one word, any case") << "OAK" << QStringList{"A"};
        QTest::newRow("every word, in different fields") << "smith springfield" << QStringList{"A"};
        QTest::newRow("a word of one report only") << "smith riverside" << QStringList{};
        QTest::newRow("part of a word") << "verSI" << QStringList{"B"};
        QTest::newRow("the phone as typed") << "555-0100" << QStringList{"A"};
        QTest::newRow("the event ID") << "b.7" << QStringList{"B"};
        QTest::newRow("details") << "collapsed" << QStringList{"A"};
        QTest::newRow("a word across two fields matches nothing") << "streetspringfield" << QStringList{};
        QTest::newRow("a stored line break is a break between words") << "him no" << QStringList{"A"};
        QTest::newRow("the line break's escape is no text") << "himnno" << QStringList{};
        QTest::newRow("a control character typed between words splits them") << "smith\u0001springfield" << QStringList{"A"};
        QTest::newRow("letters beyond ASCII, case ignored") << "\u0161IBENIK" << QStringList{"B"};
        QTest::newRow("a character no report can hold") << "\u4e2d" << QStringList{};
        QTest::newRow("the type is not searched") << "MED" << QStringList{};
        QTest::newRow("blanks only") << "   " << QStringList{"A", "B"};
    }

    void search()
    {
        QFETCH(QString, words);
        QFETCH(QStringList, found);
        ProgramHome home;
        SampleReport::save(home.path(), {"EID=A.1", "TYP=MED", "AD1=12 Oak Street", "CTY=Springfield", "RPN=Jordan Smith",
                                         "RPP=555-0100", "DTL=Collapsed near him\\nno traffic"});
        SampleReport::save(home.path(), {"EID=B.7", "TYP=LAW", "AD1=4 Elm Road", "CTY=Riverside", "RPN=Lee Chan",
                                         "RPP=555-0199", "DTL=\u0160ibenik visitor"});
        ReportCatalog catalog(home.path());
        catalog.refresh();
        const ReportSearch search(words);
        QStringList actual;
        for (int slot : catalog.sorted(catalog.liveSlots(), ReportList::Idx))
            if (search.isEmpty() || catalog.matches(slot, search))
                actual << catalog.name(slot).left(1);
        QCOMPARE(actual, found);
    }

    void repeatCallers_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("phone");
        QTest::addColumn<QStringList>("atAddress");
        QTest::addColumn<QStringList>("fromPhone");
        // Now is 16 November 2026 14:05. R1 12 Oak Street (today 13:00, 555-0100), R2 12 OAK  street
        // (yesterday 15:00, +1 (555) 010-0100), R3 12 Oak Street (two days ago), R4 Elm Road (today,
        // phone 0100), the form's own report R5 at 12 Oak Street.
        QTest::newRow("case and blanks ignored, newest first") << "12 oak street" << "" << QStringList{"R1", "R2"} << QStringList{};
        QTest::newRow("another address") << "12 Oak Avenue" << "" << QStringList{} << QStringList{};
        QTest::newRow("a phone by its digits") << "" << "555 0100" << QStringList{} << QStringList{"R1"};
        QTest::newRow("the same digits written otherwise") << "" << "1-555-010-0100" << QStringList{} << QStringList{"R2"};
        QTest::newRow("fewer than seven digits") << "" << "0100" << QStringList{} << QStringList{};
        QTest::newRow("both") << "12 Oak Street" << "5550100" << QStringList{"R1", "R2"} << QStringList{"R1"};
        QTest::newRow("nothing typed") << "" << "" << QStringList{} << QStringList{};
    }

    void repeatCallers()
    {
        QFETCH(QString, address);
        QFETCH(QString, phone);
        QFETCH(QStringList, atAddress);
        QFETCH(QStringList, fromPhone);
        ProgramHome home;
        const QStringList calls[] = {{"R1", "12 Oak Street", "555-0100", "261116", "1300", "9"},
                                     {"R2", "12 OAK  street", "+1 (555) 010-0100", "261115", "1500", "2"},
                                     {"R3", "12 Oak Street", "555-0100", "261114", "1300", "9"},
                                     {"R4", "4 Elm Road", "0100", "261116", "1400", "9"},
                                     {"R5", "12 Oak Street", "555-0100", "261116", "1404", "9"}};
        for (const QStringList &c : calls)
            SampleReport::save(home.path(), {"EID=" + c[0], "MID=SPF-" + c[0].mid(1), "ISS=Person Down", "AD1=" + c[1],
                                             "RPP=" + c[2], "ADT=" + c[3], "ATM=" + c[4], "AST=" + c[5]});
        ReportCatalog catalog(home.path());
        catalog.refresh();
        const RepeatCallers::Found found = RepeatCallers::find(catalog, address, phone, ProgramHome::FixedNow, "R5");
        QStringList names[2];
        for (int i : {0, 1})
            for (int s : i ? found.fromPhone : found.atAddress)
                names[i] << catalog.name(s);
        QCOMPARE(names[0], atAddress);
        QCOMPARE(names[1], fromPhone);
        QCOMPARE(RepeatCallers::describe(catalog, catalog.slotOf("R1.911"), ProgramHome::FixedNow),
                 QString("SPF-1 Person Down (13:00, Submitted)"));
        QCOMPARE(RepeatCallers::describe(catalog, catalog.slotOf("R2.911"), ProgramHome::FixedNow),
                 QString("SPF-2 Person Down (11/15 15:00, Ready)"));
    }

    void lookCostsWhatChanged_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<bool>("notices");
        QTest::addColumn<bool>("listed"); // the look lists the folder; with notices: the watch names a report
        for (bool notices : {false, true}) {
            const QString how = notices ? " (notices)" : " (look)";
            QTest::newRow(qPrintable("nothing" + how)) << "" << notices << false;
            QTest::newRow(qPrintable("a mark refreshed" + how)) << ".inuse/ABC26320.000001" << notices << false;
            QTest::newRow(qPrintable("a version kept" + how)) << ".versions/ABC26320.000001/1.911" << notices << false;
            QTest::newRow(qPrintable("a writer's note" + how)) << ".writers/ABC26320.000001.911" << notices << false;
            QTest::newRow(qPrintable("a report saved" + how)) << "save" << notices << true;
            QTest::newRow(qPrintable("a report removed" + how)) << "remove" << notices << true;
        }
        QTest::newRow("nothing, but the folder was new at the last look") << "recent" << false << true;
        QTest::newRow("written in place: only the whole look finds it") << "in place" << false << false;
        QTest::newRow("written in place, a whole look due") << "in place, due" << false << true;
    }

    void lookCostsWhatChanged()
    {
        // Notices name the report changed. Where they fail, the periodic look lists the folder only
        // when its own identity moved (every save renames inside it), and every full-look interval
        // regardless. What positions write in their own folders there moves nothing, and never
        // becomes a card.
        QFETCH(QString, change);
        QFETCH(bool, notices);
        QFETCH(bool, listed);
        ProgramHome home;
        const QString msg = home.path() + "/msg.d";
        QStringList names;
        for (int i = 0; i < 3; ++i) {
            names << SampleReport::save(home.path(), {}, i);
            age(home.reportPath(names.last()), i);
        }
        for (const QString &shared : {SharedFolder::marks(msg), SharedFolder::versions(msg), SharedFolder::writers(msg)}) {
            QDir().mkpath(shared);
            writeFile(shared + "/" + names[0] + ".911", "AST=2\r\n");
        }
        ReportCatalog catalog(home.path());
        ReportFolderWatch watch(msg);
        watch.ignoreNotices(!notices);
        if (notices && !watch.noticesDelivered())
            QSKIP("this file system delivers no change notices");
        watch.setSettleMs(change == "recent" ? 60000 : 0);
        watch.setFullLookInterval(change == "in place, due" ? 300 : 600000);
        QObject::connect(&watch, &ReportFolderWatch::looked, [&](const ReportCatalog::Listing &l) { catalog.apply(l); });
        const auto look = [&] {
            const int before = watch.wholeLooks() + watch.skippedLooks();
            QTest::qWait(20); // a moment past the folder's last change
            watch.look();
            QTRY_VERIFY(watch.wholeLooks() + watch.skippedLooks() > before);
        };
        look();
        QCOMPARE(watch.wholeLooks(), 1);
        QCOMPARE(catalog.liveCount(), 3);
        bool everything = false;
        watch.takeChanges(&everything);
        QVERIFY(everything); // at first only a whole look can tell
        QSignalSpy noticed(&watch, &ReportFolderWatch::changed);

        const QString file = home.reportPath(names[1]);
        if (change.startsWith('.') && QDir(msg).mkpath(QFileInfo(change).path()))
            writeFile(msg + "/" + change, "NRT\n");
        else if (change == "save")
            SampleReport::save(home.path(), {"CTY=Saved"}, 1);
        else if (change == "remove")
            QVERIFY(QFile::remove(file));
        else if (change.startsWith("in place")) {
            QFile f(file); // the same size, the folder left as it was
            QVERIFY(f.open(QIODevice::ReadWrite));
            f.seek(readFile(file).indexOf("CTY=") + 4);
            f.write("X");
        }
        if (change == "in place, due")
            QTest::qWait(300);
        if (notices) {
            QTest::qWait(2 * ReportFolderWatch::SettleNoticesMs);
            QCOMPARE(noticed.size(), listed ? 1 : 0);
            QCOMPARE(watch.takeChanges(&everything), listed ? QStringList{names[1] + ".911"} : QStringList{});
            QVERIFY(!everything);
            return;
        }
        look();
        QCOMPARE(watch.wholeLooks(), listed ? 2 : 1);
        watch.takeChanges(&everything);
        QVERIFY(everything); // where notices do not count, whoever asks looks at the whole folder
        if (change == "in place") // seen at the next whole look, not before
            QCOMPARE(catalog.field(catalog.slotOf(names[1] + ".911"), ReportCatalog::City), QString("Riverside"));
        else
            QCOMPARE(held(catalog), fullRead(home.path()));
    }

    void csvGivesEveryFieldExactly_data()
    {
        QTest::addColumn<QStringList>("changes");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("expected"); // the cell as a spreadsheet must show it
        QTest::newRow("comma") << QStringList{"AD1=12 Oak St, rear"} << "AD1" << "12 Oak St, rear";
        QTest::newRow("quotes") << QStringList{"ISS=He said \"stop\"", "RPN=\""} << "ISS" << "He said \"stop\"";
        QTest::newRow("details lines") << QStringList{"DTL=first\\nsecond, \"third\"\\n"} << "DTL" << "first\nsecond, \"third\"\n";
        QTest::newRow("person lines") << QStringList{"TYP=LAW", "PDE=tall\\nred jacket"} << "PDE" << "tall\nred jacket";
        QTest::newRow("windows-1252 letters") << QStringList{"TYP=LAW", "WEA=Zoë Šmith-Œuvre € — x"} << "WEA" << "Zoë Šmith-Œuvre € — x";
        QTest::newRow("state name, unanswered question") << QStringList{"AST=9", "CON=-1"} << "State" << "Submitted";
        QTest::newRow("spreadsheet formula marked as text") << QStringList{"ISS==1+1"} << "ISS" << "'=1+1";
        QTest::newRow("a plain negative number stays a number") << QStringList{"AGE=-5.25"} << "AGE" << "-5.25";
    }

    void csvGivesEveryFieldExactly()
    {
        QFETCH(QStringList, changes);
        QFETCH(QString, key);
        QFETCH(QString, expected);
        ProgramHome home;
        Capture capture;
        const QString name = SampleReport::save(home.path(), changes);
        home.writeReport("broken", "EID=broken\r\nCON=abc\r\n");
        ZelvatMsg reader(home.path());
        // What cannot be read is left out and named, to the caller, who tells once.
        const ReportCsv::Export e = ReportCsv::fromNames(reader, {"gone", name, "broken"});
        QVERIFY(e.rows == 1 && e.unreadable.size() == 2 && capture.notices.isEmpty());
        QVERIFY(e.unreadable[0].startsWith("gone.911: no longer") && e.unreadable[1].startsWith("broken.911: 13,"));
        const QList<QStringList> rows = rowsOf(e.bytes);
        QCOMPARE(rows.size(), 2);
        QCOMPARE(rows[0].mid(0, 5), (QStringList{"File", "State", "TYP", "EID", "MID"}));
        QCOMPARE(rows[1].size(), 31);
        QCOMPARE(rows[1][rows[0].indexOf(key)], expected);
        // Every other cell is the field as the report file holds it.
        QVERIFY(reader.Load(name) && rows[1][0] == name);
        for (auto k : ZelvatMsg::allKeys())
            QCOMPARE(rows[1][rows[0].indexOf(ZelvatMsg::keyName(k))], ZelvatMsg::keyName(k) == key ? expected :
                     ZelvatMsg::isIntegerKey(k) ? QString::number(reader.number(k)) : unescapeBreaks(reader.text(k)));
    }

    void csvCellsThatPassForFormulas_data()
    {
        QTest::addColumn<QString>("cell");
        QTest::addColumn<QString>("read"); // the cell as read back from the row
        for (const char *formula : {"=SUM(A1)", "+1+1", "-2+3", "@cmd", "\tx", "\rx", "-", "+", "-5-", "--5"})
            QTest::newRow(formula) << formula << QStringLiteral("'") + formula;
        for (const char *plain : {"-5", "-5.25", "+12", "5-3", "a=b", " =x", "", "'=x"})
            QTest::newRow(plain) << plain << plain;
    }

    void csvCellsThatPassForFormulas()
    {
        QFETCH(QString, cell);
        QFETCH(QString, read);
        QByteArray row("\xEF\xBB\xBF");
        ReportCsv::appendRow(row, {cell, "=y,x"}); // the second quoted: the mark inside the quotes
        QCOMPARE(rowsOf(row), (QList<QStringList>{{read, "'=y,x"}}));
    }

    void csvOfAFolderFollowsTheList()
    {
        ProgramHome home;
        for (int i = 0; i < 12; ++i) // five cities, three states
            SampleReport::save(home.path(), {QStringLiteral("AST=%1").arg(QList<int>{2, 6, 9}[i % 3])}, i);
        ZelvatMsg reader(home.path());
        for (int folder : {0, 2, 6, 9}) {
            QList<ReportList::Row> shown = ReferenceList::build(reader, folder);
            ReferenceList::sortDefault(shown);
            QStringList expected, names;
            for (const auto &row : std::as_const(shown))
                expected << row.cells[ReportList::Idx];
            const QByteArray csv = ReportCsv::fromFolder(reader, folder).bytes;
            for (const QStringList &r : rowsOf(csv).mid(1))
                names << r[0];
            QCOMPARE(names, expected);
            QCOMPARE(ReportCsv::fromNames(reader, expected).bytes, csv);
        }
    }

    void importOne_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("kind"); // file, fifo, link, folder
        QTest::addColumn<int>("result");
        QTest::addColumn<QString>("why");
        const QByteArray good = SampleReport::make(".", 7).fileContent("1.0.0/26320:140500");
        const int in = int(ReportImport::Result::Imported), skip = int(ReportImport::Result::Skipped), no = int(ReportImport::Result::Refused);
        QTest::newRow("good report") << "ABC26320.000007.911" << good << "file" << in << "";
        QTest::newRow("name already there") << "ABC26320.000001.911" << good << "file" << skip << "already in the message";
        QTest::newRow("control characters") << "bin.911" << QByteArray("EID=x\x01y\r\n") << "file" << no << "control char";
        QTest::newRow("no number") << "bad.911" << QByteArray("EID=bad\r\nAST=ready\r\n") << "file" << no << "AST=ready";
        QTest::newRow("no event number") << "notes.911" << QByteArray("CTY=Town\r\n") << "file" << no << "no event number";
        QTest::newRow("not .911") << "ABC.txt" << good << "file" << no << "does not end in .911";
        QTest::newRow("extension only") << ".911" << good << "file" << no << "only the extension";
        QTest::newRow("event number 911") << "ABC26001.911.911" << good << "file" << in << "";
        QTest::newRow("blank at the end") << "ABC .911" << good << "file" << no << "blank";
        QTest::newRow("backslash") << "a\\b.911" << good << "file" << no << "cannot hold";
        QTest::newRow("named pipe") << "pipe.911" << QByteArray() << "fifo" << no << "named pipe";
        QTest::newRow("symbolic link") << "link.911" << good << "link" << no << "symbolic link";
        QTest::newRow("folder") << "dir.911" << QByteArray() << "folder" << no << "a folder";
        QTest::newRow("too large") << "big.911" << QByteArray(ReportImport::MaxBytes + 1, 'x') << "file" << no << "larger than";
    }

    void importOne()
    {
        QFETCH(QString, fileName);
        QFETCH(QByteArray, content);
        QFETCH(QString, kind);
        QFETCH(int, result);
        QFETCH(QString, why);
        ProgramHome home;
        Capture capture;
        const QByteArray existing = home.readReport(SampleReport::save(home.path(), {}, 1));
        QTemporaryDir source;
        const QString path = source.filePath(fileName);
#ifdef Q_OS_WIN
        if (fileName.contains('\\'))
            QSKIP("a backslash separates folders on Windows: no file name holds one");
#endif
        writeFile(source.filePath("target"), content);
        if (kind == "file")
            QVERIFY(QFile::rename(source.filePath("target"), path));
        else if (kind == "link")
            MAKE_LINK_OR_SKIP(source.filePath("target"), path);
        else if (kind == "fifo")
            MAKE_FIFO_OR_SKIP(path);
        else
            QVERIFY(QDir(source.path()).mkdir(fileName));
        const QStringList outside = snapshot(home.path(), false), sources = snapshot(source.path(), true);
        QStringList reports = home.reportFiles();

        const ReportImport::Outcome o = ReportImport::importFiles(home.path(), {path}).value(0);
        QCOMPARE(int(o.result), result);
        QVERIFY2(o.why.contains(why), qPrintable(o.why));
        // Nothing written but the one report in the message folder; nothing said on the way.
        QCOMPARE(snapshot(home.path(), false), outside);
        QCOMPARE(snapshot(source.path(), true), sources);
        QCOMPARE(home.readReport("ABC26320.000001"), existing);
        if (result == int(ReportImport::Result::Imported)) {
            (reports << fileName).sort();
            QCOMPARE(home.readReport(fileName.chopped(4)), content);
        }
        QCOMPARE(home.reportFiles(), reports);
        // (the one folder there is the note of who wrote the report that was there before)
        QCOMPARE(QDir(home.path() + "/msg.d").entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot), QStringList{".writers"});
        QVERIFY(capture.notices.isEmpty() && capture.events.isEmpty());
    }

    void clientHandsOver()
    {
        // What is the client's own: the Ready folder by default (as the window shows at start), the
        // per-user page setup it shares with the window, what it says and its exit codes.
        ProgramHome home;
        for (int i = 1; i <= 3; ++i) // two Ready reports and a Draft
            SampleReport::save(home.path(), {i == 3 ? "AST=6" : "AST=2"}, i);
        QTemporaryDir out;
        const auto client = [&](const QStringList &args) {
            QProcess p;
            QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
            env.insert("XDG_CONFIG_HOME", out.filePath("config"));
            p.setProcessEnvironment(env);
            p.start(ZELVATCTS_CLI, QStringList{"--home", home.path()} + args);
            p.waitForFinished(60000);
            return std::make_tuple(p.exitCode(), QString::fromUtf8(p.readAllStandardOutput()), QString::fromUtf8(p.readAllStandardError()));
        };
        const QString csv = out.filePath("out.csv"), pdf = out.filePath("sheets.pdf");
        ZelvatMsg reader(home.path());
        QCOMPARE(client({"export", "--csv", "--out", csv}), std::make_tuple(0, "2 reports written to " + QDir::toNativeSeparators(csv) + "\n", QString()));
        QCOMPARE(readFile(csv), ReportCsv::fromFolder(reader, 2).bytes);
        QVERIFY(std::get<0>(client({"export", "--csv", "--folder", "draft", "--out", csv})) == 0
                && readFile(csv) == ReportCsv::fromFolder(reader, 6).bytes);
        // Wrong use: exit 2, the file left as it was.
        for (const QStringList &wrong : {QStringList{"export", "--out", csv}, {"export", "--csv", "--folder", "sent", "--out", csv},
                                         {"pdf", "ABC26320.000001"}, {"import"}})
            QVERIFY(std::get<0>(client(wrong)) == 2 && readFile(csv) == ReportCsv::fromFolder(reader, 6).bytes);

        // Sheets in the order asked for, on the operator's paper; one that cannot be read is named.
        QDir().mkpath(out.filePath("config"));
        writeFile(out.filePath("config/Zelvat Call Taking System.conf"), "[PageSetup]\nPaper=Letter\n");
        home.writeReport("broken", "EID=broken\r\nBRE=maybe\r\n");
        auto [code, said, err] = client({"pdf", "ABC26320.000002", "broken", "ABC26320.000001", "--out", pdf});
        QVERIFY2(code == 2 && err.contains("left out: broken.911: 13,") && Pdf::pages(pdf) == 2, qPrintable(err));
        QVERIFY(Pdf::text(pdf).indexOf("ABC26320.000002") < Pdf::text(pdf).indexOf("ABC26320.000001"));
        QVERIFY(Pdf::run("pdfinfo", {pdf}).contains("612 x 792 pts (letter)"));

        QTemporaryDir source;
        const QStringList files{source.filePath("bad.911"), source.filePath("ABC26320.000001.911"), source.filePath("SPF7.911")};
        writeFile(files[0], "EID=bad\r\nAST=x\r\n");
        writeFile(files[1], "EID=ABC26320.000001\r\n");
        writeFile(files[2], SampleReport::make(".", 7).fileContent("1.0.0/26320:140500"));
        std::tie(code, said, err) = client(QStringList{"import"} + files);
        const QStringList lines = said.split('\n', Qt::SkipEmptyParts);
        QVERIFY(code == 2 && lines.size() == 4);
        QVERIFY(lines[0].startsWith("refused " + files[0] + ": 13,") && lines[1].startsWith("skipped " + files[1] + ": a report of that name"));
        QCOMPARE(lines.mid(2), (QStringList{"imported SPF7", "1 imported, 1 skipped, 1 refused."}));
        QVERIFY(home.reportFiles().contains("SPF7.911"));
        QCOMPARE(std::get<0>(client({"import", files[2]})), 1); // there already: skipped
    }
};

QTEST_GUILESS_MAIN(TestCatalog)
#include "tst_catalog.moc"
