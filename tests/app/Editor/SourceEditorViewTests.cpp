#include "QuilloryApp/Shell/EditorPreviewView.h"
#include "QuilloryApp/Editor/SourceEditorView.h"
#include "app/support/EditorTestSupport.h"
#include "app/support/ViewTestSupport.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

void moveCursorToEnd(SourceEditorView& editor)
{
    GtkTextIter end;
    gtk_text_buffer_get_end_iter(GTK_TEXT_BUFFER(editor.buffer()), &end);
    gtk_text_buffer_place_cursor(GTK_TEXT_BUFFER(editor.buffer()), &end);
}

// The editor as EditorPreviewView binds it, with a count of the user edits it reports.
struct CountingEditor {
    explicit CountingEditor(WorkspaceStore& store)
        : editor(store.editorText(), [this, &store](std::u16string text) {
            ++userEditCount;
            store.setEditorText(std::move(text));
            store.editorTextDidChange();
        })
    {
    }
    int userEditCount { 0 };
    SourceEditorView editor;
};

}

TEST(SourceEditorView, StoreLoadsFillTheBufferWithoutReportingAnEdit)
{
    ViewHarness harness;
    TemporaryDirectory site;
    site.write("index.html", "<h1>Home</h1>\n");
    site.write("about.html", "<h1>About</h1>\n");
    CountingEditor counting(harness.store);

    harness.store.loadWorkspace(site.path());
    EXPECT_EQ(counting.editor.bufferText(), u"<h1>Home</h1>\n");
    ASSERT_TRUE(harness.store.requestSelectDocument("about.html"));
    EXPECT_EQ(counting.editor.bufferText(), u"<h1>About</h1>\n");

    EXPECT_EQ(counting.userEditCount, 0);
    // No edit reached the store: nothing waits to be saved and no undo step was recorded.
    EXPECT_EQ(harness.scheduler.pendingTimerCount(), 0u);
    EXPECT_EQ(harness.store.editStateDescription(), "At opened baseline");
    EXPECT_TRUE(harness.store.selectedPageUndoHistory().empty());
    // A loaded text is no step of the editor's own undo either.
    EXPECT_FALSE(gtk_text_buffer_get_can_undo(GTK_TEXT_BUFFER(counting.editor.buffer())));
}

TEST(SourceEditorView, TypingUpdatesTheStoreAndTheFileAfterTheAutosaveDelay)
{
    ViewHarness harness;
    TemporaryDirectory site;
    site.write("index.html", "<h1>Home</h1>\n");
    CountingEditor counting(harness.store);
    harness.store.loadWorkspace(site.path());

    moveCursorToEnd(counting.editor);
    typeAtCursor(counting.editor, "<p>New</p>\n");

    EXPECT_EQ(counting.userEditCount, 1);
    EXPECT_EQ(harness.store.editorText().get(), u"<h1>Home</h1>\n<p>New</p>\n");
    ASSERT_NE(harness.store.selectedEditSession(), nullptr);
    EXPECT_EQ(harness.store.selectedEditSession()->currentText, u"<h1>Home</h1>\n<p>New</p>\n");
    EXPECT_EQ(harness.store.editStateDescription(), "Pending autosave");
    // The store's echo of the edit did not rewrite the buffer: the cursor stayed behind the text.
    GtkTextIter cursor;
    gtk_text_buffer_get_iter_at_mark(GTK_TEXT_BUFFER(counting.editor.buffer()), &cursor, gtk_text_buffer_get_insert(GTK_TEXT_BUFFER(counting.editor.buffer())));
    EXPECT_TRUE(gtk_text_iter_is_end(&cursor));

    harness.scheduler.advance(std::chrono::milliseconds(649));
    harness.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(site.read("index.html"), "<h1>Home</h1>\n");
    harness.scheduler.advance(std::chrono::milliseconds(1));
    harness.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(site.read("index.html"), "<h1>Home</h1>\n<p>New</p>\n");
    EXPECT_EQ(harness.store.editStateDescription(), "Autosaved changes");
}

