#include "ui/Paint.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLineEdit>
#include <QPlainTextEdit>

namespace {

QPalette::ColorRole roleOf(const QWidget *w)
{
    if (qobject_cast<const QLineEdit *>(w) || qobject_cast<const QPlainTextEdit *>(w))
        return QPalette::Base;
    if (qobject_cast<const QAbstractButton *>(w))
        return QPalette::Button;
    return QPalette::Window;
}

} // namespace

namespace Paint {

QColor colour(quint32 rgbLowRed)
{
    return QColor(int(rgbLowRed & 0xFF), int((rgbLowRed >> 8) & 0xFF), int((rgbLowRed >> 16) & 0xFF));
}

void paint(QWidget *w, const QColor &c)
{
    const QPalette::ColorRole role = roleOf(w);
    if (role == QPalette::Window)
        w->setAutoFillBackground(true);
    QPalette p = w->palette();
    p.setColor(role, c);
    w->setPalette(p);
}

QColor paintOf(const QWidget *w)
{
    return w->palette().color(roleOf(w));
}

QColor normal(const QWidget *w)
{
    return QApplication::palette().color(roleOf(w) == QPalette::Base ? QPalette::Base : QPalette::Button);
}

} // namespace Paint
