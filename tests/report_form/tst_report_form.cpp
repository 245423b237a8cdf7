// The report form driven the way an operator drives it: key clicks into the boxes, the type
// buttons, the option buttons and the commands; checked by the widgets' texts, colours and
// enabled states, by the report files left on disk and by the bytes the message server receives.

#include "common/Capture.h"
#include "common/WindowHome.h"
#include "link/ServerSession.h"
#include "report_form/FormLayout.h"
#include "report_form/frmZelvatcts.h"

#include <QApplication>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTest>

static const QColor kRequired(0xFF, 0xC0, 0xC0); // 0xC0C0FF, red in the low byte
static const QColor kMissing(0xFF, 0xFF, 0x80);  // 0x80FFFF
static const QColor kSelected(0xFF, 0x80, 0x80); // 0x8080FF

static QString text(QWidget *box)
{
    if (auto *line = qobject_cast<QLineEdit *>(box))
        return line->text();
    return static_cast<QPlainTextEdit *>(box)->toPlainText();
}

static QColor base(QWidget *box)
{
    return box->palette().color(QPalette::Base);
}

static QColor normalBase()
{
    return QApplication::palette().color(QPalette::Base);
}

// A report as another program wrote it, in state `ast`.
static void writeStored(WindowHome &home, const QString &name, int ast, const QString &typ = "MED",
                        const QByteArray &extra = {})
{
    home.writeReport(name, "[911 DEFINITION]\r\nTYP=" + typ.toLatin1() + "\r\nEID=" + name.toLatin1()
                               + "\r\nMID=SPF-001\r\nISS=Fall\r\nAD1=12 Oak St\r\nCTY=Springfield\r\nLAS=14:00\r\n"
                                 "DTL=first\\nsecond\r\nRPN=Jo\r\nAGE=70\r\nGDR=M\r\nADT=261115\r\nATM=0930\r\nAST="
                               + QByteArray::number(ast) + "\r\n" + extra + "[END]\r\n");
}

static bool closed(const QPointer<frmZelvatcts> &form)
{
    QTest::qWait(0);
    return !form || !form->isVisible();
}

// --- lifecycle ------------------------------------------------------------------------------

// --- event types ----------------------------------------------------------------------------

// --- input rules ----------------------------------------------------------------------------

// --- submission -----------------------------------------------------------------------------

// --- layout ---------------------------------------------------------------------------------

class TestReportForm : public QObject {
    Q_OBJECT

private slots:
    void stateTable_data()
    {
        QTest::addColumn<int>("ast");
        QTest::addColumn<QString>("caption");
        QTest::addColumn<QString>("saveCaption");
        QTest::addColumn<bool>("deleteOn");
        QTest::addColumn<bool>("saveOn");
        QTest::addColumn<bool>("submitOn");

        QTest::newRow("1 new") << 1 << "New Report" << "Save" << true << true << true;
        QTest::newRow("6 draft") << 6 << "Previously Saved Report" << "Save" << true << true << true;
        QTest::newRow("2 ready") << 2 << "Ready, not Submitted" << "Save" << true << false << true;
        QTest::newRow("8 deleted") << 8 << "Deleted Report" << "Save" << false << false << false;
        QTest::newRow("9 submitted") << 9 << "Submitted Report" << "Update" << true << true << false;
        // An unknown state changes neither the caption nor the buttons (Submit stays off from load).
        QTest::newRow("3 unknown") << 3 << "" << "Save" << true << true << false;
    }

    void stateTable()
    {
        QFETCH(int, ast);
        QFETCH(QString, caption);
        QFETCH(QString, saveCaption);
        QFETCH(bool, deleteOn);
        QFETCH(bool, saveOn);
        QFETCH(bool, submitOn);
        WindowHome home;
        writeStored(home, "R1", ast);
        frmZelvatcts *f = home.openForm("R1");
        QCOMPARE(f->reportState(), ast);
        QCOMPARE(f->windowTitle(), QString("Zelvat - Report form"));
        QCOMPARE(f->Label22->text(), caption);
        QCOMPARE(f->cmdSave->text(), saveCaption);
        QCOMPARE(f->cmdDelete->isEnabled(), deleteOn);
        QCOMPARE(f->cmdSave->isEnabled(), saveOn);
        QCOMPARE(f->cmdSubmit->isEnabled(), submitOn);
        QVERIFY(f->cmdClose->isEnabled());
    }

