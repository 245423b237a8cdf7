#include "store/ReportCsv.h"

#include "store/ReportFieldsReader.h"
#include "store/ZelvatMsg.h"
#include "support/CodePage.h"
#include "support/CommonConst.h"
#include "support/Platform.h"
#include "support/StringLib.h"

#include <algorithm>
#include <vector>

namespace ReportCsv {

namespace {

using Key = ZelvatMsg::Key;

// The loader tells the operator about each file it cannot read; an export says it once, after.
struct Quiet : Notifier {
    void show(const Notice &) override {}
};

// The start of every file: the byte-order mark, then the header row.
QByteArray start()
{
    QByteArray out("\xEF\xBB\xBF");
    appendRow(out, headers());
    return out;
}

void appendAsIs(QByteArray &out, QByteArrayView bytes)
{
    out += bytes;
}

// Appends one cell (with an apostrophe before one a spreadsheet would take for a formula), in double quotes when it holds a comma, a quote or a line break (its quotes
// doubled). With `breaks` the stored "\n" escapes of a multi-line field become line breaks.
// `put` appends a run of the cell's bytes as UTF-8: the cells of a report are code-page bytes,
// the others UTF-8 already (in both, every byte below 0x80 stands for itself).
void appendCell(QByteArray &out, QByteArrayView cell, bool breaks, void (*put)(QByteArray &, QByteArrayView))
{
    bool quote = breaks && cell.contains(QByteArrayView("\\n"));
    for (qsizetype i = 0; !quote && i < cell.size(); ++i) {
        const char c = cell[i];
        quote = c == ',' || c == '"' || c == '\r' || c == '\n';
    }
    const char *mark = takenForFormula(cell) ? "'" : "";
    if (!quote) {
        out += mark;
        put(out, cell);
        return;
    }
    out += '"';
    out += mark;
    qsizetype from = 0; // the start of the text not written yet
    for (qsizetype i = 0; i < cell.size(); ++i) {
        if (cell[i] == '"') {
            put(out, cell.sliced(from, i + 1 - from));
            out += '"';
            from = i + 1;
        } else if (breaks && cell[i] == '\\' && i + 1 < cell.size() && cell[i + 1] == 'n') {
            put(out, cell.sliced(from, i - from));
            out += '\n';
            from = ++i + 1;
        }
    }
    put(out, cell.sliced(from));
    out += '"';
}

// Appends the row of one report, ended by CR LF.
void appendReport(QByteArray &out, const QString &name, const ZelvatMsg::Fields &fields)
{
    appendCell(out, name.toUtf8(), false, appendAsIs);
    out += ',';
    appendCell(out, Zelvat::stateName(fields.number[int(Key::AST)]).toUtf8(), false, appendAsIs);
    for (Key k : ZelvatMsg::allKeys()) {
        out += ',';
        if (ZelvatMsg::isIntegerKey(k))
            out += QByteArray::number(fields.number[int(k)]);
        else
            appendCell(out, StringLib::trimBlanks(fields.text[int(k)]), k == Key::DTL || k == Key::PDE, CodePage::appendUtf8);
    }
    out += "\r\n";
}

// The reports of one folder, the loader's messages kept quiet: the export names what it could
// not read once, after.
class Reading {
public:
    explicit Reading(ZelvatMsg &reader)
        : m_reader(reader)
        , m_fields(reader)
    {
    }

