#pragma once

#include "store/ZelvatMsg.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <memory>

class QPageLayout;
class QPagedPaintDevice;
class QTextDocument;

// One report to put on paper: the record, and the two things the message text takes from the
// report form rather than from the record (the contact request and the update mark).
struct SheetReport {
    ZelvatMsg record;
    bool contactRequested = false;
    bool update = false;

    // A report as read from its file: contact requested when its RPC is 1, no update mark.
    static SheetReport fromFile(const ZelvatMsg &record);
};

// The station that prints: its operator's name is shown on the sheets of the reports it wrote
// (those whose user ID is the station's).
struct SheetStation {
    QString name;
    QString userId;
    QString location;
};

// The report sheet: a header with the event ID, state, date and time and station; the incident
// summary, the reporting person, the details, the sections of the event types the report has
// (the medical answers in words); at the foot the message as it was or would be sent (subject
// and folded body, character for character). Each report starts on a new page and takes more
// pages when its details are long; every page carries the event ID and its page number.
// Laid out in the program's fonts (Calibri or its stand-in Carlito, Liberation Mono for the
// message), to fit A4 and Letter alike.
namespace ReportSheet {

// The named reports of a program folder as read from their files, in the order given. One that
// cannot be read is left out and named in `unreadable` ("NAME.911: why"); the loader's own
// messages are held back, so the caller tells once.
QList<SheetReport> fromFiles(const QString &programFolder, const QStringList &names, QStringList *unreadable);

// The sheet of one report as a document, before it is laid out on pages.
std::unique_ptr<QTextDocument> document(const SheetReport &report, const SheetStation &station);

// Draws the sheets on a printer or a PDF writer, whose page layout decides paper and margins.
// Returns the number of pages drawn; 0 with `error` set when the device cannot be painted on.
int print(QPagedPaintDevice *device, const QList<SheetReport> &reports, const SheetStation &station, RunError *error);

// The sheets as the bytes of a PDF file on pages of `layout` (rendered in memory; the caller
// saves them). Empty with `error` set on failure.
QByteArray pdf(const QList<SheetReport> &reports, const SheetStation &station, const QPageLayout &layout, RunError *error);

} // namespace ReportSheet