    void lifecycle_data()
    {
        QTest::addColumn<int>("stored");      // the state of the report opened; 0 opens a NEW one
        QTest::addColumn<QString>("command"); // Save, Delete, Escape
        QTest::addColumn<bool>("stays");      // the form is still open afterwards
        QTest::addColumn<int>("ast");         // the state in the file; -1: no file
        QTest::addColumn<QByteArray>("holds");

        QTest::newRow("new, Save: a Draft") << 0 << "Save" << false << 6 << QByteArray("\r\nDTL=first\\nsecond\\nthird\r\n");
        QTest::newRow("new, Delete: kept, marked Deleted") << 0 << "Delete" << false << 8 << QByteArray("\r\nISS=Fall\r\n");
        QTest::newRow("new, Escape: nothing saved") << 0 << "Escape" << false << -1 << QByteArray();
        QTest::newRow("draft, Save: saved again") << 6 << "Save" << false << 6 << QByteArray("\r\nATM=1405\r\n");
        QTest::newRow("submitted, Update: reopened as new, marked")
            << 9 << "Save" << true << 1 << QByteArray("\r\nDTL=UPDATE for R9/261115, 0930\\nfirst\\nsecond\\nthird\r\n");
    }

    void lifecycle()
    {
        QFETCH(int, stored);
        QFETCH(QString, command);
        QFETCH(bool, stays);
        QFETCH(int, ast);
        QFETCH(QByteArray, holds);
        WindowHome home;
        if (stored)
            writeStored(home, "R9", stored);
        frmZelvatcts *f = home.openForm(stored ? "R9" : "NEW");
        const QString name = stored ? "R9" : "SPF26320.100";
        QCOMPARE(f->Label20->text(), name);
        QCOMPARE(home.station().Eno, stored ? 100 : 101); // a new report takes its number at once
        QPointer<frmZelvatcts> guard(f);
        if (!stored) {
            QTest::mouseClick(f->cmdRtype[0], Qt::LeftButton);
            QTest::keyClicks(f->txtHeader[0], "Fall");
            QTest::keyClicks(f->txtHeader[7], "first");
            QTest::keyClick(f->txtHeader[7], Qt::Key_Return);
            QTest::keyClicks(f->txtHeader[7], "second");
            QTest::mouseClick(f->optCons[1], Qt::LeftButton);
        }
        QTest::keyClick(f->txtHeader[7], Qt::Key_End, Qt::ControlModifier);
        QTest::keyClick(f->txtHeader[7], Qt::Key_Return);
        QTest::keyClicks(f->txtHeader[7], "third");
        if (command == "Escape")
            QTest::keyClick(f->txtHeader[3], Qt::Key_Escape);
        else
            QTest::mouseClick(command == "Save" ? f->cmdSave : f->cmdDelete, Qt::LeftButton);
        QCOMPARE(!closed(guard), stays);
        QCOMPARE(home.refreshes, ast == -1 ? 0 : 1);
        if (ast == -1) {
            QVERIFY(home.reportFiles().isEmpty());
            return;
        }
        const QByteArray file = home.readReport(name);
        QVERIFY2(file.contains(holds), file.constData());
        QVERIFY(file.contains("\r\nUID=KN1ABC\r\nULO=EOC\r\nAST=" + QByteArray::number(ast) + "\r\nADT=261116\r\nATM=1405\r\n"));
        if (!stored)
            QVERIFY(file.contains("\r\nTYP=MED\r\nEID=SPF26320.100\r\nMID=SPF-100\r\nISS=Fall\r\n") && file.contains("\r\nCON=1\r\nBRE=-1\r\n"));
        if (stays) { // Update: the form shows a new report, ready to be submitted again
            QVERIFY(f->updateFlag());
            QCOMPARE(f->Label22->text(), QString("New Report"));
            QCOMPARE(f->cmdSave->text(), QString("Save"));
            QVERIFY(f->cmdSubmit->isEnabled());
        }
    }

