// The main window's controls and menus: built once, placed from the layout in twips, and placed
// again when the window is resized.
#include "app/frmZelvatmain.h"

#include "app/ClosedReportsMenu.h"
#include "app/MainLayout.h"
#include "app/ReportListModel.h"
#include "dialogs/frmCommLog.h"
#include "support/DatetimeLib.h"
#include "ui/Twips.h"

#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QStatusBar>
#include <QTimer>
#include <QTreeView>

namespace {

QFont makeFont(const char *family, double points, bool bold = false)
{
    QFont f(QString::fromLatin1(family));
    f.setPointSizeF(points);
    f.setBold(bold);
    return f;
}

} // namespace

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

    const MainLayout m = MainLayout::design();
    Twips::place(cmdMorvel, m.cmdMorvel);
    Twips::place(cmdDelete, m.cmdDelete);
    Twips::place(cmdSmaller, m.cmdSmaller);
    Twips::place(cmdBigger, m.cmdBigger);
    Twips::place(lblFolderSpace, m.lblFolderSpace);
    for (int code : {2, 9, 6, 8, 0})
        Twips::place(cmdFolder[code], m.cmdFolder[code]);
    Twips::place(lblCurrentFolder, m.lblCurrentFolder);
    Twips::place(LV, m.LV);
    Twips::place(txtArea, m.txtArea);
    Twips::place(Line1, m.Line1);
    Twips::place(Line2, m.Line2);
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
    m_closedReports = new ClosedReportsMenu(this, file, this);
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
    QAction *commLog = item(file, "mnuCommLog", QStringLiteral("Communications Log..."), true);
    commLog->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_L));
    connect(commLog, &QAction::triggered, this, [this] {
        frmCommLog dialog(m_folder, m_station, this);
        dialog.exec();
    });
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
    QMenu *view = menuBar()->addMenu(QStringLiteral("&View"));
    item(view, "mnuSummary", QStringLiteral("Summary"), true, &frmZelvatmain::mnuSummary_Click)->setShortcut(Qt::Key_F9);
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
    // The controls that follow the window's size, with their places in the layout: measured
    // where they are, moved by the layout's rules, placed again.
    const std::pair<QWidget *, TwipsRect MainLayout::*> following[] = {
        {Line1, &MainLayout::Line1}, {Line2, &MainLayout::Line2}, {lblCurrentFolder, &MainLayout::lblCurrentFolder},
        {txtArea, &MainLayout::txtArea}, {LV, &MainLayout::LV}, {lblFolderSpace, &MainLayout::lblFolderSpace},
        {cmdBigger, &MainLayout::cmdBigger}, {cmdSmaller, &MainLayout::cmdSmaller}};
    MainLayout m;
    for (const auto &[w, place] : following)
        m.*place = Twips::placeOf(w);
    m.resize(W, H, bar);
    for (const auto &[w, place] : following)
        Twips::place(w, m.*place);
    // The search box sits at the right end of the folder caption's row, over the list's right edge.
    const int searchWidth = std::min(Twips::toPixels(this, MainLayout::SearchWidth), LV->width() / 2);
    const int searchHeight = txtSearch->sizeHint().height();
    txtSearch->setGeometry(LV->x() + LV->width() - searchWidth,
                           lblCurrentFolder->y() + (lblCurrentFolder->height() - searchHeight) / 2, searchWidth, searchHeight);
    txtSearch->raise();
}
