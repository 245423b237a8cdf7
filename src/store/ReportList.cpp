#include "store/ReportList.h"

#include "store/ZelvatMsg.h"

#include <QDate>
#include <QFileInfo>
#include <QTime>

namespace ReportList {

const QStringList &headers()
{
    static const QStringList headers = {
        QStringLiteral("Idx"), QStringLiteral("State"), QStringLiteral("Event ID"), QStringLiteral("Type"),
        QStringLiteral("Issue"), QStringLiteral("Location"), QStringLiteral("City"), QStringLiteral("Date/Time"),
    };
    return headers;
}

QString dateTimeCell(const QString &adt, const QString &atm)
{
    return adt.mid(2, 2) + QLatin1Char('/') + adt.mid(4, 2) + QLatin1Char('/') + adt.mid(0, 2) + QLatin1Char(' ')
        + atm.mid(0, 2) + QLatin1Char(':') + atm.mid(2, 2);
}

QString whyUnreadable(const ZelvatMsg &reader, const QString &name)
{
    const QString file = name + QStringLiteral(".911");
    if (!QFileInfo::exists(reader.pathFor(name)))
        return file + QStringLiteral(": no longer in the message folder");
    return file + QStringLiteral(": ") + reader.lastError();
}

QString sortKey(const Row &row, int column)
{
    const QString value = column == DateTime ? QString::asprintf("%019.6f", chronoValue(row.cells[DateTime]))
                                             : row.cells[column].toCaseFolded();
    return value + QChar(0) + row.cells[Idx];
}

double chronoValue(QStringView cell)
{
    // "MM/dd/yy HH:mm", parsed field by field so that the system's date order plays no part.
    if (cell.size() != 14 || cell[2] != QLatin1Char('/') || cell[5] != QLatin1Char('/') || cell[8] != QLatin1Char(' ')
        || cell[11] != QLatin1Char(':'))
        return 0;
    const auto number = [&cell](int at) {
        bool ok = false;
        const int v = cell.mid(at, 2).toInt(&ok);
        return (ok && cell[at].isDigit() && cell[at + 1].isDigit()) ? v : -1;
    };
    const int month = number(0), day = number(3), yy = number(6), hour = number(9), minute = number(12);
    if (month < 0 || day < 0 || yy < 0 || hour < 0 || minute < 0)
        return 0;
    // Two-digit years 00-29 are 2000-2029, 30-99 are 1930-1999.
    const QDate date(yy < 30 ? 2000 + yy : 1900 + yy, month, day);
    const QTime time(hour, minute);
    if (!date.isValid() || !time.isValid())
        return 0;
    return double(QDate(1899, 12, 30).daysTo(date)) + time.msecsSinceStartOfDay() / 86400000.0;
}

QString itemsText(qsizetype count)
{
    return QStringLiteral("Items: ") + QString::number(count);
}

QString itemsText(qsizetype shown, qsizetype total)
{
    return itemsText(shown) + QStringLiteral(" of ") + QString::number(total);
}

} // namespace ReportList
