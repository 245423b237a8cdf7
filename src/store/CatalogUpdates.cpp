#include "store/CatalogUpdates.h"

#include "store/ReportFolderWatch.h"

#include <QTimer>

CatalogUpdates::CatalogUpdates(ReportCatalog *catalog, QObject *parent)
    : QObject(parent)
    , m_catalog(catalog)
{
}

// The watch goes first: nothing it still delivers may reach the catalog after this.
CatalogUpdates::~CatalogUpdates()
{
    delete m_watch;
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
    m_firstLook = std::async(std::launch::async, &ReportCatalog::listFolder, m_catalog->messageFolder());
}

void CatalogUpdates::update()
{
    if (m_firstLook.valid() && m_catalog->liveCount() > 0
        && m_firstLook.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
        awaitFirstLook();
        return;
    }
    bool everything = true;
    const QStringList changed = m_watch ? m_watch->takeChanges(&everything) : QStringList();
    if (m_firstLook.valid()) {
        // The first look began after the watch: what changed since, the watch names.
        m_catalog->apply(m_firstLook.get());
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

// Looks again shortly whether the first look at the folder is ready; when it is, the catalog
// takes what it found (files changed, added or gone while the program was not running).
void CatalogUpdates::awaitFirstLook()
{
    if (m_awaitingFirstLook)
        return;
    m_awaitingFirstLook = true;
    QTimer::singleShot(20, this, [this] {
        m_awaitingFirstLook = false;
        if (!m_firstLook.valid())
            return;
        update();
        if (!m_firstLook.valid())
            emit firstLookTaken();
    });
}
