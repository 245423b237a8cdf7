#include "app/ReportListModel.h"

#include "support/CommonConst.h"

#include <QApplication>
#include <QStyle>
#include <QTreeView>

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

bool ReportListModel::stays(const Row &r) const
{
    return m_catalog->birth(r.slot) == r.birth && belongs(r.slot, m_folder);
}

bool ReportListModel::sync(int folder)
{
    const ReportCatalog &c = *m_catalog;
    QList<int> changed;
    const bool known = folder == m_folder && !m_lostTrack && c.changedSince(m_seen, &changed);
    m_seen = c.changeCount();
    if (known && changed.size() <= 64) {
        syncFew(changed);
        return false;
    }
    m_lostTrack = false;
    if (folder != m_folder) {
        reset(folder);
        return true;
    }
    return syncAll();
}

// Every row anew, in their order already: the sorter finds them sorted.
void ReportListModel::reset(int folder)
{
    const ReportCatalog &c = *m_catalog;
    beginResetModel();
    m_folder = folder;
    m_rows.clear();
    for (int s = 0; s < c.slotCount(); ++s) {
        if (belongs(s, folder))
            m_rows.append({s, c.birth(s), c.generation(s)});
    }
    place(m_rows);
    std::stable_sort(m_rows.begin(), m_rows.end(), [](const Row &a, const Row &b) { return a.place < b.place; });
    endResetModel();
}

// A few slots changed: only their rows are looked at.
void ReportListModel::syncFew(const QList<int> &changedSlots)
{
    const ReportCatalog &c = *m_catalog;
    std::vector<bool> changed(size_t(c.slotCount()), false), shown(size_t(c.slotCount()), false);
    for (int s : changedSlots)
        changed[s] = true;
    QList<int> gone;
    for (int row = 0; row < m_rows.size(); ++row) {
        Row &r = m_rows[row];
        if (!changed[r.slot])
            continue;
        if (!stays(r)) {
            gone.prepend(row);
            continue;
        }
        shown[r.slot] = true;
        if (c.generation(r.slot) != r.generation) {
            r.generation = c.generation(r.slot);
            r.place = -1;
            emit dataChanged(index(row, 0), index(row, ReportList::ColumnCount - 1));
        }
    }
    for (int row : std::as_const(gone)) {
        beginRemoveRows({}, row, row);
        m_rows.removeAt(row);
        endRemoveRows();
    }
    QList<Row> added;
    for (int s : changedSlots) {
        if (!shown[s] && belongs(s, m_folder))
            added.append({s, c.birth(s), c.generation(s)});
    }
    if (!added.isEmpty()) {
        beginInsertRows({}, int(m_rows.size()), int(m_rows.size() + added.size() - 1));
        m_rows.append(added);
        endInsertRows();
    }
}

