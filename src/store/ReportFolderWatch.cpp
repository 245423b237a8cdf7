#include "store/ReportFolderWatch.h"

#include <QFile>
#include <QFileSystemWatcher>
#include <QSocketNotifier>
#include <QTimer>

#ifdef Q_OS_LINUX
#include <cerrno>
#include <sys/inotify.h>
#include <sys/vfs.h>
#include <unistd.h>
#endif

namespace {

#ifdef Q_OS_LINUX
constexpr uint32_t kMask = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_CLOSE_WRITE | IN_MODIFY | IN_ATTRIB
    | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

// File systems on which a change made by another computer is never noticed here.
bool isNetworkFileSystem(const QString &folder)
{
    struct statfs fs {};
    if (::statfs(QFile::encodeName(folder).constData(), &fs) != 0)
        return false;
    switch (static_cast<unsigned long>(fs.f_type)) {
    case 0x6969:     // NFS
    case 0x517B:     // SMB
    case 0xFF534D42: // CIFS
    case 0xFE534D42: // SMB2
    case 0x65735546: // FUSE (sshfs and the like)
    case 0x01021997: // 9P
    case 0x5346414F: // AFS
    case 0x00C36400: // Ceph
    case 0x73757245: // Coda
    case 0x564C:     // NCP
        return true;
    default:
        return false;
    }
}
#endif

} // namespace

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
#ifdef Q_OS_LINUX
    if (m_notifyFd >= 0)
        ::close(m_notifyFd);
#endif
}

void ReportFolderWatch::startNotices()
{
#ifdef Q_OS_LINUX
    m_networkFolder = isNetworkFileSystem(m_folder);
    m_notifyFd = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_notifyFd >= 0) {
        if (::inotify_add_watch(m_notifyFd, QFile::encodeName(m_folder).constData(), kMask) < 0) {
            ::close(m_notifyFd);
            m_notifyFd = -1;
        }
    }
    if (m_notifyFd >= 0) {
        m_notifier = new QSocketNotifier(m_notifyFd, QSocketNotifier::Read, this);
        connect(m_notifier, &QSocketNotifier::activated, this, [this] {
            readNotices();
            if (noticesDelivered())
                noticed();
        });
        return;
    }
#endif
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
#ifdef Q_OS_LINUX
    return m_notifyFd >= 0 && !m_watchLost && !m_networkFolder && !m_ignoreNotices;
#else
    // A folder watcher tells of files added and removed, not of every file rewritten in place.
    return false;
#endif
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
#ifdef Q_OS_LINUX
    if (m_notifyFd < 0)
        return;
    alignas(struct inotify_event) char buffer[16384];
    for (;;) {
        const ssize_t n = ::read(m_notifyFd, buffer, sizeof buffer);
        if (n <= 0) {
            if (n < 0 && errno == EINTR)
                continue;
            return; // nothing more for now
        }
        for (ssize_t at = 0; at + ssize_t(sizeof(struct inotify_event)) <= n;) {
            const auto *e = reinterpret_cast<const struct inotify_event *>(buffer + at);
            at += ssize_t(sizeof(struct inotify_event)) + e->len;
            if (e->mask & IN_Q_OVERFLOW)
                m_everything = true; // notices were lost
            if (e->mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) {
                // The folder watched is gone or moved away; its successor is watched once found.
                m_everything = true;
                if (!m_watchLost) {
                    m_watchLost = true;
                    m_look->start(lookInterval());
                }
            }
            if (e->mask & (IN_Q_OVERFLOW | IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED))
                continue;
            if (e->len == 0)
                continue;
            const QString name = QFile::decodeName(e->name);
            if (name.endsWith(QLatin1String(".911")))
                m_changes.insert(name);
        }
    }
#endif
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
#ifdef Q_OS_LINUX
    if (m_watchLost && m_notifyFd >= 0 && ::inotify_add_watch(m_notifyFd, QFile::encodeName(m_folder).constData(), kMask) >= 0) {
        m_watchLost = false;
        m_look->start(lookInterval());
    }
#endif
    if (m_looking)
        return;
    m_looking = true;
    const QString folder = m_folder;
    m_pool.start([this, folder] {
        const ReportCatalog::Listing listing = ReportCatalog::listFolder(folder);
        QMetaObject::invokeMethod(
            this,
            [this, listing] {
                m_looking = false;
                emit looked(listing);
            },
            Qt::QueuedConnection);
    });
}
