// The report list that keeps itself current, driven with real keys offscreen: the search box and
// its count, the keys and the menus that show them, reports written by other programs appearing
// by the watch's notices and by its periodic look, the selection and the place kept through a
// refresh, and the index file that spares the next start reading every report. Which reports
// hold the words searched for is the catalog suite's.

#include "app/ReportListModel.h"
#include "app/frmZelvatmain.h"
#include "common/Capture.h"
#include "common/SampleReport.h"
#include "common/WindowHome.h"
#include "store/ReportFolderWatch.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace {

// A report as another program writes it: a Ready one in `city`.
QString report(WindowHome &home, int i, const QString &city, const QStringList &more = {})
{
    return SampleReport::save(home.path(), QStringList{"CTY=" + city, "AST=2"} + more, i);
}

} // namespace

class TestSearch : public QObject {
    Q_OBJECT

private slots:
    void searchShowsTheRowsFound()
    {
        WindowHome home;
        report(home, 1, "Springfield", {"AD1=12 Oak Street"});
        report(home, 2, "Riverside", {"AD1=4 Elm Road"});
        report(home, 3, "Fairview", {"AD1=9 Oak Lane"});
        SampleReport::save(home.path(), {"CTY=Madison", "AST=6", "AD1=1 Oak Court"}, 4); // a Draft
        auto w = home.startMainWindow();
        QVERIFY(QTest::qWaitForWindowActive(w.get()));
        QTest::keyClick(w->LV, Qt::Key_F, Qt::ControlModifier);
        QVERIFY(w->txtSearch->hasFocus());
        QTest::keyClicks(w->txtSearch, "oak");
        QCOMPARE(listColumn(*w, ReportList::City), (QStringList{"Fairview", "Springfield"})); // the Draft is of another folder
        QCOMPARE(w->statusText(), QString("Items: 2 of 3"));

        // A folder switch keeps the search; a refill keeps it too.
        QTest::mouseClick(w->cmdFolder[0], Qt::LeftButton);
        QCOMPARE(listColumn(*w, ReportList::City), (QStringList{"Fairview", "Madison", "Springfield"}));
        w->BuildNewMsgList();
        QCOMPARE(w->statusText(), QString("Items: 3 of 4"));

        // A report another program changes so that it no longer holds the words leaves the rows found.
        SampleReport::save(home.path(), {"CTY=Fairview", "AST=2", "AD1=9 Pine Lane"}, 3);
        QTRY_COMPARE_WITH_TIMEOUT(listColumn(*w, ReportList::City), (QStringList{"Madison", "Springfield"}), 2000);
        QCOMPARE(w->statusText(), QString("Items: 2 of 4"));

        // The Delete key edits the search, deleting no report; Escape clears the search.
        w->LV->selectAll();
        w->txtSearch->setFocus();
        QTest::keyClick(w->txtSearch, Qt::Key_Home);
        QTest::keyClick(w->txtSearch, Qt::Key_Delete);
        QCOMPARE(w->txtSearch->text(), QString("ak"));
        QVERIFY(readFile(home.reportPath("ABC26320.000001")).contains("AST=2"));
        QTest::keyClick(w->txtSearch, Qt::Key_Escape);
        QCOMPARE(w->txtSearch->text(), QString());
        QCOMPARE(w->statusText(), QString("Items: 4"));
    }

