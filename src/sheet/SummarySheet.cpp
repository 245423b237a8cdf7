#include "sheet/SummarySheet.h"

#include "sheet/CallsChart.h"
#include "sheet/SheetPdf.h"

#include "support/CommonConst.h"
#include "support/DatetimeLib.h"
#include "support/ErrorOut.h"

#include <QFontMetricsF>
#include <QLocale>
#include <QPageLayout>
#include <QPainter>

namespace SummarySheet {

namespace {

QFont font(double points, bool bold = false)
{
    QFont f(QStringLiteral("Calibri"));
    f.setPointSizeF(points);
    f.setBold(bold);
    return f;
}

QString when(const QDateTime &t)
{
    return QLocale(QLocale::English).toString(t, QStringLiteral("d MMM yyyy HH:mm"));
}

// One row of cells, the first left-aligned in the first share of the width, the others right-aligned.
void drawRow(QPainter &painter, const QRectF &line, const QStringList &cells, double firstShare)
{
    const double first = line.width() * firstShare;
    const double rest = cells.size() > 1 ? (line.width() - first) / (cells.size() - 1) : 0;
    painter.drawText(QRectF(line.left(), line.top(), first, line.height()), Qt::AlignLeft | Qt::AlignVCenter, cells.value(0));
    for (int i = 1; i < cells.size(); ++i)
        painter.drawText(QRectF(line.left() + first + (i - 1) * rest, line.top(), rest, line.height()),
                         Qt::AlignRight | Qt::AlignVCenter, cells[i]);
}

} // namespace

int print(QPagedPaintDevice *device, const SituationSummary::Counts &counts, RunError *error)
{
    QPainter painter;
    if (!painter.begin(device)) {
        ErrorOut::set(error, ErrorOut::told(RunError::DeviceIoError, QStringLiteral("the printer or file could not be started")));
        return 0;
    }
    painter.setPen(QPen(Qt::black, 0));
    const QSizeF page(device->width(), device->height());
    const double line = QFontMetricsF(font(10), device).height() * 1.3;
    const double bottom = page.height() - line * 1.5; // the foot line
    const QString printed = QStringLiteral("Printed ") + when(DatetimeLib::now()) + QStringLiteral(" \u00B7 ")
        + QString::fromLatin1(Zelvat::Title);
    int pages = 1;
    double y = 0;
    const auto foot = [&] {
        painter.setFont(font(8));
        painter.drawText(QRectF(0, bottom, page.width(), line), Qt::AlignLeft | Qt::AlignBottom,
                         QStringLiteral("Summary \u00B7 page %1").arg(pages));
        painter.drawText(QRectF(0, bottom, page.width(), line), Qt::AlignRight | Qt::AlignBottom, printed);
        painter.setFont(font(10));
    };
    const auto next = [&](double height) {
        if (y + height <= bottom)
            return;
        foot();
        device->newPage();
        ++pages;
        y = 0;
    };

    painter.setFont(font(16, true));
    painter.drawText(QRectF(0, y, page.width(), line * 1.6), Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("Summary"));
    y += line * 1.8;
    painter.setFont(font(10));
    painter.drawText(QRectF(0, y, page.width(), line), Qt::AlignLeft | Qt::AlignVCenter,
                     QStringLiteral("Reports dated from %1 to %2: %3").arg(when(counts.from), when(counts.to)).arg(counts.reports));
    y += line * 1.5;

    painter.setFont(font(10, true));
    drawRow(painter, QRectF(0, y, page.width(), line), QStringList{QStringLiteral("Type")} + SituationSummary::columnNames(), 0.25);
    y += line;
    painter.drawLine(QPointF(0, y), QPointF(page.width(), y));
    painter.setFont(font(10));
    for (int t = 0; t < FormRules::TypeCount; ++t) {
        QStringList cells{FormRules::typeCode(t)};
        for (int n : counts.byType[t])
            cells << QString::number(n);
        drawRow(painter, QRectF(0, y, page.width(), line), cells, 0.25);
        y += line;
    }
    y += line;

    const double chartHeight = std::min(page.height() * 0.4, bottom - y - line * 3);
    if (chartHeight > 0) {
        painter.save();
        painter.setFont(font(8));
        const double used = CallsChart::draw(painter, QRectF(0, y, page.width(), chartHeight), counts);
        painter.restore();
        painter.setPen(QPen(Qt::black, 0));
        y += used + line;
    }

    painter.setFont(font(10, true));
    drawRow(painter, QRectF(0, y, page.width() * 0.6, line), {QStringLiteral("City"), QStringLiteral("Total")}, 0.7);
    y += line;
    painter.drawLine(QPointF(0, y), QPointF(page.width() * 0.6, y));
    painter.setFont(font(10));
    for (const SituationSummary::City &city : counts.cities) {
        next(line);
        drawRow(painter, QRectF(0, y, page.width() * 0.6, line), {city.name, QString::number(city.reports)}, 0.7);
        y += line;
    }
    foot();
    painter.end();
    return pages;
}

QByteArray pdf(const SituationSummary::Counts &counts, const QPageLayout &layout, RunError *error)
{
    return SheetPdf::make(QStringLiteral("Summary"), layout,
                          [&](QPagedPaintDevice *device, RunError *e) { return print(device, counts, e); }, error);
}

} // namespace SummarySheet
