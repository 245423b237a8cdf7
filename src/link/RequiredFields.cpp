#include "link/RequiredFields.h"

#include "store/ZelvatMsg.h"

namespace RequiredFields {

namespace {

using FormFields::Required;

bool filled(const ZelvatMsg &record, const FormFields::Box &b)
{
    return !record.text(b.key).isEmpty();
}

Failure boxFailure(const FormFields::Box &b)
{
    return {Target::Box, &b, QString::fromLatin1(b.name), ZelvatMsg::keyName(b.key)};
}

// The empty boxes of one requirement, in the order of the form's control arrays.
void addEmpty(QList<Failure> &failures, const ZelvatMsg &record, Required required)
{
    for (const FormFields::Box &b : FormFields::boxes()) {
        if (b.required == required && !filled(record, b))
            failures.append(boxFailure(b));
    }
}

} // namespace

QList<Failure> check(const ZelvatMsg &record, bool contactRequested)
{
    QList<Failure> failures;
    addEmpty(failures, record, Required::Always);
    // A reporting person who wants to be contacted needs an address or a phone number.
    const auto reach = [&](const FormFields::Box &b) { return b.required == Required::ForContact && filled(record, b); };
    if (contactRequested && std::none_of(FormFields::boxes().begin(), FormFields::boxes().end(), reach))
        addEmpty(failures, record, Required::ForContact);
    const QString typ = record.TYP();
    if (typ.contains(QLatin1String("MED"))) {
        addEmpty(failures, record, Required::ForMedical);
        if (record.CON() == -1)
            failures.append({Target::ConsciousLabel, nullptr, QStringLiteral("Conscious?"), QStringLiteral("CON")});
        if (record.BRE() == -1)
            failures.append({Target::BreathingLabel, nullptr, QStringLiteral("Breathing?"), QStringLiteral("BRE")});
    }
    if (typ.contains(QLatin1String("FIRE")))
        addEmpty(failures, record, Required::ForFire);
    if (typ.isEmpty())
        failures.append({Target::TypeButtons, nullptr, QStringLiteral("Event type (MED, FIRE, LAW or LGOV)"),
                         QStringLiteral("TYP")});
    return failures;
}

QString noEventTypeMessage()
{
    return QStringLiteral("No Event type selected.  Select either\r\nMedical, Fire, Law, or Local Gov,\r\n"
                          "and then fill in the respective details.");
}

} // namespace RequiredFields
