// SafeFile seen from outside: what it does with each kind of thing at a path, and what a failing
// disk leaves behind. Faults come from libfaultfs.so, which CTest preloads into this test.

#include "support/SafeFile.h"

#include <QDir>
#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <dlfcn.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
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

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void put(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
}

QStringList entries(const QString &dir)
{
    QStringList names = QDir(dir).entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot);
    names.sort();
    return names;
}

} // namespace

class TestSafeFile : public QObject {
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
        QTest::addColumn<int>("number"); // 0 when the call succeeds
        QTest::addColumn<QByteArray>("after"); // what was read, or is in the file afterwards
        const QList<QPair<const char *, Kind>> things{
            {"regular file", Kind::Regular}, {"missing", Kind::Missing}, {"folder", Kind::Directory},
            {"link to a file", Kind::SymbolicLink}, {"link to a FIFO", Kind::SymbolicLink}, {"FIFO", Kind::Fifo},
            {"socket", Kind::Socket}, {"device", Kind::Device}};
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
        QString path = dir.filePath("R1.911");
        const QByteArray name = QFile::encodeName(path);
        const QString target = dir.filePath("target"); // what a link points to: nothing may reach it
        int socketFd = -1;
        auto closeSocket = qScopeGuard([&] { if (socketFd >= 0) ::close(socketFd); });
        if (thing == "regular file" || thing == "link to a file")
            put(thing == "regular file" ? path : target, kOld);
        if (thing == "folder")
            QVERIFY(QDir().mkdir(path));
        if (thing == "FIFO" || thing == "link to a FIFO")
            QCOMPARE(::mkfifo(QFile::encodeName(thing == "FIFO" ? path : target).constData(), 0600), 0);
        if (thing.startsWith("link"))
            QVERIFY(QFile::link(target, path));
        if (thing == "socket") {
            sockaddr_un address {};
            address.sun_family = AF_UNIX;
            qstrncpy(address.sun_path, name.constData(), sizeof address.sun_path);
            socketFd = ::socket(AF_UNIX, SOCK_STREAM, 0);
            QCOMPARE(::bind(socketFd, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
        }
        if (thing == "device" && ::mknod(name.constData(), S_IFCHR | 0666, makedev(1, 3)) != 0) {
            if (op != "readAll") // never tried on the system's own device nodes
                QSKIP("a device node of its own needs root (mknod)");
            path = QStringLiteral("/dev/null");
        }
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
        QVERIFY2(ok || error.description.contains(path), qPrintable(error.description));
        QVERIFY2(ok || error.description.contains(number == 53 ? "does not exist" : SafeFile::describe(Kind(kind))),
                 qPrintable(error.description));
        QCOMPARE(int(SafeFile::kindOf(path)), ok ? int(Kind::Regular) : kind);
        if (op == "readAll" || ok) // what is not a file is never opened here: a FIFO would block
            QCOMPARE(op == "readAll" ? read : contents(path), after);
        if (thing == "link to a file")
            QCOMPARE(contents(target), kOld);
        QCOMPARE(entries(dir.path()), ok && before.isEmpty() ? QStringList{"R1.911"} : before);
    }

    void readLimit_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<int>("limit");
        QTest::newRow("at the limit") << 11 << 11;
        QTest::newRow("one byte over") << 12 << 11;
        QTest::newRow("empty, limit 0") << 0 << 0;
    }

    void readLimit()
    {
        QFETCH(int, size);
        QFETCH(int, limit);
        QTemporaryDir dir;
        put(dir.filePath("R1.911"), QByteArray(size, 'x'));
        QByteArray read("stale");
        RunError error;
        const bool ok = SafeFile::readAll(dir.filePath("R1.911"), limit, &read, &error);
        QCOMPARE(ok, size <= limit);
        QCOMPARE(read, ok ? QByteArray(size, 'x') : QByteArray());
        QCOMPARE(error.number, ok ? 0 : int(RunError::InvalidFileFormat));
    }

