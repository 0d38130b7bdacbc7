#include "QuilloryCore/LiveFetch/LiveSiteFetcher.h"

#include "QuilloryCore/LiveFetch/LiveSiteFetchError.h"
#include "QuilloryCore/LiveFetch/SnapshotFolder.h"
#include "QuilloryCore/Text/FilePaths.h"
#include "QuilloryCore/Text/RegularExpression.h"
#include "QuilloryCore/Text/StringHelpers.h"
#include "QuilloryCore/Text/TextFile.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <set>
#include <sys/stat.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace Quillory {

namespace {

constexpr std::string_view pageFileName = "index.html";

bool isLetterOrNumber(UChar32 character)
{
    return (U_GET_GC_MASK(character) & (U_GC_L_MASK | U_GC_N_MASK)) != 0;
}

// Calls `visit` with each code point of valid UTF-8 text and the bytes that spell it.
template<class Visit>
void forEachCodePoint(std::string_view text, Visit visit)
{
    int32_t index = 0;
    auto length = static_cast<int32_t>(text.size());
    while (index < length) {
        int32_t start = index;
        UChar32 character;
        U8_NEXT(text.data(), index, length, character);
        visit(character, text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(index - start)));
    }
}

std::string formatted(std::chrono::sys_seconds time, const char* pattern)
{
    std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm parts {};
    ::gmtime_r(&seconds, &parts);
    char text[64];
    auto length = std::strftime(text, sizeof text, pattern, &parts);
    return std::string(text, length);
}

// Every occurrence of every fetched reference becomes its local path, in one pass from the left;
// where two references start at the same place the longer wins, and replaced text is not
// looked at again, so one reference inside another's local path is left alone.
std::string replacingReferences(std::string_view page, const std::vector<std::pair<std::string, std::string>>& replacements)
{
    if (replacements.empty())
        return std::string(page);
    std::string result;
    result.reserve(page.size());
    std::size_t index = 0;
    while (index < page.size()) {
        const std::pair<std::string, std::string>* longest = nullptr;
        for (auto& replacement : replacements) {
            if ((!longest || replacement.first.size() > longest->first.size()) && page.substr(index).starts_with(replacement.first))
                longest = &replacement;
        }
        if (longest) {
            result += longest->second;
            index += longest->first.size();
        } else {
            result.push_back(page[index++]);
        }
    }
    return result;
}

std::filesystem::path makeSnapshotRoot(const WebURL& start, const std::filesystem::path& parent, std::chrono::sys_seconds fetchedAt)
{
    std::error_code error;
    std::filesystem::create_directories(parent, error);
    if (error) {
        throw FileWriteError(parent, "The folder " + TextFile::quotedFileName(parent) + " couldn\u2019t be created: "
                                         + error.message() + ".");
    }
    // A name taken between the look and the mkdir just moves on to the next suffix.
    while (true) {
        auto root = LiveSiteFetcher::uniqueSnapshotRoot(start, parent, fetchedAt);
        if (::mkdir(root.c_str(), 0755) == 0)
            return root;
        if (errno != EEXIST) {
            throw FileWriteError(root, "The folder " + TextFile::quotedFileName(root) + " couldn\u2019t be created: "
                                           + std::strerror(errno) + ".");
        }
    }
}

}

std::string LiveSiteFetcher::startURL(std::string_view typed)
{
    auto text = StringHelpers::trimmingWhitespaceAndNewlines(typed);
    if (text.empty())
        throw QuilloryError("Enter a live website URL.");
    if (text.find("://") == std::string::npos)
        text = "https://" + text;
    if (!WebURL::parse(text))
        throw QuilloryError("Enter a valid live website URL.");
    return text;
}

std::vector<std::string> LiveSiteFetcher::resourceReferences(std::string_view html)
{
    static const auto expression = RegularExpression::make(u"\\b(?:src|href)\\s*=\\s*[\"']([^\"']+)[\"']",
                                                           static_cast<unsigned>(RegularExpression::Option::CaseInsensitive));
    if (!expression)
        return {};
    auto text = UnicodeText::utf16(html);
    std::vector<std::string> references;
    std::set<std::string> seen;
    for (auto& match : expression->allMatches(text)) {
        auto range = match.range(1);
        if (!range)
            continue;
        auto value = StringHelpers::trimmingWhitespaceAndNewlines(std::u16string_view(text).substr(range->location, range->length));
        if (value.empty())
            continue;
        auto reference = UnicodeText::utf8FromUTF16(value);
        if (seen.insert(reference).second)
            references.push_back(std::move(reference));
    }
    return references;
}

std::string LiveSiteFetcher::sanitizedPath(std::string_view path)
{
    std::string result;
    for (auto piece : FilePaths::components(path)) {
        if (piece.empty() || piece == "." || piece == "..")
            continue;
        if (!result.empty())
            result.push_back('/');
        forEachCodePoint(piece, [&](UChar32 character, std::string_view bytes) {
            bool kept = character >= 0
                && (isLetterOrNumber(character) || character == '-' || character == '.' || character == '_' || character == '~');
            result += kept ? bytes : std::string_view("-");
        });
    }
    return result;
}

