#include "QuilloryApp/Editor/EditorPane.h"
#include "QuilloryApp/Editor/FindCommands.h"
#include "QuilloryApp/Editor/SourceEditorView.h"
#include "QuilloryApp/Shell/EditorPreviewView.h"
#include "QuilloryApp/Shell/ContentView.h"
#include "QuilloryApp/Shell/MainMenu.h"
#include "QuilloryApp/Shell/QuilloryApplication.h"
#include "QuilloryApp/Shell/WindowActions.h"
#include "QuilloryApp/Workspace/AppInfo.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/ViewTestSupport.h"
#include "app/support/XTestKeyboard.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

// Each test registers its own application: an id stays taken on the session bus for the process.
GtkApplication* newApplication()
{
    static int count = 0;
    auto id = "app.quillory.ActionTests" + std::to_string(++count);
    return GTK_APPLICATION(adw_application_new(id.c_str(), G_APPLICATION_NON_UNIQUE));
}

// The main window as the application builds it, with the window's actions installed.
struct ActionWindow {
    ViewHarness harness;
    GtkApplication* application { newApplication() };
    GtkWidget* window { nullptr };
    std::unique_ptr<ContentView> content;
    std::unique_ptr<WindowActions> actions;

    ActionWindow()
    {
        GError* error = nullptr;
        EXPECT_TRUE(g_application_register(G_APPLICATION(application), nullptr, &error));
        // Held by the test too: quitting destroys the window before the test ends.
        window = GTK_WIDGET(g_object_ref(QuilloryApplication::makeMainWindow(application)));
        content = std::make_unique<ContentView>(harness.store, harness.settings);
        adw_application_window_set_content(ADW_APPLICATION_WINDOW(window), content->widget());
        actions = std::make_unique<WindowActions>(application, GTK_WINDOW(window), *content, harness.store);
        gtk_window_present(GTK_WINDOW(window));
        drainMainLoop();
    }

    ~ActionWindow()
    {
        actions.reset();
        gtk_window_destroy(GTK_WINDOW(window));
        content.reset();
        drainMainLoop();
        g_object_unref(window);
        g_object_unref(application);
    }

    std::vector<std::string> accelerators(const char* action) const
    {
        std::vector<std::string> result;
        gchar** list = gtk_application_get_accels_for_action(application, action);
        for (gchar** item = list; item && *item; ++item)
            result.emplace_back(*item);
        g_strfreev(list);
        return result;
    }

    // Opens a site of one page holding `indexText`.
    void open(const TemporaryDirectory& site, const std::string& indexText = "<h1>Home</h1>\n")
    {
        site.write("index.html", indexText);
        harness.store.loadWorkspace(site.path());
        drainMainLoop();
    }

    bool isEnabled(const char* localName) const
    {
        return g_action_group_get_action_enabled(G_ACTION_GROUP(window), localName);
    }

    // Whether the keyboard focus is in the line field of the editor header's visible form.
    bool lineFieldHasFocus() const
    {
        GtkWidget* focus = gtk_window_get_focus(GTK_WINDOW(window));
        GtkWidget* field = GTK_WIDGET(content->editorPreview().editorPane().visibleHeader().lineField);
        return focus && (focus == field || gtk_widget_is_ancestor(focus, field));
    }
};

// Every GtkShortcutsShortcut in the sections below `widget`, as "title=accelerator". The window
// keeps copies of them for its search page, outside any section; those are not counted.
void collectShortcuts(GtkWidget* widget, std::vector<std::string>& into, bool inSection = false)
{
    inSection = inSection || GTK_IS_SHORTCUTS_SECTION(widget);
    if (inSection && GTK_IS_SHORTCUTS_SHORTCUT(widget)) {
        gchar* title = nullptr;
        gchar* accelerator = nullptr;
        g_object_get(widget, "title", &title, "accelerator", &accelerator, nullptr);
        into.push_back(std::string(title ? title : "") + "=" + (accelerator ? accelerator : ""));
        g_free(title);
        g_free(accelerator);
    }
    for (GtkWidget* child = gtk_widget_get_first_child(widget); child; child = gtk_widget_get_next_sibling(child))
        collectShortcuts(child, into, inSection);
}

}

TEST(WindowActions, CommonCommandsHaveTheirAccelerators)
{
    ActionWindow window;
    EXPECT_EQ(window.accelerators("win.open-site"), std::vector<std::string>({ "<Control>o" }));
    EXPECT_EQ(window.accelerators("win.refresh-preview"), std::vector<std::string>({ "<Control>r", "F5" }));
    EXPECT_EQ(window.accelerators("win.show-shortcuts"), std::vector<std::string>({ "<Control>question" }));
    EXPECT_EQ(window.accelerators("app.quit"), std::vector<std::string>({ "<Control>q" }));
    EXPECT_EQ(window.accelerators("win.new-page"), std::vector<std::string>({ "<Control>n" }));
}

