#include "store/FormFields.h"

#include "store/SaveStamps.h"
#include "support/CommonConst.h"

namespace FormFields {

namespace {

using Key = ZelvatMsg::Key;
using G = Group;
using L = Leave;
using R = Required;
constexpr const char *kSummary = Zelvat::SummarySet;
constexpr const char *kGeneral = Zelvat::GeneralSet;

const QList<Box> kBoxes = {
    {G::Header, 0, Key::ISS, "What are you reporting?", "Enter a short 2 to 4 word description", nullptr, false, kSummary,
     false, L::properCase, R::Always},
    {G::Header, 1, Key::AD1, "Location, Address:", "Location of the problem", "Includes: Floor #, Apt #, Suite #", false,
     kGeneral, false, L::properCase, R::Always},
    {G::Header, 2, Key::AD2, "Other Location Details", "Cross street, east/west bound, etc.",
     "Cross-Street, Floor #, Apt #, Suite #", false, kGeneral, false, L::properCase, R::Never},
    {G::Header, 3, Key::RPN, "Name:", "Reporting person's name", "Reporting Person's Name", false, kGeneral, false,
     L::properCase, R::Always},
    {G::Header, 4, Key::RPA, "Address:", "Reporting person's address", "Reporting Person's Address", false, kGeneral, false,
     L::properCase, R::ForContact},
    {G::Header, 5, Key::RPP, "Phone:", "Reporting person's phone number", nullptr, false, kGeneral, false, L::Nothing,
     R::ForContact},
    {G::Header, 6, Key::LAS, "Last seen:", "HH:MM or -<min> when the problem was last observed", nullptr, false, nullptr,
     false, L::LastSeen, R::Always},
    {G::Header, 7, Key::DTL, "Details:", "All other supporting details", nullptr, true, nullptr, false, L::Nothing,
     R::Always},
    {G::Header, 8, Key::CTY, "City:", "In what city is the problem", nullptr, false, nullptr, false, L::properCase,
     R::Always},
    {G::Med, 0, Key::AGE, "Age:", "Age of the person with the problem", nullptr, false, nullptr, false, L::Nothing,
     R::ForMedical},
    {G::Med, 1, Key::GDR, "Gender:", "Gender (male / female) of the person with the problem", nullptr, false, nullptr,
     false, L::Nothing, R::ForMedical},
    {G::Fire, 0, Key::PIN, "If a Fire: people inside?", "Yes, No, unknown", nullptr, false, nullptr, false, L::Nothing,
     R::ForFire},
    {G::Law, 0, Key::PDE, "Description of person (age, height, weight):", "Include clothes, other distinguishing marks",
     nullptr, true, nullptr, false, L::Nothing, R::Never},
    {G::Law, 1, Key::WEA, "Weapon involved?", "Yes / No / Unknown; shots fired, other details", nullptr, false, kGeneral,
     false, L::properCase, R::Never},
    {G::Law, 2, Key::DOT, "Direction of Travel:", "if known", nullptr, false, kGeneral, false, L::Nothing, R::Never},
    {G::Law, 3, Key::VDE, "Vehicle Description:", "Make, Model if known", nullptr, false, kGeneral, false, L::properCase,
     R::Never},
    {G::Law, 4, Key::VDP, "License Plate:", "Partials OK, use '*' if missing characters", nullptr, false, kGeneral, true,
     L::Nothing, R::Never},
    {G::Law, 5, Key::VDS, "State", "CA, AZ, etc.", nullptr, false, kGeneral, true, L::Nothing, R::Never},
};

} // namespace

const QList<Box> &boxes()
{
    return kBoxes;
}

const Box &box(Group group, int index)
{
    for (const Box &b : kBoxes) {
        if (b.group == group && b.index == index)
            return b;
    }
    Q_UNREACHABLE();
}

const Box *boxOf(ZelvatMsg::Key key)
{
    for (const Box &b : kBoxes) {
        if (b.key == key)
            return &b;
    }
    return nullptr;
}

QString caption(const Box &b)
{
    const bool marked = b.required == R::Always || b.required == R::ForMedical || b.required == R::ForFire;
    return QString::fromLatin1(b.name) + (marked ? QStringLiteral("*") : QString());
}

QString objectName(const Box &b)
{
    static const char *arrays[] = {"txtHeader", "txtMed", "txtFire", "txtLaw"};
    return QStringLiteral("%1_%2").arg(QLatin1String(arrays[int(b.group)])).arg(b.index);
}

QString shownValue(const Box &b, const ZelvatMsg &record)
{
    const QString value = record.text(b.key);
    return b.multiLine ? unescapeBreaks(value) : value;
}

void storeValue(const Box &b, ZelvatMsg &record, const QString &text)
{
    record.setText(b.key, b.multiLine ? escapeBreaks(text) : text);
}

QString readOnlyText(const ZelvatMsg &record)
{
    QStringList lines;
    const auto add = [&lines](const QString &caption, const QString &value) {
        lines << caption + QLatin1Char(' ') + value;
    };
    const auto answer = [](qint16 v) {
        return v == 1 ? QStringLiteral("Yes") : v == 0 ? QStringLiteral("No") : QString();
    };
    add(QStringLiteral("Event ID:"), record.EID());
    add(QStringLiteral("Message ID:"), record.MID());
    add(QStringLiteral("State:"), Zelvat::stateName(record.AST()));
    add(QStringLiteral("Type:"), record.TYP());
    // The boxes of the summary, and those of the types the report is of.
    const QString typ = record.TYP();
    const auto ofReport = [&typ](FormFields::Group g) {
        switch (g) {
        case FormFields::Group::Header: return true;
        case FormFields::Group::Med: return typ.contains(QLatin1String("MED"));
        case FormFields::Group::Fire: return typ.contains(QLatin1String("FIRE"));
        case FormFields::Group::Law: return typ.contains(QLatin1String("LAW"));
        }
        return false;
    };
    for (const FormFields::Box &b : FormFields::boxes()) {
        if (!ofReport(b.group))
            continue;
        QString value = FormFields::shownValue(b, record);
        if (value.contains(QLatin1Char('\n')))
            value = QStringLiteral("\n  ") + value.replace(QLatin1Char('\n'), QStringLiteral("\n  "));
        add(QString::fromLatin1(b.name), value);
        if (b.group == FormFields::Group::Med && b.index == 1) {
            add(QStringLiteral("Conscious?"), answer(record.CON()));
            add(QStringLiteral("Breathing?"), answer(record.BRE()));
        }
    }
    add(QStringLiteral("Contact requested:"), record.number(Key::RPC) ? QStringLiteral("Yes") : QStringLiteral("No"));
    add(QStringLiteral("Saved:"), record.ADT() + QLatin1Char(' ') + record.ATM() + QStringLiteral(" by ") + record.UID()
                                      + QStringLiteral(" at ") + record.ULO());
    return lines.join(QLatin1Char('\n'));
}

} // namespace FormFields
