// The main window's hand-over commands: the File menu's Export, Import, Print Setup and Print,
// and the Edit menu's Copy. What they do without a widget lives in ReportCsv, ReportImport and
// ReportSheet, which the headless client uses as well.

#include "app/frmZelvatmain.h"

#include "app/ReportListModel.h"
#include "sheet/PageSetup.h"
#include "sheet/ReportSheet.h"
#include "store/ReportCsv.h"
#include "store/ReportImport.h"
#include "store/ReportList.h"
#include "support/CommonConst.h"
#include "support/DatetimeLib.h"
#include "support/Platform.h"
#include "support/SafeFile.h"
#include "ui/SheetPrinting.h"

#include <QAction>
#include <QClipboard>
#include <QDir>
#include <QFileDialog>
#include <QGuiApplication>
#include <QSortFilterProxyModel>
#include <QStandardPaths>
#include <QTreeView>

namespace {

const QString kPdfFilter = QStringLiteral("PDF report sheets (*.pdf)");
const QString kCsvFilter = QStringLiteral("CSV file, every field (*.csv)");

QString startFolder()
{
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    return QDir(documents).exists() ? documents : QDir::homePath();
}

// Up to ten names, then how many more.
QString listed(const QStringList &lines)
{
    QString text;
    for (qsizetype i = 0; i < std::min<qsizetype>(10, lines.size()); ++i)
        text += QStringLiteral("\r\n  ") + lines[i];
    if (lines.size() > 10)
        text += QStringLiteral("\r\n  ... and %1 more").arg(lines.size() - 10);
    return text;
}

QString leftOut(const QStringList &unreadable)
{
    if (unreadable.isEmpty())
        return {};
    return QStringLiteral("\r\n\r\n%1 could not be read and %2 left out:").arg(unreadable.size()).arg(
               unreadable.size() == 1 ? QStringLiteral("was") : QStringLiteral("were"))
        + listed(unreadable);
}

} // namespace

QStringList frmZelvatmain::selectedNames() const
{
    QList<int> shown;
    for (const QModelIndex &i : LV->selectionModel()->selectedRows())
        shown << i.row();
    std::sort(shown.begin(), shown.end());
    QStringList names;
    for (int row : std::as_const(shown))
        names << m_model->rows()[m_sorted->mapToSource(m_sorted->index(row, 0)).row()].cells[ReportList::Idx];
    return names;
}

QStringList frmZelvatmain::shownNames() const
{
    QStringList names;
    for (int row = 0; row < m_sorted->rowCount(); ++row)
        names << m_model->rows()[m_sorted->mapToSource(m_sorted->index(row, 0)).row()].cells[ReportList::Idx];
    return names;
}

void frmZelvatmain::updateSelectionCommands()
{
    const bool any = LV->selectionModel() && LV->selectionModel()->hasSelection();
    mnuCopy->setEnabled(any);
    mnuPrint->setEnabled(any);
}

void frmZelvatmain::mnuCopy_Click()
{
    QList<int> shown;
    for (const QModelIndex &i : LV->selectionModel()->selectedRows())
        shown << i.row();
    if (shown.isEmpty())
        return;
    std::sort(shown.begin(), shown.end());
    QList<ReportList::Row> rows;
    for (int row : std::as_const(shown))
        rows << m_model->rows()[m_sorted->mapToSource(m_sorted->index(row, 0)).row()];
    QGuiApplication::clipboard()->setText(ReportCsv::tabText(rows));
}

