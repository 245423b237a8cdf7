// The headless client as a script sees it: exit codes, standard output bytes, and the files it
// leaves in the program folder. The rules themselves are checked where they live; here, that
// the client wires them up, end to end, against tndirect-sim.

#include "common/Capture.h"
#include "common/Csv.h"
#include "common/Files.h"
#include "common/SampleReport.h"
#include "store/ClosedForms.h"
#include "support/CommonConst.h"

#include <QDate>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>


class TestCli : public QObject {
    Q_OBJECT

private slots:
    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void newListShowNextEventAndDelete()
    {
        writeFile(path("Zelvatcts.ini"), "[GENERAL OPTIONS]\r\nUid=KN1ABC\r\nLoc=EOC\r\nLid=ABC\r\nEno=911\r\n");
        const QByteArray eid = "ABC" + today() + ".911"; // its file: ABC26001.911.911, listed as any other
        QCOMPARE(run({"new", "--set", "TYP=MED+LAW", "--set", "ISS=Fall", "--set", "CTY=Springfield", "--set", "DTL=first\\nsecond",
                      "--set", QString::fromUtf8("PDE=tall\nthin \u00e9")}).out, eid + "\n");
        const QByteArray file = readFile(path("msg.d/" + eid + ".911"));
        for (const QByteArray &line : {QByteArray("MID=ABC-911"), QByteArray("DTL=first\\nsecond"), QByteArray("PDE=tall\\nthin \xE9"),
                                       "[ADMIN DEFINITION]\r\nUID=KN1ABC\r\nULO=EOC\r\nAST=6\r\nADT=" + QDate::currentDate().toString("yyMMdd").toLatin1()})
            QVERIFY2(file.contains("\r\n" + line + "\r\n"), line.constData());

        QCOMPARE(run({"list"}).out, QByteArray("Items: 0\n")); // a new report is a Draft, not Ready
        const QList<QByteArray> lines = run({"list", "draft"}).out.split('\n');
        QCOMPARE(lines.mid(1), (QList<QByteArray>{"Items: 1", ""}));
        const QList<QByteArray> cells = lines[0].split('\t');
        QCOMPARE(cells.mid(0, 7), (QList<QByteArray>{eid, "Draft", eid, "MED+LAW", "Fall", "", "Springfield"}));
        QVERIFY(QRegularExpression("^\\d\\d/\\d\\d/\\d\\d \\d\\d:\\d\\d$").match(QString(cells.value(7))).hasMatch());
        const QList<QByteArray> fields = run({"show", eid}).out.split('\n');
        QCOMPARE(fields.size(), 30);
        QCOMPARE(fields.mid(0, 3), (QList<QByteArray>{"TYP=MED+LAW", "EID=" + eid, "MID=ABC-911"}));
        QCOMPARE(fields[15], QByteArray("CON=-1")); // unanswered, as the form saves it

        QCOMPARE(run({"next-event"}).out, "ABC" + today() + ".912\tABC-912\n");
        QVERIFY(readFile(path("Zelvatcts.ini")).contains("\r\nEno=913\r\n"));
        QCOMPARE(run({"delete", eid}).out, eid + " marked Deleted\n");
        QCOMPARE(run({"delete", eid}).out, eid + " removed\n");
        QCOMPARE(run({"list", "all"}).out, QByteArray("Items: 0\n"));

        // Both replaced versions were kept; the removed report comes back byte for byte.
        const QList<QByteArray> history = run({"history", eid}).out.split('\n');
        QCOMPARE(history.size(), 3);
        const QRegularExpression row("^(\\d{8}T\\d{9}-\\d\\d)\t\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\t(Draft|Deleted)\tABC \\(KN1ABC\\)$");
        QVERIFY2(row.match(QString(history[0])).captured(2) == "Draft" && row.match(QString(history[1])).captured(2) == "Deleted",
                 history.join('|').constData());
        const QString token = row.match(QString(history[0])).captured(1);
        for (const QString &bad : {QString("20200101T000000000-00"), "../" + QString(eid)}) { // never kept; outside the versions
            const Result unknown = run({"restore", eid, bad});
            QVERIFY2(unknown.code == 2 && unknown.err.contains("is no kept version") && !QFile::exists(path("msg.d/" + eid + ".911")), unknown.err.constData());
        }
        QCOMPARE(run({"restore", eid, token}).code, 0);
        QCOMPARE(readFile(path("msg.d/" + eid + ".911")), file);
        QCOMPARE(run({"list", "draft"}).out.count('\n'), 2);
    }

