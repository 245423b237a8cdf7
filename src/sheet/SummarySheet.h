#pragma once

#include "store/SituationSummary.h"
#include "support/RunError.h"

#include <QByteArray>

class QPageLayout;
class QPagedPaintDevice;

// The situation summary on paper: the title "Summary" and the period, the table of event types
// by state with the Total last, the chart of calls per hour (CallsChart), then the cities,
// continued on further pages when they are many. Every page
// carries its page number and the time it was printed.
namespace SummarySheet {

// Draws the summary on a printer or a PDF writer. Returns the number of pages drawn; 0 with
// `error` set when the device cannot be painted on.
int print(QPagedPaintDevice *device, const SituationSummary::Counts &counts, RunError *error);

// The summary as the bytes of a PDF file on pages of `layout` (rendered in memory; the caller
// saves them). Empty with `error` set on failure.
QByteArray pdf(const SituationSummary::Counts &counts, const QPageLayout &layout, RunError *error);

} // namespace SummarySheet
