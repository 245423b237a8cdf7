#pragma once

#include "support/RunError.h"

#include <QMap>
#include <QString>
#include <functional>

// The outbox file of a program folder, "Zelvatcts.outbox": what the outbox needs that the report
// files cannot hold (their layout is read by other programs) and the station file must not (the
// same): the automatic-resend settings, and for each report waiting in the Ready folder the
// choices made when it was submitted, so that a resend carries the same message the form's
// Submit sent. 8-bit text, CR LF after each line, written whole and atomically:
//   [OUTBOX]
//   Automatic=1
//   FirstRetry=60
//   [REPORTS]
//   SPF26320.101=CONTACT+UPDATE
// A missing file stands for the defaults and no choices; a file that cannot be read, or a line
// that makes no sense, is passed over (and named in problem()) and the file is written anew at
// the next change.
class OutboxFile {
public:
    struct Settings {
        bool automatic = true;      // "Resend Ready reports automatically"
        int firstRetrySeconds = 60; // the interval of the first retry
        bool operator==(const Settings &) const = default;
    };
    static constexpr int MinFirstRetrySeconds = 10;
    static constexpr int MaxRetrySeconds = 15 * 60;

    // The choices of one submission: the contact line ("Request Sheriff to contact me" was
    // ticked) and the update mark of the subject (the report was reopened with Update).
    struct Choice {
        bool contact = false;
        bool update = false;
        bool operator==(const Choice &) const = default;
    };

    explicit OutboxFile(const QString &programFolder);
    QString path() const;

    // Reads the file again.
    void load();
    const Settings &settings() const { return m_settings; }
    Choice choice(const QString &name) const { return m_choices.value(name); }
    QString problem() const { return m_problem; }

    // Changes are made under the file's lock: read again, change, write whole, so that two
    // programs on one folder lose none of each other's. False, with the reason in `error`, when the
    // file cannot be locked or written.
    bool setSettings(const Settings &settings, RunError *error);
    // Keeps the choice of `name`; the default choice takes its line out. Nothing is written when
    // the file already says so.
    bool setChoice(const QString &name, const Choice &choice, RunError *error);

private:
    bool change(const std::function<bool()> &apply, RunError *error);
    QByteArray content() const;

    QString m_folder;
    Settings m_settings;
    QMap<QString, Choice> m_choices;
    QString m_problem;
};