TEST(WindowActions, RefreshPreviewIsEnabledOnlyWithAPageSelected)
{
    ActionWindow window;
    EXPECT_FALSE(window.isEnabled("refresh-preview"));
    EXPECT_FALSE(window.isEnabled("new-page"));
    EXPECT_TRUE(window.isEnabled("open-site"));

    TemporaryDirectory site;
    window.open(site);
    EXPECT_TRUE(window.isEnabled("refresh-preview"));
    EXPECT_TRUE(window.isEnabled("new-page"));

    auto token = window.harness.store.previewReloadToken().get();
    g_action_group_activate_action(G_ACTION_GROUP(window.window), "refresh-preview", nullptr);
    EXPECT_NE(window.harness.store.previewReloadToken().get(), token);
}

TEST(WindowActions, JumpToLineNeedsADocumentAndPutsTheFocusInTheLineField)
{
    ActionWindow window;
    EXPECT_EQ(window.accelerators("win.jump-to-line"), std::vector<std::string>({ "<Control>l" }));
    EXPECT_FALSE(window.isEnabled("jump-to-line"));

    TemporaryDirectory site;
    window.open(site);
    EXPECT_TRUE(window.isEnabled("jump-to-line"));
    g_action_group_activate_action(G_ACTION_GROUP(window.window), "jump-to-line", nullptr);
    EXPECT_TRUE(runMainLoopUntil([&] { return window.lineFieldHasFocus(); }));
    // A popover left open would keep its grab of the keyboard past the window's end.
    const auto& header = window.content->editorPreview().editorPane().visibleHeader();
    if (GTK_IS_MENU_BUTTON(header.jumpButton)) {
        gtk_menu_button_popdown(GTK_MENU_BUTTON(header.jumpButton));
        drainMainLoop();
    }
}

TEST(WindowActionsOnScreen, ControlLFromTheEditorOpensTheLineFieldAndReturnJumps)
{
    ActionWindow window;
    FindCommands::install(GTK_WINDOW(window.window));
    TemporaryDirectory site;
    std::string text;
    for (int line = 1; line <= 20; ++line)
        text += "<p>" + std::to_string(line) + "</p>\n";
    window.open(site, text);
    auto& editor = window.content->editorPreview().sourceEditor();
    // Beside the preview the header has its compact form, where the field waits in a popover.
    const auto& header = window.content->editorPreview().editorPane().compactHeader();
    ASSERT_TRUE(runMainLoopUntil([&] { return gtk_widget_get_mapped(header.box); }));
    XTestKeyboard keyboard(window.window);
    ASSERT_TRUE(keyboard.isAvailable());
    ASSERT_TRUE(runMainLoopUntil([&] { return gtk_window_is_active(GTK_WINDOW(window.window)); }));
    gtk_widget_grab_focus(GTK_WIDGET(editor.sourceView()));
    ASSERT_TRUE(runMainLoopUntil([&] { return gtk_widget_has_focus(GTK_WIDGET(editor.sourceView())); }));

    keyboard.press("<Control>l");
    ASSERT_TRUE(runMainLoopUntil([&] { return window.lineFieldHasFocus(); }));
    EXPECT_TRUE(gtk_widget_get_visible(GTK_WIDGET(gtk_menu_button_get_popover(GTK_MENU_BUTTON(header.jumpButton)))));
    EXPECT_EQ(editor.bufferText().size(), text.size()) << "the keys went to the line field, not into the page";
    keyboard.press("1");
    keyboard.press("2");
    keyboard.press("Return");
    // Line 12 starts behind eleven lines of "<p>N</p>\n".
    ASSERT_TRUE(runMainLoopUntil([&] { return editor.selectedUTF16Range() == Utf16Range { text.find("<p>12</p>"), 0 }; }));
    EXPECT_TRUE(runMainLoopUntil([&] { return gtk_widget_has_focus(GTK_WIDGET(editor.sourceView())); }));
}

