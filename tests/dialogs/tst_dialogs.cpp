// The dialogs driven with key clicks offscreen: the station identification rules, the
// preferences with their outbox tab and their link test against a loopback server, the note.
// And every caption the operator reads fits its control: each window and each tab of the report
// form opened at its default size, and for every label, button, check box and option button
// shown, the width its text takes in its font (and, for a wrapped label, the height) against the
// room the control gives it. A control inside a titled frame stays clear of the frame's title
// line, and a button stays apart from the boxes beside it.

#include "common/Capture.h"
#include "common/Csv.h"
#include "common/WindowHome.h"
#include "dialogs/frmAbout.h"
#include "dialogs/frmCommLog.h"
#include "dialogs/frmNote.h"
#include "dialogs/frmStationID.h"
#include "dialogs/frmZelvatPref.h"
#include "link/ServerSession.h"
#include "store/ReportVersions.h"
#include "report_form/frmZelvatcts.h"
#include "support/CommonConst.h"

#include <QComboBox>
#include <QDateTimeEdit>
#include <QStandardItemModel>
#include <QTableView>
#include <QGroupBox>
#include <QImage>
#include <QRadioButton>
#include <QSpinBox>
#include <QStyle>
#include <QTimer>

namespace {

// What the control needs for its text, against what it has: empty when it fits.
QString misfit(QWidget *w)
{
    const QFontMetrics fm = w->fontMetrics();
    const auto metric = [w](QStyle::PixelMetric m) { return w->style()->pixelMetric(m, nullptr, w); };
    int need = 0, room = w->width();
    QString text;
    if (auto *label = qobject_cast<QLabel *>(w)) {
        text = label->text();
        if (text.isEmpty())
            return {};
        if (label->wordWrap()) {
            need = label->heightForWidth(label->width());
            return need > label->height() ? QStringLiteral("wrapped text needs %1 px of height, has %2").arg(need).arg(label->height())
                                          : QString();
        }
        // As the label lays its text out: rich or plain, every line, with its margin, indent and frame.
        need = label->sizeHint().width();
    } else if (auto *button = qobject_cast<QAbstractButton *>(w)) {
        text = button->text().remove(QLatin1Char('&'));
        // As the style sizes the control for its text: a button's margin and frame on both sides, a
        // box's or an option's indicator and the space after it.
        if (qobject_cast<QPushButton *>(w))
            need = text.isEmpty() ? 0 : metric(QStyle::PM_ButtonMargin) + 2 * metric(QStyle::PM_DefaultFrameWidth);
        else if (qobject_cast<QCheckBox *>(w))
            need = metric(QStyle::PM_IndicatorWidth) + metric(QStyle::PM_CheckBoxLabelSpacing);
        else if (qobject_cast<QRadioButton *>(w))
            need = metric(QStyle::PM_ExclusiveIndicatorWidth) + metric(QStyle::PM_RadioButtonLabelSpacing);
        else
            return {};
        need += text.isEmpty() ? 0 : fm.horizontalAdvance(text);
    }
    return need > room ? QStringLiteral("\"%1\" needs %2 px, has %3").arg(text).arg(need).arg(room) : QString();
}

// The row of a titled frame's top line, as the style draws it: the frame is painted alone and the
// first row that differs from the background at its right end (clear of the title) is the line.
int frameLine(QGroupBox *frame)
{
    QImage image(frame->size(), QImage::Format_ARGB32);
    image.fill(frame->palette().color(QPalette::Window));
    frame->render(&image, QPoint(), QRegion(), QWidget::DrawWindowBackground);
    const int x = frame->width() - 12;
    for (int y = 0; y < image.height(); ++y) {
        if (image.pixel(x, y) != image.pixel(x, 0))
            return y;
    }
    return -1;
}

// A control on the top line of the titled frame it is in. For a label, what counts is the ink of
// its text; for a button or a check box, the whole control.
QString onFrameLine(QWidget *w)
{
    auto *frame = qobject_cast<QGroupBox *>(w->parentWidget());
    auto *label = qobject_cast<QLabel *>(w);
    if (!frame || frame->title().isEmpty() || !(label || qobject_cast<QAbstractButton *>(w))
        || (label && (label->wordWrap() || label->text().isEmpty())))
        return {};
    const int line = frameLine(frame);
    QRect drawn = w->geometry();
    if (label) {
        const QFontMetrics fm = label->fontMetrics();
        const int baseline = drawn.top() + (drawn.height() - fm.height()) / 2 + fm.ascent();
        const QRect ink = fm.tightBoundingRect(label->text());
        drawn = QRect(drawn.left(), baseline + ink.top(), drawn.width(), ink.height());
    }
    if (drawn.top() <= line && line <= drawn.bottom())
        return QStringLiteral("on the frame line of \"%1\" (at %2, the control spans %3 to %4)")
            .arg(frame->title()).arg(line).arg(drawn.top()).arg(drawn.bottom());
    return {};
}

// A button that touches a box beside it: at least two clear pixels between them, so that the
// button's edge and the box's are seen apart.
QString touchesABox(QWidget *w)
{
    if (!qobject_cast<QPushButton *>(w) || !w->parentWidget())
        return {};
    for (QObject *o : w->parentWidget()->children()) {
        auto *box = qobject_cast<QWidget *>(o);
        if (box && box->isVisibleTo(w->window()) && (box->inherits("QLineEdit") || box->inherits("QPlainTextEdit"))
            && w->geometry().adjusted(-2, -2, 2, 2).intersects(box->geometry()))
            return QStringLiteral("touches the box %1").arg(box->objectName());
    }
    return {};
}

// What is wrong with the controls of `window` shown now, one line each.
QString misfits(QWidget *window)
{
    QStringList found;
    for (QWidget *w : window->findChildren<QWidget *>()) {
        if (!w->isVisibleTo(window))
            continue;
        const QString name = w->objectName().isEmpty() ? QString::fromLatin1(w->metaObject()->className()) : w->objectName();
        for (const QString &why : {misfit(w), onFrameLine(w), touchesABox(w)})
            if (!why.isEmpty())
                found << name + QStringLiteral(": ") + why;
    }
    return found.join(QLatin1Char('\n'));
}

} // namespace

