#include "store/RepeatCallers.h"

#include "store/ReportCatalog.h"
#include "store/ReportList.h"
#include "support/CodePage.h"
#include "support/CommonConst.h"
#include "support/DatetimeLib.h"

#include <algorithm>
#include <cmath>

namespace RepeatCallers {

namespace {

double chronoOf(const QDateTime &t)
{
    return ReportList::chronoValue(ReportList::dateTimeCell(DatetimeLib::yymmdd(t), DatetimeLib::hhmm(t)));
}

} // namespace

Found find(const ReportCatalog &catalog, const QString &address, const QString &phone, const QDateTime &now,
           const QString &exceptName)
{
    Found found;
    const QByteArray addressForm = ReportCatalog::addressForm(CodePage::encode(address));
    const QByteArray phoneForm = ReportCatalog::phoneForm(CodePage::encode(phone));
    const quint32 addressKey = CodePage::canEncode(address) ? ReportCatalog::keyOf(addressForm) : 0;
    const quint32 phoneKey = ReportCatalog::keyOf(phoneForm);
    if (addressKey == 0 && phoneKey == 0)
        return found;
    const double at = chronoOf(now);
    for (int s = 0, n = catalog.slotCount(); s < n; ++s) {
        if (!catalog.isLive(s))
            continue;
        const bool sameAddress = addressKey != 0 && catalog.addressKey(s) == addressKey;
        const bool samePhone = phoneKey != 0 && catalog.phoneKey(s) == phoneKey;
        if (!sameAddress && !samePhone)
            continue;
        const double when = catalog.chrono(s);
        if (when <= 0 || std::abs(when - at) > 1.0 || catalog.name(s) == exceptName)
            continue;
        // The keys only narrow the search; the forms decide.
        if (sameAddress && ReportCatalog::addressForm(catalog.fieldBytes(s, ReportCatalog::Location)) == addressForm)
            found.atAddress.append(s);
        if (samePhone && ReportCatalog::phoneForm(catalog.fieldBytes(s, ReportCatalog::Phone)) == phoneForm)
            found.fromPhone.append(s);
    }
    const auto newestFirst = [&catalog](int a, int b) {
        return catalog.chrono(a) != catalog.chrono(b) ? catalog.chrono(a) > catalog.chrono(b)
                                                      : catalog.name(a) < catalog.name(b);
    };
    std::sort(found.atAddress.begin(), found.atAddress.end(), newestFirst);
    std::sort(found.fromPhone.begin(), found.fromPhone.end(), newestFirst);
    return found;
}

namespace {

// The time of a report as the strip shows it: with month/day when it is not the day of `now`.
QString whenOf(const ReportCatalog &catalog, int slot, const QDateTime &now)
{
    const QString cell = catalog.cell(slot, ReportList::DateTime); // "MM/dd/yy HH:mm"
    QString when = cell.mid(9);
    if (cell.left(8) != ReportList::dateTimeCell(DatetimeLib::yymmdd(now), QString()).left(8))
        when = cell.left(5) + QLatin1Char(' ') + when;
    return when;
}

} // namespace

QString describe(const ReportCatalog &catalog, int slot, const QDateTime &now)
{
    QString id = catalog.field(slot, ReportCatalog::MessageId);
    if (id.isEmpty())
        id = catalog.field(slot, ReportCatalog::EventId);
    if (id.isEmpty())
        id = catalog.name(slot);
    const QString issue = catalog.field(slot, ReportCatalog::Issue);
    const QString state = Zelvat::stateName(catalog.state(slot));
    return id + (issue.isEmpty() ? QString() : QLatin1Char(' ') + issue) + QStringLiteral(" (") + whenOf(catalog, slot, now)
        + (state.isEmpty() ? QString() : QStringLiteral(", ") + state) + QLatin1Char(')');
}

QString spoken(const ReportCatalog &catalog, int slot, const QDateTime &now)
{
    QString id = catalog.field(slot, ReportCatalog::EventId);
    if (id.isEmpty())
        id = catalog.name(slot);
    QStringList parts{QStringLiteral("Report ") + id};
    const QString issue = catalog.field(slot, ReportCatalog::Issue);
    parts << (issue.isEmpty() ? QStringLiteral("no issue") : issue) << whenOf(catalog, slot, now);
    if (const QString state = Zelvat::stateName(catalog.state(slot)); !state.isEmpty())
        parts << state;
    return parts.join(QStringLiteral(", "));
}

} // namespace RepeatCallers
