#include "link/CommLog.h"

#include "link/MessageText.h"
#include "link/ServerSession.h"
#include "settings/ZelvatIni.h"
#include "store/ReportCsv.h"
#include "store/ZelvatMsg.h"
#include "support/CommonConst.h"
#include "support/SafeFile.h"

#include <QSettings>

namespace {

const QString kStamp = QStringLiteral("yyyy-MM-dd HH:mm:ss");
constexpr int kFields = 10;
// A log larger than this is not read whole (a station writes a few hundred lines a shift).
constexpr qint64 kMaxBytes = qint64(512) << 20;

// A value as one field of a line: no tab, no line break.
QString flat(QString value)
{
    for (QChar &c : value) {
        if (c == QLatin1Char('\t') || c == QLatin1Char('\r') || c == QLatin1Char('\n'))
            c = QLatin1Char(' ');
    }
    return value;
}

// "yyyy-mm-dd hh:mm:ss" read digit by digit (QDateTime::fromString takes ten times as long, and
// a long log is read whole); invalid for anything else.
QDateTime stampOf(QStringView text)
{
    static constexpr char kShape[] = "dddd-dd-dd dd:dd:dd";
    if (text.size() != 19)
        return {};
    for (int i = 0; i < 19; ++i) {
        const char16_t c = text[i].unicode();
        if (kShape[i] == 'd' ? c < u'0' || c > u'9' : c != char16_t(kShape[i]))
            return {};
    }
    const auto n = [text](int at, int digits) {
        int v = 0;
        for (int i = at; i < at + digits; ++i)
            v = v * 10 + (text[i].unicode() - '0');
        return v;
    };
    const QDate date(n(0, 4), n(5, 2), n(8, 2));
    const QTime time(n(11, 2), n(14, 2), n(17, 2));
    return date.isValid() && time.isValid() ? QDateTime(date, time) : QDateTime();
}

} // namespace

QString CommLog::path(const QString &programFolder)
{
    return programFolder + QStringLiteral("/Zelvatcts.comms");
}

const QStringList &CommLog::columns()
{
    static const QStringList names = {
        QStringLiteral("Date/Time"), QStringLiteral("Event ID"), QStringLiteral("Message ID"),
        QStringLiteral("Subject"),   QStringLiteral("Server"),   QStringLiteral("Outcome"),
        QStringLiteral("Why"),       QStringLiteral("Operator"), QStringLiteral("User ID"),
        QStringLiteral("Location"),
    };
    return names;
}

QStringList CommLog::cells(const Entry &e)
{
    return {e.when.toString(kStamp), e.eventId, e.messageId, e.subject, e.server, e.outcome, e.why, e.operatorName,
            e.userId, e.location};
}

QByteArray CommLog::line(const Entry &entry)
{
    QStringList fields = cells(entry);
    for (QString &f : fields)
        f = flat(f);
    return fields.join(QLatin1Char('\t')).toUtf8() + "\r\n";
}

bool CommLog::append(const QString &programFolder, const Entry &entry, RunError *error)
{
    return SafeFile::append(path(programFolder), line(entry), error);
}

CommLog::Period CommLog::parse(const QByteArray &bytes, const QDateTime &from, const QDateTime &to)
{
    Period period;
    qsizetype at = 0;
    while (at < bytes.size()) {
        qsizetype end = bytes.indexOf('\n', at);
        if (end < 0)
            end = bytes.size();
        QByteArrayView text(bytes.constData() + at, end - at);
        at = end + 1;
        if (text.endsWith('\r'))
            text.chop(1);
        if (text.isEmpty())
            continue;
        const QStringList fields = QString::fromUtf8(text).split(QLatin1Char('\t'));
        const QDateTime when = fields.size() == kFields ? stampOf(fields[0]) : QDateTime();
        if (!when.isValid()) {
            ++period.damaged;
            continue;
        }
        if (when < from || when > to)
            continue;
        period.entries.append(Entry{when, fields[1], fields[2], fields[3], fields[4], fields[5], fields[6], fields[7],
                                    fields[8], fields[9]});
    }
    return period;
}

