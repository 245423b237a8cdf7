#pragma once

#include "store/ZelvatMsg.h"

#include <QList>
#include <QString>

// The boxes of the report form, one row each: the report field a box holds, its caption and
// hints, how it treats typed keys and what happens when the operator leaves it, and when it must
// be filled before a report can be submitted. The form builds, loads, saves and checks its boxes
// from this one table; the headless client takes the fields an operator may fill from it.
namespace FormFields {

// The control arrays of the form: txtHeader(0..8), txtMed(0..1), txtFire(0), txtLaw(0..5).
enum class Group { Header, Med, Fire, Law };

// What happens to the text when the operator leaves the box.
enum class Leave { Nothing, properCase, LastSeen };

// When the box must be filled for a submission.
enum class Required {
    Never,
    Always,
    ForContact, // with "Request Sheriff to contact me": the person's address or phone
    ForMedical, // when MED is chosen
    ForFire,    // when FIRE is chosen
};

struct Box {
    Group group;
    int index;
    ZelvatMsg::Key key;
    const char *name;     // the caption without its required mark: "What are you reporting?"
    const char *toolTip;  // the box's hint
    const char *labelTip; // the label's own hint, or nullptr
    bool multiLine;       // DTL and PDE: line breaks are kept as "\n" in the record
    const char *allowed;  // the key filter's set, or nullptr for any key
    bool upperCase;       // a typed key is turned to upper case before the filter sees it
    Leave leave;
    Required required;
};

// Every box, in the order of the control arrays.
const QList<Box> &boxes();
const Box &box(Group group, int index);
// The box that holds a field, or nullptr for a field no box holds (TYP, CON, the save stamps...).
const Box *boxOf(ZelvatMsg::Key key);

// The label's caption: the name, with "*" for a box that must be filled whenever its type is
// chosen ("What are you reporting?*", "Age:*"; "Phone:" has its own mark for a contact request).
QString caption(const Box &b);
// "txtHeader_0", "txtLaw_5"
QString objectName(const Box &b);

// The text a box shows for the record's field, and the record's field from a box's text.
QString shownValue(const Box &b, const ZelvatMsg &record);
void storeValue(const Box &b, ZelvatMsg &record, const QString &text);

// The report as text to read: its IDs, state and type, every box of the summary and of its types
// under its caption, the contact request and who saved it when; one field a line.
QString readOnlyText(const ZelvatMsg &record);

} // namespace FormFields
