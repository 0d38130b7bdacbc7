// Brightloop in the whole window, driven with the real pointer: fence a heading by dragging over
// the rendered page, jump to its source, fence the visible area, and see scrolling drop the result.

#include "QuilloryApp/Brightloop/BrightloopCandidateRail.h"
#include "QuilloryApp/Brightloop/BrightloopCandidateRow.h"
#include "QuilloryApp/Brightloop/BrightloopOverlayView.h"
#include "QuilloryApp/Brightloop/BrightloopStore.h"
#include "QuilloryApp/Shell/ContentView.h"
#include "QuilloryApp/Shell/EditorPreviewView.h"
#include "QuilloryApp/Preview/PreviewPane.h"
#include "QuilloryApp/Editor/SourceEditorView.h"
#include "QuilloryApp/Preview/WebPreviewView.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/ScreenCapture.h"
#include "app/support/ViewTestSupport.h"
#include "app/support/XTestPointer.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <webkit/webkit.h>

#include <cstdlib>
#include <string>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

// A heading near the top, a paragraph, and enough height below to scroll.
constexpr const char* fixturePage = R"(<!doctype html>
<html lang="en">
<head>
<meta charset="utf-8">
<title>Field Notes</title>
<style>
  body { font-family: sans-serif; margin: 32px; }
  h1 { font-size: 40px; margin: 0 0 16px; }
  .spacer { height: 3000px; }
</style>
</head>
<body>
<h1 id="title">Field Notes</h1>
<p class="lede">Short observations from a week of walking the coast.</p>
<ul>
  <li><a href="index.html">Home</a></li>
  <li>Tide tables</li>
</ul>
<div class="spacer"></div>
</body>
</html>
)";

struct BrightloopWindow {
    LiveWindowHarness harness;
    TemporaryDirectory site;
    ContentView content { harness.store, harness.settings };
    TestWindow window { content.widget(), 1440, 860 };
    PreviewPane& pane { content.editorPreview().previewPane() };
    WebKitWebView* webView { pane.webPreviewView().webView() };

    BrightloopWindow()
    {
        site.write("field-notes/index.html", fixturePage);
        harness.store.loadWorkspace(root());
    }

    std::filesystem::path root() const { return site.path() / "field-notes"; }

    bool waitForPage()
    {
        return waitUntil([&] {
            const char* uri = webkit_web_view_get_uri(webView);
            return uri && std::string(uri) == "quillory-site://local/index.html" && !webkit_web_view_is_loading(webView)
                && evaluateInPage(webView, "return document.readyState;") == "complete";
        });
    }

    // The heading's box in the web view's coordinates (CSS pixels at zoom 1 are widget pixels).
    nlohmann::json headingBox()
    {
        auto text = evaluateInPage(webView, "const r = document.getElementById('title').getBoundingClientRect();"
                                            "return JSON.stringify({x: r.x, y: r.y, width: r.width, height: r.height});");
        return nlohmann::json::parse(text.value_or("{}"));
    }

    // The heading's preview effect marker, "" when it has none.
    std::string headingEffect()
    {
        return evaluateInPage(webView, "return document.getElementById('title').getAttribute('data-quillory-brightloop-preview-effect') || '';")
            .value_or("<failed>");
    }

    const std::optional<BrightloopResult>& result() const { return harness.store.brightloopStore().result().get(); }
};

}

