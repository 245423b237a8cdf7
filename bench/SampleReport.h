#pragma once

#include "store/ZelvatMsg.h"

// A report of about 500 bytes, as an operator writes one, for the benchmarks: report `i` of a
// series, in state `state`.
inline ZelvatMsg SampleReport(const QString &programFolder, int i, qint16 state)
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
