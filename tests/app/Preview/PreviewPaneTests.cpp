#include "QuilloryApp/Preview/PreviewPane.h"

#include "QuilloryApp/Brightloop/BrightloopCandidateRail.h"
#include "QuilloryApp/Brightloop/BrightloopCandidateRow.h"
#include "QuilloryApp/Brightloop/BrightloopCandidateWindowView.h"
#include "QuilloryApp/Brightloop/BrightloopStore.h"
#include "QuilloryApp/Brightloop/CandidateRailResizeHandle.h"
#include "QuilloryApp/Shell/EditorPreviewView.h"
#include "QuilloryApp/Shell/IconNames.h"
#include "QuilloryApp/Editor/SourceEditorView.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/ViewTestSupport.h"
#include "app/support/XTestPointer.h"
#include "support/TemporaryDirectory.h"

#include <adwaita.h>
#include <gtest/gtest.h>
#include <webkit/webkit.h>

#include <optional>
#include <string>
#include <vector>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

// Every label text below a widget, depth first.
void collectLabels(GtkWidget* widget, std::vector<std::string>& texts)
{
    if (GTK_IS_LABEL(widget))
        texts.emplace_back(gtk_label_get_text(GTK_LABEL(widget)));
    for (GtkWidget* child = gtk_widget_get_first_child(widget); child; child = gtk_widget_get_next_sibling(child))
        collectLabels(child, texts);
}

GtkWidget* findStatusPage(GtkWidget* widget)
{
    if (ADW_IS_STATUS_PAGE(widget))
        return widget;
    for (GtkWidget* child = gtk_widget_get_first_child(widget); child; child = gtk_widget_get_next_sibling(child)) {
        if (GtkWidget* found = findStatusPage(child))
            return found;
    }
    return nullptr;
}

// The visible toplevel windows with this title.
int visibleWindowsTitled(const char* title)
{
    int count = 0;
    GListModel* toplevels = gtk_window_get_toplevels();
    for (guint index = 0; index < g_list_model_get_n_items(toplevels); ++index) {
        auto* window = GTK_WINDOW(g_list_model_get_item(toplevels, index));
        const char* windowTitle = gtk_window_get_title(window);
        if (windowTitle && std::string(windowTitle) == title && gtk_widget_get_visible(GTK_WIDGET(window)))
            ++count;
        g_object_unref(window);
    }
    return count;
}

const char* buttonLabel(GtkButton* button)
{
    return adw_button_content_get_label(ADW_BUTTON_CONTENT(gtk_button_get_child(button)));
}

const char* buttonIconName(GtkButton* button)
{
    return adw_button_content_get_icon_name(ADW_BUTTON_CONTENT(gtk_button_get_child(button)));
}

BrightloopCandidate makeCandidate(std::string label, BrightloopConfidence confidence, std::optional<BrightloopSourceRange> sourceRange = std::nullopt,
                                  std::optional<std::string> pseudoElement = std::nullopt)
{
    BrightloopDOMRecordFields fields;
    fields.tagName = "h1";
    fields.rect = { 8, 8, 300, 40 };
    fields.textSnippet = label;
    fields.isVisible = true;
    fields.pseudoElement = std::move(pseudoElement);
    BrightloopCandidate candidate;
    candidate.id = UUID::random();
    candidate.kind = BrightloopCandidateKind::heading;
    candidate.label = std::move(label);
    candidate.confidence = confidence;
    candidate.dom = BrightloopDOMRecord(std::move(fields));
    candidate.sourceRange = std::move(sourceRange);
    candidate.overlapFraction = 1;
    candidate.reason = "Matched by its text.";
    return candidate;
}

BrightloopResult makeResult(std::vector<BrightloopCandidate> candidates)
{
    return BrightloopResult(BrightloopSelection { "index.html", "index.html", { 0, 0, 640, 480 } }, std::move(candidates));
}

PreviewPane::Inputs unavailableInputs()
{
    PreviewPane::Inputs inputs;
    inputs.preview.previewTarget = PreviewTarget::unavailable("Select a page to preview.");
    inputs.preview.reloadToken = UUID::random();
    return inputs;
}