// A box highlighted as missing or wrong, pale yellow.
static bool isYellow(const QWidget *box)
{
    return box->palette().color(QPalette::Base) == QColor(255, 255, 128);
}

static const QByteArray kStation = "Nam=Pat Smith\r\nUid=KN1ABC\r\nLoc=EOC\r\nLid=SPF\r\nEno=7\r\nCty=Springfield\r\n";

class TestDialogs : public QObject {
    Q_OBJECT

private slots:
    void stationTyping_data()
    {
        QTest::addColumn<int>("field");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("shown"); // after leaving the box
        QTest::newRow("user id in capitals, ! and @ swallowed") << 1 << "kn1!a@bc" << "KN1ABC";
        QTest::newRow("location id three characters") << 3 << "abcd" << "ABC";
        QTest::newRow("digits only") << 4 << "12ab3" << "123";
        QTest::newRow("name in proper case, as typed") << 0 << "pat SMITH #2!" << "Pat Smith #2!";
    }

    void stationTyping()
    {
        QFETCH(int, field);
        QFETCH(QString, typed);
        QFETCH(QString, shown);
        WindowHome home(kStation);
        frmStationID d(home.station());
        QCOMPARE(d.txtSID[4]->text(), QString("0007")); // the counter shown with four digits
        d.txtSID[field]->clear();
        QTest::keyClicks(d.txtSID[field], typed);
        leaveBox(d.txtSID[field]);
        QCOMPARE(d.txtSID[field]->text(), shown);
        QTest::keyClick(d.txtSID[field], Qt::Key_Backspace);
        QCOMPARE(d.txtSID[field]->text(), shown.chopped(1));
    }

