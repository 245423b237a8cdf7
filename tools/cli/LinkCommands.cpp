#include "Cli.h"

#include "link/MessageText.h"
#include "link/RequiredFields.h"
#include "link/ServerSession.h"
#include "link/Submission.h"
#include "settings/ZelvatIni.h"
#include "support/DatetimeLib.h"
#include "store/SaveStamps.h"
#include "store/ZelvatMsg.h"
#include "support/CodePage.h"
#include "support/CommonConst.h"
#include "support/StringLib.h"
#include "support/ZelvatLogLib.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimer>

#include <csignal>
#include <unistd.h>

namespace {

// The flags a link command takes after the report name.
struct Flags {
    bool contact = false;
    bool update = false;
    int waitSeconds = 0; // 0: no bound of our own
};

bool parseFlags(QStringList args, bool allowWait, Flags *flags, QStringList *rest)
{
    for (int i = 0; i < args.size(); ++i) {
        const QString &a = args[i];
        if (a == QLatin1String("--contact")) {
            flags->contact = true;
        } else if (a == QLatin1String("--update")) {
            flags->update = true;
        } else if (allowWait && a == QLatin1String("--wait") && i + 1 < args.size()) {
            const auto seconds = StringLib::toInteger(args[++i], 1, 86400, QString(), nullptr);
            if (!seconds)
                return false;
            flags->waitSeconds = int(*seconds);
        } else if (a.startsWith(QLatin1String("--"))) {
            return false;
        } else {
            rest->append(a);
        }
    }
    return true;
}

// Loads the report `name` for a link command; an exit code other than Success on failure.
int loadReport(Cli &cli, const QString &name)
{
    if (const int check = cli.checkReport(name))
        return check;
    return cli.store().Load(name) ? Cli::Success : Cli::Usage;
}

// SIGINT and SIGTERM end a running session cleanly: the handler writes to a pipe that the event
// loop watches, and the session is cancelled from there.
int g_signalPipe[2] = {-1, -1};

void onSignal(int signal)
{
    const char c = char(signal);
    [[maybe_unused]] const auto n = ::write(g_signalPipe[1], &c, 1);
}

class SessionGuard {
public:
    SessionGuard(ServerSession &session, int waitSeconds)
    {
        if (::pipe(g_signalPipe) == 0) {
            m_notifier = std::make_unique<QSocketNotifier>(g_signalPipe[0], QSocketNotifier::Read);
            QObject::connect(m_notifier.get(), &QSocketNotifier::activated, &session, [&session] {
                char c = 0;
                [[maybe_unused]] const auto n = ::read(g_signalPipe[0], &c, 1);
                session.cancel(QStringLiteral("the headless client was interrupted (%1)")
                                   .arg(c == SIGINT ? QStringLiteral("SIGINT") : QStringLiteral("SIGTERM")));
            });
            std::signal(SIGINT, onSignal);
            std::signal(SIGTERM, onSignal);
        }
        if (waitSeconds > 0) {
            m_timer.setSingleShot(true);
            QObject::connect(&m_timer, &QTimer::timeout, &session, [&session, waitSeconds] {
                session.cancel(QStringLiteral("no answer within %1 seconds (--wait)").arg(waitSeconds));
            });
            m_timer.start(waitSeconds * 1000);
        }
    }
    ~SessionGuard()
    {
        std::signal(SIGINT, SIG_DFL);
        std::signal(SIGTERM, SIG_DFL);
        m_notifier.reset();
        for (int &fd : g_signalPipe) {
            if (fd >= 0)
                ::close(fd);
            fd = -1;
        }
    }

private:
    std::unique_ptr<QSocketNotifier> m_notifier;
    QTimer m_timer;
};

// One submission of the loaded report, as the form's Submit does it. Status texts go to
// standard output as they happen; missing fields are named on standard error.
Submission::Outcome submitLoaded(Cli &cli, ServerSession &session, const Flags &flags)
{
    ZelvatMsg &record = cli.store();
    const ZelvatMsg loaded = record; // the report as it stands on disk stands for the form's boxes
    Submission::Hooks hooks;
    hooks.checkRequiredFields = [&] {
        const auto failures = RequiredFields::check(loaded, flags.contact);
        for (const RequiredFields::Failure &f : failures)
            Cli::err(QStringLiteral("%1: missing %2%3").arg(loaded.EID(), f.name,
                                                             f.key.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(f.key)));
        return failures.isEmpty();
    };
    hooks.saveAs = [&](qint16 state) {
        record = loaded;
        record.setAST(state);
        applySaveStamps(record, cli.station(), DatetimeLib::now());
        return record.Fadd();
    };
    hooks.stateChanged = [](qint16) {};
    hooks.refreshList = [] {};
    return Submission::submit(loaded.fileName(), loaded.AST(), record, flags.contact, flags.update, session,
                              cli.station().Enc, hooks);
}

} // namespace

int textCommand(Cli &cli, const QStringList &args, const QString &what)
{
    Flags flags;
    QStringList names;
    if (!parseFlags(args, false, &flags, &names) || names.size() != 1 || (what == QLatin1String("subject") && flags.contact)
        || (what == QLatin1String("body") && flags.update)) {
        Cli::err(QStringLiteral("usage: zelvatcts-cli [--home DIR] subject NAME [--update] | body NAME [--contact] | "
                                "envelope NAME [--contact] [--update]"));
        return Cli::Usage;
    }
    if (const int code = loadReport(cli, names[0]))
        return code;
    const ZelvatMsg &r = cli.store();
    const QString subject = MessageText::BuildSubject(r, flags.update);
    const QString body = MessageText::WrapBody(MessageText::BuildBody(r, flags.contact));
    QString text = subject;
    if (what == QLatin1String("body"))
        text = body;
    else if (what == QLatin1String("envelope"))
        text = MessageText::BuildEnvelope(body, subject, cli.station().Enc);
    Cli::outBytes(CodePage::encode(text)); // the bytes as they are sent, no line break added
    return Cli::Success;
}

