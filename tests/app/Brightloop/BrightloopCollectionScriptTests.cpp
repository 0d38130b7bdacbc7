#include "QuilloryApp/Support/GRef.h"
#include "QuilloryCore/Brightloop/BrightloopJS.h"
#include "QuilloryCore/Brightloop/BrightloopSourceMapper.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <gtest/gtest.h>
#include <gtk/gtk.h>
#include <webkit/webkit.h>

#include <any>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <vector>

using namespace Quillory;

namespace {

// Waits on a GMainLoop of the default context until `quit` is called or the time is up; the
// time only bounds a broken test.
class LoopWait {
public:
    LoopWait()
        : m_loop(g_main_loop_new(nullptr, FALSE))
    {
    }
    ~LoopWait() { g_main_loop_unref(m_loop); }

    // False when the time ran out first.
    bool run(unsigned seconds = 30)
    {
        if (m_quit)
            return true;
        guint timeout = g_timeout_add_seconds(seconds, +[](gpointer data) -> gboolean {
            auto* self = static_cast<LoopWait*>(data);
            self->m_timedOut = true;
            g_main_loop_quit(self->m_loop);
            return G_SOURCE_REMOVE;
        }, this);
        g_main_loop_run(m_loop);
        if (!m_timedOut)
            g_source_remove(timeout);
        return !m_timedOut;
    }

    void quit()
    {
        m_quit = true;
        g_main_loop_quit(m_loop);
    }

private:
    GMainLoop* m_loop;
    bool m_quit { false };
    bool m_timedOut { false };
};

// One real web view in a real window for the whole suite; each test loads its own page.
class BrightloopCollectionScript : public testing::Test {
protected:
    static constexpr int viewWidth = 1000;
    static constexpr int viewHeight = 700;

    static void SetUpTestSuite()
    {
        s_window = gtk_window_new();
        gtk_window_set_default_size(GTK_WINDOW(s_window), viewWidth, viewHeight);
        s_webView = WEBKIT_WEB_VIEW(webkit_web_view_new());
        gtk_window_set_child(GTK_WINDOW(s_window), GTK_WIDGET(s_webView));
        gtk_window_present(GTK_WINDOW(s_window));
        // The page needs a viewport before it is laid out and hit-tested.
        LoopWait wait;
        guint poll = g_timeout_add(10, +[](gpointer data) -> gboolean {
            if (gtk_widget_get_width(GTK_WIDGET(s_webView)) <= 0)
                return G_SOURCE_CONTINUE;
            static_cast<LoopWait*>(data)->quit();
            return G_SOURCE_REMOVE;
        }, &wait);
        if (!wait.run(10))
            g_source_remove(poll);
    }

    static void TearDownTestSuite()
    {
        gtk_window_destroy(GTK_WINDOW(s_window));
        s_window = nullptr;
        s_webView = nullptr;
    }

    // Loads the page and waits for its load to finish.
    void load(const std::string& html)
    {
        LoopWait wait;
        gulong handler = g_signal_connect(s_webView, "load-changed", G_CALLBACK(+[](WebKitWebView*, WebKitLoadEvent event, gpointer data) {
                                              if (event == WEBKIT_LOAD_FINISHED)
                                                  static_cast<LoopWait*>(data)->quit();
                                          }),
                                          &wait);
        webkit_web_view_load_html(s_webView, html.c_str(), nullptr);
        bool finished = wait.run();
        g_signal_handler_disconnect(s_webView, handler);
        ASSERT_TRUE(finished) << "the page did not finish loading";
    }

