#pragma once

#include "store/ReportList.h"

#include <QAbstractTableModel>
#include <QFont>

// The rows of the report list for the list view: eight columns, the rows in the order they are
// given; sorting is the window's (the header-click rules), done on the rows themselves.
class ReportListModel : public QAbstractTableModel {
public:
    using QAbstractTableModel::QAbstractTableModel;

    void SetRows(QList<ReportList::Row> rows);
    const QList<ReportList::Row> &Rows() const { return m_rows; }
    void RemoveRow(int row);
    // Reorders the rows in place (the view keeps its selection by row identity).
    void Reorder(const std::function<void(QList<ReportList::Row> &)> &sort);
    void SetFont(const QFont &font);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    QList<ReportList::Row> m_rows;
    QFont m_font;
};
