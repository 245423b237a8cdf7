#include "store/Position.h"

#include "settings/ZelvatIni.h"
#include "support/Processes.h"

#include <QCoreApplication>
#include <QList>
#include <QSysInfo>

namespace {

Position &thisPosition()
{
    static Position position = [] {
        Position p;
        p.host = QSysInfo::machineHostName();
        if (p.host.isEmpty())
            p.host = QStringLiteral("localhost");
        p.process = QCoreApplication::applicationPid();
        return p;
    }();
    return position;
}

QByteArray field(const QString &value)
{
    QByteArray bytes = value.toUtf8();
    for (char &c : bytes) {
        if (c == '\t' || c == '\r' || c == '\n')
            c = ' ';
    }
    return bytes;
}

} // namespace

const Position &Position::current()
{
    return thisPosition();
}

void Position::setStation(const ZelvatIni &station)
{
    Position &p = thisPosition();
    p.stationName = station.Nam.trimmed();
    p.userId = station.Uid.trimmed();
    p.locationId = station.Lid.trimmed();
}

QString Position::describe() const
{
    QStringList names;
    for (const QString &n : {stationName, userId}) {
        if (!n.isEmpty())
            names << n;
    }
    const QString where = locationId.isEmpty() ? host : locationId;
    return names.isEmpty() ? where : QStringLiteral("%1 (%2)").arg(where, names.join(QStringLiteral(", ")));
}

bool Position::isThisProcess() const
{
    const Position &me = current();
    return process == me.process && host.compare(me.host, Qt::CaseInsensitive) == 0;
}

bool Position::isGoneOnThisHost() const
{
    return host.compare(current().host, Qt::CaseInsensitive) == 0 && !Processes::running(process);
}

QByteArray Position::toLine() const
{
    return field(stationName) + '\t' + field(userId) + '\t' + field(locationId) + '\t' + field(host) + '\t'
           + QByteArray::number(process);
}

std::optional<Position> Position::fromLine(QByteArrayView line)
{
    // Only the line's end is cut: a station without a name leaves the first field empty.
    QByteArray bytes = line.toByteArray();
    while (bytes.endsWith('\n') || bytes.endsWith('\r'))
        bytes.chop(1);
    const QList<QByteArray> parts = bytes.split('\t');
    if (parts.size() < 5)
        return std::nullopt;
    bool ok = false;
    Position p;
    p.stationName = QString::fromUtf8(parts[0]);
    p.userId = QString::fromUtf8(parts[1]);
    p.locationId = QString::fromUtf8(parts[2]);
    p.host = QString::fromUtf8(parts[3]);
    p.process = parts[4].toLongLong(&ok);
    if (!ok || p.process <= 0 || p.host.isEmpty())
        return std::nullopt;
    return p;
}
