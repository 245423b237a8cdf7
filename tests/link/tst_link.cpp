// The message server link seen from outside: the bytes of subject, body and envelope, and real
// sessions over 127.0.0.1 against an in-process server — the bytes that reach it, the status
// texts and session-log lines in their order, and how the session ends when the server misbehaves.

#include "common/Capture.h"
#include "common/Loopback.h"
#include "link/MessageText.h"
#include "link/ServerSession.h"
#include "settings/ZelvatIni.h"
#include "support/DatetimeLib.h"
#include "store/ZelvatMsg.h"
#include "support/ZelvatLogLib.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>


class TestLink : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void body_data();
    void body();
    void subject();
    void wrapBody_data();
    void wrapBody();
    void envelope_data();
    void envelope();
    void checkReplyPrompts_data();
    void checkReplyPrompts();
    void promptAfterAFloodIsFound();
    void gpTimerIsCapped_data();
    void gpTimerIsCapped();

    void normalSession();
    void okSplitOverTwoPackets();
    void silentServerWaitsUntilCancelled();
    void droppedConnectionStillWaits();
    void refusedConnection();
    void badPortIsNamed();
    void secondSessionWaitsForItsOwnPrompt();
    void linkTestSendsRawPieces();
    void linkTestFailure();

private:
    ZelvatMsg record() const;
    QStringList logLines() const;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ZelvatIni> m_ini;
};

void TestLink::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QDir(m_dir->path()).mkpath("logs");
    m_ini = std::make_unique<ZelvatIni>(m_dir->path() + "/Zelvatcts.ini");
    DatetimeLib::setFixedNow(QDateTime(QDate(2026, 1, 15), QTime(14, 32)));
    ZelvatLogLib::SetupLog(m_dir->path(), false);
}

void TestLink::cleanup()
{
    ZelvatLogLib::resetLog();
    DatetimeLib::setFixedNow({});
}

QStringList TestLink::logLines() const
{
    QStringList lines;
    for (const QByteArray &l : readFile(ZelvatLogLib::logPath()).split('\n')) {
        if (!l.isEmpty())
            lines << QString::fromLatin1(l.mid(20)).trimmed(); // after "15-Jan-26 14:32:00: "
    }
    return lines;
}

ZelvatMsg TestLink::record() const
{
    ZelvatMsg r(m_dir->path());
    r.setTYP("MED");
    r.setMID("0042");
    r.setEID("0042");
    r.setAD1("12 Oak St");
    r.setCTY("Springfield");
    r.setRPN("J. Smith");
    r.setRPP("555-0100");
    r.setISS("Fall");
    r.setDTL("Slipped on stairs");
    r.setAGE("70");
    r.setGDR("M");
    r.setCON(1);
    r.setBRE(1);
    r.setLAS("Lobby");
    r.setULO("EOC");
    r.setUID("ST1");
    r.setADT("240115");
    r.setATM("1432");
    return r;
}

// --- message text ---------------------------------------------------------------------------

void TestLink::body_data()
{
    QTest::addColumn<QString>("typ");
    QTest::addColumn<QStringList>("changes"); // KEY=value applied to the sample record
    QTest::addColumn<bool>("contact");
    QTest::addColumn<QString>("detl");      // the DETL line expected
    QTest::addColumn<QStringList>("present"); // whole lines that must be there
    QTest::addColumn<QStringList>("absent");  // line starts that must not

    QTest::newRow("medical with contact, the example")
        << "MED" << QStringList{} << true
        << "DETL=Fall -- Slipped on stairs -- AGE: 70, M, C+ B+\\nLast Seen:Lobby -- Call Loc:EOC"
        << QStringList{"TYPE=MED", "LOC1=12 Oak St, Springfield", "RPNA=J. Smith", "RPPH=555-0100", "CNT=\\#252",
                       "DEVD=ST1", "DATM=240115 1432"}
        << QStringList{"LOC2=", "RPAD="};
    QTest::newRow("empty issue hides the details")
        << "MED" << QStringList{"ISS=", "CON=-1", "BRE=0"} << false
        << "DETL= -- AGE: 70, M, B-\\nLast Seen:Lobby -- Call Loc:EOC" << QStringList{} << QStringList{"CNT="};
    QTest::newRow("law with blank descriptions")
        << "LAW" << QStringList{"ISS=", "PDE=  ", "WEA="} << false
        << "DETL= -- and no other details.\\nLast Seen:Lobby -- Call Loc:EOC" << QStringList{} << QStringList{};
    QTest::newRow("vehicle without plate and state")
        << "LAW" << QStringList{"VDE=Red van", "DOT=North"} << false
        << "DETL=Fall -- Slipped on stairs -- DoT: North -- Veh Desc: Red van -- Lic:  -- St: \\nLast Seen:Lobby -- Call Loc:EOC"
        << QStringList{} << QStringList{};
    QTest::newRow("fire, people trapped, second location and address")
        << "FIRE" << QStringList{"PIN=Two", "AD2=Rear", "RPA=1 Elm"} << false
        << "DETL=Fall -- Slipped on stairs -- People Trapped: Two\\nLast Seen:Lobby -- Call Loc:EOC"
        << QStringList{"LOC2=Rear", "RPAD=1 Elm"} << QStringList{};
    QTest::newRow("several types in fixed order")
        << "LAW+FIRE+MED" << QStringList{"PIN=No", "WEA=Knife"} << false
        << "DETL=Fall -- Slipped on stairs -- AGE: 70, M, C+ B+ -- People Trapped: No -- Weapons: Knife\\nLast Seen:Lobby -- Call Loc:EOC"
        << QStringList{} << QStringList{};
    QTest::newRow("local government adds nothing")
        << "LGOV" << QStringList{"ISS="} << false << "DETL= -- and no other details.\\nLast Seen:Lobby -- Call Loc:EOC"
        << QStringList{} << QStringList{};
}

