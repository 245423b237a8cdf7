#pragma once

#include <QByteArray>
#include <QList>
#include <QProcess>
#include <QString>
#include <QStringList>

// Readers for what the hand-over commands write, independent of the code that writes it.
namespace Csv {

// Parses CSV text strictly by RFC 4180: fields separated by commas, records ended by CR LF (the
// last one too), a field in double quotes may hold commas, CR, LF and doubled quotes; a quote in
// an unquoted field, a lone CR or LF outside quotes, or anything but a separator after a closing
// quote is an error. False on an error.
inline bool parse(const QString &text, QList<QStringList> *rows)
{
    rows->clear();
    QStringList row;
    QString field;
    enum { Start, Plain, Quoted, Closed } state = Start;
    const auto endField = [&] {
        row << field;
        field.clear();
        state = Start;
    };
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (state == Quoted) {
            if (c != QLatin1Char('"'))
                field += c;
            else if (i + 1 < text.size() && text[i + 1] == QLatin1Char('"'))
                field += text[++i];
            else
                state = Closed;
            continue;
        }
        if (c == QLatin1Char(',')) {
            endField();
        } else if (c == QLatin1Char('\r')) {
            if (i + 1 >= text.size() || text[i + 1] != QLatin1Char('\n'))
                return false;
            ++i;
            endField();
            rows->append(row);
            row.clear();
        } else if (c == QLatin1Char('"') && state == Start) {
            state = Quoted;
        } else if (c == QLatin1Char('"') || c == QLatin1Char('\n') || state == Closed) {
            return false;
        } else {
            field += c;
            state = Plain;
        }
    }
    return state == Start && row.isEmpty();
}

} // namespace Csv

namespace Pdf {

inline QByteArray run(const QString &program, const QStringList &args)
{
    QProcess p;
    p.start(program, args);
    if (!p.waitForFinished(60000) || p.exitCode() != 0)
        return {};
    return p.readAllStandardOutput();
}

// The number of pages of a PDF file (poppler's pdfinfo); 0 when it is no PDF.
inline int pages(const QString &path)
{
    for (const QByteArray &line : run(QStringLiteral("pdfinfo"), {path}).split('\n')) {
        if (line.startsWith("Pages:"))
            return line.mid(6).trimmed().toInt();
    }
    return 0;
}

// The text of the PDF's pages (poppler's pdftotext, physical layout), pages separated by form feeds.
inline QString text(const QString &path)
{
    return QString::fromUtf8(run(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), path, QStringLiteral("-")}));
}

} // namespace Pdf
