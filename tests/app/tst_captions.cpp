// Every caption the operator reads fits its control: each window and each tab of the report form
// opened at its default size, and for every label, button, check box and option button shown,
// the width its text takes in its font (and, for a wrapped label, the height) against the room
// the control gives it. A control inside a titled frame stays clear of the frame's title line.

#include "app/frmZelvatmain.h"
#include "common/WindowHome.h"
#include "dialogs/frmAbout.h"
#include "dialogs/frmStationID.h"
#include "dialogs/frmZelvatPref.h"
#include "link/ServerSession.h"
#include "report_form/RepeatCallerStrip.h"
#include "report_form/frmZelvatcts.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QStyle>
#include <QImage>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTabWidget>
#include <QTest>
#include <QTextDocument>

namespace {

QString plain(const QString &text)
{
    QString t = text;
    return t.remove(QLatin1Char('&'));
}

// What the control needs for its text, against what it has: empty when it fits.
QString misfit(QWidget *w)
{
    const QFontMetrics fm = w->fontMetrics();
    QStyle *style = w->style();
    int need = 0, room = 0;
    QString text;
    if (auto *label = qobject_cast<QLabel *>(w)) {
        text = label->text();
        if (text.isEmpty())
            return {};
        const QRect r = label->contentsRect().adjusted(label->margin(), label->margin(), -label->margin(), -label->margin());
        if (label->wordWrap()) {
            need = label->heightForWidth(label->width());
            room = label->height();
            if (need > room)
                return QStringLiteral("wrapped text needs %1 px of height, has %2").arg(need).arg(room);
            return {};
        }
        if (Qt::mightBeRichText(text) && label->textFormat() != Qt::PlainText) {
            QTextDocument doc;
            doc.setDefaultFont(label->font());
            doc.setDocumentMargin(0);
            doc.setHtml(text);
            need = int(std::ceil(doc.idealWidth()));
        } else {
            for (const QString &line : text.split(QLatin1Char('\n')))
                need = std::max(need, fm.horizontalAdvance(line));
        }
        room = r.width() - std::max(0, label->indent());
    } else if (auto *button = qobject_cast<QPushButton *>(w)) {
        text = plain(button->text());
        if (text.isEmpty())
            return {};
        // As the style sizes a button for its text: the margin, and the frame on both sides.
        need = fm.horizontalAdvance(text) + style->pixelMetric(QStyle::PM_ButtonMargin, nullptr, w)
            + 2 * style->pixelMetric(QStyle::PM_DefaultFrameWidth, nullptr, w);
        room = button->width();
    } else if (auto *box = qobject_cast<QCheckBox *>(w)) {
        text = plain(box->text());
        need = style->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, w)
            + style->pixelMetric(QStyle::PM_CheckBoxLabelSpacing, nullptr, w) + fm.horizontalAdvance(text);
        room = box->width();
    } else if (auto *option = qobject_cast<QRadioButton *>(w)) {
        text = plain(option->text());
        need = style->pixelMetric(QStyle::PM_ExclusiveIndicatorWidth, nullptr, w)
            + style->pixelMetric(QStyle::PM_RadioButtonLabelSpacing, nullptr, w) + fm.horizontalAdvance(text);
        room = option->width();
    } else {
        return {};
    }
    if (need > room)
        return QStringLiteral("\"%1\" needs %2 px, has %3").arg(text).arg(need).arg(room);
    return {};
}

// The row of a titled frame's top line, as the style draws it: the frame is painted alone and the
// first row below its top that differs from the background, at its right end (clear of the title),
// is the line.
int frameLine(QGroupBox *frame)
{
    QImage image(frame->size(), QImage::Format_ARGB32);
    image.fill(frame->palette().color(QPalette::Window));
    frame->render(&image, QPoint(), QRegion(), QWidget::DrawWindowBackground);
    const int x = frame->width() - 12;
    const QRgb background = image.pixel(x, 0);
    for (int y = 0; y < image.height(); ++y) {
        if (image.pixel(x, y) != background)
            return y;
    }
    return -1;
}

