#include "Cli.h"

#include "link/CommLog.h"
#include "settings/ZelvatIni.h"
#include "sheet/CommLogSheet.h"
#include "sheet/PageSetup.h"
#include "support/DatetimeLib.h"
#include "support/SafeFile.h"

#include <QDir>

namespace {

const char kUsage[] = "usage: zelvatcts-cli [--home DIR] commlog [--from \"yyyy-mm-dd hh:mm\"] [--to \"yyyy-mm-dd hh:mm\"] "
                      "(--csv FILE | --pdf FILE)";

// Takes "OPTION VALUE" out of the arguments. False when the option is there without a value or
// twice; `value` stays empty when it is not there.
bool takeValue(QStringList &args, const QString &option, QString *value)
{
    const qsizetype at = args.indexOf(option);
    if (at < 0)
        return true;
    if (at + 1 >= args.size())
        return false;
    *value = args[at + 1];
    args.remove(at, 2);
    return !value->isEmpty() && !args.contains(option);
}

} // namespace

int commlogCommand(Cli &cli, const QStringList &arguments)
{
    QStringList args = arguments;
    QString fromText, toText, csvPath, pdfPath;
    const bool taken = takeValue(args, QStringLiteral("--from"), &fromText) && takeValue(args, QStringLiteral("--to"), &toText)
        && takeValue(args, QStringLiteral("--csv"), &csvPath) && takeValue(args, QStringLiteral("--pdf"), &pdfPath);
    const QString stamp = QStringLiteral("yyyy-MM-dd HH:mm");
    // A period given to the minute takes in the whole of its last minute.
    const QDateTime to = toText.isEmpty() ? DatetimeLib::now() : QDateTime::fromString(toText, stamp).addSecs(59);
    const QDateTime from = fromText.isEmpty() ? CommLog::defaultFrom(to) : QDateTime::fromString(fromText, stamp);
    if (!taken || !args.isEmpty() || csvPath.isEmpty() == pdfPath.isEmpty()) {
        Cli::err(QLatin1String(kUsage));
        return Cli::Usage;
    }
    if (!from.isValid() || !to.isValid() || from > to) {
        Cli::err(QStringLiteral("the period is no period: give --from and --to as \"yyyy-mm-dd hh:mm\", "
                                "--from not after --to"));
        return Cli::Usage;
    }
    CommLog::Period period;
    RunError error;
    if (!CommLog::read(cli.programFolder(), from, to, &period, &error)) {
        Cli::err(QStringLiteral("the communications log could not be read: ") + error.text());
        return Cli::Failure;
    }
    if (period.damaged > 0)
        Cli::err(QStringLiteral("passed over %1 damaged line%2 of %3")
                     .arg(period.damaged)
                     .arg(period.damaged == 1 ? "" : "s")
                     .arg(QDir::toNativeSeparators(CommLog::path(cli.programFolder()))));
    QByteArray bytes;
    if (!csvPath.isEmpty()) {
        bytes = CommLog::csv(period.entries);
    } else {
        const ZelvatIni &station = cli.station();
        const CommLogHeader header{CommLog::incidentName(), from, to, station.Nam, station.Uid, station.Loc};
        bytes = CommLogSheet::pdf(header, period.entries, PageSetup::load(), &error);
        if (bytes.isEmpty()) {
            Cli::err(QStringLiteral("no PDF could be made: ") + error.description);
            return Cli::Failure;
        }
    }
    const QString path = csvPath.isEmpty() ? pdfPath : csvPath;
    if (!SafeFile::writeAtomically(path, bytes, &error)) {
        Cli::err(QStringLiteral("nothing was written to %1: %2").arg(QDir::toNativeSeparators(path), error.text()));
        return Cli::Failure;
    }
    const qsizetype n = period.entries.size();
    Cli::out(QStringLiteral("%1 tr%2 written to %3").arg(n).arg(n == 1 ? "y" : "ies").arg(QDir::toNativeSeparators(path)));
    return Cli::Success;
}
