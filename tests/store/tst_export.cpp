// Reports leaving and entering the message folder: the CSV export read back by a strict RFC 4180
// parser, the import of report files in every way a file can be taken, skipped or refused, and
// the client's pdf, export and import as a script sees them.

#include "common/Capture.h"
#include "common/Csv.h"
#include "common/ProgramHome.h"
#include "common/ReferenceList.h"
#include "common/SampleReport.h"
#include "store/ReportCsv.h"
#include "store/ReportImport.h"
#include "store/SaveStamps.h"

#include <QDirIterator>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>

class TestExport : public QObject {
    Q_OBJECT

private:
    static QList<QStringList> rowsOf(const QByteArray &csv)
    {
        QList<QStringList> rows;
        if (!csv.startsWith("\xEF\xBB\xBF") || !Csv::parse(QString::fromUtf8(csv.mid(3)), &rows))
            qWarning("no byte-order mark, or no RFC 4180: %s", csv.constData());
        return rows;
    }
    // The folder and all under it with size and time; without the message folder unless `withReports`.
    static QStringList snapshot(const QString &folder, bool withReports)
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

private slots:
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
        QTest::newRow("spreadsheet formula stays text") << QStringList{"ISS==1+1"} << "ISS" << "=1+1";
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
            QCOMPARE(rows[1][rows[0].indexOf(ZelvatMsg::keyName(k))],
                     ZelvatMsg::isIntegerKey(k) ? QString::number(reader.number(k)) : unescapeBreaks(reader.text(k)));
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
        QTest::newRow(".911 twice") << "x.911.911" << good << "file" << no << "more than once";
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
        writeFile(source.filePath("target"), content);
        if (kind == "file")
            QVERIFY(QFile::rename(source.filePath("target"), path));
        else if (kind == "link")
            QVERIFY(QFile::link(source.filePath("target"), path));
        else
            QVERIFY(kind == "fifo" ? ::mkfifo(QFile::encodeName(path).constData(), 0600) == 0 : QDir(source.path()).mkdir(fileName));
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
        QCOMPARE(QDir(home.path() + "/msg.d").entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot), QStringList());
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
        QCOMPARE(client({"export", "--csv", "--out", csv}), std::make_tuple(0, "2 reports written to " + csv + "\n", QString()));
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

QTEST_GUILESS_MAIN(TestExport)
#include "tst_export.moc"
