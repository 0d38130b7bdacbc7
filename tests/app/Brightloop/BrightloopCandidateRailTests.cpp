#include "QuilloryApp/Brightloop/BrightloopCandidateRail.h"
#include "QuilloryApp/Brightloop/BrightloopCandidateRow.h"
#include "QuilloryApp/Brightloop/BrightloopCandidateWindowView.h"
#include "QuilloryApp/Brightloop/BrightloopStore.h"
#include "QuilloryApp/Brightloop/CandidateRailResizeHandle.h"
#include "QuilloryApp/Shell/IconNames.h"
#include "app/support/ViewTestSupport.h"
#include "app/support/XTestPointer.h"

#include <adwaita.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

// A candidate as the mapper would make it; only the mapped-to-source confidences carry a range.
BrightloopCandidate makeCandidate(std::string label, BrightloopConfidence confidence, BrightloopCandidateKind kind = BrightloopCandidateKind::text,
                                  std::optional<std::string> pseudoElement = std::nullopt)
{
    BrightloopDOMRecordFields fields;
    fields.tagName = "p";
    fields.rect = { 10, 20, 200, 40 };
    fields.textSnippet = label;
    fields.isVisible = true;
    fields.pseudoElement = std::move(pseudoElement);
    BrightloopCandidate candidate;
    candidate.id = UUID::random();
    candidate.kind = kind;
    candidate.label = std::move(label);
    candidate.confidence = confidence;
    candidate.dom = BrightloopDOMRecord(std::move(fields));
    if (supportsJumpToSource(confidence))
        candidate.sourceRange = BrightloopSourceRange { "index.html", 12, 9 };
    candidate.overlapFraction = 1;
    candidate.reason = "Matched by its text.";
    return candidate;
}

BrightloopResult makeResult(std::vector<BrightloopCandidate> candidates)
{
    return BrightloopResult(BrightloopSelection { "index.html", "index.html", { 0, 0, 640, 480 } }, std::move(candidates));
}

const char* iconNameOf(GtkButton* button)
{
    return adw_button_content_get_icon_name(ADW_BUTTON_CONTENT(gtk_button_get_child(button)));
}

std::string textOf(GtkLabel* label)
{
    return gtk_label_get_text(label);
}

// The rail's candidate callbacks, counting what reached them.
struct RecordedActions {
    std::vector<UUID> selected;
    std::vector<UUID> toggledHidden;
    std::vector<UUID> highlighted;
    int popOuts { 0 };

    BrightloopCandidateRail::Actions actions(bool withPopOut)
    {
        BrightloopCandidateRail::Actions result {
            [this](const BrightloopCandidate& candidate) { selected.push_back(candidate.id); },
            [this](const BrightloopCandidate& candidate) { toggledHidden.push_back(candidate.id); },
            [this](const BrightloopCandidate& candidate) { highlighted.push_back(candidate.id); },
            nullptr,
        };
        if (withPopOut)
            result.onPopOut = [this] { ++popOuts; };
        return result;
    }
};

}

TEST(BrightloopCandidateRow, EveryConfidenceHasItsWordAndColour)
{
    struct Case {
        BrightloopConfidence confidence;
        const char* word;
        const char* styleClass;
        bool canJump;
    };
    const Case cases[] {
        { BrightloopConfidence::editableSource, "Source", "quillory-confidence-green", true },
        { BrightloopConfidence::editableAttribute, "Attribute", "quillory-confidence-blue", true },
        { BrightloopConfidence::container, "Container", "quillory-confidence-orange", true },
        { BrightloopConfidence::renderedOnly, "Rendered", "quillory-confidence-secondary", false },
        { BrightloopConfidence::generatedOrExternal, "External", "quillory-confidence-pink", false },
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.word);
        BrightloopCandidateRow row(makeCandidate("Welcome", each.confidence), false, false, {});
        EXPECT_EQ(textOf(row.confidenceTag()), each.word);
        EXPECT_TRUE(gtk_widget_has_css_class(GTK_WIDGET(row.confidenceTag()), "quillory-confidence-tag"));
        EXPECT_TRUE(gtk_widget_has_css_class(GTK_WIDGET(row.confidenceTag()), each.styleClass));
        EXPECT_EQ(gtk_widget_get_sensitive(GTK_WIDGET(row.selectButton())), each.canJump);
        // GTK keeps the opacity in steps of 1/255.
        EXPECT_NEAR(gtk_widget_get_opacity(GTK_WIDGET(row.selectButton())), each.canJump ? 1.0 : 0.55, 0.5 / 255);
        // Rows of every confidence keep both side buttons.
        EXPECT_TRUE(gtk_widget_get_sensitive(GTK_WIDGET(row.hideButton())));
        EXPECT_TRUE(gtk_widget_get_sensitive(GTK_WIDGET(row.highlightButton())));
    }
}

