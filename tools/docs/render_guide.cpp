// render_guide: turns the operator's quick-start guide from Markdown into the PDF the Help
// menu opens, with Qt's own text layout. Run at build time:
//   render_guide INPUT.md OUTPUT.pdf

#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPageLayout>
#include <QPageSize>
#include <QPdfWriter>
#include <QImage>
#include <QTextList>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QUrl>
#include <cstdio>

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (argc != 3) {
        std::fputs("usage: render_guide INPUT.md OUTPUT.pdf\n", stderr);
        return 2;
    }
    QFile in(QString::fromLocal8Bit(argv[1]));
    if (!in.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "render_guide: cannot read %s\n", argv[1]);
        return 1;
    }
    QTextDocument doc;
    // Images in the guide are named relative to the guide itself.
    doc.setMetaInformation(QTextDocument::DocumentUrl, QUrl::fromLocalFile(QFileInfo(in).absoluteFilePath()).toString());
    doc.setBaseUrl(QUrl::fromLocalFile(QFileInfo(in).absolutePath() + QLatin1Char('/')));
    doc.setDefaultFont(QFont(QStringLiteral("Calibri"), 11));
    doc.setMarkdown(QString::fromUtf8(in.readAll()));

    // Screenshots are as wide as the windows they show; on the page they fit the text width.
    constexpr double maxWidth = 560; // document units, a little under the A4 text width
    for (QTextBlock block = doc.begin(); block.isValid(); block = block.next()) {
        // A picture inside a list item starts at the item's indent: it fits the width left.
        const QTextBlockFormat place = block.blockFormat();
        const double fits = maxWidth - place.leftMargin() - place.indent() * doc.indentWidth()
                            - (block.textList() ? block.textList()->format().indent() * doc.indentWidth() : 0);
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextFragment fragment = it.fragment();
            if (!fragment.charFormat().isImageFormat())
                continue;
            QTextImageFormat image = fragment.charFormat().toImageFormat();
            const QImage picture = doc.resource(QTextDocument::ImageResource, QUrl(image.name())).value<QImage>();
            if (picture.isNull() || picture.width() <= fits)
                continue;
            image.setWidth(fits);
            image.setHeight(fits * picture.height() / picture.width());
            QTextCursor cursor(&doc);
            cursor.setPosition(fragment.position());
            cursor.setPosition(fragment.position() + fragment.length(), QTextCursor::KeepAnchor);
            cursor.setCharFormat(image);
        }
    }

    QPdfWriter pdf(QString::fromLocal8Bit(argv[2]));
    pdf.setTitle(QStringLiteral("Zelvat Call Taking System — Quick Start"));
    pdf.setCreator(QStringLiteral("Zelvatcts"));
    pdf.setPageSize(QPageSize(QPageSize::A4));
    pdf.setPageMargins(QMarginsF(18, 18, 18, 18), QPageLayout::Millimeter);
    pdf.setResolution(300);
    doc.print(&pdf);
    return 0;
}
