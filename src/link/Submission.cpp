#include "link/Submission.h"

#include "link/MessageText.h"
#include "link/ServerSession.h"
#include "store/FormRules.h"
#include "store/ZelvatMsg.h"
#include "support/CommonConst.h"
#include "support/Platform.h"

bool Submission::SendReport(ServerSession &session, const QString &envelope, const QString &subject)
{
    const bool ok = session.SeqTndirect(envelope, subject);
    session.showStatus(ok ? QStringLiteral("Message transferred") : QStringLiteral("Message transfer problem"));
    return ok;
}

Submission::Outcome Submission::submit(int state, ZelvatMsg &record, bool contactRequested, bool update,
                                       ServerSession &session, const QString &encoding, const Hooks &hooks)
{
    record.Clear();
    if (!FormRules::canSubmit(state))
        return Outcome::NotSubmittable;
    if (!hooks.checkRequiredFields()) {
        session.showStatus(QStringLiteral("Missing data in a required field"));
        return Outcome::MissingData;
    }
    // The report is on disk as Ready before anything is sent.
    hooks.stateChanged(Zelvat::StateReady);
    const bool saved = hooks.saveAs(Zelvat::StateReady);
    hooks.refreshList();
    if (!saved)
        return Outcome::NotSaved;

    const QString body = MessageText::WrapBody(MessageText::BuildBody(record, contactRequested));
    const QString subject = MessageText::BuildSubject(record, update);
    const QString envelope = MessageText::BuildEnvelope(body, subject, encoding);
    if (!SendReport(session, envelope, subject)) {
        if (session.cancelled())
            return Outcome::Cancelled;
        notify(QStringLiteral("CmdSubmit: SendToClient Failed"), Notice::Exclamation);
        return Outcome::NotSent;
    }
    hooks.saveAs(Zelvat::StateSubmitted);
    hooks.refreshList();
    return Outcome::Sent;
}
