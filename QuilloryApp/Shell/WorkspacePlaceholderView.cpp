#include "QuilloryApp/Shell/WorkspacePlaceholderView.h"

#include "QuilloryApp/Shell/IconNames.h"
#include "QuilloryApp/Shell/WorkspacePanels.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"

namespace Quillory {

namespace {

constexpr const char* recentProjectIndexKey = "quillory-recent-project-index";

GtkWidget* makeLabeledButton(const char* systemImageName, const char* label)
{
    GtkWidget* button = gtk_button_new();
    GtkWidget* content = adw_button_content_new();
    adw_button_content_set_icon_name(ADW_BUTTON_CONTENT(content), IconNames::symbolic(systemImageName));
    adw_button_content_set_label(ADW_BUTTON_CONTENT(content), label);
    gtk_button_set_child(GTK_BUTTON(button), content);
    gtk_widget_add_css_class(button, "pill");
    return button;
}

}

WorkspacePlaceholderView::WorkspacePlaceholderView(WorkspaceStore& store)
    : m_store(store)
    , m_root(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(gtk_scrolled_window_new()))))
{
    GtkWidget* root = m_root.get();
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(root), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_widget_set_hexpand(root, TRUE);
    gtk_widget_set_vexpand(root, TRUE);
    gtk_widget_add_css_class(root, "quillory-placeholder");

    GtkWidget* clamp = adw_clamp_new();
    adw_clamp_set_maximum_size(ADW_CLAMP(clamp), 520);
    adw_clamp_set_tightening_threshold(ADW_CLAMP(clamp), 520);
    gtk_widget_set_valign(clamp, GTK_ALIGN_CENTER);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(root), clamp);

    GtkWidget* column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 24);
    gtk_widget_set_margin_start(column, 24);
    gtk_widget_set_margin_end(column, 24);
    gtk_widget_set_margin_top(column, 36);
    gtk_widget_set_margin_bottom(column, 36);
    adw_clamp_set_child(ADW_CLAMP(clamp), column);

    GtkWidget* leaf = gtk_image_new_from_icon_name(IconNames::symbolic("leaf"));
    gtk_image_set_pixel_size(GTK_IMAGE(leaf), 46);
    gtk_widget_add_css_class(leaf, "accent");
    gtk_box_append(GTK_BOX(column), leaf);

    GtkWidget* buttons = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 12);
    gtk_widget_set_halign(buttons, GTK_ALIGN_CENTER);
    m_openExistingButton = makeLabeledButton("folder", "Open Existing");
    gtk_widget_add_css_class(m_openExistingButton, "suggested-action");
    m_createNewSiteButton = makeLabeledButton("folder.badge.plus", "Create New Site");
    gtk_box_append(GTK_BOX(buttons), m_openExistingButton);
    gtk_box_append(GTK_BOX(buttons), m_createNewSiteButton);
    gtk_box_append(GTK_BOX(column), buttons);

    m_recentProjectsSection = gtk_box_new(GTK_ORIENTATION_VERTICAL, 8);
    GtkWidget* heading = gtk_label_new("Recent Projects");
    gtk_label_set_xalign(GTK_LABEL(heading), 0.0f);
    gtk_widget_add_css_class(heading, "heading");
    gtk_box_append(GTK_BOX(m_recentProjectsSection), heading);
    m_recentProjectsList = GTK_LIST_BOX(gtk_list_box_new());
    gtk_list_box_set_selection_mode(m_recentProjectsList, GTK_SELECTION_NONE);
    gtk_widget_add_css_class(GTK_WIDGET(m_recentProjectsList), "boxed-list");
    gtk_box_append(GTK_BOX(m_recentProjectsSection), GTK_WIDGET(m_recentProjectsList));
    gtk_box_append(GTK_BOX(column), m_recentProjectsSection);

    m_errorRow = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
    gtk_widget_add_css_class(m_errorRow, "warning");
    GtkWidget* warningIcon = gtk_image_new_from_icon_name(IconNames::symbolic("exclamationmark.triangle"));
    gtk_widget_set_valign(warningIcon, GTK_ALIGN_START);
    gtk_box_append(GTK_BOX(m_errorRow), warningIcon);
    m_errorLabel = GTK_LABEL(gtk_label_new(nullptr));
    gtk_label_set_wrap(m_errorLabel, TRUE);
    gtk_label_set_wrap_mode(m_errorLabel, PANGO_WRAP_WORD_CHAR);
    gtk_label_set_xalign(m_errorLabel, 0.0f);
    gtk_label_set_selectable(m_errorLabel, TRUE);
    gtk_widget_set_hexpand(GTK_WIDGET(m_errorLabel), TRUE);
    gtk_box_append(GTK_BOX(m_errorRow), GTK_WIDGET(m_errorLabel));
    gtk_box_append(GTK_BOX(column), m_errorRow);

    showRecentProjects();
    showErrorMessage();

    m_connections.observe(store.recentProjects(), [this] { showRecentProjects(); });
    m_connections.observe(store.errorMessage(), [this] { showErrorMessage(); });
    m_connections.connectSwapped(m_openExistingButton, "clicked", G_CALLBACK(+[](WorkspacePlaceholderView* self) { self->openExisting(); }), this);
    m_connections.connectSwapped(m_createNewSiteButton, "clicked", G_CALLBACK(+[](WorkspacePlaceholderView* self) { self->createNewSite(); }), this);
    m_connections.connectSwapped(m_recentProjectsList, "row-activated",
        G_CALLBACK(+[](WorkspacePlaceholderView* self, GtkListBoxRow* row) { self->openRecentProject(row); }), this);
}

