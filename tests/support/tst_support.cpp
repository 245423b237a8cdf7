// The text helpers, the key filter, the code page and the session log, seen from outside:
// returned values, bytes and the lines that reach the log file.

#include "common/Capture.h"
#include "support/DatetimeLib.h"
#include "support/CommonConst.h"
#include "support/CodePage.h"
#include "support/FilterKey.h"
#include "support/StringLib.h"
#include "support/ZelvatLogLib.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

class TestSupport : public QObject {
    Q_OBJECT

private slots:
    void getLine_data();
    void getLine();
    void getBuffer_data();
    void getBuffer();
    void stripTrailingBreaks_data();
    void stripTrailingBreaks();
    void filterKey_data();
    void filterKey();
    void codePageRoundTripsEveryByte();
    void codePageEncode_data();
    void codePageEncode();
    void properCase_data();
    void properCase();
    void toInteger_data();
    void toInteger();
    void zeroPadded_data();
    void zeroPadded();

    void init();
    void cleanup();
    void logHeaderAndLines();
    void logTextIsFlattenedAndTrimmed_data();
    void logTextIsFlattenedAndTrimmed();
    void logSetupFailureDisablesLogging();
    void logWriteFailureIsReportedOnce();

private:
    QTemporaryDir m_dir;
};

void TestSupport::getLine_data()
{
    QTest::addColumn<QString>("buffer");
    QTest::addColumn<QStringList>("lines"); // successive results until the buffer is empty
    QTest::addColumn<QString>("afterFirst");

    QTest::newRow("crlf lines") << "A\r\nB\r\n" << QStringList{"A", "B", ""} << "\nB\r\n";
    QTest::newRow("lone lf joins") << "A\nB" << QStringList{"AB"} << "";
    QTest::newRow("lone cr ends") << "A\rB" << QStringList{"A", "B"} << "B";
    QTest::newRow("empty line inside") << "A\r\n\r\nB" << QStringList{"A", "", "B"} << "\n\r\nB";
    QTest::newRow("empty") << "" << QStringList{} << "";
    QTest::newRow("no break") << "ABC" << QStringList{"ABC"} << "";
}

void TestSupport::getLine()
{
    QFETCH(QString, buffer);
    QFETCH(QStringList, lines);
    QFETCH(QString, afterFirst);

    QString b = buffer;
    const QString first = StringLib::GetLine(b);
    QCOMPARE(first, lines.value(0));
    QCOMPARE(b, afterFirst);

    QStringList taken{first};
    while (!b.isEmpty())
        taken.append(StringLib::GetLine(b));
    if (lines.isEmpty())
        QCOMPARE(taken, QStringList{QString()});
    else
        QCOMPARE(taken, lines);
    QCOMPARE(StringLib::GetLine(b), QString()); // an empty buffer stays empty
}

void TestSupport::getBuffer_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("buffer");
    QTest::addColumn<QString>("piece");
    QTest::addColumn<QString>("rest");

    QTest::newRow("shorter") << 3 << "ABCDE" << "ABC" << "DE";
    QTest::newRow("exact") << 5 << "ABCDE" << "ABCDE" << "";
    QTest::newRow("count larger") << 75 << "ABC" << "ABC" << "";
    QTest::newRow("empty") << 77 << "" << "" << "";
}

void TestSupport::getBuffer()
{
    QFETCH(int, count);
    QFETCH(QString, buffer);
    QFETCH(QString, piece);
    QFETCH(QString, rest);
    QCOMPARE(StringLib::GetBuffer(count, buffer), piece);
    QCOMPARE(buffer, rest);
}

void TestSupport::stripTrailingBreaks_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("stripped");
    QTest::newRow("crlf") << "a\r\n" << "a";
    QTest::newRow("mixed run") << "a\n\r\r\n" << "a";
    QTest::newRow("blank stops") << "a\r\n \r\n" << "a\r\n ";
    QTest::newRow("inside kept") << "a\r\nb" << "a\r\nb";
    QTest::newRow("only breaks") << "\r\n\r\n" << "";
    QTest::newRow("empty") << "" << "";
}

void TestSupport::stripTrailingBreaks()
{
    QFETCH(QString, text);
    QFETCH(QString, stripped);
    QCOMPARE(StringLib::stripTrailingBreaks(text), stripped);
}

