#pragma once

#include "link/OutboxFile.h"
#include "link/RequiredFields.h"
#include "link/Submission.h"

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>

class InUseMarks;
class ServerSession;
class ZelvatIni;
class ZelvatMsg;

// The reports of the Ready folder, sent one after the other with the same submission the report
// form and the headless client use, each with the choices kept for it in the outbox file. The
// main window's "Send Ready Reports" and its automatic resend, and `zelvatcts-cli resend`, are
// its callers. One session at a time: the caller's session carries every report in turn.
class Outbox {
public:
    Outbox(const QString &programFolder, ZelvatIni &station);

    // The names of the Ready reports, in the order they are sent (by name: the event numbers
    // in the order they were taken).
    QStringList readyReports() const;

    enum class Result {
        Sent,          // accepted by the server and stored as Submitted
        SentNotMarked, // accepted, but its file could not be marked Submitted
        NotSent,       // the server did not take it: it stays Ready
        Cancelled,     // the session was cancelled: it stays Ready
        NeedsOperator, // required fields missing, or it cannot be read or saved: it stays Ready
        PassedBy,      // open in the report form, sent or being sent by another program, no
                       // longer Ready: left alone
        InUse,         // open in a report form at another position: it stays Ready, tried later
    };
    struct Try {
        QString name;
        Result result = Result::NotSent;
        QString said;          // "Submitted", "still Ready: <why>", "skipped: <why>", ...
        QStringList notices;   // what the submission told the operator, for the caller to show
    };
    struct Hooks {
        // A report open in a report form of this program is passed by.
        std::function<bool(const QString &name)> isOpen;
        // Before each report: its place in the run (from 0), how many there are, its name.
        std::function<void(int index, int count, const QString &name)> starting;
        // After each report.
        std::function<void(const Try &)> tried;
        // The run ends at the first report the server did not take (it is likely down).
        bool stopAtFailure = true;
        // The reports to try, in order, where the caller knows them already; by default every
        // Ready report of the folder. Each is loaded again and passed by when no longer Ready.
        std::optional<QStringList> reports;
    };
    struct Run {
        int count = 0;       // Ready reports when the run began
        int sent = 0;        // sent (and marked Submitted, or not)
        int passedBy = 0;    // left alone
        int needsOperator = 0;
        int inUse = 0;       // open in a report form at another position: still Ready
        bool linkFailed = false; // a report was not taken, or the session was cancelled
        bool cancelled = false;
        bool madeWay = false; // ended early for the report form (makeWay)
        QString failure;     // the session's own words for the last failure
        QStringList tried;   // the names tried, in order
    };
    // Sends the Ready reports in turn over `session`; stops when the session is cancelled. Every
    // try is written to the session log. What the submissions would tell the operator comes back
    // in the tries instead (the operator may be typing a call meanwhile: nothing pops up).
    Run sendReady(ServerSession &session, const Hooks &hooks);

    // One stored report, as loaded into `record`, submitted as the form's Submit does it: required
    // fields checked on what is stored (each missing one given to `missing`), saved as Ready,
    // sent, saved as Submitted; the save stamps from the station. What the submission and the
    // saves would tell the operator goes to `tell` when it is given.
    static Submission::Outcome submitStored(ZelvatMsg &record, ZelvatIni &station, ServerSession &session,
                                            const OutboxFile::Choice &choice,
                                            const std::function<void(const RequiredFields::Failure &)> &missing,
                                            const std::function<void(const QString &)> &tell = {});

    // True while a run of an outbox of this program goes on.
    static bool sending();
    // The operator wants to submit from the report form: a run in progress ends after the report
    // it is sending, leaving the rest Ready for the next run.
    static void makeWay();

private:
    Try sendOne(const QString &name, ServerSession &session, const Hooks &hooks);

    QString m_folder;
    ZelvatIni &m_station;
    std::shared_ptr<InUseMarks> m_marks; // who has a report open, for the run going on
};

// When the outbox tries again by itself: the first interval after reports were left Ready;
// after each failed try the interval doubles, up to 15 minutes; after a try that went well it is
// the first interval again. Plain arithmetic on the times the caller gives.
class RetrySchedule {
public:
    explicit RetrySchedule(int firstSeconds = 60);

    // A new first interval; the interval starts again from it.
    void setFirstInterval(int seconds);
    int firstInterval() const { return m_first; }
    // The wait before the next try planned from now.
    int interval() const { return m_interval; }

    // Plans a try `interval()` from now, unless one is planned already.
    void plan(const QDateTime &now);
    // Nothing waits: no try is planned.
    void clear() { m_next = QDateTime(); }
    // After a run: a failure plans the next try and doubles the interval; a success puts the
    // first interval back and plans nothing (the caller plans again when reports remain).
    void tried(bool succeeded, const QDateTime &now);

    QDateTime next() const { return m_next; }
    bool due(const QDateTime &now) const { return m_next.isValid() && now >= m_next; }

private:
    int m_first;
    int m_interval;
    QDateTime m_next;
};