std::string LiveSiteFetcher::localRelativePath(const WebURL& url)
{
    auto path = url.decodedPath();
    if (path.empty() || path == "/")
        return std::string(pageFileName);
    auto firstKept = path.find_first_not_of('/');
    auto sanitized = sanitizedPath(firstKept == std::string::npos ? std::string_view() : std::string_view(path).substr(firstKept));
    // A path of nothing but "." and ".." pieces names the site root.
    if (sanitized.empty())
        return std::string(pageFileName);
    if (!FilePaths::pathExtension(sanitized).empty())
        return sanitized;
    return sanitized + "/" + std::string(pageFileName);
}

std::string LiveSiteFetcher::slug(std::string_view text)
{
    std::string result;
    bool pendingDash = false;
    forEachCodePoint(text, [&](UChar32 character, std::string_view) {
        if (character < 0 || !isLetterOrNumber(character)) {
            pendingDash = true;
            return;
        }
        if (pendingDash && !result.empty())
            result.push_back('-');
        pendingDash = false;
        char buffer[U8_MAX_LENGTH];
        int32_t length = 0;
        U8_APPEND_UNSAFE(buffer, length, u_tolower(character));
        result.append(buffer, static_cast<std::size_t>(length));
    });
    return result.empty() ? "site" : result;
}

std::string LiveSiteFetcher::iso8601(std::chrono::sys_seconds time)
{
    return formatted(time, "%Y-%m-%dT%H:%M:%SZ");
}

std::filesystem::path LiveSiteFetcher::uniqueSnapshotRoot(const WebURL& url, const std::filesystem::path& parent,
                                                          std::chrono::sys_seconds fetchedAt)
{
    auto name = slug(url.host.value_or("site")) + "-" + formatted(fetchedAt, "%Y%m%d-%H%M%S");
    auto candidate = parent / name;
    std::error_code error;
    for (int suffix = 2; std::filesystem::exists(std::filesystem::symlink_status(candidate, error)); ++suffix)
        candidate = parent / (name + "-" + std::to_string(suffix));
    return candidate;
}

LiveSiteFetchResult LiveSiteFetcher::fetch(std::string_view startURL, const std::filesystem::path& parent,
                                           std::chrono::sys_seconds fetchedAt) const
{
    auto start = WebURL::parse(startURL);
    if (!start || !start->isHTTP())
        throw LiveSiteFetchError::unsupportedURL();
    if (!start->host || start->host->empty())
        throw LiveSiteFetchError::noHost();

    auto root = makeSnapshotRoot(*start, parent, fetchedAt);
    SnapshotFolder folder(root);

    auto page = HTTPTransfer::get(start->requestString(), maxAssetBytes, timeouts);
    if (!page.response)
        throw QuilloryError(page.failure);
    if (page.response->statusCode < 100)
        throw LiveSiteFetchError::invalidResponse();
    if (page.response->statusCode < 200 || page.response->statusCode > 299)
        throw LiveSiteFetchError::badStatus(page.response->statusCode);
    if (page.response->exceededLimit)
        throw QuilloryError("Resource exceeded the per-asset size limit.");
    const auto& html = page.response->body;
    if (html.empty() || !UnicodeText::utf16FromUTF8(html))
        throw LiveSiteFetchError::emptyHTML();

    LiveSiteFetchManifest manifest;
    manifest.sourceURL = start->absoluteString();
    manifest.fetchedAt = iso8601(fetchedAt);
    manifest.entryPage = std::string(pageFileName);
    std::vector<std::pair<std::string, std::string>> replacements;

    auto references = resourceReferences(html);
    if (references.size() > maxAssets)
        references.resize(maxAssets);
    for (auto& reference : references) {
        auto skip = [&](std::string sourceURL, std::optional<std::string> relativePath, std::optional<int> status, std::string note) {
            manifest.skippedResources.push_back({ std::move(sourceURL), std::move(relativePath), status, std::move(note) });
        };
        auto resolved = WebURL::resolve(reference, *start);
        if (!resolved) {
            skip(reference, std::nullopt, std::nullopt, "Could not resolve URL");
            continue;
        }
        if (!resolved->isHTTP() || !resolved->isSameOrigin(*start)) {
            skip(reference, std::nullopt, std::nullopt, "External or unsupported resource");
            continue;
        }
        auto localPath = localRelativePath(*resolved);
        if (localPath == pageFileName) {
            skip(reference, std::nullopt, std::nullopt, "Skipped page-like root resource");
            continue;
        }
        auto absolute = resolved->absoluteString();
        auto asset = HTTPTransfer::get(resolved->requestString(), maxAssetBytes, timeouts);
        if (!asset.response) {
            skip(absolute, localPath, std::nullopt, asset.failure);
            continue;
        }
        int status = asset.response->statusCode;
        if (status < 100) {
            skip(absolute, localPath, std::nullopt, LiveSiteFetchError::invalidResponse().what());
            continue;
        }
        if (status < 200 || status > 299) {
            skip(absolute, localPath, status, "HTTP status was not successful");
            continue;
        }
        if (asset.response->exceededLimit) {
            skip(absolute, localPath, status, "Resource exceeded the per-asset size limit");
            continue;
        }
        try {
            folder.writeAtomically(localPath, asset.response->body);
        } catch (const QuilloryError& error) {
            skip(absolute, localPath, std::nullopt, error.what());
            continue;
        }
        manifest.downloadedAssets.push_back({ absolute, localPath, status, std::nullopt });
        replacements.emplace_back(reference, localPath);
    }

    folder.writeAtomically(pageFileName, replacingReferences(html, replacements));
    folder.writeAtomically(LiveSiteFetchManifest::fileName, manifest.encodedJSON());
    return { root, std::move(manifest) };
}

}
