#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Shell/SidebarRow.h"
#include "QuilloryApp/Support/ViewConnections.h"
#include "QuilloryCore/SiteModel/EditableDocument.h"
#include "QuilloryCore/SiteModel/SiteGraphModels.h"

#include <adwaita.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Quillory {

class AppSettingsStore;
class SiteIdentityHeader;
class WorkspaceStore;

// The sidebar: the site's identity, its pages as an outline with the "Unplaced" and "Source"
// sections, or the flat search result, and the version badge. The list's selection is the
// store's: a click asks WorkspaceStore::requestSelectDocument, and when the store refuses, the
// highlight returns to the row of selectedPageID.
class SidebarView {
public:
    SidebarView(WorkspaceStore&, AppSettingsStore&);
    ~SidebarView();
    SidebarView(const SidebarView&) = delete;
    SidebarView& operator=(const SidebarView&) = delete;

    GtkWidget* widget() const { return m_root.get(); }
    SiteIdentityHeader& identityHeader() const { return *m_identityHeader; }
    GtkListView* listView() const { return m_listView; }
    // The list's selection model; its items are GtkTreeListRows over QuillorySidebarRowObjects.
    GtkSingleSelection* selection() const { return m_selection.get(); }
    // The scrolled surface behind the list, which carries the sidebar opacity.
    GtkWidget* listSurface() const { return m_listSurface; }
    // "No Site Open", shown instead of the list while no site is open.
    GtkWidget* emptyState() const { return m_emptyState; }
    GtkWidget* versionBadge() const { return m_versionBadge; }

    const std::string& searchText() const { return m_searchText; }
    void setSearchText(std::string);

    // The rows the list holds now, children of expanded rows included, in display order.
    std::vector<SidebarRow> displayedRows() const;
    // The document of the highlighted row, if one is highlighted.
    std::optional<std::string> highlightedDocumentID() const;
    // The opacity the list surface is drawn with.
    double appliedSurfaceOpacity() const { return m_appliedSurfaceOpacity; }

    // The documents the flat list shows: all of them for a search text that trims to nothing,
    // else those whose title or relative path contains the trimmed text, in stored order.
    static std::vector<EditableDocument> filteredDocuments(const std::vector<EditableDocument>&, std::string_view searchText);
    // The top-level rows for a site: without a search, the page tree's root, then the
    // "Unplaced" and "Source" sections when they have entries; with one, the flat result.
    static std::vector<SidebarRow> listRows(const SiteMap&, const std::vector<EditableDocument>&, std::string_view searchText);

private:
    enum class ExpandAncestors {
        no,
        yes,
    };

    void rebuildList();
    void showStoreSelection(ExpandAncestors);
    void selectionDidChange();
    void listItemsDidChange();
    void applySurfaceOpacity();
    void showVersionBadge();

    WorkspaceStore& m_store;
    AppSettingsStore& m_settings;
    std::string m_searchText;
    GRef<GtkWidget> m_root;
    std::unique_ptr<SiteIdentityHeader> m_identityHeader;
    GtkWidget* m_contentStack { nullptr };
    GtkWidget* m_emptyState { nullptr };
    GtkWidget* m_listSurface { nullptr };
    GtkListView* m_listView { nullptr };
    GRef<GtkSingleSelection> m_selection;
    GtkWidget* m_versionBadge { nullptr };
    GRef<GtkCssProvider> m_surfaceProvider;
    double m_appliedSurfaceOpacity { 1.0 };
    // Raised while the view itself moves the highlight or replaces the list, so that this is
    // not taken for the user's choice.
    bool m_isShowingStoreSelection { false };
    ViewConnections m_connections;
};

}
