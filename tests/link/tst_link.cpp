// The message server link seen from outside: the bytes of subject, body and envelope, the
// submission check, and real sessions over 127.0.0.1 against the loopback server — the bytes
// that reach it, the status texts and session-log lines in their order, and how a session ends
// when the server misbehaves.

#include "common/Capture.h"
#include "common/Loopback.h"
#include "common/ProgramHome.h"
#include "common/SampleReport.h"
#include "link/MessageText.h"
#include "link/RequiredFields.h"
#include "link/ServerSession.h"
#include "support/ZelvatLogLib.h"

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

// --- message text ---------------------------------------------------------------------------

// --- sessions -------------------------------------------------------------------------------

static const QString kEnvelope = MessageText::BuildEnvelope("TYPE=MED\r\nEVNT=1", "S1", "NONE");

class TestLink : public QObject {
    Q_OBJECT

private slots:
    void body_data()
    {
        QTest::addColumn<QStringList>("changes"); // KEY=value applied to the sample call
        QTest::addColumn<bool>("contact");
        QTest::addColumn<QString>("detl");        // the DETL line expected
        QTest::addColumn<QStringList>("present"); // whole lines that must be there
        QTest::addColumn<QStringList>("absent");  // line starts that must not

        QTest::newRow("medical with contact, the example")
            << QStringList{} << true << "DETL=Fall -- Slipped on stairs -- AGE: 70, M, C+ B+\\nLast Seen:Lobby -- Call Loc:EOC"
            << QStringList{"TYPE=MED", "LOC1=12 Oak St, Springfield", "RPNA=J. Smith", "RPPH=555-0100", "CNT=\\#252",
                           "DEVD=ST1", "DATM=240115 1432"}
            << QStringList{"LOC2=", "RPAD="};
        QTest::newRow("empty issue hides the details")
            << QStringList{"ISS=", "CON=-1", "BRE=0"} << false << "DETL= -- AGE: 70, M, B-\\nLast Seen:Lobby -- Call Loc:EOC"
            << QStringList{} << QStringList{"CNT="};
        QTest::newRow("law with blank descriptions")
            << QStringList{"TYP=LAW", "ISS=", "PDE=  ", "WEA="} << false
            << "DETL= -- and no other details.\\nLast Seen:Lobby -- Call Loc:EOC" << QStringList{"TYPE=LAW"} << QStringList{};
        QTest::newRow("vehicle without plate and state")
            << QStringList{"TYP=LAW", "VDE=Red van", "DOT=North"} << false
            << "DETL=Fall -- Slipped on stairs -- DoT: North -- Veh Desc: Red van -- Lic:  -- St: \\nLast Seen:Lobby -- Call Loc:EOC"
            << QStringList{} << QStringList{};
        QTest::newRow("fire, people trapped, second location and address")
            << QStringList{"TYP=FIRE", "PIN=Two", "AD2=Rear", "RPA=1 Elm"} << false
            << "DETL=Fall -- Slipped on stairs -- People Trapped: Two\\nLast Seen:Lobby -- Call Loc:EOC"
            << QStringList{"LOC2=Rear", "RPAD=1 Elm"} << QStringList{};
        QTest::newRow("several types in fixed order")
            << QStringList{"TYP=LAW+FIRE+MED", "PIN=No", "WEA=Knife"} << false
            << "DETL=Fall -- Slipped on stairs -- AGE: 70, M, C+ B+ -- People Trapped: No -- Weapons: Knife\\nLast Seen:Lobby -- Call Loc:EOC"
            << QStringList{} << QStringList{};
    }

