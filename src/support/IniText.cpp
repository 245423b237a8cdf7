#include "support/IniText.h"

#include "support/CodePage.h"
#include "support/StringLib.h"

#include <QFile>

namespace {
constexpr qint64 kMaxFileBytes = 1024 * 1024;
}

QList<IniLine> ParseIniLines(QStringView buffer)
{
    QList<IniLine> lines;
    qsizetype pos = 0;
    int number = 0;
    QString line;
    while (pos < buffer.size()) {
        pos = StringLib::GetLineAt(buffer, pos, line);
        ++number;
        if (line.isEmpty() || line.startsWith(QLatin1Char('[')))
            continue;
        IniLine l;
        l.number = number;
        l.text = line;
        const qsizetype eq = line.indexOf(QLatin1Char('='));
        l.key = StringLib::TrimBlanks(eq < 0 ? QStringView(line) : QStringView(line).first(eq));
        l.hasValue = eq >= 0;
        if (l.hasValue)
            l.value = line.mid(eq + 1);
        lines.append(l);
    }
    return lines;
}

bool ReadSettingsFile(const QString &path, QString *text, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = file.errorString();
        return false;
    }
    if (file.size() > kMaxFileBytes) {
        *error = QStringLiteral("the file holds %1 bytes; a settings file is far smaller").arg(file.size());
        return false;
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        *error = file.errorString();
        return false;
    }
    *text = CodePage::decode(bytes);
    return true;
}