    // A report open in a report form at another position: listed by in-use, refused by submit
    // (naming the position), left Ready by resend, which sends the others.
    void openElsewhere()
    {
        QProcess sim;
        useServer(sim, "normal", path("outbox"));
        writeLgov("R1");
        writeLgov("R2");
        QVERIFY(QDir().mkpath(path("msg.d/.inuse")));
        writeFile(path("msg.d/.inuse/R1@77@far.example.mark"),
                  "Pat Smith\t1234\tNRT\tfar.example\t77\n2024-05-01T14:02:00.000Z\n");
        const QString since = QDateTime(QDate(2024, 5, 1), QTime(14, 2), Qt::UTC).toLocalTime().toString("yyyy-MM-dd hh:mm:ss");
        QCOMPARE(run({"in-use"}).out, "R1\tNRT\tPat Smith\t1234\t" + since.toLatin1() + "\n");
        const Result submitted = run({"submit", "R1"});
        QCOMPARE(submitted.code, 1);
        QVERIFY2(submitted.err.startsWith("R1 is open at NRT (Pat Smith, 1234) since " + since.mid(11, 5).toLatin1() + "; it was not sent"),
                 submitted.err.constData());
        const Result resent = run({"resend"});
        QCOMPARE(resent.code, 1);
        QVERIFY2(resent.out.contains("R1\tstill Ready: R1 is open at NRT (Pat Smith, 1234)")
                     && resent.out.endsWith("resent 1 of 2 Ready reports; 1 still Ready (1 open in a report form elsewhere)\n"),
                 resent.out.constData());
        QVERIFY(readFile(path("msg.d/R1.911")).contains("\r\nAST=2\r\n"));
        stop(sim);
    }

    // The forms closed on purpose, in the rows of "recovered" with the time each closed.
    void recoveredClosed()
    {
        const QDateTime closed = QDateTime::currentDateTime().addSecs(-60);
        FormRecovery::Input input(m_dir->path());
        input.record = SampleReport::make(m_dir->path());
        input.written = closed;
        QVERIFY(FormRecovery::write(m_dir->path(), "R", input, nullptr) && ClosedForms::keep(m_dir->path(), "R", closed, nullptr));
        QCOMPARE(run({"recovered", "--closed"}).out,
                 "R\tABC26320.000000\tPerson down near the library\t" + closed.toString("yyyy-MM-dd HH:mm:ss").toLatin1() + "\n");
        QCOMPARE(run({"recovered"}).out, QByteArray()); // no longer a recovery of a stopped form
    }

    void refusals_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("code");
        QTest::addColumn<QByteArray>("said"); // on standard error
        const QByteArray findUsage("usage: zelvatcts-cli [--home DIR] find");

