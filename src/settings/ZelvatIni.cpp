#include "settings/ZelvatIni.h"

#include "support/CodePage.h"
#include "support/CommonConst.h"
#include "support/IniText.h"
#include "support/Platform.h"
#include "support/StringLib.h"

#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSaveFile>

#include <cmath>

namespace {

constexpr int kLockWaitMs = 10000;

bool readIniLines(const QString &path, QList<IniLine> *lines, QString *error)
{
    QString text;
    if (!ReadSettingsFile(path, &text, error))
        return false;
    *lines = ParseIniLines(text);
    return true;
}

QString formatSingle(float v)
{
    return QString::number(double(v), 'g', 7);
}

} // namespace

ZelvatIni::ZelvatIni(const QString &path)
    : m_path(path)
{
}

void ZelvatIni::SetDefaults()
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

bool ZelvatIni::Load()
{
    m_problems.clear();
    SetDefaults();
    m_enoSeen = Eno;
    if (!QFileInfo::exists(m_path)) {
        Save();
        return true;
    }

    QList<IniLine> lines;
    QString fileError;
    if (!readIniLines(m_path, &lines, &fileError)) {
        m_problems.append({0, QString(), fileError});
    }
    static const QStringList keys = {
        QStringLiteral("Nam"), QStringLiteral("Uid"), QStringLiteral("Loc"), QStringLiteral("Cty"),
        QStringLiteral("Lid"), QStringLiteral("Eno"), QStringLiteral("Lvf"), QStringLiteral("Hst"),
        QStringLiteral("Prt"), QStringLiteral("Nto"), QStringLiteral("Enc"),
    };
    for (const IniLine &l : std::as_const(lines)) {
        const int k = int(keys.indexOf(l.key));
        if (k < 0)
            continue;
        if (!l.hasValue) {
            m_problems.append({l.number, l.text, QStringLiteral("%1 has no \"=\" and no value").arg(l.key)});
            continue;
        }
        RunError error;
        const QString what = l.key + QLatin1Char('=') + l.value;
        switch (k) {
        case 0: Nam = l.value; break;
        case 1: Uid = l.value; break;
        case 2: Loc = l.value; break;
        case 3: Cty = l.value; break;
        case 4: Lid = l.value; break;
        case 5:
            if (const auto v = StringLib::ToInteger(l.value, -2147483647 - 1, 2147483647, what, &error))
                Eno = qint32(*v);
            else
                m_problems.append({l.number, l.text, error.description});
            break;
        case 6: {
            const auto v = StringLib::ParseNumber(l.value);
            if (v && std::abs(*v) <= 3.402823e38)
                Lvf = float(*v);
            else
                m_problems.append({l.number, l.text,
                                   (v ? QStringLiteral("Overflow (%1 is too large)") : QStringLiteral("Type mismatch (%1 is not a number)"))
                                       .arg(what)});
            break;
        }
        case 7: Hst = l.value; break;
        case 8: Prt = l.value; break;
        case 9:
            if (const auto v = StringLib::ToInteger(l.value, -32768, 32767, what, &error))
                Nto = qint16(*v);
            else
                m_problems.append({l.number, l.text, error.description});
            break;
        case 10: Enc = l.value; break;
        }
    }
    m_enoSeen = Eno;
    if (m_problems.isEmpty())
        return true;

    // Keep the file as it was before anything rewrites it, then tell the operator once.
    const QString bad = m_path + QStringLiteral(".bad");
    QFile::remove(bad);
    const bool kept = QFile::copy(m_path, bad);
    QString text = QStringLiteral("The station settings file %1 could not be read as it stands:").arg(m_path);
    for (const Problem &p : std::as_const(m_problems)) {
        text += QStringLiteral("\r\n");
        if (p.line > 0)
            text += QStringLiteral("line %1, \"%2\": %3; the default is used").arg(p.line).arg(p.text, p.reason);
        else
            text += p.reason + QStringLiteral("; every setting has its default");
    }
    text += kept ? QStringLiteral("\r\nThe file as it was is kept as %1.").arg(bad)
                 : QStringLiteral("\r\nThe file could not be copied to %1.").arg(bad);
    notify(text, Notice::Exclamation);
    return false;
}

QByteArray ZelvatIni::FileContent() const
{
    const QString text = QLatin1Char('[') + QString::fromLatin1(Zelvat::Title) + QStringLiteral("]\r\n")
        + QStringLiteral("Version=") + Zelvat::VersionText() + QStringLiteral("\r\n")
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
    QList<IniLine> lines;
    QString ignored;
    if (!readIniLines(m_path, &lines, &ignored))
        return std::nullopt;
    std::optional<qint32> eno;
    for (const IniLine &l : std::as_const(lines)) {
        if (l.key != QLatin1String("Eno") || !l.hasValue)
            continue;
        if (const auto v = StringLib::ToInteger(l.value, -2147483647 - 1, 2147483647, QString(), nullptr))
            eno = qint32(*v);
    }
    return eno;
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

bool ZelvatIni::saveLocked(QString *why)
{
    QSaveFile file(m_path);
    const QByteArray content = FileContent();
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.commit()) {
        *why = QStringLiteral("The station settings file %1 could not be written: %2").arg(m_path, file.errorString());
        return false;
    }
    m_enoSeen = Eno;
    return true;
}

bool ZelvatIni::Save()
{
    QLockFile lock(m_path + QStringLiteral(".lock"));
    QString why;
    if (!lock.tryLock(kLockWaitMs)) {
        why = QStringLiteral("The station settings file %1 is locked by another program (%2.lock); it was not written.")
                  .arg(m_path, m_path);
    } else {
        followCounterOnDisk();
        if (saveLocked(&why))
            return true;
    }
    notify(why, Notice::Exclamation);
    return false;
}

std::optional<qint16> ZelvatIni::TakeNextEventNumber(const std::function<bool(qint16)> &inUse, QString *why)
{
    QLockFile lock(m_path + QStringLiteral(".lock"));
    if (!lock.tryLock(kLockWaitMs)) {
        *why = QStringLiteral("The station settings file %1 is locked by another program (%2.lock); no event number was taken.")
                   .arg(m_path, m_path);
        return std::nullopt;
    }
    followCounterOnDisk();
    const qint32 before = Eno;
    qint32 next = Eno;
    // Pass over numbers whose report already exists, so that no report is ever overwritten.
    while (next <= 32767 && next >= -32768 && inUse && inUse(qint16(next)))
        ++next;
    if (next > 32767 || next < -32768) {
        *why = QStringLiteral("The next event number %1 is outside the event numbers there can be (up to 32767). "
                              "No event number was taken. Set another Next Event No under Setup, Location ID.")
                   .arg(next);
        return std::nullopt;
    }
    Eno = next + 1;
    if (!saveLocked(why)) {
        Eno = before;
        return std::nullopt;
    }
    return qint16(next);
}
