#include "app/frmZelvatmain.h"

#include "app/OutboxControl.h"
#include "app/RecoveryOffer.h"
#include "app/ReportListModel.h"
#include "ui/Twips.h"
#include "dialogs/frmAbout.h"
#include "dialogs/frmStationID.h"
#include "link/ServerSession.h"
#include "dialogs/frmZelvatPref.h"
#include "report_form/frmZelvatcts.h"
#include "support/DatetimeLib.h"
#include "store/CatalogUpdates.h"
#include "store/ProgramFolder.h"
#include "store/ReportCatalog.h"
#include "store/ReportList.h"
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
#include <QMenuBar>
#include <QPushButton>
#include <QSettings>
#include <QSortFilterProxyModel>
#include <QStatusBar>
#include <QTimer>
#include <QTreeView>
#include <QUrl>

#include <cmath>

namespace {

constexpr std::array<qint32, 8> kDefaultWidths = {1, 1000, 1000, 1000, 2000, 4000, 2000, 2000};

// The per-user settings store: application "Zelvat Call Taking System", section "Settings".
std::unique_ptr<QSettings> settingsStore()
{
    auto s = std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope, QString::fromLatin1(Zelvat::Title));
    s->beginGroup(QStringLiteral("Settings"));
    return s;
}

// A stored placement or width in twips. A value that is no number, or none a 32-bit measure can
// hold (edited from outside), gives the default and is listed in `bad` as key="value".
double storedTwips(const QSettings &s, const QString &key, double fallback, QStringList *bad)
{
    const QVariant stored = s.value(key);
    if (!stored.isValid())
        return fallback;
    const QString text = stored.toString();
    const auto v = StringLib::parseNumber(text);
    if (v && std::abs(*v) <= 2147483647.0)
        return *v;
    bad->append(key + QStringLiteral("=\"") + text + QLatin1Char('"'));
    return fallback;
}

QFont makeFont(const char *family, double points, bool bold = false)
{
    QFont f(QString::fromLatin1(family));
    f.setPointSizeF(points);
    f.setBold(bold);
    return f;
}

} // namespace

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
    };
    startReportForm = [this](const QString &eventRecord) {
        frmZelvatcts::open(ReportFormContext{m_folder, &m_station, [this] { BuildNewMsgList(); }, m_catalog.get()},
                           eventRecord);
    };
    m_outbox = new OutboxControl(this);
    m_recoveryOffer = new RecoveryOffer(this);
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

