#include "QuilloryApp/Editor/SourceEditorView.h"
#include "TreeSitterLayer/SourceSyntaxAnalyzer.h"
#include "app/support/EditorTestSupport.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/ViewTestSupport.h"

#include <gtest/gtest.h>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

// An editor bound to a text of its own for one document, counting the user edits it reports.
struct BoundEditor {
    explicit BoundEditor(std::u16string initial, std::string documentID = "index.html")
        : text(std::move(initial))
    {
        editor.setDocumentID(std::move(documentID));
    }
    ObservableProperty<std::u16string> text;
    int userEditCount { 0 };
    SourceEditorView editor { text, [this](std::u16string edited) {
                                 ++userEditCount;
                                 text.set(std::move(edited));
                             } };
};

const char16_t* const foldablePage = u"<main>\n<div>\n<p>One</p>\n</div>\n</main>\n<p>Two</p>\n";

}

TEST(SourceEditorHighlighting, TypingColoursTheTextAfterTheDebounce)
{
    BoundEditor bound(u"");
    TestWindow window(bound.editor.widget(), 800, 500);
    int analysesBefore = bound.editor.appliedAnalysisCount();
    for (const char* piece : { "<p ", "class=", "\"a\">", "x</p>" })
        typeAtCursor(bound.editor, piece);
    // Nothing is analysed while the keys come: the text stays uncoloured until 120 ms of quiet.
    EXPECT_EQ(bound.editor.appliedAnalysisCount(), analysesBefore);
    EXPECT_FALSE(bound.editor.kindAtCharacter(1).has_value());
    ASSERT_TRUE(runMainLoopUntil([&] { return bound.editor.kindAtCharacter(1) == HTMLSyntaxKind::tagName; }));
    EXPECT_EQ(bound.editor.kindAtCharacter(0), HTMLSyntaxKind::punctuation);
    EXPECT_EQ(bound.editor.kindAtCharacter(3), HTMLSyntaxKind::attributeName);
    EXPECT_EQ(bound.editor.kindAtCharacter(10), HTMLSyntaxKind::string);
    EXPECT_FALSE(bound.editor.kindAtCharacter(13).has_value()) << "the paragraph's text has no colour";
    // Fast typing led to one analysis after the last keystroke.
    waitFor(std::chrono::milliseconds(300));
    EXPECT_EQ(bound.editor.appliedAnalysisCount(), analysesBefore + 1);
}

TEST(SourceEditorHighlighting, TextSetByTheStoreIsColouredAtOnce)
{
    BoundEditor bound(u"");
    bound.text.set(u"<style>p { color: red; }</style>");
    // The immediate path: no wait, and the injected CSS has its own colours.
    EXPECT_EQ(bound.editor.kindAtCharacter(1), HTMLSyntaxKind::tagName);
    EXPECT_EQ(bound.editor.kindAtCharacter(7), HTMLSyntaxKind::tagName);
    EXPECT_EQ(bound.editor.kindAtCharacter(11), HTMLSyntaxKind::property);
    EXPECT_EQ(bound.userEditCount, 0);
}

TEST(SourceEditorHighlighting, SnapshotForAnOlderTextIsDropped)
{
    BoundEditor bound(u"<p>x</p>");
    int analyses = bound.editor.appliedAnalysisCount();
    SourceSyntaxSnapshot stale { u"<b>x</b>", { { HTMLSyntaxKind::comment, { 0, 8 } } }, {} };
    bound.editor.applySyntaxSnapshot(stale, false);
    EXPECT_EQ(bound.editor.appliedAnalysisCount(), analyses);
    EXPECT_EQ(bound.editor.kindAtCharacter(1), HTMLSyntaxKind::tagName);
}

TEST(SourceEditorHighlighting, LaterSpanWinsWhereSpansOverlap)
{
    BoundEditor bound(u"abcdef", "notes.txt");
    SourceSyntaxSnapshot snapshot { u"abcdef", { { HTMLSyntaxKind::string, { 0, 6 } }, { HTMLSyntaxKind::keyword, { 2, 2 } } }, {} };
    bound.editor.applySyntaxSnapshot(snapshot, false);
    EXPECT_EQ(bound.editor.kindAtCharacter(1), HTMLSyntaxKind::string);
    EXPECT_EQ(bound.editor.kindAtCharacter(2), HTMLSyntaxKind::keyword);
    EXPECT_EQ(bound.editor.kindAtCharacter(4), HTMLSyntaxKind::string);
}

TEST(SourceEditorFolding, NestedFoldsUnfoldOneAtATime)
{
    BoundEditor bound(foldablePage);
    ASSERT_EQ(bound.editor.foldRegions().size(), 2u);
    auto outer = bound.editor.foldRegions()[0].id;
    auto inner = bound.editor.foldRegions()[1].id;
    bound.editor.toggleFold(inner);
    bound.editor.toggleFold(outer);
    EXPECT_TRUE(bound.editor.isCharacterHidden(8));
    bound.editor.toggleFold(outer);
    // The inner element stays folded: "<div>" stays, its content is hidden.
    EXPECT_FALSE(bound.editor.isCharacterHidden(7));
    EXPECT_TRUE(bound.editor.isCharacterHidden(13));
    EXPECT_EQ(bound.editor.foldedRegionIDs(), std::set<std::string> { inner });
}

TEST(SourceEditorFolding, LineStartingTwoRegionsFoldsTheOuterOne)
{
    BoundEditor bound(u"<ul><li>\nx\n</li>\n</ul>");
    ASSERT_EQ(bound.editor.foldRegions().size(), 2u);
    auto* region = bound.editor.foldRegionStartingOnLine(1);
    ASSERT_NE(region, nullptr);
    EXPECT_EQ(region->tagName, "ul");
}

