#include "QuilloryApp/Preview/WebPreviewViewCoordinator.h"

#include "QuilloryApp/Brightloop/BrightloopPreviewContainerView.h"
#include "QuilloryApp/Brightloop/BrightloopWebKitBridge.h"
#include "QuilloryApp/Inspection/PageInspectionWebKitBridge.h"
#include "QuilloryApp/Support/ScriptMessageHandlerNames.h"
#include "QuilloryCore/Brightloop/BrightloopPreviewEffectScript.h"

#include <webkit/webkit.h>

#include <cstdio>
#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <variant>

#include <nlohmann/json.hpp>

// Defined by the compiled resource bundle; asking for it also keeps the bundle in the link.
extern "C" GResource* quillory_get_resource(void);

namespace Quillory {

namespace {

constexpr const char* scrollObserverResourcePath = "/app/quillory/PreviewScrollObserver.js";
constexpr const char* scrollRestoreResourcePath = "/app/quillory/PreviewScrollRestore.js";
constexpr const char* scrollOffsetScript = "JSON.stringify([window.scrollX || 0, window.scrollY || 0])";
constexpr const char* viewportPageRectScript =
    "JSON.stringify([window.scrollX || 0, window.scrollY || 0, window.innerWidth || 0, window.innerHeight || 0])";
constexpr const char* pageSnapshotFailedPrefix = "Page snapshot failed: ";

// Runs a script for its effect on the page; its answer and any error are dropped.
void evaluateDroppingAnswer(WebKitWebView* webView, const std::string& script)
{
    webkit_web_view_evaluate_javascript(webView, script.data(), static_cast<gssize>(script.size()), nullptr, nullptr, nullptr, nullptr, nullptr);
}

std::string resourceText(const char* path)
{
    GError* error = nullptr;
    GBytes* bytes = g_resource_lookup_data(quillory_get_resource(), path, G_RESOURCE_LOOKUP_FLAGS_NONE, &error);
    if (!bytes) {
        // The script is compiled into the program; its absence is a broken build.
        std::fprintf(stderr, "Missing resource %s: %s\n", path, error->message);
        std::abort();
    }
    gsize size = 0;
    auto* data = static_cast<const char*>(g_bytes_get_data(bytes, &size));
    std::string text(data, size);
    g_bytes_unref(bytes);
    return text;
}

// A number as JavaScript reads it, whatever the locale.
std::string jsNumber(double value)
{
    char text[32];
    auto result = std::to_chars(text, text + sizeof text, value);
    return std::string(text, result.ptr);
}

void replaceAll(std::string& text, std::string_view from, std::string_view to)
{
    for (auto position = text.find(from); position != std::string::npos; position = text.find(from, position + to.size()))
        text.replace(position, from.size(), to);
}

}

void WebPreviewView::Coordinator::bind(BrightloopPreviewContainerView& container, WebKitWebView* webView)
{
    m_container = &container;
    m_webView = webView;
    container.overlay().setOnDragCompleted([weak = weak_from_this()](const graphene_rect_t& rect) {
        if (auto self = weak.lock())
            self->overlayDragCompleted(rect);
    });
}

void WebPreviewView::Coordinator::takeInputs(const Inputs& inputs)
{
    m_schemeHandler.update(inputs.siteMap);
    m_currentPageID = inputs.currentDocumentID;
    m_onNavigateToPage = inputs.onNavigateToPage;
    m_onPreviewScrolled = inputs.onPreviewScrolled;
    m_onBrightloopRecords = inputs.onBrightloopRecords;
    m_onPageInspectionSnapshot = inputs.onPageInspectionSnapshot;
    m_onPageInspectionError = inputs.onPageInspectionError;
}

void WebPreviewView::Coordinator::reloadIfNeeded(WebKitWebView* webView, const PreviewTarget& previewTarget, const UUID& reloadToken)
{
    if (previewTarget == m_lastPreviewTarget && reloadToken == m_lastReloadToken)
        return;
    bool isSameTarget = previewTarget == m_lastPreviewTarget;
    m_lastPreviewTarget = previewTarget;
    m_lastReloadToken = reloadToken;
    auto generation = ++m_loadGeneration;
    // A reload that overtakes one still under way keeps the place that one was to put back: the
    // page on screen may already be the new document, still at the top.
    auto unrestored = std::exchange(m_scrollToRestore, std::nullopt);

    auto url = previewTarget.url();
    const char* shownURL = webkit_web_view_get_uri(webView);
    if (!url || !isSameTarget || !shownURL || *url != shownURL || webView != m_webView) {
        load(webView, previewTarget);
        return;
    }
    // A reload of the page on screen (after an autosave) keeps the reader's place: the position
    // is read first and put back once the new load has finished.
    evaluateForText(scrollOffsetScript, [generation, previewTarget, unrestored](Coordinator& self, std::optional<std::string> answer) {
        // A newer load has taken over, or the view is gone.
        if (generation != self.m_loadGeneration || !self.m_webView)
            return;
        auto offset = numbersFromJSONArray(answer, 2);
        if (unrestored)
            self.m_scrollToRestore = ScrollPosition { unrestored->x, unrestored->y, generation };
        else if (offset && ((*offset)[0] != 0 || (*offset)[1] != 0))
            self.m_scrollToRestore = ScrollPosition { (*offset)[0], (*offset)[1], generation };
        self.load(self.m_webView, previewTarget);
    });
}

void WebPreviewView::Coordinator::load(WebKitWebView* webView, const PreviewTarget& previewTarget)
{
    m_requestedLoadGeneration = m_loadGeneration;
    if (auto* page = std::get_if<PreviewTarget::StaticPage>(&previewTarget.value))
        m_requestedPageLoads.push_back(page->pageID);
    else
        m_requestedPageLoads.clear();
    if (auto url = previewTarget.url()) {
        // The engine's default cache policy applies. WebKitGTK has no per-request timeout; a
        // scheme request is answered at once, and a dev server is on the loopback address.
        webkit_web_view_load_uri(webView, url->c_str());
        return;
    }
    auto& unavailable = std::get<PreviewTarget::Unavailable>(previewTarget.value);
    webkit_web_view_load_html(webView, unavailableHTML(unavailable.text).c_str(), nullptr);
}

WebPreviewView::Coordinator::NavigationPolicy WebPreviewView::Coordinator::decidePolicy(const std::optional<std::string>& url, NavigationKind kind)
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
    if (kind == NavigationKind::other) {
        // One of this view's own loads: the engine may ask about it after the store has already
        // moved to another page. Asking the store then would select the old page again, whose
        // load would ask for the newer one, and so on for ever; such a load is simply dropped.
        auto ownLoad = std::find(m_requestedPageLoads.begin(), m_requestedPageLoads.end(), pageID);
        if (ownLoad != m_requestedPageLoads.end()) {
            // Older loads were superseded before the engine asked about them.
            m_requestedPageLoads.erase(m_requestedPageLoads.begin(), ownLoad + 1);
            return pageID == m_currentPageID ? NavigationPolicy::allow : NavigationPolicy::cancel;
        }
    }
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

void WebPreviewView::Coordinator::didCommit()
{
    m_committedLoadGeneration = m_requestedLoadGeneration;
}

void WebPreviewView::Coordinator::didFinish(WebKitWebView* webView)
{
    installScrollObserver(webView);
    restoreScrollPosition(webView);
    // A load discards the page's state: the last effects go on again, so hidden and highlighted
    // candidates survive the reload after a save.
    if (m_lastPreviewDirective)
        evaluateDroppingAnswer(webView, BrightloopPreviewEffectScript::script(*m_lastPreviewDirective));
}

void WebPreviewView::Coordinator::restoreScrollPosition(WebKitWebView* webView)
{
    if (!m_scrollToRestore || m_scrollToRestore->loadGeneration != m_committedLoadGeneration)
        return;
    auto position = std::exchange(m_scrollToRestore, std::nullopt);
    // The script marks the position it set, so that the scroll observer doesn't report it as
    // the reader's scroll (which would clear the fence result).
    evaluateDroppingAnswer(webView, scrollRestoreScript() + "(" + jsNumber(position->x) + ", " + jsNumber(position->y) + ");");
}

void WebPreviewView::Coordinator::installScrollObserver(WebKitWebView* webView)
{
    // Every finished load installs it; the page's own flag keeps one listener per document. A
    // failed install is dropped: the preview works without scroll reports.
    evaluateDroppingAnswer(webView, scrollObserverScript());
}

void WebPreviewView::Coordinator::updateOverlay(bool brightloopEnabled)
{
    if (!m_container)
        return;
    auto& overlay = m_container->overlay();
    if (brightloopEnabled) {
        gtk_widget_set_visible(overlay.widget(), TRUE);
        return;
    }
    // Forgotten before it is hidden, so that the end of a drag under way finds nothing to report.
    if (overlay.dragStart() || overlay.dragCurrent())
        overlay.clearDrag();
    gtk_widget_set_visible(overlay.widget(), FALSE);
}

void WebPreviewView::Coordinator::handleVisibleAreaTokenIfChanged(const std::optional<UUID>& token)
{
    if (!token || token == m_lastVisibleAreaToken)
        return;
    m_lastVisibleAreaToken = token;
    if (m_webView)
        runVisibleAreaFence();
}

void WebPreviewView::Coordinator::handlePreviewDirectiveIfChanged(const BrightloopPreviewDirective& directive)
{
    if (directive == m_lastPreviewDirective)
        return;
    m_lastPreviewDirective = directive;
    applyPreviewDirectiveToCurrentPage();
}

void WebPreviewView::Coordinator::handlePageInspectionTokenIfChanged(const std::optional<UUID>& token)
{
    if (!token || token == m_lastPageInspectionToken)
        return;
    m_lastPageInspectionToken = token;
    if (m_webView)
        runPageInspection();
}

void WebPreviewView::Coordinator::applyPreviewDirectiveToCurrentPage()
{
    // An effect that fails in the page has no visible consequence, and none here either.
    if (m_webView && m_lastPreviewDirective)
        evaluateDroppingAnswer(m_webView, BrightloopPreviewEffectScript::script(*m_lastPreviewDirective));
}

void WebPreviewView::Coordinator::overlayDragCompleted(const graphene_rect_t& rect)
{
    if (!m_webView || !m_container)
        return;
    // Overlay and web view fill the same container, but the conversion says so rather than assume it.
    graphene_point_t viewOrigin;
    if (!gtk_widget_compute_point(m_container->overlay().widget(), GTK_WIDGET(m_webView), &rect.origin, &viewOrigin))
        return;
    graphene_rect_t viewRect;
    graphene_rect_init(&viewRect, viewOrigin.x, viewOrigin.y, rect.size.width, rect.size.height);
    runFenceForViewRect(viewRect);
}

void WebPreviewView::Coordinator::runFenceForViewRect(const graphene_rect_t& viewRect)
{
    evaluateForText(scrollOffsetScript, [viewRect](Coordinator& self, std::optional<std::string> answer) {
        double scrollX = 0;
        double scrollY = 0;
        if (auto offset = numbersFromJSONArray(answer, 2)) {
            scrollX = (*offset)[0];
            scrollY = (*offset)[1];
        }
        // In page coordinates: moved by the scroll offset, the size unchanged.
        self.runFenceAndDispatch({ viewRect.origin.x + scrollX, viewRect.origin.y + scrollY, viewRect.size.width, viewRect.size.height });
    });
}

void WebPreviewView::Coordinator::runVisibleAreaFence()
{
    evaluateForText(viewportPageRectScript, [](Coordinator& self, std::optional<std::string> answer) {
        BrightloopRect fence;
        if (auto numbers = numbersFromJSONArray(answer, 4))
            fence = { (*numbers)[0], (*numbers)[1], (*numbers)[2], (*numbers)[3] };
        else if (self.m_webView)
            fence = { 0, 0, static_cast<double>(gtk_widget_get_width(GTK_WIDGET(self.m_webView))),
                      static_cast<double>(gtk_widget_get_height(GTK_WIDGET(self.m_webView))) };
        self.runFenceAndDispatch(fence);
    });
}

void WebPreviewView::Coordinator::runFenceAndDispatch(const BrightloopRect& fence)
{
    if (!m_webView || !m_currentPageID)
        return;
    BrightloopSelection selection { *m_currentPageID, *m_currentPageID, fence };
    BrightloopWebKitBridge::collectDOMRecords(m_webView, selection, [weak = weak_from_this(), fence](BrightloopWebKitBridge::CollectResult result) {
        auto self = weak.lock();
        if (!self || !self->m_onBrightloopRecords)
            return;
        // A failed fence answers with no records, so the user sees an empty result, not a stale one.
        std::vector<BrightloopDOMRecord> records;
        if (auto* collected = std::get_if<std::vector<BrightloopDOMRecord>>(&result))
            records = std::move(*collected);
        // A copy: the callback may update the view, which replaces the coordinator's callbacks.
        auto callback = self->m_onBrightloopRecords;
        callback(std::move(records), fence);
    });
}

void WebPreviewView::Coordinator::runPageInspection()
{
    PageInspectionWebKitBridge::collectSnapshot(m_webView, [weak = weak_from_this()](PageInspectionWebKitBridge::SnapshotResult result) {
        auto self = weak.lock();
        if (!self)
            return;
        if (auto* snapshot = std::get_if<PageInspectionSnapshot>(&result)) {
            if (auto callback = self->m_onPageInspectionSnapshot)
                callback(std::move(*snapshot));
            return;
        }
        if (auto callback = self->m_onPageInspectionError)
            callback(pageSnapshotFailedPrefix + std::get<PageInspectionWebKitBridge::BridgeError>(result).message);
    });
}

void WebPreviewView::Coordinator::evaluateForText(const char* script, TextCompletion completion)
{
    struct PendingEvaluation {
        std::weak_ptr<Coordinator> coordinator;
        // Keeps the web view alive until the page has answered.
        GRef<WebKitWebView> webView;
        TextCompletion completion;
    };
    auto* pending = new PendingEvaluation { weak_from_this(), GRef<WebKitWebView>::retain(m_webView), std::move(completion) };
    webkit_web_view_evaluate_javascript(
        m_webView, script, -1, nullptr, nullptr, nullptr,
        +[](GObject* source, GAsyncResult* result, gpointer data) {
            std::unique_ptr<PendingEvaluation> evaluation(static_cast<PendingEvaluation*>(data));
            std::optional<std::string> answer;
            GError* error = nullptr;
            auto value = GRef<JSCValue>::adopt(webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(source), result, &error));
            g_clear_error(&error);
            if (value && jsc_value_is_string(value.get())) {
                char* text = jsc_value_to_string(value.get());
                answer = text;
                g_free(text);
            }
            if (auto self = evaluation->coordinator.lock())
                evaluation->completion(*self, std::move(answer));
        },
        pending);
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

std::optional<std::vector<double>> WebPreviewView::Coordinator::numbersFromJSONArray(const std::optional<std::string>& answer, std::size_t count)
{
    if (!answer)
        return std::nullopt;
    auto document = nlohmann::json::parse(*answer, nullptr, false);
    if (!document.is_array() || document.size() != count)
        return std::nullopt;
    std::vector<double> numbers;
    numbers.reserve(count);
    for (auto& element : document) {
        if (!element.is_number())
            return std::nullopt;
        numbers.push_back(element.get<double>());
    }
    return numbers;
}

std::string WebPreviewView::Coordinator::unavailableHTML(std::string_view text)
{
    return "<!doctype html>\n<html>\n<body style=\"font: -apple-system-body; color: #475569; padding: 24px;\">\n  <p>" + escapedHTML(text)
        + "</p>\n</body>\n</html>";
}

const std::string& WebPreviewView::Coordinator::scrollObserverScript()
{
    static const std::string script = resourceText(scrollObserverResourcePath);
    return script;
}

const std::string& WebPreviewView::Coordinator::scrollRestoreScript()
{
    static const std::string script = resourceText(scrollRestoreResourcePath);
    return script;
}

}
