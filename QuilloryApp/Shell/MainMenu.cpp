#include "QuilloryApp/Shell/MainMenu.h"

#include "QuilloryApp/Editor/FindCommands.h"

#include <memory>

namespace Quillory::MainMenu {

GRef<GMenu> make()
{
    auto menu = GRef<GMenu>::adopt(g_menu_new());
    auto find = GRef<GMenuModel>::adopt(FindCommands::menuSection());
    g_menu_append_section(menu.get(), nullptr, find.get());
    g_menu_append_section(menu.get(), nullptr, G_MENU_MODEL(preferencesSection().get()));
    g_menu_append_section(menu.get(), nullptr, G_MENU_MODEL(helpSection().get()));
    return menu;
}

GRef<GMenu> preferencesSection()
{
    auto section = GRef<GMenu>::adopt(g_menu_new());
    g_menu_append(section.get(), "Preferences", preferencesDetailedAction);
    return section;
}

GRef<GMenu> helpSection()
{
    auto section = GRef<GMenu>::adopt(g_menu_new());
    g_menu_append(section.get(), "Keyboard Shortcuts", "win.show-shortcuts");
    g_menu_append(section.get(), "About Quillory", "win.about");
    return section;
}

void installActions(GtkApplication* application, std::function<void()> showPreferences)
{
    GSimpleAction* preferences = g_simple_action_new(preferencesActionName, nullptr);
    // The action owns the handler and frees it with itself.
    g_signal_connect_data(preferences, "activate", G_CALLBACK(+[](GSimpleAction*, GVariant*, gpointer handler) {
        (*static_cast<std::function<void()>*>(handler))();
    }),
        new std::function<void()>(std::move(showPreferences)),
        +[](gpointer handler, GClosure*) { delete static_cast<std::function<void()>*>(handler); }, GConnectFlags(0));
    g_action_map_add_action(G_ACTION_MAP(application), G_ACTION(preferences));
    g_object_unref(preferences);
    const char* accelerators[] = { preferencesAccelerator, nullptr };
    gtk_application_set_accels_for_action(application, preferencesDetailedAction, accelerators);
}

}
