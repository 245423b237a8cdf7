#include "store/InUseMarks.h"

#include "store/SharedFolder.h"
#include "support/Platform.h"

#include <QFile>
#include <QRegularExpression>

#include <algorithm>

namespace {

constexpr qint64 kMaxMarkBytes = 4096;
const QByteArray kSuffix = QByteArrayLiteral(".mark");

// The host as it may stand in a file name: letters, digits, '.', '-' and '_' only.
QString hostPart(const QString &host)
{
    QString part;
    for (QChar c : host)
        part += (c.isLetterOrNumber() && c.unicode() < 128) || c == u'.' || c == u'-' || c == u'_' ? c : QChar(u'_');
    return part;
}

// "NAME@PID@HOST.mark": the report name is everything before the last two '@', so a name that
// holds '@' itself is still recovered whole; two positions differ in process or host.
QString fileNameOf(const QString &name, const Position &p)
{
    return QStringLiteral("%1@%2@%3.mark").arg(name).arg(p.process).arg(hostPart(p.host));
}

struct NameParts {
    QString name;
    qint64 process = 0;
};

std::optional<NameParts> partsOf(const QString &fileName)
{
    static const QRegularExpression pattern(QStringLiteral("^(.+)@(\\d+)@([^@/]+)\\.mark$"));
    const QRegularExpressionMatch m = pattern.match(fileName);
    if (!m.hasMatch())
        return std::nullopt;
    return NameParts{m.captured(1), m.captured(2).toLongLong()};
}

qint64 nowMs()
{
    return QDateTime::currentMSecsSinceEpoch();
}

} // namespace

InUseMarks::InUseMarks(const QString &messageFolder)
    : m_messageFolder(messageFolder)
{
}

InUseMarks::~InUseMarks()
{
    for (const QString &name : m_own.keys())
        unmark(name);
}

QString InUseMarks::folder() const
{
    return SharedFolder::marks(m_messageFolder);
}

QString InUseMarks::pathOf(const QString &name) const
{
    return folder() + QLatin1Char('/') + fileNameOf(name, Position::current());
}

bool InUseMarks::mark(const QString &name, RunError *error)
{
    if (!m_own.contains(name))
        m_own.insert(name, QDateTime::currentDateTimeUtc());
    if (!SharedFolder::ensure(folder(), error))
        return false;
    const QByteArray text = Position::current().toLine() + '\n'
                            + m_own.value(name).toString(Qt::ISODateWithMs).toLatin1() + '\n';
    // Rewritten whole: a new identity each time, which the looks of other positions notice. Not
    // flushed at once: a mark lost in a power cut is one that no longer counts anyway.
    const qint64 before = nowMs();
    if (!SafeFile::writeAtomically(pathOf(name), text, error, SafeFile::Flush::Later))
        return false;
    // The clock that stamps files in the folder (a file server's, on a share) against this
    // machine's, measured on the mark just written.
    SafeFile::Entry written;
    if (SafeFile::Folder(folder()).lookUp(fileNameOf(name, Position::current()), &written) && written.modifiedNs > 0)
        m_clockOffsetMs = written.modifiedNs / 1000000 - (before + nowMs()) / 2;
    return true;
}

bool InUseMarks::refresh(RunError *error)
{
    bool ok = true;
    for (const QString &name : m_own.keys())
        ok = mark(name, error) && ok;
    return ok;
}

void InUseMarks::unmark(const QString &name)
{
    if (m_own.remove(name) > 0 && SafeFile::kindOf(pathOf(name)) == SafeFile::Kind::Regular)
        QFile::remove(pathOf(name));
}

void InUseMarks::nameOnce(const SafeFile::Entry &entry, const QString &why)
{
    // Named once this run, by whichever look of the program finds it first.
    EventLog::current().errorOnce(folder() + QLatin1Char('/') + entry.fileName,
                                  QStringLiteral("The in-use mark %1/%2 %3; it is passed over.").arg(folder(), entry.fileName, why));
}

std::optional<InUseMarks::Mark> InUseMarks::readMark(const SafeFile::Folder &dir, const SafeFile::Entry &entry)
{
    const auto parts = partsOf(entry.fileName);
    QByteArray bytes;
    RunError error;
    if (!parts || !dir.readListed(entry.fileName, entry.inode, kMaxMarkBytes, &bytes, &error)) {
        if (error.number == RunError::FileNotFound)
            return std::nullopt; // removed between the listing and the read: the form closed
        nameOnce(entry, parts ? QStringLiteral("cannot be read (%1)").arg(error.description)
                              : QStringLiteral("has a name no position gives a mark"));
        return std::nullopt;
    }
    const QList<QByteArray> lines = bytes.split('\n');
    std::optional<Position> position = lines.size() >= 2 ? Position::fromLine(lines[0]) : std::nullopt;
    QDateTime since = lines.size() >= 2 ? QDateTime::fromString(QString::fromLatin1(lines[1].trimmed()), Qt::ISODateWithMs)
                                        : QDateTime();
    if (!position || !since.isValid() || position->process != parts->process) {
        nameOnce(entry, QStringLiteral("is not a mark (garbage)"));
        return std::nullopt;
    }
    return Mark{parts->name, *position, since.toUTC()};
}

