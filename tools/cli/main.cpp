// zelvatcts-cli: the report store and the message server link without a window, for scripts,
// batch resending after an outage, and end-to-end tests.

#include "Cli.h"

#include "store/ProgramFolder.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace {

struct Command {
    const char *name;
    int (*run)(Cli &, const QStringList &);
};

const Command kCommands[] = {
    {"list", listCommand},
    {"show", showCommand},
    {"next-event", nextEventCommand},
    {"new", newCommand},
    {"delete", deleteCommand},
    {"subject", subjectCommand},
    {"body", bodyCommand},
    {"envelope", envelopeCommand},
    {"submit", submitCommand},
    {"resend", resendCommand},
    {"link-test", linkTestCommand},
};

int usage()
{
    Cli::err(QStringLiteral(
        "usage: zelvatcts-cli [--home DIR] COMMAND [ARGS]\n"
        "  list [all|ready|draft|submitted|deleted]   the report list of a folder (default: ready)\n"
        "  show NAME                                  the 29 fields of a report\n"
        "  next-event                                 take the next event number: EID TAB MID\n"
        "  new [--set KEY=VALUE]...                   create a Draft report; prints its event number\n"
        "  delete NAME                                delete a report as the report list does\n"
        "  subject NAME [--update]                    the message subject\n"
        "  body NAME [--contact]                      the folded message body, bytes as sent\n"
        "  envelope NAME [--contact] [--update]       the add-on envelope, bytes as sent\n"
        "  submit NAME [--contact] [--update] [--wait SECONDS]\n"
        "                                             submit as the report form does; exit 1 if not sent\n"
        "  resend [--wait SECONDS]                    submit every Ready report in turn (without the\n"
        "                                             contact line: the form's check box is not stored)\n"
        "  link-test                                  the preferences dialog's link test"));
    return Cli::Usage;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);

    QString home;
    const qsizetype at = args.indexOf(QStringLiteral("--home"));
    if (at >= 0) {
        if (at + 1 >= args.size())
            return usage();
        home = args[at + 1];
        args.remove(at, 2);
        if (!QFileInfo(home).isDir()) {
            Cli::err(QStringLiteral("--home %1: no such folder").arg(home));
            return Cli::Usage;
        }
        home = QFileInfo(home).absoluteFilePath();
    } else {
        home = ProgramFolder::resolve(QCoreApplication::applicationDirPath());
    }
    if (args.isEmpty())
        return usage();

    QString why;
    if (!ProgramFolder::prepare(home, &why)) {
        Cli::err(why);
        return Cli::Failure;
    }

    const QString name = args.takeFirst();
    for (const Command &command : kCommands) {
        if (name == QLatin1String(command.name)) {
            Cli cli(home);
            return command.run(cli, args);
        }
    }
    Cli::err(QStringLiteral("unknown command: %1").arg(name));
    return usage();
}
