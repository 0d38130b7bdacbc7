#include "QuilloryApp/Shell/ContentView.h"
#include "QuilloryApp/Shell/EditorPreviewView.h"
#include "QuilloryApp/Support/GLibScheduler.h"
#include "QuilloryApp/Support/Preferences.h"
#include "QuilloryApp/Shell/SidebarView.h"
#include "QuilloryApp/Editor/SourceEditorView.h"
#include "QuilloryApp/Shell/WorkspacePlaceholderView.h"
#include "QuilloryApp/Workspace/WorkspaceRecentProjectsStore.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"
#include "app/support/ViewTestSupport.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <string>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

void setSearchText(ContentView& content, const char* text)
{
    gtk_editable_set_text(GTK_EDITABLE(content.searchEntry()), text);
    // The entry reports a search after its short typing delay.
    ASSERT_TRUE(runMainLoopUntil([&] { return content.sidebar().searchText() == text; }));
}

}

TEST(ContentView, ShowsThePlaceholderUntilASiteIsOpen)
{
    ViewHarness harness;
    TemporaryDirectory folder;
    ContentView content(harness.store, harness.settings);
    TestWindow window(content.widget());

    EXPECT_FALSE(content.isShowingWorkspace());
    EXPECT_TRUE(gtk_widget_get_mapped(content.placeholder().openExistingButton()));
    EXPECT_TRUE(contains(mappedLabelTexts(content.widget()), "No Site Open"));

    harness.store.loadWorkspace(copyFixtureSite("studio", folder));
    drainMainLoop();

    EXPECT_TRUE(content.isShowingWorkspace());
    EXPECT_FALSE(gtk_widget_get_mapped(content.placeholder().openExistingButton()));
    EXPECT_TRUE(gtk_widget_get_mapped(content.editorPreview().sourceEditor().widget()));
    auto labels = mappedLabelTexts(content.widget());
    EXPECT_TRUE(contains(labels, "studio"));
    EXPECT_TRUE(contains(labels, "6 pages"));
    EXPECT_TRUE(contains(labels, "Northwind Studio"));
    EXPECT_TRUE(contains(labels, "At opened baseline"));
    EXPECT_EQ(content.editorPreview().sourceEditor().bufferText(), harness.store.editorText().get());
}

TEST(ContentView, ToolbarHasOpenSiteRefreshPreviewAndTheSearchField)
{
    ViewHarness harness;
    ContentView content(harness.store, harness.settings);
    TestWindow window(content.widget());

    EXPECT_STREQ(gtk_widget_get_tooltip_text(content.openSiteButton()), "Open Site");
    EXPECT_STREQ(gtk_button_get_icon_name(GTK_BUTTON(content.openSiteButton())), "folder-symbolic");
    EXPECT_STREQ(gtk_widget_get_tooltip_text(content.refreshPreviewButton()), "Refresh Preview");
    EXPECT_STREQ(gtk_button_get_icon_name(GTK_BUTTON(content.refreshPreviewButton())), "view-refresh-symbolic");
    char* placeholder = nullptr;
    g_object_get(content.searchEntry(), "placeholder-text", &placeholder, nullptr);
    EXPECT_STREQ(placeholder, "Find pages");
    g_free(placeholder);
    EXPECT_TRUE(gtk_widget_get_mapped(GTK_WIDGET(content.searchEntry())));
    EXPECT_TRUE(gtk_widget_get_sensitive(content.openSiteButton()));
}

TEST(ContentView, RefreshPreviewIsEnabledOnlyWhileAPageIsSelected)
{
    ViewHarness harness;
    ContentView content(harness.store, harness.settings);
    GtkWidget* refresh = content.refreshPreviewButton();
    EXPECT_FALSE(gtk_widget_get_sensitive(refresh));

    TemporaryDirectory site;
    site.write("index.html", "<h1>Home</h1>\n");
    harness.store.loadWorkspace(site.path());
    EXPECT_TRUE(gtk_widget_get_sensitive(refresh));

    auto token = harness.store.previewReloadToken().get();
    g_signal_emit_by_name(refresh, "clicked");
    EXPECT_NE(harness.store.previewReloadToken().get(), token);

    // An open site without pages selects nothing.
    TemporaryDirectory empty;
    empty.write("notes.txt", "no pages here\n");
    harness.store.loadWorkspace(empty.path());
    EXPECT_FALSE(gtk_widget_get_sensitive(refresh));

    harness.store.loadWorkspace(site.path());
    EXPECT_TRUE(gtk_widget_get_sensitive(refresh));
    // A failed open closes the site and its selection.
    site.write("broken.html", "\xff not UTF-8\n");
    harness.store.loadWorkspace(site.path());
    EXPECT_FALSE(gtk_widget_get_sensitive(refresh));
}

TEST(ContentView, SearchFieldFiltersTheSidebar)
{
    ViewHarness harness;
    TemporaryDirectory folder;
    harness.store.loadWorkspace(copyFixtureSite("studio", folder));
    ContentView content(harness.store, harness.settings);
    TestWindow window(content.widget());
    auto treeRowCount = content.sidebar().displayedRows().size();

    setSearchText(content, "   ");
    EXPECT_EQ(content.sidebar().displayedRows().size(), treeRowCount);

    setSearchText(content, "post");
    auto rows = content.sidebar().displayedRows();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].title, "First Post");
    drainMainLoop();
    EXPECT_TRUE(contains(mappedLabelTexts(GTK_WIDGET(content.sidebar().listView())), "First Post"));
    EXPECT_FALSE(contains(mappedLabelTexts(GTK_WIDGET(content.sidebar().listView())), "Journal"));
}

