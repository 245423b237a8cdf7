#include "ui/Captions.h"

#include <QLabel>
#include <QWidget>
#include <algorithm>
#include <climits>

namespace {

// Space kept between a caption and its neighbours, in pixels.
constexpr int kGap = 4;

QList<QWidget *> siblingsOf(const QWidget *w)
{
    QList<QWidget *> siblings;
    for (QObject *o : w->parentWidget()->children()) {
        auto *s = qobject_cast<QWidget *>(o);
        if (s && s != w && !s->isWindow())
            siblings.append(s);
    }
    return siblings;
}

bool overlapRows(const QRect &a, const QRect &b)
{
    return a.top() <= b.bottom() && b.top() <= a.bottom();
}

bool overlapColumns(const QRect &a, const QRect &b)
{
    return a.left() <= b.right() && b.left() <= a.right();
}

// How far to the right the label may grow: to its nearest neighbour in the same rows, or to the
// edge of its parent.
int roomRight(const QLabel *label)
{
    const QRect g = label->geometry();
    int right = label->parentWidget()->width() - kGap;
    for (const QWidget *s : siblingsOf(label)) {
        if (overlapRows(g, s->geometry()) && s->x() > g.left())
            right = std::min(right, s->x() - kGap);
    }
    return right;
}

// How far down the label may grow: to its nearest neighbour in the same columns, or to the edge
// of its parent.
int roomBelow(const QLabel *label)
{
    const QRect g = label->geometry();
    int bottom = label->parentWidget()->height() - kGap;
    for (const QWidget *s : siblingsOf(label)) {
        if (overlapColumns(g, s->geometry()) && s->y() > g.top())
            bottom = std::min(bottom, s->y() - kGap);
    }
    return bottom;
}

void fitLabel(QLabel *label)
{
    if (label->text().isEmpty() || !label->pixmap().isNull() || !label->parentWidget())
        return;
    if (!label->wordWrap()) {
        const int need = label->sizeHint().width();
        if (need <= label->width())
            return;
        const int right = roomRight(label);
        if (label->x() + need <= right) {
            label->resize(need, label->height());
            return;
        }
        // Too wide for its row: it wraps, as wide as the row allows.
        label->setWordWrap(true);
        label->resize(std::max(label->width(), right - label->x()), label->height());
    }
    const int need = label->heightForWidth(label->width());
    if (need <= label->height())
        return;
    const int bottom = roomBelow(label);
    if (label->y() + need > bottom && label->parentWidget()->isWindow()) {
        // What lies below moves down, and the window grows with it.
        QWidget *window = label->parentWidget();
        const int deficit = label->y() + need - bottom;
        const int below = label->y() + label->height();
        for (QWidget *s : siblingsOf(label)) {
            if (s->y() >= below)
                s->move(s->x(), s->y() + deficit);
        }
        if (window->minimumHeight() == window->maximumHeight())
            window->setFixedHeight(window->height() + deficit);
        else
            window->resize(window->width(), window->height() + deficit);
    }
    label->resize(label->width(), need);
}

} // namespace

namespace Captions {

void fit(QWidget *window)
{
    for (QLabel *label : window->findChildren<QLabel *>())
        fitLabel(label);
}

} // namespace Captions
