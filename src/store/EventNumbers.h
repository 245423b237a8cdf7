#pragma once

#include "support/RunError.h"

#include <QString>
#include <optional>

class ZelvatIni;
class ZelvatMsg;

// The event number and message identifier of a new report:
//   event number        Lid + yy + day of year ("000") + "." + counter ("000")
//   message identifier  Lid + "-" + counter ("000")
struct EventPair {
    QString eventNumber;
    QString messageId;
};

namespace EventNumbers {

// Takes the next counter from the station settings (advancing and saving them) and builds the
// pair from it. A counter whose report file already exists is passed over. nullopt, with the
// reason for the operator in `error`, when the location identifier cannot be part of a file
// name or no counter can be taken; no number is used up then.
std::optional<EventPair> newEventPair(ZelvatIni &ini, const ZelvatMsg &store, RunError *error);

// The pair for a given counter, with today's date.
EventPair pairFor(const QString &lid, qint16 counter);

} // namespace EventNumbers
