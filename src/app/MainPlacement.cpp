#include "app/MainPlacement.h"

#include "support/CommonConst.h"
#include "support/StringLib.h"

#include <QSettings>

#include <algorithm>
#include <cmath>
#include <memory>

namespace {

std::unique_ptr<QSettings> settingsStore()
{
    auto s = std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope, QString::fromLatin1(Zelvat::Title));
    s->beginGroup(QStringLiteral("Settings"));
    return s;
}

// A stored placement or width in twips. A value that is no number, or none a 32-bit measure can
// hold, gives the default and is listed in `bad` as key="value".
double storedTwips(const QSettings &s, const QString &key, double fallback, QStringList *bad)
{
    const QVariant stored = s.value(key);
    if (!stored.isValid())
        return fallback;
    const QString text = stored.toString();
    const auto v = StringLib::parseNumber(text);
    if (v && std::abs(*v) <= 2147483647.0)
        return *v;
    bad->append(key + QStringLiteral("=\"") + text + QLatin1Char('"'));
    return fallback;
}

QString columnKey(int i)
{
    return QStringLiteral("lvCW%1").arg(i + 1);
}

} // namespace

MainPlacement MainPlacement::load()
{
    MainPlacement p;
    const auto store = settingsStore();
    const QSettings &s = *store;
    p.storeFile = s.fileName();
    p.window.left = storedTwips(s, QStringLiteral("MainLeft"), p.window.left, &p.bad);
    p.window.top = storedTwips(s, QStringLiteral("MainTop"), p.window.top, &p.bad);
    p.window.width = storedTwips(s, QStringLiteral("MainWidth"), p.window.width, &p.bad);
    p.window.height = storedTwips(s, QStringLiteral("MainHeight"), p.window.height, &p.bad);
    for (int i = 0; i < 8; ++i) {
        // Widths may carry a fraction; they are read back rounded half to even.
        const double w = storedTwips(s, columnKey(i), DefaultColumnWidths[i], &p.bad);
        p.columnWidths[i] = qint32(std::clamp(std::nearbyint(w), 0.0, 2147483647.0));
    }
    return p;
}

QString MainPlacement::badValuesText() const
{
    if (bad.isEmpty())
        return {};
    return QStringLiteral("The window settings in %1 hold values that are no numbers: %2. Their defaults are used; "
                          "the settings are written anew when the program closes.")
        .arg(storeFile, bad.join(QStringLiteral(", ")));
}

void MainPlacement::save(const TwipsRect *window, const std::array<double, 8> &columnWidths)
{
    const auto store = settingsStore();
    QSettings &s = *store;
    if (window) {
        s.setValue(QStringLiteral("MainLeft"), QString::number(window->left));
        s.setValue(QStringLiteral("MainTop"), QString::number(window->top));
        s.setValue(QStringLiteral("MainWidth"), QString::number(window->width));
        s.setValue(QStringLiteral("MainHeight"), QString::number(window->height));
    }
    for (int i = 0; i < 8; ++i)
        s.setValue(columnKey(i), QString::number(columnWidths[i], 'g', 10));
    s.sync();
}
