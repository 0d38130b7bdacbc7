// The editor pane in a real window under Xvfb, over a real site in a temporary folder: the header's
// two forms, its actions against the real store and files, the diff sheet and the blank page note.

#include "QuilloryApp/Editor/DiffReviewSheet.h"
#include "QuilloryApp/Editor/EditorPane.h"
#include "QuilloryApp/Editor/SourceEditorView.h"
#include "QuilloryApp/Formatter/FormatDocumentButton.h"
#include "QuilloryApp/Preview/PreviewPane.h"
#include "QuilloryApp/Preview/WebPreviewView.h"
#include "QuilloryApp/Shell/ContentView.h"
#include "QuilloryApp/Shell/EditorPreviewView.h"
#include "QuilloryApp/Shell/IconNames.h"
#include "QuilloryCore/Text/UnicodeText.h"
#include "app/support/EditorTestSupport.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/ScreenCapture.h"
#include "app/support/ViewTestSupport.h"
#include "app/support/XTestKeyboard.h"
#include "app/support/XTestPointer.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <webkit/webkit.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

// A site whose "index.html" holds `indexText`, opened, with the pane alone in a window `width` wide.
struct PaneWindow {
    ViewHarness harness;
    TemporaryDirectory site;
    std::unique_ptr<EditorPane> pane;
    std::unique_ptr<TestWindow> window;

    explicit PaneWindow(const std::string& indexText = "<h1>Home</h1>\n", int width = 1400)
    {
        site.write("index.html", indexText);
        site.write("about.html", "<h1>About</h1>\n");
        harness.store.loadWorkspace(site.path());
        pane = std::make_unique<EditorPane>(harness.store);
        window = std::make_unique<TestWindow>(pane->widget(), width, 700);
    }

    SourceEditorView& editor() const { return pane->sourceEditor(); }
    void click(GtkWidget* button) const { g_signal_emit_by_name(button, "clicked"); }
    void click(GtkButton* button) const { click(GTK_WIDGET(button)); }
    // Lets the background autosave run and write the file.
    void autosave()
    {
        harness.scheduler.advance(WorkspaceStore::autosaveDelay);
        harness.scheduler.runBackgroundWorkAndDeliver();
    }
    void resize(int width) const
    {
        gtk_window_set_default_size(GTK_WINDOW(window->window()), width, 700);
        // The window's frame takes a few pixels of its default width.
        ASSERT_TRUE(waitUntil([&] { return std::abs(gtk_widget_get_width(pane->widget()) - width) <= 20; }, std::chrono::seconds(10)));
        window->waitForFrame();
        drainMainLoop();
    }
    std::string label(GtkLabel* label) const { return gtk_label_get_text(label); }
    // Types at the end of the page and clicks "Review Diff"; the sheet, just opened.
    DiffReviewSheet* reviewDiffAfterTyping(const char* typed)
    {
        typeAtEnd(editor(), typed);
        click(pane->expandedHeader().reviewDiffButton);
        return pane->diffReviewSheet();
    }
};

// The diff of the home page with one line added after its heading.
std::string homeDiffAdding(const std::string& line)
{
    return "--- index.html (opened)\n+++ index.html (current)\n@@\n <h1>Home</h1>\n+" + line + "\n ";
}

// The words of a labelled action: those of its image-and-words content, or its own.
std::string actionWords(GtkWidget* button)
{
    GtkWidget* child = GTK_IS_MENU_BUTTON(button) ? gtk_menu_button_get_child(GTK_MENU_BUTTON(button)) : gtk_button_get_child(GTK_BUTTON(button));
    if (ADW_IS_BUTTON_CONTENT(child))
        return adw_button_content_get_label(ADW_BUTTON_CONTENT(child));
    const char* own = gtk_button_get_label(GTK_BUTTON(button));
    return own ? own : "";
}

std::string actionImage(GtkWidget* button)
{
    GtkWidget* child = GTK_IS_MENU_BUTTON(button) ? gtk_menu_button_get_child(GTK_MENU_BUTTON(button)) : gtk_button_get_child(GTK_BUTTON(button));
    if (ADW_IS_BUTTON_CONTENT(child))
        return adw_button_content_get_icon_name(ADW_BUTTON_CONTENT(child));
    const char* own = GTK_IS_MENU_BUTTON(button) ? gtk_menu_button_get_icon_name(GTK_MENU_BUTTON(button)) : gtk_button_get_icon_name(GTK_BUTTON(button));
    return own ? own : "";
}

std::string tooltip(GtkWidget* widget)
{
    const char* text = gtk_widget_get_tooltip_text(widget);
    return text ? text : "";
}

bool isSensitive(GtkButton* button)
{
    return gtk_widget_get_sensitive(GTK_WIDGET(button));
}

// One header action: its words, the system image it shows (if any) and its help text.
struct ActionCase {
    GtkWidget* button;
    const char* words;
    const char* systemImageName;
    const char* help;
};