struct PaneInWindow {
    BrightloopStore brightloopStore;
    PreviewPane pane { brightloopStore };
    TestWindow window { pane.widget(), 700, 1000 };
};

// The whole working surface over a one-page site, as the window holds it.
struct SurfaceInWindow {
    ViewHarness harness;
    TemporaryDirectory site;
    std::optional<EditorPreviewView> view;
    std::optional<TestWindow> window;

    explicit SurfaceInWindow(const std::string& html = "<h1>Hello</h1>\n<p>World</p>\n")
    {
        site.write("index.html", html);
        site.write("about.html", "<h1>About</h1>\n");
        harness.store.loadWorkspace(site.path());
        view.emplace(harness.store);
        window.emplace(view->widget(), 1440, 1000);
    }
    ~SurfaceInWindow()
    {
        window.reset();
        view.reset();
    }
    BrightloopStore& brightloop() { return harness.store.brightloopStore(); }
    PreviewPane& pane() { return view->previewPane(); }
    BrightloopCandidateRail& rail() { return pane().candidateRail(); }
};

}

TEST(PreviewPane, HeaderSaysWebKitPreviewAboveTheWebView)
{
    PaneInWindow window;
    std::vector<std::string> labels;
    collectLabels(window.pane.widget(), labels);
    ASSERT_FALSE(labels.empty());
    EXPECT_EQ(labels.front(), "WebKit Preview");
    EXPECT_TRUE(gtk_widget_is_ancestor(GTK_WIDGET(window.pane.webPreviewView().webView()), window.pane.widget()));
}

TEST(PreviewPane, EmptyPreviewStateCoversThePreviewOnlyWhileThePageIsEmpty)
{
    PaneInWindow window;
    GtkWidget* emptyState = findStatusPage(window.pane.widget());
    ASSERT_NE(emptyState, nullptr);
    EXPECT_STREQ(adw_status_page_get_title(ADW_STATUS_PAGE(emptyState)), "Waiting for markup");
    EXPECT_STREQ(adw_status_page_get_description(ADW_STATUS_PAGE(emptyState)), "Add HTML on the left to bring this page to life in WebKit.");

    auto inputs = unavailableInputs();
    inputs.isPageEmpty = true;
    window.pane.update(inputs);
    EXPECT_TRUE(gtk_widget_get_visible(emptyState));

    inputs.isPageEmpty = false;
    window.pane.update(inputs);
    EXPECT_FALSE(gtk_widget_get_visible(emptyState));
    // The preview behind it was handed the target all the same.
    EXPECT_TRUE(waitUntil([&] { return !webkit_web_view_is_loading(window.pane.webPreviewView().webView()) && webkit_web_view_get_uri(window.pane.webPreviewView().webView()); }));
}

TEST(PreviewPane, HeaderActionsHaveTheirWordsImagesAndHelp)
{
    PaneInWindow window;
    const auto& expanded = window.pane.expandedHeaderActions();
    const auto& compact = window.pane.compactHeaderActions();
    struct Case {
        GtkButton* labelled;
        GtkButton* imageOnly;
        const char* label;
        const char* systemImageName;
        const char* help;
    };
    const Case cases[] {
        { expanded.pageSnapshot, compact.pageSnapshot, "Page Snapshot", "doc.viewfinder", "Collect a native WebKit DOM and CSSOM snapshot" },
        { expanded.fenceVisibleArea, compact.fenceVisibleArea, "Fence Visible Area", "rectangle.dashed", "Run Brightloop over the entire visible area (no drag required)" },
        { GTK_BUTTON(expanded.brightloop), GTK_BUTTON(compact.brightloop), "Brightloop", "viewfinder", "Drag a rectangle over the preview to map it back to source" },
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.label);
        EXPECT_STREQ(buttonLabel(each.labelled), each.label);
        EXPECT_STREQ(buttonIconName(each.labelled), IconNames::symbolic(each.systemImageName));
        EXPECT_STRNE(buttonIconName(each.labelled), "image-missing-symbolic");
        EXPECT_STREQ(gtk_widget_get_tooltip_text(GTK_WIDGET(each.labelled)), each.help);
        // The narrow form shows the image alone and keeps the words for assistive technology.
        EXPECT_STREQ(gtk_button_get_icon_name(each.imageOnly), IconNames::symbolic(each.systemImageName));
        EXPECT_STREQ(gtk_widget_get_tooltip_text(GTK_WIDGET(each.imageOnly)), each.help);
        gtk_test_accessible_assert_property(GTK_ACCESSIBLE(each.imageOnly), GTK_ACCESSIBLE_PROPERTY_LABEL, each.label);
    }
    // At 700 pixels the words fit.
    EXPECT_EQ(&window.pane.visibleHeaderActions(), &expanded);
    EXPECT_TRUE(gtk_widget_get_mapped(GTK_WIDGET(expanded.fenceVisibleArea)));
    EXPECT_EQ(window.pane.fenceVisibleAreaButton(), expanded.fenceVisibleArea);
}

