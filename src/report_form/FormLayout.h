#pragma once

#include "store/FormFields.h"
#include "ui/TwipsRect.h"

#include <array>

// The report form's layout in twips, the form's own unit: the designed places of the controls
// that follow the form's size, and Form_Resize's rules for stretching them. Only horizontal
// extents follow the form, plus the height of the tab control; every other top and height
// stays as designed. Plain numbers, no widgets: the form converts the result to pixels once.
struct FormLayout {
    // Design size of the form's inner area.
    static constexpr double DesignWidth = 12260;
    static constexpr double DesignHeight = 10280;
    static constexpr double MinWidth = 4000;
    static constexpr double MinHeight = 7750;

    TwipsRect cmdSubmit, cmdSave, cmdDelete, cmdClose;
    TwipsRect cmdPrint; // below Close, right of the event number
    TwipsRect Label19, Label20, Label22;
    TwipsRect Frame1, Frame2, Frame3;
    TwipsRect SSTab1;
    std::array<TwipsRect, 9> txtHeader; // inside Frame1 (0, 1, 2, 8), Frame2 (3, 4, 5), Frame3 (6, 7)
    std::array<TwipsRect, 4> nframe;    // inside the tab control
    std::array<TwipsRect, 2> txtMed;    // inside nframe(0)
    TwipsRect txtFire;                  // inside nframe(1)
    std::array<TwipsRect, 6> txtLaw;    // inside nframe(2)

    // The controls at the design size.
    static FormLayout design();

    // The label of a box: it keeps its designed place inside the box's frame.
    static TwipsRect labelOf(FormFields::Group group, int index);

    // Form_Resize for an inner width W and height H (twips) with a status bar of the given
    // height. Does nothing and returns false when W < 4000 or H < 7750.
    bool resize(double W, double H, double statusBarHeight);
};