TEST(BrightloopCandidateRow, TagColoursComeFromTheStylesheet)
{
    // The theme installs the stylesheet; each tag draws its colour on a ground of it at 0.15.
    ViewHarness harness;
    BrightloopCandidateRow green(makeCandidate("a", BrightloopConfidence::editableSource), false, false, {});
    BrightloopCandidateRow blue(makeCandidate("b", BrightloopConfidence::editableAttribute), false, false, {});
    BrightloopCandidateRow orange(makeCandidate("c", BrightloopConfidence::container), false, false, {});
    BrightloopCandidateRow pink(makeCandidate("d", BrightloopConfidence::generatedOrExternal), false, false, {});
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    for (auto* row : { &green, &blue, &orange, &pink })
        gtk_box_append(GTK_BOX(box), row->widget());
    TestWindow window(box, 600, 300);

    auto colourOf = [](BrightloopCandidateRow& row) {
        GdkRGBA colour;
        gtk_style_context_get_color(gtk_widget_get_style_context(GTK_WIDGET(row.confidenceTag())), &colour);
        return colour;
    };
    GdkRGBA greenColour = colourOf(green);
    GdkRGBA blueColour = colourOf(blue);
    GdkRGBA orangeColour = colourOf(orange);
    GdkRGBA pinkColour = colourOf(pink);
    EXPECT_GT(greenColour.green, greenColour.red);
    EXPECT_GT(greenColour.green, greenColour.blue);
    EXPECT_GT(blueColour.blue, blueColour.red);
    EXPECT_GT(blueColour.blue, blueColour.green);
    EXPECT_GT(orangeColour.red, orangeColour.green);
    EXPECT_GT(orangeColour.green, orangeColour.blue);
    EXPECT_GT(pinkColour.red, pinkColour.green);
    EXPECT_GT(pinkColour.blue, pinkColour.green);
}

TEST(BrightloopCandidateRow, EveryKindShowsItsImage)
{
    struct Case {
        BrightloopCandidateKind kind;
        const char* systemImageName;
    };
    const Case cases[] {
        { BrightloopCandidateKind::text, "text.alignleft" },
        { BrightloopCandidateKind::link, "link" },
        { BrightloopCandidateKind::image, "photo" },
        { BrightloopCandidateKind::button, "rectangle.and.hand.point.up.left" },
        { BrightloopCandidateKind::formLabel, "tag" },
        { BrightloopCandidateKind::heading, "textformat.size" },
        { BrightloopCandidateKind::section, "rectangle.3.group" },
        { BrightloopCandidateKind::listItem, "list.bullet" },
        { BrightloopCandidateKind::navItem, "list.dash" },
        { BrightloopCandidateKind::container, "square.dashed" },
        { BrightloopCandidateKind::styleAttribute, "paintbrush" },
        { BrightloopCandidateKind::classAttribute, "number" },
        { BrightloopCandidateKind::unknown, "questionmark.square" },
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.systemImageName);
        EXPECT_EQ(BrightloopCandidateRow::systemImageName(each.kind), each.systemImageName);
        EXPECT_STRNE(IconNames::symbolic(each.systemImageName), "image-missing-symbolic");
        BrightloopCandidateRow row(makeCandidate("Item", BrightloopConfidence::editableSource, each.kind), false, false, {});
        bool found = false;
        for (GtkWidget* widget : descendants(GTK_WIDGET(row.selectButton()))) {
            if (GTK_IS_IMAGE(widget) && gtk_image_get_icon_name(GTK_IMAGE(widget)))
                found = found || std::string(gtk_image_get_icon_name(GTK_IMAGE(widget))) == IconNames::symbolic(each.systemImageName);
        }
        EXPECT_TRUE(found);
    }
}

