// The outbox below the windows, against a loopback message server: Ready reports go out in
// order and once each whatever the server does, with the choices of their first Submit; the
// outbox file and the retry schedule.

#include "common/Capture.h"
#include "common/Loopback.h"
#include "common/ProgramHome.h"
#include "common/SampleReport.h"
#include "link/Outbox.h"
#include "link/ServerSession.h"
#include "support/ZelvatLogLib.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTest>
#include <QTimer>

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

class TestOutbox : public QObject {
    Q_OBJECT

private slots:
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

QTEST_GUILESS_MAIN(TestOutbox)
#include "tst_outbox.moc"
