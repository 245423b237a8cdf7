#pragma once

#include <QList>
#include <QString>
#include <array>

class ZelvatMsg;

// The submission check of the report form: which required boxes are empty, in the order the
// form paints them, each with what the form needs to find its control and a plain name for the
// headless client.
namespace RequiredFields {

// What the form holds when the operator presses Submit.
struct Input {
    std::array<QString, 9> header; // txtHeader(0..8): ISS AD1 AD2 RPN RPA RPP LAS DTL CTY
    std::array<QString, 2> med;    // txtMed(0..1): AGE GDR
    QString fire;                  // txtFire(0): PIN
    bool contactRequested = false; // chkReqContact
    bool medSelected = false;
    bool fireSelected = false;
    qint16 conscious = -1; // -1 unanswered, 0 no, 1 yes
    qint16 breathing = -1;
    QString typeList; // the selected type codes, "MED+LAW"
};

// The form's controls a failure points at.
enum class Target {
    Header,         // txtHeader(index)
    Med,            // txtMed(index), on the first tab
    ConsciousLabel, // Label6
    BreathingLabel, // Label23
    Fire,           // txtFire(0)
    TypeButtons,    // the four cmdRtype buttons, with the no-event-type message box
};

struct Failure {
    Target target;
    int index = 0;
    QString name; // "What are you reporting?", "Age:", "Conscious?", ...
    QString key;  // the report file key, or empty for the questions and the type
};

// Every failure, in the order the form handles them; empty when the report may be submitted.
QList<Failure> Check(const Input &input);

// The three lines the form shows when no event type is chosen.
QString NoEventTypeMessage();

// The same check for a report on disk: the record's values stand for the boxes, its CON and BRE
// for the medical answers, its TYP for the selected types.
Input FromRecord(const ZelvatMsg &record, bool contactRequested);

} // namespace RequiredFields
