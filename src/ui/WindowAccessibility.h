#pragma once

// Assistive technology meets a window of the program as a window, named by its title. Qt
// presents a top-level widget that is neither a dialog nor a main window (the report form) as a
// bare panel otherwise, which a screen reader does not announce as a window of its own.
namespace WindowAccessibility {

// Presents the top-level widgets of the class named `className` as windows. Called once per class
// (again is harmless).
void presentAsWindow(const char *className);

} // namespace WindowAccessibility
