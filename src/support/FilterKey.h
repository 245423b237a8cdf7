#pragma once

#include <QString>
#include <QtGlobal>

// The one key filter of the program's typed boxes: returns `keyCode` unchanged when its
// character, in upper case, occurs in `allowed` (also compared in upper case; with
// `allowBackspace` the backspace character 8 counts as allowed), and 0 when it does not.
// A caller that receives 0 discards the key and sounds the beep.
quint16 FilterKey(quint16 keyCode, const QString &allowed, bool allowBackspace);
