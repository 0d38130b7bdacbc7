#include "QuilloryCore/SiteGraphBuilder.h"

#include "QuilloryCore/FilePaths.h"
#include "QuilloryCore/RegularExpression.h"
#include "QuilloryCore/SiteFolderWalk.h"
#include "QuilloryCore/SiteRouteResolver.h"
#include "QuilloryCore/StringHelpers.h"
#include "QuilloryCore/TextFile.h"
#include "QuilloryCore/UnicodeText.h"

#include <algorithm>
#include <unordered_set>

namespace Quillory {

namespace {

std::vector<std::string_view> nonEmptyComponents(std::string_view path, char separator)
{
    std::vector<std::string_view> components;
    std::size_t start = 0;
    while (start <= path.size()) {
        auto end = path.find(separator, start);
        if (end == std::string_view::npos)
            end = path.size();
        if (end > start)
            components.push_back(path.substr(start, end - start));
        start = end + 1;
    }
    return components;
}

// The text of capture group 1 of the first match, or nothing.
std::optional<std::u16string_view> firstCapture(const std::optional<RegularExpression>& expression, std::u16string_view text)
{
    if (!expression)
        return std::nullopt;
    auto match = expression->firstMatch(text);
    if (!match)
        return std::nullopt;
    auto range = match->range(1);
    if (!range)
        return std::nullopt;
    return text.substr(range->location, range->length);
}

std::u16string replacingAmpersandEntities(std::u16string_view text)
{
    constexpr std::u16string_view entity = u"&amp;";
    std::u16string result;
    result.reserve(text.size());
    std::size_t copiedUpTo = 0;
    for (auto found = text.find(entity); found != std::u16string_view::npos; found = text.find(entity, copiedUpTo)) {
        result.append(text.substr(copiedUpTo, found - copiedUpTo));
        result.push_back(u'&');
        copiedUpTo = found + entity.size();
    }
    result.append(text.substr(copiedUpTo));
    return result;
}

// The first of the non-empty "/"-separated components, when there are at least two.
std::optional<std::string_view> firstComponentOfNestedPath(std::string_view path)
{
    auto start = path.find_first_not_of('/');
    if (start == std::string_view::npos)
        return std::nullopt;
    auto end = path.find('/', start);
    if (end == std::string_view::npos || path.find_first_not_of('/', end) == std::string_view::npos)
        return std::nullopt;
    return path.substr(start, end - start);
}

// The parent folder of a page path; page paths have no empty components, so no split is needed.
std::string_view parentFolder(std::string_view relativePath)
{
    auto slash = relativePath.rfind('/');
    return slash == std::string_view::npos ? std::string_view() : relativePath.substr(0, slash);
}

bool isIndexPagePath(std::string_view relativePath)
{
    return relativePath == "index.html" || relativePath == "index.htm" || StringHelpers::endsWith(relativePath, "/index.html")
        || StringHelpers::endsWith(relativePath, "/index.htm");
}

}

SiteMap SiteGraphBuilder::build(const std::filesystem::path& rootURL) const
{
    auto root = FilePaths::standardized(rootURL);

    std::vector<SitePage> pages;
    for (auto& relativePath : discoverHTMLPages(root)) {
        auto url = FilePaths::appending(root, relativePath);
        auto text = TextFile::readUTF8(url);
        auto title = pageTitle(text, relativePath);
        pages.emplace_back(relativePath, std::move(url), std::move(title));
    }
    std::stable_sort(pages.begin(), pages.end(), [](auto& a, auto& b) { return a.relativePath < b.relativePath; });

    SiteRouteResolver resolver(root, pages);
    std::map<std::string, std::vector<std::string>> linksByPageID;
    for (auto& page : pages) {
        // Read again rather than kept from the first pass, so a large site never holds every
        // page's text at once.
        auto text = TextFile::readUTF8(page.url);
        std::vector<std::string> targets;
        std::unordered_set<std::string> seen;
        for (auto& href : linkExtractor.hrefs(text)) {
            auto target = resolver.resolve(href, page.relativePath).kind.pageID();
            if (target && seen.insert(*target).second)
                targets.push_back(*target);
        }
        linksByPageID.emplace(page.id, std::move(targets));
    }

    auto primaryTree = buildPrimaryTree(pages);
    auto placedIDs = primaryTree.flattenedPageIDs();
    std::unordered_set<std::string> placed(placedIDs.begin(), placedIDs.end());
    std::vector<SitePage> unplacedPages;
    for (auto& page : pages) {
        if (!placed.contains(page.id))
            unplacedPages.push_back(page);
    }

    return SiteMap { std::move(root), std::move(pages), std::move(primaryTree), std::move(unplacedPages), std::move(linksByPageID) };
}

std::string SiteGraphBuilder::pageTitle(std::u16string_view html, std::string_view relativePath)
{
    // Compiled once for the process; the results are those of compiling per page.
    constexpr unsigned options = RegularExpression::Option::CaseInsensitive | RegularExpression::Option::DotMatchesLineSeparators;
    static const auto heading = RegularExpression::make(u"<h1\\b[^>]*>(.*?)</h1>", options);
    static const auto titleElement = RegularExpression::make(u"<title\\b[^>]*>(.*?)</title>", options);
    static const auto tag = RegularExpression::make(u"<[^>]+>");

    // The first h1 wins over <title>, and an empty capture is kept rather than passed over.
    auto capture = firstCapture(heading, html);
    if (!capture)
        capture = firstCapture(titleElement, html);
    if (!capture)
        return titleFromPath(relativePath);

    auto withoutTags = tag ? tag->replacingMatches(*capture, u"") : std::u16string(*capture);
    auto decoded = replacingAmpersandEntities(withoutTags);
    return UnicodeText::utf8FromUTF16(StringHelpers::trimmingWhitespaceAndNewlines(decoded));
}

std::string SiteGraphBuilder::titleFromPath(std::string_view relativePath)
{
    auto components = nonEmptyComponents(relativePath, '/');
    if (relativePath == "index.html")
        return "Home";

    std::string stem;
    if (components.size() >= 2 && components.back() == "index.html")
        stem = components[components.size() - 2];
    else if (!components.empty())
        stem = FilePaths::deletingPathExtension(components.back());

    std::replace(stem.begin(), stem.end(), '-', ' ');
    std::replace(stem.begin(), stem.end(), '_', ' ');

    std::string title;
    for (auto word : nonEmptyComponents(stem, ' ')) {
        if (!title.empty())
            title.push_back(' ');
        title.append(StringHelpers::capitalized(word));
    }
    return title;
}

std::vector<std::string> SiteGraphBuilder::discoverHTMLPages(const std::filesystem::path& root)
{
    std::vector<std::string> relativePaths;
    for (auto& entry : SiteFolderWalk::regularFiles(root, root, { "node_modules" })) {
        auto extension = StringHelpers::asciiLowercased(FilePaths::pathExtension(entry.url.native()));
        if (extension == "html" || extension == "htm")
            relativePaths.push_back(std::move(entry.relativePath));
    }
    std::sort(relativePaths.begin(), relativePaths.end());
    return relativePaths;
}

PageTreeNode SiteGraphBuilder::buildPrimaryTree(const std::vector<SitePage>& pages)
{
    PageByPath pageByPath;
    pageByPath.reserve(pages.size());
    for (auto& page : pages)
        pageByPath.emplace(page.relativePath, &page);

    // "index.htm" is not looked for at the root: without index.html the first page stands in.
    const SitePage* rootPage = nullptr;
    if (auto index = pageByPath.find("index.html"); index != pageByPath.end())
        rootPage = index->second;
    else if (!pages.empty())
        rootPage = &pages.front();

    std::optional<std::string> rootPageID;
    if (rootPage)
        rootPageID = rootPage->id;
    auto children = childNodes("", pages, pageByPath, rootPageID);
    return PageTreeNode(rootPage ? rootPage->title : "Site", rootPageID, std::move(children));
}

std::vector<PageTreeNode> SiteGraphBuilder::childNodes(const std::string& folder, const std::vector<SitePage>& pages,
                                                       const PageByPath& pageByPath, const std::optional<std::string>& excluding)
{
    std::vector<PageTreeNode> nodes;
    for (auto& childFolder : immediateChildFolders(folder, pages)) {
        const SitePage* indexPage = nullptr;
        if (auto index = pageByPath.find(childFolder + "/index.html"); index != pageByPath.end())
            indexPage = index->second;
        else if (auto indexHTM = pageByPath.find(childFolder + "/index.htm"); indexHTM != pageByPath.end())
            indexPage = indexHTM->second;

        std::optional<std::string> indexPageID;
        if (indexPage)
            indexPageID = indexPage->id;
        auto children = childNodes(childFolder, pages, pageByPath, indexPageID);
        nodes.emplace_back(indexPage ? indexPage->title : titleFromPath(childFolder), indexPageID, std::move(children));
    }

    for (auto& page : pages) {
        if (excluding && page.id == *excluding)
            continue;
        if (parentFolder(page.relativePath) != folder)
            continue;
        // Index pages belong to their folder's node; one that isn't (index.htm beside index.html,
        // or at the root) stays unplaced.
        if (isIndexPagePath(page.relativePath))
            continue;
        nodes.emplace_back(page.title, page.id, std::vector<PageTreeNode>());
    }

    // Stable, so that a folder stands before a page of the same title.
    std::stable_sort(nodes.begin(), nodes.end(),
                     [](auto& a, auto& b) { return StringHelpers::localizedStandardLess(a.title, b.title); });
    return nodes;
}

std::vector<std::string> SiteGraphBuilder::immediateChildFolders(const std::string& folder, const std::vector<SitePage>& pages)
{
    auto prefix = folder.empty() ? std::string() : folder + "/";
    std::vector<std::string> folders;
    for (auto& page : pages) {
        if (!StringHelpers::startsWith(page.relativePath, prefix))
            continue;
        auto rest = std::string_view(page.relativePath).substr(prefix.size());
        auto component = firstComponentOfNestedPath(rest);
        if (!component)
            continue;
        // Pages of one folder lie side by side in path order; this only spares copies.
        if (!folders.empty() && std::string_view(folders.back()).substr(prefix.size()) == *component)
            continue;
        folders.push_back(prefix + std::string(*component));
    }
    std::sort(folders.begin(), folders.end());
    folders.erase(std::unique(folders.begin(), folders.end()), folders.end());
    return folders;
}

}
