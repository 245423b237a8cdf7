// The report form's hint of earlier calls and its keys, driven with real keys offscreen: leaving
// the address or the phone box names the reports of the last 24 hours from the same place or
// caller, without a message and without taking the focus; a name opens its report read-only.
// The keys of the form (Ctrl+S, Ctrl+Enter) are driven in tst_report_form.

#include "common/Capture.h"
#include "common/SampleReport.h"
#include "common/WindowHome.h"
#include "report_form/RepeatCallerStrip.h"
#include "report_form/frmZelvatcts.h"

#include <QTextDocumentFragment>

class TestRepeatCaller : public QObject {
    Q_OBJECT

private slots:
    void leavingABoxNamesEarlierCalls_data()
    {
        QTest::addColumn<int>("box");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("shown");
        QTest::newRow("the same address, written otherwise")
            << 1 << "12 OAK street" << "Earlier at this address: SPF-90 Person Down (13:00, Submitted)";
        QTest::newRow("the same phone, written otherwise")
            << 5 << "(555) 0100" << "Earlier from this phone: SPF-90 Person Down (13:00, Submitted)";
        QTest::newRow("nothing earlier") << 1 << "99 Nowhere Lane" << "";
    }

    void leavingABoxNamesEarlierCalls()
    {
        QFETCH(int, box);
        QFETCH(QString, typed);
        QFETCH(QString, shown);
        WindowHome home;
        // An earlier call, now being 16 November 2026 14:05. Which calls are named (how recent, how
        // alike) is the catalog suite's; here the two boxes that ask and what the form shows.
        SampleReport::save(home.path(), {"EID=SPF26320.090", "MID=SPF-90", "ISS=Person Down", "AD1=12 Oak Street", "RPP=555-0100",
                                         "ADT=261116", "ATM=1300", "AST=9"});
        Capture capture;
        frmZelvatcts *form = home.openForm("NEW");
        QVERIFY(QTest::qWaitForWindowActive(form));
        const int tabTop = form->SSTab1->geometry().bottom();
        QWidget *typedIn = form->txtHeader[box];
        typedIn->setFocus();
        QTest::keyClicks(typedIn, typed);
        QTest::keyClick(typedIn, Qt::Key_Tab);
        RepeatCallerStrip *strip = form->lblRepeatCaller;
        QCOMPARE(strip->isVisible(), !shown.isEmpty());
        QVERIFY(capture.notices.isEmpty()); // no message box
        QVERIFY(QApplication::focusWidget() && QApplication::focusWidget() != typedIn); // on to the next control
        if (shown.isEmpty())
            return;
        QCOMPARE(QTextDocumentFragment::fromHtml(strip->text()).toPlainText(), shown);
        QCOMPARE(strip->linkedNames(), QStringList{"SPF26320.090"});
        // The strip takes its room from the tabs, above the status bar.
        QVERIFY(form->SSTab1->geometry().bottom() < tabTop);
        QVERIFY(form->SSTab1->geometry().bottom() < strip->geometry().top());
        QVERIFY(strip->geometry().bottom() < form->sbrStatus->geometry().top());

        // A name opens its report read-only, in a window of the form's own; the form goes on.
        emit strip->linkActivated("SPF26320.090");
        QWidget *viewer = form->findChild<QWidget *>("frmReportViewer");
        QVERIFY(viewer && viewer->isVisible() && viewer->isWindow());
        QCOMPARE(viewer->windowTitle(), QString("Report SPF26320.090 (read only)"));
        auto *text = viewer->findChild<QPlainTextEdit *>("txtReport");
        QVERIFY(text->isReadOnly());
        for (const char *line : {"What are you reporting? Person Down", "Location, Address: 12 Oak Street", "Phone: 555-0100",
                                 "State: Submitted", "Age: 70"})
            QVERIFY2(text->toPlainText().contains(line), line);
        QVERIFY(form->isVisible());
        QCOMPARE(form->eventNumber(), QString("SPF26320.100"));
    }
};

QTEST_MAIN(TestRepeatCaller)
#include "tst_repeat_caller.moc"
