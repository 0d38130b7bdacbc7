#include "QuilloryApp/Editor/SourceEditorView.h"
#include "TreeSitterLayer/SourceSyntaxAnalyzer.h"
#include "app/support/EditorTestSupport.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/ViewTestSupport.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

struct BoundEditor {
    explicit BoundEditor(std::u16string initial)
        : text(std::move(initial))
    {
        editor.setDocumentID("index.html");
    }
    ObservableProperty<std::u16string> text;
    SourceEditorView editor { text, [this](std::u16string edited) { text.set(std::move(edited)); } };
};

GtkTextBuffer* textBuffer(const SourceEditorView& editor)
{
    return GTK_TEXT_BUFFER(editor.buffer());
}

void placeCursor(SourceEditorView& editor, int character)
{
    GtkTextIter at;
    gtk_text_buffer_get_iter_at_offset(textBuffer(editor), &at, character);
    gtk_text_buffer_place_cursor(textBuffer(editor), &at);
}

// What Delete does over a selection of characters: an interactive deletion in a user action.
void deleteCharacters(SourceEditorView& editor, int start, int end)
{
    GtkTextIter from;
    GtkTextIter to;
    gtk_text_buffer_get_iter_at_offset(textBuffer(editor), &from, start);
    gtk_text_buffer_get_iter_at_offset(textBuffer(editor), &to, end);
    gtk_text_buffer_begin_user_action(textBuffer(editor));
    gtk_text_buffer_delete_interactive(textBuffer(editor), &from, &to, TRUE);
    gtk_text_buffer_end_user_action(textBuffer(editor));
}

std::size_t utf16OffsetOfCharacter(std::u16string_view text, int character)
{
    std::size_t unit = 0;
    for (int counted = 0; counted < character && unit < text.size(); ++counted)
        unit += (text[unit] >= 0xD800 && text[unit] <= 0xDBFF) ? 2 : 1;
    return unit;
}

// The editor's view of its text agrees with the buffer's own: the bound text, the caret's line
// and column, and the selection in UTF-16 units, all worked out afresh from the buffer.
void expectEditorAgreesWithBuffer(const BoundEditor& bound)
{
    auto buffered = bound.editor.bufferText();
    EXPECT_EQ(bound.text.get(), buffered);
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_selection_bounds(textBuffer(bound.editor), &start, &end);
    auto location = utf16OffsetOfCharacter(buffered, gtk_text_iter_get_offset(&start));
    auto endOffset = utf16OffsetOfCharacter(buffered, gtk_text_iter_get_offset(&end));
    EXPECT_EQ(bound.editor.selectedUTF16Range(), (Utf16Range { location, endOffset - location }));
    GtkTextIter caret;
    gtk_text_buffer_get_iter_at_mark(textBuffer(bound.editor), &caret, gtk_text_buffer_get_insert(textBuffer(bound.editor)));
    auto caretOffset = utf16OffsetOfCharacter(buffered, gtk_text_iter_get_offset(&caret));
    EXPECT_EQ(bound.editor.status().get(), SourceEditorStatus::at(SourceLineIndex::build(buffered), caretOffset));
}

// A page whose every line has tags, long enough that most of it is far off screen.
std::u16string longPage()
{
    std::u16string page = u"<!DOCTYPE html>\n<body>\n";
    for (int line = 0; line < 3000; ++line)
        page += u"<p class=\"c\">Line</p>\n";
    return page + u"</body>\n";
}

// The kind the analyzer gives each UTF-16 unit of an ASCII text (later spans win), or nothing.
std::vector<std::optional<HTMLSyntaxKind>> analyzedKinds(const std::u16string& text)
{
    std::vector<std::optional<HTMLSyntaxKind>> kinds(text.size());
    for (const auto& span : SourceSyntaxAnalyzer().spans(text, "index.html")) {
        for (auto unit = span.range.location; unit < span.range.end() && unit < kinds.size(); ++unit)
            kinds[unit] = span.kind;
    }
    return kinds;
}

// Every character's colour tag is the analyzer's kind for the bound text.
void expectEveryTagMatchesTheAnalyzer(const BoundEditor& bound)
{
    auto expected = analyzedKinds(bound.text.get());
    std::size_t mismatches = 0;
    std::optional<std::size_t> first;
    for (std::size_t character = 0; character < expected.size(); ++character) {
        if (bound.editor.kindAtCharacter(static_cast<int>(character)) != expected[character]) {
            ++mismatches;
            first = first.value_or(character);
        }
    }
    EXPECT_EQ(mismatches, 0u) << "first at character " << first.value_or(0);
}

}

