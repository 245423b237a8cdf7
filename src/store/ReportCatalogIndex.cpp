// The catalog's index file, Zelvatcts.idx: the cards of settled report files, so that a start
// need not read every report. A header names its format, byte order and program version; a
// digest of the whole closes it. Anything that does not match is not trusted: the catalog is
// then simply rebuilt from the files.
#include "store/ReportCatalog.h"

#include "support/CommonConst.h"
#include "support/SafeFile.h"

#include <cstring>

namespace {

constexpr char kIndexMagic[] = "ZELVATIDX\n";
constexpr quint32 kIndexFormat = 1;
constexpr quint32 kByteOrder = 0x01020304;
// An index of a million reports is about 300 MB; anything larger is not one of ours.
constexpr qint64 kMaxIndexBytes = qint64(1) << 31;

quint64 digest(QByteArrayView bytes)
{
    quint64 h = 0x9E3779B97F4A7C15ull ^ quint64(bytes.size());
    const char *p = bytes.data();
    qsizetype i = 0;
    for (; i + 8 <= bytes.size(); i += 8) {
        quint64 w;
        std::memcpy(&w, p + i, 8);
        h = (h ^ w) * 0xFF51AFD7ED558CCDull;
        h ^= h >> 29;
    }
    for (; i < bytes.size(); ++i) {
        h = (h ^ quint8(p[i])) * 0xC4CEB9FE1A85EC53ull;
        h ^= h >> 31;
    }
    return h;
}

struct Writer {
    QByteArray out;
    template <typename T> void put(T v) { out.append(reinterpret_cast<const char *>(&v), sizeof v); }
    void bytes(QByteArrayView b)
    {
        put(quint32(b.size()));
        out.append(b);
    }
};

struct Reader {
    QByteArrayView in;
    qsizetype pos = 0;
    bool ok = true;
    template <typename T> T get()
    {
        T v {};
        if (pos + qsizetype(sizeof v) > in.size()) {
            ok = false;
            return v;
        }
        std::memcpy(&v, in.data() + pos, sizeof v);
        pos += sizeof v;
        return v;
    }
    QByteArrayView bytes()
    {
        const quint32 n = get<quint32>();
        if (!ok || pos + qsizetype(n) > in.size()) {
            ok = false;
            return {};
        }
        const QByteArrayView b = in.sliced(pos, n);
        pos += n;
        return b;
    }
};

QByteArray indexHeader()
{
    Writer w;
    w.out.append(kIndexMagic);
    w.put(kIndexFormat);
    w.put(kByteOrder);
    w.bytes(Zelvat::versionText().toUtf8());
    return w.out;
}

} // namespace

bool ReportCatalog::saveIndex(RunError *error) const
{
    Writer w;
    w.out = indexHeader();
    QList<int> kept;
    for (int s = 0; s < slotCount(); ++s) {
        const Card &card = m_cards[s];
        // A card that may not match its file's identity, or one of a file that cannot be read
        // (whose message must be given again), is read anew at the next start.
        if (card.live && card.settled && !m_failures.contains(s))
            kept.append(s);
    }
    // In the list's first order, so that the next start finds its rows sorted.
    kept = sorted(kept, ReportList::City);
    w.put(quint32(kept.size()));
    for (int s : std::as_const(kept)) {
        const Card &card = m_cards[s];
        w.bytes(card.fileName.toUtf8());
        w.put(card.identity.size);
        w.put(card.identity.modifiedNs);
        w.put(card.identity.inode);
        w.put(card.state);
        w.bytes(QByteArrayView(card.text.constData(), card.at[FieldCount]));
    }
    w.put(digest(w.out));
    if (!SafeFile::writeAtomically(m_indexPath, w.out, error))
        return false;
    const_cast<ReportCatalog *>(this)->m_changedSinceIndex = false;
    return true;
}

bool ReportCatalog::loadIndex()
{
    // Into an empty catalog only: slots already handed out keep their meaning.
    if (!m_cards.empty())
        return false;
    QByteArray bytes;
    RunError error;
    if (!SafeFile::readAll(m_indexPath, kMaxIndexBytes, &bytes, &error))
        return false;
    const QByteArray header = indexHeader();
    if (bytes.size() < header.size() + 12 || !bytes.startsWith(header))
        return false;
    quint64 stored = 0;
    std::memcpy(&stored, bytes.constData() + bytes.size() - 8, 8);
    const QByteArrayView body(bytes.constData(), bytes.size() - 8);
    if (digest(body) != stored)
        return false;

    Reader r{body, header.size()};
    const quint32 count = r.get<quint32>();
    if (!r.ok || count > quint64(body.size()) / 40)
        return false;
    std::vector<Card> cards(count);
    QHash<QString, int> slotOf;
    slotOf.reserve(count);
    for (quint32 i = 0; i < count; ++i) {
        Card &card = cards[i];
        card.fileName = QString::fromUtf8(r.bytes());
        card.identity.size = r.get<qint64>();
        card.identity.modifiedNs = r.get<qint64>();
        card.identity.inode = r.get<quint64>();
        card.state = r.get<qint16>();
        const QByteArrayView text = r.bytes();
        if (!r.ok || !card.fileName.endsWith(QLatin1String(".911")) || !finish(card, text))
            return false;
        // Only cards of their own files are kept in an index.
        card.name = card.fileName.chopped(4);
        if (!ownFile(card))
            return false;
        card.live = true;
        card.settled = true;
        card.birth = 1;
        card.generation = 1;
        slotOf.insert(card.fileName, int(i));
        if (slotOf.size() != qsizetype(i) + 1)
            return false; // a file twice
    }
    if (r.pos != body.size())
        return false;
    m_cards = std::move(cards);
    m_slotOf = std::move(slotOf);
    m_changedSinceIndex = false;
    m_changeLog.clear();
    ++m_changeCount; // every slot is new: no log reaches back before this
    return true;
}
