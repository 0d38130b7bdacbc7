#include "QuilloryApp/Shell/WindowActions.h"

#include "QuilloryApp/Editor/EditorPane.h"
#include "QuilloryApp/Editor/FindCommands.h"
#include "QuilloryApp/Shell/ContentView.h"
#include "QuilloryApp/Shell/EditorPreviewView.h"
#include "QuilloryApp/Shell/MainMenu.h"
#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Workspace/AppInfo.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"

#include <cstring>
#include <map>

namespace Quillory {

namespace {

constexpr const char* applicationIconName = "app.quillory.Quillory";

std::string escaped(const std::string& text)
{
    gchar* markup = g_markup_escape_text(text.c_str(), -1);
    std::string result(markup);
    g_free(markup);
    return result;
}

// The local part of a detailed action name: "open-site" for "win.open-site".
const char* localName(const char* detailedName)
{
    const char* dot = strchr(detailedName, '.');
    return dot ? dot + 1 : detailedName;
}

GSimpleAction* addAction(GActionMap* map, const char* detailedName, GCallback callback, gpointer data)
{
    GSimpleAction* action = g_simple_action_new(localName(detailedName), nullptr);
    g_signal_connect_swapped(action, "activate", callback, data);
    g_action_map_add_action(map, G_ACTION(action));
    g_object_unref(action);
    return action;
}

// The commands whose actions and accelerators this class installs.
const std::vector<WindowShortcut>& ownShortcuts()
{
    static const std::vector<WindowShortcut> list {
        { "win.open-site", { "<Control>o" }, "Open Site", "Site" },
        { "win.new-page", { "<Control>n" }, "New Page", "Site" },
        { "win.refresh-preview", { "<Control>r", "F5" }, "Refresh Preview", "Preview" },
        { "win.jump-to-line", { "<Control>l" }, "Jump to Line", "Editor" },
        { MainMenu::preferencesDetailedAction, { MainMenu::preferencesAccelerator }, "Preferences", "General" },
        { "win.show-shortcuts", { "<Control>question" }, "Keyboard Shortcuts", "General" },
        { "app.quit", { "<Control>q" }, "Quit", "General" },
    };
    return list;
}

}

const std::vector<WindowShortcut>& WindowActions::shortcuts()
{
    // The editor's find commands bring their own accelerators; they are listed here all the same.
    static const std::vector<WindowShortcut> list = [] {
        auto all = ownShortcuts();
        for (auto& command : FindCommands::commands())
            all.push_back({ std::string("win.") + command.actionName, { command.accelerator }, command.title, "Find" });
        return all;
    }();
    return list;
}

WindowActions::WindowActions(GtkApplication* application, GtkWindow* window, ContentView& contentView, WorkspaceStore& store)
    : m_application(application)
    , m_window(GRef<GtkWindow>::retain(window))
    , m_contentView(contentView)
    , m_store(store)
{
    auto* windowMap = G_ACTION_MAP(window);
    addAction(windowMap, "win.open-site", G_CALLBACK(+[](WindowActions* self) { self->m_contentView.openSite(); }), this);
    m_newPage = addAction(windowMap, "win.new-page", G_CALLBACK(+[](WindowActions* self) { self->m_contentView.showNewPageSheet(); }), this);
    m_refreshPreview = addAction(windowMap, "win.refresh-preview", G_CALLBACK(+[](WindowActions* self) { self->m_store.refreshPreview(); }), this);
    m_jumpToLine = addAction(windowMap, "win.jump-to-line", G_CALLBACK(+[](WindowActions* self) {
        self->m_contentView.editorPreview().editorPane().focusLineField();
    }), this);
    addAction(windowMap, "win.show-shortcuts", G_CALLBACK(+[](WindowActions* self) {
        gtk_window_present(makeShortcutsWindow(self->m_window.get()));
    }), this);
    addAction(windowMap, "win.about", G_CALLBACK(+[](WindowActions* self) { gtk_window_present(makeAboutWindow(self->m_window.get())); }), this);
    // Quitting closes the window, so the close request writes the pending text first and may refuse.
    addAction(G_ACTION_MAP(application), "app.quit", G_CALLBACK(+[](WindowActions* self) { gtk_window_close(self->m_window.get()); }), this);

    for (auto& shortcut : ownShortcuts()) {
        std::vector<const char*> accelerators;
        for (auto& accelerator : shortcut.accelerators)
            accelerators.push_back(accelerator.c_str());
        accelerators.push_back(nullptr);
        gtk_application_set_accels_for_action(application, shortcut.actionName.c_str(), accelerators.data());
    }

    updateEnabledStates();
    m_connections.observe(store.siteMap(), [this] { updateEnabledStates(); });
    m_connections.observe(store.selectedPageID(), [this] { updateEnabledStates(); });
}

WindowActions::~WindowActions()
{
    m_connections.disconnectAll();
    // The application outlives the window; its quit action must not reach this object any more.
    g_action_map_remove_action(G_ACTION_MAP(m_application), "quit");
    for (const char* name : { "open-site", "new-page", "refresh-preview", "jump-to-line", "show-shortcuts", "about" }) {
        if (GAction* action = g_action_map_lookup_action(G_ACTION_MAP(m_window.get()), name))
            g_signal_handlers_disconnect_by_data(action, this);
    }
}

void WindowActions::updateEnabledStates()
{
    g_simple_action_set_enabled(m_refreshPreview, m_store.selectedPage().has_value());
    g_simple_action_set_enabled(m_jumpToLine, m_store.selectedDocument().has_value());
    g_simple_action_set_enabled(m_newPage, m_store.rootURL().get().has_value());
}

GtkWindow* WindowActions::makeShortcutsWindow(GtkWindow* parent)
{
    // GTK 4.8 builds shortcuts windows only from a UI definition; this one is written from the
    // table so that the window can never list an accelerator the actions do not have.
    std::vector<std::string> groupOrder;
    std::map<std::string, std::string> groups;
    for (auto& shortcut : shortcuts()) {
        if (!groups.count(shortcut.group))
            groupOrder.push_back(shortcut.group);
        std::string accelerators;
        for (auto& accelerator : shortcut.accelerators)
            accelerators += (accelerators.empty() ? "" : " ") + accelerator;
        groups[shortcut.group] += "<child><object class=\"GtkShortcutsShortcut\">"
                                  "<property name=\"title\">" + escaped(shortcut.title) + "</property>"
                                  "<property name=\"accelerator\">" + escaped(accelerators) + "</property>"
                                  "<property name=\"action-name\">" + escaped(shortcut.actionName) + "</property>"
                                  "</object></child>";
    }
    std::string definition = "<interface><object class=\"GtkShortcutsWindow\" id=\"window\">"
                             "<property name=\"modal\">1</property>"
                             "<child><object class=\"GtkShortcutsSection\">"
                             "<property name=\"section-name\">main</property>";
    for (auto& group : groupOrder) {
        definition += "<child><object class=\"GtkShortcutsGroup\"><property name=\"title\">" + escaped(group) + "</property>"
                      + groups[group] + "</object></child>";
    }
    definition += "</object></child></object></interface>";

    auto builder = GRef<GtkBuilder>::adopt(gtk_builder_new_from_string(definition.c_str(), -1));
    auto* window = GTK_WINDOW(gtk_builder_get_object(builder.get(), "window"));
    if (parent)
        gtk_window_set_transient_for(window, parent);
    return window;
}

GtkWindow* WindowActions::makeAboutWindow(GtkWindow* parent)
{
    auto version = AppInfo::shortVersion();
    if (auto build = AppInfo::buildNumber(); build && *build != version)
        version += " (" + *build + ")";
    GtkWidget* about = adw_about_window_new();
    g_object_set(about,
                 "application-name", "Quillory",
                 "application-icon", applicationIconName,
                 "version", version.c_str(),
                 "developer-name", "The Quillory developers",
                 "comments", "A local-first website editor: edit the pages and sources of a site beside their live rendering.",
                 "modal", TRUE,
                 nullptr);
    if (parent)
        gtk_window_set_transient_for(GTK_WINDOW(about), parent);
    return GTK_WINDOW(about);
}

}
