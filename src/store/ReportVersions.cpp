#include "store/ReportVersions.h"

#include "store/ReportCatalog.h"
#include "store/ReportFileName.h"
#include "store/ReportList.h"
#include "store/ReportWriters.h"
#include "store/SharedFolder.h"
#include "store/ZelvatMsg.h"
#include "support/CodePage.h"
#include "support/CommonConst.h"
#include "support/ErrorOut.h"
#include "support/FileLinks.h"
#include "support/Platform.h"
#include "support/SafeFile.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSet>
#include <QSettings>
#include <QTimeZone>
#include <algorithm>
#include <atomic>

namespace {

constexpr qint64 kMaxVersionBytes = 16 * 1024 * 1024; // far over a report's; a stray file may be larger
constexpr qint64 kMaxNoteBytes = 4096;
constexpr int kMaxSameMillisecond = 100; // tokens "-00" to "-99"
const QString kNoteSuffix = QStringLiteral(".who");
const QString kTokenTime = QStringLiteral("yyyyMMdd'T'HHmmsszzz");

std::atomic<int> g_count{ReportVersions::Limits().count};
std::atomic<int> g_days{ReportVersions::Limits().days};

// Each bad entry is named in the event log once while the program runs, not at every look.
void nameOnce(const QString &path, const QString &what)
{
    EventLog::current().errorOnce(
        path, QStringLiteral("%1 is %2; passed over, not an earlier version").arg(QDir::toNativeSeparators(path), what));
}

QDateTime timeOf(const QString &token)
{
    // Read as UTC straight away: no local time of a clock change stands in the way.
    const QDate date = QDate::fromString(token.left(8), QStringLiteral("yyyyMMdd"));
    const QTime time = QTime::fromString(token.mid(9, 9), QStringLiteral("HHmmsszzz"));
    return date.isValid() && time.isValid() ? QDateTime(date, time, QTimeZone::utc()) : QDateTime();
}

// The note kept beside a version: "STATE<TAB>STATION\n", the state as the report's number.
QByteArray noteOf(qint16 state, const QString &station)
{
    return (state == ReportList::NotAReport ? QByteArray() : QByteArray::number(state)) + '\t' + station.toUtf8() + '\n';
}

// The state and station of a version's bytes, when no note says them.
void describeContent(const QByteArray &bytes, qint16 *state, QString *station)
{
    ZelvatMsg::Fields fields;
    RunError error;
    int step = 0;
    if (!ZelvatMsg::scan(bytes, &fields, &error, &step)) {
        *state = ReportList::NotAReport;
        return;
    }
    *state = fields.number[int(ZelvatMsg::Key::AST)];
    const QString ulo = CodePage::decode(fields.text[int(ZelvatMsg::Key::ULO)]).trimmed();
    const QString uid = CodePage::decode(fields.text[int(ZelvatMsg::Key::UID)]).trimmed();
    if (station && !ulo.isEmpty())
        *station = uid.isEmpty() ? ulo : QStringLiteral("%1 (%2)").arg(ulo, uid);
}

QString anotherProgram()
{
    return QStringLiteral("another program");
}

// A listed entry of a report's versions folder: a version, a note, or something passed over.
struct Listing {
    QStringList tokens; // sorted: oldest first
    QSet<QString> notes;
};

Listing listFolder(const QString &folder)
{
    Listing out;
    QList<SafeFile::Entry> entries;
    SafeFile::Folder(folder).list({}, SafeFile::Folder::Look::Identity, &entries);
    for (const SafeFile::Entry &e : entries) {
        const bool note = e.fileName.endsWith(kNoteSuffix);
        const QString token = note ? e.fileName.chopped(kNoteSuffix.size()) : e.fileName;
        // A save of a note or a copy on its way ("NAME.~XXXXXX", "TOKEN.~new..."): not ours to judge.
        if (e.fileName.contains(QLatin1String(".~")))
            continue;
        const QString path = folder + QLatin1Char('/') + e.fileName;
        if (!ReportVersions::isToken(token)) {
            nameOnce(path, QStringLiteral("no kept version's name"));
            continue;
        }
        if (e.kind != SafeFile::Kind::Regular) {
            nameOnce(path, SafeFile::describe(e.kind));
            continue;
        }
        if (note)
            out.notes.insert(token);
        else
            out.tokens.append(token);
    }
    std::sort(out.tokens.begin(), out.tokens.end());
    return out;
}

} // namespace

