#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Support/ViewConnections.h"

#include <adwaita.h>

#include <memory>

namespace Quillory {

class AppSettingsStore;
class EditorPreviewView;
class FetchLiveSiteSheet;
class NewPageSheet;
class FrontendInstallConfirmation;
class SidebarView;
class WorkspacePlaceholderView;
class WorkspaceStore;

// The main window's content: the toolbar above a two-column split of the sidebar (240 to 360
// wide, 280 at first) and the detail, which shows the editor while a site is open and the
// placeholder otherwise.
class ContentView {
public:
    static constexpr int sidebarMinimumWidth = 240;
    static constexpr int sidebarIdealWidth = 280;
    static constexpr int sidebarMaximumWidth = 360;

    ContentView(WorkspaceStore&, AppSettingsStore&);
    ~ContentView();
    ContentView(const ContentView&) = delete;
    ContentView& operator=(const ContentView&) = delete;

    GtkWidget* widget() const { return m_root.get(); }
    SidebarView& sidebar() const { return *m_sidebar; }
    WorkspacePlaceholderView& placeholder() const { return *m_placeholder; }
    EditorPreviewView& editorPreview() const { return *m_editorPreview; }
    GtkPaned* split() const { return m_split; }
    GtkWidget* openSiteButton() const { return m_openSiteButton; }
    GtkWidget* fetchLiveSiteButton() const { return m_fetchLiveSiteButton; }
    // Made on the first click of "Fetch Live Site"; null before.
    FetchLiveSiteSheet* fetchLiveSiteSheet() const { return m_fetchLiveSiteSheet.get(); }
    GtkWidget* refreshPreviewButton() const { return m_refreshPreviewButton; }
    GtkMenuButton* mainMenuButton() const { return m_mainMenuButton; }
    // Both need an open site.
    GtkWidget* newPageButton() const { return m_newPageButton; }
    GtkWidget* refreshGitStatusButton() const { return m_refreshGitStatusButton; }
    // The new page sheet while it is shown, else null.
    NewPageSheet* newPageSheet() const { return m_newPageSheet.get(); }
    GtkSearchEntry* searchEntry() const { return m_searchEntry; }
    // True while a site is open and the detail shows the editor rather than the placeholder.
    bool isShowingWorkspace() const;
    // The install confirmation while the store asks for it, otherwise null.
    FrontendInstallConfirmation* frontendInstallConfirmation() const { return m_frontendInstallConfirmation.get(); }

    // Writes the pending text before the window closes. The first close that fails to write is
    // refused, so the error shows and the text is still in the editor; a second one goes ahead.
    bool shouldClose();
    // Shows the open panel; a chosen folder replaces the workspace.
    void openSite();
    // Shows the "New Page" sheet (once: a second call while it is shown does nothing).
    void showNewPageSheet();

private:
    void showWorkspace();
    void updateToolbar();
    void showFetchLiveSiteSheet();
    void refreshGitStatus();
    void clampSidebarWidth();
    void showFrontendInstallConfirmation();

    WorkspaceStore& m_store;
    GRef<GtkWidget> m_root;
    std::unique_ptr<SidebarView> m_sidebar;
    std::unique_ptr<WorkspacePlaceholderView> m_placeholder;
    std::unique_ptr<EditorPreviewView> m_editorPreview;
    GtkPaned* m_split { nullptr };
    GtkWidget* m_detail { nullptr };
    GtkWidget* m_windowTitle { nullptr };
    GtkWidget* m_openSiteButton { nullptr };
    GtkWidget* m_fetchLiveSiteButton { nullptr };
    std::unique_ptr<FetchLiveSiteSheet> m_fetchLiveSiteSheet;
    GtkWidget* m_refreshPreviewButton { nullptr };
    GtkMenuButton* m_mainMenuButton { nullptr };
    GtkWidget* m_newPageButton { nullptr };
    GtkWidget* m_refreshGitStatusButton { nullptr };
    std::unique_ptr<NewPageSheet> m_newPageSheet;
    GtkSearchEntry* m_searchEntry { nullptr };
    bool m_hasRefusedClose { false };
    std::unique_ptr<FrontendInstallConfirmation> m_frontendInstallConfirmation;
    // Panels answer later; their callbacks check that this view still exists.
    std::shared_ptr<int> m_lifetime { std::make_shared<int>(0) };
    ViewConnections m_connections;
};

}