TEST(BrightloopCandidateRow, ShowsLabelOnOneLineAboveTheReason)
{
    auto candidate = makeCandidate("A very long heading that will not fit in the rail at all, however wide it is", BrightloopConfidence::editableSource);
    BrightloopCandidateRow row(candidate, false, false, {});
    GtkWidget* label = findLabel(GTK_WIDGET(row.selectButton()), candidate.label);
    GtkWidget* reason = findLabel(GTK_WIDGET(row.selectButton()), "Matched by its text.");
    ASSERT_NE(label, nullptr);
    ASSERT_NE(reason, nullptr);
    EXPECT_EQ(gtk_label_get_ellipsize(GTK_LABEL(label)), PANGO_ELLIPSIZE_END);
    EXPECT_TRUE(gtk_label_get_single_line_mode(GTK_LABEL(label)));
    EXPECT_TRUE(gtk_widget_has_css_class(reason, "caption"));
    EXPECT_EQ(gtk_widget_get_next_sibling(label), reason);
}

TEST(BrightloopCandidateRow, SideButtonsSayWhatTheyDoForElementsAndGeneratedLayers)
{
    struct Case {
        bool generated;
        bool hidden;
        bool highlighted;
        const char* hideLabel;
        const char* hideHelp;
        const char* hideImage;
        const char* highlightLabel;
        const char* highlightHelp;
    };
    const Case cases[] {
        { false, false, false, "Hide Element", "Hide this element in the preview", "eye.slash", "Highlight Boundary", "Highlight this element in the preview" },
        { true, false, false, "Hide Generated Layer", "Hide this generated CSS layer in the preview", "eye.slash", "Highlight Boundary", "Highlight this generated CSS layer in the preview" },
        { false, true, false, "Show Element", "Show this element in the preview", "eye", "Highlight Boundary", "Highlight this element in the preview" },
        { true, true, false, "Show Generated Layer", "Show this generated CSS layer in the preview", "eye", "Highlight Boundary", "Highlight this generated CSS layer in the preview" },
        { false, false, true, "Hide Element", "Hide this element in the preview", "eye.slash", "Clear Highlight", "Clear preview highlight" },
        { true, true, true, "Show Generated Layer", "Show this generated CSS layer in the preview", "eye", "Clear Highlight", "Clear preview highlight" },
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(std::string(each.hideLabel) + " / " + each.highlightLabel);
        auto candidate = makeCandidate("Badge", BrightloopConfidence::renderedOnly, BrightloopCandidateKind::unknown,
                                       each.generated ? std::optional<std::string>("::before") : std::nullopt);
        BrightloopCandidateRow row(candidate, each.hidden, each.highlighted, {});
        EXPECT_STREQ(row.hideButtonLabel(), each.hideLabel);
        gtk_test_accessible_assert_property(GTK_ACCESSIBLE(row.hideButton()), GTK_ACCESSIBLE_PROPERTY_LABEL, each.hideLabel);
        EXPECT_STREQ(gtk_widget_get_tooltip_text(GTK_WIDGET(row.hideButton())), each.hideHelp);
        EXPECT_STREQ(gtk_button_get_icon_name(row.hideButton()), IconNames::symbolic(each.hideImage));
        EXPECT_STREQ(row.highlightButtonLabel(), each.highlightLabel);
        gtk_test_accessible_assert_property(GTK_ACCESSIBLE(row.highlightButton()), GTK_ACCESSIBLE_PROPERTY_LABEL, each.highlightLabel);
        EXPECT_STREQ(gtk_widget_get_tooltip_text(GTK_WIDGET(row.highlightButton())), each.highlightHelp);
        EXPECT_STREQ(gtk_button_get_icon_name(row.highlightButton()), IconNames::symbolic("viewfinder.circle"));
        EXPECT_EQ(gtk_widget_get_visible(GTK_WIDGET(row.hiddenLabel())), each.hidden);
        EXPECT_EQ(textOf(row.hiddenLabel()), "Hidden");
    }
}