void TestSupport::filterKey_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("allowed");
    QTest::addColumn<int>("result");

    QTest::newRow("letter refused by digits") << int('a') << "0123456789" << 0;
    QTest::newRow("digit passes") << int('7') << "0123456789" << int('7');
    QTest::newRow("backspace passes") << 8 << "0123456789" << 8;
    QTest::newRow("lower passes lower set") << int('q') << "abc xyz q" << int('q');
    QTest::newRow("lower passes upper set, case kept") << int('q') << "ABCQ" << int('q');
    QTest::newRow("upper passes lower set") << int('Q') << QString(Zelvat::GeneralSet) << int('Q');
    QTest::newRow("enter refused") << 13 << QString(Zelvat::SummarySet) << 0;
    QTest::newRow("tab refused") << 9 << QString(Zelvat::SummarySet) << 0;
    QTest::newRow("escape refused") << 27 << QString(Zelvat::SummarySet) << 0;
    QTest::newRow("ctrl-v refused") << 22 << QString(Zelvat::GeneralSet) << 0;
    QTest::newRow("apostrophe in summary") << int('\'') << QString(Zelvat::SummarySet) << int('\'');
    QTest::newRow("apostrophe not in general") << int('\'') << QString(Zelvat::GeneralSet) << 0;
    QTest::newRow("equals only in summary") << int('=') << QString(Zelvat::GeneralSet) << 0;
    QTest::newRow("underscore in summary") << int('_') << QString(Zelvat::SummarySet) << int('_');
    QTest::newRow("exclamation refused") << int('!') << QString(Zelvat::GeneralSet) << 0;
    QTest::newRow("at sign refused for station id") << int('@') << QString(Zelvat::StationIdSet) << 0;
    QTest::newRow("blank allowed") << int(' ') << QString(Zelvat::GeneralSet) << int(' ');
}

void TestSupport::filterKey()
{
    QFETCH(int, key);
    QFETCH(QString, allowed);
    QFETCH(int, result);
    QCOMPARE(int(FilterKey(quint16(key), allowed, true)), result);
}

void TestSupport::codePageRoundTripsEveryByte()
{
    QByteArray all;
    for (int b = 0; b < 256; ++b)
        all.append(char(b));
    const QString text = CodePage::decode(all);
    QCOMPARE(text.size(), 256);
    QCOMPARE(CodePage::encode(text), all);
    QVERIFY(CodePage::canEncode(text));
}

void TestSupport::codePageEncode_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("unencodable");

    QTest::newRow("ascii") << "Oak St 12" << QByteArray("Oak St 12") << "";
    QTest::newRow("euro and quotes") << QString::fromUtf8("€ “x” – é") << QByteArray("\x80 \x93x\x94 \x96 \xE9") << "";
    QTest::newRow("outside becomes ?") << QString::fromUtf8("Łódź") << QByteArray("?\xF3" "d?") << QString::fromUtf8("Łź");
    QTest::newRow("pair is one char") << QString::fromUtf8("a😀b") << QByteArray("a?b") << QString::fromUtf8("😀");
}

void TestSupport::codePageEncode()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, unencodable);
    QCOMPARE(CodePage::encode(text), bytes);
    QCOMPARE(CodePage::unencodable(text), unencodable);
    QCOMPARE(CodePage::canEncode(text), unencodable.isEmpty());
}

void TestSupport::properCase_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("proper");
    QTest::newRow("capitals") << "PAT SMITH" << "Pat Smith";
    QTest::newRow("mixed") << "pat sMITH" << "Pat Smith";
    QTest::newRow("apostrophe and hyphen stay inside a word") << "o'neil smith-JONES" << "O'neil Smith-jones";
    QTest::newRow("digits") << "12 OAK st" << "12 Oak St";
    QTest::newRow("double blank") << "a  b" << "A  B";
    QTest::newRow("empty") << "" << "";
}

void TestSupport::properCase()
{
    QFETCH(QString, text);
    QFETCH(QString, proper);
    QCOMPARE(StringLib::properCase(text), proper);
}

void TestSupport::toInteger_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<qint64>("value");
    QTest::addColumn<int>("errorNumber");

    QTest::newRow("plain") << "5" << true << qint64(5) << 0;
    QTest::newRow("blanks") << "  -7 " << true << qint64(-7) << 0;
    QTest::newRow("plus") << "+12" << true << qint64(12) << 0;
    QTest::newRow("half to even down") << "2.5" << true << qint64(2) << 0;
    QTest::newRow("half to even up") << "3.5" << true << qint64(4) << 0;
    QTest::newRow("top of range") << "32767" << true << qint64(32767) << 0;
    QTest::newRow("over range") << "32768" << false << qint64(0) << int(RunError::Overflow);
    QTest::newRow("letters") << "12ab" << false << qint64(0) << int(RunError::TypeMismatch);
    QTest::newRow("empty") << "" << false << qint64(0) << int(RunError::TypeMismatch);
    QTest::newRow("inf is no number") << "inf" << false << qint64(0) << int(RunError::TypeMismatch);
    QTest::newRow("tab is no blank") << "\t5" << false << qint64(0) << int(RunError::TypeMismatch);
}

void TestSupport::toInteger()
{
    QFETCH(QString, text);
    QFETCH(bool, ok);
    QFETCH(qint64, value);
    QFETCH(int, errorNumber);
    RunError error;
    const auto result = StringLib::toInteger(text, -32768, 32767, QStringLiteral("X=") + text, &error);
    QCOMPARE(result.has_value(), ok);
    if (ok) {
        QCOMPARE(*result, value);
    } else {
        QCOMPARE(error.number, errorNumber);
        QVERIFY2(error.description.contains(QStringLiteral("X=") + text), qPrintable(error.description));
    }
}

