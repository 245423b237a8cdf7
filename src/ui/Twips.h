#pragma once

#include "ui/TwipsRect.h"

#include <QWidget>
#include <cmath>

// Measures of the windows are given in twips, 1440 to the logical inch; widgets are placed in
// pixels. One conversion each way, at the widget's logical resolution.
namespace Twips {

inline int toPixels(const QWidget *w, double twips)
{
    return int(std::lround(twips * w->logicalDpiX() / 1440.0));
}

inline double fromPixels(const QWidget *w, int pixels)
{
    return pixels * 1440.0 / w->logicalDpiX();
}

inline void place(QWidget *w, double left, double top, double width, double height)
{
    const QWidget *ref = w->parentWidget() ? w->parentWidget() : w;
    w->setGeometry(toPixels(ref, left), toPixels(ref, top), std::max(0, toPixels(ref, width)),
                   std::max(0, toPixels(ref, height)));
}

inline void place(QWidget *w, const TwipsRect &r)
{
    place(w, r.left, r.top, r.width, r.height);
}

// Where a control is now, read back from its pixels (and so possibly with a fraction).
inline TwipsRect placeOf(const QWidget *w)
{
    const QWidget *ref = w->parentWidget() ? w->parentWidget() : w;
    return {fromPixels(ref, w->x()), fromPixels(ref, w->y()), fromPixels(ref, w->width()), fromPixels(ref, w->height())};
}

} // namespace Twips
