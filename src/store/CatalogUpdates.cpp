#include "store/CatalogUpdates.h"

#include "store/ReportFolderWatch.h"

#include <QPromise>

#include <memory>

CatalogUpdates::CatalogUpdates(ReportCatalog *catalog, QObject *parent)
    : QObject(parent)
    , m_catalog(catalog)
{
    m_pool.setMaxThreadCount(1);
    connect(&m_firstLook, &QFutureWatcher<ReportCatalog::Listing>::finished, this, &CatalogUpdates::firstLookReady);
}

// The watch goes first: nothing it still delivers may reach the catalog after this. A first look
// still running is waited for.
CatalogUpdates::~CatalogUpdates()
{
    delete m_watch;
    m_pool.waitForDone();
}

void CatalogUpdates::start()
{
    m_watch = new ReportFolderWatch(m_catalog->messageFolder(), this);
    connect(m_watch, &ReportFolderWatch::changed, this, [this] {
        update();
        emit changed();
    });
    connect(m_watch, &ReportFolderWatch::looked, this, [this](const ReportCatalog::Listing &listing) {
        m_catalog->apply(listing);
        emit changed();
    });
    auto promise = std::make_shared<QPromise<ReportCatalog::Listing>>();
    m_firstLook.setFuture(promise->future());
    m_firstLookPending = true;
    m_pool.start([promise, folder = m_catalog->messageFolder()] {
        promise->start();
        promise->addResult(ReportCatalog::listFolder(folder));
        promise->finish();
    });
}

void CatalogUpdates::update()
{
    if (m_firstLookPending && m_catalog->liveCount() > 0 && !m_firstLook.isFinished()) {
        m_updateAwaits = true; // done when the first look is ready
        return;
    }
    bool everything = true;
    const QStringList changed = m_watch ? m_watch->takeChanges(&everything) : QStringList();
    if (m_firstLookPending) {
        // The first look began after the watch: what changed since, the watch names.
        m_firstLookPending = false;
        m_firstLook.waitForFinished();
        m_catalog->apply(m_firstLook.result());
        if (!changed.isEmpty())
            m_catalog->refresh(changed);
        return;
    }
    if (everything)
        m_catalog->refresh();
    else if (!changed.isEmpty())
        m_catalog->refresh(changed);
}

void CatalogUpdates::reread()
{
    bool everything = true;
    if (m_watch)
        m_watch->takeChanges(&everything); // the whole folder is looked at anyway
    m_catalog->refresh();
}

// The first look at the folder is ready. When an update waits for it, the catalog takes what it
// found (files changed, added or gone while the program was not running).
void CatalogUpdates::firstLookReady()
{
    if (!m_updateAwaits || !m_firstLookPending)
        return;
    m_updateAwaits = false;
    update();
    emit firstLookTaken();
}
