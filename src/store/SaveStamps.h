#pragma once

#include <QDateTime>
#include <QString>

class ZelvatIni;
class ZelvatMsg;

// What every save of a report from the form stamps into it: the station's user identifier and
// location (UID, ULO) and the date and time of this save (ADT "yymmdd", ATM "hhmm").
void applySaveStamps(ZelvatMsg &msg, const ZelvatIni &station, const QDateTime &now);

// The line breaks of a multi-line box (DTL, PDE) as the two characters backslash and "n",
// the form in which they are stored and sent; CR LF, a lone CR and a lone LF each become one.
QString escapeBreaks(const QString &text);

// Every backslash-"n" back to a line break, for showing a stored value in a multi-line box.
QString unescapeBreaks(const QString &text);