void frmZelvatmain::buildControls()
{
    auto *central = new QWidget(this);
    setCentralWidget(central);
    const auto button = [central](QPushButton *&b, const char *name, const QString &caption, const QFont &f) {
        b = new QPushButton(caption, central);
        b->setObjectName(QString::fromLatin1(name));
        b->setFont(f);
        b->setAutoDefault(false);
    };
    button(cmdMorvel, "cmdMorvel", QStringLiteral("New Report"), makeFont("Calibri", 14.25));
    button(cmdDelete, "cmdDelete", QStringLiteral("Delete"), makeFont("Calibri", 12));
    button(cmdSmaller, "cmdSmaller", QStringLiteral("A"), makeFont("Arial", 8.25));
    button(cmdBigger, "cmdBigger", QStringLiteral("A"), makeFont("Arial", 13.5));
    cmdSmaller->setToolTip(QStringLiteral("Decrease font size"));
    cmdBigger->setToolTip(QStringLiteral("Increase font size"));
    cmdSmaller->setAccessibleName(QStringLiteral("Decrease font size"));
    cmdBigger->setAccessibleName(QStringLiteral("Increase font size"));

    lblFolderSpace = new QLabel(QStringLiteral("View List"), central);
    lblFolderSpace->setObjectName(QStringLiteral("lblFolderSpace"));
    lblFolderSpace->setFont(makeFont("Arial", 8.25, true));
    lblFolderSpace->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    lblFolderSpace->setFrameShape(QFrame::StyledPanel);
    const std::pair<int, const char *> folders[] = {{2, "Ready"}, {9, "Submitted"}, {6, "Draft"}, {8, "Deleted"}, {0, "All"}};
    for (const auto &[code, caption] : folders) {
        QPushButton *&b = cmdFolder[code];
        button(b, "cmdFolder", QString::fromLatin1(caption), makeFont("Arial", 12));
        b->setObjectName(QStringLiteral("cmdFolder_%1").arg(code));
        connect(b, &QPushButton::clicked, this, [this, code = code] { cmdFolder_Click(code); });
    }
    lblCurrentFolder = new QLabel(central);
    lblCurrentFolder->setObjectName(QStringLiteral("lblCurrentFolder"));
    lblCurrentFolder->setFont(makeFont("Arial", 14.25));

    m_model = new ReportListModel(m_catalog.get(), this);
    m_sorted = new ReportListSorter(this);
    m_sorted->setSourceModel(m_model);
    m_sorted->setSortRole(ReportListModel::SortRole);
    m_found = new ReportListFilter(m_sorted, m_model, this);
    LV = new QTreeView(central);
    LV->setObjectName(QStringLiteral("LV"));
    LV->setAccessibleName(QStringLiteral("Reports"));
    LV->setModel(m_found);
    LV->setRootIsDecorated(false);
    LV->setUniformRowHeights(true);
    LV->setSelectionMode(QAbstractItemView::ExtendedSelection);
    LV->setSelectionBehavior(QAbstractItemView::SelectRows);
    LV->setEditTriggers(QAbstractItemView::NoEditTriggers);
    LV->setAllColumnsShowFocus(true);
    LV->header()->setSectionsClickable(true);
    LV->header()->setStretchLastSection(false);
    LV->header()->setMinimumSectionSize(0);
    LV->header()->setSortIndicatorShown(true);
    LV->installEventFilter(this);
    connect(LV->header(), &QHeaderView::sectionClicked, this, &frmZelvatmain::LV_ColumnClick);
    connect(LV, &QTreeView::doubleClicked, this, &frmZelvatmain::LV_DblClick);
    connect(LV->selectionModel(), &QItemSelectionModel::selectionChanged, this, &frmZelvatmain::updateSelectionCommands);
    connect(m_sorted, &QAbstractItemModel::modelReset, this, &frmZelvatmain::updateSelectionCommands);
    connect(m_sorted, &QAbstractItemModel::rowsRemoved, this, &frmZelvatmain::updateSelectionCommands);

    txtSearch = new QLineEdit(central);
    txtSearch->setObjectName(QStringLiteral("txtSearch"));
    txtSearch->setAccessibleName(QStringLiteral("Search reports"));
    txtSearch->setPlaceholderText(QStringLiteral("Search (Ctrl+F)"));
    txtSearch->setToolTip(QStringLiteral("Shows the reports of this folder that hold every word typed: event ID, issue, "
                                         "location, city, reporting person, phone or details. Escape clears it."));
    txtSearch->setClearButtonEnabled(true);
    txtSearch->installEventFilter(this);
    connect(txtSearch, &QLineEdit::textChanged, this, [this](const QString &text) {
        m_found->setSearch(text);
        showItemCount();
    });

    txtArea = new QLineEdit(central);
    txtArea->setObjectName(QStringLiteral("txtArea"));
    txtArea->setAccessibleName(QStringLiteral("Notes"));
    Line1 = new QFrame(central);
    Line2 = new QFrame(central);
    for (QFrame *line : {Line1, Line2}) {
        line->setFrameShape(QFrame::HLine);
        line->setFrameShadow(QFrame::Sunken);
    }
    Line1->setObjectName(QStringLiteral("Line1"));
    Line2->setObjectName(QStringLiteral("Line2"));

    Twips::place(cmdMorvel, 120, 120, 2170, 370);
    Twips::place(cmdDelete, 2760, 120, 1215, 375);
    Twips::place(cmdSmaller, 8520, 120, 375, 375);
    Twips::place(cmdBigger, 8880, 120, 375, 375);
    Twips::place(lblFolderSpace, 120, 600, 1575, 4450);
    Twips::place(cmdFolder[2], 240, 1080, 1335, 375);
    Twips::place(cmdFolder[9], 240, 1560, 1335, 375);
    Twips::place(cmdFolder[6], 240, 2040, 1335, 375);
    Twips::place(cmdFolder[8], 240, 2520, 1335, 375);
    Twips::place(cmdFolder[0], 240, 3000, 1335, 375);
    Twips::place(lblCurrentFolder, 1800, 600, 7450, 375);
    Twips::place(LV, 1800, 1080, 7450, 2890);
    Twips::place(txtArea, 1800, 4200, 3490, 850);
    Twips::place(Line1, 0, 540, 11000, 30);
    Twips::place(Line2, 0, 0, 11000, 30);
    lblFolderSpace->lower();

    connect(cmdMorvel, &QPushButton::clicked, this, &frmZelvatmain::cmdMorvel_Click);
    connect(cmdDelete, &QPushButton::clicked, this, &frmZelvatmain::cmdDelete_Click);
    connect(cmdSmaller, &QPushButton::clicked, this, &frmZelvatmain::cmdSmaller_Click);
    connect(cmdBigger, &QPushButton::clicked, this, &frmZelvatmain::cmdBigger_Click);

    sbrStatus = new QLabel(this);
    sbrConfig = new QLabel(this);
    sbrCurrentTime = new QLabel(this);
    sbrStatus->setObjectName(QStringLiteral("sbrStatus_Status"));
    sbrConfig->setObjectName(QStringLiteral("sbrStatus_Config"));
    sbrCurrentTime->setObjectName(QStringLiteral("sbrStatus_CurrentTime"));
    statusBar()->setObjectName(QStringLiteral("sbrStatus"));
    statusBar()->setFont(makeFont("Calibri", 10));
    statusBar()->addWidget(sbrStatus, 1);
    statusBar()->addWidget(sbrConfig, 3);
    statusBar()->addPermanentWidget(sbrCurrentTime);

    tmrClock = new QTimer(this);
    tmrClock->setInterval(1000);
    connect(tmrClock, &QTimer::timeout, this, [this] { sbrCurrentTime->setText(DatetimeLib::clock(DatetimeLib::now())); });
    tmrClock->start();
}

