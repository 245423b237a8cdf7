#include "settings/TnGlobal.h"

#include "support/CodePage.h"
#include "support/CommonConst.h"
#include "support/IniText.h"
#include "support/Platform.h"
#include "support/SafeFile.h"
#include "support/StringLib.h"

#include <QDir>
#include <QFileInfo>

namespace {
QString g_defaultPrinter;
bool g_fileMissing = false;
} // namespace

void TnGlobal::setDefaultPrinterName(const QString &name)
{
    g_defaultPrinter = name;
}

bool TnGlobal::settingsFileMissing()
{
    return g_fileMissing;
}

TnGlobal::TnGlobal(const QString &programFolder)
    : m_path(QDir(programFolder).filePath(QStringLiteral("Tarnell.glo")))
{
    g_fileMissing = !QFileInfo::exists(m_path);
    setDefaults();
    GloRead();
}

TnGlobal::~TnGlobal()
{
    if (m_changed)
        GLOWrite();
}

void TnGlobal::setDefaults()
{
    m_version = Zelvat::versionText();
    m_useGlobalMsgNum = 1;
    m_printerName = g_defaultPrinter.isEmpty() ? QStringLiteral("No Printers Defined") : g_defaultPrinter;
    m_ptrOrient = 1;
    m_ptrCopies = 1;
    m_ptrDuplex = 1;
    m_runFlag = true;
    m_profSave = 1;
    m_folderLabels = QStringLiteral("Folder 1|Folder 2|Folder 3|Folder 4|Folder 5");
    m_lstFontSize = QStringLiteral("9");
}

bool TnGlobal::setUseGlobalMsgNum(qint32 v)
{
    if (v < -32768 || v > 32767)
        return false;
    m_useGlobalMsgNum = qint16(v);
    m_changed = true;
    return true;
}

qint16 TnGlobal::LstFontSize() const
{
    return qint16(StringLib::toInteger(m_lstFontSize, -32768, 32767, QString(), nullptr).value_or(0));
}

void TnGlobal::fail(const QString &operation, const QString &errorText)
{
    m_lastError = errorText;
    EventLog::current().error(m_lastError + QStringLiteral("; TnGlobal:") + operation + QStringLiteral(", FileName = ")
                              + m_path + QStringLiteral(", Step = ") + QString::number(m_step));
}

void TnGlobal::GloRead()
{
    if (g_fileMissing) {
        m_step = 4;
        m_changed = true;
        setDefaults();
        GLOWrite();
        return;
    }
    m_step = 1;
    QString text;
    RunError error;
    m_step = 2;
    if (!readSettingsFile(m_path, &text, &error)) {
        fail(QStringLiteral("GloRead"), error.text());
        return;
    }
    if (!text.contains(QLatin1Char('='))) {
        GLOWrite();
        return;
    }
    m_step = 3;
    // The file's version is held aside: the version in force is this program's.
    QString fileVersion;
    const QList<IniKey> keys = {
        {"Version", &fileVersion}, {"UseGlobalMsgNum", &m_useGlobalMsgNum}, {"PrinterName", &m_printerName},
        {"PtrOrient", &m_ptrOrient}, {"PtrCopies", &m_ptrCopies},       {"PtrDuplex", &m_ptrDuplex},
        {"ProfSave", &m_profSave},   {"FolderLabels", &m_folderLabels}, {"LstFontSize", &m_lstFontSize},
    };
    // The first value that cannot be taken ends the reading: what was read before it stands.
    for (const IniProblem &p : readIniValues(text, keys, true)) {
        fail(QStringLiteral("GloRead"), p.error.text() + QStringLiteral(" on line %1").arg(p.line));
        return;
    }
    // A file written by another version is rewritten with this program's version stamp.
    if (fileVersion != Zelvat::versionText())
        m_changed = true;
}

QByteArray TnGlobal::fileContent() const
{
    const QString text = QStringLiteral("[GENERAL VARIABLES]\r\n")
        + QStringLiteral("Version=") + m_version + QStringLiteral("\r\n")
        + QStringLiteral("UseGlobalMsgNum=") + QString::number(m_useGlobalMsgNum) + QStringLiteral("\r\n")
        + QStringLiteral("ProfSave=") + QString::number(m_profSave) + QStringLiteral("\r\n")
        + QStringLiteral("\r\n")
        + QStringLiteral("[LOCAL PRINTER]\r\n")
        + QStringLiteral("PrinterName=") + m_printerName + QStringLiteral("\r\n")
        + QStringLiteral("PtrOrient=") + QString::number(m_ptrOrient) + QStringLiteral("\r\n")
        + QStringLiteral("PtrCopies=") + QString::number(m_ptrCopies) + QStringLiteral("\r\n")
        + QStringLiteral("PtrDuplex=") + QString::number(m_ptrDuplex) + QStringLiteral("\r\n")
        + QStringLiteral("FolderLabels=") + m_folderLabels + QStringLiteral("\r\n")
        + QStringLiteral("LstFontSize=") + m_lstFontSize + QStringLiteral("\r\n");
    return CodePage::encode(text);
}

void TnGlobal::GLOWrite()
{
    if (!m_changed)
        return;
    // The old file is not deleted first: it is replaced in one step by the complete new one, so
    // an interrupted write never leaves it missing.
    m_step = 103;
    RunError error;
    if (!SafeFile::writeAtomically(m_path, fileContent(), &error)) {
        fail(QStringLiteral("GLOWrite"), error.text());
        return;
    }
    m_changed = false;
}
