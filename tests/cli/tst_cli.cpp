// The headless client as a script sees it: exit codes, standard output bytes, and the files it
// leaves in the program folder.

#include "common/Capture.h"
#include "support/CommonConst.h"

#include <QDate>
#include <QDir>
#include <QFileInfo>
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
    void helpAndVersionTouchNothing_data();
    void helpAndVersionTouchNothing();
    void missingReport();
    void brokenReportDoesNotHideTheOthers();
    void parallelClientsNeverShareANumber();
    void counterOverflowIsRefused();

    void messageTextCommands();
    void submitAgainstTheLoopbackServer();
    void submitNamesEveryMissingField();
    void submitFailuresLeaveItReady_data();
    void submitFailuresLeaveItReady();
    void interruptedSubmitLeavesItReady();
    void resendSendsEveryReadyReport();
    void linkTest();

private:
    struct Result {
        int code;
        QByteArray out;
        QByteArray err;
    };
    Result run(const QStringList &args);
    QString today() const { return QDate::currentDate().toString("yy") + QString::number(QDate::currentDate().dayOfYear()).rightJustified(3, '0'); }

    // A tndirect-sim on a free port; returns the port.
    quint16 startServer(QProcess &sim, const QString &mode, const QString &outbox = {});
    void useServer(quint16 port);
    QByteArray newReport(const QStringList &extra = {});

    std::unique_ptr<QTemporaryDir> m_dir;
};

quint16 TestCli::startServer(QProcess &sim, const QString &mode, const QString &outbox)
{
    QStringList args{"--port", "0", "--mode", mode};
    if (!outbox.isEmpty())
        args << "--outbox" << outbox;
    sim.start(TNDIRECT_SIM, args);
    if (!sim.waitForReadyRead(10000))
        qFatal("tndirect-sim did not start");
    const QByteArray line = sim.readLine().trimmed(); // "listening on 127.0.0.1:PORT"
    return quint16(line.mid(line.lastIndexOf(':') + 1).toUInt());
}

void TestCli::useServer(quint16 port)
{
    writeFile(m_dir->path() + "/Zelvatcts.ini",
              "[GENERAL OPTIONS]\r\nUid=KN1ABC\r\nLoc=EOC\r\nLid=SPF\r\nPrt=" + QByteArray::number(port) + "\r\n");
}

QByteArray TestCli::newReport(const QStringList &extra)
{
    QStringList args{"new", "--set", "TYP=MED", "--set", "ISS=Fall", "--set", "AD1=12 Oak St", "--set", "CTY=Springfield",
                     "--set", "RPN=Jo", "--set", "LAS=14:00", "--set", "DTL=Slipped", "--set", "AGE=70", "--set", "GDR=M",
                     "--set", "CON=1", "--set", "BRE=1"};
    for (const QString &e : extra)
        args << "--set" << e;
    return run(args).out.trimmed();
}

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

void TestCli::helpAndVersionTouchNothing_data()
{
    // "DIR" stands for the test's program folder.
    QTest::addColumn<QString>("program");
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QByteArray>("firstLine");
    const QByteArray version = Zelvat::versionText().toLatin1();
    const QByteArray usage = "Usage: zelvatcts-cli [--home DIR] COMMAND [ARGS]";
    QTest::newRow("client help") << ZELVATCTS_CLI << QStringList{"--home", "DIR", "--help"} << usage;
    QTest::newRow("client help before --home") << ZELVATCTS_CLI << QStringList{"--help", "--home", "DIR"} << usage;
    QTest::newRow("client help with more words") << ZELVATCTS_CLI << QStringList{"--home", "DIR", "--help", "list"} << usage;
    QTest::newRow("client version") << ZELVATCTS_CLI << QStringList{"--home", "DIR", "--version"}
                                    << "zelvatcts-cli (Zelvat Call Taking System) " + version;
    QTest::newRow("server help") << TNDIRECT_SIM << QStringList{"--help"} << QByteArray("Usage: ./tndirect-sim [options]");
    QTest::newRow("server version") << TNDIRECT_SIM << QStringList{"--version"} << "tndirect-sim " + version;
}

