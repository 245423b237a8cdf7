#pragma once

#include "store/ZelvatMsg.h"
#include "support/RunError.h"

#include <QDateTime>
#include <QList>
#include <QLockFile>
#include <QString>
#include <optional>

// The input of a report form that is not saved yet, kept beside the reports so that a call being
// written is not lost when the program is killed, the machine loses its power or the session
// ends: one recovery file per open form, <program folder>/recovery/NAME.rec, NAME being the
// report's name (its event number for a new report). The form writes it a moment after each
// change and removes it when the input is saved, submitted or deleted; a form the operator
// closes on purpose moves it among the closed forms (ClosedForms). At the next start the program
// offers what it finds here.
//
// A recovery file is 8-bit text: a header of its own,
//   [FORM RECOVERY]
//   Opened=<the report name the form was opened from; empty for a new report>
//   Update=<1 after Update, else 0>
//   Contact=<1 when "Request Sheriff to contact me" is ticked, else 0>
//   Written=<local time, yyyy-MM-ddTHH:mm:ss>
// followed by the report lines of every field as a report file writes them (the sections of
// every event type, so that a box of a type chosen and dropped again keeps its text), AST
// holding the form's state. It is read back by the report loader.
namespace FormRecovery {

// What the form holds.
struct Input {
    explicit Input(const QString &programFolder)
        : record(programFolder)
    {
    }
    ZelvatMsg record;   // TYP, EID, MID, every box, CON, BRE; AST is the form's state
    QString openedFrom; // the report name the form was opened from; empty for a new report
    bool update = false;
    bool contact = false;
    QDateTime written;
};

// <program folder>/recovery, and the file of one name in it.
QString folder(const QString &programFolder);
QString pathFor(const QString &programFolder, const QString &name);

// The bytes of a recovery file for the input. Control characters other than tab and line breaks
// (pasted text) become "?", which a report file can hold.
QByteArray content(const Input &input);

// Replaces the recovery file of `name` whole (creating the folder when missing). It is not
// flushed at once: see SafeFile::Flush::Later. False, with the reason in `error`, when it cannot be
// written or its content could not be read back.
bool write(const QString &programFolder, const QString &name, const Input &input, RunError *error);

// Reads the recovery file of `name`; nullopt, with the reason in `error`, when it is missing or
// cannot be read (it is no recovery file, a line is damaged, it names no event ID).
std::optional<Input> read(const QString &programFolder, const QString &name, RunError *error);
// The same for the recovery file at `path` (one of the forms closed on purpose).
std::optional<Input> readFile(const QString &programFolder, const QString &path, RunError *error);

// Removes the recovery file of `name`; a missing one is no error.
bool remove(const QString &programFolder, const QString &name, RunError *error);

// Moves a recovery file that cannot be read out of the way, never deleting it: NAME.rec becomes
// NAME.rec.bad (NAME.rec.bad2, ... when that is taken). `keptAs` gets the new path.
bool keepAside(const QString &programFolder, const QString &name, QString *keptAs, RunError *error);
bool keepFileAside(const QString &path, QString *keptAs, RunError *error);

// The recovery files of the folder, by name.
struct Entry {
    QString name;
    std::optional<Input> input; // nullopt when it cannot be read
    QString problem;            // why it cannot be read
    QString holder;             // who keeps it now (a form open in a running program), or empty
};
QList<Entry> list(const QString &programFolder);

// "A report being written when Zelvatcts stopped was kept: <event ID>, <issue>, <time>.
// Restore it?"
QString offerText(const Input &input);
// The time a recovery was written, as the offer and the client show it: 16-Nov-26 14:05:09.
QString writtenText(const Input &input);

// The claim of a running form on its recovery name: a lock file NAME.rec.lock beside it, held
// while the form is open, so that no other program on a shared folder offers the input of a
// form that is still being written. A program that was killed leaves a lock that is stale.
class Claim {
public:
    Claim(const QString &programFolder, const QString &name);
    bool held() const { return m_held; }

private:
    QLockFile m_file;
    bool m_held = false;
};

// When a form's unsaved input is written: half a second after the operator stops, and while they
// go on typing, no later than two seconds after the first change not yet written. Driven by the
// times the caller gives (DatetimeLib::now()).
class Schedule {
public:
    static constexpr qint64 QuietMs = 500;
    static constexpr qint64 LatestMs = 2000;

    void noteChange(const QDateTime &now);
    bool pending() const { return m_first.isValid(); }
    bool due(const QDateTime &now) const;
    void written() { m_first = m_last = QDateTime(); }

private:
    QDateTime m_first; // the first change not yet written
    QDateTime m_last;  // the last change
};

} // namespace FormRecovery
