#include "store/ReportFileName.h"

#include "support/StringLib.h"

namespace ReportFileName {

bool isReportFile(QStringView fileName)
{
    return fileName.endsWith(QLatin1String(".911"));
}

QString reportName(const QString &fileName)
{
    // Only the trailing ".911" is the file type: "XXX26001.911.911" is the report "XXX26001.911".
    QString name = fileName;
    if (isReportFile(name))
        name.chop(4);
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
