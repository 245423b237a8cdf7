#pragma once

// A control's place in twips, the windows' own unit: left, top, width and height. Plain numbers,
// no widgets, so that a window's layout can be worked out apart from the window.
struct TwipsRect {
    double left = 0;
    double top = 0;
    double width = 0;
    double height = 0;
};
