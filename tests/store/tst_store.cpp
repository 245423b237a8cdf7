// The report store seen from outside: the bytes of report files, what a load leaves in the
// record, the messages and event-log entries of failures, the file list, event numbers and the
// rows of the report list.

#include "common/Capture.h"
#include "settings/ZelvatIni.h"
#include "support/DatetimeLib.h"
#include "store/EventNumbers.h"
#include "store/ProgramFolder.h"
#include "store/ReportList.h"
#include "store/ZelvatMsg.h"
#include "support/CommonConst.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using Key = ZelvatMsg::Key;

class TestStore : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void saveWritesTheLayout_data();
    void saveWritesTheLayout();
    void saveKeepsRawValuesAndEscapesBreaks();
    void loadRules_data();
    void loadRules();
    void loadFailures_data();
    void loadFailures();
    void loadOfMissingOrBlankNameIsSilent();
    void saveRoundTrip();
    void failedSaveKeepsTheOldFile();
    void unsafeNamesAreRefused();
    void deleteMarksThenRemoves();
    void deleteNeverRewritesABrokenReport();
    void fileList();
    void fileListOfMissingFolderIsEmpty();
    void existsAndReadOnly();
    void programFolderOfAnInstalledProgram();

    void eventPairFormat_data();
    void eventPairFormat();
    void consecutiveNumbersAndCounterOnDisk();
    void numberOfAnExistingReportIsPassedOver();
    void counterOverflowGivesNoNumber();
    void locationIdThatLeavesTheFolderIsRefused();
    void twoProgramsNeverShareANumber();
    void operatorsNewCounterStillCounts();

    void dateTimeCell_data();
    void dateTimeCell();
    void listFiltersByFolder();
    void listDefaultOrderIsByCity();
    void chronoValue_data();
    void chronoValue();

private:
    QString msgDir() const { return m_dir->path() + QStringLiteral("/msg.d"); }
    void writeReport(const QString &name, const QByteArray &bytes) { writeFile(msgDir() + '/' + name + ".911", bytes); }
    void saveReport(const QString &eid, const QString &typ, qint16 ast, const QString &city, const QString &adt = "260307",
                    const QString &atm = "1405");

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestStore::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QString why;
    QVERIFY(ProgramFolder::prepare(m_dir->path(), &why));
    DatetimeLib::setFixedNow(QDateTime(QDate(2026, 11, 16), QTime(14, 32, 7)));
}

void TestStore::cleanup()
{
    DatetimeLib::setFixedNow({});
    m_dir.reset();
}

void TestStore::saveReport(const QString &eid, const QString &typ, qint16 ast, const QString &city, const QString &adt,
                           const QString &atm)
{
    ZelvatMsg m(m_dir->path());
    m.setEID(eid);
    m.setTYP(typ);
    m.setAST(ast);
    m.setCTY(city);
    m.setISS("Issue " + eid);
    m.setAD1("1 Main St");
    m.setADT(adt);
    m.setATM(atm);
    QVERIFY(m.Fadd());
}

static const QByteArray kStamp = "Version=" + Zelvat::versionText().toLatin1() + "/26320:143207\r\n";
static const QByteArray kGeneral = "TYP=%T\r\nEID=ABC26320.007\r\nMID=ABC-007\r\nISS=Fall\r\nAD1=12 Oak St\r\n"
                                   "CTY=Springfield\r\nAD2=\r\nLAS=Lobby\r\nDTL=Slipped\r\nRPN=J. Smith\r\nRPA=\r\n"
                                   "RPP=555-0100\r\nRPC=0\r\n";
static const QByteArray kMed = "[MED DEFINITION]\r\nAGE=70\r\nGDR=M\r\nCON=1\r\nBRE=-1\r\n";
static const QByteArray kFire = "[FIRE DEFINITION]\r\nPIN=No\r\n";
static const QByteArray kLaw = "[LAW DEFINITION]\r\nPDE=Tall\r\nWEA=\r\nDOT=North\r\nVDE=Red van\r\nVDP=7ABC\r\nVDS=CA\r\n";
static const QByteArray kLgov = "[LGOV DEFINITION]\r\n";
static const QByteArray kAdmin = "[ADMIN DEFINITION]\r\nUID=KN1ABC\r\nULO=EOC\r\nAST=6\r\nADT=261116\r\nATM=1432\r\n[END]\r\n";

