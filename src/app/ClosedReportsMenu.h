#pragma once

#include "app/RecoveryHost.h"

#include <QObject>
#include <QString>

class QAction;
class QMenu;

// File > Reopen Closed Report (Ctrl+Shift+T) and its submenu Closed Reports: the report forms
// the operator closed on purpose with unsaved input (ClosedForms). The entry opens the newest
// exactly as it was, with the same event ID; the submenu names the others (event ID, issue, time
// closed), each opened the same way. Both are grey when there is nothing to open. A kept file that
// cannot be read is named to the operator and put aside, never deleted.
class ClosedReportsMenu : public QObject {
    Q_OBJECT

public:
    ClosedReportsMenu(RecoveryHost *host, QMenu *file, QObject *parent);

    QAction *reopenAction() const { return m_reopen; }
    QMenu *othersMenu() const { return m_others; }

    // Looks at what is kept again (when the File menu opens or a report form is hidden) and sets
    // the entries.
    void refresh();
    // Opens the kept form of the file `fileName` (empty: the newest).
    void reopen(const QString &fileName);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    RecoveryHost *m_host;
    QAction *m_reopen;
    QMenu *m_others;
    QString m_newest;
};