        QTest::newRow("no command") << QStringList{} << 2 << QByteArray("usage:");
        QTest::newRow("unknown command") << QStringList{"frobnicate"} << 2 << QByteArray("unknown command");
        QTest::newRow("unknown folder") << QStringList{"list", "outbox"} << 2 << QByteArray("usage:");
        QTest::newRow("program's own key") << QStringList{"new", "--set", "EID=X"} << 2 << QByteArray("--set EID=X");
        QTest::newRow("answer not -1..1") << QStringList{"new", "--set", "CON=2"} << 2 << QByteArray("CON");
        QTest::newRow("line break in one-line box") << QStringList{"new", "--set", "ISS=a\nb"} << 2 << QByteArray("DTL and PDE");
        QTest::newRow("outside the code page") << QStringList{"new", "--set", QString::fromUtf8("CTY=Łódź")} << 2
                                               << QByteArray("cannot be stored");
        QTest::newRow("what a report file cannot hold") << QStringList{"new", "--set", "ISS=bad\x01" "char"} << 2
                                                        << QByteArray("--set ISS: holds a control character (0x01)");
        QTest::newRow("name outside the folder") << QStringList{"show", "../Zelvatcts"} << 2 << QByteArray("outside");
        QTest::newRow("find without words") << QStringList{"find"} << 2 << findUsage;
        QTest::newRow("find only blanks") << QStringList{"find", " "} << 2 << findUsage;
        QTest::newRow("find in an unknown folder") << QStringList{"find", "--folder", "outbox", "oak"} << 2 << findUsage;
        QTest::newRow("summary of no hours") << QStringList{"summary", "--hours", "0"} << 2 << QByteArray("--hours 0: a whole number");
        QTest::newRow("find in a folder without a name") << QStringList{"find", "oak", "--folder"} << 2 << findUsage;
        QTest::newRow("no such report") << QStringList{"delete", "NOPE"} << 1 << QByteArray("no report NOPE");
        QTest::newRow("--home twice") << QStringList{"--home", "/tmp", "list"} << 2 << QByteArray("--home is given twice");
        QTest::newRow("the counter is used up") << QStringList{"new", "--set", "ISS=x"} << 1 << QByteArray("40000");
        // Help and version, as the manual-page generator asks for them, on standard output.
        QTest::newRow("help") << QStringList{"--help"} << 0 << QByteArray("Usage: zelvatcts-cli [--home DIR] COMMAND [ARGS]\n");
        QTest::newRow("version") << QStringList{"--version"} << 0
                                 << "zelvatcts-cli (Zelvat Call Taking System) " + Zelvat::versionText().toLatin1() + "\n";
    }

    void refusals()
    {
        QFETCH(QStringList, args);
        QFETCH(int, code);
        QFETCH(QByteArray, said);
        // A used-up counter: a "new" that took a number before it checked its arguments fails with 1.
        const QByteArray station = "[GENERAL OPTIONS]\r\nEno=40000\r\n";
        writeFile(path("Zelvatcts.ini"), station);
        const Result r = run(args);
        QCOMPARE(r.code, code);
        QCOMPARE(code ? r.out : r.err, QByteArray());
        QVERIFY2((code ? r.err : r.out).contains(said), r.err.constData());
        QVERIFY(QDir(path("msg.d")).isEmpty());
        QCOMPARE(readFile(path("Zelvatcts.ini")), station);
        if (code == 0) // help and version touch no folder
            QCOMPARE(QDir(m_dir->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList{"Zelvatcts.ini"});
    }

    void find_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QByteArray>("names");
        QTest::newRow("find: every word, any folder") << QStringList{"find", "oak", "SMITH"} << QByteArray("A1 D4 ");
        QTest::newRow("find in one folder") << QStringList{"find", "--folder", "draft", "oak"} << QByteArray("D4 ");
        QTest::newRow("find, the folder after the words") << QStringList{"find", "oak", "--folder", "ready"} << QByteArray("A1 ");
        QTest::newRow("find nothing") << QStringList{"find", "nowhere"} << QByteArray("");
    }

    void find()
    {
        // The rows of list that hold every word. Which report holds a word, and when the index is
        // believed, is the catalog's own rule.
        QFETCH(QStringList, args);
        QFETCH(QByteArray, names);
        QVERIFY(QDir().mkpath(path("msg.d")));
        SampleReport::save(m_dir->path(), {"EID=A1", "AD1=12 Oak Street", "RPN=Jordan Smith", "AST=2"});
        SampleReport::save(m_dir->path(), {"EID=B2", "AD1=4 Elm Road", "RPN=Jordan Smith", "AST=2"});
        SampleReport::save(m_dir->path(), {"EID=C3", "AD1=9 Oak Lane", "RPN=Lee Chan", "AST=9"});
        SampleReport::save(m_dir->path(), {"EID=D4", "AD1=1 Oak Court", "RPN=Pat Smith", "AST=6"});
        const Result r = run(args);
        QCOMPARE(r.code, 0);
        QByteArray found;
        const QList<QByteArray> lines = r.out.split('\n');
        for (const QByteArray &line : lines.first(lines.size() - 2))
            found += line.split('\t').first() + ' ';
        QCOMPARE(found, names);
        QCOMPARE(lines[lines.size() - 2], "Items: " + QByteArray::number(names.count(' ')));
    }

    void summaryCountsTheLastHours()
    {
        // The table is the summary's own; here, that the client reads the folder and takes --hours.
        QVERIFY(QDir().mkpath(path("msg.d")));
        const auto dated = [](qint64 secondsAgo) {
            const QDateTime t = QDateTime::currentDateTime().addSecs(-secondsAgo);
            return QStringList{"ADT=" + t.toString("yyMMdd"), "ATM=" + t.toString("HHmm")};
        };
        SampleReport::save(m_dir->path(), QStringList{"EID=A1", "TYP=MED+LAW", "AST=2", "CTY=Town"} + dated(120));
        SampleReport::save(m_dir->path(), QStringList{"EID=B2", "TYP=MED", "AST=9", "CTY=Abbey"} + dated(30 * 3600));
        const QByteArray head = "Type\tReady\tDraft\tSubmitted\tDeleted\tTotal\n";
        QCOMPARE(run({"summary"}).out, head + "MED\t1\t0\t0\t0\t1\nFIRE\t0\t0\t0\t0\t0\nLAW\t1\t0\t0\t0\t1\n"
                                              "LGOV\t0\t0\t0\t0\t0\nCity\tTotal\nTown\t1\n");
        QVERIFY(run({"summary", "--hours", "31"}).out.contains("\nMED\t1\t0\t1\t0\t2\n"));
    }

    void whatCannotBeReadDoesNotHideTheRest()
    {
        // A broken report still gets a row of what could be read before the bad line; a named pipe
        // where the station file, the day's log or a report should be is refused, said, listed for
        // what it is, never waited on.
        QVERIFY(QDir().mkpath(path("msg.d")) && QDir().mkpath(path("logs")));
        writeFile(path("msg.d/GOOD.911"), "EID=GOOD\r\nCTY=Town\r\nAST=2\r\n");
        writeFile(path("msg.d/BAD.911"), "EID=BAD\r\nAST=2\r\nCON=maybe\r\n");
        for (const QString &pipe : {QString("msg.d/X.911"), logName(), QString("Zelvatcts.ini")})
            MAKE_FIFO_OR_SKIP(path(pipe));
        const Result listed = run({"list", "all"});
        QCOMPARE(listed.code, 0);
        QCOMPARE(listed.out, QByteArray("BAD\tReady\tBAD\t\t\t\t\t// :\nX\tNot a report\t\t\ta named pipe (FIFO), not a report file\t\t\t\n"
                                        "GOOD\tReady\tGOOD\t\t\t\tTown\t// :\nItems: 3\n"));
        QVERIFY(listed.err.contains("Problems loading") && listed.err.contains("BAD.911"));
        const Result shown = run({"show", "BAD"});
        QVERIFY2(shown.code == 2 && shown.err.contains("Error=13, Type mismatch"), shown.err.constData());
        const Result next = run({"next-event"});
        QVERIFY2(next.code == 1 && next.err.contains("Zelvatcts.ini is a named pipe (FIFO), not a regular file"), next.err.constData());
    }

    void submitAndResend()
    {
        // The message text commands: the flags reach the text, the bytes come out as sent, no line
        // break added. A report that lacks what Submit needs is named field by field and not saved.
        // Three reports submitted while the server is down stay Ready; one goes out by itself once
        // it is up, the others with resend. The server keeps the envelopes as built.
        QProcess down;
        useServer(down, {});
        const QByteArray text = newReport({"RPP=555-0100"});
        QCOMPARE(run({"subject", text, "--update"}).out, "SPF-9110 / MED / Springfield -- UPDATE");
        const QByteArray body = run({"body", text, "--contact"}).out;
        QVERIFY(body.startsWith("TYPE=MED\r\n") && body.contains("\r\nCNT=\\#252\r\n") && body.endsWith("\r\nEVNT=" + text));
        QVERIFY(run({"envelope", text}).out.endsWith("</AOMSG><AOURG>TRUE</AOURG><AOTYP>PVT</AOTYP><ENCOD>BASE64</ENCOD>!/ADDON!"));
        QCOMPARE(run({"subject", text, "--contact"}).code, 2);
        const QByteArray fire = run({"new", "--set", "TYP=FIRE", "--set", "ISS=Fall", "--set", "AD1=1 Elm", "--set", "CTY=X",
                                     "--set", "LAS=14:00", "--set", "DTL=x"}).out.trimmed();
        const QByteArray before = readFile(path("msg.d/" + fire + ".911"));
        const Result missing = run({"submit", fire, "--contact"});
        QCOMPARE(missing.code, 1);
        QCOMPARE(missing.err, fire + ": missing Name: (RPN)\n" + fire + ": missing Address: (RPA)\n" + fire + ": missing Phone: (RPP)\n"
                                  + fire + ": missing If a Fire: people inside? (PIN)\n");
        QCOMPARE(readFile(path("msg.d/" + fire + ".911")), before);
        QList<QByteArray> eids;
        for (int i = 0; i < 3; ++i) {
            eids << newReport();
            QCOMPARE(run({"submit", eids.last()}).code, 1);
        }
        QProcess sim;
        const QString outbox = path("outbox");
        useServer(sim, "split", outbox);
        const QByteArray envelope = run({"envelope", eids[0]}).out;
        const Result r = run({"submit", eids[0]});
        QCOMPARE(r.code, 0);
        QVERIFY(r.out.endsWith("Sending message... sent\nDisconnecting... \nZelvat Call Taking Ready\nMessage transferred\n"));
        QTRY_VERIFY(QFile::exists(outbox + "/msg00001.txt"));
        // Byte for byte as built, but for the minute of the save stamp: the submit saves the report
        // again, and the clock may have passed into the next minute.
        const auto unstamped = [](const QByteArray &b) { return QString::fromLatin1(b).replace(QRegularExpression("DATM=\\d{6} \\d{4}"), "DATM="); };
        QCOMPARE(unstamped(readFile(outbox + "/msg00001.txt")), unstamped(envelope));
        QVERIFY(run({"show", eids[0]}).out.contains("\nAST=9\n"));
        QVERIFY(readFile(path(logName())).contains("SendMessage: Sent message titled: SPF-9112 / MED / Springfield"));

        const Result resent = run({"resend"});
        QCOMPARE(resent.code, 0);
        QVERIFY(resent.out.endsWith("resent 2 of 2 Ready reports; 0 still Ready\n"));
        QCOMPARE(QDir(outbox).entryList(QDir::Files).size(), 3);
        QVERIFY(run({"list", "submitted"}).out.endsWith("Items: 3\n"));
        stop(sim);

        // Each try of submit and resend is one line of the communications log, read back as CSV.
        const Result log = run({"commlog", "--csv", path("log.csv")});
        QCOMPARE(log.code, 0);
        QCOMPARE(log.out, "7 tries written to " + QDir::toNativeSeparators(path("log.csv")).toUtf8() + "\n");
        QList<QStringList> rows;
        QVERIFY(Csv::parse(QString::fromUtf8(readFile(path("log.csv")).mid(3)), &rows) && rows.size() == 8);
        QStringList tries;
        for (const QStringList &row : rows.mid(1))
            tries << row[1] + ' ' + row[5] + ' ' + row[6];
        QCOMPARE(tries, (QStringList{fire + " not sent required fields missing", eids[0] + " not sent refused",
                                     eids[1] + " not sent refused", eids[2] + " not sent refused", eids[0] + " sent ",
                                     eids[1] + " sent ", eids[2] + " sent "}));
        QVERIFY(rows[5][3] == "SPF-9112 / MED / Springfield" && rows[5][4].startsWith("127.0.0.1:"));
        QCOMPARE(rows[5].mid(5), (QStringList{"sent", "", "", "KN1ABC", "EOC"}));
        for (const QStringList &wrong : {QStringList{"commlog", "--csv", "a", "--pdf", "b"}, {"commlog", "--pdf"},
                                         {"commlog", "--from", "2026-11-16", "--csv", "a"}, {"commlog", "--to", "2026-11-16 14:00",
                                         "--from", "2026-11-16 15:00", "--csv", "a"}})
            QCOMPARE(run(wrong).code, 2);
        QVERIFY(!QFile::exists(path("a")));
    }

    void silentServer()
    {
        // A submit that is not answered stays Ready, whole; a resend interrupted while it waits for
        // the server stops at once; the link test passes on a server that takes the text and fails
        // where nobody listens.
        QProcess sim;
        useServer(sim, "silent");
        writeLgov("R1");
        writeLgov("R2");
        const Result r = run({"submit", "R1", "--wait", "1"});
        QCOMPARE(r.code, 1);
        QVERIFY(r.out.contains("Message transfer problem"));
        QVERIFY2(r.err.contains("no answer within 1 seconds (--wait); the report stays Ready"), r.err.constData());

#ifdef Q_OS_WIN
        QSKIP("a test cannot interrupt a Windows console program: QProcess::terminate asks its windows, and it has none");
#endif
        QProcess client;
        client.start(ZELVATCTS_CLI, {"--home", m_dir->path(), "resend"});
        QByteArray received; // the server says a line for every envelope
        QTRY_VERIFY((received += sim.readAllStandardOutput()).count("message ") == 2);
        client.terminate(); // SIGTERM while the session waits for the server's answer
        QVERIFY(client.waitForFinished(10000));
        QCOMPARE(client.exitStatus(), QProcess::NormalExit);
        QCOMPARE(client.exitCode(), 1);
        QTest::qWait(300);
        QCOMPARE((received += sim.readAllStandardOutput()).count("message "), 2); // nothing more was tried
        QVERIFY2(!client.readAllStandardOutput().contains("R2"), "the resend went on to the next report");
        for (const char *name : {"R1", "R2"})
            QVERIFY(run({"show", name}).out.contains("\nDTL=x\n") && run({"show", name}).out.contains("\nAST=2\n"));
        QVERIFY(readFile(path(logName())).contains("Session aborted: the headless client was interrupted (SIGTERM)"));

        const Result ok = run({"link-test"});
        QVERIFY2(ok.code == 0 && ok.out.contains("Passing message... sent"), ok.out.constData());
        stop(sim);
        const Result failed = run({"link-test"});
        QVERIFY2(failed.code == 1 && failed.err.contains("Link Test to Tndirect failed."), failed.err.constData());
    }

