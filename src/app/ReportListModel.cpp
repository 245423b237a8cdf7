#include "app/ReportListModel.h"

void ReportListModel::SetRows(QList<ReportList::Row> rows)
{
    beginResetModel();
    m_rows = std::move(rows);
    endResetModel();
}

void ReportListModel::RemoveRow(int row)
{
    if (row < 0 || row >= m_rows.size())
        return;
    beginRemoveRows({}, row, row);
    m_rows.removeAt(row);
    endRemoveRows();
}

void ReportListModel::Reorder(const std::function<void(QList<ReportList::Row> &)> &sort)
{
    emit layoutAboutToBeChanged();
    sort(m_rows);
    emit layoutChanged();
}

void ReportListModel::SetFont(const QFont &font)
{
    m_font = font;
    if (!m_rows.isEmpty())
        emit dataChanged(index(0, 0), index(int(m_rows.size()) - 1, ReportList::ColumnCount - 1), {Qt::FontRole});
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
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole)
        return m_rows[index.row()].cells[index.column()];
    if (role == Qt::FontRole)
        return m_font;
    return {};
}

QVariant ReportListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section >= 0 && section < ReportList::ColumnCount)
        return ReportList::Headers()[section];
    return {};
}
