#include "store/ReportCsv.h"

#include "store/ZelvatMsg.h"
#include "support/CommonConst.h"
#include "support/Platform.h"

#include <QStringEncoder>
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

// A field as its getter gives it (blanks trimmed at both ends), without copying it.
QStringView trimmed(const QString &text)
{
    QStringView v(text);
    while (!v.isEmpty() && v.front() == QLatin1Char(' '))
        v = v.sliced(1);
    while (!v.isEmpty() && v.back() == QLatin1Char(' '))
        v.chop(1);
    return v;
}

// Appends text as UTF-8, straight into the output.
void appendUtf8(QByteArray &out, QStringView text)
{
    QStringEncoder utf8(QStringEncoder::Utf8);
    const qsizetype at = out.size();
    out.resize(at + utf8.requiredSpace(text.size()));
    char *end = utf8.appendToBuffer(out.data() + at, text);
    out.truncate(end - out.constData());
}

// Appends one cell, in double quotes when it holds a comma, a quote or a line break (its quotes
// doubled). With `breaks` the stored "\n" escapes of a multi-line field become line breaks.
void appendCell(QByteArray &out, QStringView cell, bool breaks)
{
    bool quote = breaks && cell.contains(QLatin1String("\\n"));
    for (qsizetype i = 0; !quote && i < cell.size(); ++i) {
        const QChar c = cell[i];
        quote = c == QLatin1Char(',') || c == QLatin1Char('"') || c == QLatin1Char('\r') || c == QLatin1Char('\n');
    }
    if (!quote) {
        appendUtf8(out, cell);
        return;
    }
    out += '"';
    qsizetype from = 0; // the start of the text not written yet
    for (qsizetype i = 0; i < cell.size(); ++i) {
        if (cell[i] == QLatin1Char('"')) {
            appendUtf8(out, cell.sliced(from, i + 1 - from));
            out += '"';
            from = i + 1;
        } else if (breaks && cell[i] == QLatin1Char('\\') && i + 1 < cell.size() && cell[i + 1] == QLatin1Char('n')) {
            appendUtf8(out, cell.sliced(from, i - from));
            out += '\n';
            from = ++i + 1;
        }
    }
    appendUtf8(out, cell.sliced(from));
    out += '"';
}

// Appends the row of one report, ended by CR LF.
void appendReport(QByteArray &out, const QString &name, const ZelvatMsg &record)
{
    appendCell(out, name, false);
    out += ',';
    appendCell(out, Zelvat::stateName(record.AST()), false);
    for (Key k : ZelvatMsg::allKeys()) {
        out += ',';
        if (ZelvatMsg::isIntegerKey(k))
            out += QByteArray::number(record.number(k));
        else
            appendCell(out, trimmed(record.rawText(k)), k == Key::DTL || k == Key::PDE);
    }
    out += "\r\n";
}

} // namespace

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
        appendCell(out, cells[i], false);
    }
    out += "\r\n";
}

Export fromNames(ZelvatMsg &reader, const QStringList &names)
{
    Quiet quiet;
    ScopedNotifier scoped(&quiet);
    Export e;
    e.bytes = start();
    for (const QString &name : names) {
        if (!reader.Load(name)) {
            e.unreadable << ReportList::whyUnreadable(reader, name);
            continue;
        }
        appendReport(e.bytes, name, reader);
        ++e.rows;
    }
    return e;
}

Export fromFolder(ZelvatMsg &reader, int folder)
{
    Quiet quiet;
    ScopedNotifier scoped(&quiet);
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
    const QStringList names = reader.fileNames();
    placed.reserve(size_t(names.size()));
    for (const QString &name : names) {
        if (!reader.Load(name)) {
            e.unreadable << ReportList::whyUnreadable(reader, name);
            continue;
        }
        if (folder != Zelvat::StateAll && reader.AST() != folder)
            continue;
        const qsizetype at = rows.size();
        appendReport(rows, name, reader);
        ReportList::Row listed; // only what the default order looks at
        listed.cells[ReportList::Idx] = name;
        listed.cells[ReportList::City] = reader.CTY();
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
