#include "QuilloryApp/Editor/FindCommands.h"
#include "QuilloryApp/Editor/SourceEditorView.h"
#include "QuilloryApp/Shell/EditorPreviewView.h"
#include "app/support/EditorTestSupport.h"
#include "app/support/MainLoopWaiting.h"
#include "app/support/ScreenCapture.h"
#include "app/support/ViewTestSupport.h"
#include "app/support/XTestKeyboard.h"
#include "app/support/XTestPointer.h"
#include "QuilloryCore/Text/UnicodeText.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace Quillory;
using namespace QuilloryTest;

// These drive the real pointer and keyboard through the X server, so they run alone.

namespace {

// The point in the source view's own coordinates at the middle of a buffer line's first display
// line, and the x of the fold marker column.
graphene_point_t foldMarkerPoint(SourceEditorView& editor, int line)
{
    GtkTextView* view = GTK_TEXT_VIEW(editor.sourceView());
    GtkTextIter iter;
    gtk_text_buffer_get_iter_at_line(gtk_text_view_get_buffer(view), &iter, line);
    GdkRectangle location;
    gtk_text_view_get_iter_location(view, &iter, &location);
    int windowX = 0;
    int windowY = 0;
    gtk_text_view_buffer_to_window_coords(view, GTK_TEXT_WINDOW_WIDGET, 0, location.y + location.height / 2, &windowX, &windowY);
    graphene_rect_t marker = GRAPHENE_RECT_INIT(0, 0, 16, 0);
    if (!gtk_widget_compute_bounds(GTK_WIDGET(editor.foldMarkerRenderer()), GTK_WIDGET(view), &marker))
        ADD_FAILURE() << "the fold marker column is not laid out";
    return GRAPHENE_POINT_INIT(marker.origin.x + marker.size.width / 2, static_cast<float>(windowY));
}


}

TEST(SourceEditorWindowOnScreen, ClickingAFoldMarkerHidesTheElementsContentOnly)
{
    ViewHarness harness;
    TemporaryDirectory site;
    const std::string page = "<main>\n<section>\n<p>One</p>\n<p>Two</p>\n</section>\n</main>\n";
    site.write("index.html", page);
    harness.store.loadWorkspace(site.path());
    EditorPreviewView view(harness.store);
    TestWindow window(view.widget(), 1400, 800);
    auto& editor = view.sourceEditor();
    ASSERT_EQ(editor.foldRegions().size(), 2u);
    XTestPointer pointer(GTK_WIDGET(editor.sourceView()));
    ASSERT_TRUE(pointer.isAvailable());

    auto marker = foldMarkerPoint(editor, 1);
    pointer.moveTo(marker.x, marker.y);
    pointer.press();
    pointer.release();
    ASSERT_TRUE(runMainLoopUntil([&] { return !editor.foldedRegionIDs().empty(); }));
    EXPECT_EQ(editor.foldedRegionIDs(), std::set<std::string> { editor.foldRegions()[1].id });
    // "<section>" stays, its content is hidden, and neither the text nor the store changed.
    EXPECT_FALSE(editor.isCharacterHidden(7));
    EXPECT_TRUE(editor.isCharacterHidden(17));
    EXPECT_FALSE(editor.isCharacterHidden(40));
    EXPECT_EQ(editor.bufferText(), UnicodeText::utf16(page));
    EXPECT_EQ(harness.store.editorText().get(), UnicodeText::utf16(page));
    EXPECT_EQ(harness.store.editStateDescription(), "At opened baseline");

    // A second click unfolds.
    pointer.press();
    pointer.release();
    ASSERT_TRUE(runMainLoopUntil([&] { return editor.foldedRegionIDs().empty(); }));
    EXPECT_FALSE(editor.isCharacterHidden(17));
}

