#include "dialogs/frmSummary.h"

#include "sheet/PageSetup.h"
#include "sheet/SummarySheet.h"
#include "support/DatetimeLib.h"
#include "support/Platform.h"
#include "ui/SheetPrinting.h"

#include <QBarCategoryAxis>
#include <QBarSeries>
#include <QBarSet>
#include <QChart>
#include <QChartView>
#include <QDir>
#include <QFileDialog>
#include <QFontMetricsF>
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
#include <QValueAxis>

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

    m_chart = new QChart;
    m_chart->legend()->setAlignment(Qt::AlignBottom);
    m_chart->setAnimationOptions(QChart::NoAnimation);
    chtCalls = new QChartView(m_chart, this);
    chtCalls->setObjectName(QStringLiteral("chtCalls"));
    chtCalls->setAccessibleName(QStringLiteral("Calls per hour by event type"));
    chtCalls->setFocusPolicy(Qt::StrongFocus);
    chtCalls->setRenderHint(QPainter::Antialiasing);
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
    showChart();
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

void frmSummary::showChart()
{
    const SituationSummary::Counts &c = m_summary.counts();
    m_chart->removeAllSeries();
    // A removed axis is the caller's again: deleted here, or every refresh would leave two behind.
    for (QAbstractAxis *axis : m_chart->axes()) {
        m_chart->removeAxis(axis);
        delete axis;
    }
    auto *series = new QBarSeries;
    int most = 0;
    QStringList totals;
    for (int t = 0; t < FormRules::TypeCount; ++t) {
        auto *set = new QBarSet(FormRules::typeCode(t));
        for (const auto &hour : c.perHour) {
            *set << hour[t];
            most = std::max(most, hour[t]);
        }
        series->append(set);
        totals << QStringLiteral("%1 %2").arg(FormRules::typeCode(t)).arg(c.byType[t][SituationSummary::Total]);
    }
    m_chart->addSeries(series);
    // Each bar's own label (the axis merges equal ones): the hour on the last day of the period,
    // the day of the month and the hour before it.
    QStringList hours;
    for (int i = 0; i < c.perHour.size(); ++i) {
        const QDateTime hour = c.firstHour.addSecs(3600 * qint64(i));
        hours << hour.toString(hour.date() == c.to.date() ? QStringLiteral("HH") : QStringLiteral("d/HH"));
    }
    auto *x = new QBarCategoryAxis;
    x->append(hours);
    x->setLabelsAngle(hours.size() > 12 ? -90 : 0);
    x->setTitleText(QStringLiteral("Hour of the report's own time"));
    auto *y = new QValueAxis;
    y->setRange(0, std::max(1, most));
    y->setLabelFormat(QStringLiteral("%d"));
    if (most <= 10)
        y->setTickCount(std::max(1, most) + 1); // one line per call: whole numbers only
    else
        y->applyNiceNumbers();
    y->setTitleText(QStringLiteral("Calls"));
    m_chart->addAxis(x, Qt::AlignBottom);
    m_chart->addAxis(y, Qt::AlignLeft);
    series->attachAxis(x);
    series->attachAxis(y);
    // What the bars show, for a screen reader.
    chtCalls->setAccessibleDescription(QStringLiteral("Bars per hour from %1:00, %2 hours; calls: %3")
                                           .arg(c.firstHour.toString(QStringLiteral("HH")))
                                           .arg(c.perHour.size())
                                           .arg(totals.join(QStringLiteral(", "))));
}

double frmSummary::drawChart(QPainter &painter, const QRectF &room)
{
    // The chart as the window lays it out, scaled to the room: drawn, not copied as pixels, so
    // that it is as sharp as the page. Its legend does not follow it onto paper: the colours of
    // the event types are named below it.
    const QFontMetricsF metrics(painter.font(), painter.device());
    const double legend = metrics.height() * 1.5;
    const QRect shown = chtCalls->viewport()->rect();
    if (shown.isEmpty())
        return 0;
    const double height = std::min(room.height() - legend, room.width() * shown.height() / shown.width());
    chtCalls->render(&painter, QRectF(room.left(), room.top(), room.width(), height), shown, Qt::KeepAspectRatio);
    const auto sets = m_chart->series().isEmpty() ? QList<QBarSet *>()
                                                  : static_cast<QBarSeries *>(m_chart->series().first())->barSets();
    double x = room.left() + room.width() * 0.3;
    const double y = room.top() + height + metrics.height() * 0.25, box = metrics.height() * 0.7;
    painter.save();
    for (QBarSet *set : sets) {
        painter.fillRect(QRectF(x, y + (metrics.height() - box) / 2, box, box), set->color());
        painter.setPen(QPen(Qt::black, 0));
        painter.drawText(QPointF(x + box * 1.5, y + metrics.ascent()), set->label());
        x += box * 2 + metrics.horizontalAdvance(set->label()) + metrics.height();
    }
    painter.restore();
    return height + legend;
}

void frmSummary::printSummary()
{
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageLayout(PageSetup::load());
    const auto chart = [this](QPainter &p, const QRectF &room) { return drawChart(p, room); };
    // Counted again once the dialog is answered: the paper shows the summary of that moment.
    SheetPrinting::printDocument(
        this, printer, QStringLiteral("Summary"), QStringLiteral("summary"),
        [&](const QPageLayout &layout, RunError *error) {
            refresh();
            return SummarySheet::pdf(m_summary.counts(), chart, layout, error);
        },
        [&](QPrinter *device, RunError *error) {
            refresh();
            return SummarySheet::print(device, m_summary.counts(), chart, error);
        });
}

void frmSummary::savePdf()
{
    const QString path = askPdfPath ? askPdfPath(this) : QString();
    if (path.isEmpty())
        return;
    refresh();
    RunError error;
    const QByteArray bytes = SummarySheet::pdf(
        m_summary.counts(), [this](QPainter &p, const QRectF &room) { return drawChart(p, room); }, PageSetup::load(), &error);
    SheetPrinting::saveMade(path, bytes, error, QStringLiteral("summary"));
}
