#pragma once

#include "QuilloryCore/SiteModel/SiteGraphModels.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Quillory {

enum class SidebarRowKind {
    // A node of the site's page tree; it may have children.
    treeNode,
    // The title of a section ("Unplaced", "Source"); never selectable.
    sectionHeader,
    // A page of the "Unplaced" section, a document of the "Source" section, or a row of the
    // flat search result.
    document,
};

// One row of the sidebar list, as a value: what it shows and which document it selects.
struct SidebarRow {
    SidebarRowKind kind;
    std::string title;
    // The system image name ("folder", "doc.text", ...) for IconNames; empty for a section header.
    std::string systemImageName;
    // The document that selecting the row opens. Rows without one can't be selected.
    std::optional<std::string> documentID;
    // The relative path shown as the row's tooltip; empty where there is none.
    std::string relativePath;
    // The tree node of a treeNode row, sharing ownership of the whole tree.
    std::shared_ptr<const PageTreeNode> node;

    bool isSelectable() const { return documentID.has_value(); }

    // A row for a node of the page tree: selectable under its page id, with the icon "folder"
    // when it has children or no page, and "doc.text" otherwise.
    static SidebarRow treeRow(std::shared_ptr<const PageTreeNode>);
    // The rows of a treeNode row's children, or nothing for a leaf and every other kind.
    std::optional<std::vector<SidebarRow>> outlineChildren() const;
    // Whether this row or one of its tree descendants selects the document.
    bool leadsTo(std::string_view documentID) const;
};

}
