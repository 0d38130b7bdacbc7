#pragma once

#include "QuilloryApp/Support/ObservableProperty.h"
#include "QuilloryCore/Brightloop/BrightloopModels.h"
#include "QuilloryCore/Brightloop/BrightloopPreviewDirective.h"
#include "QuilloryCore/Text/UUID.h"

#include <optional>

namespace Quillory {

// The fence feature's observed state: whether the overlay is up, the last result, the request for
// a visible-area fence and the preview effects. Each setter notifies only when the value changes.
// Main thread only; owned by the workspace store.
class BrightloopStore {
public:
    BrightloopStore() = default;
    BrightloopStore(const BrightloopStore&) = delete;
    BrightloopStore& operator=(const BrightloopStore&) = delete;

    const ObservableProperty<bool>& modeEnabled() const { return m_modeEnabled; }
    const ObservableProperty<std::optional<BrightloopResult>>& result() const { return m_result; }
    // Every new value asks for one fence over the visible area.
    const ObservableProperty<std::optional<UUID>>& visibleAreaToken() const { return m_visibleAreaToken; }
    const ObservableProperty<std::optional<BrightloopRect>>& pendingFence() const { return m_pendingFence; }
    const ObservableProperty<BrightloopPreviewDirective>& previewDirective() const { return m_previewDirective; }

    void setModeEnabled(bool);
    void setResult(std::optional<BrightloopResult>);
    void setVisibleAreaToken(std::optional<UUID>);
    void setPendingFence(std::optional<BrightloopRect>);
    void setPreviewDirective(BrightloopPreviewDirective);

    // Switching off drops the result and the pending fence; effects stay until the next clearing event.
    void toggleMode();
    // Hides a candidate, or shows it again when one of the same id is hidden.
    void toggleCandidateHidden(const BrightloopCandidate&);
    // Highlights a candidate, or clears the highlight when it already has the same id.
    void highlightCandidate(const BrightloopCandidate&);
    // "Fence Visible Area": a fresh token.
    void requestVisibleAreaFence();
    // The preview scrolled: the result no longer matches what is shown.
    void previewDidScroll();
    // A workspace load, a change of document, a new page or a page restored: result, pending fence
    // and effects go; the mode stays.
    void reset();

private:
    ObservableProperty<bool> m_modeEnabled { false };
    ObservableProperty<std::optional<BrightloopResult>> m_result;
    ObservableProperty<std::optional<UUID>> m_visibleAreaToken;
    ObservableProperty<std::optional<BrightloopRect>> m_pendingFence;
    ObservableProperty<BrightloopPreviewDirective> m_previewDirective;
};

}
