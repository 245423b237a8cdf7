#include "link/Submission.h"

#include "link/CommLog.h"
#include "link/MessageText.h"
#include "link/OutboxFile.h"
#include "link/SendLock.h"
#include "link/ServerSession.h"
#include "store/FormRules.h"
#include "store/ZelvatMsg.h"
#include "support/CommonConst.h"
#include "support/DatetimeLib.h"
#include "support/Platform.h"
#include "support/ZelvatLogLib.h"

#include <QFileInfo>

bool Submission::SendReport(ServerSession &session, const QString &envelope, const QString &subject)
{
    const bool ok = session.SeqTndirect(envelope, subject);
    session.showStatus(ok ? QStringLiteral("Message transferred") : QStringLiteral("Message transfer problem"));
    return ok;
}

namespace {

using Outcome = Submission::Outcome;

Outcome submitReport(const QString &name, int state, ZelvatMsg &record, bool contactRequested, bool update,
                     ServerSession &session, const QString &encoding, const Submission::Hooks &hooks)
{
    const auto tell = [&hooks](const QString &text) {
        if (hooks.tell)
            hooks.tell(text);
        else
            notify(text, Notice::Exclamation);
    };
    record.Clear();
    if (!FormRules::canSubmit(state))
        return Outcome::NotSubmittable;
    if (!hooks.checkRequiredFields()) {
        session.showStatus(QStringLiteral("Missing data in a required field"));
        return Outcome::MissingData;
    }
    const SendLock lock(record.messageFolder(), name);
    if (!lock.locked()) {
        tell(lock.why() + QStringLiteral("; it was not sent from here."));
        return Outcome::Busy;
    }
    ZelvatMsg onDisk = record;
    if (state != Zelvat::StateSubmitted && onDisk.Load(name) && onDisk.AST() == Zelvat::StateSubmitted) {
        tell(QStringLiteral("%1 has been submitted by another program since it was opened here; it was not sent again.")
                 .arg(name));
        return Outcome::AlreadySent;
    }
    // The report is on disk as Ready before anything is sent.
    hooks.stateChanged(Zelvat::StateReady);
    const bool saved = hooks.saveAs(Zelvat::StateReady);
    hooks.refreshList();
    if (!saved)
        return Outcome::NotSaved;

    // While it waits in the Ready folder, its choices stay beside it, so that a resend sends the
    // message this Submit sends.
    OutboxFile outbox(QFileInfo(record.messageFolder()).path());
    const OutboxFile::Choice choice{contactRequested, update};
    RunError error;
    if (!outbox.setChoice(name, choice, &error))
        tell(QStringLiteral("%1: the outbox file could not keep the choices of this Submit (%2). Should it be sent "
                            "again from the outbox, its contact line and update mark may not be these.")
                 .arg(name, error.description));

    const QString body = MessageText::WrapBody(MessageText::BuildBody(record, contactRequested));
    const QString subject = MessageText::BuildSubject(record, update);
    const QString envelope = MessageText::BuildEnvelope(body, subject, encoding);
    if (!Submission::SendReport(session, envelope, subject)) {
        if (session.cancelled())
            return Outcome::Cancelled;
        tell(QStringLiteral("CmdSubmit: SendToClient Failed\r\n") + session.failure());
        return Outcome::NotSent;
    }
    if (!hooks.saveAs(Zelvat::StateSubmitted)) {
        // The message went out: say so plainly, or the next resend sends it again.
        ZelvatLogLib::WriteLogLine(QStringLiteral("SendMessage: %1 went out, but its file could not be marked Submitted")
                                       .arg(name));
        tell(QStringLiteral("%1 was sent, but its file could not be marked Submitted: it still says Ready. "
                            "Mark it before the Ready reports are sent again, or it goes out twice.")
                 .arg(name));
        hooks.refreshList();
        return Outcome::SentNotMarked;
    }
    hooks.refreshList();
    if (!(choice == OutboxFile::Choice()) && !outbox.setChoice(name, {}, &error))
        ZelvatLogLib::WriteLogLine(QStringLiteral("Outbox: the choices of %1 stay in the outbox file: %2")
                                       .arg(name, error.description));
    return Outcome::Sent;
}

} // namespace

Submission::Outcome Submission::submit(const QString &name, int state, ZelvatMsg &record, bool contactRequested,
                                       bool update, ServerSession &session, const QString &encoding, const Hooks &hooks)
{
    const Outcome outcome = submitReport(name, state, record, contactRequested, update, session, encoding, hooks);
    // Every try, whatever became of it, is one line of the communications log.
    const CommLog::Entry entry = CommLog::entryFor(outcome, name, record, update, session, DatetimeLib::now());
    RunError error;
    if (!entry.outcome.isEmpty() && !CommLog::append(QFileInfo(record.messageFolder()).path(), entry, &error))
        ZelvatLogLib::WriteLogLine(QStringLiteral("CommLog: the try of %1 could not be logged: %2").arg(name, error.text()));
    return outcome;
}