    // Evaluates a script and hands back its value as the bridge would: a string or nothing.
    std::any evaluate(const std::string& script)
    {
        struct Evaluation {
            LoopWait wait;
            std::any value;
            std::string error;
        } evaluation;
        webkit_web_view_evaluate_javascript(
            s_webView, script.c_str(), static_cast<gssize>(script.size()), nullptr, nullptr, nullptr,
            +[](GObject* source, GAsyncResult* result, gpointer data) {
                auto* pending = static_cast<Evaluation*>(data);
                GError* error = nullptr;
                auto value = GRef<JSCValue>::adopt(webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(source), result, &error));
                if (value && jsc_value_is_string(value.get())) {
                    char* text = jsc_value_to_string(value.get());
                    pending->value = std::string(text);
                    g_free(text);
                } else if (error) {
                    pending->error = error->message;
                    g_error_free(error);
                }
                pending->wait.quit();
            },
            &evaluation);
        // The callback refers to `evaluation`, so it is waited for however long it takes.
        while (!evaluation.wait.run()) {
            ADD_FAILURE() << "the evaluation is slow to answer";
        }
        EXPECT_EQ(evaluation.error, "");
        return evaluation.value;
    }

    double evaluateNumber(const std::string& expression)
    {
        auto value = evaluate("String(" + expression + ");");
        auto* text = std::any_cast<std::string>(&value);
        return text ? std::stod(*text) : std::numeric_limits<double>::quiet_NaN();
    }

    std::vector<BrightloopDOMRecord> collect(const BrightloopRect& fence)
    {
        return BrightloopJS::decode(evaluate(BrightloopJS::script(fence)));
    }

    static const BrightloopDOMRecord* find(const std::vector<BrightloopDOMRecord>& records, const std::string& elementID,
                                           const std::optional<std::string>& pseudoElement = std::nullopt)
    {
        for (auto& record : records) {
            if (record.elementID == elementID && record.pseudoElement == pseudoElement)
                return &record;
        }
        return nullptr;
    }

    static const BrightloopDOMRecord* findTag(const std::vector<BrightloopDOMRecord>& records, const std::string& tagName)
    {
        for (auto& record : records) {
            if (record.tagName == tagName && !record.pseudoElement)
                return &record;
        }
        return nullptr;
    }

    static std::string page(const std::string& style, const std::string& body)
    {
        return "<!doctype html><html><head><style>html, body { margin: 0; padding: 0; } " + style + "</style></head><body>" + body + "</body></html>";
    }

    static GtkWidget* s_window;
    static WebKitWebView* s_webView;
};

GtkWidget* BrightloopCollectionScript::s_window = nullptr;
WebKitWebView* BrightloopCollectionScript::s_webView = nullptr;

const char* boxStyle = ".box { position: absolute; left: 100px; top: 100px; width: 50px; height: 50px; background: #ccc; }";

}

TEST_F(BrightloopCollectionScript, ElementAdjacentToTheFenceEdgeYieldsNoRecord)
{
    load(page(boxStyle, "<div id=\"box\" class=\"box\"></div>"));
    // Each fence touches one edge of the box from outside.
    for (BrightloopRect fence : { BrightloopRect { 150, 100, 50, 50 }, BrightloopRect { 50, 100, 50, 50 }, BrightloopRect { 100, 150, 50, 50 },
                                  BrightloopRect { 100, 50, 50, 50 } })
        EXPECT_EQ(find(collect(fence), "box"), nullptr) << fence.x << "," << fence.y;
}

TEST_F(BrightloopCollectionScript, OnePixelOfOverlapYieldsARecord)
{
    load(page(boxStyle, "<div id=\"box\" class=\"box\"></div>"));
    for (BrightloopRect fence : { BrightloopRect { 149, 100, 50, 50 }, BrightloopRect { 51, 100, 50, 50 }, BrightloopRect { 100, 149, 50, 50 },
                                  BrightloopRect { 100, 51, 50, 50 } }) {
        auto records = collect(fence);
        auto* box = find(records, "box");
        ASSERT_NE(box, nullptr) << fence.x << "," << fence.y;
        EXPECT_EQ(box->rect, (BrightloopRect { 100, 100, 50, 50 }));
        EXPECT_EQ(box->classList, (std::vector<std::string> { "box" }));
        EXPECT_EQ(box->attributes, (std::map<std::string, std::string> { { "id", "box" }, { "class", "box" } }));
        EXPECT_EQ(box->ancestorTags, (std::vector<std::string> { "body", "html" }));
        EXPECT_EQ(box->siblingIndex, 0);
        EXPECT_TRUE(box->isVisible);
        EXPECT_TRUE(box->hasPaintedSurface);
        EXPECT_TRUE(box->isPointerHitTarget);
    }
}

