#pragma once

#include <QDateTime>
#include <QString>

// Date and time pieces of event numbers, save stamps, the session log and the clocks.
// All in local time; month names are English whatever the locale.
namespace DatetimeLib {

// The present local date and time. Tests may fix it with setFixedNow.
QDateTime now();
void setFixedNow(const QDateTime &when); // an invalid QDateTime returns to the real clock

QString year();                      // "yy" of today: 26
QString day();                       // day of the year of today as "000": 005, 326
QString yymmdd(const QDateTime &t);  // 261122
QString hhmm(const QDateTime &t);    // 1405 (24-hour)
QString clock(const QDateTime &t);   // 14:05:09 (24-hour)
QString logStamp(const QDateTime &t);   // 22-Nov-26 14:05:09
QString writeStamp(const QDateTime &t); // "yyy:hhmmss": two-digit year, day of year, ":", 140509

} // namespace DatetimeLib
