#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// Report files brought in from elsewhere (another station's copy, a stick from an exercise):
// each is read, checked with the report loader and copied into the message folder under its own
// file name. A report already in the folder under that name is never replaced, and nothing
// outside the message folder is written.
namespace ReportImport {

enum class Result { Imported, Skipped, Refused };

struct Outcome {
    QString source; // the file as given
    QString name;   // its report name (file name without ".911"); empty when it has none
    Result result = Result::Refused;
    QString why;    // what was wrong, for Skipped and Refused
};

// Largest file taken: a report file is a few hundred bytes.
inline constexpr qint64 MaxBytes = 1024 * 1024;

// Imports the files in the order given into programFolder/msg.d. A file is refused when its name
// does not end in ".911" or is no safe report name, when it is not a regular file (a link, a
// named pipe, a folder) or cannot be read, or when the loader refuses it or finds no event number
// in it; it is skipped when the message folder already holds a report of its name (an earlier
// file of the same call included).
QList<Outcome> importFiles(const QString &programFolder, const QStringList &paths);

// The one message that says what happened: the counts, then what was imported, skipped and
// refused, and why.
QString summary(const QList<Outcome> &outcomes);

} // namespace ReportImport