TEST_F(BrightloopCollectionScript, NonFiniteFenceCoordinateReachesThePageAsZero)
{
    load(page(".corner { position: absolute; left: 0; top: 0; width: 20px; height: 20px; }", "<div id=\"corner\" class=\"corner\"></div>"));
    // Read as 0, the fence starts at the left edge and covers the corner box.
    auto records = collect({ std::numeric_limits<double>::quiet_NaN(), 0, 30, 30 });
    EXPECT_NE(find(records, "corner"), nullptr);
}

TEST_F(BrightloopCollectionScript, HiddenElementIsRecordedAsInvisible)
{
    load(page(std::string(boxStyle) + " #box { visibility: hidden; }", "<div id=\"box\" class=\"box\"></div>"));
    auto records = collect({ 0, 0, 400, 400 });
    auto* box = find(records, "box");
    ASSERT_NE(box, nullptr);
    EXPECT_FALSE(box->isVisible);
    EXPECT_TRUE(box->isVisuallySuppressed());
}

TEST_F(BrightloopCollectionScript, DisplayNoneElementHasNoBoxAndNoRecord)
{
    load(page(std::string(boxStyle) + " #box { display: none; }", "<div id=\"box\" class=\"box\"></div><p id=\"shown\">x</p>"));
    auto records = collect({ 0, 0, 400, 400 });
    EXPECT_EQ(find(records, "box"), nullptr);
    EXPECT_NE(find(records, "shown"), nullptr);
}

TEST_F(BrightloopCollectionScript, OpacityChainMultipliesDownTheAncestors)
{
    load(page(".half { opacity: 0.5; } .faint { opacity: 0.02; }",
              "<div class=\"half\"><div class=\"half\"><p id=\"quarter\">a</p></div></div>"
              "<div class=\"faint\"><div class=\"half\"><p id=\"gone\">b</p></div></div>"));
    auto records = collect({ 0, 0, 400, 400 });
    auto* quarter = find(records, "quarter");
    ASSERT_NE(quarter, nullptr);
    ASSERT_TRUE(quarter->effectiveOpacity.has_value());
    EXPECT_DOUBLE_EQ(*quarter->effectiveOpacity, 0.25);
    EXPECT_TRUE(quarter->isVisible);
    auto* gone = find(records, "gone");
    ASSERT_NE(gone, nullptr);
    EXPECT_NEAR(*gone->effectiveOpacity, 0.01, 1e-9);
    EXPECT_FALSE(gone->isVisible);
    EXPECT_TRUE(gone->isVisuallySuppressed());
}

TEST_F(BrightloopCollectionScript, EmptyContentBeforeWithBackgroundIsAPaintedSurface)
{
    load(page(".paint::before { content: \"\"; display: block; width: 20px; height: 20px; background: red; }"
              ".bare::before { content: \"\"; display: block; width: 20px; height: 20px; }",
              "<div id=\"paint\" class=\"paint\" style=\"height: 40px\"></div><div id=\"bare\" class=\"bare\" style=\"height: 40px\"></div>"));
    auto records = collect({ 0, 0, 400, 400 });
    auto* painted = find(records, "paint", "::before");
    ASSERT_NE(painted, nullptr);
    EXPECT_EQ(painted->renderedTextSnippet, std::nullopt);
    EXPECT_TRUE(painted->hasPaintedSurface);
    EXPECT_EQ(painted->tagName, "div");
    EXPECT_EQ(painted->classList, (std::vector<std::string> { "paint" }));
    EXPECT_FALSE(painted->isPointerHitTarget);
    // The pseudo-element takes its host's box.
    EXPECT_EQ(painted->rect, (BrightloopRect { 0, 0, viewWidth, 40 }));
    EXPECT_EQ(find(records, "bare", "::before"), nullptr);
    EXPECT_NE(find(records, "bare"), nullptr);
}