#ifdef POSITION_DRILL
    void twoPositionsOnOneFolder()
    {
        // Two positions (processes, each its own program folder and location ID) work at random
        // on one message folder through real report forms, sending to one tndirect-sim.
        constexpr int kOperations = 150; // each; the 500 of a longer drill take minutes on two cores
        QProcess sim;
        useServer(sim, "normal", path("outbox"));
        const QByteArray port = readFile(path("Zelvatcts.ini")).split('=').last().trimmed();
        QVERIFY(QDir().mkpath(path("shared")));
        QProcess drills[2];
        for (int p = 0; p < 2; ++p) {
            const QString home = path(QString("position%1").arg(p));
            QVERIFY(QDir().mkpath(home) && QFile::link(path("shared"), home + "/msg.d"));
            writeFile(home + "/Zelvatcts.ini", "[GENERAL OPTIONS]\r\nUid=KN" + QByteArray::number(p) + "ABC\r\nLoc=EOC\r\nLid="
                                                   + QByteArray(p ? "NRT" : "SPF") + "\r\nEno=9110\r\nPrt=" + port + "\r\n");
            drills[p].setProcessChannelMode(QProcess::MergedChannels);
            drills[p].start(POSITION_DRILL, {home, QString::number(7 + p), QString::number(kOperations), home + "/writes.log"});
        }
        for (QProcess &d : drills)
            QVERIFY2(d.waitForFinished(60000) && d.exitStatus() == QProcess::NormalExit && d.exitCode() == 0, d.readAll().constData());
        stop(sim);

        // Every write replaced what its form had loaded, last written or been shown (but a restore,
        // which puts a version back over whatever stands), and every version it replaced was kept.
        QHash<QString, QList<qint64>> reopened; // an Update, a restore that can be sent, an undelete
        int conflicts = 0, restores = 0;
        for (int p = 0; p < 2; ++p) {
            const QList<QByteArray> lines = readFile(path(QString("position%1/writes.log").arg(p))).split('\n');
            for (int n = 0; n + 1 < lines.size(); ++n) {
                const QList<QByteArray> f = lines[n].split('\t'); // time, op, choices, file, believed, replaced, written
                const QString name = QString(f[3]).chopped(4), write = QString("position %1, write %2 (%3 of %4 after \"%5\")")
                                                                          .arg(p).arg(n + 1).arg(f[1], name, f[2]);
                QVERIFY2(f[1] == "restore" || f[4] == f[5], qPrintable(write + " went over a change it had not seen"));
                const QByteArray replaced = QByteArray::fromBase64(f[5]), written = QByteArray::fromBase64(f[6]);
                const QFileInfoList kept = QDir(path("shared/.versions/" + name)).entryInfoList(QDir::Files);
                QVERIFY2(f[5] == "-" || std::any_of(kept.begin(), kept.end(), [&](const QFileInfo &v) { return readFile(v.filePath()) == replaced; }),
                         qPrintable(write + ": the version it replaced was not kept"));
                conflicts += !f[2].isEmpty();
                restores += f[1] == "restore";
                const bool sendable = !written.contains("\r\nAST=9\r\n") && !written.contains("\r\nAST=8\r\n");
                if ((f[1] == "restore" && sendable) || f[1] == "update" || f[2].contains("cmdUpdate") || f[2].contains("cmdRestore"))
                    reopened[name] << f[0].toLongLong();
            }
        }
        // A report goes out again only after an update, or after the operator put an earlier
        // version back or undeleted it: one of them lies between any two of its messages.
        QHash<QString, qint64> lastSent;
        const QFileInfoList messages = QDir(path("outbox")).entryInfoList(QDir::Files, QDir::Name);
        for (const QFileInfo &m : messages) {
            const QByteArray envelope = readFile(m.filePath());
            const QString event = QString(envelope.mid(envelope.indexOf("EVNT=") + 5)).section('<', 0, 0).trimmed();
            const qint64 at = m.lastModified().toMSecsSinceEpoch() * 1000000, before = lastSent.value(event, -1);
            QVERIFY2(before < 0 || std::any_of(reopened[event].begin(), reopened[event].end(), [&](qint64 t) { return t > before && t < at; }),
                     qPrintable(event + " was sent twice, the second time in " + m.fileName()));
            lastSent[event] = at;
        }
        qInfo("%lld sent, %d conflicts answered, %d restores", qlonglong(messages.size()), conflicts, restores);
        QVERIFY(messages.size() >= 10 && conflicts >= 2 && restores >= 5); // the drill did reach them
    }
