#include "QuilloryApp/Preview/WebPreviewView.h"

#include "QuilloryApp/Brightloop/BrightloopOverlayView.h"
#include "QuilloryApp/Preview/WebPreviewViewCoordinator.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/PreviewHarness.h"
#include "app/support/XTestPointer.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <webkit/webkit.h>


#include <string>
#include <vector>

using namespace Quillory;
using namespace std::chrono_literals;
using QuilloryTest::PreviewHarness;
using QuilloryTest::waitFor;
using QuilloryTest::XTestPointer;
using QuilloryTest::waitUntil;

namespace {

constexpr const char* headingPage = R"(<!doctype html>
<html><head><meta charset="utf-8"><title>Home</title><style>body { margin: 0; } h1 { margin: 0; height: 60px; }</style></head>
<body><h1 id="top">Top heading</h1><p id="intro">Intro</p></body></html>
)";

constexpr const char* tallPage = R"(<!doctype html>
<html><head><meta charset="utf-8"><title>Tall</title>
<style>body { margin: 0; } .spacer { height: 1200px; } h1 { margin: 0; height: 60px; } .tail { height: 3000px; }</style></head>
<body><div class="spacer"></div><h1 id="target">Target heading</h1><div class="tail"></div></body></html>
)";

constexpr const char* linkPage = R"(<!doctype html>
<html><head><meta charset="utf-8"><title>Home</title>
<style>body { margin: 0; } a { position: absolute; left: 100px; top: 100px; width: 200px; height: 80px; display: block; background: #ddd; }</style></head>
<body><a id="about" href="about.html">About</a></body></html>
)";

constexpr const char* aboutPage = "<!doctype html><html><head><title>About</title></head><body><h1>About</h1></body></html>";

// A page that breaks the JSON serialiser every page script relies on: its answers are no strings.
constexpr const char* brokenPage = R"(<!doctype html>
<html><head><meta charset="utf-8"><title>Broken</title><script>JSON.stringify = function () { return 42; };</script></head>
<body><h1 id="top">Broken</h1></body></html>
)";

void openPage(PreviewHarness& harness, const char* html)
{
    harness.write("index.html", html);
    harness.write("about.html", aboutPage);
    harness.scan();
    harness.select("index.html");
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(1));
    ASSERT_TRUE(harness.waitForLayout());
}

const BrightloopDOMRecord* findRecord(const std::vector<BrightloopDOMRecord>& records, const std::string& elementID)
{
    for (auto& record : records) {
        if (record.elementID == elementID && !record.pseudoElement)
            return &record;
    }
    return nullptr;
}

BrightloopRect webViewBounds(PreviewHarness& harness)
{
    auto* webView = GTK_WIDGET(harness.view.webView());
    return { 0, 0, static_cast<double>(gtk_widget_get_width(webView)), static_cast<double>(gtk_widget_get_height(webView)) };
}

// Drags on the overlay through the same three steps its gesture takes.
void drag(BrightloopOverlayView& overlay, double fromX, double fromY, double toX, double toY)
{
    overlay.dragBegan(fromX, fromY);
    overlay.dragUpdated((fromX + toX) / 2, (fromY + toY) / 2);
    overlay.dragUpdated(toX, toY);
    overlay.dragEnded(toX, toY);
}

// Where a point of the page's viewport lies on `widget`.
graphene_point_t pagePointOn(PreviewHarness& harness, GtkWidget* widget, double x, double y)
{
    graphene_point_t inPage = GRAPHENE_POINT_INIT(static_cast<float>(x), static_cast<float>(y));
    graphene_point_t onWidget;
    EXPECT_TRUE(gtk_widget_compute_point(GTK_WIDGET(harness.view.webView()), widget, &inPage, &onWidget));
    return onWidget;
}

}

