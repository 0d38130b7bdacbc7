#include "QuilloryCore/SiteModel/SiteGraphModels.h"

#include "QuilloryCore/SiteModel/SiteRouteResolver.h"

namespace Quillory {

SitePage::SitePage(std::string relativePath_, std::filesystem::path url_, std::string title_)
    : id(relativePath_)
    , relativePath(std::move(relativePath_))
    , url(std::move(url_))
    , title(std::move(title_))
{
}

PageTreeNode::PageTreeNode(std::string title_, std::optional<std::string> pageID_, std::vector<PageTreeNode> children_)
    : id(pageID_ ? *pageID_ : "virtual:" + title_)
    , title(std::move(title_))
    , pageID(std::move(pageID_))
    , children(std::move(children_))
{
}

namespace {

void appendFlattenedPageIDs(const PageTreeNode& node, std::vector<std::string>& pageIDs)
{
    if (node.pageID)
        pageIDs.push_back(*node.pageID);
    for (auto& child : node.children)
        appendFlattenedPageIDs(child, pageIDs);
}

}

std::vector<std::string> PageTreeNode::flattenedPageIDs() const
{
    std::vector<std::string> pageIDs;
    appendFlattenedPageIDs(*this, pageIDs);
    return pageIDs;
}

const std::vector<PageTreeNode>* PageTreeNode::outlineChildren() const
{
    return children.empty() ? nullptr : &children;
}

std::optional<SitePage> SiteMap::page(const std::optional<std::string>& withID) const
{
    if (!withID)
        return std::nullopt;
    for (auto& candidate : pages) {
        if (candidate.id == *withID)
            return candidate;
    }
    return std::nullopt;
}

SiteRouteResolver SiteMap::routeResolver() const
{
    return SiteRouteResolver(rootURL, pages);
}

std::optional<std::string> SiteMap::pageID(std::string_view href, const std::optional<std::string>& fromPageID) const
{
    std::optional<std::string> fromPath;
    if (auto fromPage = page(fromPageID))
        fromPath = fromPage->relativePath;
    return routeResolver().resolve(href, fromPath).kind.pageID();
}

SiteLinkIndex SiteMap::localLinks() const
{
    return SiteLinkIndex(*this);
}

SiteLinkIndex::SiteLinkIndex(const SiteMap& siteMap)
    : linksByPageID(siteMap.linksByPageID)
{
    for (auto& page : siteMap.pages)
        pagesByID.emplace(page.id, page);
}

std::vector<SitePage> SiteLinkIndex::linksFrom(const SitePage& page) const
{
    std::vector<SitePage> targets;
    auto links = linksByPageID.find(page.id);
    if (links == linksByPageID.end())
        return targets;
    for (auto& targetID : links->second) {
        if (auto target = pagesByID.find(targetID); target != pagesByID.end())
            targets.push_back(target->second);
    }
    return targets;
}

}
