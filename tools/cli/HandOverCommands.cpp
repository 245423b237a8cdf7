#include "Cli.h"

#include "settings/ZelvatIni.h"
#include "sheet/PageSetup.h"
#include "sheet/ReportSheet.h"
#include "store/ReportCsv.h"
#include "store/ReportImport.h"
#include "store/ZelvatMsg.h"
#include "support/CommonConst.h"
#include "support/SafeFile.h"

#include <QDir>
#include <QHash>

namespace {

// Takes "--out FILE" out of the arguments; false when it is missing or has no value.
bool takeOut(QStringList &args, QString *out)
{
    const qsizetype at = args.indexOf(QStringLiteral("--out"));
    if (at < 0 || at + 1 >= args.size())
        return false;
    *out = args[at + 1];
    args.remove(at, 2);
    return !out->isEmpty();
}

int save(const QString &path, const QByteArray &bytes, int count, const QStringList &unreadable)
{
    for (const QString &line : unreadable)
        Cli::err(QStringLiteral("left out: ") + line);
    RunError error;
    if (!SafeFile::writeAtomically(path, bytes, &error)) {
        Cli::err(QStringLiteral("nothing was written to %1: %2").arg(QDir::toNativeSeparators(path), error.text()));
        return Cli::Failure;
    }
    Cli::out(QStringLiteral("%1 report%2 written to %3").arg(count).arg(count == 1 ? "" : "s").arg(QDir::toNativeSeparators(path)));
    return unreadable.isEmpty() ? Cli::Success : Cli::Usage;
}

} // namespace

int pdfCommand(Cli &cli, const QStringList &arguments)
{
    QStringList names = arguments;
    QString out;
    if (!takeOut(names, &out) || names.isEmpty() || std::any_of(names.begin(), names.end(), [](const QString &n) {
            return n.startsWith(QLatin1String("--"));
        })) {
        Cli::err(QStringLiteral("usage: zelvatcts-cli [--home DIR] pdf NAME... --out FILE"));
        return Cli::Usage;
    }
    for (const QString &name : std::as_const(names)) {
        if (const int check = cli.checkReport(name))
            return check;
    }
    QStringList unreadable;
    const QList<SheetReport> reports = ReportSheet::fromFiles(cli.programFolder(), names, &unreadable);
    if (reports.isEmpty()) {
        for (const QString &line : std::as_const(unreadable))
            Cli::err(line);
        Cli::err(QStringLiteral("none of the reports could be read; nothing was written"));
        return Cli::Usage;
    }
    const ZelvatIni &station = cli.station();
    RunError error;
    const QByteArray bytes = ReportSheet::pdf(reports, SheetStation{station.Nam, station.Uid, station.Loc},
                                              PageSetup::load(), &error);
    if (bytes.isEmpty()) {
        Cli::err(QStringLiteral("no PDF could be made: ") + error.description);
        return Cli::Failure;
    }
    return save(out, bytes, int(reports.size()), unreadable);
}

int exportCommand(Cli &cli, const QStringList &arguments)
{
    static const QHash<QString, int> folders = {
        {QStringLiteral("all"), Zelvat::StateAll},       {QStringLiteral("ready"), Zelvat::StateReady},
        {QStringLiteral("draft"), Zelvat::StateDraft},   {QStringLiteral("submitted"), Zelvat::StateSubmitted},
        {QStringLiteral("deleted"), Zelvat::StateDeleted},
    };
    QStringList args = arguments;
    QString out;
    const bool haveOut = takeOut(args, &out);
    const bool csv = args.removeAll(QStringLiteral("--csv")) == 1;
    int folder = Zelvat::StateReady;
    const qsizetype at = args.indexOf(QStringLiteral("--folder"));
    bool folderOk = true;
    if (at >= 0) {
        folderOk = at + 1 < args.size() && folders.contains(args[at + 1]);
        if (folderOk) {
            folder = folders.value(args[at + 1]);
            args.remove(at, 2);
        }
    }
    if (!haveOut || !csv || !folderOk || !args.isEmpty()) {
        Cli::err(QStringLiteral("usage: zelvatcts-cli [--home DIR] export --csv [--folder all|ready|draft|submitted|deleted] "
                                "--out FILE"));
        return Cli::Usage;
    }
    const ReportCsv::Export e = ReportCsv::fromFolder(cli.store(), folder);
    return save(out, e.bytes, e.rows, e.unreadable);
}

int importCommand(Cli &cli, const QStringList &args)
{
    if (args.isEmpty() || std::any_of(args.begin(), args.end(), [](const QString &a) { return a.startsWith(QLatin1String("--")); })) {
        Cli::err(QStringLiteral("usage: zelvatcts-cli [--home DIR] import FILE..."));
        return Cli::Usage;
    }
    const QList<ReportImport::Outcome> outcomes = ReportImport::importFiles(cli.programFolder(), args);
    bool skipped = false;
    bool refused = false;
    for (const ReportImport::Outcome &o : outcomes) {
        switch (o.result) {
        case ReportImport::Result::Imported:
            Cli::out(QStringLiteral("imported ") + o.name);
            break;
        case ReportImport::Result::Skipped:
            skipped = true;
            Cli::out(QStringLiteral("skipped ") + o.source + QStringLiteral(": ") + o.why);
            break;
        case ReportImport::Result::Refused:
            refused = true;
            Cli::out(QStringLiteral("refused ") + o.source + QStringLiteral(": ") + o.why);
            break;
        }
    }
    Cli::out(ReportImport::summary(outcomes).section(QStringLiteral("\r\n"), 0, 0));
    return refused ? Cli::Usage : skipped ? Cli::Failure : Cli::Success;
}