TEST(WebPreviewViewBrightloop, MeasuringAnswersAreReadOnlyAsArraysOfExactlyTheCount)
{
    using Coordinator = WebPreviewView::Coordinator;
    EXPECT_EQ(Coordinator::numbersFromJSONArray("[12, 340.5]", 2), (std::vector<double> { 12, 340.5 }));
    EXPECT_EQ(Coordinator::numbersFromJSONArray("[0,0,1024,700]", 4), (std::vector<double> { 0, 0, 1024, 700 }));
    EXPECT_EQ(Coordinator::numbersFromJSONArray("[-3, 2]", 2), (std::vector<double> { -3, 2 }));
    for (const char* answer : { "[1]", "[1, 2, 3]", "[\"1\", 2]", "[null, 2]", "{\"x\": 1, \"y\": 2}", "42", "", "[1, 2", "not json" })
        EXPECT_EQ(Coordinator::numbersFromJSONArray(std::string(answer), 2), std::nullopt) << answer;
    EXPECT_EQ(Coordinator::numbersFromJSONArray(std::nullopt, 2), std::nullopt);
}

TEST(WebPreviewViewBrightloop, OverlayIsHiddenUntilFenceModeIsOn)
{
    PreviewHarness harness;
    openPage(harness, headingPage);
    auto* overlay = harness.view.overlay().widget();
    EXPECT_FALSE(gtk_widget_get_visible(overlay));
    EXPECT_EQ(gtk_widget_get_parent(overlay), harness.view.widget());
    EXPECT_EQ(gtk_widget_get_parent(GTK_WIDGET(harness.view.webView())), harness.view.widget());

    harness.inputs.brightloopEnabled = true;
    harness.update();
    EXPECT_TRUE(gtk_widget_get_visible(overlay));
    ASSERT_TRUE(waitUntil([&] { return gtk_widget_get_width(overlay) > 0; }));
    // The overlay covers the web view exactly.
    EXPECT_EQ(gtk_widget_get_width(overlay), gtk_widget_get_width(GTK_WIDGET(harness.view.webView())));
    EXPECT_EQ(gtk_widget_get_height(overlay), gtk_widget_get_height(GTK_WIDGET(harness.view.webView())));
}

TEST(WebPreviewViewBrightloop, VisibleAreaTokenRunsOnceAndARepeatDoesNotRunAgain)
{
    PreviewHarness harness;
    openPage(harness, headingPage);
    harness.inputs.brightloopVisibleAreaToken = UUID::random();
    harness.update();
    ASSERT_TRUE(waitUntil([&] { return !harness.fences.empty(); }));
    EXPECT_EQ(harness.fences[0].rect, webViewBounds(harness));
    ASSERT_NE(findRecord(harness.fences[0].records, "top"), nullptr);
    EXPECT_NE(findRecord(harness.fences[0].records, "intro"), nullptr);

    harness.update();
    harness.update();
    waitFor(500ms);
    EXPECT_EQ(harness.fences.size(), 1u);

    harness.inputs.brightloopVisibleAreaToken = UUID::random();
    harness.update();
    ASSERT_TRUE(waitUntil([&] { return harness.fences.size() == 2; }));
}

TEST(WebPreviewViewBrightloop, VisibleAreaIsTheViewportInPageCoordinates)
{
    PreviewHarness harness;
    openPage(harness, tallPage);
    ASSERT_EQ(harness.evaluate("window.scrollTo(0, 1000); return String(window.scrollY);"), "1000");
    harness.inputs.brightloopVisibleAreaToken = UUID::random();
    harness.update();
    ASSERT_TRUE(waitUntil([&] { return !harness.fences.empty(); }));
    auto bounds = webViewBounds(harness);
    EXPECT_EQ(harness.fences[0].rect, (BrightloopRect { 0, 1000, bounds.width, bounds.height }));
    auto* target = findRecord(harness.fences[0].records, "target");
    ASSERT_NE(target, nullptr);
    EXPECT_EQ(target->rect.y, 1200);
}

