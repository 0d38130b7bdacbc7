#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Quillory {

class SiteRouteResolver;
struct SiteLinkIndex;

// One HTML page of a site. Its identity is its path: `id` and `relativePath` always hold the
// same text ("/"-separated, relative to the site root, never percent-encoded).
struct SitePage {
    SitePage(std::string relativePath, std::filesystem::path url, std::string title);

    std::string id;
    std::string relativePath;
    // The page's file on disk, absolute.
    std::filesystem::path url;
    // May be empty: a first h1 that holds only an image gives an empty title.
    std::string title;

    friend bool operator==(const SitePage&, const SitePage&) = default;
};

// A node of the sidebar tree: a page, or a folder with or without an index page.
struct PageTreeNode {
    // `id` becomes the page id, or "virtual:" + title for a node without a page.
    PageTreeNode(std::string title, std::optional<std::string> pageID, std::vector<PageTreeNode> children);

    std::string id;
    std::string title;
    // The page that selecting this node opens; nothing on a folder without an index page.
    std::optional<std::string> pageID;
    std::vector<PageTreeNode> children;

    // The page ids of this node and its descendants in preorder, the node's own first.
    std::vector<std::string> flattenedPageIDs() const;
    // The children, or null when there are none, so that a tree view shows a leaf without a
    // disclosure arrow. The pointer lives as long as this node.
    const std::vector<PageTreeNode>* outlineChildren() const;

    friend bool operator==(const PageTreeNode&, const PageTreeNode&) = default;
};

// The scanned site: immutable, rebuilt from the folder rather than patched.
struct SiteMap {
    // The standardized site root.
    std::filesystem::path rootURL;
    // Ascending by relativePath in plain string (code point) order.
    std::vector<SitePage> pages;
    PageTreeNode primaryTree;
    // Pages that primaryTree does not hold, in `pages` order.
    std::vector<SitePage> unplacedPages;
    // One entry per page: the ids of the pages it links to, in order of first appearance,
    // without duplicates (a page linking to itself lists itself).
    std::map<std::string, std::vector<std::string>> linksByPageID;

    // The first page with this id, by a linear search; nothing for an absent or unknown id.
    std::optional<SitePage> page(const std::optional<std::string>& withID) const;
    // A fresh resolver over this map's root and pages on every call; keep it if you need it often.
    SiteRouteResolver routeResolver() const;
    // The page an href written in the page `fromPageID` leads to, or nothing when it leads to
    // anything but a page of this site.
    std::optional<std::string> pageID(std::string_view href, const std::optional<std::string>& fromPageID) const;
    // A fresh link index on every call.
    SiteLinkIndex localLinks() const;
};

// Page-to-page links, with the pages looked up.
struct SiteLinkIndex {
    explicit SiteLinkIndex(const SiteMap&);

    std::map<std::string, SitePage> pagesByID;
    std::map<std::string, std::vector<std::string>> linksByPageID;

    // The pages that `page` links to, in stored order; ids without a page are dropped, and an
    // unknown page yields nothing.
    std::vector<SitePage> linksFrom(const SitePage& page) const;
    std::vector<SitePage> operator[](const SitePage& page) const { return linksFrom(page); }
};

}
