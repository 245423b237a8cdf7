#include "sheet/CallsChart.h"

#include <QFontMetricsF>
#include <QPainter>
#include <algorithm>

QColor CallsChart::colour(int type)
{
    // Told apart in colour and in grey alike (a black-and-white printer).
    static const QColor colours[FormRules::TypeCount] = {QColor(0x1f, 0x5f, 0xbf), QColor(0xd0, 0x30, 0x20),
                                                         QColor(0x30, 0x90, 0x40), QColor(0xe8, 0xb0, 0x20)};
    return colours[std::clamp(type, 0, FormRules::TypeCount - 1)];
}

QStringList CallsChart::hourLabels(const SituationSummary::Counts &counts)
{
    QStringList hours;
    for (int i = 0; i < counts.perHour.size(); ++i) {
        const QDateTime hour = counts.firstHour.addSecs(3600 * qint64(i));
        hours << hour.toString(hour.date() == counts.to.date() ? QStringLiteral("HH") : QStringLiteral("d/HH"));
    }
    return hours;
}

CallsChart::Scale CallsChart::scaleFor(const SituationSummary::Counts &counts)
{
    int most = 0;
    for (const auto &hour : counts.perHour)
        most = std::max(most, *std::max_element(hour.begin(), hour.end()));
    if (most <= 10)
        return {std::max(1, most), 1};
    // Five to ten lines: a step of 1, 2 or 5 times a power of ten.
    int step = 1;
    for (int power = 1;; power *= 10) {
        if (most / power <= 10) { step = power; break; }
        if (most / (2 * power) <= 10) { step = 2 * power; break; }
        if (most / (5 * power) <= 10) { step = 5 * power; break; }
    }
    return {(most + step - 1) / step * step, step};
}

QString CallsChart::description(const SituationSummary::Counts &counts)
{
    QStringList totals;
    for (int t = 0; t < FormRules::TypeCount; ++t)
        totals << QStringLiteral("%1 %2").arg(FormRules::typeCode(t)).arg(counts.byType[t][SituationSummary::Total]);
    return QStringLiteral("Bars per hour from %1:00, %2 hours; calls: %3")
        .arg(counts.firstHour.toString(QStringLiteral("HH")))
        .arg(counts.perHour.size())
        .arg(totals.join(QStringLiteral(", ")));
}

double CallsChart::draw(QPainter &painter, const QRectF &room, const SituationSummary::Counts &counts)
{
    const QFontMetricsF metrics(painter.font(), painter.device());
    const double line = metrics.height();
    const QStringList hours = hourLabels(counts);
    const Scale scale = scaleFor(counts);
    const bool upright = hours.size() > 12; // many hours: their labels stand on end
    double labelWidth = 0;
    for (const QString &h : hours)
        labelWidth = std::max(labelWidth, metrics.horizontalAdvance(h));
    const double valueWidth = metrics.horizontalAdvance(QString::number(scale.top)) + line * 0.5;

    // From the top: the plot, the hour labels, the axis title, the legend.
    const double below = (upright ? labelWidth : line) + line * 0.4 + line * 2.6;
    const QRectF plot(room.left() + line * 1.4 + valueWidth, room.top() + line * 0.5,
                      room.width() - line * 1.4 - valueWidth - line * 0.5, room.height() - line * 0.5 - below);
    if (plot.width() <= 0 || plot.height() <= 0)
        return 0;

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, false);
    const QPen axisPen(Qt::black, 0), gridPen(QColor(0xc8, 0xc8, 0xc8), 0);
    for (int v = 0; v <= scale.top; v += scale.step) {
        const double y = plot.bottom() - plot.height() * v / scale.top;
        painter.setPen(v == 0 ? axisPen : gridPen);
        painter.drawLine(QPointF(plot.left(), y), QPointF(plot.right(), y));
        painter.setPen(axisPen);
        painter.drawText(QRectF(room.left() + line * 1.4, y - line / 2, valueWidth - line * 0.3, line),
                         Qt::AlignRight | Qt::AlignVCenter, QString::number(v));
    }
    painter.drawLine(plot.bottomLeft(), plot.topLeft());

    const int groups = std::max<int>(1, int(counts.perHour.size()));
    const double groupWidth = plot.width() / groups;
    const double barWidth = groupWidth * 0.8 / FormRules::TypeCount;
    for (int i = 0; i < counts.perHour.size(); ++i) {
        const double left = plot.left() + groupWidth * i + groupWidth * 0.1;
        for (int t = 0; t < FormRules::TypeCount; ++t) {
            const double h = plot.height() * counts.perHour[i][t] / scale.top;
            if (h > 0)
                painter.fillRect(QRectF(left + barWidth * t, plot.bottom() - h, barWidth, h), colour(t));
        }
        const double middle = plot.left() + groupWidth * (i + 0.5);
        if (upright) {
            painter.save();
            painter.translate(middle, plot.bottom() + line * 0.3);
            painter.rotate(-90);
            painter.drawText(QRectF(-labelWidth, -line / 2, labelWidth, line), Qt::AlignRight | Qt::AlignVCenter, hours[i]);
            painter.restore();
        } else {
            painter.drawText(QRectF(middle - groupWidth / 2, plot.bottom() + line * 0.2, groupWidth, line),
                             Qt::AlignHCenter | Qt::AlignTop, hours[i]);
        }
    }

    // The axes' titles.
    double y = plot.bottom() + (upright ? labelWidth : line) + line * 0.4;
    painter.drawText(QRectF(plot.left(), y, plot.width(), line), Qt::AlignHCenter | Qt::AlignTop,
                     QStringLiteral("Hour of the report's own time"));
    painter.save();
    painter.translate(room.left(), plot.center().y());
    painter.rotate(-90);
    painter.drawText(QRectF(-plot.height() / 2, 0, plot.height(), line), Qt::AlignCenter, QStringLiteral("Calls"));
    painter.restore();

    // The legend: each type's colour and code, centred under the plot.
    y += line * 1.4;
    const double box = line * 0.7;
    double width = 0;
    for (int t = 0; t < FormRules::TypeCount; ++t)
        width += box * 1.5 + metrics.horizontalAdvance(FormRules::typeCode(t)) + line;
    double x = plot.center().x() - width / 2;
    for (int t = 0; t < FormRules::TypeCount; ++t) {
        painter.fillRect(QRectF(x, y + (line - box) / 2, box, box), colour(t));
        painter.drawText(QPointF(x + box * 1.5, y + metrics.ascent()), FormRules::typeCode(t));
        x += box * 1.5 + metrics.horizontalAdvance(FormRules::typeCode(t)) + line;
    }
    painter.restore();
    return y + line - room.top();
}
