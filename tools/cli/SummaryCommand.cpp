#include "Cli.h"

#include "store/ReportCatalog.h"
#include "store/SituationSummary.h"
#include "support/CodePage.h"
#include "support/DatetimeLib.h"
#include "support/Platform.h"

// The situation summary of the last hours (24 unless --hours says otherwise), from the catalog
// the window keeps: the table of SituationSummary::lines(). What the loader says about files that
// cannot be read goes to standard error.
int summaryCommand(Cli &cli, const QStringList &args)
{
    int hours = SituationSummary::DefaultHours;
    if (args.size() == 2 && args[0] == QLatin1String("--hours")) {
        bool ok = false;
        hours = args[1].toInt(&ok);
        if (!ok || hours < 1 || hours > SituationSummary::MaxHours) {
            Cli::err(QStringLiteral("--hours %1: a whole number of hours from 1 to %2 is needed")
                         .arg(args[1])
                         .arg(SituationSummary::MaxHours));
            return Cli::Usage;
        }
    } else if (!args.isEmpty()) {
        Cli::err(QStringLiteral("usage: zelvatcts-cli [--home DIR] summary [--hours N]"));
        return Cli::Usage;
    }
    ReportCatalog catalog(cli.programFolder());
    catalog.loadIndex();
    catalog.refresh();
    for (const Notice &n : catalog.unreadable())
        notify(n.text, n.icon, n.title);
    SituationSummary summary(&catalog);
    summary.setHours(hours);
    summary.refresh(DatetimeLib::now());
    QByteArray out;
    for (const QString &line : summary.lines())
        out += CodePage::encode(line) + '\n';
    Cli::outBytes(out);
    return Cli::Success;
}
