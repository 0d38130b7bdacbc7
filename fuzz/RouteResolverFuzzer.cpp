#include "FuzzSupport.h"

#include "QuilloryCore/SiteModel/SiteRouteResolver.h"

#include <algorithm>

// References against the hostile site: nothing resolved may lie outside its real folder, no
// relative path may hold a control character, and page() must agree with resolve(). The input
// is the reference, or "FROM\nREFERENCE".

using namespace Quillory;
using QuilloryFuzz::check;

namespace {

void checkResolved(const ResolvedSiteResource& resolved, std::string_view input)
{
    if (resolved.relativePath) {
        auto& path = *resolved.relativePath;
        check(std::none_of(path.begin(), path.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }),
              "a relative path holds a control character", input);
    }
    if (resolved.fileURL) {
        check(QuilloryFuzz::isInsideRealRoot(*resolved.fileURL), "a resolved file lies outside the site: " + resolved.fileURL->string(), input);
        std::error_code error;
        check(!std::filesystem::is_symlink(std::filesystem::symlink_status(*resolved.fileURL, error)), "a resolved file is a link", input);
    }
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    auto input = QuilloryFuzz::bytes(data, size);
    std::optional<std::string_view> from;
    auto reference = input;
    if (auto newline = input.find('\n'); newline != std::string_view::npos) {
        from = input.substr(0, newline);
        reference = input.substr(newline + 1);
    }
    auto resolver = QuilloryFuzz::hostileSite().map.routeResolver();

    auto resolved = resolver.resolve(reference, from);
    checkResolved(resolved, input);
    auto* page = resolver.page(reference, from);
    check((page ? std::optional<std::string>(page->id) : std::nullopt) == resolved.kind.pageID(), "page() and resolve() disagree", input);

    checkResolved(resolver.resolveURL(std::string("quillory-site://local/").append(reference), from), input);
    checkResolved(resolver.resolveURL(reference), input);
    return 0;
}
