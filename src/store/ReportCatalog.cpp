#include "store/ReportCatalog.h"

#include "store/ReportFieldsReader.h"

#include "store/ZelvatMsg.h"
#include "support/CodePage.h"
#include "support/CommonConst.h"
#include "support/SafeFile.h"
#include "support/StringLib.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QVarLengthArray>
#include <algorithm>
#include <climits>
#include <limits>
#include <cstring>

#ifdef Q_OS_UNIX
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#else
#include <QDirIterator>
#include <QFileInfo>
#endif

namespace {

// Case folding of the code page, byte by byte. Every character of the code page folds to one
// UTF-16 unit, so comparing the folded units of two byte strings orders them exactly as
// comparing QString::toCaseFolded() of their text does.
struct Folding {
    std::array<char16_t, 256> unit {}; // the folded character of each byte
    std::array<char, 256> byte {};     // its byte again, where the code page holds it (µ stays µ)
    std::array<quint8, 256> rank {};   // 1..255 in the order of the folded characters, for sort keys

    Folding()
    {
        for (int b = 0; b < 256; ++b) {
            const char c = char(b);
            const QChar ch = CodePage::decode(QByteArrayView(&c, 1)).at(0);
            const QChar folded = ch.toCaseFolded();
            unit[b] = folded.unicode();
            const QByteArray back = CodePage::encode(QString(folded));
            byte[b] = CodePage::canEncode(QString(folded)) ? back.at(0) : c;
        }
        std::array<char16_t, 256> units = unit;
        std::sort(units.begin(), units.end());
        const auto last = std::unique(units.begin(), units.end());
        for (int b = 0; b < 256; ++b)
            rank[b] = quint8(1 + (std::lower_bound(units.begin(), last, unit[b]) - units.begin()));
    }
};

const Folding &folding()
{
    static const Folding f;
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

// The State cell. What is named like a report but is no file at all (a folder, a pipe, a link)
// has the state ReportList::NotAReport: its row is shown in every folder, for the operator to see.
QString stateText(qint16 state)
{
    return state == ReportList::NotAReport ? QStringLiteral("Not a report") : Zelvat::stateName(state);
}

QByteArray stateBytes(qint16 state)
{
    return CodePage::encode(stateText(state));
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

// The look-up forms, written into a buffer of the caller's.
template <typename Buffer> void addressFormInto(QByteArrayView text, Buffer &form)
{
    const auto &fold = folding().byte;
    for (char c : text) {
        const auto b = quint8(c);
        if (b != ' ' && b != '\t' && b != 0xA0)
            form.append(fold[b]);
    }
}

template <typename Buffer> void phoneFormInto(QByteArrayView text, Buffer &digits)
{
    for (char c : text) {
        if (c >= '0' && c <= '9')
            digits.append(c);
    }
    if (digits.size() < 7)
        digits.clear();
}

// Code-page bytes of text that came from code-page bytes: most of it is plain Latin-1.
void appendEncoded(QByteArray &out, QStringView text)
{
    const qsizetype at = out.size();
    out.resize(at + text.size());
    char *o = out.data() + at;
    for (QChar c : text) {
        const char16_t u = c.unicode();
        if (u >= 0x100 || (u >= 0x80 && u < 0xA0)) {
            out.truncate(at);
            out += CodePage::encode(text);
            return;
        }
        *o++ = char(u);
    }
}

// The fields a search looks in, in the order they are kept folded.
constexpr ReportCatalog::Field kSearched[] = {ReportCatalog::EventId, ReportCatalog::Issue,   ReportCatalog::Location,
                                              ReportCatalog::City,    ReportCatalog::Person, ReportCatalog::Phone,
                                              ReportCatalog::Details};

#ifdef Q_OS_UNIX
// The identity of `name` in the folder `dirFd`, looked at without following a link; false when
// nothing stands there. An entry that is no regular file has size -1 and its type where the
// modification time would be.
bool identityAt(int dirFd, const char *name, ReportCatalog::Identity *id)
{
    struct stat st {};
    if (::fstatat(dirFd, name, &st, AT_SYMLINK_NOFOLLOW) != 0)
        return false;
    *id = {};
    id->inode = st.st_ino;
    if (!S_ISREG(st.st_mode)) {
        id->modifiedNs = st.st_mode & S_IFMT;
        return true;
    }
    id->size = st.st_size;
#ifdef Q_OS_DARWIN
    id->modifiedNs = qint64(st.st_mtimespec.tv_sec) * 1000000000 + st.st_mtimespec.tv_nsec;
#else
    id->modifiedNs = qint64(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
#endif
    return true;
}
#else
bool identityAt(const QString &path, ReportCatalog::Identity *id)
{
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink())
        return false;
    *id = {};
    id->size = info.isFile() && !info.isSymLink() ? info.size() : -1;
    id->modifiedNs = info.lastModified().toMSecsSinceEpoch() * 1000000;
    return true;
}
#endif

} // namespace

// --- looking at the folder ------------------------------------------------------------------

ReportCatalog::Listing ReportCatalog::listFolder(const QString &messageFolder)
{
    Listing listing;
    listing.startedMs = QDateTime::currentMSecsSinceEpoch();
#ifdef Q_OS_UNIX
    // A folder that cannot be read lists nothing, as the file list does.
    DIR *dir = ::opendir(QFile::encodeName(messageFolder).constData());
    if (!dir)
        return listing;
    while (const dirent *e = ::readdir(dir)) {
        const size_t length = std::strlen(e->d_name);
        Identity id;
        if (length >= 4 && std::memcmp(e->d_name + length - 4, ".911", 4) == 0 && identityAt(::dirfd(dir), e->d_name, &id))
            listing.files.append({QFile::decodeName(e->d_name), id});
    }
    ::closedir(dir);
#else
    QDirIterator it(messageFolder, QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot);
    while (it.hasNext()) {
        it.next();
        Identity id;
        if (it.fileName().endsWith(QLatin1String(".911")) && identityAt(it.filePath(), &id))
            listing.files.append({it.fileName(), id});
    }
#endif
    return listing;
}

ReportCatalog::Listing ReportCatalog::lookAt(const QString &messageFolder, const QStringList &fileNames)
{
    Listing listing;
    listing.whole = false;
    listing.startedMs = QDateTime::currentMSecsSinceEpoch();
#ifdef Q_OS_UNIX
    const int dirFd = ::open(QFile::encodeName(messageFolder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
#endif
    for (const QString &fileName : fileNames) {
        if (!fileName.endsWith(QLatin1String(".911")) || fileName.contains(QLatin1Char('/')))
            continue;
        listing.lookedFor.append(fileName);
        Identity id;
#ifdef Q_OS_UNIX
        const bool found = dirFd >= 0 && identityAt(dirFd, QFile::encodeName(fileName).constData(), &id);
#else
        const bool found = identityAt(messageFolder + QLatin1Char('/') + fileName, &id);
#endif
        if (found)
            listing.files.append({fileName, id});
    }
#ifdef Q_OS_UNIX
    if (dirFd >= 0)
        ::close(dirFd);
#endif
    return listing;
}

// --- the cards ------------------------------------------------------------------------------

ReportCatalog::ReportCatalog(const QString &programFolder)
    : m_programFolder(programFolder)
    , m_indexPath(QDir(programFolder).filePath(QStringLiteral("Zelvatcts.idx")))
    , m_reader(std::make_unique<ZelvatMsg>(programFolder))
{
}

ReportCatalog::~ReportCatalog() = default;

QString ReportCatalog::messageFolder() const
{
    return m_reader->messageFolder();
}

void ReportCatalog::refresh()
{
    apply(listFolder(messageFolder()));
}

void ReportCatalog::refresh(const QStringList &fileNames)
{
    apply(lookAt(messageFolder(), fileNames));
}

// The report name of a listed file, with the file list's own rules: every ".911" is taken out;
// a file whose name is nothing else, or holds a line break, is left out (and the event log
// hears of it once).
QString ReportCatalog::reportNameOf(const QString &fileName)
{
    QString rest = fileName;
    rest.remove(QStringLiteral(".911"));
    QString why;
    if (StringLib::trimBlanks(rest).isEmpty())
        why = QStringLiteral("Tn911:BuildFileList, detected, excluded an extent-only '.911' file");
    else if (rest.contains(QLatin1Char('\r')) || rest.contains(QLatin1Char('\n')))
        why = QStringLiteral("Tn911:BuildFileList, excluded a file whose name holds a line break: ") + messageFolder()
            + QLatin1Char('/') + fileName;
    if (why.isEmpty())
        return rest;
    if (!m_excludedLogged.contains(fileName)) {
        m_excludedLogged.insert(fileName);
        EventLog::current().error(why);
    }
    return {};
}

void ReportCatalog::apply(const Listing &listing)
{
    m_filesRead = 0;
    std::optional<ReportFieldsReader> fields; // opened at the first file to read
    std::vector<bool> seen(listing.whole ? m_cards.size() : 0, false);
    for (const Listing::File &file : listing.files) {
        int slot = m_slotOf.value(file.fileName, -1);
        const bool known = slot >= 0;
        if (!known) {
            const QString name = reportNameOf(file.fileName);
            if (name.isNull())
                continue;
            slot = takeSlot(file.fileName, name);
        }
        if (size_t(slot) < seen.size())
            seen[slot] = true;
        const Card &card = m_cards[slot];
        // Unchanged, or read after this look began: the card is as new as the look or newer.
        if (known && ((card.identity == file.identity && card.settled) || card.readAtMs > listing.startedMs))
            continue;
        if (!fields)
            fields.emplace(*m_reader);
        read(slot, file.identity, listing.startedMs, *fields);
    }
    // What the look did not find is gone, unless it was read after the look began.
    const auto goneAfterLook = [&](int slot) { return m_cards[slot].live && m_cards[slot].readAtMs <= listing.startedMs; };
    if (listing.whole) {
        for (size_t slot = 0; slot < seen.size(); ++slot) {
            if (!seen[slot] && goneAfterLook(int(slot)))
                drop(int(slot));
        }
        return;
    }
    QSet<QString> found;
    for (const Listing::File &file : listing.files)
        found.insert(file.fileName);
    for (const QString &fileName : listing.lookedFor) {
        const int slot = m_slotOf.value(fileName, -1);
        if (slot >= 0 && !found.contains(fileName) && goneAfterLook(slot))
            drop(slot);
    }
}

int ReportCatalog::takeSlot(const QString &fileName, const QString &name)
{
    int slot;
    if (!m_free.empty()) {
        slot = m_free.back();
        m_free.pop_back();
    } else {
        slot = int(m_cards.size());
        m_cards.emplace_back();
    }
    Card &card = m_cards[slot];
    card.fileName = fileName;
    card.name = name;
    card.live = true;
    card.settled = false;
    ++card.birth;
    ++card.generation;
    m_slotOf.insert(fileName, slot);
    m_changedSinceIndex = true;
    logChange(slot);
    return slot;
}

void ReportCatalog::drop(int slot)
{
    Card &card = m_cards[slot];
    m_slotOf.remove(card.fileName);
    m_failures.remove(slot);
    const quint32 birth = card.birth, generation = card.generation + 1;
    card = Card{};
    card.birth = birth;
    card.generation = generation;
    m_free.push_back(slot);
    m_changedSinceIndex = true;
    logChange(slot);
}

// A card whose name leads the loader to another file (blanks around it, ".911" inside it) can
// never be trusted by its own file's identity.
bool ReportCatalog::ownFile(const Card &card)
{
    const QString &name = card.name;
    return !name.isEmpty() && name.front() != QLatin1Char(' ') && name.back() != QLatin1Char(' ')
        && card.fileName.size() == name.size() + 4 && card.fileName.startsWith(name);
}

void ReportCatalog::read(int slot, const Identity &identity, qint64 lookedAtMs, ReportFieldsReader &fields)
{
    Card &card = m_cards[slot];
    // The loader's messages are kept with the card; the caller decides whom to tell.
    struct Collect : Notifier {
        QList<Notice> notices;
        void show(const Notice &n) override { notices.append(n); }
    } collect;
    if (identity.size < 0) {
        // Never opened: a pipe could hold the reader forever.
        const SafeFile::Kind kind = SafeFile::kindOf(m_reader->pathFor(card.name));
        QByteArray text;
        for (int f = 0; f < FieldCount; ++f) {
            if (f == Issue)
                appendEncoded(text, QString(SafeFile::describe(kind) + QStringLiteral(", not a report file")));
            text += '\0';
        }
        card.state = ReportList::NotAReport;
        finish(card, text);
    } else {
        ScopedNotifier quiet(&collect);
        bool ok = false;
        fill(card, fields.read(card.name, &ok, identity.inode));
    }
    // The identity was taken before the file was read, so a change after it shows at the next look.
    card.identity = identity;
    card.readAtMs = lookedAtMs;
    card.settled = ownFile(card) && identity.modifiedNs < (lookedAtMs - m_settleMs) * 1000000;
    ++card.generation;
    if (collect.notices.isEmpty())
        m_failures.remove(slot);
    else
        m_failures.insert(slot, collect.notices.first());
    ++m_filesRead;
    m_changedSinceIndex = true;
    logChange(slot);
}

void ReportCatalog::logChange(int slot)
{
    ++m_changeCount;
    // A long log is not worth keeping: whoever is that far behind looks at every slot.
    if (m_changeLog.size() >= kChangeLogSize)
        m_changeLog.clear();
    m_changeLog.push_back({m_changeCount, slot});
}

bool ReportCatalog::changedSince(quint64 count, QList<int> *changed) const
{
    changed->clear();
    if (count == m_changeCount)
        return true;
    if (m_changeLog.empty() || m_changeLog.front().first > count + 1)
        return false;
    for (auto it = std::lower_bound(m_changeLog.begin(), m_changeLog.end(), std::pair<quint64, int>{count + 1, INT_MIN});
         it != m_changeLog.end(); ++it)
        changed->append(it->second);
    std::sort(changed->begin(), changed->end());
    changed->erase(std::unique(changed->begin(), changed->end()), changed->end());
    return true;
}

void ReportCatalog::fill(Card &card, const ZelvatMsg::Fields &fields)
{
    using Key = ZelvatMsg::Key;
    static constexpr Key kKeys[FieldCount] = {Key::EID, Key::MID, Key::TYP, Key::ISS, Key::AD1, Key::CTY,
                                              Key::ADT, Key::ATM, Key::RPN, Key::RPP, Key::DTL};
    // The values as the record's getters give them, blanks trimmed, in the file's own bytes.
    QByteArray &text = m_scratch;
    text.clear();
    for (Key k : kKeys) {
        QByteArrayView v = fields.text[int(k)];
        while (!v.isEmpty() && v.front() == ' ')
            v = v.sliced(1);
        while (!v.isEmpty() && v.back() == ' ')
            v.chop(1);
        text += v;
        text += '\0';
    }
    card.state = fields.number[int(Key::AST)];
    finish(card, text);
}

// Everything a card derives from its fields: where each begins, the folded copy the search looks
// in, the chronological value of its date and time, and the look-up keys.
bool ReportCatalog::finish(Card &card, QByteArrayView text)
{
    const char *p = text.data();
    qsizetype pos = 0;
    for (int f = 0; f < FieldCount; ++f) {
        card.at[f] = quint32(pos);
        const void *end = pos < text.size() ? std::memchr(p + pos, 0, size_t(text.size() - pos)) : nullptr;
        if (!end)
            return false; // not the fields of a card
        pos = static_cast<const char *>(end) - p + 1;
    }
    card.at[FieldCount] = quint32(pos);
    const auto bytesOf = [&](Field f) { return QByteArrayView(p + card.at[f], card.at[f + 1] - card.at[f] - 1); };

    // The folded copy follows the fields, in one allocation of the exact size.
    qsizetype folded = 0;
    for (Field f : kSearched)
        folded += bytesOf(f).size() + 1;
    QByteArray whole(pos + folded, Qt::Uninitialized);
    std::memcpy(whole.data(), p, pos);
    char *out = whole.data() + pos;
    const auto &fold = folding().byte;
    for (Field f : kSearched) {
        const QByteArrayView v = bytesOf(f);
        const char *in = v.data();
        for (qsizetype i = 0; i < v.size(); ++i)
            out[i] = fold[quint8(in[i])];
        if (f == Details && v.contains('\\')) {
            // A stored line break is a break between words: "\\n" becomes one blank.
            qsizetype to = 0;
            for (qsizetype i = 0; i < v.size(); ++i) {
                if (in[i] == '\\' && i + 1 < v.size() && in[i + 1] == 'n') {
                    out[to++] = ' ';
                    ++i;
                } else {
                    out[to++] = out[i];
                }
            }
            out += to;
        } else {
            out += v.size();
        }
        *out++ = '\0';
    }
    whole.truncate(out - whole.constData());
    card.text = whole;

    // The Date/Time cell "MM/dd/yy HH:mm", when date and time are long enough to make one.
    const QByteArrayView adt = bytesOf(Date), atm = bytesOf(Time);
    card.chrono = 0;
    if (adt.size() >= 6 && atm.size() >= 4) {
        const char bytes[14] = {adt[2], adt[3], '/', adt[4], adt[5], '/', adt[0], adt[1], ' ', atm[0], atm[1], ':', atm[2], atm[3]};
        // Only digits can make a date: any other byte may stand for itself.
        char16_t cell[14];
        for (int i = 0; i < 14; ++i)
            cell[i] = quint8(bytes[i]);
        card.chrono = ReportList::chronoValue(QStringView(cell, 14));
    }
    QVarLengthArray<char, 256> form;
    addressFormInto(bytesOf(Location), form);
    card.addressKey = keyOf(QByteArrayView(form.constData(), form.size()));
    form.clear();
    phoneFormInto(bytesOf(Phone), form);
    card.phoneKey = keyOf(QByteArrayView(form.constData(), form.size()));
    return pos == text.size();
}

void ReportCatalog::appendSortKey(int slot, int column, QByteArray &out) const
{
    const Card &card = m_cards[slot];
    const auto &rank = folding().rank;
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

QByteArrayView ReportCatalog::fieldBytes(int slot, Field f) const
{
    const Card &card = m_cards[slot];
    if (!card.live)
        return {};
    return QByteArrayView(card.text.constData() + card.at[f], card.at[f + 1] - card.at[f] - 1);
}

QString ReportCatalog::field(int slot, Field f) const
{
    return CodePage::decode(fieldBytes(slot, f));
}

QString ReportCatalog::cell(int slot, int column) const
{
    switch (column) {
    case ReportList::Idx: return m_cards[slot].name;
    case ReportList::State: return stateText(m_cards[slot].state);
    case ReportList::EventId: return field(slot, EventId);
    case ReportList::Type: return field(slot, Type);
    case ReportList::Issue: return field(slot, Issue);
    case ReportList::Location: return field(slot, Location);
    case ReportList::City: return field(slot, City);
    case ReportList::DateTime:
        return m_cards[slot].state == ReportList::NotAReport ? QString()
                                                             : ReportList::dateTimeCell(field(slot, Date), field(slot, Time));
    default: return {};
    }
}

ReportList::Row ReportCatalog::row(int slot) const
{
    ReportList::Row r;
    r.state = m_cards[slot].state;
    for (int c = 0; c < ReportList::ColumnCount; ++c)
        r.cells[c] = cell(slot, c);
    return r;
}

QList<int> ReportCatalog::liveSlots() const
{
    QList<int> result;
    result.reserve(m_slotOf.size());
    for (int s = 0; s < slotCount(); ++s) {
        if (m_cards[s].live)
            result.append(s);
    }
    return result;
}

int ReportCatalog::compare(int a, int b, int column) const
{
    const Card &x = m_cards[a], &y = m_cards[b];
    int c = 0;
    switch (column) {
    case ReportList::Idx: c = x.name.toCaseFolded().compare(y.name.toCaseFolded()); break;
    case ReportList::State: c = compareFolded(stateBytes(x.state), stateBytes(y.state)); break;
    case ReportList::EventId: c = compareFolded(fieldBytes(a, EventId), fieldBytes(b, EventId)); break;
    case ReportList::Type: c = compareFolded(fieldBytes(a, Type), fieldBytes(b, Type)); break;
    case ReportList::Issue: c = compareFolded(fieldBytes(a, Issue), fieldBytes(b, Issue)); break;
    case ReportList::Location: c = compareFolded(fieldBytes(a, Location), fieldBytes(b, Location)); break;
    case ReportList::City: c = compareFolded(fieldBytes(a, City), fieldBytes(b, City)); break;
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

QList<Notice> ReportCatalog::unreadable() const
{
    QList<Notice> notices;
    for (auto it = m_failures.cbegin(); it != m_failures.cend(); ++it)
        notices.append(it.value());
    std::sort(notices.begin(), notices.end(), [](const Notice &a, const Notice &b) { return a.text < b.text; });
    return notices;
}

// --- the look-up forms ----------------------------------------------------------------------

QByteArray ReportCatalog::addressForm(QByteArrayView text)
{
    QByteArray form;
    addressFormInto(text, form);
    return form;
}

QByteArray ReportCatalog::phoneForm(QByteArrayView text)
{
    QByteArray digits;
    phoneFormInto(text, digits);
    return digits;
}

quint32 ReportCatalog::keyOf(QByteArrayView form)
{
    return form.isEmpty() ? 0 : quint32(qHash(form)) | 1u;
}

std::optional<QByteArray> ReportCatalog::searchForm(QStringView text)
{
    if (!CodePage::canEncode(text))
        return std::nullopt;
    QByteArray bytes = CodePage::encode(text);
    const auto &fold = folding().byte;
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
