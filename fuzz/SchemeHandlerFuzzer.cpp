#include "FuzzSupport.h"

#include "QuilloryApp/Preview/SitePreviewSchemeHandler.h"

// Requests of the preview scheme against the hostile site: no response may carry a byte of a
// file outside the site's real folder. The input is the URL's path, or a whole URL when it
// names a scheme.

using namespace Quillory;
using QuilloryFuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    auto input = QuilloryFuzz::bytes(data, size);
    std::optional<SiteRouteResolver> resolver = QuilloryFuzz::hostileSite().map.routeResolver();
    for (auto url : { std::string("quillory-site://local/").append(input), std::string(input) }) {
        auto answer = SitePreviewSchemeHandler::answer(url, resolver);
        if (auto* response = std::get_if<SitePreviewResponse>(&answer)) {
            check(response->body.find(QuilloryFuzz::secretMarker) == std::string::npos, "a file from outside the site was served", input);
            check(response->statusCode == 200 || response->contentType.mimeType == "text/plain", "a failure is not plain text", input);
        }
    }
    return 0;
}
