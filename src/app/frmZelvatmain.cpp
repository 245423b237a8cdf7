#include "app/frmZelvatmain.h"

#include "app/ListInUse.h"
#include "app/MainPlacement.h"
#include "app/OutboxControl.h"
#include "app/RecoveryOffer.h"
#include "app/ReportListModel.h"
#include "ui/Twips.h"
#include "dialogs/frmAbout.h"
#include "dialogs/frmStationID.h"
#include "store/Position.h"
#include "link/ServerSession.h"
#include "dialogs/frmZelvatPref.h"
#include "report_form/frmZelvatcts.h"
#include "dialogs/frmSummary.h"
#include "store/CatalogUpdates.h"
#include "store/ProgramFolder.h"
#include "store/ReportCatalog.h"
#include "store/ReportList.h"
#include "store/ReportVersions.h"
#include "support/CommonConst.h"
#include "support/Platform.h"
#include "support/StringLib.h"
#include "support/ZelvatLogLib.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QEventLoop>
#include <QFileInfo>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QTimer>
#include <QTreeView>
#include <QUrl>

#include <cmath>

frmZelvatmain::frmZelvatmain(const QString &programFolder, QWidget *parent)
    : QMainWindow(parent)
    , m_folder(programFolder)
    , m_station(ProgramFolder::stationFile(programFolder))
    , m_catalog(std::make_unique<ReportCatalog>(programFolder))
{
    setObjectName(QStringLiteral("frmZelvatmain"));
    buildControls();
    buildMenus();
    m_linkSession = new ServerSession(&m_station, this);
    showStationDialog = [this] {
        frmStationID dialog(m_station, this);
        dialog.exec();
        Position::setStation(m_station);
    };
    startReportForm = [this](const QString &eventRecord) {
        frmZelvatcts::open(
            ReportFormContext{m_folder, &m_station, [this] { BuildNewMsgList(); }, m_catalog.get(), m_updates}, eventRecord);
    };
    m_outbox = new OutboxControl(this, this, cmdDelete);
    startReportForm = m_outbox->guardOpening(startReportForm);
    m_recoveryOffer = new RecoveryOffer(this, this);
    m_inUse = new ListInUse(m_catalog->messageFolder(), m_model, LV, statusBar(), this);
    askRestore = [this](const QString &question) { return RecoveryOffer::askInBox(this, question); };
    askDeleteAnyway = [this](const QString &question) {
        QMessageBox box(QMessageBox::Warning, QString::fromLatin1(Zelvat::Title), question, QMessageBox::Cancel, this);
        QPushButton *anyway = box.addButton(QStringLiteral("&Delete Anyway"), QMessageBox::DestructiveRole);
        box.setDefaultButton(QMessageBox::Cancel);
        box.setEscapeButton(QMessageBox::Cancel);
        box.exec();
        return box.clickedButton() == anyway;
    };
    // What the catalog takes in by itself the list shows; the late first look is also told.
    m_updates = new CatalogUpdates(m_catalog.get(), this);
    connect(m_updates, &CatalogUpdates::changed, this, &frmZelvatmain::syncList);
    connect(m_updates, &CatalogUpdates::firstLookTaken, this, [this] {
        syncList();
        tellUnreadable(m_catalog->unreadable());
    });
}

frmZelvatmain::~frmZelvatmain()
{
    // The catalog goes before the widgets do: nothing may ask it for rows after this.
    delete m_updates;
    LV->setModel(nullptr);
}

// --- start-up and shutdown ------------------------------------------------------------------

void frmZelvatmain::Form_Load()
{
    // Placement and column widths from the per-user settings store, in twips.
    setWindowState(Qt::WindowNoState);
    const MainPlacement placement = MainPlacement::load();
    move(Twips::toPixels(this, placement.window.left), Twips::toPixels(this, placement.window.top));
    resize(Twips::toPixels(this, placement.window.width), Twips::toPixels(this, placement.window.height));
    m_columnWidths = placement.columnWidths;
    // Visible at its place, captioned with the version.
    show();
    setWindowTitle(QString::fromLatin1(Zelvat::Title) + QStringLiteral(" v") + Zelvat::versionText());
    if (!placement.bad.isEmpty())
        notify(placement.badValuesText(), Notice::Exclamation);
    // Station settings, session log, the report reader, the rows kept from the last run.
    m_station.load();
    Position::setStation(m_station);
    ReportVersions::setLimits(ReportVersions::storedLimits());
    ZelvatLogLib::SetupLog(m_folder, true);
    m_reader = std::make_unique<ZelvatMsg>(m_folder);
    // The folder is listed while the rows of the last run are read back: the first refill needs both.
    m_updates->start();
    m_catalog->loadIndex();
    // The Ready folder in the list font of the station settings.
    m_currentFolder = Zelvat::StateReady;
    m_listFontSize = m_station.Lvf;
    applyListFont();
    SetColumnHeaders();
    BuildNewMsgList();
    updateFolderCaption();
    // Who is taking calls, asked at every start; then shown in the status bar.
    if (showStationDialog)
        showStationDialog();
    sbrConfig->setText(configText());
    frmZelvatcts::clearLastUsed();
    // Then the input of a report form kept when the program stopped is offered, and the outbox
    // starts to count the Ready reports.
    m_recoveryOffer->offerNext();
    m_outbox->start();
    m_inUse->start();
}

