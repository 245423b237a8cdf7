#include "support/DatetimeLib.h"

#include "support/StringLib.h"

#include <QLocale>

namespace {
QDateTime g_fixedNow;
}

namespace DatetimeLib {

QDateTime now()
{
    return g_fixedNow.isValid() ? g_fixedNow : QDateTime::currentDateTime();
}

void setFixedNow(const QDateTime &when)
{
    g_fixedNow = when;
}

QString year()
{
    return now().date().toString(QStringLiteral("yy"));
}

QString day()
{
    return StringLib::zeroPadded(now().date().dayOfYear(), 3);
}

QString yymmdd(const QDateTime &t)
{
    return t.date().toString(QStringLiteral("yyMMdd"));
}

QString hhmm(const QDateTime &t)
{
    return t.time().toString(QStringLiteral("HHmm"));
}

QString clock(const QDateTime &t)
{
    return t.time().toString(QStringLiteral("HH:mm:ss"));
}

QString logStamp(const QDateTime &t)
{
    return QLocale::c().toString(t, QStringLiteral("dd-MMM-yy HH:mm:ss"));
}

QString writeStamp(const QDateTime &t)
{
    return t.date().toString(QStringLiteral("yy")) + QString::number(t.date().dayOfYear()) + QLatin1Char(':')
        + t.time().toString(QStringLiteral("HHmmss"));
}

} // namespace DatetimeLib