#endif

#ifdef FAULTFS
    void clientUnderFaults_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QString>("fault"); // FAULTFS_OP:errno:match:at
        QTest::addColumn<QString>("said");
        QTest::addColumn<QString>("kept");  // the file left exactly as it was

        QTest::newRow("delete on a full disk") << QStringList{"delete", "R1"} << "write:28:R1.911:100" << "the disk is full"
                                               << "msg.d/R1.911";
        QTest::newRow("next event, one block free") << QStringList{"next-event"} << "write:28:Zelvatcts.ini:40"
                                                    << "the disk is full" << "Zelvatcts.ini";
        QTest::newRow("delete, no room for the earlier version") << QStringList{"delete", "R1"} << "write:28:.versions:0"
                                                                 << "could not be kept as an earlier version" << "msg.d/R1.911";
        QTest::newRow("the final save of a sent report") << QStringList{"submit", "R1"} << "rename:5:R1.911:1"
                                                         << "was sent, but its file could not be marked Submitted" << "";
    }

    void clientUnderFaults()
    {
        // The client started with libfaultfs.so, which fails the file call named.
        QFETCH(QStringList, args);
        QFETCH(QString, fault);
        QFETCH(QString, said);
        QFETCH(QString, kept);
        QProcess sim;
        useServer(sim, "normal", path("outbox"));
        writeLgov("R1");
        const QByteArray before = kept.isEmpty() ? QByteArray() : readFile(path(kept));
        const Result r = run(args, fault.split(':'));
        QCOMPARE(r.code, 1);
        QVERIFY2(r.err.contains(said.toLocal8Bit()), r.err.constData());
        if (!kept.isEmpty())
            QCOMPARE(readFile(path(kept)), before);
        if (args[0] == "submit") { // it went out once, and says Ready: sent, not marked
            QTRY_COMPARE(QDir(path("outbox")).entryList(QDir::Files).size(), 1);
            QVERIFY(readFile(path("msg.d/R1.911")).contains("\r\nAST=2\r\n"));
            QVERIFY(readFile(path(logName())).contains("R1 went out, but its file could not be marked Submitted"));
        }
        QCOMPARE(QDir(path("msg.d")).entryList(QDir::Files | QDir::System | QDir::Hidden), QStringList{"R1.911"});
        stop(sim);
    }
