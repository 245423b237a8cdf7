#include "app/ReportListModel.h"

void ReportListModel::setRows(QList<ReportList::Row> rows)
{
    beginResetModel();
    m_rows = std::move(rows);
    for (QList<QString> &keys : m_sortKeys)
        keys.clear();
    endResetModel();
}

void ReportListModel::removeRow(int row)
{
    if (row < 0 || row >= m_rows.size())
        return;
    beginRemoveRows({}, row, row);
    m_rows.removeAt(row);
    for (QList<QString> &keys : m_sortKeys) {
        if (!keys.isEmpty())
            keys.removeAt(row);
    }
    endRemoveRows();
}

void ReportListModel::setFont(const QFont &font)
{
    m_font = font;
    if (!m_rows.isEmpty())
        emit dataChanged(index(0, 0), index(int(m_rows.size()) - 1, ReportList::ColumnCount - 1), {Qt::FontRole});
}

const QString &ReportListModel::sortKey(int row, int column) const
{
    QList<QString> &keys = m_sortKeys[column];
    if (keys.size() != m_rows.size()) {
        keys.clear();
        keys.reserve(m_rows.size());
        for (const ReportList::Row &r : m_rows)
            keys.append(ReportList::sortKey(r, column));
    }
    return keys[row];
}

int ReportListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int ReportListModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ReportList::ColumnCount;
}

QVariant ReportListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    switch (role) {
    case Qt::DisplayRole:
    case Qt::ToolTipRole:
        return m_rows[index.row()].cells[index.column()];
    case Qt::FontRole:
        return m_font;
    case SortRole:
        return sortKey(index.row(), index.column());
    default:
        return {};
    }
}

QVariant ReportListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section >= 0 && section < ReportList::ColumnCount)
        return ReportList::headers()[section];
    return {};
}
