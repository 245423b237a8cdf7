#pragma once

#include "ui/TwipsRect.h"

#include <QString>
#include <QStringList>
#include <array>

// The main window's placement in the per-user settings store (application "Zelvat Call Taking
// System", section "Settings"): the window's position and size and the list's column widths, all
// in twips. Read at start-up, written when the window closes.
struct MainPlacement {
    static constexpr std::array<qint32, 8> DefaultColumnWidths = {1, 1000, 1000, 1000, 2000, 4000, 2000, 2000};

    TwipsRect window = {105, 105, 11235, 7200};
    std::array<qint32, 8> columnWidths = DefaultColumnWidths;
    // What was stored but is no number (edited from outside), as key="value"; such a value gives
    // the default.
    QStringList bad;
    QString storeFile;

    static MainPlacement load();
    // The message for the operator when some stored values were no numbers; empty when all were.
    QString badValuesText() const;

    // Keeps the window's placement (none for a minimised or maximised window: the store keeps its
    // last normal placement) and the widths of the columns as the list shows them.
    static void save(const TwipsRect *window, const std::array<double, 8> &columnWidths);
};