// Review, revert and both parts of the undo control in both forms.
std::vector<GtkWidget*> changeActions(const EditorPane& pane)
{
    std::vector<GtkWidget*> actions;
    for (const auto* header : { &pane.expandedHeader(), &pane.compactHeader() }) {
        actions.push_back(GTK_WIDGET(header->reviewDiffButton));
        actions.push_back(GTK_WIDGET(header->revertPageButton));
        actions.push_back(GTK_WIDGET(header->undoButton));
        actions.push_back(GTK_WIDGET(header->undoMenuButton));
    }
    return actions;
}

// An entry of the undo menu: its label and the snapshot id it undoes to.
struct UndoMenuEntry {
    std::string label;
    std::string snapshotID;
};

// The entries the undo menu of the visible form lists when it is opened.
std::vector<UndoMenuEntry> undoMenuEntries(const EditorPane& pane)
{
    GtkMenuButton* button = pane.visibleHeader().undoMenuButton;
    gtk_menu_button_popup(button);
    drainMainLoop();
    GMenuModel* menu = pane.undoMenu();
    std::vector<UndoMenuEntry> entries;
    for (int index = 0; index < g_menu_model_get_n_items(menu); ++index) {
        UndoMenuEntry entry;
        gchar* label = nullptr;
        g_menu_model_get_item_attribute(menu, index, G_MENU_ATTRIBUTE_LABEL, "s", &label);
        entry.label = label ? label : "";
        g_free(label);
        gchar* action = nullptr;
        g_menu_model_get_item_attribute(menu, index, G_MENU_ATTRIBUTE_ACTION, "s", &action);
        EXPECT_STREQ(action, "editor-pane.undo-change");
        g_free(action);
        gchar* target = nullptr;
        g_menu_model_get_item_attribute(menu, index, G_MENU_ATTRIBUTE_TARGET, "s", &target);
        entry.snapshotID = target ? target : "";
        g_free(target);
        entries.push_back(entry);
    }
    gtk_menu_button_popdown(button);
    drainMainLoop();
    return entries;
}

// What choosing a menu entry does: the popover menu activates the entry's action with its target.
void chooseUndoMenuEntry(const EditorPane& pane, const UndoMenuEntry& entry)
{
    gtk_widget_activate_action(GTK_WIDGET(pane.visibleHeader().undoMenuButton), "editor-pane.undo-change", "s", entry.snapshotID.c_str());
}

void submitLine(const EditorPane& pane, const char* typed)
{
    gtk_editable_set_text(GTK_EDITABLE(pane.expandedHeader().lineField), typed);
    g_signal_emit_by_name(pane.expandedHeader().lineField, "activate");
}

// The text of thirty numbered lines, each ending in a line feed.
std::string thirtyLines()
{
    std::string text;
    for (int line = 1; line <= 30; ++line)
        text += "<p>line " + std::to_string(line) + "</p>\n";
    return text;
}

std::size_t offsetOfLine(const std::string& text, int line)
{
    std::size_t offset = 0;
    for (int current = 1; current < line; ++current)
        offset = text.find('\n', offset) + 1;
    return offset;
}

}

TEST(EditorPane, ExpandedHeaderShowsEveryControlWithItsWordsImageAndHelp)
{
    PaneWindow window;
    ASSERT_FALSE(window.pane->isShowingCompactHeader());
    const auto& header = window.pane->expandedHeader();
    EXPECT_TRUE(gtk_widget_get_mapped(header.box));

    auto document = window.harness.store.selectedDocument();
    ASSERT_TRUE(document);
    EXPECT_EQ(window.label(header.titleLabel), document->title);
    EXPECT_EQ(window.label(header.pathLabel), "index.html");
    EXPECT_TRUE(gtk_widget_has_css_class(GTK_WIDGET(header.titleLabel), "caption-heading"));
    EXPECT_EQ(gtk_label_get_ellipsize(header.pathLabel), PANGO_ELLIPSIZE_END);
    EXPECT_EQ(window.label(header.locationLabel), "Ln 1, Col 1");
    EXPECT_EQ(window.label(header.editStateLabel), "At opened baseline");

    EXPECT_STREQ(gtk_entry_get_placeholder_text(header.lineField), "Line");
    EXPECT_TRUE(gtk_widget_get_mapped(GTK_WIDGET(header.lineField)));
    const ActionCase cases[] {
        { header.jumpButton, "Jump to Line", "arrow.down.to.line.compact", "Jump to line" },
        { GTK_WIDGET(header.reviewDiffButton), "Review Diff", "doc.text.magnifyingglass", "Review diff" },
        { GTK_WIDGET(header.revertPageButton), "Revert Page", nullptr, "Revert page" },
        { GTK_WIDGET(header.undoButton), "Undo Last Change", "arrow.uturn.backward", "Undo the last editor change" },
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.words);
        EXPECT_EQ(actionWords(each.button), each.words);
        EXPECT_EQ(actionImage(each.button), each.systemImageName ? IconNames::symbolic(each.systemImageName) : "");
        EXPECT_EQ(tooltip(each.button), each.help);
        EXPECT_TRUE(gtk_widget_get_mapped(each.button));
    }
    EXPECT_TRUE(gtk_widget_has_css_class(GTK_WIDGET(header.revertPageButton), "destructive-action"));
    EXPECT_NE(findLabel(header.formatButton->widget(), "Format Document"), nullptr);
    EXPECT_EQ(tooltip(header.formatButton->widget()), "Format document");
    EXPECT_EQ(actionImage(GTK_WIDGET(header.undoMenuButton)), IconNames::symbolic("chevron.down"));
    EXPECT_EQ(tooltip(GTK_WIDGET(header.undoMenuButton)), "Show recent editor changes");
}

