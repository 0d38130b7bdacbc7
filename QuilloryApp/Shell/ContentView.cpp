#include "QuilloryApp/Shell/ContentView.h"

#include "QuilloryApp/LiveFetch/FetchLiveSiteSheet.h"
#include "QuilloryApp/Creation/NewPageSheet.h"
#include "QuilloryApp/Frontend/FrontendInstallConfirmation.h"
#include "QuilloryApp/Editor/SourceEditorView.h"
#include "QuilloryApp/Shell/EditorPreviewView.h"
#include "QuilloryApp/Shell/IconNames.h"
#include "QuilloryApp/Shell/MainMenu.h"
#include "QuilloryApp/Shell/SidebarView.h"
#include "QuilloryApp/Shell/WorkspacePanels.h"
#include "QuilloryApp/Shell/WorkspacePlaceholderView.h"
#include "QuilloryApp/Workspace/AppSettingsStore.h"
#include "QuilloryApp/Workspace/WorkspaceStore.h"

#include <algorithm>

namespace Quillory {

namespace {

constexpr const char* workspacePageName = "workspace";
constexpr const char* placeholderPageName = "placeholder";

GtkWidget* makeToolbarButton(const char* systemImageName, const char* label)
{
    GtkWidget* button = gtk_button_new_from_icon_name(IconNames::symbolic(systemImageName));
    gtk_widget_set_tooltip_text(button, label);
    gtk_accessible_update_property(GTK_ACCESSIBLE(button), GTK_ACCESSIBLE_PROPERTY_LABEL, label, -1);
    return button;
}

}

ContentView::ContentView(WorkspaceStore& store, AppSettingsStore& settings)
    : m_store(store)
    , m_root(GRef<GtkWidget>::adopt(GTK_WIDGET(g_object_ref_sink(gtk_box_new(GTK_ORIENTATION_VERTICAL, 0)))))
    , m_sidebar(std::make_unique<SidebarView>(store, settings))
    , m_placeholder(std::make_unique<WorkspacePlaceholderView>(store))
    , m_editorPreview(std::make_unique<EditorPreviewView>(store))
{
    GtkWidget* root = m_root.get();
    // "Confirm large editor changes" decides whether the editor asks before a large replacement.
    m_editorPreview->sourceEditor().setConfirmLargeEdits(settings.confirmLargeEdits().get());
    m_connections.observe(settings.confirmLargeEdits(), [this, &settings] {
        m_editorPreview->sourceEditor().setConfirmLargeEdits(settings.confirmLargeEdits().get());
    });

    GtkWidget* headerBar = adw_header_bar_new();
    m_windowTitle = adw_window_title_new("Quillory", nullptr);
    adw_header_bar_set_title_widget(ADW_HEADER_BAR(headerBar), m_windowTitle);
    m_openSiteButton = makeToolbarButton("folder", "Open Site");
    adw_header_bar_pack_start(ADW_HEADER_BAR(headerBar), m_openSiteButton);
    m_fetchLiveSiteButton = makeToolbarButton("arrow.down.doc", "Fetch Live Site");
    adw_header_bar_pack_start(ADW_HEADER_BAR(headerBar), m_fetchLiveSiteButton);
    m_newPageButton = makeToolbarButton("doc.badge.plus", "New Page");
    adw_header_bar_pack_start(ADW_HEADER_BAR(headerBar), m_newPageButton);
    m_searchEntry = GTK_SEARCH_ENTRY(gtk_search_entry_new());
    g_object_set(m_searchEntry, "placeholder-text", "Find pages", nullptr);
    gtk_widget_set_size_request(GTK_WIDGET(m_searchEntry), 220, -1);
    adw_header_bar_pack_start(ADW_HEADER_BAR(headerBar), GTK_WIDGET(m_searchEntry));
    m_mainMenuButton = GTK_MENU_BUTTON(gtk_menu_button_new());
    gtk_menu_button_set_icon_name(m_mainMenuButton, IconNames::symbolic("line.3.horizontal"));
    gtk_menu_button_set_menu_model(m_mainMenuButton, G_MENU_MODEL(MainMenu::make().get()));
    gtk_widget_set_tooltip_text(GTK_WIDGET(m_mainMenuButton), "Main Menu");
    gtk_menu_button_set_primary(m_mainMenuButton, TRUE);
    adw_header_bar_pack_end(ADW_HEADER_BAR(headerBar), GTK_WIDGET(m_mainMenuButton));
    // Packed from the trailing edge: "Refresh Preview" stands before "Refresh Git Status".
    m_refreshGitStatusButton = makeToolbarButton("arrow.triangle.2.circlepath", "Refresh Git Status");
    adw_header_bar_pack_end(ADW_HEADER_BAR(headerBar), m_refreshGitStatusButton);
    m_refreshPreviewButton = makeToolbarButton("arrow.clockwise", "Refresh Preview");
    adw_header_bar_pack_end(ADW_HEADER_BAR(headerBar), m_refreshPreviewButton);
    gtk_box_append(GTK_BOX(root), headerBar);

    m_split = GTK_PANED(gtk_paned_new(GTK_ORIENTATION_HORIZONTAL));
    gtk_widget_set_vexpand(GTK_WIDGET(m_split), TRUE);
    GtkWidget* sidebar = m_sidebar->widget();
    gtk_widget_set_size_request(sidebar, sidebarMinimumWidth, -1);
    gtk_paned_set_start_child(m_split, sidebar);
    gtk_paned_set_resize_start_child(m_split, FALSE);
    gtk_paned_set_shrink_start_child(m_split, FALSE);

    m_detail = gtk_stack_new();
    gtk_stack_add_named(GTK_STACK(m_detail), m_editorPreview->widget(), workspacePageName);
    gtk_stack_add_named(GTK_STACK(m_detail), m_placeholder->widget(), placeholderPageName);
    gtk_paned_set_end_child(m_split, m_detail);
    gtk_paned_set_resize_end_child(m_split, TRUE);
    gtk_paned_set_shrink_end_child(m_split, FALSE);
    gtk_paned_set_position(m_split, sidebarIdealWidth);
    gtk_box_append(GTK_BOX(root), GTK_WIDGET(m_split));

    showWorkspace();
    updateToolbar();

    m_connections.observe(store.siteMap(), [this] {
        showWorkspace();
        updateToolbar();
    });
    m_connections.observe(store.selectedPageID(), [this] { updateToolbar(); });
    m_connections.observe(store.rootURL(), [this] { updateToolbar(); });
    m_connections.observe(store.editableDocuments(), [this] { updateToolbar(); });
    m_connections.observe(store.liveFetchIsLoading(), [this] { updateToolbar(); });
    m_connections.connectSwapped(m_fetchLiveSiteButton, "clicked", G_CALLBACK(+[](ContentView* self) { self->showFetchLiveSiteSheet(); }), this);
    m_connections.observe(store.frontendPreviewStore().isShowingInstallConfirmation(), [this] { showFrontendInstallConfirmation(); });
    m_connections.connectSwapped(m_openSiteButton, "clicked", G_CALLBACK(+[](ContentView* self) { self->openSite(); }), this);
    m_connections.connectSwapped(m_refreshPreviewButton, "clicked", G_CALLBACK(+[](ContentView* self) { self->m_store.refreshPreview(); }), this);
    m_connections.connectSwapped(m_newPageButton, "clicked", G_CALLBACK(+[](ContentView* self) { self->showNewPageSheet(); }), this);
    m_connections.connectSwapped(m_refreshGitStatusButton, "clicked", G_CALLBACK(+[](ContentView* self) { self->refreshGitStatus(); }), this);
    m_connections.connectSwapped(m_searchEntry, "search-changed", G_CALLBACK(+[](ContentView* self) {
        self->m_sidebar->setSearchText(gtk_editable_get_text(GTK_EDITABLE(self->m_searchEntry)));
    }), this);
    m_connections.connectSwapped(m_split, "notify::position", G_CALLBACK(+[](ContentView* self) { self->clampSidebarWidth(); }), this);
}

ContentView::~ContentView()
{
    m_connections.disconnectAll();
    m_frontendInstallConfirmation.reset();
}

bool ContentView::isShowingWorkspace() const
{
    return gtk_stack_get_visible_child(GTK_STACK(m_detail)) == m_editorPreview->widget();
}

bool ContentView::shouldClose()
{
    if (m_store.autosaveCurrentPageIfNeeded() || m_hasRefusedClose)
        return true;
    m_hasRefusedClose = true;
    return false;
}

void ContentView::showWorkspace()
{
    bool isOpen = m_store.siteMap().get().has_value();
    gtk_stack_set_visible_child_name(GTK_STACK(m_detail), isOpen ? workspacePageName : placeholderPageName);
}

void ContentView::updateToolbar()
{
    gtk_widget_set_sensitive(m_refreshPreviewButton, m_store.selectedPage().has_value());
    gtk_widget_set_sensitive(m_fetchLiveSiteButton, !m_store.liveFetchIsLoading().get());
    bool hasRoot = m_store.rootURL().get().has_value();
    gtk_widget_set_sensitive(m_newPageButton, hasRoot);
    gtk_widget_set_sensitive(m_refreshGitStatusButton, hasRoot);
    auto document = m_store.selectedDocument();
    adw_window_title_set_subtitle(ADW_WINDOW_TITLE(m_windowTitle), document ? document->relativePath.c_str() : "");
}

void ContentView::openSite()
{
    GtkRoot* window = gtk_widget_get_root(m_root.get());
    WorkspacePanels::openWorkspacePanel(GTK_IS_WINDOW(window) ? GTK_WINDOW(window) : nullptr,
        [this, lifetime = std::weak_ptr<int>(m_lifetime)](const std::filesystem::path& folder) {
            if (lifetime.lock())
                m_store.loadWorkspace(folder);
        });
}

void ContentView::showFetchLiveSiteSheet()
{
    if (!m_fetchLiveSiteSheet) {
        GtkRoot* window = gtk_widget_get_root(m_root.get());
        m_fetchLiveSiteSheet = std::make_unique<FetchLiveSiteSheet>(m_store, GTK_IS_WINDOW(window) ? GTK_WINDOW(window) : nullptr);
    }
    m_fetchLiveSiteSheet->present();
}

void ContentView::showNewPageSheet()
{
    if (m_newPageSheet)
        return;
    GtkRoot* window = gtk_widget_get_root(m_root.get());
    m_newPageSheet = std::make_unique<NewPageSheet>(m_store, GTK_IS_WINDOW(window) ? GTK_WINDOW(window) : nullptr, [this] { m_newPageSheet.reset(); });
}

void ContentView::refreshGitStatus()
{
    m_store.refreshSelectedPageGitSnapshot();
    m_store.startGitStatusRefresh(std::nullopt, GitRefreshDisplay::markLoading);
}

void ContentView::clampSidebarWidth()
{
    int position = gtk_paned_get_position(m_split);
    int clamped = std::clamp(position, sidebarMinimumWidth, sidebarMaximumWidth);
    if (clamped != position)
        gtk_paned_set_position(m_split, clamped);
}

void ContentView::showFrontendInstallConfirmation()
{
    if (!m_store.isShowingFrontendInstallConfirmation()) {
        m_frontendInstallConfirmation.reset();
        return;
    }
    if (m_frontendInstallConfirmation)
        return;
    GtkRoot* window = gtk_widget_get_root(m_root.get());
    m_frontendInstallConfirmation = std::make_unique<FrontendInstallConfirmation>(
        GTK_IS_WINDOW(window) ? GTK_WINDOW(window) : nullptr, m_store.frontendInstallCommandDescription(),
        [this, lifetime = std::weak_ptr<int>(m_lifetime)](bool confirmed) {
            // The dialog goes down with the flag; the install starts afterwards, from the main loop.
            m_store.setShowingFrontendInstallConfirmation(false);
            if (!confirmed)
                return;
            g_idle_add_once(+[](gpointer data) {
                std::unique_ptr<std::function<void()>> install(static_cast<std::function<void()>*>(data));
                (*install)();
            }, new std::function<void()>([this, lifetime] {
                if (lifetime.lock())
                    m_store.installFrontendDependencies();
            }));
        });
}

}
