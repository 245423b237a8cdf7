// The dialogs driven with key clicks offscreen: the station identification rules, the
// preferences with their link test against an in-process server, the about box, the note.

#include "common/Capture.h"
#include "common/Loopback.h"
#include "dialogs/frmAbout.h"
#include "dialogs/frmNote.h"
#include "dialogs/frmStationID.h"
#include "link/ServerSession.h"
#include "dialogs/frmZelvatPref.h"
#include "settings/ZelvatIni.h"
#include "support/CommonConst.h"
#include "support/RegistryValue.h"

#include <QApplication>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

class TestDialogs : public QObject {
    Q_OBJECT

private slots:
    void init();

    void stationFieldsAreFilled();
    void stationTypingRules_data();
    void stationTypingRules();
    void stationNameIsProperCasedOnLeaving();
    void stationOkHighlightsEveryEmptyField();
    void stationEscapeActsAsOk();
    void stationEventNumberThatIsNoCounterIsRefused_data();
    void stationEventNumberThatIsNoCounterIsRefused();

    void preferencesLoadAndOk();
    void preferencesRefuseBadNumbers_data();
    void preferencesRefuseBadNumbers();
    void preferencesEmptyFieldsAndCancel();
    void preferencesLinkTest();
    void preferencesLinkTestAgainstTheLoopbackServer();

    void aboutBox();
    void registryNumberText_data();
    void registryNumberText();
    void noteClosesByItself();
    void noteCalledAgainClosesWithTheInnerCall();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ZelvatIni> m_ini;
};

static const QColor kPaleYellow(255, 255, 128);

void TestDialogs::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_ini = std::make_unique<ZelvatIni>(m_dir->path() + "/Zelvatcts.ini");
    m_ini->Nam = "Pat Smith";
    m_ini->Uid = "KN1ABC";
    m_ini->Loc = "EOC";
    m_ini->Lid = "SPF";
    m_ini->Eno = 7;
    m_ini->Cty = "Springfield";
}

void TestDialogs::stationFieldsAreFilled()
{
    frmStationID d(*m_ini);
    QCOMPARE(d.windowTitle(), QString("Zelvat Station ID"));
    QCOMPARE(d.Label4->text(), QString("Enter or confirm your name, user ID, and this location.  Press OK when done."));
    const QStringList shown = {"Pat Smith", "KN1ABC", "EOC", "SPF", "0007", "Springfield"};
    for (int i = 0; i < 6; ++i)
        QCOMPARE(d.txtSID[i]->text(), shown[i]);
}

void TestDialogs::stationTypingRules_data()
{
    QTest::addColumn<int>("field");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("shown");
    QTest::newRow("user id in capitals") << 1 << "kn1abc" << "KN1ABC";
    QTest::newRow("! and @ swallowed") << 1 << "a!b@c" << "ABC";
    QTest::newRow("location id three characters") << 3 << "abcd" << "ABC";
    QTest::newRow("digits only") << 4 << "12ab3" << "123";
    QTest::newRow("location takes anything") << 2 << "eoc #2!" << "eoc #2!";
}

void TestDialogs::stationTypingRules()
{
    QFETCH(int, field);
    QFETCH(QString, typed);
    QFETCH(QString, shown);
    frmStationID d(*m_ini);
    d.txtSID[field]->clear();
    QTest::keyClicks(d.txtSID[field], typed);
    QCOMPARE(d.txtSID[field]->text(), shown);
    QTest::keyClick(d.txtSID[field], Qt::Key_Backspace);
    QCOMPARE(d.txtSID[field]->text(), shown.chopped(1));
}

void TestDialogs::stationNameIsProperCasedOnLeaving()
{
    frmStationID d(*m_ini);
    d.txtSID[0]->setText("pat SMITH");
    d.txtSID[5]->setText("san jose");
    d.txtSID[2]->setText("eoc main");
    for (int i : {0, 5, 2}) {
        QFocusEvent leave(QEvent::FocusOut, Qt::TabFocusReason);
        QApplication::sendEvent(d.txtSID[i], &leave);
    }
    QCOMPARE(d.txtSID[0]->text(), QString("Pat Smith"));
    QCOMPARE(d.txtSID[5]->text(), QString("San Jose"));
    QCOMPARE(d.txtSID[2]->text(), QString("eoc main"));
}

