// The report sheets without a window: each report on pages of its own on A4 and Letter, every
// field and the message as sent, read back by poppler's pdftotext.

#include "common/Capture.h"
#include "common/Csv.h"
#include "common/ProgramHome.h"
#include "common/SampleReport.h"
#include "link/MessageText.h"
#include "sheet/CallsChart.h"
#include "sheet/CommLogSheet.h"
#include "sheet/PageSetup.h"
#include "sheet/ReportSheet.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

class TestSheet : public QObject {
    Q_OBJECT

private slots:
    void sheetOnePagePerShortReport()
    {
        ProgramHome home;
        QList<SheetReport> reports; // every type, every field: the longest a short report gets
        for (int i = 0; i < 3; ++i) {
            ZelvatMsg r = SampleReport::make(home.path(), i);
            SampleReport::change(r, {"TYP=MED+FIRE+LAW+LGOV", "PIN=Two upstairs", "WEA=Knife", "DOT=North on Main",
                                     "VDE=Blue sedan, dented", "VDP=7ABC123", "VDS=CA"});
            reports << SheetReport{r, true, false};
        }
        ZelvatMsg longOne = SampleReport::make(home.path(), 9);
        for (int i = 1; i <= 90; ++i)
            longOne.setDTL(longOne.DTL() + QStringLiteral("\\nLine %1 of what the caller said").arg(i));
        for (auto paper : {QPageSize::A4, QPageSize::Letter}) {
            const QPageLayout layout(QPageSize(paper), QPageLayout::Portrait, QMarginsF(16, 16, 16, 16), QPageLayout::Millimeter);
            QCOMPARE(Pdf::pages(render(reports, layout)), 3);
            // Long details take more pages; the next report still starts on a page of its own.
            const QString alone = render({SheetReport{longOne}}, layout), text = Pdf::text(alone);
            const int pages = Pdf::pages(alone);
            QVERIFY(pages >= 2 && text.contains("Line 1 of what") && text.contains("Line 90 of what"));
            QCOMPARE(Pdf::pages(render({SheetReport{longOne}, reports[0]}, layout)), pages + 1);
            QVERIFY(text.contains(QStringLiteral("ABC26320.000009 \u00B7 page %1 of %1").arg(pages)));
        }
    }

    void sheetHoldsEveryField()
    {
        ProgramHome home;
        ZelvatMsg r(home.path());
        for (auto k : ZelvatMsg::allKeys())
            r.setText(k, "v" + ZelvatMsg::keyName(k).toLower() + "x");
        SampleReport::change(r, {"TYP=MED+FIRE+LAW+LGOV", "EID=SPF26320.104", "UID=KN1ABC", "ADT=261116", "ATM=1432", "CON=1",
                                 "BRE=0", "AST=9", "RPN=Zoë Šmith-Œuvre", "DTL=first line\\nsecond line"});
        // A second report, of another station, whose type codes are found anywhere in its TYP.
        ZelvatMsg other = SampleReport::make(home.path());
        SampleReport::change(other, {"TYP=LGOVMED", "UID=OTHER1", "AST=6"});
        const QStringList pages = Pdf::text(render({SheetReport{r, true, true}, SheetReport::fromFile(other)})).split('\f');
        // Every field in the sheet itself, above the message that repeats most of them.
        const QString sheet = pages[0].left(pages[0].indexOf("Message as sent"));
        for (auto k : ZelvatMsg::allKeys())
            QVERIFY2(ZelvatMsg::isIntegerKey(k) || !r.text(k).startsWith('v') || sheet.contains(r.text(k)),
                     qPrintable(ZelvatMsg::keyName(k)));
        for (const char *shown : {"SPF26320.104", "16 Nov 2026 14:32", "Submitted", "Pat Smith", "Zoë Šmith-Œuvre",
                                  "MED\\+FIRE\\+LAW\\+LGOV", "Conscious\\?\\s+Yes", "Breathing\\?\\s+No",
                                  "Asks to be\\s+(contacted:\\s+Yes|Yes\\s+contacted:)", // (a label may wrap in another system's fonts)
                                  "first line\\s+second line", "\\sMedical\\s", "\\sLaw\\s"})
            QVERIFY2(QRegularExpression(QString::fromUtf8(shown)).match(sheet).hasMatch(), shown);
        // The message at the foot, line for line as sent: the subject with its update mark, the folded body.
        QVERIFY(pages[0].contains("Subject: " + MessageText::BuildSubject(r, true) + "\n"));
        QVERIFY(MessageText::BuildSubject(r, true).endsWith(" -- UPDATE"));
        const QStringList shownLines = pages[0].split('\n').replaceInStrings(QRegularExpression("^\\s+|\\s+$"), "");
        const QStringList sent = MessageText::WrapBody(MessageText::BuildBody(r, true)).split("\r\n");
        QVERIFY(sent.contains("CNT=\\#252") && sent.size() > 8);
        for (const QString &line : sent)
            QVERIFY2(shownLines.contains(line.trimmed()), qPrintable(line));
        // The other report: the sections of its types only, not our operator's name, not sent yet.
        const QStringList headings = pages[1].split('\n').replaceInStrings(QRegularExpression("^\\s+|\\s+$"), "");
        QCOMPARE(headings.filter(QRegularExpression("^(Medical|Fire|Law|Local Government)$")), (QStringList{"Medical", "Local Government"}));
        QVERIFY(pages[1].contains("Message as it would be sent") && !pages[1].contains("Pat Smith"));
    }

