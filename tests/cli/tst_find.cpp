// The client's find as a script sees it: the rows of list that hold every word (its usage errors
// are among tst_cli's refusals). Which report holds a word, and when the index is believed, is the
// catalog's own rule.

#include "common/Capture.h"
#include "common/ProgramHome.h"
#include "common/SampleReport.h"

#include <QProcess>
#include <QTest>

class TestFind : public QObject {
    Q_OBJECT

private slots:
    void find_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QByteArray>("names");
        QTest::newRow("every word, any folder") << QStringList{"find", "oak", "SMITH"} << QByteArray("A1 D4 ");
        QTest::newRow("in one folder") << QStringList{"find", "--folder", "draft", "oak"} << QByteArray("D4 ");
        QTest::newRow("the folder after the words") << QStringList{"find", "oak", "--folder", "ready"} << QByteArray("A1 ");
        QTest::newRow("nothing found") << QStringList{"find", "nowhere"} << QByteArray("");
    }

    void find()
    {
        QFETCH(QStringList, args);
        QFETCH(QByteArray, names);
        ProgramHome home;
        SampleReport::save(home.path(), {"EID=A1", "AD1=12 Oak Street", "RPN=Jordan Smith", "AST=2"});
        SampleReport::save(home.path(), {"EID=B2", "AD1=4 Elm Road", "RPN=Jordan Smith", "AST=2"});
        SampleReport::save(home.path(), {"EID=C3", "AD1=9 Oak Lane", "RPN=Lee Chan", "AST=9"});
        SampleReport::save(home.path(), {"EID=D4", "AD1=1 Oak Court", "RPN=Pat Smith", "AST=6"});
        QProcess p;
        p.start(ZELVATCTS_CLI, QStringList{"--home", home.path()} + args);
        QVERIFY(p.waitForFinished(30000));
        QCOMPARE(p.exitCode(), 0);
        const QByteArray out = p.readAllStandardOutput();
        QByteArray found;
        const QList<QByteArray> lines = out.split('\n');
        for (const QByteArray &line : lines.first(lines.size() - 2))
            found += line.split('\t').first() + ' ';
        QCOMPARE(found, names);
        QCOMPARE(lines[lines.size() - 2], "Items: " + QByteArray::number(names.count(' ')));
    }
};

QTEST_GUILESS_MAIN(TestFind)
#include "tst_find.moc"
