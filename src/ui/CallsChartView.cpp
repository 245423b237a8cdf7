#include "ui/CallsChartView.h"

#include "sheet/CallsChart.h"

#include <QPainter>

CallsChartView::CallsChartView(QWidget *parent)
    : QWidget(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setAutoFillBackground(false);
}

void CallsChartView::setCounts(const SituationSummary::Counts &counts)
{
    m_counts = counts;
    setAccessibleDescription(CallsChart::description(counts));
    update();
}

void CallsChartView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), Qt::white);
    painter.setPen(Qt::black);
    CallsChart::draw(painter, QRectF(rect()).adjusted(8, 8, -8, -8), m_counts);
    if (hasFocus()) {
        painter.setPen(QPen(palette().highlight().color(), 0, Qt::DotLine));
        painter.drawRect(rect().adjusted(1, 1, -2, -2));
    }
}
