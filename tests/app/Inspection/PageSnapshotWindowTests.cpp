// "Page Snapshot" in the whole window: the header button asks the store, the preview runs the
// snapshot in the rendered page, and the panel under the preview shows what the page holds.

#include "QuilloryApp/Shell/ContentView.h"
#include "QuilloryApp/Shell/EditorPreviewView.h"
#include "QuilloryApp/Inspection/PageInspectionPanel.h"
#include "QuilloryApp/Preview/PreviewPane.h"
#include "QuilloryApp/Preview/WebPreviewView.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/ScreenCapture.h"
#include "app/support/ViewTestSupport.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <webkit/webkit.h>

#include <cstdlib>
#include <string>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

constexpr const char* inspectedPage = R"(<!doctype html>
<html lang="en">
<head>
<meta charset="utf-8">
<title>Harbour Guide</title>
<style>
  @media (min-width: 400px) { body { margin: 24px; } }
  h1 { color: #123; }
</style>
</head>
<body>
<h1>Harbour Guide</h1>
<h2 id="">Moorings</h2>
<p><a href="moorings.html">Moorings</a> · <a href="https://example.org/tides">Tides</a> · <a href="mailto:office@example.org">Write</a></p>
<img src="map.png" alt="Harbour map">
<img src="boat.png">
</body>
</html>
)";

}

TEST(PageSnapshotWindowOnScreen, PageSnapshotButtonShowsWhatThePageRendered)
{
    LiveWindowHarness harness;
    TemporaryDirectory folder;
    folder.write("harbour-guide/index.html", inspectedPage);
    folder.write("harbour-guide/moorings.html", "<!doctype html><title>Moorings</title><h1>Moorings</h1>");
    ContentView content(harness.store, harness.settings);
    TestWindow window(content.widget(), 1440, 860);
    harness.store.loadWorkspace(folder.path() / "harbour-guide");
    auto& pane = content.editorPreview().previewPane();
    WebKitWebView* webView = pane.webPreviewView().webView();
    ASSERT_TRUE(waitUntil([&] {
        const char* uri = webkit_web_view_get_uri(webView);
        return uri && std::string(uri) == "quillory-site://local/index.html" && !webkit_web_view_is_loading(webView);
    }));
    GtkWidget* panel = pane.pageInspectionPanel().widget();
    EXPECT_FALSE(gtk_widget_get_visible(panel));

    g_signal_emit_by_name(pane.pageSnapshotButton(), "clicked");
    ASSERT_TRUE(waitUntil([&] { return harness.store.pageInspectionStore().snapshot().get().has_value(); }));
    ASSERT_TRUE(waitUntil([&] { return gtk_widget_get_mapped(panel); }));
    const auto& snapshot = *harness.store.pageInspectionStore().snapshot().get();
    EXPECT_EQ(snapshot.title, "Harbour Guide");
    EXPECT_EQ(snapshot.headingCount(), 2);
    EXPECT_EQ(snapshot.localLinkCount(), 1);
    EXPECT_EQ(snapshot.externalLinkCount(), 2);
    EXPECT_EQ(snapshot.missingAltImageCount(), 1);
    // The media rule, its inner rule and the h1 rule.
    EXPECT_EQ(snapshot.cssRuleCount(), 3);
    EXPECT_FALSE(harness.store.pageInspectionStore().isLoading().get());

    auto texts = mappedLabelTexts(panel);
    EXPECT_TRUE(contains(texts, "Native Page Snapshot"));
    EXPECT_TRUE(contains(texts, "1L / 2E"));
    EXPECT_TRUE(contains(texts, "boat.png"));
    EXPECT_TRUE(contains(texts, "Moorings"));

    TemporaryDirectory captures;
    auto png = captures.path() / "page-snapshot-window.png";
    ASSERT_TRUE(saveScreenCapture(window.window(), png));
    // scripts/snapshot-window.sh sets this to keep the picture in docs/.
    if (const char* keep = std::getenv("QUILLORY_PAGE_SNAPSHOT_SNAPSHOT"))
        std::filesystem::copy_file(png, keep, std::filesystem::copy_options::overwrite_existing);

    // Selecting another page makes the snapshot stale: the panel goes.
    ASSERT_TRUE(harness.store.requestSelectDocument("moorings.html"));
    EXPECT_FALSE(harness.store.pageInspectionStore().snapshot().get().has_value());
    ASSERT_TRUE(waitUntil([&] { return !gtk_widget_get_visible(panel); }));
}
