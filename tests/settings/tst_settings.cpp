// The station settings file and the suite's global settings file, seen from outside: the bytes
// written, the values read, what the operator and the event log are told.

#include "common/Capture.h"
#include "settings/TnGlobal.h"
#include "settings/ZelvatIni.h"
#include "support/CommonConst.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

class TestSettings : public QObject {
    Q_OBJECT

private slots:
    void init();

    void missingStationFileIsCreatedWithDefaults();
    void stationValues_data();
    void stationValues();
    void headerOnlyFileIsNotRewritten();
    void brokenStationFile_data();
    void brokenStationFile();
    void unreadableStationFileKeepsDefaults();
    void lvfIsWrittenWithoutTrailingZeros_data();
    void lvfIsWrittenWithoutTrailingZeros();

    void missingGlobalFileIsWrittenAtOnce();
    void globalFileOfAnotherVersionIsRewritten();
    void globalFileWithoutEqualsKeepsDefaults();
    void runFlagAloneCausesNoRewrite();
    void globalConversionErrorGoesToTheEventLog();

private:
    QString stationPath() const { return m_dir->path() + "/Zelvatcts.ini"; }
    QString globalPath() const { return m_dir->path() + "/Tarnell.glo"; }
    std::unique_ptr<QTemporaryDir> m_dir;
};

static const QByteArray kVersion = Zelvat::versionText().toLatin1();
static const QByteArray kDefaults = "[Zelvat Call Taking System]\r\nVersion=" + kVersion
    + "\r\n\r\n[GENERAL OPTIONS]\r\nNam=\r\nUid=\r\nLoc=\r\nCty=\r\nLid=\r\nEno=100\r\nLvf=10\r\n"
      "Hst=127.0.0.1\r\nPrt=9334\r\nNto=5000\r\nEnc=BASE64\r\n";

void TestSettings::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
}

void TestSettings::missingStationFileIsCreatedWithDefaults()
{
    ZelvatIni ini(stationPath());
    QVERIFY(ini.load());
    QCOMPARE(readFile(stationPath()), kDefaults);
    QCOMPARE(ini.Eno, 100);
    QCOMPARE(ini.Hst, QString("127.0.0.1"));
}

void TestSettings::stationValues_data()
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
    QTest::newRow("Lvf fraction") << QByteArray("Lvf=8.25") << "Lvf" << "8.25";
    QTest::newRow("8-bit text") << QByteArray("Loc=M\xFCnster") << "Loc" << QString::fromUtf8("Münster");
    QTest::newRow("version ignored") << QByteArray("Version=9.9.9\r\nEnc=NONE") << "Enc" << "NONE";
}

void TestSettings::stationValues()
{
    QFETCH(QByteArray, line);
    QFETCH(QString, field);
    QFETCH(QString, value);
    Capture capture;
    writeFile(stationPath(), "[GENERAL OPTIONS]\r\n" + line + "\r\n");
    ZelvatIni ini(stationPath());
    QVERIFY(ini.load());
    const QHash<QString, QString> values = {
        {"Nam", ini.Nam}, {"Lid", ini.Lid}, {"Loc", ini.Loc}, {"Hst", ini.Hst}, {"Enc", ini.Enc},
        {"Eno", QString::number(ini.Eno)}, {"Nto", QString::number(ini.Nto)}, {"Lvf", QString::number(ini.Lvf)},
    };
    QCOMPARE(values.value(field), value);
    QVERIFY(capture.notices.isEmpty());
}

void TestSettings::headerOnlyFileIsNotRewritten()
{
    writeFile(stationPath(), "[GENERAL OPTIONS]\r\n");
    ZelvatIni ini(stationPath());
    QVERIFY(ini.load());
    QCOMPARE(ini.Eno, 100);
    QCOMPARE(ini.Enc, QString("BASE64"));
    QCOMPARE(readFile(stationPath()), QByteArray("[GENERAL OPTIONS]\r\n"));
}

