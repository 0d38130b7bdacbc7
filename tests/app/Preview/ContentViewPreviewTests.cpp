// The live preview in the whole window: links between pages drive the sidebar, autosaves reload
// the rendering, and a screen capture shows the rendered page beside its source.

#include "QuilloryApp/Shell/ContentView.h"
#include "QuilloryApp/Shell/EditorPreviewView.h"
#include "QuilloryApp/Preview/PreviewPane.h"
#include "QuilloryApp/Shell/SidebarView.h"
#include "QuilloryApp/Editor/SourceEditorView.h"
#include "QuilloryApp/Preview/WebPreviewView.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/ScreenCapture.h"
#include "app/support/ViewTestSupport.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <webkit/webkit.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

// A live window over a copy of the fixture site "studio", with a count of finished page loads.
struct PreviewWindow {
    LiveWindowHarness harness;
    TemporaryDirectory folder;
    std::filesystem::path root { copyFixtureSite("studio", folder) };
    ContentView content { harness.store, harness.settings };
    TestWindow window { content.widget(), 1440, 860 };
    WebKitWebView* webView { content.editorPreview().previewPane().webPreviewView().webView() };
    int finishedLoads { 0 };
    gulong loadHandler { 0 };

    PreviewWindow()
    {
        loadHandler = g_signal_connect_swapped(webView, "load-changed", G_CALLBACK(+[](PreviewWindow* self, WebKitLoadEvent event) {
            if (event == WEBKIT_LOAD_FINISHED)
                ++self->finishedLoads;
        }),
            this);
        harness.store.loadWorkspace(root);
    }
    ~PreviewWindow() { g_signal_handler_disconnect(webView, loadHandler); }

    std::string uri() const
    {
        const char* current = webkit_web_view_get_uri(webView);
        return current ? current : "";
    }
    bool waitForPage(const std::string& expectedURI)
    {
        return waitUntil([&] { return uri() == expectedURI && !webkit_web_view_is_loading(webView) && finishedLoads > 0; });
    }
    std::string evaluate(const std::string& body) { return evaluateInPage(webView, body).value_or("<failed>"); }
    void clickLink(const std::string& href)
    {
        // A real click event on the anchor, so the engine asks the navigation policy as for the user.
        evaluate("document.querySelector('a[href=\"" + href + "\"]').click(); return 'clicked';");
    }
};

}

TEST(ContentViewPreview, LinkInThePreviewSelectsThePageInTheSidebarAndTheEditor)
{
    PreviewWindow preview;
    ASSERT_TRUE(preview.waitForPage("quillory-site://local/index.html"));
    EXPECT_EQ(preview.content.sidebar().highlightedDocumentID(), "index.html");

    preview.clickLink("about.html");
    ASSERT_TRUE(waitUntil([&] { return preview.content.sidebar().highlightedDocumentID() == "about.html"; }));
    EXPECT_EQ(preview.harness.store.selectedPageID().get(), "about.html");
    ASSERT_TRUE(preview.waitForPage("quillory-site://local/about.html"));
    EXPECT_EQ(preview.evaluate("return document.querySelector('h1').textContent;"), "About Us");
    auto editorText = preview.content.editorPreview().sourceEditor().bufferText();
    EXPECT_NE(editorText.find(u"<h1>About Us</h1>"), std::u16string::npos);

    // And back through the page's own link.
    preview.clickLink("index.html");
    ASSERT_TRUE(waitUntil([&] { return preview.content.sidebar().highlightedDocumentID() == "index.html"; }));
    ASSERT_TRUE(preview.waitForPage("quillory-site://local/index.html"));
}

TEST(ContentViewPreview, LinkIsRefusedWhileTheCurrentPageCannotBeSaved)
{
    PreviewWindow preview;
    ASSERT_TRUE(preview.waitForPage("quillory-site://local/index.html"));
    typeAtEnd(preview.content.editorPreview().sourceEditor(), "<!-- unsaved -->");
    // Running as root, permission bits don't stop a write: a folder in the file's place does.
    std::filesystem::remove(preview.root / "index.html");
    std::filesystem::create_directory(preview.root / "index.html");

    preview.clickLink("about.html");
    ASSERT_TRUE(waitUntil([&] { return preview.harness.store.errorMessage().get().has_value(); }));
    // Give a navigation that was wrongly let through the time to start.
    waitFor(std::chrono::milliseconds(300));
    EXPECT_EQ(preview.content.sidebar().highlightedDocumentID(), "index.html");
    EXPECT_EQ(preview.harness.store.selectedPageID().get(), "index.html");
    EXPECT_EQ(preview.uri(), "quillory-site://local/index.html");
    // The unsaved text is still in the editor.
    auto editorText = preview.content.editorPreview().sourceEditor().bufferText();
    EXPECT_TRUE(editorText.ends_with(u"<!-- unsaved -->"));
}