void frmZelvatmain::Form_Unload()
{
    if (m_unloaded)
        return;
    m_unloaded = true;
    // A minimised or maximised window keeps the last normal placement in the store.
    const TwipsRect place = {Twips::fromPixels(this, x()), Twips::fromPixels(this, y()), Twips::fromPixels(this, width()),
                             Twips::fromPixels(this, height())};
    const bool normal = !(windowState() & (Qt::WindowMinimized | Qt::WindowMaximized | Qt::WindowFullScreen));
    MainPlacement::save(normal ? &place : nullptr, columnTwips());
    m_station.Lvf = float(m_listFontSize);
    m_station.save();
    // The rows are kept for the next start; a list without them is only slower to start.
    RunError error;
    if (m_catalog->changedSinceIndex() && !m_catalog->saveIndex(&error))
        EventLog::current().error(error.text() + QStringLiteral("; Zelvat:saveIndex, FileName = ") + m_catalog->indexPath());
    m_reader.reset();
}

void frmZelvatmain::closeEvent(QCloseEvent *event)
{
    // Closing the main window ends the program: an open report form goes with it (a session it
    // is waiting in is cancelled first, the report staying Ready on disk).
    if (frmZelvatcts *form = frmZelvatcts::current())
        form->close();
    Form_Unload();
    QMainWindow::closeEvent(event);
}

QString frmZelvatmain::configText() const
{
    return QStringLiteral("Name: ") + StringLib::properCase(m_station.Nam) + QStringLiteral(" -- ") + QStringLiteral("UID: ")
        + m_station.Uid + QStringLiteral(" -- ") + QStringLiteral("LOC: ") + m_station.Loc;
}

QString frmZelvatmain::statusText() const
{
    return sbrStatus->text();
}

// --- the report list ------------------------------------------------------------------------

void frmZelvatmain::SetColumnHeaders()
{
    LV->header()->setSectionResizeMode(QHeaderView::Interactive);
    for (int i = 0; i < 8; ++i)
        LV->header()->resizeSection(i, Twips::toPixels(this, m_columnWidths[i]));
}

std::array<double, 8> frmZelvatmain::columnTwips() const
{
    // A column the operator has not resized keeps its width in twips exactly; one that was
    // resized is measured from its pixels (and may carry a fraction).
    std::array<double, 8> widths {};
    for (int i = 0; i < 8; ++i) {
        const int pixels = LV->header()->sectionSize(i);
        widths[i] = Twips::toPixels(this, m_columnWidths[i]) == pixels ? double(m_columnWidths[i])
                                                                       : Twips::fromPixels(this, pixels);
    }
    return widths;
}

std::array<qint32, 8> frmZelvatmain::columnWidths() const
{
    std::array<qint32, 8> widths {};
    const auto twips = columnTwips();
    for (int i = 0; i < 8; ++i)
        widths[i] = qint32(std::nearbyint(twips[i]));
    return widths;
}

void frmZelvatmain::updateFolderCaption()
{
    lblCurrentFolder->setText(QStringLiteral("  ") + Zelvat::folderCaption(m_currentFolder));
}

void frmZelvatmain::BuildNewMsgList()
{
    if (!m_reader)
        return;
    m_updates->update();
    // A refilled list is ordered by City. A new folder's rows are sorted once, as they arrive:
    // the order is set on the empty list first.
    m_sortKey = ReportList::City;
    m_sortOrder = Qt::AscendingOrder;
    const bool ordered = m_sorted->sortColumn() == m_sortKey && m_sorted->sortOrder() == m_sortOrder;
    if (m_model->folder() != m_currentFolder) {
        if (!ordered) {
            m_model->clear();
            m_sorted->sort(m_sortKey, m_sortOrder);
        }
        m_model->sync(m_currentFolder);
        showItemCount();
    } else {
        syncList();
        if (!ordered)
            m_sorted->sort(m_sortKey, m_sortOrder);
    }
    LV->header()->setSortIndicator(m_sortKey, m_sortOrder);
    tellUnreadable(m_catalog->unreadable());
}