TEST(EditorPane, CompactHeaderShowsTheActionsAsImagesWithTheirWordsForAssistiveTechnology)
{
    PaneWindow window("<h1>Home</h1>\n", 560);
    ASSERT_TRUE(window.pane->isShowingCompactHeader());
    const auto& header = window.pane->compactHeader();
    EXPECT_TRUE(gtk_widget_get_mapped(header.box));
    EXPECT_EQ(window.label(header.pathLabel), "index.html");
    EXPECT_EQ(window.label(header.locationLabel), "Ln 1, Col 1");
    EXPECT_EQ(window.label(header.editStateLabel), "At opened baseline");
    // The format button keeps its words.
    EXPECT_NE(findLabel(header.formatButton->widget(), "Format Document"), nullptr);
    EXPECT_EQ(tooltip(header.formatButton->widget()), "Format document");
    EXPECT_TRUE(gtk_widget_get_mapped(header.formatButton->widget()));

    const ActionCase cases[] {
        { header.jumpButton, "Jump to Line", "arrow.down.to.line.compact", "Jump to line" },
        { GTK_WIDGET(header.reviewDiffButton), "Review Diff", "doc.text.magnifyingglass", "Review diff" },
        { GTK_WIDGET(header.revertPageButton), "Revert Page", "arrow.counterclockwise", "Revert page" },
        { GTK_WIDGET(header.undoButton), "Undo Last Change", "arrow.uturn.backward", "Undo last editor change" },
        { GTK_WIDGET(header.undoMenuButton), "Show recent editor changes", "chevron.down", "Show recent editor changes" },
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.words);
        EXPECT_EQ(actionImage(each.button), IconNames::symbolic(each.systemImageName));
        EXPECT_EQ(tooltip(each.button), each.help);
        gtk_test_accessible_assert_property(GTK_ACCESSIBLE(each.button), GTK_ACCESSIBLE_PROPERTY_LABEL, each.words);
        EXPECT_TRUE(gtk_widget_get_mapped(each.button));
    }
    EXPECT_TRUE(gtk_widget_has_css_class(GTK_WIDGET(header.revertPageButton), "destructive-action"));
    // The line field waits in the jump button's popover.
    GtkPopover* popover = gtk_menu_button_get_popover(GTK_MENU_BUTTON(header.jumpButton));
    ASSERT_NE(popover, nullptr);
    EXPECT_TRUE(gtk_widget_is_ancestor(GTK_WIDGET(header.lineField), GTK_WIDGET(popover)));
    EXPECT_STREQ(gtk_entry_get_placeholder_text(header.lineField), "Line");
}

TEST(EditorPane, TheCompactFormFitsTheNarrowestEditorSide)
{
    // The split never makes the editor narrower than 560.
    PaneWindow window;
    int minimum = 0;
    gtk_widget_measure(window.pane->widget(), GTK_ORIENTATION_HORIZONTAL, -1, &minimum, nullptr, nullptr, nullptr);
    EXPECT_LE(minimum, 560);
}

TEST(EditorPane, HeaderSwitchesToTheCompactFormWhenNarrowAndBack)
{
    PaneWindow window;
    EXPECT_FALSE(window.pane->isShowingCompactHeader());
    EXPECT_EQ(window.pane->caretStatusLabel(), window.pane->expandedHeader().locationLabel);

    window.resize(640);
    EXPECT_TRUE(window.pane->isShowingCompactHeader());
    EXPECT_TRUE(gtk_widget_get_mapped(window.pane->compactHeader().box));
    EXPECT_FALSE(gtk_widget_get_mapped(window.pane->expandedHeader().box));
    EXPECT_EQ(window.pane->editStateLabel(), window.pane->compactHeader().editStateLabel);
    EXPECT_EQ(&window.pane->formatDocumentButton(), window.pane->compactHeader().formatButton);

    window.resize(1400);
    EXPECT_FALSE(window.pane->isShowingCompactHeader());
    EXPECT_TRUE(gtk_widget_get_mapped(window.pane->expandedHeader().box));
    EXPECT_EQ(&window.pane->formatDocumentButton(), window.pane->expandedHeader().formatButton);
}

TEST(EditorPane, ReviewRevertAndUndoAreDisabledOnAnUntouchedPageAndEnabledAfterTyping)
{
    PaneWindow window;
    for (GtkWidget* action : changeActions(*window.pane))
        EXPECT_FALSE(gtk_widget_get_sensitive(action)) << tooltip(action);

    typeAtEnd(window.editor(), "<p>New</p>\n");
    for (GtkWidget* action : changeActions(*window.pane))
        EXPECT_TRUE(gtk_widget_get_sensitive(action)) << tooltip(action);
    EXPECT_EQ(window.label(window.pane->editStateLabel()), "Pending autosave");
    EXPECT_EQ(window.label(window.pane->caretStatusLabel()), "Ln 3, Col 1");

    window.autosave();
    EXPECT_EQ(window.label(window.pane->editStateLabel()), "Autosaved changes");
    EXPECT_TRUE(isSensitive(window.pane->expandedHeader().reviewDiffButton));
}

