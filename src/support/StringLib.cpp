#include "support/StringLib.h"

#include <QLocale>
#include <cmath>

namespace StringLib {

qsizetype getLineAt(QStringView buffer, qsizetype from, QString &line)
{
    line.clear();
    qsizetype i = from;
    const qsizetype n = buffer.size();
    const qsizetype cr = buffer.indexOf(QLatin1Char('\r'), from);
    const qsizetype end = cr < 0 ? n : cr;
    line.reserve(end - from);
    for (; i < end; ++i) {
        if (buffer[i] != QLatin1Char('\n'))
            line.append(buffer[i]);
    }
    return cr < 0 ? n : cr + 1;
}

QString GetLine(QString &buffer)
{
    QString line;
    const qsizetype next = getLineAt(buffer, 0, line);
    buffer.remove(0, next);
    return line;
}

QString GetBuffer(qsizetype count, QString &buffer)
{
    if (count < 0)
        count = 0;
    QString piece = buffer.left(count);
    buffer.remove(0, piece.size());
    return piece;
}

QString stripTrailingBreaks(const QString &text)
{
    qsizetype n = text.size();
    while (n > 0 && (text[n - 1] == QLatin1Char('\r') || text[n - 1] == QLatin1Char('\n')))
        --n;
    return text.left(n);
}

QString trimBlanks(QStringView text)
{
    qsizetype start = 0;
    qsizetype end = text.size();
    while (start < end && text[start] == QLatin1Char(' '))
        ++start;
    while (end > start && text[end - 1] == QLatin1Char(' '))
        --end;
    return text.mid(start, end - start).toString();
}

QByteArrayView trimBlanks(QByteArrayView bytes)
{
    while (!bytes.isEmpty() && bytes.front() == ' ')
        bytes = bytes.sliced(1);
    while (!bytes.isEmpty() && bytes.back() == ' ')
        bytes.chop(1);
    return bytes;
}

QString properCase(QStringView text)
{
    QString out;
    out.reserve(text.size());
    bool wordStart = true;
    for (QChar c : text) {
        out.append(wordStart ? c.toUpper() : c.toLower());
        const char16_t u = c.unicode();
        wordStart = u == ' ' || u == '\t' || u == '\n' || u == '\r' || u == '\v' || u == '\f' || u == 0;
    }
    return out;
}

std::optional<double> parseNumber(QStringView text)
{
    QString t = trimBlanks(text);
    if (t.startsWith(QLatin1Char('+')))
        t.remove(0, 1);
    if (t.isEmpty())
        return std::nullopt;
    // Only plain decimal notation: QLocale also reads "inf" and "nan", which are no numbers here.
    for (QChar c : t) {
        if (!(c.isDigit() || c == QLatin1Char('.') || c == QLatin1Char('-') || c == QLatin1Char('e')
              || c == QLatin1Char('E') || c == QLatin1Char('+')))
            return std::nullopt;
    }
    bool ok = false;
    const double v = QLocale::c().toDouble(t, &ok);
    if (!ok || !std::isfinite(v))
        return std::nullopt;
    return v;
}

bool isNumeric(QStringView text)
{
    return parseNumber(text).has_value();
}

std::optional<qint64> toInteger(QStringView text, qint64 min, qint64 max, const QString &what, RunError *error)
{
    // Plain whole numbers, nearly every value there is, without the general parser.
    {
        qsizetype i = 0;
        const qsizetype n = text.size();
        while (i < n && text[i] == QLatin1Char(' '))
            ++i;
        const bool negative = i < n && text[i] == QLatin1Char('-');
        if (negative || (i < n && text[i] == QLatin1Char('+')))
            ++i;
        const qsizetype digitsFrom = i;
        qint64 v = 0;
        while (i < n && i - digitsFrom < 15 && text[i].isDigit() && text[i].unicode() < 128) {
            v = v * 10 + (text[i].unicode() - '0');
            ++i;
        }
        qsizetype end = i;
        while (end < n && text[end] == QLatin1Char(' '))
            ++end;
        if (i > digitsFrom && end == n && (i == n || text[i] == QLatin1Char(' '))) {
            v = negative ? -v : v;
            if (v >= min && v <= max)
                return v;
        }
    }
    const auto number = parseNumber(text);
    if (!number) {
        if (error)
            *error = RunError::make(RunError::TypeMismatch, what + QStringLiteral(" is not a number"));
        return std::nullopt;
    }
    // Round half to even, as the settings files have always been read.
    const double rounded = std::nearbyint(*number);
    if (rounded < double(min) || rounded > double(max)) {
        if (error)
            *error = RunError::make(RunError::Overflow,
                                    what + QStringLiteral(" is outside %1 to %2").arg(min).arg(max));
        return std::nullopt;
    }
    return qint64(rounded);
}

QString zeroPadded(qint64 value, int digits)
{
    const QString body = QString::number(value < 0 ? -value : value).rightJustified(digits, QLatin1Char('0'));
    return value < 0 ? QLatin1Char('-') + body : body;
}

} // namespace StringLib
