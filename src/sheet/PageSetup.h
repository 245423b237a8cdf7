#pragma once

#include <QPageLayout>

// The page setup of the report sheets (paper, orientation, margins), kept per user in the
// program's per-user settings, group "PageSetup", values as text: Paper (a paper name such as
// A4 or Letter, or Custom with PaperWidth and PaperHeight in millimetres), Orientation
// (Portrait or Landscape), MarginLeft, MarginTop, MarginRight, MarginBottom (millimetres).
namespace PageSetup {

// A4 (Letter where the system measures in inches), portrait, 15 mm margins.
QPageLayout fallback();

// The kept setup. A value that is missing or cannot be used (edited from outside) gives the
// fallback's; margins that leave no room for a sheet give the fallback's margins.
QPageLayout load();

// Keeps the setup for the next print, export and start.
void save(const QPageLayout &layout);

} // namespace PageSetup
