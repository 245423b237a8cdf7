#pragma once

#include "link/CommLog.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

class QPageLayout;
class QPagedPaintDevice;

// What the head of the communications log names: the incident (typed by the operator), the
// period, the station's operator, call sign and location.
struct CommLogHeader {
    QString incident;
    QDateTime from;
    QDateTime to;
    QString operatorName;
    QString callSign;
    QString location;
};

// The communications log on paper and as PDF: the title "Communications Log", a head with the
// incident, the period, operator and call sign and location; then the tries one to a line under
// the column names (repeated on every page), a value too long for its column cut with "...";
// every page numbered at its foot. Drawn across the page (landscape) on the paper and margins
// of the page setup, in the program's sheet font.
namespace CommLogSheet {

// Draws the log on a printer or PDF writer. Returns the pages drawn; 0 with `error` set when
// the device cannot be painted on.
int print(QPagedPaintDevice *device, const CommLogHeader &header, const QList<CommLog::Entry> &entries,
          RunError *error);

// The log as the bytes of a PDF file on the paper and margins of `layout`, across the page.
// Empty with `error` set on failure.
QByteArray pdf(const CommLogHeader &header, const QList<CommLog::Entry> &entries, const QPageLayout &layout,
               RunError *error);

} // namespace CommLogSheet
