#pragma once

#include "store/ReportCatalog.h"

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
class ReportFolderWatch : public QObject {
    Q_OBJECT

public:
    // Notices are collected this long before changed() is said, so a burst is one refresh.
    static constexpr int SettleNoticesMs = 100;
    // The periodic look: often where notices fail, seldom where they arrive.
    static constexpr int LookWithoutNoticesMs = 1500;
    static constexpr int LookWithNoticesMs = 30000;

    explicit ReportFolderWatch(const QString &messageFolder, QObject *parent = nullptr);
    ~ReportFolderWatch() override;

    // True when the system tells of changes in the folder as they are made. False on a network
    // file system, where a change made by another computer is never told.
    bool noticesDelivered() const;
    // Treats the folder as one whose notices fail (for an installation that knows better than
    // the file-system type, and for tests).
    void ignoreNotices(bool ignore);
    int lookInterval() const;

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
};
