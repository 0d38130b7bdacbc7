#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Support/ViewConnections.h"

#include <gtk/gtk.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

namespace Quillory {

class WorkspaceStore;

// The top of the sidebar: the open folder's name and the counts of its pages and sources.
class SiteIdentityHeader {
public:
    explicit SiteIdentityHeader(WorkspaceStore&);
    ~SiteIdentityHeader();
    SiteIdentityHeader(const SiteIdentityHeader&) = delete;
    SiteIdentityHeader& operator=(const SiteIdentityHeader&) = delete;

    GtkWidget* widget() const { return m_root.get(); }
    GtkLabel* nameLabel() const { return m_nameLabel; }
    GtkLabel* pageCountLabel() const { return m_pageCountLabel; }
    // The source count with its icon, shown only while the workspace has at least one source.
    GtkWidget* sourceCount() const { return m_sourceCount; }
    GtkLabel* sourceCountLabel() const { return m_sourceCountLabel; }

    // The folder's last path component, or "No Site".
    static std::string siteName(const std::optional<std::filesystem::path>& rootURL);
    // "1 page", "0 pages", "2 pages".
    static std::string pageCountText(std::size_t pageCount);
    // "1 source", "3 source": the word takes no plural.
    static std::string sourceCountText(std::size_t sourceCount);

private:
    void showIdentity();

    WorkspaceStore& m_store;
    GRef<GtkWidget> m_root;
    GtkLabel* m_nameLabel { nullptr };
    GtkLabel* m_pageCountLabel { nullptr };
    GtkWidget* m_sourceCount { nullptr };
    GtkLabel* m_sourceCountLabel { nullptr };
    ViewConnections m_connections;
};

}
