#include "store/FormRecovery.h"

#include "support/CodePage.h"
#include "support/CommonConst.h"
#include "support/DatetimeLib.h"
#include "support/ErrorOut.h"
#include "support/Platform.h"
#include "support/SafeFile.h"
#include "support/StringLib.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace FormRecovery {

namespace {

constexpr char kHeader[] = "[FORM RECOVERY]\r\n";
constexpr char kReportStart[] = "[911 DEFINITION]";
constexpr char kEnd[] = "[END]\r\n";
// A report file holds at most 1 MiB; the header adds a few lines.
constexpr qint64 kMaxBytes = 1024 * 1024 + 4096;

// What the report loader says while it reads a recovery file is kept for the message that
// names the file, not shown on its own.
struct Collect : Notifier {
    QString said;
    void show(const Notice &n) override { said = n.text; }
};

QString withoutControls(QString text)
{
    for (QChar &c : text) {
        const char16_t u = c.unicode();
        if ((u < 0x20 && u != '\t' && u != '\r' && u != '\n') || u == 0x7F)
            c = QLatin1Char('?');
    }
    return text;
}

} // namespace

QString folder(const QString &programFolder)
{
    return QDir(programFolder).filePath(QStringLiteral("recovery"));
}

QString pathFor(const QString &programFolder, const QString &name)
{
    return folder(programFolder) + QLatin1Char('/') + StringLib::trimBlanks(name) + QStringLiteral(".rec");
}

QByteArray content(const Input &input)
{
    ZelvatMsg clean = input.record;
    for (ZelvatMsg::Key k : ZelvatMsg::allKeys()) {
        if (!ZelvatMsg::isIntegerKey(k))
            clean.setRawText(k, withoutControls(clean.rawText(k)));
    }
    QByteArray out = kHeader;
    out += "Opened=" + CodePage::encode(withoutControls(input.openedFrom)) + "\r\n";
    out += QByteArray("Update=") + (input.update ? "1" : "0") + "\r\n";
    out += QByteArray("Contact=") + (input.contact ? "1" : "0") + "\r\n";
    out += "Written=" + input.written.toString(Qt::ISODate).toLatin1() + "\r\n";
    out += clean.fileContent(Zelvat::versionText() + QLatin1Char('/') + DatetimeLib::writeStamp(input.written), true);
    return out;
}

bool write(const QString &programFolder, const QString &name, const Input &input, RunError *error)
{
    if (const QString problem = ZelvatMsg::nameProblem(name); !problem.isEmpty())
        return ErrorOut::set(error, ErrorOut::told(RunError::BadFileName,
                                                    QStringLiteral("no recovery file can be named for this report: ") + problem));
    if (!QDir().mkpath(folder(programFolder)))
        return ErrorOut::set(error, ErrorOut::told(RunError::PathFileAccessError,
                                                    QStringLiteral("the folder %1 cannot be made")
                                                        .arg(QDir::toNativeSeparators(folder(programFolder)))));
    const QByteArray bytes = content(input);
    // What is kept must read back: the loader's limits are checked before anything is written.
    int line = 0;
    const qsizetype report = bytes.indexOf(kReportStart);
    if (const QString problem = ZelvatMsg::contentProblem(QByteArrayView(bytes).sliced(report), &line); !problem.isEmpty())
        return ErrorOut::set(error, ErrorOut::told(RunError::Overflow, QStringLiteral("the input is too long to be kept: ") + problem));
    RunError written;
    if (!SafeFile::writeAtomically(pathFor(programFolder, name), bytes, &written, SafeFile::Flush::Later))
        return ErrorOut::set(error, ErrorOut::passedUp(written));
    return true;
}

std::optional<Input> read(const QString &programFolder, const QString &name, RunError *error)
{
    if (const QString problem = ZelvatMsg::nameProblem(name); !problem.isEmpty()) {
        ErrorOut::set(error, ErrorOut::told(RunError::BadFileName, problem));
        return std::nullopt;
    }
    return readFile(programFolder, pathFor(programFolder, name), error);
}

