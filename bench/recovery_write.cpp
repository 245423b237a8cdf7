// What keeping a report form's unsaved input costs: one write of the recovery file of a full
// report (every box of every event type filled, about 1.3 kB), through FormRecovery::write
// (temporary file and rename, not flushed), and from the real report form (its boxes read and
// the file written, as the form's keeper does a moment after a change); against the same file
// written with a flush to the disk, for comparison. The folder is a new one inside the current
// folder (or the one given as first argument): run it from the disk the program folder lives on.
// Prints the median and the 90th percentile of each in microseconds and, last, recovery_write_us
// (the form's write).

#include "common/SampleReport.h"
#include "report_form/frmZelvatcts.h"
#include "settings/ZelvatIni.h"
#include "store/FormRecovery.h"
#include "store/ProgramFolder.h"
#include "support/SafeFile.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

struct Figures {
    double median;
    double p90;
};

Figures measure(int rounds, const std::function<bool()> &once)
{
    std::vector<double> us;
    for (int r = 0; r < rounds + 5; ++r) { // the first rounds only warm up
        QElapsedTimer t;
        t.start();
        if (!once())
            qFatal("a round failed");
        if (r >= 5)
            us.push_back(t.nsecsElapsed() / 1e3);
    }
    std::sort(us.begin(), us.end());
    return {us[us.size() / 2], us[us.size() * 9 / 10]};
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", qgetenv("QT_QPA_PLATFORM").isEmpty() ? "offscreen" : qgetenv("QT_QPA_PLATFORM"));
    QApplication app(argc, argv);
    QTemporaryDir dir(QString::fromLocal8Bit(argc > 1 ? argv[1] : ".") + QStringLiteral("/recovery_write-XXXXXX"));
    if (!dir.isValid() || !ProgramFolder::prepare(dir.path(), nullptr))
        qFatal("cannot create a folder to write in");
    const int rounds = 300;

    // A full report: every field of every type.
    FormRecovery::Input input(dir.path());
    input.record = SampleReport::make(dir.path(), 3, 1);
    SampleReport::change(input.record, {"TYP=MED+FIRE+LAW+LGOV", "PIN=Unknown, two may be upstairs",
                                        "WEA=Yes, a knife; no shots", "DOT=North on Oak toward 5th",
                                        "VDE=Blue sedan, dented rear door", "VDP=7ABC1*3", "VDS=CA"});
    input.record.setDTL(input.record.DTL() + QStringLiteral("\\n") + QString(600, QLatin1Char('d')));
    input.written = QDateTime::currentDateTime();
    const qsizetype bytes = FormRecovery::content(input).size();
    RunError error;
    const Figures write = measure(rounds, [&] { return FormRecovery::write(dir.path(), "FULL", input, &error); });
    const QString flushedPath = FormRecovery::pathFor(dir.path(), "FLUSHED");
    const Figures flushed = measure(rounds, [&] {
        return SafeFile::writeAtomically(flushedPath, FormRecovery::content(input), &error, SafeFile::Flush::Now);
    });

    // The same report in the real form: its boxes are read at every write.
    ZelvatIni station(ProgramFolder::stationFile(dir.path()));
    station.load();
    frmZelvatcts *form = frmZelvatcts::open(ReportFormContext{dir.path(), &station, {}}, QStringLiteral("NEW"));
    for (const FormFields::Box &b : FormFields::boxes()) {
        QWidget *box = form->findChild<QWidget *>(FormFields::objectName(b));
        const QString text = FormFields::shownValue(b, input.record);
        if (auto *line = qobject_cast<QLineEdit *>(box))
            line->setText(text);
        else
            static_cast<QPlainTextEdit *>(box)->setPlainText(text);
    }
    const Figures fromForm = measure(rounds, [&] {
        FormRecovery::Input now = form->captureInput();
        now.written = QDateTime::currentDateTime();
        return FormRecovery::write(dir.path(), form->recoveryName(), now, &error);
    });

    std::printf("folder: %s, %d rounds, recovery file of %lld bytes\n", qPrintable(dir.path()), rounds, qint64(bytes));
    std::printf("%-52s %10s %10s\n", "", "median us", "p90 us");
    std::printf("%-52s %10.1f %10.1f\n", "FormRecovery::write (not flushed)", write.median, write.p90);
    std::printf("%-52s %10.1f %10.1f\n", "the form's boxes read and written (not flushed)", fromForm.median, fromForm.p90);
    std::printf("%-52s %10.1f %10.1f\n", "for comparison: written with a flush to the disk", flushed.median, flushed.p90);
    std::printf("recovery_write_us %.1f\n", fromForm.median);
    form->close();
    return 0;
}