TEST(SourceEditorView, AstralCharactersCrossTheBufferExactly)
{
    ViewHarness harness;
    TemporaryDirectory site;
    // A musical symbol and an emoji are two UTF-16 units each, one buffer character each.
    site.write("index.html", "<p>\xF0\x9D\x84\x9E caf\xC3\xA9 \xF0\x9F\x98\x80</p>\n");
    CountingEditor counting(harness.store);
    harness.store.loadWorkspace(site.path());

    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(counting.editor.buffer());
    EXPECT_EQ(gtk_text_buffer_get_char_count(buffer), 16);
    EXPECT_EQ(counting.editor.bufferText(), u"<p>\U0001D11E caf\u00E9 \U0001F600</p>\n");

    // Type right behind the emoji: buffer character offset 11 is UTF-16 offset 13.
    GtkTextIter behindEmoji;
    gtk_text_buffer_get_iter_at_offset(buffer, &behindEmoji, 11);
    gtk_text_buffer_place_cursor(buffer, &behindEmoji);
    typeAtCursor(counting.editor, "\xF0\x9F\x8C\xBF!");

    EXPECT_EQ(harness.store.editorText().get(), u"<p>\U0001D11E caf\u00E9 \U0001F600\U0001F33F!</p>\n");
    harness.scheduler.advance(std::chrono::milliseconds(650));
    harness.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_EQ(site.read("index.html"), "<p>\xF0\x9D\x84\x9E caf\xC3\xA9 \xF0\x9F\x98\x80\xF0\x9F\x8C\xBF!</p>\n");
}

TEST(SourceEditorView, TextWithNulCharactersIsShownReadOnlyAndNeverWrittenBack)
{
    ViewHarness harness;
    TemporaryDirectory site;
    site.write("index.html", std::string("<p>a\0b</p>\n", 11));
    site.write("about.html", "<h1>About</h1>\n");
    CountingEditor counting(harness.store);
    harness.store.loadWorkspace(site.path());

    EXPECT_TRUE(counting.editor.isShowingUneditableText());
    EXPECT_FALSE(gtk_text_view_get_editable(GTK_TEXT_VIEW(counting.editor.sourceView())));
    EXPECT_EQ(counting.editor.bufferText(), u"<p>a\u2400b</p>\n");
    EXPECT_EQ(harness.store.editorText().get(), std::u16string(u"<p>a\0b</p>\n", 11));
    EXPECT_EQ(counting.userEditCount, 0);

    // The next document is editable again.
    ASSERT_TRUE(harness.store.requestSelectDocument("about.html"));
    EXPECT_FALSE(counting.editor.isShowingUneditableText());
    EXPECT_TRUE(gtk_text_view_get_editable(GTK_TEXT_VIEW(counting.editor.sourceView())));
    EXPECT_EQ(site.read("index.html"), std::string("<p>a\0b</p>\n", 11));
}

TEST(SourceEditorView, ReturningToAPageShowsWhatWasTypedThere)
{
    ViewHarness harness;
    TemporaryDirectory site;
    site.write("index.html", "<h1>Home</h1>\n");
    site.write("about.html", "<h1>About</h1>\n");
    EditorPreviewView view(harness.store);
    harness.store.loadWorkspace(site.path());

    moveCursorToEnd(view.sourceEditor());
    typeAtCursor(view.sourceEditor(), "x");
    ASSERT_TRUE(harness.store.requestSelectDocument("about.html"));
    EXPECT_EQ(view.sourceEditor().bufferText(), u"<h1>About</h1>\n");
    ASSERT_TRUE(harness.store.requestSelectDocument("index.html"));
    EXPECT_EQ(view.sourceEditor().bufferText(), u"<h1>Home</h1>\nx");
    // Leaving the page wrote it.
    EXPECT_EQ(site.read("index.html"), "<h1>Home</h1>\nx");
}

TEST(SourceEditorView, EditStateLineFollowsTypingAndAutosave)
{
    ViewHarness harness;
    TemporaryDirectory site;
    site.write("index.html", "<h1>Home</h1>\n");
    EditorPreviewView view(harness.store);
    harness.store.loadWorkspace(site.path());
    EXPECT_TRUE(view.isShowingDocument());
    EXPECT_STREQ(gtk_label_get_text(view.editStateLabel()), "At opened baseline");

    typeAtCursor(view.sourceEditor(), "<!-- -->");
    EXPECT_STREQ(gtk_label_get_text(view.editStateLabel()), "Pending autosave");

    harness.scheduler.advance(std::chrono::milliseconds(650));
    harness.scheduler.runBackgroundWorkAndDeliver();
    EXPECT_STREQ(gtk_label_get_text(view.editStateLabel()), "Autosaved changes");
}

