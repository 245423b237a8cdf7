#include "support/FilterKey.h"

quint16 FilterKey(quint16 keyCode, const QString &allowed, bool allowBackspace)
{
    QString set = allowed.toUpper();
    if (allowBackspace)
        set.append(QChar(8));
    const QString key = QString(QChar(keyCode)).toUpper();
    return set.contains(key) ? keyCode : 0;
}
