#pragma once

#include "store/InUseMarks.h"

#include <QObject>
#include <QTimer>
#include <functional>

class QWidget;
class frmZelvatcts;

// The report form's part in who has a report open: before an existing report is opened it asks
// what to do when another position has it open; while the form edits it, the form's mark in the
// message folder is written again every few seconds; it goes when the form closes or the program
// ends. A report opened read-only is not marked: it holds nobody up.
class FormInUse : public QObject {
    Q_OBJECT

public:
    FormInUse(const QString &messageFolder, QObject *parent);
    ~FormInUse() override;

    enum class Choice { Edit, ReadOnly, Cancel };
    // What the operator chooses when the report is open elsewhere; `text` says who has it. A
    // message box (Open Read-Only, Edit Anyway, Cancel); replaced in tests.
    using Question = std::function<Choice(QWidget *parent, const QString &text)>;
    static Question &ask();

    // Before the form loads the report `name`: Edit when nobody else has it open, otherwise
    // what the operator chose.
    Choice opening(QWidget *form, const QString &name);
    // After the report is on the form: with Edit it is marked open here and kept so; with
    // ReadOnly every box is locked and nothing can be saved, submitted or deleted.
    void settle(frmZelvatcts *form, const QString &name, Choice choice);
    // The report `name` now has a file the form edits (a new report's first save, a report
    // reopened from its kept input): marked open here, unless the form holds it already or
    // only reads it.
    void hold(const QString &name);
    // The form closes: its mark goes.
    void release();

    bool readOnly() const { return m_readOnly; }
    QString held() const { return m_name; }

private:
    static Choice askInBox(QWidget *parent, const QString &text);

    InUseMarks m_marks;
    QTimer m_refresh;
    QString m_name;
    bool m_readOnly = false;
};
