// The client's find as a script sees it: the rows of list that hold every word, from the index
// the window keeps when it can be trusted, and the usage errors.

#include "common/Capture.h"
#include "common/ProgramHome.h"
#include "common/SampleReport.h"
#include "store/ReportCatalog.h"

#include <QProcess>
#include <QTest>

class TestFind : public QObject {
    Q_OBJECT

private slots:
    void find_data();
    void find();
    void findReadsTheRowsListReads();

private:
    struct Result {
        int code;
        QByteArray out;
        QByteArray err;
    };
    static Result run(const ProgramHome &home, const QStringList &args)
    {
        QProcess p;
        p.start(ZELVATCTS_CLI, QStringList{"--home", home.path()} + args);
        if (!p.waitForFinished(30000))
            qFatal("zelvatcts-cli did not finish");
        return {p.exitCode(), p.readAllStandardOutput(), p.readAllStandardError()};
    }
};

void TestFind::find_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("names");
    QTest::newRow("every word, any folder") << QStringList{"find", "oak", "SMITH"} << 0 << QByteArray("A1 D4 ");
    QTest::newRow("in one folder") << QStringList{"find", "--folder", "draft", "oak"} << 0 << QByteArray("D4 ");
    QTest::newRow("the folder after the words") << QStringList{"find", "oak", "--folder", "ready"} << 0 << QByteArray("A1 ");
    QTest::newRow("nothing found") << QStringList{"find", "nowhere"} << 0 << QByteArray("");
    QTest::newRow("no words") << QStringList{"find"} << 2 << QByteArray();
    QTest::newRow("only blanks") << QStringList{"find", " "} << 2 << QByteArray();
    QTest::newRow("an unknown folder") << QStringList{"find", "--folder", "outbox", "oak"} << 2 << QByteArray();
    QTest::newRow("a folder without a name") << QStringList{"find", "oak", "--folder"} << 2 << QByteArray();
}

void TestFind::find()
{
    QFETCH(QStringList, args);
    QFETCH(int, code);
    QFETCH(QByteArray, names);
    ProgramHome home;
    SampleReport::save(home.path(), {"EID=A1", "AD1=12 Oak Street", "RPN=Jordan Smith", "AST=2"});
    SampleReport::save(home.path(), {"EID=B2", "AD1=4 Elm Road", "RPN=Jordan Smith", "AST=2"});
    SampleReport::save(home.path(), {"EID=C3", "AD1=9 Oak Lane", "RPN=Lee Chan", "AST=9"});
    SampleReport::save(home.path(), {"EID=D4", "AD1=1 Oak Court", "RPN=Pat Smith", "AST=6"});
    const Result r = run(home, args);
    QCOMPARE(r.code, code);
    if (code != 0) {
        QVERIFY(r.err.startsWith("usage: zelvatcts-cli [--home DIR] find"));
        QVERIFY(r.out.isEmpty());
        return;
    }
    QByteArray found;
    const QList<QByteArray> lines = r.out.split('\n');
    for (const QByteArray &line : lines.first(lines.size() - 2))
        found += line.split('\t').first() + ' ';
    QCOMPARE(found, names);
    QCOMPARE(lines[lines.size() - 2], "Items: " + QByteArray::number(names.count(' ')));
}

void TestFind::findReadsTheRowsListReads()
{
    // A row is the same whether list or find prints it, and a stale index is not believed.
    ProgramHome home;
    SampleReport::save(home.path(), {"EID=A1", "CTY=Springfield", "AST=2"});
    SampleReport::save(home.path(), {"EID=B2", "CTY=Riverside", "AST=2"});
    {
        ReportCatalog catalog(home.path());
        catalog.setSettleMs(0);
        catalog.refresh();
        RunError error;
        QVERIFY(catalog.saveIndex(&error));
    }
    SampleReport::save(home.path(), {"EID=B2", "CTY=Riverside", "AST=2", "ISS=Changed since"});
    const Result listed = run(home, {"list"});
    const Result found = run(home, {"find", "changed"});
    QCOMPARE(found.code, 0);
    QVERIFY(listed.out.contains("\tChanged since\t"));
    QByteArray row;
    for (const QByteArray &line : listed.out.split('\n')) {
        if (line.startsWith("B2\t"))
            row = line;
    }
    QCOMPARE(found.out, row + "\nItems: 1\n");
}

QTEST_GUILESS_MAIN(TestFind)
#include "tst_find.moc"