void TestLink::body()
{
    QFETCH(QString, typ);
    QFETCH(QStringList, changes);
    QFETCH(bool, contact);
    QFETCH(QString, detl);
    QFETCH(QStringList, present);
    QFETCH(QStringList, absent);
    ZelvatMsg r = record();
    r.setTYP(typ);
    for (const QString &c : changes) {
        const QString key = c.section('=', 0, 0);
        const QString value = c.section('=', 1);
        const auto k = *std::find_if(ZelvatMsg::allKeys().begin(), ZelvatMsg::allKeys().end(),
                                     [&](ZelvatMsg::Key x) { return ZelvatMsg::keyName(x) == key; });
        if (ZelvatMsg::isIntegerKey(k))
            r.setNumber(k, qint16(value.toInt()));
        else
            r.setText(k, value);
    }
    const QString body = MessageText::BuildBody(r, contact);
    QVERIFY(body.endsWith("\r\nEVNT=0042"));
    const QStringList lines = body.split("\r\n");
    QVERIFY2(lines.contains(detl), qPrintable(body));
    QCOMPARE(lines.first(), "TYPE=" + typ);
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

void TestLink::subject()
{
    ZelvatMsg r = record();
    QCOMPARE(MessageText::BuildSubject(r, false), QString("0042 / MED / Springfield"));
    QCOMPARE(MessageText::BuildSubject(r, true), QString("0042 / MED / Springfield -- UPDATE"));
    ZelvatMsg empty(m_dir->path());
    QCOMPARE(MessageText::BuildSubject(empty, false), QString(" /  / "));
}

void TestLink::wrapBody_data()
{
    QTest::addColumn<QString>("body");
    QTest::addColumn<QString>("wrapped");
    const QString a77(77, 'a'), b2(2, 'b');
    QTest::newRow("78 kept") << QString(78, 'x') << QString(78, 'x');
    QTest::newRow("79 folded") << a77 + b2 << a77 + "=\r\n" + b2;
    QTest::newRow("154 ends with soft break") << a77 + a77 << a77 + "=\r\n" + a77 + "=";
    QTest::newRow("lines and empty line") << "A\r\n\r\nB" << "A\r\n\r\nB";
    QTest::newRow("trailing breaks stripped") << "A\r\n\r\n" << "A";
    QTest::newRow("equals not escaped") << "K=v=w" << "K=v=w";
    QTest::newRow("lone LF joins") << "A\nB\r\nC" << "AB\r\nC";
}

void TestLink::wrapBody()
{
    QFETCH(QString, body);
    QFETCH(QString, wrapped);
    QCOMPARE(MessageText::WrapBody(body), wrapped);
}

void TestLink::envelope_data()
{
    QTest::addColumn<QString>("enc");
    QTest::addColumn<QString>("declared");
    QTest::newRow("BASE64") << "BASE64" << "<ENCOD>BASE64</ENCOD>";
    QTest::newRow("NONE") << "NONE" << "<ENCOD>NONE</ENCOD>";
    QTest::newRow("Base64 is not BASE64") << "Base64" << "<ENCOD>NONE</ENCOD>";
    QTest::newRow("empty") << "" << "<ENCOD>NONE</ENCOD>";
}

void TestLink::envelope()
{
    QFETCH(QString, enc);
    QFETCH(QString, declared);
    QCOMPARE(MessageText::BuildEnvelope("B\r\nC", "S", enc),
             "<AOAON>ZELVAT</AOAON><AOSUB>S</AOSUB><AOMSG>B\r\nC</AOMSG><AOURG>TRUE</AOURG><AOTYP>PVT</AOTYP>" + declared
                 + "!/ADDON!");
    QCOMPARE(MessageText::BuildEnvelope("", "", enc),
             "<AOAON>ZELVAT</AOAON><AOSUB></AOSUB><AOMSG></AOMSG><AOURG>TRUE</AOURG><AOTYP>PVT</AOTYP>" + declared + "!/ADDON!");
}

void TestLink::checkReplyPrompts_data()
{
    QTest::addColumn<int>("prompt");
    QTest::addColumn<QStringList>("chunks");
    QTest::addColumn<bool>("reply");
    QTest::newRow("OK> whole") << 2 << QStringList{"hello OK>\r\n"} << true;
    QTest::newRow("OK> split") << 2 << QStringList{"O", "K>"} << true;
    QTest::newRow("OK> split thrice") << 2 << QStringList{"xxO", "K", ">"} << true;
    QTest::newRow("ok> lower case") << 2 << QStringList{"ok>"} << false;
    QTest::newRow("NOMORE> in state 2") << 2 << QStringList{"NOMORE>"} << false;
    QTest::newRow("list end") << 4 << QStringList{"...!/ICS", "213!"} << true;
    QTest::newRow("no more") << 4 << QStringList{"NOMO", "RE>"} << true;
    QTest::newRow("OK> in state 4") << 4 << QStringList{"OK>"} << false;
    QTest::newRow("quitting") << 5 << QStringList{"QUITI", "NG>"} << true;
    QTest::newRow("state 0 ignores all") << 0 << QStringList{"OK> NOMORE> QUITING>"} << false;
}

void TestLink::checkReplyPrompts()
{
    QFETCH(int, prompt);
    QFETCH(QStringList, chunks);
    QFETCH(bool, reply);
    ServerSession session(m_ini.get());
    session.setPromptState(prompt);
    for (const QString &c : chunks)
        session.CheckReply(c);
    QCOMPARE(session.replyFlag(), reply);
    QCOMPARE(session.receiveBuffer(), chunks.join(QString()));
}

void TestLink::promptAfterAFloodIsFound()
{
    ServerSession session(m_ini.get());
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

void TestLink::gpTimerIsCapped_data()
{
    QTest::addColumn<int>("asked");
    QTest::addColumn<int>("armed");
    QTest::newRow("within") << 5000 << 5000;
    QTest::newRow("the cap") << 65535 << 65535;
    QTest::newRow("above the cap") << 70000 << 65535;
    QTest::newRow("negative") << -5 << 0;
}

void TestLink::gpTimerIsCapped()
{
    QFETCH(int, asked);
    QFETCH(int, armed);
    ServerSession session(m_ini.get());
    session.StartGpTimer(asked);
    QVERIFY(session.gpTimerRunning());
    QCOMPARE(session.gpTimerInterval(), armed);
}

// --- sessions -------------------------------------------------------------------------------

void TestLink::normalSession()
{
    auto server = Loopback::start(LoopbackServer::Mode::Normal);
    m_ini->Prt = QString::number(server->port());
    ServerSession session(m_ini.get());
    QStringList statuses;
    connect(&session, &ServerSession::status, [&](const QString &s) { statuses << s; });
    const QString envelope = MessageText::BuildEnvelope("TYPE=MED\r\nEVNT=1", "S1", "NONE");
    QVERIFY(session.SeqTndirect(envelope, "S1"));
    QVERIFY(!session.busy());
    QTRY_COMPARE(server->received(), QByteArray(envelope.toLatin1() + "\r\nQUIT\r\n"));
    QCOMPARE(statuses, (QStringList{"Trying to Connect...", "Trying to Connect... connected!", "Sending message...",
                                    "Sending message... sent", "Disconnecting... ", "Zelvat Call Taking Ready"}));
    QCOMPARE(logLines(), (QStringList{"Msg2Tndirect: " + QString(envelope).remove("\r\n"),
                                      "***WinSend: sent " + QString(envelope).remove("\r\n"),
                                      "SendMessage: Sent message titled: S1", "SendMessage: END", "***WinSend: sent QUIT"}));
}

void TestLink::okSplitOverTwoPackets()
{
    auto server = Loopback::start(LoopbackServer::Mode::Split);
    m_ini->Prt = QString::number(server->port());
    ServerSession session(m_ini.get());
    QVERIFY(session.SeqTndirect("<AOAON>ZELVAT</AOAON>!/ADDON!", "S"));
    QTRY_VERIFY(server->received().endsWith("QUIT\r\n"));
}

void TestLink::silentServerWaitsUntilCancelled()
{
    auto server = Loopback::start(LoopbackServer::Mode::Silent);
    m_ini->Prt = QString::number(server->port());
    ServerSession session(m_ini.get());
    QStringList statuses;
    connect(&session, &ServerSession::status, [&](const QString &s) { statuses << s; });
    bool waitingAfterBound = false;
    QTimer::singleShot(1500, &session, [&] {
        waitingAfterBound = session.busy() && !session.replyFlag() && statuses.last() == "Sending message...";
        session.cancel("test over");
    });
    QVERIFY(!session.SeqTndirect("E!/ADDON!", "S"));
    QVERIFY(waitingAfterBound);
    QVERIFY(!session.busy());
    QCOMPARE(statuses.mid(statuses.size() - 3),
             (QStringList{"SendMessages: Lost connection", "Disconnecting... ", "Disconnecting, error during Sending messages"}));
    QVERIFY(logLines().contains("Session aborted: test over"));
    QVERIFY(logLines().contains("SendMessage: Lost connection when sending message 'S'"));
}

void TestLink::droppedConnectionStillWaits()
{
    // A server that takes the envelope and hangs up has not accepted it: the session waits for
    // "OK>" (the window stays live) until its owner gives up.
    auto server = Loopback::start(LoopbackServer::Mode::Drop);
    m_ini->Prt = QString::number(server->port());
    ServerSession session(m_ini.get());
    bool waiting = false;
    QTimer::singleShot(800, &session, [&] {
        waiting = session.busy();
        session.cancel("gave up");
    });
    QVERIFY(!session.SeqTndirect("E!/ADDON!", "S"));
    QVERIFY(waiting);
}

void TestLink::refusedConnection()
{
    const quint16 serverPort = Loopback::refusedPort();
    m_ini->Prt = QString::number(serverPort);
    m_ini->Nto = 3000;
    ServerSession session(m_ini.get());
    QStringList statuses;
    connect(&session, &ServerSession::status, [&](const QString &s) { statuses << s; });
    QVERIFY(!session.SeqTndirect("E!/ADDON!", "S"));
    QCOMPARE(statuses, (QStringList{"Trying to Connect...", "Trying to Connect... failed", "Disconnecting... ",
                                    "Disconnecting, error during Connect"}));
    QCOMPARE(logLines(), QStringList{"Connection Failed"});
}

void TestLink::badPortIsNamed()
{
    Capture capture;
    m_ini->Prt = "93x4";
    ServerSession session(m_ini.get());
    QVERIFY(!session.SeqTndirect("E", "S"));
    QCOMPARE(capture.notices.size(), 1);
    QVERIFY(capture.notices[0].text.contains("\"93x4\""));
}

void TestLink::secondSessionWaitsForItsOwnPrompt()
{
    auto good = Loopback::start(LoopbackServer::Mode::Normal);
    m_ini->Prt = QString::number(good->port());
    ServerSession session(m_ini.get());
    QVERIFY(session.SeqTndirect("A!/ADDON!", "A"));
    // The same session against a server that never answers: the prompt of the first must not count.
    auto silent = Loopback::start(LoopbackServer::Mode::Silent);
    m_ini->Prt = QString::number(silent->port());
    QTimer::singleShot(700, &session, [&] { session.cancel("test over"); });
    QVERIFY(!session.SeqTndirect("B!/ADDON!", "B"));
    QCOMPARE(silent->connections(), 1);
}

void TestLink::linkTestSendsRawPieces()
{
    auto server = Loopback::start(LoopbackServer::Mode::Silent);
    m_ini->Prt = QString::number(server->port());
    ServerSession session(m_ini.get());
    QStringList statuses;
    connect(&session, &ServerSession::status, [&](const QString &s) { statuses << s; });
    const QString text(120, 'T');
    QVERIFY(session.TndirectTest(text));
    QTRY_COMPARE(server->received(), text.toLatin1()); // no line break added
    QCOMPARE(statuses, (QStringList{"Passing Test message...", "Passing message... sent"}));
    QCOMPARE(logLines(), QStringList{"Link Test with Tndirect... passed (127.0.0.1:" + m_ini->Prt + ")"});
}

void TestLink::linkTestFailure()
{
    const quint16 serverPort = Loopback::refusedPort();
    m_ini->Prt = QString::number(serverPort);
    ServerSession session(m_ini.get());
    QVERIFY(!session.TndirectTest("x"));
    QCOMPARE(logLines(), QStringList{"Link Test with Tndirect... failed (127.0.0.1:" + m_ini->Prt + ")"});
}

QTEST_GUILESS_MAIN(TestLink)
#include "tst_link.moc"
