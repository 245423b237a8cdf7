#include "Cli.h"

#include "link/MessageText.h"
#include "link/Outbox.h"
#include "link/RequiredFields.h"
#include "link/ServerSession.h"
#include "link/Submission.h"
#include "settings/ZelvatIni.h"
#include "store/InUseMarks.h"
#include "support/DatetimeLib.h"
#include "store/SaveStamps.h"
#include "store/ZelvatMsg.h"
#include "support/CodePage.h"
#include "support/CommonConst.h"
#include "support/StringLib.h"
#include "support/Interruption.h"
#include "support/ZelvatLogLib.h"

#include <QCoreApplication>
#include <QTimer>


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

// SIGINT and SIGTERM (Ctrl+C on Windows) end a running session cleanly: the session is cancelled
// from the event loop, and the report stays Ready.
class SessionGuard {
public:
    SessionGuard(ServerSession &session, int waitSeconds)
    {
        QObject::connect(&m_interruption, &Interruption::requested, &session, [&session](const QString &what) {
            session.cancel(QStringLiteral("the headless client was interrupted (%1)").arg(what));
        });
        if (waitSeconds > 0) {
            m_timer.setSingleShot(true);
            m_timer.setInterval(waitSeconds * 1000);
            QObject::connect(&m_timer, &QTimer::timeout, &session, [&session, waitSeconds] {
                session.cancel(QStringLiteral("no answer within %1 seconds (--wait)").arg(waitSeconds));
            });
            m_timer.start();
        }
    }
    // The bound of --wait starts again (for the next report of a resend).
    void restart()
    {
        if (m_timer.interval() > 0)
            m_timer.start();
    }

private:
    Interruption m_interruption;
    QTimer m_timer;
};

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
    // Open in a report form at another position: its operator may be changing it.
    if (const auto mark = InUseMarks(cli.store().messageFolder()).isOpenElsewhere(names[0])) {
        Cli::err(InUseMarks::describeReport(*mark) + QStringLiteral("; it was not sent"));
        return Cli::Failure;
    }
    ZelvatLogLib::SetupLog(cli.programFolder(), true);
    ServerSession session(&cli.station());
    QObject::connect(&session, &ServerSession::status, [](const QString &s) { Cli::out(s); });
    SessionGuard guard(session, flags.waitSeconds);
    const auto missing = [eid = cli.store().EID()](const RequiredFields::Failure &f) {
        Cli::err(QStringLiteral("%1: missing %2%3").arg(eid, f.name,
                                                         f.key.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(f.key)));
    };
    switch (Outbox::submitStored(cli.store(), cli.station(), session, {flags.contact, flags.update}, missing)) {
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
    // The outbox's own run, over one session; each report carries the choices kept for it.
    ServerSession session(&cli.station());
    SessionGuard guard(session, flags.waitSeconds);
    Outbox::Hooks hooks;
    hooks.stopAtFailure = false; // a script resending after an outage has every report tried
    hooks.starting = [&guard](int, int, const QString &) { guard.restart(); };
    hooks.tried = [](const Outbox::Try &t) {
        for (const QString &notice : t.notices)
            Cli::err(notice);
        Cli::out(t.name + QLatin1Char('\t') + t.said);
    };
    const Outbox::Run run = Outbox(cli.programFolder(), cli.station()).sendReady(session, hooks);
    const int left = run.count - run.sent - run.passedBy;
    Cli::out(QStringLiteral("resent %1 of %2 Ready reports; %3 still Ready").arg(run.sent).arg(run.count).arg(left)
             + (run.inUse ? QStringLiteral(" (%1 open in a report form elsewhere)").arg(run.inUse) : QString())
             + (run.passedBy ? QStringLiteral("; %1 left to another program").arg(run.passedBy) : QString()));
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
