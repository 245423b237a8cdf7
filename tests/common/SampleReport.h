#pragma once

#include "store/ZelvatMsg.h"

#include <QStringList>

// Reports for the tests and the benchmarks: one filled as an operator fills one, and a way to
// change the fields a case is about.
namespace SampleReport {

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

// Report `i` of a series, about 500 bytes: a medical and law call with every field filled, in
// `state`, named ABC26320.00000i.
inline ZelvatMsg make(const QString &programFolder, int i = 0, qint16 state = 2)
{
    static const char *cities[] = {"Springfield", "Riverside", "Fairview", "Madison", "Georgetown"};
    static const char *types[] = {"MED", "FIRE", "LAW", "MED+LAW", "LGOV"};
    ZelvatMsg m(programFolder);
    change(m, {QStringLiteral("TYP=") + types[i % 5], QStringLiteral("EID=ABC26320.%1").arg(i, 6, 10, QLatin1Char('0')),
               QStringLiteral("MID=ABC-%1").arg(i), "ISS=Person down near the library",
               QStringLiteral("AD1=%1 Oak Street").arg(100 + i % 900), QStringLiteral("CTY=") + cities[i % 5],
               "AD2=Corner of Oak and 5th, north side", "LAS=14:05", "RPN=Jordan Smith", "RPA=12 Elm Road", "RPP=555-0100",
               "DTL=Caller reports a man collapsed on the sidewalk, bystanders are with him\\nNo traffic hazard",
               "AGE=70", "GDR=Male", "CON=1", "BRE=1", "PDE=Tall, red jacket", "UID=KN1ABC", "ULO=EOC Main",
               QStringLiteral("AST=%1").arg(state), "ADT=261116", "ATM=1432"});
    return m;
}

// The sample report `i` with the changes, saved under its EID; returns the EID.
inline QString save(const QString &programFolder, const QStringList &changes = {}, int i = 0)
{
    ZelvatMsg m = make(programFolder, i);
    change(m, changes);
    m.Fadd();
    return m.EID();
}

// `count` Ready medical reports, every required field filled, saved last first so that no order
// of saving stands in for the outbox's own; their names in order.
inline QStringList saveReady(const QString &programFolder, int count)
{
    QStringList names;
    for (int i = count - 1; i >= 0; --i)
        names.prepend(save(programFolder, {QStringLiteral("TYP=MED"), QStringLiteral("AST=2")}, i));
    return names;
}

// The state of each named report, -1 where none loads.
inline QList<int> states(const QString &programFolder, const QStringList &names)
{
    QList<int> ast;
    ZelvatMsg r(programFolder);
    for (const QString &n : names)
        ast << (r.Load(n) ? r.AST() : -1);
    return ast;
}

} // namespace SampleReport
