#include "QuilloryApp/Editor/FindCommands.h"

#include "QuilloryApp/Editor/SourceEditorFindActivator.h"

#include <string>

namespace Quillory::FindCommands {

namespace {

void activate(GSimpleAction* action, GVariant*, gpointer)
{
    std::string name = g_action_get_name(G_ACTION(action));
    if (name == "find")
        SourceEditorFindActivator::perform(FindAction::showFindInterface);
    else if (name == "find-replace")
        SourceEditorFindActivator::perform(FindAction::showReplaceInterface);
    else if (name == "find-next")
        SourceEditorFindActivator::perform(FindAction::nextMatch);
    else if (name == "find-previous")
        SourceEditorFindActivator::perform(FindAction::previousMatch);
    else if (name == "use-selection-for-find")
        SourceEditorFindActivator::perform(FindAction::setSearchString);
    else if (name == "jump-to-selection")
        SourceEditorFindActivator::jumpToSelection();
}

}

const std::vector<Command>& commands()
{
    static const std::vector<Command> all {
        { "Find\u2026", "find", "<Control>f" },
        { "Find and Replace\u2026", "find-replace", "<Control><Alt>f" },
        { "Find Next", "find-next", "<Control>g" },
        { "Find Previous", "find-previous", "<Control><Shift>g" },
        { "Use Selection for Find", "use-selection-for-find", "<Control>e" },
        { "Jump to Selection", "jump-to-selection", "<Control>j" },
    };
    return all;
}

void install(GtkWindow* window)
{
    GActionMap* map = G_IS_ACTION_MAP(window) ? G_ACTION_MAP(window) : nullptr;
    GSimpleActionGroup* group = nullptr;
    if (!map) {
        group = g_simple_action_group_new();
        map = G_ACTION_MAP(group);
    }
    // Captured before the focused widget sees the keys, so a text field can't swallow them.
    GtkEventController* shortcuts = gtk_shortcut_controller_new();
    gtk_event_controller_set_propagation_phase(shortcuts, GTK_PHASE_CAPTURE);
    gtk_shortcut_controller_set_scope(GTK_SHORTCUT_CONTROLLER(shortcuts), GTK_SHORTCUT_SCOPE_LOCAL);
    for (const auto& command : commands()) {
        GSimpleAction* action = g_simple_action_new(command.actionName, nullptr);
        g_signal_connect(action, "activate", G_CALLBACK(activate), nullptr);
        g_action_map_add_action(map, G_ACTION(action));
        g_object_unref(action);
        std::string detailed = std::string("win.") + command.actionName;
        gtk_shortcut_controller_add_shortcut(GTK_SHORTCUT_CONTROLLER(shortcuts),
                                             gtk_shortcut_new(gtk_shortcut_trigger_parse_string(command.accelerator),
                                                              gtk_named_action_new(detailed.c_str())));
    }
    if (group) {
        gtk_widget_insert_action_group(GTK_WIDGET(window), "win", G_ACTION_GROUP(group));
        g_object_unref(group);
    }
    gtk_widget_add_controller(GTK_WIDGET(window), shortcuts);
}

GMenuModel* menuSection()
{
    GMenu* section = g_menu_new();
    for (const auto& command : commands()) {
        std::string detailed = std::string("win.") + command.actionName;
        GMenuItem* item = g_menu_item_new(command.title, detailed.c_str());
        g_menu_item_set_attribute(item, "accel", "s", command.accelerator);
        g_menu_append_item(section, item);
        g_object_unref(item);
    }
    return G_MENU_MODEL(section);
}

}
