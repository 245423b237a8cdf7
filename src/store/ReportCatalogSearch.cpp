#include "store/ReportCatalog.h"

#include "support/CodePage.h"
#include "support/CommonConst.h"

#include <algorithm>
#include <cstring>
#include <vector>

// The catalog's orders and its search: sort keys and comparisons of the list's columns, and the
// words of a search looked for in the folded copy of each card's searched fields.

namespace {

QByteArray stateBytes(qint16 state)
{
    return CodePage::encode(ReportCatalog::stateText(state));
}

// Text as UTF-16 units, high byte first: compared byte by byte, it orders as QString does.
void appendUnits(QByteArray &out, QStringView text)
{
    const qsizetype at = out.size();
    out.resize(at + 2 * text.size());
    char *o = out.data() + at;
    for (QChar c : text) {
        *o++ = char(c.unicode() >> 8);
        *o++ = char(c.unicode() & 0xFF);
    }
}

} // namespace

void ReportCatalog::appendSortKey(int slot, int column, QByteArray &out) const
{
    const Card &card = m_cards[slot];
    const auto &rank = CodePage::folding().rank;
    const auto folded = [&](QByteArrayView bytes) {
        const qsizetype at = out.size();
        out.resize(at + bytes.size() + 1);
        char *o = out.data() + at;
        for (char c : bytes)
            *o++ = char(rank[quint8(c)]);
        *o = '\0';
    };
    switch (column) {
    case ReportList::Idx:
        appendUnits(out, card.name.toCaseFolded());
        out += '\0';
        out += '\0';
        break;
    case ReportList::State: folded(stateBytes(card.state)); break;
    case ReportList::EventId: folded(fieldBytes(slot, EventId)); break;
    case ReportList::Type: folded(fieldBytes(slot, Type)); break;
    case ReportList::Issue: folded(fieldBytes(slot, Issue)); break;
    case ReportList::Location: folded(fieldBytes(slot, Location)); break;
    case ReportList::City: folded(fieldBytes(slot, City)); break;
    case ReportList::DateTime: {
        // A chronological value is never negative: its bits, high byte first, order as it does.
        quint64 bits = 0;
        std::memcpy(&bits, &card.chrono, 8);
        for (int shift = 56; shift >= 0; shift -= 8)
            out += char(bits >> shift);
        break;
    }
    default: break;
    }
    appendUnits(out, card.name);
}

int ReportCatalog::compare(int a, int b, int column) const
{
    const Card &x = m_cards[a], &y = m_cards[b];
    int c = 0;
    switch (column) {
    case ReportList::Idx: c = x.name.toCaseFolded().compare(y.name.toCaseFolded()); break;
    case ReportList::State: c = CodePage::compareFolded(stateBytes(x.state), stateBytes(y.state)); break;
    case ReportList::EventId: c = CodePage::compareFolded(fieldBytes(a, EventId), fieldBytes(b, EventId)); break;
    case ReportList::Type: c = CodePage::compareFolded(fieldBytes(a, Type), fieldBytes(b, Type)); break;
    case ReportList::Issue: c = CodePage::compareFolded(fieldBytes(a, Issue), fieldBytes(b, Issue)); break;
    case ReportList::Location: c = CodePage::compareFolded(fieldBytes(a, Location), fieldBytes(b, Location)); break;
    case ReportList::City: c = CodePage::compareFolded(fieldBytes(a, City), fieldBytes(b, City)); break;
    case ReportList::DateTime: c = x.chrono < y.chrono ? -1 : x.chrono > y.chrono ? 1 : 0; break;
    default: break;
    }
    if (c != 0)
        return c;
    // Rows of equal cells list by their names, so that they always list the same way.
    return x.name.compare(y.name);
}

