// The report store and the files beside it, seen from outside: the bytes of report files, what a
// load leaves in the record, the messages and event-log entries of failures, the file list, event
// numbers and the chronological order of the list's Date/Time cells; the form's rules that need no
// window (what a box takes of typed keys and pasted text, what each report state shows and
// allows); the recovery of an unsaved form; the station file and the suite's global settings file.
// Which rows a folder lists, and in what order, is checked against the catalog in its own suite;
// the form suite checks once per rule that the form asks it.

#include "common/Capture.h"
#include "common/Files.h"
#include "common/ProgramHome.h"
#include "common/ReferenceList.h"
#include "common/SampleReport.h"
#include "settings/TnGlobal.h"
#include "settings/ZelvatIni.h"
#include "store/ClosedForms.h"
#include "store/EventNumbers.h"
#include "store/FormFields.h"
#include "store/FormPaste.h"
#include "store/FormRecovery.h"
#include "store/FormRules.h"
#include "store/InUseMarks.h"
#include "store/Position.h"
#include "store/ProgramFolder.h"
#include "store/ReportConflict.h"
#include "store/ReportList.h"
#include "store/ReportVersions.h"
#include "store/SaveStamps.h"
#include "support/CodePage.h"
#include "support/CommonConst.h"
#include "support/DatetimeLib.h"
#include "support/SafeFile.h"

#include <QDir>
#include <QLockFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>


using Key = ZelvatMsg::Key;
using G = FormFields::Group;

static const QByteArray kVersion = Zelvat::versionText().toLatin1();
static const QByteArray kDefaults = "[Zelvat Call Taking System]\r\nVersion=" + kVersion
    + "\r\n\r\n[GENERAL OPTIONS]\r\nNam=\r\nUid=\r\nLoc=\r\nCty=\r\nLid=\r\nEno=100\r\nLvf=10\r\n"
      "Hst=127.0.0.1\r\nPrt=9334\r\nNto=5000\r\nEnc=BASE64\r\n";

static const QByteArray kGlobalDefaults = "[GENERAL VARIABLES]\r\nVersion=" + kVersion
    + "\r\nUseGlobalMsgNum=1\r\nProfSave=1\r\n\r\n[LOCAL PRINTER]\r\nPrinterName=Office Laser\r\nPtrOrient=1\r\n"
      "PtrCopies=1\r\nPtrDuplex=1\r\nFolderLabels=Folder 1|Folder 2|Folder 3|Folder 4|Folder 5\r\nLstFontSize=9\r\n";
static const QByteArray kCurrent = "[GENERAL VARIABLES]\r\nVersion=" + kVersion + "\r\nProfSave=1\r\n";

static const QByteArray kStamp = "Version=" + kVersion + "/26320:140500\r\n";
static const QByteArray kGeneral = "TYP=%T\r\nEID=E1\r\nMID=ABC-0\r\nISS=Person down near the library\r\nAD1=100 Oak Street\r\n"
                                   "CTY=Springfield\r\nAD2=Corner of Oak and 5th, north side\r\nLAS=14:05\r\nDTL=Caller reports "
                                   "a man collapsed on the sidewalk, bystanders are with him\\nNo traffic hazard\r\nRPN=Jordan "
                                   "Smith\r\nRPA=12 Elm Road\r\nRPP=555-0100\r\nRPC=0\r\n";
static const QByteArray kMed = "[MED DEFINITION]\r\nAGE=70\r\nGDR=Male\r\nCON=1\r\nBRE=1\r\n";
static const QByteArray kFire = "[FIRE DEFINITION]\r\nPIN=No\r\n";
static const QByteArray kLaw = "[LAW DEFINITION]\r\nPDE=Tall, red jacket\r\nWEA=\r\nDOT=\r\nVDE=\r\nVDP=\r\nVDS=\r\n";
static const QByteArray kAdmin = "[ADMIN DEFINITION]\r\nUID=KN1ABC\r\nULO=EOC Main\r\nAST=2\r\nADT=261116\r\nATM=1432\r\n[END]\r\n";

static Key keyNamed(const QString &name)
{
    return *std::find_if(ZelvatMsg::allKeys().begin(), ZelvatMsg::allKeys().end(), [&](Key k) { return ZelvatMsg::keyName(k) == name; });
}

class TestStore : public QObject {
    Q_OBJECT

private slots:
    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void saveWritesTheLayout_data()
    {
        QTest::addColumn<QString>("typ");
        QTest::addColumn<QByteArray>("sections");
        QTest::newRow("no type") << "" << QByteArray();
        QTest::newRow("LAW+FIRE keeps file order") << "LAW+FIRE" << kFire + kLaw;
        QTest::newRow("all four") << "MED+FIRE+LAW+LGOV" << kMed + kFire + kLaw + "[LGOV DEFINITION]\r\n";
    }

    void saveWritesTheLayout()
    {
        QFETCH(QString, typ);
        QFETCH(QByteArray, sections);
        ProgramHome home;
        ZelvatMsg m = SampleReport::make(home.path());
        SampleReport::change(m, {"EID=E1", "TYP=" + typ, "PIN=No"});
        QVERIFY(m.Fadd());
        const QByteArray general = QByteArray(kGeneral).replace("%T", typ.toLatin1());
        QCOMPARE(home.readReport("E1"), "[911 DEFINITION]\r\n" + kStamp + general + sections + kAdmin);
        QCOMPARE(home.reportFiles(), QStringList{"E1.911"}); // no temporary file left
    }

