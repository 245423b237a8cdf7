// The text helpers, the code page, the registry number, the session log and the
// files of SafeFile, seen from outside: returned values, bytes, the lines that reach the log file,
// what stands in a folder after a call (a FIFO for every kind that must never be opened), and
// the same under faults put in by libfaultfs.so (preloaded into this test by CTest).

#include "common/Capture.h"
#include "common/Files.h"
#include "common/ProgramHome.h"
#include "support/CodePage.h"
#include "support/CommonConst.h"
#include "support/FilterKey.h"
#include "support/RegistryValue.h"
#include "support/SafeFile.h"
#include "support/StringLib.h"
#include "support/ZelvatLogLib.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#ifdef Q_OS_LINUX
#include <dlfcn.h>
#endif
#ifdef Q_OS_UNIX
#include <sys/stat.h>
#include <unistd.h>
#endif

using SafeFile::Kind;

namespace {

const QByteArray kOld = QByteArray("[ADMIN DEFINITION]\r\nAST=6\r\n").repeated(26);
const QByteArray kNew = QByteArray("[ADMIN DEFINITION]\r\nAST=8\r\n").repeated(26);

#ifdef Q_OS_LINUX
// The injector's run-time switches, when this process was started with it.
const auto arm = reinterpret_cast<int (*)(const char *, int, const char *, long long)>(dlsym(RTLD_DEFAULT, "faultfs_arm"));
const auto disarm = reinterpret_cast<void (*)()>(dlsym(RTLD_DEFAULT, "faultfs_disarm"));
const auto hits = reinterpret_cast<long long (*)()>(dlsym(RTLD_DEFAULT, "faultfs_hits"));
#endif

QStringList entries(const QString &dir)
{
    return QDir(dir).entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}

} // namespace

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

    void keyFilterKeepsTheCase()
    {
        // The station dialog takes the key as returned; the box rules are in tst_store boxTakes.
        QCOMPARE(FilterKey('q', "ABCQ", true), quint16('q'));
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

    void safeFileKinds_data()
    {
        QTest::addColumn<QString>("op");
        QTest::addColumn<QString>("thing");
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("number");       // 0 when the call succeeds
        QTest::addColumn<QByteArray>("after"); // what was read, or is at the path afterwards
        const QList<QPair<const char *, Kind>> things{
            {"regular file", Kind::Regular}, {"missing", Kind::Missing}, {"folder", Kind::Directory},
            {"link to a file", Kind::SymbolicLink}, {"FIFO", Kind::Fifo}};
        // moveNew brings a file "new" holding kNew to the path, and never replaces what stands there.
        const QList<QPair<const char *, QByteArray>> ops{
            {"readAll", kOld}, {"writeAtomically", kNew}, {"append", kOld + kNew}, {"moveNew", kOld}};
        for (const auto &[op, written] : ops) {
            for (const auto &[thing, kind] : things) {
                const bool creates = kind == Kind::Missing && QByteArray(op) != "readAll";
                const bool refused = kind != Kind::Regular || QByteArray(op) == "moveNew";
                const int number = creates ? 0 : kind == Kind::Missing ? 53 : refused ? 75 : 0;
                QTest::addRow("%s: %s", op, thing) << op << thing << int(kind) << number
                                                   << (creates ? kNew : kind == Kind::Regular ? written : QByteArray());
            }
        }
    }

    void safeFileKinds()
    {
        QFETCH(QString, op);
        QFETCH(QString, thing);
        QFETCH(int, kind);
        QFETCH(int, number);
        QFETCH(QByteArray, after);
        QTemporaryDir dir;
        const QString path = dir.filePath("R1.911");
        [[maybe_unused]] const QByteArray name = QFile::encodeName(path);
        const QString target = dir.filePath("target"); // what a link points to: nothing may reach it
        if (thing == "regular file" || thing == "link to a file")
            writeFile(thing == "regular file" ? path : target, kOld);
#ifdef Q_OS_UNIX
        if (thing == "regular file") // a file's permissions outlive its saves
            QCOMPARE(::chmod(name.constData(), 0640), 0);
#endif
        if (thing == "folder")
            QVERIFY(QDir().mkdir(path));
        if (thing == "FIFO")
            MAKE_FIFO_OR_SKIP(path);
        if (thing == "link to a file")
            MAKE_LINK_OR_SKIP(target, path);
        if (op == "moveNew")
            writeFile(dir.filePath("new"), kNew);
        QCOMPARE(int(SafeFile::kindOf(path)), kind);
        const QStringList before = entries(dir.path());

        QByteArray read;
        RunError error;
        bool ok = false;
#ifdef Q_OS_UNIX
        ::alarm(5); // a call that blocks ends the suite, killed by the alarm
#endif
        if (op == "readAll")
            ok = SafeFile::readAll(path, 4096, &read, &error);
        else if (op == "moveNew")
            ok = SafeFile::moveNew(dir.filePath("new"), path, &error);
        else
            ok = op == "append" ? SafeFile::append(path, kNew, &error) : SafeFile::writeAtomically(path, kNew, &error);
#ifdef Q_OS_UNIX
        ::alarm(0);
#endif
        QCOMPARE(error.number, number);
        QCOMPARE(ok, number == 0);
        const QString said = number == 53 ? "does not exist" : op == "moveNew" ? "already exists" : SafeFile::describe(Kind(kind));
        QVERIFY2(ok || error.description.contains(said), qPrintable(error.description));
        QCOMPARE(int(SafeFile::kindOf(path)), ok ? int(Kind::Regular) : kind);
        if (op == "readAll" || ok || kind == int(Kind::Regular)) // what is not a file is never opened here: a FIFO would block
            QCOMPARE(op == "readAll" ? read : readFile(path), after);
        if (thing == "link to a file")
            QCOMPARE(readFile(target), kOld);
#ifdef Q_OS_UNIX
        struct stat st {};
        if (thing == "regular file")
            QCOMPARE(::lstat(name.constData(), &st) == 0 ? int(st.st_mode & 07777) : -1, 0640);
#endif
        QCOMPARE(entries(dir.path()), ok && kind == int(Kind::Missing) ? QStringList{"R1.911"} : before);
    }

    void safeFileInjected_data()
    {
        QTest::addColumn<QString>("call"); // save, save new, append
        QTest::addColumn<QString>("op");
        QTest::addColumn<int>("err");
        QTest::addColumn<int>("at");
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("words");
        QTest::addColumn<QByteArray>("after");
#ifndef Q_OS_LINUX
        QSKIP("the file-call fault injector is a preloaded Linux library");
#else
        const QString full("the disk is full"), io("input/output error");
        QTest::newRow("disk full at the first byte") << "save" << "write" << ENOSPC << 0 << 61 << full << kOld;
        QTest::newRow("quota used up in the middle") << "save" << "write" << EDQUOT << 350 << 61 << full << kOld;
        QTest::newRow("I/O error at fsync") << "save" << "fsync" << EIO << 0 << 57 << io << kOld;
        QTest::newRow("I/O error at close") << "save" << "close" << EIO << 0 << 57 << io << kOld;
        QTest::newRow("read-only at rename") << "save" << "rename" << EROFS << 0 << 70 << "the folder is read-only" << kOld;
        QTest::newRow("I/O error flushing the folder") << "save" << "fsync folder" << EIO << 1 << 57 << "power cut" << kNew;
        QTest::newRow("new file, disk full in the middle") << "save new" << "write" << ENOSPC << 350 << 61 << full << QByteArray();
        QTest::newRow("log line, disk full in the middle") << "append" << "write" << ENOSPC << 20 << 61 << full << kOld;
#endif
    }

    void safeFileInjected()
    {
#ifdef Q_OS_LINUX
        QFETCH(QString, call);
        QFETCH(QString, op);
        QFETCH(int, err);
        QFETCH(int, at);
        QFETCH(int, number);
        QFETCH(QString, words);
        QFETCH(QByteArray, after);
        if (!arm)
            QSKIP("libfaultfs.so is not preloaded (CTest preloads it)");
        QTemporaryDir dir;
        const QString path = dir.filePath("R1.911");
        if (call != "save new")
            writeFile(path, kOld);
        const QStringList before = entries(dir.path());
        // "fsync folder" lets the report's own fsync through and fails the next one in its folder.
        const QByteArray match = op == "fsync folder" ? QFile::encodeName(dir.path()) : QByteArray("R1.911");
        QCOMPARE(arm(op.section(' ', 0, 0).toLatin1().constData(), err, match.constData(), at), 0);
        RunError error;
        const bool ok = call == "append" ? SafeFile::append(path, kNew, &error) : SafeFile::writeAtomically(path, kNew, &error);
        const long long injected = hits();
        disarm();
        QVERIFY2(injected > 0, "no fault was injected");
        QCOMPARE(ok, false);
        QCOMPARE(error.number, number);
        QVERIFY2(error.description.contains(words), qPrintable(error.description));
        QCOMPARE(readFile(path), after);
        QCOMPARE(entries(dir.path()), before); // no temporary file left
#endif
    }
};

QTEST_GUILESS_MAIN(TestSupport)
#include "tst_support.moc"
