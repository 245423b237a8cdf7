// The text helpers, the key filter, the code page, the registry number and the session log,
// seen from outside: returned values, bytes, and the lines that reach the log file.

#include "common/Capture.h"
#include "common/ProgramHome.h"
#include "support/CodePage.h"
#include "support/CommonConst.h"
#include "support/FilterKey.h"
#include "support/RegistryValue.h"
#include "support/StringLib.h"
#include "support/ZelvatLogLib.h"

#include <QDir>
#include <QTest>

class TestSupport : public QObject {
    Q_OBJECT

private slots:
    void getLine_data()
    {
        QTest::addColumn<QString>("buffer");
        QTest::addColumn<QStringList>("lines"); // successive results until the buffer is empty

        QTest::newRow("crlf lines, the last LF alone") << "A\r\nB\r\n" << QStringList{"A", "B", ""};
        QTest::newRow("lone lf joins") << "A\nB" << QStringList{"AB"};
        QTest::newRow("lone cr ends") << "A\rB" << QStringList{"A", "B"};
        QTest::newRow("empty line inside") << "A\r\n\r\nB" << QStringList{"A", "", "B"};
        QTest::newRow("no break") << "ABC" << QStringList{"ABC"};
    }

    void getLine()
    {
        QFETCH(QString, buffer);
        QFETCH(QStringList, lines);
        QStringList taken;
        while (!buffer.isEmpty())
            taken.append(StringLib::GetLine(buffer));
        QCOMPARE(taken, lines);
        QCOMPARE(StringLib::GetLine(buffer), QString()); // an empty buffer stays empty
    }

    void filterKey_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<QString>("allowed");
        QTest::addColumn<int>("result");

