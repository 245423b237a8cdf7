#include "store/EventNumbers.h"

#include "settings/ZelvatIni.h"
#include "support/DatetimeLib.h"
#include "support/ErrorOut.h"
#include "store/ZelvatMsg.h"
#include "support/StringLib.h"

#include <QFileInfo>

namespace EventNumbers {

EventPair pairFor(const QString &lid, qint16 counter)
{
    const QString n = StringLib::zeroPadded(counter, 3);
    return EventPair{lid + DatetimeLib::year() + DatetimeLib::day() + QLatin1Char('.') + n, lid + QLatin1Char('-') + n};
}

std::optional<EventPair> newEventPair(ZelvatIni &ini, const ZelvatMsg &store, RunError *error)
{
    const QString lid = ini.Lid;
    if (lid.contains(QLatin1Char('/')) || lid.contains(QLatin1Char('\\')) || lid.contains(QStringLiteral(".."))) {
        ErrorOut::set(error, ErrorOut::told(RunError::BadFileName,
                                             QStringLiteral("The location ID \"%1\" holds \"/\", \"\\\" or \"..\" and cannot "
                                                            "begin a report file name. No event number was taken. "
                                                            "Correct it under Setup, Location ID.")
                                                 .arg(lid)));
        return std::nullopt;
    }
    const auto inUse = [&](qint16 counter) {
        return QFileInfo::exists(store.pathFor(pairFor(lid, counter).eventNumber));
    };
    const auto counter = ini.takeNextEventNumber(inUse, error);
    if (!counter)
        return std::nullopt;
    return pairFor(lid, *counter);
}

} // namespace EventNumbers
