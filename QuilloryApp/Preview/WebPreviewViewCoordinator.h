#pragma once

#include "QuilloryApp/Preview/SitePreviewSchemeHandler.h"
#include "QuilloryApp/Preview/WebPreviewView.h"

#include <graphene.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Quillory {

class BrightloopPreviewContainerView;

// The behaviour of a WebPreviewView: what was loaded last, the navigation policy, the work after
// each finished navigation, the script messages, fences, preview effects and page snapshots. Lives
// as long as the view; its "last" fields remember what was done, not what is wanted, and none is
// reset at a reload. Work that waits for the page holds only a weak reference to the coordinator
// and a reference to the web view, and drops its answer when the view is gone.
class WebPreviewView::Coordinator : public std::enable_shared_from_this<Coordinator> {
public:
    enum class NavigationPolicy {
        allow,
        cancel,
    };
    // Who started a navigation, as far as the engine tells: a link click or form of the user's,
    // or something else (a load of this view's own, a page script, a reload).
    enum class NavigationKind {
        userLink,
        other,
    };

    Coordinator() = default;
    Coordinator(const Coordinator&) = delete;
    Coordinator& operator=(const Coordinator&) = delete;

    SitePreviewSchemeHandler& schemeHandler() { return m_schemeHandler; }

    // Remembers the container and the web view it stacks, and makes a finished drag on the
    // container's overlay a fence. Both must outlive the coordinator's use of them: the view that
    // owns all three destroys the coordinator's last strong reference.
    void bind(BrightloopPreviewContainerView&, WebKitWebView*);

    // Steps 1 and 2 of an update: the site served, the current page and the callbacks.
    void takeInputs(const Inputs&);
    // Loads the target unless both it and the token equal what was loaded last.
    void reloadIfNeeded(WebKitWebView*, const PreviewTarget&, const UUID& reloadToken);
    // Shows the overlay only in fence mode. Hiding it drops a drag under way, so that turning the
    // mode on again starts with an empty overlay.
    void updateOverlay(bool brightloopEnabled);
    // A new token, once: fences the visible area. An absent or already handled token does nothing;
    // a token handled while there is no current page is used up all the same.
    void handleVisibleAreaTokenIfChanged(const std::optional<UUID>&);
    // A directive that differs from the last one is applied to the page at once, and again after
    // every finished navigation.
    void handlePreviewDirectiveIfChanged(const BrightloopPreviewDirective&);
    // A new token, once: takes a page snapshot.
    void handlePageInspectionTokenIfChanged(const std::optional<UUID>&);

    // Whether a navigation to `url` (nothing when the request has none) may go on. Asks
    // onNavigateToPage, synchronously, for a link to another page of the site. A load this view
    // started itself never asks: it goes on while its page is still the current one, and is
    // cancelled once the store has moved on, so that a superseded load can't select its page again.
    NavigationPolicy decidePolicy(const std::optional<std::string>& url, NavigationKind = NavigationKind::userLink);
    // A navigation showed its new document: the last load this view started, if it was one.
    void didCommit();
    // After each finished navigation: installs the scroll observer and applies the last directive
    // again, since a load discards the page's state.
    void didFinish(WebKitWebView*);
    void didReceiveScriptMessage(std::string_view name);
    // A drag on the overlay finished with this rectangle, in overlay coordinates.
    void overlayDragCompleted(const graphene_rect_t&);

    // The page shown for an unavailable target: the text, escaped, in a plain paragraph.
    static std::string unavailableHTML(std::string_view text);
    // Replaces "&", then "<", then ">" with their character references.
    static std::string escapedHTML(std::string_view text);
    // Reads the page's answer to a small measuring script: the numbers of a JSON array of exactly
    // `count` numbers. Nothing for any other answer, or for no answer (a failed evaluation or one
    // that gave no string).
    static std::optional<std::vector<double>> numbersFromJSONArray(const std::optional<std::string>& answer, std::size_t count);

private:
    using TextCompletion = std::function<void(Coordinator&, std::optional<std::string>)>;

    static const std::string& scrollObserverScript();
    // A function expression of the page position (x, y) to scroll to; the caller appends the call.
    static const std::string& scrollRestoreScript();

    void installScrollObserver(WebKitWebView*);
    void load(WebKitWebView*, const PreviewTarget&);
    // Puts the page back where the reader left it before a reload of the same page.
    void restoreScrollPosition(WebKitWebView*);
    void applyPreviewDirectiveToCurrentPage();
    void runFenceForViewRect(const graphene_rect_t& viewRect);
    void runVisibleAreaFence();
    void runFenceAndDispatch(const BrightloopRect& fence);
    void runPageInspection();
    // Evaluates a script whose answer should be a string. The completion runs only while the
    // coordinator lives, with nothing when the evaluation failed or gave no string.
    void evaluateForText(const char* script, TextCompletion);

    SitePreviewSchemeHandler m_schemeHandler;
    BrightloopPreviewContainerView* m_container { nullptr };
    WebKitWebView* m_webView { nullptr };
    std::optional<PreviewTarget> m_lastPreviewTarget;
    std::optional<UUID> m_lastReloadToken;
    // Pages of this view's own loads whose navigation the engine has not asked about yet, oldest first.
    std::vector<std::string> m_requestedPageLoads;
    // Counts loads, so that an answer about the scroll position that arrives late is dropped.
    std::uint64_t m_loadGeneration { 0 };
    // The generation of the last load handed to the engine, and of the last one whose document shows.
    std::uint64_t m_requestedLoadGeneration { 0 };
    std::uint64_t m_committedLoadGeneration { 0 };
    struct ScrollPosition {
        double x { 0 };
        double y { 0 };
        std::uint64_t loadGeneration { 0 };
    };
    // Where the page stood before a reload of the same page; restored when that load finishes (not
    // when an earlier one, overtaken by it, does).
    std::optional<ScrollPosition> m_scrollToRestore;
    std::optional<std::string> m_currentPageID;
    std::function<bool(const std::string&)> m_onNavigateToPage;
    std::function<void()> m_onPreviewScrolled;
    std::function<void(std::vector<BrightloopDOMRecord>, BrightloopRect)> m_onBrightloopRecords;
    std::function<void(PageInspectionSnapshot)> m_onPageInspectionSnapshot;
    std::function<void(std::string)> m_onPageInspectionError;
    std::optional<UUID> m_lastVisibleAreaToken;
    std::optional<UUID> m_lastPageInspectionToken;
    std::optional<BrightloopPreviewDirective> m_lastPreviewDirective;
};

}
