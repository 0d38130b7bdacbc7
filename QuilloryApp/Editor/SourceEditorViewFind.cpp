#include "QuilloryApp/Editor/SourceEditorView.h"

// The find bar: a search bar over the editor with a replace row, searching the buffer through a
// GtkSourceView search context that highlights every match.
namespace Quillory {

namespace {

// How long the find bar's accent flash takes to fade.
constexpr guint findBarFlashMilliseconds = 550;

}

GtkWidget* SourceEditorView::makeFindBar()
{
    m_searchSettings = GRef<GtkSourceSearchSettings>::adopt(gtk_source_search_settings_new());
    gtk_source_search_settings_set_wrap_around(m_searchSettings.get(), TRUE);
    m_searchContext = GRef<GtkSourceSearchContext>::adopt(gtk_source_search_context_new(m_buffer.get(), m_searchSettings.get()));
    gtk_source_search_context_set_highlight(m_searchContext.get(), TRUE);

    m_findEntry = gtk_search_entry_new();
    gtk_widget_set_hexpand(m_findEntry, TRUE);
    g_object_set(m_findEntry, "placeholder-text", "Find", nullptr);
    GtkWidget* previous = gtk_button_new_from_icon_name("go-up-symbolic");
    gtk_widget_set_tooltip_text(previous, "Find Previous");
    GtkWidget* next = gtk_button_new_from_icon_name("go-down-symbolic");
    gtk_widget_set_tooltip_text(next, "Find Next");
    GtkWidget* findRow = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
    gtk_box_append(GTK_BOX(findRow), m_findEntry);
    gtk_box_append(GTK_BOX(findRow), previous);
    gtk_box_append(GTK_BOX(findRow), next);

    m_replaceEntry = gtk_entry_new();
    gtk_widget_set_hexpand(m_replaceEntry, TRUE);
    gtk_entry_set_placeholder_text(GTK_ENTRY(m_replaceEntry), "Replace");
    GtkWidget* replace = gtk_button_new_with_label("Replace");
    GtkWidget* replaceAll = gtk_button_new_with_label("Replace All");
    m_replaceRow = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
    gtk_box_append(GTK_BOX(m_replaceRow), m_replaceEntry);
    gtk_box_append(GTK_BOX(m_replaceRow), replace);
    gtk_box_append(GTK_BOX(m_replaceRow), replaceAll);
    gtk_widget_set_visible(m_replaceRow, FALSE);

    GtkWidget* rows = gtk_box_new(GTK_ORIENTATION_VERTICAL, 6);
    gtk_widget_add_css_class(rows, "quillory-find-bar");
    gtk_box_append(GTK_BOX(rows), findRow);
    gtk_box_append(GTK_BOX(rows), m_replaceRow);
    gtk_widget_set_hexpand(rows, TRUE);

    m_findBar = GTK_SEARCH_BAR(gtk_search_bar_new());
    gtk_search_bar_set_child(m_findBar, rows);
    gtk_search_bar_connect_entry(m_findBar, GTK_EDITABLE(m_findEntry));
    gtk_search_bar_set_show_close_button(m_findBar, TRUE);

    m_connections.connectSwapped(m_findEntry, "search-changed", G_CALLBACK(+[](SourceEditorView* self) {
        const char* text = gtk_editable_get_text(GTK_EDITABLE(self->m_findEntry));
        gtk_source_search_settings_set_search_text(self->m_searchSettings.get(), *text ? text : nullptr);
    }), this);
    m_connections.connectSwapped(m_findEntry, "activate", G_CALLBACK(+[](SourceEditorView* self) { self->findFrom(true); }), this);
    m_connections.connectSwapped(m_findEntry, "next-match", G_CALLBACK(+[](SourceEditorView* self) { self->findFrom(true); }), this);
    m_connections.connectSwapped(m_findEntry, "previous-match", G_CALLBACK(+[](SourceEditorView* self) { self->findFrom(false); }), this);
    m_connections.connectSwapped(m_findEntry, "stop-search", G_CALLBACK(+[](SourceEditorView* self) {
        gtk_search_bar_set_search_mode(self->m_findBar, FALSE);
        gtk_widget_grab_focus(GTK_WIDGET(self->m_sourceView));
    }), this);
    m_connections.connectSwapped(next, "clicked", G_CALLBACK(+[](SourceEditorView* self) { self->findFrom(true); }), this);
    m_connections.connectSwapped(previous, "clicked", G_CALLBACK(+[](SourceEditorView* self) { self->findFrom(false); }), this);
    m_connections.connectSwapped(replace, "clicked", G_CALLBACK(+[](SourceEditorView* self) { self->replaceCurrentMatch(); }), this);
    m_connections.connectSwapped(replaceAll, "clicked", G_CALLBACK(+[](SourceEditorView* self) { self->replaceAllMatches(); }), this);
    return GTK_WIDGET(m_findBar);
}

bool SourceEditorView::isReplaceRowShown() const
{
    return gtk_search_bar_get_search_mode(m_findBar) && gtk_widget_get_visible(m_replaceRow);
}

void SourceEditorView::performFindAction(FindAction action)
{
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(m_buffer.get());
    switch (action) {
    case FindAction::showFindInterface:
    case FindAction::showReplaceInterface:
        gtk_widget_set_visible(m_replaceRow, action == FindAction::showReplaceInterface);
        gtk_search_bar_set_search_mode(m_findBar, TRUE);
        gtk_widget_grab_focus(m_findEntry);
        gtk_editable_select_region(GTK_EDITABLE(m_findEntry), 0, -1);
        break;
    case FindAction::nextMatch:
        findFrom(true);
        break;
    case FindAction::previousMatch:
        findFrom(false);
        break;
    case FindAction::setSearchString: {
        GtkTextIter start;
        GtkTextIter end;
        if (!gtk_text_buffer_get_selection_bounds(buffer, &start, &end))
            break;
        char* selected = gtk_text_buffer_get_text(buffer, &start, &end, TRUE);
        gtk_editable_set_text(GTK_EDITABLE(m_findEntry), selected);
        gtk_source_search_settings_set_search_text(m_searchSettings.get(), selected);
        g_free(selected);
        break;
    }
    }
}

void SourceEditorView::findFrom(bool forward)
{
    const char* text = gtk_editable_get_text(GTK_EDITABLE(m_findEntry));
    if (!*text)
        return;
    gtk_source_search_settings_set_search_text(m_searchSettings.get(), text);
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(m_buffer.get());
    GtkTextIter selectionStart;
    GtkTextIter selectionEnd;
    gtk_text_buffer_get_selection_bounds(buffer, &selectionStart, &selectionEnd);
    GtkTextIter matchStart;
    GtkTextIter matchEnd;
    gboolean wrapped = FALSE;
    gboolean found = forward ? gtk_source_search_context_forward(m_searchContext.get(), &selectionEnd, &matchStart, &matchEnd, &wrapped)
                             : gtk_source_search_context_backward(m_searchContext.get(), &selectionStart, &matchStart, &matchEnd, &wrapped);
    if (!found)
        return;
    gtk_text_buffer_select_range(buffer, &matchStart, &matchEnd);
    scrollCaretIntoView();
}

void SourceEditorView::replaceCurrentMatch()
{
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(m_buffer.get());
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_selection_bounds(buffer, &start, &end);
    const char* replacement = gtk_editable_get_text(GTK_EDITABLE(m_replaceEntry));
    if (gtk_source_search_context_get_occurrence_position(m_searchContext.get(), &start, &end) > 0) {
        gtk_text_buffer_begin_user_action(buffer);
        gtk_source_search_context_replace(m_searchContext.get(), &start, &end, replacement, -1, nullptr);
        gtk_text_buffer_end_user_action(buffer);
    }
    findFrom(true);
}

void SourceEditorView::replaceAllMatches()
{
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(m_buffer.get());
    gtk_text_buffer_begin_user_action(buffer);
    gtk_source_search_context_replace_all(m_searchContext.get(), gtk_editable_get_text(GTK_EDITABLE(m_replaceEntry)), -1, nullptr);
    gtk_text_buffer_end_user_action(buffer);
}

void SourceEditorView::centerSelectionInVisibleArea()
{
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(m_buffer.get());
    gtk_text_view_scroll_to_mark(GTK_TEXT_VIEW(m_sourceView), gtk_text_buffer_get_insert(buffer), 0, TRUE, 0, 0.5);
}

void SourceEditorView::flashFindBar()
{
    // The bar lights up in the accent colour and fades out through the CSS transition.
    GtkWidget* rows = gtk_search_bar_get_child(m_findBar);
    gtk_widget_add_css_class(rows, "quillory-find-flash");
    if (m_flashTimerID)
        g_source_remove(m_flashTimerID);
    m_flashTimerID = g_timeout_add(findBarFlashMilliseconds / 10, +[](gpointer data) -> gboolean {
        auto* self = static_cast<SourceEditorView*>(data);
        self->m_flashTimerID = 0;
        gtk_widget_remove_css_class(gtk_search_bar_get_child(self->m_findBar), "quillory-find-flash");
        return G_SOURCE_REMOVE;
    }, this);
}

}
