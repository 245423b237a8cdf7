#pragma once

#include "support/RunError.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

// The earlier versions of the reports of one message folder: before a report file is replaced or
// removed, the version it holds is kept in msg.d/.versions/NAME/ as a file named by its token,
// with a note TOKEN.who beside it (its state and the station that wrote it). A token,
// "yyyyMMddTHHmmsszzz-NN" in UTC, sorts by the time it was kept and is made by an exclusive
// create, so two positions keeping in the same millisecond get two tokens. Every file there is
// read and written through SafeFile; what stands there that is no version (a link, a named pipe, a
// stray name) is named once in the event log and passed over, never followed.
class ReportVersions {
public:
    // How many versions of a report are kept, and for how long; the older go when a new one is
    // kept. A count of 0 keeps none: nothing is kept any more.
    struct Limits {
        int count = 50;
        int days = 90;
        bool operator==(const Limits &) const = default;
    };
    static constexpr int MaxCount = 1000;
    static constexpr int MaxDays = 3650;
    // The limits in force for every ReportVersions of this program (the window and the client set
    // them at start from storedLimits, the preferences after a change).
    static void setLimits(const Limits &limits);
    static Limits limits();
    // The limits kept in the per-user settings ("Versions/MaxCount", "Versions/MaxDays"); the
    // defaults for what is missing or out of range.
    static Limits storedLimits();
    static void storeLimits(const Limits &limits);

    struct Version {
        QString token;
        QDateTime time;  // when it was kept (UTC)
        QString state;   // the list's caption of its state: Draft, Ready, Submitted, Deleted
        QString station; // who wrote it: "NRT (Pat Smith, 1234)", or "another program"
    };

    // The versions of the reports of `messageFolder` (msg.d itself).
    explicit ReportVersions(const QString &messageFolder);

    // Keeps the version the report file `name` holds now, before it is replaced or removed.
    // True when it was kept, and when there is nothing to keep (no file, or keeping switched
    // off); false, saying why, when it could not be kept: the caller then must not replace it.
    bool keep(const QString &name, RunError *error);

    // The kept versions of `name`, oldest first.
    QList<Version> list(const QString &name) const;
    // The bytes of one kept version; false for a token that is no kept version of `name`.
    bool read(const QString &name, const QString &token, QByteArray *bytes, RunError *error) const;
    // Puts the version `token` back as the report file, byte for byte, keeping the version it
    // replaces in turn. An unknown token is refused and nothing changes.
    bool restore(const QString &name, const QString &token, RunError *error);

    // "yyyyMMddTHHmmsszzz-NN": the form of a token.
    static bool isToken(const QString &text);

private:
    // The folder of `name`'s versions when it is a real folder (made when `make`), else empty
    // with the reason in `error`.
    QString folderOf(const QString &name, bool make, RunError *error) const;
    void prune(const QString &folder, const QString &name) const;

    QString m_folder;
};