void ReportVersions::setLimits(const Limits &limits)
{
    g_count = std::clamp(limits.count, 0, MaxCount);
    g_days = std::clamp(limits.days, 1, MaxDays);
}

ReportVersions::Limits ReportVersions::limits()
{
    return {g_count, g_days};
}

ReportVersions::Limits ReportVersions::storedLimits()
{
    QSettings s(QSettings::NativeFormat, QSettings::UserScope, QString::fromLatin1(Zelvat::Title));
    Limits limits;
    bool ok = false;
    const int count = s.value(QStringLiteral("Versions/MaxCount")).toInt(&ok);
    if (ok && count >= 0 && count <= MaxCount)
        limits.count = count;
    const int days = s.value(QStringLiteral("Versions/MaxDays")).toInt(&ok);
    if (ok && days >= 1 && days <= MaxDays)
        limits.days = days;
    return limits;
}

void ReportVersions::storeLimits(const Limits &limits)
{
    QSettings s(QSettings::NativeFormat, QSettings::UserScope, QString::fromLatin1(Zelvat::Title));
    s.setValue(QStringLiteral("Versions/MaxCount"), limits.count);
    s.setValue(QStringLiteral("Versions/MaxDays"), limits.days);
}

ReportVersions::ReportVersions(const QString &messageFolder)
    : m_folder(messageFolder)
{
}

bool ReportVersions::isToken(const QString &text)
{
    static const QRegularExpression form(QStringLiteral("^\\d{8}T\\d{9}-\\d{2}$"));
    return form.match(text).hasMatch() && timeOf(text).isValid();
}

QString ReportVersions::folderOf(const QString &name, bool make, RunError *error) const
{
    const QString all = SharedFolder::versions(m_folder);
    const QString own = SharedFolder::versionsOf(m_folder, name);
    if (make) {
        if (!SharedFolder::ensure(all, error) || !SharedFolder::ensure(own, error))
            return {};
        return own;
    }
    for (const QString &path : {all, own}) {
        const SafeFile::Kind kind = SafeFile::kindOf(path);
        if (kind == SafeFile::Kind::Missing)
            return {};
        if (kind != SafeFile::Kind::Directory) {
            nameOnce(path, SafeFile::describe(kind));
            ErrorOut::set(error, RunError::make(RunError::PathFileAccessError,
                                                QStringLiteral("%1 is %2, not a folder")
                                                    .arg(QDir::toNativeSeparators(path), SafeFile::describe(kind))));
            return {};
        }
    }
    return own;
}

bool ReportVersions::keep(const QString &name, RunError *error)
{
    if (limits().count <= 0)
        return true;
    const QString fileName = name + QLatin1StringView(ReportFileName::Extension);
    SafeFile::Entry file;
    // Only a report file is kept; what else stands there the write itself refuses.
    if (!SafeFile::Folder(m_folder).lookUp(fileName, &file) || file.kind != SafeFile::Kind::Regular)
        return true;
    const QString folder = folderOf(name, true, error);
    if (folder.isEmpty())
        return false;
    const QString report = m_folder + QLatin1Char('/') + fileName;

    // The version gets a second name in the versions folder: the save that follows puts a new
    // file in the report's place, and the old one lives on under that name. Where the folder
    // cannot link (a share without links), a copy, which is slower but keeps the same bytes.
    const QString stamp = QDateTime::currentDateTimeUtc().toString(kTokenTime);
    QString token, kept;
    RunError why;
    bool linked = true;
    QByteArray copy;
    QString copyPath;
    for (int n = 0; n < kMaxSameMillisecond && token.isEmpty(); ++n) {
        const QString candidate = stamp + QStringLiteral("-%1").arg(n, 2, 10, QLatin1Char('0'));
        const QString path = folder + QLatin1Char('/') + candidate;
        if (linked) {
            const FileLinks::Result made = FileLinks::hardLink(report, path, &why);
            if (made == FileLinks::Result::Exists)
                continue;
            if (made == FileLinks::Result::Made) {
                token = candidate;
                kept = path;
                break;
            }
            linked = false;
            copyPath = folder + QStringLiteral("/%1.~new%2").arg(candidate).arg(QRandomGenerator::global()->generate64(), 0, 36);
            if (!SafeFile::readAll(report, kMaxVersionBytes, &copy, &why)
                || !SafeFile::writeAtomically(copyPath, copy, &why, SafeFile::Flush::Later)) {
                QFile::remove(copyPath);
                break;
            }
        }
        if (SafeFile::moveNew(copyPath, path, &why)) {
            token = candidate;
            kept = path;
        } else if (SafeFile::kindOf(path) == SafeFile::Kind::Missing) {
            break; // not taken by another: the move itself failed
        }
    }
    if (token.isEmpty()) {
        if (!copyPath.isEmpty())
            QFile::remove(copyPath);
        return ErrorOut::set(error, ErrorOut::passedUp(why));
    }

    // What history shows of it: the state its bytes hold, and the station that wrote it.
    QByteArray bytes;
    qint16 state = ReportList::NotAReport;
    QString station;
    if (SafeFile::readAll(kept, kMaxVersionBytes, &bytes, nullptr))
        describeContent(bytes, &state, &station);
    if (const auto writer = ReportWriters::writerOf(m_folder, name, file))
        station = writer->describe();
    if (station.isEmpty())
        station = anotherProgram();
    if (!SafeFile::writeAtomically(kept + kNoteSuffix, noteOf(state, station), &why, SafeFile::Flush::Later)) {
        QFile::remove(kept);
        return ErrorOut::set(error, ErrorOut::passedUp(why));
    }
    prune(folder, name);
    return true;
}

