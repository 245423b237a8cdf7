#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <Qt>
#include <array>
#include <limits>

class ZelvatMsg;

// The rows of the report list, built from the message folder for one folder code, and their
// orders. The main window shows them; the headless client prints them.
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

// The row of the report `name` from the record it was loaded into.
Row rowOf(const QString &name, const ZelvatMsg &record);

// One row per report file of the folder whose state equals `folder` (every report for 0, All),
// in the order the folder lists the files. Each file is loaded through `reader`; a report that
// fails to load gets a row of what the loader left in the record. An entry named like a report
// that is no regular file (a folder, a named pipe, a link) gets a row "Not a report" in every
// folder, saying what it is.
QList<Row> build(ZelvatMsg &reader, int folder);

// Why the report `name` did not load into `reader`: "NAME.911: " and the loader's error, or
// that the file is no longer there.
QString whyUnreadable(const ZelvatMsg &reader, const QString &name);

// What a row is ordered by in one column, as text that orders the same way: the cell's text with
// case ignored, or for Date/Time the chronological value written with twelve integer digits and
// six decimals; then the Idx, so that rows of equal cells always list the same way.
QString sortKey(const Row &row, int column);

// Orders rows by one column through sortKey.
void sortRows(QList<Row> &rows, int column, Qt::SortOrder order);

// The default order of a freshly built list: by City, ascending.
inline void sortDefault(QList<Row> &rows) { sortRows(rows, City, Qt::AscendingOrder); }

// The chronological value of a Date/Time cell read as month/day/year hours:minutes: days since
// 30 December 1899 plus the fraction of the day; 0 for a cell that is no valid date and time.
double chronoValue(QStringView cell);

// "Items: 5"
QString itemsText(qsizetype count);
// "Items: 3 of 5": the rows a search shows of the rows of the folder.
QString itemsText(qsizetype shown, qsizetype total);

} // namespace ReportList
