#include "dialogs/frmSummary.h"

#include "sheet/PageSetup.h"
#include "sheet/SummarySheet.h"
#include "support/DatetimeLib.h"
#include "support/Platform.h"
#include "ui/CallsChartView.h"
#include "ui/SheetPrinting.h"

#include <QDir>
#include <QFileDialog>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QPrinter>
#include <QPushButton>
#include <QSpinBox>
#include <QTableWidget>
#include <QTimer>

std::function<QString(QWidget *)> frmSummary::askPdfPath = [](QWidget *parent) {
    return QFileDialog::getSaveFileName(parent, QStringLiteral("Save Summary as PDF"), QStringLiteral("Summary.pdf"),
                                        QStringLiteral("PDF files (*.pdf)"));
};

namespace {

QTableWidget *table(QWidget *parent, const char *name, const QString &accessibleName, const QStringList &headers)
{
    auto *t = new QTableWidget(0, int(headers.size()), parent);
    t->setObjectName(QString::fromLatin1(name));
    t->setAccessibleName(accessibleName);
    t->setHorizontalHeaderLabels(headers);
    t->setEditTriggers(QAbstractItemView::NoEditTriggers);
    t->setTabKeyNavigation(false); // Tab moves on to the next control
    t->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    return t;
}

QLabel *labelFor(QWidget *buddy, const QString &caption, QWidget *parent)
{
    auto *l = new QLabel(caption, parent);
    l->setBuddy(buddy);
    return l;
}

QTableWidgetItem *number(int n)
{
    auto *item = new QTableWidgetItem(QString::number(n));
    item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return item;
}

} // namespace

frmSummary::frmSummary(const ReportCatalog *catalog, QWidget *parent)
    : QDialog(parent)
    , m_summary(catalog)
{
    setObjectName(QStringLiteral("frmSummary"));
    setWindowTitle(QStringLiteral("Summary"));
    setModal(false);

    spnHours = new QSpinBox(this);
    spnHours->setObjectName(QStringLiteral("spnHours"));
    spnHours->setAccessibleName(QStringLiteral("Hours"));
    spnHours->setRange(1, SituationSummary::MaxHours);
    spnHours->setValue(SituationSummary::DefaultHours);
    lblPeriod = new QLabel(this);
    lblPeriod->setObjectName(QStringLiteral("lblPeriod"));

    tblTypes = table(this, "tblTypes", QStringLiteral("Reports by event type and state"), SituationSummary::columnNames());
    tblTypes->setRowCount(FormRules::TypeCount);
    QStringList codes;
    for (int t = 0; t < FormRules::TypeCount; ++t)
        codes << FormRules::typeCode(t);
    tblTypes->setVerticalHeaderLabels(codes);
    tblCities = table(this, "tblCities", QStringLiteral("Reports by city"), {QStringLiteral("City"), QStringLiteral("Total")});
    tblCities->verticalHeader()->hide();

    chtCalls = new CallsChartView(this);
    chtCalls->setObjectName(QStringLiteral("chtCalls"));
    chtCalls->setAccessibleName(QStringLiteral("Calls per hour by event type"));
    chtCalls->setMinimumSize(480, 240);

    cmdPrint = new QPushButton(QStringLiteral("&Print..."), this);
    cmdPrint->setObjectName(QStringLiteral("cmdPrint"));
    cmdSavePdf = new QPushButton(QStringLiteral("Save as P&DF..."), this);
    cmdSavePdf->setObjectName(QStringLiteral("cmdSavePdf"));
    cmdClose = new QPushButton(QStringLiteral("&Close"), this);
    cmdClose->setObjectName(QStringLiteral("cmdClose"));
    for (QPushButton *b : {cmdPrint, cmdSavePdf, cmdClose})
        b->setAutoDefault(false);

    auto *grid = new QGridLayout(this);
    auto *top = new QHBoxLayout;
    top->addWidget(labelFor(spnHours, QStringLiteral("Last &hours:"), this));
    top->addWidget(spnHours);
    top->addWidget(lblPeriod, 1);
    grid->addLayout(top, 0, 0, 1, 2);
    grid->addWidget(labelFor(tblTypes, QStringLiteral("Reports by &event type and state"), this), 1, 0);
    grid->addWidget(labelFor(tblCities, QStringLiteral("Reports by ci&ty"), this), 1, 1);
    grid->addWidget(tblTypes, 2, 0);
    grid->addWidget(tblCities, 2, 1);
    grid->addWidget(labelFor(chtCalls, QStringLiteral("C&alls per hour by event type"), this), 3, 0, 1, 2);
    grid->addWidget(chtCalls, 4, 0, 1, 2);
    grid->setRowStretch(4, 1);
    grid->setColumnStretch(0, 3);
    grid->setColumnStretch(1, 2);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdPrint);
    buttons->addWidget(cmdSavePdf);
    buttons->addWidget(cmdClose);
    grid->addLayout(buttons, 5, 0, 1, 2);
    resize(760, 620);

    connect(spnHours, &QSpinBox::valueChanged, this, &frmSummary::refresh);
    connect(cmdPrint, &QPushButton::clicked, this, &frmSummary::printSummary);
    connect(cmdSavePdf, &QPushButton::clicked, this, &frmSummary::savePdf);
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::close);
    // Reports leave the period as time goes on, without any change in the folder.
    m_clock = new QTimer(this);
    m_clock->setInterval(60 * 1000);
    connect(m_clock, &QTimer::timeout, this, &frmSummary::refresh);
    m_clock->start();
    refresh();
}

frmSummary::~frmSummary() = default;

void frmSummary::refresh()
{
    m_summary.setHours(spnHours->value());
    m_summary.refresh(DatetimeLib::now());
    showCounts();
    chtCalls->setCounts(m_summary.counts());
}

void frmSummary::showCounts()
{
    const SituationSummary::Counts &c = m_summary.counts();
    const QLocale english(QLocale::English);
    const QString format = QStringLiteral("d MMM HH:mm");
    lblPeriod->setText(QStringLiteral("Reports dated from %1 to %2: %3")
                           .arg(english.toString(c.from, format), english.toString(c.to, format))
                           .arg(c.reports));
    for (int t = 0; t < FormRules::TypeCount; ++t) {
        for (int col = 0; col < SituationSummary::ColumnCount; ++col)
            tblTypes->setItem(t, col, number(c.byType[t][col]));
    }
    tblCities->setRowCount(int(c.cities.size()));
    for (int i = 0; i < c.cities.size(); ++i) {
        tblCities->setItem(i, 0, new QTableWidgetItem(c.cities[i].name));
        tblCities->setItem(i, 1, number(c.cities[i].reports));
    }
}

void frmSummary::printSummary()
{
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageLayout(PageSetup::load());
    // Counted again once the dialog is answered: the paper shows the summary of that moment.
    SheetPrinting::printDocument(
        this, printer, QStringLiteral("Summary"), QStringLiteral("summary"),
        [&](const QPageLayout &layout, RunError *error) {
            refresh();
            return SummarySheet::pdf(m_summary.counts(), layout, error);
        },
        [&](QPrinter *device, RunError *error) {
            refresh();
            return SummarySheet::print(device, m_summary.counts(), error);
        });
}

void frmSummary::savePdf()
{
    const QString path = askPdfPath ? askPdfPath(this) : QString();
    if (path.isEmpty())
        return;
    refresh();
    RunError error;
    const QByteArray bytes = SummarySheet::pdf(m_summary.counts(), PageSetup::load(), &error);
    SheetPrinting::saveMade(path, bytes, error, QStringLiteral("summary"));
}
