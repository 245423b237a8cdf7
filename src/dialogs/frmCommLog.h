#pragma once

#include "sheet/CommLogSheet.h"

#include <QDialog>
#include <functional>

class QDateTimeEdit;
class QLabel;
class QLineEdit;
class QPushButton;
class QStandardItemModel;
class QTableView;
class ZelvatIni;

// File > Communications Log: the tries to send of a period (From and To, the last 12 hours at
// first) as a table sorted by a click on a column's header, with Print, Save as PDF and Save as
// CSV. The incident name typed here heads the printed log and is kept for the next time. The
// reading, the CSV and the sheet are the core's (CommLog, CommLogSheet); this only wires them.
class frmCommLog : public QDialog {
    Q_OBJECT

public:
    frmCommLog(const QString &programFolder, const ZelvatIni &station, QWidget *parent = nullptr);

    // Asks where to save a file of the given kind ("PDF files (*.pdf)", ...); empty when the
    // operator cancels. Tests replace it, so that no dialog waits for a person.
    static std::function<QString(QWidget *parent, const QString &caption, const QString &filter)> chooseSaveFile;

    // Reads the period shown in From and To again.
    void showPeriod();
    // The tries in the order the table shows them.
    QList<CommLog::Entry> shownEntries() const;

    QDateTimeEdit *dtpFrom = nullptr;
    QDateTimeEdit *dtpTo = nullptr;
    QLineEdit *txtIncident = nullptr;
    QTableView *lvwTries = nullptr;
    QLabel *lblCount = nullptr;
    QPushButton *cmdPrint = nullptr;
    QPushButton *cmdSavePdf = nullptr;
    QPushButton *cmdSaveCsv = nullptr;
    QPushButton *cmdClose = nullptr;

private:
    CommLogHeader header() const;
    void cmdPrint_Click();
    void cmdSavePdf_Click();
    void cmdSaveCsv_Click();
    bool save(const QString &path, const QByteArray &bytes, const RunError &made);

    QString m_folder;
    const ZelvatIni &m_station;
    QList<CommLog::Entry> m_entries;
    QStandardItemModel *m_model = nullptr;
};
