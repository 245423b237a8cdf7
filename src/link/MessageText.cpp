#include "link/MessageText.h"

#include "store/ZelvatMsg.h"
#include "support/StringLib.h"

namespace MessageText {

namespace {
const QString kCrLf = QStringLiteral("\r\n");
}

QString BuildSubject(const ZelvatMsg &record, bool update)
{
    QString subject = record.MID() + QStringLiteral(" / ") + record.TYP() + QStringLiteral(" / ") + record.CTY();
    if (update)
        subject += QStringLiteral(" -- UPDATE");
    return subject;
}

QString ConsBreaSummary(qint16 conscious, qint16 breathing)
{
    QString code;
    if (conscious == 0)
        code += QStringLiteral("C- ");
    else if (conscious == 1)
        code += QStringLiteral("C+ ");
    if (breathing == 0)
        code += QStringLiteral("B-");
    else if (breathing == 1)
        code += QStringLiteral("B+");
    return code;
}

QString BuildBody(const ZelvatMsg &r, bool contactRequested)
{
    const QString typ = r.TYP();
    const auto filled = [](const QString &v) { return !StringLib::trimBlanks(v).isEmpty(); };

    QString body = QStringLiteral("TYPE=") + typ + kCrLf;
    body += QStringLiteral("LOC1=") + r.AD1() + QStringLiteral(", ") + r.CTY() + kCrLf;
    if (!r.AD2().isEmpty())
        body += QStringLiteral("LOC2=") + r.AD2() + kCrLf;
    body += QStringLiteral("RPNA=") + r.RPN() + kCrLf;
    if (!r.RPA().isEmpty())
        body += QStringLiteral("RPAD=") + r.RPA() + kCrLf;
    if (!r.RPP().isEmpty())
        body += QStringLiteral("RPPH=") + r.RPP() + kCrLf;
    if (contactRequested)
        body += QStringLiteral("CNT=\\#252") + kCrLf; // a constant marker: the caller asks to be contacted

    body += QStringLiteral("DETL=") + r.ISS();
    bool detailsAdded = false;
    // The details text follows only a filled issue: a report without an issue never shows it.
    if (!r.ISS().isEmpty()) {
        body += QStringLiteral(" -- ") + r.DTL();
        detailsAdded = true;
    }
    if (typ.contains(QLatin1String("MED"))) {
        body += QStringLiteral(" -- AGE: ") + r.AGE() + QStringLiteral(", ") + r.GDR() + QStringLiteral(", ")
            + ConsBreaSummary(r.CON(), r.BRE());
        detailsAdded = true;
    }
    if (typ.contains(QLatin1String("FIRE")) && filled(r.PIN())) {
        body += QStringLiteral(" -- People Trapped: ") + r.PIN();
        detailsAdded = true;
    }
    if (typ.contains(QLatin1String("LAW"))) {
        if (filled(r.PDE())) {
            body += QStringLiteral(" -- PerpDesc: ") + r.PDE();
            detailsAdded = true;
        }
        if (filled(r.WEA())) {
            body += QStringLiteral(" -- Weapons: ") + r.WEA();
            detailsAdded = true;
        }
        if (filled(r.DOT())) {
            body += QStringLiteral(" -- DoT: ") + r.DOT();
            detailsAdded = true;
        }
        if (filled(r.VDE())) {
            body += QStringLiteral(" -- Veh Desc: ") + r.VDE() + QStringLiteral(" -- Lic: ") + r.VDP()
                + QStringLiteral(" -- St: ") + r.VDS();
            detailsAdded = true;
        }
    }
    if (!detailsAdded)
        body += QStringLiteral(" -- and no other details.");
    // "\n" here is the two characters backslash and n: the receiver's in-line break.
    body += QStringLiteral("\\nLast Seen:") + r.LAS();
    body += QStringLiteral(" -- Call Loc:") + r.ULO() + kCrLf;
    body += QStringLiteral("DEVD=") + r.UID() + kCrLf;
    body += QStringLiteral("DATM=") + r.ADT() + QLatin1Char(' ') + r.ATM() + kCrLf;
    body += QStringLiteral("EVNT=") + r.EID();
    return body;
}

QString WrapBody(const QString &body)
{
    QString out;
    out.reserve(body.size() + body.size() / 38 + 4);
    QString line;
    qsizetype pos = 0;
    while (pos < body.size()) {
        pos = StringLib::getLineAt(body, pos, line);
        if (line.size() <= 78) {
            out += line + kCrLf;
            continue;
        }
        // Pieces of 77; a full piece ends in a soft break, even the last one.
        for (qsizetype at = 0; at < line.size(); at += 77) {
            const QStringView piece = QStringView(line).mid(at, 77);
            out += piece;
            out += piece.size() == 77 ? QStringLiteral("=\r\n") : kCrLf;
        }
    }
    return StringLib::stripTrailingBreaks(out);
}

QString BuildEnvelope(const QString &body, const QString &subject, const QString &encoding)
{
    return QStringLiteral("<AOAON>ZELVAT</AOAON>") + QStringLiteral("<AOSUB>") + subject + QStringLiteral("</AOSUB>")
        + QStringLiteral("<AOMSG>") + body + QStringLiteral("</AOMSG>") + QStringLiteral("<AOURG>TRUE</AOURG>")
        + QStringLiteral("<AOTYP>PVT</AOTYP>")
        + (encoding == QLatin1String("BASE64") ? QStringLiteral("<ENCOD>BASE64</ENCOD>") : QStringLiteral("<ENCOD>NONE</ENCOD>"))
        + QStringLiteral("!/ADDON!");
}

} // namespace MessageText
