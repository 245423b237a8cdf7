#include "link/RequiredFields.h"

#include "store/ZelvatMsg.h"
#include "support/StringLib.h"

namespace RequiredFields {

namespace {

bool blank(const QString &text)
{
    return StringLib::TrimBlanks(text).isEmpty();
}

const char *const kHeaderNames[9] = {"What are you reporting?", "Location, Address:", "Other Location Details",
                                     "Name:", "Address:", "Phone:", "Last seen:", "Details:", "City:"};
const char *const kHeaderKeys[9] = {"ISS", "AD1", "AD2", "RPN", "RPA", "RPP", "LAS", "DTL", "CTY"};

Failure header(int i)
{
    return {Target::Header, i, QString::fromLatin1(kHeaderNames[i]), QString::fromLatin1(kHeaderKeys[i])};
}

} // namespace

QList<Failure> Check(const Input &in)
{
    QList<Failure> failures;
    for (int i : {0, 1, 3, 6, 7, 8}) {
        if (blank(in.header[i]))
            failures.append(header(i));
    }
    // A reporting person who wants to be contacted needs an address or a phone number.
    if (in.contactRequested && blank(in.header[4]) && blank(in.header[5])) {
        failures.append(header(4));
        failures.append(header(5));
    }
    if (in.medSelected) {
        if (blank(in.med[0]))
            failures.append({Target::Med, 0, QStringLiteral("Age:"), QStringLiteral("AGE")});
        if (blank(in.med[1]))
            failures.append({Target::Med, 1, QStringLiteral("Gender:"), QStringLiteral("GDR")});
        if (in.conscious == -1)
            failures.append({Target::ConsciousLabel, 0, QStringLiteral("Conscious?"), QStringLiteral("CON")});
        if (in.breathing == -1)
            failures.append({Target::BreathingLabel, 0, QStringLiteral("Breathing?"), QStringLiteral("BRE")});
    }
    if (in.fireSelected && blank(in.fire))
        failures.append({Target::Fire, 0, QStringLiteral("If a Fire: people inside?"), QStringLiteral("PIN")});
    if (in.typeList.isEmpty())
        failures.append({Target::TypeButtons, 0, QStringLiteral("Event type (MED, FIRE, LAW or LGOV)"), QStringLiteral("TYP")});
    return failures;
}

QString NoEventTypeMessage()
{
    return QStringLiteral("No Event type selected.  Select either\r\nMedical, Fire, Law, or Local Gov,\r\n"
                          "and then fill in the respective details.");
}

Input FromRecord(const ZelvatMsg &r, bool contactRequested)
{
    Input in;
    in.header = {r.ISS(), r.AD1(), r.AD2(), r.RPN(), r.RPA(), r.RPP(), r.LAS(), r.DTL(), r.CTY()};
    in.med = {r.AGE(), r.GDR()};
    in.fire = r.PIN();
    in.contactRequested = contactRequested;
    in.medSelected = r.TYP().contains(QLatin1String("MED"));
    in.fireSelected = r.TYP().contains(QLatin1String("FIRE"));
    in.conscious = r.CON();
    in.breathing = r.BRE();
    in.typeList = r.TYP();
    return in;
}

} // namespace RequiredFields