// The clocks of the machines on a share differ. A mark's age is taken by the clock that stamps
// the files of the folder: this machine's now plus the offset measured on a file this object
// wrote (a mark, or a probe written once for that purpose). A mark counts for 30 seconds after
// its last write by that clock; a stamp up to 2 seconds ahead of it counts too (file times are
// coarse on some file systems), one further ahead is from a clock that cannot be trusted and
// would hold a report for ever: it does not count. Where no offset could be measured (a folder
// this program cannot write), a stamp up to 30 seconds ahead still counts.
bool InUseMarks::live(const Mark &mark, const SafeFile::Entry &entry) const
{
    if (mark.position.isThisProcess() || mark.position.isGoneOnThisHost())
        return false;
    const qint64 age = nowMs() + m_clockOffsetMs.value_or(0) - entry.modifiedNs / 1000000;
    const qint64 ahead = m_clockOffsetMs ? 2000 : kStaleMs;
    return age <= kStaleMs && age >= -ahead;
}

void InUseMarks::measureClock()
{
    const QString probe = QStringLiteral("clock@%1@%2.probe").arg(Position::current().process).arg(hostPart(Position::current().host));
    const QString path = folder() + QLatin1Char('/') + probe;
    const qint64 before = nowMs();
    if (!SafeFile::writeAtomically(path, QByteArray(), nullptr, SafeFile::Flush::Later))
        return;
    SafeFile::Entry written;
    if (SafeFile::Folder(folder()).lookUp(probe, &written) && written.modifiedNs > 0)
        m_clockOffsetMs = written.modifiedNs / 1000000 - (before + nowMs()) / 2;
    QFile::remove(path);
}

QList<InUseMarks::Mark> InUseMarks::look()
{
    QList<Mark> marks;
    const SafeFile::Kind kind = SafeFile::kindOf(folder());
    if (kind != SafeFile::Kind::Directory) {
        if (kind != SafeFile::Kind::Missing)
            nameOnce(SafeFile::Entry{QString(), kind}, QStringLiteral("is %1, not a folder").arg(SafeFile::describe(kind)));
        return marks;
    }
    const SafeFile::Folder dir(folder());
    QList<SafeFile::Entry> entries;
    dir.list(kSuffix, SafeFile::Folder::Look::Identity, &entries);
    if (!entries.isEmpty() && !m_clockOffsetMs)
        measureClock();
    QHash<QString, Seen> seen;
    for (const SafeFile::Entry &entry : std::as_const(entries)) {
        if (entry.kind != SafeFile::Kind::Regular) {
            nameOnce(entry, QStringLiteral("is %1").arg(SafeFile::describe(entry.kind)));
            continue;
        }
        // Read again only when its identity changed since the last look.
        const auto before = m_seen.constFind(entry.fileName);
        Seen now{entry.size, entry.modifiedNs, entry.inode, std::nullopt};
        if (before != m_seen.cend() && before->size == entry.size && before->modifiedNs == entry.modifiedNs
            && before->inode == entry.inode)
            now.mark = before->mark;
        else
            now.mark = readMark(dir, entry);
        if (now.mark && live(*now.mark, entry))
            marks.append(*now.mark);
        seen.insert(entry.fileName, now);
    }
    m_seen = std::move(seen);
    std::sort(marks.begin(), marks.end(), [](const Mark &a, const Mark &b) {
        return a.name != b.name ? a.name < b.name : a.since < b.since;
    });
    return marks;
}

QList<InUseMarks::Mark> InUseMarks::marksOf(const QString &name)
{
    QList<Mark> found;
    for (const Mark &m : look()) {
        if (m.name == name)
            found.append(m);
    }
    return found;
}

std::optional<InUseMarks::Mark> InUseMarks::isOpenElsewhere(const QString &name)
{
    const QList<Mark> found = marksOf(name);
    return found.isEmpty() ? std::nullopt : std::optional<Mark>(found.first());
}

QString InUseMarks::describe(const Mark &mark)
{
    return QStringLiteral("Open at %1 since %2").arg(mark.position.describe(), mark.since.toLocalTime().toString(QStringLiteral("HH:mm")));
}

QString InUseMarks::describeReport(const Mark &mark)
{
    return QStringLiteral("%1 is open at %2 since %3")
        .arg(mark.name, mark.position.describe(), mark.since.toLocalTime().toString(QStringLiteral("HH:mm")));
}

QString InUseMarks::deleteQuestion(const QStringList &names, const QString &openHere)
{
    QStringList open;
    const QList<Mark> marks = names.isEmpty() ? QList<Mark>() : look();
    for (const QString &name : names) {
        if (name == openHere)
            open << QStringLiteral("%1 is open in the report form of this program.").arg(name);
        for (const Mark &m : marks) {
            if (m.name == name)
                open << describeReport(m) + QLatin1Char('.');
        }
    }
    if (open.isEmpty())
        return QString();
    return open.join(QLatin1Char('\n'))
           + QStringLiteral("\n\nDeleting it now changes the report under that form: the form says so, "
                            "and its next save asks first. Delete anyway?");
}
