#include "sheet/SheetPdf.h"

#include "support/ErrorOut.h"

#include <QBuffer>
#include <QPdfWriter>

namespace SheetPdf {

QByteArray make(const QString &title, const QPageLayout &layout,
                const std::function<int(QPagedPaintDevice *, RunError *)> &draw, RunError *error)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    {
        QPdfWriter writer(&buffer);
        writer.setCreator(QStringLiteral("Zelvatcts"));
        writer.setTitle(title);
        writer.setResolution(600);
        if (!writer.setPageLayout(layout)) {
            ErrorOut::set(error, ErrorOut::told(RunError::DeviceIoError,
                                                 QStringLiteral("the page setup (paper, margins) cannot be used for a PDF file")));
            return {};
        }
        if (draw(&writer, error) == 0)
            return {};
    }
    return buffer.data();
}

} // namespace SheetPdf
