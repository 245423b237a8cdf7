#include "store/ReportCatalog.h"

#include "store/ReportFieldsReader.h"
#include "store/ReportFileName.h"
#include "store/ZelvatMsg.h"
#include "support/CodePage.h"
#include "support/CommonConst.h"
#include "support/SafeFile.h"
#include "support/StringLib.h"

#include <QDateTime>
#include <QDir>
#include <QVarLengthArray>
#include <algorithm>
#include <climits>
#include <cstring>

namespace {

// The look-up forms, written into a buffer of the caller's.
template <typename Buffer> void addressFormInto(QByteArrayView text, Buffer &form)
{
    const auto &fold = CodePage::folding().byte;
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

// A card's identity of a folder entry. What is no regular file is never read: its size is -1, and
// its kind stands where the modification time would, so that another kind of entry is another version.
ReportCatalog::Identity identityOf(const SafeFile::Entry &entry)
{
    ReportCatalog::Identity id;
    id.inode = entry.inode;
    if (entry.kind == SafeFile::Kind::Regular) {
        id.size = entry.size;
        id.modifiedNs = entry.modifiedNs;
    } else {
        id.modifiedNs = int(entry.kind);
    }
    return id;
}

} // namespace

// --- looking at the folder ------------------------------------------------------------------

ReportCatalog::Listing ReportCatalog::listFolder(const QString &messageFolder)
{
    Listing listing;
    listing.startedMs = QDateTime::currentMSecsSinceEpoch();
    // A folder that cannot be read lists nothing, as the file list does.
    QList<SafeFile::Entry> entries;
    SafeFile::Folder(messageFolder).list(ReportFileName::Extension, SafeFile::Folder::Look::Identity, &entries);
    listing.files.reserve(entries.size());
    for (const SafeFile::Entry &entry : entries)
        listing.files.append({entry.fileName, identityOf(entry)});
    return listing;
}

ReportCatalog::Listing ReportCatalog::lookAt(const QString &messageFolder, const QStringList &fileNames)
{
    Listing listing;
    listing.whole = false;
    listing.startedMs = QDateTime::currentMSecsSinceEpoch();
    const SafeFile::Folder folder(messageFolder);
    for (const QString &fileName : fileNames) {
        if (!ReportFileName::isReportFile(fileName) || fileName.contains(QLatin1Char('/')))
            continue;
        listing.lookedFor.append(fileName);
        SafeFile::Entry entry;
        if (folder.lookUp(fileName, &entry))
            listing.files.append({fileName, identityOf(entry)});
    }
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

// The report name of a listed file, by the file list's own rule; a file the list leaves out is
// told to the event log once.
QString ReportCatalog::reportNameOf(const QString &fileName)
{
    QString excluded;
    const QString name = ReportFileName::listedName(fileName, messageFolder(), &excluded);
    if (name.isNull() && !m_excludedLogged.contains(fileName)) {
        m_excludedLogged.insert(fileName);
        EventLog::current().error(excluded);
    }
    return name;
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

// A card whose name leads the loader to another file (blanks around it) can never be trusted by
// its own file's identity.
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
        text += StringLib::trimBlanks(fields.text[int(k)]);
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
    const auto &fold = CodePage::folding().byte;
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

// The State cell. What is named like a report but is no file at all (a folder, a pipe, a link)
// has the state ReportList::NotAReport: its row is shown in every folder, for the operator to see.
QString ReportCatalog::stateText(qint16 state)
{
    return state == ReportList::NotAReport ? QStringLiteral("Not a report") : Zelvat::stateName(state);
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