    void stationOk_data()
    {
        QTest::addColumn<QStringList>("edits"); // "FIELD=text", as typed or pasted
        QTest::addColumn<QString>("key");       // OK pressed with the mouse, or Escape typed
        QTest::addColumn<QList<int>>("yellow"); // fields highlighted
        QTest::addColumn<QString>("said");      // the start of the message, if any
        QTest::addColumn<bool>("stored");

        QTest::newRow("blank and empty fields are highlighted") << QStringList{"1=   ", "3="} << "OK" << QList<int>{1, 3}
                                                                << "" << false;
        QTest::newRow("Escape acts as OK") << QStringList{"2=  Field Post 3 ", "4=0042"} << "Escape" << QList<int>{} << "" << true;
        QTest::newRow("Escape with an empty field stays") << QStringList{"2="} << "Escape" << QList<int>{2} << "" << false;
        QTest::newRow("beyond the event numbers there are") << QStringList{"4=32768"} << "OK" << QList<int>{}
                                                            << "The Next Event No 32768 is too large" << false;
        QTest::newRow("pasted letters") << QStringList{"4=12a"} << "OK" << QList<int>{} << "The Next Event No \"12a\" is not a number"
                                        << false;
    }

    void stationOk()
    {
        QFETCH(QStringList, edits);
        QFETCH(QString, key);
        QFETCH(QList<int>, yellow);
        QFETCH(QString, said);
        QFETCH(bool, stored);
        WindowHome home(kStation);
        Capture capture;
        frmStationID d(home.station());
        d.show();
        d.txtSID[0]->setText("Lee Chan");
        for (const QString &e : edits)
            d.txtSID[e.section('=', 0, 0).toInt()]->setText(e.section('=', 1)); // as the mouse's paste puts it there
        if (key == "OK")
            QTest::mouseClick(d.cmdOK, Qt::LeftButton);
        else
            QTest::keyClick(d.txtSID[2], Qt::Key_Escape);
        QCOMPARE(d.isVisible(), !stored);
        for (int i = 0; i < 6; ++i)
            QCOMPARE(isYellow(d.txtSID[i]), yellow.contains(i));
        QCOMPARE(capture.notices.size(), said.isEmpty() ? 0 : 1);
        QVERIFY2(said.isEmpty() || capture.notices[0].text.startsWith(said), qPrintable(capture.noticeTexts().join('|')));
        // Nothing is stored unless everything is; then trimmed, the counter as a number.
        const ZelvatIni &s = home.station();
        QCOMPARE((QStringList{s.Nam, s.Loc, QString::number(s.Eno)}),
                 (stored ? QStringList{"Lee Chan", "Field Post 3", "42"} : QStringList{"Pat Smith", "EOC", "7"}));
        if (!yellow.isEmpty()) { // a key typed into a highlighted field takes the highlight away
            QTest::keyClicks(d.txtSID[yellow[0]], "x");
            QVERIFY(!isYellow(d.txtSID[yellow[0]]));
        }
    }

    void preferencesOk_data()
    {
        QTest::addColumn<QStringList>("server"); // host, port, time-out as typed
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<int>("said");           // message boxes
        QTest::addColumn<QList<int>>("yellow");  // server boxes highlighted

        QTest::newRow("kept") << QStringList{"radio.local", "9400", "7000"} << true << 0 << QList<int>{};
        // Which texts are numbers is the support suite's; here each box's range.
        QTest::newRow("port too large") << QStringList{"elsewhere", "70000", "5000"} << false << 1 << QList<int>{};
        QTest::newRow("time-out beyond 16 bits") << QStringList{"elsewhere", "9334", "40000"} << false << 1 << QList<int>{};
        QTest::newRow("empty boxes") << QStringList{"", "9334", ""} << false << 0 << QList<int>{0, 2};
    }

