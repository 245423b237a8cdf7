// The report form driven the way an operator drives it: key clicks into the boxes, the type
// buttons, the option buttons and the commands; checked by the widgets' texts, colours and
// enabled states and by the report files left on disk.

#include "common/Capture.h"
#include "common/Loopback.h"
#include "link/ServerSession.h"
#include "report_form/FormLayout.h"
#include "report_form/frmZelvatcts.h"
#include "settings/ZelvatIni.h"
#include "support/DatetimeLib.h"
#include "store/ProgramFolder.h"
#include "support/CommonConst.h"

#include <QApplication>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>

class TestReportForm : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void stateTable_data();
    void stateTable();
    void newReportSavesADraft();
    void updateReopensASubmittedReport();
    void deleteOfANewReportKeepsItMarked();
    void escapeClosesWithoutSaving();
    void loadFailureClosesTheForm_data();
    void loadFailureClosesTheForm();
    void lastUsedValuesCarryOver();
    void onlyOneFormAtATime();

    void typeToggling();
    void loadingSelectsTypes_data();
    void loadingSelectsTypes();
    void contactRequest();
    void medicalAnswersFromTheFile_data();
    void medicalAnswersFromTheFile();

    void keyRules_data();
    void keyRules();
    void leaveRules_data();
    void leaveRules();
    void typingClearsHighlights();
    void unencodableCharactersAreRefused();

    void submitAWholeMedicalReport();
    void submitAWholeLawReportWithContact();
    void requiredFieldsBlockSubmission_data();
    void requiredFieldsBlockSubmission();
    void noEventTypeMessage();
    void failedSendLeavesItReady();
    void closingDuringAWaitKeepsItReady();
    void submittedUpdateCarriesTheMark();
    void misbehavingServerNeverFreezesTheWindow_data();
    void misbehavingServerNeverFreezesTheWindow();

    void layoutFollowsTheWidth();
    void layoutBelowTheMinimumDoesNothing();
    void formResizeMovesTheWidgets();

private:
    frmZelvatcts *open(const QString &eventRecord);
    void writeReport(const QString &name, const QByteArray &extra, int ast, const QString &typ = "MED");
    QString text(QWidget *box) const;
    QColor base(QWidget *box) const { return box->palette().color(QPalette::Base); }
    QString msgPath(const QString &name) const { return m_dir->path() + "/msg.d/" + name + ".911"; }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ZelvatIni> m_ini;
    int m_refreshes = 0;
};

static const QColor kRequired(0xFF, 0xC0, 0xC0);  // 0xC0C0FF, red in the low byte
static const QColor kMissing(0xFF, 0xFF, 0x80);   // 0x80FFFF
static const QColor kSelected(0xFF, 0x80, 0x80);  // 0x8080FF

void TestReportForm::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QString why;
    QVERIFY(ProgramFolder::prepare(m_dir->path(), &why));
    m_ini = std::make_unique<ZelvatIni>(ProgramFolder::stationFile(m_dir->path()));
    m_ini->load();
    m_ini->Lid = "SPF";
    m_ini->Uid = "KN1ABC";
    m_ini->Loc = "EOC";
    m_refreshes = 0;
    frmZelvatcts::clearLastUsed();
    DatetimeLib::setFixedNow(QDateTime(QDate(2026, 11, 16), QTime(14, 5, 0)));
}

void TestReportForm::cleanup()
{
    if (frmZelvatcts *f = frmZelvatcts::current())
        f->close();
    QTest::qWait(0);
    DatetimeLib::setFixedNow({});
}

frmZelvatcts *TestReportForm::open(const QString &eventRecord)
{
    ReportFormContext context{m_dir->path(), m_ini.get(), [this] { ++m_refreshes; }};
    return frmZelvatcts::open(context, eventRecord);
}

void TestReportForm::writeReport(const QString &name, const QByteArray &extra, int ast, const QString &typ)
{
    writeFile(msgPath(name), "[911 DEFINITION]\r\nTYP=" + typ.toLatin1() + "\r\nEID=" + name.toLatin1()
                                  + "\r\nMID=SPF-001\r\nISS=Fall\r\nAD1=12 Oak St\r\nCTY=Springfield\r\nLAS=14:00\r\n"
                                    "DTL=first\\nsecond\r\nRPN=Jo\r\nAGE=70\r\nGDR=M\r\nADT=261115\r\nATM=0930\r\nAST="
                                  + QByteArray::number(ast) + "\r\n" + extra + "[END]\r\n");
}

QString TestReportForm::text(QWidget *box) const
{
    if (auto *line = qobject_cast<QLineEdit *>(box))
        return line->text();
    return static_cast<QPlainTextEdit *>(box)->toPlainText();
}

// --- lifecycle ------------------------------------------------------------------------------

void TestReportForm::stateTable_data()
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

