#pragma once

#include "store/ReportConflict.h"

#include <QFrame>

class QLabel;
class QPushButton;

// The strip across the report form that says its report was changed by another program while it
// is open ("Changed at NRT (Pat Smith, 1234) at 14:05 -- Compare, Take Theirs"). It appears
// without a message box and never takes the focus; Compare and Take Theirs are link-like buttons
// reached with Tab. A report removed elsewhere has nothing to take: only Compare is offered.
class ReportChangeStrip : public QFrame {
    Q_OBJECT

public:
    explicit ReportChangeStrip(QWidget *parent);

    // Shows what the finding says; a finding of the version already shown changes nothing.
    void tell(const ReportConflict::Finding &finding);
    // Hides the strip (the form holds the file's version again).
    void clear();
    // The version of the file the strip tells of (kind Missing when hidden or removed).
    const SafeFile::Entry &shownFile() const { return m_file; }
    QString shownText() const;

    // Places the strip across the form, its bottom at `bottom`; its height, 0 when hidden.
    int placeAbove(int bottom);

    QLabel *lblChangedText = nullptr;
    QPushButton *cmdCompare = nullptr;
    QPushButton *cmdTakeTheirs = nullptr;

signals:
    void compareClicked();
    void takeTheirsClicked();
    // Shown or hidden: the form lays itself out again.
    void heightChanged();

private:
    SafeFile::Entry m_file;
    bool m_removed = false;
};