bool CommLog::read(const QString &programFolder, const QDateTime &from, const QDateTime &to, Period *period,
                   RunError *error)
{
    QByteArray bytes;
    RunError failed;
    if (!SafeFile::readAll(path(programFolder), kMaxBytes, &bytes, &failed) && failed.number != RunError::FileNotFound) {
        if (error)
            *error = failed;
        return false;
    }
    *period = parse(bytes, from, to);
    return true;
}

namespace {
QSettings *userSettings(QSettings &s)
{
    s.beginGroup(QStringLiteral("CommLog"));
    return &s;
}
} // namespace

QString CommLog::incidentName()
{
    QSettings s(QSettings::NativeFormat, QSettings::UserScope, QString::fromLatin1(Zelvat::Title));
    // A name with a comma, written into the file by hand without quotes, reads as a list.
    const QVariant name = userSettings(s)->value(QStringLiteral("Incident"));
    return name.typeId() == QMetaType::QStringList ? name.toStringList().join(QStringLiteral(", ")) : name.toString();
}

void CommLog::keepIncidentName(const QString &name)
{
    QSettings s(QSettings::NativeFormat, QSettings::UserScope, QString::fromLatin1(Zelvat::Title));
    userSettings(s)->setValue(QStringLiteral("Incident"), name);
}

QByteArray CommLog::csv(const QList<Entry> &entries)
{
    QByteArray out("\xEF\xBB\xBF");
    ReportCsv::appendRow(out, columns());
    for (const Entry &e : entries)
        ReportCsv::appendRow(out, cells(e));
    return out;
}

QString CommLog::whyNotSent(const QString &failure)
{
    if (failure.contains(QLatin1String("was refused")))
        return QStringLiteral("refused");
    if (failure.contains(QLatin1String("no connection within")) || failure.contains(QLatin1String("timed out"))
        || failure.contains(QLatin1String("before the server answered")))
        return QStringLiteral("no answer");
    if (failure.contains(QLatin1String("was cancelled")))
        return QStringLiteral("interrupted");
    // The session's own words, without the server they name (it has a field of its own).
    const qsizetype colon = failure.indexOf(QLatin1String(": "));
    return colon >= 0 ? failure.mid(colon + 2) : failure;
}

CommLog::Entry CommLog::entryFor(Submission::Outcome outcome, const QString &name, const ZelvatMsg &record,
                                 bool update, const ServerSession &session, const QDateTime &when)
{
    using O = Submission::Outcome;
    Entry e;
    e.when = when;
    e.eventId = record.EID().isEmpty() ? name : record.EID();
    e.messageId = record.MID();
    e.subject = record.EID().isEmpty() ? QString() : MessageText::BuildSubject(record, update);
    e.server = session.server();
    if (const ZelvatIni *station = session.station()) {
        e.operatorName = station->Nam;
        e.userId = station->Uid;
        e.location = station->Loc;
    }
    e.outcome = QStringLiteral("not sent");
    switch (outcome) {
    case O::NotSubmittable: return {};
    case O::Sent: e.outcome = QStringLiteral("sent"); break;
    case O::SentNotMarked:
        e.outcome = QStringLiteral("sent");
        e.why = QStringLiteral("not marked Submitted");
        break;
    case O::MissingData: e.why = QStringLiteral("required fields missing"); break;
    case O::NotSaved: e.why = QStringLiteral("could not be saved"); break;
    case O::Cancelled: e.why = QStringLiteral("interrupted"); break;
    case O::NotSent: e.why = whyNotSent(session.failure()); break;
    case O::Busy: e.why = QStringLiteral("another program is sending it"); break;
    case O::AlreadySent: e.why = QStringLiteral("already sent by another program"); break;
    }
    return e;
}
