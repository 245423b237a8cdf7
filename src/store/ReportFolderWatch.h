#pragma once

#include "store/ReportCatalog.h"
#include "support/SafeFile.h"

#include <QObject>
#include <QSet>
#include <QThreadPool>

class FolderNotices;
class QFileSystemWatcher;
class QTimer;

// Keeps watch on a message folder for changes made by other programs (the headless client, a
// second operator position on a shared folder): the system's change notices where they are
// delivered, and a periodic look at the whole folder, made on a worker thread, where they are
// not (a network file system) and, rarely, as a safety net where they are.
//
// A periodic look costs what changed: it first compares the folder's own identity
// (SafeFile::folderIdentity) with the one the last whole look found, and lists the folder only
// when it moved. Every save ends in a rename inside the folder, which moves it; what is made
// inside the positions' own folders there (.inuse, .versions, .writers) does not. A program
// that rewrites a report in place leaves it as it was: a whole look is made every
// fullLookInterval() regardless. An identity that was new when it was found (within the
// catalog's settling time) is not trusted, as the catalog trusts no card read that soon: two
// changes within one tick of the folder's clock could leave the same one. The same holds where
// notices are delivered, for the seldom look there.
class ReportFolderWatch : public QObject {
    Q_OBJECT

public:
    // Notices are collected this long before changed() is said, so a burst is one refresh.
    static constexpr int SettleNoticesMs = 100;
    // The periodic look: often where notices fail, seldom where they arrive.
    static constexpr int LookWithoutNoticesMs = 1500;
    static constexpr int LookWithNoticesMs = 30000;
    static constexpr int FullLookMs = 60000;

    explicit ReportFolderWatch(const QString &messageFolder, QObject *parent = nullptr);
    ~ReportFolderWatch() override;

    // True when the system tells of changes in the folder as they are made. False on a network
    // file system, where a change made by another computer is never told.
    bool noticesDelivered() const;
    // Treats the folder as one whose notices fail (for an installation that knows better than
    // the file-system type, and for tests).
    void ignoreNotices(bool ignore);
    int lookInterval() const;
    int fullLookInterval() const { return m_fullLookMs; }
    void setFullLookInterval(int ms) { m_fullLookMs = ms; }
    // How long the folder must have been quiet before a look for its identity to be trusted.
    void setSettleMs(qint64 ms) { m_settleMs = ms; }
    // A periodic look, now (as the timer starts one); nothing when one is under way.
    void look() { startLook(); }
    // Periodic looks that listed the folder, and those that found its identity as it was.
    int wholeLooks() const { return m_wholeLooks; }
    int skippedLooks() const { return m_skippedLooks; }

    // The report files named in notices since the last call. `everything` is set when only a
    // look at the whole folder can tell what changed: at the start, after the system lost
    // notices or the folder was replaced, and always where notices are not delivered.
    QStringList takeChanges(bool *everything);

signals:
    // Notices arrived: takeChanges() says what they named.
    void changed();
    // A periodic look at the whole folder, ready to be applied to a catalog.
    void looked(const ReportCatalog::Listing &listing);

private:
    void startNotices();
    void readNotices();
    void noticed();
    void startLook();
    void lookDone(const SafeFile::FolderIdentity &identity, const ReportCatalog::Listing *listing);

    QString m_folder;
    QSet<QString> m_changes;
    bool m_everything = true;
    bool m_ignoreNotices = false;
    bool m_networkFolder = false;
    bool m_looking = false;
    bool m_watchLost = false;
    FolderNotices *m_notices = nullptr; // the system's notices, where it delivers them
    QFileSystemWatcher *m_fallback = nullptr;
    QTimer *m_settle = nullptr;
    QTimer *m_look = nullptr;
    QThreadPool m_pool;
    // What the last whole look found of the folder itself; whether it can be trusted.
    SafeFile::FolderIdentity m_lookedAt;
    bool m_lookedAtSettled = false;
    qint64 m_wholeLookMs = 0; // the real clock when the last look that listed the folder began
    int m_fullLookMs = FullLookMs;
    qint64 m_settleMs = ReportCatalog::DefaultSettleMs;
    int m_wholeLooks = 0;
    int m_skippedLooks = 0;
};
