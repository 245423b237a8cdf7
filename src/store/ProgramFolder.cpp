#include "store/ProgramFolder.h"

#include "support/ErrorOut.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace ProgramFolder {

namespace {

// The installed guide: with the installed documentation on Unix, in the docs folder beside the
// programs on Windows.
QString installedGuide()
{
#ifdef Q_OS_WIN
    return QCoreApplication::applicationDirPath() + QStringLiteral("/docs/ZelvatUG-QuickStart.pdf");
#else
    return QStringLiteral(ZELVAT_INSTALLED_DOCDIR "/ZelvatUG-QuickStart.pdf");
#endif
}

} // namespace

QString resolve(const QString &executableFolder)
{
    // An installed program shares its folder with every other program (and, run as the
    // superuser or an administrator, would find it writable): its data goes to the per-user
    // data folder. The Windows installer leaves a marker beside the programs.
    const QFileInfo exe(executableFolder);
    const bool installed = QFileInfo(QStringLiteral(ZELVAT_INSTALLED_BINDIR)).canonicalFilePath() == exe.canonicalFilePath()
                           || QFileInfo::exists(exe.absoluteFilePath() + QStringLiteral("/Zelvatcts.installed"));
    if (exe.isDir() && exe.isWritable() && !installed)
        return exe.absoluteFilePath();
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Zelvatcts");
}

bool prepare(const QString &folder, RunError *error)
{
    const QDir dir(folder);
    for (const QString &sub : {QStringLiteral("msg.d"), QStringLiteral("logs")}) {
        if (!dir.mkpath(sub))
            return ErrorOut::set(error, ErrorOut::told(RunError::PathFileAccessError,
                                                        QStringLiteral("The folder %1 could not be created.").arg(dir.filePath(sub))));
    }
    // An installed program's guide lies with the installed documentation; the Help menu looks
    // for it in the program folder, so a copy goes there.
    const QString guide = dir.filePath(QStringLiteral("docs/ZelvatUG-QuickStart.pdf"));
    const QString installed = installedGuide();
    if (!QFileInfo::exists(guide) && QFileInfo::exists(installed) && dir.mkpath(QStringLiteral("docs")))
        QFile::copy(installed, guide);
    return true;
}

QString stationFile(const QString &folder)
{
    return QDir(folder).filePath(QStringLiteral("Zelvatcts.ini"));
}

} // namespace ProgramFolder