    void body()
    {
        QFETCH(QStringList, changes);
        QFETCH(bool, contact);
        QFETCH(QString, detl);
        QFETCH(QStringList, present);
        QFETCH(QStringList, absent);
        ProgramHome home;
        const ZelvatMsg r = callRecord(home, changes);
        const QString body = MessageText::BuildBody(r, contact);
        QVERIFY(body.endsWith("\r\nEVNT=0042"));
        const QStringList lines = body.split("\r\n");
        QVERIFY2(lines.contains(detl), qPrintable(body));
        for (const QString &p : present)
            QVERIFY2(lines.contains(p), qPrintable(p));
        for (const QString &a : absent)
            QVERIFY(std::none_of(lines.begin(), lines.end(), [&](const QString &l) { return l.startsWith(a); }));
        // The lines keep their order.
        QStringList keys;
        for (const QString &l : lines)
            keys << l.section('=', 0, 0);
        QStringList expectedOrder = {"TYPE", "LOC1", "LOC2", "RPNA", "RPAD", "RPPH", "CNT", "DETL", "DEVD", "DATM", "EVNT"};
        for (auto it = expectedOrder.begin(); it != expectedOrder.end();)
            it = keys.contains(*it) ? it + 1 : expectedOrder.erase(it);
        QCOMPARE(keys, expectedOrder);
    }

    void subject()
    {
        ProgramHome home;
        QCOMPARE(MessageText::BuildSubject(callRecord(home, {}), false), QString("0042 / MED / Springfield"));
        QCOMPARE(MessageText::BuildSubject(callRecord(home, {"TYP=LAW+LGOV"}), true), QString("0042 / LAW+LGOV / Springfield -- UPDATE"));
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
        QTest::newRow("lone LF joins") << "A\nB\r\nC" << "AB\r\nC";
    }

    void wrapBody()
    {
        QFETCH(QString, body);
        QFETCH(QString, wrapped);
        QCOMPARE(MessageText::WrapBody(body), wrapped);
    }

    void envelope_data()
    {
        QTest::addColumn<QString>("enc");
        QTest::addColumn<QString>("declared");
        QTest::newRow("BASE64") << "BASE64" << "<ENCOD>BASE64</ENCOD>";
        QTest::newRow("NONE") << "NONE" << "<ENCOD>NONE</ENCOD>";
        QTest::newRow("Base64 is not BASE64") << "Base64" << "<ENCOD>NONE</ENCOD>";
    }

    void envelope()
    {
        QFETCH(QString, enc);
        QFETCH(QString, declared);
        QCOMPARE(MessageText::BuildEnvelope("B\r\nC", "S", enc),
                 "<AOAON>ZELVAT</AOAON><AOSUB>S</AOSUB><AOMSG>B\r\nC</AOMSG><AOURG>TRUE</AOURG><AOTYP>PVT</AOTYP>" + declared
                     + "!/ADDON!");
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
        QTest::newRow("a contact request needs an address or a phone") << QStringList{"RPP="} << true
                                                                       << QStringList{"RPA", "RPP"};
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
        for (const RequiredFields::Failure &f : RequiredFields::check(callRecord(home, changes), contact)) {
            got << f.key;
            QCOMPARE(f.target == RequiredFields::Target::Box, f.box != nullptr);
            QVERIFY(!f.name.isEmpty());
        }
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
        QTest::newRow("NOMORE> while waiting for OK>") << 2 << QStringList{"NOMORE>"} << false;
        QTest::newRow("list end") << 4 << QStringList{"...!/ICS", "213!"} << true;
        QTest::newRow("no more") << 4 << QStringList{"NOMO", "RE>"} << true;
        QTest::newRow("quitting") << 5 << QStringList{"QUITI", "NG>"} << true;
        QTest::newRow("no prompt awaited") << 0 << QStringList{"OK> NOMORE> QUITING>"} << false;
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
        QCOMPARE(session.receiveBuffer(), chunks.join(QString()));
    }

    void promptAfterAFloodIsFound()
    {
        ProgramHome home;
        ServerSession session(&home.station());
        session.setPromptState(ServerSession::PromptOk);
        const QString block(64 * 1024, 'x');
        for (int i = 0; i < 160; ++i) // 10 MB in 64 kB pieces
            session.CheckReply(block);
        QVERIFY(!session.replyFlag());
        QVERIFY(session.receiveBuffer().size() <= 2 * 1024 * 1024); // only the end is kept
        session.CheckReply("O");
        session.CheckReply("K>");
        QVERIFY(session.replyFlag());
    }

