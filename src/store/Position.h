#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <optional>

class ZelvatIni;

// One operator position: a program working on the message folder, with the station file of its
// own program folder. Positions that share a message folder tell each other who wrote a report
// and who has one open by this record, kept in small files of the shared folder. A process ID
// alone does not name a position on a shared folder: positions run on several machines, so the
// host name goes with it.
struct Position {
    QString stationName; // the station's operator name (Nam)
    QString userId;      // its user identifier or call sign (Uid)
    QString locationId;  // its location identifier (Lid), "NRT"
    QString host;        // the machine's host name
    qint64 process = 0;  // the process ID on that machine

    // This program: host and process of its own, the station's names once they are known.
    static const Position &current();
    // Takes the station's names into current() (at start and after the station dialog).
    static void setStation(const ZelvatIni &station);

    // "NRT (Pat Smith, 1234)": the location ID, then what else names the station.
    QString describe() const;

    // True when this is the running program itself.
    bool isThisProcess() const;
    // True when the position is known to be gone: its host is this machine and no process of
    // its ID runs there. A position on another machine is never known gone by this test.
    bool isGoneOnThisHost() const;

    // One line of text for the shared folder: "station<TAB>user<TAB>location<TAB>host<TAB>pid",
    // UTF-8, tabs and line breaks in the values turned into blanks.
    QByteArray toLine() const;
    // The record of such a line; nullopt for anything else (too few fields, no number, no host).
    static std::optional<Position> fromLine(QByteArrayView line);
};
