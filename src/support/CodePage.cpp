#include "support/CodePage.h"

#include <algorithm>

namespace {

// Characters of the bytes 0x80..0x9F. The five bytes the code page leaves undefined
// (0x81, 0x8D, 0x8F, 0x90, 0x9D) map to the control characters of the same number,
// so that every byte survives a round trip.
constexpr char16_t kHigh[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

// Byte for one UTF-16 unit, or -1 when the code page has none.
int byteFor(char16_t c)
{
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF))
        return c;
    for (int i = 0; i < 32; ++i) {
        if (kHigh[i] == c)
            return 0x80 + i;
    }
    return -1;
}

} // namespace

namespace CodePage {

QByteArray encode(QStringView text)
{
    QByteArray out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        const int b = byteFor(c);
        if (b >= 0) {
            out.append(char(b));
            continue;
        }
        // One "?" per character: a surrogate pair stands for a single character.
        if (QChar::isHighSurrogate(c) && i + 1 < text.size() && text[i + 1].isLowSurrogate())
            ++i;
        out.append('?');
    }
    return out;
}

QString decode(QByteArrayView bytes)
{
    // Most text holds none of the bytes 0x80..0x9F and decodes as Latin-1, which Qt does fast.
    if (std::none_of(bytes.begin(), bytes.end(), [](char c) {
            const auto b = static_cast<unsigned char>(c);
            return b >= 0x80 && b < 0xA0;
        }))
        return QString::fromLatin1(bytes);
    QString out(bytes.size(), Qt::Uninitialized);
    QChar *dst = out.data();
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const auto b = static_cast<unsigned char>(bytes[i]);
        dst[i] = (b >= 0x80 && b < 0xA0) ? QChar(kHigh[b - 0x80]) : QChar(b);
    }
    return out;
}

void appendUtf8(QByteArray &out, QByteArrayView bytes)
{
    const qsizetype at = out.size();
    out.resize(at + 3 * bytes.size()); // no byte takes more than three in UTF-8
    char *o = out.data() + at;
    for (const char c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        const char16_t u = (b >= 0x80 && b < 0xA0) ? kHigh[b - 0x80] : b;
        if (u < 0x80) {
            *o++ = char(u);
        } else if (u < 0x800) {
            *o++ = char(0xC0 | u >> 6);
            *o++ = char(0x80 | (u & 0x3F));
        } else {
            *o++ = char(0xE0 | u >> 12);
            *o++ = char(0x80 | ((u >> 6) & 0x3F));
            *o++ = char(0x80 | (u & 0x3F));
        }
    }
    out.truncate(o - out.constData());
}

bool canEncode(QStringView text)
{
    for (QChar c : text) {
        if (byteFor(c.unicode()) < 0)
            return false;
    }
    return true;
}

QString unencodable(QStringView text)
{
    QString found;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        if (byteFor(c) >= 0)
            continue;
        QString ch(text[i]);
        if (QChar::isHighSurrogate(c) && i + 1 < text.size() && text[i + 1].isLowSurrogate())
            ch.append(text[++i]);
        if (!found.contains(ch))
            found.append(ch);
    }
    return found;
}

const Folding &folding()
{
    static const Folding f = [] {
        Folding f;
        for (int b = 0; b < 256; ++b) {
            const char c = char(b);
            const QChar ch = decode(QByteArrayView(&c, 1)).at(0);
            const QChar folded = ch.toCaseFolded();
            f.unit[b] = folded.unicode();
            const QByteArray back = encode(QString(folded));
            f.byte[b] = canEncode(QString(folded)) ? back.at(0) : c;
        }
        std::array<char16_t, 256> units = f.unit;
        std::sort(units.begin(), units.end());
        const auto last = std::unique(units.begin(), units.end());
        for (int b = 0; b < 256; ++b)
            f.rank[b] = quint8(1 + (std::lower_bound(units.begin(), last, f.unit[b]) - units.begin()));
        return f;
    }();
    return f;
}

int compareFolded(QByteArrayView a, QByteArrayView b)
{
    const auto &unit = folding().unit;
    const qsizetype n = std::min(a.size(), b.size());
    for (qsizetype i = 0; i < n; ++i) {
        const char16_t x = unit[quint8(a[i])], y = unit[quint8(b[i])];
        if (x != y)
            return x < y ? -1 : 1;
    }
    return a.size() < b.size() ? -1 : a.size() > b.size() ? 1 : 0;
}

} // namespace CodePage