TEST(PreviewPane, FitsThePanesMinimumWidthWithARailOfLongRows)
{
    // The split never makes the preview narrower than 520; the header then shows images alone.
    BrightloopStore brightloopStore;
    PreviewPane pane(brightloopStore);
    auto inputs = unavailableInputs();
    auto layer = makeCandidate("A generated badge with a long label", BrightloopConfidence::generatedOrExternal, std::nullopt, "::after");
    inputs.brightloopResult = makeResult({ layer, makeCandidate("Hello", BrightloopConfidence::editableSource) });
    inputs.preview.brightloopPreviewDirective.hiddenCandidates.push_back(layer);
    pane.update(inputs);
    int minimum = 0;
    gtk_widget_measure(pane.widget(), GTK_ORIENTATION_HORIZONTAL, -1, &minimum, nullptr, nullptr, nullptr);
    EXPECT_LE(minimum, 520);

    // The pop-out window can be made as narrow as 440.
    brightloopStore.setResult(inputs.brightloopResult);
    brightloopStore.toggleCandidateHidden(layer);
    BrightloopCandidateWindowView windowView(brightloopStore, {});
    ASSERT_TRUE(windowView.isShowingRail());
    int windowMinimum = 0;
    gtk_widget_measure(windowView.widget(), GTK_ORIENTATION_HORIZONTAL, -1, &windowMinimum, nullptr, nullptr, nullptr);
    EXPECT_LE(windowMinimum, 440);

    TestWindow window(pane.widget(), 520, 900);
    EXPECT_LE(gtk_widget_get_width(pane.widget()), 520);
    EXPECT_EQ(&pane.visibleHeaderActions(), &pane.compactHeaderActions());
    EXPECT_TRUE(gtk_widget_get_mapped(GTK_WIDGET(pane.compactHeaderActions().brightloop)));
    EXPECT_EQ(pane.brightloopToggle(), pane.compactHeaderActions().brightloop);
}

TEST(PreviewPane, HeaderActionsCallTheirCallbacks)
{
    PaneInWindow window;
    int snapshots = 0;
    int fences = 0;
    auto inputs = unavailableInputs();
    inputs.onRequestPageInspectionSnapshot = [&] { ++snapshots; };
    inputs.onRequestVisibleAreaFence = [&] { ++fences; };
    window.pane.update(inputs);

    g_signal_emit_by_name(window.pane.pageSnapshotButton(), "clicked");
    EXPECT_EQ(snapshots, 1);
    EXPECT_EQ(fences, 0);
    g_signal_emit_by_name(window.pane.fenceVisibleAreaButton(), "clicked");
    EXPECT_EQ(fences, 1);
}

