// The main window driven with real clicks and keys, offscreen: start-up and shutdown through the
// per-user settings store, the folder buttons, the header clicks, deleting, the font and column
// commands, the panels, the unreadable-file message; the list that keeps itself current (the
// search box and its count, the keys and the menus that show them, reports of other programs
// found by the watch's notices and by its periodic look, the selection and the place kept through
// a refresh, the index that spares the next start reading every report). Which rows a folder
// holds, how a column sorts and which reports hold the words searched for are the catalog's.
// The hand-over: the menus' Copy, Export, Import, Print Setup and Print (the dialogs answered by
// the test, the PDF files read back by poppler's tools) and the report form's Print. The sheets
// themselves are the sheet suite's.

#include "app/ReportListModel.h"
#include "app/frmZelvatmain.h"
#include "common/Capture.h"
#include "common/Csv.h"
#include "common/Files.h"
#include "common/SampleReport.h"
#include "common/WindowHome.h"
#include "dialogs/frmSummary.h"
#include "report_form/FormInUse.h"
#include "report_form/frmZelvatcts.h"
#include "sheet/CallsChart.h"
#include "sheet/PageSetup.h"
#include "store/ReportCsv.h"
#include "store/ReportFolderWatch.h"
#include "support/CommonConst.h"
#include "support/DatetimeLib.h"
#include "ui/CallsChartView.h"
#include "ui/SheetPrinting.h"

#include <QAbstractItemModelTester>
#include <QClipboard>
#include <QHeaderView>
#include <QPrinter>
#include <QRegularExpression>
#include <QProcess>
#include <QSettings>
#include <QTableWidget>

// A value of the per-user settings store's group "Settings".
static QString stored(const QString &key)
{
    return userSettings().value("Settings/" + key).toString();
}

// A report as another program writes it: a Ready one in `city`.
static QString report(WindowHome &home, int i, const QString &city, const QStringList &more = {})
{
    return SampleReport::save(home.path(), QStringList{"CTY=" + city, "AST=2"} + more, i);
}

// Ready reports in Fairview, Riverside, Springfield (list order), a Draft; active, for shortcuts.
static std::unique_ptr<frmZelvatmain> start(WindowHome &home, const QList<int> &selected)
{
    const QStringList cities{"Ashford", "Springfield", "Riverside", "Fairview"};
    for (int i = 1; i <= 4; ++i)
        SampleReport::save(home.path(), {"CTY=" + cities[i % 4], i == 4 ? "AST=6" : "AST=2", "ISS=Fall\tdown " + cities[i % 4]}, i);
    auto w = home.startMainWindow();
    w->activateWindow();
    if (!QTest::qWaitForWindowActive(w.get()))
        qFatal("the main window did not become active");
    selectListRows(*w, selected);
    return w;
}

static constexpr std::array<qint32, 8> DefaultWidths{1, 1000, 1000, 1000, 2000, 4000, 2000, 2000};

