#include "support/DatetimeLib.h"

#include "support/StringLib.h"

#include <QLocale>

namespace {
QDateTime g_fixedNow;
}

namespace DatetimeLib {

QDateTime Now()
{
    return g_fixedNow.isValid() ? g_fixedNow : QDateTime::currentDateTime();
}

void setFixedNow(const QDateTime &when)
{
    g_fixedNow = when;
}

QString Year()
{
    return Now().date().toString(QStringLiteral("yy"));
}

QString Day()
{
    return StringLib::ZeroPadded(Now().date().dayOfYear(), 3);
}

QString Yymmdd(const QDateTime &t)
{
    return t.date().toString(QStringLiteral("yyMMdd"));
}

QString Hhmm(const QDateTime &t)
{
    return t.time().toString(QStringLiteral("HHmm"));
}

QString Clock(const QDateTime &t)
{
    return t.time().toString(QStringLiteral("HH:mm:ss"));
}

QString LogStamp(const QDateTime &t)
{
    return QLocale::c().toString(t, QStringLiteral("dd-MMM-yy HH:mm:ss"));
}

QString WriteStamp(const QDateTime &t)
{
    return t.date().toString(QStringLiteral("yy")) + QString::number(t.date().dayOfYear()) + QLatin1Char(':')
        + t.time().toString(QStringLiteral("HHmmss"));
}

} // namespace DatetimeLib
