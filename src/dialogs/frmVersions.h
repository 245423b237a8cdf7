#pragma once

#include "store/ReportVersions.h"

#include <QDialog>

class QLabel;
class QPlainTextEdit;
class QPushButton;
class QTreeWidget;

// "Earlier Versions": the kept versions of one report (time, state, station), oldest first; the
// one selected is shown read-only, and Restore puts it back as the report file through the core,
// which keeps the version it replaces in turn. After a restore the dialog closes accepted and
// restored() is emitted, so that the report form shows the report again.
class frmVersions : public QDialog {
    Q_OBJECT

public:
    frmVersions(const QString &programFolder, const QString &name, QWidget *parent = nullptr);

    void cmdRestore_Click();
    // Shows the selected version in the read-only box.
    void showSelected();
    QString selectedToken() const;

    QTreeWidget *lstVersions = nullptr;
    QPlainTextEdit *txtVersion = nullptr;
    QLabel *lblNone = nullptr;
    QPushButton *cmdRestore = nullptr;
    QPushButton *cmdClose = nullptr;

signals:
    void restored();

private:
    QString m_programFolder;
    QString m_name;
    ReportVersions m_versions;
};
