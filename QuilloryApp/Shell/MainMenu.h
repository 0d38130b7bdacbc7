#pragma once

#include "QuilloryApp/Support/GRef.h"

#include <gtk/gtk.h>

#include <functional>

namespace Quillory::MainMenu {

// Application actions the menu names, and their shortcuts.
inline constexpr const char* preferencesActionName = "preferences";
inline constexpr const char* preferencesDetailedAction = "app.preferences";
inline constexpr const char* preferencesAccelerator = "<Control>comma";

// The window's main menu, one section per group of commands; a new group of commands is one more
// section here.
GRef<GMenu> make();

// The section with "Preferences".
GRef<GMenu> preferencesSection();

// The section with "Keyboard Shortcuts" and "About Quillory" (window actions of WindowActions).
GRef<GMenu> helpSection();

// Adds the application actions the menu names, with their shortcuts.
void installActions(GtkApplication*, std::function<void()> showPreferences);

}
