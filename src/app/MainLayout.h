#pragma once

#include "ui/TwipsRect.h"

#include <array>

// The main window's layout in twips: the designed places of its controls, and Form_Resize's rules
// for the ones that follow the window's size. The lines, the folder caption, the list and the
// notes box stretch to the right edge; the notes box keeps to the bottom and the list fills the
// height above it; the folder panel reaches down to the status bar; the font buttons keep to the
// right edge. Plain numbers, no widgets: the window converts to pixels.
struct MainLayout {
    TwipsRect cmdMorvel, cmdDelete, cmdSendReady, cmdSmaller, cmdBigger;
    TwipsRect lblFolderSpace;
    std::array<TwipsRect, 10> cmdFolder; // by folder code: 0, 2, 6, 8, 9
    TwipsRect lblCurrentFolder, LV, txtArea;
    TwipsRect Line1, Line2;
    // The search box at the right end of the folder caption's row is this wide at most (and at
    // most half the list); its height is the box's own.
    static constexpr double SearchWidth = 3000;

    // The controls at the design size.
    static MainLayout design();

    // Form_Resize for an outer width W and an inner height H (twips, the status bar's height
    // included). The rules start from where the controls are now: the window hands in their
    // places as it measures them.
    void resize(double W, double H, double statusBarHeight);
};
