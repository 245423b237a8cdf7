#include "sheet/CommLogSheet.h"
#include "sheet/SheetPdf.h"

#include "support/ErrorOut.h"

#include <QFontMetricsF>
#include <QPageLayout>
#include <QPainter>

#include <array>

namespace {

// The share of the line's width each column takes, in the order of CommLog::columns().
constexpr std::array<double, 10> kWidths = {0.115, 0.09, 0.06, 0.225, 0.105, 0.06, 0.125, 0.095, 0.06, 0.065};

QFont sheetFont(double points, bool bold = false)
{
    QFont f(QStringLiteral("Calibri"));
    f.setPointSizeF(points);
    f.setBold(bold);
    f.setStyleStrategy(QFont::PreferNoShaping);
    return f;
}

QString periodText(const CommLogHeader &h)
{
    const QString stamp = QStringLiteral("yyyy-MM-dd HH:mm");
    return h.from.toString(stamp) + QStringLiteral(" to ") + h.to.toString(stamp);
}

// Draws one line of cells across the width, each cut to its column.
void drawCells(QPainter &painter, const QFontMetricsF &metrics, double top, double width, double height,
               const QStringList &cells)
{
    double left = 0;
    const double pad = metrics.averageCharWidth() * 0.5;
    for (int c = 0; c < int(kWidths.size()) && c < cells.size(); ++c) {
        const double w = kWidths[size_t(c)] * width;
        const QString text = metrics.elidedText(cells[c], Qt::ElideRight, w - pad);
        painter.drawText(QRectF(left, top, w - pad, height), Qt::AlignLeft | Qt::AlignVCenter, text);
        left += w;
    }
}

} // namespace

namespace CommLogSheet {

int print(QPagedPaintDevice *device, const CommLogHeader &header, const QList<CommLog::Entry> &entries, RunError *error)
{
    QPainter painter;
    if (!painter.begin(device)) {
        ErrorOut::set(error, ErrorOut::told(RunError::DeviceIoError, QStringLiteral("the printer or file could not be started")));
        return 0;
    }
    const QFont title = sheetFont(14, true);
    const QFont head = sheetFont(9.5);
    const QFont bold = sheetFont(8, true);
    const QFont body = sheetFont(8);
    const QFontMetricsF titleMetrics(title, device), headMetrics(head, device), rowMetrics(body, device);
    const double width = device->width();
    const double height = device->height();
    const double row = rowMetrics.height() * 1.25;
    const double foot = rowMetrics.height() * 2.2;
    const double headHeight = titleMetrics.height() * 1.3 + headMetrics.height() * 3.4;

    // The first page carries the head; every page the column names and its number at the foot.
    const int firstRows = std::max(1, int((height - foot - headHeight - row) / row));
    const int laterRows = std::max(1, int((height - foot - row) / row));
    const int rest = std::max(0, int(entries.size()) - firstRows);
    const int pages = 1 + (rest + laterRows - 1) / laterRows;

    const QStringList lines = {
        QStringLiteral("Incident: ") + header.incident,
        QStringLiteral("Period: ") + periodText(header),
        QStringLiteral("Operator: %1, call sign %2 \u00B7 Location: %3")
            .arg(header.operatorName, header.callSign, header.location),
    };
    qsizetype next = 0;
    for (int page = 1; page <= pages; ++page) {
        if (page > 1)
            device->newPage();
        painter.setPen(QPen(Qt::black, 0));
        double top = 0;
        if (page == 1) {
            painter.setFont(title);
            painter.drawText(QRectF(0, 0, width, titleMetrics.height()), Qt::AlignLeft, QStringLiteral("Communications Log"));
            top = titleMetrics.height() * 1.3;
            painter.setFont(head);
            for (const QString &line : lines) {
                painter.drawText(QRectF(0, top, width, headMetrics.height()), Qt::AlignLeft, line);
                top += headMetrics.height() * 1.1;
            }
            top = headHeight;
        }
        painter.setFont(bold);
        painter.fillRect(QRectF(0, top, width, row), QColor(0xe6, 0xe6, 0xe6));
        drawCells(painter, rowMetrics, top, width, row, CommLog::columns());
        top += row;
        painter.setFont(body);
        const int count = page == 1 ? firstRows : laterRows;
        for (int i = 0; i < count && next < entries.size(); ++i, ++next) {
            drawCells(painter, rowMetrics, top, width, row, CommLog::cells(entries[next]));
            top += row;
        }
        const double line = height - rowMetrics.height();
        painter.drawLine(QPointF(0, line - rowMetrics.height() * 0.4), QPointF(width, line - rowMetrics.height() * 0.4));
        const QRectF footRect(0, line, width, rowMetrics.height());
        painter.drawText(footRect, Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("Communications Log \u00B7 ") + header.incident);
        painter.drawText(footRect, Qt::AlignRight | Qt::AlignVCenter, QStringLiteral("page %1 of %2").arg(page).arg(pages));
    }
    painter.end();
    return pages;
}

QByteArray pdf(const CommLogHeader &header, const QList<CommLog::Entry> &entries, const QPageLayout &layout, RunError *error)
{
    QPageLayout across = layout;
    across.setOrientation(QPageLayout::Landscape);
    return SheetPdf::make(QStringLiteral("Communications Log"), across,
                          [&](QPagedPaintDevice *device, RunError *e) { return print(device, header, entries, e); }, error);
}

} // namespace CommLogSheet
