// The headless client as a script sees it: exit codes, standard output bytes, and the files it
// leaves in the program folder.

#include "common/Capture.h"

#include <QDate>
#include <QDir>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

class TestCli : public QObject {
    Q_OBJECT

private slots:
    void init();

    void newThenListShowAndDelete();
    void newStoresWhatTheFormWould();
    void usageErrors_data();
    void usageErrors();
    void missingReport();
    void brokenReportDoesNotHideTheOthers();
    void parallelClientsNeverShareANumber();
    void counterOverflowIsRefused();

private:
    struct Result {
        int code;
        QByteArray out;
        QByteArray err;
    };
    Result run(const QStringList &args);
    QString today() const { return QDate::currentDate().toString("yy") + QString::number(QDate::currentDate().dayOfYear()).rightJustified(3, '0'); }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestCli::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
}

TestCli::Result TestCli::run(const QStringList &args)
{
    QProcess p;
    p.start(ZELVATCTS_CLI, QStringList{"--home", m_dir->path()} + args);
    if (!p.waitForFinished(30000))
        qFatal("zelvatcts-cli did not finish");
    return {p.exitCode(), p.readAllStandardOutput(), p.readAllStandardError()};
}

void TestCli::newThenListShowAndDelete()
{
    const Result created = run({"new", "--set", "TYP=MED", "--set", "ISS=Fall", "--set", "AD1=12 Oak St", "--set",
                                "CTY=Springfield"});
    QCOMPARE(created.code, 0);
    const QByteArray eid = today().toLatin1() + ".100";
    QCOMPARE(created.out, eid + "\n");

    QCOMPARE(run({"list"}).out, QByteArray("Items: 0\n")); // a new report is a Draft, not Ready
    const Result drafts = run({"list", "draft"});
    QCOMPARE(drafts.code, 0);
    const QList<QByteArray> lines = drafts.out.split('\n');
    QCOMPARE(lines.size(), 3);
    const QList<QByteArray> cells = lines[0].split('\t');
    QCOMPARE(cells.size(), 8);
    QCOMPARE(cells.mid(0, 7), (QList<QByteArray>{eid, "Draft", eid, "MED", "Fall", "12 Oak St", "Springfield"}));
    QVERIFY(QRegularExpression("^\\d\\d/\\d\\d/\\d\\d \\d\\d:\\d\\d$").match(QString(cells[7])).hasMatch());
    QCOMPARE(lines[1], QByteArray("Items: 1"));

    const Result shown = run({"show", eid});
    QCOMPARE(shown.code, 0);
    const QList<QByteArray> fields = shown.out.split('\n');
    QCOMPARE(fields.size(), 30);
    QCOMPARE(fields[0], QByteArray("TYP=MED"));
    QCOMPARE(fields[1], "EID=" + eid);
    QCOMPARE(fields[2], QByteArray("MID=-100"));
    QCOMPARE(fields[15], QByteArray("CON=-1"));
    QCOMPARE(fields[26], QByteArray("AST=6"));

    QCOMPARE(run({"delete", eid}).code, 0);
    QVERIFY(run({"list", "deleted"}).out.endsWith("Items: 1\n"));
    QCOMPARE(run({"delete", eid}).code, 0);
    QVERIFY(!QFile::exists(m_dir->path() + "/msg.d/" + eid + ".911"));
    QCOMPARE(run({"list", "all"}).out, QByteArray("Items: 0\n"));
}

void TestCli::newStoresWhatTheFormWould()
{
    writeFile(m_dir->path() + "/Zelvatcts.ini", "[GENERAL OPTIONS]\r\nUid=KN1ABC\r\nLoc=EOC\r\nLid=ABC\r\nEno=7\r\n");
    const Result created = run({"new", "--set", "TYP=LAW", "--set", "DTL=first\\nsecond", "--set",
                                QString::fromUtf8("PDE=tall\nthin \u00e9")});
    QCOMPARE(created.code, 0);
    const QString eid = "ABC" + today() + ".007";
    QCOMPARE(created.out, (eid + "\n").toLatin1());
    const QByteArray file = readFile(m_dir->path() + "/msg.d/" + eid + ".911");
    QVERIFY(file.contains("\r\nMID=ABC-007\r\n"));
    QVERIFY(file.contains("\r\nDTL=first\\nsecond\r\n"));
    QVERIFY(file.contains("\r\nPDE=tall\\nthin \xE9\r\n"));
    QVERIFY(file.contains("\r\n[ADMIN DEFINITION]\r\nUID=KN1ABC\r\nULO=EOC\r\nAST=6\r\nADT="
                          + QDate::currentDate().toString("yyMMdd").toLatin1()));
    QVERIFY(readFile(m_dir->path() + "/Zelvatcts.ini").contains("\r\nEno=8\r\n"));
    QCOMPARE(run({"next-event"}).out, QString("ABC" + today() + ".008\tABC-008\n").toLatin1());
}

