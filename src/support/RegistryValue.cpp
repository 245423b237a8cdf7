#include "support/RegistryValue.h"

QString registryDwordText(const QByteArray &bytes)
{
    QString hex;
    for (qsizetype i = bytes.size() - 1; i >= 0; --i)
        hex += QString::number(quint8(bytes[i]), 16).toUpper();
    bool ok = false;
    const qulonglong value = hex.toULongLong(&ok, 16);
    return ok ? QString::number(value) : QStringLiteral("0");
}