class TestApp : public QObject {
    Q_OBJECT

private slots:
    void placementAndFontThroughARestart()
    {
        WindowHome home;
        Capture capture;
        {
            auto w = home.startMainWindow();
            QCOMPARE(w->pos(), QPoint(twipsToPx(*w, 105), twipsToPx(*w, 105)));
            QCOMPARE(w->size(), QSize(twipsToPx(*w, 11235), twipsToPx(*w, 7200)));
            QCOMPARE(w->columnWidths(), DefaultWidths);
            QCOMPARE(home.stationDialogs, 1);
            QCOMPARE(w->windowTitle(), "Zelvat Call Taking System v" + Zelvat::versionText());
            QCOMPARE(w->statusText(), QString("Items: 0"));
            QVERIFY(QFile::exists(home.logPath()));
            QCOMPARE(w->LV->focusPolicy(), Qt::NoFocus); // an empty list takes no keys
            for (int i = 0; i < 3; ++i)
                QTest::mouseClick(w->cmdBigger, Qt::LeftButton);
            QCOMPARE(w->LV->font().pointSizeF(), 13.0);
            w->close();
        }
        QCOMPARE(stored("MainWidth").toDouble(), 11235.0);
        QCOMPARE(stored("lvCW6"), QString("4000"));
        QVERIFY(readFile(home.stationPath()).contains("\r\nLvf=13\r\n"));
        // Widths read back rounded (the rounding itself is the support suite's); values edited
        // from outside give the defaults, and the operator hears of them.
        for (const char *kv : {"MainLeft=300", "MainWidth=9000", "lvCW3=1501.5", "lvCW4=abc", "MainTop=1e99"})
            userSettings().setValue("Settings/" + QString(kv).section('=', 0, 0), QString(kv).section('=', 1));
        auto w = home.startMainWindow();
        QCOMPARE(w->listFontSize(), 13.0);
        QTest::mouseClick(w->cmdSmaller, Qt::LeftButton);
        QCOMPARE(w->LV->font().pointSizeF(), 12.0);
        w->mnuResetFont_Click();
        QCOMPARE(w->LV->font().pointSizeF(), 10.0);
        QCOMPARE(w->columnWidths()[2], 1502);
        QCOMPARE(w->columnWidths()[3], 1000);
        QCOMPARE(w->pos().y(), twipsToPx(*w, 105));
        QCOMPARE(capture.notices.size(), 1);
        const QString text = capture.notices[0].text;
        QVERIFY2(text.contains(userSettings().fileName()) && text.contains("lvCW4=\"abc\"") && text.contains("MainTop=\"1e99\"")
                     && !text.contains("lvCW3"),
                 qPrintable(text));
        // Closed while maximised, the window keeps its normal placement; a resized column its width.
        w->LV->header()->resizeSection(5, twipsToPx(*w, 1500));
        w->setWindowState(Qt::WindowMaximized);
        w->close();
        QCOMPARE(stored("MainLeft") + " " + stored("MainWidth") + " " + stored("lvCW4"), QString("300 9000 1000"));
        QCOMPARE(stored("lvCW6").toDouble(), 1500.0);
    }