TEST(WebPreviewViewBrightloop, TokenBeforeThereIsACurrentPageIsUsedUpAndDoesNothing)
{
    PreviewHarness harness;
    auto token = UUID::random();
    harness.inputs.previewTarget = PreviewTarget::unavailable("Select a page to preview.");
    harness.inputs.brightloopVisibleAreaToken = token;
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(1));
    waitFor(300ms);
    EXPECT_TRUE(harness.fences.empty());

    // The page arrives with the same token: it was handled already.
    openPage(harness, headingPage);
    ASSERT_TRUE(harness.waitForFinishedLoads(2));
    waitFor(500ms);
    EXPECT_TRUE(harness.fences.empty());

    harness.inputs.brightloopVisibleAreaToken = UUID::random();
    harness.update();
    EXPECT_TRUE(waitUntil([&] { return harness.fences.size() == 1; }));
}

TEST(WebPreviewViewBrightloop, NarrowDragAndTheNextClickFireNothing)
{
    PreviewHarness harness;
    openPage(harness, headingPage);
    harness.inputs.brightloopEnabled = true;
    harness.update();
    auto& overlay = harness.view.overlay();

    drag(overlay, 10, 10, 13, 210);
    EXPECT_FALSE(overlay.dragStart().has_value());
    EXPECT_FALSE(overlay.dragCurrent().has_value());
    drag(overlay, 10, 10, 210, 13);
    overlay.dragBegan(50, 50);
    overlay.dragEnded(50, 50);
    EXPECT_FALSE(overlay.dragStart().has_value());
    waitFor(300ms);
    EXPECT_TRUE(harness.fences.empty());

    // Four by four is the smallest fence.
    drag(overlay, 14, 14, 10, 10);
    ASSERT_TRUE(waitUntil([&] { return harness.fences.size() == 1; }));
    EXPECT_EQ(harness.fences[0].rect, (BrightloopRect { 10, 10, 4, 4 }));
}

TEST(WebPreviewViewBrightloop, DragOverAHeadingFencesItInPageCoordinates)
{
    PreviewHarness harness;
    openPage(harness, tallPage);
    ASSERT_EQ(harness.evaluate("window.scrollTo(0, 1000); return String(window.scrollY);"), "1000");
    harness.inputs.brightloopEnabled = true;
    harness.update();
    auto& overlay = harness.view.overlay();

    // The heading sits 200 px below the top of the viewport now.
    auto from = pagePointOn(harness, overlay.widget(), 20, 190);
    auto to = pagePointOn(harness, overlay.widget(), 300, 270);
    overlay.dragBegan(from.x, from.y);
    overlay.dragUpdated(to.x, to.y);
    EXPECT_TRUE(overlay.dragStart().has_value());
    overlay.dragEnded(to.x, to.y);
    ASSERT_TRUE(waitUntil([&] { return !harness.fences.empty(); }));
    EXPECT_EQ(harness.fences[0].rect, (BrightloopRect { 20, 1190, 280, 80 }));
    auto* target = findRecord(harness.fences[0].records, "target");
    ASSERT_NE(target, nullptr);
    EXPECT_EQ(target->rect.y, 1200);
    EXPECT_EQ(target->textSnippet, "Target heading");
}

TEST(WebPreviewViewBrightloop, HiddenOverlayDropsADragUnderWay)
{
    PreviewHarness harness;
    openPage(harness, headingPage);
    harness.inputs.brightloopEnabled = true;
    harness.update();
    auto& overlay = harness.view.overlay();
    overlay.dragBegan(10, 10);
    overlay.dragUpdated(200, 200);
    ASSERT_TRUE(overlay.dragStart().has_value());

    harness.inputs.brightloopEnabled = false;
    harness.update();
    EXPECT_FALSE(gtk_widget_get_visible(overlay.widget()));
    EXPECT_FALSE(overlay.dragStart().has_value());
    EXPECT_FALSE(overlay.dragCurrent().has_value());
    // The end of that drag finds nothing to report.
    overlay.dragUpdated(250, 250);
    overlay.dragEnded(250, 250);

    harness.inputs.brightloopEnabled = true;
    harness.update();
    EXPECT_TRUE(gtk_widget_get_visible(overlay.widget()));
    EXPECT_FALSE(overlay.dragStart().has_value());
    EXPECT_FALSE(overlay.dragCurrent().has_value());
    waitFor(300ms);
    EXPECT_TRUE(harness.fences.empty());
}

