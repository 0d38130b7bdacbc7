#include "QuilloryCore/SiteModel/SiteGraphBuilder.h"

#include "QuilloryCore/Text/FilePaths.h"
#include "QuilloryCore/SiteModel/SiteFolderWalk.h"
#include "QuilloryCore/SiteModel/SitePageIndex.h"
#include "QuilloryCore/SiteModel/SiteRouteResolver.h"
#include "QuilloryCore/Text/FileDescriptor.h"
#include "QuilloryCore/Text/StringHelpers.h"
#include "QuilloryCore/Text/TextFile.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <type_traits>
#include <utility>
#include <unicode/uchar.h>
#include <unicode/utf16.h>
#include <unordered_map>

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

// The title rule's expressions, <h1\b[^>]*>(.*?)</h1> and <title\b[^>]*>(.*?)</title> (ICU,
// case-insensitive, "." matching line ends), and <[^>]+> for the tags inside a capture, are matched
// by hand below with exactly their results: compiling and running ICU's matchers was a large part
// of a site scan.

// Each runs on UTF-16 code units, or on the bytes of a text that is ASCII alone, whose bytes are
// its code units, with the same result.

// Whether `text` holds `lowercaseLiteral` at `position`, ASCII letters in either case. No other
// character folds to a letter of the literals used here.
template<class Char>
bool hasLiteral(std::basic_string_view<Char> text, std::size_t position, std::string_view lowercaseLiteral)
{
    if (text.size() - position < lowercaseLiteral.size())
        return false;
    for (std::size_t index = 0; index < lowercaseLiteral.size(); ++index) {
        auto unit = text[position + index];
        auto expected = lowercaseLiteral[index];
        bool isLetter = expected >= 'a' && expected <= 'z';
        if (unit != expected && !(isLetter && unit == expected - ('a' - 'A')))
            return false;
    }
    return true;
}