TEST_F(BrightloopCollectionScript, BodyBeforeSpansTheDocument)
{
    load(page("body::before { content: \"Top\"; } .tall { height: 3000px; }", "<div class=\"tall\"></div>"));
    auto records = collect({ 0, 0, 100, 100 });
    const BrightloopDOMRecord* before = nullptr;
    for (auto& record : records) {
        if (record.tagName == "body" && record.pseudoElement == "::before")
            before = &record;
    }
    ASSERT_NE(before, nullptr);
    EXPECT_EQ(before->renderedTextSnippet, "Top");
    EXPECT_EQ(before->rect.x, 0);
    EXPECT_EQ(before->rect.y, 0);
    EXPECT_EQ(before->rect.width, std::max(evaluateNumber("document.documentElement.scrollWidth"), evaluateNumber("window.innerWidth")));
    EXPECT_EQ(before->rect.height, evaluateNumber("document.documentElement.scrollHeight"));
    EXPECT_GE(before->rect.height, 3000);
    // Neither body nor html gets an element record.
    EXPECT_EQ(findTag(records, "body"), nullptr);
    EXPECT_EQ(findTag(records, "html"), nullptr);
}

TEST_F(BrightloopCollectionScript, AfterWithAttrContentReportsTheResolvedTextAndItsAttribute)
{
    load(page(".tip::after { content: attr(title); }", "<span id=\"tip\" class=\"tip\" data-note=\"other\" title=\"Hello   there\">x</span>"));
    auto records = collect({ 0, 0, 400, 100 });
    auto* after = find(records, "tip", "::after");
    ASSERT_NE(after, nullptr);
    EXPECT_EQ(after->renderedTextSnippet, "Hello   there");
    EXPECT_EQ(after->contentSourceAttribute, "title");
    EXPECT_EQ(after->textSnippet, std::nullopt);
}

TEST_F(BrightloopCollectionScript, PseudoElementWithTextReportsItsContent)
{
    load(page("h1::after { content: \"!\"; color: rgba(0, 0, 0, 0.5); font-size: 20px; }", "<h1 id=\"title\" style=\"margin: 0\">Title</h1>"));
    auto records = collect({ 0, 0, 400, 100 });
    ASSERT_GE(records.size(), 2u);
    // Document order: the element, then its pseudo-element right behind it.
    EXPECT_EQ(records[0].elementID, "title");
    EXPECT_EQ(records[0].pseudoElement, std::nullopt);
    EXPECT_EQ(records[0].textSnippet, "Title");
    EXPECT_EQ(records[1].pseudoElement, "::after");
    EXPECT_EQ(records[1].renderedTextSnippet, "!");
    EXPECT_EQ(records[1].contentSourceAttribute, std::nullopt);
    EXPECT_DOUBLE_EQ(*records[1].textColorAlpha, 0.5);
    EXPECT_DOUBLE_EQ(*records[1].fontSize, 20);
    EXPECT_FALSE(records[1].hasPaintedSurface);
}

