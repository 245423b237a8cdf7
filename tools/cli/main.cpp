// zelvatcts-cli: the report store and the message server link without a window, for scripts,
// batch resending after an outage, and end-to-end tests.

#include "Cli.h"

#include "store/ProgramFolder.h"
#include "support/CommonConst.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QDir>
#include <QFileInfo>
#include <memory>

namespace {

struct Command {
    const char *name;
    int (*run)(Cli &, const QStringList &);
};

const Command kCommands[] = {
    {"list", listCommand},
    {"find", findCommand},
    {"show", showCommand},
    {"next-event", nextEventCommand},
    {"new", newCommand},
    {"delete", deleteCommand},
    {"recovered", recoveredCommand},
    {"in-use", inUseCommand},
    {"history", historyCommand},
    {"restore", restoreCommand},
    {"subject", subjectCommand},
    {"body", bodyCommand},
    {"envelope", envelopeCommand},
    {"submit", submitCommand},
    {"resend", resendCommand},
    {"link-test", linkTestCommand},
    {"pdf", pdfCommand},
    {"export", exportCommand},
    {"import", importCommand},
    {"summary", summaryCommand},
    {"commlog", commlogCommand},
};

const char kSynopsis[] = "zelvatcts-cli [--home DIR] COMMAND [ARGS]";

const char kCommandList[] =
        "  list [all|ready|draft|submitted|deleted]   the report list of a folder (default: ready)\n"
        "  find [--folder FOLDER] WORDS...            the rows of a folder (default: all) holding every\n"
        "                                             word in event ID, issue, location, city, reporting\n"
        "                                             person, phone or details, case ignored\n"
        "  show NAME                                  the 29 fields of a report\n"
        "  next-event                                 take the next event number: EID TAB MID\n"
        "  new [--set KEY=VALUE]...                   create a Draft report; prints its event number\n"
        "  delete NAME                                delete a report as the report list does\n"
        "  recovered [--closed]                       unsaved report forms kept when a program stopped:\n"
        "                                             name, event ID, issue, time written; --closed:\n"
        "                                             those closed on purpose, with the time closed\n"
        "  in-use                                     the reports open in a report form at any position:\n"
        "                                             name, location ID, station name, user ID, since\n"
        "                                             (yyyy-mm-dd hh:mm:ss), tab-separated\n"
        "  history NAME                               the kept earlier versions of a report, oldest\n"
        "                                             first: VERSION, time kept (yyyy-mm-dd hh:mm:ss),\n"
        "                                             state and station, TAB-separated\n"
        "  restore NAME VERSION                       put a kept version back as the report file, byte\n"
        "                                             for byte; the one it replaces is kept in turn\n"
        "  subject NAME [--update]                    the message subject\n"
        "  body NAME [--contact]                      the folded message body, bytes as sent\n"
        "  envelope NAME [--contact] [--update]       the add-on envelope, bytes as sent\n"
        "  submit NAME [--contact] [--update] [--wait SECONDS]\n"
        "                                             submit as the report form does; exit 1 if not sent\n"
        "                                             (also when it is open in a report form elsewhere)\n"
        "  resend [--wait SECONDS]                    submit every Ready report in turn, each with the\n"
        "                                             contact line and update mark of its first Submit\n"
        "  link-test                                  the preferences dialog's link test\n"
        "  pdf NAME... --out FILE                     the report sheets of the reports as one PDF, on\n"
        "                                             the window's page setup\n"
        "  export --csv [--folder F] --out FILE       every field of the reports of a folder (all, ready,\n"
        "                                             draft, submitted, deleted; default: ready) as CSV\n"
        "  import FILE...                             copy report files into the message folder; a name\n"
        "                                             already there is skipped, a broken file refused\n"
        "  summary [--hours N]                        the reports dated in the last N hours (default 24,\n"
        "                                             at most 168), TAB-separated: the line \"Type Ready\n"
        "                                             Draft Submitted Deleted Total\", then one line per\n"
        "                                             event type (MED, FIRE, LAW, LGOV) beginning with\n"
        "                                             its code, Total last (a report of several types\n"
        "                                             counts in each); then \"City Total\" and one line\n"
        "                                             per city, most reports first\n"
        "  commlog [--from \"yyyy-mm-dd hh:mm\"] [--to \"yyyy-mm-dd hh:mm\"] (--csv FILE | --pdf FILE)\n"
        "                                             the communications log (every try to send) of a\n"
        "                                             period (default: the last 12 hours) as CSV or PDF";

int usage()
{
    Cli::err(QStringLiteral("usage: %1\n%2").arg(QLatin1String(kSynopsis), QLatin1String(kCommandList)));
    return Cli::Usage;
}

// The answers to --help and --version, on standard output, laid out the way manual-page
// generators read them: "Usage:" lines, a description, then headed sections.
int help()
{
    Cli::out(QStringLiteral(
        "Usage: %1\n"
        "  or:  zelvatcts-cli --help | --version\n"
        "Works on the reports of a program folder and submits them to the message server, as the\n"
        "window program does, for scripts and for resending after an outage.\n"
        "\n"
        "Commands:\n"
        "%2\n"
        "\n"
        "Options:\n"
        "  --home DIR  the program folder: station file Zelvatcts.ini, reports in msg.d, session logs\n"
        "              in logs (default: the per-user data folder's Zelvatcts, or the program's own\n"
        "              folder when that is writable and not the installed programs' folder)\n"
        "  --help      show this text and exit\n"
        "  --version   show the version and exit\n"
        "\n"
        "Exit status:\n"
        "  0  done\n"
        "  1  failed: no such report, not sent, a folder or file that cannot be written, an import\n"
        "     skipped\n"
        "  2  wrong use (a bad command, argument or field value, a version that was never kept), or a\n"
        "     report file that cannot be read\n"
        "     (an export or PDF then holds the others; an import refused it)")
                 .arg(QLatin1String(kSynopsis), QLatin1String(kCommandList)));
    return Cli::Success;
}

int version()
{
    Cli::out(QStringLiteral("zelvatcts-cli (%1) %2").arg(QString::fromLatin1(Zelvat::Title), Zelvat::versionText()));
    return Cli::Success;
}

// The command word: the first argument that is not --home or its folder.
QByteArray commandWord(int argc, char *argv[])
{
    for (int i = 1; i < argc; ++i) {
        if (qstrcmp(argv[i], "--home") == 0) {
            ++i;
            continue;
        }
        return argv[i];
    }
    return {};
}

} // namespace

