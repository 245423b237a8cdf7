#pragma once

#include "store/ReportList.h"

#include <QList>
#include <QString>
#include <Qt>

class ZelvatMsg;

// The report list as a plain reader makes it, file by file through the loader: what the catalog
// must always show. The suites compare the catalog, the export and the client against it.
namespace ReferenceList {

// The row of the report `name` from the record it was loaded into.
ReportList::Row rowOf(const QString &name, const ZelvatMsg &record);

// One row per report file of the folder whose state equals `folder` (every report for 0, All),
// in the order the folder lists the files. Each file is loaded through `reader`; a report that
// fails to load gets a row of what the loader left in the record. An entry named like a report
// that is no regular file (a folder, a named pipe, a link) gets a row "Not a report" in every
// folder, saying what it is.
QList<ReportList::Row> build(ZelvatMsg &reader, int folder);

// Orders rows by one column through ReportList::sortKey.
void sortRows(QList<ReportList::Row> &rows, int column, Qt::SortOrder order);

// The default order of a freshly built list: by City, ascending.
inline void sortDefault(QList<ReportList::Row> &rows) { sortRows(rows, ReportList::City, Qt::AscendingOrder); }

} // namespace ReferenceList
