#include "QuilloryApp/WebPreviewView.h"

#include "QuilloryApp/SitePreviewURL.h"
#include "QuilloryApp/WebPreviewViewCoordinator.h"
#include "QuilloryCore/SiteGraphBuilder.h"
#include "app/support/MainLoopWaiting.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <libsoup/soup.h>
#include <nlohmann/json.hpp>
#include <webkit/webkit.h>

#include <string>
#include <vector>

using namespace Quillory;
using namespace std::chrono_literals;
using QuilloryTest::evaluateInPage;
using QuilloryTest::waitFor;
using QuilloryTest::waitUntil;
using QuilloryTest::TemporaryDirectory;

namespace {

// A real WebPreviewView in a real window, serving a real site folder through the real scheme.
// The callbacks stand where the workspace store will: they record what they are asked and answer
// as the test says.
struct PreviewHarness {
    TemporaryDirectory site;
    std::optional<SiteMap> siteMap;
    WebPreviewView view;
    GtkWidget* window { gtk_window_new() };
    WebPreviewView::Inputs inputs;

    int loadsStarted { 0 };
    int loadsFinished { 0 };
    std::vector<std::string> askedPages;
    bool storeAgrees { true };
    // Run inside onNavigateToPage before it answers, as a window that updates from the store would.
    std::function<void(const std::string&)> whileAsked;
    int scrollReports { 0 };

    PreviewHarness()
    {
        gtk_window_set_default_size(GTK_WINDOW(window), 900, 700);
        gtk_window_set_child(GTK_WINDOW(window), view.widget());
        gtk_window_present(GTK_WINDOW(window));
        g_signal_connect_swapped(view.webView(), "load-changed", G_CALLBACK(+[](PreviewHarness* self, WebKitLoadEvent event) {
                                     if (event == WEBKIT_LOAD_STARTED)
                                         ++self->loadsStarted;
                                     if (event == WEBKIT_LOAD_FINISHED)
                                         ++self->loadsFinished;
                                 }),
                                 this);
        inputs.reloadToken = UUID::random();
        inputs.onNavigateToPage = [this](const std::string& pageID) {
            askedPages.push_back(pageID);
            if (whileAsked)
                whileAsked(pageID);
            return storeAgrees;
        };
        inputs.onPreviewScrolled = [this] { ++scrollReports; };
    }

    ~PreviewHarness()
    {
        g_signal_handlers_disconnect_by_data(view.webView(), this);
        gtk_window_destroy(GTK_WINDOW(window));
    }

    void write(std::string_view relativePath, std::string_view bytes) { site.write(relativePath, bytes); }

    void scan()
    {
        siteMap = SiteGraphBuilder().build(site.path());
        inputs.siteMap = siteMap;
    }

    // Points the inputs at a page of the scanned site, as the store's target would.
    void select(const std::string& pageID)
    {
        auto page = siteMap->page(pageID);
        ASSERT_TRUE(page.has_value()) << pageID;
        inputs.previewTarget = PreviewTarget::staticPage(page->id, SitePreviewURL::url(*page));
        inputs.currentDocumentID = page->id;
    }

    void update() { view.update(inputs); }

    bool waitForFinishedLoads(int count) { return waitUntil([&] { return loadsFinished >= count; }); }

    std::string uri() const
    {
        const char* text = webkit_web_view_get_uri(view.webView());
        return text ? text : "";
    }

    std::string evaluate(const std::string& body)
    {
        std::string error;
        auto result = evaluateInPage(view.webView(), body, &error);
        EXPECT_TRUE(result.has_value()) << body << ": " << error;
        return result.value_or("");
    }

    // Leaves a mark in the current document: a reload or a navigation wipes it.
    void markDocument() { evaluate("window.__testMark = 'kept'; return 'ok';"); }
    std::string documentMark() { return evaluate("return String(window.__testMark);"); }

    void click(const std::string& elementID) { evaluate("document.getElementById('" + elementID + "').click(); return 'clicked';"); }
};

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
    // came: a burst counts only if no two came 80 ms or more apart, which a busy machine can cause;
    // such a burst is rightly reported more than once, and is run again.
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
        let longestPause = 0;
        for (let i = 1; i < times.length; ++i)
            longestPause = Math.max(longestPause, times[i] - times[i - 1]);
        return JSON.stringify([times.length, longestPause]);
    )";
    for (int attempt = 0; attempt < 5; ++attempt) {
        harness.scrollReports = 0;
        auto [events, longestPause] = nlohmann::json::parse(harness.evaluate(burst)).get<std::pair<int, double>>();
        ASSERT_GT(events, 1);
        ASSERT_TRUE(waitUntil([&] { return harness.scrollReports > 0; }));
        waitFor(600ms);
        if (longestPause >= 80)
            continue;
        EXPECT_EQ(harness.scrollReports, 1) << events << " scroll events, longest pause " << longestPause << " ms";
        return;
    }
    FAIL() << "every burst paused for 80 ms or more";
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

// A small HTTP server on the loopback address stands for an outside site; the machine has no
// route to the internet, and the navigation is the same.
struct LoopbackSite {
    SoupServer* server { soup_server_new(nullptr, nullptr) };
    std::string url;

    LoopbackSite()
    {
        soup_server_add_handler(
            server, nullptr,
            +[](SoupServer*, SoupServerMessage* message, const char*, GHashTable*, gpointer) {
                static constexpr const char body[] = "<!doctype html><title>Outside</title><p id=\"outside\">Outside the site</p>";
                soup_server_message_set_status(message, 200, nullptr);
                soup_server_message_set_response(message, "text/html", SOUP_MEMORY_STATIC, body, sizeof body - 1);
            },
            nullptr, nullptr);
        GError* error = nullptr;
        EXPECT_TRUE(soup_server_listen_local(server, 0, SOUP_SERVER_LISTEN_IPV4_ONLY, &error)) << (error ? error->message : "");
        g_clear_error(&error);
        GSList* uris = soup_server_get_uris(server);
        if (uris) {
            char* text = g_uri_to_string(static_cast<GUri*>(uris->data));
            url = text;
            g_free(text);
        }
        g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
    }
    ~LoopbackSite()
    {
        soup_server_disconnect(server);
        g_object_unref(server);
    }
};

TEST(WebPreviewView, ExternalLinkNavigatesAwayWithoutAskingAndTheNextTokenComesBack)
{
    LoopbackSite outside;
    ASSERT_FALSE(outside.url.empty());
    PreviewHarness harness;
    harness.write("index.html", "<!doctype html><title>Home</title><a id=\"outside\" href=\"" + outside.url + "\">Outside</a>");
    harness.scan();
    harness.select("index.html");
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(1));

    harness.click("outside");
    ASSERT_TRUE(harness.waitForFinishedLoads(2));
    EXPECT_TRUE(harness.askedPages.empty());
    EXPECT_EQ(harness.uri(), outside.url);
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
