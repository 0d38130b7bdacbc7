#include "app/support/EditorTestSupport.h"

namespace QuilloryTest {

void typeAtCursor(Quillory::SourceEditorView& editor, const char* utf8)
{
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(editor.buffer());
    gtk_text_buffer_begin_user_action(buffer);
    gtk_text_buffer_insert_interactive_at_cursor(buffer, utf8, -1, TRUE);
    gtk_text_buffer_end_user_action(buffer);
}

bool caretIsVisible(const Quillory::SourceEditorView& editor, int margin)
{
    GtkTextView* view = GTK_TEXT_VIEW(editor.sourceView());
    GtkTextBuffer* buffer = gtk_text_view_get_buffer(view);
    GtkTextIter caret;
    gtk_text_buffer_get_iter_at_mark(buffer, &caret, gtk_text_buffer_get_insert(buffer));
    GdkRectangle visible;
    GdkRectangle location;
    gtk_text_view_get_visible_rect(view, &visible);
    gtk_text_view_get_iter_location(view, &caret, &location);
    return location.y >= visible.y + margin && location.y + location.height <= visible.y + visible.height - margin;
}

}