TEST_F(BrightloopCollectionScript, OpenShadowRootChildrenHaveNoSiblingIndexAndAncestryEndingInTheTree)
{
    load(page("", "<my-card id=\"host\" class=\"Outer\" heading=\"x\"></my-card>"
                  "<script>const root = document.getElementById('host').attachShadow({ mode: 'open' });"
                  "root.innerHTML = '<div class=\"inner\" style=\"height: 30px\"><b>deep</b></div>';</script>"));
    auto records = collect({ 0, 0, 400, 100 });
    auto* inner = findTag(records, "div");
    ASSERT_NE(inner, nullptr);
    EXPECT_TRUE(inner->inShadowDOM);
    EXPECT_EQ(inner->siblingIndex, std::nullopt);
    EXPECT_TRUE(inner->ancestorTags.empty());
    EXPECT_EQ(inner->shadowHostTagName, "my-card");
    EXPECT_EQ(inner->shadowHostID, "host");
    EXPECT_EQ(inner->shadowHostClassList, (std::vector<std::string> { "Outer" }));
    EXPECT_EQ(inner->shadowHostAttributes, (std::map<std::string, std::string> { { "id", "host" }, { "class", "Outer" }, { "heading", "x" } }));
    auto* deep = findTag(records, "b");
    ASSERT_NE(deep, nullptr);
    EXPECT_EQ(deep->ancestorTags, (std::vector<std::string> { "div" }));
    EXPECT_EQ(deep->ancestorSignatures, (std::vector<std::string> { "div.inner" }));
    EXPECT_EQ(deep->siblingIndex, 0);
    EXPECT_TRUE(deep->inShadowDOM);
    auto* host = findTag(records, "my-card");
    ASSERT_NE(host, nullptr);
    EXPECT_FALSE(host->inShadowDOM);
    EXPECT_EQ(host->shadowHostTagName, std::nullopt);
}

TEST_F(BrightloopCollectionScript, ClosedShadowRootIsNotReported)
{
    load(page("", "<my-box id=\"host\"></my-box>"
                  "<script>const root = document.getElementById('host').attachShadow({ mode: 'closed' });"
                  "root.innerHTML = '<p style=\"margin: 0; height: 30px\">secret</p>';</script>"));
    auto records = collect({ 0, 0, 400, 100 });
    EXPECT_NE(find(records, "host"), nullptr);
    EXPECT_EQ(findTag(records, "p"), nullptr);
}

TEST_F(BrightloopCollectionScript, DisplayContentsAncestorsAreNamed)
{
    load(page(".wrap { display: contents; }", "<section class=\"wrap\" id=\"Outer\"><div class=\"wrap\"><p id=\"inside\" style=\"margin: 0\">x</p></div></section>"));
    auto records = collect({ 0, 0, 400, 100 });
    auto* inside = find(records, "inside");
    ASSERT_NE(inside, nullptr);
    EXPECT_EQ(inside->displayContentsAncestors, (std::vector<std::string> { "div.wrap", "section#outer.wrap" }));
    EXPECT_EQ(inside->ancestorSignatures, (std::vector<std::string> { "div.wrap", "section#outer.wrap", "body", "html" }));
    // Without a box of their own the wrappers yield no records.
    EXPECT_EQ(findTag(records, "section"), nullptr);
    EXPECT_EQ(findTag(records, "div"), nullptr);
}

TEST_F(BrightloopCollectionScript, TransformedElementReportsItsBoundingBox)
{
    load(page(".turned { position: absolute; left: 100px; top: 100px; width: 100px; height: 100px; transform: rotate(45deg); }",
              "<div id=\"turned\" class=\"turned\"></div>"));
    auto records = collect({ 0, 0, 400, 400 });
    auto* turned = find(records, "turned");
    ASSERT_NE(turned, nullptr);
    EXPECT_TRUE(turned->transformed);
    double diagonal = 100 * std::sqrt(2.0);
    EXPECT_NEAR(turned->rect.width, diagonal, 0.5);
    EXPECT_NEAR(turned->rect.height, diagonal, 0.5);
    EXPECT_NEAR(turned->rect.x, 150 - diagonal / 2, 0.5);
}

TEST_F(BrightloopCollectionScript, PositionedChildOutsideItsParentIsFound)
{
    load(page(".parent { position: relative; width: 100px; height: 100px; } .child { position: absolute; left: 400px; top: 300px; width: 50px; height: "
              "50px; }",
              "<div id=\"parent\" class=\"parent\"><span id=\"child\" class=\"child\"></span></div>"));
    auto records = collect({ 390, 290, 100, 100 });
    EXPECT_EQ(find(records, "parent"), nullptr);
    auto* child = find(records, "child");
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(child->rect, (BrightloopRect { 400, 300, 50, 50 }));
    EXPECT_EQ(child->ancestorSignatures, (std::vector<std::string> { "div#parent.parent", "body", "html" }));
}

