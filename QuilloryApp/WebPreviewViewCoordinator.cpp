#include "QuilloryApp/WebPreviewViewCoordinator.h"

#include "QuilloryApp/ScriptMessageHandlerNames.h"

#include <webkit/webkit.h>

#include <cstdio>
#include <cstdlib>

// Defined by the compiled resource bundle; asking for it also keeps the bundle in the link.
extern "C" GResource* quillory_get_resource(void);

namespace Quillory {

namespace {

constexpr const char* scrollObserverResourcePath = "/app/quillory/PreviewScrollObserver.js";

void replaceAll(std::string& text, std::string_view from, std::string_view to)
{
    for (auto position = text.find(from); position != std::string::npos; position = text.find(from, position + to.size()))
        text.replace(position, from.size(), to);
}

}

void WebPreviewView::Coordinator::takeInputs(const Inputs& inputs)
{
    m_schemeHandler.update(inputs.siteMap);
    m_currentPageID = inputs.currentDocumentID;
    m_onNavigateToPage = inputs.onNavigateToPage;
    m_onPreviewScrolled = inputs.onPreviewScrolled;
}

void WebPreviewView::Coordinator::reloadIfNeeded(WebKitWebView* webView, const PreviewTarget& previewTarget, const UUID& reloadToken)
{
    if (previewTarget == m_lastPreviewTarget && reloadToken == m_lastReloadToken)
        return;
    m_lastPreviewTarget = previewTarget;
    m_lastReloadToken = reloadToken;

    if (auto url = previewTarget.url()) {
        // The engine's default cache policy applies. WebKitGTK has no per-request timeout; a
        // scheme request is answered at once, and a dev server is on the loopback address.
        webkit_web_view_load_uri(webView, url->c_str());
        return;
    }
    auto& unavailable = std::get<PreviewTarget::Unavailable>(previewTarget.value);
    webkit_web_view_load_html(webView, unavailableHTML(unavailable.text).c_str(), nullptr);
}

WebPreviewView::Coordinator::NavigationPolicy WebPreviewView::Coordinator::decidePolicy(const std::optional<std::string>& url)
{
    if (!url)
        return NavigationPolicy::allow;
    // Any other scheme leaves the site inside this web view: http(s) links and dev server pages.
    // The comparison is case-sensitive on purpose; the engine hands over the scheme lower-cased.
    auto colon = url->find(':');
    if (colon == std::string::npos || std::string_view(*url).substr(0, colon) != SitePreviewSchemeHandler::scheme)
        return NavigationPolicy::allow;
    auto resolver = m_schemeHandler.resolver();
    if (!resolver)
        return NavigationPolicy::allow;
    auto resolved = resolver->resolveURL(*url);
    // Assets load, and the scheme handler answers a missing route with its own 404 text.
    if (resolved.kind.tag() != ResolvedSiteResource::Kind::Tag::localPage)
        return NavigationPolicy::allow;
    const auto& pageID = *resolved.kind.pageID();
    // The load of the current page itself, and links to it, pass without asking.
    if (pageID == m_currentPageID)
        return NavigationPolicy::allow;
    if (!m_onNavigateToPage)
        return NavigationPolicy::cancel;
    // The store selects the page first, and may refuse (when the current page can't be saved);
    // only then does the web view go on.
    if (!m_onNavigateToPage(pageID))
        return NavigationPolicy::cancel;
    m_currentPageID = pageID;
    return NavigationPolicy::allow;
}

void WebPreviewView::Coordinator::didFinish(WebKitWebView* webView)
{
    if (m_isInstallingScrollObserver)
        return;
    m_isInstallingScrollObserver = true;
    const auto& script = scrollObserverScript();
    // The completion holds only a weak reference: a view destroyed meanwhile drops the result.
    auto* weakSelf = new std::weak_ptr<Coordinator>(weak_from_this());
    webkit_web_view_evaluate_javascript(
        webView, script.data(), static_cast<gssize>(script.size()), nullptr, nullptr, nullptr,
        +[](GObject* source, GAsyncResult* result, gpointer data) {
            std::unique_ptr<std::weak_ptr<Coordinator>> weak(static_cast<std::weak_ptr<Coordinator>*>(data));
            // A failed install is dropped: the preview works without scroll reports.
            GError* error = nullptr;
            if (JSCValue* value = webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(source), result, &error))
                g_object_unref(value);
            g_clear_error(&error);
            if (auto self = weak->lock())
                self->m_isInstallingScrollObserver = false;
        },
        weakSelf);
}

void WebPreviewView::Coordinator::didReceiveScriptMessage(std::string_view name)
{
    if (name != ScriptMessageHandlerNames::previewScrolled)
        return;
    if (m_onPreviewScrolled)
        m_onPreviewScrolled();
}

std::string WebPreviewView::Coordinator::escapedHTML(std::string_view text)
{
    std::string escaped(text);
    replaceAll(escaped, "&", "&amp;");
    replaceAll(escaped, "<", "&lt;");
    replaceAll(escaped, ">", "&gt;");
    return escaped;
}

std::string WebPreviewView::Coordinator::unavailableHTML(std::string_view text)
{
    return "<!doctype html>\n<html>\n<body style=\"font: -apple-system-body; color: #475569; padding: 24px;\">\n  <p>" + escapedHTML(text)
        + "</p>\n</body>\n</html>";
}

const std::string& WebPreviewView::Coordinator::scrollObserverScript()
{
    static const std::string script = [] {
        GError* error = nullptr;
        GBytes* bytes = g_resource_lookup_data(quillory_get_resource(), scrollObserverResourcePath, G_RESOURCE_LOOKUP_FLAGS_NONE, &error);
        if (!bytes) {
            // The script is compiled into the program; its absence is a broken build.
            std::fprintf(stderr, "Missing resource %s: %s\n", scrollObserverResourcePath, error->message);
            std::abort();
        }
        gsize size = 0;
        auto* data = static_cast<const char*>(g_bytes_get_data(bytes, &size));
        std::string text(data, size);
        g_bytes_unref(bytes);
        return text;
    }();
    return script;
}

}
