#pragma once

#include "QuilloryCore/Text/QuilloryErrors.h"
#include "QuilloryCore/SiteModel/SiteGraphModels.h"
#include "QuilloryCore/SiteModel/SiteRouteResolver.h"

#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <variant>

typedef struct _WebKitURISchemeRequest WebKitURISchemeRequest;
typedef struct _WebKitWebContext WebKitWebContext;
typedef struct _WebKitWebView WebKitWebView;

namespace Quillory {

// How the bytes of a served file are to be read.
struct SitePreviewContentType {
    std::string mimeType;
    // "utf-8" for text types; nothing for binary ones.
    std::optional<std::string> textEncodingName;

    // The Content-Type header: "mime; charset=utf-8" when an encoding is named, else the MIME type.
    std::string headerValue() const;

    friend bool operator==(const SitePreviewContentType&, const SitePreviewContentType&) = default;
};

// A completed answer to one request of the scheme: a served file (status 200) or a failure text.
struct SitePreviewResponse {
    int statusCode;
    SitePreviewContentType contentType;
    // The bytes, unchanged; their count is the expected content length.
    std::string body;

    friend bool operator==(const SitePreviewResponse&, const SitePreviewResponse&) = default;
};

// Either a response, or the read error that ends the request without one.
using SitePreviewAnswer = std::variant<SitePreviewResponse, FileReadError>;

// Serves every request of the scheme "quillory-site" from the open site's folder, through a
// SiteRouteResolver. Files are passed through unchanged and nothing is cached, so a reload always
// shows what is on disk. Made, updated and asked on the main thread only.
class SitePreviewSchemeHandler {
public:
    static constexpr std::string_view scheme = "quillory-site";

    SitePreviewSchemeHandler();
    ~SitePreviewSchemeHandler();
    SitePreviewSchemeHandler(const SitePreviewSchemeHandler&) = delete;
    SitePreviewSchemeHandler& operator=(const SitePreviewSchemeHandler&) = delete;

    // Builds a new resolver from the map's root and pages, or clears it without a map. A request
    // under way keeps the copy it took.
    void update(const std::optional<SiteMap>& siteMap);
    // A copy of the current resolver, taken under the lock.
    std::optional<SiteRouteResolver> resolver() const;

    // The answer to a request URL (nothing when the request has none) from a resolver (nothing
    // when no site is open). Reads the resolved file whole, synchronously.
    static SitePreviewAnswer answer(const std::optional<std::string>& requestURL, const std::optional<SiteRouteResolver>&);
    // The answer for a reference that `resolver` has already resolved. A file that leaves the site
    // (a link, or a real path outside the site's real folder) is "Route not found".
    static SitePreviewAnswer answer(const ResolvedSiteResource&, const SiteRouteResolver& resolver);
    // The MIME type and encoding by the served file's extension, lower-cased.
    static SitePreviewContentType contentType(const std::filesystem::path& fileURL);
    // A plain-text failure: the status and the message as UTF-8.
    static SitePreviewResponse failure(int statusCode, std::string_view message);

    // Makes the scheme's requests from `webView` reach this handler. The web view must belong
    // to a context on which registerScheme() was called; detach before the handler goes away.
    void attach(WebKitWebView* webView);
    void detach(WebKitWebView* webView);
    // Registers the scheme once per web context, as a secure, CORS-enabled scheme so that a
    // page's same-origin stylesheets, fonts, scripts, modules and fetch() load.
    static void registerScheme(WebKitWebContext*);

private:
    static void start(WebKitURISchemeRequest*);
    void assertMainThread() const;

    std::thread::id m_mainThread;
    // Guards m_resolver alone; held only to build or copy it.
    mutable std::mutex m_lock;
    std::optional<SiteRouteResolver> m_resolver;
};

}
