#pragma once

#include <gtk/gtk.h>

#include <vector>

// The find commands of the window: actions "win.find", "win.find-replace", "win.find-next",
// "win.find-previous", "win.use-selection-for-find" and "win.jump-to-selection" with their
// accelerators, acting on the active source editor.
namespace Quillory::FindCommands {

struct Command {
    const char* title;
    // Without the "win." prefix.
    const char* actionName;
    const char* accelerator;
};

const std::vector<Command>& commands();

// Adds the actions to the window (its own action map when it has one) and a shortcut controller
// for their accelerators.
void install(GtkWindow*);

// The menu section with the six commands, a new reference, for the main menu to include.
GMenuModel* menuSection();

}
