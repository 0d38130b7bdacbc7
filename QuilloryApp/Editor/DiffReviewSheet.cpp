#include "QuilloryApp/Editor/DiffReviewSheet.h"

#include "QuilloryCore/Text/UnicodeText.h"

namespace Quillory {

DiffReviewSheet::DiffReviewSheet(GtkWindow* parent, const std::string& documentPath, const std::u16string& diffText,
                                 std::function<void()> revertAction, std::function<void()> onClose)
    : m_revertAction(std::move(revertAction))
    , m_onClose(std::move(onClose))
    , m_window(GRef<GtkWidget>::retain(adw_window_new()))
{
    GtkWindow* window = GTK_WINDOW(m_window.get());
    gtk_window_set_title(window, "Review Diff");
    gtk_window_set_modal(window, TRUE);
    if (parent)
        gtk_window_set_transient_for(window, parent);
    gtk_window_set_default_size(window, defaultWidth, defaultHeight);

    GtkWidget* content = gtk_box_new(GTK_ORIENTATION_VERTICAL, 10);
    gtk_widget_set_margin_start(content, 16);
    gtk_widget_set_margin_end(content, 16);
    gtk_widget_set_margin_top(content, 16);
    gtk_widget_set_margin_bottom(content, 16);

    m_headingLabel = GTK_LABEL(gtk_label_new("Review Diff"));
    gtk_label_set_xalign(m_headingLabel, 0);
    gtk_widget_add_css_class(GTK_WIDGET(m_headingLabel), "title-3");
    gtk_box_append(GTK_BOX(content), GTK_WIDGET(m_headingLabel));
    m_pathLabel = GTK_LABEL(gtk_label_new(documentPath.c_str()));
    gtk_label_set_xalign(m_pathLabel, 0);
    gtk_label_set_ellipsize(m_pathLabel, PANGO_ELLIPSIZE_MIDDLE);
    gtk_widget_add_css_class(GTK_WIDGET(m_pathLabel), "dim-label");
    gtk_box_append(GTK_BOX(content), GTK_WIDGET(m_pathLabel));

    // A read-only text view: the diff can be selected and copied, and long files scroll.
    m_diffView = GTK_TEXT_VIEW(gtk_text_view_new());
    gtk_text_view_set_editable(m_diffView, FALSE);
    gtk_text_view_set_cursor_visible(m_diffView, FALSE);
    gtk_text_view_set_monospace(m_diffView, TRUE);
    gtk_text_view_set_wrap_mode(m_diffView, GTK_WRAP_NONE);
    gtk_text_view_set_left_margin(m_diffView, 8);
    gtk_text_view_set_right_margin(m_diffView, 8);
    gtk_text_view_set_top_margin(m_diffView, 8);
    gtk_text_view_set_bottom_margin(m_diffView, 8);
    std::string utf8 = UnicodeText::utf8FromUTF16(diffText);
    gtk_text_buffer_set_text(gtk_text_view_get_buffer(m_diffView), utf8.c_str(), static_cast<int>(utf8.size()));
    GtkWidget* scroller = gtk_scrolled_window_new();
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller), GTK_WIDGET(m_diffView));
    gtk_scrolled_window_set_has_frame(GTK_SCROLLED_WINDOW(scroller), TRUE);
    gtk_widget_set_vexpand(scroller, TRUE);
    gtk_box_append(GTK_BOX(content), scroller);

    GtkWidget* buttons = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
    gtk_widget_set_halign(buttons, GTK_ALIGN_END);
    m_revertButton = GTK_BUTTON(gtk_button_new_with_label("Revert Page"));
    gtk_widget_add_css_class(GTK_WIDGET(m_revertButton), "destructive-action");
    gtk_box_append(GTK_BOX(buttons), GTK_WIDGET(m_revertButton));
    m_closeButton = GTK_BUTTON(gtk_button_new_with_label("Close"));
    gtk_box_append(GTK_BOX(buttons), GTK_WIDGET(m_closeButton));
    gtk_box_append(GTK_BOX(content), buttons);
    adw_window_set_content(ADW_WINDOW(window), content);

    GtkEventController* shortcuts = gtk_shortcut_controller_new();
    gtk_shortcut_controller_add_shortcut(GTK_SHORTCUT_CONTROLLER(shortcuts),
                                         gtk_shortcut_new(gtk_keyval_trigger_new(GDK_KEY_Escape, GdkModifierType(0)), gtk_named_action_new("window.close")));
    gtk_widget_add_controller(m_window.get(), shortcuts);

    m_connections.connectSwapped(m_revertButton, "clicked", G_CALLBACK(+[](DiffReviewSheet* self) { self->revert(); }), this);
    m_connections.connectSwapped(m_closeButton, "clicked", G_CALLBACK(+[](DiffReviewSheet* self) { self->close(); }), this);
    m_connections.connectSwapped(window, "close-request", G_CALLBACK(+[](DiffReviewSheet* self) -> gboolean {
        self->close();
        return TRUE;
    }), this);
    // The focus starts on "Close", away from the destructive button.
    gtk_window_set_focus(window, GTK_WIDGET(m_closeButton));
    gtk_window_present(window);
}

DiffReviewSheet::~DiffReviewSheet()
{
    m_connections.disconnectAll();
    gtk_window_destroy(GTK_WINDOW(m_window.get()));
}

std::string DiffReviewSheet::shownDiffText() const
{
    GtkTextBuffer* buffer = gtk_text_view_get_buffer(m_diffView);
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_bounds(buffer, &start, &end);
    char* text = gtk_text_buffer_get_text(buffer, &start, &end, TRUE);
    std::string result(text);
    g_free(text);
    return result;
}

void DiffReviewSheet::revert()
{
    if (m_isClosing)
        return;
    auto revertAction = m_revertAction;
    if (revertAction)
        revertAction();
    close();
}

void DiffReviewSheet::close()
{
    if (m_isClosing)
        return;
    m_isClosing = true;
    gtk_widget_set_visible(m_window.get(), FALSE);
    // The owner destroys this sheet; keep the callback alive while it runs.
    auto onClose = m_onClose;
    if (onClose)
        onClose();
}

}
