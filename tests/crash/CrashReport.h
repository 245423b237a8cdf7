#pragma once

#include "store/ZelvatMsg.h"

// The reports the save stream writes: every field of report R in generation G tells R and G,
// and the details grow and shrink with G, so a file that mixed two saves would show it.
namespace CrashReport {

constexpr int Reports = 5;

inline QString Name(int report)
{
    return QStringLiteral("CRASH.%1").arg(report);
}

inline void Fill(ZelvatMsg &msg, int report, qint64 generation)
{
    msg.Clear();
    msg.setEID(Name(report));
    msg.setTYP(generation % 2 ? QStringLiteral("MED+LAW") : QStringLiteral("FIRE"));
    msg.setISS(QStringLiteral("r%1 g%2").arg(report).arg(generation));
    msg.setDTL(QStringLiteral("r%1 g%2 %3 end").arg(report).arg(generation).arg(QString(int(generation % 997) * 3, QLatin1Char('d'))));
    msg.setCTY(QStringLiteral("g%1").arg(generation));
    msg.setAST(qint16(generation % 2 ? 2 : 6));
}

} // namespace CrashReport
