// The headless client as a script sees it: exit codes, standard output bytes, and the files it
// leaves in the program folder. The rules themselves are checked where they live; here, that
// the client wires them up, end to end, against tndirect-sim.

#include "common/Capture.h"
#include "support/CommonConst.h"

#include <QDate>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

class TestCli : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
    }

    void newListShowNextEventAndDelete()
    {
        writeFile(m_dir->path() + "/Zelvatcts.ini", "[GENERAL OPTIONS]\r\nUid=KN1ABC\r\nLoc=EOC\r\nLid=ABC\r\nEno=7\r\n");
        const Result created = run({"new", "--set", "TYP=MED+LAW", "--set", "ISS=Fall", "--set", "CTY=Springfield", "--set",
                                    "DTL=first\\nsecond", "--set", QString::fromUtf8("PDE=tall\nthin \u00e9")});
        const QByteArray eid = "ABC" + today().toLatin1() + ".007";
        QCOMPARE(created.out, eid + "\n");
        const QByteArray file = readFile(m_dir->path() + "/msg.d/" + eid + ".911");
        QVERIFY(file.contains("\r\nMID=ABC-007\r\n") && file.contains("\r\nDTL=first\\nsecond\r\n"));
        QVERIFY(file.contains("\r\nPDE=tall\\nthin \xE9\r\n"));
        QVERIFY(file.contains("\r\n[ADMIN DEFINITION]\r\nUID=KN1ABC\r\nULO=EOC\r\nAST=6\r\nADT="
                              + QDate::currentDate().toString("yyMMdd").toLatin1()));

        QCOMPARE(run({"list"}).out, QByteArray("Items: 0\n")); // a new report is a Draft, not Ready
        const QList<QByteArray> lines = run({"list", "draft"}).out.split('\n');
        QCOMPARE(lines.size(), 3);
        const QList<QByteArray> cells = lines[0].split('\t');
        QCOMPARE(cells.mid(0, 7), (QList<QByteArray>{eid, "Draft", eid, "MED+LAW", "Fall", "", "Springfield"}));
        QVERIFY(QRegularExpression("^\\d\\d/\\d\\d/\\d\\d \\d\\d:\\d\\d$").match(QString(cells.value(7))).hasMatch());
        QCOMPARE(lines[1], QByteArray("Items: 1"));
        const QList<QByteArray> fields = run({"show", eid}).out.split('\n');
        QCOMPARE(fields.size(), 30);
        QCOMPARE(fields.mid(0, 3), (QList<QByteArray>{"TYP=MED+LAW", "EID=" + eid, "MID=ABC-007"}));
        QCOMPARE(fields[15], QByteArray("CON=-1")); // unanswered, as the form saves it

        QCOMPARE(run({"next-event"}).out, "ABC" + today().toLatin1() + ".008\tABC-008\n");
        QVERIFY(readFile(m_dir->path() + "/Zelvatcts.ini").contains("\r\nEno=9\r\n"));
        QCOMPARE(run({"delete", eid}).out, eid + " marked Deleted\n");
        QVERIFY(run({"list", "deleted"}).out.endsWith("Items: 1\n"));
        QCOMPARE(run({"delete", eid}).out, eid + " removed\n");
        QCOMPARE(run({"list", "all"}).out, QByteArray("Items: 0\n"));
    }

    void refusals_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("code");
        QTest::addColumn<QByteArray>("said"); // on standard error

        QTest::newRow("no command") << QStringList{} << 2 << QByteArray("usage:");
        QTest::newRow("unknown command") << QStringList{"frobnicate"} << 2 << QByteArray("unknown command");
        QTest::newRow("unknown folder") << QStringList{"list", "outbox"} << 2 << QByteArray("usage:");
        QTest::newRow("program's own key") << QStringList{"new", "--set", "EID=X"} << 2 << QByteArray("--set EID=X");
        QTest::newRow("answer not -1..1") << QStringList{"new", "--set", "CON=2"} << 2 << QByteArray("CON");
        QTest::newRow("line break in one-line box") << QStringList{"new", "--set", "ISS=a\nb"} << 2 << QByteArray("DTL and PDE");
        QTest::newRow("outside the code page") << QStringList{"new", "--set", QString::fromUtf8("CTY=Łódź")} << 2
                                               << QByteArray("cannot be stored");
        QTest::newRow("name outside the folder") << QStringList{"show", "../Zelvatcts"} << 2 << QByteArray("outside");
        QTest::newRow("no such report") << QStringList{"delete", "NOPE"} << 1 << QByteArray("no report NOPE");
        QTest::newRow("--home twice") << QStringList{"--home", "/tmp", "list"} << 2 << QByteArray("--home is given twice");
        QTest::newRow("a name with a control character") << QStringList{"show", "a\tb"} << 2 << QByteArray("holds a control character");
        QTest::newRow("a control character in a box") << QStringList{"new", "--set", "ISS=bad\x01" "char"} << 2
                                                      << QByteArray("--set ISS: holds a control character (0x01)");
        QTest::newRow("the counter is used up") << QStringList{"new", "--set", "ISS=x", "COUNTER=40000"} << 1
                                                << QByteArray("40000");
    }

    void refusals()
    {
        QFETCH(QStringList, args);
        QFETCH(int, code);
        QFETCH(QByteArray, said);
        if (args.contains("COUNTER=40000")) {
            args.removeAll("COUNTER=40000");
            writeFile(m_dir->path() + "/Zelvatcts.ini", "[GENERAL OPTIONS]\r\nEno=40000\r\n");
        }
        const QByteArray station = readFile(m_dir->path() + "/Zelvatcts.ini");
        const Result r = run(args);
        QCOMPARE(r.code, code);
        QVERIFY(r.out.isEmpty());
        QVERIFY2(r.err.contains(said), r.err.constData());
        QVERIFY(QDir(m_dir->path() + "/msg.d").isEmpty());
        if (!station.isEmpty()) // a refused "new" takes no event number
            QCOMPARE(readFile(m_dir->path() + "/Zelvatcts.ini"), station);
    }

    void helpAndVersionTouchNothing_data()
    {
        // "DIR" stands for the test's program folder.
        QTest::addColumn<QString>("program");
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QByteArray>("firstLine");
        const QByteArray version = Zelvat::versionText().toLatin1();
        const QByteArray usage = "Usage: zelvatcts-cli [--home DIR] COMMAND [ARGS]";
        QTest::newRow("client help") << ZELVATCTS_CLI << QStringList{"--home", "DIR", "--help"} << usage;
        QTest::newRow("client help before --home") << ZELVATCTS_CLI << QStringList{"--help", "--home", "DIR"} << usage;
        QTest::newRow("client version") << ZELVATCTS_CLI << QStringList{"--home", "DIR", "--version"}
                                        << "zelvatcts-cli (Zelvat Call Taking System) " + version;
        QTest::newRow("server version") << TNDIRECT_SIM << QStringList{"--version"} << "tndirect-sim " + version;
    }

    void helpAndVersionTouchNothing()
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
        QCOMPARE(p.exitCode(), 0);
        QCOMPARE(p.readAllStandardError(), QByteArray());
        QCOMPARE(p.readAllStandardOutput().split('\n').value(0), firstLine);
        QVERIFY(QDir(m_dir->path()).isEmpty());
    }

    void brokenReportDoesNotHideTheOthers()
    {
        QVERIFY(QDir().mkpath(m_dir->path() + "/msg.d"));
        writeFile(m_dir->path() + "/msg.d/GOOD.911", "EID=GOOD\r\nCTY=Town\r\nAST=2\r\n");
        writeFile(m_dir->path() + "/msg.d/BAD.911", "EID=BAD\r\nAST=2\r\nCON=maybe\r\n");
        const Result listed = run({"list"});
        QCOMPARE(listed.code, 0);
        // The broken report still gets a row of what could be read before the bad line.
        QCOMPARE(listed.out, QByteArray("BAD\tReady\tBAD\t\t\t\t\t// :\nGOOD\tReady\tGOOD\t\t\t\tTown\t// :\nItems: 2\n"));
        QVERIFY(listed.err.contains("Problems loading") && listed.err.contains("BAD.911"));
        const Result shown = run({"show", "BAD"});
        QCOMPARE(shown.code, 2);
        QVERIFY(shown.err.contains("Error=13, Type mismatch"));
    }

    void namedPipesNeverHang()
    {
        // A named pipe where the station file, the day's log or a report should be: refused, said,
        // listed for what it is, never waited on.
        QVERIFY(QDir().mkpath(m_dir->path() + "/msg.d") && QDir().mkpath(m_dir->path() + "/logs"));
        for (const QString &pipe : QStringList{"/msg.d/X.911", "/logs/Zelvat_" + QDate::currentDate().toString("yyMMdd") + ".log"})
            QCOMPARE(::mkfifo(QFile::encodeName(m_dir->path() + pipe).constData(), 0600), 0);
        const Result listed = run({"list"});
        QCOMPARE(listed.out, QByteArray("X\tNot a report\t\t\ta named pipe (FIFO), not a report file\t\t\t\nItems: 1\n"));
        QVERIFY(run({"delete", "X"}).err.contains("a named pipe (FIFO), not a regular file"));
        QVERIFY(run({"submit", "X"}).err.contains("a named pipe (FIFO), not a regular file"));
        QCOMPARE(::mkfifo(QFile::encodeName(m_dir->path() + "/Zelvatcts.ini").constData(), 0600), 0);
        const Result next = run({"next-event"});
        QCOMPARE(next.code, 1);
        QVERIFY2(next.err.contains("Zelvatcts.ini is a named pipe (FIFO), not a regular file"), next.err.constData());
    }

    void parallelClientsNeverShareANumber()
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
                if (!line.isEmpty()) {
                    ++lines;
                    numbers.insert(line);
                }
            }
        }
        QCOMPARE(lines, 32);
        QCOMPARE(numbers.size(), 32);
        QVERIFY(readFile(m_dir->path() + "/Zelvatcts.ini").contains("\r\nEno=132\r\n"));
    }

    void messageTextCommands()
    {
        QProcess none;
        useServer(none, {});
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

    void submitAndResend()
    {
        // Three reports submitted while the server is down stay Ready; one goes out by itself once
        // it is up, the others with resend. The server keeps the envelopes as built.
        QProcess down;
        useServer(down, {});
        QList<QByteArray> eids;
        for (int i = 0; i < 3; ++i) {
            eids << newReport();
            QCOMPARE(run({"submit", eids.last()}).code, 1);
        }
        QProcess sim;
        const QString outbox = m_dir->path() + "/outbox";
        useServer(sim, "split", outbox);
        const QByteArray envelope = run({"envelope", eids[0]}).out;
        const Result r = run({"submit", eids[0]});
        QCOMPARE(r.code, 0);
        QVERIFY(r.out.endsWith("Sending message... sent\nDisconnecting... \nZelvat Call Taking Ready\nMessage transferred\n"));
        QTRY_VERIFY(QFile::exists(outbox + "/msg00001.txt"));
        QCOMPARE(readFile(outbox + "/msg00001.txt"), envelope); // the save stamps of Ready and Submitted fall in one minute
        QVERIFY(run({"show", eids[0]}).out.contains("\nAST=9\n"));
        QVERIFY(logFile().contains("SendMessage: Sent message titled: SPF-100 / MED / Springfield"));

        const Result resent = run({"resend"});
        QCOMPARE(resent.code, 0);
        QVERIFY(resent.out.endsWith("resent 2 of 2 Ready reports; 0 still Ready\n"));
        QCOMPARE(QDir(outbox).entryList(QDir::Files).size(), 3);
        QVERIFY(run({"list", "submitted"}).out.endsWith("Items: 3\n"));
        sim.kill();
        sim.waitForFinished();
    }

    void submitNamesTheMissingFields()
    {
        QProcess none;
        useServer(none, {});
        const QByteArray eid = run({"new", "--set", "TYP=FIRE", "--set", "ISS=Fall", "--set", "AD1=1 Elm", "--set", "CTY=X",
                                    "--set", "LAS=14:00", "--set", "DTL=x"})
                                   .out.trimmed();
        const QByteArray before = readFile(m_dir->path() + "/msg.d/" + eid + ".911");
        const Result r = run({"submit", eid, "--contact"});
        QCOMPARE(r.code, 1);
        QCOMPARE(r.err, eid + ": missing Name: (RPN)\n" + eid + ": missing Address: (RPA)\n" + eid + ": missing Phone: (RPP)\n"
                            + eid + ": missing If a Fire: people inside? (PIN)\n");
        QCOMPARE(readFile(m_dir->path() + "/msg.d/" + eid + ".911"), before); // nothing saved
    }

    void parallelResendsSendEachReportOnce()
    {
        // Four resends at once over twenty Ready reports: the send lock of each report lets one
        // program send it; the others pass it by.
        QProcess sim;
        const QString outbox = m_dir->path() + "/outbox";
        useServer(sim, "normal", outbox);
        QVERIFY(QDir().mkpath(m_dir->path() + "/msg.d"));
        for (int i = 0; i < 20; ++i)
            writeFile(m_dir->path() + QString("/msg.d/R%1.911").arg(i),
                      QString("EID=R%1\r\nTYP=LGOV\r\nISS=x\r\nAD1=x\r\nCTY=x\r\nRPN=x\r\nLAS=x\r\nDTL=x\r\nAST=2\r\n").arg(i).toLatin1());
        QList<QProcess *> resends;
        for (int i = 0; i < 4; ++i) {
            resends << new QProcess(this);
            resends.last()->start(ZELVATCTS_CLI, {"--home", m_dir->path(), "resend"});
        }
        for (QProcess *p : resends) {
            QVERIFY(p->waitForFinished(120000));
            QCOMPARE(p->exitCode(), 0);
        }
        QCOMPARE(QDir(outbox).entryList(QDir::Files).size(), 20);
        QVERIFY(run({"list", "submitted"}).out.endsWith("Items: 20\n"));
        sim.kill();
        sim.waitForFinished();
    }

    void submitFailuresLeaveItReady_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QStringList>("extra");
        QTest::addColumn<QByteArray>("said");
        QTest::newRow("refused") << "" << QStringList{} << QByteArray("127.0.0.1:9: the connection was refused");
        QTest::newRow("silent, bounded by --wait") << "silent" << QStringList{"--wait", "1"}
                                                   << QByteArray("no answer within 1 seconds (--wait); the report stays Ready");
        QTest::newRow("flood, bounded by --wait") << "flood" << QStringList{"--wait", "2"} << QByteArray("(--wait)");
    }

    void submitFailuresLeaveItReady()
    {
        QFETCH(QString, mode);
        QFETCH(QStringList, extra);
        QFETCH(QByteArray, said);
        QProcess sim;
        useServer(sim, mode);
        const QByteArray eid = newReport();
        const Result r = run(QStringList{"submit", eid} + extra);
        QCOMPARE(r.code, 1);
        QVERIFY(r.out.contains("Message transfer problem"));
        QVERIFY2(r.err.contains(said), r.err.constData());
        const QByteArray shown = run({"show", eid}).out;
        QVERIFY(shown.contains("\nAST=2\n"));
        QVERIFY(shown.contains("\nDTL=Slipped\n")); // whole, not half-saved
        sim.kill();
        sim.waitForFinished();
    }

    void interrupted_data()
    {
        QTest::addColumn<QString>("command");
        QTest::newRow("submit") << "submit";
        QTest::newRow("resend stops at once") << "resend";
    }

    void interrupted()
    {
        QFETCH(QString, command);
        QProcess sim;
        useServer(sim, "silent");
        const QByteArray eid = newReport();
        const QByteArray second = newReport();
        for (const QByteArray &name : {eid, second}) // Ready, not sent
            QVERIFY(run({"submit", name, "--wait", "1"}).out.contains("Message transfer problem"));
        QProcess client;
        client.start(ZELVATCTS_CLI, QStringList{"--home", m_dir->path(), command} + (command == "submit" ? QStringList{eid} : QStringList{}));
        QByteArray received = sim.readAllStandardOutput(); // the server says a line for every envelope
        QTRY_VERIFY((received += sim.readAllStandardOutput()).count("message ") == 3);
        client.terminate(); // SIGTERM while the session waits for the server's answer
        QVERIFY(client.waitForFinished(10000));
        QCOMPARE(client.exitStatus(), QProcess::NormalExit);
        QCOMPARE(client.exitCode(), 1);
        QTest::qWait(300);
        QCOMPARE((received += sim.readAllStandardOutput()).count("message "), 3); // nothing more was tried
        QVERIFY(run({"show", eid}).out.contains("\nAST=2\n") && run({"show", second}).out.contains("\nAST=2\n"));
        QVERIFY(logFile().contains("Session aborted: the headless client was interrupted (SIGTERM)"));
        sim.kill();
        sim.waitForFinished();
    }

    void linkTest()
    {
        QProcess sim;
        useServer(sim, "silent");
        const Result ok = run({"link-test"});
        QCOMPARE(ok.code, 0);
        QVERIFY(ok.out.contains("Passing message... sent"));
        sim.kill();
        sim.waitForFinished();
        const Result failed = run({"link-test"});
        QCOMPARE(failed.code, 1);
        QVERIFY(failed.err.contains("Link Test to Tndirect failed."));
    }

