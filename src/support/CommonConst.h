#pragma once

#include <QString>
#include <QtGlobal>

// Values shared by the whole program: its title and version, the report state codes,
// the character sets of the key filter and the colours of the forms.
namespace Zelvat {

// The program title: window caption, per-user settings application, station file header.
inline constexpr char Title[] = "Zelvat Call Taking System";

// "major.minor.revision" without padding, for example 1.0.0.
QString versionText();

// Report state codes (field AST); 0 is the "All" folder of the list and never stored.
enum State : qint16 {
    StateAll = 0,
    StateNew = 1,
    StateReady = 2,
    StateDraft = 6,
    StateDeleted = 8,
    StateSubmitted = 9,
};

// "Ready", "Draft", "Deleted", "Submitted" for 2, 6, 8, 9; empty for every other code.
QString stateName(int state);

// Folder captions of the report list: "All", "Ready to Send", "Draft", "Deleted",
// "Submitted"; empty for a code outside the table.
QString folderCaption(int folder);

// Character sets of the key filter.
inline constexpr char SummarySet[] = "abcdefghijklmnopqrstuvwxyz0123456789+-&%.,;/\\(){}[]<>?'-=_ ";
inline constexpr char GeneralSet[] = "abcdefghijklmnopqrstuvwxyz0123456789+-&%.,;/\\(){}[]<>? ";
inline constexpr char StationIdSet[] = "abcdefghijklmnopqrstuvwxyz0123456789+-.,;(){}[]<>? ";
inline constexpr char DigitSet[] = "0123456789";

// Colours as red-green-blue values with red in the low byte.
inline constexpr quint32 MissingDataColour = 0x80FFFF;   // light yellow: submission check
inline constexpr quint32 RequiredFieldColour = 0xC0C0FF; // light red: highlighting pass
inline constexpr quint32 SelectedTypeColour = 0x8080FF;  // light red: selected type button

} // namespace Zelvat