void TestReportForm::stateTable()
{
    QFETCH(int, ast);
    QFETCH(QString, caption);
    QFETCH(QString, saveCaption);
    QFETCH(bool, deleteOn);
    QFETCH(bool, saveOn);
    QFETCH(bool, submitOn);
    writeReport("R1", "", ast);
    frmZelvatcts *f = open("R1");
    QCOMPARE(f->reportState(), ast);
    QCOMPARE(f->windowTitle(), QString("Zelvat - Report form"));
    QCOMPARE(f->Label22->text(), caption);
    QCOMPARE(f->cmdSave->text(), saveCaption);
    QCOMPARE(f->cmdDelete->isEnabled(), deleteOn);
    QCOMPARE(f->cmdSave->isEnabled(), saveOn);
    QCOMPARE(f->cmdSubmit->isEnabled(), submitOn);
    QVERIFY(f->cmdClose->isEnabled());
}

void TestReportForm::newReportSavesADraft()
{
    frmZelvatcts *f = open("NEW");
    QCOMPARE(f->windowTitle(), QString("Zelvat - New report"));
    QCOMPARE(f->Label20->text(), QString("SPF26320.100"));
    QCOMPARE(f->Label22->text(), QString("New Report"));
    QVERIFY(m_ini->Eno == 101);
    QTest::mouseClick(f->cmdRtype[0], Qt::LeftButton);
    QTest::keyClicks(f->txtHeader[0], "Fall");
    QTest::keyClicks(f->txtHeader[7], "line one");
    QTest::keyClick(f->txtHeader[7], Qt::Key_Return);
    QTest::keyClicks(f->txtHeader[7], "line two");
    QTest::mouseClick(f->optCons[1], Qt::LeftButton);
    QPointer<frmZelvatcts> guard(f);
    QTest::mouseClick(f->cmdSave, Qt::LeftButton);
    QTest::qWait(0);
    QVERIFY(!guard || !guard->isVisible());
    QCOMPARE(m_refreshes, 1);
    const QByteArray file = readFile(msgPath("SPF26320.100"));
    QVERIFY(file.contains("\r\nTYP=MED\r\n"));
    QVERIFY(file.contains("\r\nMID=SPF-100\r\nISS=Fall\r\n"));
    QVERIFY(file.contains("\r\nDTL=line one\\nline two\r\n"));
    QVERIFY(file.contains("\r\nCON=1\r\nBRE=-1\r\n"));
    QVERIFY(file.contains("\r\nUID=KN1ABC\r\nULO=EOC\r\nAST=6\r\nADT=261116\r\nATM=1405\r\n"));
}

void TestReportForm::updateReopensASubmittedReport()
{
    writeReport("R9", "", 9);
    frmZelvatcts *f = open("R9");
    QCOMPARE(f->cmdSave->text(), QString("Update"));
    QVERIFY(!f->cmdSubmit->isEnabled());
    QTest::mouseClick(f->cmdSave, Qt::LeftButton);
    QVERIFY(f->isVisible());
    QVERIFY(f->updateFlag());
    QCOMPARE(f->reportState(), 1);
    QCOMPARE(f->cmdSave->text(), QString("Save"));
    QVERIFY(f->cmdSubmit->isEnabled());
    QCOMPARE(f->Label22->text(), QString("New Report"));
    QCOMPARE(text(f->txtHeader[7]), QString("UPDATE for R9/261115, 0930\nfirst\nsecond"));
    const QByteArray file = readFile(msgPath("R9"));
    QVERIFY(file.contains("\r\nDTL=UPDATE for R9/261115, 0930\\nfirst\\nsecond\r\n"));
    QVERIFY(file.contains("\r\nAST=1\r\n"));
}

void TestReportForm::deleteOfANewReportKeepsItMarked()
{
    frmZelvatcts *f = open("NEW");
    QTest::keyClicks(f->txtHeader[0], "Mistake");
    QTest::mouseClick(f->cmdDelete, Qt::LeftButton);
    QTest::qWait(0);
    const QByteArray file = readFile(msgPath("SPF26320.100"));
    QVERIFY(file.contains("\r\nISS=Mistake\r\n"));
    QVERIFY(file.contains("\r\nAST=8\r\n"));
    QCOMPARE(m_refreshes, 1);
}

void TestReportForm::escapeClosesWithoutSaving()
{
    frmZelvatcts *f = open("NEW");
    QPointer<frmZelvatcts> guard(f);
    QTest::keyClicks(f->txtLaw[0], "tall");
    QTest::keyClick(f->txtHeader[3], Qt::Key_Escape);
    QTest::qWait(0);
    QVERIFY(!guard || !guard->isVisible());
    QVERIFY(QDir(m_dir->path() + "/msg.d").isEmpty());
    QCOMPARE(m_refreshes, 0);
}

void TestReportForm::loadFailureClosesTheForm_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("lower-case new is a name") << "new";
    QTest::newRow("missing report") << "NOPE";
}

