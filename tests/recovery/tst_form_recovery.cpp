// A report typed into the real form survives the program being killed: a program types it and
// is killed with SIGKILL, while it waits or in the middle of writing its recovery file again;
// the window program then starts in this folder, offers what was kept, and the restored form
// shows every box as it was typed, under the same event ID, with no new number taken.

#include "app/frmZelvatmain.h"
#include "common/Capture.h"
#include "common/WindowHome.h"
#include "report_form/frmZelvatcts.h"
#include "store/FormRecovery.h"

#include <QCheckBox>
#include <QDir>
#include <QFileInfo>
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
    void killedWhileTyping();
    void killedWhileKeepingIt();
};

namespace {

struct Typed {
    QMap<QString, QString> boxes; // object name: text shown
    QString event;
    bool stump = false;           // the kill left a recovery file half-written beside the whole one
};

// Runs type_report and kills it once its input was kept; with "stall", once its next write of
// the recovery file has stopped halfway.
Typed typeAndKill(const QString &folder, const QString &mode)
{
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_QPA_PLATFORM", "offscreen");
    if (mode == "stall")
        env.insert("LD_PRELOAD", FAULTFS);
    p.setProcessEnvironment(env);
    p.start(TYPE_REPORT, mode.isEmpty() ? QStringList{folder} : QStringList{folder, mode});
    Typed typed;
    for (bool kept = false; !kept;) {
        if (!p.canReadLine() && !p.waitForReadyRead(30000))
            qFatal("type_report said nothing: %s", p.readAllStandardError().constData());
        while (p.canReadLine()) {
            const QString line = QString::fromUtf8(p.readLine()).chopped(1);
            if (line.startsWith("box "))
                typed.boxes.insert(line.mid(4).section('=', 0, 0), line.section('=', 1).replace("\\n", "\n"));
            else if (line.startsWith("event "))
                typed.event = line.mid(6);
            kept = kept || line == "kept";
        }
    }
    const QDir recovery(FormRecovery::folder(folder));
    const auto halfWritten = [&] {
        const QFileInfoList stumps = recovery.entryInfoList({"*.rec.~*"}, QDir::Files);
        return stumps.size() == 1 && stumps[0].size() == 300;
    };
    for (int waited = 0; mode == "stall" && !halfWritten() && waited < 10000; waited += 20)
        QTest::qWait(20);
    ::kill(pid_t(p.processId()), SIGKILL);
    p.waitForFinished(10000);
    typed.stump = halfWritten();
    return typed;
}

// The window program starting in the folder, restoring what it is offered.
std::unique_ptr<frmZelvatmain> restart(WindowHome &home, QStringList *offered)
{
    auto w = std::make_unique<frmZelvatmain>(home.path());
    w->showStationDialog = [] {};
    w->askRestore = [offered](const QString &question) {
        *offered << question;
        return frmZelvatmain::RecoveryAnswer::Restore;
    };
    w->Form_Load();
    return w;
}

QString shown(QWidget *box)
{
    if (auto *line = qobject_cast<QLineEdit *>(box))
        return line->text();
    return static_cast<QPlainTextEdit *>(box)->toPlainText();
}

void compareBoxes(frmZelvatcts *f, const Typed &typed)
{
    for (auto it = typed.boxes.cbegin(); it != typed.boxes.cend(); ++it)
        QCOMPARE(shown(f->findChild<QWidget *>(it.key())), *it);
}

} // namespace

void TestFormRecovery::killedWhileTyping()
{
    WindowHome home;
    Capture capture;
    const Typed typed = typeAndKill(home.path(), {});
    QCOMPARE(typed.boxes.size(), 18);
    ZelvatIni before(home.stationPath());
    QVERIFY(before.load());

    QStringList offered;
    auto w = restart(home, &offered);
    QCOMPARE(offered.size(), 1);
    QVERIFY2(offered[0].startsWith("A report being written when Zelvatcts stopped was kept: " + typed.event + ", "
                                   + typed.boxes["txtHeader_0"] + ", "),
             qPrintable(offered[0]));
    frmZelvatcts *f = frmZelvatcts::current();
    QVERIFY(f && f->isVisible());
    compareBoxes(f, typed);
    QCOMPARE(f->eventNumber(), typed.event);
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
    QVERIFY(home.reportFiles().contains(typed.event + ".911"));
    QVERIFY(FormRecovery::list(home.path()).isEmpty());
    QVERIFY2(capture.notices.isEmpty(), qPrintable(capture.noticeTexts().join('\n')));
}

void TestFormRecovery::killedWhileKeepingIt()
{
    // Killed while it writes its recovery file again: the older one, whole, is offered, and the
    // stump of the write that was cut off is passed over.
    WindowHome home;
    Capture capture;
    const Typed typed = typeAndKill(home.path(), "stall");
    QVERIFY(typed.stump);
    QStringList offered;
    auto w = restart(home, &offered);
    QCOMPARE(offered.size(), 1);
    frmZelvatcts *f = frmZelvatcts::current();
    QVERIFY(f);
    compareBoxes(f, typed); // "Direction of Travel" as first kept, not "changed"
    f->cmdClose_Click();    // given up on purpose: nothing is offered any more
    QVERIFY(FormRecovery::list(home.path()).isEmpty());
}

QTEST_MAIN(TestFormRecovery)
#include "tst_form_recovery.moc"
