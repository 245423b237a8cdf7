#pragma once

#include <QProcess>
#include <QStringList>

// Readers for what the hand-over writes, independent of the code that writes it.
namespace Csv {

// Strict RFC 4180: records end with CR LF; quoted fields may hold commas, CR, LF, doubled quotes;
// anything else (a stray quote, a lone CR or LF, text after a closing quote) is an error: false.
inline bool parse(const QString &text, QList<QStringList> *rows)
{
    rows->clear();
    QStringList row;
    QString field;
    bool quoted = false, closed = false; // inside quotes; just after the closing quote
    const auto at = [&text](qsizetype i) { return i < text.size() ? text[i] : QChar(); };
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (quoted && c == '"' && at(i + 1) == '"') {
            field += text[++i];
        } else if (quoted) {
            if (c == '"')
                quoted = false, closed = true;
            else
                field += c;
        } else if (c == ',' || (c == '\r' && at(++i) == '\n')) {
            row << std::exchange(field, {});
            closed = false;
            if (c == '\r')
                rows->append(std::exchange(row, {}));
        } else if (c == '"' && field.isEmpty() && !closed) {
            quoted = true;
        } else if (c == '"' || c == '\r' || c == '\n' || closed) {
            return false;
        } else {
            field += c;
        }
    }
    return !quoted && row.isEmpty() && field.isEmpty();
}

} // namespace Csv

namespace Pdf {

// What a poppler tool prints; empty when it failed.
inline QByteArray run(const QString &tool, const QStringList &args)
{
    QProcess p;
    p.start(tool, args);
    return p.waitForFinished(60000) && p.exitCode() == 0 ? p.readAllStandardOutput() : QByteArray();
}
inline QString text(const QString &path) // the pages in their physical layout, each ended by a form feed
{
    return QString::fromUtf8(run(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), path, QStringLiteral("-")}));
}
inline int pages(const QString &path)
{
    return int(text(path).count(QLatin1Char('\f')));
}

} // namespace Pdf