// A control on the top line of the titled frame it is in. For a label, what counts is the ink of
// its text; for a button or a check box, the whole control.
QString onFrameLine(QWidget *w)
{
    auto *frame = qobject_cast<QGroupBox *>(w->parentWidget());
    if (!frame || frame->title().isEmpty() || !(qobject_cast<QLabel *>(w) || qobject_cast<QAbstractButton *>(w)))
        return {};
    const int line = frameLine(frame);
    QRect drawn = w->geometry();
    if (auto *label = qobject_cast<QLabel *>(w)) {
        if (label->wordWrap() || label->text().isEmpty())
            return {};
        const QFontMetrics fm = label->fontMetrics();
        const int baseline = drawn.top() + (drawn.height() - fm.height()) / 2 + fm.ascent();
        const QRect ink = fm.tightBoundingRect(label->text());
        drawn = QRect(drawn.left(), baseline + ink.top(), drawn.width(), ink.height());
    }
    if (drawn.top() <= line && line <= drawn.bottom())
        return QStringLiteral("on the frame line of \"%1\" (at %2, the control spans %3 to %4)")
            .arg(frame->title())
            .arg(line)
            .arg(drawn.top())
            .arg(drawn.bottom());
    return {};
}

// A button that touches a box beside it: at least two clear pixels between them, so that the
// button's edge and the box's are seen apart.
QString touchesABox(QWidget *w)
{
    if (!qobject_cast<QPushButton *>(w) || !w->parentWidget())
        return {};
    for (QObject *o : w->parentWidget()->children()) {
        auto *box = qobject_cast<QWidget *>(o);
        if (!box || !box->isVisibleTo(w->window()) || !(box->inherits("QLineEdit") || box->inherits("QPlainTextEdit")))
            continue;
        if (w->geometry().adjusted(-2, -2, 2, 2).intersects(box->geometry()))
            return QStringLiteral("touches the box %1").arg(box->objectName());
    }
    return {};
}

// The controls of `window` shown now whose captions do not fit, or that sit on the title line of
// the frame they are in.
QStringList misfits(QWidget *window)
{
    QStringList found;
    for (QWidget *w : window->findChildren<QWidget *>()) {
        if (!w->isVisibleTo(window))
            continue;
        const QString name = w->objectName().isEmpty() ? QString::fromLatin1(w->metaObject()->className()) : w->objectName();
        if (const QString why = misfit(w); !why.isEmpty())
            found << name + QStringLiteral(": ") + why;
        if (const QString why = onFrameLine(w); !why.isEmpty())
            found << name + QStringLiteral(": ") + why;
        if (const QString why = touchesABox(w); !why.isEmpty())
            found << name + QStringLiteral(": ") + why;
    }
    return found;
}

} // namespace

class TestCaptions : public QObject {
    Q_OBJECT

private slots:
    void everyWindowAtItsDefaultSize_data();
    void everyWindowAtItsDefaultSize();
    void everyTabOfTheReportForm_data();
    void everyTabOfTheReportForm();
};

void TestCaptions::everyWindowAtItsDefaultSize_data()
{
    QTest::addColumn<QString>("window");
    for (const char *w : {"main window", "station identification", "preferences", "about", "licence", "system information"})
        QTest::newRow(w) << QString::fromLatin1(w);
}

void TestCaptions::everyWindowAtItsDefaultSize()
{
    QFETCH(QString, window);
    WindowHome home;
    std::unique_ptr<frmZelvatmain> main;
    std::unique_ptr<QWidget> dialog;
    ServerSession session(&home.station());
    QWidget *shown = nullptr;
    if (window == "main window") {
        main = home.startMainWindow();
        shown = main.get();
    } else {
        if (window == "station identification")
            dialog = std::make_unique<frmStationID>(home.station());
        else if (window == "preferences")
            dialog = std::make_unique<frmZelvatPref>(home.station(), &session);
        else if (window == "about")
            dialog = std::make_unique<frmAbout>();
        else if (window == "licence")
            dialog = std::make_unique<frmLicense>();
        else
            dialog = std::make_unique<frmSysInfo>();
        dialog->show();
        shown = dialog.get();
    }
    QVERIFY(QTest::qWaitForWindowExposed(shown));
    const QStringList found = misfits(shown);
    QVERIFY2(found.isEmpty(), qPrintable(found.join(QLatin1Char('\n'))));
}

void TestCaptions::everyTabOfTheReportForm_data()
{
    QTest::addColumn<int>("tab");
    QTest::newRow("medical") << 0;
    QTest::newRow("fire") << 1;
    QTest::newRow("law, with the contact request") << 2;
    QTest::newRow("local government") << 3;
}

void TestCaptions::everyTabOfTheReportForm()
{
    QFETCH(int, tab);
    WindowHome home;
    frmZelvatcts *form = home.openForm("NEW");
    QVERIFY(QTest::qWaitForWindowExposed(form));
    for (int i = 0; i < 4; ++i)
        form->cmdRtype_Click(i);
    form->SSTab1->setCurrentIndex(tab);
    const QStringList found = misfits(form);
    QVERIFY2(found.isEmpty(), qPrintable(found.join(QLatin1Char('\n'))));
}

QTEST_MAIN(TestCaptions)
#include "tst_captions.moc"