TEST(WebPreviewViewBrightloop, ReloadAppliesTheLastDirectiveAgain)
{
    PreviewHarness harness;
    openPage(harness, headingPage);
    harness.inputs.brightloopVisibleAreaToken = UUID::random();
    harness.update();
    ASSERT_TRUE(waitUntil([&] { return !harness.fences.empty(); }));
    auto* heading = findRecord(harness.fences[0].records, "top");
    ASSERT_NE(heading, nullptr);
    BrightloopCandidate candidate;
    candidate.id = UUID::random();
    candidate.dom = *heading;

    const std::string marker = "return String(document.getElementById('top').getAttribute('data-quillory-brightloop-preview-effect'));";
    harness.inputs.brightloopPreviewDirective = { { candidate }, std::nullopt };
    harness.update();
    ASSERT_TRUE(waitUntil([&] { return harness.evaluate(marker) == "hidden"; }));
    harness.markDocument();

    harness.inputs.reloadToken = UUID::random();
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(2));
    EXPECT_TRUE(waitUntil([&] { return harness.evaluate(marker) == "hidden"; }));
    EXPECT_EQ(harness.documentMark(), "undefined");

    // A new directive replaces it, and the next reload applies that one.
    harness.inputs.brightloopPreviewDirective = { {}, candidate };
    harness.update();
    EXPECT_TRUE(waitUntil([&] { return harness.evaluate(marker) == "highlighted"; }));
    harness.inputs.brightloopPreviewDirective = BrightloopPreviewDirective::empty();
    harness.update();
    EXPECT_TRUE(waitUntil([&] { return harness.evaluate(marker) == "null"; }));
    harness.inputs.reloadToken = UUID::random();
    harness.update();
    ASSERT_TRUE(harness.waitForFinishedLoads(3));
    waitFor(300ms);
    EXPECT_EQ(harness.evaluate(marker), "null");
}

TEST(WebPreviewViewBrightloop, BrokenPageGivesAnEmptyFenceOverTheViewBounds)
{
    PreviewHarness harness;
    openPage(harness, brokenPage);
    harness.inputs.brightloopVisibleAreaToken = UUID::random();
    harness.update();
    ASSERT_TRUE(waitUntil([&] { return !harness.fences.empty(); }));
    // The viewport can't be read, so the fence is the view's bounds; collecting fails, so no records.
    EXPECT_EQ(harness.fences[0].rect, webViewBounds(harness));
    EXPECT_TRUE(harness.fences[0].records.empty());

    // Nor can the scroll offset be read for a drag: it counts as (0, 0).
    ASSERT_EQ(harness.evaluate("window.scrollTo(0, 0); return 'top';"), "top");
    harness.inputs.brightloopEnabled = true;
    harness.update();
    drag(harness.view.overlay(), 5, 6, 55, 66);
    ASSERT_TRUE(waitUntil([&] { return harness.fences.size() == 2; }));
    EXPECT_EQ(harness.fences[1].rect, (BrightloopRect { 5, 6, 50, 60 }));
    EXPECT_TRUE(harness.fences[1].records.empty());
}

TEST(WebPreviewViewBrightloop, InspectionTokenTakesOneSnapshot)
{
    PreviewHarness harness;
    openPage(harness, headingPage);
    harness.inputs.pageInspectionRequestToken = UUID::random();
    harness.update();
    ASSERT_TRUE(waitUntil([&] { return !harness.snapshots.empty(); }));
    EXPECT_EQ(harness.snapshots[0].title, "Home");
    ASSERT_EQ(harness.snapshots[0].headings.size(), 1u);
    EXPECT_EQ(harness.snapshots[0].headings[0].text, "Top heading");
    EXPECT_EQ(harness.snapshots[0].headings[0].elementID, "top");

    harness.update();
    waitFor(500ms);
    EXPECT_EQ(harness.snapshots.size(), 1u);
    EXPECT_TRUE(harness.snapshotErrors.empty());
}