TEST(SourceEditorView, EditorShowsPlaceholderWhenNoDocumentIsSelected)
{
    ViewHarness harness;
    TemporaryDirectory site;
    site.write("notes.txt", "not a page\n");
    EditorPreviewView view(harness.store);
    harness.store.loadWorkspace(site.path());
    ASSERT_TRUE(harness.store.siteMap().get());
    EXPECT_FALSE(harness.store.selectedPageID().get());
    EXPECT_FALSE(view.isShowingDocument());
}

// Commands from the host.

namespace {

// An editor bound to a text of its own, as the host would bind the store's; edits are ignored.
struct CommandEditor {
    explicit CommandEditor(std::u16string initial, std::string documentID = "index.html")
        : text(std::move(initial))
    {
        editor.setDocumentID(std::move(documentID));
    }

    SourceEditorCommandRequest request(SourceEditorCommand command, std::string documentID = "index.html")
    {
        return { UUID::random(), std::move(documentID), std::move(command) };
    }

    void select(std::int64_t location, std::int64_t length) { editor.requestCommand(request(SourceEditorCommand::selectUTF16Range(location, length))); }
    void jump(std::int64_t line) { editor.requestCommand(request(SourceEditorCommand::jumpToLine(line))); }

    // The buffer's selected text, as UTF-8.
    std::string selectedText() const
    {
        GtkTextIter start;
        GtkTextIter end;
        gtk_text_buffer_get_selection_bounds(GTK_TEXT_BUFFER(editor.buffer()), &start, &end);
        char* utf8 = gtk_text_buffer_get_text(GTK_TEXT_BUFFER(editor.buffer()), &start, &end, TRUE);
        std::string selected(utf8);
        g_free(utf8);
        return selected;
    }

    void placeCaret(int characterOffset)
    {
        GtkTextIter at;
        gtk_text_buffer_get_iter_at_offset(GTK_TEXT_BUFFER(editor.buffer()), &at, characterOffset);
        gtk_text_buffer_place_cursor(GTK_TEXT_BUFFER(editor.buffer()), &at);
    }

    ObservableProperty<std::u16string> text;
    SourceEditorView editor { text, [](std::u16string) { } };
};

// A musical symbol and an emoji, two UTF-16 units and one buffer character each, before "Title"
// at UTF-16 offset 22 (buffer character 20).
const std::u16string astralText = u"<p>\U0001D11E caf\u00E9 \U0001F600</p>\n<h1>Title</h1>\n";

}

TEST(SourceEditorViewCommands, SelectingARangeAfterAstralCharactersSelectsExactlyThoseUnits)
{
    CommandEditor open(astralText);
    open.select(22, 5);
    EXPECT_EQ(open.selectedText(), "Title");
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 22, 5 }));
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_selection_bounds(GTK_TEXT_BUFFER(open.editor.buffer()), &start, &end);
    EXPECT_EQ(gtk_text_iter_get_offset(&start), 20);
    EXPECT_EQ(gtk_text_iter_get_offset(&end), 25);

    // The astral characters themselves.
    open.select(3, 2);
    EXPECT_EQ(open.selectedText(), "\xF0\x9D\x84\x9E");
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 3, 2 }));
}

TEST(SourceEditorViewCommands, ABoundInsideAnAstralCharacterWidensToTheWholeCharacter)
{
    CommandEditor open(astralText);
    // Between the halves of the musical symbol (units 3 and 4).
    open.select(4, 1);
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 3, 2 }));
    open.select(3, 1);
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 3, 2 }));
    open.select(2, 2);
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 2, 3 }));
    // An empty range stays empty, at the character's start.
    open.select(4, 0);
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 3, 0 }));
}

TEST(SourceEditorViewCommands, ARangeFarBeyondTheTextSelectsNothingAtTheEnd)
{
    CommandEditor open(astralText);
    auto length = astralText.size();
    open.select(100000, 50);
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { length, 0 }));
    EXPECT_EQ(open.selectedText(), "");
    GtkTextIter cursor;
    gtk_text_buffer_get_iter_at_mark(GTK_TEXT_BUFFER(open.editor.buffer()), &cursor, gtk_text_buffer_get_insert(GTK_TEXT_BUFFER(open.editor.buffer())));
    EXPECT_TRUE(gtk_text_iter_is_end(&cursor));
}

