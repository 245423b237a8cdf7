// The client's hand-over commands as a script sees them: pdf, export and import give the files
// and outcomes the window gives, with the exit codes and messages of the client.

#include "common/Capture.h"
#include "common/Csv.h"
#include "common/ProgramHome.h"
#include "common/SampleReport.h"
#include "store/ReportCsv.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

class TestCliHandOver : public QObject {
    Q_OBJECT

private slots:
    void init();

    void pdfOfNamedReports();
    void pdfLeavesOutWhatCannotBeRead();
    void exportGivesTheFolderAsTheWindowDoes();
    void importTellsEachOutcome();
    void usageErrors_data();
    void usageErrors();

private:
    struct Result {
        int code;
        QString out;
        QString err;
    };
    Result run(const QStringList &args);

    std::unique_ptr<ProgramHome> m_home;
    std::unique_ptr<QTemporaryDir> m_out; // files written, and the per-user settings of the client
};

void TestCliHandOver::init()
{
    m_home = std::make_unique<ProgramHome>();
    m_out = std::make_unique<QTemporaryDir>();
    for (int i = 1; i <= 3; ++i)
        SampleReport::save(m_home->path(), {i == 3 ? "AST=6" : "AST=2"}, i);
}

TestCliHandOver::Result TestCliHandOver::run(const QStringList &args)
{
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("XDG_CONFIG_HOME", m_out->filePath("config"));
    p.setProcessEnvironment(env);
    p.start(ZELVATCTS_CLI, QStringList{"--home", m_home->path()} + args);
    if (!p.waitForFinished(60000))
        qFatal("zelvatcts-cli did not finish");
    return {p.exitCode(), QString::fromUtf8(p.readAllStandardOutput()), QString::fromUtf8(p.readAllStandardError())};
}

void TestCliHandOver::pdfOfNamedReports()
{
    // The window's page setup, kept per user, is the client's too.
    QDir().mkpath(m_out->filePath("config"));
    writeFile(m_out->filePath("config/Zelvat Call Taking System.conf"), "[PageSetup]\nPaper=Letter\n");
    const QString file = m_out->filePath("sheets.pdf");
    const Result r = run({"pdf", "ABC26320.000002", "ABC26320.000001", "--out", file});
    QCOMPARE(r.code, 0);
    QCOMPARE(r.out, "2 reports written to " + file + "\n");
    QCOMPARE(Pdf::pages(file), 2);
    const QString text = Pdf::text(file);
    QVERIFY(text.indexOf("ABC26320.000002") < text.indexOf("ABC26320.000001"));
    QVERIFY(Pdf::run("pdfinfo", {file}).contains("612 x 792 pts (letter)"));
}

void TestCliHandOver::pdfLeavesOutWhatCannotBeRead()
{
    m_home->writeReport("broken", "EID=broken\r\nBRE=maybe\r\n");
    const QString file = m_out->filePath("sheets.pdf");
    const Result missing = run({"pdf", "ABC26320.000001", "nosuch", "--out", file});
    QCOMPARE(missing.code, 1);
    QVERIFY(missing.err.contains("no report nosuch"));
    QVERIFY(!QFileInfo::exists(file));

    const Result r = run({"pdf", "broken", "ABC26320.000001", "--out", file});
    QCOMPARE(r.code, 2);
    QVERIFY2(r.err.contains("left out: broken.911: 13,"), qPrintable(r.err));
    QCOMPARE(Pdf::pages(file), 1);
}

void TestCliHandOver::exportGivesTheFolderAsTheWindowDoes()
{
    const QString file = m_out->filePath("ready.csv");
    const Result r = run({"export", "--csv", "--folder", "ready", "--out", file});
    QCOMPARE(r.code, 0);
    QCOMPARE(r.out, "2 reports written to " + file + "\n");
    ZelvatMsg reader(m_home->path());
    QCOMPARE(readFile(file), ReportCsv::fromFolder(reader, 2).bytes);
    QList<QStringList> rows;
    QVERIFY(Csv::parse(QString::fromUtf8(readFile(file).mid(3)), &rows));
    QCOMPARE(rows.size(), 3);

    // Without --folder: the Ready folder, as the window shows at start.
    QCOMPARE(run({"export", "--csv", "--out", m_out->filePath("default.csv")}).code, 0);
    QCOMPARE(readFile(m_out->filePath("default.csv")), readFile(file));
}

void TestCliHandOver::importTellsEachOutcome()
{
    QTemporaryDir source;
    writeFile(source.filePath("broken.911"), "EID=broken\r\nAST=x\r\n");
    writeFile(source.filePath("ABC26320.000001.911"), "EID=ABC26320.000001\r\n");
    writeFile(source.filePath("SPF7.911"), SampleReport::make(".", 7).fileContent("1.0.0/26320:140500"));
    const QStringList before = m_home->reportFiles();
    const Result r = run({"import", source.filePath("broken.911"), source.filePath("ABC26320.000001.911"),
                          source.filePath("SPF7.911")});
    QCOMPARE(r.code, 2);
    const QStringList lines = r.out.split('\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 4);
    QVERIFY(lines[0].startsWith("refused " + source.filePath("broken.911") + ": 13,"));
    QVERIFY(lines[1].startsWith("skipped " + source.filePath("ABC26320.000001.911") + ": a report of that name"));
    QCOMPARE(lines[2], QString("imported SPF7"));
    QCOMPARE(lines[3], QString("1 imported, 1 skipped, 1 refused."));
    QCOMPARE(m_home->reportFiles(), (QStringList(before) << "SPF7.911"));

    // Everything there already: skipped, exit 1.
    QCOMPARE(run({"import", source.filePath("SPF7.911")}).code, 1);
}

void TestCliHandOver::usageErrors_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::newRow("pdf without names") << QStringList{"pdf", "--out", "x.pdf"};
    QTest::newRow("pdf without --out") << QStringList{"pdf", "ABC26320.000001"};
    QTest::newRow("pdf with an unknown option") << QStringList{"pdf", "ABC26320.000001", "--a4", "--out", "x.pdf"};
    QTest::newRow("pdf of a name outside the folder") << QStringList{"pdf", "../x", "--out", "x.pdf"};
    QTest::newRow("export without --csv") << QStringList{"export", "--out", "x.csv"};
    QTest::newRow("export of an unknown folder") << QStringList{"export", "--csv", "--folder", "sent", "--out", "x.csv"};
    QTest::newRow("export without --out") << QStringList{"export", "--csv"};
    QTest::newRow("import of nothing") << QStringList{"import"};
}

void TestCliHandOver::usageErrors()
{
    QFETCH(QStringList, args);
    const Result r = run(args);
    QCOMPARE(r.code, 2);
    QVERIFY(!r.err.isEmpty());
    QCOMPARE(QDir(m_out->path()).entryList(QDir::Files), QStringList{});
}

QTEST_GUILESS_MAIN(TestCliHandOver)
#include "tst_cli_handover.moc"
