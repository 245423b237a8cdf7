#pragma once

#include <QDateTime>
#include <QList>
#include <QString>

class ReportCatalog;

// The repeat-caller look-up of the report form: which reports of the last 24 hours came from the
// same address or the same phone number as the report being written, so that the operator sees
// at once that a place or a caller has called before.
namespace RepeatCallers {

struct Found {
    QList<int> atAddress; // catalog slots, newest first
    QList<int> fromPhone;
    bool isEmpty() const { return atAddress.isEmpty() && fromPhone.isEmpty(); }
};

// Reports dated (by their date and time fields) within 24 hours of `now`, either side, whose
// location equals `address` with case and blanks ignored, or whose phone has the same digits as
// `phone` (at least seven of them). The report `exceptName` (the one on the form) is left out.
Found find(const ReportCatalog &catalog, const QString &address, const QString &phone, const QDateTime &now,
           const QString &exceptName = {});

// "SPF-100 Person Down (14:05, Submitted)": the message identifier (the event number when there
// is none), the issue, and in brackets the time (with month/day when it is not the day of `now`)
// and the state.
QString describe(const ReportCatalog &catalog, int slot, const QDateTime &now);
// "Report SPF26320.100, Person Down, 14:05, Submitted": the same for assistive technology, by the
// report's event ID (its name when it has none).
QString spoken(const ReportCatalog &catalog, int slot, const QDateTime &now);

} // namespace RepeatCallers
