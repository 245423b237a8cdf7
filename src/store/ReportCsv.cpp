#include "store/ReportCsv.h"

#include "store/SaveStamps.h"
#include "store/ZelvatMsg.h"
#include "support/CommonConst.h"
#include "support/Platform.h"

#include <algorithm>

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

QStringList cells(const QString &name, const ZelvatMsg &record)
{
    QStringList c;
    c.reserve(2 + ZelvatMsg::KeyCount);
    c << name << Zelvat::stateName(record.AST());
    for (Key k : ZelvatMsg::allKeys()) {
        if (ZelvatMsg::isIntegerKey(k))
            c << QString::number(record.number(k));
        else if (k == Key::DTL || k == Key::PDE)
            c << unescapeBreaks(record.text(k));
        else
            c << record.text(k);
    }
    return c;
}

void appendRow(QByteArray &out, const QStringList &cells)
{
    QString row;
    row.reserve(1024);
    for (qsizetype i = 0; i < cells.size(); ++i) {
        if (i > 0)
            row += QLatin1Char(',');
        const QString &cell = cells[i];
        const bool quoted = std::any_of(cell.begin(), cell.end(), [](QChar c) {
            return c == QLatin1Char(',') || c == QLatin1Char('"') || c == QLatin1Char('\r') || c == QLatin1Char('\n');
        });
        if (!quoted) {
            row += cell;
            continue;
        }
        row += QLatin1Char('"');
        for (QChar c : cell) {
            if (c == QLatin1Char('"'))
                row += QLatin1Char('"');
            row += c;
        }
        row += QLatin1Char('"');
    }
    row += QLatin1String("\r\n");
    out += row.toUtf8();
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
        appendRow(e.bytes, cells(name, reader));
        ++e.rows;
    }
    return e;
}

Export fromFolder(ZelvatMsg &reader, int folder)
{
    Quiet quiet;
    ScopedNotifier scoped(&quiet);
    Export e;
    // Each row is made as its file is read and placed by the list's sort key afterwards.
    QList<std::pair<QString, QByteArray>> rows;
    const QStringList names = reader.fileNames();
    rows.reserve(names.size());
    for (const QString &name : names) {
        if (!reader.Load(name)) {
            e.unreadable << ReportList::whyUnreadable(reader, name);
            continue;
        }
        if (folder != Zelvat::StateAll && reader.AST() != folder)
            continue;
        QByteArray row;
        appendRow(row, cells(name, reader));
        rows.append({ReportList::sortKey(ReportList::rowOf(name, reader), ReportList::City), std::move(row)});
    }
    std::sort(rows.begin(), rows.end(), [](const auto &a, const auto &b) { return a.first < b.first; });
    e.bytes = start();
    qsizetype size = e.bytes.size();
    for (const auto &r : std::as_const(rows))
        size += r.second.size();
    e.bytes.reserve(size);
    for (const auto &r : std::as_const(rows))
        e.bytes += r.second;
    e.rows = int(rows.size());
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
