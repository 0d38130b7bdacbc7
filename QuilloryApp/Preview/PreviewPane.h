#pragma once

#include "QuilloryApp/Support/GRef.h"
#include "QuilloryApp/Inspection/PageInspectionPanel.h"
#include "QuilloryApp/Preview/FrontendPreviewControls.h"
#include "QuilloryApp/Preview/WebPreviewView.h"
#include "QuilloryCore/Brightloop/BrightloopModels.h"
#include "QuilloryCore/Inspection/PageInspectionSnapshot.h"

#include <gtk/gtk.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace Quillory {

class BrightloopCandidateRail;
class BrightloopCandidateWindowView;
class BrightloopStore;
class CandidateRailResizeHandle;

// The rendered side of the working surface, from the top: a header labelled "WebKit Preview" with
// the snapshot and fence actions, the live preview (covered by an empty state while the page's
// text is empty), the page snapshot panel, and, while a fence result exists, the candidate rail
// under a grip that resizes it. The rail can pop out into a window of its own, which follows the
// Brightloop store directly. Main thread only.
//
// The pane owns a reference to its widget (a vertical box); destroying the pane disconnects the
// preview from it and destroys the pop-out window.
class PreviewPane {
public:
    static constexpr double defaultCandidateRailHeight = 220;

    // The header's three actions. The header holds them twice: with their words while they fit,
    // and as images alone (their words as tooltip and accessible label) when the pane is narrow.
    struct HeaderActions {
        GtkWidget* box { nullptr };
        GtkButton* pageSnapshot { nullptr };
        GtkButton* fenceVisibleArea { nullptr };
        GtkToggleButton* brightloop { nullptr };
    };

    struct Inputs {
        // The preview's own inputs; `brightloopEnabled` also sets the "Brightloop" toggle, and
        // `brightloopPreviewDirective` the rail's hidden and highlighted rows.
        WebPreviewView::Inputs preview;
        // The editor text has length 0 (no trimming).
        bool isPageEmpty { false };
        // The last fence's result; the rail is shown while there is one.
        std::optional<BrightloopResult> brightloopResult;
        std::optional<PageInspectionSnapshot> pageInspectionSnapshot;
        bool pageInspectionIsLoading { false };
        std::optional<std::string> pageInspectionErrorMessage;
        std::function<void()> onToggleBrightloop;
        std::function<void()> onRequestVisibleAreaFence;
        std::function<void()> onRequestPageInspectionSnapshot;
        std::function<void(const BrightloopCandidate&)> onSelectCandidate;
        std::function<void(const BrightloopCandidate&)> onToggleCandidateHidden;
        std::function<void(const BrightloopCandidate&)> onHighlightCandidate;
        // The workspace's frontend project, whose caption and controls follow the header's label.
        std::optional<FrontendProjectKind> frontendProjectKind;
        FrontendPreviewState frontendPreviewState;
        FrontendPreviewControls::Actions frontendActions;
    };

    // The pop-out window reads `brightloopStore`, which must outlive the pane.
    explicit PreviewPane(const BrightloopStore& brightloopStore);
    ~PreviewPane();
    PreviewPane(const PreviewPane&) = delete;
    PreviewPane& operator=(const PreviewPane&) = delete;

    GtkWidget* widget() const { return m_root.get(); }
    WebPreviewView& webPreviewView() { return m_webPreviewView; }
    PageInspectionPanel& pageInspectionPanel() { return m_pageInspectionPanel; }
    FrontendPreviewControls& frontendPreviewControls() { return m_frontendPreviewControls; }
    BrightloopCandidateRail& candidateRail() const { return *m_candidateRail; }
    CandidateRailResizeHandle& candidateRailResizeHandle() const { return *m_resizeHandle; }
    const HeaderActions& expandedHeaderActions() const { return m_expandedHeaderActions; }
    const HeaderActions& compactHeaderActions() const { return m_compactHeaderActions; }
    // The form of the header actions shown now, and its buttons.
    const HeaderActions& visibleHeaderActions() const;
    GtkButton* pageSnapshotButton() const { return visibleHeaderActions().pageSnapshot; }
    GtkButton* fenceVisibleAreaButton() const { return visibleHeaderActions().fenceVisibleArea; }
    GtkToggleButton* brightloopToggle() const { return visibleHeaderActions().brightloop; }

    // True while a result is present and the grip and rail are shown.
    bool isShowingCandidateRail() const;
    double candidateRailHeight() const { return m_candidateRailHeight; }

    void update(const Inputs&);

    // Shows the pop-out candidates window, made on first use. Closing it only hides it, so the
    // pane has one window for its whole life.
    void openCandidateWindow();
    // Null until the window is first opened.
    GtkWindow* candidateWindow() const { return GTK_WINDOW(m_candidateWindow.get()); }
    BrightloopCandidateWindowView* candidateWindowView() const { return m_candidateWindowView.get(); }

private:
    // The callbacks of the last update, which the header, the rail and the window call.
    struct Actions {
        std::function<void()> onToggleBrightloop;
        std::function<void()> onRequestVisibleAreaFence;
        std::function<void()> onRequestPageInspectionSnapshot;
        std::function<void(const BrightloopCandidate&)> onSelectCandidate;
        std::function<void(const BrightloopCandidate&)> onToggleCandidateHidden;
        std::function<void(const BrightloopCandidate&)> onHighlightCandidate;
    };

    enum class HeaderStyle {
        labelled,
        imagesOnly,
    };

    GtkWidget* makeHeader();
    HeaderActions makeHeaderActions(HeaderStyle);
    static GtkWidget* makeEmptyPreviewState();
    void showBrightloopEnabled();
    void brightloopToggleWasToggled();
    void applyCandidateRailHeight();
    void candidateWindowWasDestroyed();

    const BrightloopStore& m_brightloopStore;
    Actions m_actions;
    WebPreviewView m_webPreviewView;
    PageInspectionPanel m_pageInspectionPanel;
    FrontendPreviewControls m_frontendPreviewControls;
    double m_candidateRailHeight { defaultCandidateRailHeight };
    std::unique_ptr<CandidateRailResizeHandle> m_resizeHandle;
    std::unique_ptr<BrightloopCandidateRail> m_candidateRail;
    GRef<GtkWidget> m_root;
    GtkWidget* m_emptyPreviewState { nullptr };
    GtkWidget* m_headerActionsSqueezer { nullptr };
    HeaderActions m_expandedHeaderActions;
    HeaderActions m_compactHeaderActions;
    bool m_brightloopEnabled { false };
    bool m_isShowingBrightloopEnabled { false };
    // The document of the last update: the rail's height is the document's, back to its default
    // for the next one.
    std::optional<std::string> m_documentID;
    GRef<GtkWidget> m_candidateWindow;
    std::unique_ptr<BrightloopCandidateWindowView> m_candidateWindowView;
};

}
