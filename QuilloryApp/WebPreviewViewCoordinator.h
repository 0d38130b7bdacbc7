#pragma once

#include "QuilloryApp/SitePreviewSchemeHandler.h"
#include "QuilloryApp/WebPreviewView.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace Quillory {

// The behaviour of a WebPreviewView: what was loaded last, the navigation policy, the work after
// each finished navigation and the script messages. Lives as long as the view; its "last" fields
// remember what was done, not what is wanted, and none is reset at a reload.
class WebPreviewView::Coordinator : public std::enable_shared_from_this<Coordinator> {
public:
    enum class NavigationPolicy {
        allow,
        cancel,
    };

    Coordinator() = default;
    Coordinator(const Coordinator&) = delete;
    Coordinator& operator=(const Coordinator&) = delete;

    SitePreviewSchemeHandler& schemeHandler() { return m_schemeHandler; }

    // Steps 1 and 2 of an update: the site served, the current page and the callbacks.
    void takeInputs(const Inputs&);
    // Loads the target unless both it and the token equal what was loaded last.
    void reloadIfNeeded(WebKitWebView*, const PreviewTarget&, const UUID& reloadToken);
    // Whether a navigation to `url` (nothing when the request has none) may go on. Asks
    // onNavigateToPage, synchronously, for a link to another page of the site.
    NavigationPolicy decidePolicy(const std::optional<std::string>& url);
    // After each finished navigation: installs the scroll observer in the page.
    void didFinish(WebKitWebView*);
    void didReceiveScriptMessage(std::string_view name);

    // The page shown for an unavailable target: the text, escaped, in a plain paragraph.
    static std::string unavailableHTML(std::string_view text);
    // Replaces "&", then "<", then ">" with their character references.
    static std::string escapedHTML(std::string_view text);

private:
    static const std::string& scrollObserverScript();

    SitePreviewSchemeHandler m_schemeHandler;
    std::optional<PreviewTarget> m_lastPreviewTarget;
    std::optional<UUID> m_lastReloadToken;
    std::optional<std::string> m_currentPageID;
    std::function<bool(const std::string&)> m_onNavigateToPage;
    std::function<void()> m_onPreviewScrolled;
    bool m_isInstallingScrollObserver { false };
};

}