    void loadFailureClosesTheForm_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("lower-case new is a name") << "new";
        QTest::newRow("missing report") << "NOPE";
    }

    void loadFailureClosesTheForm()
    {
        QFETCH(QString, name);
        WindowHome home;
        Capture capture;
        QPointer<frmZelvatcts> f = home.openForm(name);
        QVERIFY(closed(f));
        QCOMPARE(capture.noticeTexts(), QStringList{"Could not load message file \r\n" + name});
        QCOMPARE(capture.notices[0].icon, Notice::Exclamation);
        QCOMPARE(home.station().Eno, 100); // no number was taken
    }

    void lastUsedValuesAndOneFormAtATime()
    {
        WindowHome home;
        Capture capture;
        frmZelvatcts *f = home.openForm("NEW");
        QTest::mouseClick(f->cmdLast[0], Qt::LeftButton);
        QCOMPARE(text(f->txtHeader[1]), QString()); // the first form of a session has nothing to offer
        QTest::keyClicks(f->txtHeader[1], "12 oak st");
        QTest::keyClicks(f->txtHeader[8], "springfield");
        QTest::keyClicks(f->txtHeader[5], "555-0100");
        // A second form is not opened over unsaved input: the open one comes to the front.
        QCOMPARE(home.openForm("NEW"), f);
        QCOMPARE(capture.notices.size(), 1);
        QCOMPARE(home.station().Eno, 101);
        QTest::mouseClick(f->cmdSave, Qt::LeftButton);
        QVERIFY(closed(f));
        frmZelvatcts *g = home.openForm("NEW");
        QTest::mouseClick(g->cmdLast[0], Qt::LeftButton);
        QCOMPARE(text(g->txtHeader[1]), QString("12 oak st"));
        QCOMPARE(text(g->txtHeader[8]), QString("springfield"));
        QCOMPARE(text(g->txtHeader[5]), QString());
        QTest::mouseClick(g->cmdLast[1], Qt::LeftButton);
        QCOMPARE(text(g->txtHeader[5]), QString("555-0100"));
    }

    void whatCannotBeSavedKeepsTheFormOpen()
    {
        WindowHome home;
        Capture capture;
        QPointer<frmZelvatcts> f = home.openForm("NEW");
        static_cast<QPlainTextEdit *>(f->txtHeader[7])->setPlainText(QString(70000, 'x')); // as a paste puts it there
        QTest::mouseClick(f->cmdSave, Qt::LeftButton);
        QVERIFY(!closed(f));
        QCOMPARE(capture.noticeTexts(), QStringList{"The report was not saved: \"Details:\" holds 70000 characters; at most 65532 "
                                                    "fit. Shorten it, or take out the control characters."});
        QVERIFY(home.reportFiles().isEmpty());
        QCOMPARE(text(f->txtHeader[7]).size(), 70000); // nothing typed is lost
    }

    void aCopyIsSavedBackIntoItself()
    {
        WindowHome home;
        Capture capture;
        writeStored(home, "R9", 6);
        QFile::rename(home.reportPath("R9"), home.reportPath("copy"));
        QPointer<frmZelvatcts> f = home.openForm("copy");
        QCOMPARE(capture.noticeTexts(), QStringList{"The report file copy.911 holds the event ID R9. It is saved back to copy.911; "
                                                    "no other report is overwritten."});
        QTest::mouseClick(f->cmdSave, Qt::LeftButton);
        QVERIFY(closed(f));
        QCOMPARE(home.reportFiles(), QStringList{"copy.911"});
        QVERIFY(home.readReport("copy").contains("\r\nATM=1405\r\n"));
    }

    void typesAndContactRequest()
    {
        WindowHome home;
        frmZelvatcts *f = home.openForm("NEW");
        QVERIFY(!f->txtMed[0]->isEnabled() && !f->SSTab1->isTabEnabled(0));
        QTest::mouseClick(f->cmdRtype[0], Qt::LeftButton);
        QTest::mouseClick(f->cmdRtype[2], Qt::LeftButton);
        QCOMPARE(f->SSTab1->currentIndex(), 2);
        QCOMPARE(f->cmdRtype[0]->text(), QString("MED>>"));
        QVERIFY(f->cmdRtype[2]->font().bold());
        QCOMPARE(f->cmdRtype[2]->palette().color(QPalette::Button), kSelected);
        QCOMPARE(f->BuildTypeList(), QString("MED+LAW"));
        QVERIFY(f->txtLaw[3]->isEnabled() && f->chkReqContact->isVisibleTo(f));
        f->chkReqContact->setChecked(true); // the phone is then required
        QCOMPARE(f->Label18->text(), QString("Phone:*"));
        QCOMPARE(base(f->txtHeader[5]), kRequired);

        QTest::mouseClick(f->cmdRtype[2], Qt::LeftButton); // LAW off: the request is hidden, still ticked
        QCOMPARE(f->SSTab1->currentIndex(), 0);            // the first enabled tab
        QCOMPARE(f->cmdRtype[2]->text(), QString("LAW"));
        QVERIFY(!f->cmdRtype[2]->font().bold() && !f->SSTab1->isTabEnabled(2));
        QVERIFY(!f->chkReqContact->isVisibleTo(f) && f->chkReqContact->isChecked());
        f->chkReqContact->setChecked(false);
        QCOMPARE(f->Label18->text(), QString("Phone:"));
        QCOMPARE(base(f->txtHeader[5]), normalBase());

        QTest::mouseClick(f->cmdRtype[0], Qt::LeftButton);
        QCOMPARE(f->SSTab1->currentIndex(), 0); // no tab is enabled: MED's stays current
        QVERIFY(!f->txtMed[0]->isEnabled() && !f->optCons[1]->isEnabled());
        QCOMPARE(f->BuildTypeList(), QString());
    }

    void loadingSelectsTypes_data()
    {
        QTest::addColumn<QString>("typ");
        QTest::addColumn<QByteArray>("answers");
        QTest::addColumn<QString>("selected");
        QTest::addColumn<int>("currentTab");
        QTest::addColumn<QList<int>>("checked"); // the Conscious and Breathing buttons checked, -1 for none
        QTest::newRow("MED+FIRE, yes and no") << "MED+FIRE" << QByteArray("CON=1\r\nBRE=0\r\n") << "MED+FIRE" << 1 << QList<int>{1, 0};
        QTest::newRow("FIREMED, unanswered and out of range") << "FIREMED" << QByteArray("CON=5\r\nBRE=-1\r\n") << "MED+FIRE" << 1
                                                              << QList<int>{-1, -1};
        QTest::newRow("LAW+LGOV") << "LAW+LGOV" << QByteArray() << "LAW+LGOV" << 3 << QList<int>{0, 0}; // no answer stored: 0, No
        QTest::newRow("none") << "" << QByteArray() << "" << 0 << QList<int>{0, 0};
    }

    void loadingSelectsTypes()
    {
        QFETCH(QString, typ);
        QFETCH(QByteArray, answers);
        QFETCH(QString, selected);
        QFETCH(int, currentTab);
        QFETCH(QList<int>, checked);
        WindowHome home;
        writeStored(home, "T1", 6, typ, answers);
        frmZelvatcts *f = home.openForm("T1");
        QCOMPARE(f->BuildTypeList(), selected);
        QCOMPARE(f->SSTab1->currentIndex(), currentTab);
        for (int i = 0; i < 4; ++i)
            QCOMPARE(f->cmdRtype[i]->text().endsWith(">>") && f->SSTab1->isTabEnabled(i), f->typeSelected(i));
        for (int i = 0; i < 2; ++i) {
            QCOMPARE(f->optCons[i]->isChecked(), checked[0] == i);
            QCOMPARE(f->optBrea[i]->isChecked(), checked[1] == i);
        }
        QCOMPARE(int(f->consciousAnswer()), checked[0]);
        QCOMPARE(text(f->txtHeader[7]), QString("first\nsecond")); // the stored "\n" is a line break in the box
    }

    void typing_data()
    {
        QTest::addColumn<QString>("box");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<QString>("left"); // after the operator leaves the box

        QTest::newRow("summary set takes ' = _, proper case") << "txtHeader_0" << "a'B=c_d!" << "a'B=c_d" << "A'b=c_d";
        QTest::newRow("general set refuses = and !") << "txtHeader_5" << "555-0100 =X!" << "555-0100 X" << "555-0100 X";
        QTest::newRow("city takes anything") << "txtHeader_8" << "st. john's!" << "st. john's!" << "St. John's!";
        QTest::newRow("last seen in minutes") << "txtHeader_6" << "-5" << "-5" << "14:00";
        QTest::newRow("plate in capitals, filtered") << "txtLaw_4" << "7abc*1" << "7ABC1" << "7ABC1";
        QTest::newRow("vehicle proper case") << "txtLaw_3" << "RED VAN" << "RED VAN" << "Red Van";
        QTest::newRow("age free") << "txtMed_0" << "70!" << "70!" << "70!";
    }

    void typing()
    {
        QFETCH(QString, box);
        QFETCH(QString, typed);
        QFETCH(QString, shown);
        QFETCH(QString, left);
        WindowHome home;
        frmZelvatcts *f = home.openForm("NEW");
        // The detail boxes can be typed into only on the tab of a chosen type.
        QTest::mouseClick(f->cmdRtype[box.startsWith("txtLaw") ? 2 : 0], Qt::LeftButton);
        QWidget *w = f->findChild<QWidget *>(box);
        QTest::keyClicks(w, typed + "x");
        QTest::keyClick(w, Qt::Key_Backspace); // backspace works in every box, filtered or not
        QCOMPARE(text(w), shown);
        QFocusEvent leave(QEvent::FocusOut, Qt::TabFocusReason);
        QApplication::sendEvent(w, &leave);
        QCOMPARE(text(w), left);
    }

    void typingClearsHighlights()
    {
        WindowHome home;
        frmZelvatcts *f = home.openForm("NEW");
        QCOMPARE(base(f->txtHeader[0]), kRequired); // empty required boxes start light red
        QCOMPARE(base(f->txtHeader[2]), normalBase());
        f->setStatus("Missing data in a required field");
        QTest::keyClicks(f->txtHeader[0], "x");
        QCOMPARE(base(f->txtHeader[0]), normalBase());
        QCOMPARE(f->statusText(), QString());
        // Either part of the reporting person's reach clears both.
        QPalette p = f->txtHeader[5]->palette();
        p.setColor(QPalette::Base, kMissing);
        f->txtHeader[4]->setPalette(p);
        f->txtHeader[5]->setPalette(p);
        QTest::keyClicks(f->txtHeader[4], "1");
        QCOMPARE(base(f->txtHeader[5]), normalBase());
    }

    void unencodableCharactersAreRefused()
    {
        WindowHome home;
        frmZelvatcts *f = home.openForm("NEW");
        // Key clicks of characters beyond the code page, as a keyboard with such keys sends them.
        for (QChar c : QString::fromUtf8("Łódź é")) {
            QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(c));
            QApplication::sendEvent(f->txtHeader[7], &press);
        }
        QCOMPARE(text(f->txtHeader[7]), QString::fromUtf8("ód é"));
    }

    void submitAWholeReport()
    {
        // Every kind of box reaches the message: tidied on leaving, folded, the contact line.
        WindowHome home;
        LoopbackServer &server = home.serve();
        home.station().Enc = "NONE";
        QPointer<frmZelvatcts> f = home.openForm("NEW");
        const std::pair<int, const char *> header[] = {{0, "person down"}, {1, "12 oak st"}, {8, "springfield"}, {3, "jordan smith"},
                                                       {5, "555-0100"},    {6, "-10"},       {7, "Collapsed"}};
        for (const auto &[i, typed] : header) {
            QTest::keyClicks(f->txtHeader[i], typed);
            QFocusEvent leave(QEvent::FocusOut, Qt::TabFocusReason);
            QApplication::sendEvent(f->txtHeader[i], &leave);
        }
        for (int type : {0, 1, 2})
            QTest::mouseClick(f->cmdRtype[type], Qt::LeftButton);
        QTest::keyClicks(f->txtLaw[3], "Blue sedan");
        QTest::keyClicks(f->txtLaw[4], "7abc");
        f->chkReqContact->setChecked(true);
        f->SSTab1->setCurrentIndex(0);
        QTest::keyClicks(f->txtMed[0], "70");
        QTest::keyClicks(f->txtMed[1], "Male");
        QTest::mouseClick(f->optCons[1], Qt::LeftButton);
        QTest::mouseClick(f->optBrea[0], Qt::LeftButton);
        f->SSTab1->setCurrentIndex(1);
        QTest::keyClicks(f->txtFire[0], "No");
        QStringList statuses;
        connect(f->session(), &ServerSession::status, [&](const QString &t) { statuses << t; });
        QTest::mouseClick(f->cmdSubmit, Qt::LeftButton);
        QVERIFY(closed(f));
        QCOMPARE(statuses.last(), QString("Message transferred"));
        const QByteArray expected =
            "<AOAON>ZELVAT</AOAON><AOSUB>SPF-100 / MED+FIRE+LAW / Springfield</AOSUB><AOMSG>TYPE=MED+FIRE+LAW\r\nLOC1=12 Oak St, "
            "Springfield\r\nRPNA=Jordan Smith\r\nRPPH=555-0100\r\nCNT=\\#252\r\nDETL=Person Down -- Collapsed -- AGE: 70, Male, "
            "C+ B- -- People Trapped: No -=\r\n- Veh Desc: Blue sedan -- Lic: 7ABC -- St: \\nLast Seen:13:55 -- Call Loc:EOC\r\n"
            "DEVD=KN1ABC\r\nDATM=261116 1405\r\nEVNT=SPF26320.100</AOMSG><AOURG>TRUE</AOURG><AOTYP>PVT</AOTYP>"
            "<ENCOD>NONE</ENCOD>!/ADDON!\r\nQUIT\r\n";
        QTRY_COMPARE(server.received(), expected);
        QVERIFY(home.readReport("SPF26320.100").contains("\r\nAST=9\r\n"));
        QCOMPARE(home.refreshes, 2); // after Ready and after Submitted
    }

    void submittedUpdateCarriesTheMark()
    {
        WindowHome home;
        LoopbackServer &server = home.serve();
        writeStored(home, "R9", 9, "MED", "CON=1\r\nBRE=1\r\n");
        frmZelvatcts *f = home.openForm("R9");
        QTest::mouseClick(f->cmdSave, Qt::LeftButton); // Update
        QTest::mouseClick(f->cmdSubmit, Qt::LeftButton);
        QTRY_VERIFY(server.received().contains("<AOSUB>SPF-001 / MED / Springfield -- UPDATE</AOSUB>"));
        QVERIFY(server.received().contains("DETL=Fall -- UPDATE for R9/261115, 0930\\nfirst\\nsecond -- AGE"));
    }

    void requiredFieldsBlockSubmission_data()
    {
        QTest::addColumn<QStringList>("fill"); // boxes given text
        QTest::addColumn<bool>("contact");
        QTest::addColumn<QStringList>("yellow"); // boxes and labels painted 0x80FFFF
        QTest::addColumn<QString>("focused");

        const QStringList all = {"txtHeader_0", "txtHeader_1", "txtHeader_3", "txtHeader_6", "txtHeader_7", "txtHeader_8",
                                 "txtMed_0", "txtMed_1"};
        QTest::newRow("empty medical report")
            << QStringList{} << false << all + QStringList{"Label6", "Label23"} << "txtMed_1";
        QTest::newRow("contact without address or phone")
            << all << true << QStringList{"txtHeader_4", "txtHeader_5", "Label6", "Label23"} << "txtHeader_5";
    }

    void requiredFieldsBlockSubmission()
    {
        QFETCH(QStringList, fill);
        QFETCH(bool, contact);
        QFETCH(QStringList, yellow);
        QFETCH(QString, focused);
        WindowHome home;
        frmZelvatcts *f = home.openForm("NEW");
        f->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(f));
        QTest::mouseClick(f->cmdRtype[0], Qt::LeftButton);
        if (contact) {
            QTest::mouseClick(f->cmdRtype[2], Qt::LeftButton);
            f->chkReqContact->setChecked(true);
            f->SSTab1->setCurrentIndex(0);
        }
        for (const QString &name : fill)
            QTest::keyClicks(f->findChild<QWidget *>(name), "x");
        QTest::mouseClick(f->cmdSubmit, Qt::LeftButton);
        QCOMPARE(f->statusText(), QString("Missing data in a required field"));
        QVERIFY(home.reportFiles().isEmpty()); // nothing saved
        for (const QString &name : yellow) {
            QWidget *w = f->findChild<QWidget *>(name);
            const QColor c = qobject_cast<QLabel *>(w) ? w->palette().color(QPalette::Window) : base(w);
            QVERIFY2(c == kMissing, qPrintable(name));
        }
        QCOMPARE(QApplication::focusWidget(), f->findChild<QWidget *>(focused));
    }

    void submissions_data()
    {
        QTest::addColumn<int>("mode"); // the server's; -1: nobody listens, -2: no event type chosen
        QTest::addColumn<bool>("sent");
        QTest::addColumn<QStringList>("said"); // the operator's message boxes

        QTest::newRow("accepted") << int(LoopbackServer::Mode::Normal) << true << QStringList{};
        QTest::newRow("refused, then sent when the server is back")
            << -1 << true << QStringList{"CmdSubmit: SendToClient Failed\r\n127.0.0.1:PORT: the connection was refused (is the "
                                         "message server running?)"};
        QTest::newRow("no event type") << -2 << false
                                       << QStringList{"No Event type selected.  Select either\r\nMedical, Fire, Law, or Local Gov,\r\n"
                                                      "and then fill in the respective details."};
        // A server that never answers: the window keeps handling events, the operator closes it,
        // the report stays Ready and whole.
        QTest::newRow("silent, closed while waiting") << int(LoopbackServer::Mode::Silent) << false << QStringList{};
        QTest::newRow("drops after the envelope") << int(LoopbackServer::Mode::Drop) << false << QStringList{};
        QTest::newRow("answers garbage") << int(LoopbackServer::Mode::Garbage) << false << QStringList{};
        QTest::newRow("floods 10 MB") << int(LoopbackServer::Mode::Flood) << false << QStringList{};
    }

    void submissions()
    {
        QFETCH(int, mode);
        QFETCH(bool, sent);
        QFETCH(QStringList, said);
        WindowHome home;
        Capture capture;
        if (mode >= 0)
            home.serve(LoopbackServer::Mode(mode));
        else
            home.refuse();
        QPointer<frmZelvatcts> f = home.openForm("NEW");
        if (mode != -2)
            QTest::mouseClick(f->cmdRtype[3], Qt::LeftButton);
        for (int i : {0, 1, 3, 6, 7, 8})
            QTest::keyClicks(f->txtHeader[i], "x");
        int ticks = 0;
        QTimer ui;
        connect(&ui, &QTimer::timeout, [&] { ++ticks; });
        ui.start(50);
        bool waited = false;
        QTimer::singleShot(1500, &ui, [&] {
            waited = f && f->session()->busy();
            if (f)
                f->close();
        });
        QTest::mouseClick(f->cmdSubmit, Qt::LeftButton);
        QCOMPARE(capture.noticeTexts(), said.replaceInStrings("PORT", home.station().Prt));
        if (mode == -1) { // the form stays with the report Ready; the operator tries again
            QCOMPARE(f->reportState(), 2);
            QCOMPARE(f->Label22->text(), QString("Ready, not Submitted"));
            QVERIFY(!f->cmdSave->isEnabled());
            QCOMPARE(f->statusText(), QString("Message transfer problem"));
            QVERIFY(home.readReport("SPF26320.100").contains("\r\nAST=2\r\n"));
            home.serve();
            QTest::mouseClick(f->cmdSubmit, Qt::LeftButton);
        }
        if (mode == -2) {
            for (QPushButton *b : f->cmdRtype)
                QCOMPARE(b->palette().color(QPalette::Button), kMissing);
            QTest::mouseClick(f->cmdRtype[3], Qt::LeftButton); // choosing a type clears the hint from all four
            QCOMPARE(f->cmdRtype[0]->palette().color(QPalette::Button), QApplication::palette().color(QPalette::Button));
            QVERIFY(home.reportFiles().isEmpty());
            return;
        }
        QTRY_VERIFY(closed(f));
        const QByteArray file = home.readReport("SPF26320.100");
        QVERIFY(file.contains(sent ? "\r\nAST=9\r\n" : "\r\nAST=2\r\n"));
        QVERIFY(file.contains("\r\n[END]\r\n"));
        if (!sent) {
            QVERIFY(waited);
            QVERIFY2(ticks >= 10, qPrintable(QString::number(ticks))); // about 30 in 1.5 s; a frozen window gives none
        }
    }

    void resizeFollowsTheWidthDownToTheMinimum()
    {
        WindowHome home;
        frmZelvatcts *f = home.openForm("NEW");
        const int frame2 = f->Frame2->x();
        const int details = f->txtHeader[7]->width();
        const int plate = f->txtLaw[4]->width();
        const int dpi = f->logicalDpiX();
        // 2000 twips wider: the two upper frames share the growth, the details take all of it,
        // the short law boxes keep their widths.
        f->resize(f->width() + qRound(2000.0 * dpi / 1440), f->height());
        QVERIFY(qAbs(f->Frame2->x() - frame2 - qRound(1000.0 * dpi / 1440)) <= 1);
        QVERIFY(qAbs(f->txtHeader[7]->width() - details - qRound(2000.0 * dpi / 1440)) <= 1);
        QCOMPARE(f->txtLaw[4]->width(), plate);
        // Below the minimum width nothing moves.
        const int wide = f->Frame2->x();
        f->resize(qRound((FormLayout::MinWidth - 500) * dpi / 1440), f->height());
        QCOMPARE(f->Frame2->x(), wide);
    }
};

QTEST_MAIN(TestReportForm)
#include "tst_report_form.moc"