// The list follows the catalog; the report at the top of the view stays there, and when every
// row was replaced the selection comes back too.
void frmZelvatmain::syncList()
{
    const ReportListPlace place = ReportListPlace::of(LV, m_found, m_model);
    const bool replaced = m_model->sync(m_currentFolder);
    place.restore(LV, m_found, m_model, replaced);
    showItemCount();
    if (m_summary)
        m_summary->refresh();
}

void frmZelvatmain::refreshList()
{
    if (!m_reader)
        return;
    m_updates->reread();
    syncList();
    tellUnreadable(m_catalog->unreadable());
}

void frmZelvatmain::showItemCount()
{
    const int total = m_model->rowCount();
    const int shown = m_found->rowCount();
    sbrStatus->setText(m_found->searching() ? ReportList::itemsText(shown, total) : ReportList::itemsText(total));
    // An empty list takes no part in keyboard input.
    LV->setFocusPolicy(shown > 0 ? Qt::StrongFocus : Qt::NoFocus);
}

ReportFolderWatch *frmZelvatmain::folderWatch() const
{
    return m_updates->watch();
}

QSortFilterProxyModel *frmZelvatmain::listRows() const
{
    return m_found;
}

void frmZelvatmain::tellUnreadable(const QList<Notice> &notices)
{
    // The catalog keeps the loader's message of every file that cannot be read now, whatever
    // the folder. One message per set of newly
    // unreadable files, not one per file and refill: a file already told about is not told
    // again while it stays unreadable; once it reads again it is forgotten, so that a later
    // failure is told anew.
    struct Failure {
        QString path;
        QString text;
    };
    QList<Failure> fresh;
    QSet<QString> failingNow;
    for (const Notice &n : notices) {
        const QString marker = QStringLiteral("Problems loading ");
        const qsizetype at = n.text.indexOf(marker);
        const QString path = at >= 0 ? n.text.mid(at + marker.size()).section(QStringLiteral(", please try again"), 0, 0)
                                     : n.text;
        failingNow.insert(path);
        if (!m_unreadableShown.contains(path))
            fresh.append({path, n.text});
    }
    m_unreadableShown.intersect(failingNow);
    if (fresh.isEmpty())
        return;
    for (const Failure &f : std::as_const(fresh))
        m_unreadableShown.insert(f.path);
    if (fresh.size() == 1) {
        notify(fresh.first().text, Notice::Exclamation);
        return;
    }
    constexpr int kNamed = 10;
    QString text = QStringLiteral("%1 report files could not be read:").arg(fresh.size());
    for (qsizetype i = 0; i < std::min<qsizetype>(kNamed, fresh.size()); ++i)
        text += QStringLiteral("\r\n") + fresh[i].path;
    if (fresh.size() > kNamed)
        text += QStringLiteral("\r\n... and %1 more").arg(fresh.size() - kNamed);
    text += QStringLiteral("\r\nThe first said:\r\n") + fresh.first().text;
    notify(text, Notice::Exclamation);
}

void frmZelvatmain::cmdFolder_Click(int folder)
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
    m_currentFolder = folder;
    updateFolderCaption();
    BuildNewMsgList();
    QApplication::restoreOverrideCursor();
}

void frmZelvatmain::LV_ColumnClick(int column)
{
    if (column == ReportList::DateTime) {
        // Chronological: the Date/Time text read as month/day/year, the order flipped each time.
        m_sortOrder = m_sortOrder == Qt::AscendingOrder ? Qt::DescendingOrder : Qt::AscendingOrder;
        // After a chronological sort no ordinary header is the sort key: a click on any of them
        // keeps the direction.
        m_sortKey = ReportList::ColumnCount;
    } else {
        if (m_sortKey == column)
            m_sortOrder = m_sortOrder == Qt::AscendingOrder ? Qt::DescendingOrder : Qt::AscendingOrder;
        m_sortKey = column;
    }
    m_sorted->sort(column, m_sortOrder);
    LV->header()->setSortIndicator(column, m_sortOrder);
}

void frmZelvatmain::LV_DblClick()
{
    const QModelIndex current = LV->currentIndex();
    if (!current.isValid())
        return;
    if (startReportForm)
        startReportForm(m_model->rows()[m_found->modelRow(current)].cells[ReportList::Idx]);
}

void frmZelvatmain::cmdDelete_Click()
{
    if (!m_reader)
        return;
    QList<int> selected;
    for (const QModelIndex &i : LV->selectionModel()->selectedRows())
        selected << m_found->modelRow(i);
    std::sort(selected.begin(), selected.end());
    // A report open in a form, here or at another position, is deleted only when the operator
    // says so, knowing whose work it changes.
    QStringList names;
    for (int row : std::as_const(selected))
        names << m_model->rows()[row].cells[ReportList::Idx];
    const frmZelvatcts *form = frmZelvatcts::current();
    const QString question = m_inUse->deleteQuestion(names, form && form->isVisible() ? form->recoveryName() : QString());
    if (!question.isEmpty() && !(askDeleteAnyway && askDeleteAnyway(question)))
        return;
    // From the last selected row to the first, so the rows still to go keep their places. A row
    // leaves the list only when its file changed as asked; otherwise the operator has been told.
    for (auto it = selected.rbegin(); it != selected.rend(); ++it) {
        const QString name = m_model->rows()[*it].cells[ReportList::Idx];
        if (m_reader->Fdelete(name, qint16(m_currentFolder)))
            m_model->removeRow(*it);
    }
}