void TestCli::usageErrors_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::newRow("no command") << QStringList{};
    QTest::newRow("unknown command") << QStringList{"frobnicate"};
    QTest::newRow("unknown folder") << QStringList{"list", "outbox"};
    QTest::newRow("show without name") << QStringList{"show"};
    QTest::newRow("unknown key") << QStringList{"new", "--set", "FOO=1"};
    QTest::newRow("program's own key") << QStringList{"new", "--set", "EID=X"};
    QTest::newRow("no =") << QStringList{"new", "--set", "ISS"};
    QTest::newRow("answer not -1..1") << QStringList{"new", "--set", "CON=2"};
    QTest::newRow("line break in one-line box") << QStringList{"new", "--set", "ISS=a\nb"};
    QTest::newRow("outside the code page") << QStringList{"new", "--set", QString::fromUtf8("CTY=Łódź")};
    QTest::newRow("name outside the folder") << QStringList{"show", "../Zelvatcts"};
}

void TestCli::usageErrors()
{
    QFETCH(QStringList, args);
    const Result r = run(args);
    QCOMPARE(r.code, 2);
    QVERIFY(r.out.isEmpty());
    QVERIFY(!r.err.isEmpty());
    QVERIFY(QDir(m_dir->path() + "/msg.d").isEmpty());
    // A refused "new" takes no event number.
    QVERIFY(!readFile(m_dir->path() + "/Zelvatcts.ini").contains("Eno=101"));
}

void TestCli::missingReport()
{
    const Result shown = run({"show", "NOPE"});
    QCOMPARE(shown.code, 1);
    QVERIFY(shown.err.contains("NOPE"));
    QCOMPARE(run({"delete", "NOPE"}).code, 1);
}

void TestCli::brokenReportDoesNotHideTheOthers()
{
    QVERIFY(QDir().mkpath(m_dir->path() + "/msg.d"));
    writeFile(m_dir->path() + "/msg.d/GOOD.911", "EID=GOOD\r\nCTY=Town\r\nAST=2\r\n");
    writeFile(m_dir->path() + "/msg.d/BAD.911", "EID=BAD\r\nAST=2\r\nCON=maybe\r\n");
    const Result listed = run({"list"});
    QCOMPARE(listed.code, 0);
    // The broken report still gets a row of what could be read before the bad line.
    QCOMPARE(listed.out, QByteArray("BAD\tReady\tBAD\t\t\t\t\t// :\nGOOD\tReady\tGOOD\t\t\t\tTown\t// :\nItems: 2\n"));
    QVERIFY(listed.err.contains("Problems loading"));
    QVERIFY(listed.err.contains("BAD.911"));
    const Result shown = run({"show", "BAD"});
    QCOMPARE(shown.code, 2);
    QVERIFY(shown.err.contains("Error=13, Type mismatch"));
}

void TestCli::parallelClientsNeverShareANumber()
{
    // Several clients take numbers at once; the lock around the counter keeps them apart.
    QList<QProcess *> processes;
    for (int i = 0; i < 4; ++i) {
        auto *p = new QProcess(this);
        p->start("/bin/sh", {"-c", QString("for i in 1 2 3 4 5 6 7 8; do '%1' --home '%2' next-event; done")
                                       .arg(ZELVATCTS_CLI, m_dir->path())});
        processes.append(p);
    }
    QSet<QByteArray> numbers;
    int lines = 0;
    for (QProcess *p : processes) {
        QVERIFY(p->waitForFinished(60000));
        for (const QByteArray &line : p->readAllStandardOutput().split('\n')) {
            if (line.isEmpty())
                continue;
            ++lines;
            numbers.insert(line);
        }
    }
    QCOMPARE(lines, 32);
    QCOMPARE(numbers.size(), 32);
    QVERIFY(readFile(m_dir->path() + "/Zelvatcts.ini").contains("\r\nEno=132\r\n"));
}

void TestCli::counterOverflowIsRefused()
{
    writeFile(m_dir->path() + "/Zelvatcts.ini", "[GENERAL OPTIONS]\r\nEno=40000\r\n");
    const Result r = run({"new", "--set", "ISS=x"});
    QCOMPARE(r.code, 1);
    QVERIFY(r.err.contains("40000"));
    QVERIFY(QDir(m_dir->path() + "/msg.d").isEmpty());
    QVERIFY(readFile(m_dir->path() + "/Zelvatcts.ini").contains("Eno=40000"));
}

QTEST_GUILESS_MAIN(TestCli)
#include "tst_cli.moc"