void TestStore::saveWritesTheLayout_data()
{
    QTest::addColumn<QString>("typ");
    QTest::addColumn<QByteArray>("sections");
    QTest::newRow("no type") << "" << QByteArray();
    QTest::newRow("MED") << "MED" << kMed;
    QTest::newRow("MED+FIRE") << "MED+FIRE" << kMed + kFire;
    QTest::newRow("LAW+FIRE keeps file order") << "LAW+FIRE" << kFire + kLaw;
    QTest::newRow("all four") << "MED+FIRE+LAW+LGOV" << kMed + kFire + kLaw + kLgov;
    QTest::newRow("LGOV header only") << "LGOV" << kLgov;
}

void TestStore::saveWritesTheLayout()
{
    QFETCH(QString, typ);
    QFETCH(QByteArray, sections);
    ZelvatMsg m(m_dir->path());
    m.setTYP(typ);
    m.setEID("ABC26320.007");
    m.setMID("ABC-007");
    m.setISS("Fall");
    m.setAD1("12 Oak St");
    m.setCTY("Springfield");
    m.setLAS("Lobby");
    m.setDTL("Slipped");
    m.setRPN("J. Smith");
    m.setRPP("555-0100");
    m.setAGE("70");
    m.setGDR("M");
    m.setCON(1);
    m.setBRE(-1);
    m.setPIN("No");
    m.setPDE("Tall");
    m.setDOT("North");
    m.setVDE("Red van");
    m.setVDP("7ABC");
    m.setVDS("CA");
    m.setUID("KN1ABC");
    m.setULO("EOC");
    m.setAST(6);
    m.setADT("261116");
    m.setATM("1432");
    QVERIFY(m.Fadd());
    QByteArray general = kGeneral;
    general.replace("%T", typ.toLatin1());
    QCOMPARE(readFile(msgDir() + "/ABC26320.007.911"),
             "[911 DEFINITION]\r\n" + kStamp + general + sections + kAdmin);
    QCOMPARE(QDir(msgDir()).entryList(QDir::Files | QDir::Hidden), QStringList{"ABC26320.007.911"}); // no temporary left
}

void TestStore::saveKeepsRawValuesAndEscapesBreaks()
{
    // Values loaded with blanks around them are written back exactly as held; a line break that
    // reaches a value is written as the "\n" escape so that it cannot split the line.
    writeReport("R1", "EID=R1\r\nTYP= LAW\r\nCTY= Town \r\n");
    ZelvatMsg m(m_dir->path());
    QVERIFY(m.Load("R1"));
    m.setText(Key::PDE, "a\r\nb\nc");
    QVERIFY(m.Fadd());
    const QByteArray bytes = readFile(msgDir() + "/R1.911");
    QVERIFY(bytes.contains("\r\nTYP= LAW\r\n"));
    QVERIFY(bytes.contains("\r\nCTY= Town \r\n"));
    QVERIFY(bytes.contains("\r\nPDE=a\\nb\\nc\r\n"));
}

void TestStore::loadRules_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("raw");     // as held in the record
    QTest::addColumn<QString>("getter");  // as the property returns it

    QTest::newRow("first = splits") << QByteArray("DTL=a=b\r\n") << "DTL" << "a=b" << "a=b";
    QTest::newRow("key trimmed") << QByteArray("TYP =MED\r\n") << "TYP" << "MED" << "MED";
    QTest::newRow("value kept, getter trims") << QByteArray("TYP= MED\r\n") << "TYP" << " MED" << "MED";
    QTest::newRow("keys case-sensitive") << QByteArray("typ=MED\r\n") << "TYP" << "" << "";
    QTest::newRow("last occurrence wins") << QByteArray("CTY=A\r\n[X]\r\nCTY=B\r\n") << "CTY" << "B" << "B";
    QTest::newRow("stop at [END]") << QByteArray("CTY=A\r\n[END]\r\nCTY=B\r\n") << "CTY" << "A" << "A";
    QTest::newRow("[END]x stops too") << QByteArray("CTY=A\r\n[END]x\r\nCTY=B\r\n") << "CTY" << "A" << "A";
    QTest::newRow("no [END] read to end") << QByteArray("CTY=A\r\nCTY=B") << "CTY" << "B" << "B";
    QTest::newRow("empty lines skipped") << QByteArray("\r\n\r\nCTY=A\r\n") << "CTY" << "A" << "A";
    QTest::newRow("lone LF ends a line") << QByteArray("CTY=A\nISS=B\n") << "CTY" << "A" << "A";
    QTest::newRow("lone CR ends a line") << QByteArray("ISS=B\rCTY=A\r") << "CTY" << "A" << "A";
    QTest::newRow("unknown key without =") << QByteArray("Hello\r\nCTY=A\r\n") << "CTY" << "A" << "A";
    QTest::newRow("8-bit text") << QByteArray("CTY=Z\xFCrich \x80\r\n") << "CTY" << QString::fromUtf8("Zürich €")
                                << QString::fromUtf8("Zürich €");
    QTest::newRow("integer with blanks") << QByteArray("CON= 1 \r\n") << "CON" << "1" << "1";
    QTest::newRow("section header not a key") << QByteArray("[MED DEFINITION]\r\nAGE=4\r\n") << "AGE" << "4" << "4";
}

