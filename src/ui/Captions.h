#pragma once

class QWidget;

// Captions that fit. The windows are laid out in twips for the fonts they were designed with;
// with the fonts at hand a label's text may be wider or taller than its place. Every label of
// `window` whose text does not fit takes the room it needs: it grows to the right up to its
// neighbour; failing that it wraps, grows downward up to its neighbour below, and, in a window of
// its own, moves what lies below it down and makes the window that much taller. Labels that fit
// keep their places and sizes. Called once a window's controls are built.
namespace Captions {

void fit(QWidget *window);

} // namespace Captions