void frmZelvatmain::buildMenus()
{
    const auto item = [this](QMenu *menu, const char *name, const QString &caption, bool enabled,
                             void (frmZelvatmain::*slot)() = nullptr) {
        QAction *a = menu->addAction(caption);
        a->setObjectName(QString::fromLatin1(name));
        a->setEnabled(enabled);
        if (slot)
            connect(a, &QAction::triggered, this, slot);
        return a;
    };
    QMenu *file = menuBar()->addMenu(QStringLiteral("&File"));
    item(file, "mnuNewReport", QStringLiteral("New Report"), true, &frmZelvatmain::cmdMorvel_Click)
        ->setShortcut(QKeySequence::New);
    item(file, "mnuRefresh", QStringLiteral("Refresh List"), true, &frmZelvatmain::refreshList)
        ->setShortcut(QKeySequence::Refresh);
    file->addSeparator();
    item(file, "mnuExport", QStringLiteral("Export"), true, &frmZelvatmain::mnuExport_Click);
    item(file, "mnuImport", QStringLiteral("Import"), true, &frmZelvatmain::mnuImport_Click);
    file->addSeparator();
    item(file, "mnuPrintSetup", QStringLiteral("Print Setup..."), true, &frmZelvatmain::mnuPrintSetup_Click);
    mnuPrint = item(file, "mnuPrint", QStringLiteral("Print..."), false, &frmZelvatmain::mnuPrint_Click);
    mnuPrint->setShortcut(QKeySequence::Print);
    file->addSeparator();
    item(file, "mnuExit", QStringLiteral("Exit"), true, &frmZelvatmain::mnuExit_Click);
    QMenu *edit = menuBar()->addMenu(QStringLiteral("&Edit"));
    item(edit, "mnuCut", QStringLiteral("Cut"), false);
    mnuCopy = item(edit, "mnuCopy", QStringLiteral("Copy"), false, &frmZelvatmain::mnuCopy_Click);
    mnuCopy->setShortcut(QKeySequence::Copy);
    item(edit, "mnuPaste", QStringLiteral("Paste"), false);
    // The Delete key deletes while the list has the focus (see eventFilter), never while a box is
    // typed in: the menu only shows it.
    QAction *del = item(edit, "mnuDelete", QStringLiteral("Delete"), true, &frmZelvatmain::cmdDelete_Click);
    del->setShortcut(QKeySequence::Delete);
    del->setShortcutContext(Qt::WidgetShortcut);
    edit->addSeparator();
    item(edit, "mnuFind", QStringLiteral("Find"), true, &frmZelvatmain::mnuFind_Click)->setShortcut(QKeySequence::Find);
    QMenu *setup = menuBar()->addMenu(QStringLiteral("&Setup"));
    item(setup, "mnuStationID", QStringLiteral("Location ID"), true, &frmZelvatmain::mnuStationID_Click);
    item(setup, "mnuPreferences", QStringLiteral("Preferences"), true, &frmZelvatmain::mnuPreferences_Click);
    setup->addSeparator();
    item(setup, "mnuResetFont", QStringLiteral("Reset Font"), true, &frmZelvatmain::mnuResetFont_Click);
    item(setup, "mnuPackColumns", QStringLiteral("Pack Columns"), true, &frmZelvatmain::mnuPackColumns_Click);
    item(setup, "mnuResetColumns", QStringLiteral("Reset Columns"), true, &frmZelvatmain::mnuResetColumns_Click);
    QMenu *help = menuBar()->addMenu(QStringLiteral("&Help"));
    mnuZelvatQuickStart = item(help, "mnuZelvatQuickStart", QStringLiteral("Zelvat Quick Start"), true,
                               &frmZelvatmain::mnuZelvatQuickStart_Click);
    help->addSeparator();
    item(help, "mnuAbout", QStringLiteral("About"), true, &frmZelvatmain::mnuAbout_Click);
}