void TestReportForm::loadFailureClosesTheForm()
{
    QFETCH(QString, name);
    Capture capture;
    frmZelvatcts *f = open(name);
    QPointer<frmZelvatcts> guard(f);
    QTest::qWait(0);
    QVERIFY(!guard || !guard->isVisible());
    QCOMPARE(capture.notices.size(), 1);
    QCOMPARE(capture.notices[0].text, "Could not load message file \r\n" + name);
    QCOMPARE(capture.notices[0].icon, Notice::Exclamation);
    QCOMPARE(m_ini->Eno, 100); // no number was taken
}

void TestReportForm::lastUsedValuesCarryOver()
{
    frmZelvatcts *f = open("NEW");
    QTest::mouseClick(f->cmdLast[0], Qt::LeftButton);
    QTest::mouseClick(f->cmdLast[1], Qt::LeftButton);
    QCOMPARE(text(f->txtHeader[1]), QString()); // the first form of a session has nothing to offer
    QTest::keyClicks(f->txtHeader[1], "12 oak st");
    QTest::keyClicks(f->txtHeader[8], "springfield");
    QTest::keyClicks(f->txtHeader[5], "555-0100");
    QTest::mouseClick(f->cmdSave, Qt::LeftButton);
    QTest::qWait(0);
    frmZelvatcts *g = open("NEW");
    QTest::mouseClick(g->cmdLast[0], Qt::LeftButton);
    QCOMPARE(text(g->txtHeader[1]), QString("12 oak st"));
    QCOMPARE(text(g->txtHeader[8]), QString("springfield"));
    QCOMPARE(text(g->txtHeader[5]), QString());
    QTest::mouseClick(g->cmdLast[1], Qt::LeftButton);
    QCOMPARE(text(g->txtHeader[5]), QString("555-0100"));
}

void TestReportForm::onlyOneFormAtATime()
{
    Capture capture;
    frmZelvatcts *f = open("NEW");
    QTest::keyClicks(f->txtHeader[0], "unsaved");
    QCOMPARE(open("NEW"), f);
    QCOMPARE(text(f->txtHeader[0]), QString("unsaved"));
    QCOMPARE(capture.notices.size(), 1);
    QCOMPARE(m_ini->Eno, 101);
}

// --- event types ----------------------------------------------------------------------------

void TestReportForm::typeToggling()
{
    frmZelvatcts *f = open("NEW");
    QVERIFY(!f->txtMed[0]->isEnabled());
    QVERIFY(!f->SSTab1->isTabEnabled(0));
    QTest::mouseClick(f->cmdRtype[0], Qt::LeftButton);
    QTest::mouseClick(f->cmdRtype[2], Qt::LeftButton);
    QCOMPARE(f->SSTab1->currentIndex(), 2);
    QCOMPARE(f->cmdRtype[0]->text(), QString("MED>>"));
    QVERIFY(f->cmdRtype[2]->font().bold());
    QCOMPARE(f->cmdRtype[2]->palette().color(QPalette::Button), kSelected);
    QCOMPARE(f->BuildTypeList(), QString("MED+LAW"));
    QVERIFY(f->txtLaw[3]->isEnabled());
    QVERIFY(f->chkReqContact->isVisibleTo(f));

    QTest::mouseClick(f->cmdRtype[2], Qt::LeftButton);
    QCOMPARE(f->SSTab1->currentIndex(), 0); // the first enabled tab
    QCOMPARE(f->cmdRtype[2]->text(), QString("LAW"));
    QVERIFY(!f->cmdRtype[2]->font().bold());
    QVERIFY(!f->SSTab1->isTabEnabled(2));
    QVERIFY(!f->chkReqContact->isVisibleTo(f));
    QVERIFY(f->optCons[0]->isEnabled());

    QTest::mouseClick(f->cmdRtype[0], Qt::LeftButton);
    QCOMPARE(f->SSTab1->currentIndex(), 0); // no tab is enabled: MED's stays current
    QVERIFY(!f->txtMed[0]->isEnabled());
    QVERIFY(!f->optCons[1]->isEnabled());
    QCOMPARE(f->BuildTypeList(), QString());

    QTest::mouseClick(f->cmdRtype[3], Qt::LeftButton);
    QCOMPARE(f->BuildTypeList(), QString("LGOV"));
    QCOMPARE(QApplication::focusWidget() == f->txtHeader[1] || !f->isActiveWindow(), true);
}

void TestReportForm::loadingSelectsTypes_data()
{
    QTest::addColumn<QString>("typ");
    QTest::addColumn<QString>("selected");
    QTest::addColumn<int>("currentTab");
    QTest::newRow("MED+FIRE") << "MED+FIRE" << "MED+FIRE" << 1;
    QTest::newRow("FIREMED substring") << "FIREMED" << "MED+FIRE" << 1;
    QTest::newRow("LAW+LGOV") << "LAW+LGOV" << "LAW+LGOV" << 3;
    QTest::newRow("none") << "" << "" << 0;
}

