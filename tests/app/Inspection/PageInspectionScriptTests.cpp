#include "QuilloryApp/Inspection/PageInspectionWebKitBridge.h"

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Preview/SitePreviewSchemeHandler.h"
#include "QuilloryCore/SiteModel/SiteGraphBuilder.h"
#include "app/support/LoopbackHTTPServer.h"
#include "app/support/MainLoopWaiting.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <webkit/webkit.h>

#include <string>
#include <vector>

using namespace Quillory;
using PageInspectionWebKitBridge::BridgeError;
using PageInspectionWebKitBridge::SnapshotResult;
using QuilloryTest::evaluateInPage;
using QuilloryTest::LoopbackHTTPServer;
using QuilloryTest::TemporaryDirectory;
using QuilloryTest::waitUntil;

namespace {

// A real web view in a real window that serves a real site folder through the real
// "quillory-site" scheme, and runs the real inspection script through the bridge.
struct InspectionHarness {
    TemporaryDirectory site;
    SitePreviewSchemeHandler schemeHandler;
    GRef<WebKitWebView> webView;
    GtkWidget* window { gtk_window_new() };

    InspectionHarness()
    {
        WebKitWebContext* context = webkit_web_context_get_default();
        SitePreviewSchemeHandler::registerScheme(context);
        auto* view = WEBKIT_WEB_VIEW(g_object_new(WEBKIT_TYPE_WEB_VIEW, "web-context", context, nullptr));
        webView = GRef<WebKitWebView>::adopt(WEBKIT_WEB_VIEW(g_object_ref_sink(view)));
        schemeHandler.attach(webView.get());
        gtk_window_set_default_size(GTK_WINDOW(window), 900, 700);
        gtk_window_set_child(GTK_WINDOW(window), GTK_WIDGET(webView.get()));
        gtk_window_present(GTK_WINDOW(window));
    }

    ~InspectionHarness()
    {
        schemeHandler.detach(webView.get());
        gtk_window_destroy(GTK_WINDOW(window));
    }

    // Writes index.html into the site, scans it, and shows it through the scheme.
    void loadSitePage(const std::string& html)
    {
        site.write("index.html", html);
        auto siteMap = SiteGraphBuilder().build(site.path());
        schemeHandler.update(siteMap);
        load("quillory-site://local/index.html");
    }

    void load(const std::string& url)
    {
        bool finished = false;
        gulong handler = g_signal_connect(webView.get(), "load-changed", G_CALLBACK(+[](WebKitWebView*, WebKitLoadEvent event, bool* done) {
                                              if (event == WEBKIT_LOAD_FINISHED)
                                                  *done = true;
                                          }),
                                          &finished);
        webkit_web_view_load_uri(webView.get(), url.c_str());
        bool loaded = waitUntil([&] { return finished; });
        g_signal_handler_disconnect(webView.get(), handler);
        ASSERT_TRUE(loaded) << "the page did not finish loading: " << url;
    }

    SnapshotResult collect()
    {
        std::optional<SnapshotResult> answer;
        PageInspectionWebKitBridge::collectSnapshot(webView.get(), [&](SnapshotResult result) { answer = std::move(result); });
        // The completion refers to `answer`, so it is waited for however long it takes.
        while (!waitUntil([&] { return answer.has_value(); }))
            ADD_FAILURE() << "the snapshot is slow to answer";
        return std::move(*answer);
    }

    PageInspectionSnapshot snapshot()
    {
        auto result = collect();
        if (auto* error = std::get_if<BridgeError>(&result)) {
            ADD_FAILURE() << "the snapshot failed: " << error->message;
            return {};
        }
        return std::get<PageInspectionSnapshot>(std::move(result));
    }

    BridgeError failure()
    {
        auto result = collect();
        if (auto* error = std::get_if<BridgeError>(&result))
            return *error;
        ADD_FAILURE() << "the snapshot did not fail";
        return { BridgeError::Kind::evaluationFailed, "" };
    }

    std::string evaluate(const std::string& body)
    {
        std::string error;
        auto result = evaluateInPage(webView.get(), body, &error);
        EXPECT_TRUE(result.has_value()) << body << ": " << error;
        return result.value_or("");
    }
};

std::string page(const std::string& head, const std::string& body, const std::string& htmlAttributes = "")
{
    return "<!doctype html><html" + htmlAttributes + "><head><meta charset=\"utf-8\">" + head + "</head><body>" + body + "</body></html>";
}

// A JSON string literal is also a JavaScript one.
std::string javaScriptStringLiteral(const std::string& text)
{
    return nlohmann::json(text).dump();
}

}

