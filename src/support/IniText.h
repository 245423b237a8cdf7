#pragma once

#include "support/RunError.h"

#include <QList>
#include <QString>
#include <QStringView>
#include <variant>

// The reading of the settings files (the station file, the suite's global file), one shape for
// both: each file names its keys and where their values go. Lines are taken with GetLine; empty
// lines and lines starting with "[" are skipped; every other line is split at its first "="
// into a key with blanks trimmed and a value kept as it stands. Keys are compared
// case-sensitively, unknown keys ignored, the last occurrence of a key wins.

// One key of a settings file and the value it fills: text as it stands, a 16- or 32-bit
// integer (a fraction rounded half to even), or a single-precision number.
struct IniKey {
    const char *name;
    std::variant<QString *, qint16 *, qint32 *, float *> target;
};

// A line whose value could not be taken: its number and text, and what is wrong with it.
// Line 0 stands for the file as a whole.
struct IniProblem {
    int line = 0;
    QString text;
    RunError error;
};

// Fills the keys from the lines of `text`. A value that cannot be taken (no "=", not a number,
// out of range) leaves its target as it was and is listed; with `stopAtFirst` the reading ends
// at the first such line.
QList<IniProblem> readIniValues(QStringView text, const QList<IniKey> &keys, bool stopAtFirst);

// Reads a whole settings file as 8-bit text, and its bytes as they stand when `bytes` is given.
// False, with the reason in `error`, when it cannot be read, is no regular file (a named pipe is
// never waited on) or is larger than any settings file (1 MiB).
bool readSettingsFile(const QString &path, QString *text, RunError *error, QByteArray *bytes = nullptr);
