#pragma once

#include "QuilloryCore/SiteModel/SiteGraphModels.h"
#include "QuilloryCore/SiteModel/SitePageIndex.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Quillory {

// What a written reference means inside the open site.
struct ResolvedSiteResource {
    class Kind {
    public:
        enum class Tag {
            localPage,
            localAsset,
            missingLocalRoute,
            external,
            ignored,
        };

        // A page of the site, carrying its id.
        static Kind localPage(std::string pageID) { return Kind(Tag::localPage, std::move(pageID)); }
        // A regular file inside the site folder that is no page.
        static Kind localAsset() { return Kind(Tag::localAsset, std::nullopt); }
        // Local in form, but nothing answers to it.
        static Kind missingLocalRoute() { return Kind(Tag::missingLocalRoute, std::nullopt); }
        // Leaves the site: another host, mail, telephone.
        static Kind external() { return Kind(Tag::external, std::nullopt); }
        // Nothing to resolve: empty, fragment or query only, script, inline data.
        static Kind ignored() { return Kind(Tag::ignored, std::nullopt); }

        Tag tag() const { return m_tag; }
        // The page id of localPage; nothing for every other kind.
        const std::optional<std::string>& pageID() const { return m_pageID; }

        friend bool operator==(const Kind&, const Kind&) = default;

    private:
        Kind(Tag tag, std::optional<std::string> pageID)
            : m_tag(tag)
            , m_pageID(std::move(pageID))
        {
        }

        Tag m_tag;
        std::optional<std::string> m_pageID;
    };

    Kind kind;
    // The reference trimmed of surrounding white space, query and fragment still in it.
    std::string requestPath;
    // The path inside the site for localPage, localAsset and missingLocalRoute.
    std::optional<std::string> relativePath;
    // The file to serve for localPage and localAsset.
    std::optional<std::filesystem::path> fileURL;

    // "localPage", "localAsset", "missingLocalRoute", "external" or "ignored".
    std::string_view kindName() const;

    friend bool operator==(const ResolvedSiteResource&, const ResolvedSiteResource&) = default;
};

// Answers what a link or URL written in the site means. A plain value, cheap to copy (the page
// table is shared). Never throws; touches the disk only to find the folder's real path once and
// to ask whether a file is a regular file inside it.
//
// Nothing outside the folder's real path (every symbolic link resolved) is ever an asset, so a
// linked folder that leads out of the site serves nothing, while one that stays inside works.
class SiteRouteResolver {
public:
    // Page paths must be unique; a list that holds one path twice aborts the process.
    SiteRouteResolver(const std::filesystem::path& rootURL, const std::vector<SitePage>& pages);

    // Resolves a reference written in the page at relative path `from` (for an href: the linking
    // page's relativePath). A reference starting with "/" is relative to the root.
    ResolvedSiteResource resolve(std::string_view reference, std::optional<std::string_view> from = std::nullopt) const;

    // The page that resolve(reference, from) answers with as localPage, or null for every other
    // kind; without the rest of the answer and without the file-system query that only a
    // reference that is no page needs. The page lives as long as this resolver.
    const SitePage* page(std::string_view reference, std::optional<std::string_view> from = std::nullopt) const;
    // The same page for a caller that holds the pages itself: its position in the list that
    // `pages` indexes, or SitePageIndex::notFound.
    static std::uint32_t pagePosition(std::string_view reference, std::optional<std::string_view> from, const SitePageIndex& pages);

    // Resolves a URL: for the scheme quillory-site (any case, any host) its percent-decoded path,
    // "/" when empty; for any other URL its text as it stands.
    ResolvedSiteResource resolveURL(std::string_view url, std::optional<std::string_view> from = std::nullopt) const;

    const std::filesystem::path& rootURL() const { return m_rootURL; }

    // Whether the file may be served: a regular file, not itself a symbolic link, whose real path
    // lies inside the site folder's real path.
    bool isServableFile(const std::filesystem::path& url) const;
    // Whether something is there that lies outside the site: a symbolic link, or a file or
    // folder whose real path is not inside the site folder's real path. False for nothing at all,
    // so that reading a page deleted since the scan still fails with the read's own error.
    bool leavesSite(const std::filesystem::path& url) const;

private:
    // The pages and their index, made once and shared by every copy of the resolver.
    struct PageTable {
        explicit PageTable(const std::vector<SitePage>& pages_)
            : pages(pages_)
            , index(pages)
        {
        }
        PageTable(const PageTable&) = delete;
        PageTable& operator=(const PageTable&) = delete;

        std::vector<SitePage> pages;
        SitePageIndex index;
    };

    // A reference that resolves to a path inside the site, or the kind that ends resolution
    // before there is one (ignored, external, or missingLocalRoute for a path that the file
    // system would cut short, whose normalizedPath shows the cut characters percent-encoded).
    struct SitePath {
        std::optional<ResolvedSiteResource::Kind> settledKind;
        std::string normalizedPath;
    };
    static SitePath sitePath(std::string_view requestPath, std::optional<std::string_view> from);

    static std::string normalizeRelativePath(std::string path);
    // Appends the parent of a "/"-separated path: all its non-empty components but the last,
    // joined with "/"; nothing when it has fewer than two.
    static void appendParentPath(std::string_view path, std::string& to);
    // The position of the first page among the candidate paths for a normalised path, in
    // candidate order, or SitePageIndex::notFound.
    static std::uint32_t firstCandidatePosition(const std::string& path, const SitePageIndex& pages);

    std::filesystem::path m_rootURL;
    // The root with every symbolic link resolved; empty when the folder can't be found.
    std::filesystem::path m_realRootURL;
    std::shared_ptr<const PageTable> m_pages;
};

}
