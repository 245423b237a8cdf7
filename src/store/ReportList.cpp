#include "store/ReportList.h"

#include "store/ZelvatMsg.h"
#include "support/CommonConst.h"
#include "support/SafeFile.h"

#include <QDate>
#include <QFileInfo>
#include <QTime>
#include <algorithm>

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

Row rowOf(const QString &name, const ZelvatMsg &record)
{
    Row row;
    row.state = record.AST();
    row.cells = {name,
                 Zelvat::stateName(row.state),
                 record.EID(),
                 record.TYP(),
                 record.ISS(),
                 record.AD1(),
                 record.CTY(),
                 dateTimeCell(record.ADT(), record.ATM())};
    return row;
}

QList<Row> build(ZelvatMsg &reader, int folder)
{
    QList<Row> rows;
    const QStringList names = reader.fileNames();
    rows.reserve(names.size());
    for (const QString &name : names) {
        if (!reader.Load(name)) {
            // What is no report file at all is shown in every folder, for the operator to see.
            const SafeFile::Kind kind = SafeFile::kindOf(reader.pathFor(name));
            if (kind != SafeFile::Kind::Regular && kind != SafeFile::Kind::Missing) {
                Row row;
                row.cells[Idx] = name;
                row.state = NotAReport;
                row.cells[State] = QStringLiteral("Not a report");
                row.cells[Issue] = SafeFile::describe(kind) + QStringLiteral(", not a report file");
                rows.append(std::move(row));
                continue;
            }
        }
        if (folder != Zelvat::StateAll && reader.AST() != folder)
            continue;
        rows.append(rowOf(name, reader));
    }
    return rows;
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

void sortRows(QList<Row> &rows, int column, Qt::SortOrder order)
{
    if (column < 0 || column >= ColumnCount)
        return;
    QList<std::pair<QString, Row>> keyed;
    keyed.reserve(rows.size());
    for (Row &r : rows)
        keyed.append({sortKey(r, column), std::move(r)});
    std::sort(keyed.begin(), keyed.end(), [order](const auto &a, const auto &b) {
        return order == Qt::AscendingOrder ? a.first < b.first : b.first < a.first;
    });
    for (qsizetype i = 0; i < rows.size(); ++i)
        rows[i] = std::move(keyed[i].second);
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