    void keysAreInTheMenus_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<QKeySequence>("keys");
        QTest::newRow("Ctrl+N: New Report") << "mnuNewReport" << QKeySequence(Qt::CTRL | Qt::Key_N);
        QTest::newRow("Ctrl+F: the search box") << "mnuFind" << QKeySequence(Qt::CTRL | Qt::Key_F);
        QTest::newRow("F5: refresh") << "mnuRefresh" << QKeySequence(Qt::Key_F5);
        QTest::newRow("Delete: as before, on the list") << "mnuDelete" << QKeySequence(Qt::Key_Delete);
    }

    void keysAreInTheMenus()
    {
        QFETCH(QString, action);
        QFETCH(QKeySequence, keys);
        WindowHome home;
        const QString first = report(home, 1, "Springfield");
        auto w = home.startMainWindow();
        auto *a = w->menuBar()->findChild<QAction *>(action);
        QVERIFY(a && a->shortcut() == keys); // the menu entry shows the key
        const QList<QAction *> menus = w->menuBar()->actions();
        QVERIFY(std::any_of(menus.begin(), menus.end(), [a](QAction *menu) { return menu->menu()->actions().contains(a); }));

        // The key does what the entry does, from the list.
        QVERIFY(QTest::qWaitForWindowActive(w.get()));
        w->LV->setFocus();
        w->LV->setCurrentIndex(w->listRows()->index(0, 0));
        const QString second = report(home, 2, "Albany");
        QTest::keySequence(w->LV, keys);
        if (action == "mnuNewReport")
            QCOMPARE(home.opened, QStringList{"NEW"});
        else if (action == "mnuFind")
            QVERIFY(w->txtSearch->hasFocus());
        else if (action == "mnuRefresh")
            QCOMPARE(listColumn(*w, ReportList::Idx), (QStringList{second, first}));
        else
            QVERIFY(readFile(home.reportPath(first)).contains("AST=8"));
    }

    void reportsOfOtherProgramsAppear_data()
    {
        QTest::addColumn<bool>("notices");
        QTest::newRow("told by the system's notices") << true;
        QTest::newRow("found by the periodic look (a network file system)") << false;
    }

    void reportsOfOtherProgramsAppear()
    {
        QFETCH(bool, notices);
        WindowHome home;
        const QString kept = report(home, 1, "Springfield");
        report(home, 2, "Riverside");
        auto w = home.startMainWindow();
        w->folderWatch()->ignoreNotices(!notices);
        if (notices && !w->folderWatch()->noticesDelivered())
            QSKIP("this file system delivers no change notices");
        QTest::qWait(50); // the watch's first whole look is behind us

        const QString added = report(home, 3, "Albany");
        SampleReport::save(home.path(), {"CTY=Riverside", "AST=9"}, 2); // submitted by the client: leaves Ready
        QFile::remove(home.reportPath(kept));
        QTRY_COMPARE_WITH_TIMEOUT(listColumn(*w, ReportList::Idx), QStringList{added}, 2000);
        QCOMPARE(w->statusText(), QString("Items: 1"));
    }

    void selectionAndPlaceSurviveARefresh_data()
    {
        QTest::addColumn<int>("added");
        QTest::newRow("a few rows added: the list changes row by row") << 20;
        QTest::newRow("more rows added than there were: the list is replaced") << 300;
    }

    void selectionAndPlaceSurviveARefresh()
    {
        QFETCH(int, added);
        WindowHome home;
        for (int i = 0; i < 200; ++i)
            report(home, i, QStringLiteral("Town %1").arg(i, 3, 10, QLatin1Char('0')));
        auto w = home.startMainWindow();
        w->resize(w->width(), 300);
        QTest::qWait(0);
        const auto topName = [&] { return w->LV->indexAt(QPoint(0, 0)).siblingAtColumn(0).data().toString(); };
        const auto selected = [&] { return w->LV->selectionModel()->selectedRows().value(0).data().toString(); };
        w->LV->selectionModel()->select(w->listRows()->index(120, 0), QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        w->LV->scrollTo(w->listRows()->index(100, 0), QAbstractItemView::PositionAtTop);
        const QString top = topName(), picked = selected();

        // Other programs add rows before both, and change the selected one.
        for (int i = 1000; i < 1000 + added; ++i)
            report(home, i, "Albany");
        SampleReport::save(home.path(), {"CTY=Town 120", "AST=2", "ISS=Changed"}, 120);
        QTRY_COMPARE_WITH_TIMEOUT(w->listModel()->rowCount(), 200 + added, 3000);
        QTRY_COMPARE_WITH_TIMEOUT(listColumn(*w, ReportList::Issue).count("Changed"), qsizetype(1), 3000);
        QCOMPARE(topName(), top);
        QCOMPARE(w->LV->selectionModel()->selectedRows().size(), 1);
        QCOMPARE(selected(), picked);
    }

    void theNextStartReadsOnlyWhatChanged()
    {
        WindowHome home;
        for (int i = 0; i < 20; ++i)
            report(home, i, "Springfield");
        const auto startAndClose = [&] {
            auto w = home.startMainWindow();
            w->close(); // the index is written
            return w->catalog().filesRead();
        };
        QCOMPARE(startAndClose(), 20);
        QVERIFY(QFile::exists(home.path() + "/Zelvatcts.idx"));
        // Reports newer than the time a file's clock may blur are read again at the next start; these
        // are dated an hour back, as reports of an earlier shift are, and the index written anew.
        const timespec anHourAgo{time_t(QDateTime::currentSecsSinceEpoch() - 3600), 0};
        const timespec times[2] = {anHourAgo, anHourAgo};
        for (const QString &f : home.reportFiles())
            ::utimensat(AT_FDCWD, QFile::encodeName(home.path() + "/msg.d/" + f).constData(), times, 0);
        startAndClose();
        SampleReport::save(home.path(), {"CTY=Changed", "AST=2"}, 5);
        // The rows of the index are shown at once; the look at the folder then brings the change.
        auto w = home.startMainWindow();
        QCOMPARE(w->listModel()->rowCount(), 20);
        QTRY_VERIFY(listColumn(*w, ReportList::City).contains("Changed"));
        QCOMPARE(w->catalog().filesRead(), 1);
        QCOMPARE(w->listModel()->rowCount(), 20);
    }
};

QTEST_MAIN(TestSearch)
#include "tst_search.moc"
