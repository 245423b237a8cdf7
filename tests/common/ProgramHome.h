#pragma once

#include "settings/ZelvatIni.h"

#include <QByteArray>
#include <QDateTime>
#include <QStringList>
#include <QTemporaryDir>
#include <memory>

// A program folder of a test's own: a scratch folder with msg.d and logs, a station file, the
// clock fixed at 16 November 2026 (day 320) 14:05:00 and the session log off. Everything goes
// away, and the real clock comes back, with the object.
class ProgramHome {
public:
    static const QDateTime FixedNow;
    // The station file's [GENERAL OPTIONS] lines; the default names a station SPF, KN1ABC, EOC.
    static const QByteArray DefaultStation;

    explicit ProgramHome(const QByteArray &stationLines = DefaultStation);
    ~ProgramHome();
    ProgramHome(const ProgramHome &) = delete;
    ProgramHome &operator=(const ProgramHome &) = delete;

    QString path() const { return m_dir.path(); }
    QString reportPath(const QString &name) const;
    QString stationPath() const;
    QString logPath() const; // today's session log

    void writeStation(const QByteArray &lines);
    void writeReport(const QString &name, const QByteArray &bytes) const;
    QByteArray readReport(const QString &name) const;
    // The file names in msg.d, sorted.
    QStringList reportFiles() const;

    // The station settings, read from the station file when first asked for.
    ZelvatIni &station();

private:
    QTemporaryDir m_dir;
    std::unique_ptr<ZelvatIni> m_station;
};
