#pragma once

#include "link/Submission.h"
#include "support/RunError.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

class ServerSession;
class ZelvatIni;
class ZelvatMsg;

// The communications log: one line for every try to send a report (the report form's Submit and
// Update, the outbox, the client's submit and resend), appended to "Zelvatcts.comms" in the
// program folder. Each line is UTF-8, ended by CR LF, ten fields separated by tabs:
//   date and time ("yyyy-mm-dd hh:mm:ss", the station's clock), event ID, message ID, subject,
//   server ("host:port"), outcome ("sent" or "not sent"), why (for a report not sent: "refused",
//   "no answer", "interrupted", "required fields missing", ...; for one sent but whose file could
//   not be marked: "not marked Submitted"), operator name, user ID, location.
// A tab or line break inside a value becomes a blank. The session log stays as it is; this file
// is read only by this program, and a line it cannot read is passed over and counted.
class CommLog {
public:
    struct Entry {
        QDateTime when;
        QString eventId;
        QString messageId;
        QString subject;
        QString server;
        QString outcome;
        QString why;
        QString operatorName;
        QString userId;
        QString location;
    };

    // The program folder's log file: folder + "/Zelvatcts.comms".
    static QString path(const QString &programFolder);

    // The column names, in the order of the fields of a line (the CSV's first row).
    static const QStringList &columns();
    // An entry's values in the order of columns(); the date and time as "yyyy-mm-dd hh:mm:ss".
    static QStringList cells(const Entry &entry);

    // The line of an entry, ended by CR LF.
    static QByteArray line(const Entry &entry);
    // Appends the entry's line to the log of `programFolder`, whole or not at all.
    static bool append(const QString &programFolder, const Entry &entry, RunError *error);

    // The tries of a period, as read back.
    struct Period {
        QList<Entry> entries; // from..to (both included), in the order they were written
        int damaged = 0;      // lines that could not be read: passed over
    };
    // Reads the tries made from `from` to `to`. A missing log is an empty period; a log that
    // cannot be read gives false with the reason in `error`.
    static bool read(const QString &programFolder, const QDateTime &from, const QDateTime &to, Period *period,
                     RunError *error);
    // The tries of the lines `bytes` that fall in the period (the reading without the file).
    static Period parse(const QByteArray &bytes, const QDateTime &from, const QDateTime &to);

    // The default period: the last 12 hours up to `now`.
    static QDateTime defaultFrom(const QDateTime &now) { return now.addSecs(-12 * 3600); }

    // The incident name the log's head names, as the operator last typed it; kept per user
    // (group "CommLog", key "Incident"), so the window and the client print the same head.
    static QString incidentName();
    static void keepIncidentName(const QString &name);

    // The period as CSV: byte-order mark, the column names, one row per try, cells made safe
    // for spreadsheets as every CSV of the program is.
    static QByteArray csv(const QList<Entry> &entries);

    // The log entry of one ending of a submission: the report `name` (its file name, standing
    // for the event ID while the record holds none), what was sent, the server and station
    // the session talks for. Empty outcome for an ending that is no try (NotSubmittable).
    static Entry entryFor(Submission::Outcome outcome, const QString &name, const ZelvatMsg &record, bool update,
                          const ServerSession &session, const QDateTime &when);
    // Why a session failed, in a word or two, from its own words ("host:port: the connection
    // was refused ..." gives "refused").
    static QString whyNotSent(const QString &failure);
};
