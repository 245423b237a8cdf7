#pragma once

#include "store/ReportCatalog.h"

#include <QFutureWatcher>
#include <QObject>
#include <QThreadPool>

class ReportFolderWatch;

// Keeps a catalog current with its message folder: the first look at the folder, taken on a
// worker thread while the rows of the last run are read back; the folder watch's notices; its
// periodic looks. The window asks for updates before it fills its list, and is told when the
// catalog took in something it did not ask for.
class CatalogUpdates : public QObject {
    Q_OBJECT

public:
    explicit CatalogUpdates(ReportCatalog *catalog, QObject *parent = nullptr);
    ~CatalogUpdates() override;

    // Starts the watch, then the first look (after the watch, so that what changes in between is
    // named by the watch).
    void start();
    ReportFolderWatch *watch() const { return m_watch; }

    // The catalog learns what changed in the folder: the files the watch was told of, or the whole
    // folder where it cannot tell. The rows the index held stand until the first look is ready;
    // without an index every file is read, and the first look is waited for.
    void update();
    // Every file is read again.
    void reread();

signals:
    // A notice or a periodic look was taken in.
    void changed();
    // The first look, ready after the rows of the index were shown, was taken in.
    void firstLookTaken();

private:
    void firstLookReady();

    ReportCatalog *m_catalog;
    ReportFolderWatch *m_watch = nullptr;
    QThreadPool m_pool;
    QFutureWatcher<ReportCatalog::Listing> m_firstLook; // the folder as start-up found it
    bool m_firstLookPending = false;                    // made and not yet taken in
    bool m_updateAwaits = false;                        // an update waits for the first look
};