int subjectCommand(Cli &cli, const QStringList &args) { return textCommand(cli, args, QStringLiteral("subject")); }
int bodyCommand(Cli &cli, const QStringList &args) { return textCommand(cli, args, QStringLiteral("body")); }
int envelopeCommand(Cli &cli, const QStringList &args) { return textCommand(cli, args, QStringLiteral("envelope")); }

int submitCommand(Cli &cli, const QStringList &args)
{
    Flags flags;
    QStringList names;
    if (!parseFlags(args, true, &flags, &names) || names.size() != 1) {
        Cli::err(QStringLiteral("usage: zelvatcts-cli [--home DIR] submit NAME [--contact] [--update] [--wait SECONDS]"));
        return Cli::Usage;
    }
    if (const int code = loadReport(cli, names[0]))
        return code;
    ZelvatLogLib::SetupLog(cli.programFolder(), true);
    ServerSession session(&cli.station());
    QObject::connect(&session, &ServerSession::status, [](const QString &s) { Cli::out(s); });
    SessionGuard guard(session, flags.waitSeconds);
    switch (submitLoaded(cli, session, flags)) {
    case Submission::Outcome::Sent:
        return Cli::Success;
    case Submission::Outcome::Cancelled:
        Cli::err(session.failure() + QStringLiteral("; the report stays Ready"));
        return Cli::Failure;
    case Submission::Outcome::NotSubmittable:
        Cli::err(QStringLiteral("%1 is %2: only new, Draft and Ready reports are submitted")
                     .arg(names[0], Zelvat::stateName(cli.store().AST()).isEmpty() ? QStringLiteral("in state %1").arg(cli.store().AST())
                                                                                  : Zelvat::stateName(cli.store().AST())));
        return Cli::Failure;
    default:
        return Cli::Failure;
    }
}

int resendCommand(Cli &cli, const QStringList &args)
{
    Flags flags;
    QStringList rest;
    if (!parseFlags(args, true, &flags, &rest) || !rest.isEmpty() || flags.contact || flags.update) {
        Cli::err(QStringLiteral("usage: zelvatcts-cli [--home DIR] resend [--wait SECONDS]"));
        return Cli::Usage;
    }
    ZelvatLogLib::SetupLog(cli.programFolder(), true);
    QStringList ready;
    for (const QString &name : cli.store().fileNames()) {
        if (cli.store().Load(name) && cli.store().AST() == Zelvat::StateReady)
            ready.append(name);
    }
    ready.sort();
    int sent = 0;
    int skipped = 0;
    for (const QString &name : std::as_const(ready)) {
        if (!cli.store().Load(name))
            continue;
        if (cli.store().AST() != Zelvat::StateReady) { // another program has dealt with it since the list was made
            ++skipped;
            Cli::out(name + QStringLiteral("\tskipped: it is %1 now").arg(Zelvat::stateName(cli.store().AST())));
            continue;
        }
        ServerSession session(&cli.station());
        SessionGuard guard(session, flags.waitSeconds);
        QString said;
        switch (submitLoaded(cli, session, flags)) {
        case Submission::Outcome::Sent: ++sent; said = QStringLiteral("Submitted"); break;
        case Submission::Outcome::Busy: ++skipped; said = QStringLiteral("skipped: another program is sending it"); break;
        case Submission::Outcome::AlreadySent: ++skipped; said = QStringLiteral("skipped: another program sent it"); break;
        case Submission::Outcome::SentNotMarked: said = QStringLiteral("sent, but not marked Submitted"); break;
        case Submission::Outcome::Cancelled: said = QStringLiteral("still Ready: ") + session.failure(); break;
        default: said = QStringLiteral("still Ready"); break;
        }
        Cli::out(name + QLatin1Char('\t') + said);
        if (session.cancelled())
            break;
    }
    const qsizetype left = ready.size() - sent - skipped;
    Cli::out(QStringLiteral("resent %1 of %2 Ready reports; %3 still Ready").arg(sent).arg(ready.size()).arg(left)
             + (skipped ? QStringLiteral("; %1 left to another program").arg(skipped) : QString()));
    return left == 0 ? Cli::Success : Cli::Failure;
}

int linkTestCommand(Cli &cli, const QStringList &args)
{
    if (!args.isEmpty()) {
        Cli::err(QStringLiteral("usage: zelvatcts-cli [--home DIR] link-test"));
        return Cli::Usage;
    }
    ZelvatLogLib::SetupLog(cli.programFolder(), true);
    ServerSession session(&cli.station());
    QObject::connect(&session, &ServerSession::status, [](const QString &s) { Cli::out(s); });
    SessionGuard guard(session, 0);
    if (session.TndirectTest(QStringLiteral("<test>This is an Zelvat test msg</test>"))) {
        Cli::out(QStringLiteral("Tndirect link test passed!"));
        return Cli::Success;
    }
    Cli::err(QStringLiteral("Link Test to Tndirect failed.  Check the following:\n1. Confirm that Tndirect is running\n"
                            "2. Confirm the Host Name and Port Number match Tndirect"));
    return Cli::Failure;
}
