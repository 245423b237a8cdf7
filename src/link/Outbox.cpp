#include "link/Outbox.h"

#include "link/ServerSession.h"
#include "settings/ZelvatIni.h"
#include "store/InUseMarks.h"
#include "store/SaveStamps.h"
#include "store/ZelvatMsg.h"
#include "support/CommonConst.h"
#include "support/DatetimeLib.h"
#include "support/Platform.h"
#include "support/ZelvatLogLib.h"

namespace {

int g_runs = 0;
bool g_makeWay = false;

// What the loader or a save would say to the operator, kept for the caller instead. Installed
// only around calls that run no events: what the rest of the program says meanwhile still
// reaches the operator.
struct Collect : Notifier, EventLog {
    QStringList said;
    void show(const Notice &n) override { said << n.text; }
    void error(const QString &) override {}
};

struct Forward : Notifier {
    explicit Forward(const std::function<void(const QString &)> &to)
        : to(to)
    {
    }
    void show(const Notice &n) override { to(n.text); }
    const std::function<void(const QString &)> &to;
};

} // namespace

Outbox::Outbox(const QString &programFolder, ZelvatIni &station)
    : m_folder(programFolder)
    , m_station(station)
{
}

bool Outbox::sending()
{
    return g_runs > 0;
}

void Outbox::makeWay()
{
    g_makeWay = sending();
}

QStringList Outbox::readyReports() const
{
    // Reports that cannot be read are the list's to tell about, not the outbox's.
    Collect quiet;
    ScopedNotifier notices(&quiet);
    ScopedEventLog events(&quiet);
    ZelvatMsg reader(m_folder);
    QStringList ready;
    for (const QString &name : reader.fileNames()) {
        if (reader.Load(name) && reader.AST() == Zelvat::StateReady)
            ready.append(name);
    }
    ready.sort();
    return ready;
}

Submission::Outcome Outbox::submitStored(ZelvatMsg &record, ZelvatIni &station, ServerSession &session,
                                         const OutboxFile::Choice &choice,
                                         const std::function<void(const RequiredFields::Failure &)> &missing,
                                         const std::function<void(const QString &)> &tell)
{
    const ZelvatMsg loaded = record; // the report as it stands on disk stands for the form's boxes
    Submission::Hooks hooks;
    hooks.checkRequiredFields = [&] {
        const auto failures = RequiredFields::check(loaded, choice.contact);
        for (const RequiredFields::Failure &f : failures)
            missing(f);
        return failures.isEmpty();
    };
    hooks.saveAs = [&](qint16 state) {
        record = loaded;
        record.setAST(state);
        applySaveStamps(record, station, DatetimeLib::now());
        if (!tell)
            return record.Fadd();
        Forward forward(tell);
        ScopedNotifier scoped(&forward);
        return record.Fadd();
    };
    hooks.stateChanged = [](qint16) {};
    hooks.refreshList = [] {};
    hooks.tell = tell;
    return Submission::submit(loaded.fileName(), loaded.AST(), record, choice.contact, choice.update, session, station.Enc,
                              hooks);
}

