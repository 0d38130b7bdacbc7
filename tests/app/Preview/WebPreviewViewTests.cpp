#include "QuilloryApp/Preview/WebPreviewView.h"

#include "QuilloryApp/Preview/WebPreviewViewCoordinator.h"
#include "app/support/LoopbackHTTPServer.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/PreviewHarness.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <webkit/webkit.h>

#include <string>
#include <vector>

using namespace Quillory;
using namespace std::chrono_literals;
using QuilloryTest::evaluateInPage;
using QuilloryTest::LoopbackHTTPServer;
using QuilloryTest::PreviewHarness;
using QuilloryTest::waitFor;
using QuilloryTest::waitUntil;

namespace {

constexpr const char* indexPage = R"(<!doctype html>
<html><head><meta charset="utf-8"><title>Home</title></head>
<body>
<h1>Home</h1>
<a id="self" href="index.html">Home again</a>
<a id="about" href="about.html">About</a>
<a id="missing" href="missing.html">Missing</a>
</body></html>
)";

constexpr const char* aboutPage = R"(<!doctype html>
<html><head><meta charset="utf-8"><title>About</title></head>
<body><h1>About</h1><a id="self" href="about.html">About again</a><a id="home" href="index.html">Home</a></body></html>
)";

void writeTwoPageSite(PreviewHarness& harness)
{
    harness.write("index.html", indexPage);
    harness.write("about.html", aboutPage);
    harness.scan();
}

TEST(WebPreviewView, SameTargetAndTokenLoadOnce)
{
    PreviewHarness harness;
    writeTwoPageSite(harness);
    harness.select("index.html");
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(1));
    EXPECT_EQ(harness.uri(), "quillory-site://local/index.html");
    EXPECT_EQ(harness.evaluate("return document.querySelector('h1').textContent;"), "Home");
    harness.markDocument();

    harness.update();
    harness.update();
    waitFor(500ms);
    EXPECT_EQ(harness.loadsStarted, 1);
    EXPECT_EQ(harness.documentMark(), "kept");
}

TEST(WebPreviewView, NewReloadTokenLoadsTheSameTargetAgain)
{
    PreviewHarness harness;
    writeTwoPageSite(harness);
    harness.select("index.html");
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(1));
    harness.markDocument();
    // What is on disk now is what the reload shows: nothing is cached.
    harness.write("index.html", std::string(indexPage).replace(std::string(indexPage).find("<h1>Home</h1>"), 13, "<h1>Saved</h1>"));

    harness.inputs.reloadToken = UUID::random();
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(2));
    EXPECT_EQ(harness.loadsStarted, 2);
    EXPECT_EQ(harness.documentMark(), "undefined");
    EXPECT_EQ(harness.evaluate("return document.querySelector('h1').textContent;"), "Saved");
}

TEST(WebPreviewView, ReloadOvertakingAReloadUnderWayKeepsTheReadersPlace)
{
    PreviewHarness harness;
    std::string longPage = "<!doctype html><title>Long</title><h1>Long</h1>";
    for (int paragraph = 0; paragraph < 200; ++paragraph)
        longPage += "<p>Paragraph " + std::to_string(paragraph) + " with enough words to take a line.</p>";
    harness.write("index.html", longPage);
    harness.scan();
    harness.select("index.html");
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(1));
    EXPECT_EQ(harness.evaluate("window.scrollTo(0, 1500); return String(Math.round(window.scrollY));"), "1500");

    // Two saves close together: the second reload comes once the first shows its new document,
    // still at the top, before that load has finished and put the place back.
    struct Overtake {
        PreviewHarness* harness;
        bool done { false };
    } overtake { &harness };
    gulong handler = g_signal_connect_swapped(harness.view.webView(), "load-changed", G_CALLBACK(+[](Overtake* state, WebKitLoadEvent event) {
                                                  if (event != WEBKIT_LOAD_COMMITTED || state->done)
                                                      return;
                                                  state->done = true;
                                                  state->harness->inputs.reloadToken = UUID::random();
                                                  state->harness->update();
                                              }),
                                              &overtake);
    harness.inputs.reloadToken = UUID::random();
    harness.update();
    ASSERT_TRUE(waitUntil([&] { return overtake.done; }));
    g_signal_handler_disconnect(harness.view.webView(), handler);
    ASSERT_TRUE(harness.waitForFinishedLoads(3));
    EXPECT_TRUE(waitUntil([&] { return harness.evaluate("return String(Math.round(window.scrollY));") == "1500"; }));
}