    void preferencesOk()
    {
        QFETCH(QStringList, server);
        QFETCH(bool, accepted);
        QFETCH(int, said);
        QFETCH(QList<int>, yellow);
        WindowHome home("Enc=NONE\r\n");
        Capture capture;
        OutboxFile::Settings outbox; // the Outbox tab's (Alt+O), taken with the rest or not at all
        ReportVersions::Limits versions; // the Versions tab's (Alt+V), the same way
        frmZelvatPref d(home.station(), nullptr, nullptr, &outbox, &versions);
        d.show();
        for (int i = 0; i < 3; ++i)
            d.txtServer[i]->setText(server[i]);
        d.cboEncType->setCurrentIndex(1);
        d.SSTab1->setCurrentIndex(2);
        QCOMPARE(d.SSTab1->tabText(2) + QString::number(d.txtFirstRetry->value()), QString("&Outbox60"));
        QTest::keyClick(d.chkAutoResend, Qt::Key_Space);
        QVERIFY(!d.txtFirstRetry->isEnabled()); // no interval without the automatic resend
        d.txtFirstRetry->setValue(30);
        QCOMPARE(d.SSTab1->tabText(3) + QString::number(d.txtKeepCount->value()) + "/" + QString::number(d.txtKeepDays->value()),
                 QString("&Versions50/90"));
        d.txtKeepCount->setValue(5);
        d.txtKeepDays->setValue(7);
        QTest::mouseClick(d.cmdOK, Qt::LeftButton);
        QCOMPARE(d.isVisible(), !accepted);
        QCOMPARE(capture.notices.size(), said);
        for (int i : yellow)
            QVERIFY(isYellow(d.txtServer[i]));
        if (!yellow.isEmpty())
            QCOMPARE(d.SSTab1->currentIndex(), 1);
        // Nothing is half-changed: every setting is taken, or none.
        const ZelvatIni &s = home.station();
        const QStringList kept = accepted ? server + QStringList{"BASE64"} : QStringList{"127.0.0.1", "9334", "5000", "NONE"};
        QCOMPARE((QStringList{s.Hst, s.Prt, QString::number(s.Nto), s.Enc}), kept);
        QCOMPARE(outbox, (accepted ? OutboxFile::Settings{false, 30} : OutboxFile::Settings{}));
        QCOMPARE(versions, (accepted ? ReportVersions::Limits{5, 7} : ReportVersions::Limits{}));
    }

    void preferencesLinkTest()
    {
        // The test runs against the host and port typed, then the settings in force come back.
        WindowHome home("Hst=radio.invalid\r\n");
        Capture capture;
        auto server = Loopback::start();
        ServerSession session(&home.station());
        frmZelvatPref d(home.station(), &session);
        d.show();
        d.SSTab1->setCurrentIndex(1);
        d.txtServer[0]->setText("127.0.0.1");
        for (const quint16 port : {server->port(), Loopback::refusedPort()}) {
            d.txtServer[1]->setText(QString::number(port));
            QTest::mouseClick(d.cmdTest, Qt::LeftButton);
            QCOMPARE(home.station().Hst, QString("radio.invalid"));
            QCOMPARE(home.station().Prt, QString("9334"));
        }
        QCOMPARE(capture.noticeTexts(), (QStringList{"Tndirect link test passed!",
                                                     "Link Test to Tndirect failed.  Check the following:\r\n1. Confirm that "
                                                     "Tndirect is running\r\n2. Confirm the Host Name and Port Number match Tndirect"}));
        QCOMPARE(capture.notices[1].icon, Notice::Exclamation);
        QTRY_COMPARE(server->received(), QByteArray("<test>This is an Zelvat test msg</test>"));
    }

    void noteClosesByItself()
    {
        // A second note during the first one's wait takes the label, and when its own wait ends the
        // note goes, although the first wait is still running; the rest of the program runs on.
        QPointer<frmNote> note = frmNote::instance();
        QVERIFY(note->isVisible());
        QStringList seen;
        QTimer clock;
        connect(&clock, &QTimer::timeout, [&] {
            if (note && note->isVisible())
                seen << note->lblNote->text();
        });
        clock.start(100);
        QTimer::singleShot(250, &clock, [&] { note->PostNote("Second"); });
        note->PostNote("First");
        QVERIFY(!note || !note->isVisible()); // closed by the second note's end
        QVERIFY2(seen.value(0) == "First" && seen.contains("Second"), qPrintable(seen.join(',')));
        QTRY_VERIFY(!note);
    }

