#include "settings/ZelvatIni.h"

#include "support/CodePage.h"
#include "support/CommonConst.h"
#include "support/ErrorOut.h"
#include "support/IniText.h"
#include "support/Platform.h"
#include "support/SafeFile.h"
#include "support/StringLib.h"

#include <QFile>
#include <QFileInfo>
#include <QLockFile>

#include <limits>

namespace {

QString formatSingle(float v)
{
    return QString::number(double(v), 'g', 7);
}

} // namespace

ZelvatIni::ZelvatIni(const QString &path)
    : m_path(path)
{
}

void ZelvatIni::setDefaults()
{
    Nam.clear();
    Uid.clear();
    Loc.clear();
    Cty.clear();
    Lid.clear();
    Eno = 100;
    Lvf = 10;
    Hst = QStringLiteral("127.0.0.1");
    Prt = QStringLiteral("9334");
    Nto = 5000;
    Enc = QStringLiteral("BASE64");
}

QList<IniKey> ZelvatIni::keys()
{
    return {{"Nam", &Nam}, {"Uid", &Uid}, {"Loc", &Loc}, {"Cty", &Cty}, {"Lid", &Lid}, {"Eno", &Eno},
            {"Lvf", &Lvf}, {"Hst", &Hst}, {"Prt", &Prt}, {"Nto", &Nto}, {"Enc", &Enc}};
}

bool ZelvatIni::load()
{
    m_problems.clear();
    setDefaults();
    m_enoSeen = Eno;
    if (!QFileInfo::exists(m_path)) {
        save();
        return true;
    }

    QString text;
    QByteArray bytes;
    RunError fileError;
    const bool read = readSettingsFile(m_path, &text, &fileError, &bytes);
    if (read)
        m_problems = readIniValues(text, keys(), false);
    else
        m_problems.append({0, QString(), fileError});
    m_enoSeen = Eno;
    if (m_problems.isEmpty())
        return true;

    // Keep the file as it was before anything rewrites it, then tell the operator once. What
    // could not be read at all (no regular file) is left where it is and never rewritten.
    const QString bad = m_path + QStringLiteral(".bad");
    RunError keptError;
    const bool kept = read && SafeFile::writeAtomically(bad, bytes, &keptError);
    QString message = QStringLiteral("The station settings file %1 could not be read as it stands:").arg(m_path);
    for (const IniProblem &p : std::as_const(m_problems)) {
        message += QStringLiteral("\r\n");
        if (p.line > 0)
            message += QStringLiteral("line %1, \"%2\": %3; the default is used").arg(p.line).arg(p.text, p.error.description);
        else
            message += p.error.description + QStringLiteral("; every setting has its default");
    }
    if (kept)
        message += QStringLiteral("\r\nThe file as it was is kept as %1.").arg(bad);
    else if (read)
        message += QStringLiteral("\r\nThe file could not be copied to %1: %2").arg(bad, keptError.description);
    notify(message, Notice::Exclamation);
    return false;
}

QByteArray ZelvatIni::fileContent() const
{
    const QString text = QLatin1Char('[') + QString::fromLatin1(Zelvat::Title) + QStringLiteral("]\r\n")
        + QStringLiteral("Version=") + Zelvat::versionText() + QStringLiteral("\r\n")
        + QStringLiteral("\r\n")
        + QStringLiteral("[GENERAL OPTIONS]\r\n")
        + QStringLiteral("Nam=") + Nam + QStringLiteral("\r\n")
        + QStringLiteral("Uid=") + Uid + QStringLiteral("\r\n")
        + QStringLiteral("Loc=") + Loc + QStringLiteral("\r\n")
        + QStringLiteral("Cty=") + Cty + QStringLiteral("\r\n")
        + QStringLiteral("Lid=") + Lid + QStringLiteral("\r\n")
        + QStringLiteral("Eno=") + QString::number(Eno) + QStringLiteral("\r\n")
        + QStringLiteral("Lvf=") + formatSingle(Lvf) + QStringLiteral("\r\n")
        + QStringLiteral("Hst=") + Hst + QStringLiteral("\r\n")
        + QStringLiteral("Prt=") + Prt + QStringLiteral("\r\n")
        + QStringLiteral("Nto=") + QString::number(Nto) + QStringLiteral("\r\n")
        + QStringLiteral("Enc=") + Enc + QStringLiteral("\r\n");
    return CodePage::encode(text);
}

