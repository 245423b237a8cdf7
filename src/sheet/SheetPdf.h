#pragma once

#include "support/RunError.h"

#include <QByteArray>
#include <QPageLayout>
#include <QPagedPaintDevice>
#include <QString>
#include <functional>


namespace SheetPdf {

// The bytes of a PDF file titled `title` on the page setup `layout`, its pages drawn by `draw`,
// which returns the pages it drew (0 after filling `error`). Empty, with `error` filled, when the
// page setup cannot be used for a PDF file or nothing could be drawn.
QByteArray make(const QString &title, const QPageLayout &layout,
                const std::function<int(QPagedPaintDevice *, RunError *)> &draw, RunError *error);

} // namespace SheetPdf
