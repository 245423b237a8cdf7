// The station settings file and the suite's global settings file, seen from outside: the bytes
// written, the values read, what the operator and the event log are told.

#include "common/Capture.h"
#include "settings/TnGlobal.h"
#include "settings/ZelvatIni.h"
#include "support/CommonConst.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

static const QByteArray kVersion = Zelvat::versionText().toLatin1();
static const QByteArray kDefaults = "[Zelvat Call Taking System]\r\nVersion=" + kVersion
    + "\r\n\r\n[GENERAL OPTIONS]\r\nNam=\r\nUid=\r\nLoc=\r\nCty=\r\nLid=\r\nEno=100\r\nLvf=10\r\n"
      "Hst=127.0.0.1\r\nPrt=9334\r\nNto=5000\r\nEnc=BASE64\r\n";

static const QByteArray kGlobalDefaults = "[GENERAL VARIABLES]\r\nVersion=" + kVersion
    + "\r\nUseGlobalMsgNum=1\r\nProfSave=1\r\n\r\n[LOCAL PRINTER]\r\nPrinterName=Office Laser\r\nPtrOrient=1\r\n"
      "PtrCopies=1\r\nPtrDuplex=1\r\nFolderLabels=Folder 1|Folder 2|Folder 3|Folder 4|Folder 5\r\nLstFontSize=9\r\n";
static const QByteArray kCurrent = "[GENERAL VARIABLES]\r\nVersion=" + kVersion + "\r\nProfSave=1\r\n";

class TestSettings : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
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

private:
    QString stationPath() const { return m_dir->path() + "/Zelvatcts.ini"; }
    QString globalPath() const { return m_dir->path() + "/Tarnell.glo"; }
    std::unique_ptr<QTemporaryDir> m_dir;
};

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"
