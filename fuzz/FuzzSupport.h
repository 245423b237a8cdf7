#pragma once

// What every fuzz target shares: a quiet event log and notifier (the loaders' messages are
// expected here, by the thousand), and one scratch program folder for the run.

#include "support/Platform.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace Fuzz {

class Quiet : public EventLog, public Notifier {
public:
    void error(const QString &) override {}
    void show(const Notice &) override {}
};

// Sets up the quiet sinks and the scratch folder once; returns the folder.
inline const QString &Folder()
{
    static Quiet quiet;
    static QTemporaryDir *dir = [] {
        static int argc = 1;
        static char name[] = "fuzz";
        static char *argv[] = {name, nullptr};
        new QCoreApplication(argc, argv);
        EventLog::install(&quiet);
        Notifier::install(&quiet);
        auto *d = new QTemporaryDir;
        QDir(d->path()).mkpath(QStringLiteral("msg.d"));
        QDir(d->path()).mkpath(QStringLiteral("logs"));
        return d;
    }();
    static const QString path = dir->path();
    return path;
}

inline void WriteAll(const QString &path, const uint8_t *data, size_t size)
{
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        abort();
    f.write(reinterpret_cast<const char *>(data), qint64(size));
}

} // namespace Fuzz
