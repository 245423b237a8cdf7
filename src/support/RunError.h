#pragma once

#include <QFileDevice>
#include <QString>

// An error met by a file operation or a conversion: a number and a description, shown to the
// operator and written to the event log as "<number>, <description>". The numbers follow the
// classic run-time error numbering that the suite's other programs report, so that an operator
// who knows one program's messages recognises them here.
struct RunError {
    int number = 0;
    QString description;

    // "<number>, <description>": the last-error text of the record classes.
    QString text() const;

    enum Number {
        Overflow = 6,
        SubscriptOutOfRange = 9,
        TypeMismatch = 13,
        BadFileName = 52,
        FileNotFound = 53,
        DeviceIoError = 57,
        DiskFull = 61,
        PermissionDenied = 70,
        PathFileAccessError = 75,
        PathNotFound = 76,
        InvalidFileFormat = 321,
    };

    static RunError make(Number number, const QString &detail = {});
    // The error a failed QFile/QSaveFile operation stands for, with the system's own words.
    static RunError fromFile(const QFileDevice &file);
};