TEST(BrightloopCandidateRowOnScreen, RenderedOnlyCandidateCannotJumpButItsSideButtonsWork)
{
    ViewHarness harness;
    int selects = 0;
    int hides = 0;
    int highlights = 0;
    BrightloopCandidateRow row(makeCandidate("Overlay", BrightloopConfidence::renderedOnly), false, false,
                               { [&] { ++selects; }, [&] { ++hides; }, [&] { ++highlights; } });
    int sourceSelects = 0;
    BrightloopCandidateRow sourceRow(makeCandidate("Heading", BrightloopConfidence::editableSource), false, false, { [&] { ++sourceSelects; }, {}, {} });
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_box_append(GTK_BOX(box), row.widget());
    gtk_box_append(GTK_BOX(box), sourceRow.widget());
    TestWindow window(box, 600, 200);

    // Clicks with the real pointer, through the window system and GTK's event delivery.
    XTestPointer pointer(window.window());
    ASSERT_TRUE(pointer.isAvailable()) << "the X server has no test extension";
    auto clickCentreOf = [&](GtkWidget* widget) {
        graphene_point_t centre = GRAPHENE_POINT_INIT(gtk_widget_get_width(widget) / 2.0f, gtk_widget_get_height(widget) / 2.0f);
        graphene_point_t inWindow;
        ASSERT_TRUE(gtk_widget_compute_point(widget, window.window(), &centre, &inWindow));
        pointer.moveTo(inWindow.x, inWindow.y);
        pointer.press();
        pointer.release();
    };

    EXPECT_FALSE(gtk_widget_is_sensitive(GTK_WIDGET(row.selectButton())));
    clickCentreOf(GTK_WIDGET(row.selectButton()));
    EXPECT_EQ(selects, 0);
    clickCentreOf(GTK_WIDGET(row.hideButton()));
    EXPECT_EQ(hides, 1);
    clickCentreOf(GTK_WIDGET(row.highlightButton()));
    EXPECT_EQ(highlights, 1);

    EXPECT_TRUE(gtk_widget_is_sensitive(GTK_WIDGET(sourceRow.selectButton())));
    clickCentreOf(GTK_WIDGET(sourceRow.selectButton()));
    EXPECT_EQ(sourceSelects, 1);
    EXPECT_EQ(selects, 0);
}

TEST(BrightloopCandidateRail, HeaderCountsResultsInSingularAndPlural)
{
    RecordedActions recorded;
    BrightloopCandidateRail rail(recorded.actions(false));
    rail.update(makeResult({}), {});
    EXPECT_EQ(textOf(rail.countLabel()), "0 results");
    rail.update(makeResult({ makeCandidate("One", BrightloopConfidence::editableSource) }), {});
    EXPECT_EQ(textOf(rail.countLabel()), "1 result");
    rail.update(makeResult({ makeCandidate("One", BrightloopConfidence::editableSource), makeCandidate("Two", BrightloopConfidence::container),
                             makeCandidate("Three", BrightloopConfidence::renderedOnly) }),
                {});
    EXPECT_EQ(textOf(rail.countLabel()), "3 results");
    EXPECT_NE(findLabel(rail.widget(), "Brightloop Candidates"), nullptr);
    EXPECT_NE(findLabel(rail.widget(), "last fence"), nullptr);
}

TEST(BrightloopCandidateRail, ResultWithoutCandidatesShowsTheEmptyState)
{
    RecordedActions recorded;
    BrightloopCandidateRail rail(recorded.actions(true));
    TestWindow window(rail.widget(), 600, 300);
    rail.update(makeResult({}), {});
    EXPECT_TRUE(rail.isShowingEmptyState());
    EXPECT_TRUE(rail.rows().empty());
    EXPECT_STREQ(adw_status_page_get_title(ADW_STATUS_PAGE(rail.emptyState())), "No Candidates Found");
    EXPECT_STREQ(adw_status_page_get_description(ADW_STATUS_PAGE(rail.emptyState())), "Fence again after scrolling or choose a more specific visible surface.");
    drainMainLoop();
    EXPECT_TRUE(gtk_widget_get_mapped(rail.emptyState()));

    rail.update(makeResult({ makeCandidate("One", BrightloopConfidence::editableSource) }), {});
    EXPECT_FALSE(rail.isShowingEmptyState());
    EXPECT_EQ(rail.rows().size(), 1u);
}

