#include "Cli.h"

#include "link/SendLock.h"
#include "store/ReportVersions.h"
#include "store/ZelvatMsg.h"
#include "support/StringLib.h"

namespace {

// The report name of a history or restore: one that would reach outside the message folder is
// wrong use. A report that is gone may still have versions: its file is not asked for.
bool checkName(const QString &name)
{
    if (const QString why = ZelvatMsg::nameProblem(name); !why.isEmpty()) {
        Cli::err(QStringLiteral("report name: ") + why);
        return false;
    }
    return true;
}

} // namespace

// The kept versions of a report, oldest first: "VERSION<TAB>yyyy-mm-dd hh:mm:ss<TAB>State<TAB>station",
// the time in local time. A report without kept versions prints nothing.
int historyCommand(Cli &cli, const QStringList &args)
{
    if (args.size() != 1) {
        Cli::err(QStringLiteral("usage: zelvatcts-cli [--home DIR] history NAME"));
        return Cli::Usage;
    }
    const QString name = StringLib::trimBlanks(args[0]);
    if (!checkName(name))
        return Cli::Usage;
    for (const ReportVersions::Version &v : ReportVersions(cli.store().messageFolder()).list(name)) {
        Cli::out(v.token + QLatin1Char('\t') + v.time.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))
                 + QLatin1Char('\t') + v.state + QLatin1Char('\t') + v.station);
    }
    return Cli::Success;
}

// Puts a kept version back as the report file, byte for byte; the version it replaces is kept in
// turn. An unknown version is wrong use and changes nothing.
int restoreCommand(Cli &cli, const QStringList &args)
{
    if (args.size() != 2) {
        Cli::err(QStringLiteral("usage: zelvatcts-cli [--home DIR] restore NAME VERSION"));
        return Cli::Usage;
    }
    const QString name = StringLib::trimBlanks(args[0]);
    if (!checkName(name))
        return Cli::Usage;
    ReportVersions versions(cli.store().messageFolder());
    QByteArray bytes;
    RunError error;
    if (!versions.read(name, args[1], &bytes, &error)) {
        Cli::err(error.description);
        return error.number == RunError::FileNotFound ? Cli::Usage : Cli::Failure;
    }
    // Not while the report is being sent: the send's last save would go over the restored one.
    const SendLock lock(cli.store().messageFolder(), name);
    if (!lock.locked()) {
        Cli::err(lock.why());
        return Cli::Failure;
    }
    cli.station(); // the station's names go into the note of who wrote it
    if (!versions.restore(name, args[1], &error)) {
        Cli::err(QStringLiteral("%1 was not restored: %2").arg(name, error.description));
        return Cli::Failure;
    }
    Cli::out(QStringLiteral("%1 restored from %2").arg(name, args[1]));
    return Cli::Success;
}
