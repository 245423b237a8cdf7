#include "store/FormRules.h"

#include "support/CommonConst.h"
#include "support/StringLib.h"

#include <cmath>

namespace FormRules {

QString typeCode(int index)
{
    static const char *codes[TypeCount] = {"MED", "FIRE", "LAW", "LGOV"};
    return (index >= 0 && index < TypeCount) ? QString::fromLatin1(codes[index]) : QString();
}

QString BuildTypeList(const std::array<bool, TypeCount> &selected)
{
    QString list;
    for (int i = 0; i < TypeCount; ++i) {
        if (selected[i])
            list += typeCode(i) + QLatin1Char('+');
    }
    list.chop(1);
    return list;
}

std::array<bool, TypeCount> typesInList(const QString &typ)
{
    std::array<bool, TypeCount> found {};
    for (int i = 0; i < TypeCount; ++i)
        found[i] = typ.contains(typeCode(i));
    return found;
}

std::optional<StateView> viewOfState(int state)
{
    const QString save = QStringLiteral("Save");
    switch (state) {
    case Zelvat::StateNew: return StateView{QStringLiteral("New Report"), true, true, true, true, save};
    case Zelvat::StateDraft: return StateView{QStringLiteral("Previously Saved Report"), true, true, true, true, save};
    case Zelvat::StateReady: return StateView{QStringLiteral("Ready, not Submitted"), true, false, true, true, save};
    case Zelvat::StateDeleted: return StateView{QStringLiteral("Deleted Report"), false, false, false, true, save};
    case Zelvat::StateSubmitted:
        return StateView{QStringLiteral("Submitted Report"), true, true, false, true, QStringLiteral("Update")};
    default: return std::nullopt;
    }
}

bool canSubmit(int state)
{
    return state == Zelvat::StateNew || state == Zelvat::StateReady || state == Zelvat::StateDraft;
}

QString ResolveLastSeen(const QString &text, const QDateTime &now)
{
    if (text.contains(QLatin1Char(':')))
        return text;
    const auto minutes = StringLib::parseNumber(text);
    if (!minutes)
        return text;
    const double whole = std::round(*minutes);
    if (std::abs(whole) > 10.0 * 366 * 24 * 60)
        return text;
    return now.addSecs(qint64(whole) * 60).toString(QStringLiteral("HH:mm"));
}

QString updateLine(const QString &eid, const QString &adt, const QString &atm)
{
    return QStringLiteral("UPDATE for ") + eid + QLatin1Char('/') + adt + QStringLiteral(", ") + atm;
}

} // namespace FormRules