TEST(WebPreviewView, NewTargetWithTheSameTokenLoadsTheNewPage)
{
    PreviewHarness harness;
    writeTwoPageSite(harness);
    harness.select("index.html");
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(1));

    harness.select("about.html");
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(2));
    EXPECT_EQ(harness.uri(), "quillory-site://local/about.html");
    EXPECT_EQ(harness.evaluate("return document.title;"), "About");
    // The view's own load of the selected page is not a link the store must agree to.
    EXPECT_TRUE(harness.askedPages.empty());
}

TEST(WebPreviewView, PageLoadsOutsideAWindowWithSwipesOffThenSwipesComeBack)
{
    PreviewHarness harness;
    writeTwoPageSite(harness);
    harness.select("index.html");
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(1));
    WebKitSettings* settings = webkit_web_view_get_settings(harness.view.webView());
    EXPECT_TRUE(webkit_settings_get_enable_back_forward_navigation_gestures(settings));

    // Out of its window while the next page loads, as when the window closes or the preview moves
    // to another window: the navigation's picture for swipes needs a window, so swipes are off.
    gtk_window_set_child(GTK_WINDOW(harness.window), nullptr);
    EXPECT_FALSE(webkit_settings_get_enable_back_forward_navigation_gestures(settings));
    harness.select("about.html");
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(2));
    EXPECT_EQ(harness.evaluate("return document.querySelector('h1').textContent;"), "About");

    gtk_window_set_child(GTK_WINDOW(harness.window), harness.view.widget());
    ASSERT_TRUE(waitUntil([&] { return gtk_widget_get_realized(GTK_WIDGET(harness.view.webView())); }));
    EXPECT_TRUE(webkit_settings_get_enable_back_forward_navigation_gestures(settings));
}

TEST(WebPreviewView, UnavailableTextShowsLiterallyAndRunsNothing)
{
    PreviewHarness harness;
    const std::string text = "<b>Bold</b> & <script>window.__ran = true</script> > done";
    harness.inputs.previewTarget = PreviewTarget::unavailable(text);
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(1));
    auto state = nlohmann::json::parse(harness.evaluate(
        "return JSON.stringify([document.querySelector('p').textContent, document.querySelectorAll('b, script').length, typeof window.__ran]);"));
    EXPECT_EQ(state, nlohmann::json::array({ text, 0, "undefined" }));
}

TEST(WebPreviewView, UnavailablePageEscapesAmpersandFirstThenAngleBrackets)
{
    EXPECT_EQ(WebPreviewView::Coordinator::escapedHTML("a < b && c > d &lt;"), "a &lt; b &amp;&amp; c &gt; d &amp;lt;");
    EXPECT_EQ(WebPreviewView::Coordinator::unavailableHTML("Select a page to preview."),
              "<!doctype html>\n<html>\n<body style=\"font: -apple-system-body; color: #475569; padding: 24px;\">\n"
              "  <p>Select a page to preview.</p>\n</body>\n</html>");
}

TEST(WebPreviewView, LinkToTheCurrentPageReloadsWithoutAskingTheStore)
{
    PreviewHarness harness;
    writeTwoPageSite(harness);
    harness.select("index.html");
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(1));
    harness.markDocument();

    harness.click("self");
    ASSERT_TRUE(harness.waitForFinishedLoads(2));
    EXPECT_TRUE(harness.askedPages.empty());
    EXPECT_EQ(harness.uri(), "quillory-site://local/index.html");
    EXPECT_EQ(harness.documentMark(), "undefined");
}