void frmZelvatmain::cmdMorvel_Click()
{
    if (startReportForm)
        startReportForm(QStringLiteral("NEW"));
}

bool frmZelvatmain::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == LV && event->type() == QEvent::KeyPress && static_cast<QKeyEvent *>(event)->key() == Qt::Key_Delete) {
        cmdDelete_Click();
        return true;
    }
    // Escape clears the search; Down and Enter go on to the rows found.
    if (watched == txtSearch && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        if (key == Qt::Key_Escape && !txtSearch->text().isEmpty()) {
            txtSearch->clear();
            return true;
        }
        if ((key == Qt::Key_Down || key == Qt::Key_Return || key == Qt::Key_Enter) && m_found->rowCount() > 0) {
            LV->setFocus(Qt::ShortcutFocusReason);
            if (!LV->currentIndex().isValid())
                LV->setCurrentIndex(m_found->index(0, 0));
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

// --- commands -------------------------------------------------------------------------------

void frmZelvatmain::applyListFont()
{
    // Sizes the list cannot show (zero or less) are kept but not applied.
    if (m_listFontSize > 0) {
        QFont f = LV->font();
        f.setPointSizeF(m_listFontSize);
        LV->setFont(f);
        m_model->setFont(f);
    }
}

void frmZelvatmain::setListFontSize(double size)
{
    m_listFontSize = std::round(size * 10000) / 10000; // four decimals, as a currency amount
    applyListFont();
    BuildNewMsgList();
}

void frmZelvatmain::cmdBigger_Click()
{
    setListFontSize(m_listFontSize + 1);
}

void frmZelvatmain::cmdSmaller_Click()
{
    setListFontSize(m_listFontSize - 1);
}

void frmZelvatmain::mnuResetFont_Click()
{
    setListFontSize(10);
}

void frmZelvatmain::mnuPackColumns_Click()
{
    // Every column but the first (the hidden file name) fits its contents and its header.
    for (int i = 1; i < ReportList::ColumnCount; ++i) {
        LV->resizeColumnToContents(i);
        LV->header()->resizeSection(i, std::max(LV->header()->sectionSize(i), LV->header()->sectionSizeHint(i)));
    }
}

void frmZelvatmain::mnuResetColumns_Click()
{
    m_columnWidths = MainPlacement::DefaultColumnWidths;
    SetColumnHeaders();
}

void frmZelvatmain::mnuStationID_Click()
{
    if (showStationDialog)
        showStationDialog();
    sbrConfig->setText(configText());
    frmZelvatcts::clearLastUsed();
}

void frmZelvatmain::mnuPreferences_Click()
{
    OutboxFile::Settings outbox = m_outbox->settings();
    ReportVersions::Limits versions = ReportVersions::limits();
    frmZelvatPref dialog(m_station, m_linkSession, this, &outbox, &versions);
    if (dialog.exec() == QDialog::Accepted) {
        m_outbox->setSettings(outbox);
        ReportVersions::setLimits(versions);
        ReportVersions::storeLimits(versions);
    }
    m_station.save();
}

void frmZelvatmain::mnuAbout_Click()
{
    frmAbout dialog(this);
    dialog.exec();
}

void frmZelvatmain::mnuZelvatQuickStart_Click()
{
    const QString path = m_folder + QStringLiteral("/docs/ZelvatUG-QuickStart.pdf");
    if (QFileInfo::exists(path)) {
        QDesktopServices::openUrl(QUrl::fromLocalFile(path));
        return;
    }
    mnuZelvatQuickStart->setEnabled(false);
    notify(QStringLiteral("Hmmm, can't find '") + path + QStringLiteral("'\r\nMake sure Zelvat was installed correctly"),
           Notice::NoIcon, QString::fromLatin1(Zelvat::Title));
}

void frmZelvatmain::mnuExit_Click()
{
    close();
}

void frmZelvatmain::mnuFind_Click()
{
    txtSearch->setFocus(Qt::ShortcutFocusReason);
    txtSearch->selectAll();
}

void frmZelvatmain::Pause(int milliSeconds)
{
    QEventLoop loop;
    QTimer::singleShot(std::max(0, milliSeconds), &loop, &QEventLoop::quit);
    loop.exec();
}
