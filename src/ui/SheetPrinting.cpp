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
    return printDocument(
        parent, printer, title, QStringLiteral("report sheets"),
        [&](const QPageLayout &layout, RunError *error) { return ReportSheet::pdf(reports, station, layout, error); },
        [&](QPrinter *device, RunError *error) { return ReportSheet::print(device, reports, station, error); });
}

bool printDocument(QWidget *parent, QPrinter &printer, const QString &title, const QString &what,
                   const std::function<QByteArray(const QPageLayout &, RunError *)> &pdf,
                   const std::function<int(QPrinter *, RunError *)> &draw)
{
    printer.setCreator(QStringLiteral("Zelvatcts"));
    // The print dialog offers the document's name as the PDF file's, cutting what follows its
    // last dot: an event ID's dot would be lost without the ".pdf" it is given to cut.
    printer.setDocName(title + QStringLiteral(".pdf"));
    if (!choosePrinter || !choosePrinter(printer, parent))
        return false;
    printer.setDocName(title);

    RunError error;
    if (printer.outputFormat() == QPrinter::PdfFormat && !printer.outputFileName().isEmpty())
        return saveMade(printer.outputFileName(), pdf(printer.pageLayout(), &error), error, what);
    if (draw(&printer, &error) == 0) {
        notify(QStringLiteral("The %1 could not be printed on %2: %3")
                   .arg(what, printer.printerName().isEmpty() ? QStringLiteral("the printer") : printer.printerName(),
                        error.description),
               Notice::Exclamation);
        return false;
    }
    return true;
}

bool saveMade(const QString &path, const QByteArray &bytes, const RunError &made, const QString &what)
{
    RunError written;
    if (bytes.isEmpty() || !SafeFile::writeAtomically(path, bytes, &written)) {
        notify(QStringLiteral("The %1 could not be saved to %2:\r\n%3")
                   .arg(what, QDir::toNativeSeparators(path), bytes.isEmpty() ? made.description : written.text()),
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
