#include "ui/SheetPrinting.h"

#include "settings/ZelvatIni.h"
#include "sheet/PageSetup.h"
#include "support/Platform.h"
#include "support/SafeFile.h"

#include <QDir>
#include <QPageSetupDialog>
#include <QPrintDialog>
#include <QPrinter>

namespace SheetPrinting {

std::function<bool(QPrinter &, QWidget *)> choosePrinter = [](QPrinter &printer, QWidget *parent) {
    QPrintDialog dialog(&printer, parent);
    dialog.setWindowTitle(QStringLiteral("Print"));
    // Every sheet of every report chosen is printed: no page ranges.
    dialog.setOption(QAbstractPrintDialog::PrintPageRange, false);
    dialog.setOption(QAbstractPrintDialog::PrintSelection, false);
    dialog.setOption(QAbstractPrintDialog::PrintCurrentPage, false);
    return dialog.exec() == QDialog::Accepted;
};

std::function<bool(QPrinter &, QWidget *)> askPageSetup = [](QPrinter &printer, QWidget *parent) {
    QPageSetupDialog dialog(&printer, parent);
    dialog.setWindowTitle(QStringLiteral("Print Setup"));
    return dialog.exec() == QDialog::Accepted;
};

SheetStation stationOf(const ZelvatIni &station)
{
    return SheetStation{station.Nam, station.Uid, station.Loc};
}

bool print(QWidget *parent, const QList<SheetReport> &reports, const SheetStation &station)
{
    if (reports.isEmpty())
        return false;
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageLayout(PageSetup::load());
    const QString title = reports.size() == 1 ? QStringLiteral("Incident Report ") + reports.first().record.EID()
                                              : QStringLiteral("Incident Reports");
    printer.setCreator(QStringLiteral("Zelvatcts"));
    // The print dialog offers the document's name as the PDF file's, cutting what follows its
    // last dot: an event ID's dot would be lost without the ".pdf" it is given to cut.
    printer.setDocName(title + QStringLiteral(".pdf"));
    if (!choosePrinter || !choosePrinter(printer, parent))
        return false;
    printer.setDocName(title);

    RunError error;
    if (printer.outputFormat() == QPrinter::PdfFormat && !printer.outputFileName().isEmpty()) {
        const QString path = printer.outputFileName();
        const QByteArray bytes = ReportSheet::pdf(reports, station, printer.pageLayout(), &error);
        RunError written;
        if (bytes.isEmpty() || !SafeFile::writeAtomically(path, bytes, &written)) {
            notify(QStringLiteral("The report sheets could not be saved to %1:\r\n%2")
                       .arg(QDir::toNativeSeparators(path), bytes.isEmpty() ? error.description : written.text()),
                   Notice::Exclamation);
            return false;
        }
        return true;
    }
    if (ReportSheet::print(&printer, reports, station, &error) == 0) {
        notify(QStringLiteral("The report sheets could not be printed on %1: %2")
                   .arg(printer.printerName().isEmpty() ? QStringLiteral("the printer") : printer.printerName(), error.description),
               Notice::Exclamation);
        return false;
    }
    return true;
}

void pageSetup(QWidget *parent)
{
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageLayout(PageSetup::load());
    if (askPageSetup && askPageSetup(printer, parent))
        PageSetup::save(printer.pageLayout());
}

} // namespace SheetPrinting