void TestReportForm::loadingSelectsTypes()
{
    QFETCH(QString, typ);
    QFETCH(QString, selected);
    QFETCH(int, currentTab);
    writeReport("T1", "", 6, typ);
    frmZelvatcts *f = open("T1");
    QCOMPARE(f->BuildTypeList(), selected);
    QCOMPARE(f->SSTab1->currentIndex(), currentTab);
    for (int i = 0; i < 4; ++i) {
        const bool on = f->typeSelected(i);
        QCOMPARE(f->cmdRtype[i]->text().endsWith(">>"), on);
        QCOMPARE(f->cmdRtype[i]->font().bold(), on);
        QCOMPARE(f->SSTab1->isTabEnabled(i), on);
    }
}

void TestReportForm::contactRequest()
{
    frmZelvatcts *f = open("NEW");
    QTest::mouseClick(f->cmdRtype[2], Qt::LeftButton);
    f->chkReqContact->setChecked(true);
    QCOMPARE(f->Label18->text(), QString("Phone:*"));
    QCOMPARE(base(f->txtHeader[5]), kRequired);
    QTest::mouseClick(f->cmdRtype[2], Qt::LeftButton); // LAW off: hidden, still ticked
    QVERIFY(!f->chkReqContact->isVisibleTo(f));
    QVERIFY(f->chkReqContact->isChecked());
    QCOMPARE(f->Label18->text(), QString("Phone:*"));
    f->chkReqContact->setChecked(false);
    QCOMPARE(f->Label18->text(), QString("Phone:"));
    QCOMPARE(base(f->txtHeader[5]), QApplication::palette().color(QPalette::Base));
}

void TestReportForm::medicalAnswersFromTheFile_data()
{
    QTest::addColumn<QByteArray>("answers");
    QTest::addColumn<int>("conscious");
    QTest::addColumn<int>("breathing");
    QTest::newRow("yes and no") << QByteArray("CON=1\r\nBRE=0\r\n") << 1 << 0;
    QTest::newRow("unanswered") << QByteArray("CON=-1\r\nBRE=-1\r\n") << -1 << -1;
    QTest::newRow("out of range") << QByteArray("CON=5\r\nBRE=1\r\n") << -1 << 1;
}

void TestReportForm::medicalAnswersFromTheFile()
{
    QFETCH(QByteArray, answers);
    QFETCH(int, conscious);
    QFETCH(int, breathing);
    writeReport("M1", answers, 6);
    frmZelvatcts *f = open("M1");
    QCOMPARE(int(f->consciousAnswer()), conscious);
    QCOMPARE(int(f->breathingAnswer()), breathing);
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(f->optCons[i]->isChecked(), conscious == i);
        QCOMPARE(f->optBrea[i]->isChecked(), breathing == i);
    }
    QCOMPARE(text(f->txtHeader[7]), QString("first\nsecond"));
}

// --- input rules ----------------------------------------------------------------------------

void TestReportForm::keyRules_data()
{
    QTest::addColumn<QString>("box");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("shown");

    QTest::newRow("address keeps case, refuses ! and '") << "txtHeader_1" << "Oak st!'" << "Oak st";
    QTest::newRow("summary takes ' = _") << "txtHeader_0" << "a'b=c_d!" << "a'b=c_d";
    QTest::newRow("general refuses = and _") << "txtHeader_4" << "a=b_c" << "abc";
    QTest::newRow("phone filtered") << "txtHeader_5" << "555-0100 x#" << "555-0100 x";
    QTest::newRow("city takes anything") << "txtHeader_8" << "st. john's!" << "st. john's!";
    QTest::newRow("details takes anything") << "txtHeader_7" << "a!b@c" << "a!b@c";
    QTest::newRow("plate in capitals") << "txtLaw_4" << "7abc*1" << "7ABC1";
    QTest::newRow("state in capitals") << "txtLaw_5" << "ca" << "CA";
    QTest::newRow("weapon filtered") << "txtLaw_1" << "knife!" << "knife";
    QTest::newRow("person description free") << "txtLaw_0" << "5'10\" #1" << "5'10\" #1";
    QTest::newRow("age free") << "txtMed_0" << "70!" << "70!";
}

void TestReportForm::keyRules()
{
    QFETCH(QString, box);
    QFETCH(QString, typed);
    QFETCH(QString, shown);
    frmZelvatcts *f = open("NEW");
    // The detail boxes can be typed into only on the current tab of a chosen type.
    if (box.startsWith("txtLaw"))
        QTest::mouseClick(f->cmdRtype[2], Qt::LeftButton);
    if (box.startsWith("txtMed"))
        QTest::mouseClick(f->cmdRtype[0], Qt::LeftButton);
    QWidget *w = f->findChild<QWidget *>(box);
    QVERIFY(w->isEnabled());
    QVERIFY(w);
    QTest::keyClicks(w, typed);
    QCOMPARE(text(w), shown);
    // Backspace works in every box, filtered or not.
    QTest::keyClick(w, Qt::Key_Backspace);
    QCOMPARE(text(w), shown.chopped(1));
}

