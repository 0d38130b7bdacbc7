// The "Format Document" button in the whole window, with the real dprint on the worker thread and
// the real preview: the text changes as one undo step and the rendering reloads.

#include "QuilloryApp/Formatter/DprintFormatterService.h"
#include "QuilloryApp/Formatter/FormatDocumentButton.h"
#include "QuilloryApp/Editor/SourceEditorView.h"
#include "QuilloryApp/Preview/PreviewPane.h"
#include "QuilloryApp/Preview/WebPreviewView.h"
#include "QuilloryApp/Shell/ContentView.h"
#include "QuilloryApp/Shell/EditorPreviewView.h"
#include "QuilloryCore/Text/UnicodeText.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/ViewTestSupport.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <webkit/webkit.h>

#include <string>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

constexpr const char* messyPage = "<html><body><div><p id=\"greeting\">Hello</p>\n<span>x</span></div></body></html>";
constexpr const char* formattedPage
    = "<html>\n  <body>\n    <div>\n      <p id=\"greeting\">Hello</p>\n      <span>x</span>\n    </div>\n  </body>\n</html>\n";

struct FormattingWindow {
    LiveWindowHarness harness;
    TemporaryDirectory site;
    TemporaryDirectory temporary;
    ContentView content { harness.store, harness.settings };
    TestWindow window { content.widget(), 1440, 860 };
    FormatDocumentButton& button { content.editorPreview().formatDocumentButton() };
    WebKitWebView* webView { content.editorPreview().previewPane().webPreviewView().webView() };
    int finishedLoads { 0 };
    gulong loadHandler { 0 };

    FormattingWindow()
    {
        site.write("index.html", messyPage);
        site.write("notes.txt", "not a page");
        loadHandler = g_signal_connect_swapped(webView, "load-changed", G_CALLBACK(+[](FormattingWindow* self, WebKitLoadEvent event) {
            if (event == WEBKIT_LOAD_FINISHED)
                ++self->finishedLoads;
        }),
            this);
        harness.store.setFormatterService(DprintFormatterService(QUILLORY_DPRINT_ROOT, temporary.path()));
        harness.store.loadWorkspace(site.path());
    }
    ~FormattingWindow() { g_signal_handler_disconnect(webView, loadHandler); }

    std::string bufferText() const { return UnicodeText::utf8FromUTF16(content.editorPreview().sourceEditor().bufferText()); }
    bool isEnabled() const { return gtk_widget_get_sensitive(button.widget()); }
};

}

TEST(FormatDocumentWindow, ButtonFormatsTheMessyPageAsOneStepAndThePreviewReloads)
{
    FormattingWindow window;
    ASSERT_TRUE(waitUntil([&] { return window.finishedLoads > 0 && !webkit_web_view_is_loading(window.webView); }));
    EXPECT_TRUE(window.isEnabled());
    EXPECT_FALSE(window.button.isShowingSpinner());
    EXPECT_NE(findLabel(window.button.widget(), "Format Document"), nullptr);
    EXPECT_STREQ(gtk_widget_get_tooltip_text(window.button.widget()), "Format document");
    int loadsBefore = window.finishedLoads;

    g_signal_emit_by_name(window.button.button(), "clicked");
    // While dprint runs the button is off and its spinner turns.
    EXPECT_TRUE(window.harness.store.isFormattingDocument().get());
    EXPECT_FALSE(window.isEnabled());
    EXPECT_TRUE(window.button.isShowingSpinner());

    ASSERT_TRUE(waitUntil([&] { return !window.harness.store.isFormattingDocument().get(); }, std::chrono::seconds(90)));
    EXPECT_EQ(window.harness.store.errorMessage().get(), std::nullopt);
    EXPECT_EQ(window.bufferText(), formattedPage);
    EXPECT_TRUE(window.isEnabled());
    EXPECT_FALSE(window.button.isShowingSpinner());
    EXPECT_EQ(window.harness.store.selectedPageUndoHistory().size(), 1u);

    // The reload that formatting asks for, and the autosave's after it, render the new file.
    ASSERT_TRUE(waitUntil([&] { return window.site.read("index.html") == formattedPage; }));
    ASSERT_TRUE(waitUntil([&] { return window.finishedLoads > loadsBefore && !webkit_web_view_is_loading(window.webView); }));
    EXPECT_EQ(evaluateInPage(window.webView, "return document.getElementById('greeting').textContent;"), "Hello");

    // One undo step brings the messy text back.
    ASSERT_TRUE(window.harness.store.undoSelectedPageChange());
    EXPECT_EQ(window.bufferText(), messyPage);
}

TEST(FormatDocumentWindow, ButtonIsOffWithoutTheFormatter)
{
    FormattingWindow window;
    EXPECT_TRUE(window.isEnabled());
    window.harness.store.setFormatterService(DprintFormatterService(std::nullopt, window.temporary.path()));
    // The button reads the store again when the selection changes.
    window.harness.store.loadWorkspace(window.site.path());
    EXPECT_FALSE(window.isEnabled());
}
