#include "app/ReportListModel.h"

#include "support/CommonConst.h"

#include <algorithm>
#include <vector>

ReportListModel::ReportListModel(const ReportCatalog *catalog, QObject *parent)
    : QAbstractTableModel(parent)
    , m_catalog(catalog)
{
}

bool ReportListModel::belongs(int slot, int folder) const
{
    return m_catalog->isLive(slot) && (folder == Zelvat::StateAll || m_catalog->state(slot) == folder);
}

void ReportListModel::clear()
{
    beginResetModel();
    m_rows.clear();
    m_folder = -1;
    endResetModel();
}

void ReportListModel::sync(int folder)
{
    const ReportCatalog &c = *m_catalog;
    if (folder != m_folder) {
        beginResetModel();
        m_folder = folder;
        m_rows.clear();
        for (int s = 0; s < c.slotCount(); ++s) {
            if (belongs(s, folder))
                m_rows.append({s, c.birth(s), c.generation(s)});
        }
        // In their order already: the sorter finds them sorted.
        place(m_rows);
        std::stable_sort(m_rows.begin(), m_rows.end(), [](const Row &a, const Row &b) { return a.place < b.place; });
        endResetModel();
        return;
    }
    // Rows whose report is gone, or is no longer of this folder: removed, last first, a run of
    // neighbours at a time.
    std::vector<bool> shown(size_t(c.slotCount()), false);
    for (int row = int(m_rows.size()) - 1; row >= 0;) {
        const auto stays = [&](const Row &r) {
            return r.slot < c.slotCount() && c.birth(r.slot) == r.birth && belongs(r.slot, folder);
        };
        if (stays(m_rows[row])) {
            shown[m_rows[row].slot] = true;
            --row;
            continue;
        }
        int first = row;
        while (first > 0 && !stays(m_rows[first - 1]))
            --first;
        beginRemoveRows({}, first, row);
        m_rows.remove(first, row - first + 1);
        endRemoveRows();
        row = first - 1;
    }
    // Reports new to the folder.
    QList<Row> added;
    for (int s = 0; s < c.slotCount(); ++s) {
        if (!shown[s] && belongs(s, folder))
            added.append({s, c.birth(s), c.generation(s)});
    }
    // Rows whose report changed: runs of neighbours.
    QList<std::pair<int, int>> runs;
    qsizetype changed = 0;
    for (int row = 0; row < m_rows.size(); ++row) {
        Row &r = m_rows[row];
        if (c.generation(r.slot) == r.generation)
            continue;
        r.generation = c.generation(r.slot);
        r.place = -1;
        ++changed;
        if (!runs.isEmpty() && runs.back().second == row - 1)
            runs.back().second = row;
        else
            runs.append({row, row});
    }
    // Many rows changed or came: all are placed again before the sorter is told, so that it
    // compares places rather than fields.
    if (changed + added.size() > std::max<qsizetype>(256, (m_rows.size() + added.size()) / 16))
        place(m_rows, &added);
    for (const auto &[first, last] : std::as_const(runs))
        emit dataChanged(index(first, 0), index(last, ReportList::ColumnCount - 1));
    // The new rows, at the end.
    if (!added.isEmpty()) {
        beginInsertRows({}, int(m_rows.size()), int(m_rows.size() + added.size() - 1));
        m_rows.append(added);
        endInsertRows();
    }
}

ReportList::Row ReportListModel::Rows::operator[](qsizetype row) const
{
    return m_model->m_catalog->row(m_model->m_rows[row].slot);
}

qsizetype ReportListModel::Rows::size() const
{
    return m_model->m_rows.size();
}

int ReportListModel::rowOfSlot(int slot) const
{
    for (int row = 0; row < m_rows.size(); ++row) {
        if (m_rows[row].slot == slot)
            return row;
    }
    return -1;
}

