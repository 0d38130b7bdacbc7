#include "QuilloryApp/Editor/SourceEditorView.h"

#include "QuilloryCore/Editing/EditSafety.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <adwaita.h>

// What typing does beyond inserting: a typed line break takes the document's own line ending,
// and an edit of the user's that would replace most of a long page waits for a confirmation.
// Writes by the store (loading, revert, undo, formatting) pass neither.
namespace Quillory {

namespace {

// A typed line break, with the indentation auto-indent adds behind it.
bool isTypedLineBreak(std::string_view text)
{
    if (text.empty() || text.front() != '\n')
        return false;
    return text.find_first_not_of(" \t", 1) == std::string_view::npos;
}

}

void SourceEditorView::setUpTyping()
{
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(m_buffer.get());
    // Connected before the bookkeeping of the tags, so that an edit stopped here is never counted.
    m_connections.connectSwapped(buffer, "insert-text", G_CALLBACK(+[](SourceEditorView* self, GtkTextIter* location, const char* text, int length) {
        if (self->insertTextWillHappen(location, text, length))
            g_signal_stop_emission_by_name(self->m_buffer.get(), "insert-text");
    }), this);
    m_connections.connectSwapped(buffer, "delete-range", G_CALLBACK(+[](SourceEditorView* self, GtkTextIter* start, GtkTextIter* end) {
        if (self->deleteRangeWillHappen(start, end))
            g_signal_stop_emission_by_name(self->m_buffer.get(), "delete-range");
    }), this);
    m_connections.connectSwapped(buffer, "begin-user-action", G_CALLBACK(+[](SourceEditorView* self) { ++self->m_userActionDepth; }), this);
    m_connections.connectSwapped(buffer, "end-user-action", G_CALLBACK(+[](SourceEditorView* self) {
        if (--self->m_userActionDepth == 0)
            self->userActionDidEnd();
    }), this);
}

std::u16string SourceEditorView::documentLineEnding() const
{
    auto first = m_currentText.find_first_of(u"\r\n");
    if (first == std::u16string::npos || m_currentText[first] == u'\n')
        return u"\n";
    return first + 1 < m_currentText.size() && m_currentText[first + 1] == u'\n' ? u"\r\n" : u"\r";
}

// Returns true to stop the insertion.
bool SourceEditorView::insertTextWillHappen(GtkTextIter* location, const char* text, int length)
{
    if (m_isSynchronizing || m_bypassGuard)
        return false;
    if (m_pendingLargeEdit) {
        // Part of an edit that waits for confirmation, such as the text of a paste over a selection.
        m_pendingLargeEdit->replacement.append(text, static_cast<std::size_t>(length));
        return true;
    }
    std::string_view inserted(text, static_cast<std::size_t>(length));
    if (m_userActionDepth == 0 || m_isRewritingLineBreak || !isTypedLineBreak(inserted))
        return false;
    auto ending = documentLineEnding();
    if (ending == u"\n")
        return false;
    std::string rewritten = UnicodeText::utf8FromUTF16(ending);
    rewritten.append(inserted.substr(1));
    m_isRewritingLineBreak = true;
    gtk_text_buffer_insert(GTK_TEXT_BUFFER(m_buffer.get()), location, rewritten.data(), static_cast<int>(rewritten.size()));
    m_isRewritingLineBreak = false;
    return true;
}

// Returns true to stop the deletion.
bool SourceEditorView::deleteRangeWillHappen(GtkTextIter* start, GtkTextIter* end)
{
    if (m_isSynchronizing || m_bypassGuard || m_userActionDepth == 0)
        return false;
    if (m_pendingLargeEdit)
        return true;
    if (!m_confirmLargeEdits)
        return false;
    int startCharacter = std::min(gtk_text_iter_get_offset(start), gtk_text_iter_get_offset(end));
    int endCharacter = std::max(gtk_text_iter_get_offset(start), gtk_text_iter_get_offset(end));
    auto location = utf16OffsetOfCharacter(startCharacter);
    auto endOffset = utf16OffsetOfCharacter(endCharacter);
    if (!EditSafety::largeEditNeedsConfirmation(m_currentText, { location, endOffset - location }, std::u16string()))
        return false;
    m_pendingLargeEdit = PendingLargeEdit { startCharacter, endCharacter, {} };
    return true;
}

void SourceEditorView::userActionDidEnd()
{
    if (!m_pendingLargeEdit || m_largeEditDialog)
        return;
    // With the whole replacement known, a paste that changes little needs no question after all.
    auto location = utf16OffsetOfCharacter(m_pendingLargeEdit->startCharacter);
    auto endOffset = utf16OffsetOfCharacter(m_pendingLargeEdit->endCharacter);
    auto replacement = UnicodeText::utf16(m_pendingLargeEdit->replacement);
    if (!EditSafety::largeEditNeedsConfirmation(m_currentText, { location, endOffset - location }, replacement)) {
        auto edit = *std::exchange(m_pendingLargeEdit, std::nullopt);
        applyConfirmedEdit(edit.startCharacter, edit.endCharacter, edit.replacement);
        return;
    }
    showLargeEditDialog();
}

void SourceEditorView::applyConfirmedEdit(int startCharacter, int endCharacter, const std::string& replacement)
{
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(m_buffer.get());
    m_bypassGuard = true;
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_iter_at_offset(buffer, &start, startCharacter);
    gtk_text_buffer_get_iter_at_offset(buffer, &end, endCharacter);
    gtk_text_buffer_begin_user_action(buffer);
    gtk_text_buffer_delete(buffer, &start, &end);
    gtk_text_buffer_insert(buffer, &start, replacement.data(), static_cast<int>(replacement.size()));
    gtk_text_buffer_end_user_action(buffer);
    m_bypassGuard = false;
}

void SourceEditorView::showLargeEditDialog()
{
    auto* window = GTK_WINDOW(gtk_widget_get_root(m_root.get()));
    m_largeEditDialog = adw_message_dialog_new(GTK_IS_WINDOW(window) ? window : nullptr, "Replace most of this page?",
                                               "This edit changes or deletes more than half of a long file. Continue only if this is intentional.");
    adw_message_dialog_add_responses(ADW_MESSAGE_DIALOG(m_largeEditDialog), "cancel", "Cancel", "apply", "Apply Change", nullptr);
    adw_message_dialog_set_response_appearance(ADW_MESSAGE_DIALOG(m_largeEditDialog), "apply", ADW_RESPONSE_DESTRUCTIVE);
    adw_message_dialog_set_default_response(ADW_MESSAGE_DIALOG(m_largeEditDialog), "cancel");
    adw_message_dialog_set_close_response(ADW_MESSAGE_DIALOG(m_largeEditDialog), "cancel");
    g_signal_connect_swapped(m_largeEditDialog, "response", G_CALLBACK(+[](SourceEditorView* self, const char* response) {
        self->m_largeEditDialog = nullptr;
        auto edit = std::exchange(self->m_pendingLargeEdit, std::nullopt);
        if (edit && g_strcmp0(response, "apply") == 0)
            self->applyConfirmedEdit(edit->startCharacter, edit->endCharacter, edit->replacement);
    }), this);
    gtk_window_present(GTK_WINDOW(m_largeEditDialog));
}

}