    void folderButtons()
    {
        WindowHome home;
        for (const auto &[name, ast] : {std::pair{"R1", 2}, {"D1", 6}, {"X1", 8}, {"S1", 9}, {"N1", 1}})
            SampleReport::save(home.path(), {"EID=" + QString(name), "AST=" + QString::number(ast), "CTY=" + QString(name)});
        auto w = home.startMainWindow();
        QAbstractItemModelTester tester(w->listRows(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        QCOMPARE(listColumn(*w, 0), QStringList{"R1"});
        const std::pair<int, QStringList> expected[] = {
            {6, {"D1"}}, {8, {"X1"}}, {9, {"S1"}}, {0, {"D1", "N1", "R1", "S1", "X1"}}, {2, {"R1"}}};
        for (const auto &[folder, names] : expected) {
            QTest::mouseClick(w->cmdFolder[folder], Qt::LeftButton);
            QCOMPARE(listColumn(*w, 0), names);
            QCOMPARE(w->lblCurrentFolder->text(), "  " + Zelvat::folderCaption(folder));
            QCOMPARE(w->statusText(), "Items: " + QString::number(names.size()));
        }
    }

    void sorts_data()
    {
        QTest::addColumn<QList<int>>("clicks"); // header clicks, in turn; -1 a refill
        QTest::addColumn<int>("shown");         // the column compared
        QTest::addColumn<QStringList>("order");

        // R1 Boston 12/31/09 23:00, R2 albany 01/01/10 01:00, R3 Chicago without a date
        QTest::newRow("after a refill by City") << QList<int>{} << 6 << QStringList{"albany", "Boston", "Chicago"};
        QTest::newRow("the same header flips") << QList<int>{6} << 6 << QStringList{"Chicago", "Boston", "albany"};
        QTest::newRow("another header keeps the direction") << QList<int>{6, 0} << 0 << QStringList{"R3", "R2", "R1"};
        QTest::newRow("and flips on its second click") << QList<int>{6, 0, 0} << 0 << QStringList{"R1", "R2", "R3"};
        QTest::newRow("date/time: newest first") << QList<int>{7} << 0 << QStringList{"R2", "R1", "R3"};
        QTest::newRow("date/time again: oldest first") << QList<int>{7, 7} << 0 << QStringList{"R3", "R1", "R2"};
        QTest::newRow("a refill goes back to City") << QList<int>{7, 0, -1} << 6 << QStringList{"albany", "Boston", "Chicago"};
    }

    void sorts()
    {
        QFETCH(QList<int>, clicks);
        QFETCH(int, shown);
        QFETCH(QStringList, order);
        WindowHome home;
        SampleReport::save(home.path(), {"EID=R1", "AST=2", "CTY=Boston", "ADT=091231", "ATM=2300"});
        // Later than R1, though "01/" sorts first as text.
        SampleReport::save(home.path(), {"EID=R2", "AST=2", "CTY=albany", "ADT=100101", "ATM=0100"});
        SampleReport::save(home.path(), {"EID=R3", "AST=2", "CTY=Chicago", "ADT=", "ATM="});
        auto w = home.startMainWindow();
        QHeaderView *header = w->LV->header();
        for (int c : clicks) {
            if (c < 0)
                w->BuildNewMsgList();
            else
                QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(header->sectionViewportPosition(c) + 5, 5));
        }
        QCOMPARE(listColumn(*w, shown), order);
    }

    void deletes()
    {
        WindowHome home;
        Capture capture;
        SampleReport::save(home.path(), {"EID=R1", "AST=2", "CTY=A"});
        SampleReport::save(home.path(), {"EID=R2", "AST=6", "CTY=B"});
        SampleReport::save(home.path(), {"EID=X1", "AST=8", "CTY=C"});
        home.writeReport("BAD", "EID=BAD\r\nAST=2\r\nCON=maybe\r\n");
        auto w = home.startMainWindow();
        // In All, by the button: both marked Deleted, their rows go; the count changes on the next
        // refill. The report that cannot be read is not rewritten: its row stays, and why is said.
        QTest::mouseClick(w->cmdFolder[0], Qt::LeftButton);
        selectListRows(*w, {0, 1, 2});
        QTest::mouseClick(w->cmdDelete, Qt::LeftButton);
        QCOMPARE(listColumn(*w, 0), (QStringList{"BAD", "X1"}));
        QCOMPARE(w->statusText(), QString("Items: 4"));
        QVERIFY(home.readReport("R1").contains("AST=8") && home.readReport("R2").contains("AST=8"));
        QCOMPARE(home.readReport("BAD"), QByteArray("EID=BAD\r\nAST=2\r\nCON=maybe\r\n"));
        QCOMPARE(capture.notices.size(), 2); // at the start, and why it was not deleted
        // In Deleted, by the Edit menu: the file goes.
        QTest::mouseClick(w->cmdFolder[8], Qt::LeftButton);
        selectListRows(*w, {2});
        w->findChild<QAction *>("mnuDelete")->trigger();
        QCOMPARE(listColumn(*w, 0), (QStringList{"R1", "R2"}));
        QVERIFY(!QFile::exists(home.reportPath("X1")) && QFile::exists(home.reportPath("R1")));
    }

    void unreadableReportsAreToldOnce()
    {
        WindowHome home;
        Capture capture;
        SampleReport::save(home.path(), {"EID=GOOD", "AST=2", "CTY=A"});
        for (int i = 0; i < 30; ++i)
            home.writeReport(QString("BAD%1").arg(i), "AST=2\r\nCON=what\r\n");
        auto w = home.startMainWindow();
        QCOMPARE(capture.notices.size(), 1);
        QVERIFY(capture.notices[0].text.startsWith("30 report files could not be read:"));
        QVERIFY(capture.notices[0].text.contains("... and 20 more"));
        QCOMPARE(w->listRows()->rowCount(), 31); // rows for what could be read
        QTest::mouseClick(w->cmdFolder[0], Qt::LeftButton);
        QCOMPARE(capture.notices.size(), 1); // not again on every refill
        home.writeReport("NEWBAD", "AST=2\r\nBRE=x\r\n");
        w->BuildNewMsgList();
        QCOMPARE(capture.notices.size(), 2);
        const QString newly = capture.notices[1].text; // the loader's own message for the one new file
        QVERIFY2(newly.startsWith("Tn911:Load, Step=3") && newly.contains("/NEWBAD.911,") && !newly.contains("/BAD"),
                 qPrintable(newly));
        // A file that reads again is forgotten; when it breaks once more, the operator hears of it.
        SampleReport::save(home.path(), {"EID=BAD7", "AST=2", "CTY=B"});
        w->BuildNewMsgList();
        QCOMPARE(capture.notices.size(), 2);
        home.writeReport("BAD7", "AST=2\r\nCON=no\r\n");
        w->BuildNewMsgList();
        QCOMPARE(capture.notices.size(), 3);
        QVERIFY2(capture.notices[2].text.contains("/BAD7.911,"), qPrintable(capture.notices[2].text));
    }

    void commandsAndPanels()
    {
        WindowHome home("Nam=PAT SMITH\r\nUid=1234\r\nLoc=EOC1\r\n");
        Capture capture;
        SampleReport::save(home.path(), {"EID=R1", "AST=2", "CTY=A rather long city name for a column"});
        auto w = home.startMainWindow();
        QCOMPARE(w->sbrConfig->text(), QString("Name: Pat Smith -- UID: 1234 -- LOC: EOC1"));
        w->station().Loc = "EOC2";
        w->mnuStationID_Click();
        QCOMPARE(home.stationDialogs, 2);
        QCOMPARE(w->sbrConfig->text(), QString("Name: Pat Smith -- UID: 1234 -- LOC: EOC2"));

        QTest::mouseClick(w->cmdMorvel, Qt::LeftButton);
        w->LV->setCurrentIndex(w->listRows()->index(0, 3));
        w->LV_DblClick();
        QCOMPARE(home.opened, (QStringList{"NEW", "R1"}));

        w->mnuZelvatQuickStart_Click();
        QVERIFY(!w->mnuZelvatQuickStart->isEnabled());
        QCOMPARE(capture.noticeTexts(), QStringList{"Hmmm, can't find '" + home.path()
                                                    + "/docs/ZelvatUG-QuickStart.pdf'\r\nMake sure Zelvat was installed correctly"});
        QCOMPARE(capture.notices[0].title, QString("Zelvat Call Taking System"));

        // Pack fits every column but the hidden file name to its text; Reset gives the defaults.
        w->mnuPackColumns_Click();
        QCOMPARE(w->columnWidths()[0], 1);
        QVERIFY(w->LV->header()->sectionSize(6) >= w->LV->fontMetrics().horizontalAdvance("A rather long city name"));
        w->mnuResetColumns_Click();
        QCOMPARE(w->columnWidths(), DefaultWidths);
        QCOMPARE(w->listRows()->rowCount(), 1); // the rows stay
    }

    void searchShowsTheRowsFound()
    {
        WindowHome home;
        report(home, 1, "Springfield", {"AD1=12 Oak Street"});
        report(home, 2, "Riverside", {"AD1=4 Elm Road"});
        report(home, 3, "Fairview", {"AD1=9 Oak Lane"});
        SampleReport::save(home.path(), {"CTY=Madison", "AST=6", "AD1=1 Oak Court"}, 4); // a Draft
        auto w = home.startMainWindow(); // Ctrl+F to the box is a row of keysAreInTheMenus
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
        QTest::newRow("F9: the summary") << "mnuSummary" << QKeySequence(Qt::Key_F9);
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
        else if (action == "mnuSummary")
            QVERIFY(w->summaryWindow() && w->summaryWindow()->isVisible() && w->summaryWindow()->windowTitle() == "Summary");
        else
            QVERIFY(readFile(home.reportPath(first)).contains("AST=8"));
    }

    // A report open in a form at another position: its row shows it within 5 s (icon, accessible
    // description, the status bar when selected) and loses it when the mark goes; opening it asks
    // first, and a form that edits it marks it for the others until it closes.
    void reportOpenElsewhere_data()
    {
        QTest::addColumn<int>("choice");
        QTest::newRow("read-only") << int(FormInUse::Choice::ReadOnly);
        QTest::newRow("edit anyway") << int(FormInUse::Choice::Edit);
        QTest::newRow("cancel") << int(FormInUse::Choice::Cancel);
    }

    void reportOpenElsewhere()
    {
        QFETCH(int, choice);
        WindowHome home;
        auto w = start(home, {0});
        const QString name = listColumn(*w, ReportList::Idx)[0], marks = home.path() + "/msg.d/.inuse";
        QVERIFY(QDir().mkpath(marks));
        const QString mark = marks + "/" + name + "@77@far.example.mark";
        writeFile(mark, "Pat Smith\t1234\tNRT\tfar.example\t77\n2024-05-01T14:02:00.000Z\n");
        const QString said = "Open at NRT (Pat Smith, 1234) since "
                             + QDateTime(QDate(2024, 5, 1), QTime(14, 2), Qt::UTC).toLocalTime().toString("HH:mm");
        const QModelIndex row = w->listRows()->index(0, 0), other = w->listRows()->index(1, 0);
        QTRY_COMPARE_WITH_TIMEOUT(row.data(Qt::AccessibleDescriptionRole).toString(), said, 5000);
        QVERIFY(!row.siblingAtColumn(ReportList::State).data(Qt::DecorationRole).isNull()); // on a column shown
        QVERIFY(other.data(Qt::AccessibleDescriptionRole).isNull());
        QCOMPARE(w->findChild<QLabel *>("sbrStatus_InUse")->text(), said);

        QString asked;
        FormInUse::ask() = [&](QWidget *, const QString &text) {
            asked = text;
            return FormInUse::Choice(choice);
        };
        frmZelvatcts *form = home.openForm(name);
        FormInUse::ask() = {};
        QVERIFY2(asked.contains(said), qPrintable(asked));
        const QStringList ours = QDir(marks).entryList({name + "@" + QString::number(QCoreApplication::applicationPid()) + "@*"});
        QCOMPARE(ours.size(), int(choice == int(FormInUse::Choice::Edit)));
        // Delete on the list says who has it open, there and in this program's form, and asks first.
        QString question;
        w->askDeleteAnyway = [&](const QString &q) { question = q; return choice == int(FormInUse::Choice::Edit); };
        QTest::mouseClick(w->cmdDelete, Qt::LeftButton);
        QVERIFY2(question.startsWith((choice == int(FormInUse::Choice::Cancel) ? "" : name + " is open in the report form of this program.\n")
                                     + name + " is open at NRT (Pat Smith, 1234)"), qPrintable(question));
        QCOMPARE(readFile(home.reportPath(name)).contains("\r\nAST=8\r\n"), choice == int(FormInUse::Choice::Edit));
        if (choice == int(FormInUse::Choice::Cancel)) {
            QTRY_VERIFY(!frmZelvatcts::current());
        } else {
            const bool readOnly = choice == int(FormInUse::Choice::ReadOnly);
            QCOMPARE(static_cast<QLineEdit *>(form->txtHeader[1])->isReadOnly(), readOnly);
            QCOMPARE(form->cmdSave->isVisible(), !readOnly);
            QCOMPARE(form->cmdDelete->isVisible() && form->cmdDelete->isEnabled(), !readOnly);
            form->cmdClose_Click();
            QVERIFY(QDir(marks).entryList({name + "@" + QString::number(QCoreApplication::applicationPid()) + "@*"}).isEmpty());
        }
        QFile::remove(mark);
        QTRY_VERIFY_WITH_TIMEOUT(row.data(Qt::AccessibleDescriptionRole).isNull(), 5000);
        QCOMPARE(w->findChild<QLabel *>("sbrStatus_InUse")->text(), QString());
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
        for (const QString &f : home.reportFiles())
            QVERIFY(TestFiles::dateBack(home.path() + "/msg.d/" + f, 3600));
        startAndClose();
        SampleReport::save(home.path(), {"CTY=Changed", "AST=2"}, 5);
        // The rows of the index are shown at once; the look at the folder then brings the change.
        auto w = home.startMainWindow();
        QCOMPARE(w->listModel()->rowCount(), 20);
        QTRY_VERIFY(listColumn(*w, ReportList::City).contains("Changed"));
        QCOMPARE(w->catalog().filesRead(), 1);
        QCOMPARE(w->listModel()->rowCount(), 20);
    }

    void init()
    {
        m_printedTo.clear();
        QGuiApplication::clipboard()->clear();
        SheetPrinting::choosePrinter = [this](QPrinter &printer, QWidget *) {
            printer.setOutputFileName(m_printedTo);
            return !m_printedTo.isEmpty();
        };
    }

    void menuEntriesAndCopy()
    {
        WindowHome home;
        auto w = start(home, {});
        QStringList entries;
        for (QAction *menu : w->menuBar()->actions().mid(0, 2))
            for (QAction *a : menu->menu()->actions())
                entries << (a->isSeparator() ? "-" : a->text() + (a->isEnabled() ? "" : " (grey)"));
        entries = entries.filter(QRegularExpression("^(Export|Import|Print|Exit|Cut|Copy|Paste|Delete)"));
        QCOMPARE(entries, (QStringList{"Export", "Import", "Print Setup...", "Print... (grey)", "Exit", "Cut (grey)",
                                       "Copy (grey)", "Paste (grey)", "Delete"}));
        selectListRows(*w, {2, 0});
        QVERIFY(w->mnuCopy->isEnabled() && w->mnuPrint->isEnabled());
        // Copy gives the selected rows in the list's order, not the order of selecting.
        QTest::keySequence(w->LV, QKeySequence::Copy);
        QCOMPARE(QGuiApplication::clipboard()->text(),
                 QString("State\tEvent ID\tType\tIssue\tLocation\tCity\tDate/Time\n"
                         "Ready\tABC26320.000003\tMED+LAW\tFall down Fairview\t103 Oak Street\tFairview\t11/16/26 14:32\n"
                         "Ready\tABC26320.000001\tFIRE\tFall down Springfield\t101 Oak Street\tSpringfield\t11/16/26 14:32\n"));
        w->cmdFolder_Click(8); // a refill forgets the selection
        QVERIFY(!w->mnuCopy->isEnabled() && !w->mnuPrint->isEnabled());
    }

    void exportWritesTheChosenType_data()
    {
        QTest::addColumn<QList<int>>("selected");
        QTest::addColumn<QString>("chosen");  // the file name, then the type chosen in the dialog
        QTest::addColumn<QString>("written"); // the file written, or not written
        QTest::addColumn<QStringList>("reports"); // in the file, in this order
        QTest::newRow("selection as PDF") << QList<int>{1, 2} << "out.pdf pdf" << "out.pdf"
                                          << QStringList{"ABC26320.000002", "ABC26320.000001"};
        QTest::newRow("whole folder, the name's ending wins") << QList<int>{} << "out.csv pdf" << "out.csv"
                                                               << QStringList{"ABC26320.000003", "ABC26320.000002", "ABC26320.000001"};
        QTest::newRow("no ending: the type's") << QList<int>{0} << "out csv" << "out.csv" << QStringList{"ABC26320.000003"};
        QTest::newRow("a folder of that name") << QList<int>{0} << "taken.csv csv" << "taken.csv" << QStringList{};
    }

    void exportWritesTheChosenType()
    {
        QFETCH(QList<int>, selected);
        QFETCH(QString, chosen);
        QFETCH(QString, written);
        QFETCH(QStringList, reports);
        WindowHome home;
        auto w = start(home, selected);
        QTemporaryDir out;
        QDir(out.path()).mkdir("taken.csv");
        w->chooseExportFile = [&](QString *filter) {
            *filter = chosen.endsWith("csv") ? "CSV file, every field (*.csv)" : "PDF report sheets (*.pdf)";
            return out.filePath(chosen.section(' ', 0, 0));
        };
        Capture capture;
        w->mnuExport_Click();
        const QString path = out.filePath(written), shown = QDir::toNativeSeparators(path);
        const QString said = capture.noticeTexts().value(0);
        QVERIFY2(reports.isEmpty() ? said.startsWith("Nothing was exported to " + shown + ": 75, ")
                                   : said == QString("%1 report%2 exported to %3").arg(reports.size()).arg(reports.size() == 1 ? "" : "s").arg(shown),
                 qPrintable(said));
        QCOMPARE(QDir(out.path()).entryList(QDir::Files), reports.isEmpty() ? QStringList{} : QStringList{written});
        ZelvatMsg reader(home.path());
        if (written.endsWith(".csv") && !reports.isEmpty()) // the client's export of the same reports, byte for byte
            QCOMPARE(readFile(path), ReportCsv::fromNames(reader, reports).bytes);
        else if (written.endsWith(".pdf"))
            QVERIFY(Pdf::pages(path) == 2 && Pdf::text(path).indexOf(reports[0]) < Pdf::text(path).indexOf(reports[1]));
    }

    void importRefreshesTheListAndTellsOnce()
    {
        WindowHome home;
        auto w = start(home, {});
        QTemporaryDir source;
        const QStringList files{source.filePath("broken.911"), source.filePath("ABC26320.000001.911"), source.filePath("SPF9.911")};
        writeFile(files[0], "EID=broken\r\nCON=maybe\r\n");
        writeFile(files[1], "EID=ABC26320.000001\r\nAST=2\r\n");
        writeFile(files[2], SampleReport::make(".", 9).fileContent("1.0.0/26320:140500"));
        w->chooseImportFiles = [&] { return files; };
        Capture capture;
        w->mnuImport_Click();
        QCOMPARE(capture.noticeTexts().join("\r\n").split("\r\n"), // one message, all of it
                 (QStringList{"1 imported, 1 skipped, 1 refused.", "", "Imported:", "  SPF9", "", "Skipped:", "  " + QDir::toNativeSeparators(files[1])
                              + ": a report of that name is already in the message folder; it was left as it was", "", "Refused:",
                              "  " + QDir::toNativeSeparators(files[0]) + ": 13, Type mismatch (line 2: CON=maybe is not a number)"}));
        QCOMPARE(w->statusText(), QString("Items: 4"));
        QVERIFY(w->shownNames().contains("SPF9"));
    }

    void printGoesThroughThePrintDialog()
    {
        WindowHome home;
        auto w = start(home, {0, 2});
        Capture capture;
        w->mnuPrint_Click(); // cancelled in the dialog: nothing printed, nothing said
        // Nonsense in the page setup gives the standard one; the one kept by the dialog is the print's.
        for (const char *kv : {"Paper=Napkin", "MarginLeft=100", "MarginTop=5", "MarginRight=5", "MarginBottom=5"})
            userSettings().setValue("PageSetup/" + QString(kv).section('=', 0, 0), QString(kv).section('=', 1));
        QVERIFY(PageSetup::load().isEquivalentTo(PageSetup::fallback()));
        const QPageLayout letter(QPageSize(QPageSize::Letter), QPageLayout::Portrait, QMarginsF(12, 12, 12, 12), QPageLayout::Millimeter);
        SheetPrinting::askPageSetup = [&](QPrinter &printer, QWidget *) { return printer.setPageLayout(letter); };
        w->mnuPrintSetup_Click();
        QVERIFY(PageSetup::load().isEquivalentTo(letter));
        QCOMPARE(userSettings().childGroups(), QStringList{"PageSetup"});
        m_printedTo = m_out.filePath("printed.pdf");
        QTest::keySequence(w.get(), QKeySequence::Print);
        QCOMPARE(Pdf::pages(m_printedTo), 2);
        QVERIFY(Pdf::run("pdfinfo", {m_printedTo}).contains("612 x 792 pts (letter)"));
        QVERIFY(capture.notices.isEmpty());
        // A PDF file is saved whole by the program's own writer: never through a link.
        writeFile(m_out.filePath("other"), "kept");
        MAKE_LINK_OR_SKIP(m_out.filePath("other"), m_printedTo = m_out.filePath("link.pdf"));
        w->mnuPrint_Click();
        QVERIFY(capture.noticeTexts().value(0).contains("could not be saved to " + m_printedTo));
        QCOMPARE(readFile(m_out.filePath("other")), QByteArray("kept"));
    }

    void summaryFollowsTheListAndGoesOnPaper()
    {
        // Start's reports, dated 16 Nov 2026 14:32: FIRE, LAW, MED+LAW Ready, LGOV Draft.
        WindowHome home;
        DatetimeLib::setFixedNow(QDateTime(QDate(2026, 11, 16), QTime(15, 0))); // the home's own is 14:05
        auto w = start(home, {});
        w->mnuSummary_Click();
        frmSummary *s = w->summaryWindow();
        const auto cell = [s](int type, int column) { return s->tblTypes->item(type, column)->text(); };
        QCOMPARE(cell(2, SituationSummary::Total), "2"); // LAW
        QCOMPARE(cell(3, SituationSummary::Draft), "1"); // LGOV
        report(home, 5, "Albany", {"TYP=MED"}); // saved, as the report form saves and refills the list
        w->BuildNewMsgList();
        QCOMPARE(cell(0, SituationSummary::Ready), "2");
        QCOMPARE(s->tblCities->item(0, 0)->text(), "Albany");
        QCOMPARE(s->chtCalls->accessibleDescription(), "Bars per hour from 15:00, 25 hours; calls: MED 2, FIRE 1, LAW 2, LGOV 1");
        const QStringList hours = CallsChart::hourLabels(s->chtCalls->counts()); // one label per bar, none alike
        QCOMPARE(QSet<QString>(hours.begin(), hours.end()).size(), 25);
        const QString pdf = m_out.filePath("summary.pdf");
        frmSummary::askPdfPath = [&](QWidget *) { return pdf; };
        QTest::mouseClick(s->cmdSavePdf, Qt::LeftButton);
        const QString text = Pdf::text(pdf).simplified();
        QVERIFY2(text.contains("Summary") && text.contains("MED 2 0 0 0 2") && text.contains("Hour of the report's own"), // ("time": its ligature reads back apart)
                 qPrintable(text));
        QTest::keyClick(s, Qt::Key_Escape);
        QVERIFY(!s->isVisible());
    }

    void formPrintsWhatItShows()
    {
        WindowHome home;
        const QString name = SampleReport::save(home.path(), {"TYP=MED+LAW"}, 5);
        const QByteArray onDisk = home.readReport(name);
        frmZelvatcts *f = home.openForm(name);
        static_cast<QLineEdit *>(f->txtHeader[0])->setText("Changed On The Form");
        f->chkReqContact->setChecked(true);
        m_printedTo = m_out.filePath("form.pdf");
        QTest::mouseClick(f->cmdPrint, Qt::LeftButton);
        const QString text = Pdf::text(m_printedTo);
        QVERIFY(text.contains("DETL=Changed On The Form -- ") && text.contains("CNT=\\#252"));
        QVERIFY(text.contains("16 Nov 2026 14:32")); // the stamps of its last save, not of now
        QCOMPARE(home.readReport(name), onDisk);     // printing saves nothing
    }

    // --help and --version answer without a display, make nothing, and say what the manual says.
    void ownOptions_data()
    {
        QTest::addColumn<QString>("option");
        QTest::newRow("help") << "--help";
        QTest::newRow("version") << "--version";
    }

    void ownOptions()
    {
        QFETCH(QString, option);
        QTemporaryDir home;
        const QDir beside = QFileInfo(ZELVATCTS_WINDOW).dir(); // a writable folder: the program's own
        QProcess program;
        program.setEnvironment({"HOME=" + home.path()}); // no display, no platform named
        program.start(ZELVATCTS_WINDOW, {option});
        QVERIFY(program.waitForFinished(20000));
        QVERIFY(program.exitStatus() == QProcess::NormalExit && program.exitCode() == 0);
        QVERIFY(QDir(home.path()).isEmpty() && !beside.exists("Zelvatcts.ini") && !beside.exists("logs"));
        // (text for a person: a Windows console's text mode ends its lines in CR LF)
        const QString out = QString::fromUtf8(program.readAllStandardOutput()).replace("\r\n", "\n");
        if (option == "--version") {
            QCOMPARE(out, QString("Zelvatcts (Zelvat Call Taking System) %1\n").arg(Zelvat::versionText()));
            return;
        }
        const QString man = QString::fromUtf8(readFile(ZELVAT_MAN_PAGE));
        QVERIFY(out.startsWith("Usage: Zelvatcts [--help | --version]\n") && man.contains(".RB [ \\-\\-help \" | \" \\-\\-version ]"));
        // Each option of the help, in its words, is one of the manual page's, which has no other.
        QStringList options;
        for (const auto &m : QRegularExpression("^  (--\\S+) +(.+)$", QRegularExpression::MultilineOption).globalMatch(out)) {
            options << m.captured(1);
            QVERIFY(man.contains(".TP\n.B " + QString(m.captured(1)).replace("-", "\\-") + "\n" + m.captured(2) + "\n"));
        }
        QCOMPARE(options, (QStringList{"--help", "--version"}));
        QCOMPARE(man.count("\n.TP\n.B \\-\\-"), 2);
    }

private:
    QString m_printedTo; // the PDF file the print dialog's stand-in chooses; none: cancelled
    QTemporaryDir m_out;
};

QTEST_MAIN(TestApp)
#include "tst_app.moc"
