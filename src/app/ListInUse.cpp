#include "app/ListInUse.h"

#include "app/ReportListModel.h"

#include <QLabel>
#include <QStatusBar>
#include <QTreeView>

ListInUse::ListInUse(const QString &messageFolder, ReportListModel *model, QTreeView *view,
                     QStatusBar *bar, QObject *parent)
    : QObject(parent)
    , m_marks(messageFolder)
    , m_model(model)
    , m_view(view)
    , m_panel(new QLabel(bar))
{
    m_panel->setObjectName(QStringLiteral("sbrStatus_InUse"));
    bar->addWidget(m_panel, 2);
    m_timer.setInterval(kLookMs);
    connect(&m_timer, &QTimer::timeout, this, &ListInUse::look);
    connect(view->selectionModel(), &QItemSelectionModel::currentChanged, this, &ListInUse::showSelected);
    connect(view->selectionModel(), &QItemSelectionModel::selectionChanged, this, &ListInUse::showSelected);
}

void ListInUse::start()
{
    look();
    m_timer.start();
}

void ListInUse::look()
{
    QHash<QString, QString> now;
    for (const InUseMarks::Mark &mark : m_marks.look()) {
        if (!now.contains(mark.name)) // the earliest first: the look gives them so
            now.insert(mark.name, InUseMarks::describe(mark));
    }
    for (auto it = m_shown.cbegin(); it != m_shown.cend(); ++it) {
        if (!now.contains(it.key()))
            m_model->setInUse(it.key(), QString());
    }
    for (auto it = now.cbegin(); it != now.cend(); ++it)
        m_model->setInUse(it.key(), it.value());
    m_shown = std::move(now);
    showSelected();
}

QString ListInUse::statusText() const
{
    return m_panel->text();
}

void ListInUse::showSelected()
{
    // The current row when it is selected, else the first row selected.
    QModelIndex row = m_view->currentIndex();
    if (!row.isValid() || !m_view->selectionModel()->isRowSelected(row.row(), row.parent())) {
        const QModelIndexList selected = m_view->selectionModel()->selectedRows();
        row = selected.isEmpty() ? QModelIndex() : selected.first();
    }
    const QString text = row.isValid() ? row.siblingAtColumn(0).data(Qt::AccessibleDescriptionRole).toString() : QString();
    if (m_panel->text() != text)
        m_panel->setText(text);
}