TEST(EditorPane, TypingBackToTheBaselineDisablesReviewAndRevertButKeepsUndo)
{
    PaneWindow window;
    typeAtEnd(window.editor(), "x");
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(window.editor().buffer());
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_end_iter(buffer, &end);
    start = end;
    gtk_text_iter_backward_char(&start);
    gtk_text_buffer_begin_user_action(buffer);
    gtk_text_buffer_delete_interactive(buffer, &start, &end, TRUE);
    gtk_text_buffer_end_user_action(buffer);

    EXPECT_EQ(window.harness.store.editorText().get(), u"<h1>Home</h1>\n");
    EXPECT_FALSE(isSensitive(window.pane->expandedHeader().reviewDiffButton));
    EXPECT_FALSE(isSensitive(window.pane->expandedHeader().revertPageButton));
    // The history still holds the two texts before the edits.
    EXPECT_TRUE(isSensitive(window.pane->expandedHeader().undoButton));
    EXPECT_EQ(undoMenuEntries(*window.pane).size(), 2u);
}

TEST(EditorPane, ReviewDiffSheetShowsTheRealDiffAndItsRevertRestoresFileAndEditor)
{
    PaneWindow window;
    typeAtEnd(window.editor(), "<p>New</p>\n");
    window.autosave();
    ASSERT_EQ(window.site.read("index.html"), "<h1>Home</h1>\n<p>New</p>\n");

    window.click(window.pane->expandedHeader().reviewDiffButton);
    DiffReviewSheet* sheet = window.pane->diffReviewSheet();
    ASSERT_NE(sheet, nullptr);
    EXPECT_TRUE(gtk_widget_get_visible(GTK_WIDGET(sheet->window())));
    EXPECT_TRUE(gtk_window_get_modal(sheet->window()));
    EXPECT_EQ(gtk_window_get_transient_for(sheet->window()), GTK_WINDOW(window.window->window()));
    EXPECT_STREQ(gtk_label_get_text(sheet->headingLabel()), "Review Diff");
    EXPECT_STREQ(gtk_label_get_text(sheet->pathLabel()), "index.html");
    // The diff is computed off the main thread: the sheet opens in its progress state.
    EXPECT_TRUE(sheet->isComputing());
    EXPECT_STREQ(gtk_stack_get_visible_child_name(sheet->contentStack()), "progress");
    EXPECT_STREQ(gtk_label_get_text(sheet->progressLabel()), "Computing diff\u2026");
    EXPECT_FALSE(isSensitive(sheet->revertButton()));
    ASSERT_TRUE(waitUntil([&] { return sheet->isShowingWholeDiff(); }));
    EXPECT_STREQ(gtk_stack_get_visible_child_name(sheet->contentStack()), "diff");
    EXPECT_TRUE(isSensitive(sheet->revertButton()));
    EXPECT_EQ(sheet->shownDiffText(), homeDiffAdding("<p>New</p>"));
    EXPECT_EQ(sheet->shownDiffText(), UnicodeText::utf8FromUTF16(window.harness.store.selectedPageDiff()));
    EXPECT_TRUE(gtk_text_view_get_monospace(sheet->diffView()));
    EXPECT_FALSE(gtk_text_view_get_editable(sheet->diffView()));
    EXPECT_STREQ(gtk_button_get_label(sheet->revertButton()), "Revert Page");
    EXPECT_TRUE(gtk_widget_has_css_class(GTK_WIDGET(sheet->revertButton()), "destructive-action"));
    EXPECT_STREQ(gtk_button_get_label(sheet->closeButton()), "Close");
    // A second click while it is open opens no second sheet.
    window.click(window.pane->expandedHeader().reviewDiffButton);
    EXPECT_EQ(window.pane->diffReviewSheet(), sheet);

    window.click(sheet->revertButton());
    EXPECT_EQ(window.pane->diffReviewSheet(), nullptr);
    EXPECT_EQ(window.site.read("index.html"), "<h1>Home</h1>\n");
    EXPECT_EQ(window.editor().bufferText(), u"<h1>Home</h1>\n");
    EXPECT_EQ(window.label(window.pane->editStateLabel()), "At opened baseline");
    EXPECT_FALSE(isSensitive(window.pane->expandedHeader().reviewDiffButton));
    EXPECT_FALSE(isSensitive(window.pane->expandedHeader().revertPageButton));
}

