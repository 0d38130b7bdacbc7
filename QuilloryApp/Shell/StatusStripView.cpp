#include "QuilloryApp/Shell/StatusStripView.h"

#include "QuilloryApp/Git/GitDetailsSheet.h"
#include "QuilloryApp/Git/GitStateAppearance.h"
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

    m_gitButton = gtk_button_new();
    gtk_widget_add_css_class(m_gitButton, "flat");
    gtk_widget_set_tooltip_text(m_gitButton, "Show Git details for the selected file");
    GtkWidget* gitLabel = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 14);
    m_gitTitleRow = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
    m_gitSymbol = GTK_IMAGE(gtk_image_new());
    gtk_box_append(GTK_BOX(m_gitTitleRow), GTK_WIDGET(m_gitSymbol));
    m_gitTitleLabel = GTK_LABEL(gtk_label_new(nullptr));
    gtk_box_append(GTK_BOX(m_gitTitleRow), GTK_WIDGET(m_gitTitleLabel));
    gtk_box_append(GTK_BOX(gitLabel), m_gitTitleRow);
    m_gitDetailLabel = GTK_LABEL(gtk_label_new(nullptr));
    gtk_label_set_xalign(m_gitDetailLabel, 0);
    gtk_widget_add_css_class(GTK_WIDGET(m_gitDetailLabel), "caption");
    gtk_widget_add_css_class(GTK_WIDGET(m_gitDetailLabel), "dim-label");
    gtk_box_append(GTK_BOX(gitLabel), GTK_WIDGET(m_gitDetailLabel));
    gtk_button_set_child(GTK_BUTTON(m_gitButton), gitLabel);
    gtk_box_append(GTK_BOX(root), m_gitButton);

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

    showGitStatus();
    showErrorMessage();
    m_connections.observe(store.gitStatus(), [this] { showGitStatus(); });
    m_connections.observe(store.errorMessage(), [this] { showErrorMessage(); });
    m_connections.connectSwapped(m_gitButton, "clicked", G_CALLBACK(+[](StatusStripView* self) { self->showGitDetails(); }), this);
}

StatusStripView::~StatusStripView()
{
    m_connections.disconnectAll();
}

void StatusStripView::showGitStatus()
{
    const auto& status = m_store.gitStatus().get();
    gtk_image_set_from_icon_name(m_gitSymbol, IconNames::symbolic(GitStateAppearance::symbol(status.state)));
    gtk_label_set_text(m_gitTitleLabel, status.title().c_str());
    gtk_label_set_text(m_gitDetailLabel, status.detail().c_str());
    GitStateAppearance::applyColour(m_gitTitleRow, GitStateAppearance::colour(status.state));
}

void StatusStripView::showErrorMessage()
{
    const auto& message = m_store.errorMessage().get();
    gtk_label_set_text(m_errorLabel, message ? message->c_str() : "");
    gtk_widget_set_tooltip_text(GTK_WIDGET(m_errorLabel), message ? message->c_str() : nullptr);
    gtk_widget_set_visible(m_errorRow, message.has_value());
}

void StatusStripView::showGitDetails()
{
    // The snapshot is refreshed on opening, so the sheet doesn't start from a stale one.
    m_store.refreshSelectedPageGitSnapshot();
    if (m_gitDetailsSheet)
        return;
    GtkRoot* root = gtk_widget_get_root(m_root.get());
    m_gitDetailsSheet = std::make_unique<GitDetailsSheet>(m_store, GTK_IS_WINDOW(root) ? GTK_WINDOW(root) : nullptr, [this] { m_gitDetailsSheet.reset(); });
}

}
