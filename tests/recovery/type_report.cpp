// A program that types a report into the real report form, as an operator does, and leaves it
// unsaved. It prints "kept EVENT-ID" once the input is in its recovery file, as the form shows it;
// then it changes "Direction of Travel" and keeps it again, a write that stops for good after 300
// bytes (run with libfaultfs.so preloaded), for tst_report_form's kill to fall in the middle of it.
//
//   type_report PROGRAM_FOLDER

#include "report_form/frmZelvatcts.h"
#include "settings/ZelvatIni.h"
#include "store/ProgramFolder.h"

#include <QApplication>
#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTest>
#include <cstdio>
#include <dlfcn.h>

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

    // The form keeps it by itself, half a second after the last change.
    const auto kept = [&] {
        const auto onDisk = FormRecovery::read(folder, f->eventNumber(), nullptr);
        FormRecovery::Input now = f->captureInput();
        now.written = onDisk ? onDisk->written : QDateTime();
        return onDisk && FormRecovery::content(*onDisk) == FormRecovery::content(now);
    };
    while (!kept())
        QTest::qWait(50);
    std::printf("kept %s\n", qPrintable(f->eventNumber()));
    std::fflush(stdout);
    using Arm = int (*)(const char *op, int err, const char *match, long long at);
    const auto arm = reinterpret_cast<Arm>(dlsym(RTLD_DEFAULT, "faultfs_arm"));
    if (!arm || arm("write", -1, "/recovery/", 300) != 0)
        return 3;
    static_cast<QLineEdit *>(f->txtLaw[2])->setText(QStringLiteral("changed"));
    f->keepInputNow(); // never returns
    return app.exec();
}