    void injected_data()
    {
        QTest::addColumn<QString>("call"); // save, save new, append, or a save by a process of its own
        QTest::addColumn<QString>("op");
        QTest::addColumn<int>("err");
        QTest::addColumn<int>("at");
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("words");
        QTest::addColumn<QByteArray>("after");
        const QString full("the disk is full"), io("input/output error");
        QTest::newRow("disk full at the first byte") << "save" << "write" << ENOSPC << 0 << 61 << full << kOld;
        QTest::newRow("disk full in the middle") << "save" << "write" << ENOSPC << 350 << 61 << full << kOld;
        QTest::newRow("quota used up in the middle") << "save" << "write" << EDQUOT << 350 << 61 << full << kOld;
        QTest::newRow("I/O error in the middle") << "save" << "write" << EIO << 350 << 57 << io << kOld;
        QTest::newRow("I/O error at fsync") << "save" << "fsync" << EIO << 0 << 57 << io << kOld;
        QTest::newRow("disk full at fsync") << "save" << "fsync" << ENOSPC << 0 << 61 << full << kOld;
        QTest::newRow("I/O error at close") << "save" << "close" << EIO << 0 << 57 << io << kOld;
        QTest::newRow("I/O error at rename") << "save" << "rename" << EIO << 0 << 57 << io << kOld;
        QTest::newRow("read-only at rename") << "save" << "rename" << EROFS << 0 << 70 << "the folder is read-only" << kOld;
        QTest::newRow("I/O error flushing the folder") << "save" << "fsync folder" << EIO << 1 << 57 << "power cut" << kNew;
        QTest::newRow("new file, disk full in the middle") << "save new" << "write" << ENOSPC << 350 << 61 << full << QByteArray();
        QTest::newRow("log line, disk full in the middle") << "append" << "write" << ENOSPC << 20 << 61 << full << kOld;
        QTest::newRow("child process, disk full at byte 100") << "child" << "write" << ENOSPC << 100 << 61 << full << kOld;
        QTest::newRow("child process, not armed") << "child" << "" << 0 << 0 << 0 << "" << kNew;
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
            put(path, kOld);
        const QStringList before = entries(dir.path());
        bool ok = false;
        RunError error;
        long long injected = 0;
        if (call == "child") { // armed through the environment of the process it starts
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.insert("FAULTFS_OP", op);
            environment.insert("FAULTFS_ERRNO", QString::number(err));
            environment.insert("FAULTFS_MATCH", "R1.911");
            environment.insert("FAULTFS_AT", QString::number(at));
            QProcess child;
            child.setProcessEnvironment(environment);
            child.start(QStringLiteral(SAFEFILE_WRITE), {path, QString::fromLatin1(kNew)});
            QVERIFY(child.waitForFinished());
            ok = child.exitCode() == 0;
            error.description = QString::fromLocal8Bit(child.readAllStandardError());
            error.number = error.description.section(',', 0, 0).toInt();
            injected = op.isEmpty() ? 1 : !ok;
        } else {
            // "fsync folder" lets the report's own fsync through and fails the next one in its folder.
            const QByteArray match = op == "fsync folder" ? QFile::encodeName(dir.path()) : QByteArray("R1.911");
            QCOMPARE(arm(op.section(' ', 0, 0).toLatin1().constData(), err, match.constData(), at), 0);
            ok = call == "append" ? SafeFile::append(path, kNew, &error) : SafeFile::writeAtomically(path, kNew, &error);
            injected = hits();
            disarm();
        }
        QVERIFY2(injected > 0, "no fault was injected");
        QCOMPARE(ok, number == 0);
        QCOMPARE(error.number, number);
        QVERIFY2(error.description.contains(words), qPrintable(error.description));
        QCOMPARE(contents(path), after);
        QCOMPARE(entries(dir.path()), before);
    }

    void permissions_data()
    {
        QTest::addColumn<int>("mode"); // of the old file; -1 for none
        for (int mode : {0600, 0444, 0755})
            QTest::addRow("old file %o", mode) << mode;
        QTest::newRow("new file") << -1;
    }

    void permissions()
    {
        QFETCH(int, mode);
        QTemporaryDir dir;
        const QByteArray name = QFile::encodeName(dir.filePath("R1.911"));
        if (mode >= 0) {
            put(dir.filePath("R1.911"), kOld);
            QCOMPARE(::chmod(name.constData(), mode_t(mode)), 0);
        }
        const mode_t mask = ::umask(022);
        ::umask(mask);
        RunError error;
        QVERIFY2(SafeFile::writeAtomically(dir.filePath("R1.911"), kNew, &error), qPrintable(error.text()));
        struct stat st {};
        QCOMPARE(::lstat(name.constData(), &st), 0);
        QCOMPARE(int(st.st_mode & 07777), mode >= 0 ? mode : int(0666 & ~mask));
    }

    void fullDisk_data()
    {
        QTest::addColumn<int>("freeBlocks");
        QTest::addColumn<int>("size");
        QTest::newRow("no free block") << 0 << 700;
        QTest::newRow("one free block, a file that fits") << 1 << 700;
        QTest::newRow("one free block, a file that does not") << 1 << 6000;
    }

    void fullDisk()
    {
        QFETCH(int, freeBlocks);
        QFETCH(int, size);
        QTemporaryDir dir;
        const QByteArray mountPoint = QFile::encodeName(dir.path());
        if (::mount("tmpfs", mountPoint.constData(), "tmpfs", 0, "size=64k") != 0)
            QSKIP(qPrintable("mounting a small tmpfs needs root or CAP_SYS_ADMIN (" + qt_error_string(errno) + ")"));
        auto unmount = qScopeGuard([&] { ::umount2(mountPoint.constData(), MNT_DETACH); });
        const QString path = dir.filePath("Zelvatcts.ini");
        put(path, kOld);
        QFile filler(dir.filePath("filler"));
        QVERIFY(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        const long block = ::sysconf(_SC_PAGESIZE);
        while (filler.write(QByteArray(block, 'f')) == block) {
        }
        QVERIFY(filler.resize((filler.size() / block - freeBlocks) * block));
        struct statvfs fs {};
        QCOMPARE(::statvfs(mountPoint.constData(), &fs), 0);
        QCOMPARE(qint64(fs.f_bavail), qint64(freeBlocks)); // the disk is as full as the row says

        const QByteArray bytes(size, 'n');
        RunError error;
        const bool ok = SafeFile::writeAtomically(path, bytes, &error);
        QCOMPARE(ok, size <= block * freeBlocks);
        QCOMPARE(contents(path), ok ? bytes : kOld);
        QCOMPARE(error.number, ok ? 0 : int(RunError::DiskFull));
        QVERIFY2(ok || error.description.contains("the disk is full"), qPrintable(error.description));
        QCOMPARE(entries(dir.path()), (QStringList{"Zelvatcts.ini", "filler"}));
    }
};

QTEST_GUILESS_MAIN(TestSafeFile)
#include "tst_safefile.moc"
