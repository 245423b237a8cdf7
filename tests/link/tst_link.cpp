// The message server link seen from outside: the bytes of subject, body and envelope, the
// submission check, and real sessions over 127.0.0.1 against the loopback server — the bytes
// that reach it, the status texts and session-log lines in their order, and how a session ends
// when the server misbehaves. The outbox against the same server: Ready reports go out in order
// and once each whatever the server does, with the choices of their first Submit; the outbox
// file and the retry schedule.

#include "common/Capture.h"
#include "common/Loopback.h"
#include "common/ProgramHome.h"
#include "common/SampleReport.h"
#include "link/CommLog.h"
#include "link/MessageText.h"
#include "link/Outbox.h"
#include "link/RequiredFields.h"
#include "link/ServerSession.h"
#include "support/ZelvatLogLib.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTest>
#include <QTimer>

// A medical call with short values, so that each case reads at a glance.
static ZelvatMsg callRecord(const ProgramHome &home, const QStringList &changes)
{
    ZelvatMsg r(home.path());
    SampleReport::change(r, {"TYP=MED", "MID=0042", "EID=0042", "AD1=12 Oak St", "CTY=Springfield", "RPN=J. Smith",
                             "RPP=555-0100", "ISS=Fall", "DTL=Slipped on stairs", "AGE=70", "GDR=M", "CON=1", "BRE=1",
                             "LAS=Lobby", "ULO=EOC", "UID=ST1", "ADT=240115", "ATM=1432"});
    SampleReport::change(r, changes);
    return r;
}

// The session-log lines, after their "16-Nov-26 14:05:00: " stamps.
static QStringList logLines()
{
    QStringList lines;
    for (const QByteArray &l : readFile(ZelvatLogLib::logPath()).split('\n'))
        if (!l.isEmpty())
            lines << QString::fromLatin1(l.mid(20)).trimmed();
    return lines;
}

static const QString kEnvelope = MessageText::BuildEnvelope("TYPE=MED\r\nEVNT=1", "S1", "NONE");

static const QByteArray kStation = ProgramHome::DefaultStation + "Enc=NONE\r\n";

// The subjects of the envelopes the server received, in order.
static QStringList subjects(const LoopbackServer &server)
{
    QStringList found;
    const QRegularExpression subject("<AOSUB>(.*?)</AOSUB>");
    for (auto it = subject.globalMatch(QString::fromLatin1(server.received())); it.hasNext();)
        found << it.next().captured(1);
    return found;
}

class TestLink : public QObject {
    Q_OBJECT

private slots:
    void body_data()
    {
        QTest::addColumn<QStringList>("changes"); // KEY=value applied to the sample call
        QTest::addColumn<bool>("contact");
        QTest::addColumn<QString>("body");        // whole, in its order

        const QString caller = "LOC1=12 Oak St, Springfield\r\nRPNA=J. Smith\r\nRPPH=555-0100\r\n";
        const QString end = "\\nLast Seen:Lobby -- Call Loc:EOC\r\nDEVD=ST1\r\nDATM=240115 1432\r\nEVNT=0042";
        QTest::newRow("medical with contact, the example")
            << QStringList{} << true
            << "TYPE=MED\r\n" + caller + "CNT=\\#252\r\nDETL=Fall -- Slipped on stairs -- AGE: 70, M, C+ B+" + end;
        QTest::newRow("empty issue hides the details")
            << QStringList{"ISS=", "CON=-1", "BRE=0"} << false << "TYPE=MED\r\n" + caller + "DETL= -- AGE: 70, M, B-" + end;
        QTest::newRow("law with blank descriptions")
            << QStringList{"TYP=LAW", "ISS=", "PDE=  ", "WEA="} << false
            << "TYPE=LAW\r\n" + caller + "DETL= -- and no other details." + end;
        QTest::newRow("vehicle without plate and state")
            << QStringList{"TYP=LAW", "VDE=Red van", "DOT=North"} << false
            << "TYPE=LAW\r\n" + caller + "DETL=Fall -- Slipped on stairs -- DoT: North -- Veh Desc: Red van -- Lic:  -- St: " + end;
        QTest::newRow("fire, people trapped, second location and address")
            << QStringList{"TYP=FIRE", "PIN=Two", "AD2=Rear", "RPA=1 Elm"} << false
            << "TYPE=FIRE\r\nLOC1=12 Oak St, Springfield\r\nLOC2=Rear\r\nRPNA=J. Smith\r\nRPAD=1 Elm\r\nRPPH=555-0100\r\n"
               "DETL=Fall -- Slipped on stairs -- People Trapped: Two" + end;
        QTest::newRow("several types in fixed order")
            << QStringList{"TYP=LAW+FIRE+MED", "PIN=No", "WEA=Knife", "CON=0"} << false
            << "TYPE=LAW+FIRE+MED\r\n" + caller
                   + "DETL=Fall -- Slipped on stairs -- AGE: 70, M, C- B+ -- People Trapped: No -- Weapons: Knife" + end;
    }