// --- start-up and shutdown ------------------------------------------------------------------

void frmZelvatmain::Form_Load()
{
    // Placement and column widths from the per-user settings store, in twips.
    setWindowState(Qt::WindowNoState);
    QStringList bad;
    QString storeFile;
    {
        const auto store = settingsStore();
        const QSettings &s = *store;
        storeFile = s.fileName();
        const double left = storedTwips(s, QStringLiteral("MainLeft"), 105, &bad);
        const double top = storedTwips(s, QStringLiteral("MainTop"), 105, &bad);
        const double width = storedTwips(s, QStringLiteral("MainWidth"), 11235, &bad);
        const double height = storedTwips(s, QStringLiteral("MainHeight"), 7200, &bad);
        move(Twips::toPixels(this, left), Twips::toPixels(this, top));
        resize(Twips::toPixels(this, width), Twips::toPixels(this, height));
        for (int i = 0; i < 8; ++i) {
            // Widths may carry a fraction; they are read back rounded half to even.
            const double w = storedTwips(s, QStringLiteral("lvCW%1").arg(i + 1), kDefaultWidths[i], &bad);
            m_columnWidths[i] = qint32(std::clamp(std::nearbyint(w), 0.0, 2147483647.0));
        }
    }
    // Visible at its place, captioned with the version.
    show();
    setWindowTitle(QString::fromLatin1(Zelvat::Title) + QStringLiteral(" v") + Zelvat::versionText());
    if (!bad.isEmpty())
        notify(QStringLiteral("The window settings in %1 hold values that are no numbers: %2. Their defaults are used; "
                              "the settings are written anew when the program closes.")
                   .arg(storeFile, bad.join(QStringLiteral(", "))),
               Notice::Exclamation);
    // Station settings, session log, the report reader, the rows kept from the last run.
    m_station.load();
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
}

