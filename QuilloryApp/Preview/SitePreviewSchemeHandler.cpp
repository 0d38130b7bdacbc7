#include "QuilloryApp/Preview/SitePreviewSchemeHandler.h"

#include "QuilloryApp/Support/GRef.h"

#include <webkit/webkit.h>

#include <cstdio>
#include <cstdlib>

namespace Quillory {

namespace {

// The handler of a web view rides on the web view itself, so that one registration of the scheme
// per context serves every preview with its own site.
constexpr const char* handlerDataKey = "quillory-site-scheme-handler";
constexpr const char* registeredDataKey = "quillory-site-scheme-registered";

void deliver(WebKitURISchemeRequest* request, SitePreviewAnswer answer)
{
    if (auto* readError = std::get_if<FileReadError>(&answer)) {
        GError* error = g_error_new_literal(G_IO_ERROR, G_IO_ERROR_FAILED, readError->what());
        webkit_uri_scheme_request_finish_error(request, error);
        g_error_free(error);
        return;
    }

    auto& response = std::get<SitePreviewResponse>(answer);
    auto length = static_cast<gint64>(response.body.size());
    // The body moves into the GBytes without a copy; the bytes free it.
    auto* body = new std::string(std::move(response.body));
    auto bytes = GRef<GBytes>::adopt(g_bytes_new_with_free_func(body->data(), body->size(),
                                                               +[](gpointer data) { delete static_cast<std::string*>(data); }, body));
    auto stream = GRef<GInputStream>::adopt(g_memory_input_stream_new_from_bytes(bytes.get()));
    auto schemeResponse = GRef<WebKitURISchemeResponse>::adopt(webkit_uri_scheme_response_new(stream.get(), length));
    // The status always goes out, so that a page's fetch() sees 200 or the failure's code.
    webkit_uri_scheme_response_set_status(schemeResponse.get(), static_cast<guint>(response.statusCode), nullptr);
    auto contentType = response.contentType.headerValue();
    webkit_uri_scheme_response_set_content_type(schemeResponse.get(), contentType.c_str());
    SoupMessageHeaders* headers = soup_message_headers_new(SOUP_MESSAGE_HEADERS_RESPONSE);
    soup_message_headers_replace(headers, "Content-Type", contentType.c_str());
    webkit_uri_scheme_response_set_http_headers(schemeResponse.get(), headers);
    webkit_uri_scheme_request_finish_with_response(request, schemeResponse.get());
}

}

SitePreviewSchemeHandler::SitePreviewSchemeHandler()
    : m_mainThread(std::this_thread::get_id())
{
}

SitePreviewSchemeHandler::~SitePreviewSchemeHandler() = default;

void SitePreviewSchemeHandler::update(const std::optional<SiteMap>& siteMap)
{
    std::optional<SiteRouteResolver> resolver;
    if (siteMap)
        resolver.emplace(siteMap->rootURL, siteMap->pages);
    std::lock_guard lock(m_lock);
    m_resolver = std::move(resolver);
}

std::optional<SiteRouteResolver> SitePreviewSchemeHandler::resolver() const
{
    std::lock_guard lock(m_lock);
    return m_resolver;
}

void SitePreviewSchemeHandler::attach(WebKitWebView* webView)
{
    assertMainThread();
    g_object_set_data(G_OBJECT(webView), handlerDataKey, this);
}

void SitePreviewSchemeHandler::detach(WebKitWebView* webView)
{
    assertMainThread();
    if (g_object_get_data(G_OBJECT(webView), handlerDataKey) == this)
        g_object_set_data(G_OBJECT(webView), handlerDataKey, nullptr);
}

void SitePreviewSchemeHandler::registerScheme(WebKitWebContext* context)
{
    if (g_object_get_data(G_OBJECT(context), registeredDataKey))
        return;
    g_object_set_data(G_OBJECT(context), registeredDataKey, GINT_TO_POINTER(1));
    std::string schemeName(scheme);
    webkit_web_context_register_uri_scheme(
        context, schemeName.c_str(), +[](WebKitURISchemeRequest* request, gpointer) { start(request); }, nullptr, nullptr);
    WebKitSecurityManager* securityManager = webkit_web_context_get_security_manager(context);
    webkit_security_manager_register_uri_scheme_as_secure(securityManager, schemeName.c_str());
    webkit_security_manager_register_uri_scheme_as_cors_enabled(securityManager, schemeName.c_str());
}

void SitePreviewSchemeHandler::start(WebKitURISchemeRequest* request)
{
    // A request from a web view without a handler (none attached, or already detached) is
    // answered as if no site were open.
    std::optional<SiteRouteResolver> resolver;
    WebKitWebView* webView = webkit_uri_scheme_request_get_web_view(request);
    if (auto* handler = webView ? static_cast<SitePreviewSchemeHandler*>(g_object_get_data(G_OBJECT(webView), handlerDataKey)) : nullptr) {
        handler->assertMainThread();
        resolver = handler->resolver();
    }
    const char* uri = webkit_uri_scheme_request_get_uri(request);
    std::optional<std::string> requestURL;
    if (uri && *uri)
        requestURL = uri;
    deliver(request, answer(requestURL, resolver));
}

void SitePreviewSchemeHandler::assertMainThread() const
{
    if (std::this_thread::get_id() == m_mainThread)
        return;
    std::fputs("SitePreviewSchemeHandler used off the main thread\n", stderr);
    std::abort();
}

}
