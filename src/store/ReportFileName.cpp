#include "store/ReportFileName.h"

#include "support/StringLib.h"

namespace ReportFileName {

bool isReportFile(QStringView fileName)
{
    return fileName.endsWith(QLatin1String(".911"));
}

QString reportName(const QString &fileName)
{
    QString name = fileName;
    name.remove(QStringLiteral(".911"));
    return name;
}

QString listedName(const QString &fileName, const QString &messageFolder, QString *excluded)
{
    const QString name = reportName(fileName);
    if (StringLib::trimBlanks(name).isEmpty())
        *excluded = QStringLiteral("Tn911:BuildFileList, detected, excluded an extent-only '.911' file");
    else if (name.contains(QLatin1Char('\r')) || name.contains(QLatin1Char('\n')))
        *excluded = QStringLiteral("Tn911:BuildFileList, excluded a file whose name holds a line break: ") + messageFolder
            + QLatin1Char('/') + fileName;
    else
        return name;
    return {};
}

} // namespace ReportFileName
