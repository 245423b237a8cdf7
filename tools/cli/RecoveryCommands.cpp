#include "Cli.h"

#include "store/FormRecovery.h"

// The input of report forms kept when a program stopped before it was saved: one row per
// recovery file, name, event ID, issue and the time it was written, joined by TAB; a form still
// open in a running program says so in a fifth field. A recovery file that cannot be read is
// named on standard error (exit 2) and left as it is.
int recoveredCommand(Cli &cli, const QStringList &args)
{
    if (!args.isEmpty()) {
        Cli::err(QStringLiteral("usage: zelvatcts-cli [--home DIR] recovered"));
        return Cli::Usage;
    }
    int code = Cli::Success;
    for (const FormRecovery::Entry &e : FormRecovery::list(cli.programFolder())) {
        if (!e.input) {
            Cli::err(QStringLiteral("%1: cannot be read: %2").arg(FormRecovery::pathFor(cli.programFolder(), e.name), e.problem));
            code = Cli::Usage;
            continue;
        }
        QString row = e.name + QLatin1Char('\t') + e.input->record.EID() + QLatin1Char('\t') + e.input->record.ISS()
            + QLatin1Char('\t') + e.input->written.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
        if (!e.holder.isEmpty())
            row += QStringLiteral("\tstill being written (%1)").arg(e.holder);
        Cli::out(row);
    }
    return code;
}
