#include "common/Capture.h"

#include <QFile>
#include <QTest>

Capture::Capture()
    : m_previousLog(&EventLog::current())
    , m_previousNotifier(&Notifier::current())
{
    EventLog::install(this);
    Notifier::install(this);
}

Capture::~Capture()
{
    EventLog::install(m_previousLog);
    Notifier::install(m_previousNotifier);
}

QStringList Capture::noticeTexts() const
{
    QStringList texts;
    for (const Notice &n : notices)
        texts.append(n.text);
    return texts;
}

QByteArray readFile(const QString &path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return f.readAll();
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("cannot write %s", qPrintable(path));
    f.write(bytes);
}
