#include "link/OutboxFile.h"

#include "support/CodePage.h"
#include "support/ErrorOut.h"
#include "support/IniText.h"
#include "support/SafeFile.h"
#include "support/StringLib.h"

#include <QDir>
#include <QLockFile>

namespace {

enum class Section { None, Outbox, Reports };

} // namespace

OutboxFile::OutboxFile(const QString &programFolder)
    : m_folder(programFolder)
{
    load();
}

QString OutboxFile::path() const
{
    return QDir(m_folder).filePath(QStringLiteral("Zelvatcts.outbox"));
}

void OutboxFile::load()
{
    m_settings = Settings();
    m_choices.clear();
    m_problem.clear();
    if (SafeFile::kindOf(path()) == SafeFile::Kind::Missing)
        return;
    QString text;
    RunError error;
    if (!readSettingsFile(path(), &text, &error)) {
        m_problem = error.text();
        return;
    }
    QStringList bad;
    Section section = Section::None;
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (qsizetype i = 0; i < lines.size(); ++i) {
        QString line = lines[i];
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        if (line.isEmpty())
            continue;
        if (line == QLatin1String("[OUTBOX]")) {
            section = Section::Outbox;
            continue;
        }
        if (line == QLatin1String("[REPORTS]")) {
            section = Section::Reports;
            continue;
        }
        // A report name may hold "=", a value never does: reports split at the last one.
        const qsizetype eq = section == Section::Reports ? line.lastIndexOf(QLatin1Char('=')) : line.indexOf(QLatin1Char('='));
        const QString key = StringLib::trimBlanks(line.left(eq));
        const QString value = line.mid(eq + 1);
        bool ok = eq > 0;
        if (ok && section == Section::Outbox && key == QLatin1String("Automatic")) {
            ok = value == QLatin1String("0") || value == QLatin1String("1");
            if (ok)
                m_settings.automatic = value == QLatin1String("1");
        } else if (ok && section == Section::Outbox && key == QLatin1String("FirstRetry")) {
            const auto seconds = StringLib::toInteger(value, MinFirstRetrySeconds, MaxRetrySeconds, QString(), nullptr);
            ok = bool(seconds);
            if (ok)
                m_settings.firstRetrySeconds = int(*seconds);
        } else if (ok && section == Section::Reports) {
            Choice c;
            for (const QString &word : value.split(QLatin1Char('+'), Qt::SkipEmptyParts)) {
                if (word == QLatin1String("CONTACT"))
                    c.contact = true;
                else if (word == QLatin1String("UPDATE"))
                    c.update = true;
                else
                    ok = false;
            }
            if (ok)
                m_choices.insert(key, c);
        }
        if (!ok)
            bad << QStringLiteral("line %1 \"%2\"").arg(i + 1).arg(line);
    }
    if (!bad.isEmpty())
        m_problem = QStringLiteral("%1: passed over %2").arg(QDir::toNativeSeparators(path()), bad.join(QStringLiteral(", ")));
}

QByteArray OutboxFile::content() const
{
    QByteArray out = "[OUTBOX]\r\n";
    out += QByteArray("Automatic=") + (m_settings.automatic ? "1" : "0") + "\r\n";
    out += "FirstRetry=" + QByteArray::number(m_settings.firstRetrySeconds) + "\r\n";
    out += "[REPORTS]\r\n";
    for (auto it = m_choices.cbegin(); it != m_choices.cend(); ++it) {
        QStringList words;
        if (it->contact)
            words << QStringLiteral("CONTACT");
        if (it->update)
            words << QStringLiteral("UPDATE");
        out += CodePage::encode(it.key() + QLatin1Char('=') + words.join(QLatin1Char('+'))) + "\r\n";
    }
    return out;
}

bool OutboxFile::change(const std::function<bool()> &apply, RunError *error)
{
    QLockFile lock(path() + QStringLiteral(".lock"));
    if (!lock.tryLock(5000))
        return ErrorOut::set(error, ErrorOut::told(RunError::PermissionDenied,
                                                    QStringLiteral("the outbox file %1 is locked by another program, or its "
                                                                   "lock cannot be made")
                                                        .arg(QDir::toNativeSeparators(path()))));
    load();
    if (!apply() && m_problem.isEmpty())
        return true; // it says so already
    RunError written;
    if (!SafeFile::writeAtomically(path(), content(), &written))
        return ErrorOut::set(error, ErrorOut::passedUp(written));
    m_problem.clear();
    return true;
}

bool OutboxFile::setSettings(const Settings &settings, RunError *error)
{
    return change(
        [&] {
            const bool changed = !(m_settings == settings);
            m_settings = settings;
            return changed;
        },
        error);
}

bool OutboxFile::setChoice(const QString &name, const Choice &choice, RunError *error)
{
    const QString key = StringLib::trimBlanks(name);
    // Nothing to write (and no lock to take) when the file already says so.
    load();
    if (m_problem.isEmpty() && m_choices.value(key) == choice)
        return true;
    return change(
        [&] {
            if (m_choices.value(key) == choice)
                return false;
            if (choice == Choice())
                m_choices.remove(key);
            else
                m_choices.insert(key, choice);
            return true;
        },
        error);
}
