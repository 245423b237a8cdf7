#pragma once

#include "support/RunError.h"

#include <QByteArrayView>
#include <QString>
#include <QStringView>
#include <optional>

// Small routines over text held in a string buffer, shared by the readers of the settings
// files, the message text and the server session.
namespace StringLib {

// Takes the next line off the front of `buffer` and returns it without its break.
// A line ends at the first CR; an LF met before it is dropped (so CR LF and a lone CR both end
// a line, and a lone LF only disappears, joining the text on both sides). The buffer becomes
// everything after that CR, or empty when there was none.
QString GetLine(QString &buffer);

// The same walk as GetLine, over `buffer` from `from` onward, without copying the rest:
// stores the line in `line` and returns the position after the CR that ended it (or the
// buffer's size). For loops over large buffers.
qsizetype getLineAt(QStringView buffer, qsizetype from, QString &line);

// Takes the first `count` characters off the front of `buffer` (all of it when shorter).
QString GetBuffer(qsizetype count, QString &buffer);

// The text without the CR and LF characters at its end.
QString stripTrailingBreaks(const QString &text);

// The text without blanks (spaces) at either end; tabs and other characters stay.
QString trimBlanks(QStringView text);
// The same for bytes (code-page text), as a view into them.
QByteArrayView trimBlanks(QByteArrayView bytes);

// First letter of every word upper case, every other letter lower case. Words are separated
// by blanks, tabs and line breaks only, so "o'neil-smith" becomes "O'neil-smith".
QString properCase(QStringView text);

// A number written as text, the way the settings and report files hold numbers: blanks
// around it, an optional sign, digits, an optional fraction and exponent. nullopt when the
// text is not such a number.
std::optional<double> parseNumber(QStringView text);

// True when parseNumber accepts the text.
bool isNumeric(QStringView text);

// Conversion of a file value to an integer in [min, max], rounding a fraction half to even.
// Text that is no number gives Type mismatch, a number out of range gives Overflow; `what`
// names the value in the error's description (for example "line 4, CON=abc").
std::optional<qint64> toInteger(QStringView text, qint64 min, qint64 max, const QString &what, RunError *error);

// A non-negative or negative number written with at least `digits` digits, zero-padded after
// the sign: (7, 3) gives 007, (1234, 3) gives 1234, (-5, 3) gives -005.
QString zeroPadded(qint64 value, int digits);

} // namespace StringLib
