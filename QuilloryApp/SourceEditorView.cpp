#include "QuilloryApp/SourceEditorView.h"

#include "QuilloryCore/UnicodeText.h"

#include <adwaita.h>

#include <algorithm>
#include <utility>

namespace Quillory {

namespace {

// Shown in place of each NUL character, which a GTK text buffer cannot hold.
constexpr char16_t nulSubstitute = u'\u2400';

}

SourceEditorView::SourceEditorView(const ObservableProperty<std::u16string>& text, std::function<void(std::u16string)> onUserEdit)
    : m_text(text)
    , m_onUserEdit(std::move(onUserEdit))
    , m_scrolledWindow(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(gtk_scrolled_window_new()))))
    , m_buffer(GRef<GtkSourceBuffer>::adopt(gtk_source_buffer_new(nullptr)))
{
    // Colouring comes from Quillory's own analysis, never from a GtkSourceView language.
    gtk_source_buffer_set_highlight_syntax(m_buffer.get(), FALSE);
    gtk_source_buffer_set_highlight_matching_brackets(m_buffer.get(), FALSE);

    m_sourceView = GTK_SOURCE_VIEW(gtk_source_view_new_with_buffer(m_buffer.get()));
    GtkTextView* textView = GTK_TEXT_VIEW(m_sourceView);
    gtk_text_view_set_monospace(textView, TRUE);
    gtk_text_view_set_left_margin(textView, 8);
    gtk_text_view_set_top_margin(textView, 8);
    gtk_text_view_set_bottom_margin(textView, 8);
    gtk_source_view_set_show_line_numbers(m_sourceView, TRUE);
    gtk_source_view_set_tab_width(m_sourceView, 4);
    gtk_widget_set_hexpand(GTK_WIDGET(m_sourceView), TRUE);
    gtk_widget_set_vexpand(GTK_WIDGET(m_sourceView), TRUE);

    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(m_scrolledWindow.get()), GTK_WIDGET(m_sourceView));
    gtk_widget_set_hexpand(m_scrolledWindow.get(), TRUE);
    gtk_widget_set_vexpand(m_scrolledWindow.get(), TRUE);

    applyStyleScheme();
    showBoundText();

    m_connections.observe(m_text, [this] { showBoundText(); });
    m_connections.connectSwapped(m_buffer.get(), "changed", G_CALLBACK(+[](SourceEditorView* self) { self->bufferDidChange(); }), this);
    m_connections.connectSwapped(adw_style_manager_get_default(), "notify::dark", G_CALLBACK(+[](SourceEditorView* self) { self->applyStyleScheme(); }), this);
}

SourceEditorView::~SourceEditorView()
{
    m_connections.disconnectAll();
}

std::u16string SourceEditorView::bufferText() const
{
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_bounds(GTK_TEXT_BUFFER(m_buffer.get()), &start, &end);
    char* utf8 = gtk_text_buffer_get_text(GTK_TEXT_BUFFER(m_buffer.get()), &start, &end, TRUE);
    // A text buffer only ever holds valid UTF-8.
    auto text = UnicodeText::utf16FromUTF8(utf8);
    g_free(utf8);
    return text ? std::move(*text) : std::u16string();
}

void SourceEditorView::showBoundText()
{
    if (m_isSynchronizing)
        return;
    std::u16string shown = m_text.get();
    bool hasNul = shown.find(u'\0') != std::u16string::npos;
    if (hasNul)
        std::replace(shown.begin(), shown.end(), u'\0', nulSubstitute);
    if (!hasNul && !m_isShowingUneditableText && shown == bufferText())
        return;

    auto utf8 = UnicodeText::utf8FromUTF16(shown);
    GtkTextBuffer* buffer = GTK_TEXT_BUFFER(m_buffer.get());
    m_isSynchronizing = true;
    // A text loaded by the store is no step the user can undo in the editor.
    gtk_text_buffer_begin_irreversible_action(buffer);
    gtk_text_buffer_set_text(buffer, utf8.data(), static_cast<int>(utf8.size()));
    gtk_text_buffer_end_irreversible_action(buffer);
    GtkTextIter start;
    gtk_text_buffer_get_start_iter(buffer, &start);
    gtk_text_buffer_place_cursor(buffer, &start);
    m_isSynchronizing = false;

    m_isShowingUneditableText = hasNul;
    gtk_text_view_set_editable(GTK_TEXT_VIEW(m_sourceView), !hasNul);
}

void SourceEditorView::bufferDidChange()
{
    if (m_isSynchronizing)
        return;
    m_isSynchronizing = true;
    m_onUserEdit(bufferText());
    m_isSynchronizing = false;
}

void SourceEditorView::applyStyleScheme()
{
    bool isDark = adw_style_manager_get_dark(adw_style_manager_get_default());
    GtkSourceStyleSchemeManager* schemes = gtk_source_style_scheme_manager_get_default();
    if (GtkSourceStyleScheme* scheme = gtk_source_style_scheme_manager_get_scheme(schemes, isDark ? "Adwaita-dark" : "Adwaita"))
        gtk_source_buffer_set_style_scheme(m_buffer.get(), scheme);
}

}
