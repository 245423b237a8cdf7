#include "support/IniText.h"

#include "support/CodePage.h"
#include "support/SafeFile.h"
#include "support/StringLib.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <limits>

namespace {

constexpr qint64 kMaxFileBytes = 1024 * 1024;

// Puts the value into the key's target; false with `error` set when it cannot be taken.
bool take(const QString &key, const QString &value, const IniKey &k, RunError *error)
{
    const QString what = key + QLatin1Char('=') + value;
    return std::visit(
        [&](auto *target) {
            using T = std::remove_pointer_t<decltype(target)>;
            if constexpr (std::is_same_v<T, QString>) {
                *target = value;
                return true;
            } else if constexpr (std::is_same_v<T, float>) {
                const auto v = StringLib::parseNumber(value);
                if (v && std::abs(*v) <= FLT_MAX) {
                    *target = float(*v);
                    return true;
                }
                *error = v ? RunError::make(RunError::Overflow, what + QStringLiteral(" is too large"))
                           : RunError::make(RunError::TypeMismatch, what + QStringLiteral(" is not a number"));
                return false;
            } else {
                const auto v = StringLib::toInteger(value, std::numeric_limits<T>::min(), std::numeric_limits<T>::max(), what,
                                                    error);
                if (v)
                    *target = T(*v);
                return v.has_value();
            }
        },
        k.target);
}

} // namespace

QList<IniProblem> readIniValues(QStringView text, const QList<IniKey> &keys, bool stopAtFirst)
{
    QList<IniProblem> problems;
    qsizetype pos = 0;
    int number = 0;
    QString line;
    while (pos < text.size()) {
        pos = StringLib::getLineAt(text, pos, line);
        ++number;
        if (line.isEmpty() || line.startsWith(QLatin1Char('[')))
            continue;
        const qsizetype eq = line.indexOf(QLatin1Char('='));
        const QString key = StringLib::trimBlanks(eq < 0 ? QStringView(line) : QStringView(line).first(eq));
        const auto k = std::find_if(keys.begin(), keys.end(), [&](const IniKey &x) { return key == QLatin1String(x.name); });
        if (k == keys.end())
            continue;
        RunError error;
        if (eq < 0)
            error = RunError::make(RunError::SubscriptOutOfRange, key + QStringLiteral(" has no \"=\" and no value"));
        else if (take(key, line.mid(eq + 1), *k, &error))
            continue;
        problems.append({number, line, error});
        if (stopAtFirst)
            break;
    }
    return problems;
}

bool readSettingsFile(const QString &path, QString *text, RunError *error, QByteArray *bytes)
{
    QByteArray data;
    if (!SafeFile::readAll(path, kMaxFileBytes, &data, error))
        return false;
    *text = CodePage::decode(data);
    if (bytes)
        *bytes = data;
    return true;
}
