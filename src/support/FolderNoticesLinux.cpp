#include "support/FolderNotices.h"

#include <QFile>
#include <QSocketNotifier>

#include <cerrno>
#include <sys/inotify.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace {

constexpr uint32_t kMask = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_CLOSE_WRITE | IN_MODIFY | IN_ATTRIB
    | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

} // namespace

FolderNotices::FolderNotices(const QString &folder, QObject *parent)
    : QObject(parent)
    , m_folder(folder)
{
    m_fd = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_fd >= 0 && !watchAgain()) {
        ::close(m_fd);
        m_fd = -1;
    }
    if (m_fd >= 0) {
        m_notifier = new QSocketNotifier(m_fd, QSocketNotifier::Read, this);
        connect(m_notifier, &QSocketNotifier::activated, this, &FolderNotices::arrived);
    }
}

FolderNotices::~FolderNotices()
{
    delete m_notifier;
    if (m_fd >= 0)
        ::close(m_fd);
}

bool FolderNotices::isOpen() const
{
    return m_fd >= 0;
}

bool FolderNotices::watchAgain()
{
    return m_fd >= 0 && ::inotify_add_watch(m_fd, QFile::encodeName(m_folder).constData(), kMask) >= 0;
}

bool FolderNotices::onNetworkFileSystem(const QString &folder)
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

void FolderNotices::take(const std::function<void(const QString &)> &named, bool *lost, bool *folderGone)
{
    if (m_fd < 0)
        return;
    alignas(struct inotify_event) char buffer[16384];
    for (;;) {
        const ssize_t n = ::read(m_fd, buffer, sizeof buffer);
        if (n <= 0) {
            if (n < 0 && errno == EINTR)
                continue;
            return; // nothing more for now
        }
        for (ssize_t at = 0; at + ssize_t(sizeof(struct inotify_event)) <= n;) {
            const auto *e = reinterpret_cast<const struct inotify_event *>(buffer + at);
            at += ssize_t(sizeof(struct inotify_event)) + e->len;
            if (e->mask & IN_Q_OVERFLOW)
                *lost = true;
            if (e->mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED))
                *folderGone = true;
            if (e->mask & (IN_Q_OVERFLOW | IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED))
                continue;
            if (e->len > 0)
                named(QFile::decodeName(e->name));
        }
    }
}
