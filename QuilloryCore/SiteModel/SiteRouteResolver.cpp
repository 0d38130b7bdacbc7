#include "QuilloryCore/SiteModel/SiteRouteResolver.h"

#include "QuilloryCore/Text/FilePaths.h"
#include "QuilloryCore/Text/StringHelpers.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <system_error>

namespace Quillory {

std::string_view ResolvedSiteResource::kindName() const
{
    switch (kind.tag()) {
    case Kind::Tag::localPage:
        return "localPage";
    case Kind::Tag::localAsset:
        return "localAsset";
    case Kind::Tag::missingLocalRoute:
        return "missingLocalRoute";
    case Kind::Tag::external:
        return "external";
    case Kind::Tag::ignored:
        return "ignored";
    }
    return "ignored";
}

namespace {

constexpr std::string_view siteSchemeName = "quillory-site";

// Whether splitting at "/" gives an empty piece: a leading, trailing or doubled "/".
bool hasEmptyComponent(std::string_view path)
{
    return path.empty() || path.front() == '/' || path.back() == '/' || path.find("//") != std::string_view::npos;
}

bool hasEmptyOrDotComponent(std::string_view path)
{
    if (hasEmptyComponent(path))
        return true;
    for (std::size_t start = 0; start <= path.size();) {
        auto slash = std::min(path.find('/', start), path.size());
        auto component = path.substr(start, slash - start);
        if (component == "." || component == "..")
            return true;
        start = slash + 1;
    }
    return false;
}

bool isSchemeCharacter(char character, bool first)
{
    bool letter = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
    if (first)
        return letter;
    return letter || (character >= '0' && character <= '9') || character == '+' || character == '-' || character == '.';
}

// Every scheme the resolver tests is ASCII, so ASCII folding is all the case-insensitivity needed.
bool startsWithIgnoringASCIICase(std::string_view text, std::string_view lowercasePrefix)
{
    if (text.size() < lowercasePrefix.size())
        return false;
    for (std::size_t index = 0; index < lowercasePrefix.size(); ++index) {
        char character = text[index];
        if (character >= 'A' && character <= 'Z')
            character = static_cast<char>(character - 'A' + 'a');
        if (character != lowercasePrefix[index])
            return false;
    }
    return true;
}

// The scheme of a URL text (before the first ":"), or nothing when the text has none.
std::optional<std::string_view> urlScheme(std::string_view url)
{
    auto colon = url.find(':');
    if (colon == std::string_view::npos || colon == 0)
        return std::nullopt;
    for (std::size_t index = 0; index < colon; ++index) {
        if (!isSchemeCharacter(url[index], index == 0))
            return std::nullopt;
    }
    return url.substr(0, colon);
}

// A NUL ends a path for the file system, and no link or file name of a site holds a control
// character; a decoded path that holds one could only name something other than it says.
bool isControlCharacter(char character)
{
    auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7F;
}

// The path with every control character written as its percent escape, so that the relative
// path of the answer never holds one.
std::string escapingControlCharacters(std::string_view path)
{
    static constexpr char hexDigits[] = "0123456789ABCDEF";
    std::string escaped;
    for (char character : path) {
        if (!isControlCharacter(character)) {
            escaped.push_back(character);
            continue;
        }
        auto byte = static_cast<unsigned char>(character);
        escaped += { '%', hexDigits[byte >> 4], hexDigits[byte & 0xF] };
    }
    return escaped;
}

// Whether `path` is `root` or lies below it; both are real, standardized paths.
bool isWithin(const std::string& path, const std::string& root)
{
    if (root.empty() || !StringHelpers::startsWith(path, root))
        return false;
    return path.size() == root.size() || root.back() == '/' || path[root.size()] == '/';
}

}

SiteRouteResolver::SiteRouteResolver(const std::filesystem::path& rootURL, const std::vector<SitePage>& pages)
    : m_rootURL(FilePaths::standardized(rootURL))
{
    std::error_code error;
    auto realRoot = std::filesystem::canonical(m_rootURL, error);
    if (!error)
        m_realRootURL = std::move(realRoot);
    m_pages = std::make_shared<const PageTable>(pages);
    if (auto duplicate = m_pages->index.duplicatePath()) {
        // A site map never holds one path twice; a caller that builds such a list is broken.
        std::fprintf(stderr, "SiteRouteResolver: the page path \"%.*s\" occurs twice\n", static_cast<int>(duplicate->size()), duplicate->data());
        std::abort();
    }
}

SiteRouteResolver::SitePath SiteRouteResolver::sitePath(std::string_view requestPath, std::optional<std::string_view> from)
{
    using Kind = ResolvedSiteResource::Kind;
    if (requestPath.empty() || StringHelpers::startsWith(requestPath, "#"))
        return { Kind::ignored(), {} };
    if (StringHelpers::startsWith(requestPath, "//"))
        return { Kind::external(), {} };
    for (std::string_view scheme : { "http:", "https:", "mailto:", "tel:" }) {
        if (startsWithIgnoringASCIICase(requestPath, scheme))
            return { Kind::external(), {} };
    }
    for (std::string_view scheme : { "javascript:", "data:" }) {
        if (startsWithIgnoringASCIICase(requestPath, scheme))
            return { Kind::ignored(), {} };
    }

    auto text = requestPath;
    text = text.substr(0, text.find('#'));
    text = text.substr(0, text.find('?'));
    if (text.empty())
        return { Kind::ignored(), {} };

    std::string path;
    path.reserve(text.size() + (from ? from->size() : 0) + 1);
    if (text.front() == '/') {
        auto firstNonSlash = text.find_first_not_of('/');
        if (firstNonSlash != std::string_view::npos)
            path = text.substr(firstNonSlash);
    } else {
        appendParentPath(from.value_or(std::string_view()), path);
        if (!path.empty())
            path.push_back('/');
        path.append(text);
    }

    // A stray "%" in a file name is no reason to fail: the text then goes on undecoded. Without
    // any "%" decoding gives the text back or fails, so either way it stays as it is.
    if (path.find('%') != std::string::npos)
        path = StringHelpers::removingPercentEncoding(path).value_or(path);
    auto normalized = normalizeRelativePath(std::move(path));
    if (normalized.empty())
        normalized = "index.html";
    if (std::any_of(normalized.begin(), normalized.end(), isControlCharacter))
        return { Kind::missingLocalRoute(), escapingControlCharacters(normalized) };
    return { std::nullopt, std::move(normalized) };
}

ResolvedSiteResource SiteRouteResolver::resolve(std::string_view reference, std::optional<std::string_view> from) const
{
    using Kind = ResolvedSiteResource::Kind;
    auto requestPath = StringHelpers::trimmingWhitespaceAndNewlines(reference);
    auto answer = [&](Kind kind, std::optional<std::string> relativePath = std::nullopt,
                      std::optional<std::filesystem::path> fileURL = std::nullopt) {
        return ResolvedSiteResource { std::move(kind), requestPath, std::move(relativePath), std::move(fileURL) };
    };

    auto [settledKind, normalized] = sitePath(requestPath, from);
    if (settledKind && settledKind->tag() == Kind::Tag::missingLocalRoute)
        return answer(std::move(*settledKind), std::move(normalized));
    if (settledKind)
        return answer(std::move(*settledKind));
    if (auto position = firstCandidatePosition(normalized, m_pages->index); position != SitePageIndex::notFound) {
        auto& page = m_pages->pages[position];
        return answer(Kind::localPage(page.id), page.relativePath, page.url);
    }

    auto fileURL = FilePaths::standardized(FilePaths::appending(m_rootURL, normalized));
    if (isServableFile(fileURL))
        return answer(Kind::localAsset(), normalized, fileURL);
    return answer(Kind::missingLocalRoute(), normalized);
}

const SitePage* SiteRouteResolver::page(std::string_view reference, std::optional<std::string_view> from) const
{
    auto position = pagePosition(reference, from, m_pages->index);
    return position == SitePageIndex::notFound ? nullptr : &m_pages->pages[position];
}

std::uint32_t SiteRouteResolver::pagePosition(std::string_view reference, std::optional<std::string_view> from, const SitePageIndex& pages)
{
    // A reference that begins and ends with ASCII other than white space is trimmed already, and
    // is taken without a copy.
    auto isTrimmedEnd = [](char character) {
        auto byte = static_cast<unsigned char>(character);
        return byte < 0x80 && !StringHelpers::isWhitespaceOrNewline(byte);
    };
    std::string trimmed;
    auto requestPath = reference;
    if (reference.empty() || !isTrimmedEnd(reference.front()) || !isTrimmedEnd(reference.back())) {
        trimmed = StringHelpers::trimmingWhitespaceAndNewlines(reference);
        requestPath = trimmed;
    }
    auto site = sitePath(requestPath, from);
    return site.settledKind ? SitePageIndex::notFound : firstCandidatePosition(site.normalizedPath, pages);
}

ResolvedSiteResource SiteRouteResolver::resolveURL(std::string_view url, std::optional<std::string_view> from) const
{
    auto scheme = urlScheme(url);
    if (!scheme || scheme->size() != siteSchemeName.size() || !startsWithIgnoringASCIICase(*scheme, siteSchemeName))
        return resolve(url, from);

    // Every host of the site scheme means the same site, so the authority is skipped unread.
    auto rest = url.substr(scheme->size() + 1);
    if (StringHelpers::startsWith(rest, "//")) {
        auto pathStart = rest.find_first_of("/?#", 2);
        rest = pathStart == std::string_view::npos ? std::string_view() : rest.substr(pathStart);
    }
    auto encodedPath = rest.substr(0, rest.find_first_of("?#"));
    // The decoded path is resolved as text: a decoded "?" or "#" cuts it again, and it is decoded
    // a second time. The resolver sees only text, so this is kept as it is.
    auto path = StringHelpers::removingPercentEncoding(encodedPath).value_or(std::string(encodedPath));
    if (path.empty())
        path = "/";
    return resolve(path, from);
}

std::string SiteRouteResolver::normalizeRelativePath(std::string path)
{
    // Most paths are already normal; they come back as they are without being taken apart.
    if (!hasEmptyOrDotComponent(path))
        return path;
    // The kept pieces are written one after another, so a ".." takes back the last of them.
    // Dropping ".." at the top is what keeps any reference inside the site's folder.
    std::string kept;
    kept.reserve(path.size());
    std::string_view rest(path);
    while (!rest.empty()) {
        auto slash = std::min(rest.find('/'), rest.size());
        auto component = rest.substr(0, slash);
        rest.remove_prefix(std::min(slash + 1, rest.size()));
        if (component.empty() || component == ".")
            continue;
        if (component == "..") {
            auto lastSlash = kept.rfind('/');
            kept.resize(lastSlash == std::string::npos ? 0 : lastSlash);
            continue;
        }
        if (!kept.empty())
            kept.push_back('/');
        kept.append(component);
    }
    return kept;
}

void SiteRouteResolver::appendParentPath(std::string_view path, std::string& to)
{
    if (!hasEmptyComponent(path)) {
        auto slash = path.rfind('/');
        if (slash != std::string_view::npos)
            to.append(path.substr(0, slash));
        return;
    }
    auto components = FilePaths::nonEmptyComponents(path);
    if (components.size() >= 2)
        to.append(FilePaths::joinedComponents(components, components.size() - 1));
}

std::uint32_t SiteRouteResolver::firstCandidatePosition(const std::string& path, const SitePageIndex& pages)
{
    auto firstWithSuffix = [&](std::initializer_list<std::string_view> suffixes) {
        std::string candidate;
        candidate.reserve(path.size() + 11);
        for (auto suffix : suffixes) {
            candidate.assign(path).append(suffix);
            if (auto position = pages.find(candidate); position != SitePageIndex::notFound)
                return position;
        }
        return SitePageIndex::notFound;
    };

    if (path.empty())
        return SitePageIndex::notFound;
    // Normalised paths never end in "/"; the row stays so the lookup is complete for any path.
    if (path.back() == '/')
        return firstWithSuffix({ "index.html", "index.htm" });
    if (auto position = pages.find(path); position != SitePageIndex::notFound)
        return position;
    if (!FilePaths::pathExtension(path).empty())
        return SitePageIndex::notFound;
    return firstWithSuffix({ ".html", ".htm", "/index.html", "/index.htm" });
}

bool SiteRouteResolver::isServableFile(const std::filesystem::path& url) const
{
    std::error_code error;
    auto status = std::filesystem::symlink_status(url, error);
    return !error && std::filesystem::is_regular_file(status) && !leavesSite(url);
}

bool SiteRouteResolver::leavesSite(const std::filesystem::path& url) const
{
    // A plain prefix test, a second guard behind normalisation.
    if (!StringHelpers::startsWith(url.native(), m_rootURL.native()))
        return true;
    // The link itself is asked, not its target: a file link inside the site that points
    // elsewhere is never served.
    std::error_code error;
    auto status = std::filesystem::symlink_status(url, error);
    if (status.type() == std::filesystem::file_type::not_found)
        return false;
    if (error || std::filesystem::is_symlink(status))
        return true;
    // Linked folders on the way are resolved: what is there must really lie inside the site.
    auto realURL = std::filesystem::canonical(url, error);
    return error || !isWithin(realURL.native(), m_realRootURL.native());
}

}
