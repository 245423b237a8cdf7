// The report form's rules that need no window: what a box takes of typed keys and of pasted
// text, and what each report state shows and allows.
// The form suite checks once per rule that the form asks it.

#include "store/FormFields.h"
#include "store/FormPaste.h"
#include "store/FormRules.h"

#include <QTest>

using G = FormFields::Group;

class TestFormRules : public QObject {
    Q_OBJECT

private slots:
    void boxTakes_data()
    {
        QTest::addColumn<int>("group");
        QTest::addColumn<int>("index");
        QTest::addColumn<bool>("pasted"); // else typed, key by key
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("taken");
        QTest::addColumn<int>("refused");
        const auto row = [](const char *name, G g, int i, bool pasted, const QString &in, const QString &out, int no) {
            QTest::newRow(name) << int(g) << i << pasted << in << out << no;
        };
        row("summary set takes ' = _", G::Header, 0, false, "a'B=c_d!@", "a'B=c_d", 2);
        row("general set refuses = and !", G::Header, 5, false, "555-0100 =X!", "555-0100 X", 2);
        row("city takes anything", G::Header, 8, false, "st. john's!", "st. john's!", 0);
        row("plate in capitals, filtered", G::Law, 4, false, "7abc*1", "7ABC1", 1);
        row("state in capitals", G::Law, 5, false, "ca", "CA", 0);
        row("vehicle as typed", G::Law, 3, false, "Red van", "Red van", 0);
        row("backspace passes a filtered box", G::Header, 0, false, "\b", "\b", 0);
        row("beyond the code page refused", G::Header, 7, false, QString::fromUtf8("Łódź é€"), QString::fromUtf8("ód é€"), 2);
        row("pasted: plate in capitals, refused signs left out", G::Law, 4, true, "7abc-12!", "7ABC-12", 1);
        row("pasted: summary's characters", G::Header, 0, true, "Fall @ home #2", "Fall  home 2", 2);
        row("pasted: one-line box joins lines", G::Header, 1, true, "12 Oak St\r\nrear\n", "12 Oak St rear ", 0);
        row("pasted: details keep lines", G::Header, 7, true, "first\r\nsecond\rthird", "first\nsecond\nthird", 0);
        row("pasted: outside the code page", G::Header, 7, true, QString::fromUtf8("ok \xE2\x9C\x93 \xF0\x9F\x98\x80 é€"),
            QString::fromUtf8("ok   é€"), 3);
        row("pasted: tab and control characters", G::Header, 6, true, QString("14\t05\x01\b\x7F"), "14 05", 3);
    }

    void boxTakes()
    {
        QFETCH(int, group);
        QFETCH(int, index);
        QFETCH(bool, pasted);
        QFETCH(QString, input);
        QFETCH(QString, taken);
        QFETCH(int, refused);
        const FormFields::Box &b = FormFields::box(G(group), index);
        FormPaste::Result r;
        if (pasted)
            r = FormPaste::filter(b, input);
        for (QChar c : pasted ? QString() : input) {
            const QChar k = FormPaste::typed(b, c);
            k.isNull() ? void(++r.refused) : void(r.text += k);
        }
        QCOMPARE(r.text, taken);
        QCOMPARE(r.refused, refused);
    }

    void viewOfState_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<QString>("shown"); // the caption, the commands enabled, the Save button's caption
        QTest::newRow("1 new") << 1 << "New Report|Delete Save Submit Close|Save";
        QTest::newRow("6 draft") << 6 << "Previously Saved Report|Delete Save Submit Close|Save";
        QTest::newRow("2 ready") << 2 << "Ready, not Submitted|Delete Submit Close|Save";
        QTest::newRow("8 deleted") << 8 << "Deleted Report|Close|Save";
        QTest::newRow("9 submitted") << 9 << "Submitted Report|Delete Save Close|Update";
        for (int state : {0, 3, 7, 10})
            QTest::addRow("%d: none", state) << state << "";
    }

    void viewOfState()
    {
        QFETCH(int, state);
        QFETCH(QString, shown);
        const auto v = FormRules::viewOfState(state);
        QStringList on;
        if (v) {
            for (const auto &[enabled, name] : {std::pair{v->deleteEnabled, "Delete"}, {v->saveEnabled, "Save"},
                                                {v->submitEnabled, "Submit"}, {v->closeEnabled, "Close"}})
                if (enabled)
                    on << name;
        }
        QCOMPARE(v ? v->caption + "|" + on.join(' ') + "|" + v->saveCaption : QString(), shown);
        QCOMPARE(FormRules::canSubmit(state), state == 1 || state == 2 || state == 6);
    }
};

QTEST_MAIN(TestFormRules)
#include "tst_form_rules.moc"
