// The report sheet as the operator gets it: pages of a PDF counted with poppler's pdfinfo, its
// text read back with pdftotext, on A4 and Letter; and the page setup kept per user.

#include "common/Capture.h"
#include "common/Csv.h"
#include "common/ProgramHome.h"
#include "common/SampleReport.h"
#include "link/MessageText.h"
#include "sheet/PageSetup.h"
#include "sheet/ReportSheet.h"
#include "support/CommonConst.h"

#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

class TestSheet : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void onePagePerShortReport_data();
    void onePagePerShortReport();
    void textHoldsEveryField();
    void sectionsFollowTheTypes_data();
    void sectionsFollowTheTypes();
    void pageSetupIsKept_data();
    void pageSetupIsKept();

private:
    // The sheets as a PDF file on `layout`; returns its path.
    QString render(const QList<SheetReport> &reports, const QPageLayout &layout);
    static QSettings settings();

    std::unique_ptr<QTemporaryDir> m_dir;
    const SheetStation m_station{QStringLiteral("Pat Smith"), QStringLiteral("KN1ABC"), QStringLiteral("EOC")};
};

void TestSheet::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void TestSheet::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    settings().clear();
}

QSettings TestSheet::settings()
{
    return QSettings(QSettings::NativeFormat, QSettings::UserScope, QString::fromLatin1(Zelvat::Title));
}

QString TestSheet::render(const QList<SheetReport> &reports, const QPageLayout &layout)
{
    QString why;
    const QByteArray bytes = ReportSheet::pdf(reports, m_station, layout, &why);
    if (bytes.isEmpty())
        qFatal("no PDF: %s", qPrintable(why));
    const QString path = m_dir->filePath(QStringLiteral("sheets%1.pdf").arg(QDateTime::currentMSecsSinceEpoch()));
    writeFile(path, bytes);
    return path;
}

void TestSheet::onePagePerShortReport_data()
{
    QTest::addColumn<int>("paper");
    QTest::addColumn<double>("margin"); // millimetres, all round
    QTest::newRow("A4") << int(QPageSize::A4) << 15.0;
    QTest::newRow("Letter") << int(QPageSize::Letter) << 15.0;
    QTest::newRow("A4, wider margins") << int(QPageSize::A4) << 20.0;
}

void TestSheet::onePagePerShortReport()
{
    QFETCH(int, paper);
    QFETCH(double, margin);
    const QPageLayout layout(QPageSize(QPageSize::PageSizeId(paper)), QPageLayout::Portrait,
                             QMarginsF(margin, margin, margin, margin), QPageLayout::Millimeter);
    ProgramHome home;
    // Every type at once, every field filled: the longest a short report gets.
    QList<SheetReport> reports;
    for (int i = 0; i < 3; ++i) {
        ZelvatMsg r = SampleReport::make(home.path(), i);
        SampleReport::change(r, {"TYP=MED+FIRE+LAW+LGOV", "PIN=Two upstairs", "WEA=Knife", "DOT=North on Main",
                                 "VDE=Blue sedan, dented", "VDP=7ABC123", "VDS=CA"});
        reports << SheetReport{r, true, false};
    }
    const QString shortOnes = render(reports, layout);
    QCOMPARE(Pdf::pages(shortOnes), 3);

    // Long details take more pages; the next report still starts on a page of its own.
    ZelvatMsg longOne = SampleReport::make(home.path(), 9);
    QStringList lines;
    for (int i = 1; i <= 90; ++i)
        lines << QStringLiteral("Line %1 of what the caller said").arg(i);
    longOne.setDTL(lines.join(QStringLiteral("\\n")));
    const int longPages = Pdf::pages(render({SheetReport{longOne}}, layout));
    QVERIFY2(longPages >= 2, qPrintable(QString::number(longPages)));
    QCOMPARE(Pdf::pages(render({SheetReport{longOne}, reports[0]}, layout)), longPages + 1);
    const QString text = Pdf::text(render({SheetReport{longOne}}, layout));
    QVERIFY(text.contains("Line 1 of what") && text.contains("Line 90 of what"));
    QVERIFY(text.contains(QStringLiteral("ABC26320.000009 \u00B7 page %1 of %1").arg(longPages)));
}

void TestSheet::textHoldsEveryField()
{
    ProgramHome home;
    ZelvatMsg r(home.path());
    using Key = ZelvatMsg::Key;
    for (Key k : ZelvatMsg::allKeys()) {
        if (!ZelvatMsg::isIntegerKey(k))
            r.setText(k, QStringLiteral("v") + ZelvatMsg::keyName(k).toLower() + QStringLiteral("x"));
    }
    SampleReport::change(r, {"TYP=MED+FIRE+LAW+LGOV", "EID=SPF26320.104", "UID=KN1ABC", "ADT=261116", "ATM=1432",
                             "CON=1", "BRE=0", "AST=9", "RPN=Zoë Šmith-Œuvre", "DTL=first line\\nsecond line"});
    const SheetReport report{r, true, true};
    const QString text = Pdf::text(render({report}, PageSetup::fallback()));

    // Every field in the sheet itself, above the message that repeats most of them.
    const QString sheet = text.left(text.indexOf("Message as sent"));
    for (Key k : ZelvatMsg::allKeys()) {
        if (!ZelvatMsg::isIntegerKey(k) && r.text(k).startsWith('v'))
            QVERIFY2(sheet.contains(r.text(k)), qPrintable(ZelvatMsg::keyName(k)));
    }
    QVERIFY(text.contains("Message as sent"));
    for (const char *shown : {"SPF26320.104", "16 Nov 2026 14:32", "Submitted", "Pat Smith", "KN1ABC", "Zoë Šmith-Œuvre",
                              "MED+FIRE+LAW+LGOV"})
        QVERIFY2(sheet.contains(QString::fromUtf8(shown)), shown);
    QVERIFY(QRegularExpression("Conscious\\?\\s+Yes").match(sheet).hasMatch());
    QVERIFY(QRegularExpression("Breathing\\?\\s+No").match(sheet).hasMatch());
    QVERIFY(QRegularExpression("Asks to be contacted:\\s+Yes").match(sheet).hasMatch());
    QVERIFY(QRegularExpression("first line\\s+second line").match(sheet).hasMatch());

    // The message at the foot, line for line as sent: subject with its update mark, folded body.
    QVERIFY(text.contains("Subject: " + MessageText::BuildSubject(r, true)));
    QVERIFY(MessageText::BuildSubject(r, true).endsWith(" -- UPDATE"));
    const QStringList sent = MessageText::WrapBody(MessageText::BuildBody(r, true)).split("\r\n");
    QVERIFY(sent.contains("CNT=\\#252"));
    QStringList shownLines;
    for (const QString &line : text.split('\n'))
        shownLines << line.trimmed();
    for (const QString &line : sent)
        QVERIFY2(shownLines.contains(line.trimmed()), qPrintable(line));
}

