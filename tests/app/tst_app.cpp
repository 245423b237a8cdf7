// The main window driven with real clicks and keys, offscreen: start-up and shutdown through the
// per-user settings store, the folders, sorting, deleting, the font commands, the guide, and
// the unreadable-file message.

#include "app/ReportListModel.h"
#include "app/frmZelvatmain.h"
#include "common/Capture.h"
#include "support/DatetimeLib.h"
#include "store/ProgramFolder.h"
#include "support/CommonConst.h"

#include <QAction>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QStatusBar>
#include <QPushButton>
#include <QSettings>
#include <QSortFilterProxyModel>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>

class TestApp : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void firstStartWithAnEmptyStore();
    void closingWhileMaximisedKeepsThePlacement();
    void columnWidthsComeBackRoundedHalfToEven();
    void foldersFilterTheList();
    void headerClicksSort();
    void dateTimeSortIsChronological();
    void deleteInAllThenInDeleted();
    void deleteKeyDeletesTheSelection();
    void fontSizeSurvivesARestart();
    void packAndResetColumns();
    void unreadableReportsAreReportedOnce();
    void missingGuideGreysTheMenuEntry();
    void configPanelInProperCase();
    void newReportAndDoubleClickOpenTheForm();
    void resizeFollowsTheWindow();

private:
    std::unique_ptr<frmZelvatmain> start();
    void report(const QString &name, int ast, const QString &city, const QString &adt = "260307",
                const QString &atm = "1405");
    QStringList column(frmZelvatmain &w, int c) const;
    QSettings store() const { return QSettings(QSettings::NativeFormat, QSettings::UserScope, Zelvat::Title); }
    int px(frmZelvatmain &w, double twips) const { return qRound(twips * w.logicalDpiX() / 1440.0); }

    std::unique_ptr<QTemporaryDir> m_dir;
    int m_stationDialogs = 0;
    QStringList m_opened;
};

void TestApp::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void TestApp::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QString why;
    QVERIFY(ProgramFolder::prepare(m_dir->path(), &why));
    QSettings s(QSettings::NativeFormat, QSettings::UserScope, Zelvat::Title);
    s.clear();
    s.sync();
    m_stationDialogs = 0;
    m_opened.clear();
}

void TestApp::cleanup()
{
    m_dir.reset();
}

std::unique_ptr<frmZelvatmain> TestApp::start()
{
    auto w = std::make_unique<frmZelvatmain>(m_dir->path());
    w->showStationDialog = [this] { ++m_stationDialogs; };
    w->startReportForm = [this](const QString &name) { m_opened << name; };
    w->Form_Load();
    return w;
}

void TestApp::report(const QString &name, int ast, const QString &city, const QString &adt, const QString &atm)
{
    writeFile(m_dir->path() + "/msg.d/" + name + ".911",
              ("EID=" + name + "\r\nTYP=MED\r\nISS=Issue " + name + "\r\nCTY=" + city + "\r\nAST=" + QString::number(ast)
               + "\r\nADT=" + adt + "\r\nATM=" + atm + "\r\n")
                  .toLatin1());
}

QStringList TestApp::column(frmZelvatmain &w, int c) const
{
    QStringList cells;
    const QAbstractItemModel *rows = w.listRows();
    for (int r = 0; r < rows->rowCount(); ++r)
        cells << rows->index(r, c).data().toString();
    return cells;
}

void TestApp::firstStartWithAnEmptyStore()
{
    auto w = start();
    QCOMPARE(w->pos(), QPoint(px(*w, 105), px(*w, 105)));
    QCOMPARE(w->size(), QSize(px(*w, 11235), px(*w, 7200)));
    QCOMPARE(w->columnWidths(), (std::array<qint32, 8>{1, 1000, 1000, 1000, 2000, 4000, 2000, 2000}));
    QCOMPARE(w->currentFolder(), 2);
    QCOMPARE(w->lblCurrentFolder->text(), QString("  Ready to Send"));
    QCOMPARE(m_stationDialogs, 1);
    QCOMPARE(w->windowTitle(), "Zelvat Call Taking System v" + Zelvat::versionText());
    QCOMPARE(w->statusText(), QString("Items: 0"));
    QVERIFY(QFile::exists(m_dir->path() + "/Zelvatcts.ini"));
    QVERIFY(QFile::exists(m_dir->path() + "/logs/Zelvat_" + DatetimeLib::yymmdd(DatetimeLib::now()) + ".log"));
    QVERIFY(!w->LV->isEnabled() || w->LV->focusPolicy() == Qt::NoFocus); // an empty list takes no keys
    w->close();
    QSettings s = store();
    s.beginGroup("Settings");
    QCOMPARE(s.value("MainWidth").toString().toDouble(), 11235.0);
    QCOMPARE(s.value("lvCW6").toString(), QString("4000"));
    QCOMPARE(s.value("lvCW1").toString(), QString("1"));
}