TEST(ContentViewPreview, EachAutosaveReloadsThePreviewWithTheNewText)
{
    PreviewWindow preview;
    ASSERT_TRUE(preview.waitForPage("quillory-site://local/index.html"));
    int loadsBefore = preview.finishedLoads;

    typeAtEnd(preview.content.editorPreview().sourceEditor(), "<p id=\"typed\">First edit</p>");
    ASSERT_TRUE(waitUntil([&] { return preview.evaluate("return document.getElementById('typed')?.textContent ?? '';") == "First edit"; }));
    EXPECT_GT(preview.finishedLoads, loadsBefore);
    EXPECT_TRUE(readBytes(preview.root / "index.html").ends_with("<p id=\"typed\">First edit</p>"));

    int loadsAfterFirst = preview.finishedLoads;
    typeAtEnd(preview.content.editorPreview().sourceEditor(), "<p id=\"second\">Second edit</p>");
    ASSERT_TRUE(waitUntil([&] { return preview.evaluate("return document.getElementById('second')?.textContent ?? '';") == "Second edit"; }));
    EXPECT_GT(preview.finishedLoads, loadsAfterFirst);
    EXPECT_EQ(preview.uri(), "quillory-site://local/index.html");
}

TEST(ContentViewPreviewOnScreen, ScreenCaptureShowsTheRenderedPage)
{
    PreviewWindow preview;
    ASSERT_TRUE(preview.waitForPage("quillory-site://local/index.html"));
    ASSERT_TRUE(preview.harness.store.requestSelectDocument("about.html"));
    ASSERT_TRUE(preview.waitForPage("quillory-site://local/about.html")) << preview.uri();
    // Let the web process paint its first frame into the window.
    waitFor(std::chrono::milliseconds(500));
    preview.window.waitForFrame();

    auto png = preview.folder.path() / "preview-window.png";
    ASSERT_TRUE(saveScreenCapture(preview.window.window(), png));
    GError* error = nullptr;
    GdkTexture* texture = gdk_texture_new_from_filename(png.c_str(), &error);
    ASSERT_NE(texture, nullptr) << (error ? error->message : "");
    auto width = static_cast<std::size_t>(gdk_texture_get_width(texture));
    auto height = static_cast<std::size_t>(gdk_texture_get_height(texture));
    std::vector<guint32> pixels(width * height);
    gdk_texture_download(texture, reinterpret_cast<guchar*>(pixels.data()), width * 4);
    g_object_unref(texture);

    // The web view's area holds drawn text, not a blank surface: many colours inside its bounds.
    graphene_point_t topLeft = GRAPHENE_POINT_INIT(0, 0);
    graphene_point_t origin;
    ASSERT_TRUE(gtk_widget_compute_point(GTK_WIDGET(preview.webView), preview.window.window(), &topLeft, &origin));
    auto left = static_cast<std::size_t>(std::max(0.0f, origin.x));
    auto top = static_cast<std::size_t>(std::max(0.0f, origin.y));
    auto right = std::min(width, left + static_cast<std::size_t>(gtk_widget_get_width(GTK_WIDGET(preview.webView))));
    auto bottom = std::min(height, top + static_cast<std::size_t>(gtk_widget_get_height(GTK_WIDGET(preview.webView))));
    std::vector<guint32> area;
    for (std::size_t y = top; y < bottom; ++y)
        area.insert(area.end(), pixels.begin() + static_cast<std::ptrdiff_t>(y * width + left), pixels.begin() + static_cast<std::ptrdiff_t>(y * width + right));
    std::sort(area.begin(), area.end());
    auto distinctColours = std::unique(area.begin(), area.end()) - area.begin();
    EXPECT_GT(distinctColours, 20) << "the web view's area of " << png << " looks blank";

    // scripts/snapshot-window.sh sets this to keep the picture in docs/.
    if (const char* keep = std::getenv("QUILLORY_PREVIEW_SNAPSHOT"))
        std::filesystem::copy_file(png, keep, std::filesystem::copy_options::overwrite_existing);
}
