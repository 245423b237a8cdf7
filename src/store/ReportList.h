#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <array>
#include <limits>

class ZelvatMsg;

// The rows of the report list: their columns, cells and order. The catalog makes them; the main
// window shows them; the headless client prints them.
namespace ReportList {

enum Column { Idx, State, EventId, Type, Issue, Location, City, DateTime, ColumnCount };

// The state of a row for what is no report file (a pipe, a link, a folder): no report holds it.
inline constexpr qint16 NotAReport = std::numeric_limits<qint16>::min();

struct Row {
    std::array<QString, ColumnCount> cells; // Idx, State, Event ID, Type, Issue, Location, City, Date/Time
    qint16 state = 0;
};

// "Idx", "State", "Event ID", "Type", "Issue", "Location", "City", "Date/Time"
const QStringList &headers();

// The Date/Time cell: month/day/year hours:minutes taken from ADT (yymmdd) and ATM (hhmm),
// "03/07/09 14:05"; only the separators "// :" when both are empty.
QString dateTimeCell(const QString &adt, const QString &atm);

// Why the report `name` did not load into `reader`: "NAME.911: " and the loader's error, or
// that the file is no longer there.
QString whyUnreadable(const ZelvatMsg &reader, const QString &name);

// What a row is ordered by in one column, as text that orders the same way: the cell's text with
// case ignored, or for Date/Time the chronological value written with twelve integer digits and
// six decimals; then the Idx, so that rows of equal cells always list the same way.
QString sortKey(const Row &row, int column);

// The chronological value of a Date/Time cell read as month/day/year hours:minutes: days since
// 30 December 1899 plus the fraction of the day; 0 for a cell that is no valid date and time.
double chronoValue(QStringView cell);

// "Items: 5"
QString itemsText(qsizetype count);
// "Items: 3 of 5": the rows a search shows of the rows of the folder.
QString itemsText(qsizetype shown, qsizetype total);

} // namespace ReportList