TEST(SourceEditorViewCommands, ALengthPastTheEndStopsAtTheEnd)
{
    CommandEditor open(astralText);
    open.select(22, 100000);
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 22, astralText.size() - 22 }));
    EXPECT_EQ(open.selectedText(), "Title</h1>\n");
}

TEST(SourceEditorViewCommands, NegativeValuesClampToZero)
{
    CommandEditor open(u"<p>Hello</p>\n");
    open.select(-5, -3);
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 0, 0 }));
    open.select(-5, 3);
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 0, 3 }));
    open.select(3, -1);
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 3, 0 }));
}

TEST(SourceEditorViewCommands, ARequestForAnotherDocumentIsDropped)
{
    CommandEditor open(u"<p>Hello</p>\n");
    open.placeCaret(5);
    open.editor.requestCommand(open.request(SourceEditorCommand::selectUTF16Range(3, 5), "about.html"));
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 5, 0 }));
    EXPECT_FALSE(open.editor.lastHandledCommandID());
}

TEST(SourceEditorViewCommands, WithoutADocumentEveryRequestIsDropped)
{
    CommandEditor open(u"<p>Hello</p>\n");
    open.editor.setDocumentID(std::nullopt);
    open.placeCaret(5);
    open.select(3, 5);
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 5, 0 }));
    EXPECT_FALSE(open.editor.lastHandledCommandID());
}

TEST(SourceEditorViewCommands, TheSameRequestTwiceRunsOnce)
{
    CommandEditor open(u"<p>Hello</p>\n");
    auto request = open.request(SourceEditorCommand::selectUTF16Range(3, 5));
    open.editor.requestCommand(request);
    EXPECT_EQ(open.editor.lastHandledCommandID(), request.id);
    EXPECT_EQ(open.selectedText(), "Hello");

    // The user moves on; the host hands the same request again on its next update.
    open.placeCaret(0);
    open.editor.requestCommand(request);
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 0, 0 }));

    // The same command under a new id is a new request.
    auto again = open.request(SourceEditorCommand::selectUTF16Range(3, 5));
    open.editor.requestCommand(again);
    EXPECT_EQ(open.editor.lastHandledCommandID(), again.id);
    EXPECT_EQ(open.selectedText(), "Hello");
}

TEST(SourceEditorViewCommands, ChangingDocumentForgetsTheLastRequestAndPutsTheCaretAtTheStart)
{
    CommandEditor open(u"<p>Hello</p>\n");
    auto request = open.request(SourceEditorCommand::selectUTF16Range(3, 5));
    open.editor.requestCommand(request);
    ASSERT_EQ(open.editor.lastHandledCommandID(), request.id);

    open.editor.setDocumentID(std::string("about.html"));
    EXPECT_FALSE(open.editor.lastHandledCommandID());
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 0, 0 }));
    // The request of the old document no longer runs.
    open.editor.requestCommand(request);
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 0, 0 }));

    // Setting the same document again changes nothing.
    open.editor.requestCommand(open.request(SourceEditorCommand::selectUTF16Range(3, 2), "about.html"));
    ASSERT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 3, 2 }));
    auto handled = open.editor.lastHandledCommandID();
    open.editor.setDocumentID(std::string("about.html"));
    EXPECT_EQ(open.editor.lastHandledCommandID(), handled);
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 3, 2 }));
}

TEST(SourceEditorViewCommands, JumpToLineBelowTwoGoesToTheStart)
{
    CommandEditor open(u"one\ntwo\nthree\n");
    for (std::int64_t line : { 1, 0, -4 }) {
        open.select(5, 3);
        open.jump(line);
        EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 0, 0 })) << line;
    }
}

TEST(SourceEditorViewCommands, JumpToLinePutsAnEmptySelectionAtTheLineStart)
{
    // CR LF ends one line, a lone CR another.
    CommandEditor open(u"one\ntwo\r\nthree\rfour");
    open.select(1, 2);
    open.jump(2);
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 4, 0 }));
    open.jump(3);
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 9, 0 }));
    open.jump(4);
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 15, 0 }));
}

TEST(SourceEditorViewCommands, JumpToLineBeyondTheEndStopsAtTheEnd)
{
    CommandEditor open(u"one\ntwo");
    open.jump(99);
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 7, 0 }));

    // A final line feed makes a last, empty line.
    CommandEditor ending(u"one\ntwo\n");
    ending.jump(3);
    EXPECT_EQ(ending.editor.selectedUTF16Range(), (Utf16Range { 8, 0 }));
    ending.jump(4);
    EXPECT_EQ(ending.editor.selectedUTF16Range(), (Utf16Range { 8, 0 }));
}

