#include "link/SendLock.h"

#include <QDir>

SendLock::SendLock(const QString &messageFolder, const QString &name)
    : m_file(QDir(messageFolder).filePath(name + QStringLiteral(".911.lock")))
{
    // A send can wait long for its answer: only a lock left by a process that is gone is stale.
    m_file.setStaleLockTime(0);
    m_locked = m_file.tryLock(0);
    if (m_locked)
        return;
    qint64 pid = 0;
    QString host, application;
    if (m_file.error() == QLockFile::LockFailedError && m_file.getLockInfo(&pid, &host, &application))
        m_why = QStringLiteral("%1 is being sent by another program (%2, process %3 on %4)")
                    .arg(name, application.isEmpty() ? QStringLiteral("unnamed") : application)
                    .arg(pid)
                    .arg(host);
    else
        m_why = QStringLiteral("the lock file %1.911.lock cannot be made in %2 (the folder is read-only, or the disk is full)")
                    .arg(name, messageFolder);
}