TEST(SourceEditorWindowOnScreen, ControlFOpensTheFindBarAndControlGMovesTheSelection)
{
    ObservableProperty<std::u16string> text(u"<p>alpha</p>\n<p>beta</p>\n<p>alpha</p>\n");
    SourceEditorView editor(text, [](std::u16string) { });
    editor.setDocumentID("index.html");
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    GtkWidget* elsewhere = gtk_entry_new();
    gtk_box_append(GTK_BOX(box), elsewhere);
    gtk_box_append(GTK_BOX(box), editor.widget());
    TestWindow window(box, 900, 600);
    FindCommands::install(GTK_WINDOW(window.window()));
    XTestKeyboard keyboard(window.window());
    ASSERT_TRUE(keyboard.isAvailable());
    ASSERT_TRUE(runMainLoopUntil([&] { return gtk_window_is_active(GTK_WINDOW(window.window())); }) || true);
    gtk_widget_grab_focus(elsewhere);

    keyboard.press("<Control>f");
    ASSERT_TRUE(runMainLoopUntil([&] { return gtk_search_bar_get_search_mode(editor.findBar()); }));
    EXPECT_FALSE(editor.isReplaceRowShown());
    EXPECT_TRUE(gtk_widget_is_ancestor(gtk_window_get_focus(GTK_WINDOW(window.window())), GTK_WIDGET(editor.findBar())));
    EXPECT_EQ(editor.bufferText(), text.get()) << "the keys went to the find bar, not into the page";

    gtk_editable_set_text(editor.findEntry(), "alpha");
    keyboard.press("<Control>g");
    ASSERT_TRUE(runMainLoopUntil([&] { return editor.selectedUTF16Range() == Utf16Range { 3, 5 }; }));
    keyboard.press("<Control>g");
    ASSERT_TRUE(runMainLoopUntil([&] { return editor.selectedUTF16Range() == Utf16Range { 28, 5 }; }));
    keyboard.press("<Control><Shift>g");
    ASSERT_TRUE(runMainLoopUntil([&] { return editor.selectedUTF16Range() == Utf16Range { 3, 5 }; }));

    keyboard.press("<Control><Alt>f");
    ASSERT_TRUE(runMainLoopUntil([&] { return editor.isReplaceRowShown(); }));
}

TEST(SourceEditorWindowOnScreen, EnterUsesTheDocumentsLineEndingAndKeepsTheIndentation)
{
    ObservableProperty<std::u16string> text(u"<div>\r\n  <p>x</p>\r\n</div>\r\n");
    SourceEditorView editor(text, [&text](std::u16string edited) { text.set(std::move(edited)); });
    editor.setDocumentID("index.html");
    TestWindow window(editor.widget(), 800, 500);
    XTestKeyboard keyboard(window.window());
    ASSERT_TRUE(keyboard.isAvailable());
    gtk_widget_grab_focus(GTK_WIDGET(editor.sourceView()));
    // The caret behind "</p>" on the indented line.
    GtkTextIter at;
    gtk_text_buffer_get_iter_at_offset(GTK_TEXT_BUFFER(editor.buffer()), &at, 17);
    gtk_text_buffer_place_cursor(GTK_TEXT_BUFFER(editor.buffer()), &at);

    keyboard.press("Return");
    ASSERT_TRUE(runMainLoopUntil([&] { return editor.bufferText() != u"<div>\r\n  <p>x</p>\r\n</div>\r\n"; }));
    EXPECT_EQ(editor.bufferText(), u"<div>\r\n  <p>x</p>\r\n  \r\n</div>\r\n");
    EXPECT_EQ(text.get(), editor.bufferText());

    // A document without line breaks gets line feeds.
    text.set(u"<p>x</p>");
    gtk_text_buffer_get_end_iter(GTK_TEXT_BUFFER(editor.buffer()), &at);
    gtk_text_buffer_place_cursor(GTK_TEXT_BUFFER(editor.buffer()), &at);
    keyboard.press("Return");
    ASSERT_TRUE(runMainLoopUntil([&] { return editor.bufferText() == u"<p>x</p>\n"; }));
}

TEST(SourceEditorWindowOnScreen, LongLinesWrapAndCountAsOneLine)
{
    std::u16string longLine = u"<p>";
    for (int word = 0; word < 300; ++word)
        longLine += u"wrapping ";
    longLine += u"</p>\n<p>next</p>\n";
    ObservableProperty<std::u16string> text(longLine);
    SourceEditorView editor(text, [](std::u16string) { });
    editor.setDocumentID("index.html");
    TestWindow window(editor.widget(), 700, 500);
    GtkTextView* view = GTK_TEXT_VIEW(editor.sourceView());
    GtkTextIter first;
    GtkTextIter second;
    gtk_text_buffer_get_iter_at_line(GTK_TEXT_BUFFER(editor.buffer()), &first, 0);
    gtk_text_buffer_get_iter_at_line(GTK_TEXT_BUFFER(editor.buffer()), &second, 1);
    int firstY = 0, firstHeight = 0, secondY = 0, secondHeight = 0;
    gtk_text_view_get_line_yrange(view, &first, &firstY, &firstHeight);
    gtk_text_view_get_line_yrange(view, &second, &secondY, &secondHeight);
    // The long line takes many display lines and is still the text's first line; nothing scrolls sideways.
    EXPECT_GT(firstHeight, secondHeight * 5);
    EXPECT_EQ(gtk_text_iter_get_line(&second), 1);
    GtkAdjustment* horizontal = gtk_scrollable_get_hadjustment(GTK_SCROLLABLE(view));
    EXPECT_LE(gtk_adjustment_get_upper(horizontal), gtk_adjustment_get_page_size(horizontal) + 1);
    EXPECT_EQ(gtk_text_view_get_wrap_mode(view), GTK_WRAP_WORD_CHAR);
}

