#pragma once

#include <QObject>
#include <QString>
#include <functional>

class QSocketNotifier;

// The system's notices of changes in one folder as they are made: the names of the entries
// created, removed, renamed or written. Only where the system delivers them (Linux); elsewhere
// isOpen() is false, and the folder has to be watched another way.
class FolderNotices : public QObject {
    Q_OBJECT

public:
    explicit FolderNotices(const QString &folder, QObject *parent = nullptr);
    ~FolderNotices() override;

    // True when notices of the folder come.
    bool isOpen() const;
    // True for a folder on a network file system, where a change made by another computer is
    // never told.
    static bool onNetworkFileSystem(const QString &folder);

    // Takes the notices queued by now: `named` is called with the name of each entry they name.
    // `lost` is set when the system lost notices, `folderGone` when the folder watched is gone or
    // moved away (its successor is watched only after watchAgain()).
    void take(const std::function<void(const QString &)> &named, bool *lost, bool *folderGone);
    // Watches whatever folder now stands at the path; false when none does.
    bool watchAgain();

signals:
    // Notices are queued: take() them.
    void arrived();

private:
    QString m_folder;
    int m_fd = -1;
    QSocketNotifier *m_notifier = nullptr;
};
