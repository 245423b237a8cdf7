// A report typed into the real form survives the program being killed: a program types it, keeps
// it, and is killed with SIGKILL in the middle of writing its recovery file again; the window
// program then starts in this folder, offers what was kept whole (the stump of the cut-off write
// is passed over), and the restored form shows every box as it was typed, under the same event
// ID, with no new number taken.

#include "app/frmZelvatmain.h"
#include "common/Capture.h"
#include "common/WindowHome.h"
#include "report_form/frmZelvatcts.h"
#include "store/FormRecovery.h"

#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMap>
#include <QPlainTextEdit>
#include <QProcess>
#include <QTest>

#include <csignal>

class TestFormRecovery : public QObject {
    Q_OBJECT

private slots:
    void killedWhileKeepingIt();
};

void TestFormRecovery::killedWhileKeepingIt()
{
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
}

QTEST_MAIN(TestFormRecovery)
#include "tst_form_recovery.moc"
