// A program that types a report into the real report form, as an operator does, and leaves it
// unsaved. It prints what every box shows ("box NAME=text", line breaks as "\n") and the event
// ID, then "kept" once the input is in its recovery file; then it changes "Direction of Travel"
// and keeps it again, a write that stops for good after 300 bytes (run with libfaultfs.so
// preloaded), for tst_report_form's kill to fall in the middle of it.
//
//   type_report PROGRAM_FOLDER

#include "report_form/frmZelvatcts.h"
#include "settings/ZelvatIni.h"
#include "store/ProgramFolder.h"

#include <QApplication>
#include <QCheckBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTest>
#include <cstdio>
#include <dlfcn.h>

static void say(const QString &line)
{
    std::puts(line.toUtf8().constData());
    std::fflush(stdout);
}

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    if (argc < 2)
        return 2;
    const QString folder = QString::fromLocal8Bit(argv[1]);
    ZelvatIni station(ProgramFolder::stationFile(folder));
    station.load();
    frmZelvatcts *f = frmZelvatcts::open(ReportFormContext{folder, &station, {}}, QStringLiteral("NEW"));

    for (int type = 0; type < 4; ++type)
        QTest::mouseClick(f->cmdRtype[type], Qt::LeftButton);
    int n = 0;
    for (const FormFields::Box &b : FormFields::boxes()) {
        QWidget *box = f->findChild<QWidget *>(FormFields::objectName(b));
        if (b.group != FormFields::Group::Header) // Med, Fire and Law are the first three tabs
            f->SSTab1->setCurrentIndex(int(b.group) - 1);
        QTest::keyClicks(box, QStringLiteral("call %1 unit 4%2").arg(QChar('a' + n)).arg(n));
        if (b.multiLine) {
            QTest::keyClick(box, Qt::Key_Return);
            QTest::keyClicks(box, QStringLiteral("second line "));
        }
        ++n;
    }
    f->SSTab1->setCurrentIndex(0);
    QTest::mouseClick(f->optCons[1], Qt::LeftButton);
    QTest::mouseClick(f->optBrea[0], Qt::LeftButton);
    f->chkReqContact->setChecked(true);

    for (const FormFields::Box &b : FormFields::boxes()) {
        QWidget *box = f->findChild<QWidget *>(FormFields::objectName(b));
        const auto *line = qobject_cast<QLineEdit *>(box);
        const QString shown = line ? line->text() : static_cast<QPlainTextEdit *>(box)->toPlainText();
        say(QStringLiteral("box %1=%2").arg(FormFields::objectName(b), QString(shown).replace('\n', "\\n")));
    }
    say(QStringLiteral("event %1").arg(f->eventNumber()));

    // The form keeps it by itself, half a second after the last change.
    const auto kept = [&] {
        const auto onDisk = FormRecovery::read(folder, f->eventNumber(), nullptr);
        FormRecovery::Input now = f->captureInput();
        now.written = onDisk ? onDisk->written : QDateTime();
        return onDisk && FormRecovery::content(*onDisk) == FormRecovery::content(now);
    };
    while (!kept())
        QTest::qWait(50);
    say(QStringLiteral("kept"));
    using Arm = int (*)(const char *op, int err, const char *match, long long at);
    const auto arm = reinterpret_cast<Arm>(dlsym(RTLD_DEFAULT, "faultfs_arm"));
    if (!arm || arm("write", -1, "/recovery/", 300) != 0)
        return 3;
    static_cast<QLineEdit *>(f->txtLaw[2])->setText(QStringLiteral("changed"));
    f->keepInputNow(); // never returns
    return app.exec();
}
