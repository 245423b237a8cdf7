#pragma once

#include "app/OutboxHost.h"
#include "app/RecoveryHost.h"
#include "settings/ZelvatIni.h"
#include "store/ReportCatalog.h"
#include "store/ZelvatMsg.h"
#include "support/Platform.h"

#include <QMainWindow>
#include <QPointer>
#include <QSet>
#include <array>
#include <functional>
#include <memory>

class QAction;
class QFrame;
class QLabel;
class QLineEdit;
class QPushButton;
class QSortFilterProxyModel;
class QTimer;
class QTreeView;
class CatalogUpdates;
class ClosedReportsMenu;
class ListInUse;
class OutboxControl;
class RecoveryOffer;
class ReportFolderWatch;
class ReportListFilter;
class ReportListModel;
class ReportListSorter;
class ServerSession;
class frmSummary;

// The main window and the program's start-up object: the report list with its folders, the
// commands, the station settings, and the per-user placement of the window.
class frmZelvatmain : public QMainWindow, public OutboxHost, public RecoveryHost {
    Q_OBJECT

public:
    // The program folder holds the station file, the reports (msg.d), the logs and the guide.
    explicit frmZelvatmain(const QString &programFolder, QWidget *parent = nullptr);
    ~frmZelvatmain() override;

    // Start-up, once, after construction; and shutdown, once, when the window closes.
    void Form_Load();
    void Form_Unload();

    // Opens the report form for "NEW" or a report name (set by the program; the report form's
    // StartForm).
    std::function<void(const QString &eventRecord)> startReportForm;
    // Shows the station identification dialog modally (replaced in tests that drive it).
    std::function<void()> showStationDialog;
    // Asks whether the input of a report form kept when a program stopped is restored (a
    // message box; replaced in tests that answer it).
    using RecoveryAnswer = ::RecoveryAnswer;
    RecoveryQuestion askRestore;
    RecoveryQuestion restoreQuestion() const override { return askRestore; }
    // Asks whether reports a report form has open are deleted all the same (Delete Anyway or
    // Cancel, a message box; replaced in tests that answer it). True: delete.
    std::function<bool(const QString &question)> askDeleteAnyway;
    // The outbox: Send Ready Reports, the automatic resend and its status panel.
    OutboxControl *outbox() const { return m_outbox; }
    // The reports open in a form at another position, as the list shows them.
    ListInUse *inUse() const { return m_inUse; }

    // Refills the list for the current folder. Public: the report form calls it.
    void BuildNewMsgList() override;
    // Looks at the whole message folder again and brings the list up to date, keeping its
    // order, selection and place (F5).
    void refreshList();
    void SetColumnHeaders();
    void updateFolderCaption();

    ZelvatIni &station() override { return m_station; }
    QString programFolder() const override { return m_folder; }
    CatalogUpdates *catalogUpdates() const override { return m_updates; }
    int currentFolder() const { return m_currentFolder; }
    ReportListModel *listModel() const { return m_model; }
    // The rows in the order the list shows them (those of a search while one is typed).
    QSortFilterProxyModel *listRows() const;
    ReportCatalog &catalog() const override { return *m_catalog; }
    ReportFolderWatch *folderWatch() const;
    double listFontSize() const { return m_listFontSize; }
    int sortKey() const { return m_sortKey; }
    Qt::SortOrder sortOrder() const { return m_sortOrder; }
    std::array<qint32, 8> columnWidths() const; // in twips, as the list shows them now
    QString configText() const;
    QString statusText() const;

    void cmdFolder_Click(int folder);
    void cmdDelete_Click();
    void cmdMorvel_Click();
    void cmdBigger_Click();
    void cmdSmaller_Click();
    void mnuResetFont_Click();
    void mnuPackColumns_Click();
    void mnuResetColumns_Click();
    void mnuStationID_Click();
    void mnuPreferences_Click();
    void mnuAbout_Click();
    void mnuZelvatQuickStart_Click();
    void mnuExit_Click();
    // The hand-over commands of the File and Edit menus (MainHandOver.cpp): export, import, page
    // setup, print, and copying rows to the clipboard.
    void mnuExport_Click();
    void mnuImport_Click();
    void mnuPrintSetup_Click();
    void mnuPrint_Click();
    void mnuCopy_Click();
    // The report names of the selected rows, and of every row, in the order the list shows them.
    QStringList selectedNames() const;
    QStringList shownNames() const;
    // Asks for the file to export to; `filter` gets the type chosen in the dialog. Replaced in tests.
    std::function<QString(QString *filter)> chooseExportFile;
    // Asks for the report files to import. Replaced in tests.
    std::function<QStringList()> chooseImportFiles;
    void mnuFind_Click();
    // View > Summary (F9): opens the situation summary, or brings it forward (MainSummary.cpp).
    void mnuSummary_Click();
    frmSummary *summaryWindow() const;
    void LV_ColumnClick(int column);
    void LV_DblClick();
    void Form_Resize();
    void Pause(int milliSeconds);

    // The controls, under their design names.
    QPushButton *cmdMorvel = nullptr;
    QPushButton *cmdDelete = nullptr;
    QPushButton *cmdSmaller = nullptr;
    QPushButton *cmdBigger = nullptr;
    QLabel *lblFolderSpace = nullptr;
    QLabel *lblCurrentFolder = nullptr;
    std::array<QPushButton *, 10> cmdFolder {}; // by folder code: 0, 2, 6, 8, 9
    QTreeView *LV = nullptr;
    QLineEdit *txtArea = nullptr;
    QLineEdit *txtSearch = nullptr; // the search box above the list
    QFrame *Line1 = nullptr;
    QFrame *Line2 = nullptr;
    QLabel *sbrStatus = nullptr;      // panel "Status"
    QLabel *sbrConfig = nullptr;      // panel "Config"
    QLabel *sbrCurrentTime = nullptr; // panel "CurrentTime"
    QAction *mnuZelvatQuickStart = nullptr;
    QAction *mnuCopy = nullptr;
    QAction *mnuPrint = nullptr;
    QTimer *tmrClock = nullptr;

protected:
    void closeEvent(QCloseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    // The controls, menus and layout (frmZelvatmainControls.cpp).
    void buildControls();
    std::array<double, 8> columnTwips() const;
    void buildMenus();
    void applyListFont();
    void setListFontSize(double size);
    void tellUnreadable(const QList<Notice> &notices);
    void updateSelectionCommands();
    void syncList();
    void showItemCount();

    QString m_folder;
    ZelvatIni m_station;
    std::unique_ptr<ZelvatMsg> m_reader;
    std::unique_ptr<ReportCatalog> m_catalog; // every report's row, kept between refills
    CatalogUpdates *m_updates = nullptr; // keeps the catalog current with the folder
    ReportListModel *m_model = nullptr;
    ReportListSorter *m_sorted = nullptr;
    ReportListFilter *m_found = nullptr;
    ServerSession *m_linkSession = nullptr;
    OutboxControl *m_outbox = nullptr;
    RecoveryOffer *m_recoveryOffer = nullptr;
    ListInUse *m_inUse = nullptr;
    QPointer<frmSummary> m_summary; // follows the catalog as the list does
    ClosedReportsMenu *m_closedReports = nullptr;
    std::array<qint32, 8> m_columnWidths {};
    int m_currentFolder = 2;
    int m_sortKey = 6;
    Qt::SortOrder m_sortOrder = Qt::AscendingOrder;
    double m_listFontSize = 10;
    bool m_unloaded = false;
    QSet<QString> m_unreadableShown; // report files already reported as unreadable this session
};
