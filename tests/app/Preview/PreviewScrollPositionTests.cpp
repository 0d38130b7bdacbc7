// The preview keeps the reader's place when an autosave reloads the page: a real window, a real
// web view and real timers over a long page in a temporary folder.

#include "QuilloryApp/Brightloop/BrightloopStore.h"
#include "QuilloryApp/Editor/SourceEditorView.h"
#include "QuilloryApp/Preview/PreviewPane.h"
#include "QuilloryApp/Preview/WebPreviewView.h"
#include "QuilloryApp/Shell/ContentView.h"
#include "QuilloryApp/Shell/EditorPreviewView.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/ViewTestSupport.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <webkit/webkit.h>

#include <string>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

std::string longPage()
{
    std::string page = "<!doctype html>\n<html><head><title>Long</title></head><body>\n<h1>Long page</h1>\n";
    for (int paragraph = 0; paragraph < 200; ++paragraph)
        page += "<p id=\"p" + std::to_string(paragraph) + "\">Paragraph " + std::to_string(paragraph) + " with enough words to take a line.</p>\n";
    return page + "</body></html>\n";
}

struct ScrollWindow {
    LiveWindowHarness harness;
    TemporaryDirectory site;
    ContentView content { harness.store, harness.settings };
    TestWindow window { content.widget(), 1440, 860 };
    WebKitWebView* webView { content.editorPreview().previewPane().webPreviewView().webView() };
    int finishedLoads { 0 };
    gulong loadHandler { 0 };

    ScrollWindow()
    {
        site.write("index.html", longPage());
        loadHandler = g_signal_connect_swapped(webView, "load-changed", G_CALLBACK(+[](ScrollWindow* self, WebKitLoadEvent event) {
            if (event == WEBKIT_LOAD_FINISHED)
                ++self->finishedLoads;
        }),
            this);
        harness.store.loadWorkspace(site.path());
    }
    ~ScrollWindow() { g_signal_handler_disconnect(webView, loadHandler); }

    std::string evaluate(const std::string& body) { return evaluateInPage(webView, body).value_or("<failed>"); }
    std::string scrollY() { return evaluate("return String(Math.round(window.scrollY));"); }
};

}

TEST(PreviewScrollPosition, AutosaveReloadKeepsThePlaceAndTheFenceResult)
{
    ScrollWindow preview;
    ASSERT_TRUE(waitUntil([&] { return preview.finishedLoads > 0 && !webkit_web_view_is_loading(preview.webView); }));
    // Scrolled by the reader, and the scroll report has come and gone.
    EXPECT_EQ(preview.evaluate("window.scrollTo(0, 1500); return String(Math.round(window.scrollY));"), "1500");
    waitFor(std::chrono::milliseconds(300));

    // A fence result over the visible area, which a scroll of the reader's would clear.
    auto& brightloop = preview.harness.store.brightloopStore();
    brightloop.requestVisibleAreaFence();
    ASSERT_TRUE(waitUntil([&] { return brightloop.result().get().has_value(); }));

    int loadsBefore = preview.finishedLoads;
    typeAtEnd(preview.content.editorPreview().sourceEditor(), "<p id=\"saved\">Saved</p>");
    ASSERT_TRUE(waitUntil([&] { return preview.finishedLoads > loadsBefore && !webkit_web_view_is_loading(preview.webView); }));
    ASSERT_TRUE(waitUntil([&] { return preview.evaluate("return document.getElementById('saved') ? 'yes' : 'no';") == "yes"; }));
    EXPECT_EQ(preview.scrollY(), "1500");
    // Longer than the scroll report's pause: the restored position was not taken for a scroll.
    waitFor(std::chrono::milliseconds(500));
    EXPECT_TRUE(brightloop.result().get().has_value());

    // The reader's own scroll still clears it.
    preview.evaluate("window.scrollTo(0, 300); return 'ok';");
    ASSERT_TRUE(waitUntil([&] { return !brightloop.result().get().has_value(); }));
}
