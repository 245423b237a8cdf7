// The main window driven with real clicks and keys, offscreen: start-up and shutdown through the
// per-user settings store, the folder buttons, the header clicks, deleting, the font and column
// commands, the panels, and the unreadable-file message. Which rows a folder holds and how a
// column's text sorts are the store suite's.

#include "app/frmZelvatmain.h"
#include "common/Capture.h"
#include "common/WindowHome.h"
#include "support/CommonConst.h"

#include <QAbstractItemModelTester>
#include <QHeaderView>
#include <QSettings>

// The per-user settings store's group "Settings".
static std::unique_ptr<QSettings> store()
{
    auto s = std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope, Zelvat::Title);
    s->beginGroup("Settings");
    return s;
}

static void report(WindowHome &home, const QString &name, int ast, const QString &city, const QString &adt = "260307",
                   const QString &atm = "1405")
{
    home.writeReport(name, ("EID=" + name + "\r\nTYP=MED\r\nISS=Issue " + name + "\r\nCTY=" + city + "\r\nAST="
                            + QString::number(ast) + "\r\nADT=" + adt + "\r\nATM=" + atm + "\r\n")
                               .toLatin1());
}

static constexpr std::array<qint32, 8> DefaultWidths{1, 1000, 1000, 1000, 2000, 4000, 2000, 2000};

class TestApp : public QObject {
    Q_OBJECT

private slots:
    void firstStartAndARestart()
    {
        WindowHome home;
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
        QCOMPARE(store()->value("MainWidth").toString().toDouble(), 11235.0);
        QCOMPARE(store()->value("lvCW6").toString(), QString("4000"));
        QVERIFY(readFile(home.stationPath()).contains("\r\nLvf=13\r\n"));
        auto again = home.startMainWindow();
        QCOMPARE(again->listFontSize(), 13.0);
        QTest::mouseClick(again->cmdSmaller, Qt::LeftButton);
        QCOMPARE(again->LV->font().pointSizeF(), 12.0);
        again->mnuResetFont_Click();
        QCOMPARE(again->LV->font().pointSizeF(), 10.0);
    }

    void placementAndWidthsFromTheSettingsStore()
    {
        WindowHome home;
        Capture capture;
        {
            const auto s = store();
            // Widths read back rounded (the rounding itself is the support suite's); values edited
            // from outside give the defaults, and the operator hears of them.
            for (const char *kv : {"MainLeft=300", "MainWidth=9000", "lvCW3=1501.5", "lvCW4=abc", "MainTop=1e99"})
                s->setValue(QString(kv).section('=', 0, 0), QString(kv).section('=', 1));
        }
        auto w = home.startMainWindow();
        QCOMPARE(w->columnWidths()[2], 1502);
        QCOMPARE(w->columnWidths()[3], 1000);
        QCOMPARE(w->pos().y(), twipsToPx(*w, 105));
        QCOMPARE(capture.notices.size(), 1);
        const QString text = capture.notices[0].text;
        QVERIFY2(text.contains(store()->fileName()) && text.contains("lvCW4=\"abc\"") && text.contains("MainTop=\"1e99\"")
                     && !text.contains("lvCW3"),
                 qPrintable(text));
        // Closed while maximised, the window keeps its normal placement; a resized column its width.
        w->LV->header()->resizeSection(5, twipsToPx(*w, 1500));
        w->setWindowState(Qt::WindowMaximized);
        w->close();
        const auto s = store();
        QCOMPARE(s->value("MainLeft").toString() + " " + s->value("MainWidth").toString() + " " + s->value("lvCW4").toString(),
                 QString("300 9000 1000"));
        QCOMPARE(s->value("lvCW6").toString().toDouble(), 1500.0);
    }

    void folderButtons()
    {
        WindowHome home;
        for (const auto &[name, ast] : {std::pair{"R1", 2}, {"D1", 6}, {"X1", 8}, {"S1", 9}, {"N1", 1}})
            report(home, name, ast, name);
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
        report(home, "R1", 2, "Boston", "091231", "2300");
        report(home, "R2", 2, "albany", "100101", "0100"); // later, though "01/" sorts first as text
        report(home, "R3", 2, "Chicago", "", "");
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
        report(home, "R1", 2, "A");
        report(home, "R2", 6, "B");
        report(home, "X1", 8, "C");
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
        report(home, "GOOD", 2, "A");
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
        report(home, "BAD7", 2, "B");
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
        report(home, "R1", 2, "A rather long city name for a column");
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
};

QTEST_MAIN(TestApp)
#include "tst_app.moc"