TEST(PreviewPane, BrightloopToggleShowsTheModeItIsGiven)
{
    PaneInWindow window;
    int toggles = 0;
    auto inputs = unavailableInputs();
    inputs.onToggleBrightloop = [&] { ++toggles; };
    window.pane.update(inputs);
    EXPECT_FALSE(gtk_toggle_button_get_active(window.pane.brightloopToggle()));

    inputs.preview.brightloopEnabled = true;
    window.pane.update(inputs);
    EXPECT_TRUE(gtk_toggle_button_get_active(window.pane.expandedHeaderActions().brightloop));
    EXPECT_TRUE(gtk_toggle_button_get_active(window.pane.compactHeaderActions().brightloop));
    EXPECT_EQ(toggles, 0);

    // A click asks for the change; the toggle follows the mode, which only an update brings.
    g_signal_emit_by_name(window.pane.brightloopToggle(), "clicked");
    EXPECT_EQ(toggles, 1);
    EXPECT_TRUE(gtk_toggle_button_get_active(window.pane.brightloopToggle()));
    inputs.preview.brightloopEnabled = false;
    window.pane.update(inputs);
    EXPECT_FALSE(gtk_toggle_button_get_active(window.pane.expandedHeaderActions().brightloop));
    EXPECT_FALSE(gtk_toggle_button_get_active(window.pane.compactHeaderActions().brightloop));
    EXPECT_EQ(toggles, 1);
    // The narrow form's toggle asks the same.
    g_signal_emit_by_name(window.pane.compactHeaderActions().brightloop, "clicked");
    EXPECT_EQ(toggles, 2);
    EXPECT_FALSE(gtk_toggle_button_get_active(window.pane.compactHeaderActions().brightloop));
}

TEST(PreviewPane, CandidateRailIsThereOnlyWhileAResultIs)
{
    PaneInWindow window;
    auto inputs = unavailableInputs();
    window.pane.update(inputs);
    EXPECT_FALSE(window.pane.isShowingCandidateRail());
    EXPECT_FALSE(gtk_widget_get_visible(window.pane.candidateRailResizeHandle().widget()));

    // A fence that found nothing still shows the rail, with its empty state.
    inputs.brightloopResult = makeResult({});
    window.pane.update(inputs);
    EXPECT_TRUE(window.pane.isShowingCandidateRail());
    EXPECT_TRUE(gtk_widget_get_visible(window.pane.candidateRailResizeHandle().widget()));
    EXPECT_TRUE(window.pane.candidateRail().isShowingEmptyState());
    window.window.waitForFrame();
    EXPECT_TRUE(gtk_widget_get_mapped(window.pane.candidateRail().emptyState()));
    // The grip stands right above the rail.
    EXPECT_EQ(gtk_widget_get_next_sibling(window.pane.candidateRailResizeHandle().widget()), window.pane.candidateRail().widget());

    inputs.brightloopResult = makeResult({ makeCandidate("Hello", BrightloopConfidence::editableSource) });
    window.pane.update(inputs);
    EXPECT_FALSE(window.pane.candidateRail().isShowingEmptyState());
    EXPECT_NE(window.pane.candidateRail().popOutButton(), nullptr);

    // A discarded result leaves no rail at all.
    inputs.brightloopResult.reset();
    window.pane.update(inputs);
    EXPECT_FALSE(window.pane.isShowingCandidateRail());
    EXPECT_FALSE(gtk_widget_get_visible(window.pane.candidateRailResizeHandle().widget()));
}

TEST(PreviewPane, ResizeDragStopsAtTheLimitsAndKeepsTheLastClampedHeight)
{
    PaneInWindow window;
    auto inputs = unavailableInputs();
    inputs.brightloopResult = makeResult({ makeCandidate("Hello", BrightloopConfidence::editableSource) });
    window.pane.update(inputs);
    window.window.waitForFrame();
    GtkWidget* rail = window.pane.candidateRail().widget();
    EXPECT_EQ(window.pane.candidateRailHeight(), 220);
    EXPECT_EQ(gtk_widget_get_height(rail), 220);

    auto& handle = window.pane.candidateRailResizeHandle();
    handle.dragBegan();
    handle.dragUpdated(-120);
    EXPECT_EQ(window.pane.candidateRailHeight(), 340);
    handle.dragUpdated(-5000);
    EXPECT_EQ(window.pane.candidateRailHeight(), 420);
    handle.dragEnded(-5000);
    EXPECT_FALSE(handle.dragStartHeight());
    window.window.waitForFrame();
    EXPECT_EQ(window.pane.candidateRailHeight(), 420);
    EXPECT_EQ(gtk_widget_get_height(rail), 420);

    handle.dragBegan();
    handle.dragUpdated(5000);
    handle.dragEnded(5000);
    window.window.waitForFrame();
    EXPECT_EQ(window.pane.candidateRailHeight(), 120);
    EXPECT_EQ(gtk_widget_get_height(rail), 120);

    // A new result keeps the height the user chose, the empty state included.
    inputs.brightloopResult = makeResult({});
    window.pane.update(inputs);
    window.window.waitForFrame();
    EXPECT_TRUE(window.pane.candidateRail().isShowingEmptyState());
    EXPECT_EQ(gtk_widget_get_height(rail), 120);
}

