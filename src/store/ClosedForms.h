#pragma once

#include "store/FormRecovery.h"
#include "support/RunError.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <optional>

// The unsaved input of report forms the operator closed on purpose (Close, Escape), kept so that
// a stray key does not throw a call away: the form's recovery file moves, as it is, into
// <program folder>/recovery/closed/ under the name NAME@yyyyMMdd-HHmmsszzz.rec, NAME being its
// recovery name and the stamp the local time it was closed. What is kept goes after 24 hours,
// and only the newest 20 stay; both are applied whenever a form is put there. A file there that
// cannot be read is never removed: the window names it and puts it aside (NAME.rec.bad).
// Reopening moves the file back to recovery/NAME.rec, where the opened form goes on keeping it.
namespace ClosedForms {

inline constexpr int KeepHours = 24;
inline constexpr int KeepCount = 20;

// <program folder>/recovery/closed
QString folder(const QString &programFolder);

struct Entry {
    QString path;                             // of the file in the folder
    QString fileName;                         // NAME@stamp.rec
    QString name;                             // NAME: the recovery name it goes back to
    QDateTime closed;                         // invalid when the file's name does not say
    std::optional<FormRecovery::Input> input; // nullopt when it cannot be read
    QString problem;                          // why it cannot be read
};

// Moves the recovery file of `name` into the folder, closed at `now`, then removes what is kept
// longer than 24 hours or beyond the newest 20 (what cannot be removed is logged). False, with the
// reason, when it cannot be moved (it then stays where it was, and is offered at the next start).
bool keep(const QString &programFolder, const QString &name, const QDateTime &now, RunError *error);

// What is kept, newest first: those closed within 24 hours of `now` that read, and every one that
// cannot be read (to be put aside).
QList<Entry> list(const QString &programFolder, const QDateTime &now);

// Removes the readable ones closed more than 24 hours before `now`, and those past the newest 20.
bool prune(const QString &programFolder, const QDateTime &now, RunError *error);

// Moves the kept file `fileName` back to recovery/NAME.rec and gives its input, for a form to
// open with. Nothing is replaced: when recovery/NAME.rec exists it stays and nothing moves.
std::optional<FormRecovery::Input> reopen(const QString &programFolder, const QString &fileName, RunError *error);

// "SPF26327.101, Person Down, closed 14:05" (with the date when it is not the day of `now`).
QString describe(const Entry &entry, const QDateTime &now);

} // namespace ClosedForms