std::optional<qint32> ZelvatIni::counterOnDisk() const
{
    QString text;
    RunError ignored;
    if (!readSettingsFile(m_path, &text, &ignored))
        return std::nullopt;
    QString eno;
    readIniValues(text, {{"Eno", &eno}}, false);
    const auto value = StringLib::toInteger(eno, std::numeric_limits<qint32>::min(), std::numeric_limits<qint32>::max(),
                                            QString(), nullptr);
    return value ? std::optional<qint32>(qint32(*value)) : std::nullopt;
}

// Unless the operator gave a new counter since the file was last read or written, the
// counter on disk is the one in force: another program on this folder may have advanced it.
void ZelvatIni::followCounterOnDisk()
{
    if (Eno != m_enoSeen)
        return;
    if (const auto disk = counterOnDisk())
        Eno = *disk;
}

bool ZelvatIni::saveLocked(RunError *error)
{
    RunError written;
    if (!SafeFile::writeAtomically(m_path, fileContent(), &written))
        return ErrorOut::set(error, ErrorOut::told(RunError::Number(written.number),
                                                    QStringLiteral("The station settings file %1 could not be written: %2")
                                                        .arg(m_path, written.description)));
    m_enoSeen = Eno;
    return true;
}

// Takes the lock shared by every program on this folder. When it cannot be had, `error` says
// whether another program holds it (and which) or the lock file cannot be made at all.
bool ZelvatIni::lock(QLockFile &lock, const QString &consequence, RunError *error) const
{
    lock.setStaleLockTime(30000);
    if (lock.tryLock(lockWaitMs))
        return true;
    const QString lockPath = m_path + QStringLiteral(".lock");
    qint64 pid = 0;
    QString host, application;
    if (lock.error() == QLockFile::LockFailedError && lock.getLockInfo(&pid, &host, &application))
        return ErrorOut::set(error, ErrorOut::told(RunError::PermissionDenied,
                                                    QStringLiteral("The station settings file %1 is in use by another program "
                                                                   "(%2, process %3 on %4, lock %5); %6")
                                                        .arg(m_path, application.isEmpty() ? QStringLiteral("unnamed") : application)
                                                        .arg(pid)
                                                        .arg(host, lockPath, consequence)));
    const RunError cause = RunError::make(lock.error() == QLockFile::PermissionError ? RunError::PermissionDenied
                                                                                    : RunError::DeviceIoError);
    return ErrorOut::set(error, ErrorOut::told(RunError::Number(cause.number),
                                                QStringLiteral("The lock file %1 beside the station settings cannot be made "
                                                               "(%2: the folder is read-only, or the disk is full); %3")
                                                    .arg(lockPath, cause.description, consequence)));
}

bool ZelvatIni::save()
{
    QLockFile lockFile(m_path + QStringLiteral(".lock"));
    RunError error;
    if (lock(lockFile, QStringLiteral("it was not written."), &error)) {
        followCounterOnDisk();
        if (saveLocked(&error))
            return true;
    }
    notify(error.description, Notice::Exclamation);
    return false;
}

std::optional<qint16> ZelvatIni::takeNextEventNumber(const std::function<bool(qint16)> &inUse, RunError *error)
{
    QLockFile lockFile(m_path + QStringLiteral(".lock"));
    if (!lock(lockFile, QStringLiteral("no event number was taken."), error))
        return std::nullopt;
    followCounterOnDisk();
    const qint32 before = Eno;
    qint32 next = Eno;
    // Pass over numbers whose report already exists, so that no report is ever overwritten.
    while (next <= 32767 && next >= -32768 && inUse && inUse(qint16(next)))
        ++next;
    if (next > 32767 || next < -32768) {
        ErrorOut::set(error, ErrorOut::told(RunError::Overflow,
                                             QStringLiteral("The next event number %1 is outside the event numbers there can "
                                                            "be (up to 32767). No event number was taken. Set another Next "
                                                            "Event No under Setup, Location ID.")
                                                 .arg(next)));
        return std::nullopt;
    }
    Eno = next + 1;
    if (!saveLocked(error)) {
        Eno = before;
        return std::nullopt;
    }
    return qint16(next);
}