TEST_F(BrightloopCollectionScript, CoveredElementIsNoPointerHitTarget)
{
    load(page(".under, .over { position: absolute; left: 0; top: 0; width: 100px; height: 100px; } .over { z-index: 2; }",
              "<div id=\"under\" class=\"under\"></div><div id=\"over\" class=\"over\"></div>"));
    auto records = collect({ 0, 0, 200, 200 });
    ASSERT_NE(find(records, "under"), nullptr);
    ASSERT_NE(find(records, "over"), nullptr);
    EXPECT_FALSE(find(records, "under")->isPointerHitTarget);
    EXPECT_TRUE(find(records, "over")->isPointerHitTarget);
}

TEST_F(BrightloopCollectionScript, DocumentSpaceSurvivesScrolling)
{
    load(page(".tall { height: 3000px; } .far { position: absolute; left: 10px; top: 2000px; width: 30px; height: 30px; }",
              "<div class=\"tall\"></div><div id=\"far\" class=\"far\"></div>"));
    evaluate("window.scrollTo(0, 1800); String(window.scrollY);");
    auto records = collect({ 0, 1990, 100, 100 });
    auto* far = find(records, "far");
    ASSERT_NE(far, nullptr);
    EXPECT_EQ(far->rect, (BrightloopRect { 10, 2000, 30, 30 }));
    EXPECT_TRUE(far->isPointerHitTarget);
}

TEST_F(BrightloopCollectionScript, FenceOverNothingAnswersAnEmptyArray)
{
    load(page(boxStyle, "<div id=\"box\" class=\"box\"></div>"));
    auto value = evaluate(BrightloopJS::script({ 600, 600, 10, 10 }));
    ASSERT_NE(std::any_cast<std::string>(&value), nullptr);
    EXPECT_EQ(std::any_cast<std::string>(value), "[]");
    EXPECT_TRUE(BrightloopJS::decode(value).empty());
}

TEST_F(BrightloopCollectionScript, PaintedPseudoElementAt14PercentSortsBehindAndAt15PercentBefore)
{
    const std::string html = page(".card { position: absolute; left: 0; top: 0; width: 100px; height: 100px; }"
                                  ".card::before { content: \"\"; position: absolute; inset: 0; background: #fc0; }"
                                  ".note { position: absolute; left: 150px; top: 100px; width: 100px; height: 20px; margin: 0; }",
                                  "<div class=\"card\"></div><p class=\"note\">Note</p>");
    load(html);
    auto source = UnicodeText::utf16(html);
    auto labels = [&](double fenceTop) {
        BrightloopRect fence { 0, fenceTop, 300, 100 };
        BrightloopSelection selection { "index.html", "index.html", fence };
        auto result = BrightloopSourceMapper::map(collect(fence), source, "index.html", selection);
        std::vector<std::string> found;
        for (auto& candidate : result.candidates())
            found.push_back(candidate.label);
        return found;
    };
    // The ordinary elements keep their own order (rank, then overlap, then area); the painted
    // surface moves from behind all of them to before all of them.
    EXPECT_EQ(labels(86), (std::vector<std::string> { "Note", "@class=\"note\"", "@class=\"card\"", "<div>", ".card::before" }));
    EXPECT_EQ(labels(85), (std::vector<std::string> { ".card::before", "Note", "@class=\"note\"", "@class=\"card\"", "<div>" }));
}