void frmZelvatmain::mnuExport_Click()
{
    if (!m_reader)
        return;
    // The selected reports, or with none selected every row of the folder shown.
    QStringList names = selectedNames();
    if (names.isEmpty())
        names = shownNames();
    if (names.isEmpty()) {
        notify(QStringLiteral("The folder %1 holds no reports to export.").arg(Zelvat::folderCaption(m_currentFolder)),
               Notice::Exclamation);
        return;
    }
    QString filter = kPdfFilter;
    QString path;
    if (chooseExportFile) {
        path = chooseExportFile(&filter);
    } else {
        const QString base = names.size() == 1
            ? names.first()
            : QStringLiteral("Zelvat-%1-%2-%3")
                  .arg(m_currentFolder == Zelvat::StateAll ? QStringLiteral("All") : Zelvat::stateName(m_currentFolder),
                       DatetimeLib::yymmdd(DatetimeLib::now()), DatetimeLib::hhmm(DatetimeLib::now()));
        QFileDialog dialog(this, QStringLiteral("Export %1 report%2").arg(names.size()).arg(names.size() == 1 ? "" : "s"));
        dialog.setAcceptMode(QFileDialog::AcceptSave);
        dialog.setNameFilters({kPdfFilter, kCsvFilter});
        dialog.setDefaultSuffix(QStringLiteral("pdf"));
        dialog.setDirectory(startFolder());
        dialog.selectFile(base + QStringLiteral(".pdf"));
        connect(&dialog, &QFileDialog::filterSelected, &dialog, [&dialog, base](const QString &f) {
            const QString suffix = f == kCsvFilter ? QStringLiteral("csv") : QStringLiteral("pdf");
            dialog.setDefaultSuffix(suffix);
            dialog.selectFile(base + QLatin1Char('.') + suffix);
        });
        if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
            return;
        path = dialog.selectedFiles().first();
        filter = dialog.selectedNameFilter();
    }
    if (path.isEmpty())
        return;
    // A name's own ending decides; without one, the type chosen in the dialog does.
    bool csv = filter == kCsvFilter;
    if (path.endsWith(QLatin1String(".csv"), Qt::CaseInsensitive))
        csv = true;
    else if (path.endsWith(QLatin1String(".pdf"), Qt::CaseInsensitive))
        csv = false;
    else
        path += csv ? QStringLiteral(".csv") : QStringLiteral(".pdf");

    QByteArray bytes;
    QStringList unreadable;
    int count = 0;
    RunError sheetError;
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    if (csv) {
        ReportCsv::Export e = ReportCsv::fromNames(*m_reader, names);
        bytes = std::move(e.bytes);
        count = e.rows;
        unreadable = e.unreadable;
    } else {
        const QList<SheetReport> reports = ReportSheet::fromFiles(m_folder, names, &unreadable);
        count = int(reports.size());
        if (count > 0)
            bytes = ReportSheet::pdf(reports, SheetPrinting::stationOf(m_station), PageSetup::load(), &sheetError);
    }
    RunError error;
    const bool saved = count > 0 && !bytes.isEmpty() && SafeFile::writeAtomically(path, bytes, &error);
    QGuiApplication::restoreOverrideCursor();
    const QString file = QDir::toNativeSeparators(path);
    if (!saved) {
        const QString reason = count == 0 ? QStringLiteral("none of the reports could be read")
            : bytes.isEmpty()             ? sheetError.description
                                          : error.text();
        notify(QStringLiteral("Nothing was exported to %1: %2").arg(file, reason) + leftOut(unreadable), Notice::Exclamation);
        return;
    }
    notify(QStringLiteral("%1 report%2 exported to %3").arg(count).arg(count == 1 ? "" : "s").arg(file) + leftOut(unreadable),
           unreadable.isEmpty() ? Notice::Information : Notice::Exclamation, QStringLiteral("Export"));
}

void frmZelvatmain::mnuImport_Click()
{
    QStringList paths;
    if (chooseImportFiles)
        paths = chooseImportFiles();
    else
        paths = QFileDialog::getOpenFileNames(this, QStringLiteral("Import reports"), startFolder(),
                                              QStringLiteral("Report files (*.911)"));
    if (paths.isEmpty())
        return;
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    const QList<ReportImport::Outcome> outcomes = ReportImport::importFiles(m_folder, paths);
    BuildNewMsgList();
    QGuiApplication::restoreOverrideCursor();
    const bool clean = std::all_of(outcomes.begin(), outcomes.end(),
                                   [](const auto &o) { return o.result == ReportImport::Result::Imported; });
    notify(ReportImport::summary(outcomes), clean ? Notice::Information : Notice::Exclamation, QStringLiteral("Import"));
}

void frmZelvatmain::mnuPrintSetup_Click()
{
    SheetPrinting::pageSetup(this);
}

void frmZelvatmain::mnuPrint_Click()
{
    const QStringList names = selectedNames();
    if (names.isEmpty())
        return;
    QStringList unreadable;
    const QList<SheetReport> reports = ReportSheet::fromFiles(m_folder, names, &unreadable);
    if (!unreadable.isEmpty())
        notify((reports.isEmpty() ? QStringLiteral("Nothing was printed.") : QStringLiteral("Printing the others."))
                   + leftOut(unreadable),
               Notice::Exclamation);
    SheetPrinting::print(this, reports, SheetPrinting::stationOf(m_station));
}
