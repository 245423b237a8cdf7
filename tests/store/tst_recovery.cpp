// The recovery of an unsaved report form, below the windows: when the input is due to be
// written (on a fixed clock), what a recovery file keeps and reads back, what happens to one that
// cannot be read, and which files are offered.

#include "common/Capture.h"
#include "common/ProgramHome.h"
#include "common/SampleReport.h"
#include "store/FormRecovery.h"

#include <QDir>
#include <QTest>

using Key = ZelvatMsg::Key;

class TestRecovery : public QObject {
    Q_OBJECT

private slots:
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
};

QTEST_GUILESS_MAIN(TestRecovery)
#include "tst_recovery.moc"
