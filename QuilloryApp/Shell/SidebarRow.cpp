#include "QuilloryApp/Shell/SidebarRow.h"

#include <algorithm>

namespace Quillory {

SidebarRow SidebarRow::treeRow(std::shared_ptr<const PageTreeNode> node)
{
    SidebarRow row { SidebarRowKind::treeNode, node->title, "folder", node->pageID, node->pageID.value_or(std::string()), nullptr };
    if (node->pageID && node->children.empty())
        row.systemImageName = "doc.text";
    row.node = std::move(node);
    return row;
}

std::optional<std::vector<SidebarRow>> SidebarRow::outlineChildren() const
{
    if (kind != SidebarRowKind::treeNode || !node)
        return std::nullopt;
    const auto* children = node->outlineChildren();
    if (!children)
        return std::nullopt;
    std::vector<SidebarRow> rows;
    rows.reserve(children->size());
    for (const auto& child : *children) {
        // Each child row shares ownership of the whole tree through `node`.
        rows.push_back(treeRow(std::shared_ptr<const PageTreeNode>(node, &child)));
    }
    return rows;
}

bool SidebarRow::leadsTo(std::string_view wanted) const
{
    if (documentID && *documentID == wanted)
        return true;
    if (kind != SidebarRowKind::treeNode || !node)
        return false;
    auto pageIDs = node->flattenedPageIDs();
    return std::find(pageIDs.begin(), pageIDs.end(), wanted) != pageIDs.end();
}

}
