#pragma once

#include "store/ReportList.h"

#include <QAbstractTableModel>
#include <QFont>

// The rows of the report list for the list view: eight columns, the rows as the folder gave
// them. The view orders them through a sort proxy reading SortRole, the key by which each
// column sorts (ReportList::sortKey).
class ReportListModel : public QAbstractTableModel {
public:
    static constexpr int SortRole = Qt::UserRole + 1;

    using QAbstractTableModel::QAbstractTableModel;

    void setRows(QList<ReportList::Row> rows);
    const QList<ReportList::Row> &rows() const { return m_rows; }
    void removeRow(int row);
    void setFont(const QFont &font);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    const QString &sortKey(int row, int column) const;

    QList<ReportList::Row> m_rows;
    // The sort keys of a column, made when the column is first sorted by and kept with the rows.
    mutable std::array<QList<QString>, ReportList::ColumnCount> m_sortKeys;
    QFont m_font;
};