TEST(EditorPane, ClosingTheDiffSheetChangesNothing)
{
    PaneWindow window;
    typeAtEnd(window.editor(), "<p>Kept</p>");
    window.click(window.pane->compactHeader().reviewDiffButton);
    ASSERT_NE(window.pane->diffReviewSheet(), nullptr);
    window.click(window.pane->diffReviewSheet()->closeButton());
    EXPECT_EQ(window.pane->diffReviewSheet(), nullptr);
    EXPECT_EQ(window.editor().bufferText(), u"<h1>Home</h1>\n<p>Kept</p>");

    // The window's own close (Escape's action) closes it the same way.
    window.click(window.pane->expandedHeader().reviewDiffButton);
    ASSERT_NE(window.pane->diffReviewSheet(), nullptr);
    gtk_window_close(window.pane->diffReviewSheet()->window());
    EXPECT_EQ(window.pane->diffReviewSheet(), nullptr);
    EXPECT_EQ(window.editor().bufferText(), u"<h1>Home</h1>\n<p>Kept</p>");
    EXPECT_EQ(window.site.read("index.html"), "<h1>Home</h1>\n");
}

TEST(EditorPane, TheOpenDiffSheetFollowsATextChangeWithTheNewDiff)
{
    PaneWindow window;
    DiffReviewSheet* sheet = window.reviewDiffAfterTyping("<p>New</p>\n");
    ASSERT_NE(sheet, nullptr);
    ASSERT_TRUE(waitUntil([&] { return sheet->isShowingWholeDiff(); }));

    // As a finished format writes it: the text first, then the session takes it.
    window.harness.type(u"<h1>Home</h1>\n<p>Formatted</p>\n");
    EXPECT_TRUE(sheet->isComputing());
    EXPECT_FALSE(isSensitive(sheet->revertButton()));
    ASSERT_TRUE(waitUntil([&] { return sheet->isShowingWholeDiff(); }));
    EXPECT_EQ(sheet->shownDiffText(), homeDiffAdding("<p>Formatted</p>"));
    EXPECT_EQ(window.pane->diffReviewSheet(), sheet);
}

TEST(EditorPane, ATextChangeBeforeTheFirstDiffArrivedShowsOnlyTheNewDiff)
{
    PaneWindow window;
    DiffReviewSheet* sheet = window.reviewDiffAfterTyping("<p>First</p>\n");
    ASSERT_NE(sheet, nullptr);
    window.harness.type(u"<h1>Home</h1>\n<p>Second</p>\n");
    ASSERT_TRUE(waitUntil([&] { return sheet->isShowingWholeDiff(); }));
    EXPECT_EQ(sheet->shownDiffText(), homeDiffAdding("<p>Second</p>"));
    // Whatever else was on its way is dropped.
    waitFor(std::chrono::milliseconds(300));
    EXPECT_EQ(sheet->shownDiffText(), homeDiffAdding("<p>Second</p>"));
}

TEST(EditorPane, SelectingAnotherDocumentClosesTheDiffSheet)
{
    PaneWindow window;
    ASSERT_NE(window.reviewDiffAfterTyping("<p>New</p>\n"), nullptr);
    // Its diff and its "Revert Page" were the other document's.
    ASSERT_TRUE(window.harness.store.requestSelectDocument("about.html"));
    EXPECT_EQ(window.pane->diffReviewSheet(), nullptr);
    // The computation that was on its way finds no sheet.
    waitFor(std::chrono::milliseconds(300));
    EXPECT_EQ(window.pane->diffReviewSheet(), nullptr);
    EXPECT_EQ(window.site.read("index.html"), "<h1>Home</h1>\n<p>New</p>\n");
    EXPECT_EQ(window.editor().bufferText(), u"<h1>About</h1>\n");
}

TEST(EditorPane, RevertPageButtonWritesTheBaselineBack)
{
    PaneWindow window;
    typeAtEnd(window.editor(), "<p>Gone</p>");
    window.autosave();
    window.click(window.pane->compactHeader().revertPageButton);
    EXPECT_EQ(window.site.read("index.html"), "<h1>Home</h1>\n");
    EXPECT_EQ(window.editor().bufferText(), u"<h1>Home</h1>\n");
    EXPECT_EQ(window.label(window.pane->editStateLabel()), "At opened baseline");
}

TEST(EditorPane, UndoMenuListsTheHistoryNewestFirstAndAnOlderEntryRestoresItsText)
{
    PaneWindow window("");
    typeAtEnd(window.editor(), "a");
    typeAtEnd(window.editor(), "b");
    typeAtEnd(window.editor(), "c");
    auto history = window.harness.store.selectedPageUndoHistory();
    ASSERT_EQ(history.size(), 3u);

    auto entries = undoMenuEntries(*window.pane);
    ASSERT_EQ(entries.size(), 3u);
    const char* titles[] = { "ab", "a", "Blank page" };
    for (std::size_t index = 0; index < entries.size(); ++index) {
        SCOPED_TRACE(index);
        EXPECT_EQ(entries[index].snapshotID, history[index].id.string());
        // The snapshot's title, then the time of day it was taken.
        EXPECT_EQ(entries[index].label.substr(0, entries[index].label.find(" \u00B7 ")), titles[index]);
        EXPECT_EQ(entries[index].label.size(), std::string(titles[index]).size() + std::string(" \u00B7 00:00:00").size());
    }

    chooseUndoMenuEntry(*window.pane, entries[1]);
    EXPECT_EQ(window.editor().bufferText(), u"a");
    EXPECT_EQ(window.harness.store.editorText().get(), u"a");
    // The undone text leads the list now, so the undo can itself be undone.
    entries = undoMenuEntries(*window.pane);
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].label.substr(0, 4), "abc ");
    EXPECT_EQ(entries[1].label.substr(0, 3), "ab ");
    EXPECT_EQ(entries[2].label.substr(0, 11), "Blank page ");

    window.autosave();
    EXPECT_EQ(window.site.read("index.html"), "a");
}

