#pragma once

#include <QString>
#include <functional>

class ServerSession;
class ZelvatMsg;

// The submission of a report: check, store as Ready, send in one server session, store as
// Submitted. The report form and the headless client run the same steps; what needs a window
// (copying the boxes into the record, painting missing fields, the buttons) comes in as hooks.
class Submission {
public:
    struct Hooks {
        // Checks the required fields (and shows the operator which are missing); true to go on.
        std::function<bool()> checkRequiredFields;
        // Stores the report into the record with this state, stamps and saves it; false when
        // the file could not be written.
        std::function<bool(qint16 state)> saveAs;
        // The report's state changed (the form's buttons and caption).
        std::function<void(qint16 state)> stateChanged;
        // The list of reports should be built again.
        std::function<void()> refreshList;
        // What the submission tells the operator (why it was not sent, ...); unset: a message box.
        std::function<void(const QString &text)> tell;
    };

    enum class Outcome {
        NotSubmittable, // the state allows no submission (Deleted, Submitted, ...)
        MissingData,    // required fields missing: nothing saved, nothing sent
        NotSaved,       // the Ready report could not be written: nothing sent
        Sent,           // accepted by the message server; stored as Submitted
        SentNotMarked,  // accepted, but the file could not be marked Submitted: it says Ready
        NotSent,        // not accepted; stored as Ready
        Cancelled,      // the session was cancelled (window closed, interrupted); stored as Ready
        Busy,           // another program is sending this report now: nothing done here
        AlreadySent,    // another program has sent it since it was read: not sent again
    };

    // cmdSubmit_Click without its widgets. `name` is the report's file name (its event number for
    // a report not yet saved), `state` the form's report state, `encoding` the station's Enc;
    // status texts go out through the session's status signal. The report's send lock is held
    // from before its state on disk is looked at to the final save, so that no two programs
    // send one report twice.
    static Outcome submit(const QString &name, int state, ZelvatMsg &record, bool contactRequested, bool update,
                          ServerSession &session, const QString &encoding, const Hooks &hooks);

    // Runs one session for the envelope and reports "Message transferred" or "Message transfer
    // problem"; returns the session's result.
    static bool SendReport(ServerSession &session, const QString &envelope, const QString &subject);
};