TEST(WebPreviewView, LinkToAnotherPageAsksTheStoreAndFollowsItsYes)
{
    PreviewHarness harness;
    writeTwoPageSite(harness);
    harness.select("index.html");
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(1));

    harness.click("about");
    ASSERT_TRUE(harness.waitForFinishedLoads(2));
    EXPECT_EQ(harness.askedPages, std::vector<std::string> { "about.html" });
    EXPECT_EQ(harness.uri(), "quillory-site://local/about.html");
    EXPECT_EQ(harness.evaluate("return document.title;"), "About");

    // The followed page is now the current one: a link to it passes without asking.
    harness.click("self");
    ASSERT_TRUE(harness.waitForFinishedLoads(3));
    EXPECT_EQ(harness.askedPages, std::vector<std::string> { "about.html" });
}

TEST(WebPreviewView, LinkFollowedWhileTheWindowUpdatesTheViewFromTheStore)
{
    PreviewHarness harness;
    writeTwoPageSite(harness);
    harness.select("index.html");
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(1));

    // The store's new selection reaches the view before the store's answer does.
    harness.whileAsked = [&](const std::string& pageID) {
        harness.select(pageID);
        harness.update();
    };
    harness.click("about");
    ASSERT_TRUE(waitUntil([&] { return harness.loadsFinished >= 2 && !webkit_web_view_is_loading(harness.view.webView()); }));
    waitFor(300ms);
    EXPECT_EQ(harness.askedPages, std::vector<std::string> { "about.html" });
    EXPECT_EQ(harness.uri(), "quillory-site://local/about.html");
    EXPECT_EQ(harness.evaluate("return document.title;"), "About");
}

TEST(WebPreviewView, RefusedLinkLeavesThePageAndTheCurrentPageInPlace)
{
    PreviewHarness harness;
    writeTwoPageSite(harness);
    harness.select("index.html");
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(1));
    harness.markDocument();
    harness.storeAgrees = false;

    harness.click("about");
    ASSERT_TRUE(waitUntil([&] { return !harness.askedPages.empty(); }));
    waitFor(500ms);
    EXPECT_EQ(harness.askedPages, std::vector<std::string> { "about.html" });
    EXPECT_EQ(harness.loadsStarted, 1);
    EXPECT_EQ(harness.uri(), "quillory-site://local/index.html");
    EXPECT_EQ(harness.documentMark(), "kept");

    // The current page is still index.html: a link to it passes without asking.
    harness.click("self");
    ASSERT_TRUE(harness.waitForFinishedLoads(2));
    EXPECT_EQ(harness.askedPages, std::vector<std::string> { "about.html" });
}

TEST(WebPreviewView, LinkToAnotherPageWithoutCallbackIsCancelled)
{
    PreviewHarness harness;
    writeTwoPageSite(harness);
    harness.select("index.html");
    harness.inputs.onNavigateToPage = nullptr;
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(1));

    harness.click("about");
    waitFor(500ms);
    EXPECT_EQ(harness.loadsStarted, 1);
    EXPECT_EQ(harness.uri(), "quillory-site://local/index.html");
}

TEST(WebPreviewView, LinkToARouteWithoutPageShowsRouteNotFound)
{
    PreviewHarness harness;
    writeTwoPageSite(harness);
    harness.select("index.html");
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(1));

    harness.click("missing");
    ASSERT_TRUE(harness.waitForFinishedLoads(2));
    EXPECT_TRUE(harness.askedPages.empty());
    EXPECT_EQ(harness.uri(), "quillory-site://local/missing.html");
    EXPECT_EQ(harness.evaluate("return document.body.textContent;"), "Route not found");
    EXPECT_EQ(harness.evaluate("return document.contentType;"), "text/plain");
}