void TestSheet::sectionsFollowTheTypes_data()
{
    QTest::addColumn<QString>("typ");
    QTest::addColumn<QStringList>("present");
    QTest::addColumn<QStringList>("absent");
    QTest::newRow("fire only") << "FIRE" << QStringList{"Fire"} << QStringList{"Medical", "Law", "Local Government"};
    QTest::newRow("medical and law") << "MED+LAW" << QStringList{"Medical", "Law"} << QStringList{"Fire", "Local Government"};
    QTest::newRow("codes found anywhere") << "LGOVMED" << QStringList{"Medical", "Local Government"}
                                          << QStringList{"Fire", "Law"};
    QTest::newRow("no type") << "" << QStringList{} << QStringList{"Medical", "Fire", "Law", "Local Government"};
}

void TestSheet::sectionsFollowTheTypes()
{
    QFETCH(QString, typ);
    QFETCH(QStringList, present);
    QFETCH(QStringList, absent);
    ProgramHome home;
    ZelvatMsg r = SampleReport::make(home.path());
    SampleReport::change(r, {"TYP=" + typ, "UID=OTHER1", "AST=6"});
    const QString text = Pdf::text(render({SheetReport::fromFile(r)}, PageSetup::fallback()));
    QStringList headings;
    for (const QString &line : text.split('\n'))
        headings << line.trimmed();
    for (const QString &h : present)
        QVERIFY2(headings.contains(h), qPrintable(h));
    for (const QString &h : absent)
        QVERIFY2(!headings.contains(h), qPrintable(h));
    QVERIFY(text.contains("Message as it would be sent"));
    QVERIFY(!text.contains("Pat Smith")); // another station's report: no operator name of ours
}

void TestSheet::pageSetupIsKept_data()
{
    QTest::addColumn<QStringList>("stored"); // key=value in the group PageSetup
    QTest::addColumn<QString>("paper");
    QTest::addColumn<int>("orientation");
    QTest::addColumn<QMarginsF>("margins");
    const QMarginsF standard(15, 15, 15, 15);
    const QString fallbackPaper = PageSetup::fallback().pageSize().key();
    QTest::newRow("nothing kept") << QStringList{} << fallbackPaper << int(QPageLayout::Portrait) << standard;
    QTest::newRow("letter landscape") << QStringList{"Paper=Letter", "Orientation=Landscape", "MarginLeft=10", "MarginTop=12.5",
                                                     "MarginRight=10", "MarginBottom=20"}
                                      << "Letter" << int(QPageLayout::Landscape) << QMarginsF(10, 12.5, 10, 20);
    QTest::newRow("unknown paper") << QStringList{"Paper=Napkin"} << fallbackPaper << int(QPageLayout::Portrait) << standard;
    QTest::newRow("margin no number") << QStringList{"Paper=A5", "MarginLeft=wide", "MarginTop=5", "MarginRight=5",
                                                     "MarginBottom=5"}
                                      << "A5" << int(QPageLayout::Portrait) << standard;
    QTest::newRow("margins leave no room") << QStringList{"Paper=A4", "MarginLeft=100", "MarginTop=5", "MarginRight=5",
                                                          "MarginBottom=5"}
                                           << "A4" << int(QPageLayout::Portrait) << standard;
}

void TestSheet::pageSetupIsKept()
{
    QFETCH(QStringList, stored);
    QFETCH(QString, paper);
    QFETCH(int, orientation);
    QFETCH(QMarginsF, margins);
    {
        QSettings s = settings();
        for (const QString &kv : stored)
            s.setValue("PageSetup/" + kv.section('=', 0, 0), kv.section('=', 1));
    }
    const QPageLayout loaded = PageSetup::load();
    QCOMPARE(loaded.pageSize().key(), paper);
    QCOMPARE(int(loaded.orientation()), orientation);
    QCOMPARE(loaded.margins(QPageLayout::Millimeter), margins);

    // What is kept comes back as it was, and stays out of the window's own group.
    PageSetup::save(loaded);
    const QPageLayout again = PageSetup::load();
    QVERIFY(again.isEquivalentTo(loaded));
    QCOMPARE(settings().childGroups(), QStringList{"PageSetup"});
}

QTEST_MAIN(TestSheet)
#include "tst_sheet.moc"