void TestStore::loadRules()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, key);
    QFETCH(QString, raw);
    QFETCH(QString, getter);
    Capture capture;
    writeReport("R1", content);
    ZelvatMsg m(m_dir->path());
    m.setCTY("left from before");
    QVERIFY(m.Load(" R1 "));
    const auto k = *std::find_if(ZelvatMsg::allKeys().begin(), ZelvatMsg::allKeys().end(),
                                 [&](Key x) { return ZelvatMsg::keyName(x) == key; });
    if (ZelvatMsg::isIntegerKey(k)) {
        QCOMPARE(QString::number(m.number(k)), raw);
    } else {
        QCOMPARE(m.rawText(k), raw);
        QCOMPARE(m.text(k), getter);
    }
    if (key != "CTY")
        QCOMPARE(m.CTY(), QString()); // cleared by the load
    QVERIFY(capture.notices.isEmpty());
    QVERIFY(capture.events.isEmpty());
}

void TestStore::loadFailures_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("step");
    QTest::addColumn<QString>("error"); // start of "number, description"

    QTest::newRow("letters in CON") << QByteArray("CTY=Kept\r\nCON=abc\r\nISS=never\r\n") << 3 << "13, Type mismatch";
    QTest::newRow("AST out of range") << QByteArray("CTY=Kept\r\nAST=99999\r\n") << 3 << "6, Overflow";
    QTest::newRow("empty AST") << QByteArray("CTY=Kept\r\nAST=\r\n") << 3 << "13, Type mismatch";
    QTest::newRow("known key without =") << QByteArray("CTY=Kept\r\nDTL\r\n") << 3 << "9, Subscript out of range";
    QTest::newRow("binary garbage") << QByteArray("CTY=Kept\r\n\x01\x02\x00\xff\xfe\r\n", 15) << 2
                                    << "321, Invalid file format";
    QTest::newRow("10 MB line") << "CTY=Kept\r\nDTL=" + QByteArray(10 * 1024 * 1024, 'x') << 2
                                << "321, Invalid file format";
    QTest::newRow("100 kB line") << "CTY=Kept\r\nDTL=" + QByteArray(100 * 1024, 'x') + "\r\n" << 2
                                 << "321, Invalid file format";
}

void TestStore::loadFailures()
{
    QFETCH(QByteArray, content);
    QFETCH(int, step);
    QFETCH(QString, error);
    Capture capture;
    writeReport("R1", content);
    const QString path = msgDir() + "/R1.911";
    ZelvatMsg m(m_dir->path());
    QVERIFY(!m.Load("R1"));
    QCOMPARE(m.step(), step);
    QVERIFY2(m.lastError().startsWith(error), qPrintable(m.lastError()));
    QCOMPARE(capture.events.size(), 1);
    QCOMPARE(capture.events[0], m.lastError() + "; Zelvat:Load, FileName = " + path + ", Step = " + QString::number(step));
    QCOMPARE(capture.notices.size(), 1);
    QCOMPARE(capture.notices[0].text, "Tn911:Load, Step=" + QString::number(step) + "\r\nProblems loading " + path
                                          + ", please try again\r\nError=" + m.lastError());
    if (step == 3)
        QCOMPARE(m.CTY(), QString("Kept")); // what was read before the error stays
    QCOMPARE(m.ISS(), QString());
    QCOMPARE(readFile(path), content); // a failed load changes nothing on disk
}