    void body()
    {
        QFETCH(QStringList, changes);
        QFETCH(bool, contact);
        QFETCH(QString, body);
        ProgramHome home;
        QCOMPARE(MessageText::BuildBody(callRecord(home, changes), contact), body);
    }

    void subjectAndEnvelope()
    {
        ProgramHome home;
        QCOMPARE(MessageText::BuildSubject(callRecord(home, {}), false), QString("0042 / MED / Springfield"));
        QCOMPARE(MessageText::BuildSubject(callRecord(home, {"TYP=LAW+LGOV"}), true), QString("0042 / LAW+LGOV / Springfield -- UPDATE"));
        // Only BASE64 as written declares BASE64.
        for (const auto &[enc, declared] : {std::pair{"BASE64", "BASE64"}, {"NONE", "NONE"}, {"Base64", "NONE"}})
            QCOMPARE(MessageText::BuildEnvelope("B\r\nC", "S", enc), QString("<AOAON>ZELVAT</AOAON><AOSUB>S</AOSUB><AOMSG>B\r\nC</AOMSG>"
                                                                        "<AOURG>TRUE</AOURG><AOTYP>PVT</AOTYP><ENCOD>%1</ENCOD>!/ADDON!").arg(declared));
    }

    void wrapBody_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("wrapped");
        const QString a77(77, 'a'), b2(2, 'b');
        QTest::newRow("78 kept") << QString(78, 'x') << QString(78, 'x');
        QTest::newRow("79 folded") << a77 + b2 << a77 + "=\r\n" + b2;
        QTest::newRow("154 ends with soft break") << a77 + a77 << a77 + "=\r\n" + a77 + "=";
        QTest::newRow("trailing breaks stripped, empty line kept") << "A\r\n\r\nB\r\n\r\n" << "A\r\n\r\nB";
        QTest::newRow("a blank stops the stripping") << "A\r\n \r\n" << "A\r\n ";
        QTest::newRow("lone LF joins") << "A\nB\r\nC" << "AB\r\nC";
    }

    void wrapBody()
    {
        QFETCH(QString, body);
        QFETCH(QString, wrapped);
        QCOMPARE(MessageText::WrapBody(body), wrapped);
    }

    void requiredFields_data()
    {
        QTest::addColumn<QStringList>("changes"); // to the sample call, whose every required part is filled
        QTest::addColumn<bool>("contact");
        QTest::addColumn<QStringList>("missing"); // the keys named, in the order the form paints them

        QTest::newRow("all there") << QStringList{} << false << QStringList{};
        QTest::newRow("an empty medical report")
            << QStringList{"ISS=", "AD1=", "RPN=", "LAS=", "DTL=", "CTY=", "AGE=", "GDR=", "CON=-1", "BRE=-1"} << false
            << QStringList{"ISS", "AD1", "RPN", "LAS", "DTL", "CTY", "AGE", "GDR", "CON", "BRE"};
        QTest::newRow("blanks are empty") << QStringList{"CTY=   "} << false << QStringList{"CTY"};
        QTest::newRow("medical questions only for MED") << QStringList{"TYP=LAW", "AGE=", "CON=-1"} << false << QStringList{};
        QTest::newRow("a contact request needs an address or a phone") << QStringList{"RPP="} << true << QStringList{"RPA", "RPP"};
        QTest::newRow("an address will do") << QStringList{"RPP=", "RPA=1 Elm"} << true << QStringList{};
        QTest::newRow("fire needs people inside") << QStringList{"TYP=FIRE"} << false << QStringList{"PIN"};
        QTest::newRow("no event type") << QStringList{"TYP="} << false << QStringList{"TYP"};
    }

    void requiredFields()
    {
        QFETCH(QStringList, changes);
        QFETCH(bool, contact);
        QFETCH(QStringList, missing);
        ProgramHome home;
        QStringList got;
        for (const RequiredFields::Failure &f : RequiredFields::check(callRecord(home, changes), contact))
            got << f.key;
        QCOMPARE(got, missing);
    }

    void checkReplyPrompts_data()
    {
        QTest::addColumn<int>("prompt");
        QTest::addColumn<QStringList>("chunks");
        QTest::addColumn<bool>("reply");
        QTest::newRow("OK> whole") << 2 << QStringList{"hello OK>\r\n"} << true;
        QTest::newRow("OK> split thrice") << 2 << QStringList{"xxO", "K", ">"} << true;
        QTest::newRow("ok> lower case") << 2 << QStringList{"ok>"} << false;
        QTest::newRow("OK without its sign") << 2 << QStringList{"BOOK\r\n"} << false;
        QTest::newRow("NOMORE> while waiting for OK>") << 2 << QStringList{"NOMORE>"} << false;
        QTest::newRow("list end") << 4 << QStringList{"...!/ICS", "213!"} << true;
        QTest::newRow("no more") << 4 << QStringList{"NOMO", "RE>"} << true;
        QTest::newRow("quitting") << 5 << QStringList{"QUITI", "NG>"} << true;
        QTest::newRow("no prompt awaited") << 0 << QStringList{"OK> NOMORE> QUITING>"} << false;
        // 10 MB in 64 kB pieces: only the end is kept, and a prompt split across the cut is found.
        QTest::newRow("OK> after a flood") << 2 << QStringList(160, QString(64 * 1024, 'x')) + QStringList{"O", "K>"} << true;
    }

    void checkReplyPrompts()
    {
        QFETCH(int, prompt);
        QFETCH(QStringList, chunks);
        QFETCH(bool, reply);
        ProgramHome home;
        ServerSession session(&home.station());
        session.setPromptState(prompt);
        for (const QString &c : chunks)
            session.CheckReply(c);
        QCOMPARE(session.replyFlag(), reply);
        const QString all = chunks.join(QString());
        QVERIFY(session.receiveBuffer().size() <= 2 * 1024 * 1024);
        QCOMPARE(session.receiveBuffer(), all.right(all.size() > 2 * 1024 * 1024 ? session.receiveBuffer().size() : all.size()));
    }

    void sessions_data()
    {
        QTest::addColumn<int>("mode");        // the server's; -1: nobody listens, -2: a port that is no number
        QTest::addColumn<bool>("sent");
        QTest::addColumn<QStringList>("statuses"); // the last status texts
        QTest::addColumn<QStringList>("log");      // session-log lines, in order (all of them when sent)

        const QString flat = QString(kEnvelope).remove("\r\n");
        const QStringList good = {"Trying to Connect...", "Trying to Connect... connected!", "Sending message...",
                                  "Sending message... sent", "Disconnecting... ", "Zelvat Call Taking Ready"};
        const QStringList lost = {"SendMessages: Lost connection", "Disconnecting... ", "Disconnecting, error during Sending messages"};
        QTest::newRow("normal") << int(LoopbackServer::Mode::Normal) << true << good
                                << QStringList{"Msg2Tndirect: " + flat, "***WinSend: sent " + flat,
                                               "SendMessage: Sent message titled: S1", "SendMessage: END", "***WinSend: sent QUIT"};
        QTest::newRow("OK> in two packets") << int(LoopbackServer::Mode::Split) << true << good << QStringList{};
        QTest::newRow("silent: waits until cancelled")
            << int(LoopbackServer::Mode::Silent) << false << lost
            << QStringList{"Session aborted: test over", "SendMessage: Lost connection when sending message 'S1'"};
        QTest::newRow("drops the line: still no answer") << int(LoopbackServer::Mode::Drop) << false << lost
                                                         << QStringList{"Session aborted: test over"};
        QTest::newRow("refused") << -1 << false
                                 << QStringList{"Trying to Connect...", "Trying to Connect... failed", "Disconnecting... ",
                                                "Disconnecting, error during Connect"}
                                 << QStringList{"Connection Failed"};
        QTest::newRow("a port that is no number") << -2 << false << QStringList{"Disconnecting, error during Connect"}
                                                  << QStringList{"Connection Failed"};
    }

    void sessions()
    {
        QFETCH(int, mode);
        QFETCH(bool, sent);
        QFETCH(QStringList, statuses);
        QFETCH(QStringList, log);
        ProgramHome home;
        Capture capture;
        ZelvatLogLib::SetupLog(home.path(), false);
        std::unique_ptr<LoopbackServer> server;
        if (mode >= 0)
            server = Loopback::start(LoopbackServer::Mode(mode));
        home.station().Prt = mode >= 0 ? QString::number(server->port())
            : mode == -1                ? QString::number(Loopback::refusedPort())
                                        : QStringLiteral("93x4");
        ServerSession session(&home.station());
        if (mode == int(LoopbackServer::Mode::Silent)) { // a second message waits for its own prompt, not the first one's
            auto good = Loopback::start();
            home.station().Prt = QString::number(good->port());
            QVERIFY(session.SeqTndirect("A!/ADDON!", "A"));
            home.station().Prt = QString::number(server->port());
        }
        QStringList seen;
        connect(&session, &ServerSession::status, [&](const QString &s) { seen << s; });
        // A session that waits for a prompt that never comes keeps waiting until its owner gives up.
        bool waiting = false;
        QTimer::singleShot(800, &session, [&] {
            waiting = session.busy() && !session.replyFlag();
            session.cancel("test over");
        });
        QCOMPARE(session.SeqTndirect(kEnvelope, "S1"), sent);
        QVERIFY(!session.busy());
        QCOMPARE(seen.mid(seen.size() - statuses.size()), statuses);
        const QStringList lines = logLines();
        for (const QString &l : log)
            QVERIFY2(lines.contains(l), qPrintable(lines.join('\n')));
        if (mode == int(LoopbackServer::Mode::Normal))
            QCOMPARE(lines, log);
        if (mode >= 0)
            QTRY_VERIFY(server->received().startsWith(kEnvelope.toLatin1() + "\r\n"));
        if (sent)
            QTRY_COMPARE(server->received(), kEnvelope.toLatin1() + "\r\nQUIT\r\n");
        QCOMPARE(waiting, mode == int(LoopbackServer::Mode::Silent) || mode == int(LoopbackServer::Mode::Drop));
        QCOMPARE(capture.notices.size(), mode == -2 ? 1 : 0); // the port that is no number is named
        if (mode == -2)
            QVERIFY(capture.notices[0].text.contains("\"93x4\""));
    }

    void linkTest()
    {
        // Passes against a server that ignores the text, which reaches it in pieces with no line
        // break added; fails where nobody listens. Each result is a line of the session log.
        ProgramHome home;
        ZelvatLogLib::SetupLog(home.path(), false);
        auto server = Loopback::start(LoopbackServer::Mode::Silent);
        const QString text(120, 'T');
        QStringList expected;
        for (const quint16 port : {server->port(), Loopback::refusedPort()}) {
            home.station().Prt = QString::number(port);
            ServerSession session(&home.station());
            const bool passed = port == server->port();
            QCOMPARE(session.TndirectTest(text), passed);
            expected << "Link Test with Tndirect... " + QString(passed ? "passed" : "failed") + " (127.0.0.1:" + home.station().Prt + ")";
        }
        QCOMPARE(logLines(), expected);
        QTRY_COMPARE(server->received(), text.toLatin1());
    }

    void serverDownThenUpWithAReportOpen()
    {
        ProgramHome home(kStation);
        Capture capture;
        ZelvatLogLib::SetupLog(home.path(), true);
        const QStringList names = SampleReport::saveReady(home.path(), 3);
        Outbox outbox(home.path(), home.station());

        home.station().Prt = QString::number(Loopback::refusedPort());
        ServerSession down(&home.station());
        const Outbox::Run failed = outbox.sendReady(down, {});
        QCOMPARE(failed.tried, QStringList{names[0]}); // the server is down: the rest wait
        QVERIFY2(failed.linkFailed && failed.failure.contains("refused"), qPrintable(failed.failure));
        QCOMPARE(SampleReport::states(home.path(), names), (QList<int>{2, 2, 2}));

        // Back up, with the second report open in the form: it is passed by, untouched, until the next run.
        auto server = Loopback::start();
        home.station().Prt = QString::number(server->port());
        const QByteArray open = home.readReport(names[1]);
        Outbox::Hooks hooks;
        hooks.isOpen = [&](const QString &name) { return name == names[1]; };
        QStringList said;
        hooks.tried = [&](const Outbox::Try &t) { said << t.said; };
        ServerSession up(&home.station());
        const Outbox::Run sent = outbox.sendReady(up, hooks);
        QCOMPARE(sent.sent, 2);
        QVERIFY(!sent.linkFailed);
        QCOMPARE(said, (QStringList{"Submitted", "skipped: it is open in the report form", "Submitted"}));
        QCOMPARE(home.readReport(names[1]), open);
        ServerSession again(&home.station());
        QCOMPARE(outbox.sendReady(again, {}).sent, 1);
        QCOMPARE(subjects(*server), (QStringList{"ABC-0 / MED / Springfield", "ABC-2 / MED / Fairview", "ABC-1 / MED / Riverside"}));
        QCOMPARE(SampleReport::states(home.path(), names), (QList<int>{9, 9, 9}));
        ServerSession last(&home.station());
        QCOMPARE(outbox.sendReady(last, {}).count, 0);
        QCOMPARE(server->messages(), 3); // once each
        const QByteArray log = readFile(home.logPath());
        QVERIFY(log.contains("Outbox: " + names[0].toLatin1() + " still Ready: 127.0.0.1:"));
        QCOMPARE(log.count(" Submitted\r\n"), 3);
        QVERIFY(capture.notices.isEmpty()); // the outbox tells its caller, not the operator
        // One line of the communications log per try, the report open in the form not tried.
        CommLog::Period tries;
        QVERIFY(CommLog::read(home.path(), ProgramHome::FixedNow, ProgramHome::FixedNow, &tries, nullptr));
        QStringList logged;
        for (const CommLog::Entry &e : tries.entries)
            logged << e.eventId + ' ' + e.outcome + ' ' + e.why;
        QCOMPARE(logged, (QStringList{names[0] + " not sent refused", names[0] + " sent ", names[2] + " sent ", names[1] + " sent "}));
        QCOMPARE(CommLog::cells(tries.entries[1]).mid(3), (QStringList{"ABC-0 / MED / Springfield", "127.0.0.1:" + home.station().Prt,
                                                                       "sent", "", home.station().Nam, home.station().Uid, home.station().Loc}));
    }

    void commLogReadsBack_data()
    {
        QTest::addColumn<QByteArray>("log");
        QTest::addColumn<QStringList>("eventIds"); // the tries of 14:00 to 16:00 read back
        QTest::addColumn<int>("damaged");
        const QByteArray rest = "\t0042\tS\th:1\tsent\t\tPat\tKN1\tEOC\r\n";
        QTest::newRow("the period's ends included") << "2026-11-16 13:59:59\tA" + rest + "2026-11-16 14:00:00\tB" + rest
                                                           + "2026-11-16 16:00:00\tC" + rest + "2026-11-16 16:00:01\tD" + rest
                                                    << QStringList{"B", "C"} << 0;
        QTest::newRow("damaged lines passed over and counted")
            << "2026-11-16 14:10:00\tA" + rest + "garbage\r\n2026-11-16 14:11:00\tB\t0042\r\n2026-11-32 14:12:00\tC" + rest
                   + "\xff\xfe\x01\r\n\r\n2026-11-16 14:13:00\tE" + rest
            << QStringList{"A", "E"} << 4;
        QTest::newRow("a last line cut short") << "2026-11-16 14:10:00\tA" + rest + "2026-11-16 14:11:00\tB\t00" << QStringList{"A"} << 1;
        QTest::newRow("no log") << QByteArray() << QStringList{} << 0;
    }

    void commLogReadsBack()
    {
        QFETCH(QByteArray, log);
        QFETCH(QStringList, eventIds);
        QFETCH(int, damaged);
        ProgramHome home;
        if (!log.isEmpty())
            writeFile(CommLog::path(home.path()), log);
        CommLog::Period period;
        QVERIFY(CommLog::read(home.path(), QDateTime(QDate(2026, 11, 16), QTime(14, 0)), QDateTime(QDate(2026, 11, 16), QTime(16, 0)),
                              &period, nullptr));
        QStringList seen;
        for (const CommLog::Entry &e : period.entries)
            seen << e.eventId;
        QCOMPARE(seen, eventIds);
        QCOMPARE(period.damaged, damaged);
        if (!log.isEmpty())
            return;
        // A line written reads back as it was, a tab or line break inside a value made a blank.
        CommLog::Entry e{ProgramHome::FixedNow, "SPF-1", "1", "A\tB\r\nC", "h:1", "not sent", "no answer", "Pat", "KN1", "EOC"};
        QVERIFY(CommLog::append(home.path(), e, nullptr));
        QVERIFY(CommLog::read(home.path(), e.when, e.when, &period, nullptr) && period.entries.size() == 1);
        e.subject = "A B  C";
        QCOMPARE(CommLog::cells(period.entries[0]), CommLog::cells(e));
    }

    void whyNotSent_data()
    {
        QTest::addColumn<QString>("failure");
        QTest::addColumn<QString>("why");
        QTest::newRow("refused") << "h:1: the connection was refused (is the message server running?)" << "refused";
        QTest::newRow("no connection") << "h:1: no connection within 5000 ms" << "no answer";
        QTest::newRow("no answer") << "h:1: the line was lost before the server answered" << "no answer";
        QTest::newRow("interrupted") << "h:1: the session was cancelled: SIGINT" << "interrupted";
        QTest::newRow("other words kept") << "h:1: the host name was not found" << "the host name was not found";
    }

    void whyNotSent()
    {
        QFETCH(QString, failure);
        QFETCH(QString, why);
        QCOMPARE(CommLog::whyNotSent(failure), why);
    }

    void aResendCarriesTheMessageOfTheFirstSubmit_data()
    {
        QTest::addColumn<bool>("contact");
        QTest::addColumn<bool>("update");
        QTest::newRow("contact asked") << true << false;
        QTest::newRow("an update") << false << true;
        QTest::newRow("neither") << false << false;
    }

    void aResendCarriesTheMessageOfTheFirstSubmit()
    {
        QFETCH(bool, contact);
        QFETCH(bool, update);
        ProgramHome home(kStation);
        Capture capture;
        const QString name = SampleReport::saveReady(home.path(), 1).first();
        // The first Submit: the server takes the envelope and never answers; the session is given up.
        auto silent = Loopback::start(LoopbackServer::Mode::Silent);
        home.station().Prt = QString::number(silent->port());
        {
            ServerSession session(&home.station());
            ZelvatMsg record(home.path());
            QVERIFY(record.Load(name));
            QTimer::singleShot(1500, &session, [&] { session.cancel("no answer"); });
            QCOMPARE(Outbox::submitStored(record, home.station(), session, {contact, update}, {}),
                     Submission::Outcome::Cancelled);
        }
        QCOMPARE(OutboxFile(home.path()).choice(name), (OutboxFile::Choice{contact, update}));

        auto server = Loopback::start();
        home.station().Prt = QString::number(server->port());
        ServerSession session(&home.station());
        QCOMPARE(Outbox(home.path(), home.station()).sendReady(session, {}).sent, 1);
        QCOMPARE(server->received().left(server->received().indexOf("\r\nQUIT")), silent->received().chopped(2));
        QCOMPARE(server->received().contains("CNT=\\#252"), contact);
        QCOMPARE(server->received().contains(" -- UPDATE</AOSUB>"), update);
        QCOMPARE(OutboxFile(home.path()).choice(name), OutboxFile::Choice{}); // forgotten once it went out
    }

    void twoProgramsSendEachReportOnce()
    {
        // This program's outbox and a headless client's resend, at once over one folder.
        ProgramHome home(kStation);
        Capture capture;
        const QStringList names = SampleReport::saveReady(home.path(), 12);
        auto server = Loopback::start();
        home.station().Prt = QString::number(server->port());
        home.station().save();
        QProcess other;
        other.start(ZELVATCTS_CLI, {"--home", home.path(), "resend"});
        QTRY_VERIFY(server->connections() > 0); // the other one is sending
        ServerSession session(&home.station());
        const Outbox::Run run = Outbox(home.path(), home.station()).sendReady(session, {});
        QTRY_COMPARE_WITH_TIMEOUT(other.state(), QProcess::NotRunning, 60000);
        QCOMPARE(other.exitCode(), 0);
        QVERIFY2(run.sent > 0 && run.sent < 12, qPrintable(QString::number(run.sent))); // both took a share
        QStringList got = subjects(*server);
        QCOMPARE(got.size(), 12);
        got.removeDuplicates();
        QCOMPARE(got.size(), 12);
        QCOMPARE(SampleReport::states(home.path(), names), QList<int>(12, 9));
    }

    void outboxFile_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("automatic");
        QTest::addColumn<int>("first");
        QTest::addColumn<QString>("choices"); // NAME=CONTACT+UPDATE, ...
        QTest::addColumn<QString>("problem");

        QTest::newRow("missing: the defaults") << QByteArray() << true << 60 << "" << "";
        QTest::newRow("as written") << QByteArray("[OUTBOX]\r\nAutomatic=0\r\nFirstRetry=30\r\n[REPORTS]\r\nA=CONTACT\r\n"
                                                  "B=UPDATE\r\nC=CONTACT+UPDATE\r\nD=\r\n")
                                    << false << 30 << "A=10,B=01,C=11,D=00" << "";
        QTest::newRow("a name holding =") << QByteArray("[REPORTS]\r\nA=B=CONTACT\r\n") << true << 60 << "A=B=10" << "";
        QTest::newRow("nonsense passed over") << QByteArray("[OUTBOX]\r\nAutomatic=yes\r\nFirstRetry=5\r\n[REPORTS]\r\nA=MAYBE\r\nB=CONTACT\r\n")
                                              << true << 60 << "B=10" << "line 2 \"Automatic=yes\", line 3 \"FirstRetry=5\", line 5 \"A=MAYBE\"";
    }

    void outboxFile()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, automatic);
        QFETCH(int, first);
        QFETCH(QString, choices);
        QFETCH(QString, problem);
        ProgramHome home;
        OutboxFile file(home.path());
        if (!bytes.isEmpty())
            writeFile(file.path(), bytes);
        file.load();
        QCOMPARE(file.settings(), (OutboxFile::Settings{automatic, first}));
        for (const QString &c : choices.split(',', Qt::SkipEmptyParts)) {
            const QString flags = c.section('=', -1);
            QCOMPARE(file.choice(c.section('=', 0, -2)), (OutboxFile::Choice{flags[0] == '1', flags[1] == '1'}));
        }
        QCOMPARE(file.problem().section(": passed over ", 1), problem);

        // A change keeps what was there; the default choice takes its line out.
        QVERIFY(file.setChoice("N", {true, false}, nullptr));
        QVERIFY(OutboxFile(home.path()).problem().isEmpty()); // written anew, whole
        QCOMPARE(OutboxFile(home.path()).choice("N"), (OutboxFile::Choice{true, false}));
        QCOMPARE(OutboxFile(home.path()).settings(), (OutboxFile::Settings{automatic, first}));
        QVERIFY(file.setChoice("N", {}, nullptr));
        QVERIFY(!readFile(file.path()).contains("\r\nN="));
    }

    void retrySchedule_data()
    {
        QTest::addColumn<int>("first");
        QTest::addColumn<QString>("tries");      // F failed, S went well
        QTest::addColumn<QList<int>>("waits"); // seconds to the next try after each; 0 for none planned

        QTest::newRow("doubling up to 15 minutes") << 60 << "FFFFFFF" << QList<int>{60, 120, 240, 480, 900, 900, 900};
        QTest::newRow("the first interval again after a success") << 60 << "FFSF" << QList<int>{60, 120, 0, 60};
        QTest::newRow("a first interval of the preferences") << 400 << "FFF" << QList<int>{400, 800, 900};
    }

    void retrySchedule()
    {
        QFETCH(int, first);
        QFETCH(QString, tries);
        QFETCH(QList<int>, waits);
        RetrySchedule schedule;
        schedule.setFirstInterval(first);
        QDateTime now = ProgramHome::FixedNow;
        schedule.plan(now);
        QCOMPARE(now.secsTo(schedule.next()), first); // reports left Ready: the first try after the first interval
        for (qsizetype i = 0; i < tries.size(); ++i) {
            now = now.addSecs(1000);
            schedule.tried(tries[i] == 'S', now);
            QCOMPARE(schedule.next().isValid() ? now.secsTo(schedule.next()) : 0, waits[i]);
            QCOMPARE(schedule.due(now.addSecs(waits[i] - 1)), false);
            QCOMPARE(schedule.due(now.addSecs(waits[i])), waits[i] > 0);
        }
    }
};

QTEST_GUILESS_MAIN(TestLink)
#include "tst_link.moc"