TEST(SourceEditorFolding, FoldsSurviveATextFromOutsideWhenTheirIdsDoAndResetOnANewDocument)
{
    BoundEditor bound(foldablePage);
    auto inner = bound.editor.foldRegions()[1].id;
    bound.editor.toggleFold(inner);
    // An edit below the element keeps its id.
    bound.text.set(std::u16string(foldablePage) + u"<p>Three</p>\n");
    EXPECT_EQ(bound.editor.foldedRegionIDs(), std::set<std::string> { inner });
    // An edit above it changes its id: it unfolds.
    bound.text.set(u"\n" + std::u16string(foldablePage));
    EXPECT_TRUE(bound.editor.foldedRegionIDs().empty());
    bound.editor.toggleFold(bound.editor.foldRegions()[0].id);
    bound.editor.setDocumentID("about.html");
    EXPECT_TRUE(bound.editor.foldedRegionIDs().empty());
    EXPECT_FALSE(bound.editor.isCharacterHidden(9));
}

TEST(SourceEditorStatusLine, EmptyDocumentIsLineOneColumnOneAndColumnsCountUTF16Units)
{
    BoundEditor bound(u"");
    EXPECT_EQ(bound.editor.status().get(), (SourceEditorStatus { 1, 1 }));
    bound.text.set(u"a\n\U0001F600b");
    GtkTextIter at;
    gtk_text_buffer_get_iter_at_offset(GTK_TEXT_BUFFER(bound.editor.buffer()), &at, 2);
    gtk_text_buffer_place_cursor(GTK_TEXT_BUFFER(bound.editor.buffer()), &at);
    EXPECT_EQ(bound.editor.status().get(), (SourceEditorStatus { 2, 1 }));
    // Behind the emoji and the letter: three UTF-16 units into the line.
    gtk_text_buffer_get_iter_at_offset(GTK_TEXT_BUFFER(bound.editor.buffer()), &at, 4);
    gtk_text_buffer_place_cursor(GTK_TEXT_BUFFER(bound.editor.buffer()), &at);
    EXPECT_EQ(bound.editor.status().get(), (SourceEditorStatus { 2, 4 }));
}

namespace {

std::u16string thirtyLinePage()
{
    std::u16string text;
    for (int line = 1; line <= 30; ++line)
        text += u"<p>Line " + std::u16string(1, static_cast<char16_t>(u'A' + line % 26)) + u"</p>\n";
    return text;
}

void selectAllAndDelete(SourceEditorView& editor)
{
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(editor.buffer());
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_bounds(buffer, &start, &end);
    gtk_text_buffer_select_range(buffer, &start, &end);
    // What Delete does with a selection: an interactive deletion inside a user action.
    gtk_text_buffer_delete_selection(buffer, TRUE, TRUE);
}

}

TEST(SourceEditorLargeEditGuard, CancelLeavesTextAndSelectionAndReportsNoEdit)
{
    BoundEditor bound(thirtyLinePage());
    TestWindow window(bound.editor.widget(), 800, 600);
    selectAllAndDelete(bound.editor);
    ASSERT_TRUE(runMainLoopUntil([&] { return bound.editor.pendingLargeEditDialog() != nullptr; }));
    auto* dialog = ADW_MESSAGE_DIALOG(bound.editor.pendingLargeEditDialog());
    EXPECT_STREQ(adw_message_dialog_get_heading(dialog), "Replace most of this page?");
    EXPECT_STREQ(adw_message_dialog_get_body(dialog),
                 "This edit changes or deletes more than half of a long file. Continue only if this is intentional.");
    EXPECT_STREQ(adw_message_dialog_get_response_label(dialog, "apply"), "Apply Change");
    EXPECT_STREQ(adw_message_dialog_get_response_label(dialog, "cancel"), "Cancel");
    adw_message_dialog_response(dialog, "cancel");
    drainMainLoop();
    EXPECT_EQ(bound.editor.bufferText(), thirtyLinePage());
    EXPECT_EQ(bound.editor.selectedUTF16Range(), (Utf16Range { 0, thirtyLinePage().size() }));
    EXPECT_EQ(bound.userEditCount, 0);

    // "Apply Change" carries the deletion out, as one edit of the user's.
    selectAllAndDelete(bound.editor);
    ASSERT_TRUE(runMainLoopUntil([&] { return bound.editor.pendingLargeEditDialog() != nullptr; }));
    adw_message_dialog_response(ADW_MESSAGE_DIALOG(bound.editor.pendingLargeEditDialog()), "apply");
    drainMainLoop();
    EXPECT_EQ(bound.editor.bufferText(), u"");
    EXPECT_EQ(bound.text.get(), u"");
    EXPECT_GE(bound.userEditCount, 1);
}

TEST(SourceEditorLargeEditGuard, WithConfirmationOffNoDialogIsShown)
{
    BoundEditor bound(thirtyLinePage());
    TestWindow window(bound.editor.widget(), 800, 600);
    bound.editor.setConfirmLargeEdits(false);
    selectAllAndDelete(bound.editor);
    drainMainLoop();
    EXPECT_EQ(bound.editor.pendingLargeEditDialog(), nullptr);
    EXPECT_EQ(bound.editor.bufferText(), u"");
}

TEST(SourceEditorLargeEditGuard, SmallEditsAndStoreWritesNeverAsk)
{
    BoundEditor bound(thirtyLinePage());
    TestWindow window(bound.editor.widget(), 800, 600);
    typeAtCursor(bound.editor, "x");
    bound.text.set(u"");
    drainMainLoop();
    EXPECT_EQ(bound.editor.pendingLargeEditDialog(), nullptr);
    EXPECT_EQ(bound.editor.bufferText(), u"");
}