void TestSettings::brokenStationFile_data()
{
    QTest::addColumn<QByteArray>("badLine");
    QTest::addColumn<QString>("named"); // what the message must name

    QTest::newRow("letters in Eno") << QByteArray("Eno=12ab") << "Eno=12ab";
    QTest::newRow("Nto out of range") << QByteArray("Nto=70000") << "Nto=70000";
    QTest::newRow("Lvf not a number") << QByteArray("Lvf=big") << "Lvf=big";
    QTest::newRow("key without =") << QByteArray("Eno") << "Eno";
    QTest::newRow("Eno beyond 32 bits") << QByteArray("Eno=99999999999") << "Eno=99999999999";
}

void TestSettings::brokenStationFile()
{
    QFETCH(QByteArray, badLine);
    QFETCH(QString, named);
    Capture capture;
    const QByteArray content = "[GENERAL OPTIONS]\r\nNam=Pat\r\n" + badLine + "\r\nHst=radio\r\n";
    writeFile(stationPath(), content);
    ZelvatIni ini(stationPath());
    QVERIFY(!ini.load());
    // The other values are taken, the bad one keeps its default.
    QCOMPARE(ini.Nam, QString("Pat"));
    QCOMPARE(ini.Hst, QString("radio"));
    QCOMPARE(ini.Eno, 100);
    QCOMPARE(ini.Nto, qint16(5000));
    QCOMPARE(ini.Lvf, 10.0f);
    QCOMPARE(ini.problems().size(), 1);
    QCOMPARE(ini.problems()[0].line, 3);
    // One message naming the file, the line and the value; the file as it was is kept.
    QCOMPARE(capture.notices.size(), 1);
    const QString text = capture.notices[0].text;
    QVERIFY2(text.contains(stationPath()) && text.contains("line 3") && text.contains(named), qPrintable(text));
    QCOMPARE(readFile(stationPath() + ".bad"), content);
    QVERIFY(ini.save());
    QCOMPARE(readFile(stationPath() + ".bad"), content);
    QVERIFY(readFile(stationPath()).contains("\r\nNam=Pat\r\n"));
}

void TestSettings::unreadableStationFileKeepsDefaults()
{
    Capture capture;
    QVERIFY(QDir().mkpath(stationPath())); // a folder where the file should be
    ZelvatIni ini(stationPath());
    QVERIFY(!ini.load());
    QCOMPARE(ini.Eno, 100);
    QCOMPARE(capture.notices.size(), 1);
    QVERIFY(capture.notices[0].text.contains(stationPath()));
}

void TestSettings::lvfIsWrittenWithoutTrailingZeros_data()
{
    QTest::addColumn<float>("lvf");
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("10") << 10.0f << QByteArray("\r\nLvf=10\r\n");
    QTest::newRow("8.25") << 8.25f << QByteArray("\r\nLvf=8.25\r\n");
    QTest::newRow("13.5") << 13.5f << QByteArray("\r\nLvf=13.5\r\n");
    QTest::newRow("-2") << -2.0f << QByteArray("\r\nLvf=-2\r\n");
}

void TestSettings::lvfIsWrittenWithoutTrailingZeros()
{
    QFETCH(float, lvf);
    QFETCH(QByteArray, line);
    ZelvatIni ini(stationPath());
    ini.Lvf = lvf;
    QVERIFY(ini.save());
    QVERIFY2(readFile(stationPath()).contains(line), readFile(stationPath()).constData());
    ZelvatIni again(stationPath());
    QVERIFY(again.load());
    QCOMPARE(again.Lvf, lvf);
}

static const QByteArray kGlobalDefaults = "[GENERAL VARIABLES]\r\nVersion=" + kVersion
    + "\r\nUseGlobalMsgNum=1\r\nProfSave=1\r\n\r\n[LOCAL PRINTER]\r\nPrinterName=Office Laser\r\nPtrOrient=1\r\n"
      "PtrCopies=1\r\nPtrDuplex=1\r\nFolderLabels=Folder 1|Folder 2|Folder 3|Folder 4|Folder 5\r\nLstFontSize=9\r\n";