TEST(EditorPane, UndoLastChangeRestoresTheTextBeforeTheLastEdit)
{
    PaneWindow window;
    typeAtEnd(window.editor(), "<p>One</p>");
    typeAtEnd(window.editor(), "<p>Two</p>");
    window.click(window.pane->expandedHeader().undoButton);
    EXPECT_EQ(window.editor().bufferText(), u"<h1>Home</h1>\n<p>One</p>");
    window.click(window.pane->compactHeader().undoButton);
    EXPECT_EQ(window.editor().bufferText(), u"<h1>Home</h1>\n<p>One</p><p>Two</p>");
}

TEST(EditorPane, UndoMenuDoublesUnderscoresSoTheyShowAsTyped)
{
    PaneWindow window("<h1>my_page</h1>\n");
    typeAtEnd(window.editor(), "x");
    auto entries = undoMenuEntries(*window.pane);
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].label.substr(0, 18), "<h1>my__page</h1> ");
}

TEST(EditorPane, AnEntryOfAnotherPagesHistoryDoesNothing)
{
    PaneWindow window;
    typeAtEnd(window.editor(), "x");
    auto entries = undoMenuEntries(*window.pane);
    ASSERT_EQ(entries.size(), 1u);
    ASSERT_TRUE(window.harness.store.requestSelectDocument("about.html"));
    EXPECT_FALSE(gtk_widget_get_sensitive(GTK_WIDGET(window.pane->visibleHeader().undoMenuButton)));
    chooseUndoMenuEntry(*window.pane, entries[0]);
    EXPECT_EQ(window.editor().bufferText(), u"<h1>About</h1>\n");
    EXPECT_EQ(window.label(window.pane->editStateLabel()), "At opened baseline");
}

TEST(EditorPane, LineFieldJumpsToTrimmedAndSignedNumbersAndIgnoresOtherText)
{
    auto text = thirtyLines();
    PaneWindow window(text);
    auto caret = [&] { return window.editor().selectedUTF16Range(); };

    submitLine(*window.pane, "  12 ");
    EXPECT_EQ(caret().location, offsetOfLine(text, 12));
    EXPECT_EQ(caret().length, 0u);
    EXPECT_EQ(window.label(window.pane->caretStatusLabel()), "Ln 12, Col 1");
    EXPECT_TRUE(gtk_widget_has_focus(GTK_WIDGET(window.editor().sourceView())));

    submitLine(*window.pane, "+3");
    EXPECT_EQ(caret().location, offsetOfLine(text, 3));
    EXPECT_EQ(window.label(window.pane->caretStatusLabel()), "Ln 3, Col 1");

    auto handled = window.editor().lastHandledCommandID();
    submitLine(*window.pane, "abc");
    EXPECT_EQ(window.editor().lastHandledCommandID(), handled);
    EXPECT_EQ(caret().location, offsetOfLine(text, 3));
    submitLine(*window.pane, "");
    EXPECT_EQ(window.editor().lastHandledCommandID(), handled);
    EXPECT_EQ(window.editor().bufferText(), *UnicodeText::utf16FromUTF8(text));
}

TEST(EditorPane, LineFieldBeyondTheEndGoesToTheEndAndZeroOrNegativeToTheStart)
{
    auto text = thirtyLines();
    PaneWindow window(text);
    auto caret = [&] { return window.editor().selectedUTF16Range(); };

    submitLine(*window.pane, "999");
    EXPECT_EQ(caret().location, text.size());
    // The text ends in a line feed, so its end is the start of an empty 31st line.
    EXPECT_EQ(window.label(window.pane->caretStatusLabel()), "Ln 31, Col 1");

    submitLine(*window.pane, "0");
    EXPECT_EQ(caret().location, 0u);
    submitLine(*window.pane, "20");
    submitLine(*window.pane, "-7");
    EXPECT_EQ(caret().location, 0u);
}

TEST(EditorPane, JumpButtonAndTheCompactPopoverUseTheSameLineText)
{
    auto text = thirtyLines();
    PaneWindow window(text, 560);
    ASSERT_TRUE(window.pane->isShowingCompactHeader());
    gtk_editable_set_text(GTK_EDITABLE(window.pane->expandedHeader().lineField), "8");
    // Both fields edit one text.
    EXPECT_STREQ(gtk_editable_get_text(GTK_EDITABLE(window.pane->compactHeader().lineField)), "8");

    window.pane->focusLineField();
    GtkPopover* popover = gtk_menu_button_get_popover(GTK_MENU_BUTTON(window.pane->compactHeader().jumpButton));
    EXPECT_TRUE(runMainLoopUntil([&] { return gtk_widget_get_visible(GTK_WIDGET(popover)); }));
    g_signal_emit_by_name(window.pane->compactHeader().lineField, "activate");
    EXPECT_EQ(window.editor().selectedUTF16Range().location, offsetOfLine(text, 8));
    EXPECT_TRUE(runMainLoopUntil([&] { return !gtk_widget_get_visible(GTK_WIDGET(popover)); }));

    window.resize(1400);
    gtk_editable_set_text(GTK_EDITABLE(window.pane->expandedHeader().lineField), "5");
    window.click(window.pane->expandedHeader().jumpButton);
    EXPECT_EQ(window.editor().selectedUTF16Range().location, offsetOfLine(text, 5));
}