    void loadRules_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("held"); // in the record, then as the property returns it; a number
        QTest::newRow("first = splits") << QByteArray("DTL=a=b\r\n") << "DTL" << "a=b|a=b";
        QTest::newRow("key trimmed") << QByteArray("TYP =MED\r\n") << "TYP" << "MED|MED";
        QTest::newRow("value kept, getter trims") << QByteArray("TYP= MED\r\n") << "TYP" << " MED|MED";
        QTest::newRow("last occurrence wins") << QByteArray("CTY=A\r\n[X]\r\nCTY=B\r\n") << "CTY" << "B|B";
        QTest::newRow("[END]x stops") << QByteArray("CTY=A\r\n[END]x\r\nCTY=B\r\n") << "CTY" << "A|A";
        QTest::newRow("what follows [END] is never looked at") << QByteArray("CTY=A\r\n[END]\r\n\x01\x02\r\n") << "CTY" << "A|A";
        QTest::newRow("no [END] read to end") << QByteArray("CTY=A\r\nCTY=B") << "CTY" << "B|B";
        QTest::newRow("lone LF ends a line") << QByteArray("CTY=A\nISS=B\n") << "CTY" << "A|A";
        QTest::newRow("unknown key without =") << QByteArray("Hello\r\n\r\nCTY=A\r\n") << "CTY" << "A|A";
        QTest::newRow("8-bit text") << QByteArray("CTY=Z\xFCrich \x80\r\n") << "CTY" << QString::fromUtf8("Zürich €|Zürich €");
        QTest::newRow("integer with blanks") << QByteArray("CON= 1 \r\n") << "CON" << "1";
    }

    void loadRules()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, key);
        QFETCH(QString, held);
        ProgramHome home;
        Capture capture;
        home.writeReport("R1", content);
        ZelvatMsg m(home.path());
        m.setCTY("left from before");
        QVERIFY(m.Load(" R1 "));
        const Key k = keyNamed(key);
        QCOMPARE(ZelvatMsg::isIntegerKey(k) ? QString::number(m.number(k)) : m.rawText(k) + '|' + m.text(k), held);
        if (key != "CTY")
            QCOMPARE(m.CTY(), QString()); // cleared by the load
        QVERIFY(capture.notices.isEmpty() && capture.events.isEmpty());
    }

    void loadFailures_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("step");      // 0: no file to speak of, silently false
        QTest::addColumn<QString>("error"); // start of "number, description"
        QTest::newRow("no such report") << QByteArray() << 0 << "";
        QTest::newRow("letters in CON") << QByteArray("CTY=Kept\r\nCON=abc\r\nISS=never\r\n") << 3 << "13, Type mismatch";
        QTest::newRow("AST out of range") << QByteArray("CTY=Kept\r\nAST=99999\r\n") << 3 << "6, Overflow";
        QTest::newRow("known key without =") << QByteArray("CTY=Kept\r\nDTL\r\n") << 3 << "9, Subscript out of range";
        QTest::newRow("binary garbage") << QByteArray("CTY=Kept\r\n\x01\x02\x00\xff\xfe\r\n", 15) << 2 << "321, Invalid file format";
        QTest::newRow("100 kB line") << "CTY=Kept\r\nDTL=" + QByteArray(100 * 1024, 'x') + "\r\n" << 2 << "321, Invalid file format";
        QTest::newRow("10 MB file") << "CTY=Kept\r\n" + QByteArray(10 * 1024 * 1024, 'x') << 2 << "321, Invalid file format";
    }

    void loadFailures()
    {
        QFETCH(QByteArray, content);
        QFETCH(int, step);
        QFETCH(QString, error);
        ProgramHome home;
        Capture capture;
        if (!content.isEmpty())
            home.writeReport("R1", content);
        const QString path = home.reportPath("R1");
        ZelvatMsg m(home.path());
        QVERIFY(!m.Load("R1"));
        QCOMPARE(m.ISS(), QString());
        if (step == 0) {
            QVERIFY(capture.notices.isEmpty() && capture.events.isEmpty());
            return;
        }
        QCOMPARE(m.step(), step);
        QVERIFY2(m.lastError().startsWith(error), qPrintable(m.lastError()));
        const QString at = QString::number(step);
        QCOMPARE(capture.events, QStringList{m.lastError() + "; Zelvat:Load, FileName = " + path + ", Step = " + at});
        QCOMPARE(capture.noticeTexts(),
                 QStringList{"Tn911:Load, Step=" + at + "\r\nProblems loading " + path + ", please try again\r\nError=" + m.lastError()});
        if (step == 3)
            QCOMPARE(m.CTY(), QString("Kept")); // what was read before the error stays
        QCOMPARE(home.readReport("R1"), content); // a failed load changes nothing on disk
    }

    void refusedSavesChangeNothing()
    {
        // A read-only report file is not replaced; a name that would reach outside the message
        // folder is refused by save, load and delete alike.
        ProgramHome home;
        Capture capture;
        const QString name = SampleReport::save(home.path());
        const QString path = home.reportPath(name);
        const QByteArray before = home.readReport(name);
        QFile::setPermissions(path, QFile::ReadOwner | QFile::ReadUser);
        ZelvatMsg m(home.path());
        QVERIFY(m.IsReadOnly(name) && m.Load(name));
        m.setCTY("New");
        QVERIFY(!m.Fadd());
        QCOMPARE(home.readReport(name), before);
        QVERIFY(capture.notices.value(0).text.startsWith("Tn911:Fadd, Step=2\r\nProblems saving '" + path + "', please try again\r\nError="));
        QVERIFY(capture.events.size() == 1 && capture.events[0].endsWith("; Tn911:Fadd, FileName = " + path + ", Step = 2"));
        // ... and so are the names Windows positions on a shared folder could not open.
        for (const char *eid : {"../escape", "a/b", "", "a..b", "CON", "nul.1", "Com3", "a:b", "a?b", "a|b"}) {
            m.setEID(eid);
            QVERIFY2(!m.Fadd(), eid);
        }
        m.setEID("CONSOLE1");
        QVERIFY(m.Fadd());
        writeFile(home.path() + "/outside.911", "CTY=Secret\r\n");
        QVERIFY(!m.Load("../outside"));
        QCOMPARE(m.CTY(), QString());
        QVERIFY(!m.Fdelete("..\\outside", 8));
        QVERIFY(QFile::exists(home.path() + "/outside.911") && !QFile::exists(home.path() + "/escape.911"));
        QCOMPARE(home.reportFiles(), (QStringList{name + ".911", "CONSOLE1.911"}));
        QCOMPARE(capture.notices.size(), 13); // the read-only file, the ten names, the load, the delete
        for (const QString &text : capture.noticeTexts().mid(1))
            QVERIFY2(text.contains("Error=52, Bad file name or number"), qPrintable(text));
    }

    void deletes_data()
    {
        QTest::addColumn<QByteArray>("content"); // the file R1.911
        QTest::addColumn<int>("state");          // the folder the delete is made in
        QTest::addColumn<bool>("result");
        QTest::addColumn<QByteArray>("holds");   // what R1.911 then holds; empty: it is gone
        const QByteArray broken("EID=R1\r\nCON=yes\r\nDTL=long story\r\n");
        QTest::newRow("a Ready report is marked Deleted, the rest kept")
            << QByteArray("EID=R1\r\nCTY=Town\r\nAST=2\r\n") << 2 << true << QByteArray("\r\nCTY=Town\r\n");
        QTest::newRow("in Deleted the file goes") << QByteArray("EID=R1\r\nAST=8\r\n") << 8 << true << QByteArray();
        QTest::newRow("nothing left to remove is no error") << QByteArray() << 8 << true << QByteArray();
        QTest::newRow("a broken report is never rewritten") << broken << 6 << false << broken;
        QTest::newRow("marked in its own file, whatever its EID says")
            << QByteArray("EID=OTHER\r\nAST=2\r\n") << 2 << true << QByteArray("\r\nAST=8\r\n");
    }

    void deletes()
    {
        QFETCH(QByteArray, content);
        QFETCH(int, state);
        QFETCH(bool, result);
        QFETCH(QByteArray, holds);
        ProgramHome home;
        Capture capture;
        if (!content.isEmpty())
            home.writeReport("R1", content);
        ZelvatMsg m(home.path());
        QCOMPARE(m.Fdelete("R1", qint16(state)), result);
        QCOMPARE(home.reportFiles(), holds.isEmpty() ? QStringList() : QStringList{"R1.911"});
        QVERIFY2(home.readReport("R1").contains(holds), home.readReport("R1").constData());
    }

    void versionsKept_data()
    {
        // What each way of replacing a report keeps, and what the limits leave of the versions.
        QTest::addColumn<QString>("how");
        QTest::addColumn<int>("count"); // the limit of versions; none older than 90 days
        QTest::addColumn<int>("kept");  // versions of R1 afterwards
        QTest::newRow("a save keeps the bytes it replaces") << "save" << 50 << 1;
        QTest::newRow("a removal from Deleted keeps them") << "remove" << 50 << 1;
        QTest::newRow("at most N, the newest") << "save5" << 3 << 3;
        QTest::newRow("none older than D days") << "aged" << 50 << 1;
        QTest::newRow("a count of 0 keeps nothing") << "save" << 0 << 0;
    }

    void versionsKept()
    {
        QFETCH(QString, how);
        QFETCH(int, count);
        QFETCH(int, kept);
        ProgramHome home;
        Capture capture;
        ReportVersions::setLimits({count, 90});
        home.writeReport("R1", "EID=R1\r\nULO=NRT\r\nUID=1234\r\nAST=8\r\n");
        ReportVersions versions(home.path() + "/msg.d");
        const QString folder = home.path() + "/msg.d/.versions/R1/";
        if (how == "aged") {
            QVERIFY(QDir().mkpath(folder));
            writeFile(folder + "20200101T000000000-00", "old");
        }
        QByteArray last;
        ZelvatMsg m(home.path());
        for (int i = 0; i < (how == "save5" ? 5 : 1); ++i) {
            last = home.readReport("R1");
            QVERIFY(how == "remove" ? m.Fdelete("R1", 8) : m.Load("R1") && (m.setCTY(QString::number(i)), m.Fadd()));
        }
        const QList<ReportVersions::Version> list = versions.list("R1");
        ReportVersions::setLimits({});
        QByteArray bytes;
        QVERIFY(list.size() == kept && !QFile::exists(folder + "20200101T000000000-00") && (!kept || versions.read("R1", list.last().token, &bytes, nullptr)));
        if (!kept)
            return;
        QCOMPARE(bytes, last);
        QCOMPARE(list.last().state, QString("Deleted"));
        // Written here: the writer's note names this position; else the report's own names.
        QCOMPARE(list.last().station, how == "save5" ? Position::current().describe() : QString("NRT (1234)"));
        QVERIFY(list.first().time <= list.last().time && list.last().time.secsTo(QDateTime::currentDateTimeUtc()) < 60);
        QVERIFY(capture.notices.isEmpty());
    }

    void versionsFolderThatIsNoFolder_data()
    {
        QTest::addColumn<QString>("where"); // .versions or .versions/R1
        QTest::addColumn<QString>("thing");
        QTest::newRow("a link") << ".versions" << "link";
        QTest::newRow("a file") << ".versions" << "file";
        QTest::newRow("the report's own, a link") << ".versions/R1" << "link";
        QTest::newRow("the report's own, a named pipe") << ".versions/R1" << "fifo";
    }

    void versionsFolderThatIsNoFolder()
    {
        // The write stops and says why; the report and what the link points at stay as they were.
        QFETCH(QString, where);
        QFETCH(QString, thing);
        ProgramHome home;
        Capture capture;
        home.writeReport("R1", "EID=R1\r\nAST=6\r\n");
        const QString path = home.path() + "/msg.d/" + where, elsewhere = home.path() + "/elsewhere";
        QVERIFY(QDir().mkpath(elsewhere) && QDir().mkpath(QFileInfo(path).path()));
        if (thing == "link")
            MAKE_LINK_OR_SKIP(elsewhere, path);
        else if (thing == "fifo")
            MAKE_FIFO_OR_SKIP(path);
        else
            writeFile(path, "x");
        ZelvatMsg m(home.path());
        QVERIFY(m.Load("R1") && (m.setCTY("New"), !m.Fadd()) && !m.Fdelete("R1", 8));
        QCOMPARE(home.readReport("R1"), QByteArray("EID=R1\r\nAST=6\r\n"));
        QVERIFY(QDir(elsewhere).isEmpty());
        QCOMPARE(capture.notices.size(), 2);
        QVERIFY2(capture.notices[0].text.contains("could not be kept as an earlier version, so it was not replaced")
                     && capture.notices[0].text.contains("not a folder"),
                 qPrintable(capture.notices[0].text));
    }

    void badEntriesPassedOver()
    {
        // Links, pipes and stray names among the versions are named once and never followed.
        ProgramHome home;
        Capture capture;
        const QString folder = home.path() + "/msg.d/.versions/R1/";
        QVERIFY(QDir().mkpath(folder));
        writeFile(home.path() + "/secret", "EID=S\r\nAST=9\r\n");
        MAKE_LINK_OR_SKIP(home.path() + "/secret", folder + "20260101T000000000-00");
        MAKE_FIFO_OR_SKIP(folder + "20260101T000000000-01");
        writeFile(folder + "notes.txt", "x");
        writeFile(folder + "20260101T000000000-02", "EID=R1\r\nAST=2\r\n");
        ReportVersions versions(home.path() + "/msg.d");
        for (int look = 0; look < 2; ++look) {
            const QList<ReportVersions::Version> list = versions.list("R1");
            QVERIFY(list.size() == 1 && list[0].token == "20260101T000000000-02" && list[0].state == "Ready");
        }
        QByteArray bytes;
        QVERIFY(!versions.read("R1", "20260101T000000000-00", &bytes, nullptr) && bytes.isEmpty());
        QCOMPARE(capture.events.size(), 3);
        for (const char *name : {"-00 is a symbolic link", "-01 is a named pipe", "notes.txt is no kept version's name"})
            QVERIFY2(capture.events.filter(name).size() == 1, qPrintable(capture.events.join('\n')));
    }

    void whatIsNoReportIsNeverTouched_data()
    {
        QTest::addColumn<QString>("thing");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("said");
        QTest::newRow("a named pipe") << "fifo" << int(SafeFile::Kind::Fifo) << "a named pipe (FIFO), not a regular file";
        QTest::newRow("a link to a report outside") << "link" << int(SafeFile::Kind::SymbolicLink) << "a symbolic link, not a regular file";
        QTest::newRow("a folder") << "folder" << int(SafeFile::Kind::Directory) << "a folder, not a regular file";
        QTest::newRow("a file with no report line") << "words" << int(SafeFile::Kind::Regular)
                                                    << "it holds no report line; this is not a report file";
    }

    void whatIsNoReportIsNeverTouched()
    {
        QFETCH(QString, thing);
        QFETCH(int, kind);
        QFETCH(QString, said);
        ProgramHome home;
        Capture capture;
        const QString path = home.reportPath("X"), outside = home.path() + "/outside.911";
        writeFile(outside, "EID=X\r\nAST=2\r\n");
        if (thing == "fifo")
            MAKE_FIFO_OR_SKIP(path);
        else if (thing == "link")
            MAKE_LINK_OR_SKIP(outside, path);
        else if (thing == "folder")
            QVERIFY(QDir().mkpath(path));
        else
            writeFile(path, "just some words\r\n");
        ZelvatMsg m(home.path());
        QVERIFY(!m.Load("X"));
        QVERIFY(!m.Fdelete("X", 2) && !m.Fdelete("X", 8));
        QCOMPARE(capture.notices.size(), 3);
        QVERIFY2(capture.notices[0].text.contains(said), qPrintable(capture.notices[0].text));
        QCOMPARE(int(SafeFile::kindOf(path)), kind);
        QCOMPARE(readFile(outside), QByteArray("EID=X\r\nAST=2\r\n"));
        // The list shows it, in every folder, for what it is.
        const QList<ReportList::Row> rows = ReferenceList::build(m, Zelvat::StateReady);
        QCOMPARE(rows.size(), thing == "words" ? 0 : 1);
        if (!rows.isEmpty())
            QCOMPARE(rows[0].cells[ReportList::State], QString("Not a report"));
    }

    void whatIsWrittenReadsBack()
    {
        // The worst text each box takes: every character of the code page but the control ones, the
        // tab, line breaks where a box keeps them, as long as a report line can be.
        ProgramHome home;
        Capture capture;
        QString every;
        for (int b = 0x20; b < 0x100; ++b)
            every += CodePage::decode(QByteArray(1, char(b)));
        every.remove(QChar(0x7F));
        for (const FormFields::Box &b : FormFields::boxes()) {
            ZelvatMsg m = SampleReport::make(home.path());
            m.setTYP("MED+FIRE+LAW+LGOV");
            const QString piece = every + '\t' + (b.multiLine ? "\n" : "");
            QString worst = "x";
            while (escapeBreaks(worst + piece).size() <= 65531)
                worst += piece;
            worst += QString(65532 - escapeBreaks(worst).size(), 'x'); // a line exactly as long as a line can be
            FormFields::storeValue(b, m, worst);
            QVERIFY2(m.storageProblem().isEmpty(), qPrintable(FormFields::objectName(b) + ": " + m.storageProblem()));
            QVERIFY(m.Fadd());
            ZelvatMsg back(home.path());
            QVERIFY(back.Load(m.EID()));
            QCOMPARE(FormFields::shownValue(b, back), FormFields::shownValue(b, m));
        }
        // One character more than a line holds, a control character, or a report too large as a
        // whole is refused before anything is written, naming the field.
        const QByteArray before = home.readReport("ABC26320.000000");
        const std::tuple<ZelvatMsg::Key, QString, QString> refused[] = {
            {Key::DTL, QString(65533, 'x'), "holds 65533 characters; at most 65532 fit"},
            {Key::ISS, "bad\x01" "char", "holds a control character (0x01)"},
            {ZelvatMsg::Key(-1), QString(60000, 'y'), "the report as a whole holds"}};
        for (const auto &[key, value, why] : refused) {
            ZelvatMsg m = SampleReport::make(home.path());
            m.setTYP("MED+FIRE+LAW+LGOV");
            for (Key k : ZelvatMsg::allKeys())
                if ((k == key || int(key) < 0) && !ZelvatMsg::isIntegerKey(k) && k != Key::EID && k != Key::TYP)
                    m.setText(k, value);
            ZelvatMsg::Key named {};
            QVERIFY2(m.storageProblem(&named).startsWith(why), qPrintable(m.storageProblem()));
            QCOMPARE(int(named), int(key));
            QVERIFY(!m.Fadd());
        }
        QCOMPARE(home.readReport("ABC26320.000000"), before);
        QCOMPARE(capture.notices.size(), 3);
    }

    void aReportSavesToTheFileItCameFrom()
    {
        ProgramHome home;
        home.writeReport("copy", "EID=E1\r\nAST=2\r\nTYP= LAW\r\n");
        home.writeReport("E1", "EID=E1\r\nAST=9\r\nCTY=Original\r\n");
        ZelvatMsg m(home.path());
        QVERIFY(m.Load("copy"));
        m.setAST(9);
        m.setText(Key::PDE, "a\r\nb\nc");
        QVERIFY(m.Fadd());
        // A value read with blanks around it goes back exactly as held; a line break that reaches a
        // value is written as the "\n" escape so that it cannot split the line.
        const QByteArray copy = home.readReport("copy");
        QVERIFY(copy.contains("\r\nAST=9\r\n") && copy.contains("\r\nTYP= LAW\r\n") && copy.contains("\r\nPDE=a\\nb\\nc\r\n"));
        QCOMPARE(home.readReport("E1"), QByteArray("EID=E1\r\nAST=9\r\nCTY=Original\r\n"));
        m.setEID("E2"); // given another event ID, it is another report
        QVERIFY(m.Fadd());
        QCOMPARE(home.reportFiles(), (QStringList{"E1.911", "E2.911", "copy.911"}));
    }

    void folderListing()
    {
        ProgramHome home;
        Capture capture;
        for (const char *name : {"A.911", "B.911", ".911", "x.911.911", "notes.txt", "C.911.bak"})
            writeFile(home.path() + "/msg.d/" + name, "AST=2\r\n");
        ZelvatMsg m(home.path());
        const QString list = m.BuildFileList();
        QVERIFY(!list.endsWith('\n'));
        QStringList names = list.split("\r\n");
        names.sort();
        QCOMPARE(names, (QStringList{"A", "B", "x.911"})); // only the trailing ".911" is the file's type
        QCOMPARE(capture.events, QStringList{"Tn911:BuildFileList, detected, excluded an extent-only '.911' file"});
        QVERIFY(m.Exists(" A ") && !m.Exists("a") && !m.Exists("C"));
        QVERIFY(!m.IsReadOnly("A") && !m.IsReadOnly("missing"));
        QCOMPARE(ZelvatMsg(home.path() + "/nowhere").BuildFileList(), QString());
    }

    void programFolderOfAnInstalledProgram()
    {
        // A portable program keeps its data beside it; an installed one in the per-user data folder.
        ProgramHome home;
        QCOMPARE(ProgramFolder::resolve(home.path()), QFileInfo(home.path()).absoluteFilePath());
        QStandardPaths::setTestModeEnabled(true);
        const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/Zelvatcts";
        QCOMPARE(ProgramFolder::resolve(ZELVAT_TEST_INSTALLED_BINDIR), data);
        QCOMPARE(ProgramFolder::resolve(home.path() + "/missing"), data);
        QStandardPaths::setTestModeEnabled(false);
    }

    void eventPairFormat()
    {
        // The counter has at least three digits and is never cut; the day of the year three.
        DatetimeLib::setFixedNow(QDateTime(QDate(2027, 1, 5), QTime(9, 0)));
        const EventPair seven = EventNumbers::pairFor("ABC", 7), thousand = EventNumbers::pairFor("X", 1000);
        DatetimeLib::setFixedNow({});
        QCOMPARE(seven.eventNumber + ' ' + seven.messageId, QString("ABC27005.007 ABC-007"));
        QCOMPARE(thousand.eventNumber + ' ' + thousand.messageId, QString("X27005.1000 X-1000"));
    }

    void eventNumbers_data()
    {
        QTest::addColumn<QString>("lid");
        QTest::addColumn<int>("eno");              // the counter in the station file at start
        QTest::addColumn<QStringList>("existing"); // report files already there
        QTest::addColumn<QStringList>("takes");    // by the window "w" or the client "c"; "w=500": the operator's new counter
        QTest::addColumn<QStringList>("taken");    // message identifiers, "none" where no number was given
        QTest::addColumn<int>("enoAfter");         // in the file, also after both save their settings
        QTest::newRow("consecutive") << "ABC" << 100 << QStringList{} << QStringList{"w", "w"} << QStringList{"ABC-100", "ABC-101"} << 102;
        QTest::newRow("a number whose report exists is passed over")
            << "" << 100 << QStringList{"26320.100", "26320.101"} << QStringList{"w"} << QStringList{"-102"} << 103;
        QTest::newRow("numbers stop at 32767") << "" << 32767 << QStringList{} << QStringList{"w", "w"} << QStringList{"-32767", "none"} << 32768;
        QTest::newRow("two programs never share a number")
            << "" << 100 << QStringList{} << QStringList{"c", "w", "c", "w"} << QStringList{"-100", "-101", "-102", "-103"} << 104;
        QTest::newRow("the operator's new counter counts")
            << "" << 100 << QStringList{} << QStringList{"c", "w=500", "c"} << QStringList{"-100", "-500", "-501"} << 502;
        QTest::newRow("a location ID that leaves the folder") << "../" << 100 << QStringList{} << QStringList{"w"} << QStringList{"none"} << 100;
    }

    void eventNumbers()
    {
        QFETCH(QString, lid);
        QFETCH(int, eno);
        QFETCH(QStringList, existing);
        QFETCH(QStringList, takes);
        QFETCH(QStringList, taken);
        QFETCH(int, enoAfter);
        ProgramHome home("Lid=" + lid.toLatin1() + "\r\nEno=" + QByteArray::number(eno) + "\r\n");
        for (const QString &name : existing)
            home.writeReport(name, "AST=6\r\n");
        ZelvatIni window(home.stationPath()), client(home.stationPath());
        window.load();
        client.load();
        ZelvatMsg store(home.path());
        QStringList got;
        for (const QString &take : takes) {
            ZelvatIni &ini = take.startsWith('w') ? window : client;
            if (take.contains('='))
                ini.Eno = take.section('=', 1).toInt();
            RunError error;
            const auto pair = EventNumbers::newEventPair(ini, store, &error);
            got << (pair ? pair->messageId : QStringLiteral("none"));
            QVERIFY(pair || !error.description.isEmpty());
        }
        QCOMPARE(got, taken);
        const QByteArray line = "\r\nEno=" + QByteArray::number(enoAfter) + "\r\n";
        QVERIFY(readFile(home.stationPath()).contains(line));
        QVERIFY(client.save() && window.save()); // a plain save by either never winds the counter back
        QVERIFY(readFile(home.stationPath()).contains(line));
    }

    void aHeldLockIsNamed()
    {
        ProgramHome home;
        QLockFile other(home.stationPath() + ".lock");
        QVERIFY(other.tryLock());
        RunError error;
        home.station().lockWaitMs = 100;
        QVERIFY(!EventNumbers::newEventPair(home.station(), ZelvatMsg(home.path()), &error));
        const QString why = error.description;
        QVERIFY2(why.contains("in use by another program") && why.contains(QString::number(QCoreApplication::applicationPid()))
                     && why.contains("no event number was taken"),
                 qPrintable(why));
    }

    // What another program did to a report since a form loaded it (a Draft, "Fall"), against the
    // form's record (ISS "Mine") in the state it would write: which case it is, the fields that
    // differ under the form's captions, and who is named as having written it.
    void conflictWithAnotherProgram_data()
    {
        QTest::addColumn<QString>("elsewhere"); // their save (noted), their raw write, or a removal
        QTest::addColumn<QStringList>("theirs"); // their changes
        QTest::addColumn<int>("state");          // the state the form would write
        QTest::addColumn<int>("kind");
        QTest::addColumn<QStringList>("differ"); // "field|theirs|mine"
        using K = ReportConflict::Kind;
        const QString issue = "What are you reporting?|Theirs|Mine";
        QTest::newRow("the same bytes again") << "raw" << QStringList() << 6 << int(K::Unchanged) << QStringList();
        QTest::newRow("saved at a position") << "save" << QStringList{"ISS=Theirs"} << 6 << int(K::Changed) << QStringList{issue};
        QTest::newRow("written by another program")
            << "raw" << QStringList{"ISS=Theirs", "CON=1"} << 6 << int(K::Changed) << QStringList{issue, "Conscious?|Yes|"};
        QTest::newRow("submitted, form submits") << "save" << QStringList{"AST=9"} << 2 << int(K::Submitted) << QStringList{"What are you reporting?|Fall|Mine", "State|Submitted|Ready"};
        QTest::newRow("submitted, form deletes") << "save" << QStringList{"AST=9"} << 8 << int(K::Changed) << QStringList{"What are you reporting?|Fall|Mine", "State|Submitted|Deleted"};
        QTest::newRow("removed") << "remove" << QStringList() << 6 << int(K::Removed) << QStringList();
    }

    void conflictWithAnotherProgram()
    {
        QFETCH(QString, elsewhere);
        QFETCH(QStringList, theirs);
        QFETCH(int, state);
        QFETCH(int, kind);
        QFETCH(QStringList, differ);
        ProgramHome home;
        Position::setStation(home.station());
        ZelvatMsg other = SampleReport::make(home.path(), 0, 6);
        SampleReport::change(other, {"EID=R1", "ISS=Fall", "CON=-1"});
        QVERIFY(other.Fadd());
        ZelvatMsg mine(home.path());
        ReportConflict::Seen seen;
        QVERIFY(ReportConflict::load(mine, "R1", &seen) && seen.bytes == home.readReport("R1"));
        SampleReport::change(mine, {"ISS=Mine"});

        QTest::qWait(5); // a later modification time
        SampleReport::change(other, theirs);
        if (elsewhere == "save")
            QVERIFY(other.Fadd());
        else if (elsewhere == "raw")
            home.writeReport("R1", theirs.isEmpty() ? seen.bytes : other.fileContent("x"));
        else if (elsewhere == "remove")
            QVERIFY(QFile::remove(home.reportPath("R1")));

        const ReportConflict::Finding f = ReportConflict::examine(mine, "R1", seen, qint16(state));
        QCOMPARE(int(f.kind), kind);
        QStringList got;
        for (const ReportConflict::Difference &d : f.differences)
            got << d.field + '|' + d.theirs + '|' + d.mine;
        QCOMPARE(got, differ);
        if (kind == int(ReportConflict::Kind::Unchanged) || kind == int(ReportConflict::Kind::Removed))
            return;
        // The writer is named from the note its save left; a note of another version says nothing.
        // (The station has a location and a user ID but no name.)
        QCOMPARE(f.writer, elsewhere == "save" ? QString("SPF (KN1ABC)") : QString("another program"));
        QCOMPARE(f.when, QFileInfo(home.reportPath("R1")).lastModified());
    }

    void lastSeen_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("after"); // at 14:05
        QTest::newRow("minus five minutes") << "-5" << "14:00";
        QTest::newRow("half minutes round away from zero") << "-2.5" << "14:02";
        QTest::newRow("to the nearest minute") << "1.5" << "14:07";
        QTest::newRow("over midnight") << "-900" << "23:05";
        QTest::newRow("a colon stays") << "99:99" << "99:99";
        QTest::newRow("words stay") << "an hour ago" << "an hour ago";
        QTest::newRow("beyond ten years stays") << "99999999" << "99999999";
    }

    void lastSeen()
    {
        QFETCH(QString, typed);
        QFETCH(QString, after);
        QCOMPARE(FormRules::ResolveLastSeen(typed, ProgramHome::FixedNow), after);
    }

    void chronologicalOrder()
    {
        // Month first, the years 30 to 99 of the last century; a cell that is no valid date and time first.
        QStringList cells{"01/01/27 09:00", "02/01/26 09:00", "// :",          "01/02/26 08:00",
                          "02/30/26 10:00", "01/01/25 09:00", "01/01/25 +9:30", "12/31/99 23:00"};
        std::stable_sort(cells.begin(), cells.end(),
                         [](const QString &a, const QString &b) { return ReportList::chronoValue(a) < ReportList::chronoValue(b); });
        QCOMPARE(cells, (QStringList{"// :", "02/30/26 10:00", "01/01/25 +9:30", "12/31/99 23:00", "01/01/25 09:00",
                                     "01/02/26 08:00", "02/01/26 09:00", "01/01/27 09:00"}));
    }

    void writtenSoonAfterTheLastChange_data()
    {
        QTest::addColumn<QList<int>>("changes"); // milliseconds after 14:05:00
        QTest::addColumn<int>("asked");
        QTest::addColumn<bool>("due");

        QTest::newRow("nothing typed") << QList<int>{} << 5000 << false;
        QTest::newRow("a key, still typing") << QList<int>{0} << 499 << false;
        QTest::newRow("a key, then a pause") << QList<int>{0} << 500 << true;
        QTest::newRow("typing on, within two seconds") << QList<int>{0, 400, 800, 1200, 1600} << 1999 << false;
        QTest::newRow("typing on, two seconds after the first") << QList<int>{0, 400, 800, 1200, 1600, 1999} << 2000 << true;
        QTest::newRow("the clock put back") << QList<int>{3000} << 1000 << true;
    }

    void writtenSoonAfterTheLastChange()
    {
        QFETCH(QList<int>, changes);
        QFETCH(int, asked);
        QFETCH(bool, due);
        FormRecovery::Schedule schedule;
        for (int ms : changes)
            schedule.noteChange(ProgramHome::FixedNow.addMSecs(ms));
        QCOMPARE(schedule.due(ProgramHome::FixedNow.addMSecs(asked)), due);
        schedule.written();
        QVERIFY(!schedule.due(ProgramHome::FixedNow.addSecs(60))); // once written, nothing waits
    }

    void keepsTheInputExactly_data()
    {
        QTest::addColumn<QStringList>("changes");
        QTest::addColumn<QString>("openedFrom");
        QTest::addColumn<bool>("update");
        QTest::addColumn<bool>("contact");

        QTest::newRow("a new report, every box") << QStringList{"AST=1"} << "" << false << false;
        QTest::newRow("reopened with Update, contact asked") << QStringList{"AST=1"} << "ABC26320.000000" << true << true;
        QTest::newRow("a box of a type chosen and dropped keeps its text")
            << QStringList{"TYP=FIRE", "AGE=70", "PDE=Tall\\nred jacket", "CON=-1", "AST=6"} << "" << false << false;
        QTest::newRow("blanks the operator typed last") << QStringList{"ISS=Person down ", "AD1=  12 Oak"} << "" << false << true;
    }

    void keepsTheInputExactly()
    {
        QFETCH(QStringList, changes);
        QFETCH(QString, openedFrom);
        QFETCH(bool, update);
        QFETCH(bool, contact);
        ProgramHome home;
        Capture capture;
        FormRecovery::Input input(home.path());
        input.record = SampleReport::make(home.path(), 0, 1);
        SampleReport::change(input.record, changes);
        for (const QString &c : changes) { // as the form's boxes hold the text: blanks kept
            for (Key k : ZelvatMsg::allKeys()) {
                if (!ZelvatMsg::isIntegerKey(k) && c.startsWith(ZelvatMsg::keyName(k) + '='))
                    input.record.setRawText(k, c.mid(4));
            }
        }
        input.openedFrom = openedFrom;
        input.update = update;
        input.contact = contact;
        input.written = ProgramHome::FixedNow.addSecs(9);

        QVERIFY(FormRecovery::write(home.path(), "ABC26320.000000", input, nullptr));
        RunError error;
        const auto back = FormRecovery::read(home.path(), "ABC26320.000000", &error);
        QVERIFY2(back, qPrintable(error.description));
        for (Key k : ZelvatMsg::allKeys()) {
            QCOMPARE(back->record.rawText(k), input.record.rawText(k));
            QCOMPARE(back->record.number(k), input.record.number(k));
        }
        QCOMPARE(back->openedFrom, openedFrom);
        QCOMPARE(back->update, update);
        QCOMPARE(back->contact, contact);
        QCOMPARE(back->written, input.written);
        QVERIFY(capture.notices.isEmpty());
        QVERIFY(home.reportFiles().isEmpty()); // no report file is written by keeping the input
    }

    void unreadableIsKeptAsideNeverDeleted_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("problem");

        const QByteArray head = "[FORM RECOVERY]\r\nOpened=\r\nUpdate=0\r\nContact=0\r\nWritten=2026-11-16T14:05:09\r\n";
        const QByteArray report = "[911 DEFINITION]\r\nEID=SPF26320.101\r\nISS=Fall\r\n[END]\r\n";
        QTest::newRow("no recovery file") << QByteArray("[911 DEFINITION]\r\nEID=X\r\n[END]\r\n") << "is no recovery file";
        QTest::newRow("cut short") << head + report.left(30) << "cut short";
        QTest::newRow("a flag that is no flag") << QByteArray(head).replace("Update=0", "Update=yes") + report << "Update=yes";
        QTest::newRow("no time") << QByteArray(head).replace("2026-11-16T14:05:09", "soon") + report << "Written=soon";
        QTest::newRow("a damaged report line") << head + QByteArray(report).replace("Fall", "Fa\x01ll") << "control characters";
        QTest::newRow("no event ID") << head + QByteArray(report).replace("SPF26320.101", "") << "event ID";
        QTest::newRow("opened from outside the folder") << QByteArray(head).replace("Opened=", "Opened=../x") + report << "../x";
    }

    void unreadableIsKeptAsideNeverDeleted()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, problem);
        ProgramHome home;
        Capture capture;
        QDir().mkpath(FormRecovery::folder(home.path()));
        writeFile(FormRecovery::pathFor(home.path(), "R"), bytes);
        RunError error;
        QVERIFY(!FormRecovery::read(home.path(), "R", &error));
        QVERIFY2(error.description.contains(problem), qPrintable(error.description));
        QVERIFY(capture.notices.isEmpty()); // named by whoever offers it, not by the loader

        // Put aside twice over: never deleted, never overwritten.
        QString keptAs;
        QVERIFY(FormRecovery::keepAside(home.path(), "R", &keptAs, nullptr));
        writeFile(FormRecovery::pathFor(home.path(), "R"), bytes + "second");
        QVERIFY(FormRecovery::keepAside(home.path(), "R", &keptAs, nullptr));
        QCOMPARE(QDir(FormRecovery::folder(home.path())).entryList(QDir::Files), (QStringList{"R.rec.bad", "R.rec.bad2"}));
        QCOMPARE(readFile(keptAs), bytes + "second");
        QVERIFY(FormRecovery::list(home.path()).isEmpty());
    }

    // Forms closed on purpose: newest first, 24 hours, the newest 20; a file that cannot be read
    // is never removed; reopening moves one back and replaces nothing.
    void closedFormsKept_data()
    {
        QTest::addColumn<QList<int>>("closedAgo"); // minutes before now; form i is named Ni
        QTest::addColumn<QStringList>("left");     // newest first, after NEW is closed now
        QTest::newRow("newest first") << QList<int>{3, 2, 1} << QStringList{"NEW", "N2", "N1", "N0"};
        QTest::newRow("24 hours") << QList<int>{25 * 60, 23 * 60} << QStringList{"NEW", "N1"};
        QList<int> many{21, 20, 19, 18, 17, 16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1};
        QTest::newRow("the newest 20") << many << QStringList{"NEW"} + QString("N20 N19 N18 N17 N16 N15 N14 N13 N12 N11 N10 N9 N8 N7 N6 N5 N4 N3 N2").split(' ');
    }

    void closedFormsKept()
    {
        QFETCH(QList<int>, closedAgo);
        QFETCH(QStringList, left);
        ProgramHome home;
        const QDateTime now = ProgramHome::FixedNow;
        FormRecovery::Input input(home.path());
        input.record = SampleReport::make(home.path());
        input.written = now;
        const QString junk = ClosedForms::folder(home.path()) + "/J@20261110-120000000.rec";
        for (int i = 0; i <= closedAgo.size(); ++i) {
            const QString name = i < closedAgo.size() ? "N" + QString::number(i) : "NEW";
            QVERIFY(FormRecovery::write(home.path(), name, input, nullptr));
            QVERIFY(ClosedForms::keep(home.path(), name, now.addSecs(i < closedAgo.size() ? -60 * closedAgo[i] : 0), nullptr));
            QVERIFY(!QFile::exists(FormRecovery::pathFor(home.path(), name)));
            writeFile(junk, "[FORM RECOVERY]\r\nhalf"); // there as every later one is kept
        }
        QStringList names;
        for (const ClosedForms::Entry &e : ClosedForms::list(home.path(), now))
            names << (e.input ? e.name : "unreadable " + e.name);
        QCOMPARE(names, left + QStringList{"unreadable J"});

        QVERIFY(FormRecovery::write(home.path(), left[1], input, nullptr)); // a recovery of that name waits
        RunError error;
        QVERIFY(!ClosedForms::reopen(home.path(), ClosedForms::list(home.path(), now)[1].fileName, &error));
        QVERIFY2(error.description.contains("already exists"), qPrintable(error.description));
        QCOMPARE(ClosedForms::reopen(home.path(), ClosedForms::list(home.path(), now)[0].fileName, nullptr)->record.EID(), input.record.EID());
        QVERIFY(FormRecovery::read(home.path(), "NEW", nullptr));
        QCOMPARE(ClosedForms::list(home.path(), now).size(), left.size());
    }

    void onlyWholeFilesOfStoppedFormsAreOffered()
    {
        ProgramHome home;
        FormRecovery::Input input(home.path());
        input.record = SampleReport::make(home.path());
        input.written = ProgramHome::FixedNow;
        QVERIFY(FormRecovery::write(home.path(), "A", input, nullptr));
        QVERIFY(FormRecovery::write(home.path(), "B", input, nullptr));
        // The stump of a write that was cut off, and a file put aside, are no recoveries.
        writeFile(FormRecovery::pathFor(home.path(), "A") + ".~x1y2z3", "[FORM RECOVERY]\r\nOpe");
        writeFile(FormRecovery::pathFor(home.path(), "C") + ".bad", "junk");
        {
            // B's form is open in a running program: it is listed as still being written.
            FormRecovery::Claim claim(home.path(), "B");
            QVERIFY(claim.held());
            const auto entries = FormRecovery::list(home.path());
            QCOMPARE(entries.size(), 2);
            QCOMPARE(entries[0].name, QString("A"));
            QVERIFY(entries[0].input && entries[0].holder.isEmpty());
            QVERIFY(!entries[1].holder.isEmpty());
            QVERIFY(!FormRecovery::Claim(home.path(), "B").held());
        }
        QVERIFY(FormRecovery::list(home.path())[1].holder.isEmpty()); // released with the form
        QCOMPARE(FormRecovery::offerText(*FormRecovery::list(home.path())[0].input),
                 QString("A report being written when Zelvatcts stopped was kept: ABC26320.000000, Person down near the "
                         "library, 16-Nov-26 14:05:00. Restore it?"));
        QVERIFY(FormRecovery::remove(home.path(), "A", nullptr));
        QVERIFY(FormRecovery::remove(home.path(), "A", nullptr)); // gone already: no error
        QCOMPARE(FormRecovery::list(home.path()).size(), 1);
    }

    void boxTakes_data()
    {
        QTest::addColumn<int>("group");
        QTest::addColumn<int>("index");
        QTest::addColumn<bool>("pasted"); // else typed, key by key
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("taken");
        QTest::addColumn<int>("refused");
        const auto row = [](const char *name, G g, int i, bool pasted, const QString &in, const QString &out, int no) {
            QTest::newRow(name) << int(g) << i << pasted << in << out << no;
        };
        row("summary set takes ' = _", G::Header, 0, false, "a'B=c_d!@", "a'B=c_d", 2);
        row("general set refuses = and !", G::Header, 5, false, "555-0100 =X!", "555-0100 X", 2);
        row("city takes anything", G::Header, 8, false, "st. john's!", "st. john's!", 0);
        row("plate in capitals, filtered", G::Law, 4, false, "7abc*1", "7ABC1", 1);
        row("state in capitals", G::Law, 5, false, "ca", "CA", 0);
        row("vehicle as typed", G::Law, 3, false, "Red van", "Red van", 0);
        row("backspace passes a filtered box", G::Header, 0, false, "\b", "\b", 0);
        row("beyond the code page refused", G::Header, 7, false, QString::fromUtf8("Łódź é€"), QString::fromUtf8("ód é€"), 2);
        row("pasted: plate in capitals, refused signs left out", G::Law, 4, true, "7abc-12!", "7ABC-12", 1);
        row("pasted: summary's characters", G::Header, 0, true, "Fall @ home #2", "Fall  home 2", 2);
        row("pasted: one-line box joins lines", G::Header, 1, true, "12 Oak St\r\nrear\n", "12 Oak St rear ", 0);
        row("pasted: details keep lines", G::Header, 7, true, "first\r\nsecond\rthird", "first\nsecond\nthird", 0);
        row("pasted: outside the code page", G::Header, 7, true, QString::fromUtf8("ok \xE2\x9C\x93 \xF0\x9F\x98\x80 é€"),
            QString::fromUtf8("ok   é€"), 3);
        row("pasted: tab and control characters", G::Header, 6, true, QString("14\t05\x01\b\x7F"), "14 05", 3);
    }

    void boxTakes()
    {
        QFETCH(int, group);
        QFETCH(int, index);
        QFETCH(bool, pasted);
        QFETCH(QString, input);
        QFETCH(QString, taken);
        QFETCH(int, refused);
        const FormFields::Box &b = FormFields::box(G(group), index);
        FormPaste::Result r;
        if (pasted)
            r = FormPaste::filter(b, input);
        for (QChar c : pasted ? QString() : input) {
            const QChar k = FormPaste::typed(b, c);
            k.isNull() ? void(++r.refused) : void(r.text += k);
        }
        QCOMPARE(r.text, taken);
        QCOMPARE(r.refused, refused);
    }

    void viewOfState_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<QString>("shown"); // the caption, the commands enabled, the Save button's caption
        QTest::newRow("1 new") << 1 << "New Report|Delete Save Submit Close|Save";
        QTest::newRow("6 draft") << 6 << "Previously Saved Report|Delete Save Submit Close|Save";
        QTest::newRow("2 ready") << 2 << "Ready, not Submitted|Delete Submit Close|Save";
        QTest::newRow("8 deleted") << 8 << "Deleted Report|Close|Save";
        QTest::newRow("9 submitted") << 9 << "Submitted Report|Delete Save Close|Update";
        for (int state : {0, 3, 7, 10})
            QTest::addRow("%d: none", state) << state << "";
    }

    void viewOfState()
    {
        QFETCH(int, state);
        QFETCH(QString, shown);
        const auto v = FormRules::viewOfState(state);
        QStringList on;
        if (v) {
            for (const auto &[enabled, name] : {std::pair{v->deleteEnabled, "Delete"}, {v->saveEnabled, "Save"},
                                                {v->submitEnabled, "Submit"}, {v->closeEnabled, "Close"}})
                if (enabled)
                    on << name;
        }
        QCOMPARE(v ? v->caption + "|" + on.join(' ') + "|" + v->saveCaption : QString(), shown);
        QCOMPARE(FormRules::canSubmit(state), state == 1 || state == 2 || state == 6);
    }

    void stationFileAsFound_data()
    {
        QTest::addColumn<QByteArray>("before"); // empty: no file
        QTest::addColumn<QByteArray>("after");
        QTest::newRow("missing: written with the defaults") << QByteArray() << kDefaults;
        QTest::newRow("header only: defaults, not rewritten") << QByteArray("[GENERAL OPTIONS]\r\n")
                                                              << QByteArray("[GENERAL OPTIONS]\r\n");
    }

    void stationFileAsFound()
    {
        QFETCH(QByteArray, before);
        QFETCH(QByteArray, after);
        if (!before.isEmpty())
            writeFile(stationPath(), before);
        ZelvatIni ini(stationPath());
        QVERIFY(ini.load());
        QCOMPARE(readFile(stationPath()), after);
        QCOMPARE(ini.Eno, 100);
        QCOMPARE(ini.Enc, QString("BASE64"));
    }

    void stationValues_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("value");

        QTest::newRow("leading blank of value kept") << QByteArray("Hst= host.example") << "Hst" << " host.example";
        QTest::newRow("blanks around key") << QByteArray(" Hst =h2") << "Hst" << "h2";
        QTest::newRow("first = splits") << QByteArray("Nam=A=B") << "Nam" << "A=B";
        QTest::newRow("keys case-sensitive") << QByteArray("nam=x") << "Nam" << "";
        QTest::newRow("last wins") << QByteArray("Lid=AAA\r\nLid=BBB") << "Lid" << "BBB";
        QTest::newRow("Eno rounds half to even") << QByteArray("Eno=102.5") << "Eno" << "102";
        QTest::newRow("Nto") << QByteArray("Nto=250") << "Nto" << "250";
        QTest::newRow("font size with a fraction") << QByteArray("Lvf=8.25") << "Lvf" << "8.25";
        QTest::newRow("8-bit text") << QByteArray("Loc=M\xFCnster") << "Loc" << QString::fromUtf8("Münster");
    }

    void stationValues()
    {
        // Read as the line says, then written and read back the same (the font size as typed).
        QFETCH(QByteArray, line);
        QFETCH(QString, field);
        QFETCH(QString, value);
        Capture capture;
        writeFile(stationPath(), "[GENERAL OPTIONS]\r\n" + line + "\r\n");
        for (int pass = 0; pass < 2; ++pass) {
            ZelvatIni ini(stationPath());
            QVERIFY(ini.load());
            const QHash<QString, QString> values = {{"Nam", ini.Nam}, {"Lid", ini.Lid}, {"Loc", ini.Loc}, {"Hst", ini.Hst},
                                                    {"Eno", QString::number(ini.Eno)}, {"Nto", QString::number(ini.Nto)},
                                                    {"Lvf", QString::number(ini.Lvf)}};
            QCOMPARE(values.value(field), value);
            QVERIFY(ini.save());
        }
        QVERIFY(capture.notices.isEmpty());
    }

    void brokenStationFile_data()
    {
        QTest::addColumn<QByteArray>("badLine"); // empty: a folder stands where the file should be
        QTest::addColumn<QString>("named");      // what the message names besides the file

        QTest::newRow("letters in Eno") << QByteArray("Eno=12ab") << "line 3, \"Eno=12ab\"";
        QTest::newRow("Nto out of range") << QByteArray("Nto=70000") << "Nto=70000";
        QTest::newRow("Lvf not a number") << QByteArray("Lvf=big") << "Lvf=big";
        QTest::newRow("key without =") << QByteArray("Eno") << "line 3, \"Eno\"";
        QTest::newRow("Eno beyond 32 bits") << QByteArray("Eno=99999999999") << "Eno=99999999999";
        QTest::newRow("a folder, no file") << QByteArray() << "every setting has its default";
    }

    void brokenStationFile()
    {
        QFETCH(QByteArray, badLine);
        QFETCH(QString, named);
        Capture capture;
        const QByteArray content = "[GENERAL OPTIONS]\r\nNam=Pat\r\n" + badLine + "\r\nHst=radio\r\n";
        if (badLine.isEmpty())
            QVERIFY(QDir().mkpath(stationPath()));
        else
            writeFile(stationPath(), content);
        ZelvatIni ini(stationPath());
        QVERIFY(!ini.load());
        QCOMPARE(ini.Eno, 100); // the bad value keeps its default, the others are taken
        QCOMPARE(ini.Nto, qint16(5000));
        QCOMPARE(ini.Lvf, 10.0f);
        QCOMPARE(ini.Hst, badLine.isEmpty() ? QString("127.0.0.1") : QString("radio"));
        // One message naming the file, the line and the value; the file as it was is kept.
        QCOMPARE(capture.notices.size(), 1);
        const QString text = capture.notices[0].text;
        QVERIFY2(text.contains(stationPath()) && text.contains(named), qPrintable(text));
        if (badLine.isEmpty())
            return;
        QCOMPARE(readFile(stationPath() + ".bad"), content);
        QVERIFY(ini.save());
        QCOMPARE(readFile(stationPath() + ".bad"), content);
        QVERIFY(readFile(stationPath()).contains("\r\nNam=Pat\r\n"));
    }

    void globalFileRewrite_data()
    {
        QTest::addColumn<QByteArray>("before"); // empty: no file
        QTest::addColumn<int>("useGlobal");     // set before the object goes; 1 leaves it
        QTest::addColumn<QByteArray>("after");  // what the file starts with, or holds whole when no "=" follows

        QTest::newRow("missing: defaults at once") << QByteArray() << 1 << kGlobalDefaults;
        QTest::newRow("another version: rewritten, values kept")
            << QByteArray("[GENERAL VARIABLES]\r\nVersion=0.9.1\r\nProfSave=0\r\n[LOCAL PRINTER]\r\nLstFontSize=12\r\n") << 1
            << "[GENERAL VARIABLES]\r\nVersion=" + kVersion + "\r\nUseGlobalMsgNum=1\r\nProfSave=0\r\n";
        QTest::newRow("no = at all: left alone") << QByteArray("[GENERAL VARIABLES]\r\njust words\r\n") << 1
                                                << QByteArray("[GENERAL VARIABLES]\r\njust words\r\n");
        QTest::newRow("the run flag alone: left alone") << kCurrent << 1 << kCurrent;
        QTest::newRow("a number beyond 16 bits refused") << kCurrent << 40000 << kCurrent;
        QTest::newRow("a changed number: rewritten") << kCurrent << 0
                                                     << "[GENERAL VARIABLES]\r\nVersion=" + kVersion + "\r\nUseGlobalMsgNum=0\r\n";
    }

    void globalFileRewrite()
    {
        QFETCH(QByteArray, before);
        QFETCH(int, useGlobal);
        QFETCH(QByteArray, after);
        TnGlobal::setDefaultPrinterName("Office Laser");
        if (!before.isEmpty())
            writeFile(globalPath(), before);
        {
            TnGlobal glo(m_dir->path());
            QCOMPARE(TnGlobal::settingsFileMissing(), before.isEmpty());
            glo.setRunFlag(false); // not a setting: never a reason to write
            if (useGlobal != 1)
                QCOMPARE(glo.setUseGlobalMsgNum(useGlobal), useGlobal >= -32768 && useGlobal <= 32767);
        }
        TnGlobal::setDefaultPrinterName({});
        const QByteArray bytes = readFile(globalPath());
        QVERIFY2(bytes.startsWith(after), bytes.constData());
        if (before == after)
            QCOMPARE(bytes, before);
        TnGlobal again(m_dir->path());
        if (before.contains("LstFontSize=12"))
            QCOMPARE(again.LstFontSize(), qint16(12));
    }

    void globalConversionErrorGoesToTheEventLog()
    {
        Capture capture;
        writeFile(globalPath(), "[GENERAL VARIABLES]\r\nVersion=0.1.0\r\nProfSave=0\r\nPtrCopies=many\r\nPtrDuplex=0\r\n");
        TnGlobal glo(m_dir->path());
        QCOMPARE(glo.ProfSave(), qint16(0));  // read before the error: stands
        QCOMPARE(glo.PtrDuplex(), qint16(1)); // after it: never read
        QCOMPARE(capture.events.size(), 1);
        QVERIFY(capture.events[0].startsWith("13, Type mismatch"));
        QVERIFY(capture.events[0].endsWith("; TnGlobal:GloRead, FileName = " + globalPath() + ", Step = 3"));
        QVERIFY(capture.notices.isEmpty());
    }

    // Who has a report open: a mark counts for another position while it is refreshed and its
    // process runs; one that is no plain mark is passed over at once and named once.
    void inUseMarks_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("counts");
        QTest::newRow("another host") << "other" << true;
        QTest::newRow("live process of this host") << "child" << true;
        QTest::newRow("this very process") << "self" << false;
        QTest::newRow("process gone on this host") << "gone" << false;
        QTest::newRow("not refreshed for 31 s") << "stale" << false;
        QTest::newRow("symbolic link") << "link" << false;
        QTest::newRow("named pipe") << "fifo" << false;
        QTest::newRow("garbage") << "garbage" << false;
    }

    void inUseMarks()
    {
        QFETCH(QString, kind);
        QFETCH(bool, counts);
        Capture capture;
        const QString folder = m_dir->path() + "/msg.d", marks = folder + "/.inuse";
        QVERIFY(QDir().mkpath(marks));
        QProcess child;
#ifdef Q_OS_WIN
        // A program that runs until it is stopped: the loopback server, on a port of its own.
        child.start(QStringLiteral(TNDIRECT_SIM), {"--port", "0", "--outbox", QDir::tempPath()});
#else
        child.start("sleep", {"30"});
#endif
        QVERIFY(child.waitForStarted());
        qint64 pid = child.processId();
        QString host = Position::current().host;
        if (kind == "other")
            host = "elsewhere.example";
        else if (kind == "self")
            pid = Position::current().process;
        else if (kind == "gone") {
            child.kill();
            child.waitForFinished();
        }
        const QString file = marks + QString("/R@1@%1@%2.mark").arg(pid).arg(host);
        const QByteArray line = "Pat Smith\t1234\tNRT\t" + host.toUtf8() + "\t" + QByteArray::number(pid) + "\n2024-05-01T14:02:00.000Z\n";
        if (kind == "link") {
            writeFile(m_dir->path() + "/outside", line);
            MAKE_LINK_OR_SKIP(m_dir->path() + "/outside", file);
        } else if (kind == "fifo") {
            MAKE_FIFO_OR_SKIP(file);
        } else {
            writeFile(file, kind == "garbage" ? QByteArray("\x01\x02 not a mark\n") : line);
        }
        if (kind == "stale") {
            QFile f(file);
            QVERIFY(f.open(QIODevice::ReadWrite) && f.setFileTime(QDateTime::currentDateTime().addSecs(-31), QFileDevice::FileModificationTime));
        }
        InUseMarks look(folder);
        // The second look reads nothing again and names nothing again. (How a mark is described
        // is compared in full where the list shows it.)
        for (int i = 0; i < 2; ++i)
            QCOMPARE(bool(look.isOpenElsewhere("R@1")), counts);
        QCOMPARE(capture.events.size(), int(kind == "link" || kind == "fifo" || kind == "garbage"));
        child.kill();
        child.waitForFinished();
    }

private:
    QString stationPath() const { return m_dir->path() + "/Zelvatcts.ini"; }
    QString globalPath() const { return m_dir->path() + "/Tarnell.glo"; }
    std::unique_ptr<QTemporaryDir> m_dir;
};

QTEST_GUILESS_MAIN(TestStore)
#include "tst_store.moc"
