#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryCore/Brightloop/BrightloopModels.h"
#include "QuilloryCore/Brightloop/BrightloopPreviewDirective.h"
#include "QuilloryCore/Inspection/PageInspectionSnapshot.h"
#include "QuilloryCore/SiteModel/PreviewTarget.h"
#include "QuilloryCore/SiteModel/SiteGraphModels.h"
#include "QuilloryCore/Text/UUID.h"

#include <gtk/gtk.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

typedef struct _WebKitUserContentManager WebKitUserContentManager;
typedef struct _WebKitWebView WebKitWebView;

namespace Quillory {

class BrightloopOverlayView;
class BrightloopPreviewContainerView;

// The live preview: a web view that shows the preview target and serves the open site through
// the scheme "quillory-site". It holds no model: each update compares what it is given with what
// it did last and acts only on a change: loads a page, fences an area, applies preview effects,
// takes a snapshot. Links the user follows to another page of the site go to the store first, and
// the web view goes on only if the store agreed. The fence overlay lies over the web view while
// fence mode is on. Main thread only.
//
// The view owns a reference to its widget. Destroying the view disconnects it from the widget;
// take the widget out of its parent before or after, as the parent requires.
class WebPreviewView {
public:
    // What each update hands over.
    struct Inputs {
        // What to show.
        PreviewTarget previewTarget;
        // The open site, served through the scheme; nothing when no site is open.
        std::optional<SiteMap> siteMap;
        // The document shown.
        std::optional<std::string> currentDocumentID;
        // A new value forces a reload of the same target.
        UUID reloadToken;
        // The user followed a link to another page of the site; true means the store went along
        // and the web view follows. Without it such links are cancelled.
        std::function<bool(const std::string& pageID)> onNavigateToPage;
        // The page scrolled (reported once scrolling pauses for 80 ms).
        std::function<void()> onPreviewScrolled;
        // The fence overlay is up and takes the pointer.
        bool brightloopEnabled { false };
        // A new value fences the visible area.
        std::optional<UUID> brightloopVisibleAreaToken;
        // The effects to apply to the page, again after every load.
        BrightloopPreviewDirective brightloopPreviewDirective;
        // A fence finished: its records (empty when collecting failed) and the document-space fence.
        std::function<void(std::vector<BrightloopDOMRecord>, BrightloopRect)> onBrightloopRecords;
        // A new value takes a page snapshot.
        std::optional<UUID> pageInspectionRequestToken;
        std::function<void(PageInspectionSnapshot)> onPageInspectionSnapshot;
        // "Page snapshot failed: " and the reason.
        std::function<void(std::string)> onPageInspectionError;
    };

    class Coordinator;

    WebPreviewView();
    ~WebPreviewView();
    WebPreviewView(const WebPreviewView&) = delete;
    WebPreviewView& operator=(const WebPreviewView&) = delete;

    // The widget to place in a window: the web view with the fence overlay stacked on top.
    GtkWidget* widget() const;
    WebKitWebView* webView() const { return m_webView.get(); }
    BrightloopOverlayView& overlay();

    // Hands over the current inputs: updates the site served, the current page and the
    // callbacks, loads the target if it or the token differs from the last one loaded, shows or
    // hides the overlay, and runs each new fence token, directive and snapshot token once.
    // Cheap when nothing changed, apart from rebuilding the site's resolver.
    void update(const Inputs&);

private:
    void registerScriptMessageHandlers();
    void unregisterScriptMessageHandlers();

    std::shared_ptr<Coordinator> m_coordinator;
    GRef<WebKitUserContentManager> m_userContentManager;
    GRef<WebKitWebView> m_webView;
    std::unique_ptr<BrightloopPreviewContainerView> m_container;
};

}
