#pragma once

#include "store/ReportList.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

class ZelvatMsg;

// Reports as a CSV file that spreadsheet programs open as they are: UTF-8 with a byte-order
// mark, a header row, then one row per report holding every field, each cell quoted where it
// must be (a comma, a double quote or a line break inside; quotes doubled), a cell that would pass
// for a formula marked as text (takenForFormula), every row ended by CR LF. Also the report
// list's rows as tab-separated text for the clipboard.
namespace ReportCsv {

// True for a cell a spreadsheet would take for a formula: one beginning with =, +, -, @, a tab or
// a carriage return, unless it is a plain number with its sign (-5, -5.25). Every CSV the program
// writes puts an apostrophe before such a cell, so that it opens as the text it is.
bool takenForFormula(QByteArrayView cell);

// "File", "State", then the 29 field keys in report-file order (TYP EID MID ... ADT ATM).
const QStringList &headers();

// Appends one row of cells, as UTF-8, ended by CR LF.
void appendRow(QByteArray &out, const QStringList &cells);

// A report's row holds its file name without ".911", its state name, then every field as the
// record's getters give it; DTL and PDE show their line breaks as line breaks, the way the
// report form shows them; RPC, CON, BRE and AST are decimal numbers.
struct Export {
    QByteArray bytes;       // the whole file: byte-order mark, header row, one row per report
    int rows = 0;           // reports written
    QStringList unreadable; // "NAME.911: why" for each report that could not be read; left out
};

// The named reports, in the order given. Each is loaded through `reader`; one that cannot be
// read is left out and named (the loader's own message is not shown: the caller tells once).
Export fromNames(ZelvatMsg &reader, const QStringList &names);

// Every report of one folder of the list (0 for All), in the list's default order (by City),
// each file read once.
Export fromFolder(ZelvatMsg &reader, int folder);

// The rows as the list shows them, for the clipboard: a header row, then one line per row, the
// columns State to Date/Time (the hidden file name left out) separated by tabs; a tab or line
// break inside a cell becomes a blank.
QString tabText(const QList<ReportList::Row> &rows);

} // namespace ReportCsv
