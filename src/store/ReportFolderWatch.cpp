#include "store/ReportFolderWatch.h"

#include "store/ReportFileName.h"
#include "support/FolderNotices.h"

#include <QDateTime>
#include <QFileSystemWatcher>
#include <QTimer>

ReportFolderWatch::ReportFolderWatch(const QString &messageFolder, QObject *parent)
    : QObject(parent)
    , m_folder(messageFolder)
{
    m_pool.setMaxThreadCount(1);
    m_settle = new QTimer(this);
    m_settle->setSingleShot(true);
    m_settle->setInterval(SettleNoticesMs);
    connect(m_settle, &QTimer::timeout, this, &ReportFolderWatch::changed);
    m_look = new QTimer(this);
    connect(m_look, &QTimer::timeout, this, &ReportFolderWatch::startLook);
    startNotices();
    m_look->start(lookInterval());
}

ReportFolderWatch::~ReportFolderWatch()
{
    // A look still running posts its result to this object; it is dropped with it.
    m_pool.waitForDone();
}

void ReportFolderWatch::startNotices()
{
    m_notices = new FolderNotices(m_folder, this);
    if (m_notices->isOpen()) {
        m_networkFolder = FolderNotices::onNetworkFileSystem(m_folder);
        connect(m_notices, &FolderNotices::arrived, this, [this] {
            readNotices();
            if (noticesDelivered())
                noticed();
        });
        return;
    }
    delete m_notices;
    m_notices = nullptr;
    // Elsewhere the folder's watcher says that something changed, not what.
    m_fallback = new QFileSystemWatcher(this);
    if (!m_fallback->addPath(m_folder)) {
        delete m_fallback;
        m_fallback = nullptr;
        return;
    }
    connect(m_fallback, &QFileSystemWatcher::directoryChanged, this, [this] {
        m_everything = true;
        noticed();
    });
}

bool ReportFolderWatch::noticesDelivered() const
{
    // A folder watcher alone tells of files added and removed, not of every file rewritten in place.
    return m_notices && !m_watchLost && !m_networkFolder && !m_ignoreNotices;
}

void ReportFolderWatch::ignoreNotices(bool ignore)
{
    m_ignoreNotices = ignore;
    m_look->start(lookInterval());
}

int ReportFolderWatch::lookInterval() const
{
    return noticesDelivered() ? LookWithNoticesMs : LookWithoutNoticesMs;
}

void ReportFolderWatch::readNotices()
{
    if (!m_notices)
        return;
    bool lost = false, folderGone = false;
    m_notices->take(
        [this](const QString &name) {
            if (ReportFileName::isReportFile(name))
                m_changes.insert(name);
        },
        &lost, &folderGone);
    if (lost || folderGone)
        m_everything = true; // notices were lost, or the folder itself changed
    if (folderGone && !m_watchLost) {
        // The folder watched is gone or moved away; its successor is watched once found.
        m_watchLost = true;
        m_look->start(lookInterval());
    }
}

void ReportFolderWatch::noticed()
{
    if ((m_everything || !m_changes.isEmpty()) && !m_settle->isActive())
        m_settle->start();
}

QStringList ReportFolderWatch::takeChanges(bool *everything)
{
    // What the system has queued by now is taken too: a save made a moment ago is in it.
    readNotices();
    *everything = m_everything || !noticesDelivered();
    m_everything = false;
    QStringList names(m_changes.cbegin(), m_changes.cend());
    m_changes.clear();
    return names;
}

void ReportFolderWatch::startLook()
{
    if (m_watchLost && m_notices && m_notices->watchAgain()) {
        m_watchLost = false;
        m_look->start(lookInterval());
    }
    if (m_looking)
        return;
    m_looking = true;
    const QString folder = m_folder;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    // The folder is listed when its identity cannot tell: at the first look, after one that found
    // a new identity, and once a whole look is due.
    const bool listAnyway = !m_lookedAtSettled || now - m_wholeLookMs >= m_fullLookMs || now < m_wholeLookMs;
    const SafeFile::FolderIdentity last = m_lookedAt;
    m_pool.start([this, folder, listAnyway, last] {
        const SafeFile::FolderIdentity identity = SafeFile::folderIdentity(folder);
        if (!listAnyway && identity == last) {
            QMetaObject::invokeMethod(this, [this, identity] { lookDone(identity, nullptr); }, Qt::QueuedConnection);
            return;
        }
        // The identity is taken before the listing: a change made meanwhile moves it after.
        const ReportCatalog::Listing listing = ReportCatalog::listFolder(folder);
        QMetaObject::invokeMethod(
            this, [this, identity, listing] { lookDone(identity, &listing); }, Qt::QueuedConnection);
    });
}

void ReportFolderWatch::lookDone(const SafeFile::FolderIdentity &identity, const ReportCatalog::Listing *listing)
{
    m_looking = false;
    if (!listing) {
        ++m_skippedLooks;
        return;
    }
    ++m_wholeLooks;
    m_lookedAt = identity;
    m_wholeLookMs = listing->startedMs;
    // Trusted only when the folder was quiet for the settling time before the look began.
    const qint64 quietSinceNs = (m_wholeLookMs - m_settleMs) * 1000000;
    m_lookedAtSettled = identity.kind == SafeFile::Kind::Directory && identity.modifiedNs < quietSinceNs
        && identity.changedNs < quietSinceNs;
    emit looked(*listing);
}
