#pragma once

#include "store/SituationSummary.h"
#include "support/RunError.h"

#include <QByteArray>
#include <QRectF>
#include <functional>

class QPageLayout;
class QPagedPaintDevice;
class QPainter;

// The situation summary on paper: the title "Summary" and the period, the table of event types
// by state with the Total last, the chart of calls per hour (drawn by the caller into the room
// it is given), then the cities, continued on further pages when they are many. Every page
// carries its page number and the time it was printed.
namespace SummarySheet {

// Draws the chart into the rectangle, in the painter's coordinates, from its top; the height used.
using DrawChart = std::function<double(QPainter &painter, const QRectF &room)>;

// Draws the summary on a printer or a PDF writer. Returns the number of pages drawn; 0 with
// `error` set when the device cannot be painted on.
int print(QPagedPaintDevice *device, const SituationSummary::Counts &counts, const DrawChart &chart, RunError *error);

// The summary as the bytes of a PDF file on pages of `layout` (rendered in memory; the caller
// saves them). Empty with `error` set on failure.
QByteArray pdf(const SituationSummary::Counts &counts, const DrawChart &chart, const QPageLayout &layout, RunError *error);

} // namespace SummarySheet
