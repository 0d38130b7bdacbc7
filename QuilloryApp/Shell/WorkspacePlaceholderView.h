#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Support/ViewConnections.h"

#include <adwaita.h>

#include <memory>

namespace Quillory {

class WorkspaceStore;

// What the detail shows with no document open: the leaf, "Open Existing" and "Create New Site",
// the recent projects, and the store's error. A centred column at most 520 wide.
class WorkspacePlaceholderView {
public:
    explicit WorkspacePlaceholderView(WorkspaceStore&);
    ~WorkspacePlaceholderView();
    WorkspacePlaceholderView(const WorkspacePlaceholderView&) = delete;
    WorkspacePlaceholderView& operator=(const WorkspacePlaceholderView&) = delete;

    GtkWidget* widget() const { return m_root.get(); }
    GtkWidget* openExistingButton() const { return m_openExistingButton; }
    GtkWidget* createNewSiteButton() const { return m_createNewSiteButton; }
    // The "Recent Projects" heading and list, shown only while the store lists recent projects.
    GtkWidget* recentProjectsSection() const { return m_recentProjectsSection; }
    // One activatable row per recent project, in the store's order.
    GtkListBox* recentProjectsList() const { return m_recentProjectsList; }
    // The warning icon and message, shown only while the store has an error message.
    GtkWidget* errorRow() const { return m_errorRow; }
    GtkLabel* errorLabel() const { return m_errorLabel; }

private:
    void showRecentProjects();
    void showErrorMessage();
    void openRecentProject(GtkListBoxRow*);
    void openExisting();
    void createNewSite();
    GtkWindow* parentWindow() const;

    WorkspaceStore& m_store;
    GRef<GtkWidget> m_root;
    GtkWidget* m_openExistingButton { nullptr };
    GtkWidget* m_createNewSiteButton { nullptr };
    GtkWidget* m_recentProjectsSection { nullptr };
    GtkListBox* m_recentProjectsList { nullptr };
    GtkWidget* m_errorRow { nullptr };
    GtkLabel* m_errorLabel { nullptr };
    // Rows are not replaced while one of them is being activated; the rebuild waits for an idle.
    bool m_isActivatingRow { false };
    guint m_deferredRebuildSource { 0 };
    // Panels answer later; their callbacks check that this view still exists.
    std::shared_ptr<int> m_lifetime { std::make_shared<int>(0) };
    ViewConnections m_connections;
};

}
