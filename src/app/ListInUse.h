#pragma once

#include "store/InUseMarks.h"

#include <QHash>
#include <QObject>
#include <QTimer>

class QLabel;
class QStatusBar;
class QTreeView;
class ReportListModel;

// The report list's view of who has a report open elsewhere: every few seconds one listing of
// the message folder's marks; the rows of reports whose mark came or went are told, and the row
// selected says in the status bar who has it open. No report file is read for it and the list
// is never refilled for it.
class ListInUse : public QObject {
    Q_OBJECT

public:
    ListInUse(const QString &messageFolder, ReportListModel *model, QTreeView *view,
              QStatusBar *bar, QObject *parent);

    // Looks now, then every kLookMs.
    void start();
    // One look at the marks; the rows whose mark changed are told.
    void look();
    // The status bar's text for the selected report ("Open at ... since 14:02", or nothing).
    QString statusText() const;
    // Who has any of `names` open in a form, asked before they are deleted (InUseMarks).
    QString deleteQuestion(const QStringList &names, const QString &openHere)
    {
        return m_marks.deleteQuestion(names, openHere);
    }

    static constexpr int kLookMs = 2500;

private:
    void showSelected();

    InUseMarks m_marks;
    ReportListModel *m_model;
    QTreeView *m_view;
    QLabel *m_panel;
    QTimer m_timer;
    QHash<QString, QString> m_shown; // report name -> text, as the rows were told
};
