#pragma once

#include <QDateTime>
#include <QString>
#include <array>
#include <optional>

// The report form's decisions that need no widget: what each report state shows and allows,
// the event-type text, the last-seen time. The rules of each box are in FormFields.
namespace FormRules {

// The event types in their fixed order: MED, FIRE, LAW, LGOV (index = button, tab and frame).
inline constexpr int TypeCount = 4;
QString typeCode(int index);

// "MED+FIRE+..." from the selected flags, always in the fixed order; empty when none is selected.
QString BuildTypeList(const std::array<bool, TypeCount> &selected);
// Which types a TYP text names: each code found anywhere in it (case-sensitive), so FIREMED
// names both.
std::array<bool, TypeCount> typesInList(const QString &typ);

// What the form shows for a report state: the caption of the state label, which command
// buttons are enabled, and the caption of the Save button.
struct StateView {
    QString caption;
    bool deleteEnabled = false;
    bool saveEnabled = false;
    bool submitEnabled = false;
    bool closeEnabled = true;
    QString saveCaption;
};
// nullopt for a code outside the table (0, 3 to 5, 7, or beyond 1..9): then only the Save
// button's caption goes back to "Save".
std::optional<StateView> viewOfState(int state);

// Whether Submit may act on a report of this state: new/reopened (1), Ready (2), Draft (6).
bool canSubmit(int state);

// The last-seen box on leaving: a text with ":" or that is no number stays as it is; a number
// of minutes is added to `now` and given as "HH:mm". A fractional count is rounded to the
// nearest whole minute, halves away from zero (-2.5 is three minutes ago). A count too large
// to be a time of day of any sensible date (over ten years) stays as typed.
QString ResolveLastSeen(const QString &text, const QDateTime &now);

// "UPDATE for " + EID + "/" + ADT + ", " + ATM: the line Update puts above the details.
QString updateLine(const QString &eid, const QString &adt, const QString &atm);

} // namespace FormRules