TEST(PreviewPaneOnScreen, ResizeHandleFollowsTheRealPointer)
{
    // The stylesheet gives the grip its height.
    ViewHarness harness;
    BrightloopStore brightloopStore;
    PreviewPane pane(brightloopStore);
    auto inputs = unavailableInputs();
    inputs.brightloopResult = makeResult({ makeCandidate("Hello", BrightloopConfidence::editableSource) });
    pane.update(inputs);
    TestWindow window(pane.widget(), 700, 1000);
    XTestPointer pointer(window.window());
    ASSERT_TRUE(pointer.isAvailable()) << "the X server has no test extension";
    GtkWidget* handle = pane.candidateRailResizeHandle().widget();
    GtkWidget* rail = pane.candidateRail().widget();
    ASSERT_GT(gtk_widget_get_height(handle), 0);

    // Drags in window coordinates from the grip's centre as it stands now; the grip moves with the rail.
    auto dragGripBy = [&](double dy) {
        graphene_point_t centre = GRAPHENE_POINT_INIT(gtk_widget_get_width(handle) / 2.0f, gtk_widget_get_height(handle) / 2.0f);
        graphene_point_t inWindow;
        ASSERT_TRUE(gtk_widget_compute_point(handle, window.window(), &centre, &inWindow));
        pointer.drag(inWindow.x, inWindow.y, inWindow.x, inWindow.y + dy);
        window.waitForFrame();
    };

    dragGripBy(-100);
    EXPECT_EQ(pane.candidateRailHeight(), 320);
    EXPECT_EQ(gtk_widget_get_height(rail), 320);
    EXPECT_FALSE(pane.candidateRailResizeHandle().dragStartHeight());

    dragGripBy(-400);
    EXPECT_EQ(pane.candidateRailHeight(), 420);
    EXPECT_EQ(gtk_widget_get_height(rail), 420);

    dragGripBy(500);
    EXPECT_EQ(pane.candidateRailHeight(), 120);
    EXPECT_EQ(gtk_widget_get_height(rail), 120);
}

TEST(PreviewPane, CandidateRailHeightStartsAgainForAnotherDocument)
{
    PaneInWindow window;
    auto inputs = unavailableInputs();
    inputs.preview.currentDocumentID = "index.html";
    inputs.brightloopResult = makeResult({});
    window.pane.update(inputs);
    auto& handle = window.pane.candidateRailResizeHandle();
    handle.dragBegan();
    handle.dragEnded(-100);
    EXPECT_EQ(window.pane.candidateRailHeight(), 320);
    window.pane.update(inputs);
    EXPECT_EQ(window.pane.candidateRailHeight(), 320);

    inputs.preview.currentDocumentID = "about.html";
    window.pane.update(inputs);
    EXPECT_EQ(window.pane.candidateRailHeight(), 220);
    window.window.waitForFrame();
    EXPECT_EQ(gtk_widget_get_height(window.pane.candidateRail().widget()), 220);
}

