#pragma once

#include <QLockFile>
#include <QString>

// One send per report at a time, across every program on the message folder (the window, the
// headless client, a second position on a shared folder): a lock file beside the report,
// "NAME.911.lock", taken before the report's state is read and held until its final save.
class SendLock {
public:
    // Tries once, without waiting; `messageFolder` is the folder of the report files.
    SendLock(const QString &messageFolder, const QString &name);

    bool locked() const { return m_locked; }
    // Why the lock could not be had: which program holds it, or why it cannot be made.
    QString why() const { return m_why; }

private:
    QLockFile m_file;
    bool m_locked = false;
    QString m_why;
};