void TestDialogs::stationOkHighlightsEveryEmptyField()
{
    frmStationID d(*m_ini);
    d.show();
    d.txtSID[1]->setText("   ");
    d.txtSID[3]->clear();
    d.txtSID[0]->setText("Lee");
    QTest::mouseClick(d.cmdOK, Qt::LeftButton);
    QVERIFY(d.isVisible());
    QCOMPARE(d.txtSID[1]->palette().color(QPalette::Base), kPaleYellow);
    QCOMPARE(d.txtSID[3]->palette().color(QPalette::Base), kPaleYellow);
    QCOMPARE(d.txtSID[0]->palette().color(QPalette::Base), QApplication::palette().color(QPalette::Base));
    QCOMPARE(m_ini->Nam, QString("Pat Smith")); // nothing stored
    QTest::keyClicks(d.txtSID[3], "x");
    QCOMPARE(d.txtSID[3]->palette().color(QPalette::Base), QApplication::palette().color(QPalette::Base));
}

void TestDialogs::stationEscapeActsAsOk()
{
    frmStationID d(*m_ini);
    d.show();
    d.txtSID[2]->clear();
    QTest::keyClick(d.txtSID[0], Qt::Key_Escape);
    QVERIFY(d.isVisible()); // an empty field keeps it open
    QTest::keyClicks(d.txtSID[2], "  Field Post 3 ");
    d.txtSID[4]->setText("0042");
    QTest::keyClick(d.txtSID[2], Qt::Key_Escape);
    QVERIFY(!d.isVisible());
    QCOMPARE(d.result(), int(QDialog::Accepted));
    QCOMPARE(m_ini->Loc, QString("Field Post 3"));
    QCOMPARE(m_ini->Eno, 42);
}

void TestDialogs::stationEventNumberThatIsNoCounterIsRefused_data()
{
    QTest::addColumn<QString>("number");
    QTest::addColumn<QString>("said");
    QTest::newRow("beyond 32 bits") << "99999999999" << "The Next Event No 99999999999 is too large";
    QTest::newRow("pasted letters") << "12a" << "The Next Event No \"12a\" is not a number";
}

void TestDialogs::stationEventNumberThatIsNoCounterIsRefused()
{
    QFETCH(QString, number);
    QFETCH(QString, said);
    Capture capture;
    frmStationID d(*m_ini);
    d.show();
    d.txtSID[0]->setText("Lee Chan");
    d.txtSID[4]->setText(number); // as the mouse's paste puts it there
    QTest::mouseClick(d.cmdOK, Qt::LeftButton);
    QVERIFY(d.isVisible());
    QCOMPARE(capture.notices.size(), 1);
    QVERIFY2(capture.notices[0].text.startsWith(said), qPrintable(capture.notices[0].text));
    QCOMPARE(m_ini->Eno, 7); // nothing stored, not even the fields that were right
    QCOMPARE(m_ini->Nam, QString("Pat Smith"));
}

void TestDialogs::preferencesLoadAndOk()
{
    m_ini->Hst = "radio.local";
    m_ini->Prt = "9400";
    m_ini->Nto = 2500;
    m_ini->Enc = "NONE";
    frmZelvatPref d(*m_ini, nullptr);
    QCOMPARE(d.windowTitle(), QString("Preferences"));
    QCOMPARE(d.SSTab1->currentIndex(), 0);
    QVERIFY(d.nframe[0]->isEnabled());
    QVERIFY(!d.nframe[1]->isEnabled());
    QCOMPARE(d.txtServer[2]->text(), QString("2500"));
    QCOMPARE(d.cboEncType->currentText(), QString("NONE"));
    d.SSTab1->setCurrentIndex(1);
    QVERIFY(d.nframe[1]->isEnabled());
    d.txtServer[0]->setText("127.0.0.1");
    d.txtServer[2]->setText("7000");
    d.cboEncType->setCurrentIndex(1);
    QTest::mouseClick(d.cmdOK, Qt::LeftButton);
    QCOMPARE(d.result(), int(QDialog::Accepted));
    QCOMPARE(m_ini->Hst, QString("127.0.0.1"));
    QCOMPARE(m_ini->Nto, qint16(7000));
    QCOMPARE(m_ini->Enc, QString("BASE64"));

    m_ini->Enc = "base64"; // matches no entry: none is selected
    frmZelvatPref e(*m_ini, nullptr);
    QCOMPARE(e.cboEncType->currentText(), QString());
}

