#pragma once

#include "store/SituationSummary.h"

#include <QColor>
#include <QRectF>
#include <QString>
#include <QStringList>

class QPainter;

// The bar chart of calls per clock hour by event type, drawn with a plain painter: the same
// drawing on the screen, on paper and in a PDF, with nothing but QtGui. Bars of an hour stand side
// by side in the event types' order, each type in its own colour, named in a legend below.
namespace CallsChart {

// The colour of an event type's bars (FormRules' order: MED, FIRE, LAW, LGOV).
QColor colour(int type);

// Each bar group's label: the hour ("HH") on the period's last day, "d/HH" before it.
QStringList hourLabels(const SituationSummary::Counts &counts);

// The highest value of the calls axis and its step: whole numbers, a line per call up to ten.
struct Scale {
    int top = 1;
    int step = 1;
};
Scale scaleFor(const SituationSummary::Counts &counts);

// What the bars show, in words, for a screen reader:
// "Bars per hour from 15:00, 25 hours; calls: MED 2, FIRE 1, LAW 2, LGOV 1".
QString description(const SituationSummary::Counts &counts);

// Draws the chart into `room` of the painter (its titles, axes, bars and legend); the height used.
double draw(QPainter &painter, const QRectF &room, const SituationSummary::Counts &counts);

} // namespace CallsChart