// Every slot is looked at. Rows of reports gone or no longer of the folder are removed, a run of
// neighbours at a time; changed ones announced; new ones added at the end. When a large part of
// the rows changed, they are all replaced instead, which costs less than announcing each.
bool ReportListModel::syncAll()
{
    const ReportCatalog &c = *m_catalog;
    std::vector<bool> shown(size_t(c.slotCount()), false);
    qsizetype changes = 0;
    for (const Row &r : std::as_const(m_rows)) {
        if (stays(r)) {
            shown[r.slot] = true;
            changes += c.generation(r.slot) != r.generation;
        } else {
            ++changes;
        }
    }
    QList<Row> added;
    for (int s = 0; s < c.slotCount(); ++s) {
        if (!shown[s] && belongs(s, m_folder))
            added.append({s, c.birth(s), c.generation(s)});
    }
    changes += added.size();
    if (changes > std::max<qsizetype>(256, (m_rows.size() + added.size()) / 16)) {
        reset(m_folder);
        return true;
    }
    for (int row = int(m_rows.size()) - 1; row >= 0;) {
        if (stays(m_rows[row])) {
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
    for (int row = 0, first = -1; row <= m_rows.size(); ++row) {
        if (row < m_rows.size() && c.generation(m_rows[row].slot) != m_rows[row].generation) {
            m_rows[row].generation = c.generation(m_rows[row].slot);
            m_rows[row].place = -1;
            if (first < 0)
                first = row;
        } else if (first >= 0) {
            emit dataChanged(index(first, 0), index(row - 1, ReportList::ColumnCount - 1));
            first = -1;
        }
    }
    if (!added.isEmpty()) {
        beginInsertRows({}, int(m_rows.size()), int(m_rows.size() + added.size() - 1));
        m_rows.append(added);
        endInsertRows();
    }
    return false;
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
    m_lostTrack = true; // the row comes back at the next sync if its report did not change
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

void ReportListModel::setInUse(const QString &name, const QString &text)
{
    if (m_inUse.value(name) == text)
        return;
    if (text.isEmpty())
        m_inUse.remove(name);
    else
        m_inUse.insert(name, text);
    const int slot = m_catalog->slotOf(name + QStringLiteral(".911"));
    const int row = slot < 0 ? -1 : rowOfSlot(slot);
    if (row >= 0)
        emit dataChanged(index(row, 0), index(row, ReportList::ColumnCount - 1),
                         {Qt::DecorationRole, Qt::AccessibleDescriptionRole, Qt::ToolTipRole});
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
        return m_catalog->cell(slot, index.column());
    case Qt::ToolTipRole:
    case Qt::AccessibleDescriptionRole:
    case Qt::DecorationRole: {
        const QString inUse = m_inUse.isEmpty() ? QString() : m_inUse.value(m_catalog->name(slot));
        if (role == Qt::ToolTipRole)
            return inUse.isEmpty() ? m_catalog->cell(slot, index.column()) : m_catalog->cell(slot, index.column()) + QLatin1Char('\n') + inUse;
        if (inUse.isEmpty())
            return {};
        if (role == Qt::AccessibleDescriptionRole)
            return inUse;
        static const QIcon icon = QApplication::style()->standardIcon(QStyle::SP_MessageBoxInformation);
        // On the first column the list shows: the file name's is kept out of sight.
        return index.column() == ReportList::State ? QVariant(icon) : QVariant();
    }
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
    if (search.sameWords(m_search)) {
        m_search = std::move(search);
        return;
    }
    // The rows of the folder are matched anew; when the same rows match as before (more letters
    // of a word every row shown holds), the list stays as it is.
    const ReportCatalog &c = m_model->catalog();
    std::vector<bool> shown(size_t(c.slotCount()), false);
    for (int row = 0, n = m_model->rowCount(); row < n; ++row)
        shown[m_model->slotAt(row)] = true;
    std::vector<bool> matched(size_t(c.slotCount()), false);
    std::vector<quint32> askedAt(size_t(c.slotCount()), 0);
    bool same = true;
    // In the order the cards are kept, which is the order their memory mostly lies in.
    for (int slot = 0, n = c.slotCount(); slot < n; ++slot) {
        if (!shown[slot])
            continue;
        const bool now = search.isEmpty() || c.matches(slot, search);
        same = same && size_t(slot) < m_askedAt.size() && m_askedAt[slot] == c.generation(slot) + 1 && m_matched[slot] == now;
        matched[slot] = now;
        askedAt[slot] = c.generation(slot) + 1;
    }
    m_search = std::move(search);
    m_matched = std::move(matched);
    m_askedAt = std::move(askedAt);
    // The rows are filtered again in one pass (a layout change), not row by row.
    if (!same)
        invalidate();
}

bool ReportListFilter::matches(int slot) const
{
    const ReportCatalog &c = m_model->catalog();
    if (size_t(slot) >= m_askedAt.size()) {
        m_matched.resize(size_t(c.slotCount()), false);
        m_askedAt.resize(size_t(c.slotCount()), 0);
    }
    if (m_askedAt[slot] != c.generation(slot) + 1) {
        m_matched[slot] = m_search.isEmpty() || c.matches(slot, m_search);
        m_askedAt[slot] = c.generation(slot) + 1;
    }
    return m_matched[slot];
}

int ReportListFilter::modelRow(const QModelIndex &index) const
{
    return m_sorter->mapToSource(mapToSource(index)).row();
}

QModelIndex ReportListFilter::fromModelRow(int row) const
{
    return mapFromSource(m_sorter->mapFromSource(m_model->index(row, 0)));
}

Qt::ItemFlags ReportListFilter::flags(const QModelIndex &index) const
{
    return index.isValid() ? Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemNeverHasChildren : Qt::NoItemFlags;
}

ReportListPlace ReportListPlace::of(const QTreeView *view, const ReportListFilter *rows, const ReportListModel *model)
{
    ReportListPlace p;
    const auto slotOf = [&](const QModelIndex &i) { return i.isValid() ? model->slotAt(rows->modelRow(i)) : -1; };
    p.top = slotOf(view->indexAt(QPoint(0, 0)));
    p.current = slotOf(view->currentIndex());
    p.selected.assign(size_t(model->catalog().slotCount()), false);
    for (const QItemSelectionRange &range : view->selectionModel()->selection()) {
        for (int r = range.top(); r <= range.bottom(); ++r) {
            p.selected[slotOf(rows->index(r, 0))] = true;
            ++p.selectedCount;
        }
    }
    return p;
}

void ReportListPlace::restore(QTreeView *view, const ReportListFilter *rows, const ReportListModel *model, bool selection) const
{
    const auto at = [&](int slot) { return slot < 0 ? QModelIndex() : rows->fromModelRow(model->rowOfSlot(slot)); };
    if (selection) {
        if (const QModelIndex current = at(this->current); current.isValid())
            view->selectionModel()->setCurrentIndex(current, QItemSelectionModel::NoUpdate);
        if (selectedCount > 0) {
            QItemSelection chosen;
            const int columns = rows->columnCount() - 1;
            for (int r = 0, first = -1, n = rows->rowCount(); r <= n; ++r) {
                const int slot = r < n ? model->slotAt(rows->modelRow(rows->index(r, 0))) : -1;
                const bool on = slot >= 0 && size_t(slot) < selected.size() && selected[slot];
                if (on && first < 0)
                    first = r;
                if (!on && first >= 0) {
                    chosen.select(rows->index(first, 0), rows->index(r - 1, columns));
                    first = -1;
                }
            }
            view->selectionModel()->select(chosen, QItemSelectionModel::ClearAndSelect);
        }
    }
    const QModelIndex topIndex = at(top);
    if (topIndex.isValid() && topIndex != view->indexAt(QPoint(0, 0)))
        view->scrollTo(topIndex, QAbstractItemView::PositionAtTop);
}

bool ReportListFilter::filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const
{
    if (m_search.isEmpty())
        return true;
    const int row = m_sorter->mapToSource(m_sorter->index(sourceRow, 0, sourceParent)).row();
    return row >= 0 && matches(m_model->slotAt(row));
}