TEST_F(BrightloopCollectionScript, RenderedPageMapsBackToItsSource)
{
    const std::string html = "<!doctype html>\n<html>\n<head>\n<style>\nbody { margin: 0; }\n.badge::after { content: attr(data-count); }\n</style>\n</head>\n"
                             "<body>\n<main id=\"app\">\n<h1>Welcome</h1>\n<a href=\"about.html\" class=\"more\">About us</a>\n"
                             "<span class=\"badge\" data-count=\"3\"></span>\n</main>\n"
                             "<script>document.getElementById('app').insertAdjacentHTML('beforeend', '<div id=\"late\">Loaded</div>');</script>\n"
                             "</body>\n</html>\n";
    load(html);
    BrightloopRect fence { 0, 0, viewWidth, viewHeight };
    auto records = collect(fence);
    auto source = UnicodeText::utf16(html);
    BrightloopSelection selection { "index.html", "index.html", fence };
    auto result = BrightloopSourceMapper::map(records, source, "index.html", selection);

    auto offset = [&](const std::string& text) { return html.find(text); };
    struct Expected {
        std::string label;
        BrightloopConfidence confidence;
        std::optional<BrightloopSourceRange> range;
        std::string reason;
    };
    const std::string hitTarget = " Hit target: this element receives pointer events for the fenced surface.";
    const BrightloopSourceRange mainRange { "index.html", offset("<main"), offset("</main>") + 7 - offset("<main") };
    // The generated text first; then, among the elements, rank before area: the source tags,
    // their attributes, and the containers.
    const std::vector<Expected> expected {
        { "@data-count=\"3\"", BrightloopConfidence::editableAttribute, BrightloopSourceRange { "index.html", offset("3\"></span>"), 1 },
          "Visible: \"3\" generated by ::after from @data-count. Source: editable attribute on <span>. Painter: .badge::after." },
        { ".badge::after", BrightloopConfidence::container,
          BrightloopSourceRange { "index.html", offset(".badge::after"), std::string(".badge::after { content: attr(data-count); }").size() },
          "Painter: .badge::after generated this generated visual surface. Visible: \"3\". Source: exact pseudo-element style rule." },
        { "<span>", BrightloopConfidence::editableSource,
          BrightloopSourceRange { "index.html", offset("<span class"), std::string("<span class=\"badge\" data-count=\"3\"></span>").size() },
          "Single <span> match with verified text content." + hitTarget },
        { "About us", BrightloopConfidence::editableSource, BrightloopSourceRange { "index.html", offset("About us"), 8 },
          "Single <a> match with verified text content." + hitTarget },
        { "Welcome", BrightloopConfidence::editableSource, BrightloopSourceRange { "index.html", offset("Welcome"), 7 },
          "Single <h1> match with verified text content." + hitTarget },
        { "@class=\"badge\"", BrightloopConfidence::editableAttribute, BrightloopSourceRange { "index.html", offset("badge\" data"), 5 },
          "Matched <span> with editable @class." + hitTarget },
        { "@href=\"about.html\"", BrightloopConfidence::editableAttribute, BrightloopSourceRange { "index.html", offset("about.html"), 10 },
          "Matched <a> with editable @href." + hitTarget },
        { "@class=\"more\"", BrightloopConfidence::editableAttribute, BrightloopSourceRange { "index.html", offset("more\""), 4 },
          "Matched <a> with editable @class." + hitTarget },
        // The div the page's script added has no tag of its own.
        { "<main #app>", BrightloopConfidence::container, mainRange,
          "No source tag matched this rendered element; treating it as runtime-generated content inside nearest source-backed container <main>." },
        { "<main #app>", BrightloopConfidence::container, mainRange, "Structural <main> container." + hitTarget },
    };
    ASSERT_EQ(result.candidates().size(), expected.size());
    for (std::size_t index = 0; index < expected.size(); ++index) {
        auto& candidate = result.candidates()[index];
        SCOPED_TRACE(index);
        EXPECT_EQ(candidate.label, expected[index].label);
        EXPECT_EQ(rawValue(candidate.confidence), rawValue(expected[index].confidence));
        EXPECT_EQ(candidate.sourceRange, expected[index].range);
        EXPECT_EQ(candidate.reason, expected[index].reason);
    }
}
