#pragma once

#include "store/ReportList.h"
#include "store/ZelvatMsg.h"
#include "support/Platform.h"
#include "support/RunError.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <array>
#include <memory>
#include <optional>
#include <vector>

class ReportFieldsReader;
class ReportSearch;

// Every report of a message folder as the report list, the search and the repeat-caller hint see
// it: one card per report file, kept between refreshes and keyed by the file's identity (size,
// modification time to the nanosecond, inode). A refresh reads only the files that are new or
// changed and drops the cards of files that are gone, so it costs what changed, not what exists;
// what it holds afterwards is always what a full read of the folder gives. The main window, the
// headless client and the report form's hint share it.
//
// A file changed twice within the resolution of its file system's clock could keep its identity;
// a card read less than settleMs() after its file's modification time is therefore read again at
// every refresh until the file has been quiet that long.
class ReportCatalog {
public:
    // What tells one version of a report file from another.
    struct Identity {
        qint64 size = -1;
        qint64 modifiedNs = 0; // since the epoch
        quint64 inode = 0;
        friend bool operator==(const Identity &, const Identity &) = default;
    };

    // Report files as one look at the message folder found them: every entry whose name ends in
    // ".911", or only the named ones. A link is not followed: like a pipe or a folder, it is
    // listed as what it is, never to be opened (its identity's size is -1).
    struct Listing {
        struct File {
            QString fileName;
            Identity identity;
        };
        QList<File> files;
        QStringList lookedFor;  // a look at named files: the names; gone ones are missing from `files`
        bool whole = true;      // every file of the folder was looked at
        qint64 startedMs = 0;   // the real clock before the first file was looked at
    };
    // Both are plain functions of the file system, safe on any thread.
    static Listing listFolder(const QString &messageFolder);
    static Listing lookAt(const QString &messageFolder, const QStringList &fileNames);

    // The fields a card keeps, beside the file name and the state.
    enum Field { EventId, MessageId, Type, Issue, Location, City, Date, Time, Person, Phone, Details, FieldCount };

    static constexpr qint64 DefaultSettleMs = 3000;

    // The catalog of `programFolder`/msg.d; its index file is `programFolder`/Zelvatcts.idx.
    explicit ReportCatalog(const QString &programFolder);
    ~ReportCatalog();
    ReportCatalog(const ReportCatalog &) = delete;
    ReportCatalog &operator=(const ReportCatalog &) = delete;

    QString messageFolder() const;
    QString indexPath() const { return m_indexPath; }

    // The whole folder: lists it, reads what is new or changed, drops what is gone.
    void refresh();
    // Only the named files ("ABC26320.100.911"), as a file-system watcher reports them.
    void refresh(const QStringList &fileNames);
    // A look made elsewhere (on another thread): applied as the refreshes above apply their own.
    // A card read after the look began is newer than the look and stays as it is.
    void apply(const Listing &listing);

    // Cards from the index file, into an empty catalog. Every card is checked against its file
    // at the next whole refresh, so one should follow at once. False when there is no index or
    // it cannot be trusted (damaged, written by another version); the catalog then stays empty.
    bool loadIndex();
    // Writes the index of the cards that can be trusted later, all or nothing.
    bool saveIndex(RunError *error) const;
    // True when cards were read or dropped since the index was loaded or saved.
    bool changedSinceIndex() const { return m_changedSinceIndex; }

    void setSettleMs(qint64 ms) { m_settleMs = ms; }
    qint64 settleMs() const { return m_settleMs; }

    // Files read by the last refresh or apply (loaded through the report record).
    int filesRead() const { return m_filesRead; }

    // Every change of a slot (a card read, a file new or gone) counts one. The slots changed
    // since the count was `count`, each once; false when the catalog no longer knows, and every
    // slot must be looked at.
    quint64 changeCount() const { return m_changeCount; }
    bool changedSince(quint64 count, QList<int> *changed) const;

    // Cards are held in slots. A slot's birth changes when it is given to another file, its
    // generation whenever its card changes in any way.
    int slotCount() const { return int(m_cards.size()); }
    int liveCount() const { return int(m_slotOf.size()); }
    bool isLive(int slot) const { return m_cards[slot].live; }
    quint32 birth(int slot) const { return m_cards[slot].birth; }
    quint32 generation(int slot) const { return m_cards[slot].generation; }
    int slotOf(const QString &fileName) const { return m_slotOf.value(fileName, -1); }
    QList<int> liveSlots() const;

