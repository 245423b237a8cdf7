// The hand-over as the operator meets it in the windows, offscreen: the File and Edit menus'
// entries, Copy to the clipboard, Export and Import through their file choices, printing through
// the print dialog (which the test answers with a PDF file), the page setup, and the report
// form's Print button and its clipboard under the boxes' key rules.

#include "app/frmZelvatmain.h"
#include "common/Capture.h"
#include "common/Csv.h"
#include "common/SampleReport.h"
#include "common/WindowHome.h"
#include "report_form/frmZelvatcts.h"
#include "sheet/PageSetup.h"
#include "store/ReportCsv.h"
#include "ui/SheetPrinting.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QCheckBox>
#include <QClipboard>
#include <QGuiApplication>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPrinter>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QTest>
#include <QTreeView>

class TestHandOver : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void menuEntriesKeepTheirPlaces();
    void copyPutsTheSelectedRowsOnTheClipboard();
    void exportWritesTheChosenType_data();
    void exportWritesTheChosenType();
    void exportThatCannotBeSavedSaysSo();
    void importRefreshesTheListAndTellsOnce();
    void printGoesThroughThePrintDialog();
    void printSetupIsKeptAndUsed();
    void formPrintsWhatItShows();
    void formPasteFollowsTheBoxRules_data();
    void formPasteFollowsTheBoxRules();
    void formCopyAndCutWorkInFilteredBoxes();

private:
    // A clipboard key as a keyboard sends it: Ctrl and the letter, carrying its control character.
    static void controlKey(QWidget *w, Qt::Key key)
    {
        QKeyEvent press(QEvent::KeyPress, key, Qt::ControlModifier, QString(QChar(key - Qt::Key_A + 1)));
        QApplication::sendEvent(w, &press);
    }
    // Three Ready reports in Springfield, Riverside and Fairview (list order: F, R, S) and a Draft.
    std::unique_ptr<frmZelvatmain> start(WindowHome &home);
    void select(frmZelvatmain &w, const QList<int> &rows);
    QString m_printedTo; // the PDF file the print dialog stand-in chose
};

void TestHandOver::init()
{
    m_printedTo.clear();
    SheetPrinting::choosePrinter = [this](QPrinter &printer, QWidget *) {
        if (m_printedTo.isEmpty())
            return false; // the operator cancels
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(m_printedTo);
        return true;
    };
}

void TestHandOver::cleanup()
{
    QGuiApplication::clipboard()->clear();
}

std::unique_ptr<frmZelvatmain> TestHandOver::start(WindowHome &home)
{
    SampleReport::save(home.path(), {"CTY=Springfield"}, 1);
    SampleReport::save(home.path(), {"CTY=Riverside", "ISS=Fall, \"twice\""}, 2);
    SampleReport::save(home.path(), {"CTY=Fairview"}, 3);
    SampleReport::save(home.path(), {"CTY=Ashford", "AST=6"}, 4);
    auto w = home.startMainWindow();
    // The menus' shortcuts reach the active window only.
    w->activateWindow();
    if (!QTest::qWaitForWindowActive(w.get()))
        qFatal("the main window did not become active");
    return w;
}