void TestReportForm::leaveRules_data()
{
    QTest::addColumn<QString>("box");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("after");

    QTest::newRow("summary proper case") << "txtHeader_0" << "PERSON DOWN" << "Person Down";
    QTest::newRow("city proper case") << "txtHeader_8" << "san jose" << "San Jose";
    QTest::newRow("phone unchanged") << "txtHeader_5" << "call me" << "call me";
    QTest::newRow("details unchanged") << "txtHeader_7" << "lower case" << "lower case";
    QTest::newRow("minus five minutes") << "txtHeader_6" << "-5" << "14:00";
    QTest::newRow("plus twenty minutes") << "txtHeader_6" << "20" << "14:25";
    QTest::newRow("half minutes round away from zero") << "txtHeader_6" << "-2.5" << "14:02";
    QTest::newRow("a colon stays") << "txtHeader_6" << "99:99" << "99:99";
    QTest::newRow("words stay") << "txtHeader_6" << "an hour ago" << "an hour ago";
    QTest::newRow("vehicle proper case") << "txtLaw_3" << "RED VAN" << "Red Van";
    QTest::newRow("direction unchanged") << "txtLaw_2" << "north" << "north";
}

void TestReportForm::leaveRules()
{
    QFETCH(QString, box);
    QFETCH(QString, typed);
    QFETCH(QString, after);
    frmZelvatcts *f = open("NEW");
    QTest::mouseClick(f->cmdRtype[2], Qt::LeftButton);
    QWidget *w = f->findChild<QWidget *>(box);
    QTest::keyClicks(w, typed);
    QFocusEvent leave(QEvent::FocusOut, Qt::TabFocusReason);
    QApplication::sendEvent(w, &leave);
    QCOMPARE(text(w), after);
}

void TestReportForm::typingClearsHighlights()
{
    frmZelvatcts *f = open("NEW");
    QCOMPARE(base(f->txtHeader[0]), kRequired); // empty required boxes start light red
    QCOMPARE(base(f->txtHeader[2]), QApplication::palette().color(QPalette::Base));
    f->setStatus("Missing data in a required field");
    QTest::keyClicks(f->txtHeader[0], "x");
    QCOMPARE(base(f->txtHeader[0]), QApplication::palette().color(QPalette::Base));
    QCOMPARE(f->statusText(), QString());
    // Either part of the reporting person's reach clears both.
    QPalette p = f->txtHeader[5]->palette();
    p.setColor(QPalette::Base, kMissing);
    f->txtHeader[4]->setPalette(p);
    f->txtHeader[5]->setPalette(p);
    QTest::keyClicks(f->txtHeader[4], "1");
    QCOMPARE(base(f->txtHeader[5]), QApplication::palette().color(QPalette::Base));
}

void TestReportForm::unencodableCharactersAreRefused()
{
    frmZelvatcts *f = open("NEW");
    // Key clicks of characters beyond Latin-1, as a keyboard with such keys sends them.
    for (QChar c : QString::fromUtf8("Łódź é")) {
        QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(c));
        QApplication::sendEvent(f->txtHeader[7], &press);
    }
    QCOMPARE(text(f->txtHeader[7]), QString::fromUtf8("ód é"));
}

// --- submission -----------------------------------------------------------------------------