void TestCli::helpAndVersionTouchNothing()
{
    QFETCH(QString, program);
    QFETCH(QStringList, args);
    QFETCH(QByteArray, firstLine);
    args.replaceInStrings(QRegularExpression("^DIR$"), m_dir->path());
    // Run as the manual-page generator runs it: from the program's folder, by its own name.
    QProcess p;
    p.setWorkingDirectory(QFileInfo(program).absolutePath());
    p.start("./" + QFileInfo(program).fileName(), args);
    QVERIFY(p.waitForFinished(30000));
    QCOMPARE(p.exitStatus(), QProcess::NormalExit);
    QCOMPARE(p.exitCode(), 0);
    QCOMPARE(p.readAllStandardError(), QByteArray());
    QCOMPARE(p.readAllStandardOutput().split('\n').value(0), firstLine);
    QVERIFY(QDir(m_dir->path()).isEmpty());
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

void TestCli::messageTextCommands()
{
    useServer(9334);
    const QByteArray eid = newReport({"RPP=555-0100", "VDE=Van"});
    QCOMPARE(run({"subject", eid, "--update"}).out, "SPF-100 / MED / Springfield -- UPDATE");
    const QByteArray body = run({"body", eid, "--contact"}).out;
    QVERIFY(body.startsWith("TYPE=MED\r\nLOC1=12 Oak St, Springfield\r\nRPNA=Jo\r\nRPPH=555-0100\r\nCNT=\\#252\r\n"
                            "DETL=Fall -- Slipped -- AGE: 70, M, C+ B+\\nLast Seen:14:00 -- Call Loc:EOC\r\nDEVD=KN1ABC\r\nDATM="));
    QVERIFY(body.endsWith("\r\nEVNT=" + eid)); // no line break after the last line
    const QByteArray envelope = run({"envelope", eid}).out;
    QVERIFY(envelope.startsWith("<AOAON>ZELVAT</AOAON><AOSUB>SPF-100 / MED / Springfield</AOSUB><AOMSG>TYPE=MED\r\n"));
    QVERIFY(envelope.endsWith("</AOMSG><AOURG>TRUE</AOURG><AOTYP>PVT</AOTYP><ENCOD>BASE64</ENCOD>!/ADDON!"));
    QCOMPARE(run({"subject", eid, "--contact"}).code, 2);
}

void TestCli::submitAgainstTheLoopbackServer()
{
    QProcess sim;
    const QString outbox = m_dir->path() + "/outbox";
    useServer(startServer(sim, "split", outbox));
    const QByteArray eid = newReport();
    const QByteArray envelope = run({"envelope", eid}).out;
    const Result r = run({"submit", eid});
    QCOMPARE(r.code, 0);
    QVERIFY(r.out.endsWith("Sending message... sent\nDisconnecting... \nZelvat Call Taking Ready\nMessage transferred\n"));
    QTRY_VERIFY(QFile::exists(outbox + "/msg00001.txt"));
    // The envelope went out as built (the save stamps of Ready and Submitted fall in the same minute).
    QCOMPARE(readFile(outbox + "/msg00001.txt"), envelope);
    QVERIFY(run({"show", eid}).out.contains("\nAST=9\n"));
    QVERIFY(readFile(m_dir->path() + "/logs/Zelvat_" + QDate::currentDate().toString("yyMMdd").toLatin1() + ".log")
                .contains("SendMessage: Sent message titled: SPF-100 / MED / Springfield"));
    sim.kill();
    sim.waitForFinished();
}

void TestCli::submitNamesEveryMissingField()
{
    useServer(9);
    const QByteArray eid = run({"new", "--set", "TYP=MED", "--set", "ISS=Fall"}).out.trimmed();
    const QByteArray before = readFile(m_dir->path() + "/msg.d/" + eid + ".911");
    const Result r = run({"submit", eid, "--contact"});
    QCOMPARE(r.code, 1);
    for (const char *missing : {"Location, Address: (AD1)", "Name: (RPN)", "Last seen: (LAS)", "Details: (DTL)",
                                "City: (CTY)", "Address: (RPA)", "Phone: (RPP)", "Age: (AGE)", "Gender: (GDR)",
                                "Conscious? (CON)", "Breathing? (BRE)"})
        QVERIFY2(r.err.contains(missing), missing);
    QVERIFY(!r.err.contains("(ISS)"));
    QCOMPARE(readFile(m_dir->path() + "/msg.d/" + eid + ".911"), before); // nothing saved
    const QByteArray typeless = run({"new", "--set", "ISS=x"}).out.trimmed();
    QVERIFY(run({"submit", typeless}).err.contains("Event type"));
}

void TestCli::submitFailuresLeaveItReady_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QStringList>("extra");
    QTest::newRow("refused") << "" << QStringList{};
    QTest::newRow("silent, bounded by --wait") << "silent" << QStringList{"--wait", "1"};
    QTest::newRow("drop, bounded by --wait") << "drop" << QStringList{"--wait", "1"};
    QTest::newRow("garbage, bounded by --wait") << "garbage" << QStringList{"--wait", "1"};
    QTest::newRow("flood, bounded by --wait") << "flood" << QStringList{"--wait", "2"};
}

