#pragma once

#include <QByteArrayView>
#include <QString>
#include <QStringView>

// The one rule of what a report file of the message folder is called, and under what name the
// file list shows it. The list, the catalog and the import all go by it.
namespace ReportFileName {

// The ending of every report file's name, as the folder's listing compares it.
inline constexpr QByteArrayView Extension(".911");

// True when `fileName` ends in ".911": the folder's entries the list looks at.
bool isReportFile(QStringView fileName);

// The report name of a file: its name without the trailing ".911"; a ".911" before it is part of
// the name (the report numbered 911 is "XXX26001.911", its file "XXX26001.911.911").
QString reportName(const QString &fileName);

// The report name the file list gives the file `fileName` of the folder `messageFolder`, or a
// null string when the list leaves it out: a name that is ".911" and blanks only, or one that
// holds a line break. `excluded` then gets what the event log is told of it.
QString listedName(const QString &fileName, const QString &messageFolder, QString *excluded);

} // namespace ReportFileName