TEST(BrightloopWindowOnScreen, DraggingOverAHeadingOffersItsSourceFirstAndJumpsToIt)
{
    BrightloopWindow brightloop;
    ASSERT_TRUE(brightloop.waitForPage());
    XTestPointer pointer(brightloop.pane.webPreviewView().overlay().widget());
    ASSERT_TRUE(pointer.isAvailable()) << "the X server has no test extension";

    // Switch Brightloop on with the header's toggle.
    EXPECT_FALSE(gtk_widget_get_visible(brightloop.pane.webPreviewView().overlay().widget()));
    gtk_widget_activate(GTK_WIDGET(brightloop.pane.brightloopToggle()));
    ASSERT_TRUE(waitUntil([&] { return brightloop.harness.store.brightloopStore().modeEnabled().get(); }));
    ASSERT_TRUE(waitUntil([&] { return gtk_widget_get_mapped(brightloop.pane.webPreviewView().overlay().widget()); }));

    // Drag a rectangle a little larger than the heading's box.
    auto box = brightloop.headingBox();
    ASSERT_TRUE(box.contains("width")) << box.dump();
    double left = box["x"].get<double>() - 4, top = box["y"].get<double>() - 4;
    double right = box["x"].get<double>() + box["width"].get<double>() + 4, bottom = box["y"].get<double>() + box["height"].get<double>() + 4;
    pointer.drag(left, top, right, bottom);

    ASSERT_TRUE(waitUntil([&] { return brightloop.result().has_value(); }));
    ASSERT_TRUE(waitUntil([&] { return brightloop.pane.isShowingCandidateRail(); }));
    const auto& candidates = brightloop.result()->candidates();
    ASSERT_FALSE(candidates.empty());
    EXPECT_EQ(candidates.front().kind, BrightloopCandidateKind::heading);
    EXPECT_EQ(candidates.front().confidence, BrightloopConfidence::editableSource);
    // The fence is in document space: the page is not scrolled, so it is where the drag was.
    EXPECT_NEAR(brightloop.result()->selection().fence.x, left, 1.5);
    EXPECT_NEAR(brightloop.result()->selection().fence.width, right - left, 1.5);

    // The rail shows the same order, its first row with the word "Source".
    auto& rail = brightloop.pane.candidateRail();
    ASSERT_EQ(rail.rows().size(), candidates.size());
    auto& firstRow = *rail.rows().front();
    EXPECT_STREQ(gtk_label_get_text(firstRow.confidenceTag()), "Source");
    EXPECT_TRUE(gtk_widget_get_sensitive(GTK_WIDGET(firstRow.selectButton())));

    // Choosing it selects the heading's inner text in the editor.
    g_signal_emit_by_name(firstRow.selectButton(), "clicked");
    auto& editor = brightloop.content.editorPreview().sourceEditor();
    std::u16string text = editor.bufferText();
    auto start = text.find(u"<h1 id=\"title\">") + std::u16string(u"<h1 id=\"title\">").size();
    ASSERT_TRUE(waitUntil([&] { return editor.selectedUTF16Range().location == start; }));
    EXPECT_EQ(editor.selectedUTF16Range().length, std::u16string(u"Field Notes").size());
    EXPECT_TRUE(gtk_widget_is_focus(GTK_WIDGET(editor.sourceView())));

    // Highlight the heading and fence it again; halfway through the drag, keep a picture of the
    // window with the fence, the highlighted heading and the rail.
    g_signal_emit_by_name(firstRow.highlightButton(), "clicked");
    ASSERT_TRUE(waitUntil([&] { return brightloop.headingEffect() == "highlighted"; }));
    pointer.moveTo(left, top);
    pointer.press();
    pointer.moveTo((left + right) / 2, (top + bottom) / 2);
    pointer.moveTo(right + 40, bottom + 60);
    waitFor(std::chrono::milliseconds(300));
    brightloop.window.waitForFrame();
    TemporaryDirectory captures;
    auto png = captures.path() / "brightloop-window.png";
    ASSERT_TRUE(saveScreenCapture(brightloop.window.window(), png));
    // scripts/snapshot-window.sh sets this to keep the picture in docs/.
    if (const char* keep = std::getenv("QUILLORY_BRIGHTLOOP_SNAPSHOT"))
        std::filesystem::copy_file(png, keep, std::filesystem::copy_options::overwrite_existing);
    pointer.release();
    // The new fence replaces the result and clears the highlight.
    ASSERT_TRUE(waitUntil([&] { return brightloop.result() && brightloop.result()->selection().fence.width > right - left + 30; }));
    ASSERT_TRUE(waitUntil([&] { return brightloop.headingEffect().empty(); }));

    // A click on the overlay (no drag) fences nothing and leaves the result alone.
    auto before = *brightloop.result();
    pointer.moveTo(left + 10, top + 10);
    pointer.press();
    pointer.release();
    waitFor(std::chrono::milliseconds(300));
    EXPECT_EQ(brightloop.result(), before);
}

TEST(BrightloopWindowOnScreen, FencingTheVisibleAreaThenScrollingDropsTheRail)
{
    BrightloopWindow brightloop;
    ASSERT_TRUE(brightloop.waitForPage());
    gtk_widget_activate(GTK_WIDGET(brightloop.pane.brightloopToggle()));
    ASSERT_TRUE(waitUntil([&] { return brightloop.harness.store.brightloopStore().modeEnabled().get(); }));

    g_signal_emit_by_name(brightloop.pane.fenceVisibleAreaButton(), "clicked");
    ASSERT_TRUE(waitUntil([&] { return brightloop.result().has_value(); }));
    ASSERT_TRUE(waitUntil([&] { return brightloop.pane.isShowingCandidateRail(); }));
    // The whole viewport: the heading, the paragraph and the list item are all in it.
    const auto& fence = brightloop.result()->selection().fence;
    EXPECT_EQ(fence.x, 0);
    EXPECT_EQ(fence.y, 0);
    EXPECT_EQ(fence.width, gtk_widget_get_width(GTK_WIDGET(brightloop.webView)));
    bool hasHeading = false, hasParagraph = false;
    for (const auto& candidate : brightloop.result()->candidates()) {
        hasHeading |= candidate.kind == BrightloopCandidateKind::heading;
        hasParagraph |= candidate.dom.tagName == "p";
    }
    EXPECT_TRUE(hasHeading);
    EXPECT_TRUE(hasParagraph);

    // Highlight the heading, then scroll: that drops the result, the rail and the highlight.
    for (const auto& row : brightloop.pane.candidateRail().rows()) {
        if (row->candidate().kind == BrightloopCandidateKind::heading) {
            g_signal_emit_by_name(row->highlightButton(), "clicked");
            break;
        }
    }
    ASSERT_TRUE(waitUntil([&] { return brightloop.headingEffect() == "highlighted"; }));
    evaluateInPage(brightloop.webView, "window.scrollTo(0, 400); return 'scrolled';");
    ASSERT_TRUE(waitUntil([&] { return !brightloop.result().has_value(); }));
    ASSERT_TRUE(waitUntil([&] { return !brightloop.pane.isShowingCandidateRail(); }));
    EXPECT_EQ(brightloop.harness.store.brightloopStore().previewDirective().get(), BrightloopPreviewDirective::empty());
    ASSERT_TRUE(waitUntil([&] { return brightloop.headingEffect().empty(); }));
    // The file never changed.
    EXPECT_EQ(readBytes(brightloop.root() / "index.html"), fixturePage);
}