TEST(PageInspectionScript, FixturePageReportsEveryKindOfEntry)
{
    LoopbackHTTPServer otherOrigin;
    ASSERT_FALSE(otherOrigin.baseURL().empty());
    otherOrigin.serve("/remote.css", "text/css", "body { color: black } .remote { margin: 0 }");
    const std::string remoteSheet = otherOrigin.url("/remote.css");

    InspectionHarness harness;
    harness.site.write("site.css", "body { margin: 0 }\n.a { padding: 1px }\n@media print { .b { color: red } .c { color: blue } }\n");
    harness.loadSitePage(page("<title>Fixture   Page</title>"
                              "<link rel=\"stylesheet\" href=\"site.css\">"
                              "<link rel=\"stylesheet\" href=\""
                                  + remoteSheet
                                  + "\">"
                                    "<style>p { color: red } @media (min-width: 1px) { h1 { color: blue } }</style>",
                              "<h1 id=\"top\">  Welcome\n   home </h1>"
                              "<h2 id=\"\">Second</h2>"
                              "<h3>Third <em>level</em></h3>"
                              "<a href=\"about.html\">About   us</a>"
                              "<a href=\"/docs/\">Docs</a>"
                              "<a href=\"#top\">Top</a>"
                              "<a href=\"\">Empty</a>"
                              "<a href=\"https://example.org/x\">Elsewhere</a>"
                              "<a href=\"mailto:x\">Mail</a>"
                              "<a href=\"tel:1\">Call</a>"
                              "<a>No href</a>"
                              "<img src=\"logo.png\" alt=\"Logo\">"
                              "<img src=\"spacer.png\" alt=\"\">"
                              "<img src=\"photo.jpg\">"
                              "<img src=\"blank.png\" alt=\"   \">",
                              " lang=\"en\""));
    EXPECT_EQ(otherOrigin.requestCount("/remote.css"), 1);

    auto snapshot = harness.snapshot();
    PageInspectionSnapshot expected;
    expected.title = "Fixture Page";
    expected.language = "en";
    expected.headings = {
        { 1, "Welcome home", "top" },
        { 2, "Second", std::nullopt },
        { 3, "Third level", std::nullopt },
    };
    expected.links = {
        { "about.html", "About us", true },
        { "/docs/", "Docs", true },
        { "#top", "Top", true },
        { "", "Empty", true },
        { "https://example.org/x", "Elsewhere", false },
        { "mailto:x", "Mail", false },
        { "tel:1", "Call", false },
    };
    expected.images = {
        { "logo.png", "Logo", false },
        { "spacer.png", "", true },
        { "photo.jpg", std::nullopt, true },
        { "blank.png", "   ", true },
    };
    expected.stylesheets = {
        { "quillory-site://local/site.css", 5, std::nullopt },
        { remoteSheet, 0, "SecurityError" },
        { std::nullopt, 3, std::nullopt },
    };
    EXPECT_EQ(snapshot, expected);
    EXPECT_EQ(snapshot.localLinkCount(), 4);
    EXPECT_EQ(snapshot.externalLinkCount(), 3);
    EXPECT_EQ(snapshot.missingAltImageCount(), 3);
    EXPECT_EQ(snapshot.cssRuleCount(), 8);
    EXPECT_EQ(snapshot.stylesheetCount(), 3);
    EXPECT_EQ(snapshot.inaccessibleStylesheetCount(), 1);
}

TEST(PageInspectionScript, EmptyPageGivesFourEmptyListsAndAnEmptyTitle)
{
    InspectionHarness harness;
    harness.loadSitePage("<!doctype html><html><head></head><body><p>Nothing to see</p></body></html>");
    auto snapshot = harness.snapshot();
    EXPECT_EQ(snapshot, PageInspectionSnapshot {});
    EXPECT_EQ(snapshot.title, "");
    EXPECT_EQ(snapshot.language, std::nullopt);
}

TEST(PageInspectionScript, HeadingWithAnEmptyIDHasNoElementID)
{
    InspectionHarness harness;
    harness.loadSitePage(page("", "<h4 id=\"\">Empty id</h4><h5>No id</h5><h6 id=\"Kept-Case\">Named</h6>"));
    auto snapshot = harness.snapshot();
    EXPECT_EQ(snapshot.headings, (std::vector<PageInspectionHeading> {
                                     { 4, "Empty id", std::nullopt },
                                     { 5, "No id", std::nullopt },
                                     { 6, "Named", "Kept-Case" },
                                 }));
}

