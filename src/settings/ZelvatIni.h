#pragma once

#include "support/IniText.h"

#include <QList>
#include <QLockFile>
#include <QString>
#include <functional>
#include <optional>

// The station configuration: the station's own settings, kept in "Zelvatcts.ini" in the
// program folder. One instance serves the whole program.
class ZelvatIni {
public:
    explicit ZelvatIni(const QString &path);

    // The station values, with their defaults.
    QString Nam;                      // operator name
    QString Uid;                      // user identifier or call sign
    QString Loc;                      // station location
    QString Cty;                      // city
    QString Lid;                      // location identifier, three characters by convention
    qint32 Eno = 100;                 // next event number
    float Lvf = 10;                   // font size of the report list, in points
    QString Hst = QStringLiteral("127.0.0.1"); // message-server host
    QString Prt = QStringLiteral("9334");      // message-server port, kept as text
    qint16 Nto = 5000;                // network time-out in milliseconds
    QString Enc = QStringLiteral("BASE64");    // declared body encoding

    // How long a save or the taking of a number waits for another program's lock on the file.
    int lockWaitMs = 10000;

    QString path() const { return m_path; }

    void setDefaults();

    // Fills the values from the file; a missing file is created with the defaults. A line
    // that cannot be taken (a value that is no number or out of range, a known key without
    // "=") leaves that value at its default, is listed in problems(), and the operator is told
    // once, naming the file, the lines and the values; the file as it was is kept beside it as
    // "Zelvatcts.ini.bad" before anything rewrites it. Returns false when there were problems.
    bool load();
    const QList<IniProblem> &problems() const { return m_problems; }

    // Writes the whole file; false after telling the operator when it cannot be written.
    // The old file is replaced in one step, never left half-written.
    bool save();

    // The bytes Save writes.
    QByteArray fileContent() const;

    // Hands out the next event number and saves the file, under a lock shared by every program
    // working on this folder. The counter on disk is looked at under the lock, so that a number
    // another program took is not handed out again; a new value the operator gave in the
    // station dialog since the last look still counts. Numbers for which `inUse` answers true
    // are passed over. nullopt, with the reason in `error`, when the counter would pass 32767 or
    // the lock or the file cannot be had; the counter is then left as it was.
    std::optional<qint16> takeNextEventNumber(const std::function<bool(qint16)> &inUse, RunError *error);

private:
    QList<IniKey> keys();
    bool lock(QLockFile &lock, const QString &consequence, RunError *error) const;
    bool saveLocked(RunError *error);
    void followCounterOnDisk();
    std::optional<qint32> counterOnDisk() const;

    QString m_path;
    qint32 m_enoSeen = 100; // the counter as last read from or written to the file
    QList<IniProblem> m_problems;
};
