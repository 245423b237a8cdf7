#pragma once

#include "store/ReportConflict.h"

#include <QDialog>

class QLabel;
class QPushButton;
class QTableWidget;

// The report the form is about to write was changed, submitted, deleted or removed by another
// program since the form loaded it. The dialog says who did it and when, shows the fields that
// differ (theirs beside the operator's), and offers what may be done in that case; Escape and
// Cancel write nothing. The operator's input can be copied from it whatever is chosen.
class frmConflict : public QDialog {
    Q_OBJECT

public:
    enum class Choice { Cancel, TakeTheirs, KeepMine, Update, RestoreAsDraft };
    // Before a write, or a comparison asked for from the form's strip (Take Theirs or Close).
    enum class Mode { BeforeWrite, Compare };

    frmConflict(const ReportConflict::Finding &finding, const QString &name, const ZelvatMsg &mine, Mode mode,
                QWidget *parent = nullptr);

    Choice choice() const { return m_choice; }
    // What the dialog says happened.
    QString message() const;

    QLabel *lblWhat = nullptr;
    QTableWidget *tblFields = nullptr;
    QPushButton *cmdTakeTheirs = nullptr;
    QPushButton *cmdKeepMine = nullptr;
    QPushButton *cmdUpdate = nullptr;
    QPushButton *cmdRestore = nullptr;
    QPushButton *cmdCopyMine = nullptr;
    QPushButton *cmdCancel = nullptr;

private:
    QPushButton *addButton(const QString &text, const char *objectName, Choice choice, const QString &description);

    Choice m_choice = Choice::Cancel;
    QString m_mineText;
    class QHBoxLayout *m_buttons = nullptr;
};
