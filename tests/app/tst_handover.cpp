// The hand-over in the windows, offscreen: the menus' Copy, Export, Import, Print Setup and Print
// (the dialogs answered by the test, the PDF files read back by poppler's tools) and the report
// form's Print. The sheets themselves are the sheet suite's.

#include "app/frmZelvatmain.h"
#include "common/Capture.h"
#include "common/Csv.h"
#include "common/SampleReport.h"
#include "common/WindowHome.h"
#include "report_form/frmZelvatcts.h"
#include "sheet/PageSetup.h"
#include "store/ReportCsv.h"
#include "ui/SheetPrinting.h"

#include <QClipboard>
#include <QPrinter>
#include <QRegularExpression>

class TestHandOver : public QObject {
    Q_OBJECT

private slots:
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
        const QString path = out.filePath(written);
        const QString said = capture.noticeTexts().value(0);
        QVERIFY2(reports.isEmpty() ? said.startsWith("Nothing was exported to " + path + ": 75, ")
                                   : said == QString("%1 report%2 exported to %3").arg(reports.size()).arg(reports.size() == 1 ? "" : "s").arg(path),
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
                 (QStringList{"1 imported, 1 skipped, 1 refused.", "", "Imported:", "  SPF9", "", "Skipped:", "  " + files[1]
                              + ": a report of that name is already in the message folder; it was left as it was", "", "Refused:",
                              "  " + files[0] + ": 13, Type mismatch (line 2: CON=maybe is not a number)"}));
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
        QVERIFY(QFile::link(m_out.filePath("other"), m_printedTo = m_out.filePath("link.pdf")));
        w->mnuPrint_Click();
        QVERIFY(capture.noticeTexts().value(0).contains("could not be saved to " + m_printedTo));
        QCOMPARE(readFile(m_out.filePath("other")), QByteArray("kept"));
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

private:
    // Ready reports in Fairview, Riverside, Springfield (list order), a Draft; active, for shortcuts.
    std::unique_ptr<frmZelvatmain> start(WindowHome &home, const QList<int> &selected)
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
    QString m_printedTo; // the PDF file the print dialog's stand-in chooses; none: cancelled
    QTemporaryDir m_out;
};

QTEST_MAIN(TestHandOver)
#include "tst_handover.moc"