TEST(PageInspectionScript, HeadingTextStopsAt160AndLinkTextAt120CodeUnits)
{
    const std::string longText(161, 'h');
    const std::string longValue = "long-" + std::string(300, 'v') + ".png";
    InspectionHarness harness;
    harness.loadSitePage(page("", "<h1>" + longText + "</h1>"
                                  "<h2>" + std::string(160, 'x') + "</h2>"
                                  "<a href=\"" + longValue + "\">" + std::string(121, 'l') + "</a>"
                                  "<a href=\"b.html\">" + std::string(120, 'k') + "</a>"
                                  "<img src=\"" + longValue + "\" alt=\"" + std::string(400, 'a') + "\">"
                                  // Two code units per character: 100 of them are cut to 60.
                                  "<a href=\"c.html\">" + [] {
                                      std::string text;
                                      for (int index = 0; index < 100; ++index)
                                          text += "\xf0\x9f\x98\x80";
                                      return text;
                                  }() + "</a>"));
    auto snapshot = harness.snapshot();
    ASSERT_EQ(snapshot.headings.size(), 2u);
    EXPECT_EQ(snapshot.headings[0].text, std::string(160, 'h'));
    EXPECT_EQ(snapshot.headings[1].text, std::string(160, 'x'));
    ASSERT_EQ(snapshot.links.size(), 3u);
    EXPECT_EQ(snapshot.links[0].text, std::string(120, 'l'));
    EXPECT_EQ(snapshot.links[0].href, longValue);
    EXPECT_EQ(snapshot.links[1].text, std::string(120, 'k'));
    std::string sixty;
    for (int index = 0; index < 60; ++index)
        sixty += "\xf0\x9f\x98\x80";
    EXPECT_EQ(snapshot.links[2].text, sixty);
    ASSERT_EQ(snapshot.images.size(), 1u);
    EXPECT_EQ(snapshot.images[0].src, longValue);
    EXPECT_EQ(snapshot.images[0].alt, std::string(400, 'a'));
}

TEST(PageInspectionScript, CutThroughASurrogatePairFailsTheWholeSnapshotClearly)
{
    // The limit counts code units, so the cut can leave half a character. The page's JSON then
    // carries a lone surrogate escape, which the decoder refuses: the run fails with the
    // decoder's text instead of reporting a damaged heading.
    InspectionHarness harness;
    harness.loadSitePage(page("", "<h1>" + std::string(159, 'a') + "\xf0\x9f\x98\x80</h1>"));
    auto error = harness.failure();
    EXPECT_EQ(error.kind, BridgeError::Kind::decode);
    EXPECT_EQ(error.message.substr(0, 33), "[json.exception.parse_error.101] ") << error.message;
    EXPECT_NE(error.message.find("surrogate"), std::string::npos) << error.message;
}

TEST(PageInspectionScript, CrossOriginStylesheetIsCountedAsInaccessibleWithNoRules)
{
    LoopbackHTTPServer otherOrigin;
    otherOrigin.serve("/theme.css", "text/css", "h1 { color: red } h2 { color: blue } @media screen { p { margin: 0 } }");
    InspectionHarness harness;
    harness.loadSitePage(page("<link rel=\"stylesheet\" href=\"" + otherOrigin.url("/theme.css") + "\"><style>a { color: green }</style>", "<h1>x</h1>"));
    EXPECT_EQ(otherOrigin.requestCount("/theme.css"), 1);
    auto snapshot = harness.snapshot();
    EXPECT_EQ(snapshot.stylesheetCount(), 2);
    EXPECT_EQ(snapshot.inaccessibleStylesheetCount(), 1);
    EXPECT_EQ(snapshot.cssRuleCount(), 1);
    ASSERT_EQ(snapshot.stylesheets.size(), 2u);
    EXPECT_EQ(snapshot.stylesheets[0], (PageInspectionStylesheet { otherOrigin.url("/theme.css"), 0, "SecurityError" }));
}

TEST(PageInspectionScript, CrossOriginStylesheetOfALoopbackPageIsInaccessibleToo)
{
    // Two loopback servers are two origins: the page's own sheet reads, the other's doesn't.
    LoopbackHTTPServer pageOrigin;
    LoopbackHTTPServer otherOrigin;
    otherOrigin.serve("/other.css", "text/css", "p { color: red }");
    pageOrigin.serve("/own.css", "text/css", "p { margin: 0 } h1 { margin: 0 }");
    pageOrigin.serve("/index.html", "text/html",
                     page("<link rel=\"stylesheet\" href=\"own.css\"><link rel=\"stylesheet\" href=\"" + otherOrigin.url("/other.css") + "\">", "<p>x</p>"));
    InspectionHarness harness;
    harness.load(pageOrigin.url("/index.html"));
    auto snapshot = harness.snapshot();
    EXPECT_EQ(snapshot.stylesheets, (std::vector<PageInspectionStylesheet> {
                                        { pageOrigin.url("/own.css"), 2, std::nullopt },
                                        { otherOrigin.url("/other.css"), 0, "SecurityError" },
                                    }));
}