void TestDialogs::preferencesRefuseBadNumbers_data()
{
    QTest::addColumn<QString>("port");
    QTest::addColumn<QString>("timeout");
    QTest::newRow("letters in the port") << "93x4" << "5000";
    QTest::newRow("port too large") << "70000" << "5000";
    QTest::newRow("letters in the time-out") << "9334" << "five";
    QTest::newRow("time-out beyond 16 bits") << "9334" << "40000";
}

void TestDialogs::preferencesRefuseBadNumbers()
{
    QFETCH(QString, port);
    QFETCH(QString, timeout);
    Capture capture;
    frmZelvatPref d(*m_ini, nullptr);
    d.show();
    d.txtServer[0]->setText("elsewhere");
    d.txtServer[1]->setText(port);
    d.txtServer[2]->setText(timeout);
    QTest::mouseClick(d.cmdOK, Qt::LeftButton);
    QVERIFY(d.isVisible());
    QCOMPARE(capture.notices.size(), 1);
    QCOMPARE(m_ini->Hst, QString("127.0.0.1")); // nothing half-changed
    QCOMPARE(m_ini->Prt, QString("9334"));
    QCOMPARE(m_ini->Nto, qint16(5000));
}

void TestDialogs::preferencesEmptyFieldsAndCancel()
{
    frmZelvatPref d(*m_ini, nullptr);
    d.show();
    d.txtServer[0]->clear();
    d.txtServer[2]->clear();
    QTest::mouseClick(d.cmdOK, Qt::LeftButton);
    QVERIFY(d.isVisible());
    QCOMPARE(d.SSTab1->currentIndex(), 1);
    QCOMPARE(d.txtServer[0]->palette().color(QPalette::Base), QColor(0xFF, 0xFF, 0x80));
    QCOMPARE(d.txtServer[2]->palette().color(QPalette::Base), QColor(0xFF, 0xFF, 0x80));
    QTest::keyClicks(d.txtServer[0], "h");
    QCOMPARE(d.txtServer[0]->palette().color(QPalette::Base), QApplication::palette().color(QPalette::Base));
    QTest::mouseClick(d.cmdCancel, Qt::LeftButton);
    QCOMPARE(d.result(), int(QDialog::Rejected));
    QCOMPARE(m_ini->Hst, QString("127.0.0.1"));
}

void TestDialogs::preferencesLinkTest()
{
    Capture capture;
    auto server = Loopback::start(LoopbackServer::Mode::Silent); // accepts and ignores data: still a pass
    ServerSession session(m_ini.get());
    frmZelvatPref d(*m_ini, &session);
    d.show();
    d.SSTab1->setCurrentIndex(1);
    d.txtServer[1]->setText(QString::number(server->port()));
    QTest::mouseClick(d.cmdTest, Qt::LeftButton);
    QCOMPARE(capture.noticeTexts(), QStringList{"Tndirect link test passed!"});
    QTRY_COMPARE(server->received(), QByteArray("<test>This is an Zelvat test msg</test>"));
    QCOMPARE(m_ini->Prt, QString("9334")); // the kept port is back

    const quint16 closedPort = Loopback::refusedPort();
    d.txtServer[1]->setText(QString::number(closedPort));
    QTest::mouseClick(d.cmdTest, Qt::LeftButton);
    QCOMPARE(capture.notices.size(), 2);
    QCOMPARE(capture.notices[1].text, QString("Link Test to Tndirect failed.  Check the following:\r\n1. Confirm that Tndirect "
                                              "is running\r\n2. Confirm the Host Name and Port Number match Tndirect"));
    QCOMPARE(capture.notices[1].icon, Notice::Exclamation);
    QTest::mouseClick(d.cmdCancel, Qt::LeftButton);
    QCOMPARE(m_ini->Prt, QString("9334"));
}