TEST(WebPreviewView, FetchInThePageSeesTheRealStatusAndContentType)
{
    PreviewHarness harness;
    writeTwoPageSite(harness);
    harness.write("data/info.json", R"({"ok": true})");
    harness.scan();
    harness.select("index.html");
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(1));

    auto answers = nlohmann::json::parse(harness.evaluate(R"(
        const describe = async (url) => {
            const response = await fetch(url);
            return [response.status, response.ok, response.headers.get('content-type'), await response.text()];
        };
        return JSON.stringify([await describe('missing.json'), await describe('data/info.json')]);
    )"));
    EXPECT_EQ(answers[0], nlohmann::json::array({ 404, false, "text/plain; charset=utf-8", "Route not found" }));
    EXPECT_EQ(answers[1], nlohmann::json::array({ 200, true, "application/json; charset=utf-8", R"({"ok": true})" }));
}

TEST(WebPreviewView, ScrollBurstReportsOnceAfterItPauses)
{
    PreviewHarness harness;
    harness.write("index.html", "<!doctype html><html><body style=\"margin:0\"><div style=\"height:20000px\">Tall</div></body></html>");
    harness.scan();
    harness.select("index.html");
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(1));
    ASSERT_TRUE(waitUntil([&] {
        return evaluateInPage(harness.view.webView(), "return String(window.__quilloryScrollObserverInstalled === true);") == "true";
    }));

    // About one second of scrolling, one step every 16 ms. The page records when its scroll events
    // came: a busy machine can hold one back for 80 ms or more, and each such pause rightly ends
    // a burst of its own. On a quiet machine there is none, and the whole burst is one report.
    constexpr const char* burst = R"(
        const times = [];
        const record = () => times.push(performance.now());
        window.addEventListener('scroll', record, { passive: true });
        await new Promise((resolve) => {
            let steps = 0;
            const timer = setInterval(() => {
                window.scrollBy(0, 25);
                if (++steps === 60) {
                    clearInterval(timer);
                    resolve();
                }
            }, 16);
        });
        await new Promise((resolve) => setTimeout(resolve, 20));
        window.removeEventListener('scroll', record);
        let pauses = 0;
        for (let i = 1; i < times.length; ++i)
            pauses += times[i] - times[i - 1] >= 80 ? 1 : 0;
        return JSON.stringify([times.length, pauses]);
    )";
    auto [events, pauses] = nlohmann::json::parse(harness.evaluate(burst)).get<std::pair<int, int>>();
    ASSERT_GT(events, 1);
    ASSERT_TRUE(waitUntil([&] { return harness.scrollReports > 0; }));
    waitFor(600ms);
    // Many scroll events, far fewer reports: at most one per burst.
    EXPECT_LE(harness.scrollReports, 1 + pauses) << events << " scroll events, " << pauses << " pauses of 80 ms or more";
}

TEST(WebPreviewView, ObserverInstalledTwiceInOneDocumentReportsOnce)
{
    PreviewHarness harness;
    harness.write("index.html", "<!doctype html><html><body><div style=\"height:20000px\">Tall</div></body></html>");
    harness.scan();
    harness.select("index.html");
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(1));
    ASSERT_TRUE(waitUntil([&] {
        return evaluateInPage(harness.view.webView(), "return String(window.__quilloryScrollObserverInstalled === true);") == "true";
    }));
    // A second "finished" report for the same document, as the engine gives for a same-document
    // navigation, runs the install again; the page's own flag must keep it to one listener.
    g_signal_emit_by_name(harness.view.webView(), "load-changed", WEBKIT_LOAD_FINISHED);
    waitFor(200ms);

    harness.evaluate("window.scrollBy(0, 300); return 'scrolled';");
    ASSERT_TRUE(waitUntil([&] { return harness.scrollReports > 0; }));
    waitFor(400ms);
    EXPECT_EQ(harness.scrollReports, 1);
}