TEST(PageInspectionScript, EachRuleCountsOnceAtEveryLevel)
{
    InspectionHarness harness;
    harness.loadSitePage(page("<style>@media screen { p { color: red } }</style>"
                              "<style>@media screen { @supports (display: grid) { p { color: red } a { color: blue } } }</style>"
                              "<style>h1 { color: red }</style>"
                              "<style></style>",
                              "<p>x</p>"));
    auto snapshot = harness.snapshot();
    ASSERT_EQ(snapshot.stylesheets.size(), 4u);
    EXPECT_EQ(snapshot.stylesheets[0].ruleCount, 2);
    EXPECT_EQ(snapshot.stylesheets[1].ruleCount, 4);
    EXPECT_EQ(snapshot.stylesheets[2].ruleCount, 1);
    EXPECT_EQ(snapshot.stylesheets[3].ruleCount, 0);
    EXPECT_EQ(snapshot.cssRuleCount(), 7);
    EXPECT_EQ(snapshot.inaccessibleStylesheetCount(), 0);
}

TEST(PageInspectionScript, LinkLocalityFollowsHowTheReferenceIsWritten)
{
    struct Case {
        const char* href;
        bool isLocal;
    };
    const Case cases[] = {
        { "", true },
        { "   ", true },
        { "#part", true },
        { "  #padded  ", true },
        { "/root.html", true },
        { "./here.html", true },
        { "../up.html", true },
        // Protocol-relative references start with "/" and pass as local.
        { "//cdn.example.org/x.js", true },
        { "about.html", true },
        { "quillory-site://local/about.html", true },
        { "quillory-site://elsewhere/page.html", true },
        { "mailto:x", false },
        { "tel:1", false },
        { "MAILTO:someone@example.org", false },
        { "https://example.org/", false },
        { "http://127.0.0.1:1/", false },
        { "javascript:void(0)", false },
        { "http://[", false },
    };
    std::string body;
    for (auto& testCase : cases)
        body += std::string("<a href=\"") + testCase.href + "\">x</a>";
    InspectionHarness harness;
    harness.loadSitePage(page("", body));
    auto snapshot = harness.snapshot();
    ASSERT_EQ(snapshot.links.size(), std::size(cases));
    for (std::size_t index = 0; index < std::size(cases); ++index) {
        EXPECT_EQ(snapshot.links[index].href, cases[index].href);
        EXPECT_EQ(snapshot.links[index].isLocal, cases[index].isLocal) << cases[index].href;
    }
}

TEST(PageInspectionScript, SameProtocolAndHostIsLocalOnAnHTTPPage)
{
    LoopbackHTTPServer pageOrigin;
    LoopbackHTTPServer otherOrigin;
    pageOrigin.serve("/index.html", "text/html",
                     page("", "<a href=\"" + pageOrigin.url("/a.html") + "\">same</a><a href=\"" + otherOrigin.url("/b.html")
                                  + "\">other port</a><a href=\"quillory-site://local/c.html\">scheme</a><a href=\"d.html\">relative</a>"));
    InspectionHarness harness;
    harness.load(pageOrigin.url("/index.html"));
    auto snapshot = harness.snapshot();
    ASSERT_EQ(snapshot.links.size(), 4u);
    EXPECT_TRUE(snapshot.links[0].isLocal);
    EXPECT_FALSE(snapshot.links[1].isLocal);
    EXPECT_TRUE(snapshot.links[2].isLocal);
    EXPECT_TRUE(snapshot.links[3].isLocal);
}

TEST(PageInspectionScript, EmptyLangGivesAnEmptyLanguageNotNothing)
{
    InspectionHarness harness;
    harness.loadSitePage(page("", "<p>x</p>", " lang=\"\""));
    EXPECT_EQ(harness.snapshot().language, std::optional<std::string>(""));

    harness.loadSitePage(page("", "<p>x</p>", " lang=\"de-CH\""));
    EXPECT_EQ(harness.snapshot().language, std::optional<std::string>("de-CH"));
}

