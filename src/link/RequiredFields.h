#pragma once

#include "store/FormFields.h"

#include <QList>
#include <QString>

class ZelvatMsg;

// The submission check: which required parts of a report are empty, in the order the report form
// paints them, each with what the form needs to find its control and a plain name for the
// headless client. The form checks what its boxes hold, the client the report on disk.
namespace RequiredFields {

// The controls a failure points at.
enum class Target {
    Box,            // a box of the form
    ConsciousLabel, // Label6, the unanswered "Conscious?"
    BreathingLabel, // Label23, the unanswered "Breathing?"
    TypeButtons,    // the four cmdRtype buttons, with the no-event-type message
};

struct Failure {
    Target target;
    const FormFields::Box *box = nullptr; // for Target::Box
    QString name;                         // "What are you reporting?", "Conscious?", ...
    QString key;                          // the report file key: ISS, CON, TYP
};

// Every failure of the report, its TYP naming the chosen types and CON and BRE the medical
// answers (-1 unanswered); empty when the report may be submitted.
QList<Failure> check(const ZelvatMsg &record, bool contactRequested);

// The three lines the form shows when no event type is chosen.
QString noEventTypeMessage();

} // namespace RequiredFields