    // The report name (the file name without ".911"), as the list's Idx column shows it.
    const QString &name(int slot) const { return m_cards[slot].name; }
    const QString &fileName(int slot) const { return m_cards[slot].fileName; }
    qint16 state(int slot) const { return m_cards[slot].state; }
    QString field(int slot, Field f) const;
    // The State cell of a state ("Not a report" for ReportList::NotAReport).
    static QString stateText(qint16 state);
    // The list's cell of a column (ReportList::Column), and the whole row.
    QString cell(int slot, int column) const;
    ReportList::Row row(int slot) const;
    // The Date/Time cell's chronological value (ReportList::chronoValue).
    double chrono(int slot) const { return m_cards[slot].chrono; }

    // Negative, zero or positive as the slots' rows order in a column, exactly as
    // ReportList::sortKey orders them.
    int compare(int a, int b, int column) const;
    // The slot's sort key of a column, appended to `out`: keys compared byte by byte order as
    // compare() does.
    void appendSortKey(int slot, int column, QByteArray &out) const;
    // The slots in the order of a column, ascending; with `places`, each one's place in that
    // order, slots equal in it sharing one.
    QList<int> sorted(const QList<int> &among, int column, QList<qint32> *places = nullptr) const;
    // The live slots of a folder (0 for All), in the list's default order (by City).
    QList<int> rowsOf(int folder) const;

    // Whether the card holds every word of the search in its event ID, issue, location, city,
    // reporting person, phone or details (case ignored).
    bool matches(int slot, const ReportSearch &search) const;
    // Keys of the repeat-caller look-up: 0 when the card has no address, or no phone of seven
    // digits or more.
    quint32 addressKey(int slot) const { return m_cards[slot].addressKey; }
    quint32 phoneKey(int slot) const { return m_cards[slot].phoneKey; }

    // What the loader said about each file that cannot be read now, one notice per file.
    QList<Notice> unreadable() const;

    // The text forms the look-ups compare: an address folded to one case with every blank
    // removed, and the digits of a phone number (empty for fewer than seven). In code-page bytes.
    static QByteArray addressForm(QByteArrayView codePageText);
    static QByteArray phoneForm(QByteArrayView codePageText);
    static quint32 keyOf(QByteArrayView form);
    // Code-page bytes folded to one case for the search; nothing when the text holds a
    // character no report can hold.
    static std::optional<QByteArray> searchForm(QStringView text);
    // The bytes of a field, as stored (code page).
    QByteArrayView fieldBytes(int slot, Field f) const;

private:
    struct Card {
        QString fileName;
        QString name;
        QByteArray text; // the fields in code-page bytes, each ended by a zero byte, then the searched ones folded
        std::array<quint32, FieldCount + 1> at {}; // where each field begins; the last: the folded part
        Identity identity;
        qint64 readAtMs = 0;
        double chrono = 0;
        quint32 addressKey = 0;
        quint32 phoneKey = 0;
        quint32 birth = 0;
        quint32 generation = 0;
        qint16 state = 0;
        bool live = false;
        bool settled = false; // the file was quiet long before it was read: its identity can be trusted
    };

    QString reportNameOf(const QString &fileName);
    int takeSlot(const QString &fileName, const QString &name);
    void drop(int slot);
    void read(int slot, const Identity &identity, qint64 lookedAtMs, ReportFieldsReader &fields);
    void fill(Card &card, const ZelvatMsg::Fields &fields);
    static bool finish(Card &card, QByteArrayView text);
    static bool ownFile(const Card &card);
    void logChange(int slot);

    QString m_programFolder;
    QString m_indexPath;
    std::unique_ptr<ZelvatMsg> m_reader;
    std::vector<Card> m_cards;
    std::vector<int> m_free;
    QHash<QString, int> m_slotOf;      // by file name
    QHash<int, Notice> m_failures;     // by slot: the loader's notice of a file that cannot be read
    QSet<QString> m_excludedLogged;    // file names left out of the list, told to the event log once
    qint64 m_settleMs = DefaultSettleMs;
    QByteArray m_scratch; // a card's fields while they are gathered
    int m_filesRead = 0;
    bool m_changedSinceIndex = false;
    static constexpr size_t kChangeLogSize = 4096;
    quint64 m_changeCount = 0;
    std::vector<std::pair<quint64, int>> m_changeLog; // (count, slot), oldest first
};

// The words of a search of the report list: what the operator typed, split at blanks. A report
// matches when every word is part of one of its searched fields, case ignored.
class ReportSearch {
public:
    ReportSearch() = default;
    explicit ReportSearch(const QString &text);

    bool isEmpty() const { return m_words.isEmpty() && !m_impossible; }
    const QString &text() const { return m_text; }
    // The words, folded; a word with a character no report can hold matches nothing.
    const QList<QByteArray> &words() const { return m_words; }
    bool impossible() const { return m_impossible; }
    bool sameWords(const ReportSearch &other) const { return m_words == other.m_words && m_impossible == other.m_impossible; }

private:
    QString m_text;
    QList<QByteArray> m_words;
    bool m_impossible = false;
};