void ReportVersions::prune(const QString &folder, const QString &name) const
{
    const Limits limits = ReportVersions::limits();
    const QStringList tokens = listFolder(folder).tokens;
    const QDateTime oldest = QDateTime::currentDateTimeUtc().addDays(-limits.days);
    for (qsizetype i = 0; i < tokens.size(); ++i) {
        if (tokens.size() - i <= limits.count && timeOf(tokens[i]) >= oldest)
            continue;
        const QString path = folder + QLatin1Char('/') + tokens[i];
        QFile note(path + kNoteSuffix);
        if (SafeFile::kindOf(note.fileName()) == SafeFile::Kind::Regular)
            note.remove();
        QFile version(path);
        if (!version.remove())
            EventLog::current().error(QStringLiteral("%1: the earlier version of %2 could not be removed: %3")
                                          .arg(QDir::toNativeSeparators(path), name, version.errorString()));
    }
}

QList<ReportVersions::Version> ReportVersions::list(const QString &name) const
{
    QList<Version> versions;
    const QString folder = folderOf(name, false, nullptr);
    if (folder.isEmpty())
        return versions;
    const Listing listing = listFolder(folder);
    for (const QString &token : listing.tokens) {
        Version v{token, timeOf(token), {}, {}};
        QByteArray bytes;
        qint16 state = ReportList::NotAReport;
        const QString path = folder + QLatin1Char('/') + token;
        if (listing.notes.contains(token) && SafeFile::readAll(path + kNoteSuffix, kMaxNoteBytes, &bytes, nullptr)) {
            const QList<QByteArray> parts = bytes.trimmed().split('\t');
            bool ok = false;
            const int number = parts.value(0).toInt(&ok);
            if (ok)
                state = qint16(number);
            v.station = QString::fromUtf8(parts.value(1)).trimmed();
        } else if (SafeFile::readAll(path, kMaxVersionBytes, &bytes, nullptr)) {
            describeContent(bytes, &state, nullptr); // kept by a program that left no note
        }
        v.state = ReportCatalog::stateText(state);
        if (v.station.isEmpty())
            v.station = anotherProgram();
        versions.append(v);
    }
    return versions;
}

bool ReportVersions::read(const QString &name, const QString &token, QByteArray *bytes, RunError *error) const
{
    RunError why;
    const QString folder = folderOf(name, false, &why);
    if (folder.isEmpty() && why.number != 0)
        return ErrorOut::set(error, why);
    if (folder.isEmpty() || !isToken(token) || !listFolder(folder).tokens.contains(token))
        return ErrorOut::set(error, ErrorOut::told(RunError::FileNotFound,
                                                   QStringLiteral("%1 is no kept version of the report %2").arg(token, name)));
    return SafeFile::readAll(folder + QLatin1Char('/') + token, kMaxVersionBytes, bytes, error);
}

bool ReportVersions::restore(const QString &name, const QString &token, RunError *error)
{
    QByteArray bytes;
    if (!read(name, token, &bytes, error))
        return false;
    if (!keep(name, error))
        return false;
    if (!SafeFile::writeAtomically(m_folder + QLatin1Char('/') + name + QLatin1StringView(ReportFileName::Extension), bytes, error))
        return false;
    ReportWriters::record(m_folder, name);
    return true;
}
