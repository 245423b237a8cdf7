#include "support/ZelvatLogLib.h"

#include "support/DatetimeLib.h"
#include "support/CodePage.h"
#include "support/CommonConst.h"
#include "support/Platform.h"
#include "support/RunError.h"
#include "support/SafeFile.h"
#include "support/StringLib.h"

#include <QDir>

namespace {

QString g_logPath;
bool g_enabled = false;

const QString kSeparator(51, QLatin1Char('-'));

// Appends the given lines, each followed by CR LF, whole or not at all; on failure fills `error`.
bool appendLines(const QStringList &lines, RunError *error)
{
    QByteArray bytes;
    for (const QString &line : lines) {
        bytes += CodePage::encode(line);
        bytes += "\r\n";
    }
    return SafeFile::append(g_logPath, bytes, error);
}

} // namespace

namespace ZelvatLogLib {

void SetupLog(const QString &programFolder, bool writeHeader)
{
    g_enabled = false;
    const QDateTime now = DatetimeLib::now();
    g_logPath = QDir(programFolder).filePath(QStringLiteral("logs/Zelvat_") + DatetimeLib::yymmdd(now)
                                             + QStringLiteral(".log"));
    QStringList header;
    if (writeHeader) {
        header << kSeparator
               << DatetimeLib::logStamp(now) + QStringLiteral(": Zelvat v") + Zelvat::versionText()
               << kSeparator;
    }
    RunError error;
    if (!appendLines(header, &error)) {
        notify(QStringLiteral("SetupLog Error ") + error.text() + QStringLiteral("Could not start Pembrel logging"));
        return;
    }
    g_enabled = true;
}

void WriteLogLine(const QString &text)
{
    if (!g_enabled)
        return;
    QString body = text;
    body.remove(QStringLiteral("\r\n"));
    const QString line = StringLib::trimBlanks(DatetimeLib::logStamp(DatetimeLib::now()) + QStringLiteral(": ")
                                               + StringLib::trimBlanks(body));
    RunError error;
    if (!appendLines({line}, &error)) {
        g_enabled = false;
        notify(QStringLiteral("SetupLog Error ") + error.text()
               + QStringLiteral("; Could not write to the session log file; disabled session logging"));
    }
}

bool loggingEnabled()
{
    return g_enabled;
}

QString logPath()
{
    return g_logPath;
}

void resetLog()
{
    g_enabled = false;
    g_logPath.clear();
}

} // namespace ZelvatLogLib
