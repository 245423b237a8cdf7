#include "Cli.h"

#include "store/ClosedForms.h"
#include "store/FormRecovery.h"
#include "support/DatetimeLib.h"

// The input of report forms kept when a program stopped before it was saved: one row per
// recovery file, name, event ID, issue and the time it was written, joined by TAB; a form still
// open in a running program says so in a fifth field. A recovery file that cannot be read is
// named on standard error (exit 2) and left as it is.
// With --closed: the forms closed on purpose within 24 hours, newest first, in the same rows, the
// time being the time the form was closed.
int recoveredCommand(Cli &cli, const QStringList &args)
{
    const bool closed = args == QStringList{QStringLiteral("--closed")};
    if (!args.isEmpty() && !closed) {
        Cli::err(QStringLiteral("usage: zelvatcts-cli [--home DIR] recovered [--closed]"));
        return Cli::Usage;
    }
    int code = Cli::Success;
    const auto row = [](const QString &name, const FormRecovery::Input &input, const QDateTime &time) {
        return name + QLatin1Char('\t') + input.record.EID() + QLatin1Char('\t') + input.record.ISS() + QLatin1Char('\t')
            + time.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    };
    if (closed) {
        for (const ClosedForms::Entry &e : ClosedForms::list(cli.programFolder(), DatetimeLib::now())) {
            if (e.input) {
                Cli::out(row(e.name, *e.input, e.closed));
                continue;
            }
            Cli::err(QStringLiteral("%1: cannot be read: %2").arg(e.path, e.problem));
            code = Cli::Usage;
        }
        return code;
    }
    for (const FormRecovery::Entry &e : FormRecovery::list(cli.programFolder())) {
        if (!e.input) {
            Cli::err(QStringLiteral("%1: cannot be read: %2").arg(FormRecovery::pathFor(cli.programFolder(), e.name), e.problem));
            code = Cli::Usage;
            continue;
        }
        QString line = row(e.name, *e.input, e.input->written);
        if (!e.holder.isEmpty())
            line += QStringLiteral("\tstill being written (%1)").arg(e.holder);
        Cli::out(line);
    }
    return code;
}