void TestHandOver::select(frmZelvatmain &w, const QList<int> &rows)
{
    w.LV->clearSelection();
    for (int r : rows)
        w.LV->selectionModel()->select(w.listRows()->index(r, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
}

void TestHandOver::menuEntriesKeepTheirPlaces()
{
    WindowHome home;
    auto w = start(home);
    const QList<QAction *> menus = w->menuBar()->actions();
    QStringList file, edit;
    for (QAction *a : menus[0]->menu()->actions())
        file << (a->isSeparator() ? "-" : a->text() + (a->isEnabled() ? "" : " (grey)"));
    for (QAction *a : menus[1]->menu()->actions())
        edit << a->text() + (a->isEnabled() ? "" : " (grey)");
    QCOMPARE(file, (QStringList{"Export", "Import", "-", "Print Setup...", "Print... (grey)", "-", "Exit"}));
    QCOMPARE(edit, (QStringList{"Cut (grey)", "Copy (grey)", "Paste (grey)", "Delete"}));

    select(*w, {0});
    QVERIFY(w->mnuCopy->isEnabled() && w->mnuPrint->isEnabled());
    w->cmdFolder_Click(8); // a refill forgets the selection
    QVERIFY(!w->mnuCopy->isEnabled() && !w->mnuPrint->isEnabled());
}

void TestHandOver::copyPutsTheSelectedRowsOnTheClipboard()
{
    WindowHome home;
    auto w = start(home);
    select(*w, {2, 0}); // shown order wins over the order of selecting
    QTest::keySequence(w->LV, QKeySequence::Copy);
    QCOMPARE(QGuiApplication::clipboard()->text(),
             QString("State\tEvent ID\tType\tIssue\tLocation\tCity\tDate/Time\n"
                     "Ready\tABC26320.000003\tMED+LAW\tPerson down near the library\t103 Oak Street\tFairview\t11/16/26 14:32\n"
                     "Ready\tABC26320.000001\tFIRE\tPerson down near the library\t101 Oak Street\tSpringfield\t11/16/26 14:32\n"));
}

void TestHandOver::exportWritesTheChosenType_data()
{
    QTest::addColumn<QList<int>>("selected");
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("filter");
    QTest::addColumn<QString>("written");     // the file that must appear
    QTest::addColumn<QStringList>("reports"); // in it, in this order
    const QString pdf = "PDF report sheets (*.pdf)", csv = "CSV file, every field (*.csv)";
    QTest::newRow("selection as PDF") << QList<int>{1, 2} << "out.pdf" << pdf << "out.pdf"
                                      << QStringList{"ABC26320.000002", "ABC26320.000001"};
    QTest::newRow("whole folder as CSV") << QList<int>{} << "out.csv" << csv << "out.csv"
                                         << QStringList{"ABC26320.000003", "ABC26320.000002", "ABC26320.000001"};
    QTest::newRow("name's ending wins") << QList<int>{0} << "out.csv" << pdf << "out.csv" << QStringList{"ABC26320.000003"};
    QTest::newRow("no ending takes the filter's") << QList<int>{0} << "out" << csv << "out.csv"
                                                  << QStringList{"ABC26320.000003"};
}

void TestHandOver::exportWritesTheChosenType()
{
    QFETCH(QList<int>, selected);
    QFETCH(QString, fileName);
    QFETCH(QString, filter);
    QFETCH(QString, written);
    QFETCH(QStringList, reports);
    WindowHome home;
    auto w = start(home);
    QTemporaryDir out;
    w->chooseExportFile = [&](QString *f) {
        *f = filter;
        return out.filePath(fileName);
    };
    select(*w, selected);
    Capture capture;
    w->mnuExport_Click();
    QCOMPARE(capture.noticeTexts(), QStringList{QStringLiteral("%1 report%2 exported to %3")
                                                    .arg(reports.size())
                                                    .arg(reports.size() == 1 ? "" : "s")
                                                    .arg(out.filePath(written))});
    QCOMPARE(QDir(out.path()).entryList(QDir::Files), QStringList{written});
    const QByteArray bytes = readFile(out.filePath(written));
    if (written.endsWith(".csv")) {
        // The client's export of the same reports gives the same bytes.
        ZelvatMsg reader(home.path());
        QCOMPARE(bytes, ReportCsv::fromNames(reader, reports).bytes);
        QList<QStringList> rows;
        QVERIFY(Csv::parse(QString::fromUtf8(bytes.mid(3)), &rows));
        QCOMPARE(rows.size(), reports.size() + 1);
    } else {
        QCOMPARE(Pdf::pages(out.filePath(written)), reports.size());
        const QString text = Pdf::text(out.filePath(written));
        QVERIFY(text.indexOf(reports[0]) < text.indexOf(reports[1]));
    }
}

void TestHandOver::exportThatCannotBeSavedSaysSo()
{
    WindowHome home;
    auto w = start(home);
    QTemporaryDir out;
    QVERIFY(QDir(out.path()).mkdir("taken.csv"));
    w->chooseExportFile = [&](QString *) { return out.filePath("taken.csv"); };
    Capture capture;
    w->mnuExport_Click();
    QCOMPARE(capture.notices.size(), 1);
    QVERIFY2(capture.notices[0].text.startsWith("Nothing was exported to " + out.filePath("taken.csv") + ": "),
             qPrintable(capture.notices[0].text));
    QVERIFY(capture.notices[0].text.contains("a folder"));
}

void TestHandOver::importRefreshesTheListAndTellsOnce()
{
    WindowHome home;
    auto w = start(home);
    QTemporaryDir source;
    writeFile(source.filePath("broken.911"), "EID=broken\r\nCON=maybe\r\n");
    writeFile(source.filePath("ABC26320.000001.911"), "EID=ABC26320.000001\r\nAST=2\r\n");
    writeFile(source.filePath("SPF9.911"), SampleReport::make(".", 9).fileContent("1.0.0/26320:140500"));
    w->chooseImportFiles = [&] {
        return QStringList{source.filePath("broken.911"), source.filePath("ABC26320.000001.911"), source.filePath("SPF9.911")};
    };
    Capture capture;
    w->mnuImport_Click();
    QCOMPARE(capture.notices.size(), 1);
    QVERIFY(capture.notices[0].text.startsWith("1 imported, 1 skipped, 1 refused."));
    QCOMPARE(capture.notices[0].title, QString("Import"));
    QCOMPARE(w->statusText(), QString("Items: 4"));
    QVERIFY(w->shownNames().contains("SPF9"));
}

void TestHandOver::printGoesThroughThePrintDialog()
{
    WindowHome home;
    auto w = start(home);
    QTemporaryDir out;
    select(*w, {0, 2});
    Capture capture;
    w->mnuPrint_Click(); // cancelled in the dialog
    QCOMPARE(QDir(out.path()).entryList(QDir::Files), QStringList{});
    m_printedTo = out.filePath("printed.pdf");
    QTest::keySequence(w.get(), QKeySequence::Print);
    QCOMPARE(Pdf::pages(m_printedTo), 2);
    QVERIFY(Pdf::text(m_printedTo).contains("ABC26320.000003"));
    QVERIFY(capture.notices.isEmpty());

    // A PDF file is saved whole through the program's own writer: never through a link.
    writeFile(out.filePath("other"), "kept");
    QVERIFY(QFile::link(out.filePath("other"), out.filePath("link.pdf")));
    m_printedTo = out.filePath("link.pdf");
    w->mnuPrint_Click();
    QCOMPARE(capture.notices.size(), 1);
    QVERIFY2(capture.notices[0].text.contains("could not be saved to " + m_printedTo), qPrintable(capture.notices[0].text));
    QCOMPARE(readFile(out.filePath("other")), QByteArray("kept"));
}

void TestHandOver::printSetupIsKeptAndUsed()
{
    WindowHome home;
    auto w = start(home);
    SheetPrinting::askPageSetup = [](QPrinter &printer, QWidget *) {
        printer.setPageLayout(QPageLayout(QPageSize(QPageSize::Letter), QPageLayout::Landscape, QMarginsF(12, 12, 12, 12),
                                          QPageLayout::Millimeter));
        return true;
    };
    w->mnuPrintSetup_Click();
    const QPageLayout kept = PageSetup::load();
    QCOMPARE(kept.pageSize().id(), QPageSize::Letter);
    QCOMPARE(kept.orientation(), QPageLayout::Landscape);
    QCOMPARE(kept.margins(QPageLayout::Millimeter), QMarginsF(12, 12, 12, 12));

    QTemporaryDir out;
    m_printedTo = out.filePath("printed.pdf");
    select(*w, {0});
    w->mnuPrint_Click();
    const QByteArray info = Pdf::run("pdfinfo", {m_printedTo});
    QVERIFY2(info.contains("792 x 612 pts (letter)"), info.constData());
}

void TestHandOver::formPrintsWhatItShows()
{
    WindowHome home;
    const QString name = SampleReport::save(home.path(), {"TYP=MED+LAW"}, 5);
    const QByteArray onDisk = home.readReport(name);
    frmZelvatcts *f = home.openForm(name);
    QVERIFY(f->cmdPrint && f->cmdPrint->isEnabled());
    QCOMPARE(f->cmdPrint->text(), QString("Print"));
    static_cast<QLineEdit *>(f->txtHeader[0])->setText("Changed On The Form");
    f->chkReqContact->setChecked(true);
    QTemporaryDir out;
    m_printedTo = out.filePath("form.pdf");
    QTest::mouseClick(f->cmdPrint, Qt::LeftButton);
    const QString text = Pdf::text(m_printedTo);
    QVERIFY(text.contains("Changed On The Form"));
    QVERIFY(text.contains("DETL=Changed On The Form -- "));
    QVERIFY(text.contains("CNT=\\#252"));
    QVERIFY(text.contains("16 Nov 2026 14:32")); // the stamps of its last save, not of now
    QCOMPARE(home.readReport(name), onDisk);     // printing saves nothing
}

void TestHandOver::formPasteFollowsTheBoxRules_data()
{
    QTest::addColumn<QString>("box"); // object name
    QTest::addColumn<QString>("clipboard");
    QTest::addColumn<QString>("expected");
    QTest::newRow("plate in capitals, refused signs left out") << "txtLaw_4" << "7abc-12!" << "7ABC-12";
    QTest::newRow("summary set") << "txtHeader_0" << "Fall @ home #2" << "Fall  home 2";
    QTest::newRow("one-line box joins lines") << "txtHeader_1" << "12 Oak St\r\nrear\n" << "12 Oak St rear ";
    QTest::newRow("details keep lines") << "txtHeader_7" << "first\r\nsecond\rthird" << "first\nsecond\nthird";
    QTest::newRow("outside the code page") << "txtHeader_7" << QString::fromUtf8("ok \xE2\x9C\x93 \xF0\x9F\x98\x80 é€")
                                           << QString::fromUtf8("ok   é€");
    QTest::newRow("tab and control characters") << "txtHeader_6" << QString("14\t05\x01") << "14 05";
}

void TestHandOver::formPasteFollowsTheBoxRules()
{
    QFETCH(QString, box);
    QFETCH(QString, clipboard);
    QFETCH(QString, expected);
    WindowHome home;
    frmZelvatcts *f = home.openForm("NEW");
    f->cmdRtype_Click(2); // LAW: its boxes take input
    auto *target = f->findChild<QWidget *>(box);
    QVERIFY(target);
    target->setFocus();
    QGuiApplication::clipboard()->setText(clipboard);
    controlKey(target, Qt::Key_V);
    const QString text = qobject_cast<QLineEdit *>(target) ? static_cast<QLineEdit *>(target)->text()
                                                           : static_cast<QPlainTextEdit *>(target)->toPlainText();
    QCOMPARE(text, expected);
}

void TestHandOver::formCopyAndCutWorkInFilteredBoxes()
{
    WindowHome home;
    frmZelvatcts *f = home.openForm("NEW");
    auto *issue = static_cast<QLineEdit *>(f->txtHeader[0]);
    issue->setFocus();
    QTest::keyClicks(issue, "Fall down");
    issue->setSelection(0, 4);
    controlKey(issue, Qt::Key_C);
    QCOMPARE(QGuiApplication::clipboard()->text(), QString("Fall"));
    QCOMPARE(issue->text(), QString("Fall down"));
    issue->setSelection(4, 5);
    controlKey(issue, Qt::Key_X);
    QCOMPARE(QGuiApplication::clipboard()->text(), QString(" down"));
    QCOMPARE(issue->text(), QString("Fall"));
}

QTEST_MAIN(TestHandOver)
#include "tst_handover.moc"
