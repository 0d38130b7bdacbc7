#include "QuilloryApp/LiveFetch/FetchLiveSiteSheet.h"
#include "QuilloryApp/Preview/PreviewPane.h"
#include "QuilloryApp/Preview/WebPreviewView.h"
#include "QuilloryApp/Shell/ContentView.h"
#include "QuilloryApp/Shell/EditorPreviewView.h"
#include "app/support/LoopbackHTTPServer.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/ScreenCapture.h"
#include "app/support/ViewTestSupport.h"
#include "support/SocketHTTPServer.h"
#include "support/WorkingDirectory.h"

#include <gtest/gtest.h>
#include <webkit/webkit.h>

#include <cstdlib>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

constexpr const char* livePage = R"(<!doctype html>
<html lang="en">
<head>
<meta charset="utf-8">
<title>Harbour Live</title>
<link rel="stylesheet" href="/css/site.css">
</head>
<body>
<h1>Harbour Live</h1>
<p>Boats, tides and the ferry timetable.</p>
<img src="/img/missing.png" alt="Map">
<a href="https://example.org/elsewhere">Elsewhere</a>
</body>
</html>
)";

constexpr const char* liveStylesheet = "body { font-family: sans-serif; background: #e8f4f2; margin: 40px; }\n"
                                       "h1 { color: #0b6e63; }\n";

void click(GtkWidget* button)
{
    g_signal_emit_by_name(button, "clicked");
}

}

// Over a manual scheduler, so each state in between can be looked at; the server runs on threads
// of its own because the fetch then runs on the test's thread.
TEST(FetchLiveSiteSheet, ShowsItsWordsAndFollowsTheFetch)
{
    ViewHarness harness;
    WorkingDirectory workingDirectory;
    SocketHTTPServer server;
    server.serve("/", "text/html", livePage);
    server.serve("/css/site.css", "text/css", liveStylesheet);
    ContentView content(harness.store, harness.settings);
    TestWindow window(content.widget());

    GtkWidget* toolbarButton = content.fetchLiveSiteButton();
    EXPECT_STREQ(gtk_widget_get_tooltip_text(toolbarButton), "Fetch Live Site");
    EXPECT_STREQ(gtk_button_get_icon_name(GTK_BUTTON(toolbarButton)), "folder-download-symbolic");
    EXPECT_TRUE(gtk_widget_get_sensitive(toolbarButton));
    EXPECT_EQ(content.fetchLiveSiteSheet(), nullptr);

    click(toolbarButton);
    auto* sheet = content.fetchLiveSiteSheet();
    ASSERT_TRUE(sheet);
    ASSERT_TRUE(runMainLoopUntil([&] { return gtk_widget_get_mapped(sheet->window()); }));
    EXPECT_TRUE(sheet->isPresented());
    GtkWidget* focus = gtk_root_get_focus(GTK_ROOT(sheet->window()));
    EXPECT_TRUE(focus && (focus == GTK_WIDGET(sheet->urlEntry()) || gtk_widget_is_ancestor(focus, GTK_WIDGET(sheet->urlEntry()))));
    EXPECT_EQ(gtk_window_get_transient_for(GTK_WINDOW(sheet->window())), GTK_WINDOW(window.window()));
    auto texts = mappedLabelTexts(sheet->window());
    EXPECT_TRUE(contains(texts, "Fetch Live Site"));
    EXPECT_TRUE(contains(texts, "Save a local inspection snapshot under Playgrounds/fetched-live."));
    EXPECT_TRUE(contains(texts, "The snapshot is a local playground copy. It does not publish changes back to the live website."));
    EXPECT_FALSE(contains(texts, "Fetching page and same-origin assets..."));
    EXPECT_STREQ(gtk_entry_get_placeholder_text(sheet->urlEntry()), "https://example.com");
    EXPECT_STREQ(gtk_button_get_label(GTK_BUTTON(sheet->cancelButton())), "Cancel");
    EXPECT_STREQ(gtk_button_get_label(GTK_BUTTON(sheet->fetchButton())), "Fetch");
    EXPECT_FALSE(gtk_widget_get_visible(sheet->errorRow()));
    EXPECT_FALSE(gtk_widget_get_visible(sheet->summaryRow()));

    gtk_editable_set_text(GTK_EDITABLE(sheet->urlEntry()), server.url("/").c_str());
    click(sheet->fetchButton());
    drainMainLoop();
    EXPECT_TRUE(contains(mappedLabelTexts(sheet->window()), "Fetching page and same-origin assets..."));
    EXPECT_FALSE(gtk_widget_get_sensitive(sheet->fetchButton()));
    EXPECT_FALSE(gtk_widget_get_sensitive(toolbarButton));
    EXPECT_FALSE(content.isShowingWorkspace());

    harness.scheduler.runBackgroundWorkAndDeliver();
    drainMainLoop();
    EXPECT_FALSE(gtk_widget_get_visible(sheet->loadingRow()));
    EXPECT_TRUE(gtk_widget_get_sensitive(sheet->fetchButton()));
    EXPECT_TRUE(gtk_widget_get_sensitive(toolbarButton));
    ASSERT_TRUE(harness.store.liveFetchSummary().get());
    EXPECT_TRUE(gtk_widget_get_mapped(sheet->summaryRow()));
    EXPECT_EQ(gtk_label_get_text(sheet->summaryLabel()), *harness.store.liveFetchSummary().get());
    EXPECT_NE(harness.store.liveFetchSummary().get()->find(" with 1 asset and 2 skipped resources."), std::string::npos);
    EXPECT_TRUE(content.isShowingWorkspace());
    EXPECT_TRUE(contains(mappedLabelTexts(content.widget()), "Harbour Live"));

    click(sheet->cancelButton());
    EXPECT_FALSE(sheet->isPresented());
    // The typed URL waits for the next time.
    click(toolbarButton);
    EXPECT_TRUE(sheet->isPresented());
    EXPECT_EQ(sheet->urlString(), server.url("/"));
}