TEST(EditorPane, BlankPageNoteCoversAnEmptyEditorWithoutTakingThePointer)
{
    PaneWindow window("");
    ASSERT_TRUE(window.pane->isShowingEmptyPageState());
    GtkWidget* note = window.pane->emptyPageState();
    EXPECT_TRUE(gtk_widget_get_mapped(note));
    EXPECT_NE(findLabel(note, "Blank source file"), nullptr);
    EXPECT_STREQ(gtk_label_get_text(window.pane->emptyPageStateText()), "Start typing in index.html. The preview will refresh as the file autosaves.");
    EXPECT_FALSE(gtk_widget_get_can_target(note));

    // A click in the middle of the note lands in the editor beneath.
    graphene_rect_t bounds;
    ASSERT_TRUE(gtk_widget_compute_bounds(note, window.pane->widget(), &bounds));
    GtkWidget* picked = gtk_widget_pick(window.pane->widget(), bounds.origin.x + bounds.size.width / 2, bounds.origin.y + bounds.size.height / 2, GTK_PICK_DEFAULT);
    ASSERT_NE(picked, nullptr);
    GtkWidget* sourceView = GTK_WIDGET(window.editor().sourceView());
    EXPECT_TRUE(picked == sourceView || gtk_widget_is_ancestor(picked, sourceView)) << G_OBJECT_TYPE_NAME(picked);

    typeAtCursor(window.editor(), "<p>");
    EXPECT_EQ(window.harness.store.editorText().get(), u"<p>");
    EXPECT_FALSE(window.pane->isShowingEmptyPageState());

    // Deleting everything brings it back.
    window.click(window.pane->expandedHeader().undoButton);
    EXPECT_EQ(window.editor().bufferText(), u"");
    EXPECT_TRUE(window.pane->isShowingEmptyPageState());
}

TEST(EditorPane, BlankPageNoteNamesTheSelectedDocumentAndHidesForAFilledOne)
{
    PaneWindow window("");
    window.site.write("blog/empty.html", "");
    window.harness.store.loadWorkspace(window.site.path());
    ASSERT_TRUE(window.harness.store.requestSelectDocument("blog/empty.html"));
    EXPECT_TRUE(window.pane->isShowingEmptyPageState());
    EXPECT_STREQ(gtk_label_get_text(window.pane->emptyPageStateText()), "Start typing in blog/empty.html. The preview will refresh as the file autosaves.");
    ASSERT_TRUE(window.harness.store.requestSelectDocument("about.html"));
    EXPECT_FALSE(window.pane->isShowingEmptyPageState());
    EXPECT_EQ(window.label(window.pane->expandedHeader().pathLabel), "about.html");
}

// These drive the real keyboard and pointer through the X server, or read the screen back, so
// they run alone.

namespace {

GtkWidget* focusedWidget(GtkWidget* window)
{
    return gtk_window_get_focus(GTK_WINDOW(window));
}

// Whether the focus is `control` or inside it (an entry's focus is on its text child).
bool focusIsIn(GtkWidget* window, GtkWidget* control)
{
    GtkWidget* focus = focusedWidget(window);
    return focus && (focus == control || gtk_widget_is_ancestor(focus, control));
}

// Keeps a capture in docs/ when scripts/snapshot-window.sh names the file in `variable`.
void keepCapture(const std::filesystem::path& png, const char* variable)
{
    if (const char* keep = std::getenv(variable))
        std::filesystem::copy_file(png, keep, std::filesystem::copy_options::overwrite_existing);
}

}

TEST(EditorPaneOnScreen, EscapeClosesTheDiffSheet)
{
    PaneWindow window;
    typeAtEnd(window.editor(), "<p>Typed</p>");
    window.click(window.pane->expandedHeader().reviewDiffButton);
    DiffReviewSheet* sheet = window.pane->diffReviewSheet();
    ASSERT_NE(sheet, nullptr);
    ASSERT_TRUE(runMainLoopUntil([&] { return gtk_widget_get_mapped(GTK_WIDGET(sheet->window())); }));
    XTestKeyboard keyboard(GTK_WIDGET(sheet->window()));
    ASSERT_TRUE(keyboard.isAvailable());
    ASSERT_TRUE(runMainLoopUntil([&] { return gtk_window_is_active(sheet->window()); }));
    // The focus starts on "Close", away from the destructive button.
    EXPECT_TRUE(focusIsIn(GTK_WIDGET(sheet->window()), GTK_WIDGET(sheet->closeButton())));

    keyboard.press("Escape");
    ASSERT_TRUE(runMainLoopUntil([&] { return window.pane->diffReviewSheet() == nullptr; }));
    EXPECT_EQ(window.editor().bufferText(), u"<h1>Home</h1>\n<p>Typed</p>");
}

