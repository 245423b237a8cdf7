#pragma once

#include "store/ReportCatalog.h"
#include "store/ReportList.h"

#include <QAbstractTableModel>
#include <QFont>
#include <QHash>
#include <QSortFilterProxyModel>

class QTreeView;
class ReportListFilter;
#include <vector>

// The rows of the report list for the list view: eight columns, one row per report of the
// current folder as the catalog holds it. A refresh changes only the rows that changed (rows
// removed, inserted, changed), so that the view keeps its order, selection and place. The view
// orders the rows through ReportListSorter and filters them through ReportListFilter.
class ReportListModel : public QAbstractTableModel {
public:
    static constexpr int SortRole = Qt::UserRole + 1;

    ReportListModel(const ReportCatalog *catalog, QObject *parent = nullptr);

    const ReportCatalog &catalog() const { return *m_catalog; }
    int folder() const { return m_folder; }

    // The reports of `folder` as the catalog holds them now. For the folder already shown, rows
    // of reports gone or moved to another folder are removed, rows of reports new to it are
    // added and changed ones are announced, at a cost of what changed; another folder, or a
    // change of a large part of the rows, replaces every row. True when every row was replaced
    // (the view has lost its selection and place).
    bool sync(int folder);
    void clear();

    // The rows by number, as whole list rows (built on demand).
    class Rows {
    public:
        explicit Rows(const ReportListModel *model) : m_model(model) {}
        ReportList::Row operator[](qsizetype row) const;
        qsizetype size() const;

    private:
        const ReportListModel *m_model;
    };
    Rows rows() const { return Rows(this); }
    int slotAt(int row) const { return m_rows[row].slot; }
    // The row of a catalog slot, or -1.
    int rowOfSlot(int slot) const;
    void removeRow(int row);
    void setFont(const QFont &font);
    // A report open in a form at another position: its row shows an icon, and its accessible
    // description (and tooltip) says who has it; an empty `text` takes the mark off. Only that
    // row is announced as changed.
    void setInUse(const QString &name, const QString &text);
    QString inUseText(const QString &name) const { return m_inUse.value(name); }

    // The order of two rows in a column, as ReportList::sortKey orders them.
    bool lessThan(int leftRow, int rightRow, int column) const;
    // Sorting by `column` from now on: every row is given its place in that column's order, so
    // that comparing two rows is comparing two numbers. A row whose report changes since is
    // compared by its fields until the rows are placed again.
    void rankBy(int column);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    struct Row {
        int slot;
        quint32 birth;
        quint32 generation;
        qint32 place = -1; // in the order of the rank column; -1 until placed (again)
    };
    bool belongs(int slot, int folder) const;
    bool stays(const Row &r) const;
    void reset(int folder);
    void syncFew(const QList<int> &changedSlots);
    bool syncAll();
    void place(QList<Row> &rows, QList<Row> *more = nullptr) const;

    const ReportCatalog *m_catalog;
    QList<Row> m_rows;
    int m_folder = -1;
    QFont m_font;
    QHash<QString, QString> m_inUse; // report name -> who has it open
    int m_rankColumn = -1;
    quint64 m_seen = 0;        // the catalog's change count at the last sync
    bool m_lostTrack = true;   // rows were removed by hand: only a look at every slot can tell
};

// What the operator looks at in the list: the report at the top of the view, the current one
// and the selected ones, by catalog slot; put back after the rows were replaced.
struct ReportListPlace {
    int top = -1;
    int current = -1;
    std::vector<bool> selected; // by slot
    int selectedCount = 0;

    static ReportListPlace of(const QTreeView *view, const ReportListFilter *rows, const ReportListModel *model);
    // The top report back at the top; with `selection`, the current and selected ones too.
    void restore(QTreeView *view, const ReportListFilter *rows, const ReportListModel *model, bool selection) const;
};

// The report list's order: the rows of the model compared through the catalog, without a sort
// key made for every row.
class ReportListSorter : public QSortFilterProxyModel {
public:
    using QSortFilterProxyModel::QSortFilterProxyModel;

    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

protected:
    bool lessThan(const QModelIndex &left, const QModelIndex &right) const override;
};

// The search of the report list, over the sorted rows: the rows of the folder holding every
// word typed. A new search re-filters the rows in one pass and keeps their order.
class ReportListFilter : public QSortFilterProxyModel {
public:
    ReportListFilter(ReportListSorter *sorter, ReportListModel *model, QObject *parent = nullptr);

    void setSearch(const QString &text);
    const ReportSearch &search() const { return m_search; }
    bool searching() const { return !m_search.isEmpty(); }
    // The model's row of a row of this proxy.
    int modelRow(const QModelIndex &index) const;
    QModelIndex fromModelRow(int row) const;
    // Every row is a plain one: answered without asking the rows below.
    Qt::ItemFlags flags(const QModelIndex &index) const override;

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const override;

private:
    bool matches(int slot) const;

    ReportListSorter *m_sorter;
    ReportListModel *m_model;
    ReportSearch m_search;
    // By slot: whether the card matched the search, and its generation then (0: not asked).
    mutable std::vector<bool> m_matched;
    mutable std::vector<quint32> m_askedAt;
};