void TestSettings::missingGlobalFileIsWrittenAtOnce()
{
    TnGlobal::setDefaultPrinterName("Office Laser");
    {
        TnGlobal glo(m_dir->path());
        QVERIFY(TnGlobal::settingsFileMissing());
        QCOMPARE(readFile(globalPath()), kGlobalDefaults); // before any property is read
        QVERIFY(!glo.changed());
    }
    TnGlobal::setDefaultPrinterName({});
    TnGlobal again(m_dir->path());
    QVERIFY(!TnGlobal::settingsFileMissing());
    QCOMPARE(again.PrinterName(), QString("Office Laser"));
    QCOMPARE(again.LstFontSize(), qint16(9));
}

void TestSettings::globalFileOfAnotherVersionIsRewritten()
{
    writeFile(globalPath(), "[GENERAL VARIABLES]\r\nVersion=0.9.1\r\nProfSave=0\r\n[LOCAL PRINTER]\r\nPrinterName=P2\r\n"
                            "FolderLabels=In|Out\r\nLstFontSize=12\r\n");
    {
        TnGlobal glo(m_dir->path());
        QCOMPARE(glo.ProfSave(), qint16(0));
        QCOMPARE(glo.FolderLabels(), QString("In|Out"));
        QCOMPARE(glo.LstFontSize(), qint16(12));
        QCOMPARE(glo.Version(), Zelvat::versionText()); // the file's version is held aside
        QVERIFY(glo.changed());
    }
    const QByteArray bytes = readFile(globalPath());
    QVERIFY(bytes.startsWith("[GENERAL VARIABLES]\r\nVersion=" + kVersion + "\r\nUseGlobalMsgNum=1\r\nProfSave=0\r\n"));
    QVERIFY(bytes.contains("\r\nPrinterName=P2\r\n"));
    QVERIFY(bytes.endsWith("\r\nFolderLabels=In|Out\r\nLstFontSize=12\r\n"));
}

void TestSettings::globalFileWithoutEqualsKeepsDefaults()
{
    writeFile(globalPath(), "[GENERAL VARIABLES]\r\njust words\r\n");
    {
        TnGlobal glo(m_dir->path());
        QCOMPARE(glo.UseGlobalMsgNum(), 1);
        QCOMPARE(glo.FolderLabels(), QString("Folder 1|Folder 2|Folder 3|Folder 4|Folder 5"));
        QVERIFY(!glo.changed());
    }
    QCOMPARE(readFile(globalPath()), QByteArray("[GENERAL VARIABLES]\r\njust words\r\n"));
}

void TestSettings::runFlagAloneCausesNoRewrite()
{
    const QByteArray current = "[GENERAL VARIABLES]\r\nVersion=" + kVersion + "\r\nProfSave=1\r\n";
    writeFile(globalPath(), current);
    {
        TnGlobal glo(m_dir->path());
        glo.setRunFlag(false);
        QVERIFY(!glo.changed());
    }
    QCOMPARE(readFile(globalPath()), current);
    {
        TnGlobal glo(m_dir->path());
        QVERIFY(!glo.setUseGlobalMsgNum(40000));
        QVERIFY(!glo.changed());
        QVERIFY(glo.setUseGlobalMsgNum(0));
    }
    QVERIFY(readFile(globalPath()).contains("\r\nUseGlobalMsgNum=0\r\n"));
}

void TestSettings::globalConversionErrorGoesToTheEventLog()
{
    Capture capture;
    writeFile(globalPath(), "[GENERAL VARIABLES]\r\nVersion=0.1.0\r\nProfSave=0\r\nPtrCopies=many\r\nPtrDuplex=0\r\n");
    TnGlobal glo(m_dir->path());
    QCOMPARE(glo.ProfSave(), qint16(0));  // read before the error: stands
    QCOMPARE(glo.PtrDuplex(), qint16(1)); // after it: never read
    QCOMPARE(glo.step(), 3);
    QCOMPARE(capture.events.size(), 1);
    QVERIFY(capture.events[0].startsWith("13, Type mismatch"));
    QVERIFY(capture.events[0].endsWith("; TnGlobal:GloRead, FileName = " + globalPath() + ", Step = 3"));
    QVERIFY(capture.notices.isEmpty());
}

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"
