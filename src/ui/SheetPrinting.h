#pragma once

#include "sheet/ReportSheet.h"

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

// Print Setup: the page setup dialog (paper, margins, orientation) on the kept setup, which is
// kept again after OK.
void pageSetup(QWidget *parent);

} // namespace SheetPrinting
