#include "QuilloryApp/Preview/SitePreviewSchemeHandler.h"

#include "QuilloryCore/Text/FilePaths.h"
#include "QuilloryCore/Text/StringHelpers.h"
#include "QuilloryCore/Text/TextFile.h"

#include <map>

// What the scheme answers, decided without the web engine: these functions need only the core,
// so the fuzzing harness of the scheme builds them without GTK.

namespace Quillory {

std::string SitePreviewContentType::headerValue() const
{
    if (!textEncodingName)
        return mimeType;
    return mimeType + "; charset=" + *textEncodingName;
}

SitePreviewAnswer SitePreviewSchemeHandler::answer(const std::optional<std::string>& requestURL,
                                                   const std::optional<SiteRouteResolver>& resolver)
{
    if (!requestURL)
        return failure(400, "Missing request URL");
    if (!resolver)
        return failure(404, "No site is open");
    return answer(resolver->resolveURL(*requestURL), *resolver);
}

SitePreviewAnswer SitePreviewSchemeHandler::answer(const ResolvedSiteResource& resolved, const SiteRouteResolver& resolver)
{
    using Tag = ResolvedSiteResource::Kind::Tag;
    switch (resolved.kind.tag()) {
    case Tag::external:
    case Tag::ignored:
        return failure(404, "Route not handled by local preview");
    case Tag::missingLocalRoute:
        return failure(404, "Route not found");
    case Tag::localPage:
    case Tag::localAsset:
        break;
    }
    if (!resolved.fileURL)
        return failure(404, "Missing local file");
    // Asked again right before the read, for pages too: whatever the answer says, nothing is
    // read from outside the site's real folder, nor through a link.
    if (resolver.leavesSite(*resolved.fileURL))
        return failure(404, "Route not found");
    try {
        auto bytes = TextFile::readBytes(*resolved.fileURL);
        return SitePreviewResponse { 200, contentType(*resolved.fileURL), std::move(bytes) };
    } catch (const FileReadError& error) {
        return error;
    }
}

SitePreviewContentType SitePreviewSchemeHandler::contentType(const std::filesystem::path& fileURL)
{
    static const std::map<std::string, SitePreviewContentType, std::less<>> byExtension {
        { "html", { "text/html", "utf-8" } },
        { "htm", { "text/html", "utf-8" } },
        { "css", { "text/css", "utf-8" } },
        { "js", { "text/javascript", "utf-8" } },
        { "mjs", { "text/javascript", "utf-8" } },
        { "json", { "application/json", "utf-8" } },
        // Source maps are JSON but name no encoding.
        { "map", { "application/json", std::nullopt } },
        { "svg", { "image/svg+xml", "utf-8" } },
        { "png", { "image/png", std::nullopt } },
        { "jpg", { "image/jpeg", std::nullopt } },
        { "jpeg", { "image/jpeg", std::nullopt } },
        { "gif", { "image/gif", std::nullopt } },
        { "webp", { "image/webp", std::nullopt } },
        { "ico", { "image/x-icon", std::nullopt } },
        { "woff", { "font/woff", std::nullopt } },
        { "woff2", { "font/woff2", std::nullopt } },
        { "ttf", { "font/ttf", std::nullopt } },
        { "otf", { "font/otf", std::nullopt } },
        { "txt", { "text/plain", "utf-8" } },
    };
    // The table's extensions are ASCII, so ASCII folding is all the lower-casing they need.
    auto extension = StringHelpers::asciiLowercased(FilePaths::pathExtension(fileURL.native()));
    if (auto entry = byExtension.find(extension); entry != byExtension.end())
        return entry->second;
    return { "application/octet-stream", std::nullopt };
}

SitePreviewResponse SitePreviewSchemeHandler::failure(int statusCode, std::string_view message)
{
    return { statusCode, { "text/plain", "utf-8" }, std::string(message) };
}

}
