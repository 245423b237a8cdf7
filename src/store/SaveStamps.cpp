#include "store/SaveStamps.h"

#include "settings/ZelvatIni.h"
#include "support/DatetimeLib.h"
#include "store/ZelvatMsg.h"

void applySaveStamps(ZelvatMsg &msg, const ZelvatIni &station, const QDateTime &now)
{
    msg.setUID(station.Uid);
    msg.setULO(station.Loc);
    msg.setADT(DatetimeLib::yymmdd(now));
    msg.setATM(DatetimeLib::hhmm(now));
}

QString escapeBreaks(const QString &text)
{
    QString v = text;
    v.replace(QStringLiteral("\r\n"), QStringLiteral("\\n"));
    v.replace(QLatin1Char('\r'), QStringLiteral("\\n"));
    v.replace(QLatin1Char('\n'), QStringLiteral("\\n"));
    return v;
}

QString unescapeBreaks(const QString &text)
{
    QString v = text;
    v.replace(QStringLiteral("\\n"), QStringLiteral("\n"));
    return v;
}