void TestApp::closingWhileMaximisedKeepsThePlacement()
{
    {
        QSettings s = store();
        s.beginGroup("Settings");
        s.setValue("MainLeft", "300");
        s.setValue("MainWidth", "9000");
    }
    auto w = start();
    w->LV->header()->resizeSection(3, px(*w, 1500));
    w->setWindowState(Qt::WindowMaximized);
    w->close();
    QSettings s = store();
    s.beginGroup("Settings");
    QCOMPARE(s.value("MainLeft").toString(), QString("300"));
    QCOMPARE(s.value("MainWidth").toString(), QString("9000"));
    QCOMPARE(s.value("lvCW4").toString().toDouble(), 1500.0);
}

void TestApp::columnWidthsComeBackRoundedHalfToEven()
{
    Capture capture;
    {
        QSettings s = store();
        s.beginGroup("Settings");
        s.setValue("lvCW2", "1500.5");
        s.setValue("lvCW3", "1501.5");
        s.setValue("lvCW4", "abc");   // edited from outside: the default stands, and the operator hears of it
        s.setValue("MainTop", "1e99"); // no placement a window can take
    }
    auto w = start();
    QCOMPARE(w->columnWidths()[1], 1500);
    QCOMPARE(w->columnWidths()[2], 1502);
    QCOMPARE(w->columnWidths()[3], 1000);
    QCOMPARE(w->pos().y(), px(*w, 105));
    QCOMPARE(capture.notices.size(), 1);
    const QString text = capture.notices[0].text;
    QVERIFY2(text.contains(store().fileName()), qPrintable(text));
    QVERIFY2(text.contains("lvCW4=\"abc\"") && text.contains("MainTop=\"1e99\""), qPrintable(text));
    QVERIFY2(!text.contains("lvCW2"), qPrintable(text));
    w->close();
    QSettings s = store();
    s.beginGroup("Settings");
    QCOMPARE(s.value("lvCW4").toString(), QString("1000"));
}

void TestApp::foldersFilterTheList()
{
    report("R1", 2, "A");
    report("D1", 6, "B");
    report("X1", 8, "C");
    report("S1", 9, "D");
    report("N1", 1, "E");
    auto w = start();
    QCOMPARE(column(*w, 0), QStringList{"R1"});
    const std::pair<int, QStringList> expected[] = {
        {6, {"D1"}}, {8, {"X1"}}, {9, {"S1"}}, {0, {"R1", "D1", "X1", "S1", "N1"}}, {2, {"R1"}}};
    for (const auto &[folder, names] : expected) {
        QTest::mouseClick(w->cmdFolder[folder], Qt::LeftButton);
        QCOMPARE(column(*w, 0), names);
        QCOMPARE(w->lblCurrentFolder->text(), "  " + Zelvat::folderCaption(folder));
        QCOMPARE(w->statusText(), "Items: " + QString::number(names.size()));
    }
    QTest::mouseClick(w->cmdFolder[0], Qt::LeftButton);
    QCOMPARE(column(*w, 1), (QStringList{"Ready", "Draft", "Deleted", "Submitted", ""}));
}

void TestApp::headerClicksSort()
{
    report("R1", 2, "Boston");
    report("R2", 2, "albany");
    report("R3", 2, "Chicago");
    auto w = start();
    QCOMPARE(column(*w, 6), (QStringList{"albany", "Boston", "Chicago"})); // by City after a refill
    QTest::mouseClick(w->LV->header()->viewport(), Qt::LeftButton, {},
                      QPoint(w->LV->header()->sectionViewportPosition(6) + 5, 5));
    QCOMPARE(column(*w, 6), (QStringList{"Chicago", "Boston", "albany"})); // the same header flips
    w->LV_ColumnClick(0);
    QCOMPARE(column(*w, 0), (QStringList{"R3", "R2", "R1"})); // another keeps the direction
    w->LV_ColumnClick(0);
    QCOMPARE(column(*w, 0), (QStringList{"R1", "R2", "R3"}));
    w->BuildNewMsgList();
    QCOMPARE(column(*w, 6), (QStringList{"albany", "Boston", "Chicago"}));
}

