// What a failing or strange disk does to the program, seen from outside: SafeFile with what may
// stand at a path (a FIFO for every kind that must never be opened), the writer and the headless
// client under injected faults (libfaultfs.so, preloaded into this test by CTest and into the
// clients it starts), and a disk really full.

#include "common/Capture.h"
#include "common/Loopback.h"
#include "support/SafeFile.h"

#include <QDir>
#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <dlfcn.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

using SafeFile::Kind;

namespace {

volatile sig_atomic_t g_alarmed = 0;
const QByteArray kOld = QByteArray("[ADMIN DEFINITION]\r\nAST=6\r\n").repeated(26);
const QByteArray kNew = QByteArray("[ADMIN DEFINITION]\r\nAST=8\r\n").repeated(26);

// The injector's run-time switches, when this process was started with it.
const auto arm = reinterpret_cast<int (*)(const char *, int, const char *, long long)>(dlsym(RTLD_DEFAULT, "faultfs_arm"));
const auto disarm = reinterpret_cast<void (*)()>(dlsym(RTLD_DEFAULT, "faultfs_disarm"));
const auto hits = reinterpret_cast<long long (*)()>(dlsym(RTLD_DEFAULT, "faultfs_hits"));

QStringList entries(const QString &dir)
{
    return QDir(dir).entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}

} // namespace