    void commLogShowsSortsAndSavesThePeriod()
    {
        // The last 12 hours at first, a damaged line counted; saved in the order the table is
        // sorted in; the incident name kept for the next time; Escape closes.
        WindowHome home;
        const auto line = [](int minutesAgo, const char *eid) {
            return CommLog::line({ProgramHome::FixedNow.addSecs(-60 * minutesAgo), eid, "1", "S", "h:1", "sent", "", "Pat", "KN1", "EOC"});
        };
        writeFile(CommLog::path(home.path()), line(13 * 60, "OLD") + line(120, "B") + "cut\r\n" + line(60, "A"));
        frmCommLog dialog(home.path(), home.station());
        QCOMPARE(dialog.dtpFrom->dateTime(), ProgramHome::FixedNow.addSecs(-12 * 3600));
        QCOMPARE(dialog.lblCount->text(), "Tries: 2 (1 damaged line of the log passed over)");
        dialog.lvwTries->sortByColumn(0, Qt::DescendingOrder);
        const QString csv = home.path() + "/log.csv";
        frmCommLog::chooseSaveFile = [&](QWidget *, const QString &, const QString &) { return csv; };
        QTest::mouseClick(dialog.cmdSaveCsv, Qt::LeftButton);
        QList<QStringList> rows;
        QVERIFY(Csv::parse(QString::fromUtf8(readFile(csv).mid(3)), &rows) && rows.size() == 3);
        QVERIFY(rows[1][1] == "A" && rows[2][1] == "B");
        dialog.dtpFrom->setDateTime(ProgramHome::FixedNow.addSecs(-13 * 3600 - 60)); // the order chosen stays
        QCOMPARE(dialog.shownEntries().size(), 3);
        QCOMPARE(dialog.shownEntries().last().eventId, "OLD");
        dialog.txtIncident->setText("Flood 26");
        QTest::keyClick(&dialog, Qt::Key_Escape);
        QCOMPARE(CommLog::incidentName(), "Flood 26"); // kept as the dialog closed
        QCOMPARE(frmCommLog(home.path(), home.station()).txtIncident->text(), "Flood 26");
    }

    void everyWindowAtItsDefaultSize_data()
    {
        QTest::addColumn<int>("tab"); // of the report form, every type chosen so that every control is shown
        for (const char *w : {"main window", "station identification", "preferences", "about", "licence", "system information"})
            QTest::newRow(w) << -1;
        const char *tabs[] = {"medical", "fire", "law, with the contact request", "local government"};
        for (int tab = 0; tab < 4; ++tab)
            QTest::addRow("report form, %s", tabs[tab]) << tab;
    }

    void everyWindowAtItsDefaultSize()
    {
#ifdef Q_OS_WIN
        if (QGuiApplication::platformName() == QLatin1String("offscreen"))
            QSKIP("the offscreen platform on Windows measures text in stand-in fonts, not Windows' own");
#endif
        QFETCH(int, tab);
        WindowHome home;
        ServerSession session(&home.station());
        const std::map<QString, std::function<QWidget *()>> windows{
            {"main window", [&] { return home.startMainWindow().release(); }},
            {"station identification", [&] { return new frmStationID(home.station()); }},
            {"preferences", [&] { return new frmZelvatPref(home.station(), &session); }},
            {"about", [] { return new frmAbout; }},
            {"licence", [] { return new frmLicense; }},
            {"system information", [] { return new frmSysInfo; }}};
        std::unique_ptr<QWidget> window(tab < 0 ? windows.at(QTest::currentDataTag())() : nullptr);
        QWidget *shown = window.get();
        if (!shown) {
            frmZelvatcts *form = home.openForm("NEW");
            for (int i = 0; i < 4; ++i)
                form->cmdRtype_Click(i);
            form->SSTab1->setCurrentIndex(tab);
            shown = form;
        }
        shown->show();
        QVERIFY(QTest::qWaitForWindowExposed(shown));
        const QString found = misfits(shown);
        QVERIFY2(found.isEmpty(), qPrintable(found));
    }
};

QTEST_MAIN(TestDialogs)
#include "tst_dialogs.moc"
