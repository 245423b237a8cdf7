#pragma once

#include <QList>
#include <QString>
#include <QStringView>

// The reading of the settings files (the station file, the suite's global file): lines taken
// with GetLine, empty lines and lines starting with "[" skipped, every other line split at its
// first "=" into a key with blanks trimmed and a value kept as it stands.
struct IniLine {
    int number = 0;        // line number in the file, from 1
    QString text;          // the line as it stands
    QString key;           // blanks trimmed
    QString value;         // as it stands, may hold further "="
    bool hasValue = false; // false when the line holds no "="
};

QList<IniLine> ParseIniLines(QStringView buffer);

// Reads a whole settings file as 8-bit text. False, with the reason in `error`, when it
// cannot be read or is larger than any settings file (1 MiB).
bool ReadSettingsFile(const QString &path, QString *text, QString *error);