TEST(BrightloopCandidateRail, RowsFollowTheResultsOrderWithoutFiltering)
{
    RecordedActions recorded;
    BrightloopCandidateRail rail(recorded.actions(false));
    auto result = makeResult({
        makeCandidate("Rendered", BrightloopConfidence::renderedOnly),
        makeCandidate("Source", BrightloopConfidence::editableSource),
        makeCandidate("External", BrightloopConfidence::generatedOrExternal),
        makeCandidate("Duplicate", BrightloopConfidence::editableSource),
        makeCandidate("Duplicate", BrightloopConfidence::editableSource),
    });
    rail.update(result, {});
    ASSERT_EQ(rail.rows().size(), result.candidates().size());
    for (std::size_t index = 0; index < result.candidates().size(); ++index)
        EXPECT_EQ(rail.rows()[index]->candidate().id, result.candidates()[index].id) << index;
    // The widgets stand in the same order.
    GtkWidget* first = gtk_widget_get_parent(rail.rows()[0]->widget());
    GtkWidget* child = gtk_widget_get_first_child(first);
    for (const auto& row : rail.rows()) {
        EXPECT_EQ(child, row->widget());
        child = gtk_widget_get_next_sibling(child);
    }
}

TEST(BrightloopCandidateRail, PopOutButtonOnlyWhenAsked)
{
    RecordedActions recorded;
    BrightloopCandidateRail withPopOut(recorded.actions(true));
    ASSERT_NE(withPopOut.popOutButton(), nullptr);
    EXPECT_STREQ(adw_button_content_get_label(ADW_BUTTON_CONTENT(gtk_button_get_child(withPopOut.popOutButton()))), "Pop Out");
    EXPECT_STREQ(iconNameOf(withPopOut.popOutButton()), IconNames::symbolic("rectangle.on.rectangle"));
    EXPECT_STREQ(gtk_widget_get_tooltip_text(GTK_WIDGET(withPopOut.popOutButton())), "Open candidates in a separate window");
    g_signal_emit_by_name(withPopOut.popOutButton(), "clicked");
    EXPECT_EQ(recorded.popOuts, 1);

    BrightloopCandidateRail withoutPopOut(recorded.actions(false));
    EXPECT_EQ(withoutPopOut.popOutButton(), nullptr);
    EXPECT_EQ(findLabel(withoutPopOut.widget(), "Pop Out"), nullptr);
}

TEST(BrightloopCandidateRail, RowsCallTheRailActionsWithTheirCandidate)
{
    RecordedActions recorded;
    BrightloopCandidateRail rail(recorded.actions(false));
    auto result = makeResult({ makeCandidate("Heading", BrightloopConfidence::editableSource), makeCandidate("Overlay", BrightloopConfidence::renderedOnly) });
    rail.update(result, {});
    const auto& rows = rail.rows();
    g_signal_emit_by_name(rows[0]->selectButton(), "clicked");
    g_signal_emit_by_name(rows[1]->hideButton(), "clicked");
    g_signal_emit_by_name(rows[1]->highlightButton(), "clicked");
    EXPECT_EQ(recorded.selected, std::vector<UUID> { rows[0]->candidate().id });
    EXPECT_EQ(recorded.toggledHidden, std::vector<UUID> { rows[1]->candidate().id });
    EXPECT_EQ(recorded.highlighted, std::vector<UUID> { rows[1]->candidate().id });
}

TEST(BrightloopCandidateRail, DirectiveMarksRowsByIDAndRestylesThemInPlace)
{
    RecordedActions recorded;
    BrightloopCandidateRail rail(recorded.actions(false));
    auto result = makeResult({ makeCandidate("First", BrightloopConfidence::editableSource), makeCandidate("Second", BrightloopConfidence::container) });
    rail.update(result, {});
    const BrightloopCandidateRow* firstRow = rail.rows()[0].get();
    const BrightloopCandidateRow* secondRow = rail.rows()[1].get();

    // A copy with the same id counts, whatever else it holds.
    auto hidden = result.candidates()[0];
    hidden.label = "changed since";
    BrightloopPreviewDirective directive;
    directive.hiddenCandidates.push_back(hidden);
    directive.highlightedCandidate = result.candidates()[1];
    rail.update(result, directive);

    ASSERT_EQ(rail.rows()[0].get(), firstRow);
    ASSERT_EQ(rail.rows()[1].get(), secondRow);
    EXPECT_TRUE(firstRow->isHidden());
    EXPECT_FALSE(firstRow->isHighlighted());
    EXPECT_TRUE(gtk_widget_get_visible(GTK_WIDGET(firstRow->hiddenLabel())));
    EXPECT_STREQ(firstRow->hideButtonLabel(), "Show Element");
    EXPECT_FALSE(secondRow->isHidden());
    EXPECT_TRUE(secondRow->isHighlighted());
    EXPECT_STREQ(secondRow->highlightButtonLabel(), "Clear Highlight");

    rail.update(result, {});
    EXPECT_FALSE(firstRow->isHidden());
    EXPECT_FALSE(secondRow->isHighlighted());
}