void TestReportForm::submitAWholeMedicalReport()
{
    auto server = Loopback::start(LoopbackServer::Mode::Normal);
    m_ini->Prt = QString::number(server->port());
    frmZelvatcts *f = open("NEW");
    QPointer<frmZelvatcts> guard(f);
    QTest::keyClicks(f->txtHeader[0], "person down");
    QTest::keyClicks(f->txtHeader[1], "12 oak st");
    QTest::keyClicks(f->txtHeader[8], "springfield");
    QTest::keyClicks(f->txtHeader[3], "jordan smith");
    QTest::keyClicks(f->txtHeader[5], "555-0100");
    QTest::keyClicks(f->txtHeader[6], "-10");
    QTest::keyClicks(f->txtHeader[7], "Collapsed");
    for (int i : {0, 1, 8, 3, 6}) { // leaving the boxes tidies them
        QFocusEvent leave(QEvent::FocusOut, Qt::TabFocusReason);
        QApplication::sendEvent(f->txtHeader[i], &leave);
    }
    QTest::mouseClick(f->cmdRtype[0], Qt::LeftButton);
    QTest::keyClicks(f->txtMed[0], "70");
    QTest::keyClicks(f->txtMed[1], "Male");
    QTest::mouseClick(f->optCons[1], Qt::LeftButton);
    QTest::mouseClick(f->optBrea[0], Qt::LeftButton);
    QStringList statuses;
    connect(f->session(), &ServerSession::status, [&](const QString &t) { statuses << t; });
    QTest::mouseClick(f->cmdSubmit, Qt::LeftButton);
    QTest::qWait(0);
    QVERIFY(!guard || !guard->isVisible());
    QCOMPARE(statuses.last(), QString("Message transferred"));
    const QByteArray expected =
        "<AOAON>ZELVAT</AOAON><AOSUB>SPF-100 / MED / Springfield</AOSUB><AOMSG>TYPE=MED\r\nLOC1=12 Oak St, Springfield\r\n"
        "RPNA=Jordan Smith\r\nRPPH=555-0100\r\nDETL=Person Down -- Collapsed -- AGE: 70, Male, C+ B-\\nLast Seen:13:55 -- "
        "Cal=\r\nl Loc:EOC\r\nDEVD=KN1ABC\r\nDATM=261116 1405\r\nEVNT=SPF26320.100</AOMSG><AOURG>TRUE</AOURG>"
        "<AOTYP>PVT</AOTYP><ENCOD>BASE64</ENCOD>!/ADDON!\r\nQUIT\r\n";
    QTRY_COMPARE(server->received(), expected);
    const QByteArray file = readFile(msgPath("SPF26320.100"));
    QVERIFY(file.contains("\r\nAST=9\r\n"));
    QCOMPARE(m_refreshes, 2); // after Ready and after Submitted
}

void TestReportForm::submitAWholeLawReportWithContact()
{
    auto server = Loopback::start(LoopbackServer::Mode::Normal);
    m_ini->Prt = QString::number(server->port());
    m_ini->Enc = "NONE";
    frmZelvatcts *f = open("NEW");
    QTest::mouseClick(f->cmdRtype[2], Qt::LeftButton);
    QTest::mouseClick(f->cmdRtype[1], Qt::LeftButton);
    QTest::keyClicks(f->txtHeader[0], "Car Fire");
    QTest::keyClicks(f->txtHeader[1], "Main St");
    QTest::keyClicks(f->txtHeader[8], "Riverside");
    QTest::keyClicks(f->txtHeader[3], "Lee");
    QTest::keyClicks(f->txtHeader[4], "1 Elm");
    QTest::keyClicks(f->txtHeader[6], "14:00");
    QTest::keyClicks(f->txtHeader[7], "Sedan burning");
    QTest::keyClicks(f->txtFire[0], "No");
    f->SSTab1->setCurrentIndex(2);
    QTest::keyClicks(f->txtLaw[3], "Blue sedan");
    QTest::keyClicks(f->txtLaw[4], "7abc");
    f->chkReqContact->setChecked(true);
    QTest::mouseClick(f->cmdSubmit, Qt::LeftButton);
    QTRY_VERIFY(server->received().endsWith("QUIT\r\n"));
    QVERIFY(server->received().contains("<AOSUB>SPF-100 / FIRE+LAW / Riverside</AOSUB>"));
    // The DETL line is longer than 78 characters: folded after 77 with a soft break.
    QVERIFY(server->received().contains("\r\nRPAD=1 Elm\r\nCNT=\\#252\r\nDETL=Car Fire -- Sedan burning -- People Trapped: No -- "
                                     "Veh Desc: Blue sedan =\r\n-- Lic: 7ABC -- St: \\nLast Seen:14:00 -- Call Loc:EOC\r\n"));
    QVERIFY(server->received().contains("<ENCOD>NONE</ENCOD>"));
}

void TestReportForm::requiredFieldsBlockSubmission_data()
{
    QTest::addColumn<QStringList>("fill");      // boxes given text
    QTest::addColumn<bool>("contact");
    QTest::addColumn<QStringList>("yellow");    // boxes and labels painted 0x80FFFF
    QTest::addColumn<QString>("focused");

    const QStringList all = {"txtHeader_0", "txtHeader_1", "txtHeader_3", "txtHeader_6", "txtHeader_7", "txtHeader_8",
                             "txtMed_0", "txtMed_1"};
    QTest::newRow("empty medical report")
        << QStringList{} << false
        << QStringList{"txtHeader_0", "txtHeader_1", "txtHeader_3", "txtHeader_6", "txtHeader_7", "txtHeader_8", "txtMed_0",
                       "txtMed_1", "Label6", "Label23"}
        << "txtMed_1";
    QTest::newRow("only the conscious question") << all << false << QStringList{"Label6", "Label23"} << "";
    QTest::newRow("contact without address or phone")
        << all << true << QStringList{"txtHeader_4", "txtHeader_5", "Label6", "Label23"} << "txtHeader_5";
}