        QTest::newRow("letter refused by digits") << int('a') << "0123456789" << 0;
        QTest::newRow("backspace passes") << 8 << "0123456789" << 8;
        QTest::newRow("lower passes upper set, case kept") << int('q') << "ABCQ" << int('q');
        QTest::newRow("upper passes lower set") << int('Q') << QString(Zelvat::GeneralSet) << int('Q');
        QTest::newRow("enter refused") << 13 << QString(Zelvat::SummarySet) << 0;
        QTest::newRow("apostrophe in summary") << int('\'') << QString(Zelvat::SummarySet) << int('\'');
        QTest::newRow("apostrophe not in general") << int('\'') << QString(Zelvat::GeneralSet) << 0;
        QTest::newRow("at sign refused for station id") << int('@') << QString(Zelvat::StationIdSet) << 0;
    }

    void filterKey()
    {
        QFETCH(int, key);
        QFETCH(QString, allowed);
        QFETCH(int, result);
        QCOMPARE(int(FilterKey(quint16(key), allowed, true)), result);
    }

    void codePageEncode_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("unencodable");

        QByteArray all;
        for (int b = 0; b < 256; ++b)
            all.append(char(b));
        QTest::newRow("every byte round-trips") << CodePage::decode(all) << all << "";
        QTest::newRow("euro and quotes") << QString::fromUtf8("€ “x” – é") << QByteArray("\x80 \x93x\x94 \x96 \xE9") << "";
        QTest::newRow("outside becomes ?") << QString::fromUtf8("Łódź") << QByteArray("?\xF3" "d?") << QString::fromUtf8("Łź");
        QTest::newRow("pair is one char") << QString::fromUtf8("a😀b") << QByteArray("a?b") << QString::fromUtf8("😀");
    }

    void codePageEncode()
    {
        QFETCH(QString, text);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, unencodable);
        QCOMPARE(CodePage::encode(text), bytes);
        QCOMPARE(CodePage::unencodable(text), unencodable);
        QCOMPARE(CodePage::canEncode(text), unencodable.isEmpty());
    }

    void properCase_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("proper");
        QTest::newRow("capitals") << "PAT SMITH" << "Pat Smith";
        QTest::newRow("apostrophe and hyphen stay inside a word") << "o'neil smith-JONES" << "O'neil Smith-jones";
        QTest::newRow("tab and line break start words") << "12 OAK\tst\nrd" << "12 Oak\tSt\nRd";
    }

    void properCase()
    {
        QFETCH(QString, text);
        QFETCH(QString, proper);
        QCOMPARE(StringLib::properCase(text), proper);
    }

    void toInteger_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<qint64>("value");
        QTest::addColumn<int>("errorNumber"); // 0 when the text is a number in range

        QTest::newRow("blanks and sign") << "  -7 " << qint64(-7) << 0;
        QTest::newRow("plus") << "+12" << qint64(12) << 0;
        QTest::newRow("half to even down") << "2.5" << qint64(2) << 0;
        QTest::newRow("half to even up") << "3.5" << qint64(4) << 0;
        QTest::newRow("top of range") << "32767" << qint64(32767) << 0;
        QTest::newRow("over range") << "32768" << qint64(0) << int(RunError::Overflow);
        QTest::newRow("letters") << "12ab" << qint64(0) << int(RunError::TypeMismatch);
        QTest::newRow("empty") << "" << qint64(0) << int(RunError::TypeMismatch);
        QTest::newRow("inf is no number") << "inf" << qint64(0) << int(RunError::TypeMismatch);
        QTest::newRow("tab is no blank") << "\t5" << qint64(0) << int(RunError::TypeMismatch);
    }

    void toInteger()
    {
        QFETCH(QString, text);
        QFETCH(qint64, value);
        QFETCH(int, errorNumber);
        RunError error;
        const auto result = StringLib::toInteger(text, -32768, 32767, "X=" + text, &error);
        QCOMPARE(result.has_value(), errorNumber == 0);
        if (result) {
            QCOMPARE(*result, value);
        } else {
            QCOMPARE(error.number, errorNumber);
            QVERIFY2(error.description.contains("X=" + text), qPrintable(error.description)); // names the value
        }
    }

    void registryNumberText()
    {
        // The bytes last first, each byte's hex digits without padding (01 0A reads as 1A).
        QCOMPARE(registryDwordText(QByteArray("\x10\x00\x00\x00", 4)), QString("16"));
        QCOMPARE(registryDwordText(QByteArray("\x0A\x01\x00\x00", 4)), QString("26"));
    }

    void logLines_data()
    {
        QTest::addColumn<bool>("header");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("line");
        const QByteArray sep(51, '-');
        const QByteArray header = sep + "\r\n16-Nov-26 14:05:00: Zelvat v" + Zelvat::versionText().toLatin1() + "\r\n" + sep + "\r\n";
        QTest::newRow("header, 8-bit text") << true << QString::fromUtf8("Caf\u00e9 \u20ac") << header + "16-Nov-26 14:05:00: Caf\xE9 \x80\r\n";
        QTest::newRow("crlf pairs removed") << false << "a\r\nb" << QByteArray("16-Nov-26 14:05:00: ab\r\n");
        QTest::newRow("lone breaks kept") << false << "a\rb\nc" << QByteArray("16-Nov-26 14:05:00: a\rb\nc\r\n");
        QTest::newRow("blanks trimmed") << false << "  x  " << QByteArray("16-Nov-26 14:05:00: x\r\n");
        QTest::newRow("blanks only") << false << "   " << QByteArray("16-Nov-26 14:05:00:\r\n");
    }

    void logLines()
    {
        QFETCH(bool, header);
        QFETCH(QString, text);
        QFETCH(QByteArray, line);
        ProgramHome home;
        Capture capture;
        // Two starts on one day append to one file.
        for (int start = 0; start < 2; ++start) {
            ZelvatLogLib::SetupLog(home.path(), header);
            ZelvatLogLib::WriteLogLine(text);
        }
        QCOMPARE(ZelvatLogLib::logPath(), home.path() + "/logs/Zelvat_261116.log");
        QCOMPARE(readFile(ZelvatLogLib::logPath()), line + line);
        QVERIFY(capture.notices.isEmpty());
    }

    void logFailureIsToldOnceAndStopsLogging_data()
    {
        QTest::addColumn<bool>("atSetup"); // the logs folder is gone at start, or the file fails later
        QTest::addColumn<QString>("said");
        QTest::newRow("at start") << true << "Could not start Pembrel logging";
        QTest::newRow("while writing") << false << "; Could not write to the session log file; disabled session logging";
    }

    void logFailureIsToldOnceAndStopsLogging()
    {
        QFETCH(bool, atSetup);
        QFETCH(QString, said);
        ProgramHome home;
        Capture capture;
        if (atSetup)
            QDir(home.path() + "/logs").removeRecursively();
        ZelvatLogLib::SetupLog(home.path(), true);
        if (!atSetup) { // the log file turns into a folder: no write can succeed any more
            QVERIFY(ZelvatLogLib::loggingEnabled());
            QFile::remove(ZelvatLogLib::logPath());
            QVERIFY(QDir().mkpath(ZelvatLogLib::logPath()));
        }
        ZelvatLogLib::WriteLogLine("first");
        ZelvatLogLib::WriteLogLine("second");
        QVERIFY(!ZelvatLogLib::loggingEnabled());
        QCOMPARE(capture.notices.size(), 1);
        QVERIFY2(capture.notices[0].text.startsWith("SetupLog Error ") && capture.notices[0].text.endsWith(said),
                 qPrintable(capture.notices[0].text));
    }
};

QTEST_GUILESS_MAIN(TestSupport)
#include "tst_support.moc"
