#include "store/ClosedForms.h"

#include "support/DatetimeLib.h"
#include "support/ErrorOut.h"
#include "support/SafeFile.h"
#include "support/ZelvatLogLib.h"

#include <QDir>
#include <QFile>
#include <algorithm>

namespace ClosedForms {

namespace {

const QString kStamp = QStringLiteral("yyyyMMdd-HHmmsszzz");

Entry entryOf(const QString &programFolder, const QString &fileName)
{
    Entry e;
    e.fileName = fileName;
    e.path = folder(programFolder) + QLatin1Char('/') + fileName;
    const qsizetype at = fileName.lastIndexOf(QLatin1Char('@'));
    if (at > 0) {
        e.name = fileName.left(at);
        e.closed = QDateTime::fromString(fileName.mid(at + 1).chopped(4), kStamp);
    }
    if (!e.closed.isValid()) {
        e.problem = QStringLiteral("its name does not say when the form was closed");
        return e;
    }
    RunError error;
    e.input = FormRecovery::readFile(programFolder, e.path, &error);
    e.problem = error.description;
    return e;
}

// Every file of the folder, newest first (the stamp sorts as the time).
QList<Entry> all(const QString &programFolder)
{
    QList<Entry> entries;
    const QStringList files = QDir(folder(programFolder)).entryList({QStringLiteral("*.rec")}, QDir::Files | QDir::System | QDir::Hidden);
    for (const QString &file : files)
        entries.append(entryOf(programFolder, file));
    std::stable_sort(entries.begin(), entries.end(), [](const Entry &a, const Entry &b) { return a.closed > b.closed; });
    return entries;
}

bool expired(const Entry &e, const QDateTime &now)
{
    return e.closed.secsTo(now) > qint64(KeepHours) * 3600;
}

} // namespace

QString folder(const QString &programFolder)
{
    return FormRecovery::folder(programFolder) + QStringLiteral("/closed");
}

bool keep(const QString &programFolder, const QString &name, const QDateTime &now, RunError *error)
{
    if (!QDir().mkpath(folder(programFolder)))
        return ErrorOut::set(error, ErrorOut::told(RunError::PathFileAccessError,
                                                    QStringLiteral("the folder %1 cannot be made")
                                                        .arg(QDir::toNativeSeparators(folder(programFolder)))));
    const QString target = folder(programFolder) + QLatin1Char('/') + name + QLatin1Char('@') + now.toString(kStamp)
        + QStringLiteral(".rec");
    RunError moved;
    if (!SafeFile::moveNew(FormRecovery::pathFor(programFolder, name), target, &moved))
        return ErrorOut::set(error, ErrorOut::passedUp(moved));
    // It is kept; what could not be cleared away is cleared at the next close.
    if (RunError pruned; !prune(programFolder, now, &pruned))
        ZelvatLogLib::WriteLogLine(QStringLiteral("Recovery: an old closed report could not be removed: ") + pruned.description);
    return true;
}

QList<Entry> list(const QString &programFolder, const QDateTime &now)
{
    QList<Entry> shown;
    for (const Entry &e : all(programFolder)) {
        if (!e.input || !expired(e, now))
            shown.append(e);
    }
    return shown;
}

bool prune(const QString &programFolder, const QDateTime &now, RunError *error)
{
    int kept = 0;
    for (const Entry &e : all(programFolder)) {
        if (!e.input)
            continue; // never removed: put aside where it is named
        if (!expired(e, now) && ++kept <= KeepCount)
            continue;
        QFile file(e.path);
        if (!file.remove())
            return ErrorOut::set(error, ErrorOut::passedUp(RunError::fromFile(file)));
    }
    return true;
}

std::optional<FormRecovery::Input> reopen(const QString &programFolder, const QString &fileName, RunError *error)
{
    Entry e = entryOf(programFolder, fileName);
    if (!e.input) {
        ErrorOut::set(error, ErrorOut::told(RunError::InvalidFileFormat, e.problem));
        return std::nullopt;
    }
    RunError moved;
    if (!SafeFile::moveNew(e.path, FormRecovery::pathFor(programFolder, e.name), &moved)) {
        ErrorOut::set(error, ErrorOut::passedUp(moved));
        return std::nullopt;
    }
    return e.input;
}

QString describe(const Entry &entry, const QDateTime &now)
{
    const FormRecovery::Input &input = *entry.input;
    const QString issue = input.record.ISS().isEmpty() ? QStringLiteral("(no issue yet)") : input.record.ISS();
    const QString format = entry.closed.date() == now.date() ? QStringLiteral("HH:mm") : QStringLiteral("dd-MMM-yy HH:mm");
    return QStringLiteral("%1, %2, closed %3").arg(input.record.EID(), issue, entry.closed.toString(format));
}

} // namespace ClosedForms