void TestStore::loadOfMissingOrBlankNameIsSilent()
{
    Capture capture;
    ZelvatMsg m(m_dir->path());
    QVERIFY(!m.Load("nothing-here"));
    QVERIFY(!m.Load("   "));
    QVERIFY(capture.notices.isEmpty());
    QVERIFY(capture.events.isEmpty());
}

void TestStore::saveRoundTrip()
{
    ZelvatMsg a(m_dir->path());
    for (Key k : ZelvatMsg::allKeys()) {
        if (ZelvatMsg::isIntegerKey(k))
            a.setNumber(k, k == Key::RPC ? 0 : qint16(-1));
        else
            a.setText(k, ZelvatMsg::keyName(k) + QString::fromUtf8(" välue=x"));
    }
    a.setTYP("MED+FIRE+LAW+LGOV");
    a.setEID("E1");
    QVERIFY(a.Fadd());
    ZelvatMsg b(m_dir->path());
    QVERIFY(b.Load("E1"));
    for (Key k : ZelvatMsg::allKeys()) {
        QCOMPARE(b.text(k), a.text(k));
        QCOMPARE(b.number(k), a.number(k));
    }
}

void TestStore::failedSaveKeepsTheOldFile()
{
    Capture capture;
    saveReport("R1", "MED", 6, "Old");
    const QString path = msgDir() + "/R1.911";
    const QByteArray before = readFile(path);
    QFile::setPermissions(path, QFile::ReadOwner | QFile::ReadUser);
    ZelvatMsg m(m_dir->path());
    QVERIFY(m.IsReadOnly("R1"));
    QVERIFY(m.Load("R1"));
    m.setCTY("New");
    QVERIFY(!m.Fadd());
    QCOMPARE(readFile(path), before);
    QCOMPARE(capture.notices.size(), 1);
    QVERIFY(capture.notices[0].text.startsWith("Tn911:Fadd, Step=2\r\nProblems saving '" + path + "', please try again\r\nError="));
    QCOMPARE(capture.events.size(), 1);
    QVERIFY(capture.events[0].endsWith("; Tn911:Fadd, FileName = " + path + ", Step = 2"));
}

void TestStore::unsafeNamesAreRefused()
{
    Capture capture;
    ZelvatMsg m(m_dir->path());
    m.setEID("../escape");
    QVERIFY(!m.Fadd());
    m.setEID("a/b");
    QVERIFY(!m.Fadd());
    m.setEID("");
    QVERIFY(!m.Fadd());
    QVERIFY(!QFile::exists(m_dir->path() + "/escape.911"));
    QVERIFY(!QFile::exists(msgDir() + "/.911"));
    writeFile(m_dir->path() + "/outside.911", "CTY=Secret\r\n");
    QVERIFY(!m.Load("../outside"));
    QCOMPARE(m.CTY(), QString());
    QCOMPARE(m.Fdelete("..\\outside", 8), QString("0"));
    QVERIFY(QFile::exists(m_dir->path() + "/outside.911"));
    QCOMPARE(capture.notices.size(), 5);
    for (const QString &text : capture.noticeTexts())
        QVERIFY2(text.contains("Error=52, Bad file name or number"), qPrintable(text));
}

void TestStore::deleteMarksThenRemoves()
{
    saveReport("R1", "FIRE", 2, "Town");
    ZelvatMsg m(m_dir->path());
    QCOMPARE(m.Fdelete("R1", 2), QString("-1"));
    QVERIFY(m.Load("R1"));
    QCOMPARE(m.AST(), qint16(8));
    QCOMPARE(m.CTY(), QString("Town")); // the rest of the report is kept
    QCOMPARE(m.Fdelete("R1", 8), QString("-1"));
    QVERIFY(!QFile::exists(msgDir() + "/R1.911"));
    QCOMPARE(m.Fdelete("R1", 8), QString("-1")); // nothing left to remove is no error
}

