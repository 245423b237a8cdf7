// Never lose a call, in the windows: the report form lets its kept input go only when it is saved
// or given up; the main window offers what was kept, also of a program killed while it wrote; its outbox sends the Ready reports by itself
// and on demand, one session at a time, its settings in a file of their own. When the input is
// due to be kept is the recovery suite's.

#include "app/OutboxControl.h"
#include "app/frmZelvatmain.h"
#include "common/Capture.h"
#include "common/SampleReport.h"
#include "common/WindowHome.h"
#include "link/ServerSession.h"
#include "report_form/frmZelvatcts.h"
#include "store/FormRecovery.h"
#include "support/DatetimeLib.h"

#include <QDir>
#include <QMap>
#include <QProcess>
#include <QProgressDialog>
#include <QtTest/qtestspontaneevent.h>

#include <csignal>

using Answer = WindowHome::Answer;

namespace {

QString kept(const WindowHome &home, const QString &name)
{
    const auto input = FormRecovery::read(home.path(), name, nullptr);
    return input ? input->record.rawText(ZelvatMsg::Key::ISS) : QStringLiteral("(none)");
}

// A new report that can be submitted: local government, every required box typed.
frmZelvatcts *typeReport(WindowHome &home)
{
    frmZelvatcts *f = home.openForm("NEW");
    QTest::mouseClick(f->cmdRtype[3], Qt::LeftButton);
    const std::pair<int, const char *> typed[] = {{0, "Tree down"}, {1, "12 Oak St"}, {8, "Springfield"},
                                                  {3, "Jo"},        {6, "14:00"},     {7, "Across the road"}};
    for (const auto &[i, text] : typed)
        QTest::keyClicks(f->txtHeader[i], text);
    return f;
}

void setClock(const char *at)
{
    DatetimeLib::setFixedNow(QDateTime(ProgramHome::FixedNow.date(), QTime::fromString(at)));
}

} // namespace

