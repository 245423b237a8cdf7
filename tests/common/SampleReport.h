#pragma once

#include "store/ZelvatMsg.h"

#include <QStringList>

// Reports for the tests and the benchmarks: one filled as an operator fills one, and a way to
// change the fields a case is about.
namespace SampleReport {

// Report `i` of a series, about 500 bytes: a medical and law call with every field filled, in
// `state`, named ABC26320.00000i.
inline ZelvatMsg make(const QString &programFolder, int i = 0, qint16 state = 2)
{
    static const char *cities[] = {"Springfield", "Riverside", "Fairview", "Madison", "Georgetown"};
    static const char *types[] = {"MED", "FIRE", "LAW", "MED+LAW", "LGOV"};
    ZelvatMsg m(programFolder);
    m.setTYP(QString::fromLatin1(types[i % 5]));
    m.setEID(QStringLiteral("ABC26320.%1").arg(i, 6, 10, QLatin1Char('0')));
    m.setMID(QStringLiteral("ABC-%1").arg(i));
    m.setISS(QStringLiteral("Person down near the library"));
    m.setAD1(QStringLiteral("%1 Oak Street").arg(100 + i % 900));
    m.setCTY(QString::fromLatin1(cities[i % 5]));
    m.setAD2(QStringLiteral("Corner of Oak and 5th, north side"));
    m.setLAS(QStringLiteral("14:05"));
    m.setDTL(QStringLiteral("Caller reports a man collapsed on the sidewalk, bystanders are with him\\nNo traffic hazard"));
    m.setRPN(QStringLiteral("Jordan Smith"));
    m.setRPA(QStringLiteral("12 Elm Road"));
    m.setRPP(QStringLiteral("555-0100"));
    m.setAGE(QStringLiteral("70"));
    m.setGDR(QStringLiteral("Male"));
    m.setCON(1);
    m.setBRE(1);
    m.setPDE(QStringLiteral("Tall, red jacket"));
    m.setUID(QStringLiteral("KN1ABC"));
    m.setULO(QStringLiteral("EOC Main"));
    m.setAST(state);
    m.setADT(QStringLiteral("261116"));
    m.setATM(QStringLiteral("1432"));
    return m;
}

// Applies "KEY=value" changes to the record: text as given, a number for RPC, CON, BRE and AST.
inline void change(ZelvatMsg &record, const QStringList &changes)
{
    for (const QString &c : changes) {
        const QString key = c.section(QLatin1Char('='), 0, 0);
        const QString value = c.section(QLatin1Char('='), 1);
        for (ZelvatMsg::Key k : ZelvatMsg::allKeys()) {
            if (ZelvatMsg::keyName(k) != key)
                continue;
            if (ZelvatMsg::isIntegerKey(k))
                record.setNumber(k, qint16(value.toInt()));
            else
                record.setText(k, value);
        }
    }
}

// The sample report `i` with the changes, saved under its EID; returns the EID.
inline QString save(const QString &programFolder, const QStringList &changes = {}, int i = 0)
{
    ZelvatMsg m = make(programFolder, i);
    change(m, changes);
    m.Fadd();
    return m.EID();
}

} // namespace SampleReport
