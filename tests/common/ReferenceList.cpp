#include "ReferenceList.h"

#include "store/ZelvatMsg.h"
#include "support/CommonConst.h"
#include "support/SafeFile.h"

#include <algorithm>

namespace ReferenceList {

using ReportList::Row;

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
                 ReportList::dateTimeCell(record.ADT(), record.ATM())};
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
                row.cells[ReportList::Idx] = name;
                row.state = ReportList::NotAReport;
                row.cells[ReportList::State] = QStringLiteral("Not a report");
                row.cells[ReportList::Issue] = SafeFile::describe(kind) + QStringLiteral(", not a report file");
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

void sortRows(QList<Row> &rows, int column, Qt::SortOrder order)
{
    if (column < 0 || column >= ReportList::ColumnCount)
        return;
    QList<std::pair<QString, Row>> keyed;
    keyed.reserve(rows.size());
    for (Row &r : rows)
        keyed.append({ReportList::sortKey(r, column), std::move(r)});
    std::sort(keyed.begin(), keyed.end(), [order](const auto &a, const auto &b) {
        return order == Qt::AscendingOrder ? a.first < b.first : b.first < a.first;
    });
    for (qsizetype i = 0; i < rows.size(); ++i)
        rows[i] = std::move(keyed[i].second);
}

} // namespace ReferenceList