void TestApp::dateTimeSortIsChronological()
{
    report("A", 2, "x", "091231", "2300"); // 12/31/09 23:00
    report("B", 2, "x", "100101", "0100"); // 01/01/10 01:00: later, though "01/" sorts first as text
    report("C", 2, "x", "", "");           // no date: value 0
    auto w = start();
    w->LV_ColumnClick(7); // order flips from ascending: newest first
    QCOMPARE(column(*w, 0), (QStringList{"B", "A", "C"}));
    w->LV_ColumnClick(7);
    QCOMPARE(column(*w, 0), (QStringList{"C", "A", "B"}));
}

void TestApp::deleteInAllThenInDeleted()
{
    report("R1", 2, "A");
    report("R2", 6, "B");
    auto w = start();
    QTest::mouseClick(w->cmdFolder[0], Qt::LeftButton);
    w->LV->selectAll();
    QTest::mouseClick(w->cmdDelete, Qt::LeftButton);
    QCOMPARE(w->listModel()->rowCount(), 0);
    QCOMPARE(w->statusText(), QString("Items: 2")); // the count changes on the next refill
    w->BuildNewMsgList();
    QCOMPARE(column(*w, 1), (QStringList{"Deleted", "Deleted"}));
    QVERIFY(readFile(m_dir->path() + "/msg.d/R1.911").contains("AST=8"));
    QTest::mouseClick(w->cmdFolder[8], Qt::LeftButton);
    w->LV->selectionModel()->select(w->listRows()->index(0, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
    QTest::mouseClick(w->cmdDelete, Qt::LeftButton);
    QVERIFY(!QFile::exists(m_dir->path() + "/msg.d/R1.911"));
    QVERIFY(QFile::exists(m_dir->path() + "/msg.d/R2.911"));
    w->BuildNewMsgList();
    QCOMPARE(column(*w, 0), QStringList{"R2"});
}

void TestApp::deleteKeyDeletesTheSelection()
{
    report("R1", 2, "A");
    report("R2", 2, "B");
    auto w = start();
    w->LV->selectionModel()->select(w->listRows()->index(1, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
    QTest::keyClick(w->LV, Qt::Key_Delete);
    QCOMPARE(column(*w, 0), QStringList{"R1"});
    QVERIFY(readFile(m_dir->path() + "/msg.d/R2.911").contains("AST=8"));
}

void TestApp::fontSizeSurvivesARestart()
{
    {
        auto w = start();
        for (int i = 0; i < 3; ++i)
            QTest::mouseClick(w->cmdBigger, Qt::LeftButton);
        QCOMPARE(w->LV->font().pointSizeF(), 13.0);
        w->close();
    }
    QVERIFY(readFile(m_dir->path() + "/Zelvatcts.ini").contains("\r\nLvf=13\r\n"));
    auto again = start();
    QCOMPARE(again->listFontSize(), 13.0);
    QTest::mouseClick(again->cmdSmaller, Qt::LeftButton);
    QCOMPARE(again->LV->font().pointSizeF(), 12.0);
    again->mnuResetFont_Click();
    QCOMPARE(again->LV->font().pointSizeF(), 10.0);
}

void TestApp::packAndResetColumns()
{
    report("R1", 2, "A rather long city name for a column");
    auto w = start();
    w->mnuPackColumns_Click();
    QCOMPARE(w->columnWidths()[0], 1); // the file-name column stays hidden
    QVERIFY(w->LV->header()->sectionSize(6) >= w->LV->header()->sectionSizeHint(6));
    QVERIFY(w->LV->header()->sectionSize(6) >= w->LV->fontMetrics().horizontalAdvance("A rather long city name"));
    w->mnuResetColumns_Click();
    QCOMPARE(w->columnWidths(), (std::array<qint32, 8>{1, 1000, 1000, 1000, 2000, 4000, 2000, 2000}));
    QCOMPARE(w->listModel()->rowCount(), 1); // the rows stay
}

void TestApp::unreadableReportsAreReportedOnce()
{
    Capture capture;
    report("GOOD", 2, "A");
    for (int i = 0; i < 30; ++i)
        writeFile(m_dir->path() + QString("/msg.d/BAD%1.911").arg(i), "AST=2\r\nCON=what\r\n");
    auto w = start();
    QCOMPARE(capture.notices.size(), 1);
    QVERIFY(capture.notices[0].text.startsWith("30 report files could not be read:"));
    QVERIFY(capture.notices[0].text.contains("... and 20 more"));
    QCOMPARE(w->listModel()->rowCount(), 31); // rows for what could be read
    QTest::mouseClick(w->cmdFolder[0], Qt::LeftButton);
    QTest::mouseClick(w->cmdFolder[2], Qt::LeftButton);
    QCOMPARE(capture.notices.size(), 1); // not again on every refill
    writeFile(m_dir->path() + "/msg.d/NEWBAD.911", "AST=2\r\nBRE=x\r\n");
    w->BuildNewMsgList();
    QCOMPARE(capture.notices.size(), 2);
    const QString newly = capture.notices[1].text; // the loader's own message for the one new file
    QVERIFY2(newly.startsWith("Tn911:Load, Step=3") && newly.contains("/NEWBAD.911,"), qPrintable(newly));
    QVERIFY2(!newly.contains("/BAD"), qPrintable(newly));

    // A file that reads again is forgotten; when it breaks once more, the operator hears of it.
    report("BAD7", 2, "B");
    w->BuildNewMsgList();
    QCOMPARE(capture.notices.size(), 2);
    writeFile(m_dir->path() + "/msg.d/BAD7.911", "AST=2\r\nCON=no\r\n");
    w->BuildNewMsgList();
    QCOMPARE(capture.notices.size(), 3);
    QVERIFY2(capture.notices[2].text.contains("/BAD7.911,"), qPrintable(capture.notices[2].text));
}

void TestApp::missingGuideGreysTheMenuEntry()
{
    Capture capture;
    auto w = start();
    w->mnuZelvatQuickStart_Click();
    QVERIFY(!w->mnuZelvatQuickStart->isEnabled());
    QCOMPARE(capture.notices.size(), 1);
    QCOMPARE(capture.notices[0].text, "Hmmm, can't find '" + m_dir->path()
                                          + "/docs/ZelvatUG-QuickStart.pdf'\r\nMake sure Zelvat was installed correctly");
    QCOMPARE(capture.notices[0].title, QString("Zelvat Call Taking System"));
}

void TestApp::configPanelInProperCase()
{
    writeFile(m_dir->path() + "/Zelvatcts.ini", "[GENERAL OPTIONS]\r\nNam=PAT SMITH\r\nUid=1234\r\nLoc=EOC1\r\n");
    auto w = start();
    QCOMPARE(w->sbrConfig->text(), QString("Name: Pat Smith -- UID: 1234 -- LOC: EOC1"));
    w->station().Loc = "EOC2";
    w->mnuStationID_Click();
    QCOMPARE(m_stationDialogs, 2);
    QCOMPARE(w->sbrConfig->text(), QString("Name: Pat Smith -- UID: 1234 -- LOC: EOC2"));
}

void TestApp::newReportAndDoubleClickOpenTheForm()
{
    report("R1", 2, "A");
    auto w = start();
    QTest::mouseClick(w->cmdMorvel, Qt::LeftButton);
    w->LV->setCurrentIndex(w->listRows()->index(0, 3));
    w->LV_DblClick();
    QCOMPARE(m_opened, (QStringList{"NEW", "R1"}));
}

void TestApp::resizeFollowsTheWindow()
{
    auto w = start();
    const int listWidth = w->LV->width();
    const int bigger = w->cmdBigger->x();
    w->resize(w->width() + 150, w->height() + 90);
    QCOMPARE(w->LV->width(), listWidth + 150);
    QCOMPARE(w->cmdBigger->x(), bigger + 150);
    QCOMPARE(w->cmdSmaller->x(), w->cmdBigger->x() - px(*w, 375));
    QCOMPARE(w->txtArea->y() + w->txtArea->height() + px(*w, 400) - w->statusBar()->height(),
             w->centralWidget()->height());
}

QTEST_MAIN(TestApp)
#include "tst_app.moc"