class TestCallsKept : public QObject {
    Q_OBJECT

private slots:
    void keptUntilSavedOrGivenUp_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<bool>("stays");
        QTest::newRow("Save") << "save" << false;
        QTest::newRow("Delete") << "delete" << false;
        QTest::newRow("Submit, sent") << "submit" << false;
        QTest::newRow("Submit, not sent: saved as Ready") << "submit refused" << false;
        QTest::newRow("Close") << "close" << false;
        QTest::newRow("Escape") << "escape" << false;
        QTest::newRow("the window's close box") << "close box" << false;
        QTest::newRow("the program closing: the last key kept too") << "program" << true;
    }

    void keptUntilSavedOrGivenUp()
    {
        QFETCH(QString, action);
        QFETCH(bool, stays);
        WindowHome home;
        Capture capture;
        action == "submit refused" ? home.refuse() : (void)home.serve();
        QPointer<frmZelvatcts> f = typeReport(home);
        const QString name = f->eventNumber();
        DatetimeLib::setFixedNow(ProgramHome::FixedNow.addSecs(1));
        QTRY_COMPARE(kept(home, name), QString("Tree down")); // the form keeps what is typed by itself
        QTest::keyClicks(f->txtHeader[0], "s");               // not due yet when the action comes

        const std::map<QString, QPushButton *> buttons{
            {"save", f->cmdSave}, {"delete", f->cmdDelete}, {"submit", f->cmdSubmit}, {"submit refused", f->cmdSubmit}, {"close", f->cmdClose}};
        if (buttons.count(action))
            QTest::mouseClick(buttons.at(action), Qt::LeftButton);
        else if (action == "escape")
            QTest::keyClick(f->txtHeader[2], Qt::Key_Escape);
        else if (action == "close box") {
            QCloseEvent e;
            QSpontaneKeyEvent::setSpontaneous(&e);
            qApp->notify(f, &e); // as the window system sends it: spontaneous
        } else {
            f->close(); // as the main window closes it
        }
        QCOMPARE(kept(home, name), stays ? QString("Tree downs") : QString("(none)"));
        if (action == "submit refused") { // the form stays open, Ready: what is typed now is kept again
            QVERIFY(f && f->isVisible());
            QTest::keyClicks(f->txtHeader[0], "x");
            DatetimeLib::setFixedNow(ProgramHome::FixedNow.addSecs(5));
            QTRY_COMPARE(kept(home, name), QString("Tree downsx"));
            QCOMPARE(FormRecovery::read(home.path(), name, nullptr)->record.AST(), qint16(2));
        }
    }

    void offeredAtStart_data()
    {
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("formOpen");
        QTest::addColumn<QStringList>("leftInFolder");
        QTest::newRow("Restore") << int(Answer::Restore) << true << QStringList{"R.rec"};
        QTest::newRow("Discard") << int(Answer::Discard) << false << QStringList{};
        QTest::newRow("Later") << int(Answer::Later) << false << QStringList{"R.rec"};
    }

    void offeredAtStart()
    {
        QFETCH(int, answer);
        QFETCH(bool, formOpen);
        QFETCH(QStringList, leftInFolder);
        WindowHome home;
        Capture capture;
        FormRecovery::Input input(home.path());
        input.record = SampleReport::make(home.path(), 0, 1);
        input.written = ProgramHome::FixedNow;
        QVERIFY(FormRecovery::write(home.path(), "R", input, nullptr));
        QVERIFY(FormRecovery::write(home.path(), "OPEN", input, nullptr));
        FormRecovery::Claim elsewhere(home.path(), "OPEN"); // a form still open in another program
        writeFile(FormRecovery::pathFor(home.path(), "BAD"), "[FORM RECOVERY]\r\nhalf");

        QStringList asked;
        auto w = home.startMainWindow(true, [&](const QString &q) {
            asked << q;
            return Answer(answer);
        });
        QCOMPARE(asked, QStringList{FormRecovery::offerText(input)});
        QCOMPARE(frmZelvatcts::current() != nullptr && frmZelvatcts::current()->isVisible(), formOpen);
        // The unreadable one is named and put aside; the other program's is not touched.
        QCOMPARE(capture.notices.size(), 1);
        QVERIFY2(capture.notices[0].text.contains("BAD.rec, cannot be read: it was cut short")
                     && capture.notices[0].text.contains("BAD.rec.bad; nothing was deleted"),
                 qPrintable(capture.notices[0].text));
        const QStringList files = QDir(FormRecovery::folder(home.path())).entryList({"*.rec", "*.bad"}, QDir::Files, QDir::Name);
        QCOMPARE(files, QStringList({"BAD.rec.bad", "OPEN.rec"}) + leftInFolder);
    }

    void outboxRetriesByItself()
    {
        WindowHome home;
        Capture capture;
        const QStringList names = SampleReport::saveReady(home.path(), 2);
        home.refuse();
        auto w = home.startMainWindow(true);
        OutboxControl *outbox = w->outbox();
        QCOMPARE(outbox->sbrOutbox->text(), QString("Outbox: 2 Ready, next try 14:06:00"));
        for (const char *at : {"14:06:00", "14:07:00"}) { // the server is down: 60 s, then 120 s
            setClock(at);
            outbox->tick();
        }
        QCOMPARE(outbox->sbrOutbox->text(),
                 QString("Outbox: 2 Ready, next try 14:09:00 -- last run: 0 of 2 sent, the server did not take them"));
        QCOMPARE(SampleReport::states(home.path(), names), (QList<int>{2, 2}));

        LoopbackServer &server = home.serve();
        w->station().Prt = home.station().Prt;
        setClock("14:09:00");
        outbox->tick();
        QCOMPARE(SampleReport::states(home.path(), names), (QList<int>{9, 9}));
        QCOMPARE(server.messages(), 2);
        QCOMPARE(outbox->sbrOutbox->text(), QString("Outbox: no report waiting -- last run: 2 of 2 sent"));
        QVERIFY(capture.notices.isEmpty()); // the automatic runs say it in the panel only
        outbox->setSettings({false, 30}); // as the preferences give them: kept in the outbox file
        QCOMPARE(OutboxFile(home.path()).settings(), (OutboxFile::Settings{false, 30}));
        QVERIFY(!readFile(home.stationPath()).contains("Retry")); // not in the station file
    }

    void sendReadyCanBeCancelled()
    {
        WindowHome home;
        Capture capture;
        const QStringList names = SampleReport::saveReady(home.path(), 2);
        LoopbackServer &server = home.serve(LoopbackServer::Mode::Silent);
        auto w = home.startMainWindow(true);
        QString during;
        QTimer::singleShot(1500, [&] {
            auto *dialog = w->findChild<QProgressDialog *>("dlgSendReady");
            QVERIFY(dialog && dialog->isVisible());
            during = dialog->labelText() + " | " + w->outbox()->cmdSendReady->text();
            QTest::keyClick(dialog, Qt::Key_Escape); // cancel from the keyboard
        });
        QTest::mouseClick(w->outbox()->cmdSendReady, Qt::LeftButton);
        QCOMPARE(during, "Sending " + names[0] + " (1 of 2)... | Stop Sending");
        QCOMPARE(server.messages(), 1); // the second was never tried
        QCOMPARE(SampleReport::states(home.path(), names), (QList<int>{2, 2}));
        QCOMPARE(w->outbox()->cmdSendReady->text(), QString("Send Ready Reports"));
        QVERIFY(w->outbox()->sbrOutbox->text().endsWith("last run: 0 of 2 sent, stopped"));
        QVERIFY(w->findChild<QProgressDialog *>("dlgSendReady") == nullptr);
    }

    void aReportOpenedMeanwhileIsNotSent()
    {
        WindowHome home;
        Capture capture;
        const QStringList names = SampleReport::saveReady(home.path(), 3);
        LoopbackServer &server = home.serve();
        auto w = home.startMainWindow(true);
        QTimer::singleShot(200, [&] {
            w->startReportForm(names[0]); // being sent: the operator is told to wait
            w->startReportForm(names[2]); // waiting: it opens, and stays out of the run
        });
        w->outbox()->cmdSendReady_Click();
        QCOMPARE(capture.noticeTexts(), QStringList{names[0] + " is being sent by the outbox right now. Open it when the sending is done."});
        QCOMPARE(frmZelvatcts::current()->eventNumber(), names[2]);
        QCOMPARE(SampleReport::states(home.path(), names), (QList<int>{9, 9, 2}));
        QCOMPARE(server.messages(), 2);
    }

    void oneSessionAtATime()
    {
        WindowHome home;
        Capture capture;
        const QStringList names = SampleReport::saveReady(home.path(), 3);
        LoopbackServer &server = home.serve();
        auto w = home.startMainWindow(true);
        // The outbox sends: the form's Submit holds back, and the outbox stops after the report in
        // hand so that the new one goes next.
        QPointer<frmZelvatcts> f = typeReport(home);
        QTimer::singleShot(200, [&] {
            QTest::mouseClick(f->cmdSubmit, Qt::LeftButton);
            QCOMPARE(f->statusText(), QString("The outbox is sending a Ready report: Submit again in a moment"));
        });
        w->outbox()->cmdSendReady_Click();
        QCOMPARE(SampleReport::states(home.path(), names), (QList<int>{9, 2, 2}));
        QVERIFY(w->outbox()->sbrOutbox->text().endsWith("last run: 1 of 3 sent, paused for the report form"));
        QTest::mouseClick(f->cmdSubmit, Qt::LeftButton);
        QTRY_VERIFY(!f);
        QCOMPARE(server.messages(), 2);

        // The form sends (and waits on a silent server): the outbox, due now, holds back.
        LoopbackServer &silent = home.serve(LoopbackServer::Mode::Silent);
        w->station().Prt = home.station().Prt;
        f = typeReport(home);
        QTimer::singleShot(1000, [&] {
            DatetimeLib::setFixedNow(ProgramHome::FixedNow.addSecs(3600));
            w->outbox()->tick();
            const QString shown = w->outbox()->sbrOutbox->text();
            f->session()->cancel("enough");
            // Three: the form's own report is Ready on disk while it is being sent.
            QVERIFY2(shown.contains("3 Ready, waiting for the report form's session"), qPrintable(shown));
        });
        QTest::mouseClick(f->cmdSubmit, Qt::LeftButton);
        QCOMPARE(silent.messages(), 1); // the form's, and no other
    }

    void killedWhileKeepingInput()
    {
        // A report typed into the real form survives the program being killed: a program types
        // it, keeps it, and is killed with SIGKILL in the middle of writing its recovery file
        // again; the window program then starts in this folder, offers what was kept whole (the
        // stump of the cut-off write is passed over), and the restored form shows every box as it
        // was typed, under the same event ID, with no new number taken.
#ifndef TYPE_REPORT
        QSKIP("the kill in the middle of a write needs libfaultfs.so (Linux)");
#else
        WindowHome home;
        Capture capture;
        // type_report prints "box NAME=text" for every box, "event ID", then "kept"; its next write of
        // the recovery file stops for good after 300 bytes (libfaultfs.so preloaded).
        QProcess p;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("QT_QPA_PLATFORM", "offscreen");
        env.insert("LD_PRELOAD", FAULTFS);
        p.setProcessEnvironment(env);
        p.start(TYPE_REPORT, {home.path()});
        QMap<QString, QString> boxes; // object name: text shown
        QString event;
        for (bool kept = false; !kept;) {
            QVERIFY2(p.canReadLine() || p.waitForReadyRead(30000), p.readAllStandardError().constData());
            while (p.canReadLine()) {
                const QString line = QString::fromUtf8(p.readLine()).chopped(1);
                if (line.startsWith("box "))
                    boxes.insert(line.mid(4).section('=', 0, 0), line.section('=', 1).replace("\\n", "\n"));
                else if (line.startsWith("event "))
                    event = line.mid(6);
                kept = kept || line == "kept";
            }
        }
        const QDir recovery(FormRecovery::folder(home.path()));
        const auto halfWritten = [&] {
            const QFileInfoList stumps = recovery.entryInfoList({"*.rec.~*"}, QDir::Files);
            return stumps.size() == 1 && stumps[0].size() == 300;
        };
        QTRY_VERIFY_WITH_TIMEOUT(halfWritten(), 10000);
        ::kill(pid_t(p.processId()), SIGKILL);
        p.waitForFinished(10000);
        QCOMPARE(boxes.size(), 18);
        ZelvatIni before(home.stationPath());
        QVERIFY(before.load());

        // The window program starting in the folder, restoring what it is offered.
        QStringList offered;
        auto w = home.startMainWindow(true, [&](const QString &question) {
            offered << question;
            return WindowHome::Answer::Restore;
        });
        QCOMPARE(offered.size(), 1);
        QVERIFY2(offered[0].startsWith("A report being written when Zelvatcts stopped was kept: " + event + ", "
                                       + boxes["txtHeader_0"] + ", "),
                 qPrintable(offered[0]));
        frmZelvatcts *f = frmZelvatcts::current();
        QVERIFY(f && f->isVisible());
        for (auto it = boxes.cbegin(); it != boxes.cend(); ++it) { // "Direction of Travel" as first kept, not "changed"
            QWidget *box = f->findChild<QWidget *>(it.key());
            const auto *line = qobject_cast<QLineEdit *>(box);
            QCOMPARE(line ? line->text() : static_cast<QPlainTextEdit *>(box)->toPlainText(), *it);
        }
        QCOMPARE(f->eventNumber(), event);
        QCOMPARE(w->station().Eno, before.Eno); // no number taken for it
        for (int type = 0; type < 4; ++type)
            QVERIFY(f->typeSelected(type));
        QCOMPARE(f->consciousAnswer(), qint16(1));
        QCOMPARE(f->breathingAnswer(), qint16(0));
        QVERIFY(f->chkReqContact->isChecked());
        QCOMPARE(f->Label22->text(), QString("New Report"));
        QCOMPARE(f->windowTitle(), QString("Zelvat - New report"));

        // Saved now, it is an ordinary Draft and nothing is offered any more.
        f->cmdSave_Click();
        QVERIFY(home.reportFiles().contains(event + ".911"));
        QVERIFY(FormRecovery::list(home.path()).isEmpty());
        QVERIFY2(capture.notices.isEmpty(), qPrintable(capture.noticeTexts().join('\n')));
#endif
    }
};

QTEST_MAIN(TestCallsKept)
#include "tst_calls_kept.moc"
