#pragma once

#include "QuilloryCore/SiteModel/HTMLLinkExtractor.h"
#include "QuilloryCore/SiteModel/SiteFolderWalk.h"
#include "QuilloryCore/SiteModel/SiteGraphModels.h"
#include "QuilloryCore/SiteModel/SitePageIndex.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Quillory {

// Turns a folder on disk into a SiteMap: its HTML pages with titles, the sidebar tree, the pages
// the tree could not place, and the links between pages. Synchronous; keeps no shared state.
class SiteGraphBuilder {
public:
    // Scans `rootURL` from scratch. The first error ends the build, with no partial result:
    // FileReadError for a page that can't be read or isn't valid UTF-8, FileScanError when an
    // entry's type can't be read. A root that can't be listed gives a site without pages.
    // Symbolic links are neither followed into folders nor taken for pages.
    SiteMap build(const std::filesystem::path& rootURL) const;
    // The same scan, handing each page's text to `eachPageText` as it is read (in path order,
    // the title already set), so that a caller looking at every page reads none of them again.
    using PageTextVisitor = std::function<void(const SitePage&, std::u16string_view text)>;
    SiteMap build(const std::filesystem::path& rootURL, const PageTextVisitor& eachPageText) const;

    // The page title: the first h1's content, else the first title element's, else
    // titleFromPath. Tags are stripped, "&amp;" becomes "&", the ends are trimmed; an empty
    // capture stays empty. UTF-16 text in, UTF-8 out.
    static std::string pageTitle(std::u16string_view html, std::string_view relativePath);
    // The same title of a text that holds ASCII alone, whose bytes are its UTF-16 code units.
    static std::string asciiPageTitle(std::string_view asciiHTML, std::string_view relativePath);
    // A readable title from a relative path of a page or folder: "index.html" is "Home",
    // "docs/index.html" is "Docs", "getting-started_now" is "Getting Started Now".
    static std::string titleFromPath(std::string_view relativePath);

private:
    // The HTML pages below the standardized root, sorted by relative path.
    static std::vector<SiteFolderWalk::Entry> discoverHTMLPages(const std::filesystem::path& root);
    // `pageIndex` indexes `pages`.
    static PageTreeNode buildPrimaryTree(const std::vector<SitePage>& pages, const SitePageIndex& pageIndex);
    // `pages` holds, in path order, at least every page below `folder`: pages that share a path
    // prefix lie side by side in path order, so each folder looks only at its own. `pageIndex`
    // indexes `allPages`.
    static std::vector<PageTreeNode> childNodes(const std::string& folder, std::span<const SitePage> pages,
                                                const std::vector<SitePage>& allPages, const SitePageIndex& pageIndex,
                                                const std::optional<std::string>& excluding);
    static std::vector<std::string> immediateChildFolders(const std::string& folder, std::span<const SitePage> pages);

    HTMLLinkExtractor linkExtractor;
};

}
