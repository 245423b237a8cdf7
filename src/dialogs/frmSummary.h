#pragma once

#include "store/SituationSummary.h"

#include <QDialog>
#include <functional>

class CallsChartView;
class QLabel;
class QPushButton;
class QSpinBox;
class QTableWidget;
class QTimer;
class ReportCatalog;

// The situation summary (View > Summary, F9): for the last hours (a spin box, 24 at first) the
// reports counted by event type and state with the Total last, by city, and a bar chart of the
// calls per hour by event type. It follows the catalog it is given: whoever keeps the catalog
// calls refresh() after the catalog took something in; a clock counts again each minute, as
// reports leave the period. Print and Save as PDF put the same on paper, with the chart.
class frmSummary : public QDialog {
    Q_OBJECT

public:
    explicit frmSummary(const ReportCatalog *catalog, QWidget *parent = nullptr);
    ~frmSummary() override;

    // Counts again: what changed in the catalog, and the period up to now.
    void refresh();
    const SituationSummary &summary() const { return m_summary; }

    // Asks for the PDF file to save; empty when the operator cancels. Replaced in tests.
    static std::function<QString(QWidget *parent)> askPdfPath;

    QSpinBox *spnHours = nullptr;
    QTableWidget *tblTypes = nullptr;
    QTableWidget *tblCities = nullptr;
    CallsChartView *chtCalls = nullptr;
    QLabel *lblPeriod = nullptr;
    QPushButton *cmdPrint = nullptr;
    QPushButton *cmdSavePdf = nullptr;
    QPushButton *cmdClose = nullptr;

private:
    void showCounts();
    void printSummary();
    void savePdf();

    SituationSummary m_summary;
    QTimer *m_clock = nullptr;
};