void TestDialogs::preferencesLinkTestAgainstTheLoopbackServer()
{
    QProcess sim;
    sim.start(TNDIRECT_SIM, {"--port", "0"});
    QVERIFY(sim.waitForReadyRead(10000));
    const QByteArray line = sim.readLine().trimmed(); // "listening on 127.0.0.1:PORT"
    const QString port = QString::fromLatin1(line.mid(line.lastIndexOf(':') + 1));
    QVERIFY2(port.toInt() > 0, line.constData());

    Capture capture;
    m_ini->Hst = "radio.invalid";
    ServerSession session(m_ini.get());
    frmZelvatPref d(*m_ini, &session);
    d.show();
    d.SSTab1->setCurrentIndex(1);
    d.txtServer[0]->setText("127.0.0.1");
    d.txtServer[1]->setText(port);
    QTest::mouseClick(d.cmdTest, Qt::LeftButton);
    QCOMPARE(capture.noticeTexts(), QStringList{"Tndirect link test passed!"});
    QCOMPARE(m_ini->Hst, QString("radio.invalid")); // the settings in force come back
    QCOMPARE(m_ini->Prt, QString("9334"));

    sim.kill();
    QVERIFY(sim.waitForFinished(10000));
    QTest::mouseClick(d.cmdTest, Qt::LeftButton); // nobody listens on that port now
    QCOMPARE(capture.notices.size(), 2);
    QVERIFY(capture.notices[1].text.startsWith("Link Test to Tndirect failed."));
    QTest::mouseClick(d.cmdCancel, Qt::LeftButton);
    QCOMPARE(m_ini->Hst, QString("radio.invalid")); // Cancel after the tests keeps the old host and port
    QCOMPARE(m_ini->Prt, QString("9334"));
}

void TestDialogs::aboutBox()
{
    frmAbout d;
    QCOMPARE(d.windowTitle(), QString("About Zelvat Call Taking System"));
    QCOMPARE(d.lblVersion->text(), "Version " + Zelvat::versionText());
    QCOMPARE(d.lblTitle->text(), QString("Zelvat Call Taking System"));
    QVERIFY(d.lblDescription->text().startsWith("Copyright "));
    QVERIFY(d.lblDescription->text().endsWith("\r\nAll rights reserved."));
    QCOMPARE(d.cmdSysInfo->text(), QString("&System"));
    QCOMPARE(d.cmdLicenseAgreement->text(), QString("License"));
}

void TestDialogs::registryNumberText_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("plain") << QByteArray("\x10\x00\x00\x00", 4) << "16"; // "0" "0" "0" "10"
    QTest::newRow("no padding kept") << QByteArray("\x0A\x01\x00\x00", 4) << "26";
    QTest::newRow("full bytes") << QByteArray("\xFF\xFF\x00\x00", 4) << "65535";
    QTest::newRow("one") << QByteArray("\x01\x00\x00\x00", 4) << "1";
}

void TestDialogs::registryNumberText()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    QCOMPARE(registryDwordText(bytes), text);
}

void TestDialogs::noteClosesByItself()
{
    QPointer<frmNote> note = frmNote::instance();
    QVERIFY(note->isVisible());
    // A clock elsewhere in the program keeps ticking while the note waits, and sees it up.
    int ticks = 0;
    QStringList seen;
    QTimer clock;
    connect(&clock, &QTimer::timeout, [&] {
        ++ticks;
        if (note && note->isVisible())
            seen << note->lblNote->text();
    });
    clock.start(50);
    note->PostNote("Message queued");
    clock.stop();
    QVERIFY(ticks > 0);
    QVERIFY(!seen.isEmpty());
    QCOMPARE(seen.last(), QString("Message queued"));
    QTRY_VERIFY(!note);
}

void TestDialogs::noteCalledAgainClosesWithTheInnerCall()
{
    QPointer<frmNote> note = frmNote::instance();
    bool innerReturned = false;
    bool visibleAfterInner = true;
    QString textDuringInner;
    // During the first note's wait, a second note: it takes the label, and when its own wait
    // ends the form goes, although the first wait is still running.
    QTimer::singleShot(100, [&] {
        QTimer::singleShot(100, [&] { textDuringInner = note ? note->lblNote->text() : QString(); });
        note->PostNote("Second");
        innerReturned = true;
        visibleAfterInner = note && note->isVisible();
    });
    note->PostNote("First");
    QVERIFY(innerReturned);
    QCOMPARE(textDuringInner, QString("Second"));
    QVERIFY(!visibleAfterInner);
    QTRY_VERIFY(!note);
}

QTEST_MAIN(TestDialogs)
#include "tst_dialogs.moc"