void TestStore::deleteNeverRewritesABrokenReport()
{
    // A report whose file cannot be read whole is left as it is rather than rewritten with the
    // part that could be read; a report whose name differs from its EID is marked in its own file.
    Capture capture;
    const QByteArray broken = "EID=B1\r\nCTY=X\r\nCON=yes\r\nDTL=long story\r\n";
    writeReport("B1", broken);
    ZelvatMsg m(m_dir->path());
    QCOMPARE(m.Fdelete("B1", 6), QString("0"));
    QCOMPARE(readFile(msgDir() + "/B1.911"), broken);

    writeReport("renamed", "EID=OTHER\r\nAST=2\r\n");
    QCOMPARE(m.Fdelete("renamed", 2), QString("-1"));
    QVERIFY(!QFile::exists(msgDir() + "/OTHER.911"));
    QVERIFY(m.Load("renamed"));
    QCOMPARE(m.AST(), qint16(8));
}

void TestStore::fileList()
{
    Capture capture;
    for (const char *name : {"A.911", "B.911", ".911", "x.911.911", "notes.txt", "C.911.bak"})
        writeFile(msgDir() + '/' + name, "AST=2\r\n");
    ZelvatMsg m(m_dir->path());
    const QString list = m.BuildFileList();
    QVERIFY(!list.endsWith('\n'));
    QStringList names = list.split("\r\n");
    names.sort();
    QCOMPARE(names, (QStringList{"A", "B", "x"}));
    QCOMPARE(capture.events, QStringList{"Tn911:BuildFileList, detected, excluded an extent-only '.911' file"});
}

void TestStore::fileListOfMissingFolderIsEmpty()
{
    ZelvatMsg empty(m_dir->path());
    QCOMPARE(empty.BuildFileList(), QString());
    ZelvatMsg missing(m_dir->path() + "/nowhere");
    QCOMPARE(missing.BuildFileList(), QString());
}

void TestStore::existsAndReadOnly()
{
    saveReport("ABC1", "", 6, "");
    ZelvatMsg m(m_dir->path());
    QVERIFY(m.Exists(" ABC1 "));
    QVERIFY(!m.Exists("abc1"));
    QVERIFY(!m.Exists("ABC"));
    QVERIFY(!m.IsReadOnly("ABC1"));
    QVERIFY(!m.IsReadOnly("missing"));
}

void TestStore::programFolderOfAnInstalledProgram()
{
    // A portable program keeps its data beside it; an installed one in the per-user data folder.
    QCOMPARE(ProgramFolder::resolve(m_dir->path()), QFileInfo(m_dir->path()).absoluteFilePath());
    QStandardPaths::setTestModeEnabled(true);
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/Zelvatcts";
    QCOMPARE(ProgramFolder::resolve(ZELVAT_TEST_INSTALLED_BINDIR), data);
    QCOMPARE(ProgramFolder::resolve(m_dir->path() + "/missing"), data);
    QStandardPaths::setTestModeEnabled(false);
}

// --- event numbers -----------------------------------------------------------------------

void TestStore::eventPairFormat_data()
{
    QTest::addColumn<QString>("lid");
    QTest::addColumn<QDate>("date");
    QTest::addColumn<int>("counter");
    QTest::addColumn<QString>("eventNumber");
    QTest::addColumn<QString>("messageId");

    QTest::newRow("example") << "ABC" << QDate(2026, 11, 16) << 7 << "ABC26320.007" << "ABC-007";
    QTest::newRow("no location id") << "" << QDate(2026, 11, 16) << 100 << "26320.100" << "-100";
    QTest::newRow("99") << "X" << QDate(2026, 11, 16) << 99 << "X26320.099" << "X-099";
    QTest::newRow("1000") << "X" << QDate(2026, 11, 16) << 1000 << "X26320.1000" << "X-1000";
    QTest::newRow("day 5") << "X" << QDate(2027, 1, 5) << 1 << "X27005.001" << "X-001";
    QTest::newRow("leap day 366") << "X" << QDate(2028, 12, 31) << 1 << "X28366.001" << "X-001";
}

void TestStore::eventPairFormat()
{
    QFETCH(QString, lid);
    QFETCH(QDate, date);
    QFETCH(int, counter);
    QFETCH(QString, eventNumber);
    QFETCH(QString, messageId);
    DatetimeLib::setFixedNow(QDateTime(date, QTime(9, 0)));
    const EventPair pair = EventNumbers::pairFor(lid, qint16(counter));
    QCOMPARE(pair.eventNumber, eventNumber);
    QCOMPARE(pair.messageId, messageId);
}