TEST(CandidateRailResizeHandle, DragUpGrowsDragDownShrinksWithinLimits)
{
    double height = 220;
    std::vector<double> reported;
    CandidateRailResizeHandle handle(height, [&](double newHeight) { reported.push_back(newHeight); });

    EXPECT_FALSE(handle.dragStartHeight());
    handle.dragBegan();
    EXPECT_EQ(handle.dragStartHeight(), 220);
    handle.dragUpdated(-50);
    EXPECT_EQ(height, 270);
    handle.dragUpdated(30);
    EXPECT_EQ(height, 190);
    // Far beyond the top limit, then far beyond the bottom one.
    handle.dragUpdated(-900);
    EXPECT_EQ(height, 420);
    handle.dragUpdated(900);
    EXPECT_EQ(height, 120);
    handle.dragEnded(900);
    EXPECT_EQ(height, 120);
    EXPECT_FALSE(handle.dragStartHeight());
    EXPECT_EQ(reported, (std::vector<double> { 270, 190, 420, 120 }));

    // The next drag starts from the clamped height.
    handle.dragBegan();
    EXPECT_EQ(handle.dragStartHeight(), 120);
    handle.dragUpdated(-1000);
    handle.dragEnded(-1000);
    EXPECT_EQ(height, 420);
    EXPECT_FALSE(handle.dragStartHeight());
}

TEST(CandidateRailResizeHandle, IsLabelledForAssistiveTechnology)
{
    double height = 220;
    CandidateRailResizeHandle handle(height, {});
    gtk_test_accessible_assert_property(GTK_ACCESSIBLE(handle.widget()), GTK_ACCESSIBLE_PROPERTY_LABEL, "Resize Brightloop candidate pane");
    gtk_test_accessible_assert_role(GTK_ACCESSIBLE(handle.widget()), GTK_ACCESSIBLE_ROLE_SEPARATOR);
}

TEST(BrightloopCandidateWindowView, FollowsTheStoresResultAndDirective)
{
    BrightloopStore store;
    RecordedActions recorded;
    BrightloopCandidateWindowView view(store, recorded.actions(true));
    TestWindow window(view.widget(), 680, 520);

    EXPECT_FALSE(view.isShowingRail());
    EXPECT_STREQ(adw_status_page_get_title(ADW_STATUS_PAGE(view.emptyState())), "No Brightloop Candidates");
    EXPECT_STREQ(adw_status_page_get_description(ADW_STATUS_PAGE(view.emptyState())), "Fence a preview region to populate this window.");
    EXPECT_STREQ(adw_status_page_get_icon_name(ADW_STATUS_PAGE(view.emptyState())), IconNames::symbolic("viewfinder"));
    // The window's own rail never pops out again.
    EXPECT_EQ(view.rail().popOutButton(), nullptr);

    auto result = makeResult({ makeCandidate("Heading", BrightloopConfidence::editableSource), makeCandidate("Badge", BrightloopConfidence::renderedOnly) });
    store.setResult(result);
    EXPECT_TRUE(view.isShowingRail());
    ASSERT_EQ(view.rail().rows().size(), 2u);
    EXPECT_EQ(textOf(view.rail().countLabel()), "2 results");

    store.toggleCandidateHidden(result.candidates()[1]);
    EXPECT_TRUE(view.rail().rows()[1]->isHidden());
    store.highlightCandidate(result.candidates()[0]);
    EXPECT_TRUE(view.rail().rows()[0]->isHighlighted());

    // Its rows fire the callbacks it was given.
    g_signal_emit_by_name(view.rail().rows()[1]->hideButton(), "clicked");
    EXPECT_EQ(recorded.toggledHidden, std::vector<UUID> { result.candidates()[1].id });

    // A scroll discards the result; the window stays and shows its empty state.
    store.previewDidScroll();
    EXPECT_FALSE(view.isShowingRail());
    drainMainLoop();
    EXPECT_TRUE(gtk_widget_get_mapped(view.emptyState()));
}