void TestSupport::zeroPadded_data()
{
    QTest::addColumn<qint64>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("5") << qint64(5) << "005";
    QTest::newRow("99") << qint64(99) << "099";
    QTest::newRow("100") << qint64(100) << "100";
    QTest::newRow("1000") << qint64(1000) << "1000";
    QTest::newRow("0") << qint64(0) << "000";
    QTest::newRow("-5") << qint64(-5) << "-005";
}

void TestSupport::zeroPadded()
{
    QFETCH(qint64, value);
    QFETCH(QString, text);
    QCOMPARE(StringLib::zeroPadded(value, 3), text);
}

// --- session log -------------------------------------------------------------------------

void TestSupport::init()
{
    ZelvatLogLib::resetLog();
    DatetimeLib::setFixedNow(QDateTime(QDate(2026, 3, 7), QTime(14, 5, 9)));
    QDir(m_dir.path()).removeRecursively();
    QDir().mkpath(m_dir.path() + QStringLiteral("/logs"));
}

void TestSupport::cleanup()
{
    DatetimeLib::setFixedNow({});
    ZelvatLogLib::resetLog();
}

void TestSupport::logHeaderAndLines()
{
    Capture capture;
    ZelvatLogLib::SetupLog(m_dir.path(), true);
    QVERIFY(ZelvatLogLib::loggingEnabled());
    QCOMPARE(ZelvatLogLib::logPath(), m_dir.path() + QStringLiteral("/logs/Zelvat_260307.log"));
    ZelvatLogLib::WriteLogLine(QStringLiteral("Connection Failed"));
    // A second start on the same day appends a second header to the same file.
    ZelvatLogLib::SetupLog(m_dir.path(), true);
    ZelvatLogLib::WriteLogLine(QString::fromUtf8("Caf\u00e9 \u20ac"));

    const QByteArray sep(51, '-');
    const QByteArray header = sep + "\r\n07-Mar-26 14:05:09: Zelvat v" + Zelvat::versionText().toLatin1() + "\r\n" + sep + "\r\n";
    QCOMPARE(readFile(ZelvatLogLib::logPath()),
             header + "07-Mar-26 14:05:09: Connection Failed\r\n" + header + "07-Mar-26 14:05:09: Caf\xE9 \x80\r\n");
    QVERIFY(capture.notices.isEmpty());
}

void TestSupport::logTextIsFlattenedAndTrimmed_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("crlf pairs removed") << "a\r\nb" << QByteArray("07-Mar-26 14:05:09: ab\r\n");
    QTest::newRow("lone breaks kept") << "a\rb\nc" << QByteArray("07-Mar-26 14:05:09: a\rb\nc\r\n");
    QTest::newRow("blanks only") << "   " << QByteArray("07-Mar-26 14:05:09:\r\n");
    QTest::newRow("trimmed") << "  x  " << QByteArray("07-Mar-26 14:05:09: x\r\n");
}

void TestSupport::logTextIsFlattenedAndTrimmed()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, line);
    ZelvatLogLib::SetupLog(m_dir.path(), false);
    ZelvatLogLib::WriteLogLine(text);
    QCOMPARE(readFile(ZelvatLogLib::logPath()), line);
}

void TestSupport::logSetupFailureDisablesLogging()
{
    Capture capture;
    QDir(m_dir.path() + QStringLiteral("/logs")).removeRecursively();
    ZelvatLogLib::SetupLog(m_dir.path(), true);
    QVERIFY(!ZelvatLogLib::loggingEnabled());
    QCOMPARE(capture.notices.size(), 1);
    QVERIFY(capture.notices[0].text.startsWith(QStringLiteral("SetupLog Error 53, File not found")));
    QVERIFY(capture.notices[0].text.endsWith(QStringLiteral("Could not start Pembrel logging")));
    ZelvatLogLib::WriteLogLine(QStringLiteral("x"));
    QCOMPARE(capture.notices.size(), 1);
    QVERIFY(!QFileInfo::exists(ZelvatLogLib::logPath()));
}

void TestSupport::logWriteFailureIsReportedOnce()
{
    Capture capture;
    ZelvatLogLib::SetupLog(m_dir.path(), false);
    QVERIFY(ZelvatLogLib::loggingEnabled());
    // The log file turns into a folder: no write can succeed any more.
    QFile::remove(ZelvatLogLib::logPath());
    QVERIFY(QDir().mkpath(ZelvatLogLib::logPath()));
    ZelvatLogLib::WriteLogLine(QStringLiteral("first"));
    ZelvatLogLib::WriteLogLine(QStringLiteral("second"));
    QCOMPARE(capture.notices.size(), 1);
    QVERIFY(capture.notices[0].text.startsWith(QStringLiteral("SetupLog Error ")));
    QVERIFY(capture.notices[0].text.endsWith(
        QStringLiteral("; Could not write to the session log file; disabled session logging")));
    QVERIFY(!ZelvatLogLib::loggingEnabled());
}

QTEST_GUILESS_MAIN(TestSupport)
#include "tst_support.moc"