QList<int> ReportCatalog::sorted(const QList<int> &among, int column, QList<qint32> *places) const
{
    // One key per slot, all in one buffer, compared as bytes: first their leading eight bytes
    // as one number, then the rest.
    QByteArray keys;
    keys.reserve(among.size() * 56);
    struct Key {
        quint64 head;
        qsizetype from, size;
        int slot;
    };
    std::vector<Key> order(size_t(among.size()));
    for (qsizetype i = 0; i < among.size(); ++i) {
        const qsizetype from = keys.size();
        appendSortKey(among[i], column, keys);
        order[i] = {0, from, keys.size() - from, among[i]};
    }
    const char *k = keys.constData();
    for (Key &key : order) {
        for (qsizetype b = 0; b < 8; ++b)
            key.head = key.head << 8 | (b < key.size ? quint8(k[key.from + b]) : 0);
    }
    const auto cmp = [k](const Key &a, const Key &b) {
        if (a.head != b.head)
            return a.head < b.head ? -1 : 1;
        const int c = std::memcmp(k + a.from, k + b.from, size_t(std::min(a.size, b.size)));
        return c != 0 ? c : a.size < b.size ? -1 : a.size > b.size ? 1 : 0;
    };
    // Slots kept in this order already (as the index file keeps them, by City) need no sorting.
    const auto less = [&cmp](const Key &a, const Key &b) { return cmp(a, b) < 0; };
    if (!std::is_sorted(order.begin(), order.end(), less))
        std::sort(order.begin(), order.end(), less);
    QList<int> result;
    result.reserve(among.size());
    for (const Key &key : order)
        result.append(key.slot);
    if (places) {
        // Equal keys share a place.
        places->resize(among.size());
        for (size_t i = 0; i < order.size(); ++i)
            (*places)[i] = i == 0 ? 0 : (*places)[i - 1] + (cmp(order[i - 1], order[i]) != 0);
    }
    return result;
}

QList<int> ReportCatalog::rowsOf(int folder) const
{
    QList<int> result;
    for (int s = 0; s < slotCount(); ++s) {
        const qint16 state = m_cards[s].state;
        if (m_cards[s].live && (folder == Zelvat::StateAll || state == folder || state == ReportList::NotAReport))
            result.append(s);
    }
    return sorted(result, ReportList::City);
}

bool ReportCatalog::matches(int slot, const ReportSearch &search) const
{
    if (search.impossible())
        return false;
    const Card &card = m_cards[slot];
    if (!card.live)
        return false;
    const QByteArrayView folded(card.text.constData() + card.at[FieldCount], card.text.size() - card.at[FieldCount]);
    // The fields are short: the first byte of a word is looked for, then the rest compared.
    for (const QByteArray &word : search.words()) {
        const char *p = folded.data();
        const char *const last = folded.data() + folded.size() - word.size();
        const char first = word.front();
        bool found = false;
        while (p <= last) {
            p = static_cast<const char *>(std::memchr(p, first, size_t(last - p + 1)));
            if (!p)
                break;
            if (std::memcmp(p + 1, word.constData() + 1, size_t(word.size() - 1)) == 0) {
                found = true;
                break;
            }
            ++p;
        }
        if (!found)
            return false;
    }
    return true;
}

std::optional<QByteArray> ReportCatalog::searchForm(QStringView text)
{
    if (!CodePage::canEncode(text))
        return std::nullopt;
    QByteArray bytes = CodePage::encode(text);
    const auto &fold = CodePage::folding().byte;
    for (char &c : bytes)
        c = fold[quint8(c)];
    return bytes;
}

ReportSearch::ReportSearch(const QString &text)
    : m_text(text)
{
    // Blanks and control characters separate words; a word never spans two fields.
    QString word;
    const auto take = [this, &word] {
        if (word.isEmpty())
            return;
        if (const auto form = ReportCatalog::searchForm(word))
            m_words.append(*form);
        else
            m_impossible = true;
        word.clear();
    };
    for (QChar c : text) {
        if (c.isSpace() || c.category() == QChar::Other_Control)
            take();
        else
            word += c;
    }
    take();
}
