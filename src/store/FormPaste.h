#pragma once

#include "store/FormFields.h"

#include <QString>

// The key rules of the report form's boxes, for a typed key and for pasted text alike.
namespace FormPaste {

// What a box takes of one typed character: upper-cased where the box types in capitals, then
// kept only when the box's character set (which lets the backspace through) and the report file's
// code page allow it. A null character: the key is refused.
QChar typed(const FormFields::Box &box, QChar c);

struct Result {
    QString text;    // what the box takes
    int refused = 0; // characters left out
};

// Pasted text, character by character as if it had been typed. A line break stays one in a
// multi-line box (as Enter there) and becomes a blank elsewhere; a tab becomes a blank; any
// other control character is refused.
Result filter(const FormFields::Box &box, const QString &text);

} // namespace FormPaste