WorkspacePlaceholderView::~WorkspacePlaceholderView()
{
    m_connections.disconnectAll();
    if (m_deferredRebuildSource)
        g_source_remove(m_deferredRebuildSource);
}

void WorkspacePlaceholderView::showRecentProjects()
{
    if (m_isActivatingRow) {
        // The activated row must outlive its own signal emission.
        if (!m_deferredRebuildSource) {
            m_deferredRebuildSource = g_idle_add(+[](gpointer data) -> gboolean {
                auto* self = static_cast<WorkspacePlaceholderView*>(data);
                self->m_deferredRebuildSource = 0;
                self->showRecentProjects();
                return G_SOURCE_REMOVE;
            }, this);
        }
        return;
    }
    while (GtkWidget* row = gtk_widget_get_first_child(GTK_WIDGET(m_recentProjectsList)))
        gtk_list_box_remove(m_recentProjectsList, row);
    const auto& projects = m_store.recentProjects().get();
    for (std::size_t index = 0; index < projects.size(); ++index) {
        const auto& project = projects[index];
        GtkWidget* row = adw_action_row_new();
        // Folder names are text, not markup.
        adw_preferences_row_set_use_markup(ADW_PREFERENCES_ROW(row), FALSE);
        adw_preferences_row_set_title(ADW_PREFERENCES_ROW(row), project.name.c_str());
        adw_action_row_set_subtitle(ADW_ACTION_ROW(row), project.path.c_str());
        adw_action_row_set_subtitle_lines(ADW_ACTION_ROW(row), 1);
        adw_action_row_add_prefix(ADW_ACTION_ROW(row), gtk_image_new_from_icon_name(IconNames::symbolic("folder")));
        adw_action_row_add_suffix(ADW_ACTION_ROW(row), gtk_image_new_from_icon_name(IconNames::symbolic("chevron.right")));
        gtk_list_box_row_set_activatable(GTK_LIST_BOX_ROW(row), TRUE);
        gtk_widget_set_tooltip_text(row, project.path.c_str());
        g_object_set_data(G_OBJECT(row), recentProjectIndexKey, GSIZE_TO_POINTER(index));
        gtk_list_box_append(m_recentProjectsList, row);
    }
    gtk_widget_set_visible(m_recentProjectsSection, !projects.empty());
}

void WorkspacePlaceholderView::showErrorMessage()
{
    const auto& message = m_store.errorMessage().get();
    gtk_label_set_text(m_errorLabel, message ? message->c_str() : "");
    gtk_widget_set_visible(m_errorRow, message.has_value());
}

void WorkspacePlaceholderView::openRecentProject(GtkListBoxRow* row)
{
    auto index = GPOINTER_TO_SIZE(g_object_get_data(G_OBJECT(row), recentProjectIndexKey));
    const auto& projects = m_store.recentProjects().get();
    if (index >= projects.size())
        return;
    // A copy: opening the project rewrites the list the entry lives in.
    auto project = projects[index];
    m_isActivatingRow = true;
    m_store.openRecentWorkspace(project);
    m_isActivatingRow = false;
}

GtkWindow* WorkspacePlaceholderView::parentWindow() const
{
    return GTK_IS_WINDOW(gtk_widget_get_root(m_root.get())) ? GTK_WINDOW(gtk_widget_get_root(m_root.get())) : nullptr;
}

void WorkspacePlaceholderView::openExisting()
{
    WorkspacePanels::openWorkspacePanel(parentWindow(), [this, lifetime = std::weak_ptr<int>(m_lifetime)](const std::filesystem::path& folder) {
        if (lifetime.lock())
            m_store.loadWorkspace(folder);
    });
}

void WorkspacePlaceholderView::createNewSite()
{
    WorkspacePanels::createWorkspacePanel(parentWindow(), [this, lifetime = std::weak_ptr<int>(m_lifetime)](const std::filesystem::path& folder) {
        if (lifetime.lock())
            m_store.createStarterWorkspace(folder);
    });
}

}