TEST(SourceEditorTextMirror, EditsWithAstralCharactersAndLineBreaksKeepTextStatusAndSelectionExact)
{
    BoundEditor bound(u"a\U0001F600b\nc");
    expectEditorAgreesWithBuffer(bound);
    placeCursor(bound.editor, 5);
    typeAtCursor(bound.editor, "\U0001F4A9\nd\U0001D11Ee");
    expectEditorAgreesWithBuffer(bound);
    EXPECT_EQ(bound.text.get(), u"a\U0001F600b\nc\U0001F4A9\nd\U0001D11Ee");
    // A line break between two astral characters' lines, then a deletion across astral
    // characters and line breaks.
    placeCursor(bound.editor, 2);
    typeAtCursor(bound.editor, "\n");
    expectEditorAgreesWithBuffer(bound);
    deleteCharacters(bound.editor, 1, 7);
    expectEditorAgreesWithBuffer(bound);
    EXPECT_EQ(bound.text.get(), u"a\nd\U0001D11Ee");
    placeCursor(bound.editor, 4);
    EXPECT_EQ(bound.editor.status().get(), (SourceEditorStatus { 2, 4 }));
    // A text from outside replaces what the edits built up.
    bound.text.set(u"\U0001F600\n\U0001F600x");
    placeCursor(bound.editor, 4);
    expectEditorAgreesWithBuffer(bound);
    EXPECT_EQ(bound.editor.status().get(), (SourceEditorStatus { 2, 4 }));
}

TEST(SourceEditorHighlighting, FarOffColoursArriveInIdleSlicesAfterTyping)
{
    BoundEditor bound(longPage());
    TestWindow window(bound.editor.widget(), 800, 500);
    auto farOff = bound.text.get().rfind(u"<p") + 1;
    ASSERT_EQ(bound.editor.kindAtCharacter(static_cast<int>(farOff)), HTMLSyntaxKind::tagName);

    // An unclosed script element at the top turns the whole rest of the page into its content.
    placeCursor(bound.editor, 0);
    typeAtCursor(bound.editor, "<script>");
    auto expected = analyzedKinds(bound.text.get());
    ASSERT_NE(expected[farOff + 8], HTMLSyntaxKind::tagName);
    int analyses = bound.editor.appliedAnalysisCount();
    ASSERT_TRUE(runMainLoopUntil([&] { return bound.editor.appliedAnalysisCount() > analyses; }, std::chrono::seconds(30)));

    // The lines on screen have their colours at once; the far end of the page not yet.
    EXPECT_TRUE(bound.editor.hasPendingTagChanges());
    EXPECT_EQ(bound.editor.kindAtCharacter(1), HTMLSyntaxKind::tagName);
    EXPECT_EQ(bound.editor.kindAtCharacter(10), expected[10]);
    EXPECT_EQ(bound.editor.kindAtCharacter(static_cast<int>(farOff + 8)), HTMLSyntaxKind::tagName);
    ASSERT_TRUE(runMainLoopUntil([&] { return !bound.editor.hasPendingTagChanges(); }, std::chrono::seconds(60)));
    EXPECT_EQ(bound.editor.kindAtCharacter(static_cast<int>(farOff + 8)), expected[farOff + 8]);
    expectEveryTagMatchesTheAnalyzer(bound);
}

TEST(SourceEditorHighlighting, AnEditWhileSlicesRemainLeavesEveryTagExact)
{
    BoundEditor bound(longPage());
    TestWindow window(bound.editor.widget(), 800, 500);
    placeCursor(bound.editor, 0);
    typeAtCursor(bound.editor, "<script>");
    int analyses = bound.editor.appliedAnalysisCount();
    ASSERT_TRUE(runMainLoopUntil([&] { return bound.editor.appliedAnalysisCount() > analyses; }, std::chrono::seconds(30)));
    ASSERT_TRUE(bound.editor.hasPendingTagChanges());
    // Let a few slices change tags, then take the element back: what is left of the old
    // analysis is dropped, and the next one puts back whatever the slices had changed.
    waitFor(std::chrono::milliseconds(30));
    deleteCharacters(bound.editor, 0, 8);
    EXPECT_FALSE(bound.editor.hasPendingTagChanges());
    EXPECT_EQ(bound.text.get(), longPage());
    analyses = bound.editor.appliedAnalysisCount();
    ASSERT_TRUE(runMainLoopUntil([&] { return bound.editor.appliedAnalysisCount() > analyses && !bound.editor.hasPendingTagChanges(); },
                                 std::chrono::seconds(60)));
    expectEveryTagMatchesTheAnalyzer(bound);
}

TEST(SourceEditorHighlighting, ATextSetFromOutsideOverAColouredOneIsColouredExactly)
{
    BoundEditor bound(longPage());
    expectEveryTagMatchesTheAnalyzer(bound);
    // The same lines moved by a few characters, and their element changed: no colour of the
    // earlier text may stay behind.
    auto moved = u"<!-- a note -->\n<main>\n" + longPage().substr(23) + u"</main>\n";
    bound.text.set(moved);
    expectEveryTagMatchesTheAnalyzer(bound);
    bound.text.set(u"<p>short</p>\n");
    expectEveryTagMatchesTheAnalyzer(bound);
}