Outbox::Try Outbox::sendOne(const QString &name, ServerSession &session, const Hooks &hooks)
{
    Try t;
    t.name = name;
    const auto result = [&t](Result r, const QString &said) {
        t.result = r;
        t.said = said;
        return t;
    };
    if (hooks.isOpen && hooks.isOpen(name))
        return result(Result::PassedBy, QStringLiteral("skipped: it is open in the report form"));

    ZelvatMsg record(m_folder);
    {
        Collect collect;
        ScopedNotifier notices(&collect);
        if (!record.Load(name)) {
            t.notices = collect.said;
            return collect.said.isEmpty() ? result(Result::PassedBy, QStringLiteral("skipped: it is gone"))
                                          : result(Result::NeedsOperator, QStringLiteral("skipped: it cannot be read"));
        }
    }
    if (record.AST() != Zelvat::StateReady) // another program has dealt with it since the list was made
        return result(Result::PassedBy, QStringLiteral("skipped: it is %1 now").arg(Zelvat::stateName(record.AST())));
    // Open in a report form at another position: its operator may be changing it. It stays Ready.
    if (m_marks) {
        if (const auto mark = m_marks->isOpenElsewhere(name))
            return result(Result::InUse, QStringLiteral("still Ready: ") + InUseMarks::describeReport(*mark));
    }

    QStringList missing;
    const QString eid = record.EID();
    const Submission::Outcome outcome =
        submitStored(record, m_station, session, OutboxFile(m_folder).choice(name), [&](const RequiredFields::Failure &f) {
            missing << QStringLiteral("%1: missing %2%3").arg(eid, f.name,
                                                               f.key.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(f.key));
        }, [&t](const QString &text) { t.notices << text; });
    t.notices = missing + t.notices;
    switch (outcome) {
    case Submission::Outcome::Sent: return result(Result::Sent, QStringLiteral("Submitted"));
    case Submission::Outcome::SentNotMarked: return result(Result::SentNotMarked, QStringLiteral("sent, but not marked Submitted"));
    case Submission::Outcome::Busy: return result(Result::PassedBy, QStringLiteral("skipped: another program is sending it"));
    case Submission::Outcome::AlreadySent: return result(Result::PassedBy, QStringLiteral("skipped: another program sent it"));
    case Submission::Outcome::Cancelled: return result(Result::Cancelled, QStringLiteral("still Ready: ") + session.failure());
    case Submission::Outcome::NotSent: return result(Result::NotSent, QStringLiteral("still Ready: ") + session.failure());
    case Submission::Outcome::MissingData:
        return result(Result::NeedsOperator, QStringLiteral("still Ready: required fields are missing"));
    case Submission::Outcome::NotSaved: return result(Result::NeedsOperator, QStringLiteral("still Ready: it could not be saved"));
    case Submission::Outcome::NotSubmittable: break;
    }
    return result(Result::PassedBy, QStringLiteral("skipped: it cannot be submitted"));
}

Outbox::Run Outbox::sendReady(ServerSession &session, const Hooks &hooks)
{
    struct Running {
        Running() { ++g_runs; }
        ~Running()
        {
            if (--g_runs == 0)
                g_makeWay = false;
        }
    } running;
    Run run;
    m_marks = std::make_shared<InUseMarks>(ZelvatMsg(m_folder).messageFolder());
    const QStringList ready = hooks.reports ? *hooks.reports : readyReports();
    run.count = int(ready.size());
    for (int i = 0; i < run.count; ++i) {
        if (session.cancelled()) {
            run.cancelled = run.linkFailed = true;
            run.failure = session.failure();
            break;
        }
        if (g_makeWay) {
            run.madeWay = true;
            break;
        }
        if (hooks.starting)
            hooks.starting(i, run.count, ready[i]);
        const Try t = sendOne(ready[i], session, hooks);
        ZelvatLogLib::WriteLogLine(QStringLiteral("Outbox: ") + t.name + QLatin1Char(' ') + t.said);
        run.tried << t.name;
        switch (t.result) {
        case Result::Sent:
        case Result::SentNotMarked: ++run.sent; break;
        case Result::PassedBy: ++run.passedBy; break;
        case Result::NeedsOperator: ++run.needsOperator; break;
        case Result::InUse: ++run.inUse; break;
        case Result::Cancelled: run.cancelled = true; [[fallthrough]];
        case Result::NotSent:
            run.linkFailed = true;
            run.failure = session.failure();
            break;
        }
        if (hooks.tried)
            hooks.tried(t);
        if (run.cancelled || (t.result == Result::NotSent && hooks.stopAtFailure))
            break;
    }
    return run;
}

RetrySchedule::RetrySchedule(int firstSeconds)
    : m_first(firstSeconds)
    , m_interval(firstSeconds)
{
}

void RetrySchedule::setFirstInterval(int seconds)
{
    m_first = m_interval = seconds;
}

void RetrySchedule::plan(const QDateTime &now)
{
    if (!m_next.isValid())
        m_next = now.addSecs(m_interval);
}

void RetrySchedule::tried(bool succeeded, const QDateTime &now)
{
    if (succeeded) {
        m_interval = m_first;
        m_next = QDateTime();
        return;
    }
    m_next = now.addSecs(m_interval);
    m_interval = std::min(m_interval * 2, std::max(m_first, OutboxFile::MaxRetrySeconds));
}
