#include "dialogs/frmCommLog.h"

#include "settings/ZelvatIni.h"
#include "sheet/CommLogSheet.h"
#include "sheet/PageSetup.h"
#include "support/DatetimeLib.h"
#include "support/Platform.h"
#include "ui/SheetPrinting.h"

#include <QDateTimeEdit>
#include <QDir>
#include <QFileDialog>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPrinter>
#include <QPushButton>
#include <QStandardItemModel>
#include <QTableView>

std::function<QString(QWidget *, const QString &, const QString &)> frmCommLog::chooseSaveFile =
    [](QWidget *parent, const QString &caption, const QString &filter) {
        return QFileDialog::getSaveFileName(parent, caption, QString(), filter);
    };

namespace {

QDateTimeEdit *periodEdit(QWidget *parent, const char *name, const QString &spoken, const QDateTime &value)
{
    auto *edit = new QDateTimeEdit(value, parent);
    edit->setObjectName(QString::fromLatin1(name));
    edit->setAccessibleName(spoken);
    edit->setDisplayFormat(QStringLiteral("yyyy-MM-dd HH:mm"));
    edit->setCalendarPopup(true);
    return edit;
}

QPushButton *button(QWidget *parent, const char *name, const QString &caption)
{
    auto *b = new QPushButton(caption, parent);
    b->setObjectName(QString::fromLatin1(name));
    b->setAutoDefault(false);
    return b;
}

} // namespace

frmCommLog::frmCommLog(const QString &programFolder, const ZelvatIni &station, QWidget *parent)
    : QDialog(parent)
    , m_folder(programFolder)
    , m_station(station)
{
    setObjectName(QStringLiteral("frmCommLog"));
    setWindowTitle(QStringLiteral("Communications Log"));
    const QDateTime now = DatetimeLib::now();
    dtpFrom = periodEdit(this, "dtpFrom", QStringLiteral("From"), CommLog::defaultFrom(now));
    dtpTo = periodEdit(this, "dtpTo", QStringLiteral("To"), now);
    txtIncident = new QLineEdit(CommLog::incidentName(), this);
    txtIncident->setObjectName(QStringLiteral("txtIncident"));
    txtIncident->setAccessibleName(QStringLiteral("Incident name"));
    m_model = new QStandardItemModel(this);
    lvwTries = new QTableView(this);
    lvwTries->setObjectName(QStringLiteral("lvwTries"));
    lvwTries->setAccessibleName(QStringLiteral("Tries to send"));
    lvwTries->setModel(m_model);
    lvwTries->setSortingEnabled(true);
    lvwTries->setSelectionBehavior(QAbstractItemView::SelectRows);
    lvwTries->setEditTriggers(QAbstractItemView::NoEditTriggers);
    lvwTries->verticalHeader()->hide();
    lvwTries->horizontalHeader()->setSortIndicator(0, Qt::AscendingOrder);
    lblCount = new QLabel(this);
    lblCount->setObjectName(QStringLiteral("lblCount"));
    cmdPrint = button(this, "cmdPrint", QStringLiteral("&Print..."));
    cmdSavePdf = button(this, "cmdSavePdf", QStringLiteral("Save as P&DF..."));
    cmdSaveCsv = button(this, "cmdSaveCsv", QStringLiteral("Save as &CSV..."));
    cmdClose = button(this, "cmdClose", QStringLiteral("Close"));

    auto *grid = new QGridLayout;
    const auto labelled = [&](int column, const QString &caption, QWidget *box) {
        auto *label = new QLabel(caption, this);
        label->setBuddy(box);
        grid->addWidget(label, 0, column);
        grid->addWidget(box, 0, column + 1);
    };
    labelled(0, QStringLiteral("&From:"), dtpFrom);
    labelled(2, QStringLiteral("&To:"), dtpTo);
    labelled(4, QStringLiteral("&Incident:"), txtIncident);
    grid->setColumnStretch(5, 1);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(lblCount, 1);
    for (QPushButton *b : {cmdPrint, cmdSavePdf, cmdSaveCsv, cmdClose})
        buttons->addWidget(b);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(grid);
    layout->addWidget(lvwTries, 1);
    layout->addLayout(buttons);
    resize(980, 520);

    connect(dtpFrom, &QDateTimeEdit::dateTimeChanged, this, &frmCommLog::showPeriod);
    connect(dtpTo, &QDateTimeEdit::dateTimeChanged, this, &frmCommLog::showPeriod);
    connect(txtIncident, &QLineEdit::editingFinished, this, [this] { CommLog::keepIncidentName(txtIncident->text()); });
    connect(cmdPrint, &QPushButton::clicked, this, &frmCommLog::cmdPrint_Click);
    connect(cmdSavePdf, &QPushButton::clicked, this, &frmCommLog::cmdSavePdf_Click);
    connect(cmdSaveCsv, &QPushButton::clicked, this, &frmCommLog::cmdSaveCsv_Click);
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::reject);
    connect(this, &QDialog::finished, this, [this] { CommLog::keepIncidentName(txtIncident->text()); });
    showPeriod();
}