#endif

private:
    struct Result { int code; QByteArray out, err; };
    // The client's exit code and output; with a fault "OP:ERRNO:MATCH:AT", started with libfaultfs.so.
    Result run(const QStringList &args, [[maybe_unused]] const QStringList &fault = {})
    {
        QProcess p;
#ifdef FAULTFS
        if (!fault.isEmpty()) {
            QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
            env.insert("LD_PRELOAD", FAULTFS); // ahead of a sanitizer's runtime, which is told not to insist on coming first
            env.insert("ASAN_OPTIONS", env.value("ASAN_OPTIONS") + ":verify_asan_link_order=0");
            for (int i = 0; i < 4; ++i)
                env.insert(QStringList{"FAULTFS_OP", "FAULTFS_ERRNO", "FAULTFS_MATCH", "FAULTFS_AT"}[i], fault[i]);
            p.setProcessEnvironment(env);
        }
#endif
        p.start(ZELVATCTS_CLI, QStringList{"--home", m_dir->path()} + args);
        if (!p.waitForFinished(30000))
            qFatal("zelvatcts-cli did not finish");
        // What is said on standard error is for a person: in a Windows console's text mode, lines end in CR LF.
        return {p.exitCode(), p.readAllStandardOutput(), p.readAllStandardError().replace("\r\n", "\n")};
    }
    QString path(const QString &name) const { return m_dir->filePath(name); }
    // The client runs on the real clock.
    static QByteArray today() { return QDate::currentDate().toString("yy").toLatin1() + QByteArray::number(QDate::currentDate().dayOfYear()).rightJustified(3, '0'); }
    static QString logName() { return "logs/Zelvat_" + QDate::currentDate().toString("yyMMdd") + ".log"; }
    static void stop(QProcess &sim)
    {
        sim.kill();
        sim.waitForFinished();
    }

    // A tndirect-sim on a free port, which the station file then names; nothing listens for "".
    // Event numbers from 9110: the names of the files sent hold ".911" before their type.
    void useServer(QProcess &sim, const QString &mode, const QString &outbox = {})
    {
        QByteArray port = "9"; // the discard port: nobody listens there
        if (!mode.isEmpty()) {
            sim.start(TNDIRECT_SIM, QStringList{"--port", "0", "--mode", mode} + (outbox.isEmpty() ? QStringList{} : QStringList{"--outbox", outbox}));
            if (!sim.waitForReadyRead(10000))
                qFatal("tndirect-sim did not start");
            const QByteArray line = sim.readLine().trimmed(); // "listening on 127.0.0.1:PORT"
            port = line.mid(line.lastIndexOf(':') + 1);
        }
        writeFile(path("Zelvatcts.ini"), "[GENERAL OPTIONS]\r\nUid=KN1ABC\r\nLoc=EOC\r\nLid=SPF\r\nEno=9110\r\nPrt=" + port + "\r\n");
    }
    // A Ready report of local government with every field Submit needs.
    void writeLgov(const QString &name)
    {
        QVERIFY(QDir().mkpath(path("msg.d")));
        writeFile(path("msg.d/" + name + ".911"), "EID=" + name.toLatin1() + "\r\nTYP=LGOV\r\nISS=x\r\nAD1=x\r\nCTY=x\r\nRPN=x\r\nLAS=x\r\nDTL=x\r\nAST=2\r\n");
    }
    // A Draft medical report with every field Submit needs, and `extra` "KEY=value" fields.
    QByteArray newReport(const QStringList &extra = {})
    {
        QStringList args{"new"};
        for (const QString &e : QStringList{"TYP=MED", "ISS=Fall", "AD1=12 Oak St", "CTY=Springfield", "RPN=Jo", "LAS=14:00", "DTL=Slipped",
                                            "AGE=70", "GDR=M", "CON=1", "BRE=1"} + extra)
            args << "--set" << e;
        return run(args).out.trimmed();
    }

    std::unique_ptr<QTemporaryDir> m_dir;
};

QTEST_GUILESS_MAIN(TestCli)
#include "tst_cli.moc"