TEST(EditorPaneOnScreen, TabReachesEveryControlOfTheHeader)
{
    PaneWindow window;
    typeAtEnd(window.editor(), "<p>Typed</p>");
    const auto& header = window.pane->expandedHeader();
    XTestKeyboard keyboard(window.window->window());
    ASSERT_TRUE(keyboard.isAvailable());
    gtk_widget_grab_focus(GTK_WIDGET(header.lineField));
    ASSERT_TRUE(runMainLoopUntil([&] { return focusIsIn(window.window->window(), GTK_WIDGET(header.lineField)); }));

    std::vector<GtkWidget*> expected { header.jumpButton };
    if (gtk_widget_get_sensitive(header.formatButton->widget()))
        expected.push_back(header.formatButton->widget());
    for (GtkWidget* control : { GTK_WIDGET(header.reviewDiffButton), GTK_WIDGET(header.revertPageButton), GTK_WIDGET(header.undoButton), GTK_WIDGET(header.undoMenuButton) })
        expected.push_back(control);
    for (GtkWidget* control : expected) {
        keyboard.press("Tab");
        EXPECT_TRUE(runMainLoopUntil([&] { return focusIsIn(window.window->window(), control); })) << tooltip(control);
    }
}

TEST(EditorPaneOnScreen, ClickingTheBlankPageNoteAndTypingWritesIntoTheEditor)
{
    PaneWindow window("");
    ASSERT_TRUE(window.pane->isShowingEmptyPageState());
    GtkWidget* note = window.pane->emptyPageState();
    XTestPointer pointer(note);
    XTestKeyboard keyboard(window.window->window());
    ASSERT_TRUE(pointer.isAvailable());
    ASSERT_TRUE(keyboard.isAvailable());

    pointer.moveTo(gtk_widget_get_width(note) / 2.0, gtk_widget_get_height(note) / 2.0);
    pointer.press();
    pointer.release();
    ASSERT_TRUE(runMainLoopUntil([&] { return gtk_widget_has_focus(GTK_WIDGET(window.editor().sourceView())); }));
    keyboard.press("a");
    ASSERT_TRUE(runMainLoopUntil([&] { return window.harness.store.editorText().get() == u"a"; }));
    EXPECT_FALSE(window.pane->isShowingEmptyPageState());
    EXPECT_EQ(window.label(window.pane->editStateLabel()), "Pending autosave");
}

TEST(EditorPaneOnScreen, ScreenCaptureShowsThePaneWithChanges)
{
    LiveWindowHarness harness;
    TemporaryDirectory site;
    site.write("index.html",
               "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n  <title>Harbour Notes</title>\n</head>\n<body>\n"
               "  <header>\n    <h1>Harbour Notes</h1>\n  </header>\n  <main>\n    <p>Tides change twice a day.</p>\n"
               "  </main>\n</body>\n</html>\n");
    site.write("moorings.html", "<!DOCTYPE html>\n<title>Moorings</title>\n<h1>Moorings</h1>\n");
    harness.store.loadWorkspace(site.path());
    ContentView content(harness.store, harness.settings);
    TestWindow window(content.widget(), 1440, 860);
    EditorPane& pane = content.editorPreview().editorPane();
    WebKitWebView* webView = content.editorPreview().previewPane().webPreviewView().webView();

    // An edit in the middle of the page, autosaved, and a second one still pending.
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(pane.sourceEditor().buffer());
    GtkTextIter line;
    gtk_text_buffer_get_iter_at_line(buffer, &line, 11);
    gtk_text_buffer_place_cursor(buffer, &line);
    typeAtCursor(pane.sourceEditor(), "    <p>Boats leave at dawn.</p>\n");
    ASSERT_TRUE(waitUntil([&] { return harness.store.editStateDescription() == "Autosaved changes"; }));
    typeAtCursor(pane.sourceEditor(), "    <p>");
    ASSERT_TRUE(waitUntil([&] { return !webkit_web_view_is_loading(webView); }));
    waitFor(std::chrono::milliseconds(300));
    window.waitForFrame();

    EXPECT_TRUE(pane.isShowingCompactHeader());
    EXPECT_TRUE(isSensitive(pane.compactHeader().reviewDiffButton));
    TemporaryDirectory captures;
    auto png = captures.path() / "editor-pane.png";
    ASSERT_TRUE(saveScreenCapture(window.window(), png));
    keepCapture(png, "QUILLORY_EDITOR_PANE_SNAPSHOT");

    // The expanded form, in an editor pane given the whole width of a wide window.
    PaneWindow wide("<!DOCTYPE html>\n<title>Harbour Notes</title>\n<h1>Harbour Notes</h1>\n", 1400);
    typeAtEnd(wide.editor(), "<p>Tides change twice a day.</p>\n");
    wide.window->waitForFrame();
    ASSERT_FALSE(wide.pane->isShowingCompactHeader());
    auto widePNG = captures.path() / "editor-pane-expanded.png";
    ASSERT_TRUE(saveScreenCapture(wide.window->window(), widePNG));
    keepCapture(widePNG, "QUILLORY_EDITOR_PANE_EXPANDED_SNAPSHOT");
}