TEST(PreviewPane, PopOutOpensOneWindowForThePanesWholeLife)
{
    PaneInWindow window;
    auto inputs = unavailableInputs();
    inputs.brightloopResult = makeResult({ makeCandidate("Hello", BrightloopConfidence::editableSource) });
    window.pane.update(inputs);
    EXPECT_EQ(window.pane.candidateWindow(), nullptr);

    g_signal_emit_by_name(window.pane.candidateRail().popOutButton(), "clicked");
    GtkWindow* candidateWindow = window.pane.candidateWindow();
    ASSERT_NE(candidateWindow, nullptr);
    EXPECT_STREQ(gtk_window_get_title(candidateWindow), "Brightloop Candidates");
    int width = 0;
    int height = 0;
    gtk_window_get_default_size(candidateWindow, &width, &height);
    EXPECT_EQ(width, 680);
    EXPECT_EQ(height, 520);
    gtk_widget_get_size_request(GTK_WIDGET(candidateWindow), &width, &height);
    EXPECT_EQ(width, 440);
    EXPECT_EQ(height, 260);
    EXPECT_TRUE(gtk_window_get_hide_on_close(candidateWindow));
    EXPECT_TRUE(gtk_window_get_resizable(candidateWindow));
    EXPECT_TRUE(gtk_window_get_deletable(candidateWindow));
    ASSERT_TRUE(runMainLoopUntil([&] { return gtk_widget_get_mapped(GTK_WIDGET(candidateWindow)); }));
    EXPECT_EQ(visibleWindowsTitled("Brightloop Candidates"), 1);

    g_signal_emit_by_name(window.pane.candidateRail().popOutButton(), "clicked");
    EXPECT_EQ(window.pane.candidateWindow(), candidateWindow);
    drainMainLoop();
    EXPECT_EQ(visibleWindowsTitled("Brightloop Candidates"), 1);

    // Closing only hides it; the next pop-out shows the same window again.
    gtk_window_close(candidateWindow);
    drainMainLoop();
    EXPECT_FALSE(gtk_widget_get_visible(GTK_WIDGET(candidateWindow)));
    EXPECT_EQ(window.pane.candidateWindow(), candidateWindow);
    window.pane.openCandidateWindow();
    EXPECT_EQ(window.pane.candidateWindow(), candidateWindow);
    EXPECT_TRUE(gtk_widget_get_visible(GTK_WIDGET(candidateWindow)));
    EXPECT_EQ(visibleWindowsTitled("Brightloop Candidates"), 1);
}

TEST(PreviewPane, PageInspectionPanelIsThereWhileItHasSomethingToShow)
{
    PaneInWindow window;
    auto inputs = unavailableInputs();
    window.pane.update(inputs);
    GtkWidget* panel = window.pane.pageInspectionPanel().widget();
    EXPECT_TRUE(gtk_widget_is_ancestor(panel, window.pane.widget()));
    EXPECT_FALSE(gtk_widget_get_visible(panel));

    inputs.pageInspectionIsLoading = true;
    window.pane.update(inputs);
    EXPECT_TRUE(gtk_widget_get_visible(panel));
    inputs.pageInspectionIsLoading = false;
    inputs.pageInspectionErrorMessage = "Page snapshot failed: no page";
    window.pane.update(inputs);
    EXPECT_TRUE(gtk_widget_get_visible(panel));
    inputs.pageInspectionErrorMessage.reset();
    window.pane.update(inputs);
    EXPECT_FALSE(gtk_widget_get_visible(panel));
}

TEST(PreviewPaneWiring, HeaderActionsReachTheStores)
{
    SurfaceInWindow surface;
    auto& pane = surface.pane();

    g_signal_emit_by_name(pane.brightloopToggle(), "clicked");
    EXPECT_TRUE(surface.brightloop().modeEnabled().get());
    EXPECT_TRUE(gtk_toggle_button_get_active(pane.brightloopToggle()));
    g_signal_emit_by_name(pane.brightloopToggle(), "clicked");
    EXPECT_FALSE(surface.brightloop().modeEnabled().get());
    EXPECT_FALSE(gtk_toggle_button_get_active(pane.brightloopToggle()));
    // The mode set elsewhere shows as well.
    surface.brightloop().toggleMode();
    EXPECT_TRUE(gtk_toggle_button_get_active(pane.brightloopToggle()));

    auto token = surface.brightloop().visibleAreaToken().get();
    g_signal_emit_by_name(pane.fenceVisibleAreaButton(), "clicked");
    EXPECT_TRUE(surface.brightloop().visibleAreaToken().get());
    EXPECT_NE(surface.brightloop().visibleAreaToken().get(), token);

    g_signal_emit_by_name(pane.pageSnapshotButton(), "clicked");
    EXPECT_TRUE(surface.harness.store.pageInspectionStore().requestToken().get());
    EXPECT_TRUE(gtk_widget_get_visible(pane.pageInspectionPanel().widget()));
}