TEST(WebPreviewViewBrightloop, FailedSnapshotReportsItsReason)
{
    PreviewHarness harness;
    openPage(harness, brokenPage);
    harness.inputs.pageInspectionRequestToken = UUID::random();
    harness.update();
    ASSERT_TRUE(waitUntil([&] { return !harness.snapshotErrors.empty(); }));
    EXPECT_EQ(harness.snapshotErrors, std::vector<std::string> { "Page snapshot failed: not a string" });
    EXPECT_TRUE(harness.snapshots.empty());
}

TEST(WebPreviewViewBrightloop, ShownOverlayIsWherePointerEventsGo)
{
    PreviewHarness harness;
    openPage(harness, linkPage);
    auto* container = harness.view.widget();
    auto link = pagePointOn(harness, container, 200, 140);
    auto* webView = GTK_WIDGET(harness.view.webView());

    GtkWidget* picked = gtk_widget_pick(container, link.x, link.y, GTK_PICK_DEFAULT);
    EXPECT_TRUE(picked == webView || (picked && gtk_widget_is_ancestor(picked, webView)));

    harness.inputs.brightloopEnabled = true;
    harness.update();
    ASSERT_TRUE(waitUntil([&] { return gtk_widget_get_width(harness.view.overlay().widget()) > 0; }));
    EXPECT_EQ(gtk_widget_pick(container, link.x, link.y, GTK_PICK_DEFAULT), harness.view.overlay().widget());
}

TEST(WebPreviewViewBrightloopOnScreen, RealClickOnTheOverlayDoesNotFollowTheLinkUnderIt)
{
    PreviewHarness harness;
    openPage(harness, linkPage);
    harness.inputs.brightloopEnabled = true;
    harness.update();
    auto* overlay = harness.view.overlay().widget();
    ASSERT_TRUE(waitUntil([&] { return gtk_widget_get_width(overlay) > 0; }));
    auto link = pagePointOn(harness, overlay, 200, 140);
    XTestPointer pointer(overlay);
    ASSERT_TRUE(pointer.isAvailable()) << "the X server has no test extension";

    pointer.moveTo(link.x, link.y);
    pointer.press();
    pointer.release();
    waitFor(500ms);
    EXPECT_TRUE(harness.askedPages.empty());
    EXPECT_EQ(harness.loadsStarted, 1);
    EXPECT_TRUE(harness.fences.empty());

    // The same click with the overlay hidden reaches the page, and the link asks the store.
    harness.inputs.brightloopEnabled = false;
    harness.update();
    XTestPointer pagePointer(harness.view.widget());
    pagePointer.moveTo(link.x + 1, link.y);
    pagePointer.press();
    pagePointer.release();
    EXPECT_TRUE(waitUntil([&] { return !harness.askedPages.empty(); }, 10s));
    EXPECT_EQ(harness.askedPages, std::vector<std::string> { "about.html" });
}

TEST(WebPreviewViewBrightloopOnScreen, RealDragOnTheOverlayFencesWhatItCovers)
{
    PreviewHarness harness;
    openPage(harness, linkPage);
    harness.inputs.brightloopEnabled = true;
    harness.update();
    auto* overlay = harness.view.overlay().widget();
    ASSERT_TRUE(waitUntil([&] { return gtk_widget_get_width(overlay) > 0; }));
    auto from = pagePointOn(harness, overlay, 150, 120);
    auto to = pagePointOn(harness, overlay, 250, 160);
    XTestPointer pointer(overlay);
    ASSERT_TRUE(pointer.isAvailable()) << "the X server has no test extension";

    pointer.moveTo(from.x, from.y);
    pointer.press();
    pointer.moveTo((from.x + to.x) / 2, (from.y + to.y) / 2);
    pointer.moveTo(to.x, to.y);
    EXPECT_TRUE(harness.view.overlay().dragStart().has_value());
    pointer.release();
    ASSERT_TRUE(waitUntil([&] { return !harness.fences.empty(); }));
    EXPECT_FALSE(harness.view.overlay().dragStart().has_value());
    EXPECT_EQ(harness.fences[0].rect, (BrightloopRect { 150, 120, 100, 40 }));
    EXPECT_NE(findRecord(harness.fences[0].records, "about"), nullptr);
    EXPECT_TRUE(harness.askedPages.empty());
}