std::optional<Input> readFile(const QString &programFolder, const QString &path, RunError *error)
{
    QByteArray data;
    RunError readError;
    if (!SafeFile::readAll(path, kMaxBytes, &data, &readError)) {
        ErrorOut::set(error, ErrorOut::passedUp(readError));
        return std::nullopt;
    }
    const auto bad = [&](const QString &text) {
        ErrorOut::set(error, ErrorOut::told(RunError::InvalidFileFormat, text));
        return std::nullopt;
    };
    if (!data.startsWith(kHeader))
        return bad(QStringLiteral("it is no recovery file: it does not begin with [FORM RECOVERY]"));
    const qsizetype report = data.indexOf(kReportStart);
    if (report < 0 || !data.endsWith(kEnd))
        return bad(QStringLiteral("it was cut short: it does not hold the whole report"));

    Input input(programFolder);
    bool written = false;
    const QList<QByteArray> header = data.left(report).split('\n');
    for (qsizetype i = 1; i < header.size(); ++i) {
        QByteArray line = header[i];
        if (line.endsWith('\r'))
            line.chop(1);
        if (line.isEmpty())
            continue;
        const qsizetype eq = line.indexOf('=');
        const QByteArray key = line.left(eq);
        const QByteArray value = eq < 0 ? QByteArray() : line.mid(eq + 1);
        const bool flag = value == "1";
        if (eq < 0)
            return bad(QStringLiteral("header line %1 holds no \"=\"").arg(i + 1));
        if (key == "Opened") {
            input.openedFrom = CodePage::decode(value);
        } else if (key == "Update" || key == "Contact") {
            if (value != "0" && value != "1")
                return bad(QStringLiteral("%1=%2 is neither 0 nor 1").arg(QLatin1String(key), CodePage::decode(value)));
            (key == "Update" ? input.update : input.contact) = flag;
        } else if (key == "Written") {
            input.written = QDateTime::fromString(QString::fromLatin1(value), Qt::ISODate);
            written = input.written.isValid();
            if (!written)
                return bad(QStringLiteral("Written=%1 is no time").arg(CodePage::decode(value)));
        }
    }
    if (!written)
        return bad(QStringLiteral("it does not say when it was written"));
    if (!input.openedFrom.isEmpty() && !ZelvatMsg::isSafeName(input.openedFrom))
        return bad(QStringLiteral("the report it was opened from, \"%1\", is no report name").arg(input.openedFrom));
    {
        Collect collect;
        ScopedNotifier quiet(&collect);
        if (!input.record.LoadBytes(QByteArrayView(data).sliced(report), path))
            return bad(input.record.lastError());
    }
    if (const QString problem = ZelvatMsg::nameProblem(input.record.EID()); !problem.isEmpty())
        return bad(QStringLiteral("its event ID is no report name: ") + problem);
    return input;
}

bool remove(const QString &programFolder, const QString &name, RunError *error)
{
    QFile file(pathFor(programFolder, name));
    if (SafeFile::kindOf(file.fileName()) == SafeFile::Kind::Missing)
        return true;
    return file.remove() || ErrorOut::set(error, ErrorOut::passedUp(RunError::fromFile(file)));
}

bool keepAside(const QString &programFolder, const QString &name, QString *keptAs, RunError *error)
{
    return keepFileAside(pathFor(programFolder, name), keptAs, error);
}

bool keepFileAside(const QString &path, QString *keptAs, RunError *error)
{
    QFile file(path);
    for (int n = 1; n < 1000; ++n) {
        const QString target = file.fileName() + QStringLiteral(".bad") + (n > 1 ? QString::number(n) : QString());
        if (SafeFile::kindOf(target) != SafeFile::Kind::Missing)
            continue;
        if (!file.rename(target))
            return ErrorOut::set(error, ErrorOut::passedUp(RunError::fromFile(file)));
        if (keptAs)
            *keptAs = target;
        return true;
    }
    return ErrorOut::set(error, ErrorOut::told(RunError::PathFileAccessError,
                                                QStringLiteral("every name for keeping it aside is taken")));
}

QList<Entry> list(const QString &programFolder)
{
    QList<Entry> entries;
    const QStringList files = QDir(folder(programFolder)).entryList({QStringLiteral("*.rec")}, QDir::Files | QDir::System | QDir::Hidden, QDir::Name);
    for (const QString &file : files) {
        Entry e;
        e.name = file.chopped(4);
        RunError error;
        e.input = read(programFolder, e.name, &error);
        e.problem = error.description;
        QLockFile lock(pathFor(programFolder, e.name) + QStringLiteral(".lock"));
        lock.setStaleLockTime(0);
        if (lock.tryLock(0)) {
            lock.unlock();
        } else {
            qint64 pid = 0;
            QString host, application;
            if (lock.getLockInfo(&pid, &host, &application))
                e.holder = QStringLiteral("%1, process %2 on %3")
                               .arg(application.isEmpty() ? QStringLiteral("a program") : application)
                               .arg(pid)
                               .arg(host);
            else
                e.holder = QStringLiteral("a program whose lock cannot be read");
        }
        entries.append(e);
    }
    return entries;
}

QString writtenText(const Input &input)
{
    return DatetimeLib::logStamp(input.written);
}

QString offerText(const Input &input)
{
    const QString issue = input.record.ISS().isEmpty() ? QStringLiteral("(no issue yet)") : input.record.ISS();
    return QStringLiteral("A report being written when Zelvatcts stopped was kept: %1, %2, %3. Restore it?")
        .arg(input.record.EID(), issue, writtenText(input));
}

Claim::Claim(const QString &programFolder, const QString &name)
    : m_file(pathFor(programFolder, name) + QStringLiteral(".lock"))
{
    // Held as long as the form is open: only a lock left by a program that is gone is stale.
    m_file.setStaleLockTime(0);
    QDir().mkpath(folder(programFolder));
    m_held = m_file.tryLock(0);
}

void Schedule::noteChange(const QDateTime &now)
{
    if (!m_first.isValid())
        m_first = now;
    m_last = now;
}

bool Schedule::due(const QDateTime &now) const
{
    if (!pending())
        return false;
    const qint64 sinceLast = m_last.msecsTo(now);
    if (sinceLast < 0)
        return true; // the clock was put back: write rather than wait for it
    return sinceLast >= QuietMs || m_first.msecsTo(now) >= LatestMs;
}

} // namespace FormRecovery
