#include "QuilloryApp/Brightloop/BrightloopPreviewContainerView.h"

namespace Quillory {

BrightloopPreviewContainerView::BrightloopPreviewContainerView(GtkWidget* webView)
    : m_widget(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(gtk_overlay_new()))))
    , m_webView(webView)
{
    gtk_widget_set_hexpand(m_widget.get(), TRUE);
    gtk_widget_set_vexpand(m_widget.get(), TRUE);
    gtk_overlay_set_child(GTK_OVERLAY(m_widget.get()), webView);
    // An overlay child fills the container unless its alignment says otherwise.
    gtk_widget_set_halign(m_overlay.widget(), GTK_ALIGN_FILL);
    gtk_widget_set_valign(m_overlay.widget(), GTK_ALIGN_FILL);
    gtk_overlay_add_overlay(GTK_OVERLAY(m_widget.get()), m_overlay.widget());
    gtk_widget_set_visible(m_overlay.widget(), FALSE);
}

}
