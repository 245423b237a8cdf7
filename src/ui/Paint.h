#pragma once

#include <QColor>
#include <QtGlobal>

class QWidget;

// The colours the windows give their controls to show what is missing, required or chosen:
// the background of a box, the face of a button, the background of a label.
namespace Paint {

// A colour given as a red-green-blue value with red in the low byte, as the colour constants
// of the program are written.
QColor colour(quint32 rgbLowRed);

// Paints the background of a text box, the face of a button or the background of a label.
void paint(QWidget *w, const QColor &c);
QColor paintOf(const QWidget *w);

// The usual colour of the control's kind: the window colour of a box, the button face of a
// button or a label.
QColor normal(const QWidget *w);
inline void clear(QWidget *w) { paint(w, normal(w)); }

} // namespace Paint
