#include "sheet/PageSetup.h"

#include "support/CommonConst.h"
#include "support/StringLib.h"

#include <QLocale>
#include <QRectF>
#include <QSizeF>
#include <QSettings>
#include <memory>

namespace PageSetup {

namespace {

std::unique_ptr<QSettings> store()
{
    auto s = std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope, QString::fromLatin1(Zelvat::Title));
    s->beginGroup(QStringLiteral("PageSetup"));
    return s;
}

// A stored number of millimetres in [min, max]; nullopt for anything else.
std::optional<double> millimetres(const QSettings &s, const QString &key, double min, double max)
{
    const QVariant v = s.value(key);
    if (!v.isValid())
        return std::nullopt;
    const auto n = StringLib::parseNumber(v.toString());
    if (!n || *n < min || *n > max)
        return std::nullopt;
    return *n;
}

QString number(double mm)
{
    return QString::number(mm, 'g', 6);
}

} // namespace

QPageLayout fallback()
{
    const bool inches = QLocale::system().measurementSystem() == QLocale::ImperialUSSystem;
    return QPageLayout(QPageSize(inches ? QPageSize::Letter : QPageSize::A4), QPageLayout::Portrait,
                       QMarginsF(15, 15, 15, 15), QPageLayout::Millimeter);
}

QPageLayout load()
{
    const QPageLayout base = fallback();
    const auto s = store();
    QPageSize size = base.pageSize();
    const QString paper = s->value(QStringLiteral("Paper")).toString();
    if (paper == QLatin1String("Custom")) {
        const auto w = millimetres(*s, QStringLiteral("PaperWidth"), 50, 2000);
        const auto h = millimetres(*s, QStringLiteral("PaperHeight"), 50, 2000);
        if (w && h)
            size = QPageSize(QSizeF(*w, *h), QPageSize::Millimeter, QString(), QPageSize::ExactMatch);
    } else if (!paper.isEmpty()) {
        for (int id = 0; id <= int(QPageSize::LastPageSize); ++id) {
            if (QPageSize::key(QPageSize::PageSizeId(id)) == paper) {
                size = QPageSize(QPageSize::PageSizeId(id));
                break;
            }
        }
    }
    const QString orientation = s->value(QStringLiteral("Orientation")).toString();
    const QPageLayout::Orientation o = orientation == QLatin1String("Landscape") ? QPageLayout::Landscape : QPageLayout::Portrait;

    // Margins must leave at least half of the paper each way for the sheet.
    QPageLayout layout(size, o, base.margins(), QPageLayout::Millimeter);
    const QSizeF paperMm = layout.fullRect(QPageLayout::Millimeter).size();
    const auto left = millimetres(*s, QStringLiteral("MarginLeft"), 0, paperMm.width() / 4);
    const auto top = millimetres(*s, QStringLiteral("MarginTop"), 0, paperMm.height() / 4);
    const auto right = millimetres(*s, QStringLiteral("MarginRight"), 0, paperMm.width() / 4);
    const auto bottom = millimetres(*s, QStringLiteral("MarginBottom"), 0, paperMm.height() / 4);
    if (left && top && right && bottom) {
        layout.setMinimumMargins(QMarginsF());
        layout.setMargins(QMarginsF(*left, *top, *right, *bottom));
    }
    return layout;
}

void save(const QPageLayout &layout)
{
    const auto s = store();
    const QPageSize size = layout.pageSize();
    if (size.id() == QPageSize::Custom) {
        const QSizeF mm = size.size(QPageSize::Millimeter);
        s->setValue(QStringLiteral("Paper"), QStringLiteral("Custom"));
        s->setValue(QStringLiteral("PaperWidth"), number(mm.width()));
        s->setValue(QStringLiteral("PaperHeight"), number(mm.height()));
    } else {
        s->setValue(QStringLiteral("Paper"), QPageSize::key(size.id()));
        s->remove(QStringLiteral("PaperWidth"));
        s->remove(QStringLiteral("PaperHeight"));
    }
    s->setValue(QStringLiteral("Orientation"),
                layout.orientation() == QPageLayout::Landscape ? QStringLiteral("Landscape") : QStringLiteral("Portrait"));
    const QMarginsF m = layout.margins(QPageLayout::Millimeter);
    s->setValue(QStringLiteral("MarginLeft"), number(m.left()));
    s->setValue(QStringLiteral("MarginTop"), number(m.top()));
    s->setValue(QStringLiteral("MarginRight"), number(m.right()));
    s->setValue(QStringLiteral("MarginBottom"), number(m.bottom()));
    s->sync();
}

} // namespace PageSetup