void TestStore::consecutiveNumbersAndCounterOnDisk()
{
    ZelvatIni ini(ProgramFolder::stationFile(m_dir->path()));
    ini.load();
    ini.Lid = "ABC";
    ZelvatMsg store(m_dir->path());
    QString why;
    QCOMPARE(EventNumbers::newEventPair(ini, store, &why)->eventNumber, QString("ABC26320.100"));
    QCOMPARE(EventNumbers::newEventPair(ini, store, &why)->messageId, QString("ABC-101"));
    QCOMPARE(ini.Eno, 102);
    QVERIFY(readFile(ini.path()).contains("\r\nLid=ABC\r\nEno=102\r\n"));
}

void TestStore::numberOfAnExistingReportIsPassedOver()
{
    ZelvatIni ini(ProgramFolder::stationFile(m_dir->path()));
    ini.load();
    saveReport("26320.100", "", 6, "");
    saveReport("26320.101", "", 6, "");
    ZelvatMsg store(m_dir->path());
    QString why;
    QCOMPARE(EventNumbers::newEventPair(ini, store, &why)->eventNumber, QString("26320.102"));
    QCOMPARE(ini.Eno, 103);
}

void TestStore::counterOverflowGivesNoNumber()
{
    ZelvatIni ini(ProgramFolder::stationFile(m_dir->path()));
    ini.load();
    ini.Eno = 32767;
    ZelvatMsg store(m_dir->path());
    QString why;
    QCOMPARE(EventNumbers::newEventPair(ini, store, &why)->messageId, QString("-32767"));
    const QByteArray onDisk = readFile(ini.path());
    QVERIFY(onDisk.contains("\r\nEno=32768\r\n"));
    QVERIFY(!EventNumbers::newEventPair(ini, store, &why));
    QVERIFY2(why.contains("32768") && why.contains("32767"), qPrintable(why));
    QCOMPARE(ini.Eno, 32768);
    QCOMPARE(readFile(ini.path()), onDisk);
}

void TestStore::locationIdThatLeavesTheFolderIsRefused()
{
    ZelvatIni ini(ProgramFolder::stationFile(m_dir->path()));
    ini.load();
    ZelvatMsg store(m_dir->path());
    for (const char *lid : {"../", "a/b", "x\\y", ".."}) {
        ini.Lid = lid;
        QString why;
        QVERIFY(!EventNumbers::newEventPair(ini, store, &why));
        QVERIFY(why.contains(QString(lid)));
    }
    QCOMPARE(ini.Eno, 100); // no number was used up
}

void TestStore::twoProgramsNeverShareANumber()
{
    // Two programs on one folder, each with the station file loaded: numbers taken by one are
    // seen by the other, and a plain save by either never winds the counter back.
    ZelvatIni window(ProgramFolder::stationFile(m_dir->path()));
    window.load();
    ZelvatIni client(window.path());
    client.load();
    ZelvatMsg store(m_dir->path());
    QString why;
    QSet<QString> seen;
    for (int i = 0; i < 5; ++i) {
        seen.insert(EventNumbers::newEventPair(client, store, &why)->eventNumber);
        seen.insert(EventNumbers::newEventPair(window, store, &why)->eventNumber);
    }
    QCOMPARE(seen.size(), 10);
    QVERIFY(client.save());
    QVERIFY(window.save());
    ZelvatIni later(window.path());
    later.load();
    QCOMPARE(later.Eno, 110);
}

void TestStore::operatorsNewCounterStillCounts()
{
    ZelvatIni window(ProgramFolder::stationFile(m_dir->path()));
    window.load();
    ZelvatIni client(window.path());
    client.load();
    ZelvatMsg store(m_dir->path());
    QString why;
    EventNumbers::newEventPair(client, store, &why); // the file now says 101
    window.Eno = 500;                                 // the operator's deliberate new value
    QCOMPARE(EventNumbers::newEventPair(window, store, &why)->messageId, QString("-500"));
    QCOMPARE(EventNumbers::newEventPair(client, store, &why)->messageId, QString("-501"));
}

