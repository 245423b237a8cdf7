#include "store/ReportImport.h"

#include "store/ReportFileName.h"
#include "store/ZelvatMsg.h"
#include "support/Platform.h"
#include "support/SafeFile.h"
#include "support/StringLib.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

namespace ReportImport {

namespace {

// While a file is checked, the loader's message box and event-log entry (about a scratch copy
// the operator never sees) are held back: the summary tells what was wrong.
struct Hush : Notifier, EventLog {
    void show(const Notice &) override {}
    void error(const QString &) override {}
};

// Why a file name cannot be a report's; empty when it can. `name` gets the report name.
QString badName(const QString &fileName, QString *name)
{
    if (!ReportFileName::isReportFile(fileName))
        return QStringLiteral("its name does not end in .911");
    *name = fileName.chopped(4);
    if (name->isEmpty() || StringLib::trimBlanks(*name).isEmpty())
        return QStringLiteral("its name is only the extension .911");
    if (StringLib::trimBlanks(*name) != *name)
        return QStringLiteral("its name begins or ends with a blank");
    if (!ZelvatMsg::isSafeName(*name))
        return QStringLiteral("its name holds characters a report name cannot hold (\"\\\", \"..\" or a control character)");
    return {};
}

Outcome importOne(const QString &path, const QString &messageFolder, const QString &scratch)
{
    Outcome o;
    o.source = path;
    const auto refuse = [&o](const QString &why) {
        o.result = Result::Refused;
        o.why = why;
        return o;
    };
    const QString why = badName(QFileInfo(path).fileName(), &o.name);
    if (!why.isEmpty())
        return refuse(why);

    QByteArray bytes;
    RunError error;
    if (!SafeFile::readAll(path, MaxBytes, &bytes, &error))
        return refuse(error.description);

    const QString target = messageFolder + QLatin1Char('/') + o.name + QStringLiteral(".911");
    const auto skip = [&o] {
        o.result = Result::Skipped;
        o.why = QStringLiteral("a report of that name is already in the message folder; it was left as it was");
        return o;
    };
    if (SafeFile::kindOf(target) != SafeFile::Kind::Missing)
        return skip();

    // The loader reads the very bytes that will be moved into place, from a scratch folder
    // inside the message folder (a folder, so the report list never shows it).
    if (scratch.isEmpty())
        return refuse(QStringLiteral("the message folder %1 cannot be written").arg(QDir::toNativeSeparators(messageFolder)));
    const QString copy = scratch + QStringLiteral("/msg.d/") + o.name + QStringLiteral(".911");
    if (!SafeFile::writeAtomically(copy, bytes, &error))
        return refuse(QStringLiteral("it could not be copied into the message folder: ") + error.description);
    {
        Hush hush;
        ScopedNotifier quiet(&hush);
        ScopedEventLog unlogged(&hush);
        ZelvatMsg check(scratch);
        if (!check.Load(o.name)) {
            QFile::remove(copy);
            return refuse(check.lastError().isEmpty() ? QStringLiteral("the report loader could not read it")
                                                      : check.lastError());
        }
        if (check.EID().isEmpty()) {
            QFile::remove(copy);
            return refuse(QStringLiteral("it holds no event number (EID); this is not a report file"));
        }
    }
    if (!SafeFile::moveNew(copy, target, &error)) {
        QFile::remove(copy);
        // Another position may have saved a report of that name since the look above.
        if (SafeFile::kindOf(target) != SafeFile::Kind::Missing)
            return skip();
        return refuse(QStringLiteral("it could not be moved into the message folder: ") + error.description);
    }
    o.result = Result::Imported;
    return o;
}

} // namespace

QList<Outcome> importFiles(const QString &programFolder, const QStringList &paths)
{
    const QString messageFolder = ZelvatMsg(programFolder).messageFolder();
    QTemporaryDir scratchDir(messageFolder + QStringLiteral("/.import-XXXXXX"));
    QString scratch;
    if (scratchDir.isValid() && QDir(scratchDir.path()).mkdir(QStringLiteral("msg.d")))
        scratch = scratchDir.path();
    QList<Outcome> outcomes;
    outcomes.reserve(paths.size());
    for (const QString &path : paths)
        outcomes.append(importOne(path, messageFolder, scratch));
    return outcomes;
}

QString summary(const QList<Outcome> &outcomes)
{
    constexpr int kListed = 20; // per section; the rest are counted
    QStringList sections[3];
    int counts[3] = {};
    for (const Outcome &o : outcomes) {
        const int s = int(o.result);
        ++counts[s];
        if (sections[s].size() == kListed)
            continue;
        const QString source = QDir::toNativeSeparators(o.source);
        if (o.result == Result::Imported)
            sections[s] << QStringLiteral("  ") + o.name;
        else
            sections[s] << QStringLiteral("  ") + source + QStringLiteral(": ") + o.why;
    }
    QString text = QStringLiteral("%1 imported, %2 skipped, %3 refused.").arg(counts[0]).arg(counts[1]).arg(counts[2]);
    static const char *const titles[3] = {"Imported:", "Skipped:", "Refused:"};
    for (int s = 0; s < 3; ++s) {
        if (!counts[s])
            continue;
        text += QStringLiteral("\r\n\r\n") + QLatin1String(titles[s]);
        for (const QString &line : std::as_const(sections[s]))
            text += QStringLiteral("\r\n") + line;
        if (counts[s] > sections[s].size())
            text += QStringLiteral("\r\n  ... and %1 more").arg(counts[s] - sections[s].size());
    }
    return text;
}

} // namespace ReportImport