TEST(SourceEditorViewCommands, JumpToLineCountsAstralCharactersAsTwoUnits)
{
    CommandEditor open(astralText);
    open.jump(2);
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 18, 0 }));
    GtkTextIter cursor;
    gtk_text_buffer_get_iter_at_mark(GTK_TEXT_BUFFER(open.editor.buffer()), &cursor, gtk_text_buffer_get_insert(GTK_TEXT_BUFFER(open.editor.buffer())));
    EXPECT_EQ(gtk_text_iter_get_line(&cursor), 1);
    EXPECT_EQ(gtk_text_iter_get_line_offset(&cursor), 0);
}

TEST(SourceEditorViewCommands, ACommandScrollsToItsTargetAndTakesTheFocus)
{
    std::u16string text;
    for (int line = 1; line <= 400; ++line)
        text += u"<p>Line</p>\n";
    CommandEditor open(text);
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    GtkWidget* entry = gtk_entry_new();
    gtk_box_append(GTK_BOX(box), entry);
    gtk_box_append(GTK_BOX(box), open.editor.widget());
    TestWindow window(box, 600, 400);
    gtk_widget_grab_focus(entry);
    ASSERT_FALSE(gtk_widget_is_focus(GTK_WIDGET(open.editor.sourceView())));
    GtkAdjustment* vertical = gtk_scrolled_window_get_vadjustment(open.editor.scrolledWindow());
    ASSERT_EQ(gtk_adjustment_get_value(vertical), 0);

    open.jump(390);
    EXPECT_TRUE(runMainLoopUntil([&] { return caretIsVisible(open.editor); }));
    EXPECT_GT(gtk_adjustment_get_value(vertical), 0);
    EXPECT_TRUE(gtk_widget_is_focus(GTK_WIDGET(open.editor.sourceView())));
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 389 * 12, 0 }));

    // A selection near the top brings the view back up.
    gtk_widget_grab_focus(entry);
    open.select(12, 3);
    ASSERT_FALSE(caretIsVisible(open.editor));
    EXPECT_TRUE(runMainLoopUntil([&] { return caretIsVisible(open.editor); }));
    EXPECT_TRUE(gtk_widget_is_focus(GTK_WIDGET(open.editor.sourceView())));
}

TEST(SourceEditorViewCommands, ACommandGivenBeforeTheEditorIsShownScrollsOnceItIs)
{
    std::u16string text;
    for (int line = 1; line <= 400; ++line)
        text += u"<p>Line</p>\n";
    CommandEditor open(text);
    open.jump(390);
    TestWindow window(open.editor.widget(), 600, 400);
    EXPECT_TRUE(runMainLoopUntil([&] { return caretIsVisible(open.editor); }));
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 389 * 12, 0 }));
}

TEST(SourceEditorViewCommands, ACommandRightAfterANewTextScrollsToItsTarget)
{
    CommandEditor open(u"<p>Short</p>\n");
    TestWindow window(open.editor.widget(), 600, 400);
    std::u16string text;
    for (int line = 1; line <= 400; ++line)
        text += u"<p>Line</p>\n";
    // The host loads another document and jumps in the same turn of the main loop.
    open.text.set(text);
    open.editor.setDocumentID(std::string("about.html"));
    open.editor.requestCommand(open.request(SourceEditorCommand::jumpToLine(390), "about.html"));
    EXPECT_TRUE(runMainLoopUntil([&] { return caretIsVisible(open.editor); }));
    EXPECT_EQ(open.editor.selectedUTF16Range(), (Utf16Range { 389 * 12, 0 }));
}

TEST(SourceEditorViewCommands, ANewDocumentBeforeTheEditorIsShownStartsAtTheTop)
{
    std::u16string text;
    for (int line = 1; line <= 400; ++line)
        text += u"<p>Line</p>\n";
    CommandEditor open(text);
    open.jump(390);
    open.editor.setDocumentID(std::string("about.html"));
    TestWindow window(open.editor.widget(), 600, 400);
    window.waitForFrame();
    drainMainLoop();
    EXPECT_EQ(gtk_adjustment_get_value(gtk_scrolled_window_get_vadjustment(open.editor.scrolledWindow())), 0);
    EXPECT_TRUE(caretIsVisible(open.editor));
}