void TestReportForm::requiredFieldsBlockSubmission()
{
    QFETCH(QStringList, fill);
    QFETCH(bool, contact);
    QFETCH(QStringList, yellow);
    QFETCH(QString, focused);
    frmZelvatcts *f = open("NEW");
    f->show();
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
    QVERIFY(QDir(m_dir->path() + "/msg.d").isEmpty()); // nothing saved
    for (const QString &name : yellow) {
        QWidget *w = f->findChild<QWidget *>(name);
        const QColor c = qobject_cast<QLabel *>(w) ? w->palette().color(QPalette::Window) : base(w);
        QVERIFY2(c == kMissing, qPrintable(name));
    }
    if (!focused.isEmpty())
        QCOMPARE(QApplication::focusWidget(), f->findChild<QWidget *>(focused));
    if (fill.contains("txtMed_0"))
        QCOMPARE(base(f->txtMed[0]), QApplication::palette().color(QPalette::Base));
}

void TestReportForm::noEventTypeMessage()
{
    Capture capture;
    frmZelvatcts *f = open("NEW");
    QTest::mouseClick(f->cmdSubmit, Qt::LeftButton);
    QCOMPARE(capture.notices.size(), 1);
    QCOMPARE(capture.notices[0].text, QString("No Event type selected.  Select either\r\nMedical, Fire, Law, or Local Gov,\r\n"
                                              "and then fill in the respective details."));
    QCOMPARE(capture.notices[0].icon, Notice::Exclamation);
    for (QPushButton *b : f->cmdRtype)
        QCOMPARE(b->palette().color(QPalette::Button), kMissing);
    QTest::mouseClick(f->cmdRtype[3], Qt::LeftButton); // choosing a type clears the hint from all four
    QCOMPARE(f->cmdRtype[0]->palette().color(QPalette::Button), QApplication::palette().color(QPalette::Button));
}

static void fillLgovReport(frmZelvatcts *f)
{
    QTest::mouseClick(f->cmdRtype[3], Qt::LeftButton);
    for (int i : {0, 1, 3, 6, 7, 8})
        QTest::keyClicks(f->txtHeader[i], "x");
}

void TestReportForm::failedSendLeavesItReady()
{
    Capture capture;
    const quint16 serverPort = Loopback::refusedPort();
    m_ini->Prt = QString::number(serverPort);
    frmZelvatcts *f = open("NEW");
    fillLgovReport(f);
    QTest::mouseClick(f->cmdSubmit, Qt::LeftButton);
    QVERIFY(f->isVisible());
    QCOMPARE(f->reportState(), 2);
    QCOMPARE(f->Label22->text(), QString("Ready, not Submitted"));
    QVERIFY(!f->cmdSave->isEnabled());
    QCOMPARE(f->statusText(), QString("Message transfer problem"));
    QCOMPARE(capture.noticeTexts(), QStringList{"CmdSubmit: SendToClient Failed"});
    QVERIFY(readFile(msgPath("SPF26320.100")).contains("\r\nAST=2\r\n"));
    // The operator tries again once the server is back.
    auto back = Loopback::start(LoopbackServer::Mode::Normal);
    m_ini->Prt = QString::number(back->port());
    QPointer<frmZelvatcts> guard(f);
    QTest::mouseClick(f->cmdSubmit, Qt::LeftButton);
    QTest::qWait(0);
    QVERIFY(!guard || !guard->isVisible());
    QVERIFY(readFile(msgPath("SPF26320.100")).contains("\r\nAST=9\r\n"));
}

void TestReportForm::closingDuringAWaitKeepsItReady()
{
    auto server = Loopback::start(LoopbackServer::Mode::Silent);
    m_ini->Prt = QString::number(server->port());
    frmZelvatcts *f = open("NEW");
    QPointer<frmZelvatcts> guard(f);
    fillLgovReport(f);
    bool waited = false;
    QTimer::singleShot(600, [&] {
        waited = guard && guard->session()->busy();
        guard->close(); // the operator closes the window while the session waits for "OK>"
    });
    QTest::mouseClick(f->cmdSubmit, Qt::LeftButton);
    QTRY_VERIFY(!guard);
    QVERIFY(waited);
    QVERIFY(readFile(msgPath("SPF26320.100")).contains("\r\nAST=2\r\n"));
    QTRY_VERIFY(server->received().endsWith("!/ADDON!\r\n"));
}

void TestReportForm::submittedUpdateCarriesTheMark()
{
    auto server = Loopback::start(LoopbackServer::Mode::Normal);
    m_ini->Prt = QString::number(server->port());
    writeReport("R9", "CON=1\r\nBRE=1\r\n", 9);
    frmZelvatcts *f = open("R9");
    QTest::mouseClick(f->cmdSave, Qt::LeftButton); // Update
    QTest::mouseClick(f->cmdSubmit, Qt::LeftButton);
    QTRY_VERIFY(server->received().contains("<AOSUB>SPF-001 / MED / Springfield -- UPDATE</AOSUB>"));
    QVERIFY(server->received().contains("DETL=Fall -- UPDATE for R9/261115, 0930\\nfirst\\nsecond -- AGE"));
}