TEST(PreviewPaneWiring, ChoosingACandidateSelectsItsSourceRangeInTheEditor)
{
    SurfaceInWindow surface;
    auto& editor = surface.view->sourceEditor();
    // The range is the selected document's, whatever path the candidate names.
    auto heading = makeCandidate("Hello", BrightloopConfidence::editableSource, BrightloopSourceRange { "elsewhere.html", 4, 5 });
    auto overlay = makeCandidate("Overlay", BrightloopConfidence::renderedOnly);
    surface.brightloop().setResult(makeResult({ heading, overlay }));
    ASSERT_TRUE(surface.pane().isShowingCandidateRail());
    ASSERT_EQ(surface.rail().rows().size(), 2u);

    const BrightloopCandidateRow* headingRow = nullptr;
    const BrightloopCandidateRow* overlayRow = nullptr;
    for (const auto& row : surface.rail().rows())
        (row->candidate().id == heading.id ? headingRow : overlayRow) = row.get();
    g_signal_emit_by_name(headingRow->selectButton(), "clicked");
    EXPECT_EQ(editor.selectedUTF16Range(), (Utf16Range { 4, 5 }));
    EXPECT_EQ(editor.bufferText().substr(4, 5), u"Hello");

    // A candidate without a source range does nothing, even when its click gets through.
    auto handled = editor.lastHandledCommandID();
    g_signal_emit_by_name(overlayRow->selectButton(), "clicked");
    EXPECT_EQ(editor.lastHandledCommandID(), handled);
    EXPECT_EQ(editor.selectedUTF16Range(), (Utf16Range { 4, 5 }));
}

TEST(PreviewPaneWiring, HiddenStateShowsAlikeInTheRailAndThePopOutWindow)
{
    SurfaceInWindow surface;
    auto first = makeCandidate("Hello", BrightloopConfidence::editableSource, BrightloopSourceRange { "index.html", 4, 5 });
    auto second = makeCandidate("World", BrightloopConfidence::renderedOnly);
    surface.brightloop().setResult(makeResult({ first, second }));
    g_signal_emit_by_name(surface.rail().popOutButton(), "clicked");
    auto* windowView = surface.pane().candidateWindowView();
    ASSERT_NE(windowView, nullptr);
    ASSERT_TRUE(windowView->isShowingRail());
    const auto& paneRows = surface.rail().rows();
    const auto& windowRows = windowView->rail().rows();
    ASSERT_EQ(paneRows.size(), 2u);
    ASSERT_EQ(windowRows.size(), 2u);

    // Hidden from the pane's rail, highlighted from the window's.
    g_signal_emit_by_name(paneRows[1]->hideButton(), "clicked");
    g_signal_emit_by_name(windowRows[0]->highlightButton(), "clicked");
    for (const auto* rows : { &paneRows, &windowRows }) {
        EXPECT_FALSE((*rows)[0]->isHidden());
        EXPECT_TRUE((*rows)[0]->isHighlighted());
        EXPECT_TRUE((*rows)[1]->isHidden());
        EXPECT_FALSE((*rows)[1]->isHighlighted());
        EXPECT_TRUE(gtk_widget_get_visible(GTK_WIDGET((*rows)[1]->hiddenLabel())));
        EXPECT_STREQ((*rows)[1]->hideButtonLabel(), "Show Element");
        EXPECT_STREQ((*rows)[0]->highlightButtonLabel(), "Clear Highlight");
    }
    EXPECT_TRUE(surface.brightloop().previewDirective()->isHidden(paneRows[1]->candidate().id));

    // The rendered-only row's buttons work from the window too: shown again.
    g_signal_emit_by_name(windowRows[1]->hideButton(), "clicked");
    EXPECT_FALSE(paneRows[1]->isHidden());
    EXPECT_FALSE(windowRows[1]->isHidden());
}

