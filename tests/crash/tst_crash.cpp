// Kills a program that saves reports and takes event numbers in a tight loop, with SIGKILL at
// random moments, and checks after every kill that each report file loads and holds one whole
// save — its old or its new content, never a mixture or a stump — and that the station file
// still reads cleanly with a counter that never went back.

#include "common/Capture.h"
#include "settings/ZelvatIni.h"
#include "store/ProgramFolder.h"

#include "CrashReport.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <csignal>

class TestCrash : public QObject {
    Q_OBJECT

private slots:
    void killedWhileSavingLosesNothing()
    {
        QTemporaryDir dir;
        Capture capture;
        QRandomGenerator random(20261122);
        qint32 lastEno = 0;
        qint64 lastGeneration[CrashReport::Reports] = {};
        const QRegularExpression iss("^r(\\d) g(\\d+)$");

        for (int round = 0; round < 25; ++round) {
            QProcess p;
            p.start(SAVE_STREAM, {dir.path(), QString::number(round * 1000000 + 1)});
            QVERIFY(p.waitForReadyRead(10000)); // "saving": the loop has begun
            QThread::msleep(random.bounded(5, 120));
            ::kill(pid_t(p.processId()), SIGKILL);
            QVERIFY(p.waitForFinished(10000));
            QCOMPARE(p.exitStatus(), QProcess::CrashExit);

            ZelvatMsg msg(dir.path());
            for (int r = 0; r < CrashReport::Reports; ++r) {
                const QString name = CrashReport::Name(r);
                if (round == 0 && !msg.Exists(name))
                    continue; // killed before its first save
                QVERIFY2(msg.Load(name), qPrintable(name + capture.noticeTexts().join("|")));
                const auto m = iss.match(msg.ISS());
                QVERIFY2(m.hasMatch(), qPrintable(msg.ISS()));
                QCOMPARE(m.captured(1).toInt(), r);
                const qint64 g = m.captured(2).toLongLong();
                QVERIFY(g >= lastGeneration[r]); // never an older save than one already seen
                lastGeneration[r] = g;
                ZelvatMsg expected(dir.path());
                CrashReport::Fill(expected, r, g);
                for (ZelvatMsg::Key k : ZelvatMsg::allKeys()) {
                    QCOMPARE(msg.text(k), expected.text(k));
                    QCOMPARE(msg.number(k), expected.number(k));
                }
            }
            ZelvatIni ini(ProgramFolder::stationFile(dir.path()));
            QVERIFY(ini.load());
            QVERIFY(ini.Eno >= lastEno || ini.Eno <= 101); // only a deliberate wrap goes back
            lastEno = ini.Eno;
        }
        QVERIFY2(capture.notices.isEmpty(), qPrintable(capture.noticeTexts().join('\n')));
        QVERIFY(lastGeneration[0] > 1); // the saves really ran between the kills
    }
};

QTEST_GUILESS_MAIN(TestCrash)
#include "tst_crash.moc"