    void commLogHeadRowsAndPageNumbers()
    {
        // The head names the incident, the period, operator, call sign and location; every try is a
        // line, a long subject cut to its column; every page carries its number of the whole.
        QList<CommLog::Entry> entries;
        for (int i = 0; i < 120; ++i)
            entries << CommLog::Entry{ProgramHome::FixedNow.addSecs(i * 60), QStringLiteral("SPF-%1").arg(100 + i), "0042",
                                      i == 0 ? QString(200, 'x') : "Fall", "127.0.0.1:9334", "not sent", "refused",
                                      "Pat Smith", "KN1ABC", "EOC"};
        const CommLogHeader head{"Flood 26", ProgramHome::FixedNow, ProgramHome::FixedNow.addSecs(7200), "Pat Smith", "KN1ABC", "EOC"};
        RunError error;
        const QString path = m_out.filePath("log.pdf");
        writeFile(path, CommLogSheet::pdf(head, entries, PageSetup::fallback(), &error));
        const QStringList pages = Pdf::text(path).split('\f', Qt::SkipEmptyParts);
        QVERIFY2(pages.size() >= 3, qPrintable(error.description));
        QVERIFY(pages[0].startsWith("Communications Log") && pages[0].contains("Incident: Flood 26")
                && pages[0].contains("Period: 2026-11-16 14:05 to 2026-11-16 16:05")
                && pages[0].contains("Operator: Pat Smith, call sign KN1ABC") && pages[0].contains("Location: EOC"));
        QVERIFY(!pages[0].contains(QString(200, 'x')) && pages[0].contains(QString(20, 'x') ));
        for (int p = 0; p < pages.size(); ++p)
            QVERIFY(pages[p].contains(QStringLiteral("page %1 of %2").arg(p + 1).arg(pages.size())) && pages[p].contains("Date/Time"));
        QCOMPARE(Pdf::text(path).count(QRegularExpression("SPF-\\d+")), 120);
        QVERIFY(pages.last().contains("SPF-219"));
    }

    // The calls axis counts in whole numbers: a line per call up to ten, then steps of 1, 2 or 5
    // times a power of ten, and its top is never below the busiest hour.
    void callsChartScale_data()
    {
        QTest::addColumn<int>("most");
        QTest::addColumn<int>("top");
        QTest::addColumn<int>("step");
        QTest::newRow("no calls") << 0 << 1 << 1;
        QTest::newRow("ten") << 10 << 10 << 1;
        QTest::newRow("eleven") << 11 << 12 << 2;
        QTest::newRow("ninety-five") << 95 << 100 << 10;
        QTest::newRow("1234") << 1234 << 1400 << 200;
    }
    void callsChartScale()
    {
        QFETCH(int, most);
        QFETCH(int, top);
        QFETCH(int, step);
        SituationSummary::Counts counts;
        counts.perHour = {{0, most, 1, 0}, {0, 0, 0, 0}};
        const CallsChart::Scale scale = CallsChart::scaleFor(counts);
        QCOMPARE(scale.top, top);
        QCOMPARE(scale.step, step);
    }

private:
    // The sheets as a PDF file; returns its path.
    QString render(const QList<SheetReport> &reports, const QPageLayout &layout = PageSetup::fallback())
    {
        RunError error;
        const QByteArray bytes = ReportSheet::pdf(reports, {"Pat Smith", "KN1ABC", "EOC"}, layout, &error);
        const QString path = m_out.filePath(QString::number(++m_files) + ".pdf");
        writeFile(path, bytes);
        return bytes.isEmpty() ? error.description : path;
    }
    QTemporaryDir m_out;
    int m_files = 0;

};

QTEST_MAIN(TestSheet)
#include "tst_sheet.moc"