TEST(FetchLiveSiteSheet, SubmittingTheFieldReportsAnErrorInTheSheet)
{
    ViewHarness harness;
    WorkingDirectory workingDirectory;
    ContentView content(harness.store, harness.settings);
    TestWindow window(content.widget());
    click(content.fetchLiveSiteButton());
    auto* sheet = content.fetchLiveSiteSheet();
    ASSERT_TRUE(sheet);

    gtk_editable_set_text(GTK_EDITABLE(sheet->urlEntry()), "   ");
    g_signal_emit_by_name(sheet->urlEntry(), "activate");
    drainMainLoop();
    EXPECT_TRUE(gtk_widget_get_visible(sheet->errorRow()));
    EXPECT_STREQ(gtk_label_get_text(sheet->errorLabel()), "Enter a live website URL.");
    EXPECT_EQ(harness.scheduler.dispatchedWorkCount(), 0u);

    gtk_editable_set_text(GTK_EDITABLE(sheet->urlEntry()), "ftp://example.org/");
    g_signal_emit_by_name(sheet->urlEntry(), "activate");
    EXPECT_FALSE(gtk_widget_get_visible(sheet->errorRow()));
    harness.scheduler.runBackgroundWorkAndDeliver();
    drainMainLoop();
    EXPECT_STREQ(gtk_label_get_text(sheet->errorLabel()), "Enter an http or https URL.");
    EXPECT_TRUE(gtk_widget_get_visible(sheet->errorRow()));
    EXPECT_FALSE(content.isShowingWorkspace());
}

// The whole window with the application's own scheduler and a main loop server: the fetch runs on
// the worker thread while the window goes on drawing, then the snapshot opens and renders.
TEST(FetchLiveSiteWindowOnScreen, FetchingFromALoopbackServerOpensTheSnapshot)
{
    LiveWindowHarness harness;
    WorkingDirectory workingDirectory;
    LoopbackHTTPServer server;
    ASSERT_FALSE(server.baseURL().empty());
    server.serve("/", "text/html", livePage);
    server.serve("/css/site.css", "text/css", liveStylesheet);
    ContentView content(harness.store, harness.settings);
    TestWindow window(content.widget(), 1440, 860);

    click(content.fetchLiveSiteButton());
    auto* sheet = content.fetchLiveSiteSheet();
    ASSERT_TRUE(sheet);
    gtk_editable_set_text(GTK_EDITABLE(sheet->urlEntry()), server.baseURL().c_str());
    click(sheet->fetchButton());
    EXPECT_TRUE(harness.store.liveFetchIsLoading().get());

    ASSERT_TRUE(waitUntil([&] { return !harness.store.liveFetchIsLoading().get(); }));
    ASSERT_EQ(harness.store.errorMessage().get(), std::nullopt);
    ASSERT_TRUE(harness.store.liveFetchSummary().get());
    auto root = *harness.store.rootURL().get();
    EXPECT_EQ(root.parent_path(), workingDirectory.path() / "Playgrounds" / "fetched-live");
    EXPECT_EQ(*harness.store.liveFetchSummary().get(),
              "Fetched " + server.baseURL() + " into " + root.filename().string() + " with 1 asset and 2 skipped resources.");
    EXPECT_EQ(server.requestCount("/css/site.css"), 1);
    EXPECT_EQ(server.requestCount("/img/missing.png"), 1);
    ASSERT_TRUE(waitUntil([&] { return gtk_widget_get_mapped(sheet->summaryRow()); }));
    EXPECT_TRUE(contains(mappedLabelTexts(sheet->window()), *harness.store.liveFetchSummary().get()));

    // The snapshot opened like any local site, and the preview renders its local stylesheet.
    EXPECT_TRUE(content.isShowingWorkspace());
    EXPECT_TRUE(contains(mappedLabelTexts(content.widget()), root.filename().string()));
    WebKitWebView* webView = content.editorPreview().previewPane().webPreviewView().webView();
    ASSERT_TRUE(waitUntil([&] {
        const char* uri = webkit_web_view_get_uri(webView);
        return uri && std::string(uri) == "quillory-site://local/index.html" && !webkit_web_view_is_loading(webView);
    }));
    auto colour = evaluateInPage(webView, "return getComputedStyle(document.querySelector('h1')).color;");
    EXPECT_EQ(colour, "rgb(11, 110, 99)");

    TemporaryDirectory captures;
    auto sheetPNG = captures.path() / "live-fetch-sheet.png";
    ASSERT_TRUE(saveScreenCapture(sheet->window(), sheetPNG));
    click(sheet->cancelButton());
    window.waitForFrame();
    auto windowPNG = captures.path() / "live-fetch-window.png";
    ASSERT_TRUE(saveScreenCapture(window.window(), windowPNG));
    // scripts/snapshot-window.sh sets these to keep the pictures in docs/.
    if (const char* keep = std::getenv("QUILLORY_LIVE_FETCH_SNAPSHOT"))
        std::filesystem::copy_file(windowPNG, keep, std::filesystem::copy_options::overwrite_existing);
    if (const char* keep = std::getenv("QUILLORY_LIVE_FETCH_SHEET_SNAPSHOT"))
        std::filesystem::copy_file(sheetPNG, keep, std::filesystem::copy_options::overwrite_existing);
}
