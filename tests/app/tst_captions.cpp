// Every caption the operator reads fits its control: each window and each tab of the report form
// opened at its default size, and for every label, button, check box and option button shown,
// the width its text takes in its font (and, for a wrapped label, the height) against the room
// the control gives it. A control inside a titled frame stays clear of the frame's title line,
// and a button stays apart from the boxes beside it.

#include "app/frmZelvatmain.h"
#include "common/WindowHome.h"
#include "dialogs/frmAbout.h"
#include "dialogs/frmStationID.h"
#include "dialogs/frmZelvatPref.h"
#include "link/ServerSession.h"
#include "report_form/frmZelvatcts.h"

#include <QGroupBox>
#include <QImage>
#include <QRadioButton>
#include <QStyle>
#include <QTextDocument>

namespace {

// What the control needs for its text, against what it has: empty when it fits.
QString misfit(QWidget *w)
{
    const QFontMetrics fm = w->fontMetrics();
    const auto metric = [w](QStyle::PixelMetric m) { return w->style()->pixelMetric(m, nullptr, w); };
    int need = 0, room = w->width();
    QString text;
    if (auto *label = qobject_cast<QLabel *>(w)) {
        text = label->text();
        if (text.isEmpty())
            return {};
        if (label->wordWrap()) {
            need = label->heightForWidth(label->width());
            return need > label->height() ? QStringLiteral("wrapped text needs %1 px of height, has %2").arg(need).arg(label->height())
                                          : QString();
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
        room = label->contentsRect().width() - 2 * label->margin() - std::max(0, label->indent());
    } else if (auto *button = qobject_cast<QAbstractButton *>(w)) {
        text = button->text().remove(QLatin1Char('&'));
        // As the style sizes the control for its text: a button's margin and frame on both sides, a
        // box's or an option's indicator and the space after it.
        if (qobject_cast<QPushButton *>(w))
            need = text.isEmpty() ? 0 : metric(QStyle::PM_ButtonMargin) + 2 * metric(QStyle::PM_DefaultFrameWidth);
        else if (qobject_cast<QCheckBox *>(w))
            need = metric(QStyle::PM_IndicatorWidth) + metric(QStyle::PM_CheckBoxLabelSpacing);
        else if (qobject_cast<QRadioButton *>(w))
            need = metric(QStyle::PM_ExclusiveIndicatorWidth) + metric(QStyle::PM_RadioButtonLabelSpacing);
        else
            return {};
        need += text.isEmpty() ? 0 : fm.horizontalAdvance(text);
    }
    return need > room ? QStringLiteral("\"%1\" needs %2 px, has %3").arg(text).arg(need).arg(room) : QString();
}

// The row of a titled frame's top line, as the style draws it: the frame is painted alone and the
// first row that differs from the background at its right end (clear of the title) is the line.
int frameLine(QGroupBox *frame)
{
    QImage image(frame->size(), QImage::Format_ARGB32);
    image.fill(frame->palette().color(QPalette::Window));
    frame->render(&image, QPoint(), QRegion(), QWidget::DrawWindowBackground);
    const int x = frame->width() - 12;
    for (int y = 0; y < image.height(); ++y) {
        if (image.pixel(x, y) != image.pixel(x, 0))
            return y;
    }
    return -1;
}

// A control on the top line of the titled frame it is in. For a label, what counts is the ink of
// its text; for a button or a check box, the whole control.
QString onFrameLine(QWidget *w)
{
    auto *frame = qobject_cast<QGroupBox *>(w->parentWidget());
    auto *label = qobject_cast<QLabel *>(w);
    if (!frame || frame->title().isEmpty() || !(label || qobject_cast<QAbstractButton *>(w))
        || (label && (label->wordWrap() || label->text().isEmpty())))
        return {};
    const int line = frameLine(frame);
    QRect drawn = w->geometry();
    if (label) {
        const QFontMetrics fm = label->fontMetrics();
        const int baseline = drawn.top() + (drawn.height() - fm.height()) / 2 + fm.ascent();
        const QRect ink = fm.tightBoundingRect(label->text());
        drawn = QRect(drawn.left(), baseline + ink.top(), drawn.width(), ink.height());
    }
    if (drawn.top() <= line && line <= drawn.bottom())
        return QStringLiteral("on the frame line of \"%1\" (at %2, the control spans %3 to %4)")
            .arg(frame->title()).arg(line).arg(drawn.top()).arg(drawn.bottom());
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
        if (box && box->isVisibleTo(w->window()) && (box->inherits("QLineEdit") || box->inherits("QPlainTextEdit"))
            && w->geometry().adjusted(-2, -2, 2, 2).intersects(box->geometry()))
            return QStringLiteral("touches the box %1").arg(box->objectName());
    }
    return {};
}

// What is wrong with the controls of `window` shown now, one line each.
QString misfits(QWidget *window)
{
    QStringList found;
    for (QWidget *w : window->findChildren<QWidget *>()) {
        if (!w->isVisibleTo(window))
            continue;
        const QString name = w->objectName().isEmpty() ? QString::fromLatin1(w->metaObject()->className()) : w->objectName();
        for (const QString &why : {misfit(w), onFrameLine(w), touchesABox(w)})
            if (!why.isEmpty())
                found << name + QStringLiteral(": ") + why;
    }
    return found.join(QLatin1Char('\n'));
}

} // namespace

class TestCaptions : public QObject {
    Q_OBJECT

private slots:
    void everyWindowAtItsDefaultSize_data()
    {
        QTest::addColumn<QString>("window");
        QTest::addColumn<int>("tab"); // of the report form
        for (const char *w : {"main window", "station identification", "preferences", "about", "licence", "system information"})
            QTest::newRow(w) << QString::fromLatin1(w) << -1;
        const char *tabs[] = {"medical", "fire", "law, with the contact request", "local government"};
        for (int tab = 0; tab < 4; ++tab)
            QTest::addRow("report form, %s", tabs[tab]) << "report form" << tab;
    }

    void everyWindowAtItsDefaultSize()
    {
        QFETCH(QString, window);
        QFETCH(int, tab);
        WindowHome home;
        std::unique_ptr<frmZelvatmain> main;
        std::unique_ptr<QWidget> dialog;
        frmZelvatcts *form = nullptr;
        ServerSession session(&home.station());
        if (window == "main window")
            main = home.startMainWindow();
        else if (window == "station identification")
            dialog = std::make_unique<frmStationID>(home.station());
        else if (window == "preferences")
            dialog = std::make_unique<frmZelvatPref>(home.station(), &session);
        else if (window == "about")
            dialog = std::make_unique<frmAbout>();
        else if (window == "licence")
            dialog = std::make_unique<frmLicense>();
        else if (window == "system information")
            dialog = std::make_unique<frmSysInfo>();
        else {
            form = home.openForm("NEW"); // every type chosen, so that every control is shown
            for (int i = 0; i < 4; ++i)
                form->cmdRtype_Click(i);
            form->SSTab1->setCurrentIndex(tab);
        }
        QWidget *shown = form ? static_cast<QWidget *>(form) : main ? static_cast<QWidget *>(main.get()) : dialog.get();
        shown->show();
        QVERIFY(QTest::qWaitForWindowExposed(shown));
        const QString found = misfits(shown);
        QVERIFY2(found.isEmpty(), qPrintable(found));
    }
};

QTEST_MAIN(TestCaptions)
#include "tst_captions.moc"
