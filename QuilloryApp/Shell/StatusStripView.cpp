#include "QuilloryApp/Shell/StatusStripView.h"

#include "QuilloryApp/Shell/IconNames.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"

namespace Quillory {

StatusStripView::StatusStripView(WorkspaceStore& store)
    : m_store(store)
    , m_root(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 14)))))
{
    GtkWidget* root = m_root.get();
    gtk_widget_add_css_class(root, "quillory-status-strip");
    gtk_widget_set_margin_start(root, 12);
    gtk_widget_set_margin_end(root, 12);
    gtk_widget_set_margin_top(root, 8);
    gtk_widget_set_margin_bottom(root, 12);
    gtk_widget_set_valign(root, GTK_ALIGN_CENTER);

    GtkWidget* space = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
    gtk_widget_set_hexpand(space, TRUE);
    gtk_box_append(GTK_BOX(root), space);

    m_errorRow = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
    gtk_widget_add_css_class(m_errorRow, "warning");
    gtk_widget_add_css_class(m_errorRow, "caption");
    gtk_box_append(GTK_BOX(m_errorRow), gtk_image_new_from_icon_name(IconNames::symbolic("exclamationmark.triangle")));
    m_errorLabel = GTK_LABEL(gtk_label_new(nullptr));
    gtk_label_set_single_line_mode(m_errorLabel, TRUE);
    gtk_label_set_ellipsize(m_errorLabel, PANGO_ELLIPSIZE_END);
    gtk_box_append(GTK_BOX(m_errorRow), GTK_WIDGET(m_errorLabel));
    gtk_box_append(GTK_BOX(root), m_errorRow);

    showErrorMessage();
    m_connections.observe(store.errorMessage(), [this] { showErrorMessage(); });
}

StatusStripView::~StatusStripView()
{
    m_connections.disconnectAll();
}

void StatusStripView::showErrorMessage()
{
    const auto& message = m_store.errorMessage().get();
    gtk_label_set_text(m_errorLabel, message ? message->c_str() : "");
    gtk_widget_set_tooltip_text(GTK_WIDGET(m_errorLabel), message ? message->c_str() : nullptr);
    gtk_widget_set_visible(m_errorRow, message.has_value());
}

}
