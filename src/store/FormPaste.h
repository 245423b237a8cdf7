#pragma once

#include "store/FormFields.h"

#include <QString>

// Text pasted into a box of the report form follows the box's key rules, character by
// character, as if it had been typed: upper-cased where the box types in capitals, then kept only
// when the box's character set and the report file's code page allow it. A line break stays one
// in a multi-line box (as Enter there) and becomes a blank elsewhere; a tab becomes a blank; any
// other control character is refused.
namespace FormPaste {

struct Result {
    QString text;    // what the box takes
    int refused = 0; // characters left out
};

Result filter(const FormFields::Box &box, const QString &text);

} // namespace FormPaste
