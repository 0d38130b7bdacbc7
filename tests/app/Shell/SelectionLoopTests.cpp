// The whole window with real timers and a real web view: switching pages while an autosave is
// pending must change the selection exactly once per click, and nothing may change it afterwards.

#include "QuilloryApp/Editor/SourceEditorView.h"
#include "QuilloryApp/Preview/PreviewPane.h"
#include "QuilloryApp/Preview/WebPreviewView.h"
#include "QuilloryApp/Shell/ContentView.h"
#include "QuilloryApp/Shell/EditorPreviewView.h"
#include "QuilloryApp/Shell/SidebarView.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/ViewTestSupport.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <webkit/webkit.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

struct SelectionWindow {
    LiveWindowHarness harness;
    TemporaryDirectory folder;
    std::filesystem::path root { copyFixtureSite("studio", folder) };
    ContentView content { harness.store, harness.settings };
    TestWindow window { content.widget(), 1440, 860 };
    WebKitWebView* webView { content.editorPreview().previewPane().webPreviewView().webView() };
    std::vector<std::optional<std::string>> selections;
    sigc::connection selectionConnection;

    SelectionWindow()
    {
        harness.store.loadWorkspace(root);
        selectionConnection = harness.store.selectedPageID().changed.connect([this] { selections.push_back(harness.store.selectedPageID().get()); });
    }
    ~SelectionWindow() { selectionConnection.disconnect(); }

    bool waitForPreviewOf(const std::string& documentID)
    {
        auto expected = "quillory-site://local/" + documentID;
        return waitUntil([&] {
            const char* uri = webkit_web_view_get_uri(webView);
            return uri && expected == uri && !webkit_web_view_is_loading(webView);
        });
    }

    // Clicks a row as the list's click gesture does: through the row's "listitem.select" action.
    void clickRow(std::string_view title)
    {
        GtkWidget* label = findLabel(GTK_WIDGET(content.sidebar().listView()), title);
        ASSERT_NE(label, nullptr) << title;
        ASSERT_TRUE(gtk_widget_activate_action(label, "listitem.select", "(bb)", FALSE, FALSE));
    }
};

}

TEST(SelectionLoop, SwitchingDuringAPendingAutosaveChangesTheSelectionOncePerClick)
{
    SelectionWindow window;
    ASSERT_TRUE(window.waitForPreviewOf("index.html"));

    window.clickRow("About Us");
    ASSERT_TRUE(window.waitForPreviewOf("about.html"));
    typeAtEnd(window.content.editorPreview().sourceEditor(), "x");
    // Well within the autosave delay.
    window.clickRow("First Post");
    waitFor(std::chrono::seconds(2));
    window.clickRow("About Us");
    waitFor(std::chrono::seconds(4));

    std::vector<std::optional<std::string>> expected { "about.html", "blog/first-post.html", "about.html" };
    EXPECT_EQ(window.selections, expected);
    EXPECT_EQ(window.harness.store.selectedPageID().get(), "about.html");
    EXPECT_EQ(window.content.sidebar().highlightedDocumentID(), "about.html");
    EXPECT_TRUE(window.waitForPreviewOf("about.html"));
    // The typed character went to the page it was typed into, and nowhere else.
    EXPECT_TRUE(readBytes(window.root / "about.html").ends_with("x"));
    EXPECT_FALSE(readBytes(window.root / "blog/first-post.html").ends_with("x"));
}