int main(int argc, char *argv[])
{
    // The report sheets are laid out with fonts, which need a GUI application; the client never
    // shows a window, so it draws offscreen and needs no display.
    std::unique_ptr<QCoreApplication> application;
    if (commandWord(argc, argv) == "pdf" || commandWord(argc, argv) == "commlog") {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        application = std::make_unique<QGuiApplication>(argc, argv);
    } else {
        application = std::make_unique<QCoreApplication>(argc, argv);
    }
    QStringList args = QCoreApplication::arguments().mid(1);

    QString home;
    const qsizetype at = args.indexOf(QStringLiteral("--home"));
    if (at >= 0) {
        if (at + 1 >= args.size())
            return usage();
        home = args[at + 1];
        args.remove(at, 2);
        if (args.contains(QStringLiteral("--home"))) {
            Cli::err(QStringLiteral("--home is given twice: say which program folder, once"));
            return Cli::Usage;
        }
    }
    // Asking for help or the version touches no folder: the answer comes before the program
    // folder is looked for or prepared.
    if (!args.isEmpty() && args.first() == QLatin1String("--help"))
        return help();
    if (!args.isEmpty() && args.first() == QLatin1String("--version"))
        return version();
    if (at >= 0) {
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

    RunError error;
    if (!ProgramFolder::prepare(home, &error)) {
        Cli::err(error.description);
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
