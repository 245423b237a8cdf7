#include "store/ReportConflict.h"

#include "store/FormFields.h"
#include "store/ReportWriters.h"
#include "support/CommonConst.h"
#include "support/Platform.h"

namespace {

constexpr qint64 kMaxBytes = 1024 * 1024; // the loader's own limit of a report file
constexpr int kTries = 3;

QString fileNameOf(const QString &name)
{
    return name + QStringLiteral(".911");
}

QString answer(qint16 value)
{
    return value == 1 ? QStringLiteral("Yes") : value == 0 ? QStringLiteral("No") : QString();
}

bool backToWork(qint16 state)
{
    return state == Zelvat::StateNew || state == Zelvat::StateDraft || state == Zelvat::StateReady;
}

// The loader's words about a file that reads as no report are not the operator's concern here:
// the form shows what it can of it.
struct Quiet : Notifier {
    void show(const Notice &) override {}
};

} // namespace

bool ReportConflict::sameFile(const SafeFile::Entry &a, const SafeFile::Entry &b)
{
    return a.kind == b.kind && a.size == b.size && a.modifiedNs == b.modifiedNs && a.inode == b.inode;
}

ReportConflict::Seen ReportConflict::look(const QString &messageFolder, const QString &name)
{
    const SafeFile::Folder folder(messageFolder);
    Seen seen;
    for (int i = 0; i < kTries; ++i) {
        seen = Seen();
        if (!folder.lookUp(fileNameOf(name), &seen.file)) {
            seen.file.kind = SafeFile::Kind::Missing;
            return seen;
        }
        RunError error;
        if (seen.file.kind != SafeFile::Kind::Regular || !folder.readAll(fileNameOf(name), kMaxBytes, &seen.bytes, &error))
            seen.bytes.clear();
        SafeFile::Entry after;
        if (!folder.lookUp(fileNameOf(name), &after))
            after.kind = SafeFile::Kind::Missing;
        if (sameFile(seen.file, after))
            return seen;
    }
    return seen; // written to all the while: what was read last, which the next look tells apart
}

bool ReportConflict::load(ZelvatMsg &record, const QString &name, Seen *seen)
{
    for (int i = 0; i < kTries; ++i) {
        *seen = look(record.messageFolder(), name);
        if (!record.Load(name))
            return false;
        // The record read the version looked at when the file is still that version.
        SafeFile::Entry after;
        if (!SafeFile::Folder(record.messageFolder()).lookUp(fileNameOf(name), &after))
            after.kind = SafeFile::Kind::Missing;
        if (sameFile(seen->file, after))
            return true;
    }
    // Never the same twice: no version is known, so the next save looks whatever stands there.
    seen->file = SafeFile::Entry{};
    seen->bytes.clear();
    return true;
}

ZelvatMsg ReportConflict::recordOf(const ZelvatMsg &like, const Seen &seen)
{
    ZelvatMsg record = like;
    record.Clear();
    if (!seen.bytes.isEmpty()) {
        Quiet quiet;
        ScopedNotifier scoped(&quiet);
        record.LoadBytes(seen.bytes, seen.file.fileName);
    }
    return record;
}

QList<ReportConflict::Difference> ReportConflict::differences(const ZelvatMsg &theirs, const ZelvatMsg &mine)
{
    QList<Difference> out;
    const auto add = [&out](const QString &field, const QString &a, const QString &b) {
        if (a != b)
            out.append({field, a, b});
    };
    add(QStringLiteral("Event type"), theirs.TYP(), mine.TYP());
    for (const FormFields::Box &b : FormFields::boxes())
        add(QString::fromLatin1(b.name), FormFields::shownValue(b, theirs), FormFields::shownValue(b, mine));
    add(QStringLiteral("Conscious?"), answer(theirs.CON()), answer(mine.CON()));
    add(QStringLiteral("Breathing?"), answer(theirs.BRE()), answer(mine.BRE()));
    add(QStringLiteral("State"), Zelvat::stateName(theirs.AST()), Zelvat::stateName(mine.AST()));
    return out;
}

ReportConflict::Finding ReportConflict::examine(const ZelvatMsg &mine, const QString &name, const Seen &seen, qint16 state)
{
    Finding f;
    f.now = look(mine.messageFolder(), name);
    if (sameFile(f.now.file, seen.file) || (!f.now.present() && !seen.present()))
        return f;
    if (!f.now.present()) {
        f.kind = Kind::Removed;
        f.writer = QStringLiteral("another program");
        return f;
    }
    // Written again byte for byte (a copy put back, a touch): nothing of theirs would be lost.
    if (seen.present() && f.now.bytes == seen.bytes && !seen.bytes.isEmpty())
        return f;
    const ZelvatMsg theirs = recordOf(mine, f.now);
    const qint16 before = recordOf(mine, seen).AST();
    f.theirState = theirs.AST();
    f.kind = Kind::Changed;
    if (backToWork(state) && f.theirState == Zelvat::StateSubmitted && before != Zelvat::StateSubmitted)
        f.kind = Kind::Submitted;
    else if (backToWork(state) && f.theirState == Zelvat::StateDeleted && before != Zelvat::StateDeleted)
        f.kind = Kind::Deleted;
    ZelvatMsg written = mine;
    written.setAST(state);
    f.differences = differences(theirs, written);
    f.writer = writerOf(mine.messageFolder(), name, f.now.file);
    f.when = QDateTime::fromMSecsSinceEpoch(f.now.file.modifiedNs / 1000000);
    return f;
}

QString ReportConflict::writerOf(const QString &messageFolder, const QString &name, const SafeFile::Entry &file)
{
    const auto position = ReportWriters::writerOf(messageFolder, name, file);
    return position ? position->describe() : QStringLiteral("another program");
}

QString ReportConflict::headline(const Finding &finding)
{
    if (finding.kind == Kind::Removed)
        return QStringLiteral("Removed from the message folder by another program");
    const QString what = finding.kind == Kind::Submitted ? QStringLiteral("Submitted")
                         : finding.kind == Kind::Deleted ? QStringLiteral("Deleted")
                                                         : QStringLiteral("Changed");
    const QString who = finding.writer == QLatin1String("another program") ? QStringLiteral("by another program")
                                                                           : QStringLiteral("at ") + finding.writer;
    return QStringLiteral("%1 %2 at %3").arg(what, who, finding.when.toLocalTime().toString(QStringLiteral("HH:mm")));
}

QString ReportConflict::inputText(const ZelvatMsg &mine)
{
    QString text;
    ZelvatMsg empty(QString{});
    empty.setCON(-1);
    empty.setBRE(-1);
    for (const Difference &d : differences(empty, mine))
        text += QStringLiteral("%1: %2\n").arg(d.field, d.mine);
    return text;
}