TEST(PageInspectionScript, ReportsTheLiveDocumentWithWhatItsScriptsAdded)
{
    InspectionHarness harness;
    harness.loadSitePage(page("<title>Before</title>", "<h1>Static</h1>"
                                                       "<script>const h = document.createElement('h2'); h.textContent = 'Added'; document.body.append(h);"
                                                       "document.title = 'After';</script>"));
    auto snapshot = harness.snapshot();
    EXPECT_EQ(snapshot.title, "After");
    EXPECT_EQ(snapshot.headings, (std::vector<PageInspectionHeading> { { 1, "Static", std::nullopt }, { 2, "Added", std::nullopt } }));
}

TEST(PageInspectionScript, EveryElementIsSentWithoutALimit)
{
    std::string body;
    for (int index = 0; index < 400; ++index)
        body += "<a href=\"p" + std::to_string(index) + ".html\">" + std::to_string(index) + "</a>";
    InspectionHarness harness;
    harness.loadSitePage(page("", body));
    auto snapshot = harness.snapshot();
    ASSERT_EQ(snapshot.links.size(), 400u);
    EXPECT_EQ(snapshot.links[399].href, "p399.html");
    EXPECT_EQ(snapshot.localLinkCount(), 400);
}

TEST(PageInspectionScript, TwoQuickRequestsGiveTwoAnswersInArrivalOrder)
{
    InspectionHarness harness;
    harness.loadSitePage(page("<title>First</title>", "<h1>x</h1>"));
    std::vector<std::string> titles;
    PageInspectionWebKitBridge::collectSnapshot(harness.webView.get(), [&](SnapshotResult result) {
        auto* snapshot = std::get_if<PageInspectionSnapshot>(&result);
        titles.push_back(snapshot ? snapshot->title : "failed");
    });
    // Queued between the two runs, so that the answers tell which run they come from.
    static constexpr const char retitle[] = "document.title = 'Second';";
    webkit_web_view_evaluate_javascript(harness.webView.get(), retitle, -1, nullptr, nullptr, nullptr, nullptr, nullptr);
    PageInspectionWebKitBridge::collectSnapshot(harness.webView.get(), [&](SnapshotResult result) {
        auto* snapshot = std::get_if<PageInspectionSnapshot>(&result);
        titles.push_back(snapshot ? snapshot->title : "failed");
    });
    ASSERT_TRUE(waitUntil([&] { return titles.size() == 2; }));
    EXPECT_EQ(titles, (std::vector<std::string> { "First", "Second" }));
}

TEST(PageInspectionScript, ScriptErrorInThePageIsAnEvaluationFailure)
{
    InspectionHarness harness;
    harness.loadSitePage(page("<script>Document.prototype.querySelectorAll = function () { throw new TypeError('blocked by the page'); };</script>",
                              "<h1>x</h1>"));
    auto error = harness.failure();
    EXPECT_EQ(error.kind, BridgeError::Kind::evaluationFailed);
    // The engine names where the exception was thrown, then the exception itself.
    const std::string thrown = ": TypeError: blocked by the page";
    EXPECT_TRUE(error.message.starts_with("quillory-site://local/index.html:")) << error.message;
    EXPECT_TRUE(error.message.ends_with(thrown)) << error.message;
}

TEST(PageInspectionScript, AnswerThatIsNoStringIsADecodeFailure)
{
    InspectionHarness harness;
    harness.loadSitePage(page("<script>JSON.stringify = function () { return 42; };</script>", "<h1>x</h1>"));
    auto error = harness.failure();
    EXPECT_EQ(error.kind, BridgeError::Kind::decode);
    EXPECT_EQ(error.message, "not a string");
}

TEST(PageInspectionScript, AnswerThatIsNoSnapshotCarriesTheDecoderText)
{
    struct Case {
        const char* answer;
        const char* message;
    };
    const Case cases[] = {
        { "{", "[json.exception.parse_error.101] parse error at line 1, column 2: syntax error while parsing object key - unexpected end of input; "
               "expected string literal" },
        { "{\"title\":1}", "[json.exception.type_error.302] (/title) type must be string, but is number" },
        { "{\"title\":\"t\",\"headings\":[],\"links\":[],\"images\":[]}", "[json.exception.out_of_range.403] key 'stylesheets' not found" },
    };
    InspectionHarness harness;
    for (auto& testCase : cases) {
        harness.loadSitePage(page(std::string("<script>JSON.stringify = function () { return ") + javaScriptStringLiteral(testCase.answer) + "; };</script>", ""));
        auto error = harness.failure();
        EXPECT_EQ(error.kind, BridgeError::Kind::decode);
        EXPECT_EQ(error.message, testCase.message);
    }
}