void frmCommLog::showPeriod()
{
    CommLog::Period period;
    RunError error;
    // The edits show minutes: To takes in the whole of its minute.
    const QDateTime to = dtpTo->dateTime().addSecs(59 - dtpTo->dateTime().time().second());
    if (!CommLog::read(m_folder, dtpFrom->dateTime(), to, &period, &error))
        notify(QStringLiteral("The communications log %1 could not be read:\r\n%2")
                   .arg(QDir::toNativeSeparators(CommLog::path(m_folder)), error.text()),
               Notice::Exclamation);
    m_entries = period.entries;
    // A new period keeps the order the operator chose (by date and time at first).
    const int column = lvwTries->horizontalHeader()->sortIndicatorSection();
    const Qt::SortOrder order = lvwTries->horizontalHeader()->sortIndicatorOrder();
    m_model->clear();
    m_model->setHorizontalHeaderLabels(CommLog::columns());
    for (qsizetype i = 0; i < m_entries.size(); ++i) {
        QList<QStandardItem *> row;
        for (const QString &cell : CommLog::cells(m_entries[i]))
            row << new QStandardItem(cell);
        row.first()->setData(int(i), Qt::UserRole);
        m_model->appendRow(row);
    }
    lvwTries->sortByColumn(column, order);
    QString count = QStringLiteral("Tries: %1").arg(m_entries.size());
    if (period.damaged > 0)
        count += QStringLiteral(" (%1 damaged line%2 of the log passed over)").arg(period.damaged).arg(period.damaged == 1 ? "" : "s");
    lblCount->setText(count);
}

QList<CommLog::Entry> frmCommLog::shownEntries() const
{
    QList<CommLog::Entry> shown;
    for (int r = 0; r < m_model->rowCount(); ++r)
        shown << m_entries[m_model->item(r, 0)->data(Qt::UserRole).toInt()];
    return shown;
}

CommLogHeader frmCommLog::header() const
{
    return CommLogHeader{txtIncident->text(), dtpFrom->dateTime(), dtpTo->dateTime(), m_station.Nam, m_station.Uid,
                         m_station.Loc};
}

bool frmCommLog::save(const QString &path, const QByteArray &bytes, const RunError &made)
{
    if (!SheetPrinting::saveMade(path, bytes, made, QStringLiteral("communications log")))
        return false;
    lblCount->setText(QStringLiteral("Saved to %1").arg(QDir::toNativeSeparators(path)));
    return true;
}

void frmCommLog::cmdSaveCsv_Click()
{
    const QString path = chooseSaveFile(this, QStringLiteral("Save as CSV"), QStringLiteral("CSV files (*.csv)"));
    if (!path.isEmpty())
        save(path, CommLog::csv(shownEntries()), {});
}

void frmCommLog::cmdSavePdf_Click()
{
    const QString path = chooseSaveFile(this, QStringLiteral("Save as PDF"), QStringLiteral("PDF files (*.pdf)"));
    if (path.isEmpty())
        return;
    RunError error;
    save(path, CommLogSheet::pdf(header(), shownEntries(), PageSetup::load(), &error), error);
}

void frmCommLog::cmdPrint_Click()
{
    QPrinter printer(QPrinter::HighResolution);
    QPageLayout layout = PageSetup::load();
    layout.setOrientation(QPageLayout::Landscape);
    printer.setPageLayout(layout);
    const QList<CommLog::Entry> entries = shownEntries();
    SheetPrinting::printDocument(
        this, printer, QStringLiteral("Communications Log"), QStringLiteral("communications log"),
        [&](const QPageLayout &chosen, RunError *error) { return CommLogSheet::pdf(header(), entries, chosen, error); },
        [&](QPrinter *device, RunError *error) { return CommLogSheet::print(device, header(), entries, error); });
}