void ReportListModel::removeRow(int row)
{
    if (row < 0 || row >= m_rows.size())
        return;
    beginRemoveRows({}, row, row);
    m_rows.removeAt(row);
    endRemoveRows();
}

void ReportListModel::setFont(const QFont &font)
{
    m_font = font;
    if (!m_rows.isEmpty())
        emit dataChanged(index(0, 0), index(int(m_rows.size()) - 1, ReportList::ColumnCount - 1), {Qt::FontRole});
}

bool ReportListModel::lessThan(int leftRow, int rightRow, int column) const
{
    const Row &a = m_rows[leftRow], &b = m_rows[rightRow];
    if (column == m_rankColumn && a.place >= 0 && b.place >= 0)
        return a.place < b.place;
    return m_catalog->compare(a.slot, b.slot, column) < 0;
}

void ReportListModel::rankBy(int column)
{
    if (column == m_rankColumn && std::all_of(m_rows.cbegin(), m_rows.cend(), [](const Row &r) { return r.place >= 0; }))
        return;
    m_rankColumn = column;
    place(m_rows);
}

// Gives every row (of `rows` and `more`) its place in the order of the rank column; rows equal
// in it share one.
void ReportListModel::place(QList<Row> &rows, QList<Row> *more) const
{
    if (m_rankColumn < 0)
        return;
    const ReportCatalog &c = *m_catalog;
    QList<int> order;
    for (const Row &r : std::as_const(rows))
        order.append(r.slot);
    if (more) {
        for (const Row &r : std::as_const(*more))
            order.append(r.slot);
    }
    QList<qint32> places;
    order = c.sorted(order, m_rankColumn, &places);
    std::vector<qint32> placeOf(size_t(c.slotCount()), -1);
    for (qsizetype i = 0; i < order.size(); ++i)
        placeOf[order[i]] = places[i];
    for (Row &r : rows)
        r.place = placeOf[r.slot];
    if (more) {
        for (Row &r : *more)
            r.place = placeOf[r.slot];
    }
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
    const int slot = m_rows[index.row()].slot;
    switch (role) {
    case Qt::DisplayRole:
    case Qt::ToolTipRole:
        return m_catalog->cell(slot, index.column());
    case Qt::FontRole:
        return m_font;
    case SortRole:
        return ReportList::sortKey(m_catalog->row(slot), index.column());
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

void ReportListSorter::sort(int column, Qt::SortOrder order)
{
    if (column >= 0)
        static_cast<ReportListModel *>(sourceModel())->rankBy(column);
    QSortFilterProxyModel::sort(column, order);
}

bool ReportListSorter::lessThan(const QModelIndex &left, const QModelIndex &right) const
{
    return static_cast<const ReportListModel *>(sourceModel())->lessThan(left.row(), right.row(), left.column());
}

ReportListFilter::ReportListFilter(ReportListSorter *sorter, ReportListModel *model, QObject *parent)
    : QSortFilterProxyModel(parent)
    , m_sorter(sorter)
    , m_model(model)
{
    setSourceModel(sorter);
}

void ReportListFilter::setSearch(const QString &text)
{
    ReportSearch search(text);
    const bool same = search.sameWords(m_search);
    m_search = std::move(search);
    if (same)
        return;
    // The rows are filtered again in one pass (a layout change), not row by row.
    invalidate();
}

int ReportListFilter::modelRow(const QModelIndex &index) const
{
    return m_sorter->mapToSource(mapToSource(index)).row();
}

QModelIndex ReportListFilter::fromModelRow(int row) const
{
    return mapFromSource(m_sorter->mapFromSource(m_model->index(row, 0)));
}

bool ReportListFilter::filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const
{
    if (m_search.isEmpty())
        return true;
    const int row = m_sorter->mapToSource(m_sorter->index(sourceRow, 0, sourceParent)).row();
    return row >= 0 && m_model->catalog().matches(m_model->slotAt(row), m_search);
}
