#include "common/ProgramHome.h"

#include "common/Capture.h"
#include "store/ProgramFolder.h"
#include "support/DatetimeLib.h"
#include "support/ZelvatLogLib.h"

#include <QDir>

const QDateTime ProgramHome::FixedNow(QDate(2026, 11, 16), QTime(14, 5));
const QByteArray ProgramHome::DefaultStation = "Uid=KN1ABC\r\nLoc=EOC\r\nLid=SPF\r\n";

ProgramHome::ProgramHome(const QByteArray &stationLines)
{
    RunError error;
    if (!m_dir.isValid() || !ProgramFolder::prepare(m_dir.path(), &error))
        qFatal("no scratch program folder: %s", qPrintable(error.description));
    writeStation(stationLines);
    DatetimeLib::setFixedNow(FixedNow);
    ZelvatLogLib::resetLog();
}

ProgramHome::~ProgramHome()
{
    DatetimeLib::setFixedNow({});
    ZelvatLogLib::resetLog();
}

QString ProgramHome::reportPath(const QString &name) const
{
    return m_dir.filePath(QStringLiteral("msg.d/") + name + QStringLiteral(".911"));
}

QString ProgramHome::stationPath() const
{
    return ProgramFolder::stationFile(m_dir.path());
}

QString ProgramHome::logPath() const
{
    return m_dir.filePath(QStringLiteral("logs/Zelvat_") + DatetimeLib::yymmdd(DatetimeLib::now()) + QStringLiteral(".log"));
}

void ProgramHome::writeStation(const QByteArray &lines)
{
    writeFile(stationPath(), "[GENERAL OPTIONS]\r\n" + lines);
    m_station.reset();
}

void ProgramHome::writeReport(const QString &name, const QByteArray &bytes) const
{
    writeFile(reportPath(name), bytes);
}

QByteArray ProgramHome::readReport(const QString &name) const
{
    return readFile(reportPath(name));
}

QStringList ProgramHome::reportFiles() const
{
    return QDir(m_dir.filePath(QStringLiteral("msg.d"))).entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

ZelvatIni &ProgramHome::station()
{
    if (!m_station) {
        m_station = std::make_unique<ZelvatIni>(stationPath());
        m_station->load();
    }
    return *m_station;
}