TEST(ContentView, SidebarWidthStaysBetween240And360)
{
    ViewHarness harness;
    ContentView content(harness.store, harness.settings);
    TestWindow window(content.widget());

    EXPECT_EQ(gtk_paned_get_position(content.split()), 280);
    gtk_paned_set_position(content.split(), 600);
    drainMainLoop();
    EXPECT_EQ(gtk_paned_get_position(content.split()), 360);
    gtk_paned_set_position(content.split(), 100);
    drainMainLoop();
    EXPECT_EQ(gtk_paned_get_position(content.split()), 240);
    EXPECT_GE(gtk_widget_get_width(content.sidebar().widget()), 240);
}

TEST(ContentView, TypingReachesTheFileOnDiskAfterTheAutosaveDelay)
{
    LiveWindowHarness harness;
    TemporaryDirectory folder;
    auto root = copyFixtureSite("studio", folder);
    ContentView content(harness.store, harness.settings);
    TestWindow window(content.widget());
    harness.store.loadWorkspace(root);
    drainMainLoop();

    auto original = readBytes(root / "index.html");
    typeAtEnd(content.editorPreview().sourceEditor(), "<!-- typed -->\n");
    // Nothing is written while the delay runs.
    EXPECT_EQ(readBytes(root / "index.html"), original);
    EXPECT_STREQ(gtk_label_get_text(content.editorPreview().editStateLabel()), "Pending autosave");

    ASSERT_TRUE(runMainLoopUntil([&] { return readBytes(root / "index.html") != original; }));
    EXPECT_EQ(readBytes(root / "index.html"), original + "<!-- typed -->\n");
    ASSERT_TRUE(runMainLoopUntil([&] { return std::string(gtk_label_get_text(content.editorPreview().editStateLabel())) == "Autosaved changes"; }));
}

TEST(ContentView, CreatingAStarterSiteOpensItsPage)
{
    ViewHarness harness;
    TemporaryDirectory parent;
    ContentView content(harness.store, harness.settings);

    harness.store.createStarterWorkspace(parent.path() / "Untitled Site");

    EXPECT_TRUE(content.isShowingWorkspace());
    auto rows = content.sidebar().displayedRows();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].title, "Untitled Site");
    EXPECT_EQ(content.sidebar().highlightedDocumentID(), "index.html");
    EXPECT_EQ(content.editorPreview().sourceEditor().bufferText().substr(0, 15), u"<!doctype html>");
}

TEST(ContentView, OpenSitePanelOpensTheChosenFolder)
{
    ViewHarness harness;
    TemporaryDirectory folder;
    auto root = copyFixtureSite("studio", folder);
    ContentView content(harness.store, harness.settings);
    TestWindow window(content.widget());

    g_signal_emit_by_name(content.openSiteButton(), "clicked");
    // Without a desktop portal the native chooser shows GTK's own dialog; find it among the windows.
    GtkWidget* chooser = nullptr;
    ASSERT_TRUE(runMainLoopUntil([&] {
        GListModel* toplevels = gtk_window_get_toplevels();
        for (guint index = 0; index < g_list_model_get_n_items(toplevels) && !chooser; ++index) {
            auto* candidate = GTK_WIDGET(g_list_model_get_item(toplevels, index));
            if (GTK_IS_FILE_CHOOSER(candidate) && gtk_widget_get_visible(candidate))
                chooser = candidate;
            g_object_unref(candidate);
        }
        return chooser != nullptr;
    }));
    EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(chooser)), "Choose an existing local website or frontend project folder.");
    EXPECT_EQ(gtk_file_chooser_get_action(GTK_FILE_CHOOSER(chooser)), GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER);
    EXPECT_NE(findLabel(chooser, "Open Site"), nullptr);

    // The user goes into the site folder and confirms it.
    GFile* chosen = g_file_new_for_path(root.c_str());
    ASSERT_TRUE(gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(chooser), chosen, nullptr));
    g_object_unref(chosen);
    ASSERT_TRUE(runMainLoopUntil([&] {
        GFile* current = gtk_file_chooser_get_file(GTK_FILE_CHOOSER(chooser));
        bool isRoot = current && g_file_peek_path(current) == root.string();
        if (current)
            g_object_unref(current);
        return isRoot;
    }));
    gtk_dialog_response(GTK_DIALOG(chooser), GTK_RESPONSE_ACCEPT);
    ASSERT_TRUE(runMainLoopUntil([&] { return harness.store.siteMap().get().has_value(); }));
    EXPECT_EQ(harness.store.rootURL().get(), root);
}

TEST(ContentView, ClosingWritesThePendingTextAndRefusesOnceWhenThatFails)
{
    ViewHarness harness;
    TemporaryDirectory folder;
    auto root = copyFixtureSite("studio", folder);
    ContentView content(harness.store, harness.settings);
    harness.store.loadWorkspace(root);

    typeAtEnd(content.editorPreview().sourceEditor(), "<!-- a -->");
    EXPECT_TRUE(content.shouldClose());
    EXPECT_TRUE(readBytes(root / "index.html").ends_with("<!-- a -->"));

    typeAtEnd(content.editorPreview().sourceEditor(), "<!-- b -->");
    // Running as root, permission bits don't stop a write: a folder in the file's place does.
    std::filesystem::remove(root / "index.html");
    std::filesystem::create_directory(root / "index.html");
    EXPECT_FALSE(content.shouldClose());
    EXPECT_TRUE(harness.store.errorMessage().get());
    EXPECT_TRUE(content.shouldClose());
}
