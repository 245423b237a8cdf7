#pragma once

#include <QString>

class ZelvatMsg;

// The report as the message server receives it: a one-line subject, a body of KEY=value lines
// folded for the radio, and the add-on envelope around both.
namespace MessageText {

// MID + " / " + TYP + " / " + CTY, and " -- UPDATE" for a report reopened with Update.
QString BuildSubject(const ZelvatMsg &record, bool update);

// The body lines TYPE, LOC1, LOC2, RPNA, RPAD, RPPH, CNT, DETL, DEVD, DATM, EVNT; no break after
// the last. `contactRequested` is the form's "Request Sheriff to contact me" box.
QString BuildBody(const ZelvatMsg &record, bool contactRequested);

// "C- "/"C+ " for a conscious answer of 0/1, then "B-"/"B+" for breathing; nothing for others.
QString ConsBreaSummary(qint16 conscious, qint16 breathing);

// Folds every line longer than 78 characters into pieces of 77, each full piece ending in a
// soft break "=", and strips the trailing line breaks of the result.
QString WrapBody(const QString &body);

// The add-on envelope: <AOAON>ZELVAT</AOAON>, the subject, the body, urgent, private, the
// encoding declaration (BASE64 only for exactly "BASE64"), and the end marker "!/ADDON!".
QString BuildEnvelope(const QString &body, const QString &subject, const QString &encoding);

} // namespace MessageText