private:
    struct Result {
        int code;
        QByteArray out;
        QByteArray err;
    };
    Result run(const QStringList &args);
    static QString today() { return QDate::currentDate().toString("yy") + QString::number(QDate::currentDate().dayOfYear()).rightJustified(3, '0'); }
    QByteArray logFile() const { return readFile(m_dir->path() + "/logs/Zelvat_" + QDate::currentDate().toString("yyMMdd") + ".log"); }

    // A tndirect-sim on a free port, which the station file then names; nothing listens for "".
    void useServer(QProcess &sim, const QString &mode, const QString &outbox = {});
    QByteArray newReport(const QStringList &extra = {});

    std::unique_ptr<QTemporaryDir> m_dir;
};

TestCli::Result TestCli::run(const QStringList &args)
{
    QProcess p;
    p.start(ZELVATCTS_CLI, QStringList{"--home", m_dir->path()} + args);
    if (!p.waitForFinished(30000))
        qFatal("zelvatcts-cli did not finish");
    return {p.exitCode(), p.readAllStandardOutput(), p.readAllStandardError()};
}

void TestCli::useServer(QProcess &sim, const QString &mode, const QString &outbox)
{
    QByteArray port = "9"; // the discard port: nobody listens there
    if (!mode.isEmpty()) {
        QStringList args{"--port", "0", "--mode", mode};
        if (!outbox.isEmpty())
            args << "--outbox" << outbox;
        sim.start(TNDIRECT_SIM, args);
        if (!sim.waitForReadyRead(10000))
            qFatal("tndirect-sim did not start");
        const QByteArray line = sim.readLine().trimmed(); // "listening on 127.0.0.1:PORT"
        port = line.mid(line.lastIndexOf(':') + 1);
    }
    writeFile(m_dir->path() + "/Zelvatcts.ini", "[GENERAL OPTIONS]\r\nUid=KN1ABC\r\nLoc=EOC\r\nLid=SPF\r\nPrt=" + port + "\r\n");
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

QTEST_GUILESS_MAIN(TestCli)
#include "tst_cli.moc"