// --- report list -------------------------------------------------------------------------

void TestStore::dateTimeCell_data()
{
    QTest::addColumn<QString>("adt");
    QTest::addColumn<QString>("atm");
    QTest::addColumn<QString>("cell");
    QTest::newRow("full") << "090307" << "1405" << "03/07/09 14:05";
    QTest::newRow("empty") << "" << "" << "// :";
    QTest::newRow("short") << "0903" << "14" << "03//09 14:";
}

void TestStore::dateTimeCell()
{
    QFETCH(QString, adt);
    QFETCH(QString, atm);
    QFETCH(QString, cell);
    QCOMPARE(ReportList::dateTimeCell(adt, atm), cell);
}

void TestStore::listFiltersByFolder()
{
    saveReport("R2", "MED", 2, "A");
    saveReport("D6", "FIRE", 6, "B");
    saveReport("X8", "LAW", 8, "C");
    saveReport("S9", "LGOV", 9, "D");
    saveReport("N1", "MED", 1, "E");
    ZelvatMsg reader(m_dir->path());
    const auto idx = [&](int folder) {
        QStringList names;
        for (const auto &row : ReportList::build(reader, folder))
            names << row.cells[ReportList::Idx] + ':' + row.cells[ReportList::State];
        names.sort();
        return names;
    };
    QCOMPARE(idx(2), QStringList{"R2:Ready"});
    QCOMPARE(idx(6), QStringList{"D6:Draft"});
    QCOMPARE(idx(8), QStringList{"X8:Deleted"});
    QCOMPARE(idx(9), QStringList{"S9:Submitted"});
    QCOMPARE(idx(1), QStringList{"N1:"});
    QCOMPARE(idx(0), (QStringList{"D6:Draft", "N1:", "R2:Ready", "S9:Submitted", "X8:Deleted"}));

    const auto rows = ReportList::build(reader, 6);
    QCOMPARE(rows.size(), 1);
    const std::array<QString, 8> expected = {"D6", "Draft", "D6", "FIRE", "Issue D6", "1 Main St", "B", "03/07/26 14:05"};
    QCOMPARE(rows[0].cells, expected);
}

void TestStore::listDefaultOrderIsByCity()
{
    saveReport("R1", "", 2, "springfield", "260101", "0900");
    saveReport("R2", "", 2, "Albany", "250101", "0900");
    saveReport("R3", "", 2, "Boston", "270101", "0900");
    saveReport("R0", "", 2, "albany", "260101", "0800");
    ZelvatMsg reader(m_dir->path());
    auto rows = ReportList::build(reader, 2);
    ReportList::sortDefault(rows);
    QStringList order;
    for (const auto &r : rows)
        order << r.cells[ReportList::Idx];
    QCOMPARE(order, (QStringList{"R0", "R2", "R3", "R1"})); // case ignored, equal cities by name
    ReportList::sortRows(rows, ReportList::DateTime, Qt::DescendingOrder);
    order.clear();
    for (const auto &r : rows)
        order << r.cells[ReportList::Idx];
    QCOMPARE(order, (QStringList{"R3", "R1", "R0", "R2"}));
    QCOMPARE(ReportList::itemsText(rows.size()), QString("Items: 4"));
    QCOMPARE(ReportList::itemsText(0), QString("Items: 0"));
}

void TestStore::chronoValue_data()
{
    QTest::addColumn<QString>("cell");
    QTest::addColumn<double>("value");
    QTest::newRow("day one") << "12/31/99 00:00" << 36525.0;
    QTest::newRow("noon") << "01/01/00 12:00" << 36526.5;
    QTest::newRow("month first, not day first") << "03/07/09 00:00" << 39879.0;
    QTest::newRow("separators only") << "// :" << 0.0;
    QTest::newRow("invalid month") << "13/01/09 10:00" << 0.0;
    QTest::newRow("invalid time") << "01/01/09 25:00" << 0.0;
    QTest::newRow("february 30") << "02/30/09 10:00" << 0.0;
}

void TestStore::chronoValue()
{
    QFETCH(QString, cell);
    QFETCH(double, value);
    QCOMPARE(ReportList::chronoValue(cell), value);
}

QTEST_GUILESS_MAIN(TestStore)
#include "tst_store.moc"
