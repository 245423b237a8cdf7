#pragma once

#include "sheet/ReportSheet.h"

#include <QPageLayout>
#include <functional>

class QPrinter;
class QWidget;
class ZelvatIni;

// Printing the report sheets from the windows: the print dialog and the page setup dialog on the
// page setup kept per user.
namespace SheetPrinting {

// Shows the print dialog for `printer`; true to print. Tests replace it, so that no dialog waits
// for a person.
extern std::function<bool(QPrinter &printer, QWidget *parent)> choosePrinter;
// Shows the page setup dialog for `printer`; true when the operator pressed OK. Replaced in tests.
extern std::function<bool(QPrinter &printer, QWidget *parent)> askPageSetup;

// The station's name, user ID and location for the sheets' headers.
SheetStation stationOf(const ZelvatIni &station);

// Prints the sheets after the print dialog, on the kept page setup. Printing to a PDF file
// renders the whole file first and saves it in one step. Tells the operator when the printer
// could not be used or the file could not be saved; true when the sheets went out.
bool print(QWidget *parent, const QList<SheetReport> &reports, const SheetStation &station);

// The print dialog for a document titled `title` on `printer` (its page setup given by the
// caller), then the document: for "Print to File (PDF)" made whole by `pdf` and saved in one step,
// for a printer drawn on it by `draw`. Tells the operator, naming `what` ("report sheets",
// "summary"), when the file could not be saved or the printer not used; true when it went out.
bool printDocument(QWidget *parent, QPrinter &printer, const QString &title, const QString &what,
                   const std::function<QByteArray(const QPageLayout &, RunError *)> &pdf,
                   const std::function<int(QPrinter *, RunError *)> &draw);

// Saves `bytes` that a PDF or CSV maker made (empty, with `made` saying why, when it could not)
// to `path` in one step; tells the operator, naming `what`, when that could not be done.
bool saveMade(const QString &path, const QByteArray &bytes, const RunError &made, const QString &what);

// Print Setup: the page setup dialog (paper, margins, orientation) on the kept setup, which is
// kept again after OK.
void pageSetup(QWidget *parent);

} // namespace SheetPrinting