TEST(SourceEditorWindowOnScreen, ChosenRangeIsScrolledIntoViewWithAMarginAndCentredWhenFar)
{
    std::u16string content;
    for (int line = 1; line <= 400; ++line)
        content += u"<p>Line</p>\n";
    ObservableProperty<std::u16string> text(content);
    SourceEditorView editor(text, [](std::u16string) { });
    editor.setDocumentID("index.html");
    TestWindow window(editor.widget(), 700, 500);
    auto request = [&](std::int64_t location, std::int64_t length) {
        editor.requestCommand({ UUID::random(), "index.html", SourceEditorCommand::selectUTF16Range(location, length) });
    };
    GtkTextView* view = GTK_TEXT_VIEW(editor.sourceView());
    GdkRectangle visible;
    gtk_text_view_get_visible_rect(view, &visible);
    int lineHeight = 0;
    GtkTextIter start;
    gtk_text_buffer_get_start_iter(GTK_TEXT_BUFFER(editor.buffer()), &start);
    int ignored = 0;
    gtk_text_view_get_line_yrange(view, &start, &ignored, &lineHeight);

    // Far below: centred.
    request(300 * 12, 4);
    ASSERT_TRUE(runMainLoopUntil([&] { return caretIsVisible(editor, lineHeight * 3); }));
    waitFor(std::chrono::milliseconds(200));
    gtk_text_view_get_visible_rect(view, &visible);
    GdkRectangle caret;
    GtkTextIter at;
    gtk_text_buffer_get_iter_at_mark(GTK_TEXT_BUFFER(editor.buffer()), &at, gtk_text_buffer_get_insert(GTK_TEXT_BUFFER(editor.buffer())));
    gtk_text_view_get_iter_location(view, &at, &caret);
    EXPECT_NEAR(caret.y + caret.height / 2.0, visible.y + visible.height / 2.0, lineHeight * 2.0);

    // Just below the visible part: in view with a margin, not on the last visible line.
    int lastVisibleLine = (visible.y + visible.height) / lineHeight;
    request(static_cast<std::int64_t>(lastVisibleLine + 2) * 12, 4);
    ASSERT_TRUE(runMainLoopUntil([&] { return caretIsVisible(editor, lineHeight * 2); }));
}

TEST(SourceEditorWindowOnScreen, ScreenCaptureShowsTheColouredEditorWithAFoldAndTheFindBar)
{
    ViewHarness harness;
    TemporaryDirectory site;
    site.write("index.html",
               "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n  <title>Harbour &amp; Sea</title>\n  <style>\n"
               "    body { margin: 0; font-family: system-ui; }\n    .lead { color: #1a5fb4; }\n  </style>\n</head>\n<body>\n"
               "  <!-- The opening section -->\n  <header class=\"lead\">\n    <h1>Harbour</h1>\n    <p>Boats and moorings.</p>\n"
               "  </header>\n  <main>\n    <p>Tides change twice a day.</p>\n  </main>\n  <script>\n"
               "    const tides = [6, 12];\n    function next(hour) { return tides.find((t) => t > hour); }\n"
               "  </script>\n</body>\n</html>\n");
    harness.store.loadWorkspace(site.path());
    EditorPreviewView view(harness.store);
    TestWindow window(view.widget(), 1400, 800);
    auto& editor = view.sourceEditor();
    for (const auto& region : editor.foldRegions()) {
        if (region.tagName == "header")
            editor.toggleFold(region.id);
    }
    editor.performFindAction(FindAction::showFindInterface);
    gtk_editable_set_text(editor.findEntry(), "tides");
    waitFor(std::chrono::milliseconds(300));
    window.waitForFrame();

    TemporaryDirectory captures;
    auto png = captures.path() / "source-editor-window.png";
    ASSERT_TRUE(saveScreenCapture(window.window(), png));
    // scripts/snapshot-window.sh sets this to keep the picture in docs/.
    if (const char* keep = std::getenv("QUILLORY_SOURCE_EDITOR_SNAPSHOT"))
        std::filesystem::copy_file(png, keep, std::filesystem::copy_options::overwrite_existing);
    EXPECT_EQ(editor.kindAtCharacter(18), HTMLSyntaxKind::tagName);
}
