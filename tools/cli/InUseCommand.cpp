#include "Cli.h"

#include "store/InUseMarks.h"
#include "store/ZelvatMsg.h"

int inUseCommand(Cli &cli, const QStringList &args)
{
    if (!args.isEmpty()) {
        Cli::err(QStringLiteral("usage: zelvatcts-cli [--home DIR] in-use"));
        return Cli::Usage;
    }
    // The client itself never has a report open: every live mark is another position's.
    for (const InUseMarks::Mark &m : InUseMarks(cli.store().messageFolder()).look()) {
        Cli::out(QStringList{m.name, m.position.locationId, m.position.stationName, m.position.userId,
                             m.since.toLocalTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"))}
                     .join(QLatin1Char('\t')));
    }
    return Cli::Success;
}