void frmZelvatmain::Form_Unload()
{
    if (m_unloaded)
        return;
    m_unloaded = true;
    const auto store = settingsStore();
    QSettings &s = *store;
    // A minimised or maximised window keeps the last normal placement in the store.
    if (!(windowState() & (Qt::WindowMinimized | Qt::WindowMaximized | Qt::WindowFullScreen))) {
        s.setValue(QStringLiteral("MainLeft"), QString::number(Twips::fromPixels(this, x())));
        s.setValue(QStringLiteral("MainTop"), QString::number(Twips::fromPixels(this, y())));
        s.setValue(QStringLiteral("MainWidth"), QString::number(Twips::fromPixels(this, width())));
        s.setValue(QStringLiteral("MainHeight"), QString::number(Twips::fromPixels(this, height())));
    }
    const auto widths = columnTwips();
    for (int i = 0; i < 8; ++i)
        s.setValue(QStringLiteral("lvCW%1").arg(i + 1), QString::number(widths[i], 'g', 10));
    s.sync();
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
    m_columnWidths = kDefaultWidths;
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
    frmZelvatPref dialog(m_station, m_linkSession, this, &outbox);
    if (dialog.exec() == QDialog::Accepted)
        m_outbox->setSettings(outbox);
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

// --- layout ---------------------------------------------------------------------------------

void frmZelvatmain::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    Form_Resize();
}

void frmZelvatmain::Form_Resize()
{
    if (!centralWidget() || !statusBar())
        return;
    // Horizontal measures use the outer width, vertical ones the inner height (below the menu).
    const double W = Twips::fromPixels(this, frameGeometry().width());
    const double bar = Twips::fromPixels(this, statusBar()->height());
    const double H = Twips::fromPixels(this, centralWidget()->height()) + bar;
    const auto at = [this](QWidget *w) {
        return std::array<double, 4>{Twips::fromPixels(this, w->x()), Twips::fromPixels(this, w->y()),
                                     Twips::fromPixels(this, w->width()), Twips::fromPixels(this, w->height())};
    };
    for (QFrame *line : {Line1, Line2}) {
        const auto g = at(line);
        Twips::place(line, g[0], g[1], W - 200 - g[0], g[3]);
    }
    for (QWidget *w : {static_cast<QWidget *>(lblCurrentFolder), static_cast<QWidget *>(txtArea), static_cast<QWidget *>(LV)}) {
        const auto g = at(w);
        Twips::place(w, g[0], g[1], W - g[0] - 350, g[3]);
    }
    auto area = at(txtArea);
    Twips::place(txtArea, area[0], H - area[3] - 400, area[2], area[3]);
    const auto list = at(LV);
    Twips::place(LV, list[0], list[1], list[2], H - list[1] - area[3] - 500);
    const auto space = at(lblFolderSpace);
    Twips::place(lblFolderSpace, space[0], space[1], space[2], H - space[1] - bar);
    const auto bigger = at(cmdBigger);
    Twips::place(cmdBigger, W - 800, bigger[1], bigger[2], bigger[3]);
    Twips::place(cmdSmaller, W - 800 - 375, bigger[1], at(cmdSmaller)[2], at(cmdSmaller)[3]);
    // The search box sits at the right end of the folder caption's row, over the list's right edge.
    const int searchWidth = std::min(Twips::toPixels(this, 3000), LV->width() / 2);
    const int searchHeight = txtSearch->sizeHint().height();
    txtSearch->setGeometry(LV->x() + LV->width() - searchWidth,
                           lblCurrentFolder->y() + (lblCurrentFolder->height() - searchHeight) / 2, searchWidth, searchHeight);
    txtSearch->raise();
}
