#include "FuzzSupport.h"

#include "QuilloryCore/LiveFetch/LiveSiteFetcher.h"
#include "QuilloryCore/LiveFetch/WebURL.h"
#include "QuilloryCore/Text/UnicodeText.h"

#include <string>

// Any bytes, taken as an absolute URL, as a reference resolved against a page of the fetched
// site, and as a bare path. Every local path the fetcher would write to stays in the snapshot
// folder: relative, valid UTF-8, without an empty, "." or ".." piece and without NUL or any other
// control character. Every URL that parses carries only what a request line can.

using namespace Quillory;
using QuilloryFuzz::check;

namespace {

void checkStaysInside(const std::string& path, std::string_view input)
{
    check(!path.empty() && path.front() != '/', "a local path is empty or absolute", input);
    check(UnicodeText::isValidUTF8(path), "a local path is not UTF-8", input);
    for (unsigned char byte : path)
        check(byte >= 0x20 && byte != 0x7F, "a local path holds a control character", input);
    std::size_t start = 0;
    while (start <= path.size()) {
        auto slash = path.find('/', start);
        auto end = slash == std::string::npos ? path.size() : slash;
        auto piece = std::string_view(path).substr(start, end - start);
        check(!piece.empty() && piece != "." && piece != "..", "a local path holds an empty, \".\" or \"..\" piece", input);
        start = end + 1;
    }
}

void checkRequestable(const WebURL& url, std::string_view input)
{
    for (unsigned char byte : url.requestString()) {
        bool carried = byte > 0x20 && byte < 0x7F && std::string_view("\"<>\\^`{|}").find(static_cast<char>(byte)) == std::string_view::npos;
        check(carried, "a URL carries a byte that a request line can't", input);
    }
}

void checkURL(const std::optional<WebURL>& url, std::string_view input)
{
    if (!url)
        return;
    checkRequestable(*url, input);
    checkStaysInside(LiveSiteFetcher::localRelativePath(*url), input);
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const auto base = *WebURL::parse("https://example.com/blog/post/index.html?page=2");
    auto input = QuilloryFuzz::bytes(data, size);
    checkURL(WebURL::parse(input), input);
    checkURL(WebURL::resolve(input, base), input);
    auto sanitized = LiveSiteFetcher::sanitizedPath(input);
    // A path of nothing but separators, "." and ".." sanitizes to nothing, which the mapping
    // turns into the site root's page.
    if (!sanitized.empty())
        checkStaysInside(sanitized, input);
    return 0;
}