TEST(WindowActions, QuitWritesThePendingTextBeforeTheWindowCloses)
{
    ActionWindow window;
    TemporaryDirectory site;
    site.write("index.html", "<h1>Home</h1>\n");
    window.harness.store.loadWorkspace(site.path());
    window.harness.type(u"<h1>Home, edited</h1>\n");

    bool closeRequested = false;
    g_signal_connect_swapped(window.window, "close-request", G_CALLBACK(+[](bool* requested) -> gboolean {
        *requested = true;
        return FALSE;
    }), &closeRequested);
    // The close request is where the application writes pending text (ContentView::shouldClose).
    g_signal_connect_swapped(window.window, "close-request", G_CALLBACK(+[](ContentView* content) -> gboolean {
        return !content->shouldClose();
    }), window.content.get());
    g_action_group_activate_action(G_ACTION_GROUP(window.application), "quit", nullptr);
    drainMainLoop();

    EXPECT_TRUE(closeRequested);
    EXPECT_EQ(site.read("index.html"), "<h1>Home, edited</h1>\n");
}

TEST(WindowActions, ShortcutsWindowListsEveryAcceleratorOfTheTable)
{
    GtkWindow* shortcuts = WindowActions::makeShortcutsWindow(nullptr);
    std::vector<std::string> listed;
    collectShortcuts(GTK_WIDGET(shortcuts), listed);
    std::vector<std::string> expected;
    for (auto& shortcut : WindowActions::shortcuts()) {
        std::string accelerators;
        for (auto& accelerator : shortcut.accelerators)
            accelerators += (accelerators.empty() ? "" : " ") + accelerator;
        expected.push_back(shortcut.title + "=" + accelerators);
    }
    EXPECT_EQ(listed, expected);
    EXPECT_TRUE(std::find(listed.begin(), listed.end(), "Refresh Preview=<Control>r F5") != listed.end());
    // The editor's find commands are listed with their accelerators.
    for (auto& command : FindCommands::commands())
        EXPECT_TRUE(std::find(listed.begin(), listed.end(), std::string(command.title) + "=" + command.accelerator) != listed.end()) << command.title;
    EXPECT_TRUE(std::find(listed.begin(), listed.end(), "Find\u2026=<Control>f") != listed.end());
    gtk_window_destroy(shortcuts);
}

TEST(WindowActions, AboutNamesTheApplicationAndItsVersionWithNoInventedContact)
{
    GtkWindow* about = WindowActions::makeAboutWindow(nullptr);
    ASSERT_TRUE(ADW_IS_ABOUT_WINDOW(about));
    EXPECT_STREQ(adw_about_window_get_application_name(ADW_ABOUT_WINDOW(about)), "Quillory");
    EXPECT_EQ(std::string(adw_about_window_get_version(ADW_ABOUT_WINDOW(about))), AppInfo::shortVersion());
    EXPECT_STREQ(adw_about_window_get_application_icon(ADW_ABOUT_WINDOW(about)), "app.quillory.Quillory");
    auto* website = adw_about_window_get_website(ADW_ABOUT_WINDOW(about));
    EXPECT_TRUE(website == nullptr || *website == '\0');
    auto* issues = adw_about_window_get_issue_url(ADW_ABOUT_WINDOW(about));
    EXPECT_TRUE(issues == nullptr || *issues == '\0');
    gtk_window_destroy(about);
}

TEST(WindowActions, ApplicationIconIsBundledForTheWindow)
{
    ViewHarness harness;
    GtkIconTheme* theme = gtk_icon_theme_get_for_display(gdk_display_get_default());
    EXPECT_TRUE(gtk_icon_theme_has_icon(theme, "app.quillory.Quillory"));
}

TEST(WindowActions, MainMenuOffersTheShortcutsWindowAndAbout)
{
    auto menu = MainMenu::make();
    std::vector<std::string> items;
    for (int section = 0; section < g_menu_model_get_n_items(G_MENU_MODEL(menu.get())); ++section) {
        auto* links = g_menu_model_get_item_link(G_MENU_MODEL(menu.get()), section, G_MENU_LINK_SECTION);
        for (int item = 0; links && item < g_menu_model_get_n_items(links); ++item) {
            gchar* label = nullptr;
            gchar* action = nullptr;
            g_menu_model_get_item_attribute(links, item, G_MENU_ATTRIBUTE_LABEL, "s", &label);
            g_menu_model_get_item_attribute(links, item, G_MENU_ATTRIBUTE_ACTION, "s", &action);
            items.push_back(std::string(label ? label : "") + "=" + (action ? action : ""));
            g_free(label);
            g_free(action);
        }
        if (links)
            g_object_unref(links);
    }
    EXPECT_TRUE(std::find(items.begin(), items.end(), "Keyboard Shortcuts=win.show-shortcuts") != items.end());
    EXPECT_TRUE(std::find(items.begin(), items.end(), "About Quillory=win.about") != items.end());
    EXPECT_TRUE(std::find(items.begin(), items.end(), "Preferences=app.preferences") != items.end());
}