void TestReportForm::misbehavingServerNeverFreezesTheWindow_data()
{
    QTest::addColumn<int>("mode");
    QTest::newRow("silent") << int(LoopbackServer::Mode::Silent);
    QTest::newRow("drops after the envelope") << int(LoopbackServer::Mode::Drop);
    QTest::newRow("answers garbage") << int(LoopbackServer::Mode::Garbage);
    QTest::newRow("floods 10 MB") << int(LoopbackServer::Mode::Flood);
}

void TestReportForm::misbehavingServerNeverFreezesTheWindow()
{
    // While the session waits for a prompt that never comes, the window keeps handling events
    // (the clock ticks, the operator can close it); closing it leaves the report Ready.
    QFETCH(int, mode);
    auto server = Loopback::start(LoopbackServer::Mode(mode));
    m_ini->Prt = QString::number(server->port());
    frmZelvatcts *f = open("NEW");
    QPointer<frmZelvatcts> guard(f);
    fillLgovReport(f);
    int ticks = 0;
    QTimer ui;
    connect(&ui, &QTimer::timeout, [&] { ++ticks; });
    ui.start(50);
    QTimer::singleShot(1500, [&] {
        if (guard)
            guard->close();
    });
    QTest::mouseClick(f->cmdSubmit, Qt::LeftButton);
    QTRY_VERIFY(!guard);
    QVERIFY2(ticks >= 10, qPrintable(QString::number(ticks))); // about 30 in 1.5 s; a frozen window gives none
    const QByteArray file = readFile(msgPath("SPF26320.100"));
    QVERIFY(file.contains("\r\nAST=2\r\n"));
    QVERIFY(file.contains("\r\n[END]\r\n"));
}

// --- layout ---------------------------------------------------------------------------------

void TestReportForm::layoutFollowsTheWidth()
{
    FormLayout a = FormLayout::design();
    FormLayout b = FormLayout::design();
    QVERIFY(a.resize(FormLayout::DesignWidth, FormLayout::DesignHeight, 300));
    QVERIFY(b.resize(FormLayout::DesignWidth + 2000, FormLayout::DesignHeight + 500, 300));
    QCOMPARE(b.Frame2.left - a.Frame2.left, 1000.0);
    QCOMPARE(b.Frame1.width - a.Frame1.width, 1000.0);
    QCOMPARE(b.Frame2.width - a.Frame2.width, 1000.0);
    QCOMPARE(b.Frame3.width - a.Frame3.width, 2000.0);
    QCOMPARE(b.SSTab1.height - a.SSTab1.height, 500.0);
    QCOMPARE(b.cmdClose.left - a.cmdClose.left, 2000.0);
    QCOMPARE(b.Label20.left, b.Frame2.left);
    QCOMPARE(b.Label22.width, b.Frame1.width);
    QCOMPARE(b.txtHeader[7].width, b.Frame3.width - b.txtHeader[7].left - 200);
    QCOMPARE(b.txtLaw[0].width, b.SSTab1.width - b.txtLaw[0].left - 400);
    for (int i = 2; i < 6; ++i)
        QCOMPARE(b.txtLaw[i].width, a.txtLaw[i].width);
    // At the design size the layout is what was designed.
    const FormLayout design = FormLayout::design();
    QCOMPARE(a.Frame2.left, design.Frame2.left);
    QCOMPARE(a.Frame1.width, design.Frame1.width);
    QCOMPARE(a.cmdSubmit.left, design.cmdSubmit.left);
}

void TestReportForm::layoutBelowTheMinimumDoesNothing()
{
    FormLayout f = FormLayout::design();
    QVERIFY(f.resize(15000, 12000, 300));
    const double frame2 = f.Frame2.left;
    const double tab = f.SSTab1.height;
    QVERIFY(!f.resize(3999, 12000, 300));
    QVERIFY(!f.resize(15000, 7749, 300));
    QCOMPARE(f.Frame2.left, frame2);
    QCOMPARE(f.SSTab1.height, tab);
}

void TestReportForm::formResizeMovesTheWidgets()
{
    frmZelvatcts *f = open("NEW");
    const int frame2 = f->Frame2->x();
    const int lawPlate = f->txtLaw[4]->width();
    const int dpi = f->logicalDpiX();
    f->resize(f->width() + qRound(2000.0 * dpi / 1440), f->height());
    QVERIFY(qAbs(f->Frame2->x() - frame2 - qRound(1000.0 * dpi / 1440)) <= 1);
    QCOMPARE(f->txtLaw[4]->width(), lawPlate);
    const int small = f->Frame2->x();
    f->resize(qRound(3000.0 * dpi / 1440), f->height());
    QCOMPARE(f->Frame2->x(), small);
}

QTEST_MAIN(TestReportForm)
#include "tst_report_form.moc"
