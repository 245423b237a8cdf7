#include "store/EventNumbers.h"

#include "settings/ZelvatIni.h"
#include "support/DatetimeLib.h"
#include "store/ZelvatMsg.h"
#include "support/StringLib.h"

#include <QFileInfo>

namespace EventNumbers {

EventPair PairFor(const QString &lid, qint16 counter)
{
    const QString n = StringLib::ZeroPadded(counter, 3);
    return EventPair{lid + DatetimeLib::Year() + DatetimeLib::Day() + QLatin1Char('.') + n, lid + QLatin1Char('-') + n};
}

std::optional<EventPair> NewEventPair(ZelvatIni &ini, const ZelvatMsg &store, QString *why)
{
    const QString lid = ini.Lid;
    if (lid.contains(QLatin1Char('/')) || lid.contains(QLatin1Char('\\')) || lid.contains(QStringLiteral(".."))) {
        *why = QStringLiteral("The location ID \"%1\" holds \"/\", \"\\\" or \"..\" and cannot begin a report file name. "
                              "No event number was taken. Correct it under Setup, Location ID.")
                   .arg(lid);
        return std::nullopt;
    }
    const auto inUse = [&](qint16 counter) {
        return QFileInfo::exists(store.PathFor(PairFor(lid, counter).eventNumber));
    };
    const auto counter = ini.TakeNextEventNumber(inUse, why);
    if (!counter)
        return std::nullopt;
    return PairFor(lid, *counter);
}

} // namespace EventNumbers