// ICU's \b behind a word character: the end of the text, or a character that is neither a word
// character ([\p{Alphabetic}\p{M}\p{Nd}\p{Pc}\u200c\u200d]) nor a combining or format character,
// in front of which ICU sees no boundary.
template<class Char>
bool isWordEnd(std::basic_string_view<Char> text, std::size_t position)
{
    if (position == text.size())
        return true;
    UChar32 character = static_cast<std::make_unsigned_t<Char>>(text[position]);
    if constexpr (sizeof(Char) == 2)
        U16_GET(text.data(), 0, position, text.size(), character);
    if (character < 0x80)
        return !((character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') || (character >= '0' && character <= '9') || character == '_');
    if (u_hasBinaryProperty(character, UCHAR_GRAPHEME_EXTEND) || u_charType(character) == U_FORMAT_CHAR)
        return false;
    bool isWordCharacter = u_hasBinaryProperty(character, UCHAR_ALPHABETIC)
        || (U_GET_GC_MASK(character) & (U_GC_M_MASK | U_GC_ND_MASK | U_GC_PC_MASK)) || character == 0x200C || character == 0x200D;
    return !isWordCharacter;
}

// The content of the first element `<name ...>content</name>`: the opening tag runs to its first
// ">", the content to the first closing tag after it.
template<class Char>
std::optional<std::basic_string_view<Char>> firstElementContent(std::basic_string_view<Char> html, std::string_view openingName, std::string_view closingTag)
{
    constexpr auto none = std::basic_string_view<Char>::npos;
    for (auto start = html.find(Char('<')); start != none; start = html.find(Char('<'), start + 1)) {
        auto nameEnd = start + 1 + openingName.size();
        if (!hasLiteral(html, start + 1, openingName) || !isWordEnd(html, nameEnd))
            continue;
        // Without a ">" or a closing tag behind this start there is none behind a later one.
        auto tagEnd = html.find(Char('>'), nameEnd);
        if (tagEnd == none)
            return std::nullopt;
        auto contentStart = tagEnd + 1;
        for (auto close = html.find(Char('<'), contentStart); close != none; close = html.find(Char('<'), close + 1)) {
            if (hasLiteral(html, close, closingTag))
                return html.substr(contentStart, close - contentStart);
        }
        return std::nullopt;
    }
    return std::nullopt;
}

// The text with every "<", one or more characters other than ">", and ">" removed.
template<class Char>
std::basic_string<Char> removingTags(std::basic_string_view<Char> text)
{
    constexpr auto none = std::basic_string_view<Char>::npos;
    std::basic_string<Char> result;
    result.reserve(text.size());
    std::size_t copiedUpTo = 0;
    for (auto start = text.find(Char('<')); start != none; start = text.find(Char('<'), start + 1)) {
        auto end = text.find(Char('>'), start + 1);
        if (end == none)
            break;
        if (end == start + 1)
            continue;
        result.append(text.substr(copiedUpTo, start - copiedUpTo));
        copiedUpTo = end + 1;
        start = end;
    }
    result.append(text.substr(copiedUpTo));
    return result;
}

template<class Char>
std::basic_string<Char> replacingAmpersandEntities(std::basic_string_view<Char> text)
{
    static constexpr Char entityUnits[] = { '&', 'a', 'm', 'p', ';' };
    constexpr std::basic_string_view<Char> entity(entityUnits, std::size(entityUnits));
    std::basic_string<Char> result;
    result.reserve(text.size());
    std::size_t copiedUpTo = 0;
    for (auto found = text.find(entity); found != std::basic_string_view<Char>::npos; found = text.find(entity, copiedUpTo)) {
        result.append(text.substr(copiedUpTo, found - copiedUpTo));
        result.push_back(Char('&'));
        copiedUpTo = found + entity.size();
    }
    result.append(text.substr(copiedUpTo));
    return result;
}

template<class Char>
std::string titleOf(std::basic_string_view<Char> html, std::string_view relativePath)
{
    // The first h1 wins over <title>, and an empty capture is kept rather than passed over.
    auto capture = firstElementContent(html, "h1", "</h1>");
    if (!capture)
        capture = firstElementContent(html, "title", "</title>");
    if (!capture)
        return SiteGraphBuilder::titleFromPath(relativePath);

    auto decoded = replacingAmpersandEntities(std::basic_string_view<Char>(removingTags(*capture)));
    if constexpr (sizeof(Char) == 1)
        return StringHelpers::trimmingWhitespaceAndNewlines(std::string_view(decoded));
    else
        return UnicodeText::utf8FromUTF16(StringHelpers::trimmingWhitespaceAndNewlines(std::u16string_view(decoded)));
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

bool isASCII(std::string_view bytes)
{
    // Eight bytes at a time: any byte with its high bit set ends it.
    std::size_t index = 0;
    for (; index + 8 <= bytes.size(); index += 8) {
        std::uint64_t word;
        std::memcpy(&word, bytes.data() + index, sizeof word);
        if (word & 0x8080808080808080u)
            return false;
    }
    for (; index < bytes.size(); ++index) {
        if (static_cast<unsigned char>(bytes[index]) >= 0x80)
            return false;
    }
    return true;
}

// ASCII bytes as UTF-16 code units. Blocks of sixteen go through local arrays, which the compiler
// can widen a vector at a time, knowing that they don't overlap.
std::u16string widened(std::string_view bytes)
{
    std::u16string text(bytes.size(), u'\0');
    constexpr std::size_t blockSize = 16;
    std::size_t index = 0;
    for (; index + blockSize <= bytes.size(); index += blockSize) {
        unsigned char narrow[blockSize];
        char16_t wide[blockSize];
        std::memcpy(narrow, bytes.data() + index, blockSize);
        for (std::size_t offset = 0; offset < blockSize; ++offset)
            wide[offset] = narrow[offset];
        std::memcpy(text.data() + index, wide, sizeof wide);
    }
    for (; index < bytes.size(); ++index)
        text[index] = static_cast<unsigned char>(bytes[index]);
    return text;
}


// What each href meant in each folder: one flat table, with the hrefs' bytes kept one after
// another in one string, so that each of a page's many lookups costs a hash and a comparison and
// no entry is allocated on its own. Folders are numbered by the caller.
class ResolvedHrefs {
public:
    static std::uint64_t hashOf(std::uint32_t folder, std::string_view href)
    {
        return std::hash<std::string_view>()(href) ^ (folder * 0x9E3779B97F4A7C15u);
    }

    // The remembered answer for `href` in `folder`, or null. `hash` is hashOf(folder, href).
    const std::uint32_t* find(std::uint32_t folder, std::string_view href, std::uint64_t hash) const
    {
        if (m_slots.empty())
            return nullptr;
        for (auto slot = hash & slotMask(); m_slots[slot].keyOffset != empty; slot = (slot + 1) & slotMask()) {
            auto& entry = m_slots[slot];
            if (entry.hash == hash && entry.folder == folder && std::string_view(m_keys).substr(entry.keyOffset, entry.keyLength) == href)
                return &entry.answer;
        }
        return nullptr;
    }

    // Remembers the answer for an href that find doesn't know, and gives it back.
    std::uint32_t insert(std::uint32_t folder, std::string_view href, std::uint64_t hash, std::uint32_t answer)
    {
        // At most half full, so that a probe ends after a slot or two.
        if (2 * (m_count + 1) > m_slots.size())
            grow();
        place({ hash, folder, answer, static_cast<std::uint32_t>(m_keys.size()), static_cast<std::uint32_t>(href.size()) });
        m_keys.append(href);
        ++m_count;
        return answer;
    }

private:
    static constexpr std::uint32_t empty = ~std::uint32_t { 0 };
    struct Slot {
        std::uint64_t hash { 0 };
        std::uint32_t folder { 0 };
        std::uint32_t answer { 0 };
        std::uint32_t keyOffset { empty };
        std::uint32_t keyLength { 0 };
    };

    std::size_t slotMask() const { return m_slots.size() - 1; }

    void place(const Slot& entry)
    {
        auto slot = entry.hash & slotMask();
        while (m_slots[slot].keyOffset != empty)
            slot = (slot + 1) & slotMask();
        m_slots[slot] = entry;
    }

    void grow()
    {
        auto old = std::exchange(m_slots, std::vector<Slot>(std::max<std::size_t>(16, 2 * m_slots.size())));
        for (auto& entry : old) {
            if (entry.keyOffset != empty)
                place(entry);
        }
    }

    std::vector<Slot> m_slots;
    std::size_t m_count { 0 };
    std::string m_keys;
};

bool isIndexPagePath(std::string_view relativePath)
{
    return relativePath == "index.html" || relativePath == "index.htm" || StringHelpers::endsWith(relativePath, "/index.html")
        || StringHelpers::endsWith(relativePath, "/index.htm");
}

}

SiteMap SiteGraphBuilder::build(const std::filesystem::path& rootURL) const
{
    return build(rootURL, PageTextVisitor());
}

SiteMap SiteGraphBuilder::build(const std::filesystem::path& rootURL, const PageTextVisitor& eachPageText) const
{
    auto root = FilePaths::standardized(rootURL);

    // Discovery gives each path once, in plain string order, so the pages are sorted as they are
    // made. Links name pages by id, which is the path alone, so the resolver can be made before
    // any title is known, and each page is read once, for its title and its links together.
    std::vector<SitePage> pages;
    auto discovered = discoverHTMLPages(root);
    pages.reserve(discovered.size());
    for (auto& entry : discovered)
        pages.emplace_back(std::move(entry.relativePath), std::move(entry.url), std::string());

    SitePageIndex pageIndex(pages);
    constexpr auto noPage = SitePageIndex::notFound;

    // What an href means depends only on the folder of the page that holds it, and not even on
    // that when it begins with "/" or "#"; the pages of a folder link to much the same places
    // (menus, neighbours). So each href is resolved once per folder, or once, and remembered as
    // the position of its page. Folders are numbered from 1, named by views into the pages' own
    // paths; 0 stands for anywhere.
    ResolvedHrefs resolvedHrefs;
    std::unordered_map<std::string_view, std::uint32_t> folderNumbers;
    // The page that last listed each page as its target, which makes duplicates a lookup.
    std::vector<std::uint32_t> listedBy(pages.size(), noPage);
    std::map<std::string, std::vector<std::string>> linksByPageID;
    // One buffer of each kind serves every page.
    std::string bytes;
    std::vector<std::string> convertedHrefs;
    std::vector<std::string_view> hrefs;
    std::vector<std::uint32_t> targetPositions;
    // Pages of one folder lie side by side in path order, so they are read through one
    // descriptor of their folder. A folder that can't be opened leaves its pages to be read by
    // their full paths, which fail with the reader's own error.
    std::optional<std::string_view> openFolder;
    FileDescriptor folderDescriptor(-1);
    for (std::uint32_t index = 0; index < pages.size(); ++index) {
        auto& page = pages[index];
        auto folder = parentFolder(page.relativePath);
        if (folder != openFolder) {
            openFolder = folder;
            folderDescriptor.reset(::open(FilePaths::appending(root, folder).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        }
        if (folderDescriptor.get() >= 0)
            TextFile::readBytesAt(folderDescriptor.get(), page.relativePath.c_str() + (folder.empty() ? 0 : folder.size() + 1), page.url, bytes);
        else
            TextFile::readBytes(page.url, bytes);
        // Pages are nearly always ASCII, whose bytes are their UTF-16 code units: the title and
        // the links are found on the bytes themselves, unless a caller wants the text.
        bool isASCIIPage = isASCII(bytes);
        if (isASCIIPage && !eachPageText) {
            page.title = asciiPageTitle(bytes, page.relativePath);
            linkExtractor.asciiHrefs(bytes, hrefs);
        } else {
            // Text that isn't UTF-8 ends the build with the file reader's error.
            auto text = isASCIIPage ? widened(bytes) : TextFile::decodeUTF8(bytes, page.url);
            page.title = pageTitle(text, page.relativePath);
            if (eachPageText)
                eachPageText(page, text);
            convertedHrefs = linkExtractor.hrefs(text);
            hrefs.assign(convertedHrefs.begin(), convertedHrefs.end());
        }
        auto folderNumber = folderNumbers.try_emplace(folder, folderNumbers.size() + 1).first->second;
        targetPositions.clear();
        for (auto href : hrefs) {
            auto scope = !href.empty() && (href.front() == '/' || href.front() == '#') ? 0 : folderNumber;
            auto hash = ResolvedHrefs::hashOf(scope, href);
            auto known = resolvedHrefs.find(scope, href, hash);
            auto target = known ? *known : resolvedHrefs.insert(scope, href, hash, SiteRouteResolver::pagePosition(href, page.relativePath, pageIndex));
            if (target != noPage && listedBy[target] != index) {
                listedBy[target] = index;
                targetPositions.push_back(target);
            }
        }
        std::vector<std::string> targets;
        targets.reserve(targetPositions.size());
        for (auto target : targetPositions)
            targets.push_back(pages[target].id);
        linksByPageID.emplace_hint(linksByPageID.end(), page.id, std::move(targets));
    }

    auto primaryTree = buildPrimaryTree(pages, pageIndex);
    std::vector<bool> placed(pages.size());
    for (auto& id : primaryTree.flattenedPageIDs())
        placed[pageIndex.find(id)] = true;
    std::vector<SitePage> unplacedPages;
    for (std::size_t index = 0; index < pages.size(); ++index) {
        if (!placed[index])
            unplacedPages.push_back(pages[index]);
    }

    return SiteMap { std::move(root), std::move(pages), std::move(primaryTree), std::move(unplacedPages), std::move(linksByPageID) };
}

std::string SiteGraphBuilder::pageTitle(std::u16string_view html, std::string_view relativePath)
{
    return titleOf(html, relativePath);
}

std::string SiteGraphBuilder::asciiPageTitle(std::string_view asciiHTML, std::string_view relativePath)
{
    return titleOf(asciiHTML, relativePath);
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

std::vector<SiteFolderWalk::Entry> SiteGraphBuilder::discoverHTMLPages(const std::filesystem::path& root)
{
    auto entries = SiteFolderWalk::regularFiles(root, root, { "node_modules" });
    std::erase_if(entries, [](const SiteFolderWalk::Entry& entry) {
        auto extension = StringHelpers::asciiLowercased(FilePaths::pathExtension(entry.relativePath));
        return extension != "html" && extension != "htm";
    });
    std::sort(entries.begin(), entries.end(), [](const SiteFolderWalk::Entry& a, const SiteFolderWalk::Entry& b) { return a.relativePath < b.relativePath; });
    return entries;
}

PageTreeNode SiteGraphBuilder::buildPrimaryTree(const std::vector<SitePage>& pages, const SitePageIndex& pageIndex)
{
    // "index.htm" is not looked for at the root: without index.html the first page stands in.
    const SitePage* rootPage = nullptr;
    if (auto index = pageIndex.find("index.html"); index != SitePageIndex::notFound)
        rootPage = &pages[index];
    else if (!pages.empty())
        rootPage = &pages.front();

    std::optional<std::string> rootPageID;
    if (rootPage)
        rootPageID = rootPage->id;
    auto children = childNodes("", pages, pages, pageIndex, rootPageID);
    return PageTreeNode(rootPage ? rootPage->title : "Site", rootPageID, std::move(children));
}

std::vector<PageTreeNode> SiteGraphBuilder::childNodes(const std::string& folder, std::span<const SitePage> pages,
                                                       const std::vector<SitePage>& allPages, const SitePageIndex& pageIndex,
                                                       const std::optional<std::string>& excluding)
{
    std::vector<PageTreeNode> nodes;
    for (auto& childFolder : immediateChildFolders(folder, pages)) {
        auto childPrefix = childFolder + "/";
        auto below = std::lower_bound(pages.begin(), pages.end(), childPrefix,
                                      [](const SitePage& page, const std::string& prefix) { return page.relativePath < prefix; });
        auto beyond = std::partition_point(below, pages.end(),
                                           [&](const SitePage& page) { return StringHelpers::startsWith(page.relativePath, childPrefix); });

        const SitePage* indexPage = nullptr;
        if (auto index = pageIndex.find(childFolder + "/index.html"); index != SitePageIndex::notFound)
            indexPage = &allPages[index];
        else if (auto indexHTM = pageIndex.find(childFolder + "/index.htm"); indexHTM != SitePageIndex::notFound)
            indexPage = &allPages[indexHTM];

        std::optional<std::string> indexPageID;
        if (indexPage)
            indexPageID = indexPage->id;
        auto children = childNodes(childFolder, std::span<const SitePage>(below, beyond), allPages, pageIndex, indexPageID);
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
    StringHelpers::stableSortLocalizedStandard(nodes, [](const PageTreeNode& node) -> std::string_view { return node.title; });
    return nodes;
}

std::vector<std::string> SiteGraphBuilder::immediateChildFolders(const std::string& folder, std::span<const SitePage> pages)
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