class TestFaults : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // A call that blocks is interrupted after a while instead of hanging the suite, and flagged.
        struct sigaction action {};
        action.sa_handler = [](int) { g_alarmed = 1; };
        QCOMPARE(sigaction(SIGALRM, &action, nullptr), 0);
    }

    void kinds_data()
    {
        QTest::addColumn<QString>("op");
        QTest::addColumn<QString>("thing");
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("number");       // 0 when the call succeeds
        QTest::addColumn<QByteArray>("after"); // what was read, or is in the file afterwards
        const QList<QPair<const char *, Kind>> things{
            {"regular file", Kind::Regular}, {"missing", Kind::Missing}, {"folder", Kind::Directory},
            {"link to a file", Kind::SymbolicLink}, {"FIFO", Kind::Fifo}};
        const QList<QPair<const char *, QByteArray>> ops{{"readAll", kOld}, {"writeAtomically", kNew}, {"append", kOld + kNew}};
        for (const auto &[op, written] : ops) {
            for (const auto &[thing, kind] : things) {
                const bool creates = kind == Kind::Missing && QByteArray(op) != "readAll";
                const int number = kind == Kind::Regular || creates ? 0 : kind == Kind::Missing ? 53 : 75;
                QTest::addRow("%s: %s", op, thing) << op << thing << int(kind) << number
                                                   << (creates ? kNew : kind == Kind::Regular ? written : QByteArray());
            }
        }
    }

    void kinds()
    {
        QFETCH(QString, op);
        QFETCH(QString, thing);
        QFETCH(int, kind);
        QFETCH(int, number);
        QFETCH(QByteArray, after);
        QTemporaryDir dir;
        const QString path = dir.filePath("R1.911");
        const QByteArray name = QFile::encodeName(path);
        const QString target = dir.filePath("target"); // what a link points to: nothing may reach it
        if (thing == "regular file" || thing == "link to a file")
            writeFile(thing == "regular file" ? path : target, kOld);
        if (thing == "regular file") // a file's permissions outlive its saves
            QCOMPARE(::chmod(name.constData(), 0640), 0);
        if (thing == "folder")
            QVERIFY(QDir().mkdir(path));
        if (thing == "FIFO")
            QCOMPARE(::mkfifo(name.constData(), 0600), 0);
        if (thing == "link to a file")
            QVERIFY(QFile::link(target, path));
        QCOMPARE(int(SafeFile::kindOf(path)), kind);
        const QStringList before = entries(dir.path());

        QByteArray read;
        RunError error;
        bool ok = false;
        g_alarmed = 0;
        ::alarm(5);
        if (op == "readAll")
            ok = SafeFile::readAll(path, 4096, &read, &error);
        else
            ok = op == "append" ? SafeFile::append(path, kNew, &error) : SafeFile::writeAtomically(path, kNew, &error);
        ::alarm(0);
        QVERIFY2(!g_alarmed, "the call blocked");
        QCOMPARE(error.number, number);
        QCOMPARE(ok, number == 0);
        QVERIFY2(ok || error.description.contains(number == 53 ? "does not exist" : SafeFile::describe(Kind(kind))),
                 qPrintable(error.description));
        QCOMPARE(int(SafeFile::kindOf(path)), ok ? int(Kind::Regular) : kind);
        if (op == "readAll" || ok) // what is not a file is never opened here: a FIFO would block
            QCOMPARE(op == "readAll" ? read : readFile(path), after);
        if (thing == "link to a file")
            QCOMPARE(readFile(target), kOld);
        struct stat st {};
        if (thing == "regular file")
            QCOMPARE(::lstat(name.constData(), &st) == 0 ? int(st.st_mode & 07777) : -1, 0640);
        QCOMPARE(entries(dir.path()), ok && before.isEmpty() ? QStringList{"R1.911"} : before);
    }

    void injected_data()
    {
        QTest::addColumn<QString>("call"); // save, save new, append
        QTest::addColumn<QString>("op");
        QTest::addColumn<int>("err");
        QTest::addColumn<int>("at");
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("words");
        QTest::addColumn<QByteArray>("after");
        const QString full("the disk is full"), io("input/output error");
        QTest::newRow("disk full at the first byte") << "save" << "write" << ENOSPC << 0 << 61 << full << kOld;
        QTest::newRow("quota used up in the middle") << "save" << "write" << EDQUOT << 350 << 61 << full << kOld;
        QTest::newRow("I/O error at fsync") << "save" << "fsync" << EIO << 0 << 57 << io << kOld;
        QTest::newRow("I/O error at close") << "save" << "close" << EIO << 0 << 57 << io << kOld;
        QTest::newRow("read-only at rename") << "save" << "rename" << EROFS << 0 << 70 << "the folder is read-only" << kOld;
        QTest::newRow("I/O error flushing the folder") << "save" << "fsync folder" << EIO << 1 << 57 << "power cut" << kNew;
        QTest::newRow("new file, disk full in the middle") << "save new" << "write" << ENOSPC << 350 << 61 << full << QByteArray();
        QTest::newRow("log line, disk full in the middle") << "append" << "write" << ENOSPC << 20 << 61 << full << kOld;
    }

    void injected()
    {
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
    }

    void clientUnderFaults_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QString>("fault"); // FAULTFS_OP:errno:match:at
        QTest::addColumn<QString>("said");
        QTest::addColumn<QString>("kept");  // the file left exactly as it was

        QTest::newRow("delete on a full disk") << QStringList{"delete", "R1"} << "write:28:R1.911:100" << "the disk is full"
                                               << "msg.d/R1.911";
        QTest::newRow("next event, one block free") << QStringList{"next-event"} << "write:28:Zelvatcts.ini:40"
                                                    << "the disk is full" << "Zelvatcts.ini";
        QTest::newRow("the final save of a sent report") << QStringList{"submit", "R1"} << "rename:5:R1.911:1"
                                                         << "was sent, but its file could not be marked Submitted" << "";
    }

    void clientUnderFaults()
    {
        QFETCH(QStringList, args);
        QFETCH(QString, fault);
        QFETCH(QString, said);
        QFETCH(QString, kept);
        QTemporaryDir home;
        auto server = Loopback::start();
        QVERIFY(QDir(home.path()).mkpath("msg.d") && QDir(home.path()).mkpath("logs"));
        writeFile(home.filePath("Zelvatcts.ini"), "[GENERAL OPTIONS]\r\nLid=SPF\r\nUid=K\r\nLoc=E\r\nPrt="
                                                      + QByteArray::number(server->port()) + "\r\n");
        writeFile(home.filePath("msg.d/R1.911"), "EID=R1\r\nTYP=LGOV\r\nISS=x\r\nAD1=x\r\nCTY=x\r\nRPN=x\r\nLAS=x\r\nDTL=x\r\nAST=2\r\n");
        const QByteArray before = kept.isEmpty() ? QByteArray() : readFile(home.filePath(kept));
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (int i = 0; i < 4; ++i)
            environment.insert(QStringList{"FAULTFS_OP", "FAULTFS_ERRNO", "FAULTFS_MATCH", "FAULTFS_AT"}[i], fault.section(':', i, i));
        QProcess client;
        client.setProcessEnvironment(environment);
        client.start(ZELVATCTS_CLI, QStringList{"--home", home.path()} + args);
        QTRY_VERIFY_WITH_TIMEOUT(client.state() == QProcess::NotRunning, 30000); // the server answers meanwhile
        const QByteArray err = client.readAllStandardError();
        QCOMPARE(client.exitCode(), 1);
        QVERIFY2(err.contains(said.toLocal8Bit()), err.constData());
        if (!kept.isEmpty())
            QCOMPARE(readFile(home.filePath(kept)), before);
        if (args[0] == "submit") { // it went out once, and says Ready: sent, not marked
            QCOMPARE(server->messages(), 1);
            QVERIFY(readFile(home.filePath("msg.d/R1.911")).contains("\r\nAST=2\r\n"));
            QVERIFY(readFile(QDir(home.filePath("logs")).entryInfoList(QDir::Files).value(0).filePath())
                        .contains("R1 went out, but its file could not be marked Submitted"));
        }
        QCOMPARE(entries(home.filePath("msg.d")), QStringList{"R1.911"});
    }

    void fullDisk()
    {
        // A real disk with one block free: a save that does not fit leaves the old file, one that
        // fits is made in the room there is.
        QTemporaryDir dir;
        const QByteArray mountPoint = QFile::encodeName(dir.path());
        if (::mount("tmpfs", mountPoint.constData(), "tmpfs", 0, "size=64k") != 0)
            QSKIP(qPrintable("mounting a small tmpfs needs root or CAP_SYS_ADMIN (" + qt_error_string(errno) + ")"));
        auto unmount = qScopeGuard([&] { ::umount2(mountPoint.constData(), MNT_DETACH); });
        const QString path = dir.filePath("Zelvatcts.ini");
        writeFile(path, kOld);
        QFile filler(dir.filePath("filler"));
        QVERIFY(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        const long block = ::sysconf(_SC_PAGESIZE);
        while (filler.write(QByteArray(block, 'f')) == block) {
        }
        QVERIFY(filler.resize((filler.size() / block - 1) * block));
        struct statvfs fs {};
        QCOMPARE(::statvfs(mountPoint.constData(), &fs), 0);
        QCOMPARE(qint64(fs.f_bavail), qint64(1)); // the disk is as full as it should be
        RunError error;
        QVERIFY(!SafeFile::writeAtomically(path, QByteArray(block + 1, 'n'), &error));
        QVERIFY2(error.description.contains("the disk is full"), qPrintable(error.description));
        QCOMPARE(readFile(path), kOld);
        QVERIFY2(SafeFile::writeAtomically(path, kNew, &error), qPrintable(error.description));
        QCOMPARE(readFile(path), kNew);
        QCOMPARE(entries(dir.path()), (QStringList{"Zelvatcts.ini", "filler"}));
    }
};

QTEST_GUILESS_MAIN(TestFaults)
#include "tst_faults.moc"