TEST(WebPreviewView, ExternalLinkNavigatesAwayWithoutAskingAndTheNextTokenComesBack)
{
    // A server on the loopback address stands for an outside site; the machine has no route to
    // the internet, and the navigation is the same.
    LoopbackHTTPServer outside;
    ASSERT_FALSE(outside.baseURL().empty());
    outside.serve("/", "text/html", "<!doctype html><title>Outside</title><p id=\"outside\">Outside the site</p>");
    PreviewHarness harness;
    harness.write("index.html", "<!doctype html><title>Home</title><a id=\"outside\" href=\"" + outside.baseURL() + "\">Outside</a>");
    harness.scan();
    harness.select("index.html");
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(1));

    harness.click("outside");
    ASSERT_TRUE(harness.waitForFinishedLoads(2));
    EXPECT_TRUE(harness.askedPages.empty());
    EXPECT_EQ(harness.uri(), outside.baseURL());
    EXPECT_EQ(harness.evaluate("return document.getElementById('outside').textContent;"), "Outside the site");

    harness.inputs.reloadToken = UUID::random();
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(3));
    EXPECT_EQ(harness.uri(), "quillory-site://local/index.html");
    EXPECT_EQ(harness.evaluate("return document.title;"), "Home");
}

std::optional<std::filesystem::path> installedTrueTypeFont()
{
    for (const char* candidate : { "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf", "/usr/share/fonts/truetype/dejavu/DejaVuSansMono.ttf" }) {
        if (std::filesystem::is_regular_file(candidate))
            return candidate;
    }
    std::error_code error;
    for (auto it = std::filesystem::recursive_directory_iterator("/usr/share/fonts", error); !error && it != std::filesystem::recursive_directory_iterator();
         it.increment(error)) {
        if (it->is_regular_file() && it->path().extension() == ".ttf")
            return it->path();
    }
    return std::nullopt;
}

TEST(WebPreviewView, FixtureSiteRendersWithEverySameOriginResource)
{
    auto font = installedTrueTypeFont();
    if (!font)
        GTEST_SKIP() << "no TrueType font is installed to serve";
    PreviewHarness harness;
    std::filesystem::copy(std::filesystem::path(QUILLORY_TEST_FIXTURES) / "sites" / "preview-assets", harness.site.path(),
                          std::filesystem::copy_options::recursive);
    std::filesystem::create_directories(harness.site.path() / "fonts");
    std::filesystem::copy_file(*font, harness.site.path() / "fonts" / "fixture.ttf");
    harness.scan();
    harness.select("index.html");
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(1));

    auto state = nlohmann::json::parse(harness.evaluate(R"(
        for (let i = 0; i < 400 && !document.documentElement.dataset.json; ++i)
            await new Promise((resolve) => setTimeout(resolve, 25));
        await document.fonts.load('16px "FixtureFont"');
        await document.fonts.ready;
        const image = document.querySelector('img');
        const faces = [...document.fonts].filter((face) => face.family.replace(/["']/g, '') === 'FixtureFont');
        return JSON.stringify({
            color: getComputedStyle(document.body).color,
            headingFont: getComputedStyle(document.querySelector('h1')).fontFamily,
            classic: document.documentElement.dataset.classic ?? null,
            module: document.documentElement.dataset.module ?? null,
            json: document.documentElement.dataset.json ?? null,
            image: [image.complete, image.naturalWidth, image.naturalHeight],
            fontFaces: faces.map((face) => face.status),
            fontCheck: document.fonts.check('16px "FixtureFont"'),
        });
    )"));
    EXPECT_EQ(state["color"], "rgb(12, 34, 56)");
    EXPECT_EQ(state["headingFont"], "FixtureFont, monospace");
    EXPECT_EQ(state["classic"], "ran");
    EXPECT_EQ(state["module"], "imported");
    EXPECT_EQ(state["json"], "hello from json");
    EXPECT_EQ(state["image"], nlohmann::json::array({ true, 3, 2 }));
    EXPECT_EQ(state["fontFaces"], nlohmann::json::array({ "loaded" }));
    EXPECT_EQ(state["fontCheck"], true);
}

}