    void sessions_data()
    {
        QTest::addColumn<int>("mode");        // the server's; -1: nobody listens, -2: a port that is no number
        QTest::addColumn<bool>("sent");
        QTest::addColumn<QStringList>("statuses"); // the last status texts
        QTest::addColumn<QStringList>("log");      // session-log lines, in order (a part of them)

        const QString flat = QString(kEnvelope).remove("\r\n");
        const QStringList good = {"Trying to Connect...", "Trying to Connect... connected!", "Sending message...",
                                  "Sending message... sent", "Disconnecting... ", "Zelvat Call Taking Ready"};
        const QStringList lost = {"SendMessages: Lost connection", "Disconnecting... ",
                                  "Disconnecting, error during Sending messages"};
        QTest::newRow("normal") << int(LoopbackServer::Mode::Normal) << true << good
                                << QStringList{"Msg2Tndirect: " + flat, "***WinSend: sent " + flat,
                                               "SendMessage: Sent message titled: S1", "SendMessage: END", "***WinSend: sent QUIT"};
        QTest::newRow("OK> in two packets") << int(LoopbackServer::Mode::Split) << true << good << QStringList{};
        QTest::newRow("silent: waits until cancelled") << int(LoopbackServer::Mode::Silent) << false << lost
                                                       << QStringList{"Session aborted: test over",
                                                                      "SendMessage: Lost connection when sending message 'S1'"};
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
        if (mode >= 0) {
            server = Loopback::start(LoopbackServer::Mode(mode));
            home.station().Prt = QString::number(server->port());
        } else {
            home.station().Prt = mode == -1 ? QString::number(Loopback::refusedPort()) : QStringLiteral("93x4");
        }
        ServerSession session(&home.station());
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

    void secondSessionWaitsForItsOwnPrompt()
    {
        ProgramHome home;
        auto good = Loopback::start(LoopbackServer::Mode::Normal);
        home.station().Prt = QString::number(good->port());
        ServerSession session(&home.station());
        QVERIFY(session.SeqTndirect("A!/ADDON!", "A"));
        // The same session against a server that never answers: the prompt of the first must not count.
        auto silent = Loopback::start(LoopbackServer::Mode::Silent);
        home.station().Prt = QString::number(silent->port());
        QTimer::singleShot(700, &session, [&] { session.cancel("test over"); });
        QVERIFY(!session.SeqTndirect("B!/ADDON!", "B"));
        QCOMPARE(silent->connections(), 1);
    }

    void linkTest_data()
    {
        QTest::addColumn<bool>("listening");
        QTest::newRow("passes against a server that ignores the text") << true;
        QTest::newRow("fails where nobody listens") << false;
    }

    void linkTest()
    {
        QFETCH(bool, listening);
        ProgramHome home;
        ZelvatLogLib::SetupLog(home.path(), false);
        auto server = Loopback::start(LoopbackServer::Mode::Silent);
        home.station().Prt = QString::number(listening ? server->port() : Loopback::refusedPort());
        ServerSession session(&home.station());
        QStringList statuses;
        connect(&session, &ServerSession::status, [&](const QString &s) { statuses << s; });
        const QString text(120, 'T');
        QCOMPARE(session.TndirectTest(text), listening);
        const QString result = listening ? "passed" : "failed";
        QCOMPARE(statuses, (QStringList{"Passing Test message...", "Passing message... " + QString(listening ? "sent" : "failed")}));
        QCOMPARE(logLines(), QStringList{"Link Test with Tndirect... " + result + " (127.0.0.1:" + home.station().Prt + ")"});
        if (listening)
            QTRY_COMPARE(server->received(), text.toLatin1()); // in pieces, no line break added
    }

private:
    QStringList logLines() const;
};

QStringList TestLink::logLines() const
{
    QStringList lines;
    for (const QByteArray &l : readFile(ZelvatLogLib::logPath()).split('\n')) {
        if (!l.isEmpty())
            lines << QString::fromLatin1(l.mid(20)).trimmed(); // after "16-Nov-26 14:05:00: "
    }
    return lines;
}

QTEST_GUILESS_MAIN(TestLink)
#include "tst_link.moc"