TEST(PreviewPaneWiring, HidingAGeneratedLayerOffersToShowTheGeneratedLayer)
{
    SurfaceInWindow surface;
    auto layer = makeCandidate("Sale", BrightloopConfidence::renderedOnly, std::nullopt, "::before");
    surface.brightloop().setResult(makeResult({ layer }));
    const auto& row = *surface.rail().rows().at(0);
    EXPECT_STREQ(row.hideButtonLabel(), "Hide Generated Layer");
    EXPECT_STREQ(gtk_widget_get_tooltip_text(GTK_WIDGET(row.hideButton())), "Hide this generated CSS layer in the preview");
    EXPECT_STREQ(gtk_widget_get_tooltip_text(GTK_WIDGET(row.highlightButton())), "Highlight this generated CSS layer in the preview");

    g_signal_emit_by_name(row.hideButton(), "clicked");
    EXPECT_TRUE(surface.brightloop().previewDirective()->isHidden(layer.id));
    EXPECT_STREQ(row.hideButtonLabel(), "Show Generated Layer");
    EXPECT_STREQ(gtk_widget_get_tooltip_text(GTK_WIDGET(row.hideButton())), "Show this generated CSS layer in the preview");
    gtk_test_accessible_assert_property(GTK_ACCESSIBLE(row.hideButton()), GTK_ACCESSIBLE_PROPERTY_LABEL, "Show Generated Layer");
    EXPECT_STREQ(gtk_button_get_icon_name(row.hideButton()), IconNames::symbolic("eye"));
    EXPECT_TRUE(gtk_widget_get_visible(GTK_WIDGET(row.hiddenLabel())));
}

TEST(PreviewPaneWiring, SwitchingTheModeOffDiscardsTheRail)
{
    SurfaceInWindow surface;
    surface.brightloop().toggleMode();
    surface.brightloop().setResult(makeResult({}));
    EXPECT_TRUE(surface.pane().isShowingCandidateRail());
    EXPECT_TRUE(surface.rail().isShowingEmptyState());
    g_signal_emit_by_name(surface.pane().brightloopToggle(), "clicked");
    EXPECT_FALSE(surface.brightloop().result().get());
    EXPECT_FALSE(surface.pane().isShowingCandidateRail());
}

TEST(PreviewPaneWiring, ScrollingThePreviewRemovesTheRailWhileThePopOutWindowStays)
{
    LiveWindowHarness harness;
    TemporaryDirectory site;
    site.write("index.html", "<!doctype html><html><body><h1>Top</h1><div style=\"height: 6000px\"></div><p>Bottom</p></body></html>\n");
    harness.store.loadWorkspace(site.path());
    EditorPreviewView view(harness.store);
    TestWindow window(view.widget(), 1440, 1000);
    WebKitWebView* webView = view.previewPane().webPreviewView().webView();
    ASSERT_TRUE(waitUntil([&] {
        return !webkit_web_view_is_loading(webView)
            && evaluateInPage(webView, "return String(window.__quilloryScrollObserverInstalled === true);") == "true";
    }));

    harness.store.brightloopStore().setResult(makeResult({ makeCandidate("Top", BrightloopConfidence::editableSource, BrightloopSourceRange { "index.html", 34, 3 }) }));
    ASSERT_TRUE(view.previewPane().isShowingCandidateRail());
    g_signal_emit_by_name(view.previewPane().candidateRail().popOutButton(), "clicked");
    GtkWindow* candidateWindow = view.previewPane().candidateWindow();
    ASSERT_NE(candidateWindow, nullptr);
    ASSERT_TRUE(view.previewPane().candidateWindowView()->isShowingRail());

    ASSERT_EQ(evaluateInPage(webView, "window.scrollBy(0, 400); return 'scrolled';"), "scrolled");
    ASSERT_TRUE(waitUntil([&] { return !view.previewPane().isShowingCandidateRail(); }));
    EXPECT_FALSE(harness.store.brightloopStore().result().get());
    EXPECT_EQ(view.previewPane().candidateWindow(), candidateWindow);
    EXPECT_TRUE(gtk_widget_get_visible(GTK_WIDGET(candidateWindow)));
    EXPECT_FALSE(view.previewPane().candidateWindowView()->isShowingRail());
    drainMainLoop();
    EXPECT_TRUE(gtk_widget_get_mapped(view.previewPane().candidateWindowView()->emptyState()));
}
