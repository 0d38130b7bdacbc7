#include "QuilloryApp/EditorPreviewView.h"
#include "QuilloryApp/SourceEditorView.h"
#include "app/support/ViewTestSupport.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <string>

using namespace Quillory;
using namespace QuilloryTest;

namespace {

// What a keystroke does: an interactive insertion at the cursor, inside a user action.
void typeAtCursor(SourceEditorView& editor, const char* utf8)
{
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(editor.buffer());
    gtk_text_buffer_begin_user_action(buffer);
    gtk_text_buffer_insert_interactive_at_cursor(buffer, utf8, -1, TRUE);
    gtk_text_buffer_end_user_action(buffer);
}

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