    // The fields of report `name`, or null when it cannot be read (named in `unreadable`). With
    // `inode` the folder's listing found it a regular file of that inode.
    const ZelvatMsg::Fields *read(const QString &name, QStringList *unreadable, quint64 inode = 0)
    {
        bool ok = false;
        const ZelvatMsg::Fields &fields = m_fields.read(name, &ok, inode ? std::optional(inode) : std::nullopt);
        if (!ok)
            *unreadable << ReportList::whyUnreadable(m_reader, name);
        return ok ? &fields : nullptr;
    }

private:
    ZelvatMsg &m_reader;
    ReportFieldsReader m_fields;
    Quiet m_quiet;
    ScopedNotifier m_scoped{&m_quiet};
};

} // namespace

bool takenForFormula(QByteArrayView cell)
{
    if (cell.isEmpty() || !QByteArrayView("=+-@\t\r").contains(cell.front()))
        return false;
    // A plain number with its sign (-5, +12, -5.25) is a number to a spreadsheet, not a formula.
    qsizetype i = 1;
    qsizetype digits = 0;
    bool point = false;
    for (; i < cell.size(); ++i) {
        const char c = cell[i];
        if (c >= '0' && c <= '9')
            ++digits;
        else if (c == '.' && !point)
            point = true;
        else
            break;
    }
    const bool number = (cell.front() == '-' || cell.front() == '+') && digits > 0 && i == cell.size();
    return !number;
}

const QStringList &headers()
{
    static const QStringList headers = [] {
        QStringList h = {QStringLiteral("File"), QStringLiteral("State")};
        for (Key k : ZelvatMsg::allKeys())
            h << ZelvatMsg::keyName(k);
        return h;
    }();
    return headers;
}

void appendRow(QByteArray &out, const QStringList &cells)
{
    for (qsizetype i = 0; i < cells.size(); ++i) {
        if (i > 0)
            out += ',';
        appendCell(out, cells[i].toUtf8(), false, appendAsIs);
    }
    out += "\r\n";
}

Export fromNames(ZelvatMsg &reader, const QStringList &names)
{
    Reading reading(reader);
    Export e;
    e.bytes = start();
    for (const QString &name : names) {
        if (const ZelvatMsg::Fields *fields = reading.read(name, &e.unreadable)) {
            appendReport(e.bytes, name, *fields);
            ++e.rows;
        }
    }
    return e;
}

Export fromFolder(ZelvatMsg &reader, int folder)
{
    Reading reading(reader);
    Export e;
    // Each row goes into one buffer as its file is read; the rows are put in the list's order
    // by their sort keys afterwards.
    struct Placed {
        QString key;
        qsizetype at;
        qsizetype size;
    };
    std::vector<Placed> placed;
    QByteArray rows;
    const QList<ZelvatMsg::Listed> files = reader.listFiles();
    placed.reserve(size_t(files.size()));
    for (const auto &[name, inode] : files) {
        const ZelvatMsg::Fields *fields = reading.read(name, &e.unreadable, inode);
        if (!fields || (folder != Zelvat::StateAll && fields->number[int(Key::AST)] != folder))
            continue;
        const qsizetype at = rows.size();
        appendReport(rows, name, *fields);
        ReportList::Row listed; // only what the default order looks at
        listed.cells[ReportList::Idx] = name;
        listed.cells[ReportList::City] = CodePage::decode(StringLib::trimBlanks(fields->text[int(Key::CTY)]));
        placed.push_back({ReportList::sortKey(listed, ReportList::City), at, rows.size() - at});
    }
    std::sort(placed.begin(), placed.end(), [](const Placed &a, const Placed &b) { return a.key < b.key; });
    e.bytes = start();
    e.bytes.reserve(e.bytes.size() + rows.size());
    for (const Placed &p : placed)
        e.bytes.append(rows.constData() + p.at, p.size);
    e.rows = int(placed.size());
    return e;
}

QString tabText(const QList<ReportList::Row> &rows)
{
    const auto flat = [](QString cell) {
        for (QChar &c : cell) {
            if (c == QLatin1Char('\t') || c == QLatin1Char('\r') || c == QLatin1Char('\n'))
                c = QLatin1Char(' ');
        }
        return cell;
    };
    QString text = ReportList::headers().mid(ReportList::State).join(QLatin1Char('\t')) + QLatin1Char('\n');
    for (const ReportList::Row &row : rows) {
        for (int c = ReportList::State; c < ReportList::ColumnCount; ++c) {
            text += flat(row.cells[c]);
            text += c + 1 < ReportList::ColumnCount ? QLatin1Char('\t') : QLatin1Char('\n');
        }
    }
    return text;
}

} // namespace ReportCsv
