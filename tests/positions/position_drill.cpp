// One operator position at work on a message folder it shares with another, for tst_cli's drill.
// It opens real report forms (offscreen) and, at random from SEED, types, saves, updates,
// submits, deletes and restores reports, answering every question at random. Each replacement
// of a report file is witnessed at its rename, while the writer holds the report's lock, and
// logged: what the writing form believed stood there, and what did.
//
//   position_drill PROGRAM_FOLDER SEED COUNT LOG
//
// LOG, a line per replacement: TIME TAB OP TAB CHOICES TAB NAME TAB BELIEVED TAB REPLACED TAB
// WRITTEN; TIME in nanoseconds since the epoch, the bytes in base64 ("-": no file), CHOICES the
// buttons of the conflict dialogs answered during the OP.

#include "common/Capture.h"
#include "dialogs/frmConflict.h"
#include "dialogs/frmVersions.h"
#include "report_form/FormInUse.h"
#include "report_form/frmZelvatcts.h"
#include "settings/ZelvatIni.h"
#include "store/ProgramFolder.h"
#include "store/ReportVersions.h"

#include <QApplication>
#include <QDir>
#include <QMessageBox>
#include <QMetaProperty>
#include <QPushButton>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>
#include <chrono>
#include <cstdio>
#include <dlfcn.h>

namespace {

FILE *g_log = nullptr;
QByteArray g_op;
QStringList g_choices;
QRandomGenerator g_random;

// The file NAME in the folder open as FOLDER, in base64; "-" if there is none.
QByteArray fileAt(int folder, const char *name)
{
    QFile file(QStringLiteral("/proc/self/fd/%1/%2").arg(folder).arg(QString::fromLocal8Bit(name)));
    return file.open(QIODevice::ReadOnly) ? file.readAll().toBase64() : QByteArray("-");
}

template <typename T>
T oneOf(const QList<T> &list)
{
    return list[g_random.bounded(int(list.size()))];
}

// A line or a text box of the form gets TEXT, through the property that holds what it shows.
void put(QWidget *box, const QString &text)
{
    box->metaObject()->userProperty().write(box, text);
}

// The conflict dialog gets a button it offers, at random; the restore's question gets Yes.
void answerDialogs()
{
    QWidget *modal = QApplication::activeModalWidget();
    if (auto *d = qobject_cast<frmConflict *>(modal)) {
        QList<QPushButton *> offered{d->cmdTakeTheirs, d->cmdKeepMine, d->cmdUpdate, d->cmdRestore, d->cmdCancel};
        offered.removeIf([d](const QPushButton *b) { return !b || !b->isVisibleTo(d); });
        QPushButton *b = oneOf(offered);
        g_choices << b->objectName();
        b->click();
    } else if (auto *box = qobject_cast<QMessageBox *>(modal)) {
        box->button(QMessageBox::Yes)->click();
    }
}

// One of the two reports last written that are not deleted, so that the two positions often
// meet on one; or NEW, now and then, and while there are few.
QString pickReport(const QString &messageFolder)
{
    QStringList names;
    for (const QFileInfo &file : QDir(messageFolder).entryInfoList({"*.911"}, QDir::Files, QDir::Time))
        if (names.size() < 2 && !readFile(file.filePath()).contains("\r\nAST=8\r\n"))
            names << file.completeBaseName();
    return names.size() < 2 || g_random.bounded(8) == 0 ? QStringLiteral("NEW") : oneOf(names);
}

// Save (Update, once submitted) or Submit, three times in eight each; Delete, or an earlier
// version put back, once. A button that is not enabled does nothing.
void act(frmZelvatcts *f)
{
    QPushButton *const button = oneOf(QList{f->cmdSave, f->cmdSave, f->cmdSave, f->cmdSubmit, f->cmdSubmit, f->cmdSubmit,
                                            f->cmdDelete, f->cmdVersions});
    const bool restore = button == f->cmdVersions;
    g_op = restore ? QByteArray("restore") : button->text().toLower().toLatin1();
    button->click();
    const QList<frmVersions *> shown = restore ? f->findChildren<frmVersions *>() : QList<frmVersions *>();
    const QPointer<frmVersions> v = shown.isEmpty() ? nullptr : shown.last();
    if (v && v->lstVersions->topLevelItemCount() > 0) {
        v->lstVersions->setCurrentItem(v->lstVersions->topLevelItem(g_random.bounded(v->lstVersions->topLevelItemCount())));
        v->cmdRestore_Click();
    }
    if (v)
        v->close();
}

} // namespace

// Every report file is replaced by a rename within its folder (SafeFile::writeAtomically): the
// witness of each replacement is taken just before it.
extern "C" int renameat(int fromFolder, const char *from, int toFolder, const char *to) noexcept
{
    static const auto real = reinterpret_cast<decltype(&renameat)>(dlsym(RTLD_NEXT, "renameat"));
    const frmZelvatcts *f = frmZelvatcts::current();
    if (g_log && f && QByteArrayView(to).endsWith(".911")) {
        const ReportConflict::Seen &seen = f->seen();
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        std::fprintf(g_log, "%lld\t%s\t%s\t%s\t%s\t%s\t%s\n", qlonglong(std::chrono::nanoseconds(now).count()), g_op.constData(),
                     qPrintable(g_choices.join(',')), to, seen.present() ? seen.bytes.toBase64().constData() : "-",
                     fileAt(toFolder, to).constData(), fileAt(fromFolder, from).constData());
        std::fflush(g_log);
    }
    return real(fromFolder, from, toFolder, to);
}

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    if (argc != 5 || !(g_log = std::fopen(argv[4], "w")))
        return 2;
    const QString folder = QString::fromLocal8Bit(argv[1]);
    g_random.seed(QByteArray(argv[2]).toUInt());
    const int count = QByteArray(argv[3]).toInt();
    ZelvatIni station(ProgramFolder::stationFile(folder));
    if (!station.load())
        return 2;
    ReportVersions::setLimits({ReportVersions::MaxCount, ReportVersions::MaxDays}); // none goes in a drill
    Capture quiet; // what the forms say to the operator and the event log
    FormInUse::ask() = [](QWidget *, const QString &) {
        return g_random.bounded(4) ? FormInUse::Choice::Edit : FormInUse::Choice::ReadOnly;
    };
    QTimer answering;
    QObject::connect(&answering, &QTimer::timeout, answerDialogs);
    answering.start(2);

    const ReportFormContext context{folder, &station, {}};
    for (int i = 0; i < count; ++i) {
        g_op = "open";
        g_choices.clear();
        const QString name = pickReport(folder + QStringLiteral("/msg.d"));
        QPointer<frmZelvatcts> f = frmZelvatcts::open(context, name);
        if (f && f->isVisible() && name == QLatin1String("NEW")) {
            f->cmdRtype_Click(3); // local government, every required box filled
            for (const auto &[box, text] : {std::pair{0, "Tree down"}, {1, "12 Oak St"}, {8, "Springfield"}, {3, "Jo"},
                                            {6, "14:00"}, {7, "Across the road"}})
                put(f->txtHeader[box], QString::fromLatin1(text));
        }
        // The other position works on meanwhile; then one to three steps on this form.
        for (int step = g_random.bounded(3); step >= 0; --step) {
            QTest::qWait(g_random.bounded(80));
            if (!f || !f->isVisible())
                break;
            put(f->txtHeader[0], QStringLiteral("Tree down %1.%2").arg(QString::fromLatin1(argv[2])).arg(i));
            act(f);
        }
        if (f && f->isVisible())
            f->cmdClose_Click();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return 0;
}