void TestCli::submitFailuresLeaveItReady()
{
    QFETCH(QString, mode);
    QFETCH(QStringList, extra);
    QProcess sim;
    useServer(mode.isEmpty() ? 9 : startServer(sim, mode)); // port 9: nothing listens
    const QByteArray eid = newReport();
    const Result r = run(QStringList{"submit", eid} + extra);
    QCOMPARE(r.code, 1);
    QVERIFY(r.out.contains("Message transfer problem"));
    const QByteArray shown = run({"show", eid}).out;
    QVERIFY(shown.contains("\nAST=2\n"));
    QVERIFY(shown.contains("\nDTL=Slipped\n")); // whole, not half-saved
    sim.kill();
    sim.waitForFinished();
}

void TestCli::interruptedSubmitLeavesItReady()
{
    QProcess sim;
    useServer(startServer(sim, "silent"));
    const QByteArray eid = newReport();
    QProcess client;
    client.start(ZELVATCTS_CLI, {"--home", m_dir->path(), "submit", eid});
    QTRY_VERIFY(client.readAllStandardOutput().contains("Sending message...") || client.state() != QProcess::Running);
    QTest::qWait(200);
    client.terminate(); // SIGTERM
    QVERIFY(client.waitForFinished(10000));
    QCOMPARE(client.exitStatus(), QProcess::NormalExit);
    QCOMPARE(client.exitCode(), 1);
    QVERIFY(run({"show", eid}).out.contains("\nAST=2\n"));
    QVERIFY(readFile(m_dir->path() + "/logs/Zelvat_" + QDate::currentDate().toString("yyMMdd").toLatin1() + ".log")
                .contains("Session aborted: the headless client was interrupted"));
    sim.kill();
    sim.waitForFinished();
}

void TestCli::resendSendsEveryReadyReport()
{
    QProcess sim;
    const QString outbox = m_dir->path() + "/outbox";
    useServer(9);
    QList<QByteArray> eids;
    for (int i = 0; i < 3; ++i) {
        eids << newReport();
        QCOMPARE(run({"submit", eids.last()}).code, 1); // the server is down: they stay Ready
    }
    useServer(startServer(sim, "normal", outbox));
    const Result r = run({"resend"});
    QCOMPARE(r.code, 0);
    QVERIFY(r.out.endsWith("resent 3 of 3 Ready reports; 0 still Ready\n"));
    QCOMPARE(QDir(outbox).entryList(QDir::Files).size(), 3);
    QCOMPARE(run({"list", "submitted"}).out.split('\n').last(2).first(), QByteArray("Items: 3"));
    sim.kill();
    sim.waitForFinished();
}

void TestCli::linkTest()
{
    QProcess sim;
    const QString outbox = m_dir->path() + "/outbox";
    useServer(startServer(sim, "silent", outbox));
    const Result ok = run({"link-test"});
    QCOMPARE(ok.code, 0);
    QVERIFY(ok.out.contains("Passing message... sent"));
    sim.kill();
    sim.waitForFinished();
    useServer(9);
    const Result failed = run({"link-test"});
    QCOMPARE(failed.code, 1);
    QVERIFY(failed.err.contains("Link Test to Tndirect failed."));
}

QTEST_GUILESS_MAIN(TestCli)
#include "tst_cli.moc"
